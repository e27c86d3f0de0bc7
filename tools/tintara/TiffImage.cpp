// Reads and writes TIFF rasters band by band through libtiff, checking every size before use.
#include <sys/stat.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "HostSupport.h"
#include "ImageIO.h"
#include "Metadata.h"

namespace host {

namespace {

// libtiff reports through handlers; the last error text is kept for the one-line message.
thread_local std::string tLastTiffError;

void KeepError(const char*, const char* format, va_list args) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    tLastTiffError = text;
}

void IgnoreWarning(const char*, const char*, va_list) {}

struct TiffCloser {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, TiffCloser>;

TiffPtr Open(const std::string& path, const char* mode, const std::string& shownName) {
    TIFFSetErrorHandler(KeepError);
    TIFFSetWarningHandler(IgnoreWarning);
    tLastTiffError.clear();
    TiffPtr tiff(TIFFOpen(path.c_str(), mode));
    if (!tiff)
        throw Failure("cannot " + std::string(mode[0] == 'r' ? "read " : "write ") + shownName + ": " +
                      (tLastTiffError.empty() ? "not a TIFF file" : tLastTiffError));
    return tiff;
}

std::string LastError() { return tLastTiffError.empty() ? "" : " (" + tLastTiffError + ")"; }

// The most one byte of a strip or tile can give when decoded. A header that claims more pixels
// than the file's data could hold under its compression is forged, not a large image.
uint64_t MaxExpansion(uint16_t compression) {
    switch (compression) {
        case COMPRESSION_NONE: return 1;
        case COMPRESSION_PACKBITS: return 64;  // a 2-byte run repeats a byte 128 times
        case COMPRESSION_LZW: return 8192;     // a code of 9 to 12 bits stands for a string of up to a table's length
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE: return 1032;  // deflate's own limit
        default: return uint64_t(1) << 15;      // codecs not modelled here; the size limit still holds
    }
}

// The bytes of the file that the strips or tiles point at, each byte counted once however many
// share it: strips that all point at one block decode to many copies of few bytes.
uint64_t CoveredDataBytes(TIFF* t, uint64_t fileSize) {
    std::vector<std::pair<uint64_t, uint64_t>> ranges;
    const uint32_t count = TIFFIsTiled(t) ? TIFFNumberOfTiles(t) : TIFFNumberOfStrips(t);
    ranges.reserve(count);
    for (uint32_t s = 0; s < count; ++s) {
        const uint64_t offset = TIFFGetStrileOffset(t, s), bytes = TIFFGetStrileByteCount(t, s);
        if (offset >= fileSize) continue;
        ranges.emplace_back(offset, offset + std::min(bytes, fileSize - offset));
    }
    std::sort(ranges.begin(), ranges.end());
    uint64_t covered = 0, reached = 0;
    for (const auto& [begin, end] : ranges) {
        const uint64_t from = std::max(begin, reached);
        if (end > from) covered += end - from;
        reached = std::max(reached, end);
    }
    return covered;
}

uint64_t FileSize(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? uint64_t(info.st_size) : 0;
}

// The carried-over tags that TIFF keeps as blocks of bytes; the description is a text tag.
const MetadataCarrier kBlockCarriers[] = {{TIFFTAG_XMLPACKET, nullptr, 0, MetadataField::Xmp},
                                          {TIFFTAG_RICHTIFFIPTC, nullptr, 0, MetadataField::Iptc},
                                          {TIFFTAG_PHOTOSHOP, nullptr, 0, MetadataField::Photoshop}};

// The most samples per pixel the host reads.
constexpr uint16_t kMaxSamples = 64;

// A tagged block of bytes (XMP, IPTC, Photoshop), empty when absent.
std::vector<uint8_t> BlockTag(TIFF* t, uint32_t tag) {
    uint32_t count = 0;
    void* data = nullptr;
    if (!TIFFGetField(t, tag, &count, &data) || !data) return {};
    return std::vector<uint8_t>(static_cast<uint8_t*>(data), static_cast<uint8_t*>(data) + count);
}

// Reads the tags of the open directory into `shape`, refusing what the host cannot convert.
void ReadShape(TIFF* t, const std::string& path, ImageShape& shape) {
    auto fail = [&](const std::string& why) { return Failure("cannot read " + path + ": " + why); };
    uint16_t format = SAMPLEFORMAT_UINT, config = PLANARCONFIG_CONTIG;
    if (!TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &shape.width) || !TIFFGetField(t, TIFFTAG_IMAGELENGTH, &shape.height))
        throw fail("no image size");
    TIFFGetFieldDefaulted(t, TIFFTAG_BITSPERSAMPLE, &shape.bits);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLESPERPIXEL, &shape.samples);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(t, TIFFTAG_PLANARCONFIG, &config);
    if (!TIFFGetField(t, TIFFTAG_PHOTOMETRIC, &shape.photometric)) throw fail("no photometric interpretation");
    if (shape.photometric != PHOTOMETRIC_MINISBLACK && shape.photometric != PHOTOMETRIC_MINISWHITE &&
        shape.photometric != PHOTOMETRIC_RGB && shape.photometric != PHOTOMETRIC_SEPARATED && !shape.IsLab())
        throw fail("photometric interpretation " + std::to_string(shape.photometric) +
                   " is not supported (gray, RGB, separated inks, CIELab or ICCLab)");
    if (shape.bits != 8 && shape.bits != 16)
        throw fail((shape.IsLab() ? "a Lab image of " : "") + std::to_string(shape.bits) +
                   " bits per sample; 8 and 16 are supported");
    if (format != SAMPLEFORMAT_UINT && !(shape.IsLab() && format == SAMPLEFORMAT_INT))
        throw fail("samples are not unsigned integers");
    uint16_t extraCount = 0;
    uint16_t* extraKinds = nullptr;
    if (TIFFGetField(t, TIFFTAG_EXTRASAMPLES, &extraCount, &extraKinds) && extraCount > 0) {
        shape.extra = extraCount;
        shape.extraKinds.assign(extraKinds, extraKinds + extraCount);
    }
    // libtiff counts four colour channels in any separated image and calls the rest extra; a
    // many-ink image says how many inks it has, and only the samples after them are extra.
    uint16_t inks = 0;
    if (shape.photometric == PHOTOMETRIC_SEPARATED && TIFFGetField(t, TIFFTAG_NUMBEROFINKS, &inks) && inks > 0 &&
        inks <= shape.samples) {
        const uint16_t extra = uint16_t(shape.samples - inks);
        if (shape.extraKinds.size() > extra) shape.extraKinds.erase(shape.extraKinds.begin(), shape.extraKinds.end() - extra);
        shape.extraKinds.resize(extra, EXTRASAMPLE_UNSPECIFIED);
        shape.extra = extra;
    }
    if (shape.samples == 0 || shape.extra >= shape.samples) throw fail("no colour channels");
    // More than links have channels, with room for extra samples; a planar file would otherwise
    // take a handle, and a read of the directory, per plane.
    if (shape.samples > kMaxSamples)
        throw fail(std::to_string(shape.samples) + " samples per pixel; at most " + std::to_string(kMaxSamples) +
                   " are supported");
    if ((shape.photometric == PHOTOMETRIC_RGB || shape.IsLab()) && shape.ColourChannels() != 3)
        throw fail(std::string(shape.IsLab() ? "a Lab" : "an RGB") + " image with " +
                   std::to_string(shape.ColourChannels()) + " colour channels");
    shape.planar = config == PLANARCONFIG_SEPARATE;
    TIFFGetField(t, TIFFTAG_INKSET, &shape.inkSet);
    TIFFGetFieldDefaulted(t, TIFFTAG_COMPRESSION, &shape.compression);
    TIFFGetField(t, TIFFTAG_PREDICTOR, &shape.predictor);
    TIFFGetField(t, TIFFTAG_ROWSPERSTRIP, &shape.rowsPerStrip);
    if (TIFFGetField(t, TIFFTAG_XRESOLUTION, &shape.xResolution) &&
        TIFFGetField(t, TIFFTAG_YRESOLUTION, &shape.yResolution)) {
        shape.hasResolution = true;
        TIFFGetFieldDefaulted(t, TIFFTAG_RESOLUTIONUNIT, &shape.resolutionUnit);
    }
    shape.iccProfile = BlockTag(t, TIFFTAG_ICCPROFILE);
    for (const MetadataCarrier& c : kBlockCarriers) {
        const std::vector<uint8_t> block = BlockTag(t, uint32_t(c.code));
        SetMetadata(shape, c.field, block.data(), block.size());
    }
    const char* text = nullptr;
    if (TIFFGetField(t, TIFFTAG_IMAGEDESCRIPTION, &text) && text) shape.description = text;
    // libtiff keeps the names as one block of terminated strings, as many as the inks it counted.
    const char* names = nullptr;
    if (shape.photometric == PHOTOMETRIC_SEPARATED && TIFFGetField(t, TIFFTAG_INKNAMES, &names) && names) {
        uint16_t counted = 0;
        TIFFGetFieldDefaulted(t, TIFFTAG_NUMBEROFINKS, &counted);
        for (uint16_t i = 0; i < std::min(counted, shape.samples); ++i) {
            shape.inkNames.emplace_back(names);
            names += shape.inkNames.back().size() + 1;
        }
    }
    shape.tiled = TIFFIsTiled(t) != 0;
    if (shape.tiled) {
        TIFFGetField(t, TIFFTAG_TILEWIDTH, &shape.tileWidth);
        TIFFGetField(t, TIFFTAG_TILELENGTH, &shape.tileHeight);
        if (shape.tileWidth == 0 || shape.tileHeight == 0) throw fail("tiles of no size");
        if (uint64_t(TIFFTileRowSize64(t)) != uint64_t(shape.tileWidth) * (shape.planar ? 1 : shape.samples) * shape.bits / 8)
            throw fail("tiles of unexpected size");
    } else if (uint64_t(TIFFScanlineSize64(t)) != shape.RowBytes()) {
        throw fail("rows of unexpected size");
    }
}

