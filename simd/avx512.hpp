// 512-bit vectors for the AVX-512 kernels (the F, BW, DQ and VL subsets).
// Unlike the narrower layers, comparisons give bit masks (one bit per value,
// value order, least significant bit first) rather than vector masks. Only for
// the avx512 translation units (internal linkage, see sse2.hpp).
#pragma once

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

    static V load(const void* p) { return _mm512_loadu_si512(p); }
    static VF loadF(const void* p) { return _mm512_loadu_ps(p); }

    static V set8(int v) { return _mm512_set1_epi8(static_cast<char>(v)); }
    static V set16(int v) { return _mm512_set1_epi16(static_cast<short>(v)); }
    static V set32(int32_t v) { return _mm512_set1_epi32(v); }
    static VF setF(float v) { return _mm512_set1_ps(v); }

    static VF subF(VF a, VF b) { return _mm512_sub_ps(a, b); }
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
};

}  // namespace
}  // namespace ozl::simd
