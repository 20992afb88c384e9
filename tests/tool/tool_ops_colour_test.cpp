// Colour from the command line: the model a file is read as, the twist's
// matrix rows, rounding and offset, grey's weights, and round trips through
// the other models.
#include <gtest/gtest.h>

#include <cmath>

#include "tool/tool_cases.hpp"

namespace ozltest {
namespace {

double a(int x, int y, int c) { return inputs().a.at(x, y, c); }

double twistRow(int x, int y, const int (&row)[4], int scale, int offset) {
    const double sum = row[0] * a(x, y, 0) + row[1] * a(x, y, 1) + row[2] * a(x, y, 2) + row[3];
    return sat(std::floor((sum + (scale ? 1 << (scale - 1) : 0)) / (1 << scale)) + offset);
}

TEST(ToolOps, Colour) {
    checkCases({
        {{"gray", "a.pam"}, "", "g8", 255,
         [](int x, int y, int, double) {
             return std::floor((54 * a(x, y, 0) + 183 * a(x, y, 1) + 18 * a(x, y, 2)) / 256);
         }},
        {{"twist", "--matrix", "0,0,1,0,1,0,1,0,0", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double) { return a(x, y, 2 - c); }},
        {{"twist", "--matrix", "sepia", "--offset", "-3", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double) {
             static const int rows[3][4] = {{101, 197, 48, 0}, {89, 176, 43, 0}, {70, 137, 34, 0}};
             return twistRow(x, y, rows[c], 8, -3);
         }},
        {{"twist", "--matrix", "2,0,0,-100,0,1,0,7,0,0,1,0", "--scale", "1", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double) {
             static const int rows[3][4] = {{2, 0, 0, -100}, {0, 1, 0, 7}, {0, 0, 1, 0}};
             return twistRow(x, y, rows[c], 1, 0);
         }},
        {{"twist", "--matrix", "0,0,2,1,0,0,0,0,1,0,0,-1", "--scale", "1", "--depth", "32f",
          "a.pam"}, "out.pfm", "a", 0,
         [](int x, int y, int c, double) {
             return c == 0 ? a(x, y, 2) + 0.5 : c == 1 ? 0 : a(x, y, 0) / 2 - 0.5;
         }},
        {{"colorize", "--weights", "1,0.5,0", "g8.pam"}, "", "a", 255,
         [](int x, int y, int c, double) {
             return std::floor(inputs().grey8.at(x, y, 0) * (c == 0 ? 1 : c == 1 ? 0.5 : 0));
         },
         1},
    });
    // Round trips through models that hold every 8-bit colour (YUV, XYZ and
    // HSV clip or quantise some): each read back as the file says it is.
    inputs();
    for (const auto& pair : {std::pair<const char*, const char*>{"rgb2ycrcb", "ycrcb2rgb"},
                             {"rgb2luv", "luv2rgb"}}) {
        SCOPED_TRACE(pair.first);
        const bool luv = std::string(pair.first) == "rgb2luv";
        const std::string mid = luv ? "mid.pfm" : "mid.pam";
        ASSERT_EQ(ozl({pair.first, "--depth", luv ? "32f" : "16u", "a.pam", mid}).err, "");
        ASSERT_EQ(ozl({pair.second, "--bits", "8", mid, "back.pam"}).err, "");
        EXPECT_EQ(compare(readPnm(at("back.pam")), inputs().a, 1), "");
    }
    EXPECT_EQ(ozl({"twist", "--matrix", "1,2,3", "a.pam", "o.pam"}).err,
              "ozl: twist: --matrix: 9 numbers (3x3) or 12 (3x4, a constant per row), not 3\n");
    EXPECT_EQ(ozl({"rgb2hsv", "g8.pam", "o.pam"}).err,
              "ozl: rgb2hsv: g8.pam: a colour conversion needs three channels\n");
}

}  // namespace
}  // namespace ozltest
