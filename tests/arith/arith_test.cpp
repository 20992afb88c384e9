// ozlAdd, ozlSubtract, ozlMultiply, ozlMultiplyScale: saturation, every depth
// against a reference, 1-bit routing, refusals, channel rule, masks, in-place
// calls, whole-buffer and row paths, tiles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::TestImage;
using ozl::test::TileCall;
using ozl::test::TiledImage;

using BinaryFn = void(OZL_CALL*)(OzlImage*, OzlImage*, OzlImage*);
enum class Arith { Add, Sub, Mul, Scale };

BinaryFn entry(Arith op) {
    switch (op) {
        case Arith::Add: return ozlAdd;
        case Arith::Sub: return ozlSubtract;
        case Arith::Mul: return ozlMultiply;
        default: return ozlMultiplyScale;
    }
}

double clampTo(unsigned depth, double v) {
    switch (depth) {
        case OZL_DEPTH_8U: return std::clamp(v, 0.0, 255.0);
        case OZL_DEPTH_8S: return std::clamp(v, -128.0, 127.0);
        case OZL_DEPTH_16U: return std::clamp(v, 0.0, 65535.0);
        case OZL_DEPTH_16S: return std::clamp(v, -32768.0, 32767.0);
        default: return std::clamp(v, -2147483648.0, 2147483647.0);
    }
}

double reference(Arith op, unsigned depth, double a, double b) {
    if (depth == OZL_DEPTH_32F) {
        const float fa = static_cast<float>(a), fb = static_cast<float>(b);
        return op == Arith::Add ? fa + fb : op == Arith::Sub ? fa - fb : fa * fb;
    }
    if (op == Arith::Scale) {
        const int bits = depth == OZL_DEPTH_8U ? 8 : 16;
        const uint32_t p = static_cast<uint32_t>(a) * static_cast<uint32_t>(b);
        return (p + (p >> bits) + 1) >> bits;
    }
    const double r = op == Arith::Add ? a + b : op == Arith::Sub ? a - b : std::trunc(a * b);
    return clampTo(depth, r);
}

const unsigned kDepths[] = {OZL_DEPTH_8U,  OZL_DEPTH_8S,  OZL_DEPTH_16U,
                            OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};

// ---------------------------------------------------------------------------
// Limits: every value of a 41-pixel row (vector blocks and tails) is checked.

struct LimitCase {
    unsigned depth;
    Arith op;
    double a, b, expected;
};

