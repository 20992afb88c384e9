// ozlConvolveSep2D(FP) against the arithmetic: either kernel absent, every
// depth and layout, the run's mask, tiles, and every refusal.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "filter/conv_reference.hpp"
#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/neighbourhood_check.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectFiltered;
using ozl::test::expectRefused;
using ozl::test::fillFor;
using ozl::test::GivenKernel;
using ozl::test::separated;
using ozl::test::SourceView;
using ozl::test::TestImage;
using ozl::test::TiledImage;

// One axis of a separable kernel: a row (horizontal) or a column.
GivenKernel axisKernel(std::mt19937& rng, bool horizontal, int range) {
    GivenKernel k;
    const int taps = 2 + static_cast<int>(rng() % 7);
    (horizontal ? k.nCols : k.nRows) = taps;
    (horizontal ? k.anchorX : k.anchorY) = static_cast<int>(rng() % taps);
    for (int i = 0; i < taps; ++i) {
        k.values.push_back(static_cast<int>(rng() % (2 * range + 1)) - range);
        k.reals.push_back(static_cast<float>(static_cast<int>(rng() % 301) - 150) / 64.0f);
    }
    k.shift = static_cast<int>(rng() % 5);
    return k;
}

// Records for the call, released with the object.
struct Records {
    OzlConvKernel *x = nullptr, *y = nullptr;
    OzlConvKernelFP *xf = nullptr, *yf = nullptr;
    Records(const GivenKernel* xs, const GivenKernel* ys) {
        if (xs) x = ozlCreateConvKernel(xs->nCols, 1, xs->anchorX, 0, xs->values.data(), xs->shift);
        if (xs) xf = ozlCreateConvKernelFP(xs->nCols, 1, xs->anchorX, 0, xs->reals.data());
        if (ys) y = ozlCreateConvKernel(1, ys->nRows, 0, ys->anchorY, ys->values.data(), ys->shift);
        if (ys) yf = ozlCreateConvKernelFP(1, ys->nRows, 0, ys->anchorY, ys->reals.data());
    }
    ~Records() {
        for (OzlConvKernel* k : {x, y}) if (k) ozlDeleteConvKernel(k);
        for (OzlConvKernelFP* k : {xf, yf}) if (k) ozlDeleteConvKernelFP(k);
    }
    void run(OzlImage* s, OzlImage* d) {
        if (s->depth == OZL_DEPTH_32F) ozlConvolveSep2DFP(s, d, xf, yf);
        else ozlConvolveSep2D(s, d, x, y);
    }
};

// The run's mask: every bit set, ANDed with each mask where its region reaches.
TestImage runMask(const OzlImage* a, const OzlImage* b, int width, int height) {
    TestImage m(OZL_DEPTH_1U, width, height);
    m.fill(1);
    for (const OzlImage* mask : {a, b}) {
        if (!mask) continue;
        const int mx = mask->roi ? mask->roi->xOffset : 0, my = mask->roi ? mask->roi->yOffset : 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                if (mx + x < mask->width && my + y < mask->height &&
                    ozl::test::valueOf(mask, mx + x, my + y, 0) == 0)
                    m.put(x, y, 0, 0);
    }
    return m;
}

