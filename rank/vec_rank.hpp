// The vector forms of the rank kernels, one body for every level: each level's
// file instantiates vectorRankTable<its layer>(). Internal linkage (see
// simd/sse2.hpp).
#pragma once

#include <algorithm>

#include "rank/kernels.hpp"

namespace ozl::rank {
namespace {

// The lanes of one value type: loads as keys, the two extremes.
template <class Vx, class T>
struct Lanes {
    using V = typename Vx::V;
    static constexpr size_t kCount = Vx::kBytes / sizeof(T);
    static V key(V v) {
        if constexpr (std::is_same_v<T, float>)
            return Vx::xor_(v, Vx::and_(Vx::template srai32<31>(v), Vx::set32(0x7fffffff)));
        else return v;
    }
    static V load(const void* p, size_t i) { return key(Vx::load(static_cast<const T*>(p) + i)); }
    static void store(void* p, size_t i, V v) { Vx::store(static_cast<T*>(p) + i, key(v)); }
    static V least(V a, V b) {
        if constexpr (std::is_same_v<T, uint8_t>) return Vx::minU8(a, b);
        else if constexpr (std::is_same_v<T, int8_t>) return Vx::minS8(a, b);
        else if constexpr (std::is_same_v<T, uint16_t>) return Vx::minU16(a, b);
        else if constexpr (std::is_same_v<T, int16_t>) return Vx::min16(a, b);
        else return Vx::min32(a, b);
    }
    static V greatest(V a, V b) {
        if constexpr (std::is_same_v<T, uint8_t>) return Vx::maxU8(a, b);
        else if constexpr (std::is_same_v<T, int8_t>) return Vx::maxS8(a, b);
        else if constexpr (std::is_same_v<T, uint16_t>) return Vx::maxU16(a, b);
        else if constexpr (std::is_same_v<T, int16_t>) return Vx::max16(a, b);
        else return Vx::max32(a, b);
    }
    static V median3(V a, V b, V c) { return greatest(least(a, b), least(greatest(a, b), c)); }
};

template <class T>
const void* advanced(const void* p, size_t i) { return static_cast<const T*>(p) + i; }

// Runs shorter than a vector go to the scalar form (the least and greatest
// first to the narrower vectors of the level below); the last vector of a
// longer run overlaps the one before it.
// K inputs known at compile time (0: k at run time).
template <class Vx, class T, bool Max, int K>
void foldLoop(const void* const* in, int k, void* out, size_t n) {
    using L = Lanes<Vx, T>;
    using V = typename Vx::V;
    const int count = K > 0 ? K : k;
    auto at = [&](size_t i) {
        V v = L::load(in[0], i);
        for (int j = 1; j < count; ++j) v = Max ? L::greatest(v, L::load(in[j], i)) : L::least(v, L::load(in[j], i));
        L::store(out, i, v);
    };
    size_t i = 0;
    for (; i + L::kCount <= n; i += L::kCount) at(i);
    // Recomputing a few values through an output that is also the first input
    // gives them again: taking an extreme twice changes nothing.
    if (i < n) at(n - L::kCount);
}

template <class Vx, class T, bool Max>
void foldVec(const void* const* in, int k, void* out, size_t n) {
    if (n < Lanes<Vx, T>::kCount) {
        if constexpr (Vx::kHasNarrower) return foldVec<typename Vx::Narrower, T, Max>(in, k, out, n);
        else return foldRef<T, Max>(in, k, out, n);
    }
    switch (k) {
        case 2: return foldLoop<Vx, T, Max, 2>(in, k, out, n);
        case 3: return foldLoop<Vx, T, Max, 3>(in, k, out, n);
        default: return foldLoop<Vx, T, Max, 0>(in, k, out, n);
    }
}

// All in registers, each column sorted once per vector it falls in: the
// memory traffic of the row is all it costs.

// Calls at(i) for vectors covering out[0, n), n at least one vector: the
// first unaligned, the rest on vector boundaries of out (stores split across
// cache lines cost more than the values computed twice), the last one
// overlapping the one before.
template <class Vx, class T, class At>
void alignedStores(void* out, size_t n, At at) {
    constexpr size_t kCount = Vx::kBytes / sizeof(T);
    at(0);
    size_t i = (Vx::kBytes - reinterpret_cast<uintptr_t>(out) % Vx::kBytes) % Vx::kBytes / sizeof(T);
    if (i == 0) i = kCount;
    for (; i + kCount <= n; i += kCount) at(i);
    if (i < n) at(n - kCount);
}

// K output rows from K + 2 source rows, a vector at a time: each pair of
// output rows shares the extreme of the two source rows between them, and
// the three columns come from shifted unaligned loads (neighbours are one
// pixel step apart: cheaper than shuffles across lanes).
template <class Vx, class T, bool Max, int K>
void extreme3x3Band(const void* const* rows, char* out, ptrdiff_t outStride, size_t n, int step) {
    using L = Lanes<Vx, T>;
    using V = typename Vx::V;
    auto pick = [](V a, V b) { return Max ? L::greatest(a, b) : L::least(a, b); };
    const T* r[K + 2];
    for (int j = 0; j < K + 2; ++j) r[j] = static_cast<const T*>(rows[j]);
    const ptrdiff_t s = step;
    auto at = [&](size_t i) {
        V acc[K];
        for (int o = -1; o <= 1; ++o) {
            const ptrdiff_t c = static_cast<ptrdiff_t>(i) + o * s;
            V v[K + 2];
            for (int j = 0; j < K + 2; ++j) v[j] = L::load(r[j] + c, 0);
            for (int j = 0; j < K; j += 2) {
                const V q = pick(v[j + 1], v[j + 2]);
                const V a = pick(v[j], q);
                acc[j] = o < 0 ? a : pick(acc[j], a);
                if (j + 1 < K) {
                    const V b = pick(q, v[j + 3]);
                    acc[j + 1] = o < 0 ? b : pick(acc[j + 1], b);
                }
            }
        }
        for (int j = 0; j < K; ++j) L::store(out + j * outStride, i, acc[j]);
    };
    alignedStores<Vx, T>(out, n, at);
}

// 1-bit rows, 3 x 3: each source row's bytes first combined with their west
// and east neighbours (the edge pixels of the bytes before and after moved in
// by 16-bit shifts, the bits crossing into the next byte masked off), then
// each output row from three of those, a strip of bytes at a time down the
// band, so that each source row is combined across once.
template <class Vx, bool Max>
typename Vx::V bitsAcross(typename Vx::V x, typename Vx::V before, typename Vx::V after) {
    using V = typename Vx::V;
    if constexpr (Vx::kBitMatrix) {
        // Each byte's bits moved by a matrix: no masks needed, and no shifts.
        constexpr uint64_t kDown = 0x0204081020408000, kUp = 0x0001020408102040;  // >> 1, << 1
        constexpr uint64_t kLowToHigh = 0x01, kHighToLow = uint64_t{0x80} << 56;  // bit 0 to 7, 7 to 0
        const V a = Vx::bitMatrix(x, kDown), b = Vx::bitMatrix(before, kLowToHigh);
        const V c = Vx::bitMatrix(x, kUp), d = Vx::bitMatrix(after, kHighToLow);
        // x & (a | b) & (c | d), or x | a | b | c | d.
        if constexpr (Max) return Vx::or3(Vx::or3(x, a, b), c, d);
        else return Vx::andEither(Vx::andEither(x, a, b), c, d);
    }
    const V west = Vx::bitSelect(Vx::set8(0x7F), Vx::template srli16<1>(x), Vx::template slli16<7>(before));
    const V east = Vx::bitSelect(Vx::set8(0xFE), Vx::template slli16<1>(x), Vx::template srli16<7>(after));
    return Max ? Vx::or3(x, west, east) : Vx::and3(x, west, east);
}

// across(r): source row r of the strip across; put(y, v): output row y.
template <class Vx, bool Max, class Across, class Put>
void bitsDown(int nOut, Across&& across, Put&& put) {
    using V = typename Vx::V;
    V a = across(0), b = across(1);
    for (int y = 0; y < nOut; ++y) {
        const V c = across(y + 2);
        put(y, Max ? Vx::or3(a, b, c) : Vx::and3(a, b, c));
        a = b;
        b = c;
    }
}

// What the end strips of a packed row take into their margin lanes (see
// bits3x3Vec), the same for every row of the call.
template <class Vx>
struct BitsEndPlan {
    using V = typename Vx::V;
    uint64_t lanes = 0;        // of the last strip
    uint64_t lastLane = 0;     // byte n - 1's
    uint64_t beforeLanes = 0;  // read from byte -1 on in the first strip
    uint64_t afterLanes = 0;   // read from byte 1 on in the last strip
    V neutral, afterLast, kept;
    bool whole = false;        // the width fills byte n - 1
    bool mergeLast = false;    // the pixel after the last one set in byte n - 1
    unsigned keep = 0;         // the output's bits past the width
    int valid = 8;             // pixels in byte n - 1
    const uint8_t* wordBytes = nullptr;
};

// One vector-wide strip of bytes from byte i, down the rows; the first and
// last strips read only the row's own bytes (masked loads) and take the
// margin pixels into their lanes: from the margin words, or (without words)
// a value that changes nothing or the bytes next to the row, as the plan's
// lanes say.
template <class Vx, bool Max, bool First, bool Last, bool Words>
void bitsStrip(const uint8_t* const* rows, const BitsEndPlan<Vx>& plan, size_t i, int nOut, uint8_t* out,
               ptrdiff_t outStride) {
    using V = typename Vx::V;
    constexpr size_t B = Vx::kBytes;
    const uint64_t lanes = plan.lanes, lastLane = plan.lastLane;
    const uint64_t beforeLanes = (Last ? lanes : ~uint64_t{0}) & plan.beforeLanes, afterLanes = plan.afterLanes;
    const V neutral = plan.neutral, afterLast = plan.afterLast, kept = plan.kept;
    const bool whole = plan.whole, mergeLast = plan.mergeLast, keep = plan.keep != 0;
    const int valid = plan.valid;
    const uint8_t* wordBytes = plan.wordBytes;
    auto across = [&](int r) {
        const uint8_t* s = rows[r] + i;
        V x, after;
        if constexpr (Last) {
            x = Vx::loadBytes(s, lanes, Vx::zero());
            V fill = neutral;
            if constexpr (Words) {
                fill = Vx::set8(wordBytes[16 * r + 15]);  // the pixel in bit 7
                if (!whole) fill = Vx::rotateRight32(fill, valid);
            }
            if (mergeLast) x = Vx::bitSelect(afterLast, fill, x);
            after = Vx::loadBytes(s + 1, afterLanes, fill);
        } else {
            x = Vx::load(s);
            after = Vx::load(s + 1);
            // Walking down a strip misses on every line of a long row: the
            // next strip's lines are fetched meanwhile.
            _mm_prefetch(reinterpret_cast<const char*>(s) + 2 * B, _MM_HINT_T0);
        }
        V before;
        if constexpr (First)
            before = Vx::loadBytes(s - 1, beforeLanes, Words ? Vx::set8(wordBytes[16 * r]) : neutral);
        else if constexpr (Last)
            before = Vx::loadBytes(s - 1, lanes, Vx::zero());
        else
            before = Vx::load(s - 1);
        return bitsAcross<Vx, Max>(x, before, after);
    };
    bitsDown<Vx, Max>(nOut, across, [&](int y, V v) {
        uint8_t* o = out + y * outStride + i;
        if constexpr (Last) {
            if (keep) v = Vx::bitSelect(kept, Vx::loadBytes(o, lastLane, Vx::zero()), v);
            Vx::storeBytes(o, lanes, v);
        } else {
            Vx::store(o, v);
        }
    });
}

// The last strip when the bytes past the last whole strip fit a quarter or
// a half vector: R rows share one vector, each in its own block of B / R
// lanes (masked loads and stores place them), so each row's part of the work
// is an R-th. Output rows are R rows of it combined: the vector, and the
// next one's first rows moved in. Margins without words only.
template <class Vx, bool Max, int R>
void bitsPackedTail(const uint8_t* const* rows, const BitsEndPlan<Vx>& plan, size_t i, int nOut, uint8_t* out,
                    ptrdiff_t outStride) {
    using V = typename Vx::V;
    constexpr int kBlock = static_cast<int>(Vx::kBytes) / R;
    // Row k of a vector is read and written from k blocks before its bytes.
    auto back = [](const uint8_t* p, int k) {
        return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(p) - static_cast<uintptr_t>(k * kBlock));
    };
    uint64_t lanes[R], afterLanes[R], lastLanes[R], allLast = 0;
    for (int k = 0; k < R; ++k) {
        lanes[k] = plan.lanes << (k * kBlock);
        afterLanes[k] = plan.afterLanes << (k * kBlock);
        lastLanes[k] = plan.lastLane << (k * kBlock);
        allLast |= lastLanes[k];
    }
    const V neutral = plan.neutral;
    const V afterLast = Vx::setBytes(Vx::zero(), allLast, 0x80 >> plan.valid);
    const V kept = Vx::setBytes(Vx::zero(), allLast, static_cast<int>(plan.keep));
    const bool mergeLast = plan.mergeLast, keep = plan.keep != 0;
    const int available = nOut + 2;
    auto across = [&](int first) {
        V x = Vx::zero(), before = Vx::zero(), after = neutral;
        for (int k = 0; k < R && first + k < available; ++k) {
            const uint8_t* s = rows[first + k] + i;
            x = Vx::loadBytes(back(s, k), lanes[k], x);
            before = Vx::loadBytes(back(s - 1, k), lanes[k], before);
            after = Vx::loadBytes(back(s + 1, k), afterLanes[k], after);
        }
        if (mergeLast) x = Vx::bitSelect(afterLast, neutral, x);
        return bitsAcross<Vx, Max>(x, before, after);
    };
    V now = across(0);
    for (int y = 0; y < nOut; y += R) {
        const V next = across(y + R);
        const V second = Vx::template alignLanes64<R == 4 ? 2 : 4>(next, now);
        const V third = R == 4 ? Vx::template alignLanes64<4>(next, now) : next;
        V v = Max ? Vx::or3(now, second, third) : Vx::and3(now, second, third);
        const int m = std::min(R, nOut - y);
        if (keep) {
            V old = Vx::zero();
            for (int k = 0; k < m; ++k) old = Vx::loadBytes(back(out + (y + k) * outStride + i, k), lastLanes[k], old);
            v = Vx::bitSelect(kept, old, v);
        }
        for (int k = 0; k < m; ++k) Vx::storeBytes(back(out + (y + k) * outStride + i, k), lanes[k], v);
        now = next;
    }
}

template <class Vx, bool Max, bool Words>
void bitsStrips(const uint8_t* const* rows, const BitsEndPlan<Vx>& plan, size_t n, int nOut, uint8_t* out,
                ptrdiff_t outStride) {
    constexpr size_t B = Vx::kBytes;
    if (n <= B) return bitsStrip<Vx, Max, true, true, Words>(rows, plan, 0, nOut, out, outStride);
    bitsStrip<Vx, Max, true, false, Words>(rows, plan, 0, nOut, out, outStride);
    size_t i = B;
    for (; i + B < n; i += B) bitsStrip<Vx, Max, false, false, Words>(rows, plan, i, nOut, out, outStride);
    if constexpr (!Words) {
        if (n - i <= B / 4) return bitsPackedTail<Vx, Max, 4>(rows, plan, i, nOut, out, outStride);
        if (n - i <= B / 2) return bitsPackedTail<Vx, Max, 2>(rows, plan, i, nOut, out, outStride);
    }
    bitsStrip<Vx, Max, false, true, Words>(rows, plan, i, nOut, out, outStride);
}

template <class Vx, bool Max>
void bits3x3Vec(const uint8_t* const* rows, const BitsMargins& margins, int nOut, uint8_t* out, ptrdiff_t outStride,
                int width);

// Margins read from columns away from the rows' ends: their pixels as words,
// a band of up to 64 output rows at a time.
template <class Vx, bool Max>
void bitsWithWords(const uint8_t* const* rows, const BitsMargins& margins, int nOut, uint8_t* out,
                   ptrdiff_t outStride, int width) {
    constexpr int kBand = 64;
    uint64_t words[2 * (kBand + 2)];
    for (int y = 0; y < nOut; y += kBand) {
        const int m = std::min(kBand, nOut - y);
        for (int r = 0; r < m + 2; ++r) {
            const BitsEdge e = bitsEdge(rows[y + r], margins, y + r);
            words[2 * r] = e.before;
            words[2 * r + 1] = uint64_t{e.after} << 63;
        }
        BitsMargins band;
        band.words = words;
        bits3x3Vec<Vx, Max>(rows + y, band, m, out + y * outStride, outStride, width);
    }
}

template <class Vx, bool Max>
void bits3x3Vec(const uint8_t* const* rows, const BitsMargins& margins, int nOut, uint8_t* out, ptrdiff_t outStride,
                int width) {
    using V = typename Vx::V;
    constexpr size_t B = Vx::kBytes;
    const size_t n = (static_cast<size_t>(width) + 7) / 8;
    if constexpr (Vx::kMaskedBytes) {
        // Strips from byte 0 on, the last one holding byte n - 1. Without
        // words, a margin pixel that repeats the row's end pixel changes
        // nothing; one lying next to the row is read with it; others are
        // made words.
        const int c0 = margins.columns[0], c1 = margins.columns[1];
        const bool words = margins.words != nullptr;
        const bool leftNext = !words && c0 == -1, rightNext = !words && c1 == width;
        const bool leftSame = !words && c0 == 0, rightSame = !words && c1 == width - 1;
        if (!words && !((leftNext || leftSame) && (rightNext || rightSame)))
            return bitsWithWords<Vx, Max>(rows, margins, nOut, out, outStride, width);
        BitsEndPlan<Vx> plan;
        const size_t lastAt = (n - 1) / B * B;
        plan.lastLane = uint64_t{1} << (n - 1 - lastAt);
        plan.lanes = plan.lastLane | (plan.lastLane - 1);
        plan.valid = width & 7 ? width & 7 : 8;
        plan.whole = plan.valid == 8;
        plan.neutral = Max ? Vx::zero() : Vx::set8(0xFF);
        // The right margin pixel goes to bit 7 of byte n when the width
        // fills byte n - 1, else to the bit after the last pixel.
        plan.mergeLast = !plan.whole && !rightNext;
        plan.afterLast = Vx::setBytes(Vx::zero(), plan.lastLane, 0x80 >> plan.valid);
        plan.beforeLanes = leftNext ? ~uint64_t{0} : ~uint64_t{1};
        plan.afterLanes = rightNext && plan.whole ? plan.lanes : plan.lastLane - 1;
        plan.keep = 0xFFu >> plan.valid;
        plan.kept = Vx::setBytes(Vx::zero(), plan.lastLane, static_cast<int>(plan.keep));
        plan.wordBytes = reinterpret_cast<const uint8_t*>(margins.words);
        if (words) return bitsStrips<Vx, Max, true>(rows, plan, n, nOut, out, outStride);
        return bitsStrips<Vx, Max, false>(rows, plan, n, nOut, out, outStride);
    } else {
        // Bytes 1 .. n - 2 in place, strips from byte 1 (the last one ending
        // on byte n - 2); bytes 0 and n - 1, which read the margins, apart.
        if (n < B + 2) {
            if constexpr (Vx::kHasNarrower) return bits3x3Vec<typename Vx::Narrower, Max>(rows, margins, nOut, out, outStride, width);
            else return bits3x3Ref<Max>(rows, margins, nOut, out, outStride, width);
        }
        auto strip = [&](size_t i) {
            bitsDown<Vx, Max>(
                nOut,
                [&](int r) {
                    const uint8_t* s = rows[r] + i;
                    return bitsAcross<Vx, Max>(Vx::load(s), Vx::load(s - 1), Vx::load(s + 1));
                },
                [&](int y, V v) { Vx::store(out + y * outStride + i, v); });
        };
        size_t i = 1;
        for (; i + B <= n - 1; i += B) strip(i);
        if (i < n - 1) strip(n - 1 - B);
        bits3x3Bytes<Max>(rows, margins, nOut, out, outStride, width, 0, 1);
        bits3x3Bytes<Max>(rows, margins, nOut, out, outStride, width, n - 1, n);
    }
}

// Four rows at a time while they last (six source rows stay in the first
// level cache), then the rest together.
template <class Vx, class T, bool Max>
void extreme3x3Vec(const void* const* rows, int nOut, void* out, ptrdiff_t outStride, size_t n, int step) {
    if (n < Lanes<Vx, T>::kCount) {
        if constexpr (Vx::kHasNarrower)
            return extreme3x3Vec<typename Vx::Narrower, T, Max>(rows, nOut, out, outStride, n, step);
        else return extreme3x3Ref<T, Max>(rows, nOut, out, outStride, n, step);
    }
    char* o = static_cast<char*>(out);
    int y = 0;
    for (; y + 4 <= nOut; y += 4) extreme3x3Band<Vx, T, Max, 4>(rows + y, o + y * outStride, outStride, n, step);
    switch (nOut - y) {
        case 3: return extreme3x3Band<Vx, T, Max, 3>(rows + y, o + y * outStride, outStride, n, step);
        case 2: return extreme3x3Band<Vx, T, Max, 2>(rows + y, o + y * outStride, outStride, n, step);
        case 1: return extreme3x3Band<Vx, T, Max, 1>(rows + y, o + y * outStride, outStride, n, step);
        default: return;
    }
}

template <class Vx, class T>
void median9Vec(const void* const* rows, void* out, size_t n, int step, void* scratch) {
    using L = Lanes<Vx, T>;
    using V = typename Vx::V;
    if (n < L::kCount) {
        if constexpr (Vx::kHasNarrower) return median9Vec<typename Vx::Narrower, T>(rows, out, n, step, scratch);
        else return median9Ref<T>(rows, out, n, step, scratch);
    }
    const size_t s = static_cast<size_t>(step);
    const T* r0 = static_cast<const T*>(rows[0]) - s;
    const T* r1 = static_cast<const T*>(rows[1]) - s;
    const T* r2 = static_cast<const T*>(rows[2]) - s;
    auto pick = [&](size_t i) {
        V lo[3], mid[3], hi[3];
        for (int c = 0; c < 3; ++c) {
            const size_t at = i + c * s;
            const V a = L::load(r0, at), b = L::load(r1, at), z = L::load(r2, at);
            const V l = L::least(a, b), h = L::greatest(a, b);
            lo[c] = L::least(l, z);
            hi[c] = L::greatest(h, z);
            mid[c] = L::greatest(l, L::least(h, z));
        }
        const V a = L::greatest(L::greatest(lo[0], lo[1]), lo[2]);
        const V b = L::median3(mid[0], mid[1], mid[2]);
        const V z = L::least(L::least(hi[0], hi[1]), hi[2]);
        L::store(out, i, L::median3(a, b, z));
    };
    alignedStores<Vx, T>(out, n, pick);
}

template <class Vx, class T>
void networkVec(const void* const* in, int k, const Comparator* net, int nNet, int pick, void* out,
                size_t n) {
    using L = Lanes<Vx, T>;
    using V = typename Vx::V;
    if (n < L::kCount) return networkRef<T>(in, k, net, nNet, pick, out, n);
    V v[kMaxNetworkInputs];
    auto at = [&](size_t i) {
        for (int j = 0; j < k; ++j) v[j] = L::load(in[j], i);
        for (int c = 0; c < nNet; ++c) {
            const V a = v[net[c].a], b = v[net[c].b];
            v[net[c].a] = L::least(a, b);
            v[net[c].b] = L::greatest(a, b);
        }
        L::store(out, i, v[pick]);
    };
    size_t i = 0;
    for (; i + L::kCount <= n; i += L::kCount) at(i);
    if (i < n) at(n - L::kCount);
}

template <class Vx, class T>
void median25Vec(const void* const* rows, void* out, size_t n, int step, void* scratch) {
    using L = Lanes<Vx, T>;
    using V = typename Vx::V;
    using K = KeyOf<T>;
    if (n < L::kCount) {
        // Side strips of a few pixels: the next narrower vectors, not scalars.
        if constexpr (Vx::kHasNarrower) return median25Vec<typename Vx::Narrower, T>(rows, out, n, step, scratch);
        else return median25Ref<T>(rows, out, n, step, scratch);
    }
    const size_t s = static_cast<size_t>(step), span = n + 4 * s;
    K* cols = static_cast<K*>(scratch);
    const auto order = [](V& a, V& b) {
        const V x = a;
        a = L::least(x, b);
        b = L::greatest(x, b);
    };
    auto columns = [&](size_t i) {
        V v[5];
        for (int r = 0; r < 5; ++r) v[r] = L::load(static_cast<const T*>(rows[r]) - 2 * s, i);
        applyNetwork<kSortFive>(v, order);
        for (int r = 0; r < 5; ++r) Vx::store(cols + r * span + i, v[r]);
    };
    size_t i = 0;
    for (; i + L::kCount <= span; i += L::kCount) columns(i);
    if (i < span) columns(span - L::kCount);
    auto pick = [&](size_t i) {
        V v[25];
        for (int c = 0; c < 5; ++c)
            for (int r = 0; r < 5; ++r) v[c * 5 + r] = Vx::load(cols + r * span + i + c * s);
        applyNetwork<kMiddleOfSortedFives>(v, order);
        L::store(out, i, v[kMiddleOfSortedFivesAt]);
    };
    alignedStores<Vx, T>(out, n, pick);
}

// Column sums in 16-bit lanes (bytes widened pairwise), then the row sums,
// the rounding half and the division by multiplication.
template <class Vx>
void boxU8Vec(const BoxU8& box, const void* const* rows, uint8_t* out, size_t n, int step,
              void* scratch) {
    using V = typename Vx::V;
    constexpr size_t kCount = Vx::kBytes;  // bytes a vector; 16-bit sums in two halves
    const size_t span = n + static_cast<size_t>(box.nCols - 1) * step;
    if (n < kCount) return boxU8Ref(box, rows, out, n, step, scratch);
    auto* col = static_cast<uint16_t*>(scratch);
    const ptrdiff_t left = -static_cast<ptrdiff_t>(box.left) * step;
    auto columns = [&](size_t i) {
        V lo = Vx::zero(), hi = Vx::zero();
        for (int j = 0; j < box.nRows; ++j) {
            V first, second;
            const V b = Vx::load(static_cast<const uint8_t*>(rows[j]) + left + static_cast<ptrdiff_t>(i));
            Vx::orderPairs(Vx::unpackLo8(b, Vx::zero()), Vx::unpackHi8(b, Vx::zero()), first, second);
            lo = Vx::add16(lo, first);
            hi = Vx::add16(hi, second);
        }
        Vx::store(col + i, lo);
        Vx::store(col + i + kCount / 2, hi);
    };
    size_t i = 0;
    for (; i + kCount <= span; i += kCount) columns(i);
    if (i < span) columns(span - kCount);
    const V half = Vx::set16(box.half);
    const Divider16& d = box.divider;
    const V mult = Vx::set16(static_cast<int16_t>(d.multiplier));
    const auto shift = Vx::count(d.shift > 0 ? d.shift - 1 : 0);
    auto divide = [&](V x) {
        if (d.divisor == 1) return x;
        const V t = Vx::mulhiU16(x, mult);
        return Vx::srl16(Vx::add16(t, Vx::template srli16<1>(Vx::sub16(x, t))), shift);
    };
    auto sums = [&](size_t i) {
        V lo = half, hi = half;
        for (int j = 0; j < box.nCols; ++j) {
            const uint16_t* c = col + i + static_cast<size_t>(j) * step;
            lo = Vx::add16(lo, Vx::load(c));
            hi = Vx::add16(hi, Vx::load(c + kCount / 2));
        }
        Vx::store(out + i, Vx::packOrder(Vx::packUS16(divide(lo), divide(hi))));
    };
    for (i = 0; i + kCount <= n; i += kCount) sums(i);
    if (i < n) sums(n - kCount);
}

// Bytes widened against zero in 16-bit lanes, low and high halves of each
// 128-bit lane (the pack at the end restores the order). A separable kernel
// sums each column of the rows first (16-bit values in order in scratch),
// then the row of column sums.
template <class Vx>
void weightedU8Vec(const TapsU8& t, const void* const* rows, uint8_t* out, size_t n, int step, void* scratch) {
    using V = typename Vx::V;
    if (n < Vx::kBytes) {
        if constexpr (Vx::kHasNarrower) return weightedU8Vec<typename Vx::Narrower>(t, rows, out, n, step, scratch);
        else return weightedU8Ref(t, rows, out, n, step, scratch);
    }
    const V half = Vx::set16(t.half);
    const auto shift = Vx::count(t.shift);
    auto finish = [&](V& lo, V& hi) {
        if (t.unsignedSums) lo = Vx::srl16(lo, shift), hi = Vx::srl16(hi, shift);
        else lo = Vx::sra16(lo, shift), hi = Vx::sra16(hi, shift);
    };
    V weight[25];
    auto term = [&](V sum, V x, int k) { return Vx::add16(sum, Vx::mullo16(x, weight[k])); };
    size_t i = 0;
    if (t.separable) {
        constexpr size_t kHalf = Vx::kBytes / 2;
        const size_t s = static_cast<size_t>(step), span = n + static_cast<size_t>(t.size - 1) * s;
        auto* col = static_cast<uint16_t*>(scratch);
        const uint8_t* from[5];
        int nv = 0, nh = 0, across[5];
        for (int r = 0; r < t.size; ++r)
            if (t.vertical[r]) {
                from[nv] = static_cast<const uint8_t*>(rows[r]) - static_cast<ptrdiff_t>(t.size / 2) * step;
                weight[nv++] = Vx::set16(t.vertical[r]);
            }
        for (int c = 0; c < t.size; ++c)
            if (t.horizontal[c]) {
                across[nh] = c * step;
                weight[5 + nh++] = Vx::set16(t.horizontal[c]);
            }
        auto column = [&](size_t at) {
            V sum = Vx::zero();
            for (int r = 0; r < nv; ++r) sum = term(sum, Vx::widenU8(from[r] + at), r);
            Vx::store(col + at, sum);
        };
        for (; i + kHalf <= span; i += kHalf) column(i);
        if (i < span) column(span - kHalf);
        auto at = [&](size_t at) {
            V lo = half, hi = half;
            for (int c = 0; c < nh; ++c) {
                lo = term(lo, Vx::load(col + at + across[c]), 5 + c);
                hi = term(hi, Vx::load(col + at + kHalf + across[c]), 5 + c);
            }
            finish(lo, hi);
            Vx::store(out + at, Vx::packOrder(Vx::packUS16(lo, hi)));
        };
        for (i = 0; i + Vx::kBytes <= n; i += Vx::kBytes) at(i);
        if (i < n) at(n - Vx::kBytes);
        return;
    }
    const uint8_t* from[25];
    for (int k = 0; k < t.count; ++k) {
        weight[k] = Vx::set16(t.tap[k].weight);
        from[k] = static_cast<const uint8_t*>(rows[t.tap[k].row]) + static_cast<ptrdiff_t>(t.tap[k].offset) * step;
    }
    auto at = [&](size_t at) {
        V lo = half, hi = half;
        for (int k = 0; k < t.count; ++k) {
            const V b = Vx::load(from[k] + at);
            lo = term(lo, Vx::unpackLo8(b, Vx::zero()), k);
            hi = term(hi, Vx::unpackHi8(b, Vx::zero()), k);
        }
        finish(lo, hi);
        Vx::store(out + at, Vx::packUS16(lo, hi));
    };
    for (; i + Vx::kBytes <= n; i += Vx::kBytes) at(i);
    if (i < n) at(n - Vx::kBytes);
}

// The search for the median looks at 16 counts twice (the groups, then the
// values of one group) in 128-bit vectors at every level: running sums by
// shifted adds, the first one past the rank by a comparison's top bits. The
// counts compare as signed after their top bit is flipped.
using Search = simd::Sse2;

Search::V runningSums8(Search::V v) {
    v = Search::add8(v, Search::shiftUpBytes<1>(v));
    v = Search::add8(v, Search::shiftUpBytes<2>(v));
    v = Search::add8(v, Search::shiftUpBytes<4>(v));
    return Search::add8(v, Search::shiftUpBytes<8>(v));
}

Search::V runningSums16(Search::V v) {
    v = Search::add16(v, Search::shiftUpBytes<2>(v));
    v = Search::add16(v, Search::shiftUpBytes<4>(v));
    return Search::add16(v, Search::shiftUpBytes<8>(v));
}

// The first of 16 counts at p whose running sum (from `below`) passes rank;
// `below` becomes the running sum before it. One of them passes.
inline int firstPast(const uint8_t* p, int rank, int& below) {
    using X = Search;
    const X::V sums = runningSums8(X::load(p));
    const X::V past = X::cmpgt8(X::xor_(sums, X::set8(0x80)), X::set8((rank - below) ^ 0x80));
    const int k = __builtin_ctz(X::topBits8(past));
    uint8_t before[17] = {0};
    X::store(before + 1, sums);
    below += before[k];
    return k;
}

inline int firstPast(const uint16_t* p, int rank, int& below) {
    using X = Search;
    const X::V flip = X::set16(-32768);
    const X::V lo = runningSums16(X::load(p));
    const X::V hi = X::add16(runningSums16(X::load(p + 8)), X::set16(X::word<7>(lo)));
    const X::V target = X::set16((rank - below) ^ 0x8000);
    const X::V past = X::packS16(X::cmpgt16(X::xor_(lo, flip), target), X::cmpgt16(X::xor_(hi, flip), target));
    const int k = __builtin_ctz(X::topBits8(past));
    uint16_t before[17] = {0};
    X::store(before + 1, lo);
    X::store(before + 9, hi);
    below += before[k];
    return k;
}

template <class C>
uint8_t rankInCountsVec(const C* counts, int rank) {
    int below = 0;
    const int g = firstPast(counts + 256, rank, below);
    return static_cast<uint8_t>(16 * g + firstPast(counts + 16 * g, rank, below));
}

// The window's counts slide by whole vectors (bytes, or bytes widened to 16
// bits); every pixel's search costs the same whatever the window.
template <class Vx, class C>
void slidingMedianVec(const uint8_t* blocks, size_t stride, int nCols, int width, int rank,
                      uint8_t* work, uint8_t* out, int outStep) {
    static_assert(kCountBlock % Vx::kBytes == 0 && kWideCounts % (Vx::kBytes / 2) == 0,
                  "count blocks in whole vectors");
    slidingMedianLoop(
        blocks, stride, nCols, width, reinterpret_cast<C*>(work), out, outStep,
        [](C* c, const uint8_t* add, const uint8_t* sub) {
            if constexpr (sizeof(C) == 1) {
                for (size_t i = 0; i < kCountBlock; i += Vx::kBytes)
                    Vx::store(c + i, Vx::sub8(Vx::add8(Vx::load(c + i), Vx::load(add + i)), Vx::load(sub + i)));
            } else {
                for (size_t i = 0; i < kWideCounts; i += Vx::kBytes / 2)
                    Vx::store(c + i, Vx::sub16(Vx::add16(Vx::load(c + i), Vx::widenU8(add + i)), Vx::widenU8(sub + i)));
            }
        },
        [rank](const C* c) { return rankInCountsVec(c, rank); });
}

// Colour median of small 8-bit windows, a vector of pixels at a time: the
// window's pixels split into channel planes, every pair's distance (byte
// differences summed in 16 bits, at most 765) added to both pixels' sums (at
// most 16 x 765), then the first least sum picks the colour. Signed values
// are compared with their sign bits flipped.
template <class Vx, bool kSigned>
void colorPairs8Vec(const void* const* rows, int nCols, int nRows, int left, void* out, size_t n) {
    using V = typename Vx::V;
    constexpr size_t P = Vx::kBytes;
    if (n < P) {
        if constexpr (Vx::kHasNarrower) return colorPairs8Vec<typename Vx::Narrower, kSigned>(rows, nCols, nRows, left, out, n);
        using T = std::conditional_t<kSigned, int8_t, uint8_t>;
        return colorPairsRef<T>(rows, nCols, nRows, left, out, n);
    }
    const int area = nCols * nRows;
    const V z = Vx::zero(), flip = Vx::set8(0x80);
    // The last block ends at n, over pixels the one before may have done.
    for (size_t x = 0;; x = std::min(x + P, n - P)) {
        V plane[kColorPairsArea][3], key[kColorPairsArea][3];
        for (int r = 0, k = 0; r < nRows; ++r)
            for (int i = 0; i < nCols; ++i, ++k) {
                const auto* p = static_cast<const uint8_t*>(rows[r]) + (static_cast<ptrdiff_t>(x) + i - left) * 3;
                Vx::load3x8(p, plane[k][0], plane[k][1], plane[k][2]);
                for (int c = 0; c < 3; ++c) key[k][c] = kSigned ? Vx::xor_(plane[k][c], flip) : plane[k][c];
            }
        V sumLo[kColorPairsArea], sumHi[kColorPairsArea];
        for (int k = 0; k < area; ++k) sumLo[k] = sumHi[k] = z;
        for (int j = 0; j < area; ++j)
            for (int k = j + 1; k < area; ++k) {
                V lo = z, hi = z;
                for (int c = 0; c < 3; ++c) {
                    const V d = Vx::or_(Vx::subsU8(key[j][c], key[k][c]), Vx::subsU8(key[k][c], key[j][c]));
                    lo = Vx::add16(lo, Vx::unpackLo8(d, z));
                    hi = Vx::add16(hi, Vx::unpackHi8(d, z));
                }
                sumLo[j] = Vx::add16(sumLo[j], lo), sumHi[j] = Vx::add16(sumHi[j], hi);
                sumLo[k] = Vx::add16(sumLo[k], lo), sumHi[k] = Vx::add16(sumHi[k], hi);
            }
        V bestLo = sumLo[0], bestHi = sumHi[0], colourLo[3], colourHi[3];
        for (int c = 0; c < 3; ++c)
            colourLo[c] = Vx::unpackLo8(plane[0][c], z), colourHi[c] = Vx::unpackHi8(plane[0][c], z);
        for (int k = 1; k < area; ++k) {
            const auto lessLo = Vx::gt16(bestLo, sumLo[k]), lessHi = Vx::gt16(bestHi, sumHi[k]);
            bestLo = Vx::select16(lessLo, sumLo[k], bestLo);
            bestHi = Vx::select16(lessHi, sumHi[k], bestHi);
            for (int c = 0; c < 3; ++c) {
                colourLo[c] = Vx::select16(lessLo, Vx::unpackLo8(plane[k][c], z), colourLo[c]);
                colourHi[c] = Vx::select16(lessHi, Vx::unpackHi8(plane[k][c], z), colourHi[c]);
            }
        }
        Vx::store3x8(static_cast<uint8_t*>(out) + x * 3, Vx::packUS16(colourLo[0], colourHi[0]),
                     Vx::packUS16(colourLo[1], colourHi[1]), Vx::packUS16(colourLo[2], colourHi[2]));
        if (x + P == n) return;
    }
}

template <class Vx>
RankTable vectorRankTable() {
    // Kernels of shifted loads run on 256-bit vectors at the AVX-512 level:
    // 512-bit ones measured slower (every shifted load splits a cache line),
    // the 3 x 3 extremes by 4 to 10% at widths of 160 to 1280 pixels.
    using Vm = std::conditional_t<(Vx::kBytes > 32), typename Vx::Narrower, Vx>;
    RankTable t{};
    image::forEachValueType([&](auto v) {
        using T = decltype(v);
        constexpr int e = static_cast<int>(image::ElemOf<T>::value);
        t.fold[e][0] = &foldVec<Vx, T, false>;
        t.fold[e][1] = &foldVec<Vx, T, true>;
        t.extreme3x3[e][0] = &extreme3x3Vec<Vm, T, false>;
        t.extreme3x3[e][1] = &extreme3x3Vec<Vm, T, true>;
        t.median9[e] = &median9Vec<Vm, T>;
        t.network[e] = &networkVec<Vx, T>;
        t.median25[e] = &median25Vec<Vx, T>;
    });
    t.bits3x3[0] = &bits3x3Vec<Vx, false>;
    t.bits3x3[1] = &bits3x3Vec<Vx, true>;
    t.boxU8 = &boxU8Vec<Vx>;
    t.weightedU8 = &weightedU8Vec<Vx>;
    // The search reads 16 counts out of the ones the slide has just stored:
    // from 256-bit stores, measured faster than from 512-bit ones.
    t.slidingMedian[0] = &slidingMedianVec<Vm, uint8_t>;
    t.slidingMedian[1] = &slidingMedianVec<Vm, uint16_t>;
    t.colorPairs8[0] = &colorPairs8Vec<Vx, false>;
    t.colorPairs8[1] = &colorPairs8Vec<Vx, true>;
    return t;
}

}  // namespace
}  // namespace ozl::rank
