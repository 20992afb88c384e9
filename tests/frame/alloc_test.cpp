// Aligned allocator: alignment, spare bytes, sizes, release.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "ozl.h"

namespace {

struct Allocator {
    const char* name;
    void* (OZL_CALL* alloc)(int);
    int elementSize;
};

const Allocator kAllocators[] = {
    {"ozlMalloc", ozlMalloc, 1}, {"ozlwMalloc", ozlwMalloc, 2}, {"ozliMalloc", ozliMalloc, 4},
    {"ozlsMalloc", ozlsMalloc, 4}, {"ozldMalloc", ozldMalloc, 8},
};

bool aligned32(const void* p) { return reinterpret_cast<std::uintptr_t>(p) % 32 == 0; }

TEST(Alloc, EveryBlockIsAlignedWithThirtyThreeSpareBytes) {
    for (const Allocator& a : kAllocators) {
        for (int count : {0, 1, 2, 3, 7, 31, 32, 33, 63, 64, 65, 100, 1000, 4097, 65536}) {
            auto* p = static_cast<unsigned char*>(a.alloc(count));
            ASSERT_NE(p, nullptr) << a.name << "(" << count << ")";
            EXPECT_TRUE(aligned32(p)) << a.name << "(" << count << ")";
            // The caller's bytes and the 33 after them belong to the block
            // (the sanitizer build checks every byte written here).
            const std::size_t usable = static_cast<std::size_t>(count) * a.elementSize + 33;
            std::memset(p, 0xA5, usable);
            EXPECT_EQ(p[usable - 1], 0xA5);
            ozlFree(p);
        }
    }
}

TEST(Alloc, ZeroLengthBlockIsValid) {
    void* p = ozlMalloc(0);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(aligned32(p));
    std::memset(p, 0, 33);
    ozlFree(p);
}

TEST(Alloc, SmallNegativeCountPassesIntoTheSize) {
    // -10 bytes plus the 68 of overhead still leaves a usable block.
    void* p = ozlMalloc(-10);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(aligned32(p));
    ozlFree(p);
}

TEST(Alloc, BlocksAreDistinctAndKeepTheirContents) {
    void* blocks[64];
    for (int i = 0; i < 64; ++i) {
        blocks[i] = ozliMalloc(i + 1);
        ASSERT_NE(blocks[i], nullptr);
        auto* v = static_cast<int32_t*>(blocks[i]);
        for (int k = 0; k <= i; ++k) v[k] = i * 1000 + k;
    }
    for (int i = 0; i < 64; ++i) {
        const auto* v = static_cast<const int32_t*>(blocks[i]);
        for (int k = 0; k <= i; ++k) ASSERT_EQ(v[k], i * 1000 + k);
    }
    for (void* b : blocks) ozlFree(b);
}

TEST(Alloc, FloatAndIntegerAllocatorsAreOneFunction) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlsMalloc), reinterpret_cast<std::uintptr_t>(&ozliMalloc));
}

TEST(Alloc, RecordDeletersAreTheFreeFunction) {
    // ROI and tile records come from ozlMalloc and go back through ozlFree itself.
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlDeleteROI), reinterpret_cast<std::uintptr_t>(&ozlFree));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlDeleteTileInfo), reinterpret_cast<std::uintptr_t>(&ozlFree));
    ozlDeleteROI(static_cast<OzlROI*>(ozlMalloc(sizeof(OzlROI))));
    ozlDeleteTileInfo(nullptr);
}

}  // namespace
