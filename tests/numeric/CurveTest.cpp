// TKCurveLinearization: kinds, named curves against published formulas, ICC parametric
// curves, fits, inversion and concatenation on the FOGRA39L tone ramps, and bad input.
#include <cmath>
#include <cstring>
#include <limits>

#include "io/TKBuffer.h"
#include "numeric/TKCurveLinearization.h"
#include "numeric/TKCurveLinearizationMath.h"
#include "numeric/TKMatrixTrafo.h"
#include "numeric/TrafoTestSupport.h"
#include "support/TestSupport.h"
#include "ToneRampData.h"

namespace {
TKVector Values(std::initializer_list<double> v) { return TKVector(v); }

TKCurveLinearization Table(std::initializer_list<double> v) { return TKCurveLinearization(TKVector(v)); }

TKCurveLinearization Gamma(double g) {
    TKCurveLinearization c;
    c.SetGamma(g);
    return c;
}

// The sRGB decoding of IEC 61966-2-1, written out independently of the engine.
double PublishedSRGBDecode(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }

bool IsNonDecreasing(const TKVector& v) {
    for (int32_t i = 1; i < v.GetDim(); ++i)
        if (v[i] < v[i - 1]) return false;
    return true;
}
}  // namespace

// ---- kinds ------------------------------------------------------------------------------

TEST(CurveKinds, EmptyCurveIsTheIdentityBothWays) {
    TKCurveLinearization c;
    EXPECT_TRUE(c.IsIdentity());
    EXPECT_EQ(c.GetLength(), 0);
    for (double x : {-0.5, 0.0, 0.3, 1.0, 2.0}) {
        EXPECT_EQ(c.Apply(x), x);
        EXPECT_EQ(c.ApplyInverse(x), x);
    }
    c.Invert();
    EXPECT_TRUE(c.IsIdentity());
}

TEST(CurveKinds, IdentityTestsGammaAndTableWithinTolerance) {
    EXPECT_TRUE(Gamma(1.0 + 5e-9).IsIdentity());
    EXPECT_FALSE(Gamma(1.0 + 2e-8).IsIdentity());
    EXPECT_TRUE(Table({0.0, 0.5 + 5e-9, 1.0}).IsIdentity());
    EXPECT_FALSE(Table({0.0, 0.5 + 2e-8, 1.0}).IsIdentity());
    EXPECT_FALSE(Gamma(-4).IsIdentity());
}

TEST(CurveKinds, GammaFromMidpoint) {
    TKCurveLinearization c;
    c.SetGammaFromMidpoint(0.25);
    EXPECT_NEAR(c.GetGamma(), 2.0, 1e-15);
    EXPECT_NEAR(c.Apply(0.5), 0.25, 1e-15);
    c.SetGammaFromMidpoint(0.7);
    EXPECT_NEAR(c.Apply(0.5), 0.7, 1e-14);
}

TEST(CurveKinds, GammaKeepsTheSignOfNegativeInput) {
    EXPECT_DOUBLE_EQ(Gamma(2.0).Apply(-0.5), -0.25);
    EXPECT_DOUBLE_EQ(Gamma(2.0).ApplyInverse(-0.25), -0.5);
    EXPECT_NEAR(Gamma(2.2).Apply(-0.5), -std::pow(0.5, 2.2), 1e-15);
    EXPECT_NEAR(Gamma(2.2).ApplyInverse(Gamma(2.2).Apply(0.37)), 0.37, 1e-15);
}

// ---- named curves -----------------------------------------------------------------------

