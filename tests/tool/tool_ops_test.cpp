// The operations from the command line, each output checked value by value against arithmetic the test does
// itself: operand order, constants, regions, channels, masks, working depths, colour, comparisons,
// convolution and statistics; then the pattern, the printed texts and the demo.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include "tool/tool_harness.hpp"

namespace ozltest {
namespace {


int mulScale(double v, double k) {
    const unsigned p = static_cast<unsigned>(v) * static_cast<unsigned>(k);
    return static_cast<int>((p + (p >> 8) + 1) >> 8);
}

double twist(const At& p, const int (&rows)[3][4], int scale, int offset) {
    const int* row = rows[p.c];
    const double sum = row[0] * a(p, 0) + row[1] * a(p, 1) + row[2] * a(p, 2) + row[3];
    return sat(std::floor((sum + (scale ? 1 << (scale - 1) : 0)) / (1 << scale)) + offset);
}

// True convolution at p with a 3x3 kernel anchored at its centre, sum k[j][i] src(x + 1 - i, y + 1 - j); outside
// pixels replicated, or 0.
double convolve3(const std::vector<int>& k, const At& p, const char* src = "g8", bool replicate = true) {
    double sum = 0;
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 3; ++i) {
            const int x = p.x + 1 - i, y = p.y + 1 - j, cx = std::clamp(x, 0, kW - 1), cy = std::clamp(y, 0, kH - 1);
            sum += (replicate || (x == cx && y == cy)) ? k[j * 3 + i] * input(src).at(cx, cy, 0) : 0;
        }
    return sum;
}

const std::vector<int> kGauss = {1, 2, 1, 2, 4, 2, 1, 2, 1}, kSobelX = {1, 0, -1, 2, 0, -2, 1, 0, -1},
                       kSobelY = {1, 2, 1, 0, 0, 0, -1, -2, -1}, kSkew = {0, 0, 0, 0, 0, 3, 0, -1, 0};

// The zone plate as the library documents it.
double zonePlate(const At& p) {
    const double dx = p.x - 15, dy = p.y - 8;  // a 31x17 plate: no sample falls on a zero of the sine
    return std::sin(3.14159265358979323846 * (dx * dx + dy * dy) / 31);
}

// Each operation's output value by value: operand order, constants, regions, channels, masks and working
// depths; the colour model a file is read as, the twist's rows, rounding and offset, grey's weights;
// comparisons (the relation in every channel, constants beyond the depth, the 32f tolerance); inline and
// named kernels turned as true convolution turns them (kSkew catches a kernel not turned), shifts, combining,
// separable pairs, borders; the pattern at every depth the files hold.
TEST(ToolOps, OperationsValueByValue) {
    checkCases({
        {{"add", "a.pam", "b.pam"}, "", "a", 255, [](At p) { return sat(p.v + b(p)); }},
        {{"add", "--value=-40", "a.pam"}, "", "a", 255, [](At p) { return sat(p.v - 40); }},
        {{"sub", "a.pam", "b.pam"}, "", "a", 255, [](At p) { return sat(p.v - b(p)); }},
        {{"sub", "--flip", "--value", "300", "a.pam"}, "", "a", 255, [](At p) { return sat(300 - p.v); }},
        {{"mul", "a.pam", "b.pam"}, "", "a", 255, [](At p) { return sat(p.v * b(p)); }},
        {{"mulscale", "a.pam", "b.pam"}, "", "a", 255, [](At p) { return mulScale(p.v, b(p)); }},
        {{"square", "a.pam"}, "", "a", 255, [](At p) { return sat(p.v * p.v); }},
        {{"and", "a.pam", "b.pam"}, "", "a", 255, [](At p) { return double(int(p.v) & int(b(p))); }},
        {{"or", "a.pam", "--value", "0x81"}, "", "a", 255, [](At p) { return double(int(p.v) | 0x81); }},
        {{"xor", "a.pam", "b.pam"}, "", "a", 255, [](At p) { return double(int(p.v) ^ int(b(p))); }},
        {{"not", "a.pam"}, "", "a", 255, [](At p) { return 255 - p.v; }},
        {{"lshift", "--by", "2", "a.pam"}, "", "a", 255, [](At p) { return double((int(p.v) << 2) & 255); }},
        {{"rshift", "--by", "3", "a.pam"}, "", "a", 255, [](At p) { return double(int(p.v) >> 3); }},
        {{"set", "--value", "300", "a.pam"}, "", "a", 255, [](At) { return 255.0; }},
        // Region, channel and mask: the rest of the output keeps the input (or the --onto picture; a copy
        // leaves zeros).
        {{"add", "a.pam", "b.pam", "--roi", "2,3,5,4", "--mask", "mask.pam", "--coi", "3"}, "", "a", 255,
         [](At p) { return inRoi(p) && masked(p) && p.c == 2 ? sat(p.v + b(p)) : p.v; }},
        {{"add", "--value", "40", "--onto", "b.pam", "--roi", "2,3,5,4", "a.pam"}, "", "a", 255,
         [](At p) { return inRoi(p) ? sat(p.v + 40) : b(p); }},
        {{"copy", "--mask", "mask.pam", "--onto", "b.pam", "a.pam"}, "", "a", 255,
         [](At p) { return masked(p) ? p.v : b(p); }},
        {{"copy", "--roi", "2,3,5,4", "a.pam"}, "", "a", 255, [](At p) { return inRoi(p) ? p.v : 0.0; }},
        {{"set", "--value", "9", "--coi", "1", "--mask", "mask.pam", "a.pam"}, "", "a", 255,
         [](At p) { return p.c == 0 && masked(p) ? 9.0 : p.v; }},
        // Working depths and the samples written.
        {{"add", "--depth", "16u", "--value", "1000", "a.pam"}, "", "a", 65535,
         [](At p) { return sat(p.v * 257 + 1000, 65535); }},
        {{"add", "--depth", "8u", "g16.pam", "--value", "1"}, "", "g16", 255,
         [](At p) { return sat(std::floor(p.v / 257 + 0.5) + 1); }},
        {{"sub", "--depth", "16s", "--stretch", "a.pam", "b.pam"}, "", "a", 255, [](At p) {
             double lo = 1e9, hi = -1e9;
             for (size_t i = 0; i < input("a").v.size(); ++i)
                 lo = std::min(lo, input("a").v[i] - input("b").v[i]), hi = std::max(hi, input("a").v[i] - input("b").v[i]);
             return std::floor((p.v - b(p) - lo) / (hi - lo) * 255 + 0.5);
         }},
        {{"add", "--depth", "32f", "--value", "0.25", "a.pam"}, "out.pfm", "a", 0, [](At p) { return p.v + 0.25; }},
        {{"abs", "--depth", "16s", "f.pfm"}, "out.pfm", "f", 0, [](At p) { return std::fabs(p.v); }},
        {{"and", "bw1.pam", "bw2.pam"}, "", "bw1", 1,
         [](At p) { return double(int(p.v) & int(input("bw2").at(p.x, p.y, 0))); }},
        {{"gray", "a.pam"}, "", "g8", 255,
         [](At p) { return std::floor((54 * a(p, 0) + 183 * a(p, 1) + 18 * a(p, 2)) / 256); }},
        {{"twist", "--matrix", "sepia", "--offset", "-3", "a.pam"}, "", "a", 255,
         [](At p) { return twist(p, {{101, 197, 48, 0}, {89, 176, 43, 0}, {70, 137, 34, 0}}, 8, -3); }},
        {{"twist", "--matrix", "2,0,0,-100,0,1,0,7,0,0,1,0", "--scale", "1", "a.pam"}, "", "a", 255,
         [](At p) { return twist(p, {{2, 0, 0, -100}, {0, 1, 0, 7}, {0, 0, 1, 0}}, 1, 0); }},
        {{"twist", "--matrix", "0,0,2,1,0,0,0,0,1,0,0,-1", "--scale", "1", "--depth", "32f", "a.pam"}, "out.pfm", "a", 0,
         [](At p) { return p.c == 0 ? a(p, 2) + 0.5 : p.c == 1 ? 0 : a(p, 0) / 2 - 0.5; }},
        {{"colorize", "--weights", "1,0.5,0", "g8.pam"}, "", "a", 255,
         [](At p) { return std::floor(input("g8").at(p.x, p.y, 0) * (p.c == 0 ? 1 : p.c == 1 ? 0.5 : 0)); }, 1},
        {{"greater", "a.pam", "b.pam"}, "out.pbm", "g8", 1,
         [](At p) { return double(a(p, 0) > b({p.x, p.y, 0}) && a(p, 1) > b({p.x, p.y, 1}) && a(p, 2) > b({p.x, p.y, 2})); }},
        {{"less", "--value", "300", "g8.pam"}, "", "g8", 1, [](At) { return 1.0; }},
        {{"equal", "--value", "-40", "--depth", "16s", "f.pfm"}, "", "f", 1, [](At p) { return double(p.v == -40); }},
        {{"equal", "--eps", "20", "--value", "10.5", "f.pfm"}, "", "f", 1,
         [](At p) { return double(std::fabs(p.v - 10.5) <= 20); }},
        {{"greater", "--value", "100", "--roi", "2,3,5,4", "g8.pam"}, "", "g8", 1,
         [](At p) { return double(inRoi(p) && p.v > 100); }},
        {{"less", "--value", "128", "--coi", "2", "--mask", "mask.pam", "a.pam"}, "", "g8", 1,
         [](At p) { return double(masked(p) && a(p, 1) < 128); }},
        {{"convolve", "--kernel", "3x3:1,2,1,2,4,2,1,2,1", "--shift", "4", "--border", "replicate", "g8.pam"}, "", "g8", 255,
         [](At p) { return std::floor(convolve3(kGauss, p) / 16); }},
        {{"convolve", "--kernel", "3x3:0,0,0,0,0,3,0,-1,0", "--depth", "16s", "--border", "replicate", "g8.pam"},
         "out.pfm", "g8", 0, [](At p) { return convolve3(kSkew, p); }},
        {{"convolve", "--kernel", "sobel-x", "--kernel", "sobel-y", "--combine", "max", "--depth", "16s", "--border",
          "replicate", "g8.pam"}, "out.pfm", "g8", 0,
         [](At p) { return std::max(convolve3(kSobelX, p), convolve3(kSobelY, p)); }},
        {{"convolve", "--kernel", "gauss", "--border", "constant:0", "--depth", "32f", "f.pfm"}, "out.pfm", "f", 0,
         [](At p) { return convolve3(kGauss, p, "f", false) / 16; }, 1e-3},
        // Separable: rows then columns, one shift for both.
        {{"convolve-sep", "--x", "3x1:1,0,-1", "--y", "1x3:1,2,1", "--depth", "16s", "--border", "replicate", "g8.pam"},
         "out.pfm", "g8", 0, [](At p) { return convolve3(kSobelX, p); }},
        {{"convolve-sep", "--y", "1x3:1,2,1", "--shift", "2", "--border", "replicate", "g8.pam"}, "", "g8", 255,
         [](At p) { return std::floor(convolve3({0, 1, 0, 0, 2, 0, 0, 1, 0}, p) / 4); }},
        {{"pattern", "--size", "31x17"}, "p8.pgm", "z", 255,
         [](At p) { return std::floor(127.5 + 127.5 * zonePlate(p) + 0.5); }},
        {{"pattern", "--size", "31x17", "--depth", "1u"}, "p1.pbm", "z", 1,
         [](At p) { return zonePlate(p) >= 0 ? 1.0 : 0.0; }},
        {{"pattern", "--size", "31x17", "--depth", "32f"}, "pf.pfm", "z", 0, [](At p) { return zonePlate(p); }},
    });
    // Round trips through models that hold every 8-bit colour.
    for (const auto& [to, back] : {std::pair<std::string, std::string>{"rgb2ycrcb", "ycrcb2rgb"}, {"rgb2luv", "luv2rgb"}}) {
        SCOPED_TRACE(to);
        const std::string mid = to == "rgb2luv" ? "mid.pfm" : "mid.pam";
        ASSERT_EQ(ozl({to, "--depth", to == "rgb2luv" ? "32f" : "16u", "a.pam", mid}).err, "");
        ASSERT_EQ(ozl({back, "--bits", "8", mid, "back.pam"}).err, "");
        EXPECT_EQ(compare(readPnm(at("back.pam")), input("a"), 1), "");
    }
}

// The printed histogram (bins, channel of interest, mask), stretch and equalisation maps, moments and norms.
TEST(ToolOps, Statistics) {
    auto table = [](const char* head, std::vector<int> channels, bool (*keep)(const At&)) {
        std::string s = "       levels" + std::string(head) + "\n";
        char line[128];
        for (int bin = 0; bin < 4; ++bin) {
            s += (std::snprintf(line, sizeof line, "%6d..%-5d", bin * 64, bin * 64 + 63), line);
            for (int c : channels) {
                int n = 0;
                for (int i = 0; i < kW * kH; ++i) n += keep({i % kW, i / kW}) && int(a({i % kW, i / kW}, c)) / 64 == bin;
                s += (std::snprintf(line, sizeof line, " %10d", n), line);
            }
            s += "\n";
        }
        return s;
    };
    EXPECT_EQ(ozl({"histogram", "--bins", "4", "a.pam", "--plot", "h.png"}).out,
              table("        red      green       blue", {0, 1, 2}, [](const At&) { return true; }));
    EXPECT_TRUE(exists(at("h.png")));
    EXPECT_EQ(ozl({"histogram", "--bins", "4", "--coi", "3", "--mask", "mask.pam", "a.pam"}).out, table("       blue", {2}, masked));

    // Equalisation: level v goes to 255 * (pixels at or below v) / all.
    std::vector<int> below(256, 0);
    for (double v : input("g8").v)
        for (int level = int(v); level < 256; ++level) ++below[level];
    checkCases({
        {{"stretch", "--range", "50,200", "g8.pam"}, "", "g8", 255, [](At p) { return sat(std::round((p.v - 50) * 255 / 150)); }},
        {{"equalize", "g8.pam"}, "", "g8", 255, [&](At p) { return std::floor(below[int(p.v)] * 255.0 / (kW * kH)); }},
    });
    // Stretch without a range: the darkest level becomes black, the brightest white.
    ASSERT_EQ(ozl({"stretch", "g16.pam", "s.pam"}).err, "");
    const Pixels s = readPnm(at("s.pam"));
    EXPECT_EQ(*std::min_element(s.v.begin(), s.v.end()), 0);
    EXPECT_EQ(*std::max_element(s.v.begin(), s.v.end()), 65535);

    // Moments of g8: M00, M10, M01 and mu11 on their rows.
    double m00 = 0, m10 = 0, m01 = 0, m11 = 0;
    for (int i = 0; i < kW * kH; ++i)
        m00 += input("g8").v[i], m10 += i % kW * input("g8").v[i], m01 += i / kW * input("g8").v[i], m11 += i % kW * (i / kW) * input("g8").v[i];
    std::istringstream lines(ozl({"moments", "g8.pam"}).out);
    std::map<std::string, std::pair<double, double>> rows;
    for (std::string line, order; std::getline(lines, line);) {
        std::istringstream words(line);
        double spatial, central;
        if (words >> order >> spatial >> central) rows[order] = {spatial, central};
    }
    for (const auto& [order, want] : {std::pair<std::string, double>{"0,0", m00}, {"1,0", m10}, {"0,1", m01}})
        EXPECT_NEAR(rows[order].first, want, 1e-6 * want) << order;
    EXPECT_EQ(rows["1,0"].second, 0);
    EXPECT_NEAR(rows["1,1"].second, m11 - m01 * m10 / m00, 1e-5 * m11);

    // Norms of a - b over the three channels.
    double c = 0, l1 = 0, l2 = 0, b2 = 0;
    for (size_t i = 0; i < input("a").v.size(); ++i) {
        const double d = std::fabs(input("a").v[i] - input("b").v[i]);
        c = std::max(c, d), l1 += d, l2 += d * d, b2 += input("b").v[i] * input("b").v[i];
    }
    char want[256];
    std::snprintf(want, sizeof want, "c  %.10g\nl1 %.10g\nl2 %.10g\n", c, l1, std::sqrt(l2));
    EXPECT_EQ(ozl({"norm", "a.pam", "b.pam"}).out, want);
    std::snprintf(want, sizeof want, "relative l2 %.10g\n", std::sqrt(l2) / std::sqrt(b2));
    EXPECT_EQ(ozl({"norm", "--relative", "--type", "l2", "a.pam", "b.pam"}).out, want);
}

// `info` and `--version`; every operation `list` names has help a user can follow (a usage line naming it).
TEST(ToolOps, PrintedTextsAndHelp) {
    input("a");
    EXPECT_EQ(ozl({"info", "a.pam", "g16.pam", "f.pfm"}).out,
              "a.pam: PAM 13x9 RGB 8-bit\ng16.pam: PAM 13x9 grey 16-bit\nf.pfm: PFM 13x9 grey 32-bit float\n");
    EXPECT_EQ(ozl({"--version"}).out.compare(0, 8, "ozl 2.1\n"), 0);
    const Result r = ozl({"list"});
    ASSERT_EQ(r.status, 0);
    std::istringstream lines(r.out);
    int operations = 0;
    for (std::string line, name, summary; std::getline(lines, line);) {
        if (line.compare(0, 2, "  ") != 0) continue;
        ++operations;
        std::istringstream words(line);
        std::getline(words >> name, summary);
        EXPECT_GT(summary.size(), 5u) << name;
        const Result help = ozl({"help", name});
        EXPECT_EQ(help.status, 0) << help.err;
        EXPECT_NE(help.out.find("usage: ozl " + name), std::string::npos) << help.out;
    }
    EXPECT_GE(operations, 17);
    EXPECT_NE(ozl({"help", "add"}).out.find("usage: ozl add [options] A B OUTPUT\n       ozl add [options] --value N A OUTPUT\n"), std::string::npos);
    EXPECT_EQ(ozl({"help"}).status, 0);
}

}  // namespace
}  // namespace ozltest
