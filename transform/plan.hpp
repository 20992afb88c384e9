// Precomputed tables of the frequency transforms, kept per thread in the error
// context and reused by every call of the same length. Each table is one
// ozlMalloc block: a header followed by its floats. Twiddles are computed in
// double precision and rounded once, so every level computes with the same
// constants.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ozl::transform {

// A length of 2^30 needs 15 radix-4 stages; the bound leaves room for 3s and 5s.
constexpr int kMaxStages = 40;

// A mixed-radix (2, 3, 4, 5) self-sorting transform: the radix of each stage in
// order and its twiddles. Stage i of radix p on length len (m = len / p) holds,
// for q = 0..m-1, the pairs (re, im) of w^(q k), k = 1..p-1, w = e^(-2 pi i / len).
struct Stages {
    int32_t count;
    int32_t radix[kMaxStages];
    const float* twiddles[kMaxStages];
};

// The complex transform of length n (forward: e^(-2 pi i jk / n), unscaled), and
// the rotations a real transform of length 2n adds.
struct FftPlan {
    int32_t n;
    uint32_t lastUse;
    Stages stages;        // over n, when padded is 0
    // Lengths with a prime factor above 5 go through a chirp convolution of
    // this power-of-two length (at least 2n - 1).
    int32_t padded;
    Stages paddedStages;
    const float* chirp;          // n pairs: e^(i pi k^2 / n)
    const float* chirpSpectrum;  // padded pairs: transform of the chirp filter, over padded
    // Real transforms of length 2n, k = 0..n: forward -i w^k / 2, inverse i conj(w^k),
    // w = e^(-i pi / n), as pairs.
    const float* realForward;
    const float* realInverse;
};

// The rotations of the orthonormal cosine transform of length n (through a real
// Fourier transform of the reordered sequence), k = 0..n/2, as pairs:
// forward sqrt(2/n) e^(-i pi k / 2n), inverse e^(i pi k / 2n) / sqrt(2n).
struct DctPlan {
    int32_t n;
    uint32_t lastUse;
    float dcForward;  // sqrt(1/n)
    float dcInverse;  // 1/sqrt(n)
    const float* forward;
    const float* inverse;
};

// Elements (complex values) each of the three working buffers of a transform
// with this plan needs.
inline size_t bufferElements(const FftPlan& plan) {
    const size_t n = static_cast<size_t>(plan.n) + 1;
    const size_t padded = static_cast<size_t>(plan.padded);
    return n > padded ? n : padded;
}

// Complex length behind a real transform (and a cosine transform) of length n.
constexpr int realPlanLength(int n) { return n % 2 == 0 ? n / 2 : n; }

// The calling thread's tables for a length, built on first use; nullptr when
// memory runs out. The pointers stay valid until the thread asks for more
// lengths than the cache holds: hold them only while no callback can run.
const FftPlan* fftPlan(int n);
const DctPlan* dctPlan(int n);

// Working memory of one call: the thread's cached block when it is big enough
// (blocks up to kMaxCachedScratch bytes are kept for the next call), else a
// block of its own. The cached block is taken out of the context while in use,
// so a nested call never shares it.
constexpr size_t kMaxCachedScratch = size_t{4} << 20;

class Scratch {
public:
    explicit Scratch(size_t bytes);
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    float* data() const { return data_; }  // nullptr: no memory

private:
    float* data_ = nullptr;
    size_t bytes_ = 0;
};

}  // namespace ozl::transform
