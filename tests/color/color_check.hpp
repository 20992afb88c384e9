// Helpers of the colour tests: named images, a walk over every value, refusals
// on changed copies of valid headers, and the exact twist sum.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace ozl::test {

// A test that must report nothing to the error handler.
class ColorTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_TRUE(errors.empty()) << errors.last(); }
    ErrorCapture errors;
};

inline void setNames(OzlImage* im, const char* model, const char* seq) {
    std::memset(im->colorModel, 0, 4), std::memset(im->channelSeq, 0, 4);
    std::memcpy(im->colorModel, model, std::min<size_t>(4, std::strlen(model)));
    std::memcpy(im->channelSeq, seq, std::min<size_t>(4, std::strlen(seq)));
}

// An image whose model and channel sequence are both `model`.
inline TestImage namedImage(const char* model, unsigned depth, int w, int h, int nCh = 3,
                            int order = OZL_DATA_ORDER_PIXEL, bool alpha = false) {
    TestImage im(depth, w, h, nCh, order, alpha);
    setNames(im, model, model);
    return im;
}

// f(x, y, channel) over the first three channels (or fewer) of the whole
// image; stops at the first fatal failure.
inline void forEachValue(const TestImage& im, const std::function<void(int, int, int)>& f) {
    for (int y = 0; y < im->height; ++y)
        for (int x = 0; x < im->width; ++x)
            for (int ch = 0; ch < std::min(3, im->nChannels); ++ch) {
                f(x, y, ch);
                if (testing::Test::HasFatalFailure()) return;
            }
}

// The call on changed copies of the two headers (over the same pixels) must
// give exactly `expected` and leave dst's pixels as they were.
using Change = void (*)(OzlImage* src, OzlImage* dst);
inline void refuseOnCopies(ErrorCapture& errors, const TestImage& src, const TestImage& dst, Change change,
                           const std::function<void(OzlImage*, OzlImage*)>& call, const ErrorReport& expected) {
    const auto before = dst.bytes();
    OzlImage s = *src.get(), d = *dst.get();
    change(&s, &d);
    call(&s, &d);
    expectRefused(errors, dst, before, expected);
}

// floor((row . x + constant) / 2^s + 1/2) + offset, unsaturated.
inline int64_t twistExact(const int32_t* row, int s, int offset, int64_t x0, int64_t x1, int64_t x2) {
    const int64_t sum = row[0] * x0 + row[1] * x1 + row[2] * x2 + row[3] + (s ? int64_t{1} << (s - 1) : 0);
    return (sum >= 0 ? sum >> s : -((-sum + (int64_t{1} << s) - 1) >> s)) + offset;
}

}  // namespace ozl::test
