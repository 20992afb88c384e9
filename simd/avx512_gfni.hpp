// The AVX-512 layer with the bit-matrix byte instructions (GFNI): each byte
// times an 8 x 8 bit matrix moves, drops or combines its bits in one
// instruction, on other execution units than the shifts. Only for the
// avx512gfni translation units, which run where cpu::hasAvx512Gfni() holds
// (internal linkage, see sse2.hpp).
#pragma once

#include "simd/avx512.hpp"

namespace ozl::simd {
namespace {

struct Avx512Gfni : Avx512 {
    static constexpr bool kBitMatrix = true;
    // Bit i of each result byte: the parity of the source byte's bits picked
    // by byte 7 - i of `matrix`.
    static V bitMatrix(V a, uint64_t matrix) {
        return _mm512_gf2p8affine_epi64_epi8(a, _mm512_set1_epi64(static_cast<long long>(matrix)), 0);
    }
};

}  // namespace
}  // namespace ozl::simd
