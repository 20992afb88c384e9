// The sampled driver through a warp: a masked destination whose one channel is
// its alpha channel has nothing to compute (the chunk size of masked rows was
// once divided by its zero pixel size).
#include <gtest/gtest.h>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::TestImage;

TEST(Sampled, MaskedAlphaOnlyDestinationIsLeftAlone) {
    ErrorCapture errors;
    TestImage src(OZL_DEPTH_8U, 20, 10, 1, OZL_DATA_ORDER_PIXEL, true), dst(OZL_DEPTH_8U, 20, 10, 1, OZL_DATA_ORDER_PIXEL, true),
        mask(OZL_DEPTH_1U, 20, 10);
    src.fillRandom(1);
    dst.fillRandom(2);
    mask.fillRandom(3);
    dst.setMask(&mask);
    const auto before = dst.bytes();
    ozlShear(src, dst, 0.25, 0.0, 1.0, 0.0, OZL_INTER_LINEAR);
    EXPECT_EQ(dst.bytes(), before);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

}  // namespace
