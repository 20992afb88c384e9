#include "image/tiles.hpp"

#include <algorithm>

#include "image/layout.hpp"
#include "image/region.hpp"

namespace ozl::image {

namespace {

void attachRoi(const OzlImage* image, OzlImage* header, OzlROI* roi, int x, int y, int w, int h) {
    *header = *image;
    header->tileInfo = nullptr;
    header->maskROI = nullptr;
    roi->coi = image->roi ? image->roi->coi : 0;
    roi->xOffset = x;
    roi->yOffset = y;
    roi->width = w;
    roi->height = h;
    header->roi = roi;
}

}  // namespace

// Stand-in over the current tile of a tiled image.
void makeTileStandIn(const OzlImage* image, int xInTile, int yInTile, int w, int h,
                     OzlImage* header, OzlROI* roi) {
    const OzlTileInfo* tile = image->tileInfo;
    attachRoi(image, header, roi, xInTile, yInTile, w, h);
    header->imageData = tile->tileData;
    header->imageDataOrigin = nullptr;
    header->width = tile->width;
    header->height = tile->height;
    header->widthStep = tileRowSize(image);
    header->imageSize =
        imageSizeFor(image->dataOrder, image->nChannels, tile->height, header->widthStep);
}

// Stand-in for the part of an untiled image at (x, y) of its region, size w x h.
void makeStandIn(const OzlImage* image, int x, int y, int w, int h, OzlImage* header,
                 OzlROI* roi) {
    const Origin o = regionOrigin(image);
    attachRoi(image, header, roi, o.x + x, o.y + y, w, h);
}

int walkTiles(const TileOperand* operands, int count, const OzlImage* mask, int width, int height,
              PieceFn onPiece, void* context) {
    OzlImage headers[kMaxTileOperands + 1];
    OzlROI rois[kMaxTileOperands + 1];
    Origin origins[kMaxTileOperands];
    int sameAs[kMaxTileOperands];
    for (int i = 0; i < count; ++i) {
        sameAs[i] = i;
        if (!operands[i].image) continue;
        origins[i] = regionOrigin(operands[i].image);
        for (int j = 0; j < i; ++j)
            if (operands[j].image == operands[i].image) {
                sameAs[i] = j;
                break;
            }
    }
    auto walked = [&](int i) { return operands[i].image && sameAs[i] == i; };
    // A header passed both as a source and as the destination is fetched once, for writing.
    TileAccess access[kMaxTileOperands];
    for (int i = 0; i < count; ++i) {
        access[i] = operands[i].access;
        if (operands[i].image && sameAs[i] != i && access[i] == TileAccess::Write)
            access[sameAs[i]] = TileAccess::Write;
    }

    for (int y = 0; y < height;) {
        int bandHeight = height - y;
        for (int i = 0; i < count; ++i)
            if (walked(i) && isTiled(operands[i].image)) {
                const int th = operands[i].image->tileInfo->height;
                bandHeight = std::min(bandHeight, th - (origins[i].y + y) % th);
            }
        for (int x = 0; x < width;) {
            int pieceWidth = width - x;
            for (int i = 0; i < count; ++i)
                if (walked(i) && isTiled(operands[i].image)) {
                    const int tw = operands[i].image->tileInfo->width;
                    pieceWidth = std::min(pieceWidth, tw - (origins[i].x + x) % tw);
                }

            Piece piece;
            piece.x = x;
            piece.y = y;
            for (int i = 0; i < count; ++i) {
                if (!operands[i].image) continue;
                if (!walked(i)) {
                    piece.operand[i] = piece.operand[sameAs[i]];
                    continue;
                }
                OzlImage* image = operands[i].image;
                if (isTiled(image)) {
                    OzlTileInfo* tile = image->tileInfo;
                    const int px = origins[i].x + x;
                    const int py = origins[i].y + y;
                    tile->callBack(image, px / tile->width, py / tile->height,
                                   static_cast<int>(access[i]));
                    if (!tile->tileData) return i;
                    makeTileStandIn(image, px % tile->width, py % tile->height, pieceWidth,
                                    bandHeight, &headers[i], &rois[i]);
                } else {
                    makeStandIn(image, x, y, pieceWidth, bandHeight, &headers[i], &rois[i]);
                }
                piece.operand[i] = &headers[i];
            }
            if (mask) {
                makeStandIn(mask, x, y, pieceWidth, bandHeight, &headers[kMaxTileOperands],
                            &rois[kMaxTileOperands]);
                piece.mask = &headers[kMaxTileOperands];
            }

            onPiece(context, piece);

            for (int i = 0; i < count; ++i)
                if (walked(i) && isTiled(operands[i].image)) {
                    OzlImage* image = operands[i].image;
                    const OzlTileInfo* tile = image->tileInfo;
                    tile->callBack(image, (origins[i].x + x) / tile->width,
                                   (origins[i].y + y) / tile->height, OZL_RELEASE_TILE);
                }
            x += pieceWidth;
        }
        y += bandHeight;
    }
    return kWalkDone;
}

}  // namespace ozl::image
