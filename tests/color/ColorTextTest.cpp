// Colours of a type and their text forms: range vectors, white, black, primaries, channel
// names, type names in text, writing and reading colours, colour words.
#include <cmath>

#include "color/TKColors.h"
#include "color/TKSpectral.h"
#include "support/TestSupport.h"

namespace {

void ExpectValues(const TKVector& v, std::initializer_list<double> expected, uint32_t type) {
    EXPECT_EQ(uint32_t(v.GetType()), type);
    ASSERT_EQ(v.GetDim(), int32_t(expected.size()));
    int i = 0;
    for (double e : expected) EXPECT_NEAR(v[i++], e, 1e-12) << "channel " << i - 1;
}

TEST(ColorVectors, RangeVectors) {
    ExpectValues(GetMinVector(TKLabSpace), {0, -128, -128}, TKLabSpace);
    ExpectValues(GetMaxVector(TKLabSpace, 1), {100, 127, 127}, TKLabSpace);
    ExpectValues(GetMaxVector(TKLabSpace, 2), {100, 127.99609375, 127.99609375}, TKLabSpace);
    ExpectValues(GetMaxVector(TKXYZSpace, 2), {199.9969482421875, 199.9969482421875, 199.9969482421875}, TKXYZSpace);
    EXPECT_EQ(GetMaxVector(TKColorSig("mc1A")).GetDim(), 46);
    EXPECT_TKERROR(GetMinVector(TKLabSpace, 3), ArgErr);
    EXPECT_TKERROR(GetMaxVector(TKLabSpace, -1), ArgErr);
}

TEST(ColorVectors, Whites) {
    ExpectValues(GetWhite(TKXYZSpace), {96.42, 100, 82.49}, TKXYZSpace);
    ExpectValues(GetWhite(TKYxySpace), {100, 96.42 / 278.91, 100 / 278.91}, TKYxySpace);
    // Both chromaticities of the stored Yu'v' white use the factor 4.
    const double d = 96.42 + 1500 + 3 * 82.49;
    ExpectValues(GetWhite(TKYuvSpace), {100, 4 * 96.42 / d, 400 / d}, TKYuvSpace);
    ExpectValues(GetWhite(TKLcshSpace), {100, 0, 0}, TKLcshSpace);
    ExpectValues(GetWhite(TKLabXSpace), {100, 0, 0, 0}, TKLabXSpace);
    ExpectValues(GetWhite(TKRGBSpace), {255, 255, 255}, TKRGBSpace);
    ExpectValues(GetWhite(TKHSVSpace), {0, 0, 100}, TKHSVSpace);
    ExpectValues(GetWhite(TKHLSSpace), {0, 100, 0}, TKHLSSpace);
    ExpectValues(GetWhite(TKCMYKSpace), {0, 0, 0, 0}, TKCMYKSpace);
    ExpectValues(GetWhite(TKKelvinSpace), {1000}, TKKelvinSpace);
    const TKVector refl = GetWhite(TKReflSpace);
    ASSERT_EQ(refl.GetDim(), 36);
    EXPECT_EQ(refl.Min(), 1.0);
}

TEST(ColorVectors, Blacks) {
    ExpectValues(GetBlack(TKLabSpace), {0, 0, 0}, TKLabSpace);
    ExpectValues(GetBlack(TKCMYSpace), {100, 100, 100}, TKCMYSpace);
    ExpectValues(GetBlack(TKGraySpace), {100}, TKGraySpace);
    ExpectValues(GetBlack(TKLabXSpace), {0, 0, 0, 100}, TKLabXSpace);
    ExpectValues(GetBlack(TKYuvSpace), {0, 0.33, 0.33}, TKYuvSpace);
    ExpectValues(GetBlack(TKCMYKSpace), {100, 100, 100, 100}, TKCMYKSpace);
    ExpectValues(GetBlack(TKCMYKSpace, 3), {100, 100, 100, 0}, TKCMYKSpace);
    ExpectValues(GetBlack(TKCMYKSpace, 2), {0, 0, 0, 100}, TKCMYKSpace);
    ExpectValues(GetBlack(TKColorSig("6CLR"), 1), {100, 100, 100, 100, 0, 0}, TKColorSig("6CLR"));
    ExpectValues(GetBlack(TKColorSig("3CLR"), 2), {100, 100, 100}, TKColorSig("3CLR"));
    ExpectValues(GetBlack(TKCMYKDensSpace), {10, 10, 10, 10}, TKCMYKDensSpace);
}

TEST(ColorVectors, Primaries) {
    ExpectValues(GetPrimary(TKRGBSpace, 1), {0, 255, 0}, TKRGBSpace);
    ExpectValues(GetPrimary(TKGraySpace, 0), {100}, TKGraySpace);
    ExpectValues(GetPrimary(TKLabSpace, 0), {127.5, 127.5, 127.5}, TKRGBSpace);
    ExpectValues(GetPrimary(TKLabSpace, 1), {224, 0, 224}, TKRGBSpace);
    ExpectValues(GetPrimary(TKXYZSpace, 2), {224, 224, 0}, TKRGBSpace);
    ExpectValues(GetPrimary(TKCMYKSpace, 2), {0, 0, 100, 0}, TKCMYKSpace);
    ExpectValues(GetPrimary(TKKelvinSpace, 0), {30000}, TKKelvinSpace);
    EXPECT_TRUE(GetPrimary(TKCMYKSpace, 4).IsEmpty());
    EXPECT_TRUE(GetPrimary(TKRGBSpace, -1).IsEmpty());
}

TEST(ColorText, TypeFromName) {
    EXPECT_EQ(GetTypeFromName("Lab"), TKLabSpace);
    EXPECT_EQ(GetTypeFromName("LCh-uv"), TKLChuSpace);
    EXPECT_EQ(GetTypeFromName("XYZ-Norm"), TKXYZNSpace);
    EXPECT_EQ(GetTypeFromName("CMYK-Density"), TKCMYKDensSpace);
    EXPECT_EQ(GetTypeFromName("nm0F"), TKColorSig("nm0F"));
    EXPECT_EQ(GetTypeFromName("7CLR"), TKColorSig("7CLR"));
    EXPECT_EQ(GetTypeFromName("NormSpace"), TKNormClassSpace);
    EXPECT_EQ(GetTypeFromName("measured in\tLab\n"), TKLabSpace);
    EXPECT_EQ(GetTypeFromName("50 LCh-uv 20"), TKLChuSpace);
    EXPECT_EQ(GetTypeFromName("Labs"), TKNoSpace);
    EXPECT_EQ(GetTypeFromName(""), TKNoSpace);
    EXPECT_EQ(GetTypeFromName(nullptr), TKNoSpace);
    int32_t position = -1, length = -1;
    EXPECT_EQ(FindTypeNameInText("10 20 RGB 30", &position, &length), TKRGBSpace);
    EXPECT_EQ(position, 6);
    EXPECT_EQ(length, 3);
}

TEST(ColorText, WritingColours) {
    const TKVector lab({50.0, -3.5, 12.25}, int32_t(TKLabSpace));
    EXPECT_STREQ(GetColorText(lab), "50.00 -3.50 12.25");
    EXPECT_STREQ(GetColorText(lab, nullptr, kTKColorTextWithType), "50.00 -3.50 12.25 Lab");
    EXPECT_STREQ(GetColorText(lab, nullptr, kTKColorTextCommas), "50.00,-3.50,12.25");
    EXPECT_STREQ(GetColorText(lab, nullptr, kTKColorTextAligned), "50.00  -3.50  12.25");
    EXPECT_STREQ(GetColorText(TKVector({255.0, 0.0, 12.5}, int32_t(TKRGBSpace))), "255.0 0.0 12.5");
    EXPECT_STREQ(GetColorText(TKVector({5.0, 100.0}, int32_t(TKColorSig("2CLR"))), nullptr, kTKColorTextAligned),
                 "  5.0 100.0");
    EXPECT_STREQ(GetColorText(TKVector({0.5}, int32_t(TKColorSig("nm01")))), "0.5000");
    EXPECT_STREQ(GetColorText(TKVector({6500.0}, int32_t(TKKelvinSpace))), "6500.00");
    EXPECT_STREQ(GetColorText(TKVector({1.0, 2.0}), "%.3f", kTKColorTextCommas), "1.000,2.000");
    EXPECT_STREQ(GetColorText(TKVector({1.0}), "v=%5.1f%%"), "v=  1.0%");
    EXPECT_TKERROR(GetColorText(lab, "%s"), ArgErr);
    EXPECT_TKERROR(GetColorText(lab, "%d"), ArgErr);
    EXPECT_TKERROR(GetColorText(lab, "%f %f"), ArgErr);
    EXPECT_TKERROR(GetColorText(lab, "none"), ArgErr);
}

TEST(ColorText, ReadingLightSourcesAndWhites) {
    TKVector c;
    GetColorFromText(c, 0, "D65", true);
    EXPECT_TRUE(c == GetIlluminantSpectrum("D65"));
    EXPECT_EQ(uint32_t(c.GetType()), TKEmisSpace);
    EXPECT_EQ(c[0], 0.0);  // the plain daylight has no ultraviolet
    GetColorFromText(c, TKEmisSpace, "D50UV", true);
    EXPECT_TRUE(c == GetIlluminantSpectrum("D50UV"));
    EXPECT_GT(c[0], 0.0);
    GetColorFromText(c, 0, "D50 daylight", true);
    EXPECT_TRUE(c == GetIlluminantSpectrum("D50"));
    GetColorFromText(c, 0, "A", true);
    EXPECT_TRUE(c == GetIlluminantSpectrum("A"));
    GetColorFromText(c, 0, "Uniform", true);
    EXPECT_EQ(c.Min(), 100.0);
    GetColorFromText(c, 0, "F12", true);
    EXPECT_TRUE(c == GetIlluminantSpectrum("F12"));
    // Whites: the daylight formula for "Dnn", the stored constants for the others.
    GetColorFromText(c, TKXYZSpace, "D65", true);
    ASSERT_EQ(c.GetDim(), 3);
    const double sum = c[0] + c[1] + c[2];
    // The daylight locus at 6504 K; Little CMS 2.14 cmsWhitePointFromTemp gives 0.312714, 0.329119.
    // (The tabulated D65, integrated from its spectrum, is 0.31271, 0.32902.)
    EXPECT_NEAR(c[0] / sum, 0.312714, 2e-5);
    EXPECT_NEAR(c[1] / sum, 0.329119, 2e-5);
    GetColorFromText(c, TKCIEClassSpace, "A", true);
    ExpectValues(c, {109.85, 100, 35.58}, TKXYZSpace);
    GetColorFromText(c, 0, "C", true);
    ExpectValues(c, {98.07, 100, 118.23}, TKXYZSpace);
    GetColorFromText(c, TKXYZSpace, "F11", true);
    ExpectValues(c, {100.97, 100, 64.37}, TKXYZSpace);
}

TEST(ColorText, ReadingColours) {
    TKVector c;
    GetColorFromText(c, 0, "Lab 50 10 -20", true);
    ExpectValues(c, {50, 10, -20}, TKLabSpace);
    GetColorFromText(c, TKCMYKSpace, "RGB 1,2;3", true);
    ExpectValues(c, {1, 2, 3}, TKRGBSpace);
    GetColorFromText(c, TKCMYKSpace, "10 20 30 40 50", true);
    ExpectValues(c, {10, 20, 30, 40}, TKCMYKSpace);
    GetColorFromText(c, TKDevClassSpace, "1 2 3 4 5", true);
    ExpectValues(c, {1, 2, 3, 4, 5}, TKColorSig("5CLR"));
    GetColorFromText(c, TKDevClassSpace, "1 2 3", true);
    ExpectValues(c, {1, 2, 3}, TKDevClassSpace);
    GetColorFromText(c, TKNormClassSpace, "0.1 0.2", true);
    ExpectValues(c, {0.1, 0.2}, TKColorSig("nm02"));
    GetColorFromText(c, TKCIEClassSpace, "1 2 3", true);
    ExpectValues(c, {1, 2, 3}, TKCIEClassSpace);
    EXPECT_TKERROR(GetColorFromText(c, TKCIEClassSpace, "1 2", true), WrongDataType);
    EXPECT_TKERROR(GetColorFromText(c, TKCMYKSpace, "10 20", true), BufferTooSmall);
    EXPECT_TKERROR(GetColorFromText(c, TKCMYKSpace, "10 x 30 40", true), WrongDataType);
    EXPECT_TKERROR(GetColorFromText(c, TKLabSpace, nullptr, true), WrongDataType);
    GetColorFromText(c, TKCMYKSpace, "10 20", false);
    EXPECT_TRUE(c.IsEmpty());
    GetColorFromText(c, TKCMYKSpace, "10 x 30 40", false);
    EXPECT_TRUE(c.IsEmpty());
    GetColorFromText(c, TKCIEClassSpace, "1 2", false);
    EXPECT_TRUE(c.IsEmpty());
}

TEST(ColorText, ColourWords) {
    auto jch = [](double j, double c, double h) { return TKVector({j, c, h}, int32_t(TKJChSpace)); };
    EXPECT_STREQ(GetColorNameOf(jch(50, 15, 20)), "Red");
    EXPECT_STREQ(GetColorNameOf(jch(50, 15, 315)), "Violet");
    EXPECT_STREQ(GetColorNameOf(jch(50, 15, 315.5)), "Magenta");
    EXPECT_STREQ(GetColorNameOf(jch(50, 40, -30)), "Magenta");
    EXPECT_STREQ(GetColorNameOf(jch(50, 40, 100)), "Yellow");
    EXPECT_STREQ(GetColorNameOf(jch(50, 40, 200)), "Cyan");
    EXPECT_STREQ(GetColorNameOf(jch(50, 40, 250)), "Blue");
    EXPECT_STREQ(GetColorNameOf(jch(80, 14.9, 0)), "White");
    EXPECT_STREQ(GetColorNameOf(jch(50, 14.9, 0)), "Gray");
    EXPECT_STREQ(GetColorNameOf(jch(29.9, 0, 0)), "Black");
    EXPECT_STREQ(GetColorNameOf(TKVector({96.42, 100.0, 82.49}, int32_t(TKXYZSpace))), "White");
    EXPECT_STREQ(GetColorNameOf(TKVector({50.0, 0.0, 80.0}, int32_t(TKLabSpace))), "Yellow");
    EXPECT_STREQ(GetColorNameOf(TKVector({1.0, 2.0, 3.0}, int32_t(TKRGBSpace))), "");
}

}  // namespace
