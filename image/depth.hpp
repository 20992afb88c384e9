// The depth table: for every pixel depth, its C++ value type, its range and
// its clamp. Kernels are templates over the value type; entry points map a
// header's depth to the type here and nowhere else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "ozl.h"

namespace ozl::image {

// Value types of the multi-bit depths, in table order. 1-bit images are rows
// of packed bits and have no value type.
enum class Elem : uint8_t { U8, S8, U16, S16, S32, F32, Count };
constexpr int kElemCount = static_cast<int>(Elem::Count);

template <class T> struct ElemOf;
template <> struct ElemOf<uint8_t> { static constexpr Elem value = Elem::U8; };
template <> struct ElemOf<int8_t> { static constexpr Elem value = Elem::S8; };
template <> struct ElemOf<uint16_t> { static constexpr Elem value = Elem::U16; };
template <> struct ElemOf<int16_t> { static constexpr Elem value = Elem::S16; };
template <> struct ElemOf<int32_t> { static constexpr Elem value = Elem::S32; };
template <> struct ElemOf<float> { static constexpr Elem value = Elem::F32; };

// One row of the table.
struct DepthInfo {
    uint32_t depth;
    Elem elem;        // meaningless for 1U
    int bytes;        // bytes per value; 0 for 1U (bits)
    bool isSigned;
    bool isFloat;
    int64_t lo, hi;   // range of the values; 32F holds the 32S range as a bound for constants
};

inline constexpr DepthInfo kDepths[] = {
    {OZL_DEPTH_1U, Elem::U8, 0, false, false, 0, 1},
    {OZL_DEPTH_8U, Elem::U8, 1, false, false, 0, 255},
    {OZL_DEPTH_8S, Elem::S8, 1, true, false, -128, 127},
    {OZL_DEPTH_16U, Elem::U16, 2, false, false, 0, 65535},
    {OZL_DEPTH_16S, Elem::S16, 2, true, false, -32768, 32767},
    {OZL_DEPTH_32S, Elem::S32, 4, true, false, INT32_MIN, INT32_MAX},
    {OZL_DEPTH_32F, Elem::F32, 4, true, true, INT32_MIN, INT32_MAX},
};

// The row of a legal depth; nullptr for any other value.
constexpr const DepthInfo* depthInfo(uint32_t depth) {
    for (const DepthInfo& d : kDepths)
        if (d.depth == depth) return &d;
    return nullptr;
}

// Value type of a multi-bit depth (8U for 1U: the byte that holds the bits).
constexpr Elem elemOf(uint32_t depth) {
    const DepthInfo* d = depthInfo(depth);
    return d ? d->elem : Elem::U8;
}

constexpr size_t elemBytes(Elem e) {
    return e == Elem::U8 || e == Elem::S8 ? 1 : e == Elem::U16 || e == Elem::S16 ? 2 : 4;
}

// The value type of the same width with no sign: bitwise operations, fills and
// copies treat signed and unsigned values of one width alike.
constexpr Elem bitsElemOf(uint32_t depth) {
    switch (depth & ~OZL_DEPTH_SIGN) {
        case 16: return Elem::U16;
        case 32: return Elem::S32;
        default: return Elem::U8;
    }
}

// An integer clamped to the range of an integer depth (1U: 0..1); 32-bit
// depths keep it as it is.
constexpr int32_t clampToDepth(int64_t value, uint32_t depth) {
    const DepthInfo* d = depthInfo(depth);
    if (!d) return static_cast<int32_t>(value);
    const int64_t v = value < d->lo ? d->lo : value > d->hi ? d->hi : value;
    return static_cast<int32_t>(v);
}

// Saturation of a wide integer to a value type.
template <class T>
constexpr T saturate(int64_t v) {
    static_assert(std::is_integral_v<T>);
    constexpr int64_t lo = std::numeric_limits<T>::min();
    constexpr int64_t hi = std::numeric_limits<T>::max();
    return static_cast<T>(v < lo ? lo : v > hi ? hi : v);
}

// Calls f(T{}) with the value type of a multi-bit depth and returns true;
// returns false for 1U and for illegal depths.
template <class F>
bool withValueType(uint32_t depth, F&& f) {
    switch (depth) {
        case OZL_DEPTH_8U: f(uint8_t{}); return true;
        case OZL_DEPTH_8S: f(int8_t{}); return true;
        case OZL_DEPTH_16U: f(uint16_t{}); return true;
        case OZL_DEPTH_16S: f(int16_t{}); return true;
        case OZL_DEPTH_32S: f(int32_t{}); return true;
        case OZL_DEPTH_32F: f(float{}); return true;
        default: return false;
    }
}

// Calls f(T{}) for every value type, in table order.
template <class F>
void forEachValueType(F&& f) {
    f(uint8_t{}); f(int8_t{}); f(uint16_t{}); f(int16_t{}); f(int32_t{}); f(float{});
}

// One value read or written through memcpy: rows of caller-supplied data need
// not be aligned to their value size. Internal linkage, so that each
// instruction-set file keeps the copy compiled for its own target.
namespace {

template <class T>
inline T loadValue(const char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class T>
inline void storeValue(char* p, T v) {
    std::memcpy(p, &v, sizeof v);
}

}  // namespace

}  // namespace ozl::image
