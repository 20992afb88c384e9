// Texts of every status code, the mask forms and the holes of the table.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "ozl.h"

namespace {

const char* const kUnknown = "Unknown error or status code";

const char* const kPlain[] = {
    "No Error", "Backtrace", nullptr, "Internal error (bad state)", "Out of memory", "Bad argument",
    "Unsupported function", "Iteration convergence failed", "Autotrace call", "Null pointer to an image header",
    "Incorrect image size", "Incorrect offset of ROI of the image",
    "One from two pointers should be null, and other should be not null, imageData or tileInfo ",
    "Incorrect widthStep of the image", "Incorrect Color model or channel sequence of the image",
    "Incorrect number of channels in the image", "Number of channels for 1U depth image must be one",
    "Incorrect depth value in the image header", "Incorrect alpha channel number in the image header",
    "Incorrect data order value in the image header", "Incorrect data origin value in the image header",
    "Incorrect data alignment value in the image header", "Null pointer to callback function",
    "Incorrect size of the tile", "Incorrect COI of the image", "Incorrect size of ROI in the image header",
    "Mask image is taled",
};  // index i is status -i; -2 is a hole

TEST(ErrorStr, EveryPlainText) {
    for (int i = 0; i < 27; ++i) EXPECT_STREQ(ozlErrorStr(-i), kPlain[i] ? kPlain[i] : kUnknown) << "status " << -i;
}

// The mask texts share their storage with the plain ones, and all texts are static.
TEST(ErrorStr, MaskTextsExistExactlyForTheTableEntries) {
    for (int plain : {10, 11, 12, 13, 14, 15, 17, 18, 19, 20, 21, 24, 25}) {
        const char* mask = ozlErrorStr(OZL_StsMaskBase - plain);
        EXPECT_EQ(mask, "Mask. " + std::string(kPlain[plain])) << "status " << -100 - plain;
        EXPECT_EQ(ozlErrorStr(-plain), mask + 6) << "status " << -plain;
    }
    EXPECT_STREQ(ozlErrorStr(-110), "Mask. Incorrect image size");
    // Holes inside -110..-125, and mask forms of codes outside -10..-25.
    for (int hole : {-109, -116, -122, -123, -100, -101, -103, -104, -105, -108, -126})
        EXPECT_STREQ(ozlErrorStr(hole), kUnknown) << hole;
    EXPECT_EQ(ozlErrorStr(-2), ozlErrorStr(-123));
}

TEST(ErrorStr, CodesOutsideTheTableAreUnknown) {
    for (OzlStatus s : {-2, 1, 2, 100, -27, -50, -99, -126, -127, -200, -1000, INT32_MIN, INT32_MAX})
        EXPECT_STREQ(ozlErrorStr(s), kUnknown) << "status " << s;
}

}  // namespace
