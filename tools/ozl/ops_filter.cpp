// Convolution: 2-D kernels (one, or several combined per pixel) and
// separable ones, given inline or by name, with the image's border modes.
#include <cmath>
#include <memory>

#include "demo.hpp"
#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"
#include "run.hpp"

namespace ozltool {
namespace {

// A kernel as the user writes it: coefficients row by row, the anchor cell
// and the right shift that divides the sums.
struct KernelSpec {
    int cols = 0, rows = 0, anchorX = 0, anchorY = 0, shift = 0;
    std::vector<int> values;
};

struct NamedKernel {
    const char* name;
    KernelSpec full;       // for convolve
    KernelSpec x, y;       // for convolve-sep (a row and a column)
    const char* meaning;
};

KernelSpec row(std::vector<int> v, int shift) {
    const int n = static_cast<int>(v.size());
    return {n, 1, (n - 1) / 2, 0, shift, std::move(v)};
}
KernelSpec column(std::vector<int> v, int shift) {
    const int n = static_cast<int>(v.size());
    return {1, n, 0, (n - 1) / 2, shift, std::move(v)};
}

// Sobel kernels are written so that true convolution gives a positive
// result where the picture brightens rightwards (x) or downwards (y).
const NamedKernel* findKernel(const std::string& name) {
    // Rows and columns spelled out as {cols, rows, anchorX, anchorY, shift,
    // values}: built through row() and column() here, the table draws false
    // "may be used uninitialized" warnings from GCC 12.
    static const NamedKernel kernels[] = {
        {"box", {4, 4, 1, 1, 4, std::vector<int>(16, 1)}, {4, 1, 1, 0, 2, {1, 1, 1, 1}}, {1, 4, 0, 1, 2, {1, 1, 1, 1}},
         "the mean of a 4x4 square"},
        {"gauss", {3, 3, 1, 1, 4, {1, 2, 1, 2, 4, 2, 1, 2, 1}}, {3, 1, 1, 0, 2, {1, 2, 1}},
         {1, 3, 0, 1, 2, {1, 2, 1}}, "3x3 binomial blur"},
        {"sobel-x", {3, 3, 1, 1, 0, {1, 0, -1, 2, 0, -2, 1, 0, -1}}, {3, 1, 1, 0, 0, {1, 0, -1}},
         {1, 3, 0, 1, 0, {1, 2, 1}}, "horizontal gradient (edges across x)"},
        {"sobel-y", {3, 3, 1, 1, 0, {1, 2, 1, 0, 0, 0, -1, -2, -1}}, {3, 1, 1, 0, 0, {1, 2, 1}},
         {1, 3, 0, 1, 0, {1, 0, -1}}, "vertical gradient (edges across y)"},
        {"laplace", {3, 3, 1, 1, 0, {0, 1, 0, 1, -4, 1, 0, 1, 0}}, {}, {},
         "second derivative, 4-neighbour"},
    };
    for (const NamedKernel& k : kernels)
        if (name == k.name) return &k;
    return nullptr;
}

// "WxH:v,v,...[@ax,ay]" (anchor by default at the centre, left/top of it
// for even sizes). The shift comes from --shift.
KernelSpec parseKernel(const std::string& text, const std::string& what) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos)
        throw Error(what + ": '" + text + "' is neither WxH:values nor a named kernel (box, gauss, "
                    "sobel-x, sobel-y, laplace)");
    KernelSpec k;
    parseSize(text.substr(0, colon), what, &k.cols, &k.rows);
    if (k.cols > 64 || k.rows > 64) throw Error(what + ": kernels are at most 64x64");
    std::string rest = text.substr(colon + 1);
    k.anchorX = (k.cols - 1) / 2;
    k.anchorY = (k.rows - 1) / 2;
    const std::size_t at = rest.find('@');
    if (at != std::string::npos) {
        const std::vector<long> a = parseIntegers(rest.substr(at + 1), what + " anchor", 0, 63);
        if (a.size() != 2 || a[0] >= k.cols || a[1] >= k.rows)
            throw Error(what + ": the anchor @x,y must lie inside the kernel");
        k.anchorX = static_cast<int>(a[0]);
        k.anchorY = static_cast<int>(a[1]);
        rest = rest.substr(0, at);
    }
    for (long v : parseIntegers(rest, what, -(1L << 24), 1L << 24)) k.values.push_back(static_cast<int>(v));
    if (static_cast<int>(k.values.size()) != k.cols * k.rows)
        throw Error(what + ": " + std::to_string(k.cols) + "x" + std::to_string(k.rows) + " needs " +
                    std::to_string(k.cols * k.rows) + " values, not " +
                    std::to_string(k.values.size()));
    return k;
}

