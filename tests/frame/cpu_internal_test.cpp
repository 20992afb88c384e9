// Processor level used by the kernels: detection as the compiler sees it; force caps it.
#include <gtest/gtest.h>

#include "frame/cpu.hpp"

namespace {

using ozl::cpu::Level;

TEST(Cpu, DetectionMatchesTheCompilersViewAndForceCapsIt) {
    const Level found = ozl::cpu::detected();
#if defined(__i386__) || defined(__x86_64__)
    __builtin_cpu_init();
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    EXPECT_EQ(found, avx512 ? Level::Avx512 : __builtin_cpu_supports("avx2") ? Level::Avx2
                     : __builtin_cpu_supports("sse2") ? Level::Sse2 : Level::Ref);
    EXPECT_EQ(ozl::cpu::hasAvx512Vbmi(), avx512 && __builtin_cpu_supports("avx512vbmi"));
    EXPECT_EQ(ozl::cpu::hasAvx512Gfni(), avx512 && __builtin_cpu_supports("gfni"));
#else
    EXPECT_EQ(found, Level::Ref);
#endif
    EXPECT_STREQ(ozl::cpu::name(found), found == Level::Avx512 ? "avx512" : found == Level::Avx2 ? "avx2"
                                        : found == Level::Sse2 ? "sse2" : "ref");
    EXPECT_EQ(ozl::cpu::active(), found);
    ozl::cpu::force(Level::Ref);
    EXPECT_EQ(ozl::cpu::active(), Level::Ref);
    ozl::cpu::force(Level::Sse2);  // never above what the processor has
    EXPECT_EQ(ozl::cpu::active(), found == Level::Ref ? Level::Ref : Level::Sse2);
    ozl::cpu::force(ozl::cpu::kTopLevel);
    EXPECT_EQ(ozl::cpu::active(), found);
}

}  // namespace
