#include "core/pixelwise.hpp"

#include <algorithm>
#include <cstring>

#include "core/blend.hpp"
#include "core/border_fetch.hpp"
#include "image/bits.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::core {

namespace {

using image::View;

// Working buffers of the gathered and masked paths live on the stack: each
// holds a chunk of pixels, at most kGroupChannels values of 4 bytes per pixel.
// Wider pixels are taken a group of channels at a time (value kernels), or
// from the heap (pixel kernels).
constexpr size_t kChunkBytes = 16384;
constexpr int kGroupChannels = 64;

size_t valueBytes(const OzlImage* image) {
    return static_cast<size_t>(image::depthBits(image->depth) / 8);
}

bool isBits(const OzlImage* image) { return image->depth == OZL_DEPTH_1U; }

// Copies n pixels of nCh values between a strided and a contiguous layout.
void gather(void* dst, const char* src, ptrdiff_t strideBytes, size_t n, size_t pixelBytes) {
    auto* out = static_cast<char*>(dst);
    for (size_t p = 0; p < n; ++p, src += strideBytes, out += pixelBytes)
        std::memcpy(out, src, pixelBytes);
}

void scatter(char* dst, ptrdiff_t strideBytes, const void* src, size_t n, size_t pixelBytes) {
    const auto* in = static_cast<const char*>(src);
    for (size_t p = 0; p < n; ++p, dst += strideBytes, in += pixelBytes)
        std::memcpy(dst, in, pixelBytes);
}

// One operand of a value row: its values, the values between pixels, and the
// value size.
struct ValueRow {
    char* data = nullptr;
    ptrdiff_t stride = 0;  // values from one pixel to the next
    size_t size = 0;
};

struct MaskRow {
    const uint8_t* bits = nullptr;
    size_t bit = 0;
};

// The chunks of the gathered and masked rows, kept by the caller of the rows
// (a frame this size per row costs as much as a short row). `uniformRun`: the
// computed chunk of a uniform kernel is already in `r`.
struct Chunks {
    alignas(32) char a[kChunkBytes];
    alignas(32) char b[kChunkBytes];
    alignas(32) char d[kChunkBytes];
    alignas(32) char r[kChunkBytes];
    bool uniformRun = false;
    BlendFn blend = nullptr;  // the level's blend of the destination's values
};

// Pixels of g values of up to 4 bytes in a chunk (the common counts without
// a division: it would cost as much as a short masked row).
size_t chunkPixels(int g) {
    switch (g) {
        case 1: return kChunkBytes / 4;
        case 2: return kChunkBytes / 8;
        case 3: return kChunkBytes / 12;
        case 4: return kChunkBytes / 16;
        default: return kChunkBytes / (static_cast<size_t>(g) * 4);
    }
}

// One row of `width` pixels of nCh values each. Strided operands (a channel
// of interest, alpha, several channels taken one at a time) are gathered into
// contiguous chunks so the run kernels see plain arrays; a mask writes the
// computed chunk through the blend.
void valueRow(const MapKernel& k, ValueRow a, ValueRow b, ValueRow d, int nCh, MaskRow mask,
              size_t width, Chunks& chunks) {
    const bool dense = (!a.data || a.stride == nCh) && (!b.data || b.stride == nCh) &&
                       d.stride == nCh;
    if (dense && !mask.bits) {
        k.run(a.data, b.data, d.data, width * nCh, k.context);
        return;
    }
    char* ta = chunks.a;
    char* tb = chunks.b;
    char* td = chunks.d;
    char* tr = chunks.r;
    const BlendFn blend = chunks.blend;
    for (int c0 = 0; c0 < nCh; c0 += kGroupChannels) {
        const int g = std::min(kGroupChannels, nCh - c0);
        const size_t chunk = chunkPixels(g);
        for (size_t done = 0; done < width; done += chunk) {
            const size_t n = std::min(chunk, width - done);
            auto at = [&](const ValueRow& r) {
                return r.data ? r.data + (done * r.stride + c0) * r.size : nullptr;
            };
            const char* ca = at(a);
            const char* cb = at(b);
            char* cd = at(d);
            if (ca && a.stride != g) {
                gather(ta, ca, a.stride * a.size, n, g * a.size);
                ca = ta;
            }
            if (cb && b.stride != g) {
                gather(tb, cb, b.stride * b.size, n, g * b.size);
                cb = tb;
            }
            const size_t dPixel = g * d.size;
            const ptrdiff_t dStride = d.stride * static_cast<ptrdiff_t>(d.size);
            if (!mask.bits) {
                k.run(ca, cb, td, n * g, k.context);
                scatter(cd, dStride, td, n, dPixel);
                continue;
            }
            const char* computed = ca;
            if (k.uniform && nCh <= kGroupChannels) {
                // The same values everywhere: one whole chunk serves every row.
                if (!chunks.uniformRun) k.run(ca, cb, tr, chunk * g, k.context);
                chunks.uniformRun = true;
                computed = tr;
            } else if (!k.identity) {
                k.run(ca, cb, tr, n * g, k.context);
                computed = tr;
            }
            const size_t bit = mask.bit + done;
            const uint8_t* m = mask.bits + (bit >> 3);
            if (d.stride == g) {
                blend(cd, computed, n, g, m, static_cast<int>(bit & 7));
            } else {
                gather(td, cd, dStride, n, dPixel);
                blend(td, computed, n, g, m, static_cast<int>(bit & 7));
                scatter(cd, dStride, td, n, dPixel);
            }
        }
    }
}

// A row of 1-bit pixels. Where every operand starts at the same bit, the whole
// bytes between the first and last partial byte go through the byte kernel;
// the rest is merged a byte at a time.
void bitRow(const MapKernel& k, const uint8_t* a, int aBit, const uint8_t* b, int bBit,
            uint8_t* d, int dBit, MaskRow mask, size_t n) {
    auto byteOp = [&](uint8_t va, uint8_t vb) {
        uint8_t r;
        k.run(a ? &va : nullptr, b ? &vb : nullptr, &r, 1, k.context);
        return r;
    };
    // Bits [from, to) of the run.
    auto merge = [&](size_t from, size_t to) {
        if (from >= to) return;
        const size_t offset = static_cast<size_t>(dBit) + from;
        image::mergeBits(a, aBit + from, b, bBit + from, d + (offset >> 3),
                         static_cast<int>(offset & 7), mask.bits, mask.bit + from, to - from,
                         byteOp);
    };
    const bool aligned = !mask.bits && (!a || aBit == dBit) && (!b || bBit == dBit);
    const size_t head = dBit == 0 ? 0 : std::min(n, static_cast<size_t>(8 - dBit));
    const size_t body = aligned ? (n - head) / 8 : 0;
    if (body == 0) {
        merge(0, n);
        return;
    }
    const size_t first = (static_cast<size_t>(dBit) + head) >> 3;
    k.run(a ? a + first : nullptr, b ? b + first : nullptr, d + first, body, k.context);
    merge(0, head);
    merge(head + 8 * body, n);
}

bool anyAlpha(const MapOperands& o) {
    for (const OzlImage* s : o.src)
        if (s && s->alphaChannel > 0) return true;
    return o.dst->alphaChannel > 0;
}

bool useWholeBuffer(const MapOperands& o, const OzlImage* mask, const MapKernel& k) {
    if (!k.wholeBuffer || !k.run || mask || (anyAlpha(o) && !k.withAlpha)) return false;
    for (const OzlImage* s : o.src)
        if (s && !image::wholeData(s, o.dst, 0)) return false;
    return image::wholeData(o.dst, o.dst, 0);
}

const uint8_t* maskRowBits(const View& m, int y) {
    return m.data ? reinterpret_cast<const uint8_t*>(m.data) + y * m.rowStep : nullptr;
}

// A fill under a mask over interleaved pixels: its values are computed once,
// then blended into every row (the general row walk costs about as much per
// row as a row's blend).
void uniformMaskedRows(const MapKernel& k, const View& vd, const View& vm, int nCh, size_t size,
                       Size extent, Chunks& chunks) {
    const size_t chunk = chunkPixels(nCh);
    k.run(nullptr, nullptr, chunks.r, chunk * nCh, k.context);
    const size_t pixelBytes = nCh * size;
    const size_t width = static_cast<size_t>(extent.width);
    for (int y = 0; y < extent.height; ++y) {
        char* d = vd.data + y * vd.rowStep;
        const uint8_t* m = maskRowBits(vm, y);
        for (size_t done = 0; done < width; done += chunk) {
            const size_t bit = static_cast<size_t>(vm.bitOffset) + done;
            chunks.blend(d + done * pixelBytes, chunks.r, std::min(chunk, width - done), nCh,
                         m + (bit >> 3), static_cast<int>(bit & 7));
        }
    }
}

void valueRows(const MapOperands& o, const View* views, const View& vm, const MapKernel& k,
               Size size) {
    const OzlImage* a = o.src[0];
    const OzlImage* b = o.src[1];
    const View& va = views[0];
    const View& vb = views[1];
    const View& vd = views[kDstOperand];
    const size_t width = static_cast<size_t>(size.width);

    if (isBits(o.dst)) {
        auto row = [](const View& v, int y) {
            return v.data ? reinterpret_cast<uint8_t*>(v.data) + y * v.rowStep : nullptr;
        };
        for (int y = 0; y < size.height; ++y)
            bitRow(k, row(va, y), va.bitOffset, row(vb, y), vb.bitOffset, row(vd, y),
                   vd.bitOffset, {maskRowBits(vm, y), static_cast<size_t>(vm.bitOffset)},
                   width);
        return;
    }

    // Channels in one pass when every operand interleaves them; one channel at
    // a time (a plane, or every n-th value) when any operand is in plane order.
    const int nCh = k.withAlpha && !image::hasCoi(o.dst) ? o.dst->nChannels
                                                         : image::effectiveChannels(o.dst);
    const bool byChannel =
        nCh > 1 && ((a && a->dataOrder == OZL_DATA_ORDER_PLANE) ||
                    (b && b->dataOrder == OZL_DATA_ORDER_PLANE) ||
                    o.dst->dataOrder == OZL_DATA_ORDER_PLANE);
    const int passes = byChannel ? nCh : 1;
    const int perPass = byChannel ? 1 : nCh;
    auto channelStart = [](const OzlImage* im, const View& v, int c) -> char* {
        if (!im) return nullptr;
        const size_t size = valueBytes(im);
        return im->dataOrder == OZL_DATA_ORDER_PLANE ? v.data + c * v.planeStep
                                                     : v.data + c * static_cast<ptrdiff_t>(size);
    };
    auto valueRowOf = [&](const OzlImage* im, const View& v, int c, int y) {
        ValueRow r;
        if (!im) return r;
        r.data = channelStart(im, v, c) + y * v.rowStep;
        r.stride = v.pixelStride;
        r.size = valueBytes(im);
        return r;
    };
    // Rows that follow each other without a gap in every image form one run.
    auto packed = [&](const OzlImage* im, const View& v) {
        return !im || (v.pixelStride == perPass &&
                       v.rowStep == static_cast<ptrdiff_t>(width * perPass * valueBytes(im)));
    };
    const bool merge = !vm.data && packed(a, va) && packed(b, vb) && packed(o.dst, vd);
    const int rows = merge ? 1 : size.height;
    const size_t rowWidth = merge ? width * size.height : width;

    Chunks chunks;
    if (vm.data) chunks.blend = blendFor(valueBytes(o.dst));
    if (vm.data && k.uniform && !a && !b && !byChannel && vd.pixelStride == perPass &&
        perPass <= kGroupChannels) {
        uniformMaskedRows(k, vd, vm, perPass, valueBytes(o.dst), size, chunks);
        return;
    }
    for (int c = 0; c < passes; ++c)
        for (int y = 0; y < rows; ++y)
            valueRow(k, valueRowOf(a, va, c, y), valueRowOf(b, vb, c, y),
                     valueRowOf(o.dst, vd, c, y), perPass,
                     {maskRowBits(vm, y), static_cast<size_t>(vm.bitOffset)}, rowWidth, chunks);
}

RowView advance(const RowView& r, size_t pixels) {
    RowView out = r;
    if (!r.data) return out;
    if (r.pixelStep == 0) {  // bits
        const size_t bit = static_cast<size_t>(r.bit) + pixels;
        out.data = r.data + (bit >> 3);
        out.bit = static_cast<int>(bit & 7);
    } else {
        out.data = r.data + static_cast<ptrdiff_t>(pixels) * r.pixelStep;
    }
    return out;
}

}  // namespace

