// Run and blend kernels of every vector level against the scalar table, bit for
// bit, over widths 0..100 and long runs, unaligned and in place; and the few
// values the public operations cannot reach at every level.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "arith/kernels.hpp"
#include "frame/cpu.hpp"

namespace ozl::cpu {
// Level parameters print as their names.
static void PrintTo(Level level, std::ostream* os) { *os << name(level); }
}  // namespace ozl::cpu

namespace {

using ozl::arith::Elem;
using ozl::arith::Op;
using ozl::arith::OpArgs;
using ozl::arith::RunFn;
using ozl::cpu::Level;

const char* const kOpNames[] = {"Add", "Sub", "Mul", "MulScale", "And", "Or", "Xor",
                                "AndNot", "AndS", "OrS", "XorS", "LShift", "RShift", "Set"};
const char* const kElemNames[] = {"U8", "S8", "U16", "S16", "S32", "F32"};

size_t sizeOf(Elem e) { return e == Elem::U8 || e == Elem::S8 ? 1 : e == Elem::U16 || e == Elem::S16 ? 2 : 4; }

// Sources an operation reads: 2, 1 (a only) or 0.
int arity(Op op) {
    return op == Op::Set ? 0 : op >= Op::AndS && op <= Op::RShift ? 1 : 2;
}

std::vector<Level> levels(bool withRef) {
    std::vector<Level> out;
    if (withRef) out.push_back(Level::Ref);
    for (Level l : {Level::Sse2, Level::Avx2})
        if (static_cast<int>(l) <= static_cast<int>(ozl::cpu::detected())) out.push_back(l);
    return out;
}

std::string levelName(const ::testing::TestParamInfo<Level>& info) { return ozl::cpu::name(info.param); }

// Base seed; OZL_KERNEL_SEED overrides it to explore other data.
uint32_t seedFor(uint32_t a, uint32_t b, Level level) {
    const char* s = std::getenv("OZL_KERNEL_SEED");
    return (s ? static_cast<uint32_t>(std::strtoul(s, nullptr, 0)) : 20240611u) ^ (a << 8) ^
           (b << 16) ^ (static_cast<uint32_t>(level) << 24);
}

std::vector<size_t> widths() {
    std::vector<size_t> w;
    for (size_t n = 0; n <= 100; ++n) w.push_back(n);
    for (size_t n : {127u, 128u, 129u, 1000u, 4099u}) w.push_back(n);
    return w;
}

size_t firstDifference(const std::vector<uint8_t>& x, const std::vector<uint8_t>& y) {
    size_t at = 0;
    while (at < x.size() && x[at] == y[at]) ++at;
    return at;
}

// Random values of the element type, about a third of them taken from the
// type's limits and the small values where saturation and sign matter. Floats
// stay clear of NaN, whose payload an operation may take from either operand.
template <class T>
void fillRandomOf(std::vector<uint8_t>& buf, std::mt19937& rng) {
    using L = std::numeric_limits<T>;
    std::vector<T> special;
    if constexpr (std::is_same_v<T, float>)
        special = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, L::max(), L::lowest(), L::denorm_min(), L::infinity()};
    else
        special = {L::min(), L::max(), T(L::min() + 1), T(L::max() - 1), 0, 1, T(-1), 2, 16};
    for (size_t i = 0; i + sizeof(T) <= buf.size(); i += sizeof(T)) {
        T v = special[rng() % special.size()];
        if (rng() % 3 != 0) {
            do {
                const uint32_t bits = rng();
                std::memcpy(&v, &bits, sizeof(T));
            } while (v != v);
        }
        std::memcpy(&buf[i], &v, sizeof(T));
    }
}

void fillRandom(std::vector<uint8_t>& buf, Elem e, std::mt19937& rng) {
    switch (e) {
        case Elem::U8: return fillRandomOf<uint8_t>(buf, rng);
        case Elem::S8: return fillRandomOf<int8_t>(buf, rng);
        case Elem::U16: return fillRandomOf<uint16_t>(buf, rng);
        case Elem::S16: return fillRandomOf<int16_t>(buf, rng);
        case Elem::S32: return fillRandomOf<int32_t>(buf, rng);
        default: return fillRandomOf<float>(buf, rng);
    }
}

// ---------------------------------------------------------------------------
// Run kernels: every (level, operation) over every element type, at offsets
// that misalign the operands, the destination its own or on top of a or b.
// Guard bytes around every array show writes outside [d, d + n).

class RunKernel : public ::testing::TestWithParam<std::tuple<Level, Op>> {};

