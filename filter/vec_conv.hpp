// Vector forms of the convolution row kernels, written once over the vector
// layer Vx (simd::Sse2, Avx2 or Avx512) and instantiated in each
// instruction-set file. Integer sums are exact modulo 2^16 or 2^32, so any
// grouping of the products gives the scalar form's result; float sums keep
// the scalar form's order of operations, product by product.
//
// Rows are finished by running the last full vector again at n - width when
// the stores only depend on the sources (the repeated values are the same);
// accumulations into their own output finish with the scalar form instead.
// Internal linkage (see simd/sse2.hpp).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "filter/kernels.hpp"

namespace ozl::filter {
namespace {

// ---------------------------------------------------------------------------
// 8-bit values in 16-bit lanes.

template <class Vx>
void narrowVec(const NarrowKernel& k, const void* const* rows, void* dst, size_t n) {
    using V = typename Vx::V;
    constexpr size_t W = Vx::kBytes;
    if constexpr (Vx::kHasNarrower) {
        if (n < W) return narrowVec<typename Vx::Narrower>(k, rows, dst, n);
    }
    if (n < W) return narrowRef(k, rows, dst, 0, n);

    const int np = k.nPairs;
    const uint8_t* p0[kMaxPairs];
    const uint8_t* p1[kMaxPairs];
    V c0[kMaxPairs], c1[kMaxPairs];
    const bool bytePairs = Vx::kHasByteMadd && k.bytePairs;
    for (int j = 0; j < np; ++j) {
        const TapPair& p = k.pairs[j];
        p0[j] = rowAt<uint8_t>(rows, p.row0, p.offset0);
        p1[j] = rowAt<uint8_t>(rows, p.row1, p.offset1);
        if (bytePairs) {
            c0[j] = Vx::set16((p.coeff0 & 0xFF) | ((p.coeff1 & 0xFF) << 8));
        } else {
            c0[j] = Vx::set16(p.coeff0);
            c1[j] = Vx::set16(p.coeff1);
        }
    }
    const V flip = Vx::set8(k.signedIn ? 0x80 : 0);
    const V bias = Vx::set16(k.bias);
    const V zero = Vx::zero();
    const auto count = Vx::count(k.shift);
    const V top = Vx::set16(k.signedOut ? 127 : 255);
    auto* out = static_cast<uint8_t*>(dst);

    auto finish = [&](V lo, V hi) {
        if (k.signedSum) {
            lo = Vx::sra16(lo, count);
            hi = Vx::sra16(hi, count);
            if (k.absolute) {
                lo = Vx::abs16(lo);
                hi = Vx::abs16(hi);
            }
        } else {
            lo = Vx::minU16(Vx::srl16(lo, count), top);
            hi = Vx::minU16(Vx::srl16(hi, count), top);
        }
        // The pack undoes the lane order of the unpacks.
        return k.signedOut ? Vx::packS16(lo, hi) : Vx::packUS16(lo, hi);
    };
    // One body per reading (flipped or not) and multiply (byte pairs or not).
    auto run = [&](auto flipped, auto pairs) {
        constexpr bool kFlip = decltype(flipped)::value;
        constexpr bool kPairs = decltype(pairs)::value;
        auto read = [&](const uint8_t* p) {
            const V x = Vx::load(p);
            return kFlip ? Vx::xor_(x, flip) : x;
        };
        auto block = [&](size_t i) {
            V lo = bias, hi = bias;
            for (int j = 0; j < np; ++j) {
                const V x0 = read(p0[j] + i);
                const V x1 = read(p1[j] + i);
                if constexpr (kPairs) {
                    lo = Vx::add16(lo, Vx::maddUbs(Vx::unpackLo8(x0, x1), c0[j]));
                    hi = Vx::add16(hi, Vx::maddUbs(Vx::unpackHi8(x0, x1), c0[j]));
                } else {
                    lo = Vx::add16(lo, Vx::mullo16(Vx::unpackLo8(x0, zero), c0[j]));
                    hi = Vx::add16(hi, Vx::mullo16(Vx::unpackHi8(x0, zero), c0[j]));
                    lo = Vx::add16(lo, Vx::mullo16(Vx::unpackLo8(x1, zero), c1[j]));
                    hi = Vx::add16(hi, Vx::mullo16(Vx::unpackHi8(x1, zero), c1[j]));
                }
            }
            return finish(lo, hi);
        };
        size_t i = 0;
        for (; i + W <= n; i += W) Vx::store(out + i, block(i));
        if (i < n) Vx::store(out + n - W, block(n - W));
    };
    using Yes = std::true_type;
    using No = std::false_type;
    if constexpr (Vx::kHasByteMadd) {
        if (bytePairs) return k.signedIn ? run(Yes{}, Yes{}) : run(No{}, Yes{});
    }
    k.signedIn ? run(Yes{}, No{}) : run(No{}, No{});
}

// ---------------------------------------------------------------------------
// 8- and 16-bit values, 16-bit weights, 32-bit sums: pairs of values
// multiplied and added in one step. Large kernels go a group of pairs at a
// time, each group's sums added to the row.

template <class Vx, class T>
typename Vx::V load16(const T* p) {
    if constexpr (std::is_same_v<T, uint8_t>) return Vx::widenU8(p);
    else if constexpr (std::is_same_v<T, int8_t>) return Vx::widenS8(p);
    else if constexpr (std::is_same_v<T, uint16_t>) return Vx::xor_(Vx::load(p), Vx::set16(-32768));
    else return Vx::load(p);
}

template <class Vx, class T>
void wideVec(const WideKernel& k, const void* const* rows, int32_t* r, size_t n) {
    using V = typename Vx::V;
    constexpr size_t L = Vx::kBytes / 4;  // int32 lanes
    constexpr size_t B = 2 * L;           // values per block
    if constexpr (Vx::kHasNarrower) {
        if (n < B) return wideVec<typename Vx::Narrower, T>(k, rows, r, n);
    }
    if (n < B) return wideRef<T>(k, rows, r, 0, n);

    const size_t full = n / B * B;
    for (int g = 0; g < k.nPairs; g += kMaxPairs) {
        const int np = std::min(kMaxPairs, k.nPairs - g);
        const T* p0[kMaxPairs];
        const T* p1[kMaxPairs];
        V c[kMaxPairs];
        for (int j = 0; j < np; ++j) {
            const TapPair& p = k.pairs[g + j];
            p0[j] = rowAt<T>(rows, p.row0, p.offset0);
            p1[j] = rowAt<T>(rows, p.row1, p.offset1);
            c[j] = Vx::set32(static_cast<int32_t>((static_cast<uint32_t>(p.coeff0) & 0xFFFF) |
                                                  (static_cast<uint32_t>(p.coeff1) << 16)));
        }
        const V start = Vx::set32(g == 0 ? k.bias : 0);
        for (size_t i = 0; i < full; i += B) {
            V lo = start, hi = start;
            for (int j = 0; j < np; ++j) {
                const V a = load16<Vx>(p0[j] + i);
                const V b = load16<Vx>(p1[j] + i);
                lo = Vx::add32(lo, Vx::madd16(Vx::unpackLo16(a, b), c[j]));
                hi = Vx::add32(hi, Vx::madd16(Vx::unpackHi16(a, b), c[j]));
            }
            V first, second;
            Vx::orderPairs(lo, hi, first, second);
            if (g > 0) {
                first = Vx::add32(first, Vx::load(r + i));
                second = Vx::add32(second, Vx::load(r + i + L));
            }
            Vx::store(r + i, first);
            Vx::store(r + i + L, second);
        }
        // The rest of the row: this group's taps, added the same way.
        for (size_t i = full; i < n; ++i) {
            uint32_t s = g == 0 ? 0 : static_cast<uint32_t>(r[i]);
            for (int j = 0; j < np; ++j) {
                const TapPair& p = k.pairs[g + j];
                s += static_cast<uint32_t>(p.coeff0) * static_cast<uint32_t>(static_cast<int32_t>(p0[j][i])) +
                     static_cast<uint32_t>(p.coeff1) * static_cast<uint32_t>(static_cast<int32_t>(p1[j][i]));
            }
            r[i] = static_cast<int32_t>(s);
        }
    }
    if (k.nPairs == 0) std::fill(r, r + n, 0);
    if (k.shift == 0) return;
    const auto count = Vx::count(k.shift < 31 ? k.shift : 31);
    size_t i = 0;
    for (; i + L <= n; i += L) Vx::store(r + i, Vx::sra32(Vx::load(r + i), count));
    for (; i < n; ++i) r[i] = shiftDown(r[i], k.shift);
}

// ---------------------------------------------------------------------------
// 32F, taps in order; four vectors in flight. Common tap counts get bodies of
// their own, with the weights held in registers.

constexpr int kRealGroup = 64;

// Taps [g, g + nt) of the kernel over the row; N is nt when fixed, else 0.
// The first group starts the sums, the others add to them.
template <class Vx, int N>
void realGroup(const RealKernel& k, int g, int nt, const void* const* rows, float* r, size_t n) {
    using VF = typename Vx::VF;
    constexpr size_t L = Vx::kBytes / 4;
    constexpr int kMax = N ? N : kRealGroup;
    const int count = N ? N : nt;
    const float* p[kMax];
    VF c[kMax];
    for (int t = 0; t < count; ++t) {
        const TapF& tap = k.taps[g + t];
        p[t] = rowAt<float>(rows, tap.row, tap.offset);
        c[t] = Vx::setF(tap.coeff);
    }
    auto sums = [&](size_t i, auto lanes, auto put) {
        constexpr int U = decltype(lanes)::value;
        VF s[U];
        int t0 = 0;
        if (g == 0) {
            for (int u = 0; u < U; ++u) s[u] = Vx::mulF(c[0], Vx::loadF(p[0] + i + u * L));
            t0 = 1;
        } else {
            for (int u = 0; u < U; ++u) s[u] = Vx::loadF(r + i + u * L);
        }
        for (int t = t0; t < count; ++t)
            for (int u = 0; u < U; ++u) s[u] = Vx::addF(s[u], Vx::mulF(c[t], Vx::loadF(p[t] + i + u * L)));
        for (int u = 0; u < U; ++u) put(r + i + u * L, s[u]);
    };
    const auto store = [](float* d, VF v) { Vx::store(d, v); };
    using One = std::integral_constant<int, 1>;
    using Four = std::integral_constant<int, 4>;
    size_t i = 0;
    // Streaming needs an aligned destination: an unaligned start has its
    // first vector stored as usual, the blocks from the first aligned value on
    // go past the caches (a value stored twice gets the same result both times).
    const size_t mis = reinterpret_cast<uintptr_t>(r) % Vx::kBytes;
    if (k.stream && g == 0 && nt == k.count && mis % sizeof(float) == 0 && n >= 8 * L) {
        if (mis != 0) sums(0, One{}, store);
        i = mis == 0 ? 0 : (Vx::kBytes - mis) / sizeof(float);
        for (; i + 4 * L <= n; i += 4 * L) sums(i, Four{}, [](float* d, VF v) { Vx::stream(d, v); });
        Vx::streamFence();
    }
    for (; i + 4 * L <= n; i += 4 * L) sums(i, Four{}, store);
    for (; i + L <= n; i += L) sums(i, One{}, store);
    if (i == n) return;
    // One group: the last vector again (its values depend on the sources
    // only). Otherwise the sums so far are in r: finish value by value.
    if (g == 0 && nt == k.count) return sums(n - L, One{}, store);
    for (; i < n; ++i) {
        float s = g == 0 ? k.taps[g].coeff * p[0][i] : r[i];
        for (int t = g == 0 ? 1 : 0; t < count; ++t) s = s + k.taps[g + t].coeff * p[t][i];
        r[i] = s;
    }
}

template <class Vx>
void realVec(const RealKernel& k, const void* const* rows, float* r, size_t n) {
    constexpr size_t L = Vx::kBytes / 4;
    if constexpr (Vx::kHasNarrower) {
        if (n < L) return realVec<typename Vx::Narrower>(k, rows, r, n);
    }
    if (n < L) return realRef(k, rows, r, 0, n);
    switch (k.count) {
        case 3: return realGroup<Vx, 3>(k, 0, 3, rows, r, n);
        case 5: return realGroup<Vx, 5>(k, 0, 5, rows, r, n);
        case 9: return realGroup<Vx, 9>(k, 0, 9, rows, r, n);
        case 25: return realGroup<Vx, 25>(k, 0, 25, rows, r, n);
        default: break;
    }
    for (int g = 0; g < k.count; g += kRealGroup)
        realGroup<Vx, 0>(k, g, std::min(kRealGroup, k.count - g), rows, r, n);
}

// Bands of 32F rows. A 3x3 kernel whose taps lie on a grid (rows in order,
// three columns a fixed step apart, as kernels are prepared) computes a few
// rows at a time: each vector of the band's source rows is loaded once and
// serves the up to three output rows it feeds. Each output still
// sums its nine products in tap order: source rows in order, columns in
// order within a row.

// Rows a call of the body computes, and vectors a row at a time. Taller
// bands load fewer vectors an output (3 (B + 2) / B) and re-read fewer rows:
// two rows of two vectors fill SSE2's registers; six rows of one measured
// best with AVX-512 and eight with AVX2 (whose weights then come from memory).
template <class Vx>
constexpr int gridBandOf() { return Vx::kBytes == 16 ? 2 : Vx::kBytes == 32 ? 8 : 6; }
constexpr int gridLanes(int band) { return band <= 2 ? 2 : 1; }

inline bool onGrid3x3(const RealKernel& k) {
    if (k.count != 9) return false;
    const int step = k.taps[1].offset - k.taps[0].offset;
    for (int t = 0; t < 9; ++t)
        if (k.taps[t].row != k.taps[0].row + t / 3 || k.taps[t].offset != k.taps[0].offset + t % 3 * step)
            return false;
    return true;
}

template <class Vx, int B>
void gridBand(const RealKernel& k, const void* const* rows, float* r, ptrdiff_t stride, size_t n) {
    using VF = typename Vx::VF;
    constexpr size_t L = Vx::kBytes / 4;
    const ptrdiff_t step = k.taps[1].offset - k.taps[0].offset;
    const float* src[B + 2];
    for (int s = 0; s < B + 2; ++s) src[s] = rowAt<float>(rows, k.taps[0].row + s, k.taps[0].offset);
    VF c[9];
    for (int t = 0; t < 9; ++t) c[t] = Vx::setF(k.taps[t].coeff);
    float* out[B];
    for (int b = 0; b < B; ++b) out[b] = reinterpret_cast<float*>(reinterpret_cast<char*>(r) + b * stride);
    // Unrolled whole, so that the sums stay in registers and the tap of
    // each product is known when compiling.
    auto sums = [&](size_t i, auto lanes, auto put) {
        constexpr int U = decltype(lanes)::value;
        VF acc[B][U];
#pragma GCC unroll 16
        for (int s = 0; s < B + 2; ++s)
#pragma GCC unroll 3
            for (int col = 0; col < 3; ++col)
#pragma GCC unroll 16
                for (int u = 0; u < U; ++u) {
                    const VF x = Vx::loadF(src[s] + col * step + i + u * L);
#pragma GCC unroll 16
                    for (int b = 0; b < B; ++b) {
                        if (b > s || s > b + 2) continue;
                        const int t = (s - b) * 3 + col;
                        const VF p = Vx::mulF(c[t], x);
                        acc[b][u] = t == 0 ? p : Vx::addF(acc[b][u], p);
                    }
                }
        for (int b = 0; b < B; ++b)
            for (int u = 0; u < U; ++u) put(out[b] + i + u * L, acc[b][u]);
    };
    const auto store = [](float* d, VF v) { Vx::store(d, v); };
    using One = std::integral_constant<int, 1>;
    using Lanes = std::integral_constant<int, gridLanes(B)>;
    constexpr size_t W = Lanes::value * L;
    size_t i = 0;
    // Past the caches from the first aligned value on, when every row of the
    // band is aligned alike (see realGroup), and with whole-line vectors only:
    // the rows of a band in half or quarter lines measured slower streamed
    // than cached.
    const size_t mis = reinterpret_cast<uintptr_t>(r) % Vx::kBytes;
    if (Vx::kBytes == 64 && k.stream && mis % sizeof(float) == 0 &&
        stride % static_cast<ptrdiff_t>(Vx::kBytes) == 0 && n >= 4 * L) {
        if (mis != 0) sums(0, One{}, store);
        i = mis == 0 ? 0 : (Vx::kBytes - mis) / sizeof(float);
        for (; i + W <= n; i += W) sums(i, Lanes{}, [](float* d, VF v) { Vx::stream(d, v); });
        Vx::streamFence();
    }
    for (; i + W <= n; i += W) sums(i, Lanes{}, store);
    for (; i + L <= n; i += L) sums(i, One{}, store);
    if (i < n) sums(n - L, One{}, store);
}

// A band of `count` rows, at most B.
template <class Vx, int B>
void gridBands(const RealKernel& k, const void* const* rows, float* r, ptrdiff_t stride, int count, size_t n) {
    if (count == B) return gridBand<Vx, B>(k, rows, r, stride, n);
    if constexpr (B > 1) gridBands<Vx, B - 1>(k, rows, r, stride, count, n);
}

template <class Vx>
void realBandVec(const RealKernel& k, const void* const* rows, float* r, ptrdiff_t stride, int count,
                 size_t n) {
    constexpr size_t L = Vx::kBytes / 4;
    if constexpr (Vx::kHasNarrower) {
        if (n < L) return realBandVec<typename Vx::Narrower>(k, rows, r, stride, count, n);
    }
    if (n < L || !onGrid3x3(k)) {
        for (int b = 0; b < count; ++b)
            realVec<Vx>(k, rows + b, reinterpret_cast<float*>(reinterpret_cast<char*>(r) + b * stride), n);
        return;
    }
    constexpr int band = gridBandOf<Vx>();
    for (int b = 0; b < count; b += band)
        gridBands<Vx, band>(k, rows + b, reinterpret_cast<float*>(reinterpret_cast<char*>(r) + b * stride), stride,
                            std::min(band, count - b), n);
}

// ---------------------------------------------------------------------------
// Separable, 8-bit values in 16-bit lanes: the vertical sums of the row with
// its margins into scratch, then the horizontal sums, shifted, saturated.

// True when the weights read the same backwards.
inline bool symmetric(const int32_t* c, int n) {
    for (int i = 0; i < n / 2; ++i)
        if (c[i] != c[n - 1 - i]) return false;
    return true;
}

// One pass of N taps (0: count taps, known at run time) in 16-bit lanes,
// modulo 2^16: tap t reads at(t, i). Symmetric weights add the two values of
// a weight first and multiply once.
template <class Vx, int N, class At>
typename Vx::V sum16(const typename Vx::V* c, int count, bool folded, At&& at) {
    using V = typename Vx::V;
    const int n = N ? N : count;
    V s = Vx::zero();
    if (folded) {
        for (int t = 0; t < n / 2; ++t) s = Vx::add16(s, Vx::mullo16(Vx::add16(at(t), at(n - 1 - t)), c[t]));
        if (n % 2) s = Vx::add16(s, Vx::mullo16(at(n / 2), c[n / 2]));
        return s;
    }
    for (int t = 0; t < n; ++t) s = Vx::add16(s, Vx::mullo16(at(t), c[t]));
    return s;
}

// The vertical sums of every value of the span (the row with its margins)
// into v; the last block runs again at the end.
template <class Vx, class T, int N>
void sepNarrowVertical(const SepKernel& k, const void* const* rows, int16_t* v, size_t span) {
    using V = typename Vx::V;
    constexpr size_t H = Vx::kBytes / 2;
    constexpr int kMax = N ? N : kMaxPairs;
    const int ny = N ? N : k.yTaps;
    const ptrdiff_t base = -static_cast<ptrdiff_t>(k.left) * k.channels;
    const T* p[kMax];
    V c[kMax];
    for (int j = 0; j < ny; ++j) {
        p[j] = static_cast<const T*>(rows[j]) + base;
        c[j] = Vx::set16(k.yTaps ? k.yCoeff[j] : 1);
    }
    const bool folded = k.yTaps > 2 && symmetric(k.yCoeff, k.yTaps);
    auto block = [&](size_t i) {
        Vx::store(v + i, sum16<Vx, N>(c, ny, folded, [&](int j) {
            if constexpr (std::is_same_v<T, int8_t>) return Vx::widenS8(p[j] + i);
            else return Vx::widenU8(p[j] + i);
        }));
    };
    size_t i = 0;
    for (; i + H <= span; i += H) block(i);
    if (i < span) block(span - H);
}

// The horizontal sums, shifted and saturated into 8-bit values.
template <class Vx, class T, int N>
void sepNarrowHorizontal(const SepKernel& k, const int16_t* v, T* out, size_t n) {
    using V = typename Vx::V;
    constexpr size_t W = Vx::kBytes, H = W / 2;
    constexpr int kMax = N ? N : kMaxPairs;
    const int nx = N ? N : k.xTaps;
    V c[kMax];
    for (int t = 0; t < nx; ++t) c[t] = Vx::set16(k.xTaps ? k.xCoeff[t] : 1);
    const bool folded = k.xTaps > 2 && symmetric(k.xCoeff, k.xTaps);
    const auto count = Vx::count(k.shift < 16 ? k.shift : 16);
    const V top = Vx::set16(static_cast<int>(k.hi));
    const size_t step = static_cast<size_t>(k.channels);
    auto half = [&](size_t i) {
        const V s = sum16<Vx, N>(c, nx, folded, [&](int t) { return Vx::load(v + i + t * step); });
        return k.signedSum ? Vx::sra16(s, count) : Vx::minU16(Vx::srl16(s, count), top);
    };
    auto block = [&](size_t i) {
        const V a = half(i), b = half(i + H);
        if constexpr (std::is_same_v<T, int8_t>) Vx::store(out + i, Vx::packOrder(Vx::packS16(a, b)));
        else Vx::store(out + i, Vx::packOrder(Vx::packUS16(a, b)));
    };
    size_t i = 0;
    for (; i + W <= n; i += W) block(i);
    if (i < n) block(n - W);
}

// Runs f with the tap count as a template argument where a body of its own
// exists (an absent kernel reads one row or value with weight 1).
template <class F>
void withTaps(int taps, F&& f) {
    switch (taps) {
        case 0: return f(std::integral_constant<int, 1>{});
        case 3: return f(std::integral_constant<int, 3>{});
        case 5: return f(std::integral_constant<int, 5>{});
        case 7: return f(std::integral_constant<int, 7>{});
        default: return f(std::integral_constant<int, 0>{});
    }
}

template <class Vx, class T>
void sepNarrowVec(const SepKernel& k, const void* const* rows, void* scratch, void* dst, size_t n) {
    constexpr size_t W = Vx::kBytes;  // output bytes per block
    const size_t span = n + static_cast<size_t>(k.xTaps > 0 ? k.xTaps - 1 : 0) * k.channels;
    if constexpr (Vx::kHasNarrower) {
        if (n < W) return sepNarrowVec<typename Vx::Narrower, T>(k, rows, scratch, dst, n);
    }
    if (n < W) return sepRef<T>(k, rows, scratch, dst, n);
    auto* v = static_cast<int16_t*>(scratch);
    withTaps(k.yTaps, [&](auto ny) { sepNarrowVertical<Vx, T, decltype(ny)::value>(k, rows, v, span); });
    withTaps(k.xTaps, [&](auto nx) {
        sepNarrowHorizontal<Vx, T, decltype(nx)::value>(k, v, static_cast<T*>(dst), n);
    });
}

// Separable, 32-bit sums: the vertical pass as a wide kernel where the
// weights allow (8- or 16-bit values, 16-bit weights) or with 32-bit products
// (32S), the horizontal one with 32-bit products.
template <class Vx, class T>
void sepWideVec(const SepKernel& k, const void* const* rows, void* scratch, void* dst, size_t n) {
    using V = typename Vx::V;
    constexpr size_t L = Vx::kBytes / 4;
    const size_t span = n + static_cast<size_t>(k.xTaps > 0 ? k.xTaps - 1 : 0) * k.channels;
    auto* v = static_cast<int32_t*>(scratch);
    auto* r = v + span + 16;
    if constexpr (!std::is_same_v<T, int32_t>) {
        if (k.vertical) wideVec<Vx, T>(*k.vertical, rows, v, span);
        else sepVerticalRef<T>(k, rows, v, 0, span);
    } else if (k.yTaps == 0 || k.yTaps > kMaxPairs) {
        sepVerticalRef<T>(k, rows, v, 0, span);
    } else {
        const ptrdiff_t base = -static_cast<ptrdiff_t>(k.left) * k.channels;
        const int32_t* p[kMaxPairs];
        V c[kMaxPairs];
        for (int j = 0; j < k.yTaps; ++j) {
            p[j] = static_cast<const int32_t*>(rows[j]) + base;
            c[j] = Vx::set32(k.yCoeff[j]);
        }
        size_t i = 0;
        for (; i + L <= span; i += L) {
            V s = Vx::mullo32(Vx::load(p[0] + i), c[0]);
            for (int j = 1; j < k.yTaps; ++j) s = Vx::add32(s, Vx::mullo32(Vx::load(p[j] + i), c[j]));
            Vx::store(v + i, s);
        }
        sepVerticalRef<T>(k, rows, v, i, span);
    }
    if (k.xTaps == 0 || k.xTaps > kMaxPairs) {
        return sepHorizontalRef<T>(k, v, static_cast<T*>(dst), 0, n);
    } else {
        V c[kMaxPairs];
        for (int t = 0; t < k.xTaps; ++t) c[t] = Vx::set32(k.xCoeff[t]);
        size_t i = 0;
        for (; i + L <= n; i += L) {
            V s = Vx::mullo32(Vx::load(v + i), c[0]);
            for (int t = 1; t < k.xTaps; ++t)
                s = Vx::add32(s, Vx::mullo32(Vx::load(v + i + static_cast<size_t>(t) * k.channels), c[t]));
            Vx::store(r + i, s);
        }
        for (; i < n; ++i) {
            uint32_t s = 0;
            for (int t = 0; t < k.xTaps; ++t)
                s += static_cast<uint32_t>(k.xCoeff[t]) *
                     static_cast<uint32_t>(v[i + static_cast<size_t>(t) * k.channels]);
            r[i] = static_cast<int32_t>(s);
        }
    }
    auto* out = static_cast<T*>(dst);
    for (size_t i = 0; i < n; ++i) out[i] = clampTo<T>(shiftDown(r[i], k.shift), k.lo, k.hi);
}

template <class Vx, class T>
void sepVec(const SepKernel& k, const void* const* rows, void* scratch, void* dst, size_t n) {
    if constexpr (sizeof(T) == 1) {
        if (k.narrow) return sepNarrowVec<Vx, T>(k, rows, scratch, dst, n);
    }
    sepWideVec<Vx, T>(k, rows, scratch, dst, n);
}

// Separable, 32F: both passes in tap order.
template <class Vx>
void sepRealVec(const SepKernelF& k, const void* const* rows, float* scratch, float* dst, size_t n) {
    using VF = typename Vx::VF;
    constexpr size_t L = Vx::kBytes / 4;
    const size_t span = n + static_cast<size_t>(k.xTaps > 0 ? k.xTaps - 1 : 0) * k.channels;
    if constexpr (Vx::kHasNarrower) {
        if (n < L) return sepRealVec<typename Vx::Narrower>(k, rows, scratch, dst, n);
    }
    if (n < L || k.yTaps > kMaxPairs || k.xTaps > kMaxPairs)
        return sepRealRef(k, rows, scratch, dst, n);
    const ptrdiff_t base = -static_cast<ptrdiff_t>(k.left) * k.channels;
    if (k.yTaps == 0) {
        std::copy(static_cast<const float*>(rows[0]) + base,
                  static_cast<const float*>(rows[0]) + base + span, scratch);
    } else {
        const float* p[kMaxPairs];
        VF c[kMaxPairs];
        for (int j = 0; j < k.yTaps; ++j) {
            p[j] = static_cast<const float*>(rows[j]) + base;
            c[j] = Vx::setF(k.yCoeff[j]);
        }
        auto block = [&](size_t i) {
            VF s = Vx::mulF(c[0], Vx::loadF(p[0] + i));
            for (int j = 1; j < k.yTaps; ++j) s = Vx::addF(s, Vx::mulF(c[j], Vx::loadF(p[j] + i)));
            Vx::store(scratch + i, s);
        };
        size_t i = 0;
        for (; i + L <= span; i += L) block(i);
        if (i < span) block(span - L);
    }
    if (k.xTaps == 0) {
        std::copy(scratch, scratch + n, dst);
        return;
    }
    VF c[kMaxPairs];
    c[0] = Vx::setF(k.xCoeff[0]);
    for (int t = 1; t < k.xTaps; ++t) c[t] = Vx::setF(k.xCoeff[t]);
    auto block = [&](size_t i) {
        VF s = Vx::mulF(c[0], Vx::loadF(scratch + i));
        for (int t = 1; t < k.xTaps; ++t)
            s = Vx::addF(s, Vx::mulF(c[t], Vx::loadF(scratch + i + static_cast<size_t>(t) * k.channels)));
        Vx::store(dst + i, s);
    };
    size_t i = 0;
    for (; i + L <= n; i += L) block(i);
    if (i < n) block(n - L);
}

// The table of one level: vector forms where they exist, scalar forms for the
// rest.
template <class Vx>
KernelTable vectorTable() {
    KernelTable t;
    t.narrow = &narrowVec<Vx>;
    t.wide[0] = &wideVec<Vx, uint8_t>;
    t.wide[1] = &wideVec<Vx, int8_t>;
    t.wide[2] = &wideVec<Vx, uint16_t>;
    t.wide[3] = &wideVec<Vx, int16_t>;
    t.exact[0] = &exactRow<uint8_t>;
    t.exact[1] = &exactRow<int8_t>;
    t.exact[2] = &exactRow<uint16_t>;
    t.exact[3] = &exactRow<int16_t>;
    t.exact[4] = &exactRow<int32_t>;
    t.real = &realVec<Vx>;
    t.realBand = &realBandVec<Vx>;
    t.realBandRows = gridBandOf<Vx>();
    t.sep[0] = &sepVec<Vx, uint8_t>;
    t.sep[1] = &sepVec<Vx, int8_t>;
    t.sep[2] = &sepVec<Vx, uint16_t>;
    t.sep[3] = &sepVec<Vx, int16_t>;
    t.sep[4] = &sepVec<Vx, int32_t>;
    t.sepReal = &sepRealVec<Vx>;
    return t;
}

}  // namespace
}  // namespace ozl::filter
