// Warps, rotation, shear and remapping against the per-pixel reference, the
// helpers against each other, masks, tiles, in place, and the refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "geometry/geometry_ref.hpp"
#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectRefused;
using ozl::test::TestImage;
using ozl::test::TiledImage;
namespace geom = ozl::test::geom;

const unsigned kDepths[] = {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U,
                            OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};
const int kInters[] = {OZL_INTER_NN, OZL_INTER_LINEAR, OZL_INTER_CUBIC};

void fillFor(TestImage& im, uint32_t seed) {
    const bool wide = im->depth == OZL_DEPTH_32S;
    im.fillRandom(seed, wide ? -1e9 : 0, wide ? 1e9 : 0);
}

// Cubic sums in another order may resolve an exact tie the other way.
double cubicTolerance(unsigned depth, int inter) {
    if (inter != OZL_INTER_CUBIC) return 0;
    return depth == OZL_DEPTH_32F ? 1e-6 : 1;
}

// Checks dst against sampling src at the positions pos(x, y) gives.
using PositionFn = std::function<void(int x, int y, double* sx, double* sy)>;
void expectSampled(const TestImage& before, const OzlImage* dst, const OzlImage* src, int inter,
                   const PositionFn& pos, double tolerance = 0) {
    const geom::Source s = geom::sourceOf(src, (inter & OZL_FILL_FROM_BORDER) != 0);
    geom::expectImage(before, dst, [&](int x, int y, int k, double* v) {
        double sx, sy;
        pos(x, y, &sx, &sy);
        return geom::sampleAt(s, inter & ~OZL_FILL_FROM_BORDER, sx, sy, k, v);
    }, tolerance);
}

// Checks dst (every channel, whole image) equals ref.
void expectSame(const TestImage& dst, const TestImage& ref) {
    geom::expectImage(dst.clone(), dst, [&](int x, int y, int c, double* v) {
        *v = ref.at(x, y, c);
        return true;
    });
}

TEST(Warp, IdentityTransformsGiveTheSource) {
    ErrorCapture errors;
    const double affine[2][3] = {{1, 0, 0}, {0, 1, 0}};
    const double bilinear[2][4] = {{0, 1, 0, 0}, {0, 0, 1, 0}};
    const double perspective[3][3] = {{2, 0, 0}, {0, 2, 0}, {0, 0, 2}};
    for (unsigned depth : kDepths)
        for (int inter : kInters)
            for (int nCh : {1, 3, 4}) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " nCh " << nCh);
                TestImage src(depth, 37, 9, nCh), dst(depth, 37, 9, nCh);
                fillFor(src, depth + inter + nCh);
                TestImage xMap(OZL_DEPTH_32F, 37, 9), yMap(OZL_DEPTH_32F, 37, 9);
                for (int y = 0; y < 9; ++y)
                    for (int x = 0; x < 37; ++x) xMap.put(x, y, 0, x), yMap.put(x, y, 0, y);
                const std::function<void()> calls[] = {
                    [&] { ozlWarpAffine(src, dst, affine, inter); },
                    [&] { ozlWarpBilinear(src, dst, bilinear, inter); },
                    [&] { ozlWarpPerspective(src, dst, perspective, inter); },
                    [&] { ozlRotate(src, dst, 0, 0, 0, inter); },
                    [&] { ozlShear(src, dst, 0, 0, 0, 0, inter | OZL_FILL_FROM_BORDER); },
                    [&] { ozlRemap(src, dst, xMap, yMap, inter); },
                };
                for (const auto& call : calls) {
                    dst.fillRandom(1);
                    call();
                    expectSame(dst, src);
                }
            }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// A quarter turn with nearest neighbour moves whole pixels: the transpose,
