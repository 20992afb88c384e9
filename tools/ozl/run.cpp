#include "run.hpp"

#include <cinttypes>

#include "error.hpp"

namespace ozltool {
namespace {

std::string channelsText(int n) { return std::to_string(n) + (n == 1 ? " channel" : " channels"); }

}  // namespace

std::vector<std::string> usageLines(const Operation& op) {
    std::vector<std::string> lines;
    std::string usage = op.usage;
    std::size_t start = 0;
    for (;;) {
        const std::size_t bar = usage.find(" | ", start);
        std::string form = usage.substr(start, bar == std::string::npos ? std::string::npos : bar - start);
        lines.push_back(std::string("ozl ") + op.name + (optionsOf(op).empty() ? "" : " [options]") +
                        (form.empty() ? "" : " " + form));
        if (bar == std::string::npos) break;
        start = bar + 3;
    }
    return lines;
}

Run::Run(const Operation& op, const std::vector<std::string>& words)
    : op_(op), args_(words, optionsOf(op)) {
    std::vector<std::string> files = args_.positional();
    if (op.writesImage && !files.empty()) {
        output_ = files.back();
        files.pop_back();
    }
    const int n = static_cast<int>(files.size());
    if (op.writesImage && output_.empty()) throw Error("no output file given");
    if (n < op.minInputs || n > op.maxInputs) {
        std::string expected;
        for (const std::string& line : usageLines(op)) expected += (expected.empty() ? "" : " or ") + line;
        throw Error(std::string(n < op.minInputs ? "too few" : "too many") + " files; usage: " +
                    expected);
    }
    inputs_ = files;
    if (op.writesImage) formatForPath(output_);  // an unknown format fails before any work

    if (args_.has("roi")) {
        const std::vector<long> r = parseIntegers(args_.text("roi"), "--roi", 0, 1L << 30);
        if (r.size() != 4 || r[2] < 1 || r[3] < 1)
            throw Error("--roi: expected x,y,w,h with a width and height of at least 1");
        for (int i = 0; i < 4; ++i) roi_[i] = static_cast<int>(r[i]);
        regionGiven_ = true;
    }
    coi_ = static_cast<int>(args_.integer("coi", 0, 1, 4));
    if (args_.has("bits")) {
        const long bits = args_.integer("bits", 8, 1, 32);
        if (bits != 1 && bits != 8 && bits != 16 && bits != 32)
            throw Error("--bits: " + args_.text("bits") + " is not 1, 8, 16 or 32");
    }
    args_.integer("quality", 92, 1, 100);
    if (args_.has("depth")) parseDepth(args_.text("depth"));
}

const Picture& Run::picture(std::size_t i) {
    auto it = pictures_.find(i);
    if (it == pictures_.end()) it = pictures_.emplace(i, readPicture(inputs_.at(i))).first;
    return it->second;
}

unsigned Run::depth() {
    if (args_.has("depth")) return parseDepth(args_.text("depth"));
    if (inputs_.empty()) return OZL_DEPTH_8U;
    switch (picture(0).sample) {
    case Sample::Bit: return OZL_DEPTH_1U;
    case Sample::U8: return OZL_DEPTH_8U;
    case Sample::U16: return OZL_DEPTH_16U;
    case Sample::F32: return OZL_DEPTH_32F;
    }
    return OZL_DEPTH_8U;
}

Image Run::input(std::size_t i) { return input(i, depth()); }

Image Run::input(std::size_t i, unsigned d) {
    const Picture& p = picture(i);
    if (d == OZL_DEPTH_1U && p.channels != 1)
        throw Error(inputs_.at(i) + ": depth 1u needs a one-channel picture; this one has " +
                    channelsText(p.channels));
    Image image = toImage(p, d);
    applyRegion(image);
    return image;
}

void Run::checkRegionFits(const Image& image, bool channel) const {
    if (regionGiven_ && (roi_[0] >= image.width() || roi_[1] >= image.height()))
        throw Error("--roi " + args_.text("roi") + " starts outside the " +
                    std::to_string(image.width()) + "x" + std::to_string(image.height()) +
                    " image");
    if (channel && coi_ > image.channels())
        throw Error("--coi " + std::to_string(coi_) + ": the image has only " +
                    channelsText(image.channels()));
}

void Run::applyRegion(Image& image, bool channel) const {
    const int coi = channel ? coi_ : 0;
    if (!regionGiven_ && coi == 0) return;
    checkRegionFits(image, channel);
    if (regionGiven_) image.setRegion(coi, roi_[0], roi_[1], roi_[2], roi_[3]);
    else image.setRegion(coi, 0, 0, image.width(), image.height());
}

void Run::applyMask(Image& image) {
    if (!args_.has("mask")) return;
    Image mask = toMask(readPicture(args_.text("mask")));
    // The library lays a mask's region over the image's region; the same
    // rectangle on both keeps the mask in register with the picture.
    if (regionGiven_) mask.setRegion(0, roi_[0], roi_[1], roi_[2], roi_[3]);
    image.setMask(std::move(mask));
}

void Run::applyBorder(Image& image) const {
    if (!args_.has("border")) return;
    const std::string text = args_.text("border");
    const std::size_t colon = text.find(':');
    const std::string name = text.substr(0, colon);
    static const struct {
        const char* name;
        int mode;
    } kModes[] = {{"constant", OZL_BORDER_CONSTANT},
                  {"replicate", OZL_BORDER_REPLICATE},
                  {"reflect", OZL_BORDER_REFLECT},
                  {"wrap", OZL_BORDER_WRAP}};
    for (const auto& m : kModes) {
        if (name != m.name) continue;
        if (colon != std::string::npos && m.mode != OZL_BORDER_CONSTANT)
            throw Error("--border: only 'constant' takes a value");
        const int value = colon == std::string::npos
                              ? 0
                              : static_cast<int>(parseInteger(text.substr(colon + 1), "--border",
                                                              INT32_MIN, INT32_MAX));
        callLibrary("ozlSetBorderMode",
                    [&] { ozlSetBorderMode(image.get(), m.mode, OZL_SIDE_ALL, value); });
        return;
    }
    throw Error("--border: '" + text + "' is not constant[:V], replicate, reflect or wrap");
}

Image Run::destination(const Image& like) {
    Image dst;
    if (args_.has("onto")) {
        const std::string onto = args_.text("onto");
        const Picture p = readPicture(onto);
        if (p.width != like.width() || p.height != like.height() || p.channels != like.channels())
            throw Error("--onto " + onto + ": expected a " + std::to_string(like.width()) + "x" +
                        std::to_string(like.height()) + " picture with " +
                        channelsText(like.channels()));
        dst = toImage(p, like.depth());
    } else {
        dst = like.clone();
        dst.clearRegion();
    }
    applyRegion(dst);
    applyMask(dst);
    return dst;
}

Image Run::blank(int width, int height, int channels, unsigned d, bool channel) {
    Image dst(width, height, channels, d);
    applyRegion(dst, channel);
    applyMask(dst);
    return dst;
}

OutputStyle Run::outputStyle(const Image& result, bool stretch) const {
    OutputStyle style;
    style.stretch = stretch || args_.has("stretch");
    Sample wanted = naturalSample(result.depth(), pictures_.count(0) ? pictures_.at(0).sample
                                                                      : Sample::U8);
    const bool explicitBits = args_.has("bits");
    if (explicitBits) {
        switch (args_.integer("bits", 8, 1, 32)) {
        case 1: wanted = Sample::Bit; break;
        case 16: wanted = Sample::U16; break;
        case 32: wanted = Sample::F32; break;
        default: wanted = Sample::U8; break;
        }
    }
    const FileFormat format = formatForPath(output_);
    const Encoding enc = encodingFor(format, result.channels(), wanted);
    if (!enc.problem.empty()) throw Error(output_ + ": " + enc.problem);
    if (explicitBits && enc.sample != wanted)
        throw Error(output_ + ": " + formatName(format) + " cannot hold " + sampleName(wanted) +
                    " samples");
    style.sample = enc.sample;
    return style;
}

void Run::write(const Image& result, bool stretch) {
    WriteOptions options;
    options.jpegQuality = static_cast<int>(args_.integer("quality", 92, 1, 100));
    writePicture(output_, toPicture(result, outputStyle(result, stretch)), options);
}

}  // namespace ozltool
