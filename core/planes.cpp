#include "core/planes.hpp"

#include <xmmintrin.h>

#include <cstring>
#include <limits>
#include <type_traits>

#include "image/depth.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::core {

namespace {

template <class T>
T fromFloat(float v) {
    if constexpr (std::is_same_v<T, float>) {
        return v;
    } else {
        using L = std::numeric_limits<T>;
        constexpr float lo = static_cast<float>(L::min());
        // The largest 32-bit value is not a float: its bound is 2^31, excluded.
        constexpr float hi = static_cast<float>(L::max());
        constexpr bool inclusiveHi = sizeof(T) < 4;
        if (!(v == v)) return 0;
        if (v <= lo) return L::min();
        if (inclusiveHi ? v >= hi : !(v < hi)) return L::max();
        // The processor's conversion rounds to nearest, ties to even.
        return static_cast<T>(_mm_cvtss_si32(_mm_set_ss(v)));
    }
}

template <class T>
void loadAs(const char* p, ptrdiff_t step, size_t n, float* out) {
    for (size_t i = 0; i < n; ++i, p += step) {
        T v;
        std::memcpy(&v, p, sizeof v);
        out[i] = static_cast<float>(v);
    }
}

template <class T>
void storeAs(const float* in, size_t n, char* p, ptrdiff_t step) {
    for (size_t i = 0; i < n; ++i, p += step) {
        const T v = fromFloat<T>(in[i]);
        std::memcpy(p, &v, sizeof v);
    }
}

// One untiled piece of the walk (or the whole untiled region), at (x, y) of
// the planes.
template <bool kRead>
void movePiece(OzlImage* image, int width, int height, int x, int y, const FloatPlanes& planes) {
    const int channels = image::effectiveChannels(image);
    for (int r = 0; r < height; ++r) {
        const RowView row = rowOf(image, r);
        for (int c = 0; c < channels; ++c) {
            float* values = planes.row(c, y + r) + x;
            if constexpr (kRead)
                loadValues(row, c, image->depth, static_cast<size_t>(width), values);
            else
                storeValues(values, static_cast<size_t>(width), image->depth, row, c);
        }
    }
}

template <bool kRead>
bool moveRegion(OzlImage* image, int width, int height, const FloatPlanes& planes) {
    if (width <= 0 || height <= 0) return true;
    if (!image::isTiled(image)) {
        movePiece<kRead>(image, width, height, 0, 0, planes);
        return true;
    }
    const image::TileOperand operand{image,
                                     kRead ? image::TileAccess::Read : image::TileAccess::Write};
    const int walked =
        image::walkTiles(&operand, 1, nullptr, width, height, [&](const image::Piece& piece) {
            OzlImage* standIn = piece.operand[0];
            movePiece<kRead>(standIn, standIn->roi->width, standIn->roi->height, piece.x,
                             piece.y, planes);
        });
    return walked == image::kWalkDone;
}

}  // namespace

void loadValues(const RowView& row, int channel, uint32_t depth, size_t n, float* out) {
    const char* p = row.data + channel * row.channelStep;
    image::withValueType(depth, [&](auto t) { loadAs<decltype(t)>(p, row.pixelStep, n, out); });
}

void storeValues(const float* in, size_t n, uint32_t depth, const RowView& row, int channel) {
    char* p = row.data + channel * row.channelStep;
    image::withValueType(depth, [&](auto t) { storeAs<decltype(t)>(in, n, p, row.pixelStep); });
}

bool readPlanes(OzlImage* image, int width, int height, const FloatPlanes& planes) {
    return moveRegion<true>(image, width, height, planes);
}

bool writePlanes(OzlImage* image, int width, int height, const FloatPlanes& planes) {
    return moveRegion<false>(image, width, height, planes);
}

}  // namespace ozl::core
