// Statistics: histograms (printed, and drawn as a chart), contrast stretch,
// equalisation, moments and norms.
#include <algorithm>
#include <cmath>

#include "canvas.hpp"
#include "demo.hpp"
#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"
#include "run.hpp"

namespace ozltool {
namespace {

int histogramSize(unsigned depth) {
    return depth == OZL_DEPTH_1U ? 2 : depth == OZL_DEPTH_8U ? 256 : 65536;
}

// The caller-owned tables of one image, one per channel, each with `bins`
// bins of equal width over the depth's levels (the last may be narrower).
// With a channel of interest the library uses the table of that channel,
// else the tables of channels 0, 1, ...: table c always belongs to channel c.
class Tables {
public:
    Tables(int channels, int size, int bins) : size_(size), tables_(channels), ptrs_(channels) {
        bins = std::max(1, std::min(bins, size));
        const int width = (size + bins - 1) / bins;
        for (int c = 0; c < channels; ++c) {
            Table& t = tables_[c];
            for (int k = 0; k < size; k += width) t.key.push_back(k);
            t.key.push_back(size);
            t.value.assign(t.key.size(), 0);
            t.factor.assign(t.key.size(), 0);
            t.lut = {static_cast<int32_t>(t.key.size()), t.key.data(), t.value.data(),
                     t.factor.data(), 0};
            ptrs_[c] = &t.lut;
        }
    }
    OzlLUT** get() { return ptrs_.data(); }
    int bins() const { return static_cast<int>(tables_[0].key.size()) - 1; }
    int from(int bin) const { return tables_[0].key[bin]; }
    int to(int bin) const { return tables_[0].key[bin + 1] - 1; }
    int32_t& count(int channel, int bin) { return tables_[channel].value[bin]; }
    int32_t& value(int channel, int level) { return tables_[channel].value[level]; }
    int size() const { return size_; }

private:
    struct Table {
        std::vector<int32_t> key, value, factor;
        OzlLUT lut;
    };
    int size_;
    std::vector<Table> tables_;
    std::vector<OzlLUT*> ptrs_;
};

// The channels the library processes for the run's image: the channel of
// interest, or every channel but alpha.
std::vector<int> processed(const Image& image, const Run& run) {
    const long coi = run.args().integer("coi", 0, 1, 4);
    if (coi > 0) return {static_cast<int>(coi) - 1};
    std::vector<int> list;
    for (int c = 0; c < image.channels() - (image.hasAlpha() ? 1 : 0); ++c) list.push_back(c);
    return list;
}

const char* channelName(const Image& image, int c) {
    if (image.channels() <= 2) return c == 0 ? "grey" : "alpha";
    static const char* const kNames[] = {"red", "green", "blue", "alpha"};
    return kNames[c];
}

// Bars of a grey picture are grey; of a colour one, red, green and blue
// lightened over each other, so that white shows where all three are high.
void plotHistogram(const std::string& path, Tables& t, const Image& image,
                   const std::vector<int>& channels) {
    const int barW = std::max(1, 512 / t.bins()), plotH = 200, margin = 8;
    Canvas chart(margin * 2 + barW * t.bins(), plotH + margin * 3 + kLineHeight, {20, 20, 24});
    double top = 1;
    for (std::size_t i = 0; i < channels.size(); ++i)
        for (int b = 0; b < t.bins(); ++b)
            top = std::max(top, static_cast<double>(t.count(channels[i], b)));
    static const Rgb kColours[] = {{255, 40, 40}, {40, 255, 40}, {60, 60, 255}};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const int c = channels[i];
        const Rgb colour = image.channels() <= 2 || c > 2 ? Rgb{200, 200, 200} : kColours[c];
        for (int b = 0; b < t.bins(); ++b) {
            const int h = static_cast<int>(std::lround(t.count(channels[i], b) / top * plotH));
            chart.lighten(margin + b * barW, margin + plotH - h, barW, h, colour);
        }
    }
    const Rgb label{200, 200, 200};
    const std::string last = std::to_string(t.size() - 1);
    chart.text(margin, plotH + 2 * margin, "0", label);
    chart.text(chart.width() - margin - Canvas::textWidth(last), plotH + 2 * margin, last, label);
    writePicture(path, chart.picture(), WriteOptions{});
}

void runHistogram(Run& run) {
    Image src = run.input(0);
    run.applyMask(src);
    const int size = histogramSize(src.depth());
    Tables t(src.channels(), size, static_cast<int>(run.args().integer("bins", 16, 1, size)));
    callLibrary("ozlComputeHisto", [&] { ozlComputeHisto(src.get(), t.get()); });
    const std::vector<int> channels = processed(src, run);
    std::fprintf(run.out(), "%13s", "levels");
    for (int c : channels) std::fprintf(run.out(), " %10s", channelName(src, c));
    std::fprintf(run.out(), "\n");
    for (int b = 0; b < t.bins(); ++b) {
        std::fprintf(run.out(), "%6d..%-5d", t.from(b), t.to(b));
        for (std::size_t i = 0; i < channels.size(); ++i)
            std::fprintf(run.out(), " %10d", static_cast<int>(t.count(channels[i], b)));
        std::fprintf(run.out(), "\n");
    }
    if (run.args().has("plot")) plotHistogram(run.args().text("plot"), t, src, channels);
}

// The smallest and largest level holding more than `clip` of the pixels
// at each end, over every processed channel.
void levelRange(Run& run, Image& src, double clip, int* lo, int* hi) {
    const int size = histogramSize(src.depth());
    Tables t(src.channels(), size, size);
    callLibrary("ozlComputeHisto", [&] { ozlComputeHisto(src.get(), t.get()); });
    std::vector<double> all(size, 0);
    double total = 0;
    for (int c : processed(src, run))
        for (int v = 0; v < size; ++v) all[v] += t.count(c, v), total += t.count(c, v);
    const double cut = total * clip / 100;
    double seen = 0;
    *lo = 0;
    while (*lo < size - 1 && (seen += all[*lo]) <= cut) ++*lo;
    seen = 0;
    *hi = size - 1;
    while (*hi > 0 && (seen += all[*hi]) <= cut) --*hi;
}

void runStretch(Run& run) {
    Image src = run.input(0);
    const int size = histogramSize(src.depth());
    int lo, hi;
    if (run.args().has("range")) {
        const std::vector<long> r = parseIntegers(run.args().text("range"), "--range", 0, size - 1);
        if (r.size() != 2 || r[0] >= r[1]) throw Error("--range: lo,hi with lo < hi");
        lo = static_cast<int>(r[0]), hi = static_cast<int>(r[1]);
    } else {
        levelRange(run, src, run.args().real("clip", 0), &lo, &hi);
        if (lo >= hi) throw Error("the picture has one level only; nothing to stretch");
    }
    // One step per level: lo..hi spread over the whole range, rounded.
    Tables t(src.channels(), size, size);
    for (int c = 0; c < src.channels(); ++c)
        for (int v = 0; v < size; ++v)
            t.value(c, v) = static_cast<int32_t>(std::lround(
                std::clamp((v - lo) * double(size - 1) / (hi - lo), 0.0, double(size - 1))));
    Image dst = run.destination(src);
    callLibrary("ozlContrastStretch", [&] { ozlContrastStretch(src.get(), dst.get(), t.get()); });
    run.write(dst);
}

void runEqualize(Run& run) {
    Image src = run.input(0);
    const int size = histogramSize(src.depth());
    Tables t(src.channels(), size, size);
    callLibrary("ozlComputeHisto", [&] { ozlComputeHisto(src.get(), t.get()); });
    Image dst = run.destination(src);
    callLibrary("ozlHistoEqualize", [&] { ozlHistoEqualize(src.get(), dst.get(), t.get()); });
    run.write(dst);
}

void runMoments(Run& run) {
    Image src = run.input(0);
    run.applyMask(src);
    const std::vector<int> channels = processed(src, run);
    static const int kOrders[][2] = {{0, 0}, {1, 0}, {0, 1}, {2, 0}, {1, 1},
                                     {0, 2}, {3, 0}, {2, 1}, {1, 2}, {0, 3}};
    for (int c : channels) {
        src.setChannel(c + 1);
        OzlMomentState state;
        callLibrary("ozlMoments", [&] { ozlMoments(src.get(), state); });
        std::fprintf(run.out(), "%s%s\n  %-5s %16s %16s %16s\n", c == channels.front() ? "" : "\n",
                     channelName(src, c), "m,n", "spatial", "central", "norm. central");
        for (const auto& o : kOrders)
            std::fprintf(run.out(), "  %d,%-3d %16.6g %16.6g %16.6g\n", o[0], o[1],
                         ozlGetSpatialMoment(state, o[0], o[1]),
                         ozlGetCentralMoment(state, o[0], o[1]),
                         ozlGetNormalizedCentralMoment(state, o[0], o[1]));
    }
}

void runNorm(Run& run) {
    Image a = run.input(0);
    run.applyMask(a);
    Image b;
    if (run.inputCount() == 2) b = run.input(1);
    const bool relative = run.args().has("relative");
    if (relative && !b) throw Error("--relative needs a second image");
    static const struct {
        const char* name;
        int type;
    } kTypes[] = {{"c", OZL_C}, {"l1", OZL_L1}, {"l2", OZL_L2}};
    const std::string wanted = run.args().text("type", "all");
    bool any = false;
    for (const auto& t : kTypes) {
        if (wanted != "all" && wanted != t.name) continue;
        any = true;
        const int type = t.type | (relative ? OZL_RELATIVE : 0);
        double value = 0;
        callLibrary("ozlNorm", [&] { value = ozlNorm(a.get(), b ? b.get() : nullptr, type); });
        std::fprintf(run.out(), "%s%-2s %.10g\n", relative ? "relative " : "", t.name, value);
    }
    if (!any) throw Error("--type: '" + wanted + "' is not c, l1, l2 or all");
}

constexpr unsigned kReadOnly = kDepthOption | kRegionOptions | kMaskOption;

const bool registered = registerOperations({
    {"histogram", "statistics", "counts per level range, printed (and drawn with --plot)", "A",
     "Counts the pixels of each channel in --bins ranges of equal width over\n"
     "the depth's levels (8u 0..255, 16u 0..65535). With --plot FILE the counts\n"
     "are drawn as a bar chart (PNG): red, green and blue over each other.",
     {{"bins", "N", "number of level ranges (default 16)"},
      {"plot", "FILE", "draw the histogram into FILE (PNG)"}},
     kReadOnly, 1, 1, runHistogram, false},
    {"stretch", "statistics", "contrast stretch: a level range onto black..white",
     "[--range lo,hi | --clip P] A OUTPUT",
     "Maps level lo to black and hi to white, linearly, through a table of\n"
     "one step per level (8u, 16u). Without --range, lo and hi are the darkest\n"
     "and brightest levels present, ignoring --clip percent of the pixels at\n"
     "each end.",
     {{"range", "lo,hi", "the levels to become black and white"},
      {"clip", "P", "percent of pixels allowed to saturate at each end (default 0)"}},
     kImageOp, 1, 1, runStretch},
    {"equalize", "statistics", "histogram equalisation (8u, 16u)", "A OUTPUT",
     "Spreads the levels so that each range of levels holds about as many\n"
     "pixels as any other of its width: flat histograms, more contrast where\n"
     "most pixels are.",
     {}, kImageOp, 1, 1, runEqualize},
    {"moments", "statistics", "spatial and central moments up to order 3, printed", "A",
     "For each channel (or the --coi one): the ten spatial moments M(m,n), the\n"
     "central moments about the centroid and the central moments divided by\n"
     "width^m height^n, x and y counted from the picture's top left.",
     {}, kReadOnly, 1, 1, runMoments, false},
    {"norm", "statistics", "C, L1 and L2 norms of A or of A - B, printed", "A [B]",
     "C is the largest absolute value, L1 the sum of absolute values, L2 the\n"
     "root of the sum of squares, over every channel but alpha; of A - B when B\n"
     "is given, and divided by the norm of B with --relative.\n"
     "  ozl norm --type l2 --relative result.png reference.png",
     {{"type", "T", "c, l1, l2 or all (default)"},
      {"relative", nullptr, "divide by the norm of B"}},
     kReadOnly, 1, 2, runNorm, false},
});

// The demo: the histogram of the scene drawn as a chart, and the scene
// equalised.
void demoStatistics(Demo& demo) {
    Image scene = demo.colour().clone();
    Tables t(3, 256, 256);
    const double histMps = demo.measure("ozlComputeHisto", scene.pixels(),
                                        [&] { ozlComputeHisto(scene.get(), t.get()); });
    demo.report("ozlComputeHisto", histMps);
    Image flat = scene.clone();
    const double mps = demo.measure("ozlHistoEqualize", scene.pixels(), [&] {
        Tables fresh(3, 256, 256);
        for (int c = 0; c < 3; ++c)
            for (int v = 0; v < 256; ++v) fresh.value(c, v) = t.value(c, v);
        ozlHistoEqualize(scene.get(), flat.get(), fresh.get());
    });
    demo.show("equalize", "ozlHistoEqualize", flat, mps);
}

const bool demoRegistered = registerDemoStep({"statistics", 80, demoStatistics});

}  // namespace
}  // namespace ozltool
