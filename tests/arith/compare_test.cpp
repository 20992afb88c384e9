// The comparisons and ozlMinMaxFP through the public interface.
#include "arith_check.hpp"

namespace {
using namespace ozl::arith_test;

const float kNaN = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();
enum class Kind { Images, Integer, Float };
enum class Rel { Less, Greater, Equal, Eps };
using CompareFn = std::function<OzlStatus(OzlImage*, OzlImage*, OzlImage*, double, float)>;
// b is absent for the constant forms; value is their constant.
struct CompareOp { const char* name; Kind kind; Rel rel; CompareFn call; };
#define OZL_CMP_IMG(f) [](OzlImage* a, OzlImage* b, OzlImage* r, double, float) { return f(a, b, r); }
#define OZL_CMP_S(f, T) [](OzlImage* a, OzlImage*, OzlImage* r, double v, float) { return f(a, static_cast<T>(v), r); }
const CompareOp kOps[] = {
    {"ozlLess", Kind::Images, Rel::Less, OZL_CMP_IMG(ozlLess)},
    {"ozlGreater", Kind::Images, Rel::Greater, OZL_CMP_IMG(ozlGreater)},
    {"ozlEqual", Kind::Images, Rel::Equal, OZL_CMP_IMG(ozlEqual)},
    {"ozlEqualFPEps", Kind::Images, Rel::Eps, [](OzlImage* a, OzlImage* b, OzlImage* r, double, float e) { return ozlEqualFPEps(a, b, r, e); }},
    {"ozlLessS", Kind::Integer, Rel::Less, OZL_CMP_S(ozlLessS, int)},
    {"ozlGreaterS", Kind::Integer, Rel::Greater, OZL_CMP_S(ozlGreaterS, int)},
    {"ozlEqualS", Kind::Integer, Rel::Equal, OZL_CMP_S(ozlEqualS, int)},
    {"ozlLessSFP", Kind::Float, Rel::Less, OZL_CMP_S(ozlLessSFP, float)},
    {"ozlGreaterSFP", Kind::Float, Rel::Greater, OZL_CMP_S(ozlGreaterSFP, float)},
    {"ozlEqualSFP", Kind::Float, Rel::Equal, OZL_CMP_S(ozlEqualSFP, float)},
    {"ozlEqualSFPEps", Kind::Float, Rel::Eps, [](OzlImage* a, OzlImage*, OzlImage* r, double v, float e) { return ozlEqualSFPEps(a, static_cast<float>(v), r, e); }},
};

bool appliesTo(const CompareOp& op, unsigned depth) {
    if (op.kind == Kind::Images && op.rel != Rel::Eps) return true;
    return (op.kind == Kind::Integer) != (depth == F32);
}
bool holds(Rel rel, double a, double b, float eps) {
    const float fa = static_cast<float>(a), fb = static_cast<float>(b);
    return rel == Rel::Less ? a < b : rel == Rel::Greater ? a > b : rel == Rel::Equal ? a == b
                                                                 : fa == fb || std::fabs(fa - fb) <= eps;
}

struct Region { int x, y, width, height; };
Region regionOf(const OzlImage* im) {
    if (!im->roi) return {0, 0, im->width, im->height};
    const OzlROI& r = *im->roi;
    return {r.xOffset, r.yOffset, std::max(0, std::min(r.width, im->width - r.xOffset)),
            std::max(0, std::min(r.height, im->height - r.yOffset))};
}
std::vector<int> channelsOf(const OzlImage* im) {
    if (im->roi && im->roi->coi > 0) return {im->roi->coi - 1};
    std::vector<int> out;
    for (int c = 0; c < im->nChannels - (im->alphaChannel ? 1 : 0); ++c) out.push_back(c);
    return out;
}

// Inside the common region of sources, result and masks, where every mask bit
// is set, each bit is the rule's over all channels; elsewhere it is `before`'s.
void expectBits(const TestImage& before, const OzlImage* res, const OzlImage* a, const OzlImage* b,
                Rel rel, double value, float eps, const std::vector<const OzlImage*>& masks = {}) {
    const Region rr = regionOf(res), ra = regionOf(a), rb = b ? regionOf(b) : rr;
    int w = std::min({rr.width, ra.width, rb.width}), h = std::min({rr.height, ra.height, rb.height});
    for (const OzlImage* m : masks) w = std::min(w, regionOf(m).width), h = std::min(h, regionOf(m).height);
    const std::vector<int> ca = channelsOf(a), cb = b ? channelsOf(b) : ca;
    int failures = 0;
    for (int y = 0; y < res->height; ++y)
        for (int x = 0; x < res->width; ++x) {
            const int rx = x - rr.x, ry = y - rr.y;
            bool inside = rx >= 0 && ry >= 0 && rx < w && ry < h, all = true;
            for (const OzlImage* m : masks) inside = inside && valueOf(m, regionOf(m).x + rx, regionOf(m).y + ry, 0) != 0;
            for (size_t k = 0; inside && k < ca.size(); ++k)
                all = all && holds(rel, valueOf(a, ra.x + rx, ra.y + ry, ca[k]), b ? valueOf(b, rb.x + rx, rb.y + ry, cb[k]) : value, eps);
            const double expected = inside ? all : before.at(x, y);
            if (valueOf(res, x, y, 0) != expected && ++failures <= 5)
                ADD_FAILURE() << "bit (" << x << ", " << y << "): expected " << expected;
        }
    EXPECT_EQ(failures, 0);
}

std::pair<double, double> spanOf(unsigned depth) {
    return depth == F32 ? std::pair{-1000.0, 1000.0} : depthRange(depth);
}

// b from a: per pixel all channels equal, one step up, one down or each its
// own way, so every relation holds somewhere; floats meet NaN, infinities, zeros.
void makeNeighbour(TestImage& a, TestImage& b, uint32_t seed) {
    std::mt19937 rng(seed);
    const unsigned depth = a->depth;
    const double step = depth == F32 ? 0.5 : 1;
    for (int y = 0; y < a->height; ++y)
        for (int x = 0; x < a->width; ++x) {
            const int mode = static_cast<int>(rng() % 4);
            for (int c = 0; c < a->nChannels; ++c) {
                const int m = mode == 3 ? static_cast<int>(rng() % 3) : mode;
                const double v = a.at(x, y, c) + (m == 1 ? step : m == 2 ? -step : 0);
                b.put(x, y, c, v > spanOf(depth).second || v < spanOf(depth).first ? a.at(x, y, c) : v);
            }
            if (depth == F32 && rng() % 8 == 0) {
                const float special[] = {kNaN, kInf, -kInf, 0.0f, -0.0f};
                const int c = static_cast<int>(rng() % a->nChannels);
                b.put(x, y, c, special[rng() % 5]);
                if (rng() % 2) a.put(x, y, c, special[rng() % 5]);
            }
        }
}

std::vector<double> constantsFor(unsigned depth, const TestImage& a) {
    const auto [lo, hi] = spanOf(depth);
    if (depth == F32) return {a.at(1, 1, 0), 0.0, -0.0, kNaN, kInf, -kInf};
    std::vector<double> v = {lo, hi, a.at(1, 1, 0), -1, 300, kMin32, kMax32};
    if (lo > kMin32) v.push_back(lo - 1);
    if (hi < kMax32) v.push_back(hi + 1);
    return v;
}

class CompareByDepth : public testing::TestWithParam<unsigned> {};

// Result regions from bit 0 with whole bytes (width 152), inside a byte and
// row by row (9 at bit 5, 77 at bit 13); sources at different offsets.
TEST_P(CompareByDepth, EveryFormLayoutAndBitOffsetAgainstTheRule) {
    const unsigned depth = GetParam();
    ErrorCapture errors;
    uint32_t seed = depth * 7919u;
    struct Layout { int nCh, order; bool alpha; } const layouts[] = {{1, 0, false}, {3, 0, false}, {4, 0, true}, {2, 1, true}};
    for (const Layout& l : layouts)
        for (auto [width, resX] : {std::pair{9, 5}, {77, 13}, {152, 8}}) {
            if (depth == U1 && l.nCh > 1) continue;
            SCOPED_TRACE(testing::Message() << l.nCh << " channels, order " << l.order << ", width " << width);
            TestImage a(depth, width + 3, 4, l.nCh, l.order, l.alpha), b(depth, width + 2, 5, l.nCh, l.order, l.alpha);
            TestImage res(U1, width + 20, 5);
            a.fillRandom(++seed, spanOf(depth).first, spanOf(depth).second), res.fillRandom(++seed);
            makeNeighbour(a, b, ++seed);
            a.setRoi(0, 3, 0, width, 4), b.setRoi(0, 2, 1, width + 5, 4), res.setRoi(0, resX, 1, width, 3);
            for (const CompareOp& op : kOps) {
                if (!appliesTo(op, depth)) continue;
                SCOPED_TRACE(op.name);
                OzlImage* second = op.kind == Kind::Images ? b.get() : nullptr;
                for (double value : second ? std::vector<double>{0} : constantsFor(depth, a))
                    for (float eps : {0.5f, 1e-3f}) {
                        const TestImage before = res.clone();
                        EXPECT_EQ(op.call(a, second, res, value, eps), OZL_StsOk);
                        expectBits(before, res, a, second, op.rel, value, eps);
                        if (HasFailure()) return;
                        if (op.rel != Rel::Eps) break;
                    }
            }
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}
INSTANTIATE_TEST_SUITE_P(AllDepths, CompareByDepth, testing::Values(U1, U8, S8, U16, S16, S32, F32));

TEST(Compare, ChannelOfInterestAndAlpha) {
    ErrorCapture errors;
    TestImage rgb(S16, 20, 3, 3), gray(S16, 20, 3), r(U1, 20, 3);
    rgb.fillRandom(1, -3, 3), gray.fillRandom(2, -3, 3);
    rgb.setRoi(2, 0, 0, 20, 3);  // channel 2 against a one-channel image
    for (const CompareOp& op : kOps) {
        if (op.kind == Kind::Float || op.rel == Rel::Eps) continue;
        const TestImage before = r.clone();
        OzlImage* second = op.kind == Kind::Images ? gray.get() : nullptr;
        EXPECT_EQ(op.call(rgb, second, r, 1, 0), OZL_StsOk) << op.name;
        expectBits(before, r, rgb, second, op.rel, 1, 0);
    }
    // A lone alpha channel has nothing to compare.
    TestImage alphaOnly(U8, 9, 1, 1, OZL_DATA_ORDER_PIXEL, true);
    const auto untouched = r.bytes();
    EXPECT_EQ(ozlEqualS(alphaOnly, 0, r), OZL_StsOk);
    EXPECT_EQ(ozlLess(alphaOnly, alphaOnly, r), OZL_StsOk);
    EXPECT_EQ(r.bytes(), untouched);
    EXPECT_TRUE(errors.empty());
}

TEST(Compare, EpsBoundaryNanAndInfinities) {
    ErrorCapture errors;
    const float a[] = {1.0f, 1.0f, 1.0f, kInf, -kInf, kNaN, kNaN, 0.0f, 3.0f};
    const float b[] = {1.5f, 1.5000001f, 0.5f, kInf, -kInf, kNaN, 1.0f, -0.0f, kInf};
    const int expected[] = {1, 0, 1, 1, 1, 0, 0, 1, 0};
    TestImage ia(F32, 9, 1), ib(F32, 9, 1), res(U1, 9, 1);
    for (int x = 0; x < 9; ++x) ia.put(x, 0, 0, a[x]), ib.put(x, 0, 0, b[x]);
    EXPECT_EQ(ozlEqualFPEps(ia, ib, res, 0.5f), OZL_StsOk);  // exactly eps is equal, an ulp more is not
    for (int x = 0; x < 9; ++x) EXPECT_EQ(res.at(x, 0), expected[x]) << x;
    EXPECT_EQ(ozlEqualSFP(ia, kNaN, res), OZL_StsOk);
    for (int x = 0; x < 9; ++x) EXPECT_EQ(res.at(x, 0), 0);
    EXPECT_TRUE(errors.empty());
}

TEST(Compare, MasksOfEveryOperand) {
    ErrorCapture errors;
    TestImage a(U8, 45, 4), b(U8, 45, 4), res(U1, 50, 4), ma(U1, 45, 4), mb(U1, 48, 5), mr(U1, 50, 4);
    a.fillRandom(1, 0, 2), b.fillRandom(2, 0, 2);
    fillAll({&ma, &mb, &mr}, 3);
    mb.setRoi(0, 3, 1, 40, 4), mr.setRoi(0, 5, 0, 45, 4), res.setRoi(0, 2, 0, 45, 4);  // the masks' own regions count
    for (bool all : {false, true}) {  // the result's mask alone, then a mask on every operand
        a.setMask(all ? &ma : nullptr), b.setMask(all ? &mb : nullptr), res.setMask(&mr);
        std::vector<const OzlImage*> withoutB = {mr}, present = {mr};  // the constant form has no second mask
        if (all) withoutB.push_back(ma), present.insert(present.end(), {ma, mb});
        TestImage before = res.clone();
        EXPECT_EQ(ozlGreater(a, b, res), OZL_StsOk);
        expectBits(before, res, a, b, Rel::Greater, 0, 0, present);
        before = res.clone();
        ozlSetErrStatus(OZL_StsBadArg);  // a status left negative neither stops the mask nor is replaced
        EXPECT_EQ(ozlEqualS(a, 1, res), OZL_StsOk);
        EXPECT_EQ(ozlGetErrStatus(), OZL_StsBadArg);
        ozlSetErrStatus(OZL_StsOk);
        expectBits(before, res, a, nullptr, Rel::Equal, 1, 0, withoutB);
    }
    TestImage beyondEdge(U1, 45, 4);  // a mask region past the right edge: nothing written
    beyondEdge.setRoi(0, 45, 0, 8, 4), a.setMask(&beyondEdge);
    const auto untouched = res.bytes();
    EXPECT_EQ(ozlLess(a, b, res), OZL_StsOk);
    EXPECT_EQ(res.bytes(), untouched);
    EXPECT_TRUE(errors.empty());
}

int fetches(const TiledImage& t) {
    return static_cast<int>(std::count_if(t.calls().begin(), t.calls().end(),
                                          [](const auto& c) { return c.mode != OZL_RELEASE_TILE; }));
}

TEST(Compare, TiledOperands) {
    ErrorCapture errors;
    for (unsigned depth : {U8, F32}) {
        TiledImage a(depth, 45, 21, 3, OZL_DATA_ORDER_PIXEL, 16, 8, 1);
        TiledImage res(U1, 50, 21, 1, OZL_DATA_ORDER_PIXEL, 16, 8, 2);
        TestImage b(depth, 45, 21, 3);
        a.pixels().fillRandom(1, 0, 3), res.pixels().fillRandom(3);
        makeNeighbour(a.pixels(), b, 2);
        a.setRoi(0, 2, 1, 40, 19), res.setRoi(0, 7, 2, 40, 19), res.pixels().setRoi(0, 7, 2, 40, 19);
        TestImage before = res.pixels().clone();
        EXPECT_EQ(ozlLess(a, b, res), OZL_StsOk);
        a.pixels().setRoi(0, 2, 1, 40, 19);
        expectBits(before, res.pixels(), a.pixels(), b, Rel::Less, 0, 0);
        EXPECT_FALSE(res.calls().empty());
        for (const auto& call : res.calls()) EXPECT_NE(call.mode, OZL_GET_TILE_TO_READ);
        a.failFetch(fetches(a) + 3);
        EXPECT_EQ(ozlGreater(a, b, res), OZL_StsError);
        ASSERT_EQ(errors.count(), 1u);
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsError, "ozlGreater", "(srcImage->tileInfo->tileData == NULL)", "ozlcompare", 193}));
        errors.clear();
    }
}

