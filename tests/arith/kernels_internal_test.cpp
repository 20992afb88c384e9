// Arithmetic, comparison and compositing kernels of every vector level against
// the scalar table, bit for bit; streamed stores; hand-computed values.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "arith/compare_kernels.hpp"
#include "arith/composite_kernels.hpp"
#include "arith/kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::arith::CompareArgs;
using ozl::arith::Op;
using ozl::arith::OpArgs;
using ozl::arith::Rel;
using ozl::core::RowView;
using ozl::cpu::Level;
using ozl::image::Elem;

class RunKernel : public testing::TestWithParam<std::tuple<Level, int>> {};

TEST_P(RunKernel, MatchesScalarTableBitForBit) {
    const auto [level, opIndex] = GetParam();
    const Op op = static_cast<Op>(opIndex);
    int tested = 0;
    for (int ei = 0; ei < ozl::image::kElemCount; ++ei) {
        const auto fv = ozl::arith::kernelTable(level).run[opIndex][ei], fr = ozl::arith::kernelTable(Level::Ref).run[opIndex][ei];
        if (!fr) continue;
        ASSERT_NE(fv, fr) << "no vector form of op " << opIndex << " type " << ei;
        ++tested;
        const int bits = static_cast<int>(ozl::image::elemBytes(static_cast<Elem>(ei)) * 8);
        // Right shifts of 8- and 16-bit values also beyond the width, where the
        // promoted scalar form is still defined.
        const int topShift = op == Op::LShift ? bits - 1 : op == Op::RShift ? (bits < 32 ? 2 * bits - 1 : bits - 1) : 0;
        for (int shift = 0; shift <= topShift; ++shift) {
            OpArgs args;
            const auto makeArgs = [&](std::mt19937& rng) -> const void* {
                const int32_t pick[] = {0, 1, -1, 2, 127, 128, 129, -129, 255, 256, 300, -300,
                                        32767, 32768, -32769, 65535, 65536, INT32_MAX, INT32_MIN};
                args.shift = shift;
                args.value = rng() % 2 ? static_cast<int32_t>(rng()) : pick[rng() % 19];
                args.real = static_cast<float>(static_cast<int32_t>(rng())) / 65536.0f;
                return &args;
            };
            const ozl::test::RunShape shape{ozl::arith::arity(op), static_cast<Elem>(ei), static_cast<Elem>(ei), true};
            const uint32_t seed = 20240611u ^ (opIndex << 8) ^ (ei << 16) ^ (shift << 24);
            EXPECT_TRUE(ozl::test::sameRuns(fv, fr, shape, makeArgs, seed, shift < 3 ? SIZE_MAX : 200))
                << "op " << opIndex << " type " << ei << " shift " << shift;
        }
    }
    EXPECT_GT(tested, 0);
}
INSTANTIATE_TEST_SUITE_P(Levels, RunKernel,
                         testing::Combine(testing::ValuesIn(ozl::test::vectorLevels()), testing::Range(0, ozl::arith::kOpCount)));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RunKernel);

class LevelKernel : public testing::TestWithParam<Level> {};

// Runs past the streaming threshold, in place from an unaligned start: the
// head, the streamed body and the tail (the reference, with no streaming, as
// the baseline row).
TEST_P(LevelKernel, StreamedStoresGiveTheSameBytes) {
    const auto f = ozl::arith::kernelTable(GetParam()).run[static_cast<int>(Op::XorS)][static_cast<int>(Elem::U8)];
    const size_t n = (size_t{16} << 20) + 37;
    std::vector<uint8_t> buf(n + 8);
    for (size_t i = 0; i < buf.size(); ++i) buf[i] = static_cast<uint8_t>(i * 7 + (i >> 12));
    const std::vector<uint8_t> before = buf;
    OpArgs args;
    args.value = 0x5A;
    f(buf.data() + 3, nullptr, buf.data() + 3, n, &args);
    for (size_t i = 0; i < buf.size(); ++i) ASSERT_EQ(buf[i], i >= 3 && i < n + 3 ? before[i] ^ 0x5A : before[i]) << "byte " << i;
}

