// The colour kernels of every vector level against the scalar table, bit for
// bit: random rows in every layout, both channel orders, odd widths, unaligned
// starts; then 8U conversions over many inputs (all 2^24 for the two that divide
// by floats, the proof that those divisions are exact).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "color/kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using namespace ozl::color;

// The whole 8U input space in the 64-bit optimised builds; a spread sample of
// it where the sanitizers or a 32-bit target make it slow.
#if defined(__SANITIZE_ADDRESS__) || !(defined(__x86_64__) || defined(_M_X64)) || !defined(NDEBUG)
constexpr bool kWholeSpaceBuild = false;
#else
constexpr bool kWholeSpaceBuild = true;
#endif

// One vector kernel: where it is in a table, what it reads and writes. The
// eleven 8U conversions come first (EveryColour takes them by index).
struct KernelCase {
    const char* name;
    Model model;
    Way way;
    Depth depth;
    int kind;  // 0 conversion, 1 fixed-point twist, 2 to grey, 3 from grey
    PixelFn get(const ColorTable& t) const {
        return kind == 1 ? t.twistFixed[0] : kind == 2 ? t.toGray[0][0] : kind == 3 ? t.fromGray[0]
                                                                                   : t.convert[int(model)][int(way)][int(depth)];
    }
};
constexpr Way kFrom = Way::FromRgb, kTo = Way::ToRgb;
const KernelCase kKernels[] = {
    {"RgbToHsv", Model::Hsv, kFrom, Depth::U8, 0},     {"HsvToRgb", Model::Hsv, kTo, Depth::U8, 0},
    {"RgbToHls", Model::Hls, kFrom, Depth::U8, 0},     {"HlsToRgb", Model::Hls, kTo, Depth::U8, 0},
    {"RgbToXyz", Model::Xyz, kFrom, Depth::U8, 0},     {"XyzToRgb", Model::Xyz, kTo, Depth::U8, 0},
    {"RgbToYuv", Model::Yuv, kFrom, Depth::U8, 0},     {"YuvToRgb", Model::Yuv, kTo, Depth::U8, 0},
    {"RgbToYCrCb", Model::YCrCb, kFrom, Depth::U8, 0}, {"YCrCbToRgb", Model::YCrCb, kTo, Depth::U8, 0},
    {"YccToRgb", Model::Ycc, kTo, Depth::U8, 0},       {"RgbToLuv", Model::Luv, kFrom, Depth::F32, 0},
    {"LuvToRgb", Model::Luv, kTo, Depth::F32, 0},      {"TwistFixed8", Model::Hsv, kFrom, Depth::U8, 1},
    {"ToGray8", Model::Hsv, kFrom, Depth::U8, 2},      {"FromGray8", Model::Hsv, kFrom, Depth::U8, 3},
};

// A row of `stride` interleaved values (0: planes a little apart) starting
// `offset` bytes off alignment, with guard bytes around it.
constexpr size_t kGuard = 64;
struct RowBuffer {
    std::vector<uint8_t> bytes;
    RowView view;
    RowBuffer(size_t n, size_t size, int channels, int stride, size_t offset, std::mt19937& rng, bool floats) {
        const size_t perChannel = n * size + 24, body = stride ? n * stride * size : channels * perChannel;
        bytes.resize(body + 2 * kGuard + offset);
        for (auto& v : bytes) v = static_cast<uint8_t>(rng());
        // Floats: RGB on -0.2..1.2 and L*u*v* values, some exact zeros and dark ones.
        for (size_t i = kGuard + offset; floats && i + 4 <= kGuard + offset + body; i += 4) {
            const uint32_t r = rng();
            float f = r % 11 == 0 ? 0.0f : r % 13 == 0 ? float(r % 1000) * 1e-5f
                                   : r % 17 == 0 ? float(r % 20000) / 100.0f - 100.0f
                                                 : float(r % 140000) / 100000.0f - 0.2f;
            std::memcpy(&bytes[i], &f, 4);
        }
        view.data = reinterpret_cast<char*>(bytes.data() + kGuard + offset);
        view.channels = channels;
        view.pixelStep = static_cast<ptrdiff_t>(stride ? stride * size : size);
        view.channelStep = static_cast<ptrdiff_t>(stride ? size : perChannel);
    }
};

// A random context of the kernel's kind.
struct Contexts {
    ConvertArgs convert;
    TwistArgs twist;
    GrayArgs gray;
    SpreadArgs spread;
    const void* make(int kind, std::mt19937& rng) {
        const int red = rng() % 2 ? 0 : 2;
        if (kind == 0) return convert.red = red, &convert;
        if (kind == 2) return gray.weight[red] = 54, gray.weight[1] = 183, gray.weight[2 - red] = 18, &gray;
        if (kind == 3) {
            for (int c = 0; c < 3; ++c)
                spread.shift[c] = rng() % 2 ? 15 : 8, spread.factor[c] = int32_t(rng() % 65536) - 32768;
            return &spread;
        }
        // Any 16-bit weights and constants: the kernels must wrap alike. Every
        // other twist has byte weights, byte constants (the byte paths) and
        // often no offset.
        const bool bytes = rng() % 2;
        for (auto& row : twist.weight)
            for (auto& w : row) w = static_cast<int16_t>(bytes ? rng() % 129 - 64 : rng() % 3 ? rng() % 257 - 128 : rng());
        for (auto& k : twist.constant) k = bytes && rng() % 4 ? int32_t(rng() % 256) - 128 : static_cast<int32_t>(rng());
        twist.shift = static_cast<int>(rng() % 16), twist.bias = rng() % 2 ? 0 : int32_t(rng() % 65536) - 32768;
        return &twist;
    }
};

