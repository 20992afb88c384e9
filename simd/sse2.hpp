// 128-bit integer and float vectors for the SSE2 kernels: a thin layer over the
// intrinsics with the same names as the 256-bit layer, so that one kernel body
// serves both. Everything here has internal linkage, so each translation unit
// keeps the copy compiled for its own target (the AVX2 files use it too, for
// runs shorter than one 256-bit vector).
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

namespace ozl::simd {
namespace {

struct Sse2 {
    using V = __m128i;
    using VF = __m128;
    static constexpr size_t kBytes = 16;
    static constexpr bool kHasNarrower = false;
    using Narrower = Sse2;
    // No byte-pair multiply (pmaddubsw) below SSSE3.
    static constexpr bool kHasMaddubs = false;

    static V load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
    static VF loadF(const void* p) { return _mm_loadu_ps(static_cast<const float*>(p)); }
    static void store(void* p, V v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
    static void store(void* p, VF v) { _mm_storeu_ps(static_cast<float*>(p), v); }
    // Destination 16-byte aligned.
    static void stream(void* p, V v) { _mm_stream_si128(static_cast<__m128i*>(p), v); }
    static void stream(void* p, VF v) { _mm_stream_ps(static_cast<float*>(p), v); }
    static void streamFence() { _mm_sfence(); }

    static V zero() { return _mm_setzero_si128(); }
    static V ones() { return _mm_set1_epi32(-1); }
    static V set8(int v) { return _mm_set1_epi8(static_cast<char>(v)); }
    static V set16(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
    static V set32(int32_t v) { return _mm_set1_epi32(v); }
    // Shift count for the shift-by-register forms.
    static V count(int32_t s) { return _mm_cvtsi32_si128(s); }

    static V and_(V a, V b) { return _mm_and_si128(a, b); }
    static V or_(V a, V b) { return _mm_or_si128(a, b); }
    static V xor_(V a, V b) { return _mm_xor_si128(a, b); }
    static V andNot(V a, V b) { return _mm_andnot_si128(b, a); }  // a & ~b
    // m ? x : y, m all-ones or all-zero per byte.
    static V select(V m, V x, V y) { return _mm_or_si128(_mm_and_si128(m, x), _mm_andnot_si128(m, y)); }

    static V addsU8(V a, V b) { return _mm_adds_epu8(a, b); }
    static V addsS8(V a, V b) { return _mm_adds_epi8(a, b); }
    static V addsU16(V a, V b) { return _mm_adds_epu16(a, b); }
    static V addsS16(V a, V b) { return _mm_adds_epi16(a, b); }
    static V subsU8(V a, V b) { return _mm_subs_epu8(a, b); }
    static V subsS8(V a, V b) { return _mm_subs_epi8(a, b); }
    static V subsU16(V a, V b) { return _mm_subs_epu16(a, b); }
    static V subsS16(V a, V b) { return _mm_subs_epi16(a, b); }
    static V add16(V a, V b) { return _mm_add_epi16(a, b); }
    static V sub16(V a, V b) { return _mm_sub_epi16(a, b); }
    static V add32(V a, V b) { return _mm_add_epi32(a, b); }
    static V sub32(V a, V b) { return _mm_sub_epi32(a, b); }
    static V cmpgt8(V a, V b) { return _mm_cmpgt_epi8(a, b); }
    static V cmpgt16(V a, V b) { return _mm_cmpgt_epi16(a, b); }
    static V cmpgt32(V a, V b) { return _mm_cmpgt_epi32(a, b); }
    static V cmpeq8(V a, V b) { return _mm_cmpeq_epi8(a, b); }
    static V cmpeq32(V a, V b) { return _mm_cmpeq_epi32(a, b); }
    static V cmpeq16(V a, V b) { return _mm_cmpeq_epi16(a, b); }

    static V mullo16(V a, V b) { return _mm_mullo_epi16(a, b); }
    static V mulhiU16(V a, V b) { return _mm_mulhi_epu16(a, b); }
    static V mulhiS16(V a, V b) { return _mm_mulhi_epi16(a, b); }
    // Pairs of int16 products summed into int32 lanes.
    static V madd16(V a, V b) { return _mm_madd_epi16(a, b); }
    // Low 32 bits of the int32 products (two even and two odd lanes at a time).
    static V mullo32(V a, V b) {
        const __m128i even = _mm_mul_epu32(a, b);
        const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
        return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                                  _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
    }
    static V max16(V a, V b) { return _mm_max_epi16(a, b); }
    static V min16(V a, V b) { return _mm_min_epi16(a, b); }
    static V minU16(V a, V b) { return _mm_sub_epi16(a, _mm_subs_epu16(a, b)); }
    static V abs16(V a) { return _mm_max_epi16(a, _mm_sub_epi16(_mm_setzero_si128(), a)); }
    // Per-element minimum and maximum of every integer lane type; the forms
    // SSE2 lacks go through a sign flip or a compare.
    static V minU8(V a, V b) { return _mm_min_epu8(a, b); }
    static V maxU8(V a, V b) { return _mm_max_epu8(a, b); }
    static V minS8(V a, V b) {
        const __m128i f = _mm_set1_epi8(static_cast<char>(0x80));
        return _mm_xor_si128(_mm_min_epu8(_mm_xor_si128(a, f), _mm_xor_si128(b, f)), f);
    }
    static V maxS8(V a, V b) {
        const __m128i f = _mm_set1_epi8(static_cast<char>(0x80));
        return _mm_xor_si128(_mm_max_epu8(_mm_xor_si128(a, f), _mm_xor_si128(b, f)), f);
    }
    static V maxU16(V a, V b) { return _mm_add_epi16(_mm_subs_epu16(a, b), b); }
    static V min32(V a, V b) { return select(_mm_cmpgt_epi32(a, b), b, a); }
    static V max32(V a, V b) { return select(_mm_cmpgt_epi32(a, b), a, b); }

    // Half a vector of bytes (at p) widened to 16-bit lanes, in order.
    static V widenU8(const void* p) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(static_cast<const __m128i*>(p)), _mm_setzero_si128());
    }
    static V widenS8(const void* p) {
        const __m128i x = _mm_loadl_epi64(static_cast<const __m128i*>(p));
        return _mm_srai_epi16(_mm_unpacklo_epi8(x, x), 8);
    }
    // The int32 results of madd16 on unpackLo16 / unpackHi16 of two ordered
    // vectors, put back in order (already so in 128 bits).
    static void orderPairs(V lo, V hi, V& first, V& second) {
        first = lo;
        second = hi;
    }
    // A pack of two ordered vectors, put in order (already so in 128 bits).
    static V packOrder(V v) { return v; }