// mirrored upside down; a half turn is the mirror about both axes.
TEST(Warp, QuarterTurnsAreTransposesAndMirrors) {
    ErrorCapture errors;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32F})
        for (int nCh : {1, 3}) {
            const int w = 19, h = 12;
            TestImage src(depth, w, h, nCh), turned(depth, h, w, nCh), transposed(depth, h, w, nCh);
            TestImage expected(depth, h, w, nCh);
            fillFor(src, depth + nCh);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    for (int c = 0; c < nCh; ++c) transposed.put(y, x, c, src.at(x, y, c));
            ozlMirror(transposed, expected, OZL_MIRROR_HORIZONTAL);
            ozlRotate(src, turned, 90, 0, w - 1, OZL_INTER_NN);
            expectSame(turned, expected);
            // -90 degrees: the transpose mirrored left to right.
            ozlMirror(transposed, expected, OZL_MIRROR_VERTICAL);
            ozlRotate(src, turned, -90, h - 1, 0, OZL_INTER_NN);
            expectSame(turned, expected);
            TestImage half(depth, w, h, nCh), both(depth, w, h, nCh);
            double xs, ys;
            ozlGetRotateShift((w - 1) / 2.0, (h - 1) / 2.0, 180, &xs, &ys);
            ozlRotate(src, half, 180, xs, ys, OZL_INTER_LINEAR);
            ozlMirror(src, both, OZL_MIRROR_BOTH);
            expectSame(half, both);
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Coefficients whose inverse and positions are exact in binary: every
// destination pixel against the reference, exactly (cubic within 1 level).
TEST(Warp, AffineAgainstReference) {
    ErrorCapture errors;
    // Determinant 1: the inverse is [[1.125, -0.5], [-0.25, 1]].
    const double c[2][3] = {{1, 0.5, 3.25}, {0.25, 1.125, -2}};
    auto pos = [](int x, int y, double* sx, double* sy) {
        *sx = 1.125 * x - 0.5 * y - (1.125 * 3.25 + 1.0);
        *sy = -0.25 * x + 1.0 * y - (-0.25 * 3.25 - 2.0);
    };
    struct Layout {
        int nCh, order;
        bool alpha;
        int coi;
    };
    const Layout layouts[] = {{3, OZL_DATA_ORDER_PIXEL, false, 0}, {4, OZL_DATA_ORDER_PIXEL, false, 0},
                              {1, OZL_DATA_ORDER_PIXEL, false, 0}, {4, OZL_DATA_ORDER_PIXEL, true, 0},
                              {3, OZL_DATA_ORDER_PLANE, false, 0}, {3, OZL_DATA_ORDER_PIXEL, false, 3}};
    uint32_t seed = 100;
    for (unsigned depth : kDepths)
        for (int inter : kInters)
            for (const Layout& l : layouts)
                for (bool fill : {false, true}) {
                    SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " nCh "
                                                    << l.nCh << " order " << l.order << " fill " << fill);
                    TestImage src(depth, 41, 23, l.nCh, l.order, l.alpha), dst(depth, 52, 33, l.nCh, l.order, l.alpha);
                    fillFor(src, ++seed);
                    dst.fillRandom(++seed);
                    src.setRoi(l.coi, 3, 2, 37, 20);
                    dst.setRoi(l.coi, 2, 1, 49, 31);
                    ozlSetBorderMode(src, static_cast<int>(seed % 4), OZL_SIDE_ALL, 77);
                    ozlSetBorderMode(src, OZL_BORDER_CONSTANT, OZL_SIDE_LEFT, -3);
                    const int mode = inter | (fill ? OZL_FILL_FROM_BORDER : 0);
                    const TestImage before = dst.clone();
                    ozlWarpAffine(src, dst, c, mode);
                    expectSampled(before, dst, src, mode, pos, cubicTolerance(depth, inter));
                }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Random positions, in and around the source, exactly on pixel centres and
// halfway, and not numbers; every border mode on its own side.
TEST(Warp, RemapAgainstReference) {
    ErrorCapture errors;
    std::mt19937 rng(5);
    const int w = 29, h = 17;
    TestImage xMap(OZL_DEPTH_32F, w, h, 2), yMap(OZL_DEPTH_32F, w, h);
    xMap.setRoi(2, 0, 0, w, h);  // the second channel holds the positions
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            auto draw = [&](int size) -> double {
                switch (rng() % 6) {
                    case 0: return static_cast<double>(rng() % (size + 8)) - 4;        // centres
                    case 1: return static_cast<double>(rng() % (size + 8)) - 4.5;      // halfway
                    case 2: return rng() % 50 == 0 ? NAN : std::ldexp(1.0 * (rng() % 100000), -10) - 60;
                    default: return std::uniform_real_distribution<double>(-3, size + 2)(rng);
                }
            };
            xMap.put(x, y, 1, static_cast<float>(draw(20)));
            yMap.put(x, y, 0, static_cast<float>(draw(14)));
        }
    uint32_t seed = 7;
    for (unsigned depth : kDepths)
        for (int inter : kInters)
            for (int modes : {-1, 0x0123, 0x1032, 0x2301, 0x3210}) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " modes " << modes);
                TestImage src(depth, 20, 14, 3), dst(depth, w, h, 3);
                fillFor(src, ++seed);
                dst.fillRandom(++seed);
                for (int side = 0; side < 4 && modes >= 0; ++side)
                    ozlSetBorderMode(src, (modes >> (4 * side)) & 3, 1 << side, 10 * side - 15);
                const int mode = inter | (modes >= 0 ? OZL_FILL_FROM_BORDER : 0);
                const TestImage before = dst.clone();
                ozlRemap(src, dst, xMap, yMap, mode);
                expectSampled(before, dst, src, mode, [&](int x, int y, double* sx, double* sy) {
                    *sx = xMap.at(x, y, 1);
                    *sy = yMap.at(x, y, 0);
                }, cubicTolerance(depth, inter));
            }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Positions near a place where the result jumps (the region's edge, halfway
// between pixels for nearest neighbour) are left out; elsewhere integer
// results may differ by 1 and floats a little, the reference solving for the
// positions its own way.
bool clearOfJumps(double sx, double sy, int w, int h, int inter) {
    const double eps = 1e-6;
    auto within = [&](double v, double edge) { return std::fabs(v - edge) < eps; };
    if (within(sx, -0.5) || within(sx, w - 0.5) || within(sy, -0.5) || within(sy, h - 0.5)) return false;
    if (inter == OZL_INTER_NN)
        return !within(sx - std::floor(sx), 0.5) && !within(sy - std::floor(sy), 0.5);
    return true;
}

TEST(Warp, PerspectiveAndBilinearAgainstIndependentPositions) {
    ErrorCapture errors;
    const double quad[4][2] = {{3.3, 1.2}, {40.1, 4.7}, {35.6, 27.9}, {1.8, 22.4}};
    const int sw = 30, sh = 20;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32F})
        for (int inter : kInters)
            for (bool persp : {true, false}) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " perspective " << persp);
                TestImage src(depth, sw, sh, 3), dst(depth, 45, 32, 3);
                fillFor(src, depth + inter);
                dst.fillRandom(3);
                const TestImage before = dst.clone();
                double hm[3][3];
                ozlGetPerspectiveTransform(src, hm, quad);
                // Positions: the rectangle's point (u, v) whose image under
                // the corner-interpolating map is (x, y), by Newton steps.
                auto forward = [&](double u, double v, double* x, double* y) {
                    const double a = u / (sw - 1), b = v / (sh - 1);
                    if (!persp) {
                        for (int k = 0; k < 2; ++k)
                            (k ? *y : *x) = quad[0][k] * (1 - a) * (1 - b) + quad[1][k] * a * (1 - b) +
                                            quad[2][k] * a * b + quad[3][k] * (1 - a) * b;
                        return;
                    }
                    const double wq = hm[2][0] * u + hm[2][1] * v + hm[2][2];
                    *x = (hm[0][0] * u + hm[0][1] * v + hm[0][2]) / wq;
                    *y = (hm[1][0] * u + hm[1][1] * v + hm[1][2]) / wq;
                };
                std::vector<double> ps(45 * 32 * 2);
                for (int y = 0; y < 32; ++y)
                    for (int x = 0; x < 45; ++x) {
                        double u = sw / 2.0, v = sh / 2.0;
                        for (int it = 0; it < 60; ++it) {
                            double fx, fy, ax, ay, bx, by;
                            const double d = 1e-6;
                            forward(u, v, &fx, &fy);
                            forward(u + d, v, &ax, &ay);
                            forward(u, v + d, &bx, &by);
                            const double j00 = (ax - fx) / d, j01 = (bx - fx) / d;
                            const double j10 = (ay - fy) / d, j11 = (by - fy) / d;
                            const double det = j00 * j11 - j01 * j10, ex = x - fx, ey = y - fy;
                            u += (j11 * ex - j01 * ey) / det;
                            v += (-j10 * ex + j00 * ey) / det;
                        }
                        ps[2 * (y * 45 + x)] = u;
                        ps[2 * (y * 45 + x) + 1] = v;
                    }
                if (persp) ozlWarpPerspectiveQ(src, dst, quad, inter);
                else ozlWarpBilinearQ(src, dst, quad, inter);
                const geom::Source s = geom::sourceOf(src);
                geom::expectImage(before, dst, [&](int x, int y, int k, double* v) {
                    const double sx = ps[2 * (y * 45 + x)], sy = ps[2 * (y * 45 + x) + 1];
                    if (!clearOfJumps(sx, sy, sw, sh, inter)) {
                        *v = valueOf(dst, x, y, k);  // either may hold
                        return true;
                    }
                    return geom::sampleAt(s, inter, sx, sy, k, v);
                }, depth == OZL_DEPTH_32F ? 1e-4 : 1);
            }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// A smooth picture turned and turned back, or warped by a perspective and
