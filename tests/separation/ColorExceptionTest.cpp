// The exception logic piece by piece: fall-off, blending, classification and purification of
// colours, the mode names and user-interface flags, the settings text, rule weights, and the
// edge cases of the paths by source type.
#include <cmath>
#include <cstring>

#include "color/TKColors.h"
#include "numeric/TKTrafo.h"
#include "separation/TKColorException.h"
#include "separation/TKColorExceptionModes.h"
#include "separation/TKExceptionColors.h"
#include "support/TestSupport.h"

namespace {

TKVector CMYK(double c, double m, double y, double k) { return TKVector({c, m, y, k}, int32_t(TKCMYKSpace)); }

void ExpectNear(const TKVector& v, const TKVector& expected, double tolerance, const char* what = "") {
    ASSERT_EQ(v.GetDim(), expected.GetDim()) << what;
    for (int32_t i = 0; i < v.GetDim(); ++i) EXPECT_NEAR(v[i], expected[i], tolerance) << what << " channel " << i;
}

TKColorException MakeException(uint32_t mode, uint32_t in = TKCMYKSpace, uint32_t out = TKCMYKSpace) {
    TKColorException exception(in, out);
    exception.SetMode(mode);
    return exception;
}

// Squares its input: a gray curve that is easy to tell from the identity.
class SquareCurve : public TKTrafo {
public:
    TKVector Trafo(const TKVector& v) const override { return TKVector({v[0] * v[0]}); }
};

}  // namespace

TEST(ExceptionColors, FalloffIsLinearAndExactAtZeroWidth) {
    struct Case { double x, width, expected; };
    for (const Case& c : {Case{0, 0, 1}, Case{1e-9, 0, 0}, Case{0, 5, 1}, Case{-2.5, 5, 0.5}, Case{2.5, 5, 0.5},
                          Case{5, 5, 0}, Case{7, 5, 0}})
        EXPECT_DOUBLE_EQ(TKCalcFalloff(c.x, c.width), c.expected) << c.x << " " << c.width;
}

TEST(ExceptionColors, BlendBendsTheWeightAndCorrectsTheGrayShare) {
    const TKVector a({0, 0, 0}, int32_t(TKCMYSpace)), b({100, 100, 100}, int32_t(TKCMYSpace));
    struct Case { int32_t curve; double w, expected; };
    for (const Case& c : {Case{0, 0.3, 30}, Case{1, 0.25, 12.5}, Case{1, 0.75, 87.5}, Case{2, 0.5, 25},
                          Case{3, 0.5, 75}})
        EXPECT_NEAR(TKBlendColors(a, b, c.w, c.curve)[0], c.expected, 1e-12) << c.curve;
    // Black and gray mixed linearly print too light: halfway between CMY 60 and K 60 (both of
    // darkness 60) lies 30/30/30/30 of darkness 51. The gray and black are scaled by 60/51, which
    // brings the darkness to 100 - (100 - 30 * 60/51)^2 / 100 = 58.13.
    const TKVector gray = CMYK(60, 60, 60, 0), black = CMYK(0, 0, 0, 60);
    const TKVector mid = TKBlendColors(gray, black, 0.5, 0);
    const double scaled = 30.0 * 60.0 / 51.0;
    ExpectNear(mid, CMYK(scaled, scaled, scaled, scaled), 1e-9);
    // RGB targets are converted to the first colour's type first.
    ExpectNear(TKBlendColors(CMYK(0, 0, 0, 0), TKVector({0, 255, 255}, int32_t(TKRGBSpace)), 1.0, 0), CMYK(100, 0, 0, 0), 1e-9);
}

