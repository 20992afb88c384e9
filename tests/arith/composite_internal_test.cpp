// The compositing pixel kernels of every vector level against the scalar
// form, bit for bit: every operator, both depths, rows of every width up to
// a hundred pixels and long ones, unaligned, in place and streamed.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "arith/composite_kernels.hpp"
#include "support/kernel_check.hpp"

namespace {

using ozl::arith::AlphaFrom;
using ozl::arith::CompositeArgs;
using ozl::core::RowView;
using ozl::cpu::Level;

class CompositeKernel : public testing::TestWithParam<Level> {};

TEST_P(CompositeKernel, EveryOperatorMatchesTheScalarForm) {
    std::mt19937 rng(11);
    for (int depth = 0; depth < 2; ++depth) {
        const size_t size = depth ? 2 : 1;
        const auto vec = ozl::arith::kernelTable(GetParam()).composite[depth];
        const auto ref = ozl::arith::kernelTable(Level::Ref).composite[depth];
        ASSERT_NE(vec, ref);
        for (int op = 0; op < ozl::arith::kOperatorCount; ++op)
            for (size_t width : ozl::test::runWidths()) {
                if (width > 200 && op % 4 != 0) continue;
                CompositeArgs args;
                args.op = op;
                args.colours = 3;
                args.writeAlpha = true;
                args.alpha[0] = args.alpha[1] = AlphaFrom{AlphaFrom::Channel, 3, 0, 0};
                args.stream = rng() % 2;
                args.premultiplied = rng() % 8 != 0;  // the scalar form behind the vector one
                const int inPlace = static_cast<int>(rng() % 3);  // 0: apart, 1: on A, 2: on B
                const size_t bytes = width * 4 * size + 64;
                std::vector<uint8_t> in[3];
                for (auto& b : in) {
                    b.resize(bytes);
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
                    const RowView d = inPlace ? rows[inPlace - 1] : rows[2];
                    fn(rows, d, width, &args);
                    return std::vector<uint8_t>(out[inPlace ? inPlace - 1 : 2]);
                };
                ASSERT_EQ(run(vec), run(ref)) << "depth " << depth << " op " << op << " width " << width;
            }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, CompositeKernel, testing::ValuesIn(ozl::test::vectorLevels()),
                         ozl::test::levelName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CompositeKernel);

}  // namespace
