// The reduction driver: the pieces and rows it hands out (untiled, tiled with
// the tiles' own origins, rows merged only where they follow each other),
// and the gathering of strided, masked and 1-bit rows into dense values.
#include <gtest/gtest.h>

#include <vector>

#include "core/reduce.hpp"
#include "support/test_image.hpp"

namespace {

using ozl::test::TestImage;
using ozl::test::TiledImage;

struct Seen {
    std::vector<ozl::core::ReducePiece> pieces;
    std::vector<std::vector<int>> rows;  // per piece: x, y, width of every row
    bool inPiece = false;
};

ozl::core::ReduceKernel recorder(Seen& seen, bool merge = false) {
    ozl::core::ReduceKernel k;
    k.context = &seen;
    k.mergeRows = merge;
    k.begin = [](const ozl::core::ReducePiece& p, void* c) {
        auto& s = *static_cast<Seen*>(c);
        EXPECT_FALSE(s.inPiece);
        s.inPiece = true;
        s.pieces.push_back(p);
        s.rows.emplace_back();
    };
    k.end = [](const ozl::core::ReducePiece&, void* c) { static_cast<Seen*>(c)->inPiece = false; };
    k.row = [](const ozl::core::ReduceRow& r, void* c) {
        auto& s = *static_cast<Seen*>(c);
        EXPECT_TRUE(s.inPiece);
        s.rows.back().insert(s.rows.back().end(), {r.x, r.y, static_cast<int>(r.width)});
    };
    return k;
}

TEST(Reduce, PiecesAndRowsInImageCoordinates) {
    TestImage packed(OZL_DEPTH_8U, 16, 3);  // rows without padding
    Seen merged, plain;
    ozl::core::reducePixels(packed, nullptr, nullptr, recorder(merged, true));
    EXPECT_EQ(merged.rows, (std::vector<std::vector<int>>{{0, 0, 48}}));
    TestImage mask(OZL_DEPTH_1U, 16, 3);
    ozl::core::reducePixels(packed, nullptr, mask, recorder(plain, true));  // masks keep rows
    EXPECT_EQ(plain.rows, (std::vector<std::vector<int>>{{0, 0, 16, 0, 1, 16, 0, 2, 16}}));

    // A tiled first source at (5, 3): pieces end at its tile edges (8 x 8); an
    // untiled second source only cuts the size.
    TiledImage tiled(OZL_DEPTH_8U, 30, 20, 1, OZL_DATA_ORDER_PIXEL, 8, 8);
    tiled.setRoi(0, 5, 3, 20, 9);
    TestImage second(OZL_DEPTH_8U, 40, 40);
    second.setRoi(0, 1, 1, 30, 8);
    Seen walk;
    EXPECT_EQ(ozl::core::reducePixels(tiled, second, nullptr, recorder(walk)), ozl::core::kMapDone);
    const std::vector<std::vector<int>> pieces = {{5, 3, 3, 5}, {8, 3, 8, 5}, {16, 3, 8, 5}, {24, 3, 1, 5},
                                                  {5, 8, 3, 3}, {8, 8, 8, 3}, {16, 8, 8, 3}, {24, 8, 1, 3}};
    ASSERT_EQ(walk.pieces.size(), pieces.size());
    for (size_t i = 0; i < pieces.size(); ++i) {
        const auto& p = walk.pieces[i];
        EXPECT_EQ((std::vector<int>{p.x, p.y, p.width, p.height}), pieces[i]) << i;
        ASSERT_EQ(walk.rows[i].size(), 3u * p.height);
        for (int r = 0; r < p.height; ++r)
            EXPECT_EQ((std::vector<int>(walk.rows[i].begin() + 3 * r, walk.rows[i].begin() + 3 * r + 3)),
                      (std::vector<int>{p.x, p.y + r, p.width}));
    }
}

TEST(Reduce, GathersStridedMaskedAndBitRows) {
    // Channel 2 of a 3-channel image, pixels 1.. of row 1, under a mask.
    TestImage im(OZL_DEPTH_16S, 6, 2, 3);
    for (int x = 0; x < 6; ++x)
        for (int c = 0; c < 3; ++c) im.put(x, 1, c, 100 * c + x);
    im.setRoi(2, 0, 1, 6, 1);
    TestImage mask(OZL_DEPTH_1U, 6, 1);
    for (int x : {1, 2, 4}) mask.put(x, 0, 0, 1);
    std::vector<int16_t> values(5);
    ozl::core::ReduceKernel k;
    k.context = &values;
    k.row = [](const ozl::core::ReduceRow& r, void* c) {
        ozl::core::gatherValues(r, 0, 1, 5, 2, static_cast<std::vector<int16_t>*>(c)->data());
    };
    ozl::core::reducePixels(im, nullptr, mask, k);
    EXPECT_EQ(values, (std::vector<int16_t>{101, 102, 0, 104, 0}));

    // Every channel but alpha, pixel after pixel; 1-bit rows as bytes.
    TestImage rgba(OZL_DEPTH_8U, 3, 1, 4, OZL_DATA_ORDER_PLANE, true);
    for (int x = 0; x < 3; ++x)
        for (int c = 0; c < 4; ++c) rgba.put(x, 0, c, 10 * c + x);
    std::vector<uint8_t> bytes;
    k.context = &bytes;
    k.row = [](const ozl::core::ReduceRow& r, void* c) {
        auto& b = *static_cast<std::vector<uint8_t>*>(c);
        b.resize(r.width * (r.src[0].pixelStep ? r.src[0].channels : 1));
        ozl::core::gatherValues(r, 0, 0, r.width, 1, b.data());
    };
    ozl::core::reducePixels(rgba, nullptr, nullptr, k);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0, 10, 20, 1, 11, 21, 2, 12, 22}));
    TestImage bits(OZL_DEPTH_1U, 12, 1);
    bits.put(3, 0, 0, 1);
    bits.put(9, 0, 0, 1);
    bits.setRoi(0, 2, 0, 9, 1);
    ozl::core::reducePixels(bits, nullptr, nullptr, k);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0, 1, 0, 0, 0, 0, 0, 1, 0}));
}

}  // namespace
