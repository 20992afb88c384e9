// Header creation, pixel allocation and fill, release, ROI/tile records, clone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using namespace ozl::test;

// Releases the header, library-owned data and the ROI; other records stay the test's.
struct Release {
    void operator()(OzlImage* image) const { ozlDeallocate(image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA | OZL_IMAGE_ROI); }
};
using ImagePtr = std::unique_ptr<OzlImage, Release>;

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}
OzlTileInfo g_tile{noTiles, nullptr, nullptr, 8, 8};

ImagePtr header(int nChannels, unsigned depth, int width, int height, int order = 0, int align = 4, int alpha = 0,
                OzlTileInfo* tile = nullptr) {
    return ImagePtr(ozlCreateImageHeader(nChannels, alpha, depth, "RGB", "BGR", order, order, align, width, height,
                                         nullptr, nullptr, nullptr, tile));
}

// Every 32-bit word of the buffer holds `word`.
void expectWords(const OzlImage* image, uint32_t word) {
    std::vector<uint32_t> w(static_cast<size_t>(image->imageSize) / 4);
    std::memcpy(w.data(), image->imageData, w.size() * 4);
    EXPECT_EQ(std::count(w.begin(), w.end(), word), static_cast<std::ptrdiff_t>(w.size())) << std::hex << word;
}

TEST(CreateImageHeader, FillsEveryField) {
    OzlROI roi{1, 2, 3, 4, 5};
    TestImage mask(OZL_DEPTH_1U, 7, 5);
    int tag = 0;
    char model[] = "HSV", seq[] = "RG";
    ImagePtr image(ozlCreateImageHeader(4, 4, OZL_DEPTH_16S, model, seq, 1, 1, 16, 7, 5, &roi, mask, &tag, &g_tile));
    ASSERT_TRUE(image);
    std::memcpy(model, "XYZ", 4);  // the names are copied, not kept
    // Plane order: 7 x 16 bits = 14 bytes, padded to 16, times 5 rows and 4 planes.
    EXPECT_EQ((std::vector<int64_t>{image->nSize, image->ID, image->nChannels, image->alphaChannel, image->depth,
                                    image->dataOrder, image->origin, image->align, image->width, image->height,
                                    image->widthStep, image->imageSize}),
              (std::vector<int64_t>{sizeof(OzlImage), 0, 4, 4, OZL_DEPTH_16S, 1, 1, 16, 7, 5, 16, 16 * 5 * 4}));
    EXPECT_EQ(0, std::memcmp(image->colorModel, "HSV\0", 4) | std::memcmp(image->channelSeq, "RG\0\0", 4));
    EXPECT_EQ((std::vector<const void*>{image->roi, image->maskROI, image->imageId, image->tileInfo, image->imageData}),
              (std::vector<const void*>{&roi, mask.get(), &tag, &g_tile, nullptr}));
    const int32_t zeros[4] = {};
    EXPECT_EQ(0, std::memcmp(image->borderMode, zeros, sizeof zeros) | std::memcmp(image->borderConst, zeros, sizeof zeros));
    image->roi = nullptr;
}

