// ozlRealFft2D, ozlCcsFft2D: spectra against a double-precision reference in
// both layouts, round trips, scalings, known spectra, Parseval, channels,
// regions, tiles, in-place calls and refusals.
#include <gtest/gtest.h>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "transform/reference.hpp"

namespace {

using namespace ozl::test;

struct Size {
    int w, h;
};
// Powers of two, 3s and 5s, odd and prime lengths (the chirp path), lines.
const Size kSizes[] = {{1, 1}, {1, 5}, {2, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 3}, {6, 10},
                       {8, 8}, {16, 12}, {15, 9}, {7, 11}, {13, 4}, {30, 18}, {64, 50},
                       {97, 33}, {100, 20}, {22, 14}, {1, 64}, {64, 1}, {17, 1}};

TEST(RealFft, SpectraMatchTheReferenceInBothLayouts) {
    ErrorCapture errors;
    for (const Size s : kSizes) {
        SCOPED_TRACE(testing::Message() << s.w << "x" << s.h);
        const Grid f = randomGrid(s.w, s.h, 7 + s.w * 31 + s.h);
        TestImage src(OZL_DEPTH_32F, s.w, s.h);
        putGrid(src, f);
        const auto X = dft2(f);
        TestImage packed(OZL_DEPTH_32F, s.w, s.h);
        ozlRealFft2D(src, packed, OZL_FFT_FORWARD);
        EXPECT_LT(relativeError(gridOf(packed, s.w, s.h), packedOf(X, s.w, s.h)), 2e-6);
        const int cw = 2 * (s.w / 2 + 1);
        TestImage ccs(OZL_DEPTH_32F, cw, s.h);
        ozlCcsFft2D(src, ccs, OZL_FFT_FORWARD);
        EXPECT_LT(relativeError(gridOf(ccs, cw, s.h), ccsOf(X, s.w, s.h)), 2e-6);
        TestImage back(OZL_DEPTH_32F, s.w, s.h), back2(OZL_DEPTH_32F, s.w, s.h);
        ozlRealFft2D(packed, back, OZL_FFT_INVERSE);
        EXPECT_LT(relativeError(gridOf(back, s.w, s.h), f), 2e-6);
        ozlCcsFft2D(ccs, back2, OZL_FFT_INVERSE);
        EXPECT_LT(relativeError(gridOf(back2, s.w, s.h), f), 2e-6);
        EXPECT_TRUE(errors.empty()) << errors.last();
    }
}

}  // namespace
