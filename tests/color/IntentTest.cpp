// Rendering intents: names and codes, the stage each code makes, the simple XYZ stages, the
// custom intents read from the global data base and the brightener correction.
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "color/TKBrightenerCorrectionTrafo.h"
#include "color/TKCIEConverter.h"
#include "color/TKCIETools.h"
#include "color/TKColors.h"
#include "color/TKCompressionTrafos.h"
#include "color/TKCustomRenderingXYZTrafo.h"
#include "color/TKIntents.h"
#include "color/TKWhiteXYZTrafo.h"
#include "color/TKXYZStages.h"
#include "io/TKGlobalData.h"
#include "ColorTestSupport.h"
#include "support/TestSupport.h"

namespace {

// The settings file is looked for in a scratch folder, never in the user's own.
const bool kFolderSet = [] {
    char pattern[] = "/tmp/tintara-prefs-XXXXXX";
    const char* folder = ::mkdtemp(pattern);
    if (folder) ::setenv(TKGlobalData::kFolderVariable, folder, 0);
    return true;
}();

const TKVector kD65 = XYZ(95.04, 100, 108.89);

// Restores a custom intent's settings to their defaults when a test ends.
struct CustomSettings {
    explicit CustomSettings(int block) : fBlock(block) {}
    ~CustomSettings() {
        TKGlobalData::SetInt(TKString::Format("CustomIntent%d/mode", fBlock).CString(), 0);
        TKGlobalData::SetDouble(TKString::Format("CustomIntent%d/factor", fBlock).CString(), 0.5);
    }
    int fBlock;
};

}  // namespace

TEST(IntentNames, CodesRoundTripAndList) {
    int32_t named = 0;
    for (int32_t code = 0; code <= 30; ++code) {
        const char* name = GetIntentName(code);
        if (std::string(name) == "Unknown RI") continue;
        EXPECT_EQ(GetIntentCode(name), code) << name;
        ++named;
    }
    EXPECT_EQ(named, 25);
    EXPECT_EQ(GetIntentCode("perceptual"), -1);
    EXPECT_EQ(GetIntentCode("Unknown RI"), -1);
    EXPECT_EQ(GetIntentCode(nullptr), -1);
    const TKString list = GetIntentNameList();
    EXPECT_EQ(list.Find("Perceptual\tRelativeColorimetric\tSaturation\tAbsoluteColorimetric\tBlackCompensation"), 0);
    int32_t tabs = 0;
    for (int32_t i = 0; i < list.Length(); ++i) tabs += list.CString()[i] == '\t';
    EXPECT_EQ(tabs, 24);
    EXPECT_TRUE(IsCustomIntent(21) && IsCustomIntent(25) && !IsCustomIntent(20) && !IsCustomIntent(26));
}