TEST(ExceptionColors, ClassifiesInkColours) {
    struct Case {
        TKVector colour;
        uint32_t has, lacks;
    };
    const Case cases[] = {
        {CMYK(100, 0, 0, 0), kTKClassPrimary | kTKClassCMYPrimary | kTKClassFullPrimary | kTKClassVertice | kTKClassCMYonly,
         kTKClassSecondary | kTKClassBlack | kTKClassGray},
        {CMYK(0, 0, 0, 100), kTKClassPrimary | kTKClassBlack | kTKClassGray | kTKClassCMYKonly, kTKClassCMYPrimary | kTKClassCMYonly},
        {CMYK(40, 60, 0, 0), kTKClassSecondary | kTKClass2Channels | kTKClassCMYonly | kTKClassBorder, kTKClassDuplex},
        {CMYK(40, 0, 0, 30), kTKClassDuplex | kTKClass2Channels, kTKClassSecondary | kTKClassCMYonly},
        {CMYK(40, 20, 0, 30), kTKClassTriplex | kTKClass3Channels, kTKClassDuplex | kTKClassSecondary},
        {CMYK(0, 0, 0, 0), kTKClassWhite | kTKClassGray | kTKClassVertice, kTKClassPrimary},
        {TKVector({50, 50, 50}, int32_t(TKCMYSpace)), kTKClassGray | kTKClass3Channels, kTKClassBlack},
        {TKVector({100, 100, 100}, int32_t(TKCMYSpace)), kTKClassBlack | kTKClassVertice, kTKClassWhite},
        // RGB red is magenta and yellow ink.
        {TKVector({255, 0, 0}, int32_t(TKRGBSpace)), kTKClassSecondary | kTKClassVertice, kTKClassPrimary},
    };
    for (const Case& c : cases) {
        const uint32_t bits = TKClassifyColor(c.colour, 1e-8);
        EXPECT_EQ(bits & c.has, c.has) << c.colour.ToString();
        EXPECT_EQ(bits & c.lacks, 0u) << c.colour.ToString();
    }
}

TEST(ExceptionColors, PurifiesToTheInksTheSourceAllows) {
    struct Case {
        const char* what;
        TKVector v, s;
        uint32_t flags;
        TKVector expected;
    };
    const Case cases[] = {
        {"one ink keeps the source's ink", CMYK(5, 80, 3, 2), CMYK(0, 100, 0, 0), 0x20, CMYK(0, 80, 0, 0)},
        {"magenta only when magenta leads", CMYK(5, 80, 3, 2), CMYK(0, 100, 0, 0), 0x200000, CMYK(0, 80, 0, 0)},
        {"yellow lands in channel 3", CMYK(10, 20, 80, 0), CMYK(0, 0, 100, 0), 0x400000, CMYK(0, 0, 0, 80)},
        // Two inks: the source's smallest is dropped, the two kept grow to a quarter of the
        // source's amount at least, and black under 0.1 * 70 + 2 is noise.
        {"two inks", CMYK(60, 70, 5, 4), CMYK(100, 100, 0, 0), 0x1000, CMYK(60, 70, 0, 0)},
        {"two inks from light ones", CMYK(10, 12, 5, 0), CMYK(80, 60, 0, 0), 0x1000, CMYK(20, 15, 0, 0)},
        {"no black", CMYK(10, 20, 30, 40), CMYK(10, 20, 30, 40), 0x4000, CMYK(10, 20, 30, 0)},
        {"scaled to full", CMYK(20, 50, 10, 30), CMYK(20, 50, 10, 30), 0x4000000, CMYK(40, 100, 20, 30)},
        {"edges snap", CMYK(0.5, 98.5, 50, 1), CMYK(0, 100, 50, 0), 0x10000, CMYK(0, 100, 50, 0)},
        {"nothing asked", CMYK(1, 2, 3, 4), CMYK(0, 0, 0, 0), 0, CMYK(1, 2, 3, 4)},
    };
    for (const Case& c : cases) ExpectNear(TKPurifyColor(c.v, c.s, c.flags, 0), c.expected, 1e-9, c.what);
    // A colour of three channels has no channel 3 to carry yellow.
    const TKVector cmy({10, 20, 80}, int32_t(TKCMYSpace));
    EXPECT_TKERROR(TKPurifyColor(cmy, cmy, 0x400000, 0), IndexError);
    EXPECT_EQ(TKKeepFarthest(CMYK(50, 50, 50, 50), CMYK(40, 50, 55, 50), CMYK(45, 70, 45, 50)), CMYK(40, 70, 55, 50));
}

