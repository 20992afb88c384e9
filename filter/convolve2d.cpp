// 2-D convolution: ozlConvolve2D (integer images, integer kernels) and
// ozlConvolve2DFP (32F images, float kernels), one to ten kernels whose
// outputs are combined per pixel. The entry points check their arguments; one
// engine prepares the kernels and hands a row kernel to the neighbourhood
// driver.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/checks.hpp"
#include "core/nb_setup.hpp"
#include "filter/conv_kernel.hpp"
#include "filter/conv_plan.hpp"
#include "filter/kernels.hpp"
#include "image/depth.hpp"

namespace ozl::filter {
namespace {

constexpr int kMaxKernels = 10;

enum Method { kSum = 0, kSumSq = 1, kSumSqRoot = 2, kMax = 3, kMin = 4 };

// One kernel as the rows use it.
struct Prepared {
    int cls = 0;
    WideKernel wide;
    ExactKernel exact;
    RealKernel real;
};

// Everything the row kernel reads.
struct Plan {
    const KernelTable* table = nullptr;
    int elem = 0;  // integer routine index of the rows' value type
    image::Elem type = image::Elem::U8;
    int64_t lo = 0, hi = 0;  // the destination's range (1U: 0..1)
    bool isFloat = false;
    bool anyExact = false;
    int method = kSum;
    int nKernels = 1;
    bool narrowPath = false;  // one 8-bit kernel in 16-bit sums, straight to the output
    bool realPath = false;    // one 32F kernel, straight to the output
    NarrowKernel narrow;
    RealKernel streamed;  // the real path's kernel, storing past the caches
    Prepared k[kMaxKernels];
};

// ---------------------------------------------------------------------------
// Combining the kernels' outputs. With one kernel, the sum of squares is the
// square and its root the absolute value; the other methods pass it on.

// The root of a 32-bit accumulator, rounded to the nearest (ties to even). An
// accumulator that wrapped negative has no root: it gives the lowest value.
int32_t rootOf(int32_t acc) {
    if (acc < 0) return INT32_MIN;
    return static_cast<int32_t>(std::nearbyint(std::sqrt(static_cast<double>(acc))));
}

template <class A>
A square(A r) {
    if constexpr (std::is_same_v<A, int32_t>)
        return static_cast<int32_t>(static_cast<uint32_t>(r) * static_cast<uint32_t>(r));
    else return r * r;
}

// acc (op)= r over n values; `first` starts the accumulator.
template <class A>
void combine(int method, bool first, A* acc, const A* r, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const A v = r[i];
        if (first) {
            acc[i] = method == kSumSq || method == kSumSqRoot ? square(v) : v;
            continue;
        }
        switch (method) {
            case kSumSq:
            case kSumSqRoot:
                if constexpr (std::is_same_v<A, int32_t>)
                    acc[i] = static_cast<int32_t>(static_cast<uint32_t>(acc[i]) +
                                                  static_cast<uint32_t>(square(v)));
                else acc[i] = acc[i] + square(v);
                break;
            case kMax: acc[i] = v > acc[i] ? v : acc[i]; break;
            case kMin: acc[i] = v < acc[i] ? v : acc[i]; break;
            default:
                if constexpr (std::is_same_v<A, int32_t>)
                    acc[i] = static_cast<int32_t>(static_cast<uint32_t>(acc[i]) + static_cast<uint32_t>(v));
                else acc[i] = acc[i] + v;
        }
    }
}

// One kernel's output as its method leaves it.
template <class A>
A single(int method, A r) {
    if (method == kSumSq) return square(r);
    if (method == kSumSqRoot) {
        if constexpr (std::is_same_v<A, int32_t>) return r == INT32_MIN ? INT32_MAX : (r < 0 ? -r : r);
        else return std::fabs(r);
    }
    return r;
}

template <class T>
void storeInt(const Plan& p, const int32_t* acc, void* dst, size_t n, bool root) {
    T* out = static_cast<T*>(dst);
    for (size_t i = 0; i < n; ++i) out[i] = clampTo<T>(root ? rootOf(acc[i]) : acc[i], p.lo, p.hi);
}

template <class T>
void storeExact(const Plan& p, const double* acc, void* dst, size_t n, bool root) {
    T* out = static_cast<T*>(dst);
    const double lo = static_cast<double>(p.lo), hi = static_cast<double>(p.hi);
    for (size_t i = 0; i < n; ++i) {
        const double v = root ? std::nearbyint(std::sqrt(acc[i])) : acc[i];
        out[i] = static_cast<T>(v < lo ? lo : v > hi ? hi : v);
    }
}

template <class F>
void withType(image::Elem e, F&& f) {
    switch (e) {
        case image::Elem::S8: f(int8_t{}); break;
        case image::Elem::U16: f(uint16_t{}); break;
        case image::Elem::S16: f(int16_t{}); break;
        case image::Elem::S32: f(int32_t{}); break;
        default: f(uint8_t{});
    }
}

// ---------------------------------------------------------------------------
// The row kernels.

void integerRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const size_t n = static_cast<size_t>(row.width) * row.channels;
    if (p.narrowPath) return p.table->narrow(p.narrow, row.src, row.dst, n);
    const bool root = p.method == kSumSqRoot && p.nKernels > 1;
    if (!p.anyExact) {
        auto* acc = static_cast<int32_t*>(row.scratch);
        int32_t* r = acc + n;
        for (int k = 0; k < p.nKernels; ++k) {
            int32_t* out = p.nKernels == 1 ? acc : r;
            p.table->wide[p.elem](p.k[k].wide, row.src, out, n);
            if (p.nKernels == 1) {
                if (p.method == kSumSq || p.method == kSumSqRoot)
                    for (size_t i = 0; i < n; ++i) acc[i] = single(p.method, acc[i]);
            } else {
                combine(p.method, k == 0, acc, r, n);
            }
        }
        withType(p.type, [&](auto t) { storeInt<decltype(t)>(p, acc, row.dst, n, root); });
        return;
    }
    auto* acc = static_cast<double*>(row.scratch);
    double* r = acc + n;
    auto* r32 = reinterpret_cast<int32_t*>(r + n);
    for (int k = 0; k < p.nKernels; ++k) {
        if (p.k[k].cls == 2) {
            p.table->exact[p.elem](p.k[k].exact, row.src, r, n);
        } else {
            p.table->wide[p.elem](p.k[k].wide, row.src, r32, n);
            for (size_t i = 0; i < n; ++i) r[i] = r32[i];
        }
        if (p.nKernels == 1)
            for (size_t i = 0; i < n; ++i) acc[i] = single(p.method, r[i]);
        else
            combine(p.method, k == 0, acc, r, n);
    }
    withType(p.type, [&](auto t) { storeExact<decltype(t)>(p, acc, row.dst, n, root); });
}

void floatRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const size_t n = static_cast<size_t>(row.width) * row.channels;
    auto* out = static_cast<float*>(row.dst);
    if (p.realPath)
        return p.table->realBand(row.stream ? p.streamed : p.k[0].real, row.src, out, row.dstStride,
                                 row.rows, n);
    if (p.nKernels == 1) {
        p.table->real(p.k[0].real, row.src, out, n);
        for (size_t i = 0; i < n; ++i) out[i] = single(p.method, out[i]);
        return;
    }
    auto* acc = static_cast<float*>(row.scratch);
    float* r = acc + n;
    for (int k = 0; k < p.nKernels; ++k) {
        p.table->real(p.k[k].real, row.src, r, n);
        combine(p.method, k == 0, acc, r, n);
    }
    for (size_t i = 0; i < n; ++i) out[i] = p.method == kSumSqRoot ? std::sqrt(acc[i]) : acc[i];
}

// ---------------------------------------------------------------------------
// Preparation.

// Memory of the prepared taps and pairs, released by the engine.
struct TapMemory {
    char* block = nullptr;
    ~TapMemory() { ozlFree(block); }
};

// The taps of every kernel, each at its place among the rows the union of
// the kernels reads (integer kernels keep their non-zero weights only), and
// the forms each routine reads.
template <class Record>
bool prepare(Plan& p, Record* const* kernels, int n, const core::Margins& m, int channels,
             uint32_t depth, TapMemory& memory) {
    int64_t taps = 0;
    for (int k = 0; k < n; ++k) taps += static_cast<int64_t>(kernels[k]->nCols) * kernels[k]->nRows;
    const int64_t bytes = taps * (sizeof(Tap) + sizeof(TapF)) + (taps / 2 + kMaxKernels) * sizeof(TapPair) + 64;
    if (bytes > INT32_MAX) return false;
    memory.block = static_cast<char*>(ozlMalloc(static_cast<int>(bytes)));
    if (!memory.block) return false;
    Tap* tapAt = reinterpret_cast<Tap*>(memory.block);
    TapF* tapFAt = reinterpret_cast<TapF*>(tapAt + taps);
    TapPair* pairAt = reinterpret_cast<TapPair*>(tapFAt + taps);
    const ValueRange range = valueRange(depth);
    for (int k = 0; k < n; ++k) {
        const Record& rec = *kernels[k];
        Prepared& pk = p.k[k];
        const int rowBase = m.top - rec.anchorY;
        Tap* first = tapAt;
        TapF* firstF = tapFAt;
        for (int jj = 0; jj < rec.nRows; ++jj)
            for (int ii = 0; ii < rec.nCols; ++ii) {
                const auto c = rec.values[static_cast<int64_t>(jj) * rec.nCols + ii];
                const int offset = (ii - rec.anchorX) * channels;
                if constexpr (std::is_same_v<Record, OzlConvKernelFP>) {
                    *tapFAt++ = TapF{rowBase + jj, offset, c};
                } else if (c != 0) {
                    *tapAt++ = Tap{rowBase + jj, offset, c};
                }
            }
        pk.real = RealKernel{firstF, static_cast<int>(tapFAt - firstF)};
        if constexpr (!std::is_same_v<Record, OzlConvKernelFP>) {
            const int count = static_cast<int>(tapAt - first);
            const int shift = normalShift(rec.nShiftR);
            pk.cls = computationClass(rec.values, static_cast<size_t>(rec.nCols) * rec.nRows, depth);
            pk.exact = ExactKernel{first, count, shift};
            pk.wide.taps = first;
            pk.wide.count = count;
            pk.wide.pairs = pairAt;
            pk.wide.nPairs = pairTaps(first, count, pairAt);
            pk.wide.bias = depth == OZL_DEPTH_16U ? unsigned16Bias(pairAt, pk.wide.nPairs) : 0;
            pk.wide.shift = shift;
            pairAt += pk.wide.nPairs;
            if (pk.cls == 2) p.anyExact = true;

            // One 8-bit kernel whose sums fit 16 bits: straight to the output.
            const bool eightBit = depth == OZL_DEPTH_8U || depth == OZL_DEPTH_8S;
            const Narrow narrow = narrowSums(sumBounds(rec.values, static_cast<size_t>(rec.nCols) * rec.nRows, range));
            if (n == 1 && eightBit && p.method != kSumSq && narrow != Narrow::No &&
                pk.wide.nPairs <= kMaxPairs) {
                NarrowKernel& nk = p.narrow;
                nk.taps = first;
                nk.count = count;
                nk.nPairs = pk.wide.nPairs;
                nk.pairs = pk.wide.pairs;
                nk.bytePairs = bytePairsFit(nk.pairs, nk.nPairs);
                nk.signedIn = depth == OZL_DEPTH_8S;
                nk.signedSum = narrow == Narrow::Signed;
                nk.bias = nk.signedIn ? flippedBias(first, count) : 0;
                nk.shift = std::min(shift, 16);
                nk.absolute = p.method == kSumSqRoot;
                nk.signedOut = depth == OZL_DEPTH_8S;
                p.narrowPath = true;
            }
        }
    }
    return true;
}

