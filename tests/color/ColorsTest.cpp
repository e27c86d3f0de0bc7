// Colour-type vocabulary: channel counts, classes, type makers, predicates, ranges, names.
#include "color/TKColors.h"

#include "support/TestSupport.h"

namespace {

TEST(ColorTypes, ChannelCountsOfFixedTypes) {
    EXPECT_EQ(GetChannelCount(TKNoSpace), 0);
    EXPECT_EQ(GetChannelCount(TKCIEClassSpace), 0);
    EXPECT_EQ(GetChannelCount(TKLabSpace), 3);
    EXPECT_EQ(GetChannelCount(TKLabXSpace), 4);
    EXPECT_EQ(GetChannelCount(TKKelvinSpace), 1);
    EXPECT_EQ(GetChannelCount(TKReflSpace), 36);
    EXPECT_EQ(GetChannelCount(TKCMYKDensSpace), 4);
    EXPECT_EQ(GetChannelCount(TKGraySpace), 1);
    EXPECT_EQ(GetChannelCount(TKColorSig("7CLR")), 7);
    EXPECT_EQ(GetChannelCount(TKColorSig("FCLR")), 15);
    EXPECT_EQ(GetChannelCount(TKColorSig("GCLR")), 0);
    EXPECT_EQ(GetChannelCount(TKColorSig("abcd")), 0);
}

TEST(ColorTypes, Base36Families) {
    EXPECT_EQ(GetChannelCount(TKColorSig("mc1A")), 46);
    EXPECT_EQ(GetChannelCount(TKColorSig("nmZZ")), 1295);
    EXPECT_EQ(GetChannelCount(TKColorSig("mc~~")), 0);
    EXPECT_EQ(GetColorClass(TKColorSig("mc~~")), TKNoClass);
    EXPECT_EQ(GetColorClass(TKColorSig("nm03")), TKNormClass);
    EXPECT_EQ(GetColorClass(TKNormClassSpace), TKNormClass);
    EXPECT_EQ(GetChannelCount(TKNormClassSpace), 0);
}

TEST(ColorTypes, DeviceTypeMakers) {
    EXPECT_EQ(GetDeviceType(0), TKNoSpace);
    EXPECT_EQ(GetDeviceType(1), TKGraySpace);
    EXPECT_EQ(GetDeviceType(2), TKColorSig("2CLR"));
    EXPECT_EQ(GetDeviceType(3), TKCMYSpace);
    EXPECT_EQ(GetDeviceType(4), TKCMYKSpace);
    EXPECT_EQ(GetDeviceType(5), TKColorSig("5CLR"));
    EXPECT_EQ(GetDeviceType(15), TKColorSig("FCLR"));
    EXPECT_EQ(GetDeviceType(16), TKColorSig("mc0G"));
    EXPECT_EQ(GetDeviceType(1295), TKColorSig("mcZZ"));
    EXPECT_TKERROR(GetDeviceType(1296), DimMismatch);
    EXPECT_EQ(GetColorType(1), TKColorSig("1CLR"));
    EXPECT_EQ(GetColorType(3), TKColorSig("3CLR"));
    EXPECT_EQ(GetColorType(4), TKCMYKSpace);
    EXPECT_EQ(GetPureColorType(4), TKColorSig("4CLR"));
    EXPECT_EQ(GetNormType(3), TKColorSig("nm03"));
    EXPECT_EQ(GetNormType(46), TKColorSig("nm1A"));
    EXPECT_TKERROR(GetNormType(1296), DimMismatch);
    for (int n = 1; n <= 1295; ++n) ASSERT_EQ(GetChannelCount(GetDeviceType(n)), n) << n;
}

TEST(ColorTypes, ClassesAndPredicates) {
    EXPECT_TRUE(IsCIESpace(TKLabSpace));
    EXPECT_TRUE(IsCIESpace(TKReflSpace));
    EXPECT_FALSE(IsCIESpace(TKCMYKDensSpace));
    EXPECT_EQ(GetColorClass(TKCMYKDensSpace), TKOtherClass);
    EXPECT_TRUE(IsDeviceSpace(TKColorSig("mc1A")));
    EXPECT_FALSE(IsKnownSpace(TKColorSig("abcd")));
    EXPECT_TRUE(IsInkSpace(TKGraySpace));
    EXPECT_TRUE(IsInkSpace(TKColorSig("6CLR")));
    EXPECT_FALSE(IsInkSpace(TKRGBSpace));
    EXPECT_TRUE(IsMultiChannel(TKColorSig("mc1A")));
    EXPECT_FALSE(IsMultiChannel(TKCMYKSpace));
    EXPECT_TRUE(IsRelativeSpace(TKXYZNSpace));
    EXPECT_FALSE(IsRelativeSpace(TKXYZSpace));
    EXPECT_TRUE(IsSpectral(TKDensSpace));
    EXPECT_FALSE(IsSpectral(TKCMYKDensSpace));
    EXPECT_TRUE(IsSpectralOrDensity(TKCMYKDensSpace));
    EXPECT_TRUE(IsClassMarker(TKNormClassSpace));
    EXPECT_FALSE(IsClassMarker(TKColorSig("nm00")));
}

TEST(ColorTypes, PolarAndRectPartners) {
    EXPECT_EQ(GetPolarType(TKLabSpace, 0), TKLChSpace);
    EXPECT_EQ(GetPolarType(TKLuvSpace, 0), TKLChuSpace);
    EXPECT_EQ(GetPolarType(TKLcsSpace, 0), TKLcshSpace);
    EXPECT_EQ(GetPolarType(TKJChSpace, 0), TKJChSpace);
    EXPECT_EQ(GetPolarType(TKRGBSpace, 0), TKHLSSpace);
    EXPECT_EQ(GetPolarType(TKXYZSpace, 7), 7u);
    EXPECT_EQ(GetRectType(TKLChSpace, 0), TKLabSpace);
    EXPECT_EQ(GetRectType(TKHSVSpace, 0), TKRGBSpace);
    EXPECT_EQ(GetRectType(TKCMYSpace, 0), TKCMYSpace);
    EXPECT_EQ(GetRectType(TKCMYKSpace, 9), 9u);
}

TEST(ColorTypes, SameClassCompatibleConvertible) {
    EXPECT_TRUE(IsSameClass(TKLabSpace, TKXYZSpace));
    EXPECT_TRUE(IsSameClass(0, TKCMYKSpace));
    EXPECT_FALSE(IsSameClass(TKLabSpace, TKCMYKSpace));
    EXPECT_TRUE(IsCompatible(TKColorSig("3CLR"), TKCMYSpace));
    EXPECT_TRUE(IsCompatible(TKCMYKSpace, TKColorSig("4CLR")));
    EXPECT_TRUE(IsCompatible(TKGraySpace, TKColorSig("1CLR")));
    EXPECT_TRUE(IsCompatible(TKLabSpace, TKReflSpace));
    // "DENS" is of class other although it has four channels.
    EXPECT_FALSE(IsCompatible(TKCMYKDensSpace, TKCMYKSpace));
    EXPECT_FALSE(IsCompatible(TKRGBSpace, TKCMYSpace));
    EXPECT_TRUE(IsConvertible(TKLabSpace, TKLabSpace));
    EXPECT_TRUE(IsConvertible(0, TKLabSpace));
    EXPECT_TRUE(IsConvertible(TKCIEClassSpace, TKLabSpace));
    EXPECT_FALSE(IsConvertible(TKDevClassSpace, TKLabSpace));
    EXPECT_FALSE(IsConvertible(TKXYZSpace, TKLabSpace));
    EXPECT_FALSE(IsConvertible(TKCIEClassSpace, TKDevClassSpace));
}

TEST(ColorTypes, ChannelRanges) {
    EXPECT_EQ(GetChannelMin(TKLabSpace, 0), 0.0);
    EXPECT_EQ(GetChannelMin(TKLabSpace, 1), -128.0);
    EXPECT_EQ(GetChannelMin(TKLcsSpace, 2), -150.0);
    EXPECT_EQ(GetChannelMin(TKKelvinSpace, 0), 1000.0);
    EXPECT_EQ(GetChannelMin(TKCMYKSpace, 2), 0.0);
    EXPECT_EQ(GetChannelMax(TKLabSpace, 0, 2), 100.0);
    EXPECT_EQ(GetChannelMax(TKLabSpace, 1, 0), 128.0);
    EXPECT_EQ(GetChannelMax(TKLabSpace, 1, 1), 127.0);
    EXPECT_EQ(GetChannelMax(TKLabSpace, 2, 2), 127.99609375);
    EXPECT_EQ(GetChannelMax(TKLabXSpace, 3, 1), 100.0);
    EXPECT_EQ(GetChannelMax(TKXYZSpace, 1, 1), 199.21875);
    EXPECT_EQ(GetChannelMax(TKXYZSpace, 2, 2), 199.9969482421875);
    EXPECT_EQ(GetChannelMax(TKYxySpace, 0), 200.0);
    EXPECT_EQ(GetChannelMax(TKYuvSpace, 2), 1.0);
    EXPECT_EQ(GetChannelMax(TKRGBSpace, 1, 1), 255.0);
    EXPECT_EQ(GetChannelMax(TKLChSpace, 1), 255.0);
    EXPECT_EQ(GetChannelMax(TKLChSpace, 2), 360.0);
    EXPECT_EQ(GetChannelMax(TKHLSSpace, 0), 360.0);
    EXPECT_EQ(GetChannelMax(TKHLSSpace, 2), 100.0);
    EXPECT_EQ(GetChannelMax(TKColorSig("mc1A"), 40), 100.0);
    EXPECT_EQ(GetChannelMax(TKColorSig("nm03"), 2), 1.0);
    EXPECT_EQ(GetChannelMax(TKEmisSpace, 0), 2000.0);
    EXPECT_EQ(GetChannelMax(TKKelvinSpace, 0), 30000.0);
    EXPECT_EQ(GetChannelMax(TKColorSig("abcd"), 0), 100.0);
    EXPECT_EQ(GetMaxOfAll(TKLabSpace), 256.0);
    EXPECT_EQ(GetMaxOfAll(TKJChSpace), 360.0);
    EXPECT_EQ(GetMaxOfAll(TKYuvSpace), 200.0);
    EXPECT_EQ(GetMaxOfAll(TKCMYKSpace), 100.0);
    EXPECT_EQ(GetMaxOfAll(TKRGBSpace), 255.0);
}

TEST(ColorTypes, ShownNames) {
    EXPECT_STREQ(GetTypeName(TKNoSpace), "NoSpace");
    EXPECT_STREQ(GetTypeName(TKLChuSpace), "LCh-uv");
    EXPECT_STREQ(GetTypeName(TKYuvSpace), "Yu'v'");
    EXPECT_STREQ(GetTypeName(TKNormClassSpace), "NormSpace");
    EXPECT_STREQ(GetTypeName(TKColorSig("mc1A")), "mc1A");
    EXPECT_STREQ(GetTypeName(TKColorSig("3CLR")), "3CLR");
    EXPECT_STREQ(GetTypeName(TKColorSig("a b ")), "ab");
    EXPECT_STREQ(GetTypeName(0x01020304u), "None");
}

}  // namespace
