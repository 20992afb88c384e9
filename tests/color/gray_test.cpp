// Colour to grey and grey to colour through the public interface: all nine
// depth pairs, the 8U and 32S weights (white gives 254), 1-bit greys both
// ways, the weights' fixed-point factors, channel and plane order, the regions
// that are not consulted, and every refusal in order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "color/color_check.hpp"

namespace {

using namespace ozl::test;
using ColorToGray = ColorTest;
using GrayToColor = ColorTest;

constexpr unsigned k1U = OZL_DEPTH_1U, k8U = OZL_DEPTH_8U, k16U = OZL_DEPTH_16U, k32S = OZL_DEPTH_32S,
                   k32F = OZL_DEPTH_32F;

TestImage grayImage(unsigned depth, int w, int h, int nCh = 1, int order = OZL_DATA_ORDER_PIXEL) {
    TestImage im(depth, w, h, nCh, order);
    setNames(im, "GRAY", "G");
    return im;
}

TestImage rgbImage(unsigned depth, int w, int h, const char* seq = "RGB") {
    TestImage im(depth, w, h, 3);
    std::memcpy(im->channelSeq, seq, 3);
    return im;
}

// The grey of R, G, B at the source depth, brought to the destination depth.
double grayOf(unsigned from, unsigned to, double r, double g, double b) {
    int64_t v;  // on the 16U scale for 1U
    if (from == k8U) {
        const int64_t g8 = (54 * int64_t(r) + 183 * int64_t(g) + 18 * int64_t(b)) >> 8;
        v = to == k8U ? g8 : g8 * 257;
    } else if (from == k16U) {
        const int64_t g16 = (13933 * int64_t(r) + 46871 * int64_t(g) + 4732 * int64_t(b)) >> 16;
        v = to == k8U ? g16 >> 8 : g16;
    } else {
        const int64_t s = (int64_t(r) >> 11) * 109 + (int64_t(g) >> 11) * 366 + (int64_t(b) >> 11) * 37;
        v = std::max<int64_t>(0, s >> (to == k8U ? 21 : 13));
    }
    return to == k1U ? (v >= 32768 ? 1 : 0) : static_cast<double>(v);
}

// Every depth pair and channel order; the destination is larger (only the
// overlap is written).
TEST_F(ColorToGray, ConvertsEveryDepthPair) {
    for (unsigned from : {k8U, k16U, k32S})
        for (unsigned to : {k8U, k16U, k1U})
            for (const char* seq : {"RGB", "BGR"}) {
                SCOPED_TRACE(testing::Message() << std::hex << from << " -> " << to << " " << seq);
                TestImage src = rgbImage(from, 77, 3, seq), dst = grayImage(to, 80, 4);
                src.fillRandom(from + to, from == k32S ? -2e8 : 0, from == k32S ? 2147483647.0 : 0);
                dst.fillRandom(7);
                const TestImage before = dst.clone();
                ozlColorToGray(src, dst);
                const int red = seq[0] == 'R' ? 0 : 2;
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 80; ++x)
                        ASSERT_EQ(dst.at(x, y), x < 77 && y < 3 ? grayOf(from, to, src.at(x, y, red), src.at(x, y, 1),
                                                                         src.at(x, y, 2 - red))
                                                                : before.at(x, y))
                            << x << "," << y;
            }
}

// Region and mask are not consulted; a grey image in plane order gets its
// first plane.
TEST_F(ColorToGray, WorksOnWholeImagesAndTheFirstPlane) {
    TestImage src = rgbImage(k8U, 9, 2), planes = grayImage(k8U, 9, 2, 3, OZL_DATA_ORDER_PLANE);
    src.fillRandom(1), planes.fillRandom(2);
    src.setRoi(2, 1, 1, 3, 1);
    const TestImage before = planes.clone();
    ozlColorToGray(src, planes);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 9; ++x) {
            EXPECT_EQ(planes.at(x, y, 0), grayOf(k8U, k8U, src.at(x, y, 0), src.at(x, y, 1), src.at(x, y, 2)));
            EXPECT_EQ(planes.at(x, y, 1), before.at(x, y, 1));
        }
}

// f = F 32768 while |F| < 1, else F 256; (g f + half) >> shift, saturated.
double spread(double g, float w, unsigned depth) {
    const bool fine = w > -1.0f && w < 1.0f;
    const int64_t f = fine ? int64_t(w * 32768.0f) : int64_t(std::fmax(-32768.0, std::fmin(32767.0, w * 256.0)));
    const int shift = fine ? 15 : 8;
    const int64_t v = (int64_t(g) * f + (int64_t{1} << (shift - 1))) >> shift;
    const int64_t hi = depth == k8U ? 255 : depth == k16U ? 65535 : INT32_MAX;
    return static_cast<double>(std::clamp(v, depth == k32S ? int64_t{INT32_MIN} : 0, hi));
}

