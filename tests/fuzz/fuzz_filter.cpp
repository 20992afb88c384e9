// Convolution kernels and the 2-D and separable convolutions: kernels of
// random sizes, anchors, weights and shifts (now and then an argument the
// checks must refuse, or a record altered behind the library's back), on
// random picks of the case's images.
#include <climits>
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

// A kernel's arguments: mostly small and valid, now and then not.
struct Shape {
    int nCols, nRows, anchorX, anchorY;
};

Shape randomShape(Case& c, int maxCols, int maxRows) {
    Shape s;
    s.nCols = static_cast<int>(c.rng().between(c.rng().percent(2) ? -1 : 1, maxCols));
    s.nRows = static_cast<int>(c.rng().between(c.rng().percent(2) ? -1 : 1, maxRows));
    const bool bad = c.rng().percent(4);
    s.anchorX = static_cast<int>(c.rng().between(bad ? -1 : 0, s.nCols > 1 ? s.nCols - (bad ? 0 : 1) : 0));
    s.anchorY = static_cast<int>(c.rng().between(bad ? -1 : 0, s.nRows > 1 ? s.nRows - (bad ? 0 : 1) : 0));
    return s;
}

// Weights biased to the edges of the classes of arithmetic.
int weight(Case& c) {
    if (c.rng().percent(70)) return static_cast<int>(c.rng().between(-8, 8));
    return c.anyInt();
}

OzlConvKernel* makeKernel(Case& c, int maxCols, int maxRows) {
    const Shape s = randomShape(c, maxCols, maxRows);
    std::vector<int> w(static_cast<size_t>(s.nCols > 0 && s.nRows > 0 ? s.nCols * s.nRows : 1));
    for (int& v : w) v = weight(c);
    const int shift = c.rng().percent(80) ? static_cast<int>(c.rng().between(0, 12)) : c.anyInt();
    if (c.rng().percent(20)) {
        std::vector<signed char> bytes(w.begin(), w.end());
        return ozlCreateConvKernelChar(s.nCols, s.nRows, s.anchorX, s.anchorY,
                                       c.rng().percent(2) ? nullptr : bytes.data(), shift);
    }
    return ozlCreateConvKernel(s.nCols, s.nRows, s.anchorX, s.anchorY,
                               c.rng().percent(2) ? nullptr : w.data(), shift);
}

OzlConvKernelFP* makeKernelFP(Case& c, int maxCols, int maxRows) {
    const Shape s = randomShape(c, maxCols, maxRows);
    std::vector<float> w(static_cast<size_t>(s.nCols > 0 && s.nRows > 0 ? s.nCols * s.nRows : 1));
    for (float& v : w) v = c.rng().percent(70) ? static_cast<float>(c.rng().between(-8, 8)) / 4 : c.anyFloat();
    return ozlCreateConvKernelFP(s.nCols, s.nRows, s.anchorX, s.anchorY,
                                 c.rng().percent(2) ? nullptr : w.data());
}

// Alters a record's shape for one call (the checks must catch it), then
// puts it back so that it can be deleted.
template <class Record>
struct Tamper {
    Record* k;
    Record saved{};
    Tamper(Case& c, Record* kernel) : k(kernel) {
        if (!k) return;
        saved = *k;
        if (c.rng().percent(5)) k->anchorX = static_cast<int>(c.rng().between(-2, k->nCols + 1));
        if (c.rng().percent(5)) k->nRows = static_cast<int>(c.rng().between(-1, k->nRows));
    }
    ~Tamper() {
        if (k) *k = saved;
    }
};

template <class Record, class Make, class Run, class Delete>
void convolve2d(Case& c, Make make, Run run, Delete destroy) {
    const auto [s, d] = c.picks<2>();
    const int n = c.rng().percent(80) ? static_cast<int>(c.rng().between(1, 3)) : static_cast<int>(c.rng().between(-1, 12));
    std::vector<Record*> kernels(static_cast<size_t>(n > 0 ? n : 1), nullptr);
    for (Record*& k : kernels) k = make(c, 7, 7);
    {
        Tamper<Record> t(c, kernels[0]);
        const int method = c.rng().percent(90) ? static_cast<int>(c.rng().between(0, 4)) : c.anyInt();
        run(s, c.rng().percent(20) ? s : d, c.rng().percent(2) ? nullptr : kernels.data(), n, method);
    }
    for (Record* k : kernels)
        if (k) destroy(k);
}

