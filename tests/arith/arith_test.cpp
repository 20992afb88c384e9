// ozlAdd, ozlSubtract, ozlMultiply, ozlMultiplyScale: saturation, every depth
// against the reference, 1-bit routing, refusals, channel rule, masks, in-place
// calls, tiles.
#include <gtest/gtest.h>

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
using ozl::test::expectPixelwise;
using ozl::test::expectRefused;
using ozl::test::Ref;
using ozl::test::TestImage;
using ozl::test::TileCall;
using ozl::test::TiledImage;

using BinaryFn = void(OZL_CALL*)(OzlImage*, OzlImage*, OzlImage*);

BinaryFn entry(Ref op) {
    return op == Ref::Add ? ozlAdd : op == Ref::Sub ? ozlSubtract
                                   : op == Ref::Mul ? ozlMultiply : ozlMultiplyScale;
}

// What the operation computes at a depth; 1-bit images take the logic forms.
Ref effective(Ref op, unsigned depth) {
    if (depth != OZL_DEPTH_1U) return op;
    return op == Ref::Add ? Ref::Or : op == Ref::Sub ? Ref::AndNot : Ref::And;
}

const unsigned kDepths[] = {OZL_DEPTH_8U,  OZL_DEPTH_8S,  OZL_DEPTH_16U,
                            OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};

