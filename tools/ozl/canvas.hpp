// A small drawing surface for the pictures the tool makes itself (the demo's
// contact sheet, histogram charts): filled rectangles, scaled pictures and
// text in the tool's bitmap font.
#pragma once

#include <string>

#include "image_io.hpp"

namespace ozltool {

struct Rgb {
    unsigned char r, g, b;
};

// The glyph of a printable character (others draw as '?'): 9 rows of 5 bits.
const unsigned char* glyph(char c);
constexpr int kGlyphWidth = 5, kGlyphHeight = 9, kGlyphAdvance = 6, kLineHeight = 11;

class Canvas {
public:
    Canvas(int width, int height, Rgb background);

    int width() const { return picture_.width; }
    int height() const { return picture_.height; }
    const Picture& picture() const { return picture_; }

    void fill(int x, int y, int w, int h, Rgb colour);
    // Each channel becomes the larger of what is there and the colour's, so
    // that red, green and blue drawn over each other add up to white.
    void lighten(int x, int y, int w, int h, Rgb colour);
    // Draws an 8-bit picture (grey, grey + alpha, RGB or RGBA; alpha ignored)
    // shrunk by area averaging (or enlarged by repetition) to w x h at (x, y).
    void draw(const Picture& picture, int x, int y, int w, int h);
    // Text from (x, y), the top of the capitals, `scale` pixels per font
    // pixel; returns the width drawn.
    int text(int x, int y, const std::string& s, Rgb colour, int scale = 1);
    static int textWidth(const std::string& s, int scale = 1);

private:
    Picture picture_;
    void put(int x, int y, Rgb colour);
};

// The largest w x h with the picture's aspect ratio that fits a box.
void fitInto(int width, int height, int boxWidth, int boxHeight, int* w, int* h);

}  // namespace ozltool
