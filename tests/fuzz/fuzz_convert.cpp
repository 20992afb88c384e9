// Fills, copies, exchange, depth conversions, threshold and bit reduction,
// compositing, pixel access and bitmaps.
#include <algorithm>
#include <cstring>
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

template <void (*F)(OzlImage*, OzlImage*)>
void pair(Case& c) {
    const auto [s, d] = c.picks<2>();
    F(s, d);
}

int compositeType(Case& c) {
    return c.rng().percent(90) ? static_cast<int>(c.rng().below(12)) : c.anyInt();
}

int premultiplied(Case& c) { return static_cast<int>(c.rng().below(2)); }

void composite(Case& c) {
    const auto [a, b, d] = c.picks<3>();
    const int type = compositeType(c);
    // Separate alpha images now and then; mostly none.
    OzlImage* alphas[3] = {};
    for (OzlImage*& alpha : alphas)
        if (c.rng().percent(25)) alpha = c.pick();
    ozlAlphaComposite(a, b, d, type, alphas[0], alphas[1], alphas[2], premultiplied(c));
}

void compositeConstant(Case& c) {
    const auto [a, b, d] = c.picks<3>();
    const int type = compositeType(c);
    const int alphaA = c.anyInt(), alphaB = c.anyInt();
    ozlAlphaCompositeC(a, b, d, type, alphaA, alphaB, premultiplied(c));
}

void preMultiply(Case& c) {
    const auto [s, d] = c.picks<2>();
    OzlImage* alpha = c.rng().percent(40) ? c.pick() : nullptr;
    ozlPreMultiplyAlpha(s, d, alpha);
}

// The bytes a pixel of `image` takes (all channels, or the channel of
// interest's), computed from the header as a caller would; at least 1.
size_t pixelBytes(const OzlImage* image) {
    if (!image) return 1;
    const int channels = image->roi && image->roi->coi > 0 ? 1 : std::clamp(image->nChannels, 1, 64);
    const int value = std::max(1, static_cast<int>(image->depth & 0xFFu) / 8);
    return static_cast<size_t>(channels) * static_cast<size_t>(std::min(value, 8));
}

int coordinate(Case& c, int size) {
    return c.rng().percent(85) ? static_cast<int>(c.rng().between(-1, std::max(size, 0)))
                               : c.anyInt();
}

void getPixel(Case& c) {
    const OzlImage* image = c.pick();
    const int x = coordinate(c, image ? image->width : 1);
    const int y = coordinate(c, image ? image->height : 1);
    std::vector<unsigned char> pixel(pixelBytes(image));
    ozlGetPixel(image, x, y, c.rng().percent(3) ? nullptr : pixel.data());
}

void putPixel(Case& c) {
    OzlImage* image = c.pick();
    const int x = coordinate(c, image ? image->width : 1);
    const int y = coordinate(c, image ? image->height : 1);
    std::vector<unsigned char> pixel(pixelBytes(image));
    for (unsigned char& v : pixel) v = static_cast<unsigned char>(c.rng().next());
    ozlPutPixel(image, x, y, c.rng().percent(3) ? nullptr : pixel.data());
}

// A bitmap of random, mostly valid fields in storage of exactly the size its
// header describes: header (40 bytes, or longer with zeros), colour masks,
// colour table, rows; with `separate`, the rows in a buffer of their own.
struct Bitmap {
    std::vector<uint32_t> record;  // 4-byte aligned as bitmaps are
    std::vector<char> rows;
    size_t rowBytes = 0;

