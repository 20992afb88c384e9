// ozlNorm: every type and depth against sums of the shared region (COI, alpha,
// planes, B's region at its own offsets, both masks, tiles), zero denominators,
// and the checks that return at once or only when the status is then negative.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>
#include <random>

#include "ozl.h"
#include "stats/region_walk.hpp"

namespace {

using namespace ozl::test;

// Maximum, sum and sum of squares of |A - B| (or of A or B alone) over the
// shared region and the channels both process, in long double: exact for
// integer sums below 2^64.
struct Totals {
    long double max = 0, l1 = 0, l2 = 0;
};

Totals totals(const OzlImage* a, const OzlImage* b, bool useA, bool useB) {
    const auto chA = processedChannels(a), chB = b ? processedChannels(b) : chA;
    const Rect ra = regionOf(a), rb = b ? regionOf(b) : ra;
    Totals t;
    forSharedRegion(a, {b}, {a->maskROI, b ? b->maskROI : nullptr}, [&](int dx, int dy) {
        for (size_t k = 0; k < std::min(chA.size(), chB.size()); ++k) {
            long double v = 0;
            if (useA) v += valueOf(a, ra.x + dx, ra.y + dy, chA[k]);
            if (useB) v -= valueOf(b, rb.x + dx, rb.y + dy, chB[k]);
            v = std::fabs(v);
            t.max = std::max(t.max, v), t.l1 += v, t.l2 += v * v;
        }
    });
    return t;
}

double expectedNorm(const OzlImage* a, const OzlImage* b, int type) {
    const int base = type & 7;
    auto pick = [&](const Totals& t) {
        return static_cast<double>(base == OZL_C ? t.max : base == OZL_L1 ? t.l1 : t.l2);
    };
    const double num = pick(totals(a, b, true, b != nullptr));
    if (!(type & OZL_RELATIVE)) return base == OZL_L2 ? std::sqrt(num) : num;
    const double den = pick(totals(a, b, false, true));
    if (den <= 2.2250738585072014e-308) return -1.0;
    return base == OZL_L2 ? std::sqrt(num) / std::sqrt(den) : num / den;
}

// Exact for integer sums that fit the long double; close for squares of
// 32-bit differences and for floats.
void expectNorm(double got, double expected, unsigned depth, int type) {
    const bool exact = depth != OZL_DEPTH_32F && !(depth == OZL_DEPTH_32S && (type & 7) == OZL_L2);
    if (exact) EXPECT_EQ(got, expected) << "type " << type;
    else EXPECT_NEAR(got, expected, 1e-12 * std::fabs(expected)) << "type " << type;
}

struct Layout { int width, height, nCh, order; bool alpha; int coi; };

using Norm = StatsTest;

TEST_F(Norm, EveryTypeAndDepthAgainstSumsOfTheSharedRegion) {
    const unsigned depths[] = {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};
    const Layout layouts[] = {
        {37, 5, 1, OZL_DATA_ORDER_PIXEL, false, -1},
        {640, 3, 3, OZL_DATA_ORDER_PIXEL, false, -1},  // rows without padding: one run
        {29, 4, 3, OZL_DATA_ORDER_PIXEL, false, 0},
        {31, 3, 3, OZL_DATA_ORDER_PLANE, false, 0},
        {19, 4, 4, OZL_DATA_ORDER_PIXEL, true, 0},     // alpha takes no part
        {23, 6, 3, OZL_DATA_ORDER_PIXEL, false, 2},
        {21, 4, 2, OZL_DATA_ORDER_PLANE, false, 2},
    };
    std::mt19937 rng(17);
    for (unsigned depth : depths)
        for (const Layout& l : layouts) {
            if (depth == OZL_DEPTH_1U && l.nCh > 1) continue;
            SCOPED_TRACE(testing::Message() << "depth 0x" << std::hex << depth << std::dec << " " << l.width << "x" << l.nCh << " coi " << l.coi);
            TestImage a(depth, l.width, l.height, l.nCh, l.order, l.alpha);
            TestImage b(depth, l.width + 4, l.height + 1, l.nCh, l.order, l.alpha);
            a.fillRandom(rng()), b.fillRandom(rng());
            if (l.coi >= 0)  // B at its own offsets, cut by A's size
                a.setRoi(l.coi, 1, 0, l.width - 1, l.height), b.setRoi(l.coi, 4, 1, l.width, l.height);
            for (int type : {OZL_C, OZL_L1, OZL_L2})
                expectNorm(ozlNorm(a, nullptr, type), expectedNorm(a, nullptr, type), depth, type);
            for (int type : {OZL_C, OZL_L1, OZL_L2, OZL_RELATIVEC, OZL_RELATIVEL1, OZL_RELATIVEL2})
                expectNorm(ozlNorm(a, b, type), expectedNorm(a, b, type), depth, type);
            // Both masks: a pixel counts where both admit it.
            TestImage ma(OZL_DEPTH_1U, l.width, l.height), mb(OZL_DEPTH_1U, l.width + 2, l.height);
            ma.fillRandom(rng()), mb.fillRandom(rng());
            mb.setRoi(0, 2, 0, l.width, l.height);
            a.setMask(&ma), b.setMask(&mb);
            for (int type : {OZL_C, OZL_L1, OZL_RELATIVEL2})
                expectNorm(ozlNorm(a, b, type), expectedNorm(a, b, type), depth, type);
            a.setMask(nullptr), b.setMask(nullptr);
        }
}

TEST_F(Norm, TilesAgreeWithSumsOfTheRegion) {
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F}) {
        TiledImage ta(depth, 45, 27, 3, OZL_DATA_ORDER_PIXEL, 16, 8);
        TiledImage tb(depth, 50, 30, 3, OZL_DATA_ORDER_PIXEL, 8, 24);
        ta.pixels().fillRandom(depth + 1), tb.pixels().fillRandom(depth + 2);
        ta.setRoi(0, 2, 1, 40, 25), ta.pixels().setRoi(0, 2, 1, 40, 25);
        tb.setRoi(0, 7, 3, 40, 25), tb.pixels().setRoi(0, 7, 3, 40, 25);
        TestImage mask(OZL_DEPTH_1U, 40, 25);
        mask.fillRandom(depth);
        for (bool masked : {false, true}) {
            ta->maskROI = ta.pixels()->maskROI = masked ? mask.get() : nullptr;
            for (int type : {OZL_C, OZL_L1, OZL_L2, OZL_RELATIVEL1})
                expectNorm(ozlNorm(ta, tb, type), expectedNorm(ta.pixels(), tb.pixels(), type), depth, type);
            expectNorm(ozlNorm(ta, nullptr, OZL_L1), expectedNorm(ta.pixels(), nullptr, OZL_L1), depth, OZL_L1);
        }
        ta->maskROI = ta.pixels()->maskROI = nullptr;
    }
}

