// Bitmaps to images and back: every bit count, fields, row and channel order,
// alpha, regions, masks, tiles, the separate forms, translation, refusals.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectRefused;
using ozl::test::TestImage;
using ozl::test::TiledImage;

// A packed bitmap in 4-byte aligned storage.
class Dib {
public:
    Dib(int width, int height, int bits, uint32_t compression = OZL_BI_RGB,
        std::vector<uint32_t> masks = {}, int colours = 0)
        : stride_(((width * bits + 31) / 32) * 4), rows_(height < 0 ? -height : height) {
        const int tableSize = bits <= 8 ? (colours ? colours : 1 << bits) : colours;
        masks_ = static_cast<int>(masks.size());
        const size_t bytes = 40 + 4 * masks.size() + 4 * tableSize + static_cast<size_t>(stride_) * rows_;
        storage_.assign((bytes + 3) / 4, 0);
        OzlBitmapInfoHeader& h = *header();
        h.biSize = 40;
        h.biWidth = width;
        h.biHeight = height;
        h.biPlanes = 1;
        h.biBitCount = static_cast<uint16_t>(bits);
        h.biCompression = compression;
        h.biClrUsed = static_cast<uint32_t>(colours);
        if (!masks.empty()) std::memcpy(base() + 40, masks.data(), 4 * masks.size());
        table_ = tableSize;
    }
    OzlBitmapInfoHeader* header() { return reinterpret_cast<OzlBitmapInfoHeader*>(storage_.data()); }
    operator OzlBitmapInfoHeader*() { return header(); }
    OzlRgbQuad* palette() { return reinterpret_cast<OzlRgbQuad*>(base() + 40 + 4 * masks_); }
    uint8_t* bits() { return base() + 40 + 4 * masks_ + 4 * table_; }
    // Row y counted from the top of the picture.
    uint8_t* row(int y) { return bits() + (header()->biHeight > 0 ? rows_ - 1 - y : y) * stride_; }
    int stride() const { return stride_; }
    void randomPixels(uint32_t seed) {
        std::mt19937 rng(seed);
        for (int i = 0; i < stride_ * rows_; ++i) bits()[i] = static_cast<uint8_t>(rng());
    }

private:
    uint8_t* base() { return reinterpret_cast<uint8_t*>(storage_.data()); }
    std::vector<uint32_t> storage_;
    int stride_, rows_, masks_ = 0, table_ = 0;
};

int indexOf(Dib& d, int bits, int x, int y) {
    const int perByte = 8 / bits;
    return (d.row(y)[x / perByte] >> ((perByte - 1 - x % perByte) * bits)) & ((1 << bits) - 1);
}

