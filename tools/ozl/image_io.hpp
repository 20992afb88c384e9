// Picture files: PNG, JPEG and the PNM family (PBM, PGM, PPM, PAM, PFM), read
// into and written from one plain in-memory form. Nothing here knows about the
// library; tools/ozl/image.hpp moves pictures into library images and back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace ozltool {

// How one sample is stored: 1-bit (0 or 1), 8-bit, 16-bit (host byte order in
// memory) or 32-bit float.
enum class Sample { Bit, U8, U16, F32 };

int sampleBytes(Sample s);
// The largest value of an integer sample: 1, 255 or 65535 (1.0 for float).
double sampleWhite(Sample s);
const char* sampleName(Sample s);

// An uncompressed picture: rows top to bottom, channels interleaved (grey;
// grey and alpha; red, green, blue; red, green, blue, alpha).
struct Picture {
    int width = 0;
    int height = 0;
    int channels = 0;
    Sample sample = Sample::U8;
    std::vector<unsigned char> data;

    Picture() = default;
    Picture(int w, int h, int c, Sample s);

    bool hasAlpha() const { return channels == 2 || channels == 4; }
    std::size_t rowBytes() const;
    unsigned char* row(int y) { return data.data() + rowBytes() * static_cast<std::size_t>(y); }
    const unsigned char* row(int y) const {
        return data.data() + rowBytes() * static_cast<std::size_t>(y);
    }
    // One sample as a number (an integer value, or the float), and its store.
    double get(int x, int y, int c) const;
    void set(int x, int y, int c, double v);
};

enum class FileFormat { Png, Jpeg, Pbm, Pgm, Ppm, Pnm, Pam, Pfm };

const char* formatName(FileFormat f);
// The format a file name asks for, from its extension; throws ozltool::Error
// naming the extensions understood when there is none of them.
FileFormat formatForPath(const std::string& path);

struct WriteOptions {
    int jpegQuality = 92;  // 1..100
};

// What a file holds, from its first bytes and header.
struct FileInfo {
    FileFormat format;
    int width, height, channels;
    Sample sample;
};

// Reads a picture, recognising the format by its content, not its name. Any
// problem (missing, unreadable, truncated, corrupt, unsupported) throws
// ozltool::Error with a message that names the file.
Picture readPicture(const std::string& path);
FileInfo probePicture(const std::string& path);

// Writes a picture in the format its name asks for. The file appears only
// when it is complete: the data goes to a temporary file in the same folder,
// renamed at the end. A picture the format cannot hold (alpha in JPEG, colour
// in PGM ...) throws before anything is written.
void writePicture(const std::string& path, const Picture& picture, const WriteOptions& options);

// The samples a format stores for a picture of this shape, or an error text
// when it cannot hold it at all.
struct Encoding {
    Sample sample;
    std::string problem;  // empty when the format can hold the picture
};
Encoding encodingFor(FileFormat format, int channels, Sample wanted);

// A file written all at once or not at all (see writePicture).
class AtomicFile {
public:
    explicit AtomicFile(const std::string& path);
    ~AtomicFile();  // removes the temporary file unless commit() ran
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    std::FILE* stream() { return file_; }
    const std::string& path() const { return path_; }
    void commit();

private:
    std::string path_, temp_;
    std::FILE* file_ = nullptr;
};

// The codecs, each in its own file.
namespace codec {
Picture readPng(std::FILE* f, const std::string& path);
void writePng(std::FILE* f, const Picture& p, const std::string& path);
Picture readJpeg(std::FILE* f, const std::string& path);
void writeJpeg(std::FILE* f, const Picture& p, int quality, const std::string& path);
Picture readPnm(std::FILE* f, const std::string& path);
void writePnm(std::FILE* f, const Picture& p, FileFormat format, const std::string& path);
// Header of a PNM file only, for probePicture.
FileInfo probePnm(std::FILE* f, const std::string& path);
FileInfo probePng(std::FILE* f, const std::string& path);
FileInfo probeJpeg(std::FILE* f, const std::string& path);
}  // namespace codec

// The largest picture the tools accept: the library addresses an image's
// bytes with 32-bit signed sizes.
bool pictureFits(long long width, long long height, int channels, Sample s);

}  // namespace ozltool
