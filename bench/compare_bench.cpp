// The comparisons and the float range against OpenCV. ozl writes one bit per
// pixel where OpenCV writes a byte; both read the same sources.
#include <memory>
#include <vector>

#include <opencv2/core.hpp>

#include "bench/harness.hpp"

namespace ozl::bench {

namespace {

// One-channel images held by OpenCV and seen by ozl through headers over the
// same bytes, and a 1-bit ozl result.
struct ImageFree {
    void operator()(OzlImage* image) const {
        ozlDeallocate(image, OZL_IMAGE_HEADER | OZL_IMAGE_DATA);
    }
};

struct Operands {
    cv::Mat a, b, d;
    Header ha, hb;
    std::unique_ptr<OzlImage, ImageFree> res;

    Operands(const Frame& f, int cvType, uint32_t depth) {
        a.create(f.height, f.width, cvType);
        b.create(f.height, f.width, cvType);
        d.create(f.height, f.width, CV_8UC1);
        cv::RNG rng(17);
        if (depth == OZL_DEPTH_32F) {
            rng.fill(a, cv::RNG::UNIFORM, -1000, 1000);
            rng.fill(b, cv::RNG::UNIFORM, -1000, 1000);
        } else {
            rng.fill(a, cv::RNG::UNIFORM, 0, 256);
            rng.fill(b, cv::RNG::UNIFORM, 0, 256);
        }
        ha = over(a, depth);
        hb = over(b, depth);
        res.reset(ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "GRAY", "GRAY", OZL_DATA_ORDER_PIXEL,
                                       OZL_ORIGIN_TL, OZL_ALIGN_32BYTES, f.width, f.height,
                                       nullptr, nullptr, nullptr, nullptr));
        ozlAllocateImage(res.get(), 1, 0);
    }

    static Header over(cv::Mat& m, uint32_t depth) {
        Header h(ozlCreateImageHeader(1, 0, depth, "GRAY", "GRAY", OZL_DATA_ORDER_PIXEL,
                                      OZL_ORIGIN_TL, OZL_ALIGN_32BYTES, m.cols, m.rows, nullptr,
                                      nullptr, nullptr, nullptr));
        h->imageData = reinterpret_cast<char*>(m.data);
        h->widthStep = static_cast<int>(m.step);
        h->imageSize = static_cast<int>(m.step * m.rows);
        return h;
    }
};

void registerRows() {
    static std::vector<std::unique_ptr<Operands>> keep;  // alive for the whole run
    const Frame frames[] = {{640, 480, "640x480"}, {3840, 2160, "3840x2160"}};
    for (const Frame& f : frames) {
        keep.push_back(std::make_unique<Operands>(f, CV_8UC1, OZL_DEPTH_8U));
        Operands* u8 = keep.back().get();
        addComparison({"compare", "greater 8U C1", f.label, 0.5, "1 bit against 8 bits a pixel"},
                      [u8] { ozlGreater(u8->ha.get(), u8->hb.get(), u8->res.get()); },
                      [u8] { cv::compare(u8->a, u8->b, u8->d, cv::CMP_GT); });
        addComparison({"compare", "greaterS 8U C1", f.label, 0, "1 bit against 8 bits a pixel"},
                      [u8] { ozlGreaterS(u8->ha.get(), 100, u8->res.get()); },
                      [u8] { cv::compare(u8->a, 100, u8->d, cv::CMP_GT); });
        keep.push_back(std::make_unique<Operands>(f, CV_32FC1, OZL_DEPTH_32F));
        Operands* f32 = keep.back().get();
        addComparison({"compare", "lessSFP 32F C1", f.label, 0, "1 bit against 8 bits a pixel"},
                      [f32] { ozlLessSFP(f32->ha.get(), 0.5f, f32->res.get()); },
                      [f32] { cv::compare(f32->a, 0.5, f32->d, cv::CMP_LT); });
        addComparison({"compare", "minMaxFP 32F C1", f.label, 0, "OpenCV: cv::minMaxLoc"},
                      [f32] {
                          float lo, hi;
                          ozlMinMaxFP(f32->ha.get(), &lo, &hi);
                      },
                      [f32] {
                          double lo, hi;
                          cv::minMaxLoc(f32->a, &lo, &hi);
                      });
    }
}

static Registrar registrar(&registerRows);

}  // namespace

}  // namespace ozl::bench