TEST(ExceptionModes, FlagFunctionsForAUserInterface) {
    const uint32_t cmyk = TKCMYKSpace, rgb = TKRGBSpace;
    EXPECT_EQ(TKAllowedExceptionModes(0, cmyk, cmyk, 1), 13u | 0xC00107Du | 0x40000u | 0x2E702u | 0x40000000u | 0x30090800u);
    EXPECT_EQ(TKAllowedExceptionModes(0, GetDeviceType(1), cmyk, 3), 13u | 128u | 0x40000000u | 0x30090800u);
    EXPECT_EQ(TKAllowedExceptionModes(0, rgb, cmyk, 1) & (128u | 0x40000000u), 0u);
    EXPECT_EQ(TKAllowedExceptionModes(kTKFilterExceptions, rgb, GetDeviceType(6), 1) & 0xFF0103Du, 0xFF0103Du);
    EXPECT_EQ(TKImpliedExceptionModes(kTKTriplex, cmyk, cmyk, 1) & 0x1100u, 0x1100u);
    EXPECT_EQ(TKImpliedExceptionModes(kTKDuplex, cmyk, cmyk, 1) & 37u, 37u);
    EXPECT_EQ(TKImpliedExceptionModes(kTKPureMY | kTKPureCY, cmyk, cmyk, 1) & 0x700020u, 0x700020u);
    EXPECT_EQ(TKImpliedExceptionModes(kTKTriplex | kTKFilterExceptions, cmyk, cmyk, 1) & 0x1100u, 0x100u);
    EXPECT_TRUE(TKImpliedExceptionModes(kTKPureC, cmyk, cmyk, 1) & kTKPureWhite);
    EXPECT_EQ(TKSettableExceptionModes(kTKDuplex, cmyk, cmyk, 1) & kTKPureBlack, 0u);
    // The single-ink flags are offered on the filter path only.
    EXPECT_EQ(TKEffectiveExceptionModes(kTKPureC, cmyk, cmyk, 1) & kTKPureC, 0u);
    const uint32_t effective =
        TKEffectiveExceptionModes(kTKFilterExceptions | kTKPureC | kTKPureM | kTKPureY | kTKMaxCMY, cmyk, cmyk, 1);
    EXPECT_EQ(effective & (kTKPurePrimaries | kTKFullCMY | kTKPureWhite), kTKPurePrimaries | kTKFullCMY | kTKPureWhite);
}

