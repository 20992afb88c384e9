// The colour twist, scalar forms. Output channel i of a pixel (i = 0, 1, 2) is
//   y_i = floor((d[i][0] x0 + d[i][1] x1 + d[i][2] x2 + d[i][3]) / 2^s + 1/2) + bias,
// saturated to the depth: the matrix divided by 2^s, rounded half up, plus the
// call's output offset. Both paths give exactly this:
// - the general path forms it in double precision from the matrix times
//   2^-s; every product and sum is an integer multiple of 2^-s below 2^49 in
//   magnitude, so nothing is rounded before the final floor;
// - the fixed-point path forms the sum in 16 bits (with the rounding half,
//   and for 16U on samples offset by 32768 into signed form), shifts it and
//   adds the offset with 16-bit saturation. The call takes it only where the
//   range analysis shows that the 16-bit sum cannot wrap, which makes it exact
//   too; here it wraps as the vector forms do, so that they compare bit for bit
//   on any input.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "color/kernels.hpp"

namespace ozl::color {

// 16-bit two's complement wrap, as the vector lanes do it.
inline int32_t wrap16(int32_t v) {
    const uint16_t u = static_cast<uint16_t>(static_cast<uint32_t>(v));
    return u >= 0x8000 ? static_cast<int32_t>(u) - 0x10000 : static_cast<int32_t>(u);
}

inline int32_t saturate16(int32_t v) { return v < -32768 ? -32768 : v > 32767 ? 32767 : v; }

// Sample in the signed form of the fixed-point path: 8U as it is, 16U - 32768.
template <class T>
inline int32_t signedSample(T v) {
    if constexpr (std::is_same_v<T, uint8_t>) return v;
    else return static_cast<int32_t>(v) - 32768;
}

template <class T>
inline T fromSignedResult(int32_t y16) {
    if constexpr (std::is_same_v<T, uint8_t>) return image::saturate<uint8_t>(y16);
    else return static_cast<T>(y16 + 32768);
}

template <class T>
inline void twistFixedRow(const RowView& s, const RowView& d, size_t n, const TwistArgs& a) {
    const char* sp = s.data;
    char* dp = d.data;
    for (size_t p = 0; p < n; ++p, sp += s.pixelStep, dp += d.pixelStep) {
        int32_t x[3];
        for (int j = 0; j < 3; ++j) x[j] = signedSample(loadValue<T>(sp + j * s.channelStep));
        T y[3];
        for (int i = 0; i < 3; ++i) {
            // Modulo 2^32, then 2^16: three products of 16-bit values can leave int32.
            const uint32_t wide = static_cast<uint32_t>(a.weight[i][0] * x[0]) +
                                  static_cast<uint32_t>(a.weight[i][1] * x[1]) +
                                  static_cast<uint32_t>(a.weight[i][2] * x[2]) +
                                  static_cast<uint32_t>(a.constant[i]);
            const int32_t sum = wrap16(static_cast<int32_t>(wide & 0xFFFF));
            y[i] = fromSignedResult<T>(saturate16((sum >> a.shift) + a.bias));
        }
        for (int i = 0; i < 3; ++i) storeValue(dp + i * d.channelStep, y[i]);
    }
}

template <class T>
inline void twistGeneralRow(const RowView& s, const RowView& d, size_t n, const TwistArgs& a) {
    const char* sp = s.data;
    char* dp = d.data;
    for (size_t p = 0; p < n; ++p, sp += s.pixelStep, dp += d.pixelStep) {
        double x[3];
        for (int j = 0; j < 3; ++j) x[j] = loadValue<T>(sp + j * s.channelStep);
        T y[3];
        for (int i = 0; i < 3; ++i) {
            const double* m = a.matrix[i];
            const double v = m[0] * x[0] + m[1] * x[1] + m[2] * x[2] + m[3];
            y[i] = image::saturate<T>(static_cast<int64_t>(std::floor(v + 0.5)) + a.bias);
        }
        for (int i = 0; i < 3; ++i) storeValue(dp + i * d.channelStep, y[i]);
    }
}

inline void twistRealRow(const RowView& s, const RowView& d, size_t n, const TwistArgs& a) {
    const char* sp = s.data;
    char* dp = d.data;
    for (size_t p = 0; p < n; ++p, sp += s.pixelStep, dp += d.pixelStep) {
        float x[3];
        for (int j = 0; j < 3; ++j) x[j] = loadValue<float>(sp + j * s.channelStep);
        float y[3];
        for (int i = 0; i < 3; ++i) {
            const float* m = a.real[i];
            y[i] = m[0] * x[0] + m[1] * x[1] + m[2] * x[2] + m[3];
        }
        for (int i = 0; i < 3; ++i) storeValue(dp + i * d.channelStep, y[i]);
    }
}

}  // namespace ozl::color
