// The thirteen colour-model conversions through the public interface: values at
// every depth, edge cases, every refusal in order, channel order, layouts,
// the top-left overlap, and tiles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "color/color_check.hpp"

namespace {

using namespace ozl::test;
using ColorConvert = ColorTest;

using Convert = void(OZL_CALL*)(OzlImage*, OzlImage*);
constexpr unsigned k8U = OZL_DEPTH_8U, k16U = OZL_DEPTH_16U, k32S = OZL_DEPTH_32S,
                   k32F = OZL_DEPTH_32F, k8S = OZL_DEPTH_8S, k16S = OZL_DEPTH_16S;

struct Conversion {
    Convert fn;
    const char *name, *model;  // model: the other side's name
    bool fromRgb;
    const char* module;
    std::vector<unsigned> depths;
    const char* depthMessage;
};

const char* const kFour = "Error input depth. 32F, 32S ,16U,8U are valid now";
const char* const kHue = "Error input depth. 32S,16U,8U are valid now";
const char* const kF32 = "Error input depth. 32F is valid now";
const std::vector<unsigned> kAll = {k8U, k16U, k32S, k32F}, kHueDepths = {k8U, k16U, k32S};

const Conversion kConversions[] = {
    {ozlRGB2HSV, "ozlRGB2HSV", "HSV", true, "ownhsv", kHueDepths, kHue},
    {ozlHSV2RGB, "ozlHSV2RGB", "HSV", false, "ownhsv", kHueDepths, kHue},
    {ozlRGB2HLS, "ozlRGB2HLS", "HLS", true, "ownhls", kHueDepths, kHue},
    {ozlHLS2RGB, "ozlHLS2RGB", "HLS", false, "ownhls", kHueDepths, kHue},
    {ozlRGB2XYZ, "ozlRGB2XYZ", "XYZ", true, "ownxyz", kAll, kFour},
    {ozlXYZ2RGB, "ozlXYZ2RGB", "XYZ", false, "ownxyz", kAll, kFour},
    {ozlRGB2YUV, "ozlRGB2YUV", "YUV", true, "ownyuv", kAll, kFour},
    {ozlYUV2RGB, "ozlYUV2RGB", "YUV", false, "ownyuv", kAll, kFour},
    {ozlRGB2YCrCb, "ozlRGB2YCrCb", "YCr", true, "ownycrcb", kAll, kFour},
    {ozlYCrCb2RGB, "ozlYCrCb2RGB", "YCr", false, "ownycrcb", kAll, kFour},
    {ozlYCC2RGB, "ozlYCC2RGB", "YCC", false, "ownycc", {k8U}, "Error input depth. 8U is valid now"},
    {ozlRGB2LUV, "ozlRGB2LUV", "LUV", true, "ownluv", {k32F}, kF32},
    {ozlLUV2RGB, "ozlLUV2RGB", "LUV", false, "ownluv", {k32F}, kF32},
};

// Looked up by name: in a Windows test program an imported function's address
// may differ between tables initialised statically and at run time.
const Conversion& conversion(const char* name) {
    for (const Conversion& c : kConversions)
        if (std::strcmp(c.name, name) == 0) return c;
    return kConversions[0];
}

// Source and destination of a conversion, each side named for its model.
struct Pair {
    TestImage src, dst;
};
Pair pairFor(const Conversion& c, unsigned depth, int w = 7, int h = 3, int order = OZL_DATA_ORDER_PIXEL) {
    return {namedImage(c.fromRgb ? "RGB" : c.model, depth, w, h, 3, order),
            namedImage(c.fromRgb ? c.model : "RGB", depth, w, h, 3, order)};
}

// Values: RGB sides in R, G, B order, computed by a separate implementation of
// the formulas (a sample of each path, the saturating ones kept), over a vector
// block and a tail.
struct Golden {
    const char* fn;
    unsigned depth;
    double in[3], out[3];
};

TEST_F(ColorConvert, GivesTheFormulasValues) {
    const Golden cases[] = {
        {"ozlRGB2YUV", k8U, {10, 200, 30}, {123, 80, 26}}, {"ozlYUV2RGB", k8U, {10, 200, 30}, {0, 37, 159}},
        {"ozlRGB2YCrCb", k8U, {10, 200, 30}, {124, 74, 46}}, {"ozlYCrCb2RGB", k8U, {10, 200, 30}, {0, 55, 138}},
        {"ozlRGB2XYZ", k8U, {10, 200, 30}, {81, 147, 53}}, {"ozlXYZ2RGB", k8U, {10, 200, 30}, {0, 255, 0}},
        {"ozlRGB2HSV", k8U, {10, 200, 30}, {63, 242, 200}}, {"ozlRGB2HLS", k8U, {10, 200, 30}, {63, 105, 230}},
        {"ozlYUV2RGB", k8U, {40, 90, 250}, {179, 0, 0}}, {"ozlYCrCb2RGB", k8U, {40, 90, 250}, {211, 0, 0}},
        {"ozlHSV2RGB", k8U, {45, 128, 255}, {192, 255, 128}}, {"ozlHLS2RGB", k8U, {45, 128, 255}, {129, 255, 1}},
        {"ozlHSV2RGB", k8U, {200, 255, 255}, {255, 1, 87}}, {"ozlHLS2RGB", k8U, {200, 255, 255}, {255, 255, 255}},
        {"ozlYCC2RGB", k8U, {100, 156, 137}, {136, 136, 136}},
        {"ozlRGB2YUV", k8U, {93, 93, 93}, {93, 127, 127}},  // greys: centred chroma, no hue or saturation
        {"ozlRGB2HSV", k8U, {93, 93, 93}, {0, 0, 93}}, {"ozlHSV2RGB", k8U, {0, 0, 93}, {93, 93, 93}},
        {"ozlHSV2RGB", k8U, {0, 200, 200}, {200, 45, 44}},
        {"ozlHSV2RGB", k8U, {180, 200, 200}, {200, 45, 44}},  // hue 180 is red like hue 0
        {"ozlYCC2RGB", k8U, {180, 60, 200}, {255, 227, 32}},
        {"ozlYCrCb2RGB", k16U, {2570, 51400, 7710}, {0, 14053, 35585}},
        {"ozlXYZ2RGB", k16U, {10280, 23130, 64250}, {0, 36098, 63785}},
        {"ozlRGB2HSV", k16U, {10280, 23130, 64250}, {112, 55049, 64250}},
        {"ozlRGB2HLS", k16U, {2570, 51400, 7710}, {63, 26985, 59293}},
        {"ozlHSV2RGB", k16U, {45, 32896, 65535}, {49152, 65535, 32640}},
        {"ozlHLS2RGB", k16U, {45, 32896, 65535}, {33024, 65535, 257}},
        {"ozlYUV2RGB", k32S, {83886080, 1677721600, 251658240}, {368172612, -725887047, 2147483647}},
        {"ozlYCrCb2RGB", k32S, {83886080, 1677721600, 251658240}, {436710932, -673197108, 2147483647}},
        {"ozlXYZ2RGB", k32S, {83886080, 1677721600, 251658240}, {-2147483648, 2147483647, -71578230}},
        {"ozlRGB2HSV", k32S, {335544320, 754974720, 2097152000}, {112, 1803886263, 2097152000}},
        {"ozlRGB2HLS", k32S, {83886080, 1677721600, 251658240}, {63, 880803840, 1942961394}},
        {"ozlHSV2RGB", k32S, {200, 2139095040, 2139095040}, {2139095040, 8355840, 724151040}},
        {"ozlHLS2RGB", k32S, {45, 1073741824, 2139095040}, {1077919745, 2143289344, 4194305}},
        {"ozlRGB2YUV", k32F, {0.25, 0.5, 1}, {0.48225, 0.2535, -0.20425}},
        {"ozlYUV2RGB", k32F, {0.48225, 0.2538, -0.20275}, {0.25170, 0.49901, 1.00061}},
        {"ozlRGB2YCrCb", k32F, {0.25, 0.5, 1}, {0.48225, 0.29218, -0.16566}},
        {"ozlYCrCb2RGB", k32F, {0.5, 0.1, -0.2}, {0.2196, 0.60841, 0.6772}},
        {"ozlRGB2XYZ", k32F, {0.25, 0.5, 1}, {0.46233, 0.48292, 1.01466}},
        {"ozlXYZ2RGB", k32F, {0.950456, 1, 1.088754}, {1, 1, 1}},
        {"ozlRGB2LUV", k32F, {1, 0, 0}, {53.2406, 175.0213, 37.7675}},
        {"ozlRGB2LUV", k32F, {0.005, 0.005, 0.005}, {4.5165, 0.0006, 0.0013}},  // the linear segment
        {"ozlRGB2LUV", k32F, {0, 0, 0}, {0, 0, 0}}, {"ozlLUV2RGB", k32F, {53.2406, 175.0213, 37.7675}, {1, 0, 0}},
        {"ozlLUV2RGB", k32F, {0, 10, 10}, {0, 0, 0}},
    };
    for (const Golden& g : cases) {
        const Conversion& c = conversion(g.fn);
        SCOPED_TRACE(testing::Message() << c.name << " depth 0x" << std::hex << g.depth);
        Pair p = pairFor(c, g.depth, 37, 2);
        forEachValue(p.src, [&](int x, int y, int ch) { p.src.put(x, y, ch, g.in[ch]); });
        c.fn(p.src, p.dst);
        forEachValue(p.dst, [&](int x, int y, int ch) {
            if (g.depth == k32F) ASSERT_NEAR(p.dst.at(x, y, ch), g.out[ch], 2e-4) << x << "," << y;
            else ASSERT_EQ(p.dst.at(x, y, ch), g.out[ch]) << x << "," << y;
        });
    }
}

OzlROI gWholeRoi{0, 0, 0, 7, 3};

TEST_F(ColorConvert, RefusesInTheDocumentedOrder) {
    const struct {
        const char* fn;
        Change setup;
        OzlStatus status;
        const char *message, *module;
        int line;
    } cases[] = {
        {"ozlRGB2HSV", [](OzlImage* s, OzlImage*) { s->nChannels = 0; }, -15, "Incorrect Image", "ozlcolor", 51},
        {"ozlRGB2HSV", [](OzlImage*, OzlImage* d) { d->align = 3; }, -21, "Incorrect Image", "ozlcolor", 52},
        {"ozlRGB2HSV", [](OzlImage* s, OzlImage*) { setNames(s, "HSV", "RGB"); }, -5,
         "colorModel must be RGB instead of HSV ", "owncolor", 58},
        {"ozlRGB2HSV", [](OzlImage* s, OzlImage*) { setNames(s, "rgbA", "RGB"); }, -5,
         "colorModel must be RGB instead of rgbA ", "owncolor", 58},
        {"ozlRGB2YUV", [](OzlImage* s, OzlImage*) { setNames(s, "RGB", "GRB"); }, -5,
         "channelSeq must be RGB or BGR instead of GRB ", "owncolor", 61},
        {"ozlHSV2RGB", [](OzlImage*, OzlImage* d) { setNames(d, "RGBA", "RGBA"), setNames(d, "RGB ", "RBG"); }, -5,
         "channelSeq must be RGB or BGR instead of RBG ", "owncolor", 61},
        {"ozlHSV2RGB", [](OzlImage* s, OzlImage* d) { setNames(d, "XYZ", "BGR"), setNames(s, "XYZ", "XYZ"); }, -5,
         "colorModel must be RGB instead of XYZ ", "owncolor", 58},
        {"ozlHSV2RGB", [](OzlImage* s, OzlImage*) { setNames(s, "HSL", "HSV"); }, -5,
         "src-> colorModel must be HSV instead of HSL", "owncolor", 78},
        {"ozlYCrCb2RGB", [](OzlImage* s, OzlImage*) { setNames(s, "YCrCb", "YCbC"); }, -5,
         "src-> channelSeq must be YCr instead of YCbC", "owncolor", 81},
        {"ozlRGB2XYZ", [](OzlImage* s, OzlImage*) { s->roi = &gWholeRoi; }, -5, "src & dst roi must be NULL",
         "owncolor", 120},
        {"ozlXYZ2RGB", [](OzlImage*, OzlImage* d) { d->roi = &gWholeRoi; }, -5, "src & dst roi must be NULL",
         "owncolor", 120},
        {"ozlYUV2RGB", [](OzlImage* s, OzlImage* d) { s->depth = k16U, d->nChannels = 4; }, -5,
         "src1->depth != src2->depth", "owncolor", 134},
        {"ozlRGB2HSV", [](OzlImage* s, OzlImage*) { s->nChannels = 2; }, -5, nullptr, "owncolor", 138},
        {"ozlRGB2HSV", [](OzlImage*, OzlImage* d) { d->nChannels = 4; }, -5, nullptr, "owncolor", 138},
        {"ozlRGB2HLS", [](OzlImage* s, OzlImage*) { s->depth = k16U; }, -5, nullptr, "owncolor", 138},
        {"ozlRGB2YCrCb", [](OzlImage* s, OzlImage*) { s->dataOrder = 1; }, -5, nullptr, "owncolor", 138},
        {"ozlLUV2RGB", [](OzlImage* s, OzlImage*) { s->origin = 1; }, -5, nullptr, "owncolor", 138},
        {"ozlRGB2HSV", [](OzlImage* s, OzlImage* d) { s->depth = d->depth = k8S; }, -5, kHue, "ownhsv", 41},
    };
    const char* shape =
        "(src->nChannels < 3 ) || (dst->nChannels != 3 ) || (src->depth != dst->depth) || "
        "(src->dataOrder != dst->dataOrder) || (src->origin != dst->origin)";
    ErrorCapture errors;
    for (const auto& r : cases) {
        const Conversion& c = conversion(r.fn);
        Pair p = pairFor(c, c.depths.front());
        p.dst.fillRandom(3);
        refuseOnCopies(errors, p.src, p.dst, r.setup, [&](OzlImage* s, OzlImage* d) { c.fn(s, d); },
                       {r.status, c.name, r.message ? r.message : shape, r.module, r.line});
    }
    ozlRGB2HSV(nullptr, nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{-9, "ozlRGB2HSV", "Incorrect Image", "ozlcolor", 51}));
}

