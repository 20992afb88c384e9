// The AVX-512 layer with the byte permutes of AVX-512 VBMI: the same vectors
// and operations as simd::Avx512, with interleaved byte channels split and
// joined by permutes across whole registers instead of dealing 16-byte pieces
// to lanes and shuffling within them (a third of the shuffles). Only for the
// avx512vbmi translation units, which run where cpu::hasAvx512Vbmi() holds
// (internal linkage, see sse2.hpp).
#pragma once

#include "simd/avx512.hpp"

namespace ozl::simd {
namespace {

struct BytePermutes {
    alignas(64) uint8_t split3[3][64];    // channel c of 3: (3j + c) mod 128
    alignas(64) uint8_t split3Far[3][64]; // the same values past 128, from the third register
    uint64_t split3FarMask[3];            // pixels j whose value lies past 128
    alignas(64) uint8_t join3[3][64];     // register r of 3: channels 0 and 1 (1 as 64 + j)
    alignas(64) uint8_t join3Last[3][64]; // channel 2's pixel j
    uint64_t join3LastMask[3];            // positions of channel 2
    alignas(64) uint8_t split4[3][64];    // channel c of 4: (4j + c) mod 128
};

constexpr BytePermutes makeBytePermutes() {
    BytePermutes t{};
    for (int c = 0; c < 3; ++c)
        for (int j = 0; j < 64; ++j) {
            const int at = 3 * j + c;
            t.split3[c][j] = static_cast<uint8_t>(at & 127);
            t.split3Far[c][j] = static_cast<uint8_t>(at >= 128 ? at - 128 : 0);
            if (at >= 128) t.split3FarMask[c] |= uint64_t{1} << j;
            t.split4[c][j] = static_cast<uint8_t>((4 * j + c) & 127);
        }
    for (int r = 0; r < 3; ++r)
        for (int q = 0; q < 64; ++q) {
            const int g = 64 * r + q, c = g % 3, j = g / 3;
            t.join3[r][q] = static_cast<uint8_t>(c == 0 ? j : c == 1 ? 64 + j : 0);
            t.join3Last[r][q] = static_cast<uint8_t>(c == 2 ? j : 0);
            if (c == 2) t.join3LastMask[r] |= uint64_t{1} << q;
        }
    return t;
}

alignas(64) constexpr BytePermutes kBytePermutes = makeBytePermutes();

struct Avx512Vbmi : Avx512 {
    static void load3x8(const void* p, V& c0, V& c1, V& c2) {
        const auto* b = static_cast<const uint8_t*>(p);
        const V a = load(b), m = load(b + 64), z = load(b + 128);
        const auto& t = kBytePermutes;
        V* out[3] = {&c0, &c1, &c2};
        for (int c = 0; c < 3; ++c)
            *out[c] = _mm512_mask_permutexvar_epi8(
                _mm512_permutex2var_epi8(a, load(t.split3[c]), m), t.split3FarMask[c],
                load(t.split3Far[c]), z);
    }
    template <bool kStream = false>
    static void store3x8(void* p, V c0, V c1, V c2) {
        auto* b = static_cast<uint8_t*>(p);
        const auto& t = kBytePermutes;
        for (int r = 0; r < 3; ++r)
            put<kStream>(b + 64 * r,
                  _mm512_mask_permutexvar_epi8(_mm512_permutex2var_epi8(c0, load(t.join3[r]), c1),
                                               t.join3LastMask[r], load(t.join3Last[r]), c2));
    }
    // Four channels, the fourth dropped.
    static void load4x8(const void* p, V& c0, V& c1, V& c2) {
        const auto* b = static_cast<const uint8_t*>(p);
        const V a = load(b), e = load(b + 64), f = load(b + 128), g = load(b + 192);
        V* out[3] = {&c0, &c1, &c2};
        constexpr __mmask64 kHigh = ~uint64_t{0} << 32;  // pixels 32..63 from the last two
        for (int c = 0; c < 3; ++c) {
            const V idx = load(kBytePermutes.split4[c]);
            *out[c] = _mm512_mask_blend_epi8(kHigh, _mm512_permutex2var_epi8(a, idx, e),
                                             _mm512_permutex2var_epi8(f, idx, g));
        }
    }
};

}  // namespace
}  // namespace ozl::simd
