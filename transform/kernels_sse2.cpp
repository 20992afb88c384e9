// The SSE2 forms of the frequency transforms.
#include "simd/sse2.hpp"
#include "transform/engine.hpp"

namespace ozl::transform {

const KernelTable& kernelTableSse2() {
    static const KernelTable table = Engine<simd::Sse2>::table();
    return table;
}

}  // namespace ozl::transform
