// ozlRealFft2D, ozlCcsFft2D: spectra against a double-precision reference in
// both layouts, round trips, scalings, known spectra, Parseval, integer
// depths, channels, regions, tiles and calls in place.
#include <gtest/gtest.h>

#include <cstring>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "transform/reference.hpp"

namespace {

using namespace ozl::test;

struct Size {
    int w, h;
};
// Powers of two, 3s and 5s, odd and prime lengths (the chirp path), lines,
// and widths that leave partial strips at every vector width.
const Size kSizes[] = {{1, 1},  {1, 5},   {2, 1},   {2, 2},   {3, 3},  {4, 4},  {5, 3},
                       {6, 10}, {8, 8},   {16, 12}, {15, 9},  {7, 11}, {13, 4}, {30, 18},
                       {64, 50}, {97, 33}, {100, 20}, {22, 14}, {1, 64}, {64, 1}, {17, 1},
                       {37, 40}};

using Fft = void(OZL_CALL*)(OzlImage*, OzlImage*, int);

// Runs one layout forward and back; returns the spectrum.
Grid spectrumOf(Fft fft, const Grid& f, int flags = 0) {
    const int sw = fft == ozlCcsFft2D ? 2 * (f.w / 2 + 1) : f.w;
    TestImage src(OZL_DEPTH_32F, f.w, f.h), spec(OZL_DEPTH_32F, sw, f.h);
    putGrid(src, f);
    fft(src, spec, OZL_FFT_FORWARD | flags);
    return gridOf(spec, sw, f.h);
}

Grid inverseOf(Fft fft, const Grid& spectrum, int w, int flags = 0) {
    TestImage spec(OZL_DEPTH_32F, spectrum.w, spectrum.h), dst(OZL_DEPTH_32F, w, spectrum.h);
    putGrid(spec, spectrum);
    fft(spec, dst, OZL_FFT_INVERSE | flags);
    return gridOf(dst, w, spectrum.h);
}

// Single-precision results: errors within a few units of 1e-7 times the
// largest value (a faulty twiddle or a misplaced pair gives errors near 1).
constexpr double kTolerance = 2e-6;

TEST(RealFft, SpectraMatchTheReferenceAndComeBack) {
    ErrorCapture errors;
    for (const Size s : kSizes) {
        SCOPED_TRACE(testing::Message() << s.w << "x" << s.h);
        const Grid f = randomGrid(s.w, s.h, 7 + s.w * 31 + s.h);
        const auto X = dft2(f);
        const Grid packed = spectrumOf(ozlRealFft2D, f), ccs = spectrumOf(ozlCcsFft2D, f);
        EXPECT_LT(relativeError(packed, packedOf(X, s.w, s.h)), kTolerance);
        EXPECT_LT(relativeError(ccs, ccsOf(X, s.w, s.h)), kTolerance);
        EXPECT_LT(relativeError(inverseOf(ozlRealFft2D, packed, s.w), f), kTolerance);
        EXPECT_LT(relativeError(inverseOf(ozlCcsFft2D, ccs, s.w), f), kTolerance);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// The accuracy the header states, on sizes past the small ones above: powers
// of two, prime lengths (chirp path) and a long line. Every spectrum value
// within 2e-6 sqrt(sum f^2) of the exact one, every value of a round trip
// within 2e-6 of the image's largest; the cosine transform likewise, its
// coefficients within 2e-6 sqrt(sum f^2 / N). Measured errors stay below half
// of that; a faulty table entry gives errors orders of magnitude larger.
TEST(RealFft, StatedAccuracyOnLargerSizes) {
    ErrorCapture errors;
    for (const Size s : {Size{256, 256}, Size{1009, 3}, Size{4096, 1}, Size{3, 1009}}) {
        SCOPED_TRACE(testing::Message() << s.w << "x" << s.h);
        const Grid f = randomGrid(s.w, s.h, s.w + s.h, -1, 1);
        const Grid packed = spectrumOf(ozlRealFft2D, f);
        EXPECT_LT(maxDifference(packed, packedOf(dft2(f), s.w, s.h)), 2e-6 * norm2(f));
        EXPECT_LT(maxDifference(inverseOf(ozlRealFft2D, packed, s.w), f), 2e-6 * maxAbs(f));
        if (s.w * s.h > 10000) continue;  // the direct cosine sums grow as N^2
        TestImage src(OZL_DEPTH_32F, s.w, s.h), c(OZL_DEPTH_32F, s.w, s.h);
        putGrid(src, f);
        ozlDCT2D(src, c, OZL_DCT_FORWARD);
        EXPECT_LT(maxDifference(gridOf(c, s.w, s.h), dct2(f)), 2e-6 * norm2(f) / std::sqrt(s.w * s.h));
        ozlDCT2D(c, src, OZL_DCT_INVERSE);
        EXPECT_LT(maxDifference(gridOf(src, s.w, s.h), f), 2e-6 * maxAbs(f));
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Each scaling divides its direction(s) by N or sqrt(N); the pairs that
// multiply to 1/N give the image back, "none" gives N times it.
TEST(RealFft, Scalings) {
    const Grid f = randomGrid(12, 10, 5);
    const double n = 120;
    const Grid plain = spectrumOf(ozlRealFft2D, f, OZL_FFT_SCALE_NONE);
    const struct {
        int flags;
        double forward, roundTrip;
    } cases[] = {{OZL_FFT_SCALE_INVERSE, 1, 1},
                 {OZL_FFT_SCALE_FORWARD, 1 / n, 1},
                 {OZL_FFT_SCALE_SQRT, 1 / std::sqrt(n), 1},
                 {OZL_FFT_SCALE_NONE, 1, n}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flags);
        for (Fft fft : {ozlRealFft2D, ozlCcsFft2D}) {
            const Grid spec = spectrumOf(fft, f, c.flags);
            if (fft == ozlRealFft2D) {
                Grid want = plain;
                for (double& v : want.v) v *= c.forward;
                EXPECT_LT(relativeError(spec, want), kTolerance);
            }
            Grid want = f;
            for (double& v : want.v) v *= c.roundTrip;
            EXPECT_LT(relativeError(inverseOf(fft, spec, f.w, c.flags), want), kTolerance);
        }
    }
}

// An impulse has a flat spectrum, a constant only DC, a cosine two conjugate
// peaks of N/2: checked over the whole CCS half, each value.
TEST(RealFft, KnownSpectra) {
    const int w = 16, h = 9, n = w * h;
    Grid impulse(w, h), constant(w, h), wave(w, h);
    impulse.at(0, 0) = 1;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            constant.at(x, y) = 3;
            wave.at(x, y) = std::cos(2 * kPi * (3.0 * x / w + 2.0 * y / h));
        }
    auto expectCcs = [&](const Grid& f, auto value) {
        const Grid ccs = spectrumOf(ozlCcsFft2D, f);
        for (int v = 0; v < h; ++v)
            for (int u = 0; u <= w / 2; ++u) {
                const Cd want = value(u, v);
                EXPECT_NEAR(ccs.at(2 * u, v), want.real(), 1e-3) << u << "," << v;
                EXPECT_NEAR(ccs.at(2 * u + 1, v), want.imag(), 1e-3) << u << "," << v;
            }
    };
    expectCcs(impulse, [](int, int) { return Cd(1, 0); });
    expectCcs(constant, [&](int u, int v) { return Cd(u == 0 && v == 0 ? 3.0 * n : 0, 0); });
    expectCcs(wave, [&](int u, int v) { return Cd(u == 3 && v == 2 ? n / 2.0 : 0, 0); });
}

// 8- and 16-bit images come back exactly; 32S within float precision; the
// inverse rounds to nearest (ties to even) and saturates.
TEST(RealFft, IntegerDepths) {
    ErrorCapture errors;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S}) {
        for (const Size s : {Size{64, 48}, Size{33, 17}}) {
            SCOPED_TRACE(testing::Message() << depth << " " << s.w << "x" << s.h);
            TestImage src(depth, s.w, s.h), spec(OZL_DEPTH_32F, s.w, s.h), back(depth, s.w, s.h);
            src.fillRandom(depth + s.w);
            ozlRealFft2D(src, spec, OZL_FFT_FORWARD);
            ozlRealFft2D(spec, back, OZL_FFT_INVERSE);
            EXPECT_EQ(gridOf(back, s.w, s.h).v, gridOf(src, s.w, s.h).v);
        }
    }
    const struct {
        unsigned depth;
        double dc, want;
    } rounding[] = {{OZL_DEPTH_8U, 300, 255},  {OZL_DEPTH_8U, -5, 0},    {OZL_DEPTH_8U, 2.5, 2},
                    {OZL_DEPTH_8U, 3.5, 4},    {OZL_DEPTH_8S, -200, -128}, {OZL_DEPTH_16S, 4e4, 32767},
                    {OZL_DEPTH_16U, 65534.6, 65535}, {OZL_DEPTH_32S, 3e9, 2147483647.0},
                    {OZL_DEPTH_32S, -1.5, -2}, {OZL_DEPTH_32S, NAN, 0}};
    for (const auto& r : rounding) {
        TestImage spec(OZL_DEPTH_32F, 4, 2), dst(r.depth, 4, 2);
        spec.fill(0);
        spec.put(0, 0, 0, r.dc * 8);
        ozlRealFft2D(spec, dst, OZL_FFT_INVERSE);
        EXPECT_EQ(gridOf(dst, 4, 2).v, std::vector<double>(8, r.want)) << r.depth << " " << r.dc;
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

std::vector<float> floatsOf(const TestImage& im, int w, int h, int c, int x0 = 0, int y0 = 0) {
    std::vector<float> v;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) v.push_back(static_cast<float>(im.at(x0 + x, y0 + y, c)));
    return v;
}

// Every processed channel is transformed as a one-channel image would be, bit
// for bit, in either data order; alpha and the values outside the regions
// stay; a channel of interest picks one channel.
TEST(RealFft, ChannelsRegionsAndOrders) {
    ErrorCapture errors;
    const int w = 20, h = 12;
    for (Fft fft : {ozlRealFft2D, ozlCcsFft2D})
        for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
            SCOPED_TRACE(testing::Message() << (fft == ozlCcsFft2D) << " order " << order);
            const int sw = fft == ozlCcsFft2D ? 2 * (w / 2 + 1) : w;
            TestImage src(OZL_DEPTH_16S, w + 3, h + 2, 4, order, true);
            TestImage dst(OZL_DEPTH_32F, sw + 5, h + 4, 4, order, true);
            src.fillRandom(3);
            dst.fillRandom(4, -1, 1);
            src.setRoi(0, 3, 2, w, h);
            dst.setRoi(0, 5, 1, sw, h);
            const TestImage before = dst.clone();
            fft(src, dst, OZL_FFT_FORWARD);
            for (int c = 0; c < 3; ++c) {
                TestImage one(OZL_DEPTH_16S, w, h), oneSpec(OZL_DEPTH_32F, sw, h);
                putGrid(one, gridOf(src, w, h, c, 3, 2));
                fft(one, oneSpec, OZL_FFT_FORWARD);
                EXPECT_EQ(floatsOf(dst, sw, h, c, 5, 1), floatsOf(oneSpec, sw, h, 0)) << c;
            }
            for (int y = 0; y < h + 4; ++y)
                for (int x = 0; x < sw + 5; ++x)
                    for (int c = 0; c < 4; ++c) {
                        const bool inside = c < 3 && x >= 5 && y >= 1 && y < 1 + h;
                        if (!inside) ASSERT_EQ(dst.at(x, y, c), before.at(x, y, c)) << x << "," << y;
                    }
            // Channel of interest 2 of the spectrum back into channel 3 of an 8U image.
            TestImage back(OZL_DEPTH_8U, w, h, 3, order);
            back.fill(9);
            dst.setRoi(2, 5, 1, sw, h);
            back.setRoi(3, 0, 0, w, h);
            fft(dst, back, OZL_FFT_INVERSE);
            Grid want = gridOf(src, w, h, 1, 3, 2);
            for (double& v : want.v) v = std::min(255.0, std::max(0.0, v));
            EXPECT_EQ(gridOf(back, w, h, 2).v, want.v);
            EXPECT_EQ(gridOf(back, w, h, 0).v, std::vector<double>(w * h, 9));
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Tiled sources and destinations, and calls in place (the same header, or two
// headers over one buffer), give the plain call's values bit for bit.
TEST(RealFft, TilesAndCallsInPlace) {
    ErrorCapture errors;
    const int w = 40, h = 24;
    TestImage src(OZL_DEPTH_32F, w, h);
    src.fillRandom(8, -1, 1);
    for (Fft fft : {ozlRealFft2D, ozlCcsFft2D}) {
        const int sw = fft == ozlCcsFft2D ? 2 * (w / 2 + 1) : w;
        TestImage spec(OZL_DEPTH_32F, sw, h);
        fft(src, spec, OZL_FFT_FORWARD);
        const std::vector<float> want = floatsOf(spec, sw, h, 0);

        TiledImage tiledSrc(OZL_DEPTH_32F, w, h, 1, OZL_DATA_ORDER_PIXEL, 16, 8);
        TiledImage tiledSpec(OZL_DEPTH_32F, sw, h, 1, OZL_DATA_ORDER_PIXEL, 16, 16);
        putGrid(tiledSrc.pixels(), gridOf(src, w, h));
        fft(tiledSrc, tiledSpec, OZL_FFT_FORWARD);
        EXPECT_EQ(floatsOf(tiledSpec.pixels(), sw, h, 0), want);
        TiledImage tiledBack(OZL_DEPTH_32F, w, h, 1, OZL_DATA_ORDER_PLANE, 8, 8);
        fft(tiledSpec, tiledBack, OZL_FFT_INVERSE);
        TestImage back(OZL_DEPTH_32F, w, h);
        fft(spec, back, OZL_FFT_INVERSE);
        EXPECT_EQ(floatsOf(tiledBack.pixels(), w, h, 0), floatsOf(back, w, h, 0));

        // One buffer seen through two headers: the real region and the
        // spectrum region share their origin (and rows).
        TestImage shared(OZL_DEPTH_32F, sw + 2, h);
        putGrid(shared, gridOf(src, w, h));
        OzlImage view = *shared.get();
        OzlROI roi{0, 0, 0, sw, h};
        view.roi = &roi;
        shared.setRoi(0, 0, 0, w, h);
        fft(shared, &view, OZL_FFT_FORWARD);
        EXPECT_EQ(floatsOf(shared, sw, h, 0), want);
        fft(&view, shared, OZL_FFT_INVERSE);
        EXPECT_EQ(floatsOf(shared, w, h, 0), floatsOf(back, w, h, 0));
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

}  // namespace
