// Reads and writes PNG images row by row through libpng: gray or RGB, 8 or 16 bits, one alpha.
#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <list>
#include <memory>
#include <vector>

#include "HostSupport.h"
#include "ImageIO.h"
#include "Metadata.h"

namespace host {

namespace {

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

void PngError(png_structp png, png_const_charp message) {
    auto* text = static_cast<std::string*>(png_get_error_ptr(png));
    *text = message;
    png_longjmp(png, 1);
}

void PngWarning(png_structp, png_const_charp) {}

// The XMP packet under its keyword in an iTXt chunk, as Adobe's tools write it, and a plain
// text chunk as description.
const char kXmpKey[] = "XML:com.adobe.xmp";
const char kDescriptionKey[] = "Description";
const MetadataCarrier kCarriers[] = {{0, kXmpKey, sizeof kXmpKey, MetadataField::Xmp},
                                     {0, kDescriptionKey, sizeof kDescriptionKey, MetadataField::Description}};

// PNG counts pixels per metre; TIFF per inch (2) or per centimetre (3).
double PerMetre(uint16_t unit) { return unit == 3 ? 100.0 : 100.0 / 2.54; }

// Runs libpng calls; false when libpng reports an error, which jumps back here. The calls hold
// nothing that needs a destructor.
template <class Calls>
bool WithoutError(png_structp png, Calls&& calls) {
    if (setjmp(png_jmpbuf(png))) return false;
    calls();
    return true;
}

// The libpng structures of one file, released however the work ends.
struct ReadHandles {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ~ReadHandles() { png_destroy_read_struct(&png, &info, nullptr); }
};
struct WriteHandles {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ~WriteHandles() { png_destroy_write_struct(&png, &info); }
};

// Reads rows in order; an interlaced file is decoded whole on the first band, since its rows
// come complete only after the last pass.
class PngReader : public ImageReader {
public:
    PngReader(const std::string& path, uint64_t maxImageBytes) : path_(path) {
        file_.reset(std::fopen(path.c_str(), "rb"));
        if (!file_) throw Failure("cannot read " + path + ": " + std::strerror(errno));
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &error_, PngError, PngWarning);
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_) throw Failure("cannot read " + path + ": out of memory");
        if (setjmp(png_jmpbuf(png_))) throw Failure("cannot read " + path_ + ": " + error_);
        png_init_io(png_, file_.get());
        // Decoded size is checked below; libpng's own limit on width and height stays.
        png_read_info(png_, info_);
        const png_uint_32 width = png_get_image_width(png_, info_), height = png_get_image_height(png_, info_);
        const int depth = png_get_bit_depth(png_, info_), type = png_get_color_type(png_, info_);
        interlaced_ = png_get_interlace_type(png_, info_) != PNG_INTERLACE_NONE;
        // Palettes and small depths widen to 8-bit samples, transparency to an alpha channel.
        if (type == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png_);
        if (type == PNG_COLOR_TYPE_GRAY && depth < 8) png_set_expand_gray_1_2_4_to_8(png_);
        if (png_get_valid(png_, info_, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png_);
        if (depth == 16) png_set_swap(png_);  // samples in memory are in the machine's order
        if (interlaced_) png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        const int channels = png_get_channels(png_, info_);
        const int outType = png_get_color_type(png_, info_);
        shape_.width = width;
        shape_.height = height;
        shape_.bits = uint16_t(png_get_bit_depth(png_, info_));
        shape_.samples = uint16_t(channels);
        shape_.extra = (outType & PNG_COLOR_MASK_ALPHA) ? 1 : 0;
        if (shape_.extra) shape_.extraKinds = {EXTRASAMPLE_UNASSALPHA};
        shape_.photometric = (outType & PNG_COLOR_MASK_COLOR) ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        shape_.compression = COMPRESSION_ADOBE_DEFLATE;
        shape_.predictor = 2;
        png_uint_32 xppm = 0, yppm = 0;
        int unit = 0;
        if (png_get_pHYs(png_, info_, &xppm, &yppm, &unit) && unit == PNG_RESOLUTION_METER) {
            shape_.hasResolution = true;
            shape_.resolutionUnit = 2;
            shape_.xResolution = float(xppm / PerMetre(2));
            shape_.yResolution = float(yppm / PerMetre(2));
        }
        png_charp name = nullptr;
        int compression = 0;
        png_bytep profile = nullptr;
        png_uint_32 profileLength = 0;
        if (png_get_iCCP(png_, info_, &name, &compression, &profile, &profileLength) && profile)
            shape_.iccProfile.assign(profile, profile + profileLength);
        png_textp texts = nullptr;
        const int count = png_get_text(png_, info_, &texts, nullptr);
        for (int i = 0; i < count; ++i) {
            const size_t length = texts[i].compression > 0 ? texts[i].itxt_length : texts[i].text_length;
            if (const MetadataCarrier* c = FindCarrier(kCarriers, 0, texts[i].key, std::strlen(texts[i].key) + 1))
                SetMetadata(shape_, c->field, reinterpret_cast<const uint8_t*>(texts[i].text), length);
        }
        if (shape_.bits != 8 && shape_.bits != 16) throw Failure("cannot read " + path + ": unexpected sample depth");
        if (shape_.TotalBytes() > std::min(maxImageBytes, kMaxImageBytes))
            throw Failure("cannot read " + path + ": image of " + std::to_string(width) + " x " +
                          std::to_string(height) + " pixels is too large (over " +
                          std::to_string(std::min(maxImageBytes, kMaxImageBytes) >> 20) + " MiB; see --max-image)");
        bandRows_ = interlaced_ ? shape_.height : DefaultBandRows(shape_);
    }

