// The pixel-wise driver: walks the region that up to four sources and a
// destination share (regions of interest, channel of interest, alpha skipping,
// pixel and plane order, the mask, tiles) and calls the entry point's row
// kernel with a context. It never names an operation.
//
// Two kernel shapes:
// - value kernels (RunFn) compute every value from the values at the same
//   position: they see dense runs of values, whatever the layouts (the driver
//   gathers strided values, splits planes, merges rows without padding). The
//   operands may have different value types (a conversion), never different
//   processed channel counts.
// - pixel kernels (PixelFn) compute a pixel from all processed channels of its
//   pixel in every operand (comparisons, colour models): they see each
//   operand's row with its own pixel and channel steps and channel count.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ozl.h"

namespace ozl::core {

constexpr int kMaxSources = 4;

struct MapOperands {
    OzlImage* src[kMaxSources] = {};  // absent sources are nullptr
    OzlImage* dst = nullptr;
};

// Operand index of the destination in the driver's results (sources are 0..3).
constexpr int kDstOperand = kMaxSources;

// d[i] = f(a[i], b[i]) over n values. a and b are the first two sources (b may
// be absent); every pointer is of its own operand's value type, element
// aligned, and d may equal a or b. For 1-bit operands a value is a byte of 8
// pixels.
using RunFn = void (*)(const void* a, const void* b, void* d, size_t n, const void* context);

// One operand's row as a pixel kernel sees it.
struct RowView {
    char* data = nullptr;       // first processed value of the first pixel
    ptrdiff_t pixelStep = 0;    // bytes between pixels (0 for 1-bit rows)
    ptrdiff_t channelStep = 0;  // bytes between the processed channels of a pixel
    int channels = 0;           // processed channels
    int bit = 0;                // 1-bit rows: bit of the first pixel, most significant first
};

// True when a row's processed values lie one after another (no channel of
// interest or alpha to step over, no planes to cross).
inline bool isDense(const RowView& r, size_t valueBytes) {
    const auto size = static_cast<ptrdiff_t>(valueBytes);
    return r.pixelStep != 0 && (r.channels == 1 || r.channelStep == size) &&
           r.pixelStep == r.channels * size;
}

// Computes `width` pixels of dst from the sources' pixels at the same places.
// A 1-bit destination always starts at bit 0 of its first byte, and the
// kernel may write every bit of the bytes the row covers.
using PixelFn = void (*)(const RowView* src, const RowView& dst, size_t width,
                         const void* context);

// The same kernel over `rows` rows: row r of source i starts rowSteps[i]
// bytes after its row r - 1, the destination's rowSteps[kDstOperand] bytes.
// One call covers many narrow rows, where a call per row would cost about as
// much as the row.
using PixelRowsFn = void (*)(const RowView* src, const RowView& dst, size_t width, size_t rows,
                             const ptrdiff_t* rowSteps, const void* context);

struct MapKernel {
    RunFn run = nullptr;      // exactly one of run and pixel
    PixelFn pixel = nullptr;
    // Optional with pixel: taken for the unmasked rows of a piece whose
    // destination rows are whole values (1-bit rows: from bit 0, a multiple
    // of 8 pixels long).
    PixelRowsFn pixelRows = nullptr;
    const void* context = nullptr;
    // Operands whose headers match exactly may be processed as one run over
    // their whole buffers, row padding included (value kernels of one value
    // size, without alpha and mask).
    bool wholeBuffer = false;
    // Value kernels: the alpha channel is processed too (fills write every
    // channel when there is no channel of interest). Pixel kernels: the rows
    // of images with an alpha channel and no channel of interest count it as
    // their last channel (a masked destination has it blended too).
    bool withAlpha = false;
    // The kernel copies the first source (d = a): masked rows are blended
    // straight from the source instead of being computed first.
    bool identity = false;
    // Value kernels whose values depend on neither the sources nor the place
    // (fills): masked rows blend one chunk computed once.
    bool uniform = false;
    // Pixel kernels that write only some of the destination's processed
    // channels, the others keeping their values: a masked row starts each
    // computed chunk from the destination's pixels.
    bool partialPixels = false;
};

// Result of a walk: done, out of memory, or the operand whose tile callback
// left tileData NULL (0..3 sources, kDstOperand); pieces done stay done.
constexpr int kMapDone = -1;
constexpr int kMapNoMemory = -2;

int mapPixels(const MapOperands& operands, const OzlImage* mask, const MapKernel& kernel);

// Width and height of the region the operands share: the smallest clipped
// region among them and the mask.
struct Size {
    int width = 0;
    int height = 0;
};
Size commonSize(const MapOperands& operands, const OzlImage* mask);

// Writes n computed pixels (dense, d.channels values of `size` bytes each)
// into the row d where the mask's bit is set (bits most significant first
// from bit maskBit of maskBits), whatever d's layout. `scratch` holds at least
// n pixels plus n values.
void blendRow(const RowView& d, const char* computed, size_t n, size_t size,
              const uint8_t* maskBits, size_t maskBit, char* scratch);

// A row view of an untiled image: row y of its region (y counted from the
// region's top), plane `plane` in plane order.
RowView rowOf(const OzlImage* image, int y);

}  // namespace ozl::core
