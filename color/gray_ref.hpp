// Colour to grey and back, scalar forms.
//
// Colour to grey forms the grey value at the source depth, then brings it to
// the destination depth:
// - 8U: (54 R + 183 G + 18 B) >> 8; the weights add up to 255, so white gives
//   254. To 16U times 257, to 1U set from 128 up.
// - 16U: (13933 R + 46871 G + 4732 B) >> 16, the same luma weights in units of
//   1/65536 adding up to 65536 (white stays white). To 8U >> 8, to 1U set from
//   32768 up.
// - 32S: s = (R >> 11) 109 + (G >> 11) 366 + (B >> 11) 37, in units of 1/512
//   of the sample reduced by 2^11; 8U s >> 21, 16U s >> 13 (negative greys
//   give 0), 1U set from s >= 2^28 (half of the 16U scale).
// Rows go from their last pixel to their first.
//
// Grey to colour: each weight F becomes a 16-bit factor, F 32768 truncated
// toward zero (shift 15) while |F| < 1, else F 256 truncated and saturated to
// -32768..32767 (shift 8), so that 1.0 is exact and gains up to 128 are
// possible; a NaN weight is 0. Each channel is (g f + 2^(shift-1)) >> shift,
// saturated. A 1-bit grey is 0 or 255.
#pragma once

#include <cstdint>
#include <type_traits>

#include "color/kernels.hpp"

namespace ozl::color {

constexpr int32_t kGray8[3] = {54, 183, 18};
constexpr int32_t kGray16[3] = {13933, 46871, 4732};
constexpr int32_t kGray32[3] = {109, 366, 37};

inline bool bitAt(const char* row, size_t pos) {
    return (static_cast<uint8_t>(row[pos >> 3]) >> (7 - (pos & 7))) & 1;
}

inline void putBit(char* row, size_t pos, bool on) {
    auto& byte = reinterpret_cast<uint8_t&>(row[pos >> 3]);
    const uint8_t bit = static_cast<uint8_t>(0x80u >> (pos & 7));
    byte = static_cast<uint8_t>(on ? byte | bit : byte & ~bit);
}

// The grey of one pixel at the source depth's scale: 8U 0..254, 16U 0..65535,
// 32S the weighted sum in units of 2^-21 of the 8U scale (possibly negative).
template <class S>
inline int32_t grayOf(const int32_t (&w)[3], S x0, S x1, S x2) {
    if constexpr (sizeof(S) == 1) {
        return (w[0] * x0 + w[1] * x1 + w[2] * x2) >> 8;
    } else if constexpr (sizeof(S) == 2) {
        return static_cast<int32_t>(
            (int64_t{w[0]} * x0 + int64_t{w[1]} * x1 + int64_t{w[2]} * x2) >> 16);
    } else {
        return w[0] * (x0 >> 11) + w[1] * (x1 >> 11) + w[2] * (x2 >> 11);
    }
}

// dst: uint8_t, uint16_t, or bool for 1-bit rows.
template <class S, class D>
inline D grayTo(int32_t g) {
    if constexpr (sizeof(S) == 1) {
        if constexpr (std::is_same_v<D, bool>) return g >= 128;
        else if constexpr (sizeof(D) == 1) return static_cast<D>(g);
        else return static_cast<D>(g * 257);
    } else if constexpr (sizeof(S) == 2) {
        if constexpr (std::is_same_v<D, bool>) return g >= 32768;
        else if constexpr (sizeof(D) == 1) return static_cast<D>(g >> 8);
        else return static_cast<D>(g);
    } else {
        if constexpr (std::is_same_v<D, bool>) return g >= (1 << 28);
        else if constexpr (sizeof(D) == 1) return image::saturate<D>(g >> 21);
        else return image::saturate<D>(g >> 13);
    }
}

template <class S, class D>
inline void toGrayRow(const RowView& s, const RowView& d, size_t n, const GrayArgs& a) {
    for (size_t i = n; i-- > 0;) {
        const char* sp = s.data + static_cast<ptrdiff_t>(i) * s.pixelStep;
        const int32_t g = grayOf<S>(a.weight, loadValue<S>(sp), loadValue<S>(sp + s.channelStep),
                                    loadValue<S>(sp + 2 * s.channelStep));
        const D v = grayTo<S, D>(g);
        if constexpr (std::is_same_v<D, bool>)
            putBit(d.data, static_cast<size_t>(d.bit) + i, v);
        else
            storeValue(d.data + static_cast<ptrdiff_t>(i) * d.pixelStep, v);
    }
}

// Grey value of pixel i of a grey row: S is uint8_t, uint16_t, int32_t, or
// bool for 1-bit rows (0 or 255).
template <class S>
inline int64_t grayAt(const RowView& s, size_t i) {
    if constexpr (std::is_same_v<S, bool>)
        return bitAt(s.data, static_cast<size_t>(s.bit) + i) ? 255 : 0;
    else
        return loadValue<S>(s.data + static_cast<ptrdiff_t>(i) * s.pixelStep);
}

template <class S, class D>
inline void fromGrayRow(const RowView& s, const RowView& d, size_t n, const SpreadArgs& a) {
    char* dp = d.data;
    for (size_t i = 0; i < n; ++i, dp += d.pixelStep) {
        const int64_t g = grayAt<S>(s, i);
        for (int c = 0; c < 3; ++c) {
            const int64_t half = int64_t{1} << (a.shift[c] - 1);
            storeValue(dp + c * d.channelStep,
                       image::saturate<D>((g * a.factor[c] + half) >> a.shift[c]));
        }
    }
}

}  // namespace ozl::color
