// The scalar masked writes and the choice of table by level.
#include "core/blend.hpp"

#include "simd/levels.hpp"

namespace ozl::core {

const BlendTable& blendTableSse2();
const BlendTable& blendTableAvx2();
const BlendTable& blendTableAvx512();

namespace {

template <size_t S>
void refBlend(void* d, const void* src, size_t nPix, int nCh, const uint8_t* mask, int maskBit) {
    blendBytes(static_cast<uint8_t*>(d), static_cast<const uint8_t*>(src), nPix,
               static_cast<size_t>(nCh) * S, mask, static_cast<size_t>(maskBit));
}

const BlendTable& blendTableRef() {
    static const BlendTable table = {{&refBlend<1>, &refBlend<2>, &refBlend<4>}};
    return table;
}

constexpr simd::PerLevel<BlendTable> kBlends{&blendTableRef, &blendTableSse2, &blendTableAvx2,
                                             &blendTableAvx512};

}  // namespace

const BlendTable& blendTable(cpu::Level level) { return kBlends.at(level); }

}  // namespace ozl::core
