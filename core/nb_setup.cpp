#include "core/nb_setup.hpp"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "image/depth.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"

namespace ozl::core {

namespace {

void clampedCopy(const OzlImage* image, OzlImage* copy) {
    *copy = *image;
    for (int32_t& c : copy->borderConst) {
        if (image->depth == OZL_DEPTH_1U) c = c > 0 ? 1 : 0;
        else if (image->depth != OZL_DEPTH_32F) c = image::clampToDepth(c, image->depth);
    }
}

// The region clipped to the image and to its mask's region.
std::pair<int, int> regionSize(const OzlImage& im) {
    const image::Rect r = image::regionRect(&im);
    int w = r.width, h = r.height;
    if (im.maskROI) {
        const image::RegionStart m = image::regionStart(im.maskROI, 0);
        w = std::min(w, m.width);
        h = std::min(h, m.height);
    }
    return {w, h};
}

// A pixel-order image of the region's size holding the processed channels,
// with the source's depth and border modes.
struct Scratch {
    OzlImage header{};
    bool make(const OzlImage& src, int width, int height, int channels) {
        header = src;
        header.nChannels = channels;
        header.alphaChannel = 0;
        header.dataOrder = OZL_DATA_ORDER_PIXEL;
        header.align = 8;
        header.width = width;
        header.height = height;
        header.roi = nullptr;
        header.maskROI = nullptr;
        header.tileInfo = nullptr;
        header.imageId = nullptr;
        const int64_t row = image::rowBytes(OZL_DATA_ORDER_PIXEL, src.depth, 8, channels, width);
        if (row <= 0 || row > INT32_MAX / height) return false;
        header.widthStep = static_cast<int>(row);
        header.imageSize = static_cast<int>(row * height);
        header.imageData = static_cast<char*>(ozlMalloc(header.imageSize));
        header.imageDataOrigin = header.imageData;
        return header.imageData != nullptr;
    }
    ~Scratch() { ozlFree(header.imageData); }
};

}  // namespace

NbCode setupNeighbourhood(const OzlImage* src, const OzlImage* dst, NbSetup& setup) {
    clampedCopy(src, &setup.src);
    clampedCopy(dst, &setup.dst);
    const auto [sw, sh] = regionSize(setup.src);
    const auto [dw, dh] = regionSize(setup.dst);
    const int width = std::min(sw, dw), height = std::min(sh, dh);
    if (width <= 0 || height <= 0) return NbCode::Done;
    const bool coiS = image::hasCoi(src), coiD = image::hasCoi(dst);
    if (coiS != coiD) return NbCode::Coi;
    if (!coiS) {
        const int cs = image::effectiveChannels(src), cd = image::effectiveChannels(dst);
        if (cs == 0 || cd == 0) return NbCode::NoChannel;
        if (cs != cd) return NbCode::Channels;
    }
    if (!image::depthInfo(src->depth)) return NbCode::Depth;
    const OzlImage* masks[2] = {src->maskROI, dst->maskROI == src->maskROI ? nullptr : dst->maskROI};
    setup.mask = image::combineMasks(masks, 2);
    if (setup.mask.flag == image::CombinedMask::NoMemory) return NbCode::NoMemory;
    if (setup.mask.flag == image::CombinedMask::Empty) return NbCode::Done;
    const bool planes = src->dataOrder == OZL_DATA_ORDER_PLANE || dst->dataOrder == OZL_DATA_ORDER_PLANE;
    setup.channels = planes || coiS ? 1 : image::effectiveChannels(dst);
    setup.width = width;
    setup.height = height;
    return NbCode::Done;
}

NbCode codeOf(NbResult result) {
    switch (result) {
        case NbResult::NoMemory: return NbCode::NoMemory;
        case NbResult::ReadTile: return NbCode::ReadTile;
        case NbResult::WriteTile: return NbCode::WriteTile;
        default: return NbCode::Done;
    }
}

NbCode runPasses(NbSetup& setup, const NbPass* passes, int count) {
    int64_t total = 0;
    for (int p = 0; p < count; ++p) total += std::max(0, passes[p].repeat);
    if (setup.width <= 0 || total == 0) return NbCode::Done;
    if (total == 1)
        for (int p = 0; p < count; ++p)
            if (passes[p].repeat > 0)
                return codeOf(runNeighbourhood(&setup.src, &setup.dst, setup.mask.image, setup.width,
                                               setup.height, *passes[p].kernel));
    Scratch a, b;
    const int channels = image::effectiveChannels(&setup.dst);
    if (!a.make(setup.src, setup.width, setup.height, channels) ||
        (total > 2 && !b.make(setup.src, setup.width, setup.height, channels)))
        return NbCode::NoMemory;
    OzlImage* from = &setup.src;
    OzlImage* to = &a.header;
    int64_t done = 0;
    for (int p = 0; p < count; ++p)
        for (int r = 0; r < passes[p].repeat; ++r) {
            const bool last = ++done == total;
            if (last) to = &setup.dst;
            const NbResult result = runNeighbourhood(from, to, last ? setup.mask.image : nullptr,
                                                     setup.width, setup.height, *passes[p].kernel);
            if (result != NbResult::Done) return codeOf(result);
            from = to;
            to = to == &a.header ? &b.header : &a.header;
        }
    return NbCode::Done;
}

void reportNbCode(const Caller& caller, NbCode code, int line) {
    switch (code) {
        case NbCode::Done: break;
        case NbCode::NoChannel: fail(caller, OZL_StsBadArg, "No channel to operate", line); break;
        case NbCode::Channels: fail(caller, OZL_StsBadArg, "Uncompatible images", line); break;
        case NbCode::Coi: fail(caller, OZL_StsBadArg, "One of the COI is not defined", line); break;
        case NbCode::Depth: fail(caller, OZL_StsBadDepth, "Inadmissible images depths", line); break;
        case NbCode::NoMemory: fail(caller, OZL_StsNoMem, "Allocation failure", line); break;
        case NbCode::ReadTile: fail(caller, OZL_StsError, "Error get tile to read", line); break;
        case NbCode::WriteTile: fail(caller, OZL_StsError, "Error get tile to write", line); break;
    }
}

}  // namespace ozl::core
