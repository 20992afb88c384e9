// The AVX2 rank kernels.
#include "simd/avx2.hpp"
#include "rank/vec_rank.hpp"

namespace ozl::rank {

const RankTable& rankTableAvx2() {
    static const RankTable table = vectorRankTable<simd::Avx2>();
    return table;
}

}  // namespace ozl::rank
