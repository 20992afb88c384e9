// Device-independent bitmaps: ozlConvertFromDIB(Sep), ozlConvertToDIB(Sep),
// ozlTranslateDIB. A bitmap is read into (or written from) an untiled
// working image laid out like the ozl image's processed channels, and the
// image side goes through the copy (regions, channels of interest, masks,
// tiles) or the bordered fetch. Rows are matched from the image region's
// first row in memory and the bitmap's top row (top-left images) or bottom
// row (bottom-left images), so that pictures stay upright.
#include <algorithm>
#include <cstring>

#include "convert/kernels.hpp"
#include "convert/pairing.hpp"
#include "core/border_fetch.hpp"
#include "core/checks.hpp"
#include "image/region.hpp"

using ozl::core::Caller;
using ozl::core::fail;
using ozl::core::headersValid;

namespace {

// One colour field of a direct-colour pixel: its mask's shift and width.
struct Field {
    int shift = 0;
    int bits = 0;
    uint32_t max() const { return bits >= 32 ? 0xFFFFFFFFu : (1u << bits) - 1; }
    uint32_t read(uint32_t pixel) const { return (pixel >> shift) & max(); }
};

// A contiguous run of ones; false for 0 or a mask with holes.
bool fieldOf(uint32_t mask, Field* f) {
    if (mask == 0) return false;
    f->shift = 0;
    while (!(mask & 1u)) {
        mask >>= 1;
        ++f->shift;
    }
    f->bits = 0;
    while (mask & 1u) {
        mask >>= 1;
        ++f->bits;
    }
    return mask == 0;
}

// A field's value to 8 bits and back, each rounded to nearest.
uint8_t widen(uint32_t v, const Field& f) {
    const uint64_t max = f.max();
    return static_cast<uint8_t>((v * uint64_t{255} + max / 2) / max);
}
uint32_t narrow(uint8_t v, const Field& f) {
    return static_cast<uint32_t>((v * uint64_t{f.max()} + 127) / 255);
}

// A bitmap as its header describes it.
struct Bitmap {
    int width = 0, height = 0;
    bool bottomUp = true;
    int bits = 0;
    bool bitfields = false;
    Field fields[3];  // blue, green, red
    const OzlRgbQuad* palette = nullptr;
    int paletteSize = 0;
    ptrdiff_t stride = 0;
    char* pixels = nullptr;

