// Image-and-constant arithmetic, abs and square: the routing of each case
// that can only give all-zero, all-max, a copy or a complement (seen through
// the routed operation's own report), exact values at the limits, random
// data against the reference at every depth and layout, and the refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectPixelwise;
using ozl::test::expectRefused;
using ozl::test::TestImage;
using ozl::test::TiledImage;

const unsigned U1 = OZL_DEPTH_1U, U8 = OZL_DEPTH_8U, S8 = OZL_DEPTH_8S, U16 = OZL_DEPTH_16U,
               S16 = OZL_DEPTH_16S, S32 = OZL_DEPTH_32S, F32 = OZL_DEPTH_32F;

enum class Fn { AddS, SubS, SubSFlip, MulS, MulSScale, AddSFP, SubSFP, SubSFPFlip, MulSFP, Abs, Square };

void call(Fn f, OzlImage* s, OzlImage* d, double v) {
    const int i = static_cast<int>(v);
    const float r = static_cast<float>(v);
    switch (f) {
        case Fn::AddS: return ozlAddS(s, d, i);
        case Fn::SubS: return ozlSubtractS(s, d, i, 0);
        case Fn::SubSFlip: return ozlSubtractS(s, d, i, 1);
        case Fn::MulS: return ozlMultiplyS(s, d, i);
        case Fn::MulSScale: return ozlMultiplySScale(s, d, i);
        case Fn::AddSFP: return ozlAddSFP(s, d, r);
        case Fn::SubSFP: return ozlSubtractSFP(s, d, r, 0);
        case Fn::SubSFPFlip: return ozlSubtractSFP(s, d, r, 1);
        case Fn::MulSFP: return ozlMultiplySFP(s, d, r);
        case Fn::Abs:
            ozlSetErrStatus(OZL_StsOk);  // ozlAbs does nothing while the stored status is negative
            return ozlAbs(s, d);
        case Fn::Square: return ozlSquare(s, d);
    }
}

// The exact result, saturated to the depth (32F in single precision).
double expected(Fn f, unsigned depth, double a, double v) {
    if (depth == F32) {
        const float x = static_cast<float>(a), c = static_cast<float>(v);
        switch (f) {
            case Fn::AddSFP: return x + c;
            case Fn::SubSFP: return x - c;
            case Fn::SubSFPFlip: return c - x;
            case Fn::MulSFP: return x * c;
            case Fn::Abs: return std::fabs(x);
            default: return x * x;
        }
    }
    if (depth == U1) {
        const int b = static_cast<int>(a), k = static_cast<int>(v) & 1;
        switch (f) {
            case Fn::AddS: return b | k;
            case Fn::SubS: return b & !k;
            case Fn::SubSFlip: return k & !b;
            case Fn::MulS: return b & k;
            default: return b;
        }
    }
    double r;
    switch (f) {
        case Fn::AddS: r = a + v; break;
        case Fn::SubS: r = a - v; break;
        case Fn::SubSFlip: r = v - a; break;
        case Fn::MulS: r = a * v; break;
        case Fn::MulSScale: {
            const double c = std::clamp(v, 0.0, ozl::test::depthRange(depth).second);
            const uint32_t p = static_cast<uint32_t>(a) * static_cast<uint32_t>(c);
            const int bits = static_cast<int>(depth & 0xFF);
            return (p + (p >> bits) + 1) >> bits;
        }
        case Fn::Abs: r = std::fabs(a); break;
        default: r = a * a;
    }
    return std::clamp(r, ozl::test::depthRange(depth).first, ozl::test::depthRange(depth).second);
}

