// Run kernels of the data-movement family: fill and copy, by value width. The
// scalar forms are the reference of the vector forms.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/pixelwise.hpp"
#include "frame/cpu.hpp"

namespace ozl::convert {

// Value widths of 1, 2 and 4 bytes; 1-bit rows use the byte kernels.
constexpr int widthIndex(size_t bytes) { return bytes <= 1 ? 0 : bytes == 2 ? 1 : 2; }

struct FillArgs {
    int32_t value = 0;  // its low bytes are the value written
};

struct KernelTable {
    core::RunFn fill[3] = {};  // d[i] = value
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

}  // namespace ozl::convert
