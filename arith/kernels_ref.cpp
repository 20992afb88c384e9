// The scalar run kernels and the choice of table by instruction-set level.
#include "arith/composite_kernels.hpp"
#include "arith/kernels.hpp"
#include "simd/levels.hpp"

namespace ozl::arith {

const KernelTable& kernelTableSse2();
const KernelTable& kernelTableAvx2();

namespace {

template <Op op, class T>
void refRun(const void* a, const void* b, void* d, size_t n, const void* args) {
    scalarRun<op, T>(static_cast<const T*>(a), static_cast<const T*>(b), static_cast<T*>(d), n,
                     *static_cast<const OpArgs*>(args));
}

const KernelTable& kernelTableRef() {
    static const KernelTable table = [] {
        KernelTable t;
        forEachKernel([&](auto opConst, auto tag) {
            constexpr Op op = decltype(opConst)::value;
            using T = decltype(tag);
            t.run[static_cast<int>(op)][static_cast<int>(ElemOf<T>::value)] = &refRun<op, T>;
        });
        t.composite[0] = &compositeScalar<uint8_t>;
        t.composite[1] = &compositeScalar<uint16_t>;
        t.premultiply[0] = &premultiplyScalar<uint8_t>;
        t.premultiply[1] = &premultiplyScalar<uint16_t>;
        return t;
    }();
    return table;
}

constexpr simd::PerLevel<KernelTable> kTables{&kernelTableRef, &kernelTableSse2,
                                              &kernelTableAvx2};

}  // namespace

const KernelTable& kernelTable(cpu::Level level) { return kTables.at(level); }

}  // namespace ozl::arith
