// Creation, allocation, cloning and release of image headers and their ROI and
// tile records. Allocation failures here are silent: callers test the result.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "image/check.hpp"
#include "image/layout.hpp"

namespace ozl::image {
namespace {

constexpr const char* kAllocModule = "ozlalloc";
constexpr const char* kCloneModule = "ozlClone";
constexpr const char* kBadDataIns = "Incorrect data-ins";

// The fields a header is made from; checked identically at creation and again
// before pixel data is allocated for it.
struct LayoutArgs {
    int nChannels;
    int alphaChannel;
    uint32_t depth;
    const char* colorModel;
    const char* channelSeq;
    int dataOrder;
    int origin;
    int align;
    int width;
    int height;
    const OzlImage* maskROI;
};

LayoutArgs layoutOf(const OzlImage* image) {
    return {image->nChannels, image->alphaChannel, image->depth, image->colorModel,
            image->channelSeq, image->dataOrder, image->origin, image->align,
            image->width, image->height, image->maskROI};
}

// Pixel bytes of a layout, in 64 bits so that oversized images can be refused
// instead of wrapping; -1 when a row's bit count does not fit either.
int64_t imageBytes(int dataOrder, int nChannels, int height, int64_t widthStep) {
    if (widthStep < 0) return -1;
    const int64_t planes = dataOrder == OZL_DATA_ORDER_PLANE ? nChannels : 1;
    const int64_t rows = height * planes;  // < 2^62
    return widthStep > INT64_MAX / rows ? -1 : rows * widthStep;
}

int64_t layoutBytes(const LayoutArgs& a) {
    return imageBytes(a.dataOrder, a.nChannels, a.height,
                      rowBytes(a.dataOrder, a.depth, a.align, a.nChannels, a.width));
}

OzlStatus layoutStatus(const LayoutArgs& a) {
    if (a.height < 1 || a.width < 1) return OZL_StsBadImageSize;
    if (a.nChannels < 1) return OZL_StsBadNumChannels;
    if (a.depth == OZL_DEPTH_1U && a.nChannels != 1) return OZL_StsBadNumChannel1U;
    if (a.colorModel == nullptr || a.channelSeq == nullptr) return OZL_StsBadModelOrChSeq;
    if (!isLegalDepth(a.depth)) return OZL_StsBadDepth;
    if (a.alphaChannel != 0 && a.alphaChannel != a.nChannels) return OZL_StsBadAlphaChannel;
    if (a.dataOrder != OZL_DATA_ORDER_PIXEL && a.dataOrder != OZL_DATA_ORDER_PLANE)
        return OZL_StsBadOrder;
    if (a.origin != OZL_ORIGIN_TL && a.origin != OZL_ORIGIN_BL) return OZL_StsBadOrigin;
    if (!isLegalAlign(a.align)) return OZL_StsBadAlign;
    if (a.maskROI != nullptr) {
        const OzlStatus status = maskStatus(a.maskROI);
        if (status != OZL_StsOk) return status;
    }
    // widthStep and imageSize are 32-bit fields: a layout whose row or whole
    // image does not fit them would be stored truncated, and every operation
    // would then address pixels past the buffer made for it.
    const int64_t bytes = layoutBytes(a);
    if (bytes < 0 || bytes > INT32_MAX) return OZL_StsBadImageSize;
    return OZL_StsOk;
}

// Copies a name of up to 4 characters, NUL-padded; never reads past the
// caller's terminator.
void copyName(char (&field)[4], const char* name) {
    size_t i = 0;
    for (; i < sizeof field && name[i] != '\0'; ++i) field[i] = name[i];
    for (; i < sizeof field; ++i) field[i] = '\0';
}

// The 32-bit word a fill of the given depth repeats over the whole buffer.
uint32_t fillPattern(uint32_t depth, int fillValue) {
    const uint32_t v = static_cast<uint32_t>(fillValue);
    switch (depthBits(depth)) {
        case 1: return (v & 1u) != 0 ? 0xFFFFFFFFu : 0u;
        case 8: return (v & 0xFFu) * 0x01010101u;
        case 16: return (v & 0xFFFFu) * 0x00010001u;
        default: return v;
    }
}

// Allocates the pixel block of a header that passed the layout check: rows
// re-derived from the layout, data aligned to the header's alignment inside a
// block from the runtime heap. Leaves imageData NULL when memory is short.
void allocatePixels(OzlImage* image) {
    const int widthStep =
        rowSize(image->dataOrder, image->depth, image->align, image->nChannels, image->width);
    const int64_t size = layoutBytes(layoutOf(image));
    const int64_t blockSize = size + image->align - 1;
    char* block = blockSize <= INT32_MAX
                      ? static_cast<char*>(std::malloc(static_cast<size_t>(blockSize)))
                      : nullptr;
    image->imageDataOrigin = block;
    if (block == nullptr) return;
    const uintptr_t mask = static_cast<uintptr_t>(image->align) - 1;
    const uintptr_t start = (reinterpret_cast<uintptr_t>(block) + mask) & ~mask;
    image->imageData = block + (start - reinterpret_cast<uintptr_t>(block));
    image->imageSize = static_cast<int32_t>(size);
    image->widthStep = widthStep;
}

// Rows are multiples of the alignment (at least 4 bytes), so the buffer is a
// whole number of 32-bit words.
void fillWords(OzlImage* image, uint32_t pattern) {
    uint32_t* words = reinterpret_cast<uint32_t*>(image->imageData);
    const size_t count = static_cast<size_t>(image->imageSize) / sizeof(uint32_t);
    for (size_t i = 0; i < count; ++i) words[i] = pattern;
}

}  // namespace
}  // namespace ozl::image

