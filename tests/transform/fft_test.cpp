// ozlRealFft2D, ozlCcsFft2D, ozlDCT2D and ozlMpyRCPack2D against double-precision
// references: both layouts, round trips, scalings, accuracy on large sizes,
// integer depths, channels, regions, tiles, calls in place, products.
#include <gtest/gtest.h>

#include "ozl.h"
#include "transform/reference.hpp"

namespace {

using namespace ozl::test;

using Fft = void(OZL_CALL*)(OzlImage*, OzlImage*, int);
using RealFft = TransformTest;
using MpyRCPack = TransformTest;

// The transform of a grid of values into a grid of width w (the spectrum's or the image's).
Grid transformed(Fft fft, const Grid& f, int w, int flags) {
    TestImage src(OZL_DEPTH_32F, f.w, f.h), dst(OZL_DEPTH_32F, w, f.h);
    putGrid(src, f);
    fft(src, dst, flags);
    return gridOf(dst, w, f.h);
}
int specWidth(Fft fft, int w) { return fft == ozlCcsFft2D ? 2 * (w / 2 + 1) : w; }

// Single-precision results: errors within a few units of 1e-7 times the
// largest value (a faulty twiddle or a misplaced pair gives errors near 1).
constexpr double kTolerance = 2e-6;

// Powers of two, 3s and 5s, odd and prime lengths (the chirp path), lines, and
// widths that leave partial strips at every vector width; cosines too.
TEST_F(RealFft, SpectraAndCosinesMatchTheReferenceAndComeBack) {
    const int sizes[][2] = {{1, 1}, {2, 1}, {1, 5}, {3, 3}, {4, 4}, {6, 10}, {16, 12}, {15, 9}, {7, 11},
                            {13, 4}, {30, 18}, {97, 33}, {100, 20}, {64, 1}, {17, 1}, {37, 40}};
    for (const auto& s : sizes) {
        SCOPED_TRACE(testing::Message() << s[0] << "x" << s[1]);
        const Grid f = randomGrid(s[0], s[1], 7 + s[0] * 31 + s[1]);
        const auto X = dft2(f);
        const Grid packed = transformed(ozlRealFft2D, f, s[0], OZL_FFT_FORWARD);
        const Grid ccs = transformed(ozlCcsFft2D, f, specWidth(ozlCcsFft2D, s[0]), OZL_FFT_FORWARD);
        EXPECT_LT(relativeError(packed, packedOf(X, s[0], s[1])), kTolerance);
        EXPECT_LT(relativeError(ccs, ccsOf(X, s[0], s[1])), kTolerance);
        EXPECT_LT(relativeError(transformed(ozlRealFft2D, packed, s[0], OZL_FFT_INVERSE), f), kTolerance);
        EXPECT_LT(relativeError(transformed(ozlCcsFft2D, ccs, s[0], OZL_FFT_INVERSE), f), kTolerance);
        const Grid c = transformed(ozlDCT2D, f, s[0], OZL_DCT_FORWARD);
        EXPECT_LT(relativeError(c, dct2(f)), kTolerance);
        EXPECT_LT(relativeError(transformed(ozlDCT2D, c, s[0], OZL_DCT_INVERSE), f), kTolerance);
    }
}

// The stated accuracy on large sizes (powers of two, primes, a long line):
// every spectrum value within 2e-6 sqrt(sum f^2) of the exact one, every value
// of a round trip within 2e-6 of the image's largest; cosine coefficients
// within 2e-6 sqrt(sum f^2 / N). Measured errors stay below half of that.
TEST_F(RealFft, StatedAccuracyOnLargerSizes) {
    for (const auto& s : {std::pair{256, 256}, {1009, 3}, {4096, 1}, {3, 1009}}) {
        const auto [w, h] = s;
        SCOPED_TRACE(testing::Message() << w << "x" << h);
        const Grid f = randomGrid(w, h, w + h);
        const Grid packed = transformed(ozlRealFft2D, f, w, OZL_FFT_FORWARD);
        EXPECT_LT(maxDifference(packed, packedOf(dft2(f), w, h)), 2e-6 * norm2(f));
        EXPECT_LT(maxDifference(transformed(ozlRealFft2D, packed, w, OZL_FFT_INVERSE), f), 2e-6 * maxAbs(f));
        if (w * h > 10000) continue;  // the direct cosine sums grow as N^2
        const Grid c = transformed(ozlDCT2D, f, w, OZL_DCT_FORWARD);
        EXPECT_LT(maxDifference(c, dct2(f)), 2e-6 * norm2(f) / std::sqrt(w * h));
        EXPECT_LT(maxDifference(transformed(ozlDCT2D, c, w, OZL_DCT_INVERSE), f), 2e-6 * maxAbs(f));
    }
}

// Each scaling divides its direction(s) by N or sqrt(N); the pairs that
// multiply to 1/N give the image back, "none" gives N times it.
TEST_F(RealFft, Scalings) {
    const Grid f = randomGrid(12, 10, 5);
    const double n = 120;
    const Grid plain = transformed(ozlRealFft2D, f, 12, OZL_FFT_FORWARD | OZL_FFT_SCALE_NONE);
    const struct { int flags; double forward, roundTrip; } cases[] = {
        {OZL_FFT_SCALE_INVERSE, 1, 1}, {OZL_FFT_SCALE_FORWARD, 1 / n, 1}, {OZL_FFT_SCALE_SQRT, 1 / std::sqrt(n), 1}, {OZL_FFT_SCALE_NONE, 1, n}};
    for (const auto& c : cases)
        for (Fft fft : {ozlRealFft2D, ozlCcsFft2D}) {
            SCOPED_TRACE(c.flags);
            const Grid spec = transformed(fft, f, specWidth(fft, 12), OZL_FFT_FORWARD | c.flags);
            Grid want = plain, back = f;
            for (double& v : want.v) v *= c.forward;
            for (double& v : back.v) v *= c.roundTrip;
            if (fft == ozlRealFft2D) EXPECT_LT(relativeError(spec, want), kTolerance);
            EXPECT_LT(relativeError(transformed(fft, spec, 12, OZL_FFT_INVERSE | c.flags), back), kTolerance);
        }
}

// 8- and 16-bit images come back exactly; the inverse rounds to nearest (ties
// to even) and saturates.
TEST_F(RealFft, IntegerDepths) {
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S}) {
        TestImage src(depth, 33, 17), spec(OZL_DEPTH_32F, 33, 17), back(depth, 33, 17);
        src.fillRandom(depth);
        ozlRealFft2D(src, spec, OZL_FFT_FORWARD);
        ozlRealFft2D(spec, back, OZL_FFT_INVERSE);
        EXPECT_EQ(gridOf(back, 33, 17).v, gridOf(src, 33, 17).v) << depth;
    }
    const struct { unsigned depth; double dc, want; } rounding[] = {
        {OZL_DEPTH_8U, 300, 255}, {OZL_DEPTH_8U, -5, 0}, {OZL_DEPTH_8U, 2.5, 2}, {OZL_DEPTH_8U, 3.5, 4}, {OZL_DEPTH_8S, -200, -128},
        {OZL_DEPTH_16S, 4e4, 32767}, {OZL_DEPTH_16U, 65534.6, 65535}, {OZL_DEPTH_32S, 3e9, 2147483647.0}, {OZL_DEPTH_32S, -1.5, -2},
        {OZL_DEPTH_32S, NAN, 0}};
    for (const auto& r : rounding) {
        TestImage spec(OZL_DEPTH_32F, 4, 2), dst(r.depth, 4, 2);
        spec.fill(0), spec.put(0, 0, 0, r.dc * 8);
        ozlRealFft2D(spec, dst, OZL_FFT_INVERSE);
        EXPECT_EQ(gridOf(dst, 4, 2).v, std::vector<double>(8, r.want)) << r.depth << " " << r.dc;
    }
}

