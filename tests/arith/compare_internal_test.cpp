// The comparison row kernels and the float range of every vector level
// against the scalar table, bit for bit: every relation, value type and form,
// one to four channels packed (planes) or interleaved, widths 0..100 and long
// rows, misaligned rows, 1-bit sources at every bit offset, limits, NaN,
// infinities and signed zeros; guard bytes around the result.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "arith/compare_kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::arith::CompareArgs;
using ozl::arith::Form;
using ozl::arith::Rel;
using ozl::core::PixelFn;
using ozl::core::RowView;
using ozl::cpu::Level;
using ozl::image::Elem;

const char* const kRelNames[] = {"Less", "Greater", "Equal", "EqualEps"};
constexpr size_t kGuard = 16;

size_t sizeOf(int type) {
    return type == ozl::arith::kBitsIndex ? 0 : ozl::image::elemBytes(static_cast<Elem>(type));
}

// Second operand values: the first's, one of the type's limits or random, so
// that every relation holds often; floats also meet NaN.
void neighbour(std::vector<uint8_t>& a, std::vector<uint8_t>& b, int type, std::mt19937& rng) {
    const size_t size = sizeOf(type);
    for (size_t i = 0; i + size <= b.size(); i += size)
        if (rng() % 2) std::memcpy(&b[i], &a[i], size);
    if (type == static_cast<int>(Elem::F32))
        for (size_t i = 0; i + 4 <= b.size(); i += 4)
            if (rng() % 16 == 0) {
                const float nan = std::numeric_limits<float>::quiet_NaN();
                std::memcpy(rng() % 2 ? &a[i] : &b[i], &nan, 4);
            }
}

// The constant of a call, within the type's range (the entry point settles
// the others), often a value of the row.
CompareArgs argsFor(int type, const std::vector<uint8_t>& a, std::mt19937& rng) {
    CompareArgs args;
    const size_t size = sizeOf(type);
    const size_t count = size ? a.size() / size : 0;
    const float eps[] = {0.5f, 1.0f, 1e-30f, 3e38f, std::numeric_limits<float>::denorm_min()};
    args.eps = eps[rng() % 5];
    if (type == ozl::arith::kBitsIndex) {
        args.value = static_cast<int32_t>(rng() % 2);
        return args;
    }
    std::vector<uint8_t> pick(size);
    ozl::test::fillValues(pick, static_cast<Elem>(type), rng);
    if (count && rng() % 2) std::memcpy(pick.data(), &a[(rng() % count) * size], size);
    switch (static_cast<Elem>(type)) {
        case Elem::U8: args.value = pick[0]; break;
        case Elem::S8: args.value = static_cast<int8_t>(pick[0]); break;
        case Elem::U16: { uint16_t v; std::memcpy(&v, pick.data(), 2); args.value = v; break; }
        case Elem::S16: { int16_t v; std::memcpy(&v, pick.data(), 2); args.value = v; break; }
        case Elem::S32: std::memcpy(&args.value, pick.data(), 4); break;
        default: {
            std::memcpy(&args.real, pick.data(), 4);
            if (rng() % 8 == 0) args.real = std::numeric_limits<float>::quiet_NaN();
        }
    }
    return args;
}

// A row of `width` pixels of `channels` values in one buffer: each channel a
// run of its own (packed, as planes) or the channels side by side.
RowView rowIn(std::vector<uint8_t>& buf, size_t offset, int type, int channels, bool packed,
              size_t width) {
    RowView r;
    r.data = reinterpret_cast<char*>(buf.data() + offset);
    r.channels = channels;
    const ptrdiff_t size = static_cast<ptrdiff_t>(sizeOf(type));
    r.pixelStep = packed ? size : size * channels;
    r.channelStep = packed ? size * static_cast<ptrdiff_t>(width + 3) : size;
    return r;
}

class CompareKernel : public testing::TestWithParam<std::tuple<Level, Rel>> {};

