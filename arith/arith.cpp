// Two-image arithmetic: ozlAdd, ozlSubtract, ozlMultiply, ozlMultiplyScale,
// and ozlMultiplySScale, which shares the scaled product's checks.
#include "arith/alpha_module.hpp"
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

constexpr int kScaleBase = 200;

// The scaled product of dst's sources (one or two) with the value args.value
// where there is no second source. The operands come destination first.
void scaledProduct(const Caller& caller, const AlphaOperand* operands, int count, Op op,
                   OpArgs args) {
    for (int i = 0; i < count; ++i)
        if (!alphaOperandValid(caller, operands[i], kScaleBase)) return;
    for (int i = 0; i < count; ++i)
        if (!loneAlphaValid(caller, operands[i], kScaleBase)) return;
    OzlImage* dst = operands[0].image;
    if (dst->depth != OZL_DEPTH_8U && dst->depth != OZL_DEPTH_16U)
        return void(fail(caller, OZL_StsBadArg, "dstImage->depth != 8 && dstImage->depth != 16",
                         kScaleBase + 30));
    for (int i = 1; i < count; ++i)
        if (!alphaDepthAgrees(caller, operands[i], dst, i, kScaleBase)) return;
    for (int i = 1; i < count; ++i)
        if (!alphaChannelsAgree(caller, operands[i], dst, kScaleBase)) return;

    OzlImage* images[3] = {};
    for (int i = 0; i < count; ++i) images[i] = operands[i].image;
    ozl::image::CombinedMask mask;
    if (!gatherMasks(caller, images, count, kScaleBase, &mask)) return;

    ozl::core::MapOperands mapped;
    mapped.dst = dst;
    for (int i = 1; i < count; ++i) mapped.src[i - 1] = operands[i].image;
    ozl::core::MapKernel kernel;
    kernel.run = activeTable().run[static_cast<int>(op)][static_cast<int>(ozl::image::elemOf(dst->depth))];
    kernel.context = &args;
    kernel.wholeBuffer = true;
    reportRun(caller, ozl::core::mapPixels(mapped, mask.image, kernel), kScaleBase);
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
    const AlphaOperand operands[3] = {{dstImage, &kDstImageText},
                                      {srcImageA, &kSrcImageAText},
                                      {srcImageB, &kSrcImageBText}};
    scaledProduct({"ozlMultiplyScale", "ozlalpha"}, operands, 3, Op::MulScale, {});
}

// The constant is multiplied as given within the depth's range; constants
// outside it are clamped to it (0..255 or 0..65535).
extern "C" OZL_API void OZL_CALL ozlMultiplySScale(OzlImage* srcImage, OzlImage* dstImage,
                                                    int value) {
    const AlphaOperand operands[2] = {{dstImage, &kDstImageText}, {srcImage, &kSrcImageText}};
    OpArgs args;
    const int32_t max = dstImage && dstImage->depth == OZL_DEPTH_16U ? 65535 : 255;
    args.value = value < 0 ? 0 : value > max ? max : value;
    scaledProduct({"ozlMultiplySScale", "ozlalpha"}, operands, 2, Op::MulScaleC, args);
}
