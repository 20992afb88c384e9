// Threshold: ozlThreshold. Values at or above the threshold become the
// destination depth's maximum (1 in a 1-bit destination), the others 0.
#include "convert/bit_kernels.hpp"
#include "convert/kernels.hpp"
#include "convert/pairing.hpp"
#include "convert/values.hpp"
#include "image/depth.hpp"

using ozl::core::Caller;
using ozl::core::fail;
using ozl::core::headersValid;

extern "C" OZL_API void OZL_CALL ozlThreshold(OzlImage* srcImage, OzlImage* dstImage,
                                               int threshold) {
    const Caller caller{"ozlThreshold", "ozlthresh"};
    constexpr int kBase = 30;
    if (!headersValid(caller, {srcImage}, kBase) || !headersValid(caller, {dstImage}, kBase + 1))
        return;
    if (srcImage->depth == OZL_DEPTH_1U || srcImage->depth == OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadDepth, "srcImage->depth == 1 || srcImage->depth == 32", kBase + 2);
        return;
    }
    const bool toBits = dstImage->depth == OZL_DEPTH_1U;
    if (!toBits && dstImage->depth != srcImage->depth) {
        fail(caller, OZL_StsBadDepth, "dstImage->depth != srcImage->depth && dstImage->depth != 1",
             kBase + 2);
        return;
    }
    // A threshold below the range selects every value, one above it none.
    const ozl::image::DepthInfo& s = *ozl::image::depthInfo(srcImage->depth);
    ozl::convert::ThresholdArgs args;
    args.level = ozl::image::clampToDepth(threshold, srcImage->depth);
    args.high = threshold > s.hi ? 0 : static_cast<int32_t>(toBits ? 1 : s.hi);
    ozl::core::MapKernel kernel;
    kernel.context = &args;
    if (toBits)
        kernel.pixel = ozl::convert::thresholdToBits(s.elem);
    else
        kernel.run = ozl::convert::activeTable().threshold[ozl::convert::idx(s.elem)];
    ozl::convert::runPair(caller, srcImage, dstImage, kernel, kBase);
}
