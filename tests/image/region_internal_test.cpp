// Region access, the tile walker and mask combination: the machinery every
// operation stands on.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <tuple>
#include <vector>

#include "image/mask.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"
#include "ozl.h"

namespace {

using namespace ozl::image;

struct Header {
    OzlImage* image;
    Header(int nChannels, uint32_t depth, int width, int height, int order = 0, int alpha = 0)
        : image(ozlCreateImageHeader(nChannels, alpha, depth, "RGB", "BGR", order, 0, 4, width,
                                     height, nullptr, nullptr, nullptr, nullptr)) {
        if (depth == OZL_DEPTH_32F)
            ozlAllocateImageFP(image, 1, 0.0f);
        else
            ozlAllocateImage(image, 1, 0);
    }
    ~Header() { ozlDeallocate(image, OZL_IMAGE_ALL); }
    void roi(int coi, int x, int y, int w, int h) {
        ozlDeleteROI(image->roi);
        image->roi = ozlCreateROI(coi, x, y, w, h);
    }
};

TEST(Region, ClipsAtTheRightAndBottomEdgesOnly) {
    Header h(1, OZL_DEPTH_8U, 120, 40);
    h.roi(0, 50, 30, 100, 5);
    const Rect r = regionRect(h.image);
    EXPECT_EQ(std::make_tuple(r.x, r.y, r.width, r.height), std::make_tuple(50, 30, 70, 5));
    h.roi(0, 130, 45, 5, 5);  // wholly outside: negative in the rectangle, 0 at the start
    EXPECT_EQ(regionRect(h.image).width, -10);  // 5 + (120 - 130 - 5)
    EXPECT_EQ(regionStart(h.image, 0).width, 0);
    EXPECT_EQ(regionStart(h.image, 0).height, 0);
}

// ROIs that pass the header check with offsets or sizes near INT_MAX: the excess
// past the edge used to be computed in int, where it wrapped to a positive
// number and left the region unclipped.
TEST(Region, ClipsRegionsNearTheIntLimits) {
    constexpr int kMax = 2147483647;
    const struct { int side, offset, size, clipped; } cases[] = {
        {10, 100, kMax, 10 - 100},                  // size at the limit, past the edge
        {10, kMax - 5, kMax, 10 - (kMax - 5)},      // both at the limit
        {1, kMax, kMax, 1 - kMax},
        {10, 3, kMax, 7},                           // size at the limit, inside
        {kMax, kMax - 1, kMax, 1},                  // image at the limit too
        {120, 50, 100, 70},                         // the ordinary case, for reference
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.side << " " << c.offset << " " << c.size);
        OzlROI roi{0, c.offset, c.offset, c.size, c.size};
        OzlImage image{};
        image.width = image.height = c.side;
        image.roi = &roi;
        const Rect r = regionRect(&image);
        EXPECT_EQ(std::make_tuple(r.x, r.y, r.width, r.height),
                  std::make_tuple(c.offset, c.offset, c.clipped, c.clipped));
        const RegionStart s = regionStart(&image, 0);  // no data: no address either
        EXPECT_EQ(std::make_tuple(s.width, s.height), std::make_tuple(std::max(0, c.clipped), std::max(0, c.clipped)));
    }
}

// A tiled image has no imageData, and an empty region no first pixel: the start
// used to be NULL or imageData plus an offset that may lie anywhere (undefined
// behaviour either way); it is NULL, with the size and bit offset still given.
TEST(Region, NoAddressWithoutDataOrPixels) {
    OzlTileInfo tile{nullptr, nullptr, nullptr, 8, 8};
    Header tiled(1, OZL_DEPTH_1U, 40, 30);
    ozlDeallocateImage(tiled.image);
    tiled.image->tileInfo = &tile;
    tiled.roi(0, 13, 7, 10, 5);
    // Addresses compared as void*: a char* would be printed as a string.
    RegionStart s = regionStart(tiled.image, 0);
    EXPECT_EQ(std::make_tuple(static_cast<const void*>(s.data), s.width, s.height, s.bitOffset),
              std::make_tuple(static_cast<const void*>(nullptr), 10, 5, 5));
    tiled.image->tileInfo = nullptr;

    Header plain(3, OZL_DEPTH_16S, 10, 6, OZL_DATA_ORDER_PLANE);
    for (const auto& roi : {std::make_tuple(10, 0), std::make_tuple(0, 6), std::make_tuple(2147483600, 3)}) {
        plain.roi(2, std::get<0>(roi), std::get<1>(roi), 4, 4);
        s = regionStart(plain.image, 1);
        EXPECT_EQ(static_cast<const void*>(s.data), nullptr);
        EXPECT_EQ(s.width * s.height, 0);
    }
    plain.roi(2, 9, 5, 4, 4);  // one pixel left: an address again
    const char* expected = plain.image->imageData + 5 * plain.image->widthStep + plain.image->widthStep * 6 + 9 * 2;
    EXPECT_EQ(static_cast<const void*>(regionStart(plain.image, 1).data), static_cast<const void*>(expected));
}