void blendRow(const RowView& d, const char* computed, size_t n, size_t size,
              const uint8_t* maskBits, size_t maskBit, char* scratch) {
    const BlendFn blend = blendFor(size);
    const int nCh = d.channels;
    const size_t pixelBytes = nCh * size;
    const uint8_t* m = maskBits + (maskBit >> 3);
    const int bit = static_cast<int>(maskBit & 7);
    const bool interleaved = d.channelStep == static_cast<ptrdiff_t>(size);
    if (interleaved && d.pixelStep == static_cast<ptrdiff_t>(pixelBytes)) {
        blend(d.data, computed, n, nCh, m, bit);
    } else if (interleaved) {
        gather(scratch, d.data, d.pixelStep, n, pixelBytes);
        blend(scratch, computed, n, nCh, m, bit);
        scatter(d.data, d.pixelStep, scratch, n, pixelBytes);
    } else {
        // Channels apart (planes): one channel at a time.
        char* one = scratch + n * pixelBytes;
        for (int c = 0; c < nCh; ++c) {
            char* plane = d.data + c * d.channelStep;
            gather(scratch, computed + c * size, static_cast<ptrdiff_t>(pixelBytes), n, size);
            gather(one, plane, d.pixelStep, n, size);
            blend(one, scratch, n, 1, m, bit);
            scatter(plane, d.pixelStep, one, n, size);
        }
    }
}

