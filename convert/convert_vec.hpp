// Vector forms of the conversions between value types, written once over the
// vector layer Vx. The unit is four vectors of 32-bit lanes: the source
// widened to them (integers as int32, floats as they are), the operation on
// the lanes, and the lanes narrowed with saturation to the destination type.
// Internal linkage (see simd/sse2.hpp).
#pragma once

#include <type_traits>

#include "convert/kernels.hpp"
#include "convert/values.hpp"
#include "simd/run_loop.hpp"

namespace ozl::convert {
namespace {

template <class T>
constexpr bool kFloat = std::is_same_v<T, float>;

template <class Vx>
struct Quad {
    typename Vx::V i[4];
    typename Vx::VF f[4];
};

template <class Vx>
constexpr size_t kQuadLanes = Vx::kBytes;  // 4 vectors of kBytes / 4 lanes

template <class Vx, class S>
Quad<Vx> loadQuad(const S* p) {
    constexpr size_t L = Vx::kBytes / 4;
    Quad<Vx> q;
    for (size_t j = 0; j < 4; ++j) {
        const S* at = p + j * L;
        if constexpr (kFloat<S>) q.f[j] = Vx::loadF(at);
        else if constexpr (std::is_same_v<S, uint8_t>) q.i[j] = Vx::loadI32FromU8(at);
        else if constexpr (std::is_same_v<S, int8_t>) q.i[j] = Vx::loadI32FromS8(at);
        else if constexpr (std::is_same_v<S, uint16_t>) q.i[j] = Vx::loadI32FromU16(at);
        else if constexpr (std::is_same_v<S, int16_t>) q.i[j] = Vx::loadI32FromS16(at);
        else q.i[j] = Vx::load(at);
    }
    return q;
}

template <class Vx, class D>
void storeQuad(D* p, const Quad<Vx>& q) {
    constexpr size_t L = Vx::kBytes / 4;
    if constexpr (std::is_same_v<D, uint8_t>) {
        Vx::store(p, Vx::packI32ToU8(q.i[0], q.i[1], q.i[2], q.i[3]));
    } else if constexpr (std::is_same_v<D, int8_t>) {
        Vx::store(p, Vx::packI32ToS8(q.i[0], q.i[1], q.i[2], q.i[3]));
    } else if constexpr (std::is_same_v<D, uint16_t>) {
        Vx::store(p, Vx::packI32ToU16(q.i[0], q.i[1]));
        Vx::store(p + 2 * L, Vx::packI32ToU16(q.i[2], q.i[3]));
    } else if constexpr (std::is_same_v<D, int16_t>) {
        Vx::store(p, Vx::packI32ToS16(q.i[0], q.i[1]));
        Vx::store(p + 2 * L, Vx::packI32ToS16(q.i[2], q.i[3]));
    } else {
        for (size_t j = 0; j < 4; ++j) {
            if constexpr (kFloat<D>) Vx::store(p + j * L, q.f[j]);
            else Vx::store(p + j * L, q.i[j]);
        }
    }
}

template <class Vx>
void toFloatLanes(Quad<Vx>& q) {
    for (int j = 0; j < 4; ++j) q.f[j] = Vx::toF(q.i[j]);
}

// floatToInt on the lanes. The conversion gives INT32_MIN for NaN and for
// every value out of range, which the saturating narrowing takes to the
// type's bottom: right below the range, and for NaN right for unsigned types
// only, so signed ones clear NaN to 0 first. The top is capped in float
// (with the cap as the first operand, a NaN lane stays NaN); 32-bit results
// set the lanes from 2^31 up to INT32_MAX instead.
template <class Vx, class D>
void toIntLanes(Quad<Vx>& q) {
    for (int j = 0; j < 4; ++j) {
        auto x = q.f[j];
        if constexpr (std::is_signed_v<D>) x = Vx::andF(x, Vx::orderedF(x));
        if constexpr (sizeof(D) == 4) {
            q.i[j] = Vx::select(Vx::geF(x, Vx::setF(2147483648.0f)), Vx::set32(INT32_MAX),
                                Vx::toI(x));
        } else {
            constexpr float hi = static_cast<float>(std::numeric_limits<D>::max());
            q.i[j] = Vx::toI(Vx::minF(Vx::setF(hi), x));
        }
    }
}

// Kernels in the shape quadLoop drives: a constructor from the call's
// context, map() on the lanes, and the scalar form.
template <class S, class D>
struct ConvertOf {
    template <class Vx>
    struct At {
        explicit At(const void*) {}
        static D scalar(S v, const void*) { return convertValue<S, D>(v); }
        void map(Quad<Vx>& q) const {
            if constexpr (kFloat<S> && !kFloat<D>) toIntLanes<Vx, D>(q);
            else if constexpr (!kFloat<S> && kFloat<D>) toFloatLanes(q);
        }
    };
};

template <class S, class D>
struct LinearOf {
    template <class Vx>
    struct At {
        using VF = typename Vx::VF;
        explicit At(const void* context) {
            const LinearArgs& m = *static_cast<const LinearArgs*>(context);
            from = Vx::setF(m.from);
            fromSpan = Vx::setF(m.fromSpan);
            toSpan = Vx::setF(m.toSpan);
            to = Vx::setF(m.to);
        }
        static D scalar(S v, const void* context) {
            return mapLinear<S, D>(v, *static_cast<const LinearArgs*>(context));
        }
        void map(Quad<Vx>& q) const {
            if constexpr (!kFloat<S>) toFloatLanes(q);
            for (int j = 0; j < 4; ++j)
                q.f[j] = Vx::addF(Vx::mulF(Vx::divF(Vx::subF(q.f[j], from), fromSpan), toSpan), to);
            if constexpr (!kFloat<D>) toIntLanes<Vx, D>(q);
        }
        VF from, fromSpan, toSpan, to;
    };
};

// Blocks of four vectors of lanes; the last partial block is done by running
// the last full one again at n - block (source and destination never share
// memory here: the driver hands conversions separate buffers, and the loop
// falls back to the scalar form if they do). Ordinary stores throughout:
// streaming the wider destinations of long runs measured slower. Runs
// shorter than a block go to the narrower level, or to the scalar form.
template <template <class> class KernelAt, class S, class D, class Vx>
void quadLoop(const void* pa, const void*, void* pd, size_t n, const void* context) {
    constexpr size_t B = kQuadLanes<Vx>;
    const S* a = static_cast<const S*>(pa);
    D* d = static_cast<D*>(pd);
    if constexpr (Vx::kHasNarrower) {
        if (n < B) {
            quadLoop<KernelAt, S, D, typename Vx::Narrower>(pa, nullptr, pd, n, context);
            return;
        }
    }
    const KernelAt<Vx> k(context);
    const uintptr_t as = reinterpret_cast<uintptr_t>(a), ds = reinterpret_cast<uintptr_t>(d);
    const bool apart = as + n * sizeof(S) <= ds || ds + n * sizeof(D) <= as;
    size_t i = 0;
    if (n >= B && apart) {
        auto block = [&](size_t at) {
            Quad<Vx> q = loadQuad<Vx>(a + at);
            k.map(q);
            storeQuad<Vx, D>(d + at, q);
        };
        for (; i + B <= n; i += B) block(i);
        if (i < n) {
            block(n - B);
            i = n;
        }
    }
    for (; i < n; ++i) d[i] = KernelAt<Vx>::scalar(a[i], context);
}

}  // namespace
}  // namespace ozl::convert
