#include "stats/lut.hpp"

#include "image/region.hpp"

namespace ozl::stats {

namespace {

enum Line {
    kLineLut = 121,
    kLineEntry = 122,
    kLineKey = 123,
    kLineValue = 124,
    kLineNum = 125,
    kLineFirstKey = 126,
    kLineLastKey = 127,
    kLineOrder = 128,
    kLineFactor = 129,
};

template <class T>
void buildStretch(const OzlLUT& t, T* map) {
    constexpr int size = 1 << (8 * sizeof(T));
    for (int j = 0; j < size; ++j) map[j] = static_cast<T>(j);
    const int last = t.num - 1;
    int next = 0;   // the next key to reach
    int bin = -1;   // the bin the walk is in
    for (int j = t.key[0]; j < size; ++j) {
        // Equal keys open empty bins one after another; the last one holds.
        while (next <= last && t.key[next] == j) {
            if (next == last) return;
            bin = next++;
        }
        // Slopes wrap: the line is taken modulo the map's width.
        const uint32_t base = static_cast<uint32_t>(t.value[bin]);
        map[j] = static_cast<T>(t.interpolateType == 0
                                    ? base
                                    : static_cast<uint32_t>(j - t.key[bin]) *
                                              static_cast<uint32_t>(t.factor[bin]) +
                                          base);
    }
}

// An integer to the map's width, its low bits kept; doubles beyond the 64-bit
// range (impossible for counts that add up) are taken as 0.
template <class T>
T truncated(double v) {
    if (!(v > -9.2e18 && v < 9.2e18)) return 0;
    return static_cast<T>(static_cast<uint64_t>(static_cast<int64_t>(v)));
}

}  // namespace

int firstTable(const OzlImage* image) { return image::startChannel(image); }

bool tablesValid(const core::Caller& caller, const TableSet& tables, int histSize, TableUse use) {
    using core::fail;
    if (!tables.lut) return fail(caller, OZL_StsBadArg, "lut==0", kLineLut);
    for (int k = tables.first; k < tables.first + tables.count; ++k) {
        const OzlLUT* t = tables.lut[k];
        if (!t) return fail(caller, OZL_StsBadArg, "lut[k]==0", kLineEntry);
        if (!t->key) return fail(caller, OZL_StsBadArg, "lut[k]->key==0", kLineKey);
        if (!t->value) return fail(caller, OZL_StsBadArg, "lut[k]->value==0", kLineValue);
        if (t->num < 2) return fail(caller, OZL_StsBadArg, "lut[k]->num < 2", kLineNum);
        if (t->key[0] < 0) return fail(caller, OZL_StsBadArg, "lut[k]->key[0] < 0", kLineFirstKey);
        if (t->key[t->num - 1] > histSize)
            return fail(caller, OZL_StsBadArg, "lut[k]->key[lut[k]->num-1] > histSize",
                        kLineLastKey);
        for (int i = 0; i + 1 < t->num; ++i)
            if (t->key[i] > t->key[i + 1])
                return fail(caller, OZL_StsBadArg, "lut[k]->key[i] > lut[k]->key[i+1]",
                            kLineOrder);
        if (use == TableUse::Stretch && t->interpolateType != 0 && !t->factor)
            return fail(caller, OZL_StsBadArg, "lut[k]->factor==0", kLineFactor);
    }
    return true;
}

void binCounts(OzlLUT& table, const uint32_t* counters) {
    for (int i = 0; i + 1 < table.num; ++i) {
        uint32_t sum = 0;
        for (int j = table.key[i]; j < table.key[i + 1]; ++j) sum += counters[j];
        table.value[i] = static_cast<int32_t>(sum);
    }
    table.interpolateType = 0;
}

void stretchMap(const OzlLUT& table, uint8_t* map) { buildStretch(table, map); }
void stretchMap(const OzlLUT& table, uint16_t* map) { buildStretch(table, map); }

Equalizer::Equalizer(uint32_t depth, int channels)
    : size_(depth == OZL_DEPTH_8U ? 256 : 65536), bytes_(depth == OZL_DEPTH_8U) {
    const size_t n = static_cast<size_t>(size_);
    levels_ = allocateZeroed<int64_t>(n);
    moved_ = allocateZeroed<uint32_t>(n);
    void* maps = bytes_ ? static_cast<void*>(allocateZeroed<uint8_t>(n * channels))
                        : static_cast<void*>(allocateZeroed<uint16_t>(n * channels));
    if (levels_ && moved_) maps_ = maps;
    else ozlFree(maps);
}

Equalizer::~Equalizer() {
    ozlFree(levels_);
    ozlFree(moved_);
    ozlFree(maps_);
}

// Each level of bin i gets value[i] / width, its last level the remainder too;
// levels outside the keys get nothing.
void Equalizer::spread(const OzlLUT& t) {
    std::memset(levels_, 0, sizeof(int64_t) * static_cast<size_t>(size_));
    for (int i = 0; i + 1 < t.num; ++i) {
        const int64_t w = t.key[i + 1] - t.key[i];
        if (w == 0) continue;
        const int64_t n = t.value[i];
        for (int j = t.key[i]; j < t.key[i + 1]; ++j) levels_[j] = n / w;
        levels_[t.key[i + 1] - 1] += n % w;
    }
}

bool Equalizer::buildMap(int c, const OzlLUT& table) {
    spread(table);
    for (int j = 1; j < size_; ++j) levels_[j] += levels_[j - 1];
    const int64_t total = levels_[size_ - 1];
    if (total == 0) return false;
    if (bytes_) {
        uint8_t* map = static_cast<uint8_t*>(maps_) + static_cast<size_t>(c) * size_;
        for (int j = 0; j < size_; ++j) map[j] = static_cast<uint8_t>(levels_[j] * 255 / total);
    } else {
        uint16_t* map = static_cast<uint16_t*>(maps_) + static_cast<size_t>(c) * size_;
        const double scale = 65535.0 / static_cast<double>(total);
        for (int j = 0; j < size_; ++j)
            map[j] = truncated<uint16_t>(static_cast<double>(levels_[j]) * scale);
    }
    return true;
}

void Equalizer::refill(int c, const OzlLUT& from, OzlLUT& to) {
    spread(from);
    std::memset(moved_, 0, sizeof(uint32_t) * static_cast<size_t>(size_));
    const size_t at = static_cast<size_t>(c) * size_;
    for (int j = 0; j < size_; ++j) {
        const int target = bytes_ ? static_cast<const uint8_t*>(maps_)[at + j]
                                  : static_cast<const uint16_t*>(maps_)[at + j];
        moved_[target] += static_cast<uint32_t>(levels_[j]);
    }
    binCounts(to, moved_);
}

template <class T>
void mapRow(const core::RowView* src, const core::RowView& dst, size_t width,
            const void* context) {
    constexpr size_t kLevels = size_t{1} << (8 * sizeof(T));
    const auto& ctx = *static_cast<const MapContext*>(context);
    const core::RowView& s = src[0];
    const int nCh = dst.channels;
    if constexpr (sizeof(T) == 1) {
        const auto* maps = static_cast<const uint8_t*>(ctx.maps);
        // Interleaved channels: one run, each value through its channel's map.
        if (core::isDense(s, 1) && core::isDense(dst, 1)) {
            ctx.mapBytes(reinterpret_cast<const uint8_t*>(s.data),
                         reinterpret_cast<uint8_t*>(dst.data), width * nCh, maps, nCh);
            return;
        }
        // Planes: a run per channel.
        if (s.pixelStep == 1 && dst.pixelStep == 1) {
            for (int c = 0; c < nCh; ++c)
                ctx.mapBytes(reinterpret_cast<const uint8_t*>(s.data + c * s.channelStep),
                             reinterpret_cast<uint8_t*>(dst.data + c * dst.channelStep), width,
                             maps + c * kLevels, 1);
            return;
        }
    }
    for (int c = 0; c < nCh; ++c) {
        const T* map = static_cast<const T*>(ctx.maps) + c * kLevels;
        const char* in = s.data + c * s.channelStep;
        char* out = dst.data + c * dst.channelStep;
        const bool aligned = (reinterpret_cast<uintptr_t>(in) | reinterpret_cast<uintptr_t>(out)) %
                                 sizeof(T) == 0;
        if (aligned && s.pixelStep == sizeof(T) && dst.pixelStep == sizeof(T)) {
            const T* a = reinterpret_cast<const T*>(in);
            T* d = reinterpret_cast<T*>(out);
            for (size_t i = 0; i < width; ++i) d[i] = map[a[i]];
            continue;
        }
        for (size_t i = 0; i < width; ++i, in += s.pixelStep, out += dst.pixelStep) {
            T v;
            std::memcpy(&v, in, sizeof v);
            v = map[v];
            std::memcpy(out, &v, sizeof v);
        }
    }
}

template void mapRow<uint8_t>(const core::RowView*, const core::RowView&, size_t, const void*);
template void mapRow<uint16_t>(const core::RowView*, const core::RowView&, size_t, const void*);

}  // namespace ozl::stats