namespace {
// Copies n pixels of a destination row into a dense chunk (pixel kernels that
// leave channels unwritten).
void readPixels(char* chunk, const RowView& d, size_t n, size_t size) {
    const size_t pixelBytes = d.channels * size;
    if (d.channelStep == static_cast<ptrdiff_t>(size)) {
        gather(chunk, d.data, d.pixelStep, n, pixelBytes);
        return;
    }
    for (int c = 0; c < d.channels; ++c)
        for (size_t p = 0; p < n; ++p)
            std::memcpy(chunk + p * pixelBytes + c * size, d.data + c * d.channelStep + p * d.pixelStep,
                        size);
}

// The pixel kernel over one row: straight into the destination where it can,
// else a chunk at a time into a buffer that is then merged (1-bit rows) or
// blended (values) into the destination.
bool pixelRow(const MapKernel& k, const RowView* src, const RowView& d, bool dstBits, size_t size,
              MaskRow mask, size_t width) {
    // Straight into the destination where the kernel's whole bytes of a
    // 1-bit row stay inside the row: the partial last byte goes through the
    // buffer below, so that the bits after the row keep their values.
    size_t start = 0;
    if (!mask.bits && (!dstBits || d.bit == 0)) {
        start = dstBits ? width & ~size_t{7} : width;
        if (start > 0) k.pixel(src, d, start, k.context);
        if (start == width) return true;
    }
    const size_t pixelBytes = dstBits ? 0 : d.channels * size;
    if (!dstBits && pixelBytes == 0) return true;  // no channel to write (alpha only)
    // Computed chunk, and scratch of twice that plus one channel for the blend.
    size_t chunk = dstBits ? 8 * kChunkBytes : std::max<size_t>(1, kChunkBytes / pixelBytes);
    char* heap = nullptr;
    alignas(32) char stack[3 * kChunkBytes + 64];
    char* buffer = stack;
    if (!dstBits && pixelBytes > kChunkBytes) {
        if (pixelBytes > static_cast<size_t>(INT32_MAX / 4)) return false;
        chunk = 1;
        heap = static_cast<char*>(ozlMalloc(static_cast<int>(3 * pixelBytes + 64)));
        if (!heap) return false;
        buffer = heap;
    }
    char* computed = buffer;
    char* scratch = buffer + (dstBits ? kChunkBytes : chunk * pixelBytes);
    RowView s[kMaxSources];
    for (size_t done = start; done < width; done += chunk) {
        const size_t n = std::min(chunk, width - done);
        for (int i = 0; i < kMaxSources; ++i) s[i] = advance(src[i], done);
        RowView t = d;
        t.data = computed;
        t.bit = 0;
        if (!dstBits) {
            t.channelStep = static_cast<ptrdiff_t>(size);
            t.pixelStep = static_cast<ptrdiff_t>(pixelBytes);
        }
        const RowView out = advance(d, done);
        if (k.partialPixels && !dstBits) readPixels(computed, out, n, size);
        k.pixel(s, t, n, k.context);
        MaskRow m = mask;
        m.bit += done;
        if (dstBits) {
            image::mergeBits(reinterpret_cast<const uint8_t*>(computed), 0, nullptr, 0,
                             reinterpret_cast<uint8_t*>(out.data), out.bit, m.bits, m.bit, n,
                             [](uint8_t x, uint8_t) { return x; });
        } else if (m.bits) {
            blendRow(out, computed, n, size, m.bits, m.bit, scratch);
        } else {
            scatter(out.data, out.pixelStep, computed, n, pixelBytes);
        }
    }
    ozlFree(heap);
    return true;
}

// True when every operand's rows follow each other without a gap, so that the
// whole region is one row of width x height pixels (not for 1-bit rows).
bool rowsJoin(const MapOperands& o, Size size) {
    if (size.height < 2) return false;
    auto joins = [&](const OzlImage* im) {
        if (!im) return true;
        if (isBits(im)) return false;
        const RowView r0 = rowOf(im, 0), r1 = rowOf(im, 1);
        return r1.data - r0.data == static_cast<ptrdiff_t>(size.width) * r0.pixelStep;
    };
    for (const OzlImage* s : o.src)
        if (!joins(s)) return false;
    return joins(o.dst);
}

// A pixel kernel that asks for the alpha channel sees it as the last
// processed channel of every image that has one and selects no channel.
RowView withAlphaOf(const MapKernel& k, const OzlImage* image, RowView r) {
    if (k.withAlpha && image->alphaChannel > 0 && !image::hasCoi(image)) r.channels = image->nChannels;
    return r;
}

bool pixelRows(const MapOperands& o, const View& vm, const MapKernel& k, Size size) {
    const bool dstBits = isBits(o.dst);
    const size_t dSize = valueBytes(o.dst);
    // The first rows once; then only the row addresses move on (the kernels
    // read the other fields, which are best left as they were written).
    RowView src[kMaxSources];
    for (int i = 0; i < kMaxSources; ++i)
        if (o.src[i]) src[i] = withAlphaOf(k, o.src[i], rowOf(o.src[i], 0));
    RowView d = withAlphaOf(k, o.dst, rowOf(o.dst, 0));
    const size_t width = static_cast<size_t>(size.width);
    if (k.pixelRows && !vm.data && (!dstBits || (d.bit == 0 && width % 8 == 0))) {
        ptrdiff_t steps[kMaxSources + 1] = {};
        for (int i = 0; i < kMaxSources; ++i)
            if (o.src[i]) steps[i] = o.src[i]->widthStep;
        steps[kDstOperand] = o.dst->widthStep;
        k.pixelRows(src, d, width, static_cast<size_t>(size.height), steps, k.context);
        return true;
    }
    // Rows without gaps between them make one long row.
    if (!vm.data && rowsJoin(o, size))
        return pixelRow(k, src, d, dstBits, dSize, {},
                        width * static_cast<size_t>(size.height));
    for (int y = 0; y < size.height; ++y) {
        if (y > 0) {
            for (int i = 0; i < kMaxSources; ++i)
                if (o.src[i]) src[i].data += o.src[i]->widthStep;
            d.data += o.dst->widthStep;
        }
        if (!pixelRow(k, src, d, dstBits, dSize,
                      {maskRowBits(vm, y), static_cast<size_t>(vm.bitOffset)}, width))
            return false;
    }
    return true;
}

// True when a source's pixels share memory with the destination's other than
// value for value in place (same start, same steps): a partly overlapping
// destination would overwrite source values before they are read.
bool overlapsPartly(const OzlImage* src, const OzlImage* dst) {
    if (src == dst || !src->imageData || !dst->imageData) return false;
    const char* s0 = src->imageData;
    const char* d0 = dst->imageData;
    if (s0 + src->imageSize <= d0 || d0 + dst->imageSize <= s0) return false;
    const View vs = image::regionView(src), vd = image::regionView(dst);
    return !(vs.data == vd.data && vs.rowStep == vd.rowStep && vs.planeStep == vd.planeStep &&
             vs.pixelStride == vd.pixelStride && src->depth == dst->depth &&
             src->dataOrder == dst->dataOrder);
}

int mapSeparated(const MapOperands& o, const OzlImage* mask, const MapKernel& k);

// The untiled path over the common region. Sources the destination partly
// overlaps are read from a copy, so that every result comes from the source
// as it was before the call.
int mapUntiled(const MapOperands& o, const OzlImage* mask, const MapKernel& k) {
    MapOperands separated = o;
    OzlImage headers[kMaxSources];
    OzlROI rois[kMaxSources];
    char* blocks[kMaxSources] = {};
    int result = kMapDone;
    for (int i = 0; i < kMaxSources && result == kMapDone; ++i) {
        if (!o.src[i] || !overlapsPartly(o.src[i], o.dst)) continue;
        const Rect r = image::regionRect(o.src[i]);
        const Rect area{r.x, r.y, std::max(0, r.width), std::max(0, r.height)};
        if (area.width == 0 || area.height == 0) continue;
        const FetchedBlock copy = fetchRect(o.src[i], area);
        if (copy.status != FetchedBlock::Done) {
            result = kMapNoMemory;
            break;
        }
        blocks[i] = copy.data;
        wrapBlock(o.src[i], copy, area, Rect{0, 0, area.width, area.height}, &headers[i], &rois[i]);
        separated.src[i] = &headers[i];
    }
    if (result == kMapDone) result = mapSeparated(separated, mask, k);
    for (char* b : blocks) ozlFree(b);
    return result;
}

int mapSeparated(const MapOperands& o, const OzlImage* mask, const MapKernel& k) {
    if (useWholeBuffer(o, mask, k)) {
        const size_t size = std::max<size_t>(1, valueBytes(o.dst));
        k.run(o.src[0] ? o.src[0]->imageData : nullptr, o.src[1] ? o.src[1]->imageData : nullptr,
              o.dst->imageData, static_cast<size_t>(o.dst->imageSize) / size, k.context);
        return kMapDone;
    }
    const Size size = commonSize(o, mask);
    if (size.width == 0 || size.height == 0) return kMapDone;
    const View vm = mask ? image::regionView(mask) : View{};
    if (k.pixel) return pixelRows(o, vm, k, size) ? kMapDone : kMapNoMemory;
    View views[kMaxSources + 1];
    for (int i = 0; i < kMaxSources; ++i)
        if (o.src[i]) views[i] = image::regionView(o.src[i]);
    views[kDstOperand] = image::regionView(o.dst);
    valueRows(o, views, vm, k, size);
    return kMapDone;
}

bool anyTiled(const MapOperands& o) {
    for (const OzlImage* s : o.src)
        if (image::isTiled(s)) return true;
    return image::isTiled(o.dst);
}

}  // namespace