using namespace ozl::image;

extern "C" OZL_API OzlImage* OZL_CALL ozlCreateImageHeader(
    int nChannels, int alphaChannel, unsigned int depth, const char* colorModel,
    const char* channelSeq, int dataOrder, int origin, int align, int width, int height,
    OzlROI* roi, OzlImage* maskROI, void* imageId, OzlTileInfo* tileInfo) {
    const OzlStatus status =
        layoutStatus({nChannels, alphaChannel, depth, colorModel, channelSeq, dataOrder, origin,
                      align, width, height, maskROI});
    if (status != OZL_StsOk) {
        ozlError(status, "ozlCreateImageHeader", kBadDataIns, kAllocModule, 148);
        return nullptr;
    }
    auto* image = static_cast<OzlImage*>(ozlMalloc(static_cast<int>(sizeof(OzlImage))));
    if (image == nullptr) return nullptr;
    std::memset(image, 0, sizeof *image);
    image->nSize = static_cast<int32_t>(sizeof(OzlImage));
    image->ID = 0;
    image->nChannels = nChannels;
    image->alphaChannel = alphaChannel;
    image->depth = depth;
    copyName(image->colorModel, colorModel);
    copyName(image->channelSeq, channelSeq);
    image->dataOrder = dataOrder;
    image->origin = origin;
    image->align = align;
    image->width = width;
    image->height = height;
    image->roi = roi;
    image->maskROI = maskROI;
    image->imageId = imageId;
    image->tileInfo = tileInfo;
    // Both fit their fields: the layout check refuses layouts that do not.
    image->widthStep = rowSize(dataOrder, depth, align, nChannels, width);
    image->imageSize =
        static_cast<int32_t>(imageBytes(dataOrder, nChannels, height, image->widthStep));
    image->imageData = nullptr;
    image->imageDataOrigin = nullptr;
    ozlSetBorderMode(image, OZL_BORDER_CONSTANT, OZL_SIDE_ALL, 0);
    return image;
}

