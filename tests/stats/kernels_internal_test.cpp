// The statistics kernels of every vector level against the scalar table, bit
// for bit (moment power sums up to the 64-bit limit, norm runs with and without
// a second operand, byte counts and maps), and the exact wide integers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "stats/kernels.hpp"
#include "stats/wide_int.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::cpu::Level;
using ozl::image::Elem;
using ozl::stats::kernelTable;
using ozl::stats::NormAcc;

class StatsKernels : public testing::TestWithParam<Level> {};

// Lengths around every block, segment and unrolled step of the 8-bit kernels.
std::vector<size_t> lengths(size_t limit) {
    std::vector<size_t> out;
    for (size_t n = 0; n <= 160; ++n) out.push_back(n);
    for (size_t n : {1023u, 1024u, 1025u, 2047u, 2048u, 2049u, 4095u, 4097u, 9000u, 16383u, 16384u})
        if (n <= limit) out.push_back(n);
    return out;
}

// Random values (pattern 0), or one extreme for every value, the lanes' worst
// case: 1 the largest (all ones unsigned), 2 the smallest signed value.
std::vector<uint8_t> values(size_t n, Elem e, std::mt19937& rng, int pattern) {
    const size_t size = ozl::image::elemBytes(e);
    std::vector<uint8_t> v(n * size + 64);
    if (pattern == 0) return ozl::test::fillValues(v, e, rng), v;
    const bool isSigned = e == Elem::S8 || e == Elem::S16 || e == Elem::S32;
    for (size_t i = 0; i < v.size(); ++i)
        v[i] = !isSigned ? 0xFF : i % size != size - 1 ? (pattern == 2 ? 0x00 : 0xFF) : (pattern == 2 ? 0x80 : 0x7F);
    return v;
}

TEST_P(StatsKernels, MomentSumsMatchTheScalarForm) {
    const auto& vec = kernelTable(GetParam());
    const auto& ref = kernelTable(Level::Ref);
    std::mt19937 rng(11);
    for (Elem e : {Elem::U8, Elem::S8, Elem::U16, Elem::S16, Elem::S32}) {
        const int ei = static_cast<int>(e);
        if (vec.momentSums[ei] == ref.momentSums[ei]) continue;  // no vector form
        const size_t limit = ozl::stats::momentRunLimit(e);
        for (size_t n : lengths(limit))
            for (int pattern = 0; pattern < 3; ++pattern)
                for (size_t offset : {0, 1}) {
                    const std::vector<uint8_t> v = values(n + offset, e, rng, pattern);
                    const uint8_t* p = v.data() + offset * ozl::image::elemBytes(e);
                    int64_t a[4] = {5, -6, 7, -8}, b[4] = {5, -6, 7, -8};
                    vec.momentSums[ei](p, n, a);
                    ref.momentSums[ei](p, n, b);
                    for (int k = 0; k < 4; ++k)
                        ASSERT_EQ(a[k], b[k]) << "elem " << ei << " n " << n << " pattern " << pattern << " k " << k;
                }
    }
}

TEST_P(StatsKernels, NormRunsMatchTheScalarForm) {
    const auto& vec = kernelTable(GetParam());
    const auto& ref = kernelTable(Level::Ref);
    std::mt19937 rng(12);
    std::vector<size_t> ns = lengths(4200);
    ns.push_back(4096 * 64 * 2 + 77);  // past the L2 kernels' 32-bit flush
    for (int kind = 0; kind < ozl::stats::kNormKinds; ++kind)
        for (int ei = 0; ei < ozl::image::kElemCount; ++ei)
            for (size_t n : ns)
                for (int pattern = 0; pattern < 2; ++pattern)
                    for (bool two : {false, true}) {
                        const Elem e = static_cast<Elem>(ei);
                        if (vec.norm[kind][ei] == ref.norm[kind][ei]) continue;  // no vector form
                        if (n > 5000 && pattern == 0) continue;  // long runs: the worst case only
                        const std::vector<uint8_t> a = values(n, e, rng, pattern);
                        // The extreme pattern pairs the largest value with 0.
                        const std::vector<uint8_t> b = pattern ? std::vector<uint8_t>(a.size()) : values(n, e, rng, 0);
                        NormAcc x;
                        x.max = 3, x.sum.hi = 1, x.sum.lo = ~uint64_t{0} - 5;  // carries into hi
                        NormAcc y = x;
                        vec.norm[kind][ei](a.data(), two ? b.data() + 1 : nullptr, n, x);
                        ref.norm[kind][ei](a.data(), two ? b.data() + 1 : nullptr, n, y);
                        ASSERT_TRUE(x.max == y.max && x.sum.lo == y.sum.lo && x.sum.hi == y.sum.hi) << kind << " " << ei << " " << n;
                        // Bits: infinities in the float data make NaN sums.
                        ASSERT_EQ(std::memcmp(&x.maxF, &y.maxF, sizeof x.maxF), 0);
                        ASSERT_EQ(std::memcmp(&x.sumF, &y.sumF, sizeof x.sumF), 0);
                    }
}

