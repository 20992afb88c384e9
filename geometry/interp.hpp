// Interpolation of one source position: the scalar forms every geometric
// transform shares (nearest neighbour, linear, cubic), with what lies beyond
// the source region's edges (the edge repeated, or the source's border
// modes). The vector kernels fall back to these for the pixels they leave, so
// everything here has internal linkage: each instruction-set file keeps the
// copy compiled for its own target.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "core/border_fetch.hpp"
#include "core/sampled.hpp"
#include "image/depth.hpp"

namespace ozl::geometry {

// The interpolation constants of the interface.
enum class Inter { NN = 0, Linear = 1, Cubic = 2, Super = 3 };

// What lies beyond the source region's edges: the edge repeated, or the
// source's border modes (applied at the region's edges).
struct Edges {
    bool fill = false;   // border modes (and every destination pixel written)
    int mode[4] = {};    // slots: 0 top, 1 bottom, 2 left, 3 right
    double constant[4] = {};
};

namespace {

using core::SampledSource;

// Fixed-point 8U linear: weights in 1/2048, row sums in 1/128 of a level.
constexpr int kWeightBits = 11;
constexpr int kWeightOne = 1 << kWeightBits;

// A value computed in double precision, stored: integers rounded to nearest,
// halves up, and saturated; floats as they are.
template <class T>
inline T fromDouble(double v) {
    if constexpr (std::is_same_v<T, float>) {
        return static_cast<float>(v);
    } else {
        constexpr double lo = static_cast<double>(std::numeric_limits<T>::min());
        constexpr double hi = static_cast<double>(std::numeric_limits<T>::max());
        const double r = std::floor(v + 0.5);
        // Written so that a NaN (from a caller's NaN coefficient) lands on lo.
        return static_cast<T>(r >= lo ? (r <= hi ? r : hi) : lo);
    }
}

using image::loadValue;
using image::storeValue;

// Two 16-bit weights in one 32-bit lane, lo in the low half, as the
// multiply-adds of 16-bit pairs take them (negative weights included).
inline int32_t weightPair(int lo, int hi) {
    return static_cast<int32_t>((static_cast<uint32_t>(lo) & 0xFFFFu) | (static_cast<uint32_t>(hi) << 16));
}

// Fraction to 8U linear weight: rounded to 1/2048, halves up.
inline int fixedWeight(double f) { return static_cast<int>(f * kWeightOne + 0.5); }

// The 8U linear formula for one value from its four neighbours.
inline uint8_t linear8u(int p00, int p10, int p01, int p11, int wx, int wy) {
    const int h0 = (p00 * (kWeightOne - wx) + p10 * wx + 8) >> 4;
    const int h1 = (p01 * (kWeightOne - wx) + p11 * wx + 8) >> 4;
    return static_cast<uint8_t>((h0 * (kWeightOne - wy) + h1 * wy + (1 << 17)) >> 18);
}

// Cubic convolution weights (a = -0.5) of the pixels x0-1 .. x0+2 for the
// fraction f = sx - x0.
inline void cubicWeights(double f, double w[4]) {
    const double a = -0.5;
    const double t0 = 1.0 + f, t1 = f, t2 = 1.0 - f, t3 = 2.0 - f;
    w[0] = ((a * t0 - 5.0 * a) * t0 + 8.0 * a) * t0 - 4.0 * a;
    w[1] = ((a + 2.0) * t1 - (a + 3.0)) * t1 * t1 + 1.0;
    w[2] = ((a + 2.0) * t2 - (a + 3.0)) * t2 * t2 + 1.0;
    w[3] = ((a * t3 - 5.0 * a) * t3 + 8.0 * a) * t3 - 4.0 * a;
}

// The cubic weights in 1/2048 of 8U interpolation: w0, w1 and w3 rounded,
// halves up; w2 takes what makes the sum 2048, so that flat areas stay flat.
inline void fixedCubicWeights(double f, int32_t q[4]) {
    double w[4];
    cubicWeights(f, w);
    for (int k : {0, 1, 3}) q[k] = static_cast<int32_t>(std::floor(w[k] * kWeightOne + 0.5));
    q[2] = kWeightOne - q[0] - q[1] - q[3];
}

// 8U cubic in fixed point from the 4 x 4 neighbours' values v(i, j): rows
// summed in 1/64 of a level, then the column.
template <class Value>
inline uint8_t cubic8u(const int32_t qx[4], const int32_t qy[4], Value&& v) {
    int sum = 0;
    for (int j = 0; j < 4; ++j) {
        int h = 16;
        for (int i = 0; i < 4; ++i) h += v(i, j) * qx[i];
        sum += (h >> 5) * qy[j];
    }
    return static_cast<uint8_t>(std::clamp((sum + 65536) >> 17, 0, 255));
}

inline Edges edgesOf(const OzlImage* image, bool fill) {
    Edges e;
    e.fill = fill;
    if (!fill) return e;
    for (int side = 0; side < 4; ++side) {
        e.mode[side] = image->borderMode[side] & 3;
        // 32F images take the top side's constant everywhere; integer
        // constants are kept within the depth's range.
        const int slot = image->depth == OZL_DEPTH_32F ? 0 : side;
        e.constant[side] = image->depth == OZL_DEPTH_32F
                               ? static_cast<double>(static_cast<float>(image->borderConst[slot]))
                               : image::clampToDepth(image->borderConst[slot], image->depth);
    }
    return e;
}

// Positions far outside are brought nearer first, so that they convert to
// integers; what they read (a constant, or a border index) does not change
// for the modes that repeat, and stays defined for the others.
inline double tame(double v) { return v < -1e15 ? -1e15 : v > 1e15 ? 1e15 : v; }

// Reads channel values of source pixels, whatever the coordinates.
template <class T>
struct Reader {
    const SampledSource& s;
    const Edges& e;

