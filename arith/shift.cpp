// Shifts by a constant: ozlLShiftS, ozlRShiftS.
#include "arith/operation.hpp"
#include "image/layout.hpp"

using namespace ozl::arith;

namespace {

// The cases both shifts settle before any header check: a NULL source, and a
// shift of 0 (a copy). Returns true when the call is done.
bool shiftSettled(const Caller& caller, OzlImage* src, OzlImage* dst, unsigned nShift) {
    if (!src) {
        fail(caller, OZL_StsBadArg, "srcImage==0", 40);
        return true;
    }
    if (nShift == 0) {
        ozlXorS(src, dst, 0);
        return true;
    }
    return false;
}

// Bits per value; 1 for 1-bit images.
unsigned valueBits(uint32_t depth) { return static_cast<unsigned>(ozl::image::depthBits(depth)); }

}  // namespace

extern "C" OZL_API void OZL_CALL ozlLShiftS(OzlImage* srcImage, OzlImage* dstImage,
                                             unsigned int nShift) {
    const Caller caller{"ozlLShiftS", "ozllshs"};
    if (shiftSettled(caller, srcImage, dstImage, nShift)) return;
    // Every bit shifted out (a negative count, seen unsigned, too): all zero.
    if (nShift >= valueBits(srcImage->depth)) {
        ozlAndS(srcImage, dstImage, 0);
        return;
    }
    runOperation(caller, srcImage, nullptr, dstImage,
                 bitwiseSpec(Op::LShift, {0, static_cast<int32_t>(nShift)}));
}

extern "C" OZL_API void OZL_CALL ozlRShiftS(OzlImage* srcImage, OzlImage* dstImage,
                                             unsigned int nShift) {
    const Caller caller{"ozlRShiftS", "ozlrshs"};
    if (shiftSettled(caller, srcImage, dstImage, nShift)) return;
    const unsigned bits = valueBits(srcImage->depth);
    if (nShift >= bits) {
        // Unsigned values become 0; signed ones 0 or -1 by their sign.
        if (!(srcImage->depth & OZL_DEPTH_SIGN)) {
            ozlAndS(srcImage, dstImage, 0);
            return;
        }
        nShift = bits - 1;
    }
    runOperation(caller, srcImage, nullptr, dstImage,
                 bitwiseSpec(Op::RShift, {0, static_cast<int32_t>(nShift)}));
}
