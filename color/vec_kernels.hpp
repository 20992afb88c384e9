// Vector forms of the colour kernels, written once over the vector layer Vx
// (simd::Sse2, simd::Avx2, simd::Avx512): every 8U conversion, the 8U colour
// twist on its fixed-point path, 8U colour to grey and back, and 32F LUV.
//
// A row is taken kBytes pixels at a time (kBytes / 4 for floats): the three
// channels are brought into one vector each (from interleaved pixels of three
// or four channels, or from three planes), converted, and written back (as
// interleaved pixels of three channels or as planes); other layouts and the
// last pixels of a row go to the scalar form, which every vector form matches
// bit for bit.
//
// Internal linkage throughout (see simd/sse2.hpp).
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <utility>

#include "color/convert_ref.hpp"

namespace ozl::color {
namespace {

enum class Layout : uint8_t { Packed3, Packed4, Planar, Other };

// How a row holds its first three channels, for values of kSize bytes.
template <size_t kSize>
Layout layoutOf(const RowView& r) {
    constexpr auto size = static_cast<ptrdiff_t>(kSize);
    if (r.channelStep == size) {
        if (r.pixelStep == 3 * size) return Layout::Packed3;
        if (r.pixelStep == 4 * size) return Layout::Packed4;
        return Layout::Other;
    }
    return r.pixelStep == size ? Layout::Planar : Layout::Other;
}

template <class Vx>
struct Io {
    using V = typename Vx::V;
    using VF = typename Vx::VF;

