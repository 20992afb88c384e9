// ozlCopy: every depth and layout, channel of interest, agreement reports,
// shortcuts, mask choices, the three tiled walks and their failures.
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

TEST(Copy, EveryDepthAndLayout) {
    ErrorCapture errors;
    uint32_t seed = 1;
    for (unsigned depth : {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S,
                           OZL_DEPTH_32S, OZL_DEPTH_32F})
        for (int nCh : {1, 3, 4})
            for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                if (depth == OZL_DEPTH_1U && nCh > 1) continue;
                SCOPED_TRACE(testing::Message() << "depth " << depth << " nCh " << nCh << " order " << order);
                const bool alpha = nCh == 4;  // the alpha channel is not copied
                TestImage s(depth, 45, 6, nCh, order, alpha), d(depth, 43, 5, nCh, order, alpha);
                s.fillRandom(++seed);
                d.fillRandom(++seed);
                s.setRoi(0, 3, 1, 40, 5);
                d.setRoi(0, 1, 0, 42, 4);
                const TestImage before = d.clone();
                ozlSetErrStatus(OZL_StsOk);
                ozlCopy(s, d);
                expectPixelwise(before, d, s, nullptr, kSame);
            }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Copy, ChannelOfInterestIntoOneChannel) {
    ErrorCapture errors;
    TestImage s(OZL_DEPTH_16U, 9, 4, 3), d(OZL_DEPTH_16U, 9, 4, 1);
    s.fillRandom(1);
    d.fillRandom(2);
    s.setRoi(2, 0, 0, 9, 4);
    const TestImage before = d.clone();
    ozlSetErrStatus(OZL_StsOk);  // a status left negative stops the copy
    ozlCopy(s, d);
    expectPixelwise(before, d, s, nullptr, kSame);
    EXPECT_TRUE(errors.empty());
}

TEST(Copy, AgreementReportsAndShortcuts) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_8U, 6, 3, 3), b(OZL_DEPTH_16U, 6, 3, 3);
    b.fillRandom(1);
    auto before = b.bytes();
    // Depth and origin both wrong: two reports, one call.
    b->origin = OZL_ORIGIN_BL;
    ozlSetErrStatus(OZL_StsOk);
    ozlCopy(a, b);
    EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{
                                    {-5, "ozlCopy", "srcImage->depth != dstImage->depth", "ozlsce", 63},
                                    {-5, "ozlCopy", "srcImage->origin != dstImage->origin", "ozlsce", 63}}));
    EXPECT_EQ(ozlGetErrStatus(), -5);
    EXPECT_EQ(b.bytes(), before);
    errors.clear();

    TestImage plane(OZL_DEPTH_8U, 6, 3, 3, OZL_DATA_ORDER_PLANE), one(OZL_DEPTH_8U, 6, 3, 1, OZL_DATA_ORDER_PLANE);
    before = plane.bytes();
    ozlSetErrStatus(OZL_StsOk);
    ozlCopy(a, plane);
    expectRefused(errors, plane, before, {-5, "ozlCopy", "srcImage->dataOrder != dstImage->dataOrder", "ozlsce", 63});
    TestImage pixOne(OZL_DEPTH_8U, 6, 3, 1);
    ozlSetErrStatus(OZL_StsOk);
    ozlCopy(pixOne, one);  // one channel each: the data orders may differ
    EXPECT_TRUE(errors.empty());

    before = pixOne.bytes();
    ozlCopy(a, pixOne);
    expectRefused(errors, pixOne, before,
                  {-5, "ozlCopy", "Number of processed channels of srcImage != Number of processed channels of dstImage",
                   "ozlsce", 281});

    // A status left negative stops the copy after the agreements; the same
    // header as both images returns at once and leaves the status as it is.
    a.fillRandom(3);
    TestImage c(OZL_DEPTH_8U, 6, 3, 3);
    before = c.bytes();
    ozlCopy(a, c);
    EXPECT_EQ(c.bytes(), before);
    ozlSetErrStatus(OZL_StsOk);
    ozlCopy(a, a);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsOk);
    EXPECT_TRUE(errors.empty());

    TestImage bad(OZL_DEPTH_8U, 6, 3);
    bad->imageData = nullptr;
    ozlCopy(bad, c);
    expectRefused(errors, c, before, {-12, "ozlCopy", "Incorrect Image", "ozlsce", 61});
    ozlCopy(c, bad);
    expectRefused(errors, c, before, {-12, "ozlCopy", "Incorrect Image", "ozlsce", 62});
}

