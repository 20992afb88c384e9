// ozlConvolve2D(FP) pixel by pixel against the arithmetic over random layouts,
// regions, borders, kernels and methods; masks, tiles, in place, refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "filter/conv_reference.hpp"
#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/neighbourhood_check.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::convolved;
using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectFiltered;
using ozl::test::expectRefused;
using ozl::test::fillFor;
using ozl::test::randomBorders;
using ozl::test::GivenKernel;
using ozl::test::SourceView;
using ozl::test::TestImage;
using ozl::test::TiledImage;

// Records made for the call and deleted after it.
void convolve(OzlImage* src, OzlImage* dst, const std::vector<GivenKernel>& ks, int method) {
    std::vector<OzlConvKernel*> in;
    std::vector<OzlConvKernelFP*> fp;
    for (const GivenKernel& k : ks) {
        if (src->depth == OZL_DEPTH_32F) fp.push_back(ozlCreateConvKernelFP(k.nCols, k.nRows, k.anchorX, k.anchorY, k.reals.data()));
        else in.push_back(ozlCreateConvKernel(k.nCols, k.nRows, k.anchorX, k.anchorY, k.values.data(), k.shift));
    }
    if (src->depth == OZL_DEPTH_32F) ozlConvolve2DFP(src, dst, fp.data(), static_cast<int>(ks.size()), method);
    else ozlConvolve2D(src, dst, in.data(), static_cast<int>(ks.size()), method);
    for (auto* k : in) ozlDeleteConvKernel(k);
    for (auto* k : fp) ozlDeleteConvKernelFP(k);
}

// A kernel of the given size, anchor anywhere; weights small (class 0 for
// 8-bit images), or wide enough for 32-bit or floating-point sums.
GivenKernel randomKernel(std::mt19937& rng, int maxCols, int maxRows, unsigned depth) {
    GivenKernel k;
    k.nCols = 1 + static_cast<int>(rng() % maxCols);
    k.nRows = 1 + static_cast<int>(rng() % maxRows);
    k.anchorX = static_cast<int>(rng() % k.nCols);
    k.anchorY = static_cast<int>(rng() % k.nRows);
    const int kind = static_cast<int>(rng() % 4);
    const int range = depth == OZL_DEPTH_32S ? 1000 : kind == 0 ? 3000 : kind == 1 ? 70000 : 6;
    for (int i = 0; i < k.nCols * k.nRows; ++i) {
        const int v = static_cast<int>(rng() % (2 * range + 1)) - range;
        k.values.push_back(rng() % 5 == 0 ? 0 : v);
        k.reals.push_back(static_cast<float>(rng() % 2001) / 256.0f - 3.9f);
    }
    const int shifts[] = {0, 0, 1, 3, 7, 12, -1, 40};
    k.shift = shifts[rng() % 8];
    return k;
}

const unsigned kDepths[] = {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U,
                            OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};