// Each conversion reports the depths it does not take from its own module, at
// its direction's line.
TEST_F(ColorConvert, ReportsEveryDepthItDoesNotTake) {
    ErrorCapture errors;
    for (const Conversion& c : kConversions)
        for (unsigned depth : {k8U, k8S, k16U, k16S, k32S, k32F}) {
            if (std::find(c.depths.begin(), c.depths.end(), depth) != c.depths.end()) continue;
            Pair p = pairFor(c, depth);
            const auto before = p.dst.bytes();
            c.fn(p.src, p.dst);
            expectRefused(errors, p.dst, before, {-5, c.name, c.depthMessage, c.module, c.fromRgb ? 41 : 97});
        }
}

// Every conversion at every depth it takes, against the plain pixel-order
// result: BGR, plane order, a four-channel source with alpha, a smaller source
// (only the overlap converts), a tiled source and a tiled destination.
TEST_F(ColorConvert, AgreesAcrossChannelOrdersLayoutsAndTiles) {
    uint32_t seed = 0;
    const int w = 45, h = 5;
    for (const Conversion& c : kConversions)
        for (unsigned depth : c.depths) {
            SCOPED_TRACE(testing::Message() << c.name << " depth 0x" << std::hex << depth);
            const char *srcModel = c.fromRgb ? "RGB" : c.model, *dstModel = c.fromRgb ? c.model : "RGB";
            Pair plain = pairFor(c, depth, w, h), bgr = pairFor(c, depth, w, h);
            const bool f = depth == k32F;  // floats: RGB on 0..1, L*u*v* on -50..100, other models on 0..100
            plain.src.fillRandom(++seed, f && !c.fromRgb && c.model[0] == 'L' ? -50.0 : 0, f ? (c.fromRgb ? 1.0 : 100.0) : 0);
            c.fn(plain.src, plain.dst);
            setNames(c.fromRgb ? bgr.src : bgr.dst, "RGB", "BGR");  // first and third channels trade places
            Pair planes = pairFor(c, depth, w, h, OZL_DATA_ORDER_PLANE);
            TestImage four = namedImage(srcModel, depth, w, h, 4, OZL_DATA_ORDER_PIXEL, true),
                      small = namedImage(srcModel, depth, w - 6, h - 2), fourDst = namedImage(dstModel, depth, w, h),
                      smallDst = namedImage(dstModel, depth, w, h), fromTiles = namedImage(dstModel, depth, w, h);
            four.fillRandom(seed + 100), smallDst.fillRandom(seed + 200);
            const TestImage smallBefore = smallDst.clone();
            TiledImage tiledSrc(depth, w, h, 3, OZL_DATA_ORDER_PIXEL, 8, 8), tiledDst(depth, w, h, 3, OZL_DATA_ORDER_PIXEL, 16, 8);
            setNames(tiledSrc, srcModel, srcModel), setNames(tiledDst, dstModel, dstModel);
            forEachValue(plain.src, [&](int x, int y, int ch) {
                const double v = plain.src.at(x, y, ch);
                bgr.src.put(x, y, c.fromRgb ? 2 - ch : ch, v), planes.src.put(x, y, ch, v);
                four.put(x, y, ch, v), tiledSrc.pixels().put(x, y, ch, v);
                if (x < w - 6 && y < h - 2) small.put(x, y, ch, v);
            });
            for (auto [s, d] : {std::pair<OzlImage*, OzlImage*>{bgr.src, bgr.dst}, {planes.src, planes.dst}, {four, fourDst},
                                {small, smallDst}, {tiledSrc, fromTiles}, {plain.src, tiledDst}})
                c.fn(s, d);
            forEachValue(plain.dst, [&](int x, int y, int ch) {
                const double v = plain.dst.at(x, y, ch);
                ASSERT_EQ(bgr.dst.at(x, y, c.fromRgb ? ch : 2 - ch), v) << "BGR " << x << "," << y;
                ASSERT_EQ(planes.dst.at(x, y, ch), v) << "planes";
                ASSERT_EQ(fourDst.at(x, y, ch), v) << "four channels";
                ASSERT_EQ(fromTiles.at(x, y, ch), v) << "tiled source";
                ASSERT_EQ(tiledDst.pixels().at(x, y, ch), v) << "tiled destination";
                ASSERT_EQ(smallDst.at(x, y, ch), x < w - 6 && y < h - 2 ? v : smallBefore.at(x, y, ch)) << "overlap";
            });
        }
}

TEST_F(ColorConvert, ReportsATileTheCallbackDoesNotProvide) {
    ErrorCapture errors;
    TiledImage src(k8U, 20, 10, 3, OZL_DATA_ORDER_PIXEL, 8, 8), to(k8U, 20, 10, 3, OZL_DATA_ORDER_PIXEL, 8, 8);
    TestImage dst = namedImage("YUV", k8U, 20, 10), from = namedImage("RGB", k8U, 20, 10);
    setNames(to, "YUV", "YUV");
    src.failFetch(2), to.failFetch(1);
    ozlRGB2YUV(src, dst);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlRGB2YUV", "Error get tile to read", "owncolor", 214}));
    ozlRGB2YUV(from, to);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlRGB2YUV", "Error get tile to write", "owncolor", 216}));
}

}  // namespace