TEST(CompareRefusals, EveryCheckInOrder) {
    ErrorCapture errors;
    TestImage a(U8, 9, 3), b(U8, 9, 3), f(F32, 9, 3), g(F32, 9, 3), s8(S8, 9, 3), three(U8, 9, 3, 3);
    TestImage planar(U8, 9, 3, 1, OZL_DATA_ORDER_PLANE), res(U1, 9, 3), res8(U8, 9, 3), bl(U8, 9, 3);
    TestImage bits(U1, 9, 3), broken(U8, 9, 3), badMask(U8, 9, 3), masked(U8, 9, 3);
    bl->origin = OZL_ORIGIN_BL, broken->nChannels = 0;
    res.fillRandom(1), bits.fillRandom(2), masked.setMask(&badMask);  // a mask fault is the header check's
    const char* M = "ozlcompare";
    TestImage i32(S32, 4, 4);
    float mn = 3, mx = 4;
    auto minMax = [](OzlImage* im, float* lo, float* hi) { return [=] { EXPECT_EQ(ozlMinMaxFP(im, lo, hi), OZL_StsBadArg); }; };
    const char* nulls = "((min == ((void*)(0)))||(max == ((void*)(0))))";
    const char *eps = "(eps<=0.)", *res1U = "(res->depth!=OZL_DEPTH_1U)", *depths = "(img1->depth!=img2->depth)";
    expectRefusals(errors, {
        {[&] { ozlLess(nullptr, b, res); }, &res, {-9, "ozlLess", " Incorrect Image", M, 62}},
        {[&] { ozlGreater(a, broken, res); }, &res, {-15, "ozlGreater", " Incorrect Image", M, 62}},
        {[&] { ozlEqual(a, b, nullptr); }, &res, {-9, "ozlEqual", " Incorrect Image", M, 62}},
        {[&] { ozlLess(a, b, res8); }, &res8, {-5, "ozlLess", res1U, M, 66}},
        {[&] { ozlLess(a, s8, a); }, &a, {-5, "ozlLess", res1U, M, 66}},  // before the depths
        {[&] { ozlGreater(a, s8, res); }, &res, {-5, "ozlGreater", depths, M, 70}},
        {[&] { ozlLess(bits, bits, bits); }, &bits, {-5, "ozlLess", "(img1==res || img2==res)", M, 78}},
        {[&] { ozlEqual(a, bits, bits); }, &bits, {-5, "ozlEqual", depths, M, 70}},
        {[&] { ozlEqual(a, planar, res); }, &res, {-5, "ozlEqual", "(img1->dataOrder!=img2->dataOrder)", M, 82}},
        {[&] { ozlLess(a, bl, res); }, &res, {-5, "ozlLess", "(img1->origin!=img2->origin)", M, 84}},
        {[&] { ozlGreater(three, a, res); }, &res, {-15, "ozlGreater", "bad channel's number", M, 92}},
        {[&] { ozlEqualFPEps(f, a, res, 1); }, &res, {-5, "ozlEqualFPEps", "((img1->depth!= OZL_DEPTH_32F)|| (img2->depth!= OZL_DEPTH_32F))", M, 70}},
        {[&] { ozlEqualFPEps(f, g, res, 0); }, &res, {-5, "ozlEqualFPEps", eps, M, 74}},
        {[&] { ozlEqualFPEps(f, g, res, kNaN); }, &res, {-5, "ozlEqualFPEps", eps, M, 74}},
        {[&] { ozlEqualFPEps(f, g, f, 1); }, &f, {-5, "ozlEqualFPEps", res1U, M, 66}},
        {[&] { ozlLessS(nullptr, 1, res); }, &res, {-9, "ozlLessS", " Incorrect Image", M, 62}},
        {[&] { ozlGreaterS(a, 1, res8); }, &res8, {-5, "ozlGreaterS", res1U, M, 66}},
        {[&] { ozlEqualS(f, 1, res); }, &res, {-5, "ozlEqualS", "(img->depth==OZL_DEPTH_32F)", M, 70}},
        {[&] { ozlLessS(bits, 1, bits); }, &bits, {-5, "ozlLessS", "(img==res)", M, 78}},
        {[&] { ozlEqualS(masked, 0, res); }, &res, {-117, "ozlEqualS", " Incorrect Image", M, 62}},
        {[&] { ozlLessSFP(a, 1, res); }, &res, {-5, "ozlLessSFP", "(img->depth!=OZL_DEPTH_32F)", M, 70}},
        {[&] { ozlGreaterSFP(f, 1, nullptr); }, &res, {-9, "ozlGreaterSFP", " Incorrect Image", M, 62}},
        {[&] { ozlEqualSFPEps(f, 1, res, -1); }, &res, {-5, "ozlEqualSFPEps", eps, M, 74}},
        {[&] { ozlEqualSFPEps(a, 1, res, -1); }, &res, {-5, "ozlEqualSFPEps", "(img->depth!=OZL_DEPTH_32F)", M, 70}},
        {minMax(nullptr, &mn, &mx), &res, {-5, "ozlMinMaxFP", "Incorrect Image", "ozlminmax", 58}},
        {minMax(f, nullptr, &mx), &res, {-5, "ozlMinMaxFP", nulls, "ozlminmax", 60}},
        {minMax(f, &mn, nullptr), &res, {-5, "ozlMinMaxFP", nulls, "ozlminmax", 60}},
        {minMax(i32, &mn, &mx), &res, {-5, "ozlMinMaxFP", "(srcImage->depth != 32)", "ozlminmax", 62}},
    });
    EXPECT_TRUE(mn == 3 && mx == 4);
}

