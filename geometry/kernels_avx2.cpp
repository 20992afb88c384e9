// The AVX2 kernels of the geometric transforms. Pixels of 3 and 4 channels
// are taken one per 128-bit lane: a byte shuffle turns a pixel and its right
// neighbour into 16-bit pairs, and one multiply-add per lane applies the two
// weights to every channel. Whatever the vectors do not cover (other channel
// counts, edges, short runs) goes to the scalar forms.
#include <immintrin.h>

#include "geometry/kernels.hpp"
#include "geometry/vec_resample.hpp"
#include "simd/avx2.hpp"

namespace ozl::geometry {

namespace {

// Byte shuffles, the same in both lanes.
__m256i lanes(const int8_t (&b)[16]) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
    return _mm256_broadcastsi128_si256(v);
}

// A pixel (bytes 0..cn-1) and its right neighbour (cn..2cn-1) as the 16-bit
// pairs (p0, p1) of each channel; a fourth channel of 3 reads as zero.
constexpr int8_t kPairs3[16] = {0, -1, 3, -1, 1, -1, 4, -1, 2, -1, 5, -1, -1, -1, -1, -1};
constexpr int8_t kPairs4[16] = {0, -1, 4, -1, 1, -1, 5, -1, 2, -1, 6, -1, 3, -1, 7, -1};
// Four 16-bit values and four more, interleaved: (t0, b0, t1, b1, ...).
constexpr int8_t kInterleave[16] = {0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};
// Four pixels of 4 bytes to four of 3 (the rest cleared).
constexpr int8_t kDrop4th[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1};
// Four 16-bit pixels of 4 values to four of 3, 12 bytes per lane.
constexpr int8_t kDrop4th16[16] = {0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1};

__m256i two(const void* lo, const void* hi) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadl_epi64(static_cast<const __m128i*>(lo))),
        _mm_loadl_epi64(static_cast<const __m128i*>(hi)), 1);
}

// The weight pairs of the pixels whose 32-bit packed weights sit at
// positions a (low lane) and b (high lane) of w.
template <int a, int b>
__m256i pairWeights(__m256i w) {
    return _mm256_permutevar8x32_epi32(w, _mm256_setr_epi32(a, a, a, a, b, b, b, b));
}

// (v + 8) >> 4 of the weighted pairs: the row sums in 1/128 of a level.
__m256i rowSums(__m256i pairs, __m256i w) {
    return _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(pairs, w), _mm256_set1_epi32(8)), 4);
}

// ---------------------------------------------------------------------------
// Horizontal pass of 8U linear resampling: four output pixels per step, as
// [A | C] and [B | D], so that the pack brings them back in order.

template <int cn>
void hLinearVec(const uint8_t* row, int16_t* out, const LinearTaps8u& t, int n) {
    const __m256i shuffle = lanes(cn == 3 ? kPairs3 : kPairs4);
    const __m256i drop = lanes(kDrop4th16);
    const __m256i compact = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    int i = 0;
    for (; i + 4 <= t.vecCount; i += 4) {
        const int32_t* o = t.ofs + i;
        const __m256i w =
            _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(t.coef + i)));
        const __m256i ac = _mm256_shuffle_epi8(two(row + o[0], row + o[2]), shuffle);
        const __m256i bd = _mm256_shuffle_epi8(two(row + o[1], row + o[3]), shuffle);
        const __m256i sac = rowSums(ac, pairWeights<0, 2>(w));
        const __m256i sbd = rowSums(bd, pairWeights<1, 3>(w));
        __m256i r = _mm256_packs_epi32(sac, sbd);  // A B | C D, four values each
        if constexpr (cn == 3) {
            // 24 bytes; the 8 after them are rewritten by the next step or
            // the tail, or fall in the row buffer's margin.
            r = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(r, drop), compact);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i * cn), r);
    }
    hLinear8uScalar(row, out, t, i, n);
}

void avx2HLinear8u(const uint8_t* row, int16_t* out, const LinearTaps8u& t, int n) {
    if (t.channelStep == 1 && t.pairStep == t.cn && t.cn == 3) return hLinearVec<3>(row, out, t, n);
    if (t.channelStep == 1 && t.pairStep == t.cn && t.cn == 4) return hLinearVec<4>(row, out, t, n);
    hLinear8uScalar(row, out, t, 0, n);
}

// ---------------------------------------------------------------------------
// 8U cubic resampling. Horizontal: four output pixels per step as in the
// linear pass, each pixel's neighbours as two runs of pairs (p0, p1) and
// (p2, p3), one multiply-add each.