template <class Record>
core::NbCode engine(OzlImage* srcImage, OzlImage* dstImage, Record* const* kernels,
                    int nKernels, int method) {
    core::NbSetup setup;
    const core::NbCode code = core::setupNeighbourhood(srcImage, dstImage, setup);
    if (code != core::NbCode::Done || setup.width == 0) return code;
    const OzlImage& src = setup.src;

    core::Margins m;
    for (int k = 0; k < nKernels; ++k) {
        const Record& r = *kernels[k];
        m.left = std::max(m.left, r.anchorX);
        m.top = std::max(m.top, r.anchorY);
        m.right = std::max(m.right, r.nCols - 1 - r.anchorX);
        m.bottom = std::max(m.bottom, r.nRows - 1 - r.anchorY);
    }

    Plan plan;
    plan.table = &activeTable();
    plan.isFloat = src.depth == OZL_DEPTH_32F;
    plan.type = src.depth == OZL_DEPTH_1U ? image::Elem::U8 : image::elemOf(src.depth);
    plan.elem = intIndex(plan.type);
    const ValueRange range = valueRange(setup.dst.depth);
    plan.lo = range.lo;
    plan.hi = range.hi;
    plan.nKernels = nKernels;
    // With one kernel the method is not checked: anything but the two square
    // methods passes its output on.
    plan.method = nKernels == 1 && method != kSumSq && method != kSumSqRoot ? kSum : method;
    TapMemory memory;
    if (!prepare(plan, kernels, nKernels, m, setup.channels, src.depth, memory))
        return core::NbCode::NoMemory;
    plan.realPath = plan.isFloat && nKernels == 1 && plan.method == kSum;
    plan.streamed = plan.k[0].real;
    plan.streamed.stream = true;

    core::NbKernel kernel;
    kernel.row = plan.isFloat ? &floatRow : &integerRow;
    kernel.context = &plan;
    kernel.margins = m;
    kernel.scratchPerValue = 24;
    // One 32F kernel takes bands of rows (sharing their source rows' loads).
    kernel.bandRows = plan.realPath ? plan.table->realBandRows : 1;
    // Nothing is carried from call to call: the ends of the rows may come
    // from small copies while every source row is read in place.
    kernel.independentColumns = true;
    const core::NbPass pass{&kernel, 1};
    return core::runPasses(setup, &pass, 1);
}

