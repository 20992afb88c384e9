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

constexpr int kSquareBand = 16;

struct Place {
    int row;     // source row index in the kernel's rows
    int offset;  // pixels from the output pixel
};

struct Plan {
    FoldFn fold = nullptr;
    Extreme3x3Fn square = nullptr;  // the 3 x 3 square around its centre, in one pass
    Bits3x3Fn bitsSquare = nullptr;  // the same over packed 1-bit rows
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

// Each row of a band through one(its source rows, its output), the bits past
// the width in the output's last byte kept.
template <class F>
void eachBitsRow(const core::NbRow& row, F&& one) {
    const size_t last = static_cast<size_t>(row.width) / 8;
    const int tail = row.width & 7;
    const uint8_t keep = static_cast<uint8_t>(0xFFu >> tail);
    for (int i = 0; i < row.rows; ++i) {
        auto* out = static_cast<uint8_t*>(row.dst) + i * row.dstStride;
        const uint8_t kept = static_cast<uint8_t>(tail ? out[last] & keep : 0);
        one(reinterpret_cast<const uint8_t* const*>(row.src) + i, out);
        if (tail) out[last] = static_cast<uint8_t>((out[last] & ~keep) | kept);
    }
}

// The word of the row's bits at word k, only the bytes holding pixels below
// `width` written.
inline void storeRowWord(uint8_t* out, ptrdiff_t k, uint64_t v, int width) {
    const ptrdiff_t bytes = (static_cast<ptrdiff_t>(width) + 7) / 8 - 8 * k;
    if (bytes >= 8) return image::storeBitWord(out + 8 * k, v);
    uint8_t word[8];
    image::storeBitWord(word, v);
    std::memcpy(out + 8 * k, word, static_cast<size_t>(bytes));
}

// The rows folded a word at a time, then the columns by shifts of that fold.
template <bool Max>
void bitsRectangleRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const ptrdiff_t words = (row.width + 63) / 64;
    eachBitsRow(row, [&](const uint8_t* const* src, uint8_t* out) {
        auto column = [&](ptrdiff_t k) {
            uint64_t v = image::loadBitWord(src[0] + 8 * k);
            for (int r = 1; r < p.nRows; ++r) v = combine<Max>(v, image::loadBitWord(src[r] + 8 * k));
            return v;
        };
        uint64_t prev = column(-1), cur = column(0);
        for (ptrdiff_t k = 0; k < words; ++k) {
            const uint64_t next = column(k + 1);
            uint64_t v = along(prev, cur, next, -p.left);
            for (int o = 1 - p.left; o <= p.right; ++o) v = combine<Max>(v, along(prev, cur, next, o));
            storeRowWord(out, k, v, row.width);
            prev = cur;
            cur = next;
        }
    });
}

// Packed rows a call: the driver's per-call cost spread over a few rows.
constexpr int kBitsBand = 64;

// The driver says where each row's margin pixels are: in words apart, or at
// columns of the rows themselves (beside gathered rows, or where the border
// mode reads them). (The plan's kernel is the least or greatest one already.)
void bitsSquareRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    BitsMargins margins;
    margins.words = row.edges;
    margins.columns[0] = row.edgeColumns[0];
    margins.columns[1] = row.edgeColumns[1];
    p.bitsSquare(reinterpret_cast<const uint8_t* const*>(row.src), margins, row.rows, static_cast<uint8_t*>(row.dst),
                 row.dstStride, row.width);
}

template <bool Max>
void bitsShapedRow(const core::NbRow& row, const void* context) {
    const Plan& p = *static_cast<const Plan*>(context);
    const ptrdiff_t words = (row.width + 63) / 64;
    eachBitsRow(row, [&](const uint8_t* const* src, uint8_t* out) {
        for (ptrdiff_t k = 0; k < words; ++k) {
            uint64_t v = image::bitWordAt(src[p.places[0].row], k, p.places[0].offset);
            for (int j = 1; j < p.nPlaces; ++j)
                v = combine<Max>(v, image::bitWordAt(src[p.places[j].row], k, p.places[j].offset));
            storeRowWord(out, k, v, row.width);
        }
    });
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
        p.bitsSquare = table.bits3x3[g];
        core::NbKernel& k = kernels[g];
        k.row = square ? &squareRow : full ? &rectangleRow : &shapedRow;
        k.context = &p;
        // Bits a word at a time while each place is less than a word away.
        k.packedBits = src->depth == OZL_DEPTH_1U && p.left < 64 && p.right < 64;
        if (k.packedBits) {
            k.bandRows = kBitsBand;
            k.packedInPlace = square;
            const core::NbRowFn bits[2][3] = {{&bitsSquareRow, &bitsRectangleRow<false>, &bitsShapedRow<false>},
                                              {&bitsSquareRow, &bitsRectangleRow<true>, &bitsShapedRow<true>}};
            k.row = bits[g][square ? 0 : full ? 1 : 2];
        }
        k.margins = core::Margins{shape.anchorX, shape.anchorY, shape.nCols - 1 - shape.anchorX,
                                  shape.nRows - 1 - shape.anchorY};
        k.scratchPerValue = full && !square && !k.packedBits ? 2 * p.valueBytes + 1 : 0;
        k.independentColumns = !k.packedBits;
        // The square's rows share source rows: bands of them a call.
        if (square && !k.packedBits) k.bandRows = kSquareBand;
    }
    core::NbPass passes[4];
    count = std::min(count, 4);
    for (int s = 0; s < count; ++s) passes[s] = core::NbPass{&kernels[steps[s].greatest ? 1 : 0], steps[s].repeat};
    return core::runPasses(setup, passes, count);
}

}  // namespace ozl::rank
