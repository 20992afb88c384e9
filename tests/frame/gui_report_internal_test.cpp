// The message-box report, with the question answered by a test prompt.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "frame/user_prompt.hpp"
#include "ozl.h"
#include "stderr_capture.hpp"

namespace {

using namespace ozl::frame;

struct Asked { std::string text, caption; unsigned flags; };

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
    void SetUp() override { g_asked.clear(), previousPrompt_ = setUserPrompt(recordingPrompt); }
    void TearDown() override { setUserPrompt(previousPrompt_), ozlSetErrMode(savedMode_); }
    OzlStatus report(int mode, int answer, OzlStatus status, const char* func = "f", const char* context = "c", const char* file = "m", int line = 1) {
        ozlSetErrMode(mode), g_answer = answer;
        return ozlGuiBoxReport(status, func, context, file, line);
    }
    UserPrompt previousPrompt_ = nullptr;
    int savedMode_ = ozlGetErrMode();
};

const std::string kParentSuffix = "\n\nErrMode=OZL_ErrorModeParent\n\nContinue?";
const std::string kLeafSuffix = "\n\nErrMode=OZL_ErrorModeLeaf\n\nTerminate the application?";

// Answers that do not terminate: one question, then the status comes back. The
// mode picks the buttons and the closing lines.
TEST_F(GuiBoxReport, QuestionTextAndButtons) {
    const std::string func(300, 'f'), file(300, 'm'), context(150, 'c');
    const std::string unsupported = "In function f(): [file m, line 2]\nc\n\nUnsupported function\n(status: -6)";
    const struct { int mode, answer; OzlStatus status; const char *func, *context, *file; int line; std::string text; } cases[] = {
        {OZL_ErrModeParent, kAnswerOk, -5, "ozlAdd", "(srcImageA->depth != dstImage->depth)", "ozladd", 97,
         "In function ozlAdd(): [file ozladd, line 97]\n(srcImageA->depth != dstImage->depth)\n\nBad argument\n(status: -5)"},
        {OZL_ErrModeLeaf, kAnswerNo, -117, "ozlCopy", "ctx", "ozlcopy", 3,
         "In function ozlCopy(): [file ozlcopy, line 3]\nctx\n\nMask. Incorrect depth value in the image header\n(status: -117)"},
        {OZL_ErrModeParent, kAnswerOk, OZL_StsBackTrace, "ozlConvolve2D", "inner", "ozlcnv2d", 210,
         "Called from ozlConvolve2D(): [file ozlcnv2d, line 210]\ninner\n\nBacktrace\n(status: -1)"},
        {OZL_ErrModeLeaf, kAnswerNo, OZL_StsAutoTrace, "ownCSep2", "", "ownCSep2", 5,
         "Called from ownCSep2(): [file ownCSep2, line 5]\n\n\nAutotrace call\n(status: -8)"},
        // NULL names and negative lines are substituted; long names are not cut.
        {OZL_ErrModeParent, kAnswerOk, -2, nullptr, "c", nullptr, -40,
         "In function <unknown>(): [file , line 0]\nc\n\nUnknown error or status code\n(status: -2)"},
        {OZL_ErrModeParent, kAnswerOk, -4, func.c_str(), context.c_str(), file.c_str(), 123456,
         "In function " + func + "(): [file " + file + ", line 123456]\n" + context + "\n\nOut of memory\n(status: -4)"},
        // Other modes report without a question and never terminate.
        {3, kAnswerYes, -6, "f", "c", "m", 2, unsupported},
        {-1, kAnswerCancel, -6, "f", "c", "m", 2, unsupported},
    };
    for (const auto& c : cases) {
        g_asked.clear();
        EXPECT_EQ(report(c.mode, c.answer, c.status, c.func, c.context, c.file, c.line), c.status);
        ASSERT_EQ(g_asked.size(), 1u) << "status " << c.status;
        const bool leaf = c.mode == OZL_ErrModeLeaf, parent = c.mode == OZL_ErrModeParent;
        EXPECT_EQ(g_asked[0].text, c.text + (leaf ? kLeafSuffix : parent ? kParentSuffix : ""));
        EXPECT_EQ(g_asked[0].caption, "OZL 2.1");
        EXPECT_EQ(g_asked[0].flags, leaf ? 0x2014u : parent ? 0x2011u : 0x2010u) << "status " << c.status;
    }
}

