// Vector and scalar forms of every run kernel, one struct per operation,
// written once over the vector layer Vx (simd::Sse2 or simd::Avx2) in the shape
// simd::runLoop drives. The scalar form forwards to scalarOp, so a vector form
// only has to reproduce it bit for bit.
//
// Internal linkage throughout (see simd/sse2.hpp): each instruction-set file
// gets its own instantiations.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "arith/kernels.hpp"
#include "simd/run_loop.hpp"

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
    static T r(T a, T b, const void* args) {
        return scalarOp<kOp, T>(a, b, *static_cast<const OpArgs*>(args));
    }
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
    explicit VecOp(const void*) {}
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
    explicit VecOp(const void*) {}
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
    explicit VecOp(const void*) {}
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
    explicit VecOp(const void*) {}
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
    explicit BitwiseOp(const void*) {}
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

// Image and a bitwise constant.
template <Op kOp, class Vx, class T>
struct ConstOp : OpBase<kOp, Vx, T, 1> {
    using typename OpBase<kOp, Vx, T, 1>::V;
    using OpBase<kOp, Vx, T, 1>::r;
    explicit ConstOp(const void* args)
        : c(splat<Vx, T>(static_cast<const OpArgs*>(args)->value)) {}
    V r(V a, V) const {
        if constexpr (kOp == Op::AndS) return Vx::and_(a, c);
        else if constexpr (kOp == Op::OrS) return Vx::or_(a, c);
        else return Vx::xor_(a, c);
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

// Shifts by a run-time count. There are no 8-bit shifts: bytes are shifted as
// 16-bit pairs and the bits that crossed between them are masked off (logical)
// or each byte is shifted in the high half of a 16-bit lane (arithmetic). Counts
// at or above the width give what the scalar form gives on the promoted value:
// zero, or the sign.
template <class Vx, class T>
struct VecOp<Op::LShift, Vx, T> : OpBase<Op::LShift, Vx, T, 1> {
    using typename OpBase<Op::LShift, Vx, T, 1>::V;
    using OpBase<Op::LShift, Vx, T, 1>::r;
    explicit VecOp(const void* context) : VecOp(*static_cast<const OpArgs*>(context)) {}
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
    explicit VecOp(const void* context) : VecOp(*static_cast<const OpArgs*>(context)) {}
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

// The constant's value type splatted: float constants for float images.
template <class Vx, class T>
typename VecOf<Vx, T>::type splatArg(const OpArgs& args) {
    if constexpr (std::is_same_v<T, float>) return Vx::setF(args.real);
    else return splat<Vx, T>(args.value);
}

// An operation of two images with a constant as its second operand: MulC and
// MulScaleC are Mul and MulScale against a splatted constant (the entry points
// bring the constant into the range whose products the two-image kernels
// handle exactly), Square is Mul of the value with itself.
template <Op kOp, Op kBase, class Vx, class T>
struct WithConstant : OpBase<kOp, Vx, T, 1> {
    using typename OpBase<kOp, Vx, T, 1>::V;
    using OpBase<kOp, Vx, T, 1>::r;
    explicit WithConstant(const void* context)
        : base(context), c(splatArg<Vx, T>(limited(*static_cast<const OpArgs*>(context)))) {}
    // Unsigned factors beyond the depth's range act as its limits: a product
    // with a larger factor saturates wherever the one with the limit does.
    static OpArgs limited(OpArgs args) {
        if constexpr (std::is_unsigned_v<T>) {
            constexpr int32_t max = std::numeric_limits<T>::max();
            args.value = args.value < 0 ? 0 : args.value > max ? max : args.value;
        }
        return args;
    }
    V r(V a, V) const {
        if constexpr (kOp == Op::Square) return base.r(a, a);
        else return base.r(a, c);
    }
    VecOp<kBase, Vx, T> base;
    V c;
};

template <class Vx, class T> struct VecOp<Op::MulScaleC, Vx, T>
    : WithConstant<Op::MulScaleC, Op::MulScale, Vx, T> {
    using WithConstant<Op::MulScaleC, Op::MulScale, Vx, T>::WithConstant;
};
template <class Vx, class T> struct VecOp<Op::Square, Vx, T>
    : WithConstant<Op::Square, Op::Mul, Vx, T> {
    using WithConstant<Op::Square, Op::Mul, Vx, T>::WithConstant;
};

// Values of 8 and 16 bits widened to 16- and 32-bit lanes, each half of a
// vector in turn, and narrowed back with saturation to the value type. The
// widened lanes hold every intermediate result of the constant operations
// exactly, so one saturation at the end gives the scalar form's result.
template <class Vx, class T>
struct Widened {
    using V = typename Vx::V;
    static V lo(V a) {
        if constexpr (std::is_same_v<T, uint8_t>) return Vx::unpackLo8(a, Vx::zero());
        else if constexpr (std::is_same_v<T, int8_t>) return Vx::template srai16<8>(Vx::unpackLo8(a, a));
        else if constexpr (std::is_same_v<T, uint16_t>) return Vx::unpackLo16(a, Vx::zero());
        else return Vx::template srai32<16>(Vx::unpackLo16(a, a));
    }
    static V hi(V a) {
        if constexpr (std::is_same_v<T, uint8_t>) return Vx::unpackHi8(a, Vx::zero());
        else if constexpr (std::is_same_v<T, int8_t>) return Vx::template srai16<8>(Vx::unpackHi8(a, a));
        else if constexpr (std::is_same_v<T, uint16_t>) return Vx::unpackHi16(a, Vx::zero());
        else return Vx::template srai32<16>(Vx::unpackHi16(a, a));
    }
    static V narrow(V l, V h) {
        if constexpr (std::is_same_v<T, uint8_t>) return Vx::packUS16(l, h);
        else if constexpr (std::is_same_v<T, int8_t>) return Vx::packS16(l, h);
        else if constexpr (std::is_same_v<T, int16_t>) return Vx::packS32(l, h);
        else {
            // No unsigned 32-to-16 pack at every level: shift the range down by
            // 32768, pack signed, shift the 16-bit results back up.
            const V bias = Vx::set32(32768);
            return Vx::xor_(Vx::packS32(Vx::sub32(l, bias), Vx::sub32(h, bias)),
                            Vx::set16(-32768));
        }
    }
    static V add(V x, V y) {
        if constexpr (sizeof(T) == 1) return Vx::add16(x, y);
        else return Vx::add32(x, y);
    }
    static V sub(V x, V y) {
        if constexpr (sizeof(T) == 1) return Vx::sub16(x, y);
        else return Vx::sub32(x, y);
    }
    static V splatWide(int32_t c) {
        if constexpr (sizeof(T) == 1) return Vx::set16(c);
        else return Vx::set32(c);
    }
};

// a + c, a - c and c - a, saturated. Integer values of 8 and 16 bits work in
// widened lanes with the constant cut to a range where every result outside
// the depth still saturates the same way (|c| up to twice the widest value
// span); 32S detects overflow as the two-image forms do; floats are plain.
template <Op kOp, class Vx, class T>
struct ConstArith : OpBase<kOp, Vx, T, 1> {
    using typename OpBase<kOp, Vx, T, 1>::V;
    using OpBase<kOp, Vx, T, 1>::r;
    static constexpr int32_t kCut = sizeof(T) == 1 ? 512 : 131072;
    static int32_t cut(int32_t v) { return v < -kCut ? -kCut : v > kCut ? kCut : v; }
    explicit ConstArith(const void* context) {
        const OpArgs& args = *static_cast<const OpArgs*>(context);
        if constexpr (std::is_same_v<T, float>) c = Vx::setF(args.real);
        else if constexpr (std::is_same_v<T, int32_t>) c = Vx::set32(args.value);
        else c = Widened<Vx, T>::splatWide(cut(args.value));
    }
    V r(V a, V) const {
        if constexpr (std::is_same_v<T, float>) {
            return kOp == Op::AddC ? Vx::addF(a, c) : kOp == Op::SubC ? Vx::subF(a, c) : Vx::subF(c, a);
        } else if constexpr (std::is_same_v<T, int32_t>) {
            const VecOp<Op::Add, Vx, T> add(nullptr);
            const VecOp<Op::Sub, Vx, T> sub(nullptr);
            return kOp == Op::AddC ? add.r(a, c) : kOp == Op::SubC ? sub.r(a, c) : sub.r(c, a);
        } else {
            using W = Widened<Vx, T>;
            auto one = [&](V x) {
                return kOp == Op::AddC ? W::add(x, c) : kOp == Op::SubC ? W::sub(x, c) : W::sub(c, x);
            };
            return W::narrow(one(W::lo(a)), one(W::hi(a)));
        }
    }
    V c;
};
template <class Vx, class T> struct VecOp<Op::AddC, Vx, T> : ConstArith<Op::AddC, Vx, T> {
    using ConstArith<Op::AddC, Vx, T>::ConstArith;
};
template <class Vx, class T> struct VecOp<Op::SubC, Vx, T> : ConstArith<Op::SubC, Vx, T> {
    using ConstArith<Op::SubC, Vx, T>::ConstArith;
};
template <class Vx, class T> struct VecOp<Op::RevSubC, Vx, T> : ConstArith<Op::RevSubC, Vx, T> {
    using ConstArith<Op::RevSubC, Vx, T>::ConstArith;
};

// a * c, saturated. Unsigned values take the two-image product against the
// constant (the entry points lower it to the depth's maximum first); 8S cuts
// the constant to -129..129 and multiplies in 16-bit lanes (any larger factor
// saturates every nonzero value alike); 16S multiplies in float, exact for
// every product that fits the depth and beyond it for every one that saturates.
template <class Vx, class T>
struct VecOp<Op::MulC, Vx, T> : OpBase<Op::MulC, Vx, T, 1> {
    using typename OpBase<Op::MulC, Vx, T, 1>::V;
    using OpBase<Op::MulC, Vx, T, 1>::r;
    explicit VecOp(const void* context) : base(context) {
        const OpArgs& args = *static_cast<const OpArgs*>(context);
        const int32_t v = args.value;
        if constexpr (std::is_same_v<T, float>) c = Vx::setF(args.real);
        else if constexpr (std::is_same_v<T, int8_t>) c = Vx::set16(v < -129 ? -129 : v > 129 ? 129 : v);
        else if constexpr (std::is_same_v<T, int16_t>) cf = Vx::setF(static_cast<float>(v < -32769 ? -32769 : v > 32769 ? 32769 : v));
        else c = splat<Vx, T>(WithConstant<Op::MulC, Op::Mul, Vx, T>::limited(args).value);
    }
    V r(V a, V) const {
        if constexpr (std::is_same_v<T, int8_t>) {
            using W = Widened<Vx, T>;
            return W::narrow(Vx::mullo16(W::lo(a), c), Vx::mullo16(W::hi(a), c));
        } else if constexpr (std::is_same_v<T, int16_t>) {
            using W = Widened<Vx, T>;
            return W::narrow(Vx::toI(Vx::mulF(Vx::toF(W::lo(a)), cf)),
                             Vx::toI(Vx::mulF(Vx::toF(W::hi(a)), cf)));
        } else {
            return base.r(a, c);
        }
    }
    VecOp<Op::Mul, Vx, T> base;
    V c{};
    typename Vx::VF cf{};
};

// |a|, the most negative value giving the largest: with s the sign mask,
// (a ^ s) - s, saturating where the lanes allow it; 32S adds the result's own
// sign to turn the one wrapped value back into INT32_MAX. Floats drop the
// sign bit.
template <class Vx, class T>
struct VecOp<Op::Abs, Vx, T> : OpBase<Op::Abs, Vx, T, 1> {
    using typename OpBase<Op::Abs, Vx, T, 1>::V;
    using OpBase<Op::Abs, Vx, T, 1>::r;
    explicit VecOp(const void*) {}
    V r(V a, V) const {
        if constexpr (std::is_same_v<T, float>) {
            return Vx::andF(a, Vx::asF(Vx::set32(0x7FFFFFFF)));
        } else if constexpr (std::is_same_v<T, int8_t>) {
            const V s = Vx::cmpgt8(Vx::zero(), a);
            return Vx::subsS8(Vx::xor_(a, s), s);
        } else if constexpr (std::is_same_v<T, int16_t>) {
            const V s = Vx::template srai16<15>(a);
            return Vx::subsS16(Vx::xor_(a, s), s);
        } else {
            const V s = Vx::template srai32<31>(a);
            const V m = Vx::sub32(Vx::xor_(a, s), s);
            return Vx::add32(m, Vx::template srai32<31>(m));
        }
    }
};

template <Op op, class T>
struct KernelOf {
    template <class Vx>
    using At = VecOp<op, Vx, T>;
};

// A level's table: the vector form of every kernel.
template <class Vx>
KernelTable vectorTable() {
    KernelTable t;
    forEachKernel([&](auto opConst, auto tag) {
        constexpr Op op = decltype(opConst)::value;
        using T = decltype(tag);
        t.run[static_cast<int>(op)][static_cast<int>(ElemOf<T>::value)] =
            &simd::runLoop<KernelOf<op, T>::template At, Vx>;
    });
    return t;
}

}  // namespace
}  // namespace ozl::arith
