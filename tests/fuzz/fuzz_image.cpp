// The image model: header lifecycle, validation, ROI, tile records, border modes.
#include <climits>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}

// Releases a header made by the call itself, by one of the documented routes;
// the records it was made with (ROI, tile record, a mask of its own) go too.
void release(Case& c, OzlImage* image, bool ownsMask) {
    OzlROI* roi = image->roi;
    OzlTileInfo* tile = image->tileInfo;
    OzlImage* mask = ownsMask ? image->maskROI : nullptr;
    const int some = static_cast<int>(c.rng().below(16)) & (OZL_IMAGE_ROI | OZL_IMAGE_TILE |
                                                            OZL_IMAGE_DATA);
    int flags;
    switch (c.rng().below(3)) {
        case 0:
            flags = OZL_IMAGE_ALL | (ownsMask ? OZL_IMAGE_MASK : 0);
            ozlDeallocate(image, flags);
            break;
        case 1:
            ozlDeallocateImage(image);
            flags = OZL_IMAGE_HEADER | some;
            ozlDeallocate(image, flags);
            break;
        default:
            flags = some;
            ozlDeallocate(image, flags);
            ozlDeallocateImage(image);  // the data, unless the flags took it
            ozlDeallocateHeader(image);
            break;
    }
    if (!(flags & OZL_IMAGE_ROI)) ozlDeleteROI(roi);
    if (!(flags & OZL_IMAGE_TILE)) ozlDeleteTileInfo(tile);
    if (mask && !(flags & OZL_IMAGE_MASK)) ozlDeallocate(mask, OZL_IMAGE_ALL);
}

void allocate(Case& c, OzlImage* image) {
    const int doFill = static_cast<int>(c.rng().below(2));
    // Now and then the wrong one of the two, which must refuse.
    if ((image->depth == OZL_DEPTH_32F) != c.rng().percent(5))
        ozlAllocateImageFP(image, doFill, c.anyFloat());
    else
        ozlAllocateImage(image, doFill, c.anyInt());
}

// A new header with random arguments and records, allocated, cloned and
// released again.
void createHeader(Case& c) {
    ozl::fuzz::HeaderArgs a = c.randomHeaderArgs(c.rng().percent(20));
    OzlROI* roi = nullptr;
    if (c.rng().percent(40))
        roi = ozlCreateROI(static_cast<int>(c.rng().between(-1, 4)),
                           static_cast<int>(c.rng().between(-1, 50)),
                           static_cast<int>(c.rng().between(-1, 50)), c.anyInt(), c.anyInt());
    OzlTileInfo* tile = nullptr;
    if (c.rng().percent(10))
        tile = ozlCreateTileInfo(noTiles, nullptr, c.rng().of({8, 12, 16, 0}),
                                 c.rng().of({8, 16, -8}));
    OzlImage* mask = nullptr;
    bool ownsMask = false;
    if (c.rng().percent(15)) {
        mask = c.pick();
    } else if (c.rng().percent(10)) {
        mask = ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "G", "G", 0, 0, 4, 9, 3, nullptr, nullptr,
                                    nullptr, nullptr);
        ozlAllocateImage(mask, 1, 1);
        ownsMask = true;
    }
    OzlImage* image = ozlCreateImageHeader(a.nChannels, a.alphaChannel, a.depth, a.colorModel,
                                           a.channelSeq, a.dataOrder, a.origin, a.align, a.width,
                                           a.height, roi, mask, nullptr, tile);
    if (!image) {
        ozlDeleteROI(roi);
        ozlDeleteTileInfo(tile);
        if (ownsMask) ozlDeallocate(mask, OZL_IMAGE_ALL);
        return;
    }
    ozl::fuzz::expectRowRule(image, "ozlCreateImageHeader");
    if (image->imageSize <= ozl::fuzz::kMaxBufferBytes) {
        allocate(c, image);
        if (c.rng().percent(20)) allocate(c, image);  // refused: data already there
        if (image->imageData && c.rng().percent(50)) {
            if (OzlImage* clone = ozlCloneImage(image)) {
                ozl::fuzz::expectRowRule(clone, "ozlCloneImage");
                ozlDeallocate(clone, OZL_IMAGE_ALL);
            }
        }
    }
    release(c, image, ownsMask);
}

const ozl::fuzz::Registrar calls("image", {
    {"ozlCreateImageHeader", createHeader},
    {"ozlAllocateImage", [](Case& c) { if (OzlImage* image = c.pick()) allocate(c, image); }},
    {"ozlCheckImageHeader", [](Case& c) { ozlCheckImageHeader(c.pick()); }},
    // Clones of tiled images get pixel buffers of their full size: large ones
    // are left out.
    {"ozlCloneImage",
     [](Case& c) {
         OzlImage* source = c.pick();
         if (source && source->tileInfo &&
             ozl::fuzz::layoutBytes(source) > ozl::fuzz::kMaxBufferBytes)
             return;
         OzlImage* clone = ozlCloneImage(source);
         if (!clone) return;
         ozl::fuzz::expectRowRule(clone, "ozlCloneImage");
         ozlDeallocate(clone, OZL_IMAGE_ALL);
     }},
    {"ozlSetBorderMode",
     [](Case& c) {
         OzlImage* image = c.pickPresent();  // not tested for NULL by design
         if (!image) return;
         const int mode = c.anyInt(), border = c.anyInt();
         ozlSetBorderMode(image, mode, border, c.anyInt());
     }},
    {"ozlSetROI", [](Case& c) { if (OzlImage* image = c.pickPresent()) c.setRandomRoi(image); }},
    // Releasing the data the library allocated, or a ROI; a large image keeps its
    // ROI so that its region stays small.
    {"ozlDeallocate",
     [](Case& c) {
         OzlImage* image = c.pick();
         int flags = c.rng().of({OZL_IMAGE_DATA, OZL_IMAGE_ROI, OZL_IMAGE_DATA | OZL_IMAGE_ROI});
         using ozl::fuzz::kLargeSide;
         if (image && (image->width > kLargeSide || image->height > kLargeSide))
             flags &= ~OZL_IMAGE_ROI;
         ozlDeallocate(image, flags);
     }},
    {"ozlCreateROI",
     [](Case& c) {
         const int coi = c.anyInt(), x = c.anyInt(), y = c.anyInt(), w = c.anyInt();
         OzlROI* roi = ozlCreateROI(coi, x, y, w, c.anyInt());
         ozlSetROI(roi, 1, 2, 3, 4, 5);
         ozlSetROI(nullptr, 1, 2, 3, 4, 5);
         ozlDeleteROI(roi);
     }},
    {"ozlCreateTileInfo",
     [](Case& c) {
         const int w = c.anyInt();
         OzlTileInfo* tile = ozlCreateTileInfo(noTiles, nullptr, w, c.anyInt());
         ozlSetTileInfo(tile, nullptr, tile, 8, 8);
         ozlSetTileInfo(nullptr, noTiles, nullptr, 8, 8);
         ozlDeleteTileInfo(tile);
     }},
});

}  // namespace
