// Shared by the arith tests of the public interface: includes, depth names and
// a runner for tables of refused calls.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <random>
#include <tuple>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace ozl::arith_test {
using namespace ozl::test;

constexpr unsigned U1 = OZL_DEPTH_1U, U8 = OZL_DEPTH_8U, S8 = OZL_DEPTH_8S, U16 = OZL_DEPTH_16U,
                   S16 = OZL_DEPTH_16S, S32 = OZL_DEPTH_32S, F32 = OZL_DEPTH_32F;
constexpr double kMax32 = 2147483647.0, kMin32 = -2147483648.0;

// Random bytes in every image, the seeds counting up from `seed`.
inline void fillAll(std::initializer_list<TestImage*> images, uint32_t seed) {
    for (TestImage* im : images) im->fillRandom(seed++);
}


// Runs f on an image pair and checks the result against g(a, b) (Ref or lambda).
template <class Call, class Want>
void checkPixelwise(TestImage& d, const OzlImage* a, const OzlImage* b, Call call, Want want) {
    const TestImage before = d.clone();
    call();
    expectPixelwise(before, d, a, b, want);
}
}  // namespace ozl::arith_test