// Every processed channel is transformed as a one-channel image would be, bit
// for bit, in either data order; alpha and the values outside the regions
// stay; a channel of interest picks one channel.
TEST_F(RealFft, ChannelsRegionsAndOrders) {
    const int w = 20, h = 12;
    for (Fft fft : {ozlRealFft2D, ozlCcsFft2D})
        for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
            SCOPED_TRACE(testing::Message() << (fft == ozlCcsFft2D) << " order " << order);
            const int sw = specWidth(fft, w);
            TestImage src(OZL_DEPTH_16S, w + 3, h + 2, 4, order, true), dst(OZL_DEPTH_32F, sw + 5, h + 4, 4, order, true);
            src.fillRandom(3), dst.fillRandom(4, -1, 1);
            src.setRoi(0, 3, 2, w, h), dst.setRoi(0, 5, 1, sw, h);
            const TestImage before = dst.clone();
            fft(src, dst, OZL_FFT_FORWARD);
            for (int c = 0; c < 3; ++c) {
                TestImage one(OZL_DEPTH_16S, w, h), oneSpec(OZL_DEPTH_32F, sw, h);
                putGrid(one, gridOf(src, w, h, c, 3, 2));
                fft(one, oneSpec, OZL_FFT_FORWARD);
                EXPECT_EQ(gridOf(dst, sw, h, c, 5, 1).v, gridOf(oneSpec, sw, h).v) << c;
            }
            for (int y = 0; y < h + 4; ++y)
                for (int x = 0; x < sw + 5; ++x)
                    for (int c = 0; c < 4; ++c)
                        if (c == 3 || x < 5 || y < 1 || y >= 1 + h) ASSERT_EQ(dst.at(x, y, c), before.at(x, y, c)) << x << "," << y;
            // Channel of interest 2 of the spectrum back into channel 3 of an 8U image.
            TestImage back(OZL_DEPTH_8U, w, h, 3, order);
            back.fill(9);
            dst.setRoi(2, 5, 1, sw, h), back.setRoi(3, 0, 0, w, h);
            fft(dst, back, OZL_FFT_INVERSE);
            Grid want = gridOf(src, w, h, 1, 3, 2);
            for (double& v : want.v) v = std::min(255.0, std::max(0.0, v));
            EXPECT_EQ(gridOf(back, w, h, 2).v, want.v);
            EXPECT_EQ(gridOf(back, w, h, 0).v, std::vector<double>(w * h, 9));
        }
}

