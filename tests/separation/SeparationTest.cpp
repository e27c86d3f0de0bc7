// Separations: the round trip CMY -> CMYK -> CMY of every named separation on a 17^3 grid and on
// random colours, the black curves' fixed points, the polynomial solver under them, and the
// factory's failures.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "color/TKColors.h"
#include "numeric/TKPolynomial.h"
#include "separation/TKGCRSeparation.h"
#include "support/TestSupport.h"

namespace {

TKVector Cmy(double c, double m, double y) { return TKVector({c, m, y}, int32_t(TKCMYSpace)); }
TKVector Cmyk(double c, double m, double y, double k) { return TKVector({c, m, y, k}, int32_t(TKCMYKSpace)); }

TKRefPtr<TKColorSeparationBase> Make(const char* name, double p1 = 0.0, double p2 = 100.0,
                                     const TKVector& limits = TKVector(), double tac = 400.0) {
    return TKNewSeparation(name, limits, p1, p2, tac);
}

// Round-trip errors, of all colours and of those whose black is at least the least black that
// keeps the separated inks in range (below it an ink is clipped at 100 and the colour is lost).
struct RoundTrip {
    double mean = 0.0, max = 0.0, inRangeMax = 0.0;
    int count = 0, clipped = 0;
    void Add(const TKColorSeparationBase& separation, const TKVector& cmy) {
        const TKVector cmyk = separation.CMY2CMYK(cmy);
        const double error = separation.CMYK2CMY(cmyk).MaxDistance(cmy);
        mean += error / 1000.0;  // scaled back by Mean()
        max = std::max(max, error);
        ++count;
        if (cmyk[3] + 1e-9 >= separation.CalcMaxBlack(cmy))
            inRangeMax = std::max(inRangeMax, error);
        else
            ++clipped;
    }
    double Mean() const { return mean * 1000.0 / count; }
};

// Over a 17^3 grid and 5000 random colours.
void Measure(const TKColorSeparationBase& separation, RoundTrip& grid, RoundTrip& random) {
    for (int c = 0; c < 17; ++c)
        for (int m = 0; m < 17; ++m)
            for (int y = 0; y < 17; ++y) grid.Add(separation, Cmy(c * 6.25, m * 6.25, y * 6.25));
    std::mt19937 generator(17);
    std::uniform_real_distribution<double> ink(0.0, 100.0);
    for (int i = 0; i < 5000; ++i) random.Add(separation, Cmy(ink(generator), ink(generator), ink(generator)));
}

class SeparationTest : public TKNoErrorTest {};

// Every name of the table and the factory's extra names round-trip without limits wherever their
// black keeps the inks in range: the model takes it back out exactly (1e-6 percent, rounding of
// the cubic). The table of errors is printed for the record.
TEST_F(SeparationTest, EveryNameRoundTrips) {
    std::vector<std::string> names;
    for (int32_t i = 0; i < kTKSeparationNameCount; ++i) names.push_back(TKSeparationName(i));
    for (const char* extra : {"Auto", "PreferK", "InkLimit", "Balance", "2.5", "-1.2"}) names.push_back(extra);
    std::printf("%-13s %10s %10s %10s %8s | %10s %10s %10s %8s\n", "separation", "grid mean", "grid max",
                "in range", "clipped", "rand mean", "rand max", "in range", "clipped");
    for (const std::string& name : names) {
        auto separation = Make(name.c_str(), name == "Balance" ? 40.0 : name == "PreferK" ? 30.0 : 0.0);
        ASSERT_TRUE(separation) << name;
        RoundTrip grid, random;
        Measure(*separation, grid, random);
        std::printf("%-13s %10.3g %10.3g %10.3g %8d | %10.3g %10.3g %10.3g %8d\n", name.c_str(), grid.Mean(), grid.max,
                    grid.inRangeMax, grid.clipped, random.Mean(), random.max, random.inRangeMax, random.clipped);
        EXPECT_LT(grid.inRangeMax, 1e-6) << name;
        EXPECT_LT(random.inRangeMax, 1e-6) << name;
        EXPECT_EQ(separation->CMY2CMYK(Cmy(0, 0, 0))[3], 0.0) << name;  // white takes no black
    }
}

}  // namespace

