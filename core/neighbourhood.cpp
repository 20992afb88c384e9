#include "core/neighbourhood.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/blend.hpp"
#include "core/border_fetch.hpp"
#include "core/led_walk.hpp"
#include "image/bits.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::core {

namespace {

constexpr int64_t kStreamRowBytes = 1024;

// An operand's region as the row loop reads or writes it.
struct Operand {
    char* data = nullptr;  // region (0, 0), first processed channel
    ptrdiff_t rowStep = 0;
    ptrdiff_t planeStep = 0;
    int stride = 1;      // values between pixels
    int bit = 0;         // 1-bit images: bit of region (0, 0), most significant first
    int valueBytes = 0;  // 0 for 1-bit images
    bool plane = false;
};

Operand operandOf(const OzlImage* image) {
    const image::View v = image::regionView(image);
    Operand o;
    o.data = v.data;
    o.rowStep = v.rowStep;
    o.planeStep = v.planeStep;
    o.stride = v.pixelStride;
    o.bit = v.bitOffset;
    o.valueBytes = image::depthBits(image->depth) / 8;
    o.plane = image->dataOrder == OZL_DATA_ORDER_PLANE;
    return o;
}

// The operand with its origin moved by dx pixels and dy rows.
Operand shifted(Operand o, int dx, int dy) {
    o.data += dy * o.rowStep;
    if (o.valueBytes == 0) {
        const ptrdiff_t pos = o.bit + static_cast<ptrdiff_t>(dx);
        o.data += pos >> 3;
        o.bit = static_cast<int>(pos & 7);
    } else {
        o.data += static_cast<ptrdiff_t>(dx) * o.stride * o.valueBytes;
    }
    return o;
}

bool bitAt(const char* p, ptrdiff_t pos) {
    return (static_cast<uint8_t>(p[pos >> 3]) >> (7 - (pos & 7))) & 1;
}

// Everything a run shares: the kernel, the channel passes and the buffers.
struct Run {
    const NbKernel* kernel = nullptr;
    int passes = 1;    // 1, or one per processed channel when either image is in plane order
    int channels = 1;  // channels per pass
    int maxWidth = 0;  // widest piece (the buffers' size)
    int band = 1;      // output rows a call takes at most
    int rowsNeeded = 1;  // source rows of a call of `band` rows
    bool gathered = false;  // source rows are gathered (strided or 1-bit sources)
    bool stream = false;    // a destination large enough for stores past the caches
    bool packedRows = false;  // 1-bit rows handed over packed
    size_t lead = 0;        // packed rows: slot bytes before pixel 0
    size_t srcBytes = 1, dstBytes = 1;  // value sizes as the kernel sees them
    char* memory = nullptr;
    const void** rows = nullptr;
    char* ring = nullptr;      // gathered source rows
    size_t ringRowBytes = 0;
    char* out = nullptr;       // computed rows on their way to a masked or strided destination
    size_t outRowBytes = 0;
    uint8_t* packed = nullptr; // 1-bit destination rows
    char* scratch = nullptr;

    ~Run() { ozlFree(memory); }

    bool allocate() {
        const Margins& m = kernel->margins;
        const int64_t span = (static_cast<int64_t>(maxWidth) + m.left + m.right) * channels;
        // A packed slot: whole words around the margins, one more each side.
        lead = static_cast<size_t>((m.left + 63) / 64 + 1) * 8;
        const int64_t slotBytes = packedRows ? align(static_cast<int64_t>(lead) + (static_cast<int64_t>(maxWidth) + m.right + 63) / 64 * 8 + 8)
                                         : align(span * static_cast<int64_t>(srcBytes));
        const int64_t ring = gathered ? slotBytes * rowsNeeded : 0;
        const int64_t outRow = align(static_cast<int64_t>(maxWidth) * channels * dstBytes);
        const int64_t out = outRow * band;
        const int64_t packed = align(maxWidth / 8 + 8);
        const int64_t scratch = align(span * static_cast<int64_t>(kernel->scratchPerValue) + 64);
        const int64_t rows = align(static_cast<int64_t>(rowsNeeded) * sizeof(void*));
        const int64_t total = ring + out + packed + scratch + rows;
        if (span > INT32_MAX || total > INT32_MAX - 64) return false;
        memory = static_cast<char*>(ozlMalloc(static_cast<int>(total)));
        if (!memory) return false;
        char* p = memory;
        this->ring = p;
        ringRowBytes = static_cast<size_t>(slotBytes);
        // Packed slots keep zero bits beyond what each gather writes.
        if (packedRows) std::memset(this->ring, 0, static_cast<size_t>(ring));
        p += ring;
        this->out = p;
        outRowBytes = static_cast<size_t>(outRow);
        p += out;
        this->packed = reinterpret_cast<uint8_t*>(p);
        p += packed;
        this->scratch = p;
        p += scratch;
        this->rows = reinterpret_cast<const void**>(p);
        return true;
    }

