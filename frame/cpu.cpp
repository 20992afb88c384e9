#include "frame/cpu.hpp"

#include <atomic>

#if defined(__i386__) || defined(__x86_64__)
#define OZL_X86 1
#include <cpuid.h>
#endif

namespace ozl::cpu {
namespace {

// The AVX-512 extensions a family may keep variants for.
enum class Extension { Vbmi, Gfni };

#if defined(OZL_X86)
// XCR0 through the raw instruction: the intrinsic needs XSAVE enabled at compile time.
unsigned long long readXcr0() {
    unsigned int eax = 0, edx = 0;
    __asm__ volatile("xgetbv" : "=a"(eax), "=d"(edx) : "c"(0));
    return (static_cast<unsigned long long>(edx) << 32) | eax;
}

Level probe() {
    unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return Level::Ref;
    if (!(edx & bit_SSE2)) return Level::Ref;
    const bool osxsave = (ecx & bit_OSXSAVE) != 0;
    const bool avx = (ecx & bit_AVX) != 0;
    if (!osxsave || !avx) return Level::Sse2;
    // The OS must save XMM (bit 1) and YMM (bit 2) state.
    if ((readXcr0() & 0x6) != 0x6) return Level::Sse2;
    if (!__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx)) return Level::Sse2;
    if (!(ebx & bit_AVX2)) return Level::Sse2;
    // AVX-512 needs the opmask and both halves of the upper registers saved too.
    const unsigned avx512 = bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL;
    if ((ebx & avx512) != avx512 || (readXcr0() & 0xE6) != 0xE6) return Level::Avx2;
    return Level::Avx512;
}

// Both are reported in leaf 7's ECX.
bool probeAvx512Extension(Extension which) {
    unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (probe() != Level::Avx512 || !__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx)) return false;
    return (ecx & (which == Extension::Vbmi ? bit_AVX512VBMI : bit_GFNI)) != 0;
}
#else
Level probe() { return Level::Ref; }
bool probeAvx512Extension(Extension) { return false; }
#endif

std::atomic<int> g_cap{static_cast<int>(kTopLevel)};

}  // namespace

Level detected() {
    static const Level level = probe();
    return level;
}

bool hasAvx512Vbmi() {
    static const bool vbmi = probeAvx512Extension(Extension::Vbmi);
    return vbmi;
}

bool hasAvx512Gfni() {
    static const bool gfni = probeAvx512Extension(Extension::Gfni);
    return gfni;
}

Level active() {
    const int cap = g_cap.load(std::memory_order_relaxed);
    const int found = static_cast<int>(detected());
    return static_cast<Level>(found < cap ? found : cap);
}

void force(Level level) { g_cap.store(static_cast<int>(level), std::memory_order_relaxed); }

const char* name(Level level) {
    switch (level) {
    case Level::Sse2: return "sse2";
    case Level::Avx2: return "avx2";
    case Level::Avx512: return "avx512";
    case Level::Ref: break;
    }
    return "ref";
}

}  // namespace ozl::cpu
