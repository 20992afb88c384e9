// ozlAdd, ozlSubtract, ozlMultiply, ozlMultiplyScale through the public interface.
#include "arith_check.hpp"

namespace {
using namespace ozl::arith_test;

using BinaryFn = void(OZL_CALL*)(OzlImage*, OzlImage*, OzlImage*);
BinaryFn entry(Ref op) {
    return op == Ref::Add ? ozlAdd : op == Ref::Sub ? ozlSubtract : op == Ref::Mul ? ozlMultiply : ozlMultiplyScale;
}
// 1-bit images take the logic forms.
Ref effective(Ref op, unsigned depth) {
    if (depth != U1) return op;
    return op == Ref::Add ? Ref::Or : op == Ref::Sub ? Ref::AndNot : Ref::And;
}
const Ref A = Ref::Add, S = Ref::Sub, M = Ref::Mul, MS = Ref::MulScale;

// Every value of a 41-pixel row (vector blocks and tails) is checked.
TEST(Arithmetic, SaturatesAtTheLimitsOfEveryDepth) {
    struct LimitCase { unsigned depth; Ref op; double a, b, expected; };
    const LimitCase cases[] = {
        {U8, A, 200, 100, 255}, {U8, S, 100, 200, 0}, {U8, M, 20, 20, 255}, {U8, M, 15, 16, 240}, {U8, M, 15, 17, 255},
        {S8, A, 100, 100, 127}, {S8, A, -100, -100, -128}, {S8, S, -128, 1, -128}, {S8, S, 127, -1, 127},
        {S8, M, -128, -1, 127}, {S8, M, -128, 2, -128}, {S8, M, -11, 11, -121}, {S8, M, 12, -11, -128},
        {U16, A, 60000, 6000, 65535}, {U16, S, 5, 6, 0}, {U16, M, 256, 255, 65280}, {U16, M, 256, 256, 65535},
        {S16, A, 30000, 30000, 32767}, {S16, S, -30000, 30000, -32768}, {S16, A, -32768, -1, -32768},
        {S16, M, 200, 200, 32767}, {S16, M, -200, 200, -32768}, {S16, M, -32768, -1, 32767},
        {S32, A, kMax32, 1, kMax32}, {S32, A, kMin32, -1, kMin32}, {S32, A, kMax32, kMin32, -1},
        {S32, S, kMax32, -1, kMax32}, {S32, S, 0, kMin32, kMax32}, {S32, S, -1, kMin32, kMax32},
        {S32, S, kMin32, 1, kMin32}, {S32, M, -65536, 65536, kMin32}, {S32, M, kMin32, -1, kMax32},
        {S32, M, -3, 1, -3}, {S32, M, 46341, 46340, 2147441940}, {S32, M, 46341, 46341, kMax32},
        {F32, A, 0.1f, 0.2f, 0.1f + 0.2f}, {F32, S, 3.5, 10.25, -6.75}, {F32, M, 1e30f, 1e30f, INFINITY},
        {U8, MS, 255, 128, 128}, {U8, MS, 255, 255, 255}, {U8, MS, 255, 1, 1}, {U8, MS, 128, 128, 64},
        {U16, MS, 65535, 65535, 65535}, {U16, MS, 65535, 1, 1}, {U16, MS, 32768, 32768, 16384},
    };
    ErrorCapture errors;
    for (const LimitCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "depth " << c.depth << " op " << static_cast<int>(c.op) << ": " << c.a << ", " << c.b);
        TestImage a(c.depth, 41, 2), b(c.depth, 41, 2), d(c.depth, 41, 2);
        a.fill(c.a), b.fill(c.b), d.fillRandom(1);
        entry(c.op)(a, b, d);
        for (int x = 0; x < 82; ++x) ASSERT_EQ(d.at(x % 41, x / 41), c.expected) << "x " << x;
    }
    EXPECT_TRUE(errors.empty());
}

// Random data: odd channel counts with ROIs at different offsets (row by row),
// two channels with a taller source (rows merged into runs), four with
// identical headers (one run over the buffers).
class ArithmeticByDepth : public testing::TestWithParam<unsigned> {};

