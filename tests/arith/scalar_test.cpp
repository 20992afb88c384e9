// Image-and-constant arithmetic, abs and square through the public interface.
#include "arith_check.hpp"

namespace {
using namespace ozl::arith_test;

enum class Fn { AddS, SubS, SubSFlip, MulS, MulSScale, AddSFP, SubSFP, SubSFPFlip, MulSFP, Abs, Square };

void call(Fn f, OzlImage* s, OzlImage* d, double v) {
    const int i = static_cast<int>(v);
    const float r = static_cast<float>(v);
    ozlSetErrStatus(OZL_StsOk);  // ozlAbs does nothing while the stored status is negative
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
        case Fn::Abs: return ozlAbs(s, d);
        case Fn::Square: return ozlSquare(s, d);
    }
}

// The exact result, saturated to the depth (32F in single precision, 1U bitwise).
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
    const int b = static_cast<int>(a), k = static_cast<int>(v) & 1;
    const auto [lo, hi] = depthRange(depth);
    switch (f) {
        case Fn::AddS: return depth == U1 ? b | k : std::clamp(a + v, lo, hi);
        case Fn::SubS: return depth == U1 ? b & !k : std::clamp(a - v, lo, hi);
        case Fn::SubSFlip: return depth == U1 ? k & !b : std::clamp(v - a, lo, hi);
        case Fn::MulS: return depth == U1 ? b & k : std::clamp(a * v, lo, hi);
        case Fn::MulSScale: {
            const uint32_t p = static_cast<uint32_t>(a) * static_cast<uint32_t>(std::clamp(v, 0.0, hi));
            const int bits = static_cast<int>(depth & 0xFF);
            return (p + (p >> bits) + 1) >> bits;
        }
        case Fn::Abs: return std::clamp(std::fabs(a), lo, hi);
        default: return depth == U1 ? a : std::clamp(a * a, lo, hi);
    }
}

// Hand-checked values at the limits over a 41-pixel row (vector blocks and tails).
TEST(ScalarArithmetic, ExactAtTheLimits) {
    struct Case { Fn f; unsigned depth; double a, v, want; };
    const Case cases[] = {
        {Fn::AddS, U8, 200, 300, 255}, {Fn::AddS, U8, 200, -70000, 0}, {Fn::AddS, S16, -5, -70000, -32768},
        {Fn::AddS, S32, kMax32, 1, kMax32}, {Fn::AddS, S32, kMin32, kMin32, kMin32}, {Fn::SubS, S32, 0, kMin32, kMax32},
        {Fn::SubS, U8, 7, 255, 0}, {Fn::SubS, U16, 7, -70000, 65535}, {Fn::SubSFlip, S8, -128, 1000, 127},
        {Fn::SubSFlip, S8, 100, -1000, -128}, {Fn::SubSFlip, U8, 10, 509, 255}, {Fn::SubSFlip, U8, 255, 509, 254},
        {Fn::SubSFlip, U16, 3, 0, 0}, {Fn::SubSFlip, S32, -1, kMax32, kMax32}, {Fn::MulS, U16, 300, -4, 0},
        {Fn::MulS, U8, 3, 100000, 255}, {Fn::MulS, S8, -1, 129, -128}, {Fn::MulS, S8, -1, 128, -128},
        {Fn::MulS, S8, 1, -128, -128}, {Fn::MulS, S16, -1, 32768, -32768}, {Fn::MulS, S16, -1, -32768, 32767},
        {Fn::MulS, S32, 65536, 65536, kMax32}, {Fn::MulS, S32, -3, 1, -3}, {Fn::MulSScale, U8, 200, 255, 200},
        {Fn::MulSScale, U8, 255, 128, 128}, {Fn::MulSScale, U16, 65535, 65535, 65535}, {Fn::MulSScale, U8, 77, 999, 77},
        {Fn::Abs, S8, -128, 0, 127}, {Fn::Abs, S16, -32768, 0, 32767}, {Fn::Abs, S32, kMin32, 0, kMax32},
        {Fn::Abs, F32, -2.5, 0, 2.5}, {Fn::Abs, U16, 65535, 0, 65535}, {Fn::Square, S8, -12, 0, 127},
        {Fn::Square, S32, 46341, 0, kMax32}, {Fn::Square, U16, 255, 0, 65025}, {Fn::Square, U1, 1, 0, 1},
        {Fn::AddSFP, F32, 1e38, 3e38, INFINITY}, {Fn::SubSFPFlip, F32, 0.25, 1, 0.75}, {Fn::MulSFP, F32, -3, 0.5, -1.5},
    };
    ErrorCapture errors;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "fn " << static_cast<int>(c.f) << " depth " << c.depth << ": " << c.a << ", " << c.v);
        TestImage s(c.depth, 41, 2), d(c.depth, 41, 2);
        s.fill(c.a), d.fillRandom(3);
        call(c.f, s, d, c.v);
        for (int x = 0; x < 41; ++x) ASSERT_EQ(d.at(x, 1), c.want) << "x " << x;
    }
    EXPECT_TRUE(errors.empty());
}

