// Processor features that pick the kernels.
#pragma once

namespace ozl::cpu {

enum class Level { Ref = 0, Sse2 = 1, Avx2 = 2 };

// Highest level this processor and operating system support; computed once.
Level detected();

// Level the kernels use: detected(), capped by force().
Level active();

// Caps the active level (tests run every kernel path with it); force(Level::Avx2)
// lifts the cap.
void force(Level level);

// "ref", "sse2" or "avx2".
const char* name(Level level);

}  // namespace ozl::cpu
