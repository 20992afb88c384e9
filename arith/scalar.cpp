// Image and constant: ozlAddS, ozlSubtractS, ozlMultiplyS and their float
// forms ozlAddSFP, ozlSubtractSFP, ozlMultiplySFP; one image: ozlAbs,
// ozlSquare. Cases whose result can only be all-zero, all-max, a copy or a
// complement go to the bitwise operations before any header is checked.
#include "arith/operation.hpp"
#include "image/depth.hpp"
#include "image/region.hpp"

using namespace ozl::arith;

namespace {

bool isUnsigned(uint32_t depth) { return depth == OZL_DEPTH_8U || depth == OZL_DEPTH_16U; }

int32_t maxOf(uint32_t depth) { return depth == OZL_DEPTH_8U ? 255 : 65535; }

// The float forms refuse integer images, naming the integer function.
void floatOperation(const Caller& caller, OzlImage* src, OzlImage* dst, Op op, float value,
                    const char* useInstead) {
    if (!src) return void(fail(caller, OZL_StsBadArg, "srcImage==0", 60));
    if (src->depth != OZL_DEPTH_32F) return void(fail(caller, OZL_StsBadArg, useInstead, 71));
    OperationSpec spec{op};
    spec.args.real = value;
    runOperation(caller, src, nullptr, dst, spec);
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlSubtractS(OzlImage* srcImage, OzlImage* dstImage, int value,
                                               int flip) {
    const Caller caller{"ozlSubtractS", "ozlsubs"};
    if (!srcImage) return void(fail(caller, OZL_StsBadArg, "srcImage==0", 60));
    const uint32_t depth = srcImage->depth;
    if (depth == OZL_DEPTH_32F)
        return void(fail(caller, OZL_StsBadArg,
                         "For processing depth 32F use function ozlSubtractSFP", 70));
    if (depth == OZL_DEPTH_1U) {
        // 0 - b, b - 0, b - 1 and 1 - b on bits.
        const int bit = value & 1;
        if (flip == 0) bit ? ozlAndS(srcImage, dstImage, 0) : ozlXorS(srcImage, dstImage, 0);
        else bit ? ozlXorS(srcImage, dstImage, 1) : ozlAndS(srcImage, dstImage, 0);
        return;
    }
    if (isUnsigned(depth)) {
        const int64_t max = maxOf(depth);
        if (flip == 0 && value <= -max) return ozlOrS(srcImage, dstImage, -1);
        if (flip == 0 && value >= max) return ozlAndS(srcImage, dstImage, 0);
        if (flip != 0 && value < 1) return ozlAndS(srcImage, dstImage, 0);
        if (flip != 0 && value >= 2 * max) return ozlOrS(srcImage, dstImage, -1);
    }
    // No data-order check here: a pixel-order source may feed a plane-order destination.
    OperationSpec spec{flip ? Op::RevSubC : Op::SubC};
    spec.checkDataOrder = false;
    spec.args.value = value;
    runOperation(caller, srcImage, nullptr, dstImage, spec);
}

extern "C" OZL_API void OZL_CALL ozlAddS(OzlImage* srcImage, OzlImage* dstImage, int value) {
    const Caller caller{"ozlAddS", "ozladds"};
    if (!srcImage) return void(fail(caller, OZL_StsBadArg, "srcImage==0", 60));
    switch (srcImage->depth) {
        case OZL_DEPTH_1U: return ozlOrS(srcImage, dstImage, value);
        case OZL_DEPTH_8U: case OZL_DEPTH_8S: case OZL_DEPTH_16U: case OZL_DEPTH_16S:
            // A huge negative addend subtracts 65535, which still saturates
            // every 8- and 16-bit result, and never negates INT32_MIN.
            return ozlSubtractS(srcImage, dstImage, value < -65535 ? 65535 : -value, 0);
        case OZL_DEPTH_32F:
            return void(fail(caller, OZL_StsBadArg, "For processing depth 32F use function ozlAddSFP", 70));
        default: break;
    }
    OperationSpec spec{Op::AddC};
    spec.args.value = value;
    runOperation(caller, srcImage, nullptr, dstImage, spec);
}

extern "C" OZL_API void OZL_CALL ozlMultiplyS(OzlImage* srcImage, OzlImage* dstImage, int value) {
    const Caller caller{"ozlMultiplyS", "ozlmuls"};
    if (!srcImage) return void(fail(caller, OZL_StsBadArg, "srcImage==0", 60));
    const uint32_t depth = srcImage->depth;
    if (depth == OZL_DEPTH_32F)
        return void(fail(caller, OZL_StsBadArg, "For processing depth 32F use function ozlMultiplySFP", 70));
    if (depth == OZL_DEPTH_1U) return ozlAndS(srcImage, dstImage, value);
    if (isUnsigned(depth)) {
        if (value < 1) return ozlAndS(srcImage, dstImage, 0);
        if (value > maxOf(depth)) value = maxOf(depth);
    }
    OperationSpec spec{Op::MulC};
    spec.args.value = value;
    runOperation(caller, srcImage, nullptr, dstImage, spec);
}

extern "C" OZL_API void OZL_CALL ozlAddSFP(OzlImage* srcImage, OzlImage* dstImage, float value) {
    floatOperation({"ozlAddSFP", "ozladdsf"}, srcImage, dstImage, Op::AddC, value,
                   "For processing this depth use function ozlAddS");
}

extern "C" OZL_API void OZL_CALL ozlSubtractSFP(OzlImage* srcImage, OzlImage* dstImage,
                                                 float value, int flip) {
    floatOperation({"ozlSubtractSFP", "ozlsubsf"}, srcImage, dstImage,
                   flip ? Op::RevSubC : Op::SubC, value,
                   "For processing this depth use function ozlSubtractS");
}

extern "C" OZL_API void OZL_CALL ozlMultiplySFP(OzlImage* srcImage, OzlImage* dstImage,
                                                 float value) {
    floatOperation({"ozlMultiplySFP", "ozlmulsf"}, srcImage, dstImage, Op::MulC, value,
                   "For processing this depth use function ozlMultiplyS");
}

extern "C" OZL_API void OZL_CALL ozlAbs(OzlImage* srcImage, OzlImage* dstImage) {
    const Caller caller{"ozlAbs", "ozlabs"};
    // Both pointers are reported before either check returns.
    if (!srcImage) fail(caller, OZL_StsBadArg, "srcImage==0", 60);
    if (!dstImage) fail(caller, OZL_StsBadArg, "dstImage==0", 61);
    if (ozlGetErrStatus() < 0) return;
    const uint32_t depth = dstImage->depth;
    if (depth == OZL_DEPTH_1U || depth == OZL_DEPTH_8U || depth == OZL_DEPTH_16U) {
        ozlCopy(srcImage, dstImage);
        if (ozlGetErrStatus() < 0) fail(caller, OZL_StsBackTrace, "ozlCopy is failed", 80);
        return;
    }
    if (!headersValid(caller, {srcImage, dstImage}, 101)) return;
    if (srcImage->depth != dstImage->depth)
        return void(fail(caller, OZL_StsBadArg, "(srcImage->depth != dstImage->depth)", 110));
    if (srcImage->dataOrder != dstImage->dataOrder)
        return void(fail(caller, OZL_StsBadArg, "(srcImage->dataOrder != dstImage->dataOrder)", 120));
    // A channel of interest counts only on a multi-channel image; without one
    // on either side, an alpha channel on one side only is accepted.
    auto coi = [](const OzlImage* im) { return ozl::image::hasCoi(im) && im->nChannels != 1; };
    if (coi(srcImage) != coi(dstImage))
        return void(fail(caller, OZL_StsBadArg, "(nChSrcCoi != nChDstCoi)", 130));
    if (!coi(srcImage) &&
        ozl::image::effectiveChannels(srcImage) != ozl::image::effectiveChannels(dstImage) &&
        srcImage->nChannels != dstImage->nChannels)
        return void(fail(caller, OZL_StsBadArg, "(srcImage->nChannels != dstImage->nChannels)", 131));
    runChecked(caller, srcImage, nullptr, dstImage, OperationSpec{Op::Abs});
}

extern "C" OZL_API void OZL_CALL ozlSquare(OzlImage* srcImage, OzlImage* dstImage) {
    // A bit's square is the bit: 1-bit images are copied (x AND all ones).
    const bool oneBit = srcImage && srcImage->depth == OZL_DEPTH_1U;
    OperationSpec spec{oneBit ? Op::AndS : Op::Square};
    spec.args.value = -1;
    runOperation({"ozlSquare", "ozlsqr"}, srcImage, nullptr, dstImage, spec);
}
