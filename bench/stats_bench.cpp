// The statistics operations against their OpenCV counterparts on the same
// random 8-bit data: histogram, look-up table, equalisation, moments, L2 norm
// of a difference. Each line's results are compared once before timing.
#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include <opencv2/imgproc.hpp>

#include "bench/harness.hpp"

namespace ozl::bench {

namespace {

// The images and tables of one frame size, kept for the whole run.
struct StatsImages {
    cv::Mat gray, grayOut, a, b, out;
    Header hGray, hGrayOut, hA, hB, hOut;
    std::vector<int32_t> keys, values[kChannels], counts;
    OzlLUT lut[kChannels];
    OzlLUT* luts[kChannels];
    OzlLUT histo;
    OzlLUT* histoLut;
    cv::Mat cvLut;

    explicit StatsImages(const Frame& f) {
        cv::RNG rng(f.width);
        gray.create(f.height, f.width, CV_8UC1);
        rng.fill(gray, cv::RNG::UNIFORM, 0, 256);
        grayOut.create(gray.size(), CV_8UC1);
        a.create(f.height, f.width, CV_8UC3);
        b.create(f.height, f.width, CV_8UC3);
        rng.fill(a, cv::RNG::UNIFORM, 0, 256);
        rng.fill(b, cv::RNG::UNIFORM, 0, 256);
        out.create(a.size(), CV_8UC3);
        hGray = wrapGray(gray);
        hGrayOut = wrapGray(grayOut);
        hA = wrap(a, OZL_DEPTH_8U);
        hB = wrap(b, OZL_DEPTH_8U);
        hOut = wrap(out, OZL_DEPTH_8U);

        // Step tables with a key per level: one output level per input level.
        keys.resize(257);
        for (int j = 0; j <= 256; ++j) keys[j] = j;
        cvLut.create(1, 256, CV_8UC3);
        std::mt19937 pick(7);
        for (int c = 0; c < kChannels; ++c) {
            values[c].resize(257);
            for (int j = 0; j < 256; ++j) {
                values[c][j] = static_cast<int32_t>(pick() & 0xFF);
                cvLut.at<cv::Vec3b>(0, j)[c] = static_cast<uint8_t>(values[c][j]);
            }
            lut[c] = {257, keys.data(), values[c].data(), nullptr, 0};
            luts[c] = &lut[c];
        }
        counts.resize(257);
        histo = {257, keys.data(), counts.data(), nullptr, 0};
        histoLut = &histo;
    }

    static Header wrapGray(cv::Mat& m) {
        Header h(ozlCreateImageHeader(1, 0, OZL_DEPTH_8U, "GRAY", "G", OZL_DATA_ORDER_PIXEL,
                                      OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, m.cols, m.rows, nullptr,
                                      nullptr, nullptr, nullptr));
        h->imageData = reinterpret_cast<char*>(m.data);
        h->widthStep = static_cast<int>(m.step);
        h->imageSize = h->widthStep * m.rows;
        return h;
    }
};

void mismatch(const char* what, const Frame& f) {
    std::fprintf(stderr, "stats bench: %s %s differs from OpenCV\n", what, f.label);
    noteMismatch(std::string("stats ") + what + " " + f.label);
}

void registerFrame(const Frame& f) {
    auto im = std::make_shared<StatsImages>(f);
    const std::string size = f.label;

    // Histogram of a one-channel image.
    {
        cv::Mat hist;
        const int channels[] = {0}, histSize[] = {256};
        static const float range[] = {0, 256};
        static const float* ranges[] = {range};
        cv::calcHist(&im->gray, 1, channels, cv::Mat(), hist, 1, histSize, ranges);
        ozlComputeHisto(im->hGray.get(), &im->histoLut);
        for (int j = 0; j < 256; ++j)
            if (im->counts[j] != static_cast<int32_t>(hist.at<float>(j))) {
                mismatch("histogram", f);
                break;
            }
        addComparison({"stats", "histogram 8U C1", size, 0.8, ""},
                      [im] { ozlComputeHisto(im->hGray.get(), &im->histoLut); },
                      [im, channels, histSize] {
                          cv::Mat h;
                          cv::calcHist(&im->gray, 1, channels, cv::Mat(), h, 1, histSize, ranges);
                      });
    }
    // A look-up table per channel.
    {
        cv::Mat expect;
        cv::LUT(im->a, im->cvLut, expect);
        ozlContrastStretch(im->hA.get(), im->hOut.get(), im->luts);
        if (cv::norm(expect, im->out, cv::NORM_INF) != 0) mismatch("look-up table", f);
        addComparison({"stats", "stretch 8U C3", size, 1.0, "against cv::LUT"},
                      [im] { ozlContrastStretch(im->hA.get(), im->hOut.get(), im->luts); },
                      [im] { cv::LUT(im->a, im->cvLut, im->out); });
    }
    // Equalisation: the histogram and the equalising map, as a user runs them.
    addComparison({"stats", "equalize 8U C1", size, 1.0, "ozlComputeHisto + ozlHistoEqualize"},
                  [im] {
                      ozlComputeHisto(im->hGray.get(), &im->histoLut);
                      ozlHistoEqualize(im->hGray.get(), im->hGrayOut.get(), &im->histoLut);
                  },
                  [im] { cv::equalizeHist(im->gray, im->grayOut); });
    // Moments of a one-channel image.
    {
        const cv::Moments m = cv::moments(im->gray, false);
        OzlMomentState s;
        ozlMoments(im->hGray.get(), s);
        const double ours[] = {s[0][0].value, s[1][0].value, s[0][1].value, s[2][0].value,
                               s[1][1].value, s[0][2].value, s[3][0].value, s[2][1].value,
                               s[1][2].value, s[0][3].value};
        const double theirs[] = {m.m00, m.m10, m.m01, m.m20, m.m11,
                                 m.m02, m.m30, m.m21, m.m12, m.m03};
        for (int i = 0; i < 10; ++i)
            if (std::fabs(ours[i] - theirs[i]) > 1e-12 * std::fabs(ours[i])) {
                mismatch("moments", f);
                break;
            }
        addComparison({"stats", "moments 8U C1", size, 1.0, ""},
                      [im] {
                          OzlMomentState state;
                          ozlMoments(im->hGray.get(), state);
                      },
                      [im] { benchmark::DoNotOptimize(cv::moments(im->gray, false)); });
    }
    // L2 norm of a difference.
    if (ozlNorm(im->hA.get(), im->hB.get(), OZL_L2) != cv::norm(im->a, im->b, cv::NORM_L2))
        mismatch("L2 norm", f);
    addComparison({"stats", "norm L2 diff 8U C3", size, 0.5, ""},
                  [im] { benchmark::DoNotOptimize(ozlNorm(im->hA.get(), im->hB.get(), OZL_L2)); },
                  [im] { benchmark::DoNotOptimize(cv::norm(im->a, im->b, cv::NORM_L2)); });
}

Registrar registrar([] {
    registerFrame({640, 480, "640x480"});
    registerFrame({3840, 2160, "3840x2160"});
});

}  // namespace

}  // namespace ozl::bench
