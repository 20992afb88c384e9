// 512-bit integer and float vectors for the AVX-512 kernels (F, BW, DQ, VL),
// with the names of the 128- and 256-bit layers. Packs, unpacks and byte
// shuffles work within 128-bit lanes, as in the 256-bit layer. Unlike the
// narrower layers, comparisons give bit masks (one bit per value, value order,
// least significant bit first: the cmp* forms as plain integers, the M16 / MF
// forms as mask registers for the selects) rather than vector masks. Only for
// the avx512 translation units (internal linkage, see sse2.hpp).
#pragma once

// GCC 12 warns that the undefined pass-through operand inside several of its
// 512-bit intrinsics may be (or is) used uninitialised; it never is.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#else
#include <immintrin.h>
#endif

#include <cstddef>
#include <cstdint>

#include "simd/avx2.hpp"
#include "simd/interleave.hpp"

namespace ozl::simd {
namespace {

struct Avx512 {
    using V = __m512i;
    using VF = __m512;
    static constexpr size_t kBytes = 64;
    // Runs shorter than one vector are handed to the 256-bit form.
    static constexpr bool kHasNarrower = true;
    using Narrower = Avx2;

    static V load(const void* p) { return _mm512_loadu_si512(p); }
    static VF loadF(const void* p) { return _mm512_loadu_ps(p); }
    static void store(void* p, V v) { _mm512_storeu_si512(p, v); }
    static void store(void* p, VF v) { _mm512_storeu_ps(p, v); }
    // Destination 64-byte aligned.
    static void stream(void* p, V v) { _mm512_stream_si512(static_cast<__m512i*>(p), v); }
    static void stream(void* p, VF v) { _mm512_stream_ps(static_cast<float*>(p), v); }
    static void streamFence() { _mm_sfence(); }

    static V zero() { return _mm512_setzero_si512(); }
    static V ones() { return _mm512_set1_epi32(-1); }
    static V set8(int v) { return _mm512_set1_epi8(static_cast<char>(v)); }
    static V set16(int v) { return _mm512_set1_epi16(static_cast<short>(v)); }
    static V set32(int32_t v) { return _mm512_set1_epi32(v); }
    static __m128i count(int32_t s) { return _mm_cvtsi32_si128(s); }

    static V and_(V a, V b) { return _mm512_and_si512(a, b); }
    static V or_(V a, V b) { return _mm512_or_si512(a, b); }
    static V xor_(V a, V b) { return _mm512_xor_si512(a, b); }
    static V andNot(V a, V b) { return _mm512_andnot_si512(b, a); }  // a & ~b
    static V and3(V a, V b, V c) { return _mm512_ternarylogic_epi64(a, b, c, 0x80); }
    static V or3(V a, V b, V c) { return _mm512_ternarylogic_epi64(a, b, c, 0xFE); }
    static V bitSelect(V m, V a, V b) { return _mm512_ternarylogic_epi64(m, a, b, 0xCA); }  // a where m, else b
    static V andEither(V x, V a, V b) { return _mm512_ternarylogic_epi64(x, a, b, 0xE0); }  // x & (a | b)
    // Byte lanes chosen by a bit mask (lane i by bit i): loads read only the
    // chosen lanes' bytes (the others can't fault) and take the rest from
    // `fill`; stores write only the chosen bytes.
    static constexpr bool kMaskedBytes = true;
    static constexpr bool kBitMatrix = false;  // see avx512_gfni.hpp
    static V loadBytes(const void* p, uint64_t lanes, V fill) { return _mm512_mask_loadu_epi8(fill, lanes, p); }
    static V setBytes(V v, uint64_t lanes, int value) { return _mm512_mask_set1_epi8(v, lanes, static_cast<char>(value)); }
    static void storeBytes(void* p, uint64_t lanes, V v) { _mm512_mask_storeu_epi8(p, lanes, v); }
    // The 64-bit lanes q .. q + 7 of hi:lo (lo's first).
    template <int q> static V alignLanes64(V hi, V lo) { return _mm512_alignr_epi64(hi, lo, q); }
    // Each 32-bit lane rotated right by `count` (0..31): bit i of every byte
    // goes to bit i - count of the same byte when count < 8 and i >= count.
    static V rotateRight32(V a, int count) { return _mm512_rorv_epi32(a, _mm512_set1_epi32(count)); }
    // m ? x : y, m all-ones or all-zero per byte.
    static V select(V m, V x, V y) { return _mm512_mask_blend_epi8(_mm512_movepi8_mask(m), y, x); }

