// Minimum and maximum over windows: a full rectangle separates into a fold
// down the rows and one along the row (a long row window doubles its reach
// pass by pass, so its cost grows with the logarithm of its width); a shaped
// element folds its places one by one.
#include "rank/extremes.hpp"

#include <algorithm>
#include <cstring>

#include "image/depth.hpp"
#include "rank/kernels.hpp"

namespace ozl::rank {
namespace {

struct Place {
    int row;     // source row index in the kernel's rows
    int offset;  // pixels from the output pixel
};

struct Plan {
    FoldFn fold = nullptr;
    size_t valueBytes = 1;
    int nCols = 1, nRows = 1, left = 0;
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
        p.places = full ? nullptr : memory.places;
        p.nPlaces = nPlaces;
        core::NbKernel& k = kernels[g];
        k.row = full ? &rectangleRow : &shapedRow;
        k.context = &p;
        k.margins = core::Margins{shape.anchorX, shape.anchorY, shape.nCols - 1 - shape.anchorX,
                                  shape.nRows - 1 - shape.anchorY};
        k.scratchPerValue = full ? 2 * p.valueBytes + 1 : 0;
    }
    core::NbPass passes[4];
    count = std::min(count, 4);
    for (int s = 0; s < count; ++s) passes[s] = core::NbPass{&kernels[steps[s].greatest ? 1 : 0], steps[s].repeat};
    return core::runPasses(setup, passes, count);
}

}  // namespace ozl::rank
