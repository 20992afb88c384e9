// A vector level's kernel table: the scalar table with every kernel that has
// a vector form replaced by it. Internal linkage (see simd/sse2.hpp).
#pragma once

#include "convert/convert_vec.hpp"
#include "convert/fill_vec.hpp"
#include "convert/scalar_runs.hpp"
#include "convert/threshold_vec.hpp"

namespace ozl::convert {
namespace {

template <class Vx>
KernelTable vectorTable() {
    KernelTable t = scalarTable();
    t.fill[0] = &simd::runLoop<FillOf<uint8_t>::At, Vx>;
    t.fill[1] = &simd::runLoop<FillOf<uint16_t>::At, Vx>;
    t.fill[2] = &simd::runLoop<FillOf<uint32_t>::At, Vx>;
    image::forEachValueType([&](auto s) {
        using S = decltype(s);
        image::forEachValueType([&](auto dTag) {
            using D = decltype(dTag);
            const int si = idx(ElemOf<S>::value), di = idx(ElemOf<D>::value);
            if constexpr (!std::is_same_v<S, D>)
                t.convert[si][di] = &quadLoop<ConvertOf<S, D>::template At, S, D, Vx>;
            if constexpr (kInteger<S> != kInteger<D>)
                t.linear[si][di] = &quadLoop<LinearOf<S, D>::template At, S, D, Vx>;
        });
        if constexpr (kInteger<S>)
            t.threshold[idx(ElemOf<S>::value)] = &simd::runLoop<ThresholdOf<S>::template At, Vx>;
    });
    t.reduce[idx(Elem::U8)] = &simd::runLoop<ReduceOf<uint8_t>::At, Vx>;
    t.reduce[idx(Elem::U16)] = &simd::runLoop<ReduceOf<uint16_t>::At, Vx>;
    return t;
}

}  // namespace
}  // namespace ozl::convert
