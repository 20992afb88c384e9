// Texts of every status code, the mask forms and the holes of the table.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "ozl.h"

namespace {

const char* const kUnknown = "Unknown error or status code";

const char* const kPlain[] = {
    "No Error", "Backtrace", nullptr, "Internal error (bad state)", "Out of memory", "Bad argument", "Unsupported function",
    "Iteration convergence failed", "Autotrace call", "Null pointer to an image header", "Incorrect image size",
    "Incorrect offset of ROI of the image",
    "One from two pointers should be null, and other should be not null, imageData or tileInfo ",
    "Incorrect widthStep of the image", "Incorrect Color model or channel sequence of the image",
    "Incorrect number of channels in the image", "Number of channels for 1U depth image must be one",
    "Incorrect depth value in the image header", "Incorrect alpha channel number in the image header",
    "Incorrect data order value in the image header", "Incorrect data origin value in the image header",
    "Incorrect data alignment value in the image header", "Null pointer to callback function", "Incorrect size of the tile",
    "Incorrect COI of the image", "Incorrect size of ROI in the image header", "Mask image is taled",
};

// Index i of the table is status -i (-2 is a hole); the mask texts share their
// storage with the plain ones; everything outside the table is unknown.
TEST(ErrorStr, EveryTextAndHole) {
    for (int i = 0; i < 27; ++i) EXPECT_STREQ(ozlErrorStr(-i), kPlain[i] ? kPlain[i] : kUnknown) << "status " << -i;
    for (int plain : {10, 11, 12, 13, 14, 15, 17, 18, 19, 20, 21, 24, 25}) {
        const char* mask = ozlErrorStr(OZL_StsMaskBase - plain);
        EXPECT_EQ(mask, "Mask. " + std::string(kPlain[plain])) << "status " << -100 - plain;
        EXPECT_EQ(ozlErrorStr(-plain), mask + 6) << "status " << -plain;
    }
    for (OzlStatus s : {-109, -116, -122, -100, -101, -108, -126, 1, 100, -27, -99, -200, INT32_MIN, INT32_MAX})
        EXPECT_STREQ(ozlErrorStr(s), kUnknown) << "status " << s;
    EXPECT_EQ(ozlErrorStr(-2), ozlErrorStr(-123));
}

}  // namespace
