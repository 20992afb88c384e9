// Median filters. ozlMedianFilter takes, over every window, the value of rank
// area / 2 (counted from 0, so the upper middle one for an even area): the
// 3 x 3 and 5 x 5 windows by sorted columns, other windows up to 25 places by
// a selection network (a sorting network pruned to the comparators the middle
// output depends on), larger 8-bit windows by counts of values (per column,
// kept from row to row, and per window, slid along the row, in bytes up to
// 255 values and in 16 bits up to 65535; windows of more rows or values by
// counts of the window alone, slid along the row), other larger windows by
// selection on a copy. ozlColorMedianFilter picks the window's pixel whose
// colour is nearest (summed channel differences) to all the others.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "image/depth.hpp"
#include "rank/kernels.hpp"
#include "rank/window.hpp"

namespace ozl::rank {
namespace {

using core::fail;

constexpr int kMaxNetwork = 25;
constexpr int kMaxComparators = 512;

struct Plan {
    const RankTable* table = nullptr;
    image::Elem type = image::Elem::U8;
    size_t valueBytes = 1;
    int nCols = 1, nRows = 1, left = 0;
    int area = 1;
    enum Method { Columns, Columns5, Network, Counts, Histogram, Select } method = Select;
    Comparator net[kMaxComparators];
    int nNet = 0;
};

// Batcher's odd-even merge sort for n inputs, then only the comparators the
// output at `pick` depends on, in order.
int selectionNetwork(int n, int pick, Comparator* out) {
    Comparator all[kMaxComparators];
    int count = 0;
    for (int p = 1; p < n; p <<= 1)
        for (int k = p; k >= 1; k >>= 1)
            for (int j = k % p; j + k < n; j += 2 * k)
                for (int i = 0; i < std::min(k, n - j - k); ++i)
                    if ((i + j) / (2 * p) == (i + j + k) / (2 * p))
                        all[count++] = Comparator{static_cast<uint8_t>(i + j), static_cast<uint8_t>(i + j + k)};
    bool live[kMaxNetworkInputs] = {};
    live[pick] = true;
    bool keep[kMaxComparators] = {};
    for (int c = count - 1; c >= 0; --c)
        if (live[all[c].a] || live[all[c].b]) {
            keep[c] = true;
            live[all[c].a] = live[all[c].b] = true;
        }
    int kept = 0;
    for (int c = 0; c < count; ++c)
        if (keep[c]) out[kept++] = all[c];
    return kept;
}

const void* at(const void* p, ptrdiff_t values, size_t valueBytes) {
    return static_cast<const char*>(p) + values * static_cast<ptrdiff_t>(valueBytes);
}

// Counts of every column's values kept from row to row (a block of counts
// per column, see kCountBlock): each row adds the row entering the windows
// and takes away the one leaving them (kept as a copy: gathered rows are
// overwritten), then the window's counts slide along the row, two blocks a
// pixel whatever the window's size.
void countsRow(const Plan& p, const core::NbRow& row) {
    const int ch = row.channels;
    const size_t span = static_cast<size_t>(row.width + p.nCols - 1) * ch;
    auto* counts = static_cast<uint8_t*>(row.scratch);
    uint8_t* blocks = counts + 2 * kCountBlock;
    uint8_t* leaving = blocks + span * kCountBlock;
    auto rowAt = [&](int r) {
        return static_cast<const uint8_t*>(row.src[r]) - static_cast<ptrdiff_t>(p.left) * ch;
    };
    auto count = [](uint8_t* b, uint8_t v, int by) {
        b[v] = static_cast<uint8_t>(b[v] + by);
        b[256 + (v >> 4)] = static_cast<uint8_t>(b[256 + (v >> 4)] + by);
    };
    if (row.firstRow) {
        std::memset(blocks, 0, span * kCountBlock);
        for (int r = 0; r < p.nRows; ++r)
            for (size_t k = 0; k < span; ++k) count(blocks + k * kCountBlock, rowAt(r)[k], 1);
    } else {
        // One pass over the blocks (of a wide row, more than the caches hold).
        const uint8_t* entering = rowAt(p.nRows - 1);
        for (size_t k = 0; k < span; ++k) {
            count(blocks + k * kCountBlock, leaving[k], -1);
            count(blocks + k * kCountBlock, entering[k], 1);
        }
    }
    auto* out = static_cast<uint8_t*>(row.dst);
    for (int c = 0; c < ch; ++c)
        p.table->slidingMedian[p.area > 255](blocks + c * kCountBlock, static_cast<size_t>(ch) * kCountBlock, p.nCols,
                               row.width, p.area / 2, counts, out + c, ch);
    std::memcpy(leaving, rowAt(0), span);
}

// Counts of the window's values for one channel, slid one pixel at a time;
// the median is tracked with the count of values below it.
void histogramRow(const Plan& p, const core::NbRow& row) {
    const int ch = row.channels;
    auto* out = static_cast<uint8_t*>(row.dst);
    auto* hist = static_cast<uint32_t*>(row.scratch);
    const int rank = p.area / 2;
    for (int c = 0; c < ch; ++c) {
        std::fill(hist, hist + 256, 0u);
        auto value = [&](int r, int x) {  // pixel x (from -left) of row r
            return static_cast<const uint8_t*>(row.src[r])[static_cast<ptrdiff_t>(x) * ch + c];
        };
        for (int r = 0; r < p.nRows; ++r)
            for (int x = -p.left; x < p.nCols - p.left; ++x) ++hist[value(r, x)];
        int m = 0;
        int below = 0;
        for (int x = 0;; ++x) {
            while (below > rank) below -= static_cast<int>(hist[--m]);
            while (below + static_cast<int>(hist[m]) <= rank) below += static_cast<int>(hist[m++]);
            out[static_cast<size_t>(x) * ch + c] = static_cast<uint8_t>(m);
            if (x + 1 == row.width) break;
            const int gone = x - p.left, come = x - p.left + p.nCols;
            for (int r = 0; r < p.nRows; ++r) {
                const uint8_t g = value(r, gone), n = value(r, come);
                --hist[g];
                ++hist[n];
                below += (n < m) - (g < m);
            }
        }
    }
}

template <class T>
void selectRow(const Plan& p, const core::NbRow& row) {
    using K = KeyOf<T>;
    const int ch = row.channels;
    const size_t n = static_cast<size_t>(row.width) * ch;
    K* keys = static_cast<K*>(row.scratch);
    for (size_t i = 0; i < n; ++i) {
        int k = 0;
        for (int r = 0; r < p.nRows; ++r)
            for (int x = 0; x < p.nCols; ++x)
                keys[k++] = keyAt<T>(at(row.src[r], static_cast<ptrdiff_t>(x - p.left) * ch, sizeof(T)), i);
        std::nth_element(keys, keys + p.area / 2, keys + p.area);
        putKey<T>(row.dst, i, keys[p.area / 2]);
    }
}

void medianRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const int ch = row.channels;
    const size_t n = static_cast<size_t>(row.width) * ch;
    const int e = static_cast<int>(p.type);
    switch (p.method) {
        case Plan::Columns: {
            // The kernel reads a pixel either side of the window's centre.
            const void* rows[3];
            for (int r = 0; r < 3; ++r) rows[r] = at(row.src[r], static_cast<ptrdiff_t>(1 - p.left) * ch, p.valueBytes);
            return p.table->median9[e](rows, row.dst, n, ch, row.scratch);
        }
        case Plan::Columns5: {
            const void* rows[5];
            for (int r = 0; r < 5; ++r) rows[r] = at(row.src[r], static_cast<ptrdiff_t>(2 - p.left) * ch, p.valueBytes);
            return p.table->median25[e](rows, row.dst, n, ch, row.scratch);
        }
        case Plan::Network: {
            const void* ins[kMaxNetwork];
            for (int r = 0, k = 0; r < p.nRows; ++r)
                for (int x = 0; x < p.nCols; ++x)
                    ins[k++] = at(row.src[r], static_cast<ptrdiff_t>(x - p.left) * ch, p.valueBytes);
            return p.table->network[e](ins, p.area, p.net, p.nNet, p.area / 2, row.dst, n);
        }
        case Plan::Counts: return countsRow(p, row);
        case Plan::Histogram: return histogramRow(p, row);
        default:
            image::forEachValueType([&](auto v) {
                using T = decltype(v);
                if (static_cast<int>(image::ElemOf<T>::value) == e) selectRow<T>(p, row);
            });
    }
}

// Color median: the first pixel (row by row) of the least summed channel
// distances to the window's pixels. Small windows and 32F sum pair by pair
// (colorPairs8 / colorPairsRef). Larger integer windows split each sum by
// channel and take every channel's part from the window's values in order:
// 8-bit values from counts slid along the row, the others from the sorted
// window. Integer sums are exact in any order, so every form chooses the
// same pixel. Windows of wider values up to this area cost less pair by pair.
constexpr int kLargestPairwise = 25;

template <class T>
const T* windowPixel(const Plan& p, const core::NbRow& row, int x, int index) {
    const int r = index / p.nCols, i = index % p.nCols;
    return static_cast<const T*>(row.src[r]) + static_cast<ptrdiff_t>(x + i - p.left) * 3;
}

// 8-bit values: per channel the window's counts of the 256 values (as
// unsigned levels u), slid along the row, give the summed distances of every
// level at once: D(0) is the sum of the levels, D(u + 1) = D(u) + 2 (values at
// most u) - area. Scratch: 3 x 256 counts, 3 x 256 distances.
template <class T>
int countedChoice(const Plan& p, const core::NbRow& row, int x) {
    constexpr int kOffset = std::is_signed_v<T> ? 128 : 0;
    auto* counts = static_cast<int32_t*>(row.scratch);
    auto* distance = reinterpret_cast<int64_t*>(counts + 3 * 256);
    auto level = [&](int r, int i, int c) {
        return static_cast<const T*>(row.src[r])[static_cast<ptrdiff_t>(i - p.left) * 3 + c] + kOffset;
    };
    if (x == 0) {
        std::fill(counts, counts + 3 * 256, 0);
        for (int r = 0; r < p.nRows; ++r)
            for (int i = 0; i < p.nCols; ++i)
                for (int c = 0; c < 3; ++c) ++counts[c * 256 + level(r, i, c)];
    } else {
        for (int r = 0; r < p.nRows; ++r)
            for (int c = 0; c < 3; ++c) {
                --counts[c * 256 + level(r, x - 1, c)];
                ++counts[c * 256 + level(r, x + p.nCols - 1, c)];
            }
    }
    for (int c = 0; c < 3; ++c) {
        const int32_t* n = counts + c * 256;
        int64_t total = 0;
        for (int u = 1; u < 256; ++u) total += static_cast<int64_t>(u) * n[u];
        int64_t* d = distance + c * 256;
        int64_t atMost = 0;
        for (int u = 0; u < 256; ++u) {
            d[u] = total;
            atMost += n[u];
            total += 2 * atMost - p.area;
        }
    }
    int chosen = 0;
    int64_t best = 0;
    for (int r = 0, j = 0; r < p.nRows; ++r)
        for (int i = x; i < x + p.nCols; ++i, ++j) {
            const int64_t sum = distance[level(r, i, 0)] + distance[256 + level(r, i, 1)] +
                                distance[512 + level(r, i, 2)];
            if (j == 0 || sum < best) best = sum, chosen = j;
        }
    return chosen;
}

// Wider values: per channel the window sorted as keys (the value above
// kIndexBits, the window index below: windows hold at most 2^20 pixels, and
// equal values stay in window order). A value v with k values below it,
// summing to `below`, is k v - below + (total - below) - (area - k) v from
// the others. Scratch: the keys, then the sums of every window pixel.
constexpr int kIndexBits = 21;

template <class T>
int orderedChoice(const Plan& p, const core::NbRow& row, int x) {
    auto* keys = static_cast<int64_t*>(row.scratch);
    int64_t* sums = keys + p.area;
    std::fill(sums, sums + p.area, int64_t{0});
    for (int c = 0; c < 3; ++c) {
        int64_t total = 0;
        for (int j = 0; j < p.area; ++j) {
            const int64_t v = windowPixel<T>(p, row, x, j)[c];
            total += v;
            keys[j] = static_cast<int64_t>(static_cast<uint64_t>(v) << kIndexBits) | j;
        }
        std::sort(keys, keys + p.area);
        int64_t below = 0;
        for (int k = 0; k < p.area;) {
            const int64_t v = keys[k] >> kIndexBits;
            const int64_t part = v * k - below + (total - below) - v * (p.area - k);
            int end = k;
            for (; end < p.area && keys[end] >> kIndexBits == v; ++end) {
                sums[keys[end] & ((int64_t{1} << kIndexBits) - 1)] += part;
                below += v;
            }
            k = end;
        }
    }
    int chosen = 0;
    for (int j = 1; j < p.area; ++j)
        if (sums[j] < sums[chosen]) chosen = j;
    return chosen;
}

template <class T>
void colorRow(const Plan& p, const core::NbRow& row) {
    constexpr bool kBytes = sizeof(T) == 1;
    if (std::is_same_v<T, float> || p.area <= (kBytes ? kColorPairsArea : kLargestPairwise)) {
        const ColorPairsFn pairs = kBytes ? p.table->colorPairs8[std::is_signed_v<T>] : &colorPairsRef<T>;
        return pairs(row.src, p.nCols, p.nRows, p.left, row.dst, static_cast<size_t>(row.width));
    }
    if constexpr (!std::is_same_v<T, float>) {
        T* out = static_cast<T*>(row.dst);
        for (int x = 0; x < row.width; ++x) {
            int chosen;
            if constexpr (kBytes) chosen = countedChoice<T>(p, row, x);
            else chosen = orderedChoice<T>(p, row, x);
            std::memcpy(out + static_cast<size_t>(x) * 3, windowPixel<T>(p, row, x, chosen), 3 * sizeof(T));
        }
    }
}

void colorMedianRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    image::forEachValueType([&](auto v) {
        using T = decltype(v);
        if (image::ElemOf<T>::value == p.type) colorRow<T>(p, row);
    });
}

