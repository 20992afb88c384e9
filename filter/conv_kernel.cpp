// Convolution kernel records: creation, query and deletion. A record holds
// the caller's kernel turned by 180 degrees (coefficients reversed, anchor
// mirrored), so that the engines walk it as a plain correlation rectangle;
// the queries turn it back.
#include <cstdint>
#include <cstring>

#include "core/checks.hpp"
#include "filter/conv_kernel.hpp"

namespace ozl::filter {

bool badKernel(int nCols, int nRows, int anchorX, int anchorY) {
    return nRows < 1 || nCols < 1 || anchorX < 0 || anchorY < 0 || anchorY >= nRows ||
           anchorX >= nCols;
}

}  // namespace ozl::filter

namespace {

using ozl::core::Caller;
using ozl::core::fail;

constexpr const char* kModule = "ozlcnv2d";

// Lines of the checks of one creator: arguments (values, sizes, anchor),
// then the record and the coefficient array.
struct CreateLines {
    int values, sizes, anchor, record, array;
};

// The record with its coefficients reversed, or nullptr after a report. When
// the array cannot be had the record already taken is not given back: the
// creators leave it allocated and return nullptr.
template <class Record, class Value, class Given>
Record* create(const Caller& caller, const CreateLines& lines, int nCols, int nRows, int anchorX,
               int anchorY, const Given* values) {
    if (!values) return fail(caller, OZL_StsBadArg, "(values == 0)", lines.values), nullptr;
    if (nRows <= 0 || nCols <= 0)
        return fail(caller, OZL_StsBadArg, "(nRows<=0 || nCols<=0)", lines.sizes), nullptr;
    if (anchorX < 0 || anchorY < 0 || nRows <= anchorY || nCols <= anchorX)
        return fail(caller, OZL_StsBadArg,
                    "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)", lines.anchor),
               nullptr;
    auto* record = static_cast<Record*>(ozlMalloc(static_cast<int>(sizeof(Record))));
    if (!record) return fail(caller, OZL_StsNoMem, "Allocation failure", lines.record), nullptr;
    const int64_t n = static_cast<int64_t>(nCols) * nRows;
    Value* stored = n * 4 <= INT32_MAX ? static_cast<Value*>(ozlMalloc(static_cast<int>(n * 4)))
                                       : nullptr;
    if (!stored) return fail(caller, OZL_StsNoMem, "Allocation failure", lines.array), nullptr;
    record->nCols = nCols;
    record->nRows = nRows;
    record->anchorX = nCols - 1 - anchorX;
    record->anchorY = nRows - 1 - anchorY;
    for (int64_t k = 0; k < n; ++k) stored[k] = static_cast<Value>(values[n - 1 - k]);
    record->values = stored;
    return record;
}

// The pointer checks of a query. NULL sizes are reported as a pair, then the
// call stops if the thread's status is negative (which a status left by an
// earlier call also does); the anchors likewise; the rest stop at once.
template <class Record, class Out>
bool queryArgs(const Caller& caller, const Record* kernel, int* nCols, int* nRows, int* anchorX,
               int* anchorY, Out** values, const int* const* nShiftR, const int lines[5]) {
    if (!kernel) return fail(caller, OZL_StsBadArg, "kernel==0", lines[0]);
    if (ozl::filter::badKernel(kernel->nCols, kernel->nRows, kernel->anchorX, kernel->anchorY))
        return fail(caller, OZL_StsBadArg, "ownBadKernel((OwnConvKernel*)kernel)", lines[1]);
    if (!nRows) fail(caller, OZL_StsBadArg, "nRows==0", lines[2]);
    if (!nCols) fail(caller, OZL_StsBadArg, "nCols==0", lines[2]);
    if (ozl::core::statusFailed()) return false;
    if (!anchorX) fail(caller, OZL_StsBadArg, "anchorX==0", lines[3]);
    if (!anchorY) fail(caller, OZL_StsBadArg, "anchorY==0", lines[3]);
    if (ozl::core::statusFailed()) return false;
    if (!values) return fail(caller, OZL_StsBadArg, "values==0", lines[4]);
    if (nShiftR && !*nShiftR) return fail(caller, OZL_StsBadArg, "nShiftR==0", lines[4]);
    return true;
}

template <class Record, class Out>
void query(const Record* kernel, int* nCols, int* nRows, int* anchorX, int* anchorY, Out** values) {
    *nCols = kernel->nCols;
    *nRows = kernel->nRows;
    *anchorX = kernel->nCols - 1 - kernel->anchorX;
    *anchorY = kernel->nRows - 1 - kernel->anchorY;
    if (!kernel->values || !*values) return;
    const int64_t n = static_cast<int64_t>(kernel->nCols) * kernel->nRows;
    // Integer coefficients read as bytes keep their low 8 bits.
    for (int64_t k = 0; k < n; ++k) (*values)[k] = static_cast<Out>(kernel->values[n - 1 - k]);
}

template <class Record>
void destroy(const Caller& caller, Record* kernel, int kernelLine, int valuesLine) {
    if (!kernel) return static_cast<void>(fail(caller, OZL_StsBadArg, "kernel==0", kernelLine));
    if (!kernel->values)
        return static_cast<void>(fail(caller, OZL_StsBadArg, "kernel->values==0", valuesLine));
    ozlFree(kernel->values);
    ozlFree(kernel);
}

}  // namespace