// The reference itself where the public operations cannot reach: AndNot of
// every width, and constants the entry points never pass on.
TEST_P(LevelKernel, HandComputedValues) {
    const auto& t = ozl::arith::kernelTable(GetParam());
    auto check = [&](Op op, Elem e, auto a, auto b, int32_t value, auto expected) {
        using T = decltype(a);
        constexpr size_t n = 75;  // vector blocks and a partial tail at every level
        std::vector<T> va(n, a), vb(n, b), d(n, T(42));
        OpArgs args;
        args.value = value;
        t.run[static_cast<int>(op)][static_cast<int>(e)](va.data(), vb.data(), d.data(), n, &args);
        for (size_t i = 0; i < n; ++i) ASSERT_EQ(d[i], expected) << "op " << static_cast<int>(op) << " at " << i;
    };
    check(Op::AndNot, Elem::U8, uint8_t{0xF0}, uint8_t{0x3C}, 0, uint8_t{0xC0});
    check(Op::AndNot, Elem::U16, uint16_t{0xFF00}, uint16_t{0x0FF0}, 0, uint16_t{0xF000});
    check(Op::AndNot, Elem::S32, int32_t{-1}, int32_t{1}, 0, int32_t{-2});
    check(Op::MulC, Elem::S8, int8_t{-1}, int8_t{0}, 200, int8_t{-128});
    check(Op::MulC, Elem::S16, int16_t{-1}, int16_t{0}, 32768, int16_t{-32768});
    check(Op::MulC, Elem::U8, uint8_t{3}, uint8_t{0}, 1000, uint8_t{255});
    check(Op::RevSubC, Elem::S8, int8_t{-128}, int8_t{0}, 1000, int8_t{127});
    check(Op::SubC, Elem::S32, int32_t{0}, int32_t{0}, INT32_MIN, int32_t{INT32_MAX});
    check(Op::Abs, Elem::S32, int32_t{INT32_MIN}, int32_t{0}, 0, int32_t{INT32_MAX});
}
INSTANTIATE_TEST_SUITE_P(Levels, LevelKernel, testing::ValuesIn(ozl::test::allLevels()), ozl::test::levelName);

const float kNaN = std::numeric_limits<float>::quiet_NaN();
size_t sizeOf(int type) { return type == ozl::arith::kBitsIndex ? 1 : ozl::image::elemBytes(static_cast<Elem>(type)); }

// The constant of a call within the type's range (the entry point settles
// the others): a value of the row, a limit or any value.
CompareArgs argsFor(int type, const std::vector<uint8_t>& a, std::mt19937& rng) {
    CompareArgs args;
    const float eps[] = {0.5f, 1.0f, 1e-30f, 3e38f, std::numeric_limits<float>::denorm_min()};
    args.eps = eps[rng() % 5];
    args.stream = rng() % 2;  // streamed result stores give the same bits
    if (type == ozl::arith::kBitsIndex) return args.value = static_cast<int32_t>(rng() % 2), args;
    const auto& info = ozl::image::kDepths[type + 1];
    const int shift = 64 - 8 * static_cast<int>(sizeOf(type));
    uint64_t bits = 0;
    std::memcpy(&bits, &a[(rng() % (a.size() / 8)) * sizeOf(type)], sizeOf(type));
    const int64_t v = info.isSigned ? static_cast<int64_t>(bits << shift) >> shift : static_cast<int64_t>(bits);
    const int64_t pick[] = {v, v, info.lo, info.hi, info.lo + static_cast<int64_t>(rng() % (info.hi - info.lo + 1))};
    args.value = static_cast<int32_t>(pick[rng() % 5]);
    std::vector<uint8_t> real(4);
    ozl::test::fillValues(real, Elem::F32, rng);
    std::memcpy(&args.real, rng() % 2 ? real.data() : reinterpret_cast<const uint8_t*>(&bits), 4);
    if (rng() % 8 == 0) args.real = kNaN;
    return args;
}

// A row of `width` pixels: each channel a run of its own (packed, as planes)
// or the channels side by side.
RowView rowIn(std::vector<uint8_t>& buf, size_t offset, int type, int channels, bool packed, size_t width) {
    RowView r;
    r.data = reinterpret_cast<char*>(buf.data() + offset);
    r.channels = channels;
    const ptrdiff_t size = type == ozl::arith::kBitsIndex ? 0 : static_cast<ptrdiff_t>(sizeOf(type));
    r.pixelStep = packed ? size : size * channels;
    r.channelStep = packed ? size * static_cast<ptrdiff_t>(width + 3) : size;
    return r;
}

