// Comparisons into 1-bit results: ozlLess, ozlGreater, ozlEqual (two images),
// ozlLessS, ozlGreaterS, ozlEqualS (an integer constant), ozlLessSFP,
// ozlGreaterSFP, ozlEqualSFP (a float constant), ozlEqualFPEps and
// ozlEqualSFPEps (floats within a tolerance).
#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <optional>

#include "arith/compare_kernels.hpp"
#include "core/checks.hpp"
#include "core/pixelwise.hpp"
#include "image/depth.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::arith {

namespace {

using core::Caller;
using core::refuse;

constexpr const char* kModule = "ozlcompare";

// Bytes read and written from which the result is stored past the caches.
constexpr int64_t kStreamFrom = int64_t{16} << 20;

// Source lines of the reports.
enum Line {
    kLineHeader = 62,
    kLineResultDepth = 66,
    kLineSourceDepth = 70,
    kLineEps = 74,
    kLineInPlace = 78,
    kLineOrder = 82,
    kLineOrigin = 84,
    kLineAlpha = 88,
    kLineChannels = 92,
    kLineAllocation = 131,
    kLineMaskCombination = 146,
    kLineMemory = 190,
    kLineTile = 193,
};

// What the constant forms require of their image's depth.
enum class DepthRule { Integer, Float };

bool alphaIsLast(const OzlImage* image) {
    return !image || image->alphaChannel == 0 || image->alphaChannel == image->nChannels;
}

// The checks the two-image forms and the constant forms share after their
// depth rules: sources and masks with the alpha channel last.
bool alphaChannelsValid(std::initializer_list<const OzlImage*> sources, const OzlImage* res) {
    for (const OzlImage* s : sources)
        if (!alphaIsLast(s) || !alphaIsLast(s->maskROI)) return false;
    return alphaIsLast(res->maskROI);
}

OzlStatus checkImages(const Caller& c, OzlImage* img1, OzlImage* img2, OzlImage* res,
                      std::optional<float> eps) {
    for (const OzlImage* image : {img1, img2, res})
        if (ozlCheckImageHeader(image) != OZL_StsOk)
            return refuse(c, ozlGetErrStatus(), " Incorrect Image", kLineHeader);
    if (res->depth != OZL_DEPTH_1U)
        return refuse(c, OZL_StsBadArg, "(res->depth!=OZL_DEPTH_1U)", kLineResultDepth);
    if (eps) {
        if (img1->depth != OZL_DEPTH_32F || img2->depth != OZL_DEPTH_32F)
            return refuse(c, OZL_StsBadArg,
                          "((img1->depth!= OZL_DEPTH_32F)|| (img2->depth!= OZL_DEPTH_32F))",
                          kLineSourceDepth);
        // Written so that a NaN tolerance is refused too.
        if (!(*eps > 0.0f)) return refuse(c, OZL_StsBadArg, "(eps<=0.)", kLineEps);
    } else if (img1->depth != img2->depth) {
        return refuse(c, OZL_StsBadArg, "(img1->depth!=img2->depth)", kLineSourceDepth);
    }
    if (img1 == res || img2 == res)
        return refuse(c, OZL_StsBadArg, "(img1==res || img2==res)", kLineInPlace);
    if (img1->dataOrder != img2->dataOrder)
        return refuse(c, OZL_StsBadArg, "(img1->dataOrder!=img2->dataOrder)", kLineOrder);
    if (img1->origin != img2->origin)
        return refuse(c, OZL_StsBadArg, "(img1->origin!=img2->origin)", kLineOrigin);
    if (!alphaChannelsValid({img1, img2}, res))
        return refuse(c, OZL_StsBadAlphaChannel, "bad alpha channel's number", kLineAlpha);
    if (image::effectiveChannels(img1) != image::effectiveChannels(img2))
        return refuse(c, OZL_StsBadNumChannels, "bad channel's number", kLineChannels);
    return OZL_StsOk;
}

OzlStatus checkImage(const Caller& c, OzlImage* img, OzlImage* res, DepthRule rule,
                     std::optional<float> eps) {
    for (const OzlImage* image : {img, res})
        if (ozlCheckImageHeader(image) != OZL_StsOk)
            return refuse(c, ozlGetErrStatus(), " Incorrect Image", kLineHeader);
    if (res->depth != OZL_DEPTH_1U)
        return refuse(c, OZL_StsBadArg, "(res->depth!=OZL_DEPTH_1U)", kLineResultDepth);
    if (rule == DepthRule::Integer && img->depth == OZL_DEPTH_32F)
        return refuse(c, OZL_StsBadArg, "(img->depth==OZL_DEPTH_32F)", kLineSourceDepth);
    if (rule == DepthRule::Float && img->depth != OZL_DEPTH_32F)
        return refuse(c, OZL_StsBadArg, "(img->depth!=OZL_DEPTH_32F)", kLineSourceDepth);
    if (eps && !(*eps > 0.0f)) return refuse(c, OZL_StsBadArg, "(eps<=0.)", kLineEps);
    if (img == res) return refuse(c, OZL_StsBadArg, "(img==res)", kLineInPlace);
    if (!alphaChannelsValid({img}, res))
        return refuse(c, OZL_StsBadAlphaChannel, "bad alpha channel's number", kLineAlpha);
    return OZL_StsOk;
}

// The mask a comparison applies: none, or a temporary image holding the
// operands' masks combined (released by the caller).
struct ResultMask {
    OzlImage* image = nullptr;
    bool empty = false;  // the masks' regions share no pixel: nothing to do
};

void release(ResultMask& mask) {
    ozlDeallocate(mask.image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    mask.image = nullptr;
}

// Copies the one mask present into a temporary image, or ANDs the several
// there; the image has the size of the smallest mask region.
OzlStatus combineMasks(const Caller& c, std::initializer_list<const OzlImage*> masks,
                       ResultMask* out) {
    OzlImage present[3];
    int n = 0;
    int width = 0, height = 0;
    for (const OzlImage* m : masks) {
        if (!m) continue;
        const image::RegionStart r = image::regionStart(m, 0);
        width = n == 0 ? r.width : std::min(width, r.width);
        height = n == 0 ? r.height : std::min(height, r.height);
        // A mask counts as its region's bits: its own alpha flag and mask
        // play no part (as in every other operation).
        present[n] = *m;
        present[n].alphaChannel = 0;
        present[n].maskROI = nullptr;
        ++n;
    }
    if (n == 0) return OZL_StsOk;
    if (width == 0 || height == 0) {
        out->empty = true;
        return OZL_StsOk;
    }
    OzlImage* tmp = ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "GRAY", "GRAY",
                                         OZL_DATA_ORDER_PLANE, present[0].origin,
                                         OZL_ALIGN_8BYTES, width, height, nullptr, nullptr,
                                         nullptr, nullptr);
    if (tmp) ozlAllocateImage(tmp, 1, 0);
    if (!tmp || !tmp->imageData) {
        ozlDeallocate(tmp, OZL_IMAGE_HEADER);
        return refuse(c, OZL_StsNoMem, "Allocation failure", kLineAllocation);
    }
    // The nested operations report and stop on their own status, and a copy
    // also stops on a negative status left by an earlier call: run them from
    // a clean status and give the caller's back afterwards.
    const OzlStatus saved = ozlGetErrStatus();
    ozlSetErrStatus(OZL_StsOk);
    if (n == 1) {
        ozlCopy(&present[0], tmp);
    } else {
        ozlAnd(&present[0], &present[1], tmp);
        if (n == 3) ozlAnd(tmp, &present[2], tmp);
    }
    const OzlStatus nested = ozlGetErrStatus();
    if (nested < 0) {
        ozlDeallocate(tmp, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
        ozlError(OZL_StsBackTrace, c.function, "", c.module, kLineMaskCombination);
        return nested;
    }
    ozlSetErrStatus(saved);
    out->image = tmp;
    return OZL_StsOk;
}

// Rows whose bits do not depend on the pixels: a constant beyond the depth's
// range.
template <uint8_t kFill>
void fillRow(const core::RowView*, const core::RowView& dst, size_t width, const void*) {
    std::memset(dst.data, kFill, (width + 7) / 8);
}
template <uint8_t kFill>
void fillRows(const core::RowView*, const core::RowView& dst, size_t width, size_t rows,
              const ptrdiff_t* rowSteps, const void*) {
    for (size_t r = 0; r < rows; ++r)
        std::memset(dst.data + static_cast<ptrdiff_t>(r) * rowSteps[core::kDstOperand], kFill,
                    (width + 7) / 8);
}

// The kernel of an integer constant. Every value widened to 32 bits is
// compared with the constant, so one beyond the depth's range decides the
// result alone; one within it is compared in the depth's own type.
CompareKernel constantKernel(Rel rel, uint32_t depth, int32_t value, CompareKernel compare) {
    const image::DepthInfo& d = *image::depthInfo(depth);
    bool always = false, never = false;
    switch (rel) {
        case Rel::Less:
            always = value > d.hi;
            never = value <= d.lo;
            break;
        case Rel::Greater:
            always = value < d.lo;
            never = value >= d.hi;
            break;
        default:
            never = value < d.lo || value > d.hi;
            break;
    }
    if (always) return {&fillRow<0xFF>, &fillRows<0xFF>};
    if (never) return {&fillRow<0x00>, &fillRows<0x00>};
    return compare;
}

OzlStatus run(const Caller& c, Rel rel, OzlImage* img1, OzlImage* img2, OzlImage* res,
              CompareArgs args) {
    // An image whose one channel is its alpha channel has nothing to compare.
    if (image::effectiveChannels(img1) == 0) return OZL_StsOk;
    const int type = img1->depth == OZL_DEPTH_1U ? kBitsIndex
                                                 : static_cast<int>(image::elemOf(img1->depth));
    const Form form = img2 ? Form::Images : Form::Constant;
    CompareKernel chosen =
        activeCompareTable().compare[static_cast<int>(rel)][type][static_cast<int>(form)];
    if (form == Form::Constant && img1->depth != OZL_DEPTH_32F)
        chosen = constantKernel(rel, img1->depth, args.value, chosen);
    core::MapKernel kernel;
    kernel.pixel = chosen.row;
    kernel.pixelRows = chosen.rows;
    kernel.context = &args;

    ResultMask mask;
    const OzlStatus masked =
        combineMasks(c, {img1->maskROI, img2 ? img2->maskROI : nullptr, res->maskROI}, &mask);
    if (masked != OZL_StsOk || mask.empty) return masked;

    core::MapOperands operands;
    operands.src[0] = img1;
    operands.src[1] = img2;
    operands.dst = res;
    // Operands that outgrow the caches: the result's lines are stored past
    // them instead of being read first (not with a mask or tiles, whose rows
    // are computed into a buffer that is read straight back).
    const core::Size size = core::commonSize(operands, mask.image);
    const int64_t pixelBits =
        int64_t{img1->nChannels} * image::depthBits(img1->depth) * (img2 ? 2 : 1) + 1;
    args.stream = !mask.image && !image::isTiled(img1) && !image::isTiled(img2) &&
                  !image::isTiled(res) &&
                  int64_t{size.width} * size.height * pixelBits / 8 >= kStreamFrom;
    const int result = core::mapPixels(operands, mask.image, kernel);
    release(mask);
    if (result == core::kMapNoMemory)
        return refuse(c, OZL_StsNoMem, "Allocation failure", kLineMemory);
    if (result != core::kMapDone)
        return refuse(c, OZL_StsError, "(srcImage->tileInfo->tileData == NULL)", kLineTile);
    return OZL_StsOk;
}

OzlStatus compareImages(const char* name, Rel rel, OzlImage* img1, OzlImage* img2,
                        OzlImage* res, std::optional<float> eps = std::nullopt) {
    const Caller c{name, kModule};
    const OzlStatus checked = checkImages(c, img1, img2, res, eps);
    if (checked != OZL_StsOk) return checked;
    CompareArgs args;
    args.eps = eps.value_or(0.0f);
    return run(c, rel, img1, img2, res, args);
}

OzlStatus compareInteger(const char* name, Rel rel, OzlImage* img, int value, OzlImage* res) {
    const Caller c{name, kModule};
    const OzlStatus checked = checkImage(c, img, res, DepthRule::Integer, std::nullopt);
    if (checked != OZL_StsOk) return checked;
    CompareArgs args;
    args.value = value;
    return run(c, rel, img, nullptr, res, args);
}

OzlStatus compareFloat(const char* name, Rel rel, OzlImage* img, float value, OzlImage* res,
                       std::optional<float> eps = std::nullopt) {
    const Caller c{name, kModule};
    const OzlStatus checked = checkImage(c, img, res, DepthRule::Float, eps);
    if (checked != OZL_StsOk) return checked;
    CompareArgs args;
    args.real = value;
    args.eps = eps.value_or(0.0f);
    return run(c, rel, img, nullptr, res, args);
}

}  // namespace

}  // namespace ozl::arith

