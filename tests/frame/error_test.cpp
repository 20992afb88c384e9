// Per-thread status, mode and callback, and the steps of ozlError.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <condition_variable>
#include <mutex>
#include <string>
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

TEST(ErrorStatus, SetAndGetAnyValue) {
    StatusGuard guard;
    for (OzlStatus s : {0, -1, -4, -125, 17, INT32_MIN, INT32_MAX}) {
        ozlSetErrStatus(s);
        EXPECT_EQ(ozlGetErrStatus(), s);
    }
}

TEST(ErrorMode, StoresAnyValueUnchecked) {
    const int saved = ozlGetErrMode();
    for (int m : {OZL_ErrModeParent, OZL_ErrModeSilent, 3, -7, 1000, OZL_ErrModeLeaf}) {
        ozlSetErrMode(m);
        EXPECT_EQ(ozlGetErrMode(), m);
    }
    ozlSetErrMode(saved);
}

TEST(OzlError, StoresStatusAndPassesArgumentsUnchanged) {
    StatusGuard guard;
    ErrorCapture errors;
    ozlSetErrStatus(-3);
    EXPECT_EQ(ozlError(OZL_StsBadArg, "ozlAdd", "(srcImageA->depth != dstImage->depth)", "ozladd", 77),
              OZL_StsBadArg);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsBadArg);
    ASSERT_EQ(errors.count(), 1u);
    EXPECT_EQ(errors.last(), (ErrorReport{OZL_StsBadArg, "ozlAdd",
                                          "(srcImageA->depth != dstImage->depth)", "ozladd", 77}));

    // NULL strings and odd lines reach the callback as they are.
    ozlError(-110, nullptr, nullptr, nullptr, -5);
    EXPECT_EQ(ozlGetErrStatus(), -110);
    EXPECT_EQ(errors.last(), (ErrorReport{-110, "<null>", "<null>", "<null>", -5}));

    // Positive codes are stored and reported too.
    ozlError(5, "f", "c", "m", 1);
    EXPECT_EQ(ozlGetErrStatus(), 5);
    EXPECT_EQ(errors.count(), 3u);
}

TEST(OzlError, ZeroIsStoredWithoutReport) {
    StatusGuard guard;
    ErrorCapture errors;
    ozlSetErrStatus(-4);
    EXPECT_EQ(ozlError(OZL_StsOk, "ozlAdd", "ctx", "ozladd", 1), OZL_StsOk);
    EXPECT_EQ(ozlGetErrStatus(), OZL_StsOk);
    EXPECT_TRUE(errors.empty());
}

TEST(OzlError, TraceCodesReportButKeepStoredStatus) {
    StatusGuard guard;
    ErrorCapture errors;
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
OzlStatus OZL_CALL returnsZero(OzlStatus, const char*, const char*, const char*, int) { return 0; }

TEST(RedirectError, ReturnsPreviousAndNullReinstatesDefault) {
    const OzlErrorCallBack original = ozlRedirectError(returnsMinus99);
    EXPECT_EQ(ozlRedirectError(returnsZero), returnsMinus99);
    EXPECT_EQ(ozlRedirectError(nullptr), returnsZero);
    // NULL installed the message-box report, not NULL.
    EXPECT_EQ(ozlRedirectError(returnsMinus99), ozlGuiBoxReport);
    EXPECT_EQ(ozlRedirectError(original), returnsMinus99);
}

TEST(RedirectError, InstalledCallbackIsTheOneOzlErrorCalls) {
    StatusGuard guard;
    const int mode = ozlGetErrMode();
    ozlSetErrMode(OZL_ErrModeParent);
    const OzlErrorCallBack original = ozlRedirectError(returnsMinus99);
    EXPECT_EQ(ozlError(OZL_StsBadArg, "f", "c", "m", 1), -99);
    ozlRedirectError(ozlNulDevReport);
    EXPECT_EQ(ozlError(OZL_StsBadArg, "f", "c", "m", 1), OZL_StsBadArg);
    ozlRedirectError(original);
    ozlSetErrMode(mode);
}

// What a thread finds when it first touches the library.
struct FreshState {
    OzlStatus status = 1;
    int mode = -1;
    OzlErrorCallBack callback = nullptr;
};

FreshState observeFresh() {
    FreshState s;
    s.status = ozlGetErrStatus();
    s.mode = ozlGetErrMode();
    s.callback = ozlRedirectError(ozlNulDevReport);
    ozlRedirectError(s.callback);
    return s;
}

TEST(ErrorThreads, NewThreadStartsInLeafWithMessageBoxReport) {
    // Change this thread's state first: it must not leak into the new thread.
    StatusGuard guard;
    ErrorCapture errors(OZL_ErrModeSilent);
    ozlSetErrStatus(-13);
    FreshState seen;
    std::thread t([&] { seen = observeFresh(); });
    t.join();
    EXPECT_EQ(seen.status, OZL_StsOk);
    EXPECT_EQ(seen.mode, OZL_ErrModeLeaf);
    EXPECT_EQ(seen.callback, ozlGuiBoxReport);
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
    std::mutex m;
    std::condition_variable cv;
    int ready = 0;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            ozlSetErrMode(i == 0 ? OZL_ErrModeParent : 10 + i);
            ozlRedirectError(callbacks[i]);
            ozlSetErrStatus(-1000 - i);
            {
                std::unique_lock<std::mutex> lock(m);
                ++ready;
                cv.notify_all();
                cv.wait(lock, [&] { return ready == kThreads; });
            }
            for (int k = 0; k < 50; ++k) ozlError(-(i + 3), "f", "c", "m", k);
            if (ozlGetErrStatus() != -(i + 3)) ++failures;
            if (ozlGetErrMode() != (i == 0 ? OZL_ErrModeParent : 10 + i)) ++failures;
            if (ozlRedirectError(nullptr) != callbacks[i]) ++failures;
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(failures.load(), 0);
    for (int i = 0; i < kThreads; ++i) {
        ASSERT_EQ(g_hits[i].size(), 50u) << "thread " << i;
        for (int s : g_hits[i]) EXPECT_EQ(s, -(i + 3));
    }
}

TEST(ErrorThreads, ManyShortLivedThreadsEachGetAFreshContext) {
    std::atomic<int> wrong{0};
    for (int round = 0; round < 8; ++round) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                const FreshState s = observeFresh();
                if (s.status != 0 || s.mode != OZL_ErrModeLeaf || s.callback != ozlGuiBoxReport) ++wrong;
                // Leave changed state behind: the next thread must not inherit it.
                ozlSetErrStatus(-5);
                ozlSetErrMode(OZL_ErrModeSilent);
                ozlRedirectError(ozlNulDevReport);
            });
        }
        for (auto& t : threads) t.join();
    }
    EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
