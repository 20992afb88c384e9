// The stock reports: exact standard-error text, termination, silence.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ozl.h"
#include "stderr_capture.hpp"

#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace {

using ozl::test::captureStderr;

// Runs the body in the given mode on this thread and restores the mode.
class ModeScope {
public:
    explicit ModeScope(int mode) : saved_(ozlGetErrMode()) { ozlSetErrMode(mode); }
    ~ModeScope() { ozlSetErrMode(saved_); }

private:
    int saved_;
};

struct StdErrCase {
    OzlStatus status;
    const char* func;
    const char* context;
    const char* file;
    int line;
    const char* expected;
};

const StdErrCase kStdErrCases[] = {
    {-5, "ozlAdd", "msg", "ozladd", 12, "\nOZL Library Error: Bad argument \n\tin function [ozladd:12]:ozlAdd(): msg\n"},
    {-110, "ozlAdd", nullptr, nullptr, 0, "\nOZL Library Error: Mask. Incorrect image size \n\tin function:ozlAdd\n"},
    {-4, nullptr, "c", nullptr, 5, "\nOZL Library Error: Out of memory \n\tin function [(null):5]:<unknown>(): c\n"},
    {-4, "f", nullptr, "mod", 0, "\nOZL Library Error: Out of memory \n\tin function [mod:0]:f\n"},
    {-4, "f", nullptr, "mod", -3, "\nOZL Library Error: Out of memory \n\tin function [mod:-3]:f\n"},
    {-4, "f", "", nullptr, -3, "\nOZL Library Error: Out of memory \n\tin function:f(): \n"},
    {-2, "f", "x", "m", 1, "\nOZL Library Error: Unknown error or status code \n\tin function [m:1]:f(): x\n"},
    {7, "f", "x", "m", 1, "\nOZL Library Error: Unknown error or status code \n\tin function [m:1]:f(): x\n"},
    {-1, "f", "c", "m", 3, "\tcalled from [m:3]:f(): c\n"},
    {-8, "f", "c", "m", 3, "\tcalled from [m:3]:f(c)\n"},
    {-8, "f", nullptr, nullptr, 0, "\tcalled from:f\n"},
    {-1, nullptr, nullptr, nullptr, 0, "\tcalled from:<unknown>\n"},
};

TEST(StdErrReport, ExactTextInParentAndUnknownModes) {
    for (int mode : {OZL_ErrModeParent, 7, -1}) {
        ModeScope scope(mode);
        for (const StdErrCase& c : kStdErrCases) {
            OzlStatus result = 0;
            const std::string text =
                captureStderr([&] { result = ozlStdErrReport(c.status, c.func, c.context, c.file, c.line); });
            EXPECT_EQ(text, c.expected) << "mode " << mode << ", status " << c.status;
            EXPECT_EQ(result, c.status);
        }
    }
}

TEST(StdErrReport, SilentModeWritesNothing) {
    ModeScope scope(OZL_ErrModeSilent);
    OzlStatus result = 0;
    EXPECT_EQ(captureStderr([&] { result = ozlStdErrReport(-5, "f", "c", "m", 1); }), "");
    EXPECT_EQ(result, -5);
}

TEST(StdErrReport, ReachedThroughOzlError) {
    ModeScope scope(OZL_ErrModeParent);
    const OzlErrorCallBack previous = ozlRedirectError(ozlStdErrReport);
    const OzlStatus savedStatus = ozlGetErrStatus();
    OzlStatus result = 0;
    const std::string text = captureStderr([&] { result = ozlError(-24, "ozlCopy", "bad coi", "ozlcopy", 40); });
    EXPECT_EQ(text, "\nOZL Library Error: Incorrect COI of the image \n\tin function [ozlcopy:40]:ozlCopy(): bad coi\n");
    EXPECT_EQ(result, -24);
    EXPECT_EQ(ozlGetErrStatus(), -24);
    // Status 0 never reaches the report.
    EXPECT_EQ(captureStderr([&] { ozlError(0, "f", "c", "m", 1); }), "");
    ozlRedirectError(previous);
    ozlSetErrStatus(savedStatus);
}

TEST(NulDevReport, ReturnsStatusSilentlyOutsideLeafMode) {
    for (int mode : {OZL_ErrModeParent, OZL_ErrModeSilent, 5}) {
        ModeScope scope(mode);
        OzlStatus result = 0;
        EXPECT_EQ(captureStderr([&] { result = ozlNulDevReport(-9, "f", "c", "m", 1); }), "");
        EXPECT_EQ(result, -9);
    }
}

