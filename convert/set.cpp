// Fill: ozlSet, ozlSetFP.
#include <cstring>

#include "arith/operation.hpp"
#include "arith/pixelwise.hpp"

using namespace ozl::arith;

namespace {

int32_t clampToDepth(int32_t value, uint32_t depth) {
    auto clamp = [&](int32_t lo, int32_t hi) { return value < lo ? lo : value > hi ? hi : value; };
    switch (depth) {
        case OZL_DEPTH_1U: return clamp(0, 1);
        case OZL_DEPTH_8U: return clamp(0, 255);
        case OZL_DEPTH_8S: return clamp(-128, 127);
        case OZL_DEPTH_16U: return clamp(0, 65535);
        case OZL_DEPTH_16S: return clamp(-32768, 32767);
        default: return value;
    }
}

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
    const int32_t value = clampToDepth(fillValue, image->depth);
    if (regionEmpty(image)) return;
    if (image->depth == OZL_DEPTH_1U && image->maskROI) {
        setMaskedBits(image, value);
        return;
    }

    PixelKernel kernel;
    kernel.op = Op::Set;
    kernel.elem = bitwiseElem(image->depth);
    kernel.args.value = image->depth == OZL_DEPTH_1U ? (value ? -1 : 0) : value;
    // Row padding belongs to the caller when the data is the caller's: rows only.
    kernel.wholeBuffer = false;
    const PixelOperands operands{nullptr, nullptr, image};
    if (runPixelwise(operands, image->maskROI, kernel) != ozl::image::kWalkDone)
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
