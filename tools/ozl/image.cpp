// Library images owned by the tool, and the value rules between pictures and
// images (see image.hpp).
#include "image.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <limits>

#include "error.hpp"
#include "library.hpp"

namespace ozltool {

namespace {

struct DepthName {
    const char* name;
    unsigned depth;
};
const DepthName kDepths[] = {
    {"1u", OZL_DEPTH_1U},   {"8u", OZL_DEPTH_8U},   {"8s", OZL_DEPTH_8S},  {"16u", OZL_DEPTH_16U},
    {"16s", OZL_DEPTH_16S}, {"32s", OZL_DEPTH_32S}, {"32f", OZL_DEPTH_32F},
};

}  // namespace

unsigned parseDepth(const std::string& text) {
    std::string t = text;
    for (char& c : t) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const auto& d : kDepths)
        if (t == d.name) return d.depth;
    throw Error("unknown depth '" + text + "' (use 1u, 8u, 8s, 16u, 16s, 32s or 32f)");
}

std::string depthName(unsigned depth) {
    for (const auto& d : kDepths)
        if (d.depth == depth) return d.name;
    return "?";
}

bool isFloatDepth(unsigned depth) { return depth == OZL_DEPTH_32F; }
bool isSignedDepth(unsigned depth) { return (depth & OZL_DEPTH_SIGN) != 0; }

double depthMin(unsigned depth) {
    switch (depth) {
    case OZL_DEPTH_8S: return -128;
    case OZL_DEPTH_16S: return -32768;
    case OZL_DEPTH_32S: return -2147483648.0;
    case OZL_DEPTH_32F: return -std::numeric_limits<float>::max();
    default: return 0;
    }
}

double depthMax(unsigned depth) {
    switch (depth) {
    case OZL_DEPTH_1U: return 1;
    case OZL_DEPTH_8U: return 255;
    case OZL_DEPTH_8S: return 127;
    case OZL_DEPTH_16U: return 65535;
    case OZL_DEPTH_16S: return 32767;
    case OZL_DEPTH_32S: return 2147483647.0;
    default: return std::numeric_limits<float>::max();
    }
}

ColorModel colorModelFor(int channels) {
    switch (channels) {
    case 1: return {"GRAY", "G"};
    case 2: return {"GRAY", "GA"};
    case 3: return {"RGB", "RGB"};
    default: return {"RGBA", "RGBA"};
    }
}

// ---------------------------------------------------------------------------

Image::Image(int width, int height, int channels, unsigned depth, ColorModel model) {
    if (!model.model) model = colorModelFor(channels);
    const bool alpha = channels == 2 || channels == 4;
    callLibrary("ozlCreateImageHeader", [&] {
        image_ = ozlCreateImageHeader(channels, alpha ? channels : 0, depth, model.model,
                                      model.sequence, OZL_DATA_ORDER_PIXEL, OZL_ORIGIN_TL,
                                      OZL_ALIGN_32BYTES, width, height, nullptr, nullptr,
                                      nullptr, nullptr);
    });
    callLibrary("ozlAllocateImage", [&] {
        if (depth == OZL_DEPTH_32F) ozlAllocateImageFP(image_, 1, 0.0f);
        else ozlAllocateImage(image_, 1, 0);
    });
    if (!image_ || !image_->imageData) {
        release();
        throw Error("out of memory for a " + std::to_string(width) + "x" + std::to_string(height) +
                    " image");
    }
}

Image::~Image() { release(); }

Image Image::adopt(OzlImage* image) {
    Image owned;
    owned.image_ = image;
    return owned;
}

void Image::release() {
    if (image_) ozlDeallocate(image_, OZL_IMAGE_ALL);
    image_ = nullptr;
    mask_.reset();
}

Image::Image(Image&& other) noexcept : image_(other.image_), mask_(std::move(other.mask_)) {
    other.image_ = nullptr;
}

Image& Image::operator=(Image&& other) noexcept {
    if (this != &other) {
        release();
        image_ = other.image_;
        mask_ = std::move(other.mask_);
        other.image_ = nullptr;
    }
    return *this;
}

Image Image::clone() const {
    Image copy(width(), height(), channels(), depth(), {image_->colorModel, image_->channelSeq});
    // The model fields are four characters, not necessarily terminated.
    std::memcpy(copy.image_->colorModel, image_->colorModel, 4);
    std::memcpy(copy.image_->channelSeq, image_->channelSeq, 4);
    std::memcpy(copy.image_->imageData, image_->imageData, static_cast<size_t>(image_->imageSize));
    if (image_->roi) {
        const OzlROI& r = *image_->roi;
        copy.setRegion(r.coi, r.xOffset, r.yOffset, r.width, r.height);
    }
    std::memcpy(copy.image_->borderMode, image_->borderMode, sizeof image_->borderMode);
    std::memcpy(copy.image_->borderConst, image_->borderConst, sizeof image_->borderConst);
    return copy;
}

