// Depth conversion: ozlConvert, ozlScale, ozlScaleFP, ozlBitonalToGray. Each
// checks its depths, then hands one kernel to the common pair run (origin and
// channel agreement, masks, the pixel-wise driver): value kernels between two
// multi-bit types, pixel kernels where a side is 1-bit, the copy where the
// depths agree.
#include <cmath>

#include "convert/bit_kernels.hpp"
#include "convert/kernels.hpp"
#include "convert/pairing.hpp"
#include "convert/values.hpp"
#include "image/depth.hpp"

using ozl::convert::activeTable;
using ozl::convert::idx;
using ozl::core::Caller;
using ozl::core::fail;
using ozl::core::headersValid;
using ozl::image::elemOf;

namespace {

bool isFloat(const OzlImage* im) { return im->depth == OZL_DEPTH_32F; }
bool isBits(const OzlImage* im) { return im->depth == OZL_DEPTH_1U; }

ozl::core::MapKernel runKernel(ozl::core::RunFn run, const void* context) {
    ozl::core::MapKernel k;
    k.run = run;
    k.context = context;
    return k;
}

ozl::core::MapKernel pixelKernel(ozl::core::PixelFn pixel, const void* context) {
    ozl::core::MapKernel k;
    k.pixel = pixel;
    k.context = context;
    return k;
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlConvert(OzlImage* srcImage, OzlImage* dstImage) {
    const Caller caller{"ozlConvert", "ozlcvt"};
    constexpr int kBase = 40;
    if (!headersValid(caller, {srcImage}, kBase) || !headersValid(caller, {dstImage}, kBase + 1))
        return;
    size_t valueBytes = 0;
    const ozl::convert::BitLevels bits;  // 0 and 1
    ozl::core::MapKernel kernel;
    if (srcImage->depth == dstImage->depth)
        kernel = ozl::convert::copyKernel(dstImage, &valueBytes);
    else if (isBits(srcImage))
        kernel = pixelKernel(ozl::convert::bitsToValues(elemOf(dstImage->depth)), &bits);
    else if (isBits(dstImage))
        kernel = pixelKernel(ozl::convert::valuesToBits(elemOf(srcImage->depth)), nullptr);
    else
        kernel = runKernel(
            activeTable().convert[idx(elemOf(srcImage->depth))][idx(elemOf(dstImage->depth))],
            nullptr);
    ozl::convert::runPair(caller, srcImage, dstImage, kernel, kBase);
}

extern "C" OZL_API void OZL_CALL ozlScale(OzlImage* srcImage, OzlImage* dstImage) {
    const Caller caller{"ozlScale", "ozlcvt"};
    constexpr int kBase = 100;
    if (!headersValid(caller, {srcImage}, kBase) || !headersValid(caller, {dstImage}, kBase + 1))
        return;
    if (isFloat(srcImage) || isFloat(dstImage)) {
        fail(caller, OZL_StsBadDepth, "You should use ozlScaleFP for float images", kBase + 2);
        return;
    }
    if (isBits(srcImage) || isBits(dstImage)) {
        fail(caller, OZL_StsBadDepth, "srcImage->depth == 1 || dstImage->depth == 1", kBase + 2);
        return;
    }
    size_t valueBytes = 0;
    const ozl::image::DepthInfo& s = *ozl::image::depthInfo(srcImage->depth);
    const ozl::image::DepthInfo& d = *ozl::image::depthInfo(dstImage->depth);
    ozl::convert::RangeArgs range;
    range.from = s.lo;
    range.to = d.lo;
    range.fromSpan = static_cast<uint64_t>(s.hi - s.lo);
    range.toSpan = static_cast<uint64_t>(d.hi - d.lo);
    const ozl::core::MapKernel kernel =
        srcImage->depth == dstImage->depth
            ? ozl::convert::copyKernel(dstImage, &valueBytes)
            : runKernel(activeTable().range[idx(s.elem)][idx(d.elem)], &range);
    ozl::convert::runPair(caller, srcImage, dstImage, kernel, kBase);
}

extern "C" OZL_API void OZL_CALL ozlScaleFP(OzlImage* srcImage, OzlImage* dstImage, float minVal,
                                             float maxVal) {
    const Caller caller{"ozlScaleFP", "ozlcvt"};
    constexpr int kBase = 160;
    if (!headersValid(caller, {srcImage}, kBase) || !headersValid(caller, {dstImage}, kBase + 1))
        return;
    if (isBits(srcImage) || isBits(dstImage)) {
        fail(caller, OZL_StsBadDepth, "srcImage->depth == 1 || dstImage->depth == 1", kBase + 2);
        return;
    }
    if (!isFloat(srcImage) && !isFloat(dstImage)) {
        fail(caller, OZL_StsBadDepth, "You should use ozlScale for integer images", kBase + 2);
        return;
    }
    if (isFloat(srcImage) && isFloat(dstImage)) {
        fail(caller, OZL_StsBadDepth, "srcImage->depth == 32 && dstImage->depth == 32", kBase + 2);
        return;
    }
    if (!(minVal < maxVal)) {
        fail(caller, OZL_StsBadArg, "!(minVal < maxVal)", kBase + 5);
        return;
    }
    const float span = maxVal - minVal;
    if (!std::isfinite(span)) {
        fail(caller, OZL_StsBadArg, "maxVal - minVal is not finite", kBase + 5);
        return;
    }
    const OzlImage* integer = isFloat(srcImage) ? dstImage : srcImage;
    const ozl::image::DepthInfo& info = *ozl::image::depthInfo(integer->depth);
    const float lo = static_cast<float>(info.lo);
    const float intSpan = static_cast<float>(info.hi - info.lo);
    ozl::convert::LinearArgs m;
    if (isFloat(dstImage))
        m = {lo, intSpan, span, minVal};
    else
        m = {minVal, span, intSpan, lo};
    const ozl::core::MapKernel kernel = runKernel(
        activeTable().linear[idx(elemOf(srcImage->depth))][idx(elemOf(dstImage->depth))], &m);
    ozl::convert::runPair(caller, srcImage, dstImage, kernel, kBase);
}

extern "C" OZL_API void OZL_CALL ozlBitonalToGray(OzlImage* srcImage, OzlImage* dstImage,
                                                   int zeroScaled, int oneScaled) {
    const Caller caller{"ozlBitonalToGray", "ozlcvt"};
    constexpr int kBase = 220;
    if (!headersValid(caller, {srcImage}, kBase) || !headersValid(caller, {dstImage}, kBase + 1))
        return;
    if (!isBits(srcImage)) {
        fail(caller, OZL_StsBadDepth, "srcImage->depth != 1", kBase + 2);
        return;
    }
    if (isBits(dstImage)) {
        fail(caller, OZL_StsBadDepth, "dstImage->depth == 1", kBase + 2);
        return;
    }
    ozl::convert::BitLevels levels;
    levels.zero = ozl::image::clampToDepth(zeroScaled, dstImage->depth);
    levels.one = ozl::image::clampToDepth(oneScaled, dstImage->depth);
    ozl::convert::runPair(caller, srcImage, dstImage,
                          pixelKernel(ozl::convert::bitsToValues(elemOf(dstImage->depth)), &levels),
                          kBase);
}
