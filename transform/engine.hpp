// The transforms written once over a lane type (simd::Scalar, Sse2, Avx2,
// Avx512): every arithmetic step is a lane-wise operation, so each lane is
// computed with the same operations in the same order whatever the width, and
// the vector forms match the scalar reference bit for bit. Only the moves in
// and out of the working buffers (transposes, pair splits) differ by level.
//
// A complex lane element is two vectors, the real parts of `lanes` sequences
// and then their imaginary parts; element k of a buffer starts at float
// k * 2 * lanes. A real lane array holds vector k at float k * lanes, so a real
// array of 2n values is also the complex array z_k = x_2k + i x_2k+1.
#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "simd/scalar.hpp"
#include "transform/kernels.hpp"

namespace ozl::transform {
namespace {

template <class L>
struct Engine {
    using VF = typename L::VF;
    static constexpr int W = L::kFloats;
    static constexpr ptrdiff_t E = 2 * W;  // floats per complex element

    struct Cx {
        VF re, im;
    };
    // Where the real and imaginary vectors of an element sit; an inverse
    // transform is the forward one with both swapped on the way in and out.
    struct Side {
        int re, im;
    };
    static constexpr Side kPlain{0, W};
    static constexpr Side kSwapped{W, 0};

    static Cx ld(const float* p, Side s = kPlain) { return {L::loadF(p + s.re), L::loadF(p + s.im)}; }
    static void st(float* p, Cx v, Side s = kPlain) {
        L::store(p + s.re, v.re);
        L::store(p + s.im, v.im);
    }
    static Cx add(Cx a, Cx b) { return {L::addF(a.re, b.re), L::addF(a.im, b.im)}; }
    static Cx sub(Cx a, Cx b) { return {L::subF(a.re, b.re), L::subF(a.im, b.im)}; }
    static Cx scale(Cx a, VF s) { return {L::mulF(a.re, s), L::mulF(a.im, s)}; }
    static Cx conj(Cx a) { return {a.re, L::negF(a.im)}; }
    static Cx mulNegI(Cx a) { return {a.im, L::negF(a.re)}; }  // -i a
    static Cx mulI(Cx a) { return {L::negF(a.im), a.re}; }     // i a
    // a w = (ar wr - ai wi, ar wi + ai wr)
    static Cx mul(Cx a, VF wr, VF wi) {
        return {L::subF(L::mulF(a.re, wr), L::mulF(a.im, wi)),
                L::addF(L::mulF(a.re, wi), L::mulF(a.im, wr))};
    }
    static Cx mul(Cx a, const float* w) { return mul(a, L::setF(w[0]), L::setF(w[1])); }
    // a conj(w) = (ar wr + ai wi, ai wr - ar wi)
    static Cx mulConj(Cx a, const float* w) {
        const VF wr = L::setF(w[0]), wi = L::setF(w[1]);
        return {L::addF(L::mulF(a.re, wr), L::mulF(a.im, wi)),
                L::subF(L::mulF(a.im, wr), L::mulF(a.re, wi))};
    }
    static VF zero() { return L::setF(0.0f); }

    // ------------------------------------------------------------------
    // Self-sorting mixed-radix stages: stage input x holds p legs of m * s
    // elements; output element r + s (p q + k) is the k-th output of the
    // radix-p butterfly over x[r + s (q + j m)], times w^(q k).

    template <int P, class Butterfly>
    static void stage(const float* x, float* y, int m, int s, const float* tw, Side in, Side out,
                      Butterfly butterfly) {
        const ptrdiff_t leg = static_cast<ptrdiff_t>(s) * m * E;
        const ptrdiff_t step = static_cast<ptrdiff_t>(s) * E;
        auto group = [&](const float* xp, float* yp, const VF* wr, const VF* wi, auto twiddled) {
            for (int r = 0; r < s; ++r, xp += E, yp += E) {
                Cx a[P];
                for (int j = 0; j < P; ++j) a[j] = ld(xp + j * leg, in);
                butterfly(a);
                st(yp, a[0], out);
                for (int k = 1; k < P; ++k) {
                    if constexpr (decltype(twiddled)::value) a[k] = mul(a[k], wr[k - 1], wi[k - 1]);
                    st(yp + k * step, a[k], out);
                }
            }
        };
        VF wr[P - 1] = {}, wi[P - 1] = {};
        // The first group's twiddles are all 1.
        group(x, y, wr, wi, std::false_type{});
        for (int q = 1; q < m; ++q) {
            const float* w = tw + 2 * (P - 1) * static_cast<ptrdiff_t>(q);
            for (int k = 0; k < P - 1; ++k) {
                wr[k] = L::setF(w[2 * k]);
                wi[k] = L::setF(w[2 * k + 1]);
            }
            group(x + q * step, y + q * P * step, wr, wi, std::true_type{});
        }
    }

