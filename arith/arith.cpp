// Two-image arithmetic: ozlAdd, ozlSubtract, ozlMultiply, ozlMultiplyScale.
#include <algorithm>

#include "arith/operation.hpp"
#include "arith/pixelwise.hpp"
#include "image/region.hpp"

using namespace ozl::arith;

namespace {

// Add and Multiply hand 1-bit images to the bitwise operation before any other check.
void saturatingOperation(const Caller& caller, OzlImage* srcA, OzlImage* srcB, OzlImage* dst,
                         Op op, void (*oneBit)(OzlImage*, OzlImage*, OzlImage*)) {
    if (!srcA) {
        fail(caller, OZL_StsBadArg, "srcImageA==0", 60);
        return;
    }
    if (srcA->depth == OZL_DEPTH_1U) {
        oneBit(srcA, srcB, dst);
        return;
    }
    runOperation(caller, srcA, srcB, dst, {op, false, true, {}});
}

// The alpha module's checks of one image of ozlMultiplyScale.
struct ScaleOperand {
    OzlImage* image;
    const char* isNull;
    const char* badAlpha;
    const char* alphaNoRoi;
    const char* alphaCoi;
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

int alphaModuleChannels(const OzlImage* im) {
    return ozl::image::hasCoi(im) ? 1 : im->nChannels - (im->alphaChannel != 0 ? 1 : 0);
}

// Channel agreement of a source with the destination, each form with its message.
bool scaleChannelsAgree(const Caller& caller, const OzlImage* src, const OzlImage* dst,
                        const char* const messages[3]) {
    if (alphaModuleChannels(src) == alphaModuleChannels(dst)) return true;
    const bool srcCoi = ozl::image::hasCoi(src);
    const bool dstCoi = ozl::image::hasCoi(dst);
    const char* message = !srcCoi && !dstCoi ? messages[0] : dstCoi ? messages[1] : messages[2];
    return fail(caller, OZL_StsBadArg, message, 240);
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
// its own 1-bit kernel, A AND NOT B.
extern "C" OZL_API void OZL_CALL ozlSubtract(OzlImage* srcImageA, OzlImage* srcImageB,
                                              OzlImage* dstImage) {
    const bool oneBit = srcImageA && srcImageA->depth == OZL_DEPTH_1U;
    runOperation({"ozlSubtract", "ozlsub"}, srcImageA, srcImageB, dstImage,
                 {oneBit ? Op::AndNot : Op::Sub, false, !oneBit, {}});
}

extern "C" OZL_API void OZL_CALL ozlMultiplyScale(OzlImage* srcImageA, OzlImage* srcImageB,
                                                   OzlImage* dstImage) {
    const Caller caller{"ozlMultiplyScale", "ozlalpha"};
    const ScaleOperand dst{dstImage, "dstImage==0",
                           "dstImage->alphaChannel > 0 && dstImage->alphaChannel != dstImage->nChannels",
                           "dstImage->alphaChannel == 1 && dstImage->roi == 0",
                           "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1"};
    const ScaleOperand a{srcImageA, "srcImageA==0",
                         "srcImageA->alphaChannel > 0 && srcImageA->alphaChannel != srcImageA->nChannels",
                         "srcImageA->alphaChannel == 1 && srcImageA->roi == 0",
                         "srcImageA->alphaChannel == 1 && srcImageA->roi->coi != 1"};
    const ScaleOperand b{srcImageB, "srcImageB==0",
                         "srcImageB->alphaChannel > 0 && srcImageB->alphaChannel != srcImageB->nChannels",
                         "srcImageB->alphaChannel == 1 && srcImageB->roi == 0",
                         "srcImageB->alphaChannel == 1 && srcImageB->roi->coi != 1"};
    for (const ScaleOperand* o : {&dst, &a, &b})
        if (!scaleOperandValid(caller, *o)) return;
    for (const ScaleOperand* o : {&dst, &a, &b})
        if (!scaleAlphaRoiValid(caller, *o)) return;

    if (dstImage->depth != OZL_DEPTH_8U && dstImage->depth != OZL_DEPTH_16U) {
        fail(caller, OZL_StsBadArg, "dstImage->depth != 8 && dstImage->depth != 16", 230);
        return;
    }
    if (srcImageA->depth != dstImage->depth) {
        fail(caller, OZL_StsBadArg, "srcImageA->depth != dstImage->depth", 231);
        return;
    }
    if (srcImageB->depth != dstImage->depth) {
        fail(caller, OZL_StsBadArg, "srcImageB->depth != dstImage->depth", 232);
        return;
    }
    static const char* const channelsA[3] = {
        "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))",
        "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->roi->coi > 0)",
        "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImageA->roi->coi > 0)"};
    static const char* const channelsB[3] = {
        "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))",
        "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != (dstImage->roi->coi > 0)",
        "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImageB->roi->coi > 0)"};
    if (!scaleChannelsAgree(caller, srcImageA, dstImage, channelsA) ||
        !scaleChannelsAgree(caller, srcImageB, dstImage, channelsB))
        return;

    // Masks of dst, A and B, in that order, each checked like an image.
    const PixelOperands operands{srcImageA, srcImageB, dstImage};
    const OzlImage* masks[3] = {dstImage->maskROI, srcImageA->maskROI, srcImageB->maskROI};
    for (const OzlImage* m : masks) {
        if (!m) continue;
        if (!headersValid(caller, {m}, 250)) return;
        if (m->alphaChannel > 0 && m->alphaChannel != m->nChannels) {
            fail(caller, OZL_StsBadArg,
                 "masks[imask]->alphaChannel > 0 && masks[imask]->alphaChannel != masks[imask]->nChannels",
                 251);
            return;
        }
    }
    ozl::image::CombinedMask mask = ozl::image::combineMasks(masks, 3);
    if (mask.flag == ozl::image::CombinedMask::Empty) return;
    if (mask.flag == ozl::image::CombinedMask::NoMemory) {
        fail(caller, OZL_StsNoMem, "No working memory", 252);
        return;
    }
    PixelKernel kernel;
    kernel.op = Op::MulScale;
    kernel.elem = arithElem(dstImage->depth);
    if (runPixelwise(operands, mask.image, kernel) != ozl::image::kWalkDone)
        fail(caller, OZL_StsError, "ERROR in Tiling callBack", 260);
    ozl::image::releaseMask(mask);
}
