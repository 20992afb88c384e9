// The message-box report, with the question answered by a test prompt.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "frame/user_prompt.hpp"
#include "ozl.h"
#include "stderr_capture.hpp"

namespace {

using namespace ozl::frame;

struct Asked {
    std::string text;
    std::string caption;
    unsigned flags;
};

std::vector<Asked> g_asked;
int g_answer = kAnswerOk;

int recordingPrompt(const char* text, const char* caption, unsigned flags) {
    g_asked.push_back({text, caption, flags});
    return g_answer;
}

// In a child process the record goes to standard error for the parent to read.
int printingPrompt(const char* text, const char* caption, unsigned flags) {
    std::fprintf(stderr, "<%x|%s|%s>", flags, caption, text);
    return g_answer;
}

class GuiBoxReport : public ::testing::Test {
protected:
    void SetUp() override {
        g_asked.clear();
        previousPrompt_ = setUserPrompt(recordingPrompt);
        savedMode_ = ozlGetErrMode();
    }
    void TearDown() override {
        setUserPrompt(previousPrompt_);
        ozlSetErrMode(savedMode_);
    }
    OzlStatus report(int mode, int answer, OzlStatus status, const char* func, const char* context,
                     const char* file, int line) {
        ozlSetErrMode(mode);
        g_answer = answer;
        return ozlGuiBoxReport(status, func, context, file, line);
    }

private:
    UserPrompt previousPrompt_ = nullptr;
    int savedMode_ = 0;
};

const char* const kParentSuffix = "\n\nErrMode=OZL_ErrorModeParent\n\nContinue?";
const char* const kLeafSuffix = "\n\nErrMode=OZL_ErrorModeLeaf\n\nTerminate the application?";

TEST_F(GuiBoxReport, ParentModeAsksOkCancelAndContinuesOnOk) {
    EXPECT_EQ(report(OZL_ErrModeParent, kAnswerOk, -5, "ozlAdd", "(srcImageA->depth != dstImage->depth)", "ozladd", 97), -5);
    ASSERT_EQ(g_asked.size(), 1u);
    EXPECT_EQ(g_asked[0].text, std::string("In function ozlAdd(): [file ozladd, line 97]\n"
                                           "(srcImageA->depth != dstImage->depth)\n\nBad argument\n(status: -5)") +
                                   kParentSuffix);
    EXPECT_EQ(g_asked[0].caption, std::string("OZL ") + ozlGetLibVersion()->version);
    EXPECT_EQ(g_asked[0].caption, "OZL 2.1");
    EXPECT_EQ(g_asked[0].flags, 0x2011u);
}

TEST_F(GuiBoxReport, LeafModeAsksYesNoAndContinuesOnNo) {
    EXPECT_EQ(report(OZL_ErrModeLeaf, kAnswerNo, -117, "ozlCopy", "ctx", "ozlcopy", 3), -117);
    ASSERT_EQ(g_asked.size(), 1u);
    EXPECT_EQ(g_asked[0].text, std::string("In function ozlCopy(): [file ozlcopy, line 3]\nctx\n\n"
                                           "Mask. Incorrect depth value in the image header\n(status: -117)") +
                                   kLeafSuffix);
    EXPECT_EQ(g_asked[0].flags, 0x2014u);
}

TEST_F(GuiBoxReport, OnlyTheTerminatingAnswerTerminates) {
    // Leaf ends on Yes only, Parent on Cancel only; everything else returns.
    for (int answer : {0, kAnswerOk, kAnswerCancel, kAnswerNo, 3, -1})
        EXPECT_EQ(report(OZL_ErrModeLeaf, answer, -4, "f", "c", "m", 1), -4) << answer;
    for (int answer : {0, kAnswerOk, kAnswerYes, kAnswerNo, 3, -1})
        EXPECT_EQ(report(OZL_ErrModeParent, answer, -4, "f", "c", "m", 1), -4) << answer;
    EXPECT_EQ(g_asked.size(), 12u);
    for (const Asked& a : g_asked) EXPECT_NE(a.flags, 0x2040u);
}

TEST_F(GuiBoxReport, TraceCodesUseCalledFromForm) {
    report(OZL_ErrModeParent, kAnswerOk, OZL_StsBackTrace, "ozlConvolve2D", "inner", "ozlcnv2d", 210);
    report(OZL_ErrModeLeaf, kAnswerNo, OZL_StsAutoTrace, "ownCSep2", "", "ownCSep2", 5);
    ASSERT_EQ(g_asked.size(), 2u);
    EXPECT_EQ(g_asked[0].text, std::string("Called from ozlConvolve2D(): [file ozlcnv2d, line 210]\ninner\n\n"
                                           "Backtrace\n(status: -1)") + kParentSuffix);
    EXPECT_EQ(g_asked[1].text, std::string("Called from ownCSep2(): [file ownCSep2, line 5]\n\n\n"
                                           "Autotrace call\n(status: -8)") + kLeafSuffix);
}

TEST_F(GuiBoxReport, NullNamesAndNegativeLineAreSubstituted) {
    report(OZL_ErrModeParent, kAnswerOk, -2, nullptr, "c", nullptr, -40);
    report(OZL_ErrModeParent, kAnswerOk, 3, "f", "", "", 0);
    ASSERT_EQ(g_asked.size(), 2u);
    EXPECT_EQ(g_asked[0].text, std::string("In function <unknown>(): [file , line 0]\nc\n\n"
                                           "Unknown error or status code\n(status: -2)") + kParentSuffix);
    EXPECT_EQ(g_asked[1].text, std::string("In function f(): [file , line 0]\n\n\n"
                                           "Unknown error or status code\n(status: 3)") + kParentSuffix);
}

TEST_F(GuiBoxReport, SilentModeNeitherAsksNorWrites) {
    const std::string err = ozl::test::captureStderr([&] {
        EXPECT_EQ(report(OZL_ErrModeSilent, kAnswerYes, -5, "f", "c", "m", 1), -5);
    });
    EXPECT_TRUE(g_asked.empty());
    EXPECT_EQ(err, "");
}

TEST_F(GuiBoxReport, OtherModesReportWithoutQuestionAndNeverTerminate) {
    for (int mode : {3, -1, 100}) {
        for (int answer : {kAnswerYes, kAnswerCancel}) {
            g_asked.clear();
            EXPECT_EQ(report(mode, answer, -6, "f", "c", "m", 2), -6);
            ASSERT_EQ(g_asked.size(), 1u);
            EXPECT_EQ(g_asked[0].text, "In function f(): [file m, line 2]\nc\n\nUnsupported function\n(status: -6)");
            EXPECT_EQ(g_asked[0].flags, 0x2010u);
        }
    }
}

TEST_F(GuiBoxReport, LongNamesAreNotCut) {
    const std::string func(300, 'f'), file(300, 'm'), context(150, 'c');
    report(OZL_ErrModeParent, kAnswerOk, -4, func.c_str(), context.c_str(), file.c_str(), 123456);
    ASSERT_EQ(g_asked.size(), 1u);
    EXPECT_EQ(g_asked[0].text, "In function " + func + "(): [file " + file + ", line 123456]\n" + context +
                                   "\n\nOut of memory\n(status: -4)" + kParentSuffix);
}

TEST_F(GuiBoxReport, IsTheDefaultReportOfANewThread) {
    std::thread t([] {
        ozlSetErrMode(OZL_ErrModeParent);
        g_answer = kAnswerOk;
        ozlError(-10, "ozlSet", "size", "ozlset", 8);
    });
    t.join();
    ASSERT_EQ(g_asked.size(), 1u);
    EXPECT_EQ(g_asked[0].text, std::string("In function ozlSet(): [file ozlset, line 8]\nsize\n\n"
                                           "Incorrect image size\n(status: -10)") + kParentSuffix);
}

const char* const kExitRecord = "<2040|Win32: Application exit|OZL Library: terminating the application>";

#if !defined(_WIN32)

using ozl::test::ChildOutcome;
using ozl::test::runInChild;

void atExitMarker() { std::fputs("[exit handlers ran]", stderr); }

TEST_F(GuiBoxReport, CancelInParentModeTerminatesAfterInformationBox) {
    const ChildOutcome out = runInChild([] {
        std::atexit(atExitMarker);
        setUserPrompt(printingPrompt);
        ozlSetErrMode(OZL_ErrModeParent);
        g_answer = kAnswerCancel;
        ozlGuiBoxReport(-5, "f", "c", "m", 1);
        return 3;
    });
    EXPECT_TRUE(out.exited);
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.err, std::string("<2011|OZL 2.1|In function f(): [file m, line 1]\nc\n\nBad argument\n(status: -5)") +
                           kParentSuffix + ">" + kExitRecord + "[exit handlers ran]");
}

