// Rows of 1-bit pixels, most significant bit first. Positions are bit indices
// from a byte address; only the bytes a run really covers are read or written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ozl::image {

// `count` (1..8) bits starting at bit `pos` of `p`, returned in the high bits of a byte.
inline uint8_t readBits(const uint8_t* p, size_t pos, int count) {
    const uint8_t* q = p + (pos >> 3);
    const int shift = static_cast<int>(pos & 7);
    unsigned v = static_cast<unsigned>(q[0]) << shift;
    if (shift + count > 8) v |= static_cast<unsigned>(q[1]) >> (8 - shift);
    return static_cast<uint8_t>(v & (0xFF00u >> count));
}

// The mask of `count` bits starting at bit `first` within one byte.
inline uint8_t bitSpan(int first, int count) {
    // Cut to a byte before moving right, or the high bits would follow into it.
    return static_cast<uint8_t>(((0xFF00u >> count) & 0xFFu) >> first);
}

// Walks the destination bytes that a run of `n` bits starting at `dBit` covers,
// calling f(byteIndex, firstBit, count, srcPos) where srcPos is the run position
// of the byte's first covered bit.
template <class F>
inline void forEachDestinationByte(int dBit, size_t n, F&& f) {
    size_t done = 0;
    size_t byte = 0;
    int first = dBit;
    while (done < n) {
        const int count = static_cast<int>(n - done < static_cast<size_t>(8 - first)
                                               ? n - done
                                               : static_cast<size_t>(8 - first));
        f(byte, first, count, done);
        done += static_cast<size_t>(count);
        ++byte;
        first = 0;
    }
}

// Sets the n bits of d from bit dBit to op(bits of a, bits of b), a byte at a
// time, leaving every other bit of d as it was; with a mask, only where the
// mask's bit is 1. Absent operands (nullptr) read as zero bits. Each operand
// has its own bit position.
template <class Op>
inline void mergeBits(const uint8_t* a, size_t aBit, const uint8_t* b, size_t bBit, uint8_t* d,
                      int dBit, const uint8_t* mask, size_t maskBit, size_t n, Op&& op) {
    forEachDestinationByte(dBit, n, [&](size_t byte, int first, int count, size_t pos) {
        uint8_t span = bitSpan(first, count);
        if (mask) span &= static_cast<uint8_t>(readBits(mask, maskBit + pos, count) >> first);
        const uint8_t va = a ? static_cast<uint8_t>(readBits(a, aBit + pos, count) >> first) : 0;
        const uint8_t vb = b ? static_cast<uint8_t>(readBits(b, bBit + pos, count) >> first) : 0;
        d[byte] = static_cast<uint8_t>((d[byte] & ~span) | (op(va, vb) & span));
    });
}

// 64 pixels as one word: the 8 bytes at p, the first pixel in the most
// significant bit, so that moving along the row is a shift across words.
inline uint64_t loadBitWord(const uint8_t* p) {
    uint64_t w;
    std::memcpy(&w, p, 8);
    return __builtin_bswap64(w);
}
inline void storeBitWord(uint8_t* p, uint64_t w) {
    w = __builtin_bswap64(w);
    std::memcpy(p, &w, 8);
}

// The 64 pixels from pixel 64 * k + offset of a row of words (|offset| < 64).
inline uint64_t bitWordAt(const uint8_t* row, ptrdiff_t k, int offset) {
    const ptrdiff_t q = k + (offset < 0 ? -1 : 0);
    const int r = offset < 0 ? offset + 64 : offset;
    const uint64_t a = loadBitWord(row + q * 8);
    return r == 0 ? a : (a << r) | (loadBitWord(row + q * 8 + 8) >> (64 - r));
}

// n bits from bit sBit of s (counted from s, may be negative) to bit dBit
// (0..7) of d, a word at a time in the middle. Whole bytes of d are written,
// from d[0] to the byte holding the last bit, their bits outside the run
// cleared; only the bytes of s the run covers are read.
inline void gatherBits(const uint8_t* s, ptrdiff_t sBit, uint8_t* d, int dBit, size_t n) {
    if (n == 0) return;
    s += sBit >> 3;  // floor, also for negative positions
    if ((sBit & 7) == dBit) {  // the same bit within the byte: whole bytes copied
        const size_t bytes = (static_cast<size_t>(dBit) + n + 7) / 8;
        std::memcpy(d, s, bytes);
        d[0] &= static_cast<uint8_t>(0xFFu >> dBit);
        const int tail = static_cast<int>((static_cast<size_t>(dBit) + n) & 7);
        if (tail) d[bytes - 1] &= static_cast<uint8_t>(0xFF00u >> tail);
        return;
    }
    const ptrdiff_t last = static_cast<ptrdiff_t>(((sBit & 7) + n - 1) >> 3);  // last byte of s read
    // Output bit j reads bit j + off of s.
    const ptrdiff_t off = (sBit & 7) - dBit;
    const int r = static_cast<int>(off & 7);
    const ptrdiff_t k0 = off >> 3;
    auto byteAt = [&](ptrdiff_t k) -> unsigned { return k >= 0 && k <= last ? s[k] : 0u; };
    const size_t bytes = (static_cast<size_t>(dBit) + n + 7) / 8;
    size_t i = 0;
    while (i < bytes) {
        const ptrdiff_t k = k0 + static_cast<ptrdiff_t>(i);
        if (k >= 0 && k + 8 <= last && i + 8 <= bytes) {
            const uint64_t w = loadBitWord(s + k);
            storeBitWord(d + i, r ? (w << r) | (s[k + 8] >> (8 - r)) : w);
            i += 8;
            continue;
        }
        d[i] = static_cast<uint8_t>(((byteAt(k) << 8 | byteAt(k + 1)) << r) >> 8);
        ++i;
    }
    d[0] &= static_cast<uint8_t>(0xFFu >> dBit);
    const int tail = static_cast<int>((static_cast<size_t>(dBit) + n) & 7);
    if (tail) d[bytes - 1] &= static_cast<uint8_t>(0xFF00u >> tail);
}

}  // namespace ozl::image
