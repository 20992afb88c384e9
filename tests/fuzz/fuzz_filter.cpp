// Neighbourhood operations. Convolution kernels of random sizes, anchors, weights and shifts (now and then an
// argument the checks must refuse, or a record altered behind the library's back); rank, morphological and
// fixed filters with windows of random sizes and anchors, structuring elements (empty, without values,
// anchored outside), iteration counts and filter codes. In place now and then.
#include <algorithm>
#include <type_traits>
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;
using ozl::fuzz::Window;

// The integer kernel (from ints or from bytes) or the float one, behind one set of names each.
struct Int {
    using Record = OzlConvKernel;
    static Record* make(Case& c, int maxCols, int maxRows) {
        const Window s = c.window(maxCols, maxRows);
        std::vector<int> w(s.cells());
        for (int& v : w) v = c.mostly(-8, 8, 70);
        std::vector<signed char> bytes(w.begin(), w.end());
        const int shift = c.mostly(0, 12, 80);
        const bool none = c.rng().percent(2);  // NULL weights, refused
        if (c.rng().percent(20))
            return ozlCreateConvKernelChar(s.nCols, s.nRows, s.anchorX, s.anchorY, none ? nullptr : bytes.data(), shift);
        return ozlCreateConvKernel(s.nCols, s.nRows, s.anchorX, s.anchorY, none ? nullptr : w.data(), shift);
    }
    static constexpr auto destroy = ozlDeleteConvKernel;
    static constexpr auto convolve = ozlConvolve2D;
    static constexpr auto separable = ozlConvolveSep2D;
};

struct Real {
    using Record = OzlConvKernelFP;
    static Record* make(Case& c, int maxCols, int maxRows) {
        const Window s = c.window(maxCols, maxRows);
        std::vector<float> w(s.cells());
        for (float& v : w) v = c.rng().percent(70) ? float(c.rng().between(-8, 8)) / 4 : c.anyFloat();
        return ozlCreateConvKernelFP(s.nCols, s.nRows, s.anchorX, s.anchorY, c.rng().percent(2) ? nullptr : w.data());
    }
    static constexpr auto destroy = ozlDeleteConvKernelFP;
    static constexpr auto convolve = ozlConvolve2DFP;
    static constexpr auto separable = ozlConvolveSep2DFP;
};

// Runs `run` with the record's shape altered now and then (the checks must catch it), then puts it back and
// deletes the kernels.
template <class K, class Run>
void tampered(Case& c, const std::vector<typename K::Record*>& kernels, Run run) {
    typename K::Record *k = kernels[0], saved = k ? *k : typename K::Record{};
    if (k && c.rng().percent(5)) k->anchorX = c.rng().between(-2, k->nCols + 1);
    if (k && c.rng().percent(5)) k->nRows = c.rng().between(-1, k->nRows);
    run();
    if (k) *k = saved;
    for (auto* kernel : kernels)
        if (kernel) K::destroy(kernel);
}

template <class K>
void convolve2d(Case& c) {
    const auto [s, d] = c.picks<2>();
    const int n = c.rng().percent(80) ? c.small(1, 3) : c.small(-1, 12), method = c.mostly(0, 4, 90);
    std::vector<typename K::Record*> kernels(size_t(std::max(n, 1)));
    for (auto*& k : kernels) k = K::make(c, 7, 7);
    tampered<K>(c, kernels, [&] {
        K::convolve(s, c.rng().percent(20) ? s : d, c.rng().percent(2) ? nullptr : kernels.data(), n, method);
    });
}

template <class K>
void separable(Case& c) {
    const auto [s, d] = c.picks<2>();
    std::vector<typename K::Record*> xy{c.rng().percent(85) ? K::make(c, 9, 1) : K::make(c, 1, 9)};
    xy.push_back(c.rng().percent(85) ? K::make(c, 1, 9) : K::make(c, 9, 1));
    tampered<K>(c, xy, [&] {
        K::separable(s, c.rng().percent(5) ? s : d, c.rng().percent(10) ? nullptr : xy[0],
                     c.rng().percent(10) ? nullptr : xy[1]);
    });
}

