// Pixel-wise arithmetic, logic, shifts, comparisons, fills, copies, exchange, depth conversions, threshold and
// bit reduction (mostly arguments drawn from their types), compositing, pixel access and bitmaps.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;
using ozl::fuzz::ranged;

// Get or put one pixel at a coordinate mostly near the image, through a buffer of the bytes the pixel takes
// (all channels, or the channel of interest's) as a caller computes them.
template <bool put>
void pixel(Case& c) {
    OzlImage* image = c.pick();
    const int x = c.mostly(-1, image ? std::max(image->width, 0) : 1, 85);
    const int y = c.mostly(-1, image ? std::max(image->height, 0) : 1, 85);
    const int channels = !image ? 1 : image->roi && image->roi->coi > 0 ? 1 : std::clamp(image->nChannels, 1, 64);
    std::vector<unsigned char> value(size_t(channels) * size_t(std::clamp(image ? int(image->depth & 0xFFu) / 8 : 1, 1, 8)));
    for (unsigned char& v : value) v = static_cast<unsigned char>(c.rng().next());
    unsigned char* p = c.rng().percent(3) ? nullptr : value.data();
    if (put) ozlPutPixel(image, x, y, p);
    else ozlGetPixel(image, x, y, p);
}

// A bitmap of random, mostly valid fields in storage of exactly the size its header describes: header (40
// bytes, or longer with zeros), colour masks, colour table, rows; with `separate`, the rows in a buffer of
// their own.
struct Bitmap {
    std::vector<uint32_t> record;  // 4-byte aligned as bitmaps are
    std::vector<char> rows;

    Bitmap(Case& c, bool separate) {
        ozl::fuzz::Rng& r = c.rng();
        const uint32_t size = r.percent(80) ? 40u : r.of({12u, 39u, 108u, 124u});
        const int width = r.percent(95) ? r.between(1, 70) : r.of({0, -3});
        const int height = (r.percent(95) ? r.between(1, 40) : 0) * (r.percent(30) ? -1 : 1);
        const int bits = r.percent(95) ? r.of({1, 4, 8, 16, 24, 32}) : r.of({0, 2, 15, 64});
        uint32_t compression = (bits == 16 || bits == 32) && r.percent(50) ? OZL_BI_BITFIELDS : OZL_BI_RGB;
        if (r.percent(3)) compression = r.of({1u, 2u, 3u, 4u});
        const bool indexed = bits > 0 && bits <= 8;
        const uint32_t used = indexed && r.percent(50) ? uint32_t(r.between(1, (1 << bits) + 1)) : 0;
        const size_t masks = compression == OZL_BI_BITFIELDS && size <= 40 ? 3 : 0;
        const size_t table = indexed ? (used ? used : 1u << bits) : 0;
        const size_t rowBytes = (size_t(std::max(width, 0)) * size_t(bits) + 31) / 32 * 4 * size_t(std::abs(height));
        const size_t head = std::max<size_t>(size, 40) + 4 * masks + 4 * table;
        record.resize((head + (separate ? 0 : rowBytes) + 3) / 4);
        auto* bytes = reinterpret_cast<unsigned char*>(record.data());
        for (size_t i = 40; i < record.size() * 4; ++i) bytes[i] = static_cast<unsigned char>(r.next());
        std::memset(bytes, 0, std::max<size_t>(size, 40));
        *header() = {size, width, height, static_cast<uint16_t>(r.percent(97) ? 1 : 2),
                     static_cast<uint16_t>(bits), compression, 0, 0, 0, used, 0};
        if (compression == OZL_BI_BITFIELDS) {
            uint32_t m[3] = {0x7C00u, 0x03E0u, 0x001Fu};
            if (bits == 32) m[0] = 0xFF0000u, m[1] = 0xFF00u, m[2] = 0xFFu;
            if (r.percent(20)) m[r.below(3)] = static_cast<uint32_t>(r.next());
            std::memcpy(bytes + 40, m, sizeof m);
        }
        rows.resize(separate ? std::max<size_t>(rowBytes, 1) : 0);
        for (char& v : rows) v = static_cast<char>(r.next());
    }
    OzlBitmapInfoHeader* header() { return reinterpret_cast<OzlBitmapInfoHeader*>(record.data()); }
    char* bits(Case& c) { return c.rng().percent(3) ? nullptr : rows.data(); }
};

