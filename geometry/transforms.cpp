#include "geometry/transforms.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ozl::geometry {

namespace {

// Corners of a width x height region: the centres of its corner pixels.
void corners(int width, int height, double xs[4], double ys[4]) {
    const double r = width - 1.0, b = height - 1.0;
    const double x[4] = {0.0, r, r, 0.0}, y[4] = {0.0, 0.0, b, b};
    std::copy(x, x + 4, xs);
    std::copy(y, y + 4, ys);
}

double cross(const double o[2], const double a[2], const double b[2]) {
    return (a[0] - o[0]) * (b[1] - o[1]) - (a[1] - o[1]) * (b[0] - o[0]);
}

// Distance from (u, v) to the area [-0.5, w - 0.5) x [-0.5, h - 0.5) (0 inside).
double outside(double u, double v, int w, int h) {
    const double du = u < -0.5 ? -0.5 - u : u >= w - 0.5 ? u - (w - 0.5) : 0.0;
    const double dv = v < -0.5 ? -0.5 - v : v >= h - 0.5 ? v - (h - 0.5) : 0.0;
    return std::max(du, dv);
}

}  // namespace

bool allFinite(const double* v, int n) {
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(v[i])) return false;
    return true;
}

bool invertAffine(const double c[2][3], double inv[2][3]) {
    const double det = c[0][0] * c[1][1] - c[0][1] * c[1][0];
    if (det == 0.0 || !std::isfinite(det)) return false;
    inv[0][0] = c[1][1] / det;
    inv[0][1] = -c[0][1] / det;
    inv[1][0] = -c[1][0] / det;
    inv[1][1] = c[0][0] / det;
    inv[0][2] = -(inv[0][0] * c[0][2] + inv[0][1] * c[1][2]);
    inv[1][2] = -(inv[1][0] * c[0][2] + inv[1][1] * c[1][2]);
    return allFinite(&inv[0][0], 6);
}

bool invertPerspective(const double c[3][3], double inv[3][3]) {
    const double a = c[1][1] * c[2][2] - c[1][2] * c[2][1];
    const double b = c[1][2] * c[2][0] - c[1][0] * c[2][2];
    const double d = c[1][0] * c[2][1] - c[1][1] * c[2][0];
    const double det = c[0][0] * a + c[0][1] * b + c[0][2] * d;
    if (det == 0.0 || !std::isfinite(det)) return false;
    inv[0][0] = a / det;
    inv[1][0] = b / det;
    inv[2][0] = d / det;
    inv[0][1] = (c[0][2] * c[2][1] - c[0][1] * c[2][2]) / det;
    inv[1][1] = (c[0][0] * c[2][2] - c[0][2] * c[2][0]) / det;
    inv[2][1] = (c[0][1] * c[2][0] - c[0][0] * c[2][1]) / det;
    inv[0][2] = (c[0][1] * c[1][2] - c[0][2] * c[1][1]) / det;
    inv[1][2] = (c[0][2] * c[1][0] - c[0][0] * c[1][2]) / det;
    inv[2][2] = (c[0][0] * c[1][1] - c[0][1] * c[1][0]) / det;
    return allFinite(&inv[0][0], 9);
}

void affineQuad(const double c[2][3], int width, int height, double quad[4][2]) {
    double xs[4], ys[4];
    corners(width, height, xs, ys);
    for (int i = 0; i < 4; ++i) {
        quad[i][0] = c[0][0] * xs[i] + c[0][1] * ys[i] + c[0][2];
        quad[i][1] = c[1][0] * xs[i] + c[1][1] * ys[i] + c[1][2];
    }
}

void bilinearQuad(const double c[2][4], int width, int height, double quad[4][2]) {
    double xs[4], ys[4];
    corners(width, height, xs, ys);
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 2; ++k)
            quad[i][k] = c[k][0] * xs[i] * ys[i] + c[k][1] * xs[i] + c[k][2] * ys[i] + c[k][3];
}

void perspectiveQuad(const double c[3][3], int width, int height, double quad[4][2]) {
    double xs[4], ys[4];
    corners(width, height, xs, ys);
    for (int i = 0; i < 4; ++i) {
        const double w = c[2][0] * xs[i] + c[2][1] * ys[i] + c[2][2];
        quad[i][0] = (c[0][0] * xs[i] + c[0][1] * ys[i] + c[0][2]) / w;
        quad[i][1] = (c[1][0] * xs[i] + c[1][1] * ys[i] + c[1][2]) / w;
    }
}

void quadBound(const double quad[4][2], double rect[2][2]) {
    for (int k = 0; k < 2; ++k) {
        rect[0][k] = std::min({quad[0][k], quad[1][k], quad[2][k], quad[3][k]});
        rect[1][k] = std::max({quad[0][k], quad[1][k], quad[2][k], quad[3][k]});
    }
}

