// What the rank, morphological and fixed filters share around their row
// kernels: the argument checks in their common order.
#pragma once

#include "core/checks.hpp"
#include "core/nb_setup.hpp"
#include "ozl.h"

namespace ozl::rank {

// Every image's region offsets inside the image.
bool offsetsValid(const core::Caller& caller, const OzlImage* src, const OzlImage* dst, int line);

// The images first (headers, region offsets), then a window of nCols x nRows
// with its anchor inside, then one depth and data order for both.
bool windowCallValid(const core::Caller& caller, int line, const OzlImage* src, const OzlImage* dst,
                     int nCols, int nRows, int anchorX, int anchorY);

// One depth and data order for both images.
bool sameFormat(const core::Caller& caller, const OzlImage* src, const OzlImage* dst, int line);

// The margins a window of nCols x nRows puts around its anchor.
inline core::Margins marginsOf(int nCols, int nRows, int anchorX, int anchorY) {
    return core::Margins{anchorX, anchorY, nCols - 1 - anchorX, nRows - 1 - anchorY};
}

}  // namespace ozl::rank