// Reads strips row by row (libtiff decodes a long strip a part at a time) or tiles a tile row at
// a time. A planar file of strips gets a handle per plane, so that each plane is read in order.
class TiffReader : public ImageReader {
public:
    TiffReader(const std::string& path, uint64_t maxImageBytes) : path_(path) {
        // No memory mapping: the mapped file would count as memory of the job.
        handles_.push_back(Open(path, "rm", path));
        TIFF* t = handles_.front().get();
        ReadShape(t, path, shape_);
        const uint64_t decoded = shape_.TotalBytes();
        if (decoded > std::min(maxImageBytes, kMaxImageBytes))
            throw Failure("cannot read " + path + ": image of " + std::to_string(shape_.width) + " x " +
                          std::to_string(shape_.height) + " pixels is too large (over " +
                          std::to_string(std::min(maxImageBytes, kMaxImageBytes) >> 20) + " MiB; see --max-image)");
        const uint64_t covered = CoveredDataBytes(t, FileSize(path));
        if (decoded / MaxExpansion(shape_.compression) > covered)
            throw Failure("cannot read " + path + ": its " + (shape_.tiled ? "tiles" : "strips") + " hold " +
                          std::to_string(covered) + " bytes, too few for the " + std::to_string(decoded) +
                          " bytes its header claims");
        if (shape_.tiled) {
            const uint64_t tileBytes = uint64_t(TIFFTileSize64(t));
            // Tiles reach past the image by less than a tile; larger ones are padding, not pixels.
            if (tileBytes == 0 || tileBytes > std::min<uint64_t>(kMaxTileBytes, maxImageBytes) ||
                shape_.tileHeight > shape_.height + 16 * 1024)
                throw Failure("cannot read " + path + ": tiles of " + std::to_string(shape_.tileWidth) + " x " +
                              std::to_string(shape_.tileHeight) + " pixels are too large");
            tile_.resize(size_t(tileBytes));
            bandRows_ = std::min(shape_.tileHeight, shape_.height);
        } else {
            for (uint16_t p = 1; shape_.planar && p < shape_.samples; ++p) handles_.push_back(Open(path, "rm", path));
            bandRows_ = DefaultBandRows(shape_);
        }
    }

