// ozlMedianFilter and ozlColorMedianFilter against sorting the window: every
// method (sorted columns for 3 x 3, networks up to 25 places, the sliding
// histogram and selection beyond), every depth and layout, even areas,
// anchors anywhere, long rows for the vector widths; refusals.
#include <gtest/gtest.h>

#include <algorithm>

#include "rank/rank_check.hpp"

namespace {

using namespace ozl::test;

Pass medianOver(int nCols, int nRows, int ax, int ay) {
    return [=](const ValueAt& in, int x, int y, int c) {
        std::vector<double> v;
        for (int j = 0; j < nRows; ++j)
            for (int i = 0; i < nCols; ++i) v.push_back(in(x + i - ax, y + j - ay, c));
        std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
        return v[v.size() / 2];
    };
}

TEST(MedianFilter, AgainstSorting) {
    RoundSpec spec{kAllDepths, 260};
    randomRounds(31, spec, [](OzlImage* s, OzlImage* d, std::mt19937& rng) {
        const int kind = static_cast<int>(rng() % 4);
        int nCols = 3, nRows = 3;
        if (kind == 1) nCols = 1 + static_cast<int>(rng() % 5), nRows = 1 + static_cast<int>(rng() % 5);
        if (kind == 2) nCols = 4 + static_cast<int>(rng() % 9), nRows = 4 + static_cast<int>(rng() % 6);
        if (kind == 3) nCols = 1 + static_cast<int>(rng() % 18), nRows = 1 + static_cast<int>(rng() % 3);
        const int ax = static_cast<int>(rng() % nCols), ay = static_cast<int>(rng() % nRows);
        ozlMedianFilter(s, d, nCols, nRows, ax, ay);
        return std::vector<Pass>{medianOver(nCols, nRows, ax, ay)};
    });
}

TEST(MedianFilter, LongRows) {
    ErrorCapture errors;
    std::mt19937 rng(9);
    for (unsigned depth : kAllDepths)
        for (int size : {3, 5, 15})
            for (int width : {33, 70}) {
                if (size == 15 && depth != OZL_DEPTH_8U) continue;
                SCOPED_TRACE(testing::Message() << "depth " << depth << " size " << size << " width " << width);
                const int nCh = depth == OZL_DEPTH_1U ? 1 : 3;
                TestImage s(depth, width, 4, nCh), d(depth, width, 4, nCh);
                fillFor(s, rng());
                randomBorders(s, rng);
                const TestImage before = d.clone();
                ozlMedianFilter(s, d, size, size, size / 2, size / 2);
                ASSERT_TRUE(errors.empty()) << errors.last();
                const Source src{s, s};
                const ValueAt in = [&](long long x, long long y, int c) { return src.at(x, y, c); };
                const Pass p = medianOver(size, size, size / 2, size / 2);
                expectFiltered(before, d, width, 4, [&](int x, int y, int c) { return p(in, x, y, c); });
            }
}

TEST(ColorMedianFilter, NearestColour) {
    RoundSpec spec{{OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F}, 120};
    spec.channels = 3;
    spec.planes = spec.coi = false;
    randomRounds(32, spec, [](OzlImage* s, OzlImage* d, std::mt19937& rng) {
        const int nCols = 1 + static_cast<int>(rng() % 4), nRows = 1 + static_cast<int>(rng() % 4);
        const int ax = static_cast<int>(rng() % nCols), ay = static_cast<int>(rng() % nRows);
        ozlColorMedianFilter(s, d, nCols, nRows, ax, ay);
        return std::vector<Pass>{[=](const ValueAt& in, int x, int y, int c) {
            double best = 0;
            int bi = -1, bj = -1;
            for (int j = 0; j < nRows; ++j)
                for (int i = 0; i < nCols; ++i) {
                    double sum = 0;
                    for (int j2 = 0; j2 < nRows; ++j2)
                        for (int i2 = 0; i2 < nCols; ++i2)
                            for (int k = 0; k < 3; ++k)
                                sum += std::abs(in(x + i - ax, y + j - ay, k) - in(x + i2 - ax, y + j2 - ay, k));
                    if (bi < 0 || sum < best) best = sum, bi = i, bj = j;
                }
            return in(x + bi - ax, y + bj - ay, c);
        }};
    });
}

TEST(MedianFilter, Refusals) {
    ErrorCapture errors(OZL_ErrModeParent);
    TestImage s(OZL_DEPTH_8U, 8, 6, 3), d(OZL_DEPTH_8U, 8, 6, 3), g(OZL_DEPTH_8U, 8, 6), p(OZL_DEPTH_8U, 8, 6, 3, OZL_DATA_ORDER_PLANE);
    s.fillRandom(1);
    d.fillRandom(2);
    struct Case {
        std::function<void()> call;
        const TestImage* dst;
        ErrorReport expected;
    } cases[] = {
        {[&] { ozlMedianFilter(s, d, 0, 0, 0, 0); }, &d, {OZL_StsBadArg, "ozlMedianFilter", "Non-positive window size", "ozlmedian", 305}},
        {[&] { ozlMedianFilter(s, d, 2048, 1024, 0, 0); }, &d, {OZL_StsBadArg, "ozlMedianFilter", "Window too large", "ozlmedian", 307}},
        {[&] { ozlMedianFilter(s, g, 3, 3, 1, 1); }, &g, {OZL_StsBadArg, "ozlMedianFilter", "Uncompatible images", "ozlmedian", 308}},
        {[&] { ozlColorMedianFilter(s, d, 3, 3, 3, 1); }, &d, {OZL_StsBadArg, "ozlColorMedianFilter", "Anchor point is outside the window", "ozlmedian", 353}},
        {[&] { ozlColorMedianFilter(g, g, 3, 3, 1, 1); }, &g, {OZL_StsBadNumChannels, "ozlColorMedianFilter", "Color median needs 3 channels in pixel order", "ozlmedian", 355}},
        {[&] { ozlColorMedianFilter(p, p, 3, 3, 1, 1); }, &p, {OZL_StsBadNumChannels, "ozlColorMedianFilter", "Color median needs 3 channels in pixel order", "ozlmedian", 355}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected.context);
        const std::vector<uint8_t> before = c.dst->bytes();
        c.call();
        expectRefused(errors, *c.dst, before, c.expected);
    }
}

}  // namespace
