// ozlComputeHisto, ozlContrastStretch, ozlHistoEqualize: exact counts against
// a plain count of the region, every accepted depth and layout, empty and
// width-1 bins, channels of interest choosing tables, masks and tiles; the
// stretch and equalisation maps against their formulas; every refusal with
// its message and line, leaving images and tables as they were.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "ozl.h"
#include "stats/region_walk.hpp"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::TestImage;
using ozl::test::TiledImage;

constexpr int32_t kUntouched = -77;

// One look-up table with its own arrays.
struct Table {
    std::vector<int32_t> key, value, factor;
    OzlLUT lut{};
    Table(std::vector<int32_t> keys, std::vector<int32_t> values = {},
          std::vector<int32_t> factors = {}, int interpolate = 0)
        : key(std::move(keys)), value(std::move(values)), factor(std::move(factors)) {
        if (value.empty()) value.assign(key.size(), kUntouched);
        lut = {static_cast<int32_t>(key.size()), key.data(), value.data(),
               factor.empty() ? nullptr : factor.data(), interpolate};
    }
    Table(const Table&) = delete;
};

// An array of tables, entry i for channel i.
struct Tables {
    std::vector<std::unique_ptr<Table>> all;
    std::vector<OzlLUT*> ptr;
    Table& add(std::vector<int32_t> keys, std::vector<int32_t> values = {},
               std::vector<int32_t> factors = {}, int interpolate = 0) {
        all.push_back(std::make_unique<Table>(std::move(keys), std::move(values),
                                              std::move(factors), interpolate));
        ptr.push_back(&all.back()->lut);
        return *all.back();
    }
    OzlLUT** get() { return ptr.data(); }
};

// Sorted keys in [0, size], with repeated keys (empty bins) and neighbours
// (width-1 bins) likely.
std::vector<int32_t> randomKeys(std::mt19937& rng, int size) {
    std::vector<int32_t> keys(2 + rng() % 10);
    for (auto& k : keys) k = static_cast<int32_t>(rng() % (size + 1));
    std::sort(keys.begin(), keys.end());
    if (keys.size() > 3) keys[2] = keys[1];
    if (keys.size() > 5 && keys[4] < size) keys[5] = keys[4] + 1;
    std::sort(keys.begin(), keys.end());
    return keys;
}

// The level counts of every processed channel over the region (and mask).
std::vector<std::vector<uint32_t>> levelCounts(const TestImage& im, const OzlImage* mask, int size) {
    std::vector<std::vector<uint32_t>> out;
    const ozl::test::Rect r = ozl::test::regionOf(im);
    for (int c : ozl::test::processedChannels(im)) {
        std::vector<uint32_t> counts(size);
        ozl::test::forSharedRegion(im, {}, {mask}, [&](int dx, int dy) {
            ++counts[static_cast<int>(im.at(r.x + dx, r.y + dy, c))];
        });
        out.push_back(counts);
    }
    return out;
}

void expectBinned(const Table& t, const std::vector<uint32_t>& counts) {
    for (size_t i = 0; i + 1 < t.key.size(); ++i) {
        uint32_t sum = 0;
        for (int j = t.key[i]; j < t.key[i + 1]; ++j) sum += counts[j];
        EXPECT_EQ(t.value[i], static_cast<int32_t>(sum)) << "bin " << i;
    }
    EXPECT_EQ(t.value.back(), kUntouched);
    EXPECT_EQ(t.lut.interpolateType, 0);
}

struct Layout {
    unsigned depth;
    int width, height, nCh, order;
    bool alpha;
    int coi;  // -1: no ROI
};

const Layout kLayouts[] = {
    {OZL_DEPTH_8U, 67, 5, 1, OZL_DATA_ORDER_PIXEL, false, -1},
    {OZL_DEPTH_8U, 33, 4, 3, OZL_DATA_ORDER_PIXEL, false, 0},
    {OZL_DEPTH_8U, 29, 3, 3, OZL_DATA_ORDER_PLANE, false, 2},
    {OZL_DEPTH_8U, 17, 6, 4, OZL_DATA_ORDER_PIXEL, true, 0},
    {OZL_DEPTH_16U, 41, 3, 1, OZL_DATA_ORDER_PIXEL, false, 0},
    {OZL_DEPTH_16U, 19, 4, 3, OZL_DATA_ORDER_PLANE, false, -1},
    {OZL_DEPTH_16U, 23, 2, 2, OZL_DATA_ORDER_PIXEL, false, 2},
    {OZL_DEPTH_1U, 45, 7, 1, OZL_DATA_ORDER_PIXEL, false, 0},
};

