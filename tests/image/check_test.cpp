// ozlCheckImageHeader: every rule, in order, with the mask forms of the codes.
#include <gtest/gtest.h>

#include <cstring>

#include "ozl.h"
#include "support/error_capture.hpp"

namespace {

using ozl::test::ErrorCapture;

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}

// A valid 8-bit, 3-channel, 4x4 header over caller-supplied pixels; tests break
// it one field at a time.
OzlImage validImage(char* pixels) {
    OzlImage image;
    std::memset(&image, 0, sizeof image);
    image.nSize = static_cast<int32_t>(sizeof image);
    image.nChannels = 3;
    image.depth = OZL_DEPTH_8U;
    std::memcpy(image.colorModel, "RGB", 4);
    std::memcpy(image.channelSeq, "BGR", 4);
    image.align = 4;
    image.width = 4;
    image.height = 4;
    image.widthStep = 12;
    image.imageSize = 48;
    image.imageData = pixels;
    return image;
}

// A valid 1-bit mask header over caller-supplied pixels.
OzlImage validMask(char* pixels) {
    OzlImage mask = validImage(pixels);
    mask.nChannels = 1;
    mask.depth = OZL_DEPTH_1U;
    mask.widthStep = 4;
    mask.imageSize = 16;
    return mask;
}

class CheckImageHeader : public ::testing::Test {
protected:
    // Checks without any report, and with the result stored as the status.
    void expectStatus(const OzlImage* image, OzlStatus expected) {
        ozlSetErrStatus(12345);
        const OzlStatus status = ozlCheckImageHeader(image);
        EXPECT_EQ(status, expected);
        EXPECT_EQ(ozlGetErrStatus(), expected == 0 ? 12345 : expected);
        EXPECT_TRUE(errors_.empty());
    }

    ErrorCapture errors_;
    alignas(32) char pixels_[64] = {};
    alignas(32) char maskPixels_[16] = {};
    alignas(32) char innerPixels_[16] = {};
    OzlImage image_ = validImage(pixels_);
    OzlTileInfo tile_{noTiles, nullptr, nullptr, 8, 8};
};

TEST_F(CheckImageHeader, AcceptsValidImagesAndKeepsTheStoredStatus) {
    expectStatus(&image_, 0);
    ozlSetErrStatus(-5);
    EXPECT_EQ(ozlCheckImageHeader(&image_), 0);
    EXPECT_EQ(ozlGetErrStatus(), -5);

    OzlImage* allocated = ozlCreateImageHeader(1, 0, OZL_DEPTH_32F, "GRAY", "GRAY", 1, 1, 32, 9,
                                               3, nullptr, nullptr, nullptr, nullptr);
    ozlAllocateImageFP(allocated, 0, 0.0f);
    expectStatus(allocated, 0);
    ozlDeallocate(allocated, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
}

TEST_F(CheckImageHeader, NullHeader) { expectStatus(nullptr, -9); }

TEST_F(CheckImageHeader, ExactlyOneOfDataAndTiles) {
    image_.width = 0;  // later rule
    image_.tileInfo = &tile_;
    expectStatus(&image_, -12);
    image_.tileInfo = nullptr;
    image_.imageData = nullptr;
    expectStatus(&image_, -12);
}

TEST_F(CheckImageHeader, SizeAndStepOfUntiledImages) {
    image_.imageSize = 0;
    image_.widthStep = 0;
    expectStatus(&image_, -10);
    image_.imageSize = -48;
    expectStatus(&image_, -10);
    image_.imageSize = 1;  // not compared with the layout
    expectStatus(&image_, -13);
    image_.widthStep = -1;
    image_.width = 0;
    expectStatus(&image_, -13);
    image_.widthStep = 1;
    image_.width = 4;
    expectStatus(&image_, 0);
    image_.widthStep = 1000;  // any positive pitch
    expectStatus(&image_, 0);
}

TEST_F(CheckImageHeader, TiledImageNeedsNoSizeOrStep) {
    image_.imageData = nullptr;
    image_.tileInfo = &tile_;
    image_.imageSize = 0;
    image_.widthStep = 0;
    expectStatus(&image_, 0);
}

TEST_F(CheckImageHeader, ImageSize) {
    image_.width = 0;
    image_.nChannels = 0;
    expectStatus(&image_, -10);
    image_.width = 4;
    image_.height = -2;
    expectStatus(&image_, -10);
}

TEST_F(CheckImageHeader, ChannelsAndDepth) {
    image_.nChannels = 0;
    image_.depth = OZL_DEPTH_1U;
    expectStatus(&image_, -15);
    image_.nChannels = 2;
    image_.depth = OZL_DEPTH_1U;
    image_.alphaChannel = 1;
    expectStatus(&image_, -16);
    image_.nChannels = 1;
    image_.alphaChannel = 0;
    expectStatus(&image_, 0);
    image_.nChannels = 3;
    for (unsigned depth : {0u, 2u, 7u, 24u, 33u, 64u, 0x80000001u, 0x80000040u, 0x80000000u,
                           0x40000008u}) {
        image_.depth = depth;
        image_.alphaChannel = 1;
        SCOPED_TRACE(depth);
        expectStatus(&image_, -17);
    }
    image_.alphaChannel = 0;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S,
                           OZL_DEPTH_32S, OZL_DEPTH_32F}) {
        image_.depth = depth;
        expectStatus(&image_, 0);
    }
}

