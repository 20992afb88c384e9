#include "support/test_image.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace ozl::test {

namespace {

int bitsOf(unsigned depth) { return static_cast<int>(depth & ~OZL_DEPTH_SIGN); }

// Index of the value among the row's values, and the row's start.
size_t valueIndex(int nChannels, int dataOrder, int x, int channel) {
    return dataOrder == OZL_DATA_ORDER_PLANE ? static_cast<size_t>(x)
                                             : static_cast<size_t>(x) * nChannels + channel;
}

const char* rowStart(const char* data, int widthStep, int planeRows, int dataOrder, int y,
                     int channel) {
    const ptrdiff_t row = dataOrder == OZL_DATA_ORDER_PLANE
                              ? static_cast<ptrdiff_t>(channel) * planeRows + y
                              : y;
    return data + row * widthStep;
}

template <class T>
T load(const char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class T>
void save(char* p, T v) {
    std::memcpy(p, &v, sizeof v);
}

}  // namespace

double valueAt(const char* data, int widthStep, int planeRows, int nChannels, int dataOrder,
               unsigned depth, int x, int y, int channel) {
    const char* row = rowStart(data, widthStep, planeRows, dataOrder, y, channel);
    const size_t i = valueIndex(nChannels, dataOrder, x, channel);
    switch (depth) {
        case OZL_DEPTH_1U:
            return (static_cast<unsigned char>(row[i >> 3]) >> (7 - (i & 7))) & 1;
        case OZL_DEPTH_8U: return load<uint8_t>(row + i);
        case OZL_DEPTH_8S: return load<int8_t>(row + i);
        case OZL_DEPTH_16U: return load<uint16_t>(row + 2 * i);
        case OZL_DEPTH_16S: return load<int16_t>(row + 2 * i);
        case OZL_DEPTH_32S: return load<int32_t>(row + 4 * i);
        default: return load<float>(row + 4 * i);
    }
}

void storeValue(char* data, int widthStep, int planeRows, int nChannels, int dataOrder,
                unsigned depth, int x, int y, int channel, double v) {
    char* row = const_cast<char*>(rowStart(data, widthStep, planeRows, dataOrder, y, channel));
    const size_t i = valueIndex(nChannels, dataOrder, x, channel);
    const auto n = static_cast<int64_t>(v);
    switch (depth) {
        case OZL_DEPTH_1U: {
            const auto bit = static_cast<unsigned char>(0x80u >> (i & 7));
            auto& byte = reinterpret_cast<unsigned char&>(row[i >> 3]);
            byte = static_cast<unsigned char>(n & 1 ? byte | bit : byte & ~bit);
            break;
        }
        case OZL_DEPTH_8U: case OZL_DEPTH_8S: save(row + i, static_cast<uint8_t>(n)); break;
        case OZL_DEPTH_16U: case OZL_DEPTH_16S: save(row + 2 * i, static_cast<uint16_t>(n)); break;
        case OZL_DEPTH_32S: save(row + 4 * i, static_cast<uint32_t>(n)); break;
        default: save(row + 4 * i, static_cast<float>(v)); break;
    }
}

// ---------------------------------------------------------------------------
// TestImage

TestImage::TestImage(unsigned depth, int width, int height, int nChannels, int dataOrder,
                     bool alpha, int align)
    : image_(ozlCreateImageHeader(nChannels, alpha ? nChannels : 0, depth, "RGB", "BGR",
                                  dataOrder, OZL_ORIGIN_TL, align, width, height, nullptr,
                                  nullptr, nullptr, nullptr)) {
    if (!image_) {
        ADD_FAILURE() << "ozlCreateImageHeader refused the test image";
        return;
    }
    if (depth == OZL_DEPTH_32F)
        ozlAllocateImageFP(image_, 1, 0.0f);
    else
        ozlAllocateImage(image_, 1, 0);
    if (!image_->imageData) ADD_FAILURE() << "no pixel data for the test image";
}

TestImage::~TestImage() {
    if (image_) ozlDeallocate(image_, OZL_IMAGE_HEADER | OZL_IMAGE_DATA | OZL_IMAGE_ROI);
}

void TestImage::setRoi(int coi, int xOffset, int yOffset, int width, int height) {
    if (!image_->roi) image_->roi = ozlCreateROI(0, 0, 0, 1, 1);
    ozlSetROI(image_->roi, coi, xOffset, yOffset, width, height);
}

void TestImage::clearRoi() {
    ozlDeleteROI(image_->roi);
    image_->roi = nullptr;
}

double TestImage::at(int x, int y, int channel) const {
    return valueAt(image_->imageData, image_->widthStep, image_->height, image_->nChannels,
                   image_->dataOrder, image_->depth, x, y, channel);
}

void TestImage::put(int x, int y, int channel, double v) {
    storeValue(image_->imageData, image_->widthStep, image_->height, image_->nChannels,
               image_->dataOrder, image_->depth, x, y, channel, v);
}

uint32_t TestImage::bitsAt(int x, int y, int channel) const {
    // Read as stored: a float round trip through double could change a NaN.
    const char* row = rowStart(image_->imageData, image_->widthStep, image_->height,
                               image_->dataOrder, y, channel);
    return load<uint32_t>(row + 4 * valueIndex(image_->nChannels, image_->dataOrder, x, channel));
}

void TestImage::fillRandom(uint32_t seed) {
    if (image_->depth == OZL_DEPTH_32F) {
        fillRandom(seed, -1000.0, 1000.0);
        return;
    }
    std::mt19937 rng(seed);
    for (int32_t i = 0; i < image_->imageSize; ++i)
        image_->imageData[i] = static_cast<char>(rng() & 0xFF);
}

void TestImage::fillRandom(uint32_t seed, double lo, double hi) {
    std::mt19937 rng(seed);
    for (int32_t i = 0; i < image_->imageSize; ++i)
        image_->imageData[i] = static_cast<char>(rng() & 0xFF);
    std::uniform_real_distribution<double> real(lo, hi);
    std::uniform_int_distribution<int64_t> integer(static_cast<int64_t>(lo),
                                                   static_cast<int64_t>(hi));
    for (int y = 0; y < image_->height; ++y)
        for (int x = 0; x < image_->width; ++x)
            for (int c = 0; c < image_->nChannels; ++c)
                put(x, y, c,
                    image_->depth == OZL_DEPTH_32F ? static_cast<float>(real(rng))
                                                   : static_cast<double>(integer(rng)));
}

void TestImage::fill(double v) {
    for (int y = 0; y < image_->height; ++y)
        for (int x = 0; x < image_->width; ++x)
            for (int c = 0; c < image_->nChannels; ++c) put(x, y, c, v);
}

std::vector<uint8_t> TestImage::bytes() const {
    const auto* p = reinterpret_cast<const uint8_t*>(image_->imageData);
    return std::vector<uint8_t>(p, p + image_->imageSize);
}

TestImage TestImage::clone() const {
    TestImage copy(image_->depth, image_->width, image_->height, image_->nChannels,
                   image_->dataOrder, image_->alphaChannel != 0, image_->align);
    std::memcpy(copy->imageData, image_->imageData, static_cast<size_t>(image_->imageSize));
    return copy;
}

// ---------------------------------------------------------------------------
// TiledImage

std::ostream& operator<<(std::ostream& os, const TileCall& call) {
    return os << "{image " << call.image << ", tile (" << call.x << ", " << call.y << "), mode "
              << call.mode << "}";
}

TiledImage::TiledImage(unsigned depth, int width, int height, int nChannels, int dataOrder,
                       int tileWidth, int tileHeight, int tag, std::vector<TileCall>* log)
    : pixels_(depth, width, height, nChannels, dataOrder),
      tile_(ozlCreateTileInfo(&TiledImage::serve, this, tileWidth, tileHeight)),
      image_(ozlCreateImageHeader(nChannels, 0, depth, "RGB", "BGR", dataOrder, OZL_ORIGIN_TL,
                                  8, width, height, nullptr, nullptr, nullptr, tile_)),
      tag_(tag),
      log_(log) {
    // Tile rows follow the row size rule with the tile width.
    const int64_t bits = static_cast<int64_t>(tileWidth) * bitsOf(depth) *
                         (dataOrder == OZL_DATA_ORDER_PLANE ? 1 : nChannels);
    tileStep_ = static_cast<int>((bits + 63) / 64 * 8);
    if (!image_) ADD_FAILURE() << "ozlCreateImageHeader refused the tiled test image";
}

TiledImage::~TiledImage() {
    if (image_) ozlDeallocate(image_, OZL_IMAGE_HEADER | OZL_IMAGE_ROI | OZL_IMAGE_TILE);
}

void TiledImage::setRoi(int coi, int xOffset, int yOffset, int width, int height) {
    if (!image_->roi) image_->roi = ozlCreateROI(0, 0, 0, 1, 1);
    ozlSetROI(image_->roi, coi, xOffset, yOffset, width, height);
}

// Copies the part of tile (xIndex, yIndex) that lies inside the image.
void TiledImage::copyTile(int xIndex, int yIndex, bool toTile) {
    std::vector<char>& buffer = buffers_[{xIndex, yIndex}];
    const OzlImage* im = pixels_.get();
    const int tw = tile_->width;
    const int th = tile_->height;
    for (int c = 0; c < im->nChannels; ++c)
        for (int ty = 0; ty < th && yIndex * th + ty < im->height; ++ty)
            for (int tx = 0; tx < tw && xIndex * tw + tx < im->width; ++tx) {
                const int x = xIndex * tw + tx;
                const int y = yIndex * th + ty;
                if (toTile)
                    storeValue(buffer.data(), tileStep_, th, im->nChannels, im->dataOrder,
                               im->depth, tx, ty, c, pixels_.at(x, y, c));
                else
                    pixels_.put(x, y, c,
                                valueAt(buffer.data(), tileStep_, th, im->nChannels,
                                        im->dataOrder, im->depth, tx, ty, c));
            }
}

void OZL_CALL TiledImage::serve(const OzlImage* image, int xIndex, int yIndex, int mode) {
    auto* self = static_cast<TiledImage*>(image->tileInfo->id);
    const TileCall call{self->tag_, xIndex, yIndex, mode};
    self->calls_.push_back(call);
    if (self->log_) self->log_->push_back(call);
    OzlTileInfo* tile = image->tileInfo;
    const std::pair<int, int> key{xIndex, yIndex};
    if (mode == OZL_RELEASE_TILE) {
        if (self->writing_[key]) self->copyTile(xIndex, yIndex, false);
        self->writing_[key] = false;
        tile->tileData = nullptr;
        return;
    }
    if (++self->fetches_ == self->failAt_) {
        tile->tileData = nullptr;
        return;
    }
    const OzlImage* im = self->pixels_.get();
    const size_t planes = im->dataOrder == OZL_DATA_ORDER_PLANE ? im->nChannels : 1;
    std::vector<char>& buffer = self->buffers_[key];
    // Parts of edge tiles outside the image hold a fixed junk pattern.
    buffer.assign(static_cast<size_t>(self->tileStep_) * tile->height * planes, '\x5A');
    self->copyTile(xIndex, yIndex, true);
    self->writing_[key] = mode == OZL_GET_TILE_TO_WRITE;
    tile->tileData = buffer.data();
}

}  // namespace ozl::test

