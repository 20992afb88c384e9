// The SSE2 kernels of the geometric transforms. Without a byte shuffle, a
// pixel and its right neighbour become 16-bit pairs by widening the 8 bytes
// that hold both and interleaving them with the same bytes shifted by one
// pixel; one multiply-add then weighs every channel. Whatever the vectors do
// not cover goes to the scalar forms.
#include <emmintrin.h>

#include "geometry/kernels.hpp"
#include "geometry/vec_resample.hpp"
#include "simd/sse2.hpp"

namespace ozl::geometry {

namespace {

__m128i load8(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }

// The 16-bit pairs (p0, p1) of each channel of a pixel of cn (3 or 4) bytes
// and its right neighbour, read as 8 bytes.
template <int cn>
__m128i pairs(const void* p) {
    const __m128i v = _mm_unpacklo_epi8(load8(p), _mm_setzero_si128());
    return _mm_unpacklo_epi16(v, _mm_srli_si128(v, 2 * cn));
}

// (p0 w0 + p1 w1 + 8) >> 4 for each channel.
__m128i rowSums(__m128i pr, __m128i w) {
    return _mm_srai_epi32(_mm_add_epi32(_mm_madd_epi16(pr, w), _mm_set1_epi32(8)), 4);
}

// ---------------------------------------------------------------------------
// Horizontal pass of 8U linear resampling, two output pixels per step; with
// 3 channels each pixel's 4 values are stored 3 apart, the fourth rewritten
// by the next pixel, the tail, or falling in the row buffer's margin.

template <int cn>
void hLinearVec(const uint8_t* row, int16_t* out, const LinearTaps8u& t, int n) {
    int i = 0;
    for (; i + 2 <= t.vecCount; i += 2) {
        const __m128i a = rowSums(pairs<cn>(row + t.ofs[i]), _mm_set1_epi32(t.coef[i]));
        const __m128i b = rowSums(pairs<cn>(row + t.ofs[i + 1]), _mm_set1_epi32(t.coef[i + 1]));
        const __m128i r = _mm_packs_epi32(a, b);
        if constexpr (cn == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * i), r);
        } else {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * i), r);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * i + 3), _mm_srli_si128(r, 8));
        }
    }
    hLinear8uScalar(row, out, t, i, n);
}

void sse2HLinear8u(const uint8_t* row, int16_t* out, const LinearTaps8u& t, int n) {
    if (t.channelStep == 1 && t.pairStep == t.cn && t.cn == 3) return hLinearVec<3>(row, out, t, n);
    if (t.channelStep == 1 && t.pairStep == t.cn && t.cn == 4) return hLinearVec<4>(row, out, t, n);
    hLinear8uScalar(row, out, t, 0, n);
}

// ---------------------------------------------------------------------------
// Horizontal pass of 8U cubic resampling: the four neighbours as two runs of
// pairs, each weighed by one multiply-add; two output pixels per step.

// (p0 w0 + p1 w1 + p2 w2 + p3 w3 + 16) >> 5 for each channel of the pixel at p.
template <int cn>
__m128i cubicSums(const uint8_t* p, const int32_t* coef) {
    const __m128i s = _mm_add_epi32(_mm_madd_epi16(pairs<cn>(p), _mm_set1_epi32(coef[0])),
                                    _mm_madd_epi16(pairs<cn>(p + 2 * cn), _mm_set1_epi32(coef[1])));
    return _mm_srai_epi32(_mm_add_epi32(s, _mm_set1_epi32(16)), 5);
}

template <int cn>
void hCubicVec(const uint8_t* row, int16_t* out, const CubicTaps8u& t, int n) {
    hCubic8uScalar(row, out, t, 0, t.vecFrom);
    int i = t.vecFrom;
    for (; i + 2 <= t.vecTo; i += 2) {
        const __m128i r = _mm_packs_epi32(cubicSums<cn>(row + t.ofs[4 * i], t.coef + 2 * i),
                                          cubicSums<cn>(row + t.ofs[4 * i + 4], t.coef + 2 * i + 2));
        if constexpr (cn == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * i), r);
        } else {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * i), r);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * i + 3), _mm_srli_si128(r, 8));
        }
    }
    hCubic8uScalar(row, out, t, i, n);
}

