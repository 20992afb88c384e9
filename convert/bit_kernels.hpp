// Pixel kernels between 1-bit rows and rows of values (one processed channel
// each side, as the 1-bit images have): the conversions to and from 1U, the
// bitonal levels and the threshold into a bit image. Scalar only: they move
// an eighth of a byte per value.
#pragma once

#include "core/pixelwise.hpp"
#include "image/depth.hpp"

namespace ozl::convert {

// What a 0 bit and a 1 bit become, already within the destination's range.
struct BitLevels {
    int32_t zero = 0;
    int32_t one = 1;
};

// 1U source to a destination of value type e; context BitLevels.
core::PixelFn bitsToValues(image::Elem e);
// Values of type e to 1U as convertValue would to 0..1; no context.
core::PixelFn valuesToBits(image::Elem e);
// Values of type e to 1U: 1 where thresholdValue gives a nonzero level;
// context ThresholdArgs.
core::PixelFn thresholdToBits(image::Elem e);

}  // namespace ozl::convert
