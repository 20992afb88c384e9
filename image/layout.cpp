#include "image/layout.hpp"

namespace ozl::image {

int tileRowSize(const OzlImage* image) {
    if (ozlCheckImageHeader(image) != OZL_StsOk || image->tileInfo == nullptr) return 0;
    return rowSize(image->dataOrder, image->depth, image->align, image->nChannels,
                   image->tileInfo->width);
}

}  // namespace ozl::image
