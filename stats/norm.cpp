// ozlNorm: the C, L1 and L2 norms of one image region or of the difference of
// two, absolute or relative to the second image's norm.
#include <algorithm>
#include <cfloat>
#include <cmath>

#include "core/checks.hpp"
#include "core/reduce.hpp"
#include "image/mask.hpp"
#include "image/region.hpp"
#include "ozl.h"
#include "stats/kernels.hpp"

namespace ozl::stats {

namespace {

using core::Caller;
using core::fail;

const Caller kCaller{"ozlNorm", "ozlnorm"};

enum Line {
    kLineHeaderA = 74,
    kLineTypeOne = 79,
    kLineHeaderB = 84,
    kLineOrder = 87,
    kLineDepth = 90,
    kLineTypeTwo = 93,
    kLineCoiA = 99,
    kLineAlphaA = 102,
    kLineCoiB = 106,
    kLineAlphaB = 109,
    kLineChannels = 116,
    kLineMask = 131,
    kLineResult = 168,
};

// Failure signals of the accumulation, returned as the result.
constexpr double kZeroDivided = -1.0;
constexpr double kTileFailed = -2.0;

// Pixels of a masked or strided run gathered at a time.
constexpr size_t kBufferBytes = 8192;

struct Context {
    NormRunFn num;        // over a and b (b absent in the one-image form)
    NormRunFn den;        // over b alone, relative forms only
    size_t valueBytes;    // 1 for 1-bit images (a byte per pixel)
    int channels;
    bool bits;
    NormAcc numPiece, denPiece, numTotal, denTotal;
    alignas(32) char bufA[kBufferBytes];
    alignas(32) char bufB[kBufferBytes];
};

bool aligned(const void* p, size_t size) { return reinterpret_cast<uintptr_t>(p) % size == 0; }

// Both kernels over n dense values, cut to runs their 64-bit sums can take.
void runValues(Context& ctx, const char* a, const char* b, size_t n) {
    for (size_t from = 0; from < n; from += kNormRunLimit) {
        const size_t len = std::min(kNormRunLimit, n - from);
        const char* pa = a + from * ctx.valueBytes;
        const char* pb = b ? b + from * ctx.valueBytes : nullptr;
        ctx.num(pa, pb, len, ctx.numPiece);
        if (ctx.den) ctx.den(pb, nullptr, len, ctx.denPiece);
    }
}

void normRow(const core::ReduceRow& in, void* context) {
    auto& ctx = *static_cast<Context*>(context);
    // A one-channel image whose channel is its alpha has nothing to add.
    if (ctx.channels == 0) return;
    // Every source shows the channels both have (the counts differ only when a
    // report callback let a refused call go on).
    core::RowView src[2] = {in.src[0], in.src[1]};
    const bool two = src[1].data != nullptr;
    for (core::RowView& r : src) r.channels = ctx.channels;
    core::ReduceRow row = in;
    row.src = src;
    const size_t vb = ctx.valueBytes;
    auto fits = [&](const core::RowView& r, ptrdiff_t pixelStep) {
        return !r.data || (r.pixelStep == pixelStep && aligned(r.data, vb));
    };
    if (!row.mask && !ctx.bits) {
        const auto pixelBytes = static_cast<ptrdiff_t>(ctx.channels * vb);
        if (core::isDense(src[0], vb) && (!two || core::isDense(src[1], vb)) &&
            fits(src[0], pixelBytes) && fits(src[1], pixelBytes)) {
            runValues(ctx, src[0].data, src[1].data, row.width * ctx.channels);
            return;
        }
        // Planes: each channel's values lie one after another.
        const auto one = static_cast<ptrdiff_t>(vb);
        if (fits(src[0], one) && fits(src[1], one)) {
            for (int c = 0; c < ctx.channels; ++c)
                runValues(ctx, src[0].data + c * src[0].channelStep,
                          two ? src[1].data + c * src[1].channelStep : nullptr, row.width);
            return;
        }
    }
    const size_t chunk = kBufferBytes / (ctx.channels * vb);
    if (chunk == 0) {  // pixels wider than the buffer: a channel at a time
        for (int c = 0; c < ctx.channels; ++c) {
            core::RowView one[2] = {src[0], src[1]};
            for (core::RowView& r : one) {
                if (r.data) r.data += c * r.channelStep;
                r.channels = 1;
            }
            core::ReduceRow single = row;
            single.src = one;
            for (size_t from = 0; from < row.width; from += kBufferBytes / vb) {
                const size_t n = std::min(kBufferBytes / vb, row.width - from);
                core::gatherValues(single, 0, from, n, vb, ctx.bufA);
                if (two) core::gatherValues(single, 1, from, n, vb, ctx.bufB);
                runValues(ctx, ctx.bufA, two ? ctx.bufB : nullptr, n);
            }
        }
        return;
    }
    for (size_t from = 0; from < row.width; from += chunk) {
        const size_t n = std::min(chunk, row.width - from);
        core::gatherValues(row, 0, from, n, vb, ctx.bufA);
        if (two) core::gatherValues(row, 1, from, n, vb, ctx.bufB);
        runValues(ctx, ctx.bufA, two ? ctx.bufB : nullptr, n * ctx.channels);
    }
}

void beginPiece(const core::ReducePiece&, void* context) {
    auto& ctx = *static_cast<Context*>(context);
    ctx.numPiece = ctx.denPiece = NormAcc{};
}

// Tiles' partial results join the totals: maxima by maximum, sums by sum.
void endPiece(const core::ReducePiece&, void* context) {
    auto& ctx = *static_cast<Context*>(context);
    ctx.numTotal.merge(ctx.numPiece);
    ctx.denTotal.merge(ctx.denPiece);
}

double valueOf(const NormAcc& acc, NormKind kind, bool isFloat) {
    if (isFloat) return kind == NormKind::C ? acc.maxF : acc.sumF;
    return kind == NormKind::C ? static_cast<double>(acc.max) : acc.sum.toDouble();
}

bool knownType(int normType, bool twoImages) {
    const int base = normType & ~OZL_RELATIVE;
    const bool plain = base == OZL_C || base == OZL_L1 || base == OZL_L2;
    return plain && (normType == base || twoImages);
}

// Reports a refusal that lets the call go on unless the status is then negative.
bool refuseSoftly(OzlStatus status, const char* message, int line) {
    fail(kCaller, status, message, line);
    return core::statusFailed();
}

bool coiAndAlphaRefused(const OzlImage* image, const char* coiMessage, const char* alphaMessage,
                        int line) {
    if (image->roi && (image->roi->coi < 0 || image->roi->coi > image->nChannels) &&
        refuseSoftly(OZL_StsBadCOI, coiMessage, line))
        return true;
    return image->alphaChannel != 0 && image->alphaChannel != image->nChannels &&
           refuseSoftly(OZL_StsBadAlphaChannel, alphaMessage, line + 3);
}

// The accumulated result: the norm, or a failure signal.
double accumulate(OzlImage* a, OzlImage* b, int normType, int channels) {
    const int base = normType & ~OZL_RELATIVE;
    const NormKind kind = base == OZL_C ? NormKind::C : base == OZL_L1 ? NormKind::L1 : NormKind::L2;
    const bool relative = (normType & OZL_RELATIVE) && b;
    const bool bits = a->depth == OZL_DEPTH_1U;
    const Elem elem = bits ? Elem::U8 : image::elemOf(a->depth);
    const bool isFloat = a->depth == OZL_DEPTH_32F;

    const OzlImage* masks[2] = {a->maskROI, b ? b->maskROI : nullptr};
    image::CombinedMask mask = image::combineMasks(masks, 2);
    if (mask.flag == image::CombinedMask::NoMemory) {
        fail(kCaller, OZL_StsHeaderIsNull, "Null pointer for mask", kLineMask);
        return 0.0;
    }
    const NormRunFn* kernels = activeTable().norm[static_cast<int>(kind)];
    Context context;
    Context* ctx = &context;
    ctx->num = kernels[static_cast<int>(elem)];
    ctx->den = relative ? kernels[static_cast<int>(elem)] : nullptr;
    ctx->valueBytes = bits ? 1 : image::elemBytes(elem);
    ctx->channels = channels;
    ctx->bits = bits;
    int walked = core::kMapDone;
    if (mask.flag != image::CombinedMask::Empty) {
        core::ReduceKernel kernel;
        kernel.row = &normRow;
        kernel.begin = &beginPiece;
        kernel.end = &endPiece;
        kernel.context = ctx;
        kernel.mergeRows = true;
        walked = core::reducePixels(a, b, mask.image, kernel);
    }
    image::releaseMask(mask);
    const double num = valueOf(ctx->numTotal, kind, isFloat);
    const double den = valueOf(ctx->denTotal, kind, isFloat);
    if (walked != core::kMapDone) return kTileFailed;
    if (!relative) return kind == NormKind::L2 ? std::sqrt(num) : num;
    if (den <= DBL_MIN) return kZeroDivided;
    return kind == NormKind::L2 ? std::sqrt(num) / std::sqrt(den) : num / den;
}

}  // namespace

}  // namespace ozl::stats

