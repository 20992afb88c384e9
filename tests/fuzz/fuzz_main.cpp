// The driver: the case pool (images, masks, tiles), the registry of calls, the run loop and the failure
// report.
#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>
#include <unistd.h>

#include "fuzz/fuzz.hpp"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
// Huge requests are part of the input: the allocator must return NULL for them as the heap would.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
#endif

namespace ozl::fuzz {
namespace {

std::vector<Call>& registry() {
    static std::vector<Call> calls;
    return calls;
}

// Written before each case and call, so that the death callback and the signal handler only copy it out.
char g_report[256] = "";
uint64_t g_seed = 0;

void setReport(int callIndex, const char* callName) {
    const auto seed = static_cast<unsigned long long>(g_seed);
    std::snprintf(g_report, sizeof g_report, "\nozl_fuzz: FAILED in the case with seed %llu, call %d (%s)\n"
                  "ozl_fuzz: replay with: ozl_fuzz --seed=%llu --cases=1 --trace\n", seed, callIndex, callName, seed);
}

void reportFailure() { [[maybe_unused]] ssize_t n = ::write(2, g_report, std::strlen(g_report)); }

constexpr uint32_t kDepths[] = {OZL_DEPTH_1U,  OZL_DEPTH_8U,  OZL_DEPTH_8S, OZL_DEPTH_16U,
                                OZL_DEPTH_16S, OZL_DEPTH_32S, OZL_DEPTH_32F};

void fillRandom(Rng& rng, char* p, int64_t n) {
    for (int64_t i = 0; i < n; i += 8) {
        const uint64_t v = rng.next();
        std::memcpy(p + i, &v, static_cast<size_t>(std::min<int64_t>(8, n - i)));
    }
}

// Exactly `bytes` bytes, so that the sanitizer catches the first byte past them; aligned as the header asks.
char* exactBuffer(int64_t bytes, int align) {
    void* p = nullptr;
    const size_t alignment = std::max<size_t>(size_t(align), sizeof(void*));
    return posix_memalign(&p, alignment, size_t(bytes)) == 0 ? static_cast<char*>(p) : nullptr;
}

// An image side: mostly small, now and then up to a few hundred, rarely huge or illegal.
int randomSide(Rng& rng) {
    const uint32_t r = rng.below(100);
    if (r < 65) return rng.between(1, 40);
    if (r < 93) return rng.between(1, 300);
    if (r < 99)
        return rng.of({INT_MAX, INT_MAX - 7, 1 << 30, (1 << 30) + 1, (1 << 29) + 1, (1 << 28) + 3,
                       0x55555556, 0x40000001, 0x20000001, 0x08000001, 0x01000001});
    return rng.of({0, -1, INT_MIN});
}

int64_t rowBytes(int dataOrder, uint32_t depth, int align, int nChannels, int width) {
    const int64_t perRow = dataOrder == OZL_DATA_ORDER_PLANE ? 1 : nChannels;
    const int64_t valueBits = int64_t{width} * (depth & ~OZL_DEPTH_SIGN), alignBits = int64_t{align} * 8;
    if (valueBits <= 0 || perRow <= 0 || align < 1 || perRow > (INT64_MAX / 2) / valueBits) return -1;
    return (valueBits * perRow + alignBits - 1) / alignBits * alignBits / 8;
}

int64_t imageBytes(int dataOrder, int nChannels, int height, int64_t row) {
    const int64_t rows = int64_t{height} * (dataOrder == OZL_DATA_ORDER_PLANE ? nChannels : 1);
    return row < 0 || rows <= 0 || row > INT64_MAX / rows ? -1 : row * rows;
}

}  // namespace

int64_t layoutBytes(const OzlImage* im) {
    return imageBytes(im->dataOrder, im->nChannels, im->height,
                      rowBytes(im->dataOrder, im->depth, im->align, im->nChannels, im->width));
}

Registrar::Registrar(std::initializer_list<Call> calls) { registry().insert(registry().end(), calls); }

void expectRowRule(const OzlImage* im, const char* function) {
    const int64_t row = rowBytes(im->dataOrder, im->depth, im->align, im->nChannels, im->width), size = layoutBytes(im);
    if (row < 0 || row > INT32_MAX || size < 0 || size > INT32_MAX)
        fail((std::string(function) + ": accepted a row or image size that does not fit 32 bits").c_str());
    if (im->widthStep != row || im->imageSize != size)
        fail((std::string(function) + ": widthStep or imageSize disagrees with the layout").c_str());
}

void fail(const char* what) {
    std::fprintf(stderr, "\nozl_fuzz: %s\n", what);
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_print_stack_trace();
#endif
    reportFailure();
    std::_Exit(1);
}

// --------------------------------------------------------------------------- The pool

struct Case::Owned {
    Case* owner;
    OzlImage* header = nullptr;
    char* data = nullptr;      // the driver's own buffer (untiled images)
    int64_t tileBytes = -1;
    std::vector<char*> tiles;  // served and not yet released
};

Case::~Case() {
    for (Owned* o : owned_) {
        ozlDeleteROI(o->header->roi);
        ozlDeleteTileInfo(o->header->tileInfo);
        for (char* t : o->tiles) std::free(t);
        if (!o->data) ozlDeallocate(o->header, OZL_IMAGE_DATA);
        std::free(o->data);
        ozlDeallocateHeader(o->header);
        delete o;
    }
}

int Case::anyInt() {
    switch (rng_.below(6)) {
        case 0: return rng_.of({0, 1, -1, 2, 255, 256, -128, -129, 127, 128, 32767, 32768, -32768, -32769,
                                       65535, 65536, INT_MAX, INT_MIN, INT_MAX - 1, INT_MIN + 1});
        case 1: case 2: return small(-300, 300);
        case 3: return small(-70000, 70000);
        default: return static_cast<int>(static_cast<uint32_t>(rng_.next()));
    }
}

float Case::anyFloat() {
    float v;
    const uint32_t bits = static_cast<uint32_t>(rng_.next());
    if (rng_.percent(30)) std::memcpy(&v, &bits, sizeof v);  // NaNs, infinities, denormals included
    else v = rng_.of({0.0f, -0.0f, 1.0f, -1.0f, 0.5f, 255.0f, 1e30f, -1e30f, 3.4e38f, 1e-40f, 2147483648.0f, -2147483904.0f});
    return v;
}

double Case::anyDouble() {
    if (rng_.percent(12)) return anyFloat();
    using L = std::numeric_limits<double>;
    const double v = rng_.percent(14) ? rng_.of({0.0, 1.0, -1.0, 1e300, -1e300, L::quiet_NaN(), L::infinity(), 1e-300})
                                      : rng_.between(-4000, 4000) / 1000.0;
    return v;
}

Window Case::window(int maxCols, int maxRows) {
    Window w;
    w.nCols = small(rng_.percent(3) ? -1 : 1, maxCols), w.nRows = small(rng_.percent(3) ? -1 : 1, maxRows);
    const int bad = rng_.percent(4) ? 1 : 0;
    w.anchorX = small(-bad, w.nCols > 1 ? w.nCols - 1 + bad : 0), w.anchorY = small(-bad, w.nRows > 1 ? w.nRows - 1 + bad : 0);
    return w;
}

OzlImage* Case::pickPresent() {
    return images_.empty() ? nullptr : images_[rng_.below(static_cast<uint32_t>(images_.size()))];
}

HeaderArgs Case::randomHeaderArgs(bool mask) {
    HeaderArgs a;
    if (mask) {
        a.depth = rng_.percent(97) ? OZL_DEPTH_1U : kDepths[rng_.below(7)];
    } else if (rng_.percent(80)) {
        a.depth = theme_.depth, a.nChannels = theme_.nChannels, a.dataOrder = theme_.dataOrder;
        a.alphaChannel = theme_.alpha ? theme_.nChannels : 0;
    } else {
        a.depth = kDepths[rng_.below(7)];
        a.nChannels = a.depth == OZL_DEPTH_1U ? 1 : rng_.between(1, 9);
        a.alphaChannel = rng_.percent(20) ? a.nChannels : 0;
        a.dataOrder = static_cast<int>(rng_.below(2));
    }
    a.origin = static_cast<int>(rng_.below(2)), a.align = rng_.of({4, 8, 16, 32});
    a.width = randomSide(rng_), a.height = randomSide(rng_);
    if (rng_.percent(4)) {  // now and then one argument the header check must refuse
        switch (rng_.below(8)) {
            case 0: a.depth = rng_.of({0u, 2u, 24u, 33u, 0x80000001u, 0x80000021u, ~0u}); break;
            case 1: a.nChannels = rng_.of({0, -1, INT_MIN, 2}); break;
            case 2: a.alphaChannel = rng_.of({-1, 1, 5, INT_MAX}); break;
            case 3: a.dataOrder = rng_.of({2, -1}); break;
            case 4: a.origin = rng_.of({2, -1}); break;
            case 5: a.align = rng_.of({0, 1, 2, 3, 64, -4}); break;
            case 6: a.colorModel = nullptr; break;
            default: a.channelSeq = nullptr; break;
        }
    }
    return a;
}

void Case::setRandomRoi(OzlImage* image) {
    const bool large = image->width > kLargeSide || image->height > kLargeSide;
    auto offset = [&](int64_t side) -> int {
        const uint32_t r = rng_.below(100);
        if (r < 4) return INT_MAX - rng_.between(0, 300);
        if (r < 6) return rng_.of({-1, INT_MIN});
        if (large) return static_cast<int>(std::max<int64_t>(0, side - rng_.between(-10, 300)));
        if (r < 20) return rng_.between(side, side + 10);  // past the edge
        return r < 35 ? 0 : rng_.between(0, side - 1);
    };
    auto size = [&](int64_t side, int64_t off) -> int {
        const uint32_t r = rng_.below(100);
        if (r < 8) return INT_MAX - rng_.between(0, 10);
        if (r < 10) return rng_.of({0, -1, INT_MIN});
        if (r < 30 || side - off < 1) return rng_.between(1, r < 30 ? 300 : 20);
        return rng_.between(1, std::min<int64_t>(side - off + 5, INT_MAX));
    };
    int coi = rng_.percent(25) ? rng_.between(1, image->nChannels) : 0;
    if (rng_.percent(2)) coi = rng_.of({-1, image->nChannels + 1});
    const int x = offset(image->width), y = offset(image->height);
    const int rw = size(image->width, x), rh = size(image->height, y);
    if (image->roi) ozlSetROI(image->roi, coi, x, y, rw, rh);
    else image->roi = ozlCreateROI(coi, x, y, rw, rh);
}

void OZL_CALL Case::serveTile(const OzlImage* image, int, int, int mode) {
    auto* o = static_cast<Owned*>(image->tileInfo->id);
    image->tileInfo->tileData = nullptr;
    if (mode == OZL_RELEASE_TILE) {  // freed at once: a tile used after its release is a fault
        for (char* t : o->tiles) std::free(t);
        return o->tiles.clear();
    }
    Rng& rng = o->owner->rng_;
    char* buffer = o->tileBytes < 1 || o->tileBytes > kMaxBufferBytes || rng.percent(3) ? nullptr
                   : exactBuffer(o->tileBytes, image->align);
    if (!buffer) return;
    fillRandom(rng, buffer, o->tileBytes);
    o->tiles.push_back(image->tileInfo->tileData = buffer);
}

void Case::addImage(bool mask) {
    HeaderArgs a = randomHeaderArgs(mask);
    auto* o = new Owned{this, nullptr, nullptr, -1, {}};
    OzlTileInfo* tile = nullptr;
    if (!mask && rng_.percent(15)) {
        int tw = rng_.of({8, 16, 24, 32, 64}), th = rng_.of({8, 16, 24, 32, 64});
        if (rng_.percent(3)) tw = rng_.of({0, 12, -8, 1 << 28, INT_MAX - 7});
        if (rng_.percent(3)) th = rng_.of({0, 12, -8, 1 << 28, INT_MAX - 7});
        tile = ozlCreateTileInfo(&Case::serveTile, o, tw, th);
        if (rng_.percent(2)) ozlSetTileInfo(tile, nullptr, o, tw, th);
        o->tileBytes = imageBytes(a.dataOrder, a.nChannels, th, rowBytes(a.dataOrder, a.depth, a.align, a.nChannels, tw));
    }
    OzlImage* maskArg = !mask && !images_.empty() && rng_.percent(10) ? images_[rng_.below(uint32_t(images_.size()))] : nullptr;
    void* imageId = reinterpret_cast<void*>(static_cast<uintptr_t>(rng_.next()));
    OzlImage* h = ozlCreateImageHeader(a.nChannels, a.alphaChannel, a.depth, a.colorModel, a.channelSeq, a.dataOrder,
                                       a.origin, a.align, a.width, a.height, nullptr, maskArg, imageId, tile);
    if (h) expectRowRule(h, "ozlCreateImageHeader");
    if (h && !tile && h->imageSize > kMaxBufferBytes) ozlDeallocateHeader(h), h = nullptr;
    if (!(o->header = h)) return ozlDeleteTileInfo(tile), delete o;
    if (!tile) {
        if (rng_.percent(70)) {
            if (!(o->data = exactBuffer(h->imageSize, a.align))) fail("out of memory for pixels");
            h->imageData = o->data;
        } else if (a.depth == OZL_DEPTH_32F) {
            ozlAllocateImageFP(h, static_cast<int>(rng_.below(2)), 1.5f);
        } else {
            ozlAllocateImage(h, static_cast<int>(rng_.below(2)), static_cast<int>(rng_.next()));
        }
        if (!h->imageData) fail("ozlAllocateImage left a small image without data");
        fillRandom(rng_, h->imageData, h->imageSize);
    } else if (rng_.percent(20)) {  // a tiled image has no buffer: it may be as large as the fields allow
        h->width = rng_.of({INT_MAX, 1 << 30, (1 << 30) + 1, 0x55555556, 100000});
        if (rng_.percent(50)) h->height = rng_.of({INT_MAX, 1 << 30, 0x40000001, 100000});
    }
    if (rng_.percent(mask ? 50 : 60) || h->width > kLargeSide || h->height > kLargeSide) setRandomRoi(h);
    owned_.push_back(o);
    images_.push_back(h);
}

Case::Case(uint64_t seed, bool trace) : rng_(seed), trace_(trace) {
    setReport(-1, "building the images");
    theme_.depth = kDepths[rng_.below(7)];
    const bool wide = rng_.percent(10) && theme_.depth != OZL_DEPTH_1U;
    theme_.nChannels = theme_.depth == OZL_DEPTH_1U ? 1 : rng_.between(wide ? 5 : 1, wide ? 9 : 4);
    theme_.alpha = rng_.percent(20), theme_.dataOrder = static_cast<int>(rng_.below(2));
    const int images = rng_.between(2, 6), masks = rng_.between(0, 2);
    for (int i = 0; i < masks + images; ++i) addImage(i < masks);
    // Masks of other sizes with their own ROIs; rarely an image that is no mask.
    for (OzlImage* h : images_) {
        OzlImage* m = images_[rng_.below(static_cast<uint32_t>(images_.size()))];
        if (rng_.percent(25) && !h->maskROI && m != h && !m->maskROI && (m->depth == OZL_DEPTH_1U || rng_.percent(10)))
            h->maskROI = m;
    }
    if (!trace_) return;
    std::printf("case: theme depth %#x x%d%s %s\n", theme_.depth, theme_.nChannels, theme_.alpha ? "+alpha" : "",
                theme_.dataOrder ? "plane" : "pixel");
    for (size_t i = 0; i < images_.size(); ++i) std::printf("  #%zu %s\n", i, describe(images_[i]).c_str());
}

std::string Case::describe(const OzlImage* im) const {
    char buf[320];
    const OzlROI r = im->roi ? *im->roi : OzlROI{};
    std::snprintf(buf, sizeof buf, "depth %#x x%d%s %s %dx%d align %d step %d size %d roi(coi %d at %d,%d size %dx%d)"
                  " mask #%d tiles %dx%d",
                  im->depth, im->nChannels, im->alphaChannel ? "+alpha" : "", im->dataOrder ? "plane" : "pixel", im->width,
                  im->height, im->align, im->widthStep, im->imageSize, r.coi, r.xOffset, r.yOffset, r.width, r.height,
                  im->maskROI ? int(std::find(images_.begin(), images_.end(), im->maskROI) - images_.begin()) : -1,
                  im->tileInfo ? im->tileInfo->width : 0, im->tileInfo ? im->tileInfo->height : 0);
    return buf;
}

void Case::run(int count) {
    const auto& calls = registry();
    for (int i = 0; i < count && !calls.empty(); ++i) {
        const Call& call = calls[rng_.below(static_cast<uint32_t>(calls.size()))];
        setReport(i, call.name);
        if (trace_) std::printf("[%d] %s", i, call.name), std::fflush(stdout);
        ozlSetErrStatus(OZL_StsOk);
        call.run(*this);
        if (trace_) std::printf(": status %d\n", ozlGetErrStatus()), std::fflush(stdout);
        ozlSetErrMode(OZL_ErrModeSilent);  // the frame family's calls may change them
        ozlRedirectError(ozlNulDevReport);
    }
}

}  // namespace ozl::fuzz

