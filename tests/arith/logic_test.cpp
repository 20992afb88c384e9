// ozlAnd, ozlOr, ozlXor, ozlNot, ozlAndS, ozlOrS, ozlXorS, ozlLShiftS, ozlRShiftS
// through the public interface.
#include "arith_check.hpp"

namespace {
using namespace ozl::arith_test;

class LogicByDepth : public testing::TestWithParam<unsigned> {};

// Random data at odd widths, both orders, with and without ROIs; constants
// reduce to their low bits (1U: the lowest); shift counts up to the width + 1,
// where the shortcuts (copy, all zero, sign fill) are taken.
TEST_P(LogicByDepth, MatchesReferenceOnRandomData) {
    const unsigned depth = GetParam();
    ErrorCapture errors;
    uint32_t seed = 10;
    const std::tuple<void(OZL_CALL*)(OzlImage*, OzlImage*, OzlImage*), void(OZL_CALL*)(OzlImage*, OzlImage*, int), Ref> ops[] = {
        {ozlAnd, ozlAndS, Ref::And}, {ozlOr, ozlOrS, Ref::Or}, {ozlXor, ozlXorS, Ref::Xor}};
    for (int width : {7, 101})
        for (int nCh = 1; nCh <= (depth == U1 ? 1 : 3); nCh += 2)
            for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                SCOPED_TRACE(testing::Message() << width << "x" << nCh << " order " << order);
                TestImage a(depth, width, 3, nCh, order), b(depth, width, 3, nCh, order), d(depth, width, 3, nCh, order);
                a.fillRandom(++seed), b.fillRandom(++seed), d.fillRandom(++seed);
                if (width > 7) a.setRoi(0, 3, 1, width - 3, 2), d.setRoi(0, 1, 0, width, 3);
                for (const auto& [two, constant, ref] : ops) {
                    const auto op = ref;
                    const auto fn2 = two;
                    const auto fnS = constant;
                    checkPixelwise(d, a, b, [&] { fn2(a, b, d); }, op);
                    for (int value : {0x12345679, -2}) {
                        const TestImage before = d.clone();
                        fnS(a, d, value);
                        expectPixelwise(before, d, a, nullptr, op, value);
                    }
                }
                for (unsigned s = 0; s <= (depth & 0xFF) + 1; ++s)
                    for (auto [fn, op] : {std::pair{ozlLShiftS, Ref::LShift}, {ozlRShiftS, Ref::RShift}}) {
                        const TestImage before = d.clone();
                        fn(a, d, s);
                        expectPixelwise(before, d, a, nullptr, op, s);
                    }
                const TestImage before = d.clone();
                ozlNot(a, d);
                expectPixelwise(before, d, a, nullptr, Ref::Xor, -1);
                if (HasFailure()) return;
            }
    EXPECT_TRUE(errors.empty());
}
INSTANTIATE_TEST_SUITE_P(IntegerDepths, LogicByDepth, testing::Values(U1, U8, S8, U16, S16, S32));

TEST(Logic, NotInPlaceAndShiftShortcuts) {
    ErrorCapture errors;
    TestImage bits(U1, 64, 2);  // in place on a 1-bit region that starts and ends inside bytes
    bits.fillRandom(3), bits.setRoi(0, 13, 0, 9, 2);
    TestImage before = bits.clone();
    before.setRoi(0, 13, 0, 9, 2);
    ozlNot(bits, bits);
    expectPixelwise(before, bits, before, nullptr, Ref::Xor, 1);
    const std::tuple<unsigned, double, decltype(&ozlRShiftS), unsigned, double> cases[] = {  // bits shifted out, no saturation
        {S8, -5, ozlRShiftS, 100, -1}, {S8, 5, ozlRShiftS, 100, 0}, {S16, -32768, ozlRShiftS, 16, -1}, {S32, -7, ozlRShiftS, ~0u, -1},
        {U16, 65535, ozlLShiftS, ~0u, 0}, {U16, 0x1234, ozlLShiftS, 0, 0x1234}, {S8, 0x41, ozlLShiftS, 1, -126}, {S32, 3, ozlLShiftS, 31, kMin32}};
    for (int width : {3, 40})  // shorter than one vector, and longer
        for (const auto& [depth, value, shift, count, want] : cases) {
            TestImage src(depth, width, 1), d(depth, width, 1);
            src.fill(value), d.fill(77);
            shift(src, d, count);
            for (int x = 0; x < width; ++x) ASSERT_EQ(d.at(x, 0), want) << depth << " " << value << " by " << count;
        }
    EXPECT_TRUE(errors.empty());
}

