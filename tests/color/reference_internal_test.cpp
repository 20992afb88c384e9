// The scalar colour kernels against independent statements of what they must
// compute: the HSV recipes, hue across depths, LUV in double precision, round
// trips, the twist's two paths at the range bound, and streaming rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "color/kernels.hpp"
#include "color/twist_plan.hpp"

namespace {

using ozl::color::ColorTable;
using ozl::color::Depth;
using ozl::color::Model;
using ozl::color::PixelFn;
using ozl::color::RowView;
using ozl::color::Way;
using ozl::cpu::Level;

// A prime stride through the cube; the vector tests sweep the dividing kernels whole.
constexpr uint32_t kColourStep = 61;

PixelFn kernel(const ColorTable& t, Model m, Way w, Depth d) {
    return t.convert[static_cast<int>(m)][static_cast<int>(w)][static_cast<int>(d)];
}

template <class T>
RowView rowOf(std::vector<T>& v) {
    RowView r;
    r.data = reinterpret_cast<char*>(v.data());
    r.pixelStep = 3 * sizeof(T);
    r.channelStep = sizeof(T);
    r.channels = 3;
    return r;
}

// f over n pixels of v (RGB order), into a new vector.
template <class T>
std::vector<T> apply(PixelFn f, std::vector<T>& v, int red = 0) {
    std::vector<T> out(v.size());
    const RowView src[ozl::core::kMaxSources] = {rowOf(v)};
    const ozl::color::ConvertArgs args{red};
    f(src, rowOf(out), v.size() / 3, &args);
    return out;
}

std::vector<uint8_t> someColours(uint32_t step = kColourStep) {
    std::vector<uint8_t> px;
    for (uint32_t c = 0; c < (1u << 24); c += step)
        px.insert(px.end(), {uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c)});
    return px;
}

// ---------------------------------------------------------------------------

TEST(ColorReference, RgbToHsvIsTheDoubleRecipeOnEveryColour) {
    std::vector<uint8_t> in = someColours();
    const auto out =
        apply(kernel(ozl::color::referenceTable(), Model::Hsv, Way::FromRgb, Depth::U8), in);
    {
        for (size_t i = 0; i < in.size(); i += 3) {
            const int r = in[i], g = in[i + 1], b = in[i + 2];
            const int v = std::max({r, g, b}), d = v - std::min({r, g, b});
            const int s = v == 0 ? 0 : 255 * d / v;
            int h = 0;
            if (s != 0) {
                double a = r == v   ? (g - b) * 60 / double(d)
                           : g == v ? (b - r) * 60 / double(d) + 120
                                    : (r - g) * 60 / double(d) + 240;
                if (a < 0) a += 360;
                h = static_cast<int>(a) >> 1;
            }
            ASSERT_EQ((std::vector<int>{out[i], out[i + 1], out[i + 2]}),
                      (std::vector<int>{h, s, v}))
                << r << "," << g << "," << b;
        }
    }
}

TEST(ColorReference, HsvToRgbIsTheSectorRecipeOnEveryTriple) {
    std::vector<uint8_t> in = someColours();
    const auto out =
        apply(kernel(ozl::color::referenceTable(), Model::Hsv, Way::ToRgb, Depth::U8), in);
    {
        for (size_t i = 0; i < in.size(); i += 3) {
            const int hue = in[i], s = in[i + 1], v = in[i + 2];
            int rgb[3] = {v, v, v};
            if (s != 0) {
                int h = 2 * hue, k = 0;
                if (h == 360) h = 0;
                while (h >= 60) h -= 60, ++k;
                const int m = (s * v) >> 8, p = v - m, q = v - ((m * 34 * h) >> 11),
                          t = v - ((m * 34 * (60 - h)) >> 11);
                const int table[6][3] = {{v, t, p}, {q, v, p}, {p, v, t},
                                         {p, q, v}, {t, p, v}, {v, p, q}};
                std::copy(table[std::min(k, 5)], table[std::min(k, 5)] + 3, rgb);
            }
            ASSERT_EQ((std::vector<int>{out[i], out[i + 1], out[i + 2]}),
                      (std::vector<int>{rgb[0], rgb[1], rgb[2]}))
                << hue << "," << s << "," << v;
        }
    }
}

// A hue depends on ratios of channel differences only: the same colour at 16U
// (x 257) and at 32S (x 2^23) has the 8U hue, for HSV and HLS alike.
TEST(ColorReference, HueAgreesAcrossDepths) {
    std::vector<uint8_t> in8 = someColours(97);
    std::vector<uint16_t> in16(in8.begin(), in8.end());
    std::vector<int32_t> in32(in8.begin(), in8.end());
    for (auto& v : in16) v = static_cast<uint16_t>(v * 257);
    for (auto& v : in32) v <<= 23;
    const ColorTable& t = ozl::color::referenceTable();
    for (Model m : {Model::Hsv, Model::Hls}) {
        const auto h8 = apply(kernel(t, m, Way::FromRgb, Depth::U8), in8);
        const auto h16 = apply(kernel(t, m, Way::FromRgb, Depth::U16), in16);
        const auto h32 = apply(kernel(t, m, Way::FromRgb, Depth::S32), in32);
        for (size_t i = 0; i < in8.size(); i += 3) {
            ASSERT_EQ(h16[i], h8[i]) << "model " << int(m) << " at " << i;
            ASSERT_EQ(h32[i], h8[i]) << "model " << int(m) << " at " << i;
        }
    }
}

