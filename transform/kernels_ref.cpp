// The scalar transforms (the reference of the vector forms), the choice by
// level, and the self-conjugate columns, which always run on one lane.
#include "simd/levels.hpp"
#include "transform/engine.hpp"

namespace ozl::transform {

const KernelTable& kernelTableSse2();
const KernelTable& kernelTableAvx2();
const KernelTable& kernelTableAvx512();

namespace {

using Ref = Engine<simd::Scalar>;
using Cx = Ref::Cx;

const KernelTable& kernelTableRef() {
    static const KernelTable table = Ref::table();
    return table;
}

constexpr simd::PerLevel<KernelTable> kTables{&kernelTableRef, &kernelTableSse2,
                                              &kernelTableAvx2, &kernelTableAvx512};

// Whether the layout has a column for the Nyquist frequency of the rows.
bool hasLastColumn(int width) { return width % 2 == 0; }

}  // namespace

const KernelTable& kernelTable(cpu::Level level) { return kTables.at(level); }

// Columns 0 and width - 1 of R are real: one complex transform of
// c0 + i cL gives both, C0_k = (Z_k + conj Z_-k) / 2, CL_k = -i (Z_k - conj Z_-k) / 2.
void edgeColumnsForward(const Job& job, Layout layout, int width, Matrix in, Matrix out) {
    const int h = job.length;
    const bool last = hasLastColumn(width);
    float* z = job.buffers[0];
    for (int y = 0; y < h; ++y) {
        z[2 * y] = in.row(y)[0];
        z[2 * y + 1] = last ? in.row(y)[width - 1] : 0.0f;
    }
    Ref::complexTransform(*job.fft, z, job.buffers[1], job.buffers[2], false);
    // Packed columns hold k = 0..h/2 down the rows: Re C_0, then Re C_k, Im C_k,
    // and Re C_(h/2) last for even h.
    auto putPacked = [&](int x, int k, Cx c) {
        if (k == 0) {
            out.row(0)[x] = c.re;
        } else if (2 * k < h) {
            out.row(2 * k - 1)[x] = c.re;
            out.row(2 * k)[x] = c.im;
        } else {
            out.row(h - 1)[x] = c.re;
        }
    };
    const int count = layout == Layout::Packed ? h / 2 + 1 : h;
    for (int k = 0; k < count; ++k) {
        const Cx a = Ref::ld(z + 2 * k);
        const Cx b = Ref::conj(Ref::ld(z + 2 * ((h - k) % h)));
        Cx c0 = Ref::scale(Ref::add(a, b), 0.5f);
        Cx cl = Ref::scale(Ref::mulNegI(Ref::sub(a, b)), 0.5f);
        c0 = Ref::scale(c0, job.scale);
        cl = Ref::scale(cl, job.scale);
        if (layout == Layout::Packed) {
            putPacked(0, k, c0);
            if (last) putPacked(width - 1, k, cl);
        } else {
            out.row(k)[0] = c0.re;
            out.row(k)[1] = c0.im;
            if (last) {
                out.row(k)[width] = cl.re;
                out.row(k)[width + 1] = cl.im;
            }
        }
    }
}

// The way back: C0 and CL for k = 0..h/2 from the layout (the parts that a
// real image's spectrum has real taken as such), the rest by symmetry, and
// Z = C0 + i CL transformed back into c0 + i cL.
void edgeColumnsInverse(const Job& job, Layout layout, int width, Matrix in, Matrix out) {
    const int h = job.length;
    const bool last = hasLastColumn(width);
    auto get = [&](int x, int k) -> Cx {
        const bool real = k == 0 || 2 * k == h;
        if (layout == Layout::Ccs) return {in.row(k)[x], real ? 0.0f : in.row(k)[x + 1]};
        if (k == 0) return {in.row(0)[x], 0.0f};
        if (2 * k < h) return {in.row(2 * k - 1)[x], in.row(2 * k)[x]};
        return {in.row(h - 1)[x], 0.0f};
    };
    const int lastX = layout == Layout::Ccs ? width : width - 1;
    float* z = job.buffers[0];
    for (int k = 0; 2 * k <= h; ++k) {
        const Cx c0 = get(0, k);
        const Cx cl = last ? get(lastX, k) : Cx{0.0f, 0.0f};
        Ref::st(z + 2 * k, Ref::add(c0, Ref::mulI(cl)));
        if (k > 0 && 2 * k < h)
            Ref::st(z + 2 * (h - k), Ref::add(Ref::conj(c0), Ref::mulI(Ref::conj(cl))));
    }
    Ref::complexTransform(*job.fft, z, job.buffers[1], job.buffers[2], true);
    for (int y = 0; y < h; ++y) {
        out.row(y)[0] = z[2 * y];
        if (last) out.row(y)[width - 1] = z[2 * y + 1];
    }
}

}  // namespace ozl::transform
