// Row kernels of the convolutions: the prepared forms of a kernel each
// routine reads, the scalar forms (also the reference every vector form must
// match bit for bit) and the table of routines per instruction-set level.
//
// A row is a flat run of n values: pixels of `channels` interleaved values,
// so a tap dx pixels to the side is dx * channels values away. Source rows
// come from the neighbourhood driver, each pointing at the value under the
// first output value.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/cpu.hpp"
#include "image/depth.hpp"

namespace ozl::filter {

// One coefficient: its source row, its offset in values from the output
// value, and its weight.
struct Tap {
    int row;
    int offset;
    int32_t coeff;
};

struct TapF {
    int row;
    int offset;
    float coeff;
};

// Two taps multiplied and added in one instruction (byte pairs into 16-bit
// sums, or 16-bit pairs into 32-bit sums); an odd tap out pairs with a zero
// weight on its own row.
struct TapPair {
    int row0, offset0, row1, offset1;
    int32_t coeff0, coeff1;
};

constexpr int kMaxPairs = 64;

// A rounding-down shift of an integer sum: floor(v / 2^shift). Shifts are
// brought into 0..63 when a kernel is prepared (a negative one counts as
// larger than any sum), so 31 or more leaves the sign of a 32-bit sum.
inline int32_t shiftDown(int32_t v, int shift) { return v >> (shift < 31 ? shift : 31); }

// ---------------------------------------------------------------------------
// Prepared kernels.

// 8-bit values, one kernel whose sums over the depth's range fit 16 bits
// (signed, or unsigned when never negative): the sums are taken modulo 2^16,
// which is exact there, then shifted, made absolute on request and saturated
// into the 8-bit destination. Signed values are read with their top bit
// flipped (v + 128, 0..255) and `bias` takes the difference back out.
struct NarrowKernel {
    const Tap* taps = nullptr;
    int count = 0;
    const TapPair* pairs = nullptr;  // at most kMaxPairs
    int nPairs = 0;
    // Every pair's products and their sum stay in int16 over 0..255, so the
    // byte-pair multiply (which saturates) can be used.
    bool bytePairs = false;
    bool signedIn = false;
    bool signedSum = true;
    int16_t bias = 0;
    int shift = 0;       // 0..16
    bool absolute = false;
    bool signedOut = false;
};

// 8- or 16-bit values, kernels with 16-bit weights whose sums fit 32 bits:
// r = floor(sum / 2^shift) as int32. 16U values are read less 32768 (the
// 16-bit pair multiply is signed) and `bias` adds it back.
struct WideKernel {
    const Tap* taps = nullptr;
    int count = 0;
    const TapPair* pairs = nullptr;
    int nPairs = 0;
    int32_t bias = 0;
    int shift = 0;
};

// Integer values, kernels needing more than 32 bits: the products and sums in
// double precision in tap order, the sum rounded to the nearest integer (ties
// to even), then floor(sum / 2^shift).
struct ExactKernel {
    const Tap* taps = nullptr;
    int count = 0;
    int shift = 0;
};

// 32F: r = c0 * v0, then r = r + ck * vk in tap order, each step rounded to
// single precision (no fused multiply-add).
struct RealKernel {
    const TapF* taps = nullptr;
    int count = 0;
    // The output row is the destination image's own, in an image too large
    // to stay in cache: vector forms may store past the caches.
    bool stream = false;
};

// Separable, integer: V = sum over rows of yCoeff[j] * v, then R = sum over
// taps of xCoeff[t] * V t * channels values on from the first one the row
// needs, both modulo 2^32; out = saturate(floor(R / 2^shift)). An absent
// kernel (no weights) passes its input through.
struct SepKernel {
    const int32_t* yCoeff = nullptr;
    int yTaps = 0;
    const int32_t* xCoeff = nullptr;
    int xTaps = 0;
    int left = 0;      // pixels the horizontal kernel reaches left of the output
    int channels = 1;
    int shift = 0;     // 0..63
    int64_t lo = 0, hi = 0;  // the destination's range
    // 8-bit values whose final sums fit 16 bits (signed, or unsigned when
    // never negative): both passes modulo 2^16, which is exact there.
    bool narrow = false;
    bool signedSum = true;
    // The vertical pass as a wide kernel (offsets from the row's first
    // value), when its weights fit 16 bits; nullptr otherwise.
    const WideKernel* vertical = nullptr;
};

struct SepKernelF {
    const float* yCoeff = nullptr;
    int yTaps = 0;
    const float* xCoeff = nullptr;
    int xTaps = 0;
    int left = 0;
    int channels = 1;
};

// ---------------------------------------------------------------------------
// Routines. `rows` are the driver's rows; n values are produced.

using NarrowFn = void (*)(const NarrowKernel& k, const void* const* rows, void* dst, size_t n);
using WideFn = void (*)(const WideKernel& k, const void* const* rows, int32_t* r, size_t n);
using ExactFn = void (*)(const ExactKernel& k, const void* const* rows, double* r, size_t n);
using RealFn = void (*)(const RealKernel& k, const void* const* rows, float* r, size_t n);
// `count` output rows at once: row b reads the driver's rows from rows[b] on
// and is stored `stride` bytes after row b - 1.
using RealBandFn = void (*)(const RealKernel& k, const void* const* rows, float* r, ptrdiff_t stride,
                            int count, size_t n);
// Separable: `scratch` holds the vertical sums of the row with its margins.
using SepFn = void (*)(const SepKernel& k, const void* const* rows, void* scratch, void* dst,
                       size_t n);
using SepFnF = void (*)(const SepKernelF& k, const void* const* rows, float* scratch, float* dst,
                        size_t n);

// Source value types of the integer routines, in depth-table order (U8, S8,
// U16, S16, S32).
constexpr int kIntElems = 5;
inline int intIndex(image::Elem e) { return static_cast<int>(e); }

struct KernelTable {
    NarrowFn narrow = nullptr;      // 8U and 8S, by NarrowKernel::signedIn
    WideFn wide[4] = {};            // U8, S8, U16, S16
    ExactFn exact[kIntElems] = {};
    RealFn real = nullptr;
    RealBandFn realBand = nullptr;
    int realBandRows = 1;           // the band realBand computes best at a time
    SepFn sep[kIntElems] = {};      // value type of source and destination
    SepFnF sepReal = nullptr;
};

const KernelTable& kernelTable(cpu::Level level);
inline const KernelTable& activeTable() { return kernelTable(cpu::active()); }

// ---------------------------------------------------------------------------
// Scalar forms. `static` so that every instruction-set file keeps its own
// copy compiled for its own target (the vector forms finish rows with them).

template <class T>
static inline const T* rowAt(const void* const* rows, int row, int offset) {
    return static_cast<const T*>(rows[row]) + offset;
}

template <class T>
static inline T clampTo(int64_t v, int64_t lo, int64_t hi) {
    return static_cast<T>(v < lo ? lo : v > hi ? hi : v);
}

// Exact sums of 8-bit values; the narrow forms must reproduce them.
static inline void narrowRef(const NarrowKernel& k, const void* const* rows, void* dst, size_t from,
                             size_t n) {
    for (size_t i = from; i < n; ++i) {
        int64_t s = 0;
        for (int t = 0; t < k.count; ++t) {
            const Tap& tap = k.taps[t];
            const int64_t v = k.signedIn ? rowAt<int8_t>(rows, tap.row, tap.offset)[i]
                                         : rowAt<uint8_t>(rows, tap.row, tap.offset)[i];
            s += static_cast<int64_t>(tap.coeff) * v;
        }
        s >>= k.shift;
        if (k.absolute && s < 0) s = -s;
        if (k.signedOut) static_cast<int8_t*>(dst)[i] = clampTo<int8_t>(s, -128, 127);
        else static_cast<uint8_t*>(dst)[i] = clampTo<uint8_t>(s, 0, 255);
    }
}

// Tap by tap over the row, sums modulo 2^32.
template <class T>
static inline void wideRef(const WideKernel& k, const void* const* rows, int32_t* r, size_t from,
                           size_t n) {
    for (size_t i = from; i < n; ++i) r[i] = 0;
    for (int t = 0; t < k.count; ++t) {
        const Tap& tap = k.taps[t];
        const T* p = rowAt<T>(rows, tap.row, tap.offset);
        const uint32_t c = static_cast<uint32_t>(tap.coeff);
        for (size_t i = from; i < n; ++i)
            r[i] = static_cast<int32_t>(static_cast<uint32_t>(r[i]) +
                                        c * static_cast<uint32_t>(static_cast<int32_t>(p[i])));
    }
    for (size_t i = from; i < n; ++i) r[i] = shiftDown(r[i], k.shift);
}

template <class T>
static inline void exactRef(const ExactKernel& k, const void* const* rows, double* r, size_t from,
                            size_t n) {
    const double scale = std::ldexp(1.0, -k.shift);
    for (int t = 0; t < k.count; ++t) {
        const Tap& tap = k.taps[t];
        const T* p = rowAt<T>(rows, tap.row, tap.offset);
        const double c = tap.coeff;
        for (size_t i = from; i < n; ++i) {
            const double product = c * static_cast<double>(p[i]);
            r[i] = t == 0 ? product : r[i] + product;
        }
    }
    for (size_t i = from; i < n; ++i) r[i] = std::floor(std::nearbyint(r[i]) * scale);
}

static inline void realRef(const RealKernel& k, const void* const* rows, float* r, size_t from,
                           size_t n) {
    for (int t = 0; t < k.count; ++t) {
        const TapF& tap = k.taps[t];
        const float* p = rowAt<float>(rows, tap.row, tap.offset);
        for (size_t i = from; i < n; ++i) {
            const float product = tap.coeff * p[i];
            r[i] = t == 0 ? product : r[i] + product;
        }
    }
}

// The vertical pass over values [from, to) of the row with its margins (index
// 0 is `left` pixels before the first output value).
template <class T>
static inline void sepVerticalRef(const SepKernel& k, const void* const* rows, int32_t* v,
                                  size_t from, size_t to) {
    const ptrdiff_t base = -static_cast<ptrdiff_t>(k.left) * k.channels;
    if (k.yTaps == 0) {
        const T* p = static_cast<const T*>(rows[0]) + base;
        for (size_t i = from; i < to; ++i) v[i] = static_cast<int32_t>(p[i]);
        return;
    }
    for (size_t i = from; i < to; ++i) v[i] = 0;
    for (int j = 0; j < k.yTaps; ++j) {
        const T* p = static_cast<const T*>(rows[j]) + base;
        const uint32_t c = static_cast<uint32_t>(k.yCoeff[j]);
        for (size_t i = from; i < to; ++i)
            v[i] = static_cast<int32_t>(static_cast<uint32_t>(v[i]) +
                                        c * static_cast<uint32_t>(static_cast<int32_t>(p[i])));
    }
}

// The horizontal pass over output values [from, n), shifted and saturated.
template <class T>
static inline void sepHorizontalRef(const SepKernel& k, const int32_t* v, T* dst, size_t from,
                                    size_t n) {
    for (size_t i = from; i < n; ++i) {
        uint32_t s = 0;
        if (k.xTaps == 0) {
            s = static_cast<uint32_t>(v[i]);
        } else {
            for (int t = 0; t < k.xTaps; ++t)
                s += static_cast<uint32_t>(k.xCoeff[t]) *
                     static_cast<uint32_t>(v[i + static_cast<size_t>(t) * k.channels]);
        }
        dst[i] = clampTo<T>(shiftDown(static_cast<int32_t>(s), k.shift), k.lo, k.hi);
    }
}

template <class T>
static inline void sepRef(const SepKernel& k, const void* const* rows, void* scratch, void* dst,
                          size_t n) {
    auto* v = static_cast<int32_t*>(scratch);
    const size_t span = n + static_cast<size_t>(k.xTaps > 0 ? k.xTaps - 1 : 0) * k.channels;
    sepVerticalRef<T>(k, rows, v, 0, span);
    sepHorizontalRef<T>(k, v, static_cast<T*>(dst), 0, n);
}

static inline void sepVerticalRealRef(const SepKernelF& k, const void* const* rows, float* v,
                                      size_t from, size_t to) {
    const ptrdiff_t base = -static_cast<ptrdiff_t>(k.left) * k.channels;
    if (k.yTaps == 0) {
        const float* p = static_cast<const float*>(rows[0]) + base;
        for (size_t i = from; i < to; ++i) v[i] = p[i];
        return;
    }
    for (int j = 0; j < k.yTaps; ++j) {
        const float* p = static_cast<const float*>(rows[j]) + base;
        for (size_t i = from; i < to; ++i) {
            const float product = k.yCoeff[j] * p[i];
            v[i] = j == 0 ? product : v[i] + product;
        }
    }
}

static inline void sepHorizontalRealRef(const SepKernelF& k, const float* v, float* dst,
                                        size_t from, size_t n) {
    if (k.xTaps == 0) {
        for (size_t i = from; i < n; ++i) dst[i] = v[i];
        return;
    }
    for (size_t i = from; i < n; ++i) {
        float s = k.xCoeff[0] * v[i];
        for (int t = 1; t < k.xTaps; ++t)
            s = s + k.xCoeff[t] * v[i + static_cast<size_t>(t) * k.channels];
        dst[i] = s;
    }
}

static inline void sepRealRef(const SepKernelF& k, const void* const* rows, float* scratch,
                              float* dst, size_t n) {
    const size_t span = n + static_cast<size_t>(k.xTaps > 0 ? k.xTaps - 1 : 0) * k.channels;
    sepVerticalRealRef(k, rows, scratch, 0, span);
    sepHorizontalRealRef(k, scratch, dst, 0, n);
}

// Whole rows, as the table holds them.
static inline void narrowRow(const NarrowKernel& k, const void* const* rows, void* dst, size_t n) {
    narrowRef(k, rows, dst, 0, n);
}
template <class T>
static inline void wideRow(const WideKernel& k, const void* const* rows, int32_t* r, size_t n) {
    wideRef<T>(k, rows, r, 0, n);
}
template <class T>
static inline void exactRow(const ExactKernel& k, const void* const* rows, double* r, size_t n) {
    exactRef<T>(k, rows, r, 0, n);
}
static inline void realRow(const RealKernel& k, const void* const* rows, float* r, size_t n) {
    realRef(k, rows, r, 0, n);
}
static inline void realBandRow(const RealKernel& k, const void* const* rows, float* r,
                               ptrdiff_t stride, int count, size_t n) {
    for (int b = 0; b < count; ++b)
        realRef(k, rows + b, reinterpret_cast<float*>(reinterpret_cast<char*>(r) + b * stride), 0, n);
}

}  // namespace ozl::filter
