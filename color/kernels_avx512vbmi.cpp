// The AVX-512 kernels of the colour family for processors with the byte
// permutes of AVX-512 VBMI: the same kernels, with interleaved pixels split
// and joined by whole-register permutes. The 8U twist with byte weights between
// interleaved rows has its own form here: the byte pairs its multiply-adds
// take are permuted straight out of the pixels, and its results straight back
// into them, with no channel planes in between.
#include "simd/avx512_vbmi.hpp"
#include "color/vec_kernels.hpp"

namespace ozl::color {

namespace {

using simd::Avx512Vbmi;
using V = Avx512Vbmi::V;

// A block is 64 pixels of three bytes, taken as two halves of 32 pixels. Half
// h's 16-bit lane w holds pixel 32 h + w: as the pair (x0, x1), and as the
// pair (x2, 0) or (x2, 1) (the 1 carries a small constant as a weight). The
// results of half h for output channel c, packed to bytes, go as pack(R0, R1)
// of each half (channels 0 and 1) and pack(R2 of half 0, R2 of half 1): in
// 128-bit lane k, bytes 0..7 come from the first operand's lanes 8k..8k+7,
// bytes 8..15 from the second's.
struct TwistPermutes {
    alignas(64) uint8_t pairs01[2][64];  // half h: (x0, x1), indexes into 128 source bytes
    alignas(64) uint8_t pairs2[2][64];   // half h: x2 on even bytes, 1 on odd ones
    alignas(64) uint8_t join[3][64];     // output register r: from (ch01 of half, ch2)
    alignas(64) uint8_t joinMiddle[64];  // register 1: channel 2 from the ch2 register
    uint64_t middleCh2 = 0;              // register 1: positions of channel 2
};

// Where channel c of pixel j lies after the packs: register (0: ch01 of half 0,
// 1: ch01 of half 1, 2: ch2) and byte.
struct Packed {
    int reg;
    int byte;
};
constexpr Packed packedAt(int j, int c) {
    const int half = j / 32, w = j % 32, lane = w / 8, i = w % 8;
    if (c < 2) return {half, 16 * lane + 8 * c + i};
    return {2, 16 * lane + 8 * half + i};
}

constexpr TwistPermutes makeTwistPermutes() {
    TwistPermutes t{};
    for (int h = 0; h < 2; ++h)
        for (int w = 0; w < 32; ++w) {
            // Source registers (0..63, 64..127, 128..191): half 0 reads the
            // first two, half 1 the last two.
            const int at = 3 * (32 * h + w) - 64 * h;
            t.pairs01[h][2 * w] = static_cast<uint8_t>(at);
            t.pairs01[h][2 * w + 1] = static_cast<uint8_t>(at + 1);
            t.pairs2[h][2 * w] = static_cast<uint8_t>(at + 2);
            t.pairs2[h][2 * w + 1] = 1;
        }
    for (int r = 0; r < 3; ++r)
        for (int q = 0; q < 64; ++q) {
            const int g = 64 * r + q, j = g / 3, c = g % 3;
            const Packed p = packedAt(j, c);
            if (r == 1) {
                // Channels 0 and 1 from the two halves' registers, then channel 2.
                t.join[r][q] = static_cast<uint8_t>(c == 2 ? 0 : p.byte + 64 * p.reg);
                t.joinMiddle[q] = static_cast<uint8_t>(c == 2 ? p.byte : 0);
                if (c == 2) t.middleCh2 |= uint64_t{1} << q;
            } else {
                t.join[r][q] = static_cast<uint8_t>(c == 2 ? 64 + p.byte : p.byte);
            }
        }
    return t;
}

alignas(64) constexpr TwistPermutes kTwist = makeTwistPermutes();

constexpr uint64_t kEvenBytes = 0x5555555555555555ULL;

// kFold: every constant is a signed byte, carried by the (x2, 1) pair;
// kBias: the output offset is added after the shift.
template <bool kFold, bool kBias>
struct PairTwist {
    V w01[3], w2[3], k[3], bias;
    __m128i count;

    explicit PairTwist(const TwistArgs& a) {
        for (int i = 0; i < 3; ++i) {
            w01[i] = Avx512Vbmi::set16(((a.weight[i][1] & 0xFF) << 8) | (a.weight[i][0] & 0xFF));
            const int k16 = static_cast<int16_t>(a.constant[i] & 0xFFFF);
            w2[i] = Avx512Vbmi::set16(((kFold ? k16 & 0xFF : 0) << 8) | (a.weight[i][2] & 0xFF));
            k[i] = Avx512Vbmi::set16(k16);
        }
        bias = Avx512Vbmi::set16(a.bias);
        count = Avx512Vbmi::count(a.shift);
    }

