#include "core/led_walk.hpp"

#include <algorithm>

#include "image/layout.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::core {

namespace {

// Blocks fetched for one piece, released when the piece is done.
struct PieceBlocks {
    char* data[kMaxSources] = {};
    ~PieceBlocks() {
        for (char* d : data) ozlFree(d);
    }
};

// A source's stand-in for the piece at (x, y) of size w x h of the region:
// in place when untiled and the footprint with its margins lies inside the
// image, else from a bordered fetch of that area.
FetchedBlock::Status sourceStandIn(const LedSource& s, int x, int y, int w, int h,
                                   OzlImage* header, OzlROI* roi, char** block) {
    const image::Origin o = image::regionOrigin(s.image);
    const long long left = static_cast<long long>(o.x) + x - s.left;
    const long long top = static_cast<long long>(o.y) + y - s.top;
    const long long right = static_cast<long long>(o.x) + x + w + s.right;
    const long long bottom = static_cast<long long>(o.y) + y + h + s.bottom;
    if (!s.image->tileInfo && left >= 0 && top >= 0 && right <= s.image->width &&
        bottom <= s.image->height) {
        image::makeStandIn(s.image, x, y, w, h, header, roi);
        return FetchedBlock::Done;
    }
    const Rect area{static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
                    static_cast<int>(bottom - top)};
    const FetchedBlock fetched = fetchRect(s.image, area);
    if (fetched.status != FetchedBlock::Done) return fetched.status;
    *block = fetched.data;
    wrapBlock(s.image, fetched, area, Rect{s.left, s.top, w, h}, header, roi);
    return FetchedBlock::Done;
}

bool noMargins(const LedSource& s) {
    return s.left == 0 && s.top == 0 && s.right == 0 && s.bottom == 0;
}

// The tile of a source that holds the whole piece at (x, y) of size w x h, when
// the source may be read in place there: its own tile record (a record shared
// with another operand would have its tile replaced under it).
struct InPlaceTile {
    bool use = false;
    int column = 0, row = 0, x = 0, y = 0;  // the tile, and the piece's place in it
};
InPlaceTile inPlaceTile(const LedSource* sources, int nSources, int i, const OzlImage* dst,
                        int x, int y, int w, int h) {
    const LedSource& s = sources[i];
    InPlaceTile t;
    if (!s.tilesInPlace || !image::isTiled(s.image) || !noMargins(s)) return t;
    const OzlTileInfo* info = s.image->tileInfo;
    if (dst->tileInfo == info) return t;
    for (int j = 0; j < nSources; ++j)
        if (j != i && sources[j].image && sources[j].image->tileInfo == info) return t;
    const image::Origin o = image::regionOrigin(s.image);
    const long long px = static_cast<long long>(o.x) + x, py = static_cast<long long>(o.y) + y;
    t.x = static_cast<int>(px % info->width);
    t.y = static_cast<int>(py % info->height);
    if (t.x + w > info->width || t.y + h > info->height) return t;
    t.column = static_cast<int>(px / info->width);
    t.row = static_cast<int>(py / info->height);
    t.use = true;
    return t;
}

}  // namespace

