// The AVX2 masked writes.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/blend_expand_sse2.hpp"
#include "core/blend_loop.hpp"
#include "simd/avx2.hpp"

namespace ozl::core {
namespace {

// Shuffle indices that spread the byte masks of 16 pixels (one 128-bit half of
// a 32-pixel block) over pixels of U bytes: byte j of 16-byte lane l of the
// block belongs to pixel (16 * (l % U) + j) / U of half l / U. A lane never
// straddles the halves, since 16 pixels of U bytes are U whole lanes.
template <size_t U>
struct SpreadIndex {
    alignas(32) uint8_t v[U][32];
    constexpr SpreadIndex() : v() {
        for (size_t k = 0; k < U; ++k)
            for (size_t half = 0; half < 2; ++half)
                for (size_t j = 0; j < 16; ++j) {
                    const size_t lane = 2 * k + half;
                    v[k][16 * half + j] = static_cast<uint8_t>((16 * (lane % U) + j) / U);
                }
    }
};
template <size_t U>
constexpr SpreadIndex<U> kSpread{};

// Mask expansion for blendLoop: blocks of 32 pixels.
struct Avx2Expand {
    using Narrower = Sse2Expand;
    template <size_t U>
    static constexpr size_t pixels = 32;

    template <size_t U>
    static void expand(uint32_t m, __m256i* out) {
        // Byte i all-ones where pixel i's bit is set: each mask byte copied to
        // eight bytes, each byte tested against its own bit.
        const __m256i rep = _mm256_shuffle_epi8(
            _mm256_set1_epi32(static_cast<int>(__builtin_bswap32(m))),
            _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1,
                             2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3));
        const __m256i sel = _mm256_set1_epi64x(0x0102040810204080LL);
        const __m256i px = _mm256_cmpeq_epi8(_mm256_and_si256(rep, sel), sel);
        if constexpr (U == 1) {
            out[0] = px;
        } else {
            const __m256i lo = _mm256_permute2x128_si256(px, px, 0x00);
            const __m256i hi = _mm256_permute2x128_si256(px, px, 0x11);
            for (size_t k = 0; k < U; ++k) {
                const size_t h0 = 2 * k / U, h1 = (2 * k + 1) / U;
                const __m256i src = h1 == 0 ? lo : h0 == 1 ? hi : px;
                out[k] = _mm256_shuffle_epi8(
                    src, _mm256_load_si256(reinterpret_cast<const __m256i*>(kSpread<U>.v[k])));
            }
        }
    }
};

}  // namespace

const BlendTable& blendTableAvx2() {
    static const BlendTable table = {{&blendKernel<simd::Avx2, Avx2Expand, 1>,
                                      &blendKernel<simd::Avx2, Avx2Expand, 2>,
                                      &blendKernel<simd::Avx2, Avx2Expand, 4>}};
    return table;
}

}  // namespace ozl::core
