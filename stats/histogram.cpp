// Histograms and look-up tables: ozlComputeHisto, ozlContrastStretch and
// ozlHistoEqualize. Counting runs on the reduction driver; the maps are built
// per channel from the caller's tables and applied by the pixel-wise driver.
#include <cstring>

#include "core/checks.hpp"
#include "core/pixelwise.hpp"
#include "core/reduce.hpp"
#include "image/mask.hpp"
#include "image/region.hpp"
#include "ozl.h"
#include "stats/kernels.hpp"
#include "stats/lut.hpp"

namespace ozl::stats {

namespace {

using core::Caller;
using core::fail;

constexpr const char* kModule = "ozlhist";

enum Line {
    kLineHistoHeader = 212,
    kLineHistoLut = 214,
    kLineHistoDepth = 217,
    kLineHistoMemory = 231,
    kLineHistoTile = 240,
    kLineStretchHeader = 301,
    kLineStretchDepth = 306,
    kLineStretchOrder = 313,
    kLineStretchMemory = 331,
    kLineStretchMask = 336,
    kLineStretchTile = 344,
    kLineEqualizeHeader = 401,
    kLineEqualizeDepth = 406,
    kLineEqualizeOrder = 413,
    kLineEqualizeMemory = 431,
    kLineEqualizeZero = 452,
    kLineEqualizeMask = 458,
    kLineEqualizeTile = 466,
};

// ---------------------------------------------------------------------------
// Counting

struct CountContext {
    uint32_t* counters;  // per channel: kByteTables x 256 (8U), else histSize
    size_t perChannel;   // counters of one channel
    uint32_t depth;
    CountBytesFn countBytes;
    uint8_t* pairs;      // 8U, one channel: the pair table, or nullptr
};

// One channel of at least this many 8-bit pixels is counted by pairs: below,
// clearing and folding the pair table costs more than the increments it saves.
constexpr int64_t kPairsFrom = int64_t{1} << 17;

// The counter a value lands in. Values of depths the function refuses (when a
// report callback clears the status and the call goes on) are counted by the
// bits of their own width, 32-bit values by their low 16 bits.
template <class T>
size_t levelOf(T v) {
    if constexpr (sizeof(T) == 1) return static_cast<uint8_t>(v);
    else if constexpr (sizeof(T) == 2) return static_cast<uint16_t>(v);
    else {
        uint32_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        return bits & 0xFFFFu;
    }
}

template <class T>
void countValues(const core::ReduceRow& row, CountContext& ctx) {
    const core::RowView& r = row.src[0];
    for (int c = 0; c < r.channels; ++c) {
        uint32_t* counters = ctx.counters + c * ctx.perChannel;
        const char* p = r.data + c * r.channelStep;
        if (std::is_same_v<T, uint8_t> && !row.mask) {
            ctx.countBytes(reinterpret_cast<const uint8_t*>(p), row.width,
                           static_cast<size_t>(r.pixelStep), {counters, ctx.pairs});
            continue;
        }
        for (size_t i = 0; i < row.width; ++i, p += r.pixelStep) {
            if (!core::counts(row, i)) continue;
            T v;
            std::memcpy(&v, p, sizeof v);
            ++counters[levelOf(v)];
        }
    }
}

void countBits(const core::ReduceRow& row, const CountContext& ctx) {
    const core::RowView& r = row.src[0];
    const auto* bits = reinterpret_cast<const uint8_t*>(r.data);
    for (size_t i = 0; i < row.width; ++i) {
        if (!core::counts(row, i)) continue;
        const size_t bit = static_cast<size_t>(r.bit) + i;
        ++ctx.counters[(bits[bit >> 3] >> (7 - (bit & 7))) & 1];
    }
}

void countRow(const core::ReduceRow& row, void* context) {
    auto& ctx = *static_cast<CountContext*>(context);
    if (ctx.depth == OZL_DEPTH_1U) return countBits(row, ctx);
    image::withValueType(ctx.depth, [&](auto tag) { countValues<decltype(tag)>(row, ctx); });
}

// The 32-bit counters of the image's region, channel after channel, each
// histSize long; nullptr with the report made on a failure.
uint32_t* countLevels(const Caller& caller, OzlImage* src, const OzlImage* mask, int histSize) {
    const int nCh = image::effectiveChannels(src);
    const bool bytes = src->depth == OZL_DEPTH_8U;
    const size_t perChannel = static_cast<size_t>(histSize) * (bytes ? kByteTables : 1);
    uint32_t* counters = allocateZeroed<uint32_t>(perChannel * static_cast<size_t>(nCh));
    if (!counters) {
        fail(caller, OZL_StsNoMem, "Not enough memory for the histogram", kLineHistoMemory);
        return nullptr;
    }
    // Pairs help large unmasked regions of one channel; without memory for
    // them the count goes byte by byte.
    const image::RegionStart region = image::regionStart(src, 0);
    const bool pairs = bytes && nCh == 1 && !mask &&
                       int64_t{region.width} * region.height >= kPairsFrom;
    CountContext ctx{counters, perChannel, src->depth, activeTable().countBytes,
                     pairs ? allocateZeroed<uint8_t>(kPairCounters) : nullptr};
    core::ReduceKernel kernel;
    kernel.row = &countRow;
    kernel.context = &ctx;
    kernel.mergeRows = true;
    const int walked = core::reducePixels(src, nullptr, mask, kernel);
    if (ctx.pairs) activeTable().foldPairs(ctx.pairs, counters);
    ozlFree(ctx.pairs);
    if (walked != core::kMapDone) {
        fail(caller, OZL_StsError, "Error get tile to read", kLineHistoTile);
        ozlFree(counters);
        return nullptr;
    }
    if (bytes) {
        // Adds the sub-tables of every channel into its first 256 counters,
        // then packs the channels.
        for (int c = 0; c < nCh; ++c) {
            const uint32_t* from = counters + c * perChannel;
            uint32_t* to = counters + c * histSize;
            for (int j = 0; j < histSize; ++j) {
                uint32_t sum = 0;
                for (int t = 0; t < kByteTables; ++t) sum += from[t * histSize + j];
                to[j] = sum;
            }
        }
    }
    return counters;
}

// ---------------------------------------------------------------------------
// The checks the look-up operations share.

struct Pair {
    OzlImage* src;
    OzlImage* dst;
};

// Header, depth, order, origin and channel checks of the two-image operations.
bool pairValid(const Caller& caller, Pair im, int headerLine, int depthLine, int orderLine) {
    if (!core::headersValid(caller, {im.src}, headerLine) ||
        !core::headersValid(caller, {im.dst}, headerLine + 1))
        return false;
    if (im.src->depth != im.dst->depth)
        return fail(caller, OZL_StsBadArg, "srcImage->depth != dstImage->depth", depthLine);
    if (im.src->depth != OZL_DEPTH_8U && im.src->depth != OZL_DEPTH_16U)
        return fail(caller, OZL_StsBadArg,
                    "srcImage->depth != OZL_DEPTH_8U && srcImage->depth != OZL_DEPTH_16U",
                    depthLine + 1);
    if (!(im.src->nChannels == 1 && im.dst->nChannels == 1) &&
        im.src->dataOrder != im.dst->dataOrder)
        return fail(caller, OZL_StsBadArg, "srcImage->dataOrder != dstImage->dataOrder",
                    orderLine);
    if (im.src->origin != im.dst->origin)
        return fail(caller, OZL_StsBadArg, "srcImage->origin != dstImage->origin", orderLine + 1);
    if (image::effectiveChannels(im.src) != image::effectiveChannels(im.dst))
        return fail(caller, OZL_StsBadArg,
                    "Number of processed channels of srcImage != Number of processed channels "
                    "of dstImage",
                    orderLine + 2);
    return true;
}

// Applies the per-channel maps from src into dst where the masks of both
// allow; false with the report made on a failure.
bool applyMaps(const Caller& caller, Pair im, const void* maps, int maskLine, int tileLine) {
    const OzlImage* masks[2] = {im.src->maskROI, im.dst->maskROI};
    image::CombinedMask mask = image::combineMasks(masks, 2);
    if (mask.flag == image::CombinedMask::Empty) return true;
    if (mask.flag == image::CombinedMask::NoMemory)
        return fail(caller, OZL_StsNoMem, "Not enough memory for the mask", maskLine);
    core::MapOperands operands;
    operands.src[0] = im.src;
    operands.dst = im.dst;
    core::MapKernel kernel;
    kernel.pixel = im.src->depth == OZL_DEPTH_8U ? &mapRow<uint8_t> : &mapRow<uint16_t>;
    const MapContext context{maps, activeTable().mapBytes};
    kernel.context = &context;
    const int result = core::mapPixels(operands, mask.image, kernel);
    image::releaseMask(mask);
    if (result == core::kMapNoMemory)
        fail(caller, OZL_StsNoMem, "Not enough memory for the row", maskLine);
    else if (result != core::kMapDone)
        fail(caller, OZL_StsError,
             result == core::kDstOperand ? "Error get tile to write" : "Error get tile to read",
             tileLine);
    // Whatever left the status negative, a failure of the walk or one before
    // the call, the operation backs out with a trace report.
    if (!core::statusFailed()) return true;
    ozlError(OZL_StsBackTrace, caller.function, "Row walker failed", caller.module, tileLine + 1);
    return false;
}

}  // namespace

}  // namespace ozl::stats