class CompareKernel : public testing::TestWithParam<std::tuple<Level, Rel>> {};

// Every value type and form, one to four channels packed or interleaved, every
// run width, some over two rows (a row's remainder after its blocks taken
// from the wrong row), misaligned rows, 1-bit sources at every bit offset;
// second operands often equal to the first, floats with NaN.
TEST_P(CompareKernel, MatchesScalarTableBitForBit) {
    const auto [level, rel] = GetParam();
    const int r = static_cast<int>(rel);
    for (int type = 0; type < ozl::arith::kSourceTypes; ++type) {
        if (!ozl::arith::hasCompareKernel(rel, type)) continue;
        const bool bits = type == ozl::arith::kBitsIndex;
        const Elem fillAs = bits ? Elem::U8 : static_cast<Elem>(type);
        const size_t size = sizeOf(type);
        for (int form = 0; form < ozl::arith::kFormCount; ++form) {
            const auto fv = ozl::arith::compareTable(level).compare[r][type][form].rows;
            const auto fr = ozl::arith::compareTable(Level::Ref).compare[r][type][form].rows;
            ASSERT_TRUE(fv && fr);
            if (!bits) ASSERT_NE(fv, fr) << "no vector form of type " << type;
            std::mt19937 rng(9173u ^ (type << 8) ^ (form << 12) ^ (r << 16));
            for (size_t width : ozl::test::runWidths())
                for (int channels = 1; channels <= (bits ? 1 : 4); ++channels)
                    for (bool packed : {true, false}) {
                        if ((bits && !packed) || (width > 200 && channels % 2 == 0)) continue;
                        const size_t bytes = (bits ? width / 8 + 2 : (width + 3) * channels * size) + 8;
                        const size_t rows = width % 4 == 3 ? 2 : 1, outStep = (width + 7) / 8 + 5;
                        ptrdiff_t steps[ozl::core::kDstOperand + 1] = {ptrdiff_t(bytes), ptrdiff_t(bytes)};
                        steps[ozl::core::kDstOperand] = ptrdiff_t(outStep);
                        std::vector<uint8_t> a(bytes * rows), b(bytes * rows);
                        ozl::test::fillValues(a, fillAs, rng);
                        ozl::test::fillValues(b, fillAs, rng);
                        for (size_t i = 0; !bits && i + size <= b.size(); i += size) {
                            if (rng() % 2) std::memcpy(&b[i], &a[i], size);
                            if (fillAs == Elem::F32 && rng() % 16 == 0) std::memcpy(rng() % 2 ? &a[i] : &b[i], &kNaN, 4);
                        }
                        RowView src[ozl::core::kMaxSources];
                        src[0] = rowIn(a, rng() % 4, type, channels, packed, width);
                        src[1] = rowIn(b, rng() % 4, type, channels, packed, width);
                        if (bits) src[0].bit = static_cast<int>(rng() % 8), src[1].bit = static_cast<int>(rng() % 8);
                        const CompareArgs args = argsFor(type, a, rng);
                        std::vector<uint8_t> outV(outStep * rows + 32, 0xA5), outR = outV;
                        RowView dv, dr;
                        dv.data = reinterpret_cast<char*>(outV.data() + 16);
                        dr.data = reinterpret_cast<char*>(outR.data() + 16);
                        fv(src, dv, width, rows, steps, &args);
                        fr(src, dr, width, rows, steps, &args);
                        ASSERT_EQ(outV, outR) << "rel " << r << " type " << type << " form " << form << " width " << width
                                              << " channels " << channels << (packed ? " packed" : " interleaved");
                    }
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Levels, CompareKernel,
                         testing::Combine(testing::ValuesIn(ozl::test::vectorLevels()),
                                          testing::Values(Rel::Less, Rel::Greater, Rel::Equal, Rel::EqualEps)));

class RangeKernel : public testing::TestWithParam<Level> {};

// Random values; signed zeros and NaN only; NaN only; random with specials.
TEST_P(RangeKernel, MatchesScalarFormWhateverTheOrder) {
    const auto fv = ozl::arith::compareTable(GetParam()).range, fr = ozl::arith::compareTable(Level::Ref).range;
    ASSERT_NE(fv, fr);
    std::mt19937 rng(77);
    const float inf = std::numeric_limits<float>::infinity(), special[] = {0.0f, -0.0f, kNaN, inf, -inf, 1.0f, -1.0f};
    for (size_t n : ozl::test::runWidths())
        for (int mix = 0; mix < 4; ++mix) {
            std::vector<uint8_t> buf(n * 4 + 8);
            ozl::test::fillValues(buf, Elem::F32, rng);
            for (size_t i = 0; mix && i + 4 <= buf.size(); i += 4)
                if (mix < 3 || rng() % 4 == 0) std::memcpy(&buf[i], &special[mix == 1 ? rng() % 3 : mix == 2 ? 2 : rng() % 7], 4);
            const auto* p = reinterpret_cast<const float*>(buf.data() + rng() % 4);
            float loV = inf, hiV = -inf, loR = inf, hiR = -inf;
            fv(p, n, &loV, &hiV);
            fr(p, n, &loR, &hiR);
            ASSERT_EQ(std::memcmp(&loV, &loR, 4), 0) << "n " << n << " mix " << mix << " " << loV << " " << loR;
            ASSERT_EQ(std::memcmp(&hiV, &hiR, 4), 0) << "n " << n << " mix " << mix << " " << hiV << " " << hiR;
        }
}
INSTANTIATE_TEST_SUITE_P(Levels, RangeKernel, testing::ValuesIn(ozl::test::vectorLevels()), ozl::test::levelName);

class CompositeKernel : public testing::TestWithParam<ozl::cpu::Level> {};

TEST_P(CompositeKernel, EveryOperatorMatchesTheScalarForm) {
    std::mt19937 rng(11);
    for (int depth = 0; depth < 2; ++depth) {
        const size_t size = depth ? 2 : 1;
        const auto vec = ozl::arith::kernelTable(GetParam()).composite[depth];
        const auto ref = ozl::arith::kernelTable(ozl::cpu::Level::Ref).composite[depth];
        ASSERT_NE(vec, ref);
        for (int op = 0; op < ozl::arith::kOperatorCount; ++op)
            for (size_t width : ozl::test::runWidths()) {
                if (width > 200 && op % 4 != 0) continue;
                ozl::arith::CompositeArgs args;
                args.op = op;
                args.colours = 3;
                args.writeAlpha = true;
                args.alpha[0] = args.alpha[1] = ozl::arith::AlphaFrom{ozl::arith::AlphaFrom::Channel, 3, 0, 0};
                args.stream = rng() % 2;
                args.premultiplied = rng() % 8 != 0;  // the scalar form behind the vector one
                const int inPlace = static_cast<int>(rng() % 3);  // 0: apart, 1: on A, 2: on B
                std::vector<uint8_t> in[3];
                for (auto& b : in) {
                    b.resize(width * 4 * size + 64);
                    for (auto& v : b) v = rng() % 5 == 0 ? (rng() % 2 ? 0xFF : 0) : static_cast<uint8_t>(rng());
                }
                auto run = [&](ozl::core::PixelFn fn) {
                    std::vector<uint8_t> out[3] = {in[0], in[1], in[2]};
                    RowView rows[3];
                    for (int i = 0; i < 3; ++i) {
                        rows[i].data = reinterpret_cast<char*>(out[i].data()) + 1 + i * size;  // unaligned
                        rows[i].pixelStep = static_cast<ptrdiff_t>(4 * size);
                        rows[i].channelStep = static_cast<ptrdiff_t>(size);
                        rows[i].channels = 4;
                    }
                    fn(rows, inPlace ? rows[inPlace - 1] : rows[2], width, &args);
                    return out[inPlace ? inPlace - 1 : 2];
                };
                ASSERT_EQ(run(vec), run(ref)) << "depth " << depth << " op " << op << " width " << width;
            }
    }
}
INSTANTIATE_TEST_SUITE_P(Levels, CompositeKernel, testing::ValuesIn(ozl::test::vectorLevels()), ozl::test::levelName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CompositeKernel);

}  // namespace
