// The AVX2 row kernels of the convolutions.
#include "simd/avx2.hpp"
#include "filter/vec_conv.hpp"

namespace ozl::filter {

const KernelTable& kernelTableAvx2() {
    static const KernelTable table = vectorTable<simd::Avx2>();
    return table;
}

}  // namespace ozl::filter
