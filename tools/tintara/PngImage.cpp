// Writes RGB and gray results as PNG, for looking at a proof.
#include <png.h>

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <vector>

#include "HostSupport.h"
#include "Image.h"

namespace host {

namespace {

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};

void PngError(png_structp png, png_const_charp message) {
    auto* text = static_cast<std::string*>(png_get_error_ptr(png));
    *text = message;
    png_longjmp(png, 1);
}

void PngWarning(png_structp, png_const_charp) {}

// The PNG colour type of an image.
int PngColourType(const Image& image, const std::string& shownName) {
    CheckPngFits(image, shownName);
    const uint16_t colours = image.ColourChannels();
    if (colours == 1) return image.extra ? PNG_COLOR_TYPE_GRAY_ALPHA : PNG_COLOR_TYPE_GRAY;
    return image.extra ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB;
}

// One row interleaved and big-endian, as PNG stores it.
void PackRow(const Image& image, uint32_t row, std::vector<uint8_t>& out) {
    const uint32_t bytes = image.BytesPerSample();
    out.resize(size_t(image.width) * image.samples * bytes);
    for (uint32_t x = 0; x < image.width; ++x)
        for (uint16_t s = 0; s < image.samples; ++s) {
            const uint8_t* from = image.planar
                                      ? image.planes[s].data() + row * image.RowBytes() + uint64_t(x) * bytes
                                      : image.planes[0].data() + row * image.RowBytes() +
                                            (uint64_t(x) * image.samples + s) * bytes;
            uint8_t* to = out.data() + (size_t(x) * image.samples + s) * bytes;
            if (bytes == 1) {
                to[0] = from[0];
            } else {
                uint16_t value;
                std::copy(from, from + 2, reinterpret_cast<uint8_t*>(&value));
                to[0] = uint8_t(value >> 8);
                to[1] = uint8_t(value & 0xFF);
            }
        }
}

}  // namespace

void CheckPngFits(const Image& image, const std::string& shownName) {
    const uint16_t colours = image.ColourChannels();
    if ((colours != 1 && colours != 3) || image.photometric == 5 /* separated */ || image.extra > 1)
        throw Failure("cannot write " + shownName + ": PNG holds gray or RGB with at most one alpha, not " +
                      std::to_string(colours) + " colour channels and " + std::to_string(image.extra) +
                      " extra samples");
}

bool IsPngName(const std::string& path) {
    if (path.size() < 4) return false;
    std::string end = path.substr(path.size() - 4);
    std::transform(end.begin(), end.end(), end.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return end == ".png";
}

void WritePng(const std::string& path, const Image& image, const std::string& shownName) {
    const int colourType = PngColourType(image, shownName);
    std::unique_ptr<FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file) throw Failure("cannot write " + shownName);
    std::string error;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, PngError, PngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        throw Failure("cannot write " + shownName + ": out of memory");
    }
    std::vector<uint8_t> row;
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        throw Failure("cannot write " + shownName + ": " + error);
    }
    png_init_io(png, file.get());
    png_set_IHDR(png, info, image.width, image.height, image.bits, colourType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (image.hasResolution && image.resolutionUnit != 1) {
        // PNG counts pixels per metre; TIFF per inch (2) or per centimetre (3).
        const double perMetre = image.resolutionUnit == 3 ? 100.0 : 100.0 / 2.54;
        png_set_pHYs(png, info, png_uint_32(image.xResolution * perMetre + 0.5),
                     png_uint_32(image.yResolution * perMetre + 0.5), PNG_RESOLUTION_METER);
    }
    if (!image.iccProfile.empty())
        png_set_iCCP(png, info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, image.iccProfile.data(),
                     png_uint_32(image.iccProfile.size()));
    png_write_info(png, info);
    for (uint32_t y = 0; y < image.height; ++y) {
        PackRow(image, y, row);
        png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (std::fflush(file.get()) != 0) throw Failure("cannot write " + shownName);
}

}  // namespace host
