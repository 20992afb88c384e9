// Mirroring: ozlMirror.
#include <algorithm>
#include <cstring>

#include "geometry/common.hpp"
#include "geometry/kernels.hpp"
#include "image/depth.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"

namespace ozl::geometry {

namespace {

const Entry kMirror{{"ozlMirror", "ozlmirror"}, 40};

struct Context {
    bool columns = false;  // reversed left to right
    bool rows = false;     // upside down
    int width = 0;         // the common size mirrored
    int height = 0;
    size_t valueBytes = 1;
    ReverseFn reverse = nullptr;
};

void mirrorRow(const core::SampledSource& s, const core::SampledRow& r, void* context) {
    const Context& k = *static_cast<const Context*>(context);
    const size_t size = k.valueBytes;
    const int sy = k.rows ? k.height - 1 - r.y : r.y;
    // The source pixels of the row: [sx, sx + width), read backwards when
    // the columns are reversed.
    const int sx = k.columns ? k.width - r.x - r.width : r.x;
    const char* from = s.data + sy * s.rowStep + sx * s.pixelStep;
    const size_t pixelBytes = size * s.channels;
    const bool dense = s.channelStep == static_cast<ptrdiff_t>(size) &&
                       s.pixelStep == static_cast<ptrdiff_t>(pixelBytes) &&
                       r.dst.channelStep == s.channelStep && r.dst.pixelStep == s.pixelStep;
    if (dense) {
        if (k.columns) k.reverse(from, r.dst.data, static_cast<size_t>(r.width), pixelBytes);
        else std::memcpy(r.dst.data, from, r.width * pixelBytes);
        return;
    }
    for (int i = 0; i < r.width; ++i) {
        const char* p = from + (k.columns ? r.width - 1 - i : i) * s.pixelStep;
        char* q = r.dst.data + i * r.dst.pixelStep;
        for (int c = 0; c < s.channels; ++c)
            std::memcpy(q + c * r.dst.channelStep, p + c * s.channelStep, size);
    }
}

}  // namespace

}  // namespace ozl::geometry

extern "C" OZL_API void OZL_CALL ozlMirror(OzlImage* srcImage, OzlImage* dstImage,
                                           int flipAxis) {
    using namespace ozl::geometry;
    if (!checkImages(kMirror, srcImage, dstImage)) return;
    if (flipAxis != OZL_MIRROR_HORIZONTAL && flipAxis != OZL_MIRROR_VERTICAL &&
        flipAxis != OZL_MIRROR_BOTH) {
        kMirror.at(kAtParam, OZL_StsBadArg, "(flipAxis != 0 && flipAxis != 1 && flipAxis != -1)");
        return;
    }
    const ozl::image::Rect rs = ozl::image::regionRect(srcImage);
    const ozl::image::Rect rd = ozl::image::regionRect(dstImage);
    Context k;
    k.width = std::max(0, std::min(rs.width, rd.width));
    k.height = std::max(0, std::min(rs.height, rd.height));
    if (k.width == 0 || k.height == 0) return;
    k.columns = flipAxis != OZL_MIRROR_HORIZONTAL;
    k.rows = flipAxis != OZL_MIRROR_VERTICAL;
    k.valueBytes = static_cast<size_t>(ozl::image::depthBits(dstImage->depth) / 8);
    k.reverse = activeTable().reverse;
    ozl::core::SampledJob job;
    job.src = srcImage;
    job.dst = dstImage;
    job.mask = dstImage->maskROI;
    job.width = job.areaWidth = k.width;
    job.height = job.areaHeight = k.height;
    job.row = &mirrorRow;
    job.context = &k;
    walkDone(kMirror, ozl::core::walkSampled(job));
}
