// ozlDCT2D: coefficients against the directly summed transform, round trips,
// integer depths, channels and tiles.
#include <gtest/gtest.h>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "transform/reference.hpp"

namespace {

using namespace ozl::test;

Grid dctOf(const Grid& f, int flags) {
    TestImage src(OZL_DEPTH_32F, f.w, f.h), dst(OZL_DEPTH_32F, f.w, f.h);
    putGrid(src, f);
    ozlDCT2D(src, dst, flags);
    return gridOf(dst, f.w, f.h);
}

TEST(Dct, MatchesTheDirectSumAndComesBack) {
    ErrorCapture errors;
    const int sizes[][2] = {{1, 1}, {2, 2}, {3, 5}, {8, 8}, {7, 13}, {16, 9},
                            {12, 10}, {17, 3}, {1, 6}, {22, 1}, {33, 20}};
    for (const auto& s : sizes) {
        SCOPED_TRACE(testing::Message() << s[0] << "x" << s[1]);
        const Grid f = randomGrid(s[0], s[1], 3 + s[0] * 7 + s[1]);
        const Grid c = dctOf(f, OZL_DCT_FORWARD);
        EXPECT_LT(relativeError(c, dct2(f)), 2e-6);
        EXPECT_LT(relativeError(dctOf(c, OZL_DCT_INVERSE), f), 2e-6);
    }
    // A constant has its only coefficient at (0, 0): c * sqrt(N).
    Grid constant(6, 4);
    for (double& v : constant.v) v = 2;
    Grid want(6, 4);
    want.at(0, 0) = 2 * std::sqrt(24.0);
    EXPECT_LT(relativeError(dctOf(constant, OZL_DCT_FORWARD), want), 2e-6);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// 8U and 16S images come back exactly through 32F coefficients, from plain,
// multi-channel and tiled images alike.
TEST(Dct, IntegerImagesChannelsAndTiles) {
    ErrorCapture errors;
    const int w = 24, h = 16;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S}) {
        TestImage src(depth, w, h, 3, OZL_DATA_ORDER_PLANE), coef(OZL_DEPTH_32F, w, h, 3);
        TestImage back(depth, w, h, 3);
        src.fillRandom(depth);
        ozlDCT2D(src, coef, OZL_DCT_FORWARD);
        ozlDCT2D(coef, back, OZL_DCT_INVERSE);
        for (int c = 0; c < 3; ++c) EXPECT_EQ(gridOf(back, w, h, c).v, gridOf(src, w, h, c).v);

        TiledImage tiled(depth, w, h, 3, OZL_DATA_ORDER_PIXEL, 16, 8);
        TiledImage tiledCoef(OZL_DEPTH_32F, w, h, 3, OZL_DATA_ORDER_PLANE, 8, 8);
        for (int c = 0; c < 3; ++c) putGrid(tiled.pixels(), gridOf(src, w, h, c), c);
        ozlDCT2D(tiled, tiledCoef, OZL_DCT_FORWARD);
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(gridOf(tiledCoef.pixels(), w, h, c).v, gridOf(coef, w, h, c).v);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

}  // namespace
