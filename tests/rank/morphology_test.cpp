// ozlMinFilter, ozlMaxFilter, ozlErode, ozlDilate, ozlOpen, ozlClose against
// brute force: random windows (wider than the image, long enough for the
// doubling passes, anchors anywhere), shaped elements, iterations, every depth
// and layout, masks, tiles, in place; 1U against 8U of the same picture; the
// order of 32F zeros and NaNs; every refusal.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "rank/rank_check.hpp"

namespace {

using namespace ozl::test;

struct Win {
    int nCols, nRows, anchorX, anchorY;
    std::vector<uint8_t> values;  // empty: the full rectangle
};

Win randomWindow(std::mt19937& rng, bool shaped) {
    Win w;
    const bool wide = rng() % 4 == 0;
    w.nCols = 1 + static_cast<int>(rng() % (wide ? 40 : 7));
    w.nRows = 1 + static_cast<int>(rng() % (rng() % 4 == 0 ? 13 : 5));
    w.anchorX = static_cast<int>(rng() % w.nCols);
    w.anchorY = static_cast<int>(rng() % w.nRows);
    if (shaped) {
        for (int i = 0; i < w.nCols * w.nRows; ++i) w.values.push_back(rng() % 3 == 0 ? 0 : static_cast<uint8_t>(rng()));
        w.values[rng() % w.values.size()] = 1;
    }
    return w;
}

// Least or greatest over the window (32F: by value, no NaNs here).
Pass extremeOver(const Win& w, bool greatest) {
    return [w, greatest](const ValueAt& in, int x, int y, int c) {
        double best = 0;
        bool first = true;
        for (int j = 0; j < w.nRows; ++j)
            for (int i = 0; i < w.nCols; ++i) {
                if (!w.values.empty() && !w.values[j * w.nCols + i]) continue;
                const double v = in(x + i - w.anchorX, y + j - w.anchorY, c);
                if (first || (greatest ? v > best : v < best)) best = v;
                first = false;
            }
        return best;
    };
}

TEST(MinMaxFilter, AgainstBruteForce) {
    RoundSpec spec{kAllDepths, 240};
    randomRounds(11, spec, [](OzlImage* s, OzlImage* d, std::mt19937& rng) {
        const Win w = randomWindow(rng, false);
        const bool greatest = rng() % 2;
        (greatest ? ozlMaxFilter : ozlMinFilter)(s, d, w.nCols, w.nRows, w.anchorX, w.anchorY);
        return std::vector<Pass>{extremeOver(w, greatest)};
    });
}

TEST(Morphology, AgainstBruteForce) {
    RoundSpec spec{kAllDepths, 200};
    randomRounds(12, spec, [](OzlImage* s, OzlImage* d, std::mt19937& rng) {
        const bool shaped = rng() % 3 != 0, none = rng() % 4 == 0;
        Win w = none ? Win{3, 3, 1, 1, {}} : randomWindow(rng, shaped);
        const OzlStructElement e{w.nCols, w.nRows, w.anchorX, w.anchorY, w.values.empty() ? nullptr : w.values.data()};
        std::vector<uint8_t> ones(static_cast<size_t>(w.nCols) * w.nRows, 1);
        OzlStructElement full = e;
        full.values = ones.data();
        const OzlStructElement* element = none ? nullptr : w.values.empty() ? &full : &e;
        const int op = static_cast<int>(rng() % 4), iterations = 1 + static_cast<int>(rng() % 3);
        void (*fn[])(OzlImage*, OzlImage*, const OzlStructElement*, int) = {ozlErode, ozlDilate, ozlOpen, ozlClose};
        fn[op](s, d, element, iterations);
        std::vector<Pass> passes;
        const bool dilateFirst = op == 1 || op == 3;
        for (int i = 0; i < iterations; ++i) passes.push_back(extremeOver(w, dilateFirst));
        if (op >= 2)
            for (int i = 0; i < iterations; ++i) passes.push_back(extremeOver(w, !dilateFirst));
        return passes;
    });
}

// Rows long enough for every vector width and the overlapping last vector.
TEST(MinMaxFilter, LongRows) {
    ErrorCapture errors;
    std::mt19937 rng(5);
    const Win wins[] = {{3, 3, 1, 1, {}}, {5, 5, 0, 4, {}}, {21, 1, 10, 0, {}}, {1, 9, 0, 3, {}}, {3, 3, 2, 0, {1, 0, 1, 0, 1, 0, 1, 1, 0}}};
    for (unsigned depth : kAllDepths)
        for (const Win& w : wins)
            for (int width : {17, 40, 67, 130}) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " window " << w.nCols << "x" << w.nRows << " width " << width);
                const int nCh = depth == OZL_DEPTH_1U ? 1 : 3;
                TestImage s(depth, width, 5, nCh), d(depth, width, 5, nCh);
                fillFor(s, rng());
                randomBorders(s, rng);
                const TestImage before = d.clone();
                const OzlStructElement e{w.nCols, w.nRows, w.anchorX, w.anchorY, w.values.data()};
                if (w.values.empty()) ozlMinFilter(s, d, w.nCols, w.nRows, w.anchorX, w.anchorY);
                else ozlErode(s, d, &e, 1);
                ASSERT_TRUE(errors.empty()) << errors.last();
                const SourceView src{s, s};
                const Pass p = extremeOver(w, false);
                const ValueAt in = [&](long long x, long long y, int c) { return src.at(x, y, c); };
                expectFiltered(before, d, width, 5, [&](int x, int y, int c) { return p(in, x, y, c); });
            }
}

