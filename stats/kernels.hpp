// Kernels of the statistics family: counting values into histograms, the
// power sums behind moments, and the sums and maxima behind norms. The scalar
// forms here are the reference every vector form must match exactly; all
// integer results are exact, so any order of addition gives the same values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/cpu.hpp"
#include "image/depth.hpp"
#include "stats/wide_int.hpp"

namespace ozl::stats {

using image::Elem;
using image::ElemOf;
using image::kElemCount;

// ---------------------------------------------------------------------------
// Histograms. Bytes are counted into kByteTables tables of 256 counters used in
// turn, so that runs of equal values do not wait on their own increments, and
// where the caller gives one, into a table of 65536 8-bit counters indexed by
// two neighbouring bytes (the first in the low 8 bits): one increment for two
// bytes, in a table small enough to stay near the core. A pair counter that
// wraps to zero adds 256 to the counters of both its bytes in the first
// table; the caller folds what the pair table holds into the byte counters at
// the end. The scalar form counts every byte singly into the first table.
constexpr int kByteTables = 4;
constexpr size_t kPairCounters = 65536;

struct ByteCounters {
    uint32_t* tables;  // kByteTables x 256
    uint8_t* pairs;    // kPairCounters, or nullptr
};
using CountBytesFn = void (*)(const uint8_t* p, size_t n, size_t stride, const ByteCounters& c);

// counts[v] += every pair counter with v as its first or second byte.
using FoldPairsFn = void (*)(const uint8_t* pairs, uint32_t* counts);
static inline void foldPairsScalar(const uint8_t* pairs, uint32_t* counts) {
    for (int second = 0; second < 256; ++second) {
        const uint8_t* row = pairs + second * 256;
        uint32_t sum = 0;
        for (int first = 0; first < 256; ++first) {
            counts[first] += row[first];
            sum += row[first];
        }
        counts[second] += sum;
    }
}

// ---------------------------------------------------------------------------
// Look-up maps of 8-bit values: d[i] = maps[(i mod period) * 256 + s[i]] over a
// dense run of whole pixels of `period` channels, each channel with its own
// map of 256 bytes. d may be s.
using MapBytesFn = void (*)(const uint8_t* s, uint8_t* d, size_t n, const uint8_t* maps,
                            int period);

// ---------------------------------------------------------------------------
// Moments. The power sums of a dense run of values p[0..n):
//   sums[k] = sum over i of i^k p[i], k = 0..3,
// exact in 64 bits for runs no longer than momentRunLimit (|p| i^3 summed).
using MomentSumsFn = void (*)(const void* p, size_t n, int64_t* sums);

constexpr size_t momentRunLimit(Elem e) {
    return e == Elem::U8 || e == Elem::S8 ? 16384 : e == Elem::S32 ? 256 : 4096;
}

// ---------------------------------------------------------------------------
// Norms: C (largest magnitude), L1 (sum of magnitudes), L2 (sum of squares) of
// the values of a, or of the differences a - b when b is given.
enum class NormKind : uint8_t { C, L1, L2, Count };
constexpr int kNormKinds = static_cast<int>(NormKind::Count);

// Integer values accumulate exactly (the largest magnitude, and a 128-bit
// sum); 32F values in double precision, one value after another.
struct NormAcc {
    uint64_t max = 0;
    Sum128 sum;
    double maxF = 0.0;
    double sumF = 0.0;

    void merge(const NormAcc& o) {
        if (o.max > max) max = o.max;
        sum.add(o.sum);
        if (o.maxF > maxF) maxF = o.maxF;
        sumF += o.sumF;
    }
};

// Runs longer than this are cut by the caller, so that a kernel's 64-bit sums
// of one run cannot overflow (32S magnitudes up to 2^32).
constexpr size_t kNormRunLimit = size_t{1} << 24;

using NormRunFn = void (*)(const void* a, const void* b, size_t n, NormAcc& acc);

struct KernelTable {
    CountBytesFn countBytes = nullptr;
    FoldPairsFn foldPairs = nullptr;
    MapBytesFn mapBytes = nullptr;
    MomentSumsFn momentSums[kElemCount] = {};  // integer value types
    NormRunFn norm[kNormKinds][kElemCount] = {};
};

const KernelTable& kernelTable(cpu::Level level);
inline const KernelTable& activeTable() { return kernelTable(cpu::active()); }

// ---------------------------------------------------------------------------
// Scalar forms. `static` so that every instruction-set file keeps its own copy
// compiled for its own target.

static inline void countBytesScalar(const uint8_t* p, size_t n, size_t stride,
                                    const ByteCounters& c) {
    for (size_t i = 0; i < n; ++i) ++c.tables[p[i * stride]];
}

static inline void mapBytesScalar(const uint8_t* s, uint8_t* d, size_t n, const uint8_t* maps,
                                  int period) {
    for (size_t i = 0; i < n; i += static_cast<size_t>(period))
        for (int c = 0; c < period && i + c < n; ++c) d[i + c] = maps[c * 256 + s[i + c]];
}

template <class T>
static inline void momentSumsScalar(const T* p, size_t n, int64_t* sums, size_t first = 0) {
    int64_t s0 = 0, s1 = 0, s2 = 0, s3 = 0;
    for (size_t i = first; i < n; ++i) {
        const int64_t v = p[i], x = static_cast<int64_t>(i);
        s0 += v;
        s1 += x * v;
        s2 += x * x * v;
        s3 += x * x * x * v;
    }
    sums[0] += s0;
    sums[1] += s1;
    sums[2] += s2;
    sums[3] += s3;
}

// The magnitude of one value or difference, exactly.
template <class T>
static inline uint64_t magnitude(T a, T b) {
    const int64_t v = static_cast<int64_t>(a) - static_cast<int64_t>(b);
    return v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
}

template <NormKind kind, class T>
static inline void normScalar(const T* a, const T* b, size_t n, NormAcc& acc, size_t first = 0) {
    if constexpr (std::is_same_v<T, float>) {
        for (size_t i = first; i < n; ++i) {
            double v = b ? static_cast<double>(a[i]) - static_cast<double>(b[i]) : a[i];
            v = v < 0 ? -v : v;
            if constexpr (kind == NormKind::C) {
                if (v > acc.maxF) acc.maxF = v;
            } else if constexpr (kind == NormKind::L1) {
                acc.sumF += v;
            } else {
                acc.sumF += v * v;
            }
        }
    } else {
        // One run's sum fits 64 bits but for squares of 32-bit differences.
        constexpr bool wide = kind == NormKind::L2 && sizeof(T) == 4;
        uint64_t max = acc.max, sum = 0;
        Sum128 wideSum;
        for (size_t i = first; i < n; ++i) {
            const uint64_t v = magnitude<T>(a[i], b ? b[i] : T{0});
            if constexpr (kind == NormKind::C) {
                if (v > max) max = v;
            } else if constexpr (kind == NormKind::L1) {
                sum += v;
            } else if constexpr (wide) {
                wideSum.add(v * v);
            } else {
                sum += v * v;
            }
        }
        acc.max = max;
        acc.sum.add(sum);
        acc.sum.add(wideSum);
    }
}

}  // namespace ozl::stats
