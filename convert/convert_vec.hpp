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

// Streamed stores need a destination aligned to the vector width.
template <class Vx, class D, bool kStream>
void storeQuad(D* p, const Quad<Vx>& q) {
    constexpr size_t L = Vx::kBytes / 4;
    auto put = [](void* at, auto v) {
        if constexpr (kStream) Vx::stream(at, v);
        else Vx::store(at, v);
    };
    if constexpr (std::is_same_v<D, uint8_t>) {
        put(p, Vx::packI32ToU8(q.i[0], q.i[1], q.i[2], q.i[3]));
    } else if constexpr (std::is_same_v<D, int8_t>) {
        put(p, Vx::packI32ToS8(q.i[0], q.i[1], q.i[2], q.i[3]));
    } else if constexpr (std::is_same_v<D, uint16_t>) {
        put(p, Vx::packI32ToU16(q.i[0], q.i[1]));
        put(p + 2 * L, Vx::packI32ToU16(q.i[2], q.i[3]));
    } else if constexpr (std::is_same_v<D, int16_t>) {
        put(p, Vx::packI32ToS16(q.i[0], q.i[1]));
        put(p + 2 * L, Vx::packI32ToS16(q.i[2], q.i[3]));
    } else {
        for (size_t j = 0; j < 4; ++j) {
            if constexpr (kFloat<D>) put(p + j * L, q.f[j]);
            else put(p + j * L, q.i[j]);
        }
    }
}

template <class Vx>
void toFloatLanes(Quad<Vx>& q) {
    for (int j = 0; j < 4; ++j) q.f[j] = Vx::toF(q.i[j]);
}

// floatToInt on the lanes: NaN cleared to 0; for 32-bit results the values
// from 2^31 up set to INT32_MAX (the conversion gives INT32_MIN for every
// value out of range, which is right below the range); narrower results
// capped at the type's top in float, their bottom left to the saturating
// narrowing.
template <class Vx, class D>
void toIntLanes(Quad<Vx>& q) {
    for (int j = 0; j < 4; ++j) {
        const auto x = Vx::andF(q.f[j], Vx::orderedF(q.f[j]));
        if constexpr (sizeof(D) == 4) {
            q.i[j] = Vx::select(Vx::geF(x, Vx::setF(2147483648.0f)), Vx::set32(INT32_MAX),
                                Vx::toI(x));
        } else {
            constexpr float hi = static_cast<float>(std::numeric_limits<D>::max());
            q.i[j] = Vx::toI(Vx::minF(x, Vx::setF(hi)));
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
// falls back to the scalar form if they do). Destinations of 16 MB and more
// are streamed past the caches once aligned. Runs shorter than a block go to
// the narrower level, or to the scalar form.
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
    size_t i = 0;
    if (n >= B && simd::disjoint(d, a, n * (sizeof(S) > sizeof(D) ? sizeof(S) : sizeof(D)))) {
        auto block = [&](size_t at, auto stream) {
            Quad<Vx> q = loadQuad<Vx>(a + at);
            k.map(q);
            storeQuad<Vx, D, decltype(stream)::value>(d + at, q);
        };
        if (n * sizeof(D) >= simd::kStreamFrom) {
            for (; i < n && reinterpret_cast<uintptr_t>(d + i) % Vx::kBytes != 0; ++i)
                d[i] = KernelAt<Vx>::scalar(a[i], context);
            if (reinterpret_cast<uintptr_t>(d + i) % Vx::kBytes == 0) {
                for (; i + B <= n; i += B) block(i, std::true_type{});
                Vx::streamFence();
            }
        }
        for (; i + B <= n; i += B) block(i, std::false_type{});
        if (i < n) {
            block(n - B, std::false_type{});
            i = n;
        }
    }
    for (; i < n; ++i) d[i] = KernelAt<Vx>::scalar(a[i], context);
}

}  // namespace
}  // namespace ozl::convert
