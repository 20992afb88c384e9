#include "convert/pairing.hpp"

#include <algorithm>

#include "convert/kernels.hpp"
#include "core/pixelwise.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"

namespace ozl::convert {

int reportDisagreements(const Caller& caller, const OzlImage* src, const OzlImage* dst,
                        const Agreements& asked, int line) {
    int reported = 0;
    auto report = [&](const char* message) {
        core::fail(caller, OZL_StsBadArg, message, line);
        ++reported;
    };
    if (asked.depth && src->depth != dst->depth) report("srcImage->depth != dstImage->depth");
    if (asked.origin && src->origin != dst->origin) report("srcImage->origin != dstImage->origin");
    if (asked.dataOrder && src->dataOrder != dst->dataOrder && src->depth != OZL_DEPTH_1U &&
        !(src->nChannels == 1 && dst->nChannels == 1))
        report("srcImage->dataOrder != dstImage->dataOrder");
    return reported;
}

PairMask choosePairMask(const Caller& caller, OzlImage* src, OzlImage* dst, MaskLines lines) {
    // A failure inside a nested step ends the call when the handler answers
    // non-zero (the stock handlers return the status).
    auto backtrace = [&](int line) {
        return ozlError(OZL_StsBackTrace, caller.function, "", caller.module, line) != 0;
    };
    PairMask m;
    OzlImage* a = src->maskROI;
    OzlImage* b = dst->maskROI;
    if (!a || !b || a == b) {
        m.image = a ? a : b;
        return m;
    }
    const image::RegionStart ra = image::regionStart(a, 0);
    const image::RegionStart rb = image::regionStart(b, 0);
    const int width = std::min(ra.width, rb.width);
    const int height = std::min(ra.height, rb.height);
    if (width == 0 || height == 0) {
        m.stop = true;
        return m;
    }
    OzlImage* both = ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "GRAY", "G   ", OZL_DATA_ORDER_PLANE,
                                          a->origin, OZL_ALIGN_4BYTES, width, height, nullptr,
                                          nullptr, nullptr, nullptr);
    if (both) ozlAllocateImage(both, 1, 0);
    if (ozlGetErrStatus() < 0 && backtrace(lines.create)) {
        ozlDeallocate(both, OZL_IMAGE_HEADER);
        m.stop = true;
        return m;
    }
    if (!both || !both->imageData) {  // an allocation failure is silent; nothing to go through
        ozlDeallocate(both, OZL_IMAGE_HEADER);
        m.stop = true;
        return m;
    }
    ozlAnd(a, b, both);
    if (ozlGetErrStatus() < 0 && backtrace(lines.combine)) {
        ozlDeallocate(both, OZL_IMAGE_HEADER | OZL_IMAGE_DATA | OZL_IMAGE_ROI | OZL_IMAGE_TILE |
                                OZL_IMAGE_MASK);
        m.stop = true;
        return m;
    }
    m.image = both;
    m.owned = true;
    return m;
}

void releasePairMask(PairMask& mask) {
    if (mask.owned) ozlDeallocate(mask.image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    mask.image = nullptr;
    mask.owned = false;
}

core::MapKernel copyKernel(const OzlImage* dst, size_t* valueBytes) {
    *valueBytes = static_cast<size_t>(std::max(1, image::depthBits(dst->depth) / 8));
    core::MapKernel kernel;
    kernel.run = &copyRun;
    kernel.context = valueBytes;
    kernel.identity = true;
    return kernel;
}

int copyValues(OzlImage* src, OzlImage* dst, const OzlImage* mask) {
    size_t valueBytes;
    core::MapOperands operands;
    operands.src[0] = src;
    operands.dst = dst;
    return core::mapPixels(operands, mask, copyKernel(dst, &valueBytes));
}

void runPair(const Caller& caller, OzlImage* src, OzlImage* dst, int base, PairRun run,
             void* context) {
    if (src->origin != dst->origin) {
        core::fail(caller, OZL_StsBadArg, "srcImage->origin != dstImage->origin", base + 3);
        return;
    }
    if (image::effectiveChannels(src) != image::effectiveChannels(dst)) {
        core::fail(caller, OZL_StsBadArg,
                   "Number of processed channels of srcImage != Number of processed channels of dstImage",
                   base + 4);
        return;
    }
    PairMask mask = choosePairMask(caller, src, dst, {base + 6, base + 7});
    if (mask.stop) return;
    const int result = run(context, src, dst, mask.image);
    if (result == 0)
        core::fail(caller, OZL_StsError, "Error get tile to read", base + 11);
    else if (result == core::kDstOperand)
        core::fail(caller, OZL_StsError, "Error get tile to write", base + 12);
    else if (result == core::kMapNoMemory)
        core::fail(caller, OZL_StsNoMem, "Not enough memory", base + 13);
    releasePairMask(mask);
}

void runPair(const Caller& caller, OzlImage* src, OzlImage* dst, const core::MapKernel& kernel,
             int base) {
    runPair(caller, src, dst, base, [&](OzlImage* s, OzlImage* d, const OzlImage* m) {
        core::MapOperands operands;
        operands.src[0] = s;
        operands.dst = d;
        return core::mapPixels(operands, m, kernel);
    });
}

}  // namespace ozl::convert