TEST_P(ArithmeticByDepth, MatchesReferenceOnRandomData) {
    const unsigned depth = GetParam();
    std::vector<Ref> ops = {A, S, M};
    if (depth == U8 || depth == U16) ops.push_back(MS);
    // Small second factors keep some products inside the range.
    const double bound = depth == U8 ? 20 : depth == S8 ? 12 : (depth & 0xFF) == 16 ? 250 : 50000;
    ErrorCapture errors;
    uint32_t seed = 1;
    for (Ref op : ops)
        for (int width : {7, 101})
            for (int nCh = 1; nCh <= 4; ++nCh)
                for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                    SCOPED_TRACE(testing::Message() << "op " << static_cast<int>(op) << " " << width << "x" << nCh << " order " << order);
                    TestImage a(depth, width, 3 + (nCh == 2 ? 2 : 0), nCh, order), b(depth, width, 3, nCh, order);
                    TestImage d(depth, width, 3, nCh, order);
                    const bool smallB = op == M && depth != F32;
                    a.fillRandom(++seed), d.fillRandom(++seed), b.fillRandom(++seed, smallB && (depth & OZL_DEPTH_SIGN) ? -bound : 0, smallB ? bound : 0);
                    if (nCh % 2 == 1) a.setRoi(0, 1, 2, width - 1, 3), d.setRoi(0, 2, 0, width, 3);
                    checkPixelwise(d, a, b, [&] { entry(op)(a, b, d); }, op);
                    if (nCh == 3) {  // in place: the destination is the first source
                        TestImage before = d.clone();
                        before.setRoi(0, 2, 0, width, 3);
                        checkPixelwise(d, before, b, [&] { entry(op)(d, b, d); }, op);
                    }
                    if (HasFailure()) return;
                }
    EXPECT_TRUE(errors.empty());
}
INSTANTIATE_TEST_SUITE_P(EveryDepth, ArithmeticByDepth, testing::Values(U8, S8, U16, S16, S32, F32));

// 1-bit images: Add is OR, Multiply AND (routed to the logic operations),
// Subtract A AND NOT B; bits outside the region stay; whole images go word-wise.
TEST(ArithmeticOneBit, RoutesAndKeepsBitsOutsideTheRegion) {
    ErrorCapture errors;
    for (Ref op : {A, M, S})
        for (auto [ax, bx, dx, w] : {std::array{13, 13, 13, 40}, {13, 3, 5, 29}, {3, 0, 0, 1}, {0, 0, 0, 0}}) {
            TestImage a(U1, 77, 3), b(U1, 77, 3), d(U1, 77, 3);
            fillAll({&a, &b, &d}, ax + bx);
            if (w) a.setRoi(0, ax, 0, w, 3), b.setRoi(0, bx, 1, w, 2), d.setRoi(0, dx, 1, w + 9, 2);
            checkPixelwise(d, a, b, [&] { entry(op)(a, b, d); }, effective(op, U1));
        }
    TestImage a(U1, 77, 5), d(U1, 77, 5), plane(U1, 77, 5, 1, OZL_DATA_ORDER_PLANE);
    ozlSubtract(a, a, plane);  // no data-order check for 1-bit images
    EXPECT_TRUE(errors.empty());
    expectRefusals(errors, {
        {[&] { ozlAdd(a, nullptr, d); }, &d, {OZL_StsHeaderIsNull, "ozlOr", "Incorrect Image", "ozlor", 101}},
        {[&] { ozlMultiply(a, nullptr, d); }, &d, {OZL_StsHeaderIsNull, "ozlAnd", "Incorrect Image", "ozland", 101}},
    });
}

