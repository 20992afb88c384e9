// The SSE2 run kernels of the arithmetic and logic family.
#include "simd/sse2.hpp"
#include "arith/vec_ops.hpp"

namespace ozl::arith {

const KernelTable& kernelTableSse2() {
    static const KernelTable table = vectorTable<simd::Sse2>();
    return table;
}

}  // namespace ozl::arith
