#include "transform/entry.hpp"

#include <cmath>

#include "image/region.hpp"

namespace ozl::transform {

using core::fail;

namespace {

// The factor the flags give one direction, N values in all.
float scaleOf(int flags, bool inverse, double n) {
    switch (flags & OZL_FFT_SCALE_MASK) {
        case OZL_FFT_SCALE_INVERSE: return inverse ? static_cast<float>(1.0 / n) : 1.0f;
        case OZL_FFT_SCALE_FORWARD: return inverse ? 1.0f : static_cast<float>(1.0 / n);
        case OZL_FFT_SCALE_SQRT: return static_cast<float>(1.0 / std::sqrt(n));
        default: return 1.0f;
    }
}

bool flagsValid(int flags, bool fourier) {
    if (!fourier) return flags == OZL_DCT_FORWARD || flags == OZL_DCT_INVERSE;
    const int direction = flags & ~OZL_FFT_SCALE_MASK;
    return direction == OZL_FFT_FORWARD || direction == OZL_FFT_INVERSE;
}

}  // namespace

void reportOutcome(const core::Caller& caller, Outcome outcome, const CheckLines& lines) {
    switch (outcome) {
        case Outcome::NoMemory: fail(caller, OZL_StsNoMem, "Not enough memory", lines.memory); break;
        case Outcome::ReadFailed:
            fail(caller, OZL_StsError, "Error get tile to read", lines.readTile);
            break;
        case Outcome::WriteFailed:
            fail(caller, OZL_StsError, "Error get tile to write", lines.writeTile);
            break;
        case Outcome::Done: break;
    }
}

void runTransform(const core::Caller& caller, OzlImage* src, OzlImage* dst, int flags,
                  bool fourier, Layout layout, const CheckLines& lines) {
    if (!core::headersValid(caller, {src, dst}, lines.header)) return;
    if (!flagsValid(flags, fourier)) {
        fail(caller, OZL_StsBadArg, "Incorrect flags", lines.flags);
        return;
    }
    if (src->maskROI || dst->maskROI) {
        fail(caller, OZL_StsBadArg, "Masks are not supported", lines.mask);
        return;
    }
    const bool inverse = (flags & ~OZL_FFT_SCALE_MASK) == OZL_FFT_INVERSE;
    if (!inverse && src->depth == OZL_DEPTH_1U) {
        fail(caller, OZL_StsBadDepth, "(srcImage->depth == OZL_DEPTH_1U)", lines.srcBits);
        return;
    }
    if (!inverse && dst->depth != OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadDepth, "(dstImage->depth != OZL_DEPTH_32F)", lines.dstNotFloat);
        return;
    }
    if (inverse && src->depth != OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadDepth, "(srcImage->depth != OZL_DEPTH_32F)", lines.srcNotFloat);
        return;
    }
    if (inverse && dst->depth == OZL_DEPTH_1U) {
        fail(caller, OZL_StsBadDepth, "(dstImage->depth == OZL_DEPTH_1U)", lines.dstBits);
        return;
    }
    if (image::effectiveChannels(src) != image::effectiveChannels(dst)) {
        fail(caller, OZL_StsBadNumChannels, "Different numbers of channels to transform",
             lines.channels);
        return;
    }
    Request request;
    request.fourier = fourier;
    request.inverse = inverse;
    request.layout = layout;
    const image::RegionStart real = image::regionStart(inverse ? dst : src, 0);
    const image::RegionStart spectrum = image::regionStart(inverse ? src : dst, 0);
    const int expectedWidth = real.width > 0 ? spectrumWidth(request, real.width) : 0;
    if (spectrum.width != expectedWidth || spectrum.height != real.height) {
        fail(caller, OZL_StsBadROISize,
             fourier && layout == Layout::Ccs
                 ? "The spectrum region must be 2*(width/2+1) x height of the image region"
                 : "Regions of srcImage and dstImage differ in size",
             lines.size);
        return;
    }
    if (real.width == 0 || real.height == 0) return;
    if (fourier)
        request.scale = scaleOf(flags, inverse, static_cast<double>(real.width) * real.height);
    reportOutcome(caller, transform2D(src, dst, real.width, real.height, request), lines);
}

}  // namespace ozl::transform
