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

void report(const core::Caller& caller, core::NbCode code, int line) {
    using core::NbCode;
    switch (code) {
        case NbCode::Done: break;
        case NbCode::NoChannel: fail(caller, OZL_StsBadArg, "No channel to operate", line); break;
        case NbCode::Channels: fail(caller, OZL_StsBadArg, "Uncompatible images", line); break;
        case NbCode::Coi: fail(caller, OZL_StsBadArg, "One of the COI is not defined", line); break;
        case NbCode::Depth: fail(caller, OZL_StsBadDepth, "Inadmissible images depths", line); break;
        case NbCode::NoMemory: fail(caller, OZL_StsNoMem, "Allocation failure", line); break;
        case NbCode::ReadTile: fail(caller, OZL_StsError, "Error get tile to read", line); break;
        case NbCode::WriteTile: fail(caller, OZL_StsError, "Error get tile to write", line); break;
    }
}

}  // namespace ozl::rank
