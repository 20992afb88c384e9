// Version record and cycle counter.
#include <cstdint>

#if defined(__i386__) || defined(__x86_64__) || defined(_M_IX86) || defined(_M_X64)
#define OZL_HAVE_TSC 1
#include <x86intrin.h>
#else
#include <chrono>
#endif

#include "ozl.h"

namespace {
const OzlLibVersion kVersion = {
    2, 1, 58, "ozlA6.dll", "2.1", "[2.1.058, 02/02/99]", "Feb  6 1999", "DLL",
};
}

extern "C" OZL_API const OzlLibVersion* OZL_CALL ozlGetLibVersion(void) { return &kVersion; }

extern "C" OZL_API uint64_t OZL_CALL ozlGetQuintorCounter(void) {
#if defined(OZL_HAVE_TSC)
    return __rdtsc();
#else
    // No time-stamp counter: a monotonic count of clock ticks.
    return static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
#endif
}