void sse2HCubic8u(const uint8_t* row, int16_t* out, const CubicTaps8u& t, int n) {
    if (t.channelStep == 1 && t.pixelStep == 3 && t.cn == 3) return hCubicVec<3>(row, out, t, n);
    if (t.channelStep == 1 && t.pixelStep == 4 && t.cn == 4) return hCubicVec<4>(row, out, t, n);
    hCubic8uScalar(row, out, t, 0, n);
}


// ---------------------------------------------------------------------------
// The vertical passes: one template over the vector layer.

void sse2VLinear8u(const int16_t* h0, const int16_t* h1, uint8_t* d, int w, size_t n) {
    const int16_t* const rows[2] = {h0, h1};
    const int32_t weights[1] = {(kWeightOne - w) | (w << 16)};
    if (!weighRows<simd::Sse2, 1, 18>(rows, weights, d, n)) vLinear8uScalar(h0, h1, d, w, 0, n);
}

void sse2VCubic8u(const int16_t* const h[4], uint8_t* d, const int32_t coef[2], size_t n) {
    if (!weighRows<simd::Sse2, 2, 17>(h, coef, d, n)) vCubic8uScalar(h, d, coef, 0, n);
}

// ---------------------------------------------------------------------------
// 2 x 2 block means: the rows summed as 16-bit values, then each pixel with
// its right neighbour.

__m128i widen(const uint8_t* p) { return _mm_unpacklo_epi8(load8(p), _mm_setzero_si128()); }

__m128i rounded(__m128i sums) {
    return _mm_srli_epi16(_mm_add_epi16(sums, _mm_set1_epi16(2)), 2);
}

void sse2Box2x2(const uint8_t* r0, const uint8_t* r1, uint8_t* d, size_t n, int cn) {
    size_t i = 0;
    const __m128i ones = _mm_set1_epi16(1);
    switch (cn) {
        case 1:
            // Neighbours are adjacent 16-bit values: a multiply-add with ones.
            for (; i + 8 <= n; i += 8) {
                const __m128i lo = _mm_madd_epi16(_mm_add_epi16(widen(r0 + 2 * i), widen(r1 + 2 * i)), ones);
                const __m128i hi = _mm_madd_epi16(_mm_add_epi16(widen(r0 + 2 * i + 8), widen(r1 + 2 * i + 8)), ones);
                const __m128i s = rounded(_mm_packs_epi32(lo, hi));
                _mm_storel_epi64(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(s, s));
            }
            break;
        case 2:
            for (; i + 2 <= n; i += 2) {
                const __m128i s = _mm_add_epi16(widen(r0 + 4 * i), widen(r1 + 4 * i));
                // Values 0, 1 and 4, 5 of s plus those 2 further on.
                const __m128i t = _mm_shuffle_epi32(_mm_add_epi16(s, _mm_srli_si128(s, 4)), 0x08);
                const __m128i b = _mm_packus_epi16(rounded(t), rounded(t));
                const int32_t v = _mm_cvtsi128_si32(b);
                std::memcpy(d + 2 * i, &v, 4);
            }
            break;
        case 3:
            // One output per step; its 4-byte store is completed by the next.
            for (; i + 2 <= n; ++i) {
                const __m128i s = _mm_add_epi16(widen(r0 + 6 * i), widen(r1 + 6 * i));
                const __m128i t = rounded(_mm_add_epi16(s, _mm_srli_si128(s, 6)));
                const int32_t v = _mm_cvtsi128_si32(_mm_packus_epi16(t, t));
                std::memcpy(d + 3 * i, &v, 4);
            }
            break;
        case 4:
            for (; i + 2 <= n; i += 2) {
                const __m128i s0 = _mm_add_epi16(widen(r0 + 8 * i), widen(r1 + 8 * i));
                const __m128i s1 = _mm_add_epi16(widen(r0 + 8 * i + 8), widen(r1 + 8 * i + 8));
                const __m128i t = _mm_unpacklo_epi64(_mm_add_epi16(s0, _mm_srli_si128(s0, 8)),
                                                     _mm_add_epi16(s1, _mm_srli_si128(s1, 8)));
                _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 4 * i), _mm_packus_epi16(rounded(t), rounded(t)));
            }
            break;
        default: break;
    }
    box2x2Scalar(r0, r1, d, i, n, cn);
}

