// The least or greatest value over a window or a structuring element: the
// engine behind the minimum and maximum filters and the morphology.
#pragma once

#include "core/nb_setup.hpp"
#include "ozl.h"

namespace ozl::rank {

// A window of nCols x nRows around its anchor; with `values`, only the
// places whose value is not zero belong to it.
struct Shape {
    int nCols = 3, nRows = 3, anchorX = 1, anchorY = 1;
    const uint8_t* values = nullptr;
};

// One step: the least (or greatest) over the shape, `repeat` times.
struct ExtremeStep {
    bool greatest = false;
    int repeat = 1;
};

core::NbCode runExtremes(const OzlImage* src, const OzlImage* dst, const Shape& shape,
                         const ExtremeStep* steps, int count);

}  // namespace ozl::rank
