// Header creation, pixel allocation and fill, release, ROI/tile records, clone.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;

// Releases a test image with everything the library owns in it except the
// records a test attached itself (those are released by the test).
struct HeaderAndData {
    void operator()(OzlImage* image) const {
        ozlDeallocate(image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    }
};
using ImagePtr = std::unique_ptr<OzlImage, HeaderAndData>;

ImagePtr header(int nChannels, unsigned depth, int width, int height, int dataOrder = 0,
                int align = 4, int alpha = 0) {
    return ImagePtr(ozlCreateImageHeader(nChannels, alpha, depth, "RGB", "BGR", dataOrder, 0,
                                         align, width, height, nullptr, nullptr, nullptr,
                                         nullptr));
}

ImagePtr allocated(int nChannels, unsigned depth, int width, int height, int fill = 0,
                   int dataOrder = 0, int align = 4) {
    ImagePtr image = header(nChannels, depth, width, height, dataOrder, align);
    if (image) ozlAllocateImage(image.get(), 1, fill);
    return image;
}

std::vector<uint32_t> words(const OzlImage* image) {
    std::vector<uint32_t> out(static_cast<size_t>(image->imageSize) / 4);
    std::memcpy(out.data(), image->imageData, out.size() * 4);
    return out;
}

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}

// ---------------------------------------------------------------------------
// Record sizes

TEST(ImageRecords, SizesOn32BitTargets) {
    EXPECT_EQ(sizeof(OzlROI), 20u);
    if (sizeof(void*) == 4) {
        EXPECT_EQ(sizeof(OzlImage), 112u);
        EXPECT_EQ(sizeof(OzlTileInfo), 20u);
    }
}

// ---------------------------------------------------------------------------
// ozlCreateImageHeader

TEST(CreateImageHeader, FillsEveryField) {
    OzlROI roi{1, 2, 3, 4, 5};
    ImagePtr mask = allocated(1, OZL_DEPTH_1U, 7, 5);
    ASSERT_TRUE(mask);
    OzlTileInfo* tile = ozlCreateTileInfo(noTiles, nullptr, 8, 8);
    int tag = 0;
    char model[] = "HSV";
    char seq[] = "RGBA";
    ImagePtr image(ozlCreateImageHeader(4, 4, OZL_DEPTH_16S, model, seq, 1, 1, 16, 7, 5, &roi,
                                        mask.get(), &tag, tile));
    ASSERT_TRUE(image);
    // Names are copied by value.
    std::memcpy(model, "XYZ", 4);
    std::memcpy(seq, "XYZW", 4);

    EXPECT_EQ(image->nSize, static_cast<int32_t>(sizeof(OzlImage)));
    EXPECT_EQ(image->ID, 0);
    EXPECT_EQ(image->nChannels, 4);
    EXPECT_EQ(image->alphaChannel, 4);
    EXPECT_EQ(image->depth, OZL_DEPTH_16S);
    EXPECT_EQ(0, std::memcmp(image->colorModel, "HSV\0", 4));
    EXPECT_EQ(0, std::memcmp(image->channelSeq, "RGBA", 4));
    EXPECT_EQ(image->dataOrder, 1);
    EXPECT_EQ(image->origin, 1);
    EXPECT_EQ(image->align, 16);
    EXPECT_EQ(image->width, 7);
    EXPECT_EQ(image->height, 5);
    EXPECT_EQ(image->roi, &roi);
    EXPECT_EQ(image->maskROI, mask.get());
    EXPECT_EQ(image->imageId, &tag);
    EXPECT_EQ(image->tileInfo, tile);
    EXPECT_EQ(image->widthStep, 16);            // 7 x 16 bits = 14 bytes, to 16
    EXPECT_EQ(image->imageSize, 16 * 5 * 4);    // plane order: every plane
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(image->borderMode[i], 0);
        EXPECT_EQ(image->borderConst[i], 0);
    }
    ozlDeleteTileInfo(tile);
}

TEST(CreateImageHeader, ShortNamesArePaddedWithZeros) {
    ImagePtr image(ozlCreateImageHeader(1, 0, OZL_DEPTH_8U, "", "G", 0, 0, 4, 1, 1, nullptr,
                                        nullptr, nullptr, nullptr));
    ASSERT_TRUE(image);
    EXPECT_EQ(0, std::memcmp(image->colorModel, "\0\0\0\0", 4));
    EXPECT_EQ(0, std::memcmp(image->channelSeq, "G\0\0\0", 4));
}