void Image::setRegion(int coi, int x, int y, int w, int h) {
    if (image_->roi) {
        ozlSetROI(image_->roi, coi, x, y, w, h);
        return;
    }
    OzlROI* roi = nullptr;
    callLibrary("ozlCreateROI", [&] { roi = ozlCreateROI(coi, x, y, w, h); });
    image_->roi = roi;
}

void Image::setChannel(int coi) {
    if (image_->roi) image_->roi->coi = coi;
    else setRegion(coi, 0, 0, width(), height());
}

void Image::clearRegion() {
    if (image_->roi) ozlDeleteROI(image_->roi);
    image_->roi = nullptr;
}

void Image::setMask(Image mask) {
    mask_ = std::make_unique<Image>(std::move(mask));
    image_->maskROI = mask_->get();
}

void Image::setModel(const char* model, const char* sequence) {
    // Four characters each, padded with NUL, not necessarily terminated.
    char m[4] = {}, s[4] = {};
    std::memcpy(m, model, strnlen(model, 4));
    std::memcpy(s, sequence, strnlen(sequence, 4));
    std::memcpy(image_->colorModel, m, 4);
    std::memcpy(image_->channelSeq, s, 4);
}

double Image::at(int x, int y, int c) const {
    const char* row = image_->imageData + static_cast<ptrdiff_t>(y) * image_->widthStep;
    const size_t i = static_cast<size_t>(x) * image_->nChannels + c;
    switch (image_->depth) {
    case OZL_DEPTH_1U: return (static_cast<unsigned char>(row[x / 8]) >> (7 - x % 8)) & 1;
    case OZL_DEPTH_8U: return reinterpret_cast<const std::uint8_t*>(row)[i];
    case OZL_DEPTH_8S: return reinterpret_cast<const std::int8_t*>(row)[i];
    case OZL_DEPTH_16U: return reinterpret_cast<const std::uint16_t*>(row)[i];
    case OZL_DEPTH_16S: return reinterpret_cast<const std::int16_t*>(row)[i];
    case OZL_DEPTH_32S: return reinterpret_cast<const std::int32_t*>(row)[i];
    default: return reinterpret_cast<const float*>(row)[i];
    }
}

namespace {

// Rounded to the nearest integer and saturated to [lo, hi]; NaN becomes 0.
double saturate(double v, double lo, double hi) {
    if (std::isnan(v)) return 0;
    return std::min(hi, std::max(lo, std::floor(v + 0.5)));
}

}  // namespace

void Image::put(int x, int y, int c, double v) {
    char* row = image_->imageData + static_cast<ptrdiff_t>(y) * image_->widthStep;
    const size_t i = static_cast<size_t>(x) * image_->nChannels + c;
    const double s = isFloatDepth(depth()) ? v : saturate(v, depthMin(depth()), depthMax(depth()));
    switch (image_->depth) {
    case OZL_DEPTH_1U: {
        auto& byte = reinterpret_cast<unsigned char*>(row)[x / 8];
        const auto bit = static_cast<unsigned char>(0x80 >> (x % 8));
        byte = static_cast<unsigned char>(s != 0 ? byte | bit : byte & ~bit);
        break;
    }
    case OZL_DEPTH_8U: reinterpret_cast<std::uint8_t*>(row)[i] = static_cast<std::uint8_t>(s); break;
    case OZL_DEPTH_8S: reinterpret_cast<std::int8_t*>(row)[i] = static_cast<std::int8_t>(s); break;
    case OZL_DEPTH_16U: reinterpret_cast<std::uint16_t*>(row)[i] = static_cast<std::uint16_t>(s); break;
    case OZL_DEPTH_16S: reinterpret_cast<std::int16_t*>(row)[i] = static_cast<std::int16_t>(s); break;
    case OZL_DEPTH_32S: reinterpret_cast<std::int32_t*>(row)[i] = static_cast<std::int32_t>(s); break;
    default: reinterpret_cast<float*>(row)[i] = static_cast<float>(s); break;
    }
}

// ---------------------------------------------------------------------------
// Pictures in