// The bitmap calls on one random bitmap (the odd ones with its rows apart); NULL headers and rows now and then.
template <int which>
void dib(Case& c) {
    Bitmap b(c, which % 2 == 1);
    OzlBitmapInfoHeader* h = which % 2 == 0 && c.rng().percent(2) ? nullptr : b.header();
    int clone = -1;
    switch (which) {
        case 0: ozlConvertFromDIB(h, c.pick()); break;
        case 1: ozlConvertFromDIBSep(h, b.bits(c), c.pick()); break;
        case 2: ozlConvertToDIB(c.pick(), h); break;
        case 3: ozlConvertToDIBSep(c.pick(), h, b.bits(c)); break;
        default:
            if (OzlImage* image = ozlTranslateDIB(h, c.rng().percent(30) ? nullptr : &clone))
                ozlDeallocate(image, OZL_IMAGE_ALL);
    }
}

const ozl::fuzz::Registrar calls({
    OZL_FUZZ(ozlAdd), OZL_FUZZ(ozlSubtract), OZL_FUZZ(ozlMultiply), OZL_FUZZ(ozlMultiplyScale), OZL_FUZZ(ozlAddS),
    OZL_FUZZ(ozlSubtractS), OZL_FUZZ(ozlMultiplyS), OZL_FUZZ(ozlMultiplySScale), OZL_FUZZ(ozlAddSFP),
    OZL_FUZZ(ozlSubtractSFP), OZL_FUZZ(ozlMultiplySFP), OZL_FUZZ(ozlAbs), OZL_FUZZ(ozlSquare), OZL_FUZZ(ozlAnd),
    OZL_FUZZ(ozlOr), OZL_FUZZ(ozlXor), OZL_FUZZ(ozlNot), OZL_FUZZ(ozlAndS), OZL_FUZZ(ozlOrS), OZL_FUZZ(ozlXorS),
    OZL_FUZZ(ozlLShiftS), OZL_FUZZ(ozlRShiftS), OZL_FUZZ(ozlLess), OZL_FUZZ(ozlGreater), OZL_FUZZ(ozlEqual),
    OZL_FUZZ(ozlLessS), OZL_FUZZ(ozlGreaterS), OZL_FUZZ(ozlEqualS), OZL_FUZZ(ozlLessSFP), OZL_FUZZ(ozlGreaterSFP),
    OZL_FUZZ(ozlEqualSFP), OZL_FUZZ(ozlEqualFPEps), OZL_FUZZ(ozlEqualSFPEps),
    {"ozlMinMaxFP", [](Case& c) {
         OzlImage* image = c.pick();
         float lo = 0, hi = 0;
         ozlMinMaxFP(image, &lo, c.rng().percent(90) ? &hi : nullptr);
     }},
    OZL_FUZZ(ozlSet), OZL_FUZZ(ozlSetFP), OZL_FUZZ(ozlCopy), OZL_FUZZ(ozlExchange), OZL_FUZZ(ozlConvert),
    OZL_FUZZ(ozlScale), OZL_FUZZ(ozlBitonalToGray), OZL_FUZZ(ozlThreshold),
    {"ozlScaleFP", [](Case& c) {  // mostly an ordinary range, so that the mapping itself runs
         const auto [s, d] = c.picks<2>();
         const bool plain = c.rng().percent(70);
         const float lo = plain ? -1.0f : c.anyFloat();
         ozlScaleFP(s, d, lo, plain ? float(c.small(0, 300)) : c.anyFloat());
     }},
    {"ozlReduceBits", ranged<ozlReduceBits, 0, 17, 0, 2>}, {"ozlAlphaCompositeC", ranged<ozlAlphaCompositeC, 0, 11>},
    {"ozlAlphaComposite", [](Case& c) {  // separate alpha images now and then
         const auto [a, b, d] = c.picks<3>();
         const int type = c.mostly(0, 11, 90);
         OzlImage* alphas[3] = {};
         for (OzlImage*& alpha : alphas) alpha = c.rng().percent(25) ? c.pick() : nullptr;
         ozlAlphaComposite(a, b, d, type, alphas[0], alphas[1], alphas[2], c.small(0, 1));
     }},
    {"ozlPreMultiplyAlpha", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         ozlPreMultiplyAlpha(s, d, c.rng().percent(40) ? c.pick() : nullptr);
     }},
    {"ozlGetPixel", pixel<false>}, {"ozlPutPixel", pixel<true>}, {"ozlConvertFromDIB", dib<0>},
    {"ozlConvertFromDIBSep", dib<1>}, {"ozlConvertToDIB", dib<2>}, {"ozlConvertToDIBSep", dib<3>}, {"ozlTranslateDIB", dib<4>},
});

}  // namespace
