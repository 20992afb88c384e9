// Test helpers for images made through the public interface.
//
//   TestImage a(OZL_DEPTH_16S, 33, 5, 3, OZL_DATA_ORDER_PLANE);  // header + data
//   a.fillRandom(7);                  // every byte, padding included
//   a.setRoi(2, 1, 1, 30, 4);         // coi, xOffset, yOffset, width, height
//   double v = a.at(x, y, channel);   // any depth, either data order, 1U MSB first
//
//   TiledImage t(OZL_DEPTH_8U, 24, 16, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
//   t.pixels().fillRandom(1);         // what the tiles show
//   ozlAdd(t, t, t);                  // t.calls() lists every callback call
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <ostream>
#include <utility>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"

namespace ozl::test {

// An image with its own header and pixel data, released with its ROI when the
// object goes. A mask attached with setMask stays its owner's.
class TestImage {
public:
    TestImage(unsigned depth, int width, int height, int nChannels = 1,
              int dataOrder = OZL_DATA_ORDER_PIXEL, bool alpha = false, int align = 8);
    TestImage(TestImage&& other) noexcept : image_(other.image_) { other.image_ = nullptr; }
    TestImage(const TestImage&) = delete;
    TestImage& operator=(const TestImage&) = delete;
    TestImage& operator=(TestImage&& other) noexcept {
        std::swap(image_, other.image_);
        return *this;
    }
    ~TestImage();

    OzlImage* get() const { return image_; }
    operator OzlImage*() const { return image_; }
    OzlImage* operator->() const { return image_; }

    void setRoi(int coi, int xOffset, int yOffset, int width, int height);
    void clearRoi();
    void setMask(const TestImage* mask) { image_->maskROI = mask ? mask->get() : nullptr; }

    // One value at column x, row y, 0-based channel: integers exactly, 1U as 0
    // or 1, 32F as the stored float. put stores without clamping.
    double at(int x, int y, int channel = 0) const;
    void put(int x, int y, int channel, double v);

    // Random bytes everywhere, padding included; with lo < hi (always for 32F,
    // default [-1000, 1000]) every value then uniformly in [lo, hi].
    void fillRandom(uint32_t seed, double lo = 0, double hi = 0);
    void fill(double v);

    // The raw pixel buffer, to show that nothing was written.
    std::vector<uint8_t> bytes() const;
    // The same geometry and bytes, without ROI or mask.
    TestImage clone() const;

private:
    OzlImage* image_;
};

// The lowest and highest value of a depth (1U: 0 and 1; 32F: the finite floats).
std::pair<double, double> depthRange(unsigned depth);

// One value of any untiled image at column x, row y (of the whole image,
// not its ROI), 0-based channel.
double valueOf(const OzlImage* image, int x, int y, int channel);

// What one value becomes: b is the second value, the constant or the shift
// count. Integer results saturate (Add, Sub, Mul) or keep the stored bits.
enum class Ref { Add, Sub, Mul, MulScale, And, Or, Xor, AndNot, LShift, RShift };
double reference(Ref op, unsigned depth, double a, double b);

// Checks `dst` after a pixel-wise operation. The processed rectangle is the
// smallest clipped region among dst, a, b (and the mask's width x height), each
// anchored at its own ROI offsets; the processed channels are dst's effective
// ones (a COI selects one channel of its image). There each value must be
// f(a, b) where `selected(x, y)` (region coordinates) holds; everywhere else
// dst must hold what `before` holds.
using ValueFn = std::function<double(double a, double b)>;
using SelectFn = std::function<bool(int x, int y)>;
void expectPixelwise(const TestImage& before, const OzlImage* dst, const OzlImage* a,
                     const OzlImage* b, const ValueFn& f, const SelectFn& selected = nullptr,
                     int maskWidth = 1 << 30, int maskHeight = 1 << 30);
// The same with f = reference(op, dst's depth, a, b).
void expectPixelwise(const TestImage& before, const OzlImage* dst, const OzlImage* a,
                     const OzlImage* b, Ref op, double constant = 0);

// Exactly one report `expected` (its line included), the stored status set
// to it, and `dst` still holding `before`; clears the capture.
void expectRefused(ErrorCapture& errors, const TestImage& dst, const std::vector<uint8_t>& before,
                   ErrorReport expected);

// One refused call: the report it gives and the image that must stay as it was.
struct Refusal {
    std::function<void()> call;
    const TestImage* dst;
    ErrorReport want;
};
// Each call made from a clean status, then checked as expectRefused does.
void expectRefusals(ErrorCapture& errors, const std::vector<Refusal>& cases);

struct TileCall {
    int image;  // tag of the TiledImage
    int x, y, mode;
    bool operator==(const TileCall& o) const {
        return image == o.image && x == o.x && y == o.y && mode == o.mode;
    }
};
std::ostream& operator<<(std::ostream& os, const TileCall& call);

// A tiled image whose callback serves tiles out of an untiled backing image
// (pixels()): a fetch copies the tile into a buffer of the tile's layout, a
// release of a tile fetched for writing copies it back. Every call is recorded,
// also in `log` when given, so that the order across images can be checked.
class TiledImage {
public:
    TiledImage(unsigned depth, int width, int height, int nChannels, int dataOrder,
               int tileWidth, int tileHeight, int tag = 0, std::vector<TileCall>* log = nullptr);
    TiledImage(const TiledImage&) = delete;
    TiledImage& operator=(const TiledImage&) = delete;
    ~TiledImage();

    OzlImage* get() const { return image_; }
    operator OzlImage*() const { return image_; }
    OzlImage* operator->() const { return image_; }

    TestImage& pixels() { return pixels_; }
    const std::vector<TileCall>& calls() const { return calls_; }
    // The n-th fetch (counted from 1) leaves tileData NULL.
    void failFetch(int n) { failAt_ = n; }
    void setRoi(int coi, int xOffset, int yOffset, int width, int height);

private:
    static void OZL_CALL serve(const OzlImage* image, int xIndex, int yIndex, int mode);
    void copyTile(int xIndex, int yIndex, bool toTile);

    TestImage pixels_;
    OzlTileInfo* tile_;
    OzlImage* image_;
    int tag_;
    std::vector<TileCall>* log_;
    std::vector<TileCall> calls_;
    int tileStep_;
    int fetches_ = 0;
    int failAt_ = 0;
    std::map<std::pair<int, int>, std::vector<char>> buffers_;
    std::map<std::pair<int, int>, bool> writing_;
};

}  // namespace ozl::test
