// ozlSetBorderMode: the per-side border modes and constants of a header.
#include <algorithm>

#include "ozl.h"

namespace ozl::image {
namespace {

// Constants are kept within the range of the image's pixel values; 32-bit depths
// (and anything unrecognised) keep the value as given.
int clampBorderConst(uint32_t depth, int value) {
    switch (depth) {
        case OZL_DEPTH_1U: return std::clamp(value, 0, 1);
        case OZL_DEPTH_8U: return std::clamp(value, 0, 255);
        case OZL_DEPTH_8S: return std::clamp(value, -128, 127);
        case OZL_DEPTH_16U: return std::clamp(value, 0, 65535);
        case OZL_DEPTH_16S: return std::clamp(value, -32768, 32767);
        default: return value;
    }
}

}  // namespace
}  // namespace ozl::image

// The mode is stored unchecked; readers of the border decide what it means.
extern "C" OZL_API void OZL_CALL ozlSetBorderMode(OzlImage* image, int mode, int border,
                                                  int constVal) {
    const int value = ozl::image::clampBorderConst(image->depth, constVal);
    for (int side = 0; side < 4; ++side) {
        if ((border & (1 << side)) == 0) continue;
        image->borderMode[side] = mode;
        image->borderConst[side] = value;
    }
}
