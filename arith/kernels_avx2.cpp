// The AVX2 run kernels of the arithmetic and logic family.
#include "simd/avx2.hpp"
#include "arith/composite_vec.hpp"
#include "arith/vec_ops.hpp"

namespace ozl::arith {

const KernelTable& kernelTableAvx2() {
    static const KernelTable table = [] {
        KernelTable t = vectorTable<simd::Avx2>();
        t.composite[0] = &compositeVector<simd::Avx2, uint8_t>;
        t.composite[1] = &compositeVector<simd::Avx2, uint16_t>;
        t.premultiply[0] = &premultiplyScalar<uint8_t>;
        t.premultiply[1] = &premultiplyScalar<uint16_t>;
        return t;
    }();
    return table;
}

}  // namespace ozl::arith
