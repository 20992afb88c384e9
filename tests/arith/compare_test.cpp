// The comparisons and ozlMinMaxFP through the public interface: every depth,
// layout, channel count and form against a reference of the documented rule;
// result regions at any bit offset with the bits around them kept; masks,
// tiles, refusals with their exact reports; the range's NaN and zero rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <cstring>
#include <string>
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
using ozl::test::valueOf;

const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();
const unsigned kAllDepths[] = {OZL_DEPTH_1U,  OZL_DEPTH_8U,  OZL_DEPTH_8S, OZL_DEPTH_16U,
                               OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};

enum class Kind { Images, Integer, Float };
enum class Rel { Less, Greater, Equal, Eps };

struct CompareOp {
    const char* name;
    Kind kind;
    Rel rel;
    // b is absent for the constant forms; value is their constant.
    std::function<OzlStatus(OzlImage* a, OzlImage* b, OzlImage* res, double value, float eps)> call;
};

const CompareOp kOps[] = {
    {"ozlLess", Kind::Images, Rel::Less, [](OzlImage* a, OzlImage* b, OzlImage* r, double, float) { return ozlLess(a, b, r); }},
    {"ozlGreater", Kind::Images, Rel::Greater, [](OzlImage* a, OzlImage* b, OzlImage* r, double, float) { return ozlGreater(a, b, r); }},
    {"ozlEqual", Kind::Images, Rel::Equal, [](OzlImage* a, OzlImage* b, OzlImage* r, double, float) { return ozlEqual(a, b, r); }},
    {"ozlEqualFPEps", Kind::Images, Rel::Eps, [](OzlImage* a, OzlImage* b, OzlImage* r, double, float e) { return ozlEqualFPEps(a, b, r, e); }},
    {"ozlLessS", Kind::Integer, Rel::Less, [](OzlImage* a, OzlImage*, OzlImage* r, double v, float) { return ozlLessS(a, static_cast<int>(v), r); }},
    {"ozlGreaterS", Kind::Integer, Rel::Greater, [](OzlImage* a, OzlImage*, OzlImage* r, double v, float) { return ozlGreaterS(a, static_cast<int>(v), r); }},
    {"ozlEqualS", Kind::Integer, Rel::Equal, [](OzlImage* a, OzlImage*, OzlImage* r, double v, float) { return ozlEqualS(a, static_cast<int>(v), r); }},
    {"ozlLessSFP", Kind::Float, Rel::Less, [](OzlImage* a, OzlImage*, OzlImage* r, double v, float) { return ozlLessSFP(a, static_cast<float>(v), r); }},
    {"ozlGreaterSFP", Kind::Float, Rel::Greater, [](OzlImage* a, OzlImage*, OzlImage* r, double v, float) { return ozlGreaterSFP(a, static_cast<float>(v), r); }},
    {"ozlEqualSFP", Kind::Float, Rel::Equal, [](OzlImage* a, OzlImage*, OzlImage* r, double v, float) { return ozlEqualSFP(a, static_cast<float>(v), r); }},
    {"ozlEqualSFPEps", Kind::Float, Rel::Eps, [](OzlImage* a, OzlImage*, OzlImage* r, double v, float e) { return ozlEqualSFPEps(a, static_cast<float>(v), r, e); }},
};

// The integer forms take every depth but 32F; ozlLess, ozlGreater and
// ozlEqual every depth; the float forms 32F only.
bool appliesTo(const CompareOp& op, unsigned depth) {
    const bool real = depth == OZL_DEPTH_32F;
    if (op.kind == Kind::Images && op.rel != Rel::Eps) return true;
    return (op.kind == Kind::Integer) != real;
}

// The documented rule on one value: integers widened, floats by IEEE rules,
// the tolerance test on the single-precision difference.
bool holds(Rel rel, double a, double b, float eps) {
    switch (rel) {
        case Rel::Less: return a < b;
        case Rel::Greater: return a > b;
        case Rel::Equal: return a == b;
        default: {
            const float fa = static_cast<float>(a), fb = static_cast<float>(b);
            return fa == fb || std::fabs(fa - fb) <= eps;
        }
    }
}

struct Region {
    int x = 0, y = 0, width = 0, height = 0;
};

