// Gray targets, the gray balance solver on trafos and charts, and the refinement of curves.
#include <algorithm>
#include <cmath>
#include <limits>

#include "SimulatedPress.h"
#include "color/TKCIEConverter.h"
#include "color/TKColorTrafo.h"
#include "color/TKColors.h"
#include "linearization/TKCMYKBalanceTrafo.h"
#include "linearization/TKCalcGrayBalanceCurves.h"
#include "linearization/TKChartPressModel.h"
#include "linearization/TKGrayBalance.h"
#include "separation/TKColorSeparation.h"
#include "support/TestSupport.h"

namespace {

class GrayBalanceTest : public TKNoErrorTest {};

// A display whose equal RGB values are neutral: gamma 2.2 channels mixed so that every row of
// the matrix adds up to the D50 white.
class NeutralDisplay : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override { return int32_t(TKRGBSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKXYZSpace); }
    TKVector Trafo(const TKVector& rgb) const override {
        double v[3];
        for (int32_t i = 0; i < 3; ++i) v[i] = std::pow(std::clamp(rgb[i], 0.0, 255.0) / 255.0, 2.2);
        return TKVector({96.42 * (0.4 * v[0] + 0.4 * v[1] + 0.2 * v[2]), 100.0 * (0.25 * v[0] + 0.65 * v[1] + 0.1 * v[2]),
                         82.49 * (0.05 * v[0] + 0.15 * v[1] + 0.8 * v[2])},
                        TKXYZSpace);
    }
};

// The G7 table's own points, and the ends of every target.
TEST_F(GrayBalanceTest, TargetCurves) {
    auto g7 = TKNewGrayBalanceCurve(0);
    const double points[][2] = {{0, 0}, {49.8, 39.89}, {74.9, 66.07}, {100, 100}};
    for (const auto& p : points) EXPECT_NEAR(g7->MakeTone(p[0]), p[1], 0.05) << p[0];  // a 256-sample table
    EXPECT_FALSE(TKNewGrayBalanceCurve(3) || TKNewGrayBalanceCurve(-1));

    const TKVector paper({93.0, 0.5, -3.0}, TKLabSpace), solid({22.0, 1.5, 2.0}, TKLabSpace);
    for (int32_t type = 0; type < 3; ++type) {
        auto curve = TKNewGrayBalanceCurve(type);
        const TKVector start = curve->TargetColor(0, paper, solid), end = curve->TargetColor(100, paper, solid);
        EXPECT_NEAR(start[0], paper[0], 1e-6) << type;
        EXPECT_NEAR(start[2], paper[2], 1e-6) << type;
        EXPECT_NEAR(end[0], solid[0], 1e-6) << type;
        // G7 and the older reading end neutral; TR 015 ends at the solid's own colour.
        EXPECT_NEAR(end[2], type == 2 ? solid[2] : 0.0, 1e-6) << type;
        for (int32_t v = 5; v <= 100; v += 5)
            EXPECT_LT(curve->TargetColor(v, paper, solid)[0], curve->TargetColor(v - 5, paper, solid)[0]) << type << v;
    }
    // Density: Y 10 is a density of 1.
    EXPECT_NEAR(g7->ToDensity(10.0), 1.0, 1e-12);
    EXPECT_NEAR(g7->Evaluate(100, 0.1, 1.5), 1.5, 1e-12);
}

// flags 0 is 15; the first and last steps are fixed, the inner ones solved; method 2 keeps
// the three channels equal; without bit 2 the black channel keeps the gray step.
TEST_F(GrayBalanceTest, SolverFlagsAndFixedEnds) {
    TKRefPtr<SimulatedPress> press(new SimulatedPress(1.0), true);
    TKCalcGrayBalanceCurves solver(press.Get());
    solver.Solve(0);
    const TKMatrix byDefault = solver.GetResults();
    solver.Solve(15);
    EXPECT_EQ(byDefault, solver.GetResults());
    ASSERT_EQ(byDefault.GetHeight(), TKCalcGrayBalanceCurves::kStepCount);
    for (int32_t c = 0; c < 4; ++c) {
        EXPECT_EQ(byDefault(0, c), 0.0);
        EXPECT_EQ(byDefault(10, c), 100.0);
    }
    EXPECT_GT(byDefault(6, 0), byDefault(6, 1) + 2.0);  // a real press needs more cyan in its grays

    solver.Solve(TKCalcGrayBalanceCurves::kSolveCommon);
    for (int32_t step = 0; step < TKCalcGrayBalanceCurves::kStepCount; ++step) {
        EXPECT_EQ(solver.GetResults()(step, 0), solver.GetResults()(step, 2));
        EXPECT_EQ(solver.GetResults()(step, 3), solver.GetSteps()[size_t(step)]);
    }
    // The black curve lands where K alone reaches the K target's lightness.
    solver.Solve(TKCalcGrayBalanceCurves::kSolveEach | TKCalcGrayBalanceCurves::kSolveBlack);
    const double k = solver.GetResults()(6, 3);
    EXPECT_GT(k, 0.0);
    EXPECT_LT(k, 100.0);
}

