// ozlSetBorderMode: side selection and per-depth clamping of the constant.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "ozl.h"

namespace {

OzlImage headerOfDepth(unsigned depth) {
    OzlImage image;
    std::memset(&image, 0, sizeof image);
    image.depth = depth;
    for (int i = 0; i < 4; ++i) {
        image.borderMode[i] = -7;
        image.borderConst[i] = -7;
    }
    return image;
}

TEST(SetBorderMode, SelectsSidesByBit) {
    OzlImage image = headerOfDepth(OZL_DEPTH_8U);
    ozlSetBorderMode(&image, OZL_BORDER_REPLICATE, 5, 10);
    EXPECT_EQ(image.borderMode[0], 1);
    EXPECT_EQ(image.borderConst[0], 10);
    EXPECT_EQ(image.borderMode[1], -7);
    EXPECT_EQ(image.borderConst[1], -7);
    EXPECT_EQ(image.borderMode[2], 1);
    EXPECT_EQ(image.borderConst[2], 10);
    EXPECT_EQ(image.borderMode[3], -7);
    EXPECT_EQ(image.borderConst[3], -7);

    ozlSetBorderMode(&image, OZL_BORDER_WRAP, OZL_SIDE_ALL, 20);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(image.borderMode[i], 3);
        EXPECT_EQ(image.borderConst[i], 20);
    }

    // Bits above the four sides select nothing.
    ozlSetBorderMode(&image, OZL_BORDER_REFLECT, 0xF0, 30);
    ozlSetBorderMode(&image, OZL_BORDER_REFLECT, 0, 30);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(image.borderMode[i], 3);

    ozlSetBorderMode(&image, OZL_BORDER_CONSTANT, OZL_SIDE_BOTTOM | OZL_SIDE_RIGHT | 0x100, 40);
    EXPECT_EQ(image.borderMode[OZL_SIDE_TOP_INDEX], 3);
    EXPECT_EQ(image.borderMode[OZL_SIDE_BOTTOM_INDEX], 0);
    EXPECT_EQ(image.borderMode[OZL_SIDE_LEFT_INDEX], 3);
    EXPECT_EQ(image.borderMode[OZL_SIDE_RIGHT_INDEX], 0);
    EXPECT_EQ(image.borderConst[OZL_SIDE_RIGHT_INDEX], 40);
}

TEST(SetBorderMode, ModeIsStoredUnchecked) {
    OzlImage image = headerOfDepth(OZL_DEPTH_16U);
    ozlSetBorderMode(&image, 99, OZL_SIDE_TOP, 0);
    EXPECT_EQ(image.borderMode[0], 99);
    ozlSetBorderMode(&image, -1, OZL_SIDE_LEFT, 0);
    EXPECT_EQ(image.borderMode[2], -1);
}

struct ClampCase {
    unsigned depth;
    int value;
    int stored;
};

class BorderClamp : public ::testing::TestWithParam<ClampCase> {};

TEST_P(BorderClamp, ConstantIsClampedToTheDepth) {
    const ClampCase& c = GetParam();
    OzlImage image = headerOfDepth(c.depth);
    ozlSetBorderMode(&image, OZL_BORDER_CONSTANT, OZL_SIDE_ALL, c.value);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(image.borderConst[i], c.stored);
}

INSTANTIATE_TEST_SUITE_P(
    Depths, BorderClamp,
    ::testing::Values(
        ClampCase{OZL_DEPTH_1U, 1, 1}, ClampCase{OZL_DEPTH_1U, 2, 1}, ClampCase{OZL_DEPTH_1U, -1, 0},
        ClampCase{OZL_DEPTH_8U, 300, 255}, ClampCase{OZL_DEPTH_8U, 255, 255},
        ClampCase{OZL_DEPTH_8U, -1, 0}, ClampCase{OZL_DEPTH_8U, 17, 17},
        ClampCase{OZL_DEPTH_8S, 127, 127}, ClampCase{OZL_DEPTH_8S, 128, 127},
        ClampCase{OZL_DEPTH_8S, -128, -128}, ClampCase{OZL_DEPTH_8S, -129, -128},
        ClampCase{OZL_DEPTH_16U, -5, 0}, ClampCase{OZL_DEPTH_16U, 65535, 65535},
        ClampCase{OZL_DEPTH_16U, 65536, 65535}, ClampCase{OZL_DEPTH_16S, 32768, 32767},
        ClampCase{OZL_DEPTH_16S, -32769, -32768}, ClampCase{OZL_DEPTH_16S, -32768, -32768},
        ClampCase{OZL_DEPTH_32S, INT_MIN, INT_MIN}, ClampCase{OZL_DEPTH_32S, INT_MAX, INT_MAX},
        ClampCase{OZL_DEPTH_32F, -123456, -123456}, ClampCase{OZL_DEPTH_32F, 1 << 30, 1 << 30}));

}  // namespace
