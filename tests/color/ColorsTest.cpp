// Colour-type vocabulary: channel counts, classes, type makers and the encoded channel ranges.
#include <cmath>

#include "color/TKColors.h"

#include "support/TestSupport.h"

namespace {

TEST(ColorTypes, ChannelCountsOfFixedTypesAndBase36Families) {
    const struct {
        uint32_t type;
        int32_t channels;
    } cases[] = {{TKNoSpace, 0},         {TKCIEClassSpace, 0},   {TKLabSpace, 3},          {TKLabXSpace, 4},
                 {TKKelvinSpace, 1},     {TKReflSpace, 36},      {TKCMYKDensSpace, 4},     {TKGraySpace, 1},
                 {TKColorSig("7CLR"), 7}, {TKColorSig("FCLR"), 15}, {TKColorSig("GCLR"), 0}, {TKColorSig("abcd"), 0},
                 {TKColorSig("mc1A"), 46}, {TKColorSig("nmZZ"), 1295}, {TKColorSig("mc~~"), 0}, {TKNormClassSpace, 0}};
    for (const auto& c : cases) EXPECT_EQ(GetChannelCount(c.type), c.channels) << GetTypeName(c.type);
    EXPECT_EQ(GetColorClass(TKColorSig("mc~~")), TKNoClass);
    EXPECT_EQ(GetColorClass(TKColorSig("nm03")), TKNormClass);
    EXPECT_EQ(GetColorClass(TKNormClassSpace), TKNormClass);
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
    const struct {
        uint32_t type;
        int32_t channel, flag;
        double min, max;  // min NAN: not checked
    } cases[] = {{TKLabSpace, 0, 2, 0.0, 100.0},          {TKLabSpace, 1, 0, -128.0, 128.0},
                 {TKLabSpace, 1, 1, NAN, 127.0},           {TKLabSpace, 2, 2, NAN, 127.99609375},
                 {TKLcsSpace, 2, 0, -150.0, NAN},          {TKKelvinSpace, 0, 0, 1000.0, 30000.0},
                 {TKCMYKSpace, 2, 0, 0.0, 100.0},          {TKLabXSpace, 3, 1, NAN, 100.0},
                 {TKXYZSpace, 1, 1, NAN, 199.21875},       {TKXYZSpace, 2, 2, NAN, 199.9969482421875},
                 {TKYxySpace, 0, 0, NAN, 200.0},           {TKYuvSpace, 2, 0, NAN, 1.0},
                 {TKRGBSpace, 1, 1, NAN, 255.0},           {TKLChSpace, 1, 0, NAN, 255.0},
                 {TKLChSpace, 2, 0, NAN, 360.0},           {TKHLSSpace, 0, 0, NAN, 360.0},
                 {TKHLSSpace, 2, 0, NAN, 100.0},           {TKColorSig("mc1A"), 40, 0, NAN, 100.0},
                 {TKColorSig("nm03"), 2, 0, NAN, 1.0},     {TKEmisSpace, 0, 0, NAN, 2000.0},
                 {TKColorSig("abcd"), 0, 0, NAN, 100.0}};
    for (const auto& c : cases) {
        EXPECT_TRUE(std::isnan(c.min) || GetChannelMin(c.type, c.channel) == c.min) << GetTypeName(c.type);
        EXPECT_TRUE(std::isnan(c.max) || GetChannelMax(c.type, c.channel, c.flag) == c.max) << GetTypeName(c.type);
    }
    const std::pair<uint32_t, double> maxOfAll[] = {
        {TKLabSpace, 256.0}, {TKJChSpace, 360.0}, {TKYuvSpace, 200.0}, {TKCMYKSpace, 100.0}, {TKRGBSpace, 255.0}};
    for (const auto& [type, max] : maxOfAll) EXPECT_EQ(GetMaxOfAll(type), max) << GetTypeName(type);
}

}  // namespace
