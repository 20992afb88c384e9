// Statistics from the command line: the printed histogram (bins, channel of
// interest, mask), stretch and equalisation maps, moments and norms, each
// against sums the test makes itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include "tool/tool_cases.hpp"

namespace ozltest {
namespace {

// Counts of the bins of width 64 over channel c of a picture, where keep().
std::vector<int> quarters(const Pixels& p, int c, bool (*keep)(int, int)) {
    std::vector<int> n(4, 0);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            if (keep(x, y)) ++n[static_cast<int>(p.at(x, y, c)) / 64];
    return n;
}

bool everywhere(int, int) { return true; }

std::string table(const char* head, const std::vector<std::vector<int>>& columns) {
    std::ostringstream s;
    char line[128];
    std::snprintf(line, sizeof line, "%13s", "levels");
    s << line << head << "\n";
    for (int b = 0; b < 4; ++b) {
        std::snprintf(line, sizeof line, "%6d..%-5d", b * 64, b * 64 + 63);
        s << line;
        for (const auto& col : columns) {
            std::snprintf(line, sizeof line, " %10d", col[b]);
            s << line;
        }
        s << "\n";
    }
    return s.str();
}

TEST(ToolOps, Statistics) {
    const Inputs& in = inputs();
    Result r = ozl({"histogram", "--bins", "4", "a.pam", "--plot", "h.png"});
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.out, table("        red      green       blue",
                           {quarters(in.a, 0, everywhere), quarters(in.a, 1, everywhere),
                            quarters(in.a, 2, everywhere)}));
    EXPECT_TRUE(exists(at("h.png")));
    r = ozl({"histogram", "--bins", "4", "--coi", "3", "--mask", "mask.pam", "a.pam"});
    EXPECT_EQ(r.out, table("       blue", {quarters(in.a, 2, masked)}));

    // Equalisation: level v goes to 255 * (pixels at or below v) / all.
    std::vector<int> below(256, 0);
    for (double v : in.grey8.v) ++below[static_cast<int>(v)];
    for (int v = 1; v < 256; ++v) below[v] += below[v - 1];
    checkCases({
        {{"stretch", "--range", "50,200", "g8.pam"}, "", "g8", 255,
         [](int, int, int, double a) { return sat(std::round((a - 50) * 255 / 150)); }},
        {{"equalize", "g8.pam"}, "", "g8", 255,
         [&below](int, int, int, double a) {
             return std::floor(below[static_cast<int>(a)] * 255.0 / (kW * kH));
         }},
    });
    // Stretch without a range: the darkest level becomes black, the brightest white.
    ASSERT_EQ(ozl({"stretch", "g16.pam", "s.pam"}).err, "");
    const Pixels s = readPnm(at("s.pam"));
    EXPECT_EQ(*std::min_element(s.v.begin(), s.v.end()), 0);
    EXPECT_EQ(*std::max_element(s.v.begin(), s.v.end()), 65535);

    // Moments of g8: M00, M10, M01 and mu11 on their rows.
    double m00 = 0, m10 = 0, m01 = 0, m11 = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const double v = in.grey8.at(x, y, 0);
            m00 += v, m10 += x * v, m01 += y * v, m11 += x * y * v;
        }
    r = ozl({"moments", "g8.pam"});
    ASSERT_EQ(r.err, "");
    std::istringstream lines(r.out);
    std::string line;
    std::map<std::string, std::vector<double>> rows;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string order;
        double spatial, central, normalised;
        if (words >> order >> spatial >> central >> normalised) rows[order] = {spatial, central};
    }
    EXPECT_NEAR(rows["0,0"][0], m00, 1e-6 * m00);
    EXPECT_NEAR(rows["1,0"][0], m10, 1e-6 * m10);
    EXPECT_NEAR(rows["0,1"][0], m01, 1e-6 * m01);
    EXPECT_EQ(rows["1,0"][1], 0);
    EXPECT_NEAR(rows["1,1"][1], m11 - m01 * m10 / m00, 1e-5 * m11);

    // Norms of a - b over the three channels.
    double c = 0, l1 = 0, l2 = 0, b2 = 0;
    for (std::size_t i = 0; i < in.a.v.size(); ++i) {
        const double d = std::fabs(in.a.v[i] - in.b.v[i]);
        c = std::max(c, d), l1 += d, l2 += d * d, b2 += in.b.v[i] * in.b.v[i];
    }
    r = ozl({"norm", "a.pam", "b.pam"});
    char want[256];
    std::snprintf(want, sizeof want, "c  %.10g\nl1 %.10g\nl2 %.10g\n", c, l1, std::sqrt(l2));
    EXPECT_EQ(r.out, want);
    r = ozl({"norm", "--relative", "--type", "l2", "a.pam", "b.pam"});
    std::snprintf(want, sizeof want, "relative l2 %.10g\n", std::sqrt(l2) / std::sqrt(b2));
    EXPECT_EQ(r.out, want);
    EXPECT_EQ(ozl({"norm", "--relative", "a.pam"}).err,
              "ozl: norm: --relative needs a second image\n");
    EXPECT_EQ(ozl({"stretch", "--range", "9,3", "g8.pam", "o.pam"}).err,
              "ozl: stretch: --range: lo,hi with lo < hi\n");
}

}  // namespace
}  // namespace ozltest
