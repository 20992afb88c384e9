// The embedded colour scene: a landscape (sky, sun, two ranges of hills, a
// lake with the sky's reflection) with a colour wheel and three coloured
// balls, so that colour, filter and statistics operations have smooth
// gradients, hard edges and saturated hues to work on.
#include <algorithm>
#include <cmath>

#include "demo.hpp"

namespace ozltool {
namespace {

struct Colour {
    double r, g, b;  // 0..1
};

Colour mix(Colour a, Colour b, double t) {
    t = std::clamp(t, 0.0, 1.0);
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

Colour hsv(double h, double s, double v) {
    const double c = v * s;
    const double hp = std::fmod(h, 1.0) * 6.0;
    const double x = c * (1 - std::fabs(std::fmod(hp, 2.0) - 1));
    Colour rgb{0, 0, 0};
    switch (static_cast<int>(hp)) {
    case 0: rgb = {c, x, 0}; break;
    case 1: rgb = {x, c, 0}; break;
    case 2: rgb = {0, c, x}; break;
    case 3: rgb = {0, x, c}; break;
    case 4: rgb = {x, 0, c}; break;
    default: rgb = {c, 0, x}; break;
    }
    const double m = v - c;
    return {rgb.r + m, rgb.g + m, rgb.b + m};
}

const double kPi = 3.14159265358979323846;

// Sky at height v (0 top), with the sun's glow; u, v in units of the height.
Colour sky(double u, double v, double aspect) {
    Colour c = mix({0.10, 0.22, 0.52}, {0.86, 0.88, 0.92}, v / 0.55);
    const double du = u - 0.72 * aspect, dv = v - 0.20;
    const double d = std::sqrt(du * du + dv * dv);
    c = mix(c, {1.0, 0.85, 0.55}, 0.55 * std::exp(-d * 9));
    if (d < 0.065) c = mix({1.0, 0.93, 0.62}, c, std::max(0.0, (d - 0.06) / 0.005));
    return c;
}

Colour landscape(double u, double v, double aspect) {
    const double x = u / aspect;  // 0..1 across
    const double far = 0.47 + 0.05 * std::sin(6.0 * x + 0.4) + 0.02 * std::sin(17.0 * x + 1.0);
    const double near = 0.60 + 0.06 * std::sin(4.0 * x + 2.0) + 0.015 * std::sin(23.0 * x);
    const double lake = 0.78;
    if (v >= lake) {
        // The reflection: the scene above the shore, mirrored, darker and rippled.
        const double ripple = 0.004 * std::sin(v * 260.0 + 3.0 * std::sin(x * 40.0));
        const Colour above = landscape(u + ripple, 2 * lake - v - 0.002, aspect);
        return mix(above, {0.05, 0.12, 0.22}, 0.35 + 0.4 * (v - lake) / (1 - lake));
    }
    // Balls on the near hills: red, yellow, blue, lit from the sun's side.
    const struct {
        double x, y, r;
        Colour c;
    } balls[] = {{0.40, 0.66, 0.045, {0.85, 0.12, 0.10}},
                 {0.52, 0.69, 0.035, {0.95, 0.80, 0.10}},
                 {0.61, 0.67, 0.04, {0.12, 0.30, 0.85}}};
    for (const auto& b : balls) {
        const double dx = u - b.x * aspect, dy = v - b.y;
        const double d2 = (dx * dx + dy * dy) / (b.r * b.r);
        if (d2 < 1) {
            const double light = 0.45 + 0.55 * std::clamp(0.5 - (dx - dy) / b.r * 0.6, 0.0, 1.0);
            return mix({b.c.r * light, b.c.g * light, b.c.b * light}, {1, 1, 1},
                       std::max(0.0, 0.9 - 4 * ((dx + 0.3 * b.r) * (dx + 0.3 * b.r) +
                                                (dy + 0.3 * b.r) * (dy + 0.3 * b.r)) /
                                               (b.r * b.r)));
        }
    }
    if (v >= near) return mix({0.32, 0.58, 0.22}, {0.12, 0.32, 0.10}, (v - near) / 0.15);
    if (v >= far) return mix({0.42, 0.40, 0.62}, {0.26, 0.28, 0.45}, (v - far) / 0.12);
    Colour c = sky(u, v, aspect);
    // The colour wheel: hue around, saturation outwards.
    const double wu = u - 0.17 * aspect, wv = v - 0.20;
    const double r = std::sqrt(wu * wu + wv * wv) / 0.14;
    if (r < 1) {
        const double hue = (std::atan2(wv, wu) + kPi) / (2 * kPi);
        c = mix(hsv(hue, r, 1.0), c, std::max(0.0, (r - 0.97) / 0.03));
    }
    return c;
}

unsigned char byte(double v) {
    return static_cast<unsigned char>(std::clamp(v, 0.0, 1.0) * 255.0 + 0.5);
}

}  // namespace

Picture makeScene(int width, int height, bool alpha) {
    Picture p(width, height, alpha ? 4 : 3, Sample::U8);
    const double aspect = static_cast<double>(width) / height;
    for (int y = 0; y < height; ++y) {
        unsigned char* row = p.row(y);
        for (int x = 0; x < width; ++x) {
            const double u = (x + 0.5) / height, v = (y + 0.5) / height;
            const Colour c = landscape(u, v, aspect);
            unsigned char* px = row + static_cast<std::size_t>(x) * p.channels;
            px[0] = byte(c.r);
            px[1] = byte(c.g);
            px[2] = byte(c.b);
            if (alpha) px[3] = byte(1.0 - 0.75 * x / std::max(1, width - 1));
        }
    }
    return p;
}

}  // namespace ozltool