    void Read(Image& band, uint32_t rows) override {
        if (shape_.tiled) ReadTiles(band, rows);
        else ReadRows(band, rows);
        nextRow_ += rows;
    }

private:
    static constexpr uint64_t kMaxTileBytes = uint64_t(256) << 20;

    Failure Damaged(const std::string& where) const {
        return Failure("cannot read " + path_ + ": " + where + " is damaged" + LastError());
    }

    void ReadRows(Image& band, uint32_t rows) {
        const uint64_t rowBytes = shape_.RowBytes();
        for (size_t p = 0; p < band.planes.size(); ++p)
            for (uint32_t r = 0; r < rows; ++r)
                if (TIFFReadScanline(handles_[p].get(), band.planes[p].data() + r * rowBytes, nextRow_ + r, uint16_t(p)) < 0)
                    throw Damaged("row " + std::to_string(nextRow_ + r));
    }

    void ReadTiles(Image& band, uint32_t rows) {
        TIFF* t = handles_.front().get();
        const uint32_t pixelBytes = (shape_.planar ? 1u : shape_.samples) * shape_.BytesPerSample();
        const uint64_t tileRowBytes = uint64_t(shape_.tileWidth) * pixelBytes, bandRowBytes = band.RowBytes();
        for (size_t p = 0; p < band.planes.size(); ++p)
            for (uint32_t x = 0; x < shape_.width; x += shape_.tileWidth) {
                const uint32_t tile = TIFFComputeTile(t, x, nextRow_, 0, uint16_t(p));
                if (tile >= TIFFNumberOfTiles(t) ||
                    TIFFReadEncodedTile(t, tile, tile_.data(), tmsize_t(tile_.size())) != tmsize_t(tile_.size()))
                    throw Damaged("the tile at " + std::to_string(x) + ", " + std::to_string(nextRow_));
                const uint64_t copy = uint64_t(std::min(shape_.tileWidth, shape_.width - x)) * pixelBytes;
                for (uint32_t r = 0; r < rows; ++r)
                    std::memcpy(band.planes[p].data() + r * bandRowBytes + uint64_t(x) * pixelBytes,
                                tile_.data() + r * tileRowBytes, size_t(copy));
            }
    }

