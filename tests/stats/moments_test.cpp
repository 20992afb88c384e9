// Moments: the ten sums of every depth against exact sums of the region (COI,
// masks, offsets, tiles, rows longer than a kernel run), central moments by
// their definition, the normalisations, the wrapped 32-bit divisor, refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "ozl.h"
#include "stats/region_walk.hpp"

namespace {

using namespace ozl::test;

struct Sums { double v[4][4] = {}; };

// Sum of x^m y^n I over the region's admitted pixels: exact in 64 bits for the
// images used here (integer depths), in long double for 32F.
Sums referenceSums(const TestImage& im, const OzlImage* mask = nullptr) {
    const int c = processedChannels(im)[0];
    const Rect r = regionOf(im);
    int64_t exact[4][4] = {};
    long double real[4][4] = {};
    forSharedRegion(im, {}, {mask}, [&](int dx, int dy) {
        const int64_t x = r.x + dx, y = r.y + dy;
        const double v = im.at(r.x + dx, r.y + dy, c);
        for (int m = 0; m <= 3; ++m)
            for (int n = 0; m + n <= 3; ++n) {
                int64_t w = 1;
                for (int i = 0; i < m; ++i) w *= x;
                for (int i = 0; i < n; ++i) w *= y;
                exact[m][n] += w * static_cast<int64_t>(v);
                real[m][n] += static_cast<long double>(w) * v;
            }
    });
    Sums s;
    const bool isFloat = im->depth == OZL_DEPTH_32F;
    for (int m = 0; m <= 3; ++m)
        for (int n = 0; m + n <= 3; ++n)
            s.v[m][n] = isFloat ? static_cast<double>(real[m][n]) : static_cast<double>(exact[m][n]);
    return s;
}

void expectSums(const OzlMomentState state, const Sums& ref, bool isFloat) {
    for (int m = 0; m <= 3; ++m)
        for (int n = 0; m + n <= 3; ++n) {
            if (isFloat)
                EXPECT_NEAR(state[m][n].value, ref.v[m][n], 1e-9 * (1 + std::fabs(ref.v[m][n]))) << m << n;
            else
                EXPECT_EQ(state[m][n].value, ref.v[m][n]) << m << n;
        }
}

struct Layout { int width, height, nCh, order, coi, x, y, w, h; };

using Moments = StatsTest;

const unsigned kAllDepths[] = {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};

TEST_F(Moments, EveryDepthAgainstExactSums) {
    std::mt19937 rng(7);
    for (unsigned depth : kAllDepths) {
        const bool bits = depth == OZL_DEPTH_1U;
        const Layout layouts[] = {
            {71, 9, 1, OZL_DATA_ORDER_PIXEL, 0, 5, 2, 60, 7},
            {40, 6, 3, OZL_DATA_ORDER_PIXEL, 2, 1, 1, 50, 5},  // cut at the edge
            {33, 5, 3, OZL_DATA_ORDER_PLANE, 3, 0, 0, 33, 5},
            {97, 4, 4, OZL_DATA_ORDER_PIXEL, 1, 3, 0, 90, 4},
        };
        for (const Layout& l : layouts) {
            if (bits && l.nCh > 1) continue;
            SCOPED_TRACE(testing::Message() << "depth 0x" << std::hex << depth << std::dec << " " << l.width << "x" << l.nCh);
            TestImage im(depth, l.width, l.height, l.nCh, l.order);
            im.fillRandom(rng());
            im.setRoi(l.coi, l.x, l.y, l.w, l.h);
            OzlMomentState state = {};
            ozlMoments(im, state);
            expectSums(state, referenceSums(im), depth == OZL_DEPTH_32F);
            // Scales are products of 1/W and 1/H.
            const double iw = 1.0 / regionOf(im).width, ih = 1.0 / regionOf(im).height;
            EXPECT_EQ((std::vector<double>{state[0][0].scale, state[1][0].scale, state[2][1].scale, state[0][3].scale}),
                      (std::vector<double>{1.0, iw, iw * iw * ih, ih * ih * ih}));
            EXPECT_EQ(state[2][2].value, 0.0);  // beyond order 3: never written
            for (int m = 0; m <= 3; ++m)
                for (int n = 0; m + n <= 3; ++n) EXPECT_EQ(ozlSpatialMoment(im, m, n), state[m][n].value);

            // The mask keeps pixels out.
            TestImage mask(OZL_DEPTH_1U, l.width + 3, l.height);
            mask.fillRandom(rng());
            mask.setRoi(0, 3, 0, l.w, l.h);
            im.setMask(&mask);
            ozlMoments(im, state);
            expectSums(state, referenceSums(im, mask), depth == OZL_DEPTH_32F);
            im.setMask(nullptr);
        }
    }
}

// Rows longer than one kernel run (16384 bytes, 256 32-bit values), 32-bit
// values whose products a double could not add up exactly, and tiles.
TEST_F(Moments, LongRowsLargeProductsAndTilesAreExact) {
    TestImage bytes(OZL_DEPTH_8U, 16500, 2);
    bytes.fillRandom(3, 0, 100);  // M30 stays within the 64-bit reference
    TestImage ints(OZL_DEPTH_32S, 400, 2);
    for (int x = 0; x < 400; ++x)
        for (int y = 0; y < 2; ++y) ints.put(x, y, 0, (x + y) % 2 ? 2147483647.0 : -2147483647.0);
    ints.setRoi(0, 3, 0, 397, 2);
    for (TestImage* im : {&bytes, &ints}) {
        OzlMomentState state;
        ozlMoments(*im, state);
        expectSums(state, referenceSums(*im), false);
    }
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16U, OZL_DEPTH_32S, OZL_DEPTH_32F}) {
        TiledImage tiled(depth, 75, 37, 2, OZL_DATA_ORDER_PIXEL, 16, 8);
        tiled.pixels().fillRandom(depth, -50000, 50000);
        tiled.setRoi(2, 5, 3, 64, 30), tiled.pixels().setRoi(2, 5, 3, 64, 30);
        TestImage mask(OZL_DEPTH_1U, 64, 30);
        mask.fillRandom(4);
        for (OzlImage* m : {static_cast<OzlImage*>(nullptr), static_cast<OzlImage*>(mask)}) {
            tiled->maskROI = m;
            OzlMomentState state;
            ozlMoments(tiled, state);
            expectSums(state, referenceSums(tiled.pixels(), m), depth == OZL_DEPTH_32F);
        }
        tiled->maskROI = nullptr;
    }
}

