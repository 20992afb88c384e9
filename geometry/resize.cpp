// Resampling by rational factors: ozlZoom, ozlDecimate, ozlResize.
#include <algorithm>
#include <cstring>
#include <numeric>

#include "geometry/common.hpp"
#include "geometry/kernels.hpp"
#include "geometry/resize_plan.hpp"
#include "image/depth.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"

namespace ozl::geometry {

namespace {

constexpr const char* kModule = "ozlresize";
const Entry kZoom{{"ozlZoom", kModule}, 100};
const Entry kDecimate{{"ozlDecimate", kModule}, 200};
const Entry kResize{{"ozlResize", kModule}, 300};

// The largest factor term once the factors are reduced: positions and
// super-sampling sums stay exact in 64-bit integers and doubles.
constexpr int kMaxTerm = 65536;

enum class Path {
    Nearest,  // copies
    Generic,  // separable weighted sums in double precision
    Linear8u, // fixed-point, horizontal pass into 16-bit rows, then vertical
    Cubic8u,  // likewise, with four taps
    Box2x2,   // 8U halving, linear or super-sampled: the rounded 2 x 2 mean
};

// Rows of horizontal results kept between destination rows, by source row
// and the destination columns they cover.
template <class H>
struct RowCache {
    int slots = 0;
    size_t stride = 0;  // values per slot
    Scratch<H> data;
    Scratch<int32_t> row, x, width;

    bool allocate(int n, size_t values) {
        slots = n;
        stride = values;
        if (!data.allocate(values * n) || !row.allocate(n) || !x.allocate(n) ||
            !width.allocate(n))
            return false;
        for (int i = 0; i < n; ++i) row[i] = -1;
        return true;
    }

