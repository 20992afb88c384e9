// ozlConvert, ozlScale, ozlScaleFP, ozlBitonalToGray against independent
// references at the range limits and ties; layouts, COI, masks, tiles, refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectPixelwise;
using ozl::test::expectRefused;
using ozl::test::TestImage;
using ozl::test::TiledImage;

const unsigned kAll[] = {OZL_DEPTH_1U,  OZL_DEPTH_8U,  OZL_DEPTH_8S, OZL_DEPTH_16U,
                         OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};
const unsigned kIntegers[] = {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S,
                              OZL_DEPTH_32S};

struct Range {
    double lo, hi;
};
Range rangeOf(unsigned depth) {
    switch (depth) {
        case OZL_DEPTH_1U: return {0, 1};
        case OZL_DEPTH_8U: return {0, 255};
        case OZL_DEPTH_8S: return {-128, 127};
        case OZL_DEPTH_16U: return {0, 65535};
        case OZL_DEPTH_16S: return {-32768, 32767};
        default: return {-2147483648.0, 2147483647.0};
    }
}

// What ozlConvert makes of a value: floats rounded half to even, then every
// integer clamped; NaN to 0; integers to the nearest float.
double converted(double v, unsigned to) {
    if (to == OZL_DEPTH_32F) return static_cast<float>(v);
    if (v != v) return 0;
    const Range r = rangeOf(to);
    const double n = std::nearbyint(v);
    return n < r.lo ? r.lo : n > r.hi ? r.hi : n;
}

// Values at every range limit, the ties around them, and the float oddities.
std::vector<double> specialValues(unsigned depth) {
    std::vector<double> out;
    if (depth == OZL_DEPTH_32F) {
        const float inf = std::numeric_limits<float>::infinity();
        for (float f : {0.5f, 1.5f, 2.5f, -0.5f, -1.5f, 0.49999997f, 126.5f, 127.5f, 128.5f, -128.5f,
                        -129.5f, 254.5f, 255.5f, 256.5f, 32766.5f, 32767.5f, -32768.5f, 65534.5f,
                        65535.5f, 2147483520.0f, 2147483648.0f, -2147483648.0f, -2147483904.0f,
                        1e10f, -1e10f, inf, -inf, NAN, -0.0f, 3.0f, -7.25f})
            out.push_back(f);
        return out;
    }
    const Range r = rangeOf(depth);
    for (double v : {r.lo, r.lo + 1, r.hi, r.hi - 1, 0.0, 1.0, -1.0, 127.0, 128.0, -128.0, -129.0,
                     255.0, 256.0, 32767.0, 32768.0, -32768.0, -32769.0, 65535.0, 65536.0})
        if (v >= r.lo && v <= r.hi) out.push_back(v);
    return out;
}

// A 3-row image of `depth`: the special values along row 0, random values below.
TestImage sourceImage(unsigned depth, int width, int nCh, int order, uint32_t seed) {
    TestImage s(depth, width, 3, nCh, order);
    s.fillRandom(seed);
    const std::vector<double> special = specialValues(depth);
    for (int c = 0; c < nCh; ++c)
        for (int x = 0; x < width; ++x) s.put(x, 0, c, special[(x + 5 * c) % special.size()]);
    return s;
}