// Hand-checked values at the limits; every one of a 41-pixel row (vector
// blocks and tails) is compared.
TEST(ScalarArithmetic, ExactAtTheLimits) {
    struct Case {
        Fn f;
        unsigned depth;
        double a, v, want;
    };
    const double max32 = 2147483647.0, min32 = -2147483648.0;
    const Case cases[] = {
        {Fn::AddS, U8, 200, 300, 255},       {Fn::AddS, U8, 200, -70000, 0},
        {Fn::AddS, S16, -5, -70000, -32768}, {Fn::AddS, S32, max32, 1, max32},
        {Fn::AddS, S32, min32, min32, min32}, {Fn::SubS, S32, 0, min32, max32},
        {Fn::SubS, U8, 7, 255, 0},           {Fn::SubS, U16, 7, -70000, 65535},
        {Fn::SubSFlip, S8, -128, 1000, 127}, {Fn::SubSFlip, S8, 100, -1000, -128},
        {Fn::SubSFlip, U8, 10, 509, 255},    {Fn::SubSFlip, U8, 255, 509, 254},
        {Fn::SubSFlip, U16, 3, 0, 0},        {Fn::SubSFlip, S32, -1, max32, max32},
        {Fn::MulS, U16, 300, 0, 0},          {Fn::MulS, U16, 300, -4, 0},
        {Fn::MulS, U8, 3, 100000, 255},      {Fn::MulS, S8, -1, 129, -128},
        {Fn::MulS, S8, -1, 128, -128},       {Fn::MulS, S8, 1, -128, -128},
        {Fn::MulS, S16, -1, 32768, -32768},  {Fn::MulS, S16, -1, -32768, 32767},
        {Fn::MulS, S32, 65536, 65536, max32}, {Fn::MulS, S32, -3, 1, -3},
        {Fn::MulSScale, U8, 200, 255, 200},  {Fn::MulSScale, U8, 255, 128, 128},
        {Fn::MulSScale, U16, 65535, 65535, 65535}, {Fn::MulSScale, U8, 77, 999, 77},
        {Fn::Abs, S8, -128, 0, 127},         {Fn::Abs, S16, -32768, 0, 32767},
        {Fn::Abs, S32, min32, 0, max32},     {Fn::Abs, F32, -2.5, 0, 2.5},
        {Fn::Abs, U16, 65535, 0, 65535},     {Fn::Square, S8, -12, 0, 127},
        {Fn::Square, S32, 46341, 0, max32},  {Fn::Square, U16, 255, 0, 65025},
        {Fn::Square, U1, 1, 0, 1},           {Fn::AddSFP, F32, 1e38, 3e38, INFINITY},
        {Fn::SubSFPFlip, F32, 0.25, 1, 0.75}, {Fn::MulSFP, F32, -3, 0.5, -1.5},
    };
    ErrorCapture errors;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "fn " << static_cast<int>(c.f) << " depth 0x" << std::hex
                                        << c.depth << std::dec << ": " << c.a << ", " << c.v);
        TestImage s(c.depth, 41, 2), d(c.depth, 41, 2);
        s.fill(c.a);
        d.fillRandom(3);
        call(c.f, s, d, c.v);
        for (int x = 0; x < 41; ++x) ASSERT_EQ(d.at(x, 1), c.want) << "x " << x;
    }
    EXPECT_TRUE(errors.empty());
}

// Random data against the exact result: every depth each function takes,
// odd widths, both data orders, 1 to 4 channels with alpha on the 4th, a
// ROI on the source, constants inside and beyond the depth's range.
TEST(ScalarArithmetic, MatchesTheExactResultOnRandomData) {
    struct Family {
        Fn f;
        std::vector<unsigned> depths;
    };
    const std::vector<unsigned> ints = {U1, U8, S8, U16, S16, S32};
    const Family families[] = {
        {Fn::AddS, ints},   {Fn::SubS, ints},   {Fn::SubSFlip, ints}, {Fn::MulS, ints},
        {Fn::MulSScale, {U8, U16}}, {Fn::Abs, {S8, S16, S32, F32}}, {Fn::Square, {U1, U8, S8, U16, S16, S32, F32}},
        {Fn::AddSFP, {F32}}, {Fn::SubSFP, {F32}}, {Fn::SubSFPFlip, {F32}}, {Fn::MulSFP, {F32}},
    };
    const double constants[] = {0, 1, -1, 7, -100, 129, 255, 256, 509, 40000, -70000, 2e9};
    ErrorCapture errors;
    uint32_t seed = 11;
    for (const Family& fam : families)
        for (unsigned depth : fam.depths)
            for (int nCh : {1, 3, 4})
                for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                    if (depth == U1 && (nCh > 1 || order == OZL_DATA_ORDER_PLANE)) continue;
                    const double v = depth == F32 ? 0.375 * constants[seed % 12] : constants[seed % 12];
                    SCOPED_TRACE(testing::Message() << "fn " << static_cast<int>(fam.f) << " depth 0x"
                                                    << std::hex << depth << std::dec << " nCh " << nCh
                                                    << " order " << order << " constant " << v);
                    const bool alpha = nCh == 4;
                    TestImage s(depth, 37, 4, nCh, order, alpha), d(depth, 35, 3, nCh, order, alpha);
                    s.fillRandom(++seed, depth == U1 ? 0 : 0, 0);
                    if (depth == F32) s.fillRandom(seed, -300, 300);
                    d.fillRandom(++seed);
                    s.setRoi(0, 2, 1, 34, 3);
                    const TestImage before = d.clone();
                    call(fam.f, s, d, v);
                    expectPixelwise(before, d, s, nullptr,
                                    [&](double a, double) { return expected(fam.f, depth, a, v); });
                }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Each case settled before any header check goes to its bitwise operation,
