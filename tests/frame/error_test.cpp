// Per-thread status, mode and callback, and the steps of ozlError.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;

// The status is stored and the arguments passed on unchanged (NULL strings, odd
// lines, positive codes); zero is stored without a report, trace codes report
// without storing; the result is the callback's.
TEST(OzlError, StoresReportsAndReturnsTheCallbacksResult) {
    ErrorCapture errors;
    ozlSetErrStatus(-3);
    EXPECT_EQ(ozlError(OZL_StsBadArg, "ozlAdd", "(srcImageA->depth != dstImage->depth)", "ozladd", 77), OZL_StsBadArg);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsBadArg);
    ozlError(-110, nullptr, nullptr, nullptr, -5);
    ozlError(5, "f", "c", "m", 1);
    EXPECT_EQ(ozlGetErrStatus(), 5);
    EXPECT_EQ(ozlError(OZL_StsOk, "ozlAdd", "ctx", "ozladd", 1), OZL_StsOk);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsOk);
    for (OzlStatus trace : {OZL_StsBackTrace, OZL_StsAutoTrace}) {
        ozlSetErrStatus(-17);
        EXPECT_EQ(ozlError(trace, "ozlCopy", "inner", "ozlcopy", 9), trace);
        EXPECT_EQ(ozlGetErrStatus(), -17);
    }
    EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{
                                    {OZL_StsBadArg, "ozlAdd", "(srcImageA->depth != dstImage->depth)", "ozladd", 77},
                                    {-110, "<null>", "<null>", "<null>", -5}, {5, "f", "c", "m", 1},
                                    {OZL_StsBackTrace, "ozlCopy", "inner", "ozlcopy", 9},
                                    {OZL_StsAutoTrace, "ozlCopy", "inner", "ozlcopy", 9}}));
    errors.setCallbackResult(42);
    EXPECT_EQ(ozlError(OZL_StsNoMem, "f", "c", "m", 1), 42);
    EXPECT_EQ(ozlError(OZL_StsBackTrace, "f", "c", "m", 1), 42);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsNoMem);  // the reported status, not the callback's result
}

OzlStatus OZL_CALL returnsMinus99(OzlStatus, const char*, const char*, const char*, int) { return -99; }

TEST(RedirectError, ReturnsPreviousAndNullReinstatesDefault) {
    const OzlErrorCallBack original = ozlRedirectError(returnsMinus99);
    EXPECT_EQ(ozlRedirectError(nullptr), returnsMinus99);
    EXPECT_EQ(ozlRedirectError(original), ozlGuiBoxReport);  // NULL installed the message-box report
}

// Each thread records its reports through its own callback into its own slot.
constexpr int kThreads = 4;
std::vector<int> g_hits[kThreads];

template <int I>
OzlStatus OZL_CALL recordHit(OzlStatus status, const char*, const char*, const char*, int) {
    g_hits[I].push_back(status);
    return status;
}

// Every new thread starts in Leaf mode with status 0 and the message-box report,
// whatever this thread or earlier ones set; modes, callbacks and statuses stay apart.
TEST(ErrorThreads, FreshAndIndependentState) {
    const OzlErrorCallBack callbacks[kThreads] = {recordHit<0>, recordHit<1>, recordHit<2>, recordHit<3>};
    ErrorCapture errors(OZL_ErrModeSilent);
    ozlSetErrStatus(-13);
    std::atomic<int> failures{0};
    for (int round = 0; round < 4; ++round) {
        for (auto& h : g_hits) h.clear();
        std::atomic<int> ready{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back([&, i] {
                const OzlErrorCallBack fresh = ozlRedirectError(callbacks[i]);
                if (ozlGetErrStatus() != 0 || ozlGetErrMode() != OZL_ErrModeLeaf || fresh != ozlGuiBoxReport) ++failures;
                const int mode = i == 0 ? OZL_ErrModeParent : 10 + i;
                ozlSetErrMode(mode);
                ozlSetErrStatus(-1000 - i);
                for (++ready; ready < kThreads;) std::this_thread::yield();
                for (int k = 0; k < 50; ++k) ozlError(-(i + 3), "f", "c", "m", k);
                if (ozlGetErrStatus() != -(i + 3) || ozlGetErrMode() != mode || ozlRedirectError(nullptr) != callbacks[i])
                    ++failures;
            });
        for (auto& t : threads) t.join();
        for (int i = 0; i < kThreads; ++i) EXPECT_EQ(g_hits[i], std::vector<int>(50, -(i + 3))) << "thread " << i;
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(std::make_pair(ozlGetErrStatus(), ozlGetErrMode()), std::make_pair(-13, OZL_ErrModeSilent));
    EXPECT_TRUE(errors.empty());
}

}  // namespace
