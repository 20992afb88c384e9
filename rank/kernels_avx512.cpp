// The AVX-512 rank kernels.
#include "simd/avx512.hpp"
#include "rank/vec_rank.hpp"

namespace ozl::rank {

const RankTable& rankTableAvx512() {
    static const RankTable table = vectorRankTable<simd::Avx512>();
    return table;
}

}  // namespace ozl::rank
