// Products of packed spectra: ozlMpyRCPack2D.
#include "image/region.hpp"
#include "transform/entry.hpp"

using ozl::core::fail;

extern "C" OZL_API void OZL_CALL ozlMpyRCPack2D(OzlImage* srcImageA, OzlImage* srcImageB,
                                                OzlImage* dstImage, int flags) {
    const ozl::core::Caller caller{"ozlMpyRCPack2D", "ozlmpyrc"};
    static constexpr ozl::transform::CheckLines kLines{41, 44, 47, 0, 0, 0, 0, 55, 58, 70, 72, 74};
    if (!ozl::core::headersValid(caller, {srcImageA, srcImageB, dstImage}, kLines.header)) return;
    if ((flags & ~OZL_MPY_CONJUGATE) != 0) {
        fail(caller, OZL_StsBadArg, "Incorrect flags", kLines.flags);
        return;
    }
    if (srcImageA->maskROI || srcImageB->maskROI || dstImage->maskROI) {
        fail(caller, OZL_StsBadArg, "Masks are not supported", kLines.mask);
        return;
    }
    if (srcImageA->depth != OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadDepth, "(srcImageA->depth != OZL_DEPTH_32F)", 50);
        return;
    }
    if (srcImageB->depth != OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadDepth, "(srcImageB->depth != OZL_DEPTH_32F)", 51);
        return;
    }
    if (dstImage->depth != OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadDepth, "(dstImage->depth != OZL_DEPTH_32F)", 52);
        return;
    }
    const int channels = ozl::image::effectiveChannels(dstImage);
    if (ozl::image::effectiveChannels(srcImageA) != channels ||
        ozl::image::effectiveChannels(srcImageB) != channels) {
        fail(caller, OZL_StsBadNumChannels, "Different numbers of channels to multiply",
             kLines.channels);
        return;
    }
    const ozl::image::RegionStart a = ozl::image::regionStart(srcImageA, 0);
    const ozl::image::RegionStart b = ozl::image::regionStart(srcImageB, 0);
    const ozl::image::RegionStart d = ozl::image::regionStart(dstImage, 0);
    if (a.width != d.width || a.height != d.height || b.width != d.width ||
        b.height != d.height) {
        fail(caller, OZL_StsBadROISize, "Regions of the images differ in size", kLines.size);
        return;
    }
    if (d.width == 0 || d.height == 0) return;
    ozl::transform::reportOutcome(
        caller,
        ozl::transform::multiplyPacked(srcImageA, srcImageB, dstImage, d.width, d.height,
                                       (flags & OZL_MPY_CONJUGATE) != 0),
        kLines);
}
