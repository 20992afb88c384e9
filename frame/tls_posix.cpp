// Per-thread contexts on POSIX: a pthread key whose destructor releases the
// context when its thread ends.
#include <pthread.h>

#include <cstdio>
#include <cstdlib>

#include "frame/error_context.hpp"

namespace ozl::frame {
namespace {

pthread_key_t g_key;
pthread_once_t g_once = PTHREAD_ONCE_INIT;
bool g_keyValid = false;

[[noreturn]] void fatal() {
    std::fputs("OZLib. Problem to allocate memory for TLS OZL context.\n", stderr);
    std::fflush(stderr);
    std::abort();
}

void destroyContext(void* value) {
    auto* context = static_cast<OzlErrorContext*>(value);
    releaseTransformCaches(context);
    std::free(context);
}

void makeKey() { g_keyValid = pthread_key_create(&g_key, destroyContext) == 0; }

}  // namespace

OzlErrorContext* tlsContext() {
    pthread_once(&g_once, makeKey);
    if (!g_keyValid) fatal();
    auto* context = static_cast<OzlErrorContext*>(pthread_getspecific(g_key));
    if (context != nullptr) return context;
    context = static_cast<OzlErrorContext*>(std::calloc(1, sizeof(OzlErrorContext)));
    if (context == nullptr) fatal();
    initContext(context);
    if (pthread_setspecific(g_key, context) != 0) {
        std::free(context);
        fatal();
    }
    return context;
}

}  // namespace ozl::frame
