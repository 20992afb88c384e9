// Pixel-wise arithmetic, logic and shifts.
#include <type_traits>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

template <void (*F)(OzlImage*, OzlImage*, OzlImage*)>
void twoImages(Case& c) {
    const auto [a, b, d] = c.picks<3>();
    F(a, b, d);
}

template <class T, void (*F)(OzlImage*, OzlImage*, T)>
void withConstant(Case& c) {
    const auto [s, d] = c.picks<2>();
    if constexpr (std::is_same_v<T, int>)
        F(s, d, c.anyInt());
    else
        F(s, d, c.anyShift());
}

const ozl::fuzz::Registrar calls("arith", {
    {"ozlAdd", twoImages<ozlAdd>},
    {"ozlSubtract", twoImages<ozlSubtract>},
    {"ozlMultiply", twoImages<ozlMultiply>},
    {"ozlMultiplyScale", twoImages<ozlMultiplyScale>},
    {"ozlAnd", twoImages<ozlAnd>},
    {"ozlOr", twoImages<ozlOr>},
    {"ozlXor", twoImages<ozlXor>},
    {"ozlNot", [](Case& c) { const auto [s, d] = c.picks<2>(); ozlNot(s, d); }},
    {"ozlAndS", withConstant<int, ozlAndS>},
    {"ozlOrS", withConstant<int, ozlOrS>},
    {"ozlXorS", withConstant<int, ozlXorS>},
    {"ozlLShiftS", withConstant<unsigned, ozlLShiftS>},
    {"ozlRShiftS", withConstant<unsigned, ozlRShiftS>},
});

}  // namespace