struct RowCase {
    int nChannels;
    unsigned depth;
    int dataOrder;
    int align;
    int width;
    int height;
    int widthStep;
    int imageSize;
};

class RowSize : public ::testing::TestWithParam<RowCase> {};

TEST_P(RowSize, FollowsTheRowRule) {
    const RowCase& c = GetParam();
    ImagePtr image = header(c.nChannels, c.depth, c.width, c.height, c.dataOrder, c.align);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->widthStep, c.widthStep);
    EXPECT_EQ(image->imageSize, c.imageSize);
    // Allocation recomputes the same layout.
    image->widthStep = 1;
    image->imageSize = 1;
    if (image->depth == OZL_DEPTH_32F)
        ozlAllocateImageFP(image.get(), 0, 0.0f);
    else
        ozlAllocateImage(image.get(), 0, 0);
    ASSERT_NE(image->imageData, nullptr);
    EXPECT_EQ(image->widthStep, c.widthStep);
    EXPECT_EQ(image->imageSize, c.imageSize);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, RowSize,
    ::testing::Values(RowCase{3, OZL_DEPTH_8U, 0, 4, 3, 5, 12, 60},
                      RowCase{1, OZL_DEPTH_1U, 0, 4, 10, 3, 4, 12},
                      RowCase{1, OZL_DEPTH_1U, 0, 4, 33, 2, 8, 16},
                      RowCase{1, OZL_DEPTH_1U, 0, 32, 1, 1, 32, 32},
                      RowCase{3, OZL_DEPTH_16U, 1, 8, 5, 2, 16, 96},
                      RowCase{3, OZL_DEPTH_16S, 0, 8, 7, 1, 48, 48},
                      RowCase{2, OZL_DEPTH_32F, 0, 16, 3, 4, 32, 128},
                      RowCase{4, OZL_DEPTH_32S, 1, 32, 9, 3, 64, 768},
                      RowCase{1, OZL_DEPTH_8S, 0, 8, 8, 2, 8, 16},
                      RowCase{4, OZL_DEPTH_8U, 0, 4, 1, 1, 4, 4}));

struct HeaderCall {
    int nChannels = 3;
    int alpha = 0;
    unsigned depth = OZL_DEPTH_8U;
    const char* model = "RGB";
    const char* seq = "BGR";
    int order = 0;
    int origin = 0;
    int align = 4;
    int width = 4;
    int height = 4;
    OzlImage* mask = nullptr;

    OzlImage* create() const {
        return ozlCreateImageHeader(nChannels, alpha, depth, model, seq, order, origin, align,
                                    width, height, nullptr, mask, nullptr, nullptr);
    }
};

void expectRefused(const HeaderCall& call, OzlStatus status) {
    ErrorCapture errors;
    ozlSetErrStatus(0);
    EXPECT_EQ(call.create(), nullptr);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(),
              (ErrorReport{status, "ozlCreateImageHeader", "Incorrect data-ins", "ozlalloc", 148}));
    EXPECT_EQ(ozlGetErrStatus(), status);
}

// Each case also breaks a later rule, so the order of the checks shows.
TEST(CreateImageHeader, RefusesInCheckOrder) {
    {
        HeaderCall c;
        c.width = 0;
        c.nChannels = 0;
        SCOPED_TRACE("width");
        expectRefused(c, -10);
        c.width = 4;
        c.height = -1;
        expectRefused(c, -10);
    }
    {
        HeaderCall c;
        c.nChannels = 0;
        c.depth = OZL_DEPTH_1U;
        c.model = nullptr;
        SCOPED_TRACE("nChannels");
        expectRefused(c, -15);
    }
    {
        HeaderCall c;
        c.depth = OZL_DEPTH_1U;
        c.nChannels = 2;
        c.model = nullptr;
        SCOPED_TRACE("1-bit channels");
        expectRefused(c, -16);
    }
    {
        HeaderCall c;
        c.model = nullptr;
        c.depth = 24;
        SCOPED_TRACE("colour model");
        expectRefused(c, -14);
        c.model = "RGB";
        c.seq = nullptr;
        expectRefused(c, -14);
    }
    for (unsigned depth : {0u, 2u, 24u, 33u, 64u, 0x80000001u, 0x80000040u, 0x80000000u}) {
        HeaderCall c;
        c.depth = depth;
        c.alpha = 1;
        SCOPED_TRACE(depth);
        expectRefused(c, -17);
    }
    for (int alpha : {-1, 1, 2, 4}) {
        HeaderCall c;
        c.alpha = alpha;
        c.order = 2;
        SCOPED_TRACE(alpha);
        expectRefused(c, -18);
    }
    for (int order : {-1, 2}) {
        HeaderCall c;
        c.order = order;
        c.origin = 2;
        expectRefused(c, -19);
    }
    for (int origin : {-1, 2}) {
        HeaderCall c;
        c.origin = origin;
        c.align = 2;
        expectRefused(c, -20);
    }
    for (int align : {0, 1, 2, 12, 64}) {
        HeaderCall c;
        c.align = align;
        SCOPED_TRACE(align);
        expectRefused(c, -21);
    }
}

