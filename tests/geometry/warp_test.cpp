// Warps, rotation, shear and remapping against the per-pixel reference, the
// helpers against each other, masks, tiles, in place, and the refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "geometry/geometry_ref.hpp"

namespace {

using Warp = ozl::test::geom::GeomTest;

using namespace ozl::test;
using namespace ozl::test::geom;

const int kInters[] = {OZL_INTER_NN, OZL_INTER_LINEAR, OZL_INTER_CUBIC};

// Cubic sums in double precision in another order may resolve an exact tie
// the other way (8U is fixed-point: exact).
double cubicTolerance(unsigned depth, int inter) {
    return inter != OZL_INTER_CUBIC || depth == OZL_DEPTH_8U ? 0 : depth == OZL_DEPTH_32F ? 1e-6 : 1;
}

// Checks dst against sampling src at the positions pos(x, y) gives.
using PositionFn = std::function<void(int x, int y, double* sx, double* sy)>;
void expectSampled(const TestImage& before, const OzlImage* dst, const OzlImage* src, int inter, const PositionFn& pos,
                   double tolerance = 0) {
    const Source s = sourceOf(src, (inter & OZL_FILL_FROM_BORDER) != 0);
    expectImage(before, dst, [&](int x, int y, int k, double* v) {
        double sx, sy;
        pos(x, y, &sx, &sy);
        return sampleAt(s, inter & ~OZL_FILL_FROM_BORDER, sx, sy, k, v);
    }, tolerance);
}

TEST_F(Warp, IdentityTransformsGiveTheSource) {
    const double affine[2][3] = {{1, 0, 0}, {0, 1, 0}}, bilinear[2][4] = {{0, 1, 0, 0}, {0, 0, 1, 0}};
    const double perspective[3][3] = {{2, 0, 0}, {0, 2, 0}, {0, 0, 2}};
    TestImage xMap(OZL_DEPTH_32F, 37, 9), yMap(OZL_DEPTH_32F, 37, 9);
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 37; ++x) xMap.put(x, y, 0, x), yMap.put(x, y, 0, y);
    for (unsigned depth : kDepths)
        for (int inter : kInters)
            for (int nCh : {1, 3, 4}) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " nCh " << nCh);
                TestImage src(depth, 37, 9, nCh), dst(depth, 37, 9, nCh);
                fillFor(src, depth + inter + nCh);
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
                    expectSameValues(dst, src);
                }
            }
}

// A quarter turn with nearest neighbour moves whole pixels: the transpose,
// mirrored; a half turn is the mirror about both axes.
TEST_F(Warp, QuarterTurnsAreTransposesAndMirrors) {
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32F})
        for (int nCh : {1, 3}) {
            const int w = 19, h = 12;
            TestImage src(depth, w, h, nCh), turned(depth, h, w, nCh), transposed(depth, h, w, nCh),
                expected(depth, h, w, nCh), half(depth, w, h, nCh), both(depth, w, h, nCh);
            fillFor(src, depth + nCh);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    for (int c = 0; c < nCh; ++c) transposed.put(y, x, c, src.at(x, y, c));
            ozlMirror(transposed, expected, OZL_MIRROR_HORIZONTAL);
            ozlRotate(src, turned, 90, 0, w - 1, OZL_INTER_NN);
            expectSameValues(turned, expected);
            ozlMirror(transposed, expected, OZL_MIRROR_VERTICAL);  // -90 degrees: mirrored left to right
            ozlRotate(src, turned, -90, h - 1, 0, OZL_INTER_NN);
            expectSameValues(turned, expected);
            double xs, ys;
            ozlGetRotateShift((w - 1) / 2.0, (h - 1) / 2.0, 180, &xs, &ys);
            ozlRotate(src, half, 180, xs, ys, OZL_INTER_LINEAR);
            ozlMirror(src, both, OZL_MIRROR_BOTH);
            expectSameValues(half, both);
        }
}

