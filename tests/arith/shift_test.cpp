// ozlLShiftS, ozlRShiftS: every depth against a reference, the routed
// shortcuts (copy, all zero, sign fill) and refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::TestImage;

const unsigned kDepths[] = {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S,
                            OZL_DEPTH_32S};

int bitsOf(unsigned depth) { return depth & 0xFF; }

// Left: the stored bits shifted, no saturation. Right: floor division, which
// is the arithmetic shift for signed values and the logical one otherwise.
double shiftedLeft(unsigned depth, double v, unsigned s) {
    const int bits = bitsOf(depth);
    const uint64_t mask = (uint64_t{1} << bits) - 1;
    const uint64_t u = (static_cast<uint64_t>(static_cast<int64_t>(v)) << s) & mask;
    if ((depth & OZL_DEPTH_SIGN) && (u >> (bits - 1)) & 1)
        return static_cast<double>(static_cast<int64_t>(u) - (int64_t{1} << bits));
    return static_cast<double>(u);
}

double shiftedRight(double v, unsigned s) { return std::floor(v / std::ldexp(1.0, s)); }

class ShiftByDepth : public testing::TestWithParam<unsigned> {};

TEST_P(ShiftByDepth, MatchesReferenceForEveryCount) {
    const unsigned depth = GetParam();
    ErrorCapture errors;
    uint32_t seed = 20;
    for (unsigned s = 0; s <= static_cast<unsigned>(bitsOf(depth)) + 1; ++s)
        for (int nCh : {1, 3})
            for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                SCOPED_TRACE(testing::Message() << "shift " << s << " channels " << nCh
                                                << " order " << order);
                TestImage src(depth, 37, 3, nCh, order), d(depth, 37, 3, nCh, order);
                src.fillRandom(++seed);
                d.fillRandom(++seed);
                if (nCh == 3) d.setRoi(0, 5, 1, 30, 2);
                TestImage before = d.clone();
                ozlLShiftS(src, d, s);
                ozl::test::expectPixelwise(before, d, src, nullptr, [&](double v, double) {
                    return s >= static_cast<unsigned>(bitsOf(depth)) ? 0 : shiftedLeft(depth, v, s);
                });
                before = d.clone();
                ozlRShiftS(src, d, s);
                // Counts past the width: 0 for unsigned values, the sign for signed ones.
                const unsigned clipped = std::min<unsigned>(s, bitsOf(depth) - 1);
                ozl::test::expectPixelwise(before, d, src, nullptr, [&](double v, double) {
                    if (s >= static_cast<unsigned>(bitsOf(depth)))
                        return (depth & OZL_DEPTH_SIGN) ? shiftedRight(v, clipped) : 0.0;
                    return shiftedRight(v, s);
                });
                if (HasFailure()) return;
            }
    EXPECT_TRUE(errors.empty());
}

INSTANTIATE_TEST_SUITE_P(IntegerDepths, ShiftByDepth, testing::ValuesIn(kDepths));

