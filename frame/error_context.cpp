#include "frame/error_context.hpp"

namespace ozl::frame {

void initContext(OzlErrorContext* context) {
    context->status = OZL_StsOk;
    context->mode = OZL_ErrModeLeaf;
    context->callback = ozlGuiBoxReport;
    context->caches.cachedSize = -1;
}

namespace {
void releaseSet(TransformTableSet& set) {
    for (void*& table : set.tables) {
        if (table != nullptr) {
            ozlFree(table);
            table = nullptr;
        }
    }
    set.count = 0;
}
}  // namespace

void releaseTransformCaches(OzlErrorContext* context) {
    releaseSet(context->caches.fft);
    releaseSet(context->caches.dct);
    ozlFree(context->caches.scratch);
    context->caches.scratch = nullptr;
    context->caches.cachedSize = -1;
    context->caches.useClock = 0;
}

}  // namespace ozl::frame
