// Run kernels of the arithmetic and logic family: the scalar form of every
// operation (also the reference the vector forms are tested against) and the
// table of run kernels per instruction-set level.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "core/pixelwise.hpp"
#include "frame/cpu.hpp"
#include "image/depth.hpp"

namespace ozl::arith {

using image::Elem;
using image::ElemOf;
using image::kElemCount;

enum class Op : uint8_t {
    Add, Sub, Mul, MulScale,   // two images, saturating
    And, Or, Xor, AndNot,      // two images, bitwise (AndNot: a & ~b, the 1-bit subtract)
    AndS, OrS, XorS,           // image and constant, bitwise
    LShift, RShift,            // image and shift count
    AddC, SubC, RevSubC,       // a + c, a - c, c - a, saturating
    MulC, MulScaleC,           // a * c saturating; a * c / max rounded
    Abs, Square,               // one image
    Count
};
constexpr int kOpCount = static_cast<int>(Op::Count);

// The constant of a call: `value` for integer images (already brought into the
// range its kernels need), `real` for float images, `shift` for the shifts.
struct OpArgs {
    int32_t value = 0;
    int32_t shift = 0;
    float real = 0.0f;
};

// d[i] = op(a[i], b[i]) for two-image operations, op(a[i], args) for the
// others. Pointers may be unaligned (element aligned); d may equal a or b.
using RunFn = void (*)(const void* a, const void* b, void* d, size_t n, const void* args);

struct KernelTable {
    RunFn run[kOpCount][kElemCount] = {};
    // Pixel kernels of the compositing module, 8U then 16U (arith/composite_kernels.hpp).
    core::PixelFn composite[2] = {};
    core::PixelFn premultiply[2] = {};
};

const KernelTable& kernelTable(cpu::Level level);
inline const KernelTable& activeTable() { return kernelTable(cpu::active()); }

// Which value types each operation has kernels for. Bitwise operations use the
// unsigned type of the width (and int32 for 32 bits).
constexpr bool hasKernel(Op op, Elem e) {
    const bool bitwiseType = e == Elem::U8 || e == Elem::U16 || e == Elem::S32;
    switch (op) {
        case Op::Add: case Op::Sub: case Op::Mul: return true;
        case Op::MulScale: case Op::MulScaleC: return e == Elem::U8 || e == Elem::U16;
        case Op::And: case Op::Or: case Op::Xor: case Op::AndNot:
        case Op::AndS: case Op::OrS: case Op::XorS: case Op::LShift:
            return bitwiseType;
        case Op::RShift: return e != Elem::F32;
        case Op::AddC: case Op::SubC: case Op::RevSubC: case Op::MulC: case Op::Square:
            return true;
        case Op::Abs: return e == Elem::S8 || e == Elem::S16 || e == Elem::S32 || e == Elem::F32;
        default: return false;
    }
}

// ---------------------------------------------------------------------------
// Scalar forms. `static` so that every instruction-set file keeps its own copy
// compiled for its own target.

using image::saturate;

// 32S product: formed in double precision, clamped, truncated toward zero.
static inline int32_t mulSat32(int32_t a, int32_t b) {
    const double p = static_cast<double>(a) * static_cast<double>(b);
    if (p > 2147483647.0) return INT32_MAX;
    if (p < -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(p);
}

// Rounded quotient by the depth's maximum: (p + (p >> bits) + 1) >> bits.
template <class T>
static inline T mulScale(uint32_t a, uint32_t b) {
    constexpr int bits = sizeof(T) * 8;
    const uint32_t p = a * b;
    return static_cast<T>((p + (p >> bits) + 1) >> bits);
}

// Absolute value of a float: the sign bit cleared, so that the vector form
// (a bitwise AND) matches it for every input, NaN included.
static inline float absBits(float a) {
    uint32_t u;
    std::memcpy(&u, &a, sizeof u);
    u &= 0x7FFFFFFFu;
    std::memcpy(&a, &u, sizeof u);
    return a;
}

template <Op op, class T>
static inline T scalarOp(T a, T b, const OpArgs& args) {
    constexpr bool isFloat = std::is_same_v<T, float>;
    if constexpr (op == Op::Add || op == Op::Sub || op == Op::Mul) {
        if constexpr (isFloat) {
            return op == Op::Add ? a + b : op == Op::Sub ? a - b : a * b;
        } else if constexpr (op == Op::Mul && std::is_same_v<T, int32_t>) {
            return mulSat32(a, b);
        } else {
            const int64_t r = op == Op::Add ? int64_t{a} + b
                              : op == Op::Sub ? int64_t{a} - b
                                              : int64_t{a} * b;
            return saturate<T>(r);
        }
    } else if constexpr (op == Op::MulScale) {
        return mulScale<T>(a, b);
    } else if constexpr (op == Op::MulScaleC) {
        // Constants beyond the depth's range are taken at its limits.
        constexpr int32_t max = std::numeric_limits<T>::max();
        const int32_t c = args.value < 0 ? 0 : args.value > max ? max : args.value;
        return mulScale<T>(a, static_cast<uint32_t>(c));
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
    } else if constexpr (op == Op::AddC || op == Op::SubC || op == Op::RevSubC) {
        if constexpr (isFloat) {
            const float c = args.real;
            return op == Op::AddC ? a + c : op == Op::SubC ? a - c : c - a;
        } else {
            const int64_t c = args.value;
            return saturate<T>(op == Op::AddC ? a + c : op == Op::SubC ? a - c : c - a);
        }
    } else if constexpr (op == Op::MulC) {
        if constexpr (isFloat) return a * args.real;
        else if constexpr (std::is_same_v<T, int32_t>) return mulSat32(a, args.value);
        else return saturate<T>(int64_t{a} * args.value);
    } else if constexpr (op == Op::Abs) {
        if constexpr (isFloat) return absBits(a);
        else return saturate<T>(a < 0 ? -int64_t{a} : int64_t{a});
    } else {
        static_assert(op == Op::Square);
        return scalarOp<Op::Mul, T>(a, a, args);
    }
}

// The plain loop over a run: the scalar reference, and the finishing loop of
// every vector kernel.
template <Op op, class T>
static inline void scalarRun(const T* a, const T* b, T* d, size_t n, const OpArgs& args) {
    for (size_t i = 0; i < n; ++i)
        d[i] = scalarOp<op, T>(a ? a[i] : T{}, b ? b[i] : T{}, args);
}

// Sources an operation reads: 2, or 1 (the image, with a constant or alone).
constexpr int arity(Op op) {
    return op <= Op::AndNot ? 2 : 1;
}

template <Op op, class F>
inline void forEachKernelOfOp(F& f) {
    image::forEachValueType([&](auto tag) {
        using T = decltype(tag);
        if constexpr (hasKernel(op, ElemOf<T>::value)) f(std::integral_constant<Op, op>{}, tag);
    });
}

template <class F, size_t... I>
inline void forEachKernelImpl(F& f, std::index_sequence<I...>) {
    (forEachKernelOfOp<static_cast<Op>(I)>(f), ...);
}

// Calls f(std::integral_constant<Op, op>{}, T{}) for every operation and value
// type that has a kernel; used to fill the tables.
template <class F>
inline void forEachKernel(F&& f) {
    forEachKernelImpl(f, std::make_index_sequence<kOpCount>{});
}

}  // namespace ozl::arith
