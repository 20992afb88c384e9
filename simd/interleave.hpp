// Byte-shuffle patterns that split 16 interleaved pixels of three or four byte
// channels, held in 128-bit lanes, into one lane per channel, and join them
// back. Each pattern is 16 bytes repeated for every 128-bit lane of a 512-bit
// register, so that the 128-, 256- and 512-bit layers load it alike.
#pragma once

#include <cstdint>

namespace ozl::simd {
namespace {

struct LanePattern {
    alignas(64) uint8_t b[64];
};

constexpr uint8_t kZeroByte = 0x80;  // a shuffle index that yields 0

// Three channels: 48 bytes of a lane group sit in registers r = 0, 1, 2 (16
// bytes each). split3(c, r) picks channel c's bytes out of register r into
// their pixel positions; OR over r gives the channel.
constexpr LanePattern split3(int c, int r) {
    LanePattern p{};
    for (int lane = 0; lane < 4; ++lane)
        for (int j = 0; j < 16; ++j) {
            const int at = 3 * j + c - 16 * r;
            p.b[16 * lane + j] = at >= 0 && at < 16 ? static_cast<uint8_t>(at) : kZeroByte;
        }
    return p;
}

// join3(r, c): the bytes of register r (of the 48 interleaved ones) that come
// from channel c, taken from their pixel positions; OR over c gives register r.
constexpr LanePattern join3(int r, int c) {
    LanePattern p{};
    for (int lane = 0; lane < 4; ++lane)
        for (int i = 0; i < 16; ++i) {
            const int g = 16 * r + i;
            p.b[16 * lane + i] = g % 3 == c ? static_cast<uint8_t>(g / 3) : kZeroByte;
        }
    return p;
}

// Four channels: the 4 pixels of a 16-byte register grouped by channel, one
// 32-bit element per channel.
constexpr LanePattern group4() {
    LanePattern p{};
    for (int lane = 0; lane < 4; ++lane)
        for (int i = 0; i < 16; ++i) p.b[16 * lane + i] = static_cast<uint8_t>((i % 4) * 4 + i / 4);
    return p;
}

struct InterleavePatterns {
    LanePattern split[3][3];  // [channel][register]
    LanePattern join[3][3];   // [register][channel]
    LanePattern group;
};

constexpr InterleavePatterns makePatterns() {
    InterleavePatterns t{};
    for (int a = 0; a < 3; ++a)
        for (int b = 0; b < 3; ++b) {
            t.split[a][b] = split3(a, b);
            t.join[a][b] = join3(a, b);
        }
    t.group = group4();
    return t;
}

alignas(64) constexpr InterleavePatterns kInterleave = makePatterns();

}  // namespace
}  // namespace ozl::simd
