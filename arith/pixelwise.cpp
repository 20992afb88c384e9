#include "arith/pixelwise.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "image/bits.hpp"
#include "image/region.hpp"

namespace ozl::arith {

namespace {

using image::View;

size_t elemSize(Elem e) {
    switch (e) {
        case Elem::U8: case Elem::S8: return 1;
        case Elem::U16: case Elem::S16: return 2;
        default: return 4;
    }
}

// Pixels per chunk of the gathered and masked paths: small enough for the
// stack, large enough to keep the run kernels in their vector loops.
constexpr size_t kChunkPixels = 256;
constexpr size_t kMaxChannels = 4;
constexpr size_t kChunkBytes = kChunkPixels * kMaxChannels * 4;

// Copies nPix pixels of nCh values between a strided and a contiguous layout.
void gather(void* dst, const char* src, ptrdiff_t stride, size_t nPix, int nCh, size_t size) {
    auto* out = static_cast<char*>(dst);
    const size_t pixelBytes = size * nCh;
    const ptrdiff_t strideBytes = stride * static_cast<ptrdiff_t>(size);
    for (size_t p = 0; p < nPix; ++p, src += strideBytes, out += pixelBytes)
        std::memcpy(out, src, pixelBytes);
}

void scatter(char* dst, ptrdiff_t stride, const void* src, size_t nPix, int nCh, size_t size) {
    const auto* in = static_cast<const char*>(src);
    const size_t pixelBytes = size * nCh;
    const ptrdiff_t strideBytes = stride * static_cast<ptrdiff_t>(size);
    for (size_t p = 0; p < nPix; ++p, dst += strideBytes, in += pixelBytes)
        std::memcpy(dst, in, pixelBytes);
}

struct RowContext {
    RunFn run;
    BlendFn blend;
    size_t size;
    int nCh;  // values per pixel in a row
    const OpArgs* args;
};

// One row of `width` pixels. Sources and destination may step by more than nCh
// values per pixel (channel of interest, alpha); those are gathered into
// contiguous chunks so the run kernels see plain arrays.
void processRow(const RowContext& rc, const char* a, int aStride, const char* b, int bStride,
                char* d, int dStride, const uint8_t* mask, int maskBit, size_t width) {
    const int nCh = rc.nCh;
    const bool dense = (!a || aStride == nCh) && (!b || bStride == nCh) && dStride == nCh;
    if (dense && !mask) {
        rc.run(a, b, d, width * nCh, *rc.args);
        return;
    }
    alignas(32) char ta[kChunkBytes], tb[kChunkBytes], td[kChunkBytes], tr[kChunkBytes];
    const size_t size = rc.size;
    for (size_t done = 0; done < width; done += kChunkPixels) {
        const size_t n = std::min(kChunkPixels, width - done);
        const char* ca = a ? a + done * aStride * size : nullptr;
        const char* cb = b ? b + done * bStride * size : nullptr;
        char* cd = d + done * dStride * size;
        if (ca && aStride != nCh) {
            gather(ta, ca, aStride, n, nCh, size);
            ca = ta;
        }
        if (cb && bStride != nCh) {
            gather(tb, cb, bStride, n, nCh, size);
            cb = tb;
        }
        if (!mask) {
            rc.run(ca, cb, td, n * nCh, *rc.args);
            scatter(cd, dStride, td, n, nCh, size);
            continue;
        }
        rc.run(ca, cb, tr, n * nCh, *rc.args);
        const size_t bit = static_cast<size_t>(maskBit) + done;
        if (dStride == nCh) {
            rc.blend(cd, tr, n, nCh, mask + (bit >> 3), static_cast<int>(bit & 7));
        } else {
            gather(td, cd, dStride, n, nCh, size);
            rc.blend(td, tr, n, nCh, mask + (bit >> 3), static_cast<int>(bit & 7));
            scatter(cd, dStride, td, n, nCh, size);
        }
    }
}

// A row of 1-bit pixels. Where every operand starts at the same bit, the whole
// bytes between the first and last partial byte go through the byte kernel;
// the rest is merged a byte at a time.
void processBitRow(const RowContext& rc, const uint8_t* a, int aBit, const uint8_t* b, int bBit,
                   uint8_t* d, int dBit, const uint8_t* mask, int maskBit, size_t n) {
    auto byteOp = [&](uint8_t va, uint8_t vb) {
        uint8_t r;
        rc.run(a ? &va : nullptr, b ? &vb : nullptr, &r, 1, *rc.args);
        return r;
    };
    // Bits [from, to) of the run.
    auto merge = [&](size_t from, size_t to) {
        if (from >= to) return;
        const size_t offset = static_cast<size_t>(dBit) + from;
        image::mergeBits(a, aBit + from, b, bBit + from, d + (offset >> 3),
                         static_cast<int>(offset & 7), mask, maskBit + from, to - from, byteOp);
    };
    const bool aligned = !mask && (!a || aBit == dBit) && (!b || bBit == dBit);
    const size_t head = dBit == 0 ? 0 : std::min(n, static_cast<size_t>(8 - dBit));
    const size_t body = aligned ? (n - head) / 8 : 0;
    if (body == 0) {
        merge(0, n);
        return;
    }
    const size_t first = (static_cast<size_t>(dBit) + head) >> 3;
    rc.run(a ? a + first : nullptr, b ? b + first : nullptr, d + first, body, *rc.args);
    merge(0, head);
    merge(head + 8 * body, n);
}

bool anyAlpha(const PixelOperands& o) {
    return (o.a && o.a->alphaChannel > 0) || (o.b && o.b->alphaChannel > 0) ||
           o.d->alphaChannel > 0;
}

bool useWholeBuffer(const PixelOperands& o, const OzlImage* mask, const PixelKernel& k) {
    if (!k.wholeBuffer || mask || anyAlpha(o)) return false;
    if (o.a && !image::wholeData(o.a, o.d, 0)) return false;
    if (o.b && !image::wholeData(o.b, o.d, 0)) return false;
    return image::wholeData(o.d, o.d, 0);
}

// The untiled path over the common region.
void processUntiled(const PixelOperands& o, const OzlImage* mask, const PixelKernel& k) {
    const KernelTable& table = activeTable();
    const bool bits = o.d->depth == OZL_DEPTH_1U;
    const Elem elem = bits ? Elem::U8 : k.elem;
    RowContext rc;
    rc.run = table.run[static_cast<int>(k.op)][static_cast<int>(elem)];
    rc.size = elemSize(elem);
    rc.blend = table.blend[blendIndex(rc.size)];
    rc.args = &k.args;

    if (useWholeBuffer(o, mask, k)) {
        rc.run(o.a ? o.a->imageData : nullptr, o.b ? o.b->imageData : nullptr, o.d->imageData,
               static_cast<size_t>(o.d->imageSize) / rc.size, k.args);
        return;
    }

    const Size size = commonSize(o, mask);
    if (size.width == 0 || size.height == 0) return;
    const View vd = image::regionView(o.d);
    const View va = o.a ? image::regionView(o.a) : View{};
    const View vb = o.b ? image::regionView(o.b) : View{};
    const View vm = mask ? image::regionView(mask) : View{};

    auto row = [](const View& v, int y) {
        return v.data ? reinterpret_cast<uint8_t*>(v.data) + y * v.rowStep : nullptr;
    };
    if (bits) {
        rc.nCh = 1;
        for (int y = 0; y < size.height; ++y)
            processBitRow(rc, row(va, y), va.bitOffset, row(vb, y), vb.bitOffset, row(vd, y),
                          vd.bitOffset, row(vm, y), vm.bitOffset,
                          static_cast<size_t>(size.width));
        return;
    }

    const int nCh = image::effectiveChannels(o.d);
    const bool planar = o.d->dataOrder == OZL_DATA_ORDER_PLANE;
    const int planes = planar ? nCh : 1;
    rc.nCh = planar ? 1 : nCh;
    const size_t width = static_cast<size_t>(size.width);

    // Rows that follow each other without a gap in every image form one run.
    const ptrdiff_t rowBytes = static_cast<ptrdiff_t>(width * rc.nCh * rc.size);
    auto packed = [&](const OzlImage* im, const View& v) {
        return !im || (v.pixelStride == rc.nCh && v.rowStep == rowBytes);
    };
    const bool merge = !mask && packed(o.a, va) && packed(o.b, vb) && packed(o.d, vd);
    const int rows = merge ? 1 : size.height;
    const size_t rowWidth = merge ? width * size.height : width;

    for (int p = 0; p < planes; ++p) {
        for (int y = 0; y < rows; ++y) {
            auto at = [&](const View& v) {
                return v.data ? v.data + p * v.planeStep + y * v.rowStep : nullptr;
            };
            processRow(rc, at(va), va.pixelStride, at(vb), vb.pixelStride, at(vd),
                       vd.pixelStride, row(vm, y), vm.bitOffset,
                       rowWidth);
        }
    }
}

}  // namespace

Elem arithElem(uint32_t depth) {
    switch (depth) {
        case OZL_DEPTH_8U: return Elem::U8;
        case OZL_DEPTH_8S: return Elem::S8;
        case OZL_DEPTH_16U: return Elem::U16;
        case OZL_DEPTH_16S: return Elem::S16;
        case OZL_DEPTH_32S: return Elem::S32;
        default: return Elem::F32;
    }
}

Elem bitwiseElem(uint32_t depth) {
    switch (depth & ~OZL_DEPTH_SIGN) {
        case 16: return Elem::U16;
        case 32: return Elem::S32;
        default: return Elem::U8;
    }
}

Size commonSize(const PixelOperands& o, const OzlImage* mask) {
    const image::RegionStart d = image::regionStart(o.d, 0);
    Size s{d.width, d.height};
    for (const OzlImage* im : {static_cast<const OzlImage*>(o.a),
                               static_cast<const OzlImage*>(o.b), mask}) {
        if (!im) continue;
        const image::RegionStart r = image::regionStart(im, 0);
        s.width = std::min(s.width, r.width);
        s.height = std::min(s.height, r.height);
    }
    return s;
}

image::CombinedMask combineOperandMasks(const PixelOperands& o) {
    const OzlImage* masks[3] = {o.a ? o.a->maskROI : nullptr, o.b ? o.b->maskROI : nullptr,
                                o.d->maskROI};
    return image::combineMasks(masks, 3);
}

int runPixelwise(const PixelOperands& o, const OzlImage* mask, const PixelKernel& k) {
    if (!image::isTiled(o.a) && !image::isTiled(o.b) && !image::isTiled(o.d)) {
        processUntiled(o, mask, k);
        return image::kWalkDone;
    }
    const Size size = commonSize(o, mask);
    const image::TileOperand operands[3] = {{o.a, image::TileAccess::Read},
                                            {o.b, image::TileAccess::Read},
                                            {o.d, image::TileAccess::Write}};
    return image::walkTiles(operands, 3, mask, size.width, size.height,
                            [&](const image::Piece& piece) {
                                PixelOperands po{piece.operand[0], piece.operand[1],
                                                 piece.operand[2]};
                                processUntiled(po, piece.mask, k);
                            });
}

}  // namespace ozl::arith
