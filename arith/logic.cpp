// Bitwise operations: ozlAnd, ozlOr, ozlXor, ozlNot, ozlAndS, ozlOrS, ozlXorS.
#include "arith/operation.hpp"

using namespace ozl::arith;

extern "C" OZL_API void OZL_CALL ozlAnd(OzlImage* srcImageA, OzlImage* srcImageB,
                                         OzlImage* dstImage) {
    runOperation({"ozlAnd", "ozland"}, srcImageA, srcImageB, dstImage, {Op::And, true, true, {}});
}

extern "C" OZL_API void OZL_CALL ozlOr(OzlImage* srcImageA, OzlImage* srcImageB,
                                        OzlImage* dstImage) {
    runOperation({"ozlOr", "ozlor"}, srcImageA, srcImageB, dstImage, {Op::Or, true, true, {}});
}

extern "C" OZL_API void OZL_CALL ozlXor(OzlImage* srcImageA, OzlImage* srcImageB,
                                         OzlImage* dstImage) {
    runOperation({"ozlXor", "ozlxor"}, srcImageA, srcImageB, dstImage, {Op::Xor, true, true, {}});
}

extern "C" OZL_API void OZL_CALL ozlAndS(OzlImage* srcImage, OzlImage* dstImage, int value) {
    runOperation({"ozlAndS", "ozlands"}, srcImage, nullptr, dstImage,
                 {Op::AndS, true, true, {value, 0}});
}

extern "C" OZL_API void OZL_CALL ozlOrS(OzlImage* srcImage, OzlImage* dstImage, int value) {
    runOperation({"ozlOrS", "ozlors"}, srcImage, nullptr, dstImage,
                 {Op::OrS, true, true, {value, 0}});
}

extern "C" OZL_API void OZL_CALL ozlXorS(OzlImage* srcImage, OzlImage* dstImage, int value) {
    runOperation({"ozlXorS", "ozlxors"}, srcImage, nullptr, dstImage,
                 {Op::XorS, true, true, {value, 0}});
}

// The complement is XOR with all ones; failures report under ozlXorS.
extern "C" OZL_API void OZL_CALL ozlNot(OzlImage* srcImage, OzlImage* dstImage) {
    ozlXorS(srcImage, dstImage, -1);
}
