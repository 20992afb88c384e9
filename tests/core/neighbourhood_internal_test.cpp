// The neighbourhood driver with a kernel copying one pixel of each window:
// border modes per side, every depth and layout, in place, masks, tiles, failures.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "core/neighbourhood.hpp"
#include "support/neighbourhood_check.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::core::Margins;
using ozl::core::NbKernel;
using ozl::core::NbOptions;
using ozl::core::NbResult;
using ozl::core::NbRow;
using ozl::core::runNeighbourhood;
using ozl::test::borderedValue;
using ozl::test::TestImage;
using ozl::test::TiledImage;

// A kernel copying the pixel dx, dy away from each output pixel, up to
// `band` rows a call. A call that continues the one before must start where
// it stopped: its first source row is the one the call before kept (when the
// window reaches beyond the output row), else it spoils its output; unless
// its columns are independent (then rows are read in place, the ends of each
// band from small bordered copies).
struct Picker {
    int row, dx, around;  // row: dy + top
    size_t bytes;
    NbKernel kernel;
    Picker(const Margins& m, int dx_, int dy, unsigned depth, int band = 1, bool independent = false)
        : row(dy + m.top), dx(dx_), around(m.top + m.bottom), bytes(std::max<size_t>(1, (depth & ~OZL_DEPTH_SIGN) / 8)) {
        kernel.row = [](const NbRow& r, const void* context) {
            const Picker& p = *static_cast<const Picker*>(context);
            const size_t n = static_cast<size_t>(r.width) * r.channels * p.bytes;
            char* kept = static_cast<char*>(r.scratch);
            const bool lost = !p.kernel.independentColumns && !r.firstRow && p.around > 0 && std::memcmp(kept, r.src[0], n) != 0;
            for (int i = 0; i < r.rows; ++i) {
                char* out = static_cast<char*>(r.dst) + i * r.dstStride;
                std::memcpy(out, static_cast<const char*>(r.src[p.row + i]) + static_cast<ptrdiff_t>(p.dx) * r.channels * static_cast<ptrdiff_t>(p.bytes), n);
                for (size_t b = 0; b < n && lost; ++b) out[b] ^= 1;
            }
            if (p.around > 0) std::memcpy(kept, r.src[r.rows], n);
        };
        kernel.context = this;
        kernel.margins = m;
        kernel.scratchPerValue = bytes;
        kernel.bandRows = band;
        kernel.independentColumns = independent;
    }
};

// Rounds alternate between one row a call and bands of three, two by two.
int bandOf(int round) { return round / 4 % 2 ? 3 : 1; }

// Expects the source's value dx, dy away from each processed pixel.
void expectPicked(const OzlImage* srcModes, const OzlImage* srcPixels, const OzlImage* dst, const TestImage& before,
                  int width, int height, int dx, int dy, const OzlImage* mask = nullptr) {
    const int sx = srcModes->roi ? srcModes->roi->xOffset : 0, sy = srcModes->roi ? srcModes->roi->yOffset : 0;
    ozl::test::expectFiltered(before, dst, width, height, [&](int x, int y, int c) {
        return borderedValue(srcModes, sx + x + dx, sy + y + dy, ozl::test::sourceChannel(srcModes, dst, c), srcPixels, false);
    }, mask);
}

void setModes(OzlImage* im, std::mt19937& rng) {
    for (int side = 0; side < 4; ++side)
        ozlSetBorderMode(im, static_cast<int>(rng() % 4), 1 << side, static_cast<int>(rng() % 300) - 50);
}

const unsigned kDepths[] = {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U, OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};
Margins randomMargins(std::mt19937& rng, int base, int spread) {
    const auto r = [&] { return base + static_cast<int>(rng() % spread); };
    return Margins{r(), r(), r(), r()};
}

