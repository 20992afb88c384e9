// The tool's report handler keeps the first report of each call (later ones
// are backtrace lines of the same failure) instead of printing it.
#include "library.hpp"

#include "error.hpp"
#include "ozl.h"

namespace ozltool {
namespace {

struct Report {
    bool present = false;
    OzlStatus status = 0;
    std::string function, context;
};

thread_local Report firstReport;

extern "C" OzlStatus OZL_CALL keepReport(OzlStatus status, const char* funcName,
                                        const char* context, const char* /*file*/,
                                        int /*line*/) {
    if (!firstReport.present) {
        firstReport.present = true;
        firstReport.status = status;
        firstReport.function = funcName ? funcName : "";
        firstReport.context = context ? context : "";
    }
    return status;
}

}  // namespace

void captureLibraryReports() {
    ozlSetErrMode(OZL_ErrModeParent);
    ozlRedirectError(keepReport);
}

void startLibraryCall() {
    firstReport = Report{};
    ozlSetErrStatus(OZL_StsOk);
}

void finishLibraryCall(const char* function) {
    const OzlStatus stored = ozlGetErrStatus();
    if (!firstReport.present && stored >= 0) return;
    const Report r = firstReport;
    firstReport = Report{};
    const OzlStatus status = r.present ? r.status : stored;
    std::string text = r.present && !r.function.empty() ? r.function : std::string(function);
    if (r.present && !r.context.empty()) text += ": " + r.context;
    // Texts of the library's status table may end in a blank.
    std::string meaning = ozlErrorStr(status);
    while (!meaning.empty() && meaning.back() == ' ') meaning.pop_back();
    text += " (status " + std::to_string(status) + ", " + meaning + ")";
    // A few reports span two lines; the tool's message is one.
    for (char& c : text)
        if (c == '\n') c = ' ';
    throw Error("the library refused the call: " + text);
}

}  // namespace ozltool