// CIE 15: L* = 116 (Y/Yn)^(1/3) - 16 above (6/29)^3, 903.3 Y/Yn below. L* 50 is Y 18.4187 %.
TEST(CurveNamed, LStarCurvesMatchTheCIEFormula) {
    TKCurveLinearization toY = Gamma(TKCurveLinearization::kLStarToY);
    EXPECT_NEAR(toY.Apply(0.5), std::pow(66.0 / 116.0, 3.0), 1e-12);
    EXPECT_NEAR(toY.Apply(0.5), 0.184187, 1e-6);
    TKCurveLinearization toL = Gamma(TKCurveLinearization::kYToLStar);
    EXPECT_NEAR(toL.Apply(0.18) * 100.0, 49.4961, 1e-4);
    EXPECT_NEAR(toL.Apply(0.005) * 100.0, 903.2963 * 0.005, 1e-3);  // the linear toe
    for (double x = 0.0; x <= 1.0; x += 0.0625) {
        EXPECT_NEAR(toL.Apply(toY.Apply(x)), x, 1e-12);
        EXPECT_NEAR(toY.ApplyInverse(toY.Apply(x)), x, 1e-12);
    }
    toY.Invert();
    EXPECT_EQ(toY.GetLength(), TKCurveLinearization::kYToLStar);
}

TEST(CurveNamed, SRGBCurvesMatchThePublishedFormula) {
    TKCurveLinearization decode = Gamma(TKCurveLinearization::kSRGBDecode);
    // 0.5 decodes to 0.2140 (IEC 61966-2-1); the two thresholds 0.03928 and 0.04045 bound
    // the same curve to within 1e-7, so all inputs agree closely.
    EXPECT_NEAR(decode.Apply(0.5), 0.214041140, 1e-9);
    for (double v = 0.0; v <= 1.0; v += 1.0 / 255.0) EXPECT_NEAR(decode.Apply(v), PublishedSRGBDecode(v), 1e-6);
    TKCurveLinearization encode = Gamma(TKCurveLinearization::kSRGBEncode);
    EXPECT_NEAR(encode.Apply(0.214041140), 0.5, 1e-9);
    EXPECT_NEAR(encode.Apply(0.001), 0.01292, 1e-12);
    encode.Invert();
    EXPECT_EQ(encode.GetLength(), TKCurveLinearization::kSRGBDecode);
}

// ---- ICC parametric curves --------------------------------------------------------------

// Cross-check with a peer engine: Little CMS 2.14 evaluated the same five curves
// (tests/data/curves/lcms_parametric.c); its results are single-precision floats.
TEST(CurveParametric, AgreesWithLittleCMS) {
    const double params[5][7] = {
        {2.2},
        {2.2, 1.1, -0.1},
        {2.0, 0.95, 0.05, 0.02},
        {2.4, 1.0 / 1.055, 0.055 / 1.055, 1.0 / 12.92, 0.04045},
        {2.6, 0.9, 0.1, 0.15, 0.12, 0.01, 0.005},
    };
    std::FILE* file = std::fopen(TestDataPath("curves/lcms_parametric.csv").c_str(), "r");
    ASSERT_NE(file, nullptr);
    char line[128];
    int rows = 0;
    while (std::fgets(line, sizeof line, file)) {
        int type = 0;
        double x = 0.0, y = 0.0;
        if (std::sscanf(line, "%d,%lf,%lf", &type, &x, &y) != 3) continue;
        TKVector p(7);
        p.SetFromArray(7, params[type]);
        EXPECT_NEAR(TKCurveLinearization::EvalParametric(type, p, x), y, 1e-7 + 1e-6 * y) << type << " " << x;
        ++rows;
    }
    std::fclose(file);
    EXPECT_EQ(rows, 5 * 33);
}

TEST(CurveParametric, SamplesAreClippedToTheUnitRange) {
    TKCurveLinearization c;
    c.SetFromParametric(2, Values({1.0, 1.0, 0.0, 0.25}), 5);  // x + 0.25
    const TKVector s = c.GetSamples();
    EXPECT_DOUBLE_EQ(s[0], 0.25);
    EXPECT_DOUBLE_EQ(s[2], 0.75);
    EXPECT_DOUBLE_EQ(s[3], 1.0);
    EXPECT_DOUBLE_EQ(s[4], 1.0);
}