TEST(CreateImageHeader, AcceptsEveryLegalValue) {
    ozlSetErrStatus(-3);
    for (unsigned depth : {OZL_DEPTH_1U, OZL_DEPTH_8U, OZL_DEPTH_8S, OZL_DEPTH_16U,
                           OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F}) {
        HeaderCall c;
        c.depth = depth;
        c.nChannels = depth == OZL_DEPTH_1U ? 1 : 3;
        for (int align : {4, 8, 16, 32}) {
            c.align = align;
            c.alpha = c.nChannels;
            c.order = 1;
            c.origin = 1;
            ImagePtr image(c.create());
            EXPECT_TRUE(image) << depth << " " << align;
        }
    }
    EXPECT_EQ(ozlGetErrStatus(), -3);  // success does not clear the status
}

TEST(CreateImageHeader, ChecksTheMask) {
    ImagePtr grey = allocated(1, OZL_DEPTH_8U, 4, 4);
    ImagePtr tiledMask = header(1, OZL_DEPTH_1U, 8, 8);
    OzlTileInfo* tile = ozlCreateTileInfo(noTiles, nullptr, 8, 8);
    tiledMask->tileInfo = tile;
    ImagePtr emptyMask = header(1, OZL_DEPTH_1U, 4, 4);  // no data, not tiled
    ImagePtr goodMask = allocated(1, OZL_DEPTH_1U, 4, 4);

    HeaderCall c;
    c.mask = grey.get();
    {
        SCOPED_TRACE("8-bit mask");
        expectRefused(c, -117);
    }
    {
        SCOPED_TRACE("tiled mask");
        c.mask = tiledMask.get();
        expectRefused(c, -26);
    }
    {
        SCOPED_TRACE("mask without data");
        c.mask = emptyMask.get();
        expectRefused(c, -112);
    }
    {
        SCOPED_TRACE("mask with a bad mask");
        goodMask->maskROI = grey.get();
        c.mask = goodMask.get();
        expectRefused(c, -217);
        goodMask->maskROI = emptyMask.get();
        expectRefused(c, -212);
        goodMask->maskROI = nullptr;
    }
    {
        SCOPED_TRACE("the mask is checked last");
        c.mask = grey.get();
        c.align = 3;
        expectRefused(c, -21);
    }
    c.mask = goodMask.get();
    c.align = 4;
    ImagePtr masked(c.create());
    ASSERT_TRUE(masked);
    EXPECT_EQ(masked->maskROI, goodMask.get());
    tiledMask->tileInfo = nullptr;
    ozlDeleteTileInfo(tile);
}

// ---------------------------------------------------------------------------
// ozlAllocateImage / ozlAllocateImageFP

TEST(AllocateImage, DataIsAlignedInsideItsBlock) {
    for (int align : {4, 8, 16, 32}) {
        for (int order : {0, 1}) {
            ImagePtr image = header(3, OZL_DEPTH_8U, 5, 3, order, align);
            ozlAllocateImage(image.get(), 0, 0);
            ASSERT_NE(image->imageData, nullptr);
            const auto data = reinterpret_cast<uintptr_t>(image->imageData);
            const auto origin = reinterpret_cast<uintptr_t>(image->imageDataOrigin);
            EXPECT_EQ(data % static_cast<uintptr_t>(align), 0u);
            EXPECT_GE(data, origin);
            EXPECT_LT(data - origin, static_cast<uintptr_t>(align));
            std::memset(image->imageData, 0x5A, static_cast<size_t>(image->imageSize));
        }
    }
}

