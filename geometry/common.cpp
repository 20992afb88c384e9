#include "geometry/common.hpp"

#include <algorithm>

#include "image/region.hpp"

namespace ozl::geometry {

bool checkImages(const Entry& entry, const OzlImage* src, const OzlImage* dst) {
    if (!core::headersValid(entry.caller, {src}, entry.line + kAtSrcHeader) ||
        !core::headersValid(entry.caller, {dst}, entry.line + kAtDstHeader))
        return false;
    if (src->depth != dst->depth)
        return entry.at(kAtDepth, OZL_StsBadArg, "(srcImage->depth != dstImage->depth)");
    if (src->depth == OZL_DEPTH_1U)
        return entry.at(kAtBits, OZL_StsBadArg, "1-bit images are not supported");
    if (image::effectiveChannels(src) != image::effectiveChannels(dst))
        return entry.at(kAtChannels, OZL_StsBadArg, "(nChSrc != nChDst)");
    return true;
}

bool checkHelper(const Entry& entry, const OzlImage* src, std::initializer_list<const void*> args,
                 int* width, int* height) {
    if (!core::headersValid(entry.caller, {src}, entry.line)) return false;
    for (const void* p : args)
        if (!p) return entry.at(1, OZL_StsBadArg, "NULL pointer argument");
    const image::Rect r = image::regionRect(src);
    *width = std::max(0, r.width);
    *height = std::max(0, r.height);
    return true;
}

bool checkInterpolation(const Entry& entry, int interpolate, InterChoice choice) {
    const int flag = choice.fill ? OZL_FILL_FROM_BORDER : 0;
    const int inter = interpolate & ~flag;
    const int last = choice.super ? OZL_INTER_SUPER : OZL_INTER_CUBIC;
    if (inter < OZL_INTER_NN || inter > last)
        return entry.at(kAtInter, OZL_StsBadArg, "Unknown interpolation");
    return true;
}

bool walkDone(const Entry& entry, const core::SampledResult& result) {
    switch (result.kind) {
        case core::SampledResult::Done: return true;
        case core::SampledResult::NoMemory:
            return entry.at(kAtMemory, OZL_StsNoMem, "Out of memory");
        case core::SampledResult::WriteTile:
            return entry.at(kAtWriteTile, OZL_StsError, "Error get tile to write");
        default: return entry.at(kAtReadTile, OZL_StsError, "Error get tile to read");
    }
}

}  // namespace ozl::geometry
