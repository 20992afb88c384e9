// The frame the colour conversions share: the header and pointer checks, the
// colour-model and channel-sequence checks with their formatted messages, the
// shape checks, and the walk (the whole top-left overlap of the two images,
// untiled or tile by tile).
#pragma once

#include "color/kernels.hpp"
#include "core/checks.hpp"
#include "ozl.h"

namespace ozl::color {

using core::Caller;
using core::fail;

// Source modules of the family's reports.
constexpr const char* kEntryModule = "ozlcolor";   // entry points, header checks
constexpr const char* kCheckModule = "owncolor";   // the shared checks and the walk

// Header checks (ozlcolor) of src then dst, then the pointer checks (owncolor).
bool imagesValid(const char* function, const OzlImage* src, const OzlImage* dst);

// colorModel beginning with "RGB" and channelSeq with "RGB" or "BGR".
bool rgbSideValid(const char* function, const OzlImage* image);

// colorModel and channelSeq of the model's side beginning with `name` (three
// characters).
bool modelSideValid(const char* function, const OzlImage* image, const char* name);

// colorModel beginning with "Gra" or "GRA", channelSeq with "G".
bool graySideValid(const char* function, const OzlImage* image);

// Channel of red on an RGB side that passed rgbSideValid: 0 for "RGB", 2 for "BGR".
inline int redChannel(const OzlImage* rgb) { return rgb->channelSeq[0] == 'R' ? 0 : 2; }

// Runs `kernel` over the top-left overlap of src and dst, their regions of
// interest, channels of interest and masks left aside; tiled images tile by
// tile. Reports a tile that the callback did not provide; false then.
bool walk(const char* function, OzlImage* src, OzlImage* dst, PixelFn kernel, const void* context);

// What one conversion checks and runs.
struct ConversionSpec {
    const char* function;      // "ozlRGB2HSV"
    Model model;
    Way way;
    const char* name;          // model name compared with the non-RGB side: "HSV"
    const char* module;        // module of the arithmetic: "ownhsv"
    int depthLine;             // line of its depth report
    const char* depthMessage;
    bool depthFirst;           // the YUV pair compares the depths on their own first
};

void convert(const ConversionSpec& spec, OzlImage* src, OzlImage* dst);

}  // namespace ozl::color