TEST_P(CompareKernel, MatchesScalarTableBitForBit) {
    const auto [level, rel] = GetParam();
    const auto& vec = ozl::arith::compareTable(level);
    const auto& ref = ozl::arith::compareTable(Level::Ref);
    for (int type = 0; type < ozl::arith::kSourceTypes; ++type) {
        if (!ozl::arith::hasCompareKernel(rel, type)) continue;
        const bool bits = type == ozl::arith::kBitsIndex;
        for (int form = 0; form < ozl::arith::kFormCount; ++form) {
            const PixelFn fv = vec.compare[static_cast<int>(rel)][type][form].row;
            const PixelFn fr = ref.compare[static_cast<int>(rel)][type][form].row;
            ASSERT_TRUE(fv && fr);
            if (!bits) ASSERT_NE(fv, fr) << "no vector form of type " << type;
            std::mt19937 rng(9173u ^ (type << 8) ^ (form << 12) ^ (static_cast<int>(rel) << 16));
            for (size_t width : ozl::test::runWidths())
                for (int channels = 1; channels <= (bits ? 1 : 4); ++channels)
                    for (bool packed : {true, false}) {
                        // Long rows add nothing new for every channel count.
                        if ((bits && !packed) || (width > 200 && channels % 2 == 0)) continue;
                        const size_t size = bits ? 1 : sizeOf(type);
                        const size_t bytes = bits ? width / 8 + 2 : (width + 3) * channels * size;
                        std::vector<uint8_t> a(bytes + 8), b(bytes + 8);
                        ozl::test::fillValues(a, bits ? Elem::U8 : static_cast<Elem>(type), rng);
                        ozl::test::fillValues(b, bits ? Elem::U8 : static_cast<Elem>(type), rng);
                        if (!bits) neighbour(a, b, type, rng);
                        RowView src[ozl::core::kMaxSources];
                        src[0] = rowIn(a, rng() % 4, type, channels, packed, width);
                        if (form == static_cast<int>(Form::Images))
                            src[1] = rowIn(b, rng() % 4, type, channels, packed, width);
                        if (bits) src[0].bit = static_cast<int>(rng() % 8), src[1].bit = static_cast<int>(rng() % 8);
                        const CompareArgs args = argsFor(type, a, rng);
                        std::vector<uint8_t> outV((width + 7) / 8 + 2 * kGuard, 0xA5), outR = outV;
                        RowView dv, dr;
                        dv.data = reinterpret_cast<char*>(outV.data() + kGuard);
                        dr.data = reinterpret_cast<char*>(outR.data() + kGuard);
                        fv(src, dv, width, &args);
                        fr(src, dr, width, &args);
                        ASSERT_EQ(outV, outR)
                            << kRelNames[static_cast<int>(rel)] << " type " << type << " form "
                            << form << " width " << width << " channels " << channels
                            << (packed ? " packed" : " interleaved") << " first difference at byte "
                            << ozl::test::firstDifference(outV, outR);
                    }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Levels, CompareKernel,
    testing::Combine(testing::ValuesIn(ozl::test::vectorLevels()),
                     testing::Values(Rel::Less, Rel::Greater, Rel::Equal, Rel::EqualEps)),
    [](const testing::TestParamInfo<std::tuple<Level, Rel>>& info) {
        return std::string(ozl::cpu::name(std::get<0>(info.param))) + "_" +
               kRelNames[static_cast<int>(std::get<1>(info.param))];
    });

class RangeKernel : public testing::TestWithParam<Level> {};

TEST_P(RangeKernel, MatchesScalarFormWhateverTheOrder) {
    const auto fv = ozl::arith::compareTable(GetParam()).range;
    const auto fr = ozl::arith::compareTable(Level::Ref).range;
    ASSERT_NE(fv, fr);
    std::mt19937 rng(77);
    const float special[] = {0.0f, -0.0f, std::numeric_limits<float>::quiet_NaN(),
                             std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(), 1.0f, -1.0f};
    for (size_t n : ozl::test::runWidths())
        for (int mix = 0; mix < 4; ++mix) {
            // mix 0: random values; 1: signed zeros and NaN only; 2: NaN only;
            // 3: random with specials sprinkled in.
            std::vector<uint8_t> buf(n * 4 + 8);
            ozl::test::fillValues(buf, Elem::F32, rng);
            for (size_t i = 0; i + 4 <= buf.size(); i += 4) {
                float v;
                std::memcpy(&v, &buf[i], 4);
                if (mix == 1) v = special[rng() % 3];
                if (mix == 2) v = special[2];
                if (mix == 3 && rng() % 4 == 0) v = special[rng() % 7];
                std::memcpy(&buf[i], &v, 4);
            }
            const auto* p = reinterpret_cast<const float*>(buf.data() + rng() % 4);
            float loV = std::numeric_limits<float>::infinity(), hiV = -loV, loR = loV, hiR = hiV;
            fv(p, n, &loV, &hiV);
            fr(p, n, &loR, &hiR);
            ASSERT_EQ(std::memcmp(&loV, &loR, 4), 0) << "n " << n << " mix " << mix << " " << loV << " " << loR;
            ASSERT_EQ(std::memcmp(&hiV, &hiR, 4), 0) << "n " << n << " mix " << mix << " " << hiV << " " << hiR;
        }
}

INSTANTIATE_TEST_SUITE_P(Levels, RangeKernel, testing::ValuesIn(ozl::test::vectorLevels()),
                         ozl::test::levelName);

}  // namespace