TEST(Region, StartAddressInPixelAndPlaneOrder) {
    Header pixel(3, OZL_DEPTH_16U, 10, 6);
    pixel.roi(2, 3, 2, 4, 4);
    EXPECT_EQ(regionStart(pixel.image, 1).data,
              pixel.image->imageData + 2 * pixel.image->widthStep + (1 + 3 * 3) * 2);
    Header plane(3, OZL_DEPTH_16U, 10, 6, OZL_DATA_ORDER_PLANE);
    plane.roi(3, 3, 2, 4, 4);
    const int step = plane.image->widthStep;
    EXPECT_EQ(regionStart(plane.image, 2).data,
              plane.image->imageData + 2 * step + step * 6 * 2 + 3 * 2);
    const View v = regionView(plane.image);  // coi 3 selects the third plane
    EXPECT_EQ(v.data, plane.image->imageData + 2 * step + step * 6 * 2 + 3 * 2);
    EXPECT_EQ(v.planeStep, step * 6);
    EXPECT_EQ(v.pixelStride, 1);
}

TEST(Region, OneBitRegionsStartInsideAByte) {
    Header h(1, OZL_DEPTH_1U, 40, 3);
    h.roi(0, 13, 1, 10, 2);
    const RegionStart s = regionStart(h.image, 0);
    EXPECT_EQ(s.data, h.image->imageData + h.image->widthStep + 1);
    EXPECT_EQ(s.bitOffset, 5);
    h.roi(0, 0, 0, 10, 2);
    EXPECT_EQ(regionStart(h.image, 0).bitOffset, 0);
}

TEST(Region, EffectiveChannelsAndWholeData) {
    Header rgba(4, OZL_DEPTH_8U, 8, 8, 0, 4);
    EXPECT_EQ(effectiveChannels(rgba.image), 3);
    rgba.roi(2, 0, 0, 8, 8);
    EXPECT_EQ(effectiveChannels(rgba.image), 1);
    EXPECT_EQ(startChannel(rgba.image), 1);

    Header a(1, OZL_DEPTH_8U, 8, 8), b(1, OZL_DEPTH_8U, 8, 8), c(1, OZL_DEPTH_8U, 9, 8);
    EXPECT_TRUE(wholeData(a.image, b.image, 0));
    EXPECT_FALSE(wholeData(a.image, b.image, 1));
    EXPECT_FALSE(wholeData(a.image, c.image, 0));
    a.roi(1, 0, 0, 8, 9);  // coi 1 of a one-channel image still covers everything
    EXPECT_TRUE(wholeData(a.image, b.image, 0));
    a.roi(0, 0, 0, 7, 8);
    EXPECT_FALSE(wholeData(a.image, b.image, 0));
}

// Tiles served from a backing untiled image; every callback call is recorded.
struct TiledImage {
    Header backing;
    OzlImage* image;
    std::vector<std::tuple<int, int, int>> calls;
    int failAtFetch = -1;
    int fetches = 0;
    std::vector<char> tile;

