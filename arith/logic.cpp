// Bitwise operations: ozlAnd, ozlOr, ozlXor, ozlNot, ozlAndS, ozlOrS, ozlXorS.
#include "arith/operation.hpp"

using namespace ozl::arith;

extern "C" OZL_API void OZL_CALL ozlAnd(OzlImage* srcImageA, OzlImage* srcImageB,
                                         OzlImage* dstImage) {
    runOperation({"ozlAnd", "ozland"}, srcImageA, srcImageB, dstImage, bitwiseSpec(Op::And));
}

extern "C" OZL_API void OZL_CALL ozlOr(OzlImage* srcImageA, OzlImage* srcImageB,
                                        OzlImage* dstImage) {
    runOperation({"ozlOr", "ozlor"}, srcImageA, srcImageB, dstImage, bitwiseSpec(Op::Or));
}

extern "C" OZL_API void OZL_CALL ozlXor(OzlImage* srcImageA, OzlImage* srcImageB,
                                         OzlImage* dstImage) {
    runOperation({"ozlXor", "ozlxor"}, srcImageA, srcImageB, dstImage, bitwiseSpec(Op::Xor));
}

extern "C" OZL_API void OZL_CALL ozlAndS(OzlImage* srcImage, OzlImage* dstImage, int value) {
    runOperation({"ozlAndS", "ozlands"}, srcImage, nullptr, dstImage,
                 bitwiseSpec(Op::AndS, {value}));
}

extern "C" OZL_API void OZL_CALL ozlOrS(OzlImage* srcImage, OzlImage* dstImage, int value) {
    runOperation({"ozlOrS", "ozlors"}, srcImage, nullptr, dstImage,
                 bitwiseSpec(Op::OrS, {value}));
}

extern "C" OZL_API void OZL_CALL ozlXorS(OzlImage* srcImage, OzlImage* dstImage, int value) {
    runOperation({"ozlXorS", "ozlxors"}, srcImage, nullptr, dstImage,
                 bitwiseSpec(Op::XorS, {value}));
}

// The complement is XOR with all ones; failures report under ozlXorS.
extern "C" OZL_API void OZL_CALL ozlNot(OzlImage* srcImage, OzlImage* dstImage) {
    ozlXorS(srcImage, dstImage, -1);
}
