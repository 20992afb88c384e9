// Frequency transforms and spectrum products.
#include <string>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

// Mostly a legal direction and scaling, now and then any value.
int transformFlags(Case& c) {
    if (c.rng().percent(15)) return c.anyInt();
    const int flags = c.rng().of({1, 2}) | c.rng().of({0, 4, 8, 12});
    c.note(std::to_string(flags));
    return flags;
}

template <void (*F)(OzlImage*, OzlImage*, int)>
void transform(Case& c) {
    const auto [s, d] = c.picks<2>();
    F(s, d, transformFlags(c));
}

const ozl::fuzz::Registrar calls("transform", {
    {"ozlRealFft2D", transform<ozlRealFft2D>},
    {"ozlCcsFft2D", transform<ozlCcsFft2D>},
    {"ozlDCT2D", transform<ozlDCT2D>},
    {"ozlMpyRCPack2D", [](Case& c) {
         const auto [a, b, d] = c.picks<3>();
         int flags;
         if (c.rng().percent(15)) {
             flags = c.anyInt();
         } else {
             flags = c.rng().of({0, 1});
             c.note(std::to_string(flags));
         }
         ozlMpyRCPack2D(a, b, d, flags);
     }},
});

}  // namespace
