// Comparisons written as black-and-white pictures: the relation must hold in
// every channel, constants beyond the depth, the 32f tolerance, and the
// region and channel that bound the white.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "tool/tool_cases.hpp"

namespace ozltest {
namespace {

template <class Rel>
double everyChannel(int x, int y) {
    for (int c = 0; c < 3; ++c)
        if (!Rel()(inputs().a.at(x, y, c), b(x, y, c))) return 0;
    return 1;
}

TEST(ToolOps, Comparisons) {
    checkCases({
        {{"less", "a.pam", "b.pam"}, "", "g8", 1,
         [](int x, int y, int, double) { return everyChannel<std::less<double>>(x, y); }},
        {{"greater", "a.pam", "b.pam"}, "out.pbm", "g8", 1,
         [](int x, int y, int, double) { return everyChannel<std::greater<double>>(x, y); }},
        {{"equal", "a.pam", "a.pam"}, "", "g8", 1, [](int, int, int, double) { return 1.0; }},
        {{"greater", "--value", "127", "g8.pam"}, "", "g8", 1,
         [](int, int, int, double a) { return a > 127 ? 1.0 : 0.0; }},
        {{"less", "--value", "300", "g8.pam"}, "", "g8", 1, [](int, int, int, double) { return 1.0; }},
        {{"equal", "--value", "-40", "--depth", "16s", "f.pfm"}, "", "f", 1,
         [](int, int, int, double a) { return a == -40 ? 1.0 : 0.0; }},
        {{"equal", "--eps", "20", "--value", "10.5", "f.pfm"}, "", "f", 1,
         [](int, int, int, double a) { return std::fabs(a - 10.5) <= 20 ? 1.0 : 0.0; }},
        {{"equal", "--eps", "1", "f.pfm", "f.pfm"}, "", "f", 1, [](int, int, int, double) { return 1.0; }},
        {{"greater", "--value", "100", "--roi", "2,3,5,4", "g8.pam"}, "", "g8", 1,
         [](int x, int y, int, double a) { return inRoi(x, y) && a > 100 ? 1.0 : 0.0; }},
        {{"less", "--value", "128", "--coi", "2", "--mask", "mask.pam", "a.pam"}, "", "g8", 1,
         [](int x, int y, int, double) {
             return masked(x, y) && inputs().a.at(x, y, 1) < 128 ? 1.0 : 0.0;
         }},
    });
    const Result r = ozl({"less", "a.pam", "g8.pam", "out.pam"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "ozl: less: the library refused the call: ozlLess: bad channel's number "
                     "(status -15, Incorrect number of channels in the image)\n");
    EXPECT_EQ(ozl({"equal", "--eps", "1", "g8.pam", "g8.pam", "out.pam"}).err,
              "ozl: equal: --eps compares 32f images (add --depth 32f)\n");
}

}  // namespace
}  // namespace ozltest
