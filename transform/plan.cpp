#include "transform/plan.hpp"

#include <climits>
#include <cmath>
#include <complex>
#include <cstring>
#include <new>
#include <vector>

#include "frame/error_context.hpp"

namespace ozl::transform {

namespace {

constexpr double kPi = 3.14159265358979323846;

// e^(sign i pi num / den), num reduced modulo 2 den first so that large
// products keep their precision.
std::complex<double> halfTurns(int64_t num, int64_t den, int sign) {
    const double angle = kPi * static_cast<double>(num % (2 * den)) / static_cast<double>(den);
    return {std::cos(angle), sign * std::sin(angle)};
}

void put(float* pair, std::complex<double> v) {
    pair[0] = static_cast<float>(v.real());
    pair[1] = static_cast<float>(v.imag());
}

// Radices for n, largest first (4s, then a 2, then 3s, 5s); false when n has
// another prime factor.
bool factor(int n, Stages& stages) {
    stages.count = 0;
    int rest = n;
    for (int p : {4, 2, 3, 5})
        while (rest % p == 0 && stages.count < kMaxStages) {
            stages.radix[stages.count++] = p;
            rest /= p;
        }
    return rest == 1;
}

size_t twiddleFloats(int n, const Stages& stages) {
    size_t floats = 0;
    int len = n;
    for (int i = 0; i < stages.count; ++i) {
        const int p = stages.radix[i];
        floats += static_cast<size_t>(len / p) * 2 * (p - 1);
        len /= p;
    }
    return floats;
}

float* fillTwiddles(int n, Stages& stages, float* out) {
    int len = n;
    for (int i = 0; i < stages.count; ++i) {
        const int p = stages.radix[i];
        const int m = len / p;
        stages.twiddles[i] = out;
        for (int q = 0; q < m; ++q)
            for (int k = 1; k < p; ++k, out += 2)
                put(out, halfTurns(2 * static_cast<int64_t>(q) * k, len, -1));
        len = m;
    }
    return out;
}

// In-place forward transform of a power-of-two length in double precision,
// for building tables only.
void fftDouble(std::vector<std::complex<double>>& a) {
    const size_t n = a.size();
    for (size_t i = 1, j = 0; i < n; ++i) {
        size_t bit = n >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j ^= bit;
        if (i < j) std::swap(a[i], a[j]);
    }
    for (size_t len = 2; len <= n; len <<= 1)
        for (size_t i = 0; i < n; i += len)
            for (size_t k = 0; k < len / 2; ++k) {
                const auto w = halfTurns(2 * static_cast<int64_t>(k), static_cast<int64_t>(len), -1);
                const auto u = a[i + k];
                const auto v = a[i + k + len / 2] * w;
                a[i + k] = u + v;
                a[i + k + len / 2] = u - v;
            }
}

// A block of `floats` floats after a header of type T, or nullptr.
template <class T>
T* allocate(size_t floats, float*& tables) {
    const size_t header = (sizeof(T) + 63) / 64 * 64;
    const size_t bytes = header + floats * sizeof(float);
    if (bytes > static_cast<size_t>(INT_MAX)) return nullptr;
    void* block = ozlMalloc(static_cast<int>(bytes));
    if (!block) return nullptr;
    tables = reinterpret_cast<float*>(static_cast<char*>(block) + header);
    return new (block) T{};
}

FftPlan* buildFft(int n) {
    Stages direct{};
    const bool smooth = factor(n, direct);
    int padded = 0;
    Stages paddedStages{};
    if (!smooth) {
        padded = 1;
        while (padded < 2 * n - 1) padded *= 2;
        factor(padded, paddedStages);
    }
    size_t floats = 4 * (static_cast<size_t>(n) + 1);
    floats += smooth ? twiddleFloats(n, direct)
                     : twiddleFloats(padded, paddedStages) + 2 * static_cast<size_t>(n) +
                           2 * static_cast<size_t>(padded);
    float* t = nullptr;
    FftPlan* plan = allocate<FftPlan>(floats, t);
    if (!plan) return nullptr;
    plan->n = n;
    plan->padded = padded;
    plan->stages = direct;
    plan->paddedStages = paddedStages;
    if (smooth) {
        t = fillTwiddles(n, plan->stages, t);
    } else {
        t = fillTwiddles(padded, plan->paddedStages, t);
        float* chirp = t;
        t += 2 * n;
        float* spectrum = t;
        t += 2 * padded;
        // b_j = e^(i pi j^2 / n); the filter holds b_j at j and at padded - j.
        std::vector<std::complex<double>> filter(static_cast<size_t>(padded));
        for (int j = 0; j < n; ++j) {
            const auto b = halfTurns(static_cast<int64_t>(j) * j, n, 1);
            put(chirp + 2 * j, b);
            filter[static_cast<size_t>(j)] = b;
            if (j > 0) filter[static_cast<size_t>(padded - j)] = b;
        }
        fftDouble(filter);
        for (int k = 0; k < padded; ++k)
            put(spectrum + 2 * k, filter[static_cast<size_t>(k)] / static_cast<double>(padded));
        plan->chirp = chirp;
        plan->chirpSpectrum = spectrum;
    }
    float* forward = t;
    float* inverse = t + 2 * (n + 1);
    const std::complex<double> i(0, 1);
    for (int k = 0; k <= n; ++k) {
        const auto w = halfTurns(k, n, -1);
        put(forward + 2 * k, -i * w / 2.0);
        put(inverse + 2 * k, i * std::conj(w));
    }
    plan->realForward = forward;
    plan->realInverse = inverse;
    return plan;
}

DctPlan* buildDct(int n) {
    const int half = n / 2;
    float* t = nullptr;
    DctPlan* plan = allocate<DctPlan>(4 * (static_cast<size_t>(half) + 1), t);
    if (!plan) return nullptr;
    plan->n = n;
    plan->dcForward = static_cast<float>(std::sqrt(1.0 / n));
    plan->dcInverse = static_cast<float>(1.0 / std::sqrt(static_cast<double>(n)));
    float* forward = t;
    float* inverse = t + 2 * (half + 1);
    for (int k = 0; k <= half; ++k) {
        put(forward + 2 * k, std::sqrt(2.0 / n) * halfTurns(k, 2 * static_cast<int64_t>(n), -1));
        put(inverse + 2 * k, halfTurns(k, 2 * static_cast<int64_t>(n), 1) / std::sqrt(2.0 * n));
    }
    plan->forward = forward;
    plan->inverse = inverse;
    return plan;
}

// The table of length n in a set, built on a miss. A full set gives up the
// table unused for longest (ages counted on the thread's clock, wrap-safe).
template <class Plan, Plan* (*kBuild)(int)>
const Plan* cached(frame::TransformTableSet& set, uint32_t& clock, int n) {
    const uint32_t now = ++clock;
    int freeSlot = -1, oldest = -1;
    uint32_t oldestAge = 0;
    for (int i = 0; i < frame::kTransformTableSlots; ++i) {
        auto* plan = static_cast<Plan*>(set.tables[i]);
        if (!plan) {
            if (freeSlot < 0) freeSlot = i;
            continue;
        }
        if (plan->n == n) {
            plan->lastUse = now;
            return plan;
        }
        if (now - plan->lastUse >= oldestAge) {
            oldestAge = now - plan->lastUse;
            oldest = i;
        }
    }
    Plan* plan = kBuild(n);
    if (!plan) return nullptr;
    plan->lastUse = now;
    if (freeSlot < 0) {
        freeSlot = oldest;
        ozlFree(set.tables[oldest]);
        --set.count;
    }
    set.tables[freeSlot] = plan;
    ++set.count;
    return plan;
}

}  // namespace

const FftPlan* fftPlan(int n) {
    frame::TransformCaches& caches = frame::tlsContext()->caches;
    return cached<FftPlan, buildFft>(caches.fft, caches.useClock, n);
}

const DctPlan* dctPlan(int n) {
    frame::TransformCaches& caches = frame::tlsContext()->caches;
    return cached<DctPlan, buildDct>(caches.dct, caches.useClock, n);
}

Scratch::Scratch(size_t bytes) {
    if (bytes > static_cast<size_t>(INT_MAX)) return;
    frame::TransformCaches& caches = frame::tlsContext()->caches;
    if (caches.scratch && caches.cachedSize >= 0 &&
        static_cast<size_t>(caches.cachedSize) >= bytes) {
        data_ = static_cast<float*>(caches.scratch);
        bytes_ = static_cast<size_t>(caches.cachedSize);
        caches.scratch = nullptr;
        caches.cachedSize = -1;
        return;
    }
    data_ = static_cast<float*>(ozlMalloc(static_cast<int>(bytes)));
    bytes_ = bytes;
}

Scratch::~Scratch() {
    if (!data_) return;
    frame::TransformCaches& caches = frame::tlsContext()->caches;
    // Keep the larger of this block and whatever a nested call left behind.
    const bool keep = bytes_ <= kMaxCachedScratch &&
                      (!caches.scratch || static_cast<size_t>(caches.cachedSize) < bytes_);
    if (!keep) {
        ozlFree(data_);
        return;
    }
    ozlFree(caches.scratch);
    caches.scratch = data_;
    caches.cachedSize = static_cast<int32_t>(bytes_);
}

}  // namespace ozl::transform