// An RGB trafo is solved with fixed limits of 100 in equal steps of lightness; a display
// whose equal values are neutral gets three equal curves.
TEST_F(GrayBalanceTest, NeutralRGBNeedsNoBalance) {
    TKRefPtr<TKTrafo> display(new NeutralDisplay, true);
    TKCalcGrayBalanceCurves solver(display.Get());
    solver.SetLimits(TKVector({50.0, 50.0, 50.0}));  // ignored for RGB
    TKRefPtr<TKColorLinearization> curves(new TKColorLinearization, true);
    solver.Calc(curves.Get(), TKCalcGrayBalanceCurves::kSolveEach);
    EXPECT_EQ(curves->GetColorType(), uint32_t(TKRGBSpace));
    const TKVector mid = curves->Trafo(TKVector({128.0, 128.0, 128.0}, TKRGBSpace));
    EXPECT_NEAR(mid[0], mid[1], 0.5);
    EXPECT_NEAR(mid[1], mid[2], 0.5);
    // Equal steps of lightness: the middle step prints L* halfway between white and black.
    EXPECT_NEAR(ConvertColor(TKLabSpace, display->Trafo(mid))[0], 50.0, 0.5);
    EXPECT_NEAR(curves->Trafo(TKVector({255.0, 255.0, 255.0}, TKRGBSpace))[0], 255.0, 1e-6);
}

// The chart's model reproduces every measured wedge exactly.
TEST_F(GrayBalanceTest, ChartModelIsExactOnTheWedges) {
    TKRefPtr<SimulatedPress> press(new SimulatedPress(0.8), true);
    const WedgeChart chart = PrintWedgeChart(*press, 11);
    TKRefPtr<TKChartPressModel> model(new TKChartPressModel(chart.device, chart.measured), true);
    for (int32_t r = 0; r < chart.device.GetHeight(); ++r) {
        const TKVector lab = ConvertColor(TKLabSpace, model->Trafo(chart.device.GetRow(r)));
        EXPECT_LT(lab.Distance(chart.measured.GetRow(r)), 1e-6) << r;
    }
    // Without the black wedge (rows 33 to 43) black has no effect, and its curve keeps the step.
    TKMatrix device(44, 4, int32_t(TKCMYKSpace)), measured(44, 3, int32_t(TKLabSpace));
    for (int32_t r = 0, to = 0; r < chart.device.GetHeight(); ++r)
        if (r < 33 || r > 43) {
            device.SetRow(to, chart.device.GetRow(r));
            measured.SetRow(to++, chart.measured.GetRow(r));
        }
    TKRefPtr<TKColorLinearization> curves(new TKColorLinearization, true);
    TKGrayBalance(device, measured).Calc(curves.Get());
    EXPECT_NEAR(curves->GetCurve(3).Apply(0.5), 0.5, 1e-3);
    EXPECT_GT(std::fabs(curves->GetCurve(0).Apply(0.5) - 0.5), 0.02);
}

// Targets given as colours: the G7 targets as a table give the G7 curves of C, M and Y.
TEST_F(GrayBalanceTest, TargetsGivenAsColours) {
    TKRefPtr<SimulatedPress> press(new SimulatedPress(0.8), true);
    const WedgeChart chart = PrintWedgeChart(*press, 21);
    TKRefPtr<TKChartPressModel> model(new TKChartPressModel(chart.device, chart.measured), true);
    TKCalcGrayBalanceCurves g7(model.Get());
    g7.Solve(0);
    TKMatrix targets(101, 3, int32_t(TKLabSpace));
    for (int32_t step = 0; step <= 100; ++step) targets.SetRow(step, g7.GetTarget(step));
    TKRefPtr<TKColorLinearization> byTable(new TKColorLinearization, true), byCurve(new TKColorLinearization, true);
    TKCIEGrayBalance(chart.device, chart.measured, targets).Calc(byTable.Get());
    TKGrayBalance(chart.device, chart.measured).Calc(byCurve.Get());
    for (int32_t c = 0; c < 3; ++c)
        for (double u : {0.1, 0.3, 0.5, 0.7, 0.9})
            EXPECT_NEAR(byTable->GetCurve(c).Apply(u), byCurve->GetCurve(c).Apply(u), 1e-3) << c << " " << u;
}

