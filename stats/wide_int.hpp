// Exact integer accumulators wider than 64 bits, and the nearest double to
// them. Sums of integer pixels are kept exact and rounded once at the end, so
// the result does not depend on the order in which rows, tiles or vector lanes
// were added.
#pragma once

#include <cstdint>

namespace ozl::stats {

// a * b as a 128-bit (hi, lo) pair.
inline void mulWide(uint64_t a, uint64_t b, uint64_t& hi, uint64_t& lo) {
#if defined(__SIZEOF_INT128__)
    const unsigned __int128 p = static_cast<unsigned __int128>(a) * b;
    lo = static_cast<uint64_t>(p);
    hi = static_cast<uint64_t>(p >> 64);
#else
    const uint64_t a0 = a & 0xFFFFFFFFu, a1 = a >> 32, b0 = b & 0xFFFFFFFFu, b1 = b >> 32;
    const uint64_t p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
    const uint64_t mid = (p00 >> 32) + (p01 & 0xFFFFFFFFu) + (p10 & 0xFFFFFFFFu);
    lo = (mid << 32) | (p00 & 0xFFFFFFFFu);
    hi = p11 + (p01 >> 32) + (p10 >> 32) + (mid >> 32);
#endif
}

// The double nearest (ties to even) to the unsigned integer held in `count`
// little-endian 64-bit limbs.
double nearestDouble(const uint64_t* limbs, int count);

// Unsigned 128-bit sum.
struct Sum128 {
    uint64_t lo = 0;
    uint64_t hi = 0;

    void add(uint64_t v) {
        lo += v;
        hi += lo < v;
    }
    void add(const Sum128& o) {
        add(o.lo);
        hi += o.hi;
    }
    double toDouble() const {
        const uint64_t limbs[2] = {lo, hi};
        return nearestDouble(limbs, 2);
    }
};

// Signed 192-bit two's complement integer: enough for any moment sum of
// 32-bit pixels at 31-bit coordinates over 2^62 pixels.
struct Int192 {
    uint64_t w[3] = {0, 0, 0};

    static Int192 of(int64_t v) {
        Int192 r;
        r.w[0] = static_cast<uint64_t>(v);
        r.w[1] = r.w[2] = v < 0 ? ~uint64_t{0} : 0;
        return r;
    }
    Int192& operator+=(const Int192& o) {
        uint64_t carry = 0;
        for (int i = 0; i < 3; ++i) {
            const uint64_t s = w[i] + carry;
            const uint64_t c1 = s < carry;
            w[i] = s + o.w[i];
            carry = c1 + (w[i] < o.w[i]);
        }
        return *this;
    }
    Int192 operator-() const {
        Int192 r;
        for (int i = 0; i < 3; ++i) r.w[i] = ~w[i];
        r += of(1);
        return r;
    }
    Int192& operator-=(const Int192& o) { return *this += -o; }
    bool negative() const { return (w[2] >> 63) != 0; }

    // The product with m, modulo 2^192.
    Int192 times(int64_t m) const {
        const uint64_t u = m < 0 ? 0 - static_cast<uint64_t>(m) : static_cast<uint64_t>(m);
        Int192 r;
        uint64_t h0, l0, h1, l1;
        mulWide(w[0], u, h0, l0);
        mulWide(w[1], u, h1, l1);
        r.w[0] = l0;
        r.w[1] = h0 + l1;
        r.w[2] = h1 + w[2] * u + (r.w[1] < l1);
        return m < 0 ? -r : r;
    }
    double toDouble() const {
        if (!negative()) return nearestDouble(w, 3);
        const Int192 m = -*this;
        return -nearestDouble(m.w, 3);
    }
};

}  // namespace ozl::stats