namespace ozl::test {

namespace {

struct Region {
    int x = 0, y = 0, width = 0, height = 0;
};

Region regionOf(const OzlImage* im) {
    if (!im->roi) return {0, 0, im->width, im->height};
    const OzlROI& r = *im->roi;
    return {r.xOffset, r.yOffset, std::max(0, std::min(r.width, im->width - r.xOffset)),
            std::max(0, std::min(r.height, im->height - r.yOffset))};
}

int coiOf(const OzlImage* im) { return im->roi ? im->roi->coi : 0; }

double value(const OzlImage* im, int x, int y, int c) {
    return valueAt(im->imageData, im->widthStep, im->height, im->nChannels, im->dataOrder,
                   im->depth, x, y, c);
}

}  // namespace

void expectPixelwise(const TestImage& before, const OzlImage* dst, const OzlImage* a,
                     const OzlImage* b, const ValueFn& f, const SelectFn& selected,
                     int maskWidth, int maskHeight) {
    const Region rd = regionOf(dst);
    const Region ra = a ? regionOf(a) : rd;
    const Region rb = b ? regionOf(b) : rd;
    const int w = std::min({rd.width, ra.width, rb.width, maskWidth});
    const int h = std::min({rd.height, ra.height, rb.height, maskHeight});
    const int nCh = coiOf(dst) > 0 ? 1 : dst->nChannels - (dst->alphaChannel ? 1 : 0);
    auto channelIn = [](const OzlImage* im, int k) { return coiOf(im) > 0 ? coiOf(im) - 1 : k; };

    int failures = 0;
    for (int y = 0; y < dst->height; ++y)
        for (int x = 0; x < dst->width; ++x)
            for (int c = 0; c < dst->nChannels; ++c) {
                const int rx = x - rd.x;
                const int ry = y - rd.y;
                const int k = coiOf(dst) > 0 ? (c == coiOf(dst) - 1 ? 0 : nCh) : c;
                double expected = before.at(x, y, c);
                if (rx >= 0 && ry >= 0 && rx < w && ry < h && k < nCh &&
                    (!selected || selected(rx, ry))) {
                    const double va = a ? value(a, ra.x + rx, ra.y + ry, channelIn(a, k)) : 0;
                    const double vb = b ? value(b, rb.x + rx, rb.y + ry, channelIn(b, k)) : 0;
                    expected = f(va, vb);
                }
                const double actual = value(dst, x, y, c);
                const bool same = actual == expected || (actual != actual && expected != expected);
                if (!same && ++failures <= 5)
                    ADD_FAILURE() << "at (" << x << ", " << y << ") channel " << c << ": "
                                  << actual << ", expected " << expected;
            }
    EXPECT_EQ(failures, 0);
}

}  // namespace ozl::test
