// ozlGetPixel and ozlPutPixel: corners of every depth and layout, COI, tiles, refusals.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectRefused;
using ozl::test::TestImage;
using ozl::test::TileCall;
using ozl::test::TiledImage;

int bytesOf(unsigned depth) { return depth == OZL_DEPTH_1U ? 1 : static_cast<int>(depth & 0xFF) / 8; }

// Values in the image's own type, for comparison with TestImage::at.
double valueIn(const unsigned char* p, unsigned depth) {
    switch (depth) {
        case OZL_DEPTH_1U: case OZL_DEPTH_8U: return p[0];
        case OZL_DEPTH_8S: return static_cast<signed char>(p[0]);
        case OZL_DEPTH_16U: { uint16_t v; std::memcpy(&v, p, 2); return v; }
        case OZL_DEPTH_16S: { int16_t v; std::memcpy(&v, p, 2); return v; }
        case OZL_DEPTH_32S: { int32_t v; std::memcpy(&v, p, 4); return v; }
        default: { float v; std::memcpy(&v, p, 4); return v; }
    }
}

TEST(PixelAccess, FourCornersOfEveryDepthAndLayout) {
    ErrorCapture errors;
    for (unsigned depth : {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S,
                           OZL_DEPTH_32S, OZL_DEPTH_32F})
        for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
            const int nCh = depth == OZL_DEPTH_1U ? 1 : 4;
            SCOPED_TRACE(testing::Message() << depth << " order " << order);
            TestImage im(depth, 13, 7, nCh, order, nCh == 4), other(depth, 13, 7, nCh, order, nCh == 4);
            im.fillRandom(1);
            other.fillRandom(2);
            const int size = bytesOf(depth);
            for (auto [x, y] : {std::pair{0, 0}, {12, 0}, {0, 6}, {12, 6}}) {
                std::vector<unsigned char> got(nCh * size + 1, 0xEE);
                ozlGetPixel(im, x, y, got.data());
                for (int c = 0; c < nCh; ++c) EXPECT_EQ(valueIn(&got[c * size], depth), im.at(x, y, c));
                EXPECT_EQ(got[nCh * size], 0xEE);  // nothing past the pixel's values
                // Put another image's pixel: only that pixel changes.
                std::vector<unsigned char> in(nCh * size);
                ozlGetPixel(other, x, y, in.data());
                TestImage expected = im.clone();
                for (int c = 0; c < nCh; ++c) expected.put(x, y, c, other.at(x, y, c));
                ozlPutPixel(im, x, y, in.data());
                EXPECT_EQ(im.bytes(), expected.bytes());
            }
        }
    // A channel of interest moves one value; a 1U put takes bit 0 of its byte.
    TestImage rgb(OZL_DEPTH_16S, 4, 4, 3, OZL_DATA_ORDER_PLANE);
    rgb.fillRandom(3);
    rgb.setRoi(3, 1, 1, 2, 2);  // the offsets do not move the coordinates
    const int16_t v = -1234;
    TestImage expected = rgb.clone();
    expected.put(3, 2, 2, v);
    ozlPutPixel(rgb, 3, 2, &v);
    EXPECT_EQ(rgb.bytes(), expected.bytes());
    int16_t back[3] = {0, 0, 0};
    ozlGetPixel(rgb, 3, 2, back);
    EXPECT_EQ(back[0], v);
    EXPECT_EQ(back[1], 0);
    TestImage bits(OZL_DEPTH_1U, 9, 1);
    bits.fill(0);
    const unsigned char two = 2, three = 3;
    ozlPutPixel(bits, 8, 0, &three);
    ozlPutPixel(bits, 7, 0, &two);
    EXPECT_EQ(bits.at(8, 0), 1);
    EXPECT_EQ(bits.at(7, 0), 0);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(PixelAccess, ThroughTiles) {
    ErrorCapture errors;
    TiledImage t(OZL_DEPTH_32F, 20, 20, 3, OZL_DATA_ORDER_PLANE, 8, 16, 5);
    t.pixels().fillRandom(1);
    const float in[3] = {1.5f, -2.0f, 1e20f};
    float out[3] = {}, corner[3] = {};
    ozlPutPixel(t, 19, 17, in);
    ozlGetPixel(t, 19, 17, out);
    ozlGetPixel(t, 0, 0, corner);
    EXPECT_EQ(t.pixels().at(19, 17, 0), 1.5);
    EXPECT_EQ(t.pixels().at(19, 17, 2), 1e20f);
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(out[c], in[c]);
        EXPECT_EQ(corner[c], t.pixels().at(0, 0, c));
    }
    EXPECT_EQ(t.calls(), (std::vector<TileCall>{{5, 2, 1, 2}, {5, 2, 1, 4}, {5, 2, 1, 1},
                                                {5, 2, 1, 4}, {5, 0, 0, 1}, {5, 0, 0, 4}}));
    t.setRoi(2, 0, 0, 20, 20);
    float one = 0;
    ozlGetPixel(t, 19, 17, &one);
    EXPECT_EQ(one, -2.0f);

    t.failFetch(5);
    ozlGetPixel(t, 1, 1, &one);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlGetPixel", "Error get tile to read", "ozlpixel", 25}));
    t.failFetch(6);
    ozlPutPixel(t, 1, 1, &one);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlPutPixel", "Error get tile to write", "ozlpixel", 65}));
    EXPECT_EQ(errors.count(), 2u);
}

TEST(PixelAccess, RefusalsOutsideTheImage) {
    ErrorCapture errors;
    TestImage im(OZL_DEPTH_8U, 5, 4, 3), bad(OZL_DEPTH_8U, 5, 4);
    im.fillRandom(1);
    bad->imageData = nullptr;
    const auto before = im.bytes();
    unsigned char px[3] = {9, 9, 9};
    for (auto [x, y, msg, line] : {std::tuple{-1, 0, "x < 0 || x >= image->width", 2},
                                   {5, 0, "x < 0 || x >= image->width", 2},
                                   {0, -1, "y < 0 || y >= image->height", 3},
                                   {0, 4, "y < 0 || y >= image->height", 3}}) {
        ozlPutPixel(im, x, y, px);
        expectRefused(errors, im, before, {-11, "ozlPutPixel", msg, "ozlpixel", 60 + line});
        ozlGetPixel(im, x, y, px);
        expectRefused(errors, im, before, {-11, "ozlGetPixel", msg, "ozlpixel", 20 + line});
        EXPECT_EQ(px[0], 9);
    }
    ozlPutPixel(im, 0, 0, nullptr);
    expectRefused(errors, im, before, {-5, "ozlPutPixel", "pixel==0", "ozlpixel", 61});
    ozlGetPixel(bad, 0, 0, px);
    expectRefused(errors, im, before, {-12, "ozlGetPixel", "Incorrect Image", "ozlpixel", 20});
    ozlPutPixel(bad, 0, 0, px);
    expectRefused(errors, im, before, {-12, "ozlPutPixel", "Incorrect Image", "ozlpixel", 60});
}

}  // namespace
