// Weight rules of hyper-square interpolation: the worked cases and the properties every rule
// must have (weights sum to 1, linear functions are reproduced exactly).
#include <random>
#include <vector>

#include "numeric/TKHyperSquareWeightRules.h"
#include "support/TestSupport.h"

namespace {

std::vector<double> Weights(int32_t mode, std::vector<double> f) {
    std::vector<double> w(size_t(1) << f.size(), -1.0);
    TKWeightRules::Compute(mode, f.data(), int32_t(f.size()), w.data());
    return w;
}

// Corner m of the unit cube, coordinate d: channel 0 is the top bit of the mask.
double CornerCoordinate(uint32_t m, int32_t n, int32_t d) { return (m >> (n - 1 - d)) & 1u ? 1.0 : 0.0; }

}  // namespace

TEST(HyperSquareWeightRules, SimplexOfEqualFractionsUsesTheDiagonal) {
    auto w = Weights(1, {0.3, 0.3, 0.3});
    EXPECT_DOUBLE_EQ(w[0], 0.7);
    EXPECT_DOUBLE_EQ(w[7], 0.3);
    for (int32_t m = 1; m < 7; ++m) EXPECT_EQ(w[m], 0.0) << m;
}

TEST(HyperSquareWeightRules, SimplexWalksFromTheLargestFraction) {
    // f = (0.2, 0.7, 0.5): order 1, 2, 0; masks 0 -> 010 -> 011 -> 111.
    auto w = Weights(1, {0.2, 0.7, 0.5});
    EXPECT_DOUBLE_EQ(w[0], 0.3);
    EXPECT_DOUBLE_EQ(w[2], 0.2);
    EXPECT_DOUBLE_EQ(w[3], 0.3);
    EXPECT_DOUBLE_EQ(w[7], 0.2);
    int32_t nonZero = 0;
    for (double x : w) nonZero += x != 0.0;
    EXPECT_EQ(nonZero, 4);  // n + 1 corners
}

TEST(HyperSquareWeightRules, MultilinearIsTheProductForm) {
    auto w = Weights(0, {0.25, 0.5});
    EXPECT_DOUBLE_EQ(w[0], 0.75 * 0.5);
    EXPECT_DOUBLE_EQ(w[1], 0.75 * 0.5);  // channel 1 set
    EXPECT_DOUBLE_EQ(w[2], 0.25 * 0.5);  // channel 0 set
    EXPECT_DOUBLE_EQ(w[3], 0.25 * 0.5);
}

TEST(HyperSquareWeightRules, ModeTwoEqualsSimplexWithoutChannelThree) {
    auto four = Weights(2, {0.6, 0.1, 0.4, 0.0});
    auto three = Weights(1, {0.6, 0.1, 0.4});
    for (uint32_t m = 0; m < 8; ++m) {
        EXPECT_DOUBLE_EQ(four[m << 1], three[m]) << m;
        EXPECT_EQ(four[(m << 1) | 1], 0.0) << m;
    }
    auto small = Weights(2, {0.6, 0.1, 0.4});
    EXPECT_EQ(small, three);  // below four channels mode 2 is mode 1
}

TEST(HyperSquareWeightRules, ModeTwoSplitsChannelThreeLinearly) {
    auto w = Weights(2, {0.0, 0.0, 0.0, 0.25});
    EXPECT_DOUBLE_EQ(w[0], 0.75);
    EXPECT_DOUBLE_EQ(w[1], 0.25);
}

TEST(HyperSquareWeightRules, ScaledMultilinearOnTheDiagonal) {
    auto w = Weights(4, {0.5, 0.5});
    EXPECT_DOUBLE_EQ(w[0], 0.5);
    EXPECT_DOUBLE_EQ(w[3], 0.5);
    EXPECT_EQ(w[1], 0.0);
    EXPECT_EQ(w[2], 0.0);
    EXPECT_EQ(Weights(4, {0.0, 0.0}), Weights(1, {0.0, 0.0}));  // no fraction: simplex
}

TEST(HyperSquareWeightRules, CubeCentreSplitsBetweenDiagonalCorners) {
    auto w = Weights(5, {0.5, 0.5, 0.5});
    EXPECT_DOUBLE_EQ(w[0], 0.5);
    EXPECT_DOUBLE_EQ(w[7], 0.5);
    for (int32_t m = 1; m < 7; ++m) EXPECT_EQ(w[m], 0.0) << m;
}

TEST(HyperSquareWeightRules, CubeFaceCentreHasTheFaceOnly) {
    // (0, 0.5, 0.5): channel 0 dominates at its near face 0; t = 0, d = 1, p' = q' = 0.5.
    auto w = Weights(5, {0.0, 0.5, 0.5});
    for (int32_t m = 0; m < 4; ++m) EXPECT_DOUBLE_EQ(w[m], 0.25) << m;
    for (int32_t m = 4; m < 8; ++m) EXPECT_EQ(w[m], 0.0) << m;
}

TEST(HyperSquareWeightRules, EveryRuleIsAPartitionOfUnityWithLinearPrecision) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int32_t mode = 0; mode <= 5; ++mode)
        for (int32_t n = 1; n <= 6; ++n)
            for (int32_t trial = 0; trial < 200; ++trial) {
                std::vector<double> f(n);
                for (auto& x : f) x = trial % 10 == 0 ? 0.5 : unit(random);
                if (trial % 7 == 0) f[0] = 1.0;
                auto w = Weights(mode, f);
                double sum = 0.0;
                std::vector<double> position(n, 0.0);
                for (uint32_t m = 0; m < w.size(); ++m) {
                    EXPECT_GE(w[m], -1e-12) << "mode " << mode << " n " << n;
                    sum += w[m];
                    for (int32_t d = 0; d < n; ++d) position[d] += w[m] * CornerCoordinate(m, n, d);
                }
                ASSERT_NEAR(sum, 1.0, 1e-12) << "mode " << mode << " n " << n;
                for (int32_t d = 0; d < n; ++d)
                    ASSERT_NEAR(position[d], f[d], 1e-12) << "mode " << mode << " n " << n << " d " << d;
            }
}
