// The AVX2 forms of the frequency transforms.
#include "simd/avx2.hpp"
#include "transform/engine.hpp"

namespace ozl::transform {

const KernelTable& kernelTableAvx2() {
    static const KernelTable table = Engine<simd::Avx2>::table();
    return table;
}

}  // namespace ozl::transform
