// Ink limiting: normalized totals, reduction with black kept, black limits, channel limits and
// the scaled cube, checked against hand-derived values and by sweeps over the ink cube.
#include <random>

#include "color/TKColors.h"
#include "separation/TKClipTrafos.h"
#include "separation/TKInkLimitTrafo.h"
#include "support/TestSupport.h"

namespace {

TKVector CMYK(double c, double m, double y, double k) { return TKVector({c, m, y, k}, int32_t(TKCMYKSpace)); }

void ExpectNear(const TKVector& v, const TKVector& expected, double tolerance) {
    ASSERT_EQ(v.GetDim(), expected.GetDim());
    for (int32_t i = 0; i < v.GetDim(); ++i) EXPECT_NEAR(v[i], expected[i], tolerance) << "channel " << i;
}

// Every CMYK colour of a 0, 10, ..., 100 grid, then seeded random ones.
std::vector<TKVector> CMYKSweep() {
    std::vector<TKVector> colours;
    for (int c = 0; c <= 100; c += 10)
        for (int m = 0; m <= 100; m += 10)
            for (int y = 0; y <= 100; y += 10)
                for (int k = 0; k <= 100; k += 10) colours.push_back(CMYK(c, m, y, k));
    std::mt19937 random(11);
    std::uniform_real_distribution<double> ink(0.0, 100.0);
    for (int i = 0; i < 5000; ++i) colours.push_back(CMYK(ink(random), ink(random), ink(random), ink(random)));
    return colours;
}

// The gray-balance shift that hue keeping gives back after a reduction.
TKVector HueShifted(TKVector v) {
    const double m = std::min({v[0], v[1], v[2]});
    const double e = m - m * m / 100;
    v[0] += e / 4;
    v[1] -= e / 8;
    v[2] -= e / 8;
    return v;
}

}  // namespace

TEST(InkLimit, NormalizesTheTotal) {
    struct Case { double given, expected; };
    for (const Case& c : {Case{0, 200}, Case{-5, 200}, Case{50, 100}, Case{100, 100}, Case{100.5, 100.5},
                          Case{300, 300}, Case{400, 400}}) {
        TKInkLimitTrafo limit(c.given);
        EXPECT_EQ(limit.GetTAC(), c.expected) << c.given;
        limit.SetTAC(c.given);
        EXPECT_EQ(limit.GetTAC(), c.expected) << c.given;
    }
}

TEST(InkLimit, ReducesColoursOverTheTotal) {
    struct Case {
        const char* what;
        double tac;
        uint32_t mode;
        TKVector in, expected;
    };
    const Case cases[] = {
        // Black is kept and CMY carry the whole reduction: 300 - 100 over 300 is two thirds.
        {"full ink, no hue keeping", 300, 0, CMYK(100, 100, 100, 100), CMYK(200.0 / 3, 200.0 / 3, 200.0 / 3, 100)},
        // With hue keeping the limited full black is the reference: two thirds shifted by
        // e = m - m^2/100 (cyan +e/4, magenta and yellow -e/8). Full ink moves onto it and is
        // shifted once more by the e of its new gray, 63.89.
        {"full ink, hue kept", 300, 1, CMYK(100, 100, 100, 100), HueShifted(HueShifted(CMYK(200.0 / 3, 200.0 / 3, 200.0 / 3, 100)))},
        {"at the total", 300, 1, CMYK(100, 100, 100, 0), CMYK(100, 100, 100, 0)},
        {"under the total", 300, 7, CMYK(90, 80, 70, 50), CMYK(90, 80, 70, 50)},
        {"three inks scale alike", 150, 0, TKVector({100, 100, 100}, int32_t(TKCMYSpace)),
         TKVector({50, 50, 50}, int32_t(TKCMYSpace))},
        // RGB black is CMY 100 each; half of it is RGB 127.5.
        {"RGB as CMY", 150, 0, TKVector({0, 0, 0}, int32_t(TKRGBSpace)), TKVector({127.5, 127.5, 127.5}, int32_t(TKRGBSpace))},
    };
    for (const Case& c : cases) {
        TKInkLimitTrafo limit(c.tac);
        limit.SetMode(c.mode);
        limit.SetColorType(uint32_t(c.in.GetType()));
        const TKVector out = limit.Trafo(c.in);
        SCOPED_TRACE(c.what);
        EXPECT_EQ(out.GetType(), c.in.GetType());
        ExpectNear(out, c.expected, 1e-9);
    }
}

TEST(InkLimit, LimitsBlackOnlyInDarkColours) {
    TKInkLimitTrafo limit(400.0);
    limit.SetBlackLimits(TKVector({100, 100, 100, 90}));
    limit.SetColorType(TKCMYKSpace);
    EXPECT_TRUE(limit.IsActive());
    struct Case { TKVector in; double k; };
    // With the full black's CMY at 100 the fall-off starts at t = min(20, 75) = 20: gray 80 gets
    // 100 - (60/80) * 10; pure black and light grays keep their black.
    for (const Case& c : {Case{CMYK(0, 0, 0, 100), 100}, Case{CMYK(10, 15, 20, 100), 100},
                          Case{CMYK(80, 80, 80, 100), 92.5}, Case{CMYK(100, 100, 100, 100), 90},
                          Case{CMYK(100, 100, 100, 85), 85}})
        EXPECT_NEAR(limit.Trafo(c.in)[3], c.k, 1e-9) << c.in.ToString();
}