Region regionOf(const OzlImage* im) {
    if (!im->roi) return {0, 0, im->width, im->height};
    const OzlROI& r = *im->roi;
    return {r.xOffset, r.yOffset, std::max(0, std::min(r.width, im->width - r.xOffset)),
            std::max(0, std::min(r.height, im->height - r.yOffset))};
}

// Processed channels of a source: its channel of interest, or all but alpha.
std::vector<int> channelsOf(const OzlImage* im) {
    if (im->roi && im->roi->coi > 0) return {im->roi->coi - 1};
    std::vector<int> out;
    for (int c = 0; c < im->nChannels - (im->alphaChannel ? 1 : 0); ++c) out.push_back(c);
    return out;
}

// Checks every bit of res after a comparison: inside the common region of
// the sources, res and the masks, where every mask's bit is set, the bit is
// the rule's; everywhere else it is what `before` holds.
void expectBits(const TestImage& before, const OzlImage* res, const OzlImage* a,
                const OzlImage* b, Rel rel, double value, float eps,
                const std::vector<const OzlImage*>& masks = {}) {
    const Region rr = regionOf(res), ra = regionOf(a), rb = b ? regionOf(b) : rr;
    int w = std::min({rr.width, ra.width, rb.width}), h = std::min({rr.height, ra.height, rb.height});
    for (const OzlImage* m : masks) {
        w = std::min(w, regionOf(m).width);
        h = std::min(h, regionOf(m).height);
    }
    const std::vector<int> ca = channelsOf(a), cb = b ? channelsOf(b) : ca;
    int failures = 0;
    for (int y = 0; y < res->height; ++y)
        for (int x = 0; x < res->width; ++x) {
            const int rx = x - rr.x, ry = y - rr.y;
            double expected = before.at(x, y);
            bool inside = rx >= 0 && ry >= 0 && rx < w && ry < h;
            for (const OzlImage* m : masks)
                inside = inside && valueOf(m, regionOf(m).x + rx, regionOf(m).y + ry, 0) != 0;
            if (inside) {
                bool all = true;
                for (size_t k = 0; k < ca.size(); ++k) {
                    const double va = valueOf(a, ra.x + rx, ra.y + ry, ca[k]);
                    const double vb = b ? valueOf(b, rb.x + rx, rb.y + ry, cb[k]) : value;
                    all = all && holds(rel, va, vb, eps);
                }
                expected = all;
            }
            if (valueOf(res, x, y, 0) != expected && ++failures <= 5)
                ADD_FAILURE() << "bit (" << x << ", " << y << "): expected " << expected;
        }
    EXPECT_EQ(failures, 0);
}

// The values the random images take: each depth's range (32F: +-1000).
struct Span {
    double lo, hi;
};
Span spanOf(unsigned depth) {
    if (depth == OZL_DEPTH_32F) return {-1000, 1000};
    const auto [lo, hi] = ozl::test::depthRange(depth);
    return {lo, hi};
}

// b from a, pixel by pixel: all channels equal, all one step up, all one
// step down, or each its own way, so that every relation holds somewhere in
// every channel count. Floats also meet NaN, infinities and signed zeros.
void makeNeighbour(TestImage& a, TestImage& b, uint32_t seed) {
    std::mt19937 rng(seed);
    const unsigned depth = a->depth;
    const bool real = depth == OZL_DEPTH_32F;
    const double step = depth == OZL_DEPTH_1U ? 1 : real ? 0.5 : 1;
    for (int y = 0; y < a->height; ++y)
        for (int x = 0; x < a->width; ++x) {
            const int mode = static_cast<int>(rng() % 4);
            for (int c = 0; c < a->nChannels; ++c) {
                const int m = mode == 3 ? static_cast<int>(rng() % 3) : mode;
                double v = a.at(x, y, c) + (m == 1 ? step : m == 2 ? -step : 0);
                if (v > spanOf(depth).hi || v < spanOf(depth).lo) v = a.at(x, y, c);
                b.put(x, y, c, v);
            }
            if (real && rng() % 8 == 0) {
                const float special[] = {kNaN, kInf, -kInf, 0.0f, -0.0f};
                const int c = static_cast<int>(rng() % a->nChannels);
                b.put(x, y, c, special[rng() % 5]);
                if (rng() % 2) a.put(x, y, c, special[rng() % 5]);
            }
        }
}

