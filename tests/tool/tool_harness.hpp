// Test harness for the ozl command: runs the built tool in a scratch folder, reads and writes PNM/PAM/PFM
// files with its own small codec (written apart from the tool's, so that a fault the two would share still
// shows), and the inputs and value-by-value check the operation tests share.
//
//   ozl_tool_tests --tool=PATH --work=DIR [GoogleTest options]
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ozltest {

struct Result {
    int status;
    std::string out, err;
};
Result ozl(const std::vector<std::string>& args);  // the tool, in the work folder
std::string at(const std::string& name);            // a path in the work folder
bool exists(const std::string& path);
std::string readBytes(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);
std::string joined(const std::vector<std::string>& words);

// A picture as numbers: rows top to bottom, channels interleaved. maxval is 1, 255 or 65535 for integer files
// (1 in a 1-bit file means white), 0 for float (PFM) data.
struct Pixels {
    int width = 0, height = 0, channels = 1, maxval = 255;
    std::vector<double> v;

    Pixels() = default;
    Pixels(int w, int h, int c, int max) : width(w), height(h), channels(c), maxval(max), v(size_t(w) * h * c) {}
    double& at(int x, int y, int c) { return v[(size_t(y) * width + x) * channels + c]; }
    double at(int x, int y, int c) const { return v[(size_t(y) * width + x) * channels + c]; }
};

// Reads P4..P7, PF and Pf (a PBM's black bit reads as 0); fails the current test and returns empty on
// anything else.
Pixels readPnm(const std::string& path);
void writePam(const std::string& path, const Pixels& p, bool plain = false);  // PAM or PFM; plain: P1, P2, P3
Pixels randomPixels(int w, int h, int c, int maxval, unsigned seed);         // seeded, 0..maxval

struct At {  // a sample of the expectation's input picture
    int x, y, c = 0;
    double v = 0;
};
using Want = std::function<double(const At& p)>;
// "" when got equals want (maxval included) within tolerance everywhere, else the first miss.
std::string compare(const Pixels& got, const Pixels& want, double tolerance = 0);

// The operation tests' inputs, written into the work folder on first use: a.pam and b.pam (RGB 8-bit), g8.pam
// (grey 8-bit), g16.pam (grey 16-bit), mask.pam (grey, 0 or 255), bw1.pam and bw2.pam (1-bit), f.pfm (grey
// floats, whole numbers -300..300), z.pam (grey 31x17). By file name without extension.
constexpr int kW = 13, kH = 9;
const Pixels& input(const std::string& name);
double sat(double v, double hi = 255);
bool inRoi(const At& p);   // inside --roi 2,3,5,4
bool masked(const At& p);  // mask.pam is white there
double a(const At& p, int c);
double b(const At& p);

struct OpCase {
    std::vector<std::string> args;  // the output file is appended
    std::string output;             // out.pam unless given
    std::string input;              // the picture `a` of the expectation
    int maxval;                     // of the output file (0: PFM)
    Want want;
    double tolerance = 0;
};
// Runs each case and compares its output with the expectation.
void checkCases(const std::vector<OpCase>& cases);

}  // namespace ozltest
