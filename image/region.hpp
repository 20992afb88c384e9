// Region access: how an operation turns a header with its ROI, channel of
// interest and data order into the numbers its kernels need. These functions
// report nothing; they trust a header that has passed ozlCheckImageHeader.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ozl.h"

namespace ozl::image {

struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// The region's first column and row: the ROI's offsets, or 0, 0.
struct Origin {
    int x = 0;
    int y = 0;
};
inline Origin regionOrigin(const OzlImage* image) {
    if (!image->roi) return {};
    return {image->roi->xOffset, image->roi->yOffset};
}

// The region to process: the ROI (or the whole image), its width and height
// reduced by whatever reaches past the right and bottom edges. No lower bound.
Rect regionRect(const OzlImage* image);

// First byte of the region for 0-based channel `channel`, the clipped region
// size (never negative), and for depth 1 the bit offset of the first pixel.
// The address is NULL for a tiled image and for an empty region.
struct RegionStart {
    char* data = nullptr;
    int width = 0;
    int height = 0;
    int bitOffset = 0;
};
RegionStart regionStart(const OzlImage* image, int channel);

inline bool hasCoi(const OzlImage* image) { return image->roi && image->roi->coi > 0; }

// 0-based channel the kernels start at: coi - 1 with a channel of interest, else 0.
inline int startChannel(const OzlImage* image) { return hasCoi(image) ? image->roi->coi - 1 : 0; }

// Channels an operation processes: 1 with a channel of interest, else every
// channel but the alpha channel.
inline int effectiveChannels(const OzlImage* image) {
    if (hasCoi(image)) return 1;
    return image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

// True when `flag` is 0 and both images cover their whole pixel buffers with the
// same geometry, so all imageSize bytes may be processed as one run.
bool wholeData(const OzlImage* a, const OzlImage* b, int flag);

// An untiled image's region as kernels see it: the first value, the steps
// between rows, planes and pixels, and the clipped size.
struct View {
    char* data = nullptr;
    ptrdiff_t rowStep = 0;    // bytes from one row to the next
    ptrdiff_t planeStep = 0;  // bytes from one plane to the next (plane order)
    int pixelStride = 1;      // values from one pixel to the next
    int width = 0;
    int height = 0;
    int bitOffset = 0;        // depth 1: bit of the first pixel, most significant first
};
View regionView(const OzlImage* image);

}  // namespace ozl::image