// Header creation and both allocations lay rows out by the same rule; the data
// starts aligned inside its own block; success leaves the status alone.
TEST(CreateImageHeader, RowRuleAndAlignedData) {
    const struct { int nChannels; unsigned depth; int order, align, width, height, step, size; } layouts[] = {
        {3, OZL_DEPTH_8U, 0, 4, 3, 5, 12, 60},   {1, OZL_DEPTH_1U, 0, 4, 33, 2, 8, 16}, {1, OZL_DEPTH_1U, 0, 32, 1, 1, 32, 32},
        {3, OZL_DEPTH_16U, 1, 8, 5, 2, 16, 96},  {2, OZL_DEPTH_32F, 0, 16, 3, 4, 32, 128},
        {4, OZL_DEPTH_32S, 1, 32, 9, 3, 64, 768}, {1, OZL_DEPTH_8S, 0, 8, 8, 2, 8, 16}};
    ErrorCapture errors;
    ozlSetErrStatus(-3);
    for (const auto& l : layouts) {
        SCOPED_TRACE(testing::Message() << l.nChannels << " x " << l.depth << ", order " << l.order << ", align " << l.align);
        ImagePtr image = header(l.nChannels, l.depth, l.width, l.height, l.order, l.align, l.order ? l.nChannels : 0);
        ASSERT_TRUE(image);
        EXPECT_EQ(std::make_pair(image->widthStep, image->imageSize), std::make_pair(l.step, l.size));
        image->widthStep = image->imageSize = 1;  // allocation recomputes both
        l.depth == OZL_DEPTH_32F ? ozlAllocateImageFP(image.get(), 0, 0.0f) : ozlAllocateImage(image.get(), 0, 0);
        ASSERT_NE(image->imageData, nullptr);
        EXPECT_EQ(std::make_pair(image->widthStep, image->imageSize), std::make_pair(l.step, l.size));
        const auto data = reinterpret_cast<uintptr_t>(image->imageData);
        EXPECT_EQ(data % static_cast<uintptr_t>(l.align), 0u);
        EXPECT_LT(data - reinterpret_cast<uintptr_t>(image->imageDataOrigin), static_cast<uintptr_t>(l.align));
        std::memset(image->imageData, 0x5A, static_cast<size_t>(image->imageSize));
    }
    EXPECT_EQ(ozlGetErrStatus(), -3);
    EXPECT_TRUE(errors.empty());
}

struct HeaderCall {
    int nChannels = 3, alpha = 0;
    unsigned depth = OZL_DEPTH_8U;
    const char *model = "RGB", *seq = "BGR";
    int order = 0, origin = 0, align = 4, width = 4, height = 4;
    OzlImage* mask = nullptr;
    OzlTileInfo* tile = nullptr;
};

// Each case also breaks a later rule, so the order of the checks shows. Layouts
// whose row or image does not fit the 32-bit widthStep and imageSize used to be
// stored truncated (a row of 2^32 + 4 bytes as 4), tiled or not.
TEST(CreateImageHeader, RefusesInCheckOrder) {
    TestImage grey(OZL_DEPTH_8U, 4, 4), overGrey(OZL_DEPTH_1U, 4, 4), overEmpty(OZL_DEPTH_1U, 4, 4);
    ImagePtr emptyMask = header(1, OZL_DEPTH_1U, 4, 4), tiledMask = header(1, OZL_DEPTH_1U, 8, 8, 0, 4, 0, &g_tile);
    overGrey.setMask(&grey), overEmpty->maskROI = emptyMask.get();
    constexpr int kMax = 2147483647;
#define SET(...) [&](HeaderCall& c, int64_t v) { (void)v; __VA_ARGS__; }
    const struct { std::string what; std::function<void(HeaderCall&, int64_t)> change; OzlStatus status; std::vector<int64_t> values = {0}; } cases[] = {
        {"width", SET(c.width = 0; c.nChannels = 0), -10},
        {"height", SET(c.height = -1; c.nChannels = 0), -10},
        {"channels", SET(c.nChannels = 0; c.depth = OZL_DEPTH_1U; c.model = nullptr), -15},
        {"1-bit channels", SET(c.nChannels = 2; c.depth = OZL_DEPTH_1U; c.model = nullptr), -16},
        {"colour model", SET(c.model = nullptr; c.depth = 24), -14},
        {"channel sequence", SET(c.seq = nullptr; c.depth = 24), -14},
        {"depth", SET(c.depth = static_cast<unsigned>(v); c.alpha = 1), -17, {0, 2, 24, 33, 0x80000001, 0x80000000}},
        {"alpha", SET(c.alpha = v; c.order = 2), -18, {-1, 1, 4}},
        {"order", SET(c.order = v; c.origin = 2), -19, {-1, 2}},
        {"origin", SET(c.origin = v; c.align = 2), -20, {-1, 2}},
        {"align", SET(c.align = v), -21, {0, 2, 12, 64}},
        {"8-bit mask", SET(c.mask = grey), -117},
        {"tiled mask", SET(c.mask = tiledMask.get()), -26},
        {"mask without data", SET(c.mask = emptyMask.get()), -112},
        {"mask with an 8-bit mask", SET(c.mask = overGrey), -217},
        {"mask with a mask without data", SET(c.mask = overEmpty), -212},
        {"the mask is checked last", SET(c.mask = grey; c.align = 3), -21},
        {"row of 2^32 + 4 bytes", SET(c.nChannels = 1; c.depth = OZL_DEPTH_32F; c.width = (1 << 30) + 1; c.tile = v ? &g_tile : nullptr), -10, {0, 1}},
        {"row bits past 64 bits", SET(c.nChannels = kMax; c.depth = OZL_DEPTH_32S; c.width = kMax; c.height = 1), -10},
        {"row rounded up to 2^31", SET(c.nChannels = 1; c.width = kMax; c.height = 1), -10},
        {"image of 2^31 bytes", SET(c.nChannels = 1; c.width = 1 << 16; c.height = 1 << 15; c.tile = v ? &g_tile : nullptr), -10, {0, 1}},
        {"two planes of 2^31 bytes", SET(c.nChannels = 2; c.depth = OZL_DEPTH_16S; c.order = 1; c.width = 1 << 14; c.height = 1 << 16), -10},
    };
#undef SET
    for (const auto& r : cases)
        for (int64_t v : r.values) {
            SCOPED_TRACE(r.what + " " + std::to_string(v));
            HeaderCall c;
            r.change(c, v);
            ErrorCapture errors;
            EXPECT_EQ(ozlCreateImageHeader(c.nChannels, c.alpha, c.depth, c.model, c.seq, c.order, c.origin, c.align,
                                           c.width, c.height, nullptr, c.mask, nullptr, c.tile), nullptr);
            ASSERT_EQ(errors.count(), 1u);
            EXPECT_EQ(errors.last(), (ErrorReport{r.status, "ozlCreateImageHeader", "Incorrect data-ins", "ozlalloc", 148}));
            EXPECT_EQ(ozlGetErrStatus(), r.status);
        }
    ErrorCapture errors;  // the largest row that fits is accepted as it is
    ImagePtr largest = header(1, OZL_DEPTH_8U, kMax - 3, 1);
    ASSERT_TRUE(largest);
    EXPECT_EQ(std::make_pair(largest->widthStep, largest->imageSize), std::make_pair(kMax - 3, kMax - 3));
    EXPECT_TRUE(errors.empty());
}

