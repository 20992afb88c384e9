// Copy: ozlCopy.
#include <algorithm>

#include "convert/pairing.hpp"
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

}  // namespace

extern "C" OZL_API void OZL_CALL ozlCopy(OzlImage* srcImage, OzlImage* dstImage) {
    if (!headersValid(kCopy, {srcImage}, 61) || !headersValid(kCopy, {dstImage}, 62)) return;
    // The three agreements are all reported before the call gives up, which
    // it also does on a negative status left by an earlier call.
    ozl::convert::reportDisagreements(kCopy, srcImage, dstImage, {}, 63);
    if (ozlGetErrStatus() < 0) return;
    if (srcImage == dstImage) return;

    ozl::convert::PairMask mask = ozl::convert::choosePairMask(kCopy, srcImage, dstImage, {72, 77});
    if (mask.stop) return;
    ozl::core::MapOperands operands;
    operands.src[0] = srcImage;
    operands.dst = dstImage;
    const ozl::core::Size size = ozl::core::commonSize(operands, mask.image);
    auto release = [&] { ozl::convert::releasePairMask(mask); };
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
        ozl::convert::copyValues(srcImage, dstImage, mask.image);
        return release();
    }

    ozl::core::LedSource source{srcImage};
    source.tilesInPlace = true;  // the untiled copy copes with memory it shares with the destination
    const ozl::core::LedResult walked = ozl::core::walkLed(
        dstImage, &source, 1, mask.image, size.width, size.height,
        [&](const ozl::core::LedPiece& piece) {
            // A status left negative once the source has been fetched ends the call.
            if (piece.fetched[0] && ozlGetErrStatus() < 0) {
                backtrace(249);
                return false;
            }
            ozl::convert::copyValues(piece.src[0], piece.dst, piece.mask);
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