TEST(IntentStages, EachCodeMakesItsStage) {
    const struct {
        int32_t code;
        const char* className;
    } expected[] = {
        {0, "TKPercCompressionTrafo"},    {1, "TKWhiteXYZTrafo"},           {2, "TKAbsCompressionTrafo"},
        {3, "TKDummyXYZTrafo"},           {9, "TKBlackCompensationTrafo"},  {10, "TKBlackCompensationTrafo"},
        {11, "TKWhiteXYZTrafo"},          {12, "TKBrightenerCorrectionTrafo"}, {13, "TKPercCompressionTrafo"},
        {14, "TKPercCompressionTrafo"},   {15, "TKRelCompressionTrafo"},    {16, "TKAbsCompressionTrafo"},
        {17, "TKWhiteXYZTrafo"},          {18, "TKDummyXYZTrafo"},          {19, "TKWhiteYTrafo"},
        {20, "TKDummyXYZTrafo"},          {21, "TKCustomRenderingXYZTrafo"}, {25, "TKCustomRenderingXYZTrafo"},
        {26, "TKMinCompressionTrafo"},    {29, "TKXYZTrafoBase"},           {30, "TKTestCompressionTrafo"},
        {4, "TKDummyXYZTrafo"},           {8, "TKDummyXYZTrafo"},           {99, "TKDummyXYZTrafo"},
    };
    for (const auto& row : expected) {
        auto stage = CreateXYZStage(row.code, false);
        ASSERT_TRUE(stage);
        EXPECT_STREQ(stage->ClassName(), row.className) << row.code;
        EXPECT_EQ(stage->GetSrcType(), int32_t(TKXYZSpace));
        EXPECT_EQ(stage->GetDstType(0), int32_t(TKXYZSpace));
        EXPECT_TRUE(stage->Cast("TKXYZTrafoBase"));
    }
    auto relative = CreateXYZStage(1, true);
    EXPECT_EQ(static_cast<TKWhiteXYZTrafo*>(relative.Get())->GetCode(), 0);
    auto minBlack = CreateXYZStage(26, true);
    auto* min = static_cast<TKMinCompressionTrafo*>(minBlack.Get());
    EXPECT_TRUE(min->GetDoBlack() && !min->GetDoWhite() && min->GetSmoothBlack());
    auto minWhiteStage = CreateXYZStage(27, false);
    auto* minWhite = static_cast<TKMinCompressionTrafo*>(minWhiteStage.Get());
    EXPECT_TRUE(!minWhite->GetDoBlack() && minWhite->GetDoWhite());
    auto both = CreateXYZStage(28, false);
    EXPECT_TRUE(static_cast<TKMinCompressionTrafo*>(both.Get())->GetDoBlack());
    EXPECT_TRUE(static_cast<TKMinCompressionTrafo*>(both.Get())->GetDoWhite());
}

TEST(IntentStages, FreshStagesAreTheIdentityOnD50) {
    // With both blacks 0 and both whites D50 every stage leaves colours where they are.
    const TKVector colour = XYZ(30, 25, 12);
    for (int32_t code = 0; code <= 30; ++code) {
        auto stage = CreateXYZStage(code, false);
        ExpectXYZ(stage->Trafo(colour), 30, 25, 12, 1e-9);
    }
}

TEST(IntentStages, SmoothBaseKeepsBlackAndWhiteExactly) {
    auto stage = CreateXYZStage(kTKXYZScaling, true);
    const TKVector srcBlack = XYZ(1.2, 1.0, 0.6), dstBlack = XYZ(3.5, 3.9, 2.1), dstWhite = XYZ(90, 95, 70);
    stage->SetPoints(srcBlack, kD50, dstBlack, dstWhite);
    ExpectXYZ(stage->Trafo(srcBlack), 3.5, 3.9, 2.1, 1e-9);
    ExpectXYZ(stage->Trafo(kD50), 90, 95, 70, 1e-9);
    // Far from black the blend is gone and the plain linear map holds.
    auto plain = CreateXYZStage(kTKXYZScaling, false);
    plain->SetPoints(stage->GetSourceBlack(), kD50, dstBlack, dstWhite);
    const TKVector light = XYZ(60, 62, 50);
    const TKVector a = stage->Trafo(light), b = plain->Trafo(light);
    EXPECT_LT(std::fabs(a[1] - b[1]), 0.5);
}

TEST(XYZStages, RelativeColorimetricScalesWhites) {
    auto stage = CreateXYZStage(kTKRelativeColorimetric, false);
    stage->SetPoints(kZero, kD65, kZero, kD50);
    ExpectXYZ(stage->Trafo(kD65), 96.42, 100, 82.49, 1e-9);
    // Code 0 scales XYZ channel by channel: half of D65 goes to half of D50.
    ExpectXYZ(stage->Trafo(XYZ(47.52, 50, 54.445)), 48.21, 50, 41.245, 1e-9);
}

