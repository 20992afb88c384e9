// ozlCheckImageHeader: decides whether a header describes a usable image. It
// only records the status; callers choose whether and how to report it.
#include "image/check.hpp"

#include "image/layout.hpp"

namespace ozl::image {

OzlStatus maskStatus(const OzlImage* mask) {
    if (mask->depth != OZL_DEPTH_1U) return OZL_StsMaskBase + OZL_StsBadDepth;
    if (mask->tileInfo != nullptr) return OZL_StsMaskIsTiled;
    const OzlStatus status = ozlCheckImageHeader(mask);
    return status != OZL_StsOk ? OZL_StsMaskBase + status : OZL_StsOk;
}

namespace {

OzlStatus tileStatus(const OzlTileInfo* tile) {
    if (tile->callBack == nullptr) return OZL_StsBadCallBack;
    if (tile->width < 1) return OZL_StsBadTileSize;
    if (tile->height < 1 || tile->width % 8 != 0 || tile->height % 8 != 0)
        return OZL_StsBadTileSize;
    return OZL_StsOk;
}

// The region may reach past the image: each operation clips it its own way.
OzlStatus roiStatus(const OzlROI* roi, int nChannels) {
    if (roi->coi < 0 || roi->coi > nChannels) return OZL_StsBadCOI;
    if (roi->height < 1) return OZL_StsBadROISize;
    if (roi->width < 1) return OZL_StsBadROISize;
    if (roi->xOffset < 0) return OZL_StsBadOffset;
    if (roi->yOffset < 0) return OZL_StsBadOffset;
    return OZL_StsOk;
}

// widthStep and imageSize are deliberately not compared with width and depth:
// caller-supplied data may use any positive row pitch.
OzlStatus headerStatus(const OzlImage* image) {
    if (image == nullptr) return OZL_StsHeaderIsNull;
    const bool tiled = image->tileInfo != nullptr;
    if ((image->imageData == nullptr) != tiled) return OZL_StsBadDataPtr;
    if (!tiled && image->imageSize < 1) return OZL_StsBadImageSize;
    if (!tiled && image->widthStep < 1) return OZL_StsBadStep;
    if (image->width < 1 || image->height < 1) return OZL_StsBadImageSize;
    if (image->nChannels < 1) return OZL_StsBadNumChannels;
    if (image->depth == OZL_DEPTH_1U && image->nChannels != 1) return OZL_StsBadNumChannel1U;
    // Colour model and channel sequence are inline arrays: they cannot be missing.
    if (!isLegalDepth(image->depth)) return OZL_StsBadDepth;
    if (image->alphaChannel != 0 && image->alphaChannel != image->nChannels)
        return OZL_StsBadAlphaChannel;
    if (image->dataOrder != OZL_DATA_ORDER_PIXEL && image->dataOrder != OZL_DATA_ORDER_PLANE)
        return OZL_StsBadOrder;
    if (image->origin != OZL_ORIGIN_TL && image->origin != OZL_ORIGIN_BL) return OZL_StsBadOrigin;
    if (!isLegalAlign(image->align)) return OZL_StsBadAlign;
    if (image->maskROI != nullptr) {
        const OzlStatus status = maskStatus(image->maskROI);
        if (status != OZL_StsOk) return status;
    }
    if (tiled) {
        const OzlStatus status = tileStatus(image->tileInfo);
        if (status != OZL_StsOk) return status;
    }
    if (image->roi != nullptr) return roiStatus(image->roi, image->nChannels);
    return OZL_StsOk;
}

}  // namespace
}  // namespace ozl::image

// A success leaves the thread's stored status as it was.
extern "C" OZL_API OzlStatus OZL_CALL ozlCheckImageHeader(const OzlImage* image) {
    const OzlStatus status = ozl::image::headerStatus(image);
    if (status != OZL_StsOk) ozlSetErrStatus(status);
    return status;
}
