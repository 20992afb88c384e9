// The bordered rectangle fetch: every depth, data order, mode combination and
// rectangle (inside, across corners, several periods outside, larger than the
// image) against the per-pixel border rules, from plain and tiled images alike;
// 32F uses the top constant on every side.
#include <gtest/gtest.h>

#include "core/border_fetch.hpp"
#include "support/neighbourhood_check.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::core::fetchRect;
using ozl::core::FetchedBlock;
using ozl::core::Rect;
using ozl::test::TestImage;
using ozl::test::TiledImage;

TEST(BorderFetch, EveryModeDepthAndRectangleAgainstTheRules) {
    const unsigned depths[] = {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};
    const Rect rects[] = {{1, 1, 3, 2}, {-3, -2, 8, 6}, {-20, 5, 30, 9}, {9, -11, 4, 25}, {-13, -9, 40, 30}, {2, 0, 1, 1}};
    uint32_t seed = 1;
    for (unsigned depth : depths)
        for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
            const int nCh = depth == OZL_DEPTH_1U ? 1 : 3;
            if (depth == OZL_DEPTH_1U && order == OZL_DATA_ORDER_PLANE) continue;
            TiledImage tiled(depth, 11, 9, nCh, order, 8, 8);
            TestImage& im = tiled.pixels();
            im.fillRandom(++seed);
            // Each side its own mode and constant; every mode on every side over the loop.
            for (int rot = 0; rot < 4; ++rot) {
                for (int side = 0; side < 4; ++side)
                    for (OzlImage* target : {im.get(), tiled.get()})
                        ozlSetBorderMode(target, (side + rot) % 4, 1 << side, 300 * side - 500 + rot);
                for (const Rect& r : rects)
                    for (const OzlImage* source : {im.get(), tiled.get()}) {
                        SCOPED_TRACE(testing::Message() << "depth " << depth << " order " << order << " rot " << rot << " rect "
                                                        << r.x << "," << r.y << " " << r.width << "x" << r.height
                                                        << (source == im.get() ? "" : " tiled"));
                        const FetchedBlock b = fetchRect(source, r);
                        ASSERT_EQ(b.status, FetchedBlock::Done);
                        OzlImage block;
                        OzlROI roi;
                        ozl::core::wrapBlock(im, b, r, Rect{0, 0, r.width, r.height}, &block, &roi);
                        for (int y = 0; y < r.height; ++y)
                            for (int x = 0; x < r.width; ++x)
                                for (int c = 0; c < nCh; ++c)
                                    ASSERT_EQ(ozl::test::valueOf(&block, x, y, c),
                                              ozl::test::borderedValue(im, r.x + x, r.y + y, c, nullptr, false))
                                        << "at " << x << "," << y << " channel " << c;
                        ozlFree(b.data);
                    }
            }
        }
}

TEST(BorderFetch, TileFailureReleasesAndReports) {
    TiledImage tiled(OZL_DEPTH_8U, 20, 20, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    tiled.failFetch(2);
    const FetchedBlock b = fetchRect(tiled, Rect{0, 0, 20, 20});
    EXPECT_EQ(b.status, FetchedBlock::TileFailed);
    EXPECT_EQ(b.data, nullptr);
}

}  // namespace
