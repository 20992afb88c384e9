#include "arith/operation.hpp"

#include "arith/pixelwise.hpp"
#include "image/region.hpp"

namespace ozl::arith {

namespace {

// Source lines reported by the shared checks.
enum Line {
    kLineHeader = 101,
    kLineDepth = 110,
    kLineOrder = 120,
    kLineChannels = 130,
    kLineMemory = 140,
    kLineDepth32F = 150,
    kLineTile = 160,
};

struct Messages {
    const char* depthA;
    const char* depthB;
    const char* orderA;
    const char* orderB;
    const char* channelsA;
    const char* channelsB;
    const char* tile[3];
};

constexpr Messages kTwoImages = {
    "(srcImageA->depth != dstImage->depth)",
    "(srcImageB->depth != dstImage->depth)",
    "(srcImageA->dataOrder != dstImage->dataOrder)",
    "(srcImageB->dataOrder != dstImage->dataOrder)",
    "(nChSrcA != nChDst)",
    "(nChSrcB != nChDst)",
    {"(srcImageA->tileInfo->tileData == ((void*)(0)))",
     "(srcImageB->tileInfo->tileData == ((void*)(0)))",
     "(dstImage->tileInfo->tileData == ((void*)(0)))"},
};

constexpr Messages kOneImage = {
    "(srcImage->depth != dstImage->depth)",
    nullptr,
    "(srcImage->dataOrder != dstImage->dataOrder)",
    nullptr,
    "(nChSrc != nChDst)",
    nullptr,
    {"(srcImage->tileInfo->tileData == ((void*)(0)))", nullptr,
     "(dstImage->tileInfo->tileData == ((void*)(0)))"},
};

// The constant as the kernels of `depth` read it: its low bits per value, and
// for 1-bit images its lowest bit in every bit of a byte.
OpArgs argsForDepth(OpArgs args, uint32_t depth) {
    if (depth == OZL_DEPTH_1U) args.value = (args.value & 1) ? -1 : 0;
    return args;
}

// Whether the operation combines two images (else an image and a constant).
// Decided by the operation, not by srcB, so that a NULL second source is
// caught by the header check.
bool takesTwoImages(Op op) {
    switch (op) {
        case Op::Add: case Op::Sub: case Op::Mul: case Op::MulScale:
        case Op::And: case Op::Or: case Op::Xor: case Op::AndNot:
            return true;
        default:
            return false;
    }
}

}  // namespace

bool fail(const Caller& caller, OzlStatus status, const char* message, int line) {
    ozlError(status, caller.function, message, caller.module, line);
    return false;
}

bool headersValid(const Caller& caller, std::initializer_list<const OzlImage*> images, int line) {
    for (const OzlImage* image : images)
        if (ozlCheckImageHeader(image) != OZL_StsOk)
            return fail(caller, ozlGetErrStatus(), "Incorrect Image", line);
    return true;
}

void runOperation(const Caller& caller, OzlImage* srcA, OzlImage* srcB, OzlImage* dst,
                  const OperationSpec& spec) {
    const bool twoImages = takesTwoImages(spec.op);
    const Messages& msg = twoImages ? kTwoImages : kOneImage;
    if (twoImages ? !headersValid(caller, {srcA, srcB, dst}, kLineHeader)
             : !headersValid(caller, {srcA, dst}, kLineHeader))
        return;
    if (srcA->depth != dst->depth) {
        fail(caller, OZL_StsBadArg, msg.depthA, kLineDepth);
        return;
    }
    if (srcB && dst->depth != srcB->depth) {
        fail(caller, OZL_StsBadArg, msg.depthB, kLineDepth + 1);
        return;
    }
    if (spec.checkDataOrder && dst->depth != OZL_DEPTH_1U) {
        if (srcA->dataOrder != dst->dataOrder) {
            fail(caller, OZL_StsBadArg, msg.orderA, kLineOrder);
            return;
        }
        if (srcB && srcB->dataOrder != dst->dataOrder) {
            fail(caller, OZL_StsBadArg, msg.orderB, kLineOrder + 1);
            return;
        }
    }
    const int nChDst = image::effectiveChannels(dst);
    if (image::effectiveChannels(srcA) != nChDst) {
        fail(caller, OZL_StsBadArg, msg.channelsA, kLineChannels);
        return;
    }
    if (srcB && image::effectiveChannels(srcB) != nChDst) {
        fail(caller, OZL_StsBadArg, msg.channelsB, kLineChannels + 1);
        return;
    }

    const PixelOperands operands{srcA, srcB, dst};
    image::CombinedMask mask = combineOperandMasks(operands);
    if (mask.flag == image::CombinedMask::Empty) return;
    if (mask.flag == image::CombinedMask::NoMemory) {
        fail(caller, OZL_StsNoMem, "Out of memory", kLineMemory);
        return;
    }
    if (spec.bitwise && dst->depth == OZL_DEPTH_32F) {
        fail(caller, OZL_StsBadArg, "This function does not support depth 32F", kLineDepth32F);
        image::releaseMask(mask);
        return;
    }

    PixelKernel kernel;
    kernel.op = spec.op;
    kernel.elem = spec.bitwise ? bitwiseElem(dst->depth) : arithElem(dst->depth);
    // Right shifts keep the sign of signed depths.
    if (spec.op == Op::RShift) kernel.elem = arithElem(dst->depth);
    kernel.args = argsForDepth(spec.args, dst->depth);
    const int failed = runPixelwise(operands, mask.image, kernel);
    if (failed != image::kWalkDone) fail(caller, OZL_StsBadArg, msg.tile[failed], kLineTile + failed);
    image::releaseMask(mask);
}

}  // namespace ozl::arith