    const char* pixel(long long x, long long y) const {
        return s.data + y * s.rowStep + x * s.pixelStep;
    }
    bool inside(long long x, long long y) const {
        return x >= 0 && y >= 0 && x < s.width && y < s.height;
    }
    double at(const char* p, int c) const { return loadValue<T>(p + c * s.channelStep); }

    // The pixel (x, y) may lie anywhere; returns nullptr with the constant in
    // *constant when a constant border fills it.
    const char* resolve(long long x, long long y, double* constant) const {
        if (inside(x, y)) return pixel(x, y);
        const long long w = s.width, h = s.height;
        if (!e.fill) {
            x = x < 0 ? 0 : x >= w ? w - 1 : x;
            y = y < 0 ? 0 : y >= h ? h - 1 : y;
            return pixel(x, y);
        }
        // Rows above and below take their side's mode for both coordinates;
        // rows beside the region take the left or right mode.
        const int side = y < 0 ? 0 : y >= h ? 1 : x < 0 ? 2 : 3;
        if (e.mode[side] == 0) {
            *constant = e.constant[side];
            return nullptr;
        }
        x = core::borderIndex(x, w, e.mode[side]);
        if (side < 2) y = core::borderIndex(y, h, e.mode[side]);
        return pixel(x, y);
    }