TEST(ArithmeticRefusals, NullsDepthOrderChannelsAndHeaders) {
    struct Case { unsigned da, db; int oa, ob, na, nb, nd; OzlStatus status; const char* message; int line; };
    const Case cases[] = {
        {U16, U8, 0, 0, 1, 1, 1, -5, "(srcImageA->depth != dstImage->depth)", 110},
        {U8, S8, 0, 0, 1, 1, 1, -5, "(srcImageB->depth != dstImage->depth)", 111},
        {U8, U8, 1, 0, 1, 1, 1, -5, "(srcImageA->dataOrder != dstImage->dataOrder)", 120},
        {U8, U8, 0, 1, 1, 1, 1, -5, "(srcImageB->dataOrder != dstImage->dataOrder)", 121},
        {U8, U8, 0, 0, 3, 1, 1, -5, "(nChSrcA != nChDst)", 130},
        {U8, U8, 0, 0, 1, 2, 1, -5, "(nChSrcB != nChDst)", 131},
        {U8, U8, 0, 0, 1, 1, 3, -24, "Incorrect Image", 101},  // dst ROI names channel 4
    };
    ErrorCapture errors;
    struct Named { BinaryFn fn; const char *name, *module; };
    for (const Named& n : {Named{ozlAdd, "ozlAdd", "ozladd"}, {ozlSubtract, "ozlSubtract", "ozlsub"}, {ozlMultiply, "ozlMultiply", "ozlmul"}}) {
        const BinaryFn fn = n.fn;
        const char *name = n.name, *module = n.module;
        for (const Case& c : cases) {
            TestImage a(c.da, 9, 4, c.na, c.oa), b(c.db, 9, 4, c.nb, c.ob), d(U8, 9, 4, c.nd);
            d.fillRandom(3);
            if (c.status == -24) d.setRoi(4, 0, 0, 9, 4);
            expectRefusals(errors, {{[&] { fn(a, b, d); }, &d, {c.status, name, c.message, module, c.line}}});
        }
        // A NULL first source: Subtract leaves it to the header check.
        TestImage b(U8, 5, 5), d(U8, 5, 5);
        const bool sub = fn == ozlSubtract;
        expectRefusals(errors, {{[&] { fn(nullptr, b, d); }, &d, {sub ? OZL_StsHeaderIsNull : OZL_StsBadArg, name,
                                                                   sub ? "Incorrect Image" : "srcImageA==0", module, sub ? 101 : 60}}});
    }
    TestImage a(U8, 9, 4), d(U8, 9, 4), badMask(U8, 9, 4);
    a->maskROI = badMask;  // a fault in a mask is the mask's status
    expectRefusals(errors, {{[&] { ozlAdd(a, a, d); }, &d, {-117, "ozlAdd", "Incorrect Image", "ozladd", 101}}});
}

TEST(ArithmeticRefusals, MultiplyScale) {
    ErrorCapture errors;
    TestImage fa(F32, 6, 3), fd(F32, 6, 3), a(U8, 6, 3, 3), b(U8, 6, 3, 3), d(U8, 6, 3, 3), a16(U16, 6, 3, 3);
    TestImage grey(U8, 6, 3, 1), aCoi(U8, 6, 3, 3), dCoi(U8, 6, 3, 3), alphaOnly(U8, 6, 3, 1, OZL_DATA_ORDER_PIXEL, true);
    TestImage alphaRoi(U8, 6, 3, 1, OZL_DATA_ORDER_PIXEL, true);
    d.fillRandom(9), dCoi.fillRandom(10), dCoi.setRoi(2, 0, 0, 6, 3), aCoi.setRoi(2, 0, 0, 6, 3);
    alphaRoi.setRoi(0, 0, 0, 6, 3);
    const std::string chA = "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != ";
    const std::string chD = "(dstImage->nChannels - (dstImage->alphaChannel != 0))";
    const std::tuple<OzlImage*, OzlImage*, OzlImage*, const TestImage*, std::string, int> cases[] = {
        {fa, fa, fd, &fd, "dstImage->depth != 8 && dstImage->depth != 16", 230},
        {a, b, nullptr, &d, "dstImage==0", 210},
        {a, nullptr, d, &d, "srcImageB==0", 210},
        {a16, b, d, &d, "srcImageA->depth != dstImage->depth", 231},
        {grey, b, d, &d, chA + chD, 240},
        {a, b, dCoi, &dCoi, chA + "(dstImage->roi->coi > 0)", 240},
        {aCoi, b, d, &d, chD + " != (srcImageA->roi->coi > 0)", 240},
        {grey, grey, alphaOnly, &alphaOnly, "dstImage->alphaChannel == 1 && dstImage->roi == 0", 220},
        {grey, grey, alphaRoi, &alphaRoi, "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", 221},
    };
    for (const auto& c : cases)
        expectRefusals(errors, {{[&] { ozlMultiplyScale(std::get<0>(c), std::get<1>(c), std::get<2>(c)); }, std::get<3>(c),
                                 {-5, "ozlMultiplyScale", std::get<4>(c), "ozlalpha", std::get<5>(c)}}});
}

