// Curves tuned by the minimizer: against the press model itself the curves are right between
// the steps a chart measures; against a noisy wedge they stay smooth and monotonic.
#include <cmath>
#include <cstdio>

#include "SimulatedPress.h"
#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "linearization/TKCalcLinearizationVariants.h"
#include "linearization/TKOptimizeLinearization.h"
#include "support/TestSupport.h"

namespace {

// Largest delta E 1976 over every 1 % of the C, M, Y, K wedges between the press behind the
// curves and the undistorted press.
double WorstOnWedges(const TKTrafo& press, const TKTrafo& curves, const TKTrafo& reference) {
    double worst = 0.0;
    for (int32_t wedge = 0; wedge < 4; ++wedge)
        for (int32_t p = 0; p <= 100; ++p) {
            const TKVector colour = WedgeColour(wedge, p);
            worst = std::max(worst, DeltaE76(press.Trafo(curves.Trafo(colour)).Values(), reference.Trafo(colour).Values()));
        }
    return worst;
}

using OptimizeLinearizationTest = TKNoErrorTest;

// The chart-based reference linearization (21 steps) leaves up to ~0.36 between its steps; tuned
// on the press model the curves follow the reference everywhere. The exact answer is u^1.25
// per channel, which a 12-point monotonic cubic holds to well within 0.2.
TEST_F(OptimizeLinearizationTest, TunedOnThePressModelMatchesTheReferenceBetweenSteps) {
    TKRefPtr<SimulatedPress> press(new SimulatedPress(0.8), true), reference(new SimulatedPress(1.0), true);
    TKRefPtr<TKColorLinearization> curves = ReferenceCurves(*press, *reference, 21);
    const double fromChart = WorstOnWedges(*press, *curves, *reference);

    TKRefPtr<TKOptimizeLinearizationAndTrafo> tuner(new TKOptimizeLinearizationAndTrafo(press.Get()), true);
    tuner->SetReference(reference.Get());
    tuner->SetSmoothing(0.0);  // a model has no noise to calm
    tuner->SetPointCount(20);
    const double toneMiss = tuner->OptimizeAll(curves.Get());
    const double tuned = WorstOnWedges(*press, *curves, *reference);
    std::printf("worst dE76 on C, M, Y, K: chart curves %.3f, tuned on the model %.3f (tone miss %.4f)\n", fromChart,
                tuned, toneMiss);
    EXPECT_LT(tuned, 0.2);
    EXPECT_LT(tuned, fromChart);
    for (double u : {0.1, 0.3, 0.5, 0.7, 0.9})
        EXPECT_NEAR(curves->GetCurve(1).Apply(u), std::pow(u, 1.25), 0.01) << u;
}

// A wedge of 11 steps of the tone x^0.6 with +-1.5 % of measurement noise: the curve stays
// monotonic, its residual stays within the noise, and the bend penalty makes it calmer.
TEST_F(OptimizeLinearizationTest, NoisyWedgeGivesASmoothMonotonicCurve) {
    TKVector x(11), y(11);
    for (int32_t i = 0; i < 11; ++i) {
        x[i] = i / 10.0;
        y[i] = std::pow(x[i], 0.6) + (i > 0 && i < 10 ? (i % 2 ? 0.015 : -0.015) : 0.0);
    }
    double bends[2];
    for (int run = 0; run < 2; ++run) {
        TKRefPtr<TKOptimizeLinearization> tuner(new TKOptimizeLinearization(x, y), true);
        tuner->SetSmoothing(run == 0 ? 0.0 : 0.05);
        TKRefPtr<TKColorLinearization> curves(new TKColorLinearization(TKGraySpace), true);
        EXPECT_LT(tuner->Optimize(curves.Get(), 0), 0.05);
        const TKCurveLinearization& curve = curves->GetCurve(0);
        bends[run] = 0.0;
        for (int32_t i = 1; i < 100; ++i) {
            EXPECT_GE(curve.Apply(i / 100.0), curve.Apply((i - 1) / 100.0));
            bends[run] += std::fabs(curve.Apply((i + 1) / 100.0) - 2 * curve.Apply(i / 100.0) + curve.Apply((i - 1) / 100.0));
        }
        // The exact inverse of x^0.6 is u^(1/0.6); the noise may move it by about its size.
        for (double u : {0.2, 0.5, 0.8}) EXPECT_NEAR(curve.Apply(u), std::pow(u, 1 / 0.6), 0.04) << u;
    }
    EXPECT_LT(bends[1], bends[0]);
}

TEST(OptimizeLinearizationRefusal, BadSetupsAreArgErrors) {
    const TKVector two({0.0, 1.0}), three({0.0, 0.5, 1.0}), withNaN({0.0, std::nan(""), 1.0});
    EXPECT_TKERROR(TKOptimizeLinearization(two, two), ArgErr);
    EXPECT_TKERROR(TKOptimizeLinearization(three, withNaN), ArgErr);
    EXPECT_TKERROR(TKOptimizeLinearization(three, two), ArgErr);
    TKRefPtr<TKOptimizeLinearization> tuner(new TKOptimizeLinearization(three, three), true);
    EXPECT_TKERROR(tuner->SetSmoothing(-1.0), ArgErr);
    EXPECT_TKERROR(tuner->SetPointCount(0), ArgErr);
    TKRefPtr<TKColorLinearization> curves(new TKColorLinearization(TKCMYKSpace), true);
    EXPECT_TKERROR(tuner->Optimize(curves.Get(), 4), IndexError);
    EXPECT_EQ(tuner->Optimize(nullptr, 0), 0.0);
    EXPECT_TKERROR(TKOptimizeLinearizationAndTrafo(nullptr), ArgErr);
    TKRefPtr<TKTrafo> labToLab(new TKColorLinearization(TKLabSpace), true);
    EXPECT_TKERROR(TKOptimizeLinearizationAndTrafo(labToLab.Get()), ArgErr);
}

}  // namespace
