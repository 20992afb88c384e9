// The reduction driver: walks the region that one or two sources share (no
// destination), tile by tile where they are tiled (read-only fetches), and
// hands each row to the entry point's row kernel with the row's place in the
// first source's coordinates and its mask bits. Accumulators live in the
// kernel's context and carry across rows and tiles; it never names an
// operation.
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

using ReduceFn = void (*)(const ReduceRow& row, void* accumulator);

// Reduces the common region of the sources (the second may be absent) and the
// mask. Returns kMapDone, or the index of the source whose tile fetch failed.
int reducePixels(OzlImage* first, OzlImage* second, const OzlImage* mask, ReduceFn fn,
                 void* accumulator);

// True when the mask bit of pixel i of the row is set (or there is no mask).
inline bool counts(const ReduceRow& row, size_t i) {
    if (!row.mask) return true;
    const size_t bit = row.maskBit + i;
    return (row.mask[bit >> 3] >> (7 - (bit & 7))) & 1;
}

}  // namespace ozl::core