// Every value of a 41-pixel row (vector blocks and tails) is checked.
TEST(Arithmetic, SaturatesAtTheLimitsOfEveryDepth) {
    struct LimitCase {
        unsigned depth;
        Ref op;
        double a, b, expected;
    };
    const double inf = INFINITY, max32 = 2147483647.0, min32 = -2147483648.0;
    const unsigned U8 = OZL_DEPTH_8U, S8 = OZL_DEPTH_8S, U16 = OZL_DEPTH_16U, S16 = OZL_DEPTH_16S,
                   S32 = OZL_DEPTH_32S, F32 = OZL_DEPTH_32F;
    const LimitCase cases[] = {
        {U8, Ref::Add, 200, 100, 255}, {U8, Ref::Sub, 100, 200, 0}, {U8, Ref::Mul, 20, 20, 255},
        {U8, Ref::Mul, 15, 16, 240}, {U8, Ref::Mul, 15, 17, 255},
        {S8, Ref::Add, 100, 100, 127}, {S8, Ref::Add, -100, -100, -128}, {S8, Ref::Sub, -128, 1, -128},
        {S8, Ref::Sub, 127, -1, 127}, {S8, Ref::Mul, -128, -1, 127}, {S8, Ref::Mul, -128, 2, -128},
        {S8, Ref::Mul, -11, 11, -121}, {S8, Ref::Mul, 12, -11, -128},
        {U16, Ref::Add, 60000, 6000, 65535}, {U16, Ref::Sub, 5, 6, 0}, {U16, Ref::Mul, 300, 300, 65535},
        {U16, Ref::Mul, 256, 255, 65280}, {U16, Ref::Mul, 256, 256, 65535},
        {S16, Ref::Add, 30000, 30000, 32767}, {S16, Ref::Sub, -30000, 30000, -32768},
        {S16, Ref::Add, -32768, -1, -32768}, {S16, Ref::Mul, 200, 200, 32767},
        {S16, Ref::Mul, -200, 200, -32768}, {S16, Ref::Mul, -32768, -1, 32767},
        {S32, Ref::Add, max32, 1, max32}, {S32, Ref::Add, min32, -1, min32},
        {S32, Ref::Add, max32, min32, -1}, {S32, Ref::Sub, max32, -1, max32},
        {S32, Ref::Sub, 0, min32, max32}, {S32, Ref::Sub, -1, min32, max32},
        {S32, Ref::Sub, min32, 1, min32}, {S32, Ref::Mul, 65536, 65536, max32},
        {S32, Ref::Mul, -65536, 65536, min32}, {S32, Ref::Mul, min32, -1, max32},
        {S32, Ref::Mul, -3, 1, -3}, {S32, Ref::Mul, 46341, 46340, 2147441940},
        {S32, Ref::Mul, 46341, 46341, max32},
        {F32, Ref::Add, 0.1f, 0.2f, 0.1f + 0.2f}, {F32, Ref::Sub, 3.5, 10.25, -6.75},
        {F32, Ref::Mul, 1e30f, 1e30f, inf}, {F32, Ref::Add, 3e38f, 3e38f, inf},
        {U8, Ref::MulScale, 255, 128, 128}, {U8, Ref::MulScale, 255, 255, 255},
        {U8, Ref::MulScale, 255, 1, 1}, {U8, Ref::MulScale, 0, 200, 0},
        {U8, Ref::MulScale, 128, 128, 64}, {U16, Ref::MulScale, 65535, 65535, 65535},
        {U16, Ref::MulScale, 65535, 1, 1}, {U16, Ref::MulScale, 32768, 32768, 16384},
        {U16, Ref::MulScale, 65535, 32768, 32768},
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

// Random data against the reference: odd widths, both data orders, 1 to 4
// channels. Odd channel counts with ROIs at different offsets (row by row); two
// channels with a taller srcA (rows merged into runs where there is no
// padding); four with identical headers (one run over the buffers).
class ArithmeticByDepth : public testing::TestWithParam<unsigned> {};

TEST_P(ArithmeticByDepth, MatchesReferenceOnRandomData) {
    const unsigned depth = GetParam();
    std::vector<Ref> ops = {Ref::Add, Ref::Sub, Ref::Mul};
    if (depth == OZL_DEPTH_8U || depth == OZL_DEPTH_16U) ops.push_back(Ref::MulScale);
    // Small second operands keep some products inside the range.
    const double small = depth == OZL_DEPTH_8U ? 20 : depth == OZL_DEPTH_8S ? 12
                         : (depth & 0xFF) == 16 ? 250 : 50000;
    ErrorCapture errors;
    uint32_t seed = 1;
    for (Ref op : ops)
        for (int width : {1, 7, 32, 33, 101})
            for (int height : {1, 3})
                for (int nCh = 1; nCh <= 4; ++nCh)
                    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                        SCOPED_TRACE(testing::Message() << "op " << static_cast<int>(op) << " "
                                                        << width << "x" << height << "x" << nCh
                                                        << " order " << order);
                        TestImage a(depth, width, height + (nCh == 2 ? 2 : 0), nCh, order);
                        TestImage b(depth, width, height, nCh, order);
                        TestImage d(depth, width, height, nCh, order);
                        a.fillRandom(++seed);
                        if (op == Ref::Mul && depth != OZL_DEPTH_32F)
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
                        expectPixelwise(before, d, a, b, op);
                        if (HasFailure()) return;
                    }
    EXPECT_TRUE(errors.empty());
}

INSTANTIATE_TEST_SUITE_P(EveryDepth, ArithmeticByDepth, testing::ValuesIn(kDepths));

// 1-bit images: Add is OR, Multiply is AND (both routed to the logic
// operations), Subtract is A AND NOT B; bits outside the region stay.
TEST(ArithmeticOneBit, RoutesAndKeepsBitsOutsideTheRegion) {
    struct Rois {
        int ax, bx, dx, w;
    };
    ErrorCapture errors;
    for (Ref op : {Ref::Add, Ref::Mul, Ref::Sub}) {
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
            entry(op)(a, b, d);
            expectPixelwise(before, d, a, b, effective(op, OZL_DEPTH_1U));
        }
        // Whole images: the word-wise whole-buffer path.
        TestImage a(OZL_DEPTH_1U, 77, 5), b(OZL_DEPTH_1U, 77, 5), d(OZL_DEPTH_1U, 77, 5);
        a.fillRandom(5);
        b.fillRandom(6);
        d.fillRandom(7);
        const TestImage before = d.clone();
        entry(op)(a, b, d);
        expectPixelwise(before, d, a, b, effective(op, OZL_DEPTH_1U));
    }
    EXPECT_TRUE(errors.empty());

    // The routed calls check and report as the logic operations; Subtract has
    // no data-order check for 1-bit images.
    TestImage a(OZL_DEPTH_1U, 77, 5), d(OZL_DEPTH_1U, 77, 5);
    TestImage plane(OZL_DEPTH_1U, 77, 5, 1, OZL_DATA_ORDER_PLANE);
    ozlSubtract(a, a, plane);
    EXPECT_TRUE(errors.empty());
    const auto before = d.bytes();
    ozlAdd(a, nullptr, d);
    expectRefused(errors, d, before, {OZL_StsHeaderIsNull, "ozlOr", "Incorrect Image", "ozlor", 101});
    ozlMultiply(a, nullptr, d);
    expectRefused(errors, d, before, {OZL_StsHeaderIsNull, "ozlAnd", "Incorrect Image", "ozland", 101});
}

// ---------------------------------------------------------------------------
// Refusals: exact report, destination bytes untouched.

