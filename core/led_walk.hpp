// The walk led by one image's tile grid: the destination's tiles when it is
// tiled (fetched for writing), else the first tiled source's (fetched for
// reading), else the whole region as one piece. For each piece the other
// sources are read in place when what the piece needs of them lies inside the
// image and they are untiled, and through the bordered rectangle fetch
// otherwise; a source may ask for margins around the piece (neighbourhood
// operations), which the stand-in then holds around its region. Each piece
// goes to the operation's untiled path as stand-in headers. It never names an
// operation.
#pragma once

#include "core/border_fetch.hpp"
#include "core/pixelwise.hpp"
#include "ozl.h"

namespace ozl::core {

struct LedSource {
    OzlImage* image = nullptr;
    // Pixels the piece needs beyond its own footprint, on each side.
    int left = 0, top = 0, right = 0, bottom = 0;
    // A tiled source without margins may be read in its own tile (fetched
    // for reading, released after the piece) where the piece lies within one,
    // instead of being copied out: for pieces that cope with a source sharing
    // memory with the destination.
    bool tilesInPlace = false;
};

struct LedPiece {
    OzlImage* dst = nullptr;               // stand-in: the piece of the destination region
    OzlImage* src[kMaxSources] = {};       // stand-ins: region = the piece's footprint, margins around it
    OzlImage* mask = nullptr;              // stand-in over the mask's part, or nullptr
    bool fetched[kMaxSources] = {};        // the source came through its tile callback
    int x = 0, y = 0;                      // the piece's place in the walked region
};

struct LedResult {
    enum Kind {
        Done,
        WriteTile,  // the destination's callback left tileData NULL
        ReadTile,   // the leading source's callback left tileData NULL
        Fetch,      // a bordered fetch failed (`fetch` tells why)
        Stopped,    // the piece function asked to stop
    };
    Kind kind = Done;
    int source = -1;  // the source concerned (ReadTile, Fetch)
    FetchedBlock::Status fetch = FetchedBlock::Done;
};

// Returns false to stop the walk.
using LedPieceFn = bool (*)(void* context, const LedPiece& piece);

// Walks a width x height region, anchored at each image's own region origin.
LedResult walkLed(OzlImage* dst, const LedSource* sources, int nSources, const OzlImage* mask,
                  int width, int height, LedPieceFn onPiece, void* context);

template <class F>
LedResult walkLed(OzlImage* dst, const LedSource* sources, int nSources, const OzlImage* mask,
                  int width, int height, F&& onPiece) {
    return walkLed(
        dst, sources, nSources, mask, width, height,
        [](void* ctx, const LedPiece& piece) { return (*static_cast<F*>(ctx))(piece); }, &onPiece);
}

}  // namespace ozl::core
