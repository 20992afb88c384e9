// The choice between the colour twist's two paths and the kernel context of
// either (see twist_ref.hpp for what both compute).
#pragma once

#include "color/kernels.hpp"
#include "ozl.h"

namespace ozl::color {

struct TwistPlan {
    bool fixed = false;  // the fixed-point path, else the general one
    TwistArgs args;      // both paths' constants
};

// The plan for a record, the call's offset, the depth (8U, or 16U) and the two
// images' channel counts.
TwistPlan planTwist(const OzlColorTwist& twist, int offset, bool is16, int srcChannels,
                    int dstChannels);

}  // namespace ozl::color
