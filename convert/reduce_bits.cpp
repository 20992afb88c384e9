// Bit reduction: ozlReduceBits. Keeps the top nBits of every unsigned value
// (the levels 0, q, 2q, ... with q = 2^(bits - nBits)), plainly, with ordered
// dithering or with error diffusion. The dithered forms depend on each pixel's
// place and neighbours: the source region is fetched into a block, dithered
// there, and the block is copied into the destination under the mask.
#include <algorithm>
#include <cstring>

#include "convert/kernels.hpp"
#include "convert/pairing.hpp"
#include "convert/values.hpp"
#include "core/border_fetch.hpp"
#include "image/depth.hpp"
#include "image/region.hpp"

using ozl::core::Caller;
using ozl::core::fail;
using ozl::core::headersValid;

namespace {

// The 8x8 ordered-dither matrix: every threshold rank 0..63 once, each 2x2,
// 4x4 and 8x8 block as evenly spread as it can be.
constexpr uint8_t kBayer[8][8] = {
    {0, 32, 8, 40, 2, 34, 10, 42},  {48, 16, 56, 24, 50, 18, 58, 26},
    {12, 44, 4, 36, 14, 46, 6, 38}, {60, 28, 52, 20, 62, 30, 54, 22},
    {3, 35, 11, 43, 1, 33, 9, 41},  {51, 19, 59, 27, 49, 17, 57, 25},
    {15, 47, 7, 39, 13, 45, 5, 37}, {63, 31, 55, 23, 61, 29, 53, 21}};

// One channel of the block: value (x, y) at base + y * rowStep + x * step.
struct Plane {
    char* base;
    ptrdiff_t rowStep;
    ptrdiff_t step;
    int width, height;
};

template <class T>
T& at(const Plane& p, int x, int y) {
    return *reinterpret_cast<T*>(p.base + y * p.rowStep + x * p.step);
}

// Each value gets the offset (2m + 1) q / 128 for its rank m in the matrix
// (anchored at the region's top-left pixel) before its low bits are dropped:
// over an 8x8 area of one value v within the levels' range the mean of the
// results is v to within q / 128.
template <class T>
void orderedDither(const Plane& p, int drop, int nBits) {
    const uint32_t q = 1u << drop;
    const uint32_t top = (1u << nBits) - 1;
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x) {
            T& v = at<T>(p, x, y);
            const uint32_t offset = ((2u * kBayer[y & 7][x & 7] + 1u) * q) >> 7;
            v = static_cast<T>(std::min((v + offset) >> drop, top) << drop);
        }
}

// Floyd-Steinberg, rows left to right: each value plus the error carried to it
// goes to the nearest level, and its error is passed on as 7/16 to the right
// and 3/16, 5/16 and 1/16 below (left, under, right), split in integers that
// add up to the whole error so that nothing is lost inside the region.
// `carry` holds two rows of width + 2 entries.
template <class T>
void diffuseErrors(const Plane& p, int drop, int nBits, int32_t* carry) {
    const int32_t q = 1 << drop;
    const int32_t top = (1 << nBits) - 1;
    const size_t stride = static_cast<size_t>(p.width) + 2;
    int32_t* cur = carry;
    int32_t* next = carry + stride;
    std::fill(cur, cur + 2 * stride, 0);
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width; ++x) {
            T& v = at<T>(p, x, y);
            const int32_t want = static_cast<int32_t>(v) + cur[x + 1];
            const int32_t level = std::clamp((want + q / 2) >> drop, 0, top);
            const int32_t out = level << drop;
            v = static_cast<T>(out);
            const int32_t e = want - out;
            const int32_t right = e * 7 / 16, left = e * 3 / 16, under = e * 5 / 16;
            cur[x + 2] += right;
            next[x] += left;
            next[x + 1] += under;
            next[x + 2] += e - right - left - under;
        }
        std::swap(cur, next);
        std::fill(next, next + stride, 0);
    }
}

struct Dither {
    int type;
    int drop;
    int nBits;
};

