// Comparisons: where a relation holds between two images, or an image and a
// constant, as a black-and-white (1-bit) picture.
#include <cinttypes>

#include "demo.hpp"
#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"
#include "run.hpp"

namespace ozltool {
namespace {

using ImagesFn = OzlStatus(OZL_CALL*)(OzlImage*, OzlImage*, OzlImage*);
using IntFn = OzlStatus(OZL_CALL*)(OzlImage*, int, OzlImage*);
using FloatFn = OzlStatus(OZL_CALL*)(OzlImage*, float, OzlImage*);

// One relation with its library functions; the Eps forms only for "equal".
struct Relation {
    const char* imagesName;
    ImagesFn images;
    const char* intName;
    IntFn withInt;
    const char* floatName;
    FloatFn withFloat;
};

void runCompare(Run& run, const Relation& rel) {
    Image a = run.input(0);
    // The result is one channel whatever the sources' channel of interest.
    Image res = run.blank(a.width(), a.height(), 1, OZL_DEPTH_1U, false);
    const bool withEps = run.args().has("eps");
    if (withEps && !isFloatDepth(a.depth()))
        throw Error("--eps compares 32f images (add --depth 32f)");
    const float eps = withEps ? static_cast<float>(run.args().real("eps", 0)) : 0.0f;
    if (run.inputCount() == 2) {
        if (run.args().has("value")) throw Error("give a second image or --value, not both");
        Image b = run.input(1);
        if (withEps)
            callLibrary("ozlEqualFPEps", [&] { ozlEqualFPEps(a.get(), b.get(), res.get(), eps); });
        else
            callLibrary(rel.imagesName, [&] { rel.images(a.get(), b.get(), res.get()); });
    } else if (!run.args().has("value")) {
        throw Error("give a second image or a constant (--value N)");
    } else if (isFloatDepth(a.depth())) {
        const auto v = static_cast<float>(run.args().real("value", 0));
        if (withEps)
            callLibrary("ozlEqualSFPEps", [&] { ozlEqualSFPEps(a.get(), v, res.get(), eps); });
        else
            callLibrary(rel.floatName, [&] { rel.withFloat(a.get(), v, res.get()); });
    } else {
        const auto v = static_cast<int>(run.args().integer("value", 0, INT32_MIN, INT32_MAX));
        callLibrary(rel.intName, [&] { rel.withInt(a.get(), v, res.get()); });
    }
    run.write(res);
}

const OptionSpec kValue = {"value", "N", "a constant instead of the second image"};
const char* const kTwoForms = "A B OUTPUT | --value N A OUTPUT";
const char* const kRule =
    "The output is black and white (1-bit): white where the relation holds in\n"
    "every channel (the alpha channel aside; only the --coi channel when given).\n"
    "Less and greater are strict. Within --roi the result is written; outside\n"
    "it stays black, as do pixels that --mask leaves out. Use the result as a\n"
    "--mask for other operations.";

const bool registered = registerOperations({
    {"less", "comparison", "white where A < B, or A < N", kTwoForms, kRule, {kValue},
     kDepthOption | kRegionOptions | kMaskOption | kOutputOptions, 1, 2,
     [](Run& r) {
         static const Relation rel = {"ozlLess", ozlLess, "ozlLessS", ozlLessS, "ozlLessSFP",
                                      ozlLessSFP};
         runCompare(r, rel);
     }},
    {"greater", "comparison", "white where A > B, or A > N", kTwoForms, kRule, {kValue},
     kDepthOption | kRegionOptions | kMaskOption | kOutputOptions, 1, 2,
     [](Run& r) {
         static const Relation rel = {"ozlGreater", ozlGreater, "ozlGreaterS", ozlGreaterS,
                                      "ozlGreaterSFP", ozlGreaterSFP};
         runCompare(r, rel);
     }},
    {"equal", "comparison", "white where A = B, or A = N (within --eps on 32f)", kTwoForms, kRule,
     {kValue, {"eps", "E", "32f: equal when |A - B| <= E (E > 0)"}},
     kDepthOption | kRegionOptions | kMaskOption | kOutputOptions, 1, 2,
     [](Run& r) {
         static const Relation rel = {"ozlEqual", ozlEqual, "ozlEqualS", ozlEqualS,
                                      "ozlEqualSFP", ozlEqualSFP};
         runCompare(r, rel);
     }},
});

// The demo: where the zone plate is brighter than mid grey.
void demoCompare(Demo& demo) {
    const Image& plate = demo.pattern();
    Image res(plate.width(), plate.height(), 1, OZL_DEPTH_1U);
    const double mps = demo.measure("ozlGreaterS", plate.pixels(),
                                    [&] { ozlGreaterS(plate.get(), 127, res.get()); });
    demo.show("greater-constant", "ozlGreaterS rings > 127", res, mps);
}

const bool demoRegistered = registerDemoStep({"comparison", 35, demoCompare});

}  // namespace
}  // namespace ozltool
