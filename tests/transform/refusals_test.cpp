// The checks of the transform entry points in their order: status, message,
// module and line of each refusal, and the destination left as it was.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "transform/reference.hpp"

namespace {

using namespace ozl::test;

// The images of one call: a source or two and a destination; a case changes
// them before the call.
struct Operands {
    TestImage a{OZL_DEPTH_32F, 8, 6}, b{OZL_DEPTH_32F, 8, 6}, d{OZL_DEPTH_32F, 8, 6}, bits{OZL_DEPTH_1U, 8, 6};
    OzlImage *src = a, *srcB = b, *dst = d;
    std::unique_ptr<TiledImage> tiled;
    TestImage* watched = &d;
};

using TransformRefusals = TransformTest;
enum class Fn { Real, Ccs, Dct, Mpy };
const char* nameOf(Fn fn) {
    return fn == Fn::Real ? "ozlRealFft2D" : fn == Fn::Ccs ? "ozlCcsFft2D" : fn == Fn::Dct ? "ozlDCT2D" : "ozlMpyRCPack2D";
}

void call(Fn fn, Operands& o, int flags) {
    if (fn == Fn::Mpy) return ozlMpyRCPack2D(o.src, o.srcB, o.dst, flags);
    (fn == Fn::Real ? ozlRealFft2D : fn == Fn::Ccs ? ozlCcsFft2D : ozlDCT2D)(o.src, o.dst, flags);
}

struct Case { Fn fn; int flags; std::function<void(Operands&)> setUp; OzlStatus status; std::string message; int line; };

const std::string kSize = "Regions of srcImage and dstImage differ in size";
const std::string kCcsSize = "The spectrum region must be 2*(width/2+1) x height of the image region";

// Operand 'a', 'b' or 'd' replaced by an image of another depth, size or channel count.
auto as(char which, unsigned depth, int w = 8, int h = 6, int nCh = 1) {
    return [=](Operands& o) {
        TestImage& im = which == 'a' ? o.a : which == 'b' ? o.b : o.d;
        im = TestImage(depth, w, h, nCh);
        (which == 'a' ? o.src : which == 'b' ? o.srcB : o.dst) = im;
    };
}

// A tiled source or destination whose first fetch fails.
auto tiled(bool destination) {
    return [destination](Operands& o) {
        o.tiled = std::make_unique<TiledImage>(OZL_DEPTH_32F, 8, 6, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
        o.tiled->failFetch(1);
        (destination ? o.dst : o.src) = *o.tiled;
        if (destination) o.watched = &o.tiled->pixels();
    };
}

const int F = OZL_FFT_FORWARD, I = OZL_FFT_INVERSE;

const Case kCases[] = {
    // ozlRealFft2D, "ozlfft"
    {Fn::Real, F, [](Operands& o) { o.src = nullptr; }, OZL_StsHeaderIsNull, "Incorrect Image", 58},
    {Fn::Real, 0, nullptr, OZL_StsBadArg, "Incorrect flags", 61},
    {Fn::Real, 3, nullptr, OZL_StsBadArg, "Incorrect flags", 61},
    {Fn::Real, F | 16, nullptr, OZL_StsBadArg, "Incorrect flags", 61},
    {Fn::Real, F, [](Operands& o) { o.a.setMask(&o.bits); }, OZL_StsBadArg, "Masks are not supported", 64},
    {Fn::Real, F, [](Operands& o) { o.src = o.bits; }, OZL_StsBadDepth, "(srcImage->depth == OZL_DEPTH_1U)", 67},
    {Fn::Real, F, as('d', OZL_DEPTH_16S), OZL_StsBadDepth, "(dstImage->depth != OZL_DEPTH_32F)", 69},
    {Fn::Real, I, as('a', OZL_DEPTH_8U), OZL_StsBadDepth, "(srcImage->depth != OZL_DEPTH_32F)", 72},
    {Fn::Real, I, as('d', OZL_DEPTH_1U), OZL_StsBadDepth, "(dstImage->depth == OZL_DEPTH_1U)", 74},
    {Fn::Real, F, as('a', OZL_DEPTH_32F, 8, 6, 3), OZL_StsBadNumChannels, "Different numbers of channels to transform", 77},
    {Fn::Real, F, [](Operands& o) { o.d.setRoi(0, 0, 0, 7, 6); }, OZL_StsBadROISize, kSize, 80},
    {Fn::Real, I, [](Operands& o) { o.a.setRoi(0, 0, 1, 8, 5); }, OZL_StsBadROISize, kSize, 80},
    {Fn::Real, F, tiled(false), OZL_StsError, "Error get tile to read", 99},
    {Fn::Real, F, tiled(true), OZL_StsError, "Error get tile to write", 101},
    // ozlCcsFft2D, "ozlfft": the spectrum is 2 (w/2 + 1) wide. The checks it
    // shares with ozlRealFft2D are replayed below.
    {Fn::Ccs, I, as('a', OZL_DEPTH_32F, 10, 5), OZL_StsBadROISize, kCcsSize, 180},
    {Fn::Ccs, F, nullptr, OZL_StsBadROISize, kCcsSize, 180},
    // ozlDCT2D, "ozldct": flags are a direction alone.
    {Fn::Dct, OZL_DCT_FORWARD | OZL_FFT_SCALE_NONE, [](Operands& o) { o.d.setMask(&o.bits); }, OZL_StsBadArg, "Incorrect flags", 49},
    {Fn::Dct, OZL_DCT_FORWARD, [](Operands& o) { o.d.setRoi(0, 1, 0, 7, 6); }, OZL_StsBadROISize, kSize, 68},
    // ozlMpyRCPack2D, "ozlmpyrc"
    {Fn::Mpy, 0, [](Operands& o) { o.srcB = nullptr; }, OZL_StsHeaderIsNull, "Incorrect Image", 41},
    {Fn::Mpy, 2, nullptr, OZL_StsBadArg, "Incorrect flags", 44},
    {Fn::Mpy, 0, [](Operands& o) { o.b.setMask(&o.bits); }, OZL_StsBadArg, "Masks are not supported", 47},
    {Fn::Mpy, 0, [](Operands& o) { o.src = o.bits; }, OZL_StsBadDepth, "(srcImageA->depth != OZL_DEPTH_32F)", 50},
    {Fn::Mpy, 0, as('b', OZL_DEPTH_8U), OZL_StsBadDepth, "(srcImageB->depth != OZL_DEPTH_32F)", 51},
    {Fn::Mpy, 0, as('d', OZL_DEPTH_16U), OZL_StsBadDepth, "(dstImage->depth != OZL_DEPTH_32F)", 52},
    {Fn::Mpy, 0, as('b', OZL_DEPTH_32F, 8, 6, 2), OZL_StsBadNumChannels, "Different numbers of channels to multiply", 55},
    {Fn::Mpy, 0, [](Operands& o) { o.b.setRoi(0, 0, 0, 8, 5); }, OZL_StsBadROISize, "Regions of the images differ in size", 58},
    {Fn::Mpy, 0, tiled(false), OZL_StsError, "Error get tile to read", 72},
    {Fn::Mpy, 0, tiled(true), OZL_StsError, "Error get tile to write", 74},
};

void expectCase(const Case& c, Fn fn, int line) {
    SCOPED_TRACE(testing::Message() << nameOf(fn) << " line " << line);
    Operands o;
    o.a.fillRandom(1, -1, 1), o.b.fillRandom(2, -1, 1), o.d.fillRandom(3, -1, 1);
    if (c.setUp) c.setUp(o);
    const std::vector<uint8_t> before = o.watched->bytes();
    ErrorCapture errors;
    call(fn, o, c.flags);
    const char* module = fn == Fn::Dct ? "ozldct" : fn == Fn::Mpy ? "ozlmpyrc" : "ozlfft";
    expectRefused(errors, *o.watched, before, {c.status, nameOf(fn), c.message, module, line});
}

TEST_F(TransformRefusals, EachCheckInOrder) {
    for (const Case& c : kCases) expectCase(c, c.fn, c.line);
    // ozlCcsFft2D and ozlDCT2D make the checks of ozlRealFft2D at lines 100
    // after and 12 before its own (the size check aside; CCS spectra of the
    // 8-wide images fail that before any tile is fetched).
    for (const Case& c : kCases) {
        if (c.fn != Fn::Real || c.line == 80) continue;
        if (c.line < 80) expectCase(c, Fn::Ccs, c.line + 100);
        expectCase(c, Fn::Dct, c.line - 12);
    }
}

// Empty regions (a ROI that starts past its image) are no work and no error.
TEST_F(TransformRefusals, EmptyRegionsDoNothing) {
    for (Fn fn : {Fn::Real, Fn::Ccs, Fn::Dct, Fn::Mpy}) {
        Operands o;
        o.d.fillRandom(3, -1, 1);
        for (TestImage* im : {&o.a, &o.b, &o.d}) im->setRoi(0, 8, 0, 4, 6);
        const std::vector<uint8_t> before = o.d.bytes();
        call(fn, o, fn == Fn::Mpy ? 0 : OZL_FFT_FORWARD);
        EXPECT_EQ(o.d.bytes(), before) << nameOf(fn);
    }
}

}  // namespace