// Coefficients whose inverse and positions are exact in binary (determinant
// 1, inverse [[1.125, -0.5], [-0.25, 1]]): every destination pixel against the
// reference, in every layout, with and without the border fill.
TEST_F(Warp, AffineAgainstReference) {
    const double c[2][3] = {{1, 0.5, 3.25}, {0.25, 1.125, -2}};
    auto pos = [](int x, int y, double* sx, double* sy) {
        *sx = 1.125 * x - 0.5 * y - (1.125 * 3.25 + 1.0);
        *sy = -0.25 * x + 1.0 * y - (-0.25 * 3.25 - 2.0);
    };
    uint32_t seed = 100;
    for (unsigned depth : kDepths)
        for (int inter : kInters)
            for (const Layout& l : kLayouts)
                for (bool fill : {false, true}) {
                    SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " nCh " << l.nCh
                                                    << " order " << l.order << " fill " << fill);
                    TestImage src(depth, 41, 23, l.nCh, l.order, l.alpha), dst(depth, 52, 33, l.nCh, l.order, l.alpha);
                    fillFor(src, ++seed), dst.fillRandom(++seed);
                    src.setRoi(l.coi, 3, 2, 37, 20), dst.setRoi(l.coi, 2, 1, 49, 31);
                    ozlSetBorderMode(src, static_cast<int>(seed % 4), OZL_SIDE_ALL, 77);
                    ozlSetBorderMode(src, OZL_BORDER_CONSTANT, OZL_SIDE_LEFT, -3);
                    const int mode = inter | (fill ? OZL_FILL_FROM_BORDER : 0);
                    const TestImage before = dst.clone();
                    ozlWarpAffine(src, dst, c, mode);
                    expectSampled(before, dst, src, mode, pos, cubicTolerance(depth, inter));
                }
}

// Random positions, in and around the source, exactly on pixel centres and
// halfway, and not numbers; every border mode on its own side.
TEST_F(Warp, RemapAgainstReference) {
    std::mt19937 rng(5);
    const int w = 29, h = 17;
    TestImage xMap(OZL_DEPTH_32F, w, h, 2), yMap(OZL_DEPTH_32F, w, h);
    xMap.setRoi(2, 0, 0, w, h);  // the second channel holds the positions
    auto draw = [&](int size) -> float {
        switch (rng() % 6) {
            case 0: return static_cast<float>(rng() % (size + 8)) - 4;    // centres
            case 1: return static_cast<float>(rng() % (size + 8)) - 4.5f;  // halfway
            case 2: return rng() % 50 == 0 ? NAN : static_cast<float>(std::ldexp(1.0 * (rng() % 100000), -10) - 60);
            default: return static_cast<float>(std::uniform_real_distribution<double>(-3, size + 2)(rng));
        }
    };
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) xMap.put(x, y, 1, draw(20)), yMap.put(x, y, 0, draw(14));
    uint32_t seed = 7;
    for (unsigned depth : kDepths)
        for (int inter : kInters)
            for (int modes : {-1, 0x0123, 0x1032, 0x2301, 0x3210}) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " modes " << modes);
                TestImage src(depth, 20, 14, 3), dst(depth, w, h, 3);
                fillFor(src, ++seed), dst.fillRandom(++seed);
                for (int side = 0; side < 4 && modes >= 0; ++side)
                    ozlSetBorderMode(src, (modes >> (4 * side)) & 3, 1 << side, 10 * side - 15);
                const int mode = inter | (modes >= 0 ? OZL_FILL_FROM_BORDER : 0);
                const TestImage before = dst.clone();
                ozlRemap(src, dst, xMap, yMap, mode);
                expectSampled(before, dst, src, mode, [&](int x, int y, double* sx, double* sy) {
                    *sx = xMap.at(x, y, 1), *sy = yMap.at(x, y, 0);
                }, cubicTolerance(depth, inter));
            }
}

