// The SSE2 row kernels of the convolutions.
#include "simd/sse2.hpp"
#include "filter/vec_conv.hpp"

namespace ozl::filter {

const KernelTable& kernelTableSse2() {
    static const KernelTable table = vectorTable<simd::Sse2>();
    return table;
}

}  // namespace ozl::filter