// ozlMinMaxFP by its rule: NaN skipped, -0 below +0, nothing stored when no
// pixel counts, NaN when only NaN does.
void expectRange(const OzlImage* im, const OzlImage* mask = nullptr) {
    const Region r = regionOf(im);
    const std::vector<int> channels = channelsOf(im);
    float lo = 0, hi = 0;
    bool any = false, number = false;
    auto below = [](float x, float y) { return x < y || (x == y && std::signbit(x) && !std::signbit(y)); };
    for (int y = 0; y < r.height; ++y)
        for (int x = 0; x < r.width; ++x) {
            if (channels.empty() || (mask && valueOf(mask, x, y, 0) == 0)) continue;
            any = true;
            for (int c : channels) {
                const float v = static_cast<float>(valueOf(im, r.x + x, r.y + y, c));
                if (v != v) continue;
                if (!number || below(v, lo)) lo = v;
                if (!number || below(hi, v)) hi = v;
                number = true;
            }
        }
    float mn = 7.0f, mx = 7.0f;
    EXPECT_EQ(ozlMinMaxFP(const_cast<OzlImage*>(im), &mn, &mx), OZL_StsOk);
    if (!any) {
        EXPECT_EQ(mn + mx, 14.0f);
    } else if (!number) {
        EXPECT_TRUE(std::isnan(mn) && std::isnan(mx));
    } else {
        EXPECT_EQ(std::memcmp(&mn, &lo, 4), 0) << mn << " against " << lo;
        EXPECT_EQ(std::memcmp(&mx, &hi, 4), 0) << mx << " against " << hi;
    }
}

