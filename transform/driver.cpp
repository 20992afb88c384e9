#include "transform/driver.hpp"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "core/planes.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::transform {

namespace {

// An untiled float image whose processed channels each hold their values one
// after another along a row (one channel, or plane order): the passes read and
// write it in place.
bool isDirect(const OzlImage* image) {
    if (image::isTiled(image) || image->depth != OZL_DEPTH_32F) return false;
    const core::RowView row = core::rowOf(image, 0);
    return row.pixelStep == static_cast<ptrdiff_t>(sizeof(float)) &&
           reinterpret_cast<uintptr_t>(row.data) % alignof(float) == 0 &&
           image->widthStep % static_cast<int>(sizeof(float)) == 0;
}

Matrix directMatrix(const OzlImage* image, int channel) {
    const core::RowView row = core::rowOf(image, 0);
    return {reinterpret_cast<float*>(row.data + channel * row.channelStep),
            image->widthStep / static_cast<ptrdiff_t>(sizeof(float))};
}

// Whether two untiled images share bytes, and whether they share them value
// for value (the same rows, channels and region origin), so that a pass that
// reads a row before writing it back may work in place.
bool overlap(const OzlImage* a, const OzlImage* b) {
    if (image::isTiled(a) || image::isTiled(b)) return false;
    const char* a0 = a->imageData;
    const char* b0 = b->imageData;
    return a0 < b0 + b->imageSize && b0 < a0 + a->imageSize;
}

bool sameValues(const OzlImage* a, const OzlImage* b) {
    if (image::isTiled(a) || image::isTiled(b)) return false;
    const core::RowView ra = core::rowOf(a, 0), rb = core::rowOf(b, 0);
    return a->depth == b->depth && a->widthStep == b->widthStep && ra.data == rb.data &&
           ra.pixelStep == rb.pixelStep && ra.channelStep == rb.channelStep;
}

// Dense float planes of the calling transform's own: one per channel, rows
// padded to 64 bytes, and kept off multiples of 1 KB so that the columns of a
// strip do not all fall into one cache set.
class Planes {
public:
    Planes(int width, int height, int channels) {
        if (width <= 0 || height <= 0 || channels <= 0) return;
        stride_ = (static_cast<ptrdiff_t>(width) + 15) / 16 * 16;
        if (stride_ % 256 == 0) stride_ += 16;
        planeStride_ = stride_ * height;
        const int64_t bytes = static_cast<int64_t>(planeStride_) * channels * 4;
        if (bytes <= INT_MAX) data_ = static_cast<float*>(ozlMalloc(static_cast<int>(bytes)));
    }
    ~Planes() { ozlFree(data_); }
    Planes(const Planes&) = delete;
    Planes& operator=(const Planes&) = delete;

