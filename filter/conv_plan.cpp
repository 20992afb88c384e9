#include "filter/conv_plan.hpp"

#include "image/depth.hpp"

namespace ozl::filter {

ValueRange valueRange(uint32_t depth) {
    const image::DepthInfo* d = image::depthInfo(depth);
    return d ? ValueRange{d->lo, d->hi} : ValueRange{};
}

SumBounds sumBounds(const int32_t* coeffs, size_t n, ValueRange range) {
    SumBounds b;
    const double lo = static_cast<double>(range.lo), hi = static_cast<double>(range.hi);
    for (size_t i = 0; i < n; ++i) {
        const double q = coeffs[i];
        if (q > 0) {
            b.hi += q * hi;
            b.lo += q * lo;
        } else if (q < 0) {
            b.hi += q * lo;
            b.lo += q * hi;
        }
    }
    return b;
}

int computationClass(const int32_t* coeffs, size_t n, uint32_t depth) {
    if (depth == OZL_DEPTH_32S || depth == OZL_DEPTH_32F) return 2;
    const ValueRange range = valueRange(depth);
    bool kernel16 = true, products16 = true;
    auto in16 = [](double v) { return v >= -32768.0 && v <= 32767.0; };
    for (size_t i = 0; i < n; ++i) {
        const double q = coeffs[i];
        if (q == 0) continue;
        if (!in16(q)) kernel16 = false;
        if (!in16(q * static_cast<double>(range.hi)) || !in16(q * static_cast<double>(range.lo)))
            products16 = false;
    }
    const SumBounds b = sumBounds(coeffs, n, range);
    if (b.lo > -32768.0 && b.hi < 32767.0 && kernel16) return products16 ? 0 : 1;
    if (b.lo > -2147483648.0 && b.hi < 2147483647.0 && kernel16) return 1;
    return 2;
}

Narrow narrowSums(SumBounds b) {
    if (b.lo > -32768.0 && b.hi < 32767.0) return Narrow::Signed;
    if (b.lo >= 0.0 && b.hi <= 65535.0) return Narrow::Unsigned;
    return Narrow::No;
}

int pairTaps(const Tap* taps, int count, TapPair* pairs) {
    int n = 0;
    for (int t = 0; t < count; t += 2, ++n) {
        const Tap& a = taps[t];
        const Tap b = t + 1 < count ? taps[t + 1] : Tap{a.row, a.offset, 0};
        pairs[n] = {a.row, a.offset, b.row, b.offset, a.coeff, b.coeff};
    }
    return n;
}

bool bytePairsFit(const TapPair* pairs, int nPairs) {
    for (int j = 0; j < nPairs; ++j) {
        const int32_t c[2] = {pairs[j].coeff0, pairs[j].coeff1};
        int64_t pos = 0, neg = 0;
        for (int32_t q : c) {
            if (q < -128 || q > 127) return false;
            (q > 0 ? pos : neg) += q;
        }
        if (pos * 255 > 32767 || neg * 255 < -32768) return false;
    }
    return true;
}

int16_t flippedBias(const Tap* taps, int count) {
    uint32_t sum = 0;
    for (int t = 0; t < count; ++t) sum += static_cast<uint32_t>(taps[t].coeff);
    return static_cast<int16_t>(static_cast<uint16_t>(0u - sum * 128u));
}

int32_t unsigned16Bias(const TapPair* pairs, int nPairs) {
    uint32_t sum = 0;
    for (int j = 0; j < nPairs; ++j)
        sum += static_cast<uint32_t>(pairs[j].coeff0) + static_cast<uint32_t>(pairs[j].coeff1);
    return static_cast<int32_t>(sum * 32768u);
}

void clampedCopy(const OzlImage* image, OzlImage* copy) {
    *copy = *image;
    for (int32_t& c : copy->borderConst) {
        if (image->depth == OZL_DEPTH_1U) c = c > 0 ? 1 : 0;
        else if (image->depth != OZL_DEPTH_32F) c = image::clampToDepth(c, image->depth);
    }
}

}  // namespace ozl::filter
