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

double a(int x, int y, int c) { return input("a").at(x, y, c); }
double g8(int x, int y) { return input("g8").at(x, y, 0); }

int mulScale(double v, double k) {
    const unsigned p = static_cast<unsigned>(v) * static_cast<unsigned>(k);
    return static_cast<int>((p + (p >> 8) + 1) >> 8);
}

double twistRow(int x, int y, const int (&row)[4], int scale, int offset) {
    const double sum = row[0] * a(x, y, 0) + row[1] * a(x, y, 1) + row[2] * a(x, y, 2) + row[3];
    return sat(std::floor((sum + (scale ? 1 << (scale - 1) : 0)) / (1 << scale)) + offset);
}

// True convolution of g8 at (x, y) with a 3x3 kernel anchored at its centre, outside pixels replicated: sum
// k[j][i] src(x + 1 - i, y + 1 - j).
double convolve3(const std::vector<int>& k, int x, int y) {
    double sum = 0;
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 3; ++i) sum += k[j * 3 + i] * g8(std::clamp(x + 1 - i, 0, kW - 1), std::clamp(y + 1 - j, 0, kH - 1));
    return sum;
}

const std::vector<int> kGauss = {1, 2, 1, 2, 4, 2, 1, 2, 1}, kSobelX = {1, 0, -1, 2, 0, -2, 1, 0, -1},
                       kSobelY = {1, 2, 1, 0, 0, 0, -1, -2, -1}, kSkew = {0, 0, 0, 0, 0, 3, 0, -1, 0};

// The zone plate as the library documents it.
double zonePlate(int x, int y) {
    const double dx = x - 15, dy = y - 8;  // a 31x17 plate: no sample falls on a zero of the sine
    return std::sin(3.14159265358979323846 * (dx * dx + dy * dy) / 31);
}