TEST_F(Norm, HandWorkedValuesAndZeroDenominators) {
    TestImage a(OZL_DEPTH_8S, 3, 1), b(OZL_DEPTH_8S, 3, 1);
    const double va[] = {-128, 5, 3}, vb[] = {127, 1, 3};
    for (int x = 0; x < 3; ++x) a.put(x, 0, 0, va[x]), b.put(x, 0, 0, vb[x]);
    // The relative forms divide the norms, the square roots taken first.
    EXPECT_EQ(ozlNorm(a, nullptr, OZL_L2), std::sqrt(16418.0));
    EXPECT_EQ(ozlNorm(a, b, OZL_RELATIVEC), 255.0 / 127.0);
    EXPECT_EQ(ozlNorm(a, b, OZL_RELATIVEL2), std::sqrt(65041.0) / std::sqrt(16139.0));
    // 1-bit images: the L1 norm of a difference counts the differing bits.
    TestImage p(OZL_DEPTH_1U, 20, 2), q(OZL_DEPTH_1U, 20, 2);
    p.put(3, 0, 0, 1), p.put(19, 1, 0, 1), q.put(3, 0, 0, 1), q.put(7, 1, 0, 1);
    EXPECT_EQ(ozlNorm(p, q, OZL_L1), 2.0);
    EXPECT_EQ(ozlNorm(p, nullptr, OZL_L2), std::sqrt(2.0));
    EXPECT_TRUE(errors.empty());

    // A one-channel image whose channel is alpha processes no values at all
    // (a masked walk included).
    TestImage alphaOnly(OZL_DEPTH_8U, 5, 2, 1, OZL_DATA_ORDER_PIXEL, true), ones(OZL_DEPTH_1U, 5, 2);
    alphaOnly.fill(9), ones.fill(1);
    EXPECT_EQ(ozlNorm(alphaOnly, nullptr, OZL_L1), 0.0);
    alphaOnly.setMask(&ones);
    EXPECT_EQ(ozlNorm(alphaOnly, nullptr, OZL_C), 0.0);
    EXPECT_TRUE(errors.empty());

    TestImage zero(OZL_DEPTH_8S, 3, 1);
    EXPECT_EQ(ozlNorm(alphaOnly, alphaOnly, OZL_RELATIVEL1), -1.0);
    for (int type : {OZL_RELATIVEC, OZL_RELATIVEL1, OZL_RELATIVEL2}) {
        EXPECT_EQ(ozlNorm(a, zero, type), -1.0);
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlNorm", "Zero divided", "ozlnorm", 168}));
        EXPECT_EQ(ozlGetErrStatus(), OZL_StsBadArg);
    }
    errors.clear();
}