// its inverse, stays within one level of itself away from the edges.
TEST(Warp, WarpAndInverseStayWithinOneLevel) {
    ErrorCapture errors;
    const int w = 96, h = 72;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16U, OZL_DEPTH_32F})
        for (int nCh : {1, 3, 4}) {
            SCOPED_TRACE(testing::Message() << "depth " << depth << " nCh " << nCh);
            TestImage src(depth, w, h, nCh), mid(depth, w, h, nCh), back(depth, w, h, nCh);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    for (int c = 0; c < nCh; ++c)
                        src.put(x, y, c, std::round(120 + 90 * std::sin(x / 17.0 + c) * std::cos(y / 23.0)));
            double xs, ys;
            ozlGetRotateShift((w - 1) / 2.0, (h - 1) / 2.0, 30, &xs, &ys);
            ozlRotate(src, mid, 30, xs, ys, OZL_INTER_LINEAR);
            ozlGetRotateShift((w - 1) / 2.0, (h - 1) / 2.0, -30, &xs, &ys);
            ozlRotate(mid, back, -30, xs, ys, OZL_INTER_LINEAR);
            const double hm[3][3] = {{1.1, 0.05, -3}, {0.02, 0.95, 2}, {0.0004, 0.0002, 1}};
            TestImage pmid(depth, w, h, nCh), pback(depth, w, h, nCh);
            ozlWarpPerspective(src, pmid, hm, OZL_INTER_LINEAR);
            double inv[3][3];
            // The inverse by cofactors (any scale will do).
            for (int r = 0; r < 3; ++r)
                for (int k = 0; k < 3; ++k)
                    inv[k][r] = hm[(r + 1) % 3][(k + 1) % 3] * hm[(r + 2) % 3][(k + 2) % 3] -
                                hm[(r + 1) % 3][(k + 2) % 3] * hm[(r + 2) % 3][(k + 1) % 3];
            ozlWarpPerspective(pmid, pback, inv, OZL_INTER_LINEAR);
            double worst = 0;
            for (int y = 20; y < h - 20; ++y)
                for (int x = 20; x < w - 20; ++x)
                    for (int c = 0; c < nCh; ++c) {
                        worst = std::max(worst, std::fabs(back.at(x, y, c) - src.at(x, y, c)));
                        worst = std::max(worst, std::fabs(pback.at(x, y, c) - src.at(x, y, c)));
                    }
            EXPECT_LE(worst, 1.0);
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Warp, HelpersAgreeWithEachOther) {
    ErrorCapture errors;
    TestImage src(OZL_DEPTH_8U, 50, 30);
    src.setRoi(0, 5, 2, 31, 21);  // the corners are (0, 0) .. (30, 20)
    const double quad[4][2] = {{2, 3}, {40, -1}, {47, 30}, {-4, 25}};
    const double para[4][2] = {{2, 3}, {40, -1}, {36, 21}, {-2, 25}};
    double back[4][2], rect[2][2];
    auto expectQuad = [](const double a[4][2], const double b[4][2]) {
        for (int i = 0; i < 4; ++i)
            for (int k = 0; k < 2; ++k) EXPECT_NEAR(a[i][k], b[i][k], 1e-9) << i << " " << k;
    };
    auto expectBound = [](const double q[4][2], const double r[2][2]) {
        for (int k = 0; k < 2; ++k) {
            EXPECT_EQ(r[0][k], std::min({q[0][k], q[1][k], q[2][k], q[3][k]}));
            EXPECT_EQ(r[1][k], std::max({q[0][k], q[1][k], q[2][k], q[3][k]}));
        }
    };
    double a[2][3], b[2][4], p[3][3];
    ozlGetAffineTransform(src, a, para);
    ozlGetAffineQuad(src, a, back);
    expectQuad(back, para);
    ozlGetAffineBound(src, a, rect);
    expectBound(back, rect);
    ozlGetBilinearTransform(src, b, quad);
    ozlGetBilinearQuad(src, b, back);
    expectQuad(back, quad);
    ozlGetBilinearBound(src, b, rect);
    expectBound(back, rect);
    ozlGetPerspectiveTransform(src, p, quad);
    EXPECT_EQ(p[2][2], 1.0);
    ozlGetPerspectiveQuad(src, p, back);
    expectQuad(back, quad);
    ozlGetPerspectiveBound(src, p, rect);
    expectBound(back, rect);
    // A parallelogram: the perspective transform is the affine one.
    ozlGetPerspectiveTransform(src, p, para);
    for (int r = 0; r < 2; ++r)
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(p[r][k], a[r][k], 1e-12);
    EXPECT_NEAR(p[2][0], 0, 1e-15);
    // The rotation shift keeps the centre in place.
    double xs, ys;
    ozlGetRotateShift(7.5, -3.25, 37, &xs, &ys);
    const double t = 37 * 3.14159265358979323846 / 180;
    EXPECT_NEAR(7.5 * std::cos(t) - 3.25 * std::sin(t) + xs, 7.5, 1e-12);
    EXPECT_NEAR(-7.5 * std::sin(t) - 3.25 * std::cos(t) + ys, -3.25, 1e-12);
    // The corner pixels of the source land on the quadrangle's vertices.
    TestImage s(OZL_DEPTH_8U, 31, 21), d(OZL_DEPTH_8U, 60, 40);
    s.fill(200);
    const double q[4][2] = {{4, 6}, {50, 2}, {55, 35}, {2, 30}};
    for (int persp = 0; persp < 2; ++persp) {
        d.fill(0);
        if (persp) ozlWarpPerspectiveQ(s, d, q, OZL_INTER_NN);
        else ozlWarpBilinearQ(s, d, q, OZL_INTER_NN);
        for (const auto& v : q) EXPECT_EQ(d.at(static_cast<int>(v[0]), static_cast<int>(v[1])), 200) << persp;
        EXPECT_EQ(d.at(0, 39), 0);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Warp, MasksTilesAndInPlace) {
    ErrorCapture errors;
    double xs, ys;
    ozlGetRotateShift(75, 40, 30, &xs, &ys);  // blocks of the walk cross the image
    // Masked: only where the mask's bit is set.
    TestImage src(OZL_DEPTH_8U, 150, 80, 3), dst(OZL_DEPTH_8U, 150, 80, 3), unmasked(OZL_DEPTH_8U, 150, 80, 3);
    TestImage mask(OZL_DEPTH_1U, 150, 80);
    src.fillRandom(1);
    dst.fillRandom(2);
    mask.fillRandom(3);
    std::memcpy(unmasked->imageData, dst->imageData, dst->imageSize);
    const TestImage before = dst.clone();
    dst.setMask(&mask);
    ozlRotate(src, dst, 30, xs, ys, OZL_INTER_LINEAR);
    ozlRotate(src, unmasked, 30, xs, ys, OZL_INTER_LINEAR);
    geom::expectImage(before, dst, [&](int x, int y, int c, double* v) {
        if (!mask.at(x, y)) return false;
        *v = unmasked.at(x, y, c);
        return true;
    });
    // Tiled source and destination give what the untiled images give.
    for (int inter : {OZL_INTER_LINEAR, OZL_INTER_CUBIC | OZL_FILL_FROM_BORDER}) {
        TiledImage ts(OZL_DEPTH_8U, 150, 80, 3, OZL_DATA_ORDER_PIXEL, 16, 8);
        TiledImage td(OZL_DEPTH_8U, 150, 80, 3, OZL_DATA_ORDER_PIXEL, 8, 16);
        std::memcpy(ts.pixels()->imageData, src->imageData, src->imageSize);
        td.pixels().fillRandom(4);
        TestImage plain = td.pixels().clone();
        ozlSetBorderMode(ts, OZL_BORDER_REFLECT, OZL_SIDE_ALL, 0);
        ozlSetBorderMode(src, OZL_BORDER_REFLECT, OZL_SIDE_ALL, 0);
        ozlRotate(ts, td, 30, xs, ys, inter);
        ozlRotate(src, plain, 30, xs, ys, inter);
        EXPECT_EQ(td.pixels().bytes(), plain.bytes()) << inter;
    }
    // In place: the source as it was before the call.
    const TestImage copy = src.clone();
    TestImage same = src.clone();
    ozlRotate(src, src, 30, xs, ys, OZL_INTER_LINEAR);
    ozlRotate(copy, same, 30, xs, ys, OZL_INTER_LINEAR);
    EXPECT_EQ(src.bytes(), same.bytes());
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Warp, Refusals) {
    ErrorCapture errors;
    TestImage src(OZL_DEPTH_8U, 8, 8, 3), dst(OZL_DEPTH_8U, 8, 8, 3), gray(OZL_DEPTH_8U, 8, 8);
    TestImage wide(OZL_DEPTH_16U, 8, 8, 3), thin(OZL_DEPTH_8U, 1, 8, 3), map(OZL_DEPTH_32F, 8, 8);
    TestImage intMap(OZL_DEPTH_32S, 8, 8), twoMap(OZL_DEPTH_32F, 8, 8, 2), bad(OZL_DEPTH_8U, 8, 8, 3);
    bad->imageData = nullptr;
    dst.fillRandom(1);
    const auto before = dst.bytes();
    const double a[2][3] = {{1, 0, 0}, {0, 1, 0}}, singular[2][3] = {{1, 2, 0}, {2, 4, 0}};
    const double infinite[2][3] = {{1, 0, INFINITY}, {0, 1, 0}};
    const double b[2][4] = {{0, 1, 0, 0}, {0, 0, 1, NAN}};
    const double p[3][3] = {{1, 0, 0}, {0, 1, 0}, {-0.25, 0, 1}}, flat[3][3] = {{1, 2, 3}, {2, 4, 6}, {0, 0, 1}};
    const double q[4][2] = {{0, 0}, {5, 0}, {5, 5}, {0, 5}}, line[4][2] = {{0, 0}, {5, 0}, {9, 0}, {0, 5}};
    struct Case {
        std::function<void()> call;
        ErrorReport report;
    };
    const Case cases[] = {
        {[&] { ozlWarpAffine(bad, dst, a, 0); }, {-12, "ozlWarpAffine", "Incorrect Image", "ozlaffine", 60}},
        {[&] { ozlWarpAffine(wide, dst, a, 0); }, {-5, "ozlWarpAffine", "(srcImage->depth != dstImage->depth)", "ozlaffine", 62}},
        {[&] { ozlWarpAffine(gray, dst, a, 0); }, {-5, "ozlWarpAffine", "(nChSrc != nChDst)", "ozlaffine", 64}},
        {[&] { ozlWarpAffine(src, dst, a, OZL_INTER_SUPER); }, {-5, "ozlWarpAffine", "Unknown interpolation", "ozlaffine", 65}},
        {[&] { ozlWarpAffine(src, dst, a, 0x201); }, {-5, "ozlWarpAffine", "Unknown interpolation", "ozlaffine", 65}},
        {[&] { ozlWarpAffine(src, dst, nullptr, 0); }, {-5, "ozlWarpAffine", "NULL pointer argument", "ozlaffine", 66}},
        {[&] { ozlWarpAffine(src, dst, infinite, 0); }, {-5, "ozlWarpAffine", "Coefficients are not finite", "ozlaffine", 67}},
        {[&] { ozlWarpAffine(src, dst, singular, 0); }, {-5, "ozlWarpAffine", "The transform is singular", "ozlaffine", 68}},
        {[&] { ozlRotate(src, dst, NAN, 0, 0, 0); }, {-5, "ozlRotate", "Coefficients are not finite", "ozlaffine", 206}},
        {[&] { ozlRotate(src, bad, 0, 0, 0, 0); }, {-12, "ozlRotate", "Incorrect Image", "ozlaffine", 201}},
        {[&] { ozlShear(src, dst, 2, 0.5, 0, 0, 1); }, {-5, "ozlShear", "The transform is singular", "ozlaffine", 287}},
        {[&] { ozlGetRotateShift(0, 0, 0, nullptr, nullptr); }, {-5, "ozlGetRotateShift", "NULL pointer argument", "ozlaffine", 261}},
        {[&] { double r[2][2]; ozlGetAffineBound(bad, a, r); }, {-12, "ozlGetAffineBound", "Incorrect Image", "ozlaffine", 140}},
        {[&] { ozlGetAffineQuad(src, a, nullptr); }, {-5, "ozlGetAffineQuad", "NULL pointer argument", "ozlaffine", 121}},
        {[&] { double c[2][3]; ozlGetAffineTransform(thin, c, q); }, {-5, "ozlGetAffineTransform", "The region is 1 pixel wide or high", "ozlaffine", 162}},
        {[&] { ozlWarpBilinear(src, dst, b, 0); }, {-5, "ozlWarpBilinear", "Coefficients are not finite", "ozlbilin", 57}},
        {[&] { ozlWarpBilinearQ(src, dst, nullptr, 0); }, {-5, "ozlWarpBilinearQ", "NULL pointer argument", "ozlbilin", 106}},
        {[&] { ozlWarpBilinearQ(thin, dst, q, 0); }, {-5, "ozlWarpBilinearQ", "The region is 1 pixel wide or high", "ozlbilin", 107}},
        {[&] { double r[4][2]; ozlGetBilinearQuad(src, nullptr, r); }, {-5, "ozlGetBilinearQuad", "NULL pointer argument", "ozlbilin", 151}},
        {[&] { double r[2][2]; ozlGetBilinearBound(bad, b, r); }, {-12, "ozlGetBilinearBound", "Incorrect Image", "ozlbilin", 170}},
        {[&] { double c[2][4]; ozlGetBilinearTransform(thin, c, q); }, {-5, "ozlGetBilinearTransform", "The region is 1 pixel wide or high", "ozlbilin", 192}},
        {[&] { ozlWarpPerspective(src, dst, flat, 0); }, {-5, "ozlWarpPerspective", "The transform is singular", "ozlpersp", 58}},
        {[&] { ozlWarpPerspective(src, dst, nullptr, 2); }, {-5, "ozlWarpPerspective", "NULL pointer argument", "ozlpersp", 56}},
        {[&] { ozlWarpPerspectiveQ(src, dst, line, 0); }, {-5, "ozlWarpPerspectiveQ", "Three vertices of quad on a line", "ozlpersp", 108}},
        {[&] { ozlWarpPerspectiveQ(thin, dst, q, 0); }, {-5, "ozlWarpPerspectiveQ", "The region is 1 pixel wide or high", "ozlpersp", 107}},
        {[&] { double r[4][2]; ozlGetPerspectiveQuad(bad, p, r); }, {-12, "ozlGetPerspectiveQuad", "Incorrect Image", "ozlpersp", 150}},
        {[&] { ozlGetPerspectiveBound(src, p, nullptr); }, {-5, "ozlGetPerspectiveBound", "NULL pointer argument", "ozlpersp", 171}},
        {[&] { double c[3][3]; ozlGetPerspectiveTransform(src, c, line); }, {-5, "ozlGetPerspectiveTransform", "Three vertices of quad on a line", "ozlpersp", 193}},
        {[&] { double c[3][3]; ozlGetPerspectiveTransform(thin, c, q); }, {-5, "ozlGetPerspectiveTransform", "The region is 1 pixel wide or high", "ozlpersp", 192}},
        {[&] { ozlRemap(src, dst, bad, map, 0); }, {-12, "ozlRemap", "Incorrect Image", "ozlremap", 46}},
        {[&] { ozlRemap(src, dst, map, bad, 0); }, {-12, "ozlRemap", "Incorrect Image", "ozlremap", 47}},
        {[&] { ozlRemap(wide, dst, map, map, 0); }, {-5, "ozlRemap", "(srcImage->depth != dstImage->depth)", "ozlremap", 42}},
        {[&] { ozlRemap(src, dst, map, intMap, 0); }, {-5, "ozlRemap", "The maps are not 32F images", "ozlremap", 48}},
        {[&] { ozlRemap(src, dst, twoMap, map, 0); }, {-5, "ozlRemap", "The maps have more than one channel to read", "ozlremap", 49}},
        {[&] { ozlRemap(src, dst, map, map, 3); }, {-5, "ozlRemap", "Unknown interpolation", "ozlremap", 45}},
    };
    for (const Case& c : cases) {
        c.call();
        expectRefused(errors, dst, before, c.report);
    }
    // A perspective that sends part of the plane to infinity is taken.
    ozlWarpPerspective(src, dst, p, OZL_INTER_LINEAR);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Warp, TileFailuresAreReported) {
    ErrorCapture errors;
    TiledImage ts(OZL_DEPTH_8U, 16, 16, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    TiledImage tm(OZL_DEPTH_32F, 16, 16, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    TestImage plain(OZL_DEPTH_8U, 16, 16), map(OZL_DEPTH_32F, 16, 16);
    ts.failFetch(1);
    ozlRotate(ts, plain, 10, 0, 0, OZL_INTER_NN);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlRotate", "Error get tile to read", "ozlaffine", 221}));
    tm.failFetch(2);
    ozlRemap(plain, plain, tm, map, OZL_INTER_NN);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlRemap", "Error get tile to read", "ozlremap", 61}));
    EXPECT_EQ(errors.count(), 2u);
}

}  // namespace