TEST(ComputeHisto, CountsEveryLevelOfTheRegionIntoTheBins) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    std::mt19937 rng(3);
    for (const Layout& l : kLayouts)
        for (int round = 0; round < 4; ++round) {
            SCOPED_TRACE(testing::Message() << "depth " << l.depth << " nCh " << l.nCh << " order "
                                            << l.order << " coi " << l.coi << " round " << round);
            TestImage im(l.depth, l.width, l.height, l.nCh, l.order, l.alpha);
            // A narrow range puts many pixels into few 16-bit levels.
            im.fillRandom(rng(), 0, l.depth == OZL_DEPTH_16U && round % 2 ? 300 : 65535);
            if (l.coi >= 0) im.setRoi(l.coi, 1 + round, round % 2, l.width - 3, l.height);
            const int size = l.depth == OZL_DEPTH_1U ? 2 : l.depth == OZL_DEPTH_8U ? 256 : 65536;
            Tables tables;
            for (int c = 0; c < l.nCh; ++c)
                tables.add(round == 0 ? std::vector<int32_t>{0, size} : randomKeys(rng, size));
            ozlComputeHisto(im, tables.get());
            ASSERT_TRUE(errors.empty()) << errors.last();
            const auto counts = levelCounts(im, nullptr, size);
            const auto channels = ozl::test::processedChannels(im);
            const int first = l.coi > 0 ? l.coi - 1 : 0;
            for (size_t k = 0; k < channels.size(); ++k) expectBinned(*tables.all[first + k], counts[k]);
            for (int c = 0; c < l.nCh; ++c)  // tables of other channels stay as they were
                if (c < first || c >= first + static_cast<int>(channels.size()))
                    EXPECT_EQ(tables.all[c]->value[0], kUntouched);
        }
}

TEST(ComputeHisto, CountsOnlyMaskedPixelsAndAgreesOverTiles) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    for (int nCh : {1, 3}) {
        TiledImage tiled(OZL_DEPTH_8U, 45, 30, nCh, OZL_DATA_ORDER_PIXEL, 16, 8);
        tiled.pixels().fillRandom(nCh);
        tiled.setRoi(0, 3, 5, 40, 24);
        TestImage& plain = tiled.pixels();
        plain.setRoi(0, 3, 5, 40, 24);
        Tables a, b;
        for (int c = 0; c < nCh; ++c) {
            a.add({0, 10, 10, 11, 128, 256});
            b.add({0, 10, 10, 11, 128, 256});
        }
        ozlComputeHisto(tiled, a.get());
        ozlComputeHisto(plain, b.get());
        for (int c = 0; c < nCh; ++c) EXPECT_EQ(a.all[c]->value, b.all[c]->value);
        expectBinned(*b.all[0], levelCounts(plain, nullptr, 256)[0]);

        TestImage mask(OZL_DEPTH_1U, 50, 30);
        mask.fillRandom(9);
        mask.setRoi(0, 4, 1, 38, 30);  // narrower than the region: cuts it
        plain.setMask(&mask);
        ozlComputeHisto(plain, b.get());
        const auto counts = levelCounts(plain, mask, 256);
        for (int c = 0; c < nCh; ++c) expectBinned(*b.all[c], counts[c]);
        plain.setMask(nullptr);
    }
    EXPECT_TRUE(errors.empty());
}

// Large one-channel regions are counted by pairs of neighbouring pixels: one
// long run of packed rows, and rows of odd width one at a time.
TEST(ComputeHisto, LargeRegionsAgreeWithThePlainCount) {
    ozlSetErrStatus(OZL_StsOk);
    ErrorCapture errors;
    TestImage im(OZL_DEPTH_8U, 512, 300);
    im.fillRandom(31);
    for (int x = 0; x < 512; ++x) im.put(x, 7, 0, 200);  // a run of equal values
    for (bool roi : {false, true}) {
        if (roi) im.setRoi(0, 3, 1, 501, 299);
        Tables tables;
        std::vector<int32_t> keys(257);
        for (int j = 0; j <= 256; ++j) keys[j] = j;
        tables.add(keys);
        ozlComputeHisto(im, tables.get());
        expectBinned(*tables.all[0], levelCounts(im, nullptr, 256)[0]);
    }
    EXPECT_TRUE(errors.empty());
}

