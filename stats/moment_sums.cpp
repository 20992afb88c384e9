#include "stats/moment_sums.hpp"

#include <algorithm>
#include <cstdint>

#include "core/reduce.hpp"
#include "stats/kernels.hpp"
#include "stats/wide_int.hpp"

namespace ozl::stats {

namespace {

constexpr int64_t kBinomial[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};

// Values gathered for a masked or strided run: the longest integer run (16384
// bytes of 8-bit values), or this many floats.
constexpr size_t kBufferBytes = 16384;
constexpr size_t kFloatRun = kBufferBytes / sizeof(float);

bool aligned(const void* p, size_t size) { return reinterpret_cast<uintptr_t>(p) % size == 0; }

// Per piece, relative to the piece's first pixel (px, py), with the rows'
// power sums S_m(y) = sum over the row of (x - px)^m I:
// - the iterated row sums of S_m: chain[m][0] = sum of S_m, chain[m][r] the sum
//   of chain[m][r - 1] after each row; they give sum y^n S_m with additions
//   only, as polynomials in the row count;
// - rows longer than a kernel run: the runs after the first, weighted directly.
// At the end of the piece its sums move to image coordinates and join the
// totals. All exact.
class Accumulator {
public:
    explicit Accumulator(uint32_t depth) : depth_(depth) {
        const image::Elem e = depth == OZL_DEPTH_1U ? image::Elem::U8 : image::elemOf(depth);
        isFloat_ = depth == OZL_DEPTH_32F;
        valueBytes_ = depth == OZL_DEPTH_1U ? 1 : image::elemBytes(e);
        run_ = isFloat_ ? kFloatRun : momentRunLimit(e);
        sums_ = activeTable().momentSums[static_cast<int>(e)];
    }

    core::ReduceKernel kernel() {
        core::ReduceKernel k;
        k.row = [](const core::ReduceRow& row, void* self) {
            static_cast<Accumulator*>(self)->row(row);
        };
        k.begin = [](const core::ReducePiece& piece, void* self) {
            static_cast<Accumulator*>(self)->begin(piece);
        };
        k.end = [](const core::ReducePiece&, void* self) { static_cast<Accumulator*>(self)->end(); };
        k.context = this;
        return k;
    }

    void result(double value[4][4]) const {
        for (int m = 0; m <= 3; ++m)
            for (int n = 0; m + n <= 3; ++n)
                value[m][n] = isFloat_ ? totalF_[m][n] : total_[m][n].toDouble();
    }

private:
    void begin(const core::ReducePiece& piece) {
        piece_ = piece;
        for (int m = 0; m < 4; ++m)
            for (int n = 0; n < 4; ++n) {
                chain_[m][n] = direct_[m][n] = Int192{};
                pieceF_[m][n] = 0.0;
            }
    }

    // The run's values as a dense array: in place, or gathered (masked pixels
    // as zeros) into the buffer.
    const void* runValues(const core::ReduceRow& row, size_t from, size_t n) {
        const core::RowView& r = row.src[0];
        const bool inPlace = !row.mask && depth_ != OZL_DEPTH_1U &&
                             r.pixelStep == static_cast<ptrdiff_t>(valueBytes_) &&
                             aligned(r.data, valueBytes_);
        if (inPlace) return r.data + from * valueBytes_;
        core::gatherValues(row, 0, from, n, valueBytes_, buffer_);
        return buffer_;
    }

    void row(const core::ReduceRow& row) {
        if (isFloat_) return rowFloat(row);
        int64_t first[4] = {0, 0, 0, 0};
        for (size_t from = 0; from < row.width; from += run_) {
            const size_t n = std::min(run_, row.width - from);
            int64_t s[4] = {0, 0, 0, 0};
            sums_(runValues(row, from, n), n, s);
            if (from == 0) std::copy(s, s + 4, first);
            else addRun(s, static_cast<int64_t>(from), row.y - piece_.y);
        }
        for (int m = 0; m <= 3; ++m) {
            chain_[m][0] += Int192::of(first[m]);
            for (int r = 1; r <= 3 - m; ++r) chain_[m][r] += chain_[m][r - 1];
        }
    }

