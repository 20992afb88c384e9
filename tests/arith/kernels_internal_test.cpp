// Run and blend kernels of every instruction-set level against the scalar table,
// bit for bit, and hand-computed values through every level.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <ostream>
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

using ozl::arith::BlendFn;
using ozl::arith::Elem;
using ozl::arith::KernelTable;
using ozl::arith::Op;
using ozl::arith::OpArgs;
using ozl::arith::RunFn;
using ozl::cpu::Level;

constexpr Op kOps[] = {Op::Add, Op::Sub, Op::Mul, Op::MulScale, Op::And, Op::Or, Op::Xor,
                       Op::AndNot, Op::AndS, Op::OrS, Op::XorS, Op::LShift, Op::RShift, Op::Set};
constexpr Elem kElems[] = {Elem::U8, Elem::S8, Elem::U16, Elem::S16, Elem::S32, Elem::F32};
const char* const kOpNames[] = {"Add", "Sub", "Mul", "MulScale", "And", "Or", "Xor",
                                "AndNot", "AndS", "OrS", "XorS", "LShift", "RShift", "Set"};
const char* const kElemNames[] = {"U8", "S8", "U16", "S16", "S32", "F32"};

size_t sizeOf(Elem e) {
    return e == Elem::U8 || e == Elem::S8 ? 1 : e == Elem::U16 || e == Elem::S16 ? 2 : 4;
}

// Sources an operation reads: 2, 1 (a only) or 0.
int arity(Op op) {
    switch (op) {
        case Op::AndS: case Op::OrS: case Op::XorS: case Op::LShift: case Op::RShift: return 1;
        case Op::Set: return 0;
        default: return 2;
    }
}

std::vector<Level> vectorLevels() {
    std::vector<Level> levels;
    for (Level l : {Level::Sse2, Level::Avx2})
        if (static_cast<int>(l) <= static_cast<int>(ozl::cpu::detected())) levels.push_back(l);
    return levels;
}

std::vector<Level> allLevels() {
    std::vector<Level> levels{Level::Ref};
    for (Level l : vectorLevels()) levels.push_back(l);
    return levels;
}

// Base seed; OZL_KERNEL_SEED overrides it to explore other data.
uint32_t baseSeed() {
    const char* s = std::getenv("OZL_KERNEL_SEED");
    return s ? static_cast<uint32_t>(std::strtoul(s, nullptr, 0)) : 20240611u;
}

// Random values of the element type, about a third of them taken from the
// type's limits and the small values where saturation and sign matter. Floats
// stay clear of NaN, whose payload an operation may take from either operand.
template <class T>
T randomValue(std::mt19937& rng) {
    if constexpr (std::is_same_v<T, float>) {
        static const float special[] = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f,
                                        std::numeric_limits<float>::max(),
                                        -std::numeric_limits<float>::max(),
                                        std::numeric_limits<float>::denorm_min(),
                                        std::numeric_limits<float>::infinity()};
        if (rng() % 3 == 0) return special[rng() % (sizeof(special) / sizeof(float))];
        float f;
        do {
            const uint32_t bits = rng();
            std::memcpy(&f, &bits, 4);
        } while (std::isnan(f));
        return f;
    } else {
        const T special[] = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(),
                             static_cast<T>(std::numeric_limits<T>::min() + 1),
                             static_cast<T>(std::numeric_limits<T>::max() - 1),
                             T(0), T(1), static_cast<T>(-1), T(2), T(16)};
        if (rng() % 3 == 0) return special[rng() % (sizeof(special) / sizeof(T))];
        return static_cast<T>(rng());
    }
}

void fillRandom(std::vector<uint8_t>& buf, Elem e, std::mt19937& rng) {
    auto fill = [&](auto tag) {
        using T = decltype(tag);
        for (size_t i = 0; i + sizeof(T) <= buf.size(); i += sizeof(T)) {
            const T v = randomValue<T>(rng);
            std::memcpy(&buf[i], &v, sizeof(T));
        }
    };
    switch (e) {
        case Elem::U8: fill(uint8_t{}); break;
        case Elem::S8: fill(int8_t{}); break;
        case Elem::U16: fill(uint16_t{}); break;
        case Elem::S16: fill(int16_t{}); break;
        case Elem::S32: fill(int32_t{}); break;
        default: fill(float{}); break;
    }
}

// Where the destination lives: its own buffer, or on top of a or b.
enum class Dest { Own, OnA, OnB };

