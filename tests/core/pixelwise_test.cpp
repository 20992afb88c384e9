// The pixel-wise frame through the public operations, where a shortcut or a
// working buffer could go wrong: channels of interest and row pitches of their
// own against the whole-buffer and merged-row shortcuts; many channels; masks on
// unpadded rows; 1-bit rows in place; partly overlapping operands; alpha fills.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ozl.h"
#include "support/error_capture.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::ErrorCapture;
using ozl::test::expectPixelwise;
using ozl::test::Ref;
using ozl::test::TestImage;

TEST(PixelwiseFrame, ShortcutsRespectChannelOfInterestAndRowPitch) {
    ErrorCapture errors;
    // Identical headers whose ROI covers everything but names channel 1 of 3:
    // only that channel may change.
    TestImage a(OZL_DEPTH_8U, 16, 4, 3), b(OZL_DEPTH_8U, 16, 4, 3), d(OZL_DEPTH_8U, 16, 4, 3);
    a.fillRandom(1);
    b.fillRandom(2);
    d.fillRandom(3);
    for (TestImage* im : {&a, &b, &d}) im->setRoi(1, 0, 0, 16, 4);
    TestImage before = d.clone();
    ozlAdd(a, b, d);
    expectPixelwise(before, d, a, b, Ref::Add);

    // Packed rows beside a source with a pitch of its own: no merged run.
    TestImage padded(OZL_DEPTH_16S, 12, 5);
    padded->width = 10;  // 20 bytes of pixels, 4 of padding
    padded.fillRandom(6);
    TestImage packedB(OZL_DEPTH_16S, 10, 5, 1, OZL_DATA_ORDER_PIXEL, false, 4);
    TestImage packedD(OZL_DEPTH_16S, 10, 5, 1, OZL_DATA_ORDER_PIXEL, false, 4);
    ASSERT_EQ(packedD->widthStep, 20);
    packedB.fillRandom(4);
    packedD.fillRandom(5);
    before = packedD.clone();
    ozlSubtract(padded, packedB, packedD);
    expectPixelwise(before, packedD, padded, packedB, Ref::Sub);

    // A mask on 8U rows of exactly widthStep bytes, which would merge into one run without it.
    TestImage ma(OZL_DEPTH_8U, 32, 6), md(OZL_DEPTH_8U, 32, 6), m(OZL_DEPTH_1U, 32, 6);
    ASSERT_EQ(md->widthStep, 32);
    ma.fillRandom(1);
    md.fillRandom(2);
    m.fillRandom(3);
    md.setMask(&m);
    before = md.clone();
    ozlMultiply(ma, ma, md);
    expectPixelwise(before, md, ma, ma, [](double x, double y) { return std::min(x * y, 255.0); },
                    [&](int x, int y) { return m.at(x, y) != 0; });
    EXPECT_TRUE(errors.empty()) << errors.last();
}

// Pixels wider than the driver's working chunks assume: 32S with 5 channels,
// 16U with 9 (alpha on the 9th), with a ROI, a channel of interest and masks.
TEST(PixelwiseFrame, ManyChannelsThroughGatheredAndMaskedPaths) {
    ErrorCapture errors;
    for (int nCh : {5, 9, 70}) {
        SCOPED_TRACE(nCh);
        const unsigned depth = nCh == 5 ? OZL_DEPTH_32S : OZL_DEPTH_16U;
        const bool alpha = nCh != 5;
        TestImage a(depth, 301, 3, nCh, OZL_DATA_ORDER_PIXEL, alpha);
        TestImage d(depth, 301, 3, nCh, OZL_DATA_ORDER_PIXEL, alpha), m(OZL_DEPTH_1U, 301, 3);
        a.fillRandom(1);
        d.fillRandom(2);
        m.fillRandom(3);
        a.setRoi(0, 1, 0, 300, 3);
        TestImage before = d.clone();
        ozlAdd(a, d, d);  // in place on the second source, gathered (alpha)
        expectPixelwise(before, d, a, before, Ref::Add);
        d.setMask(&m);
        before = d.clone();
        ozlXorS(a, d, 0x5A5A);
        expectPixelwise(before, d, a, nullptr, [&](double v, double) {
            return static_cast<double>((static_cast<int64_t>(v) ^ 0x5A5A) & (depth == OZL_DEPTH_16U ? 0xFFFF : -1));
        }, [&](int x, int y) { return m.at(x, y) != 0; });
        d.setMask(nullptr);
        a.setRoi(nCh - 1, 0, 0, 301, 3);
        d.setRoi(2, 0, 0, 301, 3);
        before = d.clone();
        ozlSubtract(a, a, d);
        expectPixelwise(before, d, a, a, Ref::Sub);
    }
    EXPECT_TRUE(errors.empty()) << errors.last();
}

TEST(PixelwiseFrame, OneBitInPlaceInsideAByte) {
    ErrorCapture errors;
    // The region starts at bit 3 and spans whole bytes between partial ones.
    for (int width : {5, 29, 61}) {
        TestImage bits(OZL_DEPTH_1U, 80, 3);
        bits.fillRandom(static_cast<uint32_t>(width));
        bits.setRoi(0, 3, 1, width, 2);
        TestImage before = bits.clone();
        before.setRoi(0, 3, 1, width, 2);
        ozlNot(bits, bits);
        expectPixelwise(before, bits, before, nullptr, Ref::Xor, 1);
        ozlOrS(bits, bits, 1);
        expectPixelwise(before, bits, before, nullptr, [](double, double) { return 1.0; });
    }
    EXPECT_TRUE(errors.empty());
}

// A destination over the same memory as a source, a few values further on
// (or back): every result comes from the source as it was before the call.
TEST(PixelwiseFrame, DestinationPartlyOverlappingASource) {
    ErrorCapture errors;
    for (int shift : {-7, 5, 100}) {
        TestImage buffer(OZL_DEPTH_8U, 200, 20);  // rows of 200 bytes, without padding
        buffer.fillRandom(static_cast<uint32_t>(shift + 50));
        const std::vector<uint8_t> original = buffer.bytes();
        OzlImage src = *buffer.get(), dst = src;
        src.height = dst.height = 8;
        src.imageData += 1000;
        dst.imageData += 1000 + shift;
        ozlAddS(&src, &dst, 1);  // routed through ozlSubtractS
        const std::vector<uint8_t> after = buffer.bytes();
        for (int i = 0; i < 1600; ++i) ASSERT_EQ(after[1000 + shift + i], std::min(original[1000 + i] + 1, 255)) << shift << " " << i;
    }
    EXPECT_TRUE(errors.empty());
}

TEST(PixelwiseFrame, FillWritesTheAlphaChannelToo) {
    ErrorCapture errors;
    for (int order : {OZL_DATA_ORDER_PIXEL, OZL_DATA_ORDER_PLANE}) {
        TestImage im(OZL_DEPTH_16S, 9, 3, 4, order, true);
        im.fillRandom(1);
        ozlSet(im, -300);
        for (int c = 0; c < 4; ++c) EXPECT_EQ(im.at(8, 2, c), -300) << "channel " << c;
        im.setRoi(2, 0, 0, 9, 3);
        ozlSet(im, 7);
        EXPECT_EQ(im.at(4, 1, 1), 7);
        EXPECT_EQ(im.at(4, 1, 3), -300);
    }
    EXPECT_TRUE(errors.empty());
}

}  // namespace