TEST(Arithmetic, SaturatesAtTheLimitsOfEveryDepth) {
    const double inf = INFINITY;
    const LimitCase cases[] = {
        {OZL_DEPTH_8U, Arith::Add, 200, 100, 255}, {OZL_DEPTH_8U, Arith::Sub, 100, 200, 0},
        {OZL_DEPTH_8U, Arith::Mul, 20, 20, 255},   {OZL_DEPTH_8U, Arith::Mul, 15, 16, 240},
        {OZL_DEPTH_8S, Arith::Add, 100, 100, 127}, {OZL_DEPTH_8S, Arith::Add, -100, -100, -128},
        {OZL_DEPTH_8S, Arith::Sub, -128, 1, -128}, {OZL_DEPTH_8S, Arith::Sub, 127, -1, 127},
        {OZL_DEPTH_8S, Arith::Mul, -128, -1, 127}, {OZL_DEPTH_8S, Arith::Mul, -128, 2, -128},
        {OZL_DEPTH_8S, Arith::Mul, -11, 11, -121},
        {OZL_DEPTH_16U, Arith::Add, 60000, 6000, 65535}, {OZL_DEPTH_16U, Arith::Sub, 5, 6, 0},
        {OZL_DEPTH_16U, Arith::Mul, 300, 300, 65535},    {OZL_DEPTH_16U, Arith::Mul, 256, 255, 65280},
        {OZL_DEPTH_16S, Arith::Add, 30000, 30000, 32767},
        {OZL_DEPTH_16S, Arith::Sub, -30000, 30000, -32768},
        {OZL_DEPTH_16S, Arith::Mul, 200, 200, 32767}, {OZL_DEPTH_16S, Arith::Mul, -200, 200, -32768},
        {OZL_DEPTH_16S, Arith::Mul, -32768, -1, 32767},
        {OZL_DEPTH_32S, Arith::Add, 2147483647, 1, 2147483647},
        {OZL_DEPTH_32S, Arith::Add, -2147483648.0, -1, -2147483648.0},
        {OZL_DEPTH_32S, Arith::Sub, 2147483647, -1, 2147483647},
        {OZL_DEPTH_32S, Arith::Sub, 0, -2147483648.0, 2147483647},
        {OZL_DEPTH_32S, Arith::Sub, -2147483648.0, 1, -2147483648.0},
        {OZL_DEPTH_32S, Arith::Mul, 65536, 65536, 2147483647},
        {OZL_DEPTH_32S, Arith::Mul, -65536, 65536, -2147483648.0},
        {OZL_DEPTH_32S, Arith::Mul, -2147483648.0, -1, 2147483647},
        {OZL_DEPTH_32S, Arith::Mul, -3, 1, -3}, {OZL_DEPTH_32S, Arith::Mul, 46341, 46340, 2147441940},
        {OZL_DEPTH_32F, Arith::Add, 0.1f, 0.2f, 0.1f + 0.2f}, {OZL_DEPTH_32F, Arith::Sub, 3.5, 10.25, -6.75},
        {OZL_DEPTH_32F, Arith::Mul, 1e30f, 1e30f, inf},     {OZL_DEPTH_32F, Arith::Add, 3e38f, 3e38f, inf},
        {OZL_DEPTH_8U, Arith::Scale, 255, 128, 128}, {OZL_DEPTH_8U, Arith::Scale, 255, 255, 255},
        {OZL_DEPTH_8U, Arith::Scale, 255, 1, 1},     {OZL_DEPTH_8U, Arith::Scale, 0, 200, 0},
        {OZL_DEPTH_8U, Arith::Scale, 128, 128, 64},  {OZL_DEPTH_16U, Arith::Scale, 65535, 65535, 65535},
        {OZL_DEPTH_16U, Arith::Scale, 65535, 1, 1},  {OZL_DEPTH_16U, Arith::Scale, 32768, 32768, 16384},
    };
    ErrorCapture errors;
    for (const LimitCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "depth 0x" << std::hex << c.depth << std::dec << " op "
                                        << static_cast<int>(c.op) << ": " << c.a << ", " << c.b);
        TestImage a(c.depth, 41, 2), b(c.depth, 41, 2), d(c.depth, 41, 2);
        a.fill(c.a);
        b.fill(c.b);
        d.fillRandom(1);
        entry(c.op)(a, b, d);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 41; ++x) ASSERT_EQ(d.at(x, y), c.expected) << "x " << x;
    }
    EXPECT_TRUE(errors.empty());
}

// ---------------------------------------------------------------------------
// Random data against the reference: odd widths, both data orders, 1 to 4
// channels; odd channel counts also with ROIs at different offsets.

class ArithmeticByDepth : public testing::TestWithParam<unsigned> {};

