// The AVX2 kernels of the data-movement family.
#include "simd/avx2.hpp"
#include "convert/table_vec.hpp"

namespace ozl::convert {

const KernelTable& kernelTableAvx2() {
    static const KernelTable table = vectorTable<simd::Avx2>();
    return table;
}

}  // namespace ozl::convert
