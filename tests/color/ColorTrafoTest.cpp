// The colour trafo stack: conversions in front and behind, norm scaling, channel order, real
// ranges and the mixing of two colour trafos.
#include <cmath>

#include "color/TKCIETools.h"
#include "color/TKColor2NormTrafo.h"
#include "color/TKColorOrderTrafo.h"
#include "color/TKColorTrafo.h"
#include "color/TKColors.h"
#include "color/TKMergeColorTrafo.h"
#include "color/TKRealColorTrafo.h"
#include "support/TestSupport.h"

namespace {

void ExpectNear(const TKVector& v, std::initializer_list<double> expected, double tolerance) {
    ASSERT_EQ(v.GetDim(), int32_t(expected.size()));
    int32_t i = 0;
    for (double e : expected) {
        EXPECT_NEAR(v[i], e, tolerance) << "channel " << i;
        ++i;
    }
}

// Maps every colour to Lab white.
class ToWhite : public TKColorTrafo {
public:
    ToWhite() : TKColorTrafo(TKLabSpace, TKLabSpace) {}

protected:
    TKVector Evaluate(const TKVector&) const override { return TKVector({100, 0, 0}, int32_t(TKLabSpace)); }
};

}  // namespace

TEST(DefaultColorTrafo, ConvertsBetweenCIETypes) {
    TKDefaultColorTrafo toXYZ(TKLabSpace, TKXYZSpace);
    EXPECT_EQ(toXYZ.GetSrcType(), int32_t(TKLabSpace));
    EXPECT_EQ(toXYZ.GetDstType(0), int32_t(TKXYZSpace));
    EXPECT_EQ(toXYZ.GetSrcDim(), 3);
    const TKVector white = toXYZ.Trafo(TKVector({100, 0, 0}, int32_t(TKLabSpace)));
    EXPECT_EQ(white.GetType(), int32_t(TKXYZSpace));
    ExpectNear(white, {96.42, 100, 82.49}, 1e-9);
    // L* 50 is Y = 18.418651851244416 (CIE 15: ((50 + 16) / 116)^3 x 100).
    EXPECT_NEAR(toXYZ.Trafo(TKVector({50, 0, 0}, int32_t(TKLabSpace)))[1], 18.418651851244416, 1e-9);
}

TEST(DefaultColorTrafo, BringsOtherTypesToItsInput) {
    TKDefaultColorTrafo labToLab(TKLabSpace, TKLabSpace);
    EXPECT_EQ(labToLab.GetInfo(TKTrafo::kInfoIdentity), 1);
    // An XYZ colour fed to a Lab trafo is converted first.
    const TKVector lab = labToLab.Trafo(TKVector({96.42, 100, 82.49}, int32_t(TKXYZSpace)));
    EXPECT_EQ(lab.GetType(), int32_t(TKLabSpace));
    ExpectNear(lab, {100, 0, 0}, 1e-9);
    // An untyped colour is taken to be of the input type.
    ExpectNear(labToLab.Trafo(TKVector({50, 10, -20})), {50, 10, -20}, 0);
    EXPECT_EQ(labToLab.Trafo(TKVector({50, 10, -20})).GetType(), int32_t(TKLabSpace));
}

TEST(DefaultColorTrafo, AnyCIEInputToAWantedType) {
    TKDefaultColorTrafo anyToLab(0, TKLabSpace);
    EXPECT_EQ(anyToLab.GetSrcDim(), 0);
    ExpectNear(anyToLab.Trafo(TKVector({96.42, 100, 82.49}, int32_t(TKXYZSpace))), {100, 0, 0}, 1e-9);
    const TKVector lch = anyToLab.TrafoTo(TKVector({50, 0, 20}, int32_t(TKLabSpace)), TKLChSpace);
    EXPECT_EQ(lch.GetType(), int32_t(TKLChSpace));
    ExpectNear(lch, {50, 20, 90}, 1e-9);
}

TEST(DefaultColorTrafo, DeviceTypes) {
    TKDefaultColorTrafo cmyk(TKCMYKSpace, TKCMYKSpace);
    ExpectNear(cmyk.Trafo(TKVector({10, 20, 30, 40}, int32_t(TKCMYKSpace))), {10, 20, 30, 40}, 0);
    // "4CLR" and "CMYK" are the same numbers under two names.
    EXPECT_EQ(cmyk.Trafo(TKVector({1, 2, 3, 4}, int32_t(TK4CLRSpace))).GetType(), int32_t(TKCMYKSpace));
    EXPECT_TKERROR(cmyk.Trafo(TKVector({50, 0, 0}, int32_t(TKLabSpace))), WrongDataType);
    TKDefaultColorTrafo cmykToLab(TKCMYKSpace, TKLabSpace);
    EXPECT_TKERROR(cmykToLab.Trafo(TKVector({1, 2, 3, 4}, int32_t(TKCMYKSpace))), WrongDataType);
}

