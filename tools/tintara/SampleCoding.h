// How a file's samples relate to the numbers the engine's links take. The engine's gray is ink:
// 0 is white paper, full scale is black. A gray file that stores light (black 0) is turned
// around on the way in and the way out.
#pragma once

#include <cstdint>

#include "Image.h"

namespace host {

// Whether the one colour channel of this raster stores light rather than ink.
bool StoresLight(const ImageShape& shape);

// Turns the samples of `channel` around (v -> full scale - v) in rows [firstRow, firstRow + rows).
void InvertChannel(Image& image, uint16_t channel, uint32_t firstRow, uint32_t rows);

// The colour channels of `rows` rows from `first` on as a link's 16-bit codes, interleaved (8-bit
// samples widened exactly), and back (rounded to 8 bits where the band has 8, clipped). Lab
// samples are recoded: a link's Lab codes span L 0 to 100 and a, b -128 to 128, while CIELab
// files store a, b signed and ICCLab files offset by 128 (8-bit) or on 0 to 65535 for -128 to 127
// (16-bit, the encoding of ICC version 4).
void ToLinkCodes(const Image& band, uint32_t first, uint32_t rows, uint16_t* codes);
void FromLinkCodes(const uint16_t* codes, Image& band, uint32_t first, uint32_t rows);

}  // namespace host
