// The bordered rectangle fetch: the documented mappings of each mode, the
// 32F rule that every side uses the top constant, and every depth, data
// order, mode combination and rectangle (inside, across corners, far outside,
// larger than the image) against a per-pixel reference, from plain and from
// tiled images alike.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "core/border_fetch.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::core::fetchRect;
using ozl::core::FetchedBlock;
using ozl::core::Rect;
using ozl::test::TestImage;
using ozl::test::TiledImage;

// The value the block holds at (x, y) of the rectangle, channel c.
double blockAt(const OzlImage* image, const FetchedBlock& b, const Rect& r, int x, int y, int c) {
    OzlImage header;
    OzlROI roi;
    ozl::core::wrapBlock(image, b, r, Rect{0, 0, r.width, r.height}, &header, &roi);
    return ozl::test::valueOf(&header, x, y, c);
}

TEST(BorderFetch, DocumentedColumnMappings) {
    EXPECT_EQ(ozl::core::borderIndex(-1, 4, 2), 0);
    const long long mirror[] = {0, 1, 2, 3, 3, 2, 1, 0, 0};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(ozl::core::borderIndex(-1 - i, 4, 2), mirror[i]) << i;
    EXPECT_EQ(ozl::core::borderIndex(-1, 4, 3), 3);
    EXPECT_EQ(ozl::core::borderIndex(-4, 4, 3), 0);
    EXPECT_EQ(ozl::core::borderIndex(-5, 4, 3), 3);
    // Past the bottom or right edge: the edge row first, read backwards.
    const long long below[] = {3, 2, 1, 0, 0, 1};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(ozl::core::borderIndex(4 + i, 4, 2), below[i]) << i;
    EXPECT_EQ(ozl::core::borderIndex(9, 4, 1), 3);
    EXPECT_EQ(ozl::core::borderIndex(7, 4, 3), 3);
}

TEST(BorderFetch, FloatImagesUseTheTopConstantOnEverySide) {
    TestImage im(OZL_DEPTH_32F, 3, 2);
    im.fill(1.0);
    ozlSetBorderMode(im, OZL_BORDER_CONSTANT, OZL_SIDE_ALL, 0);
    ozlSetBorderMode(im, OZL_BORDER_CONSTANT, OZL_SIDE_TOP, 7);
    ozlSetBorderMode(im, OZL_BORDER_CONSTANT, OZL_SIDE_LEFT, 2);
    const Rect r{-1, 0, 2, 1};
    const FetchedBlock b = fetchRect(im, r);
    ASSERT_EQ(b.status, FetchedBlock::Done);
    EXPECT_EQ(blockAt(im, b, r, 0, 0, 0), 7.0);
    EXPECT_EQ(blockAt(im, b, r, 1, 0, 0), 1.0);
    ozlFree(b.data);
}

// Reference of one outside pixel under the documented rules.
double expected(const TestImage& im, long long x, long long y, int c) {
    const OzlImage* h = im.get();
    auto inside = [](long long v, long long n) { return v >= 0 && v < n; };
    const bool rowIn = inside(y, h->height);
    const int side = !rowIn ? (y < 0 ? 0 : 1) : inside(x, h->width) ? -1 : (x < 0 ? 2 : 3);
    if (side < 0) return im.at(static_cast<int>(x), static_cast<int>(y), c);
    const int mode = h->borderMode[side] & 3;
    if (mode == 0) {
        const int32_t k = h->borderConst[h->depth == OZL_DEPTH_32F ? 0 : side];
        switch (h->depth) {
            case OZL_DEPTH_1U: return k & 1;
            case OZL_DEPTH_8U: return static_cast<uint8_t>(k);
            case OZL_DEPTH_8S: return static_cast<int8_t>(k);
            case OZL_DEPTH_16U: return static_cast<uint16_t>(k);
            case OZL_DEPTH_16S: return static_cast<int16_t>(k);
            case OZL_DEPTH_32F: return static_cast<float>(k);
            default: return k;
        }
    }
    const long long ix = ozl::core::borderIndex(x, h->width, mode);
    const long long iy = rowIn ? y : ozl::core::borderIndex(y, h->height, mode);
    return im.at(static_cast<int>(ix), static_cast<int>(iy), c);
}

TEST(BorderFetch, EveryModeDepthAndRectangleAgainstTheReference) {
    const unsigned depths[] = {OZL_DEPTH_1U,  OZL_DEPTH_8U,  OZL_DEPTH_8S, OZL_DEPTH_16U,
                               OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};
    const Rect rects[] = {{1, 1, 3, 2},    {-3, -2, 8, 6},   {-20, 5, 30, 9},
                          {9, -11, 4, 25}, {-13, -9, 40, 30}, {2, 0, 1, 1}};
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
                for (int side = 0; side < 4; ++side) {
                    const int mode = (side + rot) % 4;
                    ozlSetBorderMode(im, mode, 1 << side, 300 * side - 500 + rot);
                    ozlSetBorderMode(tiled, mode, 1 << side, 300 * side - 500 + rot);
                }
                for (const Rect& r : rects)
                    for (const OzlImage* source : {im.get(), tiled.get()}) {
                        SCOPED_TRACE(testing::Message() << "depth " << depth << " order " << order
                                                        << " rot " << rot << " rect " << r.x << ","
                                                        << r.y << " " << r.width << "x" << r.height
                                                        << (source == im.get() ? "" : " tiled"));
                        const FetchedBlock b = fetchRect(source, r);
                        ASSERT_EQ(b.status, FetchedBlock::Done);
                        for (int y = 0; y < r.height; ++y)
                            for (int x = 0; x < r.width; ++x)
                                for (int c = 0; c < nCh; ++c)
                                    ASSERT_EQ(blockAt(im, b, r, x, y, c),
                                              expected(im, r.x + x, r.y + y, c))
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
