// The device-naive conversions: complements, black folding, gray and the sRGB stand-in.
#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "separation/TKDirectColor.h"
#include "support/TestSupport.h"

TEST(DirectColor, ConvertsBetweenDeviceTypesNaively) {
    struct Case {
        TKVector in;
        uint32_t to;
        TKVector expected;
    };
    const Case cases[] = {
        {TKVector({255, 127.5, 0}, int32_t(TKRGBSpace)), TKCMYSpace, TKVector({0, 50, 100})},
        {TKVector({0, 50, 100}, int32_t(TKCMYSpace)), TKRGBSpace, TKVector({255, 127.5, 0})},
        {TKVector({20, 40, 60}, int32_t(TKCMYSpace)), TKCMYKSpace, TKVector({20, 40, 60, 0})},
        // Black folds into CMY multiplicatively: 100 - 80 * 50 / 100 = 60.
        {TKVector({20, 40, 60, 50}, int32_t(TKCMYKSpace)), TKCMYSpace, TKVector({60, 70, 80})},
        {TKVector({0, 0, 0, 100}, int32_t(TKCMYKSpace)), TKRGBSpace, TKVector({0, 0, 0})},
        {TKVector({30}, int32_t(TKGraySpace)), TKCMYKSpace, TKVector({0, 0, 0, 30})},
        {TKVector({30}, int32_t(TKGraySpace)), TKCMYSpace, TKVector({30, 30, 30})},
        {TKVector({10, 20, 30, 0}, int32_t(TKCMYKSpace)), TKGraySpace, TKVector({20})},
        {TKVector({10, 20, 30, 40, 50, 60}, int32_t(GetDeviceType(6))), TKCMYKSpace, TKVector({10, 20, 30, 40})},
        {TKVector({10, 20, 30, 40}, int32_t(TKCMYKSpace)), GetDeviceType(6), TKVector({10, 20, 30, 40, 0, 0})},
    };
    for (const Case& c : cases) {
        const TKVector out = TKDirectConvert(c.in, c.to);
        EXPECT_EQ(uint32_t(out.GetType()), c.to);
        ASSERT_EQ(out.GetDim(), c.expected.GetDim()) << c.in.ToString();
        for (int32_t i = 0; i < out.GetDim(); ++i) EXPECT_NEAR(out[i], c.expected[i], 1e-12) << c.in.ToString();
    }
}

TEST(DirectColor, StandsInSRGBForCIETypes) {
    // sRGB white is the D50 white of the connection space; pure red has the published
    // D50-adapted sRGB red XYZ 43.61, 22.25, 1.39.
    const TKVector white = TKDirectConvert(TKVector({0, 0, 0, 0}, int32_t(TKCMYKSpace)), TKXYZSpace);
    EXPECT_NEAR(white[0], 96.42, 0.01);
    EXPECT_NEAR(white[1], 100.0, 0.01);
    EXPECT_NEAR(white[2], 82.52, 0.05);
    const TKVector red = TKDirectConvert(TKVector({255, 0, 0}, int32_t(TKRGBSpace)), TKXYZSpace);
    EXPECT_NEAR(red[0], 43.61, 0.01);
    EXPECT_NEAR(red[1], 22.25, 0.01);
    const TKVector back = TKDirectConvert(ConvertColor(TKLabSpace, red), TKRGBSpace);
    EXPECT_NEAR(back[0], 255.0, 0.01);
    EXPECT_NEAR(back[1], 0.0, 0.01);
    EXPECT_TKERROR(TKDirectConvert(TKVector({1, 2, 3}, int32_t(TKHSVSpace)), TKCMYSpace), WrongDataType);
}
