// Depth and row-layout helpers shared by the image model and every operation.
#pragma once

#include <cstdint>

#include "ozl.h"

namespace ozl::image {

// Bits per channel value: the depth code without its sign bit.
constexpr int depthBits(uint32_t depth) { return static_cast<int>(depth & ~OZL_DEPTH_SIGN); }

constexpr bool isLegalDepth(uint32_t depth) {
    return depth == OZL_DEPTH_1U || depth == OZL_DEPTH_8U || depth == OZL_DEPTH_16U ||
           depth == OZL_DEPTH_32F || depth == OZL_DEPTH_8S || depth == OZL_DEPTH_16S ||
           depth == OZL_DEPTH_32S;
}

constexpr bool isLegalAlign(int align) {
    return align == 4 || align == 8 || align == 16 || align == 32;
}

// Bytes of one row (of one plane in plane order): the bits of the row rounded up
// to a multiple of align * 8 bits, in 64 bits. -1 when the bit count itself
// does not fit (width and channel count near INT_MAX). The arguments are those
// of a layout that passed the header checks.
constexpr int64_t rowBytes(int dataOrder, uint32_t depth, int align, int nChannels, int width) {
    const int64_t perRow = dataOrder == OZL_DATA_ORDER_PLANE ? 1 : nChannels;
    const int64_t valueBits = static_cast<int64_t>(width) * depthBits(depth);  // < 2^37
    if (perRow > (INT64_MAX / 2) / valueBits) return -1;
    const int64_t bits = valueBits * perRow;
    const int64_t alignBits = static_cast<int64_t>(align) * 8;
    return (bits + alignBits - 1) / alignBits * alignBits / 8;
}

// The row size as the 32-bit widthStep field holds it, for layouts whose rows
// fit (headers are refused where they are made otherwise).
constexpr int rowSize(int dataOrder, uint32_t depth, int align, int nChannels, int width) {
    return static_cast<int>(rowBytes(dataOrder, depth, align, nChannels, width));
}

// Bytes of pixel data for a header with the given row size.
constexpr int imageSizeFor(int dataOrder, int nChannels, int height, int widthStep) {
    return dataOrder == OZL_DATA_ORDER_PLANE ? height * widthStep * nChannels
                                             : height * widthStep;
}

// Row size of one tile of a tiled image that has passed the header check; 0 for a
// NULL, invalid or untiled image.
int tileRowSize(const OzlImage* image);

}  // namespace ozl::image
