// 32-byte aligned blocks: one heap allocation each, the raw address kept in the
// pointer-sized word just below the returned address.
#include <cstdint>
#include <cstdlib>

#include "ozl.h"

namespace {

// 68 extra bytes: up to 35 for the alignment gap (which always leaves room for
// the raw-address word) and at least 33 spare bytes after the caller's data.
constexpr std::size_t kOverhead = 68;

void* alignedBlock(std::size_t request) {
    void* raw = std::malloc(request);
    if (raw == nullptr) return nullptr;
    const std::uintptr_t aligned = (reinterpret_cast<std::uintptr_t>(raw) + 35) & ~std::uintptr_t{31};
    reinterpret_cast<void**>(aligned)[-1] = raw;
    return reinterpret_cast<void*>(aligned);
}

// The count goes into the size unchecked, computed in 64 bits. A negative count
// still asks for the 68 bytes of overhead at least, so that the block always
// holds the alignment gap and the word below the returned address; on 32-bit
// targets a request beyond the address space is refused.
std::size_t bytesFor(int count, int elementSize) {
    const int64_t bytes = static_cast<int64_t>(count) * elementSize + static_cast<int64_t>(kOverhead);
    if (bytes < static_cast<int64_t>(kOverhead)) return kOverhead;
    if (static_cast<uint64_t>(bytes) > SIZE_MAX) return SIZE_MAX;
    return static_cast<std::size_t>(bytes);
}

}  // namespace

extern "C" OZL_API void* OZL_CALL ozlMalloc(int length) { return alignedBlock(bytesFor(length, 1)); }

extern "C" OZL_API void* OZL_CALL ozlwMalloc(int length) { return alignedBlock(bytesFor(length, 2)); }

extern "C" OZL_API void* OZL_CALL ozliMalloc(int length) { return alignedBlock(bytesFor(length, 4)); }

// Floats and 32-bit integers take the same code, exported under both names.
extern "C" OZL_API void* OZL_CALL ozlsMalloc(int length) __attribute__((alias("ozliMalloc"), nothrow));

extern "C" OZL_API void* OZL_CALL ozldMalloc(int length) { return alignedBlock(bytesFor(length, 8)); }

extern "C" OZL_API void OZL_CALL ozlFree(void* ptr) {
    if (ptr == nullptr) return;
    std::free(static_cast<void**>(ptr)[-1]);
}

// ROI and tile records come from ozlMalloc; their delete functions are ozlFree
// itself under further names.
extern "C" OZL_API void OZL_CALL ozlDeleteROI(OzlROI* roi) __attribute__((alias("ozlFree"), nothrow));
extern "C" OZL_API void OZL_CALL ozlDeleteTileInfo(OzlTileInfo* tileInfo)
    __attribute__((alias("ozlFree"), nothrow));