    bool ok() const { return data_ != nullptr; }
    Matrix matrix(int channel) const { return {data_ + channel * planeStride_, stride_}; }
    core::FloatPlanes planes() const { return {data_, stride_, planeStride_}; }

private:
    float* data_ = nullptr;
    ptrdiff_t stride_ = 0;
    ptrdiff_t planeStride_ = 0;
};

// Where one stage's values live: an image read or written in place, or planes
// of the transform's own.
struct Place {
    const OzlImage* image = nullptr;
    const Planes* planes = nullptr;
    Matrix matrix(int channel) const {
        return planes ? planes->matrix(channel) : directMatrix(image, channel);
    }
};

// Rows for the row kernel: float rows as they are, or rows of an untiled image
// converted through `temp` (lanes rows of `width` floats).
struct RowEnd {
    Place place;
    OzlImage* converted = nullptr;
};

void rowPass(const KernelTable& k, const Job& job, const RowEnd& in, const RowEnd& out,
             int channel, int inWidth, int outWidth, int height, float* tempIn, float* tempOut) {
    const int lanes = k.lanes;
    const Matrix mi = in.converted ? Matrix{} : in.place.matrix(channel);
    const Matrix mo = out.converted ? Matrix{} : out.place.matrix(channel);
    const float* rowsIn[kMaxLanes];
    float* rowsOut[kMaxLanes];
    for (int y0 = 0; y0 < height; y0 += lanes) {
        const int count = std::min(lanes, height - y0);
        for (int l = 0; l < lanes; ++l) {
            // Lanes past the last row repeat it and are not written back.
            const int y = y0 + std::min(l, count - 1);
            if (in.converted) {
                float* row = tempIn + static_cast<ptrdiff_t>(std::min(l, count - 1)) * inWidth;
                if (l < count)
                    core::loadValues(core::rowOf(in.converted, y), channel, in.converted->depth,
                                     static_cast<size_t>(inWidth), row);
                rowsIn[l] = row;
            } else {
                rowsIn[l] = mi.row(y);
            }
            rowsOut[l] = l >= count        ? nullptr
                         : out.converted ? tempOut + static_cast<ptrdiff_t>(l) * outWidth
                                         : mo.row(y);
        }
        k.rows(job, rowsIn, rowsOut);
        if (out.converted)
            for (int l = 0; l < count; ++l)
                core::storeValues(tempOut + static_cast<ptrdiff_t>(l) * outWidth,
                                  static_cast<size_t>(outWidth), out.converted->depth,
                                  core::rowOf(out.converted, y0 + l), channel);
    }
}

// Floats of one working buffer of `elements` complex lane elements, kept a
// multiple of 64 bytes.
size_t bufferFloats(size_t elements, int lanes) {
    return (elements * 2 * static_cast<size_t>(lanes) + 15) / 16 * 16;
}

// The tables and working memory of one call, taken after every tile has been
// fetched and given back before any is stored: a tile callback that calls a
// transform on this thread cannot touch them.
struct Resources {
    const FftPlan* rowFft = nullptr;
    const FftPlan* columnFft = nullptr;
    const DctPlan* rowDct = nullptr;
    const DctPlan* columnDct = nullptr;
};

bool acquire(const Request& r, int width, int height, Resources& res) {
    if (r.fourier) {
        res.rowFft = fftPlan(realPlanLength(width));
        res.columnFft = res.rowFft ? fftPlan(height) : nullptr;
        return res.columnFft != nullptr;
    }
    // The cache gives up its least recently used table first, never one of
    // the two this call has just taken.
    res.rowFft = fftPlan(realPlanLength(width));
    res.rowDct = dctPlan(width);
    res.columnFft = fftPlan(realPlanLength(height));
    res.columnDct = dctPlan(height);
    return res.rowFft && res.rowDct && res.columnFft && res.columnDct;
}

}  // namespace