// mu_mn by its definition, sum (x - xc)^m (y - yc)^n I, with the centroid.
TEST_F(Moments, CentralMomentsMatchTheirDefinition) {
    TestImage im(OZL_DEPTH_16U, 23, 17);
    im.fillRandom(11, 0, 1000);
    im.setRoi(0, 4, 6, 15, 9);
    const Sums s = referenceSums(im);
    const long double xc = s.v[1][0] / s.v[0][0], yc = s.v[0][1] / s.v[0][0];
    OzlMomentState state;
    ozlMoments(im, state);
    for (int m = 0; m <= 3; ++m)
        for (int n = 0; m + n <= 3; ++n) {
            long double mu = 0;
            for (int y = 6; y < 15; ++y)
                for (int x = 4; x < 19; ++x)
                    mu += std::pow(x - xc, m) * std::pow(y - yc, n) * im.at(x, y);
            const double scale = state[m][n].scale;
            const double tol = 1e-7 * (std::fabs(static_cast<double>(mu)) + s.v[0][0] * 100);
            EXPECT_NEAR(ozlGetCentralMoment(state, m, n), static_cast<double>(mu), tol) << m << n;
            EXPECT_NEAR(ozlCentralMoment(im, m, n), static_cast<double>(mu), tol) << m << n;
            EXPECT_NEAR(ozlNormalizedCentralMoment(im, m, n), static_cast<double>(mu) * scale, tol * scale);
            EXPECT_EQ(ozlGetNormalizedCentralMoment(state, m, n), ozlGetCentralMoment(state, m, n) * scale);
            EXPECT_EQ(ozlGetNormalizedSpatialMoment(state, m, n), state[m][n].value * scale);
            EXPECT_EQ(ozlGetSpatialMoment(state, m, n), state[m][n].value);
        }
    EXPECT_EQ(ozlGetCentralMoment(state, 1, 0), 0.0);
    EXPECT_EQ(ozlGetCentralMoment(state, 0, 1), 0.0);

    // Two pixels at (x0, 0) and (x0 + 2, 0): mu20 = 2, exactly.
    TestImage two(OZL_DEPTH_8U, 30, 1);
    two.put(20, 0, 0, 1), two.put(22, 0, 0, 1);
    EXPECT_EQ((std::vector<double>{ozlCentralMoment(two, 2, 0), ozlCentralMoment(two, 3, 0), ozlCentralMoment(two, 0, 2)}),
              (std::vector<double>{2, 0, 0}));

    // No mass: about the region's centre, finite.
    TestImage dark(OZL_DEPTH_8U, 10, 4);
    OzlMomentState d;
    ozlMoments(dark, d);
    d[1][0].value = 3, d[0][1].value = 1;  // moments about the centre (5, 2) are visible again
    EXPECT_EQ((std::vector<double>{ozlGetCentralMoment(d, 2, 0), ozlGetCentralMoment(d, 1, 1), ozlGetCentralMoment(d, 0, 2)}),
              (std::vector<double>{-15, -5, -2}));
}