// Alpha channels are skipped and never written; a COI selects one channel.
TEST(ArithmeticChannels, AlphaAndChannelOfInterest) {
    ErrorCapture errors;
    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
        TestImage withAlpha(U8, 300, 3, 4, order, true), three(U8, 300, 3, 3, order), one(U8, 300, 3, 1, order);
        TestImage d3(U8, 300, 3, 3, order), dAlpha(U8, 300, 3, 4, order, true), d1(U8, 300, 3, 1, order);
        fillAll({&withAlpha, &three, &one, &d3, &dAlpha, &d1}, 1);
        auto check = [&](Ref op, OzlImage* a, OzlImage* b, TestImage& d) { checkPixelwise(d, a, b, [&] { entry(op)(a, b, d); }, op); };
        check(A, withAlpha, three, d3);
        check(A, three, withAlpha, dAlpha);  // dst's alpha stays
        three.setRoi(2, 0, 0, 300, 3);  // channel 2 of A only
        check(A, three, one, d1);
        withAlpha.setRoi(3, 0, 0, 300, 3);  // two COIs naming different channels
        check(S, three, withAlpha, d1);
        d3.setRoi(3, 1, 1, 290, 2);  // COI on dst
        check(A, one, one, d3);
    }
    EXPECT_TRUE(errors.empty());
}

TEST(ArithmeticMasks, OneMaskTwoMasksAndAnEmptyCommonRegion) {
    ErrorCapture errors;
    struct Config { unsigned depth; int nCh, order; bool alpha; Ref op; };
    for (Config c : {Config{U8, 3, 0, false, S}, Config{U16, 1, 0, false, MS}, Config{S16, 2, 1, false, M},
                     Config{F32, 4, 0, true, A}, Config{U1, 1, 0, false, S}}) {
        SCOPED_TRACE(c.depth);
        ozlSetErrStatus(OZL_StsOk);  // a status left negative stops the scaled product's two-mask path
        const int w = 301;  // rows longer than the frame's chunks
        TestImage a(c.depth, w, 6, c.nCh, c.order, c.alpha), b(c.depth, w, 6, c.nCh, c.order, c.alpha);
        TestImage d(c.depth, w, 6, c.nCh, c.order, c.alpha), m1(U1, w, 6), m2(U1, w + 5, 8);
        fillAll({&a, &b, &d, &m1, &m2}, 1);
        auto f = [&](double va, double vb) { return reference(effective(c.op, c.depth), c.depth, va, vb); };
        d.setMask(&m1), m2.setRoi(0, 3, 1, w - 1, 7);
        TestImage before = d.clone();
        entry(c.op)(a, b, d);
        expectPixelwise(before, d, a, b, f, [&](int x, int y) { return m1.at(x, y) != 0; });
        a.setMask(&m2), before = d.clone();  // masks of two operands ANDed, each at its own region
        entry(c.op)(a, b, d);
        expectPixelwise(before, d, a, b, f, [&](int x, int y) { return m1.at(x, y) && m2.at(x + 3, y + 1); }, w - 1, 6);
        m2.setRoi(0, w + 5, 0, 4, 8), before = d.clone();  // xOffset == mask width: empty common region
        entry(c.op)(a, b, d);
        EXPECT_EQ(d.bytes(), before.bytes());
    }
    EXPECT_TRUE(errors.empty());
}

