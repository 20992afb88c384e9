// Colour conversions, twists, colour to grey and back: the pool's images are "RGB", so a call mostly renames
// its model side for the call (and drops its ROI, which the conversions refuse). Histograms and look-up
// tables (real arrays of the length their num gives, keys mostly valid), moments, norms.
#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

// Renames an image's colour model and channel sequence (NUL-padded to four characters) and now and then takes
// its ROI away, until the end of the call; in place, so that one image passed twice stays one image.
struct Renamed {
    OzlImage* image;
    OzlImage saved{};
    Renamed(Case& c, OzlImage* im, const char* model, const char* seq) : image(im && c.rng().percent(85) ? im : nullptr) {
        if (!image) return;
        saved = *image;
        for (auto [field, text] : {std::pair{image->colorModel, model}, {image->channelSeq, seq}})
            std::memset(field, 0, 4), std::memcpy(field, text, std::min<size_t>(4, std::strlen(text)));
        if (c.rng().percent(70)) image->roi = nullptr;
    }
    ~Renamed() { if (image) *image = saved; }
};

// A conversion from RGB (toModel) or to it, with its other side named `model`.
template <void (*F)(OzlImage*, OzlImage*), const char* model, bool toModel>
void convert(Case& c) {
    const auto [s, d] = c.picks<2>();
    const char* rgb = c.rng().percent(50) ? "RGB" : "BGR";
    Renamed rs(c, s, toModel ? "RGB" : model, toModel ? rgb : model), rd(c, d, toModel ? model : "RGB", toModel ? model : rgb);
    F(s, d);
}

constexpr char kHSV[] = "HSV", kHLS[] = "HLS", kXYZ[] = "XYZ", kYUV[] = "YUV", kYCr[] = "YCr", kYCC[] = "YCC", kLUV[] = "LUV";

// One table per channel of the larger image (the destination's channel of interest picks tables too), now and
// then a NULL entry or a NULL array; keys now and then out of range or out of order.
struct Tables {
    std::vector<std::vector<int32_t>> arrays;
    std::vector<OzlLUT> luts;
    std::vector<OzlLUT*> ptr;
    bool null;

    Tables(Case& c, const OzlImage* a, const OzlImage* b = nullptr) {
        int entries = 4;
        for (const OzlImage* im : {a, b}) entries = im ? std::max(entries, im->nChannels) : entries;
        luts.resize(size_t(entries)), arrays.resize(3 * size_t(entries));
        for (int e = 0; e < entries; ++e) {
            const int num = c.rng().percent(5) ? c.rng().between(0, 1) : c.rng().between(2, 40);
            const int top = c.rng().of({2, 256, 65536});
            auto &key = arrays[3 * e], &value = arrays[3 * e + 1], &factor = arrays[3 * e + 2];
            for (int j = 0; j < std::max(num, 1); ++j)
                key.push_back(c.rng().between(0, top)), value.push_back(c.anyInt()), factor.push_back(c.anyInt());
            if (!c.rng().percent(5)) std::sort(key.begin(), key.end());
            if (c.rng().percent(5)) key.back() = c.rng().between(-2, top + 2);
            luts[e] = {num, key.data(), value.data(), c.rng().percent(10) ? nullptr : factor.data(), int32_t(c.rng().below(2))};
            ptr.push_back(c.rng().percent(3) ? nullptr : &luts[e]);
        }
        null = c.rng().percent(3);
    }
    OzlLUT** get() { return null ? nullptr : ptr.data(); }
};

template <void (*F)(OzlImage*, OzlImage*, OzlLUT**)>
void mapCall(Case& c) {
    const auto [s, d] = c.picks<2>();
    Tables tables(c, s, d);
    F(s, d, tables.get());
}

// A moment of an image, or read from the state ozlMoments left (orders -1..4: the ends are refused).
template <auto F>
void moment(Case& c) {
    OzlMomentState state = {};
    OzlImage* image = c.pick();
    const int m = c.small(-1, 4), n = c.small(-1, 4);
    if constexpr (std::is_invocable_v<decltype(F), OzlImage*, int, int>) F(image, m, n);
    else ozlMoments(image, state), F(state, m, n);
}