using namespace ozl::stats;

extern "C" OZL_API double OZL_CALL ozlNorm(OzlImage* srcImageA, OzlImage* srcImageB,
                                           int normType) {
    if (!ozl::core::headersValid(kCaller, {srcImageA}, kLineHeaderA)) return 0.0;
    if (!srcImageB) {
        if (!knownType(normType, false) &&
            refuseSoftly(OZL_StsBadArg, "normType unknown", kLineTypeOne))
            return 0.0;
    } else {
        if (!ozl::core::headersValid(kCaller, {srcImageB}, kLineHeaderB)) return 0.0;
        if (srcImageA->dataOrder != srcImageB->dataOrder) {
            fail(kCaller, OZL_StsBadArg, "(srcImageA->dataOrder!=srcImageB->dataOrder)",
                 kLineOrder);
            return 0.0;
        }
        if (srcImageA->depth != srcImageB->depth) {
            fail(kCaller, OZL_StsBadArg, "(srcImageA->depth!=srcImageB->depth)", kLineDepth);
            return 0.0;
        }
        if (!knownType(normType, true) &&
            refuseSoftly(OZL_StsBadArg, "normType unknown", kLineTypeTwo))
            return 0.0;
    }
    if (coiAndAlphaRefused(srcImageA, "srcImageA->roi->coi", "srcImageA->alphaChannel",
                           kLineCoiA) ||
        (srcImageB && coiAndAlphaRefused(srcImageB, "srcImageB->roi->coi",
                                         "srcImageB->alphaChannel", kLineCoiB)))
        return 0.0;
    int channels = ozl::image::effectiveChannels(srcImageA);
    if (srcImageB) {
        const int channelsB = ozl::image::effectiveChannels(srcImageB);
        if (channelsB != channels &&
            refuseSoftly(OZL_StsBadNumChannels, "Bad number of channels", kLineChannels))
            return 0.0;
        channels = std::min(channels, channelsB);
    }
    // A type still unknown here went on past its report: there is nothing to compute.
    if (!knownType(normType & ~(srcImageB ? 0 : OZL_RELATIVE), srcImageB != nullptr)) return 0.0;

    const double result = accumulate(srcImageA, srcImageB, normType, channels);
    if (result == kZeroDivided)
        fail(kCaller, OZL_StsBadArg, "Zero divided", kLineResult);
    else if (result == kTileFailed)
        fail(kCaller, OZL_StsError, " ", kLineResult + 2);
    return result;
}
