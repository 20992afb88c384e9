// The tile walker: runs an operation's untiled path over the pieces of a region
// that spans tiled images. Each piece lies within one tile of every tiled
// operand; for it the walker fetches the tiles through the images' callbacks,
// hands untiled stand-in headers to the operation, and releases the tiles.
#pragma once

#include "ozl.h"

namespace ozl::image {

enum class TileAccess { Read = OZL_GET_TILE_TO_READ, Write = OZL_GET_TILE_TO_WRITE };

struct TileOperand {
    OzlImage* image = nullptr;  // nullptr: operand absent
    TileAccess access = TileAccess::Read;
};

constexpr int kMaxTileOperands = 5;

// One piece: stand-in headers for the operands (nullptr where absent) and for
// the mask. A stand-in is a copy of the image's header with its own ROI record
// selecting the piece (the image's channel of interest kept), no tile record
// and no mask; a tiled image's stand-in points at the fetched tile's data.
struct Piece {
    OzlImage* operand[kMaxTileOperands] = {};
    OzlImage* mask = nullptr;
    int x = 0;  // the piece's place in the walked region
    int y = 0;
};

using PieceFn = void (*)(void* context, const Piece& piece);

constexpr int kWalkDone = -1;

// Walks a width x height region, anchored at each operand's own region origin
// (its ROI offsets, or 0, 0), band of rows by band of rows and, within a band,
// piece by piece. Tiles are fetched in operand order (callback mode 1 to read,
// 2 to write) before each piece and released (mode 4) after it, in the same
// order. An operand that is the same header as an earlier one shares its
// stand-in and is not fetched again; the shared header is fetched for writing
// when any of its uses writes. Returns kWalkDone, or at once the index of
// the operand whose callback left tileData NULL (pieces done so far stay done).
int walkTiles(const TileOperand* operands, int count, const OzlImage* mask, int width, int height,
              PieceFn onPiece, void* context);

template <class F>
int walkTiles(const TileOperand* operands, int count, const OzlImage* mask, int width, int height,
              F&& onPiece) {
    return walkTiles(
        operands, count, mask, width, height,
        [](void* ctx, const Piece& piece) { (*static_cast<F*>(ctx))(piece); }, &onPiece);
}

inline bool isTiled(const OzlImage* image) { return image && image->tileInfo; }

// The stand-ins the walkers hand out, for walks of their own: over the tile
// the image's callback has just fetched, with the region at (xInTile, yInTile)
// of size w x h; and over the part of an untiled image at (x, y) of its region.
void makeTileStandIn(const OzlImage* image, int xInTile, int yInTile, int w, int h,
                     OzlImage* header, OzlROI* roi);
void makeStandIn(const OzlImage* image, int x, int y, int w, int h, OzlImage* header,
                 OzlROI* roi);

}  // namespace ozl::image
