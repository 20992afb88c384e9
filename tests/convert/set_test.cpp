// ozlSet, ozlSetFP: clamping per depth, regions, COI, masks, tiles, reports.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
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

auto constant(double v) {
    return [v](double, double) { return v; };
}

TEST(Set, ClampsToTheDepthAndKeepsRowPadding) {
    struct Case {
        unsigned depth;
        int value;
        double stored;
    };
    const Case cases[] = {
        {OZL_DEPTH_8U, 300, 255}, {OZL_DEPTH_8U, -7, 0}, {OZL_DEPTH_8U, 17, 17},
        {OZL_DEPTH_8S, 200, 127}, {OZL_DEPTH_8S, -200, -128}, {OZL_DEPTH_16U, 70000, 65535},
        {OZL_DEPTH_16U, -1, 0}, {OZL_DEPTH_16S, 40000, 32767}, {OZL_DEPTH_16S, -40000, -32768},
        {OZL_DEPTH_32S, -2147483647 - 1, -2147483648.0}, {OZL_DEPTH_32S, 2147483647, 2147483647},
        {OZL_DEPTH_1U, 5, 1}, {OZL_DEPTH_1U, -3, 0},
    };
    ErrorCapture errors;
    for (const Case& c : cases)
        for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
            SCOPED_TRACE(testing::Message() << c.depth << " " << c.value << " order " << order);
            const int nCh = c.depth == OZL_DEPTH_1U ? 1 : 3;
            TestImage image(c.depth, 37, 3, nCh, order);
            image.fillRandom(static_cast<uint32_t>(c.value));
            TestImage expected = image.clone();
            expected.fill(c.stored);
            ozlSet(image, c.value);
            EXPECT_EQ(image.bytes(), expected.bytes());
        }
    EXPECT_TRUE(errors.empty());
}

TEST(Set, RegionsAndChannelOfInterest) {
    ErrorCapture errors;
    for (unsigned depth : {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32S}) {
        SCOPED_TRACE(depth);
        TestImage image(depth, 45, 6);
        image.fillRandom(1);
        // Starting at or past the right or bottom edge: nothing written, nothing reported.
        image.setRoi(0, 45, 0, 3, 3);
        TestImage before = image.clone();
        ozlSet(image, 1);
        image.setRoi(0, 0, 6, 3, 3);
        ozlSet(image, 1);
        EXPECT_EQ(image.bytes(), before.bytes());
        // Reaching past the edges: cut there. Starting inside a byte for 1U.
        image.setRoi(0, 13, 2, 100, 100);
        ozlSet(image, 1);
        ozl::test::expectPixelwise(before, image, nullptr, nullptr, constant(1));
    }
    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
        TestImage image(OZL_DEPTH_16U, 33, 4, 3, order);
        image.fillRandom(2);
        image.setRoi(2, 0, 0, 33, 4);  // channel 2 only
        TestImage before = image.clone();
        ozlSet(image, 4321);
        ozl::test::expectPixelwise(before, image, nullptr, nullptr, constant(4321));
        image.setRoi(3, 5, 1, 20, 2);  // channel 3 of a region
        before = image.clone();
        ozlSet(image, 99999);
        ozl::test::expectPixelwise(before, image, nullptr, nullptr, constant(65535));
    }
    EXPECT_TRUE(errors.empty());
}

// Masked fills at several depths; 1-bit images go through the logic operations,
// which must leave the mask as it was.
TEST(Set, MaskedFill) {
    ErrorCapture errors;
    ozlSetErrStatus(OZL_StsOk);  // a status left by earlier tests would add a backtrace
    struct Config {
        unsigned depth;
        int nCh, order, value;
        double stored;
    };
    for (Config c : {Config{OZL_DEPTH_8U, 3, 0, 200, 200}, Config{OZL_DEPTH_16U, 3, 1, 200, 200},
                     Config{OZL_DEPTH_32S, 3, 0, 200, 200}, Config{OZL_DEPTH_8U, 3, 1, -3, 0},
                     Config{OZL_DEPTH_1U, 1, 0, 0, 0}, Config{OZL_DEPTH_1U, 1, 0, 1, 1}}) {
        SCOPED_TRACE(testing::Message() << c.depth << " order " << c.order << " value " << c.value);
        TestImage image(c.depth, 70, 5, c.nCh, c.order), mask(OZL_DEPTH_1U, 75, 5);
        image.fillRandom(3);
        mask.fillRandom(4);
        mask.setRoi(0, 5, 1, 70, 4);
        image.setRoi(0, 13, 0, 50, 5);
        image.setMask(&mask);
        const TestImage before = image.clone();
        const auto maskBefore = mask.bytes();
        ozlSet(image, c.value);
        ozl::test::expectPixelwise(
            before, image, nullptr, nullptr, constant(c.stored),
            [&](int x, int y) { return mask.at(x + 5, y + 1) != 0; }, 70, 4);
        EXPECT_EQ(mask.bytes(), maskBefore);
        EXPECT_EQ(image->maskROI, mask.get());
    }
    EXPECT_TRUE(errors.empty());
    // A negative status left from an earlier failure gives a backtrace line.
    TestImage image(OZL_DEPTH_1U, 16, 1), mask(OZL_DEPTH_1U, 16, 1);
    image.setMask(&mask);
    ozlSetErrStatus(OZL_StsBadArg);
    ozlSet(image, 1);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBackTrace, "ozlSet", "", "ozlsce", 433}));
    ozlSetErrStatus(OZL_StsOk);
}