// which reports a bad destination under its own name.
TEST(ScalarArithmetic, RoutesToTheBitwiseOperations) {
    struct Route {
        Fn f;
        unsigned depth;
        double v;
        const char* to;
    };
    const Route routes[] = {
        {Fn::AddS, U1, 5, "ozlOrS"},          {Fn::AddS, U8, 300, "ozlOrS"},  // through ozlSubtractS with -300
        {Fn::AddS, S16, -70000, "ozlSubtractS"}, {Fn::SubS, U1, 1, "ozlAndS"},
        {Fn::SubS, U1, 0, "ozlXorS"},         {Fn::SubSFlip, U1, 0, "ozlAndS"},
        {Fn::SubSFlip, U1, 3, "ozlXorS"},     {Fn::SubS, U8, 255, "ozlAndS"},
        {Fn::SubS, U16, -65535, "ozlOrS"},    {Fn::SubSFlip, U8, 0, "ozlAndS"},
        {Fn::SubSFlip, U16, 131070, "ozlOrS"}, {Fn::MulS, U1, 9, "ozlAndS"},
        {Fn::MulS, U8, 0, "ozlAndS"},         {Fn::Abs, U16, 0, "ozlCopy"},
    };
    ErrorCapture errors;
    for (const Route& r : routes) {
        SCOPED_TRACE(r.to);
        TestImage s(r.depth, 8, 2);
        OzlImage bad = *s.get();  // no data: fails the header check
        bad.imageData = nullptr;
        ozlSetErrStatus(OZL_StsOk);  // ozlAbs returns silently on a status left negative
        call(r.f, s, &bad, r.v);
        ASSERT_FALSE(errors.empty());
        EXPECT_EQ(errors.reports()[0].func, r.to);
        errors.clear();
    }
}