TEST(InkLimit, LimitsChannelsAndExtendsLimitsToMoreInks) {
    TKInkLimitTrafo limit(400.0, TKVector({90, 100, 80, 100}));
    EXPECT_TRUE(limit.IsActive());
    ExpectNear(limit.Trafo(CMYK(95, 95, 95, 95)), CMYK(90, 95, 80, 95), 0);
    const uint32_t sixInks = GetDeviceType(6);
    limit.SetColorType(sixInks);
    ExpectNear(limit.GetChannelLimits(), TKVector({90, 100, 80, 100, 100, 100}), 0);
    EXPECT_EQ(uint32_t(limit.GetChannelLimits().GetType()), sixInks);
    // An RGB limit is kept as its complement.
    limit.SetChannelLimits(TKVector({255, 127.5, 0}, int32_t(TKRGBSpace)));
    limit.SetColorType(TKCMYSpace);
    ExpectNear(limit.GetChannelLimits(), TKVector({0, 50, 100}), 1e-12);
}

TEST(InkLimit, KeepsEveryColourOfTheCubeWithinTheTotal) {
    const std::vector<TKVector> sweep = CMYKSweep();
    TKInkLimitTrafo reduced(300.0);
    TKScaledInkLimitTrafo scaled(300.0);
    for (TKInkLimitTrafo* limit : {static_cast<TKInkLimitTrafo*>(&reduced), static_cast<TKInkLimitTrafo*>(&scaled)}) {
        SCOPED_TRACE(limit->ClassName());
        double largest = 0;
        for (const TKVector& in : sweep) {
            const TKVector out = limit->Trafo(in);
            largest = std::max(largest, out.Sum());
            for (int32_t i = 0; i < 4; ++i) ASSERT_GE(out[i], 0.0) << in.ToString();
            // The reduction leaves colours within the total exactly as they are.
            if (limit == &reduced && in.Sum() <= 300.0) {
                ASSERT_EQ(out, in) << in.ToString();
            }
        }
        EXPECT_LE(largest, 300.0 + 1e-9);
        EXPECT_GT(largest, 299.0);
    }
}

TEST(InkLimit, ScaledCubeIsMadeOfLimitedCorners) {
    TKScaledInkLimitTrafo limit(260.0);
    const TKMatrix& corners = limit.GetCornerTable();
    ASSERT_EQ(corners.GetHeight(), 16);
    // Corner 0b1010 is cyan and yellow at full; it is within the total and stays as it is.
    ExpectNear(corners.GetRow(10), CMYK(100, 0, 100, 0), 0);
    ExpectNear(limit.Trafo(CMYK(100, 0, 100, 0)), CMYK(100, 0, 100, 0), 1e-12);
    ExpectNear(limit.Trafo(CMYK(0, 0, 0, 0)), CMYK(0, 0, 0, 0), 0);
    // The full-ink colour lands on the limited full-ink corner, black kept.
    const TKVector full = limit.Trafo(CMYK(100, 100, 100, 100));
    ExpectNear(full, corners.GetRow(15), 1e-9);
    EXPECT_NEAR(full.Sum(), 260.0, 1e-9);
    EXPECT_NEAR(full[3], 100.0, 1e-9);
    // Neighbouring colours stay neighbours along the diagonal: the pull towards the full-ink
    // corner steepens black near it, but no step exceeds one and a half input steps.
    TKVector previous = limit.Trafo(CMYK(0, 0, 0, 0));
    for (int i = 1; i <= 100; ++i) {
        const TKVector next = limit.Trafo(CMYK(i, i, i, i));
        EXPECT_LT(next.MaxDistance(previous), 1.5) << i;
        previous = next;
    }
    EXPECT_TKERROR(limit.SetColorType(GetDeviceType(17)), DimMismatch);
}

TEST(InkLimit, RejectsColoursThatAreNoInks) {
    TKInkLimitTrafo limit(300.0);
    EXPECT_TKERROR(limit.SetColorType(TKLabSpace), WrongDataType);
    EXPECT_TKERROR(limit.Trafo(TKVector({50, 0, 0}, int32_t(TKLabSpace))), WrongDataType);
    // Prepared for CMYK, a CMY colour is the wrong type too.
    EXPECT_TKERROR(limit.Trafo(TKVector({100, 100, 100}, int32_t(TKCMYSpace))), WrongDataType);
    EXPECT_EQ(limit.GetColorType(), uint32_t(TKCMYKSpace));
}

TEST(ClipTrafos, ClipToTheRangeAndToTheReferenceBlack) {
    TKClipColorTrafo clip;
    ExpectNear(clip.Trafo(CMYK(-3, 50, 120, 100)), CMYK(0, 50, 100, 100), 0);
    ExpectNear(clip.Trafo(TKVector({-1, 300, 12}, int32_t(TKRGBSpace))), TKVector({0, 255, 12}), 0);
    TKClipBlackTrafo black;
    ExpectNear(black.Trafo(CMYK(10, 20, 30, 80)), CMYK(10, 20, 30, 80), 0);
    black.SetRefVector(CMYK(0, 0, 0, 60));
    ExpectNear(black.Trafo(CMYK(10, 20, 30, 80)), CMYK(10, 20, 30, 60), 0);
    ExpectNear(black.Trafo(CMYK(10, 20, 30, 40)), CMYK(10, 20, 30, 40), 0);
}
