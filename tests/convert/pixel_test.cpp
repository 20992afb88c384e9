// ozlGetPixel and ozlPutPixel through the public interface.
#include "convert_check.hpp"

namespace {
using namespace ozl::convert_test;

// The four corners of every depth and layout: a get gives the pixel's values
// and nothing past them, a put of another image's pixel changes only it.
TEST(PixelAccess, FourCornersOfEveryDepthAndLayout) {
    ErrorCapture errors;
    for (unsigned depth : kAllDepths)
        for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
            const int nCh = depth == U1 ? 1 : 4, size = depth == U1 ? 1 : static_cast<int>(depth & 0xFF) / 8;
            TestImage im(depth, 13, 7, nCh, order, nCh == 4), other(depth, 13, 7, nCh, order, nCh == 4);
            TestImage got(depth, 1, 1, nCh);  // a pixel-order home for the values (1U: a byte of 0 or 1)
            im.fillRandom(1), other.fillRandom(2);
            for (auto [x, y] : {std::pair{0, 0}, {12, 0}, {0, 6}, {12, 6}}) {
                std::vector<unsigned char> buf(nCh * size + 1, 0xEE);
                ozlGetPixel(im, x, y, buf.data());
                EXPECT_EQ(buf[nCh * size], 0xEE);
                std::memcpy(got->imageData, buf.data(), nCh * size);
                for (int c = 0; c < nCh; ++c) EXPECT_EQ(depth == U1 ? buf[0] : got.at(0, 0, c), im.at(x, y, c)) << depth << " order " << order;
                ozlGetPixel(other, x, y, buf.data());
                TestImage expected = im.clone();
                for (int c = 0; c < nCh; ++c) expected.put(x, y, c, other.at(x, y, c));
                ozlPutPixel(im, x, y, buf.data());
                EXPECT_EQ(im.bytes(), expected.bytes());
            }
        }
    // A channel of interest moves one value; a 1U put takes bit 0 of its byte.
    TestImage rgb(S16, 4, 4, 3, OZL_DATA_ORDER_PLANE), bits(U1, 9, 1);
    rgb.fillRandom(3);
    rgb.setRoi(3, 1, 1, 2, 2);  // the offsets do not move the coordinates
    const int16_t v = -1234;
    TestImage expected = rgb.clone();
    expected.put(3, 2, 2, v);
    ozlPutPixel(rgb, 3, 2, &v);
    EXPECT_EQ(rgb.bytes(), expected.bytes());
    int16_t back[3] = {0, 0, 0};
    ozlGetPixel(rgb, 3, 2, back);
    EXPECT_TRUE(back[0] == v && back[1] == 0);
    bits.fill(0);
    const unsigned char two = 2, three = 3;
    ozlPutPixel(bits, 8, 0, &three);
    ozlPutPixel(bits, 7, 0, &two);
    EXPECT_TRUE(bits.at(8, 0) == 1 && bits.at(7, 0) == 0);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(PixelAccess, ThroughTiles) {
    ErrorCapture errors;
    TiledImage t(F32, 20, 20, 3, OZL_DATA_ORDER_PLANE, 8, 16, 5);
    t.pixels().fillRandom(1);
    const float in[3] = {1.5f, -2.0f, 1e20f};
    float out[3] = {}, corner[3] = {}, one = 0;
    ozlPutPixel(t, 19, 17, in);
    ozlGetPixel(t, 19, 17, out);
    ozlGetPixel(t, 0, 0, corner);
    for (int c = 0; c < 3; ++c) EXPECT_TRUE(t.pixels().at(19, 17, c) == in[c] && out[c] == in[c] && corner[c] == t.pixels().at(0, 0, c));
    EXPECT_EQ(t.calls(), (std::vector<TileCall>{{5, 2, 1, 2}, {5, 2, 1, 4}, {5, 2, 1, 1}, {5, 2, 1, 4}, {5, 0, 0, 1}, {5, 0, 0, 4}}));
    t.setRoi(2, 0, 0, 20, 20);
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
    TestImage im(U8, 5, 4, 3), bad(U8, 5, 4);
    im.fillRandom(1);
    bad->imageData = nullptr;
    unsigned char px[3] = {9, 9, 9};
    const char *xs = "x < 0 || x >= image->width", *ys = "y < 0 || y >= image->height";
    std::vector<Refusal> cases = {
        {[&] { ozlPutPixel(im, 0, 0, nullptr); }, &im, {-5, "ozlPutPixel", "pixel==0", "ozlpixel", 61}},
        {[&] { ozlGetPixel(bad, 0, 0, px); }, &im, {-12, "ozlGetPixel", "Incorrect Image", "ozlpixel", 20}},
        {[&] { ozlPutPixel(bad, 0, 0, px); }, &im, {-12, "ozlPutPixel", "Incorrect Image", "ozlpixel", 60}},
    };
    for (auto [x, y, msg, line] : {std::tuple{-1, 0, xs, 2}, {5, 0, xs, 2}, {0, -1, ys, 3}, {0, 4, ys, 3}}) {
        const int cx = x, cy = y;
        cases.push_back({[&, cx, cy] { ozlPutPixel(im, cx, cy, px); }, &im, {-11, "ozlPutPixel", msg, "ozlpixel", 60 + line}});
        cases.push_back({[&, cx, cy] { ozlGetPixel(im, cx, cy, px); }, &im, {-11, "ozlGetPixel", msg, "ozlpixel", 20 + line}});
    }
    expectRefusals(errors, cases);
    EXPECT_EQ(px[0], 9);
}

}  // namespace
