// Float conversions of the dense-plane fetch and store: integers exactly into
// floats, floats back rounded to nearest (ties to even), saturated, NaN as 0,
// through strided rows and a chosen channel.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "core/planes.hpp"

namespace {

using ozl::core::RowView;

// Values 3 apart (two foreign values between), the wanted channel second.
template <class T>
RowView rowOver(std::vector<T>& v) {
    RowView r;
    r.data = reinterpret_cast<char*>(v.data());
    r.pixelStep = 3 * sizeof(T);
    r.channelStep = sizeof(T);
    r.channels = 2;
    return r;
}

template <class T>
std::vector<double> stored(unsigned depth, const std::vector<float>& in) {
    std::vector<T> buf(3 * in.size(), T(7));
    ozl::core::storeValues(in.data(), in.size(), depth, rowOver(buf), 1);
    std::vector<double> out;
    for (size_t i = 0; i < in.size(); ++i) {
        EXPECT_EQ(buf[3 * i], T(7));  // the other values stay
        EXPECT_EQ(buf[3 * i + 2], T(7));
        out.push_back(static_cast<double>(buf[3 * i + 1]));
    }
    std::vector<float> back(in.size());
    ozl::core::loadValues(rowOver(buf), 1, depth, in.size(), back.data());
    for (size_t i = 0; i < in.size(); ++i) EXPECT_EQ(back[i], static_cast<float>(out[i]));
    return out;
}

TEST(FloatPlanes, StoreRoundsAndSaturates) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const std::vector<float> in = {nan, -inf, inf, -0.5f, 0.5f, 1.5f, 2.5f, -2.5f, 127.5f,
                                   128.5f, 255.5f, -129.0f, 32767.5f, 65534.6f, -32768.6f,
                                   2147483520.0f, 2147483648.0f, -2147483648.0f, -3e9f};
    using V = std::vector<double>;
    const double i32max = 2147483647.0, i32min = -2147483648.0;
    EXPECT_EQ(stored<uint8_t>(OZL_DEPTH_8U, in),
              (V{0, 0, 255, 0, 0, 2, 2, 0, 128, 128, 255, 0, 255, 255, 0, 255, 255, 0, 0}));
    EXPECT_EQ(stored<int8_t>(OZL_DEPTH_8S, in),
              (V{0, -128, 127, -0.0, 0, 2, 2, -2, 127, 127, 127, -128, 127, 127, -128, 127, 127,
                 -128, -128}));
    EXPECT_EQ(stored<uint16_t>(OZL_DEPTH_16U, in),
              (V{0, 0, 65535, 0, 0, 2, 2, 0, 128, 128, 256, 0, 32768, 65535, 0, 65535, 65535, 0, 0}));
    EXPECT_EQ(stored<int16_t>(OZL_DEPTH_16S, in),
              (V{0, -32768, 32767, 0, 0, 2, 2, -2, 128, 128, 256, -129, 32767, 32767, -32768,
                 32767, 32767, -32768, -32768}));
    EXPECT_EQ(stored<int32_t>(OZL_DEPTH_32S, in),
              (V{0, i32min, i32max, 0, 0, 2, 2, -2, 128, 128, 256, -129, 32768, 65535, -32769,
                 2147483520.0, i32max, i32min, i32min}));
    std::vector<float> f(3 * in.size());
    ozl::core::storeValues(in.data(), in.size(), OZL_DEPTH_32F, rowOver(f), 1);
    for (size_t i = 0; i < in.size(); ++i)
        EXPECT_EQ(std::memcmp(&f[3 * i + 1], &in[i], sizeof(float)), 0) << i;
}

}  // namespace
