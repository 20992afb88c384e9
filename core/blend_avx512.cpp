// The AVX-512 masked writes: blocks of 64 pixels stored through byte masks,
// so the destination is never read; shorter runs go to the 256-bit level.
#include <cstring>

#include "core/blend.hpp"
#include "simd/avx512.hpp"

namespace ozl::core {

const BlendTable& blendTableAvx2();

namespace {

// For pixels of U bytes, register r of a block: byte b belongs to pixel
// p = (64 r + b) / U, whose bit is bit 7 - p % 8 of mask byte p / 8. `byte`
// picks that mask byte out of the eight repeated in every 128-bit lane.
template <size_t U>
struct Spread {
    alignas(64) uint8_t byte[U][64] = {};
    alignas(64) uint8_t bit[U][64] = {};
    constexpr Spread() {
        for (size_t r = 0; r < U; ++r)
            for (size_t b = 0; b < 64; ++b) {
                const size_t p = (64 * r + b) / U;
                byte[r][b] = static_cast<uint8_t>(p / 8);
                bit[r][b] = static_cast<uint8_t>(0x80u >> (p % 8));
            }
    }
};
template <size_t U>
constexpr Spread<U> kSpread{};

// The 64 mask bits from bit `bit` on, as eight bytes in memory order (most
// significant bit first in each). Reads only the bytes that hold them.
uint64_t maskBytes(const uint8_t* mask, size_t bit) {
    const uint8_t* p = mask + bit / 8;
    const unsigned o = bit % 8;
    uint64_t w;
    std::memcpy(&w, p, 8);
    if (o == 0) return w;
    const uint64_t msbFirst = __builtin_bswap64(w) << o | p[8] >> (8 - o);
    return __builtin_bswap64(msbFirst);
}

template <size_t U>
void blendBlocks(uint8_t* d, const uint8_t* s, size_t nPix, const uint8_t* mask, size_t bit0) {
    auto block = [&](size_t at) {
        const uint64_t m = maskBytes(mask, bit0 + at);
        if (m == 0) return;
        if (m == ~uint64_t{0}) {  // plain stores: cheaper than masked ones
            for (size_t r = 0; r < U; ++r)
                _mm512_storeu_si512(d + at * U + 64 * r, _mm512_loadu_si512(s + at * U + 64 * r));
            return;
        }
        const __m512i bytes = _mm512_set1_epi64(static_cast<long long>(m));
        for (size_t r = 0; r < U; ++r) {
            const __mmask64 k = _mm512_test_epi8_mask(
                _mm512_shuffle_epi8(bytes, _mm512_load_si512(kSpread<U>.byte[r])),
                _mm512_load_si512(kSpread<U>.bit[r]));
            _mm512_mask_storeu_epi8(d + at * U + 64 * r, k, _mm512_loadu_si512(s + at * U + 64 * r));
        }
    };
    size_t p = 0;
    for (; p + 64 <= nPix; p += 64) block(p);
    // The last full block again over the tail: a blend only copies src.
    if (p < nPix) block(nPix - 64);
}

template <size_t S>
void blendKernel(void* pd, const void* ps, size_t nPix, int nCh, const uint8_t* mask,
                 int maskBit) {
    if (nPix < 64 || nCh > 4) {
        blendTableAvx2().forBytes(S)(pd, ps, nPix, nCh, mask, maskBit);
        return;
    }
    auto* d = static_cast<uint8_t*>(pd);
    const auto* s = static_cast<const uint8_t*>(ps);
    mask += maskBit / 8;
    const size_t bit0 = static_cast<size_t>(maskBit % 8);
    switch (nCh) {
        case 1: blendBlocks<S>(d, s, nPix, mask, bit0); break;
        case 2: blendBlocks<2 * S>(d, s, nPix, mask, bit0); break;
        case 3: blendBlocks<3 * S>(d, s, nPix, mask, bit0); break;
        default: blendBlocks<4 * S>(d, s, nPix, mask, bit0); break;
    }
}

}  // namespace

const BlendTable& blendTableAvx512() {
    static const BlendTable table = {
        {&blendKernel<1>, &blendKernel<2>, &blendKernel<4>}};
    return table;
}

}  // namespace ozl::core
