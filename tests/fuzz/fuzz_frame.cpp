// The library frame: status texts, error reports, the aligned allocator, the version record.
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::call;
using ozl::fuzz::Case;

// A block for `length` elements of `size` bytes: 32-byte aligned, and every byte usable (the first and the
// last are written). Counts mostly small and odd, now and then up to blocks of 64 MB (larger ones only cost
// time under the sanitizers); negative ones go into the heap request unchecked, and the block must still hold
// the word below the returned address.
template <void* (*Alloc)(int), int size>
void allocate(Case& c) {
    const int length = c.rng().percent(10) ? c.small(-80, -1)
                       : c.rng().percent(95) ? c.small(0, 1000) : c.small(0, (1 << 26) / size);
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

const ozl::fuzz::Registrar calls("frame", {
    {"ozlErrorStr", [](Case& c) {
         const char* text = ozlErrorStr(c.anyInt());
         if (!text || std::strlen(text) == 0) ozl::fuzz::fail("ozlErrorStr: no text");
     }},
    // Reports through the current callback, and the stock reports called directly; the driver keeps the mode
    // Silent, in which they print nothing.
    {"ozlError", call<ozlError>}, {"ozlNulDevReport", call<ozlNulDevReport>},
    {"ozlStdErrReport", call<ozlStdErrReport>}, {"ozlGuiBoxReport", call<ozlGuiBoxReport>},
    {"ozlRedirectError", [](Case& c) {
         ozlRedirectError(c.rng().of<OzlErrorCallBack>(
             {ozlNulDevReport, ozlStdErrReport, ozlGuiBoxReport, nullptr}));
         call<ozlError>(c);
     }},
    {"ozlSetErrStatus", [](Case& c) {
         const OzlStatus status = c.anyInt();
         ozlSetErrStatus(status);
         if (ozlGetErrStatus() != status) ozl::fuzz::fail("ozlGetErrStatus: not the status set");
         ozlSetErrMode(c.rng().of({OZL_ErrModeParent, OZL_ErrModeSilent}));
         ozlGetErrMode();
     }},
    {"ozlMalloc", allocate<ozlMalloc, 1>}, {"ozlwMalloc", allocate<ozlwMalloc, 2>},
    {"ozliMalloc", allocate<ozliMalloc, 4>}, {"ozlsMalloc", allocate<ozlsMalloc, 4>},
    {"ozldMalloc", allocate<ozldMalloc, 8>},
    {"ozlGetLibVersion", [](Case&) {
         const OzlLibVersion* v = ozlGetLibVersion();
         for (const char* s : {v->name, v->version, v->internalVersion, v->buildDate, v->callConv})
             if (!s || !std::strlen(s)) ozl::fuzz::fail("ozlGetLibVersion: missing text");
         ozlGetQuintorCounter();
     }},
});

}  // namespace
