// Arithmetic, logic and shifts: two images, or an image and a constant.
#include <cinttypes>

#include "demo.hpp"
#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"
#include "run.hpp"

namespace ozltool {
namespace {

using ImagesFn = void(OZL_CALL*)(OzlImage*, OzlImage*, OzlImage*);
using IntFn = void(OZL_CALL*)(OzlImage*, OzlImage*, int);
using FloatFn = void(OZL_CALL*)(OzlImage*, OzlImage*, float);

// One operation with its library functions: for two images, for an integer
// image and a constant, for a float image and a constant (null where the
// library has none).
struct Pixelwise {
    const char* imagesName;
    ImagesFn images;
    const char* intName;
    IntFn withInt;
    const char* floatName;
    FloatFn withFloat;
};

const OptionSpec kValue = {"value", "N", "a constant instead of the second image"};

void runPixelwise(Run& run, const Pixelwise& op) {
    Image a = run.input(0);
    if (run.inputCount() == 2) {
        if (run.args().has("value")) throw Error("give a second image or --value, not both");
        Image b = run.input(1);
        Image dst = run.destination(a);
        callLibrary(op.imagesName, [&] { op.images(a.get(), b.get(), dst.get()); });
        run.write(dst);
        return;
    }
    if (!run.args().has("value")) throw Error("give a second image or a constant (--value N)");
    Image dst = run.destination(a);
    if (isFloatDepth(a.depth()) && op.withFloat) {
        const auto v = static_cast<float>(run.args().real("value", 0));
        callLibrary(op.floatName, [&] { op.withFloat(a.get(), dst.get(), v); });
    } else {
        const auto v = static_cast<int>(run.args().integer("value", 0, INT32_MIN, INT32_MAX));
        callLibrary(op.intName, [&] { op.withInt(a.get(), dst.get(), v); });
    }
    run.write(dst);
}

// ozlSubtractS takes a flag for constant minus image.
void runSubtract(Run& run) {
    static const Pixelwise kMinus = {
        "ozlSubtract", ozlSubtract,
        "ozlSubtractS", [](OzlImage* s, OzlImage* d, int v) { ozlSubtractS(s, d, v, 0); },
        "ozlSubtractSFP", [](OzlImage* s, OzlImage* d, float v) { ozlSubtractSFP(s, d, v, 0); }};
    static const Pixelwise kFlipped = {
        "ozlSubtract", ozlSubtract,
        "ozlSubtractS", [](OzlImage* s, OzlImage* d, int v) { ozlSubtractS(s, d, v, 1); },
        "ozlSubtractSFP", [](OzlImage* s, OzlImage* d, float v) { ozlSubtractSFP(s, d, v, 1); }};
    const bool flip = run.args().has("flip");
    if (flip && run.inputCount() == 2) throw Error("--flip goes with --value, not a second image");
    runPixelwise(run, flip ? kFlipped : kMinus);
}

void runUnary(Run& run, const char* name, void(OZL_CALL* fn)(OzlImage*, OzlImage*)) {
    Image a = run.input(0);
    Image dst = run.destination(a);
    callLibrary(name, [&] { fn(a.get(), dst.get()); });
    run.write(dst);
}

void runShift(Run& run, const char* name, void(OZL_CALL* fn)(OzlImage*, OzlImage*, unsigned)) {
    const auto by = static_cast<unsigned>(run.args().integer("by", 1, 0, 31));
    Image a = run.input(0);
    Image dst = run.destination(a);
    callLibrary(name, [&] { fn(a.get(), dst.get(), by); });
    run.write(dst);
}

const char* const kTwoForms = "A B OUTPUT | --value N A OUTPUT";

const char* const kSaturation =
    "Integer results saturate to the depth's range (8u: 0..255); 32f results are\n"
    "not clamped. Work at a wider or signed depth (--depth 16s) to keep\n"
    "results that the input's depth cannot hold.";

const bool registered = registerOperations({
    {"add", "arithmetic", "A + B, or A + N", kTwoForms, kSaturation, {kValue}, kImageOp, 1, 2,
     [](Run& r) {
         static const Pixelwise op = {"ozlAdd", ozlAdd, "ozlAddS", ozlAddS, "ozlAddSFP", ozlAddSFP};
         runPixelwise(r, op);
     }},
    {"sub", "arithmetic", "A - B, A - N, or N - A with --flip", kTwoForms, kSaturation,
     {kValue, {"flip", nullptr, "subtract the image from the constant: N - A"}}, kImageOp, 1, 2,
     runSubtract},
    {"mul", "arithmetic", "A * B, or A * N", kTwoForms, kSaturation, {kValue}, kImageOp, 1, 2,
     [](Run& r) {
         static const Pixelwise op = {"ozlMultiply", ozlMultiply, "ozlMultiplyS", ozlMultiplyS,
                                      "ozlMultiplySFP", ozlMultiplySFP};
         runPixelwise(r, op);
     }},
    {"mulscale", "arithmetic", "A * B / white, or A * N / white (8u, 16u)", kTwoForms,
     "The product divided by the depth's white level and rounded: 8u 255, 16u\n"
     "65535. Multiplying by white leaves an image as it is, by half white halves\n"
     "it: a blend of two pictures, or a picture darkened through a mask.",
     {kValue}, kImageOp, 1, 2,
     [](Run& r) {
         static const Pixelwise op = {"ozlMultiplyScale", ozlMultiplyScale, "ozlMultiplySScale",
                                      ozlMultiplySScale, nullptr, nullptr};
         runPixelwise(r, op);
     }},
    {"abs", "arithmetic", "|A|", "A OUTPUT",
     "The absolute value; the most negative value of a signed depth becomes the\n"
     "largest positive one. Unsigned depths are copied.",
     {}, kImageOp, 1, 1, [](Run& r) { runUnary(r, "ozlAbs", ozlAbs); }},
    {"square", "arithmetic", "A * A", "A OUTPUT", kSaturation, {}, kImageOp, 1, 1,
     [](Run& r) { runUnary(r, "ozlSquare", ozlSquare); }},

    {"and", "logic", "A AND B, or A AND N, bit by bit", kTwoForms,
     "Bitwise on integer depths (constants may be written 0xE0).", {kValue}, kImageOp, 1, 2,
     [](Run& r) {
         static const Pixelwise op = {"ozlAnd", ozlAnd, "ozlAndS", ozlAndS, nullptr, nullptr};
         runPixelwise(r, op);
     }},
    {"or", "logic", "A OR B, or A OR N, bit by bit", kTwoForms,
     "Bitwise on integer depths (constants may be written 0x80).", {kValue}, kImageOp, 1, 2,
     [](Run& r) {
         static const Pixelwise op = {"ozlOr", ozlOr, "ozlOrS", ozlOrS, nullptr, nullptr};
         runPixelwise(r, op);
     }},
    {"xor", "logic", "A XOR B, or A XOR N, bit by bit", kTwoForms,
     "Bitwise on integer depths (constants may be written 0xFF).", {kValue}, kImageOp, 1, 2,
     [](Run& r) {
         static const Pixelwise op = {"ozlXor", ozlXor, "ozlXorS", ozlXorS, nullptr, nullptr};
         runPixelwise(r, op);
     }},
    {"not", "logic", "NOT A, bit by bit (the negative of an unsigned image)", "A OUTPUT",
     "Every bit inverted: on 8u and 16u the photographic negative.", {}, kImageOp, 1, 1,
     [](Run& r) { runUnary(r, "ozlNot", ozlNot); }},
    {"lshift", "logic", "A shifted left by N bits", "--by N A OUTPUT",
     "Each value shifted left; bits leaving the value are lost.",
     {{"by", "N", "bits to shift, 0..31 (default 1)"}}, kImageOp, 1, 1,
     [](Run& r) { runShift(r, "ozlLShiftS", ozlLShiftS); }},
    {"rshift", "logic", "A shifted right by N bits", "--by N A OUTPUT",
     "Each value shifted right: unsigned depths fill with zeros, signed ones with\n"
     "the sign (a division by 2^N rounding down).",
     {{"by", "N", "bits to shift, 0..31 (default 1)"}}, kImageOp, 1, 1,
     [](Run& r) { runShift(r, "ozlRShiftS", ozlRShiftS); }},
});

// The demo: the scene seen through the zone plate (an 8u product scaled back
// to 8u), and posterised by masking the low bits.
void demoArithmetic(Demo& demo) {
    const Image& scene = demo.colour();
    Image rings = demo.greyAsColour();
    Image product = scene.clone();
    const double mps = demo.measure("ozlMultiplyScale", scene.pixels(), [&] {
        ozlMultiplyScale(scene.get(), rings.get(), product.get());
    });
    demo.show("multiply-scale", "ozlMultiplyScale scene x rings", product, mps);
}

void demoLogic(Demo& demo) {
    const Image& scene = demo.colour();
    Image posterised = scene.clone();
    const double mps = demo.measure("ozlAndS", scene.pixels(),
                                    [&] { ozlAndS(scene.get(), posterised.get(), 0xC0); });
    demo.show("and-constant", "ozlAndS 0xC0 (posterise)", posterised, mps);
}

const bool demoRegistered = registerDemoStep({"arithmetic", 20, demoArithmetic}) &&
                            registerDemoStep({"logic", 30, demoLogic});

}  // namespace
}  // namespace ozltool
