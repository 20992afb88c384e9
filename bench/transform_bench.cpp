// The frequency transforms against OpenCV on the same one-channel data: the
// real Fourier transform in the packed layout (cv::dft's output for one real
// channel) both ways, the CCS layout, the spectrum product and the cosine
// transform over the whole image.
#include <memory>
#include <string>

#include <opencv2/core.hpp>

#include "bench/harness.hpp"

namespace ozl::bench {

namespace {

// A continuous one-channel Mat with random values and an ozl header over it.
struct Plane {
    cv::Mat mat;
    Header header;

    Plane(int width, int height, int cvType, uint32_t depth, double lo, double hi)
        : mat(height, width, cvType) {
        cv::randu(mat, lo, hi);
        header.reset(ozlCreateImageHeader(1, 0, depth, "GRAY", "GRAY", OZL_DATA_ORDER_PIXEL,
                                          OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, width, height,
                                          nullptr, nullptr, nullptr, nullptr));
        header->imageData = reinterpret_cast<char*>(mat.data);
        header->widthStep = static_cast<int>(mat.step);
        header->imageSize = header->widthStep * height;
    }
    OzlImage* get() const { return header.get(); }
};

std::shared_ptr<Plane> floats(int w, int h) {
    return std::make_shared<Plane>(w, h, CV_32F, OZL_DEPTH_32F, -1, 1);
}

std::string sizeOf(int w, int h) { return std::to_string(w) + "x" + std::to_string(h); }

void registerTransforms() {
    auto fft = [](int w, int h, double target) {
        auto src = floats(w, h), dst = floats(w, h);
        addComparison({"transform", "real fft 32F", sizeOf(w, h), target, "packed layout"},
                      [=] { ozlRealFft2D(src->get(), dst->get(), OZL_FFT_FORWARD); },
                      [=] { cv::dft(src->mat, dst->mat); });
    };
    fft(1024, 1024, 1.0);
    fft(1000, 1000, 0);
    fft(640, 480, 0);
    {
        auto spec = floats(1024, 1024), dst = floats(1024, 1024);
        ozlRealFft2D(spec->get(), spec->get(), OZL_FFT_FORWARD);
        addComparison({"transform", "real fft inverse 32F", "1024x1024", 0, "scaled by 1/N"},
                      [=] { ozlRealFft2D(spec->get(), dst->get(), OZL_FFT_INVERSE); },
                      [=] {
                          cv::dft(spec->mat, dst->mat,
                                  cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
                      });
    }
    {
        auto src = std::make_shared<Plane>(1024, 1024, CV_8U, OZL_DEPTH_8U, 0, 256);
        auto dst = floats(1024, 1024);
        auto work = std::make_shared<cv::Mat>();
        addComparison({"transform", "real fft 8U", "1024x1024", 0, "OpenCV converts first"},
                      [=] { ozlRealFft2D(src->get(), dst->get(), OZL_FFT_FORWARD); },
                      [=] {
                          src->mat.convertTo(*work, CV_32F);
                          cv::dft(*work, dst->mat);
                      });
    }
    {
        auto src = floats(1024, 1024), dst = floats(1026, 1024);
        auto full = std::make_shared<cv::Mat>();
        addComparison({"transform", "ccs fft 32F", "1024x1024", 0,
                       "OpenCV writes the whole spectrum"},
                      [=] { ozlCcsFft2D(src->get(), dst->get(), OZL_FFT_FORWARD); },
                      [=] { cv::dft(src->mat, *full, cv::DFT_COMPLEX_OUTPUT); });
    }
    {
        auto a = floats(1024, 1024), b = floats(1024, 1024), d = floats(1024, 1024);
        addComparison({"transform", "packed product 32F", "1024x1024", 0, ""},
                      [=] { ozlMpyRCPack2D(a->get(), b->get(), d->get(), 0); },
                      [=] { cv::mulSpectrums(a->mat, b->mat, d->mat, 0); });
    }
    for (int n : {512, 1024}) {
        auto src = floats(n, n), dst = floats(n, n);
        addComparison({"transform", "dct 32F", sizeOf(n, n), n == 512 ? 1.0 : 0, "whole image"},
                      [=] { ozlDCT2D(src->get(), dst->get(), OZL_DCT_FORWARD); },
                      [=] { cv::dct(src->mat, dst->mat); });
    }
    {
        auto src = floats(512, 512), dst = floats(512, 512);
        addComparison({"transform", "dct inverse 32F", "512x512", 0, ""},
                      [=] { ozlDCT2D(src->get(), dst->get(), OZL_DCT_INVERSE); },
                      [=] { cv::dct(src->mat, dst->mat, cv::DCT_INVERSE); });
    }
}

const Registrar registrar(registerTransforms);

}  // namespace

}  // namespace ozl::bench
