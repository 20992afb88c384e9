// ozlComputeHisto, ozlContrastStretch, ozlHistoEqualize against plain counts
// and maps of the region (layouts, empty and width-1 bins, channels of
// interest choosing tables, masks, tiles), and every refusal with its line.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "ozl.h"
#include "stats/region_walk.hpp"

namespace {

using namespace ozl::test;
using Keys = std::vector<int32_t>;

constexpr int32_t kUntouched = -77;

// Look-up tables with their own arrays; entry i serves channel i.
struct Tables {
    struct Table {
        Keys key, value, factor;
        OzlLUT lut;
    };
    std::vector<std::unique_ptr<Table>> all;
    std::vector<OzlLUT*> ptr;
    Tables() = default;
    explicit Tables(Keys keys, Keys values = {}) { add(std::move(keys), std::move(values)); }
    Table& add(Keys keys, Keys values = {}, Keys factors = {}, int interpolate = 0) {
        auto t = std::make_unique<Table>(Table{std::move(keys), std::move(values), std::move(factors), {}});
        if (t->value.empty()) t->value.assign(t->key.size(), kUntouched);
        t->lut = {static_cast<int32_t>(t->key.size()), t->key.data(), t->value.data(),
                  t->factor.empty() ? nullptr : t->factor.data(), interpolate};
        all.push_back(std::move(t));
        ptr.push_back(&all.back()->lut);
        return *all.back();
    }
    Keys& values(int i) { return all[i]->value; }
    OzlLUT** get() { return ptr.data(); }
};

Keys everyLevel() { Keys k(257); std::iota(k.begin(), k.end(), 0); return k; }

// Sorted keys in [0, size], with repeated keys (empty bins) and neighbours
// (width-1 bins) likely.
Keys randomKeys(std::mt19937& rng, int size) {
    Keys keys(2 + rng() % 10);
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
    const Rect r = regionOf(im);
    for (int c : processedChannels(im)) {
        out.emplace_back(size);
        forSharedRegion(im, {}, {mask}, [&](int dx, int dy) { ++out.back()[static_cast<int>(im.at(r.x + dx, r.y + dy, c))]; });
    }
    return out;
}

void expectBinned(const Tables::Table& t, const std::vector<uint32_t>& counts) {
    for (size_t i = 0; i + 1 < t.key.size(); ++i) {
        uint32_t sum = 0;
        for (int j = t.key[i]; j < t.key[i + 1]; ++j) sum += counts[j];
        EXPECT_EQ(t.value[i], static_cast<int32_t>(sum)) << "bin " << i;
    }
    EXPECT_EQ(t.value.back(), kUntouched);
    EXPECT_EQ(t.lut.interpolateType, 0);
}

// dst after a map operation: in the region src, dst and the mask share, each
// processed channel k holds map(k, source value); everything else as `before`.
void expectMapped(const TestImage& src, const TestImage& dst, const TestImage& before,
                  const std::function<uint32_t(size_t, uint32_t)>& map, const OzlImage* mask = nullptr) {
    const auto chS = processedChannels(src), chD = processedChannels(dst);
    const Rect rs = regionOf(src), rd = regionOf(dst);
    TestImage expected = before.clone();
    forSharedRegion(dst, {src}, {mask}, [&](int dx, int dy) {
        for (size_t k = 0; k < chD.size(); ++k)
            expected.put(rd.x + dx, rd.y + dy, chD[k], map(k, static_cast<uint32_t>(src.at(rs.x + dx, rs.y + dy, chS[k]))));
    });
    ASSERT_EQ(dst.bytes(), expected.bytes());
}

struct Layout { unsigned depth; int width, height, nCh, order; bool alpha; int coi; /* -1: no ROI */ };
const Layout kLayouts[] = {
    {OZL_DEPTH_8U, 67, 5, 1, OZL_DATA_ORDER_PIXEL, false, -1},
    {OZL_DEPTH_8U, 33, 4, 3, OZL_DATA_ORDER_PIXEL, false, 0},
    {OZL_DEPTH_8U, 29, 3, 3, OZL_DATA_ORDER_PLANE, false, 2},
    {OZL_DEPTH_8U, 17, 6, 4, OZL_DATA_ORDER_PIXEL, true, 0},
    {OZL_DEPTH_16U, 19, 4, 3, OZL_DATA_ORDER_PLANE, false, -1},
    {OZL_DEPTH_16U, 23, 2, 2, OZL_DATA_ORDER_PIXEL, false, 2},
    {OZL_DEPTH_1U, 45, 7, 1, OZL_DATA_ORDER_PIXEL, false, 0},
};
int levels(unsigned depth) { return depth == OZL_DEPTH_1U ? 2 : depth == OZL_DEPTH_8U ? 256 : 65536; }

using Histo = StatsTest;

// The stretch map's value at level v, from the table directly.
uint32_t stretched(const Tables::Table& t, uint32_t v, uint32_t levelMask) {
    const int last = static_cast<int>(t.key.size()) - 1;
    if (static_cast<int>(v) < t.key[0] || static_cast<int>(v) >= t.key[last]) return v;
    int bin = 0;
    for (int i = 0; i < last; ++i)
        if (t.key[i] <= static_cast<int>(v)) bin = i;
    const uint32_t base = static_cast<uint32_t>(t.value[bin]);
    if (t.lut.interpolateType == 0) return base & levelMask;
    return ((v - t.key[bin]) * static_cast<uint32_t>(t.factor[bin]) + base) & levelMask;
}

TEST_F(Histo, CountsAndStretchesEveryLayout) {
    std::mt19937 rng(3);
    for (const Layout& l : kLayouts)
        for (int round = 0; round < 4; ++round) {
            SCOPED_TRACE(testing::Message() << "depth " << l.depth << " nCh " << l.nCh << " coi " << l.coi << " round " << round);
            const int size = levels(l.depth);
            TestImage im(l.depth, l.width, l.height, l.nCh, l.order, l.alpha), dst(l.depth, l.width, l.height, l.nCh, l.order, l.alpha);
            // A narrow range puts many pixels into few 16-bit levels.
            im.fillRandom(rng(), 0, l.depth == OZL_DEPTH_16U && round % 2 ? 300 : 65535);
            dst.fillRandom(rng());
            if (l.coi >= 0) im.setRoi(l.coi, 1 + round, round % 2, l.width - 3, l.height), dst.setRoi(l.coi, 0, 1, l.width, l.height - 1);
            Tables tables, maps;
            for (int c = 0; c < l.nCh; ++c) {
                tables.add(round == 0 ? Keys{0, size} : randomKeys(rng, size));
                // Keys over the middle of the range only; slopes that wrap.
                Keys keys = randomKeys(rng, size / 2), values(keys.size()), factors(keys.size());
                for (auto& k : keys) k += size / 4;
                for (auto& v : values) v = static_cast<int32_t>(rng() % (2 * size)) - size / 2;
                for (auto& f : factors) f = static_cast<int32_t>(rng() % 41) - 20;
                maps.add(keys, values, factors, round >= 2);
            }
            ozlComputeHisto(im, tables.get());
            const auto counts = levelCounts(im, nullptr, size);
            const size_t first = l.coi > 0 ? l.coi - 1 : 0;
            for (size_t c = 0; c < tables.all.size(); ++c)  // the other channels' tables stay
                if (c < first || c >= first + counts.size()) EXPECT_EQ(tables.values(c)[0], kUntouched);
                else expectBinned(*tables.all[c], counts[c - first]);
            if (l.depth == OZL_DEPTH_1U) continue;
            const TestImage before = dst.clone();
            ozlContrastStretch(im, dst, maps.get());
            expectMapped(im, dst, before, [&](size_t k, uint32_t v) { return stretched(*maps.all[first + k], v, size - 1); });
        }
    // By hand: bins [100, 110), empty [110, 110), [110, 120); 300 stores as
    // 44, the slope 100 wraps from the second level on.
    TestImage src(OZL_DEPTH_8U, 256, 1), dst(OZL_DEPTH_8U, 256, 1);
    for (int x = 0; x < 256; ++x) src.put(x, 0, 0, x);
    Tables tables;
    tables.add({100, 110, 110, 120}, {7, 1000, 300, 0}, {0, 0, 100, 0}, 1);
    ozlContrastStretch(src, dst, tables.get());
    for (int v = 0; v < 256; ++v)
        ASSERT_EQ(dst.at(v, 0), v < 100 || v >= 120 ? v : v < 110 ? 7 : (300 + (v - 110) * 100) & 255);
}

TEST_F(Histo, RefusesBadTablesInOrderLeavingThemAlone) {
    using Spoil = void (*)(Tables::Table&);
    const std::tuple<const char*, int, Spoil> cases[] = {
        {"lut[k]==0", 122, nullptr},
        {"lut[k]->key==0", 123, [](Tables::Table& t) { t.lut.key = nullptr; }},
        {"lut[k]->value==0", 124, [](Tables::Table& t) { t.lut.value = nullptr, t.lut.num = 1; }},
        {"lut[k]->num < 2", 125, [](Tables::Table& t) { t.lut.num = 1, t.key[0] = -1; }},
        {"lut[k]->key[0] < 0", 126, [](Tables::Table& t) { t.key[0] = -1, t.key[2] = 999; }},
        {"lut[k]->key[lut[k]->num-1] > histSize", 127, [](Tables::Table& t) { t.key[2] = 257; }},
        {"lut[k]->key[i] > lut[k]->key[i+1]", 128, [](Tables::Table& t) { t.key[1] = 200, t.key[2] = 100; }},
    };
    TestImage im(OZL_DEPTH_8U, 8, 2, 2);
    for (const auto& [message, line, spoil] : cases) {
        Tables tables({0, 10, 20});
        Tables::Table& second = tables.add({0, 10, 20});  // the second channel's table is bad
        if (spoil) spoil(second);
        else tables.ptr[1] = nullptr;
        ozlSetErrStatus(OZL_StsOk);
        ozlComputeHisto(im, tables.get());
        ASSERT_EQ(errors.count(), 1u) << message;
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlComputeHisto", message, "ozlhist", line}));
        EXPECT_EQ(tables.values(0)[0], kUntouched);
        errors.clear();
    }
    ozlComputeHisto(nullptr, nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsHeaderIsNull, "ozlComputeHisto", "Incorrect Image", "ozlhist", 212}));
    errors.clear();
}

