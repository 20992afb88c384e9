// The convolutions' arithmetic pixel by pixel: kernel with anchor through the
// border rules, shift, computation class, combining, saturation; separable sums.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "ozl.h"
#include "support/neighbourhood_check.hpp"
#include "support/test_image.hpp"

namespace ozl::test {

// A kernel as the caller gives it.
struct GivenKernel {
    int nCols = 1, nRows = 1, anchorX = 0, anchorY = 0;
    std::vector<int> values;   // integer kernels
    std::vector<float> reals;  // float kernels
    int shift = 0;
};

inline int appliedShift(long long s) { return s < 0 || s > 63 ? 63 : static_cast<int>(s); }

inline double saturated(unsigned depth, double v) {
    if (depth == OZL_DEPTH_32F) return v;
    const auto [lo, hi] = depthRange(depth);
    return v < lo ? lo : v > hi ? hi : v;
}

// The documented class of an integer kernel.
inline int classOf(const std::vector<int>& q, unsigned depth) {
    if (depth == OZL_DEPTH_32S) return 2;
    const auto [lo, hi] = depthRange(depth);
    double big = 0, small = 0;
    bool k16 = true, p16 = true;
    auto in16 = [](double v) { return v >= -32768 && v <= 32767; };
    for (int c : q) {
        if (c == 0) continue;
        big += c > 0 ? c * hi : c * lo;
        small += c > 0 ? c * lo : c * hi;
        k16 = k16 && in16(c);
        p16 = p16 && in16(c * hi) && in16(c * lo);
    }
    if (small > -32768 && big < 32767 && k16) return p16 ? 0 : 1;
    if (small > -2147483648.0 && big < 2147483647.0 && k16) return 1;
    return 2;
}

inline void fillFor(TestImage& im, uint32_t seed) {
    if (im->depth == OZL_DEPTH_32S) im.fillRandom(seed, -(1 << 20), 1 << 20);
    else if (im->depth == OZL_DEPTH_32F) im.fillRandom(seed, -100, 100);
    else im.fillRandom(seed);
}

// Border modes per side; constants written straight into the header, out of
// the depth's range at times (the filters clamp their copies).
template <class Rng>
void randomBorders(OzlImage* im, Rng& rng, int range) {
    for (int side = 0; side < 4; ++side) {
        im->borderMode[side] = static_cast<int>(rng() % 4);
        im->borderConst[side] = static_cast<int>(rng() % (2 * range)) - range;
    }
}

// One integer kernel's output at region (x, y): the exact sum (or, for class
// 2, the double sum in stored order rounded to an integer), then the shift.
inline double kernelOutput(const SourceView& s, const GivenKernel& k, unsigned depth, int x, int y,
                           int c) {
    const int cls = classOf(k.values, depth);
    long long exact = 0;
    double real = 0;
    bool first = true;
    for (int jj = 0; jj < k.nRows; ++jj)
        for (int ii = 0; ii < k.nCols; ++ii) {
            const int j = k.nRows - 1 - jj, i = k.nCols - 1 - ii;  // stored order
            const int q = k.values[static_cast<size_t>(j) * k.nCols + i];
            const double v = s.at(x + k.anchorX - i, y + k.anchorY - j, c);
            exact += static_cast<long long>(q) * static_cast<long long>(v);
            if (q == 0) continue;
            const double p = static_cast<double>(q) * v;
            real = first ? p : real + p;
            first = false;
        }
    const int shift = appliedShift(k.shift);
    if (cls == 2) return std::floor(std::nearbyint(real) * std::ldexp(1.0, -shift));
    return static_cast<double>(exact >> shift);
}

inline float kernelOutputF(const SourceView& s, const GivenKernel& k, int x, int y, int c) {
    float acc = 0;
    for (int jj = 0; jj < k.nRows; ++jj)
        for (int ii = 0; ii < k.nCols; ++ii) {
            const int j = k.nRows - 1 - jj, i = k.nCols - 1 - ii;
            const float p = k.reals[static_cast<size_t>(j) * k.nCols + i] *
                            static_cast<float>(s.at(x + k.anchorX - i, y + k.anchorY - j, c));
            acc = jj == 0 && ii == 0 ? p : acc + p;
        }
    return acc;
}

// Combines the kernels' outputs r in A's arithmetic: the first starts the
// accumulator (squared by the square methods), the others add, square and
// add, or take the larger or smaller.
template <class A>
A combined(const std::vector<A>& r, int method) {
    const bool squares = method == OZL_COMBINE_SUMSQ || method == OZL_COMBINE_SUMSQROOT;
    A acc = squares ? A(r[0] * r[0]) : r[0];
    for (size_t k = 1; k < r.size(); ++k) {
        if (squares) acc = A(acc + A(r[k] * r[k]));
        else if (method == OZL_COMBINE_MAX) acc = r[k] > acc ? r[k] : acc;
        else if (method == OZL_COMBINE_MIN) acc = r[k] < acc ? r[k] : acc;
        else acc = A(acc + r[k]);
    }
    return acc;
}

// ozlConvolve2D / ozlConvolve2DFP at region (x, y), source channel c.
inline double convolved(const SourceView& s, const std::vector<GivenKernel>& ks, int method,
                        unsigned depth, int x, int y, int c) {
    const size_t n = ks.size();
    if (n == 1 && method != OZL_COMBINE_SUMSQ && method != OZL_COMBINE_SUMSQROOT) method = OZL_COMBINE_SUM;
    if (depth == OZL_DEPTH_32F) {
        std::vector<float> r;
        for (const GivenKernel& k : ks) r.push_back(kernelOutputF(s, k, x, y, c));
        if (n == 1 && method == OZL_COMBINE_SUMSQROOT) return std::fabs(r[0]);
        const float acc = combined(r, method);
        return method == OZL_COMBINE_SUMSQROOT ? std::sqrt(acc) : acc;
    }
    bool wide = false;  // some kernel of class 2: the accumulator is a double
    for (const GivenKernel& k : ks) wide = wide || classOf(k.values, depth) == 2;
    std::vector<double> r;
    std::vector<uint32_t> r32;  // modulo 2^32 when every kernel is of class 0 or 1
    for (const GivenKernel& k : ks) {
        r.push_back(kernelOutput(s, k, depth, x, y, c));
        r32.push_back(static_cast<uint32_t>(static_cast<int32_t>(r.back())));
    }
    if (n == 1 && method == OZL_COMBINE_SUMSQROOT) return saturated(depth, std::fabs(r[0]));
    double acc = combined(r, method);
    if (!wide && method != OZL_COMBINE_MAX && method != OZL_COMBINE_MIN)
        acc = static_cast<int32_t>(combined(r32, method));
    if (n > 1 && method == OZL_COMBINE_SUMSQROOT) acc = acc < 0 ? -2147483648.0 : std::nearbyint(std::sqrt(acc));
    return saturated(depth, acc);
}

// ozlConvolveSep2D(FP) at region (x, y): x = horizontal, y = vertical kernel
// (nullptr when absent).
inline double separated(const SourceView& s, const GivenKernel* xk, const GivenKernel* yk,
                        unsigned depth, int x, int y, int c) {
    const int ax = xk ? xk->anchorX : 0, nx = xk ? xk->nCols : 1;
    const int ay = yk ? yk->anchorY : 0, ny = yk ? yk->nRows : 1;
    if (depth == OZL_DEPTH_32F) {
        // Vertical sums of the columns the horizontal kernel reads, then the
        // horizontal sum, each in the stored order.
        float r = 0;
        for (int ii = 0; ii < nx; ++ii) {
            const int i = nx - 1 - ii;
            const long long u = x + ax - i;
            float v = 0;
            for (int jj = 0; jj < ny; ++jj) {
                const int j = ny - 1 - jj;
                const float value = static_cast<float>(s.at(u, y + ay - j, c));
                const float p = yk ? yk->reals[static_cast<size_t>(j)] * value : value;
                v = jj == 0 ? p : v + p;
            }
            const float p = xk ? xk->reals[static_cast<size_t>(i)] * v : v;
            r = ii == 0 ? p : r + p;
        }
        return r;
    }
    uint32_t r = 0;
    for (int i = 0; i < nx; ++i) {
        uint32_t v = 0;
        for (int j = 0; j < ny; ++j) {
            const auto value = static_cast<uint32_t>(static_cast<int32_t>(s.at(x + ax - i, y + ay - j, c)));
            v += (yk ? static_cast<uint32_t>(yk->values[static_cast<size_t>(j)]) : 1u) * value;
        }
        r += (xk ? static_cast<uint32_t>(xk->values[static_cast<size_t>(i)]) : 1u) * v;
    }
    const int shift = appliedShift(static_cast<long long>(xk ? xk->shift : 0) + (yk ? yk->shift : 0));
    return saturated(depth, static_cast<double>(static_cast<int32_t>(r) >> std::min(shift, 31)));
}

}  // namespace ozl::test
