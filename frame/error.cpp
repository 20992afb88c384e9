// Error status, modes, the report callback and the three stock reports.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "frame/error_context.hpp"
#include "frame/user_prompt.hpp"
#include "ozl.h"

using ozl::frame::tlsContext;

namespace {

// Each text is stored once with the "Mask. " prefix; the plain text starts six
// characters in, so both forms share storage.
constexpr int kMaskPrefix = 6;
constexpr const char* kTexts[] = {
    "Mask. No Error",                                    //   0
    "Mask. Backtrace",                                   //  -1
    nullptr,                                             //  -2
    "Mask. Internal error (bad state)",                  //  -3
    "Mask. Out of memory",                               //  -4
    "Mask. Bad argument",                                //  -5
    "Mask. Unsupported function",                        //  -6
    "Mask. Iteration convergence failed",                //  -7
    "Mask. Autotrace call",                              //  -8
    "Mask. Null pointer to an image header",             //  -9
    "Mask. Incorrect image size",                        // -10
    "Mask. Incorrect offset of ROI of the image",        // -11
    "Mask. One from two pointers should be null, and other should be not null, imageData or "
    "tileInfo ",                                         // -12
    "Mask. Incorrect widthStep of the image",            // -13
    "Mask. Incorrect Color model or channel sequence of the image",  // -14
    "Mask. Incorrect number of channels in the image",   // -15
    "Mask. Number of channels for 1U depth image must be one",       // -16
    "Mask. Incorrect depth value in the image header",   // -17
    "Mask. Incorrect alpha channel number in the image header",      // -18
    "Mask. Incorrect data order value in the image header",          // -19
    "Mask. Incorrect data origin value in the image header",         // -20
    "Mask. Incorrect data alignment value in the image header",      // -21
    "Mask. Null pointer to callback function",           // -22
    "Mask. Incorrect size of the tile",                  // -23
    "Mask. Incorrect COI of the image",                  // -24
    "Mask. Incorrect size of ROI in the image header",   // -25
    "Mask. Mask image is taled",                         // -26
};
constexpr int kTextCount = static_cast<int>(sizeof kTexts / sizeof kTexts[0]);

// Mask forms exist for -110..-125 except these plain codes.
bool hasMaskText(int plain) {
    return plain >= 10 && plain <= 25 && plain != 16 && plain != 22 && plain != 23;
}

constexpr const char* kUnknown = "Unknown error or status code";

bool isTrace(OzlStatus status) { return status == OZL_StsBackTrace || status == OZL_StsAutoTrace; }

[[noreturn]] void terminateProcess() { std::exit(1); }

}  // namespace

extern "C" OZL_API OzlStatus OZL_CALL ozlGetErrStatus(void) { return tlsContext()->status; }

extern "C" OZL_API void OZL_CALL ozlSetErrStatus(OzlStatus status) { tlsContext()->status = status; }

extern "C" OZL_API int OZL_CALL ozlGetErrMode(void) { return tlsContext()->mode; }

extern "C" OZL_API void OZL_CALL ozlSetErrMode(int mode) { tlsContext()->mode = mode; }

extern "C" OZL_API OzlErrorCallBack OZL_CALL ozlRedirectError(OzlErrorCallBack callback) {
    auto* context = tlsContext();
    const OzlErrorCallBack previous = context->callback;
    context->callback = callback != nullptr ? callback : ozlGuiBoxReport;
    return previous;
}

extern "C" OZL_API OzlStatus OZL_CALL ozlError(OzlStatus status, const char* funcName,
                                               const char* context, const char* file, int line) {
    auto* tls = tlsContext();
    if (!isTrace(status)) {
        tls->status = status;
        if (status == OZL_StsOk) return OZL_StsOk;
    }
    return tls->callback(status, funcName, context, file, line);
}

extern "C" OZL_API const char* OZL_CALL ozlErrorStr(OzlStatus status) {
    if (status <= 0 && status > -kTextCount) {
        const char* text = kTexts[-status];
        return text != nullptr ? text + kMaskPrefix : kUnknown;
    }
    const int64_t plain = static_cast<int64_t>(status) - OZL_StsMaskBase;
    if (status <= OZL_StsMaskBase && hasMaskText(static_cast<int>(-plain))) return kTexts[-plain];
    return kUnknown;
}

