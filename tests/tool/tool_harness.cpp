#include "tool/tool_harness.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ozltest {
namespace {

std::string toolPath, workFolder, ioFolder;

bool hostIsLittleEndian() {
    const uint16_t one = 1;
    unsigned char b;
    std::memcpy(&b, &one, 1);
    return b == 1;
}

}  // namespace

const std::string& workDir() { return workFolder; }
std::string at(const std::string& name) { return workFolder + "/" + name; }

bool exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

void removeFile(const std::string& path) { std::remove(path.c_str()); }

std::vector<std::string> filesStartingWith(const std::string& prefix) {
    std::vector<std::string> names;
    DIR* d = opendir(workFolder.c_str());
    if (!d) return names;
    while (const dirent* e = readdir(d)) {
        const std::string name = e->d_name;
        if (name != "." && name != ".." && name.compare(0, prefix.size(), prefix) == 0)
            names.push_back(name);
    }
    closedir(d);
    return names;
}

std::string readBytes(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

Result ozl(const std::vector<std::string>& args) {
    const std::string outPath = ioFolder + "/stdout", errPath = ioFolder + "/stderr";
    Result r;
    const pid_t pid = fork();
    if (pid < 0) {
        ADD_FAILURE() << "fork failed";
        return r;
    }
    if (pid == 0) {
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (out < 0 || err < 0 || chdir(workFolder.c_str()) != 0) _exit(127);
        dup2(out, 1);
        dup2(err, 2);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(toolPath.c_str()));
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(toolPath.c_str(), argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.out = readBytes(outPath);
    r.err = readBytes(errPath);
    return r;
}

// ---------------------------------------------------------------------------
// PNM, written independently of the tool's codec.

namespace {

struct Cursor {
    const std::string& s;
    size_t i = 0;
    void blanks() {
        while (i < s.size() && (std::isspace(static_cast<unsigned char>(s[i])) || s[i] == '#')) {
            if (s[i] == '#')
                while (i < s.size() && s[i] != '\n') ++i;
            else
                ++i;
        }
    }
    long number() {
        blanks();
        long v = 0;
        bool any = false;
        while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
            v = v * 10 + (s[i++] - '0');
            any = true;
        }
        if (!any) throw std::runtime_error("number expected");
        return v;
    }
    std::string word() {
        blanks();
        const size_t start = i;
        while (i < s.size() && !std::isspace(static_cast<unsigned char>(s[i]))) ++i;
        return s.substr(start, i - start);
    }
    unsigned char byte() {
        if (i >= s.size()) throw std::runtime_error("data ends early");
        return static_cast<unsigned char>(s[i++]);
    }
};

Pixels parse(const std::string& bytes) {
    Cursor c{bytes};
    if (bytes.size() < 2 || bytes[0] != 'P') throw std::runtime_error("not a PNM file");
    const char kind = bytes[1];
    c.i = 2;
    Pixels p;
    if (kind == '7') {
        int w = 0, h = 0, d = 0, m = 0;
        for (;;) {
            const std::string key = c.word();
            if (key == "ENDHDR") break;
            if (key == "TUPLTYPE") { c.word(); continue; }
            const long v = c.number();
            if (key == "WIDTH") w = v;
            else if (key == "HEIGHT") h = v;
            else if (key == "DEPTH") d = v;
            else if (key == "MAXVAL") m = v;
        }
        ++c.i;  // the newline after ENDHDR
        p = Pixels(w, h, d, m);
    } else if (kind == 'F' || kind == 'f') {
        const long w = c.number(), h = c.number();
        const double scale = std::stod(c.word());
        ++c.i;
        p = Pixels(w, h, kind == 'F' ? 3 : 1, 0);
        const bool little = scale < 0;
        for (int y = h - 1; y >= 0; --y)
            for (int x = 0; x < w; ++x)
                for (int ch = 0; ch < p.channels; ++ch) {
                    unsigned char b[4];
                    for (auto& e : b) e = c.byte();
                    if (little != hostIsLittleEndian()) {
                        std::swap(b[0], b[3]);
                        std::swap(b[1], b[2]);
                    }
                    float f;
                    std::memcpy(&f, b, 4);
                    p.at(x, y, ch) = f;
                }
        return p;
    } else {
        const long w = c.number(), h = c.number();
        const bool bits = kind == '1' || kind == '4';
        const long m = bits ? 1 : c.number();
        p = Pixels(w, h, kind == '3' || kind == '6' ? 3 : 1, static_cast<int>(m));
        if (kind == '4') {
            ++c.i;
            for (int y = 0; y < h; ++y) {
                std::vector<unsigned char> row((w + 7) / 8);
                for (auto& b : row) b = c.byte();
                for (int x = 0; x < w; ++x) p.at(x, y, 0) = (row[x / 8] >> (7 - x % 8)) & 1 ? 0 : 1;
            }
            return p;
        }
        if (kind == '1' || kind == '2' || kind == '3') {
            for (double& v : p.v) {
                if (kind == '1') {
                    c.blanks();
                    v = c.byte() == '1' ? 0 : 1;
                } else {
                    v = c.number();
                }
            }
            return p;
        }
        ++c.i;
    }
    for (double& v : p.v) {
        v = c.byte();
        if (p.maxval > 255) v = v * 256 + c.byte();
    }
    return p;
}

}  // namespace

Pixels readPnm(const std::string& path) {
    const std::string bytes = readBytes(path);
    try {
        return parse(bytes);
    } catch (const std::exception& e) {
        ADD_FAILURE() << path << ": " << e.what();
        return Pixels();
    }
}

void writePam(const std::string& path, const Pixels& p) {
    std::string s;
    if (p.maxval == 0) {
        s = std::string(p.channels == 3 ? "PF" : "Pf") + "\n" + std::to_string(p.width) + " " +
            std::to_string(p.height) + "\n" + (hostIsLittleEndian() ? "-1" : "1") + "\n";
        for (int y = p.height - 1; y >= 0; --y)
            for (int x = 0; x < p.width; ++x)
                for (int c = 0; c < p.channels; ++c) {
                    const float f = static_cast<float>(p.at(x, y, c));
                    s.append(reinterpret_cast<const char*>(&f), 4);
                }
        writeBytes(path, s);
        return;
    }
    static const char* const kTuples[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
    s = "P7\nWIDTH " + std::to_string(p.width) + "\nHEIGHT " + std::to_string(p.height) +
        "\nDEPTH " + std::to_string(p.channels) + "\nMAXVAL " + std::to_string(p.maxval) +
        "\nTUPLTYPE " + (p.maxval == 1 ? "BLACKANDWHITE" : kTuples[p.channels - 1]) + "\nENDHDR\n";
    for (double v : p.v) {
        const auto u = static_cast<unsigned>(v);
        if (p.maxval > 255) s += static_cast<char>(u >> 8);
        s += static_cast<char>(u & 255);
    }
    writeBytes(path, s);
}

void writePlainPnm(const std::string& path, const Pixels& p) {
    const char kind = p.maxval == 1 ? '1' : p.channels == 3 ? '3' : '2';
    std::string s = std::string("P") + kind + "\n# written by the tests\n" +
                    std::to_string(p.width) + " " + std::to_string(p.height) + "\n";
    if (kind != '1') s += std::to_string(p.maxval) + "\n";
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width * p.channels; ++x) {
            const double v = p.v[static_cast<size_t>(y) * p.width * p.channels + x];
            s += kind == '1' ? (v != 0 ? "0" : "1") : std::to_string(static_cast<long>(v));
            s += ' ';
        }
        s += '\n';
    }
    writeBytes(path, s);
}

