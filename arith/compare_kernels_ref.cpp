// The scalar comparison kernels and the choice of table by instruction-set level.
#include "arith/compare_kernels.hpp"
#include "simd/levels.hpp"

namespace ozl::arith {

const CompareTable& compareTableSse2();
const CompareTable& compareTableAvx2();
const CompareTable& compareTableAvx512();

namespace {

const CompareTable& compareTableRef() {
    static const CompareTable table = makeCompareTable<void>(&scalarRange);
    return table;
}

constexpr simd::PerLevel<CompareTable> kTables{&compareTableRef, &compareTableSse2,
                                               &compareTableAvx2, &compareTableAvx512};

}  // namespace

const CompareTable& compareTable(cpu::Level level) { return kTables.at(level); }

}  // namespace ozl::arith
