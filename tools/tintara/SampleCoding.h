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

}  // namespace host
