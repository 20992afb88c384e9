// The rank, morphological and blur filters against OpenCV, one thread,
// replicated borders: box mean 5x5 on 8U 3-channel (cv::blur), median 3x3,
// 5x5 and 15x15 on 8U 1-channel (cv::medianBlur), the fixed Gaussian 5x5 and
// Sobel 3x3 on 8U 1-channel (cv::GaussianBlur, cv::Sobel to 8U), erosion and
// dilation 3x3 on 8U 1-channel (cv::erode, cv::dilate), and the 1-bit erosion
// against the 8-bit one of the same picture (both ozl).
//
// cv::blur rounds halves to even, ozl upward: results may differ by one.
#include <memory>
#include <string>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/harness.hpp"

namespace ozl::bench {

namespace {

struct Images {
    cv::Mat src, dst;
    OzlImage* s = nullptr;
    OzlImage* d = nullptr;
    ~Images() {
        ozlDeallocate(s, OZL_IMAGE_HEADER);
        ozlDeallocate(d, OZL_IMAGE_HEADER);
    }
};

// Headers over continuous Mats of 1 or 3 channels; 1U images get their own
// packed pixels (the bits of a random picture).
OzlImage* header(cv::Mat& m, int channels, uint32_t depth) {
    OzlImage* h = ozlCreateImageHeader(channels, 0, depth, channels == 3 ? "RGB" : "GRAY",
                                       channels == 3 ? "BGR" : "GRAY", OZL_DATA_ORDER_PIXEL,
                                       OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, m.cols, m.rows, nullptr,
                                       nullptr, nullptr, nullptr);
    h->widthStep = static_cast<int>(m.step);
    h->imageData = reinterpret_cast<char*>(m.data);
    h->imageSize = static_cast<int>(m.step * m.rows);
    ozlSetBorderMode(h, OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
    return h;
}

std::shared_ptr<Images> makeImages(const Frame& f, int channels, uint32_t depth) {
    auto p = std::make_shared<Images>();
    const int bytesWide = depth == OZL_DEPTH_1U ? (f.width + 31) / 32 * 4 : f.width;
    const int type = depth == OZL_DEPTH_1U ? CV_8UC1 : CV_8UC(channels);
    p->src.create(f.height, bytesWide, type);
    p->dst.create(f.height, bytesWide, type);
    cv::RNG rng(11);
    rng.fill(p->src, cv::RNG::UNIFORM, 0, 256);
    p->dst.setTo(0);
    cv::Mat s = p->src, d = p->dst;
    if (depth == OZL_DEPTH_1U) {
        // The header's width in pixels over rows of packed bits.
        p->s = header(s, 1, OZL_DEPTH_8U);
        p->d = header(d, 1, OZL_DEPTH_8U);
        for (OzlImage* h : {p->s, p->d}) {
            h->depth = OZL_DEPTH_1U;
            h->width = f.width;
        }
    } else {
        p->s = header(s, channels, depth);
        p->d = header(d, channels, depth);
    }
    return p;
}

void registerRank() {
    const Frame frames[] = {{640, 480, "640x480"}, {3840, 2160, "3840x2160"}};
    for (const Frame& f : frames) {
        auto c3 = makeImages(f, 3, OZL_DEPTH_8U);
        auto c1 = makeImages(f, 1, OZL_DEPTH_8U);
        auto bits = makeImages(f, 1, OZL_DEPTH_1U);
        addComparison({"rank", "blur 5x5 8U C3", f.label, 0.8, "OpenCV rounds halves to even"},
                      [c3] { ozlBlur(c3->s, c3->d, 5, 5, 2, 2); },
                      [c3] { cv::blur(c3->src, c3->dst, cv::Size(5, 5), cv::Point(-1, -1), cv::BORDER_REPLICATE); });
        for (int n : {3, 5, 15})
            addComparison({"rank", "median " + std::to_string(n) + "x" + std::to_string(n) + " 8U", f.label, 1.0, ""},
                          [c1, n] { ozlMedianFilter(c1->s, c1->d, n, n, n / 2, n / 2); },
                          [c1, n] { cv::medianBlur(c1->src, c1->dst, n); });
        addComparison({"rank", "fixed Gaussian 5x5 8U", f.label, 1.0, "OpenCV's own 5x5 weights"},
                      [c1] { ozlFixedFilter(c1->s, c1->d, OZL_FIXED_GAUSSIAN_5x5); },
                      [c1] { cv::GaussianBlur(c1->src, c1->dst, cv::Size(5, 5), 0, 0, cv::BORDER_REPLICATE); });
        addComparison({"rank", "fixed Sobel 3x3 8U", f.label, 1.0, ""},
                      [c1] { ozlFixedFilter(c1->s, c1->d, OZL_FIXED_SOBEL_VERT); },
                      [c1] { cv::Sobel(c1->src, c1->dst, CV_8U, 1, 0, 3, 1, 0, cv::BORDER_REPLICATE); });
        const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3));
        addComparison({"rank", "erode 3x3 8U", f.label, 0.8, ""},
                      [c1] { ozlErode(c1->s, c1->d, nullptr, 1); },
                      [c1, element] { cv::erode(c1->src, c1->dst, element, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE); });
        addComparison({"rank", "dilate 3x3 8U", f.label, 0.8, ""},
                      [c1] { ozlDilate(c1->s, c1->d, nullptr, 1); },
                      [c1, element] { cv::dilate(c1->src, c1->dst, element, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE); });
        addComparison({"rank", "erode 3x3 1U", f.label, 0.125, "second column: ozl 8U erode"},
                      [bits] { ozlErode(bits->s, bits->d, nullptr, 1); },
                      [c1] { ozlErode(c1->s, c1->d, nullptr, 1); });
    }
}

Registrar registrar(&registerRank);

}  // namespace

}  // namespace ozl::bench
