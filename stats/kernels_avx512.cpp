// The AVX-512 kernels of the statistics family, and the byte look-up of
// processors with the AVX-512 byte permutes.
#include "simd/avx512.hpp"
#include "stats/vec_kernels.hpp"

namespace ozl::stats {

namespace {

// Each 64-byte vector is looked up in every channel's map, 128 entries per
// two-table permute, the index's top bit choosing between the two halves;
// then each lane keeps its own channel's result. A vector starting at value i
// starts at channel i mod P; 64 mod P advances that phase from one vector to
// the next. The last vector is loaded and stored under a mask.
#define OZL_VBMI __attribute__((target("avx512f,avx512bw,avx512vbmi")))

// The bytes of x through one 256-byte map held in four vectors.
OZL_VBMI inline __m512i lookup(const __m512i* t, __m512i x, __mmask64 high) {
    const __m512i lo = _mm512_permutex2var_epi8(t[0], x, t[1]);
    const __m512i hi = _mm512_permutex2var_epi8(t[2], x, t[3]);
    return _mm512_mask_blend_epi8(high, lo, hi);
}

// Lanes of a vector starting at phase f whose values belong to channel c.
template <int P>
struct PhaseLanes {
    uint64_t mask[P][P] = {};
    constexpr PhaseLanes() {
        for (int f = 0; f < P; ++f)
            for (int l = 0; l < 64; ++l) mask[f][(f + l) % P] |= uint64_t{1} << l;
    }
};

template <int P>
OZL_VBMI void mapBytesVbmi(const uint8_t* s, uint8_t* d, size_t n, const uint8_t* maps) {
    __m512i t[P][4];
    for (int c = 0; c < P; ++c)
        for (int q = 0; q < 4; ++q) t[c][q] = _mm512_loadu_si512(maps + c * 256 + q * 64);
    static constexpr PhaseLanes<P> lanes;
    int phase = 0;
    for (size_t i = 0; i < n; i += 64) {
        const size_t left = n - i;
        const __mmask64 take = left >= 64 ? ~__mmask64{0} : (__mmask64{1} << left) - 1;
        const __m512i x = _mm512_maskz_loadu_epi8(take, s + i);
        const __mmask64 high = _mm512_movepi8_mask(x);
        __m512i r = lookup(t[0], x, high);
        for (int c = 1; c < P; ++c)
            r = _mm512_mask_mov_epi8(r, lanes.mask[phase][c], lookup(t[c], x, high));
        _mm512_mask_storeu_epi8(d + i, take, r);
        phase = (phase + 64 % P) % P;
    }
}

#undef OZL_VBMI

void mapBytesAvx512(const uint8_t* s, uint8_t* d, size_t n, const uint8_t* maps, int period) {
    switch (period) {
        case 1: return mapBytesVbmi<1>(s, d, n, maps);
        case 2: return mapBytesVbmi<2>(s, d, n, maps);
        case 3: return mapBytesVbmi<3>(s, d, n, maps);
        case 4: return mapBytesVbmi<4>(s, d, n, maps);
        default: return mapBytesScalar(s, d, n, maps, period);
    }
}

}  // namespace

const KernelTable& kernelTableAvx512() {
    static const KernelTable table = [] {
        KernelTable t = vectorTable<simd::Avx512>();
        if (cpu::hasAvx512Vbmi()) t.mapBytes = &mapBytesAvx512;
        return t;
    }();
    return table;
}

}  // namespace ozl::stats