TEST(CurveParametric, BadInputGivesTheNamedCodes) {
    TKCurveLinearization c;
    EXPECT_TKERROR(c.SetFromParametric(5, Values({1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0}), 16), OutOfRange);
    EXPECT_TKERROR(c.SetFromParametric(-1, Values({1.0}), 16), OutOfRange);
    EXPECT_TKERROR(c.SetFromParametric(3, Values({2.4, 1.0, 0.0, 1.0}), 16), ArgErr);
    EXPECT_TKERROR(c.SetFromParametric(0, Values({std::nan("")}), 16), ArgErr);
    EXPECT_TKERROR(c.SetFromParametric(0, Values({2.2}), 1), ArgErr);
    EXPECT_TKERROR(TKCurveLinearization::EvalParametric(0, Values({2.2}), 1.5), OutOfRange);
    EXPECT_TKERROR(TKCurveLinearization::EvalParametric(0, Values({2.2}), -0.1), OutOfRange);
    EXPECT_TKERROR(TKCurveLinearization::EvalParametric(0, Values({2.2}), std::nan("")), OutOfRange);
    EXPECT_EQ(c.GetLength(), 0);  // failed calls leave the curve as it was
}

// ---- tables -----------------------------------------------------------------------------

TEST(CurveTable, LookUpIsLinearBetweenSamples) {
    TKCurveLinearization c = Table({0.0, 0.2, 1.0});
    EXPECT_DOUBLE_EQ(c.Apply(0.25), 0.1);
    EXPECT_DOUBLE_EQ(c.Apply(0.75), 0.6);
    EXPECT_DOUBLE_EQ(c.Apply(-3.0), 0.0);
    EXPECT_DOUBLE_EQ(c.Apply(7.0), 1.0);
    EXPECT_DOUBLE_EQ(c.Apply(std::nan("")), 0.0);  // NaN never becomes an index
    EXPECT_DOUBLE_EQ(c.ApplyInverse(0.6), 0.75);
    EXPECT_DOUBLE_EQ(c.ApplyInverse(std::nan("")), 0.0);
}

TEST(CurveTable, FallingTableInvertsToRisingPositions) {
    TKCurveLinearization c = Table({1.0, 0.6, 0.0});
    EXPECT_EQ(c.ApplyInverse(1.5), 0.0);  // above the first sample
    EXPECT_EQ(c.ApplyInverse(-0.5), 1.0);
    EXPECT_DOUBLE_EQ(c.ApplyInverse(0.8), 0.25);
    EXPECT_DOUBLE_EQ(c.ApplyInverse(0.3), 0.75);
}

TEST(CurveTable, TwoPointRuleAtEqualAbscissaeGivesTheMean) {
    EXPECT_DOUBLE_EQ(TKCurveTwoPointRule(0.5, 0.2, 0.5, 0.6, 123.0), 0.4);
    EXPECT_DOUBLE_EQ(TKCurveTwoPointRule(0.5, 0.2, 0.5 + 1e-9, 0.6, 0.0), 0.4);
    EXPECT_DOUBLE_EQ(TKCurveTwoPointRule(0.0, 0.0, 2.0, 1.0, 1.0), 0.5);
    // A plateau in a table: the inverse lands on the plateau's middle position.
    TKCurveLinearization c = Table({0.0, 0.5, 0.5, 1.0});
    const double y = c.ApplyInverse(0.5);
    EXPECT_GE(y, 1.0 / 3.0);
    EXPECT_LE(y, 2.0 / 3.0);
    // A press curve that saturates before full input: full output inverts to full input.
    EXPECT_EQ(Table({0.0, 0.5, 1.0, 1.0}).ApplyInverse(1.0), 1.0);
}