TEST(ColorNorm, LabInTheLegacySixteenBitEncoding) {
    TKColor2NormTrafo toNorm(TKLabSpace);
    EXPECT_EQ(toNorm.GetDstType(0), int32_t(GetNormType(3)));
    // ICC v2 16-bit Lab: L 100 is 0xFF00, a = b = 0 is 0x8000.
    ExpectNear(toNorm.Trafo(TKVector({100, 0, 0}, int32_t(TKLabSpace))),
               {65280.0 / 65535, 32768.0 / 65535, 32768.0 / 65535}, 1e-12);
    ExpectNear(toNorm.Trafo(TKVector({0, -128, -128}, int32_t(TKLabSpace))), {0, 0, 0}, 1e-12);
    TKNorm2ColorTrafo back(TKLabSpace);
    EXPECT_EQ(back.GetSrcType(), int32_t(GetNormType(3)));
    EXPECT_EQ(back.GetDstType(0), int32_t(TKLabSpace));
    const TKVector lab({37.5, -20.25, 55.125}, int32_t(TKLabSpace));
    ExpectNear(back.Trafo(toNorm.Trafo(lab)), {37.5, -20.25, 55.125}, 1e-12);
    EXPECT_EQ(back.Trafo(toNorm.Trafo(lab)).GetType(), int32_t(TKLabSpace));
}

TEST(ColorNorm, LabAndXYZInTheOtherEncodings) {
    // v4 / 8-bit Lab: L 100 and a = b = 127 are full scale, a = 0 is 128/255.
    TKColor2NormTrafo v4(TKLabSpace, kTKRange8Bit);
    ExpectNear(v4.Trafo(TKVector({100, 0, 127}, int32_t(TKLabSpace))), {1, 128.0 / 255, 1}, 1e-12);
    // u1Fixed15 XYZ: Y = 100 (1.0) is code 0x8000 of 0xFFFF.
    TKColor2NormTrafo xyz(TKXYZSpace);
    EXPECT_NEAR(xyz.Trafo(TKVector({96.42, 100, 82.49}, int32_t(TKXYZSpace)))[1], 32768.0 / 65535, 1e-12);
    // Types without encodings use their real range.
    TKColor2NormTrafo cmyk(TKCMYKSpace);
    ExpectNear(cmyk.Trafo(TKVector({0, 50, 100, 25}, int32_t(TKCMYKSpace))), {0, 0.5, 1, 0.25}, 1e-12);
    TKColor2NormTrafo rgb(TKRGBSpace, kTKRangeReal);
    ExpectNear(rgb.Trafo(TKVector({255, 0, 51}, int32_t(TKRGBSpace))), {1, 0, 0.2}, 1e-12);
}

TEST(ColorNorm, RefusesWhatItCannotScale) {
    EXPECT_TKERROR(TKColor2NormTrafo{TKCIEClassSpace}, ArgErr);
    EXPECT_TKERROR((TKColor2NormTrafo{TKLabSpace, 3}), ArgErr);
    TKColor2NormTrafo lab(TKLabSpace);
    EXPECT_TKERROR(lab.Trafo(TKVector({1, 2, 3, 4})), DimMismatch);
    EXPECT_TKERROR(lab.GetMin(3), IndexError);
}

TEST(ColorOrder, ScatterGatherAndInverse) {
    const int32_t kcmy[] = {1, 2, 3, 0};  // C goes to 1, M to 2, Y to 3, K to 0
    TKColorOrderTrafo scatter(TKCMYKSpace, TK4CLRSpace, kcmy, 4, false);
    const TKVector cmyk({10, 20, 30, 40}, int32_t(TKCMYKSpace));
    const TKVector moved = scatter.Trafo(cmyk);
    ExpectNear(moved, {40, 10, 20, 30}, 0);
    EXPECT_EQ(moved.GetType(), int32_t(TK4CLRSpace));
    EXPECT_EQ(scatter.GetSrcType(), int32_t(TKCMYKSpace));
    EXPECT_EQ(scatter.GetDstDim(4), 4);
    auto inverse = scatter.Inverse();
    EXPECT_EQ(inverse->GetDstType(0), int32_t(TKCMYKSpace));
    ExpectNear(inverse->Trafo(moved), {10, 20, 30, 40}, 0);
    TKColorOrderTrafo gather(TKCMYKSpace, TK4CLRSpace, kcmy, 4, true);
    ExpectNear(gather.Trafo(cmyk), {20, 30, 40, 10}, 0);
}