TEST_P(ArithmeticByDepth, MatchesReferenceOnRandomData) {
    const unsigned depth = GetParam();
    std::vector<Arith> ops = {Arith::Add, Arith::Sub, Arith::Mul};
    if (depth == OZL_DEPTH_8U || depth == OZL_DEPTH_16U) ops.push_back(Arith::Scale);
    // Small second operands keep some products inside the range.
    const double small = depth == OZL_DEPTH_8U ? 20 : depth == OZL_DEPTH_8S ? 12
                         : (depth & 0xFF) == 16 ? 250 : 50000;
    ErrorCapture errors;
    uint32_t seed = 1;
    for (Arith op : ops)
        for (int width : {1, 7, 33, 101})
            for (int height : {1, 3})
                for (int nCh = 1; nCh <= 4; ++nCh)
                    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                        SCOPED_TRACE(testing::Message() << "op " << static_cast<int>(op) << " "
                                                        << width << "x" << height << "x" << nCh
                                                        << " order " << order);
                        TestImage a(depth, width, height, nCh, order);
                        TestImage b(depth, width, height, nCh, order);
                        TestImage d(depth, width, height, nCh, order);
                        a.fillRandom(++seed);
                        if (op == Arith::Mul && depth != OZL_DEPTH_32F)
                            b.fillRandom(++seed, (depth & OZL_DEPTH_SIGN) ? -small : 0, small);
                        else
                            b.fillRandom(++seed);
                        d.fillRandom(++seed);
                        if (nCh % 2 == 1 && width > 2) {
                            a.setRoi(0, 1, height - 1, width - 1, height);
                            d.setRoi(0, 2, 0, width, height);
                        }
                        const TestImage before = d.clone();
                        entry(op)(a, b, d);
                        ozl::test::expectPixelwise(before, d, a, b, [&](double va, double vb) {
                            return reference(op, depth, va, vb);
                        });
                        if (HasFailure()) return;
                    }
    EXPECT_TRUE(errors.empty());
}

INSTANTIATE_TEST_SUITE_P(EveryDepth, ArithmeticByDepth, testing::ValuesIn(kDepths));

// ---------------------------------------------------------------------------
// 1-bit images: Add is OR, Multiply is AND (both routed to the logic
// operations), Subtract is A AND NOT B; bits outside the region stay.

TEST(ArithmeticOneBit, RoutesAndKeepsBitsOutsideTheRegion) {
    struct Case {
        BinaryFn fn;
        double (*f)(double, double);
    };
    const Case cases[] = {
        {ozlAdd, [](double a, double b) { return double(int(a) | int(b)); }},
        {ozlMultiply, [](double a, double b) { return double(int(a) & int(b)); }},
        {ozlSubtract, [](double a, double b) { return double(int(a) & !int(b)); }},
    };
    struct Rois {
        int ax, bx, dx, w;
    };
    ErrorCapture errors;
    for (const Case& c : cases)
        for (Rois r : {Rois{13, 13, 13, 40}, Rois{13, 3, 5, 29}, Rois{0, 7, 1, 60}, Rois{3, 0, 0, 1}}) {
            SCOPED_TRACE(testing::Message() << "offsets " << r.ax << " " << r.bx << " " << r.dx);
            TestImage a(OZL_DEPTH_1U, 75, 3), b(OZL_DEPTH_1U, 75, 3), d(OZL_DEPTH_1U, 75, 3);
            a.fillRandom(r.ax + 1);
            b.fillRandom(r.bx + 2);
            d.fillRandom(r.dx + 3);
            a.setRoi(0, r.ax, 0, r.w, 3);
            b.setRoi(0, r.bx, 1, r.w, 2);
            d.setRoi(0, r.dx, 1, r.w + 9, 2);
            const TestImage before = d.clone();
            c.fn(a, b, d);
            ozl::test::expectPixelwise(before, d, a, b, c.f);
        }
    // Whole images: the word-wise whole-buffer path.
    TestImage a(OZL_DEPTH_1U, 77, 5), b(OZL_DEPTH_1U, 77, 5), d(OZL_DEPTH_1U, 77, 5);
    a.fillRandom(5);
    b.fillRandom(6);
    for (const Case& c : cases) {
        d.fillRandom(7);
        const TestImage before = d.clone();
        c.fn(a, b, d);
        ozl::test::expectPixelwise(before, d, a, b, c.f);
    }
    EXPECT_TRUE(errors.empty());

    // The routed calls check and report as the logic operations; Subtract has
    // no data-order check for 1-bit images.
    TestImage plane(OZL_DEPTH_1U, 77, 5, 1, OZL_DATA_ORDER_PLANE);
    ozlSubtract(a, b, plane);
    EXPECT_TRUE(errors.empty());
    ozlAdd(a, nullptr, d);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsHeaderIsNull, "ozlOr", "Incorrect Image", "ozlor",
                                          errors.last().line}));
    ozlMultiply(a, nullptr, d);
    EXPECT_EQ(errors.last().func, "ozlAnd");
}

