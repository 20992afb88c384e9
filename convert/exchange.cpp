// Exchange: ozlExchange, the swap of two images' common regions. It shares
// the copy's checks and mask choice, and swaps through a snapshot of the
// first image's piece: A's piece is fetched into a block, B is copied onto A
// and the block onto B, each copy masked alike.
#include "convert/pairing.hpp"
#include "core/border_fetch.hpp"
#include "core/checks.hpp"
#include "core/pixelwise.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

using ozl::core::Caller;
using ozl::core::fail;
using ozl::core::headersValid;

namespace {

const Caller kExchange{"ozlExchange", "ozlsce"};

enum class Swapped { Done, NoMemory };

// Swaps the regions of two untiled stand-ins (or images) of one size.
Swapped swapPiece(OzlImage* a, OzlImage* b, const OzlImage* mask) {
    const ozl::image::Rect r = ozl::image::regionRect(a);
    const ozl::core::Rect area{r.x, r.y, r.width, r.height};
    const ozl::core::FetchedBlock saved = ozl::core::fetchRect(a, area);
    if (saved.status != ozl::core::FetchedBlock::Done) return Swapped::NoMemory;
    OzlImage snapshot;
    OzlROI snapshotRoi;
    ozl::core::wrapBlock(a, saved, area, ozl::core::Rect{0, 0, area.width, area.height}, &snapshot,
                         &snapshotRoi);
    Swapped result = Swapped::Done;
    if (ozl::convert::copyValues(b, a, mask) == ozl::core::kMapNoMemory ||
        ozl::convert::copyValues(&snapshot, b, mask) == ozl::core::kMapNoMemory)
        result = Swapped::NoMemory;
    ozlFree(saved.data);
    return result;
}

}  // namespace

extern "C" OZL_API void OZL_CALL ozlExchange(OzlImage* imageA, OzlImage* imageB) {
    if (!headersValid(kExchange, {imageA}, 561) || !headersValid(kExchange, {imageB}, 562)) return;
    if (ozl::convert::reportDisagreements(kExchange, imageA, imageB, {}, 563) > 0) return;
    if (imageA == imageB) return;
    if (ozl::image::effectiveChannels(imageA) != ozl::image::effectiveChannels(imageB)) {
        fail(kExchange, OZL_StsBadArg,
             "Number of processed channels of srcImage != Number of processed channels of dstImage",
             566);
        return;
    }

    ozl::convert::PairMask mask = ozl::convert::choosePairMask(kExchange, imageA, imageB, {572, 577});
    if (mask.stop) return;
    ozl::core::MapOperands operands;
    operands.src[0] = imageA;
    operands.dst = imageB;
    const ozl::core::Size size = ozl::core::commonSize(operands, mask.image);

    // Both images are written: every tile either touches is fetched for writing.
    const ozl::image::TileOperand tiles[2] = {{imageA, ozl::image::TileAccess::Write},
                                              {imageB, ozl::image::TileAccess::Write}};
    bool noMemory = false;
    const int walked = ozl::image::walkTiles(
        tiles, 2, mask.image, size.width, size.height, [&](const ozl::image::Piece& piece) {
            if (!noMemory)
                noMemory = swapPiece(piece.operand[0], piece.operand[1], piece.mask) ==
                           Swapped::NoMemory;
        });
    if (walked != ozl::image::kWalkDone)
        fail(kExchange, OZL_StsError, "Error get tile to write", 643);
    else if (noMemory)
        fail(kExchange, OZL_StsNoMem, "Not enough memory for the exchange", 590);
    ozl::convert::releasePairMask(mask);
}
