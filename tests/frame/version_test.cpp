// Version record and cycle counter.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "ozl.h"

#if defined(__linux__)
#include <sched.h>
#endif

namespace {

TEST(Version, OneStaticRecord) {
    const OzlLibVersion* v = ozlGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ((std::vector<int>{v->major, v->minor, v->build}), (std::vector<int>{2, 1, 58}));
    EXPECT_EQ((std::vector<std::string>{v->name, v->version, v->internalVersion, v->buildDate, v->callConv}),
              (std::vector<std::string>{"ozlA6.dll", "2.1", "[2.1.058, 02/02/99]", "Feb  6 1999", "DLL"}));
    const OzlLibVersion* other = nullptr;
    std::thread([&] { other = ozlGetLibVersion(); }).join();
    EXPECT_EQ(other, v);
}

TEST(Counter, NonDecreasingAndAdvancing) {
#if defined(__linux__)
    // One processor, so the counter read is always the same one.
    cpu_set_t saved, one;
    const bool pinned = sched_getaffinity(0, sizeof saved, &saved) == 0;
    CPU_ZERO(&one);
    for (int c = 0; pinned && c < CPU_SETSIZE; ++c)
        if (CPU_ISSET(c, &saved)) { CPU_SET(c, &one); sched_setaffinity(0, sizeof one, &one); break; }
#endif
    uint64_t previous = ozlGetQuintorCounter();
    const uint64_t start = previous;
    for (int i = 0; i < 100000; ++i) {
        const uint64_t now = ozlGetQuintorCounter();
        ASSERT_GE(now, previous) << "read " << i;
        previous = now;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_GT(ozlGetQuintorCounter(), start);
#if defined(__linux__)
    if (pinned) sched_setaffinity(0, sizeof saved, &saved);
#endif
}

}  // namespace