TEST(CurveTable, ResampleGammaAndKeepSameCount) {
    TKCurveLinearization c = Gamma(2.2);
    c.Resample(256);
    ASSERT_EQ(c.GetLength(), 256);
    for (double x = 0.0; x <= 1.0; x += 0.01) EXPECT_NEAR(c.Apply(x), std::pow(x, 2.2), 2e-5);
    const TKVector before = c.GetSamples();
    c.Resample(256);
    EXPECT_FALSE(c.GetSamples().Differs(before));
    EXPECT_TKERROR(c.Resample(1), ArgErr);
    EXPECT_TKERROR(c.Resample(TKCurveLinearization::kMaxSamples + 1), ArgErr);
    EXPECT_EQ(c.GetLength(), 256);
}

// ---- concatenation ----------------------------------------------------------------------

TEST(CurveConcat, OntoIdentityCopiesTheOtherCurveEvenAGamma) {
    TKCurveLinearization c;
    c.Concat(Gamma(1.8), 0);
    EXPECT_TRUE(c.IsGamma());
    EXPECT_DOUBLE_EQ(c.GetGamma(), 1.8);
    TKCurveLinearization d;
    d.Concat(Gamma(TKCurveLinearization::kSRGBEncode), 4096);
    EXPECT_EQ(d.GetLength(), TKCurveLinearization::kSRGBEncode);
}

TEST(CurveConcat, GammaThenGammaMultipliesExponents) {
    TKCurveLinearization c = Gamma(2.0);
    c.Concat(Gamma(1.5), 0);
    EXPECT_EQ(c.GetLength(), 256);  // a gamma cannot hold the composition
    for (double x = 0.0; x <= 1.0; x += 0.05) EXPECT_NEAR(c.Apply(x), std::pow(x, 3.0), 2e-4);
    TKCurveLinearization named = Gamma(TKCurveLinearization::kSRGBDecode);
    named.Concat(Gamma(TKCurveLinearization::kSRGBEncode), 0);
    for (double x = 0.0; x <= 1.0; x += 0.125) EXPECT_NEAR(named.Apply(x), x, 1e-12);
}

// ---- fits on the FOGRA39L tone ramps ----------------------------------------------------

class CurveToneRamp : public ::testing::TestWithParam<char> {};

TEST_P(CurveToneRamp, LinearFitPassesThroughTheMeasuredPoints) {
    const ToneRamp r = LoadToneRamp(GetParam());
    TKCurveLinearization c;
    c.SetFromLinearFit(r.nominal, r.tone, 101);  // every nominal is a multiple of 1 %
    for (int32_t i = 0; i < r.nominal.GetDim(); ++i) EXPECT_NEAR(c.Apply(r.nominal[i]), r.tone[i], 1e-12);
    EXPECT_TRUE(IsNonDecreasing(c.GetSamples()));
}

TEST_P(CurveToneRamp, GammaAndBulgeFitsPassThroughTheMeasuredPoints) {
    const ToneRamp r = LoadToneRamp(GetParam());
    TKCurveLinearization gamma, bulge;
    gamma.SetFromGammaFit(r.nominal, r.tone, 101);
    bulge.SetFromBulgeFit(r.nominal, r.tone, 101);
    for (int32_t i = 0; i < r.nominal.GetDim(); ++i) {
        EXPECT_NEAR(gamma.Apply(r.nominal[i]), r.tone[i], 1e-12);
        EXPECT_NEAR(bulge.Apply(r.nominal[i]), r.tone[i], 1e-12);
    }
    EXPECT_TRUE(IsNonDecreasing(gamma.GetSamples()));
    EXPECT_TRUE(IsNonDecreasing(bulge.GetSamples()));
}

TEST_P(CurveToneRamp, SmoothAndThroughSplineFitsPassThroughThePoints) {
    const ToneRamp r = LoadToneRamp(GetParam());
    TKCurveLinearization smooth, through;
    // The spline meets point i at parameter i/(n-1), and every nominal is a multiple of 1 %:
    // 100 (n-1) + 1 samples put a sample on each point in both steps of the fit.
    const int32_t count = 100 * (r.nominal.GetDim() - 1) + 1;
    smooth.SetFromSplineFit(r.nominal, r.tone, TKCurveLinearization::kSplineSmooth, count);
    through.SetFromSplineFit(r.nominal, r.tone, TKCurveLinearization::kSplineBezierThrough, count);
    for (int32_t i = 0; i < r.nominal.GetDim(); ++i) {
        EXPECT_NEAR(smooth.Apply(r.nominal[i]), r.tone[i], 1e-12);
        EXPECT_NEAR(through.Apply(r.nominal[i]), r.tone[i], 2e-3);
    }
    EXPECT_TRUE(IsNonDecreasing(smooth.GetSamples()));
}

