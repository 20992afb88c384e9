// The colour twist through the public interface: the record's checks, every
// refusal in order, results against an exact integer statement on both paths
// and depths, extra channels, masks, regions, COI, tiles, in place.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "color/color_check.hpp"

namespace {

using namespace ozl::test;
using ColorTwist = ColorTest;

constexpr unsigned k8U = OZL_DEPTH_8U, k16U = OZL_DEPTH_16U, k32F = OZL_DEPTH_32F;

// The twist of pixel (x, y) of src, saturated to the depth.
double twisted(const int* row, int s, int offset, const TestImage& src, int x, int y, unsigned depth) {
    const int64_t v = twistExact(row, s, offset, int64_t(src.at(x, y, 0)), int64_t(src.at(x, y, 1)),
                                 int64_t(src.at(x, y, 2)));
    return static_cast<double>(std::clamp<int64_t>(v, 0, depth == k8U ? 255 : 65535));
}

struct TwistRecord {
    OzlColorTwist* t;
    TwistRecord(const int* data, int s) : t(ozlCreateColorTwist(data, s)) {}
    ~TwistRecord() { ozlDeleteColorTwist(t); }
};

TEST_F(ColorTwist, RecordChecksItsArguments) {
    const int data[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, other[16] = {9};
    for (int bad : {-1, 32, 3}) {
        EXPECT_EQ(ozlCreateColorTwist(bad == 3 ? nullptr : data, bad), nullptr);
        EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlCreateColorTwist", "bad_argument", "ozltwist", 38}));
    }
    TwistRecord r(data, 31);
    ASSERT_NE(r.t, nullptr);
    EXPECT_EQ(r.t->scalingValue, 31);
    EXPECT_TRUE(std::equal(data, data + 16, r.t->data));
    const struct {
        OzlColorTwist* t;
        const int* d;
        int s;
        const char* message;
        int line;
    } sets[] = {{nullptr, nullptr, -1, "cTwist==0", 61}, {r.t, nullptr, -1, "(data == 0)", 62},
                {r.t, data, -1, "(scalingValue < 0)", 63}, {r.t, data, 32, "(scalingValue > 31)", 64}};
    for (const auto& c : sets) {
        EXPECT_EQ(ozlSetColorTwist(c.t, c.d, c.s), -5);
        EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlSetColorTwist", c.message, "ozltwist", c.line}));
    }
    errors.clear();
    EXPECT_EQ(ozlSetColorTwist(r.t, other, 0), 0);
    EXPECT_TRUE(r.t->data[0] == 9 && r.t->scalingValue == 0);
    ozlDeleteColorTwist(nullptr);
}

OzlImage* gMask;  // a 1-bit mask with origin BL, for the mask origin checks

// Both forms, on changed copies of valid headers (8U, and 32F for the float form).
TEST_F(ColorTwist, RefusesInTheDocumentedOrder) {
    const int data[16] = {128, 0, 0, 0, 0, 128, 0, 0, 0, 0, 128, 0};
    const float m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    TwistRecord r(data, 7);
    TestImage mask(OZL_DEPTH_1U, 9, 4);
    mask->origin = OZL_ORIGIN_BL;
    gMask = mask;
    const struct {
        bool fp;
        Change setup;
        const char* message;
        int line;
        OzlStatus status = -5;
    } cases[] = {
        {false, [](OzlImage* s, OzlImage*) { s->nChannels = 0; }, "Incorrect Image", 101, -15},
        {false, [](OzlImage*, OzlImage* d) { d->widthStep = 0; }, "Incorrect Image", 102, -13},
        {false, [](OzlImage* s, OzlImage*) { s->nChannels = 2; }, "(srcImage->nChannels < 3)", 107},
        {false, [](OzlImage* s, OzlImage*) { s->alphaChannel = 3; },
         "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))", 108},
        {false, [](OzlImage* s, OzlImage*) { s->nChannels = 4, s->alphaChannel = 1; }, "Incorrect Image", 101, -18},
        {false, [](OzlImage*, OzlImage* d) { d->nChannels = 1; }, "(dstImage->nChannels < 3)", 110},
        {false, [](OzlImage*, OzlImage* d) { d->alphaChannel = 3; },
         "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))", 111},
        {false, [](OzlImage* s, OzlImage*) { s->depth = k16U; }, "(srcImage->depth != dstImage->depth)", 115},
        {false, [](OzlImage* s, OzlImage* d) { s->depth = d->depth = OZL_DEPTH_8S; },
         "((srcImage->depth != 8) && (srcImage->depth != 16))", 116},
        {false, [](OzlImage*, OzlImage* d) { d->dataOrder = 1; }, "(srcImage->dataOrder != dstImage->dataOrder)", 118},
        {false, [](OzlImage* s, OzlImage*) { s->origin = 1; }, "(srcImage->origin != dstImage->origin)", 120},
        {false, [](OzlImage* s, OzlImage*) { s->maskROI = gMask; }, "(srcImage->origin != srcImage->maskROI->origin)", 121},
        {false, [](OzlImage*, OzlImage* d) { d->maskROI = gMask; }, "(dstImage->origin != dstImage->maskROI->origin)", 122},
        {true, [](OzlImage* s, OzlImage*) { s->depth = k8U; }, "((srcImage->depth != 32)|| (dstImage->depth != 32))", 40},
        {true, [](OzlImage* s, OzlImage*) { s->nChannels = 2; }, "(srcImage->nChannels < 3)", 42},
        {true, [](OzlImage*, OzlImage* d) { d->alphaChannel = 3; },
         "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))", 46},
        {true, [](OzlImage* s, OzlImage*) { s->dataOrder = 1; }, "(srcImage->dataOrder != dstImage->dataOrder)", 49},
        {true, [](OzlImage*, OzlImage* d) { d->origin = 1; }, "(srcImage->origin != dstImage->origin)", 51},
    };
    ErrorCapture errors;
    TestImage src(k8U, 9, 4, 3), dst(k8U, 9, 4, 3), srcF(k32F, 5, 3, 3), dstF(k32F, 5, 3, 3);
    dst.fillRandom(1);
    for (const auto& c : cases)
        refuseOnCopies(errors, c.fp ? srcF : src, c.fp ? dstF : dst, c.setup,
                       [&](OzlImage* s, OzlImage* d) { c.fp ? ozlColorTwistFP(s, d, m) : ozlApplyColorTwist(s, d, r.t, 0); },
                       {c.status, c.fp ? "ozlColorTwistFP" : "ozlApplyColorTwist", c.message,
                        c.fp ? "ozltwstf" : "ozltwist", c.line});
    ozlApplyColorTwist(src, dst, nullptr, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlApplyColorTwist", "cTwist==0", "ozltwist", 104}));
    errors.clear();
    const auto before = dstF.bytes();
    ozlColorTwistFP(srcF, dstF, nullptr);
    expectRefused(errors, dstF, before, {-5, "ozlColorTwistFP", "(TwistFP == ((void*)(0)))", "ozltwstf", 38});
    ozlColorTwistFP(nullptr, dstF, m);
    expectRefused(errors, dstF, before, {-9, "ozlColorTwistFP", "Incorrect Image", "ozltwstf", 35});
    // The alpha test of an image whose alpha is not its last channel cannot be
    // reached through a valid header: the header check refuses it first (-18).
}

// Random images and matrices, scales and offsets chosen to reach both paths:
// every value against the exact statement; the
// fourth channel and the alpha channel of the destination keep their values;
// in place gives the same.
TEST_F(ColorTwist, ComputesTheScaledRoundedSumOnBothPaths) {
    std::mt19937 rng(3);
    for (unsigned depth : {k8U, k16U})
        for (int trial = 0; trial < 40; ++trial) {
            const int s = trial % 4 == 0 ? static_cast<int>(rng() % 32) : static_cast<int>(rng() % 9);
            int data[16];
            const int span = trial % 3 == 0 ? 70000 : 2 << s;  // beyond 16 bits, or near the scale
            for (int& v : data) v = static_cast<int>(rng() % (2 * span + 1)) - span;
            if (trial % 5 == 0) data[3] = data[7] = data[11] = 0;
            const int offset = trial % 2 ? static_cast<int>(rng() % 256) - 128 : 0, nCh = 3 + trial % 2;
            TwistRecord r(data, s);
            TestImage src(depth, 37, 3, nCh), dst(depth, 37, 3, nCh, OZL_DATA_ORDER_PIXEL, trial % 4 == 1);
            src.fillRandom(trial), dst.fillRandom(trial + 1);
            const TestImage before = dst.clone();
            ozlApplyColorTwist(src, dst, r.t, offset);
            TestImage same = src.clone();  // in place
            ozlApplyColorTwist(same, same, r.t, offset);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 37; ++x) {
                    for (int i = 0; i < 3; ++i) {
                        ASSERT_EQ(dst.at(x, y, i), twisted(data + 4 * i, s, offset, src, x, y, depth))
                            << "trial " << trial << " channel " << i;
                        ASSERT_EQ(same.at(x, y, i), dst.at(x, y, i)) << "in place";
                    }
                    if (nCh == 4) ASSERT_EQ(dst.at(x, y, 3), before.at(x, y, 3));
                }
        }
}

// Masks of both images combine; the region of interest is honoured, its
// channel of interest is not (a twist needs three channels); tiles give the
// untiled result.
TEST_F(ColorTwist, HonoursMasksRegionsAndTilesButNotTheChannelOfInterest) {
    const int data[16] = {100, 20, 8, 300, -30, 90, 60, 0, 10, 0, 118, -500, 0, 0, 0, 0};
    TwistRecord r(data, 7);
    ErrorCapture errors;
    TestImage src(k8U, 40, 6, 3), plain(k8U, 40, 6, 4), srcMask(OZL_DEPTH_1U, 40, 6), dstMask(OZL_DEPTH_1U, 40, 6);
    src.fillRandom(1), plain.fillRandom(2), srcMask.fillRandom(3), dstMask.fillRandom(4);
    const TestImage before = plain.clone();
    TestImage masked = plain.clone();
    src.setMask(&srcMask), masked.setMask(&dstMask);
    masked.setRoi(2, 3, 1, 30, 4);  // coi 2: ignored
    src.setRoi(0, 5, 2, 40, 10);    // clipped to 35 x 4
    ozlApplyColorTwist(src, masked, r.t, 0);
    src.setMask(nullptr), src.clearRoi();
    ozlApplyColorTwist(src, plain, r.t, 0);
    TiledImage tiledSrc(k8U, 40, 6, 3, OZL_DATA_ORDER_PIXEL, 16, 8), tiledDst(k8U, 40, 6, 3, OZL_DATA_ORDER_PIXEL, 8, 8);
    forEachValue(src, [&](int x, int y, int c) { tiledSrc.pixels().put(x, y, c, src.at(x, y, c)); });
    ozlApplyColorTwist(tiledSrc, tiledDst, r.t, 0);
    EXPECT_TRUE(errors.empty());
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 40; ++x)
            for (int c = 0; c < 4; ++c) {
                // Region (3..32, 1..4) of the destination, fed from (x + 2, y + 1) of the source.
                const bool on = x >= 3 && x < 33 && y >= 1 && y < 5 && srcMask.at(x - 3, y - 1) && dstMask.at(x - 3, y - 1);
                const double expected = on && c < 3 ? twisted(data + 4 * c, 7, 0, src, x + 2, y + 1, k8U) : before.at(x, y, c);
                ASSERT_EQ(masked.at(x, y, c), expected) << x << "," << y << " channel " << c;
                if (c < 3) ASSERT_EQ(tiledDst.pixels().at(x, y, c), plain.at(x, y, c));
            }
}

TEST_F(ColorTwist, FloatFormComputesSinglePrecisionSums) {
    const float m[16] = {0.5f, 0.25f, -1.5f, 2.0f, 1e20f, 0, 0, 0, 0, -1, 0, -0.125f, 9, 9, 9, 9};
    TestImage src(k32F, 21, 2, 3, OZL_DATA_ORDER_PLANE), dst(k32F, 21, 2, 4, OZL_DATA_ORDER_PLANE);
    src.fillRandom(8), dst.fillRandom(9);
    const TestImage before = dst.clone();
    ozlColorTwistFP(src, dst, m);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 21; ++x) {
            const float a = float(src.at(x, y, 0)), b = float(src.at(x, y, 1)), c = float(src.at(x, y, 2));
            for (int i = 0; i < 3; ++i)
                ASSERT_EQ(dst.at(x, y, i), m[4 * i] * a + m[4 * i + 1] * b + m[4 * i + 2] * c + m[4 * i + 3]);
            ASSERT_EQ(dst.at(x, y, 3), before.at(x, y, 3));
        }
}

}  // namespace
