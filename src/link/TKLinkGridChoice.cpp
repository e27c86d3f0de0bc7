// Grid sizes of device links. The quality rows keep link tables small: 4 channels stay at 17
// nodes or less, 8 channels at 5 or less, and most entries are 2^k + 1 so the kernels shift.
#include "link/TKLinkGridChoice.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "foundation/TKError.h"

namespace {

struct QualityRow {
    int32_t quality;
    int32_t grid[15];  // channels 1 to 15
};

constexpr QualityRow kQualityRows[] = {
    {0, {65, 33, 17, 11, 7, 5, 4, 3, 3, 2, 2, 2, 2, 2, 2}},
    {-7, {65, 33, 17, 11, 7, 5, 4, 3, 3, 2, 2, 2, 2, 2, 2}},
    {-1, {33, 17, 9, 6, 5, 4, 3, 3, 2, 2, 2, 2, 2, 2, 2}},
    {-2, {65, 65, 33, 17, 9, 7, 5, 4, 3, 3, 2, 2, 2, 2, 2}},
    {-4, {17, 9, 5, 3, 3, 3, 3, 2, 2, 2, 2, 2, 2, 2, 2}},
    {-5, {65, 65, 65, 25, 13, 9, 6, 5, 4, 3, 3, 3, 2, 2, 2}},
    {-6, {65, 65, 25, 13, 7, 6, 5, 4, 3, 3, 2, 2, 2, 2, 2}},
};

// The order in which NearestQuality tries the qualities, finest first.
constexpr int32_t kQualityOrder[] = {-5, -6, -2, -7, -1, -4};

}  // namespace

int32_t GridFromBits(int32_t bits) {
    if (bits < 1) return bits;
    if (bits > 30) TKThrow(ArgErr);  // would overflow; anything above 6 fails later as a grid
    return (1 << bits) + 1;
}

int32_t RoundGrid(int32_t n) {
    if (n > 33) return 65;
    if (n > 17) return 33;
    if (n > 9) return 17;
    if (n > 5) return 9;
    if (n > 3) return 5;
    if (n > 2) return 3;
    if (n > 0) return 2;
    return n;
}

int32_t DefaultGrid(int32_t channels, int32_t quality) {
    if (quality > 0 || quality == kTKReservedQuality) return quality;
    const int32_t column = std::clamp(channels, 1, 15) - 1;
    for (const QualityRow& row : kQualityRows)
        if (row.quality == quality) return row.grid[column];
    TKThrow(ArgErr);
}

int32_t NearestQuality(int32_t channels, int32_t grid) {
    int32_t best = 0;
    int32_t bestDistance = -1;
    for (int32_t i = 0; i < int32_t(std::size(kQualityOrder)); ++i) {
        const int32_t distance = std::abs(DefaultGrid(channels, kQualityOrder[i]) - grid);
        if (bestDistance < 0 || distance < bestDistance) {
            best = i;
            bestDistance = distance;
        }
    }
    return best;
}
