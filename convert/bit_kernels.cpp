#include "convert/bit_kernels.hpp"

#include <cstring>

#include "convert/kernels.hpp"
#include "convert/values.hpp"

namespace ozl::convert {

namespace {

template <class T>
T valueAt(const core::RowView& r, size_t x) {
    T v;
    std::memcpy(&v, r.data + static_cast<ptrdiff_t>(x) * r.pixelStep, sizeof v);
    return v;
}

template <class D>
void fromBits(const core::RowView* src, const core::RowView& d, size_t width,
              const void* context) {
    const BitLevels& levels = *static_cast<const BitLevels*>(context);
    const D values[2] = {convertValue<int32_t, D>(levels.zero), convertValue<int32_t, D>(levels.one)};
    const auto* bits = reinterpret_cast<const uint8_t*>(src[0].data);
    for (size_t x = 0; x < width; ++x) {
        const size_t at = static_cast<size_t>(src[0].bit) + x;
        const int bit = (bits[at >> 3] >> (7 - (at & 7))) & 1;
        std::memcpy(d.data + static_cast<ptrdiff_t>(x) * d.pixelStep, &values[bit], sizeof(D));
    }
}

// The destination row starts at bit 0 and its bytes are written whole.
template <class S, class Rule>
void toBits(const core::RowView* src, const core::RowView& d, size_t width, const void* context) {
    auto* out = reinterpret_cast<uint8_t*>(d.data);
    for (size_t x0 = 0; x0 < width; x0 += 8) {
        uint8_t byte = 0;
        const size_t n = width - x0 < 8 ? width - x0 : 8;
        for (size_t k = 0; k < n; ++k)
            if (Rule::bit(valueAt<S>(src[0], x0 + k), context)) byte |= static_cast<uint8_t>(0x80u >> k);
        out[x0 >> 3] = byte;
    }
}

struct ConvertRule {
    template <class S>
    static bool bit(S v, const void*) {
        if constexpr (std::is_same_v<S, float>) return floatToInt<uint8_t>(v) != 0;
        else return v > 0;
    }
};

struct ThresholdRule {
    template <class S>
    static bool bit(S v, const void* context) {
        return thresholdValue<S>(v, *static_cast<const ThresholdArgs*>(context)) != 0;
    }
};

template <template <class> class Pick>
core::PixelFn byElem(image::Elem e) {
    switch (e) {
        case Elem::U8: return Pick<uint8_t>::fn;
        case Elem::S8: return Pick<int8_t>::fn;
        case Elem::U16: return Pick<uint16_t>::fn;
        case Elem::S16: return Pick<int16_t>::fn;
        case Elem::S32: return Pick<int32_t>::fn;
        default: return Pick<float>::fn;
    }
}

template <class T> struct FromBits { static constexpr core::PixelFn fn = &fromBits<T>; };
template <class T> struct ToBits { static constexpr core::PixelFn fn = &toBits<T, ConvertRule>; };
template <class T> struct ThresholdBits {
    static constexpr core::PixelFn fn = std::is_same_v<T, float> ? nullptr : &toBits<T, ThresholdRule>;
};

}  // namespace

core::PixelFn bitsToValues(image::Elem e) { return byElem<FromBits>(e); }
core::PixelFn valuesToBits(image::Elem e) { return byElem<ToBits>(e); }
core::PixelFn thresholdToBits(image::Elem e) { return byElem<ThresholdBits>(e); }

}  // namespace ozl::convert
