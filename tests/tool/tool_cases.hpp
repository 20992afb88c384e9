// The inputs the operation tests share, and the table-driven check of an
// operation's output value by value. Each family's cases live in their own
// tool_ops_<family>_test.cpp.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tool/tool_harness.hpp"

namespace ozltest {

constexpr int kW = 13, kH = 9;

// Written into the work folder on first use: a.pam and b.pam (RGB 8-bit),
// g8.pam (grey 8-bit), g16.pam (grey 16-bit), mask.pam (grey, 0 or 255),
// bw1.pam and bw2.pam (1-bit), f.pfm (grey floats, whole numbers -300..300).
struct Inputs {
    Pixels a, b, grey8, grey16, mask, bw1, bw2, signedF;
    Inputs();
};
const Inputs& inputs();
// A picture of Inputs by the name of its file without extension ("a", "g16").
const Pixels& input(const std::string& name);

double sat(double v, double hi = 255);
bool inRoi(int x, int y);  // inside --roi 2,3,5,4
bool masked(int x, int y);  // mask.pam is white there
double b(int x, int y, int c);

using Want = std::function<double(int x, int y, int c, double a)>;

struct OpCase {
    std::vector<std::string> args;  // the output file is appended
    std::string output;             // out.pam unless given
    std::string input;              // the picture `a` of the expectation
    int maxval;                     // of the output file (0: PFM)
    Want want;
    double tolerance = 0;
};

// Runs each case and compares its output with the expectation.
void checkCases(const std::vector<OpCase>& cases);
std::string joined(const std::vector<std::string>& words);

}  // namespace ozltest
