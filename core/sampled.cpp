#include "core/sampled.hpp"

#include <algorithm>
#include <cstring>

#include "core/border_fetch.hpp"
#include "core/led_walk.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::core {

namespace {

// Masked rows are computed a chunk of pixels at a time into a buffer of about
// this many bytes (one pixel at least).
constexpr size_t kChunkBytes = 16384;

size_t valueBytes(const OzlImage* image) {
    return static_cast<size_t>(image::depthBits(image->depth) / 8);
}

// True when the pixel buffers of the two untiled images share any byte: the
// destination would overwrite source pixels before they are read.
bool shareMemory(const OzlImage* src, const OzlImage* dst) {
    if (src == dst) return true;
    if (!src->imageData || !dst->imageData) return false;
    const char* s = src->imageData;
    const char* d = dst->imageData;
    return s < d + dst->imageSize && d < s + src->imageSize;
}

// The source at hand for the whole walk: in place, or a fetched copy of its
// region (released with the object).
struct HeldSource {
    OzlImage header{};
    OzlROI roi{};
    char* block = nullptr;
    ~HeldSource() { ozlFree(block); }
};

SampledResult::Kind holdSource(OzlImage* src, const OzlImage* dst, HeldSource& held,
                               SampledSource& view) {
    if (!src->tileInfo && (dst->tileInfo || !shareMemory(src, dst))) {
        view = sampledView(src);
        return SampledResult::Done;
    }
    const image::Rect r = image::regionRect(src);
    const Rect area{r.x, r.y, std::max(0, r.width), std::max(0, r.height)};
    if (area.width == 0 || area.height == 0) {
        view = sampledView(src);
        return SampledResult::Done;
    }
    const FetchedBlock fetched = fetchRect(src, area);
    if (fetched.status == FetchedBlock::TileFailed) return SampledResult::SourceTile;
    if (fetched.status != FetchedBlock::Done) return SampledResult::NoMemory;
    held.block = fetched.data;
    wrapBlock(src, fetched, area, Rect{0, 0, area.width, area.height}, &held.header, &held.roi);
    view = sampledView(&held.header);
    view.image = src;
    return SampledResult::Done;
}

RowView advanceRow(const RowView& r, int pixels) {
    RowView out = r;
    if (r.data) out.data = r.data + static_cast<ptrdiff_t>(pixels) * r.pixelStep;
    return out;
}

// Copies n pixels of a row into dense pixels, or back.
void toDense(char* dense, const RowView& r, size_t n, size_t size) {
    for (size_t p = 0; p < n; ++p)
        for (int c = 0; c < r.channels; ++c)
            std::memcpy(dense + (p * r.channels + c) * size,
                        r.data + p * r.pixelStep + c * r.channelStep, size);
}

// One piece of the walk: the destination (and aligned operands, and mask) as
// untiled stand-ins whose regions start at the piece's place (px, py).
struct PieceRows {
    const SampledJob& job;
    const SampledSource& src;
    char* buffer;        // masked rows: dense pixels, then blend scratch
    size_t chunk;        // pixels per masked chunk

    void run(OzlImage* dst, OzlImage* const* aligned, const OzlImage* mask, int px, int py,
             int w, int h) const {
        // The part of the piece inside the area, whole rows or block by block.
        const int x0 = std::max(px, job.areaX), x1 = std::min(px + w, job.areaX + job.areaWidth);
        const int y0 = std::max(py, job.areaY), y1 = std::min(py + h, job.areaY + job.areaHeight);
        if (x0 >= x1 || y0 >= y1) return;
        const int bw = job.blockWidth > 0 && job.blockHeight > 0 ? job.blockWidth : x1 - x0;
        const int bh = job.blockWidth > 0 && job.blockHeight > 0 ? job.blockHeight : y1 - y0;
        for (int by = y0; by < y1; by += bh)
            for (int bx = x0; bx < x1; bx += bw)
                rows(dst, aligned, mask, px, py, bx, std::min(bx + bw, x1), by, std::min(by + bh, y1));
    }

