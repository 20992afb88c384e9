// Library images owned by the tool, and the passage between pictures (files)
// and images at a working depth.
//
// Values cross that passage as follows. The unsigned depths hold fractions of
// white: an 8-bit sample of 255 is 255 at 8U and 65535 at 16U, and a 16-bit
// sample is divided by 257 (rounded) at 8U. The signed and float depths take
// the sample values as they are (saturated where they do not fit). A 1-bit
// sample reads as black or white (0 or 255 outside 1U). Going out, the same
// rules run backwards, and values beyond the file's range are clamped; with
// stretching, the result's smallest and largest values become black and white.
#pragma once

#include <memory>
#include <string>

#include "image_io.hpp"
#include "ozl.h"

namespace ozltool {

// Depth names as users write them: 1u 8u 8s 16u 16s 32s 32f.
unsigned parseDepth(const std::string& text);
std::string depthName(unsigned depth);
bool isFloatDepth(unsigned depth);
bool isSignedDepth(unsigned depth);
double depthMin(unsigned depth);
double depthMax(unsigned depth);

// The colour model a picture of n channels gets ("GRAY", "RGB", "RGBA"),
// and its channel sequence.
struct ColorModel {
    const char* model;
    const char* sequence;
};
ColorModel colorModelFor(int channels);

// An image header with its pixel data, region of interest and mask, released
// together. Rows are in pixel order, top row first.
class Image {
public:
    Image() = default;
    Image(int width, int height, int channels, unsigned depth, ColorModel model = {nullptr, nullptr});
    ~Image();
    Image(Image&& other) noexcept;
    Image& operator=(Image&& other) noexcept;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    // Takes over a header (and its data) the library made.
    static Image adopt(OzlImage* image);
    // A copy of the pixels, region and colour model (not the mask).
    Image clone() const;

    OzlImage* get() const { return image_; }
    explicit operator bool() const { return image_ != nullptr; }
    int width() const { return image_->width; }
    int height() const { return image_->height; }
    int channels() const { return image_->nChannels; }
    bool hasAlpha() const { return image_->alphaChannel != 0; }
    unsigned depth() const { return image_->depth; }
    long long pixels() const { return static_cast<long long>(width()) * height(); }

    // Region of interest (coi 0: every channel). Clearing drops it.
    void setRegion(int coi, int x, int y, int w, int h);
    // The channel of interest (0: all), keeping the rectangle.
    void setChannel(int coi);
    void clearRegion();
    // Takes the mask over; the image points at it while both live.
    void setMask(Image mask);
    void setModel(const char* model, const char* sequence);

    // One value at (x, y) of channel c, as a number (1U: 0 or 1).
    double at(int x, int y, int c) const;
    void put(int x, int y, int c, double v);

private:
    OzlImage* image_ = nullptr;
    std::unique_ptr<Image> mask_;
    void release();
};

// A picture at a working depth (see the value rules above).
Image toImage(const Picture& picture, unsigned depth);
// A mask: 1 where any channel of the picture is not black.
Image toMask(const Picture& picture);

struct OutputStyle {
    Sample sample = Sample::U8;
    bool stretch = false;
};
// An image as a picture with the samples the style asks for.
Picture toPicture(const Image& image, const OutputStyle& style);
// The samples an image is naturally written with, given the input file's.
Sample naturalSample(unsigned depth, Sample inputSample);

}  // namespace ozltool