TEST(ConvolveSep2D, AgainstTheArithmetic) {
    ErrorCapture errors;
    std::mt19937 rng(404);
    const unsigned depths[] = {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};
    for (int round = 0; round < 220; ++round) {
        const unsigned depth = depths[round % 6];
        const int nCh = 1 + static_cast<int>(rng() % 4);
        const int order = static_cast<int>(rng() % 2);
        const bool alpha = nCh > 1 && rng() % 3 == 0;
        // Long rows at times, for the vector forms.
        const int sw = rng() % 3 == 0 ? 40 + static_cast<int>(rng() % 60) : 1 + static_cast<int>(rng() % 12);
        const int sh = 1 + static_cast<int>(rng() % 10);
        TestImage s(depth, sw, sh, nCh, order, alpha),
            d(depth, std::max(1, sw + static_cast<int>(rng() % 3) - 1), 1 + rng() % 11, nCh, order, alpha);
        fillFor(s, rng());
        fillFor(d, rng());
        ozl::test::randomBorders(s, rng, 200);
        const bool coi = nCh > 1 && rng() % 4 == 0;
        const int coiS = coi ? 1 + static_cast<int>(rng() % nCh) : 0, coiD = coi ? 1 + static_cast<int>(rng() % nCh) : 0;
        s.setRoi(coiS, static_cast<int>(rng() % sw), static_cast<int>(rng() % sh), sw, sh);
        d.setRoi(coiD, static_cast<int>(rng() % d->width), static_cast<int>(rng() % d->height), d->width, d->height);
        // Small weights (16-bit sums for 8-bit images), wide ones, both kernels or one.
        const int range = rng() % 3 == 0 ? 40000 : rng() % 2 ? 3 : 300;
        const int which = static_cast<int>(rng() % 4);  // 0: both, 1: x only, 2: y only
        const GivenKernel xs = axisKernel(rng, true, range), ys = axisKernel(rng, false, range);
        const GivenKernel* xk = which != 2 ? &xs : nullptr;
        const GivenKernel* yk = which != 1 ? &ys : nullptr;
        TestImage maskA(OZL_DEPTH_1U, 9, 8), maskB(OZL_DEPTH_1U, 30, 12);
        maskA.fillRandom(rng());
        maskB.fillRandom(rng());
        if (rng() % 4 == 0) s.setMask(&maskA);
        if (rng() % 4 == 0) d.setMask(&maskB);
        const int width = std::min(sw - s->roi->xOffset, d->width - d->roi->xOffset);
        const int height = std::min(sh - s->roi->yOffset, d->height - d->roi->yOffset);
        const TestImage mask = runMask(s->maskROI, d->maskROI, width, height);
        SCOPED_TRACE(testing::Message() << "round " << round << " depth " << depth << " nCh " << nCh
                                        << " order " << order << " kernels " << which << " range " << range);
        const TestImage before = d.clone();
        ozlSetErrStatus(OZL_StsNoMem);  // cleared by the call
        Records(xk, yk).run(s, d);
        ASSERT_TRUE(errors.empty()) << errors.last();
        EXPECT_EQ(ozlGetErrStatus(), OZL_StsOk);
        const SourceView view{s, s};
        expectFiltered(before, d, width, height, [&](int x, int y, int c) {
            return separated(view, xk, yk, depth, x, y, ozl::test::sourceChannel(s, d, c));
        }, s->maskROI || d->maskROI ? mask.get() : nullptr);
        s.setMask(nullptr);
        d.setMask(nullptr);
    }
}

