// Colour to grey and grey to colour through the public interface: all nine
// depth pairs, the 8U and 32S weights as documented (white gives 254), 1-bit
// greys both ways, the weights' fixed-point factors, channel order, plane
// order, the regions that are not consulted, and every refusal in order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectRefused;
using ozl::test::TestImage;

constexpr unsigned k1U = OZL_DEPTH_1U, k8U = OZL_DEPTH_8U, k16U = OZL_DEPTH_16U,
                   k32S = OZL_DEPTH_32S, k32F = OZL_DEPTH_32F;

TestImage grayImage(unsigned depth, int w, int h, int nCh = 1, int order = OZL_DATA_ORDER_PIXEL) {
    TestImage im(depth, w, h, nCh, order);
    std::memcpy(im->colorModel, "GRAY", 4);
    std::memcpy(im->channelSeq, "G\0\0\0", 4);
    return im;
}

TestImage rgbImage(unsigned depth, int w, int h, const char* seq = "RGB", int nCh = 3) {
    TestImage im(depth, w, h, nCh);
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
        const int64_t s =
            (int64_t(r) >> 11) * 109 + (int64_t(g) >> 11) * 366 + (int64_t(b) >> 11) * 37;
        v = std::max<int64_t>(0, s >> (to == k8U ? 21 : 13));
    }
    return to == k1U ? (v >= 32768 ? 1 : 0) : static_cast<double>(v);
}

TEST(ColorToGray, ConvertsEveryDepthPair) {
    ErrorCapture errors;
    for (unsigned from : {k8U, k16U, k32S})
        for (unsigned to : {k8U, k16U, k1U})
            for (const char* seq : {"RGB", "BGR"}) {
                SCOPED_TRACE(testing::Message() << std::hex << from << " -> " << to << " " << seq);
                TestImage src = rgbImage(from, 77, 3, seq);
                src.fillRandom(from + to, from == k32S ? -2e8 : 0, from == k32S ? 2147483647.0 : 0);
                TestImage dst = grayImage(to, 80, 4);
                dst.fillRandom(7);
                const TestImage before = dst.clone();
                ozlColorToGray(src, dst);
                const int red = seq[0] == 'R' ? 0 : 2;
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 80; ++x)
                        ASSERT_EQ(dst.at(x, y), x < 77 && y < 3
                                                    ? grayOf(from, to, src.at(x, y, red),
                                                             src.at(x, y, 1), src.at(x, y, 2 - red))
                                                    : before.at(x, y))
                            << x << "," << y;
            }
    EXPECT_TRUE(errors.empty());
}

// White is 254 in 8U (the weights add up to 255); the 32S weights take the
// sample reduced by 2^11; a grey above half sets a 1-bit pixel.
TEST(ColorToGray, KeepsTheDocumentedWeights) {
    TestImage white = rgbImage(k8U, 3, 1), s32 = rgbImage(k32S, 1, 1);
    white.fill(255);
    s32.put(0, 0, 0, 1 << 30), s32.put(0, 0, 1, 3 << 28),
        s32.put(0, 0, 2, 2047);  // the last one reduces to 0
    TestImage g8 = grayImage(k8U, 3, 1), g32 = grayImage(k8U, 1, 1), bits = grayImage(k1U, 3, 1);
    ozlColorToGray(white, g8);
    ozlColorToGray(s32, g32);
    ozlColorToGray(white, bits);
    EXPECT_EQ(g8.at(0, 0), 254);
    EXPECT_EQ(g32.at(0, 0), ((1 << 19) * 109 + (3 << 17) * 366) >> 21);
    EXPECT_EQ(bits.at(2, 0), 1);
}

