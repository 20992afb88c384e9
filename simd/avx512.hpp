// 512-bit float vectors for the AVX-512 kernels (F, BW, DQ and VL), with the
// names of the narrower layers. Only the float operations the families use so
// far; internal linkage, for the avx512 translation units only.
#pragma once

#include <immintrin.h>

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
    using VF = __m512;
    static constexpr size_t kBytes = 64;
    static constexpr bool kHasNarrower = true;
    using Narrower = Avx2;

    static VF loadF(const float* p) { return _mm512_loadu_ps(p); }
    static void store(float* p, VF v) { _mm512_storeu_ps(p, v); }
    static VF setF(float v) { return _mm512_set1_ps(v); }
    static VF addF(VF a, VF b) { return _mm512_add_ps(a, b); }
    static VF subF(VF a, VF b) { return _mm512_sub_ps(a, b); }
    static VF mulF(VF a, VF b) { return _mm512_mul_ps(a, b); }
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
