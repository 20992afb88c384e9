// 128-bit integer and float vectors for the SSE2 kernels: a thin layer over the
// intrinsics with the same names as the 256-bit layer, so that one kernel body
// serves both. Everything here has internal linkage, so each translation unit
// keeps the copy compiled for its own target (the AVX2 files use it too, for
// runs shorter than one 256-bit vector).
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ozl::simd {
namespace {

struct Sse2 {
    using V = __m128i;
    using VF = __m128;
    static constexpr size_t kBytes = 16;
    static constexpr bool kHasNarrower = false;
    using Narrower = Sse2;

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
    static V and3(V a, V b, V c) { return and_(and_(a, b), c); }
    static V or3(V a, V b, V c) { return or_(or_(a, b), c); }
    static V bitSelect(V m, V a, V b) { return or_(and_(a, m), andNot(b, m)); }  // a where m, else b
    // Byte lanes are loaded and stored whole (see Avx512::kMaskedBytes).
    static constexpr bool kMaskedBytes = false;
    static constexpr bool kBitMatrix = false;  // see avx512_gfni.hpp
    // m ? x : y, m all-ones or all-zero per byte.
    static V select(V m, V x, V y) {
        return _mm_or_si128(_mm_and_si128(m, x), _mm_andnot_si128(m, y));
    }

    static V addsU8(V a, V b) { return _mm_adds_epu8(a, b); }
    static V addsS8(V a, V b) { return _mm_adds_epi8(a, b); }
    static V addsU16(V a, V b) { return _mm_adds_epu16(a, b); }
    static V addsS16(V a, V b) { return _mm_adds_epi16(a, b); }
    static V subsU8(V a, V b) { return _mm_subs_epu8(a, b); }
    static V subsS8(V a, V b) { return _mm_subs_epi8(a, b); }
    static V subsU16(V a, V b) { return _mm_subs_epu16(a, b); }
    static V subsS16(V a, V b) { return _mm_subs_epi16(a, b); }
    static V add8(V a, V b) { return _mm_add_epi8(a, b); }
    static V sub8(V a, V b) { return _mm_sub_epi8(a, b); }
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
    // Products of signed 16-bit lanes, adjacent pairs added into 32-bit lanes.
    static V madd16(V a, V b) { return _mm_madd_epi16(a, b); }
    static V add64(V a, V b) { return _mm_add_epi64(a, b); }
    static V maxU8(V a, V b) { return _mm_max_epu8(a, b); }
    // Sums of absolute differences of the 8 bytes of each 64-bit lane.
    static V sadU8(V a, V b) { return _mm_sad_epu8(a, b); }
    // Adjacent pairs of non-negative 32-bit lanes added into 64-bit lanes.
    static V addPairs32(V a) {
        const V low = _mm_and_si128(a, _mm_set1_epi64x(0xFFFFFFFF));
        return _mm_add_epi64(low, _mm_srli_epi64(a, 32));
    }

    // The kBytes / 2 unsigned 16-bit values at p as 32-bit lanes, in order, in
    // two vectors.
    static void widenU16(const void* p, V* out) {
        const V x = load(p);
        out[0] = _mm_unpacklo_epi16(x, zero());
        out[1] = _mm_unpackhi_epi16(x, zero());
    }

    // 32 bytes widened to 16-bit lanes, zero- or sign-extended, in
    // kWidenGroups vectors; the lane order is fixed per layer (the same call
    // on the bytes 0..31 tells where each byte went).
    static constexpr int kWidenGroups = 4;
    template <bool isSigned>
    static void widen32(const void* p, V* out) {
        const auto* b = static_cast<const char*>(p);
        for (int h = 0; h < 2; ++h) {
            const V x = load(b + 16 * h);
            const V ext = isSigned ? _mm_cmpgt_epi8(zero(), x) : zero();
            out[2 * h] = _mm_unpacklo_epi8(x, ext);
            out[2 * h + 1] = _mm_unpackhi_epi8(x, ext);
        }
    }
    static V mulhiS16(V a, V b) { return _mm_mulhi_epi16(a, b); }
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

    // Lane 3 of every group of four 16-bit lanes copied to all four (the
    // alpha of four-channel pixels of 16-bit values).
    static V spreadLane3x16(V a) { return _mm_shufflehi_epi16(_mm_shufflelo_epi16(a, 0xFF), 0xFF); }

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
    // Sign flipped, as the scalar unary minus does (zeros included).
    static VF negF(VF a) { return _mm_xor_ps(a, _mm_set1_ps(-0.0f)); }

    // Float lanes of one vector, and block moves over them: the rows of a
    // kFloats x kFloats block become its columns; interleaved pairs (x0 y0 x1
    // y1 ...) split into an x and a y vector and back. The split may order the
    // lanes its own way; merging restores the memory order.
    static constexpr int kFloats = 4;
    static void transposeF(VF* r) { _MM_TRANSPOSE4_PS(r[0], r[1], r[2], r[3]); }
    static void splitPairsF(VF a, VF b, VF& x, VF& y) {
        x = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
        y = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    }
    static void mergePairsF(VF x, VF y, VF& a, VF& b) {
        a = _mm_unpacklo_ps(x, y);
        b = _mm_unpackhi_ps(x, y);
    }

    static VF orF(VF a, VF b) { return _mm_or_ps(a, b); }
    // a < b ? a : b and a > b ? a : b: b wherever either is NaN.
    static VF minF(VF a, VF b) { return _mm_min_ps(a, b); }
    static VF maxF(VF a, VF b) { return _mm_max_ps(a, b); }

    // Float comparisons as all-ones integer masks. Ordered (false where either
    // operand is NaN) except cmpneqF, which holds there.
    static V cmpltF(VF a, VF b) { return _mm_castps_si128(_mm_cmplt_ps(a, b)); }
    static V cmpgtF(VF a, VF b) { return _mm_castps_si128(_mm_cmpgt_ps(a, b)); }
    static V cmpleF(VF a, VF b) { return _mm_castps_si128(_mm_cmple_ps(a, b)); }
    static V cmpeqF(VF a, VF b) { return _mm_castps_si128(_mm_cmpeq_ps(a, b)); }
    static V cmpneqF(VF a, VF b) { return _mm_castps_si128(_mm_cmpneq_ps(a, b)); }

    // Comparison masks of 16- and 32-bit values narrowed to one byte per
    // value, in value order.
    static V narrowMasks16(V m0, V m1) { return _mm_packs_epi16(m0, m1); }
    static V narrowMasks32(V m0, V m1, V m2, V m3) {
        return _mm_packs_epi16(_mm_packs_epi32(m0, m1), _mm_packs_epi32(m2, m3));
    }
    // One bit per byte of a byte mask, as packed 1-bit rows hold them: the
    // first byte's bit in the most significant bit of the result's first
    // byte (little-endian). 16 bits.
    static uint32_t msbFirstBits(V m) {
        // Reverse the bytes of each 8-byte group: swap within 16-bit words,
        // then reverse the words.
        V x = _mm_or_si128(_mm_slli_epi16(m, 8), _mm_srli_epi16(m, 8));
        x = _mm_shufflelo_epi16(x, _MM_SHUFFLE(0, 1, 2, 3));
        x = _mm_shufflehi_epi16(x, _MM_SHUFFLE(0, 1, 2, 3));
        return static_cast<uint32_t>(_mm_movemask_epi8(x));
    }

    // No byte multiply-add (pmaddubsw) before SSSE3.
    static constexpr bool kHasByteMadd = false;
    static V minU8(V a, V b) { return _mm_min_epu8(a, b); }
    // The vector shifted by n bytes toward its end (zeros entering at byte 0).
    template <int n> static V shiftUpBytes(V a) { return _mm_slli_si128(a, n); }
    // The top bit of every byte, byte 0 in bit 0.
    static uint32_t topBits8(V m) { return static_cast<uint32_t>(_mm_movemask_epi8(m)); }
    template <int i> static int word(V a) { return _mm_extract_epi16(a, i); }
    static V minS16(V a, V b) { return _mm_min_epi16(a, b); }
    static V maxS16(V a, V b) { return _mm_max_epi16(a, b); }
    static V unpackLo32(V a, V b) { return _mm_unpacklo_epi32(a, b); }
    static V unpackHi32(V a, V b) { return _mm_unpackhi_epi32(a, b); }
    static V unpackLo64(V a, V b) { return _mm_unpacklo_epi64(a, b); }
    static V unpackHi64(V a, V b) { return _mm_unpackhi_epi64(a, b); }

    // Lane masks of 16-bit and float compares, in whatever form the level
    // keeps them, and the selects that take them: m ? x : y.
    using M16 = V;
    using MF = VF;
    static M16 eq16(V a, V b) { return _mm_cmpeq_epi16(a, b); }
    static M16 gt16(V a, V b) { return _mm_cmpgt_epi16(a, b); }  // signed
    static V select16(M16 m, V x, V y) { return select(m, x, y); }
    static MF ltF(VF a, VF b) { return _mm_cmplt_ps(a, b); }
    static MF leF(VF a, VF b) { return _mm_cmple_ps(a, b); }
    static MF eqF(VF a, VF b) { return _mm_cmpeq_ps(a, b); }
    static VF selectF(MF m, VF x, VF y) { return _mm_or_ps(_mm_and_ps(m, x), _mm_andnot_ps(m, y)); }

    static VF divF(VF a, VF b) { return _mm_div_ps(a, b); }
    // float to int32 truncated toward zero.
    static V truncI(VF a) { return _mm_cvttps_epi32(a); }

    // Interleaved pixels of three (or four) byte or float channels to and from
    // one vector per channel, kBytes pixels of bytes or kBytes / 4 of floats.
    // This level has no byte shuffle: the values go through memory.
    // Three byte channels of 16 pixels split and joined with the unpacks and
    // packs of SSE2 (no byte shuffle). The 48 bytes with 48 zeros after them
    // are 96 bytes in six registers; unpacking register i with register i + 3
    // moves byte j to 2j mod 95 (an out-shuffle), so five rounds move pixel
    // p's channel c from 3p + c to 32 (3p + c) mod 95 = 32c + p: channel c in
    // register 2c. Taking the even and the odd bytes is the inverse round.
    static void load3x8(const void* p, V& c0, V& c1, V& c2) {
        const auto* b = static_cast<const uint8_t*>(p);
        V v[6] = {load(b), load(b + 16), load(b + 32), zero(), zero(), zero()};
        for (int round = 0; round < 4; ++round) {
            const V w[6] = {unpackLo8(v[0], v[3]), unpackHi8(v[0], v[3]), unpackLo8(v[1], v[4]),
                            unpackHi8(v[1], v[4]), unpackLo8(v[2], v[5]), unpackHi8(v[2], v[5])};
            for (int i = 0; i < 6; ++i) v[i] = w[i];
        }
        c0 = unpackLo8(v[0], v[3]), c1 = unpackLo8(v[1], v[4]), c2 = unpackLo8(v[2], v[5]);
    }
    static void load4x8(const void* p, V& c0, V& c1, V& c2) {
        alignas(16) uint8_t t[3][16];
        const auto* s = static_cast<const uint8_t*>(p);
        for (int i = 0; i < 16; ++i)
            for (int c = 0; c < 3; ++c) t[c][i] = s[4 * i + c];
        c0 = load(t[0]), c1 = load(t[1]), c2 = load(t[2]);
    }
    // kStream: the destination is 16-byte aligned and the stores go past the caches.
    template <bool kStream = false>
    static void store3x8(void* p, V c0, V c1, V c2) {
        const V low = set16(0xFF);
        V v[6] = {c0, zero(), c1, zero(), c2, zero()};
        for (int round = 0; round < 5; ++round) {
            V w[6];
            for (int i = 0; i < 3; ++i) {
                w[i] = _mm_packus_epi16(and_(v[2 * i], low), and_(v[2 * i + 1], low));
                if (round < 4)
                    w[i + 3] = _mm_packus_epi16(_mm_srli_epi16(v[2 * i], 8),
                                                _mm_srli_epi16(v[2 * i + 1], 8));
            }
            for (int i = 0; i < 6; ++i) v[i] = round < 4 || i < 3 ? w[i] : zero();
        }
        auto* d = static_cast<uint8_t*>(p);
        for (int r = 0; r < 3; ++r) {
            if constexpr (kStream) stream(d + 16 * r, v[r]);
            else store(d + 16 * r, v[r]);
        }
    }
    static void load3xF(const float* p, VF& c0, VF& c1, VF& c2) {
        alignas(16) float t[3][4];
        for (int i = 0; i < 4; ++i)
            for (int c = 0; c < 3; ++c) t[c][i] = p[3 * i + c];
        c0 = loadF(t[0]), c1 = loadF(t[1]), c2 = loadF(t[2]);
    }
    static void store3xF(float* p, VF c0, VF c1, VF c2) {
        alignas(16) float t[3][4];
        store(t[0], c0), store(t[1], c1), store(t[2], c2);
        for (int i = 0; i < 4; ++i)
            for (int c = 0; c < 3; ++c) p[3 * i + c] = t[c][i];
    }

    // All ones where a is not NaN.
    static VF orderedF(VF a) { return _mm_cmpord_ps(a, a); }
    // All ones where a >= b, as an integer mask.
    static V geF(VF a, VF b) { return _mm_castps_si128(_mm_cmpge_ps(a, b)); }

    // kBytes / 4 values widened to 32-bit lanes.
    static V loadI32FromU8(const void* p) {
        int32_t v;
        std::memcpy(&v, p, sizeof v);
        const V z = zero();
        return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(v), z), z);
    }
    static V loadI32FromS8(const void* p) {
        int32_t v;
        std::memcpy(&v, p, sizeof v);
        const V x = _mm_cvtsi32_si128(v);
        const V w = _mm_unpacklo_epi8(x, x);
        return _mm_srai_epi32(_mm_unpacklo_epi16(w, w), 24);
    }
    static V loadI32FromU16(const void* p) {
        return _mm_unpacklo_epi16(_mm_loadl_epi64(static_cast<const __m128i*>(p)), zero());
    }
    static V loadI32FromS16(const void* p) {
        const V x = _mm_loadl_epi64(static_cast<const __m128i*>(p));
        return _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16);
    }
    // 32-bit lanes narrowed with saturation, in element order: four vectors
    // to bytes, two to 16-bit values.
    static V packI32ToU8(V a, V b, V c, V d) {
        return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    }
    static V packI32ToS8(V a, V b, V c, V d) {
        return _mm_packs_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    }
    static V packI32ToS16(V a, V b) { return _mm_packs_epi32(a, b); }
    // No unsigned 32-to-16 pack here: negative lanes cleared (so that the
    // shift cannot wrap), the range shifted down by 32768, packed signed, and
    // the 16-bit results shifted back up.
    static V packI32ToU16(V a, V b) {
        const V bias = _mm_set1_epi32(32768);
        a = _mm_andnot_si128(_mm_srai_epi32(a, 31), a);
        b = _mm_andnot_si128(_mm_srai_epi32(b, 31), b);
        return _mm_xor_si128(_mm_packs_epi32(_mm_sub_epi32(a, bias), _mm_sub_epi32(b, bias)),
                             _mm_set1_epi16(-32768));
    }

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