    static void radix2(Cx* a) {
        const Cx b = a[1];
        a[1] = sub(a[0], b);
        a[0] = add(a[0], b);
    }
    static void radix4(Cx* a) {
        const Cx apc = add(a[0], a[2]), amc = sub(a[0], a[2]);
        const Cx bpd = add(a[1], a[3]), bmd = mulNegI(sub(a[1], a[3]));
        a[0] = add(apc, bpd);
        a[1] = add(amc, bmd);
        a[2] = sub(apc, bpd);
        a[3] = sub(amc, bmd);
    }
    static void radix3(Cx* a) {
        const VF half = L::setF(0.5f), s3 = L::setF(0.866025403784438646763723170753f);
        const Cx t1 = add(a[1], a[2]);
        const Cx t2 = sub(a[0], scale(t1, half));
        const Cx t3 = scale(sub(a[1], a[2]), s3);
        a[0] = add(a[0], t1);
        a[1] = add(t2, mulNegI(t3));
        a[2] = add(t2, mulI(t3));
    }
    static void radix5(Cx* a) {
        const VF c1 = L::setF(0.309016994374947424102293417183f);
        const VF c2 = L::setF(-0.809016994374947424102293417183f);
        const VF s1 = L::setF(0.951056516295153572116439333379f);
        const VF s2 = L::setF(0.587785252292473129168705954639f);
        const Cx t1 = add(a[1], a[4]), t2 = add(a[2], a[3]);
        const Cx t3 = sub(a[1], a[4]), t4 = sub(a[2], a[3]);
        const Cx m1 = add(add(a[0], scale(t1, c1)), scale(t2, c2));
        const Cx m2 = add(add(a[0], scale(t1, c2)), scale(t2, c1));
        const Cx n1 = add(scale(t3, s1), scale(t4, s2));
        const Cx n2 = sub(scale(t3, s2), scale(t4, s1));
        a[0] = add(add(a[0], t1), t2);
        a[1] = add(m1, mulNegI(n1));
        a[4] = add(m1, mulI(n1));
        a[2] = add(m2, mulNegI(n2));
        a[3] = add(m2, mulI(n2));
    }

    // The stages over n elements of `data`, the result back in `data`; t1, t2
    // are as large. Unscaled; the inverse runs with the parts swapped.
    static void runStages(const Stages& st, int n, float* data, float* t1, float* t2,
                          bool inverse) {
        const Side outer = inverse ? kSwapped : kPlain;
        float* cur = data;
        int len = n, s = 1;
        for (int i = 0; i < st.count; ++i) {
            const bool last = i == st.count - 1;
            float* dst = last && i > 0 ? data : (cur == t1 ? t2 : t1);
            const int p = st.radix[i];
            const int m = len / p;
            const Side in = i == 0 ? outer : kPlain;
            const Side out = last ? outer : kPlain;
            switch (p) {
                case 4: stage<4>(cur, dst, m, s, st.twiddles[i], in, out, radix4); break;
                case 2: stage<2>(cur, dst, m, s, st.twiddles[i], in, out, radix2); break;
                case 3: stage<3>(cur, dst, m, s, st.twiddles[i], in, out, radix3); break;
                default: stage<5>(cur, dst, m, s, st.twiddles[i], in, out, radix5); break;
            }
            cur = dst;
            len = m;
            s *= p;
        }
        if (cur != data) std::memcpy(data, cur, static_cast<size_t>(n) * E * sizeof(float));
    }