TEST(GuiBoxReport, SilentModeDoesNothing) {
    ModeScope scope(OZL_ErrModeSilent);
    OzlStatus result = 0;
    EXPECT_EQ(captureStderr([&] { result = ozlGuiBoxReport(-5, "f", "c", "m", 1); }), "");
    EXPECT_EQ(result, -5);
}

#if !defined(_WIN32)

using ozl::test::ChildOutcome;
using ozl::test::runInChild;

// Marks, after the report, that exit handlers ran: termination is an ordinary exit.
void atExitMarker() { std::fputs("[exit handlers ran]", stderr); }

TEST(StdErrReport, LeafModeWritesTrailerAndExitsWithOne) {
    const ChildOutcome out = runInChild([] {
        std::atexit(atExitMarker);
        ozlSetErrMode(OZL_ErrModeLeaf);
        ozlRedirectError(ozlStdErrReport);
        ozlError(-5, "ozlAdd", "msg", "ozladd", 12);
        return 3;  // not reached
    });
    EXPECT_TRUE(out.exited);
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.err,
              "\nOZL Library Error: Bad argument \n\tin function [ozladd:12]:ozlAdd(): msg\n"
              "OZL Library Error\nErrMode=OZL_ErrModeLeaf\nterminating the application"
              "[exit handlers ran]");
}

TEST(StdErrReport, LeafModeTerminatesOnTraceCodesToo) {
    const ChildOutcome out = runInChild([] {
        ozlSetErrMode(OZL_ErrModeLeaf);
        ozlStdErrReport(-8, "f", "inner", nullptr, 0);
        return 3;
    });
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.err, "\tcalled from:f(inner)\nOZL Library Error\nErrMode=OZL_ErrModeLeaf\nterminating the application");
}

TEST(NulDevReport, LeafModeExitsWithOneAndWritesNothing) {
    const ChildOutcome out = runInChild([] {
        std::atexit(atExitMarker);
        ozlSetErrMode(OZL_ErrModeLeaf);
        ozlRedirectError(ozlNulDevReport);
        ozlError(-4, "f", "c", "m", 1);
        return 3;
    });
    EXPECT_TRUE(out.exited);
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.err, "[exit handlers ran]");
}

// Without a controlling terminal the stand-alone box cannot ask: the Leaf
// question ends the process, the Parent question continues.
const char* const kBoxText =
    "In function ozlAdd(): [file ozladd, line 12]\nmsg\n\nBad argument\n(status: -5)";

TEST(GuiBoxReport, WithoutTerminalParentModeContinues) {
    const ChildOutcome out = runInChild([] {
        setsid();  // drops the controlling terminal
        ozlSetErrMode(OZL_ErrModeParent);
        return ozlGuiBoxReport(-5, "ozlAdd", "msg", "ozladd", 12) == -5 ? 0 : 3;
    });
    EXPECT_TRUE(out.exited);
    EXPECT_EQ(out.exitCode, 0);
    EXPECT_EQ(out.err, std::string("OZL 2.1\n") + kBoxText + "\n\nErrMode=OZL_ErrorModeParent\n\nContinue?\n");
}

TEST(GuiBoxReport, WithoutTerminalLeafModeTerminates) {
    const ChildOutcome out = runInChild([] {
        setsid();
        std::atexit(atExitMarker);
        ozlSetErrMode(OZL_ErrModeLeaf);
        ozlError(-5, "ozlAdd", "msg", "ozladd", 12);  // the default report of a thread
        return 3;
    });
    EXPECT_TRUE(out.exited);
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.err, std::string("OZL 2.1\n") + kBoxText +
                           "\n\nErrMode=OZL_ErrorModeLeaf\n\nTerminate the application?\n"
                           "Win32: Application exit\nOZL Library: terminating the application\n"
                           "[exit handlers ran]");
}

#else  // _WIN32: the child process is a death test.

TEST(StdErrReport, LeafModeWritesTrailerAndExitsWithOne) {
    EXPECT_EXIT(
        {
            ozlSetErrMode(OZL_ErrModeLeaf);
            ozlRedirectError(ozlStdErrReport);
            ozlError(-5, "ozlAdd", "msg", "ozladd", 12);
        },
        ::testing::ExitedWithCode(1), "ErrMode=OZL_ErrModeLeaf\nterminating the application$");
}

TEST(NulDevReport, LeafModeExitsWithOneAndWritesNothing) {
    EXPECT_EXIT(
        {
            ozlSetErrMode(OZL_ErrModeLeaf);
            ozlNulDevReport(-4, "f", "c", "m", 1);
        },
        ::testing::ExitedWithCode(1), "^$");
}

#endif

}  // namespace