    std::string path_;
    std::vector<TiffPtr> handles_;
    std::vector<uint8_t> tile_;
    uint32_t nextRow_ = 0;
};

void SetBlockTag(TIFF* t, uint32_t tag, const std::vector<uint8_t>& block) {
    if (!block.empty()) TIFFSetField(t, tag, uint32_t(block.size()), block.data());
}

// Writes strips of the shape's rows per strip, or tiles, as bands arrive.
class TiffWriter : public ImageWriter {
public:
    TiffWriter(const std::string& path, const ImageShape& shape, const std::string& shownName)
        : shape_(shape), shownName_(shownName) {
        if (!TIFFIsCODECConfigured(shape.compression))
            throw Failure("cannot write " + shownName + ": compression " + std::to_string(shape.compression) +
                          " is not available for writing");
        tiff_ = Open(path, "w", shownName);
        TIFF* t = tiff_.get();
        TIFFSetField(t, TIFFTAG_IMAGEWIDTH, shape.width);
        TIFFSetField(t, TIFFTAG_IMAGELENGTH, shape.height);
        TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, shape.bits);
        TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, shape.samples);
        TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
        TIFFSetField(t, TIFFTAG_PHOTOMETRIC, shape.photometric);
        TIFFSetField(t, TIFFTAG_PLANARCONFIG, shape.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        const uint16_t inks = shape.ColourChannels();
        if (shape.photometric == PHOTOMETRIC_SEPARATED) {
            TIFFSetField(t, TIFFTAG_INKSET, shape.inkSet ? shape.inkSet : (inks == 4 ? INKSET_CMYK : INKSET_MULTIINK));
            if (inks != 4 || shape.inkSet == INKSET_MULTIINK) TIFFSetField(t, TIFFTAG_NUMBEROFINKS, inks);
        }
        if (shape.photometric == PHOTOMETRIC_SEPARATED && inks > 4) {
            // libtiff takes every sample after the fourth ink as extra; the inks beyond four are
            // listed as unspecified extras in front of the real ones, and NumberOfInks tells them apart.
            std::vector<uint16_t> kinds(size_t(inks - 4), EXTRASAMPLE_UNSPECIFIED);
            kinds.insert(kinds.end(), shape.extraKinds.begin(), shape.extraKinds.end());
            TIFFSetField(t, TIFFTAG_EXTRASAMPLES, uint16_t(kinds.size()), kinds.data());
        } else if (shape.extra > 0) {
            TIFFSetField(t, TIFFTAG_EXTRASAMPLES, shape.extra, shape.extraKinds.data());
        }
        if (shape.photometric == PHOTOMETRIC_SEPARATED && shape.inkNames.size() == inks) {
            std::string names;
            for (const std::string& name : shape.inkNames) names += name + '\0';
            TIFFSetField(t, TIFFTAG_INKNAMES, uint16_t(names.size()), names.c_str());
        }
        TIFFSetField(t, TIFFTAG_COMPRESSION, shape.compression);
        if (shape.predictor) TIFFSetField(t, TIFFTAG_PREDICTOR, shape.predictor);
        if (shape.tiled) {
            TIFFSetField(t, TIFFTAG_TILEWIDTH, shape.tileWidth);
            TIFFSetField(t, TIFFTAG_TILELENGTH, shape.tileHeight);
            tile_.resize(size_t(TIFFTileSize64(t)));
        } else {
            TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, shape.rowsPerStrip ? shape.rowsPerStrip : TIFFDefaultStripSize(t, 0));
            TIFFGetFieldDefaulted(t, TIFFTAG_ROWSPERSTRIP, &stripRows_);
            stripRows_ = std::clamp(stripRows_, 1u, shape.height);
        }
        if (shape.hasResolution) {
            TIFFSetField(t, TIFFTAG_XRESOLUTION, shape.xResolution);
            TIFFSetField(t, TIFFTAG_YRESOLUTION, shape.yResolution);
            TIFFSetField(t, TIFFTAG_RESOLUTIONUNIT, shape.resolutionUnit);
        }
        SetBlockTag(t, TIFFTAG_ICCPROFILE, shape.iccProfile);
        for (const MetadataCarrier& c : kBlockCarriers) SetBlockTag(t, uint32_t(c.code), MetadataOf(shape, c.field));
        if (!shape.description.empty()) TIFFSetField(t, TIFFTAG_IMAGEDESCRIPTION, shape.description.c_str());
        TIFFSetField(t, TIFFTAG_SOFTWARE, "tintara");
    }

    void Write(const Image& band, uint32_t rows) override {
        if (shape_.tiled) WriteTiles(band, rows);
        else WriteStrips(band, rows);
        nextRow_ += rows;
    }

    void Finish() override {
        if (!TIFFWriteDirectory(tiff_.get())) throw Failure("cannot write " + shownName_ + LastError());
        TIFF* raw = tiff_.release();
        TIFFClose(raw);
    }

