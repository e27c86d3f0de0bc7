// Grid sizes of device links: from grid bits, rounded to the fast sizes, and by quality level.
#pragma once

#include <cstdint>

// The reserved quality that passes through DefaultGrid unchanged.
constexpr int32_t kTKReservedQuality = -3;

// b below 1 is returned as it stands (a quality code), else 2^b + 1 (ArgErr above 30 bits).
int32_t GridFromBits(int32_t bits);
// The next size of the form 2^k + 1 at or above n (2 for 1 or 2; n itself for 0 and below).
int32_t RoundGrid(int32_t n);
// A positive quality is the grid itself; 0 and -1, -2, -4 to -7 pick a row of the quality table
// whose column is the channel count (clamped into 1..15); -3 passes through; ArgErr otherwise.
int32_t DefaultGrid(int32_t channels, int32_t quality);
// The position in the list -5, -6, -2, -7, -1, -4 of the first quality whose table grid for
// `channels` lies nearest to `grid`.
int32_t NearestQuality(int32_t channels, int32_t grid);