// Region and mask are not consulted; a grey image in plane order writes its
// first plane only.
TEST(ColorToGray, WorksOnWholeImagesAndTheFirstPlane) {
    TestImage src = rgbImage(k8U, 9, 2);
    src.fillRandom(1);
    src.setRoi(2, 1, 1, 3, 1);
    TestImage planes = grayImage(k8U, 9, 2, 3, OZL_DATA_ORDER_PLANE);
    planes.fillRandom(2);
    const TestImage before = planes.clone();
    ozlColorToGray(src, planes);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 9; ++x) {
            EXPECT_EQ(planes.at(x, y, 0),
                      grayOf(k8U, k8U, src.at(x, y, 0), src.at(x, y, 1), src.at(x, y, 2)));
            EXPECT_EQ(planes.at(x, y, 1), before.at(x, y, 1));
        }
}

// f = F 32768 while |F| < 1, else F 256; (g f + half) >> shift, saturated.
double spread(double g, float w, unsigned depth) {
    const bool fine = w > -1.0f && w < 1.0f;
    const int64_t f =
        fine ? int64_t(w * 32768.0f) : int64_t(std::fmax(-32768.0, std::fmin(32767.0, w * 256.0)));
    const int shift = fine ? 15 : 8;
    const int64_t v = (int64_t(g) * f + (int64_t{1} << (shift - 1))) >> shift;
    const int64_t hi = depth == k8U ? 255 : depth == k16U ? 65535 : INT32_MAX;
    const int64_t lo = depth == k32S ? INT32_MIN : 0;
    return static_cast<double>(std::clamp(v, lo, hi));
}

TEST(GrayToColor, SpreadsEveryDepthWithItsFactors) {
    ErrorCapture errors;
    const float weights[][3] = {
        {1.0f, 0.5f, 0.25f}, {0.2999f, -0.4f, 2.5f}, {200.0f, 0.999f, -3.0f}};
    for (unsigned depth : {k8U, k16U, k32S, k1U})
        for (const auto& w : weights) {
            SCOPED_TRACE(testing::Message() << std::hex << depth << " " << w[0]);
            TestImage src = grayImage(depth, 70, 2);
            src.fillRandom(depth, depth == k32S ? -1e6 : 0, depth == k32S ? 1e9 : 0);
            const unsigned out = depth == k1U ? k8U : depth;
            TestImage dst = rgbImage(out, 70, 2, "BGR");
            ozlGrayToColor(src, dst, w[0], w[1], w[2]);
            for (int y = 0; y < 2; ++y)
                for (int x = 0; x < 70; ++x) {
                    const double g = depth == k1U ? 255 * src.at(x, y) : src.at(x, y);
                    for (int c = 0; c < 3; ++c)
                        ASSERT_EQ(dst.at(x, y, 2 - c), spread(g, w[c], out))
                            << x << " channel " << c;
                }
        }
    // A weight of 1 gives the grey back exactly; 0.5 halves it.
    TestImage g = grayImage(k16U, 5, 1), rgb = rgbImage(k16U, 5, 1);
    g.fill(65535);
    ozlGrayToColor(g, rgb, 1.0f, 0.5f, 0.0f);
    EXPECT_EQ(rgb.at(0, 0, 0), 65535);
    EXPECT_EQ(rgb.at(0, 0, 1), 32768);
    EXPECT_EQ(rgb.at(0, 0, 2), 0);
    EXPECT_TRUE(errors.empty());
}

// ---------------------------------------------------------------------------

using Change = void (*)(OzlImage* src, OzlImage* dst);

struct Refusal {
    Change setup;
    const char* message;
    const char* module;
    int line;
};

// The refusal on changed copies of a valid pair's headers, destination untouched.
void expectRefusal(ErrorCapture& errors, const Refusal& r, bool toGray) {
    TestImage src = toGray ? rgbImage(k8U, 6, 2) : grayImage(k8U, 6, 2);
    TestImage dst = toGray ? grayImage(k8U, 6, 2) : rgbImage(k8U, 6, 2);
    const auto before = dst.bytes();
    OzlImage s = *src.get(), d = *dst.get();
    r.setup(&s, &d);
    if (toGray) ozlColorToGray(&s, &d);
    else ozlGrayToColor(&s, &d, 1, 1, 1);
    expectRefused(errors, dst, before,
                  {-5, toGray ? "ozlColorToGray" : "ozlGrayToColor", r.message, r.module, r.line});
}