extern "C" OZL_API OzlStatus OZL_CALL ozlNulDevReport(OzlStatus status, const char*, const char*,
                                                      const char*, int) {
    if (ozlGetErrMode() == OZL_ErrModeLeaf) terminateProcess();
    return status;
}

extern "C" OZL_API OzlStatus OZL_CALL ozlStdErrReport(OzlStatus status, const char* funcName,
                                                      const char* context, const char* file,
                                                      int line) {
    const int mode = ozlGetErrMode();
    if (mode == OZL_ErrModeSilent) return status;
    if (isTrace(status))
        std::fputs("\tcalled from", stderr);
    else
        std::fprintf(stderr, "\nOZL Library Error: %s \n\tin function", ozlErrorStr(status));
    // The runtime prints a NULL file as "(null)"; spelt out so every platform agrees.
    if (line > 0 || file != nullptr)
        std::fprintf(stderr, " [%s:%d]", file != nullptr ? file : "(null)", line);
    std::fprintf(stderr, ":%s", funcName != nullptr ? funcName : "<unknown>");
    if (context != nullptr)
        std::fprintf(stderr, status == OZL_StsAutoTrace ? "(%s)" : "(): %s", context);
    std::fputs("\n", stderr);
    std::fflush(stderr);
    if (mode == OZL_ErrModeLeaf) {
        std::fputs("OZL Library Error\nErrMode=OZL_ErrModeLeaf\nterminating the application", stderr);
        std::fflush(stderr);
        terminateProcess();
    }
    return status;
}

extern "C" OZL_API OzlStatus OZL_CALL ozlGuiBoxReport(OzlStatus status, const char* funcName,
                                                      const char* context, const char* file,
                                                      int line) {
    using namespace ozl::frame;
    const int mode = ozlGetErrMode();
    if (mode == OZL_ErrModeSilent) return status;
    const char* errText = ozlErrorStr(status);
    // The context length is taken before NULL is replaced: a NULL context is not
    // supported here.
    std::size_t size = std::strlen(context) + std::strlen(errText) + 200;
    if (funcName == nullptr) funcName = "<unknown>";
    if (context == nullptr) context = "";
    if (file == nullptr) file = "";
    if (line < 0) line = 0;
    // Long function or file names must not overrun the text.
    size += std::strlen(funcName) + std::strlen(file);
    const char* suffix = mode == OZL_ErrModeLeaf     ? "\n\nErrMode=OZL_ErrorModeLeaf\n\nTerminate the application?"
                         : mode == OZL_ErrModeParent ? "\n\nErrMode=OZL_ErrorModeParent\n\nContinue?"
                                                     : "";
    const char* format = isTrace(status)
                             ? "Called from %s(): [file %s, line %d]\n%s\n\n%s\n(status: %d)%s"
                             : "In function %s(): [file %s, line %d]\n%s\n\n%s\n(status: %d)%s";
    char* text = static_cast<char*>(std::malloc(size));
    char caption[64];
#if defined(_WIN32)
    wsprintfA(text, format, funcName, file, line, context, errText, static_cast<int>(status), suffix);
    wsprintfA(caption, "OZL %s", ozlGetLibVersion()->version);
#else
    std::snprintf(text, size, format, funcName, file, line, context, errText, static_cast<int>(status),
                  suffix);
    std::snprintf(caption, sizeof caption, "OZL %s", ozlGetLibVersion()->version);
#endif
    bool terminate = false;
    if (mode == OZL_ErrModeParent)
        terminate = askUser(text, caption, kBoxContinueQuestion) == kAnswerCancel;
    else if (mode == OZL_ErrModeLeaf)
        terminate = askUser(text, caption, kBoxTerminateQuestion) == kAnswerYes;
    else
        askUser(text, caption, kBoxNotice);
    if (terminate) {
        askUser("OZL Library: terminating the application", "Win32: Application exit", kBoxExitInfo);
        std::free(text);
        terminateProcess();
    }
    std::free(text);
    return status;
}