TEST_F(Histo, RefusalsThatStopOnlyOnANegativeStatus) {
    TestImage im(OZL_DEPTH_8S, 9, 3);
    im.fill(-1);
    Tables tables({0, 255, 256, 65536});
    ozlComputeHisto(im, nullptr);  // both refusals reported, then it stops
    ASSERT_EQ(errors.count(), 2u);
    EXPECT_EQ(errors.reports()[0], (ErrorReport{OZL_StsBadArg, "ozlComputeHisto", "lut==0", "ozlhist", 214}));
    EXPECT_EQ(errors.reports()[1], (ErrorReport{OZL_StsBadArg, "ozlComputeHisto",
                                                "(srcImage->depth & OZL_DEPTH_SIGN) || (srcImage->depth == OZL_DEPTH_32F)", "ozlhist", 217}));
    EXPECT_EQ(tables.values(0)[0], kUntouched);
    {
        ClearingHandler goOn;
        ozlComputeHisto(im, tables.get());  // goes on: -1 is counted as its bits, 255
    }
    EXPECT_EQ(tables.values(0), (Keys{0, 27, 0, kUntouched}));

    // A negative status left by an earlier call stops the count silently, and
    // makes the map operations back out after the image with a trace report.
    errors.clear();
    TestImage gray(OZL_DEPTH_8U, 9, 3), dst(OZL_DEPTH_8U, 9, 3);
    gray.fill(1);
    dst.fill(9);
    Tables fresh({0, 128, 256});
    ozlSetErrStatus(OZL_StsBadArg);
    ozlComputeHisto(gray, fresh.get());
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(fresh.values(0)[0], kUntouched);
    fresh.values(0) = {27, 0, kUntouched};  // all at level 127: levels below map to 0
    ozlHistoEqualize(gray, dst, fresh.get());
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBackTrace, "ozlHistoEqualize", "Row walker failed", "ozlhist", 467}));
    EXPECT_EQ(dst.at(8, 2), 0);
    EXPECT_EQ(fresh.values(0), (Keys{27, 0, kUntouched}));  // not refilled
    errors.clear();
}

