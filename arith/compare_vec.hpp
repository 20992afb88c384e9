// Vector forms of the comparisons and of the float range over the 128- and
// 256-bit layers (simd::Sse2, simd::Avx2): a block of pixels is compared
// into one byte mask per pixel, channels are ANDed as vectors, and the mask
// becomes bits, most significant first. Internal linkage (see simd/sse2.hpp).
#pragma once

#include <cstring>
#include <limits>
#include <type_traits>

#include "arith/compare_kernels.hpp"

namespace ozl::arith {
namespace {

template <class Vx>
struct ByteMaskLanes {
    using V = typename Vx::V;
    using VF = typename Vx::VF;
    using Mask = V;
    static constexpr size_t kPixels = Vx::kBytes;
    using Narrower =
        std::conditional_t<Vx::kHasNarrower, ByteMaskLanes<typename Vx::Narrower>, void>;

    template <class T>
    using W = std::conditional_t<std::is_same_v<T, float>, VF, V>;

    template <class T>
    static W<T> load(const T* p) {
        if constexpr (std::is_same_v<T, float>) return Vx::loadF(p);
        else return Vx::load(p);
    }

    template <class T>
    static W<T> splat(const CompareArgs& args) {
        if constexpr (std::is_same_v<T, float>) return Vx::setF(args.real);
        else if constexpr (sizeof(T) == 1) return Vx::set8(args.value);
        else if constexpr (sizeof(T) == 2) return Vx::set16(args.value);
        else return Vx::set32(args.value);
    }

    // a > b. The unsigned types compare as signed once their sign bits are
    // flipped.
    template <class T>
    static V greater(W<T> a, W<T> b) {
        if constexpr (std::is_same_v<T, uint8_t>) {
            const V flip = Vx::set8(0x80);
            return Vx::cmpgt8(Vx::xor_(a, flip), Vx::xor_(b, flip));
        } else if constexpr (std::is_same_v<T, int8_t>) {
            return Vx::cmpgt8(a, b);
        } else if constexpr (std::is_same_v<T, uint16_t>) {
            const V flip = Vx::set16(0x8000);
            return Vx::cmpgt16(Vx::xor_(a, flip), Vx::xor_(b, flip));
        } else if constexpr (std::is_same_v<T, int16_t>) {
            return Vx::cmpgt16(a, b);
        } else if constexpr (std::is_same_v<T, int32_t>) {
            return Vx::cmpgt32(a, b);
        } else {
            return Vx::cmpgtF(a, b);
        }
    }

    template <class T>
    static V equal(W<T> a, W<T> b) {
        if constexpr (sizeof(T) == 1) return Vx::cmpeq8(a, b);
        else if constexpr (sizeof(T) == 2) return Vx::cmpeq16(a, b);
        else if constexpr (std::is_same_v<T, int32_t>) return Vx::cmpeq32(a, b);
        else return Vx::cmpeqF(a, b);
    }

    template <Rel rel, class T, Form form>
    struct Block {
        W<T> c;
        VF eps;
        explicit Block(const CompareArgs& args) : c(splat<T>(args)), eps(Vx::setF(args.eps)) {}

        V relation(W<T> a, W<T> b) const {
            if constexpr (rel == Rel::Less) return greater<T>(b, a);
            else if constexpr (rel == Rel::Greater) return greater<T>(a, b);
            else if constexpr (rel == Rel::Equal) return equal<T>(a, b);
            else {
                const VF absMask = Vx::asF(Vx::set32(0x7FFFFFFF));
                const VF diff = Vx::andF(Vx::subF(a, b), absMask);
                return Vx::or_(Vx::cmpeqF(a, b), Vx::cmpleF(diff, eps));
            }
        }

        // kPixels pixels of one channel: one vector of 8-bit values, two of
        // 16-bit, four of 32-bit, narrowed to one byte mask.
        Mask at(const T* a, const T* b) const {
            constexpr size_t perVector = Vx::kBytes / sizeof(T);
            auto part = [&](size_t k) {
                const W<T> vb = form == Form::Images ? load(b + k * perVector) : c;
                return relation(load(a + k * perVector), vb);
            };
            if constexpr (sizeof(T) == 1) return part(0);
            else if constexpr (sizeof(T) == 2) return Vx::narrowMasks16(part(0), part(1));
            else return Vx::narrowMasks32(part(0), part(1), part(2), part(3));
        }
    };

    static Mask both(Mask x, Mask y) { return Vx::and_(x, y); }

    static void store(uint8_t* out, Mask m) {
        const uint32_t bits = Vx::msbFirstBits(m);
        std::memcpy(out, &bits, kPixels / 8);  // little-endian: first pixels first
    }
    // Two or four bytes a block are too few to stream.
    static void stream(uint8_t* out, Mask m) { store(out, m); }
    static void fence() {}
};

// The float range over a level's float vectors: two running minima and maxima
// per lane (by the order of lower and upper), folded at the end.
template <class Vx>
void vectorRange(const float* p, size_t n, float* lo, float* hi) {
    using VF = typename Vx::VF;
    constexpr size_t kLanes = Vx::kBytes / sizeof(float);
    size_t i = 0;
    if (n >= 2 * kLanes) {
        const float inf = std::numeric_limits<float>::infinity();
        VF l0 = Vx::setF(inf), l1 = l0, h0 = Vx::setF(-inf), h1 = h0;
        // lower: min, then the bits of an equal value ORed in; upper: max,
        // then ANDed with an equal value (all ones where not equal or NaN).
        auto low = [](VF l, VF x) {
            return Vx::orF(Vx::minF(x, l), Vx::andF(Vx::asF(Vx::cmpeqF(x, l)), x));
        };
        auto high = [](VF h, VF x) {
            return Vx::andF(Vx::maxF(x, h), Vx::orF(Vx::asF(Vx::cmpneqF(x, h)), x));
        };
        for (; i + 2 * kLanes <= n; i += 2 * kLanes) {
            const VF x0 = Vx::loadF(p + i), x1 = Vx::loadF(p + i + kLanes);
            l0 = low(l0, x0);
            l1 = low(l1, x1);
            h0 = high(h0, x0);
            h1 = high(h1, x1);
        }
        float ls[kLanes], hs[kLanes];
        Vx::store(ls, low(l0, l1));
        Vx::store(hs, high(h0, h1));
        for (size_t j = 0; j < kLanes; ++j) {
            *lo = lower(*lo, ls[j]);
            *hi = upper(*hi, hs[j]);
        }
    }
    scalarRange(p + i, n - i, lo, hi);
}

}  // namespace
}  // namespace ozl::arith