using namespace ozl::stats;

extern "C" OZL_API void OZL_CALL ozlComputeHisto(OzlImage* srcImage, OzlLUT** lut) {
    const Caller caller{"ozlComputeHisto", kModule};
    if (!ozl::core::headersValid(caller, {srcImage}, kLineHistoHeader)) return;
    // Both refusals are reported before the operation decides to stop.
    if (!lut) fail(caller, OZL_StsBadArg, "lut==0", kLineHistoLut);
    if ((srcImage->depth & OZL_DEPTH_SIGN) || srcImage->depth == OZL_DEPTH_32F)
        fail(caller, OZL_StsBadArg,
             "(srcImage->depth & OZL_DEPTH_SIGN) || (srcImage->depth == OZL_DEPTH_32F)",
             kLineHistoDepth);
    if (ozl::core::statusFailed()) return;

    const int histSize = histogramSize(srcImage->depth);
    const TableSet tables{lut, firstTable(srcImage), ozl::image::effectiveChannels(srcImage)};
    if (!tablesValid(caller, tables, histSize)) return;
    uint32_t* counters = countLevels(caller, srcImage, srcImage->maskROI, histSize);
    if (!counters) return;
    for (int c = 0; c < tables.count; ++c)
        binCounts(*lut[tables.first + c], counters + static_cast<size_t>(c) * histSize);
    ozlFree(counters);
}