std::vector<double> constantsFor(unsigned depth, const TestImage& a) {
    const double lo = spanOf(depth).lo, hi = spanOf(depth).hi, inImage = a.at(1, 1, 0);
    if (depth == OZL_DEPTH_32F) return {inImage, 0.0, -0.0, kNaN, kInf, -kInf};
    std::vector<double> v = {lo, lo + 1, hi - 1, hi, inImage, 0, -1, 300, INT32_MIN, INT32_MAX};
    if (lo > INT32_MIN) v.push_back(lo - 1);
    if (hi < INT32_MAX) v.push_back(hi + 1);
    return v;
}

class CompareByDepth : public testing::TestWithParam<unsigned> {};

TEST_P(CompareByDepth, EveryFormLayoutAndBitOffsetAgainstTheRule) {
    const unsigned depth = GetParam();
    ErrorCapture errors;
    uint32_t seed = depth * 7919u;
    struct Layout {
        int nCh, order;
        bool alpha;
    } const layouts[] = {{1, OZL_DATA_ORDER_PIXEL, false}, {1, OZL_DATA_ORDER_PLANE, false},
                         {3, OZL_DATA_ORDER_PIXEL, false}, {4, OZL_DATA_ORDER_PIXEL, true},
                         {3, OZL_DATA_ORDER_PLANE, false}, {2, OZL_DATA_ORDER_PLANE, true}};
    for (const Layout& l : layouts)
        for (int width : {1, 9, 77, 152}) {
            if (depth == OZL_DEPTH_1U && l.nCh > 1) continue;  // one channel only
            // Result regions from bit 0 (the kernel writes the rows itself:
            // all at once when they hold whole bytes, else row by row with
            // the bits after each kept) and from inside a byte (a buffer
            // merged in).
            const int resX = width == 1 ? 0 : width == 9 ? 5 : width == 77 ? 13 : 8;
            SCOPED_TRACE(testing::Message() << l.nCh << " channels, order " << l.order << ", alpha "
                                            << l.alpha << ", width " << width);
            TestImage a(depth, width + 3, 4, l.nCh, l.order, l.alpha);
            TestImage b(depth, width + 2, 5, l.nCh, l.order, l.alpha);
            a.fillRandom(++seed, spanOf(depth).lo, spanOf(depth).hi);
            makeNeighbour(a, b, ++seed);
            // The sources' regions start at different places.
            a.setRoi(0, 3, 0, width, 4);
            b.setRoi(0, 2, 1, width + 5, 4);
            TestImage res(OZL_DEPTH_1U, width + 20, 5);
            res.fillRandom(++seed);
            res.setRoi(0, resX, 1, width, 3);
            for (const CompareOp& op : kOps) {
                if (!appliesTo(op, depth)) continue;
                SCOPED_TRACE(op.name);
                const std::vector<double> constants =
                    op.kind == Kind::Images ? std::vector<double>{0} : constantsFor(depth, a);
                for (double value : constants)
                    for (float eps : {0.5f, 1e-3f}) {
                        const TestImage before = res.clone();
                        OzlImage* second = op.kind == Kind::Images ? b.get() : nullptr;
                        EXPECT_EQ(op.call(a, second, res, value, eps), OZL_StsOk);
                        expectBits(before, res, a, second, op.rel, value, eps);
                        if (HasFailure() || op.rel != Rel::Eps) break;
                    }
                if (HasFailure()) return;
            }
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

INSTANTIATE_TEST_SUITE_P(AllDepths, CompareByDepth, testing::ValuesIn(kAllDepths));

TEST(Compare, DocumentedCases) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_8U, 1, 1, 3), b(OZL_DEPTH_8U, 1, 1, 3), res(OZL_DEPTH_1U, 8, 1);
    const double pa[] = {10, 20, 30}, pb[] = {11, 20, 31};
    for (int c = 0; c < 3; ++c) a.put(0, 0, c, pa[c]), b.put(0, 0, c, pb[c]);
    // One equal channel among the three makes every relation fail.
    for (auto f : {ozlLess, ozlGreater, ozlEqual}) {
        res.fill(1);
        EXPECT_EQ(f(a, b, res), OZL_StsOk);
        EXPECT_EQ(res.at(0, 0), 0);
        EXPECT_EQ(res.at(1, 0), 1);  // outside the common region
    }
    EXPECT_EQ(ozlLess(a, a, res), OZL_StsOk);
    EXPECT_EQ(res.at(0, 0), 0);
    EXPECT_EQ(ozlEqual(a, a, res), OZL_StsOk);
    EXPECT_EQ(res.at(0, 0), 1);

    // Constants beyond 8U: 300 nowhere, -1 everywhere.
    TestImage img(OZL_DEPTH_8U, 37, 2), wide(OZL_DEPTH_1U, 37, 2);
    img.fillRandom(5);
    wide.fillRandom(6);
    EXPECT_EQ(ozlGreaterS(img, 300, wide), OZL_StsOk);
    for (int x = 0; x < 37; ++x) EXPECT_EQ(wide.at(x, 1), 0);
    EXPECT_EQ(ozlGreaterS(img, -1, wide), OZL_StsOk);
    for (int x = 0; x < 37; ++x) EXPECT_EQ(wide.at(x, 0), 1);

    // A result region at column 13 starts at bit 5 of byte 1 of its row.
    TestImage r13(OZL_DEPTH_1U, 32, 1);
    r13.fill(0);
    r13.setRoi(0, 13, 0, 1, 1);
    EXPECT_EQ(ozlEqualS(img, static_cast<int>(img.at(0, 0)), r13), OZL_StsOk);
    EXPECT_EQ(r13->imageData[1], 0x04);
    EXPECT_EQ(r13->imageData[0] | r13->imageData[2] | r13->imageData[3], 0);
    EXPECT_TRUE(errors.empty());
}