    static void load3(Layout l, const char* p, ptrdiff_t channelStep, V (&x)[3]) {
        if (l == Layout::Packed3) return Vx::load3x8(p, x[0], x[1], x[2]);
        if (l == Layout::Packed4) return Vx::load4x8(p, x[0], x[1], x[2]);
        x[0] = Vx::load(p), x[1] = Vx::load(p + channelStep), x[2] = Vx::load(p + 2 * channelStep);
    }
    template <bool kStream = false>
    static void store3(Layout l, char* p, ptrdiff_t channelStep, const V (&y)[3]) {
        if (l == Layout::Packed3) return Vx::template store3x8<kStream>(p, y[0], y[1], y[2]);
        Vx::store(p, y[0]), Vx::store(p + channelStep, y[1]), Vx::store(p + 2 * channelStep, y[2]);
    }
    static void load3(Layout l, const char* p, ptrdiff_t channelStep, VF (&x)[3]) {
        const auto* f = reinterpret_cast<const float*>(p);
        if (l == Layout::Packed3) return Vx::load3xF(f, x[0], x[1], x[2]);
        x[0] = Vx::loadF(p), x[1] = Vx::loadF(p + channelStep),
        x[2] = Vx::loadF(p + 2 * channelStep);
    }
    template <bool kStream = false>
    static void store3(Layout l, char* p, ptrdiff_t channelStep, const VF (&y)[3]) {
        if (l == Layout::Packed3)
            return Vx::store3xF(reinterpret_cast<float*>(p), y[0], y[1], y[2]);
        Vx::store(p, y[0]), Vx::store(p + channelStep, y[1]), Vx::store(p + 2 * channelStep, y[2]);
    }
};

// Rows that read and write at least this many bytes outgrow a typical
// last-level cache: their stores go past the caches (interleaved byte
// destinations), which saves reading the destination first.
constexpr size_t kStreamFrom = size_t{32} << 20;
// Such rows also fetch their source this many bytes ahead: the hardware's own
// prefetch falls behind while the stores stream out.
constexpr ptrdiff_t kAhead = 4096;

// Pixels of a row of `step`-byte pixels before `p` reaches a multiple of
// `align`; the row length when it never does within `align` pixels.
inline size_t pixelsToAlign(const char* p, ptrdiff_t step, size_t align, size_t n) {
    for (size_t k = 0; k < align && k < n; ++k)
        if (reinterpret_cast<uintptr_t>(p + static_cast<ptrdiff_t>(k) * step) % align == 0)
            return k;
    return n;
}

// The row driver of the three-channel kernels. K<Vx> gives: Value (uint8_t or
// float), kWay (which side is RGB; the twist has none), a constructor from the
// call's context (its constants), void block(const W (&x)[3], W (&y)[3]) const
// and static scalar(), the reference row kernel.
template <class Vx, template <class> class Kernel>
void row3(const RowView* src, const RowView& dst, size_t n, const void* context) {
    using K = Kernel<Vx>;
    using Value = typename K::Value;
    using W = std::conditional_t<std::is_same_v<Value, float>, typename Vx::VF, typename Vx::V>;
    constexpr size_t kStep = Vx::kBytes / sizeof(Value);
    const RowView& s = src[0];
    const Layout ls = layoutOf<sizeof(Value)>(s);
    const Layout ld = layoutOf<sizeof(Value)>(dst);
    // Four-channel pixels are split for bytes only.
    const bool fromFour = ls == Layout::Packed4 && std::is_same_v<Value, float>;
    size_t done = 0;
    if (ls != Layout::Other && !fromFour && (ld == Layout::Packed3 || ld == Layout::Planar) &&
        n >= kStep) {
        const K k(context);
        bool swapIn = false, swapOut = false;
        if constexpr (K::kRgbSide) {
            const bool bgr = static_cast<const ConvertArgs*>(context)->red == 2;
            swapIn = bgr && K::kWay == Way::FromRgb;
            swapOut = bgr && K::kWay == Way::ToRgb;
        }
        auto blocks = [&](auto streamTag) {
            constexpr bool kStream = decltype(streamTag)::value;
            for (; done + kStep <= n; done += kStep) {
                if constexpr (kStream)
                    __builtin_prefetch(s.data + static_cast<ptrdiff_t>(done) * s.pixelStep + kAhead);
                W x[3], y[3];
                Io<Vx>::load3(ls, s.data + static_cast<ptrdiff_t>(done) * s.pixelStep,
                              s.channelStep, x);
                if (swapIn) std::swap(x[0], x[2]);
                k.block(x, y);
                if (swapOut) std::swap(y[0], y[2]);
                Io<Vx>::template store3<kStream>(
                    ld, dst.data + static_cast<ptrdiff_t>(done) * dst.pixelStep, dst.channelStep,
                    y);
            }
        };
        const size_t bytes = n * static_cast<size_t>(std::abs(s.pixelStep) + dst.pixelStep);
        const size_t head = pixelsToAlign(dst.data, dst.pixelStep, Vx::kBytes, n);
        if (ld == Layout::Packed3 && bytes >= kStreamFrom && head < n) {
            K::scalar(src, dst, head, context);
            done = head;
            blocks(std::true_type{});
            Vx::streamFence();
        } else {
            blocks(std::false_type{});
        }
    }
    if (done < n) {
        const RowView rest[1] = {advanced(s, done)};
        K::scalar(rest, advanced(dst, done), n - done, context);
    }
}

// ---------------------------------------------------------------------------
// Helpers on bytes widened to 16-bit lanes (lo and hi halves, lane-wise; the
// final packUS16 restores the order).

template <class Vx>
struct Wide {
    using V = typename Vx::V;
    V lo, hi;
    static Wide of(V bytes) {
        return {Vx::unpackLo8(bytes, Vx::zero()), Vx::unpackHi8(bytes, Vx::zero())};
    }
};

// A 32-bit lane of two 16-bit weights for madd16: a on the even, b on the odd value.
constexpr int32_t pair16(int32_t a, int32_t b) {
    return static_cast<int32_t>((static_cast<uint32_t>(b) << 16) |
                                (static_cast<uint32_t>(a) & 0xFFFFu));
}

// Unsigned 16-bit lanes to 32-bit lanes to floats, and back through truncation.
template <class Vx>
struct HalfFloats {
    using V = typename Vx::V;
    using VF = typename Vx::VF;
    VF lo, hi;
    static HalfFloats of(V u16) {
        return {Vx::toF(Vx::unpackLo16(u16, Vx::zero())), Vx::toF(Vx::unpackHi16(u16, Vx::zero()))};
    }
};

// floor(a / b) of unsigned 16-bit lanes (b > 0) whose quotient lies at least
// 1/255 from any integer unless it is one: the float quotient is correctly
// rounded, far closer than that, so truncating it is exact. Results below 32768.
template <class Vx>
typename Vx::V divideExact(typename Vx::V a, typename Vx::V b) {
    const auto fa = HalfFloats<Vx>::of(a), fb = HalfFloats<Vx>::of(b);
    return Vx::packS32(Vx::truncI(Vx::divF(fa.lo, fb.lo)), Vx::truncI(Vx::divF(fa.hi, fb.hi)));
}

// ---------------------------------------------------------------------------
// Linear 8U conversions: out_i = sat(floor((w_i0 x0 + w_i1 x1 + w_i2 x2 + k_i) / 2^s)),
// in 32-bit lanes by two madd16: (x0, x1) with (w_i0, w_i1a) and (x2, x1) with
// (w_i2, w_i1b), where w_i1a + w_i1b = w_i1 lets x1's weight exceed 16 bits.

struct LinearSpec {
    int32_t w[3][3];
    int32_t k[3];
    int shift;
};

template <class Vx>
struct Linear3 {
    using V = typename Vx::V;
    V w01[3], w21[3], k[3];
    int shift;

    explicit Linear3(const LinearSpec& spec) : shift(spec.shift) {
        for (int i = 0; i < 3; ++i) {
            const int32_t w1 = spec.w[i][1];
            const int32_t w1a = w1 > 32767 || w1 < -32768 ? w1 / 2 : w1;
            w01[i] = Vx::set32(pair16(spec.w[i][0], w1a));
            w21[i] = Vx::set32(pair16(spec.w[i][2], w1 - w1a));
            k[i] = Vx::set32(spec.k[i]);
        }
    }

