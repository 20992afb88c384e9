// Per-thread error context: creation on first use, initial state, cache release.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <tuple>

#include "frame/error_context.hpp"
#include "ozl.h"

namespace {

using namespace ozl::frame;

bool cachesAreEmpty(const TransformCaches& c) {
    const auto null = [](const TransformTableSet& t) { return std::count(t.tables, t.tables + kTransformTableSlots, nullptr) == kTransformTableSlots; };
    return c.cachedSize == -1 && c.fft.count == 0 && c.dct.count == 0 && null(c.fft) && null(c.dct) && !c.scratch &&
           c.useClock == 0 && std::count(c.spare, c.spare + kTransformSpareWords, 0u) == kTransformSpareWords;
}

TEST(ErrorContext, EachThreadGetsItsOwnInitialisedContext) {
    OzlErrorContext* mine = tlsContext();
    ozlSetErrStatus(-21);  // the public calls act on this thread's context
    EXPECT_EQ(mine->status, -21);
    ozlSetErrStatus(0);
    OzlErrorContext copy{};
    const OzlErrorContext* theirs = nullptr;
    std::thread([&] {
        OzlErrorContext* c = tlsContext();
        theirs = c, copy = *c;
        // Tables left behind must go with the thread (the sanitizer build checks).
        c->caches.fft.tables[3] = ozlMalloc(4096), c->caches.fft.count = 1;
    }).join();
    EXPECT_NE(theirs, mine);
    EXPECT_EQ(std::make_tuple(copy.status, copy.mode, copy.callback), std::make_tuple(0, OZL_ErrModeLeaf, &ozlGuiBoxReport));
    EXPECT_TRUE(cachesAreEmpty(copy.caches));
}

TEST(ErrorContext, ReleaseFreesTablesAndZeroesCounts) {
    OzlErrorContext context{};
    initContext(&context);
    // Tables as the transforms leave them: some slots filled, not necessarily packed.
    for (int i : {0, 5, kTransformTableSlots - 1}) context.caches.fft.tables[i] = ozlMalloc(64 * (i + 1));
    TransformCaches& c = context.caches;
    c.fft.count = 3, c.dct.tables[2] = ozldMalloc(100), c.dct.count = 1;
    c.scratch = ozlMalloc(256), c.cachedSize = 256, c.useClock = 9;
    for (int twice = 0; twice < 2; ++twice) {  // the sanitizer build reports any block left behind
        releaseTransformCaches(&context);
        EXPECT_TRUE(cachesAreEmpty(context.caches));
    }
    EXPECT_EQ(context.callback, ozlGuiBoxReport);
}

}  // namespace