int shiftOf(const Run& run, int fallback) {
    return static_cast<int>(run.args().integer("shift", fallback, 0, 31));
}

// Library kernels, released with the run. 32F images take the coefficients
// divided by 2^shift, so that a kernel means the same at every depth.
struct Kernels {
    std::vector<std::unique_ptr<OzlConvKernel, void(OZL_CALL*)(OzlConvKernel*)>> ints;
    std::vector<std::unique_ptr<OzlConvKernelFP, void(OZL_CALL*)(OzlConvKernelFP*)>> floats;

    void add(const KernelSpec& k, bool fp) {
        if (fp) {
            std::vector<float> v;
            for (int c : k.values) v.push_back(static_cast<float>(std::ldexp(c, -k.shift)));
            OzlConvKernelFP* made = nullptr;
            callLibrary("ozlCreateConvKernelFP", [&] {
                made = ozlCreateConvKernelFP(k.cols, k.rows, k.anchorX, k.anchorY, v.data());
            });
            floats.emplace_back(made, ozlDeleteConvKernelFP);
        } else {
            OzlConvKernel* made = nullptr;
            callLibrary("ozlCreateConvKernel", [&] {
                made = ozlCreateConvKernel(k.cols, k.rows, k.anchorX, k.anchorY, k.values.data(),
                                           k.shift);
            });
            ints.emplace_back(made, ozlDeleteConvKernel);
        }
    }
    OzlConvKernel* intAt(std::size_t i) const { return i < ints.size() ? ints[i].get() : nullptr; }
    OzlConvKernelFP* floatAt(std::size_t i) const {
        return i < floats.size() ? floats[i].get() : nullptr;
    }
};

int combineMethod(const Run& run) {
    static const struct {
        const char* name;
        int method;
    } kMethods[] = {{"sum", OZL_COMBINE_SUM},           {"sumsq", OZL_COMBINE_SUMSQ},
                    {"sumsqroot", OZL_COMBINE_SUMSQROOT}, {"max", OZL_COMBINE_MAX},
                    {"min", OZL_COMBINE_MIN}};
    const std::string name = run.args().text("combine", "sum");
    for (const auto& m : kMethods)
        if (name == m.name) return m.method;
    throw Error("--combine: '" + name + "' is not sum, sumsq, sumsqroot, max or min");
}

void runConvolve(Run& run) {
    const std::vector<std::string>& given = run.args().all("kernel");
    if (given.empty()) throw Error("give a kernel (--kernel WxH:values or a name)");
    if (given.size() > 10) throw Error("at most 10 kernels");
    Image src = run.input(0);
    run.applyBorder(src);
    const bool fp = isFloatDepth(src.depth());
    Kernels kernels;
    for (const std::string& text : given) {
        const NamedKernel* named = findKernel(text);
        KernelSpec k = named ? named->full : parseKernel(text, "--kernel");
        k.shift = shiftOf(run, k.shift);
        kernels.add(k, fp);
    }
    const int method = combineMethod(run);
    const int n = static_cast<int>(given.size());
    Image dst = run.destination(src);
    if (fp) {
        std::vector<OzlConvKernelFP*> list;
        for (std::size_t i = 0; i < kernels.floats.size(); ++i) list.push_back(kernels.floatAt(i));
        run.callWithAlpha("ozlConvolve2DFP", src, dst, [&] {
            ozlConvolve2DFP(src.get(), dst.get(), list.data(), n, method);
        });
    } else {
        std::vector<OzlConvKernel*> list;
        for (std::size_t i = 0; i < kernels.ints.size(); ++i) list.push_back(kernels.intAt(i));
        run.callWithAlpha("ozlConvolve2D", src, dst,
                          [&] { ozlConvolve2D(src.get(), dst.get(), list.data(), n, method); });
    }
    run.write(dst);
}

