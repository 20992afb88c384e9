// The scalar run kernels of the conversion family, and a table holding them
// all: the reference level's table, and the start of every vector level's,
// which then replaces the kernels it has vector forms of. Internal linkage
// (each instruction-set file keeps its own copy).
#pragma once

#include <type_traits>

#include "convert/kernels.hpp"
#include "convert/values.hpp"

namespace ozl::convert {
namespace {

template <class T>
void scalarFill(const void*, const void*, void* d, size_t n, const void* context) {
    const T v = fillValue<T>(*static_cast<const FillArgs*>(context));
    T* out = static_cast<T*>(d);
    for (size_t i = 0; i < n; ++i) out[i] = v;
}

template <class S, class D>
void scalarConvert(const void* a, const void*, void* d, size_t n, const void*) {
    const S* in = static_cast<const S*>(a);
    D* out = static_cast<D*>(d);
    for (size_t i = 0; i < n; ++i) out[i] = convertValue<S, D>(in[i]);
}

template <class S, class D>
void scalarLinear(const void* a, const void*, void* d, size_t n, const void* context) {
    const LinearArgs& m = *static_cast<const LinearArgs*>(context);
    const S* in = static_cast<const S*>(a);
    D* out = static_cast<D*>(d);
    for (size_t i = 0; i < n; ++i) out[i] = mapLinear<S, D>(in[i], m);
}

template <class S, class D>
void scalarRange(const void* a, const void*, void* d, size_t n, const void* context) {
    const RangeArgs& m = *static_cast<const RangeArgs*>(context);
    const S* in = static_cast<const S*>(a);
    D* out = static_cast<D*>(d);
    for (size_t i = 0; i < n; ++i) out[i] = mapRange<S, D>(in[i], m);
}

template <class T>
void scalarThreshold(const void* a, const void*, void* d, size_t n, const void* context) {
    const ThresholdArgs& t = *static_cast<const ThresholdArgs*>(context);
    const T* in = static_cast<const T*>(a);
    T* out = static_cast<T*>(d);
    for (size_t i = 0; i < n; ++i) out[i] = thresholdValue<T>(in[i], t);
}

template <class T>
void scalarReduce(const void* a, const void*, void* d, size_t n, const void* context) {
    const ReduceArgs& r = *static_cast<const ReduceArgs*>(context);
    const T* in = static_cast<const T*>(a);
    T* out = static_cast<T*>(d);
    for (size_t i = 0; i < n; ++i) out[i] = reduceValue<T>(in[i], r);
}

template <class T>
constexpr bool kInteger = !std::is_same_v<T, float>;

inline KernelTable scalarTable() {
    KernelTable t;
    t.fill[0] = &scalarFill<uint8_t>;
    t.fill[1] = &scalarFill<uint16_t>;
    t.fill[2] = &scalarFill<uint32_t>;
    image::forEachValueType([&](auto s) {
        using S = decltype(s);
        image::forEachValueType([&](auto dTag) {
            using D = decltype(dTag);
            const int si = idx(ElemOf<S>::value), di = idx(ElemOf<D>::value);
            t.convert[si][di] = &scalarConvert<S, D>;
            if constexpr (kInteger<S> != kInteger<D>) t.linear[si][di] = &scalarLinear<S, D>;
            if constexpr (kInteger<S> && kInteger<D>) t.range[si][di] = &scalarRange<S, D>;
        });
        if constexpr (kInteger<S>) t.threshold[idx(ElemOf<S>::value)] = &scalarThreshold<S>;
    });
    t.reduce[idx(Elem::U8)] = &scalarReduce<uint8_t>;
    t.reduce[idx(Elem::U16)] = &scalarReduce<uint16_t>;
    return t;
}

}  // namespace
}  // namespace ozl::convert
