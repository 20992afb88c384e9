// Colour conversions, colour twists, colour to grey and back. The pool's images are "RGB"; a call mostly
// renames its model side for the duration of the call (and drops its ROI, which the conversions refuse), so
// that the calls reach their kernels as often as their checks.
#include <algorithm>
#include <cstring>

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
});

}  // namespace