struct FillCase {
    unsigned depth;
    int nChannels;
    int fillValue;
    uint32_t word;
};

class AllocateFill : public ::testing::TestWithParam<FillCase> {};

TEST_P(AllocateFill, RepeatsThePatternOverTheWholeBuffer) {
    const FillCase& c = GetParam();
    // Odd width: row padding is filled as well.
    ImagePtr image = allocated(c.nChannels, c.depth, 5, 3, c.fillValue);
    ASSERT_NE(image->imageData, nullptr);
    for (uint32_t w : words(image.get())) ASSERT_EQ(w, c.word);
}

INSTANTIATE_TEST_SUITE_P(
    Depths, AllocateFill,
    ::testing::Values(FillCase{OZL_DEPTH_1U, 1, 1, 0xFFFFFFFFu},
                      FillCase{OZL_DEPTH_1U, 1, 2, 0u},  // only bit 0 counts
                      FillCase{OZL_DEPTH_1U, 1, 3, 0xFFFFFFFFu},
                      FillCase{OZL_DEPTH_1U, 1, -2, 0u},
                      FillCase{OZL_DEPTH_8U, 3, 0x1234, 0x34343434u},
                      FillCase{OZL_DEPTH_8U, 1, 0, 0u},
                      FillCase{OZL_DEPTH_8S, 2, -1, 0xFFFFFFFFu},
                      FillCase{OZL_DEPTH_8S, 1, -128, 0x80808080u},
                      FillCase{OZL_DEPTH_16U, 3, 0x12345, 0x23452345u},
                      FillCase{OZL_DEPTH_16S, 1, -2, 0xFFFEFFFEu},
                      FillCase{OZL_DEPTH_32S, 3, 0x12345678, 0x12345678u},
                      FillCase{OZL_DEPTH_32S, 1, -7, 0xFFFFFFF9u}));

TEST(AllocateImageFP, FillWritesTheFloatBits) {
    for (float value : {1.5f, -0.0f, -3.25e-39f, 65504.0f}) {
        ImagePtr image = header(3, OZL_DEPTH_32F, 3, 3, 0, 16);
        ozlAllocateImageFP(image.get(), 1, value);
        ASSERT_NE(image->imageData, nullptr);
        uint32_t bits;
        std::memcpy(&bits, &value, 4);
        for (uint32_t w : words(image.get())) ASSERT_EQ(w, bits);
    }
}

TEST(AllocateImage, RefusesInCheckOrder) {
    ErrorCapture errors;
    const char* const kFunc = "ozlAllocateImage";

    ozlAllocateImage(nullptr, 1, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, kFunc, "( image == ((void *)0) )", "ozlalloc", 256}));

    // Existing data is left untouched, even by a fill, and even on a float image.
    ImagePtr image = allocated(1, OZL_DEPTH_8U, 4, 4, 7);
    char* const data = image->imageData;
    char* const origin = image->imageDataOrigin;
    image->depth = OZL_DEPTH_32F;
    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
    image->tileInfo = &tile;
    ozlAllocateImage(image.get(), 1, 9);
    EXPECT_EQ(errors.last(),
              (ErrorReport{-5, kFunc, "( image->imageData != ((void *)0) )", "ozlalloc", 257}));
    EXPECT_EQ(image->imageData, data);
    EXPECT_EQ(image->imageDataOrigin, origin);
    for (uint32_t w : words(image.get())) ASSERT_EQ(w, 0x07070707u);
    image->depth = OZL_DEPTH_8U;
    image->tileInfo = nullptr;

    ImagePtr bare = header(1, OZL_DEPTH_32F, 4, 4);
    bare->tileInfo = &tile;
    ozlAllocateImage(bare.get(), 0, 0);
    EXPECT_EQ(errors.last(),
              (ErrorReport{-5, kFunc, "( image->tileInfo != ((void *)0) )", "ozlalloc", 258}));
    bare->tileInfo = nullptr;
    bare->align = 3;
    ozlAllocateImage(bare.get(), 0, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, kFunc, "( image->depth == 32 )", "ozlalloc", 259}));

    bare->depth = OZL_DEPTH_8U;
    ozlAllocateImage(bare.get(), 0, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-21, kFunc, "Incorrect data-ins", "ozlalloc", 269}));
    bare->align = 4;
    bare->width = 0;
    bare->nChannels = 0;
    ozlAllocateImage(bare.get(), 0, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-10, kFunc, "Incorrect data-ins", "ozlalloc", 269}));
    bare->width = 4;
    bare->nChannels = 1;
    bare->maskROI = image.get();  // 8-bit
    ozlAllocateImage(bare.get(), 0, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-117, kFunc, "Incorrect data-ins", "ozlalloc", 269}));
    EXPECT_EQ(ozlGetErrStatus(), -117);
    bare->maskROI = nullptr;
    EXPECT_EQ(bare->imageData, nullptr);
    EXPECT_EQ(errors.count(), 7u);

    ozlAllocateImage(bare.get(), 0, 0);
    EXPECT_NE(bare->imageData, nullptr);
    EXPECT_EQ(errors.count(), 7u);
}

