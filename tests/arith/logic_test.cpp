// ozlAnd, ozlOr, ozlXor, ozlNot, ozlAndS, ozlOrS, ozlXorS: every integer depth
// against the reference, constants wider than the depth, 1-bit regions, refusals.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
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

const unsigned kIntegerDepths[] = {OZL_DEPTH_1U,  OZL_DEPTH_8U,  OZL_DEPTH_8S,
                                   OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S};

struct BitOp {
    void(OZL_CALL* two)(OzlImage*, OzlImage*, OzlImage*);
    void(OZL_CALL* constant)(OzlImage*, OzlImage*, int);
    Ref ref;
};

const BitOp kOps[] = {{ozlAnd, ozlAndS, Ref::And}, {ozlOr, ozlOrS, Ref::Or}, {ozlXor, ozlXorS, Ref::Xor}};

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
                    expectPixelwise(before, d, a, b, op.ref);
                    // Constants reduce to their low bits (for 1U, the lowest bit).
                    for (int value : {0x12345679, -2, 0x5A}) {
                        before = d.clone();
                        op.constant(a, d, value);
                        expectPixelwise(before, d, a, nullptr, op.ref, value);
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
        TestImage src(depth, 45, 4), viaNot(depth, 45, 4);
        src.fillRandom(1);
        viaNot.fillRandom(2);
        src.setRoi(0, 13, 1, 29, 3);
        viaNot.setRoi(0, 3, 0, 40, 2);
        const TestImage before = viaNot.clone();
        ozlNot(src, viaNot);
        expectPixelwise(before, viaNot, src, nullptr, Ref::Xor, -1);
    }
    // In place on a 1-bit region that starts and ends inside bytes.
    TestImage bits(OZL_DEPTH_1U, 64, 2);
    bits.fillRandom(3);
    bits.setRoi(0, 13, 0, 9, 2);
    TestImage before = bits.clone();
    before.setRoi(0, 13, 0, 9, 2);
    ozlNot(bits, bits);
    expectPixelwise(before, bits, before, nullptr, Ref::Xor, 1);
    EXPECT_TRUE(errors.empty());

    // Not has no checks of its own: refusals come from ozlXorS.
    TestImage f(OZL_DEPTH_32F, 8, 2);
    const auto fBefore = f.bytes();
    ozlNot(f, f);
    expectRefused(errors, f, fBefore,
                  {OZL_StsBadArg, "ozlXorS", "This function does not support depth 32F", "ozlxors", 150});
}

TEST(LogicRefusals, Depth32FIsRefusedByEveryOperation) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_32F, 9, 3), b(OZL_DEPTH_32F, 9, 3), d(OZL_DEPTH_32F, 9, 3), mask(OZL_DEPTH_1U, 9, 3);
    a.fillRandom(1);
    b.fillRandom(2);
    d.fillRandom(3);
    mask.fill(1);
    const auto before = d.bytes();
    const char* msg = "This function does not support depth 32F";
    const char* names[] = {"ozlAnd", "ozlOr", "ozlXor"};
    const char* modules[] = {"ozland", "ozlor", "ozlxor"};
    for (int i = 0; i < 3; ++i) {
        kOps[i].two(a, b, d);
        expectRefused(errors, d, before, {-5, names[i], msg, modules[i], 150});
        kOps[i].constant(a, d, 1);
        expectRefused(errors, d, before, {-5, std::string(names[i]) + "S", msg, std::string(modules[i]) + "s", 150});
    }
    // With a mask too (the mask is combined before the depth is looked at).
    d.setMask(&mask);
    ozlAnd(a, b, d);
    expectRefused(errors, d, before, {-5, "ozlAnd", msg, "ozland", 150});
}

TEST(LogicRefusals, HeadersDepthOrderAndChannels) {
    ErrorCapture errors;
    const unsigned U8 = OZL_DEPTH_8U;
    TestImage a(U8, 9, 3), d(U8, 9, 3), s8(OZL_DEPTH_8S, 9, 3), planar(U8, 9, 3, 1, 1);
    TestImage three(U8, 9, 3, 3);
    d.fillRandom(4);
    const auto before = d.bytes();
    const char* depthsA = "(srcImageA->depth != dstImage->depth)";
    const char* depthsS = "(srcImage->depth != dstImage->depth)";
    // NULLs have no test of their own: the header check reports them. 8S and
    // 8U share a kernel, but the depths must still agree.
    const std::pair<std::function<void()>, ErrorReport> cases[] = {
        {[&] { ozlAnd(nullptr, a, d); }, {-9, "ozlAnd", "Incorrect Image", "ozland", 101}},
        {[&] { ozlOr(a, nullptr, d); }, {-9, "ozlOr", "Incorrect Image", "ozlor", 101}},
        {[&] { ozlXorS(nullptr, d, 1); }, {-9, "ozlXorS", "Incorrect Image", "ozlxors", 101}},
        {[&] { ozlAnd(s8, s8, d); }, {-5, "ozlAnd", depthsA, "ozland", 110}},
        {[&] { ozlXor(a, s8, d); }, {-5, "ozlXor", "(srcImageB->depth != dstImage->depth)", "ozlxor", 111}},
        {[&] { ozlOr(a, planar, d); }, {-5, "ozlOr", "(srcImageB->dataOrder != dstImage->dataOrder)", "ozlor", 121}},
        {[&] { ozlAnd(three, a, d); }, {-5, "ozlAnd", "(nChSrcA != nChDst)", "ozland", 130}},
        {[&] { ozlAndS(s8, d, 1); }, {-5, "ozlAndS", depthsS, "ozlands", 110}},
        {[&] { ozlOrS(planar, d, 1); }, {-5, "ozlOrS", "(srcImage->dataOrder != dstImage->dataOrder)", "ozlors", 120}},
        {[&] { ozlXorS(three, d, 1); }, {-5, "ozlXorS", "(nChSrc != nChDst)", "ozlxors", 130}},
    };
    for (const auto& [call, report] : cases) {
        call();
        expectRefused(errors, d, before, report);
    }

    // 1-bit images skip the data-order check.
    TestImage bitsA(OZL_DEPTH_1U, 20, 2), bitsD(OZL_DEPTH_1U, 20, 2, 1, OZL_DATA_ORDER_PLANE);
    ozlXor(bitsA, bitsA, bitsD);
    ozlOrS(bitsA, bitsD, 1);
    EXPECT_TRUE(errors.empty());
}

}  // namespace
