// Geometry kernels of every vector level against the scalar table, bit for
// bit; inputs in exactly-sized buffers (the sanitizer sees overreads), guarded outputs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "geometry/kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::cpu::Level;
using ozl::geometry::CubicTaps8u;
using ozl::geometry::Edges;
using ozl::geometry::kernelTable;
using ozl::geometry::KernelTable;
using ozl::geometry::LinearTaps8u;

constexpr size_t kGuard = 48;

class GeometryKernels : public testing::TestWithParam<Level> {
protected:
    const KernelTable& vec() const { return kernelTable(GetParam()); }
    const KernelTable& ref() const { return kernelTable(Level::Ref); }
    std::mt19937 rng{12345};
    std::vector<uint8_t> bytes(size_t n) {
        std::vector<uint8_t> v(n);
        for (auto& b : v) b = static_cast<uint8_t>(rng() % 4 == 0 ? (rng() % 2) * 255 : rng());
        return v;
    }
};

// Output pixels of a row of `width` source pixels resampled to n, with
// offsets and weights as a plan would make them (pairs moved inside).
TEST_P(GeometryKernels, HorizontalLinearPass) {
    for (int cn = 1; cn <= 4; ++cn)
        for (int width : {1, 2, 3, 5, 8, 13, 40, 97})
            for (int n : {0, 1, 3, 4, 5, 7, 8, 9, 31, 64, 130}) {
                const std::vector<uint8_t> row = bytes(static_cast<size_t>(width) * cn);
                std::vector<int32_t> ofs(n), coef(n);
                LinearTaps8u t;
                t.cn = cn, t.pairStep = width > 1 ? cn : 0, t.ofs = ofs.data(), t.coef = coef.data();
                for (int i = 0; i < n; ++i) {
                    const int x0 = width > 1 ? static_cast<int>(rng() % (width - 1)) : 0;
                    const int w = width > 1 ? static_cast<int>(rng() % 2049) : 0;
                    ofs[i] = x0 * cn, coef[i] = (2048 - w) | (w << 16);
                    if (ofs[i] + 8 <= width * cn && t.vecCount == i) t.vecCount = i + 1;
                }
                std::vector<int16_t> a(n * cn + kGuard, 77), b(n * cn + kGuard, 77);
                vec().hLinear8u(row.data(), a.data(), t, n);
                ref().hLinear8u(row.data(), b.data(), t, n);
                a.resize(n * cn), b.resize(n * cn);  // values past the row are the kernels' margin
                ASSERT_EQ(a, b) << "cn " << cn << " width " << width << " n " << n;
            }
}

TEST_P(GeometryKernels, VerticalLinearPass) {
    for (size_t n : ozl::test::runWidths())
        for (size_t off : {0, 1, 3}) {
            std::vector<int16_t> h0(n + off), h1(n + off);
            for (size_t i = 0; i < n + off; ++i)
                h0[i] = static_cast<int16_t>(rng() % 4 == 0 ? 32640 : rng() % 32641), h1[i] = static_cast<int16_t>(rng() % 32641);
            const int w = static_cast<int>(rng() % 2049);
            std::vector<uint8_t> a(n + off + kGuard, 5), b(n + off + kGuard, 5);
            vec().vLinear8u(h0.data() + off, h1.data() + off, a.data() + off, w, n);
            ref().vLinear8u(h0.data() + off, h1.data() + off, b.data() + off, w, n);
            ASSERT_EQ(a, b) << "n " << n << " offset " << off << " w " << w;
        }
}

// Cubic weights as a plan makes them, packed in pairs.
void cubicPairs(double f, int32_t coef[2]) {
    double w[4];
    ozl::geometry::cubicWeights(f, w);
    int q[4];
    for (int i : {0, 1, 3}) q[i] = static_cast<int>(std::floor(w[i] * 2048 + 0.5));
    q[2] = 2048 - q[0] - q[1] - q[3];
    coef[0] = ozl::geometry::weightPair(q[0], q[1]), coef[1] = ozl::geometry::weightPair(q[2], q[3]);
}

// Neighbours clamped at both ends of the row, the vector run between.
TEST_P(GeometryKernels, HorizontalCubicPass) {
    for (int cn = 1; cn <= 4; ++cn)
        for (int width : {1, 3, 5, 8, 13, 40})
            for (int n : {0, 1, 3, 4, 5, 9, 31, 66}) {
                const std::vector<uint8_t> row = bytes(static_cast<size_t>(width) * cn);
                std::vector<int32_t> ofs(4 * n), coef(2 * n);
                CubicTaps8u t;
                t.cn = cn, t.pixelStep = cn, t.ofs = ofs.data(), t.coef = coef.data();
                for (int i = 0; i < n; ++i) {
                    const int x0 = static_cast<int>(rng() % (width + 2)) - 1;
                    for (int k = 0; k < 4; ++k) ofs[4 * i + k] = std::clamp(x0 - 1 + k, 0, width - 1) * cn;
                    cubicPairs(std::uniform_real_distribution<double>(0, 1)(rng), &coef[2 * i]);
                }
                // Outputs of the vector run read four pixels from their first one.
                for (int i = 0; i < n; ++i) ofs[4 * i + 1] = ofs[4 * i] + cn, ofs[4 * i + 2] = ofs[4 * i] + 2 * cn, ofs[4 * i + 3] = ofs[4 * i] + 3 * cn;
                t.vecFrom = n / 4, t.vecTo = t.vecFrom;
                while (t.vecTo < n && ofs[4 * t.vecTo] + 16 <= width * cn) ++t.vecTo;
                for (int i = 0; i < n; ++i)
                    if (i < t.vecFrom || i >= t.vecTo)
                        for (int k = 0; k < 4; ++k) ofs[4 * i + k] = std::clamp(static_cast<int>(rng() % (width + 2)) - 1, 0, width - 1) * cn;
                std::vector<int16_t> a(n * cn + kGuard, 77), b(n * cn + kGuard, 77);
                vec().hCubic8u(row.data(), a.data(), t, n);
                ref().hCubic8u(row.data(), b.data(), t, n);
                a.resize(n * cn), b.resize(n * cn);
                ASSERT_EQ(a, b) << "cn " << cn << " width " << width << " n " << n;
            }
}

