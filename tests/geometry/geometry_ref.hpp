// Per-pixel references of the geometric transforms: sampling a source position
// with each interpolation, and a whole-destination check.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace ozl::test::geom {

// A test that must report nothing to the error handler.
class GeomTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_TRUE(errors.empty()) << errors.last(); }
    ErrorCapture errors;
};

const unsigned kDepths[] = {OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};

// One image layout per row: channels, data order, alpha, channel of interest.
struct Layout {
    int nCh, order;
    bool alpha;
    int coi;
};
const Layout kLayouts[] = {{3, OZL_DATA_ORDER_PIXEL, false, 0}, {1, OZL_DATA_ORDER_PIXEL, false, 0},
                           {4, OZL_DATA_ORDER_PIXEL, true, 0},  {3, OZL_DATA_ORDER_PLANE, false, 0},
                           {4, OZL_DATA_ORDER_PIXEL, false, 0}, {3, OZL_DATA_ORDER_PIXEL, false, 2}};

// Random values; 32S within +-1e9 so that sums of neighbours stay exact in doubles.
inline void fillFor(TestImage& im, uint32_t seed) {
    const bool wide = im->depth == OZL_DEPTH_32S;
    im.fillRandom(seed, wide ? -1e9 : 0, wide ? 1e9 : 0);
}

struct Region {
    int x = 0, y = 0, width = 0, height = 0;
};

inline Region regionOf(const OzlImage* im) {
    if (!im->roi) return {0, 0, im->width, im->height};
    const OzlROI& r = *im->roi;
    return {r.xOffset, r.yOffset, std::max(0, std::min(r.width, im->width - r.xOffset)),
            std::max(0, std::min(r.height, im->height - r.yOffset))};
}

// The image channels of the processed ones: the channel of interest, or all
// but the alpha channel.
inline std::vector<int> channelsOf(const OzlImage* im) {
    if (im->roi && im->roi->coi > 0) return {im->roi->coi - 1};
    std::vector<int> c(im->nChannels - (im->alphaChannel ? 1 : 0));
    for (size_t i = 0; i < c.size(); ++i) c[i] = static_cast<int>(i);
    return c;
}

// A double stored in the depth: rounded half up and saturated, or a float.
inline double stored(unsigned depth, double v) {
    if (depth == OZL_DEPTH_32F) return static_cast<float>(v);
    return std::clamp(std::floor(v + 0.5), depthRange(depth).first, depthRange(depth).second);
}

// Border index of mode 1 (edge), 2 (mirror with the edge repeated) or 3 (wrap).
inline long long borderOf(long long v, long long n, int mode) {
    if (v >= 0 && v < n) return v;
    if (mode == 1) return v < 0 ? 0 : n - 1;
    if (mode == 3) return ((v % n) + n) % n;
    long long m = ((v % (2 * n)) + 2 * n) % (2 * n);  // period 2n: 0..n-1, then n-1..0
    return m < n ? m : 2 * n - 1 - m;
}

// The source region as the reference reads it.
struct Source {
    const OzlImage* im = nullptr;
    Region r;
    std::vector<int> channels;
    bool fill = false;

    // Processed channel k of region pixel (x, y), anywhere.
    double pixel(long long x, long long y, int k) const {
        const long long w = r.width, h = r.height;
        if ((x < 0 || y < 0 || x >= w || y >= h) && !fill) x = std::clamp(x, 0LL, w - 1), y = std::clamp(y, 0LL, h - 1);
        if (x < 0 || y < 0 || x >= w || y >= h) {
            const int side = y < 0 ? 0 : y >= h ? 1 : x < 0 ? 2 : 3, mode = im->borderMode[side] & 3;
            if (mode == 0)
                return im->depth == OZL_DEPTH_32F ? static_cast<float>(im->borderConst[0]) : im->borderConst[side];
            x = borderOf(x, w, mode), y = borderOf(y, h, mode);
        }
        return valueOf(im, r.x + static_cast<int>(x), r.y + static_cast<int>(y), channels[k]);
    }
};

inline Source sourceOf(const OzlImage* im, bool fill = false) {
    return {im, regionOf(im), channelsOf(im), fill};
}

inline void cubicWeights(double f, double w[4]) {
    for (int i = 0; i < 4; ++i) {
        const double t = std::fabs(f + 1 - i);
        w[i] = t <= 1 ? 1.5 * t * t * t - 2.5 * t * t + 1 : t < 2 ? -0.5 * t * t * t + 2.5 * t * t - 4 * t + 2 : 0.0;
    }
}

// The 8U bilinear value of four pixels with weights in 1/2048.
inline double linear8u(double p00, double p10, double p01, double p11, long long wx, long long wy) {
    const long long h0 = ((long long)p00 * (2048 - wx) + (long long)p10 * wx + 8) >> 4,
                    h1 = ((long long)p01 * (2048 - wx) + (long long)p11 * wx + 8) >> 4;
    return static_cast<double>((h0 * (2048 - wy) + h1 * wy + 131072) >> 18);
}

