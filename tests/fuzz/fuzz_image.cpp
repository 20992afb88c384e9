// The library frame (status texts, error reports, the aligned allocator, the version record) and the image
// model (header lifecycle, validation, ROI, tile records, border modes).
#include <cstdint>
#include <cstring>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;
using ozl::fuzz::expectRowRule;
using ozl::fuzz::fail;
using ozl::fuzz::kLargeSide;
using ozl::fuzz::kMaxBufferBytes;

// A block for `length` elements of `size` bytes: 32-byte aligned, its first and last bytes written. Counts
// mostly small, now and then blocks of up to 64 MB; negative ones go into the heap request unchecked, and
// the block must still hold the word below the returned address.
template <void* (*Alloc)(int), int size>
void block(Case& c) {
    const int length = c.rng().percent(10) ? c.small(-80, -1) : c.small(0, c.rng().percent(95) ? 1000 : (1 << 26) / size);
    auto* p = static_cast<unsigned char*>(Alloc(length));
    if (!p) return;
    if (reinterpret_cast<uintptr_t>(p) % 32 != 0) fail("ozlMalloc: block not 32-byte aligned");
    if (const int64_t bytes = int64_t{length} * size; bytes > 0) p[0] = 1, p[bytes - 1] = 2;
    ozlFree(p);
}

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}

// Releases a header the call made, by one of the three routes, with the records it was made with.
void release(Case& c, OzlImage* image, OzlImage* ownMask) {
    OzlROI* roi = image->roi;
    OzlTileInfo* tile = image->tileInfo;
    int flags = static_cast<int>(c.rng().below(16)) & (OZL_IMAGE_ROI | OZL_IMAGE_TILE | OZL_IMAGE_DATA);
    switch (c.rng().below(3)) {
        case 0: ozlDeallocate(image, flags = OZL_IMAGE_ALL | (ownMask ? OZL_IMAGE_MASK : 0)); break;
        case 1: ozlDeallocateImage(image), ozlDeallocate(image, flags |= OZL_IMAGE_HEADER); break;
        default: ozlDeallocate(image, flags), ozlDeallocateImage(image), ozlDeallocateHeader(image);
    }
    if (!(flags & OZL_IMAGE_ROI)) ozlDeleteROI(roi);
    if (!(flags & OZL_IMAGE_TILE)) ozlDeleteTileInfo(tile);
    if (ownMask && !(flags & OZL_IMAGE_MASK)) ozlDeallocate(ownMask, OZL_IMAGE_ALL);
}

void allocate(Case& c, OzlImage* image) {
    const int doFill = static_cast<int>(c.rng().below(2));
    // Now and then the wrong one of the two, which must refuse.
    if ((image->depth == OZL_DEPTH_32F) != c.rng().percent(5)) ozlAllocateImageFP(image, doFill, c.anyFloat());
    else ozlAllocateImage(image, doFill, c.anyInt());
}

void cloneAndRelease(OzlImage* source) {
    if (OzlImage* clone = ozlCloneImage(source)) expectRowRule(clone, "ozlCloneImage"), ozlDeallocate(clone, OZL_IMAGE_ALL);
}

// A new header with random arguments and records, allocated (twice now and then: refused), cloned, released.
void createHeader(Case& c) {
    ozl::fuzz::HeaderArgs a = c.randomHeaderArgs(c.rng().percent(20));
    OzlROI* roi = c.rng().percent(40) ? ozlCreateROI(c.small(-1, 4), c.small(-1, 50), c.small(-1, 50), c.anyInt(), c.anyInt())
                                      : nullptr;
    const int tileWidth = c.rng().of({8, 12, 16, 0}), tileHeight = c.rng().of({8, 16, -8});
    OzlTileInfo* tile = c.rng().percent(10) ? ozlCreateTileInfo(noTiles, nullptr, tileWidth, tileHeight) : nullptr;
    OzlImage *mask = c.rng().percent(15) ? c.pick() : nullptr, *ownMask = nullptr;
    if (!mask && c.rng().percent(10)) {
        mask = ownMask = ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "G", "G", 0, 0, 4, 9, 3, nullptr, nullptr, nullptr, nullptr);
        ozlAllocateImage(mask, 1, 1);
    }
    OzlImage* image = ozlCreateImageHeader(a.nChannels, a.alphaChannel, a.depth, a.colorModel, a.channelSeq,
                                           a.dataOrder, a.origin, a.align, a.width, a.height, roi, mask, nullptr, tile);
    if (!image) return ozlDeleteROI(roi), ozlDeleteTileInfo(tile), ozlDeallocate(ownMask, OZL_IMAGE_ALL);
    expectRowRule(image, "ozlCreateImageHeader");
    if (image->imageSize <= kMaxBufferBytes) {
        allocate(c, image);
        if (c.rng().percent(20)) allocate(c, image);
        if (image->imageData && c.rng().percent(50)) cloneAndRelease(image);
    }
    release(c, image, ownMask);
}

