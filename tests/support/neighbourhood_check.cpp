#include "support/neighbourhood_check.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace ozl::test {

long long mappedIndex(long long v, long long n, int mode) {
    if (v >= 0 && v < n) return v;
    if (mode == 1) return v < 0 ? 0 : n - 1;
    if (mode == 3) return ((v % n) + n) % n;
    // Mirror: the distance past the edge, read away from that edge and back.
    const long long t = v < 0 ? -v - 1 : v - n;
    long long r = t % n;
    if ((t / n) % 2 == 1) r = n - 1 - r;
    return v < 0 ? r : n - 1 - r;
}

namespace {

// Mode 0's value: for 32F the top constant, else the side's, clamped to the
// depth's range or wrapped to its bits (an Or with 0 keeps the stored bits).
double constantOf(const OzlImage* image, int side, bool clamp) {
    if (image->depth == OZL_DEPTH_32F) return static_cast<float>(image->borderConst[0]);
    const double c = image->borderConst[side];
    const auto [lo, hi] = depthRange(image->depth);
    return clamp ? std::clamp(c, lo, hi) : reference(Ref::Or, image->depth, c, 0);
}

}  // namespace

double borderedValue(const OzlImage* image, long long u, long long v, int channel,
                     const OzlImage* pixels, bool clampConstants) {
    if (!pixels) pixels = image;
    const long long w = image->width, h = image->height;
    if (u >= 0 && u < w && v >= 0 && v < h)
        return valueOf(pixels, static_cast<int>(u), static_cast<int>(v), channel);
    const int side = v < 0 ? 0 : v >= h ? 1 : u < 0 ? 2 : 3;
    const int mode = image->borderMode[side] & 3;
    if (mode == 0) return constantOf(image, side, clampConstants);
    // Above and below, the side's rule maps the column too.
    return valueOf(pixels, static_cast<int>(mappedIndex(u, w, mode)),
                   static_cast<int>(mappedIndex(v, h, mode)), channel);
}

int sourceChannel(const OzlImage* src, const OzlImage* dst, int c) {
    return dst->roi && dst->roi->coi ? src->roi->coi - 1 : c;
}

void expectFiltered(const TestImage& before, const OzlImage* dst, int width, int height,
                    const ExpectedFn& expected, const OzlImage* mask) {
    const int dx = dst->roi ? dst->roi->xOffset : 0, dy = dst->roi ? dst->roi->yOffset : 0;
    const int mx = mask && mask->roi ? mask->roi->xOffset : 0;
    const int my = mask && mask->roi ? mask->roi->yOffset : 0;
    const int coi = dst->roi ? dst->roi->coi : 0;
    const int nCh = dst->nChannels - (dst->alphaChannel ? 1 : 0);
    int bad = 0;
    for (int y = 0; y < dst->height; ++y)
        for (int x = 0; x < dst->width; ++x)
            for (int c = 0; c < dst->nChannels; ++c) {
                const int rx = x - dx, ry = y - dy;
                bool inside = rx >= 0 && ry >= 0 && rx < width && ry < height && (coi ? c == coi - 1 : c < nCh);
                if (inside && mask) inside = valueOf(mask, mx + rx, my + ry, 0) != 0;
                const double want = inside ? expected(rx, ry, c) : before.at(x, y, c);
                const double got = valueOf(dst, x, y, c);
                if (got != want && (got == got || want == want) && ++bad <= 5)
                    ADD_FAILURE() << "at " << x << "," << y << " channel " << c << (inside ? " (processed)" : " (untouched)")
                                  << ": " << got << " expected " << want;
            }
}

}  // namespace ozl::test
