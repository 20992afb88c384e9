// Test harness for the ozl command: runs the built tool in a scratch folder,
// and reads and writes PNM/PAM/PFM files with its own small codec (written
// apart from the tool's, so that a fault the two would share still shows).
//
//   ozl_tool_tests --tool=PATH --work=DIR [GoogleTest options]
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ozltest {

struct Result {
    int status = -1;
    std::string out, err;
};

// Runs the tool with these arguments, in the work folder.
Result ozl(const std::vector<std::string>& args);
// The work folder (absolute) and a path inside it.
const std::string& workDir();
std::string at(const std::string& name);
bool exists(const std::string& path);
// Names in the work folder that begin with `prefix` (temporary files of an
// interrupted write begin with "." and the target's name).
std::vector<std::string> filesStartingWith(const std::string& prefix);
void removeFile(const std::string& path);
std::string readBytes(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);

// A picture as numbers: rows top to bottom, channels interleaved. maxval is
// 1, 255 or 65535 for integer files (1 in a 1-bit file means white), 0 for
// float (PFM) data.
struct Pixels {
    int width = 0, height = 0, channels = 1;
    int maxval = 255;
    std::vector<double> v;

    Pixels() = default;
    Pixels(int w, int h, int c, int max) : width(w), height(h), channels(c), maxval(max),
                                           v(static_cast<size_t>(w) * h * c, 0.0) {}
    double& at(int x, int y, int c) { return v[(static_cast<size_t>(y) * width + x) * channels + c]; }
    double at(int x, int y, int c) const {
        return v[(static_cast<size_t>(y) * width + x) * channels + c];
    }
};

// Reads P1..P7 (PAM: WIDTH, HEIGHT, DEPTH, MAXVAL), PF and Pf; a PBM's black
// bit reads as 0. Fails the current test (and returns empty) on anything else.
Pixels readPnm(const std::string& path);
// Writes PAM (binary; a maxval of 1 is BLACKANDWHITE), or PFM when maxval is 0.
void writePam(const std::string& path, const Pixels& p);
// Plain (ASCII) P1, P2 or P3 for one- and three-channel pictures.
void writePlainPnm(const std::string& path, const Pixels& p);

// Seeded random samples 0..maxval.
Pixels randomPixels(int w, int h, int c, int maxval, unsigned seed);

// Compares two pictures sample by sample: "" when every difference is within
// tolerance, else a description of the first that is not.
std::string compare(const Pixels& got, const Pixels& want, double tolerance = 0);

// got[i] == f(i, a[i]) for every sample, within tolerance.
std::string expectEach(const Pixels& got, const Pixels& a,
                       const std::function<double(int x, int y, int c, double a)>& f,
                       double tolerance = 0);

}  // namespace ozltest
