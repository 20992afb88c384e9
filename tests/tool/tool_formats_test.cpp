// Every pixel format through the tool's readers and writers: each shape and sample size to each format that
// holds it and back, the bytes of written PNG and PNM files checked with independent decoders (libpng, the
// harness's PNM reader), and the variants the readers must accept.
#include <gtest/gtest.h>

#include <png.h>

#include <cmath>
#include <cstdio>

#include "tool/tool_harness.hpp"

namespace ozltest {
namespace {

// The samples of a PNG as stored (no transforms: 16-bit big-endian, 1-bit packed from the most significant
// bit), read with libpng directly.
Pixels decodePng(const std::string& path) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return Pixels();
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    Pixels p;
    if (setjmp(png_jmpbuf(png))) {
        ADD_FAILURE() << path << ": libpng cannot read it";
    } else {
        png_init_io(png, f);
        png_read_info(png, info);
        const int bits = png_get_bit_depth(png, info);
        p = Pixels(png_get_image_width(png, info), png_get_image_height(png, info), png_get_channels(png, info), (1 << bits) - 1);
        std::vector<unsigned char> row(png_get_rowbytes(png, info));
        for (int y = 0, n = p.width * p.channels; y < p.height; ++y) {
            png_read_row(png, row.data(), nullptr);
            for (int i = 0; i < n; ++i)
                p.v[size_t(y) * n + i] = bits == 16 ? row[2 * i] * 256 + row[2 * i + 1] : bits == 1 ? (row[i / 8] >> (7 - i % 8)) & 1 : row[i];
        }
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(f);
    return p;
}

// libpng writing what the tool does not write itself: palettes, 4-bit grey, interlacing.
void encodePng(const std::string& path, int colorType, int bits, bool interlace, std::vector<std::vector<unsigned char>> rows,
               const std::vector<png_color>& palette = {}, const std::vector<png_byte>& alpha = {}) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        ADD_FAILURE() << "libpng failed writing " << path;
    } else {
        png_init_io(png, f);
        png_set_IHDR(png, info, kW, rows.size(), bits, colorType, interlace ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (!palette.empty()) png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
        if (!alpha.empty()) png_set_tRNS(png, info, alpha.data(), static_cast<int>(alpha.size()), nullptr);
        png_write_info(png, info);
        std::vector<png_bytep> pointers;
        for (auto& r : rows) pointers.push_back(r.data());
        png_write_image(png, pointers.data());
        png_write_end(png, nullptr);
    }
    png_destroy_write_struct(&png, &info);
    std::fclose(f);
}

struct RoundTrip {
    const char* file;      // the format under test, by extension
    int channels, maxval;  // of the picture (maxval 1: black and white; 0: float)
    const char* info;      // what `ozl info` says of the file
};

const RoundTrip kRoundTrips[] = {
    {"grey8.png", 1, 255, "PNG 13x9 grey 8-bit"},        {"grey16.png", 1, 65535, "PNG 13x9 grey 16-bit"},
    {"bw.png", 1, 1, "PNG 13x9 grey 1-bit"},             {"ga8.png", 2, 255, "PNG 13x9 grey+alpha 8-bit"},
    {"rgb8.png", 3, 255, "PNG 13x9 RGB 8-bit"},          {"rgb16.png", 3, 65535, "PNG 13x9 RGB 16-bit"},
    {"rgba8.png", 4, 255, "PNG 13x9 RGBA 8-bit"},        {"bw.pbm", 1, 1, "PBM 13x9 grey 1-bit"},
    {"grey8.pgm", 1, 255, "PGM 13x9 grey 8-bit"},        {"grey16.pgm", 1, 65535, "PGM 13x9 grey 16-bit"},
    {"rgb8.ppm", 3, 255, "PPM 13x9 RGB 8-bit"},          {"rgb16.ppm", 3, 65535, "PPM 13x9 RGB 16-bit"},
    {"rgb8.pnm", 3, 255, "PPM 13x9 RGB 8-bit"},          {"bw.pam", 1, 1, "PAM 13x9 grey 1-bit"},
    {"grey16.pam", 1, 65535, "PAM 13x9 grey 16-bit"},    {"ga8.pam", 2, 255, "PAM 13x9 grey+alpha 8-bit"},
    {"rgb16.pam", 3, 65535, "PAM 13x9 RGB 16-bit"},      {"rgba8.pam", 4, 255, "PAM 13x9 RGBA 8-bit"},
    {"grey.pfm", 1, 0, "PFM 13x9 grey 32-bit float"},    {"rgb.pfm", 3, 0, "PFM 13x9 RGB 32-bit float"},
    {"grey.jpg", 1, 255, "JPEG 13x9 grey 8-bit"},        {"rgb.jpg", 3, 255, "JPEG 13x9 RGB 8-bit"},
};

// Random samples, floats of every sign and size; a smooth picture for JPEG (within a level at quality 100).
TEST(ToolFormats, EveryPixelFormatRoundTrips) {
    unsigned seed = 10;
    for (const RoundTrip& t : kRoundTrips) {
        SCOPED_TRACE(t.file);
        const std::string file = t.file, ext = file.substr(file.find('.') + 1), pam = t.maxval == 0 ? ".pfm" : ".pam";
        Pixels ref = randomPixels(kW, kH, t.channels, t.maxval ? t.maxval : 1 << 20, ++seed);
        for (size_t i = 0; i < ref.v.size(); ++i)
            if (ext == "jpg") ref.v[i] = 30 + 8 * (i / t.channels % kW) + 6 * (i / t.channels / kW) + 40 * (i % t.channels);
            else if (t.maxval == 0) ref.v[i] = (ref.v[i] - (1 << 19)) / 1024.0;
        ref.maxval = t.maxval;
        writePam(at("ref" + pam), ref);
        Result r = ozl({"copy", "--quality", "100", "ref" + pam, file});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(ozl({"info", file}).out, file + ": " + t.info + "\n");
        r = ozl({"copy", file, "back" + pam});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(compare(readPnm(at("back" + pam)), ref, ext == "jpg" ? 1 : 0), "");
        if (ext != "jpg") EXPECT_EQ(compare(ext == "png" ? decodePng(at(file)) : readPnm(at(file)), ref), "");
    }
}

// Sample sizes change by the value rules: unsigned samples are fractions of white, a 1-bit white is the
// output's white.
TEST(ToolFormats, SampleSizesConvertByWhite) {
    checkCases({
        {{"copy", "g16.pam", "--bits", "8"}, "", "g16", 255, [](At p) { return std::floor(p.v / 257 + 0.5); }},
        {{"copy", "g8.pam", "--bits", "16"}, "", "g8", 65535, [](At p) { return p.v * 257; }},
        {{"copy", "g8.pam", "--bits", "1"}, "", "g8", 1, [](At p) { return p.v >= 128 ? 1.0 : 0.0; }},
        {{"copy", "bw1.pam", "--bits", "16"}, "", "bw1", 65535, [](At p) { return p.v * 65535; }},
        {{"copy", "bw1.pam", "--depth", "8u"}, "out.pgm", "bw1", 255, [](At p) { return p.v * 255; }},
        {{"copy", "g8.pam", "--bits", "32"}, "out.pfm", "g8", 0, [](At p) { return p.v; }},
    });
}

// What other programs write: plain PNM, odd maximum values, big-endian PFM, interlaced palettes with
// transparency, 4-bit grey PNG.
TEST(ToolFormats, ReadersAcceptTheVariants) {
    const Pixels grey = randomPixels(kW, kH, 1, 255, 50), rgb = randomPixels(kW, kH, 3, 255, 51),
                 bw = randomPixels(kW, kH, 1, 1, 52);
    Pixels odd = randomPixels(kW, kH, 1, 1023, 53), small = randomPixels(kW, kH, 1, 100, 54);
    for (const auto& [name, p] : {std::pair{"plain.pgm", &grey}, {"plain.ppm", &rgb}, {"plain.pbm", &bw}, {"odd.pgm", &odd}, {"small.pgm", &small}})
        writePam(at(name), *p, true);
    for (auto [p, white] : {std::pair{&odd, 65535}, {&small, 255}}) {  // scaled to the nearest sample size's white
        for (double& v : p->v) v = std::floor(v * white / p->maxval + 0.5);
        p->maxval = white;
    }
    // Big-endian PFM (a positive scale): 1.5 and -2.25.
    writeBytes(at("be.pfm"), std::string("Pf\n2 1\n1.0\n\x3f\xc0\0\0\xc0\x10\0\0", 19));
    Pixels be(2, 1, 1, 0);
    be.v = {1.5, -2.25};

    // An interlaced palette of three colours, the second half transparent; a 4-bit grey ramp.
    std::vector<std::vector<unsigned char>> indices(kH, std::vector<unsigned char>(kW)),
        nibbles(kH, std::vector<unsigned char>((kW + 1) / 2));
    Pixels paletted(kW, kH, 4, 255), grey4(kW, kH, 1, 255);
    const png_color colours[3] = {{200, 10, 20}, {0, 128, 255}, {7, 7, 7}};
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const int i = (x + 2 * y) % 3, v = (x + y) % 16;
            indices[y][x] = static_cast<unsigned char>(i);
            const double rgba[4] = {double(colours[i].red), double(colours[i].green), double(colours[i].blue), i == 1 ? 128.0 : 255.0};
            for (int c = 0; c < 4; ++c) paletted.at(x, y, c) = rgba[c];
            nibbles[y][x / 2] |= static_cast<unsigned char>(x % 2 ? v : v << 4);
            grey4.at(x, y, 0) = v * 17;
        }
    encodePng(at("palette.png"), PNG_COLOR_TYPE_PALETTE, 8, true, indices, {colours[0], colours[1], colours[2]}, {255, 128});
    encodePng(at("grey4.png"), PNG_COLOR_TYPE_GRAY, 4, false, nibbles);

    const std::pair<const char*, const Pixels*> cases[] = {
        {"plain.pgm", &grey}, {"plain.ppm", &rgb}, {"plain.pbm", &bw}, {"odd.pgm", &odd},
        {"small.pgm", &small}, {"be.pfm", &be}, {"palette.png", &paletted}, {"grey4.png", &grey4}};
    for (const auto& [name, want] : cases) {
        SCOPED_TRACE(name);
        const std::string output = want->maxval == 0 ? "o.pfm" : "o.pam";
        ASSERT_EQ(ozl({"copy", name, output}).err, "");
        EXPECT_EQ(compare(readPnm(at(output)), *want), "");
    }
}

}  // namespace
}  // namespace ozltest
