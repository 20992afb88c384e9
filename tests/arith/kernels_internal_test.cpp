// Run kernels of every vector level against the scalar table, bit for bit,
// over widths 0..100 and long runs, unaligned and in place; the streaming
// stores of very long runs; and the 1-bit subtract's kernel, which the public
// operations reach only on bytes.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "arith/kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::arith::Op;
using ozl::arith::OpArgs;
using ozl::arith::RunFn;
using ozl::cpu::Level;
using ozl::image::Elem;

const char* const kOpNames[] = {"Add", "Sub", "Mul", "MulScale", "And", "Or", "Xor", "AndNot",
                                "AndS", "OrS", "XorS", "LShift", "RShift", "AddC", "SubC",
                                "RevSubC", "MulC", "MulScaleC", "Abs", "Square"};
static_assert(sizeof(kOpNames) / sizeof(kOpNames[0]) == ozl::arith::kOpCount);

class RunKernel : public testing::TestWithParam<std::tuple<Level, Op>> {};

TEST_P(RunKernel, MatchesScalarTableBitForBit) {
    const auto [level, op] = GetParam();
    int tested = 0;
    for (int ei = 0; ei < ozl::image::kElemCount; ++ei) {
        const Elem e = static_cast<Elem>(ei);
        const RunFn fv = ozl::arith::kernelTable(level).run[static_cast<int>(op)][ei];
        const RunFn fr = ozl::arith::kernelTable(Level::Ref).run[static_cast<int>(op)][ei];
        if (!fr) continue;
        ASSERT_NE(fv, fr) << "no vector form of " << kOpNames[static_cast<int>(op)] << " " << ei;
        ++tested;
        const int bits = static_cast<int>(ozl::image::elemBytes(e) * 8);
        // Shift counts below the width; right shifts of 8- and 16-bit values
        // also beyond it, where the promoted scalar form is still defined.
        const int topShift = op == Op::LShift ? bits - 1
                             : op == Op::RShift ? (bits < 32 ? 2 * bits - 1 : bits - 1) : 0;
        for (int shift = 0; shift <= topShift; ++shift) {
            OpArgs args;
            const auto makeArgs = [&](std::mt19937& rng) -> const void* {
                args.shift = shift;
                // Constants of every size: the depth's limits and beyond.
                const int32_t pick[] = {0, 1, -1, 2, 127, 128, 129, -129, 255, 256, 300, -300,
                                        32767, 32768, -32769, 65535, 65536, INT32_MAX, INT32_MIN};
                args.value = rng() % 2 ? static_cast<int32_t>(rng()) : pick[rng() % 19];
                args.real = static_cast<float>(static_cast<int32_t>(rng())) / 65536.0f;
                return &args;
            };
            const ozl::test::RunShape shape{ozl::arith::arity(op), e, e, true};
            const uint32_t seed = 20240611u ^ (static_cast<uint32_t>(op) << 8) ^
                                  (static_cast<uint32_t>(ei) << 16) ^ (shift << 24);
            // Long runs add nothing new per shift count beyond the first few.
            EXPECT_TRUE(ozl::test::sameRuns(fv, fr, shape, makeArgs, seed, shift < 3 ? SIZE_MAX : 200))
                << kOpNames[static_cast<int>(op)] << " " << ei << " shift " << shift;
        }
    }
    EXPECT_GT(tested, 0);
}

std::vector<Op> allOps() {
    std::vector<Op> ops;
    for (int i = 0; i < ozl::arith::kOpCount; ++i) ops.push_back(static_cast<Op>(i));
    return ops;
}

INSTANTIATE_TEST_SUITE_P(
    Levels, RunKernel,
    testing::Combine(testing::ValuesIn(ozl::test::vectorLevels()), testing::ValuesIn(allOps())),
    [](const testing::TestParamInfo<std::tuple<Level, Op>>& info) {
        return std::string(ozl::cpu::name(std::get<0>(info.param))) + "_" +
               kOpNames[static_cast<int>(std::get<1>(info.param))];
    });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RunKernel);

// Runs of tens of megabytes take the streaming-store loop; checked against the
// expected values directly, since a scalar copy of such runs would be slow.
class LongRunKernel : public testing::TestWithParam<Level> {};