// The row sums of output pixels lo (low lane) and hi (high lane) of a step
// of four, whose weight pairs (w0|w1, w2|w3) are w's.
template <int cn, int lo, int hi>
__m256i cubicSums(const uint8_t* row, const int32_t* o, __m256i w, __m256i shuffle) {
    const uint8_t* a = row + o[4 * lo];
    const uint8_t* b = row + o[4 * hi];
    const __m256i first = _mm256_shuffle_epi8(two(a, b), shuffle);
    const __m256i second = _mm256_shuffle_epi8(two(a + 2 * cn, b + 2 * cn), shuffle);
    const __m256i s = _mm256_add_epi32(_mm256_madd_epi16(first, pairWeights<2 * lo, 2 * hi>(w)),
                                       _mm256_madd_epi16(second, pairWeights<2 * lo + 1, 2 * hi + 1>(w)));
    return _mm256_srai_epi32(_mm256_add_epi32(s, _mm256_set1_epi32(16)), 5);
}

template <int cn>
void hCubicVec(const uint8_t* row, int16_t* out, const CubicTaps8u& t, int n) {
    const __m256i shuffle = lanes(cn == 3 ? kPairs3 : kPairs4);
    const __m256i drop = lanes(kDrop4th16);
    const __m256i compact = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    hCubic8uScalar(row, out, t, 0, t.vecFrom);
    int i = t.vecFrom;
    for (; i + 4 <= t.vecTo; i += 4) {
        const int32_t* o = t.ofs + 4 * i;
        const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(t.coef + 2 * i));
        __m256i r = _mm256_packs_epi32(cubicSums<cn, 0, 2>(row, o, w, shuffle),
                                       cubicSums<cn, 1, 3>(row, o, w, shuffle));  // A B | C D
        if constexpr (cn == 3) r = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(r, drop), compact);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i * cn), r);
    }
    hCubic8uScalar(row, out, t, i, n);
}

void avx2HCubic8u(const uint8_t* row, int16_t* out, const CubicTaps8u& t, int n) {
    if (t.channelStep == 1 && t.pixelStep == 3 && t.cn == 3) return hCubicVec<3>(row, out, t, n);
    if (t.channelStep == 1 && t.pixelStep == 4 && t.cn == 4) return hCubicVec<4>(row, out, t, n);
    hCubic8uScalar(row, out, t, 0, n);
}


// ---------------------------------------------------------------------------
// The vertical passes: one template over the vector layer.

void avx2VLinear8u(const int16_t* h0, const int16_t* h1, uint8_t* d, int w, size_t n) {
    const int16_t* const rows[2] = {h0, h1};
    const int32_t weights[1] = {(kWeightOne - w) | (w << 16)};
    if (!weighRows<simd::Avx2, 1, 18>(rows, weights, d, n)) vLinear8uScalar(h0, h1, d, w, 0, n);
}

void avx2VCubic8u(const int16_t* const h[4], uint8_t* d, const int32_t coef[2], size_t n) {
    if (!weighRows<simd::Avx2, 2, 17>(h, coef, d, n)) vCubic8uScalar(h, d, coef, 0, n);
}

// ---------------------------------------------------------------------------
// 2 x 2 block means: the two pixels of a pair brought next to each other
// byte by byte, summed by a multiply-add with ones, the rows added.

constexpr int8_t kAdjacent1[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr int8_t kAdjacent2[16] = {0, 2, 1, 3, 4, 6, 5, 7, 8, 10, 9, 11, 12, 14, 13, 15};
constexpr int8_t kAdjacent3[16] = {0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, -1, -1, -1, -1};
constexpr int8_t kAdjacent4[16] = {0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15};

__m256i blockMeans(__m256i top, __m256i bottom, __m256i shuffle) {
    const __m256i ones = _mm256_set1_epi8(1);
    const __m256i s = _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_shuffle_epi8(top, shuffle), ones),
                                       _mm256_maddubs_epi16(_mm256_shuffle_epi8(bottom, shuffle), ones));
    return _mm256_srli_epi16(_mm256_add_epi16(s, _mm256_set1_epi16(2)), 2);
}

