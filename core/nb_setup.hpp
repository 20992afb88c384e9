// What every neighbourhood operation does between its argument checks and the
// driver: header copies with the border constants clamped to the depth, the
// shared region size, the channel and channel-of-interest rules, the masks
// combined; and chains of passes (each pass reading the one before through
// a scratch image of the region's size, the source's border modes around it).
#pragma once

#include "core/checks.hpp"
#include "core/neighbourhood.hpp"
#include "image/mask.hpp"
#include "ozl.h"

namespace ozl::core {

// Why an operation stops before (or while) running.
enum class NbCode { Done, NoChannel, Channels, Coi, Depth, NoMemory, ReadTile, WriteTile };

struct NbSetup {
    OzlImage src{}, dst{};  // the callers' headers, border constants clamped
    int width = 0, height = 0;  // 0 when there is nothing to do
    int channels = 1;           // values per pixel the row kernels see
    image::CombinedMask mask;
    NbSetup() = default;
    NbSetup(const NbSetup&) = delete;
    NbSetup& operator=(const NbSetup&) = delete;
    ~NbSetup() { image::releaseMask(mask); }
};

// Fills `setup` for src -> dst: Done with width 0 when the shared region or
// the combined mask is empty.
NbCode setupNeighbourhood(const OzlImage* src, const OzlImage* dst, NbSetup& setup);

NbCode codeOf(NbResult result);

// Reports a failed neighbourhood run through ozlError at `line` (nothing for
// Done).
void reportNbCode(const Caller& caller, NbCode code, int line);

// One kernel run `repeat` times in a row.
struct NbPass {
    const NbKernel* kernel = nullptr;
    int repeat = 1;
};

// Runs the passes in order: the first from the source, each next one on the
// result of the one before, the last one into the destination under the mask.
NbCode runPasses(NbSetup& setup, const NbPass* passes, int count);

}  // namespace ozl::core
