#include "image/mask.hpp"

#include <algorithm>
#include <cstdint>

#include "image/bits.hpp"
#include "image/region.hpp"

namespace ozl::image {


void andBits(const unsigned char* a, int aBit, const unsigned char* b, int bBit,
             unsigned char* d, int dBit, size_t n) {
    mergeBits(a, aBit, b, bBit, d, dBit, nullptr, 0, n,
              [](uint8_t x, uint8_t y) { return static_cast<uint8_t>(x & y); });
}

void copyBits(const unsigned char* s, int sBit, unsigned char* d, int dBit, size_t n) {
    mergeBits(s, sBit, nullptr, 0, d, dBit, nullptr, 0, n, [](uint8_t x, uint8_t) { return x; });
}

CombinedMask combineMasks(const OzlImage* const* masks, int count) {
    const OzlImage* present[4];
    int n = 0;
    for (int i = 0; i < count && n < 4; ++i)
        if (masks[i]) present[n++] = masks[i];
    CombinedMask result;
    if (n == 0) return result;
    if (n == 1) {
        result.image = const_cast<OzlImage*>(present[0]);
        return result;
    }

    RegionStart starts[4];
    int width = 0, height = 0;
    for (int i = 0; i < n; ++i) {
        starts[i] = regionStart(present[i], 0);
        width = i == 0 ? starts[i].width : std::min(width, starts[i].width);
        height = i == 0 ? starts[i].height : std::min(height, starts[i].height);
    }
    if (width == 0 || height == 0) {
        result.flag = CombinedMask::Empty;
        return result;
    }

    OzlImage* combined = ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "GRAY", "G   ",
                                              OZL_DATA_ORDER_PLANE, present[0]->origin, 8, width,
                                              height, nullptr, nullptr, nullptr, nullptr);
    if (combined) ozlAllocateImage(combined, 0, 0);
    if (!combined || !combined->imageData) {
        ozlDeallocate(combined, OZL_IMAGE_HEADER);
        result.flag = CombinedMask::NoMemory;
        return result;
    }
    for (int y = 0; y < height; ++y) {
        auto* d = reinterpret_cast<uint8_t*>(combined->imageData) +
                  static_cast<ptrdiff_t>(y) * combined->widthStep;
        auto row = [&](int i) {
            return reinterpret_cast<const uint8_t*>(starts[i].data) +
                   static_cast<ptrdiff_t>(y) * present[i]->widthStep;
        };
        copyBits(row(0), starts[0].bitOffset, d, 0, static_cast<size_t>(width));
        for (int i = 1; i < n; ++i)
            andBits(d, 0, row(i), starts[i].bitOffset, d, 0, static_cast<size_t>(width));
    }
    result.image = combined;
    result.flag = CombinedMask::Owned;
    return result;
}

void releaseMask(CombinedMask& mask) {
    if (mask.flag == CombinedMask::Owned && mask.image)
        ozlDeallocate(mask.image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    mask.image = nullptr;
    mask.flag = CombinedMask::Direct;
}

}  // namespace ozl::image
