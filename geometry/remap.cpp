// Remapping by per-pixel source positions: ozlRemap.
#include "core/checks.hpp"
#include "geometry/common.hpp"
#include "geometry/warp.hpp"
#include "image/region.hpp"

namespace ozl::geometry {
namespace {
const Entry kRemap{{"ozlRemap", "ozlremap"}, 40};
}  // namespace
}  // namespace ozl::geometry

using namespace ozl::geometry;

extern "C" OZL_API void OZL_CALL ozlRemap(OzlImage* srcImage, OzlImage* dstImage, OzlImage* xMap,
                                          OzlImage* yMap, int interpolate) {
    // Every header in argument order first, then the agreements.
    if (!ozl::core::headersValid(kRemap.caller, {srcImage}, kRemap.line + kAtSrcHeader) ||
        !ozl::core::headersValid(kRemap.caller, {dstImage}, kRemap.line + kAtDstHeader) ||
        !ozl::core::headersValid(kRemap.caller, {xMap}, kRemap.line + kAtParam) ||
        !ozl::core::headersValid(kRemap.caller, {yMap}, kRemap.line + kAtParam + 1))
        return;
    if (!checkWarp(kRemap, srcImage, dstImage, interpolate)) return;
    if (xMap->depth != OZL_DEPTH_32F || yMap->depth != OZL_DEPTH_32F) {
        kRemap.at(kAtParam + 2, OZL_StsBadArg, "The maps are not 32F images");
        return;
    }
    if (ozl::image::effectiveChannels(xMap) != 1 || ozl::image::effectiveChannels(yMap) != 1) {
        kRemap.at(kAtParam + 3, OZL_StsBadArg, "The maps have more than one channel to read");
        return;
    }
    Mapping map;
    map.kind = Mapping::Remap;
    runWarp(kRemap, srcImage, dstImage, map, interpolate, xMap, yMap);
}
