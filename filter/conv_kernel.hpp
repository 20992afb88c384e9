// What the convolution engines share with the kernel records.
#pragma once

namespace ozl::filter {

// The record check: sizes of at least 1 and a stored (mirrored) anchor inside
// the kernel. The coefficients are not looked at.
bool badKernel(int nCols, int nRows, int anchorX, int anchorY);

template <class Record>
bool badKernel(const Record& k) {
    return badKernel(k.nCols, k.nRows, k.anchorX, k.anchorY);
}

}  // namespace ozl::filter
