// The 2-D driver of the frequency transforms: decides where each pass reads
// and writes (the images themselves where they are plain float rows, else
// dense copies), fetches and stores tiles outside the passes, and runs the row
// and column passes channel by channel. The entry points check their
// arguments and make one call here.
#pragma once

#include "ozl.h"
#include "transform/kernels.hpp"

namespace ozl::transform {

enum class Outcome { Done, NoMemory, ReadFailed, WriteFailed };

struct Request {
    bool fourier = true;  // else the cosine transform
    bool inverse = false;
    Layout layout = Layout::Packed;  // Fourier only
    float scale = 1.0f;              // Fourier only
};

// Width of the spectrum region of a real region `width` wide.
constexpr int spectrumWidth(const Request& r, int width) {
    return r.fourier && r.layout == Layout::Ccs ? 2 * (width / 2 + 1) : width;
}

// The transform of the real region (src forward, dst inverse), width x height,
// every processed channel; the caller has checked depths, channels and sizes.
Outcome transform2D(OzlImage* src, OzlImage* dst, int width, int height, const Request& request);

// d = a * b (or a * conj(b)) over packed spectra of width x height.
Outcome multiplyPacked(OzlImage* a, OzlImage* b, OzlImage* d, int width, int height,
                       bool conjugate);

}  // namespace ozl::transform