// Counts and stretches of tiled images and through a mask narrower than the
// region; a large one-channel region counted by pairs of neighbouring pixels
// (one long run of packed rows; rows of odd width).
TEST_F(Histo, MasksTilesAndLargeRegionsAgreeWithThePlainForms) {
    for (int nCh : {1, 3}) {
        TiledImage ts(OZL_DEPTH_8U, 45, 30, nCh, OZL_DATA_ORDER_PIXEL, 16, 8), td(OZL_DEPTH_8U, 45, 30, nCh, OZL_DATA_ORDER_PIXEL, 24, 8);
        TestImage& plain = ts.pixels();
        plain.fillRandom(nCh);
        td.pixels().fillRandom(2);
        ts.setRoi(0, 3, 5, 40, 24), plain.setRoi(0, 3, 5, 40, 24);
        td.setRoi(0, 0, 1, 40, 24), td.pixels().setRoi(0, 0, 1, 40, 24);
        Tables a, b, maps;
        for (int c = 0; c < nCh; ++c) {
            a.add({0, 10, 10, 11, 128, 256}), b.add({0, 10, 10, 11, 128, 256});
            maps.add({c * 10, 100, 200 + c}, {50, 60 + c, 0}, {1, -3, 0}, 1);
        }
        ozlComputeHisto(ts, a.get());
        for (int c = 0; c < nCh; ++c) expectBinned(*a.all[c], levelCounts(plain, nullptr, 256)[c]);
        const auto map = [&](size_t k, uint32_t v) { return stretched(*maps.all[k], v, 255); };
        TestImage before = td.pixels().clone(), masked = before.clone();
        ozlContrastStretch(ts, td, maps.get());
        expectMapped(plain, td.pixels(), before, map);
        TestImage mask(OZL_DEPTH_1U, 50, 30);
        mask.fillRandom(9);
        mask.setRoi(0, 4, 1, 38, 30);
        plain.setMask(&mask);
        ozlComputeHisto(plain, b.get());
        for (int c = 0; c < nCh; ++c) expectBinned(*b.all[c], levelCounts(plain, mask, 256)[c]);
        masked.setMask(&mask);
        ozlContrastStretch(plain, masked, maps.get());
        plain.setMask(nullptr), masked.setMask(nullptr);
        expectMapped(plain, masked, before, map, mask);
    }
    TestImage large(OZL_DEPTH_8U, 512, 300);
    large.fillRandom(31);
    for (int x = 0; x < 512; ++x) large.put(x, 7, 0, 200);  // 256 equal pairs: a counter wraps
    for (bool roi : {false, true}) {
        if (roi) large.setRoi(0, 3, 1, 501, 299);
        Tables tables(everyLevel());
        ozlComputeHisto(large, tables.get());
        expectBinned(*tables.all[0], levelCounts(large, nullptr, 256)[0]);
    }
}

