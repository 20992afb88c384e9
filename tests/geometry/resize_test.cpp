// Resampling against a per-pixel reference built from exact rational
// positions; super-sampling as the block mean; masks, tiles, refusals.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "geometry/geometry_ref.hpp"

namespace {

using Resize = ozl::test::geom::GeomTest;

using namespace ozl::test;
namespace geom = ozl::test::geom;
using geom::kDepths;

struct Factors {
    int xDst, xSrc, yDst, ySrc;
};

// One axis of the reference: output i's centre at ((2i+1) den - num) / (2 num).
struct AxisRef {
    long long num, den;
    long long x0(int i) const { return floorDiv((2LL * i + 1) * den - num, 2 * num); }
    long long rem(int i) const { return (2LL * i + 1) * den - num - x0(i) * 2 * num; }
    double frac(int i) const { return static_cast<double>(rem(i)) / (2.0 * num); }
    int count(int size) const { return static_cast<int>((2 * size * num + den - 1) / (2 * den)); }
    static long long floorDiv(long long a, long long b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }
};

long long gcdOf(long long a, long long b) { return b ? gcdOf(b, a % b) : a; }

// The expected value of processed channel k at destination (x, y).
double resizeRef(const geom::Source& s, int inter, const Factors& f, int x, int y, int k) {
    const long long gx = gcdOf(f.xDst, f.xSrc), gy = gcdOf(f.yDst, f.ySrc);
    const AxisRef ax{f.xDst / gx, f.xSrc / gx}, ay{f.yDst / gy, f.ySrc / gy};
    const unsigned depth = s.im->depth;
    if (inter == OZL_INTER_NN)
        return s.pixel((2LL * x + 1) * ax.den / (2 * ax.num), (2LL * y + 1) * ay.den / (2 * ay.num), k);
    if (inter == OZL_INTER_SUPER) {
        // Exact area: output x covers [x den, (x+1) den) in 1/num source pixels.
        double sum = 0;
        for (long long j = y * ay.den / ay.num; j * ay.num < (y + 1) * ay.den; ++j)
            for (long long i = x * ax.den / ax.num; i * ax.num < (x + 1) * ax.den; ++i) {
                const long long ox = std::min((i + 1) * ax.num, (x + 1) * ax.den) - std::max(i * ax.num, x * ax.den);
                const long long oy = std::min((j + 1) * ay.num, (y + 1) * ay.den) - std::max(j * ay.num, y * ay.den);
                sum += static_cast<double>(ox * oy) * s.pixel(i, j, k);
            }
        return geom::stored(depth, sum / static_cast<double>(ax.den * ay.den));
    }
    const long long x0 = ax.x0(x), y0 = ay.x0(y);
    if (inter == OZL_INTER_LINEAR) {
        if (depth == OZL_DEPTH_8U)
            return geom::linear8u(s.pixel(x0, y0, k), s.pixel(x0 + 1, y0, k), s.pixel(x0, y0 + 1, k), s.pixel(x0 + 1, y0 + 1, k),
                                  (ax.rem(x) * 4096 + 2 * ax.num) / (4 * ax.num), (ay.rem(y) * 4096 + 2 * ay.num) / (4 * ay.num));
        const double fx = ax.frac(x), fy = ay.frac(y);
        const double h0 = (1 - fx) * s.pixel(x0, y0, k) + fx * s.pixel(x0 + 1, y0, k);
        const double h1 = (1 - fx) * s.pixel(x0, y0 + 1, k) + fx * s.pixel(x0 + 1, y0 + 1, k);
        return geom::stored(depth, (1 - fy) * h0 + fy * h1);
    }
    return geom::cubicAt(s, x0, y0, ax.frac(x), ay.frac(y), k);
}

// Checks dst after a resampling of src: the written area against the
// reference, everything else as before.
void expectResized(const TestImage& before, const OzlImage* dst, const OzlImage* src, int inter,
                   const Factors& f, const TestImage* mask = nullptr) {
    const geom::Source s = geom::sourceOf(src);
    const long long gx = gcdOf(f.xDst, f.xSrc), gy = gcdOf(f.yDst, f.ySrc);
    const int outW = AxisRef{f.xDst / gx, f.xSrc / gx}.count(s.r.width);
    const int outH = AxisRef{f.yDst / gy, f.ySrc / gy}.count(s.r.height);
    // Cubic sums in double precision in another order may round a value the
    // other way (8U is fixed-point: exact).
    const double tolerance =
        inter != OZL_INTER_CUBIC || dst->depth == OZL_DEPTH_8U ? 0 : dst->depth == OZL_DEPTH_32F ? 1e-5 : 1;
    geom::expectImage(before, dst, [&](int x, int y, int k, double* v) {
        if (x >= outW || y >= outH || (mask && mask->at(x, y) == 0)) return false;
        *v = resizeRef(s, inter, f, x, y, k);
        return true;
    }, tolerance);
}

TEST_F(Resize, EveryInterpolationDepthAndLayoutAgainstReference) {
    // {4, 4, 1, 1} reduces to the identity: the source back, bit for bit;
    // {1, 2, 1, 2}, {1, 3, 1, 3} and {1, 4, 1, 5} super-sample whole blocks.
    const Factors kFactors[] = {{2, 1, 2, 1}, {1, 2, 1, 2}, {3, 2, 2, 3}, {5, 7, 7, 5},
                                {1, 3, 1, 3}, {7, 3, 3, 8}, {4, 4, 1, 1}, {1, 4, 1, 5}};
    uint32_t seed = 10;
    int turn = 0;
    for (unsigned depth : kDepths)
        for (int inter : {OZL_INTER_NN, OZL_INTER_LINEAR, OZL_INTER_CUBIC, OZL_INTER_SUPER})
            for (const Factors& f : kFactors) {
                const geom::Layout& l = geom::kLayouts[turn++ % std::size(geom::kLayouts)];
                SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " factors "
                                                << f.xDst << "/" << f.xSrc << " " << f.yDst << "/" << f.ySrc
                                                << " nCh " << l.nCh << " order " << l.order << " coi " << l.coi);
                TestImage src(depth, 17, 12, l.nCh, l.order, l.alpha), dst(depth, 40, 37, l.nCh, l.order, l.alpha);
                geom::fillFor(src, ++seed), dst.fillRandom(++seed);
                src.setRoi(l.coi, 2, 1, 14, 10), dst.setRoi(l.coi, 1, 2, 36, 33);
                const TestImage before = dst.clone();
                ozlResize(src, dst, f.xDst, f.xSrc, f.yDst, f.ySrc, inter);
                expectResized(before, dst, src, inter, f);
            }
}

