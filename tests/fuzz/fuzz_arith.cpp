// Pixel-wise arithmetic, logic, shifts and comparisons: images and constants drawn from the argument types.
#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::call;

const ozl::fuzz::Registrar calls("arith", {
    {"ozlAdd", call<ozlAdd>}, {"ozlSubtract", call<ozlSubtract>}, {"ozlMultiply", call<ozlMultiply>},
    {"ozlMultiplyScale", call<ozlMultiplyScale>}, {"ozlAddS", call<ozlAddS>},
    {"ozlSubtractS", call<ozlSubtractS>}, {"ozlMultiplyS", call<ozlMultiplyS>},
    {"ozlMultiplySScale", call<ozlMultiplySScale>}, {"ozlAddSFP", call<ozlAddSFP>},
    {"ozlSubtractSFP", call<ozlSubtractSFP>}, {"ozlMultiplySFP", call<ozlMultiplySFP>},
    {"ozlAbs", call<ozlAbs>}, {"ozlSquare", call<ozlSquare>},
    {"ozlAnd", call<ozlAnd>}, {"ozlOr", call<ozlOr>}, {"ozlXor", call<ozlXor>}, {"ozlNot", call<ozlNot>},
    {"ozlAndS", call<ozlAndS>}, {"ozlOrS", call<ozlOrS>}, {"ozlXorS", call<ozlXorS>},
    {"ozlLShiftS", call<ozlLShiftS>}, {"ozlRShiftS", call<ozlRShiftS>},
    {"ozlLess", call<ozlLess>}, {"ozlGreater", call<ozlGreater>}, {"ozlEqual", call<ozlEqual>},
    {"ozlLessS", call<ozlLessS>}, {"ozlGreaterS", call<ozlGreaterS>}, {"ozlEqualS", call<ozlEqualS>},
    {"ozlLessSFP", call<ozlLessSFP>}, {"ozlGreaterSFP", call<ozlGreaterSFP>},
    {"ozlEqualSFP", call<ozlEqualSFP>}, {"ozlEqualFPEps", call<ozlEqualFPEps>},
    {"ozlEqualSFPEps", call<ozlEqualSFPEps>},
    {"ozlMinMaxFP", [](ozl::fuzz::Case& c) {
         OzlImage* image = c.pick();
         float lo = 0, hi = 0;
         const bool both = c.rng().percent(90);
         c.note(both ? "&min, &max" : "NULL max");
         ozlMinMaxFP(image, &lo, both ? &hi : nullptr);
     }},
});

}  // namespace