TEST(ExceptionSettings, ReadsRulesAndSkipsMalformedLines) {
    struct Case {
        const char* text;
        size_t rules;
        TKVector lo, hi;  // of the first rule, when there is one
        double radius;
        bool useInkLimit;
    };
    const Case cases[] = {
        {"Spot CMYK 10 20 30 40", 1, CMYK(10, 20, 30, 40), CMYK(10, 20, 30, 40), 0, true},
        {"Spot CMYK 10 20 30 40 Border 5 Radius 2 IgnoreTAC", 1, CMYK(5, 15, 25, 35), CMYK(15, 25, 35, 45), 2, false},
        {"Spot CMYK 10 20 30 40 Radius 2 Radius 3", 1, CMYK(10, 20, 30, 40), CMYK(10, 20, 30, 40), 3, true},
        // On the lines of an 11-point grid a channel gets a thousandth of its range either side,
        // between them the enclosing grid lines.
        {"GridSize 11\nSpot CMYK 50 25 0 100 Border Auto", 1, CMYK(49.9, 20, -0.1, 99.9), CMYK(50.1, 30, 0.1, 100.1), 0, true},
        {"Spot CMYK 50 25 0 100 Border Auto", 1, CMYK(49.9, 20, -0.1, 99.9), CMYK(50.1, 30, 0.1, 100.1), 0, true},
        {"Range CMYK 0 0 0 90 CMYK 10 10 10 100 IgnoreTAC", 1, CMYK(0, 0, 0, 90), CMYK(10, 10, 10, 100), 0, false},
        {"Spot Unknown 1 2 3\r\nSpot GRAY 50", 1, TKVector({50}), TKVector({50}), 0, true},
        {"Spot CMYK 10 20 30", 0, {}, {}, 0, true},
        {"Spot CMYK 10 x 30 40", 0, {}, {}, 0, true},
        {"Spot CMYK 10 20 30 140", 0, {}, {}, 0, true},
        {"Spot CMYK 10 20 30 40 Border -5", 0, {}, {}, 0, true},
        {"Spot CMYK 10 20 30 40 Radius -1", 0, {}, {}, 0, true},
        {"Spot Lab 50 0 0", 0, {}, {}, 0, true},
        {"Range CMYK 20 0 0 0 CMYK 10 10 10 10", 0, {}, {}, 0, true},
        {"Range CMYK 0 0 0 0 RGB 10 10 10 10", 0, {}, {}, 0, true},
        {"spot CMYK 10 20 30 40\nWhatever 1 2", 0, {}, {}, 0, true},
    };
    for (const Case& c : cases) {
        TKColorException exception(TKCMYKSpace, TKCMYKSpace);
        exception.ParseSettings(c.text);
        ASSERT_EQ(exception.GetRules().size(), c.rules) << c.text;
        if (!c.rules) continue;
        const TKSpotRule& rule = exception.GetRules()[0];
        ExpectNear(rule.lo, c.lo, 1e-9, c.text);
        ExpectNear(rule.hi, c.hi, 1e-9, c.text);
        EXPECT_EQ(rule.radius, c.radius) << c.text;
        EXPECT_EQ(rule.useInkLimit, c.useInkLimit) << c.text;
    }
    struct TACCase { const char* text; double lo, hi; };
    for (const TACCase& c : {TACCase{"TAC Min 250 Max 300", 250, 300}, TACCase{"TAC Min 300 Max 250", -1, -1},
                             TACCase{"TAC Min -5 Max 250", -1, -1}, TACCase{"TAC 300", -1, -1}, TACCase{"TAC Min 1,5 Max 2", 1.5, 2}}) {
        TKColorException exception(TKCMYKSpace, TKCMYKSpace);
        exception.ParseSettings(c.text);
        EXPECT_EQ(exception.GetTACMin(), c.lo) << c.text;
        EXPECT_EQ(exception.GetTACMax(), c.hi) << c.text;
    }
}

TEST(ExceptionRules, WeightsFallOffAroundSpotsRangesAndInkSums) {
    TKColorException exception(TKCMYKSpace, TKCMYKSpace);
    exception.SetTolerance(0.05);  // borders of 5 %
    exception.ParseSettings("Spot CMYK 50 50 0 0 Radius 2\nTAC Min 350 Max 380");
    struct Case { TKVector s; double w; };
    for (const Case& c : {Case{CMYK(50, 50, 0, 0), 1}, Case{CMYK(51, 50, 0, 0), 1}, Case{CMYK(54.5, 50, 0, 0), 0.5},
                          Case{CMYK(58, 50, 0, 0), 0}, Case{CMYK(90, 90, 90, 90), 1}, Case{CMYK(90, 90, 90, 77.5), 0.5},
                          Case{CMYK(100, 100, 100, 82.5), 0.5}}) {
        bool useLimit = true;
        EXPECT_NEAR(exception.CalcRuleWeight(c.s, useLimit), c.w, 1e-9) << c.s.ToString();
    }
}

TEST(ColorException, ModeZeroReturnsTheDestinationBitForBit) {
    const TKColorException exception = MakeException(0);
    const TKVector d = CMYK(12.345678901234, 0.1, 99.99, 3);
    EXPECT_EQ(exception.ApplyExceptions(CMYK(0, 0, 0, 100), d), d);
    // The host markers and the paths that need another flag change nothing on their own.
    const TKColorException inert = MakeException(kTKAutoOn | kTKAutoOff | kTKNoLinearization | kTKPurify);
    EXPECT_EQ(inert.ApplyExceptions(CMYK(0, 0, 0, 100), d), d);
}