TEST_F(Norm, ChecksInOrderSomeReturningOnlyOnANegativeStatus) {
    TestImage a(OZL_DEPTH_16U, 6, 2, 3), b(OZL_DEPTH_16U, 6, 2, 3);
    a.fill(40);
    auto refused = [&](double result, OzlStatus status, const char* message, int line) {
        EXPECT_EQ(result, 0.0) << message;
        EXPECT_EQ(errors.count(), 1u) << message;
        EXPECT_EQ(errors.last(), (ErrorReport{status, "ozlNorm", message, "ozlnorm", line}));
        errors.clear();
    };
    refused(ozlNorm(nullptr, b, OZL_L1), OZL_StsHeaderIsNull, "Incorrect Image", 74);
    refused(ozlNorm(a, nullptr, OZL_RELATIVEC), OZL_StsBadArg, "normType unknown", 79);
    refused(ozlNorm(a, nullptr, 3), OZL_StsBadArg, "normType unknown", 79);
    b->depth = 0;
    refused(ozlNorm(a, b, 7), OZL_StsBadDepth, "Incorrect Image", 84);
    b->depth = OZL_DEPTH_16U, b->dataOrder = OZL_DATA_ORDER_PLANE;
    refused(ozlNorm(a, b, 7), OZL_StsBadArg, "(srcImageA->dataOrder!=srcImageB->dataOrder)", 87);
    b->dataOrder = OZL_DATA_ORDER_PIXEL, b->depth = OZL_DEPTH_16S;
    refused(ozlNorm(a, b, 7), OZL_StsBadArg, "(srcImageA->depth!=srcImageB->depth)", 90);
    b->depth = OZL_DEPTH_16U;
    refused(ozlNorm(a, b, 16), OZL_StsBadArg, "normType unknown", 93);
    b.setRoi(2, 0, 0, 6, 2);
    refused(ozlNorm(a, b, OZL_L1), OZL_StsBadNumChannels, "Bad number of channels", 116);

    // With the status cleared by the callback the call goes on: one channel of
    // each (B's channel 2 against A's first), and an unknown type gives 0.0.
    {
        ClearingHandler goOn;
        b.put(0, 0, 1, 7);
        EXPECT_EQ(ozlNorm(a, b, OZL_C), 40.0);
        EXPECT_EQ(ozlNorm(a, nullptr, OZL_RELATIVEL1), 40.0 * 36);  // the plain L1 of A
        EXPECT_EQ(ozlNorm(a, b, 3), 0.0);
    }
    EXPECT_EQ(ClearingHandler::seen(),
              (std::vector<std::string>{"Bad number of channels", "normType unknown", "normType unknown", "Bad number of channels"}));

    // A tile that cannot be fetched.
    TiledImage tiled(OZL_DEPTH_16U, 24, 8, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    tiled.failFetch(2);
    EXPECT_EQ(ozlNorm(tiled, nullptr, OZL_L2), -2.0);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsError, "ozlNorm", " ", "ozlnorm", 170}));
    errors.clear();
}

}  // namespace
