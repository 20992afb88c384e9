// The AVX2 kernels of the colour family.
#include "simd/avx2.hpp"
#include "color/vec_kernels.hpp"

namespace ozl::color {


const ColorTable& colorTableAvx2() {
    static const ColorTable table = vectorTable<simd::Avx2>(referenceTable());
    return table;
}

}  // namespace ozl::color
