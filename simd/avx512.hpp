// 512-bit integer vectors (AVX-512 F, BW, DQ, VL) for the kernels that gain
// from them, with the names of the 128- and 256-bit layers. Only what those
// kernels use is here; only for the avx512 translation units (internal
// linkage, see sse2.hpp).
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "simd/avx2.hpp"

namespace ozl::simd {
namespace {

struct Avx512 {
    using V = __m512i;
    static constexpr size_t kBytes = 64;
    static constexpr bool kHasNarrower = true;
    using Narrower = Avx2;

    static V load(const void* p) { return _mm512_loadu_si512(p); }
    static void store(void* p, V v) { _mm512_storeu_si512(p, v); }

    static V zero() { return _mm512_setzero_si512(); }
    static V set16(int v) { return _mm512_set1_epi16(static_cast<short>(v)); }

    static V or_(V a, V b) { return _mm512_or_si512(a, b); }
    static V subsU8(V a, V b) { return _mm512_subs_epu8(a, b); }
    static V add32(V a, V b) { return _mm512_add_epi32(a, b); }
    static V add64(V a, V b) { return _mm512_add_epi64(a, b); }
    static V mullo16(V a, V b) { return _mm512_mullo_epi16(a, b); }
    static V madd16(V a, V b) { return _mm512_madd_epi16(a, b); }
    static V maxU8(V a, V b) { return _mm512_max_epu8(a, b); }
    static V sadU8(V a, V b) { return _mm512_sad_epu8(a, b); }

    static V unpackLo8(V a, V b) { return _mm512_unpacklo_epi8(a, b); }
    static V unpackHi8(V a, V b) { return _mm512_unpackhi_epi8(a, b); }
    // Adjacent pairs of non-negative 32-bit lanes added into 64-bit lanes.
    static V addPairs32(V a) {
        const V low = _mm512_and_si512(a, _mm512_set1_epi64(0xFFFFFFFF));
        return _mm512_add_epi64(low, _mm512_maskz_srli_epi64(0xFF, a, 32));
    }

    // The kBytes / 2 unsigned 16-bit values at p as 32-bit lanes, in order, in
    // two vectors.
    static void widenU16(const void* p, V* out) {
        const auto* q = static_cast<const __m256i*>(p);
        out[0] = _mm512_maskz_cvtepu16_epi32(0xFFFF, _mm256_loadu_si256(q));
        out[1] = _mm512_maskz_cvtepu16_epi32(0xFFFF, _mm256_loadu_si256(q + 1));
    }

    // 32 bytes widened to 16-bit lanes, in order, in one vector.
    static constexpr int kWidenGroups = 1;
    template <bool isSigned>
    static void widen32(const void* p, V* out) {
        const __m256i x = _mm256_loadu_si256(static_cast<const __m256i*>(p));
        const __mmask32 all = 0xFFFFFFFFu;
        out[0] = isSigned ? _mm512_maskz_cvtepi8_epi16(all, x) : _mm512_maskz_cvtepu8_epi16(all, x);
    }
};

}  // namespace
}  // namespace ozl::simd