// ---------------------------------------------------------------------------
// Refusals: exact report, destination bytes untouched.

void expectRefused(ErrorCapture& errors, const TestImage& dst, const std::vector<uint8_t>& before,
                   OzlStatus status, const char* func, const char* message, const char* module) {
    ASSERT_EQ(errors.count(), 1u);
    const ErrorReport& r = errors.last();
    EXPECT_EQ(r, (ErrorReport{status, func, message, module, r.line}));
    EXPECT_EQ(ozlGetErrStatus(), status);
    EXPECT_EQ(dst.bytes(), before);
    errors.clear();
}

TEST(ArithmeticRefusals, NullFirstSource) {
    ErrorCapture errors;
    TestImage b(OZL_DEPTH_8U, 5, 5), d(OZL_DEPTH_8U, 5, 5);
    const auto before = d.bytes();
    ozlAdd(nullptr, b, d);
    expectRefused(errors, d, before, OZL_StsBadArg, "ozlAdd", "srcImageA==0", "ozladd");
    ozlMultiply(nullptr, b, d);
    expectRefused(errors, d, before, OZL_StsBadArg, "ozlMultiply", "srcImageA==0", "ozlmul");
    // Subtract has no NULL test of its own: the header check reports it.
    ozlSubtract(nullptr, b, d);
    expectRefused(errors, d, before, OZL_StsHeaderIsNull, "ozlSubtract", "Incorrect Image", "ozlsub");
}

TEST(ArithmeticRefusals, DepthOrderChannelsAndHeaders) {
    struct Named {
        BinaryFn fn;
        const char* name;
        const char* module;
    };
    struct Case {
        unsigned da, db;
        int oa, ob, na, nb, nd;
        OzlStatus status;
        const char* message;
    };
    const unsigned U8 = OZL_DEPTH_8U;
    const Case cases[] = {
        {OZL_DEPTH_16U, U8, 0, 0, 1, 1, 1, -5, "(srcImageA->depth != dstImage->depth)"},
        {U8, OZL_DEPTH_8S, 0, 0, 1, 1, 1, -5, "(srcImageB->depth != dstImage->depth)"},
        {U8, U8, 1, 0, 1, 1, 1, -5, "(srcImageA->dataOrder != dstImage->dataOrder)"},
        {U8, U8, 0, 1, 1, 1, 1, -5, "(srcImageB->dataOrder != dstImage->dataOrder)"},
        {U8, U8, 0, 0, 3, 1, 1, -5, "(nChSrcA != nChDst)"},
        {U8, U8, 0, 0, 1, 2, 1, -5, "(nChSrcB != nChDst)"},
        {U8, U8, 0, 0, 1, 1, 3, -24, "Incorrect Image"},  // dst ROI names channel 4
    };
    ErrorCapture errors;
    for (const Named& n : {Named{ozlAdd, "ozlAdd", "ozladd"}, Named{ozlSubtract, "ozlSubtract", "ozlsub"},
                           Named{ozlMultiply, "ozlMultiply", "ozlmul"}})
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(n.name) + " " + c.message);
            TestImage a(c.da, 9, 4, c.na, c.oa), b(c.db, 9, 4, c.nb, c.ob), d(U8, 9, 4, c.nd);
            d.fillRandom(3);
            if (c.status == -24) d.setRoi(4, 0, 0, 9, 4);
            const auto before = d.bytes();
            n.fn(a, b, d);
            expectRefused(errors, d, before, c.status, n.name, c.message, n.module);
        }
    // A fault in a mask is the mask's status.
    TestImage a(U8, 9, 4), d(U8, 9, 4), badMask(U8, 9, 4);
    a->maskROI = badMask;
    const auto before = d.bytes();
    ozlAdd(a, a, d);
    expectRefused(errors, d, before, -117, "ozlAdd", "Incorrect Image", "ozladd");
}

