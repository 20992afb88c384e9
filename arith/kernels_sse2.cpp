// The SSE2 run kernels of the arithmetic and logic family.
#include "simd/sse2.hpp"
#include "arith/composite_vec.hpp"
#include "arith/vec_ops.hpp"

namespace ozl::arith {

const KernelTable& kernelTableSse2() {
    static const KernelTable table = [] {
        KernelTable t = vectorTable<simd::Sse2>();
        t.composite[0] = &compositeVector<simd::Sse2, uint8_t>;
        t.composite[1] = &compositeVector<simd::Sse2, uint16_t>;
        t.premultiply[0] = &premultiplyScalar<uint8_t>;
        t.premultiply[1] = &premultiplyScalar<uint16_t>;
        return t;
    }();
    return table;
}

}  // namespace ozl::arith
