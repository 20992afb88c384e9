// The scalar row kernels of the colour family, by conversion and depth, as
// the reference table holds them and the vector kernels finish their rows
// with them. Internal linkage: every instruction-set file keeps its own copy.
#pragma once

#include <type_traits>

#include "color/gray_ref.hpp"
#include "color/hsv_ref.hpp"
#include "color/kernels.hpp"
#include "color/linear_ref.hpp"
#include "color/luv_math.hpp"
#include "color/twist_ref.hpp"

namespace ozl::color {
namespace {

// Which depths each conversion takes.
constexpr bool takesDepth(Model m, Way w, Depth d) {
    switch (m) {
        case Model::Yuv: case Model::YCrCb: case Model::Xyz: return true;
        case Model::Hsv: case Model::Hls: return d != Depth::F32;
        case Model::Ycc: return w == Way::ToRgb && d == Depth::U8;
        case Model::Luv: return d == Depth::F32;
        default: return false;
    }
}

template <Model m, Way w, class T>
Px<T> convertPixel(Px<T> x) {
    constexpr bool from = w == Way::FromRgb;
    if constexpr (m == Model::Hsv) {
        if constexpr (from) return rgbToHsv(x); else return hsvToRgb(x);
    } else if constexpr (m == Model::Hls) {
        if constexpr (from) return rgbToHls(x); else return hlsToRgb(x);
    } else if constexpr (m == Model::Xyz) {
        if constexpr (from) return rgbToXyz(x); else return xyzToRgb(x);
    } else if constexpr (m == Model::Yuv) {
        if constexpr (from) return rgbToYuv(x); else return yuvToRgb(x);
    } else if constexpr (m == Model::YCrCb) {
        if constexpr (from) return rgbToYCrCb(x); else return yCrCbToRgb(x);
    } else if constexpr (m == Model::Ycc) {
        return yccToRgb(x);
    } else {
        static_assert(m == Model::Luv);
        if constexpr (from) return rgbToLuv(x); else return luvToRgb(x);
    }
}

template <Model m, Way w, class T>
void convertRowRef(const RowView* src, const RowView& dst, size_t n, const void* context) {
    const int red = static_cast<const ConvertArgs*>(context)->red;
    mapRow3<T>(src[0], dst, n, w, red, [](Px<T> x) { return convertPixel<m, w, T>(x); });
}

template <class T>
void twistFixedRef(const RowView* src, const RowView& dst, size_t n, const void* context) {
    twistFixedRow<T>(src[0], dst, n, *static_cast<const TwistArgs*>(context));
}

template <class T>
void twistGeneralRef(const RowView* src, const RowView& dst, size_t n, const void* context) {
    twistGeneralRow<T>(src[0], dst, n, *static_cast<const TwistArgs*>(context));
}

inline void twistRealRef(const RowView* src, const RowView& dst, size_t n, const void* context) {
    twistRealRow(src[0], dst, n, *static_cast<const TwistArgs*>(context));
}

template <class S, class D>
void toGrayRef(const RowView* src, const RowView& dst, size_t n, const void* context) {
    toGrayRow<S, D>(src[0], dst, n, *static_cast<const GrayArgs*>(context));
}

template <class S, class D>
void fromGrayRef(const RowView* src, const RowView& dst, size_t n, const void* context) {
    fromGrayRow<S, D>(src[0], dst, n, *static_cast<const SpreadArgs*>(context));
}

}  // namespace
}  // namespace ozl::color
