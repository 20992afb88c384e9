// Minimum and maximum over windows: a full rectangle separates into a fold
// down the rows and one along the row (a long row window doubles its reach
// pass by pass, so its cost grows with the logarithm of its width); a shaped
// element folds its places one by one; the 3 x 3 square has a kernel of its
// own. 1-bit images work on their packed rows.
#include "rank/extremes.hpp"

#include <algorithm>
#include <cstring>

#include "image/bits.hpp"
#include "image/depth.hpp"
#include "rank/kernels.hpp"

namespace ozl::rank {
namespace {

constexpr int kSquareBand = 8;

struct Place {
    int row;     // source row index in the kernel's rows
    int offset;  // pixels from the output pixel
};

struct Plan {
    FoldFn fold = nullptr;
    Extreme3x3Fn square = nullptr;  // the 3 x 3 square around its centre, in one pass
    size_t valueBytes = 1;
    int nCols = 1, nRows = 1, left = 0, right = 0;
    const Place* places = nullptr;  // a shaped element; nullptr for the full rectangle
    int nPlaces = 0;
};

const void* at(const void* p, ptrdiff_t values, size_t valueBytes) {
    return static_cast<const char*>(p) + values * static_cast<ptrdiff_t>(valueBytes);
}

// out = the extreme of in[0..k-1], in chunks the fold routine takes.
void foldAll(FoldFn fold, const void* const* in, int k, void* out, size_t n) {
    const int first = std::min(k, kMaxFold);
    fold(in, first, out, n);
    const void* chunk[kMaxFold];
    for (int j = first; j < k;) {
        const int m = std::min(k - j, kMaxFold - 1);
        chunk[0] = out;
        std::copy(in + j, in + j + m, chunk + 1);
        fold(chunk, m + 1, out, n);
        j += m;
    }
}

void rectangleRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const int ch = row.channels;
    const size_t vb = p.valueBytes;
    const size_t n = static_cast<size_t>(row.width) * ch;
    const size_t span = n + static_cast<size_t>(p.nCols - 1) * ch;
    const void* ins[kMaxFold];
    if (p.nCols == 1) {
        if (p.nRows == 1) std::memcpy(row.dst, row.src[0], n * vb);
        else foldAll(p.fold, row.src, p.nRows, row.dst, n);
        return;
    }
    char* a = static_cast<char*>(row.scratch);
    char* b = a + (span * vb + 31) / 32 * 32;
    const void* col;
    if (p.nRows == 1) {
        col = at(row.src[0], -static_cast<ptrdiff_t>(p.left) * ch, vb);
    } else {
        // The rows' starts moved to the left margin, a chunk at a time.
        const void* starts[kMaxFold];
        for (int j = 0; j < p.nRows;) {
            const int m = std::min(p.nRows - j, j == 0 ? kMaxFold : kMaxFold - 1);
            int k = 0;
            if (j > 0) starts[k++] = a;
            for (int r = 0; r < m; ++r) starts[k++] = at(row.src[j + r], -static_cast<ptrdiff_t>(p.left) * ch, vb);
            p.fold(starts, k, a, span);
            j += m;
        }
        col = a;
    }
    if (p.nCols <= kMaxFold) {
        for (int j = 0; j < p.nCols; ++j) ins[j] = at(col, static_cast<ptrdiff_t>(j) * ch, vb);
        p.fold(ins, p.nCols, row.dst, n);
        return;
    }
    // Windows of w pixels, then of 2w, from two overlapping ones.
    int w = 1;
    char* out = col == a ? b : a;
    while (2 * w <= p.nCols) {
        ins[0] = col;
        ins[1] = at(col, static_cast<ptrdiff_t>(w) * ch, vb);
        p.fold(ins, 2, out, span - static_cast<size_t>(2 * w - 1) * ch);
        col = out;
        out = out == a ? b : a;
        w *= 2;
    }
    ins[0] = col;
    ins[1] = at(col, static_cast<ptrdiff_t>(p.nCols - w) * ch, vb);
    p.fold(ins, 2, row.dst, n);
}

void squareRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    p.square(row.src, row.rows, row.dst, row.dstStride, static_cast<size_t>(row.width) * row.channels, row.channels);
}

void shapedRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const int ch = row.channels;
    const size_t n = static_cast<size_t>(row.width) * ch;
    const void* ins[kMaxFold];
    for (int j = 0; j < p.nPlaces;) {
        int k = 0;
        if (j > 0) ins[k++] = row.dst;
        while (k < kMaxFold && j < p.nPlaces) {
            const Place& place = p.places[j++];
            ins[k++] = at(row.src[place.row], static_cast<ptrdiff_t>(place.offset) * ch, p.valueBytes);
        }
        p.fold(ins, k, row.dst, n);
    }
}

// 1-bit images on their packed rows, 64 pixels a word: the least value is
// AND, the greatest OR.
template <bool Max>
uint64_t combine(uint64_t a, uint64_t b) { return Max ? a | b : a & b; }

// The 64 pixels `o` pixels along from the word `cur` (|o| < 64).
inline uint64_t along(uint64_t prev, uint64_t cur, uint64_t next, int o) {
    if (o < 0) return (cur >> -o) | (prev << (64 + o));
    return o == 0 ? cur : (cur << o) | (next >> (64 - o));
}