    // Lengths with other prime factors: X_k = conj(b_k) sum_j x_j conj(b_j) b_(k-j),
    // b_j = e^(i pi j^2 / n), a circular convolution of the padded length.
    static void chirpTransform(const FftPlan& p, float* data, float* t1, float* t2, bool inverse) {
        const Side outer = inverse ? kSwapped : kPlain;
        const int n = p.n, m = p.padded;
        for (int k = 0; k < n; ++k) st(t1 + k * E, mulConj(ld(data + k * E, outer), p.chirp + 2 * k));
        std::memset(t1 + n * E, 0, static_cast<size_t>(m - n) * E * sizeof(float));
        runStages(p.paddedStages, m, t1, t2, data, false);
        for (int k = 0; k < m; ++k) st(t1 + k * E, mul(ld(t1 + k * E), p.chirpSpectrum + 2 * k));
        runStages(p.paddedStages, m, t1, t2, data, true);
        for (int k = 0; k < n; ++k) st(data + k * E, mulConj(ld(t1 + k * E), p.chirp + 2 * k), outer);
    }

    // Complex transform of p.n elements in place; unscaled.
    static void complexTransform(const FftPlan& p, float* data, float* t1, float* t2, bool inverse) {
        if (p.padded)
            chirpTransform(p, data, t1, t2, inverse);
        else
            runStages(p.stages, p.n, data, t1, t2, inverse);
    }

    // ------------------------------------------------------------------
    // Real transforms of length n, p the plan of realPlanLength(n).

    // n real lanes in `in` to X_0 .. X_(n/2) in `out` (`in` and `tmp` clobbered).
    static void realForward(const FftPlan& p, int n, float* in, float* out, float* tmp) {
        if (n % 2 != 0) {
            for (int k = 0; k < n; ++k) st(out + k * E, {L::loadF(in + k * W), zero()});
            complexTransform(p, out, in, tmp, false);
            return;
        }
        // z = x_even + i x_odd; X_k = (A + B) / 2 + (-i w^k / 2)(A - B) with
        // A = Z_k, B = conj(Z_(h-k)), h = n / 2.
        const int h = n / 2;
        complexTransform(p, in, out, tmp, false);
        const VF half = L::setF(0.5f);
        for (int k = 0; k <= h; ++k) {
            const Cx a = ld(in + (k % h) * E);
            const Cx b = conj(ld(in + ((h - k) % h) * E));
            st(out + k * E, add(scale(add(a, b), half), mul(sub(a, b), p.realForward + 2 * k)));
        }
    }

    // X_0 .. X_(n/2) in `in` (the imaginary parts of X_0 and, n even, X_(n/2)
    // taken as 0) to the n real lanes of the unscaled inverse in `out`.
    static void realInverse(const FftPlan& p, int n, float* in, float* out, float* tmp) {
        if (n % 2 != 0) {
            st(out, {L::loadF(in), zero()});
            for (int k = 1; 2 * k < n; ++k) {
                const Cx x = ld(in + k * E);
                st(out + k * E, x);
                st(out + (n - k) * E, conj(x));
            }
            complexTransform(p, out, tmp, in, true);
            for (int k = 0; k < n; ++k) L::store(out + k * W, L::loadF(out + k * E));
            return;
        }
        // Z_k = (A + B) + i conj(w^k) (A - B), A = X_k, B = conj(X_(h-k)).
        const int h = n / 2;
        for (int k = 0; k < h; ++k) {
            Cx a = ld(in + k * E), b = ld(in + (h - k) * E);
            if (k == 0) a.im = b.im = zero();
            b = conj(b);
            st(out + k * E, add(add(a, b), mul(sub(a, b), p.realInverse + 2 * k)));
        }
        complexTransform(p, out, tmp, in, true);
    }

    // Orthonormal cosine transforms of length n on real lanes, in place in b0,
    // through the real transform of v (v_m = x_2m, v_(n-1-m) = x_2m+1).
    static void dctForward(const FftPlan& p, const DctPlan& d, int n, float* b0, float* b1,
                           float* b2) {
        for (int m = 0; 2 * m < n; ++m) L::store(b1 + m * W, L::loadF(b0 + 2 * m * W));
        for (int m = 0; 2 * m + 1 < n; ++m)
            L::store(b1 + (n - 1 - m) * W, L::loadF(b0 + (2 * m + 1) * W));
        realForward(p, n, b1, b2, b0);
        // C_k = Re(d_k V_k), C_(n-k) = -Im(d_k V_k).
        L::store(b0, L::mulF(L::loadF(b2), L::setF(d.dcForward)));
        for (int k = 1; 2 * k <= n; ++k) {
            const Cx t = mul(ld(b2 + k * E), d.forward + 2 * k);
            L::store(b0 + k * W, t.re);
            if (2 * k != n) L::store(b0 + (n - k) * W, L::negF(t.im));
        }
    }

