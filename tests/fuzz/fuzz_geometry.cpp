// Geometric transforms: resampling factors, interpolations with and without
// the border fill, coefficients and quadrangles (finite, huge, degenerate, not
// numbers), maps, and the helpers with their output arrays.
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

// A factor term: mostly small and positive, now and then 0, negative or huge.
int term(Case& c) {
    if (c.rng().percent(85)) {
        const int v = static_cast<int>(c.rng().between(1, 9));
        c.note(std::to_string(v));
        return v;
    }
    return c.anyInt();
}

int interpolation(Case& c) {
    int v = c.rng().percent(90) ? static_cast<int>(c.rng().between(0, 3)) : c.anyInt();
    if (c.rng().percent(30)) v |= OZL_FILL_FROM_BORDER;
    c.note(std::to_string(v));
    return v;
}

// A coefficient near the identity's scale, or anything a double can hold.
double coefficient(Case& c) {
    double v;
    switch (c.rng().below(8)) {
        case 0: v = c.anyFloat(); return v;
        case 1: v = c.rng().of({0.0, 1.0, -1.0, 1e300, -1e300, std::numeric_limits<double>::quiet_NaN(),
                                std::numeric_limits<double>::infinity(), 1e-300});
            break;
        default: v = static_cast<double>(c.rng().between(-4000, 4000)) / 1000.0; break;
    }
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.17g", v);
    c.note(buf);
    return v;
}

template <int R, int C>
struct Matrix {
    double m[R][C];
    explicit Matrix(Case& c) {
        for (auto& row : m)
            for (double& v : row) v = coefficient(c);
        // Mostly near the identity with a shift, so that pixels get written.
        if (c.rng().percent(60))
            for (int r = 0; r < R; ++r)
                for (int k = 0; k < C; ++k)
                    if (k < 2 && r < 2) m[r][k] = (r == k ? 1.0 : 0.0) + m[r][k] / 10.0;
    }
};

struct Quad {
    double q[4][2];
    explicit Quad(Case& c) {
        const double corners[4][2] = {{0, 0}, {40, 0}, {40, 30}, {0, 30}};
        for (int i = 0; i < 4; ++i)
            for (int k = 0; k < 2; ++k)
                q[i][k] = c.rng().percent(80) ? corners[i][k] + coefficient(c) * 10 : coefficient(c);
    }
};

template <void (*F)(OzlImage*, OzlImage*, int, int, int, int, int)>
void resample(Case& c) {
    const auto [s, d] = c.picks<2>();
    const int a = term(c), b = term(c), e = term(c), f = term(c);
    F(s, d, a, b, e, f, interpolation(c));
}

// An output array, or now and then NULL.
template <class T>
T* maybe(Case& c, T* p) {
    return c.rng().percent(95) ? p : nullptr;
}

const ozl::fuzz::Registrar calls("geometry", {
    {"ozlZoom", resample<ozlZoom>},
    {"ozlDecimate", resample<ozlDecimate>},
    {"ozlResize", resample<ozlResize>},
    {"ozlMirror", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         ozlMirror(s, d, c.rng().percent(90) ? static_cast<int>(c.rng().between(-1, 1)) : c.anyInt());
     }},
    {"ozlWarpAffine", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         Matrix<2, 3> m(c);
         ozlWarpAffine(s, d, maybe(c, m.m), interpolation(c));
     }},
    {"ozlGetAffineQuad", [](Case& c) {
         Matrix<2, 3> m(c);
         double q[4][2];
         ozlGetAffineQuad(c.pick(), maybe(c, m.m), maybe(c, q));
     }},
    {"ozlGetAffineBound", [](Case& c) {
         Matrix<2, 3> m(c);
         double r[2][2];
         ozlGetAffineBound(c.pick(), maybe(c, m.m), maybe(c, r));
     }},
    {"ozlGetAffineTransform", [](Case& c) {
         Quad q(c);
         double m[2][3];
         ozlGetAffineTransform(c.pick(), maybe(c, m), maybe(c, q.q));
     }},
    {"ozlRotate", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         const double angle = coefficient(c) * 100, xs = coefficient(c) * 10, ys = coefficient(c) * 10;
         ozlRotate(s, d, angle, xs, ys, interpolation(c));
     }},
    {"ozlGetRotateShift", [](Case& c) {
         double xs, ys;
         const double x = coefficient(c), y = coefficient(c), a = coefficient(c);
         ozlGetRotateShift(x, y, a, maybe(c, &xs), maybe(c, &ys));
     }},
    {"ozlShear", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         const double a = coefficient(c), b = coefficient(c), e = coefficient(c), f = coefficient(c);
         ozlShear(s, d, a, b, e, f, interpolation(c));
     }},
    {"ozlWarpBilinear", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         Matrix<2, 4> m(c);
         ozlWarpBilinear(s, d, maybe(c, m.m), interpolation(c));
     }},
    {"ozlWarpBilinearQ", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         Quad q(c);
         ozlWarpBilinearQ(s, d, maybe(c, q.q), interpolation(c));
     }},
    {"ozlGetBilinearQuad", [](Case& c) {
         Matrix<2, 4> m(c);
         double q[4][2];
         ozlGetBilinearQuad(c.pick(), maybe(c, m.m), maybe(c, q));
     }},
    {"ozlGetBilinearBound", [](Case& c) {
         Matrix<2, 4> m(c);
         double r[2][2];
         ozlGetBilinearBound(c.pick(), maybe(c, m.m), maybe(c, r));
     }},
    {"ozlGetBilinearTransform", [](Case& c) {
         Quad q(c);
         double m[2][4];
         ozlGetBilinearTransform(c.pick(), maybe(c, m), maybe(c, q.q));
     }},
    {"ozlWarpPerspective", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         Matrix<3, 3> m(c);
         ozlWarpPerspective(s, d, maybe(c, m.m), interpolation(c));
     }},
    {"ozlWarpPerspectiveQ", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         Quad q(c);
         ozlWarpPerspectiveQ(s, d, maybe(c, q.q), interpolation(c));
     }},
    {"ozlGetPerspectiveQuad", [](Case& c) {
         Matrix<3, 3> m(c);
         double q[4][2];
         ozlGetPerspectiveQuad(c.pick(), maybe(c, m.m), maybe(c, q));
     }},
    {"ozlGetPerspectiveBound", [](Case& c) {
         Matrix<3, 3> m(c);
         double r[2][2];
         ozlGetPerspectiveBound(c.pick(), maybe(c, m.m), maybe(c, r));
     }},
    {"ozlGetPerspectiveTransform", [](Case& c) {
         Quad q(c);
         double m[3][3];
         ozlGetPerspectiveTransform(c.pick(), maybe(c, m), maybe(c, q.q));
     }},
    {"ozlRemap", [](Case& c) {
         const auto [s, d, x, y] = c.picks<4>();
         ozlRemap(s, d, x, y, interpolation(c));
     }},
});

}  // namespace
