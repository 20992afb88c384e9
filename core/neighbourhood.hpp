// The neighbourhood driver: computes a destination region whose every pixel
// depends on a rectangle of source pixels around it (convolutions, rank and
// morphological filters). It never names an operation.
//
// The kernel sees one destination row at a time (or a band of consecutive
// rows, when it asks for them): the source rows they need, each valid over
// the row's width plus the margins on both sides, the processed channels
// interleaved. Pixels outside the source image come from
// the bordered rectangle fetch (the source's border modes and constants):
// - untiled images: the interior, whose footprint lies inside the source, is
//   read in place; the top and bottom rows and the left and right columns
//   are computed from one bordered copy each of their own footprints, so
//   the copying costs the margin area only (the side columns a few rows at
//   a time, right after the interior rows beside them, while the
//   destination's rows are in cache); a kernel with independent columns
//   reads every row in place (rows beyond the top and bottom as the rows
//   they map to), only the few columns at each end of a band from small
//   bordered copies, row by row;
// - a source sharing its pixels with the destination is copied once, whole,
//   before anything is written;
// - a tiled destination is walked tile by tile (fetched for writing,
//   released after), each tile reading the source in place when it can and a
//   bordered copy of its footprint otherwise; a tiled source under an untiled
//   destination is read through one bordered copy of the whole area, or tile
//   by tile on request.
// Channels of interest, alpha channels, plane order (one plane per pass) and
// 1-bit images (values 0 and 1 as bytes, in and out, or packed rows on the
// kernel's request) are the driver's; so is
// the mask: a masked row is computed whole, then written where the mask's bit
// is set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ozl.h"

namespace ozl::core {

// Pixels a destination pixel reads beyond itself, on each side.
struct Margins {
    int left = 0, top = 0, right = 0, bottom = 0;
};

struct NbRow {
    // top + rows + bottom rows, the first one `top` rows above the first
    // output row. Each points at the first processed value of the source pixel under
    // output column 0 and is valid from `left` pixels before that pixel to
    // `right` pixels after the last output pixel; `channels` values a pixel.
    const void* const* src = nullptr;
    void* dst = nullptr;      // `width` pixels of `channels` values, dense
    int rows = 1;             // output rows in this call, 1..NbKernel::bandRows
    ptrdiff_t dstStride = 0;  // bytes from one dst row to the next (rows > 1)
    void* scratch = nullptr;  // the kernel's working memory (NbKernel::scratchPerValue)
    int width = 0;
    int channels = 0;
    // `dst` is the destination image's own row and the destination is too
    // large to stay in cache: the kernel may store past the caches (saving
    // the reads of lines it only overwrites).
    bool stream = false;
    // The call's first row starts a piece and pass; each later call until
    // the next first row continues below the last row of the one before,
    // over the same columns, with the same scratch (a kernel may carry state
    // from row to row in it).
    bool firstRow = true;
    // Packed rows handed in place (NbKernel::packedInPlace): src row i holds
    // pixels 0 .. width - 1 only (whole bytes, the bits past the width any);
    // edges[2 * i] holds its `left` pixels before pixel 0 (the last in the
    // least significant bit), edges[2 * i + 1] its `right` pixels from pixel
    // `width` on (the first in the most significant bit). nullptr when the
    // rows need no words (below), or for gathered rows.
    const uint64_t* edges = nullptr;
    // Packed rows without `edges`, one pixel of margin a side: every row's
    // pixel -1 is its own pixel edgeColumns[0], its pixel `width` its pixel
    // edgeColumns[1], each in a byte the row may read. (Gathered rows hold
    // their margins beside them: -1 and `width`.)
    int edgeColumns[2] = {-1, 0};
};

using NbRowFn = void (*)(const NbRow& row, const void* context);

struct NbKernel {
    NbRowFn row = nullptr;
    const void* context = nullptr;
    Margins margins;
    // Scratch the kernel needs: bytes per value of a source row with its
    // margins (width + left + right pixels of `channels` values), plus 64.
    size_t scratchPerValue = 0;
    // The most output rows the kernel takes in one call (rows sharing source
    // rows, or a per-call cost worth spreading); the driver may hand fewer,
    // at the ends of pieces and groups.
    int bandRows = 1;
    // 1-bit images as packed rows (pixel 0 in the most significant bit of
    // byte 0) rather than a byte a pixel: each src row is readable in whole
    // 8-byte words from the word before the one holding pixel -left to the
    // word after the one holding pixel width + right - 1, the bits outside the
    // margins zero; the kernel writes the row's `width` bits to dst, the
    // other bits of its last byte kept.
    bool packedBits = false;
    // Packed rows whose source starts on a byte may come in place, their
    // margins (at most 64 pixels a side) apart in NbRow::edges.
    bool packedInPlace = false;
    // Each call's output depends on its src rows alone (nothing carried in
    // scratch from call to call): an untiled source may then be read in
    // place over the whole region, each band's few columns at the left and
    // right ends computed in calls of their own from small bordered copies
    // of their footprints, instead of side strips copied apart.
    bool independentColumns = false;
};

struct NbOptions {
    // Untiled destination over a tiled source: pieces on the source's tile
    // grid, each from a bordered copy of its own footprint, instead of one
    // bordered copy of the whole area.
    bool walkSourceTiles = false;
};

enum class NbResult { Done, NoMemory, ReadTile, WriteTile };

// Computes the width x height region shared by src and dst (each anchored at
// its own region origin). Both images have passed the header check and have
// the same processed channel count; the mask, when given, is an untiled
// 1-bit image whose region lines up with the destination's. Pieces done
// before a failure stay done.
NbResult runNeighbourhood(OzlImage* src, OzlImage* dst, const OzlImage* mask, int width,
                          int height, const NbKernel& kernel, const NbOptions& options = {});

}  // namespace ozl::core
