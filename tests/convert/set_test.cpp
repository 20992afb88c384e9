// ozlSet, ozlSetFP through the public interface.
#include "convert_check.hpp"

namespace {
using namespace ozl::convert_test;

// Every value clamped to the depth; the row padding kept.
TEST(Set, ClampsToTheDepthAndKeepsRowPadding) {
    const std::tuple<unsigned, int, double> cases[] = {
        {U8, 300, 255}, {U8, -7, 0}, {S8, 200, 127}, {S8, -200, -128}, {U16, 70000, 65535}, {U16, -1, 0},
        {S16, 40000, 32767}, {S16, -40000, -32768}, {S32, -2147483647 - 1, -2147483648.0}, {S32, 2147483647, 2147483647},
        {U1, 5, 1}, {U1, -3, 0}};
    ErrorCapture errors;
    for (const auto& [depth, value, stored] : cases)
        for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
            TestImage image(depth, 37, 3, depth == U1 ? 1 : 3, order);
            image.fillRandom(static_cast<uint32_t>(value));
            TestImage expected = image.clone();
            expected.fill(stored);
            ozlSet(image, value);
            EXPECT_EQ(image.bytes(), expected.bytes()) << depth << " " << value << " order " << order;
        }
    EXPECT_TRUE(errors.empty());
}

TEST(Set, RegionsChannelOfInterestAndMasks) {
    ErrorCapture errors;
    for (unsigned depth : {U1, U8, S32}) {
        TestImage image(depth, 45, 6);
        image.fillRandom(1);
        const TestImage before = image.clone();
        image.setRoi(0, 45, 0, 3, 3);  // at the right or bottom edge: nothing written, nothing reported
        ozlSet(image, 1);
        image.setRoi(0, 0, 6, 3, 3);
        ozlSet(image, 1);
        EXPECT_EQ(image.bytes(), before.bytes());
        image.setRoi(0, 13, 2, 100, 100);  // past the edges: cut there; 1U from inside a byte
        ozlSet(image, 1);
        expectPixelwise(before, image, nullptr, nullptr, constant(1));
    }
    TestImage coi(U16, 33, 4, 3, OZL_DATA_ORDER_PLANE);
    coi.fillRandom(2), coi.setRoi(3, 5, 1, 20, 2);  // channel 3 of a region
    const TestImage coiBefore = coi.clone();
    ozlSet(coi, 99999);
    expectPixelwise(coiBefore, coi, nullptr, nullptr, constant(65535));
    // Masked; 1-bit images go through the logic operations, which must leave the mask as it was.
    // Rows longer than the fill computed once (4096 values) must step its mask bits on.
    for (auto [depth, nCh, order, value, stored, w] :
         {std::tuple{U8, 3, 0, 200, 200.0, 70}, {U16, 3, 1, 200, 200.0, 70}, {U8, 3, 1, -3, 0.0, 70},
          {U1, 1, 0, 0, 0.0, 70}, {U1, 1, 0, 1, 1.0, 70}, {U8, 1, 0, 9, 9.0, 4200}}) {
        TestImage image(depth, w, 5, nCh, order), mask(U1, w + 5, 5);
        image.fillRandom(3), mask.fillRandom(4), mask.setRoi(0, 5, 1, w, 4), image.setRoi(0, 13, 0, w - 20, 5);
        image.setMask(&mask);
        const TestImage before = image.clone();
        const auto maskBefore = mask.bytes();
        ozlSetErrStatus(OZL_StsOk);  // a status left negative would add a backtrace
        ozlSet(image, value);
        expectPixelwise(before, image, nullptr, nullptr, constant(stored), [&](int x, int y) { return mask.at(x + 5, y + 1) != 0; }, w, 4);
        EXPECT_EQ(mask.bytes(), maskBefore);
        EXPECT_EQ(image->maskROI, mask.get());
    }
    EXPECT_TRUE(errors.empty());
}

TEST(SetFP, WritesTheFloatBitsAndRestoresTheDepth) {
    ErrorCapture errors;
    ozlSetErrStatus(OZL_StsOk);
    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
        TestImage image(F32, 19, 3, 2, order);
        image.fillRandom(7), image.setRoi(2, 1, 1, 17, 2);
        const TestImage before = image.clone();
        ozlSetFP(image, -1.5e-3f);
        EXPECT_EQ(image->depth, F32);
        expectPixelwise(before, image, nullptr, nullptr, constant(static_cast<double>(-1.5e-3f)));
        const uint32_t nanBits = 0x7FC12345u;  // no integer clamp may touch a quiet NaN's bits
        float nan;
        std::memcpy(&nan, &nanBits, 4);
        image.clearRoi();
        ozlSetFP(image, nan);
        for (int x = 0; x < 19; ++x) EXPECT_EQ(std::memcmp(image->imageData + 4 * x * (order == 0 ? 2 : 1), &nanBits, 4), 0) << x;
    }
    EXPECT_TRUE(errors.empty());
}

