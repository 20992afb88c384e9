// Masked writes: copies the pixels whose mask bit is set from a computed row
// into the destination row. Every masked path of the drivers ends here.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/cpu.hpp"

namespace ozl::core {

// Writes nPix pixels of nCh values of elemBytes each from src (contiguous) into
// d (contiguous) where the pixel's mask bit is set. Mask bits are most
// significant first, from bit maskBit of mask[0].
using BlendFn = void (*)(void* d, const void* src, size_t nPix, int nCh, const uint8_t* mask,
                         int maskBit);

struct BlendTable {
    BlendFn bySize[3] = {};  // values of 1, 2 and 4 bytes
    BlendFn forBytes(size_t elemBytes) const {
        return bySize[elemBytes == 1 ? 0 : elemBytes == 2 ? 1 : 2];
    }
};

const BlendTable& blendTable(cpu::Level level);
inline BlendFn blendFor(size_t elemBytes) { return blendTable(cpu::active()).forBytes(elemBytes); }

// The reference: one pixel at a time, pixels taken as runs of `pixelBytes`.
inline void blendBytes(uint8_t* d, const uint8_t* src, size_t nPix, size_t pixelBytes,
                       const uint8_t* mask, size_t maskBit) {
    for (size_t p = 0; p < nPix; ++p) {
        const size_t bit = maskBit + p;
        if ((mask[bit >> 3] >> (7 - (bit & 7))) & 1)
            for (size_t i = 0; i < pixelBytes; ++i) d[p * pixelBytes + i] = src[p * pixelBytes + i];
    }
}

}  // namespace ozl::core
