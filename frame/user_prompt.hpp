// The interactive step of the message-box report, replaceable for tests.
#pragma once

namespace ozl::frame {

// Box styles used by the report (task-modal; stop or information icon).
constexpr unsigned kBoxContinueQuestion = 0x2011;   // OK / Cancel, mode Parent
constexpr unsigned kBoxTerminateQuestion = 0x2014;  // Yes / No, mode Leaf
constexpr unsigned kBoxNotice = 0x2010;             // OK only, any other mode
constexpr unsigned kBoxExitInfo = 0x2040;           // OK only, before terminating

// Answer codes of the box.
constexpr int kAnswerOk = 1;
constexpr int kAnswerCancel = 2;
constexpr int kAnswerYes = 6;
constexpr int kAnswerNo = 7;

// Shows text under caption with the given box style and returns the answer code.
using UserPrompt = int (*)(const char* text, const char* caption, unsigned flags);

// Installs prompt for every thread and returns the previous one; nullptr
// reinstates the platform's own prompt.
UserPrompt setUserPrompt(UserPrompt prompt);

// Asks through the installed prompt.
int askUser(const char* text, const char* caption, unsigned flags);

// The platform's own prompt: a message box on Windows, standard error plus the
// controlling terminal elsewhere.
int platformPrompt(const char* text, const char* caption, unsigned flags);

}  // namespace ozl::frame
