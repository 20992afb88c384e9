// Colour: conversions between RGB and other colour models, the colour twist
// (a 3x4 matrix on every pixel), colour to grey and grey to colour.
#include <cmath>
#include <memory>

#include "demo.hpp"
#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"
#include "run.hpp"

namespace ozltool {
namespace {

using ConvertFn = void(OZL_CALL*)(OzlImage*, OzlImage*);

// A model conversion: the models of its source and destination.
struct Conversion {
    const char* from;
    const char* to;
    const char* function;
    ConvertFn fn;
};

// LUV works on 32f with RGB on 0..1; files hold RGB on 0..white.
bool isLuv(const Conversion& c) { return std::string(c.from) == "LUV" || std::string(c.to) == "LUV"; }

double fileWhite(Sample s) { return s == Sample::U16 ? 65535.0 : 255.0; }

void scaleBy(Image& image, double factor) {
    callLibrary("ozlMultiplySFP", [&] {
        ozlMultiplySFP(image.get(), image.get(), static_cast<float>(factor));
    });
}

void runConversion(Run& run, const Conversion& c) {
    const bool luv = isLuv(c);
    const unsigned depth = luv && !run.args().has("depth") ? OZL_DEPTH_32F : run.depth();
    Image src = run.input(0, depth);
    if (src.channels() < 3)
        throw Error(run.inputPath(0) + ": a colour conversion needs three channels");
    src.setModel(c.from, c.from);
    if (luv && std::string(c.from) == "RGB" && run.picture(0).sample != Sample::F32)
        scaleBy(src, 1.0 / fileWhite(run.picture(0).sample));
    Image dst(src.width(), src.height(), 3, depth, {c.to, c.to});
    callLibrary(c.function, [&] { c.fn(src.get(), dst.get()); });
    const OutputStyle style = run.outputStyle(dst, false);
    if (luv && std::string(c.to) == "RGB" && style.sample != Sample::F32)
        scaleBy(dst, fileWhite(style.sample));
    run.write(dst);
}

// Twists by name; each row: output channel = weights . (R, G, B) + constant,
// all over 2^scale.
struct NamedTwist {
    const char* name;
    int data[12];
    int scale;
};
const NamedTwist kTwists[] = {
    {"sepia", {101, 197, 48, 0, 89, 176, 43, 0, 70, 137, 34, 0}, 8},
    {"swap-rb", {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 0}, 0},
    {"grey", {77, 150, 29, 0, 77, 150, 29, 0, 77, 150, 29, 0}, 8},
};

void runTwist(Run& run) {
    int data[16] = {0};
    int scale = 0;
    const std::string text = run.args().text("matrix");
    if (text.empty()) throw Error("give the matrix (--matrix NAME or 9 or 12 numbers)");
    bool named = false;
    for (const NamedTwist& t : kTwists)
        if (text == t.name) {
            std::copy(t.data, t.data + 12, data);
            scale = t.scale, named = true;
        }
    if (!named) {
        const std::vector<long> v = parseIntegers(text, "--matrix", INT32_MIN, INT32_MAX);
        if (v.size() != 9 && v.size() != 12)
            throw Error("--matrix: 9 numbers (3x3) or 12 (3x4, a constant per row), not " +
                        std::to_string(v.size()));
        const int per = v.size() == 9 ? 3 : 4;
        for (int r = 0; r < 3; ++r)
            for (int k = 0; k < per; ++k) data[r * 4 + k] = static_cast<int>(v[r * per + k]);
    }
    scale = static_cast<int>(run.args().integer("scale", scale, 0, 31));
    const int offset = static_cast<int>(run.args().integer("offset", 0, INT32_MIN, INT32_MAX));
    Image src = run.input(0);
    if (src.channels() < 3) throw Error(run.inputPath(0) + ": the twist needs three channels");
    Image dst = run.destination(src);
    if (isFloatDepth(src.depth())) {
        float m[16];
        for (int i = 0; i < 16; ++i) m[i] = static_cast<float>(std::ldexp(data[i], -scale));
        for (int r = 0; r < 3; ++r) m[r * 4 + 3] += static_cast<float>(offset);
        callLibrary("ozlColorTwistFP", [&] { ozlColorTwistFP(src.get(), dst.get(), m); });
    } else {
        std::unique_ptr<OzlColorTwist, void(OZL_CALL*)(OzlColorTwist*)> twist(
            nullptr, ozlDeleteColorTwist);
        callLibrary("ozlCreateColorTwist", [&] { twist.reset(ozlCreateColorTwist(data, scale)); });
        callLibrary("ozlApplyColorTwist",
                    [&] { ozlApplyColorTwist(src.get(), dst.get(), twist.get(), offset); });
    }
    run.write(dst);
}

void runGray(Run& run) {
    Image src = run.input(0);
    if (src.channels() < 3) throw Error(run.inputPath(0) + ": already grey");
    src.setModel("RGB", "RGB");
    const unsigned depth = src.depth() == OZL_DEPTH_32S ? OZL_DEPTH_16U : src.depth();
    Image dst(src.width(), src.height(), 1, depth, {"GRAY", "G"});
    callLibrary("ozlColorToGray", [&] { ozlColorToGray(src.get(), dst.get()); });
    run.write(dst);
}

void runColorize(Run& run) {
    std::vector<double> w = {1, 1, 1};
    if (run.args().has("weights")) w = parseReals(run.args().text("weights"), "--weights");
    if (w.size() != 3) throw Error("--weights: three numbers, r,g,b");
    Image src = run.input(0);
    if (src.channels() != 1) throw Error(run.inputPath(0) + ": needs a grey picture");
    src.setModel("GRAY", "G");
    const unsigned depth = src.depth() == OZL_DEPTH_1U ? OZL_DEPTH_8U : src.depth();
    Image dst(src.width(), src.height(), 3, depth, {"RGB", "RGB"});
    callLibrary("ozlGrayToColor", [&] {
        ozlGrayToColor(src.get(), dst.get(), static_cast<float>(w[0]), static_cast<float>(w[1]),
                       static_cast<float>(w[2]));
    });
    run.write(dst);
}

const char* const kModels =
    "The whole picture is converted (no --roi or --coi). The other model's\n"
    "channels are stored as the picture's three channels: HSV and HLS with the\n"
    "hue in half degrees (0..179), YCrCb as Y, Cb, Cr. Depths: YUV, YCrCb, XYZ\n"
    "8u 16u 32s 32f; HSV, HLS 8u 16u 32s; YCC 8u; LUV 32f (chosen for you:\n"
    "RGB is scaled to 0..1 and back, L runs 0..100; keep LUV in PFM files).";

constexpr unsigned kModelOptions = kDepthOption | kOutputOptions;

// One row of the table per conversion.
Operation conversion(const char* name, const char* summary, Conversion c) {
    return {name, "colour", summary, "A OUTPUT", kModels, {}, kModelOptions, 1, 1,
            [c](Run& r) { runConversion(r, c); }};
}

const bool registered = registerOperations({
    conversion("rgb2hsv", "RGB to hue, saturation, value", {"RGB", "HSV", "ozlRGB2HSV", ozlRGB2HSV}),
    conversion("hsv2rgb", "hue, saturation, value to RGB", {"HSV", "RGB", "ozlHSV2RGB", ozlHSV2RGB}),
    conversion("rgb2hls", "RGB to hue, lightness, saturation", {"RGB", "HLS", "ozlRGB2HLS", ozlRGB2HLS}),
    conversion("hls2rgb", "hue, lightness, saturation to RGB", {"HLS", "RGB", "ozlHLS2RGB", ozlHLS2RGB}),
    conversion("rgb2xyz", "RGB to CIE XYZ", {"RGB", "XYZ", "ozlRGB2XYZ", ozlRGB2XYZ}),
    conversion("xyz2rgb", "CIE XYZ to RGB", {"XYZ", "RGB", "ozlXYZ2RGB", ozlXYZ2RGB}),
    conversion("rgb2yuv", "RGB to YUV", {"RGB", "YUV", "ozlRGB2YUV", ozlRGB2YUV}),
    conversion("yuv2rgb", "YUV to RGB", {"YUV", "RGB", "ozlYUV2RGB", ozlYUV2RGB}),
    conversion("rgb2ycrcb", "RGB to YCrCb (stored Y, Cb, Cr)", {"RGB", "YCrCb", "ozlRGB2YCrCb", ozlRGB2YCrCb}),
    conversion("ycrcb2rgb", "YCrCb to RGB", {"YCrCb", "RGB", "ozlYCrCb2RGB", ozlYCrCb2RGB}),
    conversion("ycc2rgb", "PhotoYCC to RGB (8u)", {"YCC", "RGB", "ozlYCC2RGB", ozlYCC2RGB}),
    conversion("rgb2luv", "RGB to CIE LUV (32f)", {"RGB", "LUV", "ozlRGB2LUV", ozlRGB2LUV}),
    conversion("luv2rgb", "CIE LUV to RGB (32f)", {"LUV", "RGB", "ozlLUV2RGB", ozlLUV2RGB}),
    {"twist", "colour", "a 3x4 matrix on every pixel's colour", "--matrix M A OUTPUT",
     "Each output channel is a row of the matrix times (R, G, B) plus the row's\n"
     "constant, divided by 2^scale and rounded, plus --offset, saturated (8u,\n"
     "16u; on 32f the same in floating point). Named matrices: sepia, swap-rb,\n"
     "grey.\n"
     "  ozl twist --matrix sepia photo.png old.png\n"
     "  ozl twist --matrix 0,0,1,0,1,0,1,0,0 photo.png swapped.png",
     {{"matrix", "M", "a name, or 9 (3x3) or 12 (3x4) integers, row by row"},
      {"scale", "S", "divide by 2^S, 0..31 (default 0, or the named matrix's)"},
      {"offset", "N", "added to every result (default 0)"}},
     kImageOp, 1, 1, runTwist},
    {"gray", "colour", "RGB to grey (one channel)", "A OUTPUT",
     "The weighted sum of red, green and blue (8u 54, 183, 18 over 256). 8u\n"
     "and 16u stay at their depth; 32s gives 16u.",
     {}, kModelOptions, 1, 1, runGray},
    {"colorize", "colour", "grey to RGB, a weight per channel", "[--weights r,g,b] A OUTPUT",
     "Each output channel is the grey value times its weight (default 1,1,1);\n"
     "a 1-bit picture gives 8u.\n"
     "  ozl colorize --weights 1,0.8,0.5 grey.png warm.png",
     {{"weights", "r,g,b", "the three weights (default 1,1,1)"}}, kModelOptions, 1, 1,
     runColorize},
});

// The demo: the scene aged with the sepia twist.
void demoColour(Demo& demo) {
    const Image& scene = demo.colour();
    Image old = scene.clone();
    std::unique_ptr<OzlColorTwist, void(OZL_CALL*)(OzlColorTwist*)> twist(nullptr,
                                                                           ozlDeleteColorTwist);
    int data[16] = {0};
    std::copy(kTwists[0].data, kTwists[0].data + 12, data);
    callLibrary("ozlCreateColorTwist",
                [&] { twist.reset(ozlCreateColorTwist(data, kTwists[0].scale)); });
    const double mps = demo.measure("ozlApplyColorTwist", scene.pixels(), [&] {
        ozlApplyColorTwist(scene.get(), old.get(), twist.get(), 0);
    });
    demo.show("twist-sepia", "ozlApplyColorTwist sepia", old, mps);
}

const bool demoRegistered = registerDemoStep({"colour", 70, demoColour});

}  // namespace
}  // namespace ozltool
