// Row kernels of the rank and morphological filters: the scalar forms (also
// the reference every vector form must match bit for bit) and the table of
// routines per instruction-set level.
//
// Everything here works on flat runs of values of one type. 32F values are
// ordered by their keys (the bits as int32, the magnitude bits flipped for
// negative values): -0 sorts below +0 and NaNs beyond the infinities by sign,
// so every order of comparisons picks the same value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "frame/cpu.hpp"
#include "image/depth.hpp"

namespace ozl::rank {

// Inputs one fold call combines; more are folded in chunks.
constexpr int kMaxFold = 8;

// out[i] = the least (or greatest) of in[0][i] .. in[k - 1][i], 1 <= k <=
// kMaxFold, i < n. out may be in[0] itself.
using FoldFn = void (*)(const void* const* in, int k, void* out, size_t n);

// For each of nOut consecutive output rows y (row y at out + y * outStride):
// value i is the least (or greatest) of the 3 x 3 neighbourhood of value i
// in rows[y..y+2]; rows[0..nOut+1] valid from `step` values before the first
// output value to `step` after the last (`step` the values between
// neighbouring pixels). No output row is a source row.
using Extreme3x3Fn = void (*)(const void* const* rows, int nOut, void* out, ptrdiff_t outStride, size_t n,
                              int step);

// The median of every 3 x 3 neighbourhood: rows[0..2] valid from `step`
// values before the first output value to `step` after the last (`step` the
// values between neighbouring pixels); scratch holds 3 * (n + 2 * step) values.
using Median9Fn = void (*)(const void* const* rows, void* out, size_t n, int step, void* scratch);

// One comparator of a selection network: afterwards slot a holds the lesser
// value and slot b the greater.
struct Comparator {
    uint8_t a, b;
};
constexpr int kMaxNetworkInputs = 49;

// The value at slot `pick` after the network over in[0..k-1], for every i < n.
using NetworkFn = void (*)(const void* const* in, int k, const Comparator* net, int nNet, int pick,
                           void* out, size_t n);

// Division of 16-bit values by a constant, rounding down: q = x / divisor
// for every x < 2^16, as (t + ((x - t) >> 1)) >> (shift - 1), t the high half
// of x * multiplier (divisor 1: q = x).
struct Divider16 {
    uint16_t divisor = 1;
    uint16_t multiplier = 0;
    int shift = 0;
};
Divider16 divider16(uint16_t divisor);

// The mean of every nCols x nRows window of 8-bit values rounded to nearest
// (halves upward): rows[0..nRows-1] as the driver gives them, valid from
// `left` pixels before the output (`step` values a pixel). Every window sum
// plus half the divisor stays below 2^16. scratch holds n + (nCols - 1) * step
// 16-bit values.
struct BoxU8 {
    int nCols = 1, nRows = 1, left = 0;
    uint16_t half = 0;
    Divider16 divider;
};
using BoxU8Fn = void (*)(const BoxU8& box, const void* const* rows, uint8_t* out, size_t n, int step,
                         void* scratch);

// The median of every 5 x 5 neighbourhood: as Median9Fn, rows[0..4] valid
// from 2 * step values before the first output value to 2 * step after the
// last; scratch holds 5 * (n + 4 * step) values.
using Median25Fn = void (*)(const void* const* rows, void* out, size_t n, int step, void* scratch);

// A fixed filter's kernel on 8-bit values in 16-bit lanes: out = (the sum of
// weight * value over the taps, plus half, shifted right by shift) saturated
// to 0..255, tap k reading rows[row] `offset` pixels from the output pixel.
// Only made (tapsU8) when every sum plus half fits the lanes: signed, or
// unsigned when no weight is negative (shifted then within 0..32767); the
// lanes wrap, so the sums' terms may be taken in any order or grouping.
// A kernel that is the product of a column and a row of weights (vertical[r]
// * horizontal[c], with fewer weights than taps) may be summed column first.
struct TapsU8 {
    struct Tap {
        int row, offset, weight;
    };
    Tap tap[25];
    int count = 0;
    int half = 0, shift = 0;
    bool unsignedSums = false;
    int size = 1;
    bool separable = false;
    int vertical[5] = {}, horizontal[5] = {};
};
// size x size weights (row by row, size up to 5) over divisor; false when
// the divisor is no power of two or the sums do not fit.
bool tapsU8(const int32_t* weights, int size, int32_t divisor, TapsU8& taps);

// rows as the driver gives them (each at the pixel under output 0), `step`
// values a pixel; out is none of the rows; scratch holds n + (size - 1) *
// step 16-bit values.
using WeightedU8Fn = void (*)(const TapsU8& taps, const void* const* rows, uint8_t* out, size_t n, int step,
                              void* scratch);

// Counts of 8-bit values in blocks of kCountBlock bytes: 256 counts by value,
// then 16 counts by value / 16, then zeros up to a multiple of 64.
constexpr size_t kCountBlock = 320;
// A window's counts in 16 bits: the same order, zeros from 272 up to
// kWideCounts (the widened column blocks in whole vectors at every level).
constexpr size_t kWideCounts = 288;

// The value of rank `rank` of every window of nCols blocks along a row:
// out[x * outStep] for x < width from blocks x .. x + nCols - 1 (block i at
// blocks + i * stride); every window holds more than `rank` values, at most
// 255 (entry 0 of the table: the window's counts in bytes) or 65535 (entry 1:
// in 16 bits). work: 2 * kCountBlock bytes of working memory.
using SlidingMedianFn = void (*)(const uint8_t* blocks, size_t stride, int nCols, int width, int rank,
                                 uint8_t* work, uint8_t* out, int outStep);

// Where a packed row's two margin pixels come from: two words a row
// (words[2 r]: the pixel before pixel 0 in its lowest bit; words[2 r + 1]:
// pixel `width` in its highest bit), or, without words, each row's own
// pixels at columns[0] (for pixel -1) and columns[1] (for pixel `width`),
// the same for every row, their bytes readable.
struct BitsMargins {
    const uint64_t* words = nullptr;
    int columns[2] = {-1, 0};
};

// 1-bit rows, 8 pixels a byte, the first in the most significant bit: each
// of nOut output rows (row y at out + y * outStride) gets the AND (greatest:
// OR) of the 3 x 3 neighbourhood of each of its `width` pixels, the bits past
// the width in its last byte kept. Row y reads rows[y .. y + 2], each
// readable over its own (width + 7) / 8 bytes (the bits past the width any)
// and where its margins say.
using Bits3x3Fn = void (*)(const uint8_t* const* rows, const BitsMargins& margins, int nOut, uint8_t* out,
                           ptrdiff_t outStride, int width);

// The colour median of small windows: for each of n pixels of 3 values, the
// colour of the window pixel whose summed channel distances to the window's
// pixels are least (the first of equals, row by row). Windows of nCols x
// nRows <= kColorPairsArea pixels; rows[0..nRows-1] at the pixel under output
// 0, valid from `left` pixels before it; out is none of the rows.
constexpr int kColorPairsArea = 16;
using ColorPairsFn = void (*)(const void* const* rows, int nCols, int nRows, int left, void* out, size_t n);

struct RankTable {
    FoldFn fold[image::kElemCount][2];  // [type][0: least, 1: greatest]
    Extreme3x3Fn extreme3x3[image::kElemCount][2];
    Bits3x3Fn bits3x3[2];
    Median9Fn median9[image::kElemCount];
    NetworkFn network[image::kElemCount];
    BoxU8Fn boxU8;
    Median25Fn median25[image::kElemCount];
    SlidingMedianFn slidingMedian[2];  // [0: window counts in bytes, 1: in 16 bits]
    WeightedU8Fn weightedU8;
    ColorPairsFn colorPairs8[2];  // [0: 8U, 1: 8S]
};

const RankTable& rankTable(cpu::Level level);
// The AVX-512 table as built for every AVX-512 processor (the level's table
// takes the variants below where the processor has them).
const RankTable& rankTableAvx512();
// The packed 1-bit 3 x 3 kernels with the bit-matrix byte instructions;
// nullptr where the processor lacks them.
const Bits3x3Fn* bits3x3Gfni();
inline const RankTable& activeRankTable() { return rankTable(cpu::active()); }

// ---------------------------------------------------------------------------
// Scalar forms. Internal linkage: the vector files include them too (for
// their short runs), and each must keep the copy compiled for its own target
// rather than share one with a file built for another.
namespace {

// The key a 32F value sorts by, and back (the map is its own inverse).
inline int32_t floatKey(int32_t bits) { return bits ^ ((bits >> 31) & 0x7fffffff); }

// Values as the comparisons see them: 32F as keys, the rest as they are.
template <class T>
using KeyOf = std::conditional_t<std::is_same_v<T, float>, int32_t, T>;

template <class T>
inline KeyOf<T> keyAt(const void* p, size_t i) {
    if constexpr (std::is_same_v<T, float>) {
        int32_t bits;
        std::memcpy(&bits, static_cast<const char*>(p) + i * 4, 4);
        return floatKey(bits);
    } else {
        return static_cast<const T*>(p)[i];
    }
}

template <class T>
inline void putKey(void* p, size_t i, KeyOf<T> k) {
    if constexpr (std::is_same_v<T, float>) {
        const int32_t bits = floatKey(k);
        std::memcpy(static_cast<char*>(p) + i * 4, &bits, 4);
    } else {
        static_cast<T*>(p)[i] = k;
    }
}

template <class K>
inline K lesser(K a, K b) { return b < a ? b : a; }
template <class K>
inline K greater(K a, K b) { return a < b ? b : a; }

template <class T, bool Max>
void foldRef(const void* const* in, int k, void* out, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        KeyOf<T> v = keyAt<T>(in[0], i);
        for (int j = 1; j < k; ++j) v = Max ? greater(v, keyAt<T>(in[j], i)) : lesser(v, keyAt<T>(in[j], i));
        putKey<T>(out, i, v);
    }
}

template <class T, bool Max>
void extreme3x3Ref(const void* const* rows, int nOut, void* out, ptrdiff_t outStride, size_t n, int step) {
    using K = KeyOf<T>;
    auto pick = [](K a, K b) { return Max ? greater(a, b) : lesser(a, b); };
    for (int y = 0; y < nOut; ++y) {
        void* o = static_cast<char*>(out) + y * outStride;
        for (size_t i = 0; i < n; ++i) {
            K v = keyAt<T>(static_cast<const T*>(rows[y]) - step, i);
            for (int r = y; r < y + 3; ++r)
                for (int x = -1; x <= 1; ++x)
                    v = pick(v, keyAt<T>(static_cast<const T*>(rows[r]) + x * step, i));
            putKey<T>(o, i, v);
        }
    }
}

// Pixel `column` of a packed row (0 or 1).
inline unsigned rowBit(const uint8_t* row, int column) {
    return row[column >> 3] >> (7 - (column & 7)) & 1u;
}

// Row r's margin pixels: pixel -1, pixel `width`.
struct BitsEdge {
    unsigned before, after;
};
inline BitsEdge bitsEdge(const uint8_t* row, const BitsMargins& m, int r) {
    if (m.words) return {static_cast<unsigned>(m.words[2 * r] & 1), static_cast<unsigned>(m.words[2 * r + 1] >> 63)};
    return {rowBit(row, m.columns[0]), rowBit(row, m.columns[1])};
}

// The bytes a 3 x 3 neighbourhood reads beyond a packed row's own: byte -1
// (the left margin pixel in its lowest bit), byte n - 1 with the pixel after
// the width replaced by the right margin's, byte n (that margin in its
// highest bit, when the width fills the last byte).
struct BitsEnds {
    unsigned before, last, after;
};
inline BitsEnds bitsEnds(const uint8_t* row, const BitsMargins& m, int r, size_t n, int width) {
    const BitsEdge e = bitsEdge(row, m, r);
    const int valid = width & 7 ? width & 7 : 8;  // pixels in the last byte
    const unsigned both = ((unsigned{row[n - 1]} << 8) & ~(0xFFFFu >> valid) & 0xFFFFu) | e.after << (15 - valid);
    return {e.before, both >> 8, both & 0xFF};
}

// Output bytes [from, to) of the rows: each source byte with its west and east
// neighbours (the pixels of bytes i - 1 and i + 1 next to it moved in), then
// three rows of those combined.
template <bool Max>
void bits3x3Bytes(const uint8_t* const* rows, const BitsMargins& margins, int nOut, uint8_t* out,
                  ptrdiff_t outStride, int width, size_t from, size_t to) {
    const size_t n = (static_cast<size_t>(width) + 7) / 8;
    const unsigned keep = width & 7 ? 0xFFu >> (width & 7) : 0;
    auto pick = [](unsigned a, unsigned b, unsigned c) { return Max ? a | b | c : a & b & c; };
    auto across = [&](int r, size_t i) {
        const BitsEnds e = bitsEnds(rows[r], margins, r, n, width);
        auto byteAt = [&](ptrdiff_t k) -> unsigned {
            if (k < 0) return e.before;
            if (k == static_cast<ptrdiff_t>(n) - 1) return e.last;
            return k == static_cast<ptrdiff_t>(n) ? e.after : rows[r][k];
        };
        const ptrdiff_t at = static_cast<ptrdiff_t>(i);
        const unsigned c = byteAt(at);
        return pick(c, (c >> 1) | (byteAt(at - 1) << 7 & 0x80), (c << 1 & 0xFE) | byteAt(at + 1) >> 7);
    };
    for (int y = 0; y < nOut; ++y) {
        uint8_t* o = out + y * outStride;
        for (size_t i = from; i < to; ++i) {
            const unsigned v = pick(across(y, i), across(y + 1, i), across(y + 2, i));
            o[i] = static_cast<uint8_t>(i == n - 1 ? (v & ~keep) | (o[i] & keep) : v);
        }
    }
}

template <bool Max>
void bits3x3Ref(const uint8_t* const* rows, const BitsMargins& margins, int nOut, uint8_t* out,
                ptrdiff_t outStride, int width) {
    bits3x3Bytes<Max>(rows, margins, nOut, out, outStride, width, 0, (static_cast<size_t>(width) + 7) / 8);
}

// The summed distances of every window pixel to all the others, pair by pair
// (doubles for 32F, which makes their order part of the result).
template <class T>
void colorPairsRef(const void* const* rows, int nCols, int nRows, int left, void* out, size_t n) {
    using D = std::conditional_t<std::is_same_v<T, float>, double, int64_t>;
    auto pixel = [&](int r, ptrdiff_t x) { return static_cast<const T*>(rows[r]) + (x - left) * 3; };
    for (size_t x = 0; x < n; ++x) {
        const ptrdiff_t at = static_cast<ptrdiff_t>(x);
        D best = 0;
        const T* chosen = nullptr;
        for (int r = 0; r < nRows; ++r)
            for (int i = 0; i < nCols; ++i) {
                const T* a = pixel(r, at + i);
                D sum = 0;
                for (int r2 = 0; r2 < nRows; ++r2)
                    for (int i2 = 0; i2 < nCols; ++i2) {
                        const T* b = pixel(r2, at + i2);
                        for (int c = 0; c < 3; ++c) {
                            const D d = static_cast<D>(a[c]) - static_cast<D>(b[c]);
                            sum += d < 0 ? -d : d;
                        }
                    }
                if (!chosen || sum < best) best = sum, chosen = a;
            }
        std::memcpy(static_cast<T*>(out) + x * 3, chosen, 3 * sizeof(T));
    }
}

template <class K>
inline K median3(K a, K b, K c) { return greater(lesser(a, b), lesser(greater(a, b), c)); }

// Each column sorted (low, middle, high); the median of the nine is the
// median of the greatest low, the middle middle and the least high.
template <class T>
void median9Ref(const void* const* rows, void* out, size_t n, int step, void* scratch) {
    using K = KeyOf<T>;
    const size_t span = n + 2 * static_cast<size_t>(step);
    K* lo = static_cast<K*>(scratch);
    K* mid = lo + span;
    K* hi = mid + span;
    for (size_t i = 0; i < span; ++i) {
        const ptrdiff_t at = static_cast<ptrdiff_t>(i) - step;
        const K a = keyAt<T>(static_cast<const T*>(rows[0]) + at, 0);
        const K b = keyAt<T>(static_cast<const T*>(rows[1]) + at, 0);
        const K c = keyAt<T>(static_cast<const T*>(rows[2]) + at, 0);
        lo[i] = lesser(lesser(a, b), c);
        hi[i] = greater(greater(a, b), c);
        mid[i] = median3(a, b, c);
    }
    for (size_t i = 0; i < n; ++i) {
        const size_t l = i, c = i + step, r = i + 2 * static_cast<size_t>(step);
        const K a = greater(greater(lo[l], lo[c]), lo[r]);
        const K b = median3(mid[l], mid[c], mid[r]);
        const K z = lesser(lesser(hi[l], hi[c]), hi[r]);
        putKey<T>(out, i, median3(a, b, z));
    }
}

template <class T>
void networkRef(const void* const* in, int k, const Comparator* net, int nNet, int pick, void* out,
                size_t n) {
    using K = KeyOf<T>;
    K v[kMaxNetworkInputs];
    for (size_t i = 0; i < n; ++i) {
        for (int j = 0; j < k; ++j) v[j] = keyAt<T>(in[j], i);
        for (int c = 0; c < nNet; ++c) {
            const K a = v[net[c].a], b = v[net[c].b];
            v[net[c].a] = lesser(a, b);
            v[net[c].b] = greater(a, b);
        }
        putKey<T>(out, i, v[pick]);
    }
}

// Sorts five slots.
inline constexpr Comparator kSortFive[] = {{0, 1}, {3, 4}, {2, 4}, {2, 3}, {0, 3},
                                           {0, 2}, {1, 4}, {1, 3}, {1, 2}};

// The middle of 25 values given as five sorted columns (slot 5 * column +
// rank) ends in slot kMiddleOfSortedFivesAt. A merge network of the columns
// with every comparator dropped that the middle output can do without
// (checked on every 0-1 input of sorted columns).
inline constexpr Comparator kMiddleOfSortedFives[] = {
    {0, 5},   {4, 9},   {4, 5},   {2, 7},   {2, 4},   {7, 5},   {1, 6},   {3, 8},   {3, 6},
    {1, 2},   {3, 4},   {6, 7},   {8, 5},   {10, 15}, {14, 19}, {14, 15}, {12, 17}, {12, 14},
    {17, 15}, {11, 16}, {13, 18}, {13, 16}, {11, 12}, {13, 14}, {16, 17}, {18, 15}, {0, 10},
    {5, 15},  {5, 10},  {4, 14},  {4, 5},   {14, 10}, {2, 12},  {7, 17},  {7, 12},  {7, 5},
    {12, 14}, {1, 11},  {9, 19},  {9, 11},  {6, 16},  {6, 9},   {16, 11}, {3, 13},  {8, 18},
    {8, 13},  {8, 9},   {13, 16}, {8, 5},   {9, 12},  {13, 14}, {10, 20}, {5, 10},  {14, 24},
    {14, 10}, {15, 22}, {12, 15}, {12, 14}, {11, 21}, {9, 11},  {16, 11}, {19, 23}, {13, 19},
    {8, 13},  {13, 16}, {13, 14}};
constexpr int kMiddleOfSortedFivesAt = 14;

// A constant network applied to slots v, unrolled so that every slot index
// is a constant and the slots can live in registers. order(a, b) leaves the
// lesser value in a.
template <const auto& Net, class S, class Order, size_t... I>
inline void unrolledNetwork(S* v, Order order, std::index_sequence<I...>) {
    (order(v[Net[I].a], v[Net[I].b]), ...);
}
template <const auto& Net, class S, class Order>
inline void applyNetwork(S* v, Order order) {
    unrolledNetwork<Net>(v, order, std::make_index_sequence<sizeof(Net) / sizeof(Net[0])>{});
}

template <class K>
inline void orderKeys(K& a, K& b) {
    const K x = a;
    a = lesser(x, b);
    b = greater(x, b);
}

// Each column of five sorted once (rank r in cols + r * span), shared by the
// five windows it belongs to; each window's middle from its sorted columns.
template <class T>
void median25Ref(const void* const* rows, void* out, size_t n, int step, void* scratch) {
    using K = KeyOf<T>;
    const size_t s = static_cast<size_t>(step), span = n + 4 * s;
    K* cols = static_cast<K*>(scratch);
    for (size_t i = 0; i < span; ++i) {
        K v[5];
        for (int r = 0; r < 5; ++r)
            v[r] = keyAt<T>(static_cast<const T*>(rows[r]) + (static_cast<ptrdiff_t>(i) - 2 * step), 0);
        applyNetwork<kSortFive>(v, &orderKeys<K>);
        for (int r = 0; r < 5; ++r) cols[r * span + i] = v[r];
    }
    for (size_t i = 0; i < n; ++i) {
        K v[25];
        for (int c = 0; c < 5; ++c)
            for (int r = 0; r < 5; ++r) v[c * 5 + r] = cols[r * span + i + c * s];
        applyNetwork<kMiddleOfSortedFives>(v, &orderKeys<K>);
        putKey<T>(out, i, v[kMiddleOfSortedFivesAt]);
    }
}

// The value of rank `rank` in a window's counts: the coarse counts find its
// group of 16 values, the fine counts its value.
template <class C>
inline uint8_t rankInCounts(const C* counts, int rank) {
    int below = 0, g = 0;
    while (below + counts[256 + g] <= rank) below += counts[256 + g++];
    int v = g * 16;
    while (below + counts[v] <= rank) below += counts[v++];
    return static_cast<uint8_t>(v);
}

// `slide(counts, add, sub)` adds block `add` to the window's counts and takes
// block `sub` away, modulo 2^bits of C (the true counts fit in C).
template <class C, class Slide, class Rank>
void slidingMedianLoop(const uint8_t* blocks, size_t stride, int nCols, int width, C* counts,
                       uint8_t* out, int outStep, Slide slide, Rank rankOf) {
    static constexpr uint8_t kNone[kCountBlock] = {};
    std::memset(counts, 0, 2 * kCountBlock);
    for (int j = 0; j < nCols; ++j) slide(counts, blocks + j * stride, kNone);
    for (int x = 0;; ++x) {
        out[static_cast<size_t>(x) * outStep] = rankOf(counts);
        if (x + 1 == width) break;
        slide(counts, blocks + (x + nCols) * stride, blocks + x * stride);
    }
}

template <class C>
void slidingMedianRef(const uint8_t* blocks, size_t stride, int nCols, int width, int rank, uint8_t* work,
                      uint8_t* out, int outStep) {
    slidingMedianLoop(
        blocks, stride, nCols, width, reinterpret_cast<C*>(work), out, outStep,
        [](C* c, const uint8_t* add, const uint8_t* sub) {
            for (size_t i = 0; i < 272; ++i) c[i] = static_cast<C>(c[i] + add[i] - sub[i]);
        },
        [rank](const C* c) { return rankInCounts(c, rank); });
}

inline void weightedU8Ref(const TapsU8& t, const void* const* rows, uint8_t* out, size_t n, int step, void*) {
    for (size_t i = 0; i < n; ++i) {
        int32_t s = t.half;
        for (int k = 0; k < t.count; ++k)
            s += t.tap[k].weight *
                 static_cast<const uint8_t*>(rows[t.tap[k].row])[static_cast<ptrdiff_t>(i) + static_cast<ptrdiff_t>(t.tap[k].offset) * step];
        s >>= t.shift;  // arithmetic: rounds toward minus infinity
        out[i] = static_cast<uint8_t>(s < 0 ? 0 : s > 255 ? 255 : s);
    }
}

inline uint16_t divide16(const Divider16& d, uint32_t x) {
    if (d.divisor == 1) return static_cast<uint16_t>(x);
    const uint32_t t = (x * d.multiplier) >> 16;
    return static_cast<uint16_t>((t + ((x - t) >> 1)) >> (d.shift - 1));
}

inline void boxU8Ref(const BoxU8& box, const void* const* rows, uint8_t* out, size_t n, int step,
                     void* scratch) {
    const size_t span = n + static_cast<size_t>(box.nCols - 1) * step;
    auto* col = static_cast<uint16_t*>(scratch);
    const ptrdiff_t left = -static_cast<ptrdiff_t>(box.left) * step;
    for (size_t i = 0; i < span; ++i) {
        uint32_t s = 0;
        for (int j = 0; j < box.nRows; ++j) s += static_cast<const uint8_t*>(rows[j])[left + static_cast<ptrdiff_t>(i)];
        col[i] = static_cast<uint16_t>(s);
    }
    for (size_t i = 0; i < n; ++i) {
        uint32_t s = box.half;
        for (int j = 0; j < box.nCols; ++j) s += col[i + static_cast<size_t>(j) * step];
        out[i] = static_cast<uint8_t>(s / box.divider.divisor);
    }
}

}  // namespace
}  // namespace ozl::rank