TEST(ConvolveSep2D, DocumentedExampleAndTiles) {
    ErrorCapture errors;
    TestImage s(OZL_DEPTH_8U, 7, 5), d(OZL_DEPTH_8U, 4, 3);
    s.fill(100);
    ozlSetBorderMode(s, OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
    const GivenKernel x{3, 1, 1, 0, {1, 2, 1}, {1, 2, 1}, 1}, y{1, 3, 0, 1, {1, 2, 1}, {1, 2, 1}, 1};
    Records(&x, &y).run(s, d);  // 1600 >> 2 = 400, saturated; over the smaller 4 x 3
    for (int yy = 0; yy < 3; ++yy)
        for (int xx = 0; xx < 4; ++xx) EXPECT_EQ(d.at(xx, yy), 255);

    std::mt19937 rng(6);
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32F}) {
        SCOPED_TRACE(testing::Message() << "depth " << depth);
        const GivenKernel xs = axisKernel(rng, true, 4), ys = axisKernel(rng, false, 4);
        TiledImage ts(depth, 45, 27, 3, OZL_DATA_ORDER_PIXEL, 16, 8), td(depth, 41, 25, 3, OZL_DATA_ORDER_PIXEL, 8, 16);
        fillFor(ts.pixels(), rng());
        fillFor(td.pixels(), rng());
        ozlSetBorderMode(ts, OZL_BORDER_WRAP, OZL_SIDE_TOP | OZL_SIDE_LEFT, 0);
        ozlSetBorderMode(ts, OZL_BORDER_REFLECT, OZL_SIDE_BOTTOM | OZL_SIDE_RIGHT, 0);
        ts.setRoi(0, 3, 1, 40, 24);
        TestImage plain(depth, 41, 25, 3);
        fillFor(plain, rng());
        const SourceView view{ts, ts.pixels()};
        auto expected = [&](int xx, int yy, int c) { return separated(view, &xs, &ys, depth, xx, yy, c); };
        // Tiled source walked tile by tile into an untiled destination, and
        // into a tiled one.
        TestImage before = plain.clone();
        Records(&xs, &ys).run(ts, plain);
        expectFiltered(before, plain, 40, 24, expected);
        before = td.pixels().clone();
        Records(&xs, &ys).run(ts, td);
        OzlImage out = *td.pixels().get();
        expectFiltered(before, &out, 40, 24, expected);
        for (const auto& call : ts.calls()) EXPECT_NE(call.mode, OZL_GET_TILE_TO_WRITE);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ConvolveSep2D, Refusals) {
    ErrorCapture errors;
    TestImage s(OZL_DEPTH_8U, 6, 6, 3), d(OZL_DEPTH_8U, 6, 6, 3);
    d.fillRandom(3);
    const auto before = d.bytes();
    const GivenKernel xs{3, 1, 1, 0, {1, 2, 1}, {1, 2, 1}, 0}, ys{1, 3, 0, 1, {1, 2, 1}, {1, 2, 1}, 0};
    Records k(&xs, &ys);
    const char* f = "ozlConvolveSep2D";
    auto refused = [&](OzlImage* src, OzlImage* dst, OzlConvKernel* x, OzlConvKernel* y, ErrorReport r) {
        ozlConvolveSep2D(src, dst, x, y);
        expectRefused(errors, d, before, r);
    };
    refused(nullptr, d, k.x, k.y, {-9, f, "Incorrect Image", "ownCSep2", 76});
    refused(s, nullptr, k.x, k.y, {-9, f, "Incorrect Image", "ownCSep2", 77});
    ozlConvolveSep2D(d, d, k.x, k.y);
    expectRefused(errors, d, before, {-5, f, "Unsupported in-place mode", "ownCSep2", 80});
    refused(s, d, nullptr, nullptr, {-5, f, "Kernel pointers are NULL", "ownCSep2", 85});
    TestImage s16(OZL_DEPTH_16U, 6, 6, 3), plane(OZL_DEPTH_8U, 6, 6, 3, OZL_DATA_ORDER_PLANE),
        one(OZL_DEPTH_8U, 6, 6, 1), alpha(OZL_DEPTH_8U, 6, 6, 3, OZL_DATA_ORDER_PIXEL, true),
        many(OZL_DEPTH_8U, 6, 6, 33);
    refused(s16, d, k.x, k.y, {-5, f, "SRC and DST depth are different", "ownCSep2", 90});
    refused(plane, d, k.x, k.y, {-5, f, "SRC and DST order are different", "ownCSep2", 95});
    s->origin = OZL_ORIGIN_BL;
    refused(s, d, k.x, k.y, {-5, f, "SRC and DST orign are different", "ownCSep2", 100});
    s->origin = OZL_ORIGIN_TL;
    refused(many, d, k.x, k.y, {-5, f, "SRC: too many channels per plane (limit 32)", "ownCSep2", 105});
    refused(one, d, k.x, k.y, {-5, f, "SRC and DST number of channels are different", "ownCSep2", 112});
    refused(alpha, d, k.x, k.y, {-5, f, "SRC and DST Alpha channels are different", "ownCSep2", 117});
    s.setRoi(1, 0, 0, 6, 6);
    refused(s, d, k.x, k.y, {-5, f, "SRC and DST number of processing channels are different", "ownCSep2", 124});
    s.clearRoi();
    OzlConvKernel bad = *k.x;
    bad.values = nullptr;
    refused(s, d, &bad, k.y, {-5, f, "NULL kernel values", "ownCSep2", 158});
    refused(s, d, k.x, &bad, {-5, f, "NULL kernel values", "ownCSep2", 158});
    bad = *k.x;
    bad.nCols = 1;  // one tap
    refused(s, d, &bad, nullptr, {-5, f, "Invalid kernal size", "ownCSep2", 164});
    refused(s, d, k.y, nullptr, {-5, f, "Invalid kernal size", "ownCSep2", 164});
    refused(s, d, nullptr, k.x, {-5, f, "Invalid kernal size", "ownCSep2", 169});
    bad = *k.x;
    bad.anchorX = 3;
    refused(s, d, &bad, k.y, {-5, f, "Invalid kernrl anchor", "ownCSep2", 175});
    bad = *k.y;
    bad.anchorY = -1;
    refused(s, d, k.x, &bad, {-5, f, "Invalid kernrl anchor", "ownCSep2", 178});

    TestImage r(OZL_DEPTH_32F, 6, 6, 3), r2(OZL_DEPTH_32F, 6, 6, 3), bits(OZL_DEPTH_1U, 6, 6), bits2(OZL_DEPTH_1U, 6, 6);
    ozlConvolveSep2D(r, r2, k.x, k.y);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, f, "ozlConvolveSep2D does not support OZL_DEPTH_32F.\nCall ozlConvolveSep2DFP instead", "ozlCSep2", 155}));
    ozlConvolveSep2D(bits, bits2, k.x, k.y);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, f, "ozlConvolveSep2D does not support OZL_DEPTH_1U", "ozlCSep2", 155}));
    ozlConvolveSep2DFP(s, d, k.xf, k.yf);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlConvolveSep2DFP", "ozlConvolveSep2DFP does support OZL_DEPTH_32F only.\nCall ozlConvolveSep2D instead", "ozlCSep2", 199}));
    EXPECT_EQ(d.bytes(), before);
    errors.clear();

    // Memory: the engine leaves -4, the entry point reports -1 and keeps it.
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_32F}) {
        TestImage wide(depth, 40000, 2, 3), wideOut(depth, 40000, 2, 3);
        wide.setRoi(1, 0, 0, 40000, 2);
        wideOut.setRoi(1, 0, 0, 40000, 2);
        const GivenKernel tall{1, 65536, 0, 0, std::vector<int>(65536, 1), std::vector<float>(65536, 1.0f), 0};
        Records(nullptr, &tall).run(wide, wideOut);
        const bool real = depth == OZL_DEPTH_32F;
        EXPECT_EQ(errors.last(), (ErrorReport{-1, real ? "ozlConvolveSep2DFP" : f, "Not enough memory", "ozlCSep2", real ? 206 : 162}));
        EXPECT_EQ(ozlGetErrStatus(), OZL_StsNoMem);
    }
    errors.clear();

    TiledImage ts(OZL_DEPTH_8U, 6, 6, 3, OZL_DATA_ORDER_PIXEL, 8, 8), td(OZL_DEPTH_8U, 6, 6, 3, OZL_DATA_ORDER_PIXEL, 8, 8);
    ts.failFetch(1);
    td.failFetch(1);
    refused(ts, d, k.x, k.y, {-2, f, "Error get tile to read", "ownCSep2", 230});
    ozlConvolveSep2D(s, td, k.x, k.y);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, f, "Error get tile to write", "ownCSep2", 231}));
    ozlSetErrStatus(OZL_StsOk);
}

}  // namespace
