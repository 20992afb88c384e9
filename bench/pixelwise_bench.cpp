// The pixel-wise operations (arithmetic, logic, fill) against their OpenCV
// counterparts on the same data, at every dispatch level, with memcpy of the
// same bytes as the bandwidth reference and the masked and tiled paths.
#include <benchmark/benchmark.h>

#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "bench/harness.hpp"

namespace ozl::bench {

namespace {

// Long enough for a stable figure on the small frame, short enough that the
// whole run stays within a few minutes; a large-frame row stops after the
// first iterations that pass it.
constexpr double kMinTime = 0.1;
constexpr int kFill = 77;

using OzlFn = void (*)(OzlImage* a, OzlImage* b, OzlImage* d);
using CvFn = void (*)(const cv::Mat& a, const cv::Mat& b, cv::Mat& d);
using CvMaskedFn = void (*)(const cv::Mat& a, const cv::Mat& b, cv::Mat& d, const cv::Mat& mask);

struct Op {
    const char* name;
    int sources;        // 2, 1, or 0 for a fill
    uint32_t depth;     // the one depth timed, or 0 for every depth
    bool paths;         // also timed masked and tiled
    bool maskedVsCv;    // the masked form is a table line of its own, against OpenCV
    OzlFn ozl;
    CvFn cv;
    CvMaskedFn cvMasked;
};

// Integer results saturate on both sides (OpenCV's scale-1 multiply included).
const Op kOps[] = {
    {"add", 2, 0, true, false,
     [](OzlImage* a, OzlImage* b, OzlImage* d) { ozlAdd(a, b, d); },
     [](const cv::Mat& a, const cv::Mat& b, cv::Mat& d) { cv::add(a, b, d); }, nullptr},
    {"subtract", 2, 0, false, false,
     [](OzlImage* a, OzlImage* b, OzlImage* d) { ozlSubtract(a, b, d); },
     [](const cv::Mat& a, const cv::Mat& b, cv::Mat& d) { cv::subtract(a, b, d); }, nullptr},
    {"multiply", 2, 0, false, false,
     [](OzlImage* a, OzlImage* b, OzlImage* d) { ozlMultiply(a, b, d); },
     [](const cv::Mat& a, const cv::Mat& b, cv::Mat& d) { cv::multiply(a, b, d); }, nullptr},
    {"and", 2, OZL_DEPTH_8U, false, false,
     [](OzlImage* a, OzlImage* b, OzlImage* d) { ozlAnd(a, b, d); },
     [](const cv::Mat& a, const cv::Mat& b, cv::Mat& d) { cv::bitwise_and(a, b, d); }, nullptr},
    {"or", 2, OZL_DEPTH_8U, false, false,
     [](OzlImage* a, OzlImage* b, OzlImage* d) { ozlOr(a, b, d); },
     [](const cv::Mat& a, const cv::Mat& b, cv::Mat& d) { cv::bitwise_or(a, b, d); }, nullptr},
    {"xor", 2, OZL_DEPTH_8U, false, false,
     [](OzlImage* a, OzlImage* b, OzlImage* d) { ozlXor(a, b, d); },
     [](const cv::Mat& a, const cv::Mat& b, cv::Mat& d) { cv::bitwise_xor(a, b, d); }, nullptr},
    {"not", 1, OZL_DEPTH_8U, false, false,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlNot(a, d); },
     [](const cv::Mat& a, const cv::Mat&, cv::Mat& d) { cv::bitwise_not(a, d); }, nullptr},
    {"set", 0, OZL_DEPTH_8U, true, true,
     [](OzlImage*, OzlImage*, OzlImage* d) { ozlSet(d, kFill); },
     [](const cv::Mat&, const cv::Mat&, cv::Mat& d) { d.setTo(cv::Scalar::all(kFill)); },
     [](const cv::Mat&, const cv::Mat&, cv::Mat& d, const cv::Mat& mask) {
         d.setTo(cv::Scalar::all(kFill), mask);
     }},
    {"addS", 1, OZL_DEPTH_8U, false, false,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlAddS(a, d, kFill); },
     [](const cv::Mat& a, const cv::Mat&, cv::Mat& d) { cv::add(a, cv::Scalar::all(kFill), d); },
     nullptr},
    {"multiplyS", 1, OZL_DEPTH_8U, false, false,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlMultiplyS(a, d, 3); },
     [](const cv::Mat& a, const cv::Mat&, cv::Mat& d) { cv::multiply(a, cv::Scalar::all(3), d); },
     nullptr},
    {"abs", 1, OZL_DEPTH_16S, false, false,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlAbs(a, d); },
     [](const cv::Mat& a, const cv::Mat&, cv::Mat& d) { d = cv::abs(a); }, nullptr},
    {"copy", 1, OZL_DEPTH_8U, true, true,
     [](OzlImage* a, OzlImage*, OzlImage* d) { ozlCopy(a, d); },
     [](const cv::Mat& a, const cv::Mat&, cv::Mat& d) { a.copyTo(d); },
     [](const cv::Mat& a, const cv::Mat&, cv::Mat& d, const cv::Mat& mask) { a.copyTo(d, mask); }},
};

