// The sampled driver: destination rows with the whole source at hand. An
// operation whose destination pixels read arbitrary places of the source
// (resampling, warps, remapping) walks its destination region row by row; for
// each row its kernel gets the row's coordinates, the row itself, the rows of
// operands read at the destination's own places (per-pixel parameters), and
// random access to the whole source region. The driver takes care of the
// destination's side as the pixel-wise driver does (region, channel of
// interest, alpha, plane order, mask, tiles) and presents the source as one
// untiled view: in place when it can, else (a tiled source, or one the
// destination overlaps) a copy of the region fetched first. It never names an
// operation.
#pragma once

#include <cstddef>

#include "core/pixelwise.hpp"
#include "ozl.h"

namespace ozl::core {

// The source region as a sampled kernel reads it. Pixel (x, y) of the region,
// 0 <= x < width, 0 <= y < height, channel c (of the processed ones) is at
// data + y * rowStep + x * pixelStep + c * channelStep.
struct SampledSource {
    const char* data = nullptr;
    ptrdiff_t rowStep = 0;
    ptrdiff_t pixelStep = 0;
    ptrdiff_t channelStep = 0;
    int channels = 0;
    int width = 0;
    int height = 0;
    const OzlImage* image = nullptr;  // the caller's header: depth, border modes and constants
};

constexpr int kMaxAligned = 2;

// One row of the walk: `width` destination pixels from region coordinates
// (x, y). `dst` is the destination row or, under a mask, a buffer of dense
// pixels that holds the destination's values when the kernel is called; a
// pixel the kernel does not write keeps its value. `aligned` holds the rows of
// the aligned operands at the same places.
struct SampledRow {
    RowView dst;
    RowView aligned[kMaxAligned];
    int x = 0;
    int y = 0;
    int width = 0;
};

// Rows of one piece come top to bottom (band by band, block by block, when
// the job asks for blocks); the context is the operation's own and may hold
// state between rows (row caches), which must not assume more.
using SampledRowFn = void (*)(const SampledSource& src, const SampledRow& row, void* context);

struct SampledJob {
    OzlImage* src = nullptr;
    OzlImage* dst = nullptr;
    OzlImage* aligned[kMaxAligned] = {};  // absent ones nullptr
    const OzlImage* mask = nullptr;       // applied at the destination's places
    // The walked size from the destination region's origin (with the aligned
    // operands and the mask anchored at their own region origins), and the
    // part of it the kernel is called for; rows and columns outside `area` are
    // left as they are. The driver keeps the walk within the regions of the
    // mask and the aligned operands.
    int width = 0;
    int height = 0;
    int areaX = 0, areaY = 0, areaWidth = 0, areaHeight = 0;
    // Walks bands of blockHeight rows, blockWidth columns at a time, when
    // both are set: a kernel that reads the source along slanted lines finds
    // what it reads in the caches again.
    int blockWidth = 0;
    int blockHeight = 0;
    SampledRowFn row = nullptr;
    void* context = nullptr;
};

struct SampledResult {
    enum Kind {
        Done,
        NoMemory,
        SourceTile,   // the source's callback left tileData NULL
        WriteTile,    // the destination's callback left tileData NULL
        AlignedTile,  // an aligned operand's callback left tileData NULL (`operand`)
    };
    Kind kind = Done;
    int operand = -1;
};

// The view of an untiled image's region for sampling (used by the driver,
// and by operations that sample without a walk).
SampledSource sampledView(const OzlImage* image);

SampledResult walkSampled(const SampledJob& job);

}  // namespace ozl::core