// Random data: every depth each function takes, both orders, 1 to 4 channels
// (alpha on the 4th), a source ROI, constants inside and beyond the range.
TEST(ScalarArithmetic, MatchesTheExactResultOnRandomData) {
    const std::vector<unsigned> ints = {U1, U8, S8, U16, S16, S32};
    const std::pair<Fn, std::vector<unsigned>> families[] = {
        {Fn::AddS, ints}, {Fn::SubS, ints}, {Fn::SubSFlip, ints}, {Fn::MulS, ints}, {Fn::MulSScale, {U8, U16}},
        {Fn::Abs, {S8, S16, S32, F32}}, {Fn::Square, {U1, U8, S8, U16, S16, S32, F32}}, {Fn::AddSFP, {F32}},
        {Fn::SubSFP, {F32}}, {Fn::SubSFPFlip, {F32}}, {Fn::MulSFP, {F32}},
    };
    const double constants[] = {0, 1, -1, 7, -100, 129, 255, 256, 509, 40000, -70000, 2e9};
    ErrorCapture errors;
    uint32_t seed = 11;
    for (const auto& [f, depths] : families)
        for (unsigned depth : depths)
            for (int nCh : {1, 3, 4})
                for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                    if (depth == U1 && (nCh > 1 || order == OZL_DATA_ORDER_PLANE)) continue;
                    const double v = (depth == F32 ? 0.375 : 1) * constants[seed % 12];
                    const Fn fn = f;
                    SCOPED_TRACE(testing::Message() << "fn " << static_cast<int>(f) << " depth " << depth << " nCh " << nCh << " order " << order << " constant " << v);
                    TestImage s(depth, 37, 4, nCh, order, nCh == 4), d(depth, 35, 3, nCh, order, nCh == 4);
                    s.fillRandom(++seed, depth == F32 ? -300 : 0, depth == F32 ? 300 : 0), d.fillRandom(++seed);
                    s.setRoi(0, 2, 1, 34, 3);
                    checkPixelwise(d, s, nullptr, [&] { call(fn, s, d, v); }, [&](double a, double) { return expected(fn, depth, a, v); });
                }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Cases settled before any header check go to a bitwise operation (or a
// copy), which reports a bad destination under its own name.
TEST(ScalarArithmetic, RoutesToTheBitwiseOperations) {
    const std::tuple<Fn, unsigned, double, const char*> routes[] = {
        {Fn::AddS, U8, 300, "ozlOrS"}, {Fn::AddS, S16, -70000, "ozlSubtractS"}, {Fn::SubS, U1, 0, "ozlXorS"},
        {Fn::SubSFlip, U1, 3, "ozlXorS"}, {Fn::SubS, U8, 255, "ozlAndS"}, {Fn::SubS, U16, -65535, "ozlOrS"},
        {Fn::SubSFlip, U16, 131070, "ozlOrS"}, {Fn::MulS, U1, 9, "ozlAndS"}, {Fn::Abs, U16, 0, "ozlCopy"}};
    ErrorCapture errors;
    for (const auto& [f, depth, v, to] : routes) {
        TestImage s(depth, 8, 2);
        OzlImage bad = *s.get();  // no data: fails the header check
        bad.imageData = nullptr;
        call(f, s, &bad, v);
        ASSERT_FALSE(errors.empty());
        EXPECT_EQ(errors.reports()[0].func, to);
        errors.clear();
    }
}

TEST(ScalarArithmetic, Refusals) {
    ErrorCapture errors;
    const std::tuple<Fn, unsigned, unsigned, ErrorReport> cases[] = {
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
    for (const auto& c : cases) {
        TestImage s(std::get<1>(c), 9, 3), d(std::get<2>(c), 9, 3);
        d.fillRandom(1);
        expectRefusals(errors, {{[&] { call(std::get<0>(c), s, d, 3); }, &d, std::get<3>(c)}});
    }
    // ozlSubtractS alone takes a pixel-order source into a plane-order destination.
    TestImage pix(S16, 9, 3, 3), plane(S16, 9, 3, 3, OZL_DATA_ORDER_PLANE), one(S16, 9, 3, 1);
    TestImage rgba(S16, 9, 3, 4, OZL_DATA_ORDER_PIXEL, true), rgbaCoi(S16, 9, 3, 4, OZL_DATA_ORDER_PIXEL, true);
    pix.fillRandom(2, -1000, 1000), plane.fillRandom(3), rgbaCoi.setRoi(2, 0, 0, 9, 3);
    expectRefusals(errors, {
        {[&] { ozlMultiplyS(pix, plane, 2); }, &plane, {-5, "ozlMultiplyS", "(srcImage->dataOrder != dstImage->dataOrder)", "ozlmuls", 120}},
        {[&] { ozlSubtractS(rgba, one, 1, 0); }, &one, {-5, "ozlSubtractS", "(nChSrc != nChDst)", "ozlsubs", 130}},
        {[&] { ozlAbs(rgbaCoi, pix); }, &pix, {-5, "ozlAbs", "(nChSrcCoi != nChDstCoi)", "ozlabs", 130}},
        {[&] { ozlAbs(one, pix); }, &pix, {-5, "ozlAbs", "(srcImage->nChannels != dstImage->nChannels)", "ozlabs", 131}},
    });
    checkPixelwise(plane, pix, nullptr, [&] { ozlSubtractS(pix, plane, 7, 1); },
                   [](double a, double) { return std::clamp(7 - a, -32768.0, 32767.0); });
    ozlSetErrStatus(OZL_StsBadArg);
    ozlAbs(one, pix);  // silent while the stored status is negative
    ozlSetErrStatus(OZL_StsOk);
    ozlAbs(rgba, pix);  // alpha on one side only passes
    EXPECT_TRUE(errors.empty()) << errors.last();
    ozlAbs(nullptr, nullptr);  // both NULL pointers reported before it returns
    EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{{-5, "ozlAbs", "srcImage==0", "ozlabs", 60},
                                                          {-5, "ozlAbs", "dstImage==0", "ozlabs", 61}}));
}