void avx2Box2x2(const uint8_t* r0, const uint8_t* r1, uint8_t* d, size_t n, int cn) {
    size_t i = 0;
    if (cn == 3) {
        // Four outputs per step from 12 input bytes per lane; each lane's 6
        // results are stored as 8 bytes, the 2 extra ones rewritten next.
        const __m256i shuffle = lanes(kAdjacent3);
        auto ld = [](const uint8_t* p) {
            return _mm256_inserti128_si256(
                _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 12)), 1);
        };
        for (; i + 5 <= n; i += 4) {
            const __m256i m = blockMeans(ld(r0 + 6 * i), ld(r1 + 6 * i), shuffle);
            const __m256i b = _mm256_packus_epi16(m, m);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 3 * i), _mm256_castsi256_si128(b));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 3 * i + 6), _mm256_extracti128_si256(b, 1));
        }
    } else if (cn == 1 || cn == 2 || cn == 4) {
        // 64 input bytes of each row to 32 output bytes.
        const __m256i shuffle = lanes(cn == 1 ? kAdjacent1 : cn == 2 ? kAdjacent2 : kAdjacent4);
        const size_t perStep = 32 / cn;
        auto ld = [](const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); };
        for (; i + perStep <= n; i += perStep) {
            const uint8_t* a = r0 + 2 * i * cn;
            const uint8_t* b = r1 + 2 * i * cn;
            const __m256i lo = blockMeans(ld(a), ld(b), shuffle);
            const __m256i hi = blockMeans(ld(a + 32), ld(b + 32), shuffle);
            const __m256i r = _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), 0xD8);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i * cn), r);
        }
    }
    box2x2Scalar(r0, r1, d, i, n, cn);
}

// ---------------------------------------------------------------------------
// 8U linear sampling at given positions: eight pixels per step when all of
// them read four neighbours inside the source (8 bytes from each top-left
// neighbour staying inside the region's rows), else the scalar form.

template <int cn>
void warpVec(const core::SampledSource& s, const Edges& e, const double* sx, const double* sy,
             int n, uint8_t* d) {
    const char* base = s.data;
    const ptrdiff_t rs = s.rowStep;
    // 8 bytes from neighbour x0 reach pixel x0 + 2 when cn is 3.
    const __m256d xLim = _mm256_set1_pd(s.width - (cn == 3 ? 2.0 : 1.0));
    const __m256d yLim = _mm256_set1_pd(s.height - 1.0);
    const __m256d zero = _mm256_setzero_pd();
    const __m256d scale = _mm256_set1_pd(kWeightOne), half = _mm256_set1_pd(0.5);
    const __m256i one = _mm256_set1_epi32(kWeightOne);
    const __m256i shuffle = lanes(cn == 3 ? kPairs3 : kPairs4);
    const __m256i inter = lanes(kInterleave);
    const __m256i round = _mm256_set1_epi32(1 << 17);
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        __m256d px[2], py[2];
        int fast = 0xFF;
        for (int h = 0; h < 2; ++h) {
            px[h] = _mm256_loadu_pd(sx + i + 4 * h);
            py[h] = _mm256_loadu_pd(sy + i + 4 * h);
            const __m256d ok = _mm256_and_pd(
                _mm256_and_pd(_mm256_cmp_pd(px[h], zero, _CMP_GE_OQ), _mm256_cmp_pd(px[h], xLim, _CMP_LT_OQ)),
                _mm256_and_pd(_mm256_cmp_pd(py[h], zero, _CMP_GE_OQ), _mm256_cmp_pd(py[h], yLim, _CMP_LT_OQ)));
            fast &= _mm256_movemask_pd(ok) << (4 * h) | (h == 0 ? 0xF0 : 0x0F);
        }
        if (fast != 0xFF) {
            warpLinear8uScalar(s, e, sx, sy, i, i + 8, d);
            continue;
        }
        __m128i x0[2], y0[2], wx[2], wy[2];
        for (int h = 0; h < 2; ++h) {
            const __m256d fx = _mm256_floor_pd(px[h]), fy = _mm256_floor_pd(py[h]);
            x0[h] = _mm256_cvttpd_epi32(fx);
            y0[h] = _mm256_cvttpd_epi32(fy);
            wx[h] = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(px[h], fx), scale), half));
            wy[h] = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(py[h], fy), scale), half));
        }
        auto join = [](const __m128i (&v)[2]) { return _mm256_inserti128_si256(_mm256_castsi128_si256(v[0]), v[1], 1); };
        const __m256i X = join(x0), Y = join(y0), WX = join(wx), WY = join(wy);
        const __m256i ofs = _mm256_add_epi32(_mm256_mullo_epi32(Y, _mm256_set1_epi32(static_cast<int32_t>(rs))),
                                             _mm256_mullo_epi32(X, _mm256_set1_epi32(cn)));
        int32_t o[8];
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(o), ofs);
        const __m256i cx = _mm256_or_si256(_mm256_sub_epi32(one, WX), _mm256_slli_epi32(WX, 16));
        const __m256i cy = _mm256_or_si256(_mm256_sub_epi32(one, WY), _mm256_slli_epi32(WY, 16));
        // Pixels p (low lane) and q (high lane) of the step.
        auto pair = [&](int p, int q, __m256i wxp, __m256i wyp) {
            const char* a = base + o[p];
            const char* b = base + o[q];
            const __m256i top = _mm256_shuffle_epi8(two(a, b), shuffle);
            const __m256i bottom = _mm256_shuffle_epi8(two(a + rs, b + rs), shuffle);
            const __m256i tb = _mm256_shuffle_epi8(
                _mm256_packs_epi32(rowSums(top, wxp), rowSums(bottom, wxp)), inter);
            return _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(tb, wyp), round), 18);
        };
        const __m256i v02 = pair(0, 2, pairWeights<0, 2>(cx), pairWeights<0, 2>(cy));
        const __m256i v13 = pair(1, 3, pairWeights<1, 3>(cx), pairWeights<1, 3>(cy));
        const __m256i v46 = pair(4, 6, pairWeights<4, 6>(cx), pairWeights<4, 6>(cy));
        const __m256i v57 = pair(5, 7, pairWeights<5, 7>(cx), pairWeights<5, 7>(cy));
        // 0 1 | 2 3 and 4 5 | 6 7 as 16-bit values, then bytes in order.
        const __m256i bytes = _mm256_permute4x64_epi64(
            _mm256_packus_epi16(_mm256_packs_epi32(v02, v13), _mm256_packs_epi32(v46, v57)), 0xD8);
        uint8_t* out = d + i * cn;
        if constexpr (cn == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
        } else {
            const __m256i packed = _mm256_permutevar8x32_epi32(
                _mm256_shuffle_epi8(bytes, lanes(kDrop4th)), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(packed));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(packed, 1));
        }
    }
    warpLinear8uScalar(s, e, sx, sy, i, n, d);
}

