// Fourier transforms of real images: ozlRealFft2D (packed layout) and
// ozlCcsFft2D (complex-conjugate-symmetric layout).
#include "transform/entry.hpp"

using ozl::transform::CheckLines;
using ozl::transform::Layout;

extern "C" OZL_API void OZL_CALL ozlRealFft2D(OzlImage* srcImage, OzlImage* dstImage, int flags) {
    static constexpr CheckLines kLines{58, 61, 64, 67, 69, 72, 74, 77, 80, 97, 99, 101};
    ozl::transform::runTransform({"ozlRealFft2D", "ozlfft"}, srcImage, dstImage, flags, true,
                                 Layout::Packed, kLines);
}

extern "C" OZL_API void OZL_CALL ozlCcsFft2D(OzlImage* srcImage, OzlImage* dstImage, int flags) {
    static constexpr CheckLines kLines{158, 161, 164, 167, 169, 172, 174, 177, 180, 197, 199, 201};
    ozl::transform::runTransform({"ozlCcsFft2D", "ozlfft"}, srcImage, dstImage, flags, true,
                                 Layout::Ccs, kLines);
}
