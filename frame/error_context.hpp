// Per-thread error context: status, mode, report callback and the room kept for
// the frequency-transform caches.
#pragma once

#include <cstdint>

#include "ozl.h"

namespace ozl::frame {

// Table pointers of one transform family; every entry is an ozlMalloc block.
constexpr int kTransformTableSlots = 64;
struct TransformTableSet {
    int32_t count;
    void* tables[kTransformTableSlots];
};

// Room for the transform caches. Only cachedSize starts at -1; all else is 0.
constexpr int kInlineTableWords = 333;
struct TransformCaches {
    int32_t cachedSize;  // -1: nothing cached
    TransformTableSet fft;
    TransformTableSet dct;
    uint32_t inlineTables[kInlineTableWords];  // small precomputed tables
};

struct OzlErrorContext {
    OzlStatus status;
    int32_t mode;
    OzlErrorCallBack callback;
    TransformCaches caches;
};

// The record keeps its 32-bit size on 32-bit targets.
static_assert(sizeof(void*) != 4 || sizeof(OzlErrorContext) == 1868,
              "error context size changed");

// Fresh state of a zero-filled context: status 0, mode Leaf, message-box report.
void initContext(OzlErrorContext* context);

// Frees every cached table (ozlFree) and zeroes the counts; called at thread exit.
void releaseTransformCaches(OzlErrorContext* context);

// The calling thread's context, created on first use. Ends the process when the
// context cannot be allocated.
OzlErrorContext* tlsContext();

#if defined(_WIN32)
// Module and thread notifications of the DLL entry point.
bool attachProcess();
bool attachThread();
void detachThread();
void detachProcess();
#endif

}  // namespace ozl::frame
