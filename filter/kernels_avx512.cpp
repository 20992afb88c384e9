// The AVX-512 row kernels of the convolutions.
#include "simd/avx512.hpp"
#include "filter/vec_conv.hpp"

namespace ozl::filter {

const KernelTable& kernelTableAvx512() {
    static const KernelTable table = vectorTable<simd::Avx512>();
    return table;
}

}  // namespace ozl::filter