TEST(ArithmeticRefusals, NullsDepthOrderChannelsAndHeaders) {
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
        int line;
    };
    const unsigned U8 = OZL_DEPTH_8U;
    const Case cases[] = {
        {OZL_DEPTH_16U, U8, 0, 0, 1, 1, 1, -5, "(srcImageA->depth != dstImage->depth)", 110},
        {U8, OZL_DEPTH_8S, 0, 0, 1, 1, 1, -5, "(srcImageB->depth != dstImage->depth)", 111},
        {U8, U8, 1, 0, 1, 1, 1, -5, "(srcImageA->dataOrder != dstImage->dataOrder)", 120},
        {U8, U8, 0, 1, 1, 1, 1, -5, "(srcImageB->dataOrder != dstImage->dataOrder)", 121},
        {U8, U8, 0, 0, 3, 1, 1, -5, "(nChSrcA != nChDst)", 130},
        {U8, U8, 0, 0, 1, 2, 1, -5, "(nChSrcB != nChDst)", 131},
        {U8, U8, 0, 0, 1, 1, 3, -24, "Incorrect Image", 101},  // dst ROI names channel 4
    };
    ErrorCapture errors;
    for (const Named& n : {Named{ozlAdd, "ozlAdd", "ozladd"}, Named{ozlSubtract, "ozlSubtract", "ozlsub"},
                           Named{ozlMultiply, "ozlMultiply", "ozlmul"}}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(n.name) + " " + c.message);
            TestImage a(c.da, 9, 4, c.na, c.oa), b(c.db, 9, 4, c.nb, c.ob), d(U8, 9, 4, c.nd);
            d.fillRandom(3);
            if (c.status == -24) d.setRoi(4, 0, 0, 9, 4);
            const auto before = d.bytes();
            n.fn(a, b, d);
            expectRefused(errors, d, before, {c.status, n.name, c.message, n.module, c.line});
        }
        // A NULL first source; Subtract has no test of its own, the header check reports it.
        TestImage b(U8, 5, 5), d(U8, 5, 5);
        const auto before = d.bytes();
        n.fn(nullptr, b, d);
        if (n.fn == ozlSubtract)
            expectRefused(errors, d, before, {OZL_StsHeaderIsNull, n.name, "Incorrect Image", n.module, 101});
        else
            expectRefused(errors, d, before, {OZL_StsBadArg, n.name, "srcImageA==0", n.module, 60});
    }
    // A fault in a mask is the mask's status.
    TestImage a(U8, 9, 4), d(U8, 9, 4), badMask(U8, 9, 4);
    a->maskROI = badMask;
    const auto before = d.bytes();
    ozlAdd(a, a, d);
    expectRefused(errors, d, before, {-117, "ozlAdd", "Incorrect Image", "ozladd", 101});
}

TEST(ArithmeticRefusals, MultiplyScale) {
    ErrorCapture errors;
    const unsigned U8 = OZL_DEPTH_8U;
    TestImage fa(OZL_DEPTH_32F, 6, 3), fd(OZL_DEPTH_32F, 6, 3), a(U8, 6, 3, 3), b(U8, 6, 3, 3);
    TestImage d(U8, 6, 3, 3), a16(OZL_DEPTH_16U, 6, 3, 3), grey(U8, 6, 3, 1), aCoi(U8, 6, 3, 3);
    TestImage dCoi(U8, 6, 3, 3), alphaOnly(U8, 6, 3, 1, OZL_DATA_ORDER_PIXEL, true);
    TestImage alphaRoi(U8, 6, 3, 1, OZL_DATA_ORDER_PIXEL, true);
    d.fillRandom(9);
    dCoi.fillRandom(10);
    dCoi.setRoi(2, 0, 0, 6, 3);
    aCoi.setRoi(2, 0, 0, 6, 3);
    alphaRoi.setRoi(0, 0, 0, 6, 3);
    const std::string chA = "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != ";
    const std::string chD = "(dstImage->nChannels - (dstImage->alphaChannel != 0))";
    const struct {
        OzlImage *a, *b, *d;
        const TestImage& watched;
        std::string message;
        int line;
    } cases[] = {
        {fa, fa, fd, fd, "dstImage->depth != 8 && dstImage->depth != 16", 230},
        {a, b, nullptr, d, "dstImage==0", 210},
        {a, nullptr, d, d, "srcImageB==0", 210},
        {a16, b, d, d, "srcImageA->depth != dstImage->depth", 231},
        {grey, b, d, d, chA + chD, 240},
        {a, b, dCoi, dCoi, chA + "(dstImage->roi->coi > 0)", 240},
        {aCoi, b, d, d, chD + " != (srcImageA->roi->coi > 0)", 240},
        {grey, grey, alphaOnly, alphaOnly, "dstImage->alphaChannel == 1 && dstImage->roi == 0", 220},
        {grey, grey, alphaRoi, alphaRoi, "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", 221},
    };
    for (const auto& c : cases) {
        const auto before = c.watched.bytes();
        ozlMultiplyScale(c.a, c.b, c.d);
        expectRefused(errors, c.watched, before, {-5, "ozlMultiplyScale", c.message, "ozlalpha", c.line});
    }
}

