// The scalar rank kernels and the choice of table by instruction-set level.
#include "rank/kernels.hpp"
#include "simd/levels.hpp"

namespace ozl::rank {

const RankTable& rankTableSse2();
const RankTable& rankTableAvx2();
const RankTable& rankTableAvx512();

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
        t.slidingMedian = &slidingMedianRef;
        return t;
    }();
    return table;
}

constexpr simd::PerLevel<RankTable> kTables{&rankTableRef, &rankTableSse2, &rankTableAvx2, &rankTableAvx512};

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

const RankTable& rankTable(cpu::Level level) { return kTables.at(level); }

}  // namespace ozl::rank
