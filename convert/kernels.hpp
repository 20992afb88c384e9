// Run kernels of the data-movement and conversion family, by value type. The
// scalar forms (convert/values.hpp) are the reference of the vector forms.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/pixelwise.hpp"
#include "frame/cpu.hpp"
#include "image/depth.hpp"

namespace ozl::convert {

using image::Elem;
using image::ElemOf;
using image::kElemCount;

// Value widths of 1, 2 and 4 bytes; 1-bit rows use the byte kernels.
constexpr int widthIndex(size_t bytes) { return bytes <= 1 ? 0 : bytes == 2 ? 1 : 2; }

struct FillArgs {
    int32_t value = 0;  // its low bytes are the value written
};

struct KernelTable {
    core::RunFn fill[3] = {};  // d = value, by width
    // d = a as the destination's type (convertValue), [source][destination];
    // no context.
    core::RunFn convert[kElemCount][kElemCount] = {};
    // d = mapLinear(a, LinearArgs), one side F32 and the other an integer type.
    core::RunFn linear[kElemCount][kElemCount] = {};
    // d = mapRange(a, RangeArgs), integer types.
    core::RunFn range[kElemCount][kElemCount] = {};
    // d = thresholdValue(a, ThresholdArgs), integer types.
    core::RunFn threshold[kElemCount] = {};
    // d = reduceValue(a, ReduceArgs), U8 and U16.
    core::RunFn reduce[kElemCount] = {};
};

const KernelTable& kernelTable(cpu::Level level);
inline const KernelTable& activeTable() { return kernelTable(cpu::active()); }

template <class T>
static inline T fillValue(const FillArgs& args) {
    T v;
    std::memcpy(&v, &args.value, sizeof(T));  // low bytes on little-endian
    return v;
}

// d = a over n values of `bytes` each; the runs may overlap.
void copyRun(const void* a, const void* b, void* d, size_t n, const void* bytes);

constexpr int idx(Elem e) { return static_cast<int>(e); }

}  // namespace ozl::convert
