// Scalar forms of the conversion family's value operations: the reference
// the vector forms match bit for bit, and the finishing loop of each of them.
// `static` throughout, so that every instruction-set file keeps a copy
// compiled for its own target.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "image/depth.hpp"

namespace ozl::convert {

// A float rounded to nearest (ties to even, the processor's default mode, as
// the vector conversions round) and saturated to an integer type; NaN gives 0.
// The bounds are tested before rounding: every bound of a type below 32 bits
// is a float exactly, so clamping first gives what saturating afterwards would.
template <class D>
static inline D floatToInt(float x) {
    static_assert(std::is_integral_v<D>);
    if (x != x) return 0;
    if constexpr (sizeof(D) == 4) {
        if (x >= 2147483648.0f) return INT32_MAX;
        if (x <= -2147483648.0f) return INT32_MIN;
        return static_cast<D>(std::nearbyint(x));
    } else {
        constexpr float lo = static_cast<float>(std::numeric_limits<D>::min());
        constexpr float hi = static_cast<float>(std::numeric_limits<D>::max());
        x = x < lo ? lo : x > hi ? hi : x;
        return static_cast<D>(std::nearbyint(x));
    }
}

// One value of type S as type D: integers saturate, floats round as above,
// integers become the nearest float.
template <class S, class D>
static inline D convertValue(S v) {
    if constexpr (std::is_same_v<S, D>) return v;
    else if constexpr (std::is_same_v<D, float>) return static_cast<float>(v);
    else if constexpr (std::is_same_v<S, float>) return floatToInt<D>(v);
    else return image::saturate<D>(static_cast<int64_t>(v));
}

// The linear map between an integer range and a float range, either way:
// r = ((x - from) / fromSpan) * toSpan + to, in single precision, where x is
// the source value as a float. An integer destination takes r as floatToInt
// does. The division keeps both ends of the range exact.
struct LinearArgs {
    float from = 0.0f, fromSpan = 1.0f, toSpan = 1.0f, to = 0.0f;
};

template <class S, class D>
static inline D mapLinear(S v, const LinearArgs& m) {
    const float x = static_cast<float>(v);
    const float r = (x - m.from) / m.fromSpan * m.toSpan + m.to;
    if constexpr (std::is_same_v<D, float>) return r;
    else return floatToInt<D>(r);
}

// The full-range map between two integer ranges, rounded to nearest:
// to + ((v - from) * toSpan + fromSpan / 2) / fromSpan, exact in 64 bits
// (the spans are below 2^32, so the product stays below 2^64). The spans are
// odd (2^k - 1), so the quotient never lies half-way between two integers.
struct RangeArgs {
    int64_t from = 0, to = 0;
    uint64_t fromSpan = 1, toSpan = 1;
};

template <class S, class D>
static inline D mapRange(S v, const RangeArgs& m) {
    const uint64_t offset = static_cast<uint64_t>(static_cast<int64_t>(v) - m.from);
    const uint64_t q = (offset * m.toSpan + m.fromSpan / 2) / m.fromSpan;
    return static_cast<D>(m.to + static_cast<int64_t>(q));
}

// Values at or above the threshold become `high`, the others 0. The entry
// point brings the threshold into the type's range: one below the range
// selects every value (level kept), one above it none (level 0).
struct ThresholdArgs {
    int32_t level = 0;  // the threshold, within the type's range
    int32_t high = 0;   // what a selected value becomes (0 when none can be)
};

template <class T>
static inline T thresholdValue(T v, const ThresholdArgs& t) {
    return static_cast<T>(static_cast<int32_t>(v) >= t.level ? t.high : 0);
}

// The top bits of an unsigned value: the low `drop` bits cleared.
struct ReduceArgs {
    uint32_t keep = 0;  // mask of the bits kept
};

template <class T>
static inline T reduceValue(T v, const ReduceArgs& r) {
    return static_cast<T>(v & r.keep);
}

}  // namespace ozl::convert