TEST_P(CurveToneRamp, PlainBezierSmoothsAndKeepsThePeak) {
    const ToneRamp r = LoadToneRamp(GetParam());
    TKCurveLinearization c;
    c.SetFromSplineFit(r.nominal, r.tone, TKCurveLinearization::kSplineBezier, 256);
    EXPECT_NEAR(c.GetSamples().Max(), r.tone.Max(), 1e-12);
    EXPECT_TRUE(IsNonDecreasing(c.GetSamples()));
    for (int32_t i = 0; i < r.nominal.GetDim(); ++i) EXPECT_NEAR(c.Apply(r.nominal[i]), r.tone[i], 0.03);
}

TEST_P(CurveToneRamp, InvertAndConcatGiveTheIdentity) {
    const ToneRamp r = LoadToneRamp(GetParam());
    TKCurveLinearization curve;
    curve.SetFromSplineFit(r.nominal, r.tone, TKCurveLinearization::kSplineSmooth, 256);
    TKCurveLinearization inverse(curve);
    inverse.Invert();
    ASSERT_EQ(inverse.GetLength(), 4096);
    double worst = 0.0;
    for (double x = 0.0; x <= 1.0; x += 1.0 / 512.0) {
        worst = std::fmax(worst, std::fabs(inverse.Apply(curve.Apply(x)) - x));
        EXPECT_NEAR(inverse.Apply(x), curve.ApplyInverse(x), 2e-4);
    }
    EXPECT_LT(worst, 1e-3);
    // The correction curve of a linearization: the inverse, then the press.
    TKCurveLinearization corrected(inverse);
    corrected.Concat(curve, 0);
    for (double x = 0.0; x <= 1.0; x += 1.0 / 64.0) EXPECT_NEAR(corrected.Apply(x), x, 1e-3);
}

INSTANTIATE_TEST_SUITE_P(Fogra39, CurveToneRamp, ::testing::Values('C', 'M', 'Y', 'K'));

TEST(CurveFit, GammaFitReproducesAPurePower) {
    TKVector x(11), y(11);
    for (int32_t i = 0; i < 11; ++i) {
        x[i] = i / 10.0;
        y[i] = 0.8 * std::pow(x[i], 1.8);
    }
    TKCurveLinearization c;
    c.SetFromGammaFit(x, y, 64);
    for (int32_t k = 0; k < 64; ++k) EXPECT_NEAR(c.GetSamples()[k], 0.8 * std::pow(k / 63.0, 1.8), 1e-12);
    TKCurveLinearization v;
    v.SetFromValues(y, 64);  // the same points on evenly spaced inputs
    EXPECT_LT(v.GetSamples().MaxDistance(c.GetSamples()), 1e-12);
}

TEST(CurveFit, FewPointsAreTakenAsSamples) {
    TKCurveLinearization c;
    c.SetFromGammaFit(Values({0.0, 1.0}), Values({0.1, 0.9}), 256);
    EXPECT_EQ(c.GetLength(), 2);
    c.SetFromValues(Values({2.2}), 256);
    EXPECT_TRUE(c.IsGamma());
    c.SetFromSplineFit(Values({0.0, 1.0}), Values({0.0, 0.5}), 0, 11);  // falls back to linear
    EXPECT_DOUBLE_EQ(c.Apply(0.5), 0.25);
}