TEST(ColorException, BlackRulesTriggerExactlyAtTheirThresholds) {
    const TKVector d = CMYK(30, 20, 20, 80);
    // Overprint from above 99.6 on.
    const TKColorException overprint = MakeException(kTKBlackOverprint);
    EXPECT_EQ(overprint.ApplyExceptions(CMYK(0, 0, 0, 99.6), d)[3], 80);
    EXPECT_EQ(overprint.ApplyExceptions(CMYK(0, 0, 0, 99.61), d)[3], 100);
    // Preserve100Black has a zero width: 99.999 is not 100.
    const TKColorException keep100 = MakeException(kTKPreserve100Black);
    EXPECT_EQ(keep100.ApplyExceptions(CMYK(10, 0, 0, 99.999), d), d);
    ExpectNear(keep100.ApplyExceptions(CMYK(10, 0, 0, 100), d), CMYK(10, 0, 0, 100), 1e-9);
    // Both full-black flags: the all-channel black wins.
    const TKColorException both = MakeException(kTKFullBlack | kTKFullBlackToBlack);
    ExpectNear(both.ApplyExceptions(CMYK(100, 100, 100, 100), d), CMYK(100, 100, 100, 100), 0);
    const TKColorException toK = MakeException(kTKFullBlackToBlack);
    ExpectNear(toK.ApplyExceptions(CMYK(100, 100, 100, 100), d), CMYK(0, 0, 0, 100), 0);
}

// RGB black becomes the destination's full black (without side trafos K alone) only when a
// black flag asks.
TEST(ColorException, RGBBlackFollowsTheBlackFlags) {
    const TKVector rgbBlack({0, 0, 0}, int32_t(TKRGBSpace)), d = CMYK(30, 20, 20, 80);
    struct Case { uint32_t mode; TKVector expected; };
    for (const Case& c : {Case{kTKFullBlack, CMYK(0, 0, 0, 100)}, Case{kTKPureBlack, CMYK(0, 0, 0, 100)},
                          Case{kTKPureWhite, d}})
        ExpectNear(MakeException(c.mode, TKRGBSpace, TKCMYKSpace).ApplyExceptions(rgbBlack, d), c.expected, 1e-9,
                   TKExceptionModeName(c.mode));
}

TEST(ColorException, GrayCurveIsSkippedWhenGrayIsIgnored) {
    struct Case { uint32_t mode; double k; };
    // Gray 50 to CMYK: the curve makes 25, the linear ramp 50; with both flags the ramp wins.
    for (const Case& c : {Case{kTKLinearizeGray, 25}, Case{kTKIgnoreGray, 50}, Case{kTKPureGray, 50}}) {
        TKColorException exception = MakeException(c.mode, TKGraySpace, TKCMYKSpace);
        exception.SetSideTrafos(nullptr, nullptr, new SquareCurve, true);
        ExpectNear(exception.ApplyExceptions(TKVector({50}, int32_t(TKGraySpace)), CMYK(40, 30, 30, 20)), CMYK(0, 0, 0, c.k),
                   1e-9, TKExceptionModeName(c.mode));
    }
}

TEST(ColorException, CornerWeightsOfLightAreLowerThanOfInk) {
    // Near the cyan corner with MaxCMY the colour moves towards the base colour by w^2: from an
    // RGB source w is 0.6 times the fall-off, from a CMYK source the fall-off itself.
    const TKVector d = CMYK(50, 50, 50, 50);
    TKColorException fromInk = MakeException(kTKMaxCMY);
    const TKVector inkResult = fromInk.ApplyExceptions(CMYK(100, 0, 0, 0), d);
    EXPECT_NEAR(inkResult[1], 0.0, 1e-9);
    TKColorException fromLight = MakeException(kTKMaxCMY, TKRGBSpace, TKCMYKSpace);
    const TKVector lightResult = fromLight.ApplyExceptions(TKVector({0, 255, 255}, int32_t(TKRGBSpace)), d);
    // The base colour of RGB cyan is C 100; magenta moves 0.36 of the way to 0.
    EXPECT_GT(lightResult[1], 0.0);
    EXPECT_NEAR(lightResult[0], 50 + 0.36 * 50, 5.0);
}

