// What the tool does besides one family's operations: the test pattern, the
// printed results, the list and help texts, and the demo. Each family's
// operations are checked in their own tool_ops_<family>_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include "tool/tool_cases.hpp"

namespace ozltest {
namespace {

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