TEST(ComputeHisto, RefusesBadTablesInOrderLeavingThemAlone) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    struct Bad {
        const char* message;
        int line;
        void (*spoil)(Table& t);
    };
    const Bad cases[] = {
        {"lut[k]==0", 122, nullptr},
        {"lut[k]->key==0", 123, [](Table& t) { t.lut.key = nullptr; }},
        {"lut[k]->value==0", 124, [](Table& t) { t.lut.value = nullptr; t.lut.num = 1; }},
        {"lut[k]->num < 2", 125, [](Table& t) { t.lut.num = 1; t.key[0] = -1; }},
        {"lut[k]->key[0] < 0", 126, [](Table& t) { t.key[0] = -1; t.key[2] = 999; }},
        {"lut[k]->key[lut[k]->num-1] > histSize", 127, [](Table& t) { t.key[2] = 257; }},
        {"lut[k]->key[i] > lut[k]->key[i+1]", 128, [](Table& t) { t.key[1] = 200; t.key[2] = 100; }},
    };
    ErrorCapture errors;
    TestImage im(OZL_DEPTH_8U, 8, 2, 2);
    for (const Bad& bad : cases) {
        Tables tables;
        tables.add({0, 10, 20});
        Table& second = tables.add({0, 10, 20});  // the second channel's table is the bad one
        if (bad.spoil) bad.spoil(second);
        else tables.ptr[1] = nullptr;
        ozlSetErrStatus(OZL_StsOk);
        ozlComputeHisto(im, tables.get());
        ASSERT_EQ(errors.count(), 1u) << bad.message;
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlComputeHisto", bad.message, "ozlhist", bad.line}));
        EXPECT_EQ(tables.all[0]->value[0], kUntouched);
        errors.clear();
    }
    ozlComputeHisto(im, nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlComputeHisto", "lut==0", "ozlhist", 214}));
    errors.clear();
    ozlComputeHisto(nullptr, nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsHeaderIsNull, "ozlComputeHisto", "Incorrect Image", "ozlhist", 212}));
}

// Status cleared by the report callback: the call goes on past a report.
OzlStatus OZL_CALL clearing(OzlStatus status, const char*, const char*, const char*, int) {
    ozlSetErrStatus(OZL_StsOk);
    return status;
}

TEST(ComputeHisto, SignedDepthsAreRefusedUnlessTheReportLetsTheCallGoOn) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    TestImage im(OZL_DEPTH_8S, 9, 3);
    im.fill(-1);
    Tables tables;
    tables.add({0, 255, 256, 65536});
    {
        ErrorCapture errors;
        ozlComputeHisto(im, nullptr);  // both refusals reported, then it stops
        ASSERT_EQ(errors.count(), 2u);
        EXPECT_EQ(errors.reports()[0].context, "lut==0");
        EXPECT_EQ(errors.reports()[1], (ErrorReport{OZL_StsBadArg, "ozlComputeHisto",
                                                    "(srcImage->depth & OZL_DEPTH_SIGN) || (srcImage->depth == OZL_DEPTH_32F)",
                                                    "ozlhist", 217}));
        ozlComputeHisto(im, tables.get());
        EXPECT_EQ(errors.count(), 3u);
        EXPECT_EQ(tables.all[0]->value[0], kUntouched);
    }
    const int mode = ozlGetErrMode();
    ozlSetErrMode(OZL_ErrModeParent);
    const OzlErrorCallBack previous = ozlRedirectError(clearing);
    ozlComputeHisto(im, tables.get());  // -1 is counted as its bits, 255
    ozlRedirectError(previous);
    ozlSetErrMode(mode);
    EXPECT_EQ(tables.all[0]->value, (std::vector<int32_t>{0, 27, 0, kUntouched}));

    // A negative status left by an earlier call stops the count silently, and
    // makes the map operations back out after the image with a trace report.
    ErrorCapture errors;
    TestImage gray(OZL_DEPTH_8U, 9, 3), dst(OZL_DEPTH_8U, 9, 3);
    gray.fill(1);
    dst.fill(9);
    Tables fresh;
    fresh.add({0, 128, 256});
    ozlSetErrStatus(OZL_StsBadArg);
    ozlComputeHisto(gray, fresh.get());
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(fresh.all[0]->value[0], kUntouched);
    fresh.all[0]->value = {27, 0, kUntouched};  // all at level 127: levels below map to 0
    ozlHistoEqualize(gray, dst, fresh.get());
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBackTrace, "ozlHistoEqualize", "Row walker failed", "ozlhist", 467}));
    EXPECT_EQ(dst.at(8, 2), 0);
    EXPECT_EQ(fresh.all[0]->value, (std::vector<int32_t>{27, 0, kUntouched}));  // not refilled
}