TEST_P(RunKernel, MatchesScalarTableBitForBit) {
    const auto [level, op] = GetParam();
    const int nSrc = arity(op);
    constexpr size_t kGuard = 64;
    const size_t offsets[][3] = {{0, 0, 0}, {1, 2, 3}, {3, 1, 0}, {2, 3, 1}};
    int tested = 0;
    for (int ei = 0; ei < static_cast<int>(Elem::Count); ++ei) {
        const Elem e = static_cast<Elem>(ei);
        const RunFn fv = ozl::arith::tableFor(level).run[static_cast<int>(op)][ei];
        const RunFn fr = ozl::arith::refTable().run[static_cast<int>(op)][ei];
        if (!fr || fv == fr) continue;
        ++tested;
        const size_t es = sizeOf(e);
        const uint32_t seed = seedFor(static_cast<uint32_t>(op), ei, level);
        std::mt19937 rng(seed);
        // Shift counts below the width; right shifts of 8- and 16-bit values
        // also beyond it, where the promoted scalar form is still defined.
        int topShift = 1;
        if (op == Op::LShift || op == Op::RShift)
            topShift = static_cast<int>(es * 8) * (op == Op::RShift && es < 4 ? 2 : 1);
        for (int32_t shift = 0; shift < topShift; ++shift)
            for (size_t n : widths()) {
                if (n > 200 && shift % 7 != 0) continue;  // long runs add no new paths
                for (const auto& off : offsets)
                    for (int dest = 0; dest <= nSrc; ++dest) {  // 0: own buffer, 1: on a, 2: on b
                        OpArgs args;
                        args.shift = shift;
                        args.value = static_cast<int32_t>(rng());
                        if (rng() % 4 == 0) args.value = static_cast<int32_t>(rng() % 3) - 1;
                        std::vector<uint8_t> in[3];
                        for (auto& buf : in) {
                            buf.resize((n + 4) * es + 2 * kGuard);
                            fillRandom(buf, e, rng);
                        }
                        auto call = [&](RunFn f, std::vector<uint8_t>* r) {
                            uint8_t* p[3];
                            for (int i = 0; i < 3; ++i) p[i] = r[i].data() + kGuard + off[i] * es;
                            f(nSrc >= 1 ? p[0] : nullptr, nSrc >= 2 ? p[1] : nullptr,
                              dest ? p[dest - 1] : p[2], n, args);
                        };
                        std::vector<uint8_t> outV[3] = {in[0], in[1], in[2]};
                        std::vector<uint8_t> outR[3] = {in[0], in[1], in[2]};
                        call(fv, outV);
                        call(fr, outR);
                        const int d = dest ? dest - 1 : 2;
                        for (int i = 0; i < 3; ++i)
                            if (outV[i] != outR[i])
                                FAIL() << kOpNames[static_cast<int>(op)] << " " << kElemNames[ei]
                                       << ": n=" << n << " offsets=" << off[0] << "," << off[1]
                                       << "," << off[2] << " dest=" << dest << " value=" << args.value
                                       << " shift=" << shift << " seed=" << seed
                                       << " first differing byte of the destination buffer: "
                                       << firstDifference(outV[d], outR[d]);
                    }
            }
    }
    EXPECT_GT(tested, 0);  // every operation has a vector form on every vector level
}

INSTANTIATE_TEST_SUITE_P(
    Levels, RunKernel,
    ::testing::Combine(::testing::ValuesIn(levels(false)),
                       ::testing::Values(Op::Add, Op::Sub, Op::Mul, Op::MulScale, Op::And, Op::Or,
                                         Op::Xor, Op::AndNot, Op::AndS, Op::OrS, Op::XorS,
                                         Op::LShift, Op::RShift, Op::Set)),
    [](const ::testing::TestParamInfo<std::tuple<Level, Op>>& info) {
        return std::string(ozl::cpu::name(std::get<0>(info.param))) + "_" +
               kOpNames[static_cast<int>(std::get<1>(info.param))];
    });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RunKernel);

// Runs of tens of megabytes take the streaming-store loop; checked against the
// expected values directly, since a scalar copy of such runs would be slow.
class LongRunKernel : public ::testing::TestWithParam<Level> {};

