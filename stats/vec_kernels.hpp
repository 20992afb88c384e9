// The vector forms of the statistics kernels, written once over the vector
// layer and compiled per level. Every result is an exact integer, equal to the
// scalar form's; each kernel ends with the scalar form over what its vectors
// did not cover. Internal linkage (see simd/sse2.hpp).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "stats/kernels.hpp"

namespace ozl::stats {
namespace {

template <class Vx>
int64_t sumLanes32(typename Vx::V v) {
    int32_t lanes[Vx::kBytes / 4];
    Vx::store(lanes, v);
    int64_t s = 0;
    for (int32_t x : lanes) s += x;
    return s;
}

template <class Vx>
uint64_t sumLanes64(typename Vx::V v) {
    uint64_t lanes[Vx::kBytes / 8];
    Vx::store(lanes, v);
    uint64_t s = 0;
    for (uint64_t x : lanes) s += x;
    return s;
}

template <class Vx>
uint8_t maxLanes8(typename Vx::V v) {
    uint8_t lanes[Vx::kBytes];
    Vx::store(lanes, v);
    return *std::max_element(lanes, lanes + Vx::kBytes);
}

// ---------------------------------------------------------------------------
// Histograms: the pair table folded into the byte counters in one pass down
// its 256 rows. The first bytes' counts are column sums of at most 256 x 255,
// held in 16-bit lanes (even and odd columns apart); the second bytes' are row
// sums of absolute differences against zero.

template <class Vx>
void foldPairsVec(const uint8_t* pairs, uint32_t* counts) {
    using V = typename Vx::V;
    constexpr int W = static_cast<int>(Vx::kBytes);
    constexpr int kColumns = 256 / W;
    const V zero = Vx::zero(), low = Vx::set16(0xFF);
    V even[kColumns], odd[kColumns];
    for (int k = 0; k < kColumns; ++k) even[k] = odd[k] = zero;
    for (int second = 0; second < 256; ++second) {
        V s = zero;
        for (int k = 0; k < kColumns; ++k) {
            const V x = Vx::load(pairs + second * 256 + k * W);
            even[k] = Vx::add16(even[k], Vx::and_(x, low));
            odd[k] = Vx::add16(odd[k], Vx::template srli16<8>(x));
            s = Vx::add64(s, Vx::sadU8(x, zero));
        }
        counts[second] += static_cast<uint32_t>(sumLanes64<Vx>(s));
    }
    for (int k = 0; k < kColumns; ++k) {
        uint16_t e[W / 2], o[W / 2];
        Vx::store(e, even[k]);
        Vx::store(o, odd[k]);
        for (int j = 0; j < W / 2; ++j) {
            counts[k * W + 2 * j] += e[j];
            counts[k * W + 2 * j + 1] += o[j];
        }
    }
}

// Scalar counting: dense runs by pairs where there is a pair table (half the
// increments, which bound the count), else bytes into the four tables in turn.
// In a run of one value every pair increment waits on the last; stores are
// forwarded quickly enough for this to stay ahead of counting bytes.
template <class Vx>
void countBytesVec(const uint8_t* p, size_t n, size_t stride, const ByteCounters& c) {
    uint32_t* t0 = c.tables;
    uint32_t* t1 = t0 + 256;
    uint32_t* t2 = t0 + 512;
    uint32_t* t3 = t0 + 768;
    size_t i = 0;
    if (stride == 1 && c.pairs) {
        uint8_t* pairs = c.pairs;
        auto pair = [&](uint32_t k) {
            if (++pairs[k] == 0) {  // rare: 256 more of both bytes
                t0[k & 0xFF] += 256;
                t0[k >> 8] += 256;
            }
        };
        for (; i + 16 <= n; i += 16) {
            // Large images come from memory: asking 1 KB ahead keeps the
            // loads from waiting on it behind the table's traffic.
            __builtin_prefetch(p + i + 1024);
            uint32_t w[4];
            std::memcpy(w, p + i, sizeof w);
            for (uint32_t x : w) {
                pair(x & 0xFFFF);
                pair(x >> 16);
            }
        }
    } else if (stride == 1) {
        for (; i + 8 <= n; i += 8) {
            uint32_t w0, w1;
            std::memcpy(&w0, p + i, 4);
            std::memcpy(&w1, p + i + 4, 4);
            ++t0[w0 & 0xFF];
            ++t1[(w0 >> 8) & 0xFF];
            ++t2[(w0 >> 16) & 0xFF];
            ++t3[w0 >> 24];
            ++t0[w1 & 0xFF];
            ++t1[(w1 >> 8) & 0xFF];
            ++t2[(w1 >> 16) & 0xFF];
            ++t3[w1 >> 24];
        }
    } else {
        for (; i + 4 <= n; i += 4) {
            ++t0[p[i * stride]];
            ++t1[p[(i + 1) * stride]];
            ++t2[p[(i + 2) * stride]];
            ++t3[p[(i + 3) * stride]];
        }
    }
    for (; i < n; ++i) ++t0[p[i * stride]];
}

// ---------------------------------------------------------------------------
// Moments of 8-bit values. Pixels go in blocks of 32: with u the position in
// the block, the block sums B_j = sum u^j p (j = 0..3) come from 16-bit
// products (u^3 <= 29791) added pairwise into 32-bit lanes. Up to 32 blocks
// form a segment; over its blocks b = 0..N-1, the weighted sums
// sum b^i B_j come from iterated running sums (additions only):
//   F1 = sum B, F2 = sum of F1 after each block, F3, F4 likewise, so that with
//   t = N - b: sum t B = F2, sum t^2 B = 2 F3 - F2, sum t^3 B = 6 F4 - 6 F3 + F2.
// The lanes stay below 2^31 over a segment (at most 8 pixels per lane per
// block), and are added up into 64-bit sums once per segment.

constexpr size_t kBlock = 32;
constexpr size_t kSegmentBlocks = 32;
constexpr int64_t kBinomial[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};

// sums[k] += sum over the segment's pixels of (start + x)^k p, x = 32 b + u,
// from the lane sums of each chain (f[j][r]: chain j = 0..3, r < 4 - j).
inline void addSegment(const int64_t f[4][4], int64_t blocks, int64_t start, int64_t* sums) {
    const int64_t N = blocks;
    int64_t g[4][4] = {};  // g[j][i] = sum over blocks of b^i B_j
    for (int j = 0; j <= 3; ++j) {
        const int top = 3 - j;
        const int64_t a = f[j][0];
        const int64_t t1 = top >= 1 ? f[j][1] : 0;
        const int64_t t2 = top >= 2 ? 2 * f[j][2] - t1 : 0;
        const int64_t t3 = top >= 3 ? 6 * f[j][3] - 6 * f[j][2] + t1 : 0;
        g[j][0] = a;
        g[j][1] = N * a - t1;
        g[j][2] = N * (N * a - 2 * t1) + t2;
        g[j][3] = N * (N * (N * a - 3 * t1) + 3 * t2) - t3;
    }
    // Segment sums from its first pixel: (32 b + u)^k expanded.
    int64_t seg[4];
    for (int k = 0; k <= 3; ++k) {
        seg[k] = 0;
        for (int j = 0; j <= k; ++j) {
            int64_t w = kBinomial[k][j];
            for (int p = j; p < k; ++p) w *= static_cast<int64_t>(kBlock);
            seg[k] += w * g[j][k - j];
        }
    }
    for (int k = 0; k <= 3; ++k) {
        int64_t s = 0;
        for (int j = 0; j <= k; ++j) {
            int64_t w = kBinomial[k][j];
            for (int p = j; p < k; ++p) w *= start;
            s += w * seg[j];
        }
        sums[k] += s;
    }
}

template <class Vx, class T>
void momentSums8(const void* pv, size_t n, int64_t* sums) {
    using V = typename Vx::V;
    constexpr int G = Vx::kWidenGroups;
    constexpr bool isSigned = std::is_signed_v<T>;
    const auto* p = static_cast<const uint8_t*>(pv);
    static constexpr uint8_t kPositions[kBlock] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                                   11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                                                   22, 23, 24, 25, 26, 27, 28, 29, 30, 31};
    V w1[G], w2[G], w3[G];
    Vx::template widen32<false>(kPositions, w1);
    for (int g = 0; g < G; ++g) {
        w2[g] = Vx::mullo16(w1[g], w1[g]);
        w3[g] = Vx::mullo16(w2[g], w1[g]);
    }
    const V one = Vx::set16(1);
    const size_t blocks = n / kBlock;
    for (size_t s0 = 0; s0 < blocks; s0 += kSegmentBlocks) {
        const size_t nb = std::min(kSegmentBlocks, blocks - s0);
        V f0[4], f1[3], f2[2], f3;
        for (V& v : f0) v = Vx::zero();
        for (V& v : f1) v = Vx::zero();
        for (V& v : f2) v = Vx::zero();
        f3 = Vx::zero();
        const uint8_t* q = p + s0 * kBlock;
        for (size_t b = 0; b < nb; ++b, q += kBlock) {
            V x[G];
            Vx::template widen32<isSigned>(q, x);
            V b0 = Vx::madd16(x[0], one), b1 = Vx::madd16(x[0], w1[0]);
            V b2 = Vx::madd16(x[0], w2[0]), b3 = Vx::madd16(x[0], w3[0]);
            for (int g = 1; g < G; ++g) {
                b0 = Vx::add32(b0, Vx::madd16(x[g], one));
                b1 = Vx::add32(b1, Vx::madd16(x[g], w1[g]));
                b2 = Vx::add32(b2, Vx::madd16(x[g], w2[g]));
                b3 = Vx::add32(b3, Vx::madd16(x[g], w3[g]));
            }
            f0[0] = Vx::add32(f0[0], b0);
            f0[1] = Vx::add32(f0[1], f0[0]);
            f0[2] = Vx::add32(f0[2], f0[1]);
            f0[3] = Vx::add32(f0[3], f0[2]);
            f1[0] = Vx::add32(f1[0], b1);
            f1[1] = Vx::add32(f1[1], f1[0]);
            f1[2] = Vx::add32(f1[2], f1[1]);
            f2[0] = Vx::add32(f2[0], b2);
            f2[1] = Vx::add32(f2[1], f2[0]);
            f3 = Vx::add32(f3, b3);
        }
        int64_t f[4][4] = {};
        for (int r = 0; r < 4; ++r) f[0][r] = sumLanes32<Vx>(f0[r]);
        for (int r = 0; r < 3; ++r) f[1][r] = sumLanes32<Vx>(f1[r]);
        for (int r = 0; r < 2; ++r) f[2][r] = sumLanes32<Vx>(f2[r]);
        f[3][0] = sumLanes32<Vx>(f3);
        addSegment(f, static_cast<int64_t>(nb), static_cast<int64_t>(s0 * kBlock), sums);
    }
    momentSumsScalar(static_cast<const T*>(pv), n, sums, blocks * kBlock);
}

// ---------------------------------------------------------------------------
// Norms of 8-bit unsigned values or differences: |a - b| as the larger minus
// the smaller; the maximum by bytes, L1 by sums of absolute differences
// against zero, L2 by 16-bit squares added pairwise into 32-bit lanes (at most
// 2 * 2 * 255^2 per lane and vector), moved to 64 bits every 4096 vectors.

template <class Vx>
typename Vx::V magnitudes(const uint8_t* a, const uint8_t* b, size_t i) {
    const typename Vx::V x = Vx::load(a + i);
    if (!b) return x;
    const typename Vx::V y = Vx::load(b + i);
    return Vx::or_(Vx::subsU8(x, y), Vx::subsU8(y, x));
}

template <class Vx, NormKind kind>
void normU8(const void* pa, const void* pb, size_t n, NormAcc& acc) {
    using V = typename Vx::V;
    constexpr size_t W = Vx::kBytes;
    const auto* a = static_cast<const uint8_t*>(pa);
    const auto* b = static_cast<const uint8_t*>(pb);
    const V zero = Vx::zero();
    size_t i = 0;
    if constexpr (kind == NormKind::C) {
        V m0 = zero, m1 = zero;
        for (; i + 2 * W <= n; i += 2 * W) {
            m0 = Vx::maxU8(m0, magnitudes<Vx>(a, b, i));
            m1 = Vx::maxU8(m1, magnitudes<Vx>(a, b, i + W));
        }
        for (; i + W <= n; i += W) m0 = Vx::maxU8(m0, magnitudes<Vx>(a, b, i));
        acc.max = std::max<uint64_t>(acc.max, maxLanes8<Vx>(Vx::maxU8(m0, m1)));
    } else if constexpr (kind == NormKind::L1) {
        V s0 = zero, s1 = zero;
        for (; i + 2 * W <= n; i += 2 * W) {
            s0 = Vx::add64(s0, Vx::sadU8(magnitudes<Vx>(a, b, i), zero));
            s1 = Vx::add64(s1, Vx::sadU8(magnitudes<Vx>(a, b, i + W), zero));
        }
        for (; i + W <= n; i += W) s0 = Vx::add64(s0, Vx::sadU8(magnitudes<Vx>(a, b, i), zero));
        acc.sum.add(sumLanes64<Vx>(Vx::add64(s0, s1)));
    } else {
        constexpr size_t kFlush = 4096 * W;
        V total = zero;
        while (i + W <= n) {
            const size_t stop = i + std::min(kFlush, (n - i) / W * W);
            V s0 = zero, s1 = zero;
            for (; i + 2 * W <= stop; i += 2 * W) {
                const V d0 = magnitudes<Vx>(a, b, i), d1 = magnitudes<Vx>(a, b, i + W);
                const V l0 = Vx::unpackLo8(d0, zero), h0 = Vx::unpackHi8(d0, zero);
                const V l1 = Vx::unpackLo8(d1, zero), h1 = Vx::unpackHi8(d1, zero);
                s0 = Vx::add32(s0, Vx::add32(Vx::madd16(l0, l0), Vx::madd16(h0, h0)));
                s1 = Vx::add32(s1, Vx::add32(Vx::madd16(l1, l1), Vx::madd16(h1, h1)));
            }
            for (; i + W <= stop; i += W) {
                const V d = magnitudes<Vx>(a, b, i);
                const V l = Vx::unpackLo8(d, zero), h = Vx::unpackHi8(d, zero);
                s0 = Vx::add32(s0, Vx::add32(Vx::madd16(l, l), Vx::madd16(h, h)));
            }
            // Lanes below 2^31, moved into 64-bit lanes.
            total = Vx::add64(total, Vx::add64(Vx::addPairs32(s0), Vx::addPairs32(s1)));
        }
        acc.sum.add(sumLanes64<Vx>(total));
    }
    normScalar<kind, uint8_t>(a, b, n, acc, i);
}

// The level's table: the reference with the vector kernels in place.
template <class Vx>
KernelTable vectorTable() {
    KernelTable t = kernelTable(cpu::Level::Ref);
    t.countBytes = &countBytesVec<Vx>;
    t.foldPairs = &foldPairsVec<Vx>;
    t.momentSums[static_cast<int>(Elem::U8)] = &momentSums8<Vx, uint8_t>;
    t.momentSums[static_cast<int>(Elem::S8)] = &momentSums8<Vx, int8_t>;
    t.norm[static_cast<int>(NormKind::C)][static_cast<int>(Elem::U8)] = &normU8<Vx, NormKind::C>;
    t.norm[static_cast<int>(NormKind::L1)][static_cast<int>(Elem::U8)] = &normU8<Vx, NormKind::L1>;
    t.norm[static_cast<int>(NormKind::L2)][static_cast<int>(Elem::U8)] = &normU8<Vx, NormKind::L2>;
    return t;
}

}  // namespace
}  // namespace ozl::stats
