// Two-image arithmetic: ozlAdd, ozlSubtract, ozlMultiply, ozlMultiplyScale,
// and ozlMultiplySScale, which shares the scaled product's checks.
#include "arith/operation.hpp"
#include "core/pixelwise.hpp"
#include "image/mask.hpp"
#include "image/region.hpp"

using namespace ozl::arith;

namespace {

// Add and Multiply hand 1-bit images to the bitwise operation before any other check.
void saturatingOperation(const Caller& caller, OzlImage* srcA, OzlImage* srcB, OzlImage* dst,
                         Op op, void(OZL_CALL* oneBit)(OzlImage*, OzlImage*, OzlImage*)) {
    if (!srcA) {
        fail(caller, OZL_StsBadArg, "srcImageA==0", 60);
        return;
    }
    if (srcA->depth == OZL_DEPTH_1U) {
        oneBit(srcA, srcB, dst);
        return;
    }
    runOperation(caller, srcA, srcB, dst, OperationSpec{op});
}

// ---------------------------------------------------------------------------
// The scaled products belong to the compositing module, whose checks name each
// image in their messages and gather the masks themselves.

struct ScaleOperand {
    OzlImage* image;
    const char* isNull;      // "dstImage==0"
    const char* badAlpha;    // alpha channel not the last one
    const char* alphaNoRoi;  // a lone alpha channel needs a ROI...
    const char* alphaCoi;    // ...selecting it
    const char* depth;       // depth differs from the destination's (sources only)
    const char* channels[3]; // neither has a COI, only dst has one, only the source has one
};

bool scaleOperandValid(const Caller& caller, const ScaleOperand& o) {
    if (!o.image) return fail(caller, OZL_StsBadArg, o.isNull, 210);
    if (!headersValid(caller, {o.image}, 211)) return false;
    if (o.image->alphaChannel > 0 && o.image->alphaChannel != o.image->nChannels)
        return fail(caller, OZL_StsBadArg, o.badAlpha, 212);
    return true;
}

bool scaleAlphaRoiValid(const Caller& caller, const ScaleOperand& o) {
    const OzlImage* im = o.image;
    if (im->nChannels != 1 || im->alphaChannel != 1) return true;
    if (!im->roi) return fail(caller, OZL_StsBadArg, o.alphaNoRoi, 220);
    if (im->roi->coi != 1) return fail(caller, OZL_StsBadArg, o.alphaCoi, 221);
    return true;
}

// Channel agreement of a source with the destination, each form with its message.
bool scaleChannelsAgree(const Caller& caller, const ScaleOperand& src, const OzlImage* dst) {
    if (ozl::image::effectiveChannels(src.image) == ozl::image::effectiveChannels(dst)) return true;
    const bool srcCoi = ozl::image::hasCoi(src.image);
    const bool dstCoi = ozl::image::hasCoi(dst);
    const char* message = !srcCoi && !dstCoi ? src.channels[0]
                          : dstCoi          ? src.channels[1]
                                            : src.channels[2];
    return fail(caller, OZL_StsBadArg, message, 240);
}

// The scaled product of dst's sources (one or two) with the value args.value
// where there is no second source. The operands come destination first.
void scaledProduct(const Caller& caller, const ScaleOperand* operands, int count, Op op,
                   OpArgs args) {
    for (int i = 0; i < count; ++i)
        if (!scaleOperandValid(caller, operands[i])) return;
    for (int i = 0; i < count; ++i)
        if (!scaleAlphaRoiValid(caller, operands[i])) return;
    OzlImage* dst = operands[0].image;
    if (dst->depth != OZL_DEPTH_8U && dst->depth != OZL_DEPTH_16U)
        return void(fail(caller, OZL_StsBadArg, "dstImage->depth != 8 && dstImage->depth != 16", 230));
    for (int i = 1; i < count; ++i)
        if (operands[i].image->depth != dst->depth)
            return void(fail(caller, OZL_StsBadArg, operands[i].depth, 230 + i));
    for (int i = 1; i < count; ++i)
        if (!scaleChannelsAgree(caller, operands[i], dst)) return;

    // Masks of the operands in argument-check order, each checked like an image.
    const OzlImage* masks[3] = {};
    int nMasks = 0;
    for (int i = 0; i < count; ++i) {
        const OzlImage* m = operands[i].image->maskROI;
        if (!m) continue;
        if (!headersValid(caller, {m}, 250)) return;
        if (m->alphaChannel > 0 && m->alphaChannel != m->nChannels)
            return void(fail(caller, OZL_StsBadArg,
                             "masks[imask]->alphaChannel > 0 && masks[imask]->alphaChannel != masks[imask]->nChannels",
                             251));
        masks[nMasks++] = m;
    }
    ozl::image::CombinedMask mask = ozl::image::combineMasks(masks, nMasks);
    if (mask.flag == ozl::image::CombinedMask::Empty) return;
    if (mask.flag == ozl::image::CombinedMask::NoMemory)
        return void(fail(caller, OZL_StsNoMem, "No working memory", 252));
    // As after any nested operation, a negative status left standing stops the call.
    if (mask.flag == ozl::image::CombinedMask::Owned && ozlGetErrStatus() < 0) {
        fail(caller, OZL_StsBackTrace, "Bad masks for images", 253);
        ozl::image::releaseMask(mask);
        return;
    }

    ozl::core::MapOperands images;
    images.dst = dst;
    for (int i = 1; i < count; ++i) images.src[i - 1] = operands[i].image;
    ozl::core::MapKernel kernel;
    kernel.run = activeTable().run[static_cast<int>(op)][static_cast<int>(ozl::image::elemOf(dst->depth))];
    kernel.context = &args;
    kernel.wholeBuffer = true;
    const int result = ozl::core::mapPixels(images, mask.image, kernel);
    if (result >= 0)
        fail(caller, OZL_StsError, "ERROR in Tiling callBack", 260);
    else if (result == ozl::core::kMapNoMemory)
        fail(caller, OZL_StsNoMem, "No working memory", 261);
    ozl::image::releaseMask(mask);
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlAdd(OzlImage* srcImageA, OzlImage* srcImageB,
                                         OzlImage* dstImage) {
    saturatingOperation({"ozlAdd", "ozladd"}, srcImageA, srcImageB, dstImage, Op::Add, ozlOr);
}

extern "C" OZL_API void OZL_CALL ozlMultiply(OzlImage* srcImageA, OzlImage* srcImageB,
                                              OzlImage* dstImage) {
    saturatingOperation({"ozlMultiply", "ozlmul"}, srcImageA, srcImageB, dstImage, Op::Mul,
                        ozlAnd);
}

// Subtract checks no NULL first source (the header check reports it) and keeps
// its own 1-bit kernel, A AND NOT B, with no data-order check.
extern "C" OZL_API void OZL_CALL ozlSubtract(OzlImage* srcImageA, OzlImage* srcImageB,
                                              OzlImage* dstImage) {
    const bool oneBit = srcImageA && srcImageA->depth == OZL_DEPTH_1U;
    OperationSpec spec{oneBit ? Op::AndNot : Op::Sub};
    spec.checkDataOrder = !oneBit;
    runOperation({"ozlSubtract", "ozlsub"}, srcImageA, srcImageB, dstImage, spec);
}

extern "C" OZL_API void OZL_CALL ozlMultiplyScale(OzlImage* srcImageA, OzlImage* srcImageB,
                                                   OzlImage* dstImage) {
    const ScaleOperand operands[3] = {
        {dstImage, "dstImage==0",
         "dstImage->alphaChannel > 0 && dstImage->alphaChannel != dstImage->nChannels",
         "dstImage->alphaChannel == 1 && dstImage->roi == 0",
         "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", nullptr, {}},
        {srcImageA, "srcImageA==0",
         "srcImageA->alphaChannel > 0 && srcImageA->alphaChannel != srcImageA->nChannels",
         "srcImageA->alphaChannel == 1 && srcImageA->roi == 0",
         "srcImageA->alphaChannel == 1 && srcImageA->roi->coi != 1",
         "srcImageA->depth != dstImage->depth",
         {"(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))",
          "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->roi->coi > 0)",
          "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImageA->roi->coi > 0)"}},
        {srcImageB, "srcImageB==0",
         "srcImageB->alphaChannel > 0 && srcImageB->alphaChannel != srcImageB->nChannels",
         "srcImageB->alphaChannel == 1 && srcImageB->roi == 0",
         "srcImageB->alphaChannel == 1 && srcImageB->roi->coi != 1",
         "srcImageB->depth != dstImage->depth",
         {"(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))",
          "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != (dstImage->roi->coi > 0)",
          "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImageB->roi->coi > 0)"}},
    };
    scaledProduct({"ozlMultiplyScale", "ozlalpha"}, operands, 3, Op::MulScale, {});
}

// The constant is multiplied as given within the depth's range; constants
// outside it are clamped to it (0..255 or 0..65535).
extern "C" OZL_API void OZL_CALL ozlMultiplySScale(OzlImage* srcImage, OzlImage* dstImage,
                                                    int value) {
    const ScaleOperand operands[2] = {
        {dstImage, "dstImage==0",
         "dstImage->alphaChannel > 0 && dstImage->alphaChannel != dstImage->nChannels",
         "dstImage->alphaChannel == 1 && dstImage->roi == 0",
         "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", nullptr, {}},
        {srcImage, "srcImage==0",
         "srcImage->alphaChannel > 0 && srcImage->alphaChannel != srcImage->nChannels",
         "srcImage->alphaChannel == 1 && srcImage->roi == 0",
         "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1",
         "srcImage->depth != dstImage->depth",
         {"(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))",
          "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->roi->coi > 0)",
          "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImage->roi->coi > 0)"}},
    };
    OpArgs args;
    const int32_t max = dstImage && dstImage->depth == OZL_DEPTH_16U ? 65535 : 255;
    args.value = value < 0 ? 0 : value > max ? max : value;
    scaledProduct({"ozlMultiplySScale", "ozlalpha"}, operands, 2, Op::MulScaleC, args);
}
