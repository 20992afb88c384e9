// Convolution row kernels of every vector level against the scalar table,
// bit for bit, over widths 0..100 and long rows, with guard bytes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "filter/conv_plan.hpp"
#include "filter/kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using namespace ozl::filter;
using ozl::cpu::Level;
using ozl::image::Elem;

constexpr size_t kGuard = 64;
constexpr int kMargin = 8;  // pixels of source on either side of each row

// Source rows of random values with kMargin pixels on each side, and the
// driver's row pointers (at the first output value).
struct Rows {
    std::vector<std::vector<uint8_t>> data;
    std::vector<const void*> at;
    Rows(int count, size_t n, int channels, Elem e, std::mt19937& rng) {
        const size_t bytes = ozl::image::elemBytes(e);
        const size_t margin = static_cast<size_t>(kMargin) * channels * bytes;
        for (int r = 0; r < count; ++r) {
            // A value of offset: the rows are not aligned to vectors.
            data.emplace_back(n * bytes + 2 * margin + bytes);
            ozl::test::fillValues(data.back(), e, rng);
        }
        for (auto& d : data) at.push_back(d.data() + bytes + margin);
    }
};

// Random taps within the margins: count of them over `rows` rows.
std::vector<Tap> randomTaps(std::mt19937& rng, int count, int rows, int channels, int lo, int hi) {
    std::vector<Tap> taps;
    for (int t = 0; t < count; ++t)
        taps.push_back({static_cast<int>(rng() % rows),
                        (static_cast<int>(rng() % (2 * kMargin + 1)) - kMargin) * channels,
                        lo + static_cast<int32_t>(rng() % static_cast<uint32_t>(hi - lo + 1))});
    return taps;
}

// The pairs and 16U bias of a wide kernel over taps.
WideKernel wideOf(const std::vector<Tap>& taps, std::vector<TapPair>& pairs, Elem e, int shift) {
    pairs.resize(taps.size() + 1);
    WideKernel k{taps.data(), static_cast<int>(taps.size()), pairs.data(), 0, 0, shift};
    k.nPairs = pairTaps(taps.data(), k.count, pairs.data());
    k.bias = e == Elem::U16 ? unsigned16Bias(pairs.data(), k.nPairs) : 0;
    return k;
}

std::vector<size_t> widths() {
    std::vector<size_t> w = ozl::test::runWidths();
    w.resize(std::min<size_t>(w.size(), 104));  // 0..100 and 127..129
    w.push_back(515);
    return w;
}

// Runs f(ref or vector table, output) and compares the outputs with guards.
template <class F>
testing::AssertionResult sameOutputs(Level level, size_t bytes, F&& f) {
    std::vector<uint8_t> a(bytes + kGuard, 0xA5), b(bytes + kGuard, 0xA5);
    f(kernelTable(Level::Ref), a.data());
    f(kernelTable(level), b.data());
    if (a == b) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "first differing byte " << ozl::test::firstDifference(a, b)
                                       << " of " << bytes;
}

class ConvKernels : public testing::TestWithParam<Level> {};

TEST_P(ConvKernels, NarrowSumsMatchTheReference) {
    std::mt19937 rng(1);
    for (size_t n : widths())
        for (int round = 0; round < 6; ++round) {
            const int channels = round % 3 == 0 ? 1 : round % 3 == 1 ? 3 : 4;
            const bool signedIn = round % 2;
            // Small weights (byte pairs), wider ones (16-bit products), few or many taps.
            const int count = 1 + static_cast<int>(rng() % (round < 3 ? 9 : 40));
            const int lim = round == 4 ? 250 : round == 5 ? 3 : 20;
            const std::vector<Tap> taps = randomTaps(rng, count, 5, channels, -lim, lim);
            std::vector<int32_t> q;
            for (const Tap& t : taps) q.push_back(t.coeff);
            const Narrow sums = narrowSums(sumBounds(q.data(), q.size(), signedIn ? ValueRange{-128, 127} : ValueRange{0, 255}));
            if (sums == Narrow::No) continue;
            std::vector<TapPair> pairs(taps.size());
            NarrowKernel k;
            k.taps = taps.data();
            k.count = count;
            k.pairs = pairs.data();
            k.nPairs = pairTaps(taps.data(), count, pairs.data());
            k.bytePairs = bytePairsFit(pairs.data(), k.nPairs);
            k.signedIn = signedIn;
            k.signedOut = round % 4 == 1;
            k.signedSum = sums == Narrow::Signed;
            k.bias = signedIn ? flippedBias(taps.data(), count) : 0;
            k.shift = static_cast<int>(rng() % 17);
            k.absolute = rng() % 2;
            const Rows rows(5, n, channels, signedIn ? Elem::S8 : Elem::U8, rng);
            EXPECT_TRUE(sameOutputs(GetParam(), n, [&](const KernelTable& t, uint8_t* out) {
                t.narrow(k, rows.at.data(), out, n);
            })) << "n " << n << " round " << round << " pairs " << k.bytePairs;
        }
}

