// The colour twist: its record (ozlCreateColorTwist, ozlSetColorTwist,
// ozlDeleteColorTwist), ozlApplyColorTwist on 8U and 16U images (module
// ozltwist) and ozlColorTwistFP on 32F images (module ozltwstf).
//
// Both apply the matrix to the first three channels of every pixel of the
// region of interest and write the first three channels of the destination;
// any further channel (an alpha channel or not) keeps its value, and the
// fourth row of the matrix is not used. A channel of interest is ignored: a
// twist mixes channels. The masks of both images combine by AND; where the
// combined bit is 0 the destination keeps its pixel. The fourth argument of
// ozlApplyColorTwist is an offset in sample units added to every result after
// the scaling and rounding, before the saturation.
#include <cstring>

#include "color/frame.hpp"
#include "color/twist_plan.hpp"
#include "core/pixelwise.hpp"
#include "image/mask.hpp"
#include "image/tiles.hpp"

using namespace ozl::color;

namespace {

// The messages of one side's channel tests and their lines.
struct SideChecks {
    const char* tooFew;
    const char* alphaFew;
    const char* alphaFirst;
    const char* maskOrigin;
    const char* noTile;
};

constexpr SideChecks kSrc{"(srcImage->nChannels < 3)",
                          "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))",
                          "((srcImage->alphaChannel != 0) && (srcImage->alphaChannel < "
                          "srcImage->nChannels))",
                          "(srcImage->origin != srcImage->maskROI->origin)",
                          "(srcImage->tileInfo->tileData == NULL)"};
constexpr SideChecks kDst{"(dstImage->nChannels < 3)",
                          "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))",
                          "((dstImage->alphaChannel != 0) && (dstImage->alphaChannel < "
                          "dstImage->nChannels))",
                          "(dstImage->origin != dstImage->maskROI->origin)",
                          "(dstImage->tileInfo->tileData == NULL)"};

// Lines of the checks that both modules share in the same order.
struct Lines {
    int channels;   // three lines per side from here, source first
    int dataOrder;
    int origin;     // then the source mask, then the destination mask
    int tile;       // source, destination
    int memory;
};
constexpr Lines kTwistLines{107, 118, 120, 131, 134};
constexpr Lines kRealLines{42, 49, 51, 64, 60};

bool sideChannelsValid(const Caller& c, const OzlImage* im, const SideChecks& m, int line) {
    if (im->nChannels < 3) return fail(c, OZL_StsBadArg, m.tooFew, line);
    if (im->alphaChannel != 0 && im->nChannels < 4)
        return fail(c, OZL_StsBadArg, m.alphaFew, line + 1);
    if (im->alphaChannel != 0 && im->alphaChannel < im->nChannels)
        return fail(c, OZL_StsBadArg, m.alphaFirst, line + 2);
    return true;
}

bool channelsValid(const Caller& c, const OzlImage* src, const OzlImage* dst, const Lines& l) {
    return sideChannelsValid(c, src, kSrc, l.channels) &&
           sideChannelsValid(c, dst, kDst, l.channels + 3);
}

bool orderAndOriginValid(const Caller& c, const OzlImage* src, const OzlImage* dst,
                         const Lines& l) {
    if (src->dataOrder != dst->dataOrder)
        return fail(c, OZL_StsBadArg, "(srcImage->dataOrder != dstImage->dataOrder)", l.dataOrder);
    if (src->origin != dst->origin)
        return fail(c, OZL_StsBadArg, "(srcImage->origin != dstImage->origin)", l.origin);
    if (src->maskROI && src->origin != src->maskROI->origin)
        return fail(c, OZL_StsBadArg, kSrc.maskOrigin, l.origin + 1);
    if (dst->maskROI && dst->origin != dst->maskROI->origin)
        return fail(c, OZL_StsBadArg, kDst.maskOrigin, l.origin + 2);
    return true;
}

// A header whose channel of interest is dropped (the twist always works on
// three channels); the image itself where it has none.
struct AllChannels {
    OzlImage header;
    OzlROI roi;
    OzlImage* of(OzlImage* image) {
        if (!image->roi || image->roi->coi == 0) return image;
        header = *image;
        roi = *image->roi;
        roi.coi = 0;
        header.roi = &roi;
        return &header;
    }
};

// Runs a twist kernel over the region the images share, with their masks.
void run(const Caller& c, OzlImage* src, OzlImage* dst, PixelFn kernel, const TwistArgs& args,
         const char* noMemory, const Lines& l) {
    const OzlImage* masks[2] = {src->maskROI, dst->maskROI};
    ozl::image::CombinedMask mask = ozl::image::combineMasks(masks, 2);
    if (mask.flag == ozl::image::CombinedMask::Empty) return;
    if (mask.flag == ozl::image::CombinedMask::NoMemory)
        return void(fail(c, OZL_StsNoMem, noMemory, l.memory));
    AllChannels srcAll, dstAll;
    ozl::core::MapOperands operands;
    operands.src[0] = srcAll.of(src);
    operands.dst = dst == src ? operands.src[0] : dstAll.of(dst);
    ozl::core::MapKernel k;
    k.pixel = kernel;
    k.context = &args;
    k.partialPixels = true;
    const int result = ozl::core::mapPixels(operands, mask.image, k);
    ozl::image::releaseMask(mask);
    if (result == 0) fail(c, OZL_StsError, kSrc.noTile, l.tile);
    if (result == ozl::core::kDstOperand) fail(c, OZL_StsError, kDst.noTile, l.tile + 1);
    if (result == ozl::core::kMapNoMemory) fail(c, OZL_StsNoMem, noMemory, l.memory);
}

}  // namespace