    V result(int i, V p01, V p2) const {
        V sum = _mm512_add_epi16(_mm512_maddubs_epi16(p01, w01[i]), _mm512_maddubs_epi16(p2, w2[i]));
        if constexpr (!kFold) sum = _mm512_add_epi16(sum, k[i]);
        sum = _mm512_sra_epi16(sum, count);
        if constexpr (kBias) sum = _mm512_adds_epi16(sum, bias);
        return sum;
    }

    // 64 pixels from p (192 bytes) to d.
    template <bool kStream>
    void block(const uint8_t* p, uint8_t* d) const {
        const V src[3] = {Avx512Vbmi::load(p), Avx512Vbmi::load(p + 64), Avx512Vbmi::load(p + 128)};
        V r[2][3];
        for (int h = 0; h < 2; ++h) {
            const V p01 = _mm512_permutex2var_epi8(src[h], Avx512Vbmi::load(kTwist.pairs01[h]), src[h + 1]);
            const V idx2 = Avx512Vbmi::load(kTwist.pairs2[h]);
            // Odd bytes keep the index's 1 (a folded constant's factor) or are cleared.
            const V p2 = kFold ? _mm512_mask2_permutex2var_epi8(src[h], idx2, kEvenBytes, src[h + 1])
                               : _mm512_maskz_permutex2var_epi8(kEvenBytes, src[h], idx2, src[h + 1]);
            for (int i = 0; i < 3; ++i) r[h][i] = result(i, p01, p2);
        }
        const V ch01[2] = {_mm512_packus_epi16(r[0][0], r[0][1]), _mm512_packus_epi16(r[1][0], r[1][1])};
        const V ch2 = _mm512_packus_epi16(r[0][2], r[1][2]);
        const V out[3] = {
            _mm512_permutex2var_epi8(ch01[0], Avx512Vbmi::load(kTwist.join[0]), ch2),
            _mm512_mask_permutexvar_epi8(
                _mm512_permutex2var_epi8(ch01[0], Avx512Vbmi::load(kTwist.join[1]), ch01[1]),
                kTwist.middleCh2, Avx512Vbmi::load(kTwist.joinMiddle), ch2),
            _mm512_permutex2var_epi8(ch01[1], Avx512Vbmi::load(kTwist.join[2]), ch2)};
        for (int q = 0; q < 3; ++q) {
            if constexpr (kStream) Avx512Vbmi::stream(d + 64 * q, out[q]);
            else Avx512Vbmi::store(d + 64 * q, out[q]);
        }
    }
};

template <bool kFold, bool kBias>
size_t pairTwistRow(const RowView& s, const RowView& d, size_t n, const TwistArgs& a) {
    const PairTwist<kFold, kBias> k(a);
    const auto* sp = reinterpret_cast<const uint8_t*>(s.data);
    auto* dp = reinterpret_cast<uint8_t*>(d.data);
    size_t done = 0;
    // Rows beyond the caches: a scalar head up to an aligned destination, then
    // stores past the caches with the source fetched ahead (as row3 does).
    const size_t head = pixelsToAlign(d.data, 3, 64, n);
    if (6 * n >= kStreamFrom && head < n) {
        twistFixedRef<uint8_t>(&s, d, head, &a);
        for (done = head; done + 64 <= n; done += 64) {
            __builtin_prefetch(sp + 3 * done + kAhead);
            k.template block<true>(sp + 3 * done, dp + 3 * done);
        }
        Avx512Vbmi::streamFence();
        return done;
    }
    for (; done + 64 <= n; done += 64) k.template block<false>(sp + 3 * done, dp + 3 * done);
    return done;
}

void twistFixed8Pairs(const RowView* src, const RowView& dst, size_t n, const void* context) {
    const auto& a = *static_cast<const TwistArgs*>(context);
    if (layoutOf<1>(src[0]) != Layout::Packed3 || layoutOf<1>(dst) != Layout::Packed3 ||
        !twistFitsBytes(a) || n < 64)
        return twistFixed8<Avx512Vbmi>(src, dst, n, context);
    bool fold = true;
    for (int32_t c : a.constant) fold = fold && static_cast<int16_t>(c & 0xFFFF) == static_cast<int8_t>(c & 0xFF);
    size_t done;
    if (fold) done = a.bias ? pairTwistRow<true, true>(src[0], dst, n, a) : pairTwistRow<true, false>(src[0], dst, n, a);
    else done = a.bias ? pairTwistRow<false, true>(src[0], dst, n, a) : pairTwistRow<false, false>(src[0], dst, n, a);
    if (done < n) {
        const RowView rest[1] = {advanced(src[0], done)};
        twistFixedRef<uint8_t>(rest, advanced(dst, done), n - done, context);
    }
}

}  // namespace

const ColorTable& colorTableAvx512Vbmi() {
    static const ColorTable table = [] {
        ColorTable t = vectorTable<simd::Avx512Vbmi>(referenceTable());
        t.twistFixed[0] = &twistFixed8Pairs;
        return t;
    }();
    return table;
}

}  // namespace ozl::color
