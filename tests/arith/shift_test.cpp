// ozlLShiftS, ozlRShiftS: every depth and count against the reference, the
// routed shortcuts (copy, all zero, sign fill) and refusals.
#include <gtest/gtest.h>

#include <cstdint>
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

using ShiftFn = void(OZL_CALL*)(OzlImage*, OzlImage*, unsigned);

// Counts 0 to the width + 1, so that the shortcuts past the width are taken;
// 1-bit images: any count clears the region's bits, 0 copies them.
class ShiftByDepth : public testing::TestWithParam<unsigned> {};

TEST_P(ShiftByDepth, MatchesReferenceForEveryCount) {
    const unsigned depth = GetParam();
    const int maxCh = depth == OZL_DEPTH_1U ? 1 : 3;
    ErrorCapture errors;
    uint32_t seed = 20;
    for (unsigned s = 0; s <= (depth & 0xFF) + 1; ++s)
        for (int nCh = 1; nCh <= maxCh; nCh += 2)
            for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                SCOPED_TRACE(testing::Message() << "shift " << s << " channels " << nCh
                                                << " order " << order);
                TestImage src(depth, 37, 3, nCh, order), d(depth, 37, 3, nCh, order);
                src.fillRandom(++seed);
                d.fillRandom(++seed);
                if (nCh == 3 || depth == OZL_DEPTH_1U) d.setRoi(0, 5, 1, 30, 2);
                for (auto [fn, op] : {std::pair{ozlLShiftS, Ref::LShift}, {ozlRShiftS, Ref::RShift}}) {
                    const TestImage before = d.clone();
                    fn(src, d, s);
                    expectPixelwise(before, d, src, nullptr, op, s);
                }
                if (HasFailure()) return;
            }
    EXPECT_TRUE(errors.empty());
}

INSTANTIATE_TEST_SUITE_P(IntegerDepths, ShiftByDepth,
                         testing::Values(OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U,
                                         OZL_DEPTH_16S, OZL_DEPTH_32S));

TEST(Shift, ShortcutValues) {
    struct Case {
        unsigned depth;
        double value;
        ShiftFn shift;
        unsigned count;
        double expected;
    };
    const Case cases[] = {
        {OZL_DEPTH_8S, -5, ozlRShiftS, 100, -1}, {OZL_DEPTH_8S, 5, ozlRShiftS, 100, 0},
        {OZL_DEPTH_8U, 255, ozlRShiftS, 8, 0}, {OZL_DEPTH_16S, -32768, ozlRShiftS, 16, -1},
        {OZL_DEPTH_32S, -7, ozlRShiftS, static_cast<unsigned>(-1), -1},
        {OZL_DEPTH_32S, -7, ozlRShiftS, 1, -4}, {OZL_DEPTH_16U, 65535, ozlLShiftS, 16, 0},
        {OZL_DEPTH_16U, 65535, ozlLShiftS, static_cast<unsigned>(-1), 0},
        {OZL_DEPTH_16U, 0x1234, ozlLShiftS, 0, 0x1234},
        {OZL_DEPTH_8S, 0x41, ozlLShiftS, 1, -126},  // bits shifted, no saturation
        {OZL_DEPTH_32S, 3, ozlLShiftS, 31, -2147483648.0},
    };
    ErrorCapture errors;
    // Runs shorter than one vector (the scalar form) and longer ones.
    for (int width : {3, 40})
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << c.depth << " " << c.value << " by " << c.count);
            TestImage src(c.depth, width, 1), d(c.depth, width, 1);
            src.fill(c.value);
            d.fill(77);
            c.shift(src, d, c.count);
            for (int x = 0; x < width; ++x) ASSERT_EQ(d.at(x, 0), c.expected) << "x " << x;
        }
    EXPECT_TRUE(errors.empty());
}

TEST(ShiftRefusals, ReportedByTheShiftOrTheRoutedOperation) {
    ErrorCapture errors;
    TestImage f(OZL_DEPTH_32F, 9, 2), u8(OZL_DEPTH_8U, 9, 2), u16(OZL_DEPTH_16U, 9, 2);
    f.fillRandom(1);
    u16.fillRandom(2);
    const auto fBefore = f.bytes();
    const auto u16Before = u16.bytes();
    struct Case {
        ShiftFn fn;
        OzlImage* src;
        TestImage* dst;
        unsigned count;
        ErrorReport expected;
    };
    const char* no32F = "This function does not support depth 32F";
    const char* depths = "(srcImage->depth != dstImage->depth)";
    const Case cases[] = {
        {ozlLShiftS, nullptr, &u16, 3, {-5, "ozlLShiftS", "srcImage==0", "ozllshs", 40}},
        {ozlRShiftS, nullptr, &u16, 0, {-5, "ozlRShiftS", "srcImage==0", "ozlrshs", 40}},
        {ozlLShiftS, f, &f, 3, {-5, "ozlLShiftS", no32F, "ozllshs", 150}},
        {ozlRShiftS, f, &f, 3, {-5, "ozlRShiftS", no32F, "ozlrshs", 150}},
        {ozlLShiftS, f, &f, 0, {-5, "ozlXorS", no32F, "ozlxors", 150}},
        {ozlLShiftS, f, &f, 40, {-5, "ozlAndS", no32F, "ozlands", 150}},
        {ozlLShiftS, u8, &u16, 2, {-5, "ozlLShiftS", depths, "ozllshs", 110}},
        {ozlRShiftS, u8, &u16, 8, {-5, "ozlAndS", depths, "ozlands", 110}},
        {ozlRShiftS, u8, &u16, 0, {-5, "ozlXorS", depths, "ozlxors", 110}},
        {ozlRShiftS, u16, nullptr, 3, {-9, "ozlRShiftS", "Incorrect Image", "ozlrshs", 101}},
    };
    for (const Case& c : cases) {
        c.fn(c.src, c.dst ? c.dst->get() : nullptr, c.count);
        expectRefused(errors, u16, u16Before, c.expected);
        EXPECT_EQ(f.bytes(), fBefore);
    }
}

}  // namespace
