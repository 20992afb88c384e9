// The tool's operations on small generated files: operand order, constants,
// regions, channels, masks, working depths and the output's samples, each
// checked value by value against the documented arithmetic; the test
// pattern, the printed results, the list and help texts, and the demo.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

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

// The zone plate as the library documents it, at every depth the files hold.
TEST(ToolOps, PatternMatchesTheZonePlateFormula) {
    const int w = 31, h = 17;
    const double cx = (w - 1) / 2.0, cy = (h - 1) / 2.0, pi = 3.14159265358979323846;
    auto value = [&](int x, int y) {
        const double dx = x - cx, dy = y - cy;
        return std::sin(pi * (dx * dx + dy * dy) / std::max(w, h));
    };
    struct {
        std::vector<std::string> args;
        const char* output;
        int maxval;
        std::function<double(double)> want;
    } const cases[] = {
        {{}, "p8.pgm", 255, [](double v) { return std::floor(127.5 + 127.5 * v + 0.5); }},
        {{"--depth", "16u"}, "p16.pgm", 65535, [](double v) { return std::floor(32767.5 + 32767.5 * v + 0.5); }},
        {{"--depth", "1u"}, "p1.pbm", 1, [](double v) { return v >= 0 ? 1.0 : 0.0; }},
        {{"--depth", "32f"}, "pf.pfm", 0, [](double v) { return v; }},
    };
    for (const auto& t : cases) {
        std::vector<std::string> args = {"pattern", "--size", "31x17"};
        args.insert(args.end(), t.args.begin(), t.args.end());
        args.push_back(t.output);
        const Result r = ozl(args);
        SCOPED_TRACE(joined(args));
        ASSERT_EQ(r.status, 0) << r.err;
        const Pixels got = readPnm(at(t.output));
        ASSERT_EQ(got.maxval, t.maxval);
        EXPECT_EQ(expectEach(got, got, [&](int x, int y, int, double) { return t.want(value(x, y)); },
                             t.maxval == 0 ? 1e-6 : 0),
                  "");
    }
}

TEST(ToolOps, PrintedResults) {
    inputs();
    Result r = ozl({"info", "a.pam", "g16.pam", "f.pfm"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out,
              "a.pam: PAM 13x9 RGB 8-bit\n"
              "g16.pam: PAM 13x9 grey 16-bit\n"
              "f.pfm: PFM 13x9 grey 32-bit float\n");
    r = ozl({"--version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.compare(0, 8, "ozl 2.1\n"), 0) << r.out;
}

// Every operation `list` names has help a user can follow: a usage line
// naming it, and the options it accepts.
TEST(ToolOps, ListAndHelpCoverEveryOperation) {
    const Result list = ozl({"list"});
    ASSERT_EQ(list.status, 0);
    std::istringstream lines(list.out);
    std::string line;
    int operations = 0;
    while (std::getline(lines, line)) {
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
    const Result help = ozl({"help", "add"});
    EXPECT_NE(help.out.find("usage: ozl add [options] A B OUTPUT\n"
                            "       ozl add [options] --value N A OUTPUT\n"),
              std::string::npos)
        << help.out;
    EXPECT_NE(help.out.find("--roi x,y,w,h"), std::string::npos);
    EXPECT_EQ(ozl({"help"}).status, 0);
}

// The demo writes each result and the contact sheet, and prints a rate for
// each operation it timed; on the embedded pictures and on a given one.
TEST(ToolOps, DemoWritesResultsAndContactSheet) {
    inputs();
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"demo", "--out", "demo"},
          std::vector<std::string>{"demo", "a.pam", "--out", "demo-a/nested"}}) {
        SCOPED_TRACE(joined(args));
        const Result r = ozl(args);
        ASSERT_EQ(r.status, 0) << r.err;
        const std::string dir = at(args.back());
        EXPECT_TRUE(exists(dir + "/contact.png"));
        EXPECT_TRUE(exists(dir + "/01-input-colour.png"));
        EXPECT_NE(r.out.find("MP/s"), std::string::npos);
        int timed = 0;
        std::istringstream lines(r.out);
        std::string line;
        while (std::getline(lines, line))
            if (line.compare(0, 5, "  ozl") == 0) ++timed;
        EXPECT_GE(timed, 4) << r.out;
    }
}

}  // namespace
}  // namespace ozltest
