#include "core/checks.hpp"

namespace ozl::core {

bool fail(const Caller& caller, OzlStatus status, const char* message, int line) {
    ozlError(status, caller.function, message, caller.module, line);
    return false;
}

OzlStatus refuse(const Caller& caller, OzlStatus status, const char* message, int line) {
    ozlError(status, caller.function, message, caller.module, line);
    return status;
}

bool headersValid(const Caller& caller, std::initializer_list<const OzlImage*> images, int line,
                  const char* message) {
    for (const OzlImage* image : images)
        if (ozlCheckImageHeader(image) != OZL_StsOk)
            return fail(caller, ozlGetErrStatus(), message, line);
    return true;
}

}  // namespace ozl::core
