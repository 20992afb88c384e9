// The look-up tables of the histogram operations: their checks, the binning of
// level counts into them, the grey-level maps built from them (stretch and
// equalisation), and the pixel kernel that applies a map per channel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/checks.hpp"
#include "core/pixelwise.hpp"
#include "ozl.h"
#include "stats/kernels.hpp"

namespace ozl::stats {

// Histogram size of a depth: 2 levels for 1U, 256 for 8U, 65536 otherwise.
constexpr int histogramSize(uint32_t depth) {
    return depth == OZL_DEPTH_1U ? 2 : depth == OZL_DEPTH_8U ? 256 : 65536;
}

// Entry of the table array that serves an image's first processed channel:
// coi - 1 with a channel of interest, else 0.
int firstTable(const OzlImage* image);

// The tables of the processed channels: lut[first], ..., lut[first + count - 1].
struct TableSet {
    OzlLUT** lut;
    int first;
    int count;
};

enum class TableUse { Count, Stretch };

// The table checks in their order, for each table of the set; the first
// failure is reported (status -5) and false returned. A stretch also needs the
// slopes when it interpolates.
bool tablesValid(const core::Caller& caller, const TableSet& tables, int histSize,
                 TableUse use = TableUse::Count);

// value[i] = the counters of levels key[i] .. key[i+1] - 1 added up (32-bit,
// wrapping), for every bin; value[num-1] is left alone; step interpolation.
void binCounts(OzlLUT& table, const uint32_t* counters);

// The stretch map of a table over the histogram size of the map's type:
// levels outside the keys map to themselves, levels of a bin to the bin's
// value or its line, truncated to the type's width.
void stretchMap(const OzlLUT& table, uint8_t* map);
void stretchMap(const OzlLUT& table, uint16_t* map);

// Working memory for n values of T, zeroed; nullptr when it cannot be had.
template <class T>
T* allocateZeroed(size_t n) {
    const size_t bytes = n * sizeof(T);
    if (n != 0 && bytes / n != sizeof(T)) return nullptr;
    if (bytes > static_cast<size_t>(INT32_MAX)) return nullptr;
    void* p = ozlMalloc(static_cast<int>(bytes == 0 ? 1 : bytes));
    if (p) std::memset(p, 0, bytes);
    return static_cast<T*>(p);
}

// Equalisation maps of every processed channel, and the refill of the tables
// from the equalised result.
class Equalizer {
public:
    Equalizer(uint32_t depth, int channels);
    ~Equalizer();
    Equalizer(const Equalizer&) = delete;
    Equalizer& operator=(const Equalizer&) = delete;

    bool ready() const { return maps_ != nullptr; }
    // Builds channel c's map from the binned counts of `table`; false when the
    // counts add up to zero.
    bool buildMap(int c, const OzlLUT& table);
    const void* maps() const { return maps_; }
    // The counts of `from`, spread over the levels, moved by channel c's map
    // and binned into `to`.
    void refill(int c, const OzlLUT& from, OzlLUT& to);

private:
    void spread(const OzlLUT& table);

    int size_;
    bool bytes_;
    int64_t* levels_ = nullptr;   // spread counts, then their running sums
    uint32_t* moved_ = nullptr;   // the new per-level histogram
    void* maps_ = nullptr;        // channel after channel, size_ entries each
};

// What the pixel kernel reads: the maps, channel after channel, 2^bits(T)
// entries each, and the kernel for dense runs of 8-bit values.
struct MapContext {
    const void* maps;
    MapBytesFn mapBytes;
};

// Pixel kernel: every processed channel c of src through its map, into dst.
template <class T>
void mapRow(const core::RowView* src, const core::RowView& dst, size_t width,
            const void* context);

}  // namespace ozl::stats
