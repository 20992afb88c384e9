// The AVX2 comparison kernels: 32 pixels a block, 16 with the 128-bit form
// before the scalar tail.
#include "simd/avx2.hpp"
#include "arith/compare_vec.hpp"

namespace ozl::arith {

const CompareTable& compareTableAvx2() {
    static const CompareTable table =
        makeCompareTable<ByteMaskLanes<simd::Avx2>>(&vectorRange<simd::Avx2>);
    return table;
}

}  // namespace ozl::arith