std::vector<size_t> widths() {
    std::vector<size_t> w;
    for (size_t n = 0; n <= 100; ++n) w.push_back(n);
    for (size_t n : {127u, 128u, 129u, 1000u, 4099u}) w.push_back(n);
    return w;
}

// ---------------------------------------------------------------------------
// Run kernels: every (level, operation) over every element type.

class RunKernel : public ::testing::TestWithParam<std::tuple<Level, Op>> {};

// Buffers of a run with guard bytes around every array, so that a write outside
// [d, d + n) shows up as a difference from the reference.
struct RunBuffers {
    static constexpr size_t kGuard = 64;
    std::vector<uint8_t> a, b, d;
};

TEST_P(RunKernel, MatchesScalarTableBitForBit) {
    const auto [level, op] = GetParam();
    const KernelTable& vec = ozl::arith::tableFor(level);
    const KernelTable& ref = ozl::arith::refTable();
    const int nSrc = arity(op);
    int tested = 0;
    for (Elem e : kElems) {
        const RunFn fv = vec.run[static_cast<int>(op)][static_cast<int>(e)];
        const RunFn fr = ref.run[static_cast<int>(op)][static_cast<int>(e)];
        if (!fr || fv == fr) continue;
        ++tested;
        const size_t es = sizeOf(e);
        const uint32_t seed = baseSeed() ^ (static_cast<uint32_t>(op) << 8) ^
                              (static_cast<uint32_t>(e) << 16) ^
                              (static_cast<uint32_t>(level) << 24);
        std::mt19937 rng(seed);

        // Shift counts below the width; right shifts of 8- and 16-bit values
        // also beyond it, where the promoted scalar form is still defined.
        std::vector<int32_t> shifts{0};
        if (op == Op::LShift || op == Op::RShift) {
            const int bits = static_cast<int>(es * 8);
            const int top = op == Op::RShift && es < 4 ? 2 * bits : bits;
            for (int s = 1; s < top; ++s) shifts.push_back(s);
        }
        const size_t offsets[][3] = {{0, 0, 0}, {1, 2, 3}, {3, 1, 0}, {2, 3, 1}};
        std::vector<Dest> dests{Dest::Own};
        if (nSrc >= 1) dests.push_back(Dest::OnA);
        if (nSrc >= 2) dests.push_back(Dest::OnB);

        for (int32_t shift : shifts) {
            for (size_t n : widths()) {
                // Long runs with fewer combinations: they add no new paths.
                if (n > 200 && shift % 7 != 0) continue;
                for (const auto& off : offsets) {
                    for (Dest dest : dests) {
                        OpArgs args;
                        args.shift = shift;
                        args.value = static_cast<int32_t>(rng());
                        if (rng() % 4 == 0) args.value = static_cast<int32_t>(rng() % 3) - 1;
                        RunBuffers in;
                        const size_t bytes = (n + 4) * es + 2 * RunBuffers::kGuard;
                        for (auto* buf : {&in.a, &in.b, &in.d}) {
                            buf->resize(bytes);
                            fillRandom(*buf, e, rng);
                        }
                        RunBuffers outV = in, outR = in;
                        auto call = [&](RunFn f, RunBuffers& r) {
                            uint8_t* pa = r.a.data() + RunBuffers::kGuard + off[0] * es;
                            uint8_t* pb = r.b.data() + RunBuffers::kGuard + off[1] * es;
                            uint8_t* pd = dest == Dest::OnA   ? pa
                                          : dest == Dest::OnB ? pb
                                              : r.d.data() + RunBuffers::kGuard + off[2] * es;
                            f(nSrc >= 1 ? pa : nullptr, nSrc >= 2 ? pb : nullptr, pd, n, args);
                        };
                        call(fv, outV);
                        call(fr, outR);
                        if (outV.a != outR.a || outV.b != outR.b || outV.d != outR.d) {
                            const std::vector<uint8_t>& gv = dest == Dest::OnA   ? outV.a
                                                             : dest == Dest::OnB ? outV.b
                                                                                 : outV.d;
                            const std::vector<uint8_t>& gr = dest == Dest::OnA   ? outR.a
                                                             : dest == Dest::OnB ? outR.b
                                                                                 : outR.d;
                            size_t at = 0;
                            while (at < gv.size() && gv[at] == gr[at]) ++at;
                            FAIL() << ozl::cpu::name(level) << " " << kOpNames[static_cast<int>(op)]
                                   << " " << kElemNames[static_cast<int>(e)] << ": n=" << n
                                   << " offsets=" << off[0] << "," << off[1] << "," << off[2]
                                   << " dest=" << static_cast<int>(dest) << " value=" << args.value
                                   << " shift=" << shift << " seed=" << seed
                                   << " first differing byte of the destination buffer: " << at;
                        }
                    }
                }
            }
        }
    }
    // Every operation has a vector form on every vector level.
    EXPECT_GT(tested, 0);
}