TEST(ArithmeticTiles, TiledOperandsGiveTheUntiledResult) {
    ErrorCapture errors;
    for (auto [depth, nCh, order, op] : {std::tuple{U8, 3, 0, A}, {S16, 2, 1, M}, {F32, 1, 0, S}, {U1, 1, 0, S}, {U8, 1, 0, MS}})
        for (bool inPlace : {false, true}) {
            TiledImage ta(depth, 37, 21, nCh, order, 8, 8), tb(depth, 37, 21, nCh, order, 24, 16);
            TiledImage td(depth, 37, 21, nCh, order, 16, 8);
            TestImage a(depth, 37, 21, nCh, order), b(depth, 37, 21, nCh, order), d(depth, 37, 21, nCh, order);
            TestImage mask(U1, 40, 20);
            mask.fillRandom(4);
            const int rois[3][4] = {{3, 5, 29, 13}, {1, 2, 30, 15}, {5, 3, 27, 14}};
            TestImage* plain[] = {&a, &b, &d};
            TiledImage* tiled[] = {&ta, &tb, &td};
            for (int i = 0; i < 3; ++i) {
                plain[i]->fillRandom(i + 1), tiled[i]->pixels().fillRandom(i + 1);
                plain[i]->setRoi(0, rois[i][0], rois[i][1], rois[i][2], rois[i][3]), tiled[i]->setRoi(0, rois[i][0], rois[i][1], rois[i][2], rois[i][3]);
            }
            if (op == S) b.setMask(&mask), tb->maskROI = mask;
            entry(op)(inPlace ? d.get() : a.get(), b, d);
            entry(op)(inPlace ? td.get() : ta.get(), tb, td);
            EXPECT_EQ(td.pixels().bytes(), d.bytes()) << depth << (inPlace ? " in place" : "");
        }
    EXPECT_TRUE(errors.empty());
}

TEST(ArithmeticTiles, CallbackSequenceAndMissingTile) {
    std::vector<TileCall> log;
    ErrorCapture errors;
    TiledImage a(U8, 16, 16, 1, 0, 8, 8, 1, &log), d(U8, 16, 16, 1, 0, 8, 8, 2, &log);
    TestImage b(U8, 16, 16);
    d.setRoi(0, 4, 2, 8, 8);
    ozlAdd(a, b, d);
    EXPECT_TRUE(errors.empty());
    // Pieces of 4x6, 4x6, 4x2, 4x2: dst tiles (0,0), (1,0), (0,1), (1,1); A stays in tile (0,0).
    std::vector<TileCall> expected;
    for (auto [x, y] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}})
        for (TileCall c : {TileCall{1, 0, 0, OZL_GET_TILE_TO_READ}, {2, x, y, OZL_GET_TILE_TO_WRITE},
                           {1, 0, 0, OZL_RELEASE_TILE}, {2, x, y, OZL_RELEASE_TILE}})
            expected.push_back(c);
    EXPECT_EQ(log, expected);
    TiledImage failing(U8, 24, 8, 1, 0, 8, 8);  // the third tile cannot be had: report, stop
    TestImage a2(U8, 24, 8), b2(U8, 24, 8);
    a2.fill(10), b2.fill(20), failing.pixels().fill(1), failing.failFetch(3);
    ozlAdd(a2, b2, failing);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlAdd", "(dstImage->tileInfo->tileData == ((void*)(0)))", "ozladd", errors.last().line}));
    EXPECT_EQ(failing.calls(), (std::vector<TileCall>{{0, 0, 0, 2}, {0, 0, 0, 4}, {0, 1, 0, 2}, {0, 1, 0, 4}, {0, 2, 0, 2}}));
    for (int x = 0; x < 24 * 8; ++x) ASSERT_EQ(failing.pixels().at(x % 24, x / 24), x % 24 < 16 ? 30 : 1);
}

}  // namespace
