// Frequency transforms and spectrum products: mostly a legal direction and
// scaling (or packing), now and then any value.
#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

template <void (*F)(OzlImage*, OzlImage*, int)>
void transform(Case& c) {
    const auto [s, d] = c.picks<2>();
    const int scaling = c.rng().of({0, 4, 8, 12});
    F(s, d, c.rng().percent(15) ? c.anyInt() : c.small(1, 2) | scaling);
}

const ozl::fuzz::Registrar calls("transform", {
    {"ozlRealFft2D", transform<ozlRealFft2D>}, {"ozlCcsFft2D", transform<ozlCcsFft2D>},
    {"ozlDCT2D", transform<ozlDCT2D>},
    {"ozlMpyRCPack2D", [](Case& c) {
         const auto [a, b, d] = c.picks<3>();
         ozlMpyRCPack2D(a, b, d, c.mostly(0, 1, 85));
     }},
});

}  // namespace
