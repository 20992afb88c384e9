// The SSE2 rank kernels.
#include "simd/sse2.hpp"
#include "rank/vec_rank.hpp"

namespace ozl::rank {

const RankTable& rankTableSse2() {
    static const RankTable table = vectorRankTable<simd::Sse2>();
    return table;
}

}  // namespace ozl::rank