TEST(Convert, EveryDepthPairAtTheLimitsAndTies) {
    ErrorCapture errors;
    uint32_t seed = 1;
    for (unsigned from : kAll)
        for (unsigned to : kAll) {
            SCOPED_TRACE(testing::Message() << std::hex << from << " -> " << to);
            // Long enough for the vector blocks and their tails.
            TestImage s = sourceImage(from, 75, 1, OZL_DATA_ORDER_PIXEL, ++seed);
            TestImage d(to, 75, 3);
            d.fillRandom(++seed);
            const TestImage before = d.clone();
            ozlConvert(s, d);
            expectPixelwise(before, d, s, nullptr, [&](double a, double) { return converted(a, to); });
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Pixel order into plane order and back, through regions and a channel of
// interest, masked; the alpha channel stays as it was.
TEST(Convert, DataOrderRegionsChannelOfInterestAndMasks) {
    ErrorCapture errors;
    TestImage s = sourceImage(OZL_DEPTH_32F, 41, 3, OZL_DATA_ORDER_PIXEL, 3);
    TestImage d(OZL_DEPTH_8U, 40, 3, 4, OZL_DATA_ORDER_PLANE, true);
    TestImage mask(OZL_DEPTH_1U, 40, 3);
    d.fillRandom(4);
    mask.fillRandom(5);
    s.setRoi(0, 1, 0, 40, 3);
    d.setRoi(0, 2, 1, 37, 2);
    d.setMask(&mask);
    TestImage before = d.clone();
    ozlConvert(s, d);
    const auto to8U = [](double a, double) { return converted(a, OZL_DEPTH_8U); };
    expectPixelwise(before, d, s, nullptr, to8U, [&](int x, int y) { return mask.at(x, y) != 0; });

    TestImage back(OZL_DEPTH_16S, 40, 3, 3, OZL_DATA_ORDER_PIXEL);
    back.fillRandom(6);
    back.setRoi(3, 0, 0, 40, 3);
    d.setRoi(2, 0, 0, 40, 3);
    d.setMask(nullptr);
    before = back.clone();
    ozlConvert(d, back);
    expectPixelwise(before, back, d, nullptr, [](double a, double) { return a; });
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Convert, TiledImagesGiveTheUntiledResult) {
    ErrorCapture errors;
    for (auto [from, to] : {std::pair{OZL_DEPTH_8U, OZL_DEPTH_32F}, {OZL_DEPTH_32F, OZL_DEPTH_1U},
                            {OZL_DEPTH_1U, OZL_DEPTH_16S}}) {
        TiledImage ts(from, 37, 21, 1, OZL_DATA_ORDER_PIXEL, 16, 8);
        TiledImage td(to, 37, 21, 1, OZL_DATA_ORDER_PIXEL, 8, 16);
        TestImage s(from, 37, 21), d(to, 37, 21);
        s.fillRandom(1, -300, 300);
        ts.pixels().fillRandom(1, -300, 300);
        d.fillRandom(2);
        td.pixels().fillRandom(2);
        s.setRoi(0, 3, 2, 30, 17);
        ts.setRoi(0, 3, 2, 30, 17);
        ozlConvert(s, d);
        ozlConvert(ts, td);
        EXPECT_EQ(td.pixels().bytes(), d.bytes()) << from << " -> " << to;
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// The rounded full-range map, exactly: quotient and remainder of the 64-bit
// product (spans below 2^32), up when the remainder passes half the divisor.
double scaled(double v, unsigned from, unsigned to) {
    const Range a = rangeOf(from), b = rangeOf(to);
    const uint64_t p = static_cast<uint64_t>(v - a.lo) * static_cast<uint64_t>(b.hi - b.lo);
    const uint64_t den = static_cast<uint64_t>(a.hi - a.lo);
    return b.lo + static_cast<double>(p / den + (2 * (p % den) > den ? 1 : 0));
}

TEST(Scale, EveryIntegerPairFullRange) {
    ErrorCapture errors;
    uint32_t seed = 10;
    for (unsigned from : kIntegers)
        for (unsigned to : kIntegers) {
            SCOPED_TRACE(testing::Message() << std::hex << from << " -> " << to);
            TestImage s = sourceImage(from, 45, 1, OZL_DATA_ORDER_PIXEL, ++seed);
            TestImage d(to, 45, 3);
            d.fillRandom(++seed);
            const TestImage before = d.clone();
            ozlScale(s, d);
            expectPixelwise(before, d, s, nullptr,
                            [&](double a, double) { return scaled(a, from, to); });
        }
    // Hand-computed: the ends meet the ends, 8U onto 16U is * 257.
    TestImage s(OZL_DEPTH_8U, 4, 1), d(OZL_DEPTH_16S, 4, 1), u(OZL_DEPTH_16U, 4, 1);
    const double in[] = {0, 255, 128, 1};
    for (int x = 0; x < 4; ++x) s.put(x, 0, 0, in[x]);
    ozlScale(s, d);
    ozlScale(s, u);
    const double out16s[] = {-32768, 32767, 128, -32511}, out16u[] = {0, 65535, 32896, 257};
    for (int x = 0; x < 4; ++x) {
        EXPECT_EQ(d.at(x, 0), out16s[x]);
        EXPECT_EQ(u.at(x, 0), out16u[x]);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ScaleFP, BothWaysWithExactEnds) {
    ErrorCapture errors;
    struct Case {
        unsigned depth;
        float lo, hi;
    };
    for (const Case& c : {Case{OZL_DEPTH_8U, 0, 1}, Case{OZL_DEPTH_16S, -1, 1},
                          Case{OZL_DEPTH_16U, 0.25f, 1000}, Case{OZL_DEPTH_32S, -5, 5},
                          Case{OZL_DEPTH_8S, -100, 100}}) {
        SCOPED_TRACE(testing::Message() << std::hex << c.depth);
        const Range r = rangeOf(c.depth);
        const float fromSpan = static_cast<float>(r.hi - r.lo), toSpan = c.hi - c.lo;
        TestImage s = sourceImage(c.depth, 40, 1, OZL_DATA_ORDER_PIXEL, 20);
        TestImage f(OZL_DEPTH_32F, 40, 3);
        s.put(0, 1, 0, r.lo);
        s.put(1, 1, 0, r.hi);
        TestImage before = f.clone();
        ozlScaleFP(s, f, c.lo, c.hi);
        expectPixelwise(before, f, s, nullptr, [&](double a, double) {
            return static_cast<double>((static_cast<float>(a) - static_cast<float>(r.lo)) /
                                           fromSpan * toSpan + c.lo);
        });
        EXPECT_EQ(f.at(0, 1), c.lo);
        EXPECT_EQ(f.at(1, 1), c.hi);

        // Back: the float range onto the integer one, rounded and saturated.
        TestImage g = sourceImage(OZL_DEPTH_32F, 40, 1, OZL_DATA_ORDER_PIXEL, 21);
        g.put(0, 1, 0, c.lo);
        g.put(1, 1, 0, c.hi);
        TestImage back(c.depth, 40, 3);
        before = back.clone();
        ozlScaleFP(g, back, c.lo, c.hi);
        expectPixelwise(before, back, g, nullptr, [&](double a, double) {
            const float t = (static_cast<float>(a) - c.lo) / toSpan * fromSpan +
                            static_cast<float>(r.lo);
            return converted(t, c.depth);
        });
        EXPECT_EQ(back.at(0, 1), r.lo);
        EXPECT_EQ(back.at(1, 1), r.hi);
    }
    // 0.5 of 0..1 is 127.5: ties go to the even 128.
    TestImage half(OZL_DEPTH_32F, 1, 1), b(OZL_DEPTH_8U, 1, 1);
    half.put(0, 0, 0, 0.5);
    ozlScaleFP(half, b, 0, 1);
    EXPECT_EQ(b.at(0, 0), 128);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(BitonalToGray, LevelsClampedToTheDepth) {
    ErrorCapture errors;
    struct Case {
        unsigned depth;
        int zero, one;
        double z, o;
    };
    for (const Case& c : {Case{OZL_DEPTH_8U, 20, 300, 20, 255}, Case{OZL_DEPTH_16S, -40000, 7, -32768, 7},
                          Case{OZL_DEPTH_32F, -3, 16777217, -3, 16777216}, Case{OZL_DEPTH_8S, 5, -5, 5, -5}}) {
        TestImage s(OZL_DEPTH_1U, 53, 3), d(c.depth, 50, 3), mask(OZL_DEPTH_1U, 60, 3);
        s.fillRandom(1);
        d.fillRandom(2);
        mask.fillRandom(3);
        s.setRoi(0, 3, 0, 50, 3);  // bit offset 3
        d.setMask(&mask);
        const TestImage before = d.clone();
        ozlBitonalToGray(s, d, c.zero, c.one);
        expectPixelwise(before, d, s, nullptr, [&](double a, double) { return a ? c.o : c.z; },
                        [&](int x, int y) { return mask.at(x, y) != 0; });
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ConvertRefusals, DepthsArgumentsAndAgreement) {
    ErrorCapture errors;
    TestImage u8(OZL_DEPTH_8U, 5, 2), f(OZL_DEPTH_32F, 5, 2), bits(OZL_DEPTH_1U, 5, 2);
    TestImage s16(OZL_DEPTH_16S, 5, 2), rgb(OZL_DEPTH_8U, 5, 2, 3), bad(OZL_DEPTH_8U, 5, 2);
    TestImage d(OZL_DEPTH_8U, 5, 2), f2(OZL_DEPTH_32F, 5, 2), bits2(OZL_DEPTH_1U, 5, 2), bl(OZL_DEPTH_8U, 5, 2);
    bad->imageData = nullptr;
    bl->origin = OZL_ORIGIN_BL;
    TiledImage ts(OZL_DEPTH_16S, 5, 2, 1, 0, 8, 8), td(OZL_DEPTH_16S, 5, 2, 1, 0, 8, 8);
    ts.failFetch(1);
    const std::string channels =
        "Number of processed channels of srcImage != Number of processed channels of dstImage";
    struct Case {
        std::function<void()> call;
        TestImage& dst;
        ErrorReport want;
    };
    const Case cases[] = {
        {[&] { ozlConvert(bad, d); }, d, {-12, "ozlConvert", "Incorrect Image", "ozlcvt", 40}},
        {[&] { ozlConvert(u8, bad); }, d, {-12, "ozlConvert", "Incorrect Image", "ozlcvt", 41}},
        {[&] { ozlConvert(rgb, d); }, d, {-5, "ozlConvert", channels, "ozlcvt", 44}},
        {[&] { ozlConvert(s16, bl); }, bl, {-5, "ozlConvert", "srcImage->origin != dstImage->origin", "ozlcvt", 43}},
        {[&] { ozlConvert(ts, d); }, d, {-2, "ozlConvert", "Error get tile to read", "ozlcvt", 51}},
        {[&] { ozlScale(f, d); }, d, {-17, "ozlScale", "You should use ozlScaleFP for float images", "ozlcvt", 102}},
        {[&] { ozlScale(bits, d); }, d, {-17, "ozlScale", "srcImage->depth == 1 || dstImage->depth == 1", "ozlcvt", 102}},
        {[&] { ozlScale(bad, d); }, d, {-12, "ozlScale", "Incorrect Image", "ozlcvt", 100}},
        {[&] { ozlScaleFP(s16, d, 0, 1); }, d, {-17, "ozlScaleFP", "You should use ozlScale for integer images", "ozlcvt", 162}},
        {[&] { ozlScaleFP(bits, d, 0, 1); }, d, {-17, "ozlScaleFP", "srcImage->depth == 1 || dstImage->depth == 1", "ozlcvt", 162}},
        {[&] { ozlScaleFP(f, f2, 0, 1); }, f2, {-17, "ozlScaleFP", "srcImage->depth == 32 && dstImage->depth == 32", "ozlcvt", 162}},
        {[&] { ozlScaleFP(f, rgb, 0, 1); }, rgb, {-5, "ozlScaleFP", channels, "ozlcvt", 164}},
        {[&] { ozlScaleFP(f, d, 1, 1); }, d, {-5, "ozlScaleFP", "!(minVal < maxVal)", "ozlcvt", 165}},
        {[&] { ozlScaleFP(f, d, 2, 1); }, d, {-5, "ozlScaleFP", "!(minVal < maxVal)", "ozlcvt", 165}},
        {[&] { ozlScaleFP(f, d, NAN, 1); }, d, {-5, "ozlScaleFP", "!(minVal < maxVal)", "ozlcvt", 165}},
        {[&] { ozlScaleFP(f, d, -3e38f, 3e38f); }, d, {-5, "ozlScaleFP", "maxVal - minVal is not finite", "ozlcvt", 165}},
        {[&] { ozlBitonalToGray(u8, d, 0, 255); }, d, {-17, "ozlBitonalToGray", "srcImage->depth != 1", "ozlcvt", 222}},
        {[&] { ozlBitonalToGray(bits, bad, 0, 255); }, d, {-12, "ozlBitonalToGray", "Incorrect Image", "ozlcvt", 221}},
        {[&] { ozlBitonalToGray(bits, bits2, 0, 1); }, bits2, {-17, "ozlBitonalToGray", "dstImage->depth == 1", "ozlcvt", 222}},
    };
    for (const Case& c : cases) {
        c.dst.fillRandom(1);
        const auto before = c.dst.bytes();
        c.call();
        expectRefused(errors, c.dst, before, c.want);
    }
    // A tile that cannot be had for writing.
    td.failFetch(1);
    ozlScale(u8, td);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlScale", "Error get tile to write", "ozlcvt", 112}));
}

}  // namespace