    static void dctInverse(const FftPlan& p, const DctPlan& d, int n, float* b0, float* b1,
                           float* b2) {
        // V_0 = C_0 / sqrt(n), V_k = e_k (C_k - i C_(n-k)).
        st(b1, {L::mulF(L::loadF(b0), L::setF(d.dcInverse)), zero()});
        for (int k = 1; 2 * k <= n; ++k) {
            const Cx c{L::loadF(b0 + k * W), L::negF(L::loadF(b0 + (n - k) * W))};
            st(b1 + k * E, mul(c, d.inverse + 2 * k));
        }
        realInverse(p, n, b1, b2, b0);
        for (int m = 0; 2 * m < n; ++m) L::store(b0 + 2 * m * W, L::loadF(b2 + m * W));
        for (int m = 0; 2 * m + 1 < n; ++m)
            L::store(b0 + (2 * m + 1) * W, L::loadF(b2 + (n - 1 - m) * W));
    }

    static void scaleVectors(float* p, int count, float s) {
        if (s == 1.0f) return;
        const VF v = L::setF(s);
        for (int i = 0; i < count; ++i) L::store(p + i * W, L::mulF(L::loadF(p + i * W), v));
    }

    // ------------------------------------------------------------------
    // Moves between images and lanes.

    // lanes[i W + l] = rows[l][i], i < n.
    static void gatherRows(const float* const* rows, int n, float* lanes) {
        int i = 0;
        for (; i + W <= n; i += W) {
            VF r[W];
            for (int l = 0; l < W; ++l) r[l] = L::loadF(rows[l] + i);
            L::transposeF(r);
            for (int k = 0; k < W; ++k) L::store(lanes + (i + k) * W, r[k]);
        }
        for (; i < n; ++i)
            for (int l = 0; l < W; ++l) lanes[i * W + l] = rows[l][i];
    }

    static void scatterRows(const float* lanes, int n, float* const* rows) {
        int i = 0;
        for (; i + W <= n; i += W) {
            VF r[W];
            for (int k = 0; k < W; ++k) r[k] = L::loadF(lanes + (i + k) * W);
            L::transposeF(r);
            for (int l = 0; l < W; ++l)
                if (rows[l]) L::store(rows[l] + i, r[l]);
        }
        for (; i < n; ++i)
            for (int l = 0; l < W; ++l)
                if (rows[l]) rows[l][i] = lanes[i * W + l];
    }

    static void rows(const Job& job, const float* const* in, float* const* out) {
        float* const* b = job.buffers;
        const int n = job.length;
        switch (job.kind) {
            case Kind::FftForward:
                // The half spectrum X_0 .. X_(n/2) as R: Im X_0 gives way to Re X_0.
                gatherRows(in, n, b[0]);
                realForward(*job.fft, n, b[0], b[1], b[2]);
                L::store(b[1] + W, L::loadF(b[1]));
                scatterRows(b[1] + W, n, out);
                break;
            case Kind::FftInverse:
                gatherRows(in, n, b[0] + W);
                L::store(b[0], L::loadF(b[0] + W));
                L::store(b[0] + (n + 1) * W, zero());  // Im X_(n/2), unused
                realInverse(*job.fft, n, b[0], b[1], b[2]);
                scaleVectors(b[1], n, job.scale);
                scatterRows(b[1], n, out);
                break;
            case Kind::DctForward:
            case Kind::DctInverse:
                gatherRows(in, n, b[0]);
                if (job.kind == Kind::DctForward)
                    dctForward(*job.fft, *job.dct, n, b[0], b[1], b[2]);
                else
                    dctInverse(*job.fft, *job.dct, n, b[0], b[1], b[2]);
                scatterRows(b[0], n, out);
                break;
        }
    }

