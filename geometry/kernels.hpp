// Kernels of the geometric transforms that have vector forms: the two passes
// of 8U linear resampling, the 2 x 2 block mean, 8U linear sampling at given
// positions, and pixel reversal. The scalar forms here are the references the
// vector forms match bit for bit, and finish what the vectors leave.
#pragma once

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

// h[i] = (p0 (2048 - w) + p1 w + 8) >> 4 for n output pixels of cn values.
using HLinear8uFn = void (*)(const uint8_t* row, int16_t* out, const LinearTaps8u& taps, int n);
// d[i] = (h0[i] (2048 - w) + h1[i] w + 131072) >> 18 over n values.
using VLinear8uFn = void (*)(const int16_t* h0, const int16_t* h1, uint8_t* d, int w, size_t n);
// n output pixels of cn interleaved values: the rounded mean (s + 2) >> 2 of
// each 2 x 2 block of the rows r0 and r1.
using Box2x2Fn = void (*)(const uint8_t* r0, const uint8_t* r1, uint8_t* d, size_t n, int cn);
// n pixels sampled with 8U linear interpolation at (sx[i], sy[i]) into dense
// pixels of s.channels values; pixels left as they are where samplePixel
// leaves them.
using WarpLinear8uFn = void (*)(const core::SampledSource& s, const Edges& e, const double* sx,
                                const double* sy, int n, uint8_t* d);
// d holds the n pixels of s (pixelBytes each) in reverse order; d and s apart.
using ReverseFn = void (*)(const char* s, char* d, size_t n, size_t pixelBytes);

struct KernelTable {
    HLinear8uFn hLinear8u = nullptr;
    VLinear8uFn vLinear8u = nullptr;
    Box2x2Fn box2x2 = nullptr;
    WarpLinear8uFn warpLinear8u = nullptr;
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

inline void box2x2Scalar(const uint8_t* r0, const uint8_t* r1, uint8_t* d, size_t from, size_t n,
                         int cn) {
    for (size_t i = from; i < n; ++i)
        for (int c = 0; c < cn; ++c) {
            const size_t a = 2 * i * cn + c, b = a + cn;
            d[i * cn + c] = static_cast<uint8_t>((r0[a] + r0[b] + r1[a] + r1[b] + 2) >> 2);
        }
}

inline void warpLinear8uScalar(const core::SampledSource& s, const Edges& e, const double* sx,
                               const double* sy, int from, int n, uint8_t* d) {
    const ptrdiff_t cn = s.channels;
    for (int i = from; i < n; ++i)
        samplePixel<uint8_t>(s, e, Inter::Linear, sx[i], sy[i], reinterpret_cast<char*>(d + i * cn),
                             1);
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
