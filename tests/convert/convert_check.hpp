// Shared by the convert tests of the public interface: includes, depth names,
// a runner for tables of refused calls and the identity for expectPixelwise.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <tuple>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace ozl::convert_test {
using namespace ozl::test;

constexpr unsigned U1 = OZL_DEPTH_1U, U8 = OZL_DEPTH_8U, S8 = OZL_DEPTH_8S, U16 = OZL_DEPTH_16U,
                   S16 = OZL_DEPTH_16S, S32 = OZL_DEPTH_32S, F32 = OZL_DEPTH_32F;
constexpr unsigned kAllDepths[] = {U1, U8, S8, U16, S16, S32, F32};
inline double same(double a, double) { return a; }
inline auto constant(double v) {
    return [v](double, double) { return v; };
}


// A tiled image and a plain one of the same geometry, bytes and region.
struct TiledPair {
    TiledImage tiled;
    TestImage plain;
    TiledPair(unsigned depth, int w, int h, int nCh, int tileW, int tileH, uint32_t seed,
              const int* roi = nullptr, double lo = 0, double hi = 0)
        : tiled(depth, w, h, nCh, OZL_DATA_ORDER_PIXEL, tileW, tileH), plain(depth, w, h, nCh) {
        tiled.pixels().fillRandom(seed, lo, hi);
        plain.fillRandom(seed, lo, hi);
        if (roi) tiled.setRoi(0, roi[0], roi[1], roi[2], roi[3]), plain.setRoi(0, roi[0], roi[1], roi[2], roi[3]);
    }
    bool same() const { return const_cast<TiledImage&>(tiled).pixels().bytes() == plain.bytes(); }
};
}  // namespace ozl::convert_test
