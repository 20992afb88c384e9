// The scalar rank kernels and the choice of table by instruction-set level.
#include <algorithm>
#include <numeric>

#include "rank/kernels.hpp"
#include "simd/levels.hpp"

namespace ozl::rank {

const RankTable& rankTableSse2();
const RankTable& rankTableAvx2();

namespace {

const RankTable& rankTableRef() {
    static const RankTable table = [] {
        RankTable t{};
        image::forEachValueType([&](auto v) {
            using T = decltype(v);
            constexpr int e = static_cast<int>(image::ElemOf<T>::value);
            t.fold[e][0] = &foldRef<T, false>;
            t.fold[e][1] = &foldRef<T, true>;
            t.extreme3x3[e][0] = &extreme3x3Ref<T, false>;
            t.extreme3x3[e][1] = &extreme3x3Ref<T, true>;
            t.median9[e] = &median9Ref<T>;
            t.network[e] = &networkRef<T>;
            t.median25[e] = &median25Ref<T>;
        });
        t.bits3x3[0] = &bits3x3Ref<false>;
        t.bits3x3[1] = &bits3x3Ref<true>;
        t.boxU8 = &boxU8Ref;
        t.weightedU8 = &weightedU8Ref;
        t.slidingMedian[0] = &slidingMedianRef<uint8_t>;
        t.slidingMedian[1] = &slidingMedianRef<uint16_t>;
        t.colorPairs8[0] = &colorPairsRef<uint8_t>;
        t.colorPairs8[1] = &colorPairsRef<int8_t>;
        return t;
    }();
    return table;
}

// The AVX-512 level takes the bit-matrix 1-bit kernels where the processor has them.
const RankTable& rankTableAvx512Best() {
    static const RankTable table = [] {
        RankTable t = rankTableAvx512();
        if (const Bits3x3Fn* bits = bits3x3Gfni()) std::copy(bits, bits + 2, t.bits3x3);
        return t;
    }();
    return table;
}

constexpr simd::PerLevel<RankTable> kTables{&rankTableRef, &rankTableSse2, &rankTableAvx2, &rankTableAvx512Best};

}  // namespace

Divider16 divider16(uint16_t divisor) {
    Divider16 d;
    d.divisor = divisor;
    if (divisor <= 1) return d;
    int l = 0;
    while ((1u << l) < divisor) ++l;
    d.shift = l;
    d.multiplier = static_cast<uint16_t>((uint64_t{1} << 16) * ((uint64_t{1} << l) - divisor) / divisor + 1);
    return d;
}

bool tapsU8(const int32_t* weights, int size, int32_t divisor, TapsU8& taps) {
    if (size > 5 || divisor <= 0 || (divisor & (divisor - 1))) return false;
    taps = TapsU8{};
    int64_t positive = 0, negative = 0;
    for (int i = 0; i < size * size; ++i) {
        if (!weights[i]) continue;
        (weights[i] > 0 ? positive : negative) += 255 * static_cast<int64_t>(weights[i] > 0 ? weights[i] : -weights[i]);
        taps.tap[taps.count++] = TapsU8::Tap{i / size, i % size - size / 2, weights[i]};
    }
    while ((1 << taps.shift) < divisor) ++taps.shift;
    taps.half = divisor / 2;
    taps.unsignedSums = negative == 0;
    taps.size = size;
    // A product of a column and a row: the first row with a weight, divided
    // by the weights' common factor, and the column under its first weight.
    const int first = taps.count ? taps.tap[0].row * size + taps.tap[0].offset + size / 2 : 0;
    const int r0 = first / size, c0 = first % size;
    int common = 0;
    for (int c = 0; c < size; ++c) common = std::gcd(common, weights[r0 * size + c]);
    int nonzero = 0;
    for (int c = 0; taps.count && c < size; ++c) nonzero += (taps.horizontal[c] = weights[r0 * size + c] / common) != 0;
    taps.separable = taps.count > 0;
    for (int r = 0; taps.separable && r < size; ++r) {
        nonzero += (taps.vertical[r] = weights[r * size + c0] / taps.horizontal[c0]) != 0;
        for (int c = 0; c < size; ++c)
            if (taps.vertical[r] * taps.horizontal[c] != weights[r * size + c]) taps.separable = false;
    }
    taps.separable = taps.separable && nonzero < taps.count;
    return taps.unsignedSums ? positive + taps.half <= 65535 && (positive + taps.half) >> taps.shift <= 32767
                             : positive + taps.half <= 32767 && taps.half - negative >= -32768;
}

const RankTable& rankTable(cpu::Level level) { return kTables.at(level); }

}  // namespace ozl::rank