// Every palette size: colours through the table and back to the same
// indices (the entries are distinct), and the indices themselves through a
// one-channel image.
TEST(Dib, PaletteRoundTripForEveryBitCount) {
    ErrorCapture errors;
    for (int bits : {1, 4, 8}) {
        SCOPED_TRACE(bits);
        const int w = 37, h = 5;
        Dib dib(w, h, bits), back(w, h, bits), backIndices(w, h, bits);
        std::mt19937 rng(bits);
        for (int i = 0; i < 1 << bits; ++i) {
            OzlRgbQuad q{static_cast<uint8_t>(i), static_cast<uint8_t>(rng()), static_cast<uint8_t>(rng()), 0};
            dib.palette()[i] = back.palette()[i] = q;
        }
        dib.randomPixels(bits);
        TestImage colour(OZL_DEPTH_8U, w, h, 3), indices(OZL_DEPTH_8U, w, h);
        ozlConvertFromDIB(dib, colour);
        ozlConvertFromDIB(dib, indices);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const OzlRgbQuad q = dib.palette()[indexOf(dib, bits, x, y)];
                ASSERT_EQ(colour.at(x, y, 0), q.rgbBlue) << x << ", " << y;  // "BGR": blue first
                ASSERT_EQ(colour.at(x, y, 1), q.rgbGreen);
                ASSERT_EQ(colour.at(x, y, 2), q.rgbRed);
                ASSERT_EQ(indices.at(x, y), indexOf(dib, bits, x, y));
            }
        ozlConvertToDIB(colour, back);
        ozlConvertToDIB(indices, backIndices);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                ASSERT_EQ(indexOf(back, bits, x, y), indexOf(dib, bits, x, y)) << x << ", " << y;
                ASSERT_EQ(indexOf(backIndices, bits, x, y), indexOf(dib, bits, x, y));
            }
    }
    // A 1-bit bitmap and a 1U image; indices past a short table are black.
    Dib mono(19, -3, 1), monoBack(19, 3, 1);
    mono.randomPixels(3);
    TestImage bitsImage(OZL_DEPTH_1U, 19, 3);
    ozlConvertFromDIB(mono, bitsImage);
    ozlConvertToDIB(bitsImage, monoBack);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 19; ++x) {
            ASSERT_EQ(bitsImage.at(x, y), indexOf(mono, 1, x, y));
            ASSERT_EQ(indexOf(monoBack, 1, x, y), indexOf(mono, 1, x, y));
        }
    Dib shortTable(4, 1, 8, OZL_BI_RGB, {}, 2);
    shortTable.palette()[1] = {10, 20, 30, 0};
    shortTable.row(0)[0] = 1;
    shortTable.row(0)[1] = 200;
    TestImage rgb(OZL_DEPTH_8U, 4, 1, 3);
    rgb.fill(99);
    ozlConvertFromDIB(shortTable, rgb);
    EXPECT_EQ(rgb.at(0, 0, 2), 30);
    EXPECT_EQ(rgb.at(1, 0, 2), 0);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Direct colour: 5-5-5, 5-6-5 masks, 24 bits, 32 bits with alpha, 10-bit
// masks: through an image and back to the same pixels.
TEST(Dib, DirectColourRoundTrip) {
    ErrorCapture errors;
    struct Format {
        int bits;
        uint32_t compression;
        std::vector<uint32_t> masks;
        uint32_t used;  // the pixel bits the format defines
    };
    const Format formats[] = {{16, OZL_BI_RGB, {}, 0x7FFF},
                              {16, OZL_BI_BITFIELDS, {0xF800, 0x07E0, 0x001F}, 0xFFFF},
                              {24, OZL_BI_RGB, {}, 0xFFFFFF},
                              {32, OZL_BI_RGB, {}, 0xFFFFFFFF},
                              {32, OZL_BI_BITFIELDS, {0x3FF00000, 0x000FFC00, 0x000003FF}, 0},
                              {32, OZL_BI_BITFIELDS, {0x00FF0000, 0x0000FF00, 0x000000FF}, 0x00FFFFFF}};
    for (const Format& f : formats) {
        SCOPED_TRACE(testing::Message() << f.bits << " bits, compression " << f.compression);
        const int w = 23, h = 4;
        Dib dib(w, h, f.bits, f.compression, f.masks), back(w, -h, f.bits, f.compression, f.masks);
        dib.randomPixels(f.bits);
        TestImage image(OZL_DEPTH_8U, w, h, 4, OZL_DATA_ORDER_PLANE, true);
        ozlConvertFromDIB(dib, image);
        ozlConvertToDIB(image, back);
        if (f.used == 0) continue;  // 10-bit fields do not survive 8 bits; checked below
        const int bytes = f.bits / 8;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                uint32_t a = 0, b = 0;
                std::memcpy(&a, dib.row(y) + x * bytes, bytes);
                std::memcpy(&b, back.row(y) + x * bytes, bytes);
                ASSERT_EQ(b & f.used, a & f.used) << x << ", " << y;
                if (f.bits == 32 && f.compression == OZL_BI_RGB) ASSERT_EQ(image.at(x, y, 3), a >> 24);
                else ASSERT_EQ(image.at(x, y, 3), 255);
            }
    }
    // Hand-computed fields: 5 bits 16 -> 132 (16 * 255 / 31 = 131.6), 6 bits
    // 63 -> 255, 10 bits 512 -> 128 (127.6); and back 132 -> 16.
    Dib d565(1, 1, 16, OZL_BI_BITFIELDS, {0xF800, 0x07E0, 0x001F});
    const uint16_t px = static_cast<uint16_t>(16 << 11 | 63 << 5 | 1);
    std::memcpy(d565.row(0), &px, 2);
    TestImage one(OZL_DEPTH_8U, 1, 1, 3);
    ozlConvertFromDIB(d565, one);
    EXPECT_EQ(one.at(0, 0, 2), 132);
    EXPECT_EQ(one.at(0, 0, 1), 255);
    EXPECT_EQ(one.at(0, 0, 0), 8);  // 1 * 255 / 31 = 8.2
    Dib d10(1, 1, 32, OZL_BI_BITFIELDS, {0x3FF00000, 0x000FFC00, 0x000003FF});
    const uint32_t px10 = 512u << 20;
    std::memcpy(d10.row(0), &px10, 4);
    ozlConvertFromDIB(d10, one);
    EXPECT_EQ(one.at(0, 0, 2), 128);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Rows meet upright whatever the orders; "RGB" images take red first; the