// The 8U paths with vector forms, at widths that reach every head and tail:
// halving (linear and super-sampled: the 2 x 2 mean), doubling, cubic.
TEST_F(Resize, EightBitVectorPathsAtEveryWidth) {
    for (int nCh : {1, 2, 3, 4})
        for (int w = 1; w <= 41; w += (w < 12 ? 1 : 7))
            for (const Factors& f : {Factors{1, 2, 1, 2}, Factors{2, 1, 2, 1}, Factors{5, 3, 3, 5}})
                for (int inter : {OZL_INTER_LINEAR, OZL_INTER_CUBIC, OZL_INTER_SUPER}) {
                    TestImage src(OZL_DEPTH_8U, w, 5, nCh), dst(OZL_DEPTH_8U, 2 * w + 3, 11, nCh);
                    src.fillRandom(w * 31 + nCh), dst.fillRandom(7);
                    dst.setRoi(0, 1, 0, 2 * w + 2, 11);
                    const TestImage before = dst.clone();
                    ozlResize(src, dst, f.xDst, f.xSrc, f.yDst, f.ySrc, inter);
                    SCOPED_TRACE(testing::Message() << "nCh " << nCh << " w " << w << " inter " << inter
                                                    << " factor " << f.xDst << "/" << f.xSrc);
                    expectResized(before, dst, src, inter, f);
                }
}

// Zoom with a mask, decimation, in place (the source read as it was), and
// tiled source and destination giving what the untiled images give.
TEST_F(Resize, ZoomDecimateMaskInPlaceAndTiles) {
    TestImage src(OZL_DEPTH_16U, 30, 21, 3), dst(OZL_DEPTH_16U, 50, 40, 3), mask(OZL_DEPTH_1U, 50, 40);
    src.fillRandom(1), dst.fillRandom(2), mask.fillRandom(3);
    dst.setMask(&mask);
    TestImage before = dst.clone();
    ozlZoom(src, dst, 3, 2, 5, 3, OZL_INTER_LINEAR);
    expectResized(before, dst, src, OZL_INTER_LINEAR, {3, 2, 5, 3}, &mask);
    dst.setMask(nullptr);
    before = dst.clone();
    ozlDecimate(src, dst, 2, 3, 1, 2, OZL_INTER_CUBIC);
    expectResized(before, dst, src, OZL_INTER_CUBIC, {2, 3, 1, 2});
    TestImage im(OZL_DEPTH_8U, 20, 20, 3);
    im.fillRandom(1);
    const TestImage copy = im.clone();
    ozlZoom(im, im, 2, 1, 2, 1, OZL_INTER_LINEAR);
    expectResized(copy, im, copy, OZL_INTER_LINEAR, {2, 1, 2, 1});
    for (int inter : {OZL_INTER_NN, OZL_INTER_LINEAR, OZL_INTER_SUPER}) {
        TiledImage ts(OZL_DEPTH_8U, 30, 21, 3, OZL_DATA_ORDER_PIXEL, 8, 16), td(OZL_DEPTH_8U, 50, 40, 3, OZL_DATA_ORDER_PIXEL, 16, 8);
        ts.pixels().fillRandom(4), td.pixels().fillRandom(5);
        TestImage plain = td.pixels().clone();
        td.setRoi(0, 3, 5, 44, 30), plain.setRoi(0, 3, 5, 44, 30);
        ozlResize(ts, td, 3, 2, 4, 3, inter);
        ozlResize(ts.pixels(), plain, 3, 2, 4, 3, inter);
        EXPECT_EQ(td.pixels().bytes(), plain.bytes()) << inter;
    }
}