TEST(XYZStages, WhiteYPaperScaleAndOffset) {
    const TKVector paper = XYZ(88, 90, 75);
    TKWhiteYTrafo whiteY;
    whiteY.SetPoints(kZero, kD50, kZero, paper);
    ExpectXYZ(whiteY.Trafo(kD50), 96.42 * 0.9, 90, 82.49 * 0.9, 1e-9);  // chromaticity of D50 stays
    TKPaperXYZTrafo onPaper;
    onPaper.SetPoints(kZero, kD50, kZero, paper);
    ExpectXYZ(onPaper.Trafo(kD50), 88, 90, 75, 1e-9);
    ExpectXYZ(onPaper.Trafo(XYZ(48.21, 50, 41.245)), 44, 45, 37.5, 1e-9);
    TKScaleCIETrafo scale(0.01);
    ExpectXYZ(scale.Trafo(kD50), 0.9642, 1, 0.8249, 1e-12);
    TKBlackOffsetTrafo offset;
    const TKVector srcBlack = XYZ(1, 1, 1), dstBlack = XYZ(4, 5, 3);
    offset.SetPoints(srcBlack, kD50, dstBlack, kD50);
    ExpectXYZ(offset.Trafo(srcBlack), 4, 5, 3, 1e-12);
    ExpectXYZ(offset.Trafo(kD50), 96.42, 100, 82.49, 1e-12);
    // Half way up in Y the shift is half.
    ExpectXYZ(offset.Trafo(XYZ(40, 50.5, 30)), 41.5, 52.5, 31, 1e-12);
}

TEST(XYZStages, LinearBlackWhiteAndMerge) {
    TKXYZLinearBlackWhiteTrafo linear(XYZ(3, 3, 3), kD50, kZero, kD50);
    ExpectXYZ(linear.Trafo(XYZ(3, 3, 3)), 0, 0, 0, 1e-12);
    ExpectXYZ(linear.Trafo(kD50), 96.42, 100, 82.49, 1e-12);
    TKMergeXYZTrafo merge(new TKDummyXYZTrafo, new TKWhiteYTrafo, 0.25, true);
    merge.SetPoints(kZero, kD50, kZero, XYZ(80, 80, 80));
    // 0.75 of the copy and 0.25 of the 0.8 scaling: a factor of 0.95.
    ExpectXYZ(merge.Trafo(XYZ(10, 20, 30)), 9.5, 19, 28.5, 1e-12);
    EXPECT_TKERROR(TKMergeXYZTrafo(nullptr, nullptr, 0.5, true), ArgErr);
}

TEST(CustomIntents, MergeAbsoluteRelativeReadsItsBlock) {
    CustomSettings restore(2);
    // "CustomRendering3" is code 23 and reads "CustomIntent2".
    auto stage = CreateXYZStage(23, false);
    EXPECT_STREQ(static_cast<TKCustomRenderingXYZTrafo*>(stage.Get())->ModeKey().CString(), "CustomIntent2/mode");
    TKGlobalData::SetInt("CustomIntent2/mode", 0);
    TKGlobalData::SetDouble("CustomIntent2/factor", 0.25);
    stage->SetPoints(kZero, kD65, kZero, kD50);
    // The white goes a quarter of the way from D65 to D50.
    ExpectXYZ(stage->Trafo(kD65), 95.04 + 0.25 * 1.38, 100, 108.89 + 0.25 * (82.49 - 108.89), 1e-9);
    // The neighbouring block is not read.
    TKGlobalData::SetInt("CustomIntent1/mode", 7);
    auto other = CreateXYZStage(23, false);
    EXPECT_NO_THROW(other->Trafo(kD50));
    TKGlobalData::SetInt("CustomIntent1/mode", 0);
}

TEST(CustomIntents, DefaultFactorsAndLuminanceScaling) {
    CustomSettings restore(0);
    TKGlobalData::SetInt("CustomIntent0/mode", 1);
    TKGlobalData::SetDouble("CustomIntent0/factor", 0.8);
    auto stage = CreateXYZStage(21, false);
    stage->SetPoints(kZero, kD65, kZero, kD50);
    ExpectXYZ(stage->Trafo(kD65), 0.8 * 95.04, 80, 0.8 * 108.89, 1e-9);
    ExpectXYZ(stage->Trafo(XYZ(10, 20, 30)), 8, 16, 24, 1e-9);
}

