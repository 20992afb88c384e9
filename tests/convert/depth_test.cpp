// ozlConvert, ozlScale, ozlScaleFP, ozlBitonalToGray through the public interface.
#include "convert_check.hpp"

namespace {
using namespace ozl::convert_test;

// ozlConvert's rule: floats rounded half to even, then clamped; NaN to 0;
// integers to the nearest float.
double converted(double v, unsigned to) {
    if (to == F32) return static_cast<float>(v);
    if (v != v) return 0;
    return std::clamp(std::nearbyint(v), depthRange(to).first, depthRange(to).second);
}

// Values at every range limit, the ties around them, and the float oddities.
std::vector<double> specialValues(unsigned depth) {
    const float inf = std::numeric_limits<float>::infinity();
    if (depth == F32)
        return {0.5f, 1.5f, 2.5f, -0.5f, -1.5f, 0.49999997f, 126.5f, 127.5f, 128.5f, -128.5f, -129.5f, 254.5f,
                255.5f, 256.5f, 32766.5f, 32767.5f, -32768.5f, 65534.5f, 65535.5f, 2147483520.0f, 2147483648.0f,
                -2147483648.0f, -2147483904.0f, 1e10f, -1e10f, inf, -inf, NAN, -0.0f, 3.0f, -7.25f};
    const auto [lo, hi] = depthRange(depth);
    std::vector<double> out;
    for (double v : {lo, lo + 1, hi, hi - 1, 0.0, 1.0, -1.0, 127.0, 128.0, -128.0, -129.0, 255.0, 256.0,
                     32767.0, 32768.0, -32768.0, -32769.0, 65535.0, 65536.0})
        if (v >= lo && v <= hi) out.push_back(v);
    return out;
}

// A 3-row image: the special values along row 0, random values below.
TestImage sourceImage(unsigned depth, int width, int nCh, uint32_t seed) {
    TestImage s(depth, width, 3, nCh);
    s.fillRandom(seed);
    const std::vector<double> special = specialValues(depth);
    for (int i = 0; i < nCh * width; ++i) s.put(i % width, 0, i / width, special[(i % width + 5 * (i / width)) % special.size()]);
    return s;
}

TEST(Convert, EveryDepthPairAtTheLimitsAndTies) {
    ErrorCapture errors;
    uint32_t seed = 1;
    for (unsigned from : kAllDepths)
        for (unsigned to : kAllDepths) {
            TestImage s = sourceImage(from, 75, 1, ++seed), d(to, 75, 3);  // vector blocks and tails
            d.fillRandom(++seed);
            const TestImage before = d.clone();
            ozlConvert(s, d);
            expectPixelwise(before, d, s, nullptr, [&](double a, double) { return converted(a, to); });
            ASSERT_FALSE(HasFailure()) << std::hex << from << " -> " << to;
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Pixel order into plane order and back, through regions, a channel of
// interest and a mask; the alpha channel stays.
TEST(Convert, DataOrderRegionsChannelOfInterestMasksAndTiles) {
    ErrorCapture errors;
    TestImage s = sourceImage(F32, 41, 3, 3), d(U8, 40, 3, 4, OZL_DATA_ORDER_PLANE, true), mask(U1, 40, 3);
    TestImage back(S16, 40, 3, 3);
    d.fillRandom(4), mask.fillRandom(5), back.fillRandom(6), s.setRoi(0, 1, 0, 40, 3), d.setRoi(0, 2, 1, 37, 2);
    d.setMask(&mask);
    TestImage before = d.clone();
    ozlConvert(s, d);
    expectPixelwise(before, d, s, nullptr, [](double a, double) { return converted(a, U8); },
                    [&](int x, int y) { return mask.at(x, y) != 0; });
    back.setRoi(3, 0, 0, 40, 3), d.setRoi(2, 0, 0, 40, 3), d.setMask(nullptr);
    before = back.clone();
    ozlConvert(d, back);
    expectPixelwise(before, back, d, nullptr, same);
    const int roi[] = {3, 2, 30, 17};
    for (auto [from, to] : {std::pair{U8, F32}, {F32, U1}, {U1, S16}}) {
        TiledPair s2(from, 37, 21, 1, 16, 8, 1, roi, -300, 300), d2(to, 37, 21, 1, 8, 16, 2);
        ozlConvert(s2.plain, d2.plain);
        ozlConvert(s2.tiled, d2.tiled);
        EXPECT_TRUE(d2.same()) << from << " -> " << to;
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// The rounded full-range map: quotient and remainder of the 64-bit product,
// up when the remainder passes half the divisor.
double scaled(double v, unsigned from, unsigned to) {
    const auto [alo, ahi] = depthRange(from);
    const auto [blo, bhi] = depthRange(to);
    const uint64_t p = static_cast<uint64_t>(v - alo) * static_cast<uint64_t>(bhi - blo), den = static_cast<uint64_t>(ahi - alo);
    return blo + static_cast<double>(p / den + (2 * (p % den) > den ? 1 : 0));
}

TEST(Scale, EveryIntegerPairFullRange) {
    ErrorCapture errors;
    uint32_t seed = 10;
    for (unsigned from : {U8, S8, U16, S16, S32})
        for (unsigned to : {U8, S8, U16, S16, S32}) {
            TestImage s = sourceImage(from, 45, 1, ++seed), d(to, 45, 3);
            d.fillRandom(++seed);
            const TestImage before = d.clone();
            ozlScale(s, d);
            expectPixelwise(before, d, s, nullptr, [&](double a, double) { return scaled(a, from, to); });
            ASSERT_FALSE(HasFailure()) << std::hex << from << " -> " << to;
        }
    // By hand: the ends meet the ends, 8U onto 16U is * 257.
    TestImage s(U8, 4, 1), d(S16, 4, 1), u(U16, 4, 1);
    const double in[] = {0, 255, 128, 1}, out16s[] = {-32768, 32767, 128, -32511}, out16u[] = {0, 65535, 32896, 257};
    for (int x = 0; x < 4; ++x) s.put(x, 0, 0, in[x]);
    ozlScale(s, d), ozlScale(s, u);
    for (int x = 0; x < 4; ++x) EXPECT_TRUE(d.at(x, 0) == out16s[x] && u.at(x, 0) == out16u[x]) << x;
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ScaleFP, BothWaysWithExactEnds) {
    ErrorCapture errors;
    for (auto [depth, lo, hi] : {std::tuple{U8, 0.0f, 1.0f}, {S16, -1.0f, 1.0f}, {U16, 0.25f, 1000.0f}, {S32, -5.0f, 5.0f}}) {
        const auto [rlo, rhi] = depthRange(depth);
        const float fromSpan = static_cast<float>(rhi - rlo), toSpan = hi - lo, flo = lo, frlo = static_cast<float>(rlo);
        const unsigned dep = depth;
        TestImage s = sourceImage(depth, 40, 1, 20), f(F32, 40, 3), g = sourceImage(F32, 40, 1, 21), back(depth, 40, 3);
        s.put(0, 1, 0, rlo), s.put(1, 1, 0, rhi), g.put(0, 1, 0, lo), g.put(1, 1, 0, hi);
        TestImage before = f.clone();
        ozlScaleFP(s, f, lo, hi);
        expectPixelwise(before, f, s, nullptr, [&](double a, double) {
            return static_cast<double>((static_cast<float>(a) - frlo) / fromSpan * toSpan + flo);
        });
        before = back.clone();
        ozlScaleFP(g, back, lo, hi);  // back: rounded and saturated
        expectPixelwise(before, back, g, nullptr, [&](double a, double) {
            return converted((static_cast<float>(a) - flo) / toSpan * fromSpan + frlo, dep);
        });
        EXPECT_TRUE(f.at(0, 1) == lo && f.at(1, 1) == hi && back.at(0, 1) == rlo && back.at(1, 1) == rhi) << depth;
    }
    TestImage half(F32, 1, 1), b(U8, 1, 1);  // 0.5 of 0..1 is 127.5: ties go to the even 128
    half.put(0, 0, 0, 0.5);
    ozlScaleFP(half, b, 0, 1);
    EXPECT_EQ(b.at(0, 0), 128);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(BitonalToGray, LevelsClampedToTheDepth) {
    ErrorCapture errors;
    for (auto [depth, zero, one, z, o] : {std::tuple{U8, 20, 300, 20.0, 255.0}, {S16, -40000, 7, -32768.0, 7.0},
                                          {F32, -3, 16777217, -3.0, 16777216.0}, {S8, 5, -5, 5.0, -5.0}}) {
        TestImage s(U1, 53, 3), d(depth, 50, 3), mask(U1, 60, 3);
        s.fillRandom(1), d.fillRandom(2), mask.fillRandom(3);
        s.setRoi(0, 3, 0, 50, 3);  // bit offset 3
        d.setMask(&mask);
        const TestImage before = d.clone();
        const double vz = z, vo = o;
        ozlBitonalToGray(s, d, zero, one);
        expectPixelwise(before, d, s, nullptr, [&](double a, double) { return a ? vo : vz; },
                        [&](int x, int y) { return mask.at(x, y) != 0; });
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ConvertRefusals, DepthsArgumentsAndAgreement) {
    ErrorCapture errors;
    TestImage u8(U8, 5, 2), f(F32, 5, 2), bits(U1, 5, 2), s16(S16, 5, 2), rgb(U8, 5, 2, 3), bad(U8, 5, 2);
    TestImage d(U8, 5, 2), f2(F32, 5, 2), bits2(U1, 5, 2), bl(U8, 5, 2);
    bad->imageData = nullptr;
    bl->origin = OZL_ORIGIN_BL;
    TiledImage ts(S16, 5, 2, 1, 0, 8, 8), td(S16, 5, 2, 1, 0, 8, 8);
    for (TestImage* im : {&d, &f2, &bits2, &rgb, &bl}) im->fillRandom(1);
    const std::string channels = "Number of processed channels of srcImage != Number of processed channels of dstImage";
    const char *M = "ozlcvt", *order = "!(minVal < maxVal)", *oneBit = "srcImage->depth == 1 || dstImage->depth == 1";
    expectRefusals(errors, {
        {[&] { ozlConvert(bad, d); }, &d, {-12, "ozlConvert", "Incorrect Image", M, 40}},
        {[&] { ozlConvert(u8, bad); }, &d, {-12, "ozlConvert", "Incorrect Image", M, 41}},
        {[&] { ozlConvert(rgb, d); }, &d, {-5, "ozlConvert", channels, M, 44}},
        {[&] { ozlConvert(s16, bl); }, &bl, {-5, "ozlConvert", "srcImage->origin != dstImage->origin", M, 43}},
        {[&] { ts.failFetch(1); ozlConvert(ts, d); }, &d, {-2, "ozlConvert", "Error get tile to read", M, 51}},
        {[&] { ozlScale(f, d); }, &d, {-17, "ozlScale", "You should use ozlScaleFP for float images", M, 102}},
        {[&] { ozlScale(bits, d); }, &d, {-17, "ozlScale", oneBit, M, 102}},
        {[&] { ozlScale(bad, d); }, &d, {-12, "ozlScale", "Incorrect Image", M, 100}},
        {[&] { ozlScaleFP(s16, d, 0, 1); }, &d, {-17, "ozlScaleFP", "You should use ozlScale for integer images", M, 162}},
        {[&] { ozlScaleFP(bits, d, 0, 1); }, &d, {-17, "ozlScaleFP", oneBit, M, 162}},
        {[&] { ozlScaleFP(f, f2, 0, 1); }, &f2, {-17, "ozlScaleFP", "srcImage->depth == 32 && dstImage->depth == 32", M, 162}},
        {[&] { ozlScaleFP(f, rgb, 0, 1); }, &rgb, {-5, "ozlScaleFP", channels, M, 164}},
        {[&] { ozlScaleFP(f, d, 1, 1); }, &d, {-5, "ozlScaleFP", order, M, 165}},
        {[&] { ozlScaleFP(f, d, 2, 1); }, &d, {-5, "ozlScaleFP", order, M, 165}},
        {[&] { ozlScaleFP(f, d, NAN, 1); }, &d, {-5, "ozlScaleFP", order, M, 165}},
        {[&] { ozlScaleFP(f, d, -3e38f, 3e38f); }, &d, {-5, "ozlScaleFP", "maxVal - minVal is not finite", M, 165}},
        {[&] { ozlBitonalToGray(u8, d, 0, 255); }, &d, {-17, "ozlBitonalToGray", "srcImage->depth != 1", M, 222}},
        {[&] { ozlBitonalToGray(bits, bad, 0, 255); }, &d, {-12, "ozlBitonalToGray", "Incorrect Image", M, 221}},
        {[&] { ozlBitonalToGray(bits, bits2, 0, 1); }, &bits2, {-17, "ozlBitonalToGray", "dstImage->depth == 1", M, 222}},
    });
    td.failFetch(1);  // a tile that cannot be had for writing
    ozlScale(u8, td);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlScale", "Error get tile to write", M, 112}));
}

}  // namespace