// Refusals of the two map operations, in their order: nothing written.
TEST_F(Histo, MapOperationsRefuseMismatchedImagesInOrder) {
    using Fn = void(OZL_CALL*)(OzlImage*, OzlImage*, OzlLUT**);
    const std::tuple<Fn, const char*, int> ops[] = {{ozlContrastStretch, "ozlContrastStretch", 300}, {ozlHistoEqualize, "ozlHistoEqualize", 400}};
    struct Bad { unsigned srcDepth, dstDepth; int dstCh, srcOrder, srcOrigin; const char* message; int line; };
    const unsigned U8 = OZL_DEPTH_8U;
    const char* depthMessage = "srcImage->depth != OZL_DEPTH_8U && srcImage->depth != OZL_DEPTH_16U";
    const Bad cases[] = {
        {U8, OZL_DEPTH_16U, 3, 0, 0, "srcImage->depth != dstImage->depth", 6},
        {OZL_DEPTH_16S, OZL_DEPTH_16S, 3, 0, 0, depthMessage, 7},
        {OZL_DEPTH_32F, OZL_DEPTH_32F, 3, 0, 0, depthMessage, 7},
        {U8, U8, 3, 1, 0, "srcImage->dataOrder != dstImage->dataOrder", 13},
        {U8, U8, 3, 0, 1, "srcImage->origin != dstImage->origin", 14},
        {U8, U8, 2, 0, 0, "Number of processed channels of srcImage != Number of processed channels of dstImage", 15},
    };
    for (const auto& [fn, name, base] : ops) {
        for (const Bad& bad : cases) {
            TestImage src(bad.srcDepth, 6, 2, 3, bad.srcOrder), dst(bad.dstDepth, 6, 2, bad.dstCh);
            src->origin = bad.srcOrigin;
            Tables tables;
            for (int c = 0; c < 3; ++c) tables.add({0, 256}, {5, 0});
            const auto before = dst.bytes();
            fn(src, dst, tables.get());
            expectRefused(errors, dst, before, {OZL_StsBadArg, name, bad.message, "ozlhist", base + bad.line});
        }
        ozlSetErrStatus(OZL_StsOk);
        // One channel each: the data orders may differ.
        TestImage src(U8, 6, 2, 1, OZL_DATA_ORDER_PLANE), dst(U8, 6, 2);
        src.fill(3);
        Tables tables({0, 4, 256}, {12, 0, 0});
        fn(src, dst, tables.get());
        EXPECT_TRUE(errors.empty()) << errors.last();
        EXPECT_EQ(dst.at(5, 1), fn == ozlContrastStretch ? 12 : 255);
        fn(src, nullptr, tables.get());
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsHeaderIsNull, name, "Incorrect Image", "ozlhist", base + 2}));
        tables.ptr[0] = nullptr;  // table checks come after the image checks
        fn(src, dst, tables.get());
        EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, name, "lut[k]==0", "ozlhist", 122}));
        errors.clear();
    }
    TestImage src(U8, 6, 2), dst(U8, 6, 2);  // a linear stretch needs its slopes
    Tables tables;
    tables.add({0, 256}, {5, 0}, {}, 1);
    const auto before = dst.bytes();
    ozlContrastStretch(src, dst, tables.get());
    expectRefused(errors, dst, before, {OZL_StsBadArg, "ozlContrastStretch", "lut[k]->factor==0", "ozlhist", 129});
}