TEST(AllocateImage, FillRepeatsThePatternOverTheWholeBuffer) {
    const struct { unsigned depth; int nChannels, value; uint32_t word; } fills[] = {
        {OZL_DEPTH_1U, 1, 2, 0u}, {OZL_DEPTH_1U, 1, -1, 0xFFFFFFFFu},  // 1U: only bit 0 counts
        {OZL_DEPTH_8U, 3, 0x1234, 0x34343434u}, {OZL_DEPTH_16U, 3, 0x12345, 0x23452345u}, {OZL_DEPTH_32S, 3, -7, 0xFFFFFFF9u}};
    for (const auto& f : fills) {
        ImagePtr image = header(f.nChannels, f.depth, 5, 3);  // odd width: padding filled too
        ozlAllocateImage(image.get(), 1, f.value);
        ASSERT_NE(image->imageData, nullptr);
        expectWords(image.get(), f.word);
    }
    for (float value : {-0.0f, -3.25e-39f, 65504.0f}) {
        ImagePtr image = header(3, OZL_DEPTH_32F, 3, 3, 0, 16);
        ozlAllocateImageFP(image.get(), 1, value);
        ASSERT_NE(image->imageData, nullptr);
        uint32_t bits;
        std::memcpy(&bits, &value, 4);
        expectWords(image.get(), bits);
    }
}