void avx2WarpLinear8u(const core::SampledSource& s, const Edges& e, const double* sx,
                      const double* sy, int n, uint8_t* d) {
    const bool interleaved = s.channelStep == 1 && s.pixelStep == s.channels;
    if (interleaved && s.channels == 3 && s.width >= 3 && s.height >= 2) return warpVec<3>(s, e, sx, sy, n, d);
    if (interleaved && s.channels == 4 && s.width >= 2 && s.height >= 2) return warpVec<4>(s, e, sx, sy, n, d);
    warpLinear8uScalar(s, e, sx, sy, 0, n, d);
}

// ---------------------------------------------------------------------------
// 8U cubic sampling at given positions: four pixels per step when all of them
// read their 4 x 4 neighbours inside the source (and 16 bytes from each row's
// first neighbour inside the region's rows), else the scalar form. The
// weights are found for the four pixels at once, in the scalar form's
// operations and order; each pixel's rows go two to a vector.

// The cubic weights (a = -0.5) of fractions f, as the scalar cubicWeights.
void cubicWeights4(__m256d f, __m256d w[4]) {
    const __m256d a = _mm256_set1_pd(-0.5), one = _mm256_set1_pd(1.0), two = _mm256_set1_pd(2.0);
    const __m256d a2 = _mm256_set1_pd(-0.5 + 2.0), a3 = _mm256_set1_pd(-0.5 + 3.0);
    const __m256d a5 = _mm256_set1_pd(5.0 * -0.5), a8 = _mm256_set1_pd(8.0 * -0.5);
    const __m256d a4 = _mm256_set1_pd(4.0 * -0.5);
    auto outer = [&](__m256d t) {
        const __m256d u = _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(_mm256_mul_pd(a, t), a5), t), a8);
        return _mm256_sub_pd(_mm256_mul_pd(u, t), a4);
    };
    auto inner = [&](__m256d t) {
        const __m256d u = _mm256_mul_pd(_mm256_sub_pd(_mm256_mul_pd(a2, t), a3), t);
        return _mm256_add_pd(_mm256_mul_pd(u, t), one);
    };
    w[0] = outer(_mm256_add_pd(one, f));
    w[1] = inner(f);
    w[2] = inner(_mm256_sub_pd(one, f));
    w[3] = outer(_mm256_sub_pd(two, f));
}

