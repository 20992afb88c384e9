// The public header as a C++ caller sees it, built with
// -Wall -Wextra -pedantic -Werror.
#include "ozl.h"
#include "ozl.h"  // the include guard must make a second inclusion harmless

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <type_traits>

// The same binary layout as for C callers.
static_assert(sizeof(OzlStatus) == 4, "status word");
static_assert(sizeof(OzlROI) == 20, "OzlROI");
static_assert(sizeof(void*) != 4 || sizeof(OzlImage) == 112, "OzlImage, 32-bit");
static_assert(sizeof(void*) != 8 || sizeof(OzlImage) == 144, "OzlImage, 64-bit");
static_assert(offsetof(OzlImage, roi) == 48, "OzlImage::roi");
static_assert(std::is_standard_layout<OzlImage>::value && std::is_trivial<OzlImage>::value,
              "OzlImage must stay a plain C record");
static_assert(std::is_same<decltype(OZL_DEPTH_SIGN | OZL_DEPTH_8U), unsigned int>::value,
              "depth codes are unsigned");

// Entry points have C language linkage and the declared callback types.
static_assert(std::is_same<decltype(&ozlStdErrReport), OzlErrorCallBack>::value,
              "stock reports match OzlErrorCallBack");
static_assert(std::is_same<decltype(&ozlRedirectError),
                           OzlErrorCallBack(OZL_CALL*)(OzlErrorCallBack)>::value,
              "ozlRedirectError signature");

namespace {

extern "C" OzlStatus OZL_CALL countingReport(OzlStatus status, const char*, const char*,
                                             const char*, int) {
    return status;
}

}  // namespace

int main() {
    int failures = 0;
    auto expect = [&failures](bool cond, const char* what) {
        if (!cond) {
            std::fprintf(stderr, "header_cxx: failed: %s\n", what);
            ++failures;
        }
    };

    ozlSetErrMode(OZL_ErrModeSilent);
    OzlErrorCallBack previous = ozlRedirectError(countingReport);
    expect(ozlRedirectError(previous) == countingReport, "callback round trip");
    ozlSetErrStatus(OZL_StsNoMem);
    expect(ozlGetErrStatus() == OZL_StsNoMem, "error status round trip");
    ozlSetErrStatus(OZL_StsOk);
    const char* text = ozlErrorStr(OZL_StsNoMem);
    expect(text != nullptr && std::strcmp(text, "Out of memory") == 0, "status text of -4");

    if (failures == 0) std::printf("header_cxx: ok\n");
    return failures == 0 ? 0 : 1;
}
