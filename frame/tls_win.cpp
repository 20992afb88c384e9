// Per-thread contexts on Windows: one TLS slot. The DLL entry point allocates the
// slot and the contexts; the static archive (no entry point) does so on first use.
#include <windows.h>

#include "frame/error_context.hpp"

namespace ozl::frame {
namespace {

volatile LONG g_slot = static_cast<LONG>(TLS_OUT_OF_INDEXES);

OzlErrorContext* newContext() {
    auto* context = static_cast<OzlErrorContext*>(LocalAlloc(LMEM_ZEROINIT, sizeof(OzlErrorContext)));
    if (context == nullptr) return nullptr;
    initContext(context);
    if (!TlsSetValue(static_cast<DWORD>(g_slot), context)) {
        LocalFree(context);
        return nullptr;
    }
    return context;
}

[[noreturn]] void fatal() {
    FatalAppExitA(0, "OZLib. Problem to allocate memory for TLS OZL context.");
    ExitProcess(1);
}

// Without the entry point the first caller allocates the slot; racing threads
// keep whichever slot was published first.
bool ensureSlot() {
    if (static_cast<DWORD>(g_slot) != TLS_OUT_OF_INDEXES) return true;
    const DWORD slot = TlsAlloc();
    if (slot == TLS_OUT_OF_INDEXES) return false;
    const LONG previous = InterlockedCompareExchange(&g_slot, static_cast<LONG>(slot),
                                                     static_cast<LONG>(TLS_OUT_OF_INDEXES));
    if (static_cast<DWORD>(previous) != TLS_OUT_OF_INDEXES) TlsFree(slot);
    return true;
}

}  // namespace

OzlErrorContext* tlsContext() {
    if (!ensureSlot()) fatal();
    auto* context = static_cast<OzlErrorContext*>(TlsGetValue(static_cast<DWORD>(g_slot)));
    if (context != nullptr) return context;
    context = newContext();
    if (context == nullptr) fatal();
    return context;
}

bool attachProcess() {
    const DWORD slot = TlsAlloc();
    if (slot == TLS_OUT_OF_INDEXES) return false;
    g_slot = static_cast<LONG>(slot);
    if (newContext() == nullptr) {
        TlsFree(slot);
        g_slot = static_cast<LONG>(TLS_OUT_OF_INDEXES);
        return false;
    }
    return true;
}

bool attachThread() {
    if (static_cast<DWORD>(g_slot) == TLS_OUT_OF_INDEXES) return false;
    return newContext() != nullptr;
}

void detachThread() {
    if (static_cast<DWORD>(g_slot) == TLS_OUT_OF_INDEXES) return;
    auto* context = static_cast<OzlErrorContext*>(TlsGetValue(static_cast<DWORD>(g_slot)));
    if (context == nullptr) return;
    releaseTransformCaches(context);
    LocalFree(context);
    TlsSetValue(static_cast<DWORD>(g_slot), nullptr);
}

void detachProcess() {
    if (static_cast<DWORD>(g_slot) == TLS_OUT_OF_INDEXES) return;
    detachThread();
    TlsFree(static_cast<DWORD>(g_slot));
    g_slot = static_cast<LONG>(TLS_OUT_OF_INDEXES);
}

}  // namespace ozl::frame
