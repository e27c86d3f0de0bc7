// The appearance models: CIECAM02 against its published worked examples, and the "Lcs "
// space with its hue corrections.
#include <cmath>

#include "color/TKCIECAM02.h"
#include "color/TKCIEConverter.h"
#include "color/TKCIETools.h"
#include "color/TKHueCorrectionTrafo.h"
#include "color/TKLcsModel.h"
#include "support/TestSupport.h"

namespace {

// Checks J, C and h of CIECAM02 for one published case in an average surround.
void ExpectJCh(const double white[3], const double xyz[3], double adaptingLuminance, double backgroundY,
               const double expected[3], double hueTolerance) {
    TKViewingConditions vc;
    vc.adaptingLuminance = adaptingLuminance;
    vc.backgroundY = backgroundY;
    double jch[3];
    TKCIECAM02(white, vc).Forward(xyz, jch);
    EXPECT_NEAR(jch[0], expected[0], 1e-4);
    EXPECT_NEAR(jch[1], expected[1], 1e-4);
    EXPECT_NEAR(jch[2], expected[2], hueTolerance);
}

TEST(CIECAM02, PublishedWorkedExamples) {
    // M. D. Fairchild, Color Appearance Models, 2nd ed., Table 16.4 (CIE TC 8-01 test data):
    // XYZ 19.01 20.00 21.78, white 95.05 100 108.88, La 318.31, Yb 20, average surround:
    // J 41.73, C 0.10, h 219.0. Little CMS 2.14: J 41.731091, C 0.104708, h 219.048416.
    {
        const double white[3] = {95.05, 100.0, 108.88}, xyz[3] = {19.01, 20.00, 21.78};
        const double jch[3] = {41.731091, 0.104708, 219.048416};
        ExpectJCh(white, xyz, 318.31, 20.0, jch, 1e-2);
    }
    // CIE 159:2004 worked example: XYZ 19.31 23.93 10.14, white 98.88 90.00 32.03, La 200, Yb 18,
    // average surround: J 48.0314, C 38.7789, h 191.0452.
    {
        const double white[3] = {98.88, 90.0, 32.03}, xyz[3] = {19.31, 23.93, 10.14};
        const double jch[3] = {48.0314, 38.7789, 191.0452};
        ExpectJCh(white, xyz, 200.0, 18.0, jch, 1e-4);
    }
}

TEST(CIECAM02, InverseRoundTrip) {
    const TKCIECAM02 model(kTKWhiteD50, TKViewingConditions());
    const double samples[][3] = {{41.24, 21.26, 1.93}, {20, 30, 40}, {96.42, 100, 82.49}, {0.5, 0.6, 0.4},
                                 {5, 4, 8}, {30, 20, 60}};
    for (const auto& xyz : samples) {
        double jch[3], back[3];
        model.Forward(xyz, jch);
        model.Inverse(jch, back);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(back[i], xyz[i], 1e-9 * (1 + xyz[i]));
    }
    double white[3];
    model.Forward(kTKWhiteD50, white);
    EXPECT_NEAR(white[0], 100.0, 1e-9);
    EXPECT_LT(white[1], 3.0);  // incomplete adaptation at La = 4 leaves a little chroma in the white
    const double black[3] = {0, 0, 0};
    double out[3];
    model.Inverse(black, out);
    EXPECT_EQ(out[0], 0.0);
}

TEST(CIECAM02, ViewingConditionsThroughTheConverter) {
    TKCIEConverter converter;
    converter.SetWhite(TKVector({95.05, 100.0, 108.88}, int32_t(TKXYZSpace)));
    converter.SetViewingConditions(TKVector({318.31, 20.0, 1.0, 0.69, 1.0}));
    const TKVector jch = converter.Convert(TKVector({19.01, 20.0, 21.78}, int32_t(TKXYZSpace)), TKJChSpace);
    EXPECT_NEAR(jch[0], 41.731091, 1e-4);
    // A shorter vector changes only the leading conditions.
    converter.SetViewingConditions(TKVector({318.31}));
    EXPECT_NEAR(converter.Convert(TKVector({19.01, 20.0, 21.78}, int32_t(TKXYZSpace)), TKJChSpace)[0], 41.731091, 1e-4);
}

TEST(LcsModel, WhiteIsNeutralAndFull) {
    const TKLcsModel model(kTKWhiteD50);
    double lcs[3];
    model.Forward(kTKWhiteD50, lcs);
    EXPECT_NEAR(lcs[0], 100.0, 1e-9);
    // The cone matrix rows sum to 1 only to five decimals, hence a trace of chroma.
    EXPECT_NEAR(lcs[1], 0.0, 0.05);
    EXPECT_NEAR(lcs[2], 0.0, 0.05);
}

TEST(LcsModel, InverseRoundTripAcrossAllRegions) {
    const TKLcsModel model(kTKWhiteD50);
    // Colours all round the hue circle, also past the chroma knee and inside the overlapping
    // correction cones (around 230 and 310 degrees).
    for (double l : {20.0, 50.0, 90.0}) {
        for (double h = 0; h < 360; h += 7.5) {
            for (double c : {5.0, 40.0, 90.0, 140.0}) {
                const double lcs[3] = {l, c * std::cos(h * M_PI / 180), c * std::sin(h * M_PI / 180)};
                double xyz[3], back[3];
                model.Inverse(lcs, xyz);
                model.Forward(xyz, back);
                for (int i = 0; i < 3; ++i)
                    ASSERT_NEAR(back[i], lcs[i], 1e-8) << "L " << l << " C " << c << " h " << h << " channel " << i;
            }
        }
    }
}

TEST(LcsModel, ChromaCompressionStaysBelowTwiceTheKnee) {
    const TKLcsModel model(kTKWhiteD50);
    const double saturated[3] = {60.0, 5.0, 0.1};  // far outside any real gamut
    double lcs[3];
    model.Forward(saturated, lcs);
    EXPECT_LT(std::hypot(lcs[1], lcs[2]), 200.0);
}

TEST(HueCorrection, ActsInsideItsConeOnly) {
    const TKHueCorrectionTrafo trafo(0.0, -100.0, 10.0);
    EXPECT_STREQ(trafo.ClassName(), "TKHueCorrectionTrafo");
    EXPECT_EQ(trafo.GetSrcDim(), 3);
    EXPECT_EQ(trafo.GetDstType(0), int32_t(TKLcsSpace));
    // On the axis (u = 0.5, v = 0): v moves by (1 - u) theta u.
    const TKVector onAxis({50.0, 0.0, -50.0}, int32_t(TKLcsSpace));
    const TKVector moved = trafo.Trafo(onAxis);
    const double theta = 10.0 * M_PI / 180.0;
    EXPECT_NEAR(moved[1], 100.0 * 0.5 * 0.5 * theta, 1e-12);  // a = x u - y v = 100 v
    EXPECT_NEAR(moved[2], -50.0, 1e-12);
    EXPECT_EQ(moved[0], 50.0);
    // Outside the cone nothing changes.
    const TKVector outside({50.0, 30.0, 30.0}, int32_t(TKLcsSpace));
    EXPECT_TRUE(trafo.Trafo(outside) == outside);
    const TKHueCorrectionTrafo inverse(0.0, -100.0, 10.0, true);
    const TKVector back = inverse.Trafo(moved);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(back[i], onAxis[i], 1e-12);
    EXPECT_TKERROR(TKHueCorrectionTrafo(0.0, 0.0, 5.0), ArgErr);
    EXPECT_TKERROR(trafo.Trafo(TKVector({1.0, 2.0})), DimMismatch);
}

TEST(HueCorrection, EveryCorrectionInverts) {
    for (const TKHueCorrection& c : TKLcsModel::kCorrections) {
        for (double h = 0; h < 360; h += 5) {
            for (double r : {10.0, 60.0, 150.0}) {
                double a = r * std::cos(h * M_PI / 180), b = r * std::sin(h * M_PI / 180);
                const double a0 = a, b0 = b;
                c.Apply(a, b);
                c.Invert(a, b);
                ASSERT_NEAR(a, a0, 1e-9);
                ASSERT_NEAR(b, b0, 1e-9);
            }
        }
    }
}

}  // namespace
