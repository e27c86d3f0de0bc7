// The colour trafos: TKCIETrafo, the channel counts of colour-typed trafos, the XYZ stage base
// and chromatic adaptation between whites.
#include <cmath>

#include "color/TKCIETools.h"
#include "color/TKCIETrafo.h"
#include "color/TKSpectral.h"
#include "color/TKWhiteXYZTrafo.h"
#include "foundation/TKObject.h"
#include "ColorTestSupport.h"
#include "support/TestSupport.h"

namespace {

TEST(CIETrafo, ConvertsWithItsOwnWhiteAndObserver) {
    auto trafo = TKMakeRef<TKCIETrafo>(TKXYZSpace, TKLabSpace);
    // An untyped colour is taken to be of the input type.
    const TKVector lab = trafo->Trafo(TKVector({96.42, 100.0, 82.49}));
    EXPECT_NEAR(lab[0], 100.0, 1e-12);
    EXPECT_NEAR(lab[1], 0.0, 1e-12);
    trafo->SetWhite(XYZ(95.047, 100.0, 108.883));
    const TKVector red = trafo->Trafo(XYZ(41.24, 21.26, 1.93));
    EXPECT_NEAR(red[1], 80.1093095298, 1e-8);  // Little CMS 2.14 with the D65 white
    EXPECT_NEAR(trafo->GetWhite()[2], 108.883, 0.0);
    // The observer decides what a spectrum looks like.
    trafo->SetTypes(TKReflSpace, TKXYZSpace);
    trafo->SetIlluminant(GetIlluminantSpectrum("D65UV"));
    TKVector gray(kTKSpectralChannels, int32_t(TKReflSpace), 0.5);
    const double y2 = trafo->Trafo(gray)[1];
    trafo->SetObserver(10);
    EXPECT_EQ(trafo->GetObserver(), 10);
    EXPECT_NEAR(trafo->Trafo(gray)[1], 50.0, 1e-9);
    EXPECT_NEAR(y2, 50.0, 1e-9);
    const TKVector x10 = trafo->Trafo(gray);
    trafo->SetObserver(2);
    // D65 seen by the two observers: X 95.05 against 94.81 for the perfect reflector.
    EXPECT_GT(std::fabs(trafo->Trafo(gray)[0] - x10[0]), 0.05);
    // A copy converts the same and is independent.
    TKCIETrafo copy(*trafo);
    EXPECT_TRUE(copy.Trafo(gray) == trafo->Trafo(gray));
}

TEST(CIETrafo, WhiteFromMeasuredLightAndReset) {
    auto trafo = TKMakeRef<TKCIETrafo>(TKXYZSpace, TKLabSpace);
    trafo->SetWhite(GetIlluminantSpectrum("D65UV"));
    const TKVector white = trafo->GetWhite();
    EXPECT_NEAR(white[1], 100.0, 1e-12);
    EXPECT_NEAR(white[0], 95.047, 0.3);  // CIE 15 D65, within the 10 nm grid
    EXPECT_TRUE(trafo->GetIlluminant() == GetIlluminantSpectrum("D65UV"));
    // Its own white is neutral in Lab.
    EXPECT_NEAR(trafo->Trafo(white)[1], 0.0, 1e-12);
    trafo->SetWhite(TKVector());
    EXPECT_TRUE(trafo->GetWhite() == TKVector({96.42, 100.0, 82.49}, int32_t(TKXYZSpace)));
    trafo->SetObserver(0);
    EXPECT_EQ(trafo->GetObserver(), 2);
}

TEST(CIETrafo, BadInput) {
    auto trafo = TKMakeRef<TKCIETrafo>(TKXYZSpace, TKLabSpace);
    EXPECT_TKERROR(trafo->Trafo(TKVector({1.0, 2.0, 3.0}, int32_t(TKCMYSpace))), WrongDataType);
    EXPECT_TKERROR(trafo->SetIlluminant(TKVector(3)), DimMismatch);
    EXPECT_TKERROR(trafo->SetObserver(3), ArgErr);
}

TEST(WhiteXYZTrafo, EqualWhitesAreTheIdentityInEveryMode) {
    const TKVector colour = XYZ(41.24, 21.26, 1.93);
    for (int code : {0, 1, 2, 3, 4, 6}) {
        auto trafo = TKMakeRef<TKWhiteXYZTrafo>(XYZ(95.04, 100, 108.89), XYZ(95.04, 100, 108.89), code);
        const TKVector out = trafo->Trafo(colour);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(out[i], colour[i], 1e-12) << code;
    }
}

TEST(WhiteXYZTrafo, MapsSourceWhiteToDestinationWhite) {
    auto trafo = TKMakeRef<TKWhiteXYZTrafo>(XYZ(95.04, 100, 108.89), XYZ(96.42, 100, 82.49), 2);
    EXPECT_STREQ(trafo->ClassName(), "TKWhiteXYZTrafo");
    EXPECT_NE(trafo->Cast("TKXYZTrafoBase"), nullptr);
    const TKVector w = trafo->Trafo(XYZ(95.04, 100, 108.89));
    EXPECT_NEAR(w[0], 96.42, 1e-10);
    EXPECT_NEAR(w[2], 82.49, 1e-10);
    // The reverse direction exchanges the whites.
    trafo->SetReverse(true);
    const TKVector back = trafo->Trafo(XYZ(96.42, 100, 82.49));
    EXPECT_NEAR(back[2], 108.89, 1e-10);
    // "Wrong von Kries" scales XYZ directly.
    trafo->SetReverse(false);
    trafo->SetCode(0);
    const TKVector scaled = trafo->Trafo(XYZ(10, 10, 10));
    EXPECT_NEAR(scaled[0], 10 * 96.42 / 95.04, 1e-12);
    EXPECT_NEAR(scaled[2], 10 * 82.49 / 108.89, 1e-12);
    // A Lab input is converted to XYZ first.
    const TKVector fromLab = trafo->Trafo(TKVector({100.0, 0.0, 0.0}, int32_t(TKLabSpace)));
    EXPECT_EQ(uint32_t(fromLab.GetType()), TKXYZSpace);
}

TEST(WhiteXYZTrafo, CustomMatrixAndClamp) {
    auto trafo = TKMakeRef<TKWhiteXYZTrafo>(XYZ(95.04, 100, 108.89), XYZ(96.42, 100, 82.49), 2);
    trafo->SetCustomMatrix(GetAdaptationMatrix(2));
    EXPECT_EQ(trafo->GetCode(), 7);
    EXPECT_NEAR(trafo->Trafo(XYZ(95.04, 100, 108.89))[0], 96.42, 1e-10);
    EXPECT_TKERROR(trafo->SetCustomMatrix(TKMat3{}), SingularMatrixErr);
    trafo->SetClamp(true);
    const TKVector clamped = trafo->Trafo(XYZ(-5, 250, 10));
    EXPECT_GE(clamped.Min(), 0.0);
    EXPECT_LE(clamped.Max(), 200.0);
}

TEST(XYZTrafoBase, MapsBlackAndWhitePoints) {
    auto stage = TKMakeRef<TKXYZTrafoBase>();
    stage->SetPoints(XYZ(1, 1, 1), XYZ(96.42, 100, 82.49), XYZ(3, 3, 3), XYZ(90, 95, 80));
    const TKVector black = stage->Trafo(XYZ(1, 1, 1));
    const TKVector white = stage->Trafo(XYZ(96.42, 100, 82.49));
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(black[i], 3.0, 1e-12);
    EXPECT_NEAR(white[0], 90.0, 1e-12);
    EXPECT_NEAR(white[1], 95.0, 1e-12);
    // With smooth black the white stays where it was mapped, and the black is still reached.
    auto smooth = TKMakeRef<TKXYZTrafoBase>(true);
    smooth->SetPoints(XYZ(1, 1, 1), XYZ(96.42, 100, 82.49), XYZ(3, 3, 3), XYZ(90, 95, 80));
    const TKVector w2 = smooth->Trafo(XYZ(96.42, 100, 82.49));
    EXPECT_NEAR(w2[1], 95.0, 1e-9);
    const TKVector b2 = smooth->Trafo(XYZ(1, 1, 1));
    EXPECT_NEAR(b2[1], 3.0, 1e-9);
}

}  // namespace
