// Kernels of the geometric transforms that have vector forms: the two passes
// of 8U linear and cubic resampling, the 2 x 2 block mean, 8U linear sampling at given
// positions, and pixel reversal. The scalar forms here are the references the
// vector forms match bit for bit, and finish what the vectors leave.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/cpu.hpp"
#include "geometry/interp.hpp"

namespace ozl::geometry {

// One axis of 8U linear resampling as the horizontal pass reads it: for each
// output pixel the byte offset of its first neighbour in the row and the
// weights, packed as (2048 - w) | (w << 16).
struct LinearTaps8u {
    const int32_t* ofs = nullptr;
    const int32_t* coef = nullptr;
    ptrdiff_t pairStep = 0;     // bytes from the first neighbour to the second
    ptrdiff_t channelStep = 1;  // bytes between channels
    int cn = 1;
    // Leading output pixels whose 8 bytes from `ofs` lie inside the row: the
    // vector forms read whole 8-byte groups.
    int vecCount = 0;
};

// One axis of 8U cubic resampling as the horizontal pass reads it: for each
// output pixel the byte offsets of its four neighbours in the row and their
// weights (summing to 2048), packed in pairs as w0 | (w1 << 16) and
// w2 | (w3 << 16).
struct CubicTaps8u {
    const int32_t* ofs = nullptr;   // 4 per output pixel
    const int32_t* coef = nullptr;  // 2 per output pixel
    ptrdiff_t pixelStep = 1;        // bytes between pixels
    ptrdiff_t channelStep = 1;      // bytes between channels
    int cn = 1;
    // Output pixels [vecFrom, vecTo) read four neighbours that follow one
    // another and 16 bytes from their first one that lie inside the row: the
    // vector forms take those when pixels are cn bytes.
    int vecFrom = 0, vecTo = 0;
};

// h[i] = (p0 (2048 - w) + p1 w + 8) >> 4 for n output pixels of cn values.
using HLinear8uFn = void (*)(const uint8_t* row, int16_t* out, const LinearTaps8u& taps, int n);
// d[i] = (h0[i] (2048 - w) + h1[i] w + 131072) >> 18 over n values.
using VLinear8uFn = void (*)(const int16_t* h0, const int16_t* h1, uint8_t* d, int w, size_t n);
// h[i] = (p0 w0 + p1 w1 + p2 w2 + p3 w3 + 16) >> 5 for n output pixels of cn
// values: the row sums in 1/64 of a level.
using HCubic8uFn = void (*)(const uint8_t* row, int16_t* out, const CubicTaps8u& taps, int n);
// d[i] = (h0[i] w0 + h1[i] w1 + h2[i] w2 + h3[i] w3 + 65536) >> 17, saturated,
// over n values; coef holds w0 | (w1 << 16) and w2 | (w3 << 16).
using VCubic8uFn = void (*)(const int16_t* const h[4], uint8_t* d, const int32_t coef[2], size_t n);
// n output pixels of cn interleaved values: the rounded mean (s + 2) >> 2 of
// each 2 x 2 block of the rows r0 and r1.
using Box2x2Fn = void (*)(const uint8_t* r0, const uint8_t* r1, uint8_t* d, size_t n, int cn);
// n pixels sampled with 8U linear (or cubic) interpolation at (sx[i], sy[i])
// into dense pixels of s.channels values; pixels left as they are where
// samplePixel leaves them.
using WarpSample8uFn = void (*)(const core::SampledSource& s, const Edges& e, const double* sx,
                                const double* sy, int n, uint8_t* d);
// d holds the n pixels of s (pixelBytes each) in reverse order; d and s apart.
using ReverseFn = void (*)(const char* s, char* d, size_t n, size_t pixelBytes);

struct KernelTable {
    HLinear8uFn hLinear8u = nullptr;
    VLinear8uFn vLinear8u = nullptr;
    HCubic8uFn hCubic8u = nullptr;
    VCubic8uFn vCubic8u = nullptr;
    Box2x2Fn box2x2 = nullptr;
    WarpSample8uFn warpLinear8u = nullptr;
    WarpSample8uFn warpCubic8u = nullptr;
    ReverseFn reverse = nullptr;
};

const KernelTable& kernelTable(cpu::Level level);
inline const KernelTable& activeTable() { return kernelTable(cpu::active()); }

namespace {

// ---------------------------------------------------------------------------
// Scalar forms.

inline void hLinear8uScalar(const uint8_t* row, int16_t* out, const LinearTaps8u& t, int from,
                            int n) {
    for (int i = from; i < n; ++i) {
        const uint8_t* p = row + t.ofs[i];
        const int w0 = t.coef[i] & 0xFFFF, w1 = t.coef[i] >> 16;
        for (int c = 0; c < t.cn; ++c) {
            const int a = p[c * t.channelStep], b = p[c * t.channelStep + t.pairStep];
            out[i * t.cn + c] = static_cast<int16_t>((a * w0 + b * w1 + 8) >> 4);
        }
    }
}

inline void vLinear8uScalar(const int16_t* h0, const int16_t* h1, uint8_t* d, int w, size_t from,
                            size_t n) {
    const int w0 = kWeightOne - w;
    for (size_t i = from; i < n; ++i)
        d[i] = static_cast<uint8_t>((h0[i] * w0 + h1[i] * w + (1 << 17)) >> 18);
}

// The low and high 16-bit halves of a packed weight pair, as signed values.
inline int lowWeight(int32_t pair) { return static_cast<int16_t>(pair & 0xFFFF); }
inline int highWeight(int32_t pair) { return pair >> 16; }

inline void hCubic8uScalar(const uint8_t* row, int16_t* out, const CubicTaps8u& t, int from, int n) {
    for (int i = from; i < n; ++i) {
        const int32_t* o = t.ofs + 4 * i;
        const int w[4] = {lowWeight(t.coef[2 * i]), highWeight(t.coef[2 * i]),
                          lowWeight(t.coef[2 * i + 1]), highWeight(t.coef[2 * i + 1])};
        for (int c = 0; c < t.cn; ++c) {
            const uint8_t* p = row + c * t.channelStep;
            const int sum = p[o[0]] * w[0] + p[o[1]] * w[1] + p[o[2]] * w[2] + p[o[3]] * w[3];
            out[i * t.cn + c] = static_cast<int16_t>((sum + 16) >> 5);
        }
    }
}

inline void vCubic8uScalar(const int16_t* const h[4], uint8_t* d, const int32_t coef[2], size_t from,
                           size_t n) {
    const int w0 = lowWeight(coef[0]), w1 = highWeight(coef[0]);
    const int w2 = lowWeight(coef[1]), w3 = highWeight(coef[1]);
    for (size_t i = from; i < n; ++i) {
        const int sum = h[0][i] * w0 + h[1][i] * w1 + h[2][i] * w2 + h[3][i] * w3;
        d[i] = static_cast<uint8_t>(std::clamp((sum + 65536) >> 17, 0, 255));
    }
}

inline void box2x2Scalar(const uint8_t* r0, const uint8_t* r1, uint8_t* d, size_t from, size_t n,
                         int cn) {
    for (size_t i = from; i < n; ++i)
        for (int c = 0; c < cn; ++c) {
            const size_t a = 2 * i * cn + c, b = a + cn;
            d[i * cn + c] = static_cast<uint8_t>((r0[a] + r0[b] + r1[a] + r1[b] + 2) >> 2);
        }
}

template <Inter inter>
inline void warp8uScalar(const core::SampledSource& s, const Edges& e, const double* sx,
                         const double* sy, int from, int n, uint8_t* d) {
    const ptrdiff_t cn = s.channels;
    for (int i = from; i < n; ++i)
        samplePixel<uint8_t>(s, e, inter, sx[i], sy[i], reinterpret_cast<char*>(d + i * cn), 1);
}

inline void warpLinear8uScalar(const core::SampledSource& s, const Edges& e, const double* sx,
                               const double* sy, int from, int n, uint8_t* d) {
    warp8uScalar<Inter::Linear>(s, e, sx, sy, from, n, d);
}

inline void warpCubic8uScalar(const core::SampledSource& s, const Edges& e, const double* sx,
                              const double* sy, int from, int n, uint8_t* d) {
    warp8uScalar<Inter::Cubic>(s, e, sx, sy, from, n, d);
}

// Pixels of the common sizes move as fixed-size copies.
template <size_t B>
inline void reverseFixed(const char* s, char* d, size_t from, size_t n) {
    for (size_t i = from; i < n; ++i) std::memcpy(d + (n - 1 - i) * B, s + i * B, B);
}

// Source pixels [from, n) to destination pixels [0, n - from).
inline void reverseScalar(const char* s, char* d, size_t from, size_t n, size_t pixelBytes) {
    switch (pixelBytes) {
        case 1: return reverseFixed<1>(s, d, from, n);
        case 2: return reverseFixed<2>(s, d, from, n);
        case 3: return reverseFixed<3>(s, d, from, n);
        case 4: return reverseFixed<4>(s, d, from, n);
        case 6: return reverseFixed<6>(s, d, from, n);
        case 8: return reverseFixed<8>(s, d, from, n);
        case 12: return reverseFixed<12>(s, d, from, n);
        case 16: return reverseFixed<16>(s, d, from, n);
        default:
            for (size_t i = from; i < n; ++i)
                std::memcpy(d + (n - 1 - i) * pixelBytes, s + i * pixelBytes, pixelBytes);
    }
}

}  // namespace

}  // namespace ozl::geometry
