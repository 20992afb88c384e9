// ozlMirror against the index mapping: every axis, depth and layout, every
// row width, in place, masks, tiles and the refusals.
#include <gtest/gtest.h>

#include "geometry/geometry_ref.hpp"

namespace {

using Mirror = ozl::test::geom::GeomTest;

using namespace ozl::test;
namespace geom = ozl::test::geom;

const int kAxes[] = {OZL_MIRROR_HORIZONTAL, OZL_MIRROR_VERTICAL, OZL_MIRROR_BOTH};

// dst against src mirrored over the common size of the two regions.
void expectMirrored(const TestImage& before, const OzlImage* dst, const OzlImage* src, int axis,
                    const TestImage* mask = nullptr) {
    const geom::Source s = geom::sourceOf(src);
    const geom::Region rd = geom::regionOf(dst);
    const int w = std::min(s.r.width, rd.width), h = std::min(s.r.height, rd.height);
    geom::expectImage(before, dst, [&](int x, int y, int k, double* v) {
        if (x >= w || y >= h || (mask && !mask->at(x, y))) return false;
        *v = s.pixel(axis != OZL_MIRROR_HORIZONTAL ? w - 1 - x : x, axis != OZL_MIRROR_VERTICAL ? h - 1 - y : y, k);
        return true;
    });
}

TEST_F(Mirror, EveryAxisDepthAndLayout) {
    uint32_t seed = 1;
    for (unsigned depth : geom::kDepths)
        for (const auto& l : geom::kLayouts)
            for (int axis : kAxes) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " nCh " << l.nCh << " order " << l.order << " axis " << axis);
                TestImage src(depth, 45, 9, l.nCh, l.order, l.alpha), dst(depth, 40, 12, l.nCh, l.order, l.alpha);
                src.fillRandom(++seed), dst.fillRandom(++seed);
                src.setRoi(l.coi, 2, 1, 43, 7), dst.setRoi(l.coi, 1, 3, 39, 9);  // the common size is 39 x 7
                const TestImage before = dst.clone();
                ozlMirror(src, dst, axis);
                expectMirrored(before, dst, src, axis);
            }
}

// Widths that reach every head and tail of the reversal, to another image and
// in place (the source as it was before the call).
TEST_F(Mirror, RowsOfEveryWidthAndInPlace) {
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16U, OZL_DEPTH_32F})
        for (int nCh : {1, 2, 3, 4})
            for (int w = 1; w <= 80; w += (w < 40 ? 1 : 13))
                for (int axis : kAxes) {
                    SCOPED_TRACE(testing::Message() << "depth " << depth << " nCh " << nCh << " w " << w << " axis " << axis);
                    TestImage src(depth, w, 3, nCh), dst(depth, w, 3, nCh);
                    src.fillRandom(w + nCh), dst.fillRandom(3);
                    const TestImage before = dst.clone(), copy = src.clone();
                    ozlMirror(src, dst, axis);
                    expectMirrored(before, dst, src, axis);
                    ozlMirror(src, src, axis);
                    expectMirrored(copy, src, copy, axis);
                }
}

TEST_F(Mirror, MaskAndTiles) {
    TestImage src(OZL_DEPTH_8U, 37, 21, 3), dst(OZL_DEPTH_8U, 37, 21, 3), mask(OZL_DEPTH_1U, 37, 21);
    src.fillRandom(1), dst.fillRandom(2), mask.fillRandom(3);
    dst.setMask(&mask);
    const TestImage before = dst.clone();
    ozlMirror(src, dst, OZL_MIRROR_BOTH);
    expectMirrored(before, dst, src, OZL_MIRROR_BOTH, &mask);
    for (int axis : kAxes) {
        TiledImage ts(OZL_DEPTH_16S, 37, 21, 3, OZL_DATA_ORDER_PLANE, 16, 8), td(OZL_DEPTH_16S, 37, 21, 3, OZL_DATA_ORDER_PLANE, 8, 16);
        ts.pixels().fillRandom(4), td.pixels().fillRandom(5);
        td.setRoi(0, 3, 2, 30, 17);
        const TestImage tdBefore = td.pixels().clone();
        ozlMirror(ts, td, axis);
        td.pixels().setRoi(0, 3, 2, 30, 17);
        expectMirrored(tdBefore, td.pixels(), ts.pixels(), axis);
        td.pixels().clearRoi();
    }
}

TEST_F(Mirror, Refusals) {
    ErrorCapture errors;
    TestImage src(OZL_DEPTH_8U, 8, 8, 3), dst(OZL_DEPTH_8U, 8, 8, 3), gray(OZL_DEPTH_8U, 8, 8), wide(OZL_DEPTH_32F, 8, 8, 3),
        bits(OZL_DEPTH_1U, 8, 8), bad(OZL_DEPTH_8U, 8, 8, 3);
    bad->imageData = nullptr;
    dst.fillRandom(1);
    const auto before = dst.bytes();
    const struct {
        OzlImage *s, *d;
        int axis;
        ErrorReport report;
    } cases[] = {
        {bad, dst, 0, {-12, "ozlMirror", "Incorrect Image", "ozlmirror", 40}},
        {src, bad, 0, {-12, "ozlMirror", "Incorrect Image", "ozlmirror", 41}},
        {wide, dst, 0, {-5, "ozlMirror", "(srcImage->depth != dstImage->depth)", "ozlmirror", 42}},
        {gray, dst, 1, {-5, "ozlMirror", "(nChSrc != nChDst)", "ozlmirror", 44}},
        {src, dst, 2, {-5, "ozlMirror", "(flipAxis != 0 && flipAxis != 1 && flipAxis != -1)", "ozlmirror", 46}},
    };
    for (const auto& c : cases) {
        ozlMirror(c.s, c.d, c.axis);
        expectRefused(errors, dst, before, c.report);
    }
    ozlMirror(bits, bits, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlMirror", "1-bit images are not supported", "ozlmirror", 43}));
}

}  // namespace
