// Separations of Lab through a colorant table taken from FOGRA39: the paper and the solids come
// back as themselves, the tone curves give the ink that prints a share of a solid (from a
// chart's single-ink wedges or from the colorant grid), and the colour error of each method on
// targets printed from random inks is recorded (the methods are first guesses for a search, not
// inverses of their own).
#include <cmath>
#include <cstdio>
#include <random>

#include "charts/TKColorChart.h"
#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "separation/TKCIESeparation.h"
#include "separation/TKParametricInvColorTrafo.h"
#include "support/TestSupport.h"

namespace {

TKVector Cmyk(double c, double m, double y, double k) { return TKVector({c, m, y, k}, int32_t(TKCMYKSpace)); }

TKRefPtr<TKTrafo> Fogra39A2B() {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath("icc/FOGRA39L-cmyk-v2.icc").c_str())), 2);
    return TKICCTrafoBuilder(profile.Get()).GetA2BTrafo(1);
}

TKVector Lab(const TKTrafo& a2b, const TKVector& ink) { return ConvertColor(TKLabSpace, a2b.Trafo(ink)); }

class CIESeparationTest : public TKNoErrorTest {};

TEST_F(CIESeparationTest, TableEntriesAndColourError) {
    auto a2b = Fogra39A2B();
    // Tolerances in ink percent on the table's own entries, and the mean colour error (dE76) on
    // 300 random targets, measured here: interpolation of the 5^4 grid 3.8, hue angles 18.2,
    // frames 12.4 (22 and 16 before their shares went through the grid's tone curves; the rest
    // is inks adding up in "Lcs " where they mix subtractively on paper).
    struct Case {
        int32_t method;
        double entryTolerance, meanError;
    } cases[] = {{1, 1e-6, 5.0}, {2, 60.0, 30.0}, {3, 60.0, 20.0}};
    for (const Case& c : cases) {
        TKCIESeparation shell(c.method, TKCMYKSpace);
        shell.Get()->Init(*a2b);
        EXPECT_EQ(shell.Get()->GetColorantCount(), 5 * 5 * 5 * 5);
        EXPECT_LT(shell.Trafo(Lab(*a2b, Cmyk(0, 0, 0, 0))).MaxAbs(), 1.0) << c.method;  // paper takes no ink
        EXPECT_LT(shell.Trafo(Lab(*a2b, Cmyk(100, 0, 0, 0))).MaxDistance(Cmyk(100, 0, 0, 0)), c.entryTolerance);
        std::mt19937 random(5);
        std::uniform_real_distribution<double> ink(0.0, 100.0);
        double sum = 0.0;
        for (int i = 0; i < 300; ++i) {
            const TKVector target = Lab(*a2b, Cmyk(ink(random), ink(random), ink(random), 0.3 * ink(random)));
            sum += target.Distance(Lab(*a2b, shell.Trafo(target)));
        }
        std::printf("CIE separation %d: mean dE76 %.2f on random targets\n", c.method, sum / 300);
        EXPECT_LT(sum / 300, c.meanError) << c.method;
    }
}

// Six inks (CMYK plus orange and green, a synthetic model): extra inks stay out of colours
// without their chroma.
TEST_F(CIESeparationTest, ExtraInksFollowTheirChroma) {
    const uint32_t six = GetDeviceType(6);
    TKCIESeparation1 separation(six);
    EXPECT_EQ(separation.GetBlackIndex(), 3);
    const double hues[6][2] = {{-37, -50}, {74, -5}, {-5, 93}, {0, 0}, {60, 70}, {-70, 30}};
    separation.AddColorant(TKVector(6, int32_t(six)), TKVector({95.0, 0.0, -2.0}));
    for (int32_t c = 0; c < 6; ++c) {
        TKVector ink(6, int32_t(six));
        ink[c] = 100.0;
        const double l = c == 3 ? 15.0 : 60.0;
        separation.AddColorant(ink, TKVector({l, hues[c][0], hues[c][1]}));
    }
    const TKVector neutral = separation.Trafo(TKVector({50.0, 0.0, 0.0}));
    EXPECT_LT(std::max(neutral[4], neutral[5]), 1.0);
    const TKVector orange = separation.Trafo(TKVector({60.0, 60.0, 70.0}));
    EXPECT_NEAR(orange[4], 100.0, 1e-6);
}

