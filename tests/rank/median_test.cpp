// ozlMedianFilter and ozlColorMedianFilter against sorting the window: every
// method (sorted columns for 3 x 3 and 5 x 5, networks up to 25 places,
// counts of values in bytes and in 16 bits, counts of the window alone beyond,
// selection for the other depths), every depth and layout, even areas, anchors anywhere, long rows
// for the vector widths and several row bands; refusals.
#include <gtest/gtest.h>

#include <algorithm>

#include "rank/rank_check.hpp"

namespace {

using namespace ozl::test;

Pass medianOver(int nCols, int nRows, int ax, int ay) {
    return [=](const ValueAt& in, int x, int y, int c) {
        std::vector<double> v;
        v.reserve(static_cast<size_t>(nCols) * nRows);
        for (int j = 0; j < nRows; ++j)
            for (int i = 0; i < nCols; ++i) v.push_back(in(x + i - ax, y + j - ay, c));
        std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
        return v[v.size() / 2];
    };
}

TEST(MedianFilter, AgainstSorting) {
    randomRounds(31, RoundSpec{kAllDepths, 260}, [](OzlImage* s, OzlImage* d, std::mt19937& rng) {
        // 3 x 3, 5 x 5, then 1..5 x 1..5, 4..12 x 4..9 and 1..18 x 1..3 windows.
        const int kind = static_cast<int>(rng() % 5), base = kind == 3 ? 4 : 1;
        const int cols[] = {3, 5, 5, 9, 18}, rows[] = {3, 5, 5, 6, 3};
        int nCols = cols[kind], nRows = rows[kind];
        if (kind > 1) nCols = base + static_cast<int>(rng() % nCols), nRows = base + static_cast<int>(rng() % nRows);
        const int ax = static_cast<int>(rng() % nCols), ay = static_cast<int>(rng() % nRows);
        ozlMedianFilter(s, d, nCols, nRows, ax, ay);
        return std::vector<Pass>{medianOver(nCols, nRows, ax, ay)};
    });
}

// 8-bit windows of 15 x 15 and 17 x 17 (counts beyond a byte) over 80 rows:
// counts carried from row to row across the driver's bands.
TEST(MedianFilter, LongRows) {
    std::mt19937 rng(9);
    for (unsigned depth : kAllDepths)
        for (int size : {3, 5, 15, 17})
            for (int width : {33, 70}) {
                if (size > 5 && (depth != OZL_DEPTH_8U || width == 33)) continue;
                SCOPED_TRACE(testing::Message() << "depth " << depth << " size " << size << " width " << width);
                expectLongRow(depth, width, size > 5 ? 80 : 4, depth == OZL_DEPTH_1U || size > 5 ? 1 : 3, rng(), false,
                              [=](OzlImage* s, OzlImage* d) { ozlMedianFilter(s, d, size, size, size / 2, size / 2); },
                              medianOver(size, size, size / 2, size / 2));
            }
}

// Either side of each method's limits on a small 2-channel image, anchors at
// both ends: bytes of window counts up to 255 values, 16 bits beyond, counts
// of the window alone past 255 rows (256 equal values in a column: all 255)
// or 65535 values. A count wrapping in its lanes gives a wrong median.
TEST(MedianFilter, CountLimits) {
    struct Window { int nCols, nRows, ax, ay; bool full; };
    for (const Window& w : {Window{255, 1, 0, 0, false}, Window{256, 1, 255, 0, false}, Window{16, 16, 15, 0, false},
                            Window{1, 255, 0, 254, true}, Window{1, 256, 0, 3, true}, Window{2, 300, 1, 299, false},
                            Window{300, 220, 7, 100, false}}) {
        SCOPED_TRACE(testing::Message() << w.nCols << " x " << w.nRows);
        expectLongRow(OZL_DEPTH_8U, 5, 3, 2, 77, w.full,
                      [=](OzlImage* s, OzlImage* d) { ozlMedianFilter(s, d, w.nCols, w.nRows, w.ax, w.ay); },
                      medianOver(w.nCols, w.nRows, w.ax, w.ay));
    }
}

// The window pixel of least summed channel differences, the first of equals.
Pass nearestColour(int nCols, int nRows, int ax, int ay) {
    return [=](const ValueAt& in, int x, int y, int c) {
        auto at = [&](int i, int k) { return in(x + i % nCols - ax, y + i / nCols - ay, k); };
        double best = 0;
        int chosen = -1;
        for (int i = 0; i < nCols * nRows; ++i) {
            double sum = 0;
            for (int j = 0; j < nCols * nRows; ++j)
                for (int k = 0; k < 3; ++k) sum += std::abs(at(i, k) - at(j, k));
            if (chosen < 0 || sum < best) best = sum, chosen = i;
        }
        return at(chosen, c);
    };
}

// Windows up to 6 x 6 take both the pairwise sums and the sums from ordered
// channel values (larger integer windows).
TEST(ColorMedianFilter, NearestColour) {
    RoundSpec spec{{OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F}, 120};
    spec.channels = 3;
    spec.planes = spec.coi = false;
    randomRounds(32, spec, [](OzlImage* s, OzlImage* d, std::mt19937& rng) {
        const int nCols = 1 + static_cast<int>(rng() % 6), nRows = 1 + static_cast<int>(rng() % 6);
        const int ax = static_cast<int>(rng() % nCols), ay = static_cast<int>(rng() % nRows);
        ozlColorMedianFilter(s, d, nCols, nRows, ax, ay);
        return std::vector<Pass>{nearestColour(nCols, nRows, ax, ay)};
    });
}

// Rows long enough for every vector width: 8-bit windows up to 16 pixels go
// a vector of pixels at a time (sums up to 16 x 765 in 16-bit lanes, signed
// values with flipped sign bits), larger ones through sliding counts.
TEST(ColorMedianFilter, LongRows) {
    struct Window { int nCols, nRows, ax, ay; };
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_8S})
        for (const Window& w : {Window{3, 3, 1, 1}, Window{4, 4, 0, 3}, Window{1, 2, 0, 1}, Window{6, 5, 2, 2}}) {
            SCOPED_TRACE(testing::Message() << depth << ": " << w.nCols << " x " << w.nRows);
            expectLongRow(depth, 99, 3, 3, 5, false,
                          [=](OzlImage* s, OzlImage* d) { ozlColorMedianFilter(s, d, w.nCols, w.nRows, w.ax, w.ay); },
                          nearestColour(w.nCols, w.nRows, w.ax, w.ay));
        }
}