TEST_P(LongRunKernel, StreamedStoresGiveTheSameBytes) {
    const RunFn f = ozl::arith::kernelTable(GetParam())
                        .run[static_cast<int>(Op::XorS)][static_cast<int>(Elem::U8)];
    const size_t n = (size_t{16} << 20) + 37;  // past the streaming threshold
    std::vector<uint8_t> buf(n + 8);
    for (size_t i = 0; i < buf.size(); ++i) buf[i] = static_cast<uint8_t>(i * 7 + (i >> 12));
    const std::vector<uint8_t> before = buf;
    OpArgs args;
    args.value = 0x5A;
    // In place from an unaligned start: the head, the streamed body and the tail.
    f(buf.data() + 3, nullptr, buf.data() + 3, n, &args);
    for (size_t i = 0; i < buf.size(); ++i) {
        const bool inRun = i >= 3 && i < n + 3;
        ASSERT_EQ(buf[i], inRun ? before[i] ^ 0x5A : before[i]) << "byte " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, LongRunKernel, testing::ValuesIn(ozl::test::vectorLevels()),
                         ozl::test::levelName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LongRunKernel);

// Hand-computed values through every level, the scalar table included, so
// that the reference itself is checked where the public operations cannot
// reach: AndNot of every width, and constants that the entry points never
// pass on (the kernels must still agree with the exact result).
class KernelGolden : public testing::TestWithParam<Level> {};

TEST_P(KernelGolden, HandComputedValues) {
    const auto& t = ozl::arith::kernelTable(GetParam());
    auto check = [&](Op op, Elem e, auto a, auto b, int32_t value, auto expected) {
        using T = decltype(a);
        constexpr size_t n = 75;  // vector blocks and a partial tail at every level
        std::vector<T> va(n, a), vb(n, b), d(n, T(42));
        OpArgs args;
        args.value = value;
        t.run[static_cast<int>(op)][static_cast<int>(e)](va.data(), vb.data(), d.data(), n, &args);
        for (size_t i = 0; i < n; ++i)
            ASSERT_EQ(d[i], expected) << kOpNames[static_cast<int>(op)] << " at " << i;
    };
    check(Op::AndNot, Elem::U8, uint8_t{0xF0}, uint8_t{0x3C}, 0, uint8_t{0xC0});
    check(Op::AndNot, Elem::U16, uint16_t{0xFF00}, uint16_t{0x0FF0}, 0, uint16_t{0xF000});
    check(Op::AndNot, Elem::S32, int32_t{-1}, int32_t{1}, 0, int32_t{-2});
    check(Op::MulC, Elem::S8, int8_t{-1}, int8_t{0}, 200, int8_t{-128});
    check(Op::MulC, Elem::S8, int8_t{-1}, int8_t{0}, 128, int8_t{-128});
    check(Op::MulC, Elem::S16, int16_t{-1}, int16_t{0}, 32768, int16_t{-32768});
    check(Op::MulC, Elem::S16, int16_t{181}, int16_t{0}, 181, int16_t{32761});
    check(Op::MulC, Elem::U8, uint8_t{3}, uint8_t{0}, 1000, uint8_t{255});
    check(Op::RevSubC, Elem::S8, int8_t{-128}, int8_t{0}, 1000, int8_t{127});
    check(Op::RevSubC, Elem::U16, uint16_t{1}, uint16_t{0}, 70000, uint16_t{65535});
    check(Op::SubC, Elem::S32, int32_t{0}, int32_t{0}, INT32_MIN, int32_t{INT32_MAX});
    check(Op::Abs, Elem::S32, int32_t{INT32_MIN}, int32_t{0}, 0, int32_t{INT32_MAX});
    check(Op::Abs, Elem::S8, int8_t{-128}, int8_t{0}, 0, int8_t{127});
    check(Op::MulScaleC, Elem::U8, uint8_t{255}, uint8_t{0}, 1000, uint8_t{255});
}

INSTANTIATE_TEST_SUITE_P(Levels, KernelGolden, testing::ValuesIn(ozl::test::allLevels()),
                         ozl::test::levelName);

}  // namespace
