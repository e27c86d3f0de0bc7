// CIE conversions through XYZ: published values, edge cases of the formulas, round trips
// through every pair of types, and bad input.
#include <cmath>
#include <thread>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKCIETools.h"
#include "ColorTestSupport.h"
#include "support/TestSupport.h"

namespace {

void ExpectNear3(const TKVector& v, double a, double b, double c, double tolerance) {
    ASSERT_GE(v.GetDim(), 3);
    EXPECT_NEAR(v[0], a, tolerance);
    EXPECT_NEAR(v[1], b, tolerance);
    EXPECT_NEAR(v[2], c, tolerance);
}

TEST(CIEConversion, LabOfPublishedColour) {
    // sRGB red (0.4124, 0.2126, 0.0193) x 100 against the D50 white 96.42, 100, 82.49;
    // reference from Little CMS 2.14 cmsXYZ2Lab with the same white.
    ExpectNear3(ConvertColor(TKLabSpace, XYZ(41.24, 21.26, 1.93)), 53.2328817858, 78.3039993271, 62.1644952793,
                1e-8);
}

TEST(CIEConversion, WhiteMapsToNeutralInEveryRelativeType) {
    const TKVector white = XYZ(96.42, 100.0, 82.49);
    ExpectNear3(ConvertColor(TKLabSpace, white), 100.0, 0.0, 0.0, 1e-12);
    ExpectNear3(ConvertColor(TKLuvSpace, white), 100.0, 0.0, 0.0, 1e-12);
    ExpectNear3(ConvertColor(TKXYZNSpace, white), 1.0, 1.0, 1.0, 1e-15);
    const TKVector labx = ConvertColor(TKLabXSpace, white);
    ASSERT_EQ(labx.GetDim(), 4);
    EXPECT_EQ(labx[3], 0.0);
    // x = X / (X + Y + Z) of the D50 white: 96.42 / 278.91.
    ExpectNear3(ConvertColor(TKYxySpace, white), 100.0, 96.42 / 278.91, 100.0 / 278.91, 1e-12);
}

TEST(CIEConversion, LinearBranchAtTheKnee) {
    // r exactly e takes the linear branch going forward (strictly above e is the cube root).
    const double e = kTKLabEpsilon;
    const TKVector xyz = XYZ(96.42 * e, 100.0 * e, 82.49 * e);
    const TKVector lab = ConvertColor(TKLabSpace, xyz);
    EXPECT_NEAR(lab[0], 116.0 * (e * kTKLabK1 + kTKLabK2) - 16.0, 1e-12);
    ExpectNear3(ConvertColor(TKXYZSpace, lab), xyz[0], xyz[1], xyz[2], 1e-12);
    EXPECT_NEAR(YToL(100.0 * e), lab[0], 1e-12);
    EXPECT_NEAR(LToY(lab[0]), 100.0 * e, 1e-12);
}

TEST(CIEConversion, DegenerateInputs) {
    // L = 0 through Luv: X and Z are 0.
    ExpectNear3(ConvertColor(TKXYZSpace, TKVector({0.0, 0.0, 0.0}, int32_t(TKLuvSpace))), 0.0, 0.0, 0.0, 0.0);
    // A black without chromaticity gets x = y = 1/3, and u' = v' = 1/3.
    ExpectNear3(ConvertColor(TKYxySpace, XYZ(0, 0, 0)), 0.0, 1.0 / 3.0, 1.0 / 3.0, 0.0);
    ExpectNear3(ConvertColor(TKYuvSpace, XYZ(0, 0, 0)), 0.0, 1.0 / 3.0, 1.0 / 3.0, 0.0);
    EXPECT_EQ(ConvertColor(TKKelvinSpace, XYZ(0, 0, 0))[0], 0.0);
    ExpectNear3(ConvertColor(TKXYZSpace, TKVector({0.0}, int32_t(TKKelvinSpace))), 0.0, 0.0, 0.0, 0.0);
    // Densities are limited to 4 units, not infinite.
    const TKVector dens = ConvertColor(TKCMYKDensSpace, XYZ(0, 0, 0));
    EXPECT_NEAR(dens[0], 4.0, 1e-12);
    EXPECT_NEAR(dens[3], 4.0, 1e-12);
}

TEST(CIEConversion, PolarForms) {
    const TKVector lch = ConvertColor(TKLChSpace, TKVector({50.0, -10.0, -10.0}, int32_t(TKLabSpace)));
    ExpectNear3(lch, 50.0, std::sqrt(200.0), 225.0, 1e-12);
    ExpectNear3(ConvertColor(TKLabSpace, TKVector({50.0, 2.0, 90.0}, int32_t(TKLChSpace))), 50.0, 0.0, 2.0, 1e-12);
}

TEST(CIEConversion, YuvUsesNineForV) {
    const TKVector yuv = ConvertColor(TKYuvSpace, XYZ(96.42, 100.0, 82.49));
    const double d = 96.42 + 1500.0 + 3.0 * 82.49;
    ExpectNear3(yuv, 100.0, 4.0 * 96.42 / d, 900.0 / d, 1e-12);
}

// Colours inside the D50 white, so that densities and spectra invert exactly too.
const std::vector<TKVector>& SampleColours() {
    static const std::vector<TKVector> samples = {XYZ(41.24, 21.26, 1.93), XYZ(20.0, 30.0, 40.0),
                                                  XYZ(50.0, 52.0, 30.0), XYZ(5.0, 4.0, 8.0),
                                                  XYZ(90.0, 95.0, 80.0), XYZ(0.5, 0.6, 0.4)};
    return samples;
}

const uint32_t kExactTypes[] = {TKXYZSpace, TKLabSpace, TKLChSpace, TKLabXSpace, TKLuvSpace, TKLChuSpace,
                                TKYxySpace, TKYuvSpace, TKXYZNSpace, TKJabSpace, TKJChSpace, TKLcsSpace,
                                TKLcshSpace, TKCMYKDensSpace, TKReflSpace, TKTranSpace, TKEmisSpace};

TEST(CIEConversion, RoundTripThroughEveryPair) {
    for (const TKVector& xyz : SampleColours()) {
        for (uint32_t a : kExactTypes) {
            const TKVector inA = ConvertColor(a, xyz);
            ASSERT_EQ(uint32_t(inA.GetType()), a);
            ASSERT_EQ(inA.GetDim(), GetChannelCount(a));
            const TKVector back = ConvertColor(TKXYZSpace, inA);
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(back[i], xyz[i], 1e-9 * 100) << GetTypeName(a).CString() << " channel " << i;
            for (uint32_t b : kExactTypes) {
                const TKVector again = ConvertColor(a, ConvertColor(b, inA));
                for (int i = 0; i < 3; ++i)
                    ASSERT_NEAR(again[i], inA[i], 1e-9 * (1.0 + std::fabs(inA[i])))
                        << GetTypeName(a).CString() << " via " << GetTypeName(b).CString();
            }
        }
    }
}

TEST(CIEConversion, DIN99FormsInvert) {
    for (const TKVector& xyz : SampleColours()) {
        double lab[3], din[3], back[3];
        XYZToLab(xyz.Values(), kTKWhiteD50, lab);
        LabToDIN99(lab, din);
        DIN99ToLab(din, back);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(back[i], lab[i], 1e-10);
        XYZToDIN99d(xyz.Values(), kTKWhiteD50, din);
        DIN99dToXYZ(din, kTKWhiteD50, back);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(back[i], xyz[i], 1e-10);
    }
    // The white is L99 = 105.51 ln(1 + 1.58) and L99d = 100 exactly by construction.
    double din[3];
    const double white[3] = {100.0, 0.0, 0.0};
    LabToDIN99(white, din);
    EXPECT_NEAR(din[0], 105.51 * std::log(2.58), 1e-12);
    XYZToDIN99d(kTKWhiteD50, kTKWhiteD50, din);
    EXPECT_NEAR(din[0], 100.0, 1e-9);
}

TEST(CIEConversion, RobertsonCorrelatedColourTemperature) {
    // Illuminant A is 2856 K, D65 about 6504 K (CIE 15); Little CMS 2.14 gives 2855.8 and
    // 6503.0 for the chromaticities of these whites.
    EXPECT_NEAR(ConvertColor(TKKelvinSpace, XYZ(109.85, 100.0, 35.58))[0], 2856.0, 3.0);
    EXPECT_NEAR(ConvertColor(TKKelvinSpace, XYZ(95.04, 100.0, 108.89))[0], 6504.0, 4.0);
    EXPECT_NEAR(ConvertColor(TKKelvinSpace, XYZ(96.42, 100.0, 82.49))[0], 5003.0, 10.0);
}

TEST(CIEConversion, KelvinToXYZLiesOnThePlanckianLocus) {
    for (double t : {2000.0, 2856.0, 4000.0, 6500.0, 10000.0}) {
        const TKVector xyz = ConvertColor(TKXYZSpace, TKVector({t}, int32_t(TKKelvinSpace)));
        EXPECT_NEAR(xyz[1], 100.0, 1e-9);
        // Sampling at 10 nm from 380 to 730 nm moves the chromaticity a little.
        EXPECT_NEAR(ConvertColor(TKKelvinSpace, xyz)[0], t, t * 0.003);
    }
}

TEST(CIEConversion, AdaptationMatrices) {
    for (int code : {0, 1, 2, 3, 4, 6}) {
        const TKMat3 a = AdaptationTransform(GetAdaptationMatrix(code), kTKWhiteD65, kTKWhiteD50);
        double w[3];
        a.Apply(kTKWhiteD65, w);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(w[i], kTKWhiteD50[i], 1e-10) << code;
        const TKMat3 same = AdaptationTransform(GetAdaptationMatrix(code), kTKWhiteD65, kTKWhiteD65);
        for (int i = 0; i < 9; ++i) EXPECT_NEAR(same.m[size_t(i)], TKMat3::Identity().m[size_t(i)], 1e-14);
    }
    // Bradford from D65 (95.047, 100, 108.883) to D50 (96.422, 100, 82.521), as tabulated by
    // B. Lindbloom, "Chromatic Adaptation".
    const double d65[3] = {95.047, 100.0, 108.883}, d50[3] = {96.422, 100.0, 82.521};
    const TKMat3 bradford = AdaptationTransform(GetAdaptationMatrix(2), d65, d50);
    const double published[9] = {1.0478112, 0.0228866, -0.0501270, 0.0295424, 0.9904844,
                                 -0.0170491, -0.0092345, 0.0150436, 0.7521316};
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(bradford.m[size_t(i)], published[i], 2e-7);
    // "Wrong von Kries" scales XYZ directly.
    const TKMat3 scale = AdaptationTransform(GetAdaptationMatrix(0), d65, d50);
    EXPECT_NEAR(scale(0, 0), 96.422 / 95.047, 1e-15);
    EXPECT_EQ(scale(0, 1), 0.0);
}

TEST(CIEConversion, ConverterWithOwnWhite) {
    TKCIEConverter converter;
    converter.SetWhite(XYZ(95.047, 100.0, 108.883));
    // sRGB red against D65; reference from Little CMS 2.14 cmsXYZ2Lab with the same white.
    ExpectNear3(converter.Convert(XYZ(41.24, 21.26, 1.93), TKLabSpace), 53.2328817858, 80.1093095298, 67.2200683103,
                1e-8);
    ExpectNear3(converter.GetWhite(), 95.047, 100.0, 108.883, 0.0);
}

TEST(CIEConversion, MatrixForm) {
    TKMatrix m(2, 3, int32_t(TKXYZSpace));
    m.SetRow(0, XYZ(96.42, 100.0, 82.49));
    m.SetRow(1, XYZ(41.24, 21.26, 1.93));
    TKMatrix lab;
    ConvertColors(lab, TKLabSpace, m);
    EXPECT_EQ(uint32_t(lab.GetType()), TKLabSpace);
    EXPECT_NEAR(lab(0, 0), 100.0, 1e-12);
    EXPECT_NEAR(lab(1, 1), 78.3039993271, 1e-8);
    TKMatrix same;
    ConvertColors(same, TKXYZSpace, m);
    EXPECT_TRUE(same == m);
}

TEST(CIEConversion, LazyModelsAreBuiltOnceAcrossThreads) {
    // Four threads ask a fresh converter for the appearance and "Lcs " models at once: every
    // thread must see the same, completely built model.
    const TKCIEConverter converter;
    const TKVector xyz = XYZ(20.0, 30.0, 40.0);
    std::vector<TKVector> results(8);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            results[2 * t] = converter.Convert(xyz, TKLcsSpace);
            results[2 * t + 1] = converter.Convert(xyz, TKJabSpace);
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (size_t t = 1; t < 4; ++t) {
        EXPECT_TRUE(results[2 * t] == results[0]);
        EXPECT_TRUE(results[2 * t + 1] == results[1]);
    }
}

TEST(CIEConversion, BadInput) {
    EXPECT_TKERROR(ConvertColor(TKLabSpace, TKVector({1.0, 2.0, 3.0}, int32_t(TKRGBSpace))), WrongDataType);
    EXPECT_TKERROR(ConvertColor(TKCMYKSpace, XYZ(1, 2, 3)), WrongDataType);
    EXPECT_TKERROR(ConvertColor(TKLabSpace, TKVector({1.0, 2.0, 3.0}, 0)), WrongDataType);
    EXPECT_TKERROR(ConvertColor(TKLabSpace, TKVector({1.0, 2.0}, int32_t(TKXYZSpace))), DimMismatch);
    TKCIEConverter converter;
    EXPECT_TKERROR(converter.SetObserver(5), ArgErr);
    // Same type and "any type" give a copy.
    const TKVector rgb({1.0, 2.0, 3.0}, int32_t(TKRGBSpace));
    EXPECT_TRUE(ConvertColor(TKRGBSpace, rgb) == rgb);
    EXPECT_TRUE(ConvertColor(TKNoSpace, rgb) == rgb);
}

}  // namespace