// 32S values over the whole range: keys and sums must not overflow.
TEST(ColorMedianFilter, WholeRange32S) {
    ErrorCapture errors;
    TestImage s(OZL_DEPTH_32S, 11, 6, 3), d(OZL_DEPTH_32S, 11, 6, 3);
    s.fillRandom(9);
    ozlSetBorderMode(s, OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
    const TestImage before = d.clone();
    ozlColorMedianFilter(s, d, 5, 4, 1, 2);
    ASSERT_TRUE(errors.empty()) << errors.last();
    const ValueAt in = [src = SourceView{s, s}](long long x, long long y, int c) { return src.at(x, y, c); };
    const Pass pass = nearestColour(5, 4, 1, 2);
    expectFiltered(before, d, 11, 6, [&](int x, int y, int c) { return pass(in, x, y, c); });
}

TEST(MedianFilter, Refusals) {
    TestImage s(OZL_DEPTH_8U, 8, 6, 3), d(OZL_DEPTH_8U, 8, 6, 3), g(OZL_DEPTH_8U, 8, 6), p(OZL_DEPTH_8U, 8, 6, 3, OZL_DATA_ORDER_PLANE);
    s.fillRandom(1);
    d.fillRandom(2);
    const char* colour = "Color median needs 3 channels in pixel order";
    expectRefusals({
        {[&] { ozlMedianFilter(s, d, 0, 0, 0, 0); }, &d, {OZL_StsBadArg, "ozlMedianFilter", "Non-positive window size", "ozlmedian", 305}},
        {[&] { ozlMedianFilter(s, d, 2048, 1024, 0, 0); }, &d, {OZL_StsBadArg, "ozlMedianFilter", "Window too large", "ozlmedian", 307}},
        {[&] { ozlMedianFilter(s, g, 3, 3, 1, 1); }, &g, {OZL_StsBadArg, "ozlMedianFilter", "Uncompatible images", "ozlmedian", 308}},
        {[&] { ozlColorMedianFilter(s, d, 3, 3, 3, 1); }, &d, {OZL_StsBadArg, "ozlColorMedianFilter", "Anchor point is outside the window", "ozlmedian", 353}},
        {[&] { ozlColorMedianFilter(g, g, 3, 3, 1, 1); }, &g, {OZL_StsBadNumChannels, "ozlColorMedianFilter", colour, "ozlmedian", 355}},
        {[&] { ozlColorMedianFilter(p, p, 3, 3, 1, 1); }, &p, {OZL_StsBadNumChannels, "ozlColorMedianFilter", colour, "ozlmedian", 355}},
    });
}

}  // namespace
