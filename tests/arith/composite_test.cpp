// ozlAlphaComposite, ozlAlphaCompositeC, ozlPreMultiplyAlpha: the twelve
// Porter-Duff operators against their closed forms on premultiplied and
// straight colours at both depths, hand-computed values, separate alpha
// images and a destination alpha image, constant alphas, the
// premultiplication, masks, tiles, and the refusals of the module.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::expectRefused;
using ozl::test::TestImage;
using ozl::test::TiledImage;

using U = uint64_t;

// FA and FB of each operator, from the alphas and the maximum.
struct Fractions {
    U fa, fb;
};
Fractions fractions(int op, U aA, U aB, U M) {
    switch (op) {
        case OZL_COMPOSITE_CLEAR: return {0, 0};
        case OZL_COMPOSITE_A: return {M, 0};
        case OZL_COMPOSITE_B: return {0, M};
        case OZL_COMPOSITE_A_OVER_B: return {M, M - aA};
        case OZL_COMPOSITE_B_OVER_A: return {M - aB, M};
        case OZL_COMPOSITE_A_IN_B: return {aB, 0};
        case OZL_COMPOSITE_B_IN_A: return {0, aA};
        case OZL_COMPOSITE_A_OUT_B: return {M - aB, 0};
        case OZL_COMPOSITE_B_OUT_A: return {0, M - aA};
        case OZL_COMPOSITE_A_ATOP_B: return {aB, M - aA};
        case OZL_COMPOSITE_B_ATOP_A: return {M - aB, aA};
        default: return {M - aB, M - aA};
    }
}

// The closed forms: whole quotients by M, saturated sums; straight colours as
// the alpha-weighted average rounded to nearest.
U resultAlpha(int op, U aA, U aB, U M) {
    const Fractions f = fractions(op, aA, aB, M);
    return std::min(M, aA * f.fa / M + aB * f.fb / M);
}
U resultColour(int op, bool premultiplied, U cA, U aA, U cB, U aB, U M) {
    const Fractions f = fractions(op, aA, aB, M);
    if (premultiplied) return std::min(M, cA * f.fa / M + cB * f.fb / M);
    const U w = aA * f.fa + aB * f.fb;
    return w == 0 ? 0 : (cA * aA * f.fa + cB * aB * f.fb + w / 2) / w;
}

// Random values with about a quarter of the alphas at 0 or M.
void fillPixels(TestImage& im, U M, uint32_t seed) {
    im.fillRandom(seed);
    for (int y = 0; y < im->height; ++y)
        for (int x = 0; x < im->width; ++x)
            if ((x * 7 + y + seed) % 4 == 0) im.put(x, y, im->nChannels - 1, (x + seed) % 2 ? M : 0);
}

TEST(Composite, EveryOperatorAgainstItsClosedForm) {
    ErrorCapture errors;
    for (auto [depth, M] : {std::pair{OZL_DEPTH_8U, U{255}}, {OZL_DEPTH_16U, U{65535}}})
        for (int op = OZL_COMPOSITE_CLEAR; op <= OZL_COMPOSITE_XOR; ++op)
            for (int premul : {1, 0})
                for (bool inPlace : {false, true}) {
                    SCOPED_TRACE(testing::Message() << "depth " << depth << " op " << op << " premul "
                                                    << premul << (inPlace ? " in place" : ""));
                    TestImage a(depth, 37, 3, 4, OZL_DATA_ORDER_PIXEL, true);
                    TestImage b(depth, 37, 3, 4, OZL_DATA_ORDER_PIXEL, true);
                    TestImage d(depth, 37, 3, 4, OZL_DATA_ORDER_PIXEL, true);
                    fillPixels(a, M, 1 + op);
                    fillPixels(b, M, 2 + op);
                    d.fillRandom(3);
                    const TestImage a0 = a.clone();
                    OzlImage* dst = inPlace ? a.get() : d.get();
                    ozlAlphaComposite(a, b, dst, op, nullptr, nullptr, nullptr, premul);
                    for (int y = 0; y < 3; ++y)
                        for (int x = 0; x < 37; ++x) {
                            const U aA = static_cast<U>(a0.at(x, y, 3)), aB = static_cast<U>(b.at(x, y, 3));
                            for (int c = 0; c < 3; ++c)
                                ASSERT_EQ(ozl::test::valueOf(dst, x, y, c),
                                          resultColour(op, premul, static_cast<U>(a0.at(x, y, c)), aA,
                                                       static_cast<U>(b.at(x, y, c)), aB, M))
                                    << x << ", " << y << " channel " << c;
                            ASSERT_EQ(ozl::test::valueOf(dst, x, y, 3), resultAlpha(op, aA, aB, M)) << x;
                        }
                }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Composite, HandComputedValues) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_8U, 1, 1, 4, OZL_DATA_ORDER_PIXEL, true), b(OZL_DEPTH_8U, 1, 1, 4, OZL_DATA_ORDER_PIXEL, true);
    TestImage d(OZL_DEPTH_8U, 1, 1, 4, OZL_DATA_ORDER_PIXEL, true);
    const double pa[4] = {200, 0, 128, 200}, pb[4] = {100, 255, 1, 255};
    for (int c = 0; c < 4; ++c) {
        a.put(0, 0, c, pa[c]);
        b.put(0, 0, c, pb[c]);
    }
    // Premultiplied A over B: 200 + 100 * 55 / 255 = 221; alpha 200 + 55 = 255.
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_OVER_B, nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(d.at(0, 0, 0), 221);
    EXPECT_EQ(d.at(0, 0, 1), 55);  // 0 + 255 * 55 / 255
    EXPECT_EQ(d.at(0, 0, 3), 255);
    // Straight, alpha 128 over opaque: (200 * 128 * 255 + 100 * 255 * 127) / 65025 = 150.19 -> 150.
    a.put(0, 0, 3, 128);
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_OVER_B, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(d.at(0, 0, 0), 150);
    EXPECT_EQ(d.at(0, 0, 3), 255);
    // A in B keeps A scaled by B's alpha: straight gives A's colour back.
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_IN_B, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(d.at(0, 0, 0), 200);
    EXPECT_EQ(d.at(0, 0, 3), 128);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Three-channel images in plane order with their alphas in separate images