TEST(CurveFit, BadPointsGiveTheNamedCodes) {
    TKCurveLinearization c;
    EXPECT_TKERROR(c.SetFromGammaFit(Values({0.0, 0.5, 1.0}), Values({0.0, 0.5}), 16), DimMismatch);
    // No point strictly between 0 and 1: the index range is inverted.
    EXPECT_TKERROR(c.SetFromGammaFit(Values({0.0, 0.0, 1.0}), Values({0.0, 0.5, 1.0}), 16), ArgErr);
    EXPECT_TKERROR(c.SetFromBulgeFit(Values({1.0, 1.0, 1.0}), Values({0.0, 0.5, 1.0}), 16), ArgErr);
    EXPECT_TKERROR(c.SetFromGammaFit(Values({0.0, 0.5, 1.0}), Values({0.0, 0.0, 0.0}), 16), ArgErr);
    EXPECT_TKERROR(c.SetFromLinearFit(Values({0.0, std::nan(""), 1.0}), Values({0.0, 0.5, 1.0}), 16), ArgErr);
    EXPECT_TKERROR(c.SetFromLinearFit(Values({0.0, 0.5, 1.0}), Values({0.0, 0.5, 1.0}), 1), ArgErr);
    EXPECT_TKERROR(c.SetFromSplineFit(Values({0.0, 0.5, 1.0}), Values({0.0, 0.5, 1.0}), 4, 16), ArgErr);
    EXPECT_TKERROR(c.SetFromSplineFit(Values({0.0, 1.0}), Values({0.0, 1.0}), -1, 16), ArgErr);
    EXPECT_EQ(c.GetLength(), 0);
}

// ---- bad curves -------------------------------------------------------------------------

TEST(CurveBadInput, UnknownKindsAndNonPositiveGammasAreArgErr) {
    TKCurveLinearization unknown = Gamma(-7.0);
    EXPECT_EQ(unknown.GetLength(), -7);
    EXPECT_TKERROR(unknown.Apply(0.5), ArgErr);
    EXPECT_TKERROR(unknown.ApplyInverse(0.5), ArgErr);
    EXPECT_TKERROR(unknown.Invert(), ArgErr);
    EXPECT_TKERROR(Gamma(-1.0).Apply(0.5), ArgErr);
    EXPECT_EQ(Gamma(-1e300).GetLength(), std::numeric_limits<int32_t>::min());
    TKCurveLinearization zero(Values({0.0}));
    EXPECT_FALSE(zero.IsGamma());
    EXPECT_TKERROR(zero.Apply(0.5), ArgErr);
    EXPECT_TKERROR(zero.Invert(), ArgErr);  // no reciprocal of 0
    TKCurveLinearization negative(Values({-2.0}));
    EXPECT_TKERROR(negative.Invert(), ArgErr);
    TKCurveLinearization c;
    EXPECT_TKERROR(c.SetGamma(std::nan("")), ArgErr);
    EXPECT_TKERROR(c.SetGamma(std::numeric_limits<double>::infinity()), ArgErr);
    EXPECT_TKERROR(c.SetGammaFromMidpoint(1.0), ArgErr);
    EXPECT_TKERROR(c.SetGammaFromMidpoint(0.0), ArgErr);
    EXPECT_TKERROR(c.SetGammaFromMidpoint(std::nan("")), ArgErr);
}

// ---- text form --------------------------------------------------------------------------

TEST(CurveText, RoundTripsTablesGammasAndNamedCurves) {
    for (const TKCurveLinearization& original :
         {Table({0.0, 0.25, 0.75, 1.0}), Gamma(2.2), Gamma(TKCurveLinearization::kSRGBEncode), TKCurveLinearization()}) {
        const TKString text = original.ToText("%.17g");
        TKCurveLinearization read = Gamma(1.3);
        int32_t consumed = 0;
        ASSERT_EQ(read.FromText(text.CString(), text.Length(), &consumed), 0) << text.CString();
        EXPECT_EQ(text.Mid(consumed).Trim().Length(), 0);  // read up to the end of the block
        EXPECT_EQ(read.GetLength(), original.GetLength());
        EXPECT_FALSE(read.GetSamples().Differs(original.GetSamples()));
    }
    EXPECT_STREQ(Gamma(-4.0).ToText().CString(), "DIM -4\nTYPE 0\nBEGIN_DATA\n\nEND_DATA\n");
}

