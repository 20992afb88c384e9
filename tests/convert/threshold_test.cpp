// ozlThreshold and ozlReduceBits through the public interface.
#include "convert_check.hpp"

namespace {
using namespace ozl::convert_test;

// Row 0 holds the threshold, its neighbours and the limits; 1-bit results
// start at bit 5 of their row.
TEST(Threshold, EveryDepthAroundTheThresholdAndBeyondTheRange) {
    ErrorCapture errors;
    for (unsigned depth : {U8, S8, U16, S16, S32}) {
        const auto [lo, hi] = depthRange(depth);
        for (double t : {lo, lo + 1, 0.0, 100.0, hi, lo - 5, hi + 1})
            for (unsigned to : {depth, U1}) {
                if (t < -2147483648.0 || t > 2147483647.0) continue;
                TestImage s(depth, 70, 3), d(to, 75, 3);
                s.fillRandom(7);
                const double around[] = {t - 1, t, t + 1, lo, hi}, high = to == U1 ? 1 : hi, level = t;
                for (int x = 0; x < 70; ++x) s.put(x, 0, 0, std::clamp(around[x % 5], lo, hi));
                d.fillRandom(8), d.setRoi(0, 5, 0, 70, 3);
                const TestImage before = d.clone();
                ozlThreshold(s, d, static_cast<int>(t));
                expectPixelwise(before, d, s, nullptr, [&](double a, double) { return a >= level ? high : 0; });
                ASSERT_FALSE(HasFailure()) << depth << " t " << t << " to " << to;
            }
    }
    // Alpha skipped, pixel order into plane order, masked; tiled into 1-bit tiles.
    TestImage s(U8, 30, 6, 4, OZL_DATA_ORDER_PIXEL, true), d(U8, 30, 6, 3, OZL_DATA_ORDER_PLANE), mask(U1, 30, 6);
    s.fillRandom(1), d.fillRandom(2), mask.fillRandom(3), d.setMask(&mask);
    const TestImage before = d.clone();
    ozlThreshold(s, d, 128);
    expectPixelwise(before, d, s, nullptr, [](double a, double) { return a >= 128 ? 255 : 0; },
                    [&](int x, int y) { return mask.at(x, y) != 0; });
    const int roi[] = {3, 1, 30, 19};
    TiledPair ts(S16, 37, 21, 1, 16, 8, 4), td(U1, 37, 21, 1, 8, 8, 5, roi);
    ozlThreshold(ts.plain, td.plain, -7);
    ozlThreshold(ts.tiled, td.tiled, -7);
    EXPECT_TRUE(td.same());
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ReduceBits, PlainReductionDropsTheLowBits) {
    ErrorCapture errors;
    for (auto [depth, bits] : {std::pair{U8, 8}, {U16, 16}})
        for (int n = 1; n <= bits; ++n) {
            TestImage s(depth, 67, 3, 3), d(depth, 67, 3, 3);
            s.fillRandom(static_cast<uint32_t>(n)), d.fillRandom(9);
            const TestImage before = d.clone();
            ozlReduceBits(s, d, n, OZL_DITHER_NONE);
            const uint32_t keep = ((1u << bits) - 1) & ~((1u << (bits - n)) - 1);
            expectPixelwise(before, d, s, nullptr, [&](double a, double) { return static_cast<double>(static_cast<uint32_t>(a) & keep); });
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Over each 8x8 area of one value v the mean of the results is v to within
// q / 128, and every result is one of the two levels around v.
TEST(ReduceBits, OrderedDitheringKeepsTheMeanOfFlatAreas) {
    ErrorCapture errors;
    for (auto [depth, bits] : {std::pair{U8, 8}, {U16, 16}})
        for (int n : {1, 3, bits - 1, bits}) {
            const double q = static_cast<double>(1 << (bits - n)), top = ((1 << n) - 1) * q;
            for (double v : {0.0, 1.0, std::floor(q / 3), std::floor(q / 2 + 1), std::floor(top / 2 + 3), top - 1, top}) {
                TestImage s(depth, 19, 17), d(depth, 16, 16);
                s.fill(v);
                s.setRoi(0, 3, 1, 16, 16);  // the matrix follows the region, not the image
                ozlReduceBits(s, d, n, OZL_DITHER_ORDERED);
                for (int b = 0; b < 4; ++b) {
                    double sum = 0;
                    for (int i = 0; i < 64; ++i) {
                        const double r = d.at(b % 2 * 8 + i % 8, b / 2 * 8 + i / 8), low = std::floor(v / q) * q;
                        ASSERT_TRUE(r == low || r == low + q) << r << " bits " << bits << " n " << n << " v " << v;
                        sum += r;
                    }
                    EXPECT_LE(std::abs(sum / 64 - v), q / 128);
                }
            }
        }
    TestImage s(U8, 8, 1), d(U8, 8, 1);  // row 0 of the matrix at one bit: 100 + (2m + 1) crosses 128 from m = 14
    s.fill(100);
    ozlReduceBits(s, d, 1, OZL_DITHER_ORDERED);
    for (int x = 0; x < 8; ++x) EXPECT_EQ(d.at(x, 0), x % 2 ? 128 : 0) << x;  // ranks 0 32 8 40 2 34 10 42
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Floyd-Steinberg on the region's values with the error split 7/3/5/1; the
// mean of a flat area kept.
TEST(ReduceBits, ErrorDiffusion) {
    ErrorCapture errors;
    const int w = 23, h = 9, n = 3, drop = 5, q = 32;
    TestImage s(U8, w + 2, h, 2, OZL_DATA_ORDER_PLANE), d(U8, w, h, 2), mask(U1, w, h);
    s.fillRandom(3), d.fillRandom(4), mask.fillRandom(5), s.setRoi(0, 2, 0, w, h), d.setMask(&mask);
    const TestImage before = d.clone();
    ozlReduceBits(s, d, n, OZL_DITHER_ERROR_DIFFUSION);
    for (int c = 0; c < 2; ++c) {
        std::vector<std::vector<int>> carry(h + 1, std::vector<int>(w + 2, 0));
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int want = static_cast<int>(s.at(x + 2, y, c)) + carry[y][x + 1];
                const int out = std::clamp((want + q / 2) >> drop, 0, (1 << n) - 1) << drop, e = want - out;
                const int r = e * 7 / 16, l = e * 3 / 16, u = e * 5 / 16;
                carry[y][x + 2] += r;
                carry[y + 1][x] += l;
                carry[y + 1][x + 1] += u;
                carry[y + 1][x + 2] += e - r - l - u;
                ASSERT_EQ(d.at(x, y, c), mask.at(x, y) ? out : before.at(x, y, c)) << x << ", " << y << " channel " << c;
            }
    }
    TestImage flat(U16, 64, 64), out(U16, 64, 64);
    flat.fill(1000);
    ozlReduceBits(flat, out, 4, OZL_DITHER_ERROR_DIFFUSION);
    double sum = 0;
    for (int i = 0; i < 4096; ++i) sum += out.at(i % 64, i / 64);
    EXPECT_NEAR(sum / 4096, 1000, 4096.0 / 64);  // what falls off the right and bottom edges
    const int roi[] = {5, 2, 30, 17};
    for (int type : {OZL_DITHER_NONE, OZL_DITHER_ORDERED, OZL_DITHER_ERROR_DIFFUSION}) {
        TiledPair ts(U8, 37, 21, 3, 16, 8, 1, roi), td(U8, 37, 21, 3, 8, 16, 2);
        ozlReduceBits(ts.plain, td.plain, 2, type);
        ozlReduceBits(ts.tiled, td.tiled, 2, type);
        EXPECT_TRUE(td.same()) << type;
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ThresholdRefusals, DepthsArgumentsAndAgreement) {
    ErrorCapture errors;
    TestImage u8(U8, 5, 2), f(F32, 5, 2), s8(S8, 5, 2), rgb(U8, 5, 2, 3), bad(U8, 5, 2), u16(U16, 5, 2), d(U8, 5, 2);
    TiledImage ts(U8, 5, 2, 1, 0, 8, 8);
    bad->imageData = nullptr;
    d.fillRandom(1), ts.failFetch(1);
    const char *T = "ozlThreshold", *R = "ozlReduceBits", *nBits = "nBits < 1 || nBits > srcImage->depth";
    const char* channels = "Number of processed channels of srcImage != Number of processed channels of dstImage";
    expectRefusals(errors, {
        {[&] { ozlThreshold(bad, d, 1); }, &d, {-12, T, "Incorrect Image", "ozlthresh", 30}},
        {[&] { ozlThreshold(u8, bad, 1); }, &d, {-12, T, "Incorrect Image", "ozlthresh", 31}},
        {[&] { ozlThreshold(f, d, 1); }, &d, {-17, T, "srcImage->depth == 1 || srcImage->depth == 32", "ozlthresh", 32}},
        {[&] { ozlThreshold(s8, d, 1); }, &d, {-17, T, "dstImage->depth != srcImage->depth && dstImage->depth != 1", "ozlthresh", 32}},
        {[&] { ozlThreshold(rgb, d, 1); }, &d, {-5, T, channels, "ozlthresh", 34}},
        {[&] { ozlReduceBits(bad, d, 1, 0); }, &d, {-12, R, "Incorrect Image", "ozlreduce", 60}},
        {[&] { ozlReduceBits(s8, d, 1, 0); }, &d, {-17, R, "srcImage->depth != 8 && srcImage->depth != 16", "ozlreduce", 62}},
        {[&] { ozlReduceBits(u16, d, 1, 0); }, &d, {-17, R, "srcImage->depth != dstImage->depth", "ozlreduce", 62}},
        {[&] { ozlReduceBits(u8, d, 0, 0); }, &d, {-5, R, nBits, "ozlreduce", 65}},
        {[&] { ozlReduceBits(u8, d, 9, 0); }, &d, {-5, R, nBits, "ozlreduce", 65}},
        {[&] { ozlReduceBits(u8, d, 4, 3); }, &d, {-5, R, "Unknown dither type", "ozlreduce", 65}},
        {[&] { ozlReduceBits(rgb, d, 4, OZL_DITHER_ORDERED); }, &d, {-5, R, channels, "ozlreduce", 64}},
        {[&] { ozlReduceBits(ts, d, 4, OZL_DITHER_ERROR_DIFFUSION); }, &d, {-2, R, "Error get tile to read", "ozlreduce", 71}},
    });
}

}  // namespace
