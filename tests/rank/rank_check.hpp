// Random rounds for the rank, morphological and fixed filters: random depths,
// layouts, regions, channels of interest, alpha, border modes per side
// (constants out of range included), masks on either side; each round's
// destination is compared, value by value, with a brute-force computation
// over the source read through its border modes. Also long rows (every
// vector width) and tables of refused calls.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/neighbourhood_check.hpp"
#include "support/test_image.hpp"

namespace ozl::test {

inline void fillFor(TestImage& im, uint32_t seed) {
    const bool s32 = im->depth == OZL_DEPTH_32S, f32 = im->depth == OZL_DEPTH_32F;
    s32 || f32 ? im.fillRandom(seed, s32 ? -(1 << 20) : -100, s32 ? 1 << 20 : 100) : im.fillRandom(seed);
}

inline void randomBorders(OzlImage* im, std::mt19937& rng) {
    for (int side = 0; side < 4; ++side) {
        im->borderMode[side] = static_cast<int>(rng() % 4);
        im->borderConst[side] = static_cast<int>(rng() % 140000) - 70000;
    }
}

// A region-sized picture of values per source channel, read beyond its edges
// through the border modes of `modes` (the source's); region coordinates.
class Plane {
public:
    Plane(const OzlImage* modes, int width, int height)
        : header_(*modes), pixels_(modes->depth, width, height, modes->nChannels) {
        header_.width = width, header_.height = height;
        header_.roi = nullptr, header_.tileInfo = nullptr, header_.maskROI = nullptr;
    }
    double at(long long x, long long y, int c) const { return borderedValue(&header_, x, y, c, pixels_); }
    void put(int x, int y, int c, double v) { pixels_.put(x, y, c, v); }

private:
    OzlImage header_;
    TestImage pixels_;
};

// One value of the result at region (x, y), source channel c, and a whole
// result computed pass by pass where the filter chains passes.
using ValueAt = std::function<double(long long x, long long y, int c)>;
using Pass = std::function<double(const ValueAt& in, int x, int y, int c)>;

// `passes` applied in turn: each after the first reads a Plane of the one
// before, under the source's border modes. Returns a reader of the last.
inline ValueAt chained(const SourceView& src, int width, int height, const std::vector<Pass>& passes,
                       std::vector<Plane>& keep) {
    ValueAt in = [src](long long x, long long y, int c) { return src.at(x, y, c); };
    for (size_t p = 0; p + 1 < passes.size(); ++p) {
        Plane& plane = keep.emplace_back(src.modes, width, height);
        for (int c = 0; c < src.modes->nChannels; ++c)
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) plane.put(x, y, c, passes[p](in, x, y, c));
        in = [&plane](long long x, long long y, int c) { return plane.at(x, y, c); };
    }
    const Pass last = passes.back();
    return [in, last](long long x, long long y, int c) { return last(in, static_cast<int>(x), static_cast<int>(y), c); };
}

struct RoundSpec {
    std::vector<unsigned> depths;
    int rounds = 100;
    int maxWidth = 14, maxHeight = 12;
    int channels = 0;  // fixed channel count (0: random 1..4)
    bool planes = true, coi = true;
};

// Runs `rounds` random calls: `call(src, dst, rng)` makes the call and
// returns the passes the result must equal.
using Call = std::function<std::vector<Pass>(OzlImage* src, OzlImage* dst, std::mt19937& rng)>;

inline void randomRounds(uint32_t seed, const RoundSpec& spec, const Call& call) {
    ErrorCapture errors;
    std::mt19937 rng(seed);
    TestImage mask(OZL_DEPTH_1U, spec.maxWidth + 2, spec.maxHeight + 2);
    auto upTo = [&](int n) { return 1 + static_cast<int>(rng() % n); };
    for (int round = 0; round < spec.rounds; ++round) {
        const unsigned depth = spec.depths[round % spec.depths.size()];
        const int nCh = spec.channels ? spec.channels : depth == OZL_DEPTH_1U ? 1 : upTo(4);
        const int order = depth == OZL_DEPTH_1U || !spec.planes ? 0 : static_cast<int>(rng() % 2);
        const bool alpha = nCh == 4 && rng() % 3 == 0;
        TestImage s(depth, upTo(spec.maxWidth), upTo(spec.maxHeight), nCh, order, alpha);
        TestImage d(depth, upTo(spec.maxWidth + 1), upTo(spec.maxHeight + 1), nCh, order, alpha);
        fillFor(s, rng()), fillFor(d, rng()), randomBorders(s, rng);
        const bool coi = spec.coi && nCh > 1 && rng() % 4 == 0;
        for (TestImage* im : {&s, &d})
            im->setRoi(coi ? upTo(nCh) : 0, static_cast<int>(rng() % (*im)->width),
                       static_cast<int>(rng() % (*im)->height), upTo(spec.maxWidth + 1), upTo(spec.maxHeight + 1));
        mask.fillRandom(rng());
        for (TestImage* im : {&s, &d}) im->setMask(rng() % 5 == 0 ? &mask : nullptr);
        int width = mask->width, height = mask->height;
        for (const TestImage* im : {&s, &d}) {
            const OzlImage* h = *im;
            width = std::min({width, h->roi->width, h->width - h->roi->xOffset});
            height = std::min({height, h->roi->height, h->height - h->roi->yOffset});
        }
        SCOPED_TRACE(testing::Message() << "round " << round << " depth " << depth << " nCh " << nCh
                                        << " order " << order << " coi " << coi);
        const TestImage before = d.clone();
        const std::vector<Pass> passes = call(s, d, rng);
        ASSERT_TRUE(errors.empty()) << errors.last();
        std::vector<Plane> keep;
        keep.reserve(passes.size());
        const ValueAt result = chained(SourceView{s, s}, width, height, passes, keep);
        expectFiltered(before, d, width, height,
                       [&](int x, int y, int c) { return result(x, y, sourceChannel(s, d, c)); },
                       s->maskROI ? s->maskROI : d->maskROI);
    }
}

// One call `call(src, dst)` on a width x height image of random values under
// replicated borders (all 255 when `full`), against `pass`: rows long enough
// for every vector width.
inline void expectLongRow(unsigned depth, int width, int height, int channels, uint32_t seed, bool full,
                          const std::function<void(OzlImage*, OzlImage*)>& call, const Pass& pass) {
    ErrorCapture errors;
    TestImage s(depth, width, height, channels), d(depth, width, height, channels);
    full ? s.fill(255) : fillFor(s, seed);
    ozlSetBorderMode(s, OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
    const TestImage before = d.clone();
    call(s, d);
    ASSERT_TRUE(errors.empty()) << errors.last();
    const ValueAt in = [src = SourceView{s, s}](long long x, long long y, int c) { return src.at(x, y, c); };
    expectFiltered(before, d, width, height, [&](int x, int y, int c) { return pass(in, x, y, c); });
}

inline void expectRefusals(const std::vector<Refusal>& cases) {
    ErrorCapture errors(OZL_ErrModeParent);
    expectRefusals(errors, cases);
}

const std::vector<unsigned> kAllDepths = {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U,
                                          OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};

}  // namespace ozl::test