// The search starts from the interpolated separation and moves CMY only, so it keeps the
// separation's black: it never ends worse than its start and meets most targets printed from
// random inks (19 of 30 here; the rest need another black than the table's guess).
TEST_F(CIESeparationTest, StartsTheSearch) {
    auto a2b = Fogra39A2B();
    TKRefPtr<TKCIESeparation> separation(new TKCIESeparation(1, TKCMYKSpace), true);
    separation->Get()->Init(*a2b);
    TKInvColorTrafoCIESeparation inverse(nullptr, a2b.Get(), separation.Get(), false);
    std::mt19937 random(9);
    std::uniform_real_distribution<double> ink(0.0, 100.0);
    int met = 0;
    for (int i = 0; i < 30; ++i) {
        const TKVector target = Lab(*a2b, Cmyk(ink(random), ink(random), ink(random), 0.3 * ink(random)));
        inverse.SetStartVector(TKVector());
        const TKVector found = inverse.Trafo(target);
        const double error = target.Distance(Lab(*a2b, found));
        EXPECT_LE(error, target.Distance(Lab(*a2b, separation->Trafo(target))) + 1e-9);
        EXPECT_EQ(found[3], inverse.GetStart()[3]);
        met += error <= 0.5 ? 1 : 0;
    }
    EXPECT_GE(met, 15);
}

// Six inks: CMYK plus orange and green, each ink darkening and tinting the paper.
class SixInkModel : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 6; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override { return int32_t(GetDeviceType(6)); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKLabSpace); }
    TKVector Trafo(const TKVector& x) const override {
        static const double ink[6][3] = {{0.35, -35, -50}, {0.45, 75, -5}, {0.1, -5, 90}, {0.85, 0, 0},
                                         {0.3, 55, 65}, {0.4, -70, 30}};
        double l = 100.0, a = 0.0, b = 0.0;
        for (int32_t i = 0; i < 6; ++i) {
            const double share = x[i] / 100.0;
            l *= 1.0 - ink[i][0] * share;
            a += ink[i][1] * share * (1.0 - 0.3 * a / 100.0);
            b += ink[i][2] * share * (1.0 - 0.3 * b / 100.0);
        }
        return TKVector({l, a, b}, int32_t(TKLabSpace));
    }
};

// For more than four inks the inverse makes its own CIE separation, and a start that asks for
// much of an extra ink the colour does not need is held near the separated amount.
TEST_F(CIESeparationTest, ManyInkInversesSeparateTheirStart) {
    TKInvColorTrafoOptimizeCMY inverse(nullptr, new SixInkModel(), true);
    EXPECT_FALSE(inverse.GetCIESeparation());
    const TKVector target({60.0, 0.0, 0.0}, int32_t(TKLabSpace));
    TKVector start(6, int32_t(GetDeviceType(6)), 100.0);
    inverse.SetStartVector(start);
    const TKVector found = inverse.Trafo(target);
    ASSERT_TRUE(inverse.GetCIESeparation());
    const TKVector separated = inverse.GetCIESeparation()->Trafo(target);
    for (int32_t c = 4; c < 6; ++c) {
        const double v = separated[c];
        EXPECT_NEAR(found[c], std::min(100.0, 1.3 * v + 20.0 - 0.005 * v * v), 1e-9) << c;
    }
}

TEST(CIESeparationErrorTest, BadInput) {
    EXPECT_TKERROR(TKInvColorTrafoCIESeparation(nullptr, Fogra39A2B().Get(), nullptr, false), PtrInvalid);
    EXPECT_TKERROR(TKCIESeparation(4, TKCMYKSpace), ArgErr);
    EXPECT_TKERROR(TKCIESeparation(1, TKLabSpace), WrongDataType);
    TKCIESeparation2 empty(TKCMYKSpace);
    EXPECT_TKERROR(empty.Trafo(TKVector({50.0, 0.0, 0.0})), PtrInvalid);
    EXPECT_TKERROR(empty.AddColorant(TKVector({1.0, 2.0}), TKVector({50.0, 0.0, 0.0})), DimMismatch);
    EXPECT_TKERROR(empty.SetBlackIndex(7), IndexError);
    empty.Clear();
    EXPECT_EQ(empty.GetBlackIndex(), 3);
}

