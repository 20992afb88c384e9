// Fill: ozlSet, ozlSetFP.
#include <cstring>

#include "convert/kernels.hpp"
#include "core/checks.hpp"
#include "core/pixelwise.hpp"
#include "image/depth.hpp"

using ozl::core::Caller;
using ozl::core::fail;
using ozl::core::headersValid;

namespace {

// A region that starts past the image or has no extent leaves the image as it is.
bool regionEmpty(const OzlImage* image) {
    const OzlROI* roi = image->roi;
    return roi && (roi->width < 1 || roi->height < 1 || roi->xOffset >= image->width ||
                   roi->yOffset >= image->height);
}

// A masked 1-bit image is filled through the bitwise operations, with the mask
// taken off the image meanwhile: image OR mask sets the masked bits, image AND
// NOT mask clears them (the mask is inverted in place and back).
void setMaskedBits(OzlImage* image, int value) {
    OzlImage* mask = image->maskROI;
    image->maskROI = nullptr;
    if (value) {
        ozlOr(image, mask, image);
    } else {
        ozlXorS(mask, mask, 1);
        ozlAnd(image, mask, image);
        ozlXorS(mask, mask, 1);
    }
    image->maskROI = mask;
    if (ozlGetErrStatus() < 0) ozlError(OZL_StsBackTrace, "ozlSet", "", "ozlsce", 433);
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlSet(OzlImage* image, int fillValue) {
    const Caller caller{"ozlSet", "ozlsce"};
    if (!headersValid(caller, {image}, 395)) return;
    if (image->depth == OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadDepth, "You should use ozlSetFP for this image", 397);
        return;
    }
    const int32_t value = ozl::image::clampToDepth(fillValue, image->depth);
    if (regionEmpty(image)) return;
    if (image->depth == OZL_DEPTH_1U && image->maskROI) {
        setMaskedBits(image, value);
        return;
    }

    ozl::convert::FillArgs args;
    args.value = image->depth == OZL_DEPTH_1U ? (value ? -1 : 0) : value;
    ozl::core::MapOperands operands;
    operands.dst = image;
    ozl::core::MapKernel kernel;
    kernel.run = ozl::convert::activeTable().fill[ozl::convert::widthIndex(
        ozl::image::elemBytes(ozl::image::bitsElemOf(image->depth)))];
    kernel.context = &args;
    kernel.withAlpha = true;
    kernel.uniform = true;
    // Row padding belongs to the caller when the data is the caller's: rows
    // only (rows without padding still merge into one run).
    kernel.wholeBuffer = false;
    if (ozl::core::mapPixels(operands, image->maskROI, kernel) != ozl::core::kMapDone)
        fail(caller, OZL_StsError, "Error get tile to write", 503);
}

// The float's bits are written through the 32-bit integer fill, which does not clamp.
extern "C" OZL_API void OZL_CALL ozlSetFP(OzlImage* image, float fillValue) {
    const Caller caller{"ozlSetFP", "ozlsce"};
    if (!image) {
        fail(caller, OZL_StsBadArg, "dstImage==0", 942);
        return;
    }
    if (image->depth != OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadDepth, "You should use ozlSet for this image", 944);
        return;
    }
    int32_t bits;
    std::memcpy(&bits, &fillValue, sizeof bits);
    image->depth = OZL_DEPTH_32S;
    ozlSet(image, bits);
    if (ozlGetErrStatus() < 0) ozlError(OZL_StsBackTrace, "ozlSetFP", "", "ozlsce", 947);
    image->depth = OZL_DEPTH_32F;
}
