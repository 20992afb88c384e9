// Per-thread status, mode and callback, and the steps of ozlError.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;

// Restores the thread's status on exit so tests do not leak state into each other.
struct StatusGuard {
    OzlStatus saved = ozlGetErrStatus();
    ~StatusGuard() { ozlSetErrStatus(saved); }
};

TEST(ErrorState, StatusAndModeTakeAnyValueUnchecked) {
    StatusGuard guard;
    const int savedMode = ozlGetErrMode();
    for (int v : {0, -1, -125, 17, 1000, INT32_MIN, INT32_MAX}) {
        ozlSetErrStatus(v);
        ozlSetErrMode(v);
        EXPECT_EQ(ozlGetErrStatus(), v);
        EXPECT_EQ(ozlGetErrMode(), v);
    }
    ozlSetErrMode(savedMode);
}

TEST(OzlError, StoresStatusAndPassesArgumentsUnchanged) {
    StatusGuard guard;
    ErrorCapture errors;
    ozlSetErrStatus(-3);
    EXPECT_EQ(ozlError(OZL_StsBadArg, "ozlAdd", "(srcImageA->depth != dstImage->depth)", "ozladd", 77), OZL_StsBadArg);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsBadArg);
    // NULL strings, odd lines and positive codes reach the callback as they are.
    ozlError(-110, nullptr, nullptr, nullptr, -5);
    EXPECT_EQ(ozlGetErrStatus(), -110);
    ozlError(5, "f", "c", "m", 1);
    EXPECT_EQ(ozlGetErrStatus(), 5);
    EXPECT_EQ(errors.reports(),
              (std::vector<ErrorReport>{{OZL_StsBadArg, "ozlAdd", "(srcImageA->depth != dstImage->depth)", "ozladd", 77},
                                        {-110, "<null>", "<null>", "<null>", -5},
                                        {5, "f", "c", "m", 1}}));
}

TEST(OzlError, ZeroIsStoredWithoutReportAndTraceCodesReportWithoutStoring) {
    StatusGuard guard;
    ErrorCapture errors;
    ozlSetErrStatus(-4);
    EXPECT_EQ(ozlError(OZL_StsOk, "ozlAdd", "ctx", "ozladd", 1), OZL_StsOk);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsOk);
    EXPECT_TRUE(errors.empty());
    for (OzlStatus trace : {OZL_StsBackTrace, OZL_StsAutoTrace}) {
        ozlSetErrStatus(-17);
        EXPECT_EQ(ozlError(trace, "ozlCopy", "inner", "ozlcopy", 9), trace);
        EXPECT_EQ(ozlGetErrStatus(), -17);
        EXPECT_EQ(errors.last(), (ErrorReport{trace, "ozlCopy", "inner", "ozlcopy", 9}));
    }
    EXPECT_EQ(errors.count(), 2u);
}

TEST(OzlError, ResultIsTheCallbacksResult) {
    StatusGuard guard;
    ErrorCapture errors;
    errors.setCallbackResult(42);
    EXPECT_EQ(ozlError(OZL_StsNoMem, "f", "c", "m", 1), 42);
    EXPECT_EQ(ozlError(OZL_StsBackTrace, "f", "c", "m", 1), 42);
    // The stored status is the reported one, not the callback's result.
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsNoMem);
}

OzlStatus OZL_CALL returnsMinus99(OzlStatus, const char*, const char*, const char*, int) { return -99; }

TEST(RedirectError, ReturnsPreviousAndNullReinstatesDefault) {
    const OzlErrorCallBack original = ozlRedirectError(returnsMinus99);
    EXPECT_EQ(ozlRedirectError(nullptr), returnsMinus99);
    // NULL installed the message-box report, not NULL.
    EXPECT_EQ(ozlRedirectError(original), ozlGuiBoxReport);
}

// What a thread finds when it first touches the library.
bool looksFresh() {
    const OzlErrorCallBack callback = ozlRedirectError(ozlNulDevReport);
    ozlRedirectError(callback);
    return ozlGetErrStatus() == 0 && ozlGetErrMode() == OZL_ErrModeLeaf && callback == ozlGuiBoxReport;
}

TEST(ErrorThreads, EveryNewThreadStartsInLeafWithMessageBoxReport) {
    // Neither this thread's state nor that of earlier threads leaks into a new one.
    StatusGuard guard;
    ErrorCapture errors(OZL_ErrModeSilent);
    ozlSetErrStatus(-13);
    std::atomic<int> wrong{0};
    for (int round = 0; round < 8; ++round) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                if (!looksFresh()) ++wrong;
                ozlSetErrStatus(-5);
                ozlSetErrMode(OZL_ErrModeParent);
                ozlRedirectError(ozlNulDevReport);
            });
        }
        for (auto& t : threads) t.join();
    }
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(ozlGetErrStatus(), -13);
    EXPECT_EQ(ozlGetErrMode(), OZL_ErrModeSilent);
}

// Each thread records its reports through its own callback into its own slot.
constexpr int kThreads = 4;
std::vector<int> g_hits[kThreads];

template <int I>
OzlStatus OZL_CALL recordHit(OzlStatus status, const char*, const char*, const char*, int) {
    g_hits[I].push_back(status);
    return status;
}

TEST(ErrorThreads, ModesCallbacksAndStatusesAreIndependent) {
    const OzlErrorCallBack callbacks[kThreads] = {recordHit<0>, recordHit<1>, recordHit<2>, recordHit<3>};
    for (auto& h : g_hits) h.clear();
    // Every thread sets its state, waits until all have, then reports and checks.
    std::atomic<int> ready{0}, failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            const int mode = i == 0 ? OZL_ErrModeParent : 10 + i;
            ozlSetErrMode(mode);
            ozlRedirectError(callbacks[i]);
            ozlSetErrStatus(-1000 - i);
            for (++ready; ready < kThreads;) std::this_thread::yield();
            for (int k = 0; k < 50; ++k) ozlError(-(i + 3), "f", "c", "m", k);
            if (ozlGetErrStatus() != -(i + 3) || ozlGetErrMode() != mode || ozlRedirectError(nullptr) != callbacks[i])
                ++failures;
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(failures.load(), 0);
    for (int i = 0; i < kThreads; ++i) EXPECT_EQ(g_hits[i], std::vector<int>(50, -(i + 3))) << "thread " << i;
}

}  // namespace
