// Processor features that pick the kernels.
#pragma once

namespace ozl::cpu {

// Levels in increasing order; each includes the ones below it. Avx512 means
// the F, BW, DQ and VL subsets together.
enum class Level { Ref = 0, Sse2 = 1, Avx2 = 2, Avx512 = 3 };

constexpr Level kTopLevel = Level::Avx512;

// Highest level this processor and operating system support; computed once.
Level detected();

// Level the kernels use: detected(), capped by force().
Level active();

// Caps the active level (tests run every kernel path with it); force(kTopLevel)
// lifts the cap.
void force(Level level);

// Whether the AVX-512 level also has the byte permutes of AVX-512 VBMI; a
// family may keep a variant of its AVX-512 table for them. Computed once.
bool hasAvx512Vbmi();

// Whether the AVX-512 level also has the bit-matrix byte instructions
// (GFNI). Computed once.
bool hasAvx512Gfni();

// "ref", "sse2", "avx2" or "avx512".
const char* name(Level level);

}  // namespace ozl::cpu
