// The argument checks of the compositing module (the scaled products and the
// compositing operations): each image is checked in turn with messages that
// name it, its masks are gathered and ANDed, and the driver's outcome is
// reported in the module's words. Lines are counted from each operation's
// base: operands base + 10..12, lone alpha channels base + 20..21, depths
// base + 30.., channels base + 40, masks base + 50..53, the run base + 60..61.
#pragma once

#include "core/checks.hpp"
#include "image/mask.hpp"
#include "ozl.h"

namespace ozl::arith {

// The messages that name one image argument.
struct AlphaOperandText {
    const char* isNull;      // "dstImage==0"
    const char* badAlpha;    // alpha channel not the last one
    const char* alphaNoRoi;  // a lone alpha channel needs a ROI...
    const char* alphaCoi;    // ...selecting it
    const char* depth;       // depth differs from the destination's (not for dst)
    // Processed channels differ from the destination's: neither has a COI, only
    // dst has one, only this image has one. For alpha images: more than one.
    const char* channels[3];
};

extern const AlphaOperandText kDstImageText, kSrcImageText, kSrcImageAText, kSrcImageBText,
    kAlphaImageText, kAlphaImageAText, kAlphaImageBText, kAlphaImageDstText;

struct AlphaOperand {
    OzlImage* image;
    const AlphaOperandText* text;
};

// NULL, header check, alpha channel position (base + 10, 11, 12).
bool alphaOperandValid(const core::Caller& caller, const AlphaOperand& o, int base);
// A one-channel image whose only channel is alpha must select it (base + 20, 21).
bool loneAlphaValid(const core::Caller& caller, const AlphaOperand& o, int base);
// Depth equal to the destination's (base + 30 + index).
bool alphaDepthAgrees(const core::Caller& caller, const AlphaOperand& o, const OzlImage* dst,
                      int index, int base);
// Processed channels equal to the destination's (base + 40).
bool alphaChannelsAgree(const core::Caller& caller, const AlphaOperand& src, const OzlImage* dst,
                        int base);
// One processed channel (base + 40), for alpha images.
bool alphaImageSingle(const core::Caller& caller, const AlphaOperand& o, int base);

// The masks of `images` (NULL entries skipped), each checked like an image
// (base + 50, 51), then ANDed when there are several: no working memory base
// + 52, a status left negative base + 53. False when the call ends (an empty
// common mask ends it silently).
bool gatherMasks(const core::Caller& caller, OzlImage* const* images, int count, int base,
                 image::CombinedMask* mask);

// Reports what the pixel-wise driver answered: a tile callback that left no
// data base + 60, no working memory base + 61. False when it failed.
bool reportRun(const core::Caller& caller, int result, int base);

}  // namespace ozl::arith
