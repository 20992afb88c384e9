// The AVX-512 comparison kernels: 64 pixels a block compared straight into bit
// masks, then 32 and 16 with the narrower forms before the scalar tail. The
// float range keeps the 256-bit form, which already runs at memory speed.
#include "simd/avx512.hpp"
#include "arith/compare_vec.hpp"

namespace ozl::arith {

namespace {

using simd::Avx512;

struct BitMaskLanes {
    using V = Avx512::V;
    using VF = Avx512::VF;
    using Mask = uint64_t;  // one bit per pixel, pixel order
    static constexpr size_t kPixels = 64;
    using Narrower = ByteMaskLanes<simd::Avx2>;

    template <class T>
    using W = std::conditional_t<std::is_same_v<T, float>, VF, V>;

    template <class T>
    static W<T> load(const T* p) {
        if constexpr (std::is_same_v<T, float>) return Avx512::loadF(p);
        else return Avx512::load(p);
    }

    template <class T>
    static W<T> splat(const CompareArgs& args) {
        if constexpr (std::is_same_v<T, float>) return Avx512::setF(args.real);
        else if constexpr (sizeof(T) == 1) return Avx512::set8(args.value);
        else if constexpr (sizeof(T) == 2) return Avx512::set16(args.value);
        else return Avx512::set32(args.value);
    }

    template <class T>
    static uint64_t greater(W<T> a, W<T> b) {
        if constexpr (std::is_same_v<T, uint8_t>) return Avx512::cmpgtU8(a, b);
        else if constexpr (std::is_same_v<T, int8_t>) return Avx512::cmpgtS8(a, b);
        else if constexpr (std::is_same_v<T, uint16_t>) return Avx512::cmpgtU16(a, b);
        else if constexpr (std::is_same_v<T, int16_t>) return Avx512::cmpgtS16(a, b);
        else if constexpr (std::is_same_v<T, int32_t>) return Avx512::cmpgtS32(a, b);
        else return Avx512::cmpgtF(a, b);
    }

    template <class T>
    static uint64_t equal(W<T> a, W<T> b) {
        if constexpr (sizeof(T) == 1) return Avx512::cmpeq8(a, b);
        else if constexpr (sizeof(T) == 2) return Avx512::cmpeq16(a, b);
        else if constexpr (std::is_same_v<T, int32_t>) return Avx512::cmpeq32(a, b);
        else return Avx512::cmpeqF(a, b);
    }

    template <Rel rel, class T, Form form>
    struct Block {
        W<T> c;
        VF eps;
        explicit Block(const CompareArgs& args) : c(splat<T>(args)), eps(Avx512::setF(args.eps)) {}

        uint64_t relation(W<T> a, W<T> b) const {
            if constexpr (rel == Rel::Less) return greater<T>(b, a);
            else if constexpr (rel == Rel::Greater) return greater<T>(a, b);
            else if constexpr (rel == Rel::Equal) return equal<T>(a, b);
            else return Avx512::cmpeqF(a, b) | Avx512::cmpleF(Avx512::absF(Avx512::subF(a, b)), eps);
        }

        // 64 pixels of one channel, in row order: the first pixel in the
        // most significant bit of the first byte. 8-bit values are put in
        // that order before the comparison; wider ones compare a vector of
        // 32 or 16 values at a time, their masks side by side, turned round
        // afterwards.
        Mask at(const T* a, const T* b) const {
            if constexpr (sizeof(T) == 1) {
                const V vb = form == Form::Images ? Avx512::reverseBytesIn8(load(b)) : c;
                return relation(Avx512::reverseBytesIn8(load(a)), vb);
            } else {
                constexpr size_t perVector = 64 / sizeof(T);
                auto part = [&](size_t k) -> uint64_t {
                    const W<T> vb = form == Form::Images ? load(b + k * perVector) : c;
                    return relation(load(a + k * perVector), vb);
                };
                if constexpr (sizeof(T) == 2) {
                    return Avx512::msbFirstBits(Avx512::joinMasks32(
                        static_cast<uint32_t>(part(0)), static_cast<uint32_t>(part(1))));
                } else {
                    auto half = [&](size_t k) {
                        return Avx512::joinMasks16(static_cast<uint16_t>(part(k)),
                                                   static_cast<uint16_t>(part(k + 1)));
                    };
                    return Avx512::msbFirstBits(Avx512::joinMasks32(half(0), half(2)));
                }
            }
        }
    };

    static Mask both(Mask x, Mask y) { return x & y; }

    static void store(uint8_t* out, Mask m) {
        std::memcpy(out, &m, 8);  // little-endian: first pixels first
    }
    static void stream(uint8_t* out, Mask m) {
#if defined(__x86_64__) || defined(_M_X64)
        _mm_stream_si64(reinterpret_cast<long long*>(out), static_cast<long long>(m));
#else
        _mm_stream_si32(reinterpret_cast<int*>(out), static_cast<int>(m));
        _mm_stream_si32(reinterpret_cast<int*>(out + 4), static_cast<int>(m >> 32));
#endif
    }
    static void fence() { _mm_sfence(); }
};

}  // namespace

const CompareTable& compareTableAvx512() {
    static const CompareTable table =
        makeCompareTable<BitMaskLanes>(&vectorRange<simd::Avx2>);
    return table;
}

}  // namespace ozl::arith
