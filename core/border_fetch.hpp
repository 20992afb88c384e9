// The bordered rectangle fetch: any rectangle of an image, given in the
// image's own coordinates and allowed to reach past every edge, copied into a
// new untiled block, each pixel outside the image filled by the border mode of
// its side (slots: 0 top, 1 bottom, 2 left, 3 right; modes: 0 the side's
// constant, 1 the nearest edge pixel, 2 mirror with the edge repeated, 3
// wrap-around). Rows above and below the image take the top and bottom mode
// over their whole width, corners included, mapping both coordinates; rows
// beside the image take the left and right modes. Filters and tiled walks read
// their edge pixels through it, and run their plain kernels on the block.
#pragma once

#include <cstddef>
#include <cstring>

#include "image/region.hpp"
#include "ozl.h"

namespace ozl::core {

using image::Rect;

// memcpy for the few bytes of a side strip's row, an edge pixel or a band's
// end, where the library call costs more than the copy: two fixed-size
// copies that may overlap (src and dst never do).
inline void copyBytes(char* dst, const char* src, size_t n) {
    if (n > 32) return static_cast<void>(std::memcpy(dst, src, n));
    if (n >= 16) {
        std::memcpy(dst, src, 16);
        std::memcpy(dst + n - 16, src + n - 16, 16);
    } else if (n >= 8) {
        std::memcpy(dst, src, 8);
        std::memcpy(dst + n - 8, src + n - 8, 8);
    } else if (n >= 4) {
        std::memcpy(dst, src, 4);
        std::memcpy(dst + n - 4, src + n - 4, 4);
    } else if (n > 0) {
        dst[0] = src[0];
        dst[n / 2] = src[n / 2];
        dst[n - 1] = src[n - 1];
    }
}

// `count` copies of a value of `valueBytes` bytes (a constant border's
// pixels): the value copied once, then the part already filled doubled, so
// a row of them costs a few calls rather than one a value.
inline void repeatValue(void* dst, const void* value, size_t valueBytes, size_t count) {
    if (count == 0) return;
    char* d = static_cast<char*>(dst);
    std::memcpy(d, value, valueBytes);
    const size_t total = valueBytes * count;
    for (size_t done = valueBytes; done < total;) {
        const size_t n = done < total - done ? done : total - done;
        std::memcpy(d + done, d, n);
        done += n;
    }
}

struct FetchedBlock {
    enum Status { Done, NoMemory, TileFailed };
    Status status = NoMemory;
    char* data = nullptr;  // from ozlMalloc; the caller frees it with ozlFree
    int rowStep = 0;       // bytes between rows (of one plane in plane order)
};

// The block holds the rectangle with the image's depth, channel count, data
// order and 1-bit packing (first pixel at bit 0), rows aligned to 32 bytes;
// plane p starts p * rowStep * height bytes in. A tiled image's tiles are
// fetched for reading (and released) through its callback.
FetchedBlock fetchRect(const OzlImage* image, const Rect& rect);

struct EdgePlan;

// A bordered copy of a rectangle of an untiled image seen through a window
// of a few rows, filled a band at a time right before the band is read
// (while the image rows it copies are still in cache); the window is
// allocated and the edges mapped once. A small window also keeps a tall
// strip's copy from costing fresh pages on every call.
class BorderedRows {
public:
    BorderedRows() = default;
    BorderedRows(const BorderedRows&) = delete;
    BorderedRows& operator=(const BorderedRows&) = delete;
    ~BorderedRows();
    // A window of `rows` rows of `rect`, laid out as fetchRect's block;
    // false when memory cannot be had.
    bool start(const OzlImage* image, const Rect& rect, int rows);
    // The window's rows from 0 on become the rectangle's rows [first,
    // first + count), count at most the window's.
    void fill(int first, int count);
    const FetchedBlock& block() const { return block_; }

private:
    EdgePlan* plan_ = nullptr;
    FetchedBlock block_;
    int rows_ = 0;
};

// An untiled stand-in over a fetched block: a copy of the image's header with
// the rectangle's size, the block as data, no tiles and no mask, and a region
// (the image's channel of interest kept) at `region` within the block.
void wrapBlock(const OzlImage* image, const FetchedBlock& block, const Rect& rect,
               const Rect& region, OzlImage* header, OzlROI* roi);

// The constant of a side (slot as above) as one value of the image's depth
// (1-bit images: not for them), its valueBytes bytes into `out`.
void sideValue(const OzlImage* image, int side, char* out);

// Maps a coordinate outside [0, n) to the one inside that border mode (1, 2
// or 3) reads; coordinates inside are returned as they are.
long long borderIndex(long long v, long long n, int mode);

}  // namespace ozl::core
