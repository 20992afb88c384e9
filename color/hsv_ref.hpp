// HSV and HLS, scalar forms, for 8U, 16U and 32S.
//
// Every depth stores the hue in half degrees, 0..179 (180 and above are read
// back as angles past 360), so that a hue means the same at every depth;
// saturation, value and lightness span the depth's range 0..M (M = 255, 65535,
// or 2^31 - 1 for 32S, whose negative samples are taken as 0).
//
// RGB to HSV: V = max, d = max - min, S = floor(M d / V) (0 for black), and the
// hue is floor(h / 2) of the angle h in degrees, sector by sector as below. On
// 8U this is exactly the value-then-saturation-then-hue recipe with the angle
// formed in double precision and truncated: with d at most 255 no quotient
// lies closer than 1/255 to an integer, far more than the rounding of a double.
//
// RGB to HLS: the same hue; L = (max + min + 1) >> 1, rounded half up;
// S = floor(M d / min(max + min, 2M - max - min)), 0 for greys.
//
// HSV to RGB: h = 2H, 360 read as 0; sector k = floor(h / 60), remainder f; with
// the chroma m = (S V) >> b (b = 8, 16, 31): p = V - m,
// q = V - ((m 34 f) >> 11), t = V - ((m 34 (60 - f)) >> 11) (34 / 2048 for
// 1/60), then by sector (V,t,p) (q,V,p) (p,V,t) (p,q,V) (t,p,V), and (V,p,q)
// for any other sector.
//
// HLS to RGB: the chroma C = S min(2L, 2M - 2L) / M with the rounded quotient
// (p + (p >> b) + 1) >> b, the maximum V = (2L + C + 1) >> 1, then the same
// sectors with m = C, so that both models share one hue arithmetic.
#pragma once

#include <algorithm>
#include <cstdint>

#include "color/kernels.hpp"

namespace ozl::color {

// Full scale and its bit count of the HSV/HLS depths.
template <class T> struct HueScale;
template <>
struct HueScale<uint8_t> {
    static constexpr int64_t kMax = 255;
    static constexpr int kBits = 8;
};
template <>
struct HueScale<uint16_t> {
    static constexpr int64_t kMax = 65535;
    static constexpr int kBits = 16;
};
template <>
struct HueScale<int32_t> {
    static constexpr int64_t kMax = INT32_MAX;
    static constexpr int kBits = 31;
};

// Negative 32S samples count as 0; the other depths cannot be negative.
template <class T>
inline int64_t nonNegative(T v) {
    return v < 0 ? 0 : static_cast<int64_t>(v);
}

// The hue in half degrees from the maximum and the spread d > 0: the angle is
// 60 (n / d) plus the sector's base, n the difference of the other two
// channels in hue order; ties go to red, then green.
inline int64_t halfDegreeHue(int64_t r, int64_t g, int64_t b, int64_t max, int64_t d) {
    int64_t numerator;
    if (r == max) {
        const int64_t n = g - b;
        numerator = (n < 0 ? 180 * d : 0) + 30 * n;
    } else if (g == max) {
        numerator = 60 * d + 30 * (b - r);
    } else {
        numerator = 120 * d + 30 * (r - g);
    }
    return numerator / d;  // the numerator is never negative
}

template <class T>
inline Px<T> rgbToHsv(Px<T> x) {
    const int64_t r = nonNegative(x.v[0]), g = nonNegative(x.v[1]), b = nonNegative(x.v[2]);
    const int64_t max = std::max({r, g, b});
    const int64_t d = max - std::min({r, g, b});
    const int64_t s = max == 0 ? 0 : HueScale<T>::kMax * d / max;
    const int64_t h = d == 0 ? 0 : halfDegreeHue(r, g, b, max, d);
    return {{static_cast<T>(h), static_cast<T>(s), static_cast<T>(max)}};
}

template <class T>
inline Px<T> rgbToHls(Px<T> x) {
    constexpr int64_t kMax = HueScale<T>::kMax;
    const int64_t r = nonNegative(x.v[0]), g = nonNegative(x.v[1]), b = nonNegative(x.v[2]);
    const int64_t max = std::max({r, g, b});
    const int64_t min = std::min({r, g, b});
    const int64_t d = max - min;
    const int64_t sum = max + min;
    const int64_t l = (sum + 1) >> 1;
    int64_t s = 0, h = 0;
    if (d != 0) {
        s = kMax * d / std::min(sum, 2 * kMax - sum);
        h = halfDegreeHue(r, g, b, max, d);
    }
    return {{static_cast<T>(h), static_cast<T>(l), static_cast<T>(s)}};
}

// R, G, B from the hue, the maximum v and the chroma m (0 <= m <= v).
template <class T>
inline Px<T> hueSectors(int64_t hue, int64_t v, int64_t m) {
    int64_t h = 2 * hue;
    if (h == 360) h = 0;
    const int64_t k = h / 60;
    const int64_t f = h - 60 * k;
    const int64_t p = v - m;
    const int64_t q = v - ((m * 34 * f) >> 11);
    const int64_t t = v - ((m * 34 * (60 - f)) >> 11);
    int64_t r, g, b;
    switch (k) {
        case 0: r = v, g = t, b = p; break;
        case 1: r = q, g = v, b = p; break;
        case 2: r = p, g = v, b = t; break;
        case 3: r = p, g = q, b = v; break;
        case 4: r = t, g = p, b = v; break;
        default: r = v, g = p, b = q; break;
    }
    return {{static_cast<T>(r), static_cast<T>(g), static_cast<T>(b)}};
}

template <class T>
inline Px<T> hsvToRgb(Px<T> x) {
    const int64_t v = nonNegative(x.v[2]);
    const int64_t m = (nonNegative(x.v[1]) * v) >> HueScale<T>::kBits;
    return hueSectors<T>(nonNegative(x.v[0]), v, m);
}

// The rounded quotient by the full scale 2^b - 1 of a product of two samples.
template <class T>
inline int64_t divideByScale(int64_t p) {
    constexpr int kBits = HueScale<T>::kBits;
    return (p + (p >> kBits) + 1) >> kBits;
}

template <class T>
inline Px<T> hlsToRgb(Px<T> x) {
    constexpr int64_t kMax = HueScale<T>::kMax;
    const int64_t l = nonNegative(x.v[1]);
    const int64_t c = divideByScale<T>(nonNegative(x.v[2]) * std::min(2 * l, 2 * kMax - 2 * l));
    return hueSectors<T>(nonNegative(x.v[0]), (2 * l + c + 1) >> 1, c);
}

}  // namespace ozl::color