// region, the mask and tiles apply.
TEST(Dib, RowOrderChannelOrderRegionsMasksTiles) {
    ErrorCapture errors;
    Dib up(20, 6, 24), down(20, -6, 24);
    up.randomPixels(1);
    for (int y = 0; y < 6; ++y) std::memcpy(down.row(y), up.row(y), 60);
    TestImage a(OZL_DEPTH_8U, 20, 6, 3), b(OZL_DEPTH_8U, 20, 6, 3);
    ozlConvertFromDIB(up, a);
    ozlConvertFromDIB(down, b);
    EXPECT_EQ(a.bytes(), b.bytes());
    for (int x = 0; x < 20; ++x) EXPECT_EQ(a.at(x, 0, 0), up.row(0)[3 * x]);  // top row first

    // A bottom-left image meets the bitmap's bottom row with its first row;
    // its channel sequence says red first.
    TestImage bl(OZL_DEPTH_8U, 20, 4, 3);
    bl->origin = OZL_ORIGIN_BL;
    std::memcpy(bl->channelSeq, "RGB", 4);
    ozlConvertFromDIB(up, bl);
    for (int x = 0; x < 20; ++x) {
        EXPECT_EQ(bl.at(x, 0, 0), up.row(5)[3 * x + 2]);
        EXPECT_EQ(bl.at(x, 3, 2), up.row(2)[3 * x]);
    }

    // Region, mask and a tiled destination against the plain one.
    TiledImage tiled(OZL_DEPTH_8U, 30, 20, 3, OZL_DATA_ORDER_PIXEL, 8, 8);
    TestImage plain(OZL_DEPTH_8U, 30, 20, 3), mask(OZL_DEPTH_1U, 20, 6);
    tiled.pixels().fillRandom(2);
    plain.fillRandom(2);
    mask.fillRandom(3);
    tiled.setRoi(0, 5, 3, 25, 17);
    plain.setRoi(0, 5, 3, 25, 17);
    tiled->maskROI = mask;
    plain.setMask(&mask);
    const TestImage before = plain.clone();
    ozlConvertFromDIB(up, plain);
    ozlConvertFromDIB(up, tiled);
    EXPECT_EQ(tiled.pixels().bytes(), plain.bytes());
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 30; ++x) {
            const bool in = x >= 5 && x < 25 && y >= 3 && y < 9 && mask.at(x - 5, y - 3);
            ASSERT_EQ(plain.at(x, y, 1), in ? up.row(y - 3)[3 * (x - 5) + 1] : before.at(x, y, 1)) << x << ", " << y;
        }
    tiled->maskROI = nullptr;

    // Back through the source's mask: the bitmap keeps its pixels where it is 0.
    Dib out(20, 6, 24);
    out.randomPixels(4);
    Dib outBefore = out;
    ozlConvertToDIB(plain, out);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 20; ++x)
            ASSERT_EQ(out.row(y)[3 * x], mask.at(x, y) ? plain.at(x + 5, y + 3, 0) : outBefore.row(y)[3 * x]);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Dib, SeparateRowsAndTranslation) {
    ErrorCapture errors;
    Dib packed(13, 3, 8);
    packed.randomPixels(5);
    for (int i = 0; i < 256; ++i) packed.palette()[i] = {static_cast<uint8_t>(i), 0, static_cast<uint8_t>(255 - i), 0};
    std::vector<uint8_t> rows(packed.bits(), packed.bits() + packed.stride() * 3);
    std::memset(packed.bits(), 0, rows.size());
    TestImage sep(OZL_DEPTH_8U, 13, 3, 3), fromPacked(OZL_DEPTH_8U, 13, 3, 3);
    ozlConvertFromDIBSep(packed, reinterpret_cast<const char*>(rows.data()), sep);
    std::memcpy(packed.bits(), rows.data(), rows.size());
    ozlConvertFromDIB(packed, fromPacked);
    EXPECT_EQ(sep.bytes(), fromPacked.bytes());
    std::vector<uint8_t> written(rows.size(), 0);
    ozlConvertToDIBSep(sep, packed, reinterpret_cast<char*>(written.data()));
    for (int y = 0; y < 3; ++y)  // the row padding is the bitmap's own
        EXPECT_EQ(std::memcmp(&written[y * packed.stride()], &rows[y * packed.stride()], 13), 0) << y;

    // In place for 8 bits: the image is the bitmap's rows, origin bottom-left.
    int clone = -1;
    OzlImage* shared = ozlTranslateDIB(packed, &clone);
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(clone, 0);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(shared->imageData), packed.bits());
    EXPECT_EQ(shared->origin, OZL_ORIGIN_BL);
    EXPECT_EQ(shared->widthStep, packed.stride());
    EXPECT_EQ(ozl::test::valueOf(shared, 4, 0, 0), packed.row(2)[4]);
    ozlDeallocate(shared, OZL_IMAGE_ALL);

    // Copied for 16 bits: the image holds what the conversion gives.
    Dib d16(9, -2, 16);
    d16.randomPixels(6);
    OzlImage* copied = ozlTranslateDIB(d16, &clone);
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(clone, 1);
    EXPECT_EQ(copied->origin, OZL_ORIGIN_TL);
    TestImage expected(OZL_DEPTH_8U, 9, 2, 3);
    ozlConvertFromDIB(d16, expected);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 9; ++x)
            for (int c = 0; c < 3; ++c) ASSERT_EQ(ozl::test::valueOf(copied, x, y, c), expected.at(x, y, c));
    ozlDeallocate(copied, OZL_IMAGE_ALL);

    Dib d32(3, 1, 32);
    OzlImage* rgba = ozlTranslateDIB(d32, nullptr);
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(rgba->nChannels, 4);
    EXPECT_EQ(rgba->alphaChannel, 4);
    ozlDeallocate(rgba, OZL_IMAGE_ALL);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Dib, Refusals) {
    ErrorCapture errors;
    TestImage d(OZL_DEPTH_8U, 5, 2, 3), grey(OZL_DEPTH_8U, 5, 2), two(OZL_DEPTH_8U, 5, 2, 2);
    TestImage u16(OZL_DEPTH_16U, 5, 2, 3), bits(OZL_DEPTH_1U, 5, 2), bad(OZL_DEPTH_8U, 5, 2);
    bad->imageData = nullptr;
    d.fillRandom(1);
    const auto before = d.bytes();
    Dib good(5, 2, 24), pal(5, 2, 8);
    struct Case {
        void (*edit)(OzlBitmapInfoHeader&);
        const char* message;
        int status, line;
    };
    const Case cases[] = {
        {[](OzlBitmapInfoHeader& h) { h.biSize = 12; }, "dib->biSize < 40", -5, 1},
        {[](OzlBitmapInfoHeader& h) { h.biWidth = 0; }, "dib->biWidth < 1 || dib->biHeight == 0", -10, 2},
        {[](OzlBitmapInfoHeader& h) { h.biHeight = 0; }, "dib->biWidth < 1 || dib->biHeight == 0", -10, 2},
        {[](OzlBitmapInfoHeader& h) { h.biPlanes = 2; }, "dib->biPlanes != 1", -5, 3},
        {[](OzlBitmapInfoHeader& h) { h.biBitCount = 2; }, "Unsupported dib->biBitCount", -5, 4},
        {[](OzlBitmapInfoHeader& h) { h.biCompression = 1; }, "Unsupported dib->biCompression", -5, 5},
        {[](OzlBitmapInfoHeader& h) { h.biCompression = OZL_BI_BITFIELDS; }, "Unsupported dib->biCompression", -5, 5},
    };
    for (const Case& c : cases) {
        Dib dib(5, 2, 24);
        c.edit(*dib.header());
        ozlConvertFromDIB(dib, d);
        expectRefused(errors, d, before, {c.status, "ozlConvertFromDIB", c.message, "ozldib", 30 + c.line});
    }
    Dib tooMany(5, 2, 4, OZL_BI_RGB, {}, 16);
    tooMany.header()->biClrUsed = 17;
    ozlConvertFromDIB(tooMany, d);
    expectRefused(errors, d, before, {-5, "ozlConvertFromDIB", "dib->biClrUsed > 1 << dib->biBitCount", "ozldib", 36});
    Dib holes(5, 2, 16, OZL_BI_BITFIELDS, {0xF800, 0x0520, 0x001F});
    ozlConvertFromDIB(holes, d);
    expectRefused(errors, d, before, {-5, "ozlConvertFromDIB", "Bad dib colour masks", "ozldib", 37});
    ozlConvertFromDIB(nullptr, d);
    expectRefused(errors, d, before, {-5, "ozlConvertFromDIB", "dib==0", "ozldib", 30});
    ozlConvertFromDIB(good, bad);
    expectRefused(errors, d, before, {-12, "ozlConvertFromDIB", "Incorrect Image", "ozldib", 40});
    ozlConvertFromDIBSep(good, nullptr, d);
    expectRefused(errors, d, before, {-5, "ozlConvertFromDIBSep", "dibBits==0", "ozldib", 80});

    const auto images = [&](OzlImage* im, const char* message, int status, int line) {
        const TestImage& target = im == u16.get() ? u16 : im == bits.get() ? bits : im == grey.get() ? grey : two;
        const auto was = target.bytes();
        ozlConvertFromDIB(good, im);
        expectRefused(errors, target, was, {status, "ozlConvertFromDIB", message, "ozldib", line});
    };
    images(u16, "image->depth != 8 && image->depth != 1", -17, 38);
    images(bits, "A 1-bit image meets bitmaps with colour tables only", -5, 38);
    images(grey, "A colour bitmap needs three processed channels", -5, 39);
    images(two, "Processed channels of the image are neither 1 nor 3", -5, 39);

    // The bitmap is left as it was when the conversion to it is refused.
    Dib target(5, 2, 24);
    target.randomPixels(2);
    const Dib targetBefore = target;
    ozlConvertToDIB(two, target);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlConvertToDIB", "Processed channels of the image are neither 1 nor 3", "ozldib", 119}));
    ozlConvertToDIB(bad, target);
    EXPECT_EQ(errors.last(), (ErrorReport{-12, "ozlConvertToDIB", "Incorrect Image", "ozldib", 120}));
    ozlConvertToDIBSep(d, target, nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlConvertToDIBSep", "dibBits==0", "ozldib", 160}));
    EXPECT_EQ(std::memcmp(target.bits(), const_cast<Dib&>(targetBefore).bits(), 2 * target.stride()), 0);
    errors.clear();
    Dib wrong(5, 2, 7);
    EXPECT_EQ(ozlTranslateDIB(wrong, nullptr), nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlTranslateDIB", "Unsupported dib->biBitCount", "ozldib", 194}));
}

}  // namespace
