// Moving pixels: copy (with a mask, a region, a channel) and fill.
#include <cinttypes>

#include "demo.hpp"
#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"
#include "run.hpp"

namespace ozltool {
namespace {

// Without --onto the copy lands on black (with the source's alpha channel,
// which the library's copy leaves alone), so that a mask or a region shows.
void runCopy(Run& run) {
    Image src = run.input(0);
    Image dst;
    if (run.args().has("onto")) {
        dst = run.destination(src);
    } else {
        Image black = src.clone();
        const int colours = src.hasAlpha() ? src.channels() - 1 : src.channels();
        for (int y = 0; y < src.height(); ++y)
            for (int x = 0; x < src.width(); ++x)
                for (int c = 0; c < colours; ++c) black.put(x, y, c, 0);
        dst = run.destination(black);
    }
    callLibrary("ozlCopy", [&] { ozlCopy(src.get(), dst.get()); });
    run.write(dst);
}

void runSet(Run& run) {
    if (!run.args().has("value")) throw Error("give the value to fill with (--value N)");
    Image image = run.input(0);
    Image dst = run.destination(image);
    if (isFloatDepth(dst.depth())) {
        const auto v = static_cast<float>(run.args().real("value", 0));
        callLibrary("ozlSetFP", [&] { ozlSetFP(dst.get(), v); });
    } else {
        const auto v = static_cast<int>(run.args().integer("value", 0, INT32_MIN, INT32_MAX));
        callLibrary("ozlSet", [&] { ozlSet(dst.get(), v); });
    }
    run.write(dst);
}

const bool registered = registerOperations({
    {"copy", "data", "copy a picture, through a mask, a region or a channel", "SOURCE OUTPUT",
     "Copies SOURCE onto --onto FILE, or onto black. With --mask only the pixels\n"
     "where the mask is not black are copied; with --roi only that rectangle;\n"
     "with --coi only that channel. Without any of them, copy converts between\n"
     "file formats:\n"
     "  ozl copy photo.png photo.ppm\n"
     "  ozl copy --mask circle.png --onto background.png photo.png out.png",
     {}, kImageOp, 1, 1, runCopy},
    {"set", "data", "fill with a constant (within a region, channel or mask)", "--value N A OUTPUT",
     "Sets every pixel of the region (or the masked pixels, or one channel) to N,\n"
     "saturated to the depth; 32f takes a real number.\n"
     "  ozl set --value 0 --roi 10,10,100,50 in.png out.png",
     {{"value", "N", "the fill value"}}, kImageOp, 1, 1, runSet},
});

// The demo: the scene copied onto the zone plate (in colour) through a mask
// of the plate's own rings.
void demoData(Demo& demo) {
    const Image& scene = demo.colour();
    Image rings = demo.greyAsColour();
    OzlImage* bits = nullptr;
    callLibrary("ozlCreateImageJaehne", [&] {
        bits = ozlCreateImageJaehne(OZL_DEPTH_1U, scene.width(), scene.height());
    });
    rings.setMask(Image::adopt(bits));
    const double mps = demo.measure("ozlCopy", scene.pixels(),
                                    [&] { ozlCopy(scene.get(), rings.get()); });
    demo.show("copy-masked", "ozlCopy through a 1-bit mask", rings, mps);
}

const bool demoRegistered = registerDemoStep({"data", 40, demoData});

}  // namespace
}  // namespace ozltool
