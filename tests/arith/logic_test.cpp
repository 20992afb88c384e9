// ozlAnd, ozlOr, ozlXor, ozlNot, ozlAndS, ozlOrS, ozlXorS: every integer depth
// against a reference, constants wider than the depth, 1-bit regions, refusals.
#include <gtest/gtest.h>

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

const unsigned kIntegerDepths[] = {OZL_DEPTH_1U,  OZL_DEPTH_8U,  OZL_DEPTH_8S,
                                   OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S};

// Values as the stored bits of their width, and back.
uint32_t toBits(unsigned depth, double v) {
    const int bits = depth & 0xFF;
    const uint32_t mask = bits == 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
    return static_cast<uint32_t>(static_cast<int64_t>(v)) & mask;
}

double fromBits(unsigned depth, uint32_t u) {
    const int bits = depth & 0xFF;
    if ((depth & OZL_DEPTH_SIGN) && (u >> (bits - 1)) & 1)
        return static_cast<double>(static_cast<int64_t>(u) - (int64_t{1} << bits));
    return u;
}

using BinaryFn = void(OZL_CALL*)(OzlImage*, OzlImage*, OzlImage*);
using ConstFn = void(OZL_CALL*)(OzlImage*, OzlImage*, int);

struct BitOp {
    BinaryFn two;
    ConstFn constant;
    uint32_t (*f)(uint32_t, uint32_t);
};

const BitOp kOps[] = {
    {ozlAnd, ozlAndS, [](uint32_t a, uint32_t b) { return a & b; }},
    {ozlOr, ozlOrS, [](uint32_t a, uint32_t b) { return a | b; }},
    {ozlXor, ozlXorS, [](uint32_t a, uint32_t b) { return a ^ b; }},
};

class LogicByDepth : public testing::TestWithParam<unsigned> {};

TEST_P(LogicByDepth, MatchesReferenceOnRandomData) {
    const unsigned depth = GetParam();
    const int maxCh = depth == OZL_DEPTH_1U ? 1 : 4;
    ErrorCapture errors;
    uint32_t seed = 10;
    for (const BitOp& op : kOps)
        for (int width : {1, 7, 33, 101})
            for (int nCh = 1; nCh <= maxCh; ++nCh)
                for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                    SCOPED_TRACE(testing::Message() << width << "x" << nCh << " order " << order);
                    TestImage a(depth, width, 3, nCh, order), b(depth, width, 3, nCh, order);
                    TestImage d(depth, width, 3, nCh, order);
                    a.fillRandom(++seed);
                    b.fillRandom(++seed);
                    d.fillRandom(++seed);
                    if (width > 4 && nCh != 2) {
                        a.setRoi(0, 3, 1, width - 3, 2);
                        d.setRoi(0, 1, 0, width, 3);
                    }
                    TestImage before = d.clone();
                    op.two(a, b, d);
                    ozl::test::expectPixelwise(before, d, a, b, [&](double va, double vb) {
                        return fromBits(depth, op.f(toBits(depth, va), toBits(depth, vb)));
                    });
                    // Constants reduce to their low bits (for 1U, the lowest bit).
                    for (int value : {0x12345679, -2, 0x5A}) {
                        before = d.clone();
                        op.constant(a, d, value);
                        ozl::test::expectPixelwise(before, d, a, nullptr, [&](double va, double) {
                            return fromBits(depth, op.f(toBits(depth, va), toBits(depth, value)));
                        });
                    }
                    if (HasFailure()) return;
                }
    EXPECT_TRUE(errors.empty());
}

INSTANTIATE_TEST_SUITE_P(IntegerDepths, LogicByDepth, testing::ValuesIn(kIntegerDepths));

TEST(LogicNot, IsXorWithAllOnesAndKeepsBitsOutsideTheRegion) {
    ErrorCapture errors;
    for (unsigned depth : kIntegerDepths) {
        SCOPED_TRACE(depth);
        TestImage src(depth, 45, 4), viaNot(depth, 45, 4), viaXor(depth, 45, 4);
        src.fillRandom(1);
        viaNot.fillRandom(2);
        viaXor.fillRandom(2);
        src.setRoi(0, 13, 1, 29, 3);
        viaNot.setRoi(0, 3, 0, 40, 2);
        viaXor.setRoi(0, 3, 0, 40, 2);
        const TestImage before = viaNot.clone();
        ozlNot(src, viaNot);
        ozlXorS(src, viaXor, -1);
        EXPECT_EQ(viaNot.bytes(), viaXor.bytes());
        ozl::test::expectPixelwise(before, viaNot, src, nullptr, [&](double v, double) {
            return fromBits(depth, ~toBits(depth, v) & toBits(depth, -1));
        });
    }
    // In place on a 1-bit region that starts and ends inside bytes.
    TestImage bits(OZL_DEPTH_1U, 64, 2);
    bits.fillRandom(3);
    bits.setRoi(0, 13, 0, 9, 2);
    TestImage before = bits.clone();
    before.setRoi(0, 13, 0, 9, 2);
    ozlNot(bits, bits);
    ozl::test::expectPixelwise(before, bits, before, nullptr,
                               [](double v, double) { return 1 - v; });
    EXPECT_TRUE(errors.empty());

    // Not has no checks of its own: refusals come from ozlXorS.
    TestImage f(OZL_DEPTH_32F, 8, 2);
    ozlNot(f, f);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlXorS",
                                          "This function does not support depth 32F", "ozlxors",
                                          errors.last().line}));
}