LedResult walkLed(OzlImage* dst, const LedSource* sources, int nSources, const OzlImage* mask,
                  int width, int height, LedPieceFn onPiece, void* context) {
    LedResult result;
    if (width <= 0 || height <= 0) return result;
    // The leader: the tiled destination, or the first tiled source read with
    // no margins (its tiles can be used as they come); otherwise one piece.
    int leadSource = -1;
    OzlImage* lead = nullptr;
    if (image::isTiled(dst)) {
        lead = dst;
    } else {
        for (int i = 0; i < nSources; ++i)
            if (image::isTiled(sources[i].image) && noMargins(sources[i])) {
                lead = sources[i].image;
                leadSource = i;
                break;
            }
    }
    const image::Origin lo = lead ? image::regionOrigin(lead) : image::Origin{};
    const int tw = lead ? lead->tileInfo->width : width;
    const int th = lead ? lead->tileInfo->height : height;

    OzlImage headers[kMaxSources + 2];
    OzlROI rois[kMaxSources + 2];
    for (int y = 0; y < height;) {
        const int h = lead ? std::min(height - y, th - (lo.y + y) % th) : height;
        for (int x = 0; x < width;) {
            const int w = lead ? std::min(width - x, tw - (lo.x + x) % tw) : width;
            const int tileX = lead ? (lo.x + x) / tw : 0;
            const int tileY = lead ? (lo.y + y) / th : 0;
            LedPiece piece;
            piece.x = x;
            piece.y = y;
            if (lead) {
                OzlTileInfo* tile = lead->tileInfo;
                tile->callBack(lead, tileX, tileY,
                               lead == dst ? OZL_GET_TILE_TO_WRITE : OZL_GET_TILE_TO_READ);
                if (!tile->tileData) {
                    result.kind = lead == dst ? LedResult::WriteTile : LedResult::ReadTile;
                    result.source = leadSource;
                    return result;
                }
            }
            PieceBlocks blocks;
            InPlaceTile inPlace[kMaxSources];
            bool ok = true;
            for (int i = 0; i < nSources && ok; ++i) {
                if (!sources[i].image) continue;
                OzlImage* header = &headers[i];
                // The leading image given again as another source shares the
                // leader's tile: a fetch of its own would release that tile.
                if (i == leadSource || (sources[i].image == lead && lead != dst &&
                                        noMargins(sources[i]))) {
                    image::makeTileStandIn(lead, (lo.x + x) % tw, (lo.y + y) % th, w, h, header,
                                           &rois[i]);
                } else if (sources[i].image == dst && noMargins(sources[i]) && lead == dst) {
                    header = nullptr;  // the destination's own tile, set below
                } else if ((inPlace[i] = inPlaceTile(sources, nSources, i, dst, x, y, w, h)).use) {
                    OzlTileInfo* tile = sources[i].image->tileInfo;
                    tile->callBack(sources[i].image, inPlace[i].column, inPlace[i].row,
                                   OZL_GET_TILE_TO_READ);
                    piece.fetched[i] = true;
                    if (!tile->tileData) {
                        // As a bordered fetch of the tile would have failed.
                        inPlace[i].use = false;
                        result.kind = LedResult::Fetch;
                        result.source = i;
                        result.fetch = FetchedBlock::TileFailed;
                        ok = false;
                    } else {
                        image::makeTileStandIn(sources[i].image, inPlace[i].x, inPlace[i].y, w, h,
                                               header, &rois[i]);
                    }
                } else {
                    const FetchedBlock::Status st = sourceStandIn(sources[i], x, y, w, h, header,
                                                                  &rois[i], &blocks.data[i]);
                    piece.fetched[i] = blocks.data[i] != nullptr;
                    if (st != FetchedBlock::Done) {
                        result.kind = LedResult::Fetch;
                        result.source = i;
                        result.fetch = st;
                        ok = false;
                    }
                }
                piece.src[i] = header;
            }
            OzlImage* dstHeader = &headers[kMaxSources];
            if (ok) {
                if (lead == dst)
                    image::makeTileStandIn(dst, (lo.x + x) % tw, (lo.y + y) % th, w, h, dstHeader,
                                           &rois[kMaxSources]);
                else
                    image::makeStandIn(dst, x, y, w, h, dstHeader, &rois[kMaxSources]);
                piece.dst = dstHeader;
                for (int i = 0; i < nSources; ++i)
                    if (sources[i].image && !piece.src[i]) piece.src[i] = dstHeader;
                if (mask) {
                    image::makeStandIn(mask, x, y, w, h, &headers[kMaxSources + 1],
                                       &rois[kMaxSources + 1]);
                    piece.mask = &headers[kMaxSources + 1];
                }
                if (!onPiece(context, piece)) {
                    result.kind = LedResult::Stopped;
                    ok = false;
                }
            }
            for (int i = 0; i < nSources; ++i)
                if (inPlace[i].use)
                    sources[i].image->tileInfo->callBack(sources[i].image, inPlace[i].column,
                                                         inPlace[i].row, OZL_RELEASE_TILE);
            if (lead) lead->tileInfo->callBack(lead, tileX, tileY, OZL_RELEASE_TILE);
            if (!ok) return result;
            x += w;
        }
        y += h;
    }
    return result;
}

}  // namespace ozl::core
