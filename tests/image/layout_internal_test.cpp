// Row size of one tile of a tiled image: the tile width under the row rule; 0 when untiled or invalid.
#include <gtest/gtest.h>

#include "image/layout.hpp"
#include "ozl.h"

namespace {

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}

TEST(TileRowSize, UsesTheTileWidth) {
    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 16};
    OzlImage image{};
    image.width = 100, image.height = 50, image.tileInfo = &tile;
    const struct { unsigned depth; int nChannels, order, align, tileWidth, size; } cases[] = {
        {OZL_DEPTH_8U, 3, 0, 16, 8, 32}, {OZL_DEPTH_8U, 3, 1, 16, 8, 16},  // 24 or 8 bytes, to 16
        {OZL_DEPTH_16S, 3, 0, 16, 24, 144}, {OZL_DEPTH_1U, 1, 0, 4, 24, 4},  // 24 bits, to 32
        {OZL_DEPTH_8U, 3, 0, 16, 12, 0}};                                    // tile width refused
    for (const auto& c : cases) {
        image.depth = c.depth, image.nChannels = c.nChannels, image.dataOrder = c.order, image.align = c.align;
        tile.width = c.tileWidth;
        EXPECT_EQ(ozl::image::tileRowSize(&image), c.size) << c.depth << " " << c.tileWidth;
    }
    EXPECT_EQ(ozlGetErrStatus(), -23);
    EXPECT_EQ(ozl::image::tileRowSize(nullptr), 0);
    char pixels[4];
    tile.width = 8, image.tileInfo = nullptr, image.imageData = pixels, image.imageSize = image.widthStep = 4;
    EXPECT_EQ(ozl::image::tileRowSize(&image), 0);
}

}  // namespace