const ozl::fuzz::Registrar calls({  // the reports print nothing: the driver keeps the mode Silent
    OZL_FUZZ(ozlError), OZL_FUZZ(ozlNulDevReport), OZL_FUZZ(ozlStdErrReport), OZL_FUZZ(ozlGuiBoxReport),
    {"ozlErrorStr", [](Case& c) { if (const char* t = ozlErrorStr(c.anyInt()); !t || !*t) fail("ozlErrorStr: no text"); }},
    {"ozlRedirectError", [](Case& c) {
         ozlRedirectError(c.rng().of<OzlErrorCallBack>({ozlNulDevReport, ozlStdErrReport, ozlGuiBoxReport, nullptr}));
         ozl::fuzz::call<ozlError>(c);
     }},
    {"ozlSetErrStatus", [](Case& c) {
         const OzlStatus status = c.anyInt();
         ozlSetErrStatus(status);
         if (ozlGetErrStatus() != status) fail("ozlGetErrStatus: not the status set");
         ozlSetErrMode(c.rng().of({OZL_ErrModeParent, OZL_ErrModeSilent}));
         ozlGetErrMode();
     }},
    {"ozlMalloc", block<ozlMalloc, 1>}, {"ozlwMalloc", block<ozlwMalloc, 2>}, {"ozliMalloc", block<ozliMalloc, 4>},
    {"ozlsMalloc", block<ozlsMalloc, 4>}, {"ozldMalloc", block<ozldMalloc, 8>},
    {"ozlGetLibVersion", [](Case&) {
         const OzlLibVersion* v = ozlGetLibVersion();
         for (const char* s : {v->name, v->version, v->internalVersion, v->buildDate, v->callConv})
             if (!s || !*s) fail("ozlGetLibVersion: missing text");
         ozlGetQuintorCounter();
     }},
    {"ozlCreateImageHeader", createHeader},
    {"ozlAllocateImage", [](Case& c) { if (OzlImage* image = c.pick()) allocate(c, image); }},
    OZL_FUZZ(ozlCheckImageHeader),
    // Clones of tiled images get pixel buffers of their full size: large ones are left out.
    {"ozlCloneImage", [](Case& c) {
         OzlImage* s = c.pick();
         if (!s || !s->tileInfo || ozl::fuzz::layoutBytes(s) <= kMaxBufferBytes) cloneAndRelease(s);
     }},
    {"ozlSetBorderMode", [](Case& c) {  // not tested for NULL by design
         if (OzlImage* image = c.pickPresent()) ozlSetBorderMode(image, c.anyInt(), c.anyInt(), c.anyInt());
     }},
    {"ozlSetROI", [](Case& c) { if (OzlImage* image = c.pickPresent()) c.setRandomRoi(image); }},
    // A large image keeps its ROI, so that its region stays small.
    {"ozlDeallocate", [](Case& c) {
         OzlImage* image = c.pick();
         int flags = c.rng().of({OZL_IMAGE_DATA, OZL_IMAGE_ROI, OZL_IMAGE_DATA | OZL_IMAGE_ROI});
         if (image && (image->width > kLargeSide || image->height > kLargeSide)) flags &= ~OZL_IMAGE_ROI;
         ozlDeallocate(image, flags);
     }},
    {"ozlCreateImageJaehne", [](Case& c) {  // small sizes: the pattern fills every pixel
         const unsigned depth = c.rng().percent(90) ? c.rng().of({OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U,
                                                                 OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F})
                                                    : static_cast<unsigned>(c.anyInt());
         const int w = c.small(-1, 300);
         if (OzlImage* image = ozlCreateImageJaehne(depth, w, c.small(-1, 300)))
             expectRowRule(image, "ozlCreateImageJaehne"), ozlDeallocate(image, OZL_IMAGE_ALL);
     }},
    {"ozlCreateROI", [](Case& c) {
         OzlROI* roi = ozl::fuzz::callWith(c, ozlCreateROI);
         ozlSetROI(roi, 1, 2, 3, 4, 5), ozlSetROI(nullptr, 1, 2, 3, 4, 5), ozlDeleteROI(roi);
     }},
    {"ozlCreateTileInfo", [](Case& c) {
         const int w = c.anyInt();
         OzlTileInfo* tile = ozlCreateTileInfo(noTiles, nullptr, w, c.anyInt());
         ozlSetTileInfo(tile, nullptr, tile, 8, 8), ozlSetTileInfo(nullptr, noTiles, nullptr, 8, 8), ozlDeleteTileInfo(tile);
     }},
});

}  // namespace
