// The scalar row kernels and the choice of table by instruction-set level.
#include "filter/kernels.hpp"
#include "simd/levels.hpp"

namespace ozl::filter {

const KernelTable& kernelTableSse2();
const KernelTable& kernelTableAvx2();
const KernelTable& kernelTableAvx512();

namespace {

const KernelTable& kernelTableRef() {
    static const KernelTable table = [] {
        KernelTable t;
        t.narrow = &narrowRow;
        t.wide[0] = &wideRow<uint8_t>;
        t.wide[1] = &wideRow<int8_t>;
        t.wide[2] = &wideRow<uint16_t>;
        t.wide[3] = &wideRow<int16_t>;
        t.exact[0] = &exactRow<uint8_t>;
        t.exact[1] = &exactRow<int8_t>;
        t.exact[2] = &exactRow<uint16_t>;
        t.exact[3] = &exactRow<int16_t>;
        t.exact[4] = &exactRow<int32_t>;
        t.real = &realRow;
        t.realBand = &realBandRow;
        t.sep[0] = &sepRef<uint8_t>;
        t.sep[1] = &sepRef<int8_t>;
        t.sep[2] = &sepRef<uint16_t>;
        t.sep[3] = &sepRef<int16_t>;
        t.sep[4] = &sepRef<int32_t>;
        t.sepReal = &sepRealRef;
        return t;
    }();
    return table;
}

constexpr simd::PerLevel<KernelTable> kTables{&kernelTableRef, &kernelTableSse2, &kernelTableAvx2,
                                              &kernelTableAvx512};

}  // namespace

const KernelTable& kernelTable(cpu::Level level) { return kTables.at(level); }

}  // namespace ozl::filter
