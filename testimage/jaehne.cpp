// Test pattern: ozlCreateImageJaehne, a zone plate whose rings grow denser
// with the distance from the centre.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/checks.hpp"
#include "image/depth.hpp"

namespace {

const ozl::core::Caller kJaehne{"ozlCreateImageJaehne", "ozljaehne"};

// The pattern's value at (x, y) in [-1, 1]: sin(pi r^2 / (2 R)), r the
// distance from the image's centre and R half the larger side, so that the
// local frequency r / (2 R) cycles per pixel reaches one half at R.
struct ZonePlate {
    double cx, cy, scale;
    ZonePlate(int width, int height)
        : cx((width - 1) / 2.0), cy((height - 1) / 2.0),
          scale(3.14159265358979323846 / (width > height ? width : height)) {}
    double at(int x, int y) const {
        const double dx = x - cx, dy = y - cy;
        return std::sin(scale * (dx * dx + dy * dy));
    }
};

template <class T>
void fillRows(const ZonePlate& plate, OzlImage* image) {
    const ozl::image::DepthInfo* d = ozl::image::depthInfo(image->depth);
    const double mid = (static_cast<double>(d->lo) + static_cast<double>(d->hi)) / 2.0;
    const double half = (static_cast<double>(d->hi) - static_cast<double>(d->lo)) / 2.0;
    for (int y = 0; y < image->height; ++y) {
        T* row = reinterpret_cast<T*>(image->imageData + static_cast<ptrdiff_t>(y) * image->widthStep);
        for (int x = 0; x < image->width; ++x) {
            const double v = plate.at(x, y);
            if constexpr (std::is_same_v<T, float>) {
                row[x] = static_cast<float>(v);
            } else {
                // The whole range of the depth, rounded to the nearest level.
                row[x] = static_cast<T>(std::floor(mid + half * v + 0.5));
            }
        }
    }
}

void fillBits(const ZonePlate& plate, OzlImage* image) {
    for (int y = 0; y < image->height; ++y) {
        auto* row = reinterpret_cast<unsigned char*>(image->imageData) +
                    static_cast<ptrdiff_t>(y) * image->widthStep;
        std::memset(row, 0, static_cast<size_t>(image->widthStep));
        for (int x = 0; x < image->width; ++x)
            if (plate.at(x, y) >= 0) row[x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));
    }
}

}  // namespace

extern "C" OZL_API OzlImage* OZL_CALL ozlCreateImageJaehne(unsigned int depth, int width,
                                                            int height) {
    using ozl::core::fail;
    if (!ozl::image::depthInfo(depth)) {
        fail(kJaehne, OZL_StsBadDepth, "Incorrect depth of the pattern", 40);
        return nullptr;
    }
    if (width < 1 || height < 1) {
        fail(kJaehne, OZL_StsBadImageSize, "Incorrect size of the pattern", 42);
        return nullptr;
    }
    OzlImage* image = ozlCreateImageHeader(1, 0, depth, "GRAY", "G", OZL_DATA_ORDER_PIXEL,
                                           OZL_ORIGIN_TL, OZL_ALIGN_8BYTES, width, height,
                                           nullptr, nullptr, nullptr, nullptr);
    if (image) {
        if (depth == OZL_DEPTH_32F) ozlAllocateImageFP(image, 0, 0.0f);
        else ozlAllocateImage(image, 0, 0);
    }
    if (!image || !image->imageData) {
        ozlDeallocate(image, OZL_IMAGE_HEADER);
        fail(kJaehne, OZL_StsNoMem, "Not enough memory for the pattern", 50);
        return nullptr;
    }
    const ZonePlate plate(width, height);
    if (depth == OZL_DEPTH_1U) fillBits(plate, image);
    else ozl::image::withValueType(depth, [&](auto tag) { fillRows<decltype(tag)>(plate, image); });
    return image;
}