TEST(Compare, ChannelOfInterestAndAlphaChannel) {
    ErrorCapture errors;
    TestImage rgb(OZL_DEPTH_16S, 20, 3, 3), gray(OZL_DEPTH_16S, 20, 3), res(OZL_DEPTH_1U, 20, 3);
    rgb.fillRandom(1, -3, 3);
    gray.fillRandom(2, -3, 3);
    rgb.setRoi(2, 0, 0, 20, 3);  // channel 2 only, against a one-channel image
    for (const CompareOp& op : kOps) {
        if (op.kind == Kind::Float || op.rel == Rel::Eps) continue;
        const TestImage before = res.clone();
        OzlImage* second = op.kind == Kind::Images ? gray.get() : nullptr;
        EXPECT_EQ(op.call(rgb, second, res, 1, 0), OZL_StsOk) << op.name;
        expectBits(before, res, rgb, second, op.rel, 1, 0);
    }
    // A one-channel image that is all alpha has nothing to compare (alpha
    // beside colours is covered by the random layouts).
    TestImage alphaOnly(OZL_DEPTH_8U, 9, 1, 1, OZL_DATA_ORDER_PIXEL, true);
    res.fillRandom(4);
    const auto untouched = res.bytes();
    EXPECT_EQ(ozlEqualS(alphaOnly, 0, res), OZL_StsOk);
    EXPECT_EQ(ozlLess(alphaOnly, alphaOnly, res), OZL_StsOk);
    EXPECT_EQ(res.bytes(), untouched);
    EXPECT_TRUE(errors.empty());
}

TEST(Compare, EpsBoundaryNanAndInfinities) {
    ErrorCapture errors;
    const float a[] = {1.0f, 1.0f, 1.0f, kInf, -kInf, kNaN, kNaN, 0.0f, 3.0f};
    const float b[] = {1.5f, 1.5000001f, 0.5f, kInf, -kInf, kNaN, 1.0f, -0.0f, kInf};
    const int expected[] = {1, 0, 1, 1, 1, 0, 0, 1, 0};
    TestImage ia(OZL_DEPTH_32F, 9, 1), ib(OZL_DEPTH_32F, 9, 1), res(OZL_DEPTH_1U, 9, 1);
    for (int x = 0; x < 9; ++x) ia.put(x, 0, 0, a[x]), ib.put(x, 0, 0, b[x]);
    // A difference of exactly eps counts as equal; one ulp more does not.
    EXPECT_EQ(ozlEqualFPEps(ia, ib, res, 0.5f), OZL_StsOk);
    for (int x = 0; x < 9; ++x) EXPECT_EQ(res.at(x, 0), expected[x]) << x;
    // NaN makes every exact relation false, on either side.
    EXPECT_EQ(ozlLess(ia, ib, res), OZL_StsOk);
    EXPECT_EQ(res.at(5, 0) + res.at(6, 0), 0);
    EXPECT_EQ(ozlEqualSFP(ia, kNaN, res), OZL_StsOk);
    for (int x = 0; x < 9; ++x) EXPECT_EQ(res.at(x, 0), 0);
    EXPECT_EQ(ozlEqualSFPEps(ia, 0.75f, res, 0.25f), OZL_StsOk);
    for (int x = 0; x < 9; ++x) EXPECT_EQ(res.at(x, 0), x < 3 ? 1 : 0) << x;
    EXPECT_TRUE(errors.empty());
}

