// The rank, morphological and fixed filters: windows of random sizes and
// anchors (now and then refused), structuring elements (empty, without values,
// anchored outside), iteration counts, filter codes; in place now and then.
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

template <void (*F)(OzlImage*, OzlImage*, int, int, int, int), int maxCols, int maxRows>
void windowed(Case& c) {
    const auto [s, d] = c.picks<2>();
    const ozl::fuzz::Window w = c.window(maxCols, maxRows);
    F(s, c.rng().percent(20) ? s : d, w.nCols, w.nRows, w.anchorX, w.anchorY);
}

template <void (*F)(OzlImage*, OzlImage*, const OzlStructElement*, int)>
void morphology(Case& c) {
    const auto [s, d] = c.picks<2>();
    const ozl::fuzz::Window w = c.window(6, 6);
    std::vector<uint8_t> values(w.cells());
    for (uint8_t& v : values) v = c.rng().percent(30) ? 0 : static_cast<uint8_t>(c.rng().between(1, 255));
    const OzlStructElement e{w.nCols, w.nRows, w.anchorX, w.anchorY,
                             c.rng().percent(3) ? nullptr : values.data()};
    const int iterations = c.rng().percent(90) ? c.small(1, 3) : c.small(-2, 0);
    F(s, c.rng().percent(20) ? s : d, c.rng().percent(30) ? nullptr : &e, iterations);
}

const ozl::fuzz::Registrar calls("rank", {
    {"ozlMinFilter", windowed<ozlMinFilter, 12, 8>}, {"ozlMaxFilter", windowed<ozlMaxFilter, 40, 5>},
    {"ozlBlur", windowed<ozlBlur, 20, 20>}, {"ozlMedianFilter", windowed<ozlMedianFilter, 9, 9>},
    {"ozlColorMedianFilter", windowed<ozlColorMedianFilter, 4, 4>},
    {"ozlErode", morphology<ozlErode>}, {"ozlDilate", morphology<ozlDilate>},
    {"ozlOpen", morphology<ozlOpen>}, {"ozlClose", morphology<ozlClose>},
    {"ozlFixedFilter", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         ozlFixedFilter(s, c.rng().percent(20) ? s : d, c.mostly(0, 10, 90));
     }},
});

}  // namespace