// Each case also breaks a later rule; existing pixels are never touched. A
// header changed after creation is measured again: nothing is allocated for a
// size that does not fit the fields.
TEST(AllocateImage, RefusesInCheckOrder) {
    TestImage grey(OZL_DEPTH_8U, 4, 4);
    alignas(32) char pixels[64];
    const char *const kInt = "ozlAllocateImage", *const kFP = "ozlAllocateImageFP", *const kRecheck = "Incorrect data-ins";
    const auto callerData = [&](OzlImage* i) { i->imageData = pixels; i->tileInfo = &g_tile; };
    const auto none = [](OzlImage*) {};
    // A 4x4 one-channel header of `depth`, changed; no change: the call gets a NULL image.
    const struct { const char* func; unsigned depth; std::function<void(OzlImage*)> change; OzlStatus status; const char* context; int line; } cases[] = {
        {kInt, OZL_DEPTH_8U, nullptr, -5, "( image == ((void *)0) )", 256},
        {kInt, OZL_DEPTH_32F, callerData, -5, "( image->imageData != ((void *)0) )", 257},
        {kInt, OZL_DEPTH_32F, [&](OzlImage* i) { i->tileInfo = &g_tile; i->align = 3; }, -5, "( image->tileInfo != ((void *)0) )", 258},
        {kInt, OZL_DEPTH_32F, [](OzlImage* i) { i->align = 3; }, -5, "( image->depth == 32 )", 259},
        {kInt, OZL_DEPTH_8U, [](OzlImage* i) { i->align = 3; }, -21, kRecheck, 269},
        {kInt, OZL_DEPTH_8U, [&](OzlImage* i) { i->maskROI = grey; }, -117, kRecheck, 269},
        {kInt, OZL_DEPTH_8U, [](OzlImage* i) { i->width = (1 << 30) + 1; i->nChannels = i->alphaChannel = 4; }, -10, kRecheck, 269},
        {kFP, OZL_DEPTH_32F, nullptr, -5, "( image == ((void *)0) )", 321},
        {kFP, OZL_DEPTH_32F, callerData, -5, "( image->imageData != ((void *)0) )", 322},
        {kFP, OZL_DEPTH_8U, [&](OzlImage* i) { i->tileInfo = &g_tile; }, -5, "( image->tileInfo != ((void *)0) )", 323},
        {kFP, OZL_DEPTH_32S, none, -5, "( image->depth != 32 )", 324},
        {kFP, OZL_DEPTH_1U, none, -5, "( image->depth != 32 )", 324},
        {kFP, OZL_DEPTH_32F, [](OzlImage* i) { i->alphaChannel = 2; }, -18, kRecheck, 334},
        {kFP, OZL_DEPTH_32F, [](OzlImage* i) { i->height = 1 << 30; }, -10, kRecheck, 334},
    };
    for (const auto& r : cases) {
        SCOPED_TRACE(testing::Message() << r.func << " line " << r.line << " depth " << r.depth << " status " << r.status);
        std::memset(pixels, 7, sizeof pixels);
        ImagePtr image = header(1, r.depth, 4, 4);
        if (r.change) r.change(image.get());
        char* const data = image->imageData;
        ErrorCapture errors;
        OzlImage* const target = r.change ? image.get() : nullptr;
        r.func == kFP ? ozlAllocateImageFP(target, 1, 3.0f) : ozlAllocateImage(target, 1, 9);
        ASSERT_EQ(errors.count(), 1u);
        EXPECT_EQ(errors.last(), (ErrorReport{r.status, r.func, r.context, "ozlalloc", r.line}));
        EXPECT_EQ(ozlGetErrStatus(), r.status);
        EXPECT_EQ(std::make_pair(image->imageData, image->imageDataOrigin), std::make_pair(data, static_cast<char*>(nullptr)));
        EXPECT_TRUE(std::all_of(pixels, pixels + sizeof pixels, [](char c) { return c == 7; }));
    }
}

// An image carrying one of each record the library can release; its mask has
// its own ROI, tile record and data (leaks show under the sanitizer build).
OzlImage* dressed() {
    OzlImage* image = header(1, OZL_DEPTH_8U, 8, 8).release();
    OzlImage* mask = header(1, OZL_DEPTH_1U, 8, 8).release();
    ozlAllocateImage(image, 0, 0), ozlAllocateImage(mask, 0, 0);
    image->roi = ozlCreateROI(0, 1, 1, 2, 2), mask->roi = ozlCreateROI(0, 0, 0, 1, 1);
    image->tileInfo = ozlCreateTileInfo(noTiles, nullptr, 8, 8), mask->tileInfo = ozlCreateTileInfo(noTiles, nullptr, 16, 16);
    image->maskROI = mask;
    return image;
}