TEST_P(ConvKernels, WideSumsMatchTheReference) {
    std::mt19937 rng(2);
    const Elem elems[] = {Elem::U8, Elem::S8, Elem::U16, Elem::S16};
    for (size_t n : widths())
        for (int e = 0; e < 4; ++e) {
            const int channels = 1 + static_cast<int>(rng() % 4);
            // Up to 300 taps: the pairs go in groups.
            const int count = rng() % 8 == 0 ? 150 + static_cast<int>(rng() % 150) : 1 + static_cast<int>(rng() % 25);
            const std::vector<Tap> taps = randomTaps(rng, count, 7, channels, -32768, 32767);
            std::vector<TapPair> pairs;
            const WideKernel k = wideOf(taps, pairs, elems[e], static_cast<int>(rng() % 40));
            const Rows rows(7, n, channels, elems[e], rng);
            EXPECT_TRUE(sameOutputs(GetParam(), n * 4, [&](const KernelTable& t, uint8_t* out) {
                t.wide[e](k, rows.at.data(), reinterpret_cast<int32_t*>(out), n);
            })) << "n " << n << " elem " << e << " taps " << count;
        }
}

// One row, or a band of up to two calls' worth of the level's band rows with
// gaps between them; 3x3 kernels on a grid of any anchor and channel step (the
// shared-load bodies: a mixed-up tap order or band row shows as a bit
// difference), other kernels at times; stores past the caches on odd widths.
TEST_P(ConvKernels, RealSumsMatchTheReference) {
    std::mt19937 rng(3);
    for (size_t n : widths()) {
        const int channels = 1 + static_cast<int>(rng() % 4);
        const bool grid = rng() % 4 != 0;
        const int count = grid ? 9 : rng() % 6 == 0 ? 70 + static_cast<int>(rng() % 80) : 1 + static_cast<int>(rng() % 25);
        const int x0 = static_cast<int>(rng() % 3), y0 = static_cast<int>(rng() % 2);
        std::vector<TapF> taps;
        for (const Tap& t : randomTaps(rng, count, 4, channels, -1000, 1000)) {
            const int i = static_cast<int>(taps.size());
            taps.push_back(grid ? TapF{y0 + i / 3, (i % 3 - x0) * channels, t.coeff / 37.0f}
                                : TapF{t.row, t.offset, t.coeff / 37.0f});
        }
        // Outputs at any float offset from a vector boundary, rows any number
        // of floats apart (a multiple of 64 bytes at times).
        const size_t skew = rng() % 16, stride = n + (rng() % 2 ? 16 - n % 16 : rng() % 19);
        const int band = 1 + static_cast<int>(rng() % (2 * kernelTable(GetParam()).realBandRows + 1));
        const RealKernel k{taps.data(), count, n % 2 == 1};
        const Rows rows(band + 5, n, channels, Elem::F32, rng);
        EXPECT_TRUE(sameOutputs(GetParam(), (n + skew) * 4, [&](const KernelTable& t, uint8_t* out) {
            t.real(k, rows.at.data() + 1, reinterpret_cast<float*>(out) + skew, n);
        })) << "n " << n << " taps " << count;
        EXPECT_TRUE(sameOutputs(GetParam(), (stride * band + skew) * 4, [&](const KernelTable& t, uint8_t* out) {
            t.realBand(k, rows.at.data(), reinterpret_cast<float*>(out) + skew, static_cast<ptrdiff_t>(stride * 4), band, n);
        })) << "n " << n << " taps " << count << " band " << band << " stride " << stride;
    }
}