TEST(AllocateImageFP, RefusesInCheckOrder) {
    ErrorCapture errors;
    const char* const kFunc = "ozlAllocateImageFP";

    ozlAllocateImageFP(nullptr, 1, 0.0f);
    EXPECT_EQ(errors.last(), (ErrorReport{-5, kFunc, "( image == ((void *)0) )", "ozlalloc", 321}));

    ImagePtr image = header(1, OZL_DEPTH_32F, 4, 4);
    ozlAllocateImageFP(image.get(), 1, 2.0f);
    ASSERT_NE(image->imageData, nullptr);
    char* const data = image->imageData;
    ozlAllocateImageFP(image.get(), 1, 3.0f);
    EXPECT_EQ(errors.last(),
              (ErrorReport{-5, kFunc, "( image->imageData != ((void *)0) )", "ozlalloc", 322}));
    EXPECT_EQ(image->imageData, data);
    for (uint32_t w : words(image.get())) ASSERT_EQ(w, 0x40000000u);

    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
    ImagePtr bare = header(1, OZL_DEPTH_8U, 4, 4);
    bare->tileInfo = &tile;
    ozlAllocateImageFP(bare.get(), 0, 0.0f);
    EXPECT_EQ(errors.last(),
              (ErrorReport{-5, kFunc, "( image->tileInfo != ((void *)0) )", "ozlalloc", 323}));
    bare->tileInfo = nullptr;
    for (unsigned depth : {OZL_DEPTH_8U, OZL_DEPTH_32S, OZL_DEPTH_1U}) {
        bare->depth = depth;
        ozlAllocateImageFP(bare.get(), 0, 0.0f);
        EXPECT_EQ(errors.last(), (ErrorReport{-5, kFunc, "( image->depth != 32 )", "ozlalloc", 324}));
    }
    bare->depth = OZL_DEPTH_32F;
    bare->alphaChannel = 2;
    ozlAllocateImageFP(bare.get(), 0, 0.0f);
    EXPECT_EQ(errors.last(), (ErrorReport{-18, kFunc, "Incorrect data-ins", "ozlalloc", 334}));
    EXPECT_EQ(bare->imageData, nullptr);
    EXPECT_EQ(errors.count(), 7u);
}

TEST(AllocateImage, TooLargeFailsSilently) {
    ErrorCapture errors;
    ozlSetErrStatus(0);
    ImagePtr image = header(4, OZL_DEPTH_32S, 1 << 15, 1 << 15);
    ASSERT_TRUE(image);
    ozlAllocateImage(image.get(), 1, 0);
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
    ImagePtr fp = header(4, OZL_DEPTH_32F, 1 << 15, 1 << 15);
    ozlAllocateImageFP(fp.get(), 1, 0.0f);
    EXPECT_EQ(fp->imageData, nullptr);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(ozlGetErrStatus(), 0);
}

// ---------------------------------------------------------------------------
// Release

// An image carrying one of each record the library can release.
struct Dressed {
    OzlImage* image;
    Dressed() {
        image = header(1, OZL_DEPTH_8U, 8, 8).release();
        ozlAllocateImage(image, 0, 0);
        image->roi = ozlCreateROI(0, 1, 1, 2, 2);
        image->tileInfo = ozlCreateTileInfo(noTiles, nullptr, 8, 8);
        OzlImage* mask = header(1, OZL_DEPTH_1U, 8, 8).release();
        ozlAllocateImage(mask, 0, 0);
        mask->roi = ozlCreateROI(0, 0, 0, 1, 1);
        mask->tileInfo = ozlCreateTileInfo(noTiles, nullptr, 16, 16);
        image->maskROI = mask;
    }
    ~Dressed() { ozlDeallocate(image, OZL_IMAGE_ALL | OZL_IMAGE_MASK); }
};

