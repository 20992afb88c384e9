// The fuzz driver: image headers built through the library with random, mostly valid arguments, pixel buffers
// of exactly imageSize bytes, tiles served in buffers of exactly one tile, and every exported operation
// called on random picks of them in error mode Silent. A sanitizer build turns any access outside those
// buffers, and any undefined arithmetic, into a failure naming the case's seed; `ozl_fuzz --seed=N --cases=1
// --trace` replays it.
//
// Each family registers its calls from its own file; `call<F>` fills every argument from its type, so most
// entries are one table row:
//
//   const ozl::fuzz::Registrar calls("logic", {{"ozlNot", call<ozlNot>}});
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <tuple>
#include <vector>

#include "ozl.h"

namespace ozl::fuzz {

class Rng {
public:
    explicit Rng(uint64_t seed) : state_(seed) {}
    uint64_t next();
    uint32_t below(uint32_t n) { return static_cast<uint32_t>(next() % n); }  // [0, n)
    int64_t between(int64_t lo, int64_t hi) { return lo + int64_t(next() % uint64_t(hi - lo + 1)); }
    bool percent(uint32_t p) { return below(100) < p; }
    template <class T>
    T of(std::initializer_list<T> values) {
        return values.begin()[below(static_cast<uint32_t>(values.size()))];
    }

private:
    uint64_t state_;
};

// Arguments of ozlCreateImageHeader, without the records.
struct HeaderArgs {
    int nChannels = 1, alphaChannel = 0;
    uint32_t depth = OZL_DEPTH_8U;
    const char *colorModel = "RGB", *channelSeq = "BGR";
    int dataOrder = OZL_DATA_ORDER_PIXEL, origin = OZL_ORIGIN_TL, align = 4;
    int width = 1, height = 1;
};

// Image bytes by the row rule, computed apart from the library in 64 bits; -1 when a row's bit count exceeds
// 63 bits.
int64_t layoutBytes(const OzlImage* image);
// Stops the run unless `image`, made by the library, has the widthStep and imageSize its layout gives and
// those fit their 32-bit fields.
void expectRowRule(const OzlImage* image, const char* function);

constexpr int64_t kMaxBufferBytes = int64_t{1} << 22;  // largest pixel or tile buffer
// Images larger than this either way always keep a ROI of bounded size, or one call could walk billions of
// pixels.
constexpr int kLargeSide = 4096;

class Case;
struct Call { const char* name; void (*run)(Case&); };

// Adds a family's calls to the driver; one static instance per family file.
struct Registrar {
    Registrar(const char* family, std::initializer_list<Call> calls);
};

// Stops the run with the case's seed and call (a fault the sanitizers cannot see, such as header fields that
// do not describe the image).
[[noreturn]] void fail(const char* what);

// A window or kernel shape: mostly valid, now and then refused.
struct Window {
    int nCols, nRows, anchorX, anchorY;
    size_t cells() const { return nCols > 0 && nRows > 0 ? size_t(nCols) * size_t(nRows) : 1; }
};

// Everything one case owns: the images with their buffers, ROI and tile records, and the random source of its
// calls.
class Case {
public:
    Case(uint64_t seed, bool trace);
    ~Case();
    Case(const Case&) = delete;
    Case& operator=(const Case&) = delete;

    Rng& rng() { return rng_; }

    OzlImage* pick();         // an image of the pool, now and then NULL
    OzlImage* pickPresent();  // NULL only when every header was refused
    // n picks in order (a trace must list them as the call receives them).
    template <size_t N>
    std::array<OzlImage*, N> picks() {
        std::array<OzlImage*, N> out;
        for (OzlImage*& image : out) image = pick();
        return out;
    }

    // Constants biased to the edges of their ranges, noted for the trace.
    int anyInt();
    float anyFloat();
    double anyDouble();  // near the identity's scale, or anything a double holds
    int small(int lo, int hi);                  // in [lo, hi]
    int mostly(int lo, int hi, unsigned pct);   // in [lo, hi] pct% of the time, else anyInt
    Window window(int maxCols, int maxRows);

    // Arguments for a new header: mostly the theme's and valid, now and then huge or illegal; a ROI with far
    // edges past the image or offsets near INT_MAX (of bounded area on huge images).
    HeaderArgs randomHeaderArgs(bool mask);
    void setRandomRoi(OzlImage* image);

    void note(const std::string& text);  // an argument, for the trace
    void noteNumber(double v, int digits);
    std::string describe(const OzlImage* image) const;
    void run(int count);

private:
    struct Owned;
    void build();
    void addImage(bool mask);
    static void OZL_CALL serveTile(const OzlImage* image, int xIndex, int yIndex, int mode);

    Rng rng_;
    bool trace_;
    // The shape most images of a case share, so that operations get past their agreement checks as often as
    // they are refused by them.
    struct { uint32_t depth; int nChannels; bool alpha; int dataOrder; } theme_{};
    std::vector<Owned*> owned_;
    std::vector<OzlImage*> images_;
    bool argsSoFar_ = false;
};

// One argument of a call, from its type.
template <class T> T arg(Case& c);
template <> inline OzlImage* arg<OzlImage*>(Case& c) { return c.pick(); }
template <> inline int arg<int>(Case& c) { return c.anyInt(); }
template <> inline unsigned arg<unsigned>(Case& c) { return static_cast<unsigned>(c.mostly(0, 39, 85)); }
template <> inline float arg<float>(Case& c) { return c.anyFloat(); }
template <> inline double arg<double>(Case& c) { return c.anyDouble(); }
template <> inline const char* arg<const char*>(Case& c) { return c.rng().of<const char*>({nullptr, "", "x", "(a == b)"}); }

template <class R, class... A>
R callWith(Case& c, R (*f)(A...)) {
    std::tuple<A...> args{arg<A>(c)...};  // braces: drawn left to right
    return std::apply(f, args);
}
// Calls F with every argument drawn from its type.
template <auto F>
void call(Case& c) { callWith(c, F); }

}  // namespace ozl::fuzz