namespace {

// A file sample as a value at the working depth.
double sampleToDepth(double v, Sample sample, unsigned depth) {
    if (sample == Sample::Bit) {
        if (depth == OZL_DEPTH_1U) return v;
        v *= 255;
        sample = Sample::U8;
    }
    const double white = sampleWhite(sample);
    switch (depth) {
    case OZL_DEPTH_1U: return v >= (sample == Sample::F32 ? 0.5 : (white + 1) / 2) ? 1 : 0;
    case OZL_DEPTH_8U: return sample == Sample::F32 ? v : v * 255.0 / white;
    case OZL_DEPTH_16U: return sample == Sample::F32 ? v : v * 65535.0 / white;
    default: return v;
    }
}

}  // namespace

namespace {

// Samples that are the depth's values as they stand: rows are copied.
bool sameValues(Sample sample, unsigned depth) {
    return (sample == Sample::U8 && depth == OZL_DEPTH_8U) ||
           (sample == Sample::U16 && depth == OZL_DEPTH_16U) ||
           (sample == Sample::F32 && depth == OZL_DEPTH_32F);
}

}  // namespace

Image toImage(const Picture& p, unsigned depth) {
    if (depth == OZL_DEPTH_1U && p.channels != 1)
        throw Error("a 1u image has one channel; this picture has " + std::to_string(p.channels));
    Image image(p.width, p.height, p.channels, depth);
    if (sameValues(p.sample, depth)) {
        for (int y = 0; y < p.height; ++y)
            std::memcpy(image.get()->imageData + static_cast<ptrdiff_t>(y) * image.get()->widthStep,
                        p.row(y), p.rowBytes());
        return image;
    }
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x)
            for (int c = 0; c < p.channels; ++c)
                image.put(x, y, c, sampleToDepth(p.get(x, y, c), p.sample, depth));
    return image;
}

Image toMask(const Picture& p) {
    Image mask(p.width, p.height, 1, OZL_DEPTH_1U);
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x) {
            bool on = false;
            for (int c = 0; c < p.channels && !on; ++c)
                if (!(p.hasAlpha() && c == p.channels - 1)) on = p.get(x, y, c) != 0;
            mask.put(x, y, 0, on ? 1 : 0);
        }
    return mask;
}

// ---------------------------------------------------------------------------
// Pictures out

Sample naturalSample(unsigned depth, Sample inputSample) {
    switch (depth) {
    case OZL_DEPTH_1U: return Sample::Bit;
    case OZL_DEPTH_8U: return Sample::U8;
    case OZL_DEPTH_16U: return Sample::U16;
    default: return inputSample == Sample::U16 ? Sample::U16 : Sample::U8;
    }
}

namespace {

double depthToSample(double v, unsigned depth, Sample sample) {
    if (sample == Sample::F32) return v;
    const double white = sampleWhite(sample);
    double scaled = v;
    if (depth == OZL_DEPTH_1U) scaled = v * white;
    else if (depth == OZL_DEPTH_8U) scaled = v * white / 255.0;
    else if (depth == OZL_DEPTH_16U) scaled = v * white / 65535.0;
    if (sample == Sample::Bit) {
        // A bit is white from the middle of the range up.
        if (depth == OZL_DEPTH_1U) return v;
        const double mid = depth == OZL_DEPTH_16U ? 32768 : 128;
        return v >= mid ? 1 : 0;
    }
    return saturate(scaled, 0, white);
}

}  // namespace

Picture toPicture(const Image& image, const OutputStyle& style) {
    Picture p(image.width(), image.height(), image.channels(), style.sample);
    if (!style.stretch && sameValues(style.sample, image.depth())) {
        for (int y = 0; y < p.height; ++y)
            std::memcpy(p.row(y),
                        image.get()->imageData + static_cast<ptrdiff_t>(y) * image.get()->widthStep,
                        p.rowBytes());
        return p;
    }
    const int colours = image.hasAlpha() ? image.channels() - 1 : image.channels();
    double lo = 0, hi = 0;
    if (style.stretch) {
        lo = std::numeric_limits<double>::infinity();
        hi = -lo;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                for (int c = 0; c < colours; ++c) {
                    const double v = image.at(x, y, c);
                    if (std::isfinite(v)) lo = std::min(lo, v), hi = std::max(hi, v);
                }
        if (!(lo < hi)) hi = lo + 1;  // flat (or empty): black
    }
    const double white = sampleWhite(style.sample);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            for (int c = 0; c < image.channels(); ++c) {
                const double v = image.at(x, y, c);
                double s;
                if (style.stretch && c < colours) {
                    const double t = std::isfinite(v) ? (v - lo) / (hi - lo) : 0;
                    s = style.sample == Sample::F32 ? t
                        : style.sample == Sample::Bit ? (t >= 0.5 ? 1 : 0)
                                                      : saturate(t * white, 0, white);
                } else {
                    s = depthToSample(v, image.depth(), style.sample);
                }
                p.set(x, y, c, s);
            }
    return p;
}

}  // namespace ozltool