    void block(const V (&x)[3], V (&y)[3]) const {
        const Wide<Vx> a = Wide<Vx>::of(x[0]), b = Wide<Vx>::of(x[1]), c = Wide<Vx>::of(x[2]);
        const V p01[4] = {Vx::unpackLo16(a.lo, b.lo), Vx::unpackHi16(a.lo, b.lo),
                          Vx::unpackLo16(a.hi, b.hi), Vx::unpackHi16(a.hi, b.hi)};
        const V p21[4] = {Vx::unpackLo16(c.lo, b.lo), Vx::unpackHi16(c.lo, b.lo),
                          Vx::unpackLo16(c.hi, b.hi), Vx::unpackHi16(c.hi, b.hi)};
        const auto count = Vx::count(shift);
        for (int i = 0; i < 3; ++i) {
            V s[4];
            for (int q = 0; q < 4; ++q)
                s[q] = Vx::sra32(Vx::add32(Vx::add32(Vx::madd16(p01[q], w01[i]),
                                                     Vx::madd16(p21[q], w21[i])),
                                           k[i]),
                                 count);
            y[i] = Vx::packUS16(Vx::packS32(s[0], s[1]), Vx::packS32(s[2], s[3]));
        }
    }
};

constexpr LinearSpec kYuvFromRgb = {
    {{9798, 19235, 3736}, {-4784, -9437, 14221}, {20218, -16941, -3277}},
    {0, 127 << 15, 127 << 15},
    15};

constexpr LinearSpec xyzSpec(const FixedMatrix& m) {
    LinearSpec s{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) s.w[i][j] = m.w[i][j];
        s.k[i] = 1 << (kXyzBits - 1);
    }
    s.shift = kXyzBits;
    return s;
}
constexpr LinearSpec kXyzFromRgb = xyzSpec(kRgbToXyzFixed);
constexpr LinearSpec kXyzToRgb = xyzSpec(kXyzToRgbFixed);

// Y + (w cr + 8192) >> 14 is (16384 Y + w cr + 8192) >> 14: one linear form
// with the chroma mid-point folded into the constant.
constexpr LinearSpec kYCrCbToRgb = {
    {{16384, 0, kCrToR}, {16384, kCbToG, kCrToG}, {16384, kCbToB, 0}},
    {8192 - 128 * kCrToR, 8192 - 128 * (kCbToG + kCrToG), 8192 - 128 * kCbToB},
    14};

// The table entries are linear in the index: (Y, C1, C2) weighted, the
// chroma centres folded into the constant.
constexpr LinearSpec kYccToRgb = {
    {{kYccLuma, 0, kYccC2ToR}, {kYccLuma, kYccC1ToG, kYccC2ToG}, {kYccLuma, kYccC1ToB, 0}},
    {8192 - kYccC2Mid * kYccC2ToR, 8192 - kYccC1Mid * kYccC1ToG - kYccC2Mid * kYccC2ToG,
     8192 - kYccC1Mid * kYccC1ToB},
    14};

template <Model m, Way w, const LinearSpec& spec>
struct LinearConversion {
    template <class Vx>
    struct K : Linear3<Vx> {
        using Value = uint8_t;
        static constexpr bool kRgbSide = true;
        static constexpr Way kWay = w;
        explicit K(const void*) : Linear3<Vx>(spec) {}
        static void scalar(const RowView* s, const RowView& d, size_t n, const void* c) {
            convertRowRef<m, w, uint8_t>(s, d, n, c);
        }
    };
};

// Kernel base of the other 8U conversions.
template <Model m, Way w>
struct Conversion8 {
    using Value = uint8_t;
    static constexpr bool kRgbSide = true;
    static constexpr Way kWay = w;
    static void scalar(const RowView* s, const RowView& d, size_t n, const void* c) {
        convertRowRef<m, w, uint8_t>(s, d, n, c);
    }
};

// ---------------------------------------------------------------------------
// YUV to RGB, 8U. 37222 v = 32768 v + 4454 v and 66883 u = 65536 u + 1347 u,
// so R = Y + v + ((4454 v - 31 u) >> 15) and B = Y + 2u + ((1347 u - 53 v) >> 15).

template <class Vx>
struct YuvToRgb8 : Conversion8<Model::Yuv, Way::ToRgb> {
    using V = typename Vx::V;
    explicit YuvToRgb8(const void*) {}

