// Texts of every status code, the mask forms and the holes of the table.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "ozl.h"

namespace {

const char* const kUnknown = "Unknown error or status code";

struct Entry {
    OzlStatus status;
    const char* text;
};

const Entry kPlain[] = {
    {0, "No Error"},
    {-1, "Backtrace"},
    {-3, "Internal error (bad state)"},
    {-4, "Out of memory"},
    {-5, "Bad argument"},
    {-6, "Unsupported function"},
    {-7, "Iteration convergence failed"},
    {-8, "Autotrace call"},
    {-9, "Null pointer to an image header"},
    {-10, "Incorrect image size"},
    {-11, "Incorrect offset of ROI of the image"},
    {-12, "One from two pointers should be null, and other should be not null, imageData or tileInfo "},
    {-13, "Incorrect widthStep of the image"},
    {-14, "Incorrect Color model or channel sequence of the image"},
    {-15, "Incorrect number of channels in the image"},
    {-16, "Number of channels for 1U depth image must be one"},
    {-17, "Incorrect depth value in the image header"},
    {-18, "Incorrect alpha channel number in the image header"},
    {-19, "Incorrect data order value in the image header"},
    {-20, "Incorrect data origin value in the image header"},
    {-21, "Incorrect data alignment value in the image header"},
    {-22, "Null pointer to callback function"},
    {-23, "Incorrect size of the tile"},
    {-24, "Incorrect COI of the image"},
    {-25, "Incorrect size of ROI in the image header"},
    {-26, "Mask image is taled"},
};

TEST(ErrorStr, EveryPlainText) {
    for (const Entry& e : kPlain) EXPECT_STREQ(ozlErrorStr(e.status), e.text) << "status " << e.status;
}

TEST(ErrorStr, MaskTextsExistExactlyForTheTableEntries) {
    const int withMask[] = {10, 11, 12, 13, 14, 15, 17, 18, 19, 20, 21, 24, 25};
    for (int plain : withMask) {
        const std::string expected = std::string("Mask. ") + ozlErrorStr(-plain);
        EXPECT_EQ(ozlErrorStr(OZL_StsMaskBase - plain), expected) << "status " << -100 - plain;
    }
    EXPECT_STREQ(ozlErrorStr(-110), "Mask. Incorrect image size");
    EXPECT_STREQ(ozlErrorStr(-112),
                 "Mask. One from two pointers should be null, and other should be not null, "
                 "imageData or tileInfo ");
    for (int hole : {-109, -116, -122, -123}) EXPECT_STREQ(ozlErrorStr(hole), kUnknown) << hole;
    // Mask forms of the codes outside -10..-25 do not exist either.
    for (int other : {-100, -101, -103, -104, -105, -108, -126}) EXPECT_STREQ(ozlErrorStr(other), kUnknown) << other;
}

TEST(ErrorStr, PlainTextSharesStorageWithMaskText) {
    for (int plain = 10; plain <= 25; ++plain) {
        const char* mask = ozlErrorStr(OZL_StsMaskBase - plain);
        if (std::strcmp(mask, kUnknown) == 0) continue;
        EXPECT_EQ(ozlErrorStr(-plain), mask + 6) << "status " << -plain;
    }
}

TEST(ErrorStr, CodesOutsideTheTableAreUnknown) {
    for (OzlStatus s : {-2, 1, 2, 100, -27, -50, -99, -126, -127, -200, -1000, INT32_MIN, INT32_MAX})
        EXPECT_STREQ(ozlErrorStr(s), kUnknown) << "status " << s;
}

TEST(ErrorStr, TextsAreStatic) {
    EXPECT_EQ(ozlErrorStr(-5), ozlErrorStr(-5));
    EXPECT_EQ(ozlErrorStr(-2), ozlErrorStr(-123));
}

}  // namespace
