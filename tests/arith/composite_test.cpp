// ozlAlphaComposite, ozlAlphaCompositeC, ozlPreMultiplyAlpha through the public interface.
#include "arith_check.hpp"

namespace {
using namespace ozl::arith_test;
using U = uint64_t;

// FA and FB of each operator, then the closed forms: whole quotients by M,
// saturated sums; straight colours as the alpha-weighted average, rounded.
std::pair<U, U> fractions(int op, U aA, U aB, U M) {
    const std::pair<U, U> f[] = {{0, 0}, {M, 0}, {0, M}, {M, M - aA}, {M - aB, M}, {aB, 0},
                                 {0, aA}, {M - aB, 0}, {0, M - aA}, {aB, M - aA}, {M - aB, aA}, {M - aB, M - aA}};
    return f[op - OZL_COMPOSITE_CLEAR];
}
U resultAlpha(int op, U aA, U aB, U M) {
    const auto [fa, fb] = fractions(op, aA, aB, M);
    return std::min(M, aA * fa / M + aB * fb / M);
}
U resultColour(int op, bool premultiplied, U cA, U aA, U cB, U aB, U M) {
    const auto [fa, fb] = fractions(op, aA, aB, M);
    if (premultiplied) return std::min(M, cA * fa / M + cB * fb / M);
    const U w = aA * fa + aB * fb;
    return w == 0 ? 0 : (cA * aA * fa + cB * aB * fb + w / 2) / w;
}
U at(const OzlImage* im, int x, int y, int c) { return static_cast<U>(valueOf(im, x, y, c)); }

// Random values with about a quarter of the alphas at 0 or M.
void fillPixels(TestImage& im, U M, uint32_t seed) {
    im.fillRandom(seed);
    for (int y = 0; y < im->height; ++y)
        for (int x = 0; x < im->width; ++x)
            if ((x * 7 + y + seed) % 4 == 0) im.put(x, y, im->nChannels - 1, (x + seed) % 2 ? M : 0);
}

TEST(Composite, EveryOperatorAgainstItsClosedForm) {
    ErrorCapture errors;
    for (auto [depth, M] : {std::pair{U8, U{255}}, {U16, U{65535}}})
        for (int op = OZL_COMPOSITE_CLEAR; op <= OZL_COMPOSITE_XOR; ++op)
            for (int premul : {1, 0})
                for (bool inPlace : {false, true}) {
                    SCOPED_TRACE(testing::Message() << depth << " op " << op << " premul " << premul << " in place " << inPlace);
                    TestImage a(depth, 37, 3, 4, 0, true), b(depth, 37, 3, 4, 0, true), d(depth, 37, 3, 4, 0, true);
                    fillPixels(a, M, 1 + op), fillPixels(b, M, 2 + op), d.fillRandom(3);
                    const TestImage a0 = a.clone();
                    OzlImage* dst = inPlace ? a.get() : d.get();
                    ozlAlphaComposite(a, b, dst, op, nullptr, nullptr, nullptr, premul);
                    for (int i = 0; i < 37 * 3 * 4; ++i) {
                        const int x = i / 4 % 37, y = i / 4 / 37, c = i % 4;
                        const U aA = at(a0, x, y, 3), aB = at(b, x, y, 3);
                        ASSERT_EQ(at(dst, x, y, c), c == 3 ? resultAlpha(op, aA, aB, M)
                                                           : resultColour(op, premul, at(a0, x, y, c), aA, at(b, x, y, c), aB, M))
                            << x << ", " << y << " channel " << c;
                    }
                }
    // By hand: premultiplied A over B, 200 + 100 * 55 / 255 = 221, alpha 255;
    // straight alpha 128 over opaque, (200*128*255 + 100*255*127) / 65025 -> 150;
    // straight A in B gives A's colour back.
    TestImage a(U8, 1, 1, 4, 0, true), b(U8, 1, 1, 4, 0, true), d(U8, 1, 1, 4, 0, true);
    const double pa[] = {200, 0, 128, 200}, pb[] = {100, 255, 1, 255};
    for (int c = 0; c < 4; ++c) a.put(0, 0, c, pa[c]), b.put(0, 0, c, pb[c]);
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_OVER_B, nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(d.at(0, 0, 0) * 1e6 + d.at(0, 0, 1) * 1e3 + d.at(0, 0, 3), 221055255);
    a.put(0, 0, 3, 128);
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_OVER_B, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(d.at(0, 0, 0) * 1e3 + d.at(0, 0, 3), 150255);
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_IN_B, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(d.at(0, 0, 0) * 1e3 + d.at(0, 0, 3), 200128);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Plane-order colours with separate alpha images (one a lone alpha channel
// selected by its ROI), the result alpha in a destination alpha image, regions
// at offsets and a mask on A.
TEST(Composite, AlphaImagesMasksAndRegions) {
    ErrorCapture errors;
    const U M = 65535;
    TestImage a(U16, 30, 5, 3, OZL_DATA_ORDER_PLANE), b(U16, 28, 4, 3), d(U16, 28, 4, 3), alphaA(U16, 30, 5);
    TestImage alphaB(U16, 28, 4, 1, OZL_DATA_ORDER_PIXEL, true), alphaD(U16, 28, 4, 2), mask(U1, 28, 4);
    fillAll({&a, &b, &d, &alphaA, &alphaB, &alphaD, &mask}, 1);
    a.setRoi(0, 2, 1, 28, 4), alphaA.setRoi(0, 2, 1, 28, 4), alphaB.setRoi(1, 0, 0, 28, 4), alphaD.setRoi(2, 0, 0, 28, 4);
    a.setMask(&mask);
    const TestImage dBefore = d.clone(), alphaDBefore = alphaD.clone();
    const int op = OZL_COMPOSITE_A_ATOP_B;
    ozlAlphaComposite(a, b, d, op, alphaA, alphaB, alphaD, 0);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 28; ++x) {
            const bool on = mask.at(x, y) != 0;
            const U aA = at(alphaA, x + 2, y + 1, 0), aB = at(alphaB, x, y, 0);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(at(d, x, y, c), on ? resultColour(op, false, at(a, x + 2, y + 1, c), aA, at(b, x, y, c), aB, M) : at(dBefore, x, y, c));
            ASSERT_EQ(at(alphaD, x, y, 1), on ? resultAlpha(op, aA, aB, M) : at(alphaDBefore, x, y, 1));
            ASSERT_EQ(alphaD.at(x, y, 0), alphaDBefore.at(x, y, 0));
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Composite, ConstantAlphasOpaqueImagesAndPremultiplication) {
    ErrorCapture errors;
    TestImage a(U8, 20, 2, 3), b(U8, 20, 2, 4, 0, true), d(U8, 20, 2, 4, 0, true);
    a.fillRandom(1), b.fillRandom(2);
    ozlAlphaCompositeC(a, b, d, OZL_COMPOSITE_XOR, 300, 77, 1);  // 300 taken as 255; B's alpha not read
    for (int x = 0; x < 20; ++x) {
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(at(d, x, 1, c), resultColour(OZL_COMPOSITE_XOR, true, at(a, x, 1, c), 255, at(b, x, 1, c), 77, 255));
        EXPECT_EQ(at(d, x, 1, 3), resultAlpha(OZL_COMPOSITE_XOR, 255, 77, 255));
    }
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_A_OVER_B, nullptr, nullptr, nullptr, 0);  // A without alpha is opaque
    for (int x = 0; x < 20 * 4; ++x) EXPECT_EQ(d.at(x / 4, 0, x % 4), x % 4 == 3 ? 255 : a.at(x / 4, 0, x % 4));

    for (auto [depth, M] : {std::pair{U8, U{255}}, {U16, U{65535}}}) {
        TestImage im(depth, 21, 3, 4, 0, true);
        fillPixels(im, M, 5);
        const TestImage before = im.clone();
        ozlPreMultiplyAlpha(im, im, nullptr);
        for (int i = 0; i < 21 * 3 * 4; ++i) {
            const int x = i / 4 % 21, y = i / 4 / 21, c = i % 4;
            ASSERT_EQ(at(im, x, y, c), c == 3 ? at(before, x, y, 3) : at(before, x, y, c) * at(before, x, y, 3) / M);
        }
    }
    TestImage rgb(U8, 9, 2, 3, OZL_DATA_ORDER_PLANE), alpha(U8, 9, 2), out(U8, 9, 2, 3);
    rgb.fillRandom(1), alpha.fillRandom(2);
    ozlPreMultiplyAlpha(rgb, out, alpha);
    for (int i = 0; i < 27; ++i) EXPECT_EQ(at(out, i / 3, 1, i % 3), at(rgb, i / 3, 1, i % 3) * at(alpha, i / 3, 1, 0) / 255);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(Composite, TiledImagesGiveTheUntiledResult) {
    ErrorCapture errors;
    TiledImage ta(U8, 37, 21, 4, 0, 16, 8), td(U8, 37, 21, 4, 0, 8, 16), failing(U8, 37, 21, 4, 0, 16, 8);
    ta->alphaChannel = td->alphaChannel = failing->alphaChannel = 4;
    TestImage a(U8, 37, 21, 4, 0, true), b(U8, 37, 21, 4, 0, true), d(U8, 37, 21, 4, 0, true);
    a.fillRandom(1), ta.pixels().fillRandom(1), b.fillRandom(2), d.fillRandom(3), td.pixels().fillRandom(3);
    a.setRoi(0, 3, 2, 30, 17), ta.setRoi(0, 3, 2, 30, 17);
    ozlAlphaComposite(a, b, d, OZL_COMPOSITE_B_OVER_A, nullptr, nullptr, nullptr, 1);
    ozlAlphaComposite(ta, b, td, OZL_COMPOSITE_B_OVER_A, nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(td.pixels().bytes(), d.bytes());
    EXPECT_TRUE(errors.empty()) << errors.last();
    failing.failFetch(2);
    ozlAlphaComposite(failing, b, d, OZL_COMPOSITE_A, nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlAlphaComposite", "ERROR in Tiling callBack", "ozlalpha", 460}));
}

TEST(Composite, Refusals) {
    ErrorCapture errors;
    TestImage a(U8, 6, 3, 4, 0, true), b(U8, 6, 3, 4, 0, true), d(U8, 6, 3, 4, 0, true), rgb(U8, 6, 3, 3);
    TestImage grey(U8, 6, 3), grey16(U16, 6, 3), a16(U16, 6, 3, 4, 0, true), f(F32, 6, 3, 4, 0, true);
    TestImage fd(F32, 6, 3, 4, 0, true), bad(U8, 6, 3), rgbOut(U8, 6, 3, 3), lone(U8, 6, 3, 1, 0, true);
    bad->imageData = nullptr;
    d.fillRandom(1);
    const char *kC = "ozlAlphaComposite", *kM = "ozlalpha";
    const char* kType = "compositeType < OZL_COMPOSITE_CLEAR || compositeType > OZL_COMPOSITE_XOR";
    const std::string chD = "(dstImage->nChannels - (dstImage->alphaChannel != 0))";
    auto comp = [](OzlImage* a, OzlImage* b, OzlImage* d, int op, OzlImage* aA = nullptr, OzlImage* aB = nullptr, OzlImage* aD = nullptr) {
        return [=] { ozlAlphaComposite(a, b, d, op, aA, aB, aD, 1); };
    };
    expectRefusals(errors, {
        {comp(a, nullptr, d, 3), &d, {-5, kC, "srcImageB==0", kM, 410}},
        {comp(a, b, d, 3, nullptr, bad), &d, {-12, kC, "Incorrect Image", kM, 411}},
        {comp(a, b, d, 3, lone), &d, {-5, kC, "alphaImageA->alphaChannel == 1 && alphaImageA->roi == 0", kM, 420}},
        {comp(f, f, fd, 3), &fd, {-5, kC, "dstImage->depth != 8 && dstImage->depth != 16", kM, 430}},
        {comp(a16, b, d, 3), &d, {-5, kC, "srcImageA->depth != dstImage->depth", kM, 431}},
        {comp(a, b, d, 3, grey16), &d, {-5, kC, "alphaImageA->depth != dstImage->depth", kM, 433}},
        {comp(a, b, d, 3, nullptr, rgb), &d, {-5, kC, "(alphaImageB->nChannels - (alphaImageB->alphaChannel != 0)) != 1", kM, 440}},
        {comp(grey, b, d, 3), &d, {-5, kC, "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != " + chD, kM, 440}},
        {comp(a, b, d, -1), &d, {-5, kC, kType, kM, 445}},
        {comp(a, b, d, 12), &d, {-5, kC, kType, kM, 445}},
        {comp(a, b, d, 3, nullptr, nullptr, grey), &d, {-5, kC, "dstImage->alphaChannel != 0 && alphaImageDst != 0", kM, 446}},
        {[&] { ozlAlphaCompositeC(a, b, d, 13, 0, 0, 1); }, &d, {-5, "ozlAlphaCompositeC", kType, kM, 645}},
        {[&] { ozlPreMultiplyAlpha(grey, d, nullptr); }, &d, {-5, "ozlPreMultiplyAlpha", "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != " + chD, kM, 840}},
        {[&] { ozlPreMultiplyAlpha(rgb, rgbOut, nullptr); }, &rgbOut, {-5, "ozlPreMultiplyAlpha", "srcImage->alphaChannel == 0 && alphaImage == 0", kM, 845}},
    });
}

}  // namespace
