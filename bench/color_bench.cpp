// The colour family against OpenCV, one thread, 3-channel images: the 8U
// model conversions both ways and LUV on 32F (cv::cvtColor), the 8U colour
// twist (cv::transform with a 3 x 4 matrix), and colour to grey.
#include <cstring>
#include <memory>
#include <string>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/harness.hpp"

namespace ozl::bench {

namespace {

constexpr double kConversionTarget = 0.8;
constexpr double kTwistTarget = 0.5;

using OzlConvert = void(OZL_CALL*)(OzlImage*, OzlImage*);

// Source, destination and ozl's headers over the same pixels.
struct Pair {
    cv::Mat src, dst;
    Header s, d;
};

void setNames(OzlImage* image, const char* model) {
    std::memcpy(image->colorModel, model, 4);
    std::memcpy(image->channelSeq, model, 4);
}

std::shared_ptr<Pair> makePair(const Frame& f, int type, uint32_t depth, const char* srcModel,
                               const char* dstModel) {
    auto p = std::make_shared<Pair>();
    p->src.create(f.height, f.width, type);
    p->dst.create(f.height, f.width, type);
    cv::RNG rng(7);
    if (depth == OZL_DEPTH_32F)
        rng.fill(p->src, cv::RNG::UNIFORM, 0.0, 1.0);
    else
        rng.fill(p->src, cv::RNG::UNIFORM, 0, 256);
    p->s = wrap(p->src, depth);
    p->d = wrap(p->dst, depth);
    if (srcModel) setNames(p->s.get(), srcModel);
    if (dstModel) setNames(p->d.get(), dstModel);
    return p;
}

struct ConversionRow {
    const char* operation;
    OzlConvert ozl;
    int cvCode;
    const char* model;     // the non-RGB side
    bool fromRgb;
    int cvPrepare;         // for the way back: OpenCV's code that makes a valid source
    const char* note;
};

const ConversionRow kRows[] = {
    {"RGB2HSV 8U", ozlRGB2HSV, cv::COLOR_BGR2HSV, "HSV", true, 0, "OpenCV rounds S and H"},
    {"HSV2RGB 8U", ozlHSV2RGB, cv::COLOR_HSV2BGR, "HSV", false, cv::COLOR_BGR2HSV,
     "OpenCV goes through float"},
    {"RGB2HLS 8U", ozlRGB2HLS, cv::COLOR_BGR2HLS, "HLS", true, 0, "OpenCV rounds S, H and L"},
    {"HLS2RGB 8U", ozlHLS2RGB, cv::COLOR_HLS2BGR, "HLS", false, cv::COLOR_BGR2HLS,
     "OpenCV goes through float"},
    {"RGB2XYZ 8U", ozlRGB2XYZ, cv::COLOR_BGR2XYZ, "XYZ", true, 0,
     "weights of 1/4096 there, 1/8192 here"},
    {"XYZ2RGB 8U", ozlXYZ2RGB, cv::COLOR_XYZ2BGR, "XYZ", false, cv::COLOR_BGR2XYZ,
     "weights of 1/4096 there, 1/8192 here"},
    {"RGB2YUV 8U", ozlRGB2YUV, cv::COLOR_BGR2YUV, "YUV", true, 0,
     "other weights, chroma at 128 there, 127 here"},
    {"YUV2RGB 8U", ozlYUV2RGB, cv::COLOR_YUV2BGR, "YUV", false, cv::COLOR_BGR2YUV,
     "other weights, chroma at 128 there, 127 here"},
    {"RGB2YCrCb 8U", ozlRGB2YCrCb, cv::COLOR_BGR2YCrCb, "YCr", true, 0,
     "Y, Cr, Cb there; Y, Cb, Cr here"},
    {"YCrCb2RGB 8U", ozlYCrCb2RGB, cv::COLOR_YCrCb2BGR, "YCr", false, cv::COLOR_BGR2YCrCb,
     "Y, Cr, Cb there; Y, Cb, Cr here"},
    {"RGB2LUV 32F", ozlRGB2LUV, cv::COLOR_LBGR2Luv, "LUV", true, 0,
     "linear RGB on both sides; cube root by spline there"},
    {"LUV2RGB 32F", ozlLUV2RGB, cv::COLOR_Luv2LBGR, "LUV", false, cv::COLOR_LBGR2Luv,
     "linear RGB on both sides"},
};

void registerColor() {
    const Frame frames[] = {{640, 480, "640x480"}, {3840, 2160, "3840x2160"}};
    for (const Frame& f : frames) {
        for (const ConversionRow& r : kRows) {
            const bool real = std::string(r.operation).find("32F") != std::string::npos;
            const int type = real ? CV_32FC3 : CV_8UC3;
            const uint32_t depth = real ? OZL_DEPTH_32F : OZL_DEPTH_8U;
            auto p = makePair(f, type, depth, r.fromRgb ? nullptr : r.model,
                              r.fromRgb ? r.model : nullptr);
            // The way back starts from the model's own values.
            if (!r.fromRgb) cv::cvtColor(p->src.clone(), p->src, r.cvPrepare);
            const int code = r.cvCode;
            const OzlConvert fn = r.ozl;
            addComparison({"color", r.operation, f.label, kConversionTarget, r.note},
                          [p, fn] { fn(p->s.get(), p->d.get()); },
                          [p, code] { cv::cvtColor(p->src, p->dst, code); });
        }

        // An 8U twist whose weights take the fixed-point path (scale 2^-7).
        auto t = makePair(f, CV_8UC3, OZL_DEPTH_8U, nullptr, nullptr);
        const int data[16] = {61, 26, 13, 3, 13, 77, 26, -4, 26, 13, 88, 5, 0, 0, 0, 128};
        std::shared_ptr<OzlColorTwist> twist(ozlCreateColorTwist(data, 7), ozlDeleteColorTwist);
        cv::Mat m(3, 4, CV_32F);
        for (int i = 0; i < 12; ++i)
            m.at<float>(i / 4, i % 4) = static_cast<float>(data[i]) / (i % 4 == 3 ? 1.0f : 128.0f);
        addComparison({"color", "twist 8U", f.label, kTwistTarget,
                       "scale 2^-7; OpenCV rounds its float sums"},
                      [t, twist] { ozlApplyColorTwist(t->s.get(), t->d.get(), twist.get(), 0); },
                      [t, m] { cv::transform(t->src, t->dst, m); });

        // Colour to grey: a one-channel destination.
        auto g = makePair(f, CV_8UC3, OZL_DEPTH_8U, nullptr, nullptr);
        auto gray = std::make_shared<cv::Mat>(f.height, f.width, CV_8UC1);
        std::shared_ptr<OzlImage> gh(
            ozlCreateImageHeader(1, 0, OZL_DEPTH_8U, "GRAY", "G", OZL_DATA_ORDER_PIXEL,
                                 OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, f.width, f.height, nullptr,
                                 nullptr, nullptr, nullptr),
            [](OzlImage* h) { ozlDeallocate(h, OZL_IMAGE_HEADER); });
        gh->imageData = reinterpret_cast<char*>(gray->data);
        addComparison({"color", "RGB2GRAY 8U", f.label, kConversionTarget,
                       "weights 54/183/18 of 256 here, BT.601 there"},
                      [g, gh] { ozlColorToGray(g->s.get(), gh.get()); },
                      [g, gray] { cv::cvtColor(g->src, *gray, cv::COLOR_BGR2GRAY); });
    }
}

Registrar registrar(registerColor);

}  // namespace

}  // namespace ozl::bench
