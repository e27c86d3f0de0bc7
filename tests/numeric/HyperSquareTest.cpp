// Hyper-square interpolation over one cube: the weight trafo, the data cube, its inversion and
// edge-linearized weights.
#include <cmath>

#include "numeric/TKHyperSquareDataTrafo.h"
#include "numeric/TKHyperSquareWeights.h"
#include "numeric/TKInvHyperSquareTrafo.h"
#include "numeric/TKLinearizeEdgesWeights.h"
#include "support/TestSupport.h"

namespace {

// Corner values of an affine map of the unit square or cube: value = offset + A * position.
TKMatrix AffineCube(int32_t n) {
    TKMatrix corners(1 << n, 2);
    for (int32_t m = 0; m < (1 << n); ++m) {
        double x[3] = {};
        for (int32_t d = 0; d < n; ++d) x[d] = (m >> (n - 1 - d)) & 1 ? 1.0 : 0.0;
        corners(m, 0) = 10.0 + 2.0 * x[0] + 0.5 * x[1] - x[2];
        corners(m, 1) = -3.0 + x[0] + 3.0 * x[1] + 0.25 * x[2];
    }
    return corners;
}

// A trafo that bends the unit interval: x -> x^2 on channel 0.
class SquareTrafo : public TKTrafo {
public:
    TKVector Trafo(const TKVector& source) const override {
        TKVector result = source;
        result[0] = source[0] * source[0];
        return result;
    }
};

}  // namespace

TEST(HyperSquareWeightsTrafo, MapsFractionsToCornerWeights) {
    TKRefPtr<TKHyperSquareWeights> weights = TKMakeRef<TKHyperSquareWeights>(1);
    EXPECT_EQ(weights->GetDstDim(3), 8);
    const TKVector w = weights->Trafo(TKVector{0.3, 0.3, 0.3});
    ASSERT_EQ(w.GetDim(), 8);
    EXPECT_DOUBLE_EQ(w[0], 0.7);
    EXPECT_DOUBLE_EQ(w[7], 0.3);
}

TEST(HyperSquareDataCube, EveryRuleReproducesAnAffineMap) {
    for (int32_t mode = 0; mode <= 5; ++mode) {
        TKRefPtr<TKHyperSquareDataTrafo> cube = TKMakeRef<TKHyperSquareDataTrafo>(mode, AffineCube(3));
        const TKVector at = cube->Trafo(TKVector{0.2, 0.9, 0.45});
        EXPECT_NEAR(at[0], 10.0 + 0.4 + 0.45 - 0.45, 1e-12) << mode;
        EXPECT_NEAR(at[1], -3.0 + 0.2 + 2.7 + 0.1125, 1e-12) << mode;
    }
}

TEST(HyperSquareDataCube, TrainingMovesTheCornersOntoThePair) {
    TKRefPtr<TKHyperSquareDataTrafo> cube = TKMakeRef<TKHyperSquareDataTrafo>(0, AffineCube(2));
    TKMatrix sources(1, 2), targets(1, 2);
    sources(0, 0) = 0.25, sources(0, 1) = 0.6;
    targets(0, 0) = 20.0, targets(0, 1) = 5.0;
    cube->Train(sources, targets, 0);
    const TKVector at = cube->Trafo(sources.GetRow(0));
    EXPECT_NEAR(at[0], 20.0, 1e-12);
    EXPECT_NEAR(at[1], 5.0, 1e-12);
    EXPECT_EQ(cube->GetFlags(), 0);
    EXPECT_TKERROR(cube->Train(sources, TKMatrix(2, 2), 0), DimMismatch);
}

TEST(HyperSquareDataCube, ClampedTrainingStillReachesAPointOnACorner) {
    TKRefPtr<TKHyperSquareDataTrafo> cube = TKMakeRef<TKHyperSquareDataTrafo>(1, AffineCube(2));
    TKMatrix sources(1, 2), targets(1, 2);
    sources(0, 0) = 1.0, sources(0, 1) = 0.0;
    targets(0, 0) = 1.0, targets(0, 1) = 2.0;
    cube->Train(sources, targets, TKHyperSquareTrafo::kTrainClampWeights | TKHyperSquareTrafo::kTrainMaxNorm);
    EXPECT_EQ(cube->GetCornerDst(2, 0), (TKVector{1.0, 2.0}));
    EXPECT_EQ(cube->GetCornerDst(0, 0), (TKVector{10.0, -3.0}));  // untouched
}

