// Kernels of the frequency transforms, by instruction-set level. Every kernel
// works on "lanes": a strip of as many independent sequences as a vector holds
// floats (several rows, transposed in and out of the working buffers, or several
// adjacent columns), and computes each lane with the same operations in the
// same order at every level. The scalar form (one lane) is the reference.
#pragma once

#include <cstddef>

#include "frame/cpu.hpp"
#include "transform/plan.hpp"

namespace ozl::transform {

constexpr int kMaxLanes = 16;

// Rows of floats: row y starts at data + y * stride.
struct Matrix {
    float* data = nullptr;
    ptrdiff_t stride = 0;
    float* row(int y) const { return data + y * stride; }
};

enum class Kind { FftForward, FftInverse, DctForward, DctInverse };

// One 1-D transform applied to many sequences of `length` values. Real
// transforms along rows use the plan of realPlanLength(length); complex ones
// along columns the plan of `length`. `buffers` are three working buffers of
// bufferElements(*fft) complex lane elements (2 * lanes floats each).
struct Job {
    Kind kind = Kind::FftForward;
    int length = 0;
    const FftPlan* fft = nullptr;
    const DctPlan* dct = nullptr;
    float scale = 1.0f;  // applied to the results of the Fourier kinds
    float* buffers[3] = {};
};

// The layouts of a 2-D spectrum of a real width x height image (see ozl.h).
// Rows: the half spectrum of each row, "R": Re X0, Re X1, Im X1, ..., and
// Re X(w/2) for even w: the row-pass result, which is the packed layout before
// the column pass.
enum class Layout { Packed, Ccs };

struct KernelTable {
    int lanes = 1;
    // Real transforms (FftForward: rows to R; FftInverse: R to rows, scaled;
    // Dct*: rows to rows) of `lanes` rows: in[l] to out[l]; out[l] nullptr
    // leaves a lane unwritten.
    void (*rows)(const Job& job, const float* const* in, float* const* out) = nullptr;
    // Complex transforms along `job.length` rows of `count` interleaved
    // (re, im) columns: those starting at float inX of `in` into those starting
    // at outX of `out` (the same columns may be read and written).
    void (*complexColumns)(const Job& job, Matrix in, int inX, Matrix out, int outX,
                           int count) = nullptr;
    // Cosine transforms along `job.length` rows of `count` real columns.
    void (*realColumns)(const Job& job, Matrix in, Matrix out, int count) = nullptr;
    // d = a * b, or a * conj(b), over `pairs` interleaved complex values; d may
    // be a or b.
    void (*multiplyPairs)(const float* a, const float* b, float* d, size_t pairs,
                          bool conjugate) = nullptr;
};

const KernelTable& kernelTable(cpu::Level level);
inline const KernelTable& activeTable() { return kernelTable(cpu::active()); }

// The self-conjugate columns of the packed and CCS layouts (column 0 and, for
// even widths, the last frequency column), one lane: forward from the R layout
// of `in` into `out` (scaled), inverse from `out`'s layout back to R. Jobs of
// the complex plan of `length` rows, buffers of 2 floats per element.
void edgeColumnsForward(const Job& job, Layout layout, int width, Matrix in, Matrix out);
void edgeColumnsInverse(const Job& job, Layout layout, int width, Matrix in, Matrix out);

}  // namespace ozl::transform
