#include "core/border_fetch.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "image/bits.hpp"
#include "image/layout.hpp"
#include "image/mask.hpp"
#include "image/region.hpp"

namespace ozl::core {

namespace {

constexpr int kBlockAlign = 32;

// What a block column or row reads: an index inside the image, or the
// constant of a side.
constexpr long long kConstant = -1;

// The constant of a side, laid out as one pixel value of the depth. 32F
// images take the top side's constant on every side.
struct Constant {
    unsigned char bytes[4] = {};
    bool bit = false;
};

Constant sideConstant(const OzlImage* image, int side) {
    Constant c;
    const int32_t v = image->borderConst[image->depth == OZL_DEPTH_32F ? 0 : side];
    switch (image->depth) {
        case OZL_DEPTH_1U: c.bit = (v & 1) != 0; break;
        case OZL_DEPTH_32F: {
            const float f = static_cast<float>(v);
            std::memcpy(c.bytes, &f, 4);
            break;
        }
        default: std::memcpy(c.bytes, &v, 4);  // low bytes on little-endian
    }
    return c;
}

int sideMode(const OzlImage* image, int side) { return image->borderMode[side] & 3; }

// Where block rows (or columns) read from, in spans: consecutive block
// positions reading consecutive image indices from `index` on, or, with
// index kConstant, the constant of `side`. `side` is the side the positions
// lie beyond (-1 inside the image). Edge pixels are set up once per fetch,
// not once per row: a tall strip's rows are a memcpy or two each.
struct Span {
    int at = 0, count = 0;
    long long index = 0;
    int side = -1;
};
using AxisMap = std::vector<Span>;

void addSpan(AxisMap& m, int at, int count, long long index, int side) {
    if (!m.empty()) {
        Span& b = m.back();
        const bool follows = index == kConstant ? b.index == kConstant : b.index != kConstant && b.index + b.count == index;
        if (b.side == side && follows) {
            b.count += count;
            return;
        }
    }
    m.push_back(Span{at, count, index, side});
}

// Rows (or columns) of the rectangle: inside ones map to themselves, outside
// ones through the mode of the side they are on (all to the constant when
// `constant`).
AxisMap mapAxis(long long start, int count, long long n, int lowSide, int highSide,
                const OzlImage* image, bool constant = false) {
    AxisMap m;
    auto outside = [&](int i) {
        const long long v = start + i;
        const int side = v < 0 ? lowSide : highSide;
        const int mode = sideMode(image, side);
        addSpan(m, i, 1, constant || mode == 0 ? kConstant : borderIndex(v, n, mode), side);
    };
    const long long lo = std::max<long long>(0, start), hi = std::min<long long>(n, start + count);
    const int inLo = static_cast<int>(std::clamp<long long>(lo - start, 0, count));
    const int inHi = static_cast<int>(std::clamp<long long>(hi - start, inLo, count));
    for (int i = 0; i < inLo; ++i) outside(i);
    if (inHi > inLo) {
        if (constant) addSpan(m, inLo, inHi - inLo, kConstant, lowSide);
        else addSpan(m, inLo, inHi - inLo, lo, -1);
    }
    for (int i = inHi; i < count; ++i) outside(i);
    return m;
}

// One plane-row of the source, as a pointer and the column its first pixel is.
struct SourceRow {
    const char* data = nullptr;
    long long firstColumn = 0;
};

struct Geometry {
    int planes;       // nChannels in plane order, else 1
    size_t pixelBits; // bits of one pixel in one plane row
};

void putConstant(char* dst, long long dstCol, const Constant& c, const Geometry& g,
                 size_t valueBytes) {
    if (g.pixelBits == 1) {
        unsigned char* p = reinterpret_cast<unsigned char*>(dst) + dstCol / 8;
        const unsigned char bit = static_cast<unsigned char>(0x80 >> (dstCol % 8));
        *p = static_cast<unsigned char>(c.bit ? *p | bit : *p & ~bit);
        return;
    }
    const size_t values = g.pixelBits / 8 / valueBytes;
    char* p = dst + dstCol * (g.pixelBits / 8);
    repeatValue(p, c.bytes, valueBytes, values);
}

// Copies `n` pixels of one plane-row from column `col` of `src` to column
// `at` of `dst`.
void copySpan(const char* src, long long col, char* dst, long long at, long long n,
              const Geometry& g) {
    if (g.pixelBits == 1) {
        image::copyBits(reinterpret_cast<const unsigned char*>(src) + col / 8,
                        static_cast<int>(col % 8), reinterpret_cast<unsigned char*>(dst) + at / 8,
                        static_cast<int>(at % 8), static_cast<size_t>(n));
    } else {
        const size_t bytes = g.pixelBits / 8;
        copyBytes(dst + at * bytes, src + col * bytes, static_cast<size_t>(n) * bytes);
    }
}

// Fills one plane-row of the block: the spans of `columns` (the column map of
// this row's rule) that read the image from `src`, the others from the
// sides' constants.
void fillRow(char* dst, const SourceRow& src, const AxisMap& columns, const Geometry& g,
             const Constant* constants, size_t valueBytes) {
    for (const Span& span : columns) {
        if (span.index == kConstant) {
            for (int i = 0; i < span.count; ++i)
                putConstant(dst, span.at + i, constants[span.side], g, valueBytes);
        } else {
            copySpan(src.data, span.index - src.firstColumn, dst, span.at, span.count, g);
        }
    }
}

// A rectangle inside the image: rows copied straight from the image, or from
// each tile it touches (one fetch each). False when a tile could not be had.
bool copyInside(const OzlImage* image, const Rect& rect, char* block, int64_t rowStep,
                const Geometry& g) {
    if (!image->tileInfo) {
        const int64_t planeStep = static_cast<int64_t>(image->widthStep) * image->height;
        for (int p = 0; p < g.planes; ++p)
            for (int r = 0; r < rect.height; ++r)
                copySpan(image->imageData + p * planeStep +
                             static_cast<int64_t>(rect.y + r) * image->widthStep,
                         rect.x, block + (static_cast<int64_t>(p) * rect.height + r) * rowStep, 0,
                         rect.width, g);
        return true;
    }
    OzlTileInfo* tile = image->tileInfo;
    const int tileStep = image::tileRowSize(image);
    const int64_t tilePlane = static_cast<int64_t>(tileStep) * tile->height;
    // Tile edges of images near 2^31 pixels across are past the int range.
    const int64_t tw = tile->width, th = tile->height;
    const int64_t x1 = static_cast<int64_t>(rect.x) + rect.width;
    const int64_t y1 = static_cast<int64_t>(rect.y) + rect.height;
    for (int ty = rect.y / tile->height; ty * th < y1; ++ty)
        for (int tx = rect.x / tile->width; tx * tw < x1; ++tx) {
            tile->callBack(image, tx, ty, OZL_GET_TILE_TO_READ);
            if (!tile->tileData) return false;
            const int64_t c0 = std::max<int64_t>(rect.x, tx * tw);
            const int64_t c1 = std::min<int64_t>(x1, (tx + 1) * tw);
            const int64_t r0 = std::max<int64_t>(rect.y, ty * th);
            const int64_t r1 = std::min<int64_t>(y1, (ty + 1) * th);
            for (int p = 0; p < g.planes; ++p)
                for (int64_t r = r0; r < r1; ++r)
                    copySpan(tile->tileData + p * tilePlane + (r - ty * th) * tileStep, c0 - tx * tw,
                             block + (static_cast<int64_t>(p) * rect.height + (r - rect.y)) * rowStep,
                             c0 - rect.x, c1 - c0, g);
            tile->callBack(image, tx, ty, OZL_RELEASE_TILE);
        }
    return true;
}

Geometry geometryOf(const OzlImage* image) {
    const bool planar = image->dataOrder == OZL_DATA_ORDER_PLANE;
    return Geometry{planar ? image->nChannels : 1,
                    static_cast<size_t>(image::depthBits(image->depth)) *
                        (planar ? 1 : static_cast<size_t>(image->nChannels))};
}

}  // namespace

// Where a rectangle's rows and columns read from, and the sides' constants.
struct EdgePlan {
    const OzlImage* image;
    Rect rect;
    Geometry g;
    size_t valueBytes;
    Constant constants[4];
    AxisMap rows;
    // Rows beside the image take the left and right modes; rows above and
    // below take their own side's mode for their columns too.
    AxisMap besideColumns;
    AxisMap outsideColumns[2];