TEST(Copy, Masks) {
    ErrorCapture errors;
    TestImage s(OZL_DEPTH_32S, 77, 5, 2), d(OZL_DEPTH_32S, 77, 5, 2);
    TestImage m1(OZL_DEPTH_1U, 77, 5), m2(OZL_DEPTH_1U, 80, 7);
    s.fillRandom(1);
    d.fillRandom(2);
    m1.fillRandom(3);
    m2.fillRandom(4);
    s.setMask(&m1);
    TestImage before = d.clone();
    ozlSetErrStatus(OZL_StsOk);
    ozlCopy(s, d);
    expectPixelwise(before, d, s, nullptr, kSame, [&](int x, int y) { return m1.at(x, y) != 0; });

    // Different masks: ANDed, each at its own region.
    m2.setRoi(0, 2, 1, 78, 6);
    d.setMask(&m2);
    d.fillRandom(5);
    before = d.clone();
    ozlCopy(s, d);
    expectPixelwise(before, d, s, nullptr, kSame,
                    [&](int x, int y) { return m1.at(x, y) && m2.at(x + 2, y + 1); });
    EXPECT_TRUE(errors.empty());

    // A 1-bit destination: (dst AND NOT mask) OR (src AND mask), masks left in place.
    TestImage bs(OZL_DEPTH_1U, 61, 4), bd(OZL_DEPTH_1U, 61, 4), bm(OZL_DEPTH_1U, 64, 4);
    bs.fillRandom(6);
    bd.fillRandom(7);
    bm.fillRandom(8);
    bm.setRoi(0, 3, 0, 61, 4);
    bd.setRoi(0, 5, 1, 50, 3);
    bd.setMask(&bm);
    const TestImage bdBefore = bd.clone();
    const auto maskBytes = bm.bytes();
    ozlCopy(bs, bd);
    EXPECT_EQ(bd->maskROI, bm.get());
    EXPECT_EQ(bs->maskROI, nullptr);
    EXPECT_EQ(bm.bytes(), maskBytes);
    expectPixelwise(bdBefore, bd, bs, nullptr, kSame, [&](int x, int y) { return bm.at(x + 3, y) != 0; });
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Copy, TiledWalks) {
    ErrorCapture errors;
    for (int kind = 0; kind < 3; ++kind) {  // destination tiled, source tiled, both
        SCOPED_TRACE(kind);
        TiledImage ts(OZL_DEPTH_8U, 30, 19, 3, OZL_DATA_ORDER_PIXEL, 8, 8, 1);
        TiledImage td(OZL_DEPTH_8U, 29, 21, 3, OZL_DATA_ORDER_PIXEL, 16, 8, 2);
        TestImage s(OZL_DEPTH_8U, 30, 19, 3), d(OZL_DEPTH_8U, 29, 21, 3);
        ts.pixels().fillRandom(1);
        s.fillRandom(1);
        td.pixels().fillRandom(2);
        d.fillRandom(2);
        OzlImage* src = kind == 0 ? s.get() : ts.get();
        OzlImage* dst = kind == 1 ? d.get() : td.get();
        TestImage& out = kind == 1 ? d : td.pixels();
        const TestImage before = out.clone();
        ts.setRoi(0, 3, 2, 25, 17);
        s.setRoi(0, 3, 2, 25, 17);
        ozlSetErrStatus(OZL_StsOk);
        ozlCopy(src, dst);
        expectPixelwise(before, out, s, nullptr, kSame);
        EXPECT_TRUE(errors.empty()) << errors.last();
    }

    // Each walk's failure, with its message and line.
    struct Failing {
        int kind, failing;
        ErrorReport want;
    };
    const Failing cases[] = {
        {0, 2, {-2, "ozlCopy", "Error get tile to write", "ozlsce", 243}},
        {1, 1, {-2, "ozlCopy", "Error get tile to read", "ozlsce", 255}},
        {2, 1, {-1, "ozlCopy", "", "ozlsce", 249}},
    };
    for (const Failing& f : cases) {
        TiledImage ts(OZL_DEPTH_16S, 20, 20, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
        TiledImage td(OZL_DEPTH_16S, 20, 20, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
        TestImage s(OZL_DEPTH_16S, 20, 20), d(OZL_DEPTH_16S, 20, 20);
        (f.kind == 0 ? td : ts).failFetch(f.failing);
        ozlSetErrStatus(OZL_StsOk);
        ozlCopy(f.kind == 0 ? s.get() : ts.get(), f.kind == 1 ? d.get() : td.get());
        ASSERT_FALSE(errors.empty());
        EXPECT_EQ(errors.last(), f.want);
        errors.clear();
    }
}

}  // namespace