// The quadrangle warps against positions solved independently (Newton steps
// on the corner-interpolating map or the perspective). Positions near a jump
// (the region's edge, halfway between pixels for nearest neighbour) may take
// either value; elsewhere integers may differ by 1 and floats a little.
TEST_F(Warp, PerspectiveAndBilinearAgainstIndependentPositions) {
    const double quad[4][2] = {{3.3, 1.2}, {40.1, 4.7}, {35.6, 27.9}, {1.8, 22.4}};
    const int sw = 30, sh = 20, dw = 45, dh = 32;
    auto atEdge = [](double v, double edge) { return std::fabs(v - edge) < 1e-6; };
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32F})
        for (int inter : kInters)
            for (bool persp : {true, false}) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " inter " << inter << " perspective " << persp);
                TestImage src(depth, sw, sh, 3), dst(depth, dw, dh, 3);
                fillFor(src, depth + inter), dst.fillRandom(3);
                const TestImage before = dst.clone();
                double hm[3][3];
                ozlGetPerspectiveTransform(src, hm, quad);
                auto forward = [&](double u, double v, double* x, double* y) {
                    const double a = u / (sw - 1), b = v / (sh - 1), wq = hm[2][0] * u + hm[2][1] * v + hm[2][2];
                    for (int k = 0; k < 2; ++k)
                        (k ? *y : *x) = persp ? (hm[k][0] * u + hm[k][1] * v + hm[k][2]) / wq
                                              : quad[0][k] * (1 - a) * (1 - b) + quad[1][k] * a * (1 - b) +
                                                    quad[2][k] * a * b + quad[3][k] * (1 - a) * b;
                };
                std::vector<double> ps(dw * dh * 2);
                for (int y = 0; y < dh; ++y)
                    for (int x = 0; x < dw; ++x) {
                        double u = sw / 2.0, v = sh / 2.0, fx, fy, ax, ay, bx, by;
                        for (int it = 0; it < 60; ++it) {
                            const double d = 1e-6;
                            forward(u, v, &fx, &fy), forward(u + d, v, &ax, &ay), forward(u, v + d, &bx, &by);
                            const double j00 = (ax - fx) / d, j01 = (bx - fx) / d, j10 = (ay - fy) / d, j11 = (by - fy) / d;
                            const double det = j00 * j11 - j01 * j10, ex = x - fx, ey = y - fy;
                            u += (j11 * ex - j01 * ey) / det, v += (-j10 * ex + j00 * ey) / det;
                        }
                        ps[2 * (y * dw + x)] = u, ps[2 * (y * dw + x) + 1] = v;
                    }
                persp ? ozlWarpPerspectiveQ(src, dst, quad, inter) : ozlWarpBilinearQ(src, dst, quad, inter);
                const Source s = sourceOf(src);
                expectImage(before, dst, [&](int x, int y, int k, double* v) {
                    const double sx = ps[2 * (y * dw + x)], sy = ps[2 * (y * dw + x) + 1];
                    const bool jump = atEdge(sx, -0.5) || atEdge(sx, sw - 0.5) || atEdge(sy, -0.5) || atEdge(sy, sh - 0.5) ||
                                      (inter == OZL_INTER_NN && (atEdge(sx - std::floor(sx), 0.5) || atEdge(sy - std::floor(sy), 0.5)));
                    if (jump) return *v = valueOf(dst, x, y, k), true;
                    return sampleAt(s, inter, sx, sy, k, v);
                }, depth == OZL_DEPTH_32F ? 1e-4 : 1);
            }
}

