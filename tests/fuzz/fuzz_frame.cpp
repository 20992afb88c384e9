// The library frame: status texts, error reports, the aligned allocator, the
// version record.
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

// Counts the allocator must serve: mostly small and odd, now and then up to
// blocks of 64 MB (larger ones only cost time under the sanitizers).
int anyCount(Case& c, int size) {
    const int count = static_cast<int>(c.rng().percent(95) ? c.rng().between(0, 1000)
                                                           : c.rng().between(0, (1 << 26) / size));
    c.note(std::to_string(count));
    return count;
}

// A block for `length` elements of `size` bytes: 32-byte aligned, and every byte
// usable (the first and the last are written).
template <void* (*Alloc)(int), int size>
void allocate(Case& c, int length) {
    void* p = Alloc(length);
    if (!p) return;
    if (reinterpret_cast<uintptr_t>(p) % 32 != 0)
        ozl::fuzz::fail("ozlMalloc: block not 32-byte aligned");
    const int64_t bytes = static_cast<int64_t>(length) * size;
    if (bytes > 0 && bytes <= (int64_t{1} << 26)) {
        auto* b = static_cast<unsigned char*>(p);
        b[0] = 1;
        b[bytes - 1] = 2;
    }
    ozlFree(p);
}

const char* anyText(Case& c) { return c.rng().of<const char*>({nullptr, "", "x", "(a == b)"}); }

// A report through the current callback; the driver keeps the mode Silent, in
// which the stock reports print nothing.
void report(Case& c) {
    const OzlStatus status = c.anyInt();
    const char* func = anyText(c);
    const char* context = anyText(c);
    const char* file = anyText(c);
    const int line = c.anyInt();
    switch (c.rng().below(4)) {
        case 0: ozlError(status, func, context, file, line); break;
        case 1: ozlNulDevReport(status, func, context, file, line); break;
        case 2: ozlStdErrReport(status, func, context, file, line); break;
        default: ozlGuiBoxReport(status, func, context, file, line); break;
    }
}

const ozl::fuzz::Registrar calls("frame", {
    {"ozlErrorStr",
     [](Case& c) {
         const char* text = ozlErrorStr(c.anyInt());
         if (!text || std::strlen(text) == 0) ozl::fuzz::fail("ozlErrorStr: no text");
     }},
    {"ozlError", report},
    {"ozlRedirectError",
     [](Case& c) {
         ozlRedirectError(c.rng().of<OzlErrorCallBack>(
             {ozlNulDevReport, ozlStdErrReport, ozlGuiBoxReport, nullptr}));
         report(c);
     }},
    {"ozlSetErrStatus",
     [](Case& c) {
         const OzlStatus status = c.anyInt();
         ozlSetErrStatus(status);
         if (ozlGetErrStatus() != status) ozl::fuzz::fail("ozlGetErrStatus: not the status set");
         ozlSetErrMode(c.rng().of({OZL_ErrModeParent, OZL_ErrModeSilent}));
         ozlGetErrMode();
     }},
    {"ozlMalloc", [](Case& c) { allocate<ozlMalloc, 1>(c, anyCount(c, 1)); }},
    {"ozlwMalloc", [](Case& c) { allocate<ozlwMalloc, 2>(c, anyCount(c, 2)); }},
    {"ozliMalloc", [](Case& c) { allocate<ozliMalloc, 4>(c, anyCount(c, 4)); }},
    {"ozlsMalloc", [](Case& c) { allocate<ozlsMalloc, 4>(c, anyCount(c, 4)); }},
    {"ozldMalloc", [](Case& c) { allocate<ozldMalloc, 8>(c, anyCount(c, 8)); }},
    // Negative counts go into the heap request unchecked; the block must still
    // hold the word below the returned address.
    {"ozlMalloc negative count",
     [](Case& c) {
         const int count = static_cast<int>(c.rng().between(-80, -1));
         c.note(std::to_string(count));
         switch (c.rng().below(4)) {
             case 0: allocate<ozlMalloc, 1>(c, count); break;
             case 1: allocate<ozlwMalloc, 2>(c, count); break;
             case 2: allocate<ozliMalloc, 4>(c, count); break;
             default: allocate<ozldMalloc, 8>(c, count); break;
         }
     }},
    {"ozlGetLibVersion",
     [](Case&) {
         const OzlLibVersion* v = ozlGetLibVersion();
         for (const char* s : {v->name, v->version, v->internalVersion, v->buildDate, v->callConv})
             if (!s || !std::strlen(s)) ozl::fuzz::fail("ozlGetLibVersion: missing text");
         ozlGetQuintorCounter();
     }},
});

}  // namespace
