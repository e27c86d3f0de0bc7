// Linearization curves from step wedges: the tone measures, the fit and its promises
// (identity for short wedges, monotonic curves from folding or overshooting measurements),
// ink limits, one common curve, chains of linearizations and slope limiting.
#include <cmath>
#include <functional>
#include <limits>

#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "linearization/TKCalcLinearizationVariants.h"
#include "linearization/TKColorLinearization.h"
#include "linearization/TKCurveSlope.h"
#include "linearization/TKToneFit.h"
#include "support/TestSupport.h"

namespace {

// A synthetic process: channel c printed alone at v percent gives the lightness
// 95 - 80 * tone_c(v / 100), neutral; `tone` may fold back or overshoot.
using Tone = std::function<double(int32_t channel, double fraction)>;

struct Chart {
    TKMatrix device, measured;
};

Chart WedgeChart(int32_t steps, const Tone& tone, int32_t channels = 4) {
    Chart chart{TKMatrix(channels * steps, channels, int32_t(GetDeviceType(channels))),
                TKMatrix(channels * steps, 3, int32_t(TKLabSpace))};
    int32_t row = 0;
    for (int32_t c = 0; c < channels; ++c)
        for (int32_t i = 0; i < steps; ++i, ++row) {
            const double f = double(i) / (steps - 1);
            chart.device(row, c) = 100.0 * f;
            chart.measured(row, 0) = 95.0 - 80.0 * tone(c, f);
        }
    return chart;
}

// Channel c follows a power curve of exponent 0.5 + 0.25 c in lightness.
double PowerTone(int32_t c, double f) { return std::pow(f, 0.5 + 0.25 * c); }

TKRefPtr<TKColorLinearization> NewLinearization() {
    return TKRefPtr<TKColorLinearization>(new TKColorLinearization(TKCMYKSpace), true);
}

bool IsRising(const TKCurveLinearization& curve) {
    for (int32_t i = 0; i < 256; ++i)
        if (curve.Apply((i + 1) / 256.0) < curve.Apply(i / 256.0) - 1e-12) return false;
    return true;
}

class LinearizationTest : public TKNoErrorTest {};

// In lightness, tone = f^g, so the curve is the inverse u^(1/g). Every lightness-based measure
// (delta L, delta E and position in Lab of a neutral ramp) sees the same share of the way.
TEST_F(LinearizationTest, CurveInvertsTheToneOfEachChannel) {
    const Chart chart = WedgeChart(21, PowerTone);
    for (int32_t method : {kTKDeltaL, kTKDeltaE76, kTKDeltaISO20654, kTKDeltaRaw}) {
        auto curves = NewLinearization();
        TKCalcColorLinearization calc(chart.device, chart.measured);
        calc.SetDifferenceMethod(method);
        calc.CalcChannelCurves(curves.Get());
        for (int32_t c = 0; c < 4; ++c)
            for (double u : {0.1, 0.25, 0.5, 0.75, 0.9}) {
                const double ideal = std::pow(u, 1.0 / (0.5 + 0.25 * c));
                EXPECT_NEAR(curves->GetCurve(c).Apply(u), ideal, 0.004) << method << " " << c << " " << u;
            }
    }
}

// Every measure gives tones from 0 at the paper to 100 at the solid, rising on a process whose
// lightness and chroma both grow towards the solid (a cyan-like ramp).
TEST_F(LinearizationTest, EveryMeasureRunsFromPaperToSolid) {
    TKMatrix device(11, 4, int32_t(TKCMYKSpace)), measured(11, 3, int32_t(TKLabSpace));
    for (int32_t i = 0; i < 11; ++i) {
        const double f = std::sqrt(i / 10.0);
        device(i, 0) = 10.0 * i;
        measured.SetRow(i, TKVector({95.0 - 40.0 * f, -2.0 - 35.0 * f, -3.0 - 45.0 * f}, TKLabSpace));
    }
    for (int32_t method : {kTKDeltaDensity, kTKDeltaISO20654, kTKDeltaRaw, kTKDeltaE76, kTKDeltaL, kTKDeltaC,
                           kTKDeltaE2000, kTKDeltaCMC21}) {
        TKCalcColorLinearization calc(device, measured);
        calc.SetDifferenceMethod(method);
        TKVector x, y;
        calc.MeasureRamp(0, device, measured, x, y);
        ASSERT_EQ(x.GetDim(), 11) << method;
        EXPECT_EQ(y[0], 0.0) << method;
        EXPECT_NEAR(y[10], 100.0, 1e-9) << method;
        EXPECT_NEAR(x[5], 50.0, 1e-9) << method;
        for (int32_t i = 1; i < 11; ++i) EXPECT_GT(y[i], y[i - 1]) << method << " step " << i;
    }
}

// Wedges that cannot make a curve leave the identity; rows that do not advance are dropped.
TEST_F(LinearizationTest, ShortWedgesAndRepeatedStepsLeaveIdentityOrAreDropped) {
    const Chart two = WedgeChart(2, PowerTone);
    auto curves = NewLinearization();
    TKCalcColorLinearization(two.device, two.measured).CalcChannelCurves(curves.Get());
    EXPECT_TRUE(curves->IsIdentity());

    TKMatrix device(4, 4, int32_t(TKCMYKSpace)), measured(4, 3, int32_t(TKLabSpace));
    const double steps[] = {0.0, 50.0, 50.004, 100.0};
    for (int32_t i = 0; i < 4; ++i) {
        device(i, 1) = steps[i];
        measured(i, 0) = 95.0 - 0.8 * steps[i];
    }
    TKCalcColorLinearization calc(device, measured);
    TKVector x, y;
    calc.MeasureRamp(1, device, measured, x, y);
    EXPECT_EQ(x.GetDim(), 3);  // 50.004 does not advance by more than 0.01
}

// Measurements that fold back, lie beyond the paper or beyond the solid still give rising
// curves within 0..1 (folds are pooled, overshoots clipped to the wedge's ends).
TEST_F(LinearizationTest, BadMeasurementsStillGiveMonotonicCurves) {
    const Tone cases[] = {
        [](int32_t, double f) { return f + 0.15 * std::sin(f * 12.0); },      // folding back
        [](int32_t, double f) { return f < 0.2 ? -0.05 : f; },                 // lighter than paper
        [](int32_t, double f) { return f > 0.8 ? 1.1 - 0.5 * (f - 0.8) : f; }  // darker than the solid
    };
    for (const Tone& tone : cases) {
        const Chart chart = WedgeChart(21, tone);
        for (int32_t method : {kTKDeltaL, kTKDeltaISO20654, kTKDeltaE76}) {
            auto curves = NewLinearization();
            TKCalcColorLinearization calc(chart.device, chart.measured);
            calc.SetDifferenceMethod(method);
            calc.CalcChannelCurves(curves.Get());
            for (int32_t c = 0; c < 4; ++c) {
                EXPECT_TRUE(IsRising(curves->GetCurve(c))) << method;
                EXPECT_GE(curves->GetCurve(c).Apply(0.0), 0.0);
                EXPECT_LE(curves->GetCurve(c).Apply(1.0), 1.0);
            }
        }
    }
}

// Smoothing straightens a noisy curve; a negative smoothing only clips.
TEST_F(LinearizationTest, SmoothingFlattensNoise) {
    const Chart chart = WedgeChart(21, [](int32_t, double f) { return f + (int(f * 20) % 2 ? 0.02 : -0.02) * (f < 1); });
    auto roughness = [&](double smoothing) {
        auto curves = NewLinearization();
        TKCalcColorLinearization calc(chart.device, chart.measured);
        calc.SetSmoothing(smoothing);
        calc.CalcChannelCurves(curves.Get());
        const TKCurveLinearization& curve = curves->GetCurve(0);
        double sum = 0.0;
        for (int32_t i = 1; i < 99; ++i) sum += std::fabs(curve.Apply((i + 1) / 100.0) - 2 * curve.Apply(i / 100.0) + curve.Apply((i - 1) / 100.0));
        return sum;
    };
    EXPECT_LT(roughness(1e7), 0.5 * roughness(-1.0));
}

// The smoothed values minimise weight |z - v|^2 + smoothing |D z|^2 (D: second differences), so
// they solve weight (z - v) + smoothing D'D z = 0, checked here term by term.
TEST(ToneFit, SmoothedValuesSolveTheirNormalEquations) {
    const std::vector<double> v = {0.0, 0.3, 0.1, 0.6, 0.5, 0.9, 1.0};
    const double smoothing = 2.0, weight = 0.5, c[3] = {1.0, -2.0, 1.0};
    const std::vector<double> z = TKSmoothValues(v, smoothing, weight);
    ASSERT_EQ(z.size(), v.size());
    std::vector<double> residual(v.size());
    for (size_t k = 0; k < v.size(); ++k) residual[k] = weight * (z[k] - v[k]);
    for (size_t j = 0; j + 2 < v.size(); ++j)
        for (size_t a = 0; a < 3; ++a) residual[j + a] += smoothing * c[a] * (z[j] - 2 * z[j + 1] + z[j + 2]);
    for (size_t k = 0; k < v.size(); ++k) EXPECT_NEAR(residual[k], 0.0, 1e-9) << k;
}

// An ink limit at the full value changes nothing; a lower one becomes the curve's end; without
// a limit the end moves to where the process goes flat.
TEST_F(LinearizationTest, InkLimitsMoveTheCurvesEnd) {
    const Chart flat = WedgeChart(21, [](int32_t, double f) { return std::min(1.0, 1.6 * f); });
    auto plain = NewLinearization();
    TKCalcColorLinearization calc(flat.device, flat.measured);
    calc.CalcChannelCurves(plain.Get());
    struct Case {
        TKVector limits;
        double end;
    };
    for (const Case& c : {Case{TKVector({100.0, 80.0, 50.0, 100.0}), -1.0}, Case{TKVector(), -1.0}}) {
        auto curves = NewLinearization();
        TKCalcInkLimitColorLinearization(flat.device, flat.measured, c.limits).CalcChannelCurves(curves.Get());
        for (int32_t ch = 0; ch < 4; ++ch) {
            const double wanted = c.limits.IsEmpty() ? std::clamp(plain->GetCurve(ch).Apply(0.95) + 0.1, 0.5, 1.0)
                                                     : c.limits[ch] / 100.0;
            EXPECT_NEAR(curves->GetCurve(ch).Apply(1.0), std::min(wanted, plain->GetCurve(ch).Apply(1.0)), 2e-3) << ch;
            EXPECT_TRUE(IsRising(curves->GetCurve(ch)));
            if (!c.limits.IsEmpty() && c.limits[ch] == 100.0)
                EXPECT_EQ(curves->GetCurve(ch).GetSamples(), plain->GetCurve(ch).GetSamples());
        }
    }
}

// The common curve of all channels comes from the wedge from the minimum to the maximum.
TEST_F(LinearizationTest, SameCurveForEveryChannel) {
    TKMatrix device(11, 3, int32_t(TKCMYSpace)), measured(11, 3, int32_t(TKLabSpace));
    for (int32_t i = 0; i < 11; ++i) {
        device.SetRow(i, TKVector({10.0 * i, 10.0 * i, 10.0 * i}, TKCMYSpace));
        measured(i, 0) = 95.0 - 80.0 * std::sqrt(i / 10.0);
    }
    TKRefPtr<TKColorLinearization> curves(new TKColorLinearization(TKCMYSpace), true);
    TKCalcColorLinearization calc(device, measured);
    calc.SetDifferenceMethod(kTKDeltaL);
    calc.CalcSameCurve(curves.Get());
    for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(curves->GetCurve(c).Apply(0.5), 0.25, 0.005);
    // Applied as a trafo in percent, and undone by the inverse.
    const TKVector out = curves->Trafo(TKVector({50.0, 50.0, 50.0}, TKCMYSpace));
    EXPECT_NEAR(out[1], 25.0, 0.5);
    EXPECT_NEAR(curves->TrafoInverse(out)[1], 50.0, 1e-3);
    EXPECT_EQ(uint32_t(out.GetType()), TKCMYSpace);
}

TEST(LinearizationErrorTest, MultiLinearizationAppliesInOrder) {
    TKRefPtr<TKColorLinearization> first(new TKColorLinearization(TKCMYKSpace), true);
    first->GetCurveRef(0).SetGamma(2.0);
    TKMultiLinearization both;
    both.Append(first.Get(), false);
    both.Append(first.Get(), false);
    EXPECT_NEAR(both.Trafo(TKVector({50.0, 0.0, 0.0, 0.0}, TKCMYKSpace))[0], 6.25, 1e-9);
    EXPECT_TKERROR(both.Get(2), IndexError);
    EXPECT_TKERROR(both.Append(nullptr, false), PtrInvalid);
}

// Charts that cannot be read, and ink limits out of range, raise the codes hosts get back.
TEST(LinearizationErrorTest, UnreadableChartsAreRefused) {
    const Chart good = WedgeChart(5, PowerTone);
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    struct Case {
        std::function<void(Chart&)> spoil;
        int32_t code;
    };
    const Case cases[] = {
        {[&](Chart& c) { c.measured(3, 0) = nan; }, IllegalMeasurementData},
        {[&](Chart& c) { c.measured(3, 1) = inf; }, IllegalMeasurementData},
        {[&](Chart& c) { c.device(2, 0) = -inf; }, IllegalMeasurementData},
        {[&](Chart& c) { c.device(2, 0) = 120.0; }, OutOfRange},
        {[&](Chart& c) { c.measured = TKMatrix(3, 3, int32_t(TKLabSpace)); }, DimMismatch},
        {[&](Chart& c) { c.measured.SetType(0); }, ArgErr},
        {[&](Chart& c) { c.device.SetType(int32_t(TKLabSpace)); }, ArgErr},
    };
    for (const Case& c : cases) {
        Chart chart = good;
        c.spoil(chart);
        EXPECT_TKERROR(TKCalcColorLinearization(chart.device, chart.measured), c.code);
    }
    for (double bad : {0.0, -5.0, 100.5, nan})
        EXPECT_TKERROR(TKCalcInkLimitColorLinearization(good.device, good.measured, TKVector({100.0, bad, 100.0, 100.0})),
                       ArgErr);
}

// Slope limits act on the normalized curve; ends stay, the lower limit makes curves monotonic,
// and where the ends need another mean slope the curve becomes the straight line between them.
TEST_F(LinearizationTest, SlopeLimits) {
    struct Case {
        const char* name;
        std::function<double(double)> shape;
        double minSlope, maxSlope;
    };
    const Case cases[] = {
        {"steep start", [](double u) { return std::sqrt(u); }, 0.0, 2.0},
        {"flat start", [](double u) { return u * u * u; }, 0.3, 10.0},
        {"folding", [](double u) { return u + 0.1 * std::sin(u * 20.0); }, 0.0, 5.0},
        {"falling", [](double u) { return 1.0 - std::sqrt(u); }, 0.2, 1.5},
        {"infeasible", [](double u) { return 0.5 * u * u; }, 0.8, 2.0},
    };
    for (const Case& c : cases) {
        TKVector samples(101);
        for (int32_t i = 0; i <= 100; ++i) samples[i] = c.shape(i / 100.0);
        TKCurveLinearization curve(samples);
        TKLimitCurveSlope(curve, c.minSlope, c.maxSlope);
        const TKVector s = curve.GetSamples();
        const double mean = std::fabs(s[100] - s[0]);
        EXPECT_DOUBLE_EQ(s[0], samples[0]) << c.name;
        EXPECT_DOUBLE_EQ(s[100], samples[100]) << c.name;
        for (int32_t i = 0; i < 100; ++i) {
            const double slope = std::fabs(s[i + 1] - s[i]) * 100.0;
            EXPECT_GE(slope, std::min(c.minSlope, mean) - 1e-9) << c.name << " " << i;
            EXPECT_LE(slope, std::max(c.maxSlope, mean) + 1e-9) << c.name << " " << i;
            EXPECT_GE((s[i + 1] - s[i]) * (s[100] - s[0]), -1e-15) << c.name << " " << i;
        }
    }
    // Within the limits nothing changes, not even the curve's kind.
    TKCurveLinearization gamma;
    gamma.SetGamma(1.2);
    TKLimitCurveSlope(gamma, 0.0, 10.0);
    EXPECT_TRUE(gamma.IsGamma());
}

TEST(LinearizationErrorTest, BadSlopeLimitsKeepTheCurves) {
    auto curves = NewLinearization();
    curves->GetCurveRef(0).SetGamma(0.5);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double pairs[][2] = {{-0.1, 2.0}, {0.0, 0.0}, {2.0, 1.0}, {nan, 1.0}, {0.0, nan}, {0.0, -1.0}};
    for (const auto& p : pairs) EXPECT_TKERROR(curves->LimitSlope(p[0], p[1]), ArgErr);
    EXPECT_TRUE(curves->GetCurve(0).IsGamma());
    curves->LimitSlope(0.0, std::numeric_limits<double>::infinity());  // no upper limit is fine
}

}  // namespace