TEST_F(Resize, Refusals) {
    TestImage src(OZL_DEPTH_8U, 8, 8, 3), dst(OZL_DEPTH_8U, 8, 8, 3), gray(OZL_DEPTH_8U, 8, 8, 1),
        wide(OZL_DEPTH_16U, 8, 8, 3), bits(OZL_DEPTH_1U, 8, 8, 1), bits2(OZL_DEPTH_1U, 8, 8, 1), bad(OZL_DEPTH_8U, 8, 8, 3);
    bad->imageData = nullptr;
    dst.fillRandom(1);
    const auto before = dst.bytes();
    using Fn = void (*)(OzlImage*, OzlImage*, int, int, int, int, int);
    struct Case {
        Fn fn;
        const char* name;
        OzlImage* s;
        int f[4];
        int inter;
        int line;
        const char* message;
        int status;
    };
    const Case cases[] = {
        {ozlResize, "ozlResize", bad, {1, 1, 1, 1}, 0, 300, "Incorrect Image", -12},
        {ozlResize, "ozlResize", wide, {1, 1, 1, 1}, 0, 302, "(srcImage->depth != dstImage->depth)", -5},
        {ozlResize, "ozlResize", gray, {1, 1, 1, 1}, 0, 304, "(nChSrc != nChDst)", -5},
        {ozlResize, "ozlResize", src, {1, 1, 1, 1}, 4, 305, "Unknown interpolation", -5},
        {ozlResize, "ozlResize", src, {1, 1, 1, 1}, OZL_INTER_LINEAR | OZL_FILL_FROM_BORDER, 305,
         "Unknown interpolation", -5},
        {ozlResize, "ozlResize", src, {1, 0, 1, 1}, 0, 306, "(xDst < 1 || xSrc < 1 || yDst < 1 || ySrc < 1)", -5},
        {ozlResize, "ozlResize", src, {1, 1, -2, 1}, 0, 306, "(xDst < 1 || xSrc < 1 || yDst < 1 || ySrc < 1)", -5},
        {ozlResize, "ozlResize", src, {65537, 2, 1, 1}, 0, 307, "Factor terms above 65536 after reduction", -5},
        {ozlZoom, "ozlZoom", src, {2, 3, 1, 1}, 0, 108, "Zoom factors below 1", -5},
        {ozlZoom, "ozlZoom", src, {1, 1, 4, 5}, 0, 108, "Zoom factors below 1", -5},
        {ozlDecimate, "ozlDecimate", src, {3, 2, 1, 1}, 0, 208, "Decimation factors above 1", -5},
        {ozlDecimate, "ozlDecimate", src, {1, 1, 1, 1}, 5, 205, "Unknown interpolation", -5},
    };
    for (const Case& c : cases) {
        c.fn(c.s, dst, c.f[0], c.f[1], c.f[2], c.f[3], c.inter);
        expectRefused(errors, dst, before, {c.status, c.name, c.message, "ozlresize", c.line});
    }
    ozlZoom(src, bad, 1, 1, 1, 1, 0);
    expectRefused(errors, dst, before, {-12, "ozlZoom", "Incorrect Image", "ozlresize", 101});
    ozlResize(bits, bits2, 1, 1, 1, 1, 0);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlResize", "1-bit images are not supported", "ozlresize", 303}));
    errors.clear();
    // 65536 itself, and large terms that reduce, are taken.
    ozlResize(src, dst, 65536, 65536 * 2, 2 * 70000, 70000, 0);
}

TEST_F(Resize, TileFailuresAreReported) {
    ErrorCapture errors;
    TiledImage ts(OZL_DEPTH_8U, 16, 16, 1, OZL_DATA_ORDER_PIXEL, 8, 8), td(OZL_DEPTH_8U, 16, 16, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    TestImage plain(OZL_DEPTH_8U, 16, 16, 1);
    ts.failFetch(2);
    ozlResize(ts, plain, 1, 1, 1, 1, OZL_INTER_NN);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlResize", "Error get tile to read", "ozlresize", 321}));
    td.failFetch(3);
    ozlResize(plain, td, 1, 1, 1, 1, OZL_INTER_NN);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlResize", "Error get tile to write", "ozlresize", 322}));
    EXPECT_EQ(errors.count(), 2u);
}

}  // namespace