    void block(const V (&x)[3], V (&y)[3]) const {
        const V offset = Vx::set16(127);
        const Wide<Vx> l = Wide<Vx>::of(x[0]), u8 = Wide<Vx>::of(x[1]), v8 = Wide<Vx>::of(x[2]);
        const V u[2] = {Vx::sub16(u8.lo, offset), Vx::sub16(u8.hi, offset)};
        const V v[2] = {Vx::sub16(v8.lo, offset), Vx::sub16(v8.hi, offset)};
        const V luma[2] = {l.lo, l.hi};
        const V wr = Vx::set32(pair16(-31, 4454)), wg = Vx::set32(pair16(-12974, -18949)),
                wb = Vx::set32(pair16(1347, -53));
        V r[2], g[2], b[2];
        for (int h = 0; h < 2; ++h) {
            const V uvLo = Vx::unpackLo16(u[h], v[h]), uvHi = Vx::unpackHi16(u[h], v[h]);
            auto term = [&](V wgt) {
                return Vx::packS32(Vx::template srai32<15>(Vx::madd16(uvLo, wgt)),
                                   Vx::template srai32<15>(Vx::madd16(uvHi, wgt)));
            };
            r[h] = Vx::add16(Vx::add16(luma[h], v[h]), term(wr));
            g[h] = Vx::add16(luma[h], term(wg));
            b[h] = Vx::add16(Vx::add16(luma[h], Vx::add16(u[h], u[h])), term(wb));
        }
        y[0] = Vx::packUS16(r[0], r[1]);
        y[1] = Vx::packUS16(g[0], g[1]);
        y[2] = Vx::packUS16(b[0], b[1]);
    }
};

// ---------------------------------------------------------------------------
// RGB to YCrCb, 8U. Y by madd16; then ((B - Y) 9246) >> 14 is the high half of
// (4 (B - Y)) 9246, exactly, since 4 |B - Y| fits 16 bits.

template <class Vx>
struct RgbToYCrCb8 : Conversion8<Model::YCrCb, Way::FromRgb> {
    using V = typename Vx::V;
    explicit RgbToYCrCb8(const void*) {}

    void block(const V (&x)[3], V (&y)[3]) const {
        const Wide<Vx> r = Wide<Vx>::of(x[0]), g = Wide<Vx>::of(x[1]), b = Wide<Vx>::of(x[2]);
        const V rs[2] = {r.lo, r.hi}, gs[2] = {g.lo, g.hi}, bs[2] = {b.lo, b.hi};
        const V wrg = Vx::set32(pair16(4898, 9617)), wb1 = Vx::set32(pair16(1867, 8192));
        const V one = Vx::set16(1), mid = Vx::set16(128);
        V luma[2], cb[2], cr[2];
        for (int h = 0; h < 2; ++h) {
            auto sum = [&](V rg, V b1) {
                return Vx::template srai32<14>(
                    Vx::add32(Vx::madd16(rg, wrg), Vx::madd16(b1, wb1)));
            };
            luma[h] = Vx::packS32(sum(Vx::unpackLo16(rs[h], gs[h]), Vx::unpackLo16(bs[h], one)),
                                  sum(Vx::unpackHi16(rs[h], gs[h]), Vx::unpackHi16(bs[h], one)));
            cb[h] = Vx::add16(mid, Vx::mulhiS16(Vx::template slli16<2>(Vx::sub16(bs[h], luma[h])),
                                                Vx::set16(9246)));
            cr[h] = Vx::add16(mid, Vx::mulhiS16(Vx::template slli16<2>(Vx::sub16(rs[h], luma[h])),
                                                Vx::set16(11686)));
        }
        y[0] = Vx::packUS16(luma[0], luma[1]);
        y[1] = Vx::packUS16(cb[0], cb[1]);
        y[2] = Vx::packUS16(cr[0], cr[1]);
    }
};

// ---------------------------------------------------------------------------
// RGB to HSV and HLS, 8U, in 16-bit lanes; the two divisions by float.

template <class Vx>
struct HueParts {
    using V = typename Vx::V;
    V max, min, spread;  // 16-bit lanes
};

// Hue in half degrees: floor((base d + 30 n) / d), the numerator never negative.
template <class Vx>
typename Vx::V hue16(typename Vx::V r, typename Vx::V g, typename Vx::V b, typename Vx::V max,
                     typename Vx::V d) {
    using V = typename Vx::V;
    const auto isR = Vx::eq16(r, max);
    const auto isG = Vx::eq16(g, max);
    const V n = Vx::select16(isR, Vx::sub16(g, b),
                             Vx::select16(isG, Vx::sub16(b, r), Vx::sub16(r, g)));
    const V base = Vx::select16(
        isR, Vx::select16(Vx::gt16(Vx::zero(), n), Vx::set16(180), Vx::zero()),
        Vx::select16(isG, Vx::set16(60), Vx::set16(120)));
    const V numerator = Vx::add16(Vx::mullo16(base, d), Vx::mullo16(n, Vx::set16(30)));
    return divideExact<Vx>(numerator, Vx::maxS16(d, Vx::set16(1)));
}

template <class Vx, bool kHls>
struct RgbToHue8 : Conversion8<kHls ? Model::Hls : Model::Hsv, Way::FromRgb> {
    using V = typename Vx::V;
    explicit RgbToHue8(const void*) {}

