// Choices made once per call from a kernel's coefficients and the image's
// depth: the arithmetic width its sums need, the prepared forms the row
// routines read, and the header copies the engines work on.
#pragma once

#include <cstddef>
#include <cstdint>

#include "filter/kernels.hpp"
#include "ozl.h"

namespace ozl::filter {

// Values of a depth as the kernels see them (1U: 0 and 1).
struct ValueRange {
    int64_t lo = 0, hi = 0;
};
ValueRange valueRange(uint32_t depth);

// The smallest and largest sums a set of weights can give over a range of
// values (in double precision: exact wherever the comparisons below matter).
struct SumBounds {
    double lo = 0, hi = 0;
};
SumBounds sumBounds(const int32_t* coeffs, size_t n, ValueRange range);

// Computation class of an integer kernel: 0 16-bit sums, 1 32-bit sums, 2
// sums in floating point. 32S (and 32F) images always take class 2.
int computationClass(const int32_t* coeffs, size_t n, uint32_t depth);

// A shift as applied: 0..63, a negative one counting as larger than any sum.
inline int normalShift(int64_t shift) { return shift < 0 || shift > 63 ? 63 : static_cast<int>(shift); }

// Sums within these bounds can be taken modulo 2^16: signed when they stay
// strictly inside int16 (so that their absolute value fits too), unsigned when
// never negative and below 2^16.
enum class Narrow { No, Signed, Unsigned };
Narrow narrowSums(SumBounds b);

// Pairs the taps for the two-at-a-time multiplies; an odd tap out is paired
// with a zero weight on its own row.
int pairTaps(const Tap* taps, int count, TapPair* pairs);

// True when every pair's byte products and their sum stay in int16 for
// values 0..255 (the byte-pair multiply saturates).
bool bytePairsFit(const TapPair* pairs, int nPairs);

// The bias that takes flipped 8-bit readings (v + 128) back out of a sum
// modulo 2^16, and the one that puts 16U readings taken as v - 32768 back.
int16_t flippedBias(const Tap* taps, int count);
int32_t unsigned16Bias(const TapPair* pairs, int nPairs);

// A local copy of a header whose border constants are clamped to the depth's
// range (1U: a positive constant gives 1, any other 0), so that border
// filling cannot produce values the depth does not hold.
void clampedCopy(const OzlImage* image, OzlImage* copy);

}  // namespace ozl::filter
