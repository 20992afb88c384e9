// The scalar kernel table and the choice of table by instruction-set level.
#include "arith/kernels.hpp"

namespace ozl::arith {

namespace {

template <Op op, class T>
void refRun(const void* a, const void* b, void* d, size_t n, const OpArgs& args) {
    scalarRun<op, T>(static_cast<const T*>(a), static_cast<const T*>(b), static_cast<T*>(d), n,
                     args);
}

template <class T>
void refBlend(void* d, const void* src, size_t nPix, int nCh, const uint8_t* mask, int maskBit) {
    scalarBlend<T>(static_cast<T*>(d), static_cast<const T*>(src), nPix, nCh, mask, maskBit);
}

KernelTable makeRefTable() {
    KernelTable t;
    forEachKernel([&](auto opConst, auto tag) {
        constexpr Op op = decltype(opConst)::value;
        using T = decltype(tag);
        t.run[static_cast<int>(op)][static_cast<int>(ElemOf<T>::value)] = &refRun<op, T>;
    });
    t.blend[0] = &refBlend<uint8_t>;
    t.blend[1] = &refBlend<uint16_t>;
    t.blend[2] = &refBlend<uint32_t>;
    return t;
}

}  // namespace

const KernelTable& refTable() {
    static const KernelTable table = makeRefTable();
    return table;
}

const KernelTable& tableFor(cpu::Level level) {
    switch (level) {
        case cpu::Level::Avx2: return avx2Table();
        case cpu::Level::Sse2: return sse2Table();
        default: return refTable();
    }
}

}  // namespace ozl::arith