extern "C" OZL_API void OZL_CALL ozlContrastStretch(OzlImage* srcImage, OzlImage* dstImage,
                                                    OzlLUT** lut) {
    const Caller caller{"ozlContrastStretch", kModule};
    const Pair im{srcImage, dstImage};
    if (!pairValid(caller, im, kLineStretchHeader, kLineStretchDepth, kLineStretchOrder)) return;
    const int histSize = histogramSize(srcImage->depth);
    const TableSet tables{lut, firstTable(srcImage), ozl::image::effectiveChannels(srcImage)};
    if (!tablesValid(caller, tables, histSize, TableUse::Stretch)) return;

    const bool bytes = srcImage->depth == OZL_DEPTH_8U;
    const size_t entries = static_cast<size_t>(histSize) * tables.count;
    void* maps = bytes ? static_cast<void*>(allocateZeroed<uint8_t>(entries))
                       : static_cast<void*>(allocateZeroed<uint16_t>(entries));
    if (!maps) {
        fail(caller, OZL_StsNoMem, "Not enough memory for the map", kLineStretchMemory);
        return;
    }
    for (int c = 0; c < tables.count; ++c) {
        const OzlLUT& t = *lut[tables.first + c];
        if (bytes) stretchMap(t, static_cast<uint8_t*>(maps) + c * histSize);
        else stretchMap(t, static_cast<uint16_t*>(maps) + c * histSize);
    }
    applyMaps(caller, im, maps, kLineStretchMask, kLineStretchTile);
    ozlFree(maps);
}

extern "C" OZL_API void OZL_CALL ozlHistoEqualize(OzlImage* srcImage, OzlImage* dstImage,
                                                  OzlLUT** lut) {
    const Caller caller{"ozlHistoEqualize", kModule};
    const Pair im{srcImage, dstImage};
    if (!pairValid(caller, im, kLineEqualizeHeader, kLineEqualizeDepth, kLineEqualizeOrder))
        return;
    const int histSize = histogramSize(srcImage->depth);
    const int nCh = ozl::image::effectiveChannels(srcImage);
    const TableSet from{lut, firstTable(srcImage), nCh};
    const TableSet to{lut, firstTable(dstImage), nCh};
    // The result refills the destination's tables: they are checked too.
    if (!tablesValid(caller, from, histSize) ||
        (to.first != from.first && !tablesValid(caller, to, histSize)))
        return;

    Equalizer eq(srcImage->depth, nCh);
    if (!eq.ready()) {
        fail(caller, OZL_StsNoMem, "Not enough memory for the map", kLineEqualizeMemory);
        return;
    }
    // Every map is built before anything is written: a channel with an empty
    // histogram leaves the image and all tables as they were.
    for (int c = 0; c < nCh; ++c)
        if (!eq.buildMap(c, *lut[from.first + c])) {
            fail(caller, OZL_StsInternal, "All values in histogram are zeroes", kLineEqualizeZero);
            return;
        }
    if (!applyMaps(caller, im, eq.maps(), kLineEqualizeMask, kLineEqualizeTile)) return;
    for (int c = 0; c < nCh; ++c) eq.refill(c, *lut[from.first + c], *lut[to.first + c]);
}