// The 8-bit map by hand; on random data the refilled tables are the
// histogram of the result.
TEST_F(Histo, EqualizeEightBitsThenTablesOfTheResult) {
    TestImage src(OZL_DEPTH_8U, 53, 9), dst(OZL_DEPTH_8U, 53, 9);
    src.fillRandom(4, 20, 90);
    Tables tables(everyLevel()), fresh(everyLevel());
    ozlComputeHisto(src, tables.get());
    ozlHistoEqualize(src, dst, tables.get());
    ozlComputeHisto(dst, fresh.get());
    EXPECT_EQ(tables.values(0), fresh.values(0));

    // One level only: everything maps to 255 and lands in the last bin.
    src.fill(77);
    Tables single({0, 77, 78, 256});
    ozlComputeHisto(src, single.get());
    EXPECT_EQ(single.values(0), (Keys{0, 477, 0, kUntouched}));
    ozlHistoEqualize(src, dst, single.get());
    EXPECT_EQ(dst.at(52, 8), 255);
    EXPECT_EQ(single.values(0), (Keys{0, 0, 477, kUntouched}));
    // Two levels: 53 pixels at 10 map to 53 * 255 / 477 = 28, the others to 255.
    for (int x = 0; x < 53; ++x) src.put(x, 0, 0, 10);
    Tables each(everyLevel());
    ozlComputeHisto(src, each.get());
    ozlHistoEqualize(src, dst, each.get());
    EXPECT_EQ(dst.at(0, 0), 28);
    EXPECT_EQ(dst.at(52, 8), 255);
}

