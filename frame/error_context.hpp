// Per-thread error context: status, mode, report callback and the room kept for
// the frequency-transform caches.
#pragma once

#include <cstdint>

#include "ozl.h"

namespace ozl::frame {

// Table pointers of one transform family; every entry is an ozlMalloc block,
// nullptr where the slot is free.
constexpr int kTransformTableSlots = 64;
struct TransformTableSet {
    int32_t count;  // blocks held
    void* tables[kTransformTableSlots];
};

// The frequency transforms' per-thread caches: their tables by length, and one
// working block reused across calls. Only cachedSize starts at -1; all else is 0.
constexpr int kTransformSpareWords = 331;
struct TransformCaches {
    int32_t cachedSize;     // bytes of `scratch`; -1: nothing cached
    TransformTableSet fft;  // Fourier plans
    TransformTableSet dct;  // cosine-transform rotations
    void* scratch;          // working block (ozlMalloc)
    uint32_t useClock;      // stamps the tables for least-recently-used replacement
    uint32_t spare[kTransformSpareWords];  // keeps the record at its 32-bit size
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

// Frees every cached table and the working block (ozlFree), zeroes the counts
// and marks nothing cached; called at thread exit and thread detach.
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