    // Columns in strips of W: the full ones through pair splits, the last
    // partial one value by value (its missing lanes zero).
    static void complexColumns(const Job& job, Matrix in, int inX, Matrix out, int outX,
                               int count) {
        float* const* b = job.buffers;
        const int h = job.length;
        for (int c0 = 0; c0 < count; c0 += W) {
            const int lanes = std::min(W, count - c0);
            for (int y = 0; y < h; ++y) {
                const float* p = in.row(y) + inX + 2 * c0;
                float* e = b[0] + y * E;
                if (lanes == W) {
                    VF re, im;
                    L::splitPairsF(L::loadF(p), L::loadF(p + W), re, im);
                    st(e, {re, im});
                    continue;
                }
                for (int l = 0; l < W; ++l) {
                    e[l] = l < lanes ? p[2 * l] : 0.0f;
                    e[W + l] = l < lanes ? p[2 * l + 1] : 0.0f;
                }
            }
            complexTransform(*job.fft, b[0], b[1], b[2], job.kind == Kind::FftInverse);
            scaleVectors(b[0], 2 * h, job.scale);
            for (int y = 0; y < h; ++y) {
                float* p = out.row(y) + outX + 2 * c0;
                const float* e = b[0] + y * E;
                if (lanes == W) {
                    VF a0, a1;
                    const Cx v = ld(e);
                    L::mergePairsF(v.re, v.im, a0, a1);
                    L::store(p, a0);
                    L::store(p + W, a1);
                    continue;
                }
                for (int l = 0; l < lanes; ++l) {
                    p[2 * l] = e[l];
                    p[2 * l + 1] = e[W + l];
                }
            }
        }
    }

    static void realColumns(const Job& job, Matrix in, Matrix out, int count) {
        float* const* b = job.buffers;
        const int h = job.length;
        for (int c0 = 0; c0 < count; c0 += W) {
            const int lanes = std::min(W, count - c0);
            for (int y = 0; y < h; ++y) {
                const float* p = in.row(y) + c0;
                if (lanes == W) {
                    L::store(b[0] + y * W, L::loadF(p));
                    continue;
                }
                for (int l = 0; l < W; ++l) b[0][y * W + l] = l < lanes ? p[l] : 0.0f;
            }
            if (job.kind == Kind::DctForward)
                dctForward(*job.fft, *job.dct, h, b[0], b[1], b[2]);
            else
                dctInverse(*job.fft, *job.dct, h, b[0], b[1], b[2]);
            for (int y = 0; y < h; ++y) {
                float* p = out.row(y) + c0;
                if (lanes == W) {
                    L::store(p, L::loadF(b[0] + y * W));
                    continue;
                }
                for (int l = 0; l < lanes; ++l) p[l] = b[0][y * W + l];
            }
        }
    }

    // ------------------------------------------------------------------
    // Products of interleaved complex values.

    template <class M>
    static void product(typename M::VF ar, typename M::VF ai, typename M::VF br,
                        typename M::VF bi, bool conjugate, typename M::VF& dr,
                        typename M::VF& di) {
        if (conjugate) {
            dr = M::addF(M::mulF(ar, br), M::mulF(ai, bi));
            di = M::subF(M::mulF(ai, br), M::mulF(ar, bi));
        } else {
            dr = M::subF(M::mulF(ar, br), M::mulF(ai, bi));
            di = M::addF(M::mulF(ar, bi), M::mulF(ai, br));
        }
    }

    static void multiplyPairs(const float* a, const float* b, float* d, size_t pairs,
                              bool conjugate) {
        size_t i = 0;
        for (; i + W <= pairs; i += W) {
            VF ar, ai, br, bi, dr, di, d0, d1;
            L::splitPairsF(L::loadF(a + 2 * i), L::loadF(a + 2 * i + W), ar, ai);
            L::splitPairsF(L::loadF(b + 2 * i), L::loadF(b + 2 * i + W), br, bi);
            product<L>(ar, ai, br, bi, conjugate, dr, di);
            L::mergePairsF(dr, di, d0, d1);
            L::store(d + 2 * i, d0);
            L::store(d + 2 * i + W, d1);
        }
        for (; i < pairs; ++i)
            product<simd::Scalar>(a[2 * i], a[2 * i + 1], b[2 * i], b[2 * i + 1], conjugate,
                                  d[2 * i], d[2 * i + 1]);
    }

    static KernelTable table() {
        KernelTable t;
        t.lanes = W;
        t.rows = &rows;
        t.complexColumns = &complexColumns;
        t.realColumns = &realColumns;
        t.multiplyPairs = &multiplyPairs;
        return t;
    }
};

}  // namespace
}  // namespace ozl::transform
