// The convolutions against OpenCV, one thread, 3-channel images with the
// replicated border on both sides: 3x3 and 5x5 2-D kernels on 8U
// (cv::filter2D), a 5-tap separable kernel on 8U (cv::sepFilter2D), a 3x3
// kernel on 32F; and what the edge strips cost on a large frame (the whole
// region against its interior alone, both ozl).
//
// ozl's integer kernels shift their sums down; OpenCV's float kernels (the
// same weights over 2^shift) round to nearest, so results may differ by one.
#include <memory>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/harness.hpp"

namespace ozl::bench {

namespace {

struct Images {
    cv::Mat src, dst;
    Header s, d;
    // The interior: every footprint of a 5x5 kernel inside the source.
    Header si, di;
    OzlROI* roi = nullptr;
    ~Images() { ozlDeleteROI(roi); }
};

std::shared_ptr<Images> makeImages(const Frame& f, int type, uint32_t depth) {
    auto p = std::make_shared<Images>();
    p->src.create(f.height, f.width, type);
    p->dst.create(f.height, f.width, type);
    cv::RNG rng(11);
    if (depth == OZL_DEPTH_32F) rng.fill(p->src, cv::RNG::UNIFORM, -100.0, 100.0);
    else rng.fill(p->src, cv::RNG::UNIFORM, 0, 256);
    p->dst.setTo(0);
    p->s = wrap(p->src, depth);
    p->d = wrap(p->dst, depth);
    p->si = wrap(p->src, depth);
    p->di = wrap(p->dst, depth);
    p->roi = ozlCreateROI(0, 2, 2, f.width - 4, f.height - 4);
    p->si->roi = p->roi;
    p->di->roi = p->roi;
    for (OzlImage* h : {p->s.get(), p->si.get()}) ozlSetBorderMode(h, OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
    return p;
}

// A kernel record held by the benchmark lambdas.
struct Kernel {
    OzlConvKernel* k = nullptr;
    OzlConvKernelFP* kf = nullptr;
    ~Kernel() {
        if (k) ozlDeleteConvKernel(k);
        if (kf) ozlDeleteConvKernelFP(kf);
    }
};

// Binomial weights: 1 2 1 and 1 4 6 4 1 and their outer products.
std::vector<int> binomial(int n) { return n == 3 ? std::vector<int>{1, 2, 1} : std::vector<int>{1, 4, 6, 4, 1}; }

std::vector<int> outer(const std::vector<int>& a) {
    std::vector<int> k;
    for (int y : a)
        for (int x : a) k.push_back(x * y);
    return k;
}

cv::Mat cvKernel(const std::vector<int>& values, int rows, int cols, double scale) {
    cv::Mat k(rows, cols, CV_32F);
    for (int i = 0; i < rows * cols; ++i) k.at<float>(i / cols, i % cols) = static_cast<float>(values[static_cast<size_t>(i)] * scale);
    return k;
}

void registerFilter() {
    const Frame frames[] = {{640, 480, "640x480"}, {3840, 2160, "3840x2160"}};
    for (const Frame& f : frames) {
        auto u8 = makeImages(f, CV_8UC3, OZL_DEPTH_8U);
        for (int n : {3, 5}) {
            const std::vector<int> w = outer(binomial(n));
            const int shift = n == 3 ? 4 : 8;
            auto k = std::make_shared<Kernel>();
            k->k = ozlCreateConvKernel(n, n, n / 2, n / 2, w.data(), shift);
            const cv::Mat ck = cvKernel(w, n, n, 1.0 / (1 << shift));
            const std::string op = std::to_string(n) + "x" + std::to_string(n) + " 8U";
            addComparison({"filter", "conv " + op, f.label, 0.5, "OpenCV rounds, ozl shifts down"},
                          [u8, k] { ozlConvolve2D(u8->s.get(), u8->d.get(), &k->k, 1, OZL_COMBINE_SUM); },
                          [u8, ck] { cv::filter2D(u8->src, u8->dst, -1, ck, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE); });
            if (f.width > 1000)
                addComparison({"filter", "conv " + op + " edges", f.label, 1.05,
                               "second column: ozl on the interior alone"},
                              [u8, k] { ozlConvolve2D(u8->s.get(), u8->d.get(), &k->k, 1, OZL_COMBINE_SUM); },
                              [u8, k] { ozlConvolve2D(u8->si.get(), u8->di.get(), &k->k, 1, OZL_COMBINE_SUM); });
        }
        {
            const std::vector<int> w = binomial(5);
            auto x = std::make_shared<Kernel>(), y = std::make_shared<Kernel>();
            x->k = ozlCreateConvKernel(5, 1, 2, 0, w.data(), 4);
            y->k = ozlCreateConvKernel(1, 5, 0, 2, w.data(), 4);
            const cv::Mat ck = cvKernel(w, 1, 5, 1.0 / 16);
            addComparison({"filter", "sep 5-tap 8U", f.label, 0.7, "OpenCV rounds, ozl shifts down"},
                          [u8, x, y] { ozlConvolveSep2D(u8->s.get(), u8->d.get(), x->k, y->k); },
                          [u8, ck] { cv::sepFilter2D(u8->src, u8->dst, -1, ck, ck, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE); });
        }
        {
            auto f32 = makeImages(f, CV_32FC3, OZL_DEPTH_32F);
            const std::vector<int> w = outer(binomial(3));
            std::vector<float> wf;
            for (int v : w) wf.push_back(static_cast<float>(v) / 16.0f);
            auto k = std::make_shared<Kernel>();
            k->kf = ozlCreateConvKernelFP(3, 3, 1, 1, wf.data());
            const cv::Mat ck = cvKernel(w, 3, 3, 1.0 / 16);
            addComparison({"filter", "conv 3x3 32F", f.label, 0.8, "OpenCV uses fused multiply-adds"},
                          [f32, k] { ozlConvolve2DFP(f32->s.get(), f32->d.get(), &k->kf, 1, OZL_COMBINE_SUM); },
                          [f32, ck] { cv::filter2D(f32->src, f32->dst, -1, ck, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE); });
        }
    }
}

Registrar registrar(&registerFilter);

}  // namespace

}  // namespace ozl::bench
