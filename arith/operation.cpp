#include "arith/operation.hpp"

#include "core/pixelwise.hpp"
#include "image/mask.hpp"
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

// The tile-fetch message of a driver operand index.
const char* tileMessage(const Messages& msg, int operand) {
    return operand == core::kDstOperand ? msg.tile[2] : msg.tile[operand];
}

}  // namespace

void runOperation(const Caller& caller, OzlImage* srcA, OzlImage* srcB, OzlImage* dst,
                  const OperationSpec& spec) {
    // Decided by the operation, not by srcB, so that a NULL second source is
    // caught by the header check.
    const bool twoImages = arity(spec.op) == 2;
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

    runChecked(caller, srcA, srcB, dst, spec);
}

void runChecked(const Caller& caller, OzlImage* srcA, OzlImage* srcB, OzlImage* dst,
                const OperationSpec& spec) {
    const Messages& msg = arity(spec.op) == 2 ? kTwoImages : kOneImage;
    const OzlImage* masks[3] = {srcA->maskROI, srcB ? srcB->maskROI : nullptr, dst->maskROI};
    image::CombinedMask mask = image::combineMasks(masks, 3);
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

    // Bitwise kernels go by value width; right shifts keep the sign of signed depths.
    const bool byWidth = (spec.bitwise && spec.op != Op::RShift) || dst->depth == OZL_DEPTH_1U;
    const Elem elem = byWidth ? image::bitsElemOf(dst->depth) : image::elemOf(dst->depth);
    const OpArgs args = argsForDepth(spec.args, dst->depth);
    core::MapOperands operands;
    operands.src[0] = srcA;
    operands.src[1] = srcB;
    operands.dst = dst;
    core::MapKernel kernel;
    kernel.run = activeTable().run[static_cast<int>(spec.op)][static_cast<int>(elem)];
    kernel.context = &args;
    kernel.wholeBuffer = true;
    const int result = core::mapPixels(operands, mask.image, kernel);
    if (result >= 0) {
        const int index = result == core::kDstOperand ? 2 : result;
        fail(caller, OZL_StsBadArg, tileMessage(msg, result), kLineTile + index);
    }
    image::releaseMask(mask);
}

}  // namespace ozl::arith