using ozl::arith::Rel;

extern "C" OZL_API OzlStatus OZL_CALL ozlLess(OzlImage* img1, OzlImage* img2, OzlImage* res) {
    return ozl::arith::compareImages("ozlLess", Rel::Less, img1, img2, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlGreater(OzlImage* img1, OzlImage* img2, OzlImage* res) {
    return ozl::arith::compareImages("ozlGreater", Rel::Greater, img1, img2, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlEqual(OzlImage* img1, OzlImage* img2, OzlImage* res) {
    return ozl::arith::compareImages("ozlEqual", Rel::Equal, img1, img2, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlLessS(OzlImage* img, int value, OzlImage* res) {
    return ozl::arith::compareInteger("ozlLessS", Rel::Less, img, value, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlGreaterS(OzlImage* img, int value, OzlImage* res) {
    return ozl::arith::compareInteger("ozlGreaterS", Rel::Greater, img, value, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlEqualS(OzlImage* img, int value, OzlImage* res) {
    return ozl::arith::compareInteger("ozlEqualS", Rel::Equal, img, value, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlLessSFP(OzlImage* img, float value, OzlImage* res) {
    return ozl::arith::compareFloat("ozlLessSFP", Rel::Less, img, value, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlGreaterSFP(OzlImage* img, float value, OzlImage* res) {
    return ozl::arith::compareFloat("ozlGreaterSFP", Rel::Greater, img, value, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlEqualSFP(OzlImage* img, float value, OzlImage* res) {
    return ozl::arith::compareFloat("ozlEqualSFP", Rel::Equal, img, value, res);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlEqualFPEps(OzlImage* img1, OzlImage* img2,
                                                     OzlImage* res, float eps) {
    return ozl::arith::compareImages("ozlEqualFPEps", Rel::EqualEps, img1, img2, res, eps);
}

extern "C" OZL_API OzlStatus OZL_CALL ozlEqualSFPEps(OzlImage* img, float value, OzlImage* res,
                                                      float eps) {
    return ozl::arith::compareFloat("ozlEqualSFPEps", Rel::EqualEps, img, value, res, eps);
}