    void Read(Image& band, uint32_t rows) override {
        rowPointers_.resize(rows);
        for (uint32_t r = 0; r < rows; ++r) rowPointers_[r] = band.planes[0].data() + r * band.RowBytes();
        if (!ReadRows(rows)) throw Failure("cannot read " + path_ + ": " + error_);
    }

private:
    // Decodes into the row pointers set up; false after a libpng error.
    bool ReadRows(uint32_t rows) {
        return WithoutError(png_, [&] {
            if (interlaced_) png_read_image(png_, rowPointers_.data());
            else png_read_rows(png_, rowPointers_.data(), nullptr, rows);
        });
    }

    std::string path_, error_;
    FilePtr file_;
    ReadHandles handles_;
    png_structp& png_ = handles_.png;
    png_infop& info_ = handles_.info;
    bool interlaced_ = false;
    std::vector<png_bytep> rowPointers_;
};

// One row interleaved and big-endian, as PNG stores it.
void PackRow(const Image& band, uint32_t row, std::vector<uint8_t>& out) {
    const uint32_t bytes = band.BytesPerSample();
    out.resize(size_t(band.width) * band.samples * bytes);
    for (uint32_t x = 0; x < band.width; ++x)
        for (uint16_t s = 0; s < band.samples; ++s) {
            const uint8_t* from = band.planar ? band.planes[s].data() + row * band.RowBytes() + uint64_t(x) * bytes
                                              : band.planes[0].data() + row * band.RowBytes() +
                                                    (uint64_t(x) * band.samples + s) * bytes;
            uint8_t* to = out.data() + (size_t(x) * band.samples + s) * bytes;
            if (bytes == 1) {
                to[0] = from[0];
            } else {
                uint16_t value;
                std::memcpy(&value, from, 2);
                to[0] = uint8_t(value >> 8);
                to[1] = uint8_t(value & 0xFF);
            }
        }
}

class PngWriter : public ImageWriter {
public:
    PngWriter(const std::string& path, const ImageShape& shape, const std::string& shownName) : shownName_(shownName) {
        file_.reset(std::fopen(path.c_str(), "wb"));
        if (!file_) throw Failure("cannot write " + shownName + ": " + std::strerror(errno));
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error_, PngError, PngWarning);
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_) throw Failure("cannot write " + shownName + ": out of memory");
        colourType_ = shape.ColourChannels() == 1 ? (shape.extra ? PNG_COLOR_TYPE_GRAY_ALPHA : PNG_COLOR_TYPE_GRAY)
                                                           : (shape.extra ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB);
        std::vector<png_text> texts;
        for (const MetadataCarrier& c : kCarriers) {
            const std::vector<uint8_t> bytes = MetadataOf(shape, c.field);
            if (bytes.empty()) continue;
            textBytes_.emplace_back(bytes.begin(), bytes.end());
            textBytes_.back().push_back('\0');
            png_text text{};
            text.key = const_cast<png_charp>(c.key);
            // XMP is UTF-8, which only an international text chunk declares.
            text.compression = c.field == MetadataField::Xmp ? PNG_ITXT_COMPRESSION_NONE : PNG_TEXT_COMPRESSION_NONE;
            text.text = textBytes_.back().data();
            (c.field == MetadataField::Xmp ? text.itxt_length : text.text_length) = bytes.size();
            texts.push_back(text);
        }
        if (setjmp(png_jmpbuf(png_))) throw Failure("cannot write " + shownName_ + ": " + error_);
        png_init_io(png_, file_.get());
        png_set_IHDR(png_, info_, shape.width, shape.height, shape.bits, colourType_, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (shape.hasResolution && shape.resolutionUnit != 1)
            png_set_pHYs(png_, info_, png_uint_32(shape.xResolution * PerMetre(shape.resolutionUnit) + 0.5),
                         png_uint_32(shape.yResolution * PerMetre(shape.resolutionUnit) + 0.5), PNG_RESOLUTION_METER);
        if (!shape.iccProfile.empty())
            png_set_iCCP(png_, info_, "ICC profile", PNG_COMPRESSION_TYPE_BASE, shape.iccProfile.data(),
                         png_uint_32(shape.iccProfile.size()));
        if (!texts.empty()) png_set_text(png_, info_, texts.data(), int(texts.size()));
        png_write_info(png_, info_);
    }

    void Write(const Image& band, uint32_t rows) override {
        for (uint32_t r = 0; r < rows; ++r) {
            PackRow(band, r, row_);
            if (!WriteRow()) throw Failure("cannot write " + shownName_ + ": " + error_);
        }
    }

    void Finish() override {
        if (!End() || std::fflush(file_.get()) != 0) throw Failure("cannot write " + shownName_ + ": " + error_);
    }

private:
    bool WriteRow() { return WithoutError(png_, [&] { png_write_row(png_, row_.data()); }); }
    bool End() { return WithoutError(png_, [&] { png_write_end(png_, nullptr); }); }

    std::string shownName_, error_;
    FilePtr file_;
    WriteHandles handles_;
    png_structp& png_ = handles_.png;
    png_infop& info_ = handles_.info;
    std::list<std::vector<char>> textBytes_;  // the texts' bytes, terminated, until the chunks are written
    std::vector<uint8_t> row_;
    int colourType_ = 0;
};

}  // namespace

std::unique_ptr<ImageReader> OpenPng(const std::string& path, uint64_t maxImageBytes) {
    return std::make_unique<PngReader>(path, maxImageBytes);
}

std::unique_ptr<ImageWriter> CreatePngWriter(const std::string& path, const ImageShape& shape,
                                             const std::string& shownName) {
    return std::make_unique<PngWriter>(path, shape, shownName);
}

}  // namespace host