TEST(CurveText, StreamHoldsSeveralCurvesInARow) {
    TKBuffer buffer;
    Gamma(TKCurveLinearization::kYToLStar).Write(buffer);
    Table({0.0, 0.3, 1.0}).Write(buffer, "%.17g");
    buffer.Seek(0, kSeekStart);
    TKCurveLinearization first, second;
    EXPECT_EQ(first.Read(buffer), 0);
    EXPECT_EQ(second.Read(buffer), 0);
    EXPECT_EQ(first.GetLength(), TKCurveLinearization::kYToLStar);
    EXPECT_EQ(second.GetLength(), 3);
    EXPECT_DOUBLE_EQ(second.Apply(0.5), 0.3);
    TKCurveLinearization third;
    EXPECT_EQ(third.Read(buffer), EOFReached);
}

TEST(CurveText, MalformedTextIsFormatErr) {
    TKCurveLinearization c;
    const char* unknownKind = "DIM -9\nBEGIN_DATA\nEND_DATA\n";
    EXPECT_TKERROR(c.FromText(unknownKind, int32_t(std::strlen(unknownKind))), FormatErr);
    const char* valuesInNamed = "DIM -4\nBEGIN_DATA\n0.5\nEND_DATA\n";
    EXPECT_TKERROR(c.FromText(valuesInNamed, int32_t(std::strlen(valuesInNamed))), FormatErr);
    const char* unfinished = "DIM -4\nBEGIN_DATA\n";
    EXPECT_TKERROR(c.FromText(unfinished, int32_t(std::strlen(unfinished))), FormatErr);
    const char* wrongCount = "DIM 3\nBEGIN_DATA\n0 1\nEND_DATA\n";
    EXPECT_TKERROR(c.FromText(wrongCount, int32_t(std::strlen(wrongCount))), FormatErr);
    EXPECT_EQ(c.FromText("", 0), EOFReached);
    EXPECT_TKERROR(c.FromText(nullptr, 4), ArgErr);
    EXPECT_EQ(c.GetLength(), 0);
}

// ---- tone of a trafo --------------------------------------------------------------------

TEST(CurveFromTrafo, ToneOfASquaringTrafo) {
    TKTestSquareTrafo square;
    TKCurveLinearization c;
    c.SetFromTrafo(&square, TKVector({0.0}), TKVector({1.0}), TKCurveLinearization::kSplineSmooth, 0);
    EXPECT_EQ(c.GetLength(), 256);  // a count below 2 means 256
    for (double t = 0.0; t <= 1.0; t += 1.0 / 64.0) EXPECT_NEAR(c.Apply(t), t * t, 1e-4);
}

TEST(CurveFromTrafo, LinearTrafoGivesTheIdentityAndNullResets) {
    TKMatrix m(3, 3);
    m(0, 0) = 2.0, m(0, 1) = 1.0, m(1, 1) = 1.0, m(2, 0) = 0.5, m(2, 2) = 3.0;
    TKMatrixTrafo linear(m);
    TKCurveLinearization c;
    c.SetFromTrafo(&linear, TKVector({10.0, 20.0, 30.0}), TKVector({90.0, 40.0, 0.0}), 0, 33);
    EXPECT_TRUE(c.IsIdentity());
    c.SetFromTrafo(nullptr, TKVector(), TKVector(), 0, 33);
    EXPECT_EQ(c.GetLength(), 0);
    EXPECT_TKERROR(c.SetFromTrafo(&linear, TKVector({1.0, 2.0, 3.0}), TKVector({1.0, 2.0}), 0, 33), DimMismatch);
}
