// Row size of one tile of a tiled image.
#include <gtest/gtest.h>

#include <cstring>

#include "image/layout.hpp"
#include "ozl.h"

namespace {

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}

class TileRowSize : public ::testing::Test {
protected:
    void SetUp() override {
        std::memset(&image_, 0, sizeof image_);
        image_.nChannels = 3;
        image_.depth = OZL_DEPTH_8U;
        image_.align = 16;
        image_.width = 100;
        image_.height = 50;
        image_.tileInfo = &tile_;
    }
    OzlTileInfo tile_{noTiles, nullptr, nullptr, 8, 16};
    OzlImage image_;
};

TEST_F(TileRowSize, UsesTheTileWidth) {
    EXPECT_EQ(ozl::image::tileRowSize(&image_), 32);  // 8 x 3 bytes, to 16
    image_.dataOrder = OZL_DATA_ORDER_PLANE;
    EXPECT_EQ(ozl::image::tileRowSize(&image_), 16);  // 8 bytes, to 16
    image_.dataOrder = OZL_DATA_ORDER_PIXEL;
    image_.depth = OZL_DEPTH_16S;
    tile_.width = 24;
    EXPECT_EQ(ozl::image::tileRowSize(&image_), 144);
    image_.depth = OZL_DEPTH_1U;
    image_.nChannels = 1;
    image_.align = 4;
    EXPECT_EQ(ozl::image::tileRowSize(&image_), 4);  // 24 bits, to 32
}

TEST_F(TileRowSize, ZeroForUntiledOrInvalidImages) {
    EXPECT_EQ(ozl::image::tileRowSize(nullptr), 0);
    tile_.width = 12;
    EXPECT_EQ(ozl::image::tileRowSize(&image_), 0);
    EXPECT_EQ(ozlGetErrStatus(), -23);
    tile_.width = 8;
    char pixels[4];
    image_.tileInfo = nullptr;
    image_.imageData = pixels;
    image_.imageSize = 4;
    image_.widthStep = 4;
    EXPECT_EQ(ozl::image::tileRowSize(&image_), 0);
}

}  // namespace
