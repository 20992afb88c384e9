// The PNM family: PBM (P1, P4), PGM (P2, P5), PPM (P3, P6), PAM (P7) and PFM
// (PF, Pf). Plain (ASCII) variants are read; the binary ones are written.
// PBM stores 1 for black, PAM's BLACKANDWHITE 1 for white; 1-bit pictures
// here hold 1 for white. PFM rows go from the bottom up.
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "error.hpp"
#include "image_io.hpp"

namespace ozltool::codec {
namespace {

struct Header {
    char kind = 0;  // '1'..'7', 'F' (colour PFM) or 'f' (grey PFM)
    long long width = 0, height = 0;
    int channels = 1;
    long maxval = 1;
    double pfmScale = 0;  // PFM: negative for little-endian samples
};

class Reader {
public:
    Reader(std::FILE* f, const std::string& path) : f_(f), path_(path) {}

    [[noreturn]] void corrupt(const std::string& what) const {
        throw Error(path_ + ": corrupt PNM file (" + what + ")");
    }
    [[noreturn]] void truncated() const { corrupt("the data ends early"); }

    int get() { return std::fgetc(f_); }

    // Skips blanks and comments, then reads one unsigned decimal number.
    long long number(const char* what) {
        int c = get();
        for (;;) {
            while (c != EOF && std::isspace(c)) c = get();
            if (c != '#') break;
            while (c != EOF && c != '\n' && c != '\r') c = get();
        }
        if (c == EOF) truncated();
        if (!std::isdigit(c)) corrupt(std::string("bad ") + what);
        long long v = 0;
        while (c != EOF && std::isdigit(c)) {
            if (v > (1LL << 40)) corrupt(std::string(what) + " too large");
            v = v * 10 + (c - '0');
            c = get();
        }
        if (c != EOF && !std::isspace(c)) corrupt(std::string("bad ") + what);
        return v;
    }

    // One whitespace-delimited word (PFM scale, PAM header lines).
    std::string word() {
        int c = get();
        while (c != EOF && std::isspace(c)) c = get();
        std::string w;
        while (c != EOF && !std::isspace(c)) {
            w += static_cast<char>(c);
            if (w.size() > 64) corrupt("header word too long");
            c = get();
        }
        if (w.empty()) truncated();
        return w;
    }

    std::string line() {
        std::string l;
        int c = get();
        while (c != EOF && c != '\n') {
            l += static_cast<char>(c);
            if (l.size() > 256) corrupt("header line too long");
            c = get();
        }
        if (c == EOF && l.empty()) truncated();
        return l;
    }

    void bytes(unsigned char* to, std::size_t n) {
        if (std::fread(to, 1, n, f_) != n) truncated();
    }