// ---------------------------------------------------------------------------
// Refusals: one report each, destination untouched.

struct Expected {
    OzlStatus status;
    const char* func;
    const char* message;
    const char* module;
};

void expectRefusal(ErrorCapture& errors, const TestImage& dst, const std::vector<uint8_t>& before,
                   const Expected& e) {
    ASSERT_EQ(errors.count(), 1u) << e.func << " " << e.message;
    EXPECT_EQ(errors.last(), (ErrorReport{e.status, e.func, e.message, e.module, errors.last().line}));
    EXPECT_EQ(dst.bytes(), before) << e.func << " " << e.message;
    errors.clear();
}

TEST(LogicRefusals, Depth32FIsRefusedByEveryOperation) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_32F, 9, 3), b(OZL_DEPTH_32F, 9, 3), d(OZL_DEPTH_32F, 9, 3);
    a.fillRandom(1);
    b.fillRandom(2);
    d.fillRandom(3);
    const auto before = d.bytes();
    const char* msg = "This function does not support depth 32F";
    ozlAnd(a, b, d);
    expectRefusal(errors, d, before, {-5, "ozlAnd", msg, "ozland"});
    ozlOr(a, b, d);
    expectRefusal(errors, d, before, {-5, "ozlOr", msg, "ozlor"});
    ozlXor(a, b, d);
    expectRefusal(errors, d, before, {-5, "ozlXor", msg, "ozlxor"});
    ozlAndS(a, d, 1);
    expectRefusal(errors, d, before, {-5, "ozlAndS", msg, "ozlands"});
    ozlOrS(a, d, 1);
    expectRefusal(errors, d, before, {-5, "ozlOrS", msg, "ozlors"});
    ozlXorS(a, d, 1);
    expectRefusal(errors, d, before, {-5, "ozlXorS", msg, "ozlxors"});
    // With a mask too (the mask is combined before the depth is looked at).
    TestImage mask(OZL_DEPTH_1U, 9, 3);
    mask.fill(1);
    d.setMask(&mask);
    ozlAnd(a, b, d);
    expectRefusal(errors, d, before, {-5, "ozlAnd", msg, "ozland"});
}

TEST(LogicRefusals, HeadersDepthOrderAndChannels) {
    ErrorCapture errors;
    const unsigned U8 = OZL_DEPTH_8U;
    TestImage a(U8, 9, 3), d(U8, 9, 3), s8(OZL_DEPTH_8S, 9, 3), planar(U8, 9, 3, 1, 1);
    TestImage three(U8, 9, 3, 3);
    d.fillRandom(4);
    const auto before = d.bytes();
    // No NULL test of their own: the header check reports it.
    ozlAnd(nullptr, a, d);
    expectRefusal(errors, d, before, {-9, "ozlAnd", "Incorrect Image", "ozland"});
    ozlOr(a, nullptr, d);
    expectRefusal(errors, d, before, {-9, "ozlOr", "Incorrect Image", "ozlor"});
    ozlXorS(nullptr, d, 1);
    expectRefusal(errors, d, before, {-9, "ozlXorS", "Incorrect Image", "ozlxors"});
    // 8S and 8U share a kernel, but the depths must still agree.
    ozlAnd(s8, s8, d);
    expectRefusal(errors, d, before, {-5, "ozlAnd", "(srcImageA->depth != dstImage->depth)", "ozland"});
    ozlXor(a, s8, d);
    expectRefusal(errors, d, before, {-5, "ozlXor", "(srcImageB->depth != dstImage->depth)", "ozlxor"});
    ozlOr(a, planar, d);
    expectRefusal(errors, d, before,
                  {-5, "ozlOr", "(srcImageB->dataOrder != dstImage->dataOrder)", "ozlor"});
    ozlAnd(three, a, d);
    expectRefusal(errors, d, before, {-5, "ozlAnd", "(nChSrcA != nChDst)", "ozland"});
    ozlAndS(s8, d, 1);
    expectRefusal(errors, d, before, {-5, "ozlAndS", "(srcImage->depth != dstImage->depth)", "ozlands"});
    ozlOrS(planar, d, 1);
    expectRefusal(errors, d, before,
                  {-5, "ozlOrS", "(srcImage->dataOrder != dstImage->dataOrder)", "ozlors"});
    ozlXorS(three, d, 1);
    expectRefusal(errors, d, before, {-5, "ozlXorS", "(nChSrc != nChDst)", "ozlxors"});

    // 1-bit images skip the data-order check.
    TestImage bitsA(OZL_DEPTH_1U, 20, 2), bitsD(OZL_DEPTH_1U, 20, 2, 1, OZL_DATA_ORDER_PLANE);
    ozlXor(bitsA, bitsA, bitsD);
    ozlOrS(bitsA, bitsD, 1);
    EXPECT_TRUE(errors.empty());
}

}  // namespace
