// The thirteen colour-model conversions (module ozlcolor): each is its model
// names, depths and arithmetic module handed to the shared frame.
#include "color/frame.hpp"

using ozl::color::ConversionSpec;
using ozl::color::Model;
using ozl::color::Way;

namespace {

constexpr const char* kFourDepths = "Error input depth. 32F, 32S ,16U,8U are valid now";
constexpr const char* kHueDepths = "Error input depth. 32S,16U,8U are valid now";

// The arithmetic modules report the depths they do not take: the conversion
// from RGB at one line, the conversion back at another.
constexpr int kFromLine = 41;
constexpr int kToLine = 97;

constexpr ConversionSpec kRgb2Hsv{"ozlRGB2HSV", Model::Hsv, Way::FromRgb, "HSV", "ownhsv", kFromLine, kHueDepths, false};
constexpr ConversionSpec kHsv2Rgb{"ozlHSV2RGB", Model::Hsv, Way::ToRgb, "HSV", "ownhsv", kToLine, kHueDepths, false};
constexpr ConversionSpec kRgb2Hls{"ozlRGB2HLS", Model::Hls, Way::FromRgb, "HLS", "ownhls", kFromLine, kHueDepths, false};
constexpr ConversionSpec kHls2Rgb{"ozlHLS2RGB", Model::Hls, Way::ToRgb, "HLS", "ownhls", kToLine, kHueDepths, false};
constexpr ConversionSpec kRgb2Xyz{"ozlRGB2XYZ", Model::Xyz, Way::FromRgb, "XYZ", "ownxyz", kFromLine, kFourDepths, false};
constexpr ConversionSpec kXyz2Rgb{"ozlXYZ2RGB", Model::Xyz, Way::ToRgb, "XYZ", "ownxyz", kToLine, kFourDepths, false};
constexpr ConversionSpec kRgb2Yuv{"ozlRGB2YUV", Model::Yuv, Way::FromRgb, "YUV", "ownyuv", kFromLine, kFourDepths, true};
constexpr ConversionSpec kYuv2Rgb{"ozlYUV2RGB", Model::Yuv, Way::ToRgb, "YUV", "ownyuv", kToLine, kFourDepths, true};
constexpr ConversionSpec kRgb2YCrCb{"ozlRGB2YCrCb", Model::YCrCb, Way::FromRgb, "YCr", "ownycrcb", kFromLine, kFourDepths, false};
constexpr ConversionSpec kYCrCb2Rgb{"ozlYCrCb2RGB", Model::YCrCb, Way::ToRgb, "YCr", "ownycrcb", kToLine, kFourDepths, false};
constexpr ConversionSpec kYcc2Rgb{"ozlYCC2RGB", Model::Ycc, Way::ToRgb, "YCC", "ownycc", kToLine, "Error input depth. 8U is valid now", false};
constexpr ConversionSpec kRgb2Luv{"ozlRGB2LUV", Model::Luv, Way::FromRgb, "LUV", "ownluv", kFromLine, "Error input depth. 32F is valid now", false};
constexpr ConversionSpec kLuv2Rgb{"ozlLUV2RGB", Model::Luv, Way::ToRgb, "LUV", "ownluv", kToLine, "Error input depth. 32F is valid now", false};

}  // namespace

extern "C" {

OZL_API void OZL_CALL ozlRGB2HSV(OzlImage* src, OzlImage* dst) { convert(kRgb2Hsv, src, dst); }
OZL_API void OZL_CALL ozlHSV2RGB(OzlImage* src, OzlImage* dst) { convert(kHsv2Rgb, src, dst); }
OZL_API void OZL_CALL ozlRGB2HLS(OzlImage* src, OzlImage* dst) { convert(kRgb2Hls, src, dst); }
OZL_API void OZL_CALL ozlHLS2RGB(OzlImage* src, OzlImage* dst) { convert(kHls2Rgb, src, dst); }
OZL_API void OZL_CALL ozlRGB2XYZ(OzlImage* src, OzlImage* dst) { convert(kRgb2Xyz, src, dst); }
OZL_API void OZL_CALL ozlXYZ2RGB(OzlImage* src, OzlImage* dst) { convert(kXyz2Rgb, src, dst); }
OZL_API void OZL_CALL ozlRGB2YUV(OzlImage* src, OzlImage* dst) { convert(kRgb2Yuv, src, dst); }
OZL_API void OZL_CALL ozlYUV2RGB(OzlImage* src, OzlImage* dst) { convert(kYuv2Rgb, src, dst); }
OZL_API void OZL_CALL ozlRGB2YCrCb(OzlImage* src, OzlImage* dst) { convert(kRgb2YCrCb, src, dst); }
OZL_API void OZL_CALL ozlYCrCb2RGB(OzlImage* src, OzlImage* dst) { convert(kYCrCb2Rgb, src, dst); }
OZL_API void OZL_CALL ozlYCC2RGB(OzlImage* src, OzlImage* dst) { convert(kYcc2Rgb, src, dst); }
OZL_API void OZL_CALL ozlRGB2LUV(OzlImage* src, OzlImage* dst) { convert(kRgb2Luv, src, dst); }
OZL_API void OZL_CALL ozlLUV2RGB(OzlImage* src, OzlImage* dst) { convert(kLuv2Rgb, src, dst); }

}  // extern "C"