TEST(Deallocate, EachFlagReleasesItsPart) {
    Dressed d;
    OzlImage* image = d.image;
    char* const data = image->imageData;
    OzlTileInfo* const tile = image->tileInfo;

    ozlDeallocate(image, OZL_IMAGE_ROI);
    EXPECT_EQ(image->roi, nullptr);
    EXPECT_NE(image->maskROI, nullptr);
    EXPECT_EQ(image->tileInfo, tile);
    EXPECT_EQ(image->imageData, data);

    // The mask goes with its own ROI, tile record and data (leak-checked).
    ozlDeallocate(image, OZL_IMAGE_MASK);
    EXPECT_EQ(image->maskROI, nullptr);
    EXPECT_EQ(image->tileInfo, tile);

    ozlDeallocate(image, OZL_IMAGE_TILE);
    EXPECT_EQ(image->tileInfo, nullptr);
    EXPECT_EQ(image->imageData, data);

    ozlDeallocate(image, OZL_IMAGE_DATA);
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
    EXPECT_EQ(image->width, 8);
}

TEST(Deallocate, AllFlagsTogether) {
    Dressed d;
    ozlDeallocate(d.image, OZL_IMAGE_ALL | OZL_IMAGE_MASK);
    d.image = nullptr;  // freed; the destructor's call is then a no-op
}

TEST(Deallocate, AllWithoutMaskLeavesTheMask) {
    Dressed d;
    OzlImage* mask = d.image->maskROI;
    ozlDeallocate(d.image, OZL_IMAGE_ALL);
    d.image = mask;  // the mask survives and is released with its own records
}

TEST(Deallocate, CallerDataIsNotReleased) {
    alignas(4) char pixels[16] = {1, 2, 3};
    ImagePtr image = header(1, OZL_DEPTH_8U, 4, 4);
    image->imageData = pixels;
    ozlDeallocate(image.get(), OZL_IMAGE_DATA);
    EXPECT_EQ(image->imageData, pixels);
    EXPECT_EQ(pixels[2], 3);

    // ozlDeallocateImage forgets the pointer whoever owns it, freeing only its own.
    ozlDeallocateImage(image.get());
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
}

TEST(Deallocate, NullAndEmptyAreHarmless) {
    ozlDeallocate(nullptr, OZL_IMAGE_ALL | OZL_IMAGE_MASK);
    OzlImage* image = header(1, OZL_DEPTH_8U, 4, 4).release();
    ozlDeallocate(image, OZL_IMAGE_ALL | OZL_IMAGE_MASK);  // nothing but the header to free
}

TEST(Deallocate, HeaderAndImageFunctions) {
    ImagePtr image = allocated(3, OZL_DEPTH_16U, 5, 5);
    ozlDeallocateImage(image.get());
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
    ozlDeallocateImage(image.get());  // twice is harmless
    ozlDeallocateHeader(image.release());
    ozlDeallocateHeader(nullptr);
}

// ---------------------------------------------------------------------------
// ROI and tile records

TEST(RoiRecord, CreateAndSetStoreValuesUnchecked) {
    OzlROI* roi = ozlCreateROI(-1, -2, 3, 0, -5);
    ASSERT_NE(roi, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(roi) % 32, 0u);  // an ozlMalloc block
    EXPECT_EQ(roi->coi, -1);
    EXPECT_EQ(roi->xOffset, -2);
    EXPECT_EQ(roi->yOffset, 3);
    EXPECT_EQ(roi->width, 0);
    EXPECT_EQ(roi->height, -5);
    ozlSetROI(roi, 9, 8, 7, 6, 5);
    EXPECT_EQ(roi->coi, 9);
    EXPECT_EQ(roi->xOffset, 8);
    EXPECT_EQ(roi->yOffset, 7);
    EXPECT_EQ(roi->width, 6);
    EXPECT_EQ(roi->height, 5);
    ozlSetROI(nullptr, 1, 2, 3, 4, 5);
    ozlDeleteROI(roi);
    ozlDeleteROI(nullptr);
}

