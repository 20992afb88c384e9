// `ozl demo`: one representative operation of each family on the embedded
// pictures (the zone plate and a generated colour scene) or on the user's
// picture; each result written as a PNG, a labelled contact sheet, and a
// table of megapixels per second.
//
// A family contributes a step (registerDemoStep) that runs its operation
// through measure() and hands the result to show().
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "canvas.hpp"
#include "image.hpp"

namespace ozltool {

class Demo {
public:
    // picturePath empty: the embedded pictures.
    Demo(const std::string& picturePath, const std::string& outDir);
    ~Demo();

    // The colour input (8u RGB), a grey input (8u: the zone plate, or the
    // user's picture in grey), the zone plate (8u) at the colour input's
    // size, and that zone plate in all three channels of an RGB image.
    const Image& colour() const { return colour_; }
    const Image& grey() const { return grey_; }
    const Image& pattern() const { return pattern_; }
    Image greyAsColour() const;

    // Runs f (a call of the named library function) once, stopping the demo
    // with the library's report if it refuses, then a few more times, and
    // gives the best rate in megapixels per second.
    double measure(const char* function, long long pixels, const std::function<void()>& f);

    // A result: written as NN-<file>.png, drawn on the contact sheet with its
    // label, and listed in the table with its rate (0: not timed).
    void show(const std::string& file, const std::string& label, const Image& image, double mps,
              bool stretch = false);
    void show(const std::string& file, const std::string& label, const Picture& picture,
              double mps, long long pixels);

    // A timed operation whose result is numbers, not a picture: a table row.
    void report(const std::string& label, double mps);

    // Runs every registered step; writes the contact sheet; prints the table.
    void runAll(std::FILE* out);

private:
    struct Shown {
        std::string file, label;
        Picture thumbnail;
        double mps;
        std::string size;
    };
    std::string outDir_;
    std::string inputName_;
    std::string sizeNote_;  // "4000x3000, reduced to " for a shrunk picture
    bool embedded_ = false;
    Image colour_, grey_, pattern_;
    std::vector<Shown> shown_;
    std::vector<std::pair<std::string, double>> rates_;  // the table, in order

    void writeContactSheet(const std::string& path) const;
};

// The embedded colour scene: sky, sun, hills, a lake and a colour wheel.
Picture makeScene(int width, int height, bool alpha);

}  // namespace ozltool
