// Affine warps and their helpers, rotation and shear: ozlWarpAffine,
// ozlGetAffineQuad, ozlGetAffineBound, ozlGetAffineTransform, ozlRotate,
// ozlGetRotateShift, ozlShear.
#include <cmath>

#include "geometry/common.hpp"
#include "geometry/transforms.hpp"
#include "geometry/warp.hpp"

namespace ozl::geometry {

namespace {

constexpr const char* kModule = "ozlaffine";
const Entry kWarpAffine{{"ozlWarpAffine", kModule}, 60};
const Entry kAffineQuad{{"ozlGetAffineQuad", kModule}, 120};
const Entry kAffineBound{{"ozlGetAffineBound", kModule}, 140};
const Entry kAffineTransform{{"ozlGetAffineTransform", kModule}, 160};
const Entry kRotate{{"ozlRotate", kModule}, 200};
const Entry kRotateShift{{"ozlGetRotateShift", kModule}, 260};
const Entry kShear{{"ozlShear", kModule}, 280};

// The warp by the forward transform c, once the images and the interpolation
// have passed: finite coefficients (at line offset `at`) with an inverse
// (at + 1).
void warpAffine(const Entry& entry, OzlImage* src, OzlImage* dst, const double c[2][3],
                int interpolate, int at) {
    if (!allFinite(&c[0][0], 6)) {
        entry.at(at, OZL_StsBadArg, "Coefficients are not finite");
        return;
    }
    double inv[2][3];
    if (!invertAffine(c, inv)) {
        entry.at(at + 1, OZL_StsBadArg, "The transform is singular");
        return;
    }
    Mapping map;
    map.kind = Mapping::Affine;
    for (int r = 0; r < 2; ++r)
        for (int k = 0; k < 3; ++k) map.m[r][k] = inv[r][k];
    runWarp(entry, src, dst, map, interpolate);
}

// Cosine and sine of an angle in degrees, exact at multiples of 90 degrees
// (so that quarter turns move pixels without rounding).
void cosSin(double angle, double* c, double* s) {
    const double quarter = angle / 90.0;
    if (std::isfinite(angle) && quarter == std::floor(quarter)) {
        const long long q = static_cast<long long>(std::fmod(quarter, 4.0) + 4.0) % 4;
        const double cs[4] = {1.0, 0.0, -1.0, 0.0}, sn[4] = {0.0, 1.0, 0.0, -1.0};
        *c = cs[q];
        *s = sn[q];
        return;
    }
    const double r = angle * (3.14159265358979323846 / 180.0);
    *c = std::cos(r);
    *s = std::sin(r);
}

}  // namespace

}  // namespace ozl::geometry

using namespace ozl::geometry;

extern "C" OZL_API void OZL_CALL ozlWarpAffine(OzlImage* srcImage, OzlImage* dstImage,
                                               const double coeffs[2][3], int interpolate) {
    if (!checkWarp(kWarpAffine, srcImage, dstImage, interpolate)) return;
    if (!coeffs) {
        kWarpAffine.at(kAtParam, OZL_StsBadArg, "NULL pointer argument");
        return;
    }
    warpAffine(kWarpAffine, srcImage, dstImage, coeffs, interpolate, kAtParam + 1);
}

extern "C" OZL_API void OZL_CALL ozlGetAffineQuad(OzlImage* srcImage, const double coeffs[2][3],
                                                  double quad[4][2]) {
    int w, h;
    if (!checkHelper(kAffineQuad, srcImage, {coeffs, quad}, &w, &h)) return;
    affineQuad(coeffs, w, h, quad);
}

extern "C" OZL_API void OZL_CALL ozlGetAffineBound(OzlImage* srcImage, const double coeffs[2][3],
                                                   double rect[2][2]) {
    int w, h;
    if (!checkHelper(kAffineBound, srcImage, {coeffs, rect}, &w, &h)) return;
    double quad[4][2];
    affineQuad(coeffs, w, h, quad);
    quadBound(quad, rect);
}

extern "C" OZL_API void OZL_CALL ozlGetAffineTransform(OzlImage* srcImage, double coeffs[2][3],
                                                       const double quad[4][2]) {
    int w, h;
    if (!checkHelper(kAffineTransform, srcImage, {coeffs, quad}, &w, &h)) return;
    if (w < 2 || h < 2) {
        kAffineTransform.at(2, OZL_StsBadArg, "The region is 1 pixel wide or high");
        return;
    }
    affineFromQuad(w, h, quad, coeffs);
}

extern "C" OZL_API void OZL_CALL ozlRotate(OzlImage* srcImage, OzlImage* dstImage, double angle,
                                           double xShift, double yShift, int interpolate) {
    if (!checkWarp(kRotate, srcImage, dstImage, interpolate)) return;
    double c, s;
    cosSin(angle, &c, &s);
    const double coeffs[2][3] = {{c, s, xShift}, {-s, c, yShift}};
    warpAffine(kRotate, srcImage, dstImage, coeffs, interpolate, kAtParam);
}

extern "C" OZL_API void OZL_CALL ozlGetRotateShift(double xCenter, double yCenter, double angle,
                                                   double* xShift, double* yShift) {
    if (!xShift || !yShift) {
        kRotateShift.at(1, OZL_StsBadArg, "NULL pointer argument");
        return;
    }
    double c, s;
    cosSin(angle, &c, &s);
    // The centre maps to itself: centre = R centre + shift.
    *xShift = xCenter - (c * xCenter + s * yCenter);
    *yShift = yCenter - (-s * xCenter + c * yCenter);
}

extern "C" OZL_API void OZL_CALL ozlShear(OzlImage* srcImage, OzlImage* dstImage, double xShear,
                                          double yShear, double xShift, double yShift,
                                          int interpolate) {
    if (!checkWarp(kShear, srcImage, dstImage, interpolate)) return;
    const double coeffs[2][3] = {{1.0, xShear, xShift}, {yShear, 1.0, yShift}};
    warpAffine(kShear, srcImage, dstImage, coeffs, interpolate, kAtParam);
}
