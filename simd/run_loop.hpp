// The one loop over a run of values, driving a kernel's vector form with its
// scalar form for what the vectors cannot cover. A kernel is a struct template
// over the vector layer, KernelAt<Vx>, with
//   using Elem (value type), using V (vector type), static constexpr int arity
//   (sources read: 0, 1 or 2), a constructor from the call's context,
//   V r(V a, V b) const, and static Elem r(Elem a, Elem b, const void* context),
//   the scalar form (also the reference the vector form must match bit for bit),
//   and static V load(const Elem*).
// Internal linkage (see sse2.hpp).
#pragma once

#include <cstddef>
#include <cstdint>

namespace ozl::simd {
namespace {

// True when the byte ranges [d, d + bytes) and [s, s + bytes) do not meet
// (a missing source meets nothing).
inline bool disjoint(const void* d, const void* s, size_t bytes) {
    if (!s) return true;
    const uintptr_t du = reinterpret_cast<uintptr_t>(d), su = reinterpret_cast<uintptr_t>(s);
    return du + bytes <= su || su + bytes <= du;
}

// Runs at least this long (bytes) are first brought to an aligned destination.
constexpr size_t kAlignFrom = 256;

// Runs at least this long (bytes) store past the caches: a destination this
// size, with its sources, outgrows a typical last-level cache, so caching it
// would only evict the sources, and streaming saves reading it first. Shorter
// runs are faster with ordinary stores, whose lines the next operation usually
// reads.
constexpr size_t kStreamFrom = size_t{16} << 20;

// Vector blocks of four registers, then single registers; the destination is
// aligned first on long runs, and very long runs stream their stores. The last
// partial vector is done by running the last full vector again at n - width,
// from operands read before the loop (in place, the loop overwrites them); the
// scalar form finishes when d overlaps a source in any other way. Runs shorter
// than a vector go to the narrower level's kernel, or to the scalar form.
template <template <class> class KernelAt, class Vx>
void runLoop(const void* pa, const void* pb, void* pd, size_t n, const void* context) {
    using K = KernelAt<Vx>;
    using T = typename K::Elem;
    using V = typename K::V;
    constexpr size_t W = Vx::kBytes / sizeof(T);
    const T* a = static_cast<const T*>(pa);
    const T* b = static_cast<const T*>(pb);
    T* d = static_cast<T*>(pd);
    const K k(context);

    auto load = [](const T* p) { return K::load(p); };
    auto one = [&](size_t i) {
        V x{}, y{};
        if constexpr (K::arity >= 1) x = load(a + i);
        if constexpr (K::arity >= 2) y = load(b + i);
        Vx::store(d + i, k.r(x, y));
    };
    auto four = [&](size_t i, auto put) {
        V x0{}, x1{}, x2{}, x3{}, y0{}, y1{}, y2{}, y3{};
        if constexpr (K::arity >= 1) {
            x0 = load(a + i); x1 = load(a + i + W);
            x2 = load(a + i + 2 * W); x3 = load(a + i + 3 * W);
        }
        if constexpr (K::arity >= 2) {
            y0 = load(b + i); y1 = load(b + i + W);
            y2 = load(b + i + 2 * W); y3 = load(b + i + 3 * W);
        }
        put(d + i, k.r(x0, y0));
        put(d + i + W, k.r(x1, y1));
        put(d + i + 2 * W, k.r(x2, y2));
        put(d + i + 3 * W, k.r(x3, y3));
    };
    auto scalar = [&](size_t from, size_t to) {
        for (size_t i = from; i < to; ++i)
            d[i] = K::r(K::arity >= 1 ? a[i] : T{}, K::arity >= 2 ? b[i] : T{}, context);
    };

    if constexpr (Vx::kHasNarrower) {
        if (n < W) {
            runLoop<KernelAt, typename Vx::Narrower>(pa, pb, pd, n, context);
            return;
        }
    }
    size_t i = 0;
    if (n >= W) {
        const size_t bytes = n * sizeof(T);
        const bool separate = (K::arity < 1 || disjoint(d, a, bytes)) &&
                              (K::arity < 2 || disjoint(d, b, bytes));
        // In place: d is a source itself, and apart from the other one.
        const bool inPlace = !separate && (K::arity < 1 || d == a || disjoint(d, a, bytes)) &&
                             (K::arity < 2 || d == b || disjoint(d, b, bytes));
        // The first and last full vectors, read before any store can reach
        // them: stored after the loop, they rewrite the values the loop left
        // there and cover the unaligned head and the partial tail.
        const bool ends = separate || inPlace;
        V xt{}, yt{}, rh{};
        if (ends) {
            if constexpr (K::arity >= 1) xt = load(a + n - W);
            if constexpr (K::arity >= 2) yt = load(b + n - W);
        }
        const size_t mis = reinterpret_cast<uintptr_t>(d) % Vx::kBytes;
        if (ends && mis != 0 && bytes >= kAlignFrom && mis % sizeof(T) == 0) {
            V x{}, y{};
            if constexpr (K::arity >= 1) x = load(a);
            if constexpr (K::arity >= 2) y = load(b);
            rh = k.r(x, y);
            i = (Vx::kBytes - mis) / sizeof(T);
        }
        const size_t head = i;
        if (bytes >= kStreamFrom && reinterpret_cast<uintptr_t>(d + i) % Vx::kBytes == 0) {
            for (; i + 4 * W <= n; i += 4 * W) four(i, [](T* p, V v) { Vx::stream(p, v); });
            Vx::streamFence();
        }
        for (; i + 4 * W <= n; i += 4 * W) four(i, [](T* p, V v) { Vx::store(p, v); });
        for (; i + W <= n; i += W) one(i);
        if (head != 0) Vx::store(d, rh);
        if (i < n && ends) {
            Vx::store(d + n - W, k.r(xt, yt));
            i = n;
        }
    }
    scalar(i, n);
}

}  // namespace
}  // namespace ozl::simd