    void block(const V (&x)[3], V (&y)[3]) const {
        const V max8 = Vx::maxU8(Vx::maxU8(x[0], x[1]), x[2]);
        const V min8 = Vx::minU8(Vx::minU8(x[0], x[1]), x[2]);
        const Wide<Vx> r = Wide<Vx>::of(x[0]), g = Wide<Vx>::of(x[1]), b = Wide<Vx>::of(x[2]);
        const Wide<Vx> mx = Wide<Vx>::of(max8), mn = Wide<Vx>::of(min8);
        const V rs[2] = {r.lo, r.hi}, gs[2] = {g.lo, g.hi}, bs[2] = {b.lo, b.hi};
        const V maxs[2] = {mx.lo, mx.hi}, mins[2] = {mn.lo, mn.hi};
        const V one = Vx::set16(1);
        V h[2], second[2], third[2];
        for (int q = 0; q < 2; ++q) {
            const V d = Vx::sub16(maxs[q], mins[q]);
            h[q] = hue16<Vx>(rs[q], gs[q], bs[q], maxs[q], d);
            const V numerator = Vx::mullo16(d, Vx::set16(255));
            if constexpr (kHls) {
                const V sum = Vx::add16(maxs[q], mins[q]);
                second[q] = Vx::template srli16<1>(Vx::add16(sum, one));
                const V den = Vx::minS16(sum, Vx::sub16(Vx::set16(510), sum));
                third[q] = divideExact<Vx>(numerator, Vx::maxS16(den, one));
            } else {
                second[q] = divideExact<Vx>(numerator, Vx::maxS16(maxs[q], one));
            }
        }
        y[0] = Vx::packUS16(h[0], h[1]);
        y[1] = Vx::packUS16(second[0], second[1]);
        y[2] = kHls ? Vx::packUS16(third[0], third[1]) : max8;
    }
};

template <class Vx> using RgbToHsv8 = RgbToHue8<Vx, false>;
template <class Vx> using RgbToHls8 = RgbToHue8<Vx, true>;

// ---------------------------------------------------------------------------
// HSV and HLS to RGB, 8U: the hue sectors in 16-bit lanes. floor(H / 30) is
// the high half of H 2185 for every byte H; (m 34 f) >> 11 is the high half of
// (m f) 1088.

template <class Vx>
void sectors16(typename Vx::V hue, typename Vx::V v, typename Vx::V m, typename Vx::V (&out)[3]) {
    using V = typename Vx::V;
    const V k0 = Vx::mulhiU16(hue, Vx::set16(2185));
    // Hue 180 is the angle 360, read as 0 (its remainder is 0 already).
    const V k = Vx::select16(Vx::eq16(hue, Vx::set16(180)), Vx::zero(), k0);
    const V f = Vx::sub16(Vx::add16(hue, hue), Vx::mullo16(k0, Vx::set16(60)));
    const V scale = Vx::set16(1088);
    const V p = Vx::sub16(v, m);
    const V q = Vx::sub16(v, Vx::mulhiU16(Vx::mullo16(m, f), scale));
    const V t = Vx::sub16(v, Vx::mulhiU16(Vx::mullo16(m, Vx::sub16(Vx::set16(60), f)), scale));
    const auto e0 = Vx::eq16(k, Vx::zero()), e1 = Vx::eq16(k, Vx::set16(1));
    const auto e2 = Vx::eq16(k, Vx::set16(2)), e3 = Vx::eq16(k, Vx::set16(3));
    const auto e4 = Vx::eq16(k, Vx::set16(4));
    // Sectors 0..4 as in the scalar form; 5 and beyond take the last case.
    auto pick = [&](V s0, V s1, V s2, V s3, V s4, V other) {
        return Vx::select16(
            e0, s0,
            Vx::select16(e1, s1,
                         Vx::select16(e2, s2, Vx::select16(e3, s3, Vx::select16(e4, s4, other)))));
    };
    out[0] = pick(v, q, p, p, t, v);
    out[1] = pick(t, v, v, q, p, p);
    out[2] = pick(p, p, t, v, v, q);
}

template <class Vx, bool kHls>
struct HueToRgb8 : Conversion8<kHls ? Model::Hls : Model::Hsv, Way::ToRgb> {
    using V = typename Vx::V;
    explicit HueToRgb8(const void*) {}

