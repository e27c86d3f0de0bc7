// Reads and writes TIFF rasters through libtiff, checking every size before allocating.
#include <sys/mman.h>
#include <sys/stat.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <memory>
#include <vector>

#include "HostSupport.h"
#include "Image.h"

namespace host {

namespace {

// libtiff reports through handlers; the last error text is kept for the one-line message.
thread_local std::string tLastTiffError;

void KeepError(const char* module, const char* format, va_list args) {
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

// The most one byte of a strip can give when decoded. A header that claims more pixels than
// the file's strip bytes could hold under its compression is forged, not a large image.
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

// The bytes of the file that the strips point at, each byte counted once however many strips
// share it: strips that all point at one block decode to many copies of few bytes.
uint64_t CoveredStripBytes(TIFF* t, uint64_t fileSize) {
    std::vector<std::pair<uint64_t, uint64_t>> ranges;
    const uint32_t strips = TIFFNumberOfStrips(t);
    ranges.reserve(strips);
    for (uint32_t s = 0; s < strips; ++s) {
        const uint64_t offset = TIFFGetStrileOffset(t, s), count = TIFFGetStrileByteCount(t, s);
        if (offset >= fileSize) continue;
        ranges.emplace_back(offset, offset + std::min(count, fileSize - offset));
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

}  // namespace

void* AllocateRaster(size_t bytes) {
    constexpr size_t kHugePage = size_t(2) << 20;
    const size_t rounded = (bytes + kHugePage - 1) / kHugePage * kHugePage;
    if (rounded < bytes) throw std::bad_alloc();
    void* block = std::aligned_alloc(kHugePage, rounded);
    if (!block) throw std::bad_alloc();
    // Only a hint: without huge pages the raster works the same, with more page faults.
    madvise(block, rounded, MADV_HUGEPAGE);
    return block;
}

void FreeRaster(void* block) noexcept { std::free(block); }

uint16_t CompressionFrom(const std::string& name) {
    if (name == "none") return COMPRESSION_NONE;
    if (name == "lzw") return COMPRESSION_LZW;
    if (name == "deflate" || name == "zip") return COMPRESSION_ADOBE_DEFLATE;
    if (name == "packbits") return COMPRESSION_PACKBITS;
    throw UsageError("unknown compression '" + name + "' (none, lzw, deflate, packbits)");
}

uint64_t ImageShape::TotalBytes() const {
    uint64_t total = 0;
    const uint64_t buffers = planar ? samples : 1u;
    return __builtin_mul_overflow(RowBytes() * buffers, uint64_t(height), &total) ? UINT64_MAX : total;
}

void Image::Allocate(bool zeroed, uint64_t maxBytes) {
    const uint64_t bytes = RowBytes() * height;
    if (width == 0 || height == 0) throw Failure("image of " + std::to_string(width) + " x " + std::to_string(height) + " pixels is empty");
    if (TotalBytes() > std::min(maxBytes, kMaxImageBytes))
        throw Failure("image of " + std::to_string(width) + " x " + std::to_string(height) + " pixels is too large (over " +
                      std::to_string(std::min(maxBytes, kMaxImageBytes) >> 20) + " MiB; see --max-image)");
    planes.clear();
    planes.resize(planar ? samples : 1);
    for (SampleBuffer& plane : planes) {
        if (zeroed) plane.assign(size_t(bytes), 0);
        else plane.resize(size_t(bytes));
    }
}

Image ReadTiff(const std::string& path, uint64_t maxImageBytes) {
    TiffPtr tiff = Open(path, "r", path);
    TIFF* t = tiff.get();
    auto fail = [&](const std::string& why) { return Failure("cannot read " + path + ": " + why); };
    Image image;
    uint16_t format = SAMPLEFORMAT_UINT, config = PLANARCONFIG_CONTIG;
    if (!TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &image.width) || !TIFFGetField(t, TIFFTAG_IMAGELENGTH, &image.height))
        throw fail("no image size");
    TIFFGetFieldDefaulted(t, TIFFTAG_BITSPERSAMPLE, &image.bits);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLESPERPIXEL, &image.samples);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(t, TIFFTAG_PLANARCONFIG, &config);
    if (!TIFFGetField(t, TIFFTAG_PHOTOMETRIC, &image.photometric)) throw fail("no photometric interpretation");
    if (TIFFIsTiled(t)) throw fail("tiled images are not supported, only strips");
    if (image.bits != 8 && image.bits != 16)
        throw fail(std::to_string(image.bits) + " bits per sample; 8 and 16 are supported");
    if (format != SAMPLEFORMAT_UINT) throw fail("samples are not unsigned integers");
    if (image.photometric != PHOTOMETRIC_MINISBLACK && image.photometric != PHOTOMETRIC_MINISWHITE &&
        image.photometric != PHOTOMETRIC_RGB && image.photometric != PHOTOMETRIC_SEPARATED)
        throw fail("photometric interpretation " + std::to_string(image.photometric) +
                   " is not supported (gray, RGB, or separated inks)");
    uint16_t extraCount = 0;
    uint16_t* extraKinds = nullptr;
    if (TIFFGetField(t, TIFFTAG_EXTRASAMPLES, &extraCount, &extraKinds) && extraCount > 0) {
        image.extra = extraCount;
        image.extraKinds.assign(extraKinds, extraKinds + extraCount);
    }
    // libtiff counts four colour channels in any separated image and calls the rest extra; a
    // many-ink image says how many inks it has, and only the samples after them are extra.
    uint16_t inks = 0;
    if (image.photometric == PHOTOMETRIC_SEPARATED && TIFFGetField(t, TIFFTAG_NUMBEROFINKS, &inks) && inks > 0 &&
        inks <= image.samples) {
        const uint16_t extra = uint16_t(image.samples - inks);
        if (image.extraKinds.size() > extra) image.extraKinds.erase(image.extraKinds.begin(), image.extraKinds.end() - extra);
        image.extraKinds.resize(extra, EXTRASAMPLE_UNSPECIFIED);
        image.extra = extra;
    }
    if (image.samples == 0 || image.extra >= image.samples) throw fail("no colour channels");
    if (image.photometric == PHOTOMETRIC_RGB && image.ColourChannels() != 3)
        throw fail("an RGB image with " + std::to_string(image.ColourChannels()) + " colour channels");
    image.planar = config == PLANARCONFIG_SEPARATE;
    TIFFGetField(t, TIFFTAG_INKSET, &image.inkSet);
    TIFFGetFieldDefaulted(t, TIFFTAG_COMPRESSION, &image.compression);
    TIFFGetField(t, TIFFTAG_PREDICTOR, &image.predictor);
    TIFFGetField(t, TIFFTAG_ROWSPERSTRIP, &image.rowsPerStrip);
    if (TIFFGetField(t, TIFFTAG_XRESOLUTION, &image.xResolution) &&
        TIFFGetField(t, TIFFTAG_YRESOLUTION, &image.yResolution)) {
        image.hasResolution = true;
        TIFFGetFieldDefaulted(t, TIFFTAG_RESOLUTIONUNIT, &image.resolutionUnit);
    }
    uint32_t iccSize = 0;
    void* icc = nullptr;
    if (TIFFGetField(t, TIFFTAG_ICCPROFILE, &iccSize, &icc) && icc && iccSize > 0)
        image.iccProfile.assign(static_cast<uint8_t*>(icc), static_cast<uint8_t*>(icc) + iccSize);
    if (uint64_t(TIFFScanlineSize64(t)) != image.RowBytes()) throw fail("rows of unexpected size");
    const uint64_t decoded = image.TotalBytes();
    const uint64_t covered = CoveredStripBytes(t, FileSize(path));
    if (decoded / MaxExpansion(image.compression) > covered)
        throw fail("its strips hold " + std::to_string(covered) + " bytes, too few for the " + std::to_string(decoded) +
                   " bytes its header claims");
    image.Allocate(false, maxImageBytes);
    // Whole strips go straight into the raster: one library call and no copy per strip.
    uint32_t stripRows = 0;
    TIFFGetFieldDefaulted(t, TIFFTAG_ROWSPERSTRIP, &stripRows);
    const uint32_t rowsPer = (stripRows == 0 || stripRows > image.height) ? image.height : stripRows;
    const uint64_t rowBytes = image.RowBytes();
    for (size_t plane = 0; plane < image.planes.size(); ++plane)
        for (uint32_t row = 0; row < image.height; row += rowsPer) {
            const uint32_t rows = std::min(rowsPer, image.height - row);
            const uint32_t strip = TIFFComputeStrip(t, row, uint16_t(plane));
            const tmsize_t wanted = tmsize_t(uint64_t(rows) * rowBytes);
            if (strip >= TIFFNumberOfStrips(t) ||
                TIFFReadEncodedStrip(t, strip, image.planes[plane].data() + row * rowBytes, wanted) != wanted)
                throw fail("row " + std::to_string(row) + " is damaged" +
                           (tLastTiffError.empty() ? "" : " (" + tLastTiffError + ")"));
        }
    return image;
}

void WriteTiff(const std::string& path, const Image& image, const std::string& shownName) {
    if (!TIFFIsCODECConfigured(image.compression))
        throw Failure("cannot write " + shownName + ": compression " + std::to_string(image.compression) +
                      " is not available for writing");
    TiffPtr tiff = Open(path, "w", shownName);
    TIFF* t = tiff.get();
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, image.bits);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, image.samples);
    TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, image.photometric);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, image.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (image.photometric == PHOTOMETRIC_SEPARATED) {
        const uint16_t inks = image.ColourChannels();
        TIFFSetField(t, TIFFTAG_INKSET, image.inkSet ? image.inkSet : (inks == 4 ? INKSET_CMYK : INKSET_MULTIINK));
        if (inks != 4 || image.inkSet == INKSET_MULTIINK) TIFFSetField(t, TIFFTAG_NUMBEROFINKS, inks);
    }
    if (image.photometric == PHOTOMETRIC_SEPARATED && image.ColourChannels() > 4) {
        // libtiff takes every sample after the fourth ink as extra; the inks beyond four are
        // listed as unspecified extras in front of the real ones, and NumberOfInks tells them apart.
        std::vector<uint16_t> kinds(size_t(image.ColourChannels() - 4), EXTRASAMPLE_UNSPECIFIED);
        kinds.insert(kinds.end(), image.extraKinds.begin(), image.extraKinds.end());
        TIFFSetField(t, TIFFTAG_EXTRASAMPLES, uint16_t(kinds.size()), kinds.data());
    } else if (image.extra > 0) {
        TIFFSetField(t, TIFFTAG_EXTRASAMPLES, image.extra, image.extraKinds.data());
    }
    TIFFSetField(t, TIFFTAG_COMPRESSION, image.compression);
    if (image.predictor) TIFFSetField(t, TIFFTAG_PREDICTOR, image.predictor);
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, image.rowsPerStrip ? image.rowsPerStrip : TIFFDefaultStripSize(t, 0));
    if (image.hasResolution) {
        TIFFSetField(t, TIFFTAG_XRESOLUTION, image.xResolution);
        TIFFSetField(t, TIFFTAG_YRESOLUTION, image.yResolution);
        TIFFSetField(t, TIFFTAG_RESOLUTIONUNIT, image.resolutionUnit);
    }
    if (!image.iccProfile.empty())
        TIFFSetField(t, TIFFTAG_ICCPROFILE, uint32_t(image.iccProfile.size()), image.iccProfile.data());
    TIFFSetField(t, TIFFTAG_SOFTWARE, "tintara");
    uint32_t stripRows = 0;
    TIFFGetFieldDefaulted(t, TIFFTAG_ROWSPERSTRIP, &stripRows);
    const uint32_t rowsPer = (stripRows == 0 || stripRows > image.height) ? image.height : stripRows;
    const uint64_t rowBytes = image.RowBytes();
    for (size_t plane = 0; plane < image.planes.size(); ++plane)
        for (uint32_t row = 0; row < image.height; row += rowsPer) {
            const uint32_t rows = std::min(rowsPer, image.height - row);
            // libtiff takes a non-const strip; it encodes from a copy where an encoder would change it.
            auto* data = const_cast<uint8_t*>(image.planes[plane].data() + row * rowBytes);
            if (TIFFWriteEncodedStrip(t, TIFFComputeStrip(t, row, uint16_t(plane)), data,
                                      tmsize_t(uint64_t(rows) * rowBytes)) < 0)
                throw Failure("cannot write " + shownName + ": " + tLastTiffError);
        }
    if (!TIFFWriteDirectory(t)) throw Failure("cannot write " + shownName + ": " + tLastTiffError);
    TIFF* raw = tiff.release();
    TIFFClose(raw);
}

}  // namespace host