TEST(Shift, ShortcutValues) {
    ErrorCapture errors;
    auto oneValue = [](unsigned depth, double v, void (*shift)(OzlImage*, OzlImage*, unsigned),
                       unsigned count) {
        TestImage src(depth, 40, 1), d(depth, 40, 1);
        src.fill(v);
        d.fill(77);
        shift(src, d, count);
        for (int x = 1; x < 40; ++x) EXPECT_EQ(d.at(x, 0), d.at(0, 0));
        return d.at(0, 0);
    };
    EXPECT_EQ(oneValue(OZL_DEPTH_8S, -5, ozlRShiftS, 100), -1);
    EXPECT_EQ(oneValue(OZL_DEPTH_8S, 5, ozlRShiftS, 100), 0);
    EXPECT_EQ(oneValue(OZL_DEPTH_8U, 255, ozlRShiftS, 8), 0);
    EXPECT_EQ(oneValue(OZL_DEPTH_16S, -32768, ozlRShiftS, 16), -1);
    EXPECT_EQ(oneValue(OZL_DEPTH_32S, -7, ozlRShiftS, static_cast<unsigned>(-1)), -1);
    EXPECT_EQ(oneValue(OZL_DEPTH_32S, -7, ozlRShiftS, 1), -4);
    EXPECT_EQ(oneValue(OZL_DEPTH_16U, 65535, ozlLShiftS, 16), 0);
    EXPECT_EQ(oneValue(OZL_DEPTH_16U, 65535, ozlLShiftS, static_cast<unsigned>(-1)), 0);
    EXPECT_EQ(oneValue(OZL_DEPTH_16U, 0x1234, ozlLShiftS, 0), 0x1234);
    EXPECT_EQ(oneValue(OZL_DEPTH_8S, 0x41, ozlLShiftS, 1), -126);  // bits shifted, no saturation
    EXPECT_EQ(oneValue(OZL_DEPTH_32S, 3, ozlLShiftS, 31), -2147483648.0);
    EXPECT_TRUE(errors.empty());

    // 1-bit images: any count clears the region's bits, 0 copies them; bits
    // outside the region stay.
    TestImage src(OZL_DEPTH_1U, 30, 2), d(OZL_DEPTH_1U, 30, 2);
    src.fillRandom(1);
    d.fillRandom(2);
    d.setRoi(0, 3, 0, 11, 2);
    TestImage before = d.clone();
    ozlRShiftS(src, d, 0);
    ozl::test::expectPixelwise(before, d, src, nullptr, [](double v, double) { return v; });
    before = d.clone();
    ozlLShiftS(src, d, 1);
    ozl::test::expectPixelwise(before, d, src, nullptr, [](double, double) { return 0.0; });
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
        void (*fn)(OzlImage*, OzlImage*, unsigned);
        OzlImage* src;
        TestImage* dst;
        unsigned count;
        ErrorReport expected;
    };
    const char* no32F = "This function does not support depth 32F";
    const Case cases[] = {
        {ozlLShiftS, nullptr, &u16, 3, {-5, "ozlLShiftS", "srcImage==0", "ozllshs", 0}},
        {ozlRShiftS, nullptr, &u16, 0, {-5, "ozlRShiftS", "srcImage==0", "ozlrshs", 0}},
        {ozlLShiftS, f, &f, 3, {-5, "ozlLShiftS", no32F, "ozllshs", 0}},
        {ozlRShiftS, f, &f, 3, {-5, "ozlRShiftS", no32F, "ozlrshs", 0}},
        {ozlLShiftS, f, &f, 0, {-5, "ozlXorS", no32F, "ozlxors", 0}},
        {ozlLShiftS, f, &f, 40, {-5, "ozlAndS", no32F, "ozlands", 0}},
        {ozlLShiftS, u8, &u16, 2, {-5, "ozlLShiftS", "(srcImage->depth != dstImage->depth)", "ozllshs", 0}},
        {ozlRShiftS, u8, &u16, 8, {-5, "ozlAndS", "(srcImage->depth != dstImage->depth)", "ozlands", 0}},
        {ozlRShiftS, u8, &u16, 0, {-5, "ozlXorS", "(srcImage->depth != dstImage->depth)", "ozlxors", 0}},
        {ozlRShiftS, u16, nullptr, 3, {-9, "ozlRShiftS", "Incorrect Image", "ozlrshs", 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.expected);
        c.fn(c.src, c.dst ? c.dst->get() : nullptr, c.count);
        ASSERT_EQ(errors.count(), 1u);
        ErrorReport expected = c.expected;
        expected.line = errors.last().line;
        EXPECT_EQ(errors.last(), expected);
        EXPECT_EQ(f.bytes(), fBefore);
        EXPECT_EQ(u16.bytes(), u16Before);
        errors.clear();
    }
}

}  // namespace
