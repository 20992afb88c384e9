// ozlThreshold and ozlReduceBits: every depth around the threshold, 1-bit
// destinations, masks, tiles, the three dither rules, refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
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

struct Limits {
    unsigned depth;
    double lo, hi;
};
const Limits kDepths[] = {{OZL_DEPTH_8U, 0, 255},          {OZL_DEPTH_8S, -128, 127},
                          {OZL_DEPTH_16U, 0, 65535},       {OZL_DEPTH_16S, -32768, 32767},
                          {OZL_DEPTH_32S, -2147483648.0, 2147483647.0}};

TEST(Threshold, EveryDepthAroundTheThresholdAndBeyondTheRange) {
    ErrorCapture errors;
    for (const Limits& l : kDepths)
        for (double t : {l.lo, l.lo + 1, 0.0, 100.0, l.hi, l.lo - 5, l.hi + 1})
            for (unsigned to : {l.depth, static_cast<unsigned>(OZL_DEPTH_1U)}) {
                if (t < -2147483648.0 || t > 2147483647.0) continue;
                SCOPED_TRACE(testing::Message() << std::hex << l.depth << std::dec << " t " << t << " to " << to);
                TestImage s(l.depth, 70, 3), d(to, 75, 3);
                s.fillRandom(7);
                // Row 0: the threshold and its neighbours, and the limits.
                const double around[] = {t - 1, t, t + 1, l.lo, l.hi};
                for (int x = 0; x < 70; ++x) s.put(x, 0, 0, std::clamp(around[x % 5], l.lo, l.hi));
                d.fillRandom(8);
                d.setRoi(0, 5, 0, 70, 3);  // a 1-bit destination starts at bit 5
                const TestImage before = d.clone();
                ozlThreshold(s, d, static_cast<int>(t));
                const double high = to == OZL_DEPTH_1U ? 1 : l.hi;
                expectPixelwise(before, d, s, nullptr,
                                [&](double a, double) { return a >= t ? high : 0; });
            }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Threshold, ChannelsMasksAndTiles) {
    ErrorCapture errors;
    TestImage s(OZL_DEPTH_8U, 30, 6, 4, OZL_DATA_ORDER_PIXEL, true), d(OZL_DEPTH_8U, 30, 6, 3, OZL_DATA_ORDER_PLANE);
    TestImage mask(OZL_DEPTH_1U, 30, 6);
    s.fillRandom(1);
    d.fillRandom(2);
    mask.fillRandom(3);
    d.setMask(&mask);
    const TestImage before = d.clone();
    ozlThreshold(s, d, 128);
    expectPixelwise(before, d, s, nullptr, [](double a, double) { return a >= 128 ? 255 : 0; },
                    [&](int x, int y) { return mask.at(x, y) != 0; });

    TiledImage ts(OZL_DEPTH_16S, 37, 21, 1, 0, 16, 8), td(OZL_DEPTH_1U, 37, 21, 1, 0, 8, 8);
    TestImage p(OZL_DEPTH_16S, 37, 21), q(OZL_DEPTH_1U, 37, 21);
    ts.pixels().fillRandom(4);
    p.fillRandom(4);
    td.pixels().fillRandom(5);
    q.fillRandom(5);
    td.setRoi(0, 3, 1, 30, 19);
    q.setRoi(0, 3, 1, 30, 19);
    ozlThreshold(p, q, -7);
    ozlThreshold(ts, td, -7);
    EXPECT_EQ(td.pixels().bytes(), q.bytes());
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ReduceBits, PlainReductionDropsTheLowBits) {
    ErrorCapture errors;
    for (auto [depth, bits] : {std::pair{OZL_DEPTH_8U, 8}, {OZL_DEPTH_16U, 16}})
        for (int n = 1; n <= bits; ++n) {
            TestImage s(depth, 67, 3, 3), d(depth, 67, 3, 3);
            s.fillRandom(static_cast<uint32_t>(n));
            d.fillRandom(9);
            const TestImage before = d.clone();
            ozlReduceBits(s, d, n, OZL_DITHER_NONE);
            const uint32_t keep = ((1u << bits) - 1) & ~((1u << (bits - n)) - 1);
            expectPixelwise(before, d, s, nullptr, [&](double a, double) {
                return static_cast<double>(static_cast<uint32_t>(a) & keep);
            });
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Over each 8x8 area of one value v the mean of the results is v to within
// q / 128, and every result is a level, one of the two around v.
TEST(ReduceBits, OrderedDitheringKeepsTheMeanOfFlatAreas) {
    ErrorCapture errors;
    for (auto [depth, bits] : {std::pair{OZL_DEPTH_8U, 8}, {OZL_DEPTH_16U, 16}})
        for (int n : {1, 2, 3, 5, bits - 1, bits}) {
            const double q = static_cast<double>(1 << (bits - n));
            const double top = ((1 << n) - 1) * q;
            for (double v : {0.0, 1.0, q / 3, q / 2 + 1, top / 2 + 3, top - 1, top}) {
                v = std::floor(v);
                SCOPED_TRACE(testing::Message() << "bits " << bits << " n " << n << " v " << v);
                TestImage s(depth, 19, 17), d(depth, 16, 16);
                s.fill(v);
                s.setRoi(0, 3, 1, 16, 16);  // the matrix follows the region, not the image
                ozlReduceBits(s, d, n, OZL_DITHER_ORDERED);
                for (int by = 0; by < 16; by += 8)
                    for (int bx = 0; bx < 16; bx += 8) {
                        double sum = 0;
                        for (int y = by; y < by + 8; ++y)
                            for (int x = bx; x < bx + 8; ++x) {
                                const double r = d.at(x, y);
                                ASSERT_TRUE(r == std::floor(v / q) * q || r == std::floor(v / q) * q + q) << r;
                                sum += r;
                            }
                        EXPECT_LE(std::abs(sum / 64 - v), q / 128);
                    }
            }
        }
    // The first row of the matrix at one bit: 100 + (2m + 1) crosses 128 from m = 14.
    TestImage s(OZL_DEPTH_8U, 8, 1), d(OZL_DEPTH_8U, 8, 1);
    s.fill(100);
    ozlReduceBits(s, d, 1, OZL_DITHER_ORDERED);
    const double row0[] = {0, 128, 0, 128, 0, 128, 0, 128};  // ranks 0 32 8 40 2 34 10 42
    for (int x = 0; x < 8; ++x) EXPECT_EQ(d.at(x, 0), row0[x]) << x;
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Floyd-Steinberg written out directly on doubles of the region, the error
// split as documented; and the mean of a flat area kept.
TEST(ReduceBits, ErrorDiffusion) {
    ErrorCapture errors;
    const int w = 23, h = 9, n = 3, drop = 5, q = 32;
    TestImage s(OZL_DEPTH_8U, w + 2, h, 2, OZL_DATA_ORDER_PLANE), d(OZL_DEPTH_8U, w, h, 2, OZL_DATA_ORDER_PIXEL);
    TestImage mask(OZL_DEPTH_1U, w, h);
    s.fillRandom(3);
    d.fillRandom(4);
    mask.fillRandom(5);
    s.setRoi(0, 2, 0, w, h);
    d.setMask(&mask);
    const TestImage before = d.clone();
    ozlReduceBits(s, d, n, OZL_DITHER_ERROR_DIFFUSION);
    for (int c = 0; c < 2; ++c) {
        std::vector<std::vector<int>> carry(h + 1, std::vector<int>(w + 2, 0));
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int want = static_cast<int>(s.at(x + 2, y, c)) + carry[y][x + 1];
                const int out = std::clamp((want + q / 2) >> drop, 0, (1 << n) - 1) << drop;
                const int e = want - out;
                const int r = e * 7 / 16, l = e * 3 / 16, u = e * 5 / 16;
                carry[y][x + 2] += r;
                carry[y + 1][x] += l;
                carry[y + 1][x + 1] += u;
                carry[y + 1][x + 2] += e - r - l - u;
                const double expected = mask.at(x, y) ? out : before.at(x, y, c);
                ASSERT_EQ(d.at(x, y, c), expected) << x << ", " << y << " channel " << c;
            }
    }
    TestImage flat(OZL_DEPTH_16U, 64, 64), out(OZL_DEPTH_16U, 64, 64);
    flat.fill(1000);
    ozlReduceBits(flat, out, 4, OZL_DITHER_ERROR_DIFFUSION);
    double sum = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) sum += out.at(x, y);
    EXPECT_NEAR(sum / 4096, 1000, 4096.0 / 64);  // what falls off the right and bottom edges
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ReduceBits, TiledImagesGiveTheUntiledResult) {
    ErrorCapture errors;
    for (int type : {OZL_DITHER_NONE, OZL_DITHER_ORDERED, OZL_DITHER_ERROR_DIFFUSION}) {
        TiledImage ts(OZL_DEPTH_8U, 37, 21, 3, 0, 16, 8), td(OZL_DEPTH_8U, 37, 21, 3, 0, 8, 16);
        TestImage s(OZL_DEPTH_8U, 37, 21, 3), d(OZL_DEPTH_8U, 37, 21, 3);
        ts.pixels().fillRandom(1);
        s.fillRandom(1);
        td.pixels().fillRandom(2);
        d.fillRandom(2);
        ts.setRoi(0, 5, 2, 30, 17);
        s.setRoi(0, 5, 2, 30, 17);
        ozlReduceBits(s, d, 2, type);
        ozlReduceBits(ts, td, 2, type);
        EXPECT_EQ(td.pixels().bytes(), d.bytes()) << type;
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ThresholdRefusals, DepthsArgumentsAndAgreement) {
    ErrorCapture errors;
    TestImage u8(OZL_DEPTH_8U, 5, 2), f(OZL_DEPTH_32F, 5, 2), s8(OZL_DEPTH_8S, 5, 2), rgb(OZL_DEPTH_8U, 5, 2, 3);
    TestImage bad(OZL_DEPTH_8U, 5, 2), u16(OZL_DEPTH_16U, 5, 2);
    bad->imageData = nullptr;
    TestImage d(OZL_DEPTH_8U, 5, 2);
    d.fillRandom(1);
    const auto before = d.bytes();
    ozlThreshold(bad, d, 1);
    expectRefused(errors, d, before, {-12, "ozlThreshold", "Incorrect Image", "ozlthresh", 30});
    ozlThreshold(u8, bad, 1);
    expectRefused(errors, d, before, {-12, "ozlThreshold", "Incorrect Image", "ozlthresh", 31});
    ozlThreshold(f, d, 1);
    expectRefused(errors, d, before, {-17, "ozlThreshold", "srcImage->depth == 1 || srcImage->depth == 32", "ozlthresh", 32});
    ozlThreshold(s8, d, 1);
    expectRefused(errors, d, before, {-17, "ozlThreshold", "dstImage->depth != srcImage->depth && dstImage->depth != 1", "ozlthresh", 32});
    ozlThreshold(rgb, d, 1);
    expectRefused(errors, d, before, {-5, "ozlThreshold", "Number of processed channels of srcImage != Number of processed channels of dstImage", "ozlthresh", 34});

    ozlReduceBits(bad, d, 1, 0);
    expectRefused(errors, d, before, {-12, "ozlReduceBits", "Incorrect Image", "ozlreduce", 60});
    ozlReduceBits(s8, d, 1, 0);
    expectRefused(errors, d, before, {-17, "ozlReduceBits", "srcImage->depth != 8 && srcImage->depth != 16", "ozlreduce", 62});
    ozlReduceBits(u16, d, 1, 0);
    expectRefused(errors, d, before, {-17, "ozlReduceBits", "srcImage->depth != dstImage->depth", "ozlreduce", 62});
    for (int n : {0, 9}) {
        ozlReduceBits(u8, d, n, 0);
        expectRefused(errors, d, before, {-5, "ozlReduceBits", "nBits < 1 || nBits > srcImage->depth", "ozlreduce", 65});
    }
    ozlReduceBits(u8, d, 4, 3);
    expectRefused(errors, d, before, {-5, "ozlReduceBits", "Unknown dither type", "ozlreduce", 65});
    ozlReduceBits(rgb, d, 4, OZL_DITHER_ORDERED);
    expectRefused(errors, d, before, {-5, "ozlReduceBits", "Number of processed channels of srcImage != Number of processed channels of dstImage", "ozlreduce", 64});

    TiledImage ts(OZL_DEPTH_8U, 5, 2, 1, 0, 8, 8);
    ts.failFetch(1);
    ozlReduceBits(ts, d, 4, OZL_DITHER_ERROR_DIFFUSION);
    expectRefused(errors, d, before, {-2, "ozlReduceBits", "Error get tile to read", "ozlreduce", 71});
}

}  // namespace