TEST(ArithmeticRefusals, MultiplyScale) {
    ErrorCapture errors;
    const char* f = "ozlMultiplyScale";
    TestImage fa(OZL_DEPTH_32F, 6, 3), fb(OZL_DEPTH_32F, 6, 3), fd(OZL_DEPTH_32F, 6, 3);
    auto before = fd.bytes();
    ozlMultiplyScale(fa, fb, fd);
    expectRefused(errors, fd, before, -5, f, "dstImage->depth != 8 && dstImage->depth != 16", "ozlalpha");

    TestImage a(OZL_DEPTH_8U, 6, 3, 3), b(OZL_DEPTH_8U, 6, 3, 3), d(OZL_DEPTH_8U, 6, 3, 3);
    TestImage a16(OZL_DEPTH_16U, 6, 3, 3), grey(OZL_DEPTH_8U, 6, 3, 1);
    d.fillRandom(9);
    before = d.bytes();
    ozlMultiplyScale(a, b, nullptr);
    expectRefused(errors, d, before, -5, f, "dstImage==0", "ozlalpha");
    ozlMultiplyScale(a, nullptr, d);
    expectRefused(errors, d, before, -5, f, "srcImageB==0", "ozlalpha");
    ozlMultiplyScale(a16, b, d);
    expectRefused(errors, d, before, -5, f, "srcImageA->depth != dstImage->depth", "ozlalpha");
    ozlMultiplyScale(grey, b, d);
    expectRefused(errors, d, before, -5, f,
                  "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != "
                  "(dstImage->nChannels - (dstImage->alphaChannel != 0))", "ozlalpha");
    d.setRoi(2, 0, 0, 6, 3);
    ozlMultiplyScale(a, b, d);
    expectRefused(errors, d, before, -5, f,
                  "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->roi->coi > 0)",
                  "ozlalpha");
    d.clearRoi();
    a.setRoi(2, 0, 0, 6, 3);
    ozlMultiplyScale(a, b, d);
    expectRefused(errors, d, before, -5, f,
                  "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImageA->roi->coi > 0)",
                  "ozlalpha");
    TestImage alphaOnly(OZL_DEPTH_8U, 6, 3, 1, OZL_DATA_ORDER_PIXEL, true);
    const auto alphaBefore = alphaOnly.bytes();
    ozlMultiplyScale(grey, grey, alphaOnly);
    expectRefused(errors, alphaOnly, alphaBefore, -5, f,
                  "dstImage->alphaChannel == 1 && dstImage->roi == 0", "ozlalpha");
    alphaOnly.setRoi(0, 0, 0, 6, 3);
    ozlMultiplyScale(grey, grey, alphaOnly);
    expectRefused(errors, alphaOnly, alphaBefore, -5, f,
                  "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", "ozlalpha");
}

// ---------------------------------------------------------------------------
// Channel-count rule: alpha channels are skipped and never written; a COI
// selects one channel of its image.