TEST_F(Histo, EqualizeSixteenBitsFromSpreadCounts) {
    TestImage src(OZL_DEPTH_16U, 40, 3, 3), dst(OZL_DEPTH_16U, 40, 3, 3);
    src.fillRandom(8);
    src.setRoi(3, 0, 0, 40, 3);
    dst.setRoi(2, 0, 0, 40, 3);  // dst's channel of interest picks the refilled table
    Tables tables({0, 1});
    tables.add({5, 5, 6, 100, 65536});  // an empty and a width-1 bin
    tables.add({1000, 1003, 1003, 65536}, {10, 7, 5, 99});
    const TestImage before = dst.clone();
    ozlHistoEqualize(src, dst, tables.get());
    // {10, 7, 5} spread: 3, 3, 4 at levels 1000..1002, nothing, 5 at 65535;
    // 15 in all, so the map is 4369 times the running count.
    std::vector<uint32_t> map(65536, 43690);
    std::fill(map.begin(), map.begin() + 1000, 0);
    map[1000] = 13107, map[1001] = 26214, map[65535] = 65535;
    expectMapped(src, dst, before, [&](size_t, uint32_t v) { return map[v]; });
    EXPECT_EQ(tables.values(1), (Keys{0, 0, 0, 15, kUntouched}));
    tables.all[1]->key = {0, 13108, 26214, 26215, 65536};
    tables.ptr[1]->key = tables.all[1]->key.data();
    ozlHistoEqualize(src, dst, tables.get());
    EXPECT_EQ(tables.values(1), (Keys{3, 0, 3, 9, kUntouched}));
    EXPECT_EQ(tables.values(2), (Keys{10, 7, 5, 99}));
}

TEST_F(Histo, EqualizeRefusesZeroCountsAndBacksOutOfTileFailures) {
    Tables zero({0, 256}, {0, 9});
    zero.add({0, 256}, {4, 9});
    TestImage src(OZL_DEPTH_8U, 5, 2, 2), dst(OZL_DEPTH_8U, 5, 2, 2);
    dst.fillRandom(3);
    const auto before = dst.bytes();
    ozlHistoEqualize(src, dst, zero.get());
    expectRefused(errors, dst, before, {OZL_StsInternal, "ozlHistoEqualize", "All values in histogram are zeroes", "ozlhist", 452});
    EXPECT_EQ(zero.values(1), (Keys{4, 9}));

    ozlSetErrStatus(OZL_StsOk);
    TiledImage tiled(OZL_DEPTH_8U, 24, 8, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    TestImage out(OZL_DEPTH_8U, 24, 8);
    tiled.failFetch(2);
    Tables tables({0, 256}, {5, 0});
    ozlHistoEqualize(tiled, out, tables.get());
    ASSERT_EQ(errors.count(), 2u);
    EXPECT_EQ(errors.reports()[0], (ErrorReport{OZL_StsError, "ozlHistoEqualize", "Error get tile to read", "ozlhist", 466}));
    EXPECT_EQ(errors.reports()[1].status, OZL_StsBackTrace);
    EXPECT_EQ(tables.values(0)[0], 5);
    errors.clear();
}

}  // namespace
