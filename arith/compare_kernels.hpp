// Row kernels of the comparisons and of the float range: the scalar form of
// every relation (also the reference the vector forms are tested against), the
// row loop the levels share, and the table per instruction-set level.
//
// A comparison row kernel is a pixel kernel of the pixel-wise driver: it reads
// every processed channel of each pixel of its sources and writes one bit per
// pixel, most significant bit first, from bit 0 of the destination row. The bit
// is 1 when the relation holds in all channels.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/pixelwise.hpp"
#include "frame/cpu.hpp"
#include "image/bits.hpp"
#include "image/depth.hpp"

namespace ozl::arith {

enum class Rel : uint8_t { Less, Greater, Equal, EqualEps, Count };
constexpr int kRelCount = static_cast<int>(Rel::Count);

// What the first source is compared with: the second source, or a constant.
enum class Form : uint8_t { Images, Constant, Count };
constexpr int kFormCount = static_cast<int>(Form::Count);

// Value-type tag of 1-bit sources, after the six value types in the table.
struct Bits {};
constexpr int kBitsIndex = image::kElemCount;
constexpr int kSourceTypes = image::kElemCount + 1;

// The constants of a call. An integer constant is already within the range of
// the source's depth (the entry point settles the others without looking at
// the pixels); for 1-bit sources it is 0 or 1.
struct CompareArgs {
    int32_t value = 0;
    float real = 0.0f;
    float eps = 0.0f;
    // Sources too large for the caches: the result's blocks are stored past
    // them, which saves reading the result's lines first.
    bool stream = false;
};

// Folds n floats into the running range [*lo, *hi] (see lower and upper).
using RangeFn = void (*)(const float* p, size_t n, float* lo, float* hi);

// A comparison's kernel a row at a time and over many rows.
struct CompareKernel {
    core::PixelFn row = nullptr;
    core::PixelRowsFn rows = nullptr;
};

struct CompareTable {
    CompareKernel compare[kRelCount][kSourceTypes][kFormCount] = {};
    RangeFn range = nullptr;
};

const CompareTable& compareTable(cpu::Level level);
inline const CompareTable& activeCompareTable() { return compareTable(cpu::active()); }

constexpr bool hasCompareKernel(Rel rel, int sourceType) {
    return rel != Rel::EqualEps || sourceType == static_cast<int>(image::Elem::F32);
}

template <class T>
constexpr int sourceIndex() {
    if constexpr (std::is_same_v<T, Bits>) return kBitsIndex;
    else return static_cast<int>(image::ElemOf<T>::value);
}

// ---------------------------------------------------------------------------
// Scalar forms. `static` so that every instruction-set file keeps its own copy
// compiled for its own target.

// The relation on one value. Integers compare exactly; floats by IEEE rules,
// so a NaN on either side makes every relation false. Values are equal within
// eps when they are equal (infinities included) or |a - b| <= eps, the
// difference formed in single precision.
template <Rel rel, class T>
static inline bool holds(T a, T b, const CompareArgs& args) {
    if constexpr (rel == Rel::Less) return a < b;
    else if constexpr (rel == Rel::Greater) return a > b;
    else if constexpr (rel == Rel::Equal) return a == b;
    else return a == b || std::fabs(a - b) <= args.eps;
}

template <class T>
static inline T constantOf(const CompareArgs& args) {
    if constexpr (std::is_same_v<T, float>) return args.real;
    else return static_cast<T>(args.value);
}

template <class T>
static inline T valueAt(const core::RowView& r, size_t pixel, int channel) {
    T v;
    std::memcpy(&v, r.data + static_cast<ptrdiff_t>(pixel) * r.pixelStep + channel * r.channelStep,
                sizeof v);
    return v;
}

// Pixels [from, width) of a row, a whole destination byte at a time (from is
// a multiple of 8; the last byte's bits past the row are written as 0).
template <Rel rel, class T, Form form>
static inline void scalarPixels(const core::RowView& a, const core::RowView& b, uint8_t* out,
                                size_t from, size_t width, const CompareArgs& args) {
    const T c = constantOf<T>(args);
    for (size_t x = from; x < width; x += 8) {
        const size_t n = width - x < 8 ? width - x : 8;
        unsigned byte = 0;
        for (size_t i = 0; i < n; ++i) {
            bool all = true;
            for (int ch = 0; ch < a.channels && all; ++ch) {
                const T vb = form == Form::Images ? valueAt<T>(b, x + i, ch) : c;
                all = holds<rel, T>(valueAt<T>(a, x + i, ch), vb, args);
            }
            byte |= static_cast<unsigned>(all) << (7 - i);
        }
        out[x / 8] = static_cast<uint8_t>(byte);
    }
}

// 1-bit sources (one channel): eight pixels at a time as bitwise operations,
// a constant being all zeros or all ones.
template <Rel rel, Form form>
static inline void bitPixels(const core::RowView& a, const core::RowView& b, uint8_t* out,
                             size_t width, const CompareArgs& args) {
    const auto* pa = reinterpret_cast<const uint8_t*>(a.data);
    const auto* pb = reinterpret_cast<const uint8_t*>(b.data);
    const unsigned c = args.value ? 0xFFu : 0u;
    for (size_t x = 0; x < width; x += 8) {
        const int n = width - x < 8 ? static_cast<int>(width - x) : 8;
        const unsigned va = image::readBits(pa, a.bit + x, n);
        const unsigned vb = form == Form::Images ? image::readBits(pb, b.bit + x, n) : c;
        unsigned r;
        if constexpr (rel == Rel::Less) r = ~va & vb;
        else if constexpr (rel == Rel::Greater) r = va & ~vb;
        else r = ~(va ^ vb);
        out[x / 8] = static_cast<uint8_t>(r);
    }
}

// True when a row's values of each channel follow each other (one channel
// in pixel order, or planes): the vector forms take those.
template <class T>
static inline bool packedChannels(const core::RowView& r) {
    return r.pixelStep == static_cast<ptrdiff_t>(sizeof(T));
}

// A row's channels as the vector forms walk them: kept in locals, so that
// the stores of the result (bytes, which may alias anything) do not make the
// compiler read the row's fields again.
struct Channels {
    const char* data;
    ptrdiff_t step;
    template <class T>
    const T* at(int channel, size_t pixel) const {
        return reinterpret_cast<const T*>(data + channel * step) + pixel;
    }
};

// The vector forms over a level's lanes. Lanes provide
//   kPixels (pixels per block), Mask, Narrower (lanes to finish with, or
//   void), Block<rel, T, form>(args) with Mask at(const T* a, const T* b),
//   both(Mask, Mask) (AND), store(uint8_t* out, Mask) (kPixels / 8 bytes,
//   most significant bit first), stream(out, Mask) (the same past the caches)
//   and fence() (after streaming). Returns the pixels done, a multiple of 8.
template <class Lanes, Rel rel, class T, Form form>
static inline size_t vectorPixels(Channels a, Channels b, int channels, uint8_t* out,
                                  size_t from, size_t width, const CompareArgs& args) {
    constexpr size_t kPixels = Lanes::kPixels;
    const typename Lanes::template Block<rel, T, form> block(args);
    size_t x = from;
    for (; x + kPixels <= width; x += kPixels) {
        auto m = block.at(a.at<T>(0, x), form == Form::Images ? b.at<T>(0, x) : nullptr);
        for (int ch = 1; ch < channels; ++ch)
            m = Lanes::both(m, block.at(a.at<T>(ch, x),
                                        form == Form::Images ? b.at<T>(ch, x) : nullptr));
        Lanes::store(out + x / 8, m);
    }
    if constexpr (!std::is_void_v<typename Lanes::Narrower>)
        x = vectorPixels<typename Lanes::Narrower, rel, T, form>(a, b, channels, out, x, width,
                                                                 args);
    return x;
}

// The one-channel rows of the vector forms, two blocks a step, then one: the
// fields the loop needs in locals (the result's byte stores may alias
// anything, and a field read again per row costs as much as a block). Returns
// the pixels of each row done, whole blocks. Without a second image pb is pa
// (never read).
template <class Lanes, Rel rel, class T, Form form, bool kStream>
static inline size_t singleChannelRows(const T* pa, const T* pb, uint8_t* out, size_t width,
                                       size_t rows, ptrdiff_t aStep, ptrdiff_t bStep,
                                       ptrdiff_t outStep, const CompareArgs& args) {
    constexpr size_t kPixels = Lanes::kPixels;
    const typename Lanes::template Block<rel, T, form> block(args);
    const size_t whole = width / kPixels * kPixels;
    const size_t pairs = width / (2 * kPixels) * (2 * kPixels);
    auto put = [](uint8_t* o, typename Lanes::Mask m) {
        if constexpr (kStream) Lanes::stream(o, m);
        else Lanes::store(o, m);
    };
    for (size_t r = 0; r < rows; ++r) {
        size_t x = 0;
        for (; x < pairs; x += 2 * kPixels) {
            const auto m0 = block.at(pa + x, pb + x);
            const auto m1 = block.at(pa + x + kPixels, pb + x + kPixels);
            put(out + x / 8, m0);
            put(out + x / 8 + kPixels / 8, m1);
        }
        for (; x < whole; x += kPixels) put(out + x / 8, block.at(pa + x, pb + x));
        pa = reinterpret_cast<const T*>(reinterpret_cast<const char*>(pa) + aStep);
        if constexpr (form == Form::Images)
            pb = reinterpret_cast<const T*>(reinterpret_cast<const char*>(pb) + bStep);
        out += outStep;
    }
    return whole;
}

// The rows of one relation, value type and form at one level (Lanes void:
// the scalar reference): `rows` rows, each operand's rowSteps bytes apart.
template <class Lanes, Rel rel, class T, Form form, bool kStream>
static void compareRowsAs(const core::RowView* src, const core::RowView& dst, size_t width,
                          size_t rows, const ptrdiff_t* rowSteps, const CompareArgs& args) {
    // The one-channel loop first, from the arguments alone: the rest of the
    // rows' state is set up after it, so that none of it is live in the loop
    // (spilled, it costs a row as much as a block).
    auto vectors = [&] {
        return !std::is_void_v<Lanes> && !std::is_same_v<T, Bits> && packedChannels<T>(src[0]) &&
               (form == Form::Constant || packedChannels<T>(src[1]));
    };
    size_t done = 0;  // pixels of every row the one-channel loop did
    if constexpr (!std::is_void_v<Lanes> && !std::is_same_v<T, Bits>) {
        if (src[0].channels == 1 && vectors())
            done = singleChannelRows<Lanes, rel, T, form, kStream>(
                reinterpret_cast<const T*>(src[0].data),
                reinterpret_cast<const T*>(src[form == Form::Images ? 1 : 0].data),
                reinterpret_cast<uint8_t*>(dst.data), width, rows, rowSteps[0], rowSteps[1],
                rowSteps[core::kDstOperand], args);
    }
    core::RowView a = src[0], b = src[1];
    auto* out = reinterpret_cast<uint8_t*>(dst.data);
    const ptrdiff_t aStep = rowSteps[0], bStep = rowSteps[1];
    const ptrdiff_t outStep = rowSteps[core::kDstOperand];
    const bool vector = vectors();
    if (done == width) rows = 0;
    for (size_t r = 0; r < rows; ++r, a.data += aStep, b.data += bStep, out += outStep) {
        if constexpr (std::is_same_v<T, Bits>) {
            bitPixels<rel, form>(a, b, out, width, args);
        } else {
            size_t x = done;
            if constexpr (!std::is_void_v<Lanes>)
                if (vector && x + 8 <= width)
                    x = vectorPixels<Lanes, rel, T, form>({a.data, a.channelStep},
                                                          {b.data, b.channelStep}, a.channels,
                                                          out, x, width, args);
            if (x < width) scalarPixels<rel, T, form>(a, b, out, x, width, args);
        }
    }
    if constexpr (kStream) Lanes::fence();
}

template <class Lanes, Rel rel, class T, Form form>
static void compareRows(const core::RowView* src, const core::RowView& dst, size_t width,
                        size_t rows, const ptrdiff_t* rowSteps, const void* context) {
    const auto& args = *static_cast<const CompareArgs*>(context);
    if constexpr (!std::is_void_v<Lanes> && !std::is_same_v<T, Bits>) {
        if (args.stream)
            return compareRowsAs<Lanes, rel, T, form, true>(src, dst, width, rows, rowSteps, args);
    }
    compareRowsAs<Lanes, rel, T, form, false>(src, dst, width, rows, rowSteps, args);
}

template <class Lanes, Rel rel, class T, Form form>
static void compareRow(const core::RowView* src, const core::RowView& dst, size_t width,
                       const void* context) {
    const ptrdiff_t noSteps[core::kMaxSources + 1] = {};
    compareRows<Lanes, rel, T, form>(src, dst, width, 1, noSteps, context);
}

// The range of floats is kept in a total order in which NaN does not take
// part and -0 lies below +0: equal values combine bit by bit (OR keeps the
// sign of -0 in the minimum, AND drops it in the maximum). The result is then
// the same whatever the order of the values, which lets every level split the
// work its own way.
static inline float bitsOr(float a, float b) {
    uint32_t x, y;
    std::memcpy(&x, &a, 4);
    std::memcpy(&y, &b, 4);
    x |= y;
    std::memcpy(&a, &x, 4);
    return a;
}
static inline float bitsAnd(float a, float b) {
    uint32_t x, y;
    std::memcpy(&x, &a, 4);
    std::memcpy(&y, &b, 4);
    x &= y;
    std::memcpy(&a, &x, 4);
    return a;
}
static inline float lower(float lo, float x) {
    if (x < lo) return x;
    return x == lo ? bitsOr(x, lo) : lo;
}
static inline float upper(float hi, float x) {
    if (x > hi) return x;
    return x == hi ? bitsAnd(x, hi) : hi;
}

// p need only be byte aligned (rows of caller data may have any pitch).
static inline void scalarRange(const float* p, size_t n, float* lo, float* hi) {
    float l = *lo, h = *hi;
    for (size_t i = 0; i < n; ++i) {
        float v;
        std::memcpy(&v, reinterpret_cast<const char*>(p) + i * sizeof v, sizeof v);
        l = lower(l, v);
        h = upper(h, v);
    }
    *lo = l;
    *hi = h;
}

// Calls f(Rel constant, value-type tag, Form constant) for every kernel.
template <class F>
inline void forEachCompareKernel(F&& f) {
    auto forType = [&](auto tag) {
        using T = decltype(tag);
        auto forRel = [&](auto relC) {
            if constexpr (hasCompareKernel(decltype(relC)::value, sourceIndex<T>())) {
                f(relC, tag, std::integral_constant<Form, Form::Images>{});
                f(relC, tag, std::integral_constant<Form, Form::Constant>{});
            }
        };
        forRel(std::integral_constant<Rel, Rel::Less>{});
        forRel(std::integral_constant<Rel, Rel::Greater>{});
        forRel(std::integral_constant<Rel, Rel::Equal>{});
        forRel(std::integral_constant<Rel, Rel::EqualEps>{});
    };
    image::forEachValueType(forType);
    forType(Bits{});
}

// A level's table: its lanes for the comparisons, its range function.
template <class Lanes>
static inline CompareTable makeCompareTable(RangeFn range) {
    CompareTable t;
    forEachCompareKernel([&](auto relC, auto tag, auto formC) {
        constexpr Rel rel = decltype(relC)::value;
        constexpr Form form = decltype(formC)::value;
        using T = decltype(tag);
        t.compare[static_cast<int>(rel)][sourceIndex<T>()][static_cast<int>(form)] = {
            &compareRow<Lanes, rel, T, form>, &compareRows<Lanes, rel, T, form>};
    });
    t.range = range;
    return t;
}

}  // namespace ozl::arith