Size commonSize(const MapOperands& o, const OzlImage* mask) {
    const image::RegionStart d = image::regionStart(o.dst, 0);
    Size s{d.width, d.height};
    auto lower = [&](const OzlImage* im) {
        if (!im) return;
        const image::RegionStart r = image::regionStart(im, 0);
        s.width = std::min(s.width, r.width);
        s.height = std::min(s.height, r.height);
    };
    for (const OzlImage* im : o.src) lower(im);
    lower(mask);
    return s;
}

RowView rowOf(const OzlImage* image, int y) {
    const View v = image::regionView(image);
    RowView r;
    r.data = v.data + y * v.rowStep;
    r.channels = image::effectiveChannels(image);
    r.bit = v.bitOffset;
    const ptrdiff_t size = static_cast<ptrdiff_t>(valueBytes(image));
    if (isBits(image)) return r;
    if (image->dataOrder == OZL_DATA_ORDER_PLANE) {
        r.pixelStep = size;
        r.channelStep = v.planeStep;
    } else {
        r.pixelStep = v.pixelStride * size;
        r.channelStep = size;
    }
    return r;
}

int mapPixels(const MapOperands& o, const OzlImage* mask, const MapKernel& k) {
    if (!anyTiled(o)) return mapUntiled(o, mask, k);
    const Size size = commonSize(o, mask);
    image::TileOperand operands[kMaxSources + 1];
    for (int i = 0; i < kMaxSources; ++i) operands[i] = {o.src[i], image::TileAccess::Read};
    operands[kDstOperand] = {o.dst, image::TileAccess::Write};
    int result = kMapDone;
    const int walked = image::walkTiles(
        operands, kMaxSources + 1, mask, size.width, size.height, [&](const image::Piece& piece) {
            if (result != kMapDone) return;
            MapOperands po;
            for (int i = 0; i < kMaxSources; ++i) po.src[i] = piece.operand[i];
            po.dst = piece.operand[kDstOperand];
            result = mapUntiled(po, piece.mask, k);
        });
    return walked != image::kWalkDone ? walked : result;
}

}  // namespace ozl::core