TEST(Compare, MasksOfEveryOperand) {
    ErrorCapture errors;
    TestImage a(OZL_DEPTH_8U, 45, 4), b(OZL_DEPTH_8U, 45, 4), res(OZL_DEPTH_1U, 50, 4);
    TestImage ma(OZL_DEPTH_1U, 45, 4), mb(OZL_DEPTH_1U, 48, 5), mr(OZL_DEPTH_1U, 50, 4);
    a.fillRandom(1, 0, 2);
    b.fillRandom(2, 0, 2);
    ma.fillRandom(3);
    mb.fillRandom(4);
    mr.fillRandom(5);
    mb.setRoi(0, 3, 1, 40, 4);  // the masks' own regions and bit offsets count
    mr.setRoi(0, 5, 0, 45, 4);
    res.setRoi(0, 2, 0, 45, 4);
    const std::vector<std::vector<const TestImage*>> cases = {
        {&ma, nullptr, nullptr}, {nullptr, &mb, nullptr}, {nullptr, nullptr, &mr},
        {&ma, &mb, nullptr}, {&ma, nullptr, &mr}, {&ma, &mb, &mr}};
    uint32_t seed = 10;
    for (const auto& masks : cases) {
        SCOPED_TRACE(testing::Message() << "masks " << !!masks[0] << !!masks[1] << !!masks[2]);
        a.setMask(masks[0]);
        b.setMask(masks[1]);
        res.setMask(masks[2]);
        // The constant form has no second image, and so no second mask.
        std::vector<const OzlImage*> present, withoutB;
        for (int i = 0; i < 3; ++i)
            if (masks[i]) {
                present.push_back(masks[i]->get());
                if (i != 1) withoutB.push_back(masks[i]->get());
            }
        res.fillRandom(++seed);
        TestImage before = res.clone();
        EXPECT_EQ(ozlGreater(a, b, res), OZL_StsOk);
        expectBits(before, res, a, b, Rel::Greater, 0, 0, present);
        before = res.clone();
        // A negative status left by an earlier call neither stops the mask
        // from being made nor is replaced.
        ozlSetErrStatus(OZL_StsBadArg);
        EXPECT_EQ(ozlEqualS(a, 1, res), OZL_StsOk);
        EXPECT_EQ(ozlGetErrStatus(), OZL_StsBadArg);
        ozlSetErrStatus(OZL_StsOk);
        expectBits(before, res, a, nullptr, Rel::Equal, 1, 0, withoutB);
    }
    // Masks that share no pixel: nothing written, nothing reported.
    TestImage beyondEdge(OZL_DEPTH_1U, 45, 4);
    beyondEdge.setRoi(0, 45, 0, 8, 4);  // past the right edge: an empty region
    a.setMask(&beyondEdge);
    res.setMask(&mr);
    const auto untouched = res.bytes();
    EXPECT_EQ(ozlLess(a, b, res), OZL_StsOk);
    EXPECT_EQ(res.bytes(), untouched);
    EXPECT_TRUE(errors.empty());
}

// Fetches a tiled image has served so far (failFetch counts from the first).
int fetches(const TiledImage& t) {
    return static_cast<int>(std::count_if(t.calls().begin(), t.calls().end(),
                                          [](const auto& c) { return c.mode != OZL_RELEASE_TILE; }));
}

