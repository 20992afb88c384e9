// CIE 1976 L*u*v* over the linear RGB-to-XYZ matrices, 32F, written once over
// an arithmetic policy: ScalarOps (plain floats, the reference) or a vector
// layer's floats (VectorOps in vec_kernels.hpp). Both run the same operations
// in the same order, so the vector forms match the scalar one bit for bit.
//
// RGB is taken on 0..1, L comes out on 0..100. Dark pixels follow the CIE
// definition: L = 116 Y^(1/3) - 16 above Y = (6/29)^3, L = (29/3)^3 Y below it
// (the two meet there), and back L > 8 against L <= 8. A pixel whose
// X + 15 Y + 3 Z is 0 (black) gets u = v = 0; L = 0, or v' = 0 on the way
// back, gives X = Z = 0 instead of a division by zero. The white point is
// u'n = 0.19783, v'n = 0.46832.
//
// The cube root: a first guess from the float's bits, three Newton steps on
// the reciprocal root (no division), and one correction of the root: within 3
// units in the last place over 0.008..4.
#pragma once

#include <cstdint>
#include <cstring>

#include "color/linear_ref.hpp"

namespace ozl::color {

struct ScalarOps {
    using F = float;
    using I = int32_t;
    using M = bool;
    static F set(float v) { return v; }
    static F add(F a, F b) { return a + b; }
    static F sub(F a, F b) { return a - b; }
    static F mul(F a, F b) { return a * b; }
    static F div(F a, F b) { return a / b; }
    static M lt(F a, F b) { return a < b; }
    static M eq(F a, F b) { return a == b; }
    static F select(M m, F x, F y) { return m ? x : y; }
    static I bits(F a) {
        I i;
        std::memcpy(&i, &a, sizeof i);
        return i;
    }
    static F fromBits(I i) {
        F a;
        std::memcpy(&a, &i, sizeof a);
        return a;
    }
    static F toFloat(I i) { return static_cast<F>(i); }
    static I truncate(F a) { return static_cast<I>(a); }
    static I isub(I a, I b) {
        return static_cast<I>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
    }
    static I iset(int32_t v) { return v; }
};

template <class A>
struct LuvMath {
    using F = typename A::F;

    static F mix(const double (&w)[3], F a, F b, F c) {
        return A::add(A::add(A::mul(A::set(static_cast<float>(w[0])), a),
                             A::mul(A::set(static_cast<float>(w[1])), b)),
                      A::mul(A::set(static_cast<float>(w[2])), c));
    }

    // y^(1/3) for y > 0 (other inputs give a value that the callers discard).
    static F cubeRoot(F y) {
        // The reciprocal root's bits are about K - bits(y) / 3.
        const F third = A::set(1.0f / 3.0f);
        const auto i = A::truncate(A::mul(A::toFloat(A::bits(y)), third));
        F g = A::fromBits(A::isub(A::iset(0x54a23400), i));
        const F one = A::set(1.0f);
        for (int k = 0; k < 3; ++k) {
            const F d = A::sub(one, A::mul(y, A::mul(A::mul(g, g), g)));
            g = A::add(g, A::mul(A::mul(g, d), third));
        }
        const F c = A::mul(A::mul(y, g), g);
        const F d = A::sub(one, A::mul(y, A::mul(A::mul(g, g), g)));
        return A::add(c, A::mul(A::mul(c, d), third));
    }

    static void fromRgb(F r, F g, F b, F& l, F& u, F& v) {
        const F x = mix(kRgbToXyz[0], r, g, b);
        const F y = mix(kRgbToXyz[1], r, g, b);
        const F z = mix(kRgbToXyz[2], r, g, b);
        const F root = cubeRoot(y);
        l = A::select(A::lt(A::set(0.008856452f), y),
                      A::sub(A::mul(A::set(116.0f), root), A::set(16.0f)),
                      A::mul(A::set(903.2963f), y));
        const F den = A::add(A::add(x, A::mul(A::set(15.0f), y)), A::mul(A::set(3.0f), z));
        const auto black = A::eq(den, A::set(0.0f));
        const F one = A::set(1.0f), zero = A::set(0.0f);
        const F rden = A::div(one, A::select(black, one, den));
        const F up = A::mul(A::mul(A::set(4.0f), x), rden);
        const F vp = A::mul(A::mul(A::set(9.0f), y), rden);
        const F l13 = A::mul(A::set(13.0f), l);
        u = A::select(black, zero, A::mul(l13, A::sub(up, A::set(0.19783f))));
        v = A::select(black, zero, A::mul(l13, A::sub(vp, A::set(0.46832f))));
    }

    // 1 / d, or 0 where d is 0.
    static F reciprocal(F d) {
        const auto none = A::eq(d, A::set(0.0f));
        const F one = A::set(1.0f);
        return A::select(none, A::set(0.0f), A::div(one, A::select(none, one, d)));
    }

    static void toRgb(F l, F u, F v, F& r, F& g, F& b) {
        const F t = A::mul(A::add(l, A::set(16.0f)), A::set(1.0f / 116.0f));
        const F y = A::select(A::lt(A::set(8.0f), l), A::mul(A::mul(t, t), t),
                              A::mul(l, A::set(1.0f / 903.2963f)));
        const F r13 = reciprocal(A::mul(A::set(13.0f), l));
        const F up = A::add(A::mul(u, r13), A::set(0.19783f));
        const F vp = A::add(A::mul(v, r13), A::set(0.46832f));
        const F r4 = reciprocal(A::mul(A::set(4.0f), vp));
        const F x = A::mul(A::mul(y, A::mul(A::set(9.0f), up)), r4);
        const F z = A::mul(
            A::mul(y, A::sub(A::sub(A::set(12.0f), A::mul(A::set(3.0f), up)),
                             A::mul(A::set(20.0f), vp))),
            r4);
        r = mix(kXyzToRgb[0], x, y, z);
        g = mix(kXyzToRgb[1], x, y, z);
        b = mix(kXyzToRgb[2], x, y, z);
    }
};

inline Px<float> rgbToLuv(Px<float> x) {
    Px<float> y;
    LuvMath<ScalarOps>::fromRgb(x.v[0], x.v[1], x.v[2], y.v[0], y.v[1], y.v[2]);
    return y;
}

inline Px<float> luvToRgb(Px<float> x) {
    Px<float> y;
    LuvMath<ScalarOps>::toRgb(x.v[0], x.v[1], x.v[2], y.v[0], y.v[1], y.v[2]);
    return y;
}

}  // namespace ozl::color
