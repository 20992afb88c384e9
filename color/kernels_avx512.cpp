// The AVX-512 kernels of the colour family.
#include "simd/avx512.hpp"
#include "color/vec_kernels.hpp"

namespace ozl::color {


const ColorTable& colorTableAvx512() {
    static const ColorTable table = vectorTable<simd::Avx512>(referenceTable());
    return table;
}

}  // namespace ozl::color