TEST(MinMaxFP, LayoutsRegionsMasksAndSpecialValues) {
    ErrorCapture errors;
    for (auto [order, nCh, width] : {std::tuple{0, 1, 133}, {1, 4, 15}, {0, 4, 133}}) {
        TestImage im(F32, width + 4, 3, nCh, order, nCh == 4);
        im.fillRandom(nCh + width), im.setRoi(0, 2, 1, width, 2);
        im.put(2 + width / 2, 1, 0, kNaN), im.put(3, 0, 0, -5000.0f);  // the second outside the region
        expectRange(im);
        im.setRoi(nCh, 2, 1, width, 2);
        expectRange(im);
    }
    TestImage zeros(F32, 40, 1);
    std::mt19937 rng(3);
    for (int x = 0; x < 40; ++x) zeros.put(x, 0, 0, rng() % 2 ? 0.0f : -0.0f);
    expectRange(zeros);
    zeros.fill(kNaN);
    expectRange(zeros);
    zeros.put(17, 0, 0, kInf);
    expectRange(zeros);
    TestImage im(F32, 70, 3), mask(U1, 70, 3), alphaOnly(F32, 5, 1, 1, OZL_DATA_ORDER_PIXEL, true);
    im.fillRandom(4), mask.fillRandom(5), im.setMask(&mask);
    expectRange(im, mask);
    mask.fill(0);
    expectRange(im, mask);
    expectRange(alphaOnly);
    EXPECT_TRUE(errors.empty());
}

