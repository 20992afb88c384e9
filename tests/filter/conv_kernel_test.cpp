// Convolution kernel records: turned storage and the queries that undo it,
// 8-bit truncation, every check with its message and line, deletion.
#include <gtest/gtest.h>

#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using ozl::test::ErrorCapture;
using ozl::test::ErrorReport;

// Stored turned (last coefficient first, anchor mirrored), given back as
// given; bytes sign-extended in and cut to their low 8 bits out; any shift.
TEST(ConvKernel, StoredTurnedAndQueriedBack) {
    ErrorCapture errors;
    ozlSetErrStatus(OZL_StsOk);  // a negative status stops the queries
    const int given[6] = {1, 2, 3, 4, 5, 6};
    const signed char bytes[4] = {-1, 2, 100, -128};
    const float reals[2] = {0.5f, -2.0f};
    OzlConvKernel* k = ozlCreateConvKernel(3, 2, 0, 0, given, -7);
    OzlConvKernel* c = ozlCreateConvKernelChar(2, 2, 1, 0, bytes, 3);
    OzlConvKernelFP* f = ozlCreateConvKernelFP(1, 2, 0, 1, reals);
    ASSERT_TRUE(k && c && f);
    EXPECT_EQ(std::vector<int>({k->anchorX, k->anchorY, k->nShiftR, c->anchorX, f->anchorY}), (std::vector<int>{2, 1, -7, 0, 0}));
    EXPECT_EQ(std::vector<int>(k->values, k->values + 6), (std::vector<int>{6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(c->values[3], -1);
    EXPECT_EQ(f->values[0], -2.0f);
    int nCols = 0, nRows = 0, ax = -1, ay = -1, shift = 0;
    std::vector<int> back(6);
    int* out = back.data();
    ozlGetConvKernel(k, &nCols, &nRows, &ax, &ay, &out, &shift);
    EXPECT_EQ(std::vector<int>({nCols, nRows, ax, ay, shift}), (std::vector<int>{3, 2, 0, 0, -7}));
    EXPECT_EQ(back, std::vector<int>(given, given + 6));
    c->values[0] = 300;  // the given last coefficient
    std::vector<signed char> low(4);
    signed char* lowOut = low.data();
    ozlGetConvKernelChar(c, &nCols, &nRows, &ax, &ay, &lowOut, &shift);
    EXPECT_EQ(low, (std::vector<signed char>{-1, 2, 100, 44}));
    EXPECT_EQ(std::vector<int>({ax, shift}), (std::vector<int>{1, 3}));
    std::vector<float> realBack(2);
    float* realOut = realBack.data();
    ozlGetConvKernelFP(f, &nCols, &nRows, &ax, &ay, &realOut);
    EXPECT_EQ(realBack, std::vector<float>(reals, reals + 2));
    EXPECT_EQ(ay, 1);
    for (OzlConvKernel* r : {k, c}) ozlDeleteConvKernel(r);
    ozlDeleteConvKernelFP(f);
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(ConvKernel, CreationChecks) {
    ErrorCapture errors(OZL_ErrModeSilent);
    const int v[4] = {};
    const float fv[4] = {};
    const char* anchor = "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)";
    struct Case {
        int nCols, nRows, ax, ay;
        bool noValues;
        const char* message;
        int lines[3];
    } cases[] = {
        {0, 0, 0, 0, true, "(values == 0)", {116, 132, 148}},  // before the sizes
        {0, 2, 0, 0, false, "(nRows<=0 || nCols<=0)", {116, 132, 149}},
        {2, -1, 0, 0, false, "(nRows<=0 || nCols<=0)", {116, 132, 149}},
        {2, 2, 2, 0, false, anchor, {116, 132, 150}},
        {2, 2, 0, 2, false, anchor, {116, 132, 150}},
        {2, 2, -1, 0, false, anchor, {116, 132, 150}},
        {2, 2, 0, -1, false, anchor, {116, 132, 150}},
    };
    const signed char bytes[4] = {};
    for (const Case& t : cases) {
        EXPECT_EQ(ozlCreateConvKernel(t.nCols, t.nRows, t.ax, t.ay, t.noValues ? nullptr : v, 0), nullptr);
        EXPECT_EQ(ozlCreateConvKernelChar(t.nCols, t.nRows, t.ax, t.ay, t.noValues ? nullptr : bytes, 0), nullptr);
        EXPECT_EQ(ozlCreateConvKernelFP(t.nCols, t.nRows, t.ax, t.ay, t.noValues ? nullptr : fv), nullptr);
        ASSERT_EQ(errors.count(), 3u) << t.message;
        const char* names[3] = {"ozlCreateConvKernel", "ozlCreateConvKernelChar", "ozlCreateConvKernelFP"};
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(errors.reports()[i], (ErrorReport{-5, names[i], t.message, "ozlcnv2d", t.lines[i]}));
        errors.clear();
    }
}

// An array of 2^29 coefficients cannot be had: NULL with -4, and the record
// already taken stays allocated (the sanitizer is told it is not a leak).
TEST(ConvKernel, ArrayAllocationFailureKeepsTheRecord) {
    ErrorCapture errors(OZL_ErrModeSilent);
    const int v[1] = {1};
    const float fv[1] = {1};
    const signed char bytes[1] = {1};
#if defined(__SANITIZE_ADDRESS__)
    __lsan_disable();
#endif
    // The values are never read: the array is allocated before the copy.
    EXPECT_EQ(ozlCreateConvKernel(1 << 15, 1 << 14, 0, 0, v, 0), nullptr);
    EXPECT_EQ(ozlCreateConvKernelChar(1 << 15, 1 << 14, 0, 0, bytes, 0), nullptr);
    EXPECT_EQ(ozlCreateConvKernelFP(1 << 15, 1 << 14, 0, 0, fv), nullptr);
#if defined(__SANITIZE_ADDRESS__)
    __lsan_enable();
#endif
    EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{
                                    {-4, "ozlCreateConvKernel", "Allocation failure", "ozlcnv2d", 118},
                                    {-4, "ozlCreateConvKernelChar", "Allocation failure", "ozlcnv2d", 134},
                                    {-4, "ozlCreateConvKernelFP", "Allocation failure", "ozlcnv2d", 158}}));
}

TEST(ConvKernel, QueryChecks) {
    ErrorCapture errors(OZL_ErrModeSilent);
    const int v[4] = {1, 2, 3, 4};
    OzlConvKernel* k = ozlCreateConvKernel(2, 2, 0, 0, v, 1);
    const float fv[4] = {};
    OzlConvKernelFP* f = ozlCreateConvKernelFP(2, 2, 0, 0, fv);
    int a = 0, b = 0, c = 0, d = 0, s = 0;
    int buffer[4] = {};
    int* values = buffer;
    float fbuffer[4] = {};
    float* fvalues = fbuffer;
    auto expectOnly = [&](std::vector<ErrorReport> want) {
        EXPECT_EQ(errors.reports(), want);
        errors.clear();
        ozlSetErrStatus(OZL_StsOk);
    };
    ozlGetConvKernel(nullptr, &a, &b, &c, &d, &values, &s);
    expectOnly({{-5, "ozlGetConvKernel", "kernel==0", "ozlcnv2d", 215}});
    // Both sizes missing: two reports, then the call stops.
    ozlGetConvKernel(k, nullptr, nullptr, nullptr, &d, &values, &s);
    expectOnly({{-5, "ozlGetConvKernel", "nRows==0", "ozlcnv2d", 215},
                {-5, "ozlGetConvKernel", "nCols==0", "ozlcnv2d", 215}});
    ozlGetConvKernel(k, &a, &b, nullptr, nullptr, &values, nullptr);
    expectOnly({{-5, "ozlGetConvKernel", "anchorX==0", "ozlcnv2d", 215},
                {-5, "ozlGetConvKernel", "anchorY==0", "ozlcnv2d", 215}});
    ozlGetConvKernel(k, &a, &b, &c, &d, nullptr, nullptr);
    expectOnly({{-5, "ozlGetConvKernel", "values==0", "ozlcnv2d", 215}});
    ozlGetConvKernel(k, &a, &b, &c, &d, &values, nullptr);
    expectOnly({{-5, "ozlGetConvKernel", "nShiftR==0", "ozlcnv2d", 215}});
    signed char bytes[4];
    signed char* byteOut = bytes;
    ozlGetConvKernelChar(k, &a, nullptr, &c, &d, &byteOut, &s);
    expectOnly({{-5, "ozlGetConvKernelChar", "nRows==0", "ozlcnv2d", 226}});

    k->anchorX = 2;  // a stored anchor outside the kernel
    ozlGetConvKernel(k, &a, &b, &c, &d, &values, &s);
    expectOnly({{-5, "ozlGetConvKernel", "ownBadKernel((OwnConvKernel*)kernel)", "ozlcnv2d", 215}});
    k->anchorX = 1;

    // Each call alone (the status cleared between them).
    const auto fp = [&](OzlConvKernelFP* kf, int* nc, int* ay, float** v) {
        ozlGetConvKernelFP(kf, nc, &b, &c, ay, v);
        ozlSetErrStatus(OZL_StsOk);
    };
    fp(nullptr, &a, &d, &fvalues);
    f->nRows = 0;
    fp(f, &a, &d, &fvalues);
    f->nRows = 2;
    fp(f, nullptr, &d, &fvalues);
    fp(f, &a, nullptr, &fvalues);
    fp(f, &a, &d, nullptr);
    expectOnly({{-5, "ozlGetConvKernelFP", "kernel==0", "ozlcnv2d", 238},
                {-5, "ozlGetConvKernelFP", "ownBadKernel((OwnConvKernel*)kernel)", "ozlcnv2d", 239},
                {-5, "ozlGetConvKernelFP", "nCols==0", "ozlcnv2d", 240},
                {-5, "ozlGetConvKernelFP", "anchorY==0", "ozlcnv2d", 241},
                {-5, "ozlGetConvKernelFP", "values==0", "ozlcnv2d", 242}});

    // A negative status left by an earlier call stops the query after the
    // size pointers, though they are fine.
    ozlSetErrStatus(OZL_StsNoMem);
    a = -1;
    ozlGetConvKernel(k, &a, &b, &c, &d, &values, &s);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(a, -1);
    EXPECT_EQ(buffer[0], 0);
    ozlSetErrStatus(OZL_StsOk);
    ozlDeleteConvKernel(k);
    ozlDeleteConvKernelFP(f);
}

TEST(ConvKernel, DeletionChecks) {
    ErrorCapture errors(OZL_ErrModeSilent);
    ozlDeleteConvKernel(nullptr);
    ozlDeleteConvKernelFP(nullptr);
    const int v[1] = {1};
    OzlConvKernel* k = ozlCreateConvKernel(1, 1, 0, 0, v, 0);
    int* held = k->values;
    k->values = nullptr;
    ozlDeleteConvKernel(k);  // nothing freed, the record neither
    const float fv[1] = {1};
    OzlConvKernelFP* f = ozlCreateConvKernelFP(1, 1, 0, 0, fv);
    float* heldF = f->values;
    f->values = nullptr;
    ozlDeleteConvKernelFP(f);
    EXPECT_EQ(errors.reports(), (std::vector<ErrorReport>{
                                    {-5, "ozlDeleteConvKernel", "kernel==0", "ozlcnv2d", 267},
                                    {-5, "ozlDeleteConvKernelFP", "kernel==0", "ozlcnv2d", 275},
                                    {-5, "ozlDeleteConvKernel", "kernel->values==0", "ozlcnv2d", 268},
                                    {-5, "ozlDeleteConvKernelFP", "kernel->values==0", "ozlcnv2d", 276}}));
    k->values = held;
    f->values = heldF;
    ozlDeleteConvKernel(k);
    ozlDeleteConvKernelFP(f);
    ozlSetErrStatus(OZL_StsOk);
}

}  // namespace