TEST_F(GuiBoxReport, OnlyTheTerminatingAnswerTerminates) {
    // Leaf ends on Yes only, Parent on Cancel only; everything else returns.
    for (int answer : {0, kAnswerOk, kAnswerCancel, kAnswerNo, -1}) EXPECT_EQ(report(OZL_ErrModeLeaf, answer, -4), -4) << answer;
    for (int answer : {0, kAnswerOk, kAnswerYes, kAnswerNo, -1}) EXPECT_EQ(report(OZL_ErrModeParent, answer, -4), -4) << answer;
    EXPECT_EQ(g_asked.size(), 10u);
    for (const Asked& a : g_asked) EXPECT_NE(a.flags, 0x2040u);
}

TEST_F(GuiBoxReport, SilentModeNeitherAsksNorWrites) {
    EXPECT_EQ(ozl::test::captureStderr([&] { EXPECT_EQ(report(OZL_ErrModeSilent, kAnswerYes, -5), -5); }), "");
    EXPECT_TRUE(g_asked.empty());
}

const std::string kExitRecord = "<2040|Win32: Application exit|OZL Library: terminating the application>";

// The terminating answers: the question, then the information box, then exit 1.
void answerTerminating(bool leaf) {
    setUserPrompt(printingPrompt);
    ozlSetErrMode(leaf ? OZL_ErrModeLeaf : OZL_ErrModeParent);
    g_answer = leaf ? kAnswerYes : kAnswerCancel;
    leaf ? ozlError(OZL_StsAutoTrace, "f", "c", "m", 1) : ozlGuiBoxReport(-5, "f", "c", "m", 1);
}

#if !defined(_WIN32)

void atExitMarker() { std::fputs("[exit handlers ran]", stderr); }

TEST_F(GuiBoxReport, TerminatingAnswersExitAfterInformationBox) {
    ozl::test::ChildOutcome out = ozl::test::runInChild([] { std::atexit(atExitMarker), answerTerminating(false); return 3; });
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.err, "<2011|OZL 2.1|In function f(): [file m, line 1]\nc\n\nBad argument\n(status: -5)" + kParentSuffix + ">" + kExitRecord +
                           "[exit handlers ran]");
    out = ozl::test::runInChild([] { answerTerminating(true); return 3; });
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_EQ(out.err, "<2014|OZL 2.1|Called from f(): [file m, line 1]\nc\n\nAutotrace call\n(status: -8)" + kLeafSuffix + ">" + kExitRecord);
}

#else  // _WIN32: the child process is a death test.

TEST_F(GuiBoxReport, TerminatingAnswersExitAfterInformationBox) {
    const char* const exitRecord = ">.2040\\|Win32: Application exit\\|OZL Library: terminating the application>$";
    EXPECT_EXIT(answerTerminating(false), ::testing::ExitedWithCode(1), std::string("Continue\\?") + exitRecord);
    EXPECT_EXIT(answerTerminating(true), ::testing::ExitedWithCode(1), std::string("Terminate the application\\?") + exitRecord);
}

#endif

TEST(UserPrompt, PlatformPromptIsTheDefaultAndNullRestoresIt) {
    const UserPrompt original = setUserPrompt(recordingPrompt);
    EXPECT_EQ(original, platformPrompt);
    setUserPrompt(nullptr);
    EXPECT_EQ(setUserPrompt(original), platformPrompt);
}

}  // namespace
