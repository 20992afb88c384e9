// The packed 1-bit 3 x 3 kernels of AVX-512 processors with the bit-matrix
// byte instructions.
#include "simd/avx512_gfni.hpp"
#include "rank/vec_rank.hpp"

namespace ozl::rank {

const Bits3x3Fn* bits3x3Gfni() {
    static const Bits3x3Fn kernels[2] = {&bits3x3Vec<simd::Avx512Gfni, false>, &bits3x3Vec<simd::Avx512Gfni, true>};
    return cpu::hasAvx512Gfni() ? kernels : nullptr;
}

}  // namespace ozl::rank