// The fixed weights of four fractions as pairs w0 | (w1 << 16), w2 | (w3 << 16).
void fixedCubicPairs4(__m256d f, __m128i* w01, __m128i* w23) {
    __m256d w[4];
    cubicWeights4(f, w);
    const __m256d scale = _mm256_set1_pd(kWeightOne), half = _mm256_set1_pd(0.5);
    __m128i q[4];
    for (int k : {0, 1, 3}) q[k] = _mm256_cvttpd_epi32(_mm256_floor_pd(_mm256_add_pd(_mm256_mul_pd(w[k], scale), half)));
    q[2] = _mm_sub_epi32(_mm_sub_epi32(_mm_sub_epi32(_mm_set1_epi32(kWeightOne), q[0]), q[1]), q[3]);
    const __m128i low = _mm_set1_epi32(0xFFFF);
    *w01 = _mm_or_si128(_mm_and_si128(q[0], low), _mm_slli_epi32(q[1], 16));
    *w23 = _mm_or_si128(_mm_and_si128(q[2], low), _mm_slli_epi32(q[3], 16));
}

template <int cn>
void warpCubicVec(const core::SampledSource& s, const Edges& e, const double* sx, const double* sy,
                  int n, uint8_t* d) {
    const ptrdiff_t rs = s.rowStep;
    // Neighbours x0 - 1 .. x0 + 2 and y0 - 1 .. y0 + 2; 16 bytes from x0 - 1
    // reach pixel x0 + 3 when cn is 3.
    const __m256d xLo = _mm256_set1_pd(1.0), xHi = _mm256_set1_pd(s.width - (cn == 3 ? 3.0 : 2.0));
    const __m256d yLo = _mm256_set1_pd(1.0), yHi = _mm256_set1_pd(s.height - 2.0);
    const __m256i shuffle = lanes(cn == 3 ? kPairs3 : kPairs4);
    const __m256i inter = lanes(kInterleave);
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        const __m256d px = _mm256_loadu_pd(sx + i), py = _mm256_loadu_pd(sy + i);
        const __m256d ok = _mm256_and_pd(
            _mm256_and_pd(_mm256_cmp_pd(px, xLo, _CMP_GE_OQ), _mm256_cmp_pd(px, xHi, _CMP_LT_OQ)),
            _mm256_and_pd(_mm256_cmp_pd(py, yLo, _CMP_GE_OQ), _mm256_cmp_pd(py, yHi, _CMP_LT_OQ)));
        if (_mm256_movemask_pd(ok) != 0xF) {
            warpCubic8uScalar(s, e, sx, sy, i, i + 4, d);
            continue;
        }
        const __m256d fx = _mm256_floor_pd(px), fy = _mm256_floor_pd(py);
        alignas(16) int32_t cx01[4], cx23[4], cy01[4], cy23[4], o[4];
        __m128i a, b;
        fixedCubicPairs4(_mm256_sub_pd(px, fx), &a, &b);
        _mm_store_si128(reinterpret_cast<__m128i*>(cx01), a);
        _mm_store_si128(reinterpret_cast<__m128i*>(cx23), b);
        fixedCubicPairs4(_mm256_sub_pd(py, fy), &a, &b);
        _mm_store_si128(reinterpret_cast<__m128i*>(cy01), a);
        _mm_store_si128(reinterpret_cast<__m128i*>(cy23), b);
        // The top-left neighbour of each pixel.
        const __m128i x0 = _mm_sub_epi32(_mm256_cvttpd_epi32(fx), _mm_set1_epi32(1));
        const __m128i y0 = _mm_sub_epi32(_mm256_cvttpd_epi32(fy), _mm_set1_epi32(1));
        _mm_store_si128(reinterpret_cast<__m128i*>(o),
                        _mm_add_epi32(_mm_mullo_epi32(y0, _mm_set1_epi32(static_cast<int32_t>(rs))),
                                      _mm_mullo_epi32(x0, _mm_set1_epi32(cn))));
        __m128i v[4];
        for (int p = 0; p < 4; ++p) {
            const char* top = s.data + o[p];
            const __m256i w01 = _mm256_set1_epi32(cx01[p]), w23 = _mm256_set1_epi32(cx23[p]);
            // Rows j and j + 1 of the pixel, one a lane: (h + 16) >> 5.
            auto rows = [&](int j) {
                const char* r = top + j * rs;
                const __m256i first = _mm256_shuffle_epi8(two(r, r + rs), shuffle);
                const __m256i second = _mm256_shuffle_epi8(two(r + 2 * cn, r + rs + 2 * cn), shuffle);
                const __m256i h = _mm256_add_epi32(_mm256_madd_epi16(first, w01), _mm256_madd_epi16(second, w23));
                return _mm256_srai_epi32(_mm256_add_epi32(h, _mm256_set1_epi32(16)), 5);
            };
            // Rows 0 and 2 in the low lane, 1 and 3 in the high one, interleaved
            // by channel and weighed down the column.
            const __m256i h = _mm256_shuffle_epi8(_mm256_packs_epi32(rows(0), rows(2)), inter);
            const int32_t even = weightPair(lowWeight(cy01[p]), lowWeight(cy23[p]));    // wy0, wy2
            const int32_t odd = weightPair(highWeight(cy01[p]), highWeight(cy23[p]));   // wy1, wy3
            const __m256i wy = _mm256_setr_epi32(even, even, even, even, odd, odd, odd, odd);
            const __m256i m = _mm256_madd_epi16(h, wy);
            const __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(m), _mm256_extracti128_si256(m, 1));
            v[p] = _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(1 << 16)), 17);
        }
        const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(v[0], v[1]), _mm_packs_epi32(v[2], v[3]));
        uint8_t* out = d + i * cn;
        if constexpr (cn == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
        } else {
            const __m128i packed = _mm_shuffle_epi8(bytes, _mm_loadu_si128(reinterpret_cast<const __m128i*>(kDrop4th)));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out), packed);
            const int32_t last = _mm_cvtsi128_si32(_mm_srli_si128(packed, 8));
            std::memcpy(out + 8, &last, 4);
        }
    }
    warpCubic8uScalar(s, e, sx, sy, i, n, d);
}

