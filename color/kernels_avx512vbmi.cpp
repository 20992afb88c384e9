// The AVX-512 kernels of the colour family for processors with the byte
// permutes of AVX-512 VBMI: the same kernels, with interleaved pixels split
// and joined by whole-register permutes.
#include "simd/avx512_vbmi.hpp"
#include "color/vec_kernels.hpp"

namespace ozl::color {

const ColorTable& colorTableAvx512Vbmi() {
    static const ColorTable table = vectorTable<simd::Avx512Vbmi>(referenceTable());
    return table;
}

}  // namespace ozl::color
