// The checks, mask choice and copy step shared by the operations that move
// pixels between two images (copy, exchange) and those that convert between
// depths. Each takes the caller's exported name and module, and its lines.
#pragma once

#include "core/checks.hpp"
#include "core/pixelwise.hpp"
#include "ozl.h"

namespace ozl::convert {

using core::Caller;

// Which agreements a pair must meet.
struct Agreements {
    bool depth = true;
    bool origin = true;
    bool dataOrder = true;  // not asked of 1-bit images, nor of two one-channel images
};

// Reports every disagreement of the pair at `line` ("srcImage->depth !=
// dstImage->depth", then origin, then data order) without stopping at the
// first; returns how many were reported.
int reportDisagreements(const Caller& caller, const OzlImage* src, const OzlImage* dst,
                        const Agreements& asked, int line);

// The mask a pair applies: none, one image's (also when both share it), or the
// AND of two different masks in a temporary image the pair owns.
struct PairMask {
    OzlImage* image = nullptr;
    bool owned = false;
    bool stop = false;  // nothing to do (empty common mask), or a failure already reported
};

// Lines of the two nested steps of the AND: the temporary image's creation
// and the AND itself (each a backtrace report when the status is then negative).
struct MaskLines {
    int create;
    int combine;
};

PairMask choosePairMask(const Caller& caller, OzlImage* src, OzlImage* dst, MaskLines lines);
void releasePairMask(PairMask& mask);

// dst = src, value for value in the common region, where `mask` allows
// (src and dst of one depth, untiled). Returns the pixel-wise driver's result.
int copyValues(OzlImage* src, OzlImage* dst, const OzlImage* mask);

// The common part of the conversions after their depth checks, with lines
// counted from `base`: origin (base + 3) and processed-channel (base + 4)
// agreement, the pair's mask (base + 6, base + 7), then `run` over the common
// region, which answers as the pixel-wise driver does: a tile callback that
// leaves no data is reported at base + 11 (the source, read) or base + 12 (the
// destination, written), a lack of working memory at base + 13.
using PairRun = int (*)(void* context, OzlImage* src, OzlImage* dst, const OzlImage* mask);
void runPair(const Caller& caller, OzlImage* src, OzlImage* dst, int base, PairRun run,
             void* context);

template <class F>
void runPair(const Caller& caller, OzlImage* src, OzlImage* dst, int base, F&& run) {
    runPair(caller, src, dst, base,
            [](void* ctx, OzlImage* s, OzlImage* d, const OzlImage* m) {
                return (*static_cast<F*>(ctx))(s, d, m);
            },
            &run);
}

// The same with the driver running `kernel` (src its only source).
void runPair(const Caller& caller, OzlImage* src, OzlImage* dst, const core::MapKernel& kernel,
             int base);

// A kernel that copies values of the destination's width (same depths).
core::MapKernel copyKernel(const OzlImage* dst, size_t* valueBytes);

}  // namespace ozl::convert
