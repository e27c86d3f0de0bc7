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

// Worked cases, corner masks with channel 0 as the top bit.
TEST(HyperSquareWeightRules, WorkedCases) {
    const struct {
        const char* what;
        int32_t mode;
        std::vector<double> f, weights;
    } cases[] = {
        {"simplex on the diagonal", 1, {0.3, 0.3, 0.3}, {0.7, 0, 0, 0, 0, 0, 0, 0.3}},
        // order 1, 2, 0: masks 0 -> 010 -> 011 -> 111, n + 1 corners
        {"simplex from the largest fraction", 1, {0.2, 0.7, 0.5}, {0.3, 0, 0.2, 0.3, 0, 0, 0, 0.2}},
        {"multilinear product form", 0, {0.25, 0.5}, {0.375, 0.375, 0.125, 0.125}},
        {"mode 2 splits channel 3 linearly", 2, {0, 0, 0, 0.25}, {0.75, 0.25, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"scaled multilinear on the diagonal", 4, {0.5, 0.5}, {0.5, 0, 0, 0.5}},
        {"scaled multilinear without fraction is simplex", 4, {0, 0}, {1, 0, 0, 0}},
        {"cube centre between diagonal corners", 5, {0.5, 0.5, 0.5}, {0.5, 0, 0, 0, 0, 0, 0, 0.5}},
        // channel 0 dominates at its near face 0: t = 0, d = 1, p' = q' = 0.5
        {"cube face centre has the face only", 5, {0, 0.5, 0.5}, {0.25, 0.25, 0.25, 0.25, 0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        const std::vector<double> w = Weights(c.mode, c.f);
        ASSERT_EQ(w.size(), c.weights.size()) << c.what;
        for (size_t m = 0; m < w.size(); ++m) EXPECT_NEAR(w[m], c.weights[m], 1e-15) << c.what << " corner " << m;
    }
}

TEST(HyperSquareWeightRules, ModeTwoEqualsSimplexWithoutChannelThree) {
    auto four = Weights(2, {0.6, 0.1, 0.4, 0.0});
    auto three = Weights(1, {0.6, 0.1, 0.4});
    for (uint32_t m = 0; m < 8; ++m) {
        EXPECT_DOUBLE_EQ(four[m << 1], three[m]) << m;
        EXPECT_EQ(four[(m << 1) | 1], 0.0) << m;
    }
    EXPECT_EQ(Weights(2, {0.6, 0.1, 0.4}), three);  // below four channels mode 2 is mode 1
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