void runConvolveSep(Run& run) {
    KernelSpec x, y;
    bool hasX = false, hasY = false;
    if (run.args().has("kernel")) {
        if (run.args().has("x") || run.args().has("y"))
            throw Error("give a named --kernel or --x/--y, not both");
        const NamedKernel* named = findKernel(run.args().text("kernel"));
        if (!named || named->x.values.empty())
            throw Error("--kernel: '" + run.args().text("kernel") +
                        "' is not a separable kernel (box, gauss, sobel-x, sobel-y)");
        x = named->x, y = named->y, hasX = hasY = true;
    }
    if (run.args().has("x")) x = parseKernel(run.args().text("x"), "--x"), hasX = true;
    if (run.args().has("y")) y = parseKernel(run.args().text("y"), "--y"), hasY = true;
    if (!hasX && !hasY) throw Error("give --kernel NAME, or --x and/or --y");
    if (hasX && x.rows != 1) throw Error("--x: a horizontal kernel has one row (Nx1)");
    if (hasY && y.cols != 1) throw Error("--y: a vertical kernel has one column (1xN)");
    // --shift is the total; it goes with the second kernel.
    if (run.args().has("shift")) {
        x.shift = 0;
        y.shift = shiftOf(run, 0);
        if (!hasY) x.shift = y.shift;
    }
    Image src = run.input(0);
    run.applyBorder(src);
    const bool fp = isFloatDepth(src.depth());
    Kernels kx, ky;
    if (hasX) kx.add(x, fp);
    if (hasY) ky.add(y, fp);
    Image dst = run.destination(src);
    if (fp)
        run.callWithAlpha("ozlConvolveSep2DFP", src, dst, [&] {
            ozlConvolveSep2DFP(src.get(), dst.get(), kx.floatAt(0), ky.floatAt(0));
        });
    else
        run.callWithAlpha("ozlConvolveSep2D", src, dst, [&] {
            ozlConvolveSep2D(src.get(), dst.get(), kx.intAt(0), ky.intAt(0));
        });
    run.write(dst);
}

const OptionSpec kBorder = {"border", "MODE[:V]",
                            "outside the picture: constant[:V] (default 0), replicate, reflect, wrap"};
const OptionSpec kShift = {"shift", "N", "divide each sum by 2^N (named kernels carry their own)"};

const char* const kKernelHelp =
    "Kernels: WxH:v,v,...[@x,y], row by row, anchored at the centre unless\n"
    "@x,y names the cell (from 0); or a name: box (4x4 mean), gauss (3x3\n"
    "binomial), sobel-x, sobel-y (gradients, positive where the picture\n"
    "brightens right or down), laplace. Sums are divided by 2^shift and\n"
    "saturate to the depth: use --depth 16s to keep negative gradients. On 32f\n"
    "the coefficients are divided by 2^shift instead.";

const bool registered = registerOperations({
    {"convolve", "filter", "2-D convolution with one or more kernels", "--kernel K A OUTPUT",
     "Convolves A with each --kernel (up to 10) and combines their results per\n"
     "pixel with --combine: sum, sumsq, sumsqroot (the gradient's length from\n"
     "sobel-x and sobel-y), max or min.\n"
     "  ozl convolve --kernel gauss photo.png soft.png\n"
     "  ozl convolve --kernel sobel-x --kernel sobel-y --combine sumsqroot in.png edges.png\n"
     "  ozl convolve --kernel 3x3:1,2,1,2,4,2,1,2,1 --shift 4 in.png out.png",
     {{"kernel", "K", "a kernel (repeatable; see below)", true},
      {"combine", "METHOD", "sum (default), sumsq, sumsqroot, max, min"}, kShift, kBorder},
     kImageOp, 1, 1, runConvolve},
    {"convolve-sep", "filter", "separable convolution: a row kernel, then a column kernel",
     "--kernel NAME A OUTPUT | --x K --y K A OUTPUT",
     "A horizontal (Nx1) and a vertical (1xN) kernel, either of which may be\n"
     "left out, applied with one division by 2^shift at the end (the sum of the\n"
     "named kernels' shifts, or --shift). Faster than the same 2-D kernel.\n"
     "  ozl convolve-sep --kernel gauss photo.png soft.png\n"
     "  ozl convolve-sep --x 5x1:1,4,6,4,1 --y 1x5:1,4,6,4,1 --shift 8 in.png out.png",
     {{"kernel", "NAME", "box, gauss, sobel-x or sobel-y"},
      {"x", "K", "the horizontal kernel, Nx1:v,..."},
      {"y", "K", "the vertical kernel, 1xN:v,..."}, kShift, kBorder},
     kImageOp, 1, 1, runConvolveSep},
});

// The demo: the scene blurred with the 5x5 binomial kernel, separably.
void demoFilter(Demo& demo) {
    Image scene = demo.colour().clone();
    Image soft = scene.clone();
    Kernels x, y;
    x.add(row({1, 4, 6, 4, 1}, 0), false);
    y.add(column({1, 4, 6, 4, 1}, 8), false);
    ozlSetBorderMode(scene.get(), OZL_BORDER_REPLICATE, OZL_SIDE_ALL, 0);
    const double mps = demo.measure("ozlConvolveSep2D", scene.pixels(), [&] {
        ozlConvolveSep2D(scene.get(), soft.get(), x.intAt(0), y.intAt(0));
    });
    demo.show("convolve-sep", "ozlConvolveSep2D 5x5 binomial", soft, mps);
}

const bool demoRegistered = registerDemoStep({"filter", 50, demoFilter});

}  // namespace
}  // namespace ozltool
