// The least and greatest kernels of every vector level against the scalar
// ones, bit for bit: every value type, run lengths through each vector
// width's head and tail, one and three values a pixel, rows at any alignment,
// the output's guard bytes untouched, folds in place; the packed 1-bit 3 x 3
// (every variant) with its margins in words or in the rows.
#include <gtest/gtest.h>

#include "rank/kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using namespace ozl;

TEST(ExtremeKernels, LevelsMatchReference) {
    std::mt19937 rng(7);
    const rank::RankTable& ref = rank::rankTable(cpu::Level::Ref);
    std::vector<size_t> widths;
    for (size_t n = 0; n <= 70; ++n) widths.push_back(n);
    widths.push_back(1001);
    for (cpu::Level level : test::vectorLevels()) {
        const rank::RankTable& vec = rank::rankTable(level);
        for (int e = 0; e < image::kElemCount; ++e)
            for (int g = 0; g < 2; ++g)
                for (size_t n : widths) {
                    const int step = n % 2 ? 1 : 3;
                    const size_t vb = image::elemBytes(static_cast<image::Elem>(e));
                    const size_t skew = vb * (rng() % 16), span = (n + 2 * step) * vb;  // off any vector alignment
                    std::vector<uint8_t> in(skew + rank::kMaxFold * span);
                    test::fillValues(in, static_cast<image::Elem>(e), rng);
                    const void* rows[rank::kMaxFold];
                    for (int r = 0; r < rank::kMaxFold; ++r) rows[r] = &in[skew + r * span + step * vb];
                    SCOPED_TRACE(testing::Message() << cpu::name(level) << " type " << e << " greatest " << g << " n " << n);
                    // Bands of 1 to 6 output rows (every remainder after whole bands of four).
                    const int nOut = 1 + static_cast<int>(n % 6);
                    const ptrdiff_t stride = static_cast<ptrdiff_t>(n * vb + 40);
                    std::vector<uint8_t> a(nOut * stride + 64, 0xA5), b = a;
                    vec.extreme3x3[e][g](rows, nOut, a.data() + vb, stride, n, step);
                    ref.extreme3x3[e][g](rows, nOut, b.data() + vb, stride, n, step);
                    ASSERT_EQ(a, b);
                    const int k = 2 + static_cast<int>(n % (rank::kMaxFold - 1));
                    vec.fold[e][g](rows, k, a.data() + 3 * vb, n);
                    ref.fold[e][g](rows, k, b.data() + 3 * vb, n);
                    ASSERT_EQ(a, b);
                    // In place: the output is the first input.
                    std::vector<uint8_t> c = in;
                    const void* inPlace[2] = {&in[skew], &in[skew + span]};
                    vec.fold[e][g](inPlace, 2, &in[skew], n);
                    inPlace[0] = &c[skew];
                    inPlace[1] = &c[skew + span];
                    ref.fold[e][g](inPlace, 2, &c[skew], n);
                    ASSERT_EQ(in, c);
                }
    }
}

// The packed 1-bit 3 x 3 of every level, and of the AVX-512 variants the
// processor has, against the scalar one.
TEST(ExtremeKernels, BitsLevelsMatchReference) {
    std::mt19937 rng(9);
    const rank::RankTable& ref = rank::rankTable(cpu::Level::Ref);
    struct Variant {
        std::string name;
        const rank::Bits3x3Fn* kernels;
    };
    std::vector<Variant> variants;
    for (cpu::Level level : test::vectorLevels()) variants.push_back({cpu::name(level), rank::rankTable(level).bits3x3});
    if (cpu::detected() >= cpu::Level::Avx512) variants.push_back({"avx512 plain", rank::rankTableAvx512().bits3x3});
    if (const rank::Bits3x3Fn* gfni = rank::bits3x3Gfni()) variants.push_back({"avx512 gfni", gfni});
    for (const Variant& v : variants) {
        // Packed 1-bit rows: every width through the vectors' heads and tails,
        // bands of one to six rows, the bits past the width and the bytes
        // around each output row kept. The margins come as random words, or
        // as columns of the rows themselves: next to the row, repeating its
        // end pixels, or anywhere in it. Each row is its own allocation of
        // exactly the bytes it may be read at.
        for (int width = 1; width <= 8 * 200 + 7; width += 1 + width / 64)
            for (int g = 0; g < 2; ++g) {
                const int n = (width + 7) / 8;
                const int nOut = 1 + width % 6;
                const int kind = (width + g) % 4;  // 0: words; columns 1: next to, 2: the ends, 3: anywhere
                const int any0 = static_cast<int>(rng() % width), any1 = static_cast<int>(rng() % width);
                const int columns[4][2] = {{0, 0}, {-1, width}, {0, width - 1}, {any0, any1}};
                rank::BitsMargins margins;
                margins.columns[0] = columns[kind][0];
                margins.columns[1] = columns[kind][1];
                const int from = std::min(0, margins.columns[0] >> 3), to = std::max(n, (margins.columns[1] >> 3) + 1);
                std::vector<std::vector<uint8_t>> in(nOut + 2, std::vector<uint8_t>(to - from));
                const uint8_t* rows[8];
                uint64_t words[16];
                for (int r = 0; r < nOut + 2; ++r) {
                    for (auto& byte : in[r]) byte = static_cast<uint8_t>(rng());
                    rows[r] = in[r].data() - from;
                    auto bit = [&](int c) { return uint64_t{rows[r][c >> 3] >> (7 - (c & 7)) & 1u}; };
                    words[2 * r] = kind ? bit(margins.columns[0]) : rng() & 1;
                    words[2 * r + 1] = (kind ? bit(margins.columns[1]) : rng() & 1) << 63;
                }
                rank::BitsMargins asWords;
                asWords.words = words;
                if (kind == 0) margins = asWords;
                std::vector<uint8_t> a(nOut * (n + 2), 0xA5), b = a, c = a;
                v.kernels[g](rows, margins, nOut, a.data() + 1, n + 2, width);
                ref.bits3x3[g](rows, asWords, nOut, b.data() + 1, n + 2, width);
                ref.bits3x3[g](rows, margins, nOut, c.data() + 1, n + 2, width);
                ASSERT_EQ(a, b) << v.name << ", greatest " << g << " width " << width << " kind " << kind;
                ASSERT_EQ(c, b);
            }
    }
}

}  // namespace
