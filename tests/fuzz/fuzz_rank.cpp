// The rank, morphological and fixed filters: windows of random sizes and
// anchors (now and then refused), structuring elements of random places
// (empty, without values, anchored outside), iteration counts, filter codes,
// on random picks of the case's images, in place now and then.
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

struct Window {
    int nCols, nRows, anchorX, anchorY;
};

Window randomWindow(Case& c, int maxCols, int maxRows) {
    Window w;
    w.nCols = static_cast<int>(c.rng().between(c.rng().percent(3) ? -1 : 1, maxCols));
    w.nRows = static_cast<int>(c.rng().between(c.rng().percent(3) ? -1 : 1, maxRows));
    const bool bad = c.rng().percent(4);
    w.anchorX = static_cast<int>(c.rng().between(bad ? -1 : 0, w.nCols > 1 ? w.nCols - (bad ? 0 : 1) : 0));
    w.anchorY = static_cast<int>(c.rng().between(bad ? -1 : 0, w.nRows > 1 ? w.nRows - (bad ? 0 : 1) : 0));
    return w;
}

using WindowFn = void (*)(OzlImage*, OzlImage*, int, int, int, int);

void windowed(Case& c, WindowFn fn, int maxCols, int maxRows) {
    const auto [s, d] = c.picks<2>();
    const Window w = randomWindow(c, maxCols, maxRows);
    fn(s, c.rng().percent(20) ? s : d, w.nCols, w.nRows, w.anchorX, w.anchorY);
}

using MorphFn = void (*)(OzlImage*, OzlImage*, const OzlStructElement*, int);

void morphology(Case& c, MorphFn fn) {
    const auto [s, d] = c.picks<2>();
    const Window w = randomWindow(c, 6, 6);
    std::vector<uint8_t> values(static_cast<size_t>(w.nCols > 0 && w.nRows > 0 ? w.nCols * w.nRows : 1));
    for (uint8_t& v : values) v = c.rng().percent(30) ? 0 : static_cast<uint8_t>(c.rng().between(1, 255));
    const OzlStructElement e{w.nCols, w.nRows, w.anchorX, w.anchorY, c.rng().percent(3) ? nullptr : values.data()};
    const int iterations = c.rng().percent(90) ? static_cast<int>(c.rng().between(1, 3)) : static_cast<int>(c.rng().between(-2, 0));
    fn(s, c.rng().percent(20) ? s : d, c.rng().percent(30) ? nullptr : &e, iterations);
}

const ozl::fuzz::Registrar calls("rank", {
    {"ozlMinFilter", [](Case& c) { windowed(c, ozlMinFilter, 12, 8); }},
    {"ozlMaxFilter", [](Case& c) { windowed(c, ozlMaxFilter, 40, 5); }},
    {"ozlBlur", [](Case& c) { windowed(c, ozlBlur, 20, 20); }},
    {"ozlMedianFilter", [](Case& c) { windowed(c, ozlMedianFilter, 9, 9); }},
    {"ozlColorMedianFilter", [](Case& c) { windowed(c, ozlColorMedianFilter, 4, 4); }},
    {"ozlErode", [](Case& c) { morphology(c, ozlErode); }},
    {"ozlDilate", [](Case& c) { morphology(c, ozlDilate); }},
    {"ozlOpen", [](Case& c) { morphology(c, ozlOpen); }},
    {"ozlClose", [](Case& c) { morphology(c, ozlClose); }},
    {"ozlFixedFilter",
     [](Case& c) {
         const auto [s, d] = c.picks<2>();
         const int filter = c.rng().percent(90) ? static_cast<int>(c.rng().between(0, 10)) : c.anyInt();
         ozlFixedFilter(s, c.rng().percent(20) ? s : d, filter);
     }},
});

}  // namespace
