// Dense float copies of a region: for operations that need a whole region at
// once (transforms, resampling) rather than row by row. A region's processed
// channels (the channel of interest, or every channel but alpha) become one
// float plane each; tiled images are fetched and stored through the tile walk.
// Nothing here names an operation or reports.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/pixelwise.hpp"
#include "ozl.h"

namespace ozl::core {

// Plane c, row y starts at data + c * planeStride + y * rowStride (in floats).
struct FloatPlanes {
    float* data = nullptr;
    ptrdiff_t rowStride = 0;
    ptrdiff_t planeStride = 0;
    float* row(int channel, int y) const { return data + channel * planeStride + y * rowStride; }
};

// n values of processed channel `channel` of a row, as floats: integers
// exactly up to 24 bits (32S rounded to the nearest float), 32F as stored.
void loadValues(const RowView& row, int channel, uint32_t depth, size_t n, float* out);

// n floats into processed channel `channel` of a row: integer depths take the
// value rounded to nearest (ties to even) and saturated, NaN as 0; 32F as is.
void storeValues(const float* in, size_t n, uint32_t depth, const RowView& row, int channel);

// The top-left width x height of the image's region, every processed channel,
// into `planes` (tiles fetched for reading). False when a tile fetch left
// tileData NULL.
bool readPlanes(OzlImage* image, int width, int height, const FloatPlanes& planes);

// `planes` into the top-left width x height of the image's region, converted as
// storeValues does (tiles fetched for writing). False when a tile fetch failed;
// the pieces stored so far stay stored.
bool writePlanes(OzlImage* image, int width, int height, const FloatPlanes& planes);

}  // namespace ozl::core
