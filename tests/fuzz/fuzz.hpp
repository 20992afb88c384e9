// The fuzz driver: image headers built through the library with random, mostly
// valid arguments, pixel buffers of exactly imageSize bytes, tiles served in
// buffers of exactly one tile, and every exported operation called on random
// picks of them in error mode Silent. A sanitizer build turns any read or write
// outside those buffers, and any undefined arithmetic, into a failure that
// names the case's seed.
//
// Each family adds its calls from its own file, without a central list:
//
//   const ozl::fuzz::Registrar calls("logic", {
//       {"ozlNot", [](ozl::fuzz::Case& c) { auto [s, d] = c.picks<2>(); ozlNot(s, d); }},
//   });
//
// A case is one seed: the same seed builds the same images and makes the same
// calls, so `ozl_fuzz --seed=N --cases=1 --trace` replays a failure.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "ozl.h"

namespace ozl::fuzz {

class Rng {
public:
    explicit Rng(uint64_t seed) : state_(seed) {}
    uint64_t next();
    // Uniform in [0, n); n > 0.
    uint32_t below(uint32_t n) { return static_cast<uint32_t>(next() % n); }
    // Uniform in [lo, hi].
    int64_t between(int64_t lo, int64_t hi) {
        return lo + static_cast<int64_t>(next() % static_cast<uint64_t>(hi - lo + 1));
    }
    bool percent(uint32_t p) { return below(100) < p; }
    template <class T>
    T of(std::initializer_list<T> values) {
        return values.begin()[below(static_cast<uint32_t>(values.size()))];
    }

private:
    uint64_t state_;
};

// The shape most images of a case share, so that operations get past their
// agreement checks as often as they are refused by them.
struct Theme {
    uint32_t depth = OZL_DEPTH_8U;
    int nChannels = 1;
    bool alpha = false;
    int dataOrder = OZL_DATA_ORDER_PIXEL;
};

// Arguments of ozlCreateImageHeader, without the records.
struct HeaderArgs {
    int nChannels = 1;
    int alphaChannel = 0;
    uint32_t depth = OZL_DEPTH_8U;
    const char* colorModel = "RGB";
    const char* channelSeq = "BGR";
    int dataOrder = OZL_DATA_ORDER_PIXEL;
    int origin = OZL_ORIGIN_TL;
    int align = 4;
    int width = 1;
    int height = 1;
};

// Row and image bytes of a layout by the row rule, computed independently of
// the library in 64 bits; -1 when the bit count of a row exceeds 63 bits.
int64_t rowBytes(int dataOrder, uint32_t depth, int align, int nChannels, int width);
int64_t imageBytes(int dataOrder, int nChannels, int height, int64_t rowBytes);
// The same for a header's own layout.
int64_t layoutBytes(const OzlImage* image);

// Stops the run unless `image`, made by the library, has the widthStep and
// imageSize its layout gives and those fit their 32-bit fields.
void expectRowRule(const OzlImage* image, const char* function);

// Largest pixel or tile buffer the driver makes.
constexpr int64_t kMaxBufferBytes = int64_t{1} << 22;
// Images larger than this in either direction always keep a ROI of bounded
// size, or one call could walk billions of pixels.
constexpr int kLargeSide = 4096;

class Case;
using CallFn = void (*)(Case&);
struct Call {
    const char* name;
    CallFn run;
    const char* family = nullptr;  // set by the registrar
};

// Adds a family's calls to the driver; one static instance per family file.
class Registrar {
public:
    Registrar(const char* family, std::initializer_list<Call> calls);
};

// Stops the run with the case's seed and call (a fault the sanitizers cannot
// see, such as header fields that do not describe the image).
[[noreturn]] void fail(const char* what);

// Everything one case owns: the images with their buffers, ROI and tile
// records, and the random source of its calls.
class Case {
public:
    Case(uint64_t seed, bool trace);
    ~Case();
    Case(const Case&) = delete;
    Case& operator=(const Case&) = delete;

    Rng& rng() { return rng_; }
    const Theme& theme() const { return theme_; }

    // A random image of the pool, now and then NULL.
    OzlImage* pick();
    // A random image of the pool; NULL only when every header of the case was
    // refused (for functions that do not test for NULL).
    OzlImage* pickPresent();
    // n picks in order (the arguments of one call are evaluated in no fixed
    // order, so a trace would not list them as the call receives them).
    template <size_t N>
    std::array<OzlImage*, N> picks() {
        std::array<OzlImage*, N> out;
        for (OzlImage*& image : out) image = pick();
        return out;
    }

    // Constants biased to the edges of their ranges.
    int anyInt();
    unsigned anyShift();
    float anyFloat();

    // Arguments for a new header: mostly the theme's and valid, now and then
    // huge or illegal.
    HeaderArgs randomHeaderArgs(bool mask);
    // A ROI for `image` (its far edges may lie past the image, its offsets
    // near INT_MAX); huge images get regions of bounded area.
    void setRandomRoi(OzlImage* image);

    // An argument of the current call, for the trace.
    void note(const std::string& text);
    std::string describe(const OzlImage* image) const;

    // Runs `count` random calls from the registry.
    void run(int count);

private:
    struct Owned;
    void build();
    void addImage(bool mask);
    OzlImage* makeTiled(const HeaderArgs& args);
    static void OZL_CALL serveTile(const OzlImage* image, int xIndex, int yIndex, int mode);

    Rng rng_;
    bool trace_;
    Theme theme_;
    std::vector<Owned*> owned_;
    std::vector<OzlImage*> images_;
    bool argsSoFar_ = false;
    bool narrow_ = false;  // picks limited to images of at most 4 channels
};

}  // namespace ozl::fuzz
