// Internal-test helpers for comparing a family's vector kernels with its scalar
// reference: the levels this machine has, seeded random values that favour
// each type's limits, the run widths that reach every loop of a kernel, and a
// bit-for-bit comparison of two run kernels with guard bytes, misaligned
// operands and in-place destinations. Header only: the public test program
// links no internal symbols.
//
//   for (Level level : ozl::test::vectorLevels())
//       EXPECT_TRUE(ozl::test::sameRuns(vec, ref, shape, makeContext, seed));
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "core/pixelwise.hpp"
#include "frame/cpu.hpp"
#include "image/depth.hpp"

namespace ozl::cpu {
// Level parameters print as their names.
inline void PrintTo(Level level, std::ostream* os) { *os << name(level); }
}  // namespace ozl::cpu

namespace ozl::test {

// Levels above the scalar one that this machine runs, and with it.
inline std::vector<cpu::Level> vectorLevels() {
    std::vector<cpu::Level> out;
    for (int l = 1; l <= static_cast<int>(cpu::detected()); ++l)
        out.push_back(static_cast<cpu::Level>(l));
    return out;
}
inline std::vector<cpu::Level> allLevels() {
    std::vector<cpu::Level> out{cpu::Level::Ref};
    for (cpu::Level l : vectorLevels()) out.push_back(l);
    return out;
}
inline std::string levelName(const testing::TestParamInfo<cpu::Level>& info) {
    return cpu::name(info.param);
}

// Widths 0..100 (every head and tail of every vector width) and a few long
// ones (the blocked loops, the alignment of long runs).
inline std::vector<size_t> runWidths() {
    std::vector<size_t> w;
    for (size_t n = 0; n <= 100; ++n) w.push_back(n);
    for (size_t n : {127u, 128u, 129u, 1000u, 4099u}) w.push_back(n);
    return w;
}

inline size_t firstDifference(const std::vector<uint8_t>& x, const std::vector<uint8_t>& y) {
    size_t at = 0;
    while (at < x.size() && at < y.size() && x[at] == y[at]) ++at;
    return at;
}

// Random values of a type, about a third of them the type's limits and the
// small values where saturation and sign matter. Floats stay clear of NaN,
// whose payload an operation may take from either operand.
template <class T>
void fillValuesOf(std::vector<uint8_t>& buf, std::mt19937& rng) {
    using L = std::numeric_limits<T>;
    std::vector<T> special;
    if constexpr (std::is_same_v<T, float>)
        special = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, L::max(), L::lowest(), L::denorm_min(),
                   L::infinity(), 255.5f, -32768.5f};
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

inline void fillValues(std::vector<uint8_t>& buf, image::Elem e, std::mt19937& rng) {
    switch (e) {
        case image::Elem::U8: return fillValuesOf<uint8_t>(buf, rng);
        case image::Elem::S8: return fillValuesOf<int8_t>(buf, rng);
        case image::Elem::U16: return fillValuesOf<uint16_t>(buf, rng);
        case image::Elem::S16: return fillValuesOf<int16_t>(buf, rng);
        case image::Elem::S32: return fillValuesOf<int32_t>(buf, rng);
        default: return fillValuesOf<float>(buf, rng);
    }
}

// What a run kernel reads and writes: the value type of each source (nSrc of
// them) and of the destination.
struct RunShape {
    int nSrc = 2;
    image::Elem src = image::Elem::U8;
    image::Elem dst = image::Elem::U8;
    // The destination may be a source's own buffer (same value size only).
    bool inPlace = true;
};

// A fresh context for one call: the kernel's constant(s), drawn from rng.
using ContextMaker = std::function<const void*(std::mt19937& rng)>;

// Runs both kernels on the same random inputs over runWidths(), with the
// operands misaligned against each other and the destination in its own
// buffer or on top of a source; true when every byte of every buffer agrees,
// guard bytes around the runs included.
inline testing::AssertionResult sameRuns(core::RunFn vec, core::RunFn ref, const RunShape& shape,
                                         const ContextMaker& makeContext, uint32_t seed,
                                         size_t maxWidth = SIZE_MAX) {
    constexpr size_t kGuard = 64;
    const size_t offsets[][3] = {{0, 0, 0}, {1, 2, 3}, {3, 1, 0}, {2, 3, 1}};
    const size_t srcBytes = image::elemBytes(shape.src), dstBytes = image::elemBytes(shape.dst);
    const int lastDest = shape.inPlace && srcBytes == dstBytes ? shape.nSrc : 0;
    std::mt19937 rng(seed);
    for (size_t n : runWidths()) {
        if (n > maxWidth) break;
        for (const auto& off : offsets)
            for (int dest = 0; dest <= lastDest; ++dest) {  // 0: own buffer, 1: on a, 2: on b
                const void* context = makeContext(rng);
                std::vector<uint8_t> in[3];
                for (int i = 0; i < 3; ++i) {
                    const bool isDst = i == 2;
                    in[i].resize((n + 4) * (isDst ? dstBytes : srcBytes) + 2 * kGuard);
                    fillValues(in[i], isDst ? shape.dst : shape.src, rng);
                }
                auto call = [&](core::RunFn f, std::vector<uint8_t>* r) {
                    uint8_t* p[3];
                    for (int i = 0; i < 3; ++i)
                        p[i] = r[i].data() + kGuard + off[i] * (i == 2 ? dstBytes : srcBytes);
                    f(shape.nSrc >= 1 ? p[0] : nullptr, shape.nSrc >= 2 ? p[1] : nullptr,
                      dest ? p[dest - 1] : p[2], n, context);
                };
                std::vector<uint8_t> outV[3] = {in[0], in[1], in[2]};
                std::vector<uint8_t> outR[3] = {in[0], in[1], in[2]};
                call(vec, outV);
                call(ref, outR);
                for (int i = 0; i < 3; ++i)
                    if (outV[i] != outR[i])
                        return testing::AssertionFailure()
                               << "n=" << n << " offsets=" << off[0] << "," << off[1] << ","
                               << off[2] << " dest=" << dest << " seed=" << seed
                               << " buffer " << i << " first differing byte "
                               << firstDifference(outV[i], outR[i]);
            }
    }
    return testing::AssertionSuccess();
}

}  // namespace ozl::test