// RGB -> model -> RGB, 8U, on a sample: within the formats' own bounds (hue in
// 2-degree steps, Z above 255 for bright blues, V clamped at red and green).
TEST(ColorReference, RoundTripsStayWithinTheirBounds) {
    const struct {
        Model m;
        int bound;
    } trips[] = {{Model::Hsv, 11}, {Model::Hls, 11}, {Model::Xyz, 24}, {Model::Yuv, 34},
                 {Model::YCrCb, 2}};
    const ColorTable& t = ozl::color::activeTable();
    std::vector<uint8_t> in = someColours(4093);
    for (const auto& trip : trips) {
        std::vector<uint8_t> model = apply(kernel(t, trip.m, Way::FromRgb, Depth::U8), in);
        const auto back = apply(kernel(t, trip.m, Way::ToRgb, Depth::U8), model);
        int worst = 0;
        for (size_t i = 0; i < in.size(); ++i) worst = std::max(worst, std::abs(in[i] - back[i]));
        EXPECT_LE(worst, trip.bound) << "model " << int(trip.m);
    }
}

// ---------------------------------------------------------------------------
// LUV against the CIE definition in double precision.

void luvDouble(double r, double g, double b, double out[3]) {
    const double x = 0.412453 * r + 0.357580 * g + 0.180423 * b;
    const double y = 0.212671 * r + 0.715160 * g + 0.072169 * b;
    const double z = 0.019334 * r + 0.119193 * g + 0.950227 * b;
    const double l = y > 216.0 / 24389.0 ? 116 * std::cbrt(y) - 16 : 24389.0 / 27.0 * y;
    const double den = x + 15 * y + 3 * z;
    out[0] = l;
    out[1] = den == 0 ? 0 : 13 * l * (4 * x / den - 0.19783);
    out[2] = den == 0 ? 0 : 13 * l * (9 * y / den - 0.46832);
}

TEST(ColorReference, LuvFollowsTheCieDefinitionAndComesBack) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    std::vector<float> rgb(3 * 20000);
    for (auto& v : rgb) v = unit(rng);
    // Black, greys, the primaries, and values on both sides of the dark segment.
    const float special[][3] = {{0, 0, 0}, {1, 1, 1}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1},
                                {0.0088f, 0.0088f, 0.0088f}, {0.0089f, 0.0089f, 0.0089f},
                                {1e-6f, 0, 0}};
    for (size_t i = 0; i < std::size(special); ++i)
        std::copy(special[i], special[i] + 3, &rgb[3 * i]);
    const ColorTable& t = ozl::color::referenceTable();
    std::vector<float> luv = apply(kernel(t, Model::Luv, Way::FromRgb, Depth::F32), rgb);
    const auto back = apply(kernel(t, Model::Luv, Way::ToRgb, Depth::F32), luv);
    double worst[3] = {}, worstBack = 0;
    for (size_t i = 0; i < rgb.size(); i += 3) {
        double expected[3];
        luvDouble(rgb[i], rgb[i + 1], rgb[i + 2], expected);
        for (int c = 0; c < 3; ++c)
            worst[c] = std::max(worst[c], std::fabs(luv[i + c] - expected[c]));
        for (int c = 0; c < 3; ++c)
            worstBack = std::max(worstBack, double(std::fabs(back[i + c] - rgb[i + c])));
    }
    EXPECT_LT(worst[0], 2e-4);
    EXPECT_LT(worst[1], 1e-3);
    EXPECT_LT(worst[2], 1e-3);
    EXPECT_LT(worstBack, 2e-5);
    EXPECT_EQ(luv[0], 0.0f);  // black: no division by zero
    EXPECT_EQ(luv[1], 0.0f);
    EXPECT_EQ(back[0], 0.0f);
}

// ---------------------------------------------------------------------------
// The colour twist: both paths give floor((sum + constant) / 2^s + 1/2) +
// offset, saturated; on each side of the fixed path's bound the plan takes the
// path the bound says, and where both apply they agree on every corner and on
// a grid of inputs.

int64_t twistExact(const int32_t* row, int s, int offset, const int32_t x[3]) {
    const int64_t sum =
        int64_t{row[0]} * x[0] + int64_t{row[1]} * x[1] + int64_t{row[2]} * x[2] + row[3];
    const int64_t half = s ? int64_t{1} << (s - 1) : 0;
    const int64_t q =
        (sum + half) >= 0 ? (sum + half) >> s : -((-(sum + half) + (int64_t{1} << s) - 1) >> s);
    return q + offset;
}

