// Colour conversions, colour twists, colour to grey and back. The pool's
// images are "RGB"; a call mostly renames its model side for the duration of
// the call (and drops its ROI, which the conversions refuse), so that the
// calls reach their kernels as often as their checks.
#include <algorithm>
#include <cstring>

#include "fuzz/fuzz.hpp"

namespace {

using ozl::fuzz::Case;

// Renames an image's colour model and channel sequence, and now and then
// takes its ROI away, until the end of the call.
class Renamed {
public:
    Renamed(Case& c, OzlImage* image, const char* model, const char* seq) : image_(image) {
        if (!image_ || !c.rng().percent(85)) return;
        std::memcpy(model_, image_->colorModel, 4);
        std::memcpy(seq_, image_->channelSeq, 4);
        roi_ = image_->roi;
        setField(image_->colorModel, model);
        setField(image_->channelSeq, seq);
        if (c.rng().percent(70)) image_->roi = nullptr;
        changed_ = true;
    }
    ~Renamed() {
        if (!changed_) return;
        std::memcpy(image_->colorModel, model_, 4);
        std::memcpy(image_->channelSeq, seq_, 4);
        image_->roi = roi_;
    }
    Renamed(const Renamed&) = delete;
    Renamed& operator=(const Renamed&) = delete;

private:
    // Up to four characters, NUL-padded.
    static void setField(char (&field)[4], const char* text) {
        std::memset(field, 0, 4);
        std::memcpy(field, text, std::min<size_t>(4, std::strlen(text)));
    }

    OzlImage* image_;
    char model_[4] = {}, seq_[4] = {};
    OzlROI* roi_ = nullptr;
    bool changed_ = false;
};

template <void (*F)(OzlImage*, OzlImage*)>
void fromRgb(Case& c, const char* model) {
    const auto [s, d] = c.picks<2>();
    Renamed rs(c, s, "RGB", c.rng().percent(50) ? "RGB" : "BGR");
    Renamed rd(c, d, model, model);
    F(s, d);
}

template <void (*F)(OzlImage*, OzlImage*)>
void toRgb(Case& c, const char* model) {
    const auto [s, d] = c.picks<2>();
    Renamed rs(c, s, model, model);
    Renamed rd(c, d, "RGB", c.rng().percent(50) ? "RGB" : "BGR");
    F(s, d);
}

void twist(Case& c) {
    const auto [s, d] = c.picks<2>();
    int data[16];
    for (int& v : data)
        v = c.rng().percent(70) ? static_cast<int>(c.rng().between(-300, 300)) : c.anyInt();
    const int scale = static_cast<int>(c.rng().between(0, 31));
    OzlColorTwist* t = c.rng().percent(95) ? ozlCreateColorTwist(data, scale) : nullptr;
    ozlApplyColorTwist(s, d, t, c.rng().percent(60) ? 0 : c.anyInt());
    ozlDeleteColorTwist(t);
}

void twistReal(Case& c) {
    const auto [s, d] = c.picks<2>();
    float m[16];
    for (float& v : m) v = c.anyFloat();
    ozlColorTwistFP(s, d, c.rng().percent(95) ? m : nullptr);
}

const ozl::fuzz::Registrar calls("color", {
    {"ozlRGB2HSV", [](Case& c) { fromRgb<ozlRGB2HSV>(c, "HSV"); }},
    {"ozlHSV2RGB", [](Case& c) { toRgb<ozlHSV2RGB>(c, "HSV"); }},
    {"ozlRGB2HLS", [](Case& c) { fromRgb<ozlRGB2HLS>(c, "HLS"); }},
    {"ozlHLS2RGB", [](Case& c) { toRgb<ozlHLS2RGB>(c, "HLS"); }},
    {"ozlRGB2XYZ", [](Case& c) { fromRgb<ozlRGB2XYZ>(c, "XYZ"); }},
    {"ozlXYZ2RGB", [](Case& c) { toRgb<ozlXYZ2RGB>(c, "XYZ"); }},
    {"ozlRGB2YUV", [](Case& c) { fromRgb<ozlRGB2YUV>(c, "YUV"); }},
    {"ozlYUV2RGB", [](Case& c) { toRgb<ozlYUV2RGB>(c, "YUV"); }},
    {"ozlRGB2YCrCb", [](Case& c) { fromRgb<ozlRGB2YCrCb>(c, "YCr"); }},
    {"ozlYCrCb2RGB", [](Case& c) { toRgb<ozlYCrCb2RGB>(c, "YCr"); }},
    {"ozlYCC2RGB", [](Case& c) { toRgb<ozlYCC2RGB>(c, "YCC"); }},
    {"ozlRGB2LUV", [](Case& c) { fromRgb<ozlRGB2LUV>(c, "LUV"); }},
    {"ozlLUV2RGB", [](Case& c) { toRgb<ozlLUV2RGB>(c, "LUV"); }},
    {"ozlCreateColorTwist", [](Case& c) {
         int data[16] = {};
         const int* d = c.rng().percent(90) ? data : nullptr;
         ozlDeleteColorTwist(ozlCreateColorTwist(d, c.anyInt()));
     }},
    {"ozlSetColorTwist", [](Case& c) {
         int data[16] = {};
         OzlColorTwist* t = ozlCreateColorTwist(data, 0);
         ozlSetColorTwist(c.rng().percent(90) ? t : nullptr, data, c.anyInt());
         ozlDeleteColorTwist(t);
     }},
    {"ozlDeleteColorTwist", [](Case&) { ozlDeleteColorTwist(nullptr); }},
    {"ozlApplyColorTwist", twist},
    {"ozlColorTwistFP", twistReal},
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
