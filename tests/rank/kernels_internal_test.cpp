// The rank family's kernels below the interface: every level against the
// scalar forms (sorted-column medians, sliding counts, fixed kernels), the 5 x 5 network on
// every 0-1 input of sorted columns, the 16-bit division by multiplication.
#include <gtest/gtest.h>

#include "rank/kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using namespace ozl;

// Every type, widths across every vector's head and tail, 1 and 3 values a
// pixel, rows starting one value off alignment.
TEST(RankKernels, SortedColumnMediansMatchScalar) {
    std::mt19937 rng(5);
    const rank::RankTable& ref = rank::rankTable(cpu::Level::Ref);
    for (cpu::Level level : test::vectorLevels())
        for (int e = 0; e < image::kElemCount; ++e)
            for (int size : {3, 5})
                for (int step : {1, 3})
                    for (size_t n : {1, 15, 16, 31, 33, 63, 64, 65, 130}) {
                        const size_t bytes = image::elemBytes(static_cast<image::Elem>(e));
                        const size_t before = static_cast<size_t>(size / 2 * step), span = n + 2 * before;
                        std::vector<uint8_t> src[5], want(n * bytes), got(n * bytes), scratch(size * span * 4);
                        const void* rows[5];
                        for (int r = 0; r < size; ++r) {
                            src[r].resize((span + 1) * bytes);
                            test::fillValues(src[r], static_cast<image::Elem>(e), rng);
                            rows[r] = src[r].data() + (1 + before) * bytes;
                        }
                        const rank::RankTable& vec = rank::rankTable(level);
                        (size == 3 ? ref.median9[e] : ref.median25[e])(rows, want.data(), n, step, scratch.data());
                        (size == 3 ? vec.median9[e] : vec.median25[e])(rows, got.data(), n, step, scratch.data());
                        ASSERT_EQ(want, got) << cpu::name(level) << " type " << e << " size " << size
                                             << " step " << step << " n " << n;
                    }
}

// Windows of 17 blocks of 15 values (255: counts in bytes) or 40 (680: in 16
// bits), 2 channels, values often at 0 or 255; ranks at both ends catch a
// search off by one lane.
TEST(RankKernels, SlidingMedianMatchesScalar) {
    struct Case { int values, rank; };
    for (const Case& t : {Case{15, 127}, Case{15, 0}, Case{15, 254}, Case{40, 340}, Case{40, 0}, Case{40, 679}}) {
        std::mt19937 rng(6);
        std::vector<uint8_t> blocks(60 * rank::kCountBlock), work(2 * rank::kCountBlock), want(88), got(88);
        for (size_t k = 0; k < 60; ++k)
            for (int r = 0; r < t.values; ++r) {
                const uint8_t v = rng() % 3 ? static_cast<uint8_t>(rng()) : static_cast<uint8_t>(rng() % 2 * 255);
                ++blocks[k * rank::kCountBlock + v], ++blocks[k * rank::kCountBlock + 256 + v / 16];
            }
        for (cpu::Level level : test::vectorLevels()) {
            for (int c = 0; c < 2; ++c)
                for (auto [table, out] : {std::pair{&rank::rankTable(cpu::Level::Ref), &want}, {&rank::rankTable(level), &got}})
                    table->slidingMedian[t.values > 17](blocks.data() + c * rank::kCountBlock, 2 * rank::kCountBlock, 17,
                                                        14, t.rank, work.data(), out->data() + c, 2);
            ASSERT_EQ(want, got) << cpu::name(level) << " " << t.values << " " << t.rank;
        }
    }
}

// Fixed kernels on 8-bit values: unsigned sums shifted by 8 (Gaussian 5 x 5,
// by columns first), signed ones unshifted (Sobel, by columns), shifted by 3
// (sharpen) and of 25 taps (Laplacian 5 x 5), values often 0 or 255 for the
// saturation, every width across the vectors' tails, 1 and 3 values a pixel;
// kernels whose sums do not fit 16 bits, or whose divisor is no power of
// two, are refused.
TEST(RankKernels, FixedTapsMatchScalar) {
    struct Kernel { int size, divisor, values[25]; bool fits, separable; };
    const Kernel kernels[] = {
        {5, 256, {1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6, 4, 16, 24, 16, 4, 1, 4, 6, 4, 1}, true, true},
        {3, 1, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, true, true},
        {3, 8, {-1, -1, -1, -1, 16, -1, -1, -1, -1}, true, false},
        {5, 1, {-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4, -3, 0, 6, 0, -3, -1, -3, -4, -3, -1}, true, false},
        {3, 1, {0, 2, 2, 0, 3, 3, 0, 2, 2}, true, true},  // unsigned, unshifted, first column empty
        {3, 1, {0, 0, 0, 0, 129, 0, 0, 0, 0}, false, false},
        {3, 1, {-129, 0, 0, 0, 1, 0, 0, 0, 0}, false, false},
        {3, 3, {1, 1, 1, 1, 1, 1, 1, 1, 1}, false, false},
    };
    std::mt19937 rng(8);
    for (const Kernel& k : kernels) {
        rank::TapsU8 taps;
        ASSERT_EQ(rank::tapsU8(k.values, k.size, k.divisor, taps), k.fits) << k.values[4];
        if (!k.fits) continue;
        ASSERT_EQ(taps.separable, k.separable) << k.values[4];
        for (cpu::Level level : test::vectorLevels())
            for (int step : {1, 3})
                for (size_t n : {1, 15, 17, 31, 33, 64, 65, 130}) {
                    const size_t before = static_cast<size_t>(k.size / 2 * step);
                    std::vector<uint8_t> src[5], want(n), got(n);
                    std::vector<uint16_t> scratch(n + 2 * before);
                    const void* rows[5];
                    for (int r = 0; r < k.size; ++r) {
                        src[r].resize(n + 2 * before + 1);
                        for (uint8_t& v : src[r]) v = rng() % 3 ? static_cast<uint8_t>(rng()) : static_cast<uint8_t>(rng() % 2 * 255);
                        rows[r] = src[r].data() + 1 + before;
                    }
                    rank::rankTable(cpu::Level::Ref).weightedU8(taps, rows, want.data(), n, step, scratch.data());
                    rank::rankTable(level).weightedU8(taps, rows, got.data(), n, step, scratch.data());
                    ASSERT_EQ(want, got) << cpu::name(level) << " kernel " << k.values[4] << " step " << step << " n " << n;
                }
    }
}

// Columns given by their counts of ones (base 6): the middle is 1 when 13 or
// more of the 25 are.
TEST(RankKernels, MiddleOfSortedFivesOnZeroOneInputs) {
    for (int code = 0; code < 6 * 6 * 6 * 6 * 6; ++code) {
        int v[25], ones = 0;
        for (int c = 0, k = code; c < 5; ++c, k /= 6)
            for (int r = 0; r < 5; ++r) ones += v[c * 5 + r] = r >= 5 - k % 6;
        rank::applyNetwork<rank::kMiddleOfSortedFives>(v, &rank::orderKeys<int>);
        ASSERT_EQ(v[rank::kMiddleOfSortedFivesAt], ones >= 13) << code;
    }
}

TEST(RankKernels, DivisionByMultiplication) {
    for (uint32_t divisor = 1; divisor <= 257; ++divisor) {
        const rank::Divider16 d = rank::divider16(static_cast<uint16_t>(divisor));
        for (uint32_t x = 0; x < 65536; ++x)
            if (rank::divide16(d, x) != x / divisor) FAIL() << x << " / " << divisor;
    }
}

}  // namespace