TEST_F(CheckImageHeader, AlphaOrderOriginAlign) {
    for (int alpha : {-1, 1, 2, 4}) {
        image_.alphaChannel = alpha;
        image_.dataOrder = 5;
        expectStatus(&image_, -18);
    }
    image_.alphaChannel = 3;
    image_.dataOrder = 0;
    expectStatus(&image_, 0);
    for (int order : {-1, 2}) {
        image_.dataOrder = order;
        image_.origin = 5;
        expectStatus(&image_, -19);
    }
    image_.dataOrder = 1;
    image_.origin = 1;
    expectStatus(&image_, 0);
    for (int origin : {-1, 2}) {
        image_.origin = origin;
        image_.align = 3;
        expectStatus(&image_, -20);
    }
    image_.origin = 0;
    for (int align : {0, 1, 2, 3, 12, 64, -4}) {
        image_.align = align;
        expectStatus(&image_, -21);
    }
    for (int align : {4, 8, 16, 32}) {
        image_.align = align;
        expectStatus(&image_, 0);
    }
}

TEST_F(CheckImageHeader, MaskFaultsAreShiftedByOneHundred) {
    OzlImage mask = validMask(maskPixels_);
    image_.maskROI = &mask;
    // The mask is checked before the tile record and the ROI.
    OzlROI badRoi{9, 0, 0, 1, 1};
    image_.roi = &badRoi;
    OzlTileInfo badTile{nullptr, nullptr, nullptr, 8, 8};

    mask.depth = OZL_DEPTH_8U;
    expectStatus(&image_, -117);
    mask.depth = OZL_DEPTH_1U;
    mask.tileInfo = &tile_;
    expectStatus(&image_, -26);  // a tiled mask keeps the plain code
    mask.tileInfo = nullptr;
    mask.imageSize = 0;
    expectStatus(&image_, -110);
    mask.imageSize = 16;
    mask.imageData = nullptr;
    expectStatus(&image_, -112);  // untiled mask without data
    mask.imageData = maskPixels_;
    mask.widthStep = 0;
    expectStatus(&image_, -113);
    mask.widthStep = 4;
    mask.align = 6;
    expectStatus(&image_, -121);
    mask.align = 4;
    mask.origin = 3;
    expectStatus(&image_, -120);
    mask.origin = 0;
    mask.nChannels = 2;
    expectStatus(&image_, -116);
    mask.nChannels = 1;
    OzlROI maskRoi{0, -1, 0, 1, 1};
    mask.roi = &maskRoi;
    expectStatus(&image_, -111);
    maskRoi.coi = 2;
    expectStatus(&image_, -124);
    maskRoi.coi = 1;
    maskRoi.xOffset = 100;  // past the mask: allowed
    expectStatus(&image_, -24);  // now the image's own ROI
    image_.roi = nullptr;
    expectStatus(&image_, 0);

    // Tile faults come before ROI faults.
    image_.roi = &badRoi;
    image_.imageData = nullptr;
    image_.tileInfo = &badTile;
    expectStatus(&image_, -22);
}

TEST_F(CheckImageHeader, MaskOfAMaskIsShiftedTwice) {
    OzlImage mask = validMask(maskPixels_);
    OzlImage inner = validMask(innerPixels_);
    image_.maskROI = &mask;
    mask.maskROI = &inner;
    expectStatus(&image_, 0);

    inner.imageSize = 0;
    expectStatus(&image_, -210);
    inner.imageSize = 16;
    inner.depth = OZL_DEPTH_8U;
    expectStatus(&image_, -217);
    inner.depth = OZL_DEPTH_1U;
    inner.tileInfo = &tile_;
    expectStatus(&image_, -126);
    inner.tileInfo = nullptr;
    inner.align = 2;
    expectStatus(&image_, -221);
    inner.align = 4;

    OzlImage innermost = validMask(innerPixels_);
    inner.maskROI = &innermost;
    innermost.height = 0;
    expectStatus(&image_, -310);

    // Checking the mask itself shifts one level less.
    expectStatus(&mask, -210);
}

TEST_F(CheckImageHeader, TileRecord) {
    image_.imageData = nullptr;
    image_.tileInfo = &tile_;
    OzlROI badRoi{0, -1, 0, 1, 1};
    image_.roi = &badRoi;

    tile_.callBack = nullptr;
    tile_.width = 0;
    expectStatus(&image_, -22);
    tile_.callBack = noTiles;
    expectStatus(&image_, -23);
    for (int width : {-8, 4, 12, 20}) {
        tile_.width = width;
        expectStatus(&image_, -23);
    }
    tile_.width = 16;
    for (int height : {0, -8, 1, 12}) {
        tile_.height = height;
        expectStatus(&image_, -23);
    }
    tile_.height = 24;
    expectStatus(&image_, -11);  // now the ROI
    image_.roi = nullptr;
    expectStatus(&image_, 0);
}

TEST_F(CheckImageHeader, RegionOfInterest) {
    OzlROI roi{0, 0, 0, 1, 1};
    image_.roi = &roi;
    expectStatus(&image_, 0);

    roi.coi = 3;  // equal to nChannels
    expectStatus(&image_, 0);
    roi.height = 0;  // later rule
    for (int coi : {-1, 4}) {
        roi.coi = coi;
        expectStatus(&image_, -24);
    }
    roi.coi = 0;
    roi.width = 0;
    roi.xOffset = -1;
    expectStatus(&image_, -25);  // height
    roi.height = 1;
    expectStatus(&image_, -25);  // width
    roi.width = 1;
    roi.yOffset = -1;
    expectStatus(&image_, -11);  // x
    roi.xOffset = 0;
    expectStatus(&image_, -11);  // y
    roi.yOffset = 0;

    // The region may reach past the image.
    roi.xOffset = 4;
    roi.yOffset = 4;
    roi.width = 100;
    roi.height = 100;
    expectStatus(&image_, 0);
}

}  // namespace
