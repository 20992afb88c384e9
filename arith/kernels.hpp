// Row kernels of the pixel-wise operations: the scalar form of every operation
// (also the reference the vector forms are tested against) and the table of
// run kernels per instruction-set level.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "frame/cpu.hpp"

namespace ozl::arith {

enum class Op : uint8_t {
    Add, Sub, Mul, MulScale,   // two images, saturating
    And, Or, Xor, AndNot,      // two images, bitwise (AndNot: a & ~b, the 1-bit subtract)
    AndS, OrS, XorS,           // image and constant
    LShift, RShift,            // image and shift count
    Set,                       // constant only
    Count
};

// Value type of a kernel. Bitwise operations use the unsigned type of the width.
enum class Elem : uint8_t { U8, S8, U16, S16, S32, F32, Count };

constexpr int kOpCount = static_cast<int>(Op::Count);
constexpr int kElemCount = static_cast<int>(Elem::Count);

// The constant of AndS/OrS/XorS/Set (already reduced to the element's bits) and
// the shift count of LShift/RShift.
struct OpArgs {
    int32_t value = 0;
    int32_t shift = 0;
};

// d[i] = op(a[i], b[i]) for two-image operations, op(a[i], args) for constant
// operations and shifts, args.value for Set. Pointers may be unaligned (element
// aligned); d may equal a or b.
using RunFn = void (*)(const void* a, const void* b, void* d, size_t n, const OpArgs& args);

// Writes nPix pixels of nCh values from src (contiguous) into d (contiguous)
// where the pixel's mask bit is set. Mask bits are most significant first,
// starting at bit maskBit of mask[0].
using BlendFn = void (*)(void* d, const void* src, size_t nPix, int nCh, const uint8_t* mask,
                         int maskBit);

struct KernelTable {
    RunFn run[kOpCount][kElemCount] = {};
    BlendFn blend[3] = {};  // by element size: 1, 2, 4 bytes
};

// Tables per level; entries a level has no vector form for come from the
// scalar table.
const KernelTable& refTable();
const KernelTable& sse2Table();
const KernelTable& avx2Table();
const KernelTable& tableFor(cpu::Level level);
inline const KernelTable& activeTable() { return tableFor(cpu::active()); }

inline int blendIndex(size_t elemSize) { return elemSize == 1 ? 0 : elemSize == 2 ? 1 : 2; }

// ---------------------------------------------------------------------------
// Scalar forms. `static` so that every instruction-set file keeps its own copy
// compiled for its own target.

template <class T> struct ElemOf;
template <> struct ElemOf<uint8_t> { static constexpr Elem value = Elem::U8; };
template <> struct ElemOf<int8_t> { static constexpr Elem value = Elem::S8; };
template <> struct ElemOf<uint16_t> { static constexpr Elem value = Elem::U16; };
template <> struct ElemOf<int16_t> { static constexpr Elem value = Elem::S16; };
template <> struct ElemOf<int32_t> { static constexpr Elem value = Elem::S32; };
template <> struct ElemOf<float> { static constexpr Elem value = Elem::F32; };

template <class T>
static inline T saturate(int64_t v) {
    constexpr int64_t lo = std::numeric_limits<T>::min();
    constexpr int64_t hi = std::numeric_limits<T>::max();
    return static_cast<T>(v < lo ? lo : v > hi ? hi : v);
}

// 32S product: formed in double precision, clamped, truncated toward zero.
static inline int32_t mulSat32(int32_t a, int32_t b) {
    const double p = static_cast<double>(a) * static_cast<double>(b);
    if (p > 2147483647.0) return INT32_MAX;
    if (p < -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(p);
}

template <Op op, class T>
static inline T scalarOp(T a, T b, const OpArgs& args) {
    if constexpr (op == Op::Add || op == Op::Sub || op == Op::Mul) {
        if constexpr (std::is_same_v<T, float>) {
            return op == Op::Add ? a + b : op == Op::Sub ? a - b : a * b;
        } else if constexpr (std::is_same_v<T, int32_t>) {
            if constexpr (op == Op::Mul) return mulSat32(a, b);
            const int64_t r = op == Op::Add ? int64_t{a} + b : int64_t{a} - b;
            return saturate<int32_t>(r);
        } else {
            const int64_t r = op == Op::Add ? int64_t{a} + b
                              : op == Op::Sub ? int64_t{a} - b
                                              : int64_t{a} * b;
            return saturate<T>(r);
        }
    } else if constexpr (op == Op::MulScale) {
        // Rounded quotient by the depth's maximum: (p + (p >> bits) + 1) >> bits.
        constexpr int bits = sizeof(T) * 8;
        const uint32_t p = static_cast<uint32_t>(a) * static_cast<uint32_t>(b);
        return static_cast<T>((p + (p >> bits) + 1) >> bits);
    } else if constexpr (op == Op::And) {
        return static_cast<T>(a & b);
    } else if constexpr (op == Op::Or) {
        return static_cast<T>(a | b);
    } else if constexpr (op == Op::Xor) {
        return static_cast<T>(a ^ b);
    } else if constexpr (op == Op::AndNot) {
        return static_cast<T>(a & ~b);
    } else if constexpr (op == Op::AndS) {
        return static_cast<T>(a & static_cast<T>(args.value));
    } else if constexpr (op == Op::OrS) {
        return static_cast<T>(a | static_cast<T>(args.value));
    } else if constexpr (op == Op::XorS) {
        return static_cast<T>(a ^ static_cast<T>(args.value));
    } else if constexpr (op == Op::LShift) {
        using U = std::make_unsigned_t<T>;
        return static_cast<T>(static_cast<U>(static_cast<U>(a) << args.shift));
    } else if constexpr (op == Op::RShift) {
        // Signed types shift arithmetically, unsigned logically.
        return static_cast<T>(a >> args.shift);
    } else {
        static_assert(op == Op::Set);
        T v;
        std::memcpy(&v, &args.value, sizeof(T));  // low bytes on little-endian
        return v;
    }
}

// The plain loop over a run: the scalar reference, and the finishing loop of
// every vector kernel.
template <Op op, class T>
static inline void scalarRun(const T* a, const T* b, T* d, size_t n, const OpArgs& args) {
    for (size_t i = 0; i < n; ++i)
        d[i] = scalarOp<op, T>(a ? a[i] : T{}, b ? b[i] : T{}, args);
}

// Reference blend: one pixel at a time.
template <class T>
static inline void scalarBlend(T* d, const T* src, size_t nPix, int nCh, const uint8_t* mask,
                               int maskBit) {
    for (size_t p = 0; p < nPix; ++p) {
        const size_t bit = static_cast<size_t>(maskBit) + p;
        if ((mask[bit >> 3] >> (7 - (bit & 7))) & 1)
            for (int c = 0; c < nCh; ++c) d[p * nCh + c] = src[p * nCh + c];
    }
}

// Which element types each operation has kernels for.
constexpr bool hasKernel(Op op, Elem e) {
    switch (op) {
        case Op::Add: case Op::Sub: case Op::Mul: return true;
        case Op::MulScale: return e == Elem::U8 || e == Elem::U16;
        case Op::And: case Op::Or: case Op::Xor: case Op::AndNot:
        case Op::AndS: case Op::OrS: case Op::XorS:
            return e == Elem::U8 || e == Elem::U16 || e == Elem::S32;
        case Op::LShift: return e == Elem::U8 || e == Elem::U16 || e == Elem::S32;
        case Op::RShift: return e != Elem::F32;
        case Op::Set: return e == Elem::U8 || e == Elem::U16 || e == Elem::S32;
        default: return false;
    }
}

}  // namespace ozl::arith

namespace ozl::arith {

template <Op op, class F>
inline void forEachKernelOfOp(F& f) {
    auto perType = [&](auto tag) {
        using T = decltype(tag);
        if constexpr (hasKernel(op, ElemOf<T>::value)) f(std::integral_constant<Op, op>{}, tag);
    };
    perType(uint8_t{}); perType(int8_t{}); perType(uint16_t{});
    perType(int16_t{}); perType(int32_t{}); perType(float{});
}

template <class F, size_t... I>
inline void forEachKernelImpl(F& f, std::index_sequence<I...>) {
    (forEachKernelOfOp<static_cast<Op>(I)>(f), ...);
}

// Calls f(std::integral_constant<Op, op>{}, T{}) for every operation and element
// type that has a kernel; used to fill the tables.
template <class F>
inline void forEachKernel(F&& f) {
    forEachKernelImpl(f, std::make_index_sequence<kOpCount>{});
}

}  // namespace ozl::arith