    EdgePlan(const OzlImage* im, const Rect& r, const Geometry& geometry)
        : image(im), rect(r), g(geometry), valueBytes(std::max(1, image::depthBits(im->depth) / 8)),
          constants{sideConstant(im, 0), sideConstant(im, 1), sideConstant(im, 2), sideConstant(im, 3)},
          rows(mapAxis(r.y, r.height, im->height, 0, 1, im)),
          besideColumns(mapAxis(r.x, r.width, im->width, 2, 3, im)) {
        for (int side = 0; side < 2; ++side)
            outsideColumns[side] = mapAxis(r.x, r.width, im->width, side, side, im, sideMode(im, side) == 0);
    }

    const AxisMap& columnsOf(const Span& rowSpan) const {
        return rowSpan.side < 0 ? besideColumns : outsideColumns[rowSpan.side];
    }

    // Rectangle rows [from, to) into block rows `at` on (planes `planeRows`
    // rows apart) of an untiled image; constant rows first.
    void fill(char* data, int64_t rowStep, int planeRows, int from, int to, int at) const {
        auto blockRow = [&](int plane, int r) {
            return data + (static_cast<int64_t>(plane) * planeRows + at + (r - from)) * rowStep;
        };
        for (const Span& span : rows) {
            if (span.index != kConstant) continue;
            for (int r = std::max(from, span.at); r < std::min(to, span.at + span.count); ++r)
                for (int p = 0; p < g.planes; ++p)
                    fillRow(blockRow(p, r), SourceRow{}, outsideColumns[span.side], g, constants, valueBytes);
        }
        if (image->tileInfo) return;
        const int64_t planeStep = static_cast<int64_t>(image->widthStep) * image->height;
        for (const Span& span : rows) {
            if (span.index == kConstant) continue;
            const AxisMap& columns = columnsOf(span);
            // Whole bytes from the image only (a side strip's rows): the
            // spans copied inline, row after row.
            const bool plain = g.pixelBits % 8 == 0 &&
                               std::none_of(columns.begin(), columns.end(),
                                            [](const Span& c) { return c.index == kConstant; });
            const size_t pb = g.pixelBits / 8;
            for (int r = std::max(from, span.at); r < std::min(to, span.at + span.count); ++r)
                for (int p = 0; p < g.planes; ++p) {
                    const SourceRow src{image->imageData + p * planeStep +
                                            (span.index + (r - span.at)) * static_cast<int64_t>(image->widthStep),
                                        0};
                    char* dst = blockRow(p, r);
                    if (!plain) {
                        fillRow(dst, src, columns, g, constants, valueBytes);
                        continue;
                    }
                    for (const Span& c : columns)
                        copyBytes(dst + c.at * pb, src.data + c.index * pb, c.count * pb);
                }
        }
    }
};

BorderedRows::~BorderedRows() {
    delete plan_;
    ozlFree(block_.data);
}

bool BorderedRows::start(const OzlImage* image, const Rect& rect, int rows) {
    const Geometry g = geometryOf(image);
    const int64_t rowStep = image::rowSize(image->dataOrder, image->depth, kBlockAlign, image->nChannels, rect.width);
    rows_ = std::max(1, std::min(rows, rect.height));
    const int64_t total = rowStep * rows_ * g.planes;
    if (rect.width < 1 || rect.height < 1 || rowStep < 1 || total > INT32_MAX - 128) return false;
    block_.data = static_cast<char*>(ozlMalloc(static_cast<int>(total)));
    plan_ = new (std::nothrow) EdgePlan(image, rect, g);
    if (!block_.data || !plan_) return false;
    block_.rowStep = static_cast<int>(rowStep);
    block_.status = FetchedBlock::Done;
    return true;
}

void BorderedRows::fill(int first, int count) {
    plan_->fill(block_.data, block_.rowStep, rows_, first, first + std::min(count, rows_), 0);
}

void sideValue(const OzlImage* image, int side, char* out) {
    const Constant c = sideConstant(image, side);
    std::memcpy(out, c.bytes, static_cast<size_t>(std::max(1, image::depthBits(image->depth) / 8)));
}

long long borderIndex(long long v, long long n, int mode) {
    if (v >= 0 && v < n) return v;
    switch (mode & 3) {
        case 1: return v < 0 ? 0 : n - 1;
        case 2: {
            // Distance past the edge, then the image read forwards and
            // backwards in turn from that edge.
            const long long t = v < 0 ? -v - 1 : v - n;
            const long long q = t / n, r = t % n;
            const long long fromEdge = (q % 2 == 0) ? r : n - 1 - r;
            return v < 0 ? fromEdge : n - 1 - fromEdge;
        }
        default: {
            const long long r = v % n;
            return r < 0 ? r + n : r;
        }
    }
}

FetchedBlock fetchRect(const OzlImage* image, const Rect& rect) {
    FetchedBlock out;
    const Geometry g = geometryOf(image);
    const int64_t rowStep = image::rowSize(image->dataOrder, image->depth, kBlockAlign,
                                           image->nChannels, rect.width);
    const int64_t total = rowStep * rect.height * g.planes;
    if (rect.width < 1 || rect.height < 1 || rowStep < 1 || total > INT32_MAX - 128) return out;
    out.data = static_cast<char*>(ozlMalloc(static_cast<int>(total)));
    if (!out.data) return out;
    out.rowStep = static_cast<int>(rowStep);

    if (rect.x >= 0 && rect.y >= 0 && static_cast<int64_t>(rect.x) + rect.width <= image->width &&
        static_cast<int64_t>(rect.y) + rect.height <= image->height) {
        out.status = copyInside(image, rect, out.data, out.rowStep, g) ? FetchedBlock::Done
                                                                        : FetchedBlock::TileFailed;
        if (out.status != FetchedBlock::Done) {
            ozlFree(out.data);
            out.data = nullptr;
        }
        return out;
    }

    // Untiled images whole; of tiled ones the constant rows here, the rows
    // read from the image below.
    const EdgePlan plan(image, rect, g);
    plan.fill(out.data, rowStep, rect.height, 0, rect.height, 0);
    if (!image->tileInfo) {
        out.status = FetchedBlock::Done;
        return out;
    }
    const AxisMap& rows = plan.rows;
    const AxisMap& besideColumns = plan.besideColumns;
    const AxisMap* outsideColumns = plan.outsideColumns;
    auto blockRow = [&](int plane, int r) {
        return out.data + (static_cast<int64_t>(plane) * rect.height + r) * rowStep;
    };

    // A tiled image: the columns any row reads span [first, last]; for each
    // band of tiles that holds a row some block row reads, those columns of
    // the band are gathered from its tiles into a band buffer, each tile
    // fetched once, and every block row reading that band is filled from it.
    long long first = image->width, last = -1;
    for (const AxisMap* m : {&besideColumns, static_cast<const AxisMap*>(&outsideColumns[0]), static_cast<const AxisMap*>(&outsideColumns[1])})
        for (const Span& span : *m)
            if (span.index != kConstant) {
                first = std::min(first, span.index);
                last = std::max(last, span.index + span.count - 1);
            }
    OzlTileInfo* tile = image->tileInfo;
    const int tileStep = image::tileRowSize(image);
    const int64_t tilePlane = static_cast<int64_t>(tileStep) * tile->height;
    const int bandWidth = static_cast<int>(last - first + 1);
    const int64_t bandStep = image::rowSize(image->dataOrder, image->depth, kBlockAlign,
                                            image->nChannels, std::max(bandWidth, 1));
    const int64_t bandBytes = bandStep * tile->height * g.planes;
    char* band = last >= first && bandBytes <= INT32_MAX - 128
                     ? static_cast<char*>(ozlMalloc(static_cast<int>(bandBytes)))
                     : nullptr;
    if (last >= first && !band) {
        ozlFree(out.data);
        return FetchedBlock{};
    }
    std::vector<char> bandNeeded(static_cast<size_t>(image->height / tile->height + 1), 0);
    for (const Span& span : rows)
        if (span.index != kConstant)
            for (long long r = span.index; r < span.index + span.count; ++r)
                bandNeeded[static_cast<size_t>(r / tile->height)] = 1;
    const OzlImage* cimage = image;
    for (size_t b = 0; b < bandNeeded.size(); ++b) {
        if (!bandNeeded[b]) continue;
        const int bandTop = static_cast<int>(b) * tile->height;
        const int bandRows = std::min(tile->height, image->height - bandTop);
        for (long long tx = first / tile->width; tx <= last / tile->width; ++tx) {
            tile->callBack(cimage, static_cast<int>(tx), static_cast<int>(b), OZL_GET_TILE_TO_READ);
            if (!tile->tileData) {
                ozlFree(band);
                ozlFree(out.data);
                FetchedBlock failed;
                failed.status = FetchedBlock::TileFailed;
                return failed;
            }
            const long long c0 = std::max(first, tx * tile->width);
            const long long c1 = std::min(last + 1, (tx + 1) * tile->width);
            // The band row keeps the columns from `first` on.
            for (int p = 0; p < g.planes; ++p)
                for (int y = 0; y < bandRows; ++y)
                    copySpan(tile->tileData + p * tilePlane + static_cast<int64_t>(y) * tileStep,
                             c0 - tx * tile->width,
                             band + (static_cast<int64_t>(p) * tile->height + y) * bandStep,
                             c0 - first, c1 - c0, g);
            tile->callBack(cimage, static_cast<int>(tx), static_cast<int>(b), OZL_RELEASE_TILE);
        }
        for (const Span& span : rows) {
            if (span.index == kConstant) continue;
            for (int k = 0; k < span.count; ++k) {
                const long long row = span.index + k;
                if (row / tile->height != static_cast<long long>(b)) continue;
                for (int p = 0; p < g.planes; ++p) {
                    const SourceRow src{band + (static_cast<int64_t>(p) * tile->height + (row - bandTop)) * bandStep,
                                        first};
                    fillRow(blockRow(p, span.at + k), src, plan.columnsOf(span), g, plan.constants, plan.valueBytes);
                }
            }
        }
    }
    ozlFree(band);
    out.status = FetchedBlock::Done;
    return out;
}

void wrapBlock(const OzlImage* image, const FetchedBlock& block, const Rect& rect,
               const Rect& region, OzlImage* header, OzlROI* roi) {
    *header = *image;
    header->tileInfo = nullptr;
    header->maskROI = nullptr;
    header->imageData = block.data;
    header->imageDataOrigin = nullptr;
    header->width = rect.width;
    header->height = rect.height;
    header->widthStep = block.rowStep;
    header->align = kBlockAlign;
    header->imageSize = image::imageSizeFor(image->dataOrder, image->nChannels, rect.height,
                                            block.rowStep);
    roi->coi = image->roi ? image->roi->coi : 0;
    roi->xOffset = region.x;
    roi->yOffset = region.y;
    roi->width = region.width;
    roi->height = region.height;
    header->roi = roi;
}

}  // namespace ozl::core
