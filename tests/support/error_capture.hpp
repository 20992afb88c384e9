// Test helper: records every report that reaches the error handler.
//
//   {
//       ozl::test::ErrorCapture errors;          // mode Parent, recording callback
//       ozlAllocateImage(nullptr, 0, 0);
//       ASSERT_EQ(errors.count(), 1u);
//       EXPECT_EQ(errors.last(), (ozl::test::ErrorReport{
//           OZL_StsBadArg, "ozlAllocateImage", "( image == ((void *)0) )", "ozlalloc", 256}));
//   }                                              // previous mode and callback restored
//
// The capture is per thread, like the handler it replaces. Captures may nest: the
// innermost one records, and each restores what it found when it is destroyed.
// The thread's stored status is neither read nor changed by the capture.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "ozl.h"

namespace ozl::test {

// One call of the report callback. A NULL string argument is recorded as the
// text "<null>" so that it can be told from an empty string.
struct ErrorReport {
    OzlStatus status = 0;
    std::string func;
    std::string context;
    std::string file;
    int line = 0;

    bool operator==(const ErrorReport& other) const;
    bool operator!=(const ErrorReport& other) const { return !(*this == other); }
};

// Readable form for assertion messages.
std::ostream& operator<<(std::ostream& os, const ErrorReport& report);

class ErrorCapture {
public:
    // mode is the error mode to run under: OZL_ErrModeParent (the default) lets the
    // callback see every report; OZL_ErrModeSilent is kept by the recording
    // callback too, since it is the library's callback that honours the mode.
    // The stored status starts at 0 (OZL_StsOk), as in a fresh thread.
    explicit ErrorCapture(int mode = OZL_ErrModeParent);
    ~ErrorCapture();
    ErrorCapture(const ErrorCapture&) = delete;
    ErrorCapture& operator=(const ErrorCapture&) = delete;

    const std::vector<ErrorReport>& reports() const { return reports_; }
    std::size_t count() const { return reports_.size(); }
    bool empty() const { return reports_.empty(); }
    // The most recent report; a default ErrorReport (status 0) when there is none.
    ErrorReport last() const;
    void clear() { reports_.clear(); }

    // Value the recording callback returns; by default the status it was given.
    void setCallbackResult(OzlStatus result) { result_ = result; forceResult_ = true; }

private:
    static OzlStatus OZL_CALL record(OzlStatus status, const char* func, const char* context,
                                     const char* file, int line);

    std::vector<ErrorReport> reports_;
    int previousMode_;
    OzlErrorCallBack previousCallback_;
    ErrorCapture* outer_;
    OzlStatus result_ = 0;
    bool forceResult_ = false;
};

}  // namespace ozl::test
