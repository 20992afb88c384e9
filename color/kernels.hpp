// Row kernels of the colour family: the colour-model conversions, the colour
// twist and colour to grey and back, as pixel kernels of the pixel-wise driver
// (each sees its operands' rows with their own pixel and channel steps), one
// table of them per instruction-set level. The scalar forms live in the
// *_ref.hpp headers beside this one; they are the reference every vector form
// is tested against bit for bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "core/pixelwise.hpp"
#include "frame/cpu.hpp"
#include "image/depth.hpp"

namespace ozl::color {

using core::PixelFn;
using core::RowView;
using image::Elem;

// The colour models a three-channel image converts to and from RGB.
enum class Model : uint8_t { Hsv, Hls, Xyz, Yuv, YCrCb, Ycc, Luv, Count };
constexpr int kModelCount = static_cast<int>(Model::Count);

enum class Way : uint8_t { FromRgb, ToRgb };

// Value types the colour kernels take, and their index in the tables.
enum class Depth : uint8_t { U8, U16, S32, F32, Count };
constexpr int kDepthCount = static_cast<int>(Depth::Count);

template <class T> constexpr Depth depthOf();
template <> constexpr Depth depthOf<uint8_t>() { return Depth::U8; }
template <> constexpr Depth depthOf<uint16_t>() { return Depth::U16; }
template <> constexpr Depth depthOf<int32_t>() { return Depth::S32; }
template <> constexpr Depth depthOf<float>() { return Depth::F32; }

// Context of a conversion: where red is on the RGB side (channel 0, or 2 for
// BGR order; blue is on the other end, green always channel 1).
struct ConvertArgs {
    int red = 0;
};

// Context of a colour twist, prepared once per call from the record.
struct TwistArgs {
    // The fixed-point path: 16-bit weights, the constant with the rounding
    // half (and, for 16U, the offset of the signed sample form) folded in, the
    // scale, and the output offset (the fourth argument).
    int16_t weight[3][3] = {};
    int32_t constant[3] = {};
    int shift = 0;
    int32_t bias = 0;  // within -32768..32767 on the fixed-point path
    // The general path: the matrix in double precision, already scaled.
    double matrix[3][4] = {};
    // ozlColorTwistFP: the float matrix.
    float real[3][4] = {};
};

// Context of colour to grey: the integer weight of each source channel in
// channel order (red and blue already placed).
struct GrayArgs {
    int32_t weight[3] = {};
};

// Context of grey to colour: each destination channel's factor and shift.
struct SpreadArgs {
    int32_t factor[3] = {};
    int shift[3] = {};
};

// Grey sides of colour to grey and back.
enum class Gray : uint8_t { U8, U16, S32, Bits, Count };
constexpr int kGrayCount = static_cast<int>(Gray::Count);

struct ColorTable {
    // [model][way][depth]; null where a model does not take a depth.
    PixelFn convert[kModelCount][2][kDepthCount] = {};
    // Colour twist, 8U and 16U: the fixed-point path and the general one.
    PixelFn twistFixed[2] = {};
    PixelFn twistGeneral[2] = {};
    PixelFn twistReal = nullptr;
    // Colour to grey [source U8/U16/S32][destination U8/U16/Bits].
    PixelFn toGray[3][3] = {};
    // Grey to colour by source: U8, U16, S32, and Bits into 8U.
    PixelFn fromGray[kGrayCount] = {};
};

const ColorTable& colorTable(cpu::Level level);
// The scalar table, which every level's table starts from.
const ColorTable& referenceTable();

// Every vector table this processor runs, the AVX-512 one with and without
// the byte permutes: the tests compare each with the scalar table.
struct NamedTable {
    const char* name;
    const ColorTable* table;
};
std::vector<NamedTable> vectorTables();
inline const ColorTable& activeTable() { return colorTable(cpu::active()); }

// ---------------------------------------------------------------------------
// The scalar row loops every reference kernel and every vector tail use.

using image::loadValue;
using image::storeValue;

// A row view moved on by n pixels (not for 1-bit rows).
inline RowView advanced(const RowView& r, size_t n) {
    RowView out = r;
    out.data += static_cast<ptrdiff_t>(n) * r.pixelStep;
    return out;
}

template <class T>
struct Px {
    T v[3];
};

// Three channels in, three out; the RGB side is read or written in R, G, B
// order whatever its channel order. f(Px<T>) -> Px<T>.
template <class T, class F>
inline void mapRow3(const RowView& s, const RowView& d, size_t n, Way way, int red, F&& f) {
    const char* sp = s.data;
    char* dp = d.data;
    const bool swapIn = way == Way::FromRgb && red == 2;
    const bool swapOut = way == Way::ToRgb && red == 2;
    for (size_t i = 0; i < n; ++i, sp += s.pixelStep, dp += d.pixelStep) {
        Px<T> x{{loadValue<T>(sp), loadValue<T>(sp + s.channelStep),
                 loadValue<T>(sp + 2 * s.channelStep)}};
        if (swapIn) std::swap(x.v[0], x.v[2]);
        Px<T> y = f(x);
        if (swapOut) std::swap(y.v[0], y.v[2]);
        storeValue(dp, y.v[0]);
        storeValue(dp + d.channelStep, y.v[1]);
        storeValue(dp + 2 * d.channelStep, y.v[2]);
    }
}

}  // namespace ozl::color
