// The orthonormal 2-D cosine transform: ozlDCT2D.
#include "transform/entry.hpp"

extern "C" OZL_API void OZL_CALL ozlDCT2D(OzlImage* srcImage, OzlImage* dstImage, int flags) {
    static constexpr ozl::transform::CheckLines kLines{46, 49, 52, 55, 57, 60,
                                                       62, 65, 68, 85, 87, 89};
    ozl::transform::runTransform({"ozlDCT2D", "ozldct"}, srcImage, dstImage, flags, false,
                                 ozl::transform::Layout::Packed, kLines);
}
