// Pictures themselves: what a file holds, and the pictures the tool makes
// (the zone plate test pattern and the colour scene).
#include "demo.hpp"
#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"
#include "run.hpp"

namespace ozltool {
namespace {

void runInfo(Run& run) {
    for (std::size_t i = 0; i < run.inputCount(); ++i) {
        const FileInfo f = probePicture(run.inputPath(i));
        static const char* const kLayouts[] = {"grey", "grey+alpha", "RGB", "RGBA"};
        std::fprintf(run.out(), "%s: %s %dx%d %s %s\n", run.inputPath(i).c_str(),
                     formatName(f.format), f.width, f.height,
                     f.channels >= 1 && f.channels <= 4 ? kLayouts[f.channels - 1] : "?",
                     sampleName(f.sample));
    }
}

void sizeOption(const Run& run, int defaultWidth, int defaultHeight, int* w, int* h) {
    *w = defaultWidth;
    *h = defaultHeight;
    if (run.args().has("size")) parseSize(run.args().text("size"), "--size", w, h);
}

void runPattern(Run& run) {
    int w, h;
    sizeOption(run, 512, 512, &w, &h);
    const unsigned depth = run.depth();
    OzlImage* plate = nullptr;
    callLibrary("ozlCreateImageJaehne", [&] { plate = ozlCreateImageJaehne(depth, w, h); });
    const Image image = Image::adopt(plate);
    // Signed and float patterns span their depth's range around 0; mapped
    // onto an integer file's range they show as the unsigned ones do. A float
    // file keeps the values.
    const bool spansZero = isSignedDepth(depth) || isFloatDepth(depth);
    run.write(image, spansZero && run.outputStyle(image, false).sample != Sample::F32);
}

void runScene(Run& run) {
    int w, h;
    sizeOption(run, 800, 600, &w, &h);
    const Picture scene = makeScene(w, h, run.args().has("alpha"));
    Image image = toImage(scene, run.depth());
    run.write(image);
}

const bool registered = registerOperations({
    {"info", "files", "format, size, channels and samples of picture files", "FILE...",
     "Prints one line per file, from its header: format, width x height, the\n"
     "channels (grey, grey+alpha, RGB, RGBA) and the sample size, as ozl reads\n"
     "it (palette PNG files read as RGB).",
     {}, 0, 1, 1 << 20, runInfo, false},
    {"pattern", "test images", "the zone plate test pattern (ozlCreateImageJaehne)", "OUTPUT",
     "Writes the zone plate: rings around the centre whose frequency grows with\n"
     "the distance, up to half a cycle per pixel at half the larger side. Good\n"
     "for seeing what filters and resampling do to every frequency at once.\n"
     "Signed and float depths are written stretched onto the file's range.",
     {{"size", "WxH", "size of the pattern (default 512x512)"}},
     kDepthOption | kOutputOptions, 0, 0, runPattern},
    {"scene", "test images", "the demo's generated colour scene", "OUTPUT",
     "Writes the colour scene the demo runs on: sky, sun, hills, a lake, three\n"
     "coloured balls and a colour wheel.",
     {{"size", "WxH", "size of the scene (default 800x600)"},
      {"alpha", nullptr, "add an alpha channel fading from left to right"}},
     kDepthOption | kOutputOptions, 0, 0, runScene},
});

void demoTestImage(Demo& demo) {
    const int w = demo.colour().width(), h = demo.colour().height();
    Image plate;
    const double mps = demo.measure("ozlCreateImageJaehne", static_cast<long long>(w) * h, [&] {
        plate = Image::adopt(ozlCreateImageJaehne(OZL_DEPTH_16U, w, h));
    });
    demo.show("zone-plate-16u", "ozlCreateImageJaehne 16u", plate, mps);
}

const bool demoRegistered = registerDemoStep({"test images", 10, demoTestImage});

}  // namespace
}  // namespace ozltool