    // Row v counted from the top of the picture.
    char* row(int v) const { return pixels + (bottomUp ? height - 1 - v : v) * stride; }
};

// Checks a bitmap header (lines from `base`) and reads its layout; `bits` is
// the pixel rows, or NULL for the rows of a packed bitmap.
bool readBitmap(const Caller& caller, const OzlBitmapInfoHeader* h, const char* bits, int base,
                Bitmap* b) {
    if (!h) return fail(caller, OZL_StsBadArg, "dib==0", base);
    if (h->biSize < 40) return fail(caller, OZL_StsBadArg, "dib->biSize < 40", base + 1);
    if (h->biWidth < 1 || h->biHeight == 0 || h->biHeight == INT32_MIN)
        return fail(caller, OZL_StsBadImageSize, "dib->biWidth < 1 || dib->biHeight == 0", base + 2);
    if (h->biPlanes != 1) return fail(caller, OZL_StsBadArg, "dib->biPlanes != 1", base + 3);
    const int count = h->biBitCount;
    if (count != 1 && count != 4 && count != 8 && count != 16 && count != 24 && count != 32)
        return fail(caller, OZL_StsBadArg, "Unsupported dib->biBitCount", base + 4);
    const bool bitfields = h->biCompression == OZL_BI_BITFIELDS;
    if (h->biCompression != OZL_BI_RGB && !(bitfields && (count == 16 || count == 32)))
        return fail(caller, OZL_StsBadArg, "Unsupported dib->biCompression", base + 5);
    const bool indexed = count <= 8;
    if (indexed && h->biClrUsed > (1u << count))
        return fail(caller, OZL_StsBadArg, "dib->biClrUsed > 1 << dib->biBitCount", base + 6);

    const char* after = reinterpret_cast<const char*>(h) + h->biSize;
    b->width = h->biWidth;
    b->height = h->biHeight < 0 ? -h->biHeight : h->biHeight;
    b->bottomUp = h->biHeight > 0;
    b->bits = count;
    b->bitfields = bitfields;
    if (bitfields) {
        // The masks sit right after a 40-byte header, inside longer ones.
        uint32_t masks[3];
        std::memcpy(masks, reinterpret_cast<const char*>(h) + 40, sizeof masks);
        for (int c = 0; c < 3; ++c)
            if (!fieldOf(masks[2 - c], &b->fields[c]))
                return fail(caller, OZL_StsBadArg, "Bad dib colour masks", base + 7);
        if (h->biSize == 40) after += sizeof masks;
    } else if (count == 16) {
        b->fields[0] = {0, 5};
        b->fields[1] = {5, 5};
        b->fields[2] = {10, 5};
    }
    b->paletteSize = indexed && h->biClrUsed == 0 ? 1 << count : static_cast<int>(h->biClrUsed);
    b->palette = reinterpret_cast<const OzlRgbQuad*>(after);
    b->stride = static_cast<ptrdiff_t>((static_cast<int64_t>(b->width) * count + 31) / 32 * 4);
    b->pixels = const_cast<char*>(bits ? bits : after + 4 * static_cast<ptrdiff_t>(b->paletteSize));
    return true;
}

// How the image's processed channels meet the bitmap: one channel of palette
// indices (or 1-bit values), or colours in the order the channel sequence
// names them, with the alpha channel after them when the image has one.
struct Layout {
    int colours = 0;     // 1 or 3
    bool alpha = false;  // a fourth value: the image's alpha channel
    bool rgb = false;    // channel 0 is red
};

bool layoutOf(const Caller& caller, const OzlImage* im, const Bitmap& b, int base, Layout* l) {
    const int processed = ozl::image::effectiveChannels(im);
    if (processed != 1 && processed != 3)
        return fail(caller, OZL_StsBadArg, "Processed channels of the image are neither 1 nor 3", base + 9);
    if (processed == 1 && b.bits > 8)
        return fail(caller, OZL_StsBadArg, "A colour bitmap needs three processed channels", base + 9);
    l->colours = processed;
    l->alpha = processed == 3 && im->alphaChannel > 0 && !ozl::image::hasCoi(im);
    l->rgb = im->channelSeq[0] == 'R';
    return true;
}

// The depth an image needs: 8U, or 1U with one channel; a 1U destination
// takes 1-bit bitmaps only.
bool depthFits(const Caller& caller, const OzlImage* im, const Bitmap& b, int base) {
    if (im->depth != OZL_DEPTH_8U && im->depth != OZL_DEPTH_1U)
        return fail(caller, OZL_StsBadDepth, "image->depth != 8 && image->depth != 1", base + 8);
    if (im->depth == OZL_DEPTH_1U && b.bits > 8)
        return fail(caller, OZL_StsBadArg, "A 1-bit image meets bitmaps with colour tables only", base + 8);
    return true;
}

// Palette indices of 1, 4 or 8 bits, the leftmost pixel in the high bits.
int indexAt(int bits, const uint8_t* row, int x) {
    const int perByte = 8 / bits;
    return (row[x / perByte] >> ((perByte - 1 - x % perByte) * bits)) & ((1 << bits) - 1);
}

void setIndex(int bits, uint8_t* row, int x, int index) {
    const int perByte = 8 / bits;
    const int shift = (perByte - 1 - x % perByte) * bits;
    const int mask = ((1 << bits) - 1) << shift;
    row[x / perByte] = static_cast<uint8_t>((row[x / perByte] & ~mask) | ((index << shift) & mask));
}

// Blue, green, red, alpha of bitmap pixel x of a row; palette entries beyond
// the table are black. Only direct 32-bit pixels carry an alpha (their fourth
// byte); the others are opaque.
void decode(const Bitmap& b, const uint8_t* row, int x, uint8_t out[4]) {
    out[3] = 255;
    if (b.bits <= 8) {
        const int index = indexAt(b.bits, row, x);
        if (index >= b.paletteSize) {
            out[0] = out[1] = out[2] = 0;
            return;
        }
        const OzlRgbQuad q = b.palette[index];
        out[0] = q.rgbBlue;
        out[1] = q.rgbGreen;
        out[2] = q.rgbRed;
        return;
    }
    if (b.bits == 24) {
        std::memcpy(out, row + 3 * x, 3);
        return;
    }
    uint32_t v = 0;
    std::memcpy(&v, row + x * (b.bits / 8), static_cast<size_t>(b.bits / 8));
    if (b.bits == 32 && !b.bitfields) {
        std::memcpy(out, &v, 4);
        return;
    }
    for (int c = 0; c < 3; ++c) out[c] = widen(b.fields[c].read(v), b.fields[c]);
}

// The nearest palette entry to a colour (squared distance, the lowest index
// among equals), with a small cache of recent answers: images hold far fewer
// colours than pixels.
class PaletteMatch {
public:
    explicit PaletteMatch(const Bitmap& b) : b_(b) {}
    int operator()(uint8_t blue, uint8_t green, uint8_t red) {
        const uint32_t key = (uint32_t{red} << 16 | uint32_t{green} << 8 | blue) + 1;
        Entry& e = cache_[(key * 2654435761u) >> 22];
        if (e.key == key) return e.index;
        int best = 0;
        int64_t bestDistance = INT64_MAX;
        for (int i = 0; i < b_.paletteSize; ++i) {
            const OzlRgbQuad q = b_.palette[i];
            const int64_t db = q.rgbBlue - blue, dg = q.rgbGreen - green, dr = q.rgbRed - red;
            const int64_t d = db * db + dg * dg + dr * dr;
            if (d < bestDistance) {
                bestDistance = d;
                best = i;
            }
        }
        e = {key, best};
        return best;
    }

private:
    struct Entry {
        uint32_t key = 0;
        int index = 0;
    };
    const Bitmap& b_;
    Entry cache_[1024];
};

// Image row r of the common region meets the bitmap's row counted from the
// top: r for top-left images, from the bottom for bottom-left ones.
int bitmapRow(const Bitmap& b, const OzlImage* im, int r) {
    return im->origin == OZL_ORIGIN_BL ? b.height - 1 - r : r;
}

// One value of the working image: pixel x of row y, processed channel c.
uint8_t* at(const ozl::image::View& v, const OzlImage* im, int x, int y, int c) {
    char* p = v.data + y * v.rowStep;
    p += im->dataOrder == OZL_DATA_ORDER_PLANE ? c * v.planeStep + x : x * v.pixelStride + c;
    return reinterpret_cast<uint8_t*>(p);
}

// The bitmap into the destination's region; false when a failure was reported.
bool fromBitmap(const Caller& caller, const Bitmap& b, OzlImage* dst, int base) {
    Layout l;
    if (!depthFits(caller, dst, b, base) || !layoutOf(caller, dst, b, base, &l)) return false;
    const ozl::image::RegionStart region = ozl::image::regionStart(dst, 0);
    const int w = std::min(region.width, b.width), h = std::min(region.height, b.height);
    if (w == 0 || h == 0) return true;
    const bool bits = dst->depth == OZL_DEPTH_1U;
    const int nCh = l.colours + (l.alpha ? 1 : 0);
    OzlImage* work = ozlCreateImageHeader(nCh, l.alpha ? nCh : 0, dst->depth, "RGB", "BGR",
                                          OZL_DATA_ORDER_PIXEL, dst->origin, OZL_ALIGN_4BYTES, w, h,
                                          nullptr, nullptr, nullptr, nullptr);
    if (work) ozlAllocateImage(work, 0, 0);
    if (!work || !work->imageData) {
        ozlDeallocate(work, OZL_IMAGE_HEADER);
        return fail(caller, OZL_StsNoMem, "Not enough memory", base + 13);
    }
    const ozl::image::View v = ozl::image::regionView(work);
    for (int r = 0; r < h; ++r) {
        const auto* row = reinterpret_cast<const uint8_t*>(b.row(bitmapRow(b, dst, r)));
        auto* out = reinterpret_cast<uint8_t*>(v.data + r * v.rowStep);
        for (int x = 0; x < w; ++x) {
            if (bits) {
                setIndex(1, out, x, indexAt(b.bits, row, x));
            } else if (l.colours == 1) {
                out[x] = static_cast<uint8_t>(indexAt(b.bits, row, x));
            } else {
                uint8_t bgra[4];
                decode(b, row, x, bgra);
                uint8_t* p = out + x * nCh;
                p[0] = l.rgb ? bgra[2] : bgra[0];
                p[1] = bgra[1];
                p[2] = l.rgb ? bgra[0] : bgra[2];
                if (l.alpha) p[3] = bgra[3];
            }
        }
    }
    size_t valueBytes;
    ozl::core::MapKernel kernel = ozl::convert::copyKernel(dst, &valueBytes);
    kernel.withAlpha = l.alpha;
    ozl::core::MapOperands operands;
    operands.src[0] = work;
    operands.dst = dst;
    const int result = ozl::core::mapPixels(operands, dst->maskROI, kernel);
    ozlDeallocate(work, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    if (result == ozl::core::kDstOperand)
        return fail(caller, OZL_StsError, "Error get tile to write", base + 12);
    if (result == ozl::core::kMapNoMemory)
        return fail(caller, OZL_StsNoMem, "Not enough memory", base + 13);
    return true;
}

// The source's region into the bitmap, where the source's mask allows.
void toBitmap(const Caller& caller, OzlImage* src, const Bitmap& b, int base) {
    Layout l;
    if (!depthFits(caller, src, b, base) || !layoutOf(caller, src, b, base, &l)) return;
    const ozl::image::Rect region = ozl::image::regionRect(src);
    const int w = std::min(std::max(0, region.width), b.width);
    const int h = std::min(std::max(0, region.height), b.height);
    const OzlImage* mask = src->maskROI;
    const ozl::image::View m = mask ? ozl::image::regionView(mask) : ozl::image::View{};
    const int mw = mask ? std::min(w, m.width) : w, mh = mask ? std::min(h, m.height) : h;
    if (mw == 0 || mh == 0) return;
    const ozl::core::Rect area{region.x, region.y, mw, mh};
    const ozl::core::FetchedBlock block = ozl::core::fetchRect(src, area);
    if (block.status == ozl::core::FetchedBlock::TileFailed) {
        fail(caller, OZL_StsError, "Error get tile to read", base + 11);
        return;
    }
    if (block.status != ozl::core::FetchedBlock::Done) {
        fail(caller, OZL_StsNoMem, "Not enough memory", base + 13);
        return;
    }
    OzlImage view;
    OzlROI roi;
    ozl::core::wrapBlock(src, block, area, ozl::core::Rect{0, 0, mw, mh}, &view, &roi);
    const ozl::image::View v = ozl::image::regionView(&view);
    const int alphaChannel = src->nChannels - 1;
    PaletteMatch nearest(b);
    for (int r = 0; r < mh; ++r) {
        auto* row = reinterpret_cast<uint8_t*>(b.row(bitmapRow(b, src, r)));
        const auto* maskRow = mask ? reinterpret_cast<const uint8_t*>(m.data + r * m.rowStep) : nullptr;
        for (int x = 0; x < mw; ++x) {
            if (maskRow) {
                const int bit = m.bitOffset + x;
                if (!((maskRow[bit >> 3] >> (7 - (bit & 7))) & 1)) continue;
            }
            uint8_t bgra[4] = {0, 0, 0, 0};
            if (src->depth == OZL_DEPTH_1U) {
                const auto* bitsRow = reinterpret_cast<const uint8_t*>(v.data + r * v.rowStep);
                const int bit = v.bitOffset + x;
                bgra[0] = bgra[1] = bgra[2] = (bitsRow[bit >> 3] >> (7 - (bit & 7))) & 1;
            } else if (l.colours == 1) {
                bgra[0] = bgra[1] = bgra[2] = *at(v, &view, x, r, 0);
            } else {
                bgra[0] = *at(v, &view, x, r, l.rgb ? 2 : 0);
                bgra[1] = *at(v, &view, x, r, 1);
                bgra[2] = *at(v, &view, x, r, l.rgb ? 0 : 2);
                if (l.alpha) bgra[3] = *at(v, &view, x, r, alphaChannel);
            }
            if (b.bits <= 8) {
                // One channel holds indices, saturated to the table's width;
                // colours take the nearest entry of the bitmap's own table.
                const int top = (1 << b.bits) - 1;
                setIndex(b.bits, row, x, l.colours == 1 ? std::min<int>(bgra[0], top) : nearest(bgra[0], bgra[1], bgra[2]));
            } else if (b.bits == 24) {
                std::memcpy(row + 3 * x, bgra, 3);
            } else if (b.bits == 32 && !b.bitfields) {
                std::memcpy(row + 4 * x, bgra, 4);
            } else {
                uint32_t pixel = 0;
                for (int c = 0; c < 3; ++c) pixel |= narrow(bgra[c], b.fields[c]) << b.fields[c].shift;
                std::memcpy(row + x * (b.bits / 8), &pixel, static_cast<size_t>(b.bits / 8));
            }
        }
    }
    ozlFree(block.data);
}

constexpr int kFromBase = 30, kFromSepBase = 70, kToBase = 110, kToSepBase = 150, kTranslateBase = 190;

}  // namespace

extern "C" OZL_API void OZL_CALL ozlConvertFromDIB(const OzlBitmapInfoHeader* dib,
                                                    OzlImage* dstImage) {
    const Caller caller{"ozlConvertFromDIB", "ozldib"};
    Bitmap b;
    if (!readBitmap(caller, dib, nullptr, kFromBase, &b) ||
        !headersValid(caller, {dstImage}, kFromBase + 10))
        return;
    fromBitmap(caller, b, dstImage, kFromBase);
}

extern "C" OZL_API void OZL_CALL ozlConvertFromDIBSep(const OzlBitmapInfoHeader* dibHeader,
                                                       const char* dibBits, OzlImage* dstImage) {
    const Caller caller{"ozlConvertFromDIBSep", "ozldib"};
    Bitmap b;
    if (!readBitmap(caller, dibHeader, dibBits, kFromSepBase, &b)) return;
    if (!dibBits) {
        fail(caller, OZL_StsBadArg, "dibBits==0", kFromSepBase + 10);
        return;
    }
    if (!headersValid(caller, {dstImage}, kFromSepBase + 10)) return;
    fromBitmap(caller, b, dstImage, kFromSepBase);
}

extern "C" OZL_API void OZL_CALL ozlConvertToDIB(OzlImage* srcImage, OzlBitmapInfoHeader* dib) {
    const Caller caller{"ozlConvertToDIB", "ozldib"};
    Bitmap b;
    if (!headersValid(caller, {srcImage}, kToBase + 10) ||
        !readBitmap(caller, dib, nullptr, kToBase, &b))
        return;
    toBitmap(caller, srcImage, b, kToBase);
}

extern "C" OZL_API void OZL_CALL ozlConvertToDIBSep(OzlImage* srcImage,
                                                     OzlBitmapInfoHeader* dibHeader,
                                                     char* dibBits) {
    const Caller caller{"ozlConvertToDIBSep", "ozldib"};
    Bitmap b;
    if (!headersValid(caller, {srcImage}, kToSepBase + 10) ||
        !readBitmap(caller, dibHeader, dibBits, kToSepBase, &b))
        return;
    if (!dibBits) {
        fail(caller, OZL_StsBadArg, "dibBits==0", kToSepBase + 10);
        return;
    }
    toBitmap(caller, srcImage, b, kToSepBase);
}

extern "C" OZL_API OzlImage* OZL_CALL ozlTranslateDIB(OzlBitmapInfoHeader* dib, int* cloneData) {
    const Caller caller{"ozlTranslateDIB", "ozldib"};
    Bitmap b;
    if (!readBitmap(caller, dib, nullptr, kTranslateBase, &b)) return nullptr;
    // Rows of 1, 8, 24 and plain 32 bits are ozl rows already (the bitmap's
    // row padding is the 4-byte row rule); the others are converted.
    const bool shared = !b.bitfields && b.bits != 4 && b.bits != 16;
    if (b.stride * b.height > INT32_MAX) {
        fail(caller, OZL_StsBadImageSize, "The bitmap's rows exceed 2 GB", kTranslateBase + 2);
        return nullptr;
    }
    const int nCh = b.bits == 24 || (b.bits > 8 && !shared) ? 3 : b.bits == 32 ? 4 : 1;
    const uint32_t depth = b.bits == 1 ? OZL_DEPTH_1U : OZL_DEPTH_8U;
    OzlImage* image = ozlCreateImageHeader(
        nCh, nCh == 4 ? 4 : 0, depth, nCh == 1 ? "GRAY" : nCh == 3 ? "RGB" : "RGBA",
        nCh == 1 ? "G" : nCh == 3 ? "BGR" : "BGRA", OZL_DATA_ORDER_PIXEL,
        b.bottomUp ? OZL_ORIGIN_BL : OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, b.width, b.height, nullptr,
        nullptr, nullptr, nullptr);
    if (image && shared) {
        image->imageData = b.pixels;
        image->widthStep = static_cast<int>(b.stride);
        image->imageSize = static_cast<int>(b.stride * b.height);
    } else if (image) {
        ozlAllocateImage(image, 0, 0);
    }
    if (!image || !image->imageData) {
        ozlDeallocate(image, OZL_IMAGE_HEADER);
        fail(caller, OZL_StsNoMem, "Not enough memory", kTranslateBase + 13);
        return nullptr;
    }
    if (!shared && !fromBitmap(caller, b, image, kTranslateBase)) {
        ozlDeallocate(image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
        return nullptr;
    }
    if (cloneData) *cloneData = shared ? 0 : 1;
    return image;
}