// ---------------------------------------------------------------------------
// Contrast stretch

// The stretch map's value at level v, from the table directly.
uint32_t stretched(const Table& t, uint32_t v, uint32_t levelMask) {
    const int last = static_cast<int>(t.key.size()) - 1;
    if (static_cast<int>(v) < t.key[0] || static_cast<int>(v) >= t.key[last]) return v;
    int bin = 0;
    for (int i = 0; i < last; ++i)
        if (t.key[i] <= static_cast<int>(v)) bin = i;
    const uint32_t base = static_cast<uint32_t>(t.value[bin]);
    if (t.lut.interpolateType == 0) return base & levelMask;
    return ((v - t.key[bin]) * static_cast<uint32_t>(t.factor[bin]) + base) & levelMask;
}

TEST(ContrastStretch, MapsEveryChannelByItsOwnTable) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    std::mt19937 rng(21);
    for (const Layout& l : kLayouts) {
        if (l.depth == OZL_DEPTH_1U) continue;
        for (int interpolate : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "depth " << l.depth << " nCh " << l.nCh << " coi "
                                            << l.coi << " linear " << interpolate);
            const int size = l.depth == OZL_DEPTH_8U ? 256 : 65536;
            TestImage src(l.depth, l.width, l.height, l.nCh, l.order, l.alpha);
            TestImage dst(l.depth, l.width, l.height, l.nCh, l.order, l.alpha);
            src.fillRandom(rng());
            dst.fillRandom(rng());
            if (l.coi >= 0) {
                src.setRoi(l.coi, 2, 0, l.width - 2, l.height);
                dst.setRoi(l.coi, 0, 1, l.width, l.height - 1);
            }
            const TestImage before = dst.clone();
            Tables tables;
            for (int c = 0; c < l.nCh; ++c) {
                // Keys over the middle of the range only; slopes that wrap.
                std::vector<int32_t> keys = randomKeys(rng, size / 2);
                for (auto& k : keys) k += size / 4;
                std::vector<int32_t> values(keys.size()), factors(keys.size());
                for (auto& v : values) v = static_cast<int32_t>(rng() % (2 * size)) - size / 2;
                for (auto& f : factors) f = static_cast<int32_t>(rng() % 41) - 20;
                tables.add(keys, values, factors, interpolate);
            }
            ozlContrastStretch(src, dst, tables.get());
            ASSERT_TRUE(errors.empty()) << errors.last();
            const auto channels = ozl::test::processedChannels(src);
            const auto dstChannels = ozl::test::processedChannels(dst);
            const int first = l.coi > 0 ? l.coi - 1 : 0;
            const ozl::test::Rect rs = ozl::test::regionOf(src), rd = ozl::test::regionOf(dst);
            for (int y = 0; y < l.height; ++y)
                for (int x = 0; x < l.width; ++x)
                    for (int c = 0; c < l.nCh; ++c) {
                        const int dx = x - rd.x, dy = y - rd.y;
                        const auto k = std::find(dstChannels.begin(), dstChannels.end(), c) -
                                       dstChannels.begin();
                        const bool inside = dx >= 0 && dy >= 0 && dx < std::min(rs.width, rd.width) &&
                                            dy < std::min(rs.height, rd.height) &&
                                            k < static_cast<long>(dstChannels.size());
                        double expected = before.at(x, y, c);
                        if (inside)
                            expected = stretched(*tables.all[first + k],
                                                 static_cast<uint32_t>(src.at(rs.x + dx, rs.y + dy, channels[k])),
                                                 static_cast<uint32_t>(size - 1));
                        ASSERT_EQ(dst.at(x, y, c), expected) << x << "," << y << "," << c;
                    }
        }
    }
}

