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
    context->caches.cachedSize = -1;
}

}  // namespace ozl::frame