    static int64_t align(int64_t bytes) { return (bytes + 63) / 64 * 64; }
};

// First value of pass p of an operand.
char* passStart(const Run& run, const Operand& o, int p) {
    if (run.passes == 1) return o.data;
    return o.plane ? o.data + p * o.planeStep : o.data + p * o.valueBytes;
}

// A piece of packed 1-bit rows read in place whose side margins may lie
// beyond the image's left or right edge: those pixels come from the left and
// right border modes as each row is gathered (the rows lie inside the image).
struct Edges {
    long long column = 0;  // image column of the piece's pixel 0
    long long width = 0;   // image width
    int mode[2] = {0, 0};  // left, right
    bool constant[2] = {false, false};
};

Edges edgesOf(const OzlImage* image) {
    Edges e;
    e.column = image::regionRect(image).x;
    e.width = image->width;
    for (int side = 0; side < 2; ++side) {
        e.mode[side] = image->borderMode[2 + side] & 3;
        e.constant[side] = (image->borderConst[2 + side] & 1) != 0;
    }
    return e;
}

// A packed row: pixels [lo, hi) of `row` (pixel 0 at bit `bit`) into a slot
// whose pixel 0 is the first bit of byte `lead`, the rest of the slot up to
// byte `end` cleared; with edges, the pixels beyond the image from its modes.
void gatherPacked(const uint8_t* row, int bit, int lo, int hi, uint8_t* slot, size_t lead, size_t end,
                  const Edges* edges) {
    const ptrdiff_t base = static_cast<ptrdiff_t>(lead) * 8;  // slot bit of pixel 0
    long long inLo = lo, inHi = hi;
    if (edges) {
        inLo = std::max<long long>(lo, -edges->column);
        inHi = std::min<long long>(hi, edges->width - edges->column);
    }
    const size_t first = static_cast<size_t>((base + lo) >> 3);
    const bool clipped = inLo > lo || inHi < hi;
    if (clipped) std::memset(slot + first, 0, end - first);
    if (inHi > inLo) {
        const ptrdiff_t at = base + static_cast<ptrdiff_t>(inLo);
        image::gatherBits(row, bit + static_cast<ptrdiff_t>(inLo), slot + (at >> 3), static_cast<int>(at & 7),
                          static_cast<size_t>(inHi - inLo));
    }
    if (clipped)
        for (long long p = lo; p < hi; ++p) {
            if (p >= inLo && p < inHi) p = inHi;
            if (p >= hi) break;
            const long long v = edges->column + p;
            const int side = v < 0 ? 0 : 1;
            const bool on = edges->mode[side] == 0
                                ? edges->constant[side]
                                : bitAt(reinterpret_cast<const char*>(row),
                                        bit + (borderIndex(v, edges->width, edges->mode[side]) - edges->column));
            if (on) slot[(base + p) >> 3] |= static_cast<uint8_t>(0x80 >> ((base + p) & 7));
        }
    // The word after the row's, cleared of an earlier, wider row's bits.
    const size_t written = static_cast<size_t>((base + inHi + 7) >> 3);
    if (!clipped && written < end) std::memset(slot + written, 0, end - written);
}

// Source row `r` (relative to the piece) laid out densely into `dst`, from
// `left` pixels before the piece to `right` after it; 1-bit pixels as bytes
// (or packed, when the kernel asks).
void gatherRow(const Run& run, const Operand& s, const char* base, int r, int width, char* dst,
               const Edges* edges) {
    const Margins& m = run.kernel->margins;
    const char* row = base + r * s.rowStep;
    const int n = width + m.left + m.right;
    if (run.packedRows) {
        const size_t end = run.lead + static_cast<size_t>((width + m.right + 63) / 64 + 1) * 8;
        gatherPacked(reinterpret_cast<const uint8_t*>(row), s.bit, -m.left, width + m.right,
                     reinterpret_cast<uint8_t*>(dst), run.lead, end, edges);
        return;
    }
    if (s.valueBytes == 0) {
        for (int i = 0; i < n; ++i) dst[i] = bitAt(row, s.bit + static_cast<ptrdiff_t>(i) - m.left);
        return;
    }
    const size_t pixelBytes = static_cast<size_t>(run.channels) * s.valueBytes;
    const ptrdiff_t step = static_cast<ptrdiff_t>(s.stride) * s.valueBytes;
    const char* p = row - m.left * step;
    for (int i = 0; i < n; ++i, p += step, dst += pixelBytes) std::memcpy(dst, p, pixelBytes);
}

// Writes a computed row into the destination where the mask allows.
void writeRow(const Run& run, const Operand& d, char* row, const char* computed, int width,
              const uint8_t* maskRow, int maskBit) {
    if (d.valueBytes == 0 && run.packedRows) {
        auto* to = reinterpret_cast<uint8_t*>(row);
        const auto* bits = reinterpret_cast<const uint8_t*>(computed);
        size_t whole = 0;
        if (!maskRow && d.bit == 0) {
            whole = static_cast<size_t>(width) / 8;
            std::memcpy(to, bits, whole);
        }
        image::mergeBits(bits + whole, 0, nullptr, 0, to + whole, d.bit, maskRow, static_cast<size_t>(maskBit),
                         static_cast<size_t>(width) - whole * 8, [](uint8_t x, uint8_t) { return x; });
        return;
    }
    if (d.valueBytes == 0) {
        std::memset(run.packed, 0, static_cast<size_t>(width + 7) / 8);
        for (int i = 0; i < width; ++i)
            if (computed[i]) run.packed[i >> 3] |= static_cast<uint8_t>(0x80 >> (i & 7));
        image::mergeBits(run.packed, 0, nullptr, 0, reinterpret_cast<uint8_t*>(row), d.bit,
                         maskRow, static_cast<size_t>(maskBit), static_cast<size_t>(width),
                         [](uint8_t x, uint8_t) { return x; });
        return;
    }
    const size_t pixelBytes = static_cast<size_t>(run.channels) * d.valueBytes;
    if (d.stride == run.channels) {
        if (maskRow)
            blendFor(static_cast<size_t>(d.valueBytes))(row, computed, static_cast<size_t>(width),
                                                        run.channels, maskRow + (maskBit >> 3),
                                                        maskBit & 7);
        else
            std::memcpy(row, computed, pixelBytes * width);
        return;
    }
    const ptrdiff_t step = static_cast<ptrdiff_t>(d.stride) * d.valueBytes;
    for (int i = 0; i < width; ++i)
        if (!maskRow || bitAt(reinterpret_cast<const char*>(maskRow), maskBit + i))
            std::memcpy(row + i * step, computed + i * pixelBytes, pixelBytes);
}

// One piece: its source rows with their margins all readable through `s`.
void runPiece(const Run& run, const Operand& s, const Operand& d, const Operand* mask, int width,
              int height, const Edges* edges = nullptr) {
    const NbKernel& k = *run.kernel;
    const int top = k.margins.top, around = top + k.margins.bottom;
    const int n = run.rowsNeeded;
    const bool gather = run.gathered;
    const bool direct = d.valueBytes != 0 && d.stride == run.channels && !mask;
    const size_t leftBytes = static_cast<size_t>(k.margins.left) * run.channels * run.srcBytes;
    // Stores past the caches pay on long rows only: a side strip's few bytes
    // a row share their cache lines with the interior's, and writing a line
    // in parts that way costs a trip to memory for each part.
    const bool streamed = static_cast<int64_t>(width) * run.channels * static_cast<int64_t>(run.dstBytes) >= kStreamRowBytes;
    for (int p = 0; p < run.passes; ++p) {
        const char* sBase = passStart(run, s, p);
        char* dBase = passStart(run, d, p);
        int gathered = -top;  // the next source row the ring lacks
        for (int y = 0; y < height;) {
            const int rows = std::min(run.band, height - y);
            for (int j = 0; j < rows + around; ++j) {
                const int r = y - top + j;
                if (!gather) {
                    run.rows[j] = sBase + r * s.rowStep;
                    continue;
                }
                // A ring of gathered rows: each source row is gathered once.
                char* slot = run.ring + static_cast<size_t>(((r % n) + n) % n) * run.ringRowBytes;
                if (r >= gathered) {
                    gatherRow(run, s, sBase, r, width, slot, edges);
                    gathered = r + 1;
                }
                run.rows[j] = slot + (run.packedRows ? run.lead : leftBytes);
            }
            char* dRow = dBase + y * d.rowStep;
            NbRow row;
            row.src = run.rows;
            row.dst = direct ? dRow : run.out;
            row.rows = rows;
            row.dstStride = direct ? d.rowStep : static_cast<ptrdiff_t>(run.outRowBytes);
            row.scratch = run.scratch;
            row.width = width;
            row.channels = run.channels;
            row.stream = direct && run.stream && streamed;
            row.firstRow = y == 0;
            k.row(row, k.context);
            for (int i = 0; i < rows && !direct; ++i) {
                const uint8_t* maskRow =
                    mask ? reinterpret_cast<const uint8_t*>(mask->data + (y + i) * mask->rowStep) : nullptr;
                writeRow(run, d, dRow + i * d.rowStep, run.out + i * run.outRowBytes, width, maskRow,
                         mask ? mask->bit : 0);
            }
            y += rows;
        }
    }
}

// A bordered copy of a piece's footprint, and the piece run from it.
NbResult runFetched(const Run& run, const OzlImage* src, int x, int y, int width, int height,
                    const Operand& d, const Operand* mask) {
    const Margins& m = run.kernel->margins;
    const image::Rect region = image::regionRect(src);
    const Rect area{region.x + x - m.left, region.y + y - m.top, width + m.left + m.right,
                    height + m.top + m.bottom};
    const FetchedBlock block = fetchRect(src, area);
    if (block.status != FetchedBlock::Done)
        return block.status == FetchedBlock::TileFailed ? NbResult::ReadTile : NbResult::NoMemory;
    OzlImage header;
    OzlROI roi;
    wrapBlock(src, block, area, Rect{m.left, m.top, width, height}, &header, &roi);
    const Operand mk = mask ? shifted(*mask, x, y) : Operand{};
    runPiece(run, operandOf(&header), shifted(d, x, y), mask ? &mk : nullptr, width, height);
    ozlFree(block.data);
    return NbResult::Done;
}

// Destinations of at least this many bytes, with their sources, outgrow a
// typical last-level cache: caching them would only evict the sources.
constexpr int64_t kStreamFrom = int64_t{16} << 20;

constexpr int kMaxKernelBand = 64;

constexpr int kMinStrip = 16;
// The middle rows are computed a few rows at a time, the side strips of each
// group right after its interior, while the group's source and destination
// rows are still in the core's own cache (otherwise each strip row costs a
// miss or two from far away). Groups hold about this many bytes, and at
// least kMinGroupRows rows so that the strips' vertical margins stay small
// beside them.
constexpr int64_t kGroupBytes = 256 << 10;
constexpr int kMinGroupRows = 4, kMaxGroupRows = 64;

// Untiled images that share no pixels: the interior in place, the top and
// bottom strips and, group by group, the left and right strips from bordered
// copies.
NbResult runSplit(const Run& run, OzlImage* src, const Operand& d, const Operand* mask, int width,
                  int height) {
    const Margins& m = run.kernel->margins;
    const image::Rect region = image::regionRect(src);
    auto clampTo = [](int64_t v, int lo, int hi) {
        return static_cast<int>(std::min<int64_t>(hi, std::max<int64_t>(lo, v)));
    };
    int x0 = clampTo(static_cast<int64_t>(m.left) - region.x, 0, width);
    int x1 = clampTo(static_cast<int64_t>(src->width) - m.right - region.x, x0, width);
    // Side strips a few pixels wide would be computed a handful of values at
    // a time: they take at least kMinStrip pixels, the rest of their width
    // from the interior.
    if (x0 > 0) x0 = std::min(x1, std::max(x0, kMinStrip));
    if (x1 < width) x1 = std::max(x0, std::min(x1, width - kMinStrip));
    // Packed rows take their side margins from the border modes as they are
    // gathered: one piece across, no side strips.
    const Edges edges = edgesOf(src);
    if (run.packedRows) x0 = 0, x1 = width;
    const int y0 = clampTo(static_cast<int64_t>(m.top) - region.y, 0, height);
    const int y1 = clampTo(static_cast<int64_t>(src->height) - m.bottom - region.y, y0, height);
    for (const Rect& s : {Rect{0, 0, width, y0}, Rect{0, y1, width, height - y1}}) {
        if (s.height <= 0) continue;
        const NbResult r = runFetched(run, src, s.x, s.y, s.width, s.height, d, mask);
        if (r != NbResult::Done) return r;
    }
    const Operand interior = shifted(operandOf(src), x0, y0);
    const int64_t rowBytes = std::max<int64_t>(
        1, static_cast<int64_t>(width) * run.channels * static_cast<int64_t>(run.srcBytes + run.dstBytes));
    // A kernel that carries state from row to row starts again on each group,
    // at a cost of about its vertical margin in rows: groups are at least four
    // times that.
    const int margin = m.top + m.bottom;
    // Whole bands of the kernel's rows a group.
    const int rowsAbout = std::max(4 * margin, static_cast<int>(std::clamp<int64_t>(
                                                   kGroupBytes / rowBytes, kMinGroupRows, kMaxGroupRows)));
    const int group = (rowsAbout + run.band - 1) / run.band * run.band;
    // Each side strip's footprint over the middle rows, copied with its
    // borders (the margin area, nothing more) a group at a time into a
    // window, right after the group's interior rows, while the source rows
    // it copies are still in cache.
    struct Strip {
        int x = 0, width = 0;
        BorderedRows rows;
        OzlImage header{};
        OzlROI roi{};
    } strips[2];
    strips[0].width = x0;
    strips[1].x = x1;
    strips[1].width = width - x1;
    const int window = std::min(group, y1 - y0) + margin;
    for (Strip& s : strips) {
        if (s.width <= 0 || y1 <= y0) continue;
        const Rect area{region.x + s.x - m.left, region.y + y0 - m.top, s.width + m.left + m.right,
                        y1 - y0 + margin};
        if (!s.rows.start(src, area, window)) return NbResult::NoMemory;
        wrapBlock(src, s.rows.block(), Rect{area.x, area.y, area.width, window},
                  Rect{m.left, m.top, s.width, window - margin}, &s.header, &s.roi);
    }
    for (int y = y0; y < y1; y += group) {
        const int h = std::min(group, y1 - y);
        if (x1 > x0) {
            const Operand mk = mask ? shifted(*mask, x0, y) : Operand{};
            runPiece(run, shifted(interior, 0, y - y0), shifted(d, x0, y), mask ? &mk : nullptr,
                     x1 - x0, h, run.packedRows ? &edges : nullptr);
        }
        for (Strip& s : strips) {
            if (s.width <= 0) continue;
            s.rows.fill(y - y0, h + margin);
            const Operand mk = mask ? shifted(*mask, s.x, y) : Operand{};
            runPiece(run, operandOf(&s.header), shifted(d, s.x, y), mask ? &mk : nullptr, s.width, h);
        }
    }
    return NbResult::Done;
}

// Untiled destination, tiled source: pieces on the source's tile grid.
NbResult runBySourceTiles(const Run& run, OzlImage* src, const Operand& d, const Operand* mask,
                          int width, int height) {
    const image::Rect region = image::regionRect(src);
    const int tw = src->tileInfo->width, th = src->tileInfo->height;
    for (int y = 0; y < height;) {
        const int h = std::min(height - y, th - (region.y + y) % th);
        for (int x = 0; x < width;) {
            const int w = std::min(width - x, tw - (region.x + x) % tw);
            const NbResult r = runFetched(run, src, x, y, w, h, d, mask);
            if (r != NbResult::Done) return r;
            x += w;
        }
        y += h;
    }
    return NbResult::Done;
}

// True when writing the destination could change source pixels still to be read.
bool shareStorage(const OzlImage* src, const OzlImage* dst) {
    if (src == dst) return true;
    if (src->tileInfo || dst->tileInfo) return src->tileInfo == dst->tileInfo;
    const char* s = src->imageData;
    const char* d = dst->imageData;
    return s < d + dst->imageSize && d < s + src->imageSize;
}

}  // namespace

