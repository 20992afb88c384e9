// Separable convolution: ozlConvolveSep2D (integer images) and
// ozlConvolveSep2DFP (32F), a vertical pass then a horizontal one, either of
// which may be absent. The entry points (module ozlCSep2) run the argument
// checks and the engine (module ownCSep2), which hands a row kernel to the
// neighbourhood driver.
#include <algorithm>
#include <cstdint>

#include "core/checks.hpp"
#include "core/neighbourhood.hpp"
#include "filter/conv_plan.hpp"
#include "filter/kernels.hpp"
#include "image/depth.hpp"
#include "image/layout.hpp"
#include "image/mask.hpp"
#include "image/region.hpp"

namespace ozl::filter {
namespace {

using core::Caller;
using core::fail;

constexpr const char* kEntryModule = "ozlCSep2";
constexpr const char* kEngineModule = "ownCSep2";

struct SepPlan {
    const KernelTable* table = nullptr;
    int elem = 0;
    bool isFloat = false;
    SepKernel k;
    SepKernelF kf;
    WideKernel vertical;
    Tap taps[kMaxPairs * 2];
    TapPair pairs[kMaxPairs];
};

void sepRow(const core::NbRow& row, const void* context) {
    const SepPlan& p = *static_cast<const SepPlan*>(context);
    const size_t n = static_cast<size_t>(row.width) * row.channels;
    if (p.isFloat)
        p.table->sepReal(p.kf, row.src, static_cast<float*>(row.scratch), static_cast<float*>(row.dst), n);
    else
        p.table->sep[p.elem](p.k, row.src, row.scratch, row.dst, n);
}

// The argument checks of the engine module, in the order callers rely on.
template <class Record>
bool argumentsValid(const Caller& caller, OzlImage* src, OzlImage* dst, const Record* x,
                    const Record* y) {
    if (!core::headersValid(caller, {src}, 76) || !core::headersValid(caller, {dst}, 77)) return false;
    if (src == dst) return fail(caller, OZL_StsBadArg, "Unsupported in-place mode", 80);
    if (!x && !y) return fail(caller, OZL_StsBadArg, "Kernel pointers are NULL", 85);
    if (src->depth != dst->depth) return fail(caller, OZL_StsBadArg, "SRC and DST depth are different", 90);
    if (src->dataOrder != dst->dataOrder)
        return fail(caller, OZL_StsBadArg, "SRC and DST order are different", 95);
    if (src->origin != dst->origin)
        return fail(caller, OZL_StsBadArg, "SRC and DST orign are different", 100);
    if ((src->dataOrder == OZL_DATA_ORDER_PLANE ? 1 : src->nChannels) > 32)
        return fail(caller, OZL_StsBadArg, "SRC: too many channels per plane (limit 32)", 105);
    if (src->nChannels != dst->nChannels)
        return fail(caller, OZL_StsBadArg, "SRC and DST number of channels are different", 112);
    if (src->alphaChannel != dst->alphaChannel)
        return fail(caller, OZL_StsBadArg, "SRC and DST Alpha channels are different", 117);
    auto processed = [](const OzlImage* im) { return image::hasCoi(im) ? 1 : im->nChannels; };
    if (processed(src) != processed(dst))
        return fail(caller, OZL_StsBadArg, "SRC and DST number of processing channels are different", 124);
    // Each kernel needs two taps or more along its own axis.
    for (int axis = 0; axis < 2; ++axis) {
        const Record* k = axis == 0 ? x : y;
        if (!k) continue;
        if (!k->values) return fail(caller, OZL_StsBadArg, "NULL kernel values", 158);
        const bool badSize = axis == 0 ? k->nCols < 2 || k->nRows != 1 : k->nCols != 1 || k->nRows < 2;
        if (badSize) return fail(caller, OZL_StsBadArg, "Invalid kernal size", axis == 0 ? 164 : 169);
        const bool badAnchor = axis == 0 ? k->anchorX < 0 || k->anchorX >= k->nCols
                                         : k->anchorY < 0 || k->anchorY >= k->nRows;
        if (badAnchor) return fail(caller, OZL_StsBadArg, "Invalid kernrl anchor", axis == 0 ? 175 : 178);
    }
    return true;
}

// The bounds of the final sums of an integer pair of kernels: the products of
// every horizontal and vertical weight as one 2-D kernel.
SumBounds separableBounds(const OzlConvKernel* x, const OzlConvKernel* y, ValueRange range) {
    const int32_t one = 1;
    const int32_t* xs = x ? x->values : &one;
    const int32_t* ys = y ? y->values : &one;
    const int nx = x ? x->nCols : 1, ny = y ? y->nRows : 1;
    SumBounds b;
    for (int i = 0; i < nx; ++i)
        for (int j = 0; j < ny; ++j) {
            const double q = static_cast<double>(xs[i]) * ys[j];
            const double lo = q * static_cast<double>(range.lo), hi = q * static_cast<double>(range.hi);
            b.lo += std::min(lo, hi);
            b.hi += std::max(lo, hi);
        }
    return b;
}

enum class EngineResult { Done, NoMemory, ReadTile, WriteTile };

// The run's mask: every bit set over the common size, ANDed with each mask
// present (over the part of the common size its region covers).
OzlImage* runMask(const OzlImage* src, const OzlImage* dst, int width, int height, bool& noMemory) {
    if (!src->maskROI && !dst->maskROI) return nullptr;
    OzlImage* mask = ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "GRAY", "G   ", OZL_DATA_ORDER_PLANE,
                                          OZL_ORIGIN_TL, OZL_ALIGN_8BYTES, width, height, nullptr,
                                          nullptr, nullptr, nullptr);
    if (mask) ozlAllocateImage(mask, 1, 1);
    if (!mask || !mask->imageData) {
        ozlDeallocate(mask, OZL_IMAGE_HEADER);
        noMemory = true;
        return nullptr;
    }
    for (const OzlImage* m : {src->maskROI, dst->maskROI}) {
        if (!m) continue;
        const image::RegionStart r = image::regionStart(m, 0);
        const int w = std::min(width, r.width);
        if (w <= 0) continue;
        for (int yy = 0; yy < std::min(height, r.height); ++yy) {
            auto* row = reinterpret_cast<unsigned char*>(mask->imageData) + yy * mask->widthStep;
            image::andBits(row, 0, reinterpret_cast<const unsigned char*>(r.data) + yy * m->widthStep,
                           r.bitOffset, row, 0, static_cast<size_t>(w));
        }
    }
    return mask;
}

template <class Record>
EngineResult engine(OzlImage* srcImage, OzlImage* dstImage, const Record* x, const Record* y) {
    OzlImage src, dst;
    clampedCopy(srcImage, &src);
    clampedCopy(dstImage, &dst);
    const image::Rect rs = image::regionRect(&src), rd = image::regionRect(&dst);
    const int width = std::min(rs.width, rd.width), height = std::min(rs.height, rd.height);
    if (width <= 0 || height <= 0) return EngineResult::Done;

    SepPlan plan;
    plan.table = &activeTable();
    plan.isFloat = src.depth == OZL_DEPTH_32F;
    plan.elem = intIndex(image::elemOf(src.depth));
    const bool planes = src.dataOrder == OZL_DATA_ORDER_PLANE;
    const int channels = planes || image::hasCoi(&src) ? 1 : image::effectiveChannels(&dst);
    core::Margins m;
    if (x) {
        m.left = x->anchorX;
        m.right = x->nCols - 1 - x->anchorX;
    }
    if (y) {
        m.top = y->anchorY;
        m.bottom = y->nRows - 1 - y->anchorY;
    }
    if constexpr (std::is_same_v<Record, OzlConvKernelFP>) {
        SepKernelF& k = plan.kf;
        k.xCoeff = x ? x->values : nullptr;
        k.xTaps = x ? x->nCols : 0;
        k.yCoeff = y ? y->values : nullptr;
        k.yTaps = y ? y->nRows : 0;
        k.left = m.left;
        k.channels = channels;
    } else {
        SepKernel& k = plan.k;
        k.xCoeff = x ? x->values : nullptr;
        k.xTaps = x ? x->nCols : 0;
        k.yCoeff = y ? y->values : nullptr;
        k.yTaps = y ? y->nRows : 0;
        k.left = m.left;
        k.channels = channels;
        k.shift = normalShift(static_cast<int64_t>(x ? x->nShiftR : 0) + (y ? y->nShiftR : 0));
        const ValueRange range = valueRange(src.depth);
        k.lo = range.lo;
        k.hi = range.hi;
        const Narrow narrow = narrowSums(separableBounds(x, y, range));
        k.narrow = image::depthBits(src.depth) == 8 && narrow != Narrow::No &&
                   k.xTaps <= kMaxPairs && k.yTaps <= kMaxPairs;
        k.signedSum = narrow == Narrow::Signed;
        // The vertical pass two rows at a time where its weights fit 16 bits.
        const bool small = src.depth != OZL_DEPTH_32S && k.yTaps > 0 && k.yTaps <= 2 * kMaxPairs &&
                           std::all_of(k.yCoeff, k.yCoeff + k.yTaps,
                                       [](int32_t c) { return c >= -32768 && c <= 32767; });
        if (small) {
            const int offset = -m.left * channels;
            for (int j = 0; j < k.yTaps; ++j) plan.taps[j] = Tap{j, offset, k.yCoeff[j]};
            WideKernel& v = plan.vertical;
            v.taps = plan.taps;
            v.count = k.yTaps;
            v.pairs = plan.pairs;
            v.nPairs = pairTaps(plan.taps, k.yTaps, plan.pairs);
            v.bias = src.depth == OZL_DEPTH_16U ? unsigned16Bias(plan.pairs, v.nPairs) : 0;
            v.shift = 0;
            k.vertical = &v;
        }
    }

    bool noMemory = false;
    OzlImage* mask = runMask(&src, &dst, width, height, noMemory);
    if (noMemory) return EngineResult::NoMemory;
    core::NbKernel kernel;
    kernel.row = &sepRow;
    kernel.context = &plan;
    kernel.margins = m;
    kernel.scratchPerValue = 8;
    core::NbOptions options;
    options.walkSourceTiles = true;
    const core::NbResult r = core::runNeighbourhood(&src, &dst, mask, width, height, kernel, options);
    ozlDeallocate(mask, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    switch (r) {
        case core::NbResult::NoMemory: return EngineResult::NoMemory;
        case core::NbResult::ReadTile: return EngineResult::ReadTile;
        case core::NbResult::WriteTile: return EngineResult::WriteTile;
        default: return EngineResult::Done;
    }
}

template <class Record>
void convolveSep(const char* function, OzlImage* src, OzlImage* dst, const Record* x,
                 const Record* y) {
    constexpr bool kFloat = std::is_same_v<Record, OzlConvKernelFP>;
    ozlSetErrStatus(OZL_StsOk);
    const Caller engineCaller{function, kEngineModule};
    const Caller entry{function, kEntryModule};
    if (!argumentsValid(engineCaller, src, dst, x, y)) return;
    if (!kFloat && src->depth == OZL_DEPTH_32F)
        return static_cast<void>(fail(entry, OZL_StsBadArg,
                                      "ozlConvolveSep2D does not support OZL_DEPTH_32F.\n"
                                      "Call ozlConvolveSep2DFP instead",
                                      155));
    if (!kFloat && src->depth == OZL_DEPTH_1U)
        return static_cast<void>(
            fail(entry, OZL_StsBadArg, "ozlConvolveSep2D does not support OZL_DEPTH_1U", 155));
    if (kFloat && src->depth != OZL_DEPTH_32F)
        return static_cast<void>(fail(entry, OZL_StsBadArg,
                                      "ozlConvolveSep2DFP does support OZL_DEPTH_32F only.\n"
                                      "Call ozlConvolveSep2D instead",
                                      199));
    switch (engine(src, dst, x, y)) {
        case EngineResult::NoMemory:
            // The engine leaves the status; the entry point reports it on.
            ozlSetErrStatus(OZL_StsNoMem);
            ozlError(OZL_StsBackTrace, function, "Not enough memory", kEntryModule, kFloat ? 206 : 162);
            break;
        case EngineResult::ReadTile:
            fail(engineCaller, OZL_StsError, "Error get tile to read", 230);
            break;
        case EngineResult::WriteTile:
            fail(engineCaller, OZL_StsError, "Error get tile to write", 231);
            break;
        default: break;
    }
}

}  // namespace
}  // namespace ozl::filter

extern "C" OZL_API void OZL_CALL ozlConvolveSep2D(OzlImage* srcImage, OzlImage* dstImage,
                                                  OzlConvKernel* xKernel, OzlConvKernel* yKernel) {
    ozl::filter::convolveSep("ozlConvolveSep2D", srcImage, dstImage, xKernel, yKernel);
}

extern "C" OZL_API void OZL_CALL ozlConvolveSep2DFP(OzlImage* srcImage, OzlImage* dstImage,
                                                    OzlConvKernelFP* xKernel,
                                                    OzlConvKernelFP* yKernel) {
    ozl::filter::convolveSep("ozlConvolveSep2DFP", srcImage, dstImage, xKernel, yKernel);
}
