// Argument checks shared by the entry points: each reports through ozlError
// with the caller's exported name and source module, and returns false, so a
// check list reads like its documented order:
//   if (!headersValid(caller, {src, dst}, 101)) return;
#pragma once

#include <initializer_list>

#include "ozl.h"

namespace ozl::core {

// Who reports: the exported name and the source module.
struct Caller {
    const char* function;
    const char* module;
};

// Reports `message` with `status` at `line`; always false.
bool fail(const Caller& caller, OzlStatus status, const char* message, int line);

// The same for entry points that return their status: returns `status`.
OzlStatus refuse(const Caller& caller, OzlStatus status, const char* message, int line);

// ozlCheckImageHeader on each image in order; the first failure is reported
// with the status the check left and `message` ("Incorrect Image" unless a
// family words it otherwise).
bool headersValid(const Caller& caller, std::initializer_list<const OzlImage*> images, int line,
                  const char* message = "Incorrect Image");

// True when the thread's stored status is negative: the families whose checks
// report without returning stop here.
inline bool statusFailed() { return ozlGetErrStatus() < 0; }

}  // namespace ozl::core
