// TKVectorLinearization: per-channel curves as a trafo, on the four FOGRA39L ink curves.
#include <cmath>

#include "numeric/TKTrafoList.h"
#include "numeric/TKVectorLinearization.h"
#include "numeric/ToneRampData.h"
#include "support/TestSupport.h"

namespace {
// The four press curves of FOGRA39L as tables.
TKRefPtr<TKVectorLinearization> PressCurves() {
    auto lin = TKMakeRef<TKVectorLinearization>(4);
    const char inks[] = {'C', 'M', 'Y', 'K'};
    for (int32_t i = 0; i < 4; ++i) {
        const ToneRamp r = LoadToneRamp(inks[i]);
        lin->GetCurveRef(i).SetFromSplineFit(r.nominal, r.tone, TKCurveLinearization::kSplineSmooth, 1024);
    }
    return lin;
}
}  // namespace

TEST(VectorLinearization, AppliesCurveIToChannelIAndKeepsTheType) {
    TKVectorLinearization lin(2);
    lin.GetCurveRef(0).SetGamma(2.0);
    TKCurveLinearization half(TKVector({0.0, 0.5}));
    lin.SetCurve(1, half);
    const TKVector out = lin.Trafo(TKVector({0.5, 0.5, 0.7}, 0x434D594B));
    EXPECT_DOUBLE_EQ(out[0], 0.25);
    EXPECT_DOUBLE_EQ(out[1], 0.25);
    EXPECT_DOUBLE_EQ(out[2], 0.7);  // no curve: passes
    EXPECT_EQ(out.GetType(), 0x434D594B);
    EXPECT_EQ(lin.GetSrcDim(), 2);
    EXPECT_EQ(lin.GetDstDim(2), 2);
}

TEST(VectorLinearization, IdentityAnswerFollowsTheCurves) {
    TKVectorLinearization lin(3);
    EXPECT_TRUE(lin.IsIdentity());
    EXPECT_EQ(lin.GetInfo(TKTrafo::kInfoIdentity), 1);
    lin.GetCurveRef(2).SetGamma(1.8);
    EXPECT_FALSE(lin.IsIdentity());
    EXPECT_EQ(lin.GetInfo(TKTrafo::kInfoIdentity), 0);
    TKVectorLinearization none;
    EXPECT_TRUE(none.IsIdentity());
    EXPECT_EQ(none.GetSrcDim(), 0);
    const TKVector v({0.1, 0.2});
    EXPECT_FALSE(none.Trafo(v).Differs(v));
}

TEST(VectorLinearization, PressCurvesInvertChannelByChannel) {
    auto press = PressCurves();
    TKVectorLinearization correction(*press);
    correction.Invert();
    for (double x = 0.0; x <= 1.0; x += 1.0 / 32.0) {
        const TKVector v({x, 1.0 - x, 0.5 * x, x * x});
        const TKVector printed = press->Trafo(v);
        EXPECT_LT(correction.Trafo(printed).MaxDistance(v), 1e-3);
        EXPECT_LT(press->TrafoInverse(printed).MaxDistance(v), 1e-6);
    }
    // The black curve of FOGRA39L raises 50 % to about 67 %.
    EXPECT_NEAR(press->Trafo(TKVector({0.0, 0.0, 0.0, 0.5}))[3], 0.67, 0.01);
}

TEST(VectorLinearization, WorksInsideATrafoList) {
    auto press = PressCurves();
    auto correction = TKMakeRef<TKVectorLinearization>(*press);
    correction->Invert();
    TKTrafoList list;
    list.Append(correction.Get(), false);
    list.Append(press.Get(), false);
    const TKVector v({0.2, 0.4, 0.6, 0.8});
    EXPECT_LT(list.Trafo(v).MaxDistance(v), 1e-3);
    EXPECT_NE(press->Cast("TKTrafo"), nullptr);
    EXPECT_STREQ(press->ClassName(), "TKVectorLinearization");
}

TEST(VectorLinearization, ResampleAndBadChannels) {
    TKVectorLinearization lin(2);
    lin.GetCurveRef(0).SetGamma(2.2);
    lin.Resample(64);
    EXPECT_EQ(lin.GetCurve(0).GetLength(), 64);
    EXPECT_EQ(lin.GetCurve(1).GetLength(), 64);
    EXPECT_TKERROR(lin.Resample(1), ArgErr);
    EXPECT_TKERROR(lin.GetCurve(2), IndexError);
    EXPECT_TKERROR(lin.GetCurve(-1), IndexError);
    EXPECT_TKERROR(lin.SetCount(-1), ArgErr);
    EXPECT_TKERROR(lin.SetCount(TKVectorLinearization::kMaxChannels + 1), ArgErr);
    lin.SetCount(3);
    EXPECT_EQ(lin.GetCurve(0).GetLength(), 64);  // kept
    EXPECT_TRUE(lin.GetCurve(2).IsIdentity());  // new
}
