// The public test suite at one dispatch level: the same test sources as
// ozl_tests, linked against the static archive so that the kernels' level can
// be capped before any test runs.
//
//   ozl_level_tests --level=<name> [GoogleTest options]
//
// <name> is a level as ozl::cpu::name spells it. A level above what this
// processor supports is reported as skipped (exit status kSkipped), so that a
// machine without it shows the gap instead of hiding it.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "frame/cpu.hpp"

namespace {

constexpr int kSkipped = 77;

int usage() {
    std::fprintf(stderr, "usage: ozl_level_tests --level=<name> [GoogleTest options]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const char* wanted = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--level=", 8) != 0) return usage();
        wanted = argv[i] + 8;
    }
    if (wanted == nullptr) return usage();

    using ozl::cpu::Level;
    const Level detected = ozl::cpu::detected();
    // Every level from the lowest up to the detected one runs on this machine;
    // levels are consecutive values of the enumeration.
    for (int l = static_cast<int>(Level::Ref); l <= static_cast<int>(detected); ++l) {
        const Level level = static_cast<Level>(l);
        if (std::strcmp(ozl::cpu::name(level), wanted) != 0) continue;
        ozl::cpu::force(level);
        std::printf("ozl_level_tests: kernels at level %s (this processor: %s)\n",
                    ozl::cpu::name(ozl::cpu::active()), ozl::cpu::name(detected));
        std::fflush(stdout);
        return RUN_ALL_TESTS();
    }
    std::printf("ozl_level_tests: level %s is not available on this processor (highest: %s): "
                "skipped\n",
                wanted, ozl::cpu::name(detected));
    return kSkipped;
}
