// 256-bit integer and float vectors for the AVX2 kernels, with the names of the
// 128-bit layer. Packs and unpacks work within 128-bit lanes; the kernels only
// pair an unpack with the matching pack, which keeps the element order. Only for
// the avx2 translation units (internal linkage, see sse2.hpp).
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "simd/sse2.hpp"

namespace ozl::simd {
namespace {

struct Avx2 {
    using V = __m256i;
    using VF = __m256;
    static constexpr size_t kBytes = 32;
    // Runs shorter than one vector are handed to the 128-bit form.
    static constexpr bool kHasNarrower = true;
    using Narrower = Sse2;
    static constexpr bool kHasMaddubs = true;

    static V load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
    static VF loadF(const void* p) { return _mm256_loadu_ps(static_cast<const float*>(p)); }
    static void store(void* p, V v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
    static void store(void* p, VF v) { _mm256_storeu_ps(static_cast<float*>(p), v); }
    // Destination 32-byte aligned.
    static void stream(void* p, V v) { _mm256_stream_si256(static_cast<__m256i*>(p), v); }
    static void stream(void* p, VF v) { _mm256_stream_ps(static_cast<float*>(p), v); }
    static void streamFence() { _mm_sfence(); }

    static V zero() { return _mm256_setzero_si256(); }
    static V ones() { return _mm256_set1_epi32(-1); }
    static V set8(int v) { return _mm256_set1_epi8(static_cast<char>(v)); }
    static V set16(int v) { return _mm256_set1_epi16(static_cast<short>(v)); }
    static V set32(int32_t v) { return _mm256_set1_epi32(v); }
    static __m128i count(int32_t s) { return _mm_cvtsi32_si128(s); }

    static V and_(V a, V b) { return _mm256_and_si256(a, b); }
    static V or_(V a, V b) { return _mm256_or_si256(a, b); }
    static V xor_(V a, V b) { return _mm256_xor_si256(a, b); }
    static V andNot(V a, V b) { return _mm256_andnot_si256(b, a); }  // a & ~b
    // m ? x : y, m all-ones or all-zero per byte.
    static V select(V m, V x, V y) { return _mm256_blendv_epi8(y, x, m); }

    static V addsU8(V a, V b) { return _mm256_adds_epu8(a, b); }
    static V addsS8(V a, V b) { return _mm256_adds_epi8(a, b); }
    static V addsU16(V a, V b) { return _mm256_adds_epu16(a, b); }
    static V addsS16(V a, V b) { return _mm256_adds_epi16(a, b); }
    static V subsU8(V a, V b) { return _mm256_subs_epu8(a, b); }
    static V subsS8(V a, V b) { return _mm256_subs_epi8(a, b); }
    static V subsU16(V a, V b) { return _mm256_subs_epu16(a, b); }
    static V subsS16(V a, V b) { return _mm256_subs_epi16(a, b); }
    static V add16(V a, V b) { return _mm256_add_epi16(a, b); }
    static V sub16(V a, V b) { return _mm256_sub_epi16(a, b); }
    static V add32(V a, V b) { return _mm256_add_epi32(a, b); }
    static V sub32(V a, V b) { return _mm256_sub_epi32(a, b); }
    static V cmpgt8(V a, V b) { return _mm256_cmpgt_epi8(a, b); }
    static V cmpgt16(V a, V b) { return _mm256_cmpgt_epi16(a, b); }
    static V cmpgt32(V a, V b) { return _mm256_cmpgt_epi32(a, b); }
    static V cmpeq8(V a, V b) { return _mm256_cmpeq_epi8(a, b); }
    static V cmpeq32(V a, V b) { return _mm256_cmpeq_epi32(a, b); }
    static V cmpeq16(V a, V b) { return _mm256_cmpeq_epi16(a, b); }

    static V mullo16(V a, V b) { return _mm256_mullo_epi16(a, b); }
    static V mulhiU16(V a, V b) { return _mm256_mulhi_epu16(a, b); }
    static V mulhiS16(V a, V b) { return _mm256_mulhi_epi16(a, b); }
    static V madd16(V a, V b) { return _mm256_madd_epi16(a, b); }
    // Unsigned bytes of a times signed bytes of b, pairs summed into int16
    // lanes with signed saturation.
    static V maddubs(V a, V b) { return _mm256_maddubs_epi16(a, b); }
    static V mullo32(V a, V b) { return _mm256_mullo_epi32(a, b); }
    static V max16(V a, V b) { return _mm256_max_epi16(a, b); }
    static V min16(V a, V b) { return _mm256_min_epi16(a, b); }
    static V minU16(V a, V b) { return _mm256_min_epu16(a, b); }
    static V abs16(V a) { return _mm256_abs_epi16(a); }
    static V minU8(V a, V b) { return _mm256_min_epu8(a, b); }
    static V maxU8(V a, V b) { return _mm256_max_epu8(a, b); }
    static V minS8(V a, V b) { return _mm256_min_epi8(a, b); }
    static V maxS8(V a, V b) { return _mm256_max_epi8(a, b); }
    static V maxU16(V a, V b) { return _mm256_max_epu16(a, b); }
    static V min32(V a, V b) { return _mm256_min_epi32(a, b); }
    static V max32(V a, V b) { return _mm256_max_epi32(a, b); }

    static V widenU8(const void* p) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(static_cast<const __m128i*>(p)));
    }
    static V widenS8(const void* p) {
        return _mm256_cvtepi8_epi16(_mm_loadu_si128(static_cast<const __m128i*>(p)));
    }
    // Unpacks and packs work within 128-bit lanes: these put their results
    // back in element order.
    static void orderPairs(V lo, V hi, V& first, V& second) {
        first = _mm256_permute2x128_si256(lo, hi, 0x20);
        second = _mm256_permute2x128_si256(lo, hi, 0x31);
    }
    static V packOrder(V v) { return _mm256_permute4x64_epi64(v, 0xD8); }

