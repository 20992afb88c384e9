// Double-precision references for the transform tests: the 2-D Fourier
// transform of real values in the packed and CCS layouts, the cosine transform
// summed term by term, and moves between images and value arrays.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace ozl::test {

// A test that must report nothing to the error handler.
class TransformTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_TRUE(errors.empty()) << errors.last(); }
    ErrorCapture errors;
};

using Cd = std::complex<double>;
constexpr double kPi = 3.14159265358979323846;

// Values of a w x h region, row by row.
struct Grid {
    int w = 0, h = 0;
    std::vector<double> v;
    Grid(int width, int height) : w(width), h(height), v(static_cast<size_t>(width) * height) {}
    double& at(int x, int y) { return v[static_cast<size_t>(y) * w + x]; }
    double at(int x, int y) const { return v[static_cast<size_t>(y) * w + x]; }
};

inline Grid randomGrid(int w, int h, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-1, 1);
    Grid g(w, h);
    for (double& x : g.v) x = static_cast<float>(d(rng));
    return g;
}

// X(u, v) = sum f(x, y) e^(-2 pi i (ux/w + vy/h)), row-major u fastest; rows,
// then columns, with the unit roots tabulated.
inline std::vector<Cd> dft2(const Grid& g) {
    const int w = g.w, h = g.h;
    auto roots = [](int n) {
        std::vector<Cd> r(static_cast<size_t>(n));
        for (int k = 0; k < n; ++k) r[k] = std::polar(1.0, -2 * kPi * k / n);
        return r;
    };
    const std::vector<Cd> rw = roots(w), rh = roots(h);
    std::vector<Cd> rows(g.v.size()), out(g.v.size());
    for (int y = 0; y < h; ++y)
        for (int u = 0; u < w; ++u)
            for (int x = 0; x < w; ++x) rows[y * w + u] += g.v[y * w + x] * rw[(u * x) % w];
    for (int v = 0; v < h; ++v)
        for (int y = 0; y < h; ++y)
            for (int u = 0; u < w; ++u) out[v * w + u] += rows[y * w + u] * rh[(v * y) % h];
    return out;
}

// The packed layout of a full spectrum (see ozl.h), and the CCS one.
inline Grid packedOf(const std::vector<Cd>& X, int w, int h) {
    Grid g(w, h);
    auto x = [&](int u, int v) { return X[static_cast<size_t>(v) * w + u]; };
    for (int v = 0; v < h; ++v)
        for (int u = 1; 2 * u - 1 < w - (w % 2 == 0 ? 1 : 0); ++u)
            g.at(2 * u - 1, v) = x(u, v).real(), g.at(2 * u, v) = x(u, v).imag();
    for (int u : {0, w / 2}) {
        if (u > 0 && w % 2 != 0) continue;
        const int col = u == 0 ? 0 : w - 1;
        g.at(col, 0) = x(u, 0).real();
        for (int v = 1; 2 * v < h; ++v) g.at(col, 2 * v - 1) = x(u, v).real(), g.at(col, 2 * v) = x(u, v).imag();
        if (h % 2 == 0 && h > 1) g.at(col, h - 1) = x(u, h / 2).real();
    }
    return g;
}

inline Grid ccsOf(const std::vector<Cd>& X, int w, int h) {
    Grid g(2 * (w / 2 + 1), h);
    for (int v = 0; v < h; ++v)
        for (int u = 0; u <= w / 2; ++u)
            g.at(2 * u, v) = X[size_t(v) * w + u].real(), g.at(2 * u + 1, v) = X[size_t(v) * w + u].imag();
    return g;
}

// The orthonormal 2-D cosine transform, every coefficient summed directly.
inline Grid dct2(const Grid& f) {
    auto basis = [](int n) {
        Grid b(n, n);  // b(x, u) = a(u) cos(pi (2x + 1) u / 2n)
        for (int u = 0; u < n; ++u)
            for (int x = 0; x < n; ++x)
                b.at(x, u) = std::sqrt((u == 0 ? 1.0 : 2.0) / n) * std::cos(kPi * (2 * x + 1) * u / (2.0 * n));
        return b;
    };
    const Grid bw = basis(f.w), bh = basis(f.h);
    Grid c(f.w, f.h);
    for (int v = 0; v < f.h; ++v)
        for (int u = 0; u < f.w; ++u)
            for (int y = 0; y < f.h; ++y)
                for (int x = 0; x < f.w; ++x) c.at(u, v) += f.at(x, y) * bw.at(x, u) * bh.at(y, v);
    return c;
}

// Region values of one channel (x0, y0: the region's origin in the image).
inline Grid gridOf(const TestImage& im, int w, int h, int channel = 0, int x0 = 0, int y0 = 0) {
    Grid g(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) g.at(x, y) = im.at(x0 + x, y0 + y, channel);
    return g;
}

inline void putGrid(TestImage& im, const Grid& g, int channel = 0) {
    for (int y = 0; y < g.h; ++y)
        for (int x = 0; x < g.w; ++x) im.put(x, y, channel, g.at(x, y));
}

// Largest value; root of the sum of squares (the size a spectrum's errors grow
// with); largest difference, also relative to the reference's largest value.
inline double maxAbs(const Grid& g) {
    double m = 0;
    for (double x : g.v) m = std::max(m, std::fabs(x));
    return m;
}
inline double norm2(const Grid& g) {
    double s = 0;
    for (double x : g.v) s += x * x;
    return std::sqrt(s);
}
inline double maxDifference(const Grid& got, const Grid& want) {
    double m = 0;
    for (size_t i = 0; i < got.v.size(); ++i) m = std::max(m, std::fabs(got.v[i] - want.v[i]));
    return m;
}
inline double relativeError(const Grid& got, const Grid& want) {
    return maxDifference(got, want) / (maxAbs(want) > 0 ? maxAbs(want) : 1);
}

}  // namespace ozl::test