TEST(ScalarArithmetic, MasksAndTiles) {
    ErrorCapture errors;
    TestImage s(U8, 70, 5, 3), d(U8, 70, 5, 3), m(U1, 70, 5);
    fillAll({&s, &d, &m}, 1);
    d.setMask(&m);
    const TestImage before = d.clone();
    ozlAddS(s, d, -90);  // through ozlSubtractS, with the destination's mask
    expectPixelwise(before, d, s, nullptr, [](double a, double) { return std::max(a - 90, 0.0); }, [&](int x, int y) { return m.at(x, y) != 0; });
    TiledImage ts(S16, 21, 13, 2, OZL_DATA_ORDER_PLANE, 8, 8), td(S16, 21, 13, 2, OZL_DATA_ORDER_PLANE, 16, 8);
    ts.pixels().fillRandom(4, -32768, 32767), td.pixels().fillRandom(5);
    checkPixelwise(td.pixels(), ts.pixels(), nullptr, [&] { ozlMultiplyS(ts, td, -3); },
                   [](double a, double) { return std::clamp(a * -3, -32768.0, 32767.0); });
    EXPECT_TRUE(errors.empty()) << errors.last();
    TiledImage failing(S16, 21, 13, 2, OZL_DATA_ORDER_PLANE, 16, 8);
    failing.failFetch(2);
    ozlAbs(ts, failing);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, "ozlAbs", "(dstImage->tileInfo->tileData == ((void*)(0)))", "ozlabs", 162}));
}

}  // namespace
