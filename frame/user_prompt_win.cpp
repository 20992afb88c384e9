#include <windows.h>

#include "frame/user_prompt.hpp"

namespace ozl::frame {

int platformPrompt(const char* text, const char* caption, unsigned flags) {
    return MessageBoxA(nullptr, text, caption, flags);
}

}  // namespace ozl::frame
