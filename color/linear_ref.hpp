// The linear colour models, scalar forms: YUV, YCrCb, XYZ and PhotoYCC.
//
// Integer arithmetic is exact in 64 bits (>> rounds toward minus infinity),
// then saturated to the destination. 32S works in double precision, rounded
// half up and saturated; 32F in single precision unless a model says double.
//
// Fixed-point choices beyond the given YUV and forward YCrCb ones:
// - YCrCb to RGB, 8U and 16U: the float weights in units of 1/16384, rounded,
//   with the rounding half added before the shift; chroma centred on 128 and
//   32768 as in the forward direction.
// - XYZ, 8U: the float matrices in units of 1/8192, rounded, with the rounding
//   half; 16U and 32S: the float matrices in double precision, rounded.
// - YCC to RGB (8U): PhotoYCC, luma scaled by 1.3584, the chroma channels
//   centred on 156 and 137 and scaled by 2.2179 and 1.8215, mixed into R, G, B
//   (G takes -0.194 of the first and -0.509 of the second), through tables of
//   products in units of 1/16384 with the rounding half.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "color/kernels.hpp"

namespace ozl::color {

using image::saturate;

// A weight in units of 2^-bits, rounded half away from zero.
constexpr int32_t fixedWeight(double w, int bits) {
    const double scaled = w * static_cast<double>(int64_t{1} << bits);
    return static_cast<int32_t>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
}

// A double result stored in a 32S sample: rounded half up, saturated.
inline int32_t roundToS32(double v) {
    const double r = std::floor(v + 0.5);
    if (r >= 2147483647.0) return INT32_MAX;
    if (r <= -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(r);
}

// A double result stored in an integer sample, rounded half up and saturated.
template <class T>
inline T roundTo(double v) {
    if constexpr (std::is_same_v<T, int32_t>) return roundToS32(v);
    else return saturate<T>(static_cast<int64_t>(roundToS32(v)));
}

// r * a + g * b + c * z left to right, in the arithmetic of F.
template <class F>
inline F mix3(const F (&w)[3], F a, F b, F c) {
    return w[0] * a + w[1] * b + w[2] * c;
}

// ---------------------------------------------------------------------------
// YUV. Chroma offset 127 (8U) and 32767 (16U), one below the mid-point, in
// both directions.

template <class T>
inline Px<T> rgbToYuv(Px<T> x) {
    if constexpr (std::is_same_v<T, float>) {
        const float r = x.v[0], g = x.v[1], b = x.v[2];
        return {{0.299f * r + 0.587f * g + 0.114f * b, -0.146f * r - 0.288f * g + 0.434f * b,
                 0.617f * r - 0.517f * g - 0.100f * b}};
    } else if constexpr (std::is_same_v<T, int32_t>) {
        const double r = x.v[0], g = x.v[1], b = x.v[2];
        return {{roundToS32(0.299 * r + 0.587 * g + 0.114 * b),
                 roundToS32(-0.146 * r - 0.288 * g + 0.434 * b),
                 roundToS32(0.617 * r - 0.517 * g - 0.100 * b)}};
    } else {
        constexpr int64_t kOffset = sizeof(T) == 1 ? 127 : 32767;
        const int64_t r = x.v[0], g = x.v[1], b = x.v[2];
        // The weights of Y add up to 32769: full white lands on the maximum
        // plus a fraction, which the clamp takes off.
        const int64_t y = (9798 * r + 19235 * g + 3736 * b) >> 15;
        const int64_t u = ((-4784 * r - 9437 * g + 14221 * b) >> 15) + kOffset;
        const int64_t v = ((20218 * r - 16941 * g - 3277 * b) >> 15) + kOffset;
        return {{saturate<T>(y), saturate<T>(u), saturate<T>(v)}};
    }
}

template <class T>
inline Px<T> yuvToRgb(Px<T> x) {
    if constexpr (std::is_floating_point_v<T> || std::is_same_v<T, int32_t>) {
        // The exact inverse of the forward matrix, small cross terms kept.
        const double y = x.v[0], u = x.v[1], v = x.v[2];
        const double r = y + 1.135920183 * v - 0.0009400500833 * u;
        const double g = y - 0.3959190767 * u - 0.5782887929 * v;
        const double b = y + 2.041101518 * u - 0.001619414009 * v;
        if constexpr (std::is_same_v<T, float>)
            return {{static_cast<float>(r), static_cast<float>(g), static_cast<float>(b)}};
        else
            return {{roundToS32(r), roundToS32(g), roundToS32(b)}};
    } else {
        constexpr int64_t kOffset = sizeof(T) == 1 ? 127 : 32767;
        const int64_t y = x.v[0], u = x.v[1] - kOffset, v = x.v[2] - kOffset;
        return {{saturate<T>(y + ((37222 * v - 31 * u) >> 15)),
                 saturate<T>(y + ((-12974 * u - 18949 * v) >> 15)),
                 saturate<T>(y + ((66883 * u - 53 * v) >> 15))}};
    }
}

// ---------------------------------------------------------------------------
// YCrCb: channel 1 holds the blue difference Cb, channel 2 the red one Cr.

template <class T>
inline Px<T> rgbToYCrCb(Px<T> x) {
    if constexpr (std::is_same_v<T, float>) {
        const float r = x.v[0], g = x.v[1], b = x.v[2];
        return {{0.299f * r + 0.587f * g + 0.114f * b,
                 -0.16873591f * r - 0.33126399f * g + 0.5f * b,
                 0.5f * r - 0.41868758f * g - 0.081312411f * b}};
    } else if constexpr (std::is_same_v<T, int32_t>) {
        const double r = x.v[0], g = x.v[1], b = x.v[2];
        return {{roundToS32(0.299 * r + 0.587 * g + 0.114 * b),
                 roundToS32(-0.1687359 * r - 0.331264 * g + 0.5 * b),
                 roundToS32(0.5 * r - 0.41868759 * g - 0.08131241 * b)}};
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        const int64_t r = x.v[0], g = x.v[1], b = x.v[2];
        const int64_t y = (4899 * r + 9617 * g + 1868 * b + 8192) >> 14;
        const int64_t cb = (536870912 - 2765 * r - 5427 * g + 8192 * b) >> 14;
        const int64_t cr = (8192 * r - 6860 * g - 1332 * b + 536870912) >> 14;
        return {{saturate<T>(y), saturate<T>(cb), saturate<T>(cr)}};
    } else {
        // The 8U luma weights (4898, 1867) differ by one from the 16U ones.
        const int32_t r = x.v[0], g = x.v[1], b = x.v[2];
        const int32_t y = (4898 * r + 9617 * g + 1867 * b + 8192) >> 14;
        const int32_t cb = ((b - y) * 9246 + 2097152) >> 14;
        const int32_t cr = ((r - y) * 11686 + 2097152) >> 14;
        return {{saturate<T>(y), saturate<T>(cb), saturate<T>(cr)}};
    }
}

// YCrCb to RGB weights in units of 1/16384 (the integer depths).
constexpr int32_t kCrToR = fixedWeight(1.402, 14);
constexpr int32_t kCbToG = fixedWeight(-0.3441363, 14);
constexpr int32_t kCrToG = fixedWeight(-0.7141363, 14);
constexpr int32_t kCbToB = fixedWeight(1.772, 14);

template <class T>
inline Px<T> yCrCbToRgb(Px<T> x) {
    if constexpr (std::is_same_v<T, float>) {
        const float y = x.v[0], cb = x.v[1], cr = x.v[2];
        return {{y + 1.402f * cr, y - 0.3441363f * cb - 0.7141363f * cr, y + 1.772f * cb}};
    } else if constexpr (std::is_same_v<T, int32_t>) {
        const double y = x.v[0], cb = x.v[1], cr = x.v[2];
        return {{roundToS32(y + 1.402 * cr), roundToS32(y - 0.3441363 * cb - 0.7141363 * cr),
                 roundToS32(y + 1.772 * cb)}};
    } else {
        constexpr int64_t kMid = sizeof(T) == 1 ? 128 : 32768;
        const int64_t y = x.v[0], cb = x.v[1] - kMid, cr = x.v[2] - kMid;
        return {{saturate<T>(y + ((kCrToR * cr + 8192) >> 14)),
                 saturate<T>(y + ((kCbToG * cb + kCrToG * cr + 8192) >> 14)),
                 saturate<T>(y + ((kCbToB * cb + 8192) >> 14))}};
    }
}

// ---------------------------------------------------------------------------
// XYZ, the linear matrices of the sRGB primaries with the D65 white.

constexpr double kRgbToXyz[3][3] = {{0.412453, 0.357580, 0.180423},
                                    {0.212671, 0.715160, 0.072169},
                                    {0.019334, 0.119193, 0.950227}};
constexpr double kXyzToRgb[3][3] = {{3.240479, -1.537150, -0.498535},
                                    {-0.969256, 1.875992, 0.041556},
                                    {0.055648, -0.204043, 1.057311}};

constexpr int kXyzBits = 13;

// A 3 x 3 matrix in units of 2^-kXyzBits.
struct FixedMatrix {
    int32_t w[3][3];
};
constexpr FixedMatrix fixedMatrix(const double (&m)[3][3]) {
    FixedMatrix f{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) f.w[i][j] = fixedWeight(m[i][j], kXyzBits);
    return f;
}
constexpr FixedMatrix kRgbToXyzFixed = fixedMatrix(kRgbToXyz);
constexpr FixedMatrix kXyzToRgbFixed = fixedMatrix(kXyzToRgb);

template <class T>
inline Px<T> applyMatrix(const double (&m)[3][3], const FixedMatrix& fixed, Px<T> x) {
    Px<T> y;
    for (int i = 0; i < 3; ++i) {
        if constexpr (std::is_same_v<T, float>) {
            const float w[3] = {static_cast<float>(m[i][0]), static_cast<float>(m[i][1]),
                                static_cast<float>(m[i][2])};
            y.v[i] = mix3(w, x.v[0], x.v[1], x.v[2]);
        } else if constexpr (std::is_same_v<T, uint8_t>) {
            const int32_t s = fixed.w[i][0] * x.v[0] + fixed.w[i][1] * x.v[1] +
                              fixed.w[i][2] * x.v[2] + (1 << (kXyzBits - 1));
            y.v[i] = saturate<T>(s >> kXyzBits);
        } else {
            y.v[i] = roundTo<T>(mix3(m[i], static_cast<double>(x.v[0]),
                                     static_cast<double>(x.v[1]), static_cast<double>(x.v[2])));
        }
    }
    return y;
}

template <class T>
inline Px<T> rgbToXyz(Px<T> x) { return applyMatrix(kRgbToXyz, kRgbToXyzFixed, x); }
template <class T>
inline Px<T> xyzToRgb(Px<T> x) { return applyMatrix(kXyzToRgb, kXyzToRgbFixed, x); }

// ---------------------------------------------------------------------------
// PhotoYCC to RGB, 8U: tables of the luma and chroma terms in units of 1/16384.

constexpr int kYccLuma = fixedWeight(1.3584, 14);
constexpr int kYccC1ToB = fixedWeight(2.2179, 14);
constexpr int kYccC1ToG = fixedWeight(-0.194 * 2.2179, 14);
constexpr int kYccC2ToR = fixedWeight(1.8215, 14);
constexpr int kYccC2ToG = fixedWeight(-0.509 * 1.8215, 14);
constexpr int kYccC1Mid = 156;
constexpr int kYccC2Mid = 137;

struct YccTables {
    int32_t luma[256];
    int32_t c1ToB[256], c1ToG[256];
    int32_t c2ToR[256], c2ToG[256];
};

constexpr YccTables makeYccTables() {
    YccTables t{};
    for (int i = 0; i < 256; ++i) {
        t.luma[i] = kYccLuma * i;
        t.c1ToB[i] = kYccC1ToB * (i - kYccC1Mid);
        t.c1ToG[i] = kYccC1ToG * (i - kYccC1Mid);
        t.c2ToR[i] = kYccC2ToR * (i - kYccC2Mid);
        t.c2ToG[i] = kYccC2ToG * (i - kYccC2Mid);
    }
    return t;
}

inline constexpr YccTables kYccTables = makeYccTables();

inline Px<uint8_t> yccToRgb(Px<uint8_t> x) {
    const YccTables& t = kYccTables;
    const int32_t l = t.luma[x.v[0]] + 8192;
    return {{saturate<uint8_t>((l + t.c2ToR[x.v[2]]) >> 14),
             saturate<uint8_t>((l + t.c1ToG[x.v[1]] + t.c2ToG[x.v[2]]) >> 14),
             saturate<uint8_t>((l + t.c1ToB[x.v[1]]) >> 14)}};
}

}  // namespace ozl::color