TEST(Convolve2D, AgainstTheArithmetic) {
    ErrorCapture errors;
    std::mt19937 rng(2024);
    for (int round = 0; round < 260; ++round) {
        const unsigned depth = kDepths[round % 7];
        const int nCh = depth == OZL_DEPTH_1U ? 1 : 1 + static_cast<int>(rng() % 4);
        const int order = depth == OZL_DEPTH_1U ? 0 : static_cast<int>(rng() % 2);
        const bool alpha = nCh > 1 && rng() % 3 == 0;
        const int sw = 1 + static_cast<int>(rng() % 13), sh = 1 + static_cast<int>(rng() % 11);
        TestImage s(depth, sw, sh, nCh, order, alpha), d(depth, 1 + rng() % 14, 1 + rng() % 12, nCh, order, alpha);
        fillFor(s, rng());
        fillFor(d, rng());
        randomBorders(s, rng, 70000);
        const bool coi = nCh > 1 && rng() % 4 == 0;
        s.setRoi(coi ? 1 + static_cast<int>(rng() % nCh) : 0, static_cast<int>(rng() % sw),
                 static_cast<int>(rng() % sh), 1 + static_cast<int>(rng() % 14), 1 + static_cast<int>(rng() % 12));
        d.setRoi(coi ? 1 + static_cast<int>(rng() % nCh) : 0, static_cast<int>(rng() % d->width),
                 static_cast<int>(rng() % d->height), 1 + static_cast<int>(rng() % 14), 1 + static_cast<int>(rng() % 12));
        std::vector<GivenKernel> ks;
        const int n = rng() % 3 == 0 ? 2 + static_cast<int>(rng() % 9) : 1;
        for (int k = 0; k < n; ++k) ks.push_back(randomKernel(rng, 7, 6, depth));
        if (depth == OZL_DEPTH_32F && rng() % 2) {  // one 3x3 kernel: rows in bands, loads shared
            ks.assign(1, randomKernel(rng, 1, 1, depth));
            ks[0].nCols = ks[0].nRows = 3;
            ks[0].anchorX = static_cast<int>(rng() % 3), ks[0].anchorY = static_cast<int>(rng() % 3);
            for (int i = 0; i < 8; ++i) ks[0].reals.push_back(static_cast<float>(rng() % 2001) / 256.0f - 3.9f);
        }
        const int method = static_cast<int>(rng() % 5);
        TestImage mask(OZL_DEPTH_1U, 16, 14);
        mask.fillRandom(rng());
        if (rng() % 4 == 0) s.setMask(&mask);
        if (rng() % 4 == 0) d.setMask(&mask);

        auto region = [](const TestImage& im) {
            int w = std::min(im->roi->width, im->width - im->roi->xOffset);
            int h = std::min(im->roi->height, im->height - im->roi->yOffset);
            if (im->maskROI) w = std::min(w, 16), h = std::min(h, 14);
            return std::pair<int, int>(w, h);
        };
        const int width = std::min(region(s).first, region(d).first);
        const int height = std::min(region(s).second, region(d).second);
        SCOPED_TRACE(testing::Message() << "round " << round << " depth " << depth << " nCh " << nCh
                                        << " order " << order << " kernels " << n << " method " << method);
        const TestImage before = d.clone();
        ozlSetErrStatus(OZL_StsOk);
        convolve(s, d, ks, method);
        ASSERT_TRUE(errors.empty()) << errors.last();
        const SourceView view{s, s};
        const OzlImage* masked = s->maskROI ? s->maskROI : d->maskROI;
        expectFiltered(before, d, width, height,
                       [&](int x, int y, int c) {
                           return convolved(view, ks, method, depth, x, y, ozl::test::sourceChannel(s, d, c));
                       },
                       masked);
        s.setMask(nullptr);
        d.setMask(nullptr);
    }
}

