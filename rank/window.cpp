#include "rank/window.hpp"

namespace ozl::rank {

using core::fail;

bool offsetsValid(const core::Caller& caller, const OzlImage* src, const OzlImage* dst, int line) {
    for (const OzlImage* im : {src, dst})
        if (im->roi && (im->roi->xOffset < 0 || im->roi->yOffset < 0 ||
                        im->roi->xOffset >= im->width || im->roi->yOffset >= im->height))
            return fail(caller, OZL_StsBadOffset, "Bad ROI offsets", line);
    return true;
}

bool sameFormat(const core::Caller& caller, const OzlImage* src, const OzlImage* dst, int line) {
    if (src->depth != dst->depth || src->dataOrder != dst->dataOrder)
        return fail(caller, OZL_StsBadArg, "Uncompatible images", line);
    return true;
}

bool windowCallValid(const core::Caller& caller, int line, const OzlImage* src, const OzlImage* dst,
                     int nCols, int nRows, int anchorX, int anchorY) {
    if (!core::headersValid(caller, {src, dst}, line) || !offsetsValid(caller, src, dst, line))
        return false;
    if (nCols <= 0 || nRows <= 0)
        return fail(caller, OZL_StsBadArg, "Non-positive window size", line + 1);
    if (anchorX < 0 || anchorY < 0 || anchorX >= nCols || anchorY >= nRows)
        return fail(caller, OZL_StsBadArg, "Anchor point is outside the window", line + 1);
    return sameFormat(caller, src, dst, line + 2);
}

}  // namespace ozl::rank
