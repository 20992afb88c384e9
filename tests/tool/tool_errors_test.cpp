// Mistakes a user makes: each gives exit status 1, one line on standard error, nothing on standard output,
// and no output file (an existing one is left as it was, and no temporary file stays behind).
#include <gtest/gtest.h>

#include <glob.h>

#include "tool/tool_harness.hpp"

namespace ozltest {
namespace {

struct BadCase {
    std::vector<std::string> args;
    std::string message;  // the whole line
    std::string output;   // that must not appear: the last argument unless given, "-" for none
};

void makeInputs() {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"pattern", "--size", "16x16", "good.png"}, {"scene", "--size", "16x12", "rgb.png"},
             {"scene", "--size", "64x48", "big.png"}, {"scene", "--size", "16x12", "--alpha", "rgba.png"},
             {"copy", "big.png", "good.jpg"}})
        ASSERT_EQ(ozl(args).status, 0);
    const std::string png = readBytes(at("good.png")), jpg = readBytes(at("good.jpg"));
    const std::pair<const char*, std::string> files[] = {
        {"text.png", "this is not a picture\n"}, {"empty.png", ""}, {"trunc.png", png.substr(0, png.size() / 2)},
        {"trunc.jpg", jpg.substr(0, jpg.find("\xff\xda") + 40)},  // cut inside the data after the start of scan
        {"trunc.pgm", "P5\n16 16\n255\n" + std::string(100, 'x')}, {"badhead.pgm", "P5\n16 x\n255\n"},
        {"depth5.pam", "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 5\nMAXVAL 255\nENDHDR\n0123456789"},
        {"maxval.pgm", "P5\n1 1\n70000\nxx"}};
    for (const auto& [name, bytes] : files) writeBytes(at(name), bytes);
    ASSERT_EQ(system(("mkdir -p '" + at("folder.png") + "'").c_str()), 0);
}

