// The shared frame of the colour conversions (module owncolor) and the
// conversion sequence every one of the thirteen entry points runs.
#include "color/frame.hpp"

#include <cstdio>
#include <cstring>

#include "core/led_walk.hpp"
#include "core/pixelwise.hpp"
#include "image/tiles.hpp"

namespace ozl::color {

namespace {

// Room for a message with two four-character fields.
constexpr size_t kMessageSize = 96;

bool startsWith(const char (&field)[4], const char* prefix, size_t n) {
    return std::memcmp(field, prefix, n) == 0;
}

// A copy of a header without its region of interest: the conversions work on
// whole images.
OzlImage withoutRoi(const OzlImage* image) {
    OzlImage copy = *image;
    copy.roi = nullptr;
    return copy;
}

}  // namespace

bool imagesValid(const char* function, const OzlImage* src, const OzlImage* dst) {
    if (!core::headersValid({function, kEntryModule}, {src}, 51)) return false;
    if (!core::headersValid({function, kEntryModule}, {dst}, 52)) return false;
    // The header check already refuses both; kept for callers that reach the
    // frame some other way.
    const Caller c{function, kCheckModule};
    if (!src || !dst) return fail(c, OZL_StsBadArg, "null_image_pointer", 33);
    if ((!src->imageData && !src->tileInfo) || (!dst->imageData && !dst->tileInfo))
        return fail(c, OZL_StsBadArg, "null_data_pointer", 35);
    return true;
}

bool rgbSideValid(const char* function, const OzlImage* image) {
    const Caller c{function, kCheckModule};
    char text[kMessageSize];
    if (!startsWith(image->colorModel, "RGB", 3)) {
        std::snprintf(text, sizeof text, "colorModel must be RGB instead of %.4s ",
                      image->colorModel);
        return fail(c, OZL_StsBadArg, text, 58);
    }
    if (!startsWith(image->channelSeq, "RGB", 3) && !startsWith(image->channelSeq, "BGR", 3)) {
        std::snprintf(text, sizeof text, "channelSeq must be RGB or BGR instead of %.4s ",
                      image->channelSeq);
        return fail(c, OZL_StsBadArg, text, 61);
    }
    return true;
}

bool modelSideValid(const char* function, const OzlImage* image, const char* name) {
    const Caller c{function, kCheckModule};
    char text[kMessageSize];
    if (!startsWith(image->colorModel, name, 3)) {
        std::snprintf(text, sizeof text, "src-> colorModel must be %.4s instead of %.4s", name,
                      image->colorModel);
        return fail(c, OZL_StsBadArg, text, 78);
    }
    if (!startsWith(image->channelSeq, name, 3)) {
        std::snprintf(text, sizeof text, "src-> channelSeq must be %.4s instead of %.4s", name,
                      image->channelSeq);
        return fail(c, OZL_StsBadArg, text, 81);
    }
    return true;
}

bool graySideValid(const char* function, const OzlImage* image) {
    const Caller c{function, kCheckModule};
    char text[kMessageSize];
    if (!startsWith(image->colorModel, "Gra", 3) && !startsWith(image->colorModel, "GRA", 3)) {
        std::snprintf(text, sizeof text, "colorModel must be GRAY instead of %.4s ",
                      image->colorModel);
        return fail(c, OZL_StsBadArg, text, 97);
    }
    if (image->channelSeq[0] != 'G') {
        std::snprintf(text, sizeof text, "channelSeq must be G instead of %.4s ",
                      image->channelSeq);
        return fail(c, OZL_StsBadArg, text, 100);
    }
    return true;
}

bool walk(const char* function, OzlImage* src, OzlImage* dst, PixelFn kernel, const void* context) {
    OzlImage srcWhole = withoutRoi(src), dstWhole = withoutRoi(dst);
    // Headers without a ROI are used as they are: a tile callback sees the
    // caller's own header.
    core::MapOperands operands;
    operands.src[0] = src->roi ? &srcWhole : src;
    operands.dst = dst->roi ? &dstWhole : dst;
    core::MapKernel k;
    k.pixel = kernel;
    k.context = context;
    const Caller c{function, kCheckModule};
    if (!image::isTiled(src) && !image::isTiled(dst)) {
        if (core::mapPixels(operands, nullptr, k) == core::kMapNoMemory)
            return fail(c, OZL_StsNoMem, "Not enough memory", 218);
        return true;
    }
    // Led by the destination's tiles (or the source's when only it is
    // tiled): each piece with its source rectangle fetched, converted by the
    // untiled path, and the tile given back.
    const core::Size size = core::commonSize(operands, nullptr);
    const core::LedSource source{operands.src[0]};
    int mapped = core::kMapDone;
    const core::LedResult r = core::walkLed(
        operands.dst, &source, 1, nullptr, size.width, size.height, [&](const core::LedPiece& p) {
            core::MapOperands piece;
            piece.src[0] = p.src[0];
            piece.dst = p.dst;
            mapped = core::mapPixels(piece, nullptr, k);
            return mapped == core::kMapDone;
        });
    using core::LedResult;
    if (r.kind == LedResult::WriteTile)
        return fail(c, OZL_StsError, "Error get tile to write", 216);
    if (r.kind == LedResult::ReadTile ||
        (r.kind == LedResult::Fetch && r.fetch == core::FetchedBlock::TileFailed))
        return fail(c, OZL_StsError, "Error get tile to read", 214);
    if (r.kind != LedResult::Done) return fail(c, OZL_StsNoMem, "Not enough memory", 218);
    return true;
}

namespace {

Depth depthIndex(uint32_t depth, bool* known) {
    *known = true;
    switch (depth) {
        case OZL_DEPTH_8U: return Depth::U8;
        case OZL_DEPTH_16U: return Depth::U16;
        case OZL_DEPTH_32S: return Depth::S32;
        case OZL_DEPTH_32F: return Depth::F32;
        default: *known = false; return Depth::U8;
    }
}

}  // namespace

void convert(const ConversionSpec& spec, OzlImage* src, OzlImage* dst) {
    const char* f = spec.function;
    if (!imagesValid(f, src, dst)) return;
    if (spec.way == Way::FromRgb) {
        if (!rgbSideValid(f, src)) return;
    } else {
        if (!rgbSideValid(f, dst) || !modelSideValid(f, src, spec.name)) return;
    }
    const Caller c{f, kCheckModule};
    if (src->roi || dst->roi)
        return void(fail(c, OZL_StsBadArg, "src & dst roi must be NULL", 120));
    if (spec.depthFirst && src->depth != dst->depth)
        return void(fail(c, OZL_StsBadArg, "src1->depth != src2->depth", 134));
    if (src->nChannels < 3 || dst->nChannels != 3 || src->depth != dst->depth ||
        src->dataOrder != dst->dataOrder || src->origin != dst->origin)
        return void(fail(c, OZL_StsBadArg,
                         "(src->nChannels < 3 ) || (dst->nChannels != 3 ) || (src->depth != "
                         "dst->depth) || (src->dataOrder != dst->dataOrder) || (src->origin != "
                         "dst->origin)",
                         138));

    bool known = false;
    const Depth d = depthIndex(src->depth, &known);
    const PixelFn kernel = known ? activeTable().convert[static_cast<int>(spec.model)]
                                                        [static_cast<int>(spec.way)]
                                                        [static_cast<int>(d)]
                                 : nullptr;
    if (!kernel)
        return void(fail({f, spec.module}, OZL_StsBadArg, spec.depthMessage, spec.depthLine));

    const ConvertArgs args{redChannel(spec.way == Way::FromRgb ? src : dst)};
    walk(f, src, dst, kernel, &args);
}

}  // namespace ozl::color
