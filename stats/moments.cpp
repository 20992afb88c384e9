// Moments: ozlMoments fills a state record with the ten spatial moments of
// one channel of a region and their size normalisations; the readers derive
// normalised and central moments from it; the one-shot functions compute one
// value from an image.
#include <cfloat>

#include "core/checks.hpp"
#include "core/pixelwise.hpp"
#include "image/region.hpp"
#include "ozl.h"
#include "stats/moment_sums.hpp"

namespace ozl::stats {

namespace {

using core::Caller;
using core::fail;

constexpr const char* kModule = "ozlMoms";

// A state record as the functions receive it: its rows.
using State = const OzlMoment (*)[4];

enum Line {
    kLineOrder = 58,
    kLineState = 61,
    kLineHeader = 84,
    kLineChannel = 88,
    kLineTile = 117,
};

bool orderValid(const Caller& caller, int m, int n) {
    if (m >= 0 && m <= 3 && n >= 0 && n <= 3 && m + n <= 3) return true;
    return fail(caller, OZL_StsBadArg, "Illegal order of moment", kLineOrder);
}

bool stateValid(const Caller& caller, const void* state) {
    return state || fail(caller, OZL_StsBadArg, "(state == NULL)", kLineState);
}

bool imageValid(const Caller& caller, const OzlImage* image) {
    if (!core::headersValid(caller, {image}, kLineHeader)) return false;
    if (image->nChannels > 1 && !image::hasCoi(image))
        return fail(caller, OZL_StsBadArg, "Only one channel can be proceed", kLineChannel);
    return true;
}

// The moments of the image's region: false when the region is empty or a tile
// could not be fetched (reported). The image's region pointer is replaced by
// the resolved region while the sums run.
struct Region {
    int width = 0;
    int height = 0;
};

bool regionMoments(const Caller& caller, OzlImage* image, double value[4][4], Region& size) {
    const image::RegionStart start = image::regionStart(image, 0);
    size = {start.width, start.height};
    if (size.width == 0 || size.height == 0) return false;
    const image::Rect rect = image::regionRect(image);
    OzlROI resolved{image::hasCoi(image) ? image->roi->coi : 1, rect.x, rect.y, size.width,
                    size.height};
    OzlROI* own = image->roi;
    image->roi = &resolved;
    const int result = sumMoments(image, value);
    image->roi = own;
    if (result == core::kMapDone) return true;
    fail(caller, OZL_StsError, "Error get tile to read", kLineTile);
    return false;
}

void fillState(OzlMoment (*state)[4], const double value[4][4], Region size) {
    const double iw = 1.0 / size.width, ih = 1.0 / size.height;
    const double scale[4][4] = {{1.0, ih, ih * ih, ih * ih * ih},
                                {iw, iw * ih, iw * ih * ih, 0.0},
                                {iw * iw, iw * iw * ih, 0.0, 0.0},
                                {iw * iw * iw, 0.0, 0.0, 0.0}};
    for (int m = 0; m <= 3; ++m)
        for (int n = 0; m + n <= 3; ++n) {
            state[m][n].scale = scale[m][n];
            state[m][n].value = value[m][n];
        }
}

double centralMoment(State s, int m, int n) {
    auto M = [&](int p, int q) { return s[p][q].value; };
    const double m00 = M(0, 0);
    double xc, yc;
    if (m00 > DBL_MIN || m00 < -DBL_MIN) {
        const double inv = 1.0 / m00;
        xc = inv * M(1, 0);
        yc = inv * M(0, 1);
    } else {
        // No mass: about the region's centre.
        xc = 0.5 / s[1][0].scale;
        yc = 0.5 / s[0][1].scale;
    }
    switch (m * 4 + n) {
        case 0: return m00;
        case 1: case 4: return 0.0;
        case 8: return M(2, 0) - M(1, 0) * xc;
        case 5: return M(1, 1) - M(0, 1) * xc;
        case 2: return M(0, 2) - M(0, 1) * yc;
        case 12: return M(3, 0) - 3 * xc * M(2, 0) + 2 * xc * xc * M(1, 0);
        case 9: return M(2, 1) - 2 * xc * M(1, 1) - yc * M(2, 0) + 2 * xc * xc * M(0, 1);
        case 6: return M(1, 2) - 2 * yc * M(1, 1) - xc * M(0, 2) + 2 * yc * yc * M(1, 0);
        default: return M(0, 3) - 3 * yc * M(0, 2) + 2 * yc * yc * M(0, 1);
    }
}

// A reader's value, or 0.0 when refused.
template <class F>
double read(const char* name, State state, int m, int n, F&& f) {
    const Caller caller{name, kModule};
    if (!orderValid(caller, m, n) || !stateValid(caller, state)) return 0.0;
    return f(state);
}

// The moments of an image into a record of its own, then a reader; 0.0 when
// refused or the region is empty.
template <class F>
double fromImage(const char* name, OzlImage* image, int m, int n, F&& f) {
    const Caller caller{name, kModule};
    if (!orderValid(caller, m, n) || !imageValid(caller, image)) return 0.0;
    double value[4][4];
    Region size;
    if (!regionMoments(caller, image, value, size)) return 0.0;
    OzlMomentState state = {};
    fillState(state, value, size);
    return f(state, size);
}

// W^m H^n in 32-bit integer arithmetic, wrapping as it goes.
int32_t wrappedPower(Region size, int m, int n) {
    uint32_t p = 1;
    for (int i = 0; i < m; ++i) p *= static_cast<uint32_t>(size.width);
    for (int i = 0; i < n; ++i) p *= static_cast<uint32_t>(size.height);
    return static_cast<int32_t>(p);
}

}  // namespace

}  // namespace ozl::stats