    Bitmap(Case& c, bool separate) {
        ozl::fuzz::Rng& r = c.rng();
        const uint32_t size = r.percent(80) ? 40u : r.of({12u, 39u, 108u, 124u});
        const int width = r.percent(95) ? static_cast<int>(r.between(1, 70)) : r.of({0, -3});
        int height = r.percent(95) ? static_cast<int>(r.between(1, 40)) : 0;
        if (r.percent(30)) height = -height;
        const int bits = r.percent(95) ? r.of({1, 4, 8, 16, 24, 32}) : r.of({0, 2, 15, 64});
        uint32_t compression = OZL_BI_RGB;
        if ((bits == 16 || bits == 32) && r.percent(50)) compression = OZL_BI_BITFIELDS;
        if (r.percent(3)) compression = r.of({1u, 2u, 3u, 4u});
        const bool indexed = bits > 0 && bits <= 8;
        uint32_t used = 0;
        if (indexed && r.percent(50)) used = static_cast<uint32_t>(r.between(1, (1 << bits) + 1));
        const size_t masks = compression == OZL_BI_BITFIELDS && size <= 40 ? 3 : 0;
        const size_t table = indexed ? (used ? used : 1u << bits) : 0;
        const size_t stride =
            (static_cast<size_t>(std::max(width, 0)) * static_cast<size_t>(bits) + 31) / 32 * 4;
        rowBytes = stride * static_cast<size_t>(height < 0 ? -height : height);
        const size_t head = std::max<size_t>(size, 40) + 4 * masks + 4 * table;
        record.resize((head + (separate ? 0 : rowBytes) + 3) / 4);
        auto* bytes = reinterpret_cast<unsigned char*>(record.data());
        for (size_t i = 40; i < record.size() * 4; ++i) bytes[i] = static_cast<unsigned char>(r.next());
        if (size > 40) std::memset(bytes + 40, 0, size - 40);
        OzlBitmapInfoHeader& h = *header();
        std::memset(&h, 0, 40);
        h.biSize = size;
        h.biWidth = width;
        h.biHeight = height;
        h.biPlanes = static_cast<uint16_t>(r.percent(97) ? 1 : 2);
        h.biBitCount = static_cast<uint16_t>(bits);
        h.biCompression = compression;
        h.biClrUsed = used;
        if (compression == OZL_BI_BITFIELDS) {
            uint32_t m[3] = {0x7C00u, 0x03E0u, 0x001Fu};
            if (bits == 32) m[0] = 0xFF0000u, m[1] = 0xFF00u, m[2] = 0xFFu;
            if (r.percent(20)) {
                const uint32_t which = r.below(3);
                m[which] = static_cast<uint32_t>(r.next());
            }
            std::memcpy(bytes + 40, m, sizeof m);
        }
        if (separate) {
            rows.resize(std::max<size_t>(rowBytes, 1));
            for (char& v : rows) v = static_cast<char>(r.next());
        }
    }
    OzlBitmapInfoHeader* header() { return reinterpret_cast<OzlBitmapInfoHeader*>(record.data()); }
    char* bits(Case& c) { return c.rng().percent(3) ? nullptr : rows.data(); }
};

void fromDib(Case& c) {
    Bitmap b(c, false);
    ozlConvertFromDIB(c.rng().percent(2) ? nullptr : b.header(), c.pick());
}

void fromDibSep(Case& c) {
    Bitmap b(c, true);
    ozlConvertFromDIBSep(b.header(), b.bits(c), c.pick());
}

void toDib(Case& c) {
    Bitmap b(c, false);
    ozlConvertToDIB(c.pick(), c.rng().percent(2) ? nullptr : b.header());
}

void toDibSep(Case& c) {
    Bitmap b(c, true);
    ozlConvertToDIBSep(c.pick(), b.header(), b.bits(c));
}

void translateDib(Case& c) {
    Bitmap b(c, false);
    int clone = -1;
    OzlImage* image = ozlTranslateDIB(b.header(), c.rng().percent(30) ? nullptr : &clone);
    if (image) ozlDeallocate(image, OZL_IMAGE_ALL);
}

const ozl::fuzz::Registrar calls("convert", {
    {"ozlSet", [](Case& c) { OzlImage* image = c.pick(); ozlSet(image, c.anyInt()); }},
    {"ozlSetFP", [](Case& c) { OzlImage* image = c.pick(); ozlSetFP(image, c.anyFloat()); }},
    {"ozlCopy", pair<ozlCopy>},
    {"ozlExchange", pair<ozlExchange>},
    {"ozlConvert", pair<ozlConvert>},
    {"ozlScale", pair<ozlScale>},
    {"ozlScaleFP", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         // Mostly an ordinary range, so that the mapping itself runs.
         const bool plain = c.rng().percent(70);
         const float lo = plain ? -1.0f : c.anyFloat();
         const float hi = plain ? static_cast<float>(c.rng().between(0, 300)) : c.anyFloat();
         ozlScaleFP(s, d, lo, hi);
     }},
    {"ozlBitonalToGray", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         const int zero = c.anyInt(), one = c.anyInt();
         ozlBitonalToGray(s, d, zero, one);
     }},
    {"ozlThreshold", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         ozlThreshold(s, d, c.anyInt());
     }},
    {"ozlReduceBits", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         const int n = c.rng().percent(90) ? static_cast<int>(c.rng().between(0, 17)) : c.anyInt();
         const int dither = c.rng().percent(90) ? static_cast<int>(c.rng().below(3)) : c.anyInt();
         ozlReduceBits(s, d, n, dither);
     }},
    {"ozlAlphaComposite", composite},
    {"ozlAlphaCompositeC", compositeConstant},
    {"ozlPreMultiplyAlpha", preMultiply},
    {"ozlGetPixel", getPixel},
    {"ozlPutPixel", putPixel},
    {"ozlConvertFromDIB", fromDib},
    {"ozlConvertFromDIBSep", fromDibSep},
    {"ozlConvertToDIB", toDib},
    {"ozlConvertToDIBSep", toDibSep},
    {"ozlTranslateDIB", translateDib},
});

}  // namespace