// Alpha channels are skipped and never written; a COI selects one channel of
// its image.
TEST(ArithmeticChannels, AlphaAndChannelOfInterest) {
    ErrorCapture errors;
    const unsigned U8 = OZL_DEPTH_8U;
    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
        SCOPED_TRACE(order);
        TestImage withAlpha(U8, 300, 3, 4, order, true), three(U8, 300, 3, 3, order);
        TestImage one(U8, 300, 3, 1, order), d3(U8, 300, 3, 3, order);
        TestImage dAlpha(U8, 300, 3, 4, order, true), d1(U8, 300, 3, 1, order);
        withAlpha.fillRandom(1);
        three.fillRandom(2);
        one.fillRandom(3);
        d3.fillRandom(4);
        dAlpha.fillRandom(5);
        d1.fillRandom(6);
        auto check = [&](Ref op, OzlImage* a, OzlImage* b, TestImage& d) {
            const TestImage before = d.clone();
            entry(op)(a, b, d);
            expectPixelwise(before, d, a, b, op);
        };
        check(Ref::Add, withAlpha, three, d3);  // 4 channels with alpha + 3 into 3
        check(Ref::Add, three, withAlpha, dAlpha);  // the alpha values of dst stay
        three.setRoi(2, 0, 0, 300, 3);  // channel 2 of A only
        check(Ref::Add, three, one, d1);
        withAlpha.setRoi(3, 0, 0, 300, 3);  // two COIs naming different channels
        check(Ref::Sub, three, withAlpha, d1);
        d3.setRoi(3, 1, 1, 290, 2);  // COI on dst: only channel 3 of the region changes
        check(Ref::Add, one, one, d3);
    }
    EXPECT_TRUE(errors.empty());
}

TEST(ArithmeticMasks, OneMaskTwoMasksAndAnEmptyCommonRegion) {
    ErrorCapture errors;
    struct Config {
        unsigned depth;
        int nCh, order;
        bool alpha;
        Ref op;
    };
    for (Config c : {Config{OZL_DEPTH_8U, 3, 0, false, Ref::Sub},
                     Config{OZL_DEPTH_16U, 1, 0, false, Ref::MulScale},
                     Config{OZL_DEPTH_16S, 2, 1, false, Ref::Mul},
                     Config{OZL_DEPTH_32F, 4, 0, true, Ref::Add},
                     Config{OZL_DEPTH_1U, 1, 0, false, Ref::Sub}}) {
        SCOPED_TRACE(c.depth);
        ozlSetErrStatus(OZL_StsOk);  // a status left negative stops the scaled product's two-mask path
        const int w = 301;  // rows longer than the frame's chunks
        TestImage a(c.depth, w, 6, c.nCh, c.order, c.alpha), b(c.depth, w, 6, c.nCh, c.order, c.alpha);
        TestImage d(c.depth, w, 6, c.nCh, c.order, c.alpha);
        TestImage m1(OZL_DEPTH_1U, w, 6), m2(OZL_DEPTH_1U, w + 5, 8);
        a.fillRandom(1);
        b.fillRandom(2);
        d.fillRandom(3);
        m1.fillRandom(4);
        m2.fillRandom(5);
        auto f = [&](double va, double vb) {
            return ozl::test::reference(effective(c.op, c.depth), c.depth, va, vb);
        };

        d.setMask(&m1);  // where the mask bit is 0 the destination keeps its value
        TestImage before = d.clone();
        entry(c.op)(a, b, d);
        expectPixelwise(before, d, a, b, f, [&](int x, int y) { return m1.at(x, y) != 0; });

        m2.setRoi(0, 3, 1, w - 1, 7);  // masks of two operands ANDed, each at its own region
        a.setMask(&m2);
        d.fillRandom(6);
        before = d.clone();
        entry(c.op)(a, b, d);
        expectPixelwise(before, d, a, b, f,
                        [&](int x, int y) { return m1.at(x, y) != 0 && m2.at(x + 3, y + 1) != 0; },
                        w - 1, 6);

        m2.setRoi(0, w + 5, 0, 4, 8);  // xOffset == mask width: empty common region
        before = d.clone();
        entry(c.op)(a, b, d);
        EXPECT_EQ(d.bytes(), before.bytes());
    }
    EXPECT_TRUE(errors.empty());
}

