// Bitmaps to images and back through the public interface.
#include "convert_check.hpp"

namespace {
using namespace ozl::convert_test;

// A packed bitmap in 4-byte aligned storage: header, masks, colour table, rows.
class Dib {
public:
    Dib(int width, int height, int bits, uint32_t compression = OZL_BI_RGB, std::vector<uint32_t> masks = {}, int colours = 0)
        : stride_(((width * bits + 31) / 32) * 4), rows_(std::abs(height)), masks_(static_cast<int>(masks.size())),
          table_(bits <= 8 ? (colours ? colours : 1 << bits) : colours) {
        storage_.assign((40 + 4 * masks_ + 4 * table_ + stride_ * rows_ + 3) / 4, 0);
        *header() = OzlBitmapInfoHeader{};
        header()->biSize = 40;
        header()->biWidth = width;
        header()->biHeight = height;
        header()->biPlanes = 1;
        header()->biBitCount = static_cast<uint16_t>(bits);
        header()->biCompression = compression;
        header()->biClrUsed = static_cast<uint32_t>(colours);
        if (masks_) std::memcpy(base() + 40, masks.data(), 4 * masks.size());
    }
    OzlBitmapInfoHeader* header() { return reinterpret_cast<OzlBitmapInfoHeader*>(storage_.data()); }
    operator OzlBitmapInfoHeader*() { return header(); }
    OzlRgbQuad* palette() { return reinterpret_cast<OzlRgbQuad*>(base() + 40 + 4 * masks_); }
    uint8_t* bits() { return base() + 40 + 4 * masks_ + 4 * table_; }
    uint8_t* row(int y) { return bits() + (header()->biHeight > 0 ? rows_ - 1 - y : y) * stride_; }  // y from the top
    int stride() const { return stride_; }
    void randomPixels(uint32_t seed) {
        std::mt19937 rng(seed);
        for (int i = 0; i < stride_ * rows_; ++i) bits()[i] = static_cast<uint8_t>(rng());
    }
    int index(int x, int y) {
        const int n = header()->biBitCount, perByte = 8 / n;
        return (row(y)[x / perByte] >> ((perByte - 1 - x % perByte) * n)) & ((1 << n) - 1);
    }

private:
    uint8_t* base() { return reinterpret_cast<uint8_t*>(storage_.data()); }
    std::vector<uint32_t> storage_;
    int stride_, rows_, masks_, table_;
};

// Colours through the table and back to the same indices (the entries are
// distinct), the indices through a one-channel image; 1-bit into 1U and back.
TEST(Dib, PaletteRoundTripForEveryBitCount) {
    ErrorCapture errors;
    for (int bits : {1, 4, 8}) {
        const int w = 37, h = 5;
        Dib dib(w, h, bits), back(w, h, bits), backIndices(w, -h, bits);
        std::mt19937 rng(bits);
        for (int i = 0; i < 1 << bits; ++i)
            dib.palette()[i] = back.palette()[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(rng()), static_cast<uint8_t>(rng()), 0};
        dib.randomPixels(bits);
        TestImage colour(U8, w, h, 3), indices(bits == 1 ? U1 : U8, w, h);
        ozlConvertFromDIB(dib, colour);
        ozlConvertFromDIB(dib, indices);
        ozlConvertToDIB(colour, back);
        ozlConvertToDIB(indices, backIndices);
        for (int i = 0; i < w * h; ++i) {
            const int x = i % w, y = i / w, k = dib.index(x, y);
            const OzlRgbQuad q = dib.palette()[k];
            ASSERT_TRUE(colour.at(x, y, 0) == q.rgbBlue && colour.at(x, y, 1) == q.rgbGreen && colour.at(x, y, 2) == q.rgbRed)
                << bits << " bits at " << x << ", " << y;  // blue first
            ASSERT_EQ(indices.at(x, y), k);
            ASSERT_TRUE(back.index(x, y) == k && backIndices.index(x, y) == k);
        }
    }
    Dib shortTable(4, 1, 8, OZL_BI_RGB, {}, 2);  // indices past a short table are black
    shortTable.palette()[1] = {10, 20, 30, 0};
    shortTable.row(0)[0] = 1;
    shortTable.row(0)[1] = 200;
    TestImage rgb(U8, 4, 1, 3);
    rgb.fill(99);
    ozlConvertFromDIB(shortTable, rgb);
    EXPECT_TRUE(rgb.at(0, 0, 2) == 30 && rgb.at(1, 0, 2) == 0);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Direct colour through an image and back to the same pixels; alpha from
// 32-bit pixels, opaque otherwise.
TEST(Dib, DirectColourRoundTrip) {
    ErrorCapture errors;
    const std::tuple<int, uint32_t, std::vector<uint32_t>, uint32_t> formats[] = {
        {16, OZL_BI_RGB, {}, 0x7FFF}, {16, OZL_BI_BITFIELDS, {0xF800, 0x07E0, 0x001F}, 0xFFFF}, {24, OZL_BI_RGB, {}, 0xFFFFFF},
        {32, OZL_BI_RGB, {}, 0xFFFFFFFF}, {32, OZL_BI_BITFIELDS, {0x00FF0000, 0x0000FF00, 0x000000FF}, 0x00FFFFFF}};
    for (const auto& [bits, compression, masks, used] : formats) {
        const int w = 23, h = 4, bytes = bits / 8;
        Dib dib(w, h, bits, compression, masks), back(w, -h, bits, compression, masks);
        dib.randomPixels(bits);
        TestImage image(U8, w, h, 4, OZL_DATA_ORDER_PLANE, true);
        ozlConvertFromDIB(dib, image);
        ozlConvertToDIB(image, back);
        for (int i = 0; i < w * h; ++i) {
            uint32_t a = 0, b = 0;
            std::memcpy(&a, dib.row(i / w) + i % w * bytes, bytes);
            std::memcpy(&b, back.row(i / w) + i % w * bytes, bytes);
            ASSERT_EQ(b & used, a & used) << bits << " bits at " << i;
            ASSERT_EQ(image.at(i % w, i / w, 3), bits == 32 && compression == OZL_BI_RGB ? a >> 24 : 255);
        }
    }
    // Fields by hand: 5 bits 16 -> 132 (131.6), 6 bits 63 -> 255, 5 bits 1 -> 8; 10 bits 512 -> 128 (127.6).
    Dib d565(1, 1, 16, OZL_BI_BITFIELDS, {0xF800, 0x07E0, 0x001F}), d10(1, 1, 32, OZL_BI_BITFIELDS, {0x3FF00000, 0x000FFC00, 0x000003FF});
    const uint16_t px = static_cast<uint16_t>(16 << 11 | 63 << 5 | 1);
    const uint32_t px10 = 512u << 20;
    std::memcpy(d565.row(0), &px, 2);
    std::memcpy(d10.row(0), &px10, 4);
    TestImage one(U8, 1, 1, 3), ten(U8, 1, 1, 3);
    ozlConvertFromDIB(d565, one);
    ozlConvertFromDIB(d10, ten);
    EXPECT_TRUE(one.at(0, 0, 2) == 132 && one.at(0, 0, 1) == 255 && one.at(0, 0, 0) == 8 && ten.at(0, 0, 2) == 128);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Rows meet upright whatever the orders; "RGB" images take red first; the
// region, the mask and tiles apply both ways.
TEST(Dib, RowOrderChannelOrderRegionsMasksTiles) {
    ErrorCapture errors;
    Dib up(20, 6, 24), down(20, -6, 24);
    up.randomPixels(1);
    for (int y = 0; y < 6; ++y) std::memcpy(down.row(y), up.row(y), 60);
    TestImage a(U8, 20, 6, 3), b(U8, 20, 6, 3), bl(U8, 20, 4, 3);
    ozlConvertFromDIB(up, a);
    ozlConvertFromDIB(down, b);
    EXPECT_EQ(a.bytes(), b.bytes());
    bl->origin = OZL_ORIGIN_BL;  // its first row meets the bitmap's bottom row
    std::memcpy(bl->channelSeq, "RGB", 4);
    ozlConvertFromDIB(up, bl);
    for (int x = 0; x < 20; ++x)
        EXPECT_TRUE(a.at(x, 0, 0) == up.row(0)[3 * x] && bl.at(x, 0, 0) == up.row(5)[3 * x + 2] && bl.at(x, 3, 2) == up.row(2)[3 * x]);
    const int roi[] = {5, 3, 25, 17};
    TiledPair p(U8, 30, 20, 3, 8, 8, 2, roi);
    TestImage mask(U1, 20, 6);
    mask.fillRandom(3);
    p.tiled->maskROI = mask;
    p.plain.setMask(&mask);
    const TestImage before = p.plain.clone();
    ozlConvertFromDIB(up, p.plain);
    ozlConvertFromDIB(up, p.tiled);
    EXPECT_TRUE(p.same());
    p.tiled->maskROI = nullptr;
    for (int i = 0; i < 30 * 20; ++i) {
        const int x = i % 30, y = i / 30;
        const bool in = x >= 5 && x < 25 && y >= 3 && y < 9 && mask.at(x - 5, y - 3);
        ASSERT_EQ(p.plain.at(x, y, 1), in ? up.row(y - 3)[3 * (x - 5) + 1] : before.at(x, y, 1)) << x << ", " << y;
    }
    Dib out(20, 6, 24);  // back through the source's mask: the bitmap keeps its pixels where it is 0
    out.randomPixels(4);
    Dib outBefore = out;
    ozlConvertToDIB(p.plain, out);
    for (int i = 0; i < 120; ++i)
        ASSERT_EQ(out.row(i / 20)[3 * (i % 20)], mask.at(i % 20, i / 20) ? p.plain.at(i % 20 + 5, i / 20 + 3, 0) : outBefore.row(i / 20)[3 * (i % 20)]);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Dib, SeparateRowsAndTranslation) {
    ErrorCapture errors;
    Dib packed(13, 3, 8);
    packed.randomPixels(5);
    for (int i = 0; i < 256; ++i) packed.palette()[i] = {static_cast<uint8_t>(i), 0, static_cast<uint8_t>(255 - i), 0};
    std::vector<uint8_t> rows(packed.bits(), packed.bits() + packed.stride() * 3), written(rows.size(), 0);
    TestImage sep(U8, 13, 3, 3), fromPacked(U8, 13, 3, 3);
    ozlConvertFromDIB(packed, fromPacked);
    std::memset(packed.bits(), 0, rows.size());
    ozlConvertFromDIBSep(packed, reinterpret_cast<const char*>(rows.data()), sep);
    EXPECT_EQ(sep.bytes(), fromPacked.bytes());
    ozlConvertToDIBSep(sep, packed, reinterpret_cast<char*>(written.data()));
    for (int y = 0; y < 3; ++y) EXPECT_EQ(std::memcmp(&written[y * packed.stride()], &rows[y * packed.stride()], 13), 0) << y;
    std::memcpy(packed.bits(), rows.data(), rows.size());
    // 8 bits in place: the image is the bitmap's rows, origin bottom-left.
    int clone = -1;
    OzlImage* shared = ozlTranslateDIB(packed, &clone);
    ASSERT_NE(shared, nullptr);
    EXPECT_TRUE(clone == 0 && shared->origin == OZL_ORIGIN_BL && shared->widthStep == packed.stride());
    EXPECT_EQ(reinterpret_cast<uint8_t*>(shared->imageData), packed.bits());
    EXPECT_EQ(valueOf(shared, 4, 0, 0), packed.row(2)[4]);
    ozlDeallocate(shared, OZL_IMAGE_ALL);
    // 16 bits copied: the image holds what the conversion gives.
    Dib d16(9, -2, 16), d32(3, 1, 32);
    d16.randomPixels(6);
    OzlImage* copied = ozlTranslateDIB(d16, &clone);
    ASSERT_NE(copied, nullptr);
    EXPECT_TRUE(clone == 1 && copied->origin == OZL_ORIGIN_TL);
    TestImage expected(U8, 9, 2, 3);
    ozlConvertFromDIB(d16, expected);
    for (int i = 0; i < 54; ++i) ASSERT_EQ(valueOf(copied, i / 3 % 9, i / 27, i % 3), expected.at(i / 3 % 9, i / 27, i % 3));
    ozlDeallocate(copied, OZL_IMAGE_ALL);
    OzlImage* rgba = ozlTranslateDIB(d32, nullptr);
    ASSERT_NE(rgba, nullptr);
    EXPECT_TRUE(rgba->nChannels == 4 && rgba->alphaChannel == 4);
    ozlDeallocate(rgba, OZL_IMAGE_ALL);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Dib, Refusals) {
    ErrorCapture errors;
    TestImage d(U8, 5, 2, 3), grey(U8, 5, 2), two(U8, 5, 2, 2), u16(U16, 5, 2, 3), bits(U1, 5, 2), bad(U8, 5, 2);
    bad->imageData = nullptr;
    d.fillRandom(1);
    Dib good(5, 2, 24), tooMany(5, 2, 4, OZL_BI_RGB, {}, 16), holes(5, 2, 16, OZL_BI_BITFIELDS, {0xF800, 0x0520, 0x001F});
    tooMany.header()->biClrUsed = 17;
    const char *F = "ozlConvertFromDIB", *M = "ozldib", *size = "dib->biWidth < 1 || dib->biHeight == 0", *comp = "Unsupported dib->biCompression";
    auto edited = [&](void (*edit)(OzlBitmapInfoHeader&)) {
        return [&d, edit] { Dib dib(5, 2, 24); edit(*dib.header()); ozlConvertFromDIB(dib, d); };
    };
    const std::string channels = "Processed channels of the image are neither 1 nor 3";
    expectRefusals(errors, {
        {[&] { ozlConvertFromDIB(nullptr, d); }, &d, {-5, F, "dib==0", M, 30}},
        {edited([](OzlBitmapInfoHeader& h) { h.biSize = 12; }), &d, {-5, F, "dib->biSize < 40", M, 31}},
        {edited([](OzlBitmapInfoHeader& h) { h.biWidth = 0; }), &d, {-10, F, size, M, 32}},
        {edited([](OzlBitmapInfoHeader& h) { h.biHeight = 0; }), &d, {-10, F, size, M, 32}},
        {edited([](OzlBitmapInfoHeader& h) { h.biPlanes = 2; }), &d, {-5, F, "dib->biPlanes != 1", M, 33}},
        {edited([](OzlBitmapInfoHeader& h) { h.biBitCount = 2; }), &d, {-5, F, "Unsupported dib->biBitCount", M, 34}},
        {edited([](OzlBitmapInfoHeader& h) { h.biCompression = 1; }), &d, {-5, F, comp, M, 35}},
        {edited([](OzlBitmapInfoHeader& h) { h.biCompression = OZL_BI_BITFIELDS; }), &d, {-5, F, comp, M, 35}},
        {[&] { ozlConvertFromDIB(tooMany, d); }, &d, {-5, F, "dib->biClrUsed > 1 << dib->biBitCount", M, 36}},
        {[&] { ozlConvertFromDIB(holes, d); }, &d, {-5, F, "Bad dib colour masks", M, 37}},
        {[&] { ozlConvertFromDIB(good, u16); }, &u16, {-17, F, "image->depth != 8 && image->depth != 1", M, 38}},
        {[&] { ozlConvertFromDIB(good, bits); }, &bits, {-5, F, "A 1-bit image meets bitmaps with colour tables only", M, 38}},
        {[&] { ozlConvertFromDIB(good, grey); }, &grey, {-5, F, "A colour bitmap needs three processed channels", M, 39}},
        {[&] { ozlConvertFromDIB(good, two); }, &two, {-5, F, channels, M, 39}},
        {[&] { ozlConvertFromDIB(good, bad); }, &d, {-12, F, "Incorrect Image", M, 40}},
        {[&] { ozlConvertFromDIBSep(good, nullptr, d); }, &d, {-5, "ozlConvertFromDIBSep", "dibBits==0", M, 80}},
    });
    // The bitmap is left as it was when the conversion to it is refused.
    good.randomPixels(2);
    const std::vector<uint8_t> goodBefore(good.bits(), good.bits() + 2 * good.stride());
    const std::pair<std::function<void()>, ErrorReport> toDib[] = {
        {[&] { ozlConvertToDIB(two, good); }, {-5, "ozlConvertToDIB", channels, M, 119}},
        {[&] { ozlConvertToDIB(bad, good); }, {-12, "ozlConvertToDIB", "Incorrect Image", M, 120}},
        {[&] { ozlConvertToDIBSep(d, good, nullptr); }, {-5, "ozlConvertToDIBSep", "dibBits==0", M, 160}},
        {[&] { EXPECT_EQ(ozlTranslateDIB(Dib(5, 2, 7), nullptr), nullptr); }, {-5, "ozlTranslateDIB", "Unsupported dib->biBitCount", M, 194}},
    };
    for (const auto& [call, want] : toDib) {
        call();
        EXPECT_EQ(errors.last(), want);
        EXPECT_EQ(std::memcmp(good.bits(), goodBefore.data(), goodBefore.size()), 0);
        errors.clear();
    }
}

}  // namespace
