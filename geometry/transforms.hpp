// The arithmetic of the plane transforms: inverses, the images of the source
// region's corners, transforms fitted to quadrangles, and the preimage of a
// point under a bilinear transform. Corners are the centres of the region's
// corner pixels, in the order (0, 0), (W-1, 0), (W-1, H-1), (0, H-1).
#pragma once

namespace ozl::geometry {

bool allFinite(const double* v, int n);

// False when the transform has no inverse (or the inverse is not finite).
bool invertAffine(const double c[2][3], double inv[2][3]);
bool invertPerspective(const double c[3][3], double inv[3][3]);

void affineQuad(const double c[2][3], int width, int height, double quad[4][2]);
void bilinearQuad(const double c[2][4], int width, int height, double quad[4][2]);
void perspectiveQuad(const double c[3][3], int width, int height, double quad[4][2]);

// rect[0] = {xmin, ymin}, rect[1] = {xmax, ymax} of the quadrangle.
void quadBound(const double quad[4][2], double rect[2][2]);

// The transforms that take the corners of a width x height region (both at
// least 2) onto quad: affine from quad[0], quad[1] and quad[3]; bilinear from
// all four; perspective from all four, false when three vertices of the
// quadrangle lie on a line.
void affineFromQuad(int width, int height, const double quad[4][2], double c[2][3]);
void bilinearFromQuad(int width, int height, const double quad[4][2], double c[2][4]);
bool perspectiveFromQuad(int width, int height, const double quad[4][2], double c[3][3]);

// The point (u, v) that the bilinear transform c takes to (x, y): of the two
// solutions the one inside [-0.5, width - 0.5) x [-0.5, height - 0.5), else
// the nearer to that area; NaN when there is none.
void bilinearPreimage(const double c[2][4], double x, double y, int width, int height, double* u,
                      double* v);

}  // namespace ozl::geometry