// The cubic value of processed channel k with (x0, y0) the pixel at or left of
// and above the position and (fx, fy) the position's fraction past it.
// 8U: weights in 1/2048 (the third one making the sum), rows in 1/64 of a level.
inline double cubicAt(const Source& s, long long x0, long long y0, double fx, double fy, int k) {
    double wx[4], wy[4], sum = 0;
    cubicWeights(fx, wx), cubicWeights(fy, wy);
    if (s.im->depth == OZL_DEPTH_8U) {
        long long qx[4], qy[4], total = 0;
        for (int i : {0, 1, 3}) qx[i] = std::llround(std::floor(wx[i] * 2048 + 0.5)), qy[i] = std::llround(std::floor(wy[i] * 2048 + 0.5));
        qx[2] = 2048 - qx[0] - qx[1] - qx[3], qy[2] = 2048 - qy[0] - qy[1] - qy[3];
        for (int j = 0; j < 4; ++j) {
            long long h = 16;
            for (int i = 0; i < 4; ++i) h += qx[i] * static_cast<long long>(s.pixel(x0 - 1 + i, y0 - 1 + j, k));
            total += qy[j] * (h >> 5);
        }
        return static_cast<double>(std::clamp((total + 65536) >> 17, 0LL, 255LL));
    }
    for (int j = 0; j < 4; ++j) {
        double h = 0;
        for (int i = 0; i < 4; ++i) h += wx[i] * s.pixel(x0 - 1 + i, y0 - 1 + j, k);
        sum += wy[j] * h;
    }
    return stored(s.im->depth, sum);
}

// The value of processed channel k at source position (sx, sy); false when
// the destination pixel keeps its value.
inline bool sampleAt(const Source& s, int inter, double sx, double sy, int k, double* v) {
    const bool inside = sx >= -0.5 && sx < s.r.width - 0.5 && sy >= -0.5 && sy < s.r.height - 0.5;
    if (!inside && (!s.fill || std::isnan(sx) || std::isnan(sy))) return false;
    sx = std::clamp(sx, -1e15, 1e15), sy = std::clamp(sy, -1e15, 1e15);
    const unsigned depth = s.im->depth;
    if (inter == OZL_INTER_NN) {
        const long long x = static_cast<long long>(std::floor(sx + 0.5)), y = static_cast<long long>(std::floor(sy + 0.5));
        *v = inside ? s.pixel(std::min<long long>(x, s.r.width - 1), std::min<long long>(y, s.r.height - 1), k) : s.pixel(x, y, k);
        return true;
    }
    const long long x0 = static_cast<long long>(std::floor(sx)), y0 = static_cast<long long>(std::floor(sy));
    const double fx = sx - std::floor(sx), fy = sy - std::floor(sy);
    if (inter == OZL_INTER_LINEAR) {
        const double p00 = s.pixel(x0, y0, k), p10 = s.pixel(x0 + 1, y0, k);
        const double p01 = s.pixel(x0, y0 + 1, k), p11 = s.pixel(x0 + 1, y0 + 1, k);
        const double h0 = (1 - fx) * p00 + fx * p10, h1 = (1 - fx) * p01 + fx * p11;
        *v = depth == OZL_DEPTH_8U ? linear8u(p00, p10, p01, p11, std::llround(std::floor(fx * 2048 + 0.5)),
                                              std::llround(std::floor(fy * 2048 + 0.5)))
                                   : stored(depth, (1 - fy) * h0 + fy * h1);
        return true;
    }
    *v = cubicAt(s, x0, y0, fx, fy, k);
    return true;
}

// Expected value of processed channel k of destination region pixel (x, y);
// false: the pixel keeps its value.
using Expected = std::function<bool(int x, int y, int k, double* v)>;

// Every value of dst against `expected` in its region and `before` elsewhere
// (other channels, the alpha channel, outside the region); integer values may
// differ by `tolerance`, floats by that much relative to their size.
inline void expectImage(const TestImage& before, const OzlImage* dst, const Expected& expected,
                        double tolerance = 0) {
    const Region rd = regionOf(dst);
    const std::vector<int> channels = channelsOf(dst);
    int failures = 0;
    for (int y = 0; y < dst->height; ++y)
        for (int x = 0; x < dst->width; ++x)
            for (int c = 0; c < dst->nChannels; ++c) {
                const auto k = std::find(channels.begin(), channels.end(), c) - channels.begin();
                const int rx = x - rd.x, ry = y - rd.y;
                double want = before.at(x, y, c), v;
                if (rx >= 0 && ry >= 0 && rx < rd.width && ry < rd.height && k < static_cast<long>(channels.size()) &&
                    expected(rx, ry, static_cast<int>(k), &v))
                    want = v;
                const double got = valueOf(dst, x, y, c);
                const double allowed = dst->depth == OZL_DEPTH_32F ? tolerance * std::max(1.0, std::fabs(want)) : tolerance;
                if (!(got == want || std::fabs(got - want) <= allowed || (got != got && want != want)) && ++failures <= 5)
                    ADD_FAILURE() << "at (" << x << ", " << y << ") channel " << c << ": " << got << ", expected " << want;
            }
    EXPECT_EQ(failures, 0);
}

// Every value of got equals the one of want (images of one geometry).
inline void expectSameValues(const TestImage& got, const TestImage& want) {
    expectImage(got.clone(), got, [&](int x, int y, int c, double* v) { return *v = want.at(x, y, c), true; });
}

}  // namespace ozl::test::geom