TEST(ArithmeticPaths, InPlaceOperands) {
    ErrorCapture errors;
    for (unsigned depth : kDepths) {
        SCOPED_TRACE(depth);
        TestImage a(depth, 37, 5, 3), d(depth, 37, 5, 3);
        a.fillRandom(1);
        d.fillRandom(2);
        TestImage before = d.clone();
        ozlAdd(d, a, d);
        expectPixelwise(before, d, before, a, Ref::Add);
        before = d.clone();
        ozlAdd(a, d, d);
        expectPixelwise(before, d, a, before, Ref::Add);
        d.setRoi(0, 3, 1, 30, 3);
        before = d.clone();
        before.setRoi(0, 3, 1, 30, 3);
        ozlMultiply(d, d, d);
        expectPixelwise(before, d, before, before, Ref::Mul);
    }
    EXPECT_TRUE(errors.empty());
}

// ---------------------------------------------------------------------------
// Tiles

TEST(ArithmeticTiles, TiledOperandsGiveTheUntiledResult) {
    struct Config {
        unsigned depth;
        int nCh, order;
        Ref op;
    };
    ErrorCapture errors;
    for (Config c : {Config{OZL_DEPTH_8U, 3, 0, Ref::Add}, Config{OZL_DEPTH_16S, 2, 1, Ref::Mul},
                     Config{OZL_DEPTH_32F, 1, 0, Ref::Sub}, Config{OZL_DEPTH_1U, 1, 0, Ref::Sub},
                     Config{OZL_DEPTH_8U, 1, 0, Ref::MulScale}})
        for (bool inPlace : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.depth << (inPlace ? " in place" : ""));
            TiledImage ta(c.depth, 37, 21, c.nCh, c.order, 8, 8);
            TiledImage tb(c.depth, 37, 21, c.nCh, c.order, 24, 16);
            TiledImage td(c.depth, 37, 21, c.nCh, c.order, 16, 8);
            TestImage a(c.depth, 37, 21, c.nCh, c.order), b(c.depth, 37, 21, c.nCh, c.order);
            TestImage d(c.depth, 37, 21, c.nCh, c.order), mask(OZL_DEPTH_1U, 40, 20);
            mask.fillRandom(4);
            const int rois[3][4] = {{3, 5, 29, 13}, {1, 2, 30, 15}, {5, 3, 27, 14}};
            TestImage* plain[] = {&a, &b, &d};
            TiledImage* tiled[] = {&ta, &tb, &td};
            for (int i = 0; i < 3; ++i) {
                plain[i]->fillRandom(i + 1);
                tiled[i]->pixels().fillRandom(i + 1);
                plain[i]->setRoi(0, rois[i][0], rois[i][1], rois[i][2], rois[i][3]);
                tiled[i]->setRoi(0, rois[i][0], rois[i][1], rois[i][2], rois[i][3]);
            }
            if (c.op == Ref::Sub) {
                b.setMask(&mask);
                tb->maskROI = mask;
            }
            entry(c.op)(inPlace ? d.get() : a.get(), b, d);
            entry(c.op)(inPlace ? td.get() : ta.get(), tb, td);
            EXPECT_EQ(td.pixels().bytes(), d.bytes());
        }
    EXPECT_TRUE(errors.empty());
}

TEST(ArithmeticTiles, CallbackSequenceAndMissingTile) {
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

    // The third tile cannot be had: report, stop; the first two hold the sums.
    TiledImage failing(OZL_DEPTH_8U, 24, 8, 1, 0, 8, 8);
    TestImage a2(OZL_DEPTH_8U, 24, 8), b2(OZL_DEPTH_8U, 24, 8);
    a2.fill(10);
    b2.fill(20);
    failing.pixels().fill(1);
    failing.failFetch(3);
    ozlAdd(a2, b2, failing);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlAdd",
                                          "(dstImage->tileInfo->tileData == ((void*)(0)))", "ozladd",
                                          errors.last().line}));
    EXPECT_EQ(failing.calls(), (std::vector<TileCall>{{0, 0, 0, 2}, {0, 0, 0, 4}, {0, 1, 0, 2},
                                                      {0, 1, 0, 4}, {0, 2, 0, 2}}));
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 24; ++x) ASSERT_EQ(failing.pixels().at(x, y), x < 16 ? 30 : 1);
}

}  // namespace