int main(int argc, char** argv) {
    using namespace ozl::fuzz;
    using ull = unsigned long long;
    ull seconds = 60, firstSeed = ull(std::time(nullptr)) * 1000, cases = ~0ull, calls = 24;
    bool trace = false;
    const struct { const char* name; ull* value; } numbers[] = {
        {"--seconds=", &seconds}, {"--seed=", &firstSeed}, {"--cases=", &cases}, {"--calls=", &calls}};
    for (int i = 1; i < argc; ++i) {
        bool known = std::strcmp(argv[i], "--trace") == 0;
        trace = trace || known;
        for (const auto& n : numbers) {
            char tail = 0;  // a number and nothing after it
            known = known || (std::strncmp(argv[i], n.name, std::strlen(n.name)) == 0 &&
                              std::sscanf(argv[i] + std::strlen(n.name), "%llu%c", n.value, &tail) == 1);
        }
        if (!known) {
            std::fprintf(stderr, "usage: ozl_fuzz [--seconds=N] [--seed=N] [--cases=N] [--calls=N] [--trace]\nRuns cases "
                                 "of seeds N, N+1, ... until time or cases run out (60 s, seed from the clock).\n");
            return 2;
        }
    }
    // One order whatever the link order, so that a seed replays on any build with the same calls.
    auto& all = registry();
    std::sort(all.begin(), all.end(), [](const Call& x, const Call& y) { return std::strcmp(x.name, y.name) < 0; });
    std::printf("ozl_fuzz: %zu calls registered, first seed %llu, up to %llu s\n", all.size(), firstSeed, seconds);
    std::fflush(stdout);
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(reportFailure);
#else
    for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        std::signal(sig, [](int s) { reportFailure(); std::signal(s, SIG_DFL); std::raise(s); });
#endif
    ozlSetErrMode(OZL_ErrModeSilent);
    ozlRedirectError(ozlNulDevReport);
    const auto start = std::chrono::steady_clock::now();
    auto elapsed = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); };
    ull done = 0;
    for (ull seed = firstSeed; done < cases && elapsed() < double(seconds); ++seed, ++done) {
        const double before = elapsed();
        g_seed = seed;
        Case(seed, trace).run(static_cast<int>(calls));
        if (elapsed() - before > 2.0) std::printf("ozl_fuzz: slow case, seed %llu: %.1f s\n", seed, elapsed() - before);
    }
    std::printf("ozl_fuzz: %llu cases (seeds %llu to %llu), %llu calls each, %.1f s, no failure\n", done, firstSeed,
                firstSeed + (done ? done - 1 : 0), calls, elapsed());
    return 0;
}