TEST(InvHyperSquare, InvertsASimplexCube) {
    TKRefPtr<TKHyperSquareDataTrafo> cube = TKMakeRef<TKHyperSquareDataTrafo>(1);
    // A non-affine cube: corner 3 pulled away, so each simplex has its own map.
    TKMatrix corners(4, 2);
    const double values[4][2] = {{0, 0}, {0, 1}, {1, 0}, {1.5, 1.4}};
    for (int32_t m = 0; m < 4; ++m) corners(m, 0) = values[m][0], corners(m, 1) = values[m][1];
    cube->SetMatrix(corners);
    TKInvHyperSquareTrafo inverse(cube.Get(), false);
    EXPECT_EQ(inverse.GetSrcDim(), 2);
    EXPECT_EQ(inverse.GetDstDim(0), 2);
    for (const TKVector& position : {TKVector{0.3, 0.8}, TKVector{0.8, 0.3}, TKVector{0.5, 0.5}, TKVector{0, 1}}) {
        const TKVector target = cube->Trafo(position);
        const TKVector found = inverse.Trafo(target);
        EXPECT_NEAR(found[0], position[0], 1e-12);
        EXPECT_NEAR(found[1], position[1], 1e-12);
    }
}

TEST(InvHyperSquare, OutsideTheCubeGivesTheNearestExtrapolation) {
    TKRefPtr<TKHyperSquareDataTrafo> cube = TKMakeRef<TKHyperSquareDataTrafo>(1, AffineCube(2));
    TKInvHyperSquareTrafo inverse(cube.Get(), false);
    // The cube is affine, so its extension is too: a target beyond corner 3 maps back linearly.
    const TKVector target = cube->Trafo(TKVector{1.2, 1.1});
    const TKVector found = inverse.Trafo(target);
    EXPECT_NEAR(found[0], 1.2, 1e-9);
    EXPECT_NEAR(found[1], 1.1, 1e-9);
    EXPECT_NEAR(cube->Trafo(found)[0], target[0], 1e-9);
}

TEST(InvHyperSquare, RefusesCubesOfTooManyChannels) {
    TKRefPtr<TKHyperSquareDataTrafo> cube = TKMakeRef<TKHyperSquareDataTrafo>(1, TKMatrix(1 << 9, 1));
    TKInvHyperSquareTrafo inverse(cube.Get(), false);
    EXPECT_TKERROR(inverse.Trafo(TKVector{0.5}), ArgErr);
}

TEST(InvHyperSquare, RefusesOtherRules) {
    TKRefPtr<TKHyperSquareDataTrafo> cube = TKMakeRef<TKHyperSquareDataTrafo>(0, AffineCube(2));
    EXPECT_TKERROR(TKInvHyperSquareTrafo(cube.Get(), false), InvalidTrafo);
    EXPECT_TKERROR(TKInvHyperSquareTrafo(nullptr, false), PtrInvalid);
}

TEST(LinearizeEdges, EvenStepsAlongABentEdge) {
    TKLinearizeEdgesWeights weights(new SquareTrafo, true);
    EXPECT_EQ(weights.GetMode(), 6);
    // Along channel 0 the image is x^2: half the image length is reached at x = sqrt(0.5).
    EXPECT_NEAR(weights.LinearizeEdge(2, 0, 0, std::sqrt(0.5)), 0.5, 1e-12);
    // Channel 1 is straight in the image: t stays.
    EXPECT_NEAR(weights.LinearizeEdge(2, 1, 0, 0.3), 0.3, 1e-12);
    EXPECT_EQ(weights.LinearizeEdge(2, 0, 0, 1.0), 1.0);
    EXPECT_EQ(weights.LinearizeEdge(2, 0, 0, -0.5), -0.5);

    const TKVector w = weights.Trafo(TKVector{std::sqrt(0.5), 0.0});
    EXPECT_NEAR(w[0], 0.5, 1e-12);
    EXPECT_NEAR(w[2], 0.5, 1e-12);
    EXPECT_NEAR(w.Sum(), 1.0, 1e-12);
}

TEST(LinearizeEdges, DegenerateImageFallsBackToPlainFractions) {
    // A constant trafo gives edges without length: every edge keeps its t.
    class Constant : public TKTrafo {
    public:
        TKVector Trafo(const TKVector&) const override { return TKVector{1.0, 2.0}; }
    };
    TKLinearizeEdgesWeights weights(new Constant, true);
    const TKVector w = weights.Trafo(TKVector{0.25, 0.5});
    EXPECT_NEAR(w[0], 0.75 * 0.5, 1e-12);
    EXPECT_NEAR(w[3], 0.25 * 0.5, 1e-12);
}

TEST(LinearizeEdges, ServesACubeAsItsRule) {
    TKRefPtr<TKHyperSquareDataTrafo> cube = TKMakeRef<TKHyperSquareDataTrafo>(0, AffineCube(2));
    cube->SetWeights(new TKLinearizeEdgesWeights(new SquareTrafo, true), true);
    // Corners stay exact whatever the rule.
    const TKVector at = cube->Trafo(TKVector{1.0, 0.0});
    EXPECT_NEAR(at[0], 12.0, 1e-12);
    cube->SetWeights(nullptr, false);
    EXPECT_TKERROR(cube->Trafo(TKVector{1.0, 0.0}), PtrInvalid);
}
