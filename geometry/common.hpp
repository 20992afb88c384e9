// What the geometric transforms share around their kernels: the check list
// every entry point starts with, the report of a walk's failure, working
// memory from the library's allocator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>

#include "core/checks.hpp"
#include "core/sampled.hpp"
#include "ozl.h"

namespace ozl::geometry {

using core::Caller;
using core::fail;

// Source lines of one entry point: its checks report at fixed offsets from
// the entry point's base line.
enum LineOffset {
    kAtSrcHeader = 0,
    kAtDstHeader = 1,
    kAtDepth = 2,
    kAtBits = 3,
    kAtChannels = 4,
    kAtInter = 5,
    kAtParam = 6,     // the entry point's own checks: kAtParam, kAtParam + 1, ...
    kAtMemory = 20,
    kAtReadTile = 21,
    kAtWriteTile = 22,
};

struct Entry {
    Caller caller;
    int line;  // base line
    bool at(int offset, OzlStatus status, const char* message) const {
        return fail(caller, status, message, line + offset);
    }
};

// The header checks of source and destination, then depth, 1-bit images and
// effective channel counts.
bool checkImages(const Entry& entry, const OzlImage* src, const OzlImage* dst);

// The checks of the transform helpers (quads, bounds, transforms): the header
// of the source at the base line, then NULL arguments (base + 1). The region
// size is left in *width and *height.
bool checkHelper(const Entry& entry, const OzlImage* src, std::initializer_list<const void*> args,
                 int* width, int* height);

// Which interpolations an entry point takes.
struct InterChoice {
    bool super = false;  // super-sampling (resampling only)
    bool fill = false;   // OZL_FILL_FROM_BORDER may be ORed in
};
bool checkInterpolation(const Entry& entry, int interpolate, InterChoice choice);

// Reports a failed walk; true when the walk was done.
bool walkDone(const Entry& entry, const core::SampledResult& result);

// Working memory from the library's allocator, released with the object;
// allocate() is false when the size is too large or memory runs out.
template <class T>
class Scratch {
public:
    Scratch() = default;
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() { ozlFree(data_); }

    bool allocate(size_t count) {
        ozlFree(data_);
        data_ = nullptr;
        // ozlMalloc takes an int; the alignment margin stays within it.
        if (count > static_cast<size_t>(std::numeric_limits<int>::max() - 64) / sizeof(T))
            return false;
        data_ = static_cast<T*>(ozlMalloc(static_cast<int>(count * sizeof(T) + 32)));
        return data_ != nullptr;
    }
    T* get() const { return data_; }
    T& operator[](size_t i) const { return data_[i]; }

private:
    T* data_ = nullptr;
};

}  // namespace ozl::geometry