TEST(ArithmeticChannels, AlphaAndChannelOfInterest) {
    ErrorCapture errors;
    auto sum = [](double a, double b) { return std::min(a + b, 255.0); };
    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
        SCOPED_TRACE(order);
        const unsigned U8 = OZL_DEPTH_8U;
        TestImage withAlpha(U8, 300, 3, 4, order, true), three(U8, 300, 3, 3, order);
        TestImage one(U8, 300, 3, 1, order);
        withAlpha.fillRandom(1);
        three.fillRandom(2);
        one.fillRandom(3);

        TestImage d3(U8, 300, 3, 3, order);
        d3.fillRandom(4);
        TestImage before = d3.clone();
        ozlAdd(withAlpha, three, d3);  // 4 channels with alpha + 3 into 3
        ozl::test::expectPixelwise(before, d3, withAlpha, three, sum);

        TestImage dAlpha(U8, 300, 3, 4, order, true);
        dAlpha.fillRandom(5);
        before = dAlpha.clone();
        ozlAdd(three, withAlpha, dAlpha);  // the alpha values of dst stay
        ozl::test::expectPixelwise(before, dAlpha, three, withAlpha, sum);

        TestImage d1(U8, 300, 3, 1, order);
        d1.fillRandom(6);
        before = d1.clone();
        three.setRoi(2, 0, 0, 300, 3);  // channel 2 of A only
        ozlAdd(three, one, d1);
        ozl::test::expectPixelwise(before, d1, three, one, sum);

        withAlpha.setRoi(3, 0, 0, 300, 3);  // two COIs naming different channels
        before = d1.clone();
        ozlSubtract(three, withAlpha, d1);
        ozl::test::expectPixelwise(before, d1, three, withAlpha,
                                   [](double a, double b) { return std::max(a - b, 0.0); });

        d3.setRoi(3, 1, 1, 290, 2);  // COI on dst: only channel 3 of the region changes
        before = d3.clone();
        ozlAdd(one, one, d3);
        ozl::test::expectPixelwise(before, d3, one, one, sum);
    }
    EXPECT_TRUE(errors.empty());
}

// ---------------------------------------------------------------------------
// Masks

TEST(ArithmeticMasks, OneMaskTwoMasksAndAnEmptyCommonRegion) {
    ErrorCapture errors;
    struct Config {
        unsigned depth;
        int nCh, order;
        bool alpha;
        Arith op;
    };
    for (Config c : {Config{OZL_DEPTH_8U, 3, 0, false, Arith::Sub},
                     Config{OZL_DEPTH_16U, 1, 0, false, Arith::Scale},
                     Config{OZL_DEPTH_16S, 2, 1, false, Arith::Mul},
                     Config{OZL_DEPTH_32F, 4, 0, true, Arith::Add},
                     Config{OZL_DEPTH_1U, 1, 0, false, Arith::Sub}}) {
        SCOPED_TRACE(c.depth);
        const int w = 301;  // rows longer than the frame's chunks
        TestImage a(c.depth, w, 6, c.nCh, c.order, c.alpha), b(c.depth, w, 6, c.nCh, c.order, c.alpha);
        TestImage d(c.depth, w, 6, c.nCh, c.order, c.alpha);
        TestImage m1(OZL_DEPTH_1U, w, 6), m2(OZL_DEPTH_1U, w + 5, 8);
        a.fillRandom(1);
        b.fillRandom(2);
        d.fillRandom(3);
        m1.fillRandom(4);
        m2.fillRandom(5);
        auto f = [&](double va, double vb) { return reference(c.op, c.depth, va, vb); };
        auto f1 = [&](double va, double vb) { return double(int(va) & !int(vb)); };
        const ozl::test::ValueFn op = c.depth == OZL_DEPTH_1U ? ozl::test::ValueFn(f1) : f;

        d.setMask(&m1);  // where the mask bit is 0 the destination keeps its value
        TestImage before = d.clone();
        entry(c.op)(a, b, d);
        ozl::test::expectPixelwise(before, d, a, b, op, [&](int x, int y) { return m1.at(x, y) != 0; });

        m2.setRoi(0, 3, 1, w - 1, 7);  // masks of two operands ANDed, each at its own region
        a.setMask(&m2);
        d.fillRandom(6);
        before = d.clone();
        entry(c.op)(a, b, d);
        ozl::test::expectPixelwise(before, d, a, b, op,
                                   [&](int x, int y) { return m1.at(x, y) != 0 && m2.at(x + 3, y + 1) != 0; },
                                   w - 1, 6);

        m2.setRoi(0, w + 5, 0, 4, 8);  // xOffset == mask width: empty common region
        before = d.clone();
        entry(c.op)(a, b, d);
        EXPECT_EQ(d.bytes(), before.bytes());
    }
    EXPECT_TRUE(errors.empty());
}

