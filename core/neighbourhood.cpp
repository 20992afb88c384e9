#include "core/neighbourhood.hpp"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "core/blend.hpp"
#include "core/border_fetch.hpp"
#include "core/led_walk.hpp"
#include "image/bits.hpp"
#include "image/layout.hpp"
#include "image/region.hpp"
#include "image/tiles.hpp"

namespace ozl::core {

namespace {

constexpr int64_t kStreamRowBytes = 1024;

// Side strips a few pixels wide would be computed a handful of values at a
// time: they take at least kMinStrip pixels, the rest of their width from the
// interior. Ends computed from bordered copies are as wide, with margins of
// at most kMaxEndMargin pixels.
constexpr int kMinStrip = 16;
constexpr int kMaxEndMargin = 16;
constexpr int kMaxKernelBand = 64;
constexpr int kEndPixels = kMinStrip > kMaxEndMargin ? kMinStrip : kMaxEndMargin;

// An operand's region as the row loop reads or writes it.
struct Operand {
    char* data = nullptr;  // region (0, 0), first processed channel
    ptrdiff_t rowStep = 0;
    ptrdiff_t planeStep = 0;
    int stride = 1;      // values between pixels
    int bit = 0;         // 1-bit images: bit of region (0, 0), most significant first
    int valueBytes = 0;  // 0 for 1-bit images
    bool plane = false;
};

Operand operandOf(const OzlImage* image) {
    const image::View v = image::regionView(image);
    Operand o;
    o.data = v.data;
    o.rowStep = v.rowStep;
    o.planeStep = v.planeStep;
    o.stride = v.pixelStride;
    o.bit = v.bitOffset;
    o.valueBytes = image::depthBits(image->depth) / 8;
    o.plane = image->dataOrder == OZL_DATA_ORDER_PLANE;
    return o;
}

// The operand with its origin moved by dx pixels and dy rows.
Operand shifted(Operand o, int dx, int dy) {
    o.data += dy * o.rowStep;
    if (o.valueBytes == 0) {
        const ptrdiff_t pos = o.bit + static_cast<ptrdiff_t>(dx);
        o.data += pos >> 3;
        o.bit = static_cast<int>(pos & 7);
    } else {
        o.data += static_cast<ptrdiff_t>(dx) * o.stride * o.valueBytes;
    }
    return o;
}

bool bitAt(const char* p, ptrdiff_t pos) {
    return (static_cast<uint8_t>(p[pos >> 3]) >> (7 - (pos & 7))) & 1;
}

// Everything a run shares: the kernel, the channel passes and the buffers.
struct Run {
    const NbKernel* kernel = nullptr;
    int passes = 1;    // 1, or one per processed channel when either image is in plane order
    int channels = 1;  // channels per pass
    int maxWidth = 0;  // widest piece (the buffers' size)
    int band = 1;      // output rows a call takes at most
    int rowsNeeded = 1;  // source rows of a call of `band` rows
    bool gathered = false;  // source rows are gathered (strided or 1-bit sources)
    bool stream = false;    // a destination large enough for stores past the caches
    bool packedRows = false;  // 1-bit rows handed over packed
    size_t lead = 0;        // packed rows: slot bytes before pixel 0
    size_t srcBytes = 1, dstBytes = 1;  // value sizes as the kernel sees them
    char* memory = nullptr;
    const void** rows = nullptr;
    char* ring = nullptr;      // gathered source rows
    size_t ringRowBytes = 0;
    char* out = nullptr;       // computed rows on their way to a masked or strided destination
    size_t outRowBytes = 0;
    uint8_t* packed = nullptr; // 1-bit destination rows
    uint64_t* edgeWords = nullptr;  // packed rows in place: two words a source row
    char* scratch = nullptr;
    bool ends = false;      // rows in place, the bands' ends from bordered copies
    size_t endBytes = 0;    // one end copy of a source row
    char* endRing = nullptr;  // ends: rowsNeeded copies for each end, then two constant rows
    size_t constantRowBytes = 0;

    ~Run() { ozlFree(memory); }

    bool allocate() {
        const Margins& m = kernel->margins;
        const int64_t span = (static_cast<int64_t>(maxWidth) + m.left + m.right) * channels;
        // A packed slot: whole words around the margins, one more each side.
        lead = static_cast<size_t>((m.left + 63) / 64 + 1) * 8;
        const int64_t slotBytes = packedRows ? align(static_cast<int64_t>(lead) + (static_cast<int64_t>(maxWidth) + m.right + 63) / 64 * 8 + 8)
                                         : align(span * static_cast<int64_t>(srcBytes));
        const int64_t ring = gathered ? slotBytes * rowsNeeded : 0;
        const int64_t outRow = align(static_cast<int64_t>(maxWidth) * channels * dstBytes);
        const int64_t out = outRow * band;
        const int64_t packed = align(maxWidth / 8 + 8);
        const int64_t scratch = align(span * static_cast<int64_t>(kernel->scratchPerValue) + 64);
        const int64_t rows = align(static_cast<int64_t>(rowsNeeded) * sizeof(void*));
        const int64_t edgeWords = packedRows ? align(static_cast<int64_t>(rowsNeeded) * 16) : 0;
        // The ends: at most kEndPixels output pixels and the margins a copy.
        const int64_t endBytes = ends ? align((kEndPixels + m.left + m.right) * channels * static_cast<int64_t>(srcBytes)) : 0;
        const int64_t constantRow = ends ? align(span * static_cast<int64_t>(srcBytes)) : 0;
        const int64_t endRing = 2 * endBytes * rowsNeeded + 2 * constantRow;
        const int64_t total = ring + out + packed + scratch + 3 * rows + edgeWords + endRing;
        if (span > INT32_MAX || total > INT32_MAX - 64) return false;
        memory = static_cast<char*>(ozlMalloc(static_cast<int>(total)));
        if (!memory) return false;
        char* p = memory;
        this->ring = p;
        ringRowBytes = static_cast<size_t>(slotBytes);
        p += ring;
        this->out = p;
        outRowBytes = static_cast<size_t>(outRow);
        p += out;
        this->packed = reinterpret_cast<uint8_t*>(p);
        p += packed;
        this->scratch = p;
        p += scratch;
        this->rows = reinterpret_cast<const void**>(p);
        p += 3 * rows;
        this->edgeWords = reinterpret_cast<uint64_t*>(p);
        p += edgeWords;
        this->endRing = p;
        this->endBytes = static_cast<size_t>(endBytes);
        constantRowBytes = static_cast<size_t>(constantRow);
        return true;
    }