// Each operation's output value by value: operand order, constants, regions, channels, masks and working
// depths; the colour model a file is read as, the twist's rows, rounding and offset, grey's weights;
// comparisons (the relation in every channel, constants beyond the depth, the 32f tolerance); inline and
// named kernels turned as true convolution turns them (kSkew catches a kernel not turned), shifts, combining,
// separable pairs, borders; the pattern at every depth the files hold.
TEST(ToolOps, OperationsValueByValue) {
    checkCases({
        {{"add", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double v) { return sat(v + b(x, y, c)); }},
        {{"add", "a.pam", "--value", "40"}, "", "a", 255, [](int, int, int, double v) { return sat(v + 40); }},
        {{"add", "--value=-40", "a.pam"}, "", "a", 255, [](int, int, int, double v) { return sat(v - 40); }},
        {{"sub", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double v) { return sat(v - b(x, y, c)); }},
        {{"sub", "--flip", "--value", "300", "a.pam"}, "", "a", 255, [](int, int, int, double v) { return sat(300 - v); }},
        {{"mul", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double v) { return sat(v * b(x, y, c)); }},
        {{"mul", "a.pam", "--value", "3"}, "", "a", 255, [](int, int, int, double v) { return sat(v * 3); }},
        {{"mulscale", "a.pam", "b.pam"}, "", "a", 255,
         [](int x, int y, int c, double v) { return mulScale(v, b(x, y, c)); }},
        {{"mulscale", "a.pam", "--value", "128"}, "", "a", 255, [](int, int, int, double v) { return mulScale(v, 128); }},
        {{"square", "a.pam"}, "", "a", 255, [](int, int, int, double v) { return sat(v * v); }},
        {{"and", "a.pam", "b.pam"}, "", "a", 255,
         [](int x, int y, int c, double v) { return double(int(v) & int(b(x, y, c))); }},
        {{"or", "a.pam", "--value", "0x81"}, "", "a", 255, [](int, int, int, double v) { return double(int(v) | 0x81); }},
        {{"xor", "a.pam", "b.pam"}, "", "a", 255,
         [](int x, int y, int c, double v) { return double(int(v) ^ int(b(x, y, c))); }},
        {{"not", "a.pam"}, "", "a", 255, [](int, int, int, double v) { return 255 - v; }},
        {{"lshift", "--by", "2", "a.pam"}, "", "a", 255, [](int, int, int, double v) { return double((int(v) << 2) & 255); }},
        {{"rshift", "--by", "3", "a.pam"}, "", "a", 255, [](int, int, int, double v) { return double(int(v) >> 3); }},
        {{"set", "--value", "300", "a.pam"}, "", "a", 255, [](int, int, int, double) { return 255.0; }},
        // Region, channel and mask: the rest of the output keeps the input (or the --onto picture; a copy
        // leaves zeros).
        {{"add", "a.pam", "b.pam", "--roi", "2,3,5,4", "--mask", "mask.pam", "--coi", "3"}, "", "a", 255,
         [](int x, int y, int c, double v) { return inRoi(x, y) && masked(x, y) && c == 2 ? sat(v + b(x, y, c)) : v; }},
        {{"add", "--value", "40", "--onto", "b.pam", "--roi", "2,3,5,4", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double v) { return inRoi(x, y) ? sat(v + 40) : b(x, y, c); }},
        {{"copy", "--mask", "mask.pam", "--onto", "b.pam", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double v) { return masked(x, y) ? v : b(x, y, c); }},
        {{"copy", "--roi", "2,3,5,4", "a.pam"}, "", "a", 255, [](int x, int y, int, double v) { return inRoi(x, y) ? v : 0.0; }},
        {{"set", "--value", "9", "--coi", "1", "--mask", "mask.pam", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double v) { return c == 0 && masked(x, y) ? 9.0 : v; }},
        // Working depths and the samples written.
        {{"add", "--depth", "16u", "--value", "1000", "a.pam"}, "", "a", 65535,
         [](int, int, int, double v) { return sat(v * 257 + 1000, 65535); }},
        {{"add", "g16.pam", "--value", "30000"}, "", "g16", 65535, [](int, int, int, double v) { return sat(v + 30000, 65535); }},
        {{"add", "--depth", "8u", "g16.pam", "--value", "1"}, "", "g16", 255,
         [](int, int, int, double v) { return sat(std::floor(v / 257 + 0.5) + 1); }},
        {{"sub", "--depth", "16s", "--stretch", "a.pam", "b.pam"}, "", "a", 255, [](int x, int y, int c, double v) {
             double lo = 1e9, hi = -1e9;
             for (size_t i = 0; i < input("a").v.size(); ++i) {
                 const double d = input("a").v[i] - input("b").v[i];
                 lo = std::min(lo, d), hi = std::max(hi, d);
             }
             return std::floor((v - b(x, y, c) - lo) / (hi - lo) * 255 + 0.5);
         }},
        {{"add", "--depth", "32f", "--value", "0.25", "a.pam"}, "out.pfm", "a", 0, [](int, int, int, double v) { return v + 0.25; }},
        {{"abs", "--depth", "16s", "f.pfm"}, "out.pfm", "f", 0, [](int, int, int, double v) { return std::fabs(v); }},
        {{"sub", "f.pfm", "--value", "0.5", "--flip"}, "out.pfm", "f", 0, [](int, int, int, double v) { return 0.5 - v; }},
        {{"and", "bw1.pam", "bw2.pam"}, "", "bw1", 1,
         [](int x, int y, int, double v) { return double(int(v) & int(input("bw2").at(x, y, 0))); }},
        {{"gray", "a.pam"}, "", "g8", 255,
         [](int x, int y, int, double) { return std::floor((54 * a(x, y, 0) + 183 * a(x, y, 1) + 18 * a(x, y, 2)) / 256); }},
        {{"twist", "--matrix", "sepia", "--offset", "-3", "a.pam"}, "", "a", 255, [](int x, int y, int c, double) {
             static const int rows[3][4] = {{101, 197, 48, 0}, {89, 176, 43, 0}, {70, 137, 34, 0}};
             return twistRow(x, y, rows[c], 8, -3);
         }},
        {{"twist", "--matrix", "2,0,0,-100,0,1,0,7,0,0,1,0", "--scale", "1", "a.pam"}, "", "a", 255,
         [](int x, int y, int c, double) {
             static const int rows[3][4] = {{2, 0, 0, -100}, {0, 1, 0, 7}, {0, 0, 1, 0}};
             return twistRow(x, y, rows[c], 1, 0);
         }},
        {{"twist", "--matrix", "0,0,2,1,0,0,0,0,1,0,0,-1", "--scale", "1", "--depth", "32f", "a.pam"}, "out.pfm", "a", 0,
         [](int x, int y, int c, double) { return c == 0 ? a(x, y, 2) + 0.5 : c == 1 ? 0 : a(x, y, 0) / 2 - 0.5; }},
        {{"colorize", "--weights", "1,0.5,0", "g8.pam"}, "", "a", 255,
         [](int x, int y, int c, double) { return std::floor(g8(x, y) * (c == 0 ? 1 : c == 1 ? 0.5 : 0)); }, 1},
        {{"less", "a.pam", "b.pam"}, "", "g8", 1, [](int x, int y, int, double) {
             return double(a(x, y, 0) < b(x, y, 0) && a(x, y, 1) < b(x, y, 1) && a(x, y, 2) < b(x, y, 2)); }},
        {{"greater", "a.pam", "b.pam"}, "out.pbm", "g8", 1, [](int x, int y, int, double) {
             return double(a(x, y, 0) > b(x, y, 0) && a(x, y, 1) > b(x, y, 1) && a(x, y, 2) > b(x, y, 2)); }},
        {{"greater", "--value", "127", "g8.pam"}, "", "g8", 1, [](int, int, int, double v) { return double(v > 127); }},
        {{"less", "--value", "300", "g8.pam"}, "", "g8", 1, [](int, int, int, double) { return 1.0; }},
        {{"equal", "--value", "-40", "--depth", "16s", "f.pfm"}, "", "f", 1, [](int, int, int, double v) { return double(v == -40); }},
        {{"equal", "--eps", "20", "--value", "10.5", "f.pfm"}, "", "f", 1,
         [](int, int, int, double v) { return double(std::fabs(v - 10.5) <= 20); }},
        {{"greater", "--value", "100", "--roi", "2,3,5,4", "g8.pam"}, "", "g8", 1,
         [](int x, int y, int, double v) { return double(inRoi(x, y) && v > 100); }},
        {{"less", "--value", "128", "--coi", "2", "--mask", "mask.pam", "a.pam"}, "", "g8", 1,
         [](int x, int y, int, double) { return double(masked(x, y) && a(x, y, 1) < 128); }},
        {{"convolve", "--kernel", "3x3:1,2,1,2,4,2,1,2,1", "--shift", "4", "--border", "replicate", "g8.pam"}, "", "g8", 255,
         [](int x, int y, int, double) { return std::floor(convolve3(kGauss, x, y) / 16); }},
        {{"convolve", "--kernel", "3x3:0,0,0,0,0,3,0,-1,0", "--depth", "16s", "--border", "replicate", "g8.pam"},
         "out.pfm", "g8", 0, [](int x, int y, int, double) { return convolve3(kSkew, x, y); }},
        {{"convolve", "--kernel", "sobel-x", "--kernel", "sobel-y", "--combine", "max", "--depth", "16s", "--border",
          "replicate", "g8.pam"}, "out.pfm", "g8", 0,
         [](int x, int y, int, double) { return std::max(convolve3(kSobelX, x, y), convolve3(kSobelY, x, y)); }},
        {{"convolve", "--kernel", "sobel-x", "--border", "replicate", "g8.pam"}, "", "g8", 255,
         [](int x, int y, int, double) { return sat(convolve3(kSobelX, x, y)); }},
        {{"convolve", "--kernel", "gauss", "--border", "constant:0", "--depth", "32f", "f.pfm"}, "out.pfm", "f", 0,
         [](int x, int y, int, double) {
             double sum = 0;
             for (int j = -1; j <= 1; ++j)
                 for (int i = -1; i <= 1; ++i)
                     if (x + i >= 0 && x + i < kW && y + j >= 0 && y + j < kH)
                         sum += kGauss[(j + 1) * 3 + i + 1] * input("f").at(x + i, y + j, 0);
             return sum / 16;
         }, 1e-3},
        // Separable: rows then columns, one shift for both.
        {{"convolve-sep", "--x", "3x1:1,0,-1", "--y", "1x3:1,2,1", "--depth", "16s", "--border", "replicate", "g8.pam"},
         "out.pfm", "g8", 0, [](int x, int y, int, double) { return convolve3(kSobelX, x, y); }},
        {{"convolve-sep", "--y", "1x3:1,2,1", "--shift", "2", "--border", "replicate", "g8.pam"}, "", "g8", 255,
         [](int x, int y, int, double) { return std::floor(convolve3({0, 1, 0, 0, 2, 0, 0, 1, 0}, x, y) / 4); }},
        {{"pattern", "--size", "31x17"}, "p8.pgm", "z", 255,
         [](int x, int y, int, double) { return std::floor(127.5 + 127.5 * zonePlate(x, y) + 0.5); }},
        {{"pattern", "--size", "31x17", "--depth", "16u"}, "p16.pgm", "z", 65535,
         [](int x, int y, int, double) { return std::floor(32767.5 + 32767.5 * zonePlate(x, y) + 0.5); }},
        {{"pattern", "--size", "31x17", "--depth", "1u"}, "p1.pbm", "z", 1,
         [](int x, int y, int, double) { return zonePlate(x, y) >= 0 ? 1.0 : 0.0; }},
        {{"pattern", "--size", "31x17", "--depth", "32f"}, "pf.pfm", "z", 0,
         [](int x, int y, int, double) { return zonePlate(x, y); }},
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
    auto table = [](const char* head, std::vector<int> channels, bool (*keep)(int, int)) {
        std::string s = "       levels" + std::string(head) + "\n";
        char line[128];
        for (int bin = 0; bin < 4; ++bin) {
            std::snprintf(line, sizeof line, "%6d..%-5d", bin * 64, bin * 64 + 63);
            s += line;
            for (int c : channels) {
                int n = 0;
                for (int y = 0; y < kH; ++y)
                    for (int x = 0; x < kW; ++x) n += keep(x, y) && int(a(x, y, c)) / 64 == bin;
                std::snprintf(line, sizeof line, " %10d", n);
                s += line;
            }
            s += "\n";
        }
        return s;
    };
    Result r = ozl({"histogram", "--bins", "4", "a.pam", "--plot", "h.png"});
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.out, table("        red      green       blue", {0, 1, 2}, [](int, int) { return true; }));
    EXPECT_TRUE(exists(at("h.png")));
    r = ozl({"histogram", "--bins", "4", "--coi", "3", "--mask", "mask.pam", "a.pam"});
    EXPECT_EQ(r.out, table("       blue", {2}, masked));

    // Equalisation: level v goes to 255 * (pixels at or below v) / all.
    std::vector<int> below(256, 0);
    for (double v : input("g8").v) ++below[static_cast<int>(v)];
    for (int v = 1; v < 256; ++v) below[v] += below[v - 1];
    checkCases({
        {{"stretch", "--range", "50,200", "g8.pam"}, "", "g8", 255,
         [](int, int, int, double v) { return sat(std::round((v - 50) * 255 / 150)); }},
        {{"equalize", "g8.pam"}, "", "g8", 255,
         [&below](int, int, int, double v) { return std::floor(below[static_cast<int>(v)] * 255.0 / (kW * kH)); }},
    });
    // Stretch without a range: the darkest level becomes black, the brightest white.
    ASSERT_EQ(ozl({"stretch", "g16.pam", "s.pam"}).err, "");
    const Pixels s = readPnm(at("s.pam"));
    EXPECT_EQ(*std::min_element(s.v.begin(), s.v.end()), 0);
    EXPECT_EQ(*std::max_element(s.v.begin(), s.v.end()), 65535);

    // Moments of g8: M00, M10, M01 and mu11 on their rows.
    double m00 = 0, m10 = 0, m01 = 0, m11 = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) m00 += g8(x, y), m10 += x * g8(x, y), m01 += y * g8(x, y), m11 += x * y * g8(x, y);
    r = ozl({"moments", "g8.pam"});
    ASSERT_EQ(r.err, "");
    std::istringstream lines(r.out);
    std::map<std::string, std::pair<double, double>> rows;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string order;
        double spatial, central, normalised;
        if (words >> order >> spatial >> central >> normalised) rows[order] = {spatial, central};
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

// `info` and `--version`; every operation `list` names has help a user can follow (a usage line naming it,
// the options it accepts).
TEST(ToolOps, PrintedTextsListAndHelp) {
    input("a");
    Result r = ozl({"info", "a.pam", "g16.pam", "f.pfm"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "a.pam: PAM 13x9 RGB 8-bit\ng16.pam: PAM 13x9 grey 16-bit\nf.pfm: PFM 13x9 grey 32-bit float\n");
    r = ozl({"--version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.compare(0, 8, "ozl 2.1\n"), 0) << r.out;
    r = ozl({"list"});
    ASSERT_EQ(r.status, 0);
    std::istringstream lines(r.out);
    int operations = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 2, "  ") != 0) continue;
        std::istringstream words(line);
        std::string name, summary;
        words >> name;
        std::getline(words, summary);
        SCOPED_TRACE(name);
        EXPECT_GT(summary.size(), 5u);
        const Result help = ozl({"help", name});
        EXPECT_EQ(help.status, 0) << help.err;
        EXPECT_NE(help.out.find("usage: ozl " + name), std::string::npos) << help.out;
        ++operations;
    }
    EXPECT_GE(operations, 17);
    EXPECT_NE(ozl({"help", "add"}).out.find("usage: ozl add [options] A B OUTPUT\n       ozl add [options] --value N A OUTPUT\n"), std::string::npos);
    EXPECT_EQ(ozl({"help"}).status, 0);
}

// The demo on a given picture writes each result and the contact sheet, and prints a rate for each operation
// it timed.
TEST(ToolOps, DemoWritesResultsAndContactSheet) {
    input("a");
    const Result r = ozl({"demo", "a.pam", "--out", "demo-a/nested"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(exists(at("demo-a/nested/contact.png")) && exists(at("demo-a/nested/01-input-colour.png")));
    int timed = 0;
    std::istringstream lines(r.out);
    for (std::string line; std::getline(lines, line);) timed += line.compare(0, 5, "  ozl") == 0;
    EXPECT_GE(timed, 4) << r.out;
    EXPECT_NE(r.out.find("MP/s"), std::string::npos);
}

}  // namespace
}  // namespace ozltest
