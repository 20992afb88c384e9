#include "core/reduce.hpp"

#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::core {

namespace {

// The rows of one untiled piece; (x, y) is the piece's first pixel in the
// first source's image coordinates.
void reduceUntiled(OzlImage* first, OzlImage* second, const OzlImage* mask, int width, int height,
                   image::Origin at, ReduceFn fn, void* accumulator) {
    const image::View vm = mask ? image::regionView(mask) : image::View{};
    RowView src[kMaxSources];
    for (int y = 0; y < height; ++y) {
        src[0] = rowOf(first, y);
        if (second) src[1] = rowOf(second, y);
        ReduceRow row{src, static_cast<size_t>(width), at.x, at.y + y, nullptr, 0};
        if (vm.data) {
            row.mask = reinterpret_cast<const uint8_t*>(vm.data) + y * vm.rowStep;
            row.maskBit = static_cast<size_t>(vm.bitOffset);
        }
        fn(row, accumulator);
    }
}

}  // namespace

int reducePixels(OzlImage* first, OzlImage* second, const OzlImage* mask, ReduceFn fn,
                 void* accumulator) {
    MapOperands operands;
    operands.src[0] = first;
    operands.src[1] = second;
    operands.dst = first;
    const Size size = commonSize(operands, mask);
    if (size.width == 0 || size.height == 0) return kMapDone;
    const image::Origin origin = image::regionOrigin(first);
    if (!image::isTiled(first) && !image::isTiled(second)) {
        reduceUntiled(first, second, mask, size.width, size.height, origin, fn, accumulator);
        return kMapDone;
    }
    const image::TileOperand walked[2] = {{first, image::TileAccess::Read},
                                          {second, image::TileAccess::Read}};
    const int result = image::walkTiles(
        walked, 2, mask, size.width, size.height, [&](const image::Piece& piece) {
            const int w = piece.operand[0]->roi->width;
            const int h = piece.operand[0]->roi->height;
            reduceUntiled(piece.operand[0], piece.operand[1], piece.mask, w, h,
                          {origin.x + piece.x, origin.y + piece.y}, fn, accumulator);
        });
    return result == image::kWalkDone ? kMapDone : result;
}

}  // namespace ozl::core