TEST(RoiRecord, DeleteAndFreeAreInterchangeable) {
    ozlFree(ozlCreateROI(0, 0, 0, 1, 1));
    ozlDeleteROI(static_cast<OzlROI*>(ozlMalloc(20)));
    ozlFree(ozlCreateTileInfo(noTiles, nullptr, 8, 8));
    ozlDeleteTileInfo(static_cast<OzlTileInfo*>(ozlMalloc(20)));
}

TEST(TileRecord, SetClearsTileData) {
    int id = 0;
    OzlTileInfo* tile = ozlCreateTileInfo(noTiles, &id, 12, -3);
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(tile->callBack, &noTiles);
    EXPECT_EQ(tile->id, &id);
    EXPECT_EQ(tile->tileData, nullptr);
    EXPECT_EQ(tile->width, 12);
    EXPECT_EQ(tile->height, -3);
    char buffer[4];
    tile->tileData = buffer;
    ozlSetTileInfo(tile, nullptr, nullptr, 16, 24);
    EXPECT_EQ(tile->callBack, nullptr);
    EXPECT_EQ(tile->id, nullptr);
    EXPECT_EQ(tile->tileData, nullptr);
    EXPECT_EQ(tile->width, 16);
    EXPECT_EQ(tile->height, 24);
    ozlSetTileInfo(nullptr, noTiles, nullptr, 8, 8);
    ozlDeleteTileInfo(tile);
    ozlDeleteTileInfo(nullptr);
}

// ---------------------------------------------------------------------------
// ozlCloneImage

struct CloneRelease {
    void operator()(OzlImage* image) const {
        ozlDeallocate(image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA | OZL_IMAGE_ROI);
    }
};
using ClonePtr = std::unique_ptr<OzlImage, CloneRelease>;

TEST(CloneImage, CopiesLayoutBordersRoiAndData) {
    ImagePtr source = header(3, OZL_DEPTH_8S, 5, 4, 1, 8, 3);
    ozlAllocateImage(source.get(), 0, 0);
    for (int i = 0; i < source->imageSize; ++i) source->imageData[i] = static_cast<char>(i * 7);
    OzlROI roi{2, 1, 2, 3, 1};
    source->roi = &roi;
    ImagePtr mask = allocated(1, OZL_DEPTH_1U, 5, 4, 1);
    source->maskROI = mask.get();
    int tag = 0;
    source->imageId = &tag;
    source->ID = 5;
    ozlSetBorderMode(source.get(), 2, OZL_SIDE_LEFT | OZL_SIDE_TOP, -200);
    ozlSetBorderMode(source.get(), 3, OZL_SIDE_RIGHT, 77);

    ClonePtr clone(ozlCloneImage(source.get()));
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->nSize, source->nSize);
    EXPECT_EQ(clone->ID, 0);
    EXPECT_EQ(clone->nChannels, 3);
    EXPECT_EQ(clone->alphaChannel, 3);
    EXPECT_EQ(clone->depth, OZL_DEPTH_8S);
    EXPECT_EQ(0, std::memcmp(clone->colorModel, source->colorModel, 4));
    EXPECT_EQ(0, std::memcmp(clone->channelSeq, source->channelSeq, 4));
    EXPECT_EQ(clone->dataOrder, 1);
    EXPECT_EQ(clone->align, 8);
    EXPECT_EQ(clone->width, 5);
    EXPECT_EQ(clone->height, 4);
    EXPECT_EQ(clone->maskROI, nullptr);
    EXPECT_EQ(clone->imageId, nullptr);
    EXPECT_EQ(clone->tileInfo, nullptr);
    EXPECT_EQ(clone->widthStep, source->widthStep);
    EXPECT_EQ(clone->imageSize, source->imageSize);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(clone->borderMode[i], source->borderMode[i]);
        EXPECT_EQ(clone->borderConst[i], source->borderConst[i]);
    }
    EXPECT_EQ(clone->borderConst[OZL_SIDE_LEFT_INDEX], -128);
    EXPECT_EQ(clone->borderMode[OZL_SIDE_RIGHT_INDEX], 3);

    ASSERT_NE(clone->roi, nullptr);
    EXPECT_NE(clone->roi, &roi);
    EXPECT_EQ(clone->roi->coi, 2);
    EXPECT_EQ(clone->roi->xOffset, 1);
    EXPECT_EQ(clone->roi->yOffset, 2);
    EXPECT_EQ(clone->roi->width, 3);
    EXPECT_EQ(clone->roi->height, 1);

    ASSERT_NE(clone->imageData, nullptr);
    EXPECT_NE(clone->imageData, source->imageData);
    EXPECT_NE(clone->imageDataOrigin, source->imageDataOrigin);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(clone->imageData) % 8, 0u);
    EXPECT_EQ(0, std::memcmp(clone->imageData, source->imageData,
                             static_cast<size_t>(source->imageSize)));

    // Independent afterwards.
    clone->imageData[0] = 99;
    clone->roi->width = 1;
    EXPECT_EQ(source->imageData[0], 0);
    EXPECT_EQ(roi.width, 3);
    source->roi = nullptr;
    source->maskROI = nullptr;
}