// Dithers the source's part of the common region into a block and copies it
// into the destination; answers as the pixel-wise driver does.
int ditheredCopy(const Dither& d, OzlImage* src, OzlImage* dst, const OzlImage* mask) {
    ozl::core::MapOperands operands;
    operands.src[0] = src;
    operands.dst = dst;
    const ozl::core::Size size = ozl::core::commonSize(operands, mask);
    if (size.width == 0 || size.height == 0) return ozl::core::kMapDone;
    const ozl::image::Rect r = ozl::image::regionRect(src);
    const ozl::core::Rect area{r.x, r.y, size.width, size.height};
    const ozl::core::FetchedBlock block = ozl::core::fetchRect(src, area);
    if (block.status == ozl::core::FetchedBlock::TileFailed) return 0;
    if (block.status != ozl::core::FetchedBlock::Done) return ozl::core::kMapNoMemory;
    int32_t* carry = nullptr;
    if (d.type == OZL_DITHER_ERROR_DIFFUSION) {
        carry = static_cast<int32_t*>(ozlMalloc(static_cast<int>(2 * (size.width + 2) * sizeof(int32_t))));
        if (!carry) {
            ozlFree(block.data);
            return ozl::core::kMapNoMemory;
        }
    }
    OzlImage header;
    OzlROI roi;
    ozl::core::wrapBlock(src, block, area, ozl::core::Rect{0, 0, size.width, size.height}, &header,
                         &roi);
    const ozl::image::View v = ozl::image::regionView(&header);
    const bool wide = src->depth == OZL_DEPTH_16U;
    const ptrdiff_t size1 = wide ? 2 : 1;
    const bool plane = header.dataOrder == OZL_DATA_ORDER_PLANE;
    for (int c = 0; c < ozl::image::effectiveChannels(&header); ++c) {
        const Plane p{v.data + (plane ? c * v.planeStep : c * size1), v.rowStep,
                      v.pixelStride * size1, size.width, size.height};
        if (d.type == OZL_DITHER_ORDERED) {
            if (wide) orderedDither<uint16_t>(p, d.drop, d.nBits);
            else orderedDither<uint8_t>(p, d.drop, d.nBits);
        } else {
            if (wide) diffuseErrors<uint16_t>(p, d.drop, d.nBits, carry);
            else diffuseErrors<uint8_t>(p, d.drop, d.nBits, carry);
        }
    }
    const int result = ozl::convert::copyValues(&header, dst, mask);
    ozlFree(carry);
    ozlFree(block.data);
    return result;
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlReduceBits(OzlImage* srcImage, OzlImage* dstImage, int nBits,
                                                int ditherType) {
    const Caller caller{"ozlReduceBits", "ozlreduce"};
    constexpr int kBase = 60;
    if (!headersValid(caller, {srcImage}, kBase) || !headersValid(caller, {dstImage}, kBase + 1))
        return;
    if (srcImage->depth != OZL_DEPTH_8U && srcImage->depth != OZL_DEPTH_16U) {
        fail(caller, OZL_StsBadDepth, "srcImage->depth != 8 && srcImage->depth != 16", kBase + 2);
        return;
    }
    if (dstImage->depth != srcImage->depth) {
        fail(caller, OZL_StsBadDepth, "srcImage->depth != dstImage->depth", kBase + 2);
        return;
    }
    const int bits = static_cast<int>(srcImage->depth);
    if (nBits < 1 || nBits > bits) {
        fail(caller, OZL_StsBadArg, "nBits < 1 || nBits > srcImage->depth", kBase + 5);
        return;
    }
    if (ditherType != OZL_DITHER_NONE && ditherType != OZL_DITHER_ORDERED &&
        ditherType != OZL_DITHER_ERROR_DIFFUSION) {
        fail(caller, OZL_StsBadArg, "Unknown dither type", kBase + 5);
        return;
    }
    const int drop = bits - nBits;
    if (ditherType == OZL_DITHER_NONE) {
        ozl::convert::ReduceArgs args;
        args.keep = ((1u << bits) - 1) & ~((1u << drop) - 1);
        ozl::core::MapKernel kernel;
        kernel.run = ozl::convert::activeTable().reduce[ozl::convert::idx(
            ozl::image::elemOf(srcImage->depth))];
        kernel.context = &args;
        ozl::convert::runPair(caller, srcImage, dstImage, kernel, kBase);
        return;
    }
    const Dither dither{ditherType, drop, nBits};
    ozl::convert::runPair(caller, srcImage, dstImage, kBase,
                          [&](OzlImage* s, OzlImage* d, const OzlImage* m) {
                              return ditheredCopy(dither, s, d, m);
                          });
}
