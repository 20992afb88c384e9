// The library frame: status texts, error reports, the aligned allocator, the version record.
#include <cstdint>
#include <cstring>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;
using ozl::fuzz::fail;

// A block for `length` elements of `size` bytes: 32-byte aligned, its first and last bytes written. Counts
// mostly small, now and then blocks of up to 64 MB; negative ones go into the heap request unchecked, and
// the block must still hold the word below the returned address.
template <void* (*Alloc)(int), int size>
void allocate(Case& c) {
    const int length = c.rng().percent(10) ? c.small(-80, -1) : c.small(0, c.rng().percent(95) ? 1000 : (1 << 26) / size);
    auto* p = static_cast<unsigned char*>(Alloc(length));
    if (!p) return;
    if (reinterpret_cast<uintptr_t>(p) % 32 != 0) fail("ozlMalloc: block not 32-byte aligned");
    if (const int64_t bytes = int64_t{length} * size; bytes > 0) p[0] = 1, p[bytes - 1] = 2;
    ozlFree(p);
}

// The reports run through the current callback and directly; the driver keeps the mode Silent.
const ozl::fuzz::Registrar calls({
    OZL_FUZZ(ozlError), OZL_FUZZ(ozlNulDevReport), OZL_FUZZ(ozlStdErrReport), OZL_FUZZ(ozlGuiBoxReport),
    {"ozlErrorStr", [](Case& c) { if (const char* t = ozlErrorStr(c.anyInt()); !t || !*t) fail("ozlErrorStr: no text"); }},
    {"ozlRedirectError", [](Case& c) {
         ozlRedirectError(c.rng().of<OzlErrorCallBack>({ozlNulDevReport, ozlStdErrReport, ozlGuiBoxReport, nullptr}));
         ozl::fuzz::call<ozlError>(c);
     }},
    {"ozlSetErrStatus", [](Case& c) {
         const OzlStatus status = c.anyInt();
         ozlSetErrStatus(status);
         if (ozlGetErrStatus() != status) fail("ozlGetErrStatus: not the status set");
         ozlSetErrMode(c.rng().of({OZL_ErrModeParent, OZL_ErrModeSilent}));
         ozlGetErrMode();
     }},
    {"ozlMalloc", allocate<ozlMalloc, 1>}, {"ozlwMalloc", allocate<ozlwMalloc, 2>}, {"ozliMalloc", allocate<ozliMalloc, 4>},
    {"ozlsMalloc", allocate<ozlsMalloc, 4>}, {"ozldMalloc", allocate<ozldMalloc, 8>},
    {"ozlGetLibVersion", [](Case&) {
         const OzlLibVersion* v = ozlGetLibVersion();
         for (const char* s : {v->name, v->version, v->internalVersion, v->buildDate, v->callConv})
             if (!s || !*s) fail("ozlGetLibVersion: missing text");
         ozlGetQuintorCounter();
     }},
});

}  // namespace
