// Grid choice of device links: bits, rounding to fast sizes, the quality table.
#include "link/TKLinkGridChoice.h"
#include "link/TKLinkGeneric.h"
#include "support/TestSupport.h"

TEST(LinkGridChoice, RoundGridGivesShiftableSizes) {
    const int32_t cases[][2] = {{1, 2}, {2, 2}, {3, 3}, {4, 5}, {6, 9}, {10, 17}, {17, 17},
                                {18, 33}, {34, 65}, {100, 65}, {0, 0}, {-4, -4}};
    for (const auto& c : cases) EXPECT_EQ(RoundGrid(c[0]), c[1]) << c[0];
    for (int32_t n = 1; n <= 65; ++n) {
        const int32_t g = RoundGrid(n);
        EXPECT_TRUE(g == 2 || TKLinkGeneric::GridShiftOf(g) > 0) << n;
        EXPECT_GE(g, std::min(n, 65));
    }
}

TEST(LinkGridChoice, DefaultGridByQualityAndChannels) {
    // {channels, quality, grid}: channels clamp to 1..15, a positive quality is the grid, -3 is
    // reserved and passed through.
    const int32_t cases[][3] = {{4, -4, 3},  {20, 0, 2},  {0, 0, 65},  {3, 0, 17}, {4, 0, 11},  {4, -7, 11},
                                {3, -1, 9},  {4, -2, 17}, {4, -5, 25}, {6, -6, 6}, {3, 21, 21}, {3, -3, -3}};
    for (const auto& c : cases) EXPECT_EQ(DefaultGrid(c[0], c[1]), c[2]) << c[0] << " channels, quality " << c[1];
    EXPECT_TKERROR(DefaultGrid(3, -8), ArgErr);
}

TEST(LinkGridChoice, NearestQualityPrefersTheFirstOfEqualDistance) {
    // Three channels: -5 -> 65, -6 -> 25, -2 -> 33, -7 -> 17, -1 -> 9, -4 -> 5.
    EXPECT_EQ(NearestQuality(3, 65), 0);
    EXPECT_EQ(NearestQuality(3, 17), 3);
    EXPECT_EQ(NearestQuality(3, 9), 4);
    EXPECT_EQ(NearestQuality(3, 2), 5);
    EXPECT_EQ(NearestQuality(3, 29), 1);  // 25 and 33 are both 4 away: -6 comes first
    // Ten channels: -5 -> 3, -6 -> 3, ... the first of the ties wins.
    EXPECT_EQ(NearestQuality(10, 3), 0);
}
