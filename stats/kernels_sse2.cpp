// The SSE2 kernels of the statistics family.
#include "simd/sse2.hpp"
#include "stats/vec_kernels.hpp"

namespace ozl::stats {

const KernelTable& kernelTableSse2() {
    static const KernelTable table = vectorTable<simd::Sse2>();
    return table;
}

}  // namespace ozl::stats
