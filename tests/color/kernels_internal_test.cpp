// The colour kernels of every vector level against the scalar table, bit for
// bit: random rows in every layout, both channel orders, odd widths, unaligned
// starts; then 8U conversions over many inputs (all 2^24 for the two that divide
// by floats, the proof that those divisions are exact).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "color/kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::color::ColorTable;
using ozl::color::Model;
using ozl::color::PixelFn;
using ozl::color::RowView;
using ozl::color::Way;
using ozl::cpu::Level;

// The whole 8U input space in the 64-bit optimised builds; a spread sample of
// it where the sanitizers or a 32-bit target make it slow.
#if defined(__SANITIZE_ADDRESS__) || !(defined(__x86_64__) || defined(_M_X64)) || !defined(NDEBUG)
constexpr bool kWholeSpaceBuild = false;
#else
constexpr bool kWholeSpaceBuild = true;
#endif

// One vector kernel: how to find it in a table, what it reads and writes.
struct KernelCase {
    const char* name;
    std::function<PixelFn(const ColorTable&)> get;
    size_t valueSize;  // 1 or 4 (float)
    int srcChannels;   // 3, or 1 (grey)
    int dstChannels;   // 3, or 1 (grey)
    int contextKind;   // 0 channel order, 1 twist, 2 grey weights, 3 grey factors
};

// The eleven 8U conversions first (EveryColour takes them by index).
std::vector<KernelCase> vectorKernels() {
    using ozl::color::Depth;
    auto conv = [](const char* name, Model m, Way w, Depth d = Depth::U8) {
        return KernelCase{name,
                          [=](const ColorTable& t) {
                              return t.convert[int(m)][int(w)][int(d)];
                          },
                          d == Depth::F32 ? 4u : 1u, 3, 3, 0};
    };
    const Way from = Way::FromRgb, to = Way::ToRgb;
    return {conv("RgbToHsv", Model::Hsv, from), conv("HsvToRgb", Model::Hsv, to),
            conv("RgbToHls", Model::Hls, from), conv("HlsToRgb", Model::Hls, to),
            conv("RgbToXyz", Model::Xyz, from), conv("XyzToRgb", Model::Xyz, to),
            conv("RgbToYuv", Model::Yuv, from), conv("YuvToRgb", Model::Yuv, to),
            conv("RgbToYCrCb", Model::YCrCb, from), conv("YCrCbToRgb", Model::YCrCb, to),
            conv("YccToRgb", Model::Ycc, to), conv("RgbToLuv", Model::Luv, from, Depth::F32),
            conv("LuvToRgb", Model::Luv, to, Depth::F32),
            {"TwistFixed8", [](const ColorTable& t) { return t.twistFixed[0]; }, 1, 3, 3, 1},
            {"ToGray8", [](const ColorTable& t) { return t.toGray[0][0]; }, 1, 3, 1, 2},
            {"FromGray8", [](const ColorTable& t) { return t.fromGray[0]; }, 1, 1, 3, 3}};
}

// A row of `stride` interleaved values (0: planes) starting `offset` bytes off
// alignment; guard bytes around it catch stray writes.
struct RowBuffer {
    std::vector<uint8_t> bytes;
    RowView view;
};

constexpr size_t kGuard = 64;

RowBuffer makeRow(size_t n, size_t valueSize, int channels, int stride, size_t offset,
                  std::mt19937& rng, bool floats) {
    RowBuffer b;
    const size_t perChannel = n * valueSize + 24;  // planes a little apart
    const size_t body = stride ? n * stride * valueSize : channels * perChannel;
    b.bytes.resize(body + 2 * kGuard + offset);
    for (auto& v : b.bytes) v = static_cast<uint8_t>(rng());
    if (floats) {
        // RGB on -0.2..1.2 and L*u*v* values: some black, some dark, some exact zeros.
        for (size_t i = kGuard + offset; i + 4 <= kGuard + offset + body; i += 4) {
            const uint32_t r = rng();
            float f = static_cast<float>(r % 140000) / 100000.0f - 0.2f;
            if (r % 11 == 0) f = 0.0f;
            if (r % 13 == 0) f = static_cast<float>(r % 1000) * 1e-5f;
            if (r % 17 == 0) f = static_cast<float>(r % 20000) / 100.0f - 100.0f;
            std::memcpy(&b.bytes[i], &f, 4);
        }
    }
    b.view.data = reinterpret_cast<char*>(b.bytes.data() + kGuard + offset);
    b.view.channels = channels;
    if (stride) {
        b.view.pixelStep = static_cast<ptrdiff_t>(stride * valueSize);
        b.view.channelStep = static_cast<ptrdiff_t>(valueSize);
    } else {
        b.view.pixelStep = static_cast<ptrdiff_t>(valueSize);
        b.view.channelStep = static_cast<ptrdiff_t>(perChannel);
    }
    return b;
}

