// The zone plate: its formula at every depth, the rounding to levels, its
// symmetry about the centre, the whole range used, and the refusals.
#include <gtest/gtest.h>

#include <cmath>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;

double plate(int x, int y, int w, int h) {
    const double dx = x - (w - 1) / 2.0, dy = y - (h - 1) / 2.0;
    return std::sin(3.14159265358979323846 * (dx * dx + dy * dy) / std::max(w, h));
}

TEST(Jaehne, EveryDepthFollowsTheFormula) {
    ErrorCapture errors;
    struct Range {
        unsigned depth;
        double lo, hi;
    };
    const Range ranges[] = {{OZL_DEPTH_8U, 0, 255},          {OZL_DEPTH_8S, -128, 127},
                            {OZL_DEPTH_16U, 0, 65535},       {OZL_DEPTH_16S, -32768, 32767},
                            {OZL_DEPTH_32S, -2147483648.0, 2147483647.0}};
    const int w = 41, h = 30;
    for (const Range& r : ranges) {
        SCOPED_TRACE(r.depth);
        OzlImage* im = ozlCreateImageJaehne(r.depth, w, h);
        ASSERT_NE(im, nullptr);
        double seenLo = r.hi, seenHi = r.lo;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const double v = ozl::test::valueOf(im, x, y, 0);
                const double want = std::floor((r.lo + r.hi) / 2 + (r.hi - r.lo) / 2 * plate(x, y, w, h) + 0.5);
                ASSERT_EQ(v, want) << x << "," << y;
                ASSERT_EQ(v, ozl::test::valueOf(im, w - 1 - x, h - 1 - y, 0));  // symmetric
                seenLo = std::min(seenLo, v);
                seenHi = std::max(seenHi, v);
            }
        EXPECT_LT(seenLo, r.lo + (r.hi - r.lo) * 0.01);  // the whole range is used
        EXPECT_GT(seenHi, r.hi - (r.hi - r.lo) * 0.01);
        ozlDeallocate(im, OZL_IMAGE_ALL);
    }
    OzlImage* f = ozlCreateImageJaehne(OZL_DEPTH_32F, 7, 5);
    OzlImage* b = ozlCreateImageJaehne(OZL_DEPTH_1U, 77, 9);
    ASSERT_TRUE(f && b);
    EXPECT_EQ(ozl::test::valueOf(f, 3, 2, 0), 0.0f);  // the centre
    EXPECT_EQ(ozl::test::valueOf(f, 0, 0, 0), static_cast<float>(plate(0, 0, 7, 5)));
    for (int x = 0; x < 77; ++x) EXPECT_EQ(ozl::test::valueOf(b, x, 1, 0), plate(x, 1, 77, 9) >= 0 ? 1 : 0);
    EXPECT_EQ(b->nChannels, 1);
    EXPECT_EQ(std::string(b->colorModel, 4), std::string("GRAY"));
    ozlDeallocate(f, OZL_IMAGE_ALL);
    ozlDeallocate(b, OZL_IMAGE_ALL);
    EXPECT_TRUE(errors.empty());
}

TEST(Jaehne, Refusals) {
    ErrorCapture errors;
    EXPECT_EQ(ozlCreateImageJaehne(12, 8, 8), nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{-17, "ozlCreateImageJaehne", "Incorrect depth of the pattern", "ozljaehne", 40}));
    EXPECT_EQ(ozlCreateImageJaehne(OZL_DEPTH_8U, 8, 0), nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{-10, "ozlCreateImageJaehne", "Incorrect size of the pattern", "ozljaehne", 42}));
    EXPECT_EQ(ozlCreateImageJaehne(OZL_DEPTH_8U, 1 << 30, 1 << 30), nullptr);
    EXPECT_EQ(errors.last().status, OZL_StsNoMem);
}

}  // namespace