extern "C" OZL_API void OZL_CALL ozlAllocateImage(OzlImage* image, int doFill, int fillValue) {
    static constexpr const char* kFunc = "ozlAllocateImage";
    if (image == nullptr) {
        ozlError(OZL_StsBadArg, kFunc, "( image == ((void *)0) )", kAllocModule, 256);
        return;
    }
    if (image->imageData != nullptr) {
        ozlError(OZL_StsBadArg, kFunc, "( image->imageData != ((void *)0) )", kAllocModule, 257);
        return;
    }
    if (image->tileInfo != nullptr) {
        ozlError(OZL_StsBadArg, kFunc, "( image->tileInfo != ((void *)0) )", kAllocModule, 258);
        return;
    }
    if (image->depth == OZL_DEPTH_32F) {
        ozlError(OZL_StsBadArg, kFunc, "( image->depth == 32 )", kAllocModule, 259);
        return;
    }
    const OzlStatus status = layoutStatus(layoutOf(image));
    if (status != OZL_StsOk) {
        ozlError(status, kFunc, kBadDataIns, kAllocModule, 269);
        return;
    }
    allocatePixels(image);
    if (image->imageData != nullptr && doFill != 0)
        fillWords(image, fillPattern(image->depth, fillValue));
}

extern "C" OZL_API void OZL_CALL ozlAllocateImageFP(OzlImage* image, int doFill,
                                                    float fillValue) {
    static constexpr const char* kFunc = "ozlAllocateImageFP";
    if (image == nullptr) {
        ozlError(OZL_StsBadArg, kFunc, "( image == ((void *)0) )", kAllocModule, 321);
        return;
    }
    if (image->imageData != nullptr) {
        ozlError(OZL_StsBadArg, kFunc, "( image->imageData != ((void *)0) )", kAllocModule, 322);
        return;
    }
    if (image->tileInfo != nullptr) {
        ozlError(OZL_StsBadArg, kFunc, "( image->tileInfo != ((void *)0) )", kAllocModule, 323);
        return;
    }
    if (image->depth != OZL_DEPTH_32F) {
        ozlError(OZL_StsBadArg, kFunc, "( image->depth != 32 )", kAllocModule, 324);
        return;
    }
    const OzlStatus status = layoutStatus(layoutOf(image));
    if (status != OZL_StsOk) {
        ozlError(status, kFunc, kBadDataIns, kAllocModule, 334);
        return;
    }
    allocatePixels(image);
    if (image->imageData != nullptr && doFill != 0) {
        uint32_t bits;
        std::memcpy(&bits, &fillValue, sizeof bits);
        fillWords(image, bits);
    }
}

// Releases what the flags name, the header last. Data the caller supplied
// (no imageDataOrigin) is never freed.
extern "C" OZL_API void OZL_CALL ozlDeallocate(OzlImage* image, int flags) {
    if (image == nullptr) return;
    if ((flags & OZL_IMAGE_ROI) != 0) {
        ozlFree(image->roi);
        image->roi = nullptr;
    }
    if ((flags & OZL_IMAGE_MASK) != 0) {
        ozlDeallocate(image->maskROI, OZL_IMAGE_ALL);
        image->maskROI = nullptr;
    }
    if ((flags & OZL_IMAGE_TILE) != 0) {
        ozlFree(image->tileInfo);
        image->tileInfo = nullptr;
    }
    if ((flags & OZL_IMAGE_DATA) != 0 && image->imageDataOrigin != nullptr) {
        std::free(image->imageDataOrigin);
        image->imageDataOrigin = nullptr;
        image->imageData = nullptr;
    }
    if ((flags & OZL_IMAGE_HEADER) != 0) ozlFree(image);
}

extern "C" OZL_API void OZL_CALL ozlDeallocateHeader(OzlImage* image) {
    ozlDeallocate(image, OZL_IMAGE_HEADER);
}

extern "C" OZL_API void OZL_CALL ozlDeallocateImage(OzlImage* image) {
    if (image->imageDataOrigin != nullptr) std::free(image->imageDataOrigin);
    image->imageData = nullptr;
    image->imageDataOrigin = nullptr;
}

extern "C" OZL_API OzlROI* OZL_CALL ozlCreateROI(int coi, int xOffset, int yOffset, int width,
                                                 int height) {
    auto* roi = static_cast<OzlROI*>(ozlMalloc(static_cast<int>(sizeof(OzlROI))));
    if (roi == nullptr) return nullptr;
    ozlSetROI(roi, coi, xOffset, yOffset, width, height);
    return roi;
}

