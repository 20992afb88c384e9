// Convolution from the command line: inline and named kernels turned the
// way true convolution turns them, shifts, combining, separable pairs, the
// border modes and 32f.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tool/tool_cases.hpp"

namespace ozltest {
namespace {

// True convolution of g8 (or f) at (x, y) with a 3x3 kernel anchored at its
// centre, outside pixels replicated: out = sum k[j][i] src(x + 1 - i, y + 1 - j).
double convolve3(const Pixels& src, const std::vector<int>& k, int x, int y) {
    double sum = 0;
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 3; ++i) {
            const int sx = std::clamp(x + 1 - i, 0, kW - 1), sy = std::clamp(y + 1 - j, 0, kH - 1);
            sum += k[j * 3 + i] * src.at(sx, sy, 0);
        }
    return sum;
}

const std::vector<int> kGauss = {1, 2, 1, 2, 4, 2, 1, 2, 1};
const std::vector<int> kSobelX = {1, 0, -1, 2, 0, -2, 1, 0, -1};
const std::vector<int> kSobelY = {1, 2, 1, 0, 0, 0, -1, -2, -1};
const std::vector<int> kSkew = {0, 0, 0, 0, 0, 3, 0, -1, 0};  // catches a kernel not turned

double g8(int x, int y, const std::vector<int>& k) { return convolve3(inputs().grey8, k, x, y); }

TEST(ToolOps, Convolution) {
    checkCases({
        {{"convolve", "--kernel", "3x3:1,2,1,2,4,2,1,2,1", "--shift", "4", "--border", "replicate",
          "g8.pam"}, "", "g8", 255,
         [](int x, int y, int, double) { return std::floor(g8(x, y, kGauss) / 16); }},
        {{"convolve", "--kernel", "gauss", "--border", "replicate", "g8.pam"}, "", "g8", 255,
         [](int x, int y, int, double) { return std::floor(g8(x, y, kGauss) / 16); }},
        {{"convolve", "--kernel", "3x3:0,0,0,0,0,3,0,-1,0", "--depth", "16s", "--border",
          "replicate", "g8.pam"}, "out.pfm", "g8", 0,
         [](int x, int y, int, double) { return g8(x, y, kSkew); }},
        {{"convolve", "--kernel", "sobel-x", "--kernel", "sobel-y", "--combine", "max", "--depth",
          "16s", "--border", "replicate", "g8.pam"}, "out.pfm", "g8", 0,
         [](int x, int y, int, double) { return std::max(g8(x, y, kSobelX), g8(x, y, kSobelY)); }},
        {{"convolve", "--kernel", "sobel-x", "--border", "replicate", "g8.pam"}, "", "g8", 255,
         [](int x, int y, int, double) { return sat(g8(x, y, kSobelX)); }},
        {{"convolve", "--kernel", "gauss", "--border", "constant:0", "--depth", "32f", "f.pfm"},
         "out.pfm", "f", 0,
         [](int x, int y, int, double) {
             double sum = 0;
             for (int j = -1; j <= 1; ++j)
                 for (int i = -1; i <= 1; ++i)
                     if (x + i >= 0 && x + i < kW && y + j >= 0 && y + j < kH)
                         sum += kGauss[(j + 1) * 3 + i + 1] * inputs().signedF.at(x + i, y + j, 0);
             return sum / 16;
         },
         1e-3},
        // Separable: rows then columns, one shift for both.
        {{"convolve-sep", "--kernel", "gauss", "--border", "replicate", "g8.pam"}, "", "g8", 255,
         [](int x, int y, int, double) { return std::floor(g8(x, y, kGauss) / 16); }},
        {{"convolve-sep", "--x", "3x1:1,0,-1", "--y", "1x3:1,2,1", "--depth", "16s", "--border",
          "replicate", "g8.pam"}, "out.pfm", "g8", 0,
         [](int x, int y, int, double) { return g8(x, y, kSobelX); }},
        {{"convolve-sep", "--y", "1x3:1,2,1", "--shift", "2", "--border", "replicate", "g8.pam"},
         "", "g8", 255,
         [](int x, int y, int, double) { return std::floor(g8(x, y, {0, 1, 0, 0, 2, 0, 0, 1, 0}) / 4); }},
    });
    struct {
        std::vector<std::string> args;
        const char* err;
    } const refused[] = {
        {{"convolve", "--kernel", "3x2:1,2", "g8.pam", "o.pam"},
         "ozl: convolve: --kernel: 3x2 needs 6 values, not 2\n"},
        {{"convolve", "--kernel", "blur", "g8.pam", "o.pam"},
         "ozl: convolve: --kernel: 'blur' is neither WxH:values nor a named kernel (box, gauss, "
         "sobel-x, sobel-y, laplace)\n"},
        {{"convolve", "--kernel", "gauss", "--combine", "avg", "g8.pam", "o.pam"},
         "ozl: convolve: --combine: 'avg' is not sum, sumsq, sumsqroot, max or min\n"},
        {{"convolve-sep", "--kernel", "laplace", "g8.pam", "o.pam"},
         "ozl: convolve-sep: --kernel: 'laplace' is not a separable kernel (box, gauss, sobel-x, "
         "sobel-y)\n"},
        {{"convolve-sep", "--x", "1x3:1,2,1", "g8.pam", "o.pam"},
         "ozl: convolve-sep: --x: a horizontal kernel has one row (Nx1)\n"},
        {{"convolve", "--kernel", "gauss", "--border", "mirror", "g8.pam", "o.pam"},
         "ozl: convolve: --border: 'mirror' is not constant[:V], replicate, reflect or wrap\n"},
    };
    for (const auto& t : refused) {
        const Result r = ozl(t.args);
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.err, t.err);
        EXPECT_FALSE(exists(at("o.pam")));
    }
}

}  // namespace
}  // namespace ozltest