    void block(const V (&x)[3], V (&y)[3]) const {
        const Wide<Vx> h = Wide<Vx>::of(x[0]), a = Wide<Vx>::of(x[1]), c = Wide<Vx>::of(x[2]);
        const V hs[2] = {h.lo, h.hi}, as[2] = {a.lo, a.hi}, cs[2] = {c.lo, c.hi};
        V rgb[2][3];
        for (int q = 0; q < 2; ++q) {
            if constexpr (kHls) {
                // as: L, cs: S. C = S min(2L, 510 - 2L) / 255 rounded, V = (2L + C + 1) >> 1.
                const V l2 = Vx::add16(as[q], as[q]);
                const V p = Vx::mullo16(cs[q], Vx::minS16(l2, Vx::sub16(Vx::set16(510), l2)));
                const V chroma = Vx::template srli16<8>(
                    Vx::add16(Vx::add16(p, Vx::template srli16<8>(p)), Vx::set16(1)));
                const V v = Vx::template srli16<1>(Vx::add16(Vx::add16(l2, chroma), Vx::set16(1)));
                sectors16<Vx>(hs[q], v, chroma, rgb[q]);
            } else {
                // as: S, cs: V. m = (S V) >> 8.
                const V m = Vx::template srli16<8>(Vx::mullo16(as[q], cs[q]));
                sectors16<Vx>(hs[q], cs[q], m, rgb[q]);
            }
        }
        for (int i = 0; i < 3; ++i) y[i] = Vx::packUS16(rgb[0][i], rgb[1][i]);
    }
};

template <class Vx> using HsvToRgb8 = HueToRgb8<Vx, false>;
template <class Vx> using HlsToRgb8 = HueToRgb8<Vx, true>;

// ---------------------------------------------------------------------------
// The 8U colour twist on its fixed-point path: 16-bit products and sums that
// wrap as the scalar form's do, an arithmetic shift, the offset added with
// 16-bit saturation, and the byte saturation of the pack. Where the weights
// are bytes and no pair of them can saturate a 16-bit sum (|w0| + |w1| at
// most 128), byte multiply-adds take two products at once; a zero offset is
// not added.

// True when every weight is a signed byte and w_i0 x0 + w_i1 x1 stays within
// 16 bits for all bytes x0, x1.
inline bool twistFitsBytes(const TwistArgs& a) {
    for (const auto& row : a.weight) {
        for (int16_t w : row)
            if (w < -128 || w > 127) return false;
        if ((std::abs(row[0]) + std::abs(row[1])) * 255 > 32767) return false;
    }
    return true;
}

template <bool kBytes, bool kBias>
struct TwistMode {
    template <class Vx>
    struct K {
        using V = typename Vx::V;
        using Value = uint8_t;
        static constexpr bool kRgbSide = false;
        static constexpr Way kWay = Way::FromRgb;
        V w[3][3], k[3], bias;
        int shift;

        explicit K(const void* context) {
            const auto& a = *static_cast<const TwistArgs*>(context);
            for (int i = 0; i < 3; ++i) {
                if constexpr (kBytes) {
                    // (x0, x1) byte pairs and (x2, 0).
                    w[i][0] = Vx::set16(((a.weight[i][1] & 0xFF) << 8) | (a.weight[i][0] & 0xFF));
                    w[i][1] = Vx::set16(a.weight[i][2] & 0xFF);
                } else {
                    for (int j = 0; j < 3; ++j) w[i][j] = Vx::set16(a.weight[i][j]);
                }
                k[i] = Vx::set16(static_cast<int16_t>(a.constant[i] & 0xFFFF));
            }
            bias = Vx::set16(a.bias);
            shift = a.shift;
        }
        static void scalar(const RowView* s, const RowView& d, size_t n, const void* c) {
            twistFixedRef<uint8_t>(s, d, n, c);
        }

        V finish(V sum, decltype(Vx::count(0)) count) const {
            const V shifted = Vx::sra16(sum, count);
            if constexpr (kBias) return Vx::addsS16(shifted, bias);
            else return shifted;
        }

