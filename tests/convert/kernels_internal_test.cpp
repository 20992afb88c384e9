// Conversion kernels at every vector level against the scalar table, bit for
// bit: every type pair, linear maps, thresholds and bit reductions.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "convert/kernels.hpp"
#include "convert/values.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::convert::idx;
using ozl::image::Elem;
using ozl::test::RunShape;
using ozl::test::sameRuns;

class ConvertKernel : public testing::TestWithParam<ozl::cpu::Level> {};

TEST_P(ConvertKernel, EveryKernelMatchesTheScalarForm) {
    const auto& vec = ozl::convert::kernelTable(GetParam());
    const auto& ref = ozl::convert::kernelTable(ozl::cpu::Level::Ref);
    auto none = [](std::mt19937&) -> const void* { return nullptr; };
    ozl::convert::LinearArgs m;
    auto linear = [&](std::mt19937& rng) -> const void* {  // every scale, reversed ranges too
        const float picks[] = {0.0f, 1.0f, -1.0f, 255.0f, 65535.0f, 4294967296.0f, 1e-3f, 3e5f};
        m = {picks[rng() % 8], picks[1 + rng() % 7], picks[rng() % 8], picks[rng() % 8]};
        if (rng() % 2) m.toSpan = -m.toSpan;
        return &m;
    };
    const Elem elems[] = {Elem::U8, Elem::S8, Elem::U16, Elem::S16, Elem::S32, Elem::F32};
    for (Elem s : elems)
        for (Elem d : elems) {
            const uint32_t seed = 7000u + idx(s) * 16u + idx(d);
            if (s != d) {
                ASSERT_NE(vec.convert[idx(s)][idx(d)], ref.convert[idx(s)][idx(d)]);
                EXPECT_TRUE(sameRuns(vec.convert[idx(s)][idx(d)], ref.convert[idx(s)][idx(d)], RunShape{1, s, d, false}, none, seed)) << idx(s) << " -> " << idx(d);
            }
            if ((s == Elem::F32) != (d == Elem::F32))
                EXPECT_TRUE(sameRuns(vec.linear[idx(s)][idx(d)], ref.linear[idx(s)][idx(d)], RunShape{1, s, d, false}, linear, seed)) << "linear " << idx(s) << " -> " << idx(d);
        }
    ozl::convert::ThresholdArgs t;
    for (Elem e : {Elem::U8, Elem::S8, Elem::U16, Elem::S16, Elem::S32}) {
        const int bits = static_cast<int>(ozl::image::elemBytes(e)) * 8;
        const int64_t lo = e == Elem::S8 || e == Elem::S16 || e == Elem::S32 ? -(int64_t{1} << (bits - 1)) : 0, span = int64_t{1} << bits;
        auto threshold = [&](std::mt19937& rng) -> const void* {  // levels in range, the top one or none
            t.level = static_cast<int32_t>(rng() % 4 ? lo + static_cast<int64_t>(rng() % span) : rng() % 2 ? lo : lo + span - 1);
            t.high = rng() % 3 ? static_cast<int32_t>(lo + span - 1) : 0;
            return &t;
        };
        EXPECT_TRUE(sameRuns(vec.threshold[idx(e)], ref.threshold[idx(e)], RunShape{1, e, e, true}, threshold, 99u + idx(e))) << idx(e);
    }
    ozl::convert::ReduceArgs r;
    for (Elem e : {Elem::U8, Elem::U16}) {
        const int bits = static_cast<int>(ozl::image::elemBytes(e)) * 8;
        auto reduce = [&](std::mt19937& rng) -> const void* {
            r.keep = ((1u << bits) - 1) & ~((1u << (rng() % bits)) - 1);
            return &r;
        };
        EXPECT_TRUE(sameRuns(vec.reduce[idx(e)], ref.reduce[idx(e)], RunShape{1, e, e, true}, reduce, 5u + idx(e)));
    }
}
INSTANTIATE_TEST_SUITE_P(Levels, ConvertKernel, testing::ValuesIn(ozl::test::vectorLevels()), ozl::test::levelName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ConvertKernel);

}  // namespace
