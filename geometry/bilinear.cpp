// Bilinear warps and their helpers: ozlWarpBilinear, ozlWarpBilinearQ,
// ozlGetBilinearQuad, ozlGetBilinearBound, ozlGetBilinearTransform.
#include "geometry/common.hpp"
#include "geometry/transforms.hpp"
#include "geometry/warp.hpp"
#include "image/region.hpp"

namespace ozl::geometry {

namespace {

constexpr const char* kModule = "ozlbilin";
const Entry kWarpBilinear{{"ozlWarpBilinear", kModule}, 50};
const Entry kWarpBilinearQ{{"ozlWarpBilinearQ", kModule}, 100};
const Entry kBilinearQuad{{"ozlGetBilinearQuad", kModule}, 150};
const Entry kBilinearBound{{"ozlGetBilinearBound", kModule}, 170};
const Entry kBilinearTransform{{"ozlGetBilinearTransform", kModule}, 190};

// The warp by forward coefficients, checked for finiteness at line offset `at`.
void warpBilinear(const Entry& entry, OzlImage* src, OzlImage* dst, const double c[2][4],
                  int interpolate, int at) {
    if (!allFinite(&c[0][0], 8)) {
        entry.at(at, OZL_StsBadArg, "Coefficients are not finite");
        return;
    }
    Mapping map;
    map.kind = Mapping::Bilinear;
    for (int r = 0; r < 2; ++r)
        for (int k = 0; k < 4; ++k) map.m[r][k] = c[r][k];
    runWarp(entry, src, dst, map, interpolate);
}

}  // namespace

}  // namespace ozl::geometry

using namespace ozl::geometry;

extern "C" OZL_API void OZL_CALL ozlWarpBilinear(OzlImage* srcImage, OzlImage* dstImage,
                                                 const double coeffs[2][4], int interpolate) {
    if (!checkWarp(kWarpBilinear, srcImage, dstImage, interpolate)) return;
    if (!coeffs) {
        kWarpBilinear.at(kAtParam, OZL_StsBadArg, "NULL pointer argument");
        return;
    }
    warpBilinear(kWarpBilinear, srcImage, dstImage, coeffs, interpolate, kAtParam + 1);
}

extern "C" OZL_API void OZL_CALL ozlWarpBilinearQ(OzlImage* srcImage, OzlImage* dstImage,
                                                  const double quad[4][2], int interpolate) {
    if (!checkWarp(kWarpBilinearQ, srcImage, dstImage, interpolate)) return;
    if (!quad) {
        kWarpBilinearQ.at(kAtParam, OZL_StsBadArg, "NULL pointer argument");
        return;
    }
    const ozl::image::Rect r = ozl::image::regionRect(srcImage);
    if (r.width < 2 || r.height < 2) {
        kWarpBilinearQ.at(kAtParam + 1, OZL_StsBadArg, "The region is 1 pixel wide or high");
        return;
    }
    double c[2][4];
    bilinearFromQuad(r.width, r.height, quad, c);
    warpBilinear(kWarpBilinearQ, srcImage, dstImage, c, interpolate, kAtParam + 2);
}

extern "C" OZL_API void OZL_CALL ozlGetBilinearQuad(OzlImage* srcImage, const double coeffs[2][4],
                                                    double quad[4][2]) {
    int w, h;
    if (!checkHelper(kBilinearQuad, srcImage, {coeffs, quad}, &w, &h)) return;
    bilinearQuad(coeffs, w, h, quad);
}

extern "C" OZL_API void OZL_CALL ozlGetBilinearBound(OzlImage* srcImage,
                                                     const double coeffs[2][4],
                                                     double rect[2][2]) {
    int w, h;
    if (!checkHelper(kBilinearBound, srcImage, {coeffs, rect}, &w, &h)) return;
    // Every point of the region maps into the convex hull of the corners'
    // images, so their box bounds it.
    double quad[4][2];
    bilinearQuad(coeffs, w, h, quad);
    quadBound(quad, rect);
}

extern "C" OZL_API void OZL_CALL ozlGetBilinearTransform(OzlImage* srcImage, double coeffs[2][4],
                                                         const double quad[4][2]) {
    int w, h;
    if (!checkHelper(kBilinearTransform, srcImage, {coeffs, quad}, &w, &h)) return;
    if (w < 2 || h < 2) {
        kBilinearTransform.at(2, OZL_StsBadArg, "The region is 1 pixel wide or high");
        return;
    }
    bilinearFromQuad(w, h, quad, coeffs);
}