using namespace ozl::stats;

extern "C" OZL_API void OZL_CALL ozlMoments(OzlImage* image, OzlMomentState state) {
    const Caller caller{"ozlMoments", kModule};
    if (!imageValid(caller, image) || !stateValid(caller, state)) return;
    double value[4][4];
    Region size;
    if (regionMoments(caller, image, value, size)) fillState(state, value, size);
}

extern "C" OZL_API double OZL_CALL ozlGetSpatialMoment(OzlMomentState state, int m, int n) {
    return read("ozlGetSpatialMoment", state, m, n,
                [&](State s) { return s[m][n].value; });
}

extern "C" OZL_API double OZL_CALL ozlGetNormalizedSpatialMoment(OzlMomentState state, int m,
                                                                 int n) {
    return read("ozlGetNormalizedSpatialMoment", state, m, n,
                [&](State s) { return s[m][n].value * s[m][n].scale; });
}

extern "C" OZL_API double OZL_CALL ozlGetCentralMoment(OzlMomentState state, int m, int n) {
    return read("ozlGetCentralMoment", state, m, n,
                [&](State s) { return centralMoment(s, m, n); });
}

extern "C" OZL_API double OZL_CALL ozlGetNormalizedCentralMoment(OzlMomentState state, int m,
                                                                 int n) {
    return read("ozlGetNormalizedCentralMoment", state, m, n, [&](State s) {
        return centralMoment(s, m, n) * s[m][n].scale;
    });
}

extern "C" OZL_API double OZL_CALL ozlSpatialMoment(OzlImage* image, int m, int n) {
    return fromImage("ozlSpatialMoment", image, m, n,
                     [&](State s, Region) { return s[m][n].value; });
}

extern "C" OZL_API double OZL_CALL ozlNormalizedSpatialMoment(OzlImage* image, int m, int n) {
    return fromImage("ozlNormalizedSpatialMoment", image, m, n,
                     [&](State s, Region size) {
                         const double divisor =
                             m == 0 && n == 0 ? 1.0 : static_cast<double>(wrappedPower(size, m, n));
                         return s[m][n].value / divisor;
                     });
}

extern "C" OZL_API double OZL_CALL ozlCentralMoment(OzlImage* image, int m, int n) {
    return fromImage("ozlCentralMoment", image, m, n, [&](State s, Region) {
        return centralMoment(s, m, n);
    });
}

extern "C" OZL_API double OZL_CALL ozlNormalizedCentralMoment(OzlImage* image, int m, int n) {
    return fromImage("ozlNormalizedCentralMoment", image, m, n,
                     [&](State s, Region) {
                         return centralMoment(s, m, n) * s[m][n].scale;
                     });
}
