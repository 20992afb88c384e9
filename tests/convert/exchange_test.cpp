// ozlExchange: every depth and layout, COI, masks, 1-bit images, tiles, refusals.
#include <gtest/gtest.h>

#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectPixelwise;
using ozl::test::expectRefused;
using ozl::test::TestImage;
using ozl::test::TiledImage;

const auto kSame = [](double a, double) { return a; };

// After the swap each image holds the other's values where selected, its own
// elsewhere: checked with the copy's rule in both directions.
void expectSwapped(const TestImage& aBefore, const TestImage& bBefore, const OzlImage* a,
                   const OzlImage* b, const ozl::test::SelectFn& selected = nullptr) {
    // Views of the old images with the new ones' regions.
    OzlROI ra = a->roi ? *a->roi : OzlROI{0, 0, 0, a->width, a->height};
    OzlROI rb = b->roi ? *b->roi : OzlROI{0, 0, 0, b->width, b->height};
    aBefore->roi = &ra;
    bBefore->roi = &rb;
    expectPixelwise(aBefore, a, bBefore, nullptr, kSame, selected);
    expectPixelwise(bBefore, b, aBefore, nullptr, kSame, selected);
    aBefore->roi = nullptr;
    bBefore->roi = nullptr;
}

TEST(Exchange, EveryDepthAndLayout) {
    ErrorCapture errors;
    uint32_t seed = 1;
    for (unsigned depth : {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_16S, OZL_DEPTH_32F})
        for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
            const int nCh = depth == OZL_DEPTH_1U ? 1 : 4;
            SCOPED_TRACE(testing::Message() << depth << " order " << order);
            TestImage a(depth, 45, 6, nCh, order, nCh == 4), b(depth, 43, 5, nCh, order, nCh == 4);
            a.fillRandom(++seed);
            b.fillRandom(++seed);
            a.setRoi(0, 3, 1, 40, 5);
            b.setRoi(0, 1, 0, 42, 4);
            const TestImage aBefore = a.clone(), bBefore = b.clone();
            ozlExchange(a, b);
            expectSwapped(aBefore, bBefore, a, b);
        }
    // A channel of interest against a one-channel image.
    TestImage rgb(OZL_DEPTH_16U, 9, 4, 3), one(OZL_DEPTH_16U, 9, 4);
    rgb.fillRandom(1);
    one.fillRandom(2);
    rgb.setRoi(2, 0, 0, 9, 4);
    one.setRoi(0, 0, 0, 9, 4);
    const TestImage rgbBefore = rgb.clone(), oneBefore = one.clone();
    ozlExchange(rgb, one);
    OzlROI coi{2, 0, 0, 9, 4};
    rgbBefore->roi = &coi;
    expectPixelwise(oneBefore, one, rgbBefore, nullptr, kSame);
    rgbBefore->roi = nullptr;
    expectPixelwise(rgbBefore, rgb, oneBefore, nullptr, kSame);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Exchange, MasksAndOneBitImages) {
    ErrorCapture errors;
    for (unsigned depth : {OZL_DEPTH_32S, OZL_DEPTH_1U}) {
        TestImage a(depth, 77, 5), b(depth, 77, 5), m1(OZL_DEPTH_1U, 77, 5), m2(OZL_DEPTH_1U, 80, 7);
        a.fillRandom(1);
        b.fillRandom(2);
        m1.fillRandom(3);
        m2.fillRandom(4);
        m2.setRoi(0, 2, 1, 78, 6);
        a.setMask(&m1);
        b.setMask(&m2);
        a.setRoi(0, 3, 0, 70, 5);  // a 1-bit region starting at bit 3
        const TestImage aBefore = a.clone(), bBefore = b.clone();
        ozlExchange(a, b);
        expectSwapped(aBefore, bBefore, a, b,
                      [&](int x, int y) { return m1.at(x, y) && m2.at(x + 2, y + 1); });
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Exchange, TiledImagesFetchedForWriting) {
    ErrorCapture errors;
    for (int kind = 0; kind < 3; ++kind) {  // A tiled, B tiled, both
        SCOPED_TRACE(kind);
        std::vector<ozl::test::TileCall> log;
        TiledImage ta(OZL_DEPTH_8U, 30, 19, 3, OZL_DATA_ORDER_PIXEL, 8, 8, 1, &log);
        TiledImage tb(OZL_DEPTH_8U, 29, 21, 3, OZL_DATA_ORDER_PIXEL, 16, 8, 2, &log);
        // The reference pair (a, b) and the plain side of the tiled call (a1, b1).
        TestImage a(OZL_DEPTH_8U, 30, 19, 3), b(OZL_DEPTH_8U, 29, 21, 3);
        a.fillRandom(1);
        b.fillRandom(2);
        ta.pixels().fillRandom(1);
        tb.pixels().fillRandom(2);
        TestImage a1 = a.clone(), b1 = b.clone();
        ta.setRoi(0, 3, 2, 25, 17);
        a.setRoi(0, 3, 2, 25, 17);
        a1.setRoi(0, 3, 2, 25, 17);
        ozlExchange(kind == 1 ? a1.get() : ta.get(), kind == 0 ? b1.get() : tb.get());
        ozlExchange(a, b);
        EXPECT_EQ((kind == 1 ? a1 : ta.pixels()).bytes(), a.bytes());
        EXPECT_EQ((kind == 0 ? b1 : tb.pixels()).bytes(), b.bytes());
        for (const auto& call : log) EXPECT_NE(call.mode, OZL_GET_TILE_TO_READ);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Exchange, Refusals) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_8U, 6, 3, 3), b(OZL_DEPTH_16U, 6, 3, 3);
    b.fillRandom(1);
    const auto before = b.bytes();
    // Depth and origin both wrong: two reports, then the call gives up.
    b->origin = OZL_ORIGIN_BL;
    ozlExchange(a, b);
    ASSERT_EQ(errors.count(), 2u);
    EXPECT_EQ(errors.reports()[0], (ErrorReport{-5, "ozlExchange", "srcImage->depth != dstImage->depth", "ozlsce", 563}));
    EXPECT_EQ(errors.reports()[1], (ErrorReport{-5, "ozlExchange", "srcImage->origin != dstImage->origin", "ozlsce", 563}));
    EXPECT_EQ(b.bytes(), before);
    errors.clear();

    TestImage plane(OZL_DEPTH_8U, 6, 3, 3, OZL_DATA_ORDER_PLANE), one(OZL_DEPTH_8U, 6, 3);
    plane.fillRandom(2);
    auto planeBefore = plane.bytes();
    ozlExchange(a, plane);
    expectRefused(errors, plane, planeBefore, {-5, "ozlExchange", "srcImage->dataOrder != dstImage->dataOrder", "ozlsce", 563});
    ozlExchange(one, a);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlExchange", "Number of processed channels of srcImage != Number of processed channels of dstImage", "ozlsce", 566}));
    errors.clear();
    TestImage bad(OZL_DEPTH_8U, 6, 3);
    bad->imageData = nullptr;
    ozlExchange(bad, plane);
    expectRefused(errors, plane, planeBefore, {-12, "ozlExchange", "Incorrect Image", "ozlsce", 561});
    ozlExchange(plane, bad);
    expectRefused(errors, plane, planeBefore, {-12, "ozlExchange", "Incorrect Image", "ozlsce", 562});

    // The same header twice changes nothing; a stale negative status does not stop the swap.
    ozlSetErrStatus(OZL_StsBadArg);
    ozlExchange(plane, plane);
    EXPECT_EQ(plane.bytes(), planeBefore);
    TestImage c(OZL_DEPTH_8U, 6, 3, 3, OZL_DATA_ORDER_PLANE);
    c.fill(7);
    const TestImage planeCopy = plane.clone();
    ozlExchange(plane, c);
    expectPixelwise(planeCopy, c, planeCopy, nullptr, kSame);
    EXPECT_TRUE(errors.empty());

    TiledImage tb(OZL_DEPTH_8U, 6, 3, 3, OZL_DATA_ORDER_PLANE, 8, 8);
    tb.failFetch(1);
    planeBefore = plane.bytes();
    ozlExchange(plane, tb);
    expectRefused(errors, plane, planeBefore, {-2, "ozlExchange", "Error get tile to write", "ozlsce", 643});
}

}  // namespace
