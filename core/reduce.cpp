#include "core/reduce.hpp"

#include <cstring>

#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::core {

namespace {

// Rows of an image that follow each other without a gap: one long row.
bool packed(const OzlImage* image, const RowView& r, size_t width) {
    if (!image) return true;
    if (image->depth == OZL_DEPTH_1U || r.pixelStep <= 0) return false;
    return static_cast<ptrdiff_t>(width) * r.pixelStep ==
           static_cast<ptrdiff_t>(image->widthStep);
}

// The rows of one untiled piece; (at.x, at.y) is its first pixel in the first
// source's image coordinates.
void reduceUntiled(OzlImage* first, OzlImage* second, const OzlImage* mask, int width, int height,
                   image::Origin at, const ReduceKernel& k) {
    const ReducePiece piece{at.x, at.y, width, height};
    if (k.begin) k.begin(piece, k.context);
    RowView src[kMaxSources];
    const RowView top[2] = {rowOf(first, 0), second ? rowOf(second, 0) : RowView{}};
    const ptrdiff_t step[2] = {first->widthStep, second ? second->widthStep : 0};
    const size_t w = static_cast<size_t>(width);
    if (k.mergeRows && !mask && packed(first, top[0], w) && packed(second, top[1], w)) {
        src[0] = top[0];
        src[1] = top[1];
        k.row({src, w * static_cast<size_t>(height), at.x, at.y, nullptr, 0}, k.context);
    } else {
        const image::View vm = mask ? image::regionView(mask) : image::View{};
        for (int y = 0; y < height; ++y) {
            for (int s = 0; s < 2; ++s) {
                src[s] = top[s];
                if (src[s].data) src[s].data += y * step[s];
            }
            ReduceRow row{src, w, at.x, at.y + y, nullptr, 0};
            if (vm.data) {
                row.mask = reinterpret_cast<const uint8_t*>(vm.data) + y * vm.rowStep;
                row.maskBit = static_cast<size_t>(vm.bitOffset);
            }
            k.row(row, k.context);
        }
    }
    if (k.end) k.end(piece, k.context);
}

}  // namespace

int reducePixels(OzlImage* first, OzlImage* second, const OzlImage* mask,
                 const ReduceKernel& kernel) {
    MapOperands operands;
    operands.src[0] = first;
    operands.src[1] = second;
    operands.dst = first;
    const Size size = commonSize(operands, mask);
    if (size.width == 0 || size.height == 0) return kMapDone;
    const image::Origin origin = image::regionOrigin(first);
    if (!image::isTiled(first) && !image::isTiled(second)) {
        reduceUntiled(first, second, mask, size.width, size.height, origin, kernel);
        return kMapDone;
    }
    const image::TileOperand walked[2] = {{first, image::TileAccess::Read},
                                          {second, image::TileAccess::Read}};
    const int result = image::walkTiles(
        walked, 2, mask, size.width, size.height, [&](const image::Piece& piece) {
            const int w = piece.operand[0]->roi->width;
            const int h = piece.operand[0]->roi->height;
            reduceUntiled(piece.operand[0], piece.operand[1], piece.mask, w, h,
                          {origin.x + piece.x, origin.y + piece.y}, kernel);
        });
    return result == image::kWalkDone ? kMapDone : result;
}

void gatherValues(const ReduceRow& row, int s, size_t from, size_t n, size_t valueBytes,
                  void* out) {
    const RowView& r = row.src[s];
    auto* o = static_cast<char*>(out);
    if (r.pixelStep == 0) {  // 1-bit: a byte per pixel
        const auto* bits = reinterpret_cast<const uint8_t*>(r.data);
        for (size_t i = 0; i < n; ++i) {
            const size_t bit = static_cast<size_t>(r.bit) + from + i;
            o[i] = static_cast<char>(counts(row, from + i) & (bits[bit >> 3] >> (7 - (bit & 7))));
        }
        return;
    }
    const size_t pixelBytes = static_cast<size_t>(r.channels) * valueBytes;
    const char* p = r.data + static_cast<ptrdiff_t>(from) * r.pixelStep;
    const bool together = r.channels == 1 || r.channelStep == static_cast<ptrdiff_t>(valueBytes);
    for (size_t i = 0; i < n; ++i, p += r.pixelStep, o += pixelBytes) {
        if (!counts(row, from + i)) {
            std::memset(o, 0, pixelBytes);
        } else if (together) {
            std::memcpy(o, p, pixelBytes);
        } else {
            for (int c = 0; c < r.channels; ++c)
                std::memcpy(o + c * valueBytes, p + c * r.channelStep, valueBytes);
        }
    }
}

}  // namespace ozl::core
