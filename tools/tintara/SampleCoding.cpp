// How a file's samples relate to the numbers the engine's links take.
#include "SampleCoding.h"

#include <tiffio.h>

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
