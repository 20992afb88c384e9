// Test helpers for images made through the public interface.
//
//   TestImage a(OZL_DEPTH_16S, 33, 5, 3, OZL_DATA_ORDER_PLANE);  // header + data
//   a.fillRandom(7);                  // every byte, padding included
//   a.setRoi(2, 1, 1, 30, 4);         // coi, xOffset, yOffset, width, height
//   double v = a.at(x, y, channel);   // any depth, either data order, 1U MSB first
//   std::vector<uint8_t> before = a.bytes();
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

namespace ozl::test {

// An image with its own header and pixel data (ozlAllocateImage or, for 32F,
// ozlAllocateImageFP), released with its ROI when the object goes. A mask
// attached with setMask stays its owner's.
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

    // One value at column x, row y (memory order), 0-based channel. Integers
    // exactly, 1U as 0 or 1, 32F as the stored float.
    double at(int x, int y, int channel = 0) const;
    // Stores v converted to the depth's type (no clamping: the caller's values fit).
    void put(int x, int y, int channel, double v);
    // The stored bits of a 32F value (for results such as NaN).
    uint32_t bitsAt(int x, int y, int channel = 0) const;

    // Random bytes everywhere, padding included; 32F values then set to
    // random numbers in [-1000, 1000] with fractions.
    void fillRandom(uint32_t seed);
    // Random bytes everywhere, then every value uniformly in [lo, hi].
    void fillRandom(uint32_t seed, double lo, double hi);
    void fill(double v);

    // The raw pixel buffer (imageSize bytes), to show that nothing was written.
    std::vector<uint8_t> bytes() const;
    // The same geometry and bytes, without ROI or mask.
    TestImage clone() const;

private:
    OzlImage* image_;
};

// A value of a buffer laid out like an image header says (shared with the tile helper).
double valueAt(const char* data, int widthStep, int planeRows, int nChannels, int dataOrder,
               unsigned depth, int x, int y, int channel);
void storeValue(char* data, int widthStep, int planeRows, int nChannels, int dataOrder,
                unsigned depth, int x, int y, int channel, double v);

// Checks `dst` after a pixel-wise operation. The processed rectangle is the
// smallest clipped region among dst, a, b (and `maskRegion`, when given as
// width x height), each anchored at its own ROI offsets; the processed channels
// are dst's effective ones (a COI selects one channel of its image). There each
// value must be f(a, b) where `selected(x, y)` (region coordinates) holds, and
// everywhere else dst must hold what `before` holds.
using ValueFn = std::function<double(double a, double b)>;
using SelectFn = std::function<bool(int x, int y)>;
void expectPixelwise(const TestImage& before, const OzlImage* dst, const OzlImage* a,
                     const OzlImage* b, const ValueFn& f, const SelectFn& selected = nullptr,
                     int maskWidth = 1 << 30, int maskHeight = 1 << 30);

struct TileCall {
    int image;  // tag of the TiledImage
    int x;
    int y;
    int mode;
    bool operator==(const TileCall& o) const {
        return image == o.image && x == o.x && y == o.y && mode == o.mode;
    }
};
std::ostream& operator<<(std::ostream& os, const TileCall& call);

// A tiled image whose callback serves tiles out of an untiled backing image
// (pixels()). A fetch (mode 1 or 2) copies the tile from the backing image into
// a buffer of the tile's layout and sets tileData; a release (mode 4) copies a
// tile fetched for writing back and clears tileData. Every call is recorded,
// also in `log` when one is given, so the order across images can be checked.
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