const ozl::fuzz::Registrar calls({
    {"ozlRGB2HSV", convert<ozlRGB2HSV, kHSV, true>}, {"ozlHSV2RGB", convert<ozlHSV2RGB, kHSV, false>},
    {"ozlRGB2HLS", convert<ozlRGB2HLS, kHLS, true>}, {"ozlHLS2RGB", convert<ozlHLS2RGB, kHLS, false>},
    {"ozlRGB2XYZ", convert<ozlRGB2XYZ, kXYZ, true>}, {"ozlXYZ2RGB", convert<ozlXYZ2RGB, kXYZ, false>},
    {"ozlRGB2YUV", convert<ozlRGB2YUV, kYUV, true>}, {"ozlYUV2RGB", convert<ozlYUV2RGB, kYUV, false>},
    {"ozlRGB2YCrCb", convert<ozlRGB2YCrCb, kYCr, true>}, {"ozlYCrCb2RGB", convert<ozlYCrCb2RGB, kYCr, false>},
    {"ozlRGB2LUV", convert<ozlRGB2LUV, kLUV, true>}, {"ozlLUV2RGB", convert<ozlLUV2RGB, kLUV, false>},
    {"ozlYCC2RGB", convert<ozlYCC2RGB, kYCC, false>},
    // Records made from a table or NULL, reset (NULL now and then), deleted (NULL is reported).
    {"ozlCreateColorTwist", [](Case& c) {
         int data[16] = {};
         OzlColorTwist* t = ozlCreateColorTwist(c.rng().percent(90) ? data : nullptr, c.anyInt());
         ozlSetColorTwist(c.rng().percent(90) ? t : nullptr, data, c.anyInt());
         ozlDeleteColorTwist(t);
     }},
    {"ozlApplyColorTwist", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         int data[16];
         for (int& v : data) v = c.mostly(-300, 300, 70);
         OzlColorTwist* t = c.rng().percent(95) ? ozlCreateColorTwist(data, c.small(0, 31)) : nullptr;
         ozlApplyColorTwist(s, d, t, c.rng().percent(60) ? 0 : c.anyInt());
         ozlDeleteColorTwist(t);
     }},
    {"ozlColorTwistFP", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         float m[16];
         for (float& v : m) v = c.anyFloat();
         ozlColorTwistFP(s, d, c.rng().percent(95) ? m : nullptr);
     }},
    {"ozlColorToGray", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         Renamed rd(c, d, "GRAY", "G");
         ozlColorToGray(s, d);
     }},
    {"ozlGrayToColor", [](Case& c) {
         const auto [s, d] = c.picks<2>();
         Renamed rs(c, s, "Gray", "G");
         ozlGrayToColor(s, d, c.anyFloat(), c.anyFloat(), c.anyFloat());
     }},
    {"ozlComputeHisto", [](Case& c) {
         OzlImage* image = c.pick();
         Tables tables(c, image);
         ozlComputeHisto(image, tables.get());
     }},
    {"ozlContrastStretch", mapCall<ozlContrastStretch>}, {"ozlHistoEqualize", mapCall<ozlHistoEqualize>},
    {"ozlMoments", [](Case& c) { OzlMomentState state = {}; ozlMoments(c.pick(), state); }},
    {"ozlGetSpatialMoment", moment<ozlGetSpatialMoment>}, {"ozlSpatialMoment", moment<ozlSpatialMoment>},
    {"ozlGetNormalizedSpatialMoment", moment<ozlGetNormalizedSpatialMoment>},
    {"ozlGetCentralMoment", moment<ozlGetCentralMoment>}, {"ozlCentralMoment", moment<ozlCentralMoment>},
    {"ozlGetNormalizedCentralMoment", moment<ozlGetNormalizedCentralMoment>},
    {"ozlNormalizedSpatialMoment", moment<ozlNormalizedSpatialMoment>},
    {"ozlNormalizedCentralMoment", moment<ozlNormalizedCentralMoment>},
    {"ozlNorm", ozl::fuzz::ranged<ozlNorm, -1, 17>},
});

}  // namespace
