#include "image/region.hpp"

#include <algorithm>

#include "image/layout.hpp"

namespace ozl::image {

Rect regionRect(const OzlImage* image) {
    if (!image->roi) return {0, 0, image->width, image->height};
    const OzlROI& roi = *image->roi;
    Rect r{roi.xOffset, roi.yOffset, roi.width, roi.height};
    r.width += std::min(0, image->width - roi.xOffset - roi.width);
    r.height += std::min(0, image->height - roi.yOffset - roi.height);
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
    const ptrdiff_t bits = depthBits(image->depth);
    const ptrdiff_t step = image->widthStep;
    const ptrdiff_t x = image->roi->xOffset;
    const ptrdiff_t y = image->roi->yOffset;
    ptrdiff_t offset = y * step;
    if (image->dataOrder == OZL_DATA_ORDER_PLANE)
        offset += step * image->height * channel + (x * bits) / 8;
    else
        offset += ((channel + x * image->nChannels) * bits) / 8;
    start.data = image->imageData + offset;
    if (image->depth == OZL_DEPTH_1U) start.bitOffset = static_cast<int>(x % 8);
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
