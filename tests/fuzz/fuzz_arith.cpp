// Pixel-wise arithmetic, logic, shifts and comparisons: images and constants drawn from the argument types.
#include "fuzz/fuzz.hpp"

namespace {

const ozl::fuzz::Registrar calls({
    OZL_FUZZ(ozlAdd), OZL_FUZZ(ozlSubtract), OZL_FUZZ(ozlMultiply), OZL_FUZZ(ozlMultiplyScale), OZL_FUZZ(ozlAddS),
    OZL_FUZZ(ozlSubtractS), OZL_FUZZ(ozlMultiplyS), OZL_FUZZ(ozlMultiplySScale), OZL_FUZZ(ozlAddSFP),
    OZL_FUZZ(ozlSubtractSFP), OZL_FUZZ(ozlMultiplySFP), OZL_FUZZ(ozlAbs), OZL_FUZZ(ozlSquare), OZL_FUZZ(ozlAnd),
    OZL_FUZZ(ozlOr), OZL_FUZZ(ozlXor), OZL_FUZZ(ozlNot), OZL_FUZZ(ozlAndS), OZL_FUZZ(ozlOrS), OZL_FUZZ(ozlXorS),
    OZL_FUZZ(ozlLShiftS), OZL_FUZZ(ozlRShiftS), OZL_FUZZ(ozlLess), OZL_FUZZ(ozlGreater), OZL_FUZZ(ozlEqual),
    OZL_FUZZ(ozlLessS), OZL_FUZZ(ozlGreaterS), OZL_FUZZ(ozlEqualS), OZL_FUZZ(ozlLessSFP), OZL_FUZZ(ozlGreaterSFP),
    OZL_FUZZ(ozlEqualSFP), OZL_FUZZ(ozlEqualFPEps), OZL_FUZZ(ozlEqualSFPEps),
    {"ozlMinMaxFP", [](ozl::fuzz::Case& c) {
         OzlImage* image = c.pick();
         float lo = 0, hi = 0;
         ozlMinMaxFP(image, &lo, c.rng().percent(90) ? (c.note("&min, &max"), &hi) : (c.note("NULL max"), nullptr));
     }},
});

}  // namespace
