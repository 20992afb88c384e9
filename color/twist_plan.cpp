#include "color/twist_plan.hpp"

#include <cmath>

namespace ozl::color {

namespace {

// The fixed-point path takes equal channel counts of at most four, a scale of
// at most 15, 16-bit matrix elements, an offset within the depth's signed
// range, and, for each output, a 16-bit sum that cannot wrap: the largest sum
// the samples can give (positive weights at the largest sample, negative ones
// at the smallest) plus the constant at most 32766 for scales 0 and 1 and
// 32767 - 2^(s-1) beyond (room for the rounding half); the smallest plus the
// constant and the rounding half at least -32768. 16U samples enter as
// x - 32768, which moves 32768 (sum of the weights - 2^s) into the constant
// and gives a result 32768 below the sample. Returns false, or true with the
// constants of the three outputs (the rounding half folded in).
bool fixedConstants(const OzlColorTwist& t, int bias, bool is16, int srcChannels,
                    int dstChannels, int32_t (&constant)[3]) {
    const int s = t.scalingValue;
    if (srcChannels != dstChannels || srcChannels > 4 || s > 15) return false;
    for (int32_t v : t.data)
        if (v < -32768 || v > 32767) return false;
    const int64_t biasLimit = is16 ? 32768 : 128;
    if (bias < -biasLimit || bias >= biasLimit) return false;
    const int64_t lo = is16 ? -32768 : 0, hi = is16 ? 32767 : 255;
    const int64_t half = s == 0 ? 0 : int64_t{1} << (s - 1);
    const int64_t bound = s <= 1 ? 32766 : 32767 - half;
    for (int i = 0; i < 3; ++i) {
        const int32_t* row = t.data + 4 * i;
        int64_t c = row[3];
        if (is16) c += 32768 * (int64_t{row[0]} + row[1] + row[2] - (int64_t{1} << s));
        int64_t top = c, bottom = c;
        for (int j = 0; j < 3; ++j) {
            top += row[j] * (row[j] > 0 ? hi : lo);
            bottom += row[j] * (row[j] > 0 ? lo : hi);
        }
        if (top > bound || bottom + half < -32768) return false;
        constant[i] = static_cast<int32_t>(c + half);
    }
    return true;
}

}  // namespace

TwistPlan planTwist(const OzlColorTwist& twist, int offset, bool is16, int srcChannels,
                    int dstChannels) {
    TwistPlan plan;
    TwistArgs& a = plan.args;
    plan.fixed = fixedConstants(twist, offset, is16, srcChannels, dstChannels, a.constant);
    a.shift = twist.scalingValue;
    a.bias = offset;
    // Times 2^-s exactly: the general path sees the matrix itself.
    const double scale = std::ldexp(1.0, -twist.scalingValue);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) {
            const int32_t v = twist.data[4 * i + j];
            a.matrix[i][j] = v * scale;
            if (j < 3 && plan.fixed) a.weight[i][j] = static_cast<int16_t>(v);
        }
    return plan;
}

}  // namespace ozl::color
