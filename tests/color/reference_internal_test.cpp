// The scalar colour kernels against independent statements of what they must
// compute: the HSV recipe, the twist's two paths at
// the range bound, and streaming rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "color/color_check.hpp"
#include "color/kernels.hpp"
#include "color/twist_plan.hpp"

namespace {

using namespace ozl::color;

template <class T>
RowView rowOf(std::vector<T>& v, int channels = 3, size_t skip = 0) {
    RowView r;
    r.data = reinterpret_cast<char*>(v.data() + skip);
    r.pixelStep = channels * sizeof(T), r.channelStep = sizeof(T), r.channels = channels;
    return r;
}

// f over the pixels of v (three channels, RGB order), into a new vector.
template <class T>
std::vector<T> apply(PixelFn f, std::vector<T>& v) {
    std::vector<T> out(v.size());
    const RowView src[ozl::core::kMaxSources] = {rowOf(v)};
    const ConvertArgs args{0};
    f(src, rowOf(out), v.size() / 3, &args);
    return out;
}

// RGB to HSV is the double-precision recipe, on a prime stride through the cube.
TEST(ColorReference, RgbToHsvIsTheDoubleRecipe) {
    std::vector<uint8_t> in;
    for (uint32_t c = 0; c < (1u << 24); c += 61) in.insert(in.end(), {uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c)});
    const auto toHsv = apply(referenceTable().convert[int(Model::Hsv)][0][0], in);
    for (size_t i = 0; i < in.size(); i += 3) {
        const int r = in[i], g = in[i + 1], b = in[i + 2];
        const int v = std::max({r, g, b}), d = v - std::min({r, g, b}), s = v == 0 ? 0 : 255 * d / v;
        double a = r == v ? (g - b) * 60 / double(d) : g == v ? (b - r) * 60 / double(d) + 120 : (r - g) * 60 / double(d) + 240;
        const int h = s == 0 ? 0 : static_cast<int>(a < 0 ? a + 360 : a) >> 1;
        ASSERT_EQ((std::vector<int>{toHsv[i], toHsv[i + 1], toHsv[i + 2]}), (std::vector<int>{h, s, v}))
            << r << "," << g << "," << b;
    }
}

// The colour twist: both paths give floor((sum + constant) / 2^s + 1/2) +
// offset, saturated; on each side of the fixed path's bound the plan takes the
// path the bound says, and where both apply they agree on a grid of inputs.
template <class T>
void expectBothPaths(const OzlColorTwist& twist, int offset, bool fixedExpected) {
    constexpr bool is16 = sizeof(T) == 2;
    const TwistPlan plan = planTwist(twist, offset, is16, 3, 3);
    ASSERT_EQ(plan.fixed, fixedExpected) << "scale " << twist.scalingValue;
    constexpr int32_t top = is16 ? 65535 : 255;
    std::vector<T> px;
    const int32_t grid[] = {0, 1, top / 7, top / 2, top - 1, top};
    for (int32_t a : grid)
        for (int32_t b : grid)
            for (int32_t c : grid) px.insert(px.end(), {T(a), T(b), T(c)});
    std::vector<T> general(px.size()), fixed(px.size());
    const RowView src[ozl::core::kMaxSources] = {rowOf(px)};
    referenceTable().twistGeneral[is16](src, rowOf(general), px.size() / 3, &plan.args);
    if (plan.fixed) referenceTable().twistFixed[is16](src, rowOf(fixed), px.size() / 3, &plan.args);
    for (size_t i = 0; i < px.size(); i += 3)
        for (int c = 0; c < 3; ++c) {
            const int64_t e = std::clamp<int64_t>(
                ozl::test::twistExact(twist.data + 4 * c, twist.scalingValue, offset, px[i], px[i + 1], px[i + 2]), 0, top);
            ASSERT_EQ(general[i + c], e) << "general path, channel " << c;
            if (plan.fixed) ASSERT_EQ(fixed[i + c], e) << "fixed path, channel " << c;
        }
}

TEST(ColorReference, TwistPathsMeetAtTheBound) {
    for (int s : {0, 1, 2, 7, 15}) {
        // Positive weights summing to the bound: 255 w + c at most 32767 - 2^(s-1) (32766 for s < 2).
        const int bound = s <= 1 ? 32766 : 32767 - (1 << (s - 1));
        const int w = bound / 255 / 3, c = bound - 3 * 255 * w;
        OzlColorTwist twist{{w, w, w, c, -w, 2 * w, 0, -c, 1, 0, w, 0}, s};
        expectBothPaths<uint8_t>(twist, 3, true);
        twist.data[3] = c + 1;  // one past the bound
        expectBothPaths<uint8_t>(twist, 3, false);
        twist.data[3] = c;
        expectBothPaths<uint8_t>(twist, 128, false);  // the offset beyond a signed byte
    }
    // 16U: the signed 16-bit form holds constant rows only (x - 32768 spans 16 bits by itself).
    expectBothPaths<uint16_t>(OzlColorTwist{{2, 0, 0, 0, 0, 2, 0, 5, 0, 0, 2, -7}, 1}, -30000, false);
    expectBothPaths<uint16_t>(OzlColorTwist{{0, 0, 0, 100, 0, 0, 0, 5, 0, 0, 0, 30000}, 0}, 1000, true);
    // Scales beyond 15 and 32-bit elements: the general path.
    expectBothPaths<uint8_t>(OzlColorTwist{{1 << 20, 0, 0, 0, 0, 1 << 20, 0, 0, 0, 0, 1 << 20, 0}, 20}, 0, false);
    expectBothPaths<uint8_t>(OzlColorTwist{{-5, 40000, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, 0}, 0, false);
}

// Rows long enough to stream their stores (starting off alignment), at every
// vector table: three channels in and three (a conversion, a twist of byte
// weights) or one out, just past the limit.
TEST(ColorReference, LongRowsMatchTheScalarFormWhenStreaming) {
    const ConvertArgs args{0};
    GrayArgs gray;
    gray.weight[0] = 54, gray.weight[1] = 183, gray.weight[2] = 18;
    TwistArgs twist;
    for (int i = 0; i < 9; ++i) twist.weight[i / 3][i % 3] = static_cast<int16_t>(13 * (i % 4) - 20);
    twist.constant[0] = 67, twist.constant[1] = -3, twist.constant[2] = 900, twist.shift = 7;
    for (const int kind : {0, 1, 2}) {
        const int step = kind == 2 ? 1 : 3;
        const size_t n = (size_t{32} << 20) / (3 + step) + 77;
        std::vector<uint8_t> in(3 * n + 1), expected(step * n + 1), got(step * n + 1);
        for (size_t i = 0; i < in.size(); ++i) in[i] = static_cast<uint8_t>((i * 2654435761u) >> 13);
        const RowView src[ozl::core::kMaxSources] = {rowOf(in, 3, 1)};
        auto pick = [&](const ColorTable& t) {
            return kind == 2 ? t.toGray[0][0] : kind == 1 ? t.twistFixed[0] : t.convert[int(Model::Yuv)][0][0];
        };
        const void* context = kind == 2 ? static_cast<const void*>(&gray) : kind == 1 ? static_cast<const void*>(&twist) : &args;
        pick(referenceTable())(src, rowOf(expected, step, 1), n, context);
        for (const auto& t : vectorTables()) {
            std::fill(got.begin(), got.end(), uint8_t{0});
            pick(*t.table)(src, rowOf(got, step, 1), n, context);
            ASSERT_TRUE(got == expected) << t.name << " kind " << kind;
        }
    }
}

}  // namespace
