// Copy: ozlCopy.
#include <algorithm>

#include "convert/kernels.hpp"
#include "core/checks.hpp"
#include "core/led_walk.hpp"
#include "core/pixelwise.hpp"
#include "image/depth.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

using ozl::core::Caller;
using ozl::core::fail;
using ozl::core::headersValid;

namespace {

const Caller kCopy{"ozlCopy", "ozlsce"};

// Reports a failure inside a nested operation; true when the call ends, that
// is when the handler answers non-zero (the stock handlers return the status).
bool backtrace(int line) { return ozlError(OZL_StsBackTrace, kCopy.function, "", kCopy.module, line) != 0; }

// The mask the copy applies: none, one image's, or the AND of two different
// masks in a temporary image (owned: released by the caller).
struct CopyMask {
    OzlImage* image = nullptr;
    bool owned = false;
    bool stop = false;  // nothing to do, or a failure already reported
};

CopyMask chooseMask(OzlImage* src, OzlImage* dst) {
    CopyMask m;
    OzlImage* a = src->maskROI;
    OzlImage* b = dst->maskROI;
    if (!a || !b || a == b) {
        m.image = a ? a : b;
        return m;
    }
    const ozl::image::RegionStart ra = ozl::image::regionStart(a, 0);
    const ozl::image::RegionStart rb = ozl::image::regionStart(b, 0);
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
    if (ozlGetErrStatus() < 0 && backtrace(72)) {
        ozlDeallocate(both, OZL_IMAGE_HEADER);
        m.stop = true;
        return m;
    }
    if (!both || !both->imageData) {  // an allocation failure is silent; nothing to copy through
        ozlDeallocate(both, OZL_IMAGE_HEADER);
        m.stop = true;
        return m;
    }
    ozlAnd(a, b, both);
    if (ozlGetErrStatus() < 0 && backtrace(77)) {
        ozlDeallocate(both, OZL_IMAGE_HEADER | OZL_IMAGE_DATA | OZL_IMAGE_ROI | OZL_IMAGE_TILE |
                                OZL_IMAGE_MASK);
        m.stop = true;
        return m;
    }
    m.image = both;
    m.owned = true;
    return m;
}

// A masked copy into a 1-bit destination: dst = (dst AND NOT mask) OR
// (src AND mask), through the fill and the bitwise operations.
void copyMaskedBits(OzlImage* src, OzlImage* dst, OzlImage* mask, int width, int height) {
    OzlImage* tmp = ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "GRAY", "G", mask->dataOrder,
                                         mask->origin, mask->align, width, height, nullptr,
                                         nullptr, nullptr, nullptr);
    if (tmp) ozlAllocateImage(tmp, 0, 0);
    if (tmp && tmp->imageData) {
        OzlImage* const srcMask = src->maskROI;
        OzlImage* const dstMask = dst->maskROI;
        OzlImage* const maskOfMask = mask->maskROI;
        mask->maskROI = nullptr;
        ozlCopy(mask, tmp);
        mask->maskROI = maskOfMask;
        dst->maskROI = tmp;
        ozlSet(dst, 0);
        dst->maskROI = dstMask;
        src->maskROI = nullptr;
        ozlAnd(src, tmp, tmp);
        src->maskROI = srcMask;
        ozlOr(dst, tmp, dst);
    }
    ozlDeallocate(tmp, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    if (ozlGetErrStatus() < 0) backtrace(118);
}

void copyPiece(OzlImage* src, OzlImage* dst, const OzlImage* mask) {
    size_t valueBytes = static_cast<size_t>(std::max(1, ozl::image::depthBits(dst->depth) / 8));
    ozl::core::MapOperands operands;
    operands.src[0] = src;
    operands.dst = dst;
    ozl::core::MapKernel kernel;
    kernel.run = &ozl::convert::copyRun;
    kernel.context = &valueBytes;
    kernel.identity = true;
    ozl::core::mapPixels(operands, mask, kernel);
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlCopy(OzlImage* srcImage, OzlImage* dstImage) {
    if (!headersValid(kCopy, {srcImage}, 61) || !headersValid(kCopy, {dstImage}, 62)) return;
    // The three agreements are all reported before the call gives up.
    if (srcImage->depth != dstImage->depth)
        fail(kCopy, OZL_StsBadArg, "srcImage->depth != dstImage->depth", 63);
    if (srcImage->origin != dstImage->origin)
        fail(kCopy, OZL_StsBadArg, "srcImage->origin != dstImage->origin", 63);
    if (srcImage->dataOrder != dstImage->dataOrder && srcImage->depth != OZL_DEPTH_1U &&
        !(srcImage->nChannels == 1 && dstImage->nChannels == 1))
        fail(kCopy, OZL_StsBadArg, "srcImage->dataOrder != dstImage->dataOrder", 63);
    if (ozlGetErrStatus() < 0) return;
    if (srcImage == dstImage) return;

    CopyMask mask = chooseMask(srcImage, dstImage);
    if (mask.stop) return;
    ozl::core::MapOperands operands;
    operands.src[0] = srcImage;
    operands.dst = dstImage;
    const ozl::core::Size size = ozl::core::commonSize(operands, mask.image);
    auto release = [&] {
        if (mask.owned) ozlDeallocate(mask.image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    };
    if (size.width == 0 || size.height == 0) return release();

    if (dstImage->depth == OZL_DEPTH_1U && mask.image) {
        copyMaskedBits(srcImage, dstImage, mask.image, size.width, size.height);
        return release();
    }
    if (ozl::image::effectiveChannels(srcImage) != ozl::image::effectiveChannels(dstImage)) {
        fail(kCopy, OZL_StsBadArg,
             "Number of processed channels of srcImage != Number of processed channels of dstImage",
             281);
        return release();
    }
    if (!ozl::image::isTiled(srcImage) && !ozl::image::isTiled(dstImage)) {
        copyPiece(srcImage, dstImage, mask.image);
        return release();
    }

    const ozl::core::LedSource source{srcImage};
    const ozl::core::LedResult walked = ozl::core::walkLed(
        dstImage, &source, 1, mask.image, size.width, size.height,
        [&](const ozl::core::LedPiece& piece) {
            // A status left negative once the source has been fetched ends the call.
            if (piece.fetched[0] && ozlGetErrStatus() < 0) {
                backtrace(249);
                return false;
            }
            copyPiece(piece.src[0], piece.dst, piece.mask);
            return true;
        });
    switch (walked.kind) {
        case ozl::core::LedResult::WriteTile:
            fail(kCopy, OZL_StsError, "Error get tile to write", 243);
            break;
        case ozl::core::LedResult::ReadTile:
            fail(kCopy, OZL_StsError, "Error get tile to read", 255);
            break;
        case ozl::core::LedResult::Fetch: backtrace(249); break;
        default: break;
    }
    release();
}