TEST(Compare, TiledOperands) {
    ErrorCapture errors;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_32F}) {
        TiledImage a(depth, 45, 21, 3, OZL_DATA_ORDER_PIXEL, 16, 8, 1);
        TestImage b(depth, 45, 21, 3);
        TiledImage res(OZL_DEPTH_1U, 50, 21, 1, OZL_DATA_ORDER_PIXEL, 16, 8, 2);
        a.pixels().fillRandom(1, 0, 3);
        makeNeighbour(a.pixels(), b, 2);
        res.pixels().fillRandom(3);
        a.setRoi(0, 2, 1, 40, 19);
        res.setRoi(0, 7, 2, 40, 19);
        res.pixels().setRoi(0, 7, 2, 40, 19);
        TestImage before = res.pixels().clone();
        EXPECT_EQ(ozlLess(a, b, res), OZL_StsOk);
        a.pixels().setRoi(0, 2, 1, 40, 19);
        expectBits(before, res.pixels(), a.pixels(), b, Rel::Less, 0, 0);
        // The tile walk writes through the result's callback only.
        EXPECT_FALSE(res.calls().empty());
        for (const auto& call : res.calls()) EXPECT_NE(call.mode, OZL_GET_TILE_TO_READ);

        // A tile that the callback leaves unset stops the walk with -2.
        a.failFetch(fetches(a) + 3);
        EXPECT_EQ(ozlGreater(a, b, res), OZL_StsError);
        ASSERT_EQ(errors.count(), 1u);
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsError, "ozlGreater",
                                              "(srcImage->tileInfo->tileData == NULL)",
                                              "ozlcompare", 193}));
        errors.clear();
    }
    EXPECT_TRUE(errors.empty());
}

TEST(CompareRefusals, EveryCheckInOrder) {
    ErrorCapture errors;
    const unsigned U8 = OZL_DEPTH_8U, F32 = OZL_DEPTH_32F;
    TestImage a(U8, 9, 3), b(U8, 9, 3), f(F32, 9, 3), g(F32, 9, 3), s8(OZL_DEPTH_8S, 9, 3);
    TestImage planar(U8, 9, 3, 1, OZL_DATA_ORDER_PLANE), three(U8, 9, 3, 3), res(OZL_DEPTH_1U, 9, 3);
    TestImage res8(U8, 9, 3), bl(U8, 9, 3), bits(OZL_DEPTH_1U, 9, 3);
    bl->origin = OZL_ORIGIN_BL;
    res.fillRandom(1);
    bits.fillRandom(2);
    const auto before = res.bytes();
    TestImage broken(U8, 9, 3);
    broken->nChannels = 0;  // the header check's -15
    const std::string dOrder = "(img1->dataOrder!=img2->dataOrder)";
    struct Case {
        std::function<OzlStatus()> call;
        const TestImage& dst;
        ErrorReport report;
    };
    const Case cases[] = {
        {[&] { return ozlLess(nullptr, b, res); }, res, {-9, "ozlLess", " Incorrect Image", "ozlcompare", 62}},
        {[&] { return ozlGreater(a, broken, res); }, res, {-15, "ozlGreater", " Incorrect Image", "ozlcompare", 62}},
        {[&] { return ozlEqual(a, b, nullptr); }, res, {-9, "ozlEqual", " Incorrect Image", "ozlcompare", 62}},
        {[&] { return ozlLess(a, b, res8); }, res8, {-5, "ozlLess", "(res->depth!=OZL_DEPTH_1U)", "ozlcompare", 66}},
        {[&] { return ozlGreater(a, s8, res); }, res, {-5, "ozlGreater", "(img1->depth!=img2->depth)", "ozlcompare", 70}},
        {[&] { return ozlLess(bits, bits, bits); }, bits, {-5, "ozlLess", "(img1==res || img2==res)", "ozlcompare", 78}},
        {[&] { return ozlEqual(a, bits, bits); }, bits, {-5, "ozlEqual", "(img1->depth!=img2->depth)", "ozlcompare", 70}},
        {[&] { return ozlEqual(a, planar, res); }, res, {-5, "ozlEqual", dOrder, "ozlcompare", 82}},
        {[&] { return ozlLess(a, bl, res); }, res, {-5, "ozlLess", "(img1->origin!=img2->origin)", "ozlcompare", 84}},
        {[&] { return ozlGreater(three, a, res); }, res, {-15, "ozlGreater", "bad channel's number", "ozlcompare", 92}},
        {[&] { return ozlEqualFPEps(f, a, res, 1); }, res, {-5, "ozlEqualFPEps", "((img1->depth!= OZL_DEPTH_32F)|| (img2->depth!= OZL_DEPTH_32F))", "ozlcompare", 70}},
        {[&] { return ozlEqualFPEps(f, g, res, 0); }, res, {-5, "ozlEqualFPEps", "(eps<=0.)", "ozlcompare", 74}},
        {[&] { return ozlEqualFPEps(f, g, res, kNaN); }, res, {-5, "ozlEqualFPEps", "(eps<=0.)", "ozlcompare", 74}},
        {[&] { return ozlEqualFPEps(f, g, f, 1); }, f, {-5, "ozlEqualFPEps", "(res->depth!=OZL_DEPTH_1U)", "ozlcompare", 66}},
        {[&] { return ozlLessS(nullptr, 1, res); }, res, {-9, "ozlLessS", " Incorrect Image", "ozlcompare", 62}},
        {[&] { return ozlGreaterS(a, 1, res8); }, res8, {-5, "ozlGreaterS", "(res->depth!=OZL_DEPTH_1U)", "ozlcompare", 66}},
        {[&] { return ozlEqualS(f, 1, res); }, res, {-5, "ozlEqualS", "(img->depth==OZL_DEPTH_32F)", "ozlcompare", 70}},
        {[&] { return ozlLessS(bits, 1, bits); }, bits, {-5, "ozlLessS", "(img==res)", "ozlcompare", 78}},
        {[&] { return ozlLessSFP(a, 1, res); }, res, {-5, "ozlLessSFP", "(img->depth!=OZL_DEPTH_32F)", "ozlcompare", 70}},
        {[&] { return ozlGreaterSFP(f, 1, nullptr); }, res, {-9, "ozlGreaterSFP", " Incorrect Image", "ozlcompare", 62}},
        {[&] { return ozlEqualSFPEps(f, 1, res, -1); }, res, {-5, "ozlEqualSFPEps", "(eps<=0.)", "ozlcompare", 74}},
        {[&] { return ozlEqualSFPEps(a, 1, res, -1); }, res, {-5, "ozlEqualSFPEps", "(img->depth!=OZL_DEPTH_32F)", "ozlcompare", 70}},
    };
    for (const Case& c : cases) {
        const auto dstBefore = c.dst.bytes();
        EXPECT_EQ(c.call(), c.report.status) << c.report;
        expectRefused(errors, c.dst, dstBefore, c.report);
    }
    EXPECT_EQ(res.bytes(), before);
    // Order: the result's depth before the sources' depths, both before the
    // in-place test.
    EXPECT_EQ(ozlLess(a, s8, a), OZL_StsBadArg);
    EXPECT_EQ(errors.last().context, "(res->depth!=OZL_DEPTH_1U)");
    errors.clear();
    // A mask fault is the header check's, reported as the image's.
    TestImage badMask(U8, 9, 3);
    a.setMask(&badMask);
    EXPECT_EQ(ozlEqualS(a, 0, res), -117);
    expectRefused(errors, res, before, {-117, "ozlEqualS", " Incorrect Image", "ozlcompare", 62});
}

