// The skip test of merge links: do a few sample planes hold any ink over a run of pixels? It runs
// on the raw samples and stops at the first one that is not 0.
#pragma once

#include <cstdint>

// True as soon as one sample of the `channels` planes over `count` pixels is not 0. Plane c
// starts at planes[c] and steps strides[c] samples from pixel to pixel.
bool TKPlanesHaveInk(int32_t count, const uint8_t* const* planes, const int32_t* strides, int32_t channels);
bool TKPlanesHaveInk(int32_t count, const uint16_t* const* planes, const int32_t* strides, int32_t channels);