private:
    Failure WriteFailure() const { return Failure("cannot write " + shownName_ + LastError()); }

    void WriteStrips(const Image& band, uint32_t rows) {
        const uint64_t rowBytes = band.RowBytes();
        for (size_t p = 0; p < band.planes.size(); ++p)
            for (uint32_t r = 0; r < rows; r += stripRows_) {
                const uint32_t count = std::min(stripRows_, rows - r);
                // libtiff takes a non-const strip; it encodes from a copy where an encoder would change it.
                auto* data = const_cast<uint8_t*>(band.planes[p].data() + r * rowBytes);
                if (TIFFWriteEncodedStrip(tiff_.get(), TIFFComputeStrip(tiff_.get(), nextRow_ + r, uint16_t(p)), data,
                                          tmsize_t(uint64_t(count) * rowBytes)) < 0)
                    throw WriteFailure();
            }
    }

    void WriteTiles(const Image& band, uint32_t rows) {
        TIFF* t = tiff_.get();
        const uint32_t pixelBytes = (shape_.planar ? 1u : shape_.samples) * shape_.BytesPerSample();
        const uint64_t tileRowBytes = uint64_t(shape_.tileWidth) * pixelBytes, bandRowBytes = band.RowBytes();
        for (uint32_t r = 0; r < rows; r += shape_.tileHeight)
            for (size_t p = 0; p < band.planes.size(); ++p)
                for (uint32_t x = 0; x < shape_.width; x += shape_.tileWidth) {
                    // Parts of a tile past the image's edge are written as zeros.
                    std::fill(tile_.begin(), tile_.end(), 0);
                    const uint64_t copy = uint64_t(std::min(shape_.tileWidth, shape_.width - x)) * pixelBytes;
                    for (uint32_t y = 0; y < std::min(shape_.tileHeight, rows - r); ++y)
                        std::memcpy(tile_.data() + y * tileRowBytes,
                                    band.planes[p].data() + (r + y) * bandRowBytes + uint64_t(x) * pixelBytes, size_t(copy));
                    if (TIFFWriteEncodedTile(t, TIFFComputeTile(t, x, nextRow_ + r, 0, uint16_t(p)), tile_.data(),
                                             tmsize_t(tile_.size())) < 0)
                        throw WriteFailure();
                }
    }

    ImageShape shape_;
    std::string shownName_;
    TiffPtr tiff_;
    std::vector<uint8_t> tile_;
    uint32_t stripRows_ = 1;
    uint32_t nextRow_ = 0;
};

}  // namespace

uint16_t CompressionFrom(const std::string& name) {
    if (name == "none") return COMPRESSION_NONE;
    if (name == "lzw") return COMPRESSION_LZW;
    if (name == "deflate" || name == "zip") return COMPRESSION_ADOBE_DEFLATE;
    if (name == "packbits") return COMPRESSION_PACKBITS;
    throw UsageError("unknown compression '" + name + "' (none, lzw, deflate, packbits)");
}

std::unique_ptr<ImageReader> OpenTiff(const std::string& path, uint64_t maxImageBytes) {
    return std::make_unique<TiffReader>(path, maxImageBytes);
}

std::unique_ptr<ImageWriter> CreateTiffWriter(const std::string& path, const ImageShape& shape,
                                              const std::string& shownName) {
    return std::make_unique<TiffWriter>(path, shape, shownName);
}

}  // namespace host