// Tiled sources and destinations, and calls in place (the same header, or two
// headers over one buffer sharing their origin), give the plain call's values
// bit for bit.
TEST_F(RealFft, TilesAndCallsInPlace) {
    const int w = 40, h = 24;
    TestImage src(OZL_DEPTH_32F, w, h);
    src.fillRandom(8, -1, 1);
    for (Fft fft : {ozlRealFft2D, ozlCcsFft2D}) {
        const int sw = specWidth(fft, w);
        TestImage spec(OZL_DEPTH_32F, sw, h), back(OZL_DEPTH_32F, w, h);
        fft(src, spec, OZL_FFT_FORWARD);
        fft(spec, back, OZL_FFT_INVERSE);
        const auto want = gridOf(spec, sw, h).v, wantBack = gridOf(back, w, h).v;
        TiledImage tiledSrc(OZL_DEPTH_32F, w, h, 1, OZL_DATA_ORDER_PIXEL, 16, 8), tiledSpec(OZL_DEPTH_32F, sw, h, 1, OZL_DATA_ORDER_PIXEL, 16, 16),
            tiledBack(OZL_DEPTH_32F, w, h, 1, OZL_DATA_ORDER_PLANE, 8, 8);
        putGrid(tiledSrc.pixels(), gridOf(src, w, h));
        fft(tiledSrc, tiledSpec, OZL_FFT_FORWARD);
        EXPECT_EQ(gridOf(tiledSpec.pixels(), sw, h).v, want);
        fft(tiledSpec, tiledBack, OZL_FFT_INVERSE);
        EXPECT_EQ(gridOf(tiledBack.pixels(), w, h).v, wantBack);
        TestImage shared(OZL_DEPTH_32F, sw + 2, h);
        putGrid(shared, gridOf(src, w, h));
        OzlImage view = *shared.get();  // the spectrum's region over the same buffer
        OzlROI roi{0, 0, 0, sw, h};
        view.roi = &roi;
        shared.setRoi(0, 0, 0, w, h);
        fft(shared, &view, OZL_FFT_FORWARD);
        EXPECT_EQ(gridOf(shared, sw, h).v, want);
        fft(&view, shared, OZL_FFT_INVERSE);
        EXPECT_EQ(gridOf(shared, w, h).v, wantBack);
    }
}

