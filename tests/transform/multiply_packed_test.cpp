// ozlMpyRCPack2D: products against the reference spectra, and convolution and
// correlation through the transforms against direct circular sums.
#include <gtest/gtest.h>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "transform/reference.hpp"

namespace {

using namespace ozl::test;

// The packed product of two spectra: every real entry and pair of the layout.
TEST(MpyRCPack, ProductsOfPackedSpectra) {
    ErrorCapture errors;
    const int sizes[][2] = {{1, 1}, {2, 2}, {5, 4}, {8, 8}, {7, 5}, {16, 9}, {30, 20}, {1, 6}, {6, 1}, {41, 3}};
    for (const auto& s : sizes)
        for (int flags : {0, OZL_MPY_CONJUGATE}) {
            const int w = s[0], h = s[1];
            SCOPED_TRACE(testing::Message() << w << "x" << h << " flags " << flags);
            auto X = dft2(randomGrid(w, h, 1)), Y = dft2(randomGrid(w, h, 2));
            TestImage a(OZL_DEPTH_32F, w, h), b(OZL_DEPTH_32F, w, h), d(OZL_DEPTH_32F, w, h);
            putGrid(a, packedOf(X, w, h));
            putGrid(b, packedOf(Y, w, h));
            ozlMpyRCPack2D(a, b, d, flags);
            for (size_t i = 0; i < X.size(); ++i) X[i] *= flags ? std::conj(Y[i]) : Y[i];
            EXPECT_LT(relativeError(gridOf(d, w, h), packedOf(X, w, h)), 1e-6);
            // In place on either source.
            ozlMpyRCPack2D(a, b, a, flags);
            EXPECT_EQ(gridOf(a, w, h).v, gridOf(d, w, h).v);
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Forward, product, inverse: the circular convolution (correlation with the
// conjugate), also for a multi-channel, plane-order tiled destination.
TEST(MpyRCPack, ConvolutionAndCorrelation) {
    ErrorCapture errors;
    for (const auto& s : {std::pair{16, 12}, std::pair{9, 7}, std::pair{20, 1}})
        for (int flags : {0, OZL_MPY_CONJUGATE}) {
            const int w = s.first, h = s.second;
            const Grid f = randomGrid(w, h, 4), g = randomGrid(w, h, 5);
            TestImage a(OZL_DEPTH_32F, w, h), b(OZL_DEPTH_32F, w, h);
            putGrid(a, f);
            putGrid(b, g);
            ozlRealFft2D(a, a, OZL_FFT_FORWARD);
            ozlRealFft2D(b, b, OZL_FFT_FORWARD);
            TiledImage d(OZL_DEPTH_32F, w, h, 1, OZL_DATA_ORDER_PLANE, 8, 8);
            ozlMpyRCPack2D(a, b, d, flags);
            ozlRealFft2D(d, a, OZL_FFT_INVERSE);
            Grid want(w, h);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    for (int j = 0; j < h; ++j)
                        for (int i = 0; i < w; ++i) {
                            // Convolution: f(i, j) g(x - i, y - j); correlation: f(i, j) g(i - x, j - y).
                            const int gx = flags ? (i - x + w) % w : (x - i + w) % w;
                            const int gy = flags ? (j - y + h) % h : (y - j + h) % h;
                            want.at(x, y) += f.at(i, j) * g.at(gx, gy);
                        }
            EXPECT_LT(relativeError(gridOf(a, w, h), want), 2e-6) << w << "x" << h << " " << flags;
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

}  // namespace