// A kernel made, queried into buffers sized for it (now and then NULL out pointers), deleted.
template <class K, class Value, auto F>
void query(Case& c) {
    auto* k = K::make(c, 6, 6);
    if (!k) return;
    std::vector<Value> buffer(size_t(k->nCols) * size_t(k->nRows));
    Value* values = buffer.data();
    int a = 0, b = 0, x = 0, y = 0, shift = 0;
    auto maybe = [&](auto* p) { return c.rng().percent(10) ? nullptr : p; };
    if constexpr (std::is_same_v<K, Int>) F(k, maybe(&a), maybe(&b), maybe(&x), maybe(&y), maybe(&values), maybe(&shift));
    else F(k, maybe(&a), maybe(&b), maybe(&x), maybe(&y), maybe(&values));
    K::destroy(k);
}

// A kernel made and deleted; now and then NULL deleted, which is reported.
template <class K>
void made(Case& c) { K::destroy(c.rng().percent(90) ? K::make(c, 12, 12) : nullptr); }

template <void (*F)(OzlImage*, OzlImage*, int, int, int, int), int maxCols, int maxRows>
void windowed(Case& c) {
    const auto [s, d] = c.picks<2>();
    const Window w = c.window(maxCols, maxRows);
    F(s, c.rng().percent(20) ? s : d, w.nCols, w.nRows, w.anchorX, w.anchorY);
}

template <void (*F)(OzlImage*, OzlImage*, const OzlStructElement*, int)>
void morphology(Case& c) {
    const auto [s, d] = c.picks<2>();
    const Window w = c.window(6, 6);
    std::vector<uint8_t> values(w.cells());
    for (uint8_t& v : values) v = c.rng().percent(30) ? 0 : uint8_t(c.rng().between(1, 255));
    const OzlStructElement e{w.nCols, w.nRows, w.anchorX, w.anchorY, c.rng().percent(3) ? nullptr : values.data()};
    const int iterations = c.rng().percent(90) ? c.small(1, 3) : c.small(-2, 0);
    F(s, c.rng().percent(20) ? s : d, c.rng().percent(30) ? nullptr : &e, iterations);
}

const ozl::fuzz::Registrar calls({
    {"ozlConvolve2D", convolve2d<Int>}, {"ozlConvolve2DFP", convolve2d<Real>}, {"ozlConvolveSep2D", separable<Int>},
    {"ozlConvolveSep2DFP", separable<Real>}, {"ozlGetConvKernel", query<Int, int, ozlGetConvKernel>},
    {"ozlGetConvKernelChar", query<Int, signed char, ozlGetConvKernelChar>},
    {"ozlGetConvKernelFP", query<Real, float, ozlGetConvKernelFP>}, {"ozlCreateConvKernel", made<Int>},
    {"ozlDeleteConvKernel", made<Int>}, {"ozlCreateConvKernelFP", made<Real>}, {"ozlDeleteConvKernelFP", made<Real>},
    {"ozlCreateConvKernelChar", made<Int>}, {"ozlMinFilter", windowed<ozlMinFilter, 12, 8>},
    {"ozlMaxFilter", windowed<ozlMaxFilter, 40, 5>}, {"ozlBlur", windowed<ozlBlur, 20, 20>},
    {"ozlMedianFilter", windowed<ozlMedianFilter, 9, 9>}, {"ozlColorMedianFilter", windowed<ozlColorMedianFilter, 4, 4>},
    {"ozlErode", morphology<ozlErode>}, {"ozlDilate", morphology<ozlDilate>}, {"ozlOpen", morphology<ozlOpen>},
    {"ozlClose", morphology<ozlClose>}, {"ozlFixedFilter", ozl::fuzz::ranged<ozlFixedFilter, 0, 10>},
});

}  // namespace
