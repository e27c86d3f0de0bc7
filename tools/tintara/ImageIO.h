// Images read and written band by band: a band is a run of whole rows (a row of tiles for a tiled
// file), so that a job holds a few bands in memory however large the image is.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Image.h"

namespace host {

enum class ImageFormat { Tiff, Png, Jpeg };

// The format an output name asks for: .png, .jpg or .jpeg, else TIFF.
ImageFormat FormatOfName(const std::string& path);
const char* FormatName(ImageFormat format);

// Reads an image from top to bottom.
class ImageReader {
public:
    virtual ~ImageReader() = default;
    // Size, layout and tags; the colour and extra split may be changed before reading starts.
    ImageShape& Shape() { return shape_; }
    const ImageShape& Shape() const { return shape_; }
    // Rows of a band: a tile's height, or as many rows as make a band of useful length.
    uint32_t BandRows() const { return bandRows_; }
    // Reads the next `rows` rows (BandRows, fewer at the end) into `band`, laid out as the shape
    // says; a Failure names the file and the damaged place.
    virtual void Read(Image& band, uint32_t rows) = 0;

protected:
    ImageShape shape_;
    uint32_t bandRows_ = 1;
};

// Writes an image from top to bottom.
class ImageWriter {
public:
    virtual ~ImageWriter() = default;
    // Writes the next `rows` rows of `band`; every call but the last gives the rows of a band.
    virtual void Write(const Image& band, uint32_t rows) = 0;
    // Completes the file; until then it is not a valid image.
    virtual void Finish() = 0;
};

// Rows of a band for an image of this shape when the file does not fix them: about 64 K pixels,
// long enough that the per-call cost of matching vanishes.
uint32_t DefaultBandRows(const ImageShape& shape);

// Rows of a written strip: about 64 KB, as most readers expect, and a divisor of `bandRows` so
// that every band is written as whole strips.
uint32_t StripRows(const ImageShape& shape, uint32_t bandRows);

// Opens an image by its content (TIFF, PNG or JPEG). Refuses what would decode to more than
// `maxImageBytes` or what its data could not hold.
std::unique_ptr<ImageReader> OpenImage(const std::string& path, uint64_t maxImageBytes);

struct WriteOptions {
    int jpegQuality = 90;
};

// Throws a Failure naming `shownName` unless `format` can carry an image of this shape.
void CheckFormatFits(ImageFormat format, const ImageShape& shape, const std::string& shownName);

// A writer of `shape` into `path` (an OutputFile's temporary name) in `format`. TIFF writes
// strips of `shape.rowsPerStrip` rows or, for a tiled shape, tiles.
std::unique_ptr<ImageWriter> CreateImageWriter(ImageFormat format, const std::string& path, const ImageShape& shape,
                                               const std::string& shownName, const WriteOptions& options);

// Format readers and writers, each in its own file.
std::unique_ptr<ImageReader> OpenTiff(const std::string& path, uint64_t maxImageBytes);
std::unique_ptr<ImageReader> OpenPng(const std::string& path, uint64_t maxImageBytes);
std::unique_ptr<ImageReader> OpenJpeg(const std::string& path, uint64_t maxImageBytes);
std::unique_ptr<ImageWriter> CreateTiffWriter(const std::string& path, const ImageShape& shape, const std::string& shownName);
std::unique_ptr<ImageWriter> CreatePngWriter(const std::string& path, const ImageShape& shape, const std::string& shownName);
std::unique_ptr<ImageWriter> CreateJpegWriter(const std::string& path, const ImageShape& shape, const std::string& shownName,
                                              int quality);

}  // namespace host