TEST(ColorToGray, RefusesInTheDocumentedOrder) {
    const Refusal cases[] = {
        {[](OzlImage* s, OzlImage*) { std::memcpy(s->colorModel, "GRAY", 4); },
         "colorModel must be RGB instead of GRAY ", "owncolor", 58},
        {[](OzlImage*, OzlImage* d) { std::memcpy(d->colorModel, "gray", 4); },
         "colorModel must be GRAY instead of gray ", "owncolor", 97},
        {[](OzlImage*, OzlImage* d) { std::memcpy(d->channelSeq, "Y\0\0\0", 4); },
         "channelSeq must be G instead of Y ", "owncolor", 100},
        {[](OzlImage*, OzlImage* d) { d->nChannels = 3; },
         "(dst-> dataOrder == OZL_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)", "owncolor", 163},
        {[](OzlImage* s, OzlImage*) { s->origin = 1; }, "src->origin != dst->origin", "owncolor",
         166},
        {[](OzlImage* s, OzlImage*) { s->nChannels = 2; }, "(src->nChannels < 3)", "owncolor", 169},
        {[](OzlImage* s, OzlImage*) { s->depth = k32F; },
         "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now", "Ownctog", 52},
        {[](OzlImage*, OzlImage* d) { d->depth = k32S; },
         "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now", "Ownctog", 52},
    };
    ErrorCapture errors;
    for (const Refusal& r : cases) expectRefusal(errors, r, true);
    // "Gray" passes as well as "GRAY".
    TestImage src = rgbImage(k8U, 6, 2), dst = grayImage(k8U, 6, 2);
    std::memcpy(dst->colorModel, "Gray", 4);
    ozlColorToGray(src, dst);
    EXPECT_TRUE(errors.empty());
}

TEST(GrayToColor, RefusesInTheDocumentedOrder) {
    const Refusal cases[] = {
        {[](OzlImage*, OzlImage* d) { std::memcpy(d->channelSeq, "GBR", 3); },
         "channelSeq must be RGB or BGR instead of GBR ", "owncolor", 61},
        {[](OzlImage* s, OzlImage*) { std::memcpy(s->colorModel, "RGB\0", 4); },
         "colorModel must be GRAY instead of RGB ", "owncolor", 97},
        {[](OzlImage* s, OzlImage*) { s->depth = k16U; },
         "src-> depth != dst-> depth && src-> depth != 1U", "owncolor", 185},
        {[](OzlImage* s, OzlImage* d) { s->depth = k1U, d->depth = k16U; },
         "src-> depth == dst-> depth && dst-> depth != 8U", "owncolor", 188},
        {[](OzlImage* s, OzlImage*) { s->nChannels = 2; },
         "(src-> dataOrder == OZL_DATA_ORDER_PIXEL) && (src-> nChannels != 1)", "owncolor", 191},
        {[](OzlImage* s, OzlImage*) { s->origin = 1; }, "(src->origin != dst->origin)", "owncolor",
         194},
        {[](OzlImage*, OzlImage* d) { d->nChannels = 2; }, "(dst->nChannels < 3)", "owncolor", 197},
        {[](OzlImage* s, OzlImage* d) { s->depth = d->depth = k32F; },
         "Error input depth. 32S,16U,8U are valid now", "Owngtoc", 47},
    };
    ErrorCapture errors;
    for (const Refusal& r : cases) expectRefusal(errors, r, false);
    TestImage src = grayImage(k8U, 6, 2), dst = rgbImage(k8U, 6, 2);
    const auto before = dst.bytes();
    ozlGrayToColor(src, nullptr, 1, 1, 1);
    expectRefused(errors, dst, before, {-9, "ozlGrayToColor", "Incorrect Image", "ozlcolor", 52});
}

}  // namespace
