#include "bench/harness.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <set>

#include "image/layout.hpp"

namespace ozl::bench {

namespace {

// A harness that cannot build its images has nothing to measure.
void require(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "ozl_bench: %s (ozl status %d)\n", what, ozlGetErrStatus());
    std::exit(1);
}

const Frame kFrames[] = {{640, 480, "640x480"}, {3840, 2160, "3840x2160"}};
const Depth kDepths[] = {{OZL_DEPTH_8U, CV_8UC3, "8U", 1},
                         {OZL_DEPTH_16U, CV_16UC3, "16U", 2},
                         {OZL_DEPTH_16S, CV_16SC3, "16S", 2},
                         {OZL_DEPTH_32F, CV_32FC3, "32F", 4}};

void fillRandom(cv::Mat& m, uint32_t depth, uint64_t seed) {
    cv::RNG rng(seed);
    switch (depth) {
        case OZL_DEPTH_8U: rng.fill(m, cv::RNG::UNIFORM, 0, 256); break;
        case OZL_DEPTH_16U: rng.fill(m, cv::RNG::UNIFORM, 0, 65536); break;
        case OZL_DEPTH_16S: rng.fill(m, cv::RNG::UNIFORM, -32768, 32768); break;
        default: rng.fill(m, cv::RNG::UNIFORM, -1000.0, 1000.0); break;
    }
}

// A centred ellipse over about two thirds of the frame: long runs of selected
// and unselected pixels, as a region mask has, with edges at every bit offset.
cv::Mat ellipseMask(int width, int height) {
    cv::Mat m(height, width, CV_8UC1);
    const double cx = (width - 1) / 2.0, cy = (height - 1) / 2.0;
    const double rx = width * 0.45, ry = height * 0.45;
    for (int y = 0; y < height; ++y) {
        uint8_t* row = m.ptr<uint8_t>(y);
        const double dy = (y - cy) / ry;
        for (int x = 0; x < width; ++x) {
            const double dx = (x - cx) / rx;
            row[x] = dx * dx + dy * dy <= 1.0 ? 255 : 0;
        }
    }
    return m;
}

// The same pattern as an ozl 1-bit image, most significant bit first.
OzlImage* packMask(const cv::Mat& mask8) {
    OzlImage* m = ozlCreateImageHeader(1, 0, OZL_DEPTH_1U, "GRAY", "GRAY", OZL_DATA_ORDER_PIXEL,
                                       OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, mask8.cols, mask8.rows,
                                       nullptr, nullptr, nullptr, nullptr);
    require(m != nullptr, "cannot create the mask header");
    ozlAllocateImage(m, 1, 0);
    require(m->imageData != nullptr, "cannot allocate the mask");
    for (int y = 0; y < mask8.rows; ++y) {
        const uint8_t* in = mask8.ptr<uint8_t>(y);
        auto* out = reinterpret_cast<uint8_t*>(m->imageData + static_cast<ptrdiff_t>(y) * m->widthStep);
        for (int x = 0; x < mask8.cols; ++x)
            if (in[x]) out[x >> 3] |= static_cast<uint8_t>(0x80u >> (x & 7));
    }
    return m;
}

std::map<std::string, double>& times() {
    static std::map<std::string, double> t;
    return t;
}

}  // namespace

std::string Case::row(const std::string& op, const std::string& impl) const {
    std::string name = op + "_" + depth.label + "/" + frame.label;
    if (!impl.empty()) name += "/" + impl;
    return name;
}

std::vector<Case> allCases() {
    std::vector<Case> cases;
    for (int f = 0; f < static_cast<int>(std::size(kFrames)); ++f)
        for (int d = 0; d < static_cast<int>(std::size(kDepths)); ++d)
            cases.push_back({static_cast<int>(cases.size()), f, d, kFrames[f], kDepths[d]});
    return cases;
}

void HeaderFree::operator()(OzlImage* image) const {
    // The pixels belong to the Mat or the tile buffer: only the header and tile record go.
    ozlDeallocate(image, OZL_IMAGE_HEADER | OZL_IMAGE_TILE);
}

Header wrap(cv::Mat& mat, uint32_t depth) {
    require(mat.isContinuous() && mat.channels() == kChannels, "Mat is not a plain 3-channel image");
    Header h(ozlCreateImageHeader(kChannels, 0, depth, "RGB", "BGR", OZL_DATA_ORDER_PIXEL,
                                  OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, mat.cols, mat.rows, nullptr,
                                  nullptr, nullptr, nullptr));
    require(h != nullptr, "cannot create an image header");
    // Rows of these widths are whole multiples of 4 bytes, so the Mat's step is
    // the header's own row size.
    require(h->widthStep == static_cast<int>(mat.step), "Mat rows do not match the header's row size");
    h->imageData = reinterpret_cast<char*>(mat.data);
    h->imageSize = h->widthStep * mat.rows;
    return h;
}

