// The thirteen colour-model conversions (module ozlcolor): each is its model
// names, depths and arithmetic module handed to the shared frame.
#include "color/frame.hpp"

using ozl::color::ConversionSpec;
using ozl::color::Model;
using ozl::color::Way;

namespace {

constexpr const char* kFour = "Error input depth. 32F, 32S ,16U,8U are valid now";
constexpr const char* kHue = "Error input depth. 32S,16U,8U are valid now";
constexpr const char* k8U = "Error input depth. 8U is valid now";
constexpr const char* k32F = "Error input depth. 32F is valid now";

// The arithmetic modules report the depths they do not take: the conversion
// from RGB at one line, the conversion back at another.
constexpr int kFrom = 41;
constexpr int kTo = 97;
constexpr Way kFromRgb = Way::FromRgb, kToRgb = Way::ToRgb;

// Whether the two depths are compared on their own first (the YUV pair).
constexpr bool kDepthFirst = true;

constexpr ConversionSpec kSpecs[] = {
    {"ozlRGB2HSV", Model::Hsv, kFromRgb, "HSV", "ownhsv", kFrom, kHue, false},
    {"ozlHSV2RGB", Model::Hsv, kToRgb, "HSV", "ownhsv", kTo, kHue, false},
    {"ozlRGB2HLS", Model::Hls, kFromRgb, "HLS", "ownhls", kFrom, kHue, false},
    {"ozlHLS2RGB", Model::Hls, kToRgb, "HLS", "ownhls", kTo, kHue, false},
    {"ozlRGB2XYZ", Model::Xyz, kFromRgb, "XYZ", "ownxyz", kFrom, kFour, false},
    {"ozlXYZ2RGB", Model::Xyz, kToRgb, "XYZ", "ownxyz", kTo, kFour, false},
    {"ozlRGB2YUV", Model::Yuv, kFromRgb, "YUV", "ownyuv", kFrom, kFour, kDepthFirst},
    {"ozlYUV2RGB", Model::Yuv, kToRgb, "YUV", "ownyuv", kTo, kFour, kDepthFirst},
    {"ozlRGB2YCrCb", Model::YCrCb, kFromRgb, "YCr", "ownycrcb", kFrom, kFour, false},
    {"ozlYCrCb2RGB", Model::YCrCb, kToRgb, "YCr", "ownycrcb", kTo, kFour, false},
    {"ozlYCC2RGB", Model::Ycc, kToRgb, "YCC", "ownycc", kTo, k8U, false},
    {"ozlRGB2LUV", Model::Luv, kFromRgb, "LUV", "ownluv", kFrom, k32F, false},
    {"ozlLUV2RGB", Model::Luv, kToRgb, "LUV", "ownluv", kTo, k32F, false},
};

void run(int i, OzlImage* src, OzlImage* dst) { ozl::color::convert(kSpecs[i], src, dst); }

}  // namespace

extern "C" {

OZL_API void OZL_CALL ozlRGB2HSV(OzlImage* src, OzlImage* dst) { run(0, src, dst); }
OZL_API void OZL_CALL ozlHSV2RGB(OzlImage* src, OzlImage* dst) { run(1, src, dst); }
OZL_API void OZL_CALL ozlRGB2HLS(OzlImage* src, OzlImage* dst) { run(2, src, dst); }
OZL_API void OZL_CALL ozlHLS2RGB(OzlImage* src, OzlImage* dst) { run(3, src, dst); }
OZL_API void OZL_CALL ozlRGB2XYZ(OzlImage* src, OzlImage* dst) { run(4, src, dst); }
OZL_API void OZL_CALL ozlXYZ2RGB(OzlImage* src, OzlImage* dst) { run(5, src, dst); }
OZL_API void OZL_CALL ozlRGB2YUV(OzlImage* src, OzlImage* dst) { run(6, src, dst); }
OZL_API void OZL_CALL ozlYUV2RGB(OzlImage* src, OzlImage* dst) { run(7, src, dst); }
OZL_API void OZL_CALL ozlRGB2YCrCb(OzlImage* src, OzlImage* dst) { run(8, src, dst); }
OZL_API void OZL_CALL ozlYCrCb2RGB(OzlImage* src, OzlImage* dst) { run(9, src, dst); }
OZL_API void OZL_CALL ozlYCC2RGB(OzlImage* src, OzlImage* dst) { run(10, src, dst); }
OZL_API void OZL_CALL ozlRGB2LUV(OzlImage* src, OzlImage* dst) { run(11, src, dst); }
OZL_API void OZL_CALL ozlLUV2RGB(OzlImage* src, OzlImage* dst) { run(12, src, dst); }

}  // extern "C"
