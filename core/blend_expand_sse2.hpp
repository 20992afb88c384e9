// The SSE2 mask expansion of the masked writes; the AVX2 kernels use it too,
// for rows shorter than one of their blocks. Internal linkage.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

namespace ozl::core {
namespace {

// Byte masks of the eight pixels of one mask byte, pixel i in byte i: once per
// pixel, and three times per pixel for pixels of three units (24 bytes, rows
// padded to 32 so that 16-byte loads stay inside the row).
struct MaskTables {
    uint64_t px[256];
    uint8_t px3[256][32];
    constexpr MaskTables() : px(), px3() {
        for (int m = 0; m < 256; ++m)
            for (int i = 0; i < 8; ++i)
                if ((m >> (7 - i)) & 1) {
                    px[m] |= uint64_t{0xFF} << (8 * i);
                    for (int c = 0; c < 3; ++c) px3[m][3 * i + c] = 0xFF;
                }
    }
};
alignas(16) constexpr MaskTables kMasks{};

// Mask expansion for blendLoop: blocks of 32 pixels, or of 16 where the
// expanded masks of 32 would not fit the registers.
struct Sse2Expand {
    using Narrower = Sse2Expand;
    template <size_t U>
    static constexpr size_t pixels = U <= 8 ? 32 : 16;

    // Doubling every byte keeps each pixel's bytes together: N lanes become 2N.
    template <size_t N, size_t U>
    static void widen(__m128i* out) {
        if constexpr (N < U) {
            for (size_t j = N; j-- > 0;) {
                const __m128i x = out[j];
                out[2 * j + 1] = _mm_unpackhi_epi8(x, x);
                out[2 * j] = _mm_unpacklo_epi8(x, x);
            }
            widen<2 * N, U>(out);
        }
    }

    template <size_t U>
    static void expand(uint32_t m, __m128i* out) {
        if constexpr (pixels<U> == 32) {
            expand16<U>(m >> 16, out);
            expand16<U>(m & 0xFFFF, out + U);
        } else {
            expand16<U>(m, out);
        }
    }

    // U lanes of byte masks for 16 pixels of U bytes.
    template <size_t U>
    static void expand16(uint32_t m, __m128i* out) {
        if constexpr (U % 3 == 0) {
            const uint8_t* r0 = kMasks.px3[m >> 8];
            const uint8_t* r1 = kMasks.px3[m & 0xFF];
            out[0] = _mm_load_si128(reinterpret_cast<const __m128i*>(r0));
            out[1] = _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(r0 + 16)),
                                        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(r1)));
            out[2] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r1 + 8));
            widen<3, U>(out);
        } else {
            out[0] = _mm_unpacklo_epi64(
                _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&kMasks.px[m >> 8])),
                _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&kMasks.px[m & 0xFF])));
            widen<1, U>(out);
        }
    }
};

}  // namespace
}  // namespace ozl::core