// 8U and 16S images come back exactly through 32F cosine coefficients, from
// plain, multi-channel and tiled images alike.
TEST_F(RealFft, CosinesOfIntegerChannelsAndTilesComeBack) {
    const int w = 24, h = 16;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S}) {
        TestImage src(depth, w, h, 3, OZL_DATA_ORDER_PLANE), coef(OZL_DEPTH_32F, w, h, 3), back(depth, w, h, 3);
        TiledImage tiled(depth, w, h, 3, OZL_DATA_ORDER_PIXEL, 16, 8), tiledCoef(OZL_DEPTH_32F, w, h, 3, OZL_DATA_ORDER_PLANE, 8, 8);
        src.fillRandom(depth);
        ozlDCT2D(src, coef, OZL_DCT_FORWARD);
        ozlDCT2D(coef, back, OZL_DCT_INVERSE);
        for (int c = 0; c < 3; ++c) putGrid(tiled.pixels(), gridOf(src, w, h, c), c);
        ozlDCT2D(tiled, tiledCoef, OZL_DCT_FORWARD);
        for (int c = 0; c < 3; ++c) {
            EXPECT_EQ(gridOf(back, w, h, c).v, gridOf(src, w, h, c).v);
            EXPECT_EQ(gridOf(tiledCoef.pixels(), w, h, c).v, gridOf(coef, w, h, c).v);
        }
    }
}

// The packed product of two spectra (with the conjugate: a correlation's):
// every real entry and pair of the layout, into a plane-order tiled
// destination, and in place on a source.
TEST_F(MpyRCPack, ProductsOfPackedSpectra) {
    for (const auto& [w, h] : {std::pair{1, 1}, {2, 2}, {5, 4}, {8, 8}, {7, 5}, {16, 9}, {30, 20}, {1, 6}, {6, 1}, {41, 3}})
        for (int flags : {0, OZL_MPY_CONJUGATE}) {
            SCOPED_TRACE(testing::Message() << w << "x" << h << " flags " << flags);
            auto X = dft2(randomGrid(w, h, 1)), Y = dft2(randomGrid(w, h, 2));
            TestImage a(OZL_DEPTH_32F, w, h), b(OZL_DEPTH_32F, w, h);
            TiledImage d(OZL_DEPTH_32F, w, h, 1, OZL_DATA_ORDER_PLANE, 8, 8);
            putGrid(a, packedOf(X, w, h)), putGrid(b, packedOf(Y, w, h));
            ozlMpyRCPack2D(a, b, d, flags);
            for (size_t i = 0; i < X.size(); ++i) X[i] *= flags ? std::conj(Y[i]) : Y[i];
            EXPECT_LT(relativeError(gridOf(d.pixels(), w, h), packedOf(X, w, h)), 1e-6);
            ozlMpyRCPack2D(a, b, a, flags);
            EXPECT_EQ(gridOf(a, w, h).v, gridOf(d.pixels(), w, h).v);
        }
}


}  // namespace