    static V addsU8(V a, V b) { return _mm512_adds_epu8(a, b); }
    static V addsS8(V a, V b) { return _mm512_adds_epi8(a, b); }
    static V addsU16(V a, V b) { return _mm512_adds_epu16(a, b); }
    static V addsS16(V a, V b) { return _mm512_adds_epi16(a, b); }
    static V subsU8(V a, V b) { return _mm512_subs_epu8(a, b); }
    static V subsS8(V a, V b) { return _mm512_subs_epi8(a, b); }
    static V subsU16(V a, V b) { return _mm512_subs_epu16(a, b); }
    static V subsS16(V a, V b) { return _mm512_subs_epi16(a, b); }
    static V add8(V a, V b) { return _mm512_add_epi8(a, b); }
    static V sub8(V a, V b) { return _mm512_sub_epi8(a, b); }
    static V add16(V a, V b) { return _mm512_add_epi16(a, b); }
    static V sub16(V a, V b) { return _mm512_sub_epi16(a, b); }
    static V add32(V a, V b) { return _mm512_add_epi32(a, b); }
    static V sub32(V a, V b) { return _mm512_sub_epi32(a, b); }
    static uint64_t cmpgtU8(V a, V b) { return _mm512_cmpgt_epu8_mask(a, b); }
    static uint64_t cmpgtS8(V a, V b) { return _mm512_cmpgt_epi8_mask(a, b); }
    static uint64_t cmpeq8(V a, V b) { return _mm512_cmpeq_epi8_mask(a, b); }
    static uint32_t cmpgtU16(V a, V b) { return _mm512_cmpgt_epu16_mask(a, b); }
    static uint32_t cmpgtS16(V a, V b) { return _mm512_cmpgt_epi16_mask(a, b); }
    static uint32_t cmpeq16(V a, V b) { return _mm512_cmpeq_epi16_mask(a, b); }
    static uint16_t cmpgtS32(V a, V b) { return _mm512_cmpgt_epi32_mask(a, b); }
    static uint16_t cmpeq32(V a, V b) { return _mm512_cmpeq_epi32_mask(a, b); }
    // Masks of narrower compares side by side, the first in the low bits.
    // Joined in the mask registers: GCC 12 building for 32-bit x86 gets
    // `uint64_t{lo} | uint64_t{hi} << 32` wrong (it ORs a stale register into
    // the high word).
    static uint32_t joinMasks16(uint16_t lo, uint16_t hi) { return _mm512_kunpackw(hi, lo); }
    static uint64_t joinMasks32(uint32_t lo, uint32_t hi) { return _mm512_kunpackd(hi, lo); }
    // Ordered: false where either operand is NaN.
    static uint16_t cmpltF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_LT_OQ); }
    static uint16_t cmpgtF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_GT_OQ); }
    static uint16_t cmpleF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_LE_OQ); }
    static uint16_t cmpeqF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ); }

    static V mullo16(V a, V b) { return _mm512_mullo_epi16(a, b); }
    static V mulhiU16(V a, V b) { return _mm512_mulhi_epu16(a, b); }
    static V mulhiS16(V a, V b) { return _mm512_mulhi_epi16(a, b); }

    static V unpackLo8(V a, V b) { return _mm512_unpacklo_epi8(a, b); }
    static V unpackHi8(V a, V b) { return _mm512_unpackhi_epi8(a, b); }
    static V unpackLo16(V a, V b) { return _mm512_unpacklo_epi16(a, b); }
    static V unpackHi16(V a, V b) { return _mm512_unpackhi_epi16(a, b); }
    static V unpackLo32(V a, V b) { return _mm512_unpacklo_epi32(a, b); }
    static V unpackHi32(V a, V b) { return _mm512_unpackhi_epi32(a, b); }
    static V unpackLo64(V a, V b) { return _mm512_unpacklo_epi64(a, b); }
    static V unpackHi64(V a, V b) { return _mm512_unpackhi_epi64(a, b); }
    static V packUS16(V a, V b) { return _mm512_packus_epi16(a, b); }
    static V packS16(V a, V b) { return _mm512_packs_epi16(a, b); }
    static V packS32(V a, V b) { return _mm512_packs_epi32(a, b); }

    template <int s> static V slli16(V a) { return _mm512_slli_epi16(a, s); }
    template <int s> static V srli16(V a) { return _mm512_srli_epi16(a, s); }
    template <int s> static V srai16(V a) { return _mm512_srai_epi16(a, s); }
    template <int s> static V srli32(V a) { return _mm512_srli_epi32(a, s); }
    template <int s> static V slli32(V a) { return _mm512_slli_epi32(a, s); }
    template <int s> static V srai32(V a) { return _mm512_srai_epi32(a, s); }
    static V sll16(V a, __m128i c) { return _mm512_sll_epi16(a, c); }
    static V srl16(V a, __m128i c) { return _mm512_srl_epi16(a, c); }
    static V sra16(V a, __m128i c) { return _mm512_sra_epi16(a, c); }
    static V sll32(V a, __m128i c) { return _mm512_sll_epi32(a, c); }
    static V sra32(V a, __m128i c) { return _mm512_sra_epi32(a, c); }

    static VF setF(float v) { return _mm512_set1_ps(v); }
    static VF andF(VF a, VF b) { return _mm512_and_ps(a, b); }
    static VF asF(V a) { return _mm512_castsi512_ps(a); }
    static V asI(VF a) { return _mm512_castps_si512(a); }
    // int32 to float, and float to int32 rounded to nearest (even).
    static VF toF(V a) { return _mm512_cvtepi32_ps(a); }
    static V toI(VF a) { return _mm512_cvtps_epi32(a); }
    static VF addF(VF a, VF b) { return _mm512_add_ps(a, b); }
    static VF subF(VF a, VF b) { return _mm512_sub_ps(a, b); }
    // The sign bit cleared.
    static VF absF(VF a) {
        return _mm512_castsi512_ps(
            _mm512_and_si512(_mm512_castps_si512(a), _mm512_set1_epi32(0x7FFFFFFF)));
    }
    static VF mulF(VF a, VF b) { return _mm512_mul_ps(a, b); }

    // Channel mixing: multiply 16-bit pairs and add each pair into 32 bits.
    static V madd16(V a, V b) { return _mm512_madd_epi16(a, b); }
    // Unsigned bytes of a times signed bytes of b, each pair added with
    // 16-bit saturation.
    static constexpr bool kHasByteMadd = true;
    static V maddUbs(V a, V b) { return _mm512_maddubs_epi16(a, b); }
    static V minU8(V a, V b) { return _mm512_min_epu8(a, b); }
    static V maxU8(V a, V b) { return _mm512_max_epu8(a, b); }
    static V minS16(V a, V b) { return _mm512_min_epi16(a, b); }
    static V maxS16(V a, V b) { return _mm512_max_epi16(a, b); }
    // Byte shuffle within each 128-bit lane.
    static V shuffle8(V a, V pattern) { return _mm512_shuffle_epi8(a, pattern); }

    // Lane masks of 16-bit and float compares and their selects: m ? x : y.
    using M16 = __mmask32;
    using MF = __mmask16;
    static M16 eq16(V a, V b) { return _mm512_cmpeq_epi16_mask(a, b); }
    static M16 gt16(V a, V b) { return _mm512_cmpgt_epi16_mask(a, b); }  // signed
    static V select16(M16 m, V x, V y) { return _mm512_mask_blend_epi16(m, y, x); }
    static MF ltF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_LT_OQ); }
    static MF leF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_LE_OQ); }
    static MF eqF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ); }
    static VF selectF(MF m, VF x, VF y) { return _mm512_mask_blend_ps(m, y, x); }

    static VF divF(VF a, VF b) { return _mm512_div_ps(a, b); }
    static VF minF(VF a, VF b) { return _mm512_min_ps(a, b); }
    static VF maxF(VF a, VF b) { return _mm512_max_ps(a, b); }
    // float to int32 truncated toward zero.
    static V truncI(VF a) { return _mm512_cvttps_epi32(a); }

    // Interleaved pixels of three (or four) byte channels to and from one
    // vector per channel, 64 pixels: the 16-byte pieces are dealt to the four
    // 128-bit lanes (16 pixels each), then byte shuffles sort the channels
    // within the lanes.
    static V pattern(const LanePattern& p) { return load(p.b); }
    template <bool kStream>
    static void put(void* p, V v) {
        if constexpr (kStream) stream(p, v);
        else store(p, v);
    }
    static V qwords(int64_t a, int64_t b, int64_t c, int64_t d, int64_t e, int64_t f,
                    int64_t g, int64_t h) {
        return _mm512_setr_epi64(a, b, c, d, e, f, g, h);
    }
    static V split3(V r0, V r1, V r2, int c) {
        const auto& s = kInterleave.split[c];
        // OR of the three shuffles in one instruction (truth table a | b | c).
        return _mm512_ternarylogic_epi64(shuffle8(r0, pattern(s[0])), shuffle8(r1, pattern(s[1])),
                                         shuffle8(r2, pattern(s[2])), 0xFE);
    }
    static void load3x8(const void* p, V& c0, V& c1, V& c2) {
        const auto* b = static_cast<const uint8_t*>(p);
        const V a = load(b), m = load(b + 64), z = load(b + 128);  // pieces 0-3, 4-7, 8-11
        // Register r takes pieces r, r + 3, r + 6, r + 9.
        const V r0 = _mm512_mask_permutexvar_epi64(
            _mm512_permutex2var_epi64(a, qwords(0, 1, 6, 7, 12, 13, 0, 0), m), 0xC0,
            qwords(0, 0, 0, 0, 0, 0, 2, 3), z);
        const V r1 = _mm512_mask_permutexvar_epi64(
            _mm512_permutex2var_epi64(a, qwords(2, 3, 8, 9, 14, 15, 0, 0), m), 0xC0,
            qwords(0, 0, 0, 0, 0, 0, 4, 5), z);
        const V r2 = _mm512_mask_permutexvar_epi64(
            _mm512_permutex2var_epi64(a, qwords(4, 5, 10, 11, 0, 0, 0, 0), m), 0xF0,
            qwords(0, 0, 0, 0, 0, 1, 6, 7), z);
        c0 = split3(r0, r1, r2, 0), c1 = split3(r0, r1, r2, 1), c2 = split3(r0, r1, r2, 2);
    }
    // kStream: the destination is 64-byte aligned and the stores go past the caches.
    template <bool kStream = false>
    static void store3x8(void* p, V c0, V c1, V c2) {
        V r[3];
        for (int k = 0; k < 3; ++k) {
            const auto& j = kInterleave.join[k];
            r[k] = _mm512_ternarylogic_epi64(shuffle8(c0, pattern(j[0])),
                                             shuffle8(c1, pattern(j[1])),
                                             shuffle8(c2, pattern(j[2])), 0xFE);
        }
        // Register r holds output pieces r, r + 3, r + 6, r + 9.
        auto* b = static_cast<uint8_t*>(p);
        put<kStream>(b, _mm512_mask_permutexvar_epi64(
                     _mm512_permutex2var_epi64(r[0], qwords(0, 1, 8, 9, 0, 0, 2, 3), r[1]), 0x30,
                     qwords(0, 0, 0, 0, 0, 1, 0, 0), r[2]));
        put<kStream>(b + 64, _mm512_mask_permutexvar_epi64(
                          _mm512_permutex2var_epi64(r[1], qwords(2, 3, 10, 11, 0, 0, 4, 5), r[2]),
                          0x30, qwords(0, 0, 0, 0, 4, 5, 0, 0), r[0]));
        put<kStream>(b + 128, _mm512_mask_permutexvar_epi64(
                           _mm512_permutex2var_epi64(r[2], qwords(4, 5, 14, 15, 0, 0, 6, 7), r[0]),
                           0x30, qwords(0, 0, 0, 0, 6, 7, 0, 0), r[1]));
    }
    // Four channels, the fourth dropped: a 4 x 4 transpose of 128-bit lanes
    // gives register j the pieces j, j + 4, j + 8, j + 12.
    static void load4x8(const void* p, V& c0, V& c1, V& c2) {
        const auto* b = static_cast<const uint8_t*>(p);
        const V a = load(b), e = load(b + 64), f = load(b + 128), g = load(b + 192);
        const V t0 = _mm512_shuffle_i64x2(a, e, 0x88), t1 = _mm512_shuffle_i64x2(a, e, 0xDD);
        const V t2 = _mm512_shuffle_i64x2(f, g, 0x88), t3 = _mm512_shuffle_i64x2(f, g, 0xDD);
        const V group = pattern(kInterleave.group);
        const V r0 = shuffle8(_mm512_shuffle_i64x2(t0, t2, 0x88), group);
        const V r1 = shuffle8(_mm512_shuffle_i64x2(t1, t3, 0x88), group);
        const V r2 = shuffle8(_mm512_shuffle_i64x2(t0, t2, 0xDD), group);
        const V r3 = shuffle8(_mm512_shuffle_i64x2(t1, t3, 0xDD), group);
        const V u0 = unpackLo32(r0, r1), u1 = unpackHi32(r0, r1);
        const V u2 = unpackLo32(r2, r3), u3 = unpackHi32(r2, r3);
        c0 = unpackLo64(u0, u2), c1 = unpackHi64(u0, u2), c2 = unpackLo64(u1, u3);
    }

    // Three float channels, 16 pixels: channel k's value j is value 3j + k of
    // the 48, taken from the first two registers by one permute and from the
    // third by a masked one.
    static V dwords(int a0, int a1, int a2, int a3, int a4, int a5, int a6, int a7, int a8,
                    int a9, int a10, int a11, int a12, int a13, int a14, int a15) {
        return _mm512_setr_epi32(a0, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14,
                                 a15);
    }
    static void load3xF(const float* p, VF& c0, VF& c1, VF& c2) {
        const VF a = loadF(p), b = loadF(p + 16), c = loadF(p + 32);
        c0 = _mm512_mask_permutexvar_ps(
            _mm512_permutex2var_ps(a, dwords(0, 3, 6, 9, 12, 15, 18, 21, 24, 27, 30, 0, 0, 0, 0, 0),
                                   b),
            0xF800, dwords(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 4, 7, 10, 13), c);
        c1 = _mm512_mask_permutexvar_ps(
            _mm512_permutex2var_ps(
                a, dwords(1, 4, 7, 10, 13, 16, 19, 22, 25, 28, 31, 0, 0, 0, 0, 0), b),
            0xF800, dwords(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 5, 8, 11, 14), c);
        c2 = _mm512_mask_permutexvar_ps(
            _mm512_permutex2var_ps(a, dwords(2, 5, 8, 11, 14, 17, 20, 23, 26, 29, 0, 0, 0, 0, 0, 0),
                                   b),
            0xFC00, dwords(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 6, 9, 12, 15), c);
    }
    // Output register r position e holds value 16 r + e: channel (16 r + e) % 3,
    // pixel (16 r + e) / 3. Two channels by one permute, the third by a masked one.
    static void store3xF(float* p, VF c0, VF c1, VF c2) {
        // Register 0: channel 2 at positions 2, 5, 8, 11, 14 (mask 0x4924).
        store(p, _mm512_mask_permutexvar_ps(
                     _mm512_permutex2var_ps(
                         c0, dwords(0, 16, 0, 1, 17, 0, 2, 18, 0, 3, 19, 0, 4, 20, 0, 5), c1),
                     0x4924, dwords(0, 0, 0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0, 4, 0), c2));
        // Register 1 (values 16..31): channel 0 at 2, 5, 8, 11, 14 (mask 0x4924).
        store(p + 16, _mm512_mask_permutexvar_ps(
                          _mm512_permutex2var_ps(
                              c1, dwords(5, 21, 0, 6, 22, 0, 7, 23, 0, 8, 24, 0, 9, 25, 0, 10), c2),
                          0x4924, dwords(0, 0, 6, 0, 0, 7, 0, 0, 8, 0, 0, 9, 0, 0, 10, 0), c0));
        // Register 2 (values 32..47): channel 1 at 2, 5, 8, 11, 14 (mask 0x4924).
        store(p + 32,
              _mm512_mask_permutexvar_ps(
                  _mm512_permutex2var_ps(
                      c2, dwords(10, 27, 0, 11, 28, 0, 12, 29, 0, 13, 30, 0, 14, 31, 0, 15), c0),
                  0x4924, dwords(0, 0, 11, 0, 0, 12, 0, 0, 13, 0, 0, 14, 0, 0, 15, 0), c1));
    }

    // The bytes of each group of 8 in reverse order.
    static V reverseBytesIn8(V v) {
        const V reverse = _mm512_set_epi64(0x08090A0B0C0D0E0FLL, 0x0001020304050607LL,
                                           0x08090A0B0C0D0E0FLL, 0x0001020304050607LL,
                                           0x08090A0B0C0D0E0FLL, 0x0001020304050607LL,
                                           0x08090A0B0C0D0E0FLL, 0x0001020304050607LL);
        return _mm512_shuffle_epi8(v, reverse);
    }
    // 64 mask bits as packed 1-bit rows hold them: within each byte, the
    // first value's bit moves to the most significant place.
    static uint64_t msbFirstBits(uint64_t bits) {
        return _mm512_movepi8_mask(reverseBytesIn8(_mm512_movm_epi8(bits)));
    }

    static V mullo32(V a, V b) { return _mm512_mullo_epi32(a, b); }
    static V max16(V a, V b) { return _mm512_max_epi16(a, b); }
    static V min16(V a, V b) { return _mm512_min_epi16(a, b); }
    static V minU16(V a, V b) { return _mm512_min_epu16(a, b); }
    static V maxU16(V a, V b) { return _mm512_max_epu16(a, b); }
    static V minS8(V a, V b) { return _mm512_min_epi8(a, b); }
    static V maxS8(V a, V b) { return _mm512_max_epi8(a, b); }
    static V min32(V a, V b) { return _mm512_min_epi32(a, b); }
    static V max32(V a, V b) { return _mm512_max_epi32(a, b); }
    static V abs16(V a) { return _mm512_abs_epi16(a); }
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

    static V add64(V a, V b) { return _mm512_add_epi64(a, b); }
    static V sadU8(V a, V b) { return _mm512_sad_epu8(a, b); }
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

    static VF negF(VF a) { return _mm512_xor_ps(a, _mm512_set1_ps(-0.0f)); }
    // Block moves over float lanes (see sse2.hpp). The split orders the lanes
    // in pairs across the 128-bit quarters; the merge undoes it.
    static constexpr int kFloats = 16;
    static void transposeF(VF* r) {
        __m512 a[16], b[16];
        for (int i = 0; i < 16; i += 2) {
            a[i] = _mm512_unpacklo_ps(r[i], r[i + 1]);
            a[i + 1] = _mm512_unpackhi_ps(r[i], r[i + 1]);
        }
        // b[4j + c], quarter q: column 4q + c of rows 4j..4j+3.
        for (int j = 0; j < 16; j += 4) {
            b[j] = _mm512_shuffle_ps(a[j], a[j + 2], 0x44);
            b[j + 1] = _mm512_shuffle_ps(a[j], a[j + 2], 0xEE);
            b[j + 2] = _mm512_shuffle_ps(a[j + 1], a[j + 3], 0x44);
            b[j + 3] = _mm512_shuffle_ps(a[j + 1], a[j + 3], 0xEE);
        }
        for (int c = 0; c < 4; ++c) {
            const __m512 d0 = _mm512_shuffle_f32x4(b[c], b[c + 4], 0x88);
            const __m512 d1 = _mm512_shuffle_f32x4(b[c], b[c + 4], 0xDD);
            const __m512 e0 = _mm512_shuffle_f32x4(b[c + 8], b[c + 12], 0x88);
            const __m512 e1 = _mm512_shuffle_f32x4(b[c + 8], b[c + 12], 0xDD);
            r[c] = _mm512_shuffle_f32x4(d0, e0, 0x88);
            r[c + 8] = _mm512_shuffle_f32x4(d0, e0, 0xDD);
            r[c + 4] = _mm512_shuffle_f32x4(d1, e1, 0x88);
            r[c + 12] = _mm512_shuffle_f32x4(d1, e1, 0xDD);
        }
    }
    static void splitPairsF(VF a, VF b, VF& x, VF& y) {
        x = _mm512_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
        y = _mm512_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    }
    static void mergePairsF(VF x, VF y, VF& a, VF& b) {
        a = _mm512_unpacklo_ps(x, y);
        b = _mm512_unpackhi_ps(x, y);
    }
};

}  // namespace
}  // namespace ozl::simd
