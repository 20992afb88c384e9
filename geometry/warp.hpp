// The warp runner shared by the affine, bilinear and perspective warps, the
// rotation, the shear and the remapping: destination positions are mapped to
// source positions a row at a time, then sampled.
#pragma once

#include "geometry/common.hpp"
#include "ozl.h"

namespace ozl::geometry {

// How the centre of destination pixel (x, y) maps to a source position.
struct Mapping {
    enum Kind { Affine, Bilinear, Perspective, Remap };
    Kind kind = Affine;
    // Affine: the inverse transform (rows 0 and 1); Perspective: the inverse
    // matrix; Bilinear: the forward coefficients in m[0..1][0..3].
    double m[3][4] = {};
};

// The walk of a warp whose arguments have passed the checks: interpolate may
// carry OZL_FILL_FROM_BORDER; xMap and yMap are read for Remap only.
void runWarp(const Entry& entry, OzlImage* src, OzlImage* dst, const Mapping& mapping,
             int interpolate, OzlImage* xMap = nullptr, OzlImage* yMap = nullptr);

// The checks every warp starts with: the images, then the interpolation
// (nearest, linear or cubic, with the fill flag).
bool checkWarp(const Entry& entry, const OzlImage* src, const OzlImage* dst, int interpolate);

}  // namespace ozl::geometry