TEST(Morphology, TilesAndInPlace) {
    ErrorCapture errors;
    std::mt19937 rng(8);
    const Win w{4, 3, 1, 2, {}};
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32F, OZL_DEPTH_1U}) {
        SCOPED_TRACE(testing::Message() << "depth " << depth);
        const int nCh = depth == OZL_DEPTH_1U ? 1 : 3;
        TiledImage ts(depth, 37, 29, nCh, OZL_DATA_ORDER_PIXEL, 16, 8), td(depth, 35, 27, nCh, OZL_DATA_ORDER_PIXEL, 8, 24);
        fillFor(ts.pixels(), rng());
        fillFor(td.pixels(), rng());
        randomBorders(ts, rng);
        ts.setRoi(0, 2, 3, 33, 25);
        td.setRoi(0, 1, 1, 31, 24);
        OzlImage modes = *ts.get();
        modes.tileInfo = nullptr;
        const std::vector<Pass> close = {extremeOver(w, true), extremeOver(w, false)};
        std::vector<uint8_t> ones(12, 1);
        const OzlStructElement e{4, 3, 1, 2, ones.data()};
        auto check = [&](const TestImage& before, const OzlImage* out, const SourceView& src, int w, int h) {
            std::vector<Plane> keep;
            keep.reserve(2);
            const ValueAt r = chained(src, w, h, close, keep);
            expectFiltered(before, out, w, h, [&](int x, int y, int c) { return r(x, y, c); });
        };
        // Tiled source and destination, closing in two passes.
        TestImage before = td.pixels().clone();
        ozlClose(ts, td, &e, 1);
        OzlImage out = *td.pixels().get();
        out.roi = td->roi;
        check(before, &out, SourceView{&modes, ts.pixels()}, 31, 24);
        // In place on the tiled image.
        const TestImage original = ts.pixels().clone();
        ozlClose(ts, ts, &e, 1);
        out = *ts.pixels().get();
        out.roi = ts->roi;
        check(original, &out, SourceView{&modes, original}, 33, 25);
        EXPECT_TRUE(errors.empty()) << errors.last();
    }
}

