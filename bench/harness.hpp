// Shared pieces of the benchmarks: test images held as cv::Mat and seen by ozl
// through headers over the same bytes, tiled copies, the mask in both forms,
// and the store of timings the final tables are built from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "frame/cpu.hpp"
#include "ozl.h"

namespace ozl::bench {

struct Frame {
    int width;
    int height;
    const char* label;
};

struct Depth {
    uint32_t ozl;
    int cvType;        // the 3-channel OpenCV type
    const char* label;
    int elemBytes;
};

constexpr int kChannels = 3;
constexpr int kTileSize = 64;

// One image size and depth; the images of a case are shared by every row of it.
struct Case {
    int index;  // distinct per frame and depth
    int frameIndex;
    int depthIndex;
    Frame frame;
    Depth depth;

    size_t imageBytes() const {
        return static_cast<size_t>(frame.width) * frame.height * kChannels * depth.elemBytes;
    }
    size_t maskBytes() const {
        return static_cast<size_t>(frame.width + 7) / 8 * frame.height;
    }
    // Benchmark name: "<op>_<depth>/<size>[/<impl>]".
    std::string row(const std::string& op, const std::string& impl = "") const;
};

std::vector<Case> allCases();

struct HeaderFree {
    void operator()(OzlImage* image) const;
};
using Header = std::unique_ptr<OzlImage, HeaderFree>;

// An ozl header over the pixels of a continuous 3-channel Mat (no copy).
Header wrap(cv::Mat& mat, uint32_t depth);

// A copy of a Mat in 64x64 tiles, one tile after another in a single buffer,
// served to ozl through the tile callback.
class Tiled {
public:
    Tiled(const cv::Mat& mat, uint32_t depth);
    ~Tiled();
    Tiled(const Tiled&) = delete;
    Tiled& operator=(const Tiled&) = delete;

    OzlImage* header() { return header_.get(); }
    cv::Mat toMat() const;

private:
    static void OZL_CALL serve(const OzlImage* image, int column, int row, int mode);
    char* rowStart(int tileColumn, int y) const;

    int width_, height_, type_, pixelBytes_;
    int columns_ = 0;
    size_t rowBytes_ = 0, tileBytes_ = 0;
    char* data_ = nullptr;
    Header header_;
};

// The images of one case. Sources are seeded random data; the mask is the same
// pattern as one byte per pixel (OpenCV) and one bit per pixel (ozl).
struct Images {
    cv::Mat a, b, d;
    cv::Mat mask8;
    OzlImage* mask1 = nullptr;

    explicit Images(const Case& c);
    ~Images();
    Images(const Images&) = delete;
    Images& operator=(const Images&) = delete;

    // Tiled copies of a, b (made on first use) and a tiled destination.
    Tiled& tiledA();
    Tiled& tiledB();
    Tiled& tiledD();

private:
    uint32_t depth_;
    std::unique_ptr<Tiled> ta_, tb_, td_;
};

// Share of the pixels the mask selects at a frame size.
double maskCoverage(const Frame& frame);

// The images of a case; only the latest case is kept, so rows are registered
// case by case.
Images& imagesFor(const Case& c);

// Caps the dispatch level for a scope.
class LevelCap {
public:
    explicit LevelCap(cpu::Level level) : previous_(cpu::active()) { cpu::force(level); }
    ~LevelCap() { cpu::force(previous_); }
    LevelCap(const LevelCap&) = delete;
    LevelCap& operator=(const LevelCap&) = delete;

private:
    cpu::Level previous_;
};

// Timings in nanoseconds per iteration, by benchmark name.
void recordTime(const std::string& name, double ns);
std::optional<double> timeOf(const std::string& name);

// True the first time a name is seen: results are checked once per row.
bool firstTime(const std::string& name);
void noteMismatch(const std::string& name);
const std::vector<std::string>& mismatches();

// A line of the final table: ozl (active level) against OpenCV on one case.
struct TableRow {
    std::string operation;  // "add 8U"
    std::string size;
    std::string ozlRow, cvRow, memcpyRow;
    double bytes;        // bytes the operation moves per call
    double memcpyBytes;  // bytes the memcpy reference moves per call
    bool masked;
    int order;           // print order: size, operation, depth
};
// A line of the path table: the masked and tiled ozl paths against the plain one.
struct PathRow {
    std::string operation;
    std::string size;
    std::string plainRow, maskedRow, tiledRow;
    int order;
};
std::vector<TableRow>& tableRows();
std::vector<PathRow>& pathRows();

// Registers every row of the pixel-wise table.
void registerPixelwise();

// ---------------------------------------------------------------------------
// The tables of the other families: one line per operation and size, ozl at
// the active level against its OpenCV counterpart, with the target ratio.
// A family's bench file registers its lines at start-up:
//
//   static Registrar registrar([] {
//       addComparison({"filter", "conv 3x3 8U", "640x480", 0.5, "level/notes"},
//                     [=] { ozlConvolve2D(...); }, [=] { cv::filter2D(...); });
//   });

struct Comparison {
    std::string family;     // table the line goes to
    std::string operation;  // "conv 3x3 8U"
    std::string size;       // "640x480"
    double target;          // ozl/OpenCV must not exceed it (0: no target)
    std::string note;       // printed after the line ("OpenCV rounds differently", ...)
};

// Registers the ozl row (timed at every level the machine has; the table
// shows the active one) and the OpenCV row of one line. The callables run
// once per iteration; their set-up belongs outside them. Both run once
// before timing, so a failing call shows on stderr.
void addComparison(const Comparison& line, std::function<void()> ozlCall,
                   std::function<void()> cvCall);

// Runs a family's registration before the benchmarks are listed.
struct Registrar {
    explicit Registrar(void (*registerRows)());
};
void runRegistrars();

// Prints every family's table and how its lines stand against their targets.
void printComparisons(const char* level);

}  // namespace ozl::bench
