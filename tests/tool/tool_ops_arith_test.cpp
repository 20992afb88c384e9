// Arithmetic, logic and data movement from the command line: operand order,
// constants, regions, channels, masks, working depths and the output's
// samples, each checked value by value against the documented arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tool/tool_cases.hpp"

namespace ozltest {
namespace {

int mulScale(double a, double k) {
    const unsigned p = static_cast<unsigned>(a) * static_cast<unsigned>(k);
    return static_cast<int>((p + (p >> 8) + 1) >> 8);
}

const std::vector<OpCase>& opCases() {
    static const std::vector<OpCase> cases = {
        // Two images, in order, and image-constant forms.
        {{"add", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double a) { return sat(a + b(x, y, c)); }},
        {{"add", "a.pam", "--value", "40"}, "", "a", 255, [](int, int, int, double a) { return sat(a + 40); }},
        {{"add", "--value=-40", "a.pam"}, "", "a", 255, [](int, int, int, double a) { return sat(a - 40); }},
        {{"sub", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double a) { return sat(a - b(x, y, c)); }},
        {{"sub", "a.pam", "--value", "40"}, "", "a", 255, [](int, int, int, double a) { return sat(a - 40); }},
        {{"sub", "--flip", "--value", "300", "a.pam"}, "", "a", 255, [](int, int, int, double a) { return sat(300 - a); }},
        {{"mul", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double a) { return sat(a * b(x, y, c)); }},
        {{"mul", "a.pam", "--value", "3"}, "", "a", 255, [](int, int, int, double a) { return sat(a * 3); }},
        {{"mulscale", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double a) { return mulScale(a, b(x, y, c)); }},
        {{"mulscale", "a.pam", "--value", "128"}, "", "a", 255, [](int, int, int, double a) { return mulScale(a, 128); }},
        {{"square", "a.pam"}, "", "a", 255, [](int, int, int, double a) { return sat(a * a); }},
        {{"abs", "a.pam"}, "", "a", 255, [](int, int, int, double a) { return a; }},
        {{"and", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double a) { return double(int(a) & int(b(x, y, c))); }},
        {{"and", "a.pam", "--value", "0xF0"}, "", "a", 255, [](int, int, int, double a) { return double(int(a) & 0xF0); }},
        {{"or", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double a) { return double(int(a) | int(b(x, y, c))); }},
        {{"or", "a.pam", "--value", "0x81"}, "", "a", 255, [](int, int, int, double a) { return double(int(a) | 0x81); }},
        {{"xor", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double a) { return double(int(a) ^ int(b(x, y, c))); }},
        {{"xor", "a.pam", "--value", "255"}, "", "a", 255, [](int, int, int, double a) { return 255 - a; }},
        {{"not", "a.pam"}, "", "a", 255, [](int, int, int, double a) { return 255 - a; }},
        {{"lshift", "--by", "2", "a.pam"}, "", "a", 255, [](int, int, int, double a) { return double((int(a) << 2) & 255); }},
        {{"rshift", "--by", "3", "a.pam"}, "", "a", 255, [](int, int, int, double a) { return double(int(a) >> 3); }},
        {{"set", "--value", "77", "a.pam"}, "", "a", 255, [](int, int, int, double) { return 77.0; }},
        {{"set", "--value", "300", "a.pam"}, "", "a", 255, [](int, int, int, double) { return 255.0; }},
        {{"copy", "a.pam"}, "", "a", 255, [](int, int, int, double a) { return a; }},
        // Region, channel and mask: the rest of the output keeps the input.
        {{"add", "--value", "40", "--roi", "2,3,5,4", "a.pam"}, "", "a", 255,
         [](int x, int y, int, double a) { return inRoi(x, y) ? sat(a + 40) : a; }},
        {{"add", "--value", "40", "--coi", "2", "a.pam"}, "", "a", 255,
         [](int, int, int c, double a) { return c == 1 ? sat(a + 40) : a; }},
        {{"add", "--value", "40", "--mask", "mask.pam", "a.pam"}, "", "a", 255,
         [](int x, int y, int, double a) { return masked(x, y) ? sat(a + 40) : a; }},
        {{"add", "a.pam", "b.pam", "--roi", "2,3,5,4", "--mask", "mask.pam", "--coi", "3"}, "", "a", 255,
         [](int x, int y, int c, double a) {
             return inRoi(x, y) && masked(x, y) && c == 2 ? sat(a + b(x, y, c)) : a;
         }},
        {{"add", "--value", "40", "--onto", "b.pam", "--roi", "2,3,5,4", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double a) { return inRoi(x, y) ? sat(a + 40) : b(x, y, c); }},
        {{"copy", "--mask", "mask.pam", "--onto", "b.pam", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double a) { return masked(x, y) ? a : b(x, y, c); }},
        {{"copy", "--roi", "2,3,5,4", "a.pam"}, "", "a", 255,
         [](int x, int y, int, double a) { return inRoi(x, y) ? a : 0.0; }},
        {{"copy", "--coi", "3", "a.pam"}, "", "a", 255, [](int, int, int c, double a) { return c == 2 ? a : 0.0; }},
        {{"set", "--value", "9", "--coi", "1", "--mask", "mask.pam", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double a) { return c == 0 && masked(x, y) ? 9.0 : a; }},
        // Working depths and the samples written.
        {{"add", "--depth", "16u", "--value", "1000", "a.pam"}, "", "a", 65535,
         [](int, int, int, double a) { return sat(a * 257 + 1000, 65535); }},
        {{"add", "g16.pam", "--value", "30000"}, "", "g16", 65535,
         [](int, int, int, double a) { return sat(a + 30000, 65535); }},
        {{"add", "--depth", "8u", "g16.pam", "--value", "1"}, "", "g16", 255,
         [](int, int, int, double a) { return sat(std::floor(a / 257 + 0.5) + 1); }},
        {{"sub", "--depth", "16s", "--stretch", "a.pam", "b.pam"}, "", "a", 255,
         [](int x, int y, int c, double a) {
             double lo = 1e9, hi = -1e9;
             for (int j = 0; j < kH; ++j)
                 for (int i = 0; i < kW; ++i)
                     for (int k = 0; k < 3; ++k) {
                         const double d = inputs().a.at(i, j, k) - b(i, j, k);
                         lo = std::min(lo, d), hi = std::max(hi, d);
                     }
             return std::floor((a - b(x, y, c) - lo) / (hi - lo) * 255 + 0.5);
         }},
        {{"add", "--depth", "32f", "--value", "0.25", "a.pam"}, "out.pfm", "a", 0,
         [](int, int, int, double a) { return a + 0.25; }},
        {{"abs", "--depth", "16s", "f.pfm"}, "out.pfm", "f", 0, [](int, int, int, double a) { return std::fabs(a); }},
        {{"sub", "f.pfm", "--value", "0.5", "--flip"}, "out.pfm", "f", 0, [](int, int, int, double a) { return 0.5 - a; }},
        {{"and", "bw1.pam", "bw2.pam"}, "", "bw1", 1,
         [](int x, int y, int, double a) { return double(int(a) & int(inputs().bw2.at(x, y, 0))); }},
        {{"add", "bw1.pam", "bw2.pam", "--depth", "8u"}, "", "bw1", 255,
         [](int x, int y, int, double a) { return sat(255 * a + 255 * inputs().bw2.at(x, y, 0)); }},
    };
    return cases;
}

TEST(ToolOps, ArithmeticLogicAndData) { checkCases(opCases()); }

}  // namespace
}  // namespace ozltest
