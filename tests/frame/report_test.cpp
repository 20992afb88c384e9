// The stock reports: exact standard-error text, termination, silence.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ozl.h"
#include "stderr_capture.hpp"

namespace {

using ozl::test::captureStderr;

// Sets this thread's mode for a scope.
struct ModeScope {
    int saved = ozlGetErrMode();
    explicit ModeScope(int mode) { ozlSetErrMode(mode); }
    ~ModeScope() { ozlSetErrMode(saved); }
};

TEST(StdErrReport, ExactTextInParentAndUnknownModes) {
    const struct { OzlStatus status; const char *func, *context, *file; int line; const char* expected; } cases[] = {
        {-5, "ozlAdd", "msg", "ozladd", 12, "\nOZL Library Error: Bad argument \n\tin function [ozladd:12]:ozlAdd(): msg\n"},
        {-110, "ozlAdd", nullptr, nullptr, 0, "\nOZL Library Error: Mask. Incorrect image size \n\tin function:ozlAdd\n"},
        {-4, nullptr, "c", nullptr, 5, "\nOZL Library Error: Out of memory \n\tin function [(null):5]:<unknown>(): c\n"},
        {-4, "f", nullptr, "mod", -3, "\nOZL Library Error: Out of memory \n\tin function [mod:-3]:f\n"},
        {-4, "f", "", nullptr, -3, "\nOZL Library Error: Out of memory \n\tin function:f(): \n"},
        {-2, "f", "x", "m", 1, "\nOZL Library Error: Unknown error or status code \n\tin function [m:1]:f(): x\n"},
        {-1, "f", "c", "m", 3, "\tcalled from [m:3]:f(): c\n"},
        {-8, "f", "c", "m", 3, "\tcalled from [m:3]:f(c)\n"},
        {-1, nullptr, nullptr, nullptr, 0, "\tcalled from:<unknown>\n"},
    };
    for (int mode : {OZL_ErrModeParent, 7}) {
        ModeScope scope(mode);
        for (const auto& c : cases)
            EXPECT_EQ(captureStderr([&] { EXPECT_EQ(ozlStdErrReport(c.status, c.func, c.context, c.file, c.line), c.status); }),
                      c.expected) << "mode " << mode << ", status " << c.status;
    }
}

TEST(StockReports, SilentOutsideTheirReportingModes) {
    const struct { OzlErrorCallBack report; int mode; } cases[] = {{ozlStdErrReport, OZL_ErrModeSilent}, {ozlGuiBoxReport, OZL_ErrModeSilent},
                                                               {ozlNulDevReport, OZL_ErrModeParent}, {ozlNulDevReport, OZL_ErrModeSilent}, {ozlNulDevReport, 5}};
    for (const auto& c : cases) {
        ModeScope scope(c.mode);
        EXPECT_EQ(captureStderr([&] { EXPECT_EQ(c.report(-9, "f", "c", "m", 1), -9); }), "") << "mode " << c.mode;
    }
}

#if !defined(_WIN32)

// Marks, after the report, that exit handlers ran: termination is an ordinary exit.
void atExitMarker() { std::fputs("[exit handlers ran]", stderr); }

void expectChild(int (*body)(), int exitCode, const std::string& err) {
    const ozl::test::ChildOutcome out = ozl::test::runInChild(body);
    EXPECT_EQ(out.exitCode, exitCode);
    EXPECT_EQ(out.err, err);
}

const char* const kLeafTrailer = "OZL Library Error\nErrMode=OZL_ErrModeLeaf\nterminating the application";
const char* const kBoxText = "OZL 2.1\nIn function ozlAdd(): [file ozladd, line 12]\nmsg\n\nBad argument\n(status: -5)";

TEST(StockReports, LeafModeExitsWithOne) {
    expectChild([] {
        std::atexit(atExitMarker), ozlSetErrMode(OZL_ErrModeLeaf), ozlRedirectError(ozlStdErrReport);
        ozlError(-5, "ozlAdd", "msg", "ozladd", 12);
        return 3;  // not reached
    }, 1, std::string("\nOZL Library Error: Bad argument \n\tin function [ozladd:12]:ozlAdd(): msg\n") +
              kLeafTrailer + "[exit handlers ran]");
    expectChild([] { ozlSetErrMode(OZL_ErrModeLeaf), ozlStdErrReport(-8, "f", "inner", nullptr, 0); return 3; },  // trace codes too
                1, std::string("\tcalled from:f(inner)\n") + kLeafTrailer);
    expectChild([] {
        std::atexit(atExitMarker), ozlSetErrMode(OZL_ErrModeLeaf), ozlRedirectError(ozlNulDevReport);
        ozlError(-4, "f", "c", "m", 1);
        return 3;
    }, 1, "[exit handlers ran]");
}

// Without a controlling terminal the stand-alone box cannot ask: the Leaf
// question ends the process, the Parent question continues.
TEST(GuiBoxReport, WithoutTerminal) {
    expectChild([] {
        setsid(), ozlSetErrMode(OZL_ErrModeParent);  // setsid drops the controlling terminal
        return ozlGuiBoxReport(-5, "ozlAdd", "msg", "ozladd", 12) == -5 ? 0 : 3;
    }, 0, std::string(kBoxText) + "\n\nErrMode=OZL_ErrorModeParent\n\nContinue?\n");
    expectChild([] {
        setsid(), std::atexit(atExitMarker), ozlSetErrMode(OZL_ErrModeLeaf);
        ozlError(-5, "ozlAdd", "msg", "ozladd", 12);  // the default report of a thread
        return 3;
    }, 1, std::string(kBoxText) + "\n\nErrMode=OZL_ErrorModeLeaf\n\nTerminate the application?\n"
              "Win32: Application exit\nOZL Library: terminating the application\n[exit handlers ran]");
}

#else  // _WIN32: the child process is a death test.

TEST(StockReports, LeafModeExitsWithOne) {
    EXPECT_EXIT((ozlSetErrMode(OZL_ErrModeLeaf), ozlRedirectError(ozlStdErrReport), ozlError(-5, "ozlAdd", "msg", "ozladd", 12)),
                ::testing::ExitedWithCode(1), "ErrMode=OZL_ErrModeLeaf\nterminating the application$");
    EXPECT_EXIT((ozlSetErrMode(OZL_ErrModeLeaf), ozlNulDevReport(-4, "f", "c", "m", 1)), ::testing::ExitedWithCode(1), "^$");
}

#endif

}  // namespace