extern "C" OZL_API OzlConvKernel* OZL_CALL ozlCreateConvKernel(int nCols, int nRows, int anchorX,
                                                               int anchorY, const int* values,
                                                               int nShiftR) {
    OzlConvKernel* k = create<OzlConvKernel, int32_t>(
        {"ozlCreateConvKernel", kModule}, {116, 116, 116, 118, 118}, nCols, nRows, anchorX,
        anchorY, values);
    if (k) k->nShiftR = nShiftR;
    return k;
}

extern "C" OZL_API OzlConvKernel* OZL_CALL ozlCreateConvKernelChar(int nCols, int nRows,
                                                                   int anchorX, int anchorY,
                                                                   const signed char* values,
                                                                   int nShiftR) {
    OzlConvKernel* k = create<OzlConvKernel, int32_t>(
        {"ozlCreateConvKernelChar", kModule}, {132, 132, 132, 134, 134}, nCols, nRows, anchorX,
        anchorY, values);
    if (k) k->nShiftR = nShiftR;
    return k;
}

extern "C" OZL_API OzlConvKernelFP* OZL_CALL ozlCreateConvKernelFP(int nCols, int nRows,
                                                                   int anchorX, int anchorY,
                                                                   const float* values) {
    return create<OzlConvKernelFP, float>({"ozlCreateConvKernelFP", kModule},
                                          {148, 149, 150, 153, 158}, nCols, nRows, anchorX,
                                          anchorY, values);
}

extern "C" OZL_API void OZL_CALL ozlGetConvKernel(const OzlConvKernel* kernel, int* nCols,
                                                  int* nRows, int* anchorX, int* anchorY,
                                                  int** values, int* nShiftR) {
    const int lines[5] = {215, 215, 215, 215, 215};
    const int* shift = nShiftR;
    if (!queryArgs({"ozlGetConvKernel", kModule}, kernel, nCols, nRows, anchorX, anchorY, values,
                   &shift, lines))
        return;
    query(kernel, nCols, nRows, anchorX, anchorY, values);
    *nShiftR = kernel->nShiftR;
}

extern "C" OZL_API void OZL_CALL ozlGetConvKernelChar(const OzlConvKernel* kernel, int* nCols,
                                                      int* nRows, int* anchorX, int* anchorY,
                                                      signed char** values, int* nShiftR) {
    const int lines[5] = {226, 226, 226, 226, 226};
    const int* shift = nShiftR;
    if (!queryArgs({"ozlGetConvKernelChar", kModule}, kernel, nCols, nRows, anchorX, anchorY,
                   values, &shift, lines))
        return;
    query(kernel, nCols, nRows, anchorX, anchorY, values);
    *nShiftR = kernel->nShiftR;
}

extern "C" OZL_API void OZL_CALL ozlGetConvKernelFP(const OzlConvKernelFP* kernel, int* nCols,
                                                    int* nRows, int* anchorX, int* anchorY,
                                                    float** values) {
    const int lines[5] = {238, 239, 240, 241, 242};
    if (!queryArgs({"ozlGetConvKernelFP", kModule}, kernel, nCols, nRows, anchorX, anchorY,
                   values, static_cast<const int* const*>(nullptr), lines))
        return;
    query(kernel, nCols, nRows, anchorX, anchorY, values);
}

extern "C" OZL_API void OZL_CALL ozlDeleteConvKernel(OzlConvKernel* kernel) {
    destroy({"ozlDeleteConvKernel", kModule}, kernel, 267, 268);
}

extern "C" OZL_API void OZL_CALL ozlDeleteConvKernelFP(OzlConvKernelFP* kernel) {
    destroy({"ozlDeleteConvKernelFP", kModule}, kernel, 275, 276);
}