TEST(Deallocate, EachFlagReleasesItsPartOnly) {
    OzlImage* image = dressed();
    const void* const parts[4] = {image->roi, image->maskROI, image->tileInfo, image->imageData};
    const int flags[4] = {OZL_IMAGE_ROI, OZL_IMAGE_MASK, OZL_IMAGE_TILE, OZL_IMAGE_DATA};
    for (int step = 0; step < 4; ++step) {
        ozlDeallocate(image, flags[step]);
        const void* now[4] = {image->roi, image->maskROI, image->tileInfo, image->imageData};
        for (int k = 0; k < 4; ++k) EXPECT_EQ(now[k], k <= step ? nullptr : parts[k]) << step << " " << k;
        EXPECT_EQ(image->imageDataOrigin == nullptr, step == 3);
    }
    ozlDeallocate(image, OZL_IMAGE_HEADER);
    ozlDeallocate(dressed(), OZL_IMAGE_ALL | OZL_IMAGE_MASK);
    image = dressed();
    OzlImage* survivor = image->maskROI;  // without OZL_IMAGE_MASK the mask survives
    ozlDeallocate(image, OZL_IMAGE_ALL);
    EXPECT_EQ(survivor->width, 8);
    ozlDeallocate(survivor, OZL_IMAGE_ALL);
    ozlDeallocate(nullptr, OZL_IMAGE_ALL | OZL_IMAGE_MASK);
    // Caller data stays; ozlDeallocateImage forgets the pointer whoever owns it, freeing only its own.
    alignas(4) char pixels[16] = {1, 2, 3};
    (image = header(1, OZL_DEPTH_8U, 4, 4).release())->imageData = pixels;
    ozlDeallocate(image, OZL_IMAGE_DATA);
    EXPECT_EQ(std::make_pair(image->imageData, pixels[2]), std::make_pair(&pixels[0], '\3'));
    for (int round = 0; round < 3; ++round) {
        if (round == 1) ozlAllocateImage(image, 0, 0);
        ozlDeallocateImage(image);
        EXPECT_EQ(std::make_pair(image->imageData, image->imageDataOrigin), (std::pair<char*, char*>(nullptr, nullptr)));
    }
    ozlDeallocateHeader(image);
    ozlDeallocateHeader(nullptr);
}

// Values are stored unchecked, in record order, in an ozlMalloc block; setting
// a tile record forgets the current tile; NULL records are ignored.
TEST(RoiAndTileRecords, LayoutCreationAndRelease) {
    int id = 0;
    const OzlROI wantRoi{-1, -2, 3, 0, -5};
    const OzlTileInfo wantTile{noTiles, &id, nullptr, 12, -3};
    OzlROI* roi = ozlCreateROI(-1, -2, 3, 0, -5);
    OzlTileInfo* tile = ozlCreateTileInfo(noTiles, &id, 12, -3);
    ASSERT_TRUE(roi && tile);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(roi) % 32, 0u);
    EXPECT_EQ(0, std::memcmp(roi, &wantRoi, sizeof wantRoi) | std::memcmp(tile, &wantTile, sizeof wantTile));
    char buffer[4];
    tile->tileData = buffer;
    ozlSetTileInfo(tile, nullptr, nullptr, 16, 24);
    EXPECT_EQ(tile->tileData, nullptr);
    ozlSetROI(nullptr, 1, 2, 3, 4, 5), ozlSetTileInfo(nullptr, noTiles, nullptr, 8, 8);
    ozlDeleteROI(roi), ozlDeleteTileInfo(tile);
}

