// Perspective warps and their helpers: ozlWarpPerspective,
// ozlWarpPerspectiveQ, ozlGetPerspectiveQuad, ozlGetPerspectiveBound,
// ozlGetPerspectiveTransform.
#include "geometry/common.hpp"
#include "geometry/transforms.hpp"
#include "geometry/warp.hpp"
#include "image/region.hpp"

namespace ozl::geometry {

namespace {

constexpr const char* kModule = "ozlpersp";
const Entry kWarpPerspective{{"ozlWarpPerspective", kModule}, 50};
const Entry kWarpPerspectiveQ{{"ozlWarpPerspectiveQ", kModule}, 100};
const Entry kPerspectiveQuad{{"ozlGetPerspectiveQuad", kModule}, 150};
const Entry kPerspectiveBound{{"ozlGetPerspectiveBound", kModule}, 170};
const Entry kPerspectiveTransform{{"ozlGetPerspectiveTransform", kModule}, 190};

// The warp by the forward matrix, checked for finiteness (line offset `at`)
// and an inverse (at + 1).
void warpPerspective(const Entry& entry, OzlImage* src, OzlImage* dst, const double c[3][3],
                     int interpolate, int at) {
    if (!allFinite(&c[0][0], 9)) {
        entry.at(at, OZL_StsBadArg, "Coefficients are not finite");
        return;
    }
    double inv[3][3];
    if (!invertPerspective(c, inv)) {
        entry.at(at + 1, OZL_StsBadArg, "The transform is singular");
        return;
    }
    Mapping map;
    map.kind = Mapping::Perspective;
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 3; ++k) map.m[r][k] = inv[r][k];
    runWarp(entry, src, dst, map, interpolate);
}

}  // namespace

}  // namespace ozl::geometry

using namespace ozl::geometry;

extern "C" OZL_API void OZL_CALL ozlWarpPerspective(OzlImage* srcImage, OzlImage* dstImage,
                                                    const double coeffs[3][3], int interpolate) {
    if (!checkWarp(kWarpPerspective, srcImage, dstImage, interpolate)) return;
    if (!coeffs) {
        kWarpPerspective.at(kAtParam, OZL_StsBadArg, "NULL pointer argument");
        return;
    }
    warpPerspective(kWarpPerspective, srcImage, dstImage, coeffs, interpolate, kAtParam + 1);
}

extern "C" OZL_API void OZL_CALL ozlWarpPerspectiveQ(OzlImage* srcImage, OzlImage* dstImage,
                                                     const double quad[4][2], int interpolate) {
    if (!checkWarp(kWarpPerspectiveQ, srcImage, dstImage, interpolate)) return;
    if (!quad) {
        kWarpPerspectiveQ.at(kAtParam, OZL_StsBadArg, "NULL pointer argument");
        return;
    }
    const ozl::image::Rect r = ozl::image::regionRect(srcImage);
    if (r.width < 2 || r.height < 2) {
        kWarpPerspectiveQ.at(kAtParam + 1, OZL_StsBadArg, "The region is 1 pixel wide or high");
        return;
    }
    double c[3][3];
    if (!perspectiveFromQuad(r.width, r.height, quad, c)) {
        kWarpPerspectiveQ.at(kAtParam + 2, OZL_StsBadArg, "Three vertices of quad on a line");
        return;
    }
    warpPerspective(kWarpPerspectiveQ, srcImage, dstImage, c, interpolate, kAtParam + 3);
}

extern "C" OZL_API void OZL_CALL ozlGetPerspectiveQuad(OzlImage* srcImage,
                                                       const double coeffs[3][3],
                                                       double quad[4][2]) {
    int w, h;
    if (!checkHelper(kPerspectiveQuad, srcImage, {coeffs, quad}, &w, &h)) return;
    perspectiveQuad(coeffs, w, h, quad);
}

extern "C" OZL_API void OZL_CALL ozlGetPerspectiveBound(OzlImage* srcImage,
                                                        const double coeffs[3][3],
                                                        double rect[2][2]) {
    int w, h;
    if (!checkHelper(kPerspectiveBound, srcImage, {coeffs, rect}, &w, &h)) return;
    double quad[4][2];
    perspectiveQuad(coeffs, w, h, quad);
    quadBound(quad, rect);
}

extern "C" OZL_API void OZL_CALL ozlGetPerspectiveTransform(OzlImage* srcImage,
                                                            double coeffs[3][3],
                                                            const double quad[4][2]) {
    int w, h;
    if (!checkHelper(kPerspectiveTransform, srcImage, {coeffs, quad}, &w, &h)) return;
    if (w < 2 || h < 2) {
        kPerspectiveTransform.at(2, OZL_StsBadArg, "The region is 1 pixel wide or high");
        return;
    }
    double c[3][3];
    if (!perspectiveFromQuad(w, h, quad, c)) {
        kPerspectiveTransform.at(3, OZL_StsBadArg, "Three vertices of quad on a line");
        return;
    }
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 3; ++k) coeffs[r][k] = c[r][k];
}