    static V unpackLo8(V a, V b) { return _mm256_unpacklo_epi8(a, b); }
    static V unpackHi8(V a, V b) { return _mm256_unpackhi_epi8(a, b); }
    static V unpackLo16(V a, V b) { return _mm256_unpacklo_epi16(a, b); }
    static V unpackHi16(V a, V b) { return _mm256_unpackhi_epi16(a, b); }
    static V packUS16(V a, V b) { return _mm256_packus_epi16(a, b); }
    static V packS16(V a, V b) { return _mm256_packs_epi16(a, b); }
    static V packS32(V a, V b) { return _mm256_packs_epi32(a, b); }

    template <int s> static V slli16(V a) { return _mm256_slli_epi16(a, s); }
    template <int s> static V srli16(V a) { return _mm256_srli_epi16(a, s); }
    template <int s> static V srai16(V a) { return _mm256_srai_epi16(a, s); }
    template <int s> static V srli32(V a) { return _mm256_srli_epi32(a, s); }
    template <int s> static V slli32(V a) { return _mm256_slli_epi32(a, s); }
    template <int s> static V srai32(V a) { return _mm256_srai_epi32(a, s); }
    static V sll16(V a, __m128i c) { return _mm256_sll_epi16(a, c); }
    static V srl16(V a, __m128i c) { return _mm256_srl_epi16(a, c); }
    static V sra16(V a, __m128i c) { return _mm256_sra_epi16(a, c); }
    static V sll32(V a, __m128i c) { return _mm256_sll_epi32(a, c); }
    static V sra32(V a, __m128i c) { return _mm256_sra_epi32(a, c); }

    static VF setF(float v) { return _mm256_set1_ps(v); }
    static VF andF(VF a, VF b) { return _mm256_and_ps(a, b); }
    static VF asF(V a) { return _mm256_castsi256_ps(a); }
    static V asI(VF a) { return _mm256_castps_si256(a); }
    // int32 to float, and float to int32 rounded to nearest (even).
    static VF toF(V a) { return _mm256_cvtepi32_ps(a); }
    static V toI(VF a) { return _mm256_cvtps_epi32(a); }
    static VF addF(VF a, VF b) { return _mm256_add_ps(a, b); }
    static VF subF(VF a, VF b) { return _mm256_sub_ps(a, b); }
    static VF mulF(VF a, VF b) { return _mm256_mul_ps(a, b); }

    // 32S product through double precision, clamped, truncated: the same
    // roundings as the scalar form, four values per double vector.
    static V mulSatS32(V a, V b) {
        const __m256d hi = _mm256_set1_pd(2147483647.0);
        const __m256d lo = _mm256_set1_pd(-2147483648.0);
        __m256d p0 = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(a)),
                                   _mm256_cvtepi32_pd(_mm256_castsi256_si128(b)));
        __m256d p1 = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(a, 1)),
                                   _mm256_cvtepi32_pd(_mm256_extracti128_si256(b, 1)));
        p0 = _mm256_max_pd(_mm256_min_pd(p0, hi), lo);
        p1 = _mm256_max_pd(_mm256_min_pd(p1, hi), lo);
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm256_cvttpd_epi32(p0)),
                                       _mm256_cvttpd_epi32(p1), 1);
    }
};

}  // namespace
}  // namespace ozl::simd
