// 256-bit integer and float vectors for the AVX2 kernels, with the names of the
// 128-bit layer. Packs and unpacks work within 128-bit lanes; the kernels only
// pair an unpack with the matching pack, which keeps the element order. Only for
// the avx2 translation units (internal linkage, see sse2.hpp).
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "simd/interleave.hpp"
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
    static V and3(V a, V b, V c) { return and_(and_(a, b), c); }
    static V or3(V a, V b, V c) { return or_(or_(a, b), c); }
    static V bitSelect(V m, V a, V b) { return or_(and_(a, m), andNot(b, m)); }  // a where m, else b
    // Byte lanes are loaded and stored whole (see Avx512::kMaskedBytes).
    static constexpr bool kMaskedBytes = false;
    static constexpr bool kBitMatrix = false;  // see avx512_gfni.hpp
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
    static V add8(V a, V b) { return _mm256_add_epi8(a, b); }
    static V sub8(V a, V b) { return _mm256_sub_epi8(a, b); }
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
    // Products of signed 16-bit lanes, adjacent pairs added into 32-bit lanes.
    static V madd16(V a, V b) { return _mm256_madd_epi16(a, b); }
    static V add64(V a, V b) { return _mm256_add_epi64(a, b); }
    static V maxU8(V a, V b) { return _mm256_max_epu8(a, b); }
    // Sums of absolute differences of the 8 bytes of each 64-bit lane.
    static V sadU8(V a, V b) { return _mm256_sad_epu8(a, b); }
    // Adjacent pairs of non-negative 32-bit lanes added into 64-bit lanes.
    static V addPairs32(V a) {
        const V low = _mm256_and_si256(a, _mm256_set1_epi64x(0xFFFFFFFF));
        return _mm256_add_epi64(low, _mm256_srli_epi64(a, 32));
    }

    // The kBytes / 2 unsigned 16-bit values at p as 32-bit lanes, in order, in
    // two vectors.
    static void widenU16(const void* p, V* out) {
        const auto* q = static_cast<const __m128i*>(p);
        out[0] = _mm256_cvtepu16_epi32(_mm_loadu_si128(q));
        out[1] = _mm256_cvtepu16_epi32(_mm_loadu_si128(q + 1));
    }

    // 32 bytes widened to 16-bit lanes (see the 128-bit layer).
    static constexpr int kWidenGroups = 2;
    template <bool isSigned>
    static void widen32(const void* p, V* out) {
        const V x = load(p);
        const V ext = isSigned ? _mm256_cmpgt_epi8(zero(), x) : zero();
        out[0] = _mm256_unpacklo_epi8(x, ext);
        out[1] = _mm256_unpackhi_epi8(x, ext);
    }
    static V mulhiS16(V a, V b) { return _mm256_mulhi_epi16(a, b); }
    static V mullo32(V a, V b) { return _mm256_mullo_epi32(a, b); }
    static V max16(V a, V b) { return _mm256_max_epi16(a, b); }
    static V min16(V a, V b) { return _mm256_min_epi16(a, b); }
    static V minU16(V a, V b) { return _mm256_min_epu16(a, b); }
    static V abs16(V a) { return _mm256_abs_epi16(a); }
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

    // Lane 3 of every group of four 16-bit lanes copied to all four (the
    // alpha of four-channel pixels of 16-bit values).
    static V spreadLane3x16(V a) { return _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(a, 0xFF), 0xFF); }

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

    // Unsigned bytes of a times signed bytes of b, each pair added with
    // 16-bit saturation.
    static constexpr bool kHasByteMadd = true;
    static V maddUbs(V a, V b) { return _mm256_maddubs_epi16(a, b); }
    static V minU8(V a, V b) { return _mm256_min_epu8(a, b); }
    static V minS16(V a, V b) { return _mm256_min_epi16(a, b); }
    static V maxS16(V a, V b) { return _mm256_max_epi16(a, b); }
    static V unpackLo32(V a, V b) { return _mm256_unpacklo_epi32(a, b); }
    static V unpackHi32(V a, V b) { return _mm256_unpackhi_epi32(a, b); }
    static V unpackLo64(V a, V b) { return _mm256_unpacklo_epi64(a, b); }
    static V unpackHi64(V a, V b) { return _mm256_unpackhi_epi64(a, b); }
    // Byte shuffle within each 128-bit lane.
    static V shuffle8(V a, V pattern) { return _mm256_shuffle_epi8(a, pattern); }

    // Lane masks of 16-bit and float compares and their selects: m ? x : y.
    using M16 = V;
    using MF = VF;
    static M16 eq16(V a, V b) { return _mm256_cmpeq_epi16(a, b); }
    static M16 gt16(V a, V b) { return _mm256_cmpgt_epi16(a, b); }  // signed
    static V select16(M16 m, V x, V y) { return _mm256_blendv_epi8(y, x, m); }
    static MF ltF(VF a, VF b) { return _mm256_cmp_ps(a, b, _CMP_LT_OQ); }
    static MF leF(VF a, VF b) { return _mm256_cmp_ps(a, b, _CMP_LE_OQ); }
    static MF eqF(VF a, VF b) { return _mm256_cmp_ps(a, b, _CMP_EQ_OQ); }
    static VF selectF(MF m, VF x, VF y) { return _mm256_blendv_ps(y, x, m); }

    static VF divF(VF a, VF b) { return _mm256_div_ps(a, b); }
    // float to int32 truncated toward zero.
    static V truncI(VF a) { return _mm256_cvttps_epi32(a); }

    // Interleaved pixels of three (or four) byte channels to and from one
    // vector per channel, 32 pixels. Each 128-bit lane takes 16 pixels, so the
    // 16-byte pieces are first dealt to the lanes; then byte shuffles sort the
    // channels within the lanes.
    static V pattern(const simd::LanePattern& p) { return load(p.b); }
    template <bool kStream>
    static void put(void* p, V v) {
        if constexpr (kStream) stream(p, v);
        else store(p, v);
    }
    static V split3(V r0, V r1, V r2, int c) {
        const auto& s = kInterleave.split[c];
        return or_(or_(shuffle8(r0, pattern(s[0])), shuffle8(r1, pattern(s[1]))),
                   shuffle8(r2, pattern(s[2])));
    }
    static void load3x8(const void* p, V& c0, V& c1, V& c2) {
        const auto* b = static_cast<const uint8_t*>(p);
        const V a = load(b), m = load(b + 32), z = load(b + 64);  // pieces 01, 23, 45
        const V r0 = _mm256_permute2x128_si256(a, m, 0x30);      // pieces 0, 3
        const V r1 = _mm256_permute2x128_si256(a, z, 0x21);      // 1, 4
        const V r2 = _mm256_permute2x128_si256(m, z, 0x30);      // 2, 5
        c0 = split3(r0, r1, r2, 0), c1 = split3(r0, r1, r2, 1), c2 = split3(r0, r1, r2, 2);
    }
    // kStream: the destination is 32-byte aligned and the stores go past the caches.
    template <bool kStream = false>
    static void store3x8(void* p, V c0, V c1, V c2) {
        V r[3];
        for (int k = 0; k < 3; ++k) {
            const auto& j = kInterleave.join[k];
            r[k] = or_(or_(shuffle8(c0, pattern(j[0])), shuffle8(c1, pattern(j[1]))),
                       shuffle8(c2, pattern(j[2])));
        }
        auto* b = static_cast<uint8_t*>(p);
        put<kStream>(b, _mm256_permute2x128_si256(r[0], r[1], 0x20));
        put<kStream>(b + 32, _mm256_permute2x128_si256(r[2], r[0], 0x30));
        put<kStream>(b + 64, _mm256_permute2x128_si256(r[1], r[2], 0x31));
    }
    // Four channels, the fourth dropped.
    static void load4x8(const void* p, V& c0, V& c1, V& c2) {
        const auto* b = static_cast<const uint8_t*>(p);
        const V a = load(b), e = load(b + 32), f = load(b + 64), g = load(b + 96);
        const V group = pattern(kInterleave.group);
        const V r0 = shuffle8(_mm256_permute2x128_si256(a, f, 0x20), group);
        const V r1 = shuffle8(_mm256_permute2x128_si256(a, f, 0x31), group);
        const V r2 = shuffle8(_mm256_permute2x128_si256(e, g, 0x20), group);
        const V r3 = shuffle8(_mm256_permute2x128_si256(e, g, 0x31), group);
        const V t0 = unpackLo32(r0, r1), t1 = unpackHi32(r0, r1);
        const V t2 = unpackLo32(r2, r3), t3 = unpackHi32(r2, r3);
        c0 = unpackLo64(t0, t2), c1 = unpackHi64(t0, t2), c2 = unpackLo64(t1, t3);
    }

    // Three float channels, 8 pixels: value i of the 24 sits in register
    // i / 8 at position i % 8; every position holds exactly one value of each
    // channel, so two blends and one permute give a channel.
    static void load3xF(const float* p, VF& c0, VF& c1, VF& c2) {
        const VF a = loadF(p), b = loadF(p + 8), c = loadF(p + 16);
        // Register of channel k's value at each position: bit set = b or c.
        const VF t0 = _mm256_blend_ps(_mm256_blend_ps(a, b, 0x92), c, 0x24);
        const VF t1 = _mm256_blend_ps(_mm256_blend_ps(a, b, 0x24), c, 0x49);
        const VF t2 = _mm256_blend_ps(_mm256_blend_ps(a, b, 0x49), c, 0x92);
        c0 = _mm256_permutevar8x32_ps(t0, _mm256_setr_epi32(0, 3, 6, 1, 4, 7, 2, 5));
        c1 = _mm256_permutevar8x32_ps(t1, _mm256_setr_epi32(1, 4, 7, 2, 5, 0, 3, 6));
        c2 = _mm256_permutevar8x32_ps(t2, _mm256_setr_epi32(2, 5, 0, 3, 6, 1, 4, 7));
    }
    static void store3xF(float* p, VF c0, VF c1, VF c2) {
        const VF u0 = _mm256_permutevar8x32_ps(c0, _mm256_setr_epi32(0, 3, 6, 1, 4, 7, 2, 5));
        const VF u1 = _mm256_permutevar8x32_ps(c1, _mm256_setr_epi32(5, 0, 3, 6, 1, 4, 7, 2));
        const VF u2 = _mm256_permutevar8x32_ps(c2, _mm256_setr_epi32(2, 5, 0, 3, 6, 1, 4, 7));
        store(p, _mm256_blend_ps(_mm256_blend_ps(u0, u1, 0x92), u2, 0x24));
        store(p + 8, _mm256_blend_ps(_mm256_blend_ps(u0, u1, 0x24), u2, 0x49));
        store(p + 16, _mm256_blend_ps(_mm256_blend_ps(u0, u1, 0x49), u2, 0x92));
    }

    // All ones where a is not NaN.
    static VF orderedF(VF a) { return _mm256_cmp_ps(a, a, _CMP_ORD_Q); }
    // All ones where a >= b, as an integer mask.
    static V geF(VF a, VF b) { return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_GE_OQ)); }

    // kBytes / 4 values widened to 32-bit lanes.
    static V loadI32FromU8(const void* p) {
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(static_cast<const __m128i*>(p)));
    }
    static V loadI32FromS8(const void* p) {
        return _mm256_cvtepi8_epi32(_mm_loadl_epi64(static_cast<const __m128i*>(p)));
    }
    static V loadI32FromU16(const void* p) {
        return _mm256_cvtepu16_epi32(_mm_loadu_si128(static_cast<const __m128i*>(p)));
    }
    static V loadI32FromS16(const void* p) {
        return _mm256_cvtepi16_epi32(_mm_loadu_si128(static_cast<const __m128i*>(p)));
    }
    // 32-bit lanes narrowed with saturation, in element order: the packs work
    // within 128-bit lanes, so the 32-bit groups (bytes) or 64-bit halves
    // (16-bit values) are put back in order afterwards.
    static V packI32ToU8(V a, V b, V c, V d) {
        const V r = _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
        return _mm256_permutevar8x32_epi32(r, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
    static V packI32ToS8(V a, V b, V c, V d) {
        const V r = _mm256_packs_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
        return _mm256_permutevar8x32_epi32(r, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
    static V packI32ToS16(V a, V b) {
        return _mm256_permute4x64_epi64(_mm256_packs_epi32(a, b), _MM_SHUFFLE(3, 1, 2, 0));
    }
    static V packI32ToU16(V a, V b) {
        return _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), _MM_SHUFFLE(3, 1, 2, 0));
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
