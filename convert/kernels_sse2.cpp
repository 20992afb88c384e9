// The SSE2 kernels of the data-movement family.
#include "simd/sse2.hpp"
#include "convert/table_vec.hpp"

namespace ozl::convert {

const KernelTable& kernelTableSse2() {
    static const KernelTable table = vectorTable<simd::Sse2>();
    return table;
}

}  // namespace ozl::convert