    static V unpackLo8(V a, V b) { return _mm_unpacklo_epi8(a, b); }
    static V unpackHi8(V a, V b) { return _mm_unpackhi_epi8(a, b); }
    static V unpackLo16(V a, V b) { return _mm_unpacklo_epi16(a, b); }
    static V unpackHi16(V a, V b) { return _mm_unpackhi_epi16(a, b); }
    static V packUS16(V a, V b) { return _mm_packus_epi16(a, b); }
    static V packS16(V a, V b) { return _mm_packs_epi16(a, b); }
    static V packS32(V a, V b) { return _mm_packs_epi32(a, b); }

    template <int s> static V slli16(V a) { return _mm_slli_epi16(a, s); }
    template <int s> static V srli16(V a) { return _mm_srli_epi16(a, s); }
    template <int s> static V srai16(V a) { return _mm_srai_epi16(a, s); }
    template <int s> static V srli32(V a) { return _mm_srli_epi32(a, s); }
    template <int s> static V slli32(V a) { return _mm_slli_epi32(a, s); }
    template <int s> static V srai32(V a) { return _mm_srai_epi32(a, s); }
    static V sll16(V a, V c) { return _mm_sll_epi16(a, c); }
    static V srl16(V a, V c) { return _mm_srl_epi16(a, c); }
    static V sra16(V a, V c) { return _mm_sra_epi16(a, c); }
    static V sll32(V a, V c) { return _mm_sll_epi32(a, c); }
    static V sra32(V a, V c) { return _mm_sra_epi32(a, c); }

    static VF setF(float v) { return _mm_set1_ps(v); }
    static VF andF(VF a, VF b) { return _mm_and_ps(a, b); }
    static VF asF(V a) { return _mm_castsi128_ps(a); }
    static V asI(VF a) { return _mm_castps_si128(a); }
    // int32 to float, and float to int32 rounded to nearest (even).
    static VF toF(V a) { return _mm_cvtepi32_ps(a); }
    static V toI(VF a) { return _mm_cvtps_epi32(a); }
    static VF addF(VF a, VF b) { return _mm_add_ps(a, b); }
    static VF subF(VF a, VF b) { return _mm_sub_ps(a, b); }
    static VF mulF(VF a, VF b) { return _mm_mul_ps(a, b); }

    // 32S product through double precision, clamped, truncated: the same
    // roundings as the scalar form, two values per double vector.
    static V mulSatS32(V a, V b) {
        const __m128d hi = _mm_set1_pd(2147483647.0);
        const __m128d lo = _mm_set1_pd(-2147483648.0);
        const __m128i aH = _mm_shuffle_epi32(a, _MM_SHUFFLE(1, 0, 3, 2));
        const __m128i bH = _mm_shuffle_epi32(b, _MM_SHUFFLE(1, 0, 3, 2));
        __m128d p0 = _mm_mul_pd(_mm_cvtepi32_pd(a), _mm_cvtepi32_pd(b));
        __m128d p1 = _mm_mul_pd(_mm_cvtepi32_pd(aH), _mm_cvtepi32_pd(bH));
        p0 = _mm_max_pd(_mm_min_pd(p0, hi), lo);
        p1 = _mm_max_pd(_mm_min_pd(p1, hi), lo);
        return _mm_unpacklo_epi64(_mm_cvttpd_epi32(p0), _mm_cvttpd_epi32(p1));
    }
};

}  // namespace
}  // namespace ozl::simd