// ---------------------------------------------------------------------------
// 8U linear sampling at given positions, a pixel at a time: positions and
// weights as the scalar form finds them, the arithmetic in vectors.

template <int cn>
void warpVec(const core::SampledSource& s, const Edges& e, const double* sx, const double* sy,
             int n, uint8_t* d) {
    // 8 bytes from neighbour x0 reach pixel x0 + 2 when cn is 3.
    const double xLim = s.width - (cn == 3 ? 2.0 : 1.0), yLim = s.height - 1.0;
    const __m128i round = _mm_set1_epi32(1 << 17);
    for (int i = 0; i < n; ++i) {
        const double x = sx[i], y = sy[i];
        if (!(x >= 0 && x < xLim && y >= 0 && y < yLim)) {
            warpLinear8uScalar(s, e, sx, sy, i, i + 1, d);
            continue;
        }
        const double fx = std::floor(x), fy = std::floor(y);
        const int wx = fixedWeight(x - fx), wy = fixedWeight(y - fy);
        const char* p = s.data + static_cast<ptrdiff_t>(fy) * s.rowStep + static_cast<ptrdiff_t>(fx) * cn;
        const __m128i w = _mm_set1_epi32((kWeightOne - wx) | (wx << 16));
        const __m128i h = _mm_packs_epi32(rowSums(pairs<cn>(p), w), rowSums(pairs<cn>(p + s.rowStep), w));
        // (h0, h1) pairs of each channel, weighed down the column.
        const __m128i v = _mm_madd_epi16(_mm_unpacklo_epi16(h, _mm_srli_si128(h, 8)),
                                         _mm_set1_epi32((kWeightOne - wy) | (wy << 16)));
        const __m128i r = _mm_srai_epi32(_mm_add_epi32(v, round), 18);
        const __m128i b = _mm_packus_epi16(_mm_packs_epi32(r, r), r);
        const int32_t bytes = _mm_cvtsi128_si32(b);
        std::memcpy(d + i * cn, &bytes, cn);
    }
}

void sse2WarpLinear8u(const core::SampledSource& s, const Edges& e, const double* sx,
                      const double* sy, int n, uint8_t* d) {
    const bool interleaved = s.channelStep == 1 && s.pixelStep == s.channels;
    if (interleaved && s.channels == 3 && s.width >= 3 && s.height >= 2) return warpVec<3>(s, e, sx, sy, n, d);
    if (interleaved && s.channels == 4 && s.width >= 2 && s.height >= 2) return warpVec<4>(s, e, sx, sy, n, d);
    warpLinear8uScalar(s, e, sx, sy, 0, n, d);
}

// ---------------------------------------------------------------------------
// 8U cubic sampling at given positions, a pixel at a time: weights as the
// scalar form finds them, each of the four rows summed as in resampling, the
// column by multiply-adds of row pairs.

