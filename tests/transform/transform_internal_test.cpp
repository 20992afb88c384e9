// The transforms at every instruction-set level against the scalar reference,
// bit for bit, and the per-thread tables: built once per length, reused,
// replaced least recently used first, released with the thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "frame/error_context.hpp"
#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/kernel_check.hpp"
#include "support/test_image.hpp"
#include "transform/plan.hpp"

namespace {

using ozl::cpu::Level;
using ozl::test::ErrorCapture;
using ozl::test::TestImage;

// Restores the detected level when a test ends.
struct LevelGuard {
    ~LevelGuard() { ozl::cpu::force(ozl::cpu::kTopLevel); }
};

struct Call {
    const char* name;
    unsigned srcDepth, dstDepth;
    int channels;
    int ccs;  // 1: dst, 2: src is a CCS spectrum, 2 (w/2 + 1) wide
    void (*run)(OzlImage* a, OzlImage* b, OzlImage* d);
};

const Call kCalls[] = {
    {"real forward", OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlRealFft2D(a, d, OZL_FFT_FORWARD); }},
    {"real inverse", OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlRealFft2D(a, d, OZL_FFT_INVERSE); }},
    {"real 8U 3 channels", OZL_DEPTH_8U, OZL_DEPTH_32F, 3, 0,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlRealFft2D(a, d, OZL_FFT_FORWARD | OZL_FFT_SCALE_SQRT); }},
    {"ccs forward", OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 1,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlCcsFft2D(a, d, OZL_FFT_FORWARD | OZL_FFT_SCALE_FORWARD); }},
    {"ccs inverse to 16S", OZL_DEPTH_32F, OZL_DEPTH_16S, 1, 2,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlCcsFft2D(a, d, OZL_FFT_INVERSE | OZL_FFT_SCALE_NONE); }},
    {"dct forward", OZL_DEPTH_16S, OZL_DEPTH_32F, 2, 0,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlDCT2D(a, d, OZL_DCT_FORWARD); }},
    {"dct inverse", OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlDCT2D(a, d, OZL_DCT_INVERSE); }},
    {"product", OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0,
     [](OzlImage* a, OzlImage* b, OzlImage* d) { ozlMpyRCPack2D(a, b, d, 0); }},
    {"product conjugate", OZL_DEPTH_32F, OZL_DEPTH_32F, 1, 0,
     [](OzlImage* a, OzlImage* b, OzlImage* d) { ozlMpyRCPack2D(a, b, d, OZL_MPY_CONJUGATE); }},
};

// Every count of rows and columns below two strips of the widest level, and
// lengths of each kind (2, 3, 5 factors, chirp, long).
std::vector<std::pair<int, int>> sizes() {
    std::vector<std::pair<int, int>> s;
    for (int n = 1; n <= 33; ++n) s.push_back({n, 34 - n});
    for (auto p : {std::pair{64, 64}, {100, 45}, {22, 14}, {129, 9}, {1, 200}, {256, 3}, {61, 67}})
        s.push_back(p);
    return s;
}

TEST(TransformLevels, EveryLevelMatchesTheReference) {
    LevelGuard guard;
    ErrorCapture errors;
    for (const Call& call : kCalls)
        for (auto [w, h] : sizes()) {
            const int sw = 2 * (w / 2 + 1);
            const int srcW = call.ccs == 2 ? sw : w, dstW = call.ccs == 1 ? sw : w;
            TestImage a(call.srcDepth, srcW, h, call.channels), b(call.srcDepth, srcW, h);
            if (call.srcDepth == OZL_DEPTH_32F)
                a.fillRandom(w * 100 + h, -1, 1);
            else
                a.fillRandom(w * 100 + h);
            b.fillRandom(w + h, -1, 1);
            std::vector<uint8_t> reference;
            for (Level level : ozl::test::allLevels()) {
                ozl::cpu::force(level);
                TestImage d(call.dstDepth, dstW, h, call.channels);
                call.run(a, b, d);
                if (level == Level::Ref)
                    reference = d.bytes();
                else if (d.bytes() != reference)
                    ADD_FAILURE() << call.name << " " << w << "x" << h << " at "
                                  << ozl::cpu::name(level) << ": first differing byte "
                                  << ozl::test::firstDifference(d.bytes(), reference);
            }
        }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

using ozl::frame::TransformCaches;

std::vector<int> lengthsHeld(const ozl::frame::TransformTableSet& set) {
    std::vector<int> n;
    for (void* t : set.tables)
        if (t) n.push_back(static_cast<const ozl::transform::FftPlan*>(t)->n);
    std::sort(n.begin(), n.end());
    return n;
}

void fft(int w, int h) {
    TestImage a(OZL_DEPTH_32F, w, h), d(OZL_DEPTH_32F, w, h);
    ozlRealFft2D(a, d, OZL_FFT_FORWARD);
}

// A thread starts with nothing cached, builds a table per length once, keeps
// its working block for the next call, and gives up the least recently used
// table when the set is full; what it holds at exit goes with it (the
// sanitizer build reports any block left behind).
TEST(TransformCache, BuiltOnceReusedAndReplaced) {
    std::thread([] {
        LevelGuard guard;
        ErrorCapture errors;
        const TransformCaches& c = ozl::frame::tlsContext()->caches;
        EXPECT_EQ(c.cachedSize, -1);
        EXPECT_EQ(c.fft.count, 0);
        fft(48, 20);
        EXPECT_EQ(lengthsHeld(c.fft), (std::vector<int>{20, 24}));  // rows: complex 24
        EXPECT_EQ(c.fft.count, 2);
        EXPECT_GT(c.cachedSize, 0);
        const TransformCaches first = c;
        fft(48, 20);
        EXPECT_EQ(std::memcmp(first.fft.tables, c.fft.tables, sizeof first.fft.tables), 0);
        EXPECT_EQ(c.scratch, first.scratch);
        {
            TestImage a(OZL_DEPTH_32F, 48, 20), d(OZL_DEPTH_32F, 48, 20);
            ozlDCT2D(a, d, OZL_DCT_FORWARD);  // real lengths 48 and 20: complex 24 and 10
        }
        EXPECT_EQ(lengthsHeld(c.fft), (std::vector<int>{10, 20, 24}));
        EXPECT_EQ(lengthsHeld(c.dct), (std::vector<int>{20, 48}));

        // 70 more lengths: the set stays full, holding the latest ones.
        for (int n = 100; n < 170; ++n) fft(2 * n, 1);
        EXPECT_EQ(c.fft.count, ozl::frame::kTransformTableSlots);
        const std::vector<int> held = lengthsHeld(c.fft);
        EXPECT_EQ(held.front(), 1);  // used by every call
        EXPECT_EQ(std::count(held.begin(), held.end(), 24), 0);
        EXPECT_EQ(held.back(), 169);
        EXPECT_EQ(held.size(), static_cast<size_t>(ozl::frame::kTransformTableSlots));

        // Blocks above the bound are not kept.
        ozl::cpu::force(Level::Ref);
        const int32_t kept = c.cachedSize;
        fft(1 << 19, 1);
        EXPECT_EQ(c.cachedSize, kept);
        EXPECT_TRUE(errors.empty()) << errors.last();
    }).join();
}

}  // namespace