    double value(long long x, long long y, int c) const {
        double k = 0;
        const char* p = resolve(x, y, &k);
        return p ? at(p, c) : k;
    }
};

inline bool insideRegion(const SampledSource& s, double sx, double sy) {
    return sx >= -0.5 && sx < s.width - 0.5 && sy >= -0.5 && sy < s.height - 0.5;
}

// One destination pixel from the source at (sx, sy): written through `out`
// (channel c at out + c * outStep) and true, or false when the pixel keeps
// its value.
template <class T>
inline bool samplePixel(const SampledSource& s, const Edges& e, Inter inter, double sx, double sy,
                        char* out, ptrdiff_t outStep) {
    const bool in = insideRegion(s, sx, sy);
    if (!in && (!e.fill || sx != sx || sy != sy)) return false;
    sx = tame(sx);
    sy = tame(sy);
    const Reader<T> rd{s, e};
    const int nCh = s.channels;
    if (inter == Inter::NN) {
        long long x = static_cast<long long>(std::floor(sx + 0.5));
        long long y = static_cast<long long>(std::floor(sy + 0.5));
        if (in) {  // a sum rounded up to the far edge stays on the last pixel
            x = std::min<long long>(x, s.width - 1);
            y = std::min<long long>(y, s.height - 1);
        }
        for (int c = 0; c < nCh; ++c) {
            const double v = rd.value(x, y, c);
            storeValue<T>(out + c * outStep, static_cast<T>(v));
        }
        return true;
    }
    const double fx0 = std::floor(sx), fy0 = std::floor(sy);
    const long long x0 = static_cast<long long>(fx0), y0 = static_cast<long long>(fy0);
    const double fx = sx - fx0, fy = sy - fy0;
    if (inter == Inter::Linear) {
        const char* p[4];
        double k[4] = {};
        const bool all = x0 >= 0 && y0 >= 0 && x0 + 1 < s.width && y0 + 1 < s.height;
        for (int j = 0; j < 4; ++j) {
            const long long x = x0 + (j & 1), y = y0 + (j >> 1);
            p[j] = all ? rd.pixel(x, y) : rd.resolve(x, y, &k[j]);
        }
        auto v = [&](int j, int c) { return p[j] ? rd.at(p[j], c) : k[j]; };
        if constexpr (std::is_same_v<T, uint8_t>) {
            const int wx = fixedWeight(fx), wy = fixedWeight(fy);
            for (int c = 0; c < nCh; ++c)
                storeValue<uint8_t>(out + c * outStep,
                                    linear8u(static_cast<int>(v(0, c)), static_cast<int>(v(1, c)),
                                             static_cast<int>(v(2, c)), static_cast<int>(v(3, c)),
                                             wx, wy));
        } else {
            for (int c = 0; c < nCh; ++c) {
                const double h0 = (1.0 - fx) * v(0, c) + fx * v(1, c);
                const double h1 = (1.0 - fx) * v(2, c) + fx * v(3, c);
                storeValue<T>(out + c * outStep, fromDouble<T>((1.0 - fy) * h0 + fy * h1));
            }
        }
        return true;
    }
    const bool all = x0 >= 1 && y0 >= 1 && x0 + 2 < s.width && y0 + 2 < s.height;
    if constexpr (std::is_same_v<T, uint8_t>) {
        int32_t qx[4], qy[4];
        fixedCubicWeights(fx, qx);
        fixedCubicWeights(fy, qy);
        for (int c = 0; c < nCh; ++c)
            storeValue<uint8_t>(out + c * outStep, cubic8u(qx, qy, [&](int i, int j) {
                const long long x = x0 - 1 + i, y = y0 - 1 + j;
                return static_cast<int>(all ? rd.at(rd.pixel(x, y), c) : rd.value(x, y, c));
            }));
        return true;
    }
    double wx[4], wy[4];
    cubicWeights(fx, wx);
    cubicWeights(fy, wy);
    for (int c = 0; c < nCh; ++c) {
        double sum = 0.0;
        for (int j = 0; j < 4; ++j) {
            double h = 0.0;
            for (int i = 0; i < 4; ++i) {
                const long long x = x0 - 1 + i, y = y0 - 1 + j;
                h += wx[i] * (all ? rd.at(rd.pixel(x, y), c) : rd.value(x, y, c));
            }
            sum += wy[j] * h;
        }
        storeValue<T>(out + c * outStep, fromDouble<T>(sum));
    }
    return true;
}

}  // namespace
}  // namespace ozl::geometry
