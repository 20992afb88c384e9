// The AVX2 kernels of the statistics family.
#include "simd/avx2.hpp"
#include "stats/vec_kernels.hpp"

namespace ozl::stats {

const KernelTable& kernelTableAvx2() {
    static const KernelTable table = vectorTable<simd::Avx2>();
    return table;
}

}  // namespace ozl::stats
