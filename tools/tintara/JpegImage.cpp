// Reads and writes JPEG images through libjpeg: gray, RGB and CMYK at 8 bits, the embedded ICC
// profile in APP2 markers, XMP in APP1, Photoshop's resources in APP13, a comment as description.
// CMYK is stored inverted with Adobe's marker, as Photoshop writes and reads it.
#include <tiffio.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include <jpeglib.h>

#include "HostSupport.h"
#include "ImageIO.h"
#include "Metadata.h"

namespace host {

namespace {

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

const char kXmpHeader[] = "http://ns.adobe.com/xap/1.0/";  // with its terminating zero: 29 bytes
const char kPhotoshopHeader[] = "Photoshop 3.0";               // with its terminating zero: 14 bytes
constexpr size_t kMarkerBytes = 65533;                         // the most data one marker holds

// XMP in APP1 and Photoshop's resources in APP13 behind their headers, a comment as description.
const MetadataCarrier kCarriers[] = {{JPEG_APP0 + 1, kXmpHeader, sizeof kXmpHeader, MetadataField::Xmp},
                                     {JPEG_APP0 + 13, kPhotoshopHeader, sizeof kPhotoshopHeader, MetadataField::Photoshop},
                                     {JPEG_COM, "", 0, MetadataField::Description}};

// libjpeg's errors end in a jump back to the call that failed; its warnings about damaged data
// count as errors too, so that a broken file never turns into a gray-padded picture.
struct ErrorJump {
    jpeg_error_mgr manager{};
    jmp_buf jump{};
    char message[JMSG_LENGTH_MAX] = {};
};

[[noreturn]] void ErrorExit(j_common_ptr info) {
    auto* error = reinterpret_cast<ErrorJump*>(info->err);
    (*info->err->format_message)(info, error->message);
    std::longjmp(error->jump, 1);
}

void EmitMessage(j_common_ptr info, int level) {
    if (level < 0) ErrorExit(info);
}

void InstallErrors(ErrorJump& error) {
    jpeg_std_error(&error.manager);
    error.manager.error_exit = ErrorExit;
    error.manager.emit_message = EmitMessage;
}

// libjpeg's state of one file, released however the work ends (a constructor that throws runs
// no destructor of its own class, but those of its members).
struct Decompressor {
    jpeg_decompress_struct info{};
    bool created = false;
    ~Decompressor() {
        if (created) jpeg_destroy_decompress(&info);
    }
};
struct Compressor {
    jpeg_compress_struct info{};
    bool created = false;
    ~Compressor() {
        if (created) jpeg_destroy_compress(&info);
    }
};

class JpegReader : public ImageReader {
public:
    JpegReader(const std::string& path, uint64_t maxImageBytes) : path_(path) {
        file_.reset(std::fopen(path.c_str(), "rb"));
        if (!file_) throw Failure("cannot read " + path + ": " + std::strerror(errno));
        InstallErrors(error_);
        info_.err = &error_.manager;
        if (!Begin(maxImageBytes)) throw Failure("cannot read " + path_ + ": " + why_);
        bandRows_ = DefaultBandRows(shape_);
    }

