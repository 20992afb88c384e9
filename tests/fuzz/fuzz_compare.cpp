// Comparisons into 1-bit results and the float range.
#include <type_traits>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

template <OzlStatus (*F)(OzlImage*, OzlImage*, OzlImage*)>
void twoImages(Case& c) {
    const auto [a, b, res] = c.picks<3>();
    F(a, b, res);
}

// The image and the result are picked before the constant, in the order the
// trace lists them.
template <class T, OzlStatus (*F)(OzlImage*, T, OzlImage*)>
void withConstant(Case& c) {
    const auto [img, res] = c.picks<2>();
    if constexpr (std::is_integral_v<T>)
        F(img, c.anyInt(), res);
    else
        F(img, c.anyFloat(), res);
}

const ozl::fuzz::Registrar calls("compare", {
    {"ozlLess", twoImages<ozlLess>},
    {"ozlGreater", twoImages<ozlGreater>},
    {"ozlEqual", twoImages<ozlEqual>},
    {"ozlLessS", withConstant<int, ozlLessS>},
    {"ozlGreaterS", withConstant<int, ozlGreaterS>},
    {"ozlEqualS", withConstant<int, ozlEqualS>},
    {"ozlLessSFP", withConstant<float, ozlLessSFP>},
    {"ozlGreaterSFP", withConstant<float, ozlGreaterSFP>},
    {"ozlEqualSFP", withConstant<float, ozlEqualSFP>},
    {"ozlEqualFPEps",
     [](Case& c) {
         const auto [a, b, res] = c.picks<3>();
         ozlEqualFPEps(a, b, res, c.anyFloat());
     }},
    {"ozlEqualSFPEps",
     [](Case& c) {
         const auto [img, res] = c.picks<2>();
         const float value = c.anyFloat();
         ozlEqualSFPEps(img, value, res, c.anyFloat());
     }},
    {"ozlMinMaxFP",
     [](Case& c) {
         OzlImage* image = c.pick();
         float lo = 0, hi = 0;
         const bool both = c.rng().percent(90);
         c.note(both ? "&min, &max" : "NULL max");
         ozlMinMaxFP(image, &lo, both ? &hi : nullptr);
     }},
});

}  // namespace