TEST(CloneImage, FloatAndUntouchedStatus) {
    ImagePtr source = header(1, OZL_DEPTH_32F, 3, 2, 0, 32);
    ozlAllocateImageFP(source.get(), 1, -2.5f);
    ozlSetErrStatus(-7);
    ClonePtr clone(ozlCloneImage(source.get()));
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->roi, nullptr);
    EXPECT_EQ(ozlGetErrStatus(), -7);
    for (uint32_t w : words(clone.get())) ASSERT_EQ(w, 0xC0200000u);
}

TEST(CloneImage, TiledSourceGivesUntiledClone) {
    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
    ImagePtr source = header(1, OZL_DEPTH_16U, 20, 10);
    source->tileInfo = &tile;
    source->imageSize = 0;
    source->widthStep = 0;
    ClonePtr clone(ozlCloneImage(source.get()));
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->tileInfo, nullptr);
    ASSERT_NE(clone->imageData, nullptr);
    EXPECT_EQ(clone->widthStep, 40);
    EXPECT_EQ(clone->imageSize, 400);
    source->tileInfo = nullptr;
}

TEST(CloneImage, CallerPitchIsRepackedByTheRowRule) {
    std::vector<uint32_t> pixels(64, 0x01020304u);
    ImagePtr source = header(1, OZL_DEPTH_8U, 4, 4);
    source->imageData = reinterpret_cast<char*>(pixels.data());
    source->widthStep = 64;
    source->imageSize = 256;
    ClonePtr clone(ozlCloneImage(source.get()));
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->widthStep, 4);
    EXPECT_EQ(clone->imageSize, 16);
    EXPECT_EQ(clone->imageDataOrigin != nullptr, true);
    for (uint32_t w : words(clone.get())) EXPECT_EQ(w, 0x01020304u);
    source->imageData = nullptr;
}

TEST(CloneImage, RefusesAnInvalidImage) {
    ErrorCapture errors;
    EXPECT_EQ(ozlCloneImage(nullptr), nullptr);
    EXPECT_EQ(errors.last(), (ErrorReport{-9, "ozlCloneImage", "Incorrect Image", "ozlClone", 37}));

    ImagePtr source = allocated(1, OZL_DEPTH_8U, 4, 4);
    ImagePtr mask = header(1, OZL_DEPTH_1U, 4, 4);  // no data
    source->maskROI = mask.get();
    EXPECT_EQ(ozlCloneImage(source.get()), nullptr);
    EXPECT_EQ(errors.last(),
              (ErrorReport{-112, "ozlCloneImage", "Incorrect Image", "ozlClone", 37}));
    EXPECT_EQ(ozlGetErrStatus(), -112);
    source->maskROI = nullptr;
    EXPECT_EQ(errors.count(), 2u);
}

// A valid caller-data header far too large to copy: the clone's pixel
// allocation fails and the half-made clone (with its ROI) is released.
TEST(CloneImage, ReportsMissingPixelMemory) {
    ErrorCapture errors;
    alignas(4) char pixels[4] = {};
    ImagePtr source = header(4, OZL_DEPTH_32S, 1 << 15, 1 << 15);
    source->imageData = pixels;
    source->imageSize = 4;
    source->widthStep = 4;
    OzlROI roi{0, 0, 0, 1, 1};
    source->roi = &roi;
    EXPECT_EQ(ozlCloneImage(source.get()), nullptr);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(),
              (ErrorReport{-4, "ozlCloneImage",
                           "Not enough memory to allocate imageData for clone image", "ozlClone",
                           88}));
    source->imageData = nullptr;
    source->roi = nullptr;
}

}  // namespace
