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

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;
using ozl::test::TestImage;

// Releases a test header and library-owned data; records a test attached
// itself (ROI, mask, tiles, caller pixels) stay the test's.
struct HeaderAndData {
    void operator()(OzlImage* image) const { ozlDeallocate(image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA); }
};
using ImagePtr = std::unique_ptr<OzlImage, HeaderAndData>;

ImagePtr header(int nChannels, unsigned depth, int width, int height, int dataOrder = 0, int align = 4, int alpha = 0) {
    return ImagePtr(ozlCreateImageHeader(nChannels, alpha, depth, "RGB", "BGR", dataOrder, 0, align, width, height,
                                         nullptr, nullptr, nullptr, nullptr));
}

std::vector<uint32_t> words(const OzlImage* image) {
    std::vector<uint32_t> out(static_cast<size_t>(image->imageSize) / 4);
    std::memcpy(out.data(), image->imageData, out.size() * 4);
    return out;
}

void OZL_CALL noTiles(const OzlImage*, int, int, int) {}

// ---------------------------------------------------------------------------
// ozlCreateImageHeader

TEST(CreateImageHeader, FillsEveryField) {
    OzlROI roi{1, 2, 3, 4, 5};
    TestImage mask(OZL_DEPTH_1U, 7, 5);
    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
    int tag = 0;
    char model[] = "HSV", seq[] = "RGBA";
    ImagePtr image(ozlCreateImageHeader(4, 4, OZL_DEPTH_16S, model, seq, 1, 1, 16, 7, 5, &roi, mask, &tag, &tile));
    ASSERT_TRUE(image);
    std::memcpy(model, "XYZ", 4);  // the names are copied, not kept
    std::memcpy(seq, "XYZW", 4);
    // Plane order: 7 x 16 bits = 14 bytes, padded to 16, times 5 rows and 4 planes.
    EXPECT_EQ((std::vector<int64_t>{image->nSize, image->ID, image->nChannels, image->alphaChannel, image->depth,
                                    image->dataOrder, image->origin, image->align, image->width, image->height,
                                    image->widthStep, image->imageSize}),
              (std::vector<int64_t>{sizeof(OzlImage), 0, 4, 4, OZL_DEPTH_16S, 1, 1, 16, 7, 5, 16, 16 * 5 * 4}));
    EXPECT_EQ(0, std::memcmp(image->colorModel, "HSV\0", 4));
    EXPECT_EQ(0, std::memcmp(image->channelSeq, "RGBA", 4));
    EXPECT_EQ((std::vector<const void*>{image->roi, image->maskROI, image->imageId, image->tileInfo,
                                        image->imageData, image->imageDataOrigin}),
              (std::vector<const void*>{&roi, mask.get(), &tag, &tile, nullptr, nullptr}));
    const int32_t zeros[4] = {};
    EXPECT_EQ(0, std::memcmp(image->borderMode, zeros, sizeof zeros) | std::memcmp(image->borderConst, zeros, sizeof zeros));

    ImagePtr shortNames(ozlCreateImageHeader(1, 0, OZL_DEPTH_8U, "", "G", 0, 0, 4, 1, 1, nullptr, nullptr, nullptr, nullptr));
    ASSERT_TRUE(shortNames);
    EXPECT_EQ(0, std::memcmp(shortNames->colorModel, "\0\0\0\0", 4));
    EXPECT_EQ(0, std::memcmp(shortNames->channelSeq, "G\0\0\0", 4));
}