TEST(ColorOrder, OrderMustBeAPermutation) {
    const int32_t twice[] = {0, 0, 1, 2};
    const int32_t outside[] = {0, 1, 2, 4};
    const int32_t three[] = {0, 1, 2};
    EXPECT_TKERROR(TKColorOrderTrafo(TKCMYKSpace, TKCMYKSpace, twice, 4, false), ArgErr);
    EXPECT_TKERROR(TKColorOrderTrafo(TKCMYKSpace, TKCMYKSpace, outside, 4, false), ArgErr);
    EXPECT_TKERROR(TKColorOrderTrafo(TKCMYKSpace, TKCMYKSpace, three, 3, false), ArgErr);
    EXPECT_TKERROR(TKColorOrderTrafo(TKCMYKSpace, TKRGBSpace, three, 3, false), ArgErr);
    TKColorOrderTrafo identity(TKRGBSpace, TKRGBSpace, three, 3, false);
    EXPECT_TKERROR(identity.Trafo(TKVector({1, 2, 3, 4}, int32_t(TKCMYKSpace))), DimMismatch);
}

TEST(RealColor, LimitsWhatTheTypeCannotHold) {
    ExpectNear(TKRealColorTrafo(TKCMYKSpace).Trafo(TKVector({-5, 50, 120, 100}, int32_t(TKCMYKSpace))),
               {0, 50, 100, 100}, 0);
    ExpectNear(TKRealColorTrafo(TKRGBSpace).Trafo(TKVector({300, -1, 10}, int32_t(TKRGBSpace))), {255, 0, 10}, 0);
    ExpectNear(TKRealColorTrafo(TKXYZSpace).Trafo(TKVector({-0.5, 20, 30}, int32_t(TKXYZSpace))), {0, 20, 30}, 0);
    // Lab keeps its opponent channels, whatever their size.
    ExpectNear(TKRealColorTrafo(TKLabSpace).Trafo(TKVector({104, -150, 140}, int32_t(TKLabSpace))),
               {100, -150, 140}, 0);
    // A negative chroma is the opposite hue; hues come back into 0..360.
    ExpectNear(TKRealColorTrafo(TKLChSpace).Trafo(TKVector({50, -10, 270}, int32_t(TKLChSpace))), {50, 10, 90},
               1e-12);
    ExpectNear(TKRealColorTrafo(TKLChSpace).Trafo(TKVector({50, 10, -30}, int32_t(TKLChSpace))), {50, 10, 330},
               1e-12);
}

TEST(RealColor, TypeZeroFollowsTheColour) {
    TKRealColorTrafo any;
    EXPECT_EQ(any.GetSrcDim(), 0);
    ExpectNear(any.Trafo(TKVector({-1, 101}, int32_t(TK2CLRSpace))), {0, 100}, 0);
    ExpectNear(any.Trafo(TKVector({-1, 101})), {-1, 101}, 0);
}

TEST(MergeColor, MixesInTheChosenType) {
    auto lab = TKMakeRef<TKDefaultColorTrafo>(TKLabSpace, TKLabSpace);
    auto xyz = TKMakeRef<TKDefaultColorTrafo>(TKLabSpace, TKXYZSpace);
    const TKVector grey({50, 0, 0}, int32_t(TKLabSpace));
    TKMergeColorTrafo first(lab.Get(), xyz.Get(), 0.0, false);
    ExpectNear(first.Trafo(grey), {50, 0, 0}, 1e-9);
    TKMergeColorTrafo second(lab.Get(), xyz.Get(), 1.0, false);
    ExpectNear(second.Trafo(grey), {50, 0, 0}, 1e-9);  // trafo2's XYZ comes back as Lab
}

TEST(MergeColor, MixingTypeDecidesTheMidpoint) {
    auto identity = TKMakeRef<TKDefaultColorTrafo>(TKLabSpace, TKLabSpace);
    auto white = TKMakeRef<ToWhite>();
    const TKVector black({0, 0, 0}, int32_t(TKLabSpace));
    // Half of L* 0 and L* 100: mixed in Lab it is L* 50; mixed in XYZ it is Y = 50, which is
    // L* 76.0693 (CIE 15: 116 x 0.5^(1/3) - 16).
    TKMergeColorTrafo inLab(identity.Get(), white.Get(), 0.5, false);
    ExpectNear(inLab.Trafo(black), {50, 0, 0}, 1e-9);
    TKMergeColorTrafo inXYZ(identity.Get(), white.Get(), 0.5, false, TKXYZSpace);
    const TKVector mixed = inXYZ.Trafo(black);
    EXPECT_EQ(mixed.GetType(), int32_t(TKLabSpace));
    ExpectNear(mixed, {116 * std::cbrt(0.5) - 16, 0, 0}, 1e-9);
}
