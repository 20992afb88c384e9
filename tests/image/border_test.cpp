// ozlSetBorderMode: side selection by bit, mode stored unchecked, the constant clamped to the depth.
#include <gtest/gtest.h>

#include <climits>

#include "ozl.h"

namespace {

TEST(SetBorderMode, SelectsSidesByBitAndClampsTheConstant) {
    OzlImage image{};
    image.depth = OZL_DEPTH_8U;
    // Sides top, bottom, left, right; bits above the four select nothing.
    const struct { int mode, sides, value; int want[4]; } steps[] = {
        {1, 5, 10, {1, -7, 1, -7}},     {3, OZL_SIDE_ALL, 20, {3, 3, 3, 3}},
        {2, 0xF0, 30, {3, 3, 3, 3}},    {0, OZL_SIDE_BOTTOM | OZL_SIDE_RIGHT | 0x100, 40, {3, 0, 3, 0}},
        {99, OZL_SIDE_TOP, 0, {99, 0, 3, 0}}, {-1, OZL_SIDE_LEFT, 0, {99, 0, -1, 0}}};
    for (int i = 0; i < 4; ++i) image.borderMode[i] = image.borderConst[i] = -7;
    int consts[4] = {-7, -7, -7, -7};
    for (const auto& s : steps) {
        ozlSetBorderMode(&image, s.mode, s.sides, s.value);
        for (int i = 0; i < 4; ++i) {
            if (s.sides & (1 << i)) consts[i] = s.value;
            EXPECT_EQ(image.borderMode[i], s.want[i]) << "mode " << s.mode << " side " << i;
            EXPECT_EQ(image.borderConst[i], consts[i]) << "mode " << s.mode << " side " << i;
        }
    }
    const struct { unsigned depth; int value, stored; } clamps[] = {
        {OZL_DEPTH_1U, 2, 1},          {OZL_DEPTH_1U, -1, 0},         {OZL_DEPTH_8U, 300, 255},
        {OZL_DEPTH_8U, -1, 0},         {OZL_DEPTH_8S, 128, 127},      {OZL_DEPTH_8S, -129, -128},
        {OZL_DEPTH_16U, 65536, 65535}, {OZL_DEPTH_16S, 32768, 32767}, {OZL_DEPTH_16S, -32769, -32768},
        {OZL_DEPTH_32S, INT_MIN, INT_MIN}, {OZL_DEPTH_32F, 1 << 30, 1 << 30}};
    for (const auto& c : clamps) {
        image.depth = c.depth;
        ozlSetBorderMode(&image, OZL_BORDER_CONSTANT, OZL_SIDE_ALL, c.value);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(image.borderConst[i], c.stored) << c.depth << " " << c.value;
    }
}

}  // namespace
