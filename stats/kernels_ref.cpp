// The scalar kernels and the choice of table by instruction-set level.
#include "simd/levels.hpp"
#include "stats/kernels.hpp"

namespace ozl::stats {

const KernelTable& kernelTableSse2();
const KernelTable& kernelTableAvx2();
const KernelTable& kernelTableAvx512();

namespace {

template <class T>
void momentSumsRef(const void* p, size_t n, int64_t* sums) {
    momentSumsScalar(static_cast<const T*>(p), n, sums);
}

template <NormKind kind, class T>
void normRef(const void* a, const void* b, size_t n, NormAcc& acc) {
    normScalar<kind, T>(static_cast<const T*>(a), static_cast<const T*>(b), n, acc);
}

template <NormKind kind>
void fillNorms(KernelTable& t) {
    image::forEachValueType([&](auto tag) {
        using T = decltype(tag);
        t.norm[static_cast<int>(kind)][static_cast<int>(ElemOf<T>::value)] = &normRef<kind, T>;
    });
}

const KernelTable& kernelTableRef() {
    static const KernelTable table = [] {
        KernelTable t;
        t.countBytes = &countBytesScalar;
        t.foldPairs = &foldPairsScalar;
        t.mapBytes = &mapBytesScalar;
        image::forEachValueType([&](auto tag) {
            using T = decltype(tag);
            if constexpr (std::is_integral_v<T>)
                t.momentSums[static_cast<int>(ElemOf<T>::value)] = &momentSumsRef<T>;
        });
        fillNorms<NormKind::C>(t);
        fillNorms<NormKind::L1>(t);
        fillNorms<NormKind::L2>(t);
        return t;
    }();
    return table;
}

constexpr simd::PerLevel<KernelTable> kTables{&kernelTableRef, &kernelTableSse2, &kernelTableAvx2,
                                              &kernelTableAvx512};

}  // namespace

const KernelTable& kernelTable(cpu::Level level) { return kTables.at(level); }

}  // namespace ozl::stats