template <int cn>
void warpCubicVec(const core::SampledSource& s, const Edges& e, const double* sx, const double* sy,
                  int n, uint8_t* d) {
    // Neighbours x0 - 1 .. x0 + 2 and y0 - 1 .. y0 + 2; the reads from x0 - 1
    // reach pixel x0 + 3 when cn is 3.
    const double xLim = s.width - (cn == 3 ? 3.0 : 2.0), yLim = s.height - 2.0;
    for (int i = 0; i < n; ++i) {
        const double x = sx[i], y = sy[i];
        if (!(x >= 1 && x < xLim && y >= 1 && y < yLim)) {
            warpCubic8uScalar(s, e, sx, sy, i, i + 1, d);
            continue;
        }
        const double fx = std::floor(x), fy = std::floor(y);
        int32_t qx[4], qy[4];
        fixedCubicWeights(x - fx, qx);
        fixedCubicWeights(y - fy, qy);
        const int32_t cx[2] = {weightPair(qx[0], qx[1]), weightPair(qx[2], qx[3])};
        const uint8_t* p = reinterpret_cast<const uint8_t*>(s.data) +
                           (static_cast<ptrdiff_t>(fy) - 1) * s.rowStep + (static_cast<ptrdiff_t>(fx) - 1) * cn;
        const __m128i h01 = _mm_packs_epi32(cubicSums<cn>(p, cx), cubicSums<cn>(p + s.rowStep, cx));
        const __m128i h23 = _mm_packs_epi32(cubicSums<cn>(p + 2 * s.rowStep, cx), cubicSums<cn>(p + 3 * s.rowStep, cx));
        const __m128i v = _mm_add_epi32(
            _mm_madd_epi16(_mm_unpacklo_epi16(h01, _mm_srli_si128(h01, 8)), _mm_set1_epi32(weightPair(qy[0], qy[1]))),
            _mm_madd_epi16(_mm_unpacklo_epi16(h23, _mm_srli_si128(h23, 8)), _mm_set1_epi32(weightPair(qy[2], qy[3]))));
        const __m128i r = _mm_srai_epi32(_mm_add_epi32(v, _mm_set1_epi32(1 << 16)), 17);
        const __m128i b = _mm_packus_epi16(_mm_packs_epi32(r, r), r);
        const int32_t bytes = _mm_cvtsi128_si32(b);
        std::memcpy(d + i * cn, &bytes, cn);
    }
}

void sse2WarpCubic8u(const core::SampledSource& s, const Edges& e, const double* sx,
                     const double* sy, int n, uint8_t* d) {
    const bool interleaved = s.channelStep == 1 && s.pixelStep == s.channels;
    if (interleaved && s.channels == 3 && s.width >= 5 && s.height >= 4) return warpCubicVec<3>(s, e, sx, sy, n, d);
    if (interleaved && s.channels == 4 && s.width >= 4 && s.height >= 4) return warpCubicVec<4>(s, e, sx, sy, n, d);
    warpCubic8uScalar(s, e, sx, sy, 0, n, d);
}

// ---------------------------------------------------------------------------
// Pixel reversal by word and double-word shuffles, for pixels of 1, 2, 4 and
// 8 bytes.

__m128i reverse16(__m128i v, size_t pixelBytes) {
    switch (pixelBytes) {
        case 8: return _mm_shuffle_epi32(v, 0x4E);
        case 4: return _mm_shuffle_epi32(v, 0x1B);
        default: {
            v = _mm_shuffle_epi32(_mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0x1B), 0x1B), 0x4E);
            if (pixelBytes == 1) v = _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
            return v;
        }
    }
}

void sse2Reverse(const char* s, char* d, size_t n, size_t pixelBytes) {
    size_t i = 0;
    if (pixelBytes == 1 || pixelBytes == 2 || pixelBytes == 4 || pixelBytes == 8) {
        const size_t per = 16 / pixelBytes;
        for (; i + per <= n; i += per) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i * pixelBytes));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + (n - i - per) * pixelBytes),
                             reverse16(v, pixelBytes));
        }
    }
    reverseScalar(s, d, i, n, pixelBytes);
}

}  // namespace

const KernelTable& kernelTableSse2() {
    static const KernelTable table{&sse2HLinear8u, &sse2VLinear8u, &sse2HCubic8u, &sse2VCubic8u,
                                   &sse2Box2x2,    &sse2WarpLinear8u, &sse2WarpCubic8u, &sse2Reverse};
    return table;
}

}  // namespace ozl::geometry