TEST_F(GuiBoxReport, YesInLeafModeTerminatesAfterInformationBox) {
    const ChildOutcome out = runInChild([] {
        setUserPrompt(printingPrompt);
        ozlSetErrMode(OZL_ErrModeLeaf);
        g_answer = kAnswerYes;
        ozlError(OZL_StsAutoTrace, "f", "c", "m", 1);
        return 3;
    });
    EXPECT_TRUE(out.exited);
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.err, std::string("<2014|OZL 2.1|Called from f(): [file m, line 1]\nc\n\nAutotrace call\n(status: -8)") +
                           kLeafSuffix + ">" + kExitRecord);
}

#else  // _WIN32: the child process is a death test.

TEST_F(GuiBoxReport, CancelInParentModeTerminatesAfterInformationBox) {
    EXPECT_EXIT(
        {
            setUserPrompt(printingPrompt);
            ozlSetErrMode(OZL_ErrModeParent);
            g_answer = kAnswerCancel;
            ozlGuiBoxReport(-5, "f", "c", "m", 1);
        },
        ::testing::ExitedWithCode(1), "Continue\\?>.2040\\|Win32: Application exit\\|OZL Library: terminating the application>$");
}

TEST_F(GuiBoxReport, YesInLeafModeTerminatesAfterInformationBox) {
    EXPECT_EXIT(
        {
            setUserPrompt(printingPrompt);
            ozlSetErrMode(OZL_ErrModeLeaf);
            g_answer = kAnswerYes;
            ozlError(OZL_StsAutoTrace, "f", "c", "m", 1);
        },
        ::testing::ExitedWithCode(1), "Terminate the application\\?>.2040\\|Win32: Application exit\\|OZL Library: terminating the application>$");
}

#endif

TEST(UserPrompt, SetReturnsPreviousAndNullRestoresPlatformPrompt) {
    const UserPrompt original = setUserPrompt(recordingPrompt);
    EXPECT_EQ(original, platformPrompt);
    EXPECT_EQ(setUserPrompt(printingPrompt), recordingPrompt);
    EXPECT_EQ(setUserPrompt(nullptr), printingPrompt);
    EXPECT_EQ(setUserPrompt(original), platformPrompt);
}

}  // namespace