TEST(LogicRefusals, HeadersDepthOrderAndChannels) {
    ErrorCapture errors;
    TestImage a(U8, 9, 3), d(U8, 9, 3), s8(S8, 9, 3), planar(U8, 9, 3, 1, 1), three(U8, 9, 3, 3), u16(U16, 9, 3);
    TestImage f(F32, 9, 3), fd(F32, 9, 3), mask(U1, 9, 3);
    d.fillRandom(4), fd.fillRandom(3), u16.fillRandom(2), mask.fill(1);
    const char *no32F = "This function does not support depth 32F", *depthsS = "(srcImage->depth != dstImage->depth)";
    expectRefusals(errors, {
        // NULLs have no test of their own: the header check reports them.
        {[&] { ozlAnd(nullptr, a, d); }, &d, {-9, "ozlAnd", "Incorrect Image", "ozland", 101}},
        {[&] { ozlOr(a, nullptr, d); }, &d, {-9, "ozlOr", "Incorrect Image", "ozlor", 101}},
        {[&] { ozlXorS(nullptr, d, 1); }, &d, {-9, "ozlXorS", "Incorrect Image", "ozlxors", 101}},
        {[&] { ozlAnd(s8, s8, d); }, &d, {-5, "ozlAnd", "(srcImageA->depth != dstImage->depth)", "ozland", 110}},  // 8S and 8U share a kernel
        {[&] { ozlXor(a, s8, d); }, &d, {-5, "ozlXor", "(srcImageB->depth != dstImage->depth)", "ozlxor", 111}},
        {[&] { ozlOr(a, planar, d); }, &d, {-5, "ozlOr", "(srcImageB->dataOrder != dstImage->dataOrder)", "ozlor", 121}},
        {[&] { ozlAnd(three, a, d); }, &d, {-5, "ozlAnd", "(nChSrcA != nChDst)", "ozland", 130}},
        {[&] { ozlAndS(s8, d, 1); }, &d, {-5, "ozlAndS", depthsS, "ozlands", 110}},
        {[&] { ozlOrS(planar, d, 1); }, &d, {-5, "ozlOrS", "(srcImage->dataOrder != dstImage->dataOrder)", "ozlors", 120}},
        {[&] { ozlXorS(three, d, 1); }, &d, {-5, "ozlXorS", "(nChSrc != nChDst)", "ozlxors", 130}},
        {[&] { ozlAnd(f, f, fd); }, &fd, {-5, "ozlAnd", no32F, "ozland", 150}},
        {[&] { ozlOr(f, f, fd); }, &fd, {-5, "ozlOr", no32F, "ozlor", 150}},
        {[&] { ozlXor(f, f, fd); }, &fd, {-5, "ozlXor", no32F, "ozlxor", 150}},
        {[&] { ozlAndS(f, fd, 1); }, &fd, {-5, "ozlAndS", no32F, "ozlands", 150}},
        {[&] { ozlOrS(f, fd, 1); }, &fd, {-5, "ozlOrS", no32F, "ozlors", 150}},
        {[&] { ozlXorS(f, fd, 1); }, &fd, {-5, "ozlXorS", no32F, "ozlxors", 150}},
        {[&] { ozlNot(f, fd); }, &fd, {-5, "ozlXorS", no32F, "ozlxors", 150}},  // Not has no checks of its own
        // The shifts report themselves or through the operation they route to.
        {[&] { ozlLShiftS(nullptr, u16, 3); }, &u16, {-5, "ozlLShiftS", "srcImage==0", "ozllshs", 40}},
        {[&] { ozlRShiftS(nullptr, u16, 0); }, &u16, {-5, "ozlRShiftS", "srcImage==0", "ozlrshs", 40}},
        {[&] { ozlLShiftS(f, fd, 3); }, &fd, {-5, "ozlLShiftS", no32F, "ozllshs", 150}},
        {[&] { ozlRShiftS(f, fd, 3); }, &fd, {-5, "ozlRShiftS", no32F, "ozlrshs", 150}},
        {[&] { ozlLShiftS(f, fd, 0); }, &fd, {-5, "ozlXorS", no32F, "ozlxors", 150}},
        {[&] { ozlLShiftS(f, fd, 40); }, &fd, {-5, "ozlAndS", no32F, "ozlands", 150}},
        {[&] { ozlLShiftS(a, u16, 2); }, &u16, {-5, "ozlLShiftS", depthsS, "ozllshs", 110}},
        {[&] { ozlRShiftS(a, u16, 8); }, &u16, {-5, "ozlAndS", depthsS, "ozlands", 110}},
        {[&] { ozlRShiftS(a, u16, 0); }, &u16, {-5, "ozlXorS", depthsS, "ozlxors", 110}},
        {[&] { ozlRShiftS(u16, nullptr, 3); }, &u16, {-9, "ozlRShiftS", "Incorrect Image", "ozlrshs", 101}},
        {[&] { fd.setMask(&mask); ozlAnd(f, f, fd); }, &fd, {-5, "ozlAnd", no32F, "ozland", 150}},  // the mask is combined first
    });
    TestImage bitsA(U1, 20, 2), bitsD(U1, 20, 2, 1, OZL_DATA_ORDER_PLANE);
    ozlXor(bitsA, bitsA, bitsD);  // 1-bit images skip the data-order check
    ozlOrS(bitsA, bitsD, 1);
    EXPECT_TRUE(errors.empty());
}

}  // namespace
