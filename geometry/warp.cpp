#include "geometry/warp.hpp"

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "geometry/kernels.hpp"
#include "geometry/transforms.hpp"
#include "image/depth.hpp"
#include "image/mask.hpp"
#include "image/region.hpp"

namespace ozl::geometry {

namespace {

// Positions are mapped and sampled this many pixels at a time, in blocks of
// this many rows: a warp reads its source along slanted lines, and a block's
// sources are near each other.
constexpr int kChunk = 256;
constexpr int kBlockWidth = 64;
constexpr int kBlockHeight = 64;

struct Context {
    Mapping map;
    Inter inter = Inter::NN;
    Edges edges;
    const KernelTable* table = nullptr;
};

void positions(const Context& k, const core::SampledSource& s, const core::SampledRow& r,
               int from, int n, double* sx, double* sy) {
    const double y = r.y;
    const auto& m = k.map.m;
    switch (k.map.kind) {
        case Mapping::Affine: {
            // One row term, then one product and sum per pixel: the vector
            // samplers see the same positions.
            const double rx = m[0][1] * y + m[0][2], ry = m[1][1] * y + m[1][2];
            for (int i = 0; i < n; ++i) {
                const double x = r.x + from + i;
                sx[i] = m[0][0] * x + rx;
                sy[i] = m[1][0] * x + ry;
            }
            break;
        }
        case Mapping::Perspective: {
            const double rx = m[0][1] * y + m[0][2], ry = m[1][1] * y + m[1][2];
            const double rw = m[2][1] * y + m[2][2];
            for (int i = 0; i < n; ++i) {
                const double x = r.x + from + i;
                const double w = m[2][0] * x + rw;
                sx[i] = (m[0][0] * x + rx) / w;
                sy[i] = (m[1][0] * x + ry) / w;
            }
            break;
        }
        case Mapping::Bilinear: {
            const double c[2][4] = {{m[0][0], m[0][1], m[0][2], m[0][3]},
                                    {m[1][0], m[1][1], m[1][2], m[1][3]}};
            for (int i = 0; i < n; ++i)
                bilinearPreimage(c, r.x + from + i, y, s.width, s.height, &sx[i], &sy[i]);
            break;
        }
        case Mapping::Remap: {
            const core::RowView& mx = r.aligned[0];
            const core::RowView& my = r.aligned[1];
            if (mx.pixelStep == sizeof(float) && my.pixelStep == sizeof(float)) {
                // Dense maps: a loop the compiler turns into vector conversions.
                const char* px = mx.data + from * sizeof(float);
                const char* py = my.data + from * sizeof(float);
                for (int i = 0; i < n; ++i) {
                    sx[i] = loadValue<float>(px + i * sizeof(float));
                    sy[i] = loadValue<float>(py + i * sizeof(float));
                }
                break;
            }
            for (int i = 0; i < n; ++i) {
                sx[i] = loadValue<float>(mx.data + (from + i) * mx.pixelStep);
                sy[i] = loadValue<float>(my.data + (from + i) * my.pixelStep);
            }
            break;
        }
    }
}

template <class T>
void warpRow(const core::SampledSource& s, const core::SampledRow& r, void* context) {
    const Context& k = *static_cast<const Context*>(context);
    double sx[kChunk], sy[kChunk];
    const int cn = s.channels;
    // Interleaved 8-bit pixels on both sides take the vector samplers.
    const WarpSample8uFn sampler = k.inter == Inter::Linear  ? k.table->warpLinear8u
                                   : k.inter == Inter::Cubic ? k.table->warpCubic8u
                                                             : nullptr;
    const bool interleaved8u = std::is_same_v<T, uint8_t> && sampler && s.pixelStep == cn &&
                               s.channelStep == 1 && r.dst.pixelStep == cn && r.dst.channelStep == 1;
    for (int from = 0; from < r.width; from += kChunk) {
        const int n = std::min(kChunk, r.width - from);
        positions(k, s, r, from, n, sx, sy);
        if (interleaved8u) {
            sampler(s, k.edges, sx, sy, n, reinterpret_cast<uint8_t*>(r.dst.data) + from * cn);
            continue;
        }
        for (int i = 0; i < n; ++i)
            samplePixel<T>(s, k.edges, k.inter, sx[i], sy[i],
                           r.dst.data + (from + i) * r.dst.pixelStep, r.dst.channelStep);
    }
}

// The destination pixels an affine warp can write (without the fill): the
// box around the image of the source region, a pixel wider on every side.
void affineArea(const Mapping& map, int srcW, int srcH, core::SampledJob& job) {
    const double inv[2][3] = {{map.m[0][0], map.m[0][1], map.m[0][2]},
                              {map.m[1][0], map.m[1][1], map.m[1][2]}};
    double fwd[2][3];
    if (!invertAffine(inv, fwd)) return;
    double lo[2] = {INFINITY, INFINITY}, hi[2] = {-INFINITY, -INFINITY};
    for (int i = 0; i < 4; ++i) {
        const double x = (i & 1) ? srcW - 0.5 : -0.5, y = (i & 2) ? srcH - 0.5 : -0.5;
        for (int k = 0; k < 2; ++k) {
            const double v = fwd[k][0] * x + fwd[k][1] * y + fwd[k][2];
            lo[k] = std::min(lo[k], v);
            hi[k] = std::max(hi[k], v);
        }
    }
    const double size[2] = {static_cast<double>(job.width), static_cast<double>(job.height)};
    int from[2], to[2];
    for (int k = 0; k < 2; ++k) {
        from[k] = static_cast<int>(std::clamp(std::floor(lo[k]) - 1.0, 0.0, size[k]));
        to[k] = static_cast<int>(std::clamp(std::ceil(hi[k]) + 2.0, 0.0, size[k]));
    }
    job.areaX = from[0];
    job.areaY = from[1];
    job.areaWidth = to[0] - from[0];
    job.areaHeight = to[1] - from[1];
}

}  // namespace

bool checkWarp(const Entry& entry, const OzlImage* src, const OzlImage* dst, int interpolate) {
    return checkImages(entry, src, dst) && checkInterpolation(entry, interpolate, {false, true});
}

void runWarp(const Entry& entry, OzlImage* src, OzlImage* dst, const Mapping& mapping,
             int interpolate, OzlImage* xMap, OzlImage* yMap) {
    const bool fill = (interpolate & OZL_FILL_FROM_BORDER) != 0;
    Context k;
    k.map = mapping;
    k.inter = static_cast<Inter>(interpolate & ~OZL_FILL_FROM_BORDER);
    k.edges = edgesOf(src, fill);
    k.table = &activeTable();

    const image::Rect rs = image::regionRect(src);
    if (rs.width <= 0 || rs.height <= 0) return;  // nothing to read
    core::SampledJob job;
    job.src = src;
    job.dst = dst;
    job.row = nullptr;
    image::withValueType(dst->depth, [&](auto tag) { job.row = &warpRow<decltype(tag)>; });
    job.context = &k;

    const OzlImage* masks[3] = {dst->maskROI, xMap ? xMap->maskROI : nullptr,
                                yMap ? yMap->maskROI : nullptr};
    image::CombinedMask mask = image::combineMasks(masks, 3);
    if (mask.flag == image::CombinedMask::Empty) return;
    if (mask.flag == image::CombinedMask::NoMemory) {
        entry.at(kAtMemory, OZL_StsNoMem, "Out of memory");
        return;
    }
    job.mask = mask.image;
    core::MapOperands common;
    common.dst = dst;
    common.src[0] = xMap;
    common.src[1] = yMap;
    const core::Size size = core::commonSize(common, nullptr);
    job.aligned[0] = xMap;
    job.aligned[1] = yMap;
    job.width = job.areaWidth = size.width;
    job.height = job.areaHeight = size.height;
    if (mapping.kind == Mapping::Affine && !fill) affineArea(mapping, rs.width, rs.height, job);
    // Destination blocks whose sources stay in the caches while they are read;
    // remapping reads its maps in rows, which the blocks would cut into
    // short pieces of many rows.
    if (mapping.kind != Mapping::Remap) {
        job.blockWidth = kBlockWidth;
        job.blockHeight = kBlockHeight;
    }
    walkDone(entry, core::walkSampled(job));
    image::releaseMask(mask);
}

}  // namespace ozl::geometry
