// Geometric and frequency transforms: resampling factors, interpolations with and without the border fill,
// coefficients and quadrangles (finite, huge, degenerate, not numbers), maps, the helpers with their output
// arrays; transform directions and scalings (or packings), mostly legal, now and then any value.
#include <type_traits>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;
using ozl::fuzz::ranged;

int interpolation(Case& c) {
    const int v = c.mostly(0, 3, 90);
    return c.rng().percent(30) ? v | OZL_FILL_FROM_BORDER : v;
}

// Coefficients (mostly near the identity) or quadrangle corners (mostly near a 40x30 rectangle), so that
// pixels get written.
template <int R, int C, bool quad = false>
struct Coeffs {
    double m[R][C];
    explicit Coeffs(Case& c) {
        const double corners[4][2] = {{0, 0}, {40, 0}, {40, 30}, {0, 30}};
        const bool nearIdentity = c.rng().percent(quad ? 100 : 60);
        for (int r = 0; r < R; ++r)
            for (int k = 0; k < C; ++k)
                if (quad) m[r][k] = c.rng().percent(80) ? corners[r][k] + c.anyDouble() * 10 : c.anyDouble();
                else m[r][k] = nearIdentity && r < 2 && k < 2 ? (r == k) + c.anyDouble() / 10 : c.anyDouble();
    }
};
using Affine = Coeffs<2, 3>;
using Bilinear = Coeffs<2, 4>;
using Perspective = Coeffs<3, 3>;
using Quad = Coeffs<4, 2, true>;

// An output array, or now and then NULL.
template <class T>
T* maybe(Case& c, T* p) { return c.rng().percent(95) ? p : nullptr; }

// Factors mostly small and positive, now and then 0, negative or huge.
template <auto F>
void resample(Case& c) {
    const auto [s, d] = c.picks<2>();
    const int a = c.mostly(1, 9, 85), b = c.mostly(1, 9, 85), e = c.mostly(1, 9, 85), f = c.mostly(1, 9, 85);
    F(s, d, a, b, e, f, interpolation(c));
}

template <class In, auto F>
void warp(Case& c) {
    const auto [s, d] = c.picks<2>();
    In in(c);
    F(s, d, maybe(c, in.m), interpolation(c));
}

// F(image, in, out) for quadrangles and bounds of coefficients, F(image, out, in) for a quadrangle's
// coefficients.
template <class In, int R, int C, auto F>
void helper(Case& c) {
    In in(c);
    double out[R][C];
    OzlImage* image = c.pick();
    if constexpr (std::is_same_v<In, Quad>) F(image, maybe(c, out), maybe(c, in.m));
    else F(image, maybe(c, in.m), maybe(c, out));
}

const ozl::fuzz::Registrar calls({
    {"ozlZoom", resample<ozlZoom>}, {"ozlDecimate", resample<ozlDecimate>}, {"ozlResize", resample<ozlResize>},
    {"ozlMirror", ranged<ozlMirror, -1, 1>},
    {"ozlWarpAffine", warp<Affine, ozlWarpAffine>}, {"ozlWarpBilinear", warp<Bilinear, ozlWarpBilinear>},
    {"ozlWarpPerspective", warp<Perspective, ozlWarpPerspective>}, {"ozlWarpBilinearQ", warp<Quad, ozlWarpBilinearQ>},
    {"ozlWarpPerspectiveQ", warp<Quad, ozlWarpPerspectiveQ>}, {"ozlGetAffineQuad", helper<Affine, 4, 2, ozlGetAffineQuad>},
    {"ozlGetAffineBound", helper<Affine, 2, 2, ozlGetAffineBound>},
    {"ozlGetAffineTransform", helper<Quad, 2, 3, ozlGetAffineTransform>},
    {"ozlGetBilinearQuad", helper<Bilinear, 4, 2, ozlGetBilinearQuad>},
    {"ozlGetBilinearBound", helper<Bilinear, 2, 2, ozlGetBilinearBound>},
    {"ozlGetBilinearTransform", helper<Quad, 2, 4, ozlGetBilinearTransform>},
    {"ozlGetPerspectiveQuad", helper<Perspective, 4, 2, ozlGetPerspectiveQuad>},
    {"ozlGetPerspectiveBound", helper<Perspective, 2, 2, ozlGetPerspectiveBound>},
    {"ozlGetPerspectiveTransform", helper<Quad, 3, 3, ozlGetPerspectiveTransform>},
    {"ozlRotate", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         const double angle = c.anyDouble() * 100, xs = c.anyDouble() * 10, ys = c.anyDouble() * 10;
         ozlRotate(s, d, angle, xs, ys, interpolation(c));
     }},
    {"ozlGetRotateShift", [](Case& c) {
         double xs, ys, in[3] = {c.anyDouble(), c.anyDouble(), c.anyDouble()};  // braces: drawn in order
         ozlGetRotateShift(in[0], in[1], in[2], maybe(c, &xs), maybe(c, &ys));
     }},
    {"ozlShear", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         const double a = c.anyDouble(), b = c.anyDouble(), e = c.anyDouble(), f = c.anyDouble();
         ozlShear(s, d, a, b, e, f, interpolation(c));
     }},
    {"ozlRemap", [](Case& c) {
         const auto [s, d, x, y] = c.picks<4>();
         ozlRemap(s, d, x, y, interpolation(c));
     }},
    // Flags: a direction and a scaling (half of them legal), one of the two directions, the conjugate or not.
    {"ozlRealFft2D", ranged<ozlRealFft2D, 0, 15>}, {"ozlCcsFft2D", ranged<ozlCcsFft2D, 0, 15>},
    {"ozlDCT2D", ranged<ozlDCT2D, 1, 2>}, {"ozlMpyRCPack2D", ranged<ozlMpyRCPack2D, 0, 1>},
});

}  // namespace
