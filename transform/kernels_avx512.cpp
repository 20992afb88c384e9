// The AVX-512 forms of the frequency transforms.
#include "simd/avx512.hpp"
#include "transform/engine.hpp"

namespace ozl::transform {

const KernelTable& kernelTableAvx512() {
    static const KernelTable table = Engine<simd::Avx512>::table();
    return table;
}

}  // namespace ozl::transform
