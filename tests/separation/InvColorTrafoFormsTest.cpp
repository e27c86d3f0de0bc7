// The parametric inverses on a real CMYK profile (FOGRA39, relative tables): every form reaches
// targets made within its own parameters, black is kept where a form keeps it, follows the
// separation where it should, and the failures of missing separations and bad modes.
#include <cmath>
#include <random>
#include <string>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "io/TKGlobalData.h"
#include "separation/TKGCRSeparation.h"
#include "separation/TKInvColorTrafoBuilder.h"
#include "separation/TKInvColorTrafoEx.h"
#include "separation/TKReseparationTrafo.h"
#include "support/TestSupport.h"

namespace {

constexpr uint32_t kLab = TKColorSig("Lab ");

TKVector Cmyk(double c, double m, double y, double k) { return TKVector({c, m, y, k}, int32_t(TKCMYKSpace)); }

// The relative tables of FOGRA39.
struct Fogra39 {
    Fogra39() : fProfile(TKMakeRef<TKICCProfile>()) {
        fProfile->ReadFile(TKFileSpec(TKString(TestDataPath("icc/FOGRA39L-cmyk-v2.icc").c_str())), 2);
        TKICCTrafoBuilder builder(fProfile.Get());
        fA2B = builder.GetA2BTrafo(1);
        fB2A = builder.GetB2ATrafo(1);
    }
    TKVector Lab(const TKVector& cmyk) const { return ConvertColor(kLab, fA2B->Trafo(cmyk)); }