    // A run starting `x` pixels into row `y` of the piece, weighted directly.
    void addRun(const int64_t* s, int64_t x, int64_t y) {
        for (int m = 0; m <= 3; ++m) {
            Int192 t;
            for (int j = 0; j <= m; ++j) {
                Int192 term = Int192::of(s[j]).times(kBinomial[m][j]);
                for (int p = j; p < m; ++p) term = term.times(x);
                t += term;
            }
            for (int n = 0; m + n <= 3; ++n) {
                direct_[m][n] += t;
                t = t.times(y);
            }
        }
    }

    void rowFloat(const core::ReduceRow& row) {
        double s[4] = {0.0, 0.0, 0.0, 0.0};
        for (size_t from = 0; from < row.width; from += kFloatRun) {
            const size_t n = std::min(kFloatRun, row.width - from);
            const auto* p = static_cast<const float*>(runValues(row, from, n));
            for (size_t i = 0; i < n; ++i) {
                const double v = p[i];
                const double x = static_cast<double>(row.x) + static_cast<double>(from + i);
                const double xv = x * v, xxv = xv * x;
                s[0] += v;
                s[1] += xv;
                s[2] += xxv;
                s[3] += xxv * x;
            }
        }
        const double y = row.y;
        for (int m = 0; m <= 3; ++m) {
            double w = s[m];
            for (int n = 0; m + n <= 3; ++n) {
                pieceF_[m][n] += w;
                w *= y;
            }
        }
    }

    void end() {
        if (isFloat_) {
            for (int m = 0; m < 4; ++m)
                for (int n = 0; m + n <= 3; ++n) totalF_[m][n] += pieceF_[m][n];
            return;
        }
        // sum over rows of y^n S_m, from the iterated sums: with t = N - y,
        // sum t a = F2, sum t^2 a = 2 F3 - F2, sum t^3 a = 6 F4 - 6 F3 + F2.
        const int64_t rows = piece_.height;
        Int192 rel[4][4];
        for (int m = 0; m <= 3; ++m) {
            const Int192* f = chain_[m];
            const int top = 3 - m;
            const Int192 a = f[0];
            const Int192 t1 = top >= 1 ? f[1] : Int192{};
            Int192 t2 = top >= 2 ? f[2].times(2) : Int192{};
            if (top >= 2) t2 -= t1;
            Int192 t3;
            if (top >= 3) {
                t3 = f[3].times(6);
                t3 -= f[2].times(6);
                t3 += t1;
            }
            rel[m][0] = a;
            if (top >= 1) {
                rel[m][1] = a.times(rows);
                rel[m][1] -= t1;
            }
            if (top >= 2) {
                Int192 v = a.times(rows);
                v -= t1.times(2);
                rel[m][2] = v.times(rows);
                rel[m][2] += t2;
            }
            if (top >= 3) {
                Int192 v = a.times(rows);
                v -= t1.times(3);
                v = v.times(rows);
                v += t2.times(3);
                rel[m][3] = v.times(rows);
                rel[m][3] -= t3;
            }
            for (int n = 0; n <= top; ++n) rel[m][n] += direct_[m][n];
        }
        // To image coordinates: (x + px)^m (y + py)^n expanded.
        for (int m = 0; m <= 3; ++m)
            for (int n = 0; m + n <= 3; ++n)
                for (int a = 0; a <= m; ++a)
                    for (int b = 0; b <= n; ++b) {
                        Int192 t = rel[a][b].times(kBinomial[m][a] * kBinomial[n][b]);
                        for (int p = a; p < m; ++p) t = t.times(piece_.x);
                        for (int p = b; p < n; ++p) t = t.times(piece_.y);
                        total_[m][n] += t;
                    }
    }

    uint32_t depth_;
    bool isFloat_;
    size_t valueBytes_;
    size_t run_;
    MomentSumsFn sums_;
    core::ReducePiece piece_{};
    Int192 total_[4][4];
    Int192 chain_[4][4];
    Int192 direct_[4][4];
    double totalF_[4][4] = {};
    double pieceF_[4][4] = {};
    alignas(32) char buffer_[kBufferBytes];
};

}  // namespace

int sumMoments(OzlImage* image, double value[4][4]) {
    Accumulator acc(image->depth);
    const int result = core::reducePixels(image, nullptr, image->maskROI, acc.kernel());
    if (result == core::kMapDone) acc.result(value);
    return result;
}

}  // namespace ozl::stats
