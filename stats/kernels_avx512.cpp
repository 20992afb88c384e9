// The AVX-512 kernels of the statistics family.
#include "simd/avx512.hpp"
#include "stats/vec_kernels.hpp"

namespace ozl::stats {

const KernelTable& kernelTableAvx512() {
    static const KernelTable table = vectorTable<simd::Avx512>();
    return table;
}

}  // namespace ozl::stats
