// The AVX2 run kernels of the arithmetic and logic family.
#include "simd/avx2.hpp"
#include "arith/vec_ops.hpp"

namespace ozl::arith {

const KernelTable& kernelTableAvx2() {
    static const KernelTable table = vectorTable<simd::Avx2>();
    return table;
}

}  // namespace ozl::arith
