// ozlBlur and ozlFixedFilter against the exact sums: every depth, windows
// past the 16-bit sums of the 8-bit kernel, anchors anywhere, halves rounding
// upward for negative sums too, saturation of the fixed kernels, refusals.
#include <gtest/gtest.h>

#include <cmath>

#include "rank/rank_check.hpp"

namespace {

using namespace ozl::test;

// Halves upward, negative sums included.
long long roundedQuotient(long long s, long long d) {
    const long long x = s + d / 2, q = x / d;
    return q * d > x ? q - 1 : q;
}

double clampTo(unsigned depth, long long v) {
    const int bits = static_cast<int>(depth & 0xff);
    const long long lo = depth & OZL_DEPTH_SIGN ? -(1LL << (bits - 1)) : 0, hi = lo + (1LL << bits) - 1;
    return static_cast<double>(std::clamp(v, lo, hi));
}

Pass meanOver(unsigned depth, int nCols, int nRows, int ax, int ay) {
    return [=](const ValueAt& in, int x, int y, int c) -> double {
        if (depth == OZL_DEPTH_32F) {  // column sums first, as the filter adds them
            float s = 0;
            for (int i = 0; i < nCols; ++i) {
                float col = static_cast<float>(in(x + i - ax, y - ay, c));
                for (int j = 1; j < nRows; ++j) col += static_cast<float>(in(x + i - ax, y + j - ay, c));
                s = i ? s + col : col;
            }
            return s / static_cast<float>(nCols * nRows);
        }
        long long s = 0;
        for (int j = 0; j < nRows; ++j)
            for (int i = 0; i < nCols; ++i) s += static_cast<long long>(in(x + i - ax, y + j - ay, c));
        return static_cast<double>(roundedQuotient(s, static_cast<long long>(nCols) * nRows));
    };
}

TEST(Blur, AgainstExactSums) {
    RoundSpec spec{kAllDepths, 220};
    randomRounds(21, spec, [](OzlImage* s, OzlImage* d, std::mt19937& rng) {
        const bool big = rng() % 6 == 0;
        const int nCols = 1 + static_cast<int>(rng() % (big ? 20 : 7)), nRows = 1 + static_cast<int>(rng() % (big ? 18 : 6));
        const int ax = static_cast<int>(rng() % nCols), ay = static_cast<int>(rng() % nRows);
        ozlBlur(s, d, nCols, nRows, ax, ay);
        return std::vector<Pass>{meanOver(s->depth, nCols, nRows, ax, ay)};
    });
}

// The 8-bit kernel's division by multiplication at every window area it
// takes, on rows long enough for every vector width; sums at the top of the
// range.
TEST(Blur, EightBitAreas) {
    std::mt19937 rng(4);
    for (int nCols = 1; nCols <= 16; ++nCols)
        for (int nRows : {1, 2, 3, 7, 16}) {
            if (nCols * nRows * 255 + nCols * nRows / 2 > 65535) continue;
            SCOPED_TRACE(testing::Message() << nCols << "x" << nRows);
            expectLongRow(OZL_DEPTH_8U, 70, 4, 3, rng(), nCols % 3 == 0,
                          [=](OzlImage* s, OzlImage* d) { ozlBlur(s, d, nCols, nRows, nCols / 2, nRows - 1); },
                          meanOver(OZL_DEPTH_8U, nCols, nRows, nCols / 2, nRows - 1));
        }
}

struct FixedKernel {
    int size, divisor;
    std::vector<int> values;
};

const FixedKernel kFixed[] = {
    {3, 1, {-1, 0, 1, -1, 0, 1, -1, 0, 1}},
    {3, 1, {1, 1, 1, 0, 0, 0, -1, -1, -1}},
    {3, 1, {-1, 0, 1, -2, 0, 2, -1, 0, 1}},
    {3, 1, {1, 2, 1, 0, 0, 0, -1, -2, -1}},
    {3, 1, {0, -1, 0, -1, 4, -1, 0, -1, 0}},
    {5, 1, {-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4, -3, 0, 6, 0, -3, -1, -3, -4, -3, -1}},
    {3, 16, {1, 2, 1, 2, 4, 2, 1, 2, 1}},
    {5, 256, {1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6, 4, 16, 24, 16, 4, 1, 4, 6, 4, 1}},
    {3, 1, {-1, -1, -1, -1, 8, -1, -1, -1, -1}},
    {5, 1, {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 24, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
    {3, 8, {-1, -1, -1, -1, 16, -1, -1, -1, -1}},
};

TEST(FixedFilter, AgainstExactSums) {
    RoundSpec spec{{OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F}, 200};
    randomRounds(22, spec, [](OzlImage* s, OzlImage* d, std::mt19937& rng) {
        const int f = static_cast<int>(rng() % 11);
        ozlFixedFilter(s, d, f);
        const FixedKernel& k = kFixed[f];
        const unsigned depth = s->depth;
        return std::vector<Pass>{[k, depth](const ValueAt& in, int x, int y, int c) -> double {
            const int h = k.size / 2;
            float f = 0;
            long long s = 0;
            for (int i = 0; i < k.size * k.size; ++i) {
                const int w = k.values[i];
                const double v = in(x + i % k.size - h, y + i / k.size - h, c);
                s += w * static_cast<long long>(v);
                if (w) f += static_cast<float>(w) * static_cast<float>(v);
            }
            return depth == OZL_DEPTH_32F ? f / static_cast<float>(k.divisor) : clampTo(depth, roundedQuotient(s, k.divisor));
        }};
    });
}

TEST(Blur, Refusals) {
    TestImage s(OZL_DEPTH_8U, 8, 6), d(OZL_DEPTH_8U, 8, 6), b(OZL_DEPTH_1U, 8, 6), d2(OZL_DEPTH_8U, 8, 6, 2);
    s.fillRandom(1);
    d.fillRandom(2);
    b.fillRandom(3);
    expectRefusals({
        {[&] { ozlBlur(s, d, 3, -1, 0, 0); }, &d, {OZL_StsBadArg, "ozlBlur", "Non-positive window size", "ozlblur", 119}},
        {[&] { ozlBlur(s, d, 3, 3, 0, 3); }, &d, {OZL_StsBadArg, "ozlBlur", "Anchor point is outside the window", "ozlblur", 119}},
        {[&] { ozlBlur(s, b, 3, 3, 1, 1); }, &b, {OZL_StsBadArg, "ozlBlur", "Uncompatible images", "ozlblur", 120}},
        {[&] { ozlBlur(s, d2, 3, 3, 1, 1); }, &d2, {OZL_StsBadArg, "ozlBlur", "Uncompatible images", "ozlblur", 122}},
        {[&] { ozlFixedFilter(s, d, 11); }, &d, {OZL_StsBadArg, "ozlFixedFilter", "Unknown fixed filter", "ozlblur", 174}},
        {[&] { ozlFixedFilter(s, d, -1); }, &d, {OZL_StsBadArg, "ozlFixedFilter", "Unknown fixed filter", "ozlblur", 174}},
        {[&] { ozlFixedFilter(s, b, 0); }, &b, {OZL_StsBadArg, "ozlFixedFilter", "Uncompatible images", "ozlblur", 175}},
        {[&] { ozlFixedFilter(b, b, 0); }, &b, {OZL_StsBadDepth, "ozlFixedFilter", "Inadmissible images depths", "ozlblur", 176}},
        {[&] { ozlFixedFilter(s, nullptr, 0); }, &d, {OZL_StsHeaderIsNull, "ozlFixedFilter", "Incorrect Image", "ozlblur", 173}},
    });
}

}  // namespace
