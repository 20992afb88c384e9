#include "tool/tool_harness.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <unistd.h>
#include <sys/wait.h>

namespace ozltest {
namespace {
std::string toolPath, workFolder, ioFolder;
}  // namespace

std::string at(const std::string& name) { return workFolder + "/" + name; }

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::string readBytes(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

void writeBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string joined(const std::vector<std::string>& words) {
    std::string s;
    for (const std::string& w : words) s += (s.empty() ? "" : " ") + w;
    return s;
}

// Through the shell, every word quoted, in the work folder.
Result ozl(const std::vector<std::string>& args) {
    auto quoted = [](const std::string& w) {
        std::string q = "'";
        for (char ch : w) q += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
        return q + "'";
    };
    std::string command = "cd " + quoted(workFolder) + " && exec " + quoted(toolPath);
    for (const std::string& a : args) command += " " + quoted(a);
    const int status = std::system((command + " >" + quoted(ioFolder + "/stdout") + " 2>" + quoted(ioFolder + "/stderr")).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), readBytes(ioFolder + "/stdout"),
            readBytes(ioFolder + "/stderr")};
}

// --------------------------------------------------------------------------- PNM, apart from the tool's codec
// (the tests run on little-endian hosts: floats are written as they lie in memory).

namespace {

struct Cursor {
    const std::string& s;
    size_t i = 2;  // past the magic number
    bool bad = false;
    std::string word() {
        while (i < s.size() && (std::isspace(static_cast<unsigned char>(s[i])) || s[i] == '#'))
            i = s[i] == '#' ? s.find('\n', i) : i + 1;
        const size_t start = i;
        while (i < s.size() && !std::isspace(static_cast<unsigned char>(s[i]))) ++i;
        return s.substr(start, i - start);
    }
    long number() {
        const std::string w = word();
        return w.empty() || w.find_first_not_of("0123456789") != std::string::npos ? (bad = true, 0) : std::stol(w);
    }
    unsigned byte() { return i < s.size() ? static_cast<unsigned char>(s[i++]) : (bad = true, 0); }
};

}  // namespace

Pixels readPnm(const std::string& path) {
    const std::string bytes = readBytes(path);
    const char kind = bytes.size() < 2 || bytes[0] != 'P' ? '?' : bytes[1];
    Cursor c{bytes};
    Pixels p;
    bool little = false;
    if (kind == '7') {
        std::map<std::string, long> head;
        for (std::string key = c.word(); key != "ENDHDR" && !c.bad; key = c.word())
            key == "TUPLTYPE" ? (void)c.word() : (void)(head[key] = c.number());
        p = Pixels(head["WIDTH"], head["HEIGHT"], head["DEPTH"], head["MAXVAL"]);
    } else if (std::strchr("456Ff", kind)) {
        const long w = c.number(), h = c.number();
        const bool pfm = kind == 'F' || kind == 'f';
        little = pfm && std::atof(c.word().c_str()) < 0;
        p = Pixels(w, h, kind == '6' || kind == 'F' ? 3 : 1, pfm ? 0 : kind == '4' ? 1 : int(c.number()));
    } else {
        ADD_FAILURE() << path << ": not a PNM file";
        return Pixels();
    }
    ++c.i;  // the newline after the header
    if (kind == 'F' || kind == 'f') {  // rows bottom to top, little-endian when the scale is negative
        for (int y = p.height - 1; y >= 0; --y)
            for (int x = 0; x < p.width * p.channels; ++x) {
                uint32_t u = 0;
                for (int k = 0; k < 4; ++k) u |= c.byte() << (little ? 8 * k : 24 - 8 * k);
                float f;
                std::memcpy(&f, &u, 4);
                p.v[size_t(y) * p.width * p.channels + x] = f;
            }
    } else if (kind == '4') {  // black bits are 1
        for (int y = 0; y < p.height; ++y)
            for (int x = 0, bits = 0; x < p.width; ++x) p.at(x, y, 0) = ((x % 8 ? bits : bits = c.byte()) >> (7 - x % 8)) & 1 ? 0 : 1;
    } else {
        for (double& v : p.v) {
            v = c.byte();
            if (p.maxval > 255) v = v * 256 + c.byte();
        }
    }
    if (c.bad) ADD_FAILURE() << path << ": corrupt or short";
    return c.bad ? Pixels() : p;
}

void writePam(const std::string& path, const Pixels& p, bool plain) {
    const std::string size = std::to_string(p.width) + " " + std::to_string(p.height) + "\n";
    std::string s;
    if (plain) {
        const char kind = p.maxval == 1 ? '1' : p.channels == 3 ? '3' : '2';
        s = std::string("P") + kind + "\n# written by the tests\n" + size + (kind == '1' ? "" : std::to_string(p.maxval) + "\n");
        for (size_t i = 0; i < p.v.size(); ++i) {
            s += kind == '1' ? (p.v[i] != 0 ? "0" : "1") : std::to_string(static_cast<long>(p.v[i]));
            s += (i + 1) % size_t(p.width * p.channels) == 0 ? '\n' : ' ';
        }
    } else if (p.maxval == 0) {
        s = std::string(p.channels == 3 ? "PF" : "Pf") + "\n" + size + "-1\n";
        for (int y = p.height - 1; y >= 0; --y)
            for (int x = 0; x < p.width * p.channels; ++x) {
                const float f = static_cast<float>(p.v[size_t(y) * p.width * p.channels + x]);
                s.append(reinterpret_cast<const char*>(&f), 4);
            }
    } else {
        static const char* const kTuples[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
        s = "P7\nWIDTH " + std::to_string(p.width) + "\nHEIGHT " + std::to_string(p.height) + "\nDEPTH " +
            std::to_string(p.channels) + "\nMAXVAL " + std::to_string(p.maxval) + "\nTUPLTYPE " +
            (p.maxval == 1 ? "BLACKANDWHITE" : kTuples[p.channels - 1]) + "\nENDHDR\n";
        for (double v : p.v) s += (p.maxval > 255 ? std::string(1, char(unsigned(v) >> 8)) : "") + char(unsigned(v) & 255);
    }
    writeBytes(path, s);
}

Pixels randomPixels(int w, int h, int c, int maxval, unsigned seed) {
    Pixels p(w, h, c, maxval);
    std::mt19937 rng(seed);
    for (double& v : p.v) v = std::uniform_int_distribution<int>(0, maxval)(rng);
    return p;
}

// "" when got == f({x, y, c, a's value there}) within tolerance everywhere, else the first miss.
std::string expectEach(const Pixels& got, const Pixels& a, const Want& f, double tolerance) {
    auto shape = [](const Pixels& p) { return joined({std::to_string(p.width), std::to_string(p.height), std::to_string(p.channels)}); };
    if (shape(got) != shape(a)) return "shape " + shape(got) + ", want " + shape(a);
    for (int y = 0; y < got.height; ++y)
        for (int x = 0; x < got.width; ++x)
            for (int c = 0; c < got.channels; ++c) {
                const double want = f({x, y, c, a.at(x, y, c)}), have = got.at(x, y, c);
                if (std::fabs(have - want) <= tolerance || (std::isnan(have) && std::isnan(want))) continue;
                std::ostringstream s;
                s << "at (" << x << ", " << y << ") channel " << c << ": " << have << ", want " << want << " (input "
                  << a.at(x, y, c) << ")";
                return s.str();
            }
    return "";
}

std::string compare(const Pixels& got, const Pixels& want, double tolerance) {
    if (got.maxval != want.maxval) return "maxval " + std::to_string(got.maxval) + ", want " + std::to_string(want.maxval);
    return expectEach(got, want, [](const At& p) { return p.v; }, tolerance);
}

// --------------------------------------------------------------------------- The operation tests' inputs and
// check.

const Pixels& input(const std::string& name) {
    static const std::map<std::string, Pixels> pictures = [] {
        std::map<std::string, Pixels> p = {
            {"a", randomPixels(kW, kH, 3, 255, 1)},  {"b", randomPixels(kW, kH, 3, 255, 2)},
            {"g8", randomPixels(kW, kH, 1, 255, 8)}, {"g16", randomPixels(kW, kH, 1, 65535, 4)},
            {"mask", randomPixels(kW, kH, 1, 1, 3)}, {"bw1", randomPixels(kW, kH, 1, 1, 5)},
            {"bw2", randomPixels(kW, kH, 1, 1, 6)},  {"f", randomPixels(kW, kH, 1, 600, 7)},
            {"z", randomPixels(31, 17, 1, 255, 9)}};  // the shape of the pattern tests
        p["f"].maxval = 0;
        for (double& v : p["f"].v) v -= 300;
        Pixels mask = p["mask"];  // a grey file, 0 or 255
        for (double& v : mask.v) v *= (mask.maxval = 255);
        for (const auto& [name, pixels] : p) writePam(at(name + (name == "f" ? ".pfm" : ".pam")), name == "mask" ? mask : pixels);
        return p;
    }();
    return pictures.at(name);
}

double sat(double v, double hi) { return std::min(hi, std::max(0.0, v)); }
bool inRoi(const At& p) { return p.x >= 2 && p.x < 7 && p.y >= 3 && p.y < 7; }
bool masked(const At& p) { return input("mask").at(p.x, p.y, 0) != 0; }
double a(const At& p, int c) { return input("a").at(p.x, p.y, c); }
double b(const At& p) { return input("b").at(p.x, p.y, p.c); }

void checkCases(const std::vector<OpCase>& cases) {
    input("a");
    for (const OpCase& t : cases) {
        std::vector<std::string> args = t.args;
        const std::string output = args.emplace_back(t.output.empty() ? "out.pam" : t.output);
        std::remove(at(output).c_str());
        SCOPED_TRACE("ozl " + joined(args));
        ASSERT_EQ(ozl(args).err, "");
        const Pixels got = readPnm(at(output));
        EXPECT_EQ(got.maxval, t.maxval);
        EXPECT_EQ(expectEach(got, input(t.input), t.want, t.tolerance > 0 ? t.tolerance : t.maxval == 0 ? 1e-6 : 0), "");
    }
}

}  // namespace ozltest

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--tool=", 7) == 0) ozltest::toolPath = argv[i] + 7;
        else if (std::strncmp(argv[i], "--work=", 7) == 0) ozltest::workFolder = argv[i] + 7;
    }
    // A fresh work folder for each run, and one beside it for the tool's standard output and error.
    ozltest::ioFolder = ozltest::workFolder + ".io";
    const std::string folders = "'" + ozltest::workFolder + "' '" + ozltest::ioFolder + "'";
    if (ozltest::toolPath.empty() || ozltest::workFolder.empty() || std::system(("rm -rf " + folders + " && mkdir -p " + folders).c_str())) {
        std::fprintf(stderr, "usage: ozl_tool_tests --tool=PATH --work=DIR [GoogleTest options]\n");
        return 2;
    }
    return RUN_ALL_TESTS();
}