class ColorKernel : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(ColorKernel, MatchesScalarTableOnRandomRows) {
    const auto [tableIndex, index] = GetParam();
    const KernelCase& kc = kKernels[index];
    const PixelFn vec = kc.get(*vectorTables()[tableIndex].table), ref = kc.get(referenceTable());
    ASSERT_NE(vec, ref) << "no vector form at this level";
    // Sources 3/4 interleaved, planes, 5 (scalar only); destinations 3, planes, 4 (scalar only).
    const int srcIn = kc.kind == 3 ? 1 : 3, dstOut = kc.kind == 2 ? 1 : 3;
    const auto srcStrides = srcIn == 1 ? std::vector<int>{1} : std::vector<int>{3, 4, 0, 5};
    const auto dstStrides = dstOut == 1 ? std::vector<int>{1} : std::vector<int>{3, 0, 4};
    const size_t size = kc.depth == Depth::F32 ? 4 : 1;
    std::mt19937 rng(20240701u + index * 977u + static_cast<uint32_t>(tableIndex) * 31u);
    Contexts contexts;
    for (size_t n : ozl::test::runWidths())
        for (int ss : srcStrides)
            for (int ds : dstStrides) {
                const RowBuffer src(n, size, srcIn, ss, rng() % 4 * size, rng, size == 4);
                RowBuffer outV(n, size, dstOut, ds, rng() % 4 * size, rng, false), outR = outV;
                outR.view.data = reinterpret_cast<char*>(outR.bytes.data()) + (outV.view.data - (char*)outV.bytes.data());
                const void* context = contexts.make(kc.kind, rng);
                const RowView srcRows[ozl::core::kMaxSources] = {src.view};
                vec(srcRows, outV.view, n, context), ref(srcRows, outR.view, n, context);
                ASSERT_EQ(outV.bytes, outR.bytes) << kc.name << " n=" << n << " src stride " << ss << " dst stride "
                                                  << ds << " first differing byte "
                                                  << ozl::test::firstDifference(outV.bytes, outR.bytes);
            }
}

INSTANTIATE_TEST_SUITE_P(Tables, ColorKernel,
                         testing::Combine(testing::Range(0, int(vectorTables().size())), testing::Range(0, 16)),
                         [](const testing::TestParamInfo<std::tuple<int, int>>& info) {
                             return std::string(vectorTables()[std::get<0>(info.param)].name) + "_" +
                                    kKernels[std::get<1>(info.param)].name;
                         });

// Every 8U input of a three-channel conversion, 2^16 pixels to a row: all of
// them in the whole space, else the greys, then a spread over the cube.
class EveryColour : public testing::TestWithParam<int> {};

TEST_P(EveryColour, EveryLevelMatchesTheScalarForm) {
    constexpr size_t kChunk = size_t{1} << 16;
    const KernelCase& kc = kKernels[GetParam()];
    const ConvertArgs args{GetParam() % 2 ? 2 : 0};  // both channel orders over the cases
    // RGB to HSV and HLS divide by floats: only the whole space proves them exact.
    const bool whole = kWholeSpaceBuild && (GetParam() == 0 || GetParam() == 2);
    std::vector<uint8_t> in(3 * kChunk), expected(in.size()), got(in.size());
    auto run = [&](PixelFn f, std::vector<uint8_t>& out) {
        RowView s, d;
        s.data = reinterpret_cast<char*>(in.data()), d.data = reinterpret_cast<char*>(out.data());
        s.pixelStep = d.pixelStep = 3, s.channelStep = d.channelStep = 1, s.channels = d.channels = 3;
        const RowView src[ozl::core::kMaxSources] = {s};
        f(src, d, kChunk, &args);
    };
    for (size_t chunk = 0; chunk < (whole ? (size_t{1} << 24) / kChunk : 4); ++chunk) {
        for (size_t i = 0; i < kChunk; ++i) {
            const size_t k = chunk * kChunk + i;
            const uint32_t c = whole ? uint32_t(k) : k < 256 ? uint32_t(k * 0x010101u) : uint32_t(k * 2654435761u) >> 8;
            in[3 * i] = uint8_t(c >> 16), in[3 * i + 1] = uint8_t(c >> 8), in[3 * i + 2] = uint8_t(c);
        }
        run(kc.get(referenceTable()), expected);
        for (const NamedTable& t : vectorTables()) {
            run(kc.get(*t.table), got);
            const size_t at = ozl::test::firstDifference(got, expected) / 3 * 3;
            ASSERT_TRUE(got == expected) << kc.name << " at " << t.name << ": input " << int(in[at]) << ","
                                         << int(in[at + 1]) << "," << int(in[at + 2]);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Conversions, EveryColour, testing::Range(0, 11),
                         [](const testing::TestParamInfo<int>& info) { return std::string(kKernels[info.param].name); });

}  // namespace
