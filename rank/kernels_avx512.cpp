// The AVX-512 rank kernels: the least and greatest in 512-bit vectors, the
// rest as the AVX2 level has them.
#include "simd/avx512.hpp"
#include "rank/vec_rank.hpp"

namespace ozl::rank {

const RankTable& rankTableAvx2();

const RankTable& rankTableAvx512() {
    static const RankTable table = [] {
        RankTable t = rankTableAvx2();
        setExtremeKernels<simd::Avx512>(t);
        return t;
    }();
    return table;
}

}  // namespace ozl::rank
