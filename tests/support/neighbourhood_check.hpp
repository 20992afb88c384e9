// Checks for the neighbourhood operations (filters): the documented border
// rules written out pixel by pixel (the value an image shows at any column u
// and row v of its own coordinates, inside or outside), and the comparison of
// a destination with the expected values over its region.
//
//   double v = borderedValue(header, -3, 7, 0);             // header's pixels
//   double w = borderedValue(tiled, -3, 7, 0, backing);     // a tiled image's backing pixels
//   expectFiltered(before, dst, width, height, [&](int x, int y, int c) { return ...; });
#pragma once

#include <functional>

#include "ozl.h"
#include "support/test_image.hpp"

namespace ozl::test {

// Rows above and below the image follow the top and bottom modes over their
// whole width (mapping both coordinates); rows beside it the left and right
// modes. Mode 0 reads the side's constant (32F: the top side's, on every
// side; 1U: set when its low bit is); with `clampConstants` the constant is
// first clamped to the depth's range as the filters do (1U: positive gives 1).
// `pixels` (default: the image itself) holds the values inside.
double borderedValue(const OzlImage* image, long long u, long long v, int channel,
                     const OzlImage* pixels = nullptr, bool clampConstants = true);

// Where a source pixel of a region comes from, as the neighbourhood filters
// read it: the source's region origin plus (x, y), through the border rules
// (constants clamped as the filters clamp their copies).
struct SourceView {
    const OzlImage* modes;   // header with the border modes and the region
    const OzlImage* pixels;  // the values (a tiled image's backing image)
    double at(long long x, long long y, int c) const {
        const int ox = modes->roi ? modes->roi->xOffset : 0, oy = modes->roi ? modes->roi->yOffset : 0;
        return borderedValue(modes, ox + x, oy + y, c, pixels, true);
    }
};

// The image row (or column) that border mode 1, 2 or 3 maps an outside
// coordinate to, for an axis of n pixels.
long long mappedIndex(long long v, long long n, int mode);

// dst after an operation over its width x height region: inside it (where
// the mask's bit is set, the mask's region lined up with dst's) every
// processed value (the channel of interest, or every channel but alpha) is
// expected(x, y, channel), x and y counted from the region's origin; all
// else holds what `before` holds. NaN matches NaN. Reports the first few
// differences.
using ExpectedFn = std::function<double(int x, int y, int channel)>;
void expectFiltered(const TestImage& before, const OzlImage* dst, int width, int height,
                    const ExpectedFn& expected, const OzlImage* mask = nullptr);

// The source channel read for destination channel c (the channels of
// interest pair up; otherwise channel for channel).
int sourceChannel(const OzlImage* src, const OzlImage* dst, int c);

}  // namespace ozl::test