TEST_P(ConvKernels, SeparableMatchesTheReference) {
    std::mt19937 rng(4);
    const Elem elems[] = {Elem::U8, Elem::S8, Elem::U16, Elem::S16, Elem::S32};
    for (size_t n : widths())
        for (int e = 0; e < 6; ++e) {
            const int channels = 1 + static_cast<int>(rng() % 4);
            const int nx = static_cast<int>(rng() % 9), ny = static_cast<int>(rng() % 9);  // 0, 1: absent
            const int xTaps = nx < 2 ? 0 : nx, yTaps = ny < 2 ? 0 : ny;
            const int left = xTaps ? static_cast<int>(rng() % xTaps) : 0;
            const int lim = rng() % 2 ? 3 : 40000;
            std::vector<int32_t> xc, yc;
            std::vector<float> xf, yf;
            for (int i = 0; i < 8; ++i) {
                xc.push_back(static_cast<int32_t>(rng() % (2 * lim + 1)) - lim);
                yc.push_back(static_cast<int32_t>(rng() % (2 * lim + 1)) - lim);
                xf.push_back(static_cast<float>(xc.back()) / 7.0f);
                yf.push_back(static_cast<float>(yc.back()) / 5.0f);
            }
            // Symmetric weights at times: the passes fold them.
            if (rng() % 2) {
                for (int i = 0; i < xTaps / 2; ++i) xc[xTaps - 1 - i] = xc[i];
                for (int j = 0; j < yTaps / 2; ++j) yc[yTaps - 1 - j] = yc[j];
            }
            const int rowsRead = yTaps ? yTaps : 1;
            std::vector<uint8_t> scratch((n + 16) * 8 + 64 + kMargin * 2 * 4 * 8);
            if (e == 5) {
                const SepKernelF k{yTaps ? yf.data() : nullptr, yTaps, xTaps ? xf.data() : nullptr, xTaps, left, channels};
                const Rows rows(rowsRead, n, channels, Elem::F32, rng);
                EXPECT_TRUE(sameOutputs(GetParam(), n * 4, [&](const KernelTable& t, uint8_t* out) {
                    t.sepReal(k, rows.at.data(), reinterpret_cast<float*>(scratch.data()), reinterpret_cast<float*>(out), n);
                })) << "n " << n << " real x " << xTaps << " y " << yTaps;
                continue;
            }
            SepKernel k;
            k.xCoeff = xTaps ? xc.data() : nullptr;
            k.xTaps = xTaps;
            k.yCoeff = yTaps ? yc.data() : nullptr;
            k.yTaps = yTaps;
            k.left = left;
            k.channels = channels;
            k.shift = static_cast<int>(rng() % 34);
            const auto range = ValueRange{ozl::image::kDepths[e + 1].lo, ozl::image::kDepths[e + 1].hi};
            k.lo = range.lo;
            k.hi = range.hi;
            // The planner's choices: 16-bit sums where the bounds allow (8-bit
            // values), the vertical pass as a wide kernel where the weights do.
            std::vector<int32_t> products;
            for (int i = 0; i < (xTaps ? xTaps : 1); ++i)
                for (int j = 0; j < (yTaps ? yTaps : 1); ++j) products.push_back((xTaps ? xc[i] : 1) * (yTaps ? yc[j] : 1));
            const Narrow sums = narrowSums(sumBounds(products.data(), products.size(), range));
            k.narrow = e < 2 && sums != Narrow::No;
            k.signedSum = sums == Narrow::Signed;
            std::vector<Tap> vt;
            for (int j = 0; j < yTaps; ++j) vt.push_back({j, -left * channels, yc[j]});
            std::vector<TapPair> pairs;
            const WideKernel v = wideOf(vt, pairs, elems[e], 0);
            if (e < 4 && yTaps && lim == 3) k.vertical = &v;
            const Rows rows(rowsRead, n, channels, elems[e], rng);
            EXPECT_TRUE(sameOutputs(GetParam(), n * ozl::image::elemBytes(elems[e]), [&](const KernelTable& t, uint8_t* out) {
                t.sep[e](k, rows.at.data(), scratch.data(), out, n);
            })) << "n " << n << " elem " << e << " x " << xTaps << " y " << yTaps << " narrow " << k.narrow;
        }
}

INSTANTIATE_TEST_SUITE_P(Levels, ConvKernels, testing::ValuesIn(ozl::test::vectorLevels()),
                         ozl::test::levelName);

}  // namespace