TEST(SetFP, WritesTheFloatBitsAndRestoresTheDepth) {
    ErrorCapture errors;
    ozlSetErrStatus(OZL_StsOk);
    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
        TestImage image(OZL_DEPTH_32F, 19, 3, 2, order);
        image.fillRandom(7);
        image.setRoi(2, 1, 1, 17, 2);
        const TestImage before = image.clone();
        ozlSetFP(image, -1.5e-3f);
        EXPECT_EQ(image->depth, OZL_DEPTH_32F);
        ozl::test::expectPixelwise(before, image, nullptr, nullptr,
                                   constant(static_cast<double>(-1.5e-3f)));
        // A value that no integer clamp may touch: a quiet NaN's bits.
        uint32_t nanBits = 0x7FC12345u;
        float nan;
        std::memcpy(&nan, &nanBits, 4);
        image.clearRoi();
        ozlSetFP(image, nan);
        for (int x = 0; x < 19; ++x) {
            uint32_t bits;
            std::memcpy(&bits, image->imageData + 4 * x * (order == 0 ? 2 : 1), 4);
            EXPECT_EQ(bits, nanBits) << x;  // row 0, channel 0, read as stored
        }
    }
    EXPECT_TRUE(errors.empty());
}

TEST(SetRefusals, ExactReports) {
    ErrorCapture errors;
    TestImage u8(OZL_DEPTH_8U, 9, 2), f(OZL_DEPTH_32F, 9, 2);
    u8.fillRandom(1);
    f.fillRandom(2);
    const auto u8Before = u8.bytes();
    const auto fBefore = f.bytes();
    auto expectOnly = [&](std::vector<ErrorReport> expected) {
        EXPECT_EQ(errors.reports(), expected);
        EXPECT_EQ(u8.bytes(), u8Before);
        EXPECT_EQ(f.bytes(), fBefore);
        EXPECT_EQ(f->depth, OZL_DEPTH_32F);
        errors.clear();
    };
    ozlSetFP(u8, 1.0f);
    expectOnly({{-17, "ozlSetFP", "You should use ozlSet for this image", "ozlsce", 944}});
    ozlSet(f, 1);
    expectOnly({{-17, "ozlSet", "You should use ozlSetFP for this image", "ozlsce", 397}});
    ozlSetFP(nullptr, 1.0f);
    expectOnly({{-5, "ozlSetFP", "dstImage==0", "ozlsce", 942}});
    ozlSet(nullptr, 1);
    expectOnly({{-9, "ozlSet", "Incorrect Image", "ozlsce", 395}});
    // A header fault inside ozlSetFP is ozlSet's report plus a backtrace line.
    f.setRoi(2, 0, 0, 9, 2);
    ozlSetFP(f, 1.0f);
    expectOnly({{-24, "ozlSet", "Incorrect Image", "ozlsce", 395},
                {-1, "ozlSetFP", "", "ozlsce", 947}});
    f.clearRoi();
    // A negative status left from before also gives the backtrace; the fill is done.
    ozlSetErrStatus(OZL_StsNoMem);
    ozlSetFP(f, 2.5f);
    EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{{-1, "ozlSetFP", "", "ozlsce", 947}}));
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsNoMem);
    EXPECT_EQ(f.at(8, 1), 2.5);
    ozlSetErrStatus(OZL_StsOk);
}

TEST(SetTiles, FillsTileByTileForWriting) {
    ErrorCapture errors;
    TiledImage tiled(OZL_DEPTH_8U, 30, 20, 3, OZL_DATA_ORDER_PIXEL, 16, 8);
    TestImage plain(OZL_DEPTH_8U, 30, 20, 3);
    tiled.pixels().fillRandom(8);
    plain.fillRandom(8);
    tiled.setRoi(2, 5, 3, 20, 10);  // tiles (0..1, 0..1), channel 2
    plain.setRoi(2, 5, 3, 20, 10);
    ozlSet(tiled, 77);
    ozlSet(plain, 77);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(tiled.pixels().bytes(), plain.bytes());
    const std::vector<TileCall> expected = {{0, 0, 0, 2}, {0, 0, 0, 4}, {0, 1, 0, 2}, {0, 1, 0, 4},
                                            {0, 0, 1, 2}, {0, 0, 1, 4}, {0, 1, 1, 2}, {0, 1, 1, 4}};
    EXPECT_EQ(tiled.calls(), expected);

    // The third tile cannot be had: report, stop; the first two stay filled.
    TiledImage failing(OZL_DEPTH_16S, 40, 8, 1, OZL_DATA_ORDER_PLANE, 16, 8);
    failing.pixels().fill(-1);
    failing.failFetch(3);
    ozlSet(failing, 1000);
    EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{
                                    {-2, "ozlSet", "Error get tile to write", "ozlsce", 503}}));
    for (int x = 0; x < 40; ++x) EXPECT_EQ(failing.pixels().at(x, 7), x < 32 ? 1000 : -1);
    EXPECT_EQ(failing.calls().size(), 5u);
}

}  // namespace