TEST(ContrastStretch, HandWorkedTablesEmptyBinsAndWrappingSlopes) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    TestImage src(OZL_DEPTH_8U, 256, 1), dst(OZL_DEPTH_8U, 256, 1);
    for (int x = 0; x < 256; ++x) src.put(x, 0, 0, x);
    Tables tables;
    // Bins [100, 110), empty [110, 110), [110, 120); 300 stores as 44, the
    // slope 100 wraps from the second level on.
    tables.add({100, 110, 110, 120}, {7, 1000, 300, 0}, {0, 0, 100, 0}, 1);
    ozlContrastStretch(src, dst, tables.get());
    for (int v = 0; v < 256; ++v) {
        const int expected = v < 100 || v >= 120 ? v : v < 110 ? 7 : (300 + (v - 110) * 100) & 255;
        ASSERT_EQ(dst.at(v, 0), expected) << v;
    }
    EXPECT_TRUE(errors.empty());
}

TEST(ContrastStretch, MasksAndTiles) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    TiledImage ts(OZL_DEPTH_8U, 37, 21, 3, OZL_DATA_ORDER_PIXEL, 8, 16);
    TiledImage td(OZL_DEPTH_8U, 37, 21, 3, OZL_DATA_ORDER_PIXEL, 24, 8);
    ts.pixels().fillRandom(1);
    td.pixels().fillRandom(2);
    TestImage plainD = td.pixels().clone();
    Tables tables;
    for (int c = 0; c < 3; ++c) tables.add({c * 10, 100, 200 + c}, {50, 60 + c, 0}, {1, -3, 0}, 1);
    ozlContrastStretch(ts, td, tables.get());
    ozlContrastStretch(ts.pixels(), plainD, tables.get());
    EXPECT_EQ(td.pixels().bytes(), plainD.bytes());

    TestImage mask(OZL_DEPTH_1U, 37, 21);
    mask.fillRandom(5);
    TestImage masked(OZL_DEPTH_8U, 37, 21, 3);
    masked.fillRandom(7);
    const TestImage before = masked.clone();
    masked.setMask(&mask);
    ozlContrastStretch(ts.pixels(), masked, tables.get());
    for (int y = 0; y < 21; ++y)
        for (int x = 0; x < 37; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(masked.at(x, y, c), mask.at(x, y) ? plainD.at(x, y, c) : before.at(x, y, c));
    EXPECT_TRUE(errors.empty());
}

