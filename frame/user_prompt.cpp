#include "frame/user_prompt.hpp"

#include <atomic>

namespace ozl::frame {
namespace {
std::atomic<UserPrompt> g_prompt{platformPrompt};
}

UserPrompt setUserPrompt(UserPrompt prompt) {
    return g_prompt.exchange(prompt != nullptr ? prompt : platformPrompt);
}

int askUser(const char* text, const char* caption, unsigned flags) {
    return g_prompt.load()(text, caption, flags);
}

}  // namespace ozl::frame
