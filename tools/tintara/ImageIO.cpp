// Choosing a format by name or content, and the whole-image reads and writes built on the bands.
#include "ImageIO.h"

#include <sys/mman.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>

#include "HostSupport.h"

namespace host {

namespace {

std::string LowerEnding(const std::string& path) {
    const size_t dot = path.find_last_of('.');
    const size_t slash = path.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string end = path.substr(dot);
    std::transform(end.begin(), end.end(), end.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return end;
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

ImageFormat FormatOfName(const std::string& path) {
    const std::string end = LowerEnding(path);
    if (end == ".png") return ImageFormat::Png;
    if (end == ".jpg" || end == ".jpeg" || end == ".jpe") return ImageFormat::Jpeg;
    return ImageFormat::Tiff;
}

const char* FormatName(ImageFormat format) {
    switch (format) {
        case ImageFormat::Png: return "PNG";
        case ImageFormat::Jpeg: return "JPEG";
        default: return "TIFF";
    }
}

uint32_t DefaultBandRows(const ImageShape& shape) {
    constexpr uint64_t kBandPixels = 65536;
    return uint32_t(std::clamp<uint64_t>(kBandPixels / std::max(1u, shape.width), 1, std::max(1u, shape.height)));
}

uint32_t StripRows(const ImageShape& shape, uint32_t bandRows) {
    constexpr uint64_t kStripBytes = 65536;
    uint32_t rows = uint32_t(std::clamp<uint64_t>(kStripBytes / std::max<uint64_t>(1, shape.RowBytes()), 1, bandRows));
    while (bandRows < shape.height && bandRows % rows != 0) --rows;
    return rows;
}

std::unique_ptr<ImageReader> OpenImage(const std::string& path, uint64_t maxImageBytes) {
    unsigned char magic[8] = {};
    {
        std::ifstream in(path, std::ios::binary);
        if (!in) throw Failure("cannot read " + path + ": " + std::strerror(errno));
        in.read(reinterpret_cast<char*>(magic), sizeof magic);
    }
    if (std::memcmp(magic, "\x89PNG\r\n\x1a\n", 8) == 0) return OpenPng(path, maxImageBytes);
    if (magic[0] == 0xFF && magic[1] == 0xD8 && magic[2] == 0xFF) return OpenJpeg(path, maxImageBytes);
    if ((magic[0] == 'I' && magic[1] == 'I') || (magic[0] == 'M' && magic[1] == 'M')) return OpenTiff(path, maxImageBytes);
    throw Failure("cannot read " + path + ": not a TIFF, PNG or JPEG file");
}

void CheckFormatFits(ImageFormat format, const ImageShape& shape, const std::string& shownName) {
    const uint16_t colours = shape.ColourChannels();
    const bool labOrInks = shape.IsLab() || shape.photometric == 5 /* separated */;
    if (format == ImageFormat::Png && ((colours != 1 && colours != 3) || labOrInks || shape.extra > 1))
        throw Failure("cannot write " + shownName + ": PNG holds gray or RGB with at most one alpha, not " +
                      std::to_string(colours) + (shape.IsLab() ? " Lab" : "") + " colour channels and " +
                      std::to_string(shape.extra) + " extra samples");
    if (format == ImageFormat::Jpeg && ((colours != 1 && colours != 3 && colours != 4) || shape.IsLab() ||
                                        shape.extra > 0 || (colours == 3 && shape.photometric != 2 /* RGB */)))
        throw Failure("cannot write " + shownName + ": JPEG holds gray, RGB or CMYK without extra samples, not " +
                      std::to_string(colours) + (shape.IsLab() ? " Lab" : "") + " colour channels and " +
                      std::to_string(shape.extra) + " extra samples");
}

std::unique_ptr<ImageWriter> CreateImageWriter(ImageFormat format, const std::string& path, const ImageShape& shape,
                                               const std::string& shownName, const WriteOptions& options) {
    CheckFormatFits(format, shape, shownName);
    switch (format) {
        case ImageFormat::Png: return CreatePngWriter(path, shape, shownName);
        case ImageFormat::Jpeg: return CreateJpegWriter(path, shape, shownName, options.jpegQuality);
        default: return CreateTiffWriter(path, shape, shownName);
    }
}

Image ReadImage(const std::string& path, uint64_t maxImageBytes) {
    std::unique_ptr<ImageReader> reader = OpenImage(path, maxImageBytes);
    Image image(reader->Shape());
    image.Allocate(false, maxImageBytes);
    // Band by band, each copied into place.
    Image band(reader->Shape());
    band.height = reader->BandRows();
    band.Allocate(false, maxImageBytes);
    for (uint32_t row = 0; row < image.height; row += reader->BandRows()) {
        const uint32_t rows = std::min(reader->BandRows(), image.height - row);
        reader->Read(band, rows);
        for (size_t p = 0; p < image.planes.size(); ++p)
            std::memcpy(image.planes[p].data() + row * image.RowBytes(), band.planes[p].data(), rows * band.RowBytes());
    }
    return image;
}

void WriteTiff(const std::string& path, const Image& image, const std::string& shownName) {
    ImageShape shape = image;
    // The whole raster is one band; strips keep the size the shape asks for.
    if (!shape.tiled && shape.rowsPerStrip == 0) shape.rowsPerStrip = StripRows(shape, shape.height);
    std::unique_ptr<ImageWriter> writer = CreateTiffWriter(path, shape, shownName);
    writer->Write(image, image.height);
    writer->Finish();
}

}  // namespace host