TEST(GrayBalanceErrorTest, RefusedInputs) {
    TKRefPtr<SimulatedPress> press(new SimulatedPress(1.0), true);
    TKCalcGrayBalanceCurves solver(press.Get());
    solver.SetCurveType(7);  // no such curve: the next calculation finds none
    TKRefPtr<TKColorLinearization> curves(new TKColorLinearization(TKCMYKSpace), true);
    EXPECT_TKERROR(solver.Calc(curves.Get(), 0), PtrInvalid);
    EXPECT_TRUE(curves->IsIdentity());
    for (double bad : {0.0, 101.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_TKERROR(solver.SetLimits(TKVector({100.0, bad})), ArgErr);
    EXPECT_TKERROR(TKCalcGrayBalanceCurves(nullptr), ArgErr);
    TKRefPtr<TKTrafo> labToXYZ(new TKDefaultColorTrafo(TKLabSpace, TKXYZSpace), true);
    EXPECT_TKERROR(TKCalcGrayBalanceCurves(labToXYZ.Get()), ArgErr);

    // A chart without a gray wedge, or without paper, cannot model the press.
    const WedgeChart chart = PrintWedgeChart(*press, 11);
    TKMatrix device = chart.device, measured = chart.measured;
    device.SetSize(44, 4);  // the four ink wedges only
    measured.SetSize(44, 3);
    EXPECT_TKERROR(TKChartPressModel(device, measured), NoMeasurementData);
    TKMatrix noPaper = chart.device;
    for (int32_t wedge = 0; wedge < 5; ++wedge) noPaper(wedge * 11, 0) = 1.0;
    EXPECT_TKERROR(TKChartPressModel(noPaper, chart.measured), NoMeasurementData);
    EXPECT_TKERROR(TKGrayBalance(device, measured).Calc(curves.Get()), NoMeasurementData);
    TKMatrix darkerThanBlack = chart.measured;
    darkerThanBlack(30, 0) = -5.0;  // L* below 0: negative tristimulus values
    EXPECT_TKERROR(TKChartPressModel(chart.device, darkerThanBlack), IllegalMeasurementData);

    EXPECT_TKERROR(TKCIEGrayBalance(chart.device, chart.measured, TKMatrix(1, 3, int32_t(TKLabSpace))), ArgErr);
    EXPECT_TKERROR(TKCIEGrayBalance(chart.device, chart.measured, TKMatrix(5, 4, int32_t(TKCMYKSpace))), ArgErr);

    // Refining curves of another kind is refused and leaves them.
    TKRefPtr<TKColorLinearization> rgb(new TKColorLinearization(TKRGBSpace), true);
    EXPECT_TKERROR(TKOptimizeGrayBalance(chart.device, chart.measured).Calc(rgb.Get()), ArgErr);
    EXPECT_TRUE(rgb->IsIdentity());
}

}  // namespace

namespace {

// Re-balancing keeps the CMY equivalent of a colour and moves its gray between CMY and black.
TEST(CMYKBalanceTest, MovesGrayBetweenInksAndBlack) {
    const TKVector gray({60.0, 50.0, 50.0, 20.0}, TKCMYKSpace);
    TKRefPtr<TKCMYKBalanceTrafo> none(new TKCMYKBalanceTrafo(0.0), true), most(new TKCMYKBalanceTrafo(0.8), true);
    const TKVector cmyOnly = none->Trafo(gray), blackHeavy = most->Trafo(gray);
    EXPECT_NEAR(cmyOnly[3], 0.0, 1e-9);
    EXPECT_GT(blackHeavy[3], gray[3]);
    EXPECT_LT(blackHeavy[1], gray[1]);
    // Read back with the balance it was made with, the result is the original's CMY equivalent.
    TKBalanceSeparation own(0.0);
    own.SetBalanceFrom(gray);
    EXPECT_LT(TKBalanceSeparation(0.8).CMYKOfBlack(blackHeavy).Distance(own.CMYKOfBlack(gray)), 1e-6);
    EXPECT_TKERROR(TKCMYKBalanceTrafo(1.5), ArgErr);
}

}  // namespace
