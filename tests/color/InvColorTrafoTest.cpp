// The numerical inverse of a forward colour trafo: on an analytic forward model whose inverse is
// known, the two passes, the error limit, the darkest-point shortcut, the ink penalty and the
// failures for forward trafos that do not fit.
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "color/TKInvColorTrafo.h"
#include "io/TKGlobalData.h"
#include "support/TestSupport.h"

namespace {

constexpr uint32_t kLab = TKColorSig("Lab ");
constexpr uint32_t kCMY = TKColorSig("CMY ");

// A smooth ink model, CMY or CMYK percent to Lab: each ink darkens and tints; black darkens only.
// Monotone in every ink, so a CMY colour has exactly one ink vector.
class InkModel : public TKTrafo {
public:
    explicit InkModel(uint32_t type) : fType(type) {}
    int32_t GetSrcDim() const override { return GetChannelCount(fType); }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override { return int32_t(fType); }
    int32_t GetDstType(int32_t) const override { return int32_t(kLab); }
    TKVector Trafo(const TKVector& x) const override {
        const double c = x[0] / 100, m = x[1] / 100, y = x[2] / 100, k = x.GetDim() > 3 ? x[3] / 100 : 0.0;
        const double l = 100.0 * (1 - 0.35 * c) * (1 - 0.45 * m) * (1 - 0.1 * y) * (1 - 0.85 * k);
        return TKVector({l, 60 * m - 35 * c - 5 * y, 70 * y - 50 * c - 10 * m}, int32_t(kLab));
    }

private:
    uint32_t fType;
};

TKVector Cmy(double c, double m, double y) { return TKVector({c, m, y}, int32_t(kCMY)); }

class InvColorTrafoTest : public TKNoErrorTest {
protected:
    void TearDown() override {
        TKGlobalData::SetInt(kTKGlobalInvColorFlags, 1);
        TKNoErrorTest::TearDown();
    }
    TKRefPtr<TKInvColorTrafo> MakeInverse(uint32_t type = kCMY) {
        return TKRefPtr<TKInvColorTrafo>(new TKInvColorTrafo(nullptr, new InkModel(type), true), true);
    }
};

// From the default start (half of white and black) the search meets targets made by the model
// within the error limit, and the inks found are the model's own within the error's reach.
TEST_F(InvColorTrafoTest, FindsTheInksOfReachableTargets) {
    auto inverse = MakeInverse();
    InkModel model(kCMY);
    const TKVector inks[] = {Cmy(0, 0, 0), Cmy(100, 100, 100), Cmy(20, 40, 60), Cmy(95, 5, 50), Cmy(3, 88, 12)};
    for (const TKVector& ink : inks) {
        const TKVector found = inverse->Trafo(model.Trafo(ink));
        EXPECT_LE(inverse->GetError(), inverse->GetErrLimit()) << ink.ToText();
        EXPECT_LT(found.MaxDistance(ink), 0.5) << ink.ToText();
        EXPECT_EQ(uint32_t(found.GetType()), kCMY);
        EXPECT_EQ(inverse->GetRefVector().MaxDistance(found), 0.0);
    }
}

// A target no ink reaches: the best ink comes back and the error says how far off it is.
TEST_F(InvColorTrafoTest, OutOfGamutGivesBestInkAndItsError) {
    auto inverse = MakeInverse();
    InkModel model(kCMY);
    const TKVector target({-20.0, 0.0, 0.0}, int32_t(kLab));
    const TKVector found = inverse->Trafo(target);
    EXPECT_GT(inverse->GetError(), inverse->GetErrLimit());
    EXPECT_NEAR(inverse->GetError(), target.Distance(model.Trafo(found)), 1e-9);
    EXPECT_LE(inverse->GetError(), target.Distance(model.Trafo(Cmy(100, 100, 100))) + 1e-9);
}

// The steps of the search: an exact start is returned as it is; without bit 0 of the flags the
// coarse pass is left out, and the fine pass alone still converges.
TEST_F(InvColorTrafoTest, PassesAndStart) {
    InkModel model(kCMY);
    const TKVector ink = Cmy(30, 60, 10), target = model.Trafo(ink);
    auto inverse = MakeInverse();
    inverse->SetStartVector(ink);
    EXPECT_EQ(inverse->Trafo(target).MaxDistance(ink), 0.0);
    EXPECT_EQ(inverse->GetEvaluations(), 1);

    for (int flags : {1, 0}) {
        TKGlobalData::SetInt(kTKGlobalInvColorFlags, flags);
        auto fresh = MakeInverse();
        fresh->Trafo(target);
        EXPECT_LE(fresh->GetError(), fresh->GetErrLimit()) << "flags " << flags;
    }
}

// A target at or below the darkest printable colour takes its inks at once.
TEST_F(InvColorTrafoTest, DarkestPointShortcut) {
    auto inverse = MakeInverse();
    const TKVector blackDevice = Cmy(100, 100, 100);
    const TKVector blackLab = InkModel(kCMY).Trafo(blackDevice);
    inverse->SetBlackPoint(blackLab, blackDevice);
    TKVector darker = blackLab;
    darker[0] -= 3.0;
    darker[1] += 1.0;  // chroma distance 1 + dL -3 is below 1
    EXPECT_EQ(inverse->Trafo(darker).MaxDistance(blackDevice), 0.0);
    EXPECT_EQ(inverse->GetEvaluations(), 1);
    TKVector lighter = blackLab;
    lighter[0] += 5.0;
    EXPECT_GT(inverse->Trafo(lighter).MaxDistance(blackDevice), 1.0);
}

// The ink penalty fades in above its start: with start s, no penalty while the reference's
// smallest ink is below s, the full penalty from s + min(s, 10) on.
TEST_F(InvColorTrafoTest, InkPenaltyFadesIn) {
    auto inverse = MakeInverse(TKCMYKSpace);
    const TKVector x({50, 50, 50, 50}, int32_t(TKCMYKSpace));
    const double full = (0.002 * 200 + 0.001 * 50 - 0.001 * 50) * 2.0;
    struct Case {
        double start, referenceMin, share;
    } cases[] = {{30, 29, 0.0}, {30, 40, 1.0}, {30, 35, 0.5}, {5, 10, 1.0}, {5, 7.5, 0.5}, {0, 0, 1.0}};
    for (const Case& c : cases) {
        inverse->SetInkPenalty(2.0, c.start);
        inverse->SetTarget(TKVector({50.0, 0.0, 0.0}, int32_t(kLab)));
        inverse->SetRefVector(TKVector({c.referenceMin, 60, 70, 80}, int32_t(TKCMYKSpace)));
        TKVector out;
        inverse->CalcError(x, out);
        ASSERT_EQ(out.GetDim(), 4);
        EXPECT_NEAR(out[3], full * c.share, 1e-12) << c.start << " " << c.referenceMin;
    }
}

TEST_F(InvColorTrafoTest, TotalInkCap) {
    TKTotalInkCapTrafo cap(300.0);
    struct Case {
        TKVector in, out;
    } cases[] = {
        {TKVector({50, 50, 50, 50}), TKVector({50, 50, 50, 50})},
        {TKVector({100, 100, 100, 100}), TKVector({200.0 / 3, 200.0 / 3, 200.0 / 3, 100})},
        {TKVector({100, 100, 100}), TKVector({100, 100, 100})},
        {TKVector({120, 120, 120}), TKVector({100, 100, 100})},
    };
    for (const Case& c : cases) EXPECT_LT(cap.Trafo(c.in).MaxDistance(c.out), 1e-9) << c.in.ToText();
}

// A forward trafo that gives no number: the search ends at once instead of looping, and says so.
class NaNModel : public InkModel {
public:
    NaNModel() : InkModel(kCMY) {}
    TKVector Trafo(const TKVector&) const override { return TKVector({NAN, NAN, NAN}, int32_t(kLab)); }
};

TEST_F(InvColorTrafoTest, SearchEndsOnAForwardTrafoWithoutNumbers) {
    TKRefPtr<TKInvColorTrafo> inverse(new TKInvColorTrafo(nullptr, new NaNModel(), true), true);
    const TKVector found = inverse->Trafo(TKVector({50.0, 0.0, 0.0}, int32_t(kLab)));
    EXPECT_EQ(found.GetDim(), 3);
    EXPECT_TRUE(std::isnan(inverse->GetError()));
    EXPECT_LT(inverse->GetEvaluations(), 100);
}

class InvColorTrafoErrorTest : public ::testing::Test {};

TEST_F(InvColorTrafoErrorTest, ForwardTrafosThatDoNotFit) {
    // A start trafo that gives three channels for a four-channel device.
    EXPECT_TKERROR(TKInvColorTrafo(new InkModel(kCMY), new InkModel(TKCMYKSpace), true), DimMismatch);
    // A forward trafo of any dimension.
    EXPECT_TKERROR(TKInvColorTrafo(nullptr, new TKTrafo(), true), DimMismatch);
    EXPECT_TKERROR(TKInvColorTrafo(nullptr, nullptr, true), PtrInvalid);
    TKRefPtr<TKInvColorTrafo> inverse(new TKInvColorTrafo(nullptr, new InkModel(kCMY), true), true);
    EXPECT_TKERROR(inverse->Trafo(TKVector({50.0, 0.0})), DimMismatch);
    EXPECT_TKERROR(inverse->SetBlackPoint(TKVector({1.0, 2.0}), Cmy(1, 1, 1)), DimMismatch);
    EXPECT_TKERROR(inverse->SetRho(1.5), ArgErr);
    EXPECT_TKERROR(TKTotalInkCapTrafo(0.0), ArgErr);
}

}  // namespace