void avx2WarpCubic8u(const core::SampledSource& s, const Edges& e, const double* sx,
                     const double* sy, int n, uint8_t* d) {
    const bool interleaved = s.channelStep == 1 && s.pixelStep == s.channels;
    if (interleaved && s.channels == 3 && s.width >= 5 && s.height >= 4) return warpCubicVec<3>(s, e, sx, sy, n, d);
    if (interleaved && s.channels == 4 && s.width >= 4 && s.height >= 4) return warpCubicVec<4>(s, e, sx, sy, n, d);
    warpCubic8uScalar(s, e, sx, sy, 0, n, d);
}

// ---------------------------------------------------------------------------
// Pixel reversal. Pixels that divide 16 bytes: each lane reversed and the
// lanes swapped. Pixels of 3 bytes: five per lane (15 bytes), stored one byte
// early so that the spare byte falls on a pixel written afterwards.

void avx2Reverse(const char* s, char* d, size_t n, size_t pixelBytes) {
    size_t i = 0;
    if (pixelBytes == 1 || pixelBytes == 2 || pixelBytes == 4 || pixelBytes == 8) {
        int8_t rev[16];
        const int b = static_cast<int>(pixelBytes);
        for (int k = 0; k < 16; ++k) rev[k] = static_cast<int8_t>((16 / b - 1 - k / b) * b + k % b);
        const __m256i shuffle = lanes(rev);
        const size_t per = 32 / pixelBytes;
        for (; i + per <= n; i += per) {
            const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i * pixelBytes));
            const __m256i r = _mm256_permute4x64_epi64(_mm256_shuffle_epi8(v, shuffle), 0x4E);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + (n - i - per) * pixelBytes), r);
        }
    } else if (pixelBytes == 3) {
        constexpr int8_t rev5[16] = {-1, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2};
        const __m256i shuffle = lanes(rev5);
        for (; i + 11 <= n; i += 10) {
            const __m256i v = _mm256_inserti128_si256(
                _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 3 * i))),
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 3 * i + 15)), 1);
            const __m256i r = _mm256_shuffle_epi8(v, shuffle);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 3 * (n - i - 5) - 1), _mm256_castsi256_si128(r));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 3 * (n - i - 10) - 1), _mm256_extracti128_si256(r, 1));
        }
    }
    reverseScalar(s, d, i, n, pixelBytes);
}

}  // namespace

const KernelTable& kernelTableAvx2() {
    static const KernelTable table{&avx2HLinear8u, &avx2VLinear8u, &avx2HCubic8u, &avx2VCubic8u,
                                   &avx2Box2x2,    &avx2WarpLinear8u, &avx2WarpCubic8u,
                                   &avx2Reverse};
    return table;
}

}  // namespace ozl::geometry
