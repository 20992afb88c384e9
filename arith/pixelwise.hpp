// The shared frame of the pixel-wise operations: regions, channel of interest,
// alpha skipping, plane order, the combined mask and the tile walk. An
// operation checks its arguments, names its kernel and calls runPixelwise.
#pragma once

#include <cstddef>

#include "arith/kernels.hpp"
#include "image/mask.hpp"
#include "image/tiles.hpp"
#include "ozl.h"

namespace ozl::arith {

// Up to two sources and a destination; absent sources are nullptr.
struct PixelOperands {
    OzlImage* a = nullptr;
    OzlImage* b = nullptr;
    OzlImage* d = nullptr;
};

// Operand indices reported by a failed tile fetch.
enum { kOperandA = 0, kOperandB = 1, kOperandD = 2 };

struct PixelKernel {
    Op op = Op::Set;
    Elem elem = Elem::U8;    // ignored for 1-bit images
    OpArgs args;             // for 1-bit images, value holds the constant's bit in every bit
    bool wholeBuffer = true; // may process whole identical buffers as one run
};

// Element type of a depth for arithmetic (sign-aware) and for bitwise operations
// and fills (by width only).
Elem arithElem(uint32_t depth);
Elem bitwiseElem(uint32_t depth);

// Size of the region the operands share: the smallest width and height of the
// operands' and the mask's regions.
struct Size {
    int width = 0;
    int height = 0;
};
Size commonSize(const PixelOperands& operands, const OzlImage* mask);

// Runs the kernel over the common region, directly or tile by tile. Returns
// image::kWalkDone, or the index of the operand whose tile fetch failed.
int runPixelwise(const PixelOperands& operands, const OzlImage* mask, const PixelKernel& kernel);

// Combines the masks of the operands (in order a, b, d).
image::CombinedMask combineOperandMasks(const PixelOperands& operands);

}  // namespace ozl::arith
