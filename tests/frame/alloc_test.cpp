// Aligned allocator: alignment, spare bytes, sizes, release.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "ozl.h"

namespace {

bool aligned32(const void* p) { return reinterpret_cast<std::uintptr_t>(p) % 32 == 0; }

// Every block is aligned and owns its bytes plus 33 spare ones; live blocks keep
// their contents (the sanitizer build checks every byte written here).
TEST(Alloc, EveryBlockIsAlignedWithThirtyThreeSpareBytes) {
    const struct { const char* name; void* (OZL_CALL* alloc)(int); int elementSize; } allocators[] = {
        {"ozlMalloc", ozlMalloc, 1}, {"ozlwMalloc", ozlwMalloc, 2}, {"ozliMalloc", ozliMalloc, 4},
        {"ozlsMalloc", ozlsMalloc, 4}, {"ozldMalloc", ozldMalloc, 8},
    };
    const int counts[] = {0, 1, 2, 3, 7, 31, 32, 33, 63, 64, 65, 100, 1000, 4097, 65536};
    for (const auto& a : allocators) {
        std::vector<unsigned char*> blocks;
        for (int count : counts) {
            auto* p = static_cast<unsigned char*>(a.alloc(count));
            ASSERT_NE(p, nullptr) << a.name << "(" << count << ")";
            EXPECT_TRUE(aligned32(p)) << a.name << "(" << count << ")";
            std::memset(p, static_cast<int>(blocks.size()), static_cast<std::size_t>(count) * a.elementSize + 33);
            blocks.push_back(p);
        }
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            const std::size_t usable = static_cast<std::size_t>(counts[i]) * a.elementSize + 33;
            EXPECT_EQ(blocks[i][0], i) << a.name;
            EXPECT_EQ(blocks[i][usable - 1], i) << a.name;
            ozlFree(blocks[i]);
        }
    }
}

TEST(Alloc, NegativeCountsStillGiveAWholeBlock) {
    // -10 bytes plus the 68 of overhead leaves a usable block; below -68 the
    // block keeps its overhead, so the word below the address is its own.
    for (int count : {-10, -60, -1000, INT32_MIN}) {
        void* p = ozlMalloc(count);
        ASSERT_NE(p, nullptr) << count;
        EXPECT_TRUE(aligned32(p));
        ozlFree(p);
    }
}

TEST(Alloc, SharedEntryPoints) {
    // Float and integer blocks are one function; ROI and tile records come from
    // ozlMalloc and go back through ozlFree itself.
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlsMalloc), reinterpret_cast<std::uintptr_t>(&ozliMalloc));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlDeleteROI), reinterpret_cast<std::uintptr_t>(&ozlFree));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlDeleteTileInfo), reinterpret_cast<std::uintptr_t>(&ozlFree));
    ozlDeleteROI(static_cast<OzlROI*>(ozlMalloc(sizeof(OzlROI))));
    ozlFree(ozlCreateTileInfo(nullptr, nullptr, 8, 8));
    ozlDeleteTileInfo(nullptr);
}

}  // namespace
