// Mistakes a user makes: each gives exit status 1, one line on standard
// error, nothing on standard output, and no output file (an existing one is
// left as it was, and no temporary file stays behind).
#include <gtest/gtest.h>

#include "tool/tool_harness.hpp"

namespace ozltest {
namespace {

struct BadCase {
    std::vector<std::string> args;
    std::string output;  // the file that must not appear ("" for none; "name/" a folder)
    std::string message; // the whole line, or its start when it ends in "..."
};

void makeInputs() {
    ASSERT_EQ(ozl({"pattern", "--size", "16x16", "good.png"}).status, 0);
    ASSERT_EQ(ozl({"scene", "--size", "16x12", "rgb.png"}).status, 0);
    ASSERT_EQ(ozl({"scene", "--size", "64x48", "big.png"}).status, 0);
    ASSERT_EQ(ozl({"scene", "--size", "16x12", "--alpha", "rgba.png"}).status, 0);
    ASSERT_EQ(ozl({"copy", "big.png", "good.jpg"}).status, 0);
    const std::string png = readBytes(at("good.png"));
    const std::string jpg = readBytes(at("good.jpg"));
    writeBytes(at("text.png"), "this is not a picture\n");
    writeBytes(at("empty.png"), "");
    writeBytes(at("trunc.png"), png.substr(0, png.size() / 2));
    std::string corrupt = png;
    corrupt[corrupt.size() / 2] = static_cast<char>(corrupt[corrupt.size() / 2] ^ 0x5a);
    writeBytes(at("corrupt.png"), corrupt);
    // Cut inside the compressed data, after the start-of-scan marker.
    writeBytes(at("trunc.jpg"), jpg.substr(0, jpg.find("\xff\xda") + 40));
    writeBytes(at("corrupt.jpg"), jpg.substr(0, 4) + std::string(40, '\x11') + jpg.substr(44));
    writeBytes(at("trunc.pgm"), "P5\n16 16\n255\n" + std::string(100, 'x'));
    writeBytes(at("badhead.pgm"), "P5\n16 x\n255\n");
    writeBytes(at("depth5.pam"), "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 5\nMAXVAL 255\nENDHDR\n0123456789");
    writeBytes(at("maxval.pgm"), "P5\n1 1\n70000\nxx");
}

const std::vector<BadCase>& badCases() {
    static const std::vector<BadCase> cases = {
        // Inputs.
        {{"add", "missing.png", "--value", "1", "out.png"}, "out.png",
         "ozl: add: missing.png: cannot open: No such file or directory"},
        {{"copy", "text.png", "out.png"}, "out.png",
         "ozl: copy: text.png: unsupported format (not a PNG, JPEG or PNM file)"},
        {{"copy", "empty.png", "out.png"}, "out.png", "ozl: copy: empty.png: empty file"},
        {{"copy", "trunc.png", "out.png"}, "out.png",
         "ozl: copy: trunc.png: corrupt PNG file (it ends early)"},
        {{"copy", "corrupt.png", "out.png"}, "out.png", "ozl: copy: corrupt.png: corrupt PNG file (..."},
        {{"copy", "trunc.jpg", "out.png"}, "out.png",
         "ozl: copy: trunc.jpg: corrupt JPEG file (Premature end of JPEG file)"},
        {{"copy", "corrupt.jpg", "out.png"}, "out.png", "ozl: copy: corrupt.jpg: corrupt JPEG file (..."},
        {{"copy", "trunc.pgm", "out.png"}, "out.png",
         "ozl: copy: trunc.pgm: corrupt PNM file (the data ends early)"},
        {{"copy", "badhead.pgm", "out.png"}, "out.png", "ozl: copy: badhead.pgm: corrupt PNM file (bad height)"},
        {{"copy", "depth5.pam", "out.png"}, "out.png",
         "ozl: copy: depth5.pam: unsupported PAM depth 5 (1 to 4 channels)"},
        {{"copy", "maxval.pgm", "out.png"}, "out.png",
         "ozl: copy: maxval.pgm: corrupt PNM file (maximum value outside 1..65535)"},
        {{"copy", "--mask", "missing.png", "good.png", "out.png"}, "out.png",
         "ozl: copy: missing.png: cannot open: No such file or directory"},
        {{"demo", "missing.png", "--out", "demo"}, "demo/",
         "ozl: demo: missing.png: cannot open: No such file or directory"},
        // Outputs the format cannot take.
        {{"copy", "good.png", "out.xyz"}, "out.xyz",
         "ozl: copy: out.xyz: unsupported output format '.xyz'; use .png, .jpg, .pbm, .pgm, .ppm, "
         ".pnm, .pam or .pfm"},
        {{"copy", "good.png", "out"}, "out", "ozl: copy: out: unsupported output format (no extension)..."},
        {{"copy", "rgba.png", "out.jpg"}, "out.jpg",
         "ozl: copy: out.jpg: JPEG has no alpha channel; write .png or .pam"},
        {{"copy", "rgb.png", "out.pgm"}, "out.pgm",
         "ozl: copy: out.pgm: PGM holds one grey channel; write .ppm, .pam or .png"},
        {{"copy", "rgb.png", "--bits", "16", "out.jpg"}, "out.jpg",
         "ozl: copy: out.jpg: JPEG cannot hold 16-bit samples"},
        {{"copy", "good.png", "nofolder/out.png"}, "nofolder/",
         "ozl: copy: nofolder/out.png: cannot write: No such file or directory"},
        // Options and words.
        {{"add", "good.png", "--valu", "1", "out.png"}, "out.png", "ozl: add: unknown option '--valu'"},
        {{"add", "good.png", "-v", "out.png"}, "out.png",
         "ozl: add: unknown option '-v' (options begin with two dashes)"},
        {{"add", "good.png", "out.png", "--value"}, "out.png", "ozl: add: option '--value' needs a value (N)"},
        {{"add", "--roi", "1,1,2,2", "--roi", "1,1,2,2", "--value", "1", "good.png", "out.png"}, "out.png",
         "ozl: add: option '--roi' given more than once"},
        {{"add", "--value", "abc", "good.png", "out.png"}, "out.png",
         "ozl: add: --value: 'abc' is not a whole number"},
        {{"lshift", "--by", "40", "good.png", "out.png"}, "out.png", "ozl: lshift: --by: 40 is outside 0..31"},
        {{"not", "--stretch=yes", "good.png", "out.png"}, "out.png",
         "ozl: not: option '--stretch' takes no value"},
        {{"add", "good.png", "out.png"}, "out.png", "ozl: add: give a second image or a constant (--value N)"},
        {{"not", "out.png"}, "out.png",
         "ozl: not: too few files; usage: ozl not [options] A OUTPUT"},
        {{"not", "good.png", "rgb.png", "out.png"}, "out.png",
         "ozl: not: too many files; usage: ozl not [options] A OUTPUT"},
        {{"frob", "good.png", "out.png"}, "out.png", "ozl: unknown operation 'frob' (see 'ozl list')"},
        {{"help", "frob"}, "", "ozl: unknown operation 'frob' (see 'ozl list')"},
        {{"add", "--depth", "bogus", "--value", "1", "good.png", "out.png"}, "out.png",
         "ozl: add: unknown depth 'bogus' (use 1u, 8u, 8s, 16u, 16s, 32s or 32f)"},
        {{"copy", "--depth", "1u", "rgb.png", "out.png"}, "out.png",
         "ozl: copy: rgb.png: depth 1u needs a one-channel picture; this one has 3 channels"},
        {{"add", "--roi", "20,0,4,4", "--value", "1", "good.png", "out.png"}, "out.png",
         "ozl: add: --roi 20,0,4,4 starts outside the 16x16 image"},
        {{"add", "--roi", "0,0,0,4", "--value", "1", "good.png", "out.png"}, "out.png",
         "ozl: add: --roi: expected x,y,w,h with a width and height of at least 1"},
        {{"add", "--coi", "2", "--value", "1", "good.png", "out.png"}, "out.png",
         "ozl: add: --coi 2: the image has only 1 channel"},
        {{"add", "--onto", "rgb.png", "--value", "1", "good.png", "out.png"}, "out.png",
         "ozl: add: --onto rgb.png: expected a 16x16 picture with 1 channel"},
        // Operations the library refuses: its own report.
        {{"mulscale", "--depth", "32f", "--value", "2", "good.png", "out.png"}, "out.png",
         "ozl: mulscale: the library refused the call: ozlMultiplySScale: dstImage->depth != 8 && "
         "dstImage->depth != 16 (status -5, Bad argument)"},
        {{"add", "good.png", "rgb.png", "out.png"}, "out.png",
         "ozl: add: the library refused the call: ozlAdd: (nChSrcB != nChDst) (status -5, Bad argument)"},
        {{"and", "--depth", "32f", "--value", "1", "good.png", "out.pfm"}, "out.pfm",
         "ozl: and: the library refused the call: ozlAndS: ..."},
    };
    return cases;
}

void expectMessage(const std::string& err, const std::string& want) {
    ASSERT_FALSE(err.empty());
    EXPECT_EQ(err.find('\n'), err.size() - 1) << "more than one line: " << err;
    const std::string line = err.substr(0, err.size() - 1);
    if (want.size() > 3 && want.compare(want.size() - 3, 3, "...") == 0)
        EXPECT_EQ(line.compare(0, want.size() - 3, want, 0, want.size() - 3), 0) << line;
    else
        EXPECT_EQ(line, want);
}

TEST(ToolErrors, EachMistakeGivesOneLineAndNoOutput) {
    makeInputs();
    for (const BadCase& t : badCases()) {
        std::string command;
        for (const std::string& w : t.args) command += " " + w;
        SCOPED_TRACE("ozl" + command);
        // Once with no output file there, once with one the call must not touch.
        const bool file = !t.output.empty() && t.output.back() != '/';
        for (const bool existing : {false, true}) {
            if (existing && !file) continue;
            if (file) existing ? writeBytes(at(t.output), "kept") : removeFile(at(t.output));
            const Result r = ozl(t.args);
            EXPECT_EQ(r.status, 1);
            EXPECT_EQ(r.out, "");
            expectMessage(r.err, t.message);
            if (t.output.empty()) continue;
            if (existing) EXPECT_EQ(readBytes(at(t.output)), "kept");
            else EXPECT_FALSE(exists(at(t.output)));
            EXPECT_TRUE(filesStartingWith("." + t.output).empty());
        }
    }
}

// A write that fails at its last step (the target is a folder) leaves no
// temporary file behind.
TEST(ToolErrors, FailedRenameLeavesNoTemporaryFile) {
    makeInputs();
    ASSERT_EQ(system(("mkdir -p '" + at("folder.png") + "'").c_str()), 0);
    const Result r = ozl({"copy", "good.png", "folder.png"});
    EXPECT_EQ(r.status, 1);
    expectMessage(r.err, "ozl: copy: folder.png: cannot write: Is a directory");
    EXPECT_TRUE(filesStartingWith(".folder.png").empty());
}

TEST(ToolErrors, NoArgumentsPrintsUsage) {
    const Result r = ozl({});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.compare(0, 11, "usage: ozl "), 0) << r.err;
}

}  // namespace
}  // namespace ozltest
