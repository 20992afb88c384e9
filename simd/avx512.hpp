// 512-bit vectors for the AVX-512 kernels (the F, BW, DQ and VL subsets).
// Unlike the narrower layers, comparisons give bit masks (one bit per value,
// value order, least significant bit first) rather than vector masks. Only for
// the avx512 translation units (internal linkage, see sse2.hpp).
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "simd/avx2.hpp"

// GCC 12's 512-bit shuffles start from a deliberately undefined vector, which
// its flow analysis reports at every inlined use; the files that include this
// layer are built with the warning off.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

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

    static V set8(int v) { return _mm512_set1_epi8(static_cast<char>(v)); }
    static V set16(int v) { return _mm512_set1_epi16(static_cast<short>(v)); }
    static V set32(int32_t v) { return _mm512_set1_epi32(v); }
    static VF setF(float v) { return _mm512_set1_ps(v); }

    static void store(float* p, VF v) { _mm512_storeu_ps(p, v); }
    static VF addF(VF a, VF b) { return _mm512_add_ps(a, b); }
    static VF subF(VF a, VF b) { return _mm512_sub_ps(a, b); }
    static VF mulF(VF a, VF b) { return _mm512_mul_ps(a, b); }
    static VF negF(VF a) { return _mm512_xor_ps(a, _mm512_set1_ps(-0.0f)); }
    // The sign bit cleared.
    static VF absF(VF a) {
        return _mm512_castsi512_ps(
            _mm512_and_si512(_mm512_castps_si512(a), _mm512_set1_epi32(0x7FFFFFFF)));
    }

    static uint64_t cmpgtU8(V a, V b) { return _mm512_cmpgt_epu8_mask(a, b); }
    static uint64_t cmpgtS8(V a, V b) { return _mm512_cmpgt_epi8_mask(a, b); }
    static uint64_t cmpeq8(V a, V b) { return _mm512_cmpeq_epi8_mask(a, b); }
    static uint32_t cmpgtU16(V a, V b) { return _mm512_cmpgt_epu16_mask(a, b); }
    static uint32_t cmpgtS16(V a, V b) { return _mm512_cmpgt_epi16_mask(a, b); }
    static uint32_t cmpeq16(V a, V b) { return _mm512_cmpeq_epi16_mask(a, b); }
    static uint16_t cmpgtS32(V a, V b) { return _mm512_cmpgt_epi32_mask(a, b); }
    static uint16_t cmpeq32(V a, V b) { return _mm512_cmpeq_epi32_mask(a, b); }
    // Ordered: false where either operand is NaN.
    static uint16_t cmpltF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_LT_OQ); }
    static uint16_t cmpgtF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_GT_OQ); }
    static uint16_t cmpleF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_LE_OQ); }
    static uint16_t cmpeqF(VF a, VF b) { return _mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ); }

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
