// One axis of resampling by a rational factor: for every output position the
// source pixels it reads and their weights, computed once per call from exact
// integer positions.
#pragma once

#include <cstdint>

#include "geometry/common.hpp"
#include "geometry/interp.hpp"

namespace ozl::geometry {

// Output positions whose centres map into a source of `size` pixels at the
// factor num/den: those with (2i + 1) den < 2 size num.
int64_t resampledCount(int64_t size, int64_t num, int64_t den);

struct ResampleAxis {
    int count = 0;    // output positions
    int maxTaps = 0;  // source pixels any output reads
    bool fullTaps = false;  // every output reads maxTaps pixels (not super-sampling)
    // Output i reads the `taps[i]` pixels index[first[i] ...] with weights
    // weight[first[i] ...]; the weighted sum is divided by `divisor`
    // (super-sampling: the overlaps in units of 1/num source pixel, divided
    // by den; otherwise 1). Indices beyond the source are its edge's.
    Scratch<int32_t> first, taps, index;
    Scratch<double> weight;
    double divisor = 1.0;
    // 8U linear: the first neighbour, and the second's fixed-point weight
    // (the second neighbour is the next pixel, or the same one in a source
    // one pixel wide). 8U cubic: the four weights in 1/2048, in fixedW.
    Scratch<int32_t> pair, fixedW;

    // False when memory runs out.
    bool build(Inter inter, int size, int num, int den, int count, bool fixed8u);
};

}  // namespace ozl::geometry
