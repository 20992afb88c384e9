// The one loop over a run, driving an operation's vector form (vec_ops.hpp)
// with its scalar form for what the vectors cannot cover; the builder of a
// level's run-kernel table from it; and the loop of the masked blends, over a
// level's mask expansion. Internal linkage (see vec_sse2.hpp).
#pragma once

#include <cstddef>
#include <cstdint>

#include "arith/kernels.hpp"
#include "arith/vec_ops.hpp"

namespace ozl::arith {
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
template <class Vx, class K>
void runLoop(const void* pa, const void* pb, void* pd, size_t n, const OpArgs& args) {
    using T = typename K::Elem;
    using V = typename K::V;
    constexpr size_t W = Vx::kBytes / sizeof(T);
    const T* a = static_cast<const T*>(pa);
    const T* b = static_cast<const T*>(pb);
    T* d = static_cast<T*>(pd);
    const K k(args);

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
            d[i] = K::r(K::arity >= 1 ? a[i] : T{}, K::arity >= 2 ? b[i] : T{}, args);
    };

    if constexpr (Vx::kHasNarrower) {
        if (n < W) {
            Vx::narrower().run[static_cast<int>(K::op)][static_cast<int>(ElemOf<T>::value)](
                pa, pb, pd, n, args);
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

// A level's table: the vector form of every kernel, the scalar table's entries
// for anything without one.
template <class Vx>
KernelTable vectorRunTable() {
    KernelTable t = refTable();
    forEachKernel([&](auto opConst, auto tag) {
        constexpr Op op = decltype(opConst)::value;
        using T = decltype(tag);
        t.run[static_cast<int>(op)][static_cast<int>(ElemOf<T>::value)] =
            &runLoop<Vx, VecOp<op, Vx, T>>;
    });
    return t;
}

// P (16 or 32) mask bits from bit `bit` on, the first pixel's bit most
// significant. Reads only the bytes that hold those bits.
template <size_t P>
uint32_t maskBits(const uint8_t* mask, size_t bit) {
    static_assert(P == 16 || P == 32);
    const uint8_t* p = mask + bit / 8;
    const unsigned o = bit % 8;
    if constexpr (P == 16) {
        uint32_t w = uint32_t{p[0]} << 16 | uint32_t{p[1]} << 8;
        if (o) w |= p[2];
        return (w << o) >> 8 & 0xFFFF;
    } else {
        uint32_t w = uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
        if (o) w = w << o | p[4] >> (8 - o);
        return w;
    }
}

// Masked copy of pixels of U bytes, in blocks of P = Ex::pixels<U> pixels (16
// or 32, with P * U bytes a whole number of vectors). Ex expands the block's
// mask bits into those vectors, all-ones or all-zero per byte. Blocks whose
// mask is all clear are skipped, all set are copied. A blend only ever copies
// src, so running the last full block again over the tail gives the same bytes.
template <class Vx, class Ex, size_t U>
void blendLoop(uint8_t* d, const uint8_t* s, size_t nPix, const uint8_t* mask, size_t bit0) {
    using V = typename Vx::V;
    constexpr size_t P = Ex::template pixels<U>;
    static_assert(P * U % Vx::kBytes == 0);
    constexpr size_t kVecs = P * U / Vx::kBytes;
    constexpr uint32_t kAll = P == 32 ? 0xFFFFFFFFu : 0xFFFFu;
    auto block = [&](size_t p) {
        const uint32_t m = maskBits<P>(mask, bit0 + p);
        if (m == 0) return;
        uint8_t* dd = d + p * U;
        const uint8_t* ss = s + p * U;
        if (m == kAll) {
            for (size_t j = 0; j < kVecs; ++j)
                Vx::store(dd + j * Vx::kBytes, Vx::load(ss + j * Vx::kBytes));
            return;
        }
        V lanes[kVecs];
        Ex::template expand<U>(m, lanes);
        for (size_t j = 0; j < kVecs; ++j) {
            const V x = Vx::load(ss + j * Vx::kBytes);
            const V y = Vx::load(dd + j * Vx::kBytes);
            Vx::store(dd + j * Vx::kBytes, Vx::select(lanes[j], x, y));
        }
    };
    size_t p = 0;
    if (nPix >= P) {
        for (; p + P <= nPix; p += P) block(p);
        if (p < nPix) {
            block(nPix - P);
            p = nPix;
        }
    }
    // Pixels as runs of U bytes: the element type does not matter to a copy.
    const size_t bit = bit0 + p;
    scalarBlend<uint8_t>(d + p * U, s + p * U, nPix - p, static_cast<int>(U), mask + bit / 8,
                         static_cast<int>(bit % 8));
}

// BlendFn for elements of S bytes: pixels of 1 to 4 channels are units of
// S * nCh bytes. Runs shorter than a 32-pixel block go to the narrower level.
template <class Vx, class Ex, size_t S>
void blendKernel(void* pd, const void* ps, size_t nPix, int nCh, const uint8_t* mask,
                 int maskBit) {
    if constexpr (Vx::kHasNarrower) {
        if (nPix < 32) {
            Vx::narrower().blend[S == 1 ? 0 : S == 2 ? 1 : 2](pd, ps, nPix, nCh, mask, maskBit);
            return;
        }
    }
    uint8_t* d = static_cast<uint8_t*>(pd);
    const uint8_t* s = static_cast<const uint8_t*>(ps);
    mask += maskBit / 8;
    const size_t bit0 = static_cast<size_t>(maskBit % 8);
    switch (nCh) {
        case 1: blendLoop<Vx, Ex, S>(d, s, nPix, mask, bit0); break;
        case 2: blendLoop<Vx, Ex, 2 * S>(d, s, nPix, mask, bit0); break;
        case 3: blendLoop<Vx, Ex, 3 * S>(d, s, nPix, mask, bit0); break;
        case 4: blendLoop<Vx, Ex, 4 * S>(d, s, nPix, mask, bit0); break;
        default:
            scalarBlend<uint8_t>(d, s, nPix, nCh * static_cast<int>(S), mask,
                                 static_cast<int>(bit0));
    }
}

}  // namespace
}  // namespace ozl::arith
