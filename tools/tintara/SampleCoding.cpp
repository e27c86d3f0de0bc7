// How a file's samples relate to the numbers the engine's links take.
#include "SampleCoding.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace host {

bool StoresLight(const ImageShape& shape) {
    return shape.ColourChannels() == 1 && shape.photometric == PHOTOMETRIC_MINISBLACK;
}

void InvertChannel(Image& image, uint16_t channel, uint32_t firstRow, uint32_t rows) {
    const uint64_t count = uint64_t(image.width) * rows;
    const uint64_t step = image.planar ? 1 : image.samples;
    uint8_t* base = image.planes[image.planar ? channel : 0].data() + firstRow * image.RowBytes();
    if (image.bits == 8) {
        uint8_t* at = base + (image.planar ? 0 : channel);
        for (uint64_t i = 0; i < count; ++i) at[i * step] = uint8_t(255 - at[i * step]);
        return;
    }
    uint8_t* at = base + (image.planar ? 0 : channel * 2u);
    for (uint64_t i = 0; i < count; ++i) {
        uint16_t value;
        std::memcpy(&value, at + i * step * 2, 2);
        value = uint16_t(65535 - value);
        std::memcpy(at + i * step * 2, &value, 2);
    }
}

}  // namespace host

namespace host {

namespace {

constexpr uint16_t kCieLab = PHOTOMETRIC_CIELAB;

// Where the sample of `channel` of pixel `pixel` (counted from the band's start) lies.
uint8_t* SampleAt(const Image& band, uint64_t pixel, uint16_t channel) {
    const uint64_t at = band.planar ? pixel : pixel * band.samples + channel;
    return const_cast<uint8_t*>(band.planes[band.planar ? channel : 0].data()) + at * band.BytesPerSample();
}

uint32_t Load(const Image& band, uint64_t pixel, uint16_t channel) {
    const uint8_t* at = SampleAt(band, pixel, channel);
    if (band.bits == 8) return *at;
    uint16_t value;
    std::memcpy(&value, at, 2);
    return value;
}

void Store(Image& band, uint64_t pixel, uint16_t channel, uint32_t value) {
    uint8_t* at = SampleAt(band, pixel, channel);
    if (band.bits == 8) {
        *at = uint8_t(value);
    } else {
        const uint16_t word = uint16_t(value);
        std::memcpy(at, &word, 2);
    }
}

uint16_t ClampCode(double code) { return uint16_t(std::lround(std::clamp(code, 0.0, 65535.0))); }

// a or b of a Lab file's sample, and the sample of a value.
double LabChroma(const ImageShape& shape, uint32_t raw) {
    if (shape.photometric == kCieLab) return shape.bits == 8 ? double(int8_t(raw)) : double(int16_t(raw)) / 256.0;
    return shape.bits == 8 ? double(raw) - 128.0 : double(raw) / 257.0 - 128.0;
}

uint32_t LabChromaSample(const ImageShape& shape, double value) {
    if (shape.photometric == kCieLab) {
        if (shape.bits == 8) return uint8_t(int8_t(std::lround(std::clamp(value, -128.0, 127.0))));
        return uint16_t(int16_t(std::lround(std::clamp(value * 256.0, -32768.0, 32767.0))));
    }
    if (shape.bits == 8) return uint32_t(std::lround(std::clamp(value + 128.0, 0.0, 255.0)));
    return uint32_t(std::lround(std::clamp((value + 128.0) * 257.0, 0.0, 65535.0)));
}

}  // namespace

void ToLinkCodes(const Image& band, uint32_t first, uint32_t rows, uint16_t* codes) {
    const uint16_t colours = band.ColourChannels();
    const uint64_t begin = uint64_t(first) * band.width, end = begin + uint64_t(rows) * band.width;
    const uint32_t widen = band.bits == 8 ? 257 : 1;
    for (uint64_t p = begin; p < end; ++p)
        for (uint16_t c = 0; c < colours; ++c) {
            const uint32_t raw = Load(band, p, c);
            *codes++ = (band.IsLab() && c > 0) ? ClampCode((LabChroma(band, raw) + 128.0) / 256.0 * 65535.0)
                                               : uint16_t(raw * widen);
        }
}

void FromLinkCodes(const uint16_t* codes, Image& band, uint32_t first, uint32_t rows) {
    const uint16_t colours = band.ColourChannels();
    const uint64_t begin = uint64_t(first) * band.width, end = begin + uint64_t(rows) * band.width;
    for (uint64_t p = begin; p < end; ++p)
        for (uint16_t c = 0; c < colours; ++c) {
            const uint16_t code = *codes++;
            uint32_t raw = band.bits == 8 ? (uint32_t(code) * 255 + 32767) / 65535 : code;
            if (band.IsLab() && c > 0) raw = LabChromaSample(band, double(code) / 65535.0 * 256.0 - 128.0);
            Store(band, p, c, raw);
        }
}

}  // namespace host
