// Conversion kernels at every vector level against the scalar table, bit for
// bit: every type pair, linear maps, thresholds and bit reductions.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "convert/kernels.hpp"
#include "convert/values.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::convert::idx;
using ozl::convert::kernelTable;
using ozl::cpu::Level;
using ozl::image::Elem;
using ozl::test::RunShape;

const Elem kElems[] = {Elem::U8, Elem::S8, Elem::U16, Elem::S16, Elem::S32, Elem::F32};

class ConvertKernel : public testing::TestWithParam<Level> {};

TEST_P(ConvertKernel, EveryPairMatchesTheScalarForm) {
    const auto& vec = kernelTable(GetParam());
    const auto& ref = kernelTable(Level::Ref);
    auto none = [](std::mt19937&) -> const void* { return nullptr; };
    ozl::convert::LinearArgs m;
    // Ranges of every scale, reversed ones included, so results leave the
    // integer ranges on both sides.
    auto linear = [&](std::mt19937& rng) -> const void* {
        const float picks[] = {0.0f, 1.0f, -1.0f, 255.0f, 65535.0f, 4294967296.0f, 1e-3f, 3e5f};
        m = {picks[rng() % 8], picks[1 + rng() % 7], picks[rng() % 8], picks[rng() % 8]};
        if (rng() % 2) m.toSpan = -m.toSpan;
        return &m;
    };
    for (Elem s : kElems)
        for (Elem d : kElems) {
            const uint32_t seed = 7000u + idx(s) * 16u + idx(d);
            if (s != d) {
                ASSERT_NE(vec.convert[idx(s)][idx(d)], ref.convert[idx(s)][idx(d)]);
                EXPECT_TRUE(ozl::test::sameRuns(vec.convert[idx(s)][idx(d)], ref.convert[idx(s)][idx(d)],
                                                RunShape{1, s, d, false}, none, seed))
                    << idx(s) << " -> " << idx(d);
            }
            if ((s == Elem::F32) != (d == Elem::F32))
                EXPECT_TRUE(ozl::test::sameRuns(vec.linear[idx(s)][idx(d)], ref.linear[idx(s)][idx(d)],
                                                RunShape{1, s, d, false}, linear, seed))
                    << "linear " << idx(s) << " -> " << idx(d);
        }
}

TEST_P(ConvertKernel, ThresholdsAndReductionsMatchTheScalarForm) {
    const auto& vec = kernelTable(GetParam());
    const auto& ref = kernelTable(Level::Ref);
    ozl::convert::ThresholdArgs t;
    for (Elem e : {Elem::U8, Elem::S8, Elem::U16, Elem::S16, Elem::S32}) {
        const int bits = static_cast<int>(ozl::image::elemBytes(e)) * 8;
        const bool isSigned = e == Elem::S8 || e == Elem::S16 || e == Elem::S32;
        auto threshold = [&](std::mt19937& rng) -> const void* {
            // Levels within the type's range, with the top level or none.
            const int64_t lo = isSigned ? -(int64_t{1} << (bits - 1)) : 0;
            const int64_t span = int64_t{1} << bits;
            t.level = static_cast<int32_t>(lo + static_cast<int64_t>(rng() % span));
            if (rng() % 4 == 0) t.level = static_cast<int32_t>(rng() % 2 ? lo : lo + span - 1);
            t.high = rng() % 3 ? static_cast<int32_t>(lo + span - 1) : 0;
            return &t;
        };
        EXPECT_TRUE(ozl::test::sameRuns(vec.threshold[idx(e)], ref.threshold[idx(e)],
                                        RunShape{1, e, e, true}, threshold, 99u + idx(e)))
            << idx(e);
    }
    ozl::convert::ReduceArgs r;
    for (Elem e : {Elem::U8, Elem::U16}) {
        const int bits = static_cast<int>(ozl::image::elemBytes(e)) * 8;
        auto reduce = [&](std::mt19937& rng) -> const void* {
            const int drop = static_cast<int>(rng() % bits);
            r.keep = ((1u << bits) - 1) & ~((1u << drop) - 1);
            return &r;
        };
        EXPECT_TRUE(ozl::test::sameRuns(vec.reduce[idx(e)], ref.reduce[idx(e)], RunShape{1, e, e, true},
                                        reduce, 5u + idx(e)));
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, ConvertKernel, testing::ValuesIn(ozl::test::vectorLevels()),
                         ozl::test::levelName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ConvertKernel);

}  // namespace