TEST(MinMaxFP, TilesAndRefusals) {
    ErrorCapture errors;
    TiledImage t(F32, 45, 20, 2, OZL_DATA_ORDER_PLANE, 16, 8);
    t.pixels().fillRandom(1), t.setRoi(0, 3, 2, 40, 17), t.pixels().setRoi(0, 3, 2, 40, 17);
    float tMin = 0, tMax = 0, pMin = 1, pMax = 1;
    EXPECT_EQ(ozlMinMaxFP(t, &tMin, &tMax), OZL_StsOk);
    EXPECT_EQ(ozlMinMaxFP(t.pixels(), &pMin, &pMax), OZL_StsOk);
    EXPECT_TRUE(tMin == pMin && tMax == pMax);
    for (const auto& call : t.calls()) EXPECT_NE(call.mode, OZL_GET_TILE_TO_WRITE);
    t.failFetch(fetches(t) + 2);
    float mn = 3, mx = 4;
    EXPECT_EQ(ozlMinMaxFP(t, &mn, &mx), OZL_StsError);
    EXPECT_EQ(errors.last(), (ErrorReport{-2, "ozlMinMaxFP", "(srcImage->tileInfo->tileData == NULL)", "ozlminmax", 69}));
    EXPECT_TRUE(mn == 3 && mx == 4);
}

}  // namespace
