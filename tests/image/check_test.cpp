// ozlCheckImageHeader: every rule, in order, with the mask forms of the codes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}

// A valid 4x4 header over caller pixels: 8-bit with 3 channels, or a 1-bit mask.
OzlImage validHeader(char* pixels, bool mask) {
    OzlImage* made = ozlCreateImageHeader(mask ? 1 : 3, 0, mask ? OZL_DEPTH_1U : OZL_DEPTH_8U, "RGB", "BGR", 0, 0, 4, 4, 4,
                                          nullptr, nullptr, nullptr, nullptr);
    OzlImage image = *made;
    ozlDeallocateHeader(made);
    image.imageData = pixels;
    return image;
}

// A valid image and the records the cases hang on it: a mask, the mask's mask
// and a third level, a tile record, ROIs. `checked` is what gets checked.
struct Scene {
    alignas(32) char pixels[64] = {}, maskPixels[16] = {}, innerPixels[16] = {};
    OzlImage image = validHeader(pixels, false);
    OzlImage mask = validHeader(maskPixels, true), inner = validHeader(innerPixels, true), innermost = validHeader(innerPixels, true);
    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
    OzlROI roi{0, 0, 0, 1, 1}, maskRoi{0, 0, 0, 1, 1};
    const OzlImage* checked = &image;

    void tiled() { image.imageData = nullptr; image.tileInfo = &tile; }
    // The image's own ROI is bad, to show that the mask is checked first.
    void masked() { image.maskROI = &mask; image.roi = &roi; roi.coi = 9; }
    void twoMasks() { image.maskROI = &mask; mask.maskROI = &inner; }
    // The ROI is bad, to show that the tile record is checked first.
    void tiledWithBadRoi() { tiled(); image.roi = &roi; roi.xOffset = -1; }
};

// A change to the scene, applied once per value.
#define SET(...) [](Scene& s, int64_t v) { (void)v; __VA_ARGS__; }
struct Case { std::string what; std::function<void(Scene&, int64_t)> change; OzlStatus status; std::vector<int64_t> values = {0}; };

