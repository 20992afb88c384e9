// Processor level used by the kernels.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "frame/cpu.hpp"

namespace {

using ozl::cpu::Level;

TEST(Cpu, Names) {
    EXPECT_STREQ(ozl::cpu::name(Level::Ref), "ref");
    EXPECT_STREQ(ozl::cpu::name(Level::Sse2), "sse2");
    EXPECT_STREQ(ozl::cpu::name(Level::Avx2), "avx2");
    EXPECT_STREQ(ozl::cpu::name(Level::Avx512), "avx512");
}

TEST(Cpu, DetectionMatchesTheCompilersView) {
#if defined(__i386__) || defined(__x86_64__)
    __builtin_cpu_init();
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    const Level expected = avx512                           ? Level::Avx512
                           : __builtin_cpu_supports("avx2") ? Level::Avx2
                           : __builtin_cpu_supports("sse2") ? Level::Sse2
                                                            : Level::Ref;
    EXPECT_EQ(ozl::cpu::detected(), expected);
    EXPECT_EQ(ozl::cpu::hasAvx512Vbmi(), avx512 && __builtin_cpu_supports("avx512vbmi"));
#if defined(__x86_64__)
    EXPECT_GE(static_cast<int>(ozl::cpu::detected()), static_cast<int>(Level::Sse2));
#endif
#else
    EXPECT_EQ(ozl::cpu::detected(), Level::Ref);
#endif
}

TEST(Cpu, DetectionIsStableAcrossThreads) {
    const Level here = ozl::cpu::detected();
    std::vector<Level> seen(4);
    std::vector<std::thread> threads;
    for (auto& s : seen) threads.emplace_back([&s] { s = ozl::cpu::detected(); });
    for (auto& t : threads) t.join();
    for (Level s : seen) EXPECT_EQ(s, here);
}

TEST(Cpu, ForceCapsTheActiveLevel) {
    const Level found = ozl::cpu::detected();
    EXPECT_EQ(ozl::cpu::active(), found);
    ozl::cpu::force(Level::Ref);
    EXPECT_EQ(ozl::cpu::active(), Level::Ref);
    ozl::cpu::force(Level::Sse2);
    EXPECT_EQ(ozl::cpu::active(), found == Level::Ref ? Level::Ref : Level::Sse2);
    // Forcing never raises the level above what the processor has.
    ozl::cpu::force(ozl::cpu::kTopLevel);
    EXPECT_EQ(ozl::cpu::active(), found);
    EXPECT_EQ(ozl::cpu::detected(), found);
}

}  // namespace
