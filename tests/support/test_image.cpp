#include "support/test_image.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

namespace ozl::test {

namespace {

int bitsOf(unsigned depth) { return static_cast<int>(depth & ~OZL_DEPTH_SIGN); }

// Where value (x, y, channel) of a buffer laid out like an image header says
// lives: the row's start and the value's index in it.
char* locate(const char* data, int widthStep, int planeRows, int nChannels, int dataOrder,
             int x, int y, int channel, size_t& index) {
    const bool plane = dataOrder == OZL_DATA_ORDER_PLANE;
    index = plane ? static_cast<size_t>(x) : static_cast<size_t>(x) * nChannels + channel;
    const ptrdiff_t row = plane ? static_cast<ptrdiff_t>(channel) * planeRows + y : y;
    return const_cast<char*>(data) + row * widthStep;
}

template <class T>
T load(const char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

double valueAt(const char* data, int widthStep, int planeRows, int nChannels, int dataOrder,
               unsigned depth, int x, int y, int channel) {
    size_t i;
    const char* row = locate(data, widthStep, planeRows, nChannels, dataOrder, x, y, channel, i);
    switch (depth) {
        case OZL_DEPTH_1U: return (static_cast<unsigned char>(row[i >> 3]) >> (7 - (i & 7))) & 1;
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
    size_t i;
    char* row = locate(data, widthStep, planeRows, nChannels, dataOrder, x, y, channel, i);
    const auto n = static_cast<int64_t>(v);
    const auto f = static_cast<float>(v);
    switch (depth) {
        case OZL_DEPTH_1U: {
            const auto bit = static_cast<unsigned char>(0x80u >> (i & 7));
            auto& byte = reinterpret_cast<unsigned char&>(row[i >> 3]);
            byte = static_cast<unsigned char>(n & 1 ? byte | bit : byte & ~bit);
            break;
        }
        case OZL_DEPTH_32F: std::memcpy(row + 4 * i, &f, 4); break;
        default: {  // the low bytes of the two's complement form (little-endian)
            const size_t size = static_cast<size_t>(bitsOf(depth) / 8);
            std::memcpy(row + size * i, &n, size);
        }
    }
}


}  // namespace

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

template <class Next>
void fillWith(TestImage& im, Next next) {
    for (int y = 0; y < im->height; ++y)
        for (int x = 0; x < im->width; ++x)
            for (int c = 0; c < im->nChannels; ++c) im.put(x, y, c, next());
}

TestImage::~TestImage() {
    if (image_) ozlDeallocate(image_, OZL_IMAGE_HEADER | OZL_IMAGE_DATA | OZL_IMAGE_ROI);
}

static void setRoiOf(OzlImage* image, int coi, int xOffset, int yOffset, int width, int height) {
    if (!image->roi) image->roi = ozlCreateROI(0, 0, 0, 1, 1);
    ozlSetROI(image->roi, coi, xOffset, yOffset, width, height);
}

void TestImage::setRoi(int coi, int xOffset, int yOffset, int width, int height) {
    setRoiOf(image_, coi, xOffset, yOffset, width, height);
}

void TestImage::clearRoi() {
    ozlDeleteROI(image_->roi);
    image_->roi = nullptr;
}

double valueOf(const OzlImage* im, int x, int y, int c) {
    return valueAt(im->imageData, im->widthStep, im->height, im->nChannels, im->dataOrder,
                   im->depth, x, y, c);
}

double TestImage::at(int x, int y, int channel) const { return valueOf(image_, x, y, channel); }

void TestImage::put(int x, int y, int channel, double v) {
    storeValue(image_->imageData, image_->widthStep, image_->height, image_->nChannels,
               image_->dataOrder, image_->depth, x, y, channel, v);
}

void TestImage::fillRandom(uint32_t seed, double lo, double hi) {
    std::mt19937 rng(seed);
    for (int32_t i = 0; i < image_->imageSize; ++i)
        image_->imageData[i] = static_cast<char>(rng() & 0xFF);
    const bool real = image_->depth == OZL_DEPTH_32F;
    if (real && lo >= hi) lo = -1000, hi = 1000;
    if (lo >= hi) return;
    std::uniform_real_distribution<double> reals(lo, hi);
    std::uniform_int_distribution<int64_t> ints(static_cast<int64_t>(lo), static_cast<int64_t>(hi));
    fillWith(*this, [&] { return real ? static_cast<float>(reals(rng)) : static_cast<double>(ints(rng)); });
}

void TestImage::fill(double v) {
    fillWith(*this, [v] { return v; });
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
// Reference values and checks

std::pair<double, double> depthRange(unsigned depth) {
    if (depth == OZL_DEPTH_32F) return {-3.4028234663852886e38, 3.4028234663852886e38};
    const int bits = bitsOf(depth);
    if (depth & OZL_DEPTH_SIGN) return {-std::ldexp(1.0, bits - 1), std::ldexp(1.0, bits - 1) - 1};
    return {0, std::ldexp(1.0, bits) - 1};
}

double reference(Ref op, unsigned depth, double a, double b) {
    if (depth == OZL_DEPTH_32F) {
        const float fa = static_cast<float>(a), fb = static_cast<float>(b);
        return op == Ref::Add ? fa + fb : op == Ref::Sub ? fa - fb : fa * fb;
    }
    const int bits = bitsOf(depth);
    const bool sign = (depth & OZL_DEPTH_SIGN) != 0;
    const auto [lo, hi] = depthRange(depth);
    const uint64_t mask = (uint64_t{1} << bits) - 1;
    auto toBits = [&](double v) { return static_cast<uint64_t>(static_cast<int64_t>(v)) & mask; };
    auto fromBits = [&](uint64_t u) {
        u &= mask;
        return sign && (u >> (bits - 1)) ? static_cast<double>(static_cast<int64_t>(u) - (int64_t{1} << bits))
                                         : static_cast<double>(u);
    };
    switch (op) {
        case Ref::Add: return std::clamp(a + b, lo, hi);
        case Ref::Sub: return std::clamp(a - b, lo, hi);
        case Ref::Mul: return std::clamp(std::trunc(a * b), lo, hi);
        case Ref::MulScale: {  // the product scaled by the maximum, rounded
            const uint32_t p = static_cast<uint32_t>(a) * static_cast<uint32_t>(b);
            return (p + (p >> bits) + 1) >> bits;
        }
        case Ref::And: return fromBits(toBits(a) & toBits(b));
        case Ref::Or: return fromBits(toBits(a) | toBits(b));
        case Ref::Xor: return fromBits(toBits(a) ^ toBits(b));
        case Ref::AndNot: return fromBits(toBits(a) & ~toBits(b));
        case Ref::LShift: return b >= bits ? 0 : fromBits(toBits(a) << static_cast<int>(b));
        default:  // floor division: arithmetic for signed values; past the width, the sign
            if (b >= bits) return sign ? std::floor(a / std::ldexp(1.0, bits - 1)) : 0;
            return std::floor(a / std::ldexp(1.0, static_cast<int>(b)));
    }
}

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

// dst against `before`, except where processed(x, y, channel, want) (image
// coordinates) returns true after setting the value wanted there. NaN matches NaN.
void expectValues(const TestImage& before, const OzlImage* dst,
                  const std::function<bool(int x, int y, int c, double& want)>& processed) {
    int failures = 0;
    for (int y = 0; y < dst->height; ++y)
        for (int x = 0; x < dst->width; ++x)
            for (int c = 0; c < dst->nChannels; ++c) {
                double want = before.at(x, y, c);
                const bool inside = processed(x, y, c, want);
                const double got = valueOf(dst, x, y, c);
                if (got != want && (got == got || want == want) && ++failures <= 5)
                    ADD_FAILURE() << "at (" << x << ", " << y << ") channel " << c << (inside ? " (processed)" : " (untouched)")
                                  << ": " << got << ", expected " << want;
            }
    EXPECT_EQ(failures, 0);
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

    expectValues(before, dst, [&](int x, int y, int c, double& want) {
        const int rx = x - rd.x, ry = y - rd.y;
        const int k = coiOf(dst) > 0 ? (c == coiOf(dst) - 1 ? 0 : nCh) : c;
        if (rx < 0 || ry < 0 || rx >= w || ry >= h || k >= nCh || (selected && !selected(rx, ry))) return false;
        want = f(a ? valueOf(a, ra.x + rx, ra.y + ry, channelIn(a, k)) : 0, b ? valueOf(b, rb.x + rx, rb.y + ry, channelIn(b, k)) : 0);
        return true;
    });
}


void expectPixelwise(const TestImage& before, const OzlImage* dst, const OzlImage* a,
                     const OzlImage* b, Ref op, double constant) {
    expectPixelwise(before, dst, a, b, [&](double va, double vb) {
        return reference(op, dst->depth, va, b ? vb : constant);
    });
}

void expectRefused(ErrorCapture& errors, const TestImage& dst, const std::vector<uint8_t>& before,
                   ErrorReport expected) {
    ASSERT_EQ(errors.count(), 1u) << expected;
    EXPECT_EQ(errors.last(), expected);
    EXPECT_EQ(ozlGetErrStatus(), expected.status);
    EXPECT_EQ(dst.bytes(), before) << expected;
    errors.clear();
}

void expectRefusals(ErrorCapture& errors, const std::vector<Refusal>& cases) {
    for (const Refusal& c : cases) {
        SCOPED_TRACE(c.want.context);
        const std::vector<uint8_t> before = c.dst->bytes();
        ozlSetErrStatus(OZL_StsOk);
        c.call();
        expectRefused(errors, *c.dst, before, c.want);
    }
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
    setRoiOf(image_, coi, xOffset, yOffset, width, height);
}

// Copies the part of tile (xIndex, yIndex) that lies inside the image.
void TiledImage::copyTile(int xIndex, int yIndex, bool toTile) {
    char* buffer = buffers_[{xIndex, yIndex}].data();
    const OzlImage* im = pixels_.get();
    const int tw = tile_->width, th = tile_->height;
    for (int c = 0; c < im->nChannels; ++c)
        for (int ty = 0; ty < th && yIndex * th + ty < im->height; ++ty)
            for (int tx = 0; tx < tw && xIndex * tw + tx < im->width; ++tx) {
                const int x = xIndex * tw + tx, y = yIndex * th + ty;
                if (toTile)
                    storeValue(buffer, tileStep_, th, im->nChannels, im->dataOrder, im->depth, tx,
                               ty, c, pixels_.at(x, y, c));
                else
                    pixels_.put(x, y, c, valueAt(buffer, tileStep_, th, im->nChannels,
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
