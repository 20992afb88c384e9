// The rank family's kernels below the interface: the 16-bit division by
// multiplication over every dividend, for every divisor the 8-bit mean uses.
#include <gtest/gtest.h>

#include "rank/kernels.hpp"

namespace {

TEST(RankKernels, DivisionByMultiplication) {
    for (uint32_t divisor = 1; divisor <= 257; ++divisor) {
        const ozl::rank::Divider16 d = ozl::rank::divider16(static_cast<uint16_t>(divisor));
        for (uint32_t x = 0; x < 65536; ++x)
            if (ozl::rank::divide16(d, x) != x / divisor) FAIL() << x << " / " << divisor;
    }
}

}  // namespace