// Header creation and both allocations lay rows out by the same rule; the
// allocated data starts aligned inside its own block. Every legal depth, align,
// order, origin and alpha is accepted, and success leaves the status alone.
TEST(CreateImageHeader, RowRuleAndAlignedData) {
    struct Layout { int nChannels; unsigned depth; int order, align, width, height, step, size; };
    const Layout layouts[] = {
        {3, OZL_DEPTH_8U, 0, 4, 3, 5, 12, 60},     {1, OZL_DEPTH_1U, 0, 4, 10, 3, 4, 12},
        {1, OZL_DEPTH_1U, 0, 4, 33, 2, 8, 16},     {1, OZL_DEPTH_1U, 0, 32, 1, 1, 32, 32},
        {3, OZL_DEPTH_16U, 1, 8, 5, 2, 16, 96},    {3, OZL_DEPTH_16S, 0, 8, 7, 1, 48, 48},
        {2, OZL_DEPTH_32F, 0, 16, 3, 4, 32, 128},  {4, OZL_DEPTH_32S, 1, 32, 9, 3, 64, 768},
        {1, OZL_DEPTH_8S, 0, 8, 8, 2, 8, 16},      {4, OZL_DEPTH_8U, 0, 4, 1, 1, 4, 4},
        {3, OZL_DEPTH_8U, 1, 16, 5, 3, 16, 144},   {3, OZL_DEPTH_8U, 0, 32, 5, 3, 32, 96},
    };
    ErrorCapture errors;
    ozlSetErrStatus(-3);
    for (const Layout& l : layouts) {
        SCOPED_TRACE(testing::Message() << l.nChannels << " x depth " << l.depth << ", order " << l.order << ", align "
                                        << l.align);
        ImagePtr image(ozlCreateImageHeader(l.nChannels, l.order ? l.nChannels : 0, l.depth, "RGB", "BGR", l.order,
                                            l.order, l.align, l.width, l.height, nullptr, nullptr, nullptr, nullptr));
        ASSERT_TRUE(image);
        EXPECT_EQ(std::make_pair(image->widthStep, image->imageSize), std::make_pair(l.step, l.size));
        image->widthStep = image->imageSize = 1;  // allocation recomputes both
        l.depth == OZL_DEPTH_32F ? ozlAllocateImageFP(image.get(), 0, 0.0f) : ozlAllocateImage(image.get(), 0, 0);
        ASSERT_NE(image->imageData, nullptr);
        EXPECT_EQ(std::make_pair(image->widthStep, image->imageSize), std::make_pair(l.step, l.size));
        const auto data = reinterpret_cast<uintptr_t>(image->imageData);
        const auto origin = reinterpret_cast<uintptr_t>(image->imageDataOrigin);
        EXPECT_EQ(data % static_cast<uintptr_t>(l.align), 0u);
        EXPECT_LT(data - origin, static_cast<uintptr_t>(l.align));  // wraps if data < origin
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
    OzlImage* create() const {
        return ozlCreateImageHeader(nChannels, alpha, depth, model, seq, order, origin, align, width, height, nullptr,
                                    mask, nullptr, nullptr);
    }
};

// Each case also breaks a later rule, so the order of the checks shows.
TEST(CreateImageHeader, RefusesInCheckOrder) {
    TestImage grey(OZL_DEPTH_8U, 4, 4);
    ImagePtr emptyMask = header(1, OZL_DEPTH_1U, 4, 4);  // no data, not tiled
    ImagePtr tiledMask = header(1, OZL_DEPTH_1U, 8, 8);
    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
    tiledMask->tileInfo = &tile;
    TestImage overGrey(OZL_DEPTH_1U, 4, 4), overEmpty(OZL_DEPTH_1U, 4, 4);
    overGrey.setMask(&grey);
    overEmpty->maskROI = emptyMask.get();

    // A change to the call, applied once per value.
#define SET(...) [&](HeaderCall& c, int64_t v) { (void)v; __VA_ARGS__; }
    struct Refusal {
        std::string what;
        std::function<void(HeaderCall&, int64_t)> change;
        OzlStatus status;
        std::vector<int64_t> values = {0};
    };
    const Refusal cases[] = {
        {"width", SET(c.width = 0; c.nChannels = 0), -10},
        {"height", SET(c.height = -1; c.nChannels = 0), -10},
        {"channels", SET(c.nChannels = 0; c.depth = OZL_DEPTH_1U; c.model = nullptr), -15},
        {"1-bit channels", SET(c.nChannels = 2; c.depth = OZL_DEPTH_1U; c.model = nullptr), -16},
        {"colour model", SET(c.model = nullptr; c.depth = 24), -14},
        {"channel sequence", SET(c.seq = nullptr; c.depth = 24), -14},
        {"depth", SET(c.depth = static_cast<unsigned>(v); c.alpha = 1), -17, {0, 2, 24, 33, 64, 0x80000001, 0x80000040, 0x80000000}},
        {"alpha", SET(c.alpha = v; c.order = 2), -18, {-1, 1, 2, 4}},
        {"order", SET(c.order = v; c.origin = 2), -19, {-1, 2}},
        {"origin", SET(c.origin = v; c.align = 2), -20, {-1, 2}},
        {"align", SET(c.align = v), -21, {0, 1, 2, 12, 64}},
        {"8-bit mask", SET(c.mask = grey), -117},
        {"tiled mask", SET(c.mask = tiledMask.get()), -26},
        {"mask without data", SET(c.mask = emptyMask.get()), -112},
        {"mask with an 8-bit mask", SET(c.mask = overGrey), -217},
        {"mask with a mask without data", SET(c.mask = overEmpty), -212},
        {"the mask is checked last", SET(c.mask = grey; c.align = 3), -21},
    };
#undef SET
    for (const Refusal& r : cases) {
        for (int64_t v : r.values) {
            SCOPED_TRACE(r.what + " " + std::to_string(v));
            HeaderCall call;
            r.change(call, v);
            ErrorCapture errors;
            ozlSetErrStatus(0);
            EXPECT_EQ(call.create(), nullptr);
            ASSERT_EQ(errors.count(), 1u);
            EXPECT_EQ(errors.last(), (ErrorReport{r.status, "ozlCreateImageHeader", "Incorrect data-ins", "ozlalloc", 148}));
            EXPECT_EQ(ozlGetErrStatus(), r.status);
        }
    }
}

// ---------------------------------------------------------------------------
// ozlAllocateImage / ozlAllocateImageFP

TEST(AllocateImage, FillRepeatsThePatternOverTheWholeBuffer) {
    struct Fill { unsigned depth; int nChannels; int value; uint32_t word; };
    const Fill fills[] = {
        // 1U: only bit 0 counts.
        {OZL_DEPTH_1U, 1, 1, 0xFFFFFFFFu},      {OZL_DEPTH_1U, 1, 2, 0u},                {OZL_DEPTH_1U, 1, 3, 0xFFFFFFFFu},
        {OZL_DEPTH_1U, 1, -2, 0u},              {OZL_DEPTH_8U, 3, 0x1234, 0x34343434u},  {OZL_DEPTH_8U, 1, 0, 0u},
        {OZL_DEPTH_8S, 2, -1, 0xFFFFFFFFu},     {OZL_DEPTH_8S, 1, -128, 0x80808080u},    {OZL_DEPTH_16U, 3, 0x12345, 0x23452345u},
        {OZL_DEPTH_16S, 1, -2, 0xFFFEFFFEu},    {OZL_DEPTH_32S, 3, 0x12345678, 0x12345678u}, {OZL_DEPTH_32S, 1, -7, 0xFFFFFFF9u},
    };
    for (const Fill& f : fills) {
        SCOPED_TRACE(testing::Message() << "depth " << f.depth << ", fill " << f.value);
        ImagePtr image = header(f.nChannels, f.depth, 5, 3);  // odd width: padding filled too
        ozlAllocateImage(image.get(), 1, f.value);
        ASSERT_NE(image->imageData, nullptr);
        for (uint32_t w : words(image.get())) ASSERT_EQ(w, f.word);
    }
    for (float value : {1.5f, -0.0f, -3.25e-39f, 65504.0f}) {
        SCOPED_TRACE(value);
        ImagePtr image = header(3, OZL_DEPTH_32F, 3, 3, 0, 16);
        ozlAllocateImageFP(image.get(), 1, value);
        ASSERT_NE(image->imageData, nullptr);
        uint32_t bits;
        std::memcpy(&bits, &value, 4);
        for (uint32_t w : words(image.get())) ASSERT_EQ(w, bits);
    }
}

// Each case also breaks a later rule; existing pixels are never touched.
TEST(AllocateImage, RefusesInCheckOrder) {
    TestImage grey(OZL_DEPTH_8U, 4, 4);
    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
    alignas(32) char pixels[64];
    const char* const kInt = "ozlAllocateImage";
    const char* const kFP = "ozlAllocateImageFP";
    const char* const kRecheck = "Incorrect data-ins";
    const auto callerData = [&](OzlImage* i) { i->imageData = pixels; i->tileInfo = &tile; };
    // A 4x4 one-channel header of `depth`, changed; no change: the call gets a NULL image.
    const struct {
        const char* func;
        unsigned depth;
        std::function<void(OzlImage*)> change;
        OzlStatus status;
        const char* context;
        int line;
    } cases[] = {
        {kInt, OZL_DEPTH_8U, nullptr, -5, "( image == ((void *)0) )", 256},
        {kInt, OZL_DEPTH_32F, callerData, -5, "( image->imageData != ((void *)0) )", 257},
        {kInt, OZL_DEPTH_32F, [&](OzlImage* i) { i->tileInfo = &tile; i->align = 3; }, -5, "( image->tileInfo != ((void *)0) )", 258},
        {kInt, OZL_DEPTH_32F, [](OzlImage* i) { i->align = 3; }, -5, "( image->depth == 32 )", 259},
        {kInt, OZL_DEPTH_8U, [](OzlImage* i) { i->align = 3; }, -21, kRecheck, 269},
        {kInt, OZL_DEPTH_8U, [](OzlImage* i) { i->width = 0; i->nChannels = 0; }, -10, kRecheck, 269},
        {kInt, OZL_DEPTH_8U, [&](OzlImage* i) { i->maskROI = grey; }, -117, kRecheck, 269},
        {kFP, OZL_DEPTH_32F, nullptr, -5, "( image == ((void *)0) )", 321},
        {kFP, OZL_DEPTH_32F, callerData, -5, "( image->imageData != ((void *)0) )", 322},
        {kFP, OZL_DEPTH_8U, [&](OzlImage* i) { i->tileInfo = &tile; }, -5, "( image->tileInfo != ((void *)0) )", 323},
        {kFP, OZL_DEPTH_8U, [](OzlImage*) {}, -5, "( image->depth != 32 )", 324},
        {kFP, OZL_DEPTH_32S, [](OzlImage*) {}, -5, "( image->depth != 32 )", 324},
        {kFP, OZL_DEPTH_1U, [](OzlImage*) {}, -5, "( image->depth != 32 )", 324},
        {kFP, OZL_DEPTH_32F, [](OzlImage* i) { i->alphaChannel = 2; }, -18, kRecheck, 334},
    };
    for (const auto& r : cases) {
        SCOPED_TRACE(testing::Message() << r.func << " line " << r.line << " depth " << r.depth);
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
        EXPECT_EQ(image->imageData, data);
        EXPECT_EQ(image->imageDataOrigin, nullptr);
        EXPECT_TRUE(std::all_of(pixels, pixels + sizeof pixels, [](char c) { return c == 7; }));
    }
}

// widthStep and imageSize are 32-bit fields. A layout whose row or whole image
// does not fit them used to be stored truncated (a row of 2^32 + 4 bytes as
// widthStep 4), so that a caller's buffer of imageSize bytes was far too small
// for the pixels every operation then addresses. Such layouts are refused
// where headers are made; each row names the truncation it would have caused.
TEST(CreateImageHeader, RefusesLayoutsThatDoNotFitTheFields) {
    constexpr int kMax = 2147483647;
    const struct {
        const char* fault;
        int nChannels;
        unsigned depth;
        int dataOrder, width, height;
    } refused[] = {
        {"row of 2^32 + 4 bytes kept as 4", 1, OZL_DEPTH_32F, 0, (1 << 30) + 1, 3},
        {"row of 2^32 + 4 bytes through the channels", 4, OZL_DEPTH_8U, 0, (1 << 30) + 1, 3},
        {"bit count of the row past 64 bits", kMax, OZL_DEPTH_32S, 0, kMax, 1},
        {"row rounded up to 2^31 bytes", 1, OZL_DEPTH_8U, 0, kMax, 1},
        {"image of 2^31 bytes", 1, OZL_DEPTH_8U, 0, 1 << 16, 1 << 15},
        {"two planes of 2^31 bytes each", 2, OZL_DEPTH_16S, 1, 1 << 14, 1 << 16},
    };
    for (const auto& r : refused) {
        SCOPED_TRACE(r.fault);
        ErrorCapture errors;
        EXPECT_EQ(header(r.nChannels, r.depth, r.width, r.height, r.dataOrder), nullptr);
        EXPECT_EQ(errors.last(), (ErrorReport{-10, "ozlCreateImageHeader", "Incorrect data-ins", "ozlalloc", 148}));
        // A tiled image stores the same fields.
        OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
        EXPECT_EQ(ozlCreateImageHeader(r.nChannels, 0, r.depth, "RGB", "BGR", r.dataOrder, 0, 4, r.width, r.height,
                                       nullptr, nullptr, nullptr, &tile),
                  nullptr);
        EXPECT_EQ(errors.count(), 2u);
    }
    // The largest row that fits is accepted as it is.
    ErrorCapture errors;
    ImagePtr largest = header(1, OZL_DEPTH_8U, kMax - 3, 1);
    ASSERT_TRUE(largest);
    EXPECT_EQ(largest->widthStep, kMax - 3);
    EXPECT_EQ(largest->imageSize, kMax - 3);
    EXPECT_TRUE(errors.empty());
}

// A header changed after creation is measured again before pixels are
// allocated for it: nothing is allocated for a size that does not fit.
TEST(AllocateImage, RefusesLayoutsThatDoNotFitTheFields) {
    ErrorCapture errors;
    ImagePtr image = header(1, OZL_DEPTH_8U, 8, 8), fp = header(1, OZL_DEPTH_32F, 8, 8);
    ASSERT_TRUE(image && fp);
    image->width = (1 << 30) + 1;
    image->nChannels = image->alphaChannel = 4;
    ozlAllocateImage(image.get(), 1, 0);
    EXPECT_EQ(errors.last(), (ErrorReport{-10, "ozlAllocateImage", "Incorrect data-ins", "ozlalloc", 269}));
    fp->height = 1 << 30;
    ozlAllocateImageFP(fp.get(), 1, 0.0f);
    EXPECT_EQ(errors.last(), (ErrorReport{-10, "ozlAllocateImageFP", "Incorrect data-ins", "ozlalloc", 334}));
    EXPECT_EQ((std::vector<const void*>{image->imageData, image->imageDataOrigin, fp->imageData}),
              (std::vector<const void*>(3, nullptr)));
    EXPECT_EQ(ozlGetErrStatus(), -10);
}

// ---------------------------------------------------------------------------
// Release (leaks show under the sanitizer build)

// An image carrying one of each record the library can release; its mask has
// its own ROI, tile record and data.
OzlImage* dressed() {
    OzlImage* image = header(1, OZL_DEPTH_8U, 8, 8).release();
    OzlImage* mask = header(1, OZL_DEPTH_1U, 8, 8).release();
    ozlAllocateImage(image, 0, 0);
    ozlAllocateImage(mask, 0, 0);
    image->roi = ozlCreateROI(0, 1, 1, 2, 2);
    mask->roi = ozlCreateROI(0, 0, 0, 1, 1);
    image->tileInfo = ozlCreateTileInfo(noTiles, nullptr, 8, 8);
    mask->tileInfo = ozlCreateTileInfo(noTiles, nullptr, 16, 16);
    image->maskROI = mask;
    return image;
}

TEST(Deallocate, EachFlagReleasesItsPartOnly) {
    OzlImage* image = dressed();
    const OzlROI* const roi = image->roi;
    const OzlImage* const mask = image->maskROI;
    const OzlTileInfo* const tile = image->tileInfo;
    const char* const data = image->imageData;
    const struct { int flag; bool roi, mask, tile, data; } steps[] = {
        {OZL_IMAGE_ROI, true, false, false, false}, {OZL_IMAGE_MASK, true, true, false, false},
        {OZL_IMAGE_TILE, true, true, true, false},  {OZL_IMAGE_DATA, true, true, true, true}};
    for (const auto& step : steps) {
        SCOPED_TRACE(step.flag);
        ozlDeallocate(image, step.flag);
        EXPECT_EQ(image->roi, step.roi ? nullptr : roi);
        EXPECT_EQ(image->maskROI, step.mask ? nullptr : mask);
        EXPECT_EQ(image->tileInfo, step.tile ? nullptr : tile);
        EXPECT_EQ(image->imageData, step.data ? nullptr : data);
        EXPECT_EQ(image->imageDataOrigin == nullptr, step.data);
        EXPECT_EQ(image->width, 8);
    }
    ozlDeallocate(image, OZL_IMAGE_HEADER);
    // Combined flags; without OZL_IMAGE_MASK the mask survives.
    ozlDeallocate(dressed(), OZL_IMAGE_ALL | OZL_IMAGE_MASK);
    image = dressed();
    OzlImage* survivor = image->maskROI;
    ozlDeallocate(image, OZL_IMAGE_ALL);
    EXPECT_EQ(survivor->width, 8);
    ozlDeallocate(survivor, OZL_IMAGE_ALL);
    ozlDeallocate(nullptr, OZL_IMAGE_ALL | OZL_IMAGE_MASK);
    ozlDeallocate(header(1, OZL_DEPTH_8U, 4, 4).release(), OZL_IMAGE_ALL | OZL_IMAGE_MASK);
}

TEST(Deallocate, CallerDataAndTheSingleFunctions) {
    alignas(4) char pixels[16] = {1, 2, 3};
    ImagePtr image = header(1, OZL_DEPTH_8U, 4, 4);
    image->imageData = pixels;
    ozlDeallocate(image.get(), OZL_IMAGE_DATA);
    EXPECT_EQ(image->imageData, pixels);
    EXPECT_EQ(pixels[2], 3);
    // ozlDeallocateImage forgets the pointer whoever owns it, freeing only its own; twice is harmless.
    for (int round = 0; round < 3; ++round) {
        if (round == 1) ozlAllocateImage(image.get(), 0, 0);
        ozlDeallocateImage(image.get());
        EXPECT_EQ(image->imageData, nullptr);
        EXPECT_EQ(image->imageDataOrigin, nullptr);
    }
    ozlDeallocateHeader(image.release());
    ozlDeallocateHeader(nullptr);
}

// ---------------------------------------------------------------------------
// ROI and tile records

TEST(RoiAndTileRecords, LayoutCreationAndRelease) {
    EXPECT_EQ(sizeof(OzlROI), 20u);
    if (sizeof(void*) == 4) {
        EXPECT_EQ(sizeof(OzlImage), 112u);
        EXPECT_EQ(sizeof(OzlTileInfo), 20u);
    }
    // Values are stored unchecked, in record order, in an ozlMalloc block.
    OzlROI* roi = ozlCreateROI(-1, -2, 3, 0, -5);
    const OzlROI wantRoi{-1, -2, 3, 0, -5};
    ASSERT_NE(roi, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(roi) % 32, 0u);
    EXPECT_EQ(0, std::memcmp(roi, &wantRoi, sizeof wantRoi));
    ozlSetROI(nullptr, 1, 2, 3, 4, 5);
    ozlDeleteROI(roi);
    ozlDeleteROI(nullptr);

    int id = 0;
    OzlTileInfo* tile = ozlCreateTileInfo(noTiles, &id, 12, -3);
    ASSERT_NE(tile, nullptr);
    const OzlTileInfo wantTile{noTiles, &id, nullptr, 12, -3};
    EXPECT_EQ(0, std::memcmp(tile, &wantTile, sizeof wantTile));
    char buffer[4];
    tile->tileData = buffer;
    ozlSetTileInfo(tile, nullptr, nullptr, 16, 24);
    EXPECT_EQ(tile->tileData, nullptr);  // setting forgets the current tile
    ozlSetTileInfo(nullptr, noTiles, nullptr, 8, 8);
    ozlDeleteTileInfo(tile);
}

// ---------------------------------------------------------------------------
// ozlCloneImage

struct CloneRelease {
    void operator()(OzlImage* image) const { ozlDeallocate(image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA | OZL_IMAGE_ROI); }
};
using ClonePtr = std::unique_ptr<OzlImage, CloneRelease>;

TEST(CloneImage, CopiesLayoutBordersRoiAndData) {
    ImagePtr source = header(3, OZL_DEPTH_8S, 5, 4, 1, 8, 3);
    ozlAllocateImage(source.get(), 0, 0);
    for (int i = 0; i < source->imageSize; ++i) source->imageData[i] = static_cast<char>(i * 7);
    OzlROI roi{2, 1, 2, 3, 1};
    TestImage mask(OZL_DEPTH_1U, 5, 4);
    int tag = 0;
    source->roi = &roi;
    source->maskROI = mask;
    source->imageId = &tag;
    source->ID = 5;
    ozlSetBorderMode(source.get(), 2, OZL_SIDE_LEFT | OZL_SIDE_TOP, -200);
    ozlSetBorderMode(source.get(), 3, OZL_SIDE_RIGHT, 77);

    ClonePtr clone(ozlCloneImage(source.get()));
    ASSERT_TRUE(clone);
    // nSize to height, and widthStep with the border settings, are the source's; not ID and the records.
    EXPECT_EQ(0, std::memcmp(&clone->nChannels, &source->nChannels, offsetof(OzlImage, roi) - offsetof(OzlImage, nChannels)));
    EXPECT_EQ(0, std::memcmp(&clone->widthStep, &source->widthStep, 9 * sizeof(int32_t)));
    EXPECT_EQ(clone->borderConst[OZL_SIDE_LEFT_INDEX], -128);
    EXPECT_EQ(clone->borderMode[OZL_SIDE_RIGHT_INDEX], 3);
    EXPECT_EQ((std::vector<int64_t>{clone->nSize, clone->imageSize, clone->ID}),
              (std::vector<int64_t>{source->nSize, source->imageSize, 0}));
    EXPECT_EQ((std::vector<const void*>{clone->maskROI, clone->imageId, clone->tileInfo}),
              (std::vector<const void*>(3, nullptr)));
    ASSERT_TRUE(clone->roi && clone->imageData);
    EXPECT_EQ(0, std::memcmp(clone->roi, &roi, sizeof roi));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(clone->imageData) % 8, 0u);
    EXPECT_EQ(0, std::memcmp(clone->imageData, source->imageData, static_cast<size_t>(source->imageSize)));
    // Copies, not shared: independent afterwards.
    clone->imageData[0] = 99;
    clone->roi->width = 1;
    EXPECT_EQ(source->imageData[0], 0);
    EXPECT_EQ(roi.width, 3);
}