// The vector paths, on rows long enough for every vector width: 2-D
// kernels of random weights in [lo, hi] (8-bit in 16-bit sums, signed and
// unsigned, byte pairs and not, the absolute value; 16-bit and 32S in 32-bit
// sums; 32F), then one-row kernels on either side of each width the sums are
// taken in (16-bit signed, unsigned, byte pairs, 32-bit, floating point).
TEST(Convolve2D, VectorPathsAndClassBoundaries) {
    ErrorCapture errors;
    std::mt19937 rng(77);
    struct Case {
        unsigned depth;
        int nCh, size, lo, hi, method;
        std::vector<int> q;  // a one-row kernel, size and range unused
    } cases[] = {
        {OZL_DEPTH_8U, 3, 3, -4, 8, 0, {}},   {OZL_DEPTH_8U, 3, 5, 0, 4, 0, {}},   {OZL_DEPTH_8U, 1, 3, -60, 60, 2, {}},
        {OZL_DEPTH_8U, 1, 5, 0, 100, 0, {}},  {OZL_DEPTH_8S, 3, 3, -9, 9, 2, {}},  {OZL_DEPTH_8S, 4, 5, -5, 5, 0, {}},
        {OZL_DEPTH_16U, 3, 3, -900, 900, 0, {}}, {OZL_DEPTH_16S, 1, 5, -99, 99, 1, {}}, {OZL_DEPTH_32F, 3, 3, 0, 0, 0, {}},
        {OZL_DEPTH_32F, 1, 5, 0, 0, 2, {}},  {OZL_DEPTH_32S, 3, 3, -50, 50, 0, {}}, {OZL_DEPTH_8U, 3, 3, 10, 25, 0, {}},
        {OZL_DEPTH_8U, 3, 1, 129, 250, 0, {}},
        {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {128}}, {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {129}}, {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {257}},
        {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {258}}, {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {-128}}, {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {-129}},
        {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {127, 1, -3}}, {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {127, 2, 0}},
        {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {-128, -1, 0}}, {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {64, 64, -64}},
        {OZL_DEPTH_8S, 3, 0, 0, 0, 0, {255}}, {OZL_DEPTH_8S, 3, 0, 0, 0, 0, {256}}, {OZL_DEPTH_8S, 3, 0, 0, 0, 0, {-255}},
        {OZL_DEPTH_8S, 3, 0, 0, 0, 0, {-256}}, {OZL_DEPTH_8S, 3, 0, 0, 0, 0, {100, 27, -127}},
        {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {32767}}, {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {32768}},
        {OZL_DEPTH_16U, 3, 0, 0, 0, 0, {32767, -32768, 1}}, {OZL_DEPTH_16U, 3, 0, 0, 0, 0, {32768, 0, 0}},
        {OZL_DEPTH_16S, 3, 0, 0, 0, 0, {-32768, 0, 1}}, {OZL_DEPTH_16S, 3, 0, 0, 0, 0, {32767, 32767, 32767}},
        {OZL_DEPTH_8U, 3, 0, 0, 0, 0, {2147483647}},
    };
    for (const Case& t : cases) {
        GivenKernel k{t.size, t.size, t.size / 2, t.size / 2, t.q, {}, t.q.empty() ? 2 : 1};
        if (!t.q.empty()) k.nCols = static_cast<int>(t.q.size()), k.nRows = 1;
        for (int i = 0; t.q.empty() && i < t.size * t.size; ++i) {
            k.values.push_back(t.lo + static_cast<int>(rng() % (t.hi - t.lo + 1)));
            k.reals.push_back(static_cast<float>(static_cast<int>(rng() % 200) - 100) / 64.0f);
        }
        // Kernels of given weights: random values and the depth's highest.
        std::vector<int> widths = t.q.empty() ? std::vector<int>{1, 5, 21, 40, 67, 130} : std::vector<int>{45, -45};
        // Rows wide enough for the driver to run the side strips in groups.
        if (t.depth == OZL_DEPTH_32F && t.nCh == 3) widths.push_back(2800);
        for (int w : widths)
            for (int method : t.q.empty() ? std::vector<int>{t.method} : std::vector<int>{0, OZL_COMBINE_SUMSQROOT}) {
                const int width = std::abs(w);
                SCOPED_TRACE(testing::Message() << "depth " << t.depth << " kernel " << k.nCols << "x" << k.nRows
                                                << " first weight " << k.values[0] << " width " << w);
                TestImage s(t.depth, width, 7, t.nCh, OZL_DATA_ORDER_PIXEL, t.nCh == 4), d = s.clone();
                if (w < 0) s.fill(ozl::test::depthRange(t.depth).second);
                else fillFor(s, rng());
                ozlSetBorderMode(s, OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
                const TestImage before = d.clone();
                convolve(s, d, {k}, method);
                ASSERT_TRUE(errors.empty()) << errors.last();
                const SourceView view{s, s};
                expectFiltered(before, d, width, 7, [&](int x, int y, int c) {
                    return convolved(view, {k}, method, t.depth, x, y, c);
                });
            }
    }
}

// Tiled source into an untiled masked destination, untiled and tiled sources
// into a tiled destination, and in place (tiled and not) as from a copy.
TEST(Convolve2D, TilesAndInPlace) {
    ErrorCapture errors;
    std::mt19937 rng(31);
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32F}) {
        SCOPED_TRACE(testing::Message() << "depth " << depth);
        const std::vector<GivenKernel> ks = {randomKernel(rng, 4, 5, depth), randomKernel(rng, 5, 3, depth)};
        TiledImage ts(depth, 37, 29, 3, OZL_DATA_ORDER_PIXEL, 16, 8), td(depth, 35, 27, 3, OZL_DATA_ORDER_PIXEL, 8, 24);
        fillFor(ts.pixels(), rng());
        fillFor(td.pixels(), rng());
        randomBorders(ts, rng, 70000);
        ts.setRoi(0, 2, 3, 33, 25);
        td.setRoi(0, 1, 1, 31, 24);
        TestImage s = ts.pixels().clone(), d(depth, 35, 27, 3), mask(OZL_DEPTH_1U, 40, 30);
        std::memcpy(s->borderMode, ts->borderMode, sizeof s->borderMode);
        std::memcpy(s->borderConst, ts->borderConst, sizeof s->borderConst);
        s.setRoi(0, 2, 3, 33, 25);
        fillFor(d, rng());
        d.setRoi(0, 1, 1, 31, 24);
        mask.fillRandom(rng());
        auto expected = [&](SourceView v) {
            return [&, v](int x, int y, int c) { return convolved(v, ks, OZL_COMBINE_MAX, depth, x, y, c); };
        };
        d.setMask(&mask);
        TestImage before = d.clone();
        convolve(ts, d, ks, OZL_COMBINE_MAX);
        expectFiltered(before, d, 31, 24, expected({ts, ts.pixels()}), mask);
        // A tiled image's pixels seen through its header's region and modes.
        auto pixelsOf = [](TiledImage& t, OzlImage& header) {
            header = *t.pixels().get();
            header.roi = t->roi;
            return &header;
        };
        OzlImage out, modes = *ts.get();
        modes.tileInfo = nullptr;
        for (OzlImage* source : {s.get(), ts.get()}) {
            before = td.pixels().clone();
            convolve(source, td, ks, OZL_COMBINE_MAX);
            expectFiltered(before, pixelsOf(td, out), 31, 24, expected({source, source == s.get() ? s.get() : ts.pixels().get()}));
        }
        const TestImage original = ts.pixels().clone(), copy = s.clone();
        convolve(ts, ts, ks, OZL_COMBINE_MAX);
        expectFiltered(original, pixelsOf(ts, out), 33, 25, expected({&modes, original}));
        OzlImage copyModes = *copy.get();
        std::memcpy(copyModes.borderMode, s->borderMode, sizeof s->borderMode);
        std::memcpy(copyModes.borderConst, s->borderConst, sizeof s->borderConst);
        copyModes.roi = s->roi;
        convolve(s, s, ks, OZL_COMBINE_MAX);
        expectFiltered(copy, s, 33, 25, expected({&copyModes, copy}));
        EXPECT_TRUE(errors.empty()) << errors.last();
    }
}