    TiledImage(int width, int height, int tw, int th)
        : backing(1, OZL_DEPTH_8U, width, height),
          image(ozlCreateImageHeader(1, 0, OZL_DEPTH_8U, "GRAY", "G", 0, 0, 4, width, height,
                                     nullptr, nullptr, nullptr,
                                     ozlCreateTileInfo(&TiledImage::callBack, this, tw, th))),
          tile(static_cast<size_t>(tw) * th) {}
    ~TiledImage() {
        ozlDeleteTileInfo(image->tileInfo);
        ozlDeleteROI(image->roi);
        ozlDeallocateHeader(image);
    }
    static void OZL_CALL callBack(const OzlImage* im, int x, int y, int mode) {
        auto* self = static_cast<TiledImage*>(im->tileInfo->id);
        self->calls.emplace_back(x, y, mode);
        OzlTileInfo* t = im->tileInfo;
        if (mode == OZL_RELEASE_TILE) {  // write the tile back
            for (int r = 0; r < t->height; ++r)
                for (int c = 0; c < t->width; ++c)
                    if (y * t->height + r < im->height && x * t->width + c < im->width)
                        self->backing.image->imageData[(y * t->height + r) *
                                                           self->backing.image->widthStep +
                                                       x * t->width + c] =
                            self->tile[static_cast<size_t>(r * t->width + c)];
            return;
        }
        t->tileData = ++self->fetches == self->failAtFetch ? nullptr : self->tile.data();
        for (int r = 0; r < t->height; ++r)
            for (int c = 0; c < t->width; ++c)
                self->tile[static_cast<size_t>(r * t->width + c)] =
                    y * t->height + r < im->height && x * t->width + c < im->width
                        ? self->backing.image->imageData[(y * t->height + r) *
                                                             self->backing.image->widthStep +
                                                         x * t->width + c]
                        : 0;
    }
};

TEST(TileWalker, VisitsEveryTouchedTileWithFetchAndRelease) {
    TiledImage t(40, 24, 16, 8);
    t.image->roi = ozlCreateROI(0, 5, 3, 20, 10);  // columns 5..24, rows 3..12
    std::vector<std::tuple<int, int, int, int>> pieces;  // x, y, w, h inside the tile
    const TileOperand op{t.image, TileAccess::Write};
    const int result = walkTiles(&op, 1, nullptr, 20, 10, [&](const Piece& p) {
        const OzlImage* s = p.operand[0];
        EXPECT_EQ(s->tileInfo, nullptr);
        EXPECT_EQ(s->width, 16);
        EXPECT_EQ(s->widthStep, 16);
        pieces.emplace_back(s->roi->xOffset, s->roi->yOffset, s->roi->width, s->roi->height);
    });
    EXPECT_EQ(result, kWalkDone);
    const std::vector<std::tuple<int, int, int, int>> expectedPieces = {
        {5, 3, 11, 5}, {0, 3, 9, 5}, {5, 0, 11, 5}, {0, 0, 9, 5}};
    EXPECT_EQ(pieces, expectedPieces);
    const std::vector<std::tuple<int, int, int>> expectedCalls = {
        {0, 0, 2}, {0, 0, 4}, {1, 0, 2}, {1, 0, 4}, {0, 1, 2}, {0, 1, 4}, {1, 1, 2}, {1, 1, 4}};
    EXPECT_EQ(t.calls, expectedCalls);
}

TEST(TileWalker, PiecesFitTheTilesOfEveryTiledOperand) {
    TiledImage a(32, 16, 8, 8), d(32, 16, 16, 8);
    a.image->roi = ozlCreateROI(0, 4, 0, 24, 8);  // a's columns 4..27 meet d's 0..23
    const TileOperand ops[2] = {{a.image, TileAccess::Read}, {d.image, TileAccess::Write}};
    std::vector<int> widths;
    walkTiles(ops, 2, nullptr, 24, 8, [&](const Piece& p) { widths.push_back(p.operand[1]->roi->width); });
    // Cuts at a's tile edges 8, 16, 24 (a's columns) and d's edge 16.
    EXPECT_EQ(widths, (std::vector<int>{4, 8, 4, 4, 4}));
    EXPECT_EQ(a.calls.front(), std::make_tuple(0, 0, 1));
    EXPECT_EQ(d.calls.front(), std::make_tuple(0, 0, 2));
}

TEST(TileWalker, SameHeaderIsFetchedOnceForWriting) {
    TiledImage t(16, 8, 8, 8);
    const TileOperand ops[3] = {{t.image, TileAccess::Read}, {nullptr, TileAccess::Read},
                                {t.image, TileAccess::Write}};
    walkTiles(ops, 3, nullptr, 16, 8, [&](const Piece& p) { EXPECT_EQ(p.operand[0], p.operand[2]); });
    const std::vector<std::tuple<int, int, int>> expected = {{0, 0, 2}, {0, 0, 4}, {1, 0, 2}, {1, 0, 4}};
    EXPECT_EQ(t.calls, expected);
}

