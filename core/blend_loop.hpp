// The vector loop of the masked writes, over a level's mask expansion: Ex
// turns a block's mask bits into all-ones or all-zero bytes per pixel byte.
// Internal linkage (see simd/sse2.hpp).
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/blend.hpp"

namespace ozl::core {
namespace {

// P (16 or 32) mask bits from bit `bit` on, the first pixel's bit most
// significant. Reads only the bytes that hold those bits.
template <size_t P>
uint32_t maskBits(const uint8_t* mask, size_t bit) {
    static_assert(P == 16 || P == 32);
    const uint8_t* p = mask + bit / 8;
    const unsigned o = bit % 8;
    if constexpr (P == 16) {
        uint32_t w = uint32_t{p[0]} << 16 | uint32_t{p[1]} << 8;
        if (o) w |= p[2];
        return (w << o) >> 8 & 0xFFFF;
    } else {
        uint32_t w = uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
        if (o) w = w << o | p[4] >> (8 - o);
        return w;
    }
}

// Masked copy of pixels of U bytes, in blocks of P = Ex::pixels<U> pixels (16
// or 32, with P * U bytes a whole number of vectors). Ex expands the block's
// mask bits into those vectors, all-ones or all-zero per byte. Blocks whose
// mask is all clear are skipped, all set are copied. A blend only ever copies
// src, so running the last full block again over the tail gives the same bytes.
template <class Vx, class Ex, size_t U>
void blendLoop(uint8_t* d, const uint8_t* s, size_t nPix, const uint8_t* mask, size_t bit0) {
    using V = typename Vx::V;
    constexpr size_t P = Ex::template pixels<U>;
    static_assert(P * U % Vx::kBytes == 0);
    constexpr size_t kVecs = P * U / Vx::kBytes;
    constexpr uint32_t kAll = P == 32 ? 0xFFFFFFFFu : 0xFFFFu;
    auto block = [&](size_t p) {
        const uint32_t m = maskBits<P>(mask, bit0 + p);
        if (m == 0) return;
        uint8_t* dd = d + p * U;
        const uint8_t* ss = s + p * U;
        if (m == kAll) {
            for (size_t j = 0; j < kVecs; ++j)
                Vx::store(dd + j * Vx::kBytes, Vx::load(ss + j * Vx::kBytes));
            return;
        }
        V lanes[kVecs];
        Ex::template expand<U>(m, lanes);
        for (size_t j = 0; j < kVecs; ++j) {
            const V x = Vx::load(ss + j * Vx::kBytes);
            const V y = Vx::load(dd + j * Vx::kBytes);
            Vx::store(dd + j * Vx::kBytes, Vx::select(lanes[j], x, y));
        }
    };
    size_t p = 0;
    if (nPix >= P) {
        for (; p + P <= nPix; p += P) block(p);
        if (p < nPix) {
            block(nPix - P);
            p = nPix;
        }
    }
    // Pixels as runs of U bytes: the element type does not matter to a copy.
    const size_t bit = bit0 + p;
    blendBytes(d + p * U, s + p * U, nPix - p, U, mask + bit / 8, bit % 8);
}

// BlendFn for elements of S bytes: pixels of 1 to 4 channels are units of
// S * nCh bytes. Runs shorter than a 32-pixel block go to the narrower level.
template <class Vx, class Ex, size_t S>
void blendKernel(void* pd, const void* ps, size_t nPix, int nCh, const uint8_t* mask,
                 int maskBit) {
    if constexpr (Vx::kHasNarrower) {
        if (nPix < 32) {
            blendKernel<typename Vx::Narrower, typename Ex::Narrower, S>(pd, ps, nPix, nCh, mask,
                                                                        maskBit);
            return;
        }
    }
    uint8_t* d = static_cast<uint8_t*>(pd);
    const uint8_t* s = static_cast<const uint8_t*>(ps);
    mask += maskBit / 8;
    const size_t bit0 = static_cast<size_t>(maskBit % 8);
    switch (nCh) {
        case 1: blendLoop<Vx, Ex, S>(d, s, nPix, mask, bit0); break;
        case 2: blendLoop<Vx, Ex, 2 * S>(d, s, nPix, mask, bit0); break;
        case 3: blendLoop<Vx, Ex, 3 * S>(d, s, nPix, mask, bit0); break;
        case 4: blendLoop<Vx, Ex, 4 * S>(d, s, nPix, mask, bit0); break;
        default:
            blendBytes(d, s, nPix, static_cast<size_t>(nCh) * S, mask, bit0);
    }
}

}  // namespace
}  // namespace ozl::core
