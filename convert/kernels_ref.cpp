// The scalar kernels of the data-movement family and the choice by level.
#include "convert/kernels.hpp"
#include "convert/scalar_runs.hpp"
#include "simd/levels.hpp"

namespace ozl::convert {

const KernelTable& kernelTableSse2();
const KernelTable& kernelTableAvx2();

namespace {

const KernelTable& kernelTableRef() {
    static const KernelTable table = scalarTable();
    return table;
}

constexpr simd::PerLevel<KernelTable> kTables{&kernelTableRef, &kernelTableSse2,
                                              &kernelTableAvx2};

}  // namespace

const KernelTable& kernelTable(cpu::Level level) { return kTables.at(level); }

void copyRun(const void* a, const void*, void* d, size_t n, const void* bytes) {
    std::memmove(d, a, n * *static_cast<const size_t*>(bytes));
}

}  // namespace ozl::convert