// ---------------------------------------------------------------------------
// The entry points.

template <class Record>
void convolve(const core::Caller& caller, int line, int engineLine, OzlImage* src, OzlImage* dst,
              Record** kernel, int nKernels, int method) {
    using core::fail;
    if (!core::headersValid(caller, {src, dst}, line)) return;
    for (const OzlImage* im : {src, dst})
        if (im->roi && (im->roi->xOffset < 0 || im->roi->yOffset < 0 ||
                        im->roi->xOffset >= im->width || im->roi->yOffset >= im->height))
            return static_cast<void>(fail(caller, OZL_StsBadOffset, "Bad ROI offsets", line));
    if (!kernel) return static_cast<void>(fail(caller, OZL_StsBadArg, "kernel==0", line));
    if (nKernels <= 0 || nKernels > kMaxKernels)
        return static_cast<void>(fail(caller, OZL_StsBadArg, "(nKernels<=0 || nKernels>10)", line));
    if (nKernels > 1 && (method < kSum || method > kMin))
        return static_cast<void>(fail(caller, OZL_StsBadArg, "Inadmissible method", line));
    for (int k = 0; k < nKernels; ++k) {
        if (!kernel[k]) return static_cast<void>(fail(caller, OZL_StsBadArg, "kernel[i]==0", line));
        // A record without coefficients cannot be read either.
        if (badKernel(*kernel[k]) || !kernel[k]->values)
            return static_cast<void>(fail(caller, OZL_StsBadArg, "Bad kernel structure", line));
    }
    if (src->depth != dst->depth || src->dataOrder != dst->dataOrder)
        return static_cast<void>(fail(caller, OZL_StsBadArg, "Uncompatible images", line));
    constexpr bool kFloat = std::is_same_v<Record, OzlConvKernelFP>;
    if (!kFloat && src->depth == OZL_DEPTH_32F)
        return static_cast<void>(fail(caller, OZL_StsBadArg,
                                      "32F images can be processed only with FP kernel", line + 2));
    if (kFloat && src->depth != OZL_DEPTH_32F)
        return static_cast<void>(
            fail(caller, OZL_StsBadArg, "FP kernel can be used only for 32F images", line + 2));

    core::reportNbCode(caller, engine(src, dst, kernel, nKernels, method), engineLine);
}

}  // namespace
}  // namespace ozl::filter

extern "C" OZL_API void OZL_CALL ozlConvolve2D(OzlImage* srcImage, OzlImage* dstImage,
                                               OzlConvKernel** kernel, int nKernels,
                                               int combineMethod) {
    ozl::filter::convolve({"ozlConvolve2D", "ozlcnv2d"}, 1608, 1618, srcImage, dstImage, kernel,
                          nKernels, combineMethod);
}

extern "C" OZL_API void OZL_CALL ozlConvolve2DFP(OzlImage* srcImage, OzlImage* dstImage,
                                                 OzlConvKernelFP** kernel, int nKernels,
                                                 int combineMethod) {
    ozl::filter::convolve({"ozlConvolve2DFP", "ozlcnv2d"}, 1633, 1642, srcImage, dstImage, kernel,
                          nKernels, combineMethod);
}
