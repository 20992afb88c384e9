#include "demo.hpp"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"

namespace ozltool {
namespace {

constexpr int kDefaultWidth = 800, kDefaultHeight = 600;
constexpr int kThumbWidth = 240, kThumbHeight = 180;
constexpr int kLargestSide = 1600;

void makeDirectories(const std::string& path) {
    std::string partial;
    for (const std::string& part : splitList(path, '/')) {
        partial += part;
        if (!partial.empty() && mkdir(partial.c_str(), 0777) != 0 && errno != EEXIST)
            throw Error(partial + ": cannot create folder: " + std::strerror(errno));
        partial += '/';
    }
    struct stat st;
    if (stat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        throw Error(path + ": not a folder");
}

Image zonePlate(int width, int height) {
    OzlImage* plate = nullptr;
    callLibrary("ozlCreateImageJaehne",
                [&] { plate = ozlCreateImageJaehne(OZL_DEPTH_8U, width, height); });
    return Image::adopt(plate);
}

// Grey from RGB for the user's picture (Rec. 601 weights, rounded).
Image greyOf(const Image& rgb) {
    Image grey(rgb.width(), rgb.height(), 1, OZL_DEPTH_8U);
    for (int y = 0; y < rgb.height(); ++y)
        for (int x = 0; x < rgb.width(); ++x)
            grey.put(x, y, 0,
                     0.299 * rgb.at(x, y, 0) + 0.587 * rgb.at(x, y, 1) + 0.114 * rgb.at(x, y, 2));
    return grey;
}

// Any picture as 8-bit RGB: grey repeated, alpha dropped.
Image colourOf(const Picture& p) {
    Picture rgb(p.width, p.height, 3, p.sample);
    const int colours = p.hasAlpha() ? p.channels - 1 : p.channels;
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x)
            for (int c = 0; c < 3; ++c) rgb.set(x, y, c, p.get(x, y, colours == 3 ? c : 0));
    return toImage(rgb, OZL_DEPTH_8U);
}

std::string sizeText(int w, int h) { return std::to_string(w) + "x" + std::to_string(h); }

}  // namespace

Demo::Demo(const std::string& picturePath, const std::string& outDir) : outDir_(outDir) {
    if (picturePath.empty()) {
        colour_ = toImage(makeScene(kDefaultWidth, kDefaultHeight, false), OZL_DEPTH_8U);
        pattern_ = zonePlate(kDefaultWidth, kDefaultHeight);
        grey_ = pattern_.clone();
        inputName_ = "the embedded zone plate and colour scene";
        embedded_ = true;
    } else {
        const Picture p = readPicture(picturePath);
        colour_ = colourOf(p);
        inputName_ = picturePath;
        // A large photograph is shrunk first, so that the demo stays a matter
        // of seconds (the rates are per pixel all the same).
        if (std::max(p.width, p.height) > kLargestSide) {
            int w, h;
            fitInto(p.width, p.height, kLargestSide, kLargestSide, &w, &h);
            Canvas reduced(w, h, {0, 0, 0});
            reduced.draw(toPicture(colour_, OutputStyle{}), 0, 0, w, h);
            colour_ = toImage(reduced.picture(), OZL_DEPTH_8U);
            sizeNote_ = sizeText(p.width, p.height) + ", reduced to ";
        }
        grey_ = greyOf(colour_);
        pattern_ = zonePlate(colour_.width(), colour_.height());
    }
    makeDirectories(outDir_);
}

Demo::~Demo() = default;

Image Demo::greyAsColour() const {
    Image rgb(grey_.width(), grey_.height(), 3, OZL_DEPTH_8U);
    for (int c = 1; c <= 3; ++c) {
        rgb.setRegion(c, 0, 0, rgb.width(), rgb.height());
        callLibrary("ozlCopy", [&] { ozlCopy(pattern_.get(), rgb.get()); });
    }
    rgb.clearRegion();
    return rgb;
}

double Demo::measure(const char* function, long long pixels, const std::function<void()>& f) {
    using Clock = std::chrono::steady_clock;
    callLibrary(function, f);  // also warms the caches
    double best = 1e30, total = 0;
    for (int run = 0; run < 7 && (run < 3 || total < 0.2); ++run) {
        const auto start = Clock::now();
        f();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best = std::min(best, seconds);
        total += seconds;
    }
    finishLibraryCall(function);
    return best > 0 ? static_cast<double>(pixels) / best / 1e6 : 0;
}

void Demo::show(const std::string& file, const std::string& label, const Image& image, double mps,
                bool stretch) {
    OutputStyle style;
    style.sample = Sample::U8;
    style.stretch = stretch;
    Picture p = toPicture(image, style);
    // A 1-bit result reads as black and white.
    show(file, label, p, mps, image.pixels());
}

void Demo::show(const std::string& file, const std::string& label, const Picture& picture,
                double mps, long long /*pixels*/) {
    char number[8];
    std::snprintf(number, sizeof number, "%02zu-", shown_.size() + 1);
    const std::string path = outDir_ + "/" + number + file + ".png";
    writePicture(path, picture, WriteOptions{});
    int w, h;
    fitInto(picture.width, picture.height, kThumbWidth, kThumbHeight, &w, &h);
    Canvas thumb(w, h, {0, 0, 0});
    thumb.draw(picture, 0, 0, w, h);
    shown_.push_back({path, label, thumb.picture(), mps, sizeText(picture.width, picture.height)});
    if (mps > 0) rates_.emplace_back(label, mps);
}

void Demo::report(const std::string& label, double mps) { rates_.emplace_back(label, mps); }

void Demo::writeContactSheet(const std::string& path) const {
    const int columns = 4, margin = 10, labelHeight = 2 * kLineHeight + 8;
    const int cellW = kThumbWidth + margin, cellH = kThumbHeight + labelHeight + margin;
    const int rows = static_cast<int>((shown_.size() + columns - 1) / columns);
    const int titleHeight = 2 * kLineHeight + 2 * margin;
    Canvas sheet(margin + columns * cellW, titleHeight + rows * cellH + margin, {28, 30, 34});
    const Rgb white{235, 235, 235}, dim{150, 160, 170}, accent{255, 200, 90};
    const OzlLibVersion* v = ozlGetLibVersion();
    sheet.text(margin, margin, std::string("ozl ") + v->version + " demo", white, 2);
    sheet.text(margin + Canvas::textWidth(std::string("ozl ") + v->version + " demo", 2) + 12,
               margin + 7, "on " + inputName_ + ", " + sizeText(colour_.width(), colour_.height()),
               dim);
    for (std::size_t i = 0; i < shown_.size(); ++i) {
        const Shown& s = shown_[i];
        const int x = margin + static_cast<int>(i % columns) * cellW;
        const int y = titleHeight + static_cast<int>(i / columns) * cellH;
        const int dx = (kThumbWidth - s.thumbnail.width) / 2;
        const int dy = (kThumbHeight - s.thumbnail.height) / 2;
        sheet.fill(x, y, kThumbWidth, kThumbHeight, {12, 12, 14});
        sheet.draw(s.thumbnail, x + dx, y + dy, s.thumbnail.width, s.thumbnail.height);
        std::string label = s.label;
        const std::size_t fit = kThumbWidth / kGlyphAdvance;
        if (label.size() > fit) label = label.substr(0, fit - 1) + "~";
        sheet.text(x, y + kThumbHeight + 5, label, white);
        char rate[64];
        if (s.mps > 0) std::snprintf(rate, sizeof rate, "%.0f MP/s", s.mps);
        else std::snprintf(rate, sizeof rate, "input, %s", s.size.c_str());
        sheet.text(x, y + kThumbHeight + 5 + kLineHeight, rate, s.mps > 0 ? accent : dim);
    }
    writePicture(path, sheet.picture(), WriteOptions{});
}

void Demo::runAll(std::FILE* out) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    show("input-colour", "input: colour", colour_, 0);
    show("input-grey", embedded_ ? "input: zone plate" : "input: grey", grey_, 0);
    for (const DemoStep& step : demoSteps()) step.run(*this);
    const std::string sheet = outDir_ + "/contact.png";
    writeContactSheet(sheet);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

    std::fprintf(out, "ozl demo on %s (%s%s)\n\n", inputName_.c_str(), sizeNote_.c_str(),
                 sizeText(colour_.width(), colour_.height()).c_str());
    std::fprintf(out, "  %-44s %12s\n", "operation", "MP/s");
    for (const auto& [label, mps] : rates_) std::fprintf(out, "  %-44s %12.1f\n", label.c_str(), mps);
    std::fprintf(out, "\nresults in %s/, contact sheet %s (%.1f s)\n", outDir_.c_str(),
                 sheet.c_str(), seconds);
}

}  // namespace ozltool
