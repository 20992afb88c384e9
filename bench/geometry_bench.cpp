// The geometric transforms against their OpenCV counterparts on the same
// 8-bit 3-channel data: resizing (linear both ways, super-sampling against
// the area average), rotation, mirroring, and lines without targets for the
// other interpolations, perspective warps and remapping.
#include <cmath>
#include <numeric>
#include <memory>
#include <random>

#include <opencv2/imgproc.hpp>

#include "bench/harness.hpp"

namespace ozl::bench {

namespace {

// A source and a destination of the given sizes, with ozl headers over the
// Mats' pixels; kept alive by the lines that use them.
struct Pair {
    cv::Mat src, dst;
    Header s, d;
    Pair(int sw, int sh, int dw, int dh, int type = CV_8UC3, uint32_t depth = OZL_DEPTH_8U)
        : src(sh, sw, type), dst(dh, dw, type) {
        cv::randu(src, 0, 255);
        dst.setTo(0);
        s = wrap(src, depth);
        d = wrap(dst, depth);
    }
};

std::string sizes(int sw, int sh, int dw, int dh) {
    return std::to_string(sw) + "x" + std::to_string(sh) + "->" + std::to_string(dw) + "x" +
           std::to_string(dh);
}

void registerRows() {
    const char* family = "geometry";
    // Resizing.
    struct Resize {
        const char* op;
        int sw, sh, dw, dh, ozlInter, cvInter;
        double target;
    };
    const Resize resizes[] = {
        {"resize linear 8U", 3840, 2160, 1920, 1080, OZL_INTER_LINEAR, cv::INTER_LINEAR, 1.0},
        {"resize linear 8U", 1920, 1080, 3840, 2160, OZL_INTER_LINEAR, cv::INTER_LINEAR, 1.0},
        {"resize super 8U", 3840, 2160, 1920, 1080, OZL_INTER_SUPER, cv::INTER_AREA, 1.0},
        {"resize cubic 8U", 1920, 1080, 3840, 2160, OZL_INTER_CUBIC, cv::INTER_CUBIC, 0},
        {"resize linear 8U", 1920, 1080, 1280, 720, OZL_INTER_LINEAR, cv::INTER_LINEAR, 0},
    };
    for (const Resize& r : resizes) {
        auto p = std::make_shared<Pair>(r.sw, r.sh, r.dw, r.dh);
        const int gx = std::gcd(r.dw, r.sw), gy = std::gcd(r.dh, r.sh);
        addComparison({family, r.op, sizes(r.sw, r.sh, r.dw, r.dh), r.target,
                       r.cvInter == cv::INTER_CUBIC ? "OpenCV's cubic uses a = -0.75" : ""},
                      [p, r, gx, gy] {
                          ozlResize(p->s.get(), p->d.get(), r.dw / gx, r.sw / gx, r.dh / gy,
                                    r.sh / gy, r.ozlInter);
                      },
                      [p, r] { cv::resize(p->src, p->dst, p->dst.size(), 0, 0, r.cvInter); });
    }

    // Rotation by 30 degrees about the centre.
    {
        auto p = std::make_shared<Pair>(1920, 1080, 1920, 1080);
        double xs, ys;
        ozlGetRotateShift(959.5, 539.5, 30, &xs, &ys);
        const cv::Mat m = cv::getRotationMatrix2D(cv::Point2f(959.5f, 539.5f), 30, 1);
        addComparison({family, "rotate 30 linear 8U", "1920x1080", 1.0,
                       "OpenCV also fills the corners"},
                      [p, xs, ys] { ozlRotate(p->s.get(), p->d.get(), 30, xs, ys, OZL_INTER_LINEAR); },
                      [p, m] { cv::warpAffine(p->src, p->dst, m, p->dst.size(), cv::INTER_LINEAR); });
        addComparison({family, "rotate 30 cubic 8U", "1920x1080", 0, ""},
                      [p, xs, ys] { ozlRotate(p->s.get(), p->d.get(), 30, xs, ys, OZL_INTER_CUBIC); },
                      [p, m] { cv::warpAffine(p->src, p->dst, m, p->dst.size(), cv::INTER_CUBIC); });
    }

    // Mirroring.
    {
        auto p = std::make_shared<Pair>(1920, 1080, 1920, 1080);
        const struct {
            const char* op;
            int axis, code;
            double target;
        } mirrors[] = {{"mirror vertical 8U", OZL_MIRROR_VERTICAL, 1, 1.0},
                       {"mirror horizontal 8U", OZL_MIRROR_HORIZONTAL, 0, 1.0},
                       {"mirror both 8U", OZL_MIRROR_BOTH, -1, 1.0}};
        for (const auto& m : mirrors)
            addComparison({family, m.op, "1920x1080", m.target, ""},
                          [p, axis = m.axis] { ozlMirror(p->s.get(), p->d.get(), axis); },
                          [p, code = m.code] { cv::flip(p->src, p->dst, code); });
    }

    // Perspective warp and remapping.
    {
        auto p = std::make_shared<Pair>(1920, 1080, 1920, 1080);
        const double h[3][3] = {{0.9, 0.1, 40}, {-0.05, 0.95, 30}, {0.00005, 0.00003, 1}};
        const cv::Mat hm(3, 3, CV_64F, const_cast<double*>(&h[0][0]));
        const cv::Mat hc = hm.clone();
        addComparison({family, "perspective linear 8U", "1920x1080", 0, ""},
                      [p, h] { ozlWarpPerspective(p->s.get(), p->d.get(), h, OZL_INTER_LINEAR); },
                      [p, hc] { cv::warpPerspective(p->src, p->dst, hc, p->dst.size(), cv::INTER_LINEAR); });
        auto maps = std::make_shared<std::pair<cv::Mat, cv::Mat>>(cv::Mat(1080, 1920, CV_32F),
                                                                  cv::Mat(1080, 1920, CV_32F));
        for (int y = 0; y < 1080; ++y)
            for (int x = 0; x < 1920; ++x) {
                maps->first.at<float>(y, x) = static_cast<float>(x + 8 * std::sin(y / 30.0));
                maps->second.at<float>(y, x) = static_cast<float>(y + 8 * std::cos(x / 40.0));
            }
        auto header = [](cv::Mat& m) {
            OzlImage* im = ozlCreateImageHeader(1, 0, OZL_DEPTH_32F, "GRAY", "G", OZL_DATA_ORDER_PIXEL,
                                                OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, m.cols, m.rows,
                                                nullptr, nullptr, nullptr, nullptr);
            im->imageData = reinterpret_cast<char*>(m.data);
            im->imageSize = im->widthStep * m.rows;
            return Header(im);
        };
        auto hx = std::make_shared<Header>(header(maps->first));
        auto hy = std::make_shared<Header>(header(maps->second));
        addComparison({family, "remap linear 8U", "1920x1080", 0, ""},
                      [p, hx, hy, maps] {
                          ozlRemap(p->s.get(), p->d.get(), hx->get(), hy->get(), OZL_INTER_LINEAR);
                      },
                      [p, maps] {
                          cv::remap(p->src, p->dst, maps->first, maps->second, cv::INTER_LINEAR);
                      });
    }
}

Registrar registrar(&registerRows);

}  // namespace

}  // namespace ozl::bench
