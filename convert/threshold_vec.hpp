// Vector forms of the threshold and the bit reduction, in the shape
// simd::runLoop drives (see fill_vec.hpp). Internal linkage.
#pragma once

#include <type_traits>

#include "convert/kernels.hpp"
#include "convert/values.hpp"
#include "simd/run_loop.hpp"

namespace ozl::convert {
namespace {

template <class Vx, class T>
typename Vx::V splatOf(int32_t v) {
    if constexpr (sizeof(T) == 1) return Vx::set8(v);
    else if constexpr (sizeof(T) == 2) return Vx::set16(v);
    else return Vx::set32(v);
}

// a >= level as all-ones lanes, then the level kept. Unsigned bytes and
// words: the saturating difference level - a is 0 exactly where a >= level;
// signed values: not (level > a).
template <class T>
struct ThresholdOf {
    template <class Vx>
    struct At {
        using Elem = T;
        using V = typename Vx::V;
        static constexpr int arity = 1;
        explicit At(const void* context) {
            const ThresholdArgs& t = *static_cast<const ThresholdArgs*>(context);
            level = splatOf<Vx, T>(t.level);
            high = splatOf<Vx, T>(t.high);
        }
        static V load(const T* p) { return Vx::load(p); }
        V r(V a, V) const {
            if constexpr (std::is_same_v<T, uint8_t>)
                return Vx::and_(Vx::cmpeq8(Vx::subsU8(level, a), Vx::zero()), high);
            else if constexpr (std::is_same_v<T, uint16_t>)
                return Vx::and_(Vx::cmpeq16(Vx::subsU16(level, a), Vx::zero()), high);
            else if constexpr (std::is_same_v<T, int8_t>)
                return Vx::andNot(high, Vx::cmpgt8(level, a));
            else if constexpr (std::is_same_v<T, int16_t>)
                return Vx::andNot(high, Vx::cmpgt16(level, a));
            else
                return Vx::andNot(high, Vx::cmpgt32(level, a));
        }
        static T r(T a, T, const void* context) {
            return thresholdValue<T>(a, *static_cast<const ThresholdArgs*>(context));
        }
        V level, high;
    };
};

template <class T>
struct ReduceOf {
    template <class Vx>
    struct At {
        using Elem = T;
        using V = typename Vx::V;
        static constexpr int arity = 1;
        explicit At(const void* context)
            : keep(splatOf<Vx, T>(static_cast<int32_t>(static_cast<const ReduceArgs*>(context)->keep))) {}
        static V load(const T* p) { return Vx::load(p); }
        V r(V a, V) const { return Vx::and_(a, keep); }
        static T r(T a, T, const void* context) {
            return reduceValue<T>(a, *static_cast<const ReduceArgs*>(context));
        }
        V keep;
    };
};

}  // namespace
}  // namespace ozl::convert
