// A raster in memory as TIFF holds it: 8 or 16 bits, interleaved or one plane per sample, with
// the tags a colour job keeps (resolution, compression, extra samples, embedded profile, metadata).
// A band of rows of a streamed image is an Image of the band's height.
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace host {

// Memory of large rasters: aligned to 2 MB and offered to the kernel for huge pages, so that the
// first touch of a 64 MB raster costs a few dozen page faults instead of sixteen thousand.
void* AllocateRaster(size_t bytes);
void FreeRaster(void* block) noexcept;
// Sizes from which the raster memory above is used.
constexpr size_t kRasterBytes = size_t(4) << 20;

// Leaves new elements uninitialised when a buffer grows without a value: a raster that is read or
// matched into straight away need not be zeroed first (64 MB of zeros is a noticeable share of a job).
template <class T>
struct DefaultInitAllocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = DefaultInitAllocator<U>;
    };
    DefaultInitAllocator() = default;
    template <class U>
    DefaultInitAllocator(const DefaultInitAllocator<U>&) noexcept {}
    T* allocate(size_t n) {
        if (n * sizeof(T) < kRasterBytes) return std::allocator<T>::allocate(n);
        return static_cast<T*>(AllocateRaster(n * sizeof(T)));
    }
    void deallocate(T* p, size_t n) noexcept {
        if (n * sizeof(T) < kRasterBytes) std::allocator<T>::deallocate(p, n);
        else FreeRaster(p);
    }
    template <class U>
    void construct(U* p) noexcept {
        ::new (static_cast<void*>(p)) U;
    }
    template <class U, class... Args>
    void construct(U* p, Args&&... args) {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
};

// The bytes of one sample buffer.
using SampleBuffer = std::vector<uint8_t, DefaultInitAllocator<uint8_t>>;

// Everything about a raster but its pixels, so that a result can take a source's shape and tags
// without copying the source's samples.
struct ImageShape {
    uint32_t width = 0, height = 0;
    uint16_t bits = 8;          // 8 or 16
    uint16_t samples = 0;       // colour channels plus extra samples
    uint16_t extra = 0;         // extra samples (alpha and the like) after the colour channels
    std::vector<uint16_t> extraKinds;
    bool planar = false;
    uint16_t photometric = 0;   // TIFF's: MINISWHITE, MINISBLACK, RGB, SEPARATED, CIELAB or ICCLAB
    uint16_t inkSet = 0;        // 0 when not given
    uint16_t compression = 1;   // COMPRESSION_NONE
    uint16_t predictor = 0;     // 0 when not given
    uint32_t rowsPerStrip = 0;  // 0 when not given
    bool tiled = false;
    uint32_t tileWidth = 0, tileHeight = 0;
    bool hasResolution = false;
    float xResolution = 0, yResolution = 0;
    uint16_t resolutionUnit = 2;
    std::vector<uint8_t> iccProfile;
    // Tags a job carries over untouched: a text, XMP, IPTC and Photoshop's resources.
    std::string description;
    std::vector<uint8_t> xmp, iptc, photoshop;
    // Names of the colour channels of a many-ink image, as the file gives them (may be empty).
    std::vector<std::string> inkNames;

    uint16_t ColourChannels() const { return uint16_t(samples - extra); }
    uint32_t BytesPerSample() const { return bits / 8u; }
    bool IsLab() const { return photometric == 8 || photometric == 9; }  // CIELAB, ICCLAB
    // Bytes of one row in one buffer.
    uint64_t RowBytes() const { return uint64_t(width) * (planar ? 1u : samples) * BytesPerSample(); }
    // Bytes of all buffers together; UINT64_MAX where that does not fit.
    uint64_t TotalBytes() const;
};

// The largest decoded image the host takes; --max-image lowers it.
constexpr uint64_t kMaxImageBytes = uint64_t(1) << 32;

struct Image : ImageShape {
    Image() = default;
    explicit Image(const ImageShape& shape) : ImageShape(shape) {}
    // One buffer for interleaved samples, or one per sample for planar ones; rows top to bottom.
    std::vector<SampleBuffer> planes;
    // Allocates the buffers for the size and layout already set, zeroed or, for a raster that is
    // filled whole right after, left as they come. Refuses more than `maxBytes` in all.
    void Allocate(bool zeroed = true, uint64_t maxBytes = kMaxImageBytes);
};

// Reads a whole TIFF, PNG or JPEG (told apart by content); a Failure names the file and what
// is wrong with it. An image that would decode to more than `maxImageBytes`, or to more than its
// strips could hold, is refused unread.
Image ReadImage(const std::string& path, uint64_t maxImageBytes = kMaxImageBytes);
// Writes a whole TIFF with the image's tags (to a path that an OutputFile manages).
void WriteTiff(const std::string& path, const Image& image, const std::string& shownName);
// The TIFF compression of a name: none, lzw, deflate (zip) or packbits.
uint16_t CompressionFrom(const std::string& name);

}  // namespace host
