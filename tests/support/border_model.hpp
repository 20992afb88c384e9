// The documented border rules, written out pixel by pixel for the tests of
// the neighbourhood operations: the value an image shows at any column u and
// row v of its own coordinates, inside or outside.
//
//   double v = borderedValue(header, -3, 7, 0);             // header's pixels
//   double w = borderedValue(tiled, -3, 7, 0, &backing);    // a tiled image's backing pixels
#pragma once

#include "ozl.h"

namespace ozl::test {

// Rows above and below the image follow the top and bottom modes over their
// whole width (mapping both coordinates); rows beside it the left and right
// modes. Mode 0 reads the side's constant (32F: the top side's, on every
// side; 1U: set when its low bit is); with `clampConstants` the constant is
// first clamped to the depth's range as the filters do (1U: positive gives 1).
// `pixels` (default: the image itself) holds the values inside.
double borderedValue(const OzlImage* image, long long u, long long v, int channel,
                     const OzlImage* pixels = nullptr, bool clampConstants = true);

// The image row (or column) that border mode 1, 2 or 3 maps an outside
// coordinate to, for an axis of n pixels.
long long mappedIndex(long long v, long long n, int mode);

}  // namespace ozl::test