// ---------------------------------------------------------------------------
// ozlMinMaxFP

// The range by its documented rule: NaN skipped, -0 below +0.
void expectRange(const OzlImage* im, const std::vector<int>& channels, const Region& r,
                 const OzlImage* mask = nullptr) {
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
        EXPECT_EQ(mn, 7.0f);
        EXPECT_EQ(mx, 7.0f);
    } else if (!number) {
        EXPECT_TRUE(std::isnan(mn) && std::isnan(mx));
    } else {  // the same bits: -0 and +0 told apart
        EXPECT_EQ(std::memcmp(&mn, &lo, 4), 0) << mn << " against " << lo;
        EXPECT_EQ(std::memcmp(&mx, &hi, 4), 0) << mx << " against " << hi;
    }
}

TEST(MinMaxFP, LayoutsRegionsMasksAndSpecialValues) {
    ErrorCapture errors;
    uint32_t seed = 1;
    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE})
        for (int nCh : {1, 3, 4})
            for (int width : {1, 15, 64, 133}) {
                SCOPED_TRACE(testing::Message() << order << " " << nCh << " " << width);
                TestImage im(OZL_DEPTH_32F, width + 4, 3, nCh, order, nCh == 4);
                im.fillRandom(++seed);
                im.setRoi(0, 2, 1, width, 2);
                expectRange(im, channelsOf(im), regionOf(im));
                im.put(2 + width / 2, 1, 0, kNaN);
                im.put(3, 0, 0, -5000.0f);  // outside the region
                expectRange(im, channelsOf(im), regionOf(im));
                im.setRoi(nCh, 2, 1, width, 2);
                expectRange(im, channelsOf(im), regionOf(im));
                if (HasFailure()) return;
            }
    // Zeros of both signs: -0 is the minimum, +0 the maximum, whatever the order.
    TestImage zeros(OZL_DEPTH_32F, 40, 1);
    std::mt19937 rng(3);
    for (int x = 0; x < 40; ++x) zeros.put(x, 0, 0, rng() % 2 ? 0.0f : -0.0f);
    expectRange(zeros, {0}, regionOf(zeros));
    zeros.fill(-0.0f);
    expectRange(zeros, {0}, regionOf(zeros));
    zeros.fill(kNaN);  // only NaN: NaN stored
    expectRange(zeros, {0}, regionOf(zeros));
    zeros.put(17, 0, 0, kInf);
    expectRange(zeros, {0}, regionOf(zeros));

    // Masked-out pixels do not count; nothing counts: nothing stored.
    TestImage im(OZL_DEPTH_32F, 70, 3), mask(OZL_DEPTH_1U, 70, 3);
    im.fillRandom(4);
    mask.fillRandom(5);
    im.setMask(&mask);
    expectRange(im, {0}, regionOf(im), mask);
    mask.fill(0);
    expectRange(im, {0}, regionOf(im), mask);
    TestImage alphaOnly(OZL_DEPTH_32F, 5, 1, 1, OZL_DATA_ORDER_PIXEL, true);
    expectRange(alphaOnly, {}, regionOf(alphaOnly));
    EXPECT_TRUE(errors.empty());
}

