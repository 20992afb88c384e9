// The scalar kernels of the geometric transforms and the choice of table by
// instruction-set level.
#include "geometry/kernels.hpp"
#include "simd/levels.hpp"

namespace ozl::geometry {

const KernelTable& kernelTableSse2();
const KernelTable& kernelTableAvx2();

namespace {

void refHLinear8u(const uint8_t* row, int16_t* out, const LinearTaps8u& t, int n) {
    hLinear8uScalar(row, out, t, 0, n);
}

void refVLinear8u(const int16_t* h0, const int16_t* h1, uint8_t* d, int w, size_t n) {
    vLinear8uScalar(h0, h1, d, w, 0, n);
}

void refHCubic8u(const uint8_t* row, int16_t* out, const CubicTaps8u& t, int n) {
    hCubic8uScalar(row, out, t, 0, n);
}

void refVCubic8u(const int16_t* const h[4], uint8_t* d, const int32_t coef[2], size_t n) {
    vCubic8uScalar(h, d, coef, 0, n);
}

void refBox2x2(const uint8_t* r0, const uint8_t* r1, uint8_t* d, size_t n, int cn) {
    box2x2Scalar(r0, r1, d, 0, n, cn);
}

void refWarpLinear8u(const core::SampledSource& s, const Edges& e, const double* sx,
                     const double* sy, int n, uint8_t* d) {
    warpLinear8uScalar(s, e, sx, sy, 0, n, d);
}

void refWarpCubic8u(const core::SampledSource& s, const Edges& e, const double* sx,
                    const double* sy, int n, uint8_t* d) {
    warpCubic8uScalar(s, e, sx, sy, 0, n, d);
}

void refReverse(const char* s, char* d, size_t n, size_t pixelBytes) {
    reverseScalar(s, d, 0, n, pixelBytes);
}

const KernelTable& kernelTableRef() {
    static const KernelTable table{&refHLinear8u, &refVLinear8u, &refHCubic8u, &refVCubic8u,
                                   &refBox2x2,    &refWarpLinear8u, &refWarpCubic8u, &refReverse};
    return table;
}

constexpr simd::PerLevel<KernelTable> kTables{&kernelTableRef, &kernelTableSse2,
                                              &kernelTableAvx2};

}  // namespace

const KernelTable& kernelTable(cpu::Level level) { return kTables.at(level); }

}  // namespace ozl::geometry