void affineFromQuad(int width, int height, const double quad[4][2], double c[2][3]) {
    const double r = width - 1.0, b = height - 1.0;
    for (int k = 0; k < 2; ++k) {
        c[k][0] = (quad[1][k] - quad[0][k]) / r;
        c[k][1] = (quad[3][k] - quad[0][k]) / b;
        c[k][2] = quad[0][k];
    }
}

void bilinearFromQuad(int width, int height, const double quad[4][2], double c[2][4]) {
    // With u = x / (W-1), v = y / (H-1): q0 + (q1-q0) u + (q3-q0) v
    // + (q0-q1+q2-q3) u v.
    const double r = width - 1.0, b = height - 1.0;
    for (int k = 0; k < 2; ++k) {
        c[k][0] = (quad[0][k] - quad[1][k] + quad[2][k] - quad[3][k]) / (r * b);
        c[k][1] = (quad[1][k] - quad[0][k]) / r;
        c[k][2] = (quad[3][k] - quad[0][k]) / b;
        c[k][3] = quad[0][k];
    }
}

bool perspectiveFromQuad(int width, int height, const double quad[4][2], double c[3][3]) {
    // Three vertices on a line leave no projective map of the rectangle.
    double scale = 0.0;
    for (int i = 0; i < 4; ++i) scale = std::max({scale, std::fabs(quad[i][0]), std::fabs(quad[i][1])});
    const double tiny = 1e-12 * std::max(1.0, scale * scale);
    for (int i = 0; i < 4; ++i)
        if (std::fabs(cross(quad[i], quad[(i + 1) % 4], quad[(i + 2) % 4])) <= tiny) return false;
    // The unit square onto the quadrangle, then the region onto the square.
    const double x0 = quad[0][0], y0 = quad[0][1], x1 = quad[1][0], y1 = quad[1][1];
    const double x2 = quad[2][0], y2 = quad[2][1], x3 = quad[3][0], y3 = quad[3][1];
    const double sx = x0 - x1 + x2 - x3, sy = y0 - y1 + y2 - y3;
    double g = 0.0, h = 0.0;
    if (sx != 0.0 || sy != 0.0) {
        const double dx1 = x1 - x2, dx2 = x3 - x2, dy1 = y1 - y2, dy2 = y3 - y2;
        const double den = dx1 * dy2 - dx2 * dy1;
        if (den == 0.0) return false;
        g = (sx * dy2 - dx2 * sy) / den;
        h = (dx1 * sy - sx * dy1) / den;
    }
    const double r = width - 1.0, b = height - 1.0;
    c[0][0] = (x1 - x0 + g * x1) / r;
    c[0][1] = (x3 - x0 + h * x3) / b;
    c[0][2] = x0;
    c[1][0] = (y1 - y0 + g * y1) / r;
    c[1][1] = (y3 - y0 + h * y3) / b;
    c[1][2] = y0;
    c[2][0] = g / r;
    c[2][1] = h / b;
    c[2][2] = 1.0;
    return allFinite(&c[0][0], 9);
}

void bilinearPreimage(const double c[2][4], double x, double y, int width, int height, double* u,
                      double* v) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    *u = *v = nan;
    // x - c03 = (c00 v + c01) u + c02 v and likewise for y: eliminating u
    // leaves A v^2 + B v + C = 0.
    const double a = x - c[0][3], b = y - c[1][3];
    const double A = c[0][0] * c[1][2] - c[0][2] * c[1][0];
    const double B = a * c[1][0] - b * c[0][0] + c[0][1] * c[1][2] - c[0][2] * c[1][1];
    const double C = a * c[1][1] - b * c[0][1];
    double roots[2];
    int n = 0;
    const double scaleB = std::fabs(B) + std::fabs(C);
    if (std::fabs(A) <= 1e-14 * scaleB || A == 0.0) {
        if (B != 0.0) roots[n++] = -C / B;
    } else {
        const double disc = B * B - 4.0 * A * C;
        if (disc >= 0.0) {
            // The two roots without cancellation.
            const double q = -0.5 * (B + std::copysign(std::sqrt(disc), B));
            roots[n++] = q / A;
            if (q != 0.0) roots[n++] = C / q;
        }
    }
    double best = std::numeric_limits<double>::infinity();
    for (int i = 0; i < n; ++i) {
        const double vv = roots[i];
        const double dx = c[0][0] * vv + c[0][1], dy = c[1][0] * vv + c[1][1];
        double uu;
        if (std::fabs(dx) >= std::fabs(dy)) {
            if (dx == 0.0) continue;
            uu = (a - c[0][2] * vv) / dx;
        } else {
            uu = (b - c[1][2] * vv) / dy;
        }
        const double d = outside(uu, vv, width, height);
        if (d < best) {
            best = d;
            *u = uu;
            *v = vv;
        }
    }
}

}  // namespace ozl::geometry