    void Read(Image& band, uint32_t rows) override {
        if (!ReadRows(band, rows)) throw Failure("cannot read " + path_ + ": " + why_);
        if (inverted_)
            for (uint8_t& sample : band.planes[0]) sample = uint8_t(255 - sample);
    }

private:
    // Reads the header and markers into the shape and starts decoding; false with `why_` set.
    bool Begin(uint64_t maxImageBytes) {
        if (setjmp(error_.jump)) {
            why_ = error_.message;
            return false;
        }
        created_ = true;
        jpeg_create_decompress(&info_);
        jpeg_stdio_src(&info_, file_.get());
        jpeg_save_markers(&info_, JPEG_COM, 0xFFFF);
        for (int app : {1, 2, 13}) jpeg_save_markers(&info_, JPEG_APP0 + app, 0xFFFF);
        jpeg_read_header(&info_, TRUE);
        switch (info_.jpeg_color_space) {
            case JCS_GRAYSCALE: info_.out_color_space = JCS_GRAYSCALE; break;
            case JCS_YCbCr: case JCS_RGB: info_.out_color_space = JCS_RGB; break;
            case JCS_CMYK: case JCS_YCCK: info_.out_color_space = JCS_CMYK; break;
            default: why_ = "colour space " + std::to_string(int(info_.jpeg_color_space)) + " is not supported"; return false;
        }
        inverted_ = info_.out_color_space == JCS_CMYK && info_.saw_Adobe_marker;
        shape_.width = info_.image_width;
        shape_.height = info_.image_height;
        shape_.bits = 8;
        shape_.samples = uint16_t(info_.num_components);
        shape_.photometric = info_.out_color_space == JCS_GRAYSCALE ? PHOTOMETRIC_MINISBLACK
                             : info_.out_color_space == JCS_RGB     ? PHOTOMETRIC_RGB
                                                                    : PHOTOMETRIC_SEPARATED;
        if (shape_.photometric == PHOTOMETRIC_SEPARATED) shape_.inkSet = INKSET_CMYK;
        shape_.compression = COMPRESSION_LZW;  // what a TIFF of the result gets
        shape_.predictor = 2;
        if (info_.density_unit == 1 || info_.density_unit == 2) {
            shape_.hasResolution = true;
            shape_.resolutionUnit = info_.density_unit == 1 ? RESUNIT_INCH : RESUNIT_CENTIMETER;
            shape_.xResolution = info_.X_density;
            shape_.yResolution = info_.Y_density;
        }
        if (shape_.TotalBytes() > std::min(maxImageBytes, kMaxImageBytes)) {
            why_ = "image of " + std::to_string(shape_.width) + " x " + std::to_string(shape_.height) +
                   " pixels is too large (over " + std::to_string(std::min(maxImageBytes, kMaxImageBytes) >> 20) +
                   " MiB; see --max-image)";
            return false;
        }
        JOCTET* profile = nullptr;
        unsigned int profileLength = 0;
        if (jpeg_read_icc_profile(&info_, &profile, &profileLength) && profile) {
            shape_.iccProfile.assign(profile, profile + profileLength);
            std::free(profile);
        }
        for (jpeg_saved_marker_ptr m = info_.marker_list; m; m = m->next)
            if (const MetadataCarrier* c = FindCarrier(kCarriers, m->marker, m->data, m->data_length))
                SetMetadata(shape_, c->field, m->data + c->keyLength, m->data_length - c->keyLength);
        jpeg_start_decompress(&info_);
        return true;
    }

    bool ReadRows(Image& band, uint32_t rows) {
        if (setjmp(error_.jump)) {
            why_ = error_.message;
            return false;
        }
        for (uint32_t r = 0; r < rows; ++r) {
            JSAMPROW row = band.planes[0].data() + r * band.RowBytes();
            if (jpeg_read_scanlines(&info_, &row, 1) != 1) {
                why_ = "the data ends early";
                return false;
            }
        }
        return true;
    }

    std::string path_, why_;
    FilePtr file_;
    ErrorJump error_;
    Decompressor state_;
    jpeg_decompress_struct& info_ = state_.info;
    bool& created_ = state_.created;
    bool inverted_ = false;
};

// Photoshop's resource block holding only IPTC data (resource 0x0404), for an APP13 marker.
std::vector<uint8_t> IptcResource(const std::vector<uint8_t>& iptc) {
    std::vector<uint8_t> block = {'8', 'B', 'I', 'M', 0x04, 0x04, 0, 0};
    const uint32_t size = uint32_t(iptc.size());
    for (int shift = 24; shift >= 0; shift -= 8) block.push_back(uint8_t(size >> shift));
    block.insert(block.end(), iptc.begin(), iptc.end());
    if (block.size() % 2) block.push_back(0);
    return block;
}

class JpegWriter : public ImageWriter {
public:
    JpegWriter(const std::string& path, const ImageShape& shape, const std::string& shownName, int quality)
        : shape_(shape), shownName_(shownName) {
        file_.reset(std::fopen(path.c_str(), "wb"));
        if (!file_) throw Failure("cannot write " + shownName + ": " + std::strerror(errno));
        InstallErrors(error_);
        info_.err = &error_.manager;
        // IPTC without Photoshop's resources travels as a resource block of its own.
        ImageShape carried = shape;
        if (carried.photoshop.empty() && !carried.iptc.empty()) carried.photoshop = IptcResource(carried.iptc);
        for (const MetadataCarrier& c : kCarriers)
            markers_.push_back({c.code, Prefixed(c.key, c.keyLength, MetadataOf(carried, c.field))});
        row_.resize(size_t(shape.width) * shape.ColourChannels());
        if (!Begin(quality)) throw Failure("cannot write " + shownName_ + ": " + error_.message);
    }