NbResult runNeighbourhood(OzlImage* src, OzlImage* dst, const OzlImage* mask, int width,
                          int height, const NbKernel& kernel, const NbOptions& options) {
    if (width <= 0 || height <= 0) return NbResult::Done;
    const Margins& m = kernel.margins;
    const int64_t rows = static_cast<int64_t>(m.top) + 1 + m.bottom;
    if (m.left < 0 || m.top < 0 || m.right < 0 || m.bottom < 0 || rows > INT32_MAX / 2 ||
        static_cast<int64_t>(width) + m.left + m.right > INT32_MAX / 2 ||
        static_cast<int64_t>(height) + rows > INT32_MAX / 2)
        return NbResult::NoMemory;

    Run run;
    run.kernel = &kernel;
    const int channels = image::effectiveChannels(dst);
    const bool planes = src->dataOrder == OZL_DATA_ORDER_PLANE ||
                        dst->dataOrder == OZL_DATA_ORDER_PLANE;
    run.passes = planes ? channels : 1;
    run.channels = planes ? 1 : channels;
    run.maxWidth = width;
    // Bands no taller than the region, nor than a few dozen rows (the
    // computed rows of a masked destination are held together).
    run.band = std::clamp(kernel.bandRows, 1, std::min(height, kMaxKernelBand));
    run.rowsNeeded = static_cast<int>(rows) - 1 + run.band;
    run.srcBytes = static_cast<size_t>(std::max(1, image::depthBits(src->depth) / 8));
    run.dstBytes = static_cast<size_t>(std::max(1, image::depthBits(dst->depth) / 8));
    const int srcStride = src->dataOrder == OZL_DATA_ORDER_PLANE ? 1 : src->nChannels;
    run.gathered = src->depth == OZL_DEPTH_1U || srcStride != run.channels;
    run.stream = static_cast<int64_t>(width) * height * channels * static_cast<int64_t>(run.dstBytes) >=
                 kStreamFrom;
    run.packedRows = kernel.packedBits && src->depth == OZL_DEPTH_1U && dst->depth == OZL_DEPTH_1U;
    if (!run.allocate()) return NbResult::NoMemory;

    const Operand maskOp = mask ? operandOf(mask) : Operand{};
    const Operand* maskPtr = mask ? &maskOp : nullptr;

    // A source whose pixels the destination shares is read from one copy.
    OzlImage copyHeader;
    OzlROI copyRoi;
    char* copyData = nullptr;
    OzlImage* source = src;
    if (shareStorage(src, dst)) {
        const image::Rect region = image::regionRect(src);
        const Rect area{region.x - m.left, region.y - m.top, width + m.left + m.right,
                        height + m.top + m.bottom};
        const FetchedBlock block = fetchRect(src, area);
        if (block.status != FetchedBlock::Done)
            return block.status == FetchedBlock::TileFailed ? NbResult::ReadTile
                                                            : NbResult::NoMemory;
        copyData = block.data;
        wrapBlock(src, block, area, Rect{m.left, m.top, width, height}, &copyHeader, &copyRoi);
        source = &copyHeader;
    }

    NbResult result = NbResult::Done;
    if (!image::isTiled(dst)) {
        const Operand d = operandOf(dst);
        if (!image::isTiled(source))
            result = runSplit(run, source, d, maskPtr, width, height);
        else if (options.walkSourceTiles)
            result = runBySourceTiles(run, source, d, maskPtr, width, height);
        else
            result = runFetched(run, source, 0, 0, width, height, d, maskPtr);
    } else {
        const LedSource led{source, m.left, m.top, m.right, m.bottom};
        const LedResult walked =
            walkLed(dst, &led, 1, mask, width, height, [&](const LedPiece& piece) {
                const Operand pm = piece.mask ? operandOf(piece.mask) : Operand{};
                runPiece(run, operandOf(piece.src[0]), operandOf(piece.dst),
                         piece.mask ? &pm : nullptr, piece.dst->roi->width,
                         piece.dst->roi->height);
                return true;
            });
        switch (walked.kind) {
            case LedResult::WriteTile: result = NbResult::WriteTile; break;
            case LedResult::ReadTile: result = NbResult::ReadTile; break;
            case LedResult::Fetch:
                result = walked.fetch == FetchedBlock::TileFailed ? NbResult::ReadTile
                                                                  : NbResult::NoMemory;
                break;
            default: break;
        }
    }
    ozlFree(copyData);
    return result;
}

}  // namespace ozl::core