std::string runName(const ::testing::TestParamInfo<std::tuple<Level, Op>>& info) {
    return std::string(ozl::cpu::name(std::get<0>(info.param))) + "_" +
           kOpNames[static_cast<int>(std::get<1>(info.param))];
}

INSTANTIATE_TEST_SUITE_P(Levels, RunKernel,
                         ::testing::Combine(::testing::ValuesIn(vectorLevels()),
                                            ::testing::ValuesIn(kOps)),
                         runName);
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

INSTANTIATE_TEST_SUITE_P(Levels, LongRunKernel, ::testing::ValuesIn(vectorLevels()),
                         [](const ::testing::TestParamInfo<Level>& info) {
                             return std::string(ozl::cpu::name(info.param));
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LongRunKernel);

// ---------------------------------------------------------------------------
// Blend kernels: element sizes 1, 2, 4; 1 to 4 channels; every bit offset.

class BlendKernel : public ::testing::TestWithParam<std::tuple<Level, int>> {};

TEST_P(BlendKernel, MatchesScalarTableBitForBit) {
    const auto [level, sizeIndex] = GetParam();
    const BlendFn fv = ozl::arith::tableFor(level).blend[sizeIndex];
    const BlendFn fr = ozl::arith::refTable().blend[sizeIndex];
    ASSERT_NE(fv, fr);
    const size_t es = size_t{1} << sizeIndex;
    const uint32_t seed = baseSeed() ^ (static_cast<uint32_t>(sizeIndex) << 8) ^
                          (static_cast<uint32_t>(level) << 24);
    std::mt19937 rng(seed);
    constexpr size_t kGuard = 64;
    for (int nCh = 1; nCh <= 4; ++nCh) {
        for (size_t nPix : widths()) {
            for (int maskBit = 0; maskBit < 8; ++maskBit) {
                // Mask kinds: random, sparse, dense, long runs, all clear, all set.
                const int kind = static_cast<int>(rng() % 6);
                const size_t off = rng() % 4;
                // Exactly the bytes the mask needs, so that reading further is caught
                // by the sanitizers.
                std::vector<uint8_t> mask((maskBit + nPix + 7) / 8);
                bool on = false;
                for (auto& m : mask) {
                    switch (kind) {
                        case 0: m = static_cast<uint8_t>(rng()); break;
                        case 1: m = static_cast<uint8_t>(rng() & rng() & rng()); break;
                        case 2: m = static_cast<uint8_t>(rng() | rng() | rng()); break;
                        case 3: if (rng() % 5 == 0) on = !on; m = on ? 0xFF : 0x00; break;
                        case 4: m = 0x00; break;
                        default: m = 0xFF; break;
                    }
                }
                const size_t bytes = nPix * nCh * es + off * es + 2 * kGuard;
                std::vector<uint8_t> src(bytes), d(bytes);
                for (auto& x : src) x = static_cast<uint8_t>(rng());
                for (auto& x : d) x = static_cast<uint8_t>(rng());
                std::vector<uint8_t> dv = d, dr = d;
                const uint8_t* ps = src.data() + kGuard + off * es;
                fv(dv.data() + kGuard + off * es, ps, nPix, nCh, mask.data(), maskBit);
                fr(dr.data() + kGuard + off * es, ps, nPix, nCh, mask.data(), maskBit);
                if (dv != dr) {
                    size_t at = 0;
                    while (dv[at] == dr[at]) ++at;
                    FAIL() << ozl::cpu::name(level) << " blend of " << es << "-byte values: nCh="
                           << nCh << " nPix=" << nPix << " maskBit=" << maskBit
                           << " mask kind=" << kind << " offset=" << off << " seed=" << seed
                           << " first differing byte: " << at;
                }
            }
        }
    }
}

std::string blendName(const ::testing::TestParamInfo<std::tuple<Level, int>>& info) {
    return std::string(ozl::cpu::name(std::get<0>(info.param))) + "_" +
           std::to_string(1 << std::get<1>(info.param)) + "byte";
}

INSTANTIATE_TEST_SUITE_P(Levels, BlendKernel,
                         ::testing::Combine(::testing::ValuesIn(vectorLevels()),
                                            ::testing::Values(0, 1, 2)),
                         blendName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(BlendKernel);

// ---------------------------------------------------------------------------
// Hand-computed values through every level, the scalar table included. Each
// case fills a run long enough for vector blocks and a tail with one pair.

struct Golden {
    Op op;
    Elem elem;
    double a, b;
    double expected;
    int32_t value = 0;
    int32_t shift = 0;
};

std::ostream& operator<<(std::ostream& os, const Golden& g) {
    return os << kOpNames[static_cast<int>(g.op)] << " " << kElemNames[static_cast<int>(g.elem)]
              << "(" << g.a << ", " << g.b << ", value " << g.value << ", shift " << g.shift
              << ") = " << g.expected;
}

constexpr double kMax32 = 2147483647.0, kMin32 = -2147483648.0;

const Golden kGoldens[] = {
    // Saturating arithmetic.
    {Op::Add, Elem::U8, 200, 100, 255},
    {Op::Sub, Elem::U8, 100, 200, 0},
    {Op::Mul, Elem::U8, 20, 20, 255},
    {Op::Mul, Elem::U8, 200, 200, 255},
    {Op::Mul, Elem::U8, 15, 17, 255},
    {Op::Mul, Elem::U8, 3, 5, 15},
    {Op::Add, Elem::S8, 100, 100, 127},
    {Op::Sub, Elem::S8, -100, 100, -128},
    {Op::Mul, Elem::S8, -128, -1, 127},
    {Op::Mul, Elem::S8, -3, 1, -3},
    {Op::Mul, Elem::S8, 12, -11, -128},
    {Op::Add, Elem::U16, 60000, 10000, 65535},
    {Op::Sub, Elem::U16, 1, 2, 0},
    {Op::Mul, Elem::U16, 300, 300, 65535},
    {Op::Mul, Elem::U16, 256, 255, 65280},
    {Op::Mul, Elem::U16, 256, 256, 65535},
    {Op::Add, Elem::S16, -32768, -1, -32768},
    {Op::Mul, Elem::S16, -32768, -1, 32767},
    {Op::Mul, Elem::S16, 200, -200, -32768},
    {Op::Mul, Elem::S16, -3, 7, -21},
    {Op::Add, Elem::S32, kMax32, 1, kMax32},
    {Op::Add, Elem::S32, kMin32, -1, kMin32},
    {Op::Add, Elem::S32, kMax32, kMin32, -1},
    {Op::Sub, Elem::S32, kMin32, 1, kMin32},
    {Op::Sub, Elem::S32, 0, kMin32, kMax32},
    {Op::Sub, Elem::S32, -1, kMin32, kMax32},
    {Op::Mul, Elem::S32, 65536, 65536, kMax32},
    {Op::Mul, Elem::S32, -65536, 65536, kMin32},
    {Op::Mul, Elem::S32, 46341, 46341, kMax32},
    {Op::Mul, Elem::S32, 46340, 46340, 2147395600},
    {Op::Mul, Elem::S32, kMin32, -1, kMax32},
    {Op::Mul, Elem::S32, -3, 1, -3},
    {Op::Add, Elem::F32, 1.5, 2.25, 3.75},
    {Op::Sub, Elem::F32, 1, 3, -2},
    {Op::Mul, Elem::F32, 3, -0.5, -1.5},
    // Rounded products scaled by the maximum.
    {Op::MulScale, Elem::U8, 255, 128, 128},
    {Op::MulScale, Elem::U8, 255, 255, 255},
    {Op::MulScale, Elem::U8, 255, 1, 1},
    {Op::MulScale, Elem::U8, 0, 200, 0},
    {Op::MulScale, Elem::U8, 128, 128, 64},
    {Op::MulScale, Elem::U16, 65535, 65535, 65535},
    {Op::MulScale, Elem::U16, 65535, 1, 1},
    {Op::MulScale, Elem::U16, 32768, 32768, 16384},
    {Op::MulScale, Elem::U16, 65535, 32768, 32768},
    // Bitwise, with images and constants.
    {Op::And, Elem::U8, 0xF0, 0x3C, 0x30},
    {Op::Or, Elem::U8, 0xF0, 0x3C, 0xFC},
    {Op::Xor, Elem::U8, 0xF0, 0x3C, 0xCC},
    {Op::AndNot, Elem::U8, 0xF0, 0x3C, 0xC0},
    {Op::AndNot, Elem::U16, 0xFF00, 0x0FF0, 0xF000},
    {Op::AndNot, Elem::S32, -1, 1, -2},
    {Op::AndS, Elem::U8, 0xAB, 0, 0x0B, 0x0F},
    {Op::OrS, Elem::U16, 0x8001, 0, 0x80F1, 0x00F0},
    {Op::XorS, Elem::S32, 5, 0, -6, -1},
    // Shifts: left drops bits, right is logical or arithmetic by the type.
    {Op::LShift, Elem::U8, 0x81, 0, 0x02, 0, 1},
    {Op::LShift, Elem::U16, 0x8001, 0, 0x0010, 0, 4},
    {Op::LShift, Elem::S32, -1, 0, kMin32, 0, 31},
    {Op::RShift, Elem::U8, 0x80, 0, 1, 0, 7},
    {Op::RShift, Elem::U8, 0xFF, 0, 0x0F, 0, 4},
    {Op::RShift, Elem::S8, -128, 0, -1, 0, 7},
    {Op::RShift, Elem::S8, -5, 0, -3, 0, 1},
    {Op::RShift, Elem::S8, 127, 0, 0, 0, 7},
    {Op::RShift, Elem::U16, 0x8000, 0, 1, 0, 15},
    {Op::RShift, Elem::S16, -32768, 0, -1, 0, 15},
    {Op::RShift, Elem::S16, -32768, 0, -16384, 0, 1},
    {Op::RShift, Elem::S32, kMin32, 0, -1, 0, 31},
    {Op::RShift, Elem::S32, -7, 0, -4, 0, 1},
    // Fill with the constant's element bits.
    {Op::Set, Elem::U8, 0, 0, 0x7F, 0x7F},
    {Op::Set, Elem::U16, 0, 0, 0xBEEF, 0xBEEF},
    {Op::Set, Elem::S32, 0, 0, -5, -5},
};

template <class T>
void checkGolden(const RunFn f, const Golden& g) {
    constexpr size_t n = 75;  // vector blocks and a partial tail at every level
    std::vector<T> a(n, static_cast<T>(g.a)), b(n, static_cast<T>(g.b)), d(n, T(42));
    OpArgs args;
    args.value = g.value;
    args.shift = g.shift;
    f(a.data(), b.data(), d.data(), n, args);
    for (size_t i = 0; i < n; ++i) {
        if (d[i] != static_cast<T>(g.expected)) {
            ADD_FAILURE() << g << ": got " << +d[i] << " at " << i;
            return;
        }
    }
}

class KernelGolden : public ::testing::TestWithParam<Level> {};

TEST_P(KernelGolden, HandComputedValues) {
    const KernelTable& t = ozl::arith::tableFor(GetParam());
    for (const Golden& g : kGoldens) {
        const RunFn f = t.run[static_cast<int>(g.op)][static_cast<int>(g.elem)];
        ASSERT_NE(f, nullptr) << g;
        switch (g.elem) {
            case Elem::U8: checkGolden<uint8_t>(f, g); break;
            case Elem::S8: checkGolden<int8_t>(f, g); break;
            case Elem::U16: checkGolden<uint16_t>(f, g); break;
            case Elem::S16: checkGolden<int16_t>(f, g); break;
            case Elem::S32: checkGolden<int32_t>(f, g); break;
            default: checkGolden<float>(f, g); break;
        }
    }
}

TEST_P(KernelGolden, BlendWritesSelectedPixelsOnly) {
    const KernelTable& t = ozl::arith::tableFor(GetParam());
    // 40 three-channel pixels; mask bits from bit 3 of the first byte: pixels
    // 0, 2 and 39 selected.
    const uint8_t mask[6] = {0x14, 0x00, 0x00, 0x00, 0x00, 0x20};
    std::vector<uint16_t> d(120, 7), src(120);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint16_t>(1000 + i);
    t.blend[1](d.data(), src.data(), 40, 3, mask, 3);
    for (size_t p = 0; p < 40; ++p)
        for (size_t c = 0; c < 3; ++c) {
            const bool selected = p == 0 || p == 2 || p == 39;
            EXPECT_EQ(d[p * 3 + c], selected ? 1000 + p * 3 + c : 7) << "pixel " << p;
        }
}

INSTANTIATE_TEST_SUITE_P(Levels, KernelGolden, ::testing::ValuesIn(allLevels()),
                         [](const ::testing::TestParamInfo<Level>& info) {
                             return std::string(ozl::cpu::name(info.param));
                         });

}  // namespace