        void block(const V (&x)[3], V (&y)[3]) const {
            const auto count = Vx::count(shift);
            if constexpr (kBytes) {
                const V z = Vx::zero();
                const V p01[2] = {Vx::unpackLo8(x[0], x[1]), Vx::unpackHi8(x[0], x[1])};
                const V p2[2] = {Vx::unpackLo8(x[2], z), Vx::unpackHi8(x[2], z)};
                for (int i = 0; i < 3; ++i) {
                    V r[2];
                    for (int h = 0; h < 2; ++h)
                        r[h] = finish(Vx::add16(Vx::add16(Vx::maddUbs(p01[h], w[i][0]), k[i]),
                                                Vx::maddUbs(p2[h], w[i][1])),
                                      count);
                    y[i] = Vx::packUS16(r[0], r[1]);
                }
            } else {
                const Wide<Vx> a = Wide<Vx>::of(x[0]), b = Wide<Vx>::of(x[1]),
                               c = Wide<Vx>::of(x[2]);
                for (int i = 0; i < 3; ++i) {
                    auto one = [&](V x0, V x1, V x2) {
                        return finish(Vx::add16(Vx::add16(Vx::add16(Vx::mullo16(w[i][0], x0), k[i]),
                                                          Vx::mullo16(w[i][1], x1)),
                                                Vx::mullo16(w[i][2], x2)),
                                      count);
                    };
                    y[i] = Vx::packUS16(one(a.lo, b.lo, c.lo), one(a.hi, b.hi, c.hi));
                }
            }
        }
    };
};

template <class Vx>
void twistFixed8(const RowView* src, const RowView& dst, size_t n, const void* context) {
    const auto& a = *static_cast<const TwistArgs*>(context);
    const bool bias = a.bias != 0;
    if (Vx::kHasByteMadd && twistFitsBytes(a)) {
        if (bias)
            return row3<Vx, TwistMode<Vx::kHasByteMadd, true>::template K>(src, dst, n, context);
        return row3<Vx, TwistMode<Vx::kHasByteMadd, false>::template K>(src, dst, n, context);
    }
    if (bias) return row3<Vx, TwistMode<false, true>::template K>(src, dst, n, context);
    row3<Vx, TwistMode<false, false>::template K>(src, dst, n, context);
}

// ---------------------------------------------------------------------------
// LUV, 32F: the shared arithmetic on vectors.

template <class Vx>
struct VectorOps {
    using F = typename Vx::VF;
    using I = typename Vx::V;
    using M = typename Vx::MF;
    static F set(float v) { return Vx::setF(v); }
    static F add(F a, F b) { return Vx::addF(a, b); }
    static F sub(F a, F b) { return Vx::subF(a, b); }
    static F mul(F a, F b) { return Vx::mulF(a, b); }
    static F div(F a, F b) { return Vx::divF(a, b); }
    static M lt(F a, F b) { return Vx::ltF(a, b); }
    static M eq(F a, F b) { return Vx::eqF(a, b); }
    static F select(M m, F x, F y) { return Vx::selectF(m, x, y); }
    static I bits(F a) { return Vx::asI(a); }
    static F fromBits(I i) { return Vx::asF(i); }
    static F toFloat(I i) { return Vx::toF(i); }
    static I truncate(F a) { return Vx::truncI(a); }
    static I isub(I a, I b) { return Vx::sub32(a, b); }
    static I iset(int32_t v) { return Vx::set32(v); }
};

template <Way w>
struct LuvConversion {
    template <class Vx>
    struct K {
        using VF = typename Vx::VF;
        using Value = float;
        static constexpr bool kRgbSide = true;
        static constexpr Way kWay = w;
        explicit K(const void*) {}
        static void scalar(const RowView* s, const RowView& d, size_t n, const void* c) {
            convertRowRef<Model::Luv, w, float>(s, d, n, c);
        }
        void block(const VF (&x)[3], VF (&y)[3]) const {
            if constexpr (w == Way::FromRgb)
                LuvMath<VectorOps<Vx>>::fromRgb(x[0], x[1], x[2], y[0], y[1], y[2]);
            else
                LuvMath<VectorOps<Vx>>::toRgb(x[0], x[1], x[2], y[0], y[1], y[2]);
        }
    };
};

// ---------------------------------------------------------------------------
// Colour to grey 8U -> 8U: (w0 x0 + w1 x1 + w2 x2) >> 8 in unsigned 16-bit
// lanes (the weights add up to 255). Blocks go from the row's end to its start,
// as the scalar form's pixels do.

template <class Vx>
void toGray8(const RowView* src, const RowView& dst, size_t n, const void* context) {
    using V = typename Vx::V;
    constexpr size_t kStep = Vx::kBytes;
    const RowView& s = src[0];
    const Layout ls = layoutOf<1>(s);
    size_t left = n;
    if (ls != Layout::Other && dst.pixelStep == 1) {
        const auto& a = *static_cast<const GrayArgs*>(context);
        const V w0 = Vx::set16(a.weight[0]), w1 = Vx::set16(a.weight[1]),
                w2 = Vx::set16(a.weight[2]);
        // Streaming blocks end on aligned addresses: the last pixels go first.
        const bool stream = n * static_cast<size_t>(s.pixelStep + 1) >= kStreamFrom;
        if (stream) {
            const size_t tail = std::min(n, reinterpret_cast<uintptr_t>(dst.data + n) % kStep);
            const RowView rest[1] = {advanced(s, n - tail)};
            toGrayRef<uint8_t, uint8_t>(rest, advanced(dst, n - tail), tail, context);
            left = n - tail;
        }
        for (; left >= kStep; left -= kStep) {
            const size_t at = left - kStep;
            V x[3];
            Io<Vx>::load3(ls, s.data + static_cast<ptrdiff_t>(at) * s.pixelStep, s.channelStep, x);
            const Wide<Vx> r = Wide<Vx>::of(x[0]), g = Wide<Vx>::of(x[1]), b = Wide<Vx>::of(x[2]);
            auto gray = [&](V x0, V x1, V x2) {
                return Vx::template srli16<8>(Vx::add16(
                    Vx::add16(Vx::mullo16(w0, x0), Vx::mullo16(w1, x1)), Vx::mullo16(w2, x2)));
            };
            const V y = Vx::packUS16(gray(r.lo, g.lo, b.lo), gray(r.hi, g.hi, b.hi));
            if (stream) Vx::stream(dst.data + at, y);
            else Vx::store(dst.data + at, y);
        }
        if (stream) Vx::streamFence();
    }
    if (left > 0) toGrayRef<uint8_t, uint8_t>(src, dst, left, context);
}

// Grey to colour 8U -> 8U: (g f + half) >> shift per channel, by madd16 of
// (g, 1) with (f, half).
template <class Vx>
void fromGray8(const RowView* src, const RowView& dst, size_t n, const void* context) {
    using V = typename Vx::V;
    constexpr size_t kStep = Vx::kBytes;
    const RowView& s = src[0];
    const Layout ld = layoutOf<1>(dst);
    size_t done = 0;
    if (s.pixelStep == 1 && (ld == Layout::Packed3 || ld == Layout::Planar)) {
        const auto& a = *static_cast<const SpreadArgs*>(context);
        V factor[3];
        for (int c = 0; c < 3; ++c)
            factor[c] = Vx::set32(pair16(a.factor[c], 1 << (a.shift[c] - 1)));
        const V one = Vx::set16(1);
        for (; done + kStep <= n; done += kStep) {
            const Wide<Vx> g = Wide<Vx>::of(Vx::load(s.data + done));
            const V pairs[4] = {Vx::unpackLo16(g.lo, one), Vx::unpackHi16(g.lo, one),
                                Vx::unpackLo16(g.hi, one), Vx::unpackHi16(g.hi, one)};
            V y[3];
            for (int c = 0; c < 3; ++c) {
                const auto count = Vx::count(a.shift[c]);
                V q[4];
                for (int i = 0; i < 4; ++i)
                    q[i] = Vx::sra32(Vx::madd16(pairs[i], factor[c]), count);
                y[c] = Vx::packUS16(Vx::packS32(q[0], q[1]), Vx::packS32(q[2], q[3]));
            }
            Io<Vx>::store3(ld, dst.data + static_cast<ptrdiff_t>(done) * dst.pixelStep,
                           dst.channelStep, y);
        }
    }
    if (done < n) {
        const RowView rest[1] = {advanced(s, done)};
        fromGrayRef<uint8_t, uint8_t>(rest, advanced(dst, done), n - done, context);
    }
}

// ---------------------------------------------------------------------------
// The table of a level: the scalar one with the vector forms put in.

template <class Vx>
ColorTable vectorTable(const ColorTable& reference) {
    ColorTable t = reference;
    auto set = [&](Model m, Way w, Depth d, PixelFn f) {
        t.convert[static_cast<int>(m)][static_cast<int>(w)][static_cast<int>(d)] = f;
    };
    using YuvFrom = LinearConversion<Model::Yuv, Way::FromRgb, kYuvFromRgb>;
    using XyzFrom = LinearConversion<Model::Xyz, Way::FromRgb, kXyzFromRgb>;
    using XyzTo = LinearConversion<Model::Xyz, Way::ToRgb, kXyzToRgb>;
    using YCrCbTo = LinearConversion<Model::YCrCb, Way::ToRgb, kYCrCbToRgb>;
    using YccTo = LinearConversion<Model::Ycc, Way::ToRgb, kYccToRgb>;
    set(Model::Yuv, Way::FromRgb, Depth::U8, &row3<Vx, YuvFrom::template K>);
    set(Model::Yuv, Way::ToRgb, Depth::U8, &row3<Vx, YuvToRgb8>);
    set(Model::Xyz, Way::FromRgb, Depth::U8, &row3<Vx, XyzFrom::template K>);
    set(Model::Xyz, Way::ToRgb, Depth::U8, &row3<Vx, XyzTo::template K>);
    set(Model::YCrCb, Way::FromRgb, Depth::U8, &row3<Vx, RgbToYCrCb8>);
    set(Model::YCrCb, Way::ToRgb, Depth::U8, &row3<Vx, YCrCbTo::template K>);
    set(Model::Ycc, Way::ToRgb, Depth::U8, &row3<Vx, YccTo::template K>);
    set(Model::Hsv, Way::FromRgb, Depth::U8, &row3<Vx, RgbToHsv8>);
    set(Model::Hsv, Way::ToRgb, Depth::U8, &row3<Vx, HsvToRgb8>);
    set(Model::Hls, Way::FromRgb, Depth::U8, &row3<Vx, RgbToHls8>);
    set(Model::Hls, Way::ToRgb, Depth::U8, &row3<Vx, HlsToRgb8>);
    set(Model::Luv, Way::FromRgb, Depth::F32, &row3<Vx, LuvConversion<Way::FromRgb>::template K>);
    set(Model::Luv, Way::ToRgb, Depth::F32, &row3<Vx, LuvConversion<Way::ToRgb>::template K>);
    t.twistFixed[0] = &twistFixed8<Vx>;
    t.toGray[0][0] = &toGray8<Vx>;
    t.fromGray[static_cast<int>(Gray::U8)] = &fromGray8<Vx>;
    return t;
}

}  // namespace
}  // namespace ozl::color
