// The check sequence the transform entry points share, in their documented
// order, and the one driver call after it. Each entry point names its own
// lines.
#pragma once

#include "core/checks.hpp"
#include "transform/driver.hpp"

namespace ozl::transform {

struct CheckLines {
    int header, flags, mask;
    int srcBits, dstNotFloat;  // forward depths
    int srcNotFloat, dstBits;  // inverse depths
    int channels, size;
    int memory, readTile, writeTile;
};

// ozlRealFft2D, ozlCcsFft2D (fourier) and ozlDCT2D.
void runTransform(const core::Caller& caller, OzlImage* src, OzlImage* dst, int flags,
                  bool fourier, Layout layout, const CheckLines& lines);

// Reports a driver failure at the entry point's lines; nothing for Done.
void reportOutcome(const core::Caller& caller, Outcome outcome, const CheckLines& lines);

}  // namespace ozl::transform