    const std::string& path() const { return path_; }

private:
    std::FILE* f_;
    const std::string& path_;
};

void readPamHeader(Reader& r, Header* h) {
    bool width = false, height = false, depth = false, maxval = false;
    std::string tuple;
    for (;;) {
        const std::string l = r.line();
        if (l.empty() || l[0] == '#') continue;
        char key[32] = "";
        long long value = 0;
        char text[128] = "";
        if (l == "ENDHDR") break;
        if (std::sscanf(l.c_str(), "TUPLTYPE %127s", text) == 1) {
            tuple = text;
        } else if (std::sscanf(l.c_str(), "%31s %lld", key, &value) == 2) {
            if (value < 0) r.corrupt("negative header value");
            if (!std::strcmp(key, "WIDTH")) h->width = value, width = true;
            else if (!std::strcmp(key, "HEIGHT")) h->height = value, height = true;
            else if (!std::strcmp(key, "DEPTH")) h->channels = static_cast<int>(value > 99 ? 99 : value), depth = true;
            else if (!std::strcmp(key, "MAXVAL")) h->maxval = static_cast<long>(value > 1 << 20 ? 1 << 20 : value), maxval = true;
            else r.corrupt("unknown header line '" + l + "'");
        } else {
            r.corrupt("unknown header line '" + l + "'");
        }
    }
    if (!width || !height || !depth || !maxval) r.corrupt("incomplete PAM header");
    if (h->channels < 1 || h->channels > 4)
        throw Error(r.path() + ": unsupported PAM depth " + std::to_string(h->channels) +
                    " (1 to 4 channels)");
}

Header readHeader(Reader& r) {
    Header h;
    if (r.get() != 'P') r.corrupt("bad magic number");
    h.kind = static_cast<char>(r.get());
    switch (h.kind) {
    case '1':
    case '4':
        h.width = r.number("width");
        h.height = r.number("height");
        break;
    case '2':
    case '3':
    case '5':
    case '6':
        h.width = r.number("width");
        h.height = r.number("height");
        h.maxval = static_cast<long>(r.number("maximum value"));
        h.channels = h.kind == '3' || h.kind == '6' ? 3 : 1;
        break;
    case '7':
        if (r.get() != '\n') r.corrupt("bad PAM header");
        readPamHeader(r, &h);
        break;
    case 'F':
    case 'f': {
        h.width = r.number("width");
        h.height = r.number("height");
        const std::string scale = r.word();
        char* end = nullptr;
        h.pfmScale = std::strtod(scale.c_str(), &end);
        if (*end != '\0' || h.pfmScale == 0 || !std::isfinite(h.pfmScale))
            r.corrupt("bad PFM scale");
        h.channels = h.kind == 'F' ? 3 : 1;
        break;
    }
    default: r.corrupt("bad magic number");
    }
    if (h.width < 1 || h.height < 1) r.corrupt("bad size");
    if (h.maxval < 1 || h.maxval > 65535) r.corrupt("maximum value outside 1..65535");
    return h;
}

Sample sampleOf(const Header& h) {
    if (h.kind == '1' || h.kind == '4') return Sample::Bit;
    if (h.kind == 'F' || h.kind == 'f') return Sample::F32;
    if (h.kind == '7' && h.maxval == 1) return Sample::Bit;
    return h.maxval > 255 ? Sample::U16 : Sample::U8;
}

bool hostIsLittleEndian() {
    const std::uint16_t one = 1;
    unsigned char first;
    std::memcpy(&first, &one, 1);
    return first == 1;
}

// A sample of maxval m scaled so that m becomes the white of the picture's
// samples (255 or 65535), as PNM defines m as white.
struct Rescale {
    long maxval;
    double white;
    double operator()(long v) const {
        if (maxval == static_cast<long>(white)) return static_cast<double>(v);
        return std::floor(static_cast<double>(v) * white / static_cast<double>(maxval) + 0.5);
    }
};

void readRaster(Reader& r, const Header& h, Picture& p) {
    const std::size_t values = static_cast<std::size_t>(p.width) * p.channels;
    const Rescale rescale{h.maxval, sampleWhite(p.sample)};
    switch (h.kind) {
    case '1':
        for (int y = 0; y < p.height; ++y)
            for (int x = 0; x < p.width; ++x) {
                int c = r.get();
                while (c != EOF && (std::isspace(c) || c == '#')) {
                    if (c == '#')
                        while (c != EOF && c != '\n') c = r.get();
                    c = r.get();
                }
                if (c == EOF) r.truncated();
                if (c != '0' && c != '1') r.corrupt("bad PBM bit");
                p.row(y)[x] = c == '0' ? 1 : 0;
            }
        return;
    case '4': {
        std::vector<unsigned char> packed((static_cast<std::size_t>(p.width) + 7) / 8);
        for (int y = 0; y < p.height; ++y) {
            r.bytes(packed.data(), packed.size());
            for (int x = 0; x < p.width; ++x)
                p.row(y)[x] = (packed[x / 8] >> (7 - x % 8)) & 1 ? 0 : 1;
        }
        return;
    }
    case '2':
    case '3':
        for (int y = 0; y < p.height; ++y)
            for (std::size_t i = 0; i < values; ++i) {
                const long long v = r.number("sample");
                if (v > h.maxval) r.corrupt("sample above the maximum value");
                p.set(static_cast<int>(i / p.channels), y, static_cast<int>(i % p.channels),
                      rescale(static_cast<long>(v)));
            }
        return;
    case 'F':
    case 'f': {
        const bool swap = (h.pfmScale < 0) != hostIsLittleEndian();
        for (int y = p.height - 1; y >= 0; --y) {
            unsigned char* row = p.row(y);
            r.bytes(row, p.rowBytes());
            if (swap)
                for (std::size_t i = 0; i < values; ++i) {
                    unsigned char* b = row + 4 * i;
                    std::swap(b[0], b[3]);
                    std::swap(b[1], b[2]);
                }
        }
        return;
    }
    default: {  // binary P5, P6, P7: 1 or 2 bytes per sample, big-endian
        const int bytes = h.maxval > 255 ? 2 : 1;
        std::vector<unsigned char> raw(values * bytes);
        for (int y = 0; y < p.height; ++y) {
            r.bytes(raw.data(), raw.size());
            for (std::size_t i = 0; i < values; ++i) {
                const long v = bytes == 2 ? (raw[2 * i] << 8) | raw[2 * i + 1] : raw[i];
                if (v > h.maxval) r.corrupt("sample above the maximum value");
                p.set(static_cast<int>(i / p.channels), y, static_cast<int>(i % p.channels),
                      p.sample == Sample::Bit ? static_cast<double>(v) : rescale(v));
            }
        }
        return;
    }
    }
}

FileFormat formatOf(char kind) {
    switch (kind) {
    case '1':
    case '4': return FileFormat::Pbm;
    case '2':
    case '5': return FileFormat::Pgm;
    case '3':
    case '6': return FileFormat::Ppm;
    case '7': return FileFormat::Pam;
    default: return FileFormat::Pfm;
    }
}

}  // namespace

FileInfo probePnm(std::FILE* f, const std::string& path) {
    Reader r(f, path);
    const Header h = readHeader(r);
    return {formatOf(h.kind), static_cast<int>(h.width), static_cast<int>(h.height), h.channels,
            sampleOf(h)};
}

Picture readPnm(std::FILE* f, const std::string& path) {
    Reader r(f, path);
    const Header h = readHeader(r);
    const Sample sample = sampleOf(h);
    if (!pictureFits(h.width, h.height, h.channels, sample))
        throw Error(path + ": picture too large (" + std::to_string(h.width) + "x" +
                    std::to_string(h.height) + ")");
    Picture p(static_cast<int>(h.width), static_cast<int>(h.height), h.channels, sample);
    readRaster(r, h, p);
    return p;
}

namespace {

void put(std::FILE* f, const std::string& s) { std::fwrite(s.data(), 1, s.size(), f); }

const char* pamTuple(const Picture& p) {
    static const char* const kTypes[2][4] = {
        {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"},
        {"BLACKANDWHITE", "BLACKANDWHITE_ALPHA", "RGB", "RGB_ALPHA"}};
    return kTypes[p.sample == Sample::Bit ? 1 : 0][p.channels - 1];
}

}  // namespace

void writePnm(std::FILE* f, const Picture& p, FileFormat format, const std::string& path) {
    const std::string size = std::to_string(p.width) + " " + std::to_string(p.height) + "\n";
    const std::size_t values = static_cast<std::size_t>(p.width) * p.channels;
    if (format == FileFormat::Pfm) {
        put(f, std::string(p.channels == 3 ? "PF\n" : "Pf\n") + size +
                   (hostIsLittleEndian() ? "-1.0\n" : "1.0\n"));
        for (int y = p.height - 1; y >= 0; --y) std::fwrite(p.row(y), 1, p.rowBytes(), f);
        return;
    }
    if (p.sample == Sample::Bit && format != FileFormat::Pam) {
        put(f, "P4\n" + size);
        std::vector<unsigned char> packed((static_cast<std::size_t>(p.width) + 7) / 8);
        for (int y = 0; y < p.height; ++y) {
            std::fill(packed.begin(), packed.end(), 0);
            for (int x = 0; x < p.width; ++x)
                if (!p.row(y)[x]) packed[x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));
            std::fwrite(packed.data(), 1, packed.size(), f);
        }
        return;
    }
    const long maxval = p.sample == Sample::Bit ? 1 : p.sample == Sample::U16 ? 65535 : 255;
    if (format == FileFormat::Pam) {
        put(f, "P7\nWIDTH " + std::to_string(p.width) + "\nHEIGHT " + std::to_string(p.height) +
                   "\nDEPTH " + std::to_string(p.channels) + "\nMAXVAL " +
                   std::to_string(maxval) + "\nTUPLTYPE " + pamTuple(p) + "\nENDHDR\n");
    } else {
        put(f, std::string(p.channels == 3 ? "P6\n" : "P5\n") + size + std::to_string(maxval) +
                   "\n");
    }
    if (p.sample != Sample::U16) {
        for (int y = 0; y < p.height; ++y) std::fwrite(p.row(y), 1, p.rowBytes(), f);
        return;
    }
    std::vector<unsigned char> raw(values * 2);
    for (int y = 0; y < p.height; ++y) {
        for (std::size_t i = 0; i < values; ++i) {
            const auto v = static_cast<unsigned>(p.get(static_cast<int>(i / p.channels), y,
                                                       static_cast<int>(i % p.channels)));
            raw[2 * i] = static_cast<unsigned char>(v >> 8);
            raw[2 * i + 1] = static_cast<unsigned char>(v);
        }
        std::fwrite(raw.data(), 1, raw.size(), f);
    }
    (void)path;
}

}  // namespace ozltool::codec