TEST(TileWalker, StopsAtOnceWhenATileIsMissing) {
    TiledImage a(24, 8, 8, 8), d(24, 8, 8, 8);
    d.failAtFetch = 2;
    const TileOperand ops[2] = {{a.image, TileAccess::Read}, {d.image, TileAccess::Write}};
    int pieces = 0;
    EXPECT_EQ(walkTiles(ops, 2, nullptr, 24, 8, [&](const Piece&) { ++pieces; }), 1);
    EXPECT_EQ(pieces, 1);
    const std::vector<std::tuple<int, int, int>> expected = {{0, 0, 2}, {0, 0, 4}, {1, 0, 2}};
    EXPECT_EQ(d.calls, expected);
}

TEST(TileWalker, UntiledOperandsAndMasksGetPieceRois) {
    TiledImage d(16, 16, 8, 8);
    Header src(1, OZL_DEPTH_8U, 20, 20), mask(1, OZL_DEPTH_1U, 20, 20);
    src.roi(0, 2, 3, 16, 16);
    mask.roi(0, 1, 1, 16, 16);
    const TileOperand ops[2] = {{src.image, TileAccess::Read}, {d.image, TileAccess::Write}};
    std::vector<std::tuple<int, int, int, int>> seen;
    walkTiles(ops, 2, mask.image, 16, 16, [&](const Piece& p) {
        seen.emplace_back(p.operand[0]->roi->xOffset, p.operand[0]->roi->yOffset,
                          p.mask->roi->xOffset, p.mask->roi->yOffset);
        EXPECT_EQ(p.operand[0]->imageData, src.image->imageData);
    });
    const std::vector<std::tuple<int, int, int, int>> expected = {
        {2, 3, 1, 1}, {10, 3, 9, 1}, {2, 11, 1, 9}, {10, 11, 9, 9}};
    EXPECT_EQ(seen, expected);
}

bool bitAt(const OzlImage* im, int x, int y) {
    const auto* row = reinterpret_cast<const unsigned char*>(im->imageData) + y * im->widthStep;
    return (row[x >> 3] >> (7 - (x & 7))) & 1;
}

void setBit(OzlImage* im, int x, int y, bool on) {
    auto* row = reinterpret_cast<unsigned char*>(im->imageData) + y * im->widthStep;
    const unsigned char m = static_cast<unsigned char>(0x80 >> (x & 7));
    row[x >> 3] = static_cast<unsigned char>(on ? row[x >> 3] | m : row[x >> 3] & ~m);
}

TEST(MaskCombination, NoneOneAndTheAndOfSeveral) {
    Header m1(1, OZL_DEPTH_1U, 21, 5), m2(1, OZL_DEPTH_1U, 30, 6);
    const OzlImage* none[3] = {nullptr, nullptr, nullptr};
    CombinedMask c = combineMasks(none, 3);
    EXPECT_EQ(c.image, nullptr);
    EXPECT_EQ(c.flag, CombinedMask::Direct);
    const OzlImage* one[3] = {nullptr, m1.image, nullptr};
    c = combineMasks(one, 3);
    EXPECT_EQ(c.image, m1.image);
    EXPECT_EQ(c.flag, CombinedMask::Direct);

    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 30; ++x) {
            if (y < 5 && x < 21) setBit(m1.image, x, y, (x * 7 + y) % 3 != 0);
            setBit(m2.image, x, y, (x + y) % 2 == 0);
        }
    m2.roi(0, 3, 1, 20, 5);  // 20 x 5 at an odd bit offset
    const OzlImage* two[3] = {m1.image, nullptr, m2.image};
    c = combineMasks(two, 3);
    ASSERT_EQ(c.flag, CombinedMask::Owned);
    ASSERT_EQ(c.image->width, 20);
    ASSERT_EQ(c.image->height, 5);  // m1's 5 rows; m2's region rows 1..5
    for (int y = 0; y < c.image->height; ++y)
        for (int x = 0; x < 20; ++x)
            EXPECT_EQ(bitAt(c.image, x, y), bitAt(m1.image, x, y) && bitAt(m2.image, x + 3, y + 1))
                << x << "," << y;
    releaseMask(c);
    EXPECT_EQ(c.image, nullptr);

    m2.roi(0, 30, 0, 5, 5);  // starts past the mask: empty common region
    c = combineMasks(two, 3);
    EXPECT_EQ(c.flag, CombinedMask::Empty);
    EXPECT_EQ(c.image, nullptr);
}

}  // namespace
