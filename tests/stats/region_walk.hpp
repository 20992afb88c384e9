// Test helpers of the statistics tests: the channels and pixels of a region an
// operation visits, computed from the headers the plain way.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ozl.h"
#include "support/test_image.hpp"

namespace ozl::test {

// 0-based channels processed: the channel of interest, or every channel but alpha.
inline std::vector<int> processedChannels(const OzlImage* im) {
    if (im->roi && im->roi->coi > 0) return {im->roi->coi - 1};
    std::vector<int> out;
    for (int c = 0; c < im->nChannels - (im->alphaChannel ? 1 : 0); ++c) out.push_back(c);
    return out;
}

struct Rect { int x, y, width, height; };

// The region, clipped at the image's right and bottom edges.
inline Rect regionOf(const OzlImage* im) {
    if (!im->roi) return {0, 0, im->width, im->height};
    const OzlROI& r = *im->roi;
    return {r.xOffset, r.yOffset, std::max(0, std::min(r.width, im->width - r.xOffset)),
            std::max(0, std::min(r.height, im->height - r.yOffset))};
}

// f(dx, dy) for every pixel (dx, dy from the region's first pixel) of the
// region that `im` shares with `others` and `masks` (each anchored at its own
// region offsets; nullptr entries skipped) that every mask admits.
template <class F>
void forSharedRegion(const OzlImage* im, std::initializer_list<const OzlImage*> others,
                     std::initializer_list<const OzlImage*> masks, F&& f) {
    Rect r = regionOf(im);
    for (auto list : {others, masks})
        for (const OzlImage* o : list) {
            if (!o) continue;
            const Rect q = regionOf(o);
            r.width = std::min(r.width, q.width);
            r.height = std::min(r.height, q.height);
        }
    for (int dy = 0; dy < r.height; ++dy)
        for (int dx = 0; dx < r.width; ++dx) {
            bool admitted = true;
            for (const OzlImage* m : masks)
                if (m) admitted = admitted && valueOf(m, regionOf(m).x + dx, regionOf(m).y + dy, 0) != 0;
            if (admitted) f(dx, dy);
        }
}

// A clean status to start from (a negative one left over stops these
// operations), and no report the test did not clear.
class StatsTest : public testing::Test {
protected:
    void SetUp() override { ozlSetErrStatus(OZL_StsOk); }
    void TearDown() override { EXPECT_TRUE(errors.empty()) << errors.last(); }
    ErrorCapture errors;
};

// While alive, every report clears the stored status, so that operations that
// stop only on a negative status go on; seen() lists the messages.
struct ClearingHandler {
    ClearingHandler() : previous(ozlRedirectError(clear)) { seen().clear(); }
    ~ClearingHandler() { ozlRedirectError(previous); }
    static std::vector<std::string>& seen() { static std::vector<std::string> messages; return messages; }
    static OzlStatus OZL_CALL clear(OzlStatus status, const char*, const char* context, const char*, int) {
        seen().push_back(context), ozlSetErrStatus(OZL_StsOk);
        return status;
    }
    OzlErrorCallBack previous;
};

}  // namespace ozl::test