TEST(MinMaxFP, TilesAndRefusals) {
    ErrorCapture errors;
    TiledImage t(OZL_DEPTH_32F, 45, 20, 2, OZL_DATA_ORDER_PLANE, 16, 8);
    t.pixels().fillRandom(1);
    t.setRoi(0, 3, 2, 40, 17);
    t.pixels().setRoi(0, 3, 2, 40, 17);
    float tiledMin = 0, tiledMax = 0, plainMin = 1, plainMax = 1;
    EXPECT_EQ(ozlMinMaxFP(t, &tiledMin, &tiledMax), OZL_StsOk);
    EXPECT_EQ(ozlMinMaxFP(t.pixels(), &plainMin, &plainMax), OZL_StsOk);
    EXPECT_EQ(tiledMin, plainMin);
    EXPECT_EQ(tiledMax, plainMax);
    for (const auto& call : t.calls()) EXPECT_NE(call.mode, OZL_GET_TILE_TO_WRITE);

    float mn = 3, mx = 4;
    auto expectReport = [&](OzlStatus status, ErrorReport report) {
        EXPECT_EQ(status, report.status);
        ASSERT_EQ(errors.count(), 1u) << report;
        EXPECT_EQ(errors.last(), report);
        EXPECT_EQ(mn, 3);
        EXPECT_EQ(mx, 4);
        errors.clear();
    };
    t.failFetch(fetches(t) + 2);
    expectReport(ozlMinMaxFP(t, &mn, &mx), {-2, "ozlMinMaxFP", "(srcImage->tileInfo->tileData == NULL)", "ozlminmax", 69});
    TestImage f(OZL_DEPTH_32F, 4, 4), i32(OZL_DEPTH_32S, 4, 4);
    expectReport(ozlMinMaxFP(nullptr, &mn, &mx), {-5, "ozlMinMaxFP", "Incorrect Image", "ozlminmax", 58});
    expectReport(ozlMinMaxFP(f, nullptr, &mx), {-5, "ozlMinMaxFP", "((min == ((void*)(0)))||(max == ((void*)(0))))", "ozlminmax", 60});
    expectReport(ozlMinMaxFP(f, &mn, nullptr), {-5, "ozlMinMaxFP", "((min == ((void*)(0)))||(max == ((void*)(0))))", "ozlminmax", 60});
    expectReport(ozlMinMaxFP(i32, &mn, &mx), {-5, "ozlMinMaxFP", "(srcImage->depth != 32)", "ozlminmax", 62});
}

}  // namespace
