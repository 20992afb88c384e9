// Aligned allocator: alignment, spare bytes, sizes, release.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "ozl.h"

namespace {

bool aligned32(const void* p) { return reinterpret_cast<std::uintptr_t>(p) % 32 == 0; }

// Every block is aligned and owns its bytes plus 33 spare ones; live blocks keep
// their contents (the sanitizer build checks every byte written here). Negative
// counts still give a whole block.
TEST(Alloc, EveryBlockIsAlignedWithThirtyThreeSpareBytes) {
    const struct { void* (OZL_CALL* alloc)(int); int elementSize; } allocators[] = {
        {ozlMalloc, 1}, {ozlwMalloc, 2}, {ozliMalloc, 4}, {ozlsMalloc, 4}, {ozldMalloc, 8}};
    const int counts[] = {0, 1, 7, 32, 33, 65, 1000, 4097};
    for (const auto& a : allocators) {
        std::vector<unsigned char*> blocks;
        for (int count : counts) {
            auto* p = static_cast<unsigned char*>(a.alloc(count));
            ASSERT_TRUE(p && aligned32(p)) << a.elementSize << " x " << count;
            std::memset(p, static_cast<int>(blocks.size()), static_cast<std::size_t>(count) * a.elementSize + 33);
            blocks.push_back(p);
        }
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            EXPECT_EQ(blocks[i][static_cast<std::size_t>(counts[i]) * a.elementSize + 32], i) << a.elementSize;
            ozlFree(blocks[i]);
        }
    }
    for (int count : {-10, -60, -1000, INT32_MIN}) {
        void* p = ozlMalloc(count);
        ASSERT_TRUE(p && aligned32(p)) << count;
        ozlFree(p);
    }
    // Float and integer blocks are one function; records go back through ozlFree itself.
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlsMalloc), reinterpret_cast<std::uintptr_t>(&ozliMalloc));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlDeleteROI), reinterpret_cast<std::uintptr_t>(&ozlFree));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&ozlDeleteTileInfo), reinterpret_cast<std::uintptr_t>(&ozlFree));
}

}  // namespace