// Refusals of the two map operations, in their order: nothing written.
TEST(LookUpOperations, RefuseMismatchedImagesInOrder) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    using Fn = void(OZL_CALL*)(OzlImage*, OzlImage*, OzlLUT**);
    struct Op {
        Fn fn;
        const char* name;
        int base;
    };
    const Op ops[] = {{ozlContrastStretch, "ozlContrastStretch", 300},
                      {ozlHistoEqualize, "ozlHistoEqualize", 400}};
    struct Bad {
        unsigned srcDepth, dstDepth;
        int srcCh, dstCh, srcOrder, srcOrigin;
        const char* message;
        int line;
    };
    const unsigned U8 = OZL_DEPTH_8U;
    const Bad cases[] = {
        {U8, OZL_DEPTH_16U, 3, 3, 0, 0, "srcImage->depth != dstImage->depth", 6},
        {OZL_DEPTH_16S, OZL_DEPTH_16S, 3, 3, 0, 0, "srcImage->depth != OZL_DEPTH_8U && srcImage->depth != OZL_DEPTH_16U", 7},
        {OZL_DEPTH_32F, OZL_DEPTH_32F, 3, 3, 0, 0, "srcImage->depth != OZL_DEPTH_8U && srcImage->depth != OZL_DEPTH_16U", 7},
        {U8, U8, 3, 3, 1, 0, "srcImage->dataOrder != dstImage->dataOrder", 13},
        {U8, U8, 3, 3, 0, 1, "srcImage->origin != dstImage->origin", 14},
        {U8, U8, 3, 2, 0, 0, "Number of processed channels of srcImage != Number of processed channels of dstImage", 15},
    };
    ErrorCapture errors;
    for (const Op& op : ops) {
        for (const Bad& bad : cases) {
            TestImage src(bad.srcDepth, 6, 2, bad.srcCh, bad.srcOrder);
            TestImage dst(bad.dstDepth, 6, 2, bad.dstCh);
            src->origin = bad.srcOrigin;
            Tables tables;
            for (int c = 0; c < 3; ++c) tables.add({0, 256}, {5, 0});
            const auto before = dst.bytes();
            op.fn(src, dst, tables.get());
            ozl::test::expectRefused(errors, dst, before, {OZL_StsBadArg, op.name, bad.message, "ozlhist", op.base + bad.line});
        }
        // One channel each: the data orders may differ.
        ozlSetErrStatus(OZL_StsOk);
        TestImage src(U8, 6, 2, 1, OZL_DATA_ORDER_PLANE), dst(U8, 6, 2);
        src.fill(3);
        Tables tables;
        tables.add({0, 4, 256}, {12, 0, 0});
        op.fn(src, dst, tables.get());
        EXPECT_TRUE(errors.empty()) << errors.last();
        EXPECT_EQ(dst.at(5, 1), op.fn == ozlContrastStretch ? 12 : 255);
        // Header of dst.
        op.fn(src, nullptr, tables.get());
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsHeaderIsNull, op.name, "Incorrect Image", "ozlhist", op.base + 2}));
        errors.clear();
        // Table checks after the image checks.
        tables.ptr[0] = nullptr;
        op.fn(src, dst, tables.get());
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, op.name, "lut[k]==0", "ozlhist", 122}));
        errors.clear();
    }
    // A linear stretch needs its slopes.
    TestImage src(U8, 6, 2), dst(U8, 6, 2);
    Tables tables;
    tables.add({0, 256}, {5, 0}, {}, 1);
    const auto before = dst.bytes();
    ozlContrastStretch(src, dst, tables.get());
    ozl::test::expectRefused(errors, dst, before, {OZL_StsBadArg, "ozlContrastStretch", "lut[k]->factor==0", "ozlhist", 129});
}

// ---------------------------------------------------------------------------
// Equalisation

TEST(HistoEqualize, EightBitMapFromTheCountsAndTablesOfTheResult) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    TestImage src(OZL_DEPTH_8U, 53, 9), dst(OZL_DEPTH_8U, 53, 9);
    src.fillRandom(4, 20, 90);
    std::vector<int32_t> keys(257);
    for (int j = 0; j <= 256; ++j) keys[j] = j;
    Tables tables;
    tables.add(keys);
    ozlComputeHisto(src, tables.get());
    const std::vector<int32_t> counts = tables.all[0]->value;
    ozlHistoEqualize(src, dst, tables.get());
    int64_t running = 0;
    std::vector<int> map(256);
    for (int j = 0; j < 256; ++j) map[j] = static_cast<int>((running += counts[j]) * 255 / (53 * 9));
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 53; ++x) ASSERT_EQ(dst.at(x, y), map[static_cast<int>(src.at(x, y))]);
    // The refilled tables are the result's histogram.
    Tables fresh;
    fresh.add(keys);
    ozlComputeHisto(dst, fresh.get());
    EXPECT_EQ(tables.all[0]->value, fresh.all[0]->value);
    EXPECT_TRUE(errors.empty());
}

