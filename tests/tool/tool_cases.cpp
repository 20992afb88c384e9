#include "tool/tool_cases.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace ozltest {

Inputs::Inputs()
    : a(randomPixels(kW, kH, 3, 255, 1)), b(randomPixels(kW, kH, 3, 255, 2)),
      grey8(randomPixels(kW, kH, 1, 255, 8)), grey16(randomPixels(kW, kH, 1, 65535, 4)),
      mask(randomPixels(kW, kH, 1, 1, 3)), bw1(randomPixels(kW, kH, 1, 1, 5)),
      bw2(randomPixels(kW, kH, 1, 1, 6)), signedF(kW, kH, 1, 0) {
    writePam(at("a.pam"), a);
    writePam(at("b.pam"), b);
    writePam(at("g8.pam"), grey8);
    writePam(at("g16.pam"), grey16);
    Pixels m = mask;
    m.maxval = 255;
    for (double& v : m.v) v *= 255;
    writePam(at("mask.pam"), m);
    writePam(at("bw1.pam"), bw1);
    writePam(at("bw2.pam"), bw2);
    const Pixels r = randomPixels(kW, kH, 1, 600, 7);
    for (size_t i = 0; i < r.v.size(); ++i) signedF.v[i] = r.v[i] - 300;
    writePam(at("f.pfm"), signedF);
}

const Inputs& inputs() {
    static const Inputs in;
    return in;
}

const Pixels& input(const std::string& name) {
    const Inputs& in = inputs();
    if (name == "a") return in.a;
    if (name == "b") return in.b;
    if (name == "g8") return in.grey8;
    if (name == "g16") return in.grey16;
    if (name == "f") return in.signedF;
    if (name == "bw1") return in.bw1;
    ADD_FAILURE() << "no input named " << name;
    return in.a;
}

double sat(double v, double hi) { return std::min(hi, std::max(0.0, v)); }
bool inRoi(int x, int y) { return x >= 2 && x < 7 && y >= 3 && y < 7; }
bool masked(int x, int y) { return inputs().mask.at(x, y, 0) != 0; }
double b(int x, int y, int c) { return inputs().b.at(x, y, c); }

std::string joined(const std::vector<std::string>& words) {
    std::string s;
    for (const std::string& w : words) s += (s.empty() ? "" : " ") + w;
    return s;
}

void checkCases(const std::vector<OpCase>& cases) {
    inputs();
    for (const OpCase& t : cases) {
        const std::string output = t.output.empty() ? "out.pam" : t.output;
        std::vector<std::string> args = t.args;
        args.push_back(output);
        removeFile(at(output));
        const Result r = ozl(args);
        SCOPED_TRACE("ozl " + joined(args));
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        const Pixels got = readPnm(at(output));
        EXPECT_EQ(got.maxval, t.maxval);
        const double tolerance = t.tolerance > 0 ? t.tolerance : t.maxval == 0 ? 1e-6 : 0;
        EXPECT_EQ(expectEach(got, input(t.input), t.want, tolerance), "");
    }
}

}  // namespace ozltest
