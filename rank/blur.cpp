// The box mean (ozlBlur) and the fixed filters (ozlFixedFilter): exact
// integer sums of the window, divided by the window's area or the kernel's
// divisor with rounding to nearest (halves upward), then saturated; 32F sums
// in float in a fixed order. 8-bit means and fixed filters whose sums fit 16
// bits take the vector kernels.
#include <algorithm>
#include <cstdint>

#include "image/depth.hpp"
#include "rank/kernels.hpp"
#include "rank/window.hpp"

namespace ozl::rank {
namespace {

using core::fail;

struct Weight {
    int row, offset;  // offset in pixels from the output pixel
    int32_t weight;
};

struct Plan {
    const RankTable* table = nullptr;
    uint32_t depth = OZL_DEPTH_8U;  // of the values the rows hold (1U: bytes)
    int nCols = 1, nRows = 1, left = 0;
    int64_t divisor = 1;
    bool fast = false;
    BoxU8 box;
    const Weight* weights = nullptr;  // the fixed filters' kernel
    int nWeights = 0;
    bool fastTaps = false;  // 8-bit values in 16-bit sums
    TapsU8 taps;
    int64_t lo = 0, hi = 0;  // the depth's range
};

// floor((s + floor(d / 2)) / d): the nearest integer to s / d, halves upward.
inline int64_t roundedQuotient(int64_t s, int64_t d) {
    const int64_t x = s + d / 2;
    const int64_t q = x / d;
    return q * d > x ? q - 1 : q;
}

template <class T>
void boxRow(const Plan& p, const core::NbRow& row) {
    const int ch = row.channels;
    const size_t n = static_cast<size_t>(row.width) * ch;
    const size_t span = n + static_cast<size_t>(p.nCols - 1) * ch;
    const ptrdiff_t left = -static_cast<ptrdiff_t>(p.left) * ch;
    T* out = static_cast<T*>(row.dst);
    using Sum = std::conditional_t<std::is_same_v<T, float>, float, int64_t>;
    Sum* col = static_cast<Sum*>(row.scratch);
    for (size_t i = 0; i < span; ++i) {
        Sum s = static_cast<const T*>(row.src[0])[left + static_cast<ptrdiff_t>(i)];
        for (int j = 1; j < p.nRows; ++j) s += static_cast<const T*>(row.src[j])[left + static_cast<ptrdiff_t>(i)];
        col[i] = s;
    }
    for (size_t i = 0; i < n; ++i) {
        Sum s = col[i];
        for (int j = 1; j < p.nCols; ++j) s += col[i + static_cast<size_t>(j) * ch];
        if constexpr (std::is_same_v<T, float>) out[i] = s / static_cast<float>(p.divisor);
        else out[i] = static_cast<T>(roundedQuotient(s, p.divisor));
    }
}

void boxKernel(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    if (p.fast)
        return p.table->boxU8(p.box, row.src, static_cast<uint8_t*>(row.dst),
                              static_cast<size_t>(row.width) * row.channels, row.channels, row.scratch);
    image::withValueType(p.depth, [&](auto v) { boxRow<decltype(v)>(p, row); });
}

template <class T>
void weightedRow(const Plan& p, const core::NbRow& row) {
    const int ch = row.channels;
    const size_t n = static_cast<size_t>(row.width) * ch;
    T* out = static_cast<T*>(row.dst);
    for (size_t i = 0; i < n; ++i) {
        if constexpr (std::is_same_v<T, float>) {
            float s = 0;
            for (int k = 0; k < p.nWeights; ++k) {
                const Weight& w = p.weights[k];
                s += static_cast<float>(w.weight) *
                     static_cast<const float*>(row.src[w.row])[static_cast<ptrdiff_t>(i) + static_cast<ptrdiff_t>(w.offset) * ch];
            }
            out[i] = s / static_cast<float>(p.divisor);
        } else {
            int64_t s = 0;
            for (int k = 0; k < p.nWeights; ++k) {
                const Weight& w = p.weights[k];
                s += static_cast<int64_t>(w.weight) *
                     static_cast<const T*>(row.src[w.row])[static_cast<ptrdiff_t>(i) + static_cast<ptrdiff_t>(w.offset) * ch];
            }
            out[i] = static_cast<T>(std::clamp(roundedQuotient(s, p.divisor), p.lo, p.hi));
        }
    }
}

void weightedKernel(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    if (p.fastTaps)
        return p.table->weightedU8(p.taps, row.src, static_cast<uint8_t*>(row.dst),
                                   static_cast<size_t>(row.width) * row.channels, row.channels, row.scratch);
    image::withValueType(p.depth, [&](auto v) { weightedRow<decltype(v)>(p, row); });
}

core::NbCode runPlan(const OzlImage* src, const OzlImage* dst, Plan& plan, int nCols, int nRows,
                     int anchorX, int anchorY, core::NbRowFn rowFn, size_t scratchPerValue) {
    core::NbSetup setup;
    const core::NbCode code = core::setupNeighbourhood(src, dst, setup);
    if (code != core::NbCode::Done || setup.width == 0) return code;
    plan.table = &activeRankTable();
    plan.depth = src->depth == OZL_DEPTH_1U ? OZL_DEPTH_8U : src->depth;
    core::NbKernel kernel;
    kernel.row = rowFn;
    kernel.context = &plan;
    kernel.margins = marginsOf(nCols, nRows, anchorX, anchorY);
    kernel.scratchPerValue = scratchPerValue;
    core::NbPass pass{&kernel, 1};
    return core::runPasses(setup, &pass, 1);
}

// The fixed kernels, row by row, with their divisors.
struct Fixed {
    int size;
    int32_t divisor;
    int32_t values[25];
};

const Fixed kFixed[] = {
    {3, 1, {-1, 0, 1, -1, 0, 1, -1, 0, 1}},                              // Prewitt, vertical edges
    {3, 1, {1, 1, 1, 0, 0, 0, -1, -1, -1}},                              // Prewitt, horizontal edges
    {3, 1, {-1, 0, 1, -2, 0, 2, -1, 0, 1}},                              // Sobel, vertical edges
    {3, 1, {1, 2, 1, 0, 0, 0, -1, -2, -1}},                              // Sobel, horizontal edges
    {3, 1, {0, -1, 0, -1, 4, -1, 0, -1, 0}},                             // Laplacian 3x3
    {5, 1, {-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4,       // Laplacian 5x5
            -3, 0, 6, 0, -3, -1, -3, -4, -3, -1}},
    {3, 16, {1, 2, 1, 2, 4, 2, 1, 2, 1}},                                // Gaussian 3x3
    {5, 256, {1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6,         // Gaussian 5x5
              4, 16, 24, 16, 4, 1, 4, 6, 4, 1}},
    {3, 1, {-1, -1, -1, -1, 8, -1, -1, -1, -1}},                         // high-pass 3x3
    {5, 1, {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 24, -1, -1,  // high-pass 5x5
            -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
    {3, 8, {-1, -1, -1, -1, 16, -1, -1, -1, -1}},                        // sharpen
};

}  // namespace
}  // namespace ozl::rank

extern "C" OZL_API void OZL_CALL ozlBlur(OzlImage* srcImage, OzlImage* dstImage, int nCols,
                                         int nRows, int anchorX, int anchorY) {
    using namespace ozl::rank;
    const ozl::core::Caller caller{"ozlBlur", "ozlblur"};
    constexpr int line = 118;
    if (!windowCallValid(caller, line, srcImage, dstImage, nCols, nRows, anchorX, anchorY)) return;
    Plan plan;
    plan.nCols = nCols;
    plan.nRows = nRows;
    plan.left = anchorX;
    plan.divisor = static_cast<int64_t>(nCols) * nRows;
    const bool bytes = srcImage->depth == OZL_DEPTH_8U || srcImage->depth == OZL_DEPTH_1U;
    plan.fast = bytes && plan.divisor * 255 + plan.divisor / 2 <= 65535;
    if (plan.fast) {
        plan.box.nCols = nCols;
        plan.box.nRows = nRows;
        plan.box.left = anchorX;
        plan.box.half = static_cast<uint16_t>(plan.divisor / 2);
        plan.box.divider = divider16(static_cast<uint16_t>(plan.divisor));
    }
    ozl::core::reportNbCode(
        caller, runPlan(srcImage, dstImage, plan, nCols, nRows, anchorX, anchorY, &boxKernel, 9), line + 4);
}

extern "C" OZL_API void OZL_CALL ozlFixedFilter(OzlImage* srcImage, OzlImage* dstImage,
                                                int filter) {
    using namespace ozl::rank;
    const ozl::core::Caller caller{"ozlFixedFilter", "ozlblur"};
    constexpr int line = 173;
    if (!ozl::core::headersValid(caller, {srcImage, dstImage}, line) ||
        !offsetsValid(caller, srcImage, dstImage, line))
        return;
    if (filter < 0 || filter >= static_cast<int>(sizeof kFixed / sizeof kFixed[0]))
        return static_cast<void>(fail(caller, OZL_StsBadArg, "Unknown fixed filter", line + 1));
    if (!sameFormat(caller, srcImage, dstImage, line + 2)) return;
    if (srcImage->depth == OZL_DEPTH_1U)
        return static_cast<void>(fail(caller, OZL_StsBadDepth, "Inadmissible images depths", line + 3));
    const Fixed& f = kFixed[filter];
    Weight weights[25];
    Plan plan;
    for (int y = 0; y < f.size; ++y)
        for (int x = 0; x < f.size; ++x)
            if (f.values[y * f.size + x]) weights[plan.nWeights++] = Weight{y, x - f.size / 2, f.values[y * f.size + x]};
    plan.weights = weights;
    plan.divisor = f.divisor;
    plan.fastTaps = srcImage->depth == OZL_DEPTH_8U && tapsU8(f.values, f.size, f.divisor, plan.taps);
    const ozl::image::DepthInfo* info = ozl::image::depthInfo(srcImage->depth);
    if (info) {
        plan.lo = info->lo;
        plan.hi = info->hi;
    }
    ozl::core::reportNbCode(
        caller, runPlan(srcImage, dstImage, plan, f.size, f.size, f.size / 2, f.size / 2, &weightedKernel, 2),
        line + 5);
}