    // The slot of source row r over columns [x0, x0 + w): found, or
    // computed by `fill` into a slot that holds none of the rows in `keep`
    // over those columns.
    template <class Fill>
    const H* get(int r, int x0, int w, const int32_t* keep, int nKeep, Fill&& fill) {
        int free = -1;
        for (int i = 0; i < slots; ++i) {
            const bool valid = x[i] == x0 && width[i] == w;
            if (valid && row[i] == r) return data.get() + i * stride;
            if (free < 0 && (!valid || std::find(keep, keep + nKeep, row[i]) == keep + nKeep))
                free = i;
        }
        H* slot = data.get() + free * stride;
        fill(slot);
        row[free] = r;
        x[free] = x0;
        width[free] = w;
        return slot;
    }
};

struct Context {
    Path path = Path::Generic;
    ResampleAxis ax, ay;
    int cn = 1;
    const KernelTable* table = nullptr;
    RowCache<double> cache;
    RowCache<int16_t> cache8;
    Scratch<double> acc;
    Scratch<uint8_t> out8;   // a row before it is spread into a strided destination
    Scratch<int32_t> ofs, coef;
    int vecCount = 0;        // outputs whose 8-byte reads stay inside a source row
    int vecFrom = 0, vecTo = 0;  // cubic: outputs the vector forms take (CubicTaps8u)
};

// Writes n dense pixels of cn values into a destination row of any layout.
template <class T>
void spread(const T* dense, const core::RowView& d, int n) {
    for (int i = 0; i < n; ++i)
        for (int c = 0; c < d.channels; ++c)
            storeValue<T>(d.data + i * d.pixelStep + c * d.channelStep, dense[i * d.channels + c]);
}

bool denseRow(const core::RowView& d, size_t size) {
    return d.channelStep == static_cast<ptrdiff_t>(size) &&
           d.pixelStep == static_cast<ptrdiff_t>(size * d.channels);
}

template <class T>
void nearestRow(const core::SampledSource& s, const core::SampledRow& r, Context& k) {
    const char* srow = s.data + k.ay.index[k.ay.first[r.y]] * s.rowStep;
    for (int i = 0; i < r.width; ++i) {
        const char* p = srow + k.ax.index[k.ax.first[r.x + i]] * s.pixelStep;
        char* q = r.dst.data + i * r.dst.pixelStep;
        for (int c = 0; c < s.channels; ++c)
            std::memcpy(q + c * r.dst.channelStep, p + c * s.channelStep, sizeof(T));
    }
}

// The row sums of cubic resampling, four taps to every output, the sums in
// the order of the general loop: the tap pointers found once per pixel.
template <class T>
void acrossCubic(const char* row, ptrdiff_t pixelStep, const ResampleAxis& ax, int x, int n,
                 int cn, double* h) {
    for (int i = 0; i < n; ++i) {
        const int f = ax.first[x + i];
        const char* p[4];
        double w[4];
        for (int t = 0; t < 4; ++t) {
            p[t] = row + ax.index[f + t] * pixelStep;
            w[t] = ax.weight[f + t];
        }
        for (int c = 0; c < cn; ++c) {
            const ptrdiff_t at = c * static_cast<ptrdiff_t>(sizeof(T));
            double sum = 0.0;
            sum += w[0] * loadValue<T>(p[0] + at);
            sum += w[1] * loadValue<T>(p[1] + at);
            sum += w[2] * loadValue<T>(p[2] + at);
            sum += w[3] * loadValue<T>(p[3] + at);
            h[i * cn + c] = sum;
        }
    }
}

// Weighted sums: each source row the destination row reads is first summed
// across (and kept for the next rows), then the rows are summed down.
template <class T>
void genericRow(const core::SampledSource& s, const core::SampledRow& r, Context& k) {
    const int cn = s.channels, n = r.width;
    const ResampleAxis& ax = k.ax;
    const ResampleAxis& ay = k.ay;
    const int f = ay.first[r.y], taps = ay.taps[r.y];
    auto across = [&](int row, double* h) {
        const char* srow = s.data + static_cast<ptrdiff_t>(row) * s.rowStep;
        if (ax.fullTaps && ax.maxTaps == 4 && s.channelStep == static_cast<ptrdiff_t>(sizeof(T)))
            return acrossCubic<T>(srow, s.pixelStep, ax, r.x, n, cn, h);
        for (int i = 0; i < n; ++i) {
            const int fx = ax.first[r.x + i], tx = ax.taps[r.x + i];
            for (int c = 0; c < cn; ++c) {
                double sum = 0.0;
                for (int t = 0; t < tx; ++t)
                    sum += ax.weight[fx + t] *
                           loadValue<T>(srow + ax.index[fx + t] * s.pixelStep + c * s.channelStep);
                h[i * cn + c] = sum;
            }
        }
    };
    double* acc = k.acc.get();
    std::fill(acc, acc + static_cast<size_t>(n) * cn, 0.0);
    for (int j = 0; j < taps; ++j) {
        const int row = ay.index[f + j];
        const double w = ay.weight[f + j];
        const double* h;
        if (k.cache.slots > 0) {
            h = k.cache.get(row, r.x, n, &ay.index[f], taps,
                            [&](double* slot) { across(row, slot); });
        } else {
            double* tmp = k.acc.get() + static_cast<size_t>(n) * cn;
            across(row, tmp);
            h = tmp;
        }
        for (int i = 0; i < n * cn; ++i) acc[i] += w * h[i];
    }
    const double divisor = ax.divisor * ay.divisor;
    // A dense destination row takes the values directly (it need not be
    // aligned to T: stored byte-wise).
    const bool direct = denseRow(r.dst, sizeof(T));
    char* out = direct ? r.dst.data : reinterpret_cast<char*>(k.out8.get());
    const size_t count = static_cast<size_t>(n) * cn;
    if (divisor == 1.0)
        for (size_t i = 0; i < count; ++i) storeValue<T>(out + i * sizeof(T), fromDouble<T>(acc[i]));
    else
        for (size_t i = 0; i < count; ++i)
            storeValue<T>(out + i * sizeof(T), fromDouble<T>(acc[i] / divisor));
    if (!direct) spread(reinterpret_cast<const T*>(out), r.dst, n);
}

void linear8uRow(const core::SampledSource& s, const core::SampledRow& r, Context& k) {
    const int cn = s.channels, n = r.width;
    const int32_t rows[2] = {k.ay.pair[r.y], k.ay.pair[r.y] + (s.height > 1 ? 1 : 0)};
    LinearTaps8u taps;
    taps.ofs = k.ofs.get() + r.x;
    taps.coef = k.coef.get() + r.x;
    taps.pairStep = s.width > 1 ? s.pixelStep : 0;
    taps.channelStep = s.channelStep;
    taps.cn = cn;
    taps.vecCount = std::clamp(k.vecCount - r.x, 0, n);
    const int16_t* h[2];
    for (int j = 0; j < 2; ++j)
        h[j] = k.cache8.get(rows[j], r.x, n, rows, 2, [&](int16_t* slot) {
            k.table->hLinear8u(reinterpret_cast<const uint8_t*>(s.data) + rows[j] * s.rowStep,
                               slot, taps, n);
        });
    const bool dense = denseRow(r.dst, 1);
    uint8_t* out = dense ? reinterpret_cast<uint8_t*>(r.dst.data) : k.out8.get();
    k.table->vLinear8u(h[0], h[1], out, k.ay.fixedW[r.y], static_cast<size_t>(n) * cn);
    if (!dense) spread(out, r.dst, n);
}

void cubic8uRow(const core::SampledSource& s, const core::SampledRow& r, Context& k) {
    const int cn = s.channels, n = r.width;
    CubicTaps8u taps;
    taps.ofs = k.ofs.get() + 4 * r.x;
    taps.coef = k.coef.get() + 2 * r.x;
    taps.pixelStep = s.pixelStep;
    taps.channelStep = s.channelStep;
    taps.cn = cn;
    taps.vecFrom = std::clamp(k.vecFrom - r.x, 0, n);
    taps.vecTo = std::clamp(k.vecTo - r.x, taps.vecFrom, n);
    const int f = k.ay.first[r.y];
    const int32_t* rows = &k.ay.index[f];
    const int32_t* w = &k.ay.fixedW[4 * r.y];
    const int32_t coef[2] = {weightPair(w[0], w[1]), weightPair(w[2], w[3])};
    const int16_t* h[4];
    for (int j = 0; j < 4; ++j)
        h[j] = k.cache8.get(rows[j], r.x, n, rows, 4, [&](int16_t* slot) {
            k.table->hCubic8u(reinterpret_cast<const uint8_t*>(s.data) + rows[j] * s.rowStep, slot,
                              taps, n);
        });
    const bool dense = denseRow(r.dst, 1);
    uint8_t* out = dense ? reinterpret_cast<uint8_t*>(r.dst.data) : k.out8.get();
    k.table->vCubic8u(h, out, coef, static_cast<size_t>(n) * cn);
    if (!dense) spread(out, r.dst, n);
}

void box2x2Row(const core::SampledSource& s, const core::SampledRow& r, Context& k) {
    const int cn = s.channels;
    const auto* r0 = reinterpret_cast<const uint8_t*>(s.data) + 2 * r.y * s.rowStep + 2 * r.x * cn;
    const bool dense = denseRow(r.dst, 1);
    uint8_t* out = dense ? reinterpret_cast<uint8_t*>(r.dst.data) : k.out8.get();
    k.table->box2x2(r0, r0 + s.rowStep, out, static_cast<size_t>(r.width), cn);
    if (!dense) spread(out, r.dst, r.width);
}

template <class T>
void resampleRow(const core::SampledSource& s, const core::SampledRow& r, void* context) {
    Context& k = *static_cast<Context*>(context);
    switch (k.path) {
        case Path::Nearest: return nearestRow<T>(s, r, k);
        case Path::Generic: return genericRow<T>(s, r, k);
        case Path::Linear8u: return linear8uRow(s, r, k);
        case Path::Cubic8u: return cubic8uRow(s, r, k);
        case Path::Box2x2: return box2x2Row(s, r, k);
    }
}

// Builds the tables and buffers of a call; false when memory runs out.
bool prepare(Context& k, const OzlImage* src, const OzlImage* dst, Inter inter, int W, int H,
             int outW, int outH, const int f[4]) {
    const uint32_t depth = dst->depth;
    const int cn = image::effectiveChannels(dst);
    k.cn = cn;
    k.table = &activeTable();
    const bool is8u = depth == OZL_DEPTH_8U;
    const bool halving = f[0] == 1 && f[1] == 2 && f[2] == 1 && f[3] == 2;
    // Pixels of exactly the processed channels, one after another: so is any
    // copy the walk makes of the source.
    const bool interleaved = src->dataOrder == OZL_DATA_ORDER_PIXEL && src->nChannels == cn;
    if (inter == Inter::NN) k.path = Path::Nearest;
    else if (is8u && halving && interleaved && (inter == Inter::Linear || inter == Inter::Super))
        k.path = Path::Box2x2;  // both reduce to the rounded mean of each 2 x 2 block
    else if (is8u && inter == Inter::Linear) k.path = Path::Linear8u;
    else if (is8u && inter == Inter::Cubic) k.path = Path::Cubic8u;
    else k.path = Path::Generic;

    const bool fixed = k.path == Path::Linear8u || k.path == Path::Cubic8u;
    if (!k.ax.build(inter, W, f[0], f[1], outW, fixed) ||
        !k.ay.build(inter, H, f[2], f[3], outH, fixed))
        return false;
    const size_t values = static_cast<size_t>(outW) * cn;
    const size_t size = image::depthBits(depth) / 8;
    if (!k.out8.allocate(values * size)) return false;
    if (k.path == Path::Generic) {
        if (!k.acc.allocate(2 * values)) return false;
        if (inter != Inter::Super && !k.cache.allocate(k.ay.maxTaps, values)) return false;
    }
    // The pixel step of the source and of any copy the walk makes of it;
    // only pixel-order rows are read 8 bytes at a time.
    const bool planes = src->dataOrder == OZL_DATA_ORDER_PLANE;
    const ptrdiff_t pixelStep = planes ? 1 : src->nChannels;
    const ptrdiff_t rowBytes = static_cast<ptrdiff_t>(W) * pixelStep;
    if (k.path == Path::Cubic8u) {
        if (!k.cache8.allocate(4, values + 16) || !k.ofs.allocate(4 * static_cast<size_t>(outW)) ||
            !k.coef.allocate(2 * static_cast<size_t>(outW)))
            return false;
        // The vector forms take the run of outputs whose neighbours follow
        // one another and whose 16 bytes lie inside the row.
        k.vecFrom = k.vecTo = 0;
        bool inRun = false;
        for (int i = 0; i < outW; ++i) {
            const int32_t* idx = &k.ax.index[k.ax.first[i]];
            const int32_t* w = &k.ax.fixedW[4 * i];
            for (int t = 0; t < 4; ++t) k.ofs[4 * i + t] = static_cast<int32_t>(idx[t] * pixelStep);
            k.coef[2 * i] = weightPair(w[0], w[1]);
            k.coef[2 * i + 1] = weightPair(w[2], w[3]);
            const bool vec = !planes && idx[1] == idx[0] + 1 && idx[2] == idx[0] + 2 &&
                             idx[3] == idx[0] + 3 && k.ofs[4 * i] + 16 <= rowBytes;
            if (vec && !inRun && k.vecTo == 0) k.vecFrom = i, inRun = true;
            if (vec && inRun) k.vecTo = i + 1;
            if (!vec) inRun = false;
        }
    }
    if (k.path == Path::Linear8u) {
        if (!k.cache8.allocate(2, values + 16) || !k.ofs.allocate(outW) || !k.coef.allocate(outW))
            return false;
        k.vecCount = 0;
        for (int i = 0; i < outW; ++i) {
            k.ofs[i] = static_cast<int32_t>(k.ax.pair[i] * pixelStep);
            k.coef[i] = (kWeightOne - k.ax.fixedW[i]) | (k.ax.fixedW[i] << 16);
            if (!planes && k.ofs[i] + 8 <= rowBytes) k.vecCount = i + 1;
        }
    }
    return true;
}

void resample(const Entry& entry, OzlImage* src, OzlImage* dst, int xDst, int xSrc, int yDst,
              int ySrc, int interpolate, int direction) {
    if (!checkImages(entry, src, dst)) return;
    if (!checkInterpolation(entry, interpolate, {true, false})) return;
    if (xDst < 1 || xSrc < 1 || yDst < 1 || ySrc < 1) {
        entry.at(kAtParam, OZL_StsBadArg, "(xDst < 1 || xSrc < 1 || yDst < 1 || ySrc < 1)");
        return;
    }
    const int gx = std::gcd(xDst, xSrc), gy = std::gcd(yDst, ySrc);
    const int f[4] = {xDst / gx, xSrc / gx, yDst / gy, ySrc / gy};
    if (*std::max_element(f, f + 4) > kMaxTerm) {
        entry.at(kAtParam + 1, OZL_StsBadArg, "Factor terms above 65536 after reduction");
        return;
    }
    if (direction > 0 && (f[0] < f[1] || f[2] < f[3])) {
        entry.at(kAtParam + 2, OZL_StsBadArg, "Zoom factors below 1");
        return;
    }
    if (direction < 0 && (f[0] > f[1] || f[2] > f[3])) {
        entry.at(kAtParam + 2, OZL_StsBadArg, "Decimation factors above 1");
        return;
    }
    const image::Rect rs = image::regionRect(src), rd = image::regionRect(dst);
    const int W = std::max(0, rs.width), H = std::max(0, rs.height);
    const int outW = static_cast<int>(std::min<int64_t>(std::max(0, rd.width),
                                                        resampledCount(W, f[0], f[1])));
    const int outH = static_cast<int>(std::min<int64_t>(std::max(0, rd.height),
                                                        resampledCount(H, f[2], f[3])));
    if (outW == 0 || outH == 0) return;

    const Inter inter = static_cast<Inter>(interpolate);
    Context k;
    if (!prepare(k, src, dst, inter, W, H, outW, outH, f)) {
        entry.at(kAtMemory, OZL_StsNoMem, "Out of memory");
        return;
    }
    core::SampledJob job;
    job.src = src;
    job.dst = dst;
    job.mask = dst->maskROI;
    job.width = job.areaWidth = outW;
    job.height = job.areaHeight = outH;
    job.context = &k;
    image::withValueType(dst->depth, [&](auto tag) { job.row = &resampleRow<decltype(tag)>; });
    walkDone(entry, core::walkSampled(job));
}

}  // namespace

}  // namespace ozl::geometry

using ozl::geometry::kDecimate;
using ozl::geometry::kResize;
using ozl::geometry::kZoom;

extern "C" OZL_API void OZL_CALL ozlZoom(OzlImage* srcImage, OzlImage* dstImage, int xDst,
                                         int xSrc, int yDst, int ySrc, int interpolate) {
    ozl::geometry::resample(kZoom, srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate, 1);
}

extern "C" OZL_API void OZL_CALL ozlDecimate(OzlImage* srcImage, OzlImage* dstImage, int xDst,
                                             int xSrc, int yDst, int ySrc, int interpolate) {
    ozl::geometry::resample(kDecimate, srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate,
                            -1);
}

extern "C" OZL_API void OZL_CALL ozlResize(OzlImage* srcImage, OzlImage* dstImage, int xDst,
                                           int xSrc, int yDst, int ySrc, int interpolate) {
    ozl::geometry::resample(kResize, srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate, 0);
}
