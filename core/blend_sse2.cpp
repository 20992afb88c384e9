// The SSE2 masked writes.
#include "core/blend_expand_sse2.hpp"
#include "core/blend_loop.hpp"
#include "simd/sse2.hpp"

namespace ozl::core {

const BlendTable& blendTableSse2() {
    static const BlendTable table = {{&blendKernel<simd::Sse2, Sse2Expand, 1>,
                                      &blendKernel<simd::Sse2, Sse2Expand, 2>,
                                      &blendKernel<simd::Sse2, Sse2Expand, 4>}};
    return table;
}

}  // namespace ozl::core