// ---------------------------------------------------------------------------
// In place, and the whole-buffer path against the row path

TEST(ArithmeticPaths, InPlaceOperands) {
    ErrorCapture errors;
    for (unsigned depth : kDepths) {
        SCOPED_TRACE(depth);
        auto add = [&](double a, double b) { return reference(Arith::Add, depth, a, b); };
        TestImage a(depth, 37, 5, 3), d(depth, 37, 5, 3);
        a.fillRandom(1);
        d.fillRandom(2);
        TestImage before = d.clone();
        ozlAdd(d, a, d);
        ozl::test::expectPixelwise(before, d, before, a, add);
        before = d.clone();
        ozlAdd(a, d, d);
        ozl::test::expectPixelwise(before, d, a, before, add);
        d.setRoi(0, 3, 1, 30, 3);
        before = d.clone();
        before.setRoi(0, 3, 1, 30, 3);
        ozlMultiply(d, d, d);
        ozl::test::expectPixelwise(before, d, before, before,
                                   [&](double x, double y) { return reference(Arith::Mul, depth, x, y); });
    }
    EXPECT_TRUE(errors.empty());
}

TEST(ArithmeticPaths, WholeBufferAndRowsAgree) {
    ErrorCapture errors;
    for (unsigned depth : kDepths)
        for (int nCh : {1, 3})
            for (int w : {29, 32}) {
                SCOPED_TRACE(testing::Message() << depth << " " << nCh << " " << w);
                // Identical headers: one run over the buffers. A wider srcA whose
                // ROI selects the same pixels: row by row. A taller srcA: rows
                // merged into one run where they have no padding.
                TestImage a(depth, w, 7, nCh), b(depth, w, 7, nCh), d(depth, w, 7, nCh);
                TestImage aWide(depth, w + 3, 7, nCh), aTall(depth, w, 9, nCh);
                TestImage dRows(depth, w, 7, nCh), dMerged(depth, w, 7, nCh);
                a.fillRandom(1);
                b.fillRandom(2);
                for (int y = 0; y < 7; ++y)
                    for (int x = 0; x < w; ++x)
                        for (int c = 0; c < nCh; ++c) {
                            aWide.put(x, y, c, a.at(x, y, c));
                            aTall.put(x, y, c, a.at(x, y, c));
                        }
                aWide.setRoi(0, 0, 0, w, 7);
                dRows.setRoi(0, 0, 0, w, 7);
                for (Arith op : {Arith::Add, Arith::Sub, Arith::Mul}) {
                    entry(op)(a, b, d);
                    entry(op)(aWide, b, dRows);
                    entry(op)(aTall, b, dMerged);
                    for (int y = 0; y < 7; ++y)
                        for (int x = 0; x < w; ++x)
                            for (int c = 0; c < nCh; ++c) {
                                ASSERT_EQ(d.at(x, y, c), dRows.at(x, y, c));
                                ASSERT_EQ(d.at(x, y, c), dMerged.at(x, y, c));
                            }
                }
            }
    EXPECT_TRUE(errors.empty());
}

// ---------------------------------------------------------------------------
// Tiles

