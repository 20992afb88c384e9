// The SSE2 kernels of the colour family.
#include "simd/sse2.hpp"
#include "color/vec_kernels.hpp"

namespace ozl::color {


const ColorTable& colorTableSse2() {
    static const ColorTable table = vectorTable<simd::Sse2>(referenceTable());
    return table;
}

}  // namespace ozl::color
