// Region access, the tile walker and mask combination: the machinery every operation stands on.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "image/mask.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"
#include "support/test_image.hpp"

namespace {

using namespace ozl::image;
using namespace ozl::test;
using Calls = std::vector<TileCall>;

// Clipped at the right and bottom edges only. Offsets and sizes near INT_MAX:
// the excess past the edge used to be computed in int, where it wrapped to a
// positive number and left the region unclipped.
TEST(Region, ClipsAtTheRightAndBottomEdgesNearTheIntLimits) {
    constexpr int kMax = 2147483647;
    const struct { int side, offset, size, clipped; } cases[] = {
        {10, 100, kMax, 10 - 100}, {10, kMax - 5, kMax, 10 - (kMax - 5)}, {1, kMax, kMax, 1 - kMax},
        {10, 3, kMax, 7},          {kMax, kMax - 1, kMax, 1},             {120, 50, 100, 70},
        {120, 130, 5, -10},  // wholly outside: negative in the rectangle, 0 at the start
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.side << " " << c.offset << " " << c.size);
        OzlROI roi{0, c.offset, c.offset, c.size, c.size};
        OzlImage image{};
        image.width = image.height = c.side, image.roi = &roi;
        const Rect r = regionRect(&image);
        EXPECT_EQ(std::make_tuple(r.x, r.y, r.width, r.height), std::make_tuple(c.offset, c.offset, c.clipped, c.clipped));
        const RegionStart s = regionStart(&image, 0);  // no data: no address either
        EXPECT_EQ(std::make_tuple(s.width, s.height), std::make_tuple(std::max(0, c.clipped), std::max(0, c.clipped)));
    }
}

// Addresses compared as void*: a char* would be printed as a string.
const void* at(const void* p) { return p; }

