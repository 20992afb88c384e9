// Compositing: ozlAlphaComposite, ozlAlphaCompositeC, ozlPreMultiplyAlpha, in
// the compositing module with the scaled products: the same checks naming each
// image, the masks of the destination and the sources ANDed, then one pixel
// kernel over the common region (and a second pass for a separate
// destination alpha image).
#include "arith/alpha_module.hpp"
#include "arith/composite_kernels.hpp"
#include "core/pixelwise.hpp"
#include "image/region.hpp"

using namespace ozl::arith;
using ozl::core::Caller;
using ozl::core::fail;

namespace {

// The operands of a compositing call in check order: destination first, then
// the sources, then the alpha images (absent ones are skipped, not refused).
struct Operands {
    AlphaOperand list[6];
    int count = 0;      // all entries
    int required = 0;   // the first `required` may not be NULL
};

bool operandsValid(const Caller& caller, const Operands& o, int base) {
    for (int i = 0; i < o.count; ++i)
        if ((i < o.required || o.list[i].image) && !alphaOperandValid(caller, o.list[i], base))
            return false;
    for (int i = 0; i < o.count; ++i)
        if (o.list[i].image && !loneAlphaValid(caller, o.list[i], base)) return false;
    const OzlImage* dst = o.list[0].image;
    if (dst->depth != OZL_DEPTH_8U && dst->depth != OZL_DEPTH_16U)
        return fail(caller, OZL_StsBadArg, "dstImage->depth != 8 && dstImage->depth != 16", base + 30);
    for (int i = 1; i < o.count; ++i)
        if (o.list[i].image && !alphaDepthAgrees(caller, o.list[i], dst, i, base)) return false;
    for (int i = 1; i < o.required; ++i)
        if (!alphaChannelsAgree(caller, o.list[i], dst, base)) return false;
    for (int i = o.required; i < o.count; ++i)
        if (o.list[i].image && !alphaImageSingle(caller, o.list[i], base)) return false;
    return true;
}

// Alpha from a separate image (source `index`), else the image's own alpha
// channel, else opaque.
AlphaFrom alphaOf(const OzlImage* image, const OzlImage* alphaImage, int index) {
    AlphaFrom a;
    if (alphaImage) {
        a.kind = AlphaFrom::Image;
        a.image = index;
    } else if (image->alphaChannel > 0) {
        a.kind = AlphaFrom::Channel;
        a.channel = image->alphaChannel - 1 - ozl::image::startChannel(image);
    }
    return a;
}

void describeDestination(const OzlImage* dst, CompositeArgs* args) {
    args->colours = ozl::image::effectiveChannels(dst);
    args->writeAlpha = dst->alphaChannel > 0 && !ozl::image::hasCoi(dst);
}

int depthIndex(const OzlImage* dst) { return dst->depth == OZL_DEPTH_16U ? 1 : 0; }

// Runs `pixel` over the common region of the operands under the masks of the
// destination and its first `maskedSources` sources (the images, not the
// alpha images); alphaDst, when given, receives the result alpha in a second
// pass.
void composite(const Caller& caller, ozl::core::MapOperands mapped, int maskedSources,
               OzlImage* alphaDst, ozl::core::PixelFn pixel, CompositeArgs args, int base) {
    OzlImage* withMasks[3] = {mapped.dst, mapped.src[0], maskedSources > 1 ? mapped.src[1] : nullptr};
    ozl::image::CombinedMask mask;
    if (!gatherMasks(caller, withMasks, 3, base, &mask)) return;
    const ozl::core::Size size = ozl::core::commonSize(mapped, mask.image);
    const double bytes = static_cast<double>(size.width) * size.height * mapped.dst->nChannels *
                         (mapped.dst->depth / 8);
    args.stream = bytes >= 16.0 * (1 << 20);  // larger than the caches hold: store past them
    ozl::core::MapKernel kernel;
    kernel.pixel = pixel;
    kernel.context = &args;
    kernel.withAlpha = true;
    bool ok = reportRun(caller, ozl::core::mapPixels(mapped, mask.image, kernel), base);
    if (ok && alphaDst) {
        args.alphaOnly = true;
        mapped.dst = alphaDst;
        reportRun(caller, ozl::core::mapPixels(mapped, mask.image, kernel), base);
    }
    ozl::image::releaseMask(mask);
}

bool operatorValid(const Caller& caller, int compositeType, int base) {
    if (compositeType >= 0 && compositeType < kOperatorCount) return true;
    return fail(caller, OZL_StsBadArg,
                "compositeType < OZL_COMPOSITE_CLEAR || compositeType > OZL_COMPOSITE_XOR", base + 45);
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlAlphaComposite(OzlImage* srcImageA, OzlImage* srcImageB,
                                                    OzlImage* dstImage, int compositeType,
                                                    OzlImage* alphaImageA, OzlImage* alphaImageB,
                                                    OzlImage* alphaImageDst, int premulAlpha) {
    const Caller caller{"ozlAlphaComposite", "ozlalpha"};
    constexpr int kBase = 400;
    Operands o;
    o.list[0] = {dstImage, &kDstImageText};
    o.list[1] = {srcImageA, &kSrcImageAText};
    o.list[2] = {srcImageB, &kSrcImageBText};
    o.list[3] = {alphaImageA, &kAlphaImageAText};
    o.list[4] = {alphaImageB, &kAlphaImageBText};
    o.list[5] = {alphaImageDst, &kAlphaImageDstText};
    o.count = 6;
    o.required = 3;
    if (!operandsValid(caller, o, kBase) || !operatorValid(caller, compositeType, kBase)) return;
    if (alphaImageDst && dstImage->alphaChannel != 0) {
        fail(caller, OZL_StsBadArg, "dstImage->alphaChannel != 0 && alphaImageDst != 0", kBase + 46);
        return;
    }
    CompositeArgs args;
    args.op = compositeType;
    args.premultiplied = premulAlpha != 0;
    args.alpha[0] = alphaOf(srcImageA, alphaImageA, 2);
    args.alpha[1] = alphaOf(srcImageB, alphaImageB, 3);
    describeDestination(dstImage, &args);
    ozl::core::MapOperands mapped;
    mapped.src[0] = srcImageA;
    mapped.src[1] = srcImageB;
    mapped.src[2] = alphaImageA;
    mapped.src[3] = alphaImageB;
    mapped.dst = dstImage;
    composite(caller, mapped, 2, alphaImageDst, activeTable().composite[depthIndex(dstImage)], args,
              kBase);
}

extern "C" OZL_API void OZL_CALL ozlAlphaCompositeC(OzlImage* srcImageA, OzlImage* srcImageB,
                                                     OzlImage* dstImage, int compositeType,
                                                     int alphaA, int alphaB, int premulAlpha) {
    const Caller caller{"ozlAlphaCompositeC", "ozlalpha"};
    constexpr int kBase = 600;
    Operands o;
    o.list[0] = {dstImage, &kDstImageText};
    o.list[1] = {srcImageA, &kSrcImageAText};
    o.list[2] = {srcImageB, &kSrcImageBText};
    o.count = o.required = 3;
    if (!operandsValid(caller, o, kBase) || !operatorValid(caller, compositeType, kBase)) return;
    const int32_t max = dstImage->depth == OZL_DEPTH_16U ? 65535 : 255;
    CompositeArgs args;
    args.op = compositeType;
    args.premultiplied = premulAlpha != 0;
    for (int i = 0; i < 2; ++i) {
        const int v = i == 0 ? alphaA : alphaB;
        args.alpha[i].kind = AlphaFrom::Constant;
        args.alpha[i].value = static_cast<uint32_t>(v < 0 ? 0 : v > max ? max : v);
    }
    describeDestination(dstImage, &args);
    ozl::core::MapOperands mapped;
    mapped.src[0] = srcImageA;
    mapped.src[1] = srcImageB;
    mapped.dst = dstImage;
    composite(caller, mapped, 2, nullptr, activeTable().composite[depthIndex(dstImage)], args, kBase);
}

extern "C" OZL_API void OZL_CALL ozlPreMultiplyAlpha(OzlImage* srcImage, OzlImage* dstImage,
                                                      OzlImage* alphaImage) {
    const Caller caller{"ozlPreMultiplyAlpha", "ozlalpha"};
    constexpr int kBase = 800;
    Operands o;
    o.list[0] = {dstImage, &kDstImageText};
    o.list[1] = {srcImage, &kSrcImageText};
    o.list[2] = {alphaImage, &kAlphaImageText};
    o.count = 3;
    o.required = 2;
    if (!operandsValid(caller, o, kBase)) return;
    if (!alphaImage && srcImage->alphaChannel == 0) {
        fail(caller, OZL_StsBadArg, "srcImage->alphaChannel == 0 && alphaImage == 0", kBase + 45);
        return;
    }
    CompositeArgs args;
    args.alpha[0] = alphaOf(srcImage, alphaImage, 1);
    describeDestination(dstImage, &args);
    ozl::core::MapOperands mapped;
    mapped.src[0] = srcImage;
    mapped.src[1] = alphaImage;
    mapped.dst = dstImage;
    composite(caller, mapped, 1, nullptr, activeTable().premultiply[depthIndex(dstImage)], args,
              kBase);
}
