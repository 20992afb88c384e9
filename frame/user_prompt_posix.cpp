// Without message boxes: the text goes to standard error and a question is
// answered y/n on the controlling terminal. With no terminal to ask, the
// question takes the answer that keeps the box's outcome safe for batch use:
// Yes (terminate) for the Leaf question, OK (continue) for the Parent one.
#include <cstdio>
#include <cstring>

#include "frame/user_prompt.hpp"

namespace ozl::frame {
namespace {

constexpr unsigned kButtonsMask = 0xF;
constexpr unsigned kOkCancel = 0x1;
constexpr unsigned kYesNo = 0x4;

// 1 for yes, 0 for no, -1 when no answer can be had.
int readAnswer() {
    std::FILE* tty = std::fopen("/dev/tty", "r+");
    if (tty == nullptr) return -1;
    int answer = -1;
    char line[64];
    for (;;) {
        std::fputs("(y/n) ", tty);
        std::fflush(tty);
        if (std::fgets(line, sizeof line, tty) == nullptr) break;
        if (line[0] == 'y' || line[0] == 'Y') { answer = 1; break; }
        if (line[0] == 'n' || line[0] == 'N') { answer = 0; break; }
    }
    std::fclose(tty);
    return answer;
}

}  // namespace

int platformPrompt(const char* text, const char* caption, unsigned flags) {
    std::fprintf(stderr, "%s\n%s\n", caption, text);
    std::fflush(stderr);
    const unsigned buttons = flags & kButtonsMask;
    if (buttons != kOkCancel && buttons != kYesNo) return kAnswerOk;
    const int answer = readAnswer();
    if (buttons == kYesNo) return answer == 0 ? kAnswerNo : kAnswerYes;
    return answer == 0 ? kAnswerCancel : kAnswerOk;
}

}  // namespace ozl::frame