template <class T>
void expectBothPaths(const OzlColorTwist& twist, int offset, bool fixedExpected) {
    constexpr bool is16 = sizeof(T) == 2;
    const ozl::color::TwistPlan plan = ozl::color::planTwist(twist, offset, is16, 3, 3);
    ASSERT_EQ(plan.fixed, fixedExpected) << "scale " << twist.scalingValue;
    constexpr int32_t top = is16 ? 65535 : 255;
    std::vector<T> px;
    const int32_t grid[] = {0, 1, top / 7, top / 2, top - 1, top};
    for (int32_t a : grid)
        for (int32_t b : grid)
            for (int32_t c : grid) px.insert(px.end(), {T(a), T(b), T(c)});
    const ColorTable& t = ozl::color::referenceTable();
    std::vector<T> general(px.size()), fixed(px.size());
    const RowView src[ozl::core::kMaxSources] = {rowOf(px)};
    t.twistGeneral[is16](src, rowOf(general), px.size() / 3, &plan.args);
    if (plan.fixed) t.twistFixed[is16](src, rowOf(fixed), px.size() / 3, &plan.args);
    for (size_t i = 0; i < px.size(); i += 3) {
        const int32_t x[3] = {px[i], px[i + 1], px[i + 2]};
        for (int c = 0; c < 3; ++c) {
            const int64_t e = std::clamp<int64_t>(
                twistExact(twist.data + 4 * c, twist.scalingValue, offset, x), 0, top);
            ASSERT_EQ(general[i + c], e) << "general path, channel " << c;
            if (plan.fixed) ASSERT_EQ(fixed[i + c], e) << "fixed path, channel " << c;
        }
    }
}

TEST(ColorReference, TwistPathsMeetAtTheBound) {
    for (int s : {0, 1, 2, 7, 15}) {
        // Positive weights summing to the bound: 255 w + c at most 32767 - 2^(s-1) (32766 for s <
        // 2).
        const int bound = s <= 1 ? 32766 : 32767 - (1 << (s - 1));
        const int w = bound / 255 / 3, c = bound - 3 * 255 * w;
        OzlColorTwist twist{{w, w, w, c, -w, 2 * w, 0, -c, 1, 0, w, 0}, s};
        expectBothPaths<uint8_t>(twist, 3, true);
        twist.data[3] = c + 1;  // one past the bound
        expectBothPaths<uint8_t>(twist, 3, false);
        twist.data[3] = c;
        expectBothPaths<uint8_t>(twist, 128, false);  // the offset beyond a signed byte
    }
    // 16U: the signed 16-bit form holds constant rows only (x - 32768 spans 16
    // bits by itself).
    expectBothPaths<uint16_t>(OzlColorTwist{{2, 0, 0, 0, 0, 2, 0, 5, 0, 0, 2, -7}, 1}, -30000,
                              false);
    expectBothPaths<uint16_t>(OzlColorTwist{{0, 0, 0, 100, 0, 0, 0, 5, 0, 0, 0, 30000}, 0}, 1000,
                              true);
    // Scales beyond 15 and 32-bit elements: the general path.
    expectBothPaths<uint8_t>(
        OzlColorTwist{{1 << 20, 0, 0, 0, 0, 1 << 20, 0, 0, 0, 0, 1 << 20, 0}, 20}, 0, false);
    expectBothPaths<uint8_t>(OzlColorTwist{{-5, 40000, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, 0}, 0, false);
}

// Rows long enough to stream their stores (starting off alignment), at every
// vector table: three channels in and three or one out, just past the limit.
TEST(ColorReference, LongRowsMatchTheScalarFormWhenStreaming) {
    const ozl::color::ConvertArgs args{0};
    ozl::color::GrayArgs gray;
    gray.weight[0] = 54, gray.weight[1] = 183, gray.weight[2] = 18;
    const ColorTable& ref = ozl::color::referenceTable();
    for (const int step : {3, 1}) {
        const size_t n = (size_t{32} << 20) / (3 + step) + 77;
        std::vector<uint8_t> in(3 * n + 1), expected(step * n + 1), got(step * n + 1);
        for (size_t i = 0; i < in.size(); ++i) in[i] = static_cast<uint8_t>((i * 2654435761u) >> 13);
        auto rowAt = [](std::vector<uint8_t>& v, int pixelStep) {
            RowView r;
            r.data = reinterpret_cast<char*>(v.data()) + 1, r.pixelStep = pixelStep;
            r.channelStep = 1, r.channels = pixelStep;
            return r;
        };
        const RowView src[ozl::core::kMaxSources] = {rowAt(in, 3)};
        auto pick = [&](const ColorTable& t) {
            return step == 1 ? t.toGray[0][0] : kernel(t, Model::Yuv, Way::FromRgb, Depth::U8);
        };
        const void* context = step == 1 ? static_cast<const void*>(&gray) : &args;
        pick(ref)(src, rowAt(expected, step), n, context);
        for (const auto& t : ozl::color::vectorTables()) {
            std::fill(got.begin(), got.end(), uint8_t{0});
            pick(*t.table)(src, rowAt(got, step), n, context);
            ASSERT_TRUE(got == expected) << t.name << " step " << step;
        }
    }
}

}  // namespace
