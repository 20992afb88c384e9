// The conversion family and the compositing against OpenCV, one thread, on
// the same bytes: depth conversions both ways between 8U and 32F, the
// float-range scale, the threshold, and premultiplied "over" on RGBA (whose
// target is a rate: 1 gigapixel per second on the large frame, 8.3 ms).
#include <memory>

#include <opencv2/imgproc.hpp>

#include "bench/harness.hpp"

namespace ozl::bench {
namespace {

struct Size {
    int width, height;
    const char* label;
};
const Size kSizes[] = {{640, 480, "640x480"}, {3840, 2160, "3840x2160"}};

// A header over a continuous Mat of any channel count; the last of four
// channels is the alpha channel.
Header over(cv::Mat& mat, uint32_t depth) {
    const int n = mat.channels();
    Header h(ozlCreateImageHeader(n, n == 4 ? 4 : 0, depth, n == 4 ? "RGBA" : "RGB",
                                  n == 4 ? "BGRA" : "BGR", OZL_DATA_ORDER_PIXEL, OZL_ORIGIN_TL,
                                  OZL_ALIGN_4BYTES, mat.cols, mat.rows, nullptr, nullptr, nullptr,
                                  nullptr));
    h->imageData = reinterpret_cast<char*>(mat.data);
    h->widthStep = static_cast<int>(mat.step);
    h->imageSize = h->widthStep * mat.rows;
    return h;
}

// Images made on first use, kept for every row of their size.
struct Images {
    cv::Mat u8, f32, u8out, f32out, a, b, d, alphaInv;
    Header hu8, hf32, hu8out, hf32out, ha, hb, hd;
    explicit Images(const Size& s) {
        cv::RNG rng(7);
        u8.create(s.height, s.width, CV_8UC3);
        rng.fill(u8, cv::RNG::UNIFORM, 0, 256);
        f32.create(s.height, s.width, CV_32FC3);
        rng.fill(f32, cv::RNG::UNIFORM, -20.0, 275.0);
        u8out.create(s.height, s.width, CV_8UC3);
        f32out.create(s.height, s.width, CV_32FC3);
        // Premultiplied RGBA: colours no larger than their alpha.
        a.create(s.height, s.width, CV_8UC4);
        b.create(s.height, s.width, CV_8UC4);
        d.create(s.height, s.width, CV_8UC4);
        for (cv::Mat* m : {&a, &b}) {
            rng.fill(*m, cv::RNG::UNIFORM, 0, 256);
            std::vector<cv::Mat> planes;
            cv::split(*m, planes);
            for (int c = 0; c < 3; ++c) cv::min(planes[c], planes[3], planes[c]);
            cv::merge(planes, *m);
        }
        hu8 = over(u8, OZL_DEPTH_8U);
        hf32 = over(f32, OZL_DEPTH_32F);
        hu8out = over(u8out, OZL_DEPTH_8U);
        hf32out = over(f32out, OZL_DEPTH_32F);
        ha = over(a, OZL_DEPTH_8U);
        hb = over(b, OZL_DEPTH_8U);
        hd = over(d, OZL_DEPTH_8U);
    }
};

std::shared_ptr<Images> imagesOf(const Size& s) {
    static std::shared_ptr<Images> kept[2];
    const int i = s.width == kSizes[0].width ? 0 : 1;
    if (!kept[i]) kept[i] = std::make_shared<Images>(s);
    return kept[i];
}

// What a user of OpenCV writes for premultiplied "over": B scaled by the
// complement of A's alpha (rounded there), plus A.
void cvOver(Images& im) {
    cv::Mat alpha, inv;
    cv::extractChannel(im.a, alpha, 3);
    cv::subtract(cv::Scalar::all(255), alpha, inv);
    cv::Mat inv4;
    cv::merge(std::vector<cv::Mat>{inv, inv, inv, inv}, inv4);
    cv::multiply(im.b, inv4, im.d, 1.0 / 255);
    cv::add(im.d, im.a, im.d);
}

void registerRows() {
    for (const Size& s : kSizes) {
        const auto lazy = [s] { return imagesOf(s); };
        addComparison({"convert", "convert 8U->32F", s.label, 1.0, "3 channels"},
                      [lazy] { auto im = lazy(); ozlConvert(im->hu8.get(), im->hf32out.get()); },
                      [lazy] { auto im = lazy(); im->u8.convertTo(im->f32out, CV_32F); });
        addComparison({"convert", "convert 32F->8U", s.label, 1.0, "3 channels, ties to even both"},
                      [lazy] { auto im = lazy(); ozlConvert(im->hf32.get(), im->hu8out.get()); },
                      [lazy] { auto im = lazy(); im->f32.convertTo(im->u8out, CV_8U); });
        addComparison({"convert", "scaleFP 8U->32F 0..1", s.label, 0, ""},
                      [lazy] { auto im = lazy(); ozlScaleFP(im->hu8.get(), im->hf32out.get(), 0.0f, 1.0f); },
                      [lazy] { auto im = lazy(); im->u8.convertTo(im->f32out, CV_32F, 1.0 / 255); });
        // OpenCV keeps values above its threshold, ozl those at or above its own.
        addComparison({"convert", "threshold 8U", s.label, 1.0, "binary, 3 channels"},
                      [lazy] { auto im = lazy(); ozlThreshold(im->hu8.get(), im->hu8out.get(), 101); },
                      [lazy] {
                          auto im = lazy();
                          cv::threshold(im->u8, im->u8out, 100, 255, cv::THRESH_BINARY);
                      });
        addComparison({"convert", "over 8U RGBA premul", s.label, 0,
                       s.width == 3840 ? "target 8.3 ms (1 Gpx/s)" : ""},
                      [lazy] {
                          auto im = lazy();
                          ozlAlphaComposite(im->ha.get(), im->hb.get(), im->hd.get(),
                                            OZL_COMPOSITE_A_OVER_B, nullptr, nullptr, nullptr, 1);
                      },
                      [lazy] { cvOver(*lazy()); });
    }
}

Registrar registrar(&registerRows);

}  // namespace
}  // namespace ozl::bench
