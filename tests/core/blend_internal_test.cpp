// The masked writes of every vector level against the scalar one, bit for bit
// (1-, 2- and 4-byte values, 1 to 4 channels, every bit offset, masks sparse to
// full), and one hand-checked selection at every level.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "core/blend.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::cpu::Level;

class BlendKernel : public testing::TestWithParam<std::tuple<Level, int>> {};

TEST_P(BlendKernel, MatchesScalarTableBitForBit) {
    const auto [level, sizeIndex] = GetParam();
    const auto fv = ozl::core::blendTable(level).bySize[sizeIndex];
    const auto fr = ozl::core::blendTable(Level::Ref).bySize[sizeIndex];
    ASSERT_NE(fv, fr);
    const size_t es = size_t{1} << sizeIndex;
    const uint32_t seed = 20240611u ^ (sizeIndex << 8) ^ (static_cast<uint32_t>(level) << 24);
    std::mt19937 rng(seed);
    constexpr size_t kGuard = 64;
    for (int nCh = 1; nCh <= 4; ++nCh)
        for (size_t nPix : ozl::test::runWidths())
            for (int maskBit = 0; maskBit < 8; ++maskBit) {
                // Mask kinds: random, sparse, dense, long runs, all clear, all set.
                const int kind = static_cast<int>(rng() % 6);
                const size_t off = rng() % 4;
                // Exactly the bytes the mask needs, so that the sanitizers catch
                // reading further.
                std::vector<uint8_t> mask((maskBit + nPix + 7) / 8);
                bool on = false;
                for (auto& m : mask) {
                    if (kind == 3 && rng() % 5 == 0) on = !on;
                    const uint32_t r = rng();
                    m = static_cast<uint8_t>(kind == 0 ? r : kind == 1 ? r & rng() & rng()
                                             : kind == 2 ? r | rng() | rng()
                                             : kind == 3 ? (on ? 0xFF : 0) : kind == 4 ? 0 : 0xFF);
                }
                std::vector<uint8_t> src(nPix * nCh * es + off * es + 2 * kGuard), dv(src.size());
                for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint8_t>(rng()), dv[i] = static_cast<uint8_t>(rng());
                std::vector<uint8_t> dr = dv;
                const uint8_t* ps = src.data() + kGuard + off * es;
                fv(dv.data() + kGuard + off * es, ps, nPix, nCh, mask.data(), maskBit);
                fr(dr.data() + kGuard + off * es, ps, nPix, nCh, mask.data(), maskBit);
                if (dv != dr)
                    FAIL() << "blend of " << es << "-byte values: nCh=" << nCh << " nPix=" << nPix
                           << " maskBit=" << maskBit << " mask kind=" << kind << " offset=" << off
                           << " seed=" << seed << " first differing byte: " << ozl::test::firstDifference(dv, dr);
            }
}

INSTANTIATE_TEST_SUITE_P(Levels, BlendKernel,
                         testing::Combine(testing::ValuesIn(ozl::test::vectorLevels()), testing::Values(0, 1, 2)),
                         [](const testing::TestParamInfo<std::tuple<Level, int>>& info) {
                             return std::string(ozl::cpu::name(std::get<0>(info.param))) + "_" +
                                    std::to_string(1 << std::get<1>(info.param)) + "byte";
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(BlendKernel);

class BlendGolden : public testing::TestWithParam<Level> {};

TEST_P(BlendGolden, WritesSelectedPixelsOnly) {
    // 40 three-channel pixels; mask bits from bit 3 of the first byte: pixels
    // 0, 2 and 39 selected.
    const uint8_t mask[6] = {0x14, 0x00, 0x00, 0x00, 0x00, 0x20};
    std::vector<uint16_t> d(120, 7), src(120);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint16_t>(1000 + i);
    ozl::core::blendTable(GetParam()).bySize[1](d.data(), src.data(), 40, 3, mask, 3);
    for (size_t p = 0; p < 40; ++p)
        for (size_t c = 0; c < 3; ++c) {
            const bool selected = p == 0 || p == 2 || p == 39;
            EXPECT_EQ(d[p * 3 + c], selected ? 1000 + p * 3 + c : 7) << "pixel " << p;
        }
}

INSTANTIATE_TEST_SUITE_P(Levels, BlendGolden, testing::ValuesIn(ozl::test::allLevels()),
                         ozl::test::levelName);

}  // namespace