// Random bytes and runs of one value, at every length around the unrolled
// steps, unaligned, one channel of three and with the pair table; the pair
// counters start near their wrap, so that long runs wrap them many times.
TEST_P(StatsKernels, ByteCountsAddUpToTheScalarCounts) {
    const auto& vec = kernelTable(GetParam());
    const auto& ref = kernelTable(Level::Ref);
    std::mt19937 rng(13);
    std::vector<size_t> ns = lengths(4200);
    ns.push_back(3 * 65536 + 13);
    std::vector<uint8_t> start(ozl::stats::kPairCounters), pa, pb;
    for (auto& x : start) x = static_cast<uint8_t>(250 + rng() % 6);
    for (size_t n : ns)
        for (size_t stride : {1, 3})
            for (bool pairs : {false, true})
                for (bool run : {false, true}) {
                    if (stride != 1 && (pairs || n > 5000)) continue;  // pairs of dense runs only
                    std::vector<uint8_t> v(n * stride + 1);
                    for (auto& x : v) x = static_cast<uint8_t>(run ? 7 : rng() % 7 == 0 ? 200 : rng());
                    pa = pb = start;
                    std::vector<uint32_t> a(256 * ozl::stats::kByteTables, 1), b = a;
                    vec.countBytes(v.data() + 1, n, stride, {a.data(), pairs ? pa.data() : nullptr});
                    ref.countBytes(v.data() + 1, n, stride, {b.data(), pairs ? pb.data() : nullptr});
                    const std::vector<uint8_t> left = pa;
                    vec.foldPairs(pa.data(), a.data());
                    ref.foldPairs(pb.data(), b.data());
                    ASSERT_EQ(pa, left);
                    for (int j = 0; j < 256; ++j) {
                        uint32_t sa = 0, sb = 0;
                        for (int t = 0; t < ozl::stats::kByteTables; ++t)
                            sa += a[t * 256 + j], sb += b[t * 256 + j];
                        ASSERT_EQ(sa, sb) << "n " << n << " stride " << stride << " run " << run << " pairs " << pairs << " level " << j;
                    }
                }
}

TEST_P(StatsKernels, ByteMapsMatchTheScalarForm) {
    const auto& vec = kernelTable(GetParam());
    const auto& ref = kernelTable(Level::Ref);
    std::mt19937 rng(14);
    std::vector<uint8_t> maps(5 * 256);
    for (auto& m : maps) m = static_cast<uint8_t>(rng());
    for (int period = 1; period <= 5; ++period)
        for (size_t pixels : lengths(1000))
            for (bool inPlace : {false, true}) {
                const size_t n = pixels * period;
                std::vector<uint8_t> s(n + 70), a(n + 70, 9), b(n + 70, 9);
                for (auto& x : s) x = static_cast<uint8_t>(rng());
                if (inPlace) a = b = s;
                vec.mapBytes(inPlace ? a.data() + 3 : s.data() + 3, a.data() + 3, n, maps.data(), period);
                ref.mapBytes(inPlace ? b.data() + 3 : s.data() + 3, b.data() + 3, n, maps.data(), period);
                ASSERT_EQ(a, b) << "period " << period << " n " << n << " in place " << inPlace;
            }
}

INSTANTIATE_TEST_SUITE_P(Levels, StatsKernels, testing::ValuesIn(ozl::test::vectorLevels()), ozl::test::levelName);

// Rounding to nearest, ties to even, of integers past 2^53, and sign.
TEST(WideIntegers, RoundToTheNearestDouble) {
    auto of = [](uint64_t lo, uint64_t mid = 0, uint64_t hi = 0) {
        const uint64_t limbs[3] = {lo, mid, hi};
        return ozl::stats::nearestDouble(limbs, 3);
    };
    const uint64_t p53 = uint64_t{1} << 53;
    EXPECT_EQ(of(p53 + 1), 9007199254740992.0);          // tie, to even (down)
    EXPECT_EQ(of(p53 + 3), 9007199254740996.0);          // tie, to even (up)
    EXPECT_EQ(of(~uint64_t{0}), 18446744073709551616.0);  // rounds up into 2^64
    EXPECT_EQ(of(0, 1), 18446744073709551616.0);
    // 2^128 + 2^75 is a tie at 2^128 that the bit 0 below it breaks upward.
    EXPECT_EQ(of(0, uint64_t{1} << 11, 1), std::ldexp(1.0, 128));
    EXPECT_EQ(of(1, uint64_t{1} << 11, 1), std::ldexp(1.0, 128) + std::ldexp(1.0, 76));
    EXPECT_EQ(of(0, 0, uint64_t{1} << 63), std::ldexp(1.0, 191));
    std::mt19937_64 rng(5);
    for (int i = 0; i < 2000; ++i) {  // below 2^64 the conversion of the compiler agrees
        const uint64_t v = rng() >> (rng() % 64);
        ASSERT_EQ(of(v), static_cast<double>(v)) << v;
    }
}

}  // namespace
