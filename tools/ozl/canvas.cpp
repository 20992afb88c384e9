#include "canvas.hpp"

#include <algorithm>
#include <vector>

namespace ozltool {

Canvas::Canvas(int width, int height, Rgb background) : picture_(width, height, 3, Sample::U8) {
    fill(0, 0, width, height, background);
}

void Canvas::put(int x, int y, Rgb c) {
    if (x < 0 || y < 0 || x >= width() || y >= height()) return;
    unsigned char* p = picture_.row(y) + 3 * static_cast<std::size_t>(x);
    p[0] = c.r;
    p[1] = c.g;
    p[2] = c.b;
}

void Canvas::fill(int x, int y, int w, int h, Rgb colour) {
    for (int j = std::max(0, y); j < std::min(height(), y + h); ++j)
        for (int i = std::max(0, x); i < std::min(width(), x + w); ++i) put(i, j, colour);
}

void Canvas::lighten(int x, int y, int w, int h, Rgb c) {
    for (int j = std::max(0, y); j < std::min(height(), y + h); ++j)
        for (int i = std::max(0, x); i < std::min(width(), x + w); ++i) {
            unsigned char* p = picture_.row(j) + 3 * static_cast<std::size_t>(i);
            p[0] = std::max(p[0], c.r);
            p[1] = std::max(p[1], c.g);
            p[2] = std::max(p[2], c.b);
        }
}

void Canvas::draw(const Picture& src, int x, int y, int w, int h) {
    if (w < 1 || h < 1 || src.width < 1 || src.height < 1) return;
    const int colours = src.channels >= 3 ? 3 : 1;
    // Each target pixel averages the source pixels whose centres fall in its
    // footprint (at least the nearest one), so that fine patterns shrink
    // to their mean instead of aliasing.
    std::vector<int> x0(w + 1), y0(h + 1);
    for (int i = 0; i <= w; ++i) x0[i] = static_cast<int>(static_cast<long long>(i) * src.width / w);
    for (int j = 0; j <= h; ++j) y0[j] = static_cast<int>(static_cast<long long>(j) * src.height / h);
    for (int j = 0; j < h; ++j) {
        const int ya = y0[j], yb = std::max(y0[j + 1], ya + 1);
        for (int i = 0; i < w; ++i) {
            const int xa = x0[i], xb = std::max(x0[i + 1], xa + 1);
            double sum[3] = {0, 0, 0};
            for (int sy = ya; sy < yb; ++sy)
                for (int sx = xa; sx < xb; ++sx)
                    for (int c = 0; c < colours; ++c) sum[c] += src.get(sx, sy, c);
            const double n = static_cast<double>(xb - xa) * (yb - ya);
            unsigned char v[3];
            for (int c = 0; c < 3; ++c)
                v[c] = static_cast<unsigned char>(sum[colours == 3 ? c : 0] / n + 0.5);
            put(x + i, y + j, {v[0], v[1], v[2]});
        }
    }
}

int Canvas::text(int x, int y, const std::string& s, Rgb colour, int scale) {
    int pen = x;
    for (char ch : s) {
        const unsigned char* g = glyph(ch);
        for (int row = 0; row < kGlyphHeight; ++row)
            for (int col = 0; col < kGlyphWidth; ++col)
                if (g[row] & (0x10 >> col))
                    fill(pen + col * scale, y + row * scale, scale, scale, colour);
        pen += kGlyphAdvance * scale;
    }
    return pen - x;
}

int Canvas::textWidth(const std::string& s, int scale) {
    return static_cast<int>(s.size()) * kGlyphAdvance * scale;
}

void fitInto(int width, int height, int boxWidth, int boxHeight, int* w, int* h) {
    if (static_cast<long long>(width) * boxHeight >= static_cast<long long>(height) * boxWidth) {
        *w = boxWidth;
        *h = std::max(1, static_cast<int>(static_cast<long long>(height) * boxWidth / width));
    } else {
        *h = boxHeight;
        *w = std::max(1, static_cast<int>(static_cast<long long>(width) * boxHeight / height));
    }
}

}  // namespace ozltool