TEST_F(GrayToColor, SpreadsEveryDepthWithItsFactors) {
    const float weights[][3] = {{1.0f, 0.5f, 0.25f}, {0.2999f, -0.4f, 2.5f}, {200.0f, 0.999f, -3.0f}};
    for (unsigned depth : {k8U, k16U, k32S, k1U})
        for (const auto& w : weights) {
            SCOPED_TRACE(testing::Message() << std::hex << depth << " " << w[0]);
            const unsigned out = depth == k1U ? k8U : depth;
            TestImage src = grayImage(depth, 70, 2), dst = rgbImage(out, 70, 2, "BGR");
            src.fillRandom(depth, depth == k32S ? -1e6 : 0, depth == k32S ? 1e9 : 0);
            ozlGrayToColor(src, dst, w[0], w[1], w[2]);
            for (int y = 0; y < 2; ++y)
                for (int x = 0; x < 70; ++x)
                    for (int c = 0; c < 3; ++c)
                        ASSERT_EQ(dst.at(x, y, 2 - c), spread(depth == k1U ? 255 * src.at(x, y) : src.at(x, y), w[c], out))
                            << x << " channel " << c;
        }
}

// Both directions on changed copies of valid 8U headers; "Gray" passes as well as "GRAY".
TEST_F(ColorToGray, BothDirectionsRefuseInTheDocumentedOrder) {
    const char* depths = "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now";
    const struct {
        bool toGray;
        Change setup;
        const char *message, *module;
        int line;
    } cases[] = {
        {true, [](OzlImage* s, OzlImage*) { std::memcpy(s->colorModel, "GRAY", 4); },
         "colorModel must be RGB instead of GRAY ", "owncolor", 58},
        {true, [](OzlImage*, OzlImage* d) { std::memcpy(d->colorModel, "gray", 4); },
         "colorModel must be GRAY instead of gray ", "owncolor", 97},
        {true, [](OzlImage*, OzlImage* d) { std::memcpy(d->channelSeq, "Y\0\0\0", 4); },
         "channelSeq must be G instead of Y ", "owncolor", 100},
        {true, [](OzlImage*, OzlImage* d) { d->nChannels = 3; },
         "(dst-> dataOrder == OZL_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)", "owncolor", 163},
        {true, [](OzlImage* s, OzlImage*) { s->origin = 1; }, "src->origin != dst->origin", "owncolor", 166},
        {true, [](OzlImage* s, OzlImage*) { s->nChannels = 2; }, "(src->nChannels < 3)", "owncolor", 169},
        {true, [](OzlImage* s, OzlImage*) { s->depth = k32F; }, depths, "Ownctog", 52},
        {true, [](OzlImage*, OzlImage* d) { d->depth = k32S; }, depths, "Ownctog", 52},
        {false, [](OzlImage*, OzlImage* d) { std::memcpy(d->channelSeq, "GBR", 3); },
         "channelSeq must be RGB or BGR instead of GBR ", "owncolor", 61},
        {false, [](OzlImage* s, OzlImage*) { std::memcpy(s->colorModel, "RGB\0", 4); },
         "colorModel must be GRAY instead of RGB ", "owncolor", 97},
        {false, [](OzlImage* s, OzlImage*) { s->depth = k16U; }, "src-> depth != dst-> depth && src-> depth != 1U",
         "owncolor", 185},
        {false, [](OzlImage* s, OzlImage* d) { s->depth = k1U, d->depth = k16U; },
         "src-> depth == dst-> depth && dst-> depth != 8U", "owncolor", 188},
        {false, [](OzlImage* s, OzlImage*) { s->nChannels = 2; },
         "(src-> dataOrder == OZL_DATA_ORDER_PIXEL) && (src-> nChannels != 1)", "owncolor", 191},
        {false, [](OzlImage* s, OzlImage*) { s->origin = 1; }, "(src->origin != dst->origin)", "owncolor", 194},
        {false, [](OzlImage*, OzlImage* d) { d->nChannels = 2; }, "(dst->nChannels < 3)", "owncolor", 197},
        {false, [](OzlImage* s, OzlImage* d) { s->depth = d->depth = k32F; },
         "Error input depth. 32S,16U,8U are valid now", "Owngtoc", 47},
    };
    TestImage rgb = rgbImage(k8U, 6, 2), gray = grayImage(k8U, 6, 2);
    for (const auto& c : cases)
        refuseOnCopies(errors, c.toGray ? rgb : gray, c.toGray ? gray : rgb, c.setup,
                       [&](OzlImage* s, OzlImage* d) { c.toGray ? ozlColorToGray(s, d) : ozlGrayToColor(s, d, 1, 1, 1); },
                       {-5, c.toGray ? "ozlColorToGray" : "ozlGrayToColor", c.message, c.module, c.line});
    const auto before = rgb.bytes();
    ozlGrayToColor(gray, nullptr, 1, 1, 1);
    expectRefused(errors, rgb, before, {-9, "ozlGrayToColor", "Incorrect Image", "ozlcolor", 52});
    std::memcpy(gray->colorModel, "Gray", 4);
    ozlColorToGray(rgb, gray);
}

}  // namespace