TEST(ArithmeticTiles, TiledOperandsGiveTheUntiledResult) {
    struct Config {
        unsigned depth;
        int nCh, order;
        Arith op;
    };
    ErrorCapture errors;
    for (Config c : {Config{OZL_DEPTH_8U, 3, 0, Arith::Add}, Config{OZL_DEPTH_16S, 2, 1, Arith::Mul},
                     Config{OZL_DEPTH_32F, 1, 0, Arith::Sub}, Config{OZL_DEPTH_1U, 1, 0, Arith::Sub},
                     Config{OZL_DEPTH_8U, 1, 0, Arith::Scale}})
        for (bool inPlace : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.depth << (inPlace ? " in place" : ""));
            TiledImage ta(c.depth, 37, 21, c.nCh, c.order, 8, 8);
            TiledImage tb(c.depth, 37, 21, c.nCh, c.order, 24, 16);
            TiledImage td(c.depth, 37, 21, c.nCh, c.order, 16, 8);
            TestImage a(c.depth, 37, 21, c.nCh, c.order), b(c.depth, 37, 21, c.nCh, c.order);
            TestImage d(c.depth, 37, 21, c.nCh, c.order), mask(OZL_DEPTH_1U, 40, 20);
            a.fillRandom(1);
            b.fillRandom(2);
            d.fillRandom(3);
            mask.fillRandom(4);
            ta.pixels().fillRandom(1);
            tb.pixels().fillRandom(2);
            td.pixels().fillRandom(3);
            ta.setRoi(0, 3, 5, 29, 13);
            a.setRoi(0, 3, 5, 29, 13);
            tb.setRoi(0, 1, 2, 30, 15);
            b.setRoi(0, 1, 2, 30, 15);
            td.setRoi(0, 5, 3, 27, 14);
            d.setRoi(0, 5, 3, 27, 14);
            if (c.op == Arith::Sub) {
                b.setMask(&mask);
                tb->maskROI = mask;
            }
            entry(c.op)(inPlace ? d.get() : a.get(), b, d);
            entry(c.op)(inPlace ? td.get() : ta.get(), tb, td);
            EXPECT_EQ(td.pixels().bytes(), d.bytes());
        }
    EXPECT_TRUE(errors.empty());
}

TEST(ArithmeticTiles, CallbackSequence) {
    std::vector<TileCall> log;
    TiledImage a(OZL_DEPTH_8U, 16, 16, 1, 0, 8, 8, 1, &log);
    TiledImage d(OZL_DEPTH_8U, 16, 16, 1, 0, 8, 8, 2, &log);
    TestImage b(OZL_DEPTH_8U, 16, 16);
    d.setRoi(0, 4, 2, 8, 8);
    ErrorCapture errors;
    ozlAdd(a, b, d);
    EXPECT_TRUE(errors.empty());
    // Pieces of 4x6, 4x6, 4x2, 4x2: dst tiles (0,0), (1,0), (0,1), (1,1); A stays in tile (0,0).
    std::vector<TileCall> expected;
    for (auto [x, y] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
        expected.push_back({1, 0, 0, OZL_GET_TILE_TO_READ});
        expected.push_back({2, x, y, OZL_GET_TILE_TO_WRITE});
        expected.push_back({1, 0, 0, OZL_RELEASE_TILE});
        expected.push_back({2, x, y, OZL_RELEASE_TILE});
    }
    EXPECT_EQ(log, expected);
}

TEST(ArithmeticTiles, MissingTileStopsTheWalk) {
    TiledImage d(OZL_DEPTH_8U, 24, 8, 1, 0, 8, 8);
    TestImage a(OZL_DEPTH_8U, 24, 8), b(OZL_DEPTH_8U, 24, 8);
    a.fill(10);
    b.fill(20);
    d.pixels().fill(1);
    d.failFetch(3);
    ErrorCapture errors;
    ozlAdd(a, b, d);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlAdd",
                                          "(dstImage->tileInfo->tileData == ((void*)(0)))", "ozladd",
                                          errors.last().line}));
    const std::vector<TileCall> expected = {{0, 0, 0, 2}, {0, 0, 0, 4}, {0, 1, 0, 2}, {0, 1, 0, 4},
                                            {0, 2, 0, 2}};
    EXPECT_EQ(d.calls(), expected);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 24; ++x) ASSERT_EQ(d.pixels().at(x, y), x < 16 ? 30 : 1);
}

}  // namespace