extern "C" {

OZL_API OzlColorTwist* OZL_CALL ozlCreateColorTwist(const int* data, int scalingValue) {
    const Caller c{"ozlCreateColorTwist", "ozltwist"};
    if (scalingValue < 0 || scalingValue > 31 || !data) {
        fail(c, OZL_StsBadArg, "bad_argument", 38);
        return nullptr;
    }
    auto* twist = static_cast<OzlColorTwist*>(ozlMalloc(static_cast<int>(sizeof(OzlColorTwist))));
    if (!twist) {
        fail(c, OZL_StsNoMem, "matrix_is_not_allocated", 43);
        return nullptr;
    }
    std::memcpy(twist->data, data, sizeof twist->data);
    twist->scalingValue = scalingValue;
    return twist;
}

OZL_API OzlStatus OZL_CALL ozlSetColorTwist(OzlColorTwist* cTwist, const int* data,
                                            int scalingValue) {
    const Caller c{"ozlSetColorTwist", "ozltwist"};
    if (!cTwist) return fail(c, OZL_StsBadArg, "cTwist==0", 61), OZL_StsBadArg;
    if (!data) return fail(c, OZL_StsBadArg, "(data == 0)", 62), OZL_StsBadArg;
    if (scalingValue < 0) return fail(c, OZL_StsBadArg, "(scalingValue < 0)", 63), OZL_StsBadArg;
    if (scalingValue > 31) return fail(c, OZL_StsBadArg, "(scalingValue > 31)", 64), OZL_StsBadArg;
    std::memcpy(cTwist->data, data, sizeof cTwist->data);
    cTwist->scalingValue = scalingValue;
    return OZL_StsOk;
}

OZL_API void OZL_CALL ozlDeleteColorTwist(OzlColorTwist* cTwist) { ozlFree(cTwist); }

OZL_API void OZL_CALL ozlApplyColorTwist(OzlImage* srcImage, OzlImage* dstImage,
                                         OzlColorTwist* cTwist, int offset) {
    const Caller c{"ozlApplyColorTwist", "ozltwist"};
    if (!ozl::core::headersValid(c, {srcImage}, 101)) return;
    if (!ozl::core::headersValid(c, {dstImage}, 102)) return;
    if (!cTwist) return void(fail(c, OZL_StsBadArg, "cTwist==0", 104));
    if (!channelsValid(c, srcImage, dstImage, kTwistLines)) return;
    if (srcImage->depth != dstImage->depth)
        return void(fail(c, OZL_StsBadArg, "(srcImage->depth != dstImage->depth)", 115));
    if (srcImage->depth != OZL_DEPTH_8U && srcImage->depth != OZL_DEPTH_16U)
        return void(fail(c, OZL_StsBadArg,
                         "((srcImage->depth != 8) && (srcImage->depth != 16))", 116));
    if (!orderAndOriginValid(c, srcImage, dstImage, kTwistLines)) return;

    const bool is16 = srcImage->depth == OZL_DEPTH_16U;
    const TwistPlan plan =
        planTwist(*cTwist, offset, is16, srcImage->nChannels, dstImage->nChannels);
    const ColorTable& table = activeTable();
    const PixelFn kernel = plan.fixed ? table.twistFixed[is16] : table.twistGeneral[is16];
    run(c, srcImage, dstImage, kernel, plan.args, "(msk->imageData == NULL)", kTwistLines);
}

OZL_API void OZL_CALL ozlColorTwistFP(OzlImage* srcImage, OzlImage* dstImage,
                                      const float* TwistFP) {
    const Caller c{"ozlColorTwistFP", "ozltwstf"};
    if (!ozl::core::headersValid(c, {srcImage}, 35)) return;
    if (!ozl::core::headersValid(c, {dstImage}, 36)) return;
    if (!TwistFP) return void(fail(c, OZL_StsBadArg, "(TwistFP == ((void*)(0)))", 38));
    if (srcImage->depth != OZL_DEPTH_32F || dstImage->depth != OZL_DEPTH_32F)
        return void(
            fail(c, OZL_StsBadArg, "((srcImage->depth != 32)|| (dstImage->depth != 32))", 40));
    if (!channelsValid(c, srcImage, dstImage, kRealLines)) return;
    if (!orderAndOriginValid(c, srcImage, dstImage, kRealLines)) return;
    TwistArgs args;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) args.real[i][j] = TwistFP[4 * i + j];
    run(c, srcImage, dstImage, activeTable().twistReal, args, "(buf == NULL)", kRealLines);
}

}  // extern "C"