TEST(Region, StartAddressInEveryLayout) {
    TestImage pixel(OZL_DEPTH_16U, 10, 6, 3);
    pixel.setRoi(2, 3, 2, 4, 4);
    EXPECT_EQ(at(regionStart(pixel, 1).data), at(pixel->imageData + 2 * pixel->widthStep + (1 + 3 * 3) * 2));
    TestImage plane(OZL_DEPTH_16S, 10, 6, 3, OZL_DATA_ORDER_PLANE);
    const int step = plane->widthStep;
    plane.setRoi(3, 3, 2, 4, 4);
    const View v = regionView(plane);  // coi 3 selects the third plane
    EXPECT_EQ(std::make_tuple(at(v.data), v.planeStep, v.pixelStride),
              std::make_tuple(at(plane->imageData + 2 * step + step * 6 * 2 + 3 * 2), step * 6, 1));
    // An empty region has no first pixel: NULL, not an address anywhere.
    for (const auto& xy : {std::make_pair(10, 0), std::make_pair(0, 6), std::make_pair(2147483600, 3)}) {
        plane.setRoi(2, xy.first, xy.second, 4, 4);
        const RegionStart s = regionStart(plane, 1);
        EXPECT_EQ(std::make_pair(at(s.data), s.width * s.height), std::make_pair(at(nullptr), 0));
    }
    plane.setRoi(2, 9, 5, 4, 4);  // one pixel left: an address again
    EXPECT_EQ(at(regionStart(plane, 1).data), at(plane->imageData + 5 * step + step * 6 + 9 * 2));
    // 1-bit regions start inside a byte; a tiled image has a size and bit offset but no address.
    TestImage bits(OZL_DEPTH_1U, 40, 3);
    bits.setRoi(0, 13, 1, 10, 2);
    RegionStart s = regionStart(bits, 0);
    EXPECT_EQ(std::make_pair(at(s.data), s.bitOffset), std::make_pair(at(bits->imageData + bits->widthStep + 1), 5));
    TiledImage tiled(OZL_DEPTH_1U, 40, 30, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    tiled.setRoi(0, 13, 7, 10, 5);
    s = regionStart(tiled, 0);
    EXPECT_EQ(std::make_tuple(at(s.data), s.width, s.height, s.bitOffset), std::make_tuple(at(nullptr), 10, 5, 5));
}

// Same size, no ROI on either (a coi of a one-channel image counts as none): the shortcut's test.
TEST(Region, WholeData) {
    TestImage a(OZL_DEPTH_8U, 8, 8), b(OZL_DEPTH_8U, 8, 8), c(OZL_DEPTH_8U, 9, 8);
    EXPECT_EQ((std::vector<bool>{wholeData(a, b, 0), wholeData(a, b, 1), wholeData(a, c, 0)}), (std::vector<bool>{true, false, false}));
    a.setRoi(1, 0, 0, 8, 9);
    EXPECT_TRUE(wholeData(a, b, 0));
    a.setRoi(0, 0, 0, 7, 8);
    EXPECT_FALSE(wholeData(a, b, 0));
}

TEST(TileWalker, VisitsEveryTouchedTileWithFetchAndRelease) {
    TiledImage t(OZL_DEPTH_8U, 40, 24, 1, OZL_DATA_ORDER_PIXEL, 16, 8);
    t.setRoi(0, 5, 3, 20, 10);  // columns 5..24, rows 3..12
    std::vector<std::tuple<int, int, int, int>> pieces;  // x, y, w, h inside the tile
    const TileOperand op{t, TileAccess::Write};
    EXPECT_EQ(walkTiles(&op, 1, nullptr, 20, 10, [&](const Piece& p) {
        const OzlImage* s = p.operand[0];
        EXPECT_EQ(std::make_tuple(at(s->tileInfo), s->width, s->widthStep), std::make_tuple(at(nullptr), 16, 16));
        pieces.emplace_back(s->roi->xOffset, s->roi->yOffset, s->roi->width, s->roi->height);
    }), kWalkDone);
    EXPECT_EQ(pieces, (std::vector<std::tuple<int, int, int, int>>{{5, 3, 11, 5}, {0, 3, 9, 5}, {5, 0, 11, 5}, {0, 0, 9, 5}}));
    EXPECT_EQ(t.calls(), (Calls{{0, 0, 0, 2}, {0, 0, 0, 4}, {0, 1, 0, 2}, {0, 1, 0, 4},
                                {0, 0, 1, 2}, {0, 0, 1, 4}, {0, 1, 1, 2}, {0, 1, 1, 4}}));
}

TEST(TileWalker, PiecesFitTheTilesOfEveryTiledOperand) {
    TiledImage a(OZL_DEPTH_8U, 32, 16, 1, OZL_DATA_ORDER_PIXEL, 8, 8), d(OZL_DEPTH_8U, 32, 16, 1, OZL_DATA_ORDER_PIXEL, 16, 8);
    a.setRoi(0, 4, 0, 24, 8);  // a's columns 4..27 meet d's 0..23
    const TileOperand ops[2] = {{a, TileAccess::Read}, {d, TileAccess::Write}};
    std::vector<int> widths;
    walkTiles(ops, 2, nullptr, 24, 8, [&](const Piece& p) { widths.push_back(p.operand[1]->roi->width); });
    EXPECT_EQ(widths, (std::vector<int>{4, 8, 4, 4, 4}));  // cuts at a's edges 8, 16, 24 and d's 16
    EXPECT_EQ(a.calls().front(), (TileCall{0, 0, 0, 1}));
    EXPECT_EQ(d.calls().front(), (TileCall{0, 0, 0, 2}));
    // The same header twice is fetched once, for writing.
    TiledImage t(OZL_DEPTH_8U, 16, 8, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    const TileOperand same[3] = {{t, TileAccess::Read}, {nullptr, TileAccess::Read}, {t, TileAccess::Write}};
    walkTiles(same, 3, nullptr, 16, 8, [&](const Piece& p) { EXPECT_EQ(p.operand[0], p.operand[2]); });
    EXPECT_EQ(t.calls(), (Calls{{0, 0, 0, 2}, {0, 0, 0, 4}, {0, 1, 0, 2}, {0, 1, 0, 4}}));
}

TEST(TileWalker, StopsAtOnceWhenATileIsMissing) {
    TiledImage a(OZL_DEPTH_8U, 24, 8, 1, OZL_DATA_ORDER_PIXEL, 8, 8), d(OZL_DEPTH_8U, 24, 8, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    d.failFetch(2);
    const TileOperand ops[2] = {{a, TileAccess::Read}, {d, TileAccess::Write}};
    int pieces = 0;
    EXPECT_EQ(walkTiles(ops, 2, nullptr, 24, 8, [&](const Piece&) { ++pieces; }), 1);
    EXPECT_EQ(pieces, 1);
    EXPECT_EQ(d.calls(), (Calls{{0, 0, 0, 2}, {0, 0, 0, 4}, {0, 1, 0, 2}}));
}

TEST(TileWalker, UntiledOperandsAndMasksGetPieceRois) {
    TiledImage d(OZL_DEPTH_8U, 16, 16, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    TestImage src(OZL_DEPTH_8U, 20, 20), mask(OZL_DEPTH_1U, 20, 20);
    src.setRoi(0, 2, 3, 16, 16), mask.setRoi(0, 1, 1, 16, 16);
    const TileOperand ops[2] = {{src, TileAccess::Read}, {d, TileAccess::Write}};
    std::vector<std::tuple<int, int, int, int>> seen;
    walkTiles(ops, 2, mask, 16, 16, [&](const Piece& p) {
        seen.emplace_back(p.operand[0]->roi->xOffset, p.operand[0]->roi->yOffset, p.mask->roi->xOffset, p.mask->roi->yOffset);
        EXPECT_EQ(at(p.operand[0]->imageData), at(src->imageData));
    });
    EXPECT_EQ(seen, (std::vector<std::tuple<int, int, int, int>>{{2, 3, 1, 1}, {10, 3, 9, 1}, {2, 11, 1, 9}, {10, 11, 9, 9}}));
}

TEST(MaskCombination, NoneOneAndTheAndOfSeveral) {
    TestImage m1(OZL_DEPTH_1U, 21, 5), m2(OZL_DEPTH_1U, 30, 6);
    const OzlImage* none[3] = {nullptr, nullptr, nullptr};
    const OzlImage* one[3] = {nullptr, m1, nullptr};
    CombinedMask c = combineMasks(none, 3);
    EXPECT_EQ(std::make_pair(at(c.image), c.flag), std::make_pair(at(nullptr), CombinedMask::Direct));
    c = combineMasks(one, 3);
    EXPECT_EQ(std::make_pair(at(c.image), c.flag), std::make_pair(at(m1), CombinedMask::Direct));
    m1.fillRandom(1), m2.fillRandom(2);
    m2.setRoi(0, 3, 1, 20, 5);  // 20 x 5 at an odd bit offset
    const OzlImage* two[3] = {m1, nullptr, m2};
    c = combineMasks(two, 3);
    ASSERT_EQ(c.flag, CombinedMask::Owned);
    ASSERT_EQ(std::make_pair(c.image->width, c.image->height), std::make_pair(20, 5));  // m1's 5 rows
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 20; ++x)
            EXPECT_EQ(valueOf(c.image, x, y, 0), m1.at(x, y) * m2.at(x + 3, y + 1)) << x << "," << y;
    releaseMask(c);
    EXPECT_EQ(at(c.image), at(nullptr));
    m2.setRoi(0, 30, 0, 5, 5);  // starts past the mask: empty common region
    c = combineMasks(two, 3);
    EXPECT_EQ(std::make_pair(at(c.image), c.flag), std::make_pair(at(nullptr), CombinedMask::Empty));
}

}  // namespace