    void Write(const Image& band, uint32_t rows) override {
        for (uint32_t r = 0; r < rows; ++r) {
            PackRow(band, r);
            if (!WriteRow()) throw Failure("cannot write " + shownName_ + ": " + error_.message);
        }
    }

    void Finish() override {
        if (!End() || std::fflush(file_.get()) != 0) throw Failure("cannot write " + shownName_ + ": " + error_.message);
    }

private:
    struct Marker {
        int code;
        std::vector<uint8_t> data;
    };

    // A marker's data behind its identifying header; empty when there is nothing or too much.
    static std::vector<uint8_t> Prefixed(const char* header, size_t length, const std::vector<uint8_t>& data) {
        if (data.empty() || data.size() + length > kMarkerBytes) return {};
        std::vector<uint8_t> bytes(header, header + length);
        bytes.insert(bytes.end(), data.begin(), data.end());
        return bytes;
    }

    bool Begin(int quality) {
        if (setjmp(error_.jump)) return false;
        created_ = true;
        jpeg_create_compress(&info_);
        jpeg_stdio_dest(&info_, file_.get());
        info_.image_width = shape_.width;
        info_.image_height = shape_.height;
        info_.input_components = shape_.ColourChannels();
        info_.in_color_space = shape_.ColourChannels() == 1 ? JCS_GRAYSCALE
                               : shape_.ColourChannels() == 3 ? JCS_RGB
                                                              : JCS_CMYK;
        jpeg_set_defaults(&info_);
        jpeg_set_quality(&info_, quality, TRUE);
        if (shape_.hasResolution && shape_.resolutionUnit != RESUNIT_NONE) {
            info_.density_unit = shape_.resolutionUnit == RESUNIT_CENTIMETER ? 2 : 1;
            info_.X_density = UINT16(std::clamp(shape_.xResolution + 0.5f, 1.0f, 65535.0f));
            info_.Y_density = UINT16(std::clamp(shape_.yResolution + 0.5f, 1.0f, 65535.0f));
        }
        jpeg_start_compress(&info_, TRUE);
        if (!shape_.iccProfile.empty())
            jpeg_write_icc_profile(&info_, shape_.iccProfile.data(), unsigned(shape_.iccProfile.size()));
        for (const Marker& marker : markers_)
            if (!marker.data.empty() && marker.data.size() <= kMarkerBytes)
                jpeg_write_marker(&info_, marker.code, marker.data.data(), unsigned(marker.data.size()));
        return true;
    }

    // One row of colour samples interleaved at 8 bits; CMYK inverted for Adobe's convention.
    void PackRow(const Image& band, uint32_t row) {
        const uint16_t colours = shape_.ColourChannels();
        const bool wide = band.bits == 16, invert = colours == 4;
        for (uint32_t x = 0; x < band.width; ++x)
            for (uint16_t c = 0; c < colours; ++c) {
                const uint64_t at = band.planar ? uint64_t(x) : uint64_t(x) * band.samples + c;
                const uint8_t* from = band.planes[band.planar ? c : 0].data() + row * band.RowBytes() + at * (wide ? 2 : 1);
                uint32_t value = *from;
                if (wide) {
                    uint16_t word;
                    std::memcpy(&word, from, 2);
                    value = (uint32_t(word) * 255 + 32767) / 65535;
                }
                row_[size_t(x) * colours + c] = uint8_t(invert ? 255 - value : value);
            }
    }

    bool WriteRow() {
        if (setjmp(error_.jump)) return false;
        JSAMPROW row = row_.data();
        jpeg_write_scanlines(&info_, &row, 1);
        return true;
    }

    bool End() {
        if (setjmp(error_.jump)) return false;
        jpeg_finish_compress(&info_);
        return true;
    }

    ImageShape shape_;
    std::string shownName_;
    FilePtr file_;
    ErrorJump error_;
    Compressor state_;
    jpeg_compress_struct& info_ = state_.info;
    bool& created_ = state_.created;
    std::vector<Marker> markers_;
    std::vector<uint8_t> row_;
};

}  // namespace

std::unique_ptr<ImageReader> OpenJpeg(const std::string& path, uint64_t maxImageBytes) {
    return std::make_unique<JpegReader>(path, maxImageBytes);
}

std::unique_ptr<ImageWriter> CreateJpegWriter(const std::string& path, const ImageShape& shape,
                                              const std::string& shownName, int quality) {
    return std::make_unique<JpegWriter>(path, shape, shownName, quality);
}

}  // namespace host
