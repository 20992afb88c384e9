#include "image/region.hpp"

#include <algorithm>
#include <cstdint>

#include "image/layout.hpp"

namespace ozl::image {

Rect regionRect(const OzlImage* image) {
    if (!image->roi) return {0, 0, image->width, image->height};
    const OzlROI& roi = *image->roi;
    Rect r{roi.xOffset, roi.yOffset, roi.width, roi.height};
    // In 64 bits: offsets and sizes near INT_MAX pass the header check, and the
    // excess must not wrap into a positive number. The sums stay within int.
    const int64_t overRight = int64_t{image->width} - roi.xOffset - roi.width;
    const int64_t overBottom = int64_t{image->height} - roi.yOffset - roi.height;
    if (overRight < 0) r.width = static_cast<int>(r.width + overRight);
    if (overBottom < 0) r.height = static_cast<int>(r.height + overBottom);
    return r;
}

RegionStart regionStart(const OzlImage* image, int channel) {
    RegionStart start;
    const Rect r = regionRect(image);
    start.width = std::max(0, r.width);
    start.height = std::max(0, r.height);
    if (!image->roi) {
        start.data = image->imageData;
        return start;
    }
    const int64_t x = image->roi->xOffset;
    if (image->depth == OZL_DEPTH_1U) start.bitOffset = static_cast<int>(x % 8);
    // A tiled image has no data to point into, and an empty region no first
    // pixel: its offset may lie anywhere, so no address is formed.
    if (!image->imageData || start.width == 0 || start.height == 0) return start;
    const int64_t bits = depthBits(image->depth);
    const int64_t step = image->widthStep;
    int64_t offset = image->roi->yOffset * step;
    if (image->dataOrder == OZL_DATA_ORDER_PLANE)
        offset += step * image->height * channel + (x * bits) / 8;
    else
        offset += ((channel + x * image->nChannels) * bits) / 8;
    start.data = image->imageData + static_cast<ptrdiff_t>(offset);
    return start;
}

bool wholeData(const OzlImage* a, const OzlImage* b, int flag) {
    if (flag != 0) return false;
    if (a->height != b->height || a->width != b->width || a->imageSize != b->imageSize ||
        a->align != b->align)
        return false;
    auto coversAll = [](const OzlImage* im) {
        const OzlROI* roi = im->roi;
        if (!roi) return true;
        return roi->xOffset == 0 && roi->yOffset == 0 && roi->width >= im->width &&
               roi->height >= im->height &&
               (roi->coi == 0 || (roi->coi == 1 && im->nChannels == 1));
    };
    return coversAll(a) && coversAll(b);
}

View regionView(const OzlImage* image) {
    const RegionStart start = regionStart(image, startChannel(image));
    View v;
    v.data = start.data;
    v.width = start.width;
    v.height = start.height;
    v.bitOffset = start.bitOffset;
    v.rowStep = image->widthStep;
    if (image->dataOrder == OZL_DATA_ORDER_PLANE) {
        v.planeStep = static_cast<ptrdiff_t>(image->widthStep) * image->height;
        v.pixelStride = 1;
    } else {
        v.pixelStride = image->nChannels;
    }
    return v;
}

}  // namespace ozl::image
