// Compositing kernels: the Porter-Duff operators, the premultiplication, and
// the scalar forms the vector ones match. Pixel kernels (core::PixelFn): A is
// source 0, B source 1, separate alpha images sources 2 and 3.
//
// Internal linkage throughout: every instruction-set file keeps its own copy.
//
// Every product of a value and a fraction (both 0..M, M = 255 or 65535) is
// divided by M as the module divides, (p + (p >> b) + 1) >> b with b the
// depth's bits (mulScale): the whole quotient floor(p / M) for every p up to
// M * M, so that a fraction of M keeps a value exactly. Sums saturate at M.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "arith/kernels.hpp"
#include "core/pixelwise.hpp"

namespace ozl::arith {

// The fraction of a source an operator keeps: none, all, the other source's
// alpha, or its complement M - alpha.
enum class Frac : uint8_t { Zero, One, Alpha, InvAlpha };

struct Operator {
    Frac a, b;  // FA (of alpha B), FB (of alpha A)
};

// In the order of the OZL_COMPOSITE_... codes.
inline constexpr Operator kOperators[] = {
    {Frac::Zero, Frac::Zero},         // clear
    {Frac::One, Frac::Zero},          // A
    {Frac::Zero, Frac::One},          // B
    {Frac::One, Frac::InvAlpha},      // A over B
    {Frac::InvAlpha, Frac::One},      // B over A
    {Frac::Alpha, Frac::Zero},        // A in B
    {Frac::Zero, Frac::Alpha},        // B in A
    {Frac::InvAlpha, Frac::Zero},     // A out B
    {Frac::Zero, Frac::InvAlpha},     // B out A
    {Frac::Alpha, Frac::InvAlpha},    // A atop B
    {Frac::InvAlpha, Frac::Alpha},    // B atop A
    {Frac::InvAlpha, Frac::InvAlpha}, // xor
};
constexpr int kOperatorCount = static_cast<int>(sizeof(kOperators) / sizeof(kOperators[0]));

// Where a source's alpha comes from.
struct AlphaFrom {
    enum Kind : uint8_t { Opaque, Channel, Image, Constant };
    Kind kind = Opaque;
    int channel = 0;     // Channel: channels from the first processed value to the alpha
    int image = 0;       // Image: the source holding it (one processed channel)
    uint32_t value = 0;  // Constant, within 0..M
};

struct CompositeArgs {
    int op = 0;                 // index into kOperators
    bool premultiplied = true;  // colours premultiplied by their alpha, in and out
    AlphaFrom alpha[2];         // of A and of B (the premultiplication reads alpha[0])
    int colours = 0;            // colour channels of every row
    bool writeAlpha = false;    // the destination's row has its alpha after the colours
    bool alphaOnly = false;     // the destination takes the result alpha alone
    bool stream = false;        // destination rows may be stored past the caches
};

template <class T>
static inline uint32_t fractionOf(Frac f, uint32_t otherAlpha) {
    constexpr uint32_t M = std::numeric_limits<T>::max();
    switch (f) {
        case Frac::Zero: return 0;
        case Frac::One: return M;
        case Frac::Alpha: return otherAlpha;
        default: return M - otherAlpha;
    }
}

template <class T>
static inline T loadValue(const core::RowView& r, size_t x, int c) {
    T v;
    std::memcpy(&v, r.data + static_cast<ptrdiff_t>(x) * r.pixelStep + c * r.channelStep, sizeof v);
    return v;
}

template <class T>
static inline void storeValue(const core::RowView& r, size_t x, int c, uint32_t v) {
    const T t = static_cast<T>(v);
    std::memcpy(r.data + static_cast<ptrdiff_t>(x) * r.pixelStep + c * r.channelStep, &t, sizeof t);
}

template <class T>
static inline uint32_t alphaAt(const core::RowView* src, const AlphaFrom& a, int operand, size_t x) {
    switch (a.kind) {
        case AlphaFrom::Channel: return loadValue<T>(src[operand], x, a.channel);
        case AlphaFrom::Image: return loadValue<T>(src[a.image], x, 0);
        case AlphaFrom::Constant: return a.value;
        default: return std::numeric_limits<T>::max();
    }
}

// Straight colours: the result is the average of the two colours weighted by
// alpha times fraction, rounded to nearest, 0 where both weights are 0.
static inline uint32_t straightColour(uint64_t ca, uint64_t wa, uint64_t cb, uint64_t wb) {
    const uint64_t w = wa + wb;
    return w == 0 ? 0 : static_cast<uint32_t>((ca * wa + cb * wb + w / 2) / w);
}

// The reference: every operator, alpha source, layout and mode.
template <class T>
static void compositeScalar(const core::RowView* src, const core::RowView& d, size_t width,
                     const void* context) {
    constexpr uint32_t M = std::numeric_limits<T>::max();
    const CompositeArgs& k = *static_cast<const CompositeArgs*>(context);
    const Operator op = kOperators[k.op];
    for (size_t x = 0; x < width; ++x) {
        const uint32_t aA = alphaAt<T>(src, k.alpha[0], 0, x);
        const uint32_t aB = alphaAt<T>(src, k.alpha[1], 1, x);
        const uint32_t fa = fractionOf<T>(op.a, aB), fb = fractionOf<T>(op.b, aA);
        const uint32_t alpha = std::min(M, uint32_t{mulScale<T>(aA, fa)} + mulScale<T>(aB, fb));
        if (k.alphaOnly) {
            storeValue<T>(d, x, 0, alpha);
            continue;
        }
        for (int c = 0; c < k.colours; ++c) {
            const uint32_t ca = loadValue<T>(src[0], x, c), cb = loadValue<T>(src[1], x, c);
            const uint32_t r =
                k.premultiplied ? std::min(M, uint32_t{mulScale<T>(ca, fa)} + mulScale<T>(cb, fb))
                                : straightColour(ca, uint64_t{aA} * fa, cb, uint64_t{aB} * fb);
            storeValue<T>(d, x, c, r);
        }
        if (k.writeAlpha) storeValue<T>(d, x, k.colours, alpha);
    }
}

// Colours times their alpha (source A's); the destination's alpha, when it
// has one, takes the alpha.
template <class T>
static void premultiplyScalar(const core::RowView* src, const core::RowView& d, size_t width,
                       const void* context) {
    const CompositeArgs& k = *static_cast<const CompositeArgs*>(context);
    for (size_t x = 0; x < width; ++x) {
        const uint32_t a = alphaAt<T>(src, k.alpha[0], 0, x);
        for (int c = 0; c < k.colours; ++c) storeValue<T>(d, x, c, mulScale<T>(loadValue<T>(src[0], x, c), a));
        if (k.writeAlpha) storeValue<T>(d, x, k.colours, a);
    }
}

}  // namespace ozl::arith
