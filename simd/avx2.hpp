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
    static VF negF(VF a) { return _mm256_xor_ps(a, _mm256_set1_ps(-0.0f)); }

    // Block moves over float lanes (see sse2.hpp). The split orders the lanes
    // 0 1 4 5 2 3 6 7 (in-lane shuffles); the merge undoes it.
    static constexpr int kFloats = 8;
    static void transposeF(VF* r) {
        __m256 t[8], s[8];
        for (int i = 0; i < 8; i += 2) {
            t[i] = _mm256_unpacklo_ps(r[i], r[i + 1]);
            t[i + 1] = _mm256_unpackhi_ps(r[i], r[i + 1]);
        }
        for (int i = 0; i < 8; i += 4) {
            s[i] = _mm256_shuffle_ps(t[i], t[i + 2], 0x44);
            s[i + 1] = _mm256_shuffle_ps(t[i], t[i + 2], 0xEE);
            s[i + 2] = _mm256_shuffle_ps(t[i + 1], t[i + 3], 0x44);
            s[i + 3] = _mm256_shuffle_ps(t[i + 1], t[i + 3], 0xEE);
        }
        for (int i = 0; i < 4; ++i) {
            r[i] = _mm256_permute2f128_ps(s[i], s[i + 4], 0x20);
            r[i + 4] = _mm256_permute2f128_ps(s[i], s[i + 4], 0x31);
        }
    }
    static void splitPairsF(VF a, VF b, VF& x, VF& y) {
        x = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
        y = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    }
    static void mergePairsF(VF x, VF y, VF& a, VF& b) {
        a = _mm256_unpacklo_ps(x, y);
        b = _mm256_unpackhi_ps(x, y);
    }

    static VF orF(VF a, VF b) { return _mm256_or_ps(a, b); }
    // a < b ? a : b and a > b ? a : b: b wherever either is NaN.
    static VF minF(VF a, VF b) { return _mm256_min_ps(a, b); }
    static VF maxF(VF a, VF b) { return _mm256_max_ps(a, b); }

    // Float comparisons as all-ones integer masks. Ordered (false where either
    // operand is NaN) except cmpneqF, which holds there.
    static V cmpltF(VF a, VF b) { return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_LT_OQ)); }
    static V cmpgtF(VF a, VF b) { return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_GT_OQ)); }
    static V cmpleF(VF a, VF b) { return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_LE_OQ)); }
    static V cmpeqF(VF a, VF b) { return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_EQ_OQ)); }
    static V cmpneqF(VF a, VF b) { return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_NEQ_UQ)); }

    // Comparison masks of 16- and 32-bit values narrowed to one byte per
    // value, in value order (the packs work within 128-bit lanes; the
    // permutes put the lanes' halves back in order).
    static V narrowMasks16(V m0, V m1) {
        return _mm256_permute4x64_epi64(_mm256_packs_epi16(m0, m1), _MM_SHUFFLE(3, 1, 2, 0));
    }
    static V narrowMasks32(V m0, V m1, V m2, V m3) {
        const V bytes = _mm256_packs_epi16(_mm256_packs_epi32(m0, m1), _mm256_packs_epi32(m2, m3));
        return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
    // One bit per byte of a byte mask, as packed 1-bit rows hold them: the
    // first byte's bit in the most significant bit of the result's first
    // byte (little-endian). 32 bits.
    static uint32_t msbFirstBits(V m) {
        const V reverse = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8,
                                           7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
        return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(m, reverse)));
    }

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
