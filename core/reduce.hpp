// The reduction driver: walks the region that one or two sources share (no
// destination), tile by tile where they are tiled (read-only fetches), and
// hands each row to the entry point's row kernel with the row's place in the
// first source's coordinates and its mask bits. Accumulators live in the
// kernel's context and carry across rows; optional piece hooks let a kernel
// keep a partial result per tile piece and merge it into its total. It never
// names an operation.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/pixelwise.hpp"
#include "ozl.h"

namespace ozl::core {

struct ReduceRow {
    const RowView* src;          // the sources' rows (absent ones have no data)
    size_t width;                // pixels in the row
    int x, y;                    // first pixel, in the first source's image coordinates
    const uint8_t* mask;         // the row's mask bits, or nullptr: every pixel counts
    size_t maskBit;              // bit of the first pixel, most significant first
};

// A piece of the region: the whole region when nothing is tiled, else the
// part within one tile of every tiled source; in the first source's image
// coordinates. Its rows come in order, top to bottom, one call each.
struct ReducePiece {
    int x, y;
    int width, height;
};

using ReduceFn = void (*)(const ReduceRow& row, void* context);
using ReducePieceFn = void (*)(const ReducePiece& piece, void* context);

struct ReduceKernel {
    ReduceFn row = nullptr;
    // Optional: called before the first and after the last row of each piece.
    ReducePieceFn begin = nullptr;
    ReducePieceFn end = nullptr;
    void* context = nullptr;
    // The kernel ignores the rows' coordinates: without a mask, rows that
    // follow each other without a gap in every source come as one long row.
    bool mergeRows = false;
};

// Reduces the common region of the sources (the second may be absent) and the
// mask, each anchored at its own region origin. Returns kMapDone, or the index
// of the source whose tile fetch failed (pieces done so far stay done).
int reducePixels(OzlImage* first, OzlImage* second, const OzlImage* mask,
                 const ReduceKernel& kernel);

// True when the mask bit of pixel i of the row is set (or there is no mask).
inline bool counts(const ReduceRow& row, size_t i) {
    if (!row.mask) return true;
    const size_t bit = row.maskBit + i;
    return (row.mask[bit >> 3] >> (7 - (bit & 7))) & 1;
}

// Copies pixels [from, from + n) of source `s` of the row into `out` as dense
// values (every processed channel of a pixel, pixel after pixel), writing
// zero bytes for the pixels the mask leaves out. 1-bit rows give one byte of
// 0 or 1 per pixel.
void gatherValues(const ReduceRow& row, int s, size_t from, size_t n, size_t valueBytes,
                  void* out);

}  // namespace ozl::core