// Inputs, outputs the format cannot take, options and words, the options of single operations, and a call the
// library refuses (its own report).
const std::vector<BadCase> kBadCases = {
    {{"add", "missing.png", "--value", "1", "out.png"}, "ozl: add: missing.png: cannot open: No such file or directory"},
    {{"copy", "text.png", "out.png"}, "ozl: copy: text.png: unsupported format (not a PNG, JPEG or PNM file)"},
    {{"copy", "empty.png", "out.png"}, "ozl: copy: empty.png: empty file"},
    {{"copy", "trunc.png", "out.png"}, "ozl: copy: trunc.png: corrupt PNG file (it ends early)"},
    {{"copy", "trunc.jpg", "out.png"}, "ozl: copy: trunc.jpg: corrupt JPEG file (Premature end of JPEG file)"},
    {{"copy", "trunc.pgm", "out.png"}, "ozl: copy: trunc.pgm: corrupt PNM file (the data ends early)"},
    {{"copy", "badhead.pgm", "out.png"}, "ozl: copy: badhead.pgm: corrupt PNM file (bad height)"},
    {{"copy", "depth5.pam", "out.png"}, "ozl: copy: depth5.pam: unsupported PAM depth 5 (1 to 4 channels)"},
    {{"copy", "maxval.pgm", "out.png"}, "ozl: copy: maxval.pgm: corrupt PNM file (maximum value outside 1..65535)"},
    {{"copy", "good.png", "out.xyz"}, "ozl: copy: out.xyz: unsupported output format '.xyz'; use .png, .jpg, "
                                      ".pbm, .pgm, .ppm, .pnm, .pam or .pfm"},
    {{"copy", "rgba.png", "out.jpg"}, "ozl: copy: out.jpg: JPEG has no alpha channel; write .png or .pam"},
    {{"copy", "rgb.png", "out.pgm"}, "ozl: copy: out.pgm: PGM holds one grey channel; write .ppm, .pam or .png"},
    {{"copy", "rgb.png", "--bits", "16", "out.jpg"}, "ozl: copy: out.jpg: JPEG cannot hold 16-bit samples"},
    {{"copy", "good.png", "folder.png"}, "ozl: copy: folder.png: cannot write: Is a directory", "-"},  // a failed rename
    {{"copy", "good.png", "nofolder/out.png"},
     "ozl: copy: nofolder/out.png: cannot write: No such file or directory", "nofolder/"},
    {{"add", "good.png", "--valu", "1", "out.png"}, "ozl: add: unknown option '--valu'"},
    {{"add", "good.png", "out.png", "--value"}, "ozl: add: option '--value' needs a value (N)", "out.png"},
    {{"add", "--roi", "1,1,2,2", "--roi", "1,1,2,2", "--value", "1", "good.png", "out.png"},
     "ozl: add: option '--roi' given more than once"},
    {{"add", "--value", "abc", "good.png", "out.png"}, "ozl: add: --value: 'abc' is not a whole number"},
    {{"lshift", "--by", "40", "good.png", "out.png"}, "ozl: lshift: --by: 40 is outside 0..31"},
    {{"not", "--stretch=yes", "good.png", "out.png"}, "ozl: not: option '--stretch' takes no value"},
    {{"add", "good.png", "out.png"}, "ozl: add: give a second image or a constant (--value N)"},
    {{"not", "good.png", "rgb.png", "out.png"}, "ozl: not: too many files; usage: ozl not [options] A OUTPUT"},
    {{"frob", "good.png", "out.png"}, "ozl: unknown operation 'frob' (see 'ozl list')"},
    {{"add", "--depth", "bogus", "--value", "1", "good.png", "out.png"},
     "ozl: add: unknown depth 'bogus' (use 1u, 8u, 8s, 16u, 16s, 32s or 32f)"},
    {{"copy", "--depth", "1u", "rgb.png", "out.png"},
     "ozl: copy: rgb.png: depth 1u needs a one-channel picture; this one has 3 channels"},
    {{"add", "--roi", "20,0,4,4", "--value", "1", "good.png", "out.png"},
     "ozl: add: --roi 20,0,4,4 starts outside the 16x16 image"},
    {{"add", "--coi", "2", "--value", "1", "good.png", "out.png"}, "ozl: add: --coi 2: the image has only 1 channel"},
    {{"add", "--onto", "rgb.png", "--value", "1", "good.png", "out.png"},
     "ozl: add: --onto rgb.png: expected a 16x16 picture with 1 channel"},
    {{"twist", "--matrix", "1,2,3", "rgb.png", "out.png"},
     "ozl: twist: --matrix: 9 numbers (3x3) or 12 (3x4, a constant per row), not 3"},
    {{"rgb2hsv", "good.png", "out.png"}, "ozl: rgb2hsv: good.png: a colour conversion needs three channels"},
    {{"equal", "--eps", "1", "good.png", "good.png", "out.png"}, "ozl: equal: --eps compares 32f images (add --depth 32f)"},
    {{"convolve", "--kernel", "3x2:1,2", "good.png", "out.png"}, "ozl: convolve: --kernel: 3x2 needs 6 values, not 2"},
    {{"convolve", "--kernel", "blur", "good.png", "out.png"}, "ozl: convolve: --kernel: 'blur' is neither WxH:values "
                                                              "nor a named kernel (box, gauss, sobel-x, sobel-y, laplace)"},
    {{"convolve-sep", "--kernel", "laplace", "good.png", "out.png"},
     "ozl: convolve-sep: --kernel: 'laplace' is not a separable kernel (box, gauss, sobel-x, sobel-y)"},
    {{"convolve", "--kernel", "gauss", "--border", "mirror", "good.png", "out.png"},
     "ozl: convolve: --border: 'mirror' is not constant[:V], replicate, reflect or wrap"},
    {{"norm", "--relative", "good.png"}, "ozl: norm: --relative needs a second image", "-"},
    {{"stretch", "--range", "9,3", "good.png", "out.png"}, "ozl: stretch: --range: lo,hi with lo < hi"},
    {{"add", "good.png", "rgb.png", "out.png"},
     "ozl: add: the library refused the call: ozlAdd: (nChSrcB != nChDst) (status -5, Bad argument)"},
};

// No temporary file of a write to `output` (".<output>..."): a failed write removes its own.
bool noTemporary(const std::string& output) {
    glob_t found;
    const bool none = glob(at("." + output + "*").c_str(), 0, nullptr, &found) != 0;
    globfree(&found);
    return none;
}

TEST(ToolErrors, EachMistakeGivesOneLineAndNoOutput) {
    makeInputs();
    for (const BadCase& t : kBadCases) {
        SCOPED_TRACE("ozl " + joined(t.args));
        const std::string output = t.output.empty() ? t.args.back() : t.output == "-" ? "" : t.output;
        // Once with no output file there, once with one the call must not touch.
        const bool file = !output.empty() && output.back() != '/';
        for (const bool existing : {false, true}) {
            if (existing && !file) continue;
            if (file) existing ? writeBytes(at(output), "kept") : (void)std::remove(at(output).c_str());
            const Result r = ozl(t.args);
            EXPECT_EQ(r.status, 1);
            EXPECT_EQ(r.out, "");
            EXPECT_EQ(r.err, t.message + "\n");
            EXPECT_TRUE(noTemporary(t.args.back()));
            if (output.empty()) continue;
            if (existing) EXPECT_EQ(readBytes(at(output)), "kept");
            else EXPECT_FALSE(exists(at(output)));
        }
    }
}

// No arguments at all print the usage.
TEST(ToolErrors, NoArguments) {
    const Result r = ozl({});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.compare(0, 11, "usage: ozl "), 0) << r.err;
}

}  // namespace
}  // namespace ozltest
