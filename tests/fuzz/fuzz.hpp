// The fuzz driver: image headers built through the library with random, mostly valid arguments, pixel buffers
// of exactly imageSize bytes, tiles served in buffers of exactly one tile, and every exported operation
// called on random picks of them in error mode Silent. Under the sanitizers any access outside those buffers,
// or undefined arithmetic, fails naming the case's seed and call; `ozl_fuzz --seed=N --cases=1 --trace`
// replays it, listing the pool and the calls.
// Each family file registers its calls; `call<F>` draws every argument from its type, so most entries are
// one table row: const Registrar calls({OZL_FUZZ(ozlNot)});
#pragma once

#include <algorithm>
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
    uint64_t next() {  // splitmix64
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    uint32_t below(uint32_t n) { return static_cast<uint32_t>(next() % n); }  // [0, n)
    int between(int64_t lo, int64_t hi) { return static_cast<int>(lo + int64_t(next() % uint64_t(hi - lo + 1))); }
    bool percent(uint32_t p) { return below(100) < p; }
    template <class T>
    T of(std::initializer_list<T> values) { return values.begin()[below(static_cast<uint32_t>(values.size()))]; }

private:
    uint64_t state_;
};

// Arguments of ozlCreateImageHeader, without the records.
struct HeaderArgs {
    int nChannels = 1, alphaChannel = 0;
    uint32_t depth = OZL_DEPTH_8U;
    const char *colorModel = "RGB", *channelSeq = "BGR";
    int dataOrder = OZL_DATA_ORDER_PIXEL, origin = OZL_ORIGIN_TL, align = 4, width = 1, height = 1;
};

int64_t layoutBytes(const OzlImage* image);  // by the row rule, apart from the library, in 64 bits; -1 past 63
// Stops the run (with the case's seed and call) on a fault the sanitizers cannot see: a header made by the
// library whose widthStep and imageSize are not the row rule's, or do not fit their fields.
void expectRowRule(const OzlImage* image, const char* function);
[[noreturn]] void fail(const char* what);

constexpr int64_t kMaxBufferBytes = int64_t{1} << 22;  // largest pixel or tile buffer
constexpr int kLargeSide = 4096;  // larger images keep a ROI of bounded size, or one call could take hours

class Case;
struct Call { const char* name; void (*run)(Case&); };
struct Registrar { Registrar(std::initializer_list<Call> calls); };  // one static instance per family file

// A window or kernel shape: mostly valid, now and then refused.
struct Window {
    int nCols, nRows, anchorX, anchorY;
    size_t cells() const { return nCols > 0 && nRows > 0 ? size_t(nCols) * size_t(nRows) : 1; }
};

// One case: the images with their buffers, ROI and tile records, and the random source of its calls.
class Case {
public:
    Case(uint64_t seed, bool trace);
    ~Case();

    Rng& rng() { return rng_; }
    OzlImage* pick() { return rng_.percent(3) ? nullptr : pickPresent(); }
    OzlImage* pickPresent();  // NULL only when every header was refused
    template <size_t N>
    std::array<OzlImage*, N> picks() {  // in order, as the trace lists them
        std::array<OzlImage*, N> out;
        return std::generate(out.begin(), out.end(), [this] { return pick(); }), out;
    }
    // Constants biased to the edges of their ranges.
    int anyInt();
    float anyFloat();
    double anyDouble();  // near the identity's scale, or anything a double holds
    int small(int lo, int hi) { return rng_.between(lo, hi); }
    int mostly(int lo, int hi, unsigned pct) { return rng_.percent(pct) ? small(lo, hi) : anyInt(); }
    // The next int argument: mostly in the next of the ranges set (lo, hi pairs), else any.
    int nextInt() { return ranges_ == rangesEnd_ ? anyInt() : (ranges_ += 2, mostly(ranges_[-2], ranges_[-1], 90)); }
    void setRanges(const int* begin, const int* end) { ranges_ = begin, rangesEnd_ = end; }
    Window window(int maxCols, int maxRows);
    // A new header's arguments: mostly the theme's and valid, now and then huge or illegal.
    HeaderArgs randomHeaderArgs(bool mask);
    // Far edges past the image or offsets near INT_MAX now and then (of bounded area on huge images).
    void setRandomRoi(OzlImage* image);
    void run(int count);

private:
    struct Owned;
    void addImage(bool mask);
    std::string describe(const OzlImage* image) const;
    static void OZL_CALL serveTile(const OzlImage* image, int xIndex, int yIndex, int mode);

    Rng rng_;
    bool trace_;
    // Most images of a case share a shape, so that operations pass their agreement checks as often as not.
    struct { uint32_t depth; int nChannels; bool alpha; int dataOrder; } theme_{};
    std::vector<Owned*> owned_;
    std::vector<OzlImage*> images_;
    const int *ranges_ = nullptr, *rangesEnd_ = nullptr;
};

// One argument of a call, from its type.
template <class T> T arg(Case& c);
template <> inline OzlImage* arg<OzlImage*>(Case& c) { return c.pick(); }
template <> inline const OzlImage* arg<const OzlImage*>(Case& c) { return c.pick(); }
template <> inline int arg<int>(Case& c) { return c.nextInt(); }
template <> inline unsigned arg<unsigned>(Case& c) { return static_cast<unsigned>(c.mostly(0, 39, 85)); }
template <> inline float arg<float>(Case& c) { return c.anyFloat(); }
template <> inline double arg<double>(Case& c) { return c.anyDouble(); }
template <> inline const char* arg<const char*>(Case& c) { return c.rng().of<const char*>({nullptr, "", "x", "(a == b)"}); }

template <class R, class... A>
R callWith(Case& c, R (*f)(A...)) {
    std::tuple<A...> args{arg<A>(c)...};  // braces: drawn left to right
    return std::apply(f, args);
}
template <auto F>
void call(Case& c) { callWith(c, F); }
// Calls F with its first ints mostly in the ranges given as lo, hi pairs.
template <auto F, int... bounds>
void ranged(Case& c) {
    static constexpr int b[] = {bounds...};
    c.setRanges(b, b + sizeof...(bounds));
    callWith(c, F);
    c.setRanges(nullptr, nullptr);
}
// A table row calling F with arguments drawn from its types.
#define OZL_FUZZ(F) ozl::fuzz::Call{#F, ozl::fuzz::call<F>}

}  // namespace ozl::fuzz