TEST(CloneImage, FloatTiledAndCallerPitchSources) {
    ImagePtr floats = header(1, OZL_DEPTH_32F, 3, 2, 0, 32);
    ozlAllocateImageFP(floats.get(), 1, -2.5f);
    ozlSetErrStatus(-7);
    ClonePtr floatClone(ozlCloneImage(floats.get()));
    ASSERT_TRUE(floatClone && !floatClone->roi);
    EXPECT_EQ(ozlGetErrStatus(), -7);
    for (uint32_t w : words(floatClone.get())) ASSERT_EQ(w, 0xC0200000u);

    // A tiled source gives an untiled clone laid out by the row rule.
    OzlTileInfo tile{noTiles, nullptr, nullptr, 8, 8};
    ImagePtr tiled = header(1, OZL_DEPTH_16U, 20, 10);
    tiled->tileInfo = &tile;
    tiled->imageSize = tiled->widthStep = 0;
    ClonePtr tiledClone(ozlCloneImage(tiled.get()));
    ASSERT_TRUE(tiledClone && tiledClone->imageData && !tiledClone->tileInfo);
    EXPECT_EQ(std::make_pair(tiledClone->widthStep, tiledClone->imageSize), std::make_pair(40, 400));

    // Caller data with its own pitch is repacked by the row rule.
    std::vector<uint32_t> pixels(64, 0x01020304u);
    ImagePtr pitched = header(1, OZL_DEPTH_8U, 4, 4);
    pitched->imageData = reinterpret_cast<char*>(pixels.data());
    pitched->widthStep = 64;
    pitched->imageSize = 256;
    ClonePtr pitchedClone(ozlCloneImage(pitched.get()));
    ASSERT_TRUE(pitchedClone && pitchedClone->imageDataOrigin);
    EXPECT_EQ(std::make_pair(pitchedClone->widthStep, pitchedClone->imageSize), std::make_pair(4, 16));
    for (uint32_t w : words(pitchedClone.get())) EXPECT_EQ(w, 0x01020304u);
}

