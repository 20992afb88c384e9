// 512-bit integer and float vectors for the AVX-512 kernels (F, BW, DQ and VL),
// with the names of the 128- and 256-bit layers. Unpacks and packs work within
// 128-bit lanes, as in the 256-bit layer; orderPairs and packOrder put their
// results back in element order. Only for the avx512 translation units
// (internal linkage, see sse2.hpp).
#pragma once

// GCC takes the undefined pass-through operand of the unmasked 512-bit
// intrinsics for an uninitialised variable once they are inlined.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "simd/avx2.hpp"

namespace ozl::simd {
namespace {

struct Avx512 {
    using V = __m512i;
    using VF = __m512;
    static constexpr size_t kBytes = 64;
    // Runs shorter than one vector are handed to the 256-bit form.
    static constexpr bool kHasNarrower = true;
    using Narrower = Avx2;
    static constexpr bool kHasMaddubs = true;

    static V load(const void* p) { return _mm512_loadu_si512(p); }
    static VF loadF(const void* p) { return _mm512_loadu_ps(p); }
    static void store(void* p, V v) { _mm512_storeu_si512(p, v); }
    static void store(void* p, VF v) { _mm512_storeu_ps(p, v); }

    static V zero() { return _mm512_setzero_si512(); }
    static V set8(int v) { return _mm512_set1_epi8(static_cast<char>(v)); }
    static V set16(int v) { return _mm512_set1_epi16(static_cast<short>(v)); }
    static V set32(int32_t v) { return _mm512_set1_epi32(v); }
    static __m128i count(int32_t s) { return _mm_cvtsi32_si128(s); }

    static V xor_(V a, V b) { return _mm512_xor_si512(a, b); }
    static V add16(V a, V b) { return _mm512_add_epi16(a, b); }
    static V add32(V a, V b) { return _mm512_add_epi32(a, b); }
    static V mullo16(V a, V b) { return _mm512_mullo_epi16(a, b); }
    static V mullo32(V a, V b) { return _mm512_mullo_epi32(a, b); }
    static V madd16(V a, V b) { return _mm512_madd_epi16(a, b); }
    static V maddubs(V a, V b) { return _mm512_maddubs_epi16(a, b); }
    static V max16(V a, V b) { return _mm512_max_epi16(a, b); }
    static V min16(V a, V b) { return _mm512_min_epi16(a, b); }
    static V minU16(V a, V b) { return _mm512_min_epu16(a, b); }
    static V abs16(V a) { return _mm512_abs_epi16(a); }

    static V unpackLo8(V a, V b) { return _mm512_unpacklo_epi8(a, b); }
    static V unpackHi8(V a, V b) { return _mm512_unpackhi_epi8(a, b); }
    static V unpackLo16(V a, V b) { return _mm512_unpacklo_epi16(a, b); }
    static V unpackHi16(V a, V b) { return _mm512_unpackhi_epi16(a, b); }
    static V packUS16(V a, V b) { return _mm512_packus_epi16(a, b); }
    static V packS16(V a, V b) { return _mm512_packs_epi16(a, b); }

    static V sra16(V a, __m128i c) { return _mm512_sra_epi16(a, c); }
    static V srl16(V a, __m128i c) { return _mm512_srl_epi16(a, c); }
    static V sra32(V a, __m128i c) { return _mm512_sra_epi32(a, c); }

    static V widenU8(const void* p) {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(static_cast<const __m256i*>(p)));
    }
    static V widenS8(const void* p) {
        return _mm512_cvtepi8_epi16(_mm256_loadu_si256(static_cast<const __m256i*>(p)));
    }
    static void orderPairs(V lo, V hi, V& first, V& second) {
        // lo holds elements 0-3, 8-11, 16-19, 24-27 of 32; hi the others.
        const __m512i a = _mm512_set_epi64(11, 10, 3, 2, 9, 8, 1, 0);
        const __m512i b = _mm512_set_epi64(15, 14, 7, 6, 13, 12, 5, 4);
        first = _mm512_permutex2var_epi64(lo, a, hi);
        second = _mm512_permutex2var_epi64(lo, b, hi);
    }
    static V packOrder(V v) {
        return _mm512_permutexvar_epi64(_mm512_set_epi64(7, 5, 3, 1, 6, 4, 2, 0), v);
    }

    static VF setF(float v) { return _mm512_set1_ps(v); }
    static VF addF(VF a, VF b) { return _mm512_add_ps(a, b); }
    static VF mulF(VF a, VF b) { return _mm512_mul_ps(a, b); }
};

}  // namespace
}  // namespace ozl::simd