TEST(ColorException, PurePathsOfACMYKSource) {
    struct Case {
        const char* what;
        uint32_t mode;
        TKVector s, d, expected;
    };
    const TKVector muddy = CMYK(20, 15, 15, 45);
    const Case cases[] = {
        {"black text", kTKPureBlack | kTKLinearizeGray, CMYK(0, 0, 0, 50), muddy, CMYK(0, 0, 0, 50)},
        {"solid black", kTKPureBlack, CMYK(0, 0, 0, 100), CMYK(70, 60, 60, 95), CMYK(0, 0, 0, 100)},
        {"cyan ramp", kTKPurePrimaries, CMYK(40, 0, 0, 0), CMYK(38, 2, 1, 0.5), CMYK(40, 0, 0, 0)},
        {"red", kTKPureSecondaries, CMYK(0, 70, 80, 0), CMYK(2, 68, 79, 1), CMYK(0, 70, 80, 0)},
        {"paper", kTKPureWhite, CMYK(0, 0, 0, 0), CMYK(1, 1, 2, 0), CMYK(0, 0, 0, 0)},
        {"no black added", kTKPreserveZeroBlack, CMYK(40, 30, 30, 0), CMYK(35, 25, 25, 20),
         CMYK(100 - 65 * 0.8, 100 - 75 * 0.8, 100 - 75 * 0.8, 0)},
        {"channels bounded by the source", kTKLimitPrimaries, CMYK(40, 0, 30, 10), CMYK(45, 5, 25, 12),
         CMYK(40, 0, 25, 10)},
        {"away from every rule", kTKPureBlack | kTKPurePrimaries, CMYK(40, 30, 20, 10), muddy, muddy},
    };
    for (const Case& c : cases) ExpectNear(MakeException(c.mode).ApplyExceptions(c.s, c.d), c.expected, 1e-9, c.what);
}

TEST(ColorException, FilterPathMergesCandidatesChannelByChannel) {
    const uint32_t six = GetDeviceType(6);
    TKColorException exception = MakeException(kTKFilterExceptions | kTKPurePrimaries, six, six);
    const TKVector s({50, 0, 0, 0, 0, 0}, int32_t(six)), d({48, 3, 2, 1, 2, 1}, int32_t(six));
    ExpectNear(exception.ApplyExceptions(s, d), TKVector({48, 0, 0, 0, 0, 0}), 1e-9);
    // A source of every ink stays as the transform made it.
    const TKVector mixed({50, 40, 30, 20, 10, 5}, int32_t(six));
    ExpectNear(exception.ApplyExceptions(mixed, d), d, 1e-9);
}

TEST(ColorException, SelectsTheColoursItChanges) {
    TKColorException exception = MakeException(kTKPureBlack | kTKPureWhite);
    TKMatrix colours(3, 4, int32_t(TKCMYKSpace));
    colours.SetRow(0, CMYK(0, 0, 0, 100));
    colours.SetRow(1, CMYK(30, 40, 50, 10));
    colours.SetRow(2, CMYK(0, 0, 0, 0));
    const TKMatrix affected = exception.SelectAffectedColors(colours, true);
    ASSERT_EQ(affected.GetHeight(), 2);
    EXPECT_EQ(affected.GetRow(0), CMYK(0, 0, 0, 100));
    EXPECT_EQ(affected.GetRow(1), CMYK(0, 0, 0, 0));
    ASSERT_EQ(exception.SelectAffectedColors(colours, false).GetHeight(), 1);
}

TEST(ColorException, RejectsColoursThatContradictTheirTypes) {
    const TKColorException exception = MakeException(kTKPureBlack);
    EXPECT_TKERROR(exception.ApplyExceptions(TKVector({0, 0, 100}, int32_t(TKCMYKSpace)), CMYK(1, 1, 1, 1)), DimMismatch);
}