Tiled::Tiled(const cv::Mat& mat, uint32_t depth)
    : width_(mat.cols), height_(mat.rows), type_(mat.type()),
      pixelBytes_(static_cast<int>(mat.elemSize())) {
    OzlTileInfo* info = ozlCreateTileInfo(&Tiled::serve, this, kTileSize, kTileSize);
    require(info != nullptr, "cannot create a tile record");
    header_.reset(ozlCreateImageHeader(kChannels, 0, depth, "RGB", "BGR", OZL_DATA_ORDER_PIXEL,
                                       OZL_ORIGIN_TL, OZL_ALIGN_4BYTES, width_, height_,
                                       nullptr, nullptr, nullptr, info));
    if (!header_) ozlDeleteTileInfo(info);
    require(header_ != nullptr, "cannot create a tiled header");
    rowBytes_ = static_cast<size_t>(image::tileRowSize(header_.get()));
    require(rowBytes_ > 0, "tiled header refused");
    tileBytes_ = rowBytes_ * kTileSize;
    columns_ = (width_ + kTileSize - 1) / kTileSize;
    const int rows = (height_ + kTileSize - 1) / kTileSize;
    const size_t total = tileBytes_ * columns_ * rows;
    require(total <= INT32_MAX, "tile buffer too large");
    data_ = static_cast<char*>(ozlMalloc(static_cast<int>(total)));
    require(data_ != nullptr, "cannot allocate the tile buffer");
    std::memset(data_, 0, total);
    for (int y = 0; y < height_; ++y)
        for (int tx = 0; tx < columns_; ++tx) {
            const int n = std::min(kTileSize, width_ - tx * kTileSize) * pixelBytes_;
            std::memcpy(rowStart(tx, y), mat.ptr(y) + tx * kTileSize * pixelBytes_, n);
        }
}

Tiled::~Tiled() { ozlFree(data_); }

char* Tiled::rowStart(int tileColumn, int y) const {
    const size_t tile = static_cast<size_t>(y / kTileSize) * columns_ + tileColumn;
    return data_ + tile * tileBytes_ + static_cast<size_t>(y % kTileSize) * rowBytes_;
}

cv::Mat Tiled::toMat() const {
    cv::Mat m(height_, width_, type_);
    for (int y = 0; y < height_; ++y)
        for (int tx = 0; tx < columns_; ++tx) {
            const int n = std::min(kTileSize, width_ - tx * kTileSize) * pixelBytes_;
            std::memcpy(m.ptr(y) + tx * kTileSize * pixelBytes_, rowStart(tx, y), n);
        }
    return m;
}

// The tiles live in memory: fetching points tileData at one, releasing has nothing to store.
void OZL_CALL Tiled::serve(const OzlImage* image, int column, int row, int mode) {
    OzlTileInfo* info = image->tileInfo;
    const auto* self = static_cast<const Tiled*>(info->id);
    if (mode == OZL_GET_TILE_TO_READ || mode == OZL_GET_TILE_TO_WRITE)
        info->tileData = self->data_ + (static_cast<size_t>(row) * self->columns_ + column) *
                                           self->tileBytes_;
}

double maskCoverage(const Frame& frame) {
    static std::map<std::string, double> known;
    const auto it = known.find(frame.label);
    if (it != known.end()) return it->second;
    const cv::Mat m = ellipseMask(frame.width, frame.height);
    const double share = static_cast<double>(cv::countNonZero(m)) / m.total();
    known.emplace(frame.label, share);
    return share;
}

Images::Images(const Case& c) : depth_(c.depth.ozl) {
    const int w = c.frame.width, h = c.frame.height;
    a.create(h, w, c.depth.cvType);
    b.create(h, w, c.depth.cvType);
    d = cv::Mat::zeros(h, w, c.depth.cvType);
    fillRandom(a, depth_, 0x6f7a6c01u + c.index);
    fillRandom(b, depth_, 0x6f7a6c81u + c.index);
    mask8 = ellipseMask(w, h);
    mask1 = packMask(mask8);
}

Images::~Images() { ozlDeallocate(mask1, OZL_IMAGE_ALL); }

Tiled& Images::tiledA() {
    if (!ta_) ta_ = std::make_unique<Tiled>(a, depth_);
    return *ta_;
}

Tiled& Images::tiledB() {
    if (!tb_) tb_ = std::make_unique<Tiled>(b, depth_);
    return *tb_;
}

Tiled& Images::tiledD() {
    if (!td_) td_ = std::make_unique<Tiled>(d, depth_);
    return *td_;
}

Images& imagesFor(const Case& c) {
    static std::unique_ptr<Images> current;
    static int currentIndex = -1;
    if (!current || currentIndex != c.index) {
        current.reset();  // the largest case needs its memory back first
        current = std::make_unique<Images>(c);
        currentIndex = c.index;
    }
    return *current;
}

