// Entry point of the DLL: the TLS slot and the per-thread error contexts.
#include <windows.h>

#include "frame/error_context.hpp"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        return ozl::frame::attachProcess() ? TRUE : FALSE;
    case DLL_THREAD_ATTACH:
        ozl::frame::attachThread();
        break;
    case DLL_THREAD_DETACH:
        ozl::frame::detachThread();
        break;
    case DLL_PROCESS_DETACH:
        ozl::frame::detachProcess();
        break;
    default:
        break;
    }
    return TRUE;
}