// A fresh context of the kernel's kind; returns its address.
struct Contexts {
    ozl::color::ConvertArgs convert;
    ozl::color::TwistArgs twist;
    ozl::color::GrayArgs gray;
    ozl::color::SpreadArgs spread;

    const void* make(int kind, std::mt19937& rng) {
        switch (kind) {
            case 0:
                convert.red = rng() % 2 ? 0 : 2;
                return &convert;
            case 1:
                // Any 16-bit weights and constants: the kernels must wrap alike.
                for (auto& row : twist.weight)
                    for (auto& w : row)
                        w = static_cast<int16_t>(rng() % 3 ? rng() % 257 - 128 : rng());
                for (auto& k : twist.constant) k = static_cast<int32_t>(rng());
                twist.shift = static_cast<int>(rng() % 16);
                twist.bias = static_cast<int32_t>(rng() % 65536) - 32768;
                return &twist;
            case 2: {
                // The 8U luma weights in either channel order.
                const int red = rng() % 2 ? 0 : 2;
                gray.weight[red] = 54, gray.weight[1] = 183, gray.weight[2 - red] = 18;
                return &gray;
            }
            default:
                for (int c = 0; c < 3; ++c) {
                    spread.shift[c] = rng() % 2 ? 15 : 8;
                    spread.factor[c] = static_cast<int32_t>(rng() % 65536) - 32768;
                }
                return &spread;
        }
    }
};

ozl::color::NamedTable tableAt(int i) { return ozl::color::vectorTables()[i]; }
int tableCount() { return static_cast<int>(ozl::color::vectorTables().size()); }

class ColorKernel : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(ColorKernel, MatchesScalarTableOnRandomRows) {
    const auto [tableIndex, index] = GetParam();
    const KernelCase kc = vectorKernels()[index];
    const PixelFn vec = kc.get(*tableAt(tableIndex).table);
    const PixelFn ref = kc.get(ozl::color::colorTable(Level::Ref));
    ASSERT_NE(vec, ref) << "no vector form at this level";
    // Sources 3/4 interleaved, planes, 5 (scalar only); destinations 3, planes, 4 (scalar only).
    const std::vector<int> srcStrides =
        kc.srcChannels == 1 ? std::vector<int>{1} : std::vector<int>{3, 4, 0, 5};
    const std::vector<int> dstStrides =
        kc.dstChannels == 1 ? std::vector<int>{1} : std::vector<int>{3, 0, 4};
    const bool floats = kc.valueSize == 4;
    std::mt19937 rng(20240701u + index * 977u + static_cast<uint32_t>(tableIndex) * 31u);
    Contexts contexts;
    for (size_t n : ozl::test::runWidths())
        for (int ss : srcStrides)
            for (int ds : dstStrides) {
                const size_t so = rng() % 4 * kc.valueSize, doff = rng() % 4 * kc.valueSize;
                const RowBuffer src = makeRow(n, kc.valueSize, kc.srcChannels, ss, so, rng, floats);
                const RowBuffer dst =
                    makeRow(n, kc.valueSize, kc.dstChannels, ds, doff, rng, false);
                const void* context = contexts.make(kc.contextKind, rng);
                RowBuffer outV = dst, outR = dst;
                const size_t at = kGuard + doff;
                outV.view.data = reinterpret_cast<char*>(outV.bytes.data() + at);
                outR.view.data = reinterpret_cast<char*>(outR.bytes.data() + at);
                const RowView srcRows[ozl::core::kMaxSources] = {src.view};
                vec(srcRows, outV.view, n, context);
                ref(srcRows, outR.view, n, context);
                ASSERT_EQ(outV.bytes, outR.bytes)
                    << kc.name << " n=" << n << " src stride " << ss << " dst stride " << ds
                    << " first differing byte "
                    << ozl::test::firstDifference(outV.bytes, outR.bytes);
            }
}