// The rows folded a word at a time, then the columns by shifts of that fold;
// Square: the 3 x 3 square around its centre.
template <bool Max, bool Square>
void bitsRectangleRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const auto* const* src = reinterpret_cast<const uint8_t* const*>(row.src);
    auto* out = static_cast<uint8_t*>(row.dst);
    const int nRows = Square ? 3 : p.nRows, lo = Square ? -1 : -p.left, hi = Square ? 1 : p.right;
    auto column = [&](ptrdiff_t k) {
        uint64_t v = image::loadBitWord(src[0] + 8 * k);
        for (int r = 1; r < nRows; ++r) v = combine<Max>(v, image::loadBitWord(src[r] + 8 * k));
        return v;
    };
    const ptrdiff_t words = (row.width + 63) / 64;
    uint64_t prev = column(-1), cur = column(0);
    for (ptrdiff_t k = 0; k < words; ++k) {
        const uint64_t next = column(k + 1);
        uint64_t v = along(prev, cur, next, lo);
        for (int o = lo + 1; o <= hi; ++o) v = combine<Max>(v, along(prev, cur, next, o));
        image::storeBitWord(out + 8 * k, v);
        prev = cur;
        cur = next;
    }
}

template <bool Max>
void bitsShapedRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const auto* const* src = reinterpret_cast<const uint8_t* const*>(row.src);
    auto* out = static_cast<uint8_t*>(row.dst);
    const ptrdiff_t words = (row.width + 63) / 64;
    for (ptrdiff_t k = 0; k < words; ++k) {
        uint64_t v = image::bitWordAt(src[p.places[0].row], k, p.places[0].offset);
        for (int j = 1; j < p.nPlaces; ++j)
            v = combine<Max>(v, image::bitWordAt(src[p.places[j].row], k, p.places[j].offset));
        image::storeBitWord(out + 8 * k, v);
    }
}

struct PlaceMemory {
    Place* places = nullptr;
    ~PlaceMemory() { ozlFree(places); }
};

}  // namespace

core::NbCode runExtremes(const OzlImage* src, const OzlImage* dst, const Shape& shape,
                         const ExtremeStep* steps, int count) {
    core::NbSetup setup;
    const core::NbCode code = core::setupNeighbourhood(src, dst, setup);
    if (code != core::NbCode::Done || setup.width == 0) return code;

    const image::Elem type = src->depth == OZL_DEPTH_1U ? image::Elem::U8 : image::elemOf(src->depth);
    const RankTable& table = activeRankTable();
    Plan plans[2];
    PlaceMemory memory;
    const int64_t area = static_cast<int64_t>(shape.nCols) * shape.nRows;
    bool full = !shape.values;
    if (!full) full = std::all_of(shape.values, shape.values + area, [](uint8_t v) { return v != 0; });
    int nPlaces = 0;
    if (!full) {
        if (area > INT32_MAX / static_cast<int64_t>(sizeof(Place))) return core::NbCode::NoMemory;
        memory.places = static_cast<Place*>(ozlMalloc(static_cast<int>(area * sizeof(Place))));
        if (!memory.places) return core::NbCode::NoMemory;
        for (int y = 0; y < shape.nRows; ++y)
            for (int x = 0; x < shape.nCols; ++x)
                if (shape.values[static_cast<int64_t>(y) * shape.nCols + x])
                    memory.places[nPlaces++] = Place{y, x - shape.anchorX};
    }
    core::NbKernel kernels[2];
    for (int g = 0; g < 2; ++g) {
        Plan& p = plans[g];
        p.fold = table.fold[static_cast<int>(type)][g];
        p.valueBytes = static_cast<size_t>(image::depthInfo(src->depth)->bytes);
        if (p.valueBytes == 0) p.valueBytes = 1;
        p.nCols = shape.nCols;
        p.nRows = shape.nRows;
        p.left = shape.anchorX;
        p.right = shape.nCols - 1 - shape.anchorX;
        p.places = full ? nullptr : memory.places;
        p.nPlaces = nPlaces;
        const bool square = full && shape.nCols == 3 && shape.nRows == 3 && shape.anchorX == 1 && shape.anchorY == 1;
        if (square) p.square = table.extreme3x3[static_cast<int>(type)][g];
        core::NbKernel& k = kernels[g];
        k.row = square ? &squareRow : full ? &rectangleRow : &shapedRow;
        k.context = &p;
        // Bits a word at a time while each place is less than a word away.
        k.packedBits = src->depth == OZL_DEPTH_1U && p.left < 64 && p.right < 64;
        if (k.packedBits) {
            const core::NbRowFn bits[2][3] = {{&bitsRectangleRow<false, true>, &bitsRectangleRow<false, false>, &bitsShapedRow<false>},
                                              {&bitsRectangleRow<true, true>, &bitsRectangleRow<true, false>, &bitsShapedRow<true>}};
            k.row = bits[g][square ? 0 : full ? 1 : 2];
        }
        k.margins = core::Margins{shape.anchorX, shape.anchorY, shape.nCols - 1 - shape.anchorX,
                                  shape.nRows - 1 - shape.anchorY};
        k.scratchPerValue = full && !square && !k.packedBits ? 2 * p.valueBytes + 1 : 0;
        // The square's rows share source rows: bands of them a call.
        if (square && !k.packedBits) k.bandRows = kSquareBand;
    }
    core::NbPass passes[4];
    count = std::min(count, 4);
    for (int s = 0; s < count; ++s) passes[s] = core::NbPass{&kernels[steps[s].greatest ? 1 : 0], steps[s].repeat};
    return core::runPasses(setup, passes, count);
}

}  // namespace ozl::rank