namespace {

// The fixed points of the black curves.
TEST_F(SeparationTest, BlackCurveFixedPoints) {
    const TKVector four({100, 100, 100, 100});
    // Start at 100 gives no black at all.
    EXPECT_EQ(Make("GCR", 100.0)->CalcBlack(Cmy(90, 90, 90)), 0.0);
    // "MinK" starts at 80 less a fifth of the black limit; with three limits at 80.
    struct MinKCase {
        TKVector limits;
        double start;
    } minK[] = {{four, 60.0}, {TKVector({100, 100, 100, 50}), 70.0}, {TKVector({100, 100, 100}), 80.0}, {TKVector(), 80.0}};
    for (const MinKCase& c : minK) {
        auto separation = Make("MinK", 0.0, 0.0, c.limits);
        EXPECT_DOUBLE_EQ(static_cast<TKGCRSeparation*>(separation.Get())->GetStart(), c.start);
    }
    // Much black reaches the black limit at full gray.
    for (double limit : {100.0, 90.0, 75.0})
        EXPECT_NEAR(Make("MuchK", 0.0, 100.0, TKVector({100, 100, 100, limit}))->CalcBlack(Cmy(100, 100, 100)), limit,
                    1e-9);
    // Strength 100 leaves the colourful black alone; strength 0 scales it by 1 - 2w^2.
    const TKVector colourful = Cmy(50, 30, 40);
    auto full = Make("GCR", 0.0, 100.0), weak = Make("GCR", 0.0, 0.0);
    ASSERT_LT(full->CalcBlack(colourful), full->CalcFullBlack(colourful));  // not capped by all gray
    const double w = 0.5 - 0.3;
    EXPECT_NEAR(weak->CalcBlack(colourful), full->CalcBlack(colourful) * (1.0 - 2.0 * w * w), 1e-9);
    // The base model with all gray in black round-trips.
    TKColorSeparationBase base;
    for (const TKVector& cmy : {Cmy(10, 20, 30), Cmy(50, 50, 50), Cmy(80, 5, 95)})
        EXPECT_LT(base.CMYKOfBlack(base.SeparateWithBlack(cmy, base.CalcFullBlack(cmy))).MaxDistance(cmy), 1e-9);
    // The least black that keeps the inks in range: with it the colour round-trips, with one
    // percent less an ink is clipped and the colour is lost.
    for (const TKColorSeparationBase* s : {static_cast<const TKColorSeparationBase*>(full.Get()), static_cast<const TKColorSeparationBase*>(&base)})
        for (const TKVector& cmy : {Cmy(50, 98, 99.5), Cmy(30, 90, 99)}) {
            const double k = s->CalcMaxBlack(cmy);
            ASSERT_LT(k, s->CalcFullBlack(cmy) - 1.0) << cmy.ToText();  // not the trivial bound
            EXPECT_LT(s->CMYKOfBlack(s->SeparateWithBlack(cmy, k)).MaxDistance(cmy), 1e-6) << cmy.ToText();
            EXPECT_GT(s->CMYKOfBlack(s->SeparateWithBlack(cmy, k - 1.0)).MaxDistance(cmy), 1e-3) << cmy.ToText();
        }
    // The preferred black lies between the least and the most the colour allows.
    auto prefer = Make("PreferK", 50.0);
    EXPECT_NEAR(prefer->CalcBlack(Cmy(80, 80, 80)), 50.0, 1e-9);
    EXPECT_NEAR(prefer->CalcBlack(Cmy(20, 30, 40)), prefer->CalcFullBlack(Cmy(20, 30, 40)), 1e-9);
}

// The trafo direction follows the colour: three channels separate, four combine.
TEST_F(SeparationTest, TrafoAndConversions) {
    auto separation = Make("GCR", 10.0, 80.0);
    const TKVector cmy = Cmy(40, 50, 60);
    const TKVector cmyk = separation->Trafo(cmy);
    EXPECT_EQ(uint32_t(cmyk.GetType()), uint32_t(TKCMYKSpace));
    EXPECT_LT(separation->Trafo(cmyk).MaxDistance(cmy), 1e-9);
    EXPECT_LT(separation->ConvertTo(cmyk, TKCMYSpace).MaxDistance(cmy), 1e-9);
    // Without a type the channel count decides: four channels combine like CMYK.
    EXPECT_LT(separation->Trafo(TKVector({cmyk[0], cmyk[1], cmyk[2], cmyk[3]})).MaxDistance(cmy), 1e-9);
}

// With a total below the sum of the darkest colour, the ink limit trafo caps every result.
TEST_F(SeparationTest, InkLimitsCapTheResult) {
    auto separation = Make("GCR", 0.0, 100.0, TKVector({100, 100, 100, 95}), 300.0);
    double total = 0.0;
    EXPECT_EQ(separation->GetFullInk(total)[3], 95.0);
    EXPECT_EQ(total, 300.0);
    for (const TKVector& cmy : {Cmy(100, 100, 100), Cmy(100, 90, 95), Cmy(70, 100, 100)}) {
        const TKVector cmyk = separation->CMY2CMYK(cmy);
        EXPECT_LE(cmyk.Sum(), 300.0 + 1e-9) << cmy.ToText();
        EXPECT_LE(cmyk[3], 95.0 + 1e-9);
    }
}

TEST(PolynomialTest, RootsOfKnownPolynomials) {
    struct Case {
        double a, b, c, d;
        std::vector<double> roots;
    } cases[] = {
        {1, -6, 11, -6, {1, 2, 3}},       // (x-1)(x-2)(x-3)
        {2, 0, 0, -16, {2}},              // one real root
        {1, -3, 3, -1, {1}},              // triple root
        {1, 0, -1, 0, {-1, 0, 1}},        // a root at 0
        {0, 1, -3, 2, {1, 2}},            // a quadratic
        {0, 0, 2, -1, {0.5}},             // a line
        {0, 1, 0, 1, {}},                 // no real root
        {1e-3, -6e-3, 11e-3, -6e-3, {1, 2, 3}},
    };
    for (const Case& c : cases) {
        double roots[3];
        const int32_t count = TKSolveCubic(c.a, c.b, c.c, c.d, roots);
        ASSERT_EQ(count, int32_t(c.roots.size())) << c.a << " " << c.b << " " << c.c << " " << c.d;
        for (int32_t i = 0; i < count; ++i) EXPECT_NEAR(roots[i], c.roots[size_t(i)], 1e-7);
    }
    double two[2];
    EXPECT_EQ(TKSolveQuadratic(1, 0, 1, two), 0);
    EXPECT_EQ(TKSolveQuadratic(0, 0, 0, two), 0);
}

TEST(SeparationErrorTest, NamesAndParameters) {
    EXPECT_FALSE(Make(""));
    EXPECT_FALSE(Make("None"));
    EXPECT_FALSE(TKSeparationName(-1));
    EXPECT_FALSE(TKSeparationName(kTKSeparationNameCount));
    EXPECT_STREQ(TKSeparationName(3), "GCRMax");
    for (const char* bad : {"0", "Nonsense", "0.0", "1.5x", "nan", "inf"}) EXPECT_TKERROR(Make(bad), ArgErr);
    struct Case {
        const char* name;
        double p1, p2;
        TKVector limits;
    } cases[] = {{"GCR", -1, 100, TKVector()},   {"GCR", 10, 101, TKVector()},
                 {"LinK", 120, 50, TKVector()},  {"PreferK", -5, 0, TKVector()},
                 {"Balance", 150, 0, TKVector()}, {"MinK", 0, 0, TKVector({100, 100, 100, 130})},
                 {"RGB", 0, 0, TKVector({-1, 100, 100})}, {"MaxK", NAN, 100, TKVector()}};
    for (const Case& c : cases) EXPECT_TKERROR(Make(c.name, c.p1, c.p2, c.limits), ArgErr);
    TKColorSeparationBase base;
    EXPECT_TKERROR(base.SetFactor(1.0), ArgErr);
    EXPECT_TKERROR(base.Trafo(TKVector({1.0, 2.0})), DimMismatch);
    EXPECT_TKERROR(TKCustomSeparation(nullptr, true), PtrInvalid);
}

}  // namespace