// Most cases also break a later rule, so that the order of the checks shows.
const Case kCases[] = {
    {"valid", SET(), 0},
    {"null header", SET(s.checked = nullptr), -9},
    {"data and tiles", SET(s.image.tileInfo = &s.tile; s.image.width = 0), -12},
    {"neither data nor tiles", SET(s.image.imageData = nullptr; s.image.width = 0), -12},
    {"imageSize", SET(s.image.imageSize = v; s.image.widthStep = 0), -10, {0, -48}},
    {"widthStep 0", SET(s.image.imageSize = 1; s.image.widthStep = 0), -13},
    // Neither is compared with the layout: any positive size and pitch will do.
    {"pitch", SET(s.image.imageSize = 1; s.image.widthStep = v), 0, {1, 1000}},
    {"tiled, no size or step", SET(s.tiled(); s.image.imageSize = s.image.widthStep = 0), 0},
    {"width", SET(s.image.width = 0; s.image.nChannels = 0), -10},
    {"height", SET(s.image.height = -2; s.image.nChannels = 0), -10},
    {"channels", SET(s.image.nChannels = 0; s.image.depth = OZL_DEPTH_1U), -15},
    {"1-bit channels", SET(s.image.nChannels = 2; s.image.depth = OZL_DEPTH_1U; s.image.alphaChannel = 1), -16},
    {"depth", SET(s.image.depth = static_cast<uint32_t>(v); s.image.alphaChannel = 1), -17, {0, 2, 7, 24, 33, 64, 0x80000001, 0x80000040, 0x80000000, 0x40000008}},
    {"legal depth", SET(s.image.depth = static_cast<uint32_t>(v)), 0, {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F}},
    {"alpha", SET(s.image.alphaChannel = v; s.image.dataOrder = 5), -18, {-1, 1, 2, 4}},
    {"alpha last", SET(s.image.alphaChannel = 3), 0},
    {"order", SET(s.image.dataOrder = v; s.image.origin = 5), -19, {-1, 2}},
    {"origin", SET(s.image.origin = v; s.image.align = 3), -20, {-1, 2}},
    {"align", SET(s.image.align = v), -21, {0, 1, 2, 3, 12, 64, -4}},
    {"legal align", SET(s.image.align = v), 0, {4, 8, 16, 32}},

    {"8-bit mask", SET(s.masked(); s.mask.depth = OZL_DEPTH_8U), -117},
    {"tiled mask keeps the plain code", SET(s.masked(); s.mask.tileInfo = &s.tile), -26},
    {"mask imageSize", SET(s.masked(); s.mask.imageSize = 0), -110},
    {"untiled mask without data", SET(s.masked(); s.mask.imageData = nullptr), -112},
    {"mask widthStep", SET(s.masked(); s.mask.widthStep = 0), -113},
    {"mask align", SET(s.masked(); s.mask.align = 6), -121},
    {"mask channels", SET(s.masked(); s.mask.nChannels = 2), -116},
    {"mask ROI offset", SET(s.masked(); s.mask.roi = &s.maskRoi; s.maskRoi.xOffset = -1), -111},
    {"mask ROI channel", SET(s.masked(); s.mask.roi = &s.maskRoi; s.maskRoi.coi = 2), -124},
    {"mask ROI past the mask, then the image's ROI", SET(s.masked(); s.mask.roi = &s.maskRoi; s.maskRoi = {1, 100, 0, 1, 1}), -24},
    {"mask ROI past the mask", SET(s.image.maskROI = &s.mask; s.mask.roi = &s.maskRoi; s.maskRoi.xOffset = 100), 0},
    {"tile record before the ROI", SET(s.masked(); s.tiled(); s.tile.callBack = nullptr), -22},
    {"the mask before the tile record", SET(s.masked(); s.mask.depth = OZL_DEPTH_8U; s.tiled(); s.tile.callBack = nullptr), -117},

    {"mask of a mask", SET(s.twoMasks()), 0},
    {"inner imageSize", SET(s.twoMasks(); s.inner.imageSize = 0), -210},
    {"inner depth", SET(s.twoMasks(); s.inner.depth = OZL_DEPTH_8U), -217},
    {"inner tiled", SET(s.twoMasks(); s.inner.tileInfo = &s.tile), -126},
    {"third level", SET(s.twoMasks(); s.inner.maskROI = &s.innermost; s.innermost.height = 0), -310},
    {"the mask itself shifts one level less", SET(s.twoMasks(); s.inner.maskROI = &s.innermost; s.innermost.height = 0; s.checked = &s.mask), -210},

    {"tile callback", SET(s.tiledWithBadRoi(); s.tile.callBack = nullptr; s.tile.width = 0), -22},
    {"tile width", SET(s.tiledWithBadRoi(); s.tile.width = v), -23, {0, -8, 4, 12, 20}},
    {"tile height", SET(s.tiledWithBadRoi(); s.tile.width = 16; s.tile.height = v), -23, {0, -8, 1, 12}},
    {"tile 16x24, then the ROI", SET(s.tiledWithBadRoi(); s.tile.width = 16; s.tile.height = 24), -11},
    {"tile 16x24", SET(s.tiled(); s.tile.width = 16; s.tile.height = 24), 0},

    {"ROI", SET(s.image.roi = &s.roi), 0},
    {"coi = nChannels", SET(s.image.roi = &s.roi; s.roi.coi = 3), 0},
    {"coi", SET(s.image.roi = &s.roi; s.roi.coi = v; s.roi.height = 0), -24, {-1, 4}},
    {"ROI height", SET(s.image.roi = &s.roi; s.roi = {0, -1, 0, 0, 0}), -25},
    {"ROI width", SET(s.image.roi = &s.roi; s.roi = {0, -1, 0, 0, 1}), -25},
    {"ROI x", SET(s.image.roi = &s.roi; s.roi = {0, -1, -1, 1, 1}), -11},
    {"ROI y", SET(s.image.roi = &s.roi; s.roi = {0, 0, -1, 1, 1}), -11},
    {"ROI past the image", SET(s.image.roi = &s.roi; s.roi = {0, 4, 4, 100, 100}), 0},
};
#undef SET

TEST(CheckImageHeader, EveryRuleInOrder) {
    ozl::test::ErrorCapture errors;
    for (const Case& c : kCases) {
        for (int64_t v : c.values) {
            SCOPED_TRACE(c.what + " " + std::to_string(v));
            Scene s;
            c.change(s, v);
            // The result is stored as the status (a pass keeps the old one), never reported.
            ozlSetErrStatus(12345);
            EXPECT_EQ(ozlCheckImageHeader(s.checked), c.status);
            EXPECT_EQ(ozlGetErrStatus(), c.status == 0 ? 12345 : c.status);
        }
    }
    ozl::test::TestImage made(OZL_DEPTH_32F, 9, 3, 1, OZL_DATA_ORDER_PLANE, false, 32);
    EXPECT_EQ(ozlCheckImageHeader(made), 0);
    EXPECT_TRUE(errors.empty());
}

}  // namespace
