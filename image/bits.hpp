// Rows of 1-bit pixels, most significant bit first. Positions are bit indices
// from a byte address; only the bytes a run really covers are read or written.
#pragma once

#include <cstddef>
#include <cstdint>

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

}  // namespace ozl::image