// 1U works on the packed bits: the same as 8U over the picture's 0/1 values,
// with the regions at any bit, masks, shaped elements, each side's own border
// mode, in place, and pictures tall enough for several bands of rows.
TEST(Morphology, BitsMatchBytes) {
    ErrorCapture errors;
    std::mt19937 rng(3);
    for (int round = 0; round < 32; ++round) {
        // Rows of several vectors, and more than one band of them.
        const int width = static_cast<int>(round & 2 ? 520 + rng() % 1100 : 1 + rng() % 300);
        const int height = 1 + static_cast<int>(rng() % 150);
        TestImage bits(OZL_DEPTH_1U, width, height), bytes(OZL_DEPTH_8U, width, height), mask(OZL_DEPTH_1U, width, height);
        mask.fillRandom(rng());
        // Dense and sparse pictures too: the edges of an erosion of noise are all zeros.
        const unsigned holes = 1u << (rng() % 5);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int v = round % 2 ? rng() % holes == 0 : rng() % holes != 0;
                bits.put(x, y, 0, v);
                bytes.put(x, y, 0, v);
            }
        const bool inPlace = round % 4 == 3;
        TestImage bitsOut = bits.clone(), bytesOut = bytes.clone();
        int modes[4], constants[4];
        for (int side = 0; side < 4; ++side) modes[side] = static_cast<int>(rng() % 4), constants[side] = static_cast<int>(rng() % 2);
        // Sources starting on a byte half the time (read in place).
        const int sx = static_cast<int>(rng() % 2 ? (rng() % 2) * 8 % width : rng() % std::min(width, 11));
        const int dx = inPlace || rng() % 2 ? sx : static_cast<int>(rng() % std::min(width, 11));
        Win win = randomWindow(rng, round % 4 == 1);
        if (win.values.empty()) win.values.assign(static_cast<size_t>(win.nCols) * win.nRows, 1);
        const OzlStructElement e{win.nCols, win.nRows, win.anchorX, win.anchorY, win.values.data()};
        void (*fn[])(OzlImage*, OzlImage*, const OzlStructElement*, int) = {ozlErode, ozlDilate, ozlOpen, ozlClose};
        for (auto [in, out] : {std::pair{&bits, &bitsOut}, std::pair{&bytes, &bytesOut}}) {
            if (inPlace) in = out;
            for (int side = 0; side < 4; ++side) ozlSetBorderMode(*in, modes[side], 1 << side, constants[side]);
            in->setRoi(0, sx, 0, width - std::max(sx, dx), height);
            if (!inPlace) out->setRoi(0, dx, 0, width - std::max(sx, dx), height);
            if (round % 3 == 0) out->setMask(&mask);
            fn[round % 4](*in, *out, round % 2 ? &e : nullptr, 1 + round % 3 / 2);
        }
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) ASSERT_EQ(bitsOut.at(x, y), bytesOut.at(x, y)) << x << "," << y << " round " << round;
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Zeros and NaNs: -0 below +0, NaNs beyond the infinities by sign, whatever
// the window or level.
TEST(MinMaxFilter, FloatOrder) {
    ErrorCapture errors;
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const float row[] = {0.0f, -0.0f, 1.0f, -nan, -inf, 2.0f, nan, inf, -1.0f, 0.0f, 3.0f, -0.0f,
                         5.0f, 4.0f, 6.0f, 7.0f, 8.0f, 9.0f, -2.0f, -3.0f};
    const int n = 20;
    TestImage s(OZL_DEPTH_32F, n, 1), lo(OZL_DEPTH_32F, n, 1), hi(OZL_DEPTH_32F, n, 1);
    for (int x = 0; x < n; ++x) s.put(x, 0, 0, row[x]);
    ozlSetBorderMode(s, OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
    ozlMinFilter(s, lo, 2, 1, 0, 0);
    ozlMaxFilter(s, hi, 2, 1, 0, 0);
    auto bitsOf = [](double v) {
        const float f = static_cast<float>(v);
        uint32_t b;
        std::memcpy(&b, &f, 4);
        return b;
    };
    const float wantLo[] = {-0.0f, -0.0f, -nan, -nan, -inf, 2.0f, inf, -1.0f, -1.0f, 0.0f, -0.0f, -0.0f};
    const float wantHi[] = {0.0f, 1.0f, 1.0f, -inf, 2.0f, nan, nan, inf, 0.0f, 3.0f, 3.0f, 5.0f};
    for (int x = 0; x < 12; ++x) {
        EXPECT_EQ(bitsOf(lo.at(x, 0)), bitsOf(wantLo[x])) << x;
        EXPECT_EQ(bitsOf(hi.at(x, 0)), bitsOf(wantHi[x])) << x;
    }
    EXPECT_TRUE(errors.empty());
}

TEST(Morphology, Refusals) {
    ErrorCapture errors(OZL_ErrModeParent);
    TestImage s(OZL_DEPTH_8U, 8, 6), d(OZL_DEPTH_8U, 8, 6), d16(OZL_DEPTH_16U, 8, 6), d3(OZL_DEPTH_8U, 8, 6, 3);
    d.fillRandom(1);
    s.fillRandom(2);
    const uint8_t zeros[4] = {0, 0, 0, 0}, one[4] = {0, 1, 0, 0};
    const OzlStructElement empty{2, 2, 0, 0, zeros}, badAnchor{2, 2, 2, 0, one}, noValues{2, 2, 0, 0, nullptr};
    expectRefusals(errors, {
        {[&] { ozlMinFilter(s, d, 0, 3, 0, 0); }, &d, {OZL_StsBadArg, "ozlMinFilter", "Non-positive window size", "ozlrank", 213}},
        {[&] { ozlMaxFilter(s, d, 3, 3, 1, 3); }, &d, {OZL_StsBadArg, "ozlMaxFilter", "Anchor point is outside the window", "ozlrank", 242}},
        {[&] { ozlMaxFilter(s, d, 3, 3, -1, 0); }, &d, {OZL_StsBadArg, "ozlMaxFilter", "Anchor point is outside the window", "ozlrank", 242}},
        {[&] { ozlMinFilter(s, d16, 3, 3, 1, 1); }, &d16, {OZL_StsBadArg, "ozlMinFilter", "Uncompatible images", "ozlrank", 214}},
        {[&] { ozlMinFilter(d3, d, 3, 3, 1, 1); }, &d, {OZL_StsBadArg, "ozlMinFilter", "Uncompatible images", "ozlrank", 216}},
        {[&] { ozlErode(s, d, &empty, 1); }, &d, {OZL_StsBadArg, "ozlErode", "Empty structuring element", "ozlmorph", 119}},
        {[&] { ozlDilate(s, d, &badAnchor, 1); }, &d, {OZL_StsBadArg, "ozlDilate", "Bad structuring element", "ozlmorph", 152}},
        {[&] { ozlOpen(s, d, &noValues, 1); }, &d, {OZL_StsBadArg, "ozlOpen", "Bad structuring element", "ozlmorph", 188}},
        {[&] { ozlClose(s, d, nullptr, 0); }, &d, {OZL_StsBadArg, "ozlClose", "Non-positive number of iterations", "ozlmorph", 221}},
        {[&] { ozlClose(s, d16, nullptr, 2); }, &d16, {OZL_StsBadArg, "ozlClose", "Uncompatible images", "ozlmorph", 222}},
        {[&] { ozlErode(nullptr, d, nullptr, 1); }, &d, {OZL_StsHeaderIsNull, "ozlErode", "Incorrect Image", "ozlmorph", 118}},
    });
    // Region offsets outside the image.
    s.setRoi(0, 8, 0, 2, 2);
    const std::vector<uint8_t> before = d.bytes();
    ozlErode(s, d, nullptr, 1);
    expectRefused(errors, d, before, {OZL_StsBadOffset, "ozlErode", "Bad ROI offsets", "ozlmorph", 118});
}

}  // namespace
