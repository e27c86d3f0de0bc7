// Grid choice of device links: bits, rounding to fast sizes, the quality table.
#include "link/TKLinkGridChoice.h"
#include "link/TKLinkGeneric.h"
#include "support/TestSupport.h"

TEST(LinkGridChoice, GridFromBits) {
    EXPECT_EQ(GridFromBits(4), 17);
    EXPECT_EQ(GridFromBits(5), 33);
    EXPECT_EQ(GridFromBits(1), 3);
    EXPECT_EQ(GridFromBits(6), 65);
    EXPECT_EQ(GridFromBits(0), 0);   // the default grid
    EXPECT_EQ(GridFromBits(-2), -2);  // a quality passes through
    EXPECT_EQ(GridFromBits(7), 129);  // too large for a link; Init refuses it
    EXPECT_TKERROR(GridFromBits(31), ArgErr);
}

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
    EXPECT_EQ(DefaultGrid(4, -4), 3);
    EXPECT_EQ(DefaultGrid(20, 0), 2);  // channels clamp to 15
    EXPECT_EQ(DefaultGrid(0, 0), 65);  // and to 1
    EXPECT_EQ(DefaultGrid(3, 0), 17);
    EXPECT_EQ(DefaultGrid(4, 0), 11);
    EXPECT_EQ(DefaultGrid(4, -7), 11);
    EXPECT_EQ(DefaultGrid(3, -1), 9);
    EXPECT_EQ(DefaultGrid(4, -2), 17);
    EXPECT_EQ(DefaultGrid(4, -5), 25);
    EXPECT_EQ(DefaultGrid(6, -6), 6);
    EXPECT_EQ(DefaultGrid(3, 21), 21);  // a positive quality is the grid
    EXPECT_EQ(DefaultGrid(3, -3), -3);  // reserved, passed through
    EXPECT_TKERROR(DefaultGrid(3, -8), ArgErr);
}

TEST(LinkGridChoice, QualityRowsKeepLinksSmall) {
    for (int32_t quality : {0, -1, -2, -4, -5, -6, -7}) {
        EXPECT_LE(DefaultGrid(4, quality), 25) << quality;
        EXPECT_LE(DefaultGrid(8, quality), 5) << quality;
    }
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