Pixels randomPixels(int w, int h, int c, int maxval, unsigned seed) {
    Pixels p(w, h, c, maxval);
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> d(0, maxval);
    for (double& v : p.v) v = d(rng);
    return p;
}

std::string compare(const Pixels& got, const Pixels& want, double tolerance) {
    if (got.width != want.width || got.height != want.height || got.channels != want.channels)
        return "shape " + std::to_string(got.width) + "x" + std::to_string(got.height) + "x" +
               std::to_string(got.channels) + ", want " + std::to_string(want.width) + "x" +
               std::to_string(want.height) + "x" + std::to_string(want.channels);
    if (got.maxval != want.maxval)
        return "maxval " + std::to_string(got.maxval) + ", want " + std::to_string(want.maxval);
    return expectEach(got, want, [&](int x, int y, int c, double) { return want.at(x, y, c); },
                      tolerance);
}

std::string expectEach(const Pixels& got, const Pixels& a,
                       const std::function<double(int, int, int, double)>& f, double tolerance) {
    if (got.width != a.width || got.height != a.height || got.channels != a.channels)
        return "shape " + std::to_string(got.width) + "x" + std::to_string(got.height) + "x" +
               std::to_string(got.channels) + " differs from the input's";
    for (int y = 0; y < got.height; ++y)
        for (int x = 0; x < got.width; ++x)
            for (int c = 0; c < got.channels; ++c) {
                const double want = f(x, y, c, a.at(x, y, c));
                const double have = got.at(x, y, c);
                if (!(std::fabs(have - want) <= tolerance) && !(std::isnan(have) && std::isnan(want))) {
                    std::ostringstream s;
                    s << "at (" << x << ", " << y << ") channel " << c << ": " << have << ", want "
                      << want << " (input " << a.at(x, y, c) << ")";
                    return s.str();
                }
            }
    return "";
}

}  // namespace ozltest

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--tool=", 7) == 0) ozltest::toolPath = argv[i] + 7;
        else if (std::strncmp(argv[i], "--work=", 7) == 0) ozltest::workFolder = argv[i] + 7;
    }
    if (ozltest::toolPath.empty() || ozltest::workFolder.empty()) {
        std::fprintf(stderr, "usage: ozl_tool_tests --tool=PATH --work=DIR [GoogleTest options]\n");
        return 2;
    }
    // A fresh work folder for each run, and one beside it for the tool's
    // standard output and error.
    ozltest::ioFolder = ozltest::workFolder + ".io";
    const std::string reset = "rm -rf '" + ozltest::workFolder + "' '" + ozltest::ioFolder +
                              "' && mkdir -p '" + ozltest::workFolder + "' '" +
                              ozltest::ioFolder + "'";
    if (std::system(reset.c_str()) != 0) return 2;
    return RUN_ALL_TESTS();
}