TEST(CloneImage, Refusals) {
    TestImage withEmptyMask(OZL_DEPTH_8U, 4, 4);
    ImagePtr emptyMask = header(1, OZL_DEPTH_1U, 4, 4);
    withEmptyMask->maskROI = emptyMask.get();
    // Caller data with its own pitch, whose layout by the row rule does not fit
    // 32 bits: no header can be made for the clone.
    alignas(4) char pixels[4] = {};
    OzlROI roi{0, 0, 0, 1, 1};
    ImagePtr huge = header(4, OZL_DEPTH_32S, 8, 8);
    huge->width = huge->height = 1 << 15;
    huge->imageData = pixels;
    huge->imageSize = huge->widthStep = 4;
    huge->roi = &roi;
    const struct { const OzlImage* source; OzlStatus status; const char* context; int line; } cases[] = {
        {nullptr, -9, "Incorrect Image", 37},
        {withEmptyMask, -112, "Incorrect Image", 37},
        {huge.get(), -4, "Not enough memory to allocate header for clone image", 57},
    };
    for (const auto& r : cases) {
        SCOPED_TRACE(r.status);
        ErrorCapture errors;
        EXPECT_EQ(ozlCloneImage(r.source), nullptr);
        // The header's own refusal comes first.
        ASSERT_EQ(errors.count(), r.line == 57 ? 2u : 1u);
        EXPECT_EQ(errors.last(), (ErrorReport{r.status, "ozlCloneImage", r.context, "ozlClone", r.line}));
        EXPECT_EQ(ozlGetErrStatus(), r.status);
    }
}

}  // namespace
