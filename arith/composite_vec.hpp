// The vector form of the premultiplied Porter-Duff operators on four-channel
// pixels whose alpha is their last channel (the common case: A, B and the
// destination all RGBA, alpha written), over the vector layer Vx. Values are
// widened to 16-bit lanes (8U) or kept there (16U); every lane, alpha
// included, is min(M, c_A * F_A / M + c_B * F_B / M) with the module's
// rounded quotient, which for the alpha lane is the result alpha. Anything
// else goes to the scalar form. Internal linkage (see simd/sse2.hpp).
#pragma once

#include <array>
#include <utility>

#include "arith/composite_kernels.hpp"

namespace ozl::arith {
namespace {

template <class Vx, class T>
struct CompositeLanes {
    using V = typename Vx::V;
    // (p + (p >> b) + 1) >> b of the product c * f.
    static V scaled(V c, V f) {
        if constexpr (sizeof(T) == 1) {
            const V p = Vx::mullo16(c, f);
            return Vx::template srli16<8>(Vx::add16(Vx::add16(p, Vx::template srli16<8>(p)), Vx::set16(1)));
        } else {
            // With p = hi * 65536 + lo, (p + hi + 1) >> 16 is hi plus the carry
            // of lo + hi + 1, set exactly when lo + hi >= 65535.
            const V lo = Vx::mullo16(c, f), hi = Vx::mulhiU16(c, f);
            return Vx::sub16(hi, Vx::cmpeq16(Vx::addsU16(lo, hi), Vx::ones()));
        }
    }
    static V term(Frac frac, V c, V otherAlpha) {
        const V max = Vx::set16(static_cast<int>(std::numeric_limits<T>::max()));
        switch (frac) {
            case Frac::Zero: return Vx::zero();
            case Frac::One: return c;  // c * M / M is c exactly
            case Frac::Alpha: return scaled(c, otherAlpha);
            default: return scaled(c, Vx::xor_(otherAlpha, max));
        }
    }
    // 16-bit lanes of four-channel pixels, A and B: the result lanes.
    template <int kOp>
    static V lanes(V a, V b) {
        constexpr Operator op = kOperators[kOp];
        const V alphaA = Vx::spreadLane3x16(a), alphaB = Vx::spreadLane3x16(b);
        const V ta = term(op.a, a, alphaB), tb = term(op.b, b, alphaA);
        // 8U: at most 510, which the narrowing pack saturates; 16U saturates here.
        if constexpr (sizeof(T) == 1) return Vx::add16(ta, tb);
        else return Vx::addsU16(ta, tb);
    }
};

template <class Vx, class T, int kOp>
void compositeRows(const char* pa, const char* pb, char* pd, size_t blocks, bool stream) {
    using L = CompositeLanes<Vx, T>;
    using V = typename Vx::V;
    for (size_t i = 0; i < blocks; ++i, pa += Vx::kBytes, pb += Vx::kBytes, pd += Vx::kBytes) {
        const V a = Vx::load(pa), b = Vx::load(pb);
        V r;
        if constexpr (sizeof(T) == 1) {
            const V z = Vx::zero();
            r = Vx::packUS16(L::template lanes<kOp>(Vx::unpackLo8(a, z), Vx::unpackLo8(b, z)),
                             L::template lanes<kOp>(Vx::unpackHi8(a, z), Vx::unpackHi8(b, z)));
        } else {
            r = L::template lanes<kOp>(a, b);
        }
        if (stream) Vx::stream(pd, r);
        else Vx::store(pd, r);
    }
    if (stream) Vx::streamFence();
}

template <class Vx, class T, size_t... I>
constexpr auto compositeRowTable(std::index_sequence<I...>) {
    using Fn = void (*)(const char*, const char*, char*, size_t, bool);
    return std::array<Fn, sizeof...(I)>{&compositeRows<Vx, T, static_cast<int>(I)>...};
}

bool interleavedRgba(const core::RowView& r, size_t size) {
    return r.channels == 4 && r.channelStep == static_cast<ptrdiff_t>(size) &&
           r.pixelStep == static_cast<ptrdiff_t>(4 * size);
}

template <class Vx, class T>
void compositeVector(const core::RowView* src, const core::RowView& d, size_t width,
                     const void* context) {
    const CompositeArgs& k = *static_cast<const CompositeArgs*>(context);
    constexpr size_t pixels = Vx::kBytes / (4 * sizeof(T));
    const bool fits = k.premultiplied && !k.alphaOnly && k.writeAlpha && k.colours == 3 &&
                      k.alpha[0].kind == AlphaFrom::Channel && k.alpha[0].channel == 3 &&
                      k.alpha[1].kind == AlphaFrom::Channel && k.alpha[1].channel == 3 &&
                      interleavedRgba(src[0], sizeof(T)) && interleavedRgba(src[1], sizeof(T)) &&
                      interleavedRgba(d, sizeof(T));
    if (!fits || width < pixels) {
        compositeScalar<T>(src, d, width, context);
        return;
    }
    static constexpr auto rows = compositeRowTable<Vx, T>(std::make_index_sequence<kOperatorCount>{});
    // The head up to an aligned destination when streaming, the blocks, and
    // the tail, both in the scalar form (the destination may be a source).
    size_t head = 0;
    if (k.stream)
        while (head < width && reinterpret_cast<uintptr_t>(d.data + head * 4 * sizeof(T)) % Vx::kBytes != 0)
            ++head;
    const size_t blocks = (width - head) / pixels;
    const ptrdiff_t offset = static_cast<ptrdiff_t>(head * 4 * sizeof(T));
    if (head) compositeScalar<T>(src, d, head, context);
    rows[k.op](src[0].data + offset, src[1].data + offset, d.data + offset, blocks, k.stream && head < width);
    const size_t done = head + blocks * pixels;
    if (done < width) {
        core::RowView rest[2] = {src[0], src[1]};
        core::RowView out = d;
        const ptrdiff_t skip = static_cast<ptrdiff_t>(done * 4 * sizeof(T));
        rest[0].data += skip;
        rest[1].data += skip;
        out.data += skip;
        compositeScalar<T>(rest, out, width - done, context);
    }
}

}  // namespace
}  // namespace ozl::arith