extern "C" OZL_API void OZL_CALL ozlSetROI(OzlROI* roi, int coi, int xOffset, int yOffset,
                                           int width, int height) {
    if (roi == nullptr) return;
    roi->coi = coi;
    roi->xOffset = xOffset;
    roi->yOffset = yOffset;
    roi->width = width;
    roi->height = height;
}

// ROI and tile records come from ozlMalloc, so their release is ozlFree's.
extern "C" OZL_API OzlTileInfo* OZL_CALL ozlCreateTileInfo(OzlCallBack callBack, void* id,
                                                           int width, int height) {
    auto* tileInfo =
        static_cast<OzlTileInfo*>(ozlMalloc(static_cast<int>(sizeof(OzlTileInfo))));
    if (tileInfo == nullptr) return nullptr;
    ozlSetTileInfo(tileInfo, callBack, id, width, height);
    return tileInfo;
}

extern "C" OZL_API void OZL_CALL ozlSetTileInfo(OzlTileInfo* tileInfo, OzlCallBack callBack,
                                                void* id, int width, int height) {
    if (tileInfo == nullptr) return;
    tileInfo->callBack = callBack;
    tileInfo->id = id;
    tileInfo->tileData = nullptr;
    tileInfo->width = width;
    tileInfo->height = height;
}

extern "C" OZL_API OzlImage* OZL_CALL ozlCloneImage(const OzlImage* image) {
    static constexpr const char* kFunc = "ozlCloneImage";
    if (ozlCheckImageHeader(image) != OZL_StsOk) {
        ozlError(ozlGetErrStatus(), kFunc, "Incorrect Image", kCloneModule, 37);
        return nullptr;
    }
    OzlImage* clone = ozlCreateImageHeader(
        image->nChannels, image->alphaChannel, image->depth, image->colorModel,
        image->channelSeq, image->dataOrder, image->origin, image->align, image->width,
        image->height, nullptr, nullptr, nullptr, nullptr);
    if (clone == nullptr) {
        ozlError(OZL_StsNoMem, kFunc, "Not enough memory to allocate header for clone image",
                 kCloneModule, 57);
        return nullptr;
    }
    // The clone keeps the source's border settings but shares none of its
    // records or data.
    std::memcpy(clone, image, sizeof *clone);
    clone->imageData = nullptr;
    clone->ID = 0;
    clone->imageId = nullptr;
    clone->maskROI = nullptr;
    clone->tileInfo = nullptr;
    if (image->roi != nullptr) {
        const OzlROI& r = *image->roi;
        clone->roi = ozlCreateROI(r.coi, r.xOffset, r.yOffset, r.width, r.height);
        if (clone->roi == nullptr) {
            ozlError(OZL_StsNoMem, kFunc, "Not enough memory to allocate roi for clone image",
                     kCloneModule, 75);
            ozlDeallocate(clone, OZL_IMAGE_HEADER);
            return nullptr;
        }
    }
    if (clone->depth == OZL_DEPTH_32F)
        ozlAllocateImageFP(clone, 0, 0.0f);
    else
        ozlAllocateImage(clone, 0, 0);
    if (clone->imageData == nullptr) {
        ozlError(OZL_StsNoMem, kFunc, "Not enough memory to allocate imageData for clone image",
                 kCloneModule, 88);
        ozlDeallocate(clone, OZL_IMAGE_HEADER | OZL_IMAGE_ROI);
        return nullptr;
    }
    // A source with its own row pitch may hold more bytes than the clone's
    // packed rows; never write past the clone's buffer.
    if (image->tileInfo == nullptr) {
        const int32_t bytes =
            image->imageSize < clone->imageSize ? image->imageSize : clone->imageSize;
        std::memcpy(clone->imageData, image->imageData, static_cast<size_t>(bytes));
    }
    return clone;
}
