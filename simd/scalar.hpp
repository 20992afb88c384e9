// One float as a vector of one lane, with the float operations of the vector
// layers: code written once over a lane type compiles to the scalar reference
// with this one and to the vector forms with the others, computing every lane
// with the same operations in the same order.
#pragma once

namespace ozl::simd {
namespace {

struct Scalar {
    using VF = float;
    static constexpr int kFloats = 1;

    static VF loadF(const float* p) { return *p; }
    static void store(float* p, VF v) { *p = v; }
    static VF setF(float v) { return v; }
    static VF addF(VF a, VF b) { return a + b; }
    static VF subF(VF a, VF b) { return a - b; }
    static VF mulF(VF a, VF b) { return a * b; }
    static VF negF(VF a) { return -a; }

    static void transposeF(VF*) {}
    static void splitPairsF(VF a, VF b, VF& x, VF& y) {
        x = a;
        y = b;
    }
    static void mergePairsF(VF x, VF y, VF& a, VF& b) {
        a = x;
        b = y;
    }
};

}  // namespace
}  // namespace ozl::simd
