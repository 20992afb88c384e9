// The vertical passes of 8U resampling over a vector layer (simd/sse2.hpp,
// simd/avx2.hpp): rows of 16-bit sums weighed by multiply-adds of row pairs
// in 32-bit lanes, rounded, shifted and saturated to bytes, kBytes values a
// step (the last step again over the last values, from the same inputs).
#pragma once

#include <cstddef>
#include <cstdint>

namespace ozl::geometry {
namespace {

// d[i] = (sum over k of rows[2k][i] wk0 + rows[2k+1][i] wk1 + 2^(shift-1)) >> shift,
// saturated, with weights[k] = wk0 | (wk1 << 16). False, doing nothing, when n
// is below one vector.
template <class Vx, int nPairs, int shift>
bool weighRows(const int16_t* const* rows, const int32_t* weights, uint8_t* d, size_t n) {
    using V = typename Vx::V;
    constexpr size_t kStep = Vx::kBytes;
    if (n < kStep) return false;
    V w[nPairs];
    for (int k = 0; k < nPairs; ++k) w[k] = Vx::set32(weights[k]);
    const V round = Vx::set32(1 << (shift - 1));
    // kStep / 2 results from value i on, as 16-bit lanes.
    auto half = [&](size_t i) {
        V lo = round, hi = round;
        for (int k = 0; k < nPairs; ++k) {
            const V a = Vx::load(rows[2 * k] + i), b = Vx::load(rows[2 * k + 1] + i);
            lo = Vx::add32(lo, Vx::madd16(Vx::unpackLo16(a, b), w[k]));
            hi = Vx::add32(hi, Vx::madd16(Vx::unpackHi16(a, b), w[k]));
        }
        return Vx::packS32(Vx::template srai32<shift>(lo), Vx::template srai32<shift>(hi));
    };
    auto step = [&](size_t i) {
        Vx::store(d + i, Vx::packOrder(Vx::packUS16(half(i), half(i + kStep / 2))));
    };
    size_t i = 0;
    for (; i + kStep <= n; i += kStep) step(i);
    if (i < n) step(n - kStep);
    return true;
}

}  // namespace
}  // namespace ozl::geometry