    // Rows [y0, y1), columns [x0, x1) of the walked region.
    void rows(OzlImage* dst, OzlImage* const* aligned, const OzlImage* mask, int px, int py,
              int x0, int x1, int y0, int y1) const {
        const image::View vm = mask ? image::regionView(mask) : image::View{};
        const size_t size = valueBytes(dst);
        // Rows follow each other at a fixed step: the first rows once, then
        // a step per row.
        const RowView dst0 = advanceRow(rowOf(dst, y0 - py), x0 - px);
        const ptrdiff_t dstStep = dst->widthStep;
        RowView aligned0[kMaxAligned];
        ptrdiff_t alignedStep[kMaxAligned] = {};
        for (int i = 0; i < kMaxAligned; ++i)
            if (aligned[i]) {
                aligned0[i] = advanceRow(rowOf(aligned[i], y0 - py), x0 - px);
                alignedStep[i] = aligned[i]->widthStep;
            }
        for (int y = y0; y < y1; ++y) {
            SampledRow row;
            row.dst = dst0;
            row.dst.data += (y - y0) * dstStep;
            for (int i = 0; i < kMaxAligned; ++i)
                if (aligned[i]) {
                    row.aligned[i] = aligned0[i];
                    row.aligned[i].data += (y - y0) * alignedStep[i];
                }
            row.y = y;
            if (!mask) {
                row.x = x0;
                row.width = x1 - x0;
                job.row(src, row, job.context);
                continue;
            }
            const auto* bits = reinterpret_cast<const uint8_t*>(vm.data) + (y - py) * vm.rowStep;
            const RowView whole = row.dst;
            const size_t pixelBytes = whole.channels * size;
            for (int done = x0; done < x1;) {
                const int n = static_cast<int>(std::min<size_t>(chunk, x1 - done));
                const RowView out = advanceRow(whole, done - x0);
                toDense(buffer, out, n, size);
                row.dst = out;
                row.dst.data = buffer;
                row.dst.pixelStep = static_cast<ptrdiff_t>(pixelBytes);
                row.dst.channelStep = static_cast<ptrdiff_t>(size);
                for (int i = 0; i < kMaxAligned; ++i)
                    if (aligned[i]) {
                        row.aligned[i] = advanceRow(aligned0[i], done - x0);
                        row.aligned[i].data += (y - y0) * alignedStep[i];
                    }
                row.x = done;
                row.width = n;
                job.row(src, row, job.context);
                blendRow(out, buffer, n, size, bits, vm.bitOffset + (done - px),
                         buffer + chunk * pixelBytes);
                done += n;
            }
        }
    }
};

}  // namespace

SampledSource sampledView(const OzlImage* image) {
    const image::View v = image::regionView(image);
    const RowView r = rowOf(image, 0);
    SampledSource s;
    s.data = v.data;
    s.rowStep = v.rowStep;
    s.pixelStep = r.pixelStep;
    s.channelStep = r.channelStep;
    s.channels = r.channels;
    s.width = v.width;
    s.height = v.height;
    s.image = image;
    return s;
}

SampledResult walkSampled(const SampledJob& given) {
    SampledResult result;
    // The walk stays within the regions of the mask and the aligned operands.
    SampledJob job = given;
    for (const OzlImage* im : {job.mask, static_cast<const OzlImage*>(job.aligned[0]),
                               static_cast<const OzlImage*>(job.aligned[1])}) {
        if (!im) continue;
        const image::RegionStart r = image::regionStart(im, 0);
        job.width = std::min(job.width, r.width);
        job.height = std::min(job.height, r.height);
    }
    job.areaWidth = std::min(job.areaWidth, job.width - job.areaX);
    job.areaHeight = std::min(job.areaHeight, job.height - job.areaY);
    if (job.width <= 0 || job.height <= 0 || job.areaWidth <= 0 || job.areaHeight <= 0)
        return result;
    HeldSource held;
    SampledSource src;
    result.kind = holdSource(job.src, job.dst, held, src);
    if (result.kind != SampledResult::Done) return result;

    char* buffer = nullptr;
    size_t chunk = 0;
    if (job.mask) {
        const size_t pixelBytes = image::effectiveChannels(job.dst) * valueBytes(job.dst);
        // A destination whose one channel is its alpha channel has nothing to write.
        if (pixelBytes == 0) return result;
        chunk = std::max<size_t>(1, kChunkBytes / pixelBytes);
        // Dense pixels, then the blend's scratch: as many pixels again and one
        // value per pixel.
        const size_t bytes = chunk * (2 * pixelBytes + valueBytes(job.dst)) + 64;
        if (bytes > static_cast<size_t>(INT32_MAX / 2)) {
            result.kind = SampledResult::NoMemory;
            return result;
        }
        buffer = static_cast<char*>(ozlMalloc(static_cast<int>(bytes)));
        if (!buffer) {
            result.kind = SampledResult::NoMemory;
            return result;
        }
    }
    const PieceRows rows{job, src, buffer, chunk};

    LedSource sources[kMaxAligned];
    int nSources = 0;
    for (int i = 0; i < kMaxAligned; ++i) sources[i].image = job.aligned[i];
    for (int i = 0; i < kMaxAligned; ++i)
        if (job.aligned[i]) nSources = i + 1;
    const LedResult walked = walkLed(
        job.dst, sources, nSources, job.mask, job.width, job.height, [&](const LedPiece& piece) {
            OzlImage* aligned[kMaxAligned] = {};
            for (int i = 0; i < nSources; ++i) aligned[i] = piece.src[i];
            const image::Rect r = image::regionRect(piece.dst);
            rows.run(piece.dst, aligned, piece.mask, piece.x, piece.y, r.width, r.height);
            return true;
        });
    ozlFree(buffer);
    switch (walked.kind) {
        case LedResult::WriteTile: result.kind = SampledResult::WriteTile; break;
        case LedResult::ReadTile:
            result.kind = SampledResult::AlignedTile;
            result.operand = walked.source;
            break;
        case LedResult::Fetch:
            result.kind = walked.fetch == FetchedBlock::TileFailed ? SampledResult::AlignedTile
                                                                   : SampledResult::NoMemory;
            result.operand = walked.source;
            break;
        default: break;
    }
    return result;
}

}  // namespace ozl::core
