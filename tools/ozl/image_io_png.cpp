// PNG through libpng. libpng reports errors by longjmp: every function that
// sets the jump point holds only trivially destructible locals, and the
// buffers it fills are owned by its caller.
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <png.h>

#include "error.hpp"
#include "image_io.hpp"

namespace ozltool::codec {
namespace {

bool hostIsLittleEndian() {
    const std::uint16_t one = 1;
    unsigned char first;
    std::memcpy(&first, &one, 1);
    return first == 1;
}

struct PngContext {
    png_structp png = nullptr;
    png_infop info = nullptr;
    bool writing = false;
    char message[256] = "";

    ~PngContext() {
        if (writing) png_destroy_write_struct(&png, &info);
        else png_destroy_read_struct(&png, &info, nullptr);
    }
};

extern "C" void onPngError(png_structp png, png_const_charp message) {
    auto* c = static_cast<PngContext*>(png_get_error_ptr(png));
    std::snprintf(c->message, sizeof c->message, "%s", message ? message : "unknown error");
    png_longjmp(png, 1);
}

extern "C" void onPngWarning(png_structp, png_const_charp) {}

void startReading(PngContext& c, const std::string& path) {
    c.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &c, onPngError, onPngWarning);
    if (c.png) c.info = png_create_info_struct(c.png);
    if (!c.png || !c.info) throw Error(path + ": out of memory reading PNG");
}

struct Shape {
    png_uint_32 width, height;
    int channels, bitDepth;
};

// Reads the header and sets the transforms that bring every PNG to grey,
// grey + alpha, RGB or RGBA with 1 (grey only), 8 or 16 bits per sample,
// 16-bit samples in host byte order.
bool readHeader(PngContext& c, std::FILE* f, Shape* shape) {
    if (setjmp(png_jmpbuf(c.png))) return false;
    png_init_io(c.png, f);
    png_read_info(c.png, c.info);
    const int colorType = png_get_color_type(c.png, c.info);
    const int bitDepth = png_get_bit_depth(c.png, c.info);
    const bool transparency = png_get_valid(c.png, c.info, PNG_INFO_tRNS) != 0;
    const bool blackAndWhite = colorType == PNG_COLOR_TYPE_GRAY && bitDepth == 1 && !transparency;
    if (colorType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(c.png);
    if (transparency) png_set_tRNS_to_alpha(c.png);
    if (blackAndWhite)
        png_set_packing(c.png);  // one byte per pixel, 0 or 1
    else if (colorType == PNG_COLOR_TYPE_GRAY && bitDepth < 8)
        png_set_expand_gray_1_2_4_to_8(c.png);
    if (bitDepth == 16 && hostIsLittleEndian()) png_set_swap(c.png);
    png_set_interlace_handling(c.png);
    png_read_update_info(c.png, c.info);
    shape->width = png_get_image_width(c.png, c.info);
    shape->height = png_get_image_height(c.png, c.info);
    shape->channels = png_get_channels(c.png, c.info);
    shape->bitDepth = blackAndWhite ? 1 : png_get_bit_depth(c.png, c.info);
    return true;
}

bool readRows(PngContext& c, png_bytepp rows) {
    if (setjmp(png_jmpbuf(c.png))) return false;
    png_read_image(c.png, rows);
    png_read_end(c.png, nullptr);
    return true;
}

[[noreturn]] void corrupt(const PngContext& c, const std::string& path) {
    // libpng says "Read Error" when the file ends before the data does.
    const bool early = std::strcmp(c.message, "Read Error") == 0;
    throw Error(path + ": corrupt PNG file (" + (early ? "it ends early" : c.message) + ")");
}

Sample sampleOf(int bitDepth) {
    return bitDepth == 1 ? Sample::Bit : bitDepth == 16 ? Sample::U16 : Sample::U8;
}

}  // namespace

FileInfo probePng(std::FILE* f, const std::string& path) {
    PngContext c;
    startReading(c, path);
    Shape s{};
    if (!readHeader(c, f, &s)) corrupt(c, path);
    return {FileFormat::Png, static_cast<int>(s.width), static_cast<int>(s.height), s.channels,
            sampleOf(s.bitDepth)};
}

Picture readPng(std::FILE* f, const std::string& path) {
    PngContext c;
    startReading(c, path);
    Shape s{};
    if (!readHeader(c, f, &s)) corrupt(c, path);
    const Sample sample = sampleOf(s.bitDepth);
    if (!pictureFits(s.width, s.height, s.channels, sample))
        throw Error(path + ": picture too large (" + std::to_string(s.width) + "x" +
                    std::to_string(s.height) + ")");
    Picture p(static_cast<int>(s.width), static_cast<int>(s.height), s.channels, sample);
    if (png_get_rowbytes(c.png, c.info) != p.rowBytes())
        throw Error(path + ": unsupported PNG layout");
    std::vector<png_bytep> rows(s.height);
    for (png_uint_32 y = 0; y < s.height; ++y) rows[y] = p.row(static_cast<int>(y));
    if (!readRows(c, rows.data())) corrupt(c, path);
    return p;
}

namespace {

bool writeAll(PngContext& c, std::FILE* f, const Picture& p, png_bytepp rows) {
    if (setjmp(png_jmpbuf(c.png))) return false;
    static const int kColorTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA,
                                      PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGB_ALPHA};
    const int bitDepth = p.sample == Sample::Bit ? 1 : p.sample == Sample::U16 ? 16 : 8;
    png_init_io(c.png, f);
    png_set_IHDR(c.png, c.info, static_cast<png_uint_32>(p.width),
                 static_cast<png_uint_32>(p.height), bitDepth, kColorTypes[p.channels - 1],
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(c.png, c.info);
    if (bitDepth == 1) png_set_packing(c.png);
    if (bitDepth == 16 && hostIsLittleEndian()) png_set_swap(c.png);
    png_write_image(c.png, rows);
    png_write_end(c.png, nullptr);
    return true;
}

}  // namespace

void writePng(std::FILE* f, const Picture& p, const std::string& path) {
    PngContext c;
    c.writing = true;
    c.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &c, onPngError, onPngWarning);
    if (c.png) c.info = png_create_info_struct(c.png);
    if (!c.png || !c.info) throw Error(path + ": out of memory writing PNG");
    std::vector<png_bytep> rows(static_cast<std::size_t>(p.height));
    for (int y = 0; y < p.height; ++y) rows[y] = const_cast<png_bytep>(p.row(y));
    if (!writeAll(c, f, p, rows.data()))
        throw Error(path + ": cannot write PNG (" + c.message + ")");
}

}  // namespace ozltool::codec