// (one of them a lone alpha channel selected by its ROI), the result alpha in
// a destination alpha image, regions at offsets, and a mask on A.
TEST(Composite, AlphaImagesMasksAndRegions) {
    ErrorCapture errors;
    const U M = 65535;
    TestImage a(OZL_DEPTH_16U, 30, 5, 3, OZL_DATA_ORDER_PLANE), b(OZL_DEPTH_16U, 28, 4, 3);
    TestImage d(OZL_DEPTH_16U, 28, 4, 3), alphaA(OZL_DEPTH_16U, 30, 5), alphaB(OZL_DEPTH_16U, 28, 4, 1, OZL_DATA_ORDER_PIXEL, true);
    TestImage alphaD(OZL_DEPTH_16U, 28, 4, 2), mask(OZL_DEPTH_1U, 28, 4);
    a.fillRandom(1);
    b.fillRandom(2);
    d.fillRandom(3);
    alphaA.fillRandom(4);
    alphaB.fillRandom(5);
    alphaD.fillRandom(6);
    mask.fillRandom(7);
    a.setRoi(0, 2, 1, 28, 4);
    alphaA.setRoi(0, 2, 1, 28, 4);
    alphaB.setRoi(1, 0, 0, 28, 4);
    alphaD.setRoi(2, 0, 0, 28, 4);
    a.setMask(&mask);
    const TestImage dBefore = d.clone(), alphaDBefore = alphaD.clone();
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_ATOP_B, alphaA, alphaB, alphaD, 0);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 28; ++x) {
            const bool on = mask.at(x, y) != 0;
            const U aA = static_cast<U>(alphaA.at(x + 2, y + 1)), aB = static_cast<U>(alphaB.at(x, y));
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(d.at(x, y, c), on ? resultColour(OZL_COMPOSITE_A_ATOP_B, false,
                                                           static_cast<U>(a.at(x + 2, y + 1, c)), aA,
                                                           static_cast<U>(b.at(x, y, c)), aB, M)
                                            : dBefore.at(x, y, c));
            ASSERT_EQ(alphaD.at(x, y, 1), on ? resultAlpha(OZL_COMPOSITE_A_ATOP_B, aA, aB, M) : alphaDBefore.at(x, y, 1));
            ASSERT_EQ(alphaD.at(x, y, 0), alphaDBefore.at(x, y, 0));
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Composite, ConstantAlphasAndOpaqueImages) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_8U, 20, 2, 3), b(OZL_DEPTH_8U, 20, 2, 4, OZL_DATA_ORDER_PIXEL, true);
    TestImage d(OZL_DEPTH_8U, 20, 2, 4, OZL_DATA_ORDER_PIXEL, true);
    a.fillRandom(1);
    b.fillRandom(2);
    // 300 is taken as 255; B's own alpha channel is not read.
    ozlAlphaCompositeC(a, b, d, OZL_COMPOSITE_XOR, 300, 77, 1);
    for (int x = 0; x < 20; ++x) {
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(d.at(x, 1, c), resultColour(OZL_COMPOSITE_XOR, true, static_cast<U>(a.at(x, 1, c)), 255,
                                                  static_cast<U>(b.at(x, 1, c)), 77, 255));
        EXPECT_EQ(d.at(x, 1, 3), resultAlpha(OZL_COMPOSITE_XOR, 255, 77, 255));
    }
    // A without alpha is opaque: A over B is A.
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_OVER_B, nullptr, nullptr, nullptr, 0);
    for (int x = 0; x < 20; ++x) {
        for (int c = 0; c < 3; ++c) EXPECT_EQ(d.at(x, 0, c), a.at(x, 0, c));
        EXPECT_EQ(d.at(x, 0, 3), 255);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Composite, PreMultiplyAlpha) {
    ErrorCapture errors;
    for (auto [depth, M] : {std::pair{OZL_DEPTH_8U, U{255}}, {OZL_DEPTH_16U, U{65535}}}) {
        TestImage im(depth, 21, 3, 4, OZL_DATA_ORDER_PIXEL, true);
        fillPixels(im, M, 5);
        const TestImage before = im.clone();
        ozlPreMultiplyAlpha(im, im, nullptr);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 21; ++x) {
                const U alpha = static_cast<U>(before.at(x, y, 3));
                for (int c = 0; c < 3; ++c) ASSERT_EQ(im.at(x, y, c), static_cast<U>(before.at(x, y, c)) * alpha / M);
                ASSERT_EQ(im.at(x, y, 3), alpha);
            }
    }
    TestImage rgb(OZL_DEPTH_8U, 9, 2, 3, OZL_DATA_ORDER_PLANE), alpha(OZL_DEPTH_8U, 9, 2), out(OZL_DEPTH_8U, 9, 2, 3);
    rgb.fillRandom(1);
    alpha.fillRandom(2);
    ozlPreMultiplyAlpha(rgb, out, alpha);
    for (int x = 0; x < 9; ++x)
        for (int c = 0; c < 3; ++c) EXPECT_EQ(out.at(x, 1, c), static_cast<U>(rgb.at(x, 1, c)) * static_cast<U>(alpha.at(x, 1)) / 255);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Composite, TiledImagesGiveTheUntiledResult) {
    ErrorCapture errors;
    TiledImage ta(OZL_DEPTH_8U, 37, 21, 4, OZL_DATA_ORDER_PIXEL, 16, 8);
    TiledImage td(OZL_DEPTH_8U, 37, 21, 4, OZL_DATA_ORDER_PIXEL, 8, 16);
    ta->alphaChannel = 4;
    td->alphaChannel = 4;
    TestImage a(OZL_DEPTH_8U, 37, 21, 4, OZL_DATA_ORDER_PIXEL, true), b(OZL_DEPTH_8U, 37, 21, 4, OZL_DATA_ORDER_PIXEL, true);
    TestImage d(OZL_DEPTH_8U, 37, 21, 4, OZL_DATA_ORDER_PIXEL, true);
    a.fillRandom(1);
    ta.pixels().fillRandom(1);
    b.fillRandom(2);
    d.fillRandom(3);
    td.pixels().fillRandom(3);
    a.setRoi(0, 3, 2, 30, 17);
    ta.setRoi(0, 3, 2, 30, 17);
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_B_OVER_A, nullptr, nullptr, nullptr, 1);
    ozlAlphaComposite(ta, b, td, OZL_COMPOSITE_B_OVER_A, nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(td.pixels().bytes(), d.bytes());
    EXPECT_TRUE(errors.empty()) << errors.last();

    TiledImage failing(OZL_DEPTH_8U, 37, 21, 4, OZL_DATA_ORDER_PIXEL, 16, 8);
    failing->alphaChannel = 4;
    failing.failFetch(2);
    ozlAlphaComposite(failing, b, d, OZL_COMPOSITE_A, nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlAlphaComposite", "ERROR in Tiling callBack", "ozlalpha", 460}));
}

TEST(Composite, Refusals) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_8U, 6, 3, 4, OZL_DATA_ORDER_PIXEL, true), b(OZL_DEPTH_8U, 6, 3, 4, OZL_DATA_ORDER_PIXEL, true);
    TestImage d(OZL_DEPTH_8U, 6, 3, 4, OZL_DATA_ORDER_PIXEL, true), rgb(OZL_DEPTH_8U, 6, 3, 3);
    TestImage grey(OZL_DEPTH_8U, 6, 3), grey16(OZL_DEPTH_16U, 6, 3), a16(OZL_DEPTH_16U, 6, 3, 4, OZL_DATA_ORDER_PIXEL, true);
    TestImage f(OZL_DEPTH_32F, 6, 3, 4, OZL_DATA_ORDER_PIXEL, true), bad(OZL_DEPTH_8U, 6, 3);
    bad->imageData = nullptr;
    d.fillRandom(1);
    const auto before = d.bytes();
    const char *kC = "ozlAlphaComposite", *kM = "ozlalpha";
    const char* kType = "compositeType < OZL_COMPOSITE_CLEAR || compositeType > OZL_COMPOSITE_XOR";
    const std::string chA = "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != ";
    const std::string chD = "(dstImage->nChannels - (dstImage->alphaChannel != 0))";
    const std::pair<std::function<void()>, ErrorReport> cases[] = {
        {[&] { ozlAlphaComposite(a, nullptr, d, 3, nullptr, nullptr, nullptr, 1); }, {-5, kC, "srcImageB==0", kM, 410}},
        {[&] { ozlAlphaComposite(a, b, d, 3, nullptr, bad, nullptr, 1); }, {-12, kC, "Incorrect Image", kM, 411}},
        {[&] { ozlAlphaComposite(a16, b, d, 3, nullptr, nullptr, nullptr, 1); }, {-5, kC, "srcImageA->depth != dstImage->depth", kM, 431}},
        {[&] { ozlAlphaComposite(a, b, d, 3, grey16, nullptr, nullptr, 1); }, {-5, kC, "alphaImageA->depth != dstImage->depth", kM, 433}},
        {[&] { ozlAlphaComposite(a, b, d, 3, nullptr, rgb, nullptr, 1); }, {-5, kC, "(alphaImageB->nChannels - (alphaImageB->alphaChannel != 0)) != 1", kM, 440}},
        {[&] { ozlAlphaComposite(grey, b, d, 3, nullptr, nullptr, nullptr, 1); }, {-5, kC, chA + chD, kM, 440}},
        {[&] { ozlAlphaComposite(a, b, d, -1, nullptr, nullptr, nullptr, 1); }, {-5, kC, kType, kM, 445}},
        {[&] { ozlAlphaComposite(a, b, d, 12, nullptr, nullptr, nullptr, 1); }, {-5, kC, kType, kM, 445}},
        {[&] { ozlAlphaComposite(a, b, d, 3, nullptr, nullptr, grey, 1); }, {-5, kC, "dstImage->alphaChannel != 0 && alphaImageDst != 0", kM, 446}},
        {[&] { ozlAlphaCompositeC(a, b, d, 13, 0, 0, 1); }, {-5, "ozlAlphaCompositeC", kType, kM, 645}},
        {[&] { ozlPreMultiplyAlpha(grey, d, nullptr); }, {-5, "ozlPreMultiplyAlpha", "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != " + chD, kM, 840}},
    };
    for (const auto& [call, report] : cases) {
        call();
        expectRefused(errors, d, before, report);
    }
    TestImage rgbOut(OZL_DEPTH_8U, 6, 3, 3);
    const auto outBefore = rgbOut.bytes();
    ozlPreMultiplyAlpha(rgb, rgbOut, nullptr);
    expectRefused(errors, rgbOut, outBefore, {-5, "ozlPreMultiplyAlpha", "srcImage->alphaChannel == 0 && alphaImage == 0", "ozlalpha", 845});
    TestImage fd(OZL_DEPTH_32F, 6, 3, 4, OZL_DATA_ORDER_PIXEL, true);
    const auto fBefore = fd.bytes();
    ozlAlphaComposite(f, f, fd, 3, nullptr, nullptr, nullptr, 1);
    expectRefused(errors, fd, fBefore, {-5, kC, "dstImage->depth != 8 && dstImage->depth != 16", "ozlalpha", 430});
    TestImage lone(OZL_DEPTH_8U, 6, 3, 1, OZL_DATA_ORDER_PIXEL, true);
    ozlAlphaComposite(a, b, d, 3, lone, nullptr, nullptr, 1);
    expectRefused(errors, d, before, {-5, kC, "alphaImageA->alphaChannel == 1 && alphaImageA->roi == 0", "ozlalpha", 420});
}

}  // namespace
