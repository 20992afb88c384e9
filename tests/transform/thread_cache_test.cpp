// Threads keep transform tables of their own, and threads that end give them
// back (on Windows through the DLL's thread-detach, checked by private bytes).
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "transform/reference.hpp"

#if defined(_WIN32)
#include <windows.h>
#include <psapi.h>
#endif

namespace {

using namespace ozl::test;

// A spectrum and the cosine transform of it, as bytes.
std::vector<uint8_t> transformed(int w, int h) {
    TestImage a(OZL_DEPTH_32F, w, h), d(OZL_DEPTH_32F, w, h);
    a.fillRandom(static_cast<uint32_t>(w * 7 + h), -1, 1);
    ozlRealFft2D(a, d, OZL_FFT_FORWARD);
    ozlDCT2D(d, d, OZL_DCT_FORWARD);
    return d.bytes();
}

// Two threads keep reusing a few sizes while two others also cycle through
// more lengths than a cache holds. Shared tables would show as wrong values
// here or as freed memory read in the sanitizer build.
TEST(TransformThreads, ConcurrentThreadsKeepTheirOwnTables) {
    const int sizes[][2] = {{64, 48}, {30, 25}, {100, 9}, {7, 77}};
    std::vector<std::vector<uint8_t>> want;
    for (const auto& s : sizes) want.push_back(transformed(s[0], s[1]));
    std::atomic<int> wrong{0}, reported{0};
    auto worker = [&](bool churn) {
        ErrorCapture errors;
        for (int round = 0; round < 8; ++round)
            for (size_t i = 0; i < want.size(); ++i) {
                if (transformed(sizes[i][0], sizes[i][1]) != want[i]) ++wrong;
                for (int n = 0; churn && n < 12; ++n) transformed(2 * (100 + round * 12 + n), 1);
            }
        reported += static_cast<int>(errors.count());
    };
    std::vector<std::thread> threads;
    for (bool churn : {false, true, false, true}) threads.emplace_back(worker, churn);
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(wrong.load() + reported.load(), 0);
}

#if defined(_WIN32)
int64_t privateBytes() {
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    K32GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters);
    return static_cast<int64_t>(counters.PrivateUsage);
}
#endif

// A long row: about 2 MB of tables and working memory kept by each thread.
TEST(TransformThreads, ThreadsThatTransformAndEndLeaveNothing) {
    auto once = [] { transformed(1 << 13, 1); };
    std::thread(once).join();  // the process's own first-use allocations
#if defined(_WIN32)
    const int64_t start = privateBytes();  // the measure must see blocks of this size at all
    void* probe = ozlMalloc(64 << 20);
    ASSERT_NE(probe, nullptr);
    std::memset(probe, 1, 64 << 20);
    const bool measurable = privateBytes() - start > (32 << 20);
    ozlFree(probe);
    if (!measurable) GTEST_SKIP() << "private bytes do not follow allocations here";
    const int64_t before = privateBytes();
#endif
    for (int i = 0; i < 12; ++i) std::thread(once).join();
#if defined(_WIN32)
    EXPECT_LT(privateBytes() - before, int64_t{8} << 20);  // twelve threads keeping theirs: some 20 MB
#endif
}

}  // namespace