TEST(HistoEqualize, SixteenBitSpreadOfBinnedCounts) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    TestImage src(OZL_DEPTH_16U, 40, 3, 3), dst(OZL_DEPTH_16U, 40, 3, 3);
    src.fillRandom(8);
    src.setRoi(3, 0, 0, 40, 3);
    dst.setRoi(2, 0, 0, 40, 3);  // dst's channel of interest picks the refilled table
    Tables tables;
    tables.add({0, 1});
    tables.add({5, 5, 6, 100, 70000 - 4464});  // an empty and a width-1 bin
    tables.add({1000, 1003, 1003, 65536}, {10, 7, 5, 99});
    ozlHistoEqualize(src, dst, tables.get());
    ASSERT_TRUE(errors.empty()) << errors.last();
    // Spread of {10, 7, 5} over [1000, 1003), nothing, [1003, 65536).
    std::vector<int64_t> level(65536);
    level[1000] = level[1001] = 3;
    level[1002] = 4;
    for (int j = 1003; j < 65536; ++j) level[j] = 5 / (65536 - 1003);
    level[65535] += 5 % (65536 - 1003);
    std::vector<int> map(65536);
    int64_t running = 0;
    for (int j = 0; j < 65536; ++j) map[j] = static_cast<int>((running += level[j]) * (65535.0 / 15));
    for (int x = 0; x < 40; ++x)
        for (int y = 0; y < 3; ++y) {
            ASSERT_EQ(dst.at(x, y, 1), map[static_cast<int>(src.at(x, y, 2))]);
            ASSERT_EQ(dst.at(x, y, 0), 0);  // outside the channel of interest
        }
    // Table 1 (dst's) gets the moved counts binned by its keys: 3, 3, 4 land
    // at levels map[1000..1002] = 13107, 26214, 43690, and 5 at map[65535].
    EXPECT_EQ(tables.all[1]->value, (std::vector<int32_t>{0, 0, 0, 15, kUntouched}));
    std::vector<int32_t> keys1 = {0, 13108, 26214, 26215, 65536};
    tables.all[1]->key = keys1;
    tables.all[1]->lut.key = tables.all[1]->key.data();
    ozlHistoEqualize(src, dst, tables.get());
    EXPECT_EQ(tables.all[1]->value, (std::vector<int32_t>{3, 0, 3, 9, kUntouched}));
    EXPECT_EQ(tables.all[2]->value, (std::vector<int32_t>{10, 7, 5, 99}));
    EXPECT_TRUE(errors.empty());
}

TEST(HistoEqualize, SingleLevelImagesAndZeroCounts) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    TestImage src(OZL_DEPTH_8U, 13, 4), dst(OZL_DEPTH_8U, 13, 4);
    src.fill(77);
    dst.fill(5);
    Tables tables;
    tables.add({0, 77, 78, 256});
    ozlComputeHisto(src, tables.get());
    EXPECT_EQ(tables.all[0]->value, (std::vector<int32_t>{0, 52, 0, kUntouched}));
    ozlHistoEqualize(src, dst, tables.get());
    for (int x = 0; x < 13; ++x) ASSERT_EQ(dst.at(x, 3), 255);
    // Every count moved to level 255, in the last bin.
    EXPECT_EQ(tables.all[0]->value, (std::vector<int32_t>{0, 0, 52, kUntouched}));

    // Zero counts: refused, image and tables untouched.
    Tables zero;
    zero.add({0, 256}, {0, 9});
    zero.add({0, 256}, {4, 9});
    TestImage src3(OZL_DEPTH_8U, 5, 2, 2), dst3(OZL_DEPTH_8U, 5, 2, 2);
    dst3.fillRandom(3);
    const auto before = dst3.bytes();
    ozlHistoEqualize(src3, dst3, zero.get());
    ozl::test::expectRefused(errors, dst3, before, {OZL_StsInternal, "ozlHistoEqualize", "All values in histogram are zeroes", "ozlhist", 452});
    EXPECT_EQ(zero.all[1]->value, (std::vector<int32_t>{4, 9}));
}

TEST(HistoEqualize, TileFailureBacksOutWithATrace) {
    ozlSetErrStatus(OZL_StsOk);  // a negative status left over stops these operations
    ErrorCapture errors;
    TiledImage src(OZL_DEPTH_8U, 24, 8, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    TestImage dst(OZL_DEPTH_8U, 24, 8);
    src.failFetch(2);
    Tables tables;
    tables.add({0, 256}, {5, 0});
    ozlHistoEqualize(src, dst, tables.get());
    ASSERT_EQ(errors.count(), 2u);
    EXPECT_EQ(errors.reports()[0], (ErrorReport{OZL_StsError, "ozlHistoEqualize", "Error get tile to read", "ozlhist", 466}));
    EXPECT_EQ(errors.reports()[1].status, OZL_StsBackTrace);
    EXPECT_EQ(tables.all[0]->value[0], 5);
}

}  // namespace
