// Fills.
#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

const ozl::fuzz::Registrar calls("convert", {
    {"ozlSet", [](Case& c) { OzlImage* image = c.pick(); ozlSet(image, c.anyInt()); }},
    {"ozlSetFP", [](Case& c) { OzlImage* image = c.pick(); ozlSetFP(image, c.anyFloat()); }},
});

}  // namespace
