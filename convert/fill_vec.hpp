// The vector form of the fill, in the shape simd::runLoop drives. Internal
// linkage (see simd/sse2.hpp).
#pragma once

#include "convert/kernels.hpp"
#include "simd/run_loop.hpp"

namespace ozl::convert {
namespace {

template <class T>
struct FillOf {
    template <class Vx>
    struct At {
        using Elem = T;
        using V = typename Vx::V;
        static constexpr int arity = 0;
        explicit At(const void* context) {
            const int32_t v = static_cast<const FillArgs*>(context)->value;
            if constexpr (sizeof(T) == 1) c = Vx::set8(v);
            else if constexpr (sizeof(T) == 2) c = Vx::set16(v);
            else c = Vx::set32(v);
        }
        static V load(const T* p) { return Vx::load(p); }
        V r(V, V) const { return c; }
        static T r(T, T, const void* context) {
            return fillValue<T>(*static_cast<const FillArgs*>(context));
        }
        V c;
    };
};

}  // namespace
}  // namespace ozl::convert
