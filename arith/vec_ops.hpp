// Vector and scalar forms of every run kernel, one struct per operation,
// written once over the vector layer Vx (Sse2 or Avx2). The scalar form forwards
// to scalarOp, so a vector form only has to reproduce it bit for bit.
//
// Internal linkage throughout (see vec_sse2.hpp): each instruction-set file gets
// its own instantiations.
#pragma once

#include <cstdint>
#include <type_traits>

#include "arith/kernels.hpp"

namespace ozl::arith {
namespace {

// Vector type of an element type: float vectors for float, else integer.
template <class Vx, class T> struct VecOf { using type = typename Vx::V; };
template <class Vx> struct VecOf<Vx, float> { using type = typename Vx::VF; };

template <Op kOp, class Vx, class T, int kArity>
struct OpBase {
    using Elem = T;
    using V = typename VecOf<Vx, T>::type;
    static constexpr Op op = kOp;
    // Number of source runs the vector form reads: 2 (a, b), 1 (a) or 0.
    static constexpr int arity = kArity;
    static T r(T a, T b, const OpArgs& args) { return scalarOp<kOp, T>(a, b, args); }
    static V load(const T* p) {
        if constexpr (std::is_same_v<T, float>) return Vx::loadF(p);
        else return Vx::load(p);
    }
};

// The element's bits replicated across a vector.
template <class Vx, class T>
typename Vx::V splat(int32_t v) {
    if constexpr (sizeof(T) == 1) return Vx::set8(v);
    else if constexpr (sizeof(T) == 2) return Vx::set16(v);
    else return Vx::set32(v);
}

// 32S sum or difference s of a and b: on overflow the true result lies beyond
// the limit on a's side, so it saturates to INT32_MAX or INT32_MIN by a's sign.
template <class Vx>
typename Vx::V saturateS32(typename Vx::V a, typename Vx::V s, typename Vx::V overflow) {
    const auto limit = Vx::xor_(Vx::template srai32<31>(a), Vx::set32(INT32_MAX));
    return Vx::select(Vx::template srai32<31>(overflow), limit, s);
}

template <Op op, class Vx, class T> struct VecOp;

template <class Vx, class T>
struct VecOp<Op::Add, Vx, T> : OpBase<Op::Add, Vx, T, 2> {
    using typename OpBase<Op::Add, Vx, T, 2>::V;
    using OpBase<Op::Add, Vx, T, 2>::r;
    explicit VecOp(const OpArgs&) {}
    V r(V a, V b) const {
        if constexpr (std::is_same_v<T, uint8_t>) return Vx::addsU8(a, b);
        else if constexpr (std::is_same_v<T, int8_t>) return Vx::addsS8(a, b);
        else if constexpr (std::is_same_v<T, uint16_t>) return Vx::addsU16(a, b);
        else if constexpr (std::is_same_v<T, int16_t>) return Vx::addsS16(a, b);
        else if constexpr (std::is_same_v<T, float>) return Vx::addF(a, b);
        else {
            const V s = Vx::add32(a, b);
            // Overflow when a and b agree in sign and s does not.
            return saturateS32<Vx>(a, s, Vx::and_(Vx::xor_(a, s), Vx::xor_(b, s)));
        }
    }
};

template <class Vx, class T>
struct VecOp<Op::Sub, Vx, T> : OpBase<Op::Sub, Vx, T, 2> {
    using typename OpBase<Op::Sub, Vx, T, 2>::V;
    using OpBase<Op::Sub, Vx, T, 2>::r;
    explicit VecOp(const OpArgs&) {}
    V r(V a, V b) const {
        if constexpr (std::is_same_v<T, uint8_t>) return Vx::subsU8(a, b);
        else if constexpr (std::is_same_v<T, int8_t>) return Vx::subsS8(a, b);
        else if constexpr (std::is_same_v<T, uint16_t>) return Vx::subsU16(a, b);
        else if constexpr (std::is_same_v<T, int16_t>) return Vx::subsS16(a, b);
        else if constexpr (std::is_same_v<T, float>) return Vx::subF(a, b);
        else {
            const V s = Vx::sub32(a, b);
            // Overflow when a and b differ in sign and s differs from a.
            return saturateS32<Vx>(a, s, Vx::and_(Vx::xor_(a, b), Vx::xor_(a, s)));
        }
    }
};

template <class Vx, class T>
struct VecOp<Op::Mul, Vx, T> : OpBase<Op::Mul, Vx, T, 2> {
    using typename OpBase<Op::Mul, Vx, T, 2>::V;
    using OpBase<Op::Mul, Vx, T, 2>::r;
    explicit VecOp(const OpArgs&) {}
    V r(V a, V b) const {
        if constexpr (std::is_same_v<T, uint8_t>) {
            // 16-bit products (at most 65025), lowered to 255 before the pack,
            // whose saturation is signed.
            const V z = Vx::zero(), c255 = Vx::set16(255);
            V lo = Vx::mullo16(Vx::unpackLo8(a, z), Vx::unpackLo8(b, z));
            V hi = Vx::mullo16(Vx::unpackHi8(a, z), Vx::unpackHi8(b, z));
            lo = Vx::sub16(lo, Vx::subsU16(lo, c255));
            hi = Vx::sub16(hi, Vx::subsU16(hi, c255));
            return Vx::packUS16(lo, hi);
        } else if constexpr (std::is_same_v<T, int8_t>) {
            // Sign-extended to 16 bits: products fit, the pack clamps.
            const V lo = Vx::mullo16(Vx::template srai16<8>(Vx::unpackLo8(a, a)),
                                     Vx::template srai16<8>(Vx::unpackLo8(b, b)));
            const V hi = Vx::mullo16(Vx::template srai16<8>(Vx::unpackHi8(a, a)),
                                     Vx::template srai16<8>(Vx::unpackHi8(b, b)));
            return Vx::packS16(lo, hi);
        } else if constexpr (std::is_same_v<T, uint16_t>) {
            // Any nonzero high half of the 32-bit product saturates.
            const V lo = Vx::mullo16(a, b);
            const V hiZero = Vx::cmpeq16(Vx::mulhiU16(a, b), Vx::zero());
            return Vx::or_(lo, Vx::andNot(Vx::ones(), hiZero));
        } else if constexpr (std::is_same_v<T, int16_t>) {
            const V lo = Vx::mullo16(a, b), hi = Vx::mulhiS16(a, b);
            return Vx::packS32(Vx::unpackLo16(lo, hi), Vx::unpackHi16(lo, hi));
        } else if constexpr (std::is_same_v<T, float>) {
            return Vx::mulF(a, b);
        } else {
            return Vx::mulSatS32(a, b);
        }
    }
};

template <class Vx, class T>
struct VecOp<Op::MulScale, Vx, T> : OpBase<Op::MulScale, Vx, T, 2> {
    using typename OpBase<Op::MulScale, Vx, T, 2>::V;
    using OpBase<Op::MulScale, Vx, T, 2>::r;
    explicit VecOp(const OpArgs&) {}
    V r(V a, V b) const {
        if constexpr (std::is_same_v<T, uint8_t>) {
            // p + (p >> 8) + 1 stays below 65536 for p <= 255 * 255.
            const V z = Vx::zero(), one = Vx::set16(1);
            V lo = Vx::mullo16(Vx::unpackLo8(a, z), Vx::unpackLo8(b, z));
            V hi = Vx::mullo16(Vx::unpackHi8(a, z), Vx::unpackHi8(b, z));
            lo = Vx::template srli16<8>(Vx::add16(Vx::add16(lo, Vx::template srli16<8>(lo)), one));
            hi = Vx::template srli16<8>(Vx::add16(Vx::add16(hi, Vx::template srli16<8>(hi)), one));
            return Vx::packUS16(lo, hi);
        } else {
            static_assert(std::is_same_v<T, uint16_t>);
            // With p = hi * 65536 + lo, (p + hi + 1) >> 16 is hi plus the carry
            // of lo + hi + 1, which is set exactly when lo + hi >= 65535.
            const V lo = Vx::mullo16(a, b), hi = Vx::mulhiU16(a, b);
            const V carry = Vx::cmpeq16(Vx::addsU16(lo, hi), Vx::ones());
            return Vx::sub16(hi, carry);
        }
    }
};

template <Op kOp, class Vx, class T>
struct BitwiseOp : OpBase<kOp, Vx, T, 2> {
    using typename OpBase<kOp, Vx, T, 2>::V;
    using OpBase<kOp, Vx, T, 2>::r;
    explicit BitwiseOp(const OpArgs&) {}
    V r(V a, V b) const {
        if constexpr (kOp == Op::And) return Vx::and_(a, b);
        else if constexpr (kOp == Op::Or) return Vx::or_(a, b);
        else if constexpr (kOp == Op::Xor) return Vx::xor_(a, b);
        else return Vx::andNot(a, b);
    }
};
template <class Vx, class T> struct VecOp<Op::And, Vx, T> : BitwiseOp<Op::And, Vx, T> {
    using BitwiseOp<Op::And, Vx, T>::BitwiseOp;
};
template <class Vx, class T> struct VecOp<Op::Or, Vx, T> : BitwiseOp<Op::Or, Vx, T> {
    using BitwiseOp<Op::Or, Vx, T>::BitwiseOp;
};
template <class Vx, class T> struct VecOp<Op::Xor, Vx, T> : BitwiseOp<Op::Xor, Vx, T> {
    using BitwiseOp<Op::Xor, Vx, T>::BitwiseOp;
};
template <class Vx, class T> struct VecOp<Op::AndNot, Vx, T> : BitwiseOp<Op::AndNot, Vx, T> {
    using BitwiseOp<Op::AndNot, Vx, T>::BitwiseOp;
};

// Image and constant; Set ignores the source.
template <Op kOp, class Vx, class T>
struct ConstOp : OpBase<kOp, Vx, T, kOp == Op::Set ? 0 : 1> {
    using typename OpBase<kOp, Vx, T, kOp == Op::Set ? 0 : 1>::V;
    using OpBase<kOp, Vx, T, kOp == Op::Set ? 0 : 1>::r;
    explicit ConstOp(const OpArgs& args) : c(splat<Vx, T>(args.value)) {}
    V r(V a, V) const {
        if constexpr (kOp == Op::AndS) return Vx::and_(a, c);
        else if constexpr (kOp == Op::OrS) return Vx::or_(a, c);
        else if constexpr (kOp == Op::XorS) return Vx::xor_(a, c);
        else return c;
    }
    V c;
};
template <class Vx, class T> struct VecOp<Op::AndS, Vx, T> : ConstOp<Op::AndS, Vx, T> {
    using ConstOp<Op::AndS, Vx, T>::ConstOp;
};
template <class Vx, class T> struct VecOp<Op::OrS, Vx, T> : ConstOp<Op::OrS, Vx, T> {
    using ConstOp<Op::OrS, Vx, T>::ConstOp;
};
template <class Vx, class T> struct VecOp<Op::XorS, Vx, T> : ConstOp<Op::XorS, Vx, T> {
    using ConstOp<Op::XorS, Vx, T>::ConstOp;
};
template <class Vx, class T> struct VecOp<Op::Set, Vx, T> : ConstOp<Op::Set, Vx, T> {
    using ConstOp<Op::Set, Vx, T>::ConstOp;
};

// Shifts by a run-time count. There are no 8-bit shifts: bytes are shifted as
// 16-bit pairs and the bits that crossed between them are masked off (logical)
// or each byte is shifted in the high half of a 16-bit lane (arithmetic). Counts
// at or above the width give what the scalar form gives on the promoted value:
// zero, or the sign.
template <class Vx, class T>
struct VecOp<Op::LShift, Vx, T> : OpBase<Op::LShift, Vx, T, 1> {
    using typename OpBase<Op::LShift, Vx, T, 1>::V;
    using OpBase<Op::LShift, Vx, T, 1>::r;
    explicit VecOp(const OpArgs& args)
        : cnt(Vx::count(args.shift)),
          keep(Vx::set8(static_cast<uint32_t>(args.shift) < 8 ? (0xFF << args.shift) & 0xFF : 0)) {}
    V r(V a, V) const {
        if constexpr (sizeof(T) == 1) return Vx::and_(Vx::sll16(a, cnt), keep);
        else if constexpr (sizeof(T) == 2) return Vx::sll16(a, cnt);
        else return Vx::sll32(a, cnt);
    }
    decltype(Vx::count(0)) cnt;
    V keep;
};

template <class Vx, class T>
struct VecOp<Op::RShift, Vx, T> : OpBase<Op::RShift, Vx, T, 1> {
    using typename OpBase<Op::RShift, Vx, T, 1>::V;
    using OpBase<Op::RShift, Vx, T, 1>::r;
    explicit VecOp(const OpArgs& args)
        : cnt(Vx::count(args.shift)),
          keep(std::is_same_v<T, uint8_t>
                   ? Vx::set8(static_cast<uint32_t>(args.shift) < 8 ? 0xFF >> args.shift : 0)
                   : Vx::set16(static_cast<int16_t>(0xFF00))) {}
    V r(V a, V) const {
        if constexpr (std::is_same_v<T, uint8_t>) {
            return Vx::and_(Vx::srl16(a, cnt), keep);
        } else if constexpr (std::is_same_v<T, int8_t>) {
            // High byte in place, low byte moved up, shifted, and moved back.
            const V hi = Vx::and_(Vx::sra16(a, cnt), keep);
            const V lo = Vx::template srli16<8>(Vx::sra16(Vx::template slli16<8>(a), cnt));
            return Vx::or_(hi, lo);
        } else if constexpr (std::is_same_v<T, uint16_t>) {
            return Vx::srl16(a, cnt);
        } else if constexpr (std::is_same_v<T, int16_t>) {
            return Vx::sra16(a, cnt);
        } else {
            static_assert(std::is_same_v<T, int32_t>);
            return Vx::sra32(a, cnt);
        }
    }
    decltype(Vx::count(0)) cnt;
    V keep;
};

}  // namespace
}  // namespace ozl::arith