// Tone curves of the CIE separations.
constexpr uint32_t kLcs = TKColorSig("Lcs ");

// A CMY process whose inks print the share v^0.6 of their solid's way from the paper (strong
// dot gain), measured in the separation's own frame "Lcs ".
TKVector Print(const TKVector& ink) {
    const TKVector paper = ConvertColor(kLcs, TKVector({95.0, 0.0, -2.0}, int32_t(TKLabSpace)));
    const TKVector solids[3] = {ConvertColor(kLcs, TKVector({55.0, -37.0, -50.0}, int32_t(TKLabSpace))),
                                ConvertColor(kLcs, TKVector({48.0, 75.0, -4.0}, int32_t(TKLabSpace))),
                                ConvertColor(kLcs, TKVector({89.0, -5.0, 93.0}, int32_t(TKLabSpace)))};
    TKVector lcs = paper;
    for (int32_t c = 0; c < 3; ++c)
        for (int32_t i = 0; i < 3; ++i) lcs[i] += (solids[c][i] - paper[i]) * std::pow(ink[c] / 100.0, 0.6);
    return ConvertColor(TKLabSpace, lcs);
}

TEST(CIESeparationTone, ChartWedgesGiveTheInkOfAShare) {
    TKMatrix device(31, 3, int32_t(TKCMYSpace)), lab(31, 3, int32_t(TKLabSpace));
    for (int32_t c = 0, row = 1; c < 3; ++c)
        for (int32_t step = 1; step <= 10; ++step, ++row) device(row, c) = 10.0 * step;
    for (int32_t row = 0; row < 31; ++row) lab.SetRow(row, Print(device.GetRow(row)));
    TKCIESeparation2 separation(TKCMYSpace);
    EXPECT_DOUBLE_EQ(separation.InkForShare(1, 0.5), 50.0);  // straight before any chart
    separation.SetLinearization(TKColorChart(device, lab));
    // The exact ink of share s is 100 s^(1/0.6); between steps 10 % apart the straight pieces
    // stay within 2 % ink (the largest miss lies in the first step, 3.98 for 2.15 at s = 0.1).
    for (int32_t c = 0; c < 3; ++c)
        for (double share : {0.1, 0.3, 0.5, 0.8, 1.0})
            EXPECT_NEAR(separation.InkForShare(c, share), 100.0 * std::pow(share, 1 / 0.6), 2.0) << c << " " << share;

    TKMatrix rgb(31, 3, int32_t(TKRGBSpace));
    EXPECT_TKERROR(separation.SetLinearization(TKColorChart(rgb, lab)), WrongDataType);
    EXPECT_TKERROR(separation.InkForShare(3, 0.5), IndexError);
}

// FOGRA39's grid (5 steps per ink): with the curves, a single ink printed between the grid's
// steps comes back as about its own amount from the frame separation.
TEST(CIESeparationTone, InitTakesCurvesFromTheGrid) {
    const TKRefPtr<TKTrafo> a2b = Fogra39A2B();
    TKCIESeparation3 separation(TKCMYKSpace);
    separation.Init(*a2b);
    for (int32_t c = 0; c < 4; ++c) {
        EXPECT_NEAR(separation.InkForShare(c, 1.0), 100.0, 1e-9);
        for (double amount : {12.0, 37.0, 50.0, 81.0}) {
            TKVector ink(4, int32_t(TKCMYKSpace));
            ink[c] = amount;
            EXPECT_NEAR(separation.Trafo(ConvertColor(TKLabSpace, a2b->Trafo(ink)))[c], amount, 4.0) << c << " " << amount;
        }
    }
}

}  // namespace