TEST(Neighbourhood, BordersOnEverySideForEveryLayout) {
    std::mt19937 rng(11);
    for (int round = 0; round < 400; ++round) {
        const unsigned depth = kDepths[round % 7];
        const int nCh = depth == OZL_DEPTH_1U ? 1 : 1 + static_cast<int>(rng() % 4);
        const int order = depth == OZL_DEPTH_1U ? OZL_DATA_ORDER_PIXEL : static_cast<int>(rng() % 2);
        const bool alpha = nCh == 4 && rng() % 2;
        // Small images, margins up to twice their size: mirror and wrap
        // periods repeat inside one window.
        const int sw = 1 + static_cast<int>(rng() % 9), sh = 1 + static_cast<int>(rng() % 7);
        TestImage s(depth, sw, sh, nCh, order, alpha), d(depth, 1 + rng() % 11, 1 + rng() % 9, nCh, order, alpha);
        s.fillRandom(rng());
        d.fillRandom(rng());
        setModes(s, rng);
        const Margins m = randomMargins(rng, 0, 12);
        const int dx = -m.left + static_cast<int>(rng() % (m.left + m.right + 1));
        const int dy = -m.top + static_cast<int>(rng() % (m.top + m.bottom + 1));
        const int coi = nCh > 1 && rng() % 4 == 0 ? 1 + static_cast<int>(rng() % nCh) : 0;
        const int sx = static_cast<int>(rng() % sw), sy = static_cast<int>(rng() % sh);
        s.setRoi(coi, sx, sy, sw - sx, sh - sy);
        const int dw = d->width, dh = d->height;
        const int dxo = static_cast<int>(rng() % dw), dyo = static_cast<int>(rng() % dh);
        d.setRoi(coi, dxo, dyo, dw - dxo, dh - dyo);
        const int width = std::min(sw - sx, dw - dxo), height = std::min(sh - sy, dh - dyo);
        SCOPED_TRACE(testing::Message() << "round " << round << " depth " << depth << " nCh " << nCh << " order " << order
                                        << " margins " << m.left << "," << m.top << "," << m.right << "," << m.bottom);
        Picker p(m, dx, dy, depth, bandOf(round), round % 2 == 1);
        if (round % 4 == 0) {  // in place: the result comes from the source as it was
            TestImage original = s.clone();
            std::memcpy(original->borderMode, s->borderMode, sizeof s->borderMode);
            std::memcpy(original->borderConst, s->borderConst, sizeof s->borderConst);
            original.setRoi(coi, sx, sy, sw - sx, sh - sy);
            ASSERT_EQ(runNeighbourhood(s, s, nullptr, sw - sx, sh - sy, p.kernel), NbResult::Done);
            expectPicked(original, original, s, original, sw - sx, sh - sy, dx, dy);
            continue;
        }
        const TestImage before = d.clone();
        ASSERT_EQ(runNeighbourhood(s, d, nullptr, width, height, p.kernel), NbResult::Done);
        expectPicked(s, s, d, before, width, height, dx, dy);
    }
}

// Images tall and wide enough for the interior with side strips, walked in
// bands of rows: every band's strips line up with its interior rows.
TEST(Neighbourhood, TallRegionsInBands) {
    std::mt19937 rng(21);
    for (int round = 0; round < 14; ++round) {
        const unsigned depth = kDepths[round % 7];
        const int nCh = depth == OZL_DEPTH_1U ? 1 : 3;
        SCOPED_TRACE(testing::Message() << "round " << round << " depth " << depth);
        TestImage s(depth, 43, 150 + round * 7, nCh), d(depth, 45, 150, nCh);
        s.fillRandom(rng());
        d.fillRandom(rng());
        setModes(s, rng);
        TestImage mask(OZL_DEPTH_1U, 41, 200);
        mask.fillRandom(rng());
        // Margins of 2 to 4 leave strips on both sides of a 41-pixel region.
        const Margins m = randomMargins(rng, 2, 3);
        const int dx = round % 2 ? -m.left : m.right, dy = round % 3 ? m.bottom : -m.top;
        s.setRoi(0, 1, round, 41, 140);
        d.setRoi(0, 3, 2, 41, 140);
        const TestImage before = d.clone();
        Picker p(m, dx, dy, depth, bandOf(round), round % 3 == 0);
        const OzlImage* maskOf = round % 2 ? mask.get() : nullptr;
        ASSERT_EQ(runNeighbourhood(s, d, maskOf, 41, 140, p.kernel), NbResult::Done);
        expectPicked(s, s, d, before, 41, 140, dx, dy, maskOf);
    }
}