TEST(SetRefusals, ExactReports) {
    ErrorCapture errors;
    TestImage u8(U8, 9, 2), f(F32, 9, 2), fCoi(F32, 9, 2), image(U1, 16, 1), mask(U1, 16, 1);
    u8.fillRandom(1), f.fillRandom(2), fCoi.setRoi(2, 0, 0, 9, 2), image.setMask(&mask);
    const std::pair<std::function<void()>, std::vector<ErrorReport>> cases[] = {
        {[&] { ozlSetFP(u8, 1.0f); }, {{-17, "ozlSetFP", "You should use ozlSet for this image", "ozlsce", 944}}},
        {[&] { ozlSet(f, 1); }, {{-17, "ozlSet", "You should use ozlSetFP for this image", "ozlsce", 397}}},
        {[&] { ozlSetFP(nullptr, 1.0f); }, {{-5, "ozlSetFP", "dstImage==0", "ozlsce", 942}}},
        {[&] { ozlSet(nullptr, 1); }, {{-9, "ozlSet", "Incorrect Image", "ozlsce", 395}}},
        // A header fault inside ozlSetFP is ozlSet's report plus a backtrace line.
        {[&] { ozlSetFP(fCoi, 1.0f); }, {{-24, "ozlSet", "Incorrect Image", "ozlsce", 395}, {-1, "ozlSetFP", "", "ozlsce", 947}}},
        // A negative status left from before gives a backtrace line; the fill is done.
        {[&] { ozlSetErrStatus(OZL_StsBadArg), ozlSet(image, 1); }, {{OZL_StsBackTrace, "ozlSet", "", "ozlsce", 433}}},
        {[&] { ozlSetErrStatus(OZL_StsNoMem), ozlSetFP(f, 2.5f); }, {{-1, "ozlSetFP", "", "ozlsce", 947}}},
    };
    for (const auto& [call, reports] : cases) {
        const auto u8Before = u8.bytes(), fBefore = f.bytes(), coiBefore = fCoi.bytes();
        ozlSetErrStatus(OZL_StsOk);
        call();
        EXPECT_EQ(errors.reports(), reports);
        EXPECT_EQ(u8.bytes(), u8Before);
        if (reports[0].status != -1) EXPECT_EQ(f.bytes(), fBefore);
        EXPECT_EQ(fCoi.bytes(), coiBefore);
        EXPECT_EQ(fCoi->depth, F32);
        errors.clear();
    }
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsNoMem);
    EXPECT_EQ(f.at(8, 1), 2.5);
    ozlSetErrStatus(OZL_StsOk);
}

TEST(SetTiles, FillsTileByTileForWriting) {
    ErrorCapture errors;
    TiledPair p(U8, 30, 20, 3, 16, 8, 8);
    p.tiled.setRoi(2, 5, 3, 20, 10);  // tiles (0..1, 0..1), channel 2
    p.plain.setRoi(2, 5, 3, 20, 10);
    ozlSet(p.tiled, 77);
    ozlSet(p.plain, 77);
    EXPECT_TRUE(errors.empty());
    EXPECT_TRUE(p.same());
    EXPECT_EQ(p.tiled.calls(), (std::vector<TileCall>{{0, 0, 0, 2}, {0, 0, 0, 4}, {0, 1, 0, 2}, {0, 1, 0, 4},
                                                       {0, 0, 1, 2}, {0, 0, 1, 4}, {0, 1, 1, 2}, {0, 1, 1, 4}}));
    // The third tile cannot be had: report, stop; the first two stay filled.
    TiledImage failing(S16, 40, 8, 1, OZL_DATA_ORDER_PLANE, 16, 8);
    failing.pixels().fill(-1), failing.failFetch(3);
    ozlSet(failing, 1000);
    EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{{-2, "ozlSet", "Error get tile to write", "ozlsce", 503}}));
    for (int x = 0; x < 40; ++x) EXPECT_EQ(failing.pixels().at(x, 7), x < 32 ? 1000 : -1);
    EXPECT_EQ(failing.calls().size(), 5u);
}

}  // namespace
