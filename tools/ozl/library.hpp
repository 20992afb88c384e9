// Calls into the library with its reports captured: the tool runs in mode
// OZL_ErrModeParent with its own report handler, and a refused call becomes
// an Error carrying the library's report text.
#pragma once

#include <string>
#include <utility>

namespace ozltool {

// Sets the error mode and handler of the calling thread.
void captureLibraryReports();

// Forgets earlier reports and clears the thread's status.
void startLibraryCall();
// Throws Error("<function>: <message> (status N, <status text>)") when a
// report arrived or the status is negative since startLibraryCall().
void finishLibraryCall(const char* function);

// Runs f, a call of the named library function, and reports a refusal.
template <class F>
void callLibrary(const char* function, F&& f) {
    startLibraryCall();
    std::forward<F>(f)();
    finishLibraryCall(function);
}

}  // namespace ozltool