    static int64_t align(int64_t bytes) { return (bytes + 63) / 64 * 64; }
};

// First value of pass p of an operand.
char* passStart(const Run& run, const Operand& o, int p) {
    if (run.passes == 1) return o.data;
    return o.plane ? o.data + p * o.planeStep : o.data + p * o.valueBytes;
}

// A piece of packed 1-bit rows read in place whose margins may lie beyond the
// image's edges: those pixels come from the border modes as each row is
// gathered. Rows above and below the image take their side's mode (a
// constant row whole, or the row it maps to with the columns beyond the
// image mapped by that same mode); rows beside it the left and right modes.
// What each margin pixel beyond the image reads is worked out once: a column
// of the row (from the piece's pixel 0) or a constant.
constexpr long long kOff = INT64_MIN, kOn = INT64_MIN + 1;
struct Edges {
    long long row = 0, height = 0;  // image row of the piece's row 0; image height
    int mode[2] = {0, 0};           // top, bottom
    bool constant[2] = {false, false};
    long long inLo = 0, inHi = 0;   // the piece's pixels inside the image
    // [rows beside, above, below][left, right]: pixels -left .. inLo - 1, inHi .. width + right - 1.
    long long reads[3][2][64];
    // Rows read in place: each margin pixel (-left .. -1, width .. width +
    // right - 1) as a bit of the row it is read with, or a constant. Only the
    // margins' entries are set (the arrays are left unset: a piece's set-up
    // would otherwise cost more than a short image's rows).
    struct Pixel {
        ptrdiff_t byte;
        int shift;
        int fixed;  // 0 or 1 for a constant, -1 to read the bit
    } pixels[3][2][64];
    // One pixel a side read from the rows' own columns (the same ones for the
    // rows beside the image and for rows [1] above and [2] below it, when
    // those map to image rows): rows in place then need no margin words.
    int columns[2] = {0, 0};
    bool ownColumns[3] = {false, false, false};
};

void edgesOf(const OzlImage* image, const Margins& m, int width, Edges& e) {
    const image::Rect region = image::regionRect(image);
    e.row = region.y;
    e.height = image->height;
    for (int side = 0; side < 2; ++side) {
        e.mode[side] = image->borderMode[side] & 3;
        e.constant[side] = (image->borderConst[side] & 1) != 0;
    }
    const long long column = region.x, n = image->width;
    e.inLo = std::max<long long>(-m.left, -column);
    e.inHi = std::min<long long>(static_cast<long long>(width) + m.right, n - column);
    for (int kind = 0; kind < 3; ++kind)
        for (int s = 0; s < 2; ++s) {
            const int side = kind == 0 ? 2 + s : kind - 1;
            const int mode = image->borderMode[side] & 3;
            const long long from = s == 0 ? -m.left : std::max(e.inHi, e.inLo);
            const long long to = s == 0 ? e.inLo : static_cast<long long>(width) + m.right;
            for (long long p = from; p < to; ++p)
                e.reads[kind][s][p - from] = mode != 0 ? borderIndex(column + p, n, mode) - column
                                             : image->borderConst[side] & 1 ? kOn : kOff;
            const int count = s == 0 ? m.left : m.right;
            for (int k = 0; k < count; ++k) {
                const long long p = s == 0 ? k - m.left : static_cast<long long>(width) + k;
                const long long c = p >= e.inLo && p < e.inHi ? p : e.reads[kind][s][p - from];
                Edges::Pixel& px = e.pixels[kind][s][k];
                const bool fixed = c == kOn || c == kOff;
                px.fixed = fixed ? c == kOn : -1;
                px.byte = fixed ? 0 : static_cast<ptrdiff_t>(c >> 3);
                px.shift = fixed ? 0 : 7 - static_cast<int>(c & 7);
            }
        }
    auto readColumn = [&](int kind, int s) {
        const Edges::Pixel& px = e.pixels[kind][s][0];
        return px.fixed >= 0 ? INT_MIN : static_cast<int>(px.byte * 8 + 7 - px.shift);
    };
    if (m.left != 1 || m.right != 1) return;
    e.columns[0] = readColumn(0, 0);
    e.columns[1] = readColumn(0, 1);
    for (int kind = 0; kind < 3; ++kind)
        e.ownColumns[kind] = e.columns[0] != INT_MIN && e.columns[1] != INT_MIN && readColumn(kind, 0) == e.columns[0] &&
                             readColumn(kind, 1) == e.columns[1];
}

// Bits [from, to) of a packed row set.
void setBits(uint8_t* p, ptrdiff_t from, ptrdiff_t to) {
    if (to <= from) return;
    const ptrdiff_t a = from >> 3, b = (to - 1) >> 3;
    const uint8_t head = static_cast<uint8_t>(0xFFu >> (from & 7));
    const uint8_t tail = static_cast<uint8_t>(0xFF00u >> (((to - 1) & 7) + 1));
    if (a == b) {
        p[a] |= static_cast<uint8_t>(head & tail);
        return;
    }
    p[a] |= head;
    std::memset(p + a + 1, 0xFF, static_cast<size_t>(b - a - 1));
    p[b] |= tail;
}

// A packed row: pixels [lo, hi) of `row` (pixel 0 at bit `bit`) into a slot
// whose pixel 0 is the first bit of byte `lead`, the rest of the slot up to
// byte `end` cleared; with edges, the pixels beyond the image as reads[0]
// (left) and reads[1] (right) say.
void gatherPacked(const uint8_t* row, int bit, int lo, int hi, uint8_t* slot, size_t lead, size_t end,
                  const Edges* edges, const long long (*reads)[64]) {
    const ptrdiff_t base = static_cast<ptrdiff_t>(lead) * 8;  // slot bit of pixel 0
    const long long inLo = edges ? edges->inLo : lo, inHi = edges ? edges->inHi : hi;
    const size_t first = static_cast<size_t>((base + lo) >> 3);
    const bool clipped = inLo > lo || inHi < hi;
    if (inHi > inLo) {
        const ptrdiff_t at = base + static_cast<ptrdiff_t>(inLo);
        image::gatherBits(row, bit + static_cast<ptrdiff_t>(inLo), slot + (at >> 3), static_cast<int>(at & 7),
                          static_cast<size_t>(inHi - inLo));
        // The bytes before and after the copied ones cleared for the margins.
        if (clipped) {
            for (size_t i = first; i < static_cast<size_t>(at >> 3); ++i) slot[i] = 0;
            const size_t after = static_cast<size_t>((base + inHi + 7) >> 3);
            for (size_t i = after; i < end; ++i) slot[i] = 0;
        }
    } else if (clipped) {
        std::memset(slot + first, 0, end - first);
    }
    if (clipped)
        for (int s = 0; s < 2; ++s) {
            const long long from = s == 0 ? lo : std::max(inHi, inLo), to = s == 0 ? inLo : hi;
            auto on = [&](long long p) {
                const long long c = reads[s][p - from];
                return c == kOn || (c != kOff && bitAt(reinterpret_cast<const char*>(row), bit + c));
            };
            // Margins ending (left) or starting (right) on a byte are stored
            // whole, from a register: or-ing them into bytes just copied
            // would wait for those stores to land.
            const ptrdiff_t edge = base + (s == 0 ? to : from);
            if (to > from && (edge & 7) == 0) {
                uint64_t v = 0;
                for (long long p = from; p < to; ++p) v = v << 1 | static_cast<uint64_t>(on(p));
                if (s == 0) {
                    for (ptrdiff_t i = (edge >> 3) - 1; i >= static_cast<ptrdiff_t>(first); --i, v >>= 8)
                        slot[i] = static_cast<uint8_t>(v);
                } else {
                    image::storeBitWord(slot + (edge >> 3), v << (64 - (to - from)));
                }
                continue;
            }
            for (long long p = from; p < to; ++p)
                if (on(p)) slot[(base + p) >> 3] |= static_cast<uint8_t>(0x80 >> ((base + p) & 7));
        }
    // The word after the row's, cleared of an earlier, wider row's bits.
    const size_t written = static_cast<size_t>((base + inHi + 7) >> 3);
    if (!clipped && written < end) std::memset(slot + written, 0, end - written);
}

// A margin pixel of a packed row read in place.
inline uint64_t marginBit(const char* row, const Edges::Pixel& px) {
    return static_cast<uint64_t>(px.fixed >= 0 ? px.fixed : static_cast<uint8_t>(row[px.byte]) >> px.shift & 1);
}

// `count` packed source rows from row `first` (relative to the piece) in
// place, the piece's pixel 0 on a byte: the rows they read (or one of the
// constant rows `constants`, all zeros then all ones). Returns whether
// every row reads its margins from its own columns (Edges::columns);
// otherwise their margin pixels go to two words a row (NbRow::edges).
bool packedInPlace(const Run& run, const Operand& s, const char* base, int first, int count, const Edges& e,
                   const char* constants, const void** rows, uint64_t* words) {
    const Margins& m = run.kernel->margins;
    const long long top = e.row + first, bottom = top + count;
    const bool own = e.ownColumns[0] && (top >= 0 || e.ownColumns[1]) && (bottom <= e.height || e.ownColumns[2]);
    auto margins = [&](const char* row, int kind, uint64_t* w) {
        uint64_t left = 0, right = 0;
        for (int k = 0; k < m.left; ++k) left = left << 1 | marginBit(row, e.pixels[kind][0][k]);
        for (int k = 0; k < m.right; ++k) right = right << 1 | marginBit(row, e.pixels[kind][1][k]);
        w[0] = left;
        w[1] = m.right ? right << (64 - m.right) : 0;
    };
    for (int j = 0; j < count;) {
        int r = first + j;
        const long long v = e.row + r;
        if (v >= 0 && v < e.height) {
            // A run of rows inside the image; one pixel a side (3 x 3) is the
            // common case, worth a loop of its own.
            const int inside = static_cast<int>(std::min<long long>(count - j, e.height - v));
            const char* row = base + static_cast<ptrdiff_t>(r) * s.rowStep;
            if (own) {
                for (int i = 0; i < inside; ++i, row += s.rowStep) rows[j + i] = row;
            } else if (m.left == 1 && m.right == 1) {
                const Edges::Pixel left = e.pixels[0][0][0], right = e.pixels[0][1][0];
                for (int i = 0; i < inside; ++i, row += s.rowStep) {
                    rows[j + i] = row;
                    words[2 * (j + i)] = marginBit(row, left);
                    words[2 * (j + i) + 1] = marginBit(row, right) << 63;
                }
            } else {
                for (int i = 0; i < inside; ++i, row += s.rowStep) {
                    rows[j + i] = row;
                    margins(row, 0, words + 2 * (j + i));
                }
            }
            j += inside;
            continue;
        }
        const int side = v < 0 ? 0 : 1;
        uint64_t* w = words + 2 * j;
        if (e.mode[side] == 0) {
            const bool on = e.constant[side];
            w[0] = on && m.left ? ~uint64_t{0} >> (64 - m.left) : 0;
            w[1] = on && m.right ? ~(~uint64_t{0} >> m.right) : 0;
            rows[j++] = constants + (on ? run.ringRowBytes : 0);
            continue;
        }
        r += static_cast<int>(borderIndex(v, e.height, e.mode[side]) - v);
        const char* row = base + static_cast<ptrdiff_t>(r) * s.rowStep;
        if (!own) margins(row, 1 + side, w);
        rows[j++] = row;
    }
    return own;
}

// Source row `r` (relative to the piece) laid out densely into `dst`, from
// `left` pixels before the piece to `right` after it; 1-bit pixels as bytes
// (or packed, when the kernel asks).
void gatherRow(const Run& run, const Operand& s, const char* base, int r, int width, char* dst,
               const Edges* edges) {
    const Margins& m = run.kernel->margins;
    const char* row = base + r * s.rowStep;
    const int n = width + m.left + m.right;
    if (run.packedRows) {
        const size_t end = run.lead + static_cast<size_t>((width + m.right + 63) / 64 + 1) * 8;
        int kind = 0;
        const long long v = edges ? edges->row + r : 0;
        if (edges && (v < 0 || v >= edges->height)) {
            const int side = v < 0 ? 0 : 1;
            if (edges->mode[side] == 0) {
                const ptrdiff_t base = static_cast<ptrdiff_t>(run.lead) * 8;
                const size_t first = static_cast<size_t>((base - m.left) >> 3);
                std::memset(dst + first, 0, end - first);
                if (edges->constant[side])
                    setBits(reinterpret_cast<uint8_t*>(dst), base - m.left, base + width + m.right);
                return;
            }
            row += (borderIndex(v, edges->height, edges->mode[side]) - v) * s.rowStep;
            kind = 1 + side;
        }
        gatherPacked(reinterpret_cast<const uint8_t*>(row), s.bit, -m.left, width + m.right,
                     reinterpret_cast<uint8_t*>(dst), run.lead, end, edges, edges ? edges->reads[kind] : nullptr);
        return;
    }
    if (s.valueBytes == 0) {
        for (int i = 0; i < n; ++i) dst[i] = bitAt(row, s.bit + static_cast<ptrdiff_t>(i) - m.left);
        return;
    }
    const size_t pixelBytes = static_cast<size_t>(run.channels) * s.valueBytes;
    const ptrdiff_t step = static_cast<ptrdiff_t>(s.stride) * s.valueBytes;
    const char* p = row - m.left * step;
    for (int i = 0; i < n; ++i, p += step, dst += pixelBytes) std::memcpy(dst, p, pixelBytes);
}

// Writes a computed row into the destination where the mask allows.
void writeRow(const Run& run, const Operand& d, char* row, const char* computed, int width,
              const uint8_t* maskRow, int maskBit) {
    if (d.valueBytes == 0 && run.packedRows) {
        auto* to = reinterpret_cast<uint8_t*>(row);
        const auto* bits = reinterpret_cast<const uint8_t*>(computed);
        size_t whole = 0;
        if (!maskRow && d.bit == 0) {
            whole = static_cast<size_t>(width) / 8;
            std::memcpy(to, bits, whole);
        }
        image::mergeBits(bits + whole, 0, nullptr, 0, to + whole, d.bit, maskRow, static_cast<size_t>(maskBit),
                         static_cast<size_t>(width) - whole * 8, [](uint8_t x, uint8_t) { return x; });
        return;
    }
    if (d.valueBytes == 0) {
        std::memset(run.packed, 0, static_cast<size_t>(width + 7) / 8);
        for (int i = 0; i < width; ++i)
            if (computed[i]) run.packed[i >> 3] |= static_cast<uint8_t>(0x80 >> (i & 7));
        image::mergeBits(run.packed, 0, nullptr, 0, reinterpret_cast<uint8_t*>(row), d.bit,
                         maskRow, static_cast<size_t>(maskBit), static_cast<size_t>(width),
                         [](uint8_t x, uint8_t) { return x; });
        return;
    }
    const size_t pixelBytes = static_cast<size_t>(run.channels) * d.valueBytes;
    if (d.stride == run.channels) {
        if (maskRow)
            blendFor(static_cast<size_t>(d.valueBytes))(row, computed, static_cast<size_t>(width),
                                                        run.channels, maskRow + (maskBit >> 3),
                                                        maskBit & 7);
        else
            std::memcpy(row, computed, pixelBytes * width);
        return;
    }
    const ptrdiff_t step = static_cast<ptrdiff_t>(d.stride) * d.valueBytes;
    for (int i = 0; i < width; ++i)
        if (!maskRow || bitAt(reinterpret_cast<const char*>(maskRow), maskBit + i))
            std::memcpy(row + i * step, computed + i * pixelBytes, pixelBytes);
}

// Writes a band's computed rows, from destination row y on (dRow its start).
void writeBand(const Run& run, const Operand& d, char* dRow, int y, int rows, int width, const Operand* mask) {
    for (int i = 0; i < rows; ++i) {
        const uint8_t* maskRow =
            mask ? reinterpret_cast<const uint8_t*>(mask->data + (y + i) * mask->rowStep) : nullptr;
        writeRow(run, d, dRow + i * d.rowStep, run.out + i * run.outRowBytes, width, maskRow,
                 mask ? mask->bit : 0);
    }
}

// One piece: its source rows with their margins all readable through `s`.
void runPiece(const Run& run, const Operand& s, const Operand& d, const Operand* mask, int width,
              int height, const Edges* edges = nullptr) {
    const NbKernel& k = *run.kernel;
    const int top = k.margins.top, around = top + k.margins.bottom;
    const int n = run.rowsNeeded;
    const bool gather = run.gathered;
    // Packed rows go straight to a destination starting on a byte.
    const bool direct = (d.valueBytes != 0 ? d.stride == run.channels : run.packedRows && d.bit == 0) && !mask;
    const size_t leftBytes = static_cast<size_t>(k.margins.left) * run.channels * run.srcBytes;
    // Packed rows starting on a byte are read in place, their margins apart;
    // rows of a constant come from the first two slots (zeros, ones).
    // Gathered packed slots keep zero bits beyond what each gather writes.
    const bool inPlace = run.packedRows && k.packedInPlace && edges && s.bit == 0;
    if (inPlace && around > 0) {
        std::memset(run.ring, 0, run.ringRowBytes);
        std::memset(run.ring + run.ringRowBytes, 0xFF, run.ringRowBytes);
    } else if (run.packedRows && gather && !inPlace) {
        std::memset(run.ring, 0, run.ringRowBytes * static_cast<size_t>(n));
    }
    // Stores past the caches pay on long rows only: a side strip's few bytes
    // a row share their cache lines with the interior's, and writing a line
    // in parts that way costs a trip to memory for each part.
    const bool streamed = static_cast<int64_t>(width) * run.channels * static_cast<int64_t>(run.dstBytes) >= kStreamRowBytes;
    for (int p = 0; p < run.passes; ++p) {
        const char* sBase = passStart(run, s, p);
        char* dBase = passStart(run, d, p);
        int gathered = -top;  // the next source row the ring lacks
        for (int y = 0; y < height;) {
            const int rows = std::min(run.band, height - y);
            const bool ownColumns = inPlace && packedInPlace(run, s, sBase, y - top, rows + around, *edges,
                                                             run.ring, run.rows, run.edgeWords);
            for (int j = 0; j < rows + around && !inPlace; ++j) {
                const int r = y - top + j;
                if (!gather) {
                    run.rows[j] = sBase + r * s.rowStep;
                    continue;
                }
                // A ring of gathered rows: each source row is gathered once.
                char* slot = run.ring + static_cast<size_t>(((r % n) + n) % n) * run.ringRowBytes;
                if (r >= gathered) {
                    gatherRow(run, s, sBase, r, width, slot, edges);
                    gathered = r + 1;
                }
                run.rows[j] = slot + (run.packedRows ? run.lead : leftBytes);
            }
            char* dRow = dBase + y * d.rowStep;
            NbRow row;
            row.src = run.rows;
            row.dst = direct ? dRow : run.out;
            row.rows = rows;
            row.dstStride = direct ? d.rowStep : static_cast<ptrdiff_t>(run.outRowBytes);
            row.scratch = run.scratch;
            row.width = width;
            row.channels = run.channels;
            row.stream = direct && run.stream && streamed;
            row.firstRow = y == 0;
            row.edges = inPlace && !ownColumns ? run.edgeWords : nullptr;
            if (ownColumns) {
                row.edgeColumns[0] = edges->columns[0];
                row.edgeColumns[1] = edges->columns[1];
            } else {
                row.edgeColumns[1] = width;
            }
            k.row(row, k.context);
            if (!direct) writeBand(run, d, dRow, y, rows, width, mask);
            y += rows;
        }
    }
}

// A bordered copy of a piece's footprint, and the piece run from it.
NbResult runFetched(const Run& run, const OzlImage* src, int x, int y, int width, int height,
                    const Operand& d, const Operand* mask) {
    const Margins& m = run.kernel->margins;
    const image::Rect region = image::regionRect(src);
    const Rect area{region.x + x - m.left, region.y + y - m.top, width + m.left + m.right,
                    height + m.top + m.bottom};
    const FetchedBlock block = fetchRect(src, area);
    if (block.status != FetchedBlock::Done)
        return block.status == FetchedBlock::TileFailed ? NbResult::ReadTile : NbResult::NoMemory;
    OzlImage header;
    OzlROI roi;
    wrapBlock(src, block, area, Rect{m.left, m.top, width, height}, &header, &roi);
    const Operand mk = mask ? shifted(*mask, x, y) : Operand{};
    runPiece(run, operandOf(&header), shifted(d, x, y), mask ? &mk : nullptr, width, height);
    ozlFree(block.data);
    return NbResult::Done;
}

// Where the pixels of one end's bordered copy come from: runs of
// consecutive pixels read from consecutive columns of the row (columns from
// the piece's pixel 0), or a side's constant.
struct EndRun {
    ptrdiff_t at = 0;    // bytes into the copy
    ptrdiff_t from = 0;  // bytes from the row's pixel 0, or kConstantRun
    size_t bytes = 0;
    int side = 0;
};
constexpr ptrdiff_t kConstantRun = PTRDIFF_MIN;

struct EndPlan {
    int count = 0;
    EndRun runs[kEndPixels + 2 * kMaxEndMargin];
};

// The copy of pixels [first, last) of a row beside the image (kind 0, the
// left and right modes), above it (1) or below it (2, their own side's mode
// over the whole row).
void planEnd(const OzlImage* image, long long column, int first, int last, int kind, size_t pixelBytes,
             EndPlan& plan) {
    plan.count = 0;
    const long long n = image->width;
    for (int p = first; p < last; ++p) {
        const long long c = column + p;
        const bool inside = c >= 0 && c < n;
        const int side = kind > 0 ? kind - 1 : c < 0 ? 2 : 3;
        const int mode = image->borderMode[side] & 3;
        const bool constant = kind > 0 ? mode == 0 : !inside && mode == 0;
        const ptrdiff_t pb = static_cast<ptrdiff_t>(pixelBytes);
        const ptrdiff_t from = constant ? kConstantRun : static_cast<ptrdiff_t>(borderIndex(c, n, mode) - column) * pb;
        if (plan.count > 0) {
            EndRun& b = plan.runs[plan.count - 1];
            if (constant ? b.from == kConstantRun && b.side == side
                         : b.from != kConstantRun && b.from + static_cast<ptrdiff_t>(b.bytes) == from) {
                b.bytes += pixelBytes;
                continue;
            }
        }
        plan.runs[plan.count++] = EndRun{(p - first) * pb, from, pixelBytes, side};
    }
}

// One end's copies of `count` rows, run by run over the rows.
void gatherEnds(const EndPlan& plan, const char* const* rows, char* const* copies, int count,
                const char (*sideValues)[4], size_t valueBytes) {
    for (const EndRun* r = plan.runs; r < plan.runs + plan.count; ++r) {
        const ptrdiff_t at = r->at, from = r->from;
        const size_t b = r->bytes;
        if (from == kConstantRun) {
            for (int i = 0; i < count; ++i) repeatValue(copies[i] + at, sideValues[r->side], valueBytes, b / valueBytes);
        } else if (b == 1) {
            for (int i = 0; i < count; ++i) copies[i][at] = rows[i][from];
        } else {
            for (int i = 0; i < count; ++i) copyBytes(copies[i] + at, rows[i] + from, b);
        }
    }
}

// Untiled images for a kernel with independent columns: every source row
// read in place (rows beyond the top and bottom as the rows their modes map
// them to, or rows of the side's constant), the kernel called per band on
// the columns [x0, x1) whose footprint lies inside the image, and on each end
// from bordered copies of its footprint, each source row's copied once.
NbResult runEnds(const Run& run, const OzlImage* src, const Operand& d, const Operand* mask, int width,
                 int height, int x0, int x1) {
    const NbKernel& k = *run.kernel;
    const Margins& m = k.margins;
    const image::Rect region = image::regionRect(src);
    const Operand s = operandOf(src);
    const size_t pb = static_cast<size_t>(run.channels) * run.srcBytes;
    const size_t dpb = static_cast<size_t>(run.channels) * run.dstBytes;
    // [end][kind]: the copies of the left end (output pixels [0, x0)) and the
    // right end ([x1, width)).
    EndPlan plans[2][3];
    const int endFrom[2] = {0, x1}, endTo[2] = {x0, width};
    // Rows above and below the image only where the footprint reaches them.
    const bool kinds[3] = {true, region.y < m.top, static_cast<int64_t>(region.y) + height + m.bottom > src->height};
    for (int e = 0; e < 2; ++e)
        for (int kind = 0; kind < 3 && endTo[e] > endFrom[e]; ++kind)
            if (kinds[kind]) planEnd(src, region.x, endFrom[e] - m.left, endTo[e] + m.right, kind, pb, plans[e][kind]);
    // Rows of the top and bottom constants, pixels -left .. width + right - 1.
    char* constants[2] = {run.endRing + 2 * run.endBytes * run.rowsNeeded, nullptr};
    constants[1] = constants[0] + run.constantRowBytes;
    char sideValues[4][4];
    for (int side = 0; side < 4; ++side) sideValue(src, side, sideValues[side]);
    const size_t valueBytes = run.srcBytes;
    for (int side = 0; side < 2; ++side)
        if (kinds[1 + side] && (src->borderMode[side] & 3) == 0) {
            const size_t values = (static_cast<size_t>(width) + m.left + m.right) * run.channels;
            repeatValue(constants[side], sideValues[side], valueBytes, values);
        }
    const int top = m.top, around = m.top + m.bottom, n = run.rowsNeeded;
    const bool direct = d.valueBytes != 0 && d.stride == run.channels && !mask;
    const void** mid = run.rows;
    const void** ends[2] = {run.rows + n, run.rows + 2 * n};
    char* rings[2] = {run.endRing, run.endRing + run.endBytes * n};
    const char* sources[kMaxKernelBand + 2 * kMaxEndMargin];
    int kindOf[kMaxKernelBand + 2 * kMaxEndMargin];
    char* copies[kMaxKernelBand + 2 * kMaxEndMargin];
    for (int p = 0; p < run.passes; ++p) {
        const char* sBase = passStart(run, s, p);
        char* dBase = passStart(run, d, p);
        int gathered = -top;
        for (int y = 0; y < height;) {
            const int rows = std::min(run.band, height - y);
            for (int j = 0; j < rows + around; ++j) {
                const int r = y - top + j;
                const long long v = static_cast<long long>(region.y) + r;
                int kind = 0;
                const char* row;
                if (v >= 0 && v < src->height) {
                    row = sBase + r * s.rowStep;
                } else {
                    const int side = v < 0 ? 0 : 1;
                    const int mode = src->borderMode[side] & 3;
                    kind = 1 + side;
                    row = mode == 0 ? constants[side] + static_cast<size_t>(m.left) * pb
                                    : sBase + (borderIndex(v, src->height, mode) - region.y) * s.rowStep;
                }
                mid[j] = row + static_cast<ptrdiff_t>(x0) * static_cast<ptrdiff_t>(pb);
                sources[j] = row;
                kindOf[j] = kind;
            }
            char* dRow = dBase + y * d.rowStep;
            char* out = direct ? dRow : run.out;
            const ptrdiff_t outStride = direct ? d.rowStep : static_cast<ptrdiff_t>(run.outRowBytes);
            const int from[3] = {x0, 0, x1}, to[3] = {x1, x0, width};
            const void* const* srcs[3] = {mid, ends[0], ends[1]};
            // The middle first: the ends' copies then read rows it has
            // just brought into cache.
            for (int part = 0; part < 3; ++part) {
                for (int e = 0; e < 2 && part == 1; ++e) {
                    if (endTo[e] <= endFrom[e]) continue;
                    const int first = ((y - top) % n + n) % n;
                    for (int j = 0; j < rows + around; ++j) {
                        copies[j] = rings[e] + static_cast<size_t>(first + j < n ? first + j : first + j - n) * run.endBytes;
                        ends[e][j] = copies[j] + static_cast<size_t>(m.left) * pb;
                    }
                    // The rows not copied yet, in runs of one kind.
                    for (int j = std::max(0, gathered - (y - top)), next; j < rows + around; j = next) {
                        for (next = j + 1; next < rows + around && kindOf[next] == kindOf[j];) ++next;
                        gatherEnds(plans[e][kindOf[j]], sources + j, copies + j, next - j, sideValues, valueBytes);
                    }
                }
                if (part == 1) gathered = y - top + rows + around;
                if (to[part] <= from[part]) continue;
                NbRow row;
                row.src = srcs[part];
                row.dst = out + static_cast<size_t>(from[part]) * dpb;
                row.rows = rows;
                row.dstStride = outStride;
                row.scratch = run.scratch;
                row.width = to[part] - from[part];
                row.channels = run.channels;
                row.stream = direct && run.stream && static_cast<int64_t>(row.width) * static_cast<int64_t>(dpb) >= kStreamRowBytes;
                row.firstRow = y == 0;
                k.row(row, k.context);
            }
            if (!direct) writeBand(run, d, dRow, y, rows, width, mask);
            y += rows;
        }
    }
    return NbResult::Done;
}

// Destinations of at least this many bytes, with their sources, outgrow a
// typical last-level cache: caching them would only evict the sources.
constexpr int64_t kStreamFrom = int64_t{16} << 20;


// The middle rows are computed a few rows at a time, the side strips of each
// group right after its interior, while the group's source and destination
// rows are still in the core's own cache (otherwise each strip row costs a
// miss or two from far away). Groups hold about this many bytes, and at
// least kMinGroupRows rows so that the strips' vertical margins stay small
// beside them.
constexpr int64_t kGroupBytes = 256 << 10;
constexpr int kMinGroupRows = 4, kMaxGroupRows = 64;

// Untiled images that share no pixels: the interior in place, the top and
// bottom strips and, group by group, the left and right strips from bordered
// copies.
NbResult runSplit(const Run& run, OzlImage* src, const Operand& d, const Operand* mask, int width,
                  int height) {
    const Margins& m = run.kernel->margins;
    const image::Rect region = image::regionRect(src);
    auto clampTo = [](int64_t v, int lo, int hi) {
        return static_cast<int>(std::min<int64_t>(hi, std::max<int64_t>(lo, v)));
    };
    int x0 = clampTo(static_cast<int64_t>(m.left) - region.x, 0, width);
    int x1 = clampTo(static_cast<int64_t>(src->width) - m.right - region.x, x0, width);
    if (x0 > 0) x0 = std::min(x1, std::max(x0, kMinStrip));
    if (x1 < width) x1 = std::max(x0, std::min(x1, width - kMinStrip));
    // Packed rows take their margins from the border modes as they are
    // gathered: one piece, no strips.
    if (run.packedRows) {
        Edges edges;
        edgesOf(src, m, width, edges);
        runPiece(run, operandOf(src), d, mask, width, height, &edges);
        return NbResult::Done;
    }
    if (run.ends && x0 <= kEndPixels && width - x1 <= kEndPixels)
        return runEnds(run, src, d, mask, width, height, x0, x1);
    const int y0 = clampTo(static_cast<int64_t>(m.top) - region.y, 0, height);
    const int y1 = clampTo(static_cast<int64_t>(src->height) - m.bottom - region.y, y0, height);
    for (const Rect& s : {Rect{0, 0, width, y0}, Rect{0, y1, width, height - y1}}) {
        if (s.height <= 0) continue;
        const NbResult r = runFetched(run, src, s.x, s.y, s.width, s.height, d, mask);
        if (r != NbResult::Done) return r;
    }
    const Operand interior = shifted(operandOf(src), x0, y0);
    const int64_t rowBytes = std::max<int64_t>(
        1, static_cast<int64_t>(width) * run.channels * static_cast<int64_t>(run.srcBytes + run.dstBytes));
    // A kernel that carries state from row to row starts again on each group,
    // at a cost of about its vertical margin in rows: groups are at least four
    // times that.
    const int margin = m.top + m.bottom;
    // Whole bands of the kernel's rows a group.
    const int rowsAbout = std::max(4 * margin, static_cast<int>(std::clamp<int64_t>(
                                                   kGroupBytes / rowBytes, kMinGroupRows, kMaxGroupRows)));
    const int group = (rowsAbout + run.band - 1) / run.band * run.band;
    // Each side strip's footprint over the middle rows, copied with its
    // borders (the margin area, nothing more) a group at a time into a
    // window, right after the group's interior rows, while the source rows
    // it copies are still in cache.
    struct Strip {
        int x = 0, width = 0;
        BorderedRows rows;
        OzlImage header{};
        OzlROI roi{};
    } strips[2];
    strips[0].width = x0;
    strips[1].x = x1;
    strips[1].width = width - x1;
    const int window = std::min(group, y1 - y0) + margin;
    for (Strip& s : strips) {
        if (s.width <= 0 || y1 <= y0) continue;
        const Rect area{region.x + s.x - m.left, region.y + y0 - m.top, s.width + m.left + m.right,
                        y1 - y0 + margin};
        if (!s.rows.start(src, area, window)) return NbResult::NoMemory;
        wrapBlock(src, s.rows.block(), Rect{area.x, area.y, area.width, window},
                  Rect{m.left, m.top, s.width, window - margin}, &s.header, &s.roi);
    }
    for (int y = y0; y < y1; y += group) {
        const int h = std::min(group, y1 - y);
        if (x1 > x0) {
            const Operand mk = mask ? shifted(*mask, x0, y) : Operand{};
            runPiece(run, shifted(interior, 0, y - y0), shifted(d, x0, y), mask ? &mk : nullptr,
                     x1 - x0, h);
        }
        for (Strip& s : strips) {
            if (s.width <= 0) continue;
            s.rows.fill(y - y0, h + margin);
            const Operand mk = mask ? shifted(*mask, s.x, y) : Operand{};
            runPiece(run, operandOf(&s.header), shifted(d, s.x, y), mask ? &mk : nullptr, s.width, h);
        }
    }
    return NbResult::Done;
}

// Untiled destination, tiled source: pieces on the source's tile grid.
NbResult runBySourceTiles(const Run& run, OzlImage* src, const Operand& d, const Operand* mask,
                          int width, int height) {
    const image::Rect region = image::regionRect(src);
    const int tw = src->tileInfo->width, th = src->tileInfo->height;
    for (int y = 0; y < height;) {
        const int h = std::min(height - y, th - (region.y + y) % th);
        for (int x = 0; x < width;) {
            const int w = std::min(width - x, tw - (region.x + x) % tw);
            const NbResult r = runFetched(run, src, x, y, w, h, d, mask);
            if (r != NbResult::Done) return r;
            x += w;
        }
        y += h;
    }
    return NbResult::Done;
}

// True when writing the destination could change source pixels still to be read.
bool shareStorage(const OzlImage* src, const OzlImage* dst) {
    if (src == dst) return true;
    if (src->tileInfo || dst->tileInfo) return src->tileInfo == dst->tileInfo;
    const char* s = src->imageData;
    const char* d = dst->imageData;
    return s < d + dst->imageSize && d < s + src->imageSize;
}

}  // namespace

NbResult runNeighbourhood(OzlImage* src, OzlImage* dst, const OzlImage* mask, int width,
                          int height, const NbKernel& kernel, const NbOptions& options) {
    if (width <= 0 || height <= 0) return NbResult::Done;
    const Margins& m = kernel.margins;
    const int64_t rows = static_cast<int64_t>(m.top) + 1 + m.bottom;
    if (m.left < 0 || m.top < 0 || m.right < 0 || m.bottom < 0 || rows > INT32_MAX / 2 ||
        static_cast<int64_t>(width) + m.left + m.right > INT32_MAX / 2 ||
        static_cast<int64_t>(height) + rows > INT32_MAX / 2)
        return NbResult::NoMemory;

    Run run;
    run.kernel = &kernel;
    const int channels = image::effectiveChannels(dst);
    const bool planes = src->dataOrder == OZL_DATA_ORDER_PLANE ||
                        dst->dataOrder == OZL_DATA_ORDER_PLANE;
    run.passes = planes ? channels : 1;
    run.channels = planes ? 1 : channels;
    run.maxWidth = width;
    // Bands no taller than the region, nor than a few dozen rows (the
    // computed rows of a masked destination are held together).
    run.band = std::clamp(kernel.bandRows, 1, std::min(height, kMaxKernelBand));
    run.rowsNeeded = static_cast<int>(rows) - 1 + run.band;
    run.srcBytes = static_cast<size_t>(std::max(1, image::depthBits(src->depth) / 8));
    run.dstBytes = static_cast<size_t>(std::max(1, image::depthBits(dst->depth) / 8));
    const int srcStride = src->dataOrder == OZL_DATA_ORDER_PLANE ? 1 : src->nChannels;
    run.gathered = src->depth == OZL_DEPTH_1U || srcStride != run.channels;
    run.stream = static_cast<int64_t>(width) * height * channels * static_cast<int64_t>(run.dstBytes) >=
                 kStreamFrom;
    run.packedRows = kernel.packedBits && src->depth == OZL_DEPTH_1U && dst->depth == OZL_DEPTH_1U;
    // Rows read in place, the ends apart: an untiled source not shared with
    // the destination (checked below), pixels of whole values side by side.
    run.ends = kernel.independentColumns && !run.gathered && !image::isTiled(src) && m.left <= kMaxEndMargin &&
               m.top + m.bottom <= 2 * kMaxEndMargin &&
               m.right <= kMaxEndMargin;
    if (run.ends && shareStorage(src, dst)) run.ends = false;
    if (!run.allocate()) return NbResult::NoMemory;

    const Operand maskOp = mask ? operandOf(mask) : Operand{};
    const Operand* maskPtr = mask ? &maskOp : nullptr;

    // A source whose pixels the destination shares is read from one copy.
    OzlImage copyHeader;
    OzlROI copyRoi;
    char* copyData = nullptr;
    OzlImage* source = src;
    if (shareStorage(src, dst)) {
        const image::Rect region = image::regionRect(src);
        const Rect area{region.x - m.left, region.y - m.top, width + m.left + m.right,
                        height + m.top + m.bottom};
        const FetchedBlock block = fetchRect(src, area);
        if (block.status != FetchedBlock::Done)
            return block.status == FetchedBlock::TileFailed ? NbResult::ReadTile
                                                            : NbResult::NoMemory;
        copyData = block.data;
        wrapBlock(src, block, area, Rect{m.left, m.top, width, height}, &copyHeader, &copyRoi);
        source = &copyHeader;
    }

    NbResult result = NbResult::Done;
    if (!image::isTiled(dst)) {
        const Operand d = operandOf(dst);
        if (!image::isTiled(source))
            result = runSplit(run, source, d, maskPtr, width, height);
        else if (options.walkSourceTiles)
            result = runBySourceTiles(run, source, d, maskPtr, width, height);
        else
            result = runFetched(run, source, 0, 0, width, height, d, maskPtr);
    } else {
        const LedSource led{source, m.left, m.top, m.right, m.bottom};
        const LedResult walked =
            walkLed(dst, &led, 1, mask, width, height, [&](const LedPiece& piece) {
                const Operand pm = piece.mask ? operandOf(piece.mask) : Operand{};
                runPiece(run, operandOf(piece.src[0]), operandOf(piece.dst),
                         piece.mask ? &pm : nullptr, piece.dst->roi->width,
                         piece.dst->roi->height);
                return true;
            });
        switch (walked.kind) {
            case LedResult::WriteTile: result = NbResult::WriteTile; break;
            case LedResult::ReadTile: result = NbResult::ReadTile; break;
            case LedResult::Fetch:
                result = walked.fetch == FetchedBlock::TileFailed ? NbResult::ReadTile
                                                                  : NbResult::NoMemory;
                break;
            default: break;
        }
    }
    ozlFree(copyData);
    return result;
}

}  // namespace ozl::core