TEST(Neighbourhood, TiledSourcesAndDestinations) {
    std::mt19937 rng(9);
    for (int round = 0; round < 24; ++round) {
        const unsigned depth = kDepths[round % 7];
        const int nCh = depth == OZL_DEPTH_1U ? 1 : 3;
        const int order = round % 2 && depth != OZL_DEPTH_1U ? OZL_DATA_ORDER_PLANE : OZL_DATA_ORDER_PIXEL;
        SCOPED_TRACE(testing::Message() << "round " << round << " depth " << depth);
        TiledImage ts(depth, 29, 21, nCh, order, 8, 16), td(depth, 27, 19, nCh, order, 16, 8);
        TestImage s(depth, 29, 21, nCh, order), d(depth, 27, 19, nCh, order);
        ts.pixels().fillRandom(rng());
        td.pixels().fillRandom(rng());
        d.fillRandom(rng());
        std::memcpy(s->imageData, ts.pixels()->imageData, static_cast<size_t>(s->imageSize));
        setModes(ts, rng);
        std::memcpy(s->borderMode, ts->borderMode, sizeof s->borderMode);
        std::memcpy(s->borderConst, ts->borderConst, sizeof s->borderConst);
        ts.setRoi(0, 3, 5, 26, 16);
        s.setRoi(0, 3, 5, 26, 16);
        td.setRoi(0, 1, 2, 25, 17);
        d.setRoi(0, 1, 2, 25, 17);
        const Margins m = randomMargins(rng, 0, 5);
        const int dx = m.right, dy = -m.top;
        Picker p(m, dx, dy, depth, bandOf(round));
        TestImage mask(OZL_DEPTH_1U, 25, 17);
        mask.fillRandom(rng());
        const OzlImage* maskOf = round % 3 == 0 ? mask.get() : nullptr;

        // Tiled source, untiled destination: one copy, or tile by tile.
        for (bool byTiles : {false, true}) {
            const TestImage before = d.clone();
            NbOptions o;
            o.walkSourceTiles = byTiles;
            ASSERT_EQ(runNeighbourhood(ts, d, maskOf, 25, 16, p.kernel, o), NbResult::Done);
            expectPicked(ts, ts.pixels(), d, before, 25, 16, dx, dy, maskOf);
        }
        // Tiled destination, from an untiled and from a tiled source.
        for (bool tiledSource : {false, true}) {
            const TestImage before = td.pixels().clone();
            ASSERT_EQ(runNeighbourhood(tiledSource ? ts.get() : s.get(), td, maskOf, 25, 16, p.kernel),
                      NbResult::Done);
            OzlImage view = *td.pixels().get();
            view.roi = td->roi;
            expectPicked(tiledSource ? ts.get() : s.get(), tiledSource ? ts.pixels().get() : s.get(),
                         &view, before, 25, 16, dx, dy, maskOf);
            for (const auto& call : td.calls()) EXPECT_NE(call.mode, OZL_GET_TILE_TO_READ);
        }
    }
}

TEST(Neighbourhood, TiledInPlaceReadsOneCopy) {
    TiledImage t(OZL_DEPTH_16S, 21, 17, 2, OZL_DATA_ORDER_PIXEL, 8, 8);
    t.pixels().fillRandom(3);
    ozlSetBorderMode(t, OZL_BORDER_REFLECT, OZL_SIDE_ALL, 0);
    const TestImage original = t.pixels().clone();
    const Margins m{2, 2, 2, 2};
    Picker p(m, -2, 2, OZL_DEPTH_16S);
    ASSERT_EQ(runNeighbourhood(t, t, nullptr, 21, 17, p.kernel), NbResult::Done);
    OzlImage modes = *t.get();
    modes.tileInfo = nullptr;
    expectPicked(&modes, original, t.pixels(), original, 21, 17, -2, 2);
}

TEST(Neighbourhood, Failures) {
    const Margins m{1, 1, 1, 1};
    Picker p(m, 0, 0, OZL_DEPTH_8U);
    TiledImage ts(OZL_DEPTH_8U, 24, 24, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    TestImage d(OZL_DEPTH_8U, 24, 24);
    ts.failFetch(2);
    EXPECT_EQ(runNeighbourhood(ts, d, nullptr, 24, 24, p.kernel), NbResult::ReadTile);
    TiledImage td(OZL_DEPTH_8U, 24, 24, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    td.failFetch(3);
    EXPECT_EQ(runNeighbourhood(d, td, nullptr, 24, 24, p.kernel), NbResult::WriteTile);
    // Working rows that cannot be had: a window of 2^16 rows over gathered rows.
    TestImage wide(OZL_DEPTH_8U, 40000, 2, 3);
    wide.setRoi(2, 0, 0, 40000, 2);
    Picker tall(Margins{0, 65535, 0, 0}, 0, 0, OZL_DEPTH_8U);
    EXPECT_EQ(runNeighbourhood(wide, wide, nullptr, 40000, 2, tall.kernel), NbResult::NoMemory);
}

}  // namespace