    TKRefPtr<TKICCProfile> fProfile;
    TKRefPtr<TKTrafo> fA2B, fB2A;
};

class InvColorTrafoFormsTest : public TKNoErrorTest, protected Fogra39 {
protected:
    void TearDown() override {
        TKGlobalData::SetInt(TKInvColorTrafoBuilder::kLogLevelKey, 0);
        TKNoErrorTest::TearDown();
    }
};

// Every form of the self-test reaches 50 targets made from its own parameters within 0.5 dE76
// (the error limit is 0.1), logging its line when asked to. The forms whose black comes from a
// separation search through its clipped ink model, which has flat regions where the pattern
// search stalls: about a fifth of their targets are missed by up to a few dE.
TEST_F(InvColorTrafoFormsTest, SelfTestOfEveryForm) {
    TKGlobalData::SetInt(TKInvColorTrafoBuilder::kLogLevelKey, 1);
    TKInvColorTrafoBuilder builder(fA2B.Get(), nullptr, nullptr);
    const auto results = builder.SelfTest(50, 0.5);
    ASSERT_EQ(results.size(), size_t(TKInvColorTrafoBuilder::kTestedKinds));
    for (const auto& result : results) {
        std::printf("%-36s errCount=%d deltaMean=%.4f deltaMax=%.4f\n", result.name, result.errCount,
                    result.deltaSum / result.count, result.deltaMax);
        EXPECT_EQ(result.count, 50);
        const bool viaSeparation = std::string(result.name) == "TKInvColorTrafoBlackAmount" ||
                                   std::string(result.name) == "TKInvColorTrafoPreferBlack";
        EXPECT_LE(result.errCount, viaSeparation ? 12 : 1) << result.name;
        EXPECT_LT(result.deltaSum / result.count, viaSeparation ? 0.7 : 0.15) << result.name;
    }
}

// Black kept: from a frame, the CMY-only form gives back the frame's black exactly (well within
// 0.1 %) and the colour within the error limit, for targets printable with that black.
TEST_F(InvColorTrafoFormsTest, KeepsBlackWithinTheErrorLimit) {
    TKRefPtr<TKInvColorTrafoOptimizeCMY> inverse(new TKInvColorTrafoOptimizeCMY(nullptr, fA2B.Get(), false), true);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> ink(0.0, 90.0);
    int met = 0;
    for (int i = 0; i < 40; ++i) {
        const TKVector source = Cmyk(ink(random), ink(random), ink(random), ink(random));
        TKVector frame = source;
        for (int32_t c = 0; c < 3; ++c) frame[c] = std::min(100.0, frame[c] + 10.0);  // another CMY, the same black
        inverse->SetStartVector(frame);
        const TKVector found = inverse->Trafo(Lab(source));
        EXPECT_NEAR(found[3], source[3], 0.001 * 100.0);
        met += inverse->GetError() <= inverse->GetErrLimit() ? 1 : 0;
    }
    EXPECT_GE(met, 38);
}

// Black follows the separation: through "GCRMax" a dark neutral gets more black than through
// "UCR", and both print the same colour.
TEST_F(InvColorTrafoFormsTest, BlackFollowsTheSeparation) {
    const TKVector target = Lab(Cmyk(60, 50, 50, 20));
    double black[2];
    const char* names[2] = {"UCR", "GCRMax"};
    for (int i = 0; i < 2; ++i) {
        auto separation = TKNewSeparation(names[i], TKVector(), 0.0, 100.0, 400.0);
        TKRefPtr<TKInvColorTrafoSeparation> inverse(
            new TKInvColorTrafoSeparation(fB2A.Get(), fA2B.Get(), separation.Get(), false), true);
        const TKVector found = inverse->Trafo(target);
        EXPECT_LE(inverse->GetError(), 0.5) << names[i];
        black[i] = found[3];
    }
    EXPECT_GT(black[1], black[0] + 10.0);
}

// The kept share of black, by the two modes, on known parameters.
TEST_F(InvColorTrafoFormsTest, KeepSeparationShares) {
    struct Case {
        int32_t mode;
        double ratio;
        TKVector p, expected;
    } cases[] = {
        {0, 0.5, TKVector({40, 50, 60}), TKVector({40, 60, 80, 40})},
        {1, 0.5, TKVector({40, 50, 60}), TKVector({30, 50, 70, 50})},   // min(2a mean 50, 1.5*40=60, 2*40=80)
        {1, 0.25, TKVector({40, 50, 60}), TKVector({55, 75, 95, 25})},  // min(25, 50, 40)
        {0, 0.0, TKVector({40, 50, 60}), TKVector({80, 100, 120, 0})},
    };
    for (const Case& c : cases) {
        TKInvColorTrafoKeepSeparation inverse(nullptr, fA2B.Get(), c.ratio, c.mode, false);
        inverse.SetFrame(Cmyk(0, 0, 0, 0));
        EXPECT_LT(inverse.FromParameters(c.p).MaxDistance(c.expected), 1e-12) << c.mode << " " << c.ratio;
        EXPECT_LT(inverse.ToParameters(c.expected).MaxDistance(c.p), 1e-12);
    }
}

TEST_F(InvColorTrafoFormsTest, FindNextGivesTheNearestGridColour) {
    TKInvColorTrafoBuilder builder(fA2B.Get(), nullptr, nullptr);
    auto trafo = builder.MakeTrafo(TKInvColorTrafoBuilder::kFindNext, 5);
    const TKVector node = Cmyk(25, 50, 75, 0);
    EXPECT_LT(trafo->Trafo(Lab(node)).MaxDistance(node), 1e-9);
    // Any CIE colour goes in.
    EXPECT_LT(trafo->Trafo(ConvertColor(TKXYZSpace, Lab(node))).MaxDistance(node), 1e-9);
}

// Re-separation from FOGRA39 to itself: keeping black leaves each ink's black as it was; the
// most-black generation moves gray into black, saving ink on neutrals (a third and more here)
// while the colour stays within 0.5 dE76.
TEST_F(InvColorTrafoFormsTest, ReseparationKeepsColourWithTheChosenBlack) {
    TKReseparationTrafo keep(fA2B.Get(), fA2B.Get(), fB2A.Get(), "KeepK");
    TKReseparationTrafo most(fA2B.Get(), fA2B.Get(), fB2A.Get(), "MaxK");
    const TKVector inks[] = {Cmyk(50, 40, 40, 0), Cmyk(70, 60, 60, 20), Cmyk(30, 20, 20, 0), Cmyk(40, 30, 30, 40)};
    for (const TKVector& ink : inks) {
        const TKVector kept = keep.Trafo(ink);
        EXPECT_EQ(kept[3], ink[3]) << ink.ToText();
        EXPECT_LT(Lab(kept).Distance(Lab(ink)), 0.5);
        const TKVector saved = most.Trafo(ink);
        EXPECT_LT(Lab(saved).Distance(Lab(ink)), 0.5) << ink.ToText();
        EXPECT_LT(saved.Sum(), 0.67 * ink.Sum()) << ink.ToText();
        EXPECT_LT(saved.Min(0, 2), 8.0);  // one of CMY is (nearly) gone
    }
}

class InvColorTrafoFormsErrorTest : public ::testing::Test, protected Fogra39 {};

TEST_F(InvColorTrafoFormsErrorTest, MissingSeparationsAndBadModes) {
    TKInvColorTrafoBuilder builder(fA2B.Get(), fB2A.Get(), nullptr);
    const TKVector target = Lab(Cmyk(30, 30, 30, 30));
    for (auto kind : {TKInvColorTrafoBuilder::kBlackAmount, TKInvColorTrafoBuilder::kPreferBlack})
        EXPECT_TKERROR(builder.MakeInverse(kind)->Trafo(target), PtrInvalid);
    EXPECT_TKERROR(TKInvColorTrafoKeepSeparation(nullptr, fA2B.Get(), 0.5, 2, false), ArgErr);
    EXPECT_TKERROR(TKInvColorTrafoChannels(nullptr, fA2B.Get(), {0, 4}, false), IndexError);
    EXPECT_TKERROR(TKInvColorTrafoChannels(nullptr, fA2B.Get(), {1, 1}, false), IndexError);
    EXPECT_TKERROR(builder.MakeInverse(TKInvColorTrafoBuilder::kFindNext), ArgErr);
    EXPECT_TKERROR(TKFindNextColorTrafo::FromForward(*fA2B, 1), ArgErr);
    EXPECT_TKERROR(TKInvColorTrafoEx(nullptr, fA2B.Get(), false).MakeStartChart(40), ArgErr);
    // A start trafo that does not fit the forward trafo, with the separation's count given over.
    auto separation = TKNewSeparation("GCR", TKVector(), 0, 100, 400);
    EXPECT_TKERROR(TKReseparationTrafo(fA2B.Get(), fA2B.Get(), nullptr, "NoSuchBlack"), ArgErr);
    EXPECT_TKERROR(TKReseparationTrafo(fA2B.Get(), nullptr, nullptr, "MaxK"), PtrInvalid);
    TKICCTrafoBuilder tables(fProfile.Get());
    EXPECT_TKERROR(TKInvColorTrafoSeparation(tables.GetA2BTrafo(1).Detach(), tables.GetA2BTrafo(1).Detach(),
                                             separation.Detach(), true),
                   DimMismatch);
}

}  // namespace

namespace {

// With no table to start from, the chart start still lets the search meet targets from the
// whole ink cube; a new forward trafo makes a new chart.
TEST_F(InvColorTrafoFormsTest, ChartStartMeetsTargetsWithoutATable) {
    TKRefPtr<TKInvColorTrafoEx> inverse(new TKInvColorTrafoEx(nullptr, fA2B.Get(), false), true);
    std::mt19937 random(21);
    std::uniform_real_distribution<double> ink(0.0, 100.0);
    int met = 0;
    for (int i = 0; i < 30; ++i) {
        const TKVector target = Lab(Cmyk(ink(random), ink(random), ink(random), ink(random)));
        const TKVector found = inverse->Trafo(target);
        met += target.Distance(Lab(found)) <= 0.2 ? 1 : 0;
    }
    EXPECT_GE(met, 28);
    inverse->SetRefTrafo(fA2B.Get(), false);
    inverse->MakeStartChart(3);
    const TKVector target = Lab(Cmyk(50, 50, 50, 50));
    EXPECT_LT(target.Distance(Lab(inverse->Trafo(target))), 0.2);
}

}  // namespace
