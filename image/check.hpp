// Header validation pieces shared by the check itself and by header creation.
#pragma once

#include "ozl.h"

namespace ozl::image {

// Status of an image used as another image's mask: -117 unless 1-bit, -26 when
// tiled, else the mask's own check status shifted by OZL_StsMaskBase (so a fault
// in a mask's mask is shifted twice). 0 for a usable mask.
OzlStatus maskStatus(const OzlImage* mask);

}  // namespace ozl::image