TEST_F(Warp, HelpersAgreeWithEachOther) {
    TestImage src(OZL_DEPTH_8U, 50, 30);
    src.setRoi(0, 5, 2, 31, 21);  // the corners are (0, 0) .. (30, 20)
    const double quad[4][2] = {{2, 3}, {40, -1}, {47, 30}, {-4, 25}}, para[4][2] = {{2, 3}, {40, -1}, {36, 21}, {-2, 25}};
    double back[4][2], rect[2][2], a[2][3], b[2][4], p[3][3];
    // The quadrangle comes back; the bound is its bounding box.
    auto expectQuad = [&](const double q[4][2]) {
        for (int k = 0; k < 2; ++k) {
            for (int i = 0; i < 4; ++i) EXPECT_NEAR(back[i][k], q[i][k], 1e-9) << i << " " << k;
            EXPECT_EQ(rect[0][k], std::min({back[0][k], back[1][k], back[2][k], back[3][k]}));
            EXPECT_EQ(rect[1][k], std::max({back[0][k], back[1][k], back[2][k], back[3][k]}));
        }
    };
    ozlGetAffineTransform(src, a, para), ozlGetAffineQuad(src, a, back), ozlGetAffineBound(src, a, rect);
    expectQuad(para);
    ozlGetBilinearTransform(src, b, quad), ozlGetBilinearQuad(src, b, back), ozlGetBilinearBound(src, b, rect);
    expectQuad(quad);
    ozlGetPerspectiveTransform(src, p, quad), ozlGetPerspectiveQuad(src, p, back), ozlGetPerspectiveBound(src, p, rect);
    expectQuad(quad);
    EXPECT_EQ(p[2][2], 1.0);
    ozlGetPerspectiveTransform(src, p, para);  // a parallelogram: the affine transform
    for (int r = 0; r < 2; ++r)
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(p[r][k], a[r][k], 1e-12);
    EXPECT_NEAR(p[2][0], 0, 1e-15);
    double xs, ys;  // the rotation shift keeps the centre in place
    ozlGetRotateShift(7.5, -3.25, 37, &xs, &ys);
    const double t = 37 * 3.14159265358979323846 / 180;
    EXPECT_NEAR(7.5 * std::cos(t) - 3.25 * std::sin(t) + xs, 7.5, 1e-12);
    EXPECT_NEAR(-7.5 * std::sin(t) - 3.25 * std::cos(t) + ys, -3.25, 1e-12);
}

// A rotation whose walk blocks cross the image: masked only where the bit is
// set; tiled images and in place give the untiled result.
TEST_F(Warp, MasksTilesAndInPlace) {
    double xs, ys;
    ozlGetRotateShift(75, 40, 30, &xs, &ys);
    TestImage src(OZL_DEPTH_8U, 150, 80, 3), dst(OZL_DEPTH_8U, 150, 80, 3), mask(OZL_DEPTH_1U, 150, 80);
    src.fillRandom(1), dst.fillRandom(2), mask.fillRandom(3);
    TestImage unmasked = dst.clone();
    const TestImage before = dst.clone();
    dst.setMask(&mask);
    ozlRotate(src, dst, 30, xs, ys, OZL_INTER_LINEAR);
    ozlRotate(src, unmasked, 30, xs, ys, OZL_INTER_LINEAR);
    expectImage(before, dst, [&](int x, int y, int c, double* v) { return mask.at(x, y) && (*v = unmasked.at(x, y, c), true); });
    for (int inter : {OZL_INTER_LINEAR, OZL_INTER_CUBIC | OZL_FILL_FROM_BORDER}) {
        TiledImage ts(OZL_DEPTH_8U, 150, 80, 3, OZL_DATA_ORDER_PIXEL, 16, 8), td(OZL_DEPTH_8U, 150, 80, 3, OZL_DATA_ORDER_PIXEL, 8, 16);
        std::memcpy(ts.pixels()->imageData, src->imageData, src->imageSize);
        td.pixels().fillRandom(4);
        TestImage plain = td.pixels().clone();
        ozlSetBorderMode(ts, OZL_BORDER_REFLECT, OZL_SIDE_ALL, 0), ozlSetBorderMode(src, OZL_BORDER_REFLECT, OZL_SIDE_ALL, 0);
        ozlRotate(ts, td, 30, xs, ys, inter);
        ozlRotate(src, plain, 30, xs, ys, inter);
        EXPECT_EQ(td.pixels().bytes(), plain.bytes()) << inter;
    }
    TestImage same = src.clone();
    ozlRotate(src, same, 30, xs, ys, OZL_INTER_LINEAR);
    ozlRotate(src, src, 30, xs, ys, OZL_INTER_LINEAR);
    EXPECT_EQ(src.bytes(), same.bytes());
}
TEST_F(Warp, Refusals) {
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
}

TEST_F(Warp, TileFailuresAreReported) {
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
