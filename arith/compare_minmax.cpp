// ozlMinMaxFP: the smallest and the largest value of a float image's region.
#include <limits>

#include "arith/compare_kernels.hpp"
#include "core/checks.hpp"
#include "core/reduce.hpp"
#include "image/region.hpp"

namespace {

using ozl::core::Caller;
using ozl::core::refuse;
using ozl::core::RowView;

const Caller kMinMax{"ozlMinMaxFP", "ozlminmax"};

// Source lines of the reports.
enum Line { kLineHeader = 58, kLineArguments = 60, kLineDepth = 62, kLineTile = 69 };

struct Range {
    float lo = std::numeric_limits<float>::infinity();
    float hi = -std::numeric_limits<float>::infinity();
    bool seen = false;  // some value was looked at (a NaN included)
    ozl::arith::RangeFn fold = nullptr;
};

void rangeRow(const ozl::core::ReduceRow& row, void* accumulator) {
    auto& r = *static_cast<Range*>(accumulator);
    const RowView& s = row.src[0];
    if (row.width == 0) return;
    constexpr ptrdiff_t kFloat = sizeof(float);
    if (!row.mask) {
        r.seen = true;
        if (s.channelStep == kFloat && s.pixelStep == kFloat * s.channels) {
            // Every channel of every pixel: one run.
            r.fold(reinterpret_cast<const float*>(s.data), row.width * s.channels, &r.lo, &r.hi);
            return;
        }
        if (s.pixelStep == kFloat) {  // planes: a run per channel
            for (int ch = 0; ch < s.channels; ++ch)
                r.fold(reinterpret_cast<const float*>(s.data + ch * s.channelStep), row.width,
                       &r.lo, &r.hi);
            return;
        }
    }
    for (size_t i = 0; i < row.width; ++i) {
        if (!ozl::core::counts(row, i)) continue;
        r.seen = true;
        for (int ch = 0; ch < s.channels; ++ch) {
            const float v = ozl::arith::valueAt<float>(s, i, ch);
            r.lo = ozl::arith::lower(r.lo, v);
            r.hi = ozl::arith::upper(r.hi, v);
        }
    }
}

}  // namespace

extern "C" OZL_API OzlStatus OZL_CALL ozlMinMaxFP(OzlImage* srcImage, float* min, float* max) {
    if (ozlCheckImageHeader(srcImage) != OZL_StsOk)
        return refuse(kMinMax, OZL_StsBadArg, "Incorrect Image", kLineHeader);
    if (!min || !max)
        return refuse(kMinMax, OZL_StsBadArg, "((min == ((void*)(0)))||(max == ((void*)(0))))",
                      kLineArguments);
    if (srcImage->depth != OZL_DEPTH_32F)
        return refuse(kMinMax, OZL_StsBadArg, "(srcImage->depth != 32)", kLineDepth);
    // An image whose one channel is its alpha channel has no value to measure.
    if (ozl::image::effectiveChannels(srcImage) == 0) return OZL_StsOk;

    Range r;
    r.fold = ozl::arith::activeCompareTable().range;
    ozl::core::ReduceKernel kernel;
    kernel.row = &rangeRow;
    kernel.context = &r;
    if (ozl::core::reducePixels(srcImage, nullptr, srcImage->maskROI, kernel) != ozl::core::kMapDone)
        return refuse(kMinMax, OZL_StsError, "(srcImage->tileInfo->tileData == NULL)", kLineTile);
    if (!r.seen) return OZL_StsOk;  // an empty region, or every pixel masked out
    if (r.lo > r.hi) {
        // Only NaNs: no order to speak of.
        r.lo = r.hi = std::numeric_limits<float>::quiet_NaN();
    }
    *min = r.lo;
    *max = r.hi;
    return OZL_StsOk;
}