enum class Kind { Median, Color };

void medianFilter(const core::Caller& caller, int line, OzlImage* src, OzlImage* dst, int nCols,
                  int nRows, int anchorX, int anchorY, Kind kind) {
    if (!windowCallValid(caller, line, src, dst, nCols, nRows, anchorX, anchorY)) return;
    const int64_t area = static_cast<int64_t>(nCols) * nRows;
    if (area > (1 << 20))
        return static_cast<void>(fail(caller, OZL_StsBadArg, "Window too large", line + 3));
    if (kind == Kind::Color &&
        (src->depth == OZL_DEPTH_1U || src->dataOrder == OZL_DATA_ORDER_PLANE ||
         (src->roi && src->roi->coi) || (dst->roi && dst->roi->coi) ||
         src->nChannels - (src->alphaChannel ? 1 : 0) != 3))
        return static_cast<void>(fail(caller, OZL_StsBadNumChannels,
                                      "Color median needs 3 channels in pixel order", line + 3));
    core::NbSetup setup;
    core::NbCode code = core::setupNeighbourhood(src, dst, setup);
    if (code == core::NbCode::Done && setup.width > 0) {
        Plan* plan = static_cast<Plan*>(ozlMalloc(sizeof(Plan)));
        if (!plan) return core::reportNbCode(caller, core::NbCode::NoMemory, line + 4);
        *plan = Plan{};
        plan->table = &activeRankTable();
        plan->type = src->depth == OZL_DEPTH_1U ? image::Elem::U8 : image::elemOf(src->depth);
        plan->valueBytes = image::elemBytes(plan->type);
        plan->nCols = nCols;
        plan->nRows = nRows;
        plan->left = anchorX;
        plan->area = static_cast<int>(area);
        core::NbKernel kernel;
        kernel.row = kind == Kind::Color ? &colorMedianRow : &medianRow;
        kernel.context = plan;
        kernel.margins = marginsOf(nCols, nRows, anchorX, anchorY);
        if (kind == Kind::Color) {
            // Counts and distances of 8-bit values, or keys and sums of the
            // window (a row with its margins spans nCols pixels of 3 values or more).
            const size_t bytes = std::max<size_t>(3 * 256 * (4 + 8), 16 * static_cast<size_t>(area));
            kernel.scratchPerValue = bytes / (3 * static_cast<size_t>(nCols)) + 1;
        } else if (nCols == 3 && nRows == 3) {
            plan->method = Plan::Columns;
            kernel.scratchPerValue = 3 * 4 + 1;
        } else if (nCols == 5 && nRows == 5) {
            plan->method = Plan::Columns5;
            kernel.scratchPerValue = 5 * 4 + 1;
        } else if (area <= kMaxNetwork) {
            plan->method = Plan::Network;
            plan->nNet = selectionNetwork(plan->area, plan->area / 2, plan->net);
        } else if (plan->type == image::Elem::U8 && area <= 65535 && nRows <= 255) {
            // A block of counts per column, the row leaving, and the
            // window's counts (a row with its margins spans nCols values or more).
            plan->method = Plan::Counts;
            kernel.scratchPerValue = kCountBlock + 1 + 2 * kCountBlock / static_cast<size_t>(nCols) + 1;
        } else if (plan->type == image::Elem::U8) {
            // 1 KiB of counts; a row with its margins spans nCols values or more.
            plan->method = Plan::Histogram;
            kernel.scratchPerValue = 1024 / static_cast<size_t>(nCols) + 2;
        } else {
            // A copy of the window's keys.
            plan->method = Plan::Select;
            kernel.scratchPerValue = 4 * static_cast<size_t>(nRows) + 1;
        }
        core::NbPass pass{&kernel, 1};
        code = core::runPasses(setup, &pass, 1);
        ozlFree(plan);
    }
    core::reportNbCode(caller, code, line + 4);
}

}  // namespace
}  // namespace ozl::rank

extern "C" OZL_API void OZL_CALL ozlMedianFilter(OzlImage* srcImage, OzlImage* dstImage, int nCols,
                                                 int nRows, int anchorX, int anchorY) {
    ozl::rank::medianFilter({"ozlMedianFilter", "ozlmedian"}, 304, srcImage, dstImage, nCols, nRows,
                            anchorX, anchorY, ozl::rank::Kind::Median);
}

extern "C" OZL_API void OZL_CALL ozlColorMedianFilter(OzlImage* srcImage, OzlImage* dstImage,
                                                      int nCols, int nRows, int anchorX, int anchorY) {
    ozl::rank::medianFilter({"ozlColorMedianFilter", "ozlmedian"}, 352, srcImage, dstImage, nCols,
                            nRows, anchorX, anchorY, ozl::rank::Kind::Color);
}