enum class Path { Plain, Masked, Tiled };

// Bytes an operation has to move per call: each source read once and the
// destination written once. A masked call has to read the whole 1-bit mask
// (ozl's, not OpenCV's byte mask, on both sides) and only the selected pixels
// of the images; a kernel that also reads and rewrites the pixels the mask
// leaves out moves more than is counted, and that shows as a lower share.
double bytesMoved(const Op& op, const Case& c, bool masked) {
    const double image = static_cast<double>(c.imageBytes());
    if (!masked) return (op.sources + 1) * image;
    return (op.sources + 1) * image * maskCoverage(c.frame) + static_cast<double>(c.maskBytes());
}

void setBytes(benchmark::State& st, double bytes) {
    st.SetBytesProcessed(static_cast<int64_t>(static_cast<double>(st.iterations()) * bytes));
}

// Compares ozl's result with OpenCV's plain result, taken over where the mask
// selects on a masked run.
void checkResult(const std::string& name, const Op& op, const Case& c, Images& im, Path path,
                 const cv::Mat& before) {
    cv::Mat expect(im.d.size(), im.d.type());
    op.cv(im.a, im.b, expect);
    if (path == Path::Masked) {
        cv::Mat merged = before.clone();
        expect.copyTo(merged, im.mask8);
        expect = merged;
    }
    const cv::Mat got = path == Path::Tiled ? im.tiledD().toMat() : im.d;
    if (cv::norm(got, expect, cv::NORM_INF) != 0) noteMismatch(name);
}

void runOzl(benchmark::State& st, const std::string& name, const Op& op, const Case& c,
            Path path, cpu::Level level) {
    LevelCap cap(level);
    Images& im = imagesFor(c);
    const bool check = firstTime(name);
    const cv::Mat before = check && path == Path::Masked ? im.d.clone() : cv::Mat();

    Header ha, hb, hd;
    OzlImage *a = nullptr, *b = nullptr, *d = nullptr;
    if (path == Path::Tiled) {
        if (op.sources >= 1) a = im.tiledA().header();
        if (op.sources >= 2) b = im.tiledB().header();
        d = im.tiledD().header();
    } else {
        if (op.sources >= 1) a = (ha = wrap(im.a, c.depth.ozl)).get();
        if (op.sources >= 2) b = (hb = wrap(im.b, c.depth.ozl)).get();
        d = (hd = wrap(im.d, c.depth.ozl)).get();
        if (path == Path::Masked) d->maskROI = im.mask1;
    }

    ozlSetErrStatus(OZL_StsOk);
    op.ozl(a, b, d);
    if (ozlGetErrStatus() != OZL_StsOk) {
        st.SkipWithError("ozl reported an error");
        return;
    }
    for (auto _ : st) op.ozl(a, b, d);
    setBytes(st, bytesMoved(op, c, path == Path::Masked));
    if (check) checkResult(name, op, c, im, path, before);
}