// Row sums at both ends of their range (-2040 .. 18360) and results that
// saturate both ways.
TEST_P(GeometryKernels, VerticalCubicPass) {
    for (size_t n : ozl::test::runWidths())
        for (size_t off : {0, 1}) {
            std::vector<int16_t> rows[4];
            for (auto& r : rows) {
                r.resize(n + off);
                for (auto& v : r) v = static_cast<int16_t>(rng() % 3 == 0 ? (rng() % 2 ? 18360 : -2040) : rng() % 20401 - 2040);
            }
            const int16_t* h[4] = {rows[0].data() + off, rows[1].data() + off, rows[2].data() + off, rows[3].data() + off};
            int32_t coef[2];
            cubicPairs(std::uniform_real_distribution<double>(0, 1)(rng), coef);
            std::vector<uint8_t> a(n + off + kGuard, 5), b(n + off + kGuard, 5);
            vec().vCubic8u(h, a.data() + off, coef, n);
            ref().vCubic8u(h, b.data() + off, coef, n);
            ASSERT_EQ(a, b) << "n " << n << " offset " << off;
        }
}

TEST_P(GeometryKernels, BlockMeans) {
    for (int cn = 1; cn <= 4; ++cn)
        for (size_t n = 0; n <= 90; n += (n < 40 ? 1 : 17))
            for (size_t off : {0, 1}) {
                const std::vector<uint8_t> r0 = bytes(2 * n * cn + off), r1 = bytes(2 * n * cn + off);
                std::vector<uint8_t> a(n * cn + kGuard, 9), b(n * cn + kGuard, 9);
                vec().box2x2(r0.data() + off, r1.data() + off, a.data(), n, cn);
                ref().box2x2(r0.data() + off, r1.data() + off, b.data(), n, cn);
                ASSERT_EQ(a, b) << "cn " << cn << " n " << n;
            }
}

TEST_P(GeometryKernels, LinearAndCubicSamplingAtPositions) {
    for (bool cubic : {false, true})
        for (int cn = 1; cn <= 4; ++cn)
            for (int w : {1, 2, 3, 4, 9, 30})
                for (int h : {1, 2, 5, 17})
                    for (bool fill : {false, true}) {
                        // Rows with a pitch of their own, the last one ending the buffer.
                        const int step = w * cn + 3;
                        const std::vector<uint8_t> data = bytes(static_cast<size_t>(step) * (h - 1) + w * cn);
                        ozl::core::SampledSource s;
                        s.data = reinterpret_cast<const char*>(data.data());
                        s.rowStep = step, s.pixelStep = cn, s.channelStep = 1, s.channels = cn, s.width = w, s.height = h;
                        Edges e;
                        e.fill = fill;
                        for (int side = 0; side < 4; ++side) e.mode[side] = static_cast<int>(rng() % 4), e.constant[side] = rng() % 256;
                        // Mostly inside, runs of eight inside, some at the edges, outside and not numbers.
                        const int n = 8 * 9 + 5;
                        std::vector<double> sx(n), sy(n);
                        for (int i = 0; i < n; ++i) {
                            const bool inside = (i / 8) % 3 != 2;
                            sx[i] = std::uniform_real_distribution<double>(inside ? 0 : -2, inside ? w - 1 : w + 1)(rng);
                            sy[i] = std::uniform_real_distribution<double>(inside ? 0 : -2, inside ? h - 1 : h + 1)(rng);
                            if (i % 29 == 28) sx[i] = NAN;
                            if (i % 31 == 30) sy[i] = std::floor(sy[i]) + 0.5;
                        }
                        std::vector<uint8_t> a = bytes(n * cn + kGuard), b = a;
                        (cubic ? vec().warpCubic8u : vec().warpLinear8u)(s, e, sx.data(), sy.data(), n, a.data());
                        (cubic ? ref().warpCubic8u : ref().warpLinear8u)(s, e, sx.data(), sy.data(), n, b.data());
                        ASSERT_EQ(a, b) << "cubic " << cubic << " cn " << cn << " w " << w << " h " << h << " fill " << fill;
                    }
}

TEST_P(GeometryKernels, PixelReversal) {
    for (size_t pixelBytes : {1, 2, 3, 4, 6, 8, 12, 16, 5})
        for (size_t n = 0; n <= 100; n += (n < 50 ? 1 : 7)) {
            const std::vector<uint8_t> src = bytes(n * pixelBytes + 1);
            std::vector<uint8_t> a(n * pixelBytes + 2 * kGuard, 3), b = a;
            const char* s = reinterpret_cast<const char*>(src.data()) + 1;
            vec().reverse(s, reinterpret_cast<char*>(a.data()) + kGuard, n, pixelBytes);
            ref().reverse(s, reinterpret_cast<char*>(b.data()) + kGuard, n, pixelBytes);
            ASSERT_EQ(a, b) << "pixel bytes " << pixelBytes << " n " << n;
        }
}

INSTANTIATE_TEST_SUITE_P(Levels, GeometryKernels, testing::ValuesIn(ozl::test::vectorLevels()),
                         ozl::test::levelName);

}  // namespace
