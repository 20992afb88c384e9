// Per-thread error context: creation on first use, initial state, cache release.
#include <gtest/gtest.h>

#include <cstdint>
#include <thread>

#include "frame/error_context.hpp"
#include "ozl.h"

namespace {

using namespace ozl::frame;

bool cachesAreEmpty(const OzlErrorContext& c) {
    if (c.caches.cachedSize != -1 || c.caches.fft.count != 0 || c.caches.dct.count != 0) return false;
    for (int i = 0; i < kTransformTableSlots; ++i)
        if (c.caches.fft.tables[i] != nullptr || c.caches.dct.tables[i] != nullptr) return false;
    if (c.caches.scratch != nullptr || c.caches.useClock != 0) return false;
    for (uint32_t w : c.caches.spare)
        if (w != 0) return false;
    return true;
}

TEST(ErrorContext, EachThreadGetsItsOwnInitialisedContext) {
    OzlErrorContext* mine = tlsContext();
    const OzlStatus savedStatus = mine->status;
    ozlSetErrStatus(-21);  // the public calls act on this thread's context
    EXPECT_EQ(mine->status, -21);
    ozlSetErrStatus(savedStatus);
    OzlErrorContext copy{};
    const OzlErrorContext* theirs = nullptr;
    std::thread t([&] {
        OzlErrorContext* c = tlsContext();
        theirs = c;
        copy = *c;
        // Tables left behind must go with the thread (the sanitizer build checks).
        c->caches.fft.tables[3] = ozlMalloc(4096);
        c->caches.fft.count = 1;
    });
    t.join();
    EXPECT_NE(theirs, mine);
    EXPECT_EQ(copy.status, 0);
    EXPECT_EQ(copy.mode, OZL_ErrModeLeaf);
    EXPECT_EQ(copy.callback, ozlGuiBoxReport);
    EXPECT_TRUE(cachesAreEmpty(copy));
}

TEST(ErrorContext, ReleaseFreesTablesAndZeroesCounts) {
    OzlErrorContext context{};
    initContext(&context);
    // Tables as the transforms leave them: some slots filled, not necessarily packed.
    for (int i : {0, 1, 5, kTransformTableSlots - 1}) context.caches.fft.tables[i] = ozlMalloc(64 * (i + 1));
    context.caches.fft.count = 4;
    for (int i : {0, 2}) context.caches.dct.tables[i] = ozldMalloc(100);
    context.caches.dct.count = 2;
    context.caches.scratch = ozlMalloc(256);
    context.caches.cachedSize = 256;
    context.caches.useClock = 9;
    for (int twice = 0; twice < 2; ++twice) {  // the sanitizer build reports any block left behind
        releaseTransformCaches(&context);
        EXPECT_TRUE(cachesAreEmpty(context));
    }
    EXPECT_EQ(context.callback, ozlGuiBoxReport);
}

TEST(Alloc, RawAddressSitsInTheGapBelowTheBlock) {
    for (int length : {0, 1, 17, 100, 4096}) {
        auto* p = static_cast<unsigned char*>(ozlMalloc(length));
        ASSERT_NE(p, nullptr);
        const std::ptrdiff_t gap = p - static_cast<unsigned char*>(reinterpret_cast<void**>(p)[-1]);
        EXPECT_GE(gap, static_cast<std::ptrdiff_t>(sizeof(void*)));
        EXPECT_LE(gap, 35);
        ozlFree(p);
    }
}

}  // namespace
