// Picture files: format recognition, the choice of samples per format, and
// the all-or-nothing file writer. The codecs live in image_io_*.cpp.
#include "image_io.hpp"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "error.hpp"

namespace ozltool {

int sampleBytes(Sample s) {
    switch (s) {
    case Sample::Bit:
    case Sample::U8: return 1;
    case Sample::U16: return 2;
    case Sample::F32: return 4;
    }
    return 1;
}

double sampleWhite(Sample s) {
    switch (s) {
    case Sample::Bit: return 1.0;
    case Sample::U8: return 255.0;
    case Sample::U16: return 65535.0;
    case Sample::F32: return 1.0;
    }
    return 1.0;
}

const char* sampleName(Sample s) {
    switch (s) {
    case Sample::Bit: return "1-bit";
    case Sample::U8: return "8-bit";
    case Sample::U16: return "16-bit";
    case Sample::F32: return "32-bit float";
    }
    return "?";
}

Picture::Picture(int w, int h, int c, Sample s) : width(w), height(h), channels(c), sample(s) {
    data.assign(rowBytes() * static_cast<std::size_t>(h), 0);
}

std::size_t Picture::rowBytes() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels) *
           static_cast<std::size_t>(sampleBytes(sample));
}

double Picture::get(int x, int y, int c) const {
    const std::size_t i = static_cast<std::size_t>(x) * channels + c;
    const unsigned char* r = row(y);
    switch (sample) {
    case Sample::Bit:
    case Sample::U8: return r[i];
    case Sample::U16: {
        std::uint16_t v;
        std::memcpy(&v, r + 2 * i, 2);
        return v;
    }
    case Sample::F32: {
        float v;
        std::memcpy(&v, r + 4 * i, 4);
        return v;
    }
    }
    return 0.0;
}

void Picture::set(int x, int y, int c, double v) {
    const std::size_t i = static_cast<std::size_t>(x) * channels + c;
    unsigned char* r = row(y);
    switch (sample) {
    case Sample::Bit: r[i] = v != 0.0 ? 1 : 0; break;
    case Sample::U8: r[i] = static_cast<unsigned char>(v); break;
    case Sample::U16: {
        const auto s = static_cast<std::uint16_t>(v);
        std::memcpy(r + 2 * i, &s, 2);
        break;
    }
    case Sample::F32: {
        const auto f = static_cast<float>(v);
        std::memcpy(r + 4 * i, &f, 4);
        break;
    }
    }
}

bool pictureFits(long long width, long long height, int channels, Sample s) {
    if (width < 1 || height < 1) return false;
    // Row bytes padded to 32 and the whole image must stay below 2^31 bytes.
    const long long bits = s == Sample::Bit ? 8 : 8LL * sampleBytes(s);
    const long long row = (width * channels * bits / 8 + 32) / 32 * 32;
    return width <= (1LL << 30) && height <= (1LL << 30) && row * height < (1LL << 31) - 64;
}

const char* formatName(FileFormat f) {
    switch (f) {
    case FileFormat::Png: return "PNG";
    case FileFormat::Jpeg: return "JPEG";
    case FileFormat::Pbm: return "PBM";
    case FileFormat::Pgm: return "PGM";
    case FileFormat::Ppm: return "PPM";
    case FileFormat::Pnm: return "PNM";
    case FileFormat::Pam: return "PAM";
    case FileFormat::Pfm: return "PFM";
    }
    return "?";
}