TEST(ScalarArithmetic, Refusals) {
    ErrorCapture errors;
    struct Refusal {
        Fn f;
        unsigned srcDepth, dstDepth;
        ErrorReport want;
    };
    const Refusal cases[] = {
        {Fn::AddS, F32, F32, {-5, "ozlAddS", "For processing depth 32F use function ozlAddSFP", "ozladds", 70}},
        {Fn::SubS, F32, F32, {-5, "ozlSubtractS", "For processing depth 32F use function ozlSubtractSFP", "ozlsubs", 70}},
        {Fn::MulS, F32, F32, {-5, "ozlMultiplyS", "For processing depth 32F use function ozlMultiplySFP", "ozlmuls", 70}},
        {Fn::AddSFP, U8, U8, {-5, "ozlAddSFP", "For processing this depth use function ozlAddS", "ozladdsf", 71}},
        {Fn::SubSFP, S16, S16, {-5, "ozlSubtractSFP", "For processing this depth use function ozlSubtractS", "ozlsubsf", 71}},
        {Fn::MulSFP, S32, S32, {-5, "ozlMultiplySFP", "For processing this depth use function ozlMultiplyS", "ozlmulsf", 71}},
        {Fn::AddS, S32, S16, {-5, "ozlAddS", "(srcImage->depth != dstImage->depth)", "ozladds", 110}},
        {Fn::MulS, S8, U8, {-5, "ozlMultiplyS", "(srcImage->depth != dstImage->depth)", "ozlmuls", 110}},
        {Fn::Square, S16, U16, {-5, "ozlSquare", "(srcImage->depth != dstImage->depth)", "ozlsqr", 110}},
        {Fn::Abs, S8, S16, {-5, "ozlAbs", "(srcImage->depth != dstImage->depth)", "ozlabs", 110}},
        {Fn::MulSScale, U8, S8, {-5, "ozlMultiplySScale", "dstImage->depth != 8 && dstImage->depth != 16", "ozlalpha", 230}},
        {Fn::MulSScale, U16, U8, {-5, "ozlMultiplySScale", "srcImage->depth != dstImage->depth", "ozlalpha", 231}},
    };
    for (const Refusal& r : cases) {
        SCOPED_TRACE(r.want.context);
        TestImage s(r.srcDepth, 9, 3), d(r.dstDepth, 9, 3);
        d.fillRandom(1);
        const auto before = d.bytes();
        ozlSetErrStatus(OZL_StsOk);
        call(r.f, s, d, 3);
        expectRefused(errors, d, before, r.want);
    }

    // The data-order check of every operation but ozlSubtractS, which takes a
    // pixel-order source into a plane-order destination.
    TestImage pix(S16, 9, 3, 3), plane(S16, 9, 3, 3, OZL_DATA_ORDER_PLANE);
    pix.fillRandom(2, -1000, 1000);
    plane.fillRandom(3);
    auto before = plane.bytes();
    ozlMultiplyS(pix, plane, 2);
    expectRefused(errors, plane, before,
                  {-5, "ozlMultiplyS", "(srcImage->dataOrder != dstImage->dataOrder)", "ozlmuls", 120});
    const TestImage old = plane.clone();
    ozlSubtractS(pix, plane, 7, 1);
    EXPECT_TRUE(errors.empty()) << errors.last();
    expectPixelwise(old, plane, pix, nullptr, [](double a, double) { return std::clamp(7 - a, -32768.0, 32767.0); });

    // Channel counts; Abs has its own rule, where alpha on one side only passes.
    TestImage one(S16, 9, 3, 1), rgba(S16, 9, 3, 4, OZL_DATA_ORDER_PIXEL, true);
    before = one.bytes();
    ozlSubtractS(rgba, one, 1, 0);
    expectRefused(errors, one, before, {-5, "ozlSubtractS", "(nChSrc != nChDst)", "ozlsubs", 130});
    // ozlAbs returns without a word while the stored status is negative.
    ozlAbs(rgba, pix);
    EXPECT_TRUE(errors.empty());
    ozlSetErrStatus(OZL_StsOk);
    rgba.setRoi(2, 0, 0, 9, 3);
    ozlAbs(rgba, pix);
    expectRefused(errors, pix, pix.bytes(), {-5, "ozlAbs", "(nChSrcCoi != nChDstCoi)", "ozlabs", 130});
    rgba.clearRoi();
    ozlSetErrStatus(OZL_StsOk);
    ozlAbs(one, pix);
    expectRefused(errors, pix, pix.bytes(),
                  {-5, "ozlAbs", "(srcImage->nChannels != dstImage->nChannels)", "ozlabs", 131});
    ozlSetErrStatus(OZL_StsOk);
    ozlAbs(rgba, pix);  // 3 channels without alpha on both sides
    EXPECT_TRUE(errors.empty()) << errors.last();

    // Abs reports both NULL pointers before it returns.
    ozlAbs(nullptr, nullptr);
    ASSERT_EQ(errors.count(), 2u);
    EXPECT_EQ(errors.reports()[0], (ErrorReport{-5, "ozlAbs", "srcImage==0", "ozlabs", 60}));
    EXPECT_EQ(errors.reports()[1], (ErrorReport{-5, "ozlAbs", "dstImage==0", "ozlabs", 61}));
}

TEST(ScalarArithmetic, MasksAndTiles) {
    ErrorCapture errors;
    TestImage s(U8, 70, 5, 3), d(U8, 70, 5, 3), m(U1, 70, 5);
    s.fillRandom(1);
    d.fillRandom(2);
    m.fillRandom(3);
    d.setMask(&m);
    const TestImage before = d.clone();
    ozlAddS(s, d, -90);  // through ozlSubtractS, with the destination's mask
    expectPixelwise(before, d, s, nullptr, [](double a, double) { return std::max(a - 90, 0.0); },
                    [&](int x, int y) { return m.at(x, y) != 0; });

    TiledImage ts(S16, 21, 13, 2, OZL_DATA_ORDER_PLANE, 8, 8), td(S16, 21, 13, 2, OZL_DATA_ORDER_PLANE, 16, 8);
    ts.pixels().fillRandom(4, -32768, 32767);
    td.pixels().fillRandom(5);
    const TestImage tdBefore = td.pixels().clone();
    ozlMultiplyS(ts, td, -3);
    expectPixelwise(tdBefore, td.pixels().get(), ts.pixels().get(), nullptr,
                    [](double a, double) { return std::clamp(a * -3, -32768.0, 32767.0); });
    EXPECT_TRUE(errors.empty()) << errors.last();
    TiledImage failing(S16, 21, 13, 2, OZL_DATA_ORDER_PLANE, 16, 8);
    failing.failFetch(2);
    ozlSetErrStatus(OZL_StsOk);
    ozlAbs(ts, failing);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlAbs", "(dstImage->tileInfo->tileData == ((void*)(0)))",
                                          "ozlabs", 162}));
}

}  // namespace
