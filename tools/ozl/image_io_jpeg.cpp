// JPEG through libjpeg (libjpeg-turbo on Debian). Its fatal errors leave by
// longjmp, so the functions that set the jump point hold only trivially
// destructible locals and fill buffers their callers own.
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

#include <jpeglib.h>
#include <jerror.h>

#include "error.hpp"
#include "image_io.hpp"

namespace ozltool::codec {
namespace {

struct JpegError {
    jpeg_error_mgr manager;  // first, so that the library's pointer is ours too
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
    bool truncated;
};

extern "C" void onJpegError(j_common_ptr info) {
    auto* e = reinterpret_cast<JpegError*>(info->err);
    (*info->err->format_message)(info, e->message);
    std::longjmp(e->jump, 1);
}

extern "C" void onJpegMessage(j_common_ptr) {}

// Warnings are not printed, but a file that ends early is remembered: libjpeg
// would fill the missing rows with grey, and a truncated input is an error.
extern "C" void onJpegEmit(j_common_ptr info, int level) {
    auto* e = reinterpret_cast<JpegError*>(info->err);
    if (level < 0 && info->err->msg_code == JWRN_JPEG_EOF) {
        e->truncated = true;
        (*info->err->format_message)(info, e->message);
    }
}

struct Decoder {
    jpeg_decompress_struct info{};
    JpegError error{};
    Decoder() {
        info.err = jpeg_std_error(&error.manager);
        error.manager.error_exit = onJpegError;
        error.manager.output_message = onJpegMessage;
        error.manager.emit_message = onJpegEmit;
        jpeg_create_decompress(&info);
    }
    ~Decoder() { jpeg_destroy_decompress(&info); }
};

// Reads the header and asks for grey or RGB output.
bool readHeader(Decoder& d, std::FILE* f, bool* unsupportedColor) {
    if (setjmp(d.error.jump)) return false;
    jpeg_stdio_src(&d.info, f);
    jpeg_read_header(&d.info, TRUE);
    *unsupportedColor = d.info.jpeg_color_space == JCS_CMYK || d.info.jpeg_color_space == JCS_YCCK;
    if (d.info.num_components == 1) d.info.out_color_space = JCS_GRAYSCALE;
    else d.info.out_color_space = JCS_RGB;
    return true;
}

bool readRows(Decoder& d, Picture* p) {
    if (setjmp(d.error.jump)) return false;
    jpeg_start_decompress(&d.info);
    while (d.info.output_scanline < d.info.output_height) {
        JSAMPROW row = p->row(static_cast<int>(d.info.output_scanline));
        jpeg_read_scanlines(&d.info, &row, 1);
    }
    jpeg_finish_decompress(&d.info);
    return true;
}

[[noreturn]] void corrupt(const Decoder& d, const std::string& path) {
    throw Error(path + ": corrupt JPEG file (" + d.error.message + ")");
}

void decodeHeader(Decoder& d, std::FILE* f, const std::string& path) {
    bool cmyk = false;
    if (!readHeader(d, f, &cmyk)) corrupt(d, path);
    if (cmyk) throw Error(path + ": unsupported JPEG colour space (CMYK)");
}

}  // namespace

FileInfo probeJpeg(std::FILE* f, const std::string& path) {
    Decoder d;
    decodeHeader(d, f, path);
    return {FileFormat::Jpeg, static_cast<int>(d.info.image_width),
            static_cast<int>(d.info.image_height), d.info.num_components == 1 ? 1 : 3,
            Sample::U8};
}

Picture readJpeg(std::FILE* f, const std::string& path) {
    Decoder d;
    decodeHeader(d, f, path);
    const int channels = d.info.out_color_space == JCS_GRAYSCALE ? 1 : 3;
    if (!pictureFits(d.info.image_width, d.info.image_height, channels, Sample::U8))
        throw Error(path + ": picture too large (" + std::to_string(d.info.image_width) + "x" +
                    std::to_string(d.info.image_height) + ")");
    Picture p(static_cast<int>(d.info.image_width), static_cast<int>(d.info.image_height),
              channels, Sample::U8);
    if (!readRows(d, &p)) corrupt(d, path);
    if (d.error.truncated) corrupt(d, path);
    return p;
}

namespace {

struct Encoder {
    jpeg_compress_struct info{};
    JpegError error{};
    Encoder() {
        info.err = jpeg_std_error(&error.manager);
        error.manager.error_exit = onJpegError;
        error.manager.output_message = onJpegMessage;
        jpeg_create_compress(&info);
    }
    ~Encoder() { jpeg_destroy_compress(&info); }
};

bool encode(Encoder& e, std::FILE* f, const Picture& p, int quality) {
    if (setjmp(e.error.jump)) return false;
    jpeg_stdio_dest(&e.info, f);
    e.info.image_width = static_cast<JDIMENSION>(p.width);
    e.info.image_height = static_cast<JDIMENSION>(p.height);
    e.info.input_components = p.channels;
    e.info.in_color_space = p.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&e.info);
    jpeg_set_quality(&e.info, quality, TRUE);
    jpeg_start_compress(&e.info, TRUE);
    while (e.info.next_scanline < e.info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(p.row(static_cast<int>(e.info.next_scanline)));
        jpeg_write_scanlines(&e.info, &row, 1);
    }
    jpeg_finish_compress(&e.info);
    return true;
}

}  // namespace

void writeJpeg(std::FILE* f, const Picture& p, int quality, const std::string& path) {
    Encoder e;
    if (!encode(e, f, p, quality)) throw Error(path + ": cannot write JPEG (" + e.error.message + ")");
}

}  // namespace ozltool::codec