template <class Record, class Make, class Run, class Delete>
void separable(Case& c, Make make, Run run, Delete destroy) {
    const auto [s, d] = c.picks<2>();
    Record* x = c.rng().percent(85) ? make(c, 9, 1) : make(c, 1, 9);
    Record* y = c.rng().percent(85) ? make(c, 1, 9) : make(c, 9, 1);
    {
        Tamper<Record> tx(c, x);
        run(s, c.rng().percent(5) ? s : d, c.rng().percent(10) ? nullptr : x, c.rng().percent(10) ? nullptr : y);
    }
    if (x) destroy(x);
    if (y) destroy(y);
}

// A query with the caller's buffer sized for the kernel, now and then NULL
// out pointers.
template <class Record, class Value, class Query>
void query(Case& c, Record* k, Query q) {
    if (!k) return;
    std::vector<Value> buffer(static_cast<size_t>(k->nCols) * static_cast<size_t>(k->nRows));
    Value* values = buffer.data();
    int a = 0, b = 0, x = 0, y = 0;
    auto maybe = [&](auto* p) { return c.rng().percent(10) ? nullptr : p; };
    q(k, maybe(&a), maybe(&b), maybe(&x), maybe(&y), maybe(&values));
}

const ozl::fuzz::Registrar calls("filter", {
    {"ozlConvolve2D",
     [](Case& c) {
         convolve2d<OzlConvKernel>(c, makeKernel, ozlConvolve2D, ozlDeleteConvKernel);
     }},
    {"ozlConvolve2DFP",
     [](Case& c) {
         convolve2d<OzlConvKernelFP>(c, makeKernelFP, ozlConvolve2DFP, ozlDeleteConvKernelFP);
     }},
    {"ozlConvolveSep2D",
     [](Case& c) { separable<OzlConvKernel>(c, makeKernel, ozlConvolveSep2D, ozlDeleteConvKernel); }},
    {"ozlConvolveSep2DFP",
     [](Case& c) {
         separable<OzlConvKernelFP>(c, makeKernelFP, ozlConvolveSep2DFP, ozlDeleteConvKernelFP);
     }},
    {"ozlGetConvKernel",
     [](Case& c) {
         OzlConvKernel* k = makeKernel(c, 6, 6);
         int shift = 0;
         int* const shiftOut = c.rng().percent(10) ? nullptr : &shift;
         query<OzlConvKernel, int>(c, k, [&](auto... a) { ozlGetConvKernel(a..., shiftOut); });
         if (k) ozlDeleteConvKernel(k);
     }},
    {"ozlGetConvKernelChar",
     [](Case& c) {
         OzlConvKernel* k = makeKernel(c, 6, 6);
         int shift = 0;
         query<OzlConvKernel, signed char>(c, k, [&](auto... a) { ozlGetConvKernelChar(a..., &shift); });
         if (k) ozlDeleteConvKernel(k);
     }},
    {"ozlGetConvKernelFP",
     [](Case& c) {
         OzlConvKernelFP* k = makeKernelFP(c, 6, 6);
         query<OzlConvKernelFP, float>(c, k, [](auto... a) { ozlGetConvKernelFP(a...); });
         if (k) ozlDeleteConvKernelFP(k);
     }},
    {"ozlDeleteConvKernel",
     [](Case& c) {
         OzlConvKernel* k = c.rng().percent(90) ? makeKernel(c, 4, 4) : nullptr;
         ozlDeleteConvKernel(k);  // NULL is reported
     }},
    {"ozlDeleteConvKernelFP",
     [](Case& c) {
         OzlConvKernelFP* k = c.rng().percent(90) ? makeKernelFP(c, 4, 4) : nullptr;
         ozlDeleteConvKernelFP(k);
     }},
    {"ozlCreateConvKernel", [](Case& c) { ozlDeleteConvKernel(makeKernel(c, 12, 12)); }},
    {"ozlCreateConvKernelChar",
     [](Case& c) {
         const Shape s = randomShape(c, 5, 5);
         std::vector<signed char> w(36, static_cast<signed char>(c.anyInt()));
         OzlConvKernel* k = ozlCreateConvKernelChar(s.nCols, s.nRows, s.anchorX, s.anchorY, w.data(), c.anyInt());
         if (k) ozlDeleteConvKernel(k);
     }},
    {"ozlCreateConvKernelFP", [](Case& c) { ozlDeleteConvKernelFP(makeKernelFP(c, 12, 12)); }},
});

}  // namespace
