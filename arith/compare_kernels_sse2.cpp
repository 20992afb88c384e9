// The SSE2 comparison kernels: 16 pixels a block.
#include "simd/sse2.hpp"
#include "arith/compare_vec.hpp"

namespace ozl::arith {

const CompareTable& compareTableSse2() {
    static const CompareTable table =
        makeCompareTable<ByteMaskLanes<simd::Sse2>>(&vectorRange<simd::Sse2>);
    return table;
}

}  // namespace ozl::arith