Outcome transform2D(OzlImage* src, OzlImage* dst, int width, int height, const Request& request) {
    const bool inverse = request.inverse;
    const int specWidth = spectrumWidth(request, width);
    const int channels = image::effectiveChannels(dst);
    const bool dstDirect = isDirect(dst);
    // A pass that writes dst while src is still being read needs src apart,
    // unless both are the same values laid out alike (a row is read before it
    // is written). Only the layouts of equal widths can share rows that way.
    const bool inPlace = specWidth == width && sameValues(src, dst);
    const bool clash = overlap(src, dst) && !inPlace;
    // dst is written during the passes when it holds R or the forward
    // spectrum itself, or takes the inverse's rows converted.
    const bool convertOut = inverse && !dstDirect && !image::isTiled(dst);
    const bool writesDst = dstDirect || convertOut;

    // Stage 1: where each pass reads and writes.
    // Forward: src rows -> R (row pass) -> spectrum (column pass).
    // Inverse: spectrum -> R (column pass) -> dst rows (row pass).
    const bool rInDst = dstDirect && (inverse || specWidth == width);
    const bool srcReadable = inverse ? isDirect(src) : !image::isTiled(src);
    const bool stageSrc = !srcReadable || (writesDst && clash);
    Planes staged(stageSrc ? (inverse ? specWidth : width) : 0, height, stageSrc ? channels : 0);
    const bool stagedIsR = stageSrc && (inverse ? specWidth == width : true);
    const bool needOwnR = !rInDst && !stagedIsR;
    Planes ownR(needOwnR ? width : 0, height, needOwnR ? channels : 0);
    // The forward CCS spectrum is wider than R: a place of its own unless dst takes it.
    const bool needOwnSpectrum = !inverse && specWidth != width && !dstDirect;
    Planes ownSpectrum(needOwnSpectrum ? specWidth : 0, height,
                       needOwnSpectrum ? channels : 0);
    if ((stageSrc && !staged.ok()) || (needOwnR && !ownR.ok()) ||
        (needOwnSpectrum && !ownSpectrum.ok()))
        return Outcome::NoMemory;

    Place srcPlace{src, stageSrc ? &staged : nullptr};
    Place r{dst, rInDst ? nullptr : (needOwnR ? &ownR : &staged)};
    Place spectrum = inverse ? srcPlace
                     : specWidth == width ? r
                                          : Place{dst, needOwnSpectrum ? &ownSpectrum : nullptr};
    // Where the final values are when the passes end, if not in dst already.
    const Planes* result = inverse ? (dstDirect ? nullptr : r.planes)
                                   : (specWidth == width ? r.planes : spectrum.planes);
    // An untiled dst that is not plain float rows takes the last row pass
    // converted, straight from the kernel.
    if (convertOut) result = nullptr;

    if (stageSrc && !core::readPlanes(src, inverse ? specWidth : width, height, staged.planes()))
        return Outcome::ReadFailed;

    // Stage 2: the passes, with the tables and the working memory.
    {
        Resources res;
        if (!acquire(request, width, height, res)) return Outcome::NoMemory;
        const KernelTable& k = activeTable();
        const size_t elements = std::max(bufferElements(*res.rowFft), bufferElements(*res.columnFft));
        const size_t buffer = bufferFloats(elements, k.lanes);
        const size_t temp = static_cast<size_t>(k.lanes) * std::max(width, specWidth);
        Scratch scratch((3 * buffer + 2 * temp) * sizeof(float));
        if (!scratch.data()) return Outcome::NoMemory;
        float* buffers = scratch.data();
        float* tempIn = buffers + 3 * buffer;
        float* tempOut = tempIn + temp;

        Job rowJob;
        rowJob.length = width;
        rowJob.fft = res.rowFft;
        rowJob.dct = res.rowDct;
        Job columnJob;
        columnJob.length = height;
        columnJob.fft = res.columnFft;
        columnJob.dct = res.columnDct;
        for (int i = 0; i < 3; ++i)
            rowJob.buffers[i] = columnJob.buffers[i] = buffers + i * buffer;
        if (request.fourier) {
            rowJob.kind = inverse ? Kind::FftInverse : Kind::FftForward;
            columnJob.kind = rowJob.kind;
            (inverse ? rowJob : columnJob).scale = request.scale;
        } else {
            rowJob.kind = columnJob.kind = inverse ? Kind::DctInverse : Kind::DctForward;
        }

        RowEnd rowsIn, rowsOut;
        if (inverse) {
            rowsIn.place = r;
            rowsOut.place = r;
            if (convertOut) rowsOut.converted = dst;
        } else {
            rowsIn.place = srcPlace;
            if (!stageSrc && !isDirect(src)) rowsIn.converted = src;
            rowsOut.place = r;
        }
        const int interior = (width - 1) / 2;
        const int specX = request.layout == Layout::Ccs ? 2 : 1;
        auto columns = [&](int c, Place from, Place to) {
            const Matrix in = from.matrix(c), out = to.matrix(c);
            if (!request.fourier) {
                k.realColumns(columnJob, in, out, width);
                return;
            }
            if (inverse) {
                edgeColumnsInverse(columnJob, request.layout, width, in, out);
                k.complexColumns(columnJob, in, specX, out, 1, interior);
            } else {
                edgeColumnsForward(columnJob, request.layout, width, in, out);
                k.complexColumns(columnJob, in, 1, out, specX, interior);
            }
        };
        for (int c = 0; c < channels; ++c) {
            if (inverse) {
                columns(c, spectrum, r);
                rowPass(k, rowJob, rowsIn, rowsOut, c, width, width, height, tempIn, tempOut);
            } else {
                rowPass(k, rowJob, rowsIn, rowsOut, c, width, width, height, tempIn, tempOut);
                columns(c, r, spectrum);
            }
        }
    }

    // Stage 3: values computed apart go to dst.
    if (result && !core::writePlanes(dst, inverse ? width : specWidth, height, result->planes()))
        return Outcome::WriteFailed;
    return Outcome::Done;
}