TEST(CustomIntents, WrongModeFailsAtEveryEvaluation) {
    CustomSettings restore(4);
    TKGlobalData::SetInt("CustomIntent4/mode", 2);
    auto stage = CreateXYZStage(25, false);  // made without complaint
    EXPECT_TKERROR(stage->Trafo(kD50), ArgErr);
    EXPECT_TKERROR(stage->Trafo(kD50), ArgErr);
    TKGlobalData::SetInt("CustomIntent4/mode", 0);
    EXPECT_NO_THROW(stage->Trafo(kD50));
    EXPECT_TKERROR(TKCustomRenderingXYZTrafo(20, false), ArgErr);
}

TEST(CustomIntents, FirstUseFromSeveralThreads) {
    CustomSettings restore(1);
    TKGlobalData::SetInt("CustomIntent1/mode", 1);
    TKGlobalData::SetDouble("CustomIntent1/factor", 0.9);
    auto stage = CreateXYZStage(22, true);
    stage->SetPoints(kZero, kD65, kZero, kD50);
    // Nobody updates the stage beforehand: the first evaluations race for the update.
    std::vector<std::thread> threads;
    std::vector<double> y(4, 0.0);
    for (size_t t = 0; t < y.size(); ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) y[t] = stage->Trafo(kD65)[1];
        });
    for (auto& thread : threads) thread.join();
    for (double value : y) EXPECT_NEAR(value, 90, 1e-9);
}

TEST(BrightenerCorrection, TakesBackPartOfTheBlueLift) {
    const double factor = TKGlobalData::GetDouble(kTKGlobalBrightenerSrc2DstFactor);
    ASSERT_DOUBLE_EQ(factor, 0.15);
    const TKVector paper = XYZ(95, 100, 95);  // a brightened, bluish paper
    TKBrightenerCorrectionTrafo correction;
    correction.SetPoints(kZero, paper, kZero, kD50);
    // At the paper t = 1 and s = 1, scaled by X / Zw = 1 since X is not below Z: the paper goes
    // to its white moved 15 % towards D50 (the adaptation maps white onto white exactly).
    ExpectXYZ(correction.Trafo(paper), 95 + 0.15 * 1.42, 100, 95 + 0.15 * (82.49 - 95), 1e-9);
    EXPECT_DOUBLE_EQ(correction.GetSrc2DstFactor(), 0.15);
    // A colour without blue content is left alone.
    ExpectXYZ(correction.Trafo(XYZ(40, 30, 0)), 40, 30, 0, 1e-12);
    // Share: t = 47.5 / 95 = 0.5, s = 0.75, times X / Zw = 30 / 95.
    EXPECT_NEAR(correction.Share(XYZ(30, 40, 47.5)), 0.75 * 30 / 95, 1e-12);
}

TEST(BrightenerCorrection, SpectralPath) {
    TKBrightenerCorrectionTrafo correction;
    correction.SetPoints(kZero, kD50, kZero, kD50);
    TKVector reflectance(36, int32_t(TKReflSpace), 0.8);
    // A correction of 1 everywhere changes nothing: the result is the spectrum's own XYZ.
    correction.SetCorrectionSpectrum(TKVector(36, int32_t(TKReflSpace), 1.0));
    const TKVector same = correction.Trafo(reflectance);
    const TKVector direct = ConvertColor(TKXYZSpace, reflectance);
    ExpectXYZ(same, direct[0], direct[1], direct[2], 1e-9);
    // Halving every sample with the full share halves the XYZ.
    correction.SetCorrectionSpectrum(TKVector(36, int32_t(TKReflSpace), 0.5));
    const double s = correction.Share(direct);
    const TKVector halved = correction.Trafo(reflectance);
    EXPECT_NEAR(halved[1], direct[1] * (1 - s) + direct[1] * 0.5 * s, 1e-9);
    EXPECT_TKERROR(correction.SetCorrectionSpectrum(TKVector(35, int32_t(TKReflSpace))), ArgErr);
}