TEST_F(Moments, NormalizedSpatialMomentDividesByTheWrappedProduct) {
    TestImage im(OZL_DEPTH_8U, 2000, 2);
    im.fill(1);
    im.setRoi(0, 0, 1, 2000, 1);
    const double m30 = ozlSpatialMoment(im, 3, 0);
    EXPECT_EQ(m30, 3996001000000.0);  // sum of x^3, x < 2000
    // 2000^3 = 8e9 wraps to -589934592 in 32 bits.
    EXPECT_EQ(ozlNormalizedSpatialMoment(im, 3, 0), m30 / -589934592.0);
    EXPECT_EQ(ozlNormalizedSpatialMoment(im, 1, 2), ozlSpatialMoment(im, 1, 2) / 2000.0);
    EXPECT_EQ(ozlNormalizedSpatialMoment(im, 0, 0), 2000.0);
}

TEST_F(Moments, RefusalsAndEmptyRegions) {
    TestImage rgb(OZL_DEPTH_8U, 5, 5, 3);
    OzlMomentState state, before;
    std::memset(state, 0x55, sizeof state), std::memset(before, 0x55, sizeof state);
    auto expectReport = [&](const char* func, OzlStatus status, const char* message, int line) {
        ASSERT_EQ(errors.count(), 1u) << func;
        EXPECT_EQ(errors.last(), (ErrorReport{status, func, message, "ozlMoms", line}));
        EXPECT_EQ(std::memcmp(state, before, sizeof state), 0);
        errors.clear();
    };
    ozlMoments(rgb, state);
    expectReport("ozlMoments", OZL_StsBadArg, "Only one channel can be proceed", 88);
    ozlMoments(nullptr, state);
    expectReport("ozlMoments", OZL_StsHeaderIsNull, "Incorrect Image", 84);
    rgb.setRoi(1, 0, 0, 5, 5);
    ozlMoments(rgb, nullptr);
    expectReport("ozlMoments", OZL_StsBadArg, "(state == NULL)", 61);

    using ImageFn = double(OZL_CALL*)(OzlImage*, int, int);
    using StateFn = double(OZL_CALL*)(OzlMomentState, int, int);
#define NAMED(f) std::pair(f, #f)
    const std::pair<ImageFn, const char*> imageFns[] = {NAMED(ozlSpatialMoment), NAMED(ozlNormalizedSpatialMoment),
                                                        NAMED(ozlCentralMoment), NAMED(ozlNormalizedCentralMoment)};
    const std::pair<StateFn, const char*> stateFns[] = {NAMED(ozlGetSpatialMoment), NAMED(ozlGetNormalizedSpatialMoment),
                                                        NAMED(ozlGetCentralMoment), NAMED(ozlGetNormalizedCentralMoment)};
#undef NAMED
    for (const auto& o : {std::pair(2, 2), {-1, 0}, {0, 4}, {4, 0}, {1, 3}}) {
        for (const auto& [fn, name] : imageFns) {
            EXPECT_EQ(fn(rgb, o.first, o.second), 0.0);
            expectReport(name, OZL_StsBadArg, "Illegal order of moment", 58);
        }
        for (const auto& [fn, name] : stateFns) {
            EXPECT_EQ(fn(state, o.first, o.second), 0.0);
            expectReport(name, OZL_StsBadArg, "Illegal order of moment", 58);
        }
    }
    rgb.setRoi(0, 0, 0, 5, 5);
    for (const auto& [fn, name] : imageFns) {
        EXPECT_EQ(fn(rgb, 3, 0), 0.0);
        expectReport(name, OZL_StsBadArg, "Only one channel can be proceed", 88);
    }
    for (const auto& [fn, name] : stateFns) {
        EXPECT_EQ(fn(nullptr, 0, 3), 0.0);
        expectReport(name, OZL_StsBadArg, "(state == NULL)", 61);
    }

    // A region past the image: nothing to sum, no report, the state untouched.
    TestImage gray(OZL_DEPTH_8U, 5, 5);
    gray.fill(9);
    gray.setRoi(0, 5, 0, 3, 3);
    ozlMoments(gray, state);
    for (const auto& [fn, name] : imageFns) EXPECT_EQ(fn(gray, 1, 1), 0.0) << name;
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(std::memcmp(state, before, sizeof state), 0);

    // A tile that cannot be fetched; the image's own region pointer comes back.
    TiledImage tiled(OZL_DEPTH_8U, 24, 8, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    tiled.setRoi(0, 2, 0, 20, 8);
    const OzlROI* own = tiled->roi;
    tiled.failFetch(3);
    ozlMoments(tiled, state);
    expectReport("ozlMoments", OZL_StsError, "Error get tile to read", 117);
    EXPECT_EQ(tiled->roi, own);
    EXPECT_EQ(own->xOffset, 2);
}

}  // namespace