TEST(Convolve2D, DocumentedExamples) {
    ErrorCapture errors;
    TestImage s(OZL_DEPTH_8U, 6, 5), d(OZL_DEPTH_8U, 6, 5);
    s.fill(255);
    ozlSetBorderMode(s, OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
    convolve(s, d, {{3, 3, 1, 1, std::vector<int>(9, 1), {}, 3}}, OZL_COMBINE_SUM);
    EXPECT_EQ(d.at(0, 0), 255);  // 2295 >> 3 = 286, saturated
    EXPECT_EQ(d.at(3, 2), 255);

    // r1 = -5, r2 = 3: max 3, min 0 after saturation; one kernel, method 2:
    // |-7|; method 9 with one kernel sums; -3 >> 1 = -2.
    s.fill(1);
    const GivenKernel minus5{1, 1, 0, 0, {-5}, {}, 0}, plus3{1, 1, 0, 0, {3}, {}, 0};
    convolve(s, d, {minus5, plus3}, OZL_COMBINE_MAX);
    EXPECT_EQ(d.at(2, 2), 3);
    convolve(s, d, {minus5, plus3}, OZL_COMBINE_MIN);
    EXPECT_EQ(d.at(2, 2), 0);
    convolve(s, d, {{1, 1, 0, 0, {-7}, {}, 0}}, OZL_COMBINE_SUMSQROOT);
    EXPECT_EQ(d.at(2, 2), 7);
    convolve(s, d, {{1, 1, 0, 0, {6}, {}, 0}}, 9);
    EXPECT_EQ(d.at(2, 2), 6);
    TestImage ss(OZL_DEPTH_8S, 4, 4), ds(OZL_DEPTH_8S, 4, 4);
    ss.fill(3);
    convolve(ss, ds, {{1, 1, 0, 0, {-1}, {}, 1}}, OZL_COMBINE_SUM);
    EXPECT_EQ(ds.at(1, 1), -2);
    // 32S sums in double precision are rounded to an integer before the
    // shift: 2^24 (2^31 - 1) + (2^24 - 1) = 2^55 - 1 becomes 2^55, >> 26 2^29.
    TestImage s32(OZL_DEPTH_32S, 2, 1), d32(OZL_DEPTH_32S, 2, 1);
    s32.put(0, 0, 0, 1);
    s32.put(1, 0, 0, 2147483647);
    convolve(s32, d32, {{2, 1, 1, 0, {1 << 24, (1 << 24) - 1}, {}, 26}}, OZL_COMBINE_SUM);
    EXPECT_EQ(d32.at(0, 0), 536870912);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Convolve2D, Refusals) {
    ErrorCapture errors;
    TestImage s(OZL_DEPTH_8U, 5, 5, 3), d(OZL_DEPTH_8U, 5, 5, 3);
    d.fillRandom(1);
    const auto before = d.bytes();
    const std::vector<int> nine(9, 1), tallValues(65536, 1);
    OzlConvKernel* okKernel = ozlCreateConvKernel(3, 3, 1, 1, nine.data(), 0);
    OzlConvKernel** ok = &okKernel;
    auto refused = [&](OzlImage* src, OzlImage* dst, OzlConvKernel** k, int n, int method, ErrorReport r) {
        ozlSetErrStatus(OZL_StsOk);
        ozlConvolve2D(src, dst, k, n, method);
        expectRefused(errors, d, before, r);
    };
    const char* f = "ozlConvolve2D";
    refused(nullptr, d, ok, 1, 0, {-9, f, "Incorrect Image", "ozlcnv2d", 1608});
    s.setRoi(0, 5, 0, 1, 1);
    refused(s, d, ok, 1, 0, {-11, f, "Bad ROI offsets", "ozlcnv2d", 1608});
    s.clearRoi();
    d.setRoi(0, 0, 5, 1, 1);
    refused(s, d, ok, 1, 0, {-11, f, "Bad ROI offsets", "ozlcnv2d", 1608});
    d.clearRoi();
    refused(s, d, nullptr, 1, 0, {-5, f, "kernel==0", "ozlcnv2d", 1608});
    refused(s, d, ok, 0, 0, {-5, f, "(nKernels<=0 || nKernels>10)", "ozlcnv2d", 1608});
    refused(s, d, ok, 11, 0, {-5, f, "(nKernels<=0 || nKernels>10)", "ozlcnv2d", 1608});
    OzlConvKernel* two[2] = {okKernel, nullptr};
    refused(s, d, two, 2, 5, {-5, f, "Inadmissible method", "ozlcnv2d", 1608});
    refused(s, d, two, 2, 0, {-5, f, "kernel[i]==0", "ozlcnv2d", 1608});
    OzlConvKernel bad = *okKernel;
    bad.anchorY = 3;
    OzlConvKernel* badOne = &bad;
    refused(s, d, &badOne, 1, 0, {-5, f, "Bad kernel structure", "ozlcnv2d", 1608});
    bad.anchorY = 1;
    bad.values = nullptr;
    refused(s, d, &badOne, 1, 0, {-5, f, "Bad kernel structure", "ozlcnv2d", 1608});
    TestImage s16(OZL_DEPTH_16U, 5, 5, 3), plane(OZL_DEPTH_8U, 5, 5, 3, OZL_DATA_ORDER_PLANE);
    refused(s16, d, ok, 1, 0, {-5, f, "Uncompatible images", "ozlcnv2d", 1608});
    refused(plane, d, ok, 1, 0, {-5, f, "Uncompatible images", "ozlcnv2d", 1608});
    // Engine results.
    TestImage one(OZL_DEPTH_8U, 5, 5, 1), alphaOnly(OZL_DEPTH_8U, 5, 5, 1, OZL_DATA_ORDER_PIXEL, true);
    refused(alphaOnly, d, ok, 1, 0, {-5, f, "No channel to operate", "ozlcnv2d", 1618});
    refused(one, d, ok, 1, 0, {-5, f, "Uncompatible images", "ozlcnv2d", 1618});
    s.setRoi(2, 0, 0, 5, 5);
    refused(s, d, ok, 1, 0, {-5, f, "One of the COI is not defined", "ozlcnv2d", 1618});
    s.clearRoi();
    // Working rows of 2^16 kernel rows over gathered source rows.
    TestImage wide(OZL_DEPTH_8U, 40000, 2, 3), wideOut(OZL_DEPTH_8U, 40000, 2, 3);
    wide.setRoi(1, 0, 0, 40000, 2);
    wideOut.setRoi(1, 0, 0, 40000, 2);
    OzlConvKernel* tall = ozlCreateConvKernel(1, 65536, 0, 0, tallValues.data(), 0);
    ozlSetErrStatus(OZL_StsOk);
    ozlConvolve2D(wide, wideOut, &tall, 1, 0);
    ozlDeleteConvKernel(tall);
    EXPECT_EQ(errors.last(), (ErrorReport{-4, f, "Allocation failure", "ozlcnv2d", 1618}));
    errors.clear();
    // Tiles the callback cannot give.
    TiledImage ts(OZL_DEPTH_8U, 5, 5, 3, OZL_DATA_ORDER_PIXEL, 8, 8);
    ts.failFetch(1);
    refused(ts, d, ok, 1, 0, {-2, f, "Error get tile to read", "ozlcnv2d", 1618});
    TiledImage td(OZL_DEPTH_8U, 5, 5, 3, OZL_DATA_ORDER_PIXEL, 8, 8);
    td.failFetch(1);
    ozlSetErrStatus(OZL_StsOk);
    ozlConvolve2D(s, td, ok, 1, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, f, "Error get tile to write", "ozlcnv2d", 1618}));
    errors.clear();

    // The float forms refuse each other's depths.
    TestImage r(OZL_DEPTH_32F, 5, 5, 3);
    refused(r, r, ok, 1, 0, {-5, f, "32F images can be processed only with FP kernel", "ozlcnv2d", 1610});
    const float unit = 1.0f;
    OzlConvKernelFP* real = ozlCreateConvKernelFP(1, 1, 0, 0, &unit);
    ozlSetErrStatus(OZL_StsOk);
    ozlConvolve2DFP(s, d, &real, 1, 0);
    ozlDeleteConvKernelFP(real);
    expectRefused(errors, d, before, {-5, "ozlConvolve2DFP", "FP kernel can be used only for 32F images", "ozlcnv2d", 1635});
    ozlSetErrStatus(OZL_StsOk);
    ozlConvolve2DFP(r, r, nullptr, 1, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlConvolve2DFP", "kernel==0", "ozlcnv2d", 1633}));
    ozlSetErrStatus(OZL_StsOk);
    ozlDeleteConvKernel(okKernel);
}

}  // namespace
