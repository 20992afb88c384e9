// Pixel access: ozlGetPixel, ozlPutPixel. One pixel's values, by image
// coordinates, between the image (or the tile that holds the pixel) and the
// caller's array of values.
#include <cstring>

#include "core/checks.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"

using ozl::core::Caller;
using ozl::core::fail;
using ozl::core::headersValid;

namespace {

// Where the pixel's values are: rows of `step` bytes from `data`, planes of
// `planeRows` rows, the pixel at (x, y) of that block.
struct Block {
    char* data;
    ptrdiff_t step;
    ptrdiff_t planeRows;
    int x, y;
};

// Copies the pixel's channels (one with a channel of interest) between the
// block and `values`, in either direction.
void transfer(const OzlImage* image, const Block& b, void* values, bool put) {
    auto* v = static_cast<unsigned char*>(values);
    if (image->depth == OZL_DEPTH_1U) {
        auto* byte = reinterpret_cast<unsigned char*>(b.data + b.y * b.step + b.x / 8);
        const auto bit = static_cast<unsigned char>(0x80u >> (b.x % 8));
        if (put) *byte = static_cast<unsigned char>(v[0] & 1 ? *byte | bit : *byte & ~bit);
        else v[0] = (*byte & bit) ? 1 : 0;
        return;
    }
    const ptrdiff_t size = ozl::image::depthBits(image->depth) / 8;
    const bool coi = ozl::image::hasCoi(image);
    const int first = coi ? image->roi->coi - 1 : 0;
    const int count = coi ? 1 : image->nChannels;
    for (int k = 0; k < count; ++k) {
        const int c = first + k;
        char* at = image->dataOrder == OZL_DATA_ORDER_PLANE
                       ? b.data + (c * b.planeRows + b.y) * b.step + b.x * size
                       : b.data + b.y * b.step + (static_cast<ptrdiff_t>(b.x) * image->nChannels + c) * size;
        if (put) std::memcpy(at, v + k * size, static_cast<size_t>(size));
        else std::memcpy(v + k * size, at, static_cast<size_t>(size));
    }
}

// The checks and the tile fetch shared by both directions; lines from `base`.
void access(const Caller& caller, const OzlImage* image, int x, int y, void* values, bool put,
            int base) {
    if (!headersValid(caller, {image}, base)) return;
    if (!values) {
        fail(caller, OZL_StsBadArg, "pixel==0", base + 1);
        return;
    }
    if (x < 0 || x >= image->width) {
        fail(caller, OZL_StsBadOffset, "x < 0 || x >= image->width", base + 2);
        return;
    }
    if (y < 0 || y >= image->height) {
        fail(caller, OZL_StsBadOffset, "y < 0 || y >= image->height", base + 3);
        return;
    }
    OzlTileInfo* tile = image->tileInfo;
    if (!tile) {
        transfer(image, {image->imageData, image->widthStep, image->height, x, y}, values, put);
        return;
    }
    const int column = x / tile->width, row = y / tile->height;
    tile->callBack(image, column, row, put ? OZL_GET_TILE_TO_WRITE : OZL_GET_TILE_TO_READ);
    if (!tile->tileData) {
        fail(caller, OZL_StsError, put ? "Error get tile to write" : "Error get tile to read",
             base + 5);
        return;
    }
    transfer(image,
             {tile->tileData, ozl::image::tileRowSize(image), tile->height, x % tile->width,
              y % tile->height},
             values, put);
    tile->callBack(image, column, row, OZL_RELEASE_TILE);
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlGetPixel(const OzlImage* image, int x, int y, void* pixel) {
    access({"ozlGetPixel", "ozlpixel"}, image, x, y, pixel, false, 20);
}

extern "C" OZL_API void OZL_CALL ozlPutPixel(OzlImage* image, int x, int y, const void* pixel) {
    // The values are only read when putting.
    access({"ozlPutPixel", "ozlpixel"}, image, x, y, const_cast<void*>(pixel), true, 60);
}