TEST(CloneImage, CopiesLayoutBordersRoiAndData) {
    ImagePtr source = header(3, OZL_DEPTH_8S, 5, 4, 1, 8, 3);
    ozlAllocateImage(source.get(), 0, 0);
    for (int i = 0; i < source->imageSize; ++i) source->imageData[i] = static_cast<char>(i * 7);
    OzlROI roi{2, 1, 2, 3, 1};
    TestImage mask(OZL_DEPTH_1U, 5, 4);
    int tag = 0;
    source->roi = &roi, source->maskROI = mask, source->imageId = &tag, source->ID = 5;
    ozlSetBorderMode(source.get(), 2, OZL_SIDE_LEFT | OZL_SIDE_TOP, -200);
    ozlSetBorderMode(source.get(), 3, OZL_SIDE_RIGHT, 77);
    ImagePtr clone(ozlCloneImage(source.get()));
    ASSERT_TRUE(clone && clone->roi && clone->imageData);
    // nSize to height, and widthStep with the border settings, are the source's; not ID and the records.
    EXPECT_EQ(0, std::memcmp(&clone->nChannels, &source->nChannels, offsetof(OzlImage, roi) - offsetof(OzlImage, nChannels)));
    EXPECT_EQ(0, std::memcmp(&clone->widthStep, &source->widthStep, 9 * sizeof(int32_t)));
    EXPECT_EQ(std::make_pair(clone->borderConst[OZL_SIDE_LEFT_INDEX], clone->borderMode[OZL_SIDE_RIGHT_INDEX]), std::make_pair(-128, 3));
    EXPECT_EQ((std::vector<int64_t>{clone->nSize, clone->imageSize, clone->ID}), (std::vector<int64_t>{source->nSize, source->imageSize, 0}));
    EXPECT_EQ((std::vector<const void*>{clone->maskROI, clone->imageId, clone->tileInfo}), (std::vector<const void*>(3, nullptr)));
    EXPECT_EQ(0, std::memcmp(clone->roi, &roi, sizeof roi));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(clone->imageData) % 8, 0u);
    EXPECT_EQ(0, std::memcmp(clone->imageData, source->imageData, static_cast<size_t>(source->imageSize)));
    clone->imageData[0] = 99, clone->roi->width = 1;  // copies, not shared
    EXPECT_EQ(std::make_pair(source->imageData[0], roi.width), std::make_pair('\0', 3));
    source->roi = nullptr;
}

TEST(CloneImage, CallerPitchIsRepackedByTheRowRule) {
    std::vector<uint32_t> pixels(64, 0x01020304u);
    ImagePtr pitched = header(1, OZL_DEPTH_8U, 4, 4);
    pitched->imageData = reinterpret_cast<char*>(pixels.data());
    pitched->widthStep = 64, pitched->imageSize = 256;
    ImagePtr pitchedClone(ozlCloneImage(pitched.get()));
    ASSERT_TRUE(pitchedClone && pitchedClone->imageDataOrigin);
    EXPECT_EQ(std::make_pair(pitchedClone->widthStep, pitchedClone->imageSize), std::make_pair(4, 16));
    expectWords(pitchedClone.get(), 0x01020304u);
}

TEST(CloneImage, Refusals) {
    TestImage withEmptyMask(OZL_DEPTH_8U, 4, 4);
    ImagePtr emptyMask = header(1, OZL_DEPTH_1U, 4, 4);
    withEmptyMask->maskROI = emptyMask.get();
    // Caller data with its own pitch whose layout by the row rule does not fit 32 bits.
    alignas(4) char pixels[4] = {};
    ImagePtr huge = header(4, OZL_DEPTH_32S, 8, 8);
    huge->width = huge->height = 1 << 15, huge->imageData = pixels, huge->imageSize = huge->widthStep = 4;
    huge->roi = ozlCreateROI(0, 0, 0, 1, 1);
    const struct { const OzlImage* source; OzlStatus status; const char* context; int line; } cases[] = {
        {nullptr, -9, "Incorrect Image", 37},
        {withEmptyMask, -112, "Incorrect Image", 37},
        {huge.get(), -4, "Not enough memory to allocate header for clone image", 57},
    };
    for (const auto& r : cases) {
        ErrorCapture errors;
        EXPECT_EQ(ozlCloneImage(r.source), nullptr);
        ASSERT_EQ(errors.count(), r.line == 57 ? 2u : 1u) << r.status;  // the header's own refusal comes first
        EXPECT_EQ(errors.last(), (ErrorReport{r.status, "ozlCloneImage", r.context, "ozlClone", r.line}));
        EXPECT_EQ(ozlGetErrStatus(), r.status);
    }
}

}  // namespace