TEST_P(LongRunKernel, StreamedStoresGiveTheSameBytes) {
    for (Op op : {Op::Set, Op::XorS}) {
        const RunFn f =
            ozl::arith::tableFor(GetParam()).run[static_cast<int>(op)][static_cast<int>(Elem::U8)];
        const size_t n = (size_t{16} << 20) + 37;  // past the streaming threshold
        std::vector<uint8_t> buf(n + 8);
        for (size_t i = 0; i < buf.size(); ++i) buf[i] = static_cast<uint8_t>(i * 7 + (i >> 12));
        const std::vector<uint8_t> before = buf;
        OpArgs args;
        args.value = 0x5A;
        // In place from an unaligned start: the head, the streamed body and the tail.
        f(op == Op::Set ? nullptr : buf.data() + 3, nullptr, buf.data() + 3, n, args);
        for (size_t i = 0; i < buf.size(); ++i) {
            const bool inRun = i >= 3 && i < n + 3;
            const uint8_t want = !inRun ? before[i] : op == Op::Set ? 0x5A : before[i] ^ 0x5A;
            if (buf[i] != want)
                FAIL() << kOpNames[static_cast<int>(op)] << " byte " << i << ": " << +buf[i]
                       << " != " << +want;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, LongRunKernel, ::testing::ValuesIn(levels(false)), levelName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LongRunKernel);

// ---------------------------------------------------------------------------
// Blend kernels: element sizes 1, 2, 4; 1 to 4 channels; every bit offset.

class BlendKernel : public ::testing::TestWithParam<std::tuple<Level, int>> {};

TEST_P(BlendKernel, MatchesScalarTableBitForBit) {
    const auto [level, sizeIndex] = GetParam();
    const auto fv = ozl::arith::tableFor(level).blend[sizeIndex];
    const auto fr = ozl::arith::refTable().blend[sizeIndex];
    ASSERT_NE(fv, fr);
    const size_t es = size_t{1} << sizeIndex;
    const uint32_t seed = seedFor(sizeIndex, 0, level);
    std::mt19937 rng(seed);
    constexpr size_t kGuard = 64;
    for (int nCh = 1; nCh <= 4; ++nCh)
        for (size_t nPix : widths())
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
                const size_t bytes = nPix * nCh * es + off * es + 2 * kGuard;
                std::vector<uint8_t> src(bytes), d(bytes);
                for (auto& x : src) x = static_cast<uint8_t>(rng());
                for (auto& x : d) x = static_cast<uint8_t>(rng());
                std::vector<uint8_t> dv = d, dr = d;
                const uint8_t* ps = src.data() + kGuard + off * es;
                fv(dv.data() + kGuard + off * es, ps, nPix, nCh, mask.data(), maskBit);
                fr(dr.data() + kGuard + off * es, ps, nPix, nCh, mask.data(), maskBit);
                if (dv != dr)
                    FAIL() << "blend of " << es << "-byte values: nCh=" << nCh << " nPix=" << nPix
                           << " maskBit=" << maskBit << " mask kind=" << kind << " offset=" << off
                           << " seed=" << seed << " first differing byte: " << firstDifference(dv, dr);
            }
}

INSTANTIATE_TEST_SUITE_P(Levels, BlendKernel,
                         ::testing::Combine(::testing::ValuesIn(levels(false)), ::testing::Values(0, 1, 2)),
                         [](const ::testing::TestParamInfo<std::tuple<Level, int>>& info) {
                             return std::string(ozl::cpu::name(std::get<0>(info.param))) + "_" +
                                    std::to_string(1 << std::get<1>(info.param)) + "byte";
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(BlendKernel);

// ---------------------------------------------------------------------------
// Through every level, the scalar table included: the 1-bit subtract's AndNot,
// which the public operations reach only on bytes, and the blend's selection.

class KernelGolden : public ::testing::TestWithParam<Level> {};

TEST_P(KernelGolden, AndNotOfEveryWidth) {
    const auto& t = ozl::arith::tableFor(GetParam());
    auto check = [&](auto a, auto b, auto expected, Elem e) {
        using T = decltype(a);
        constexpr size_t n = 75;  // vector blocks and a partial tail at every level
        std::vector<T> va(n, a), vb(n, b), d(n, T(42));
        t.run[static_cast<int>(Op::AndNot)][static_cast<int>(e)](va.data(), vb.data(), d.data(), n, OpArgs{});
        for (size_t i = 0; i < n; ++i) ASSERT_EQ(d[i], expected) << kElemNames[static_cast<int>(e)] << " at " << i;
    };
    check(uint8_t{0xF0}, uint8_t{0x3C}, uint8_t{0xC0}, Elem::U8);
    check(uint16_t{0xFF00}, uint16_t{0x0FF0}, uint16_t{0xF000}, Elem::U16);
    check(int32_t{-1}, int32_t{1}, int32_t{-2}, Elem::S32);
}

TEST_P(KernelGolden, BlendWritesSelectedPixelsOnly) {
    // 40 three-channel pixels; mask bits from bit 3 of the first byte: pixels
    // 0, 2 and 39 selected.
    const uint8_t mask[6] = {0x14, 0x00, 0x00, 0x00, 0x00, 0x20};
    std::vector<uint16_t> d(120, 7), src(120);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint16_t>(1000 + i);
    ozl::arith::tableFor(GetParam()).blend[1](d.data(), src.data(), 40, 3, mask, 3);
    for (size_t p = 0; p < 40; ++p)
        for (size_t c = 0; c < 3; ++c) {
            const bool selected = p == 0 || p == 2 || p == 39;
            EXPECT_EQ(d[p * 3 + c], selected ? 1000 + p * 3 + c : 7) << "pixel " << p;
        }
}

INSTANTIATE_TEST_SUITE_P(Levels, KernelGolden, ::testing::ValuesIn(levels(true)), levelName);

}  // namespace