// ---------------------------------------------------------------------------
// Every 8U input of a three-channel conversion, 2^16 pixels to a row.

constexpr size_t kChunk = size_t{1} << 16;

// Chunk `index` of the inputs: all of them in the whole space; else the
// greys, then a spread over the cube.
void fillChunk(std::vector<uint8_t>& px, size_t index, bool whole) {
    for (size_t i = 0; i < kChunk; ++i) {
        const size_t k = index * kChunk + i;
        const uint32_t c = whole ? static_cast<uint32_t>(k)
                           : k < 256 ? static_cast<uint32_t>(k * 0x010101u)
                                     : static_cast<uint32_t>(k * 2654435761u) >> 8;
        px[3 * i] = static_cast<uint8_t>(c >> 16);
        px[3 * i + 1] = static_cast<uint8_t>(c >> 8);
        px[3 * i + 2] = static_cast<uint8_t>(c);
    }
}

void run(PixelFn f, std::vector<uint8_t>& in, std::vector<uint8_t>& out, int red) {
    auto packed = [](std::vector<uint8_t>& px) {
        RowView r;
        r.data = reinterpret_cast<char*>(px.data()), r.pixelStep = 3, r.channelStep = 1;
        r.channels = 3;
        return r;
    };
    const RowView src[ozl::core::kMaxSources] = {packed(in)};
    const ozl::color::ConvertArgs args{red};
    f(src, packed(out), kChunk, &args);
}

class EveryColour : public testing::TestWithParam<int> {};

TEST_P(EveryColour, EveryLevelMatchesTheScalarForm) {
    const KernelCase kc = vectorKernels()[GetParam()];
    const int red = GetParam() % 2 ? 2 : 0;  // both channel orders over the cases
    // RGB to HSV and HLS divide by floats: only the whole space proves them exact.
    const bool whole = kWholeSpaceBuild && (GetParam() == 0 || GetParam() == 2);
    const size_t chunks = whole ? (size_t{1} << 24) / kChunk : 4;
    std::vector<uint8_t> in(3 * kChunk), expected(in.size()), got(in.size());
    const PixelFn ref = kc.get(ozl::color::colorTable(Level::Ref));
    for (size_t chunk = 0; chunk < chunks; ++chunk) {
        fillChunk(in, chunk, whole);
        run(ref, in, expected, red);
        for (const ozl::color::NamedTable& t : ozl::color::vectorTables()) {
            run(kc.get(*t.table), in, got, red);
            const size_t at = ozl::test::firstDifference(got, expected);
            ASSERT_EQ(at, got.size()) << kc.name << " at " << t.name << ": input "
                                      << int(in[at / 3 * 3]) << "," << int(in[at / 3 * 3 + 1])
                                      << "," << int(in[at / 3 * 3 + 2]);
        }
    }
}

std::string kernelName(const testing::TestParamInfo<std::tuple<int, int>>& info) {
    return std::string(tableAt(std::get<0>(info.param)).name) + "_" +
           vectorKernels()[std::get<1>(info.param)].name;
}

INSTANTIATE_TEST_SUITE_P(Tables, ColorKernel,
                         testing::Combine(testing::Range(0, tableCount()), testing::Range(0, 16)),
                         kernelName);

// The eleven 8U conversions.
INSTANTIATE_TEST_SUITE_P(Conversions, EveryColour, testing::Range(0, 11),
                         [](const testing::TestParamInfo<int>& info) {
                             return std::string(vectorKernels()[info.param].name);
                         });

}  // namespace
