#include "arith/alpha_module.hpp"

#include "core/pixelwise.hpp"
#include "image/region.hpp"

namespace ozl::arith {

using core::fail;

const AlphaOperandText kDstImageText{
    "dstImage==0", "dstImage->alphaChannel > 0 && dstImage->alphaChannel != dstImage->nChannels",
    "dstImage->alphaChannel == 1 && dstImage->roi == 0",
    "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", nullptr, {}};

#define OZL_SOURCE_TEXT(n)                                                                     \
    AlphaOperandText {                                                                         \
        n "==0", n "->alphaChannel > 0 && " n "->alphaChannel != " n "->nChannels",            \
            n "->alphaChannel == 1 && " n "->roi == 0",                                        \
            n "->alphaChannel == 1 && " n "->roi->coi != 1", n "->depth != dstImage->depth",   \
        {                                                                                      \
            "(" n "->nChannels - (" n "->alphaChannel != 0)) != (dstImage->nChannels - "       \
            "(dstImage->alphaChannel != 0))",                                                  \
                "(" n "->nChannels - (" n "->alphaChannel != 0)) != (dstImage->roi->coi > 0)", \
                "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (" n "->roi->coi > 0)" \
        }                                                                                      \
    }
#define OZL_ALPHA_TEXT(n)                                                                  \
    AlphaOperandText {                                                                     \
        n "==0", n "->alphaChannel > 0 && " n "->alphaChannel != " n "->nChannels",        \
            n "->alphaChannel == 1 && " n "->roi == 0",                                    \
            n "->alphaChannel == 1 && " n "->roi->coi != 1", n "->depth != dstImage->depth", \
        {                                                                                  \
            "(" n "->nChannels - (" n "->alphaChannel != 0)) != 1", nullptr, nullptr       \
        }                                                                                  \
    }

const AlphaOperandText kSrcImageText = OZL_SOURCE_TEXT("srcImage");
const AlphaOperandText kSrcImageAText = OZL_SOURCE_TEXT("srcImageA");
const AlphaOperandText kSrcImageBText = OZL_SOURCE_TEXT("srcImageB");
const AlphaOperandText kAlphaImageText = OZL_ALPHA_TEXT("alphaImage");
const AlphaOperandText kAlphaImageAText = OZL_ALPHA_TEXT("alphaImageA");
const AlphaOperandText kAlphaImageBText = OZL_ALPHA_TEXT("alphaImageB");
const AlphaOperandText kAlphaImageDstText = OZL_ALPHA_TEXT("alphaImageDst");

#undef OZL_SOURCE_TEXT
#undef OZL_ALPHA_TEXT

bool alphaOperandValid(const core::Caller& caller, const AlphaOperand& o, int base) {
    if (!o.image) return fail(caller, OZL_StsBadArg, o.text->isNull, base + 10);
    if (!core::headersValid(caller, {o.image}, base + 11)) return false;
    if (o.image->alphaChannel > 0 && o.image->alphaChannel != o.image->nChannels)
        return fail(caller, OZL_StsBadArg, o.text->badAlpha, base + 12);
    return true;
}

bool loneAlphaValid(const core::Caller& caller, const AlphaOperand& o, int base) {
    const OzlImage* im = o.image;
    if (im->nChannels != 1 || im->alphaChannel != 1) return true;
    if (!im->roi) return fail(caller, OZL_StsBadArg, o.text->alphaNoRoi, base + 20);
    if (im->roi->coi != 1) return fail(caller, OZL_StsBadArg, o.text->alphaCoi, base + 21);
    return true;
}

bool alphaDepthAgrees(const core::Caller& caller, const AlphaOperand& o, const OzlImage* dst,
                      int index, int base) {
    if (o.image->depth == dst->depth) return true;
    return fail(caller, OZL_StsBadArg, o.text->depth, base + 30 + index);
}

bool alphaChannelsAgree(const core::Caller& caller, const AlphaOperand& src, const OzlImage* dst,
                        int base) {
    if (image::effectiveChannels(src.image) == image::effectiveChannels(dst)) return true;
    const bool srcCoi = image::hasCoi(src.image);
    const bool dstCoi = image::hasCoi(dst);
    const char* message = !srcCoi && !dstCoi ? src.text->channels[0]
                          : dstCoi          ? src.text->channels[1]
                                            : src.text->channels[2];
    return fail(caller, OZL_StsBadArg, message, base + 40);
}

bool alphaImageSingle(const core::Caller& caller, const AlphaOperand& o, int base) {
    if (image::effectiveChannels(o.image) == 1) return true;
    return fail(caller, OZL_StsBadArg, o.text->channels[0], base + 40);
}

bool gatherMasks(const core::Caller& caller, OzlImage* const* images, int count, int base,
                 image::CombinedMask* mask) {
    const OzlImage* masks[4] = {};
    int nMasks = 0;
    for (int i = 0; i < count && nMasks < 4; ++i) {
        const OzlImage* m = images[i] ? images[i]->maskROI : nullptr;
        if (!m) continue;
        if (!core::headersValid(caller, {m}, base + 50)) return false;
        if (m->alphaChannel > 0 && m->alphaChannel != m->nChannels)
            return fail(caller, OZL_StsBadArg,
                        "masks[imask]->alphaChannel > 0 && masks[imask]->alphaChannel != masks[imask]->nChannels",
                        base + 51);
        masks[nMasks++] = m;
    }
    *mask = image::combineMasks(masks, nMasks);
    if (mask->flag == image::CombinedMask::Empty) return false;
    if (mask->flag == image::CombinedMask::NoMemory)
        return fail(caller, OZL_StsNoMem, "No working memory", base + 52);
    // As after any nested operation, a negative status left standing stops the call.
    if (mask->flag == image::CombinedMask::Owned && ozlGetErrStatus() < 0) {
        fail(caller, OZL_StsBackTrace, "Bad masks for images", base + 53);
        image::releaseMask(*mask);
        return false;
    }
    return true;
}

bool reportRun(const core::Caller& caller, int result, int base) {
    if (result >= 0) return fail(caller, OZL_StsError, "ERROR in Tiling callBack", base + 60);
    if (result == core::kMapNoMemory) return fail(caller, OZL_StsNoMem, "No working memory", base + 61);
    return true;
}

}  // namespace ozl::arith
