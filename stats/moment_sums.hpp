// The ten spatial moment sums of one channel of an image region,
//   M[m][n] = sum of x^m y^n I(x, y), m + n <= 3,
// x and y the pixel's column and row in the image. Integer depths (1U read as
// 0 and 1) are summed exactly and rounded once to double; 32F in double
// precision, pixel after pixel, row after row, tile piece after tile piece.
#pragma once

#include "ozl.h"

namespace ozl::stats {

// Runs over the image's region (its channel of interest, its mask, its tiles)
// and fills value[m][n] for m + n <= 3. Returns core::kMapDone, or the source
// index whose tile fetch failed (value is then left alone).
int sumMoments(OzlImage* image, double value[4][4]);

}  // namespace ozl::stats
