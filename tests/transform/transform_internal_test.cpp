// The transforms at every instruction-set level against the scalar reference,
// bit for bit, and the per-thread tables: built once per length, reused,
// replaced least recently used first, released with the thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>

#include "frame/error_context.hpp"
#include "support/kernel_check.hpp"
#include "transform/plan.hpp"
#include "transform/reference.hpp"

namespace {

using ozl::cpu::Level;
using namespace ozl::test;

// Restores the detected level when a test ends.
struct LevelGuard {
    ~LevelGuard() { ozl::cpu::force(ozl::cpu::kTopLevel); }
};

const int F = OZL_FFT_FORWARD, I = OZL_FFT_INVERSE;
enum { Real, Ccs, Dct, Mpy };
const struct Call {
    int fn, flags;
    unsigned srcDepth, dstDepth;
    int channels, ccs;  // ccs 1: dst, 2: src is a CCS spectrum, 2 (w/2 + 1) wide
} kCalls[] = {
    {Real, F, OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0},       {Real, I, OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0},
    {Real, F | OZL_FFT_SCALE_SQRT, OZL_DEPTH_8U, OZL_DEPTH_32F, 3, 0},
    {Ccs, F | OZL_FFT_SCALE_FORWARD, OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 1},
    {Ccs, I | OZL_FFT_SCALE_NONE, OZL_DEPTH_32F, OZL_DEPTH_16S, 1, 2},
    {Dct, OZL_DCT_FORWARD, OZL_DEPTH_16S, OZL_DEPTH_32F, 2, 0}, {Dct, OZL_DCT_INVERSE, OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0},
    {Mpy, 0, OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0},        {Mpy, OZL_MPY_CONJUGATE, OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0},
};

// Every count of rows and columns below two strips of the widest level, and
// lengths of each kind (2, 3, 5 factors, chirp, long).
TEST(TransformLevels, EveryLevelMatchesTheReference) {
    LevelGuard guard;
    ErrorCapture errors;
    std::vector<std::pair<int, int>> sizes{{64, 64}, {100, 45}, {22, 14}, {129, 9}, {1, 200}, {256, 3}, {61, 67}};
    for (int n = 1; n <= 33; ++n) sizes.push_back({n, 34 - n});
    for (const Call& call : kCalls)
        for (auto [w, h] : sizes) {
            const int sw = 2 * (w / 2 + 1), srcW = call.ccs == 2 ? sw : w, dstW = call.ccs == 1 ? sw : w;
            TestImage a(call.srcDepth, srcW, h, call.channels), b(call.srcDepth, srcW, h);
            a.fillRandom(w * 100 + h, -1, call.srcDepth == OZL_DEPTH_32F ? 1 : -1);
            b.fillRandom(w + h, -1, 1);
            std::vector<uint8_t> reference;
            for (Level level : allLevels()) {
                ozl::cpu::force(level);
                TestImage d(call.dstDepth, dstW, h, call.channels);
                if (call.fn == Mpy) ozlMpyRCPack2D(a, b, d, call.flags);
                else (call.fn == Real ? ozlRealFft2D : call.fn == Ccs ? ozlCcsFft2D : ozlDCT2D)(a, d, call.flags);
                if (level == Level::Ref) reference = d.bytes();
                else if (d.bytes() != reference)
                    ADD_FAILURE() << "call " << (&call - kCalls) << " " << w << "x" << h << " at " << ozl::cpu::name(level)
                                  << ": first differing byte " << firstDifference(d.bytes(), reference);
            }
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

std::vector<int> lengthsHeld(const ozl::frame::TransformTableSet& set) {
    std::vector<int> n;
    for (void* t : set.tables)
        if (t) n.push_back(static_cast<const ozl::transform::FftPlan*>(t)->n);
    std::sort(n.begin(), n.end());
    return n;
}

void transform(int w, int h, bool dct = false) {
    TestImage a(OZL_DEPTH_32F, w, h), d(OZL_DEPTH_32F, w, h);
    dct ? ozlDCT2D(a, d, OZL_DCT_FORWARD) : ozlRealFft2D(a, d, OZL_FFT_FORWARD);
}

// A thread starts with nothing cached, builds a table per length once, keeps
// its working block for the next call, and gives up the least recently used
// table when the set is full; what it holds at exit goes with it (the
// sanitizer build reports any block left behind).
TEST(TransformCache, BuiltOnceReusedAndReplaced) {
    std::thread([] {
        LevelGuard guard;
        ErrorCapture errors;
        const ozl::frame::TransformCaches& c = ozl::frame::tlsContext()->caches;
        EXPECT_TRUE(c.cachedSize == -1 && c.fft.count == 0);
        transform(48, 20);
        EXPECT_EQ(lengthsHeld(c.fft), (std::vector<int>{20, 24}));  // rows: complex 24
        EXPECT_GT(c.cachedSize, 0);
        const ozl::frame::TransformCaches first = c;
        transform(48, 20);
        EXPECT_EQ(std::memcmp(first.fft.tables, c.fft.tables, sizeof first.fft.tables), 0);
        EXPECT_EQ(c.scratch, first.scratch);
        transform(48, 20, true);  // real lengths 48 and 20: complex 24 and 10
        EXPECT_EQ(lengthsHeld(c.fft), (std::vector<int>{10, 20, 24}));
        EXPECT_EQ(lengthsHeld(c.dct), (std::vector<int>{20, 48}));
        for (int n = 100; n < 170; ++n) transform(2 * n, 1);  // 70 more lengths: the latest ones stay
        const std::vector<int> held = lengthsHeld(c.fft);
        EXPECT_EQ(c.fft.count, ozl::frame::kTransformTableSlots);
        EXPECT_EQ(held.size(), static_cast<size_t>(ozl::frame::kTransformTableSlots));
        // 1 is used by every call, 24 the least recently used; 169 the latest.
        EXPECT_TRUE(held.front() == 1 && held.back() == 169 && std::count(held.begin(), held.end(), 24) == 0);
        ozl::cpu::force(Level::Ref);  // blocks above the bound are not kept
        const int32_t kept = c.cachedSize;
        transform(1 << 19, 1);
        EXPECT_EQ(c.cachedSize, kept);
        EXPECT_TRUE(errors.empty()) << errors.last();
    }).join();
}

}  // namespace