Outcome multiplyPacked(OzlImage* a, OzlImage* b, OzlImage* d, int width, int height,
                       bool conjugate) {
    const int channels = image::effectiveChannels(d);
    const bool dDirect = isDirect(d);
    // A source is used in place when it is plain float rows and, if d is
    // written in place, either apart from d or the very same values.
    auto apart = [&](const OzlImage* s) {
        return isDirect(s) && (!dDirect || !overlap(s, d) || sameValues(s, d));
    };
    const bool aInPlace = apart(a), bInPlace = apart(b);
    Planes pa(aInPlace ? 0 : width, height, aInPlace ? 0 : channels);
    Planes pb(bInPlace ? 0 : width, height, bInPlace ? 0 : channels);
    Planes pd(dDirect ? 0 : width, height, dDirect ? 0 : channels);
    if ((!aInPlace && !pa.ok()) || (!bInPlace && !pb.ok()) || (!dDirect && !pd.ok()))
        return Outcome::NoMemory;
    if ((!aInPlace && !core::readPlanes(a, width, height, pa.planes())) ||
        (!bInPlace && !core::readPlanes(b, width, height, pb.planes())))
        return Outcome::ReadFailed;

    const KernelTable& k = activeTable();
    const KernelTable& one = kernelTable(cpu::Level::Ref);
    const Place placeA{a, aInPlace ? nullptr : &pa}, placeB{b, bInPlace ? nullptr : &pb};
    const Place placeD{d, dDirect ? nullptr : &pd};
    const size_t pairs = static_cast<size_t>((width - 1) / 2);
    for (int c = 0; c < channels; ++c) {
        const Matrix ma = placeA.matrix(c), mb = placeB.matrix(c), md = placeD.matrix(c);
        for (int y = 0; y < height; ++y)
            k.multiplyPairs(ma.row(y) + 1, mb.row(y) + 1, md.row(y) + 1, pairs, conjugate);
        // Columns 0 and (even widths) width - 1 run down the rows: real at row 0
        // and (even heights) the last row, pairs of rows 2k - 1, 2k between.
        const int edges = width % 2 == 0 ? 2 : 1;
        for (int e = 0; e < edges; ++e) {
            const int x = e == 0 ? 0 : width - 1;
            md.row(0)[x] = ma.row(0)[x] * mb.row(0)[x];
            for (int y = 1; y + 1 < height; y += 2) {
                const float pa2[2] = {ma.row(y)[x], ma.row(y + 1)[x]};
                const float pb2[2] = {mb.row(y)[x], mb.row(y + 1)[x]};
                float pd2[2];
                one.multiplyPairs(pa2, pb2, pd2, 1, conjugate);
                md.row(y)[x] = pd2[0];
                md.row(y + 1)[x] = pd2[1];
            }
            if (height % 2 == 0 && height > 1)
                md.row(height - 1)[x] = ma.row(height - 1)[x] * mb.row(height - 1)[x];
        }
    }
    if (!dDirect && !core::writePlanes(d, width, height, pd.planes())) return Outcome::WriteFailed;
    return Outcome::Done;
}

}  // namespace ozl::transform
