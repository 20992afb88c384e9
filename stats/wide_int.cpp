#include "stats/wide_int.hpp"

#include <cmath>

namespace ozl::stats {

namespace {

int bitLength(uint64_t v) {
    int n = 0;
    while (v) {
        v >>= 1;
        ++n;
    }
    return n;
}

// The 64 bits of the number from bit `pos` up.
uint64_t bitsFrom(const uint64_t* limbs, int count, int pos) {
    const int limb = pos / 64, shift = pos % 64;
    uint64_t v = limb < count ? limbs[limb] >> shift : 0;
    if (shift != 0 && limb + 1 < count) v |= limbs[limb + 1] << (64 - shift);
    return v;
}

// True when any bit below `pos` is set.
bool anyBelow(const uint64_t* limbs, int pos) {
    for (int i = 0; i < pos / 64; ++i)
        if (limbs[i]) return true;
    const int rest = pos % 64;
    return rest != 0 && (limbs[pos / 64] & ((uint64_t{1} << rest) - 1)) != 0;
}

}  // namespace

double nearestDouble(const uint64_t* limbs, int count) {
    int top = count - 1;
    while (top > 0 && limbs[top] == 0) --top;
    const int bits = 64 * top + bitLength(limbs[top]);
    if (bits <= 53) return static_cast<double>(limbs[0]);
    // The leading 64 bits: 53 kept, 11 deciding the rounding with the rest
    // below them as a sticky bit.
    const int low = bits - 64;
    uint64_t head;
    bool sticky = false;
    if (low >= 0) {
        head = bitsFrom(limbs, count, low);
        sticky = anyBelow(limbs, low);
    } else {
        head = limbs[0] << -low;
    }
    uint64_t mantissa = head >> 11;
    const uint64_t rest = head & 0x7FF;
    if (rest > 0x400 || (rest == 0x400 && (sticky || (mantissa & 1)))) ++mantissa;
    return std::ldexp(static_cast<double>(mantissa), bits - 53);
}

}  // namespace ozl::stats