namespace {

std::string lowerExtension(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    const std::size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string ext = path.substr(dot + 1);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

}  // namespace

FileFormat formatForPath(const std::string& path) {
    static const struct {
        const char* ext;
        FileFormat format;
    } kExtensions[] = {
        {"png", FileFormat::Png}, {"jpg", FileFormat::Jpeg}, {"jpeg", FileFormat::Jpeg},
        {"pbm", FileFormat::Pbm}, {"pgm", FileFormat::Pgm},  {"ppm", FileFormat::Ppm},
        {"pnm", FileFormat::Pnm}, {"pam", FileFormat::Pam},  {"pfm", FileFormat::Pfm},
    };
    const std::string ext = lowerExtension(path);
    for (const auto& e : kExtensions)
        if (ext == e.ext) return e.format;
    throw Error(path + ": unsupported output format" +
                (ext.empty() ? std::string(" (no extension)") : " '." + ext + "'") +
                "; use .png, .jpg, .pbm, .pgm, .ppm, .pnm, .pam or .pfm");
}

Encoding encodingFor(FileFormat format, int channels, Sample wanted) {
    const bool grey = channels == 1;
    const bool alpha = channels == 2 || channels == 4;
    const Sample integer = wanted == Sample::F32 ? Sample::U16 : wanted;
    switch (format) {
    case FileFormat::Png:
        if (wanted == Sample::Bit && !grey) return {Sample::U8, ""};
        return {integer, ""};
    case FileFormat::Jpeg:
        if (alpha) return {Sample::U8, "JPEG has no alpha channel; write .png or .pam"};
        return {Sample::U8, ""};
    case FileFormat::Pbm:
        if (!grey) return {Sample::Bit, "PBM holds one black-and-white channel; write .png or .pam"};
        return {Sample::Bit, ""};
    case FileFormat::Pgm:
        if (!grey) return {Sample::U8, "PGM holds one grey channel; write .ppm, .pam or .png"};
        return {integer == Sample::Bit ? Sample::U8 : integer, ""};
    case FileFormat::Ppm:
        if (channels != 3)
            return {Sample::U8, "PPM holds three colour channels; write .pgm, .pam or .png"};
        return {integer == Sample::Bit ? Sample::U8 : integer, ""};
    case FileFormat::Pnm:
        if (alpha) return {Sample::U8, "PNM has no alpha channel; write .pam or .png"};
        if (!grey && integer == Sample::Bit) return {Sample::U8, ""};
        return {integer, ""};
    case FileFormat::Pam: return {integer, ""};
    case FileFormat::Pfm:
        if (channels != 1 && channels != 3)
            return {Sample::F32, "PFM holds one or three channels; write .pam or .png"};
        return {Sample::F32, ""};
    }
    return {Sample::U8, "unknown format"};
}

// ---------------------------------------------------------------------------
// Reading

namespace {

struct OpenFile {
    std::FILE* f;
    explicit OpenFile(const std::string& path) : f(std::fopen(path.c_str(), "rb")) {
        if (!f) throw Error(path + ": cannot open: " + std::strerror(errno));
    }
    ~OpenFile() { std::fclose(f); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
};

enum class Kind { Png, Jpeg, Pnm, Unknown };

Kind sniff(std::FILE* f, const std::string& path) {
    unsigned char magic[8] = {};
    const std::size_t n = std::fread(magic, 1, sizeof magic, f);
    if (std::ferror(f)) throw Error(path + ": cannot read: " + std::strerror(errno));
    std::rewind(f);
    if (n == 0) throw Error(path + ": empty file");
    static const unsigned char kPng[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (n == 8 && std::memcmp(magic, kPng, 8) == 0) return Kind::Png;
    if (n >= 3 && magic[0] == 0xff && magic[1] == 0xd8 && magic[2] == 0xff) return Kind::Jpeg;
    if (n >= 2 && magic[0] == 'P' &&
        ((magic[1] >= '1' && magic[1] <= '7') || magic[1] == 'F' || magic[1] == 'f'))
        return Kind::Pnm;
    return Kind::Unknown;
}

[[noreturn]] void unknownFormat(const std::string& path) {
    throw Error(path + ": unsupported format (not a PNG, JPEG or PNM file)");
}

}  // namespace

Picture readPicture(const std::string& path) {
    OpenFile file(path);
    switch (sniff(file.f, path)) {
    case Kind::Png: return codec::readPng(file.f, path);
    case Kind::Jpeg: return codec::readJpeg(file.f, path);
    case Kind::Pnm: return codec::readPnm(file.f, path);
    case Kind::Unknown: break;
    }
    unknownFormat(path);
}

FileInfo probePicture(const std::string& path) {
    OpenFile file(path);
    switch (sniff(file.f, path)) {
    case Kind::Png: return codec::probePng(file.f, path);
    case Kind::Jpeg: return codec::probeJpeg(file.f, path);
    case Kind::Pnm: return codec::probePnm(file.f, path);
    case Kind::Unknown: break;
    }
    unknownFormat(path);
}

// ---------------------------------------------------------------------------
// Writing

AtomicFile::AtomicFile(const std::string& path) : path_(path) {
    // The temporary file sits beside the target, so that the final rename
    // stays within one file system and replaces the target in one step.
    const std::size_t slash = path.find_last_of('/');
    const std::string dir = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string temp = dir + "." + base + ".XXXXXX";
    const int fd = mkstemp(&temp[0]);
    if (fd < 0) throw Error(path + ": cannot write: " + std::strerror(errno));
    temp_ = temp;
    file_ = fdopen(fd, "wb");
    if (!file_) {
        const int e = errno;
        close(fd);
        std::remove(temp_.c_str());
        throw Error(path + ": cannot write: " + std::strerror(e));
    }
}

AtomicFile::~AtomicFile() {
    if (file_) std::fclose(file_);
    if (!temp_.empty()) std::remove(temp_.c_str());
}

void AtomicFile::commit() {
    const bool flushed = std::fflush(file_) == 0 && !std::ferror(file_);
    const int e = errno;
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!flushed || !closed) throw Error(path_ + ": cannot write: " + std::strerror(e));
    // mkstemp creates the file readable by its owner only; a picture gets the
    // permissions any new file of the user would.
    const mode_t mask = umask(0);
    umask(mask);
    chmod(temp_.c_str(), 0666 & ~mask);
    if (std::rename(temp_.c_str(), path_.c_str()) != 0)
        throw Error(path_ + ": cannot write: " + std::strerror(errno));
    temp_.clear();
}

void writePicture(const std::string& path, const Picture& picture, const WriteOptions& options) {
    const FileFormat format = formatForPath(path);
    const Encoding enc = encodingFor(format, picture.channels, picture.sample);
    if (!enc.problem.empty()) throw Error(path + ": " + enc.problem);
    if (enc.sample != picture.sample)
        throw Error(path + ": " + sampleName(picture.sample) + " samples cannot be written as " +
                    formatName(format));
    AtomicFile file(path);
    switch (format) {
    case FileFormat::Png: codec::writePng(file.stream(), picture, path); break;
    case FileFormat::Jpeg: codec::writeJpeg(file.stream(), picture, options.jpegQuality, path); break;
    default: codec::writePnm(file.stream(), picture, format, path); break;
    }
    file.commit();
}

}  // namespace ozltool
