// Combination of the operands' masks into the one mask an operation applies.
#pragma once

#include "ozl.h"

namespace ozl::image {

struct CombinedMask {
    enum Flag { Direct = 0, Owned = 1, NoMemory = 2, Empty = 3 };
    OzlImage* image = nullptr;  // the mask to apply, or nullptr for none
    Flag flag = Direct;
};

// No mask: none. One mask: that mask itself. Two or more (nullptr entries are
// skipped): a new plane-order 1-bit image of the smallest mask region's width
// and height (origin of the first mask, align 8) holding the AND of the masks'
// regions; Empty when that size is 0, NoMemory when it cannot be allocated.
CombinedMask combineMasks(const OzlImage* const* masks, int count);

// Frees an Owned mask; nothing otherwise.
void releaseMask(CombinedMask& mask);

// Row-level helpers on 1-bit data, shared with the 1-bit kernels.
// d = a AND b over n bits at arbitrary bit positions (d may be a).
void andBits(const unsigned char* a, int aBit, const unsigned char* b, int bBit,
             unsigned char* d, int dBit, size_t n);
void copyBits(const unsigned char* s, int sBit, unsigned char* d, int dBit, size_t n);

}  // namespace ozl::image
