// One run of an operation from the command line: its options, its input
// pictures as images at the working depth with the region, channel and mask
// the options ask for, and its output file.
#pragma once

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "cli.hpp"
#include "image.hpp"
#include "library.hpp"
#include "registry.hpp"

namespace ozltool {

class Run {
public:
    // Parses the words after the operation's name; throws Error for bad
    // options or a wrong number of files.
    Run(const Operation& op, const std::vector<std::string>& words);

    const Operation& op() const { return op_; }
    const Arguments& args() const { return args_; }
    std::size_t inputCount() const { return inputs_.size(); }
    const std::string& inputPath(std::size_t i) const { return inputs_.at(i); }
    const std::string& outputPath() const { return output_; }

    // The file as read (each file is read once).
    const Picture& picture(std::size_t i);
    // --depth, or the depth the first input's samples call for.
    unsigned depth();

    // Input i at the working depth (or the one given), with the region and
    // channel of interest.
    Image input(std::size_t i);
    Image input(std::size_t i, unsigned depth);
    // The image an operation writes into when its result has the shape of
    // `like`: --onto FILE, else a copy of `like`; region and mask applied.
    Image destination(const Image& like);
    // A new image of the given shape (black), with region and mask applied;
    // the channel of interest too unless the image is a one-channel result
    // of a multi-channel source.
    Image blank(int width, int height, int channels, unsigned depth, bool channel = true);
    void applyRegion(Image& image, bool channel = true) const;
    void applyMask(Image& image);
    bool hasRegion() const { return regionGiven_ || coi_ > 0; }
    // --border MODE[:VALUE] on every side of the image, where given.
    void applyBorder(Image& image) const;

    // Runs a call of the named library function from src into dst; the
    // library's operations pass over the alpha channel, so for a picture with
    // one (and no --coi) the call runs again with the alpha channel as the
    // channel of interest of both, carrying it into a new destination.
    template <class F>
    void callWithAlpha(const char* function, Image& src, Image& dst, F&& call) {
        callLibrary(function, call);
        if (!src.hasAlpha() || !dst.hasAlpha() || coi_ > 0) return;
        src.setChannel(src.channels());
        dst.setChannel(dst.channels());
        callLibrary(function, call);
    }

    // Writes the result to the output file (see OutputStyle); the style's
    // sample follows --bits, else the result's depth and the input's samples.
    void write(const Image& result, bool stretch = false);
    OutputStyle outputStyle(const Image& result, bool stretch) const;

    // Printed results go to standard output.
    std::FILE* out() const { return stdout; }

private:
    const Operation& op_;
    Arguments args_;
    std::vector<std::string> inputs_;
    std::string output_;
    std::map<std::size_t, Picture> pictures_;
    bool regionGiven_ = false;
    int roi_[4] = {0, 0, 0, 0};
    int coi_ = 0;

    void checkRegionFits(const Image& image, bool channel = true) const;
};

// The usage line of an operation, "ozl NAME [options] ...", one per form.
std::vector<std::string> usageLines(const Operation& op);

}  // namespace ozltool
