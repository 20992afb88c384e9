#include "geometry/resize_plan.hpp"

#include <algorithm>

namespace ozl::geometry {

namespace {

int64_t floorDiv(int64_t a, int64_t b) {
    const int64_t q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

int32_t clampIndex(int64_t i, int size) {
    return static_cast<int32_t>(std::min<int64_t>(std::max<int64_t>(i, 0), size - 1));
}

}  // namespace

int64_t resampledCount(int64_t size, int64_t num, int64_t den) {
    return (2 * size * num + den - 1) / (2 * den);
}

bool ResampleAxis::build(Inter inter, int size, int num, int den, int n, bool fixed8u) {
    count = n;
    // Super-sampling reads the source pixels the footprint touches: at most
    // ceil(den / num) + 1 of them.
    maxTaps = inter == Inter::NN ? 1
              : inter == Inter::Linear ? 2
              : inter == Inter::Cubic ? 4
                                      : static_cast<int>((den + num - 1) / num + 1);
    fullTaps = inter != Inter::Super;
    const size_t total = static_cast<size_t>(n) * maxTaps;
    if (!first.allocate(n) || !taps.allocate(n) || !index.allocate(total) ||
        !weight.allocate(total))
        return false;
    if (fixed8u && (!pair.allocate(n) || !fixedW.allocate(total))) return false;
    divisor = inter == Inter::Super ? static_cast<double>(den) : 1.0;
    int32_t at = 0;
    for (int64_t i = 0; i < n; ++i) {
        first[i] = at;
        // Centre of output i in source pixels: ((2i + 1) den - num) / (2 num).
        const int64_t centre = (2 * i + 1) * den - num, twice = 2 * static_cast<int64_t>(num);
        const int64_t x0 = floorDiv(centre, twice);
        const int64_t rem = centre - x0 * twice;
        const double f = static_cast<double>(rem) / static_cast<double>(twice);
        auto add = [&](int64_t src, double w) {
            index[at] = clampIndex(src, size);
            weight[at] = w;
            ++at;
        };
        switch (inter) {
            case Inter::NN: add((2 * i + 1) * den / twice, 1.0); break;
            case Inter::Linear:
                add(x0, 1.0 - f);
                add(x0 + 1, f);
                if (fixed8u) {
                    // Both neighbours clamped to one pixel read the same
                    // whatever the weight: the pair is moved inside, so that
                    // the second neighbour is always the next pixel.
                    int64_t w = (rem * 2 * kWeightOne + twice) / (2 * twice);
                    int64_t p = x0;
                    if (size == 1) {
                        p = 0;
                        w = 0;
                    } else if (x0 < 0) {
                        p = 0;
                        w = 0;
                    } else if (x0 >= size - 1) {
                        p = size - 2;
                        w = kWeightOne;
                    }
                    pair[i] = static_cast<int32_t>(p);
                    fixedW[i] = static_cast<int32_t>(w);
                }
                break;
            case Inter::Cubic: {
                double w[4];
                cubicWeights(f, w);
                for (int k = 0; k < 4; ++k) add(x0 - 1 + k, w[k]);
                if (fixed8u) fixedCubicWeights(f, &fixedW[4 * i]);
                break;
            }
            case Inter::Super: {
                // Output i covers [i den, (i + 1) den), source pixel j covers
                // [j num, (j + 1) num), in units of 1/num source pixel.
                const int64_t lo = i * den, hi = (i + 1) * den;
                for (int64_t j = lo / num; j * num < hi; ++j)
                    add(j, static_cast<double>(std::min(hi, (j + 1) * num) - std::max(lo, j * num)));
                break;
            }
        }
        taps[i] = at - first[i];
    }
    return true;
}

}  // namespace ozl::geometry
