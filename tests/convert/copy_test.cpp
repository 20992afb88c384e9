// ozlCopy and ozlExchange through the public interface.
#include "convert_check.hpp"

namespace {
using namespace ozl::convert_test;

// After the swap each image holds the other's values where selected, its own
// elsewhere: the copy's rule in both directions, old images seen through the
// new ones' regions.
void expectSwapped(const TestImage& aBefore, const TestImage& bBefore, const OzlImage* a, const OzlImage* b,
                   const SelectFn& selected = nullptr) {
    OzlROI ra = a->roi ? *a->roi : OzlROI{0, 0, 0, a->width, a->height}, rb = b->roi ? *b->roi : OzlROI{0, 0, 0, b->width, b->height};
    aBefore->roi = &ra;
    bBefore->roi = &rb;
    expectPixelwise(aBefore, a, bBefore, nullptr, same, selected);
    expectPixelwise(bBefore, b, aBefore, nullptr, same, selected);
    aBefore->roi = bBefore->roi = nullptr;
}
void restore(TestImage& im, const TestImage& from) { std::memcpy(im->imageData, from->imageData, im->imageSize); }

TEST(Copy, EveryDepthAndLayoutAndExchange) {
    ErrorCapture errors;
    uint32_t seed = 1;
    for (unsigned depth : kAllDepths)
        for (int nCh : {1, 4})
            for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
                if (depth == U1 && nCh > 1) continue;
                TestImage s(depth, 45, 6, nCh, order, nCh == 4), d(depth, 43, 5, nCh, order, nCh == 4);  // alpha not copied
                s.fillRandom(++seed), d.fillRandom(++seed), s.setRoi(0, 3, 1, 40, 5), d.setRoi(0, 1, 0, 42, 4);
                const TestImage before = d.clone(), sBefore = s.clone();
                ozlSetErrStatus(OZL_StsOk);  // a status left negative stops the copy
                ozlCopy(s, d);
                expectPixelwise(before, d, s, nullptr, same);
                restore(d, before);
                ozlExchange(s, d);
                expectSwapped(sBefore, before, s, d);
                ASSERT_FALSE(HasFailure()) << depth << " " << nCh << " order " << order;
            }
    TestImage s(U16, 9, 4, 3), d(U16, 9, 4, 1);  // a channel of interest into one channel
    s.fillRandom(1), d.fillRandom(2), s.setRoi(2, 0, 0, 9, 4);
    const TestImage before = d.clone();
    ozlCopy(s, d);
    expectPixelwise(before, d, s, nullptr, same);
    d.fillRandom(3);
    TestImage sBefore = s.clone(), dBefore = d.clone();
    ozlExchange(s, d);
    sBefore.setRoi(2, 0, 0, 9, 4);
    expectPixelwise(sBefore, s, dBefore, nullptr, same);
    expectPixelwise(dBefore, d, sBefore, nullptr, same);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Masks ANDed, each at its own region; a 1-bit destination is (dst AND NOT
// mask) OR (src AND mask), its mask left in place.
TEST(Copy, MasksAndOneBitImages) {
    ErrorCapture errors;
    for (unsigned depth : {S32, U1}) {
        TestImage s(depth, 77, 5, depth == U1 ? 1 : 2), d(depth, 77, 5, depth == U1 ? 1 : 2), m1(U1, 77, 5), m2(U1, 80, 7);
        s.fillRandom(1), d.fillRandom(2), m1.fillRandom(3), m2.fillRandom(4), m2.setRoi(0, 2, 1, 78, 6), s.setMask(&m1);
        d.setMask(&m2);
        s.setRoi(0, 3, 0, 70, 5);  // a 1-bit region starting at bit 3
        const TestImage sBefore = s.clone(), before = d.clone();
        const auto maskBytes = m2.bytes();
        auto both = [&](int x, int y) { return m1.at(x, y) && m2.at(x + 2, y + 1); };
        ozlSetErrStatus(OZL_StsOk);
        ozlCopy(s, d);
        expectPixelwise(before, d, s, nullptr, same, both);
        EXPECT_EQ(m2.bytes(), maskBytes);
        EXPECT_EQ(d->maskROI, m2.get());
        restore(d, before);
        ozlExchange(s, d);
        expectSwapped(sBefore, before, s, d, both);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Destination tiled, source tiled, both: the copy and the swap; a swap fetches
// every tile for writing.
TEST(Copy, TiledWalks) {
    ErrorCapture errors;
    const int roi[] = {3, 2, 25, 17};
    for (int kind = 0; kind < 3; ++kind) {
        TiledPair s(U8, 30, 19, 3, 8, 8, 1, roi), d(U8, 29, 21, 3, 16, 8, 2);
        TestImage s1 = s.plain.clone(), d1 = d.plain.clone();
        s1.setRoi(0, 3, 2, 25, 17);
        ozlSetErrStatus(OZL_StsOk);
        ozlCopy(s.plain, d1);
        ozlCopy(kind == 0 ? s.plain.get() : s.tiled.get(), kind == 1 ? d.plain.get() : d.tiled.get());
        EXPECT_EQ((kind == 1 ? d.plain : d.tiled.pixels()).bytes(), d1.bytes()) << kind;
        restore(d.plain, d.tiled.pixels());
        restore(d1, d.tiled.pixels());
        ozlExchange(kind == 1 ? s1.get() : s.tiled.get(), kind == 0 ? d1.get() : d.tiled.get());
        ozlExchange(s.plain, d.plain);
        EXPECT_EQ((kind == 1 ? s1 : s.tiled.pixels()).bytes(), s.plain.bytes()) << kind;
        EXPECT_EQ((kind == 0 ? d1 : d.tiled.pixels()).bytes(), d.plain.bytes()) << kind;
        for (const auto& call : d.tiled.calls()) EXPECT_NE(call.mode, OZL_GET_TILE_TO_READ);  // written tiles are never read
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
    const std::tuple<int, int, ErrorReport> cases[] = {
        {0, 2, {-2, "ozlCopy", "Error get tile to write", "ozlsce", 243}},
        {1, 1, {-2, "ozlCopy", "Error get tile to read", "ozlsce", 255}},
        {2, 1, {-1, "ozlCopy", "", "ozlsce", 249}},
    };
    for (const auto& [kind, failing, want] : cases) {
        TiledPair s(S16, 20, 20, 1, 8, 8, 1), d(S16, 20, 20, 1, 8, 8, 2);
        (kind == 0 ? d : s).tiled.failFetch(failing);
        ozlSetErrStatus(OZL_StsOk);
        ozlCopy(kind == 0 ? s.plain.get() : s.tiled.get(), kind == 1 ? d.plain.get() : d.tiled.get());
        ASSERT_FALSE(errors.empty());
        EXPECT_EQ(errors.last(), want);
        errors.clear();
    }
}

TEST(CopyRefusals, AgreementReportsAndShortcuts) {
    ErrorCapture errors;
    TestImage a(U8, 6, 3, 3), b(U16, 6, 3, 3), plane(U8, 6, 3, 3, OZL_DATA_ORDER_PLANE), one(U8, 6, 3, 1, OZL_DATA_ORDER_PLANE);
    TestImage pixOne(U8, 6, 3, 1), c(U8, 6, 3, 3, OZL_DATA_ORDER_PLANE), bad(U8, 6, 3);
    TiledImage tb(U8, 6, 3, 3, OZL_DATA_ORDER_PLANE, 8, 8);
    b.fillRandom(1), plane.fillRandom(2);
    b->origin = OZL_ORIGIN_BL;
    bad->imageData = nullptr;
    tb.failFetch(1);
    const std::string channels = "Number of processed channels of srcImage != Number of processed channels of dstImage";
    for (const char* f : {"ozlCopy", "ozlExchange"}) {  // depth and origin both wrong: two reports, one call
        const bool copy = f[3] == 'C';
        const auto before = b.bytes();
        ozlSetErrStatus(OZL_StsOk);
        copy ? ozlCopy(a, b) : ozlExchange(a, b);
        const int line = copy ? 63 : 563;
        EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{{-5, f, "srcImage->depth != dstImage->depth", "ozlsce", line},
                                                              {-5, f, "srcImage->origin != dstImage->origin", "ozlsce", line}}));
        EXPECT_EQ(ozlGetErrStatus(), -5);
        EXPECT_EQ(b.bytes(), before);
        errors.clear();
    }
    expectRefusals(errors, {
        {[&] { ozlCopy(a, plane); }, &plane, {-5, "ozlCopy", "srcImage->dataOrder != dstImage->dataOrder", "ozlsce", 63}},
        {[&] { ozlCopy(a, pixOne); }, &pixOne, {-5, "ozlCopy", channels, "ozlsce", 281}},
        {[&] { ozlCopy(bad, c); }, &c, {-12, "ozlCopy", "Incorrect Image", "ozlsce", 61}},
        {[&] { ozlCopy(c, bad); }, &c, {-12, "ozlCopy", "Incorrect Image", "ozlsce", 62}},
        {[&] { ozlExchange(a, plane); }, &plane, {-5, "ozlExchange", "srcImage->dataOrder != dstImage->dataOrder", "ozlsce", 563}},
        {[&] { ozlExchange(pixOne, a); }, &a, {-5, "ozlExchange", channels, "ozlsce", 566}},
        {[&] { ozlExchange(bad, plane); }, &plane, {-12, "ozlExchange", "Incorrect Image", "ozlsce", 561}},
        {[&] { ozlExchange(plane, bad); }, &plane, {-12, "ozlExchange", "Incorrect Image", "ozlsce", 562}},
        {[&] { ozlExchange(plane, tb); }, &plane, {-2, "ozlExchange", "Error get tile to write", "ozlsce", 643}},
    });
    ozlCopy(pixOne, one);  // one channel each: the data orders may differ
    EXPECT_TRUE(errors.empty());
    // A status left negative stops the copy but not the swap; the same header
    // twice returns at once and leaves the status as it is.
    a.fillRandom(3), c.fill(7);
    const TestImage cBefore = c.clone(), planeBefore = plane.clone();
    ozlSetErrStatus(OZL_StsBadArg);
    ozlCopy(plane, c);
    EXPECT_EQ(c.bytes(), cBefore.bytes());
    ozlExchange(plane, plane);
    EXPECT_EQ(plane.bytes(), planeBefore.bytes());
    ozlExchange(plane, c);
    expectPixelwise(cBefore, plane, cBefore, nullptr, same);
    expectPixelwise(planeBefore, c, planeBefore, nullptr, same);
    ozlSetErrStatus(OZL_StsOk);
    ozlCopy(a, a);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsOk);
    EXPECT_TRUE(errors.empty());
}

}  // namespace