void recordTime(const std::string& name, double ns) {
    auto [it, inserted] = times().emplace(name, ns);
    if (!inserted) it->second = std::min(it->second, ns);  // repetitions: the best one
}

std::optional<double> timeOf(const std::string& name) {
    const auto it = times().find(name);
    if (it == times().end()) return std::nullopt;
    return it->second;
}

bool firstTime(const std::string& name) {
    static std::set<std::string> seen;
    return seen.insert(name).second;
}

static std::vector<std::string>& mismatchList() {
    static std::vector<std::string> list;
    return list;
}

void noteMismatch(const std::string& name) { mismatchList().push_back(name); }
const std::vector<std::string>& mismatches() { return mismatchList(); }

std::vector<TableRow>& tableRows() {
    static std::vector<TableRow> rows;
    return rows;
}

std::vector<PathRow>& pathRows() {
    static std::vector<PathRow> rows;
    return rows;
}

}  // namespace ozl::bench

namespace ozl::bench {

namespace {

struct Line {
    Comparison c;
    std::string ozlRow, cvRow;
    int order;
};

std::vector<Line>& lines() {
    static std::vector<Line> all;
    return all;
}

std::vector<void (*)()>& registrars() {
    static std::vector<void (*)()> all;
    return all;
}

std::string rowName(const Comparison& c, const std::string& impl) {
    std::string name = c.family + "/" + c.operation + "/" + c.size + "/" + impl;
    for (char& ch : name)
        if (ch == ' ') ch = '_';
    return name;
}

}  // namespace

Registrar::Registrar(void (*registerRows)()) { registrars().push_back(registerRows); }

void runRegistrars() {
    for (auto r : registrars()) r();
}

void addComparison(const Comparison& line, std::function<void()> ozlCall,
                   std::function<void()> cvCall) {
    auto add = [](const std::string& name, auto body) {
        benchmark::RegisterBenchmark(name.c_str(), body)
            ->Unit(benchmark::kMicrosecond)
            ->MinTime(0.1);
    };
    for (int l = 0; l <= static_cast<int>(cpu::detected()); ++l) {
        const auto level = static_cast<cpu::Level>(l);
        add(rowName(line, std::string("ozl_") + cpu::name(level)),
            [ozlCall, level](benchmark::State& st) {
                LevelCap cap(level);
                ozlCall();
                for (auto _ : st) ozlCall();
            });
    }
    add(rowName(line, "opencv"), [cvCall](benchmark::State& st) {
        cvCall();
        for (auto _ : st) cvCall();
    });
    lines().push_back({line, rowName(line, std::string("ozl_") + cpu::name(cpu::active())),
                       rowName(line, "opencv"), static_cast<int>(lines().size())});
}

void printComparisons(const char* level) {
    std::vector<std::string> families;
    for (const Line& l : lines())
        if (std::find(families.begin(), families.end(), l.c.family) == families.end())
            families.push_back(l.c.family);
    for (const std::string& family : families) {
        std::printf("\n%s: ozl (%s) against OpenCV %s, one thread\n", family.c_str(), level,
                    CV_VERSION);
        std::printf("%-24s %-22s %11s %11s %10s %7s\n", "operation", "size",
                    (std::string("ozl ") + level).c_str(), "OpenCV", "ozl/OpenCV", "target");
        int met = 0, measured = 0;
        for (const Line& l : lines()) {
            if (l.c.family != family) continue;
            const auto t = timeOf(l.ozlRow), cv = timeOf(l.cvRow);
            if (!t && !cv) continue;
            auto fmt = [](std::optional<double> ns) {
                char buf[32];
                if (!ns) return std::string("-");
                if (*ns < 1e6) std::snprintf(buf, sizeof buf, "%.1f us", *ns / 1e3);
                else std::snprintf(buf, sizeof buf, "%.2f ms", *ns / 1e6);
                return std::string(buf);
            };
            char ratio[16] = "-", target[16] = "";
            bool ok = true;
            if (t && cv && *cv > 0) {
                const double r = std::round(*t / *cv * 100) / 100;
                std::snprintf(ratio, sizeof ratio, "%.2f", r);
                if (l.c.target > 0) {
                    ++measured;
                    ok = r <= l.c.target;
                    met += ok;
                }
            }
            if (l.c.target > 0) std::snprintf(target, sizeof target, "%.2f%s", l.c.target, ok ? "" : " *");
            std::printf("%-24s %-22s %11s %11s %10s %7s  %s\n", l.c.operation.c_str(),
                        l.c.size.c_str(), fmt(t).c_str(), fmt(cv).c_str(), ratio, target,
                        l.c.note.c_str());
        }
        std::printf("  targets met: %d of %d (* over its target)\n", met, measured);
    }
}

}  // namespace ozl::bench
