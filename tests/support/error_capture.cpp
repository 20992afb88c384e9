#include "support/error_capture.hpp"

#include <tuple>

namespace ozl::test {
namespace {

// The callback has no user argument: it finds its capture through this.
thread_local ErrorCapture* activeCapture = nullptr;

std::string textOf(const char* s) { return s != nullptr ? std::string(s) : std::string("<null>"); }

}  // namespace

bool ErrorReport::operator==(const ErrorReport& o) const {
    return std::tie(status, func, context, file, line) == std::tie(o.status, o.func, o.context, o.file, o.line);
}

std::ostream& operator<<(std::ostream& os, const ErrorReport& report) {
    return os << "{status " << report.status << ", func \"" << report.func << "\", context \"" << report.context
              << "\", file \"" << report.file << "\", line " << report.line << "}";
}

ErrorCapture::ErrorCapture(int mode)
    : previousMode_(ozlGetErrMode()),
      previousCallback_(ozlRedirectError(&ErrorCapture::record)),
      outer_(activeCapture) {
    ozlSetErrMode(mode);
    // A refusal left by an earlier test would stop operations that give up on a negative status.
    ozlSetErrStatus(OZL_StsOk);
    activeCapture = this;
}

ErrorCapture::~ErrorCapture() {
    activeCapture = outer_;
    ozlRedirectError(previousCallback_);
    ozlSetErrMode(previousMode_);
}

ErrorReport ErrorCapture::last() const { return reports_.empty() ? ErrorReport{} : reports_.back(); }

OzlStatus OZL_CALL ErrorCapture::record(OzlStatus status, const char* func, const char* context,
                                        const char* file, int line) {
    ErrorCapture* capture = activeCapture;
    if (capture == nullptr) return status;
    capture->reports_.push_back({status, textOf(func), textOf(context), textOf(file), line});
    return capture->forceResult_ ? capture->result_ : status;
}

}  // namespace ozl::test