void runCv(benchmark::State& st, const Op& op, const Case& c, bool masked) {
    Images& im = imagesFor(c);
    if (masked) {
        for (auto _ : st) op.cvMasked(im.a, im.b, im.d, im.mask8);
    } else {
        for (auto _ : st) op.cv(im.a, im.b, im.d);
    }
    setBytes(st, bytesMoved(op, c, masked));
}

void runMemcpy(benchmark::State& st, const Case& c) {
    Images& im = imagesFor(c);
    const size_t bytes = c.imageBytes();
    for (auto _ : st) {
        std::memcpy(im.d.data, im.a.data, bytes);
        benchmark::ClobberMemory();
    }
    setBytes(st, 2.0 * static_cast<double>(bytes));
}

// Timed in the thread's CPU time: everything runs on this one thread, and a
// build elsewhere on the machine then costs the figures less than in wall time.
template <class F>
void addRow(const std::string& name, F&& body) {
    benchmark::RegisterBenchmark(name.c_str(), std::forward<F>(body))
        ->Unit(benchmark::kMicrosecond)
        ->MinTime(kMinTime);
}

std::string ozlImpl(cpu::Level level) { return std::string("ozl_") + cpu::name(level); }

// The ozl rows of one form of an operation at every level, and the OpenCV row.
void addLevelsAndCv(const Op& op, const Case& c, const std::string& opName, Path path) {
    for (int l = 0; l <= static_cast<int>(cpu::detected()); ++l) {
        const auto level = static_cast<cpu::Level>(l);
        const std::string name = c.row(opName, ozlImpl(level));
        addRow(name, [name, &op, c, path, level](benchmark::State& st) {
            runOzl(st, name, op, c, path, level);
        });
    }
    const bool masked = path == Path::Masked;
    addRow(c.row(opName, "opencv"),
        [&op, c, masked](benchmark::State& st) { runCv(st, op, c, masked); });
}

// Rows of one case, grouped so that its images are made once.
void registerCase(const Case& c) {
    const std::string memcpyRow = c.row("memcpy");
    addRow(memcpyRow, [c](benchmark::State& st) { runMemcpy(st, c); });
    const double memcpyBytes = 2.0 * static_cast<double>(c.imageBytes());
    const std::string active = ozlImpl(cpu::active());

    for (int i = 0; i < static_cast<int>(std::size(kOps)); ++i) {
        const Op& op = kOps[i];
        if (op.depth != 0 && c.depth.ozl != op.depth) continue;
        const int order = c.frameIndex * 1000 + i * 20 + c.depthIndex;
        const std::string label = std::string(op.name) + " " + c.depth.label;

        addLevelsAndCv(op, c, op.name, Path::Plain);
        tableRows().push_back({label, c.frame.label, c.row(op.name, active),
                               c.row(op.name, "opencv"), memcpyRow, bytesMoved(op, c, false),
                               memcpyBytes, false, order});
        if (!op.paths) continue;

        const std::string maskedName = std::string(op.name) + "_masked";
        if (op.maskedVsCv) {
            addLevelsAndCv(op, c, maskedName, Path::Masked);
            tableRows().push_back({"masked " + label, c.frame.label, c.row(maskedName, active),
                                   c.row(maskedName, "opencv"), memcpyRow,
                                   bytesMoved(op, c, true), memcpyBytes, true, order + 10});
        } else {
            const std::string name = c.row(maskedName, active);
            addRow(name, [name, &op, c](benchmark::State& st) {
                runOzl(st, name, op, c, Path::Masked, cpu::active());
            });
        }
        const std::string tiledName = c.row(std::string(op.name) + "_tiled", active);
        addRow(tiledName, [tiledName, &op, c](benchmark::State& st) {
            runOzl(st, tiledName, op, c, Path::Tiled, cpu::active());
        });
        pathRows().push_back({label, c.frame.label, c.row(op.name, active),
                              c.row(maskedName, active), tiledName, order});
    }
}

}  // namespace

void registerPixelwise() {
    for (const Case& c : allCases()) registerCase(c);
}

}  // namespace ozl::bench
