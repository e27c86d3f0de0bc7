// Black points of real profiles: media, device and the two black points for black point
// compensation, in both generations, against Little CMS's detection on the same profiles
// (tests/data/icc-trafo/lcms-blackpoints.csv, made by tools/icc_trafo_reference).
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "io/TKGlobalData.h"
#include "numeric/TKMatrixTrafo.h"
#include "support/TestSupport.h"

namespace {

TKRefPtr<TKICCProfile> LoadProfile(const std::string& name) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath(name).c_str())), 2);
    return profile;
}

double LOf(const TKVector& xyz) { return ConvertColor(TKLabSpace, xyz)[0]; }

// Y of Little CMS's source (column 3) or destination (column 6) black point.
double LcmsBlackY(const std::string& profile, int intent, bool destination) {
    std::ifstream file(TestDataPath("icc-trafo/lcms-blackpoints.csv"));
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::stringstream s(line);
        std::string field[8];
        for (auto& f : field) std::getline(s, f, ',');
        if (field[0] == profile && std::stoi(field[1]) == intent) return std::stod(field[destination ? 6 : 3]);
    }
    ADD_FAILURE() << "no reference for " << profile;
    return 0.0;
}

double LOfY(double y) { return ConvertColor(TKLabSpace, TKVector({y * 0.9642, y, y * 0.8249}, TKXYZSpace))[0]; }

class BlackPointTest : public TKNoErrorTest {
protected:
    void TearDown() override {
        TKGlobalData::SetBool("UseOldBPC", false);
        TKNoErrorTest::TearDown();
    }
};

// The direct black point comes from the inks an inverse search finds for Lab 0 within the
// profile's largest ink total. Little CMS takes the perceptual table's black, which the search
// can only improve on: never lighter (0.05 L), and at most 1 L darker on these profiles.
TEST_F(BlackPointTest, DirectBlackPointIsAtLeastAsDarkAsLittleCMS) {
    for (const char* name : {"icc/FOGRA39L-cmyk-v2.icc", "icc-trafo/FOGRA29L.icc"}) {
        auto profile = LoadProfile(name);
        TKICCTrafoBuilder builder(profile.Get());
        TKVector black = builder.GetBlackPointForBPC(1, nullptr, true);
        std::printf("%s direct L %.3f, Little CMS %.3f\n", name, LOf(black), LOfY(LcmsBlackY(name, 1, false)));
        EXPECT_LE(LOf(black), LOfY(LcmsBlackY(name, 1, false)) + 0.05) << name;
        EXPECT_GE(LOf(black), LOfY(LcmsBlackY(name, 1, false)) - 1.0) << name;
        TKVector lab = ConvertColor(TKLabSpace, black);
        EXPECT_NEAR(lab[1], 0.0, 1e-6);
        EXPECT_NEAR(lab[2], 0.0, 1e-6);
    }
}

// The round trip fit for the perceptual intent lands within 0.3 L of Little CMS's destination black (both fit the same
// round trip; the fits differ in detail). The relative table is straight, so its black is the direct
// one, at least as dark as Little CMS's.
TEST_F(BlackPointTest, TableBlackPointMatchesLittleCMS) {
    for (const char* name : {"icc/FOGRA39L-cmyk-v2.icc", "icc-trafo/FOGRA29L.icc"}) {
        auto profile = LoadProfile(name);
        TKICCTrafoBuilder builder(profile.Get());
        for (int intent : {0, 1}) {
            const double l = LOf(builder.GetBlackPointForBPCWithTable(intent, nullptr, true));
            std::printf("%s intent %d table L %.3f, Little CMS %.3f\n", name, intent, l, LOfY(LcmsBlackY(name, intent, true)));
            const double lcms = LOfY(LcmsBlackY(name, intent, true));
            if (intent == 0)
                EXPECT_NEAR(l, lcms, 0.3) << name;
            else
                EXPECT_TRUE(l <= lcms + 0.05 && l >= lcms - 1.0) << name << " " << l << " vs " << lcms;
            EXPECT_LE(l, 50.0);
        }
    }
}

TEST_F(BlackPointTest, MatrixAndGrayProfilesHaveZeroBlack) {
    for (const char* name : {"icc/sRGB-v2.icc", "icc/sRGB-v4.icc", "icc/Gray-v2.icc"}) {
        auto profile = LoadProfile(name);
        TKICCTrafoBuilder builder(profile.Get());
        EXPECT_NEAR(LOf(builder.GetBlackPointForBPC(1, nullptr, true)), 0.0, 0.05) << name;
        EXPECT_NEAR(LOf(builder.GetBlackPointForBPCWithTable(0, nullptr, true)), 0.0, 0.05) << name;
    }
}

TEST_F(BlackPointTest, DeviceLinkHasNoCIEBlack) {
    auto profile = LoadProfile("icc/FOGRA39-to-FOGRA29-link-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    TKVector black = builder.GetBlackPointForBPC(0, nullptr, true);
    EXPECT_EQ(black.GetType(), int32_t(TKXYZSpace));
    EXPECT_NEAR(black.Sum(), 0.0, 1e-12);
    EXPECT_NEAR(builder.GetMediaBlackPoint(0, 3).Sum(), 0.0, 1e-12);
}

// The media black is the darkest colour absolutely: darker than paper, at most the BPC black's
// lightness plus the absolute scaling; the device black carries the profile's ink limit.
TEST_F(BlackPointTest, MediaAndDeviceBlack) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    const double media = LOf(builder.GetMediaBlackPoint(0, 3));
    EXPECT_GT(media, 5.0);
    EXPECT_LT(media, 15.0);
    double maxInk = 0.0;
    TKVector black = builder.GetDeviceBlackPoint(1, &maxInk);
    ASSERT_EQ(black.GetDim(), 4);
    // FOGRA39 prints at most 330 % (ISO 12647-2 coated).
    EXPECT_GT(black.Sum(), 250.0);
    EXPECT_LE(black.Sum(), 335.0);
    EXPECT_GE(maxInk, black.Sum());
    EXPECT_LE(maxInk, 335.0);

    auto rgb = LoadProfile("icc/sRGB-v2.icc");
    double rgbInk = 0.0;
    TKVector rgbBlack = TKICCTrafoBuilder(rgb.Get()).GetDeviceBlackPoint(1, &rgbInk);
    EXPECT_NEAR(rgbBlack.Sum(), 0.0, 0.5);
    EXPECT_NEAR(rgbInk, 300.0, 0.2);
}

// "UseOldBPC" switches both routines to the older generation; the older table routine keeps
// its start black when the fit fails, the direct one starts from the full black.
TEST_F(BlackPointTest, OldRoutinesBehindTheOption) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    const TKVector oldDirect = builder.GetBlackPointForBPCOld(1, nullptr, true);
    const TKVector oldTable = builder.GetBlackPointForBPCWithTableOld(0, nullptr, true);
    TKGlobalData::SetBool("UseOldBPC", true);
    EXPECT_LT(builder.GetBlackPointForBPC(1, nullptr, true).MaxDistance(oldDirect), 1e-12);
    EXPECT_LT(builder.GetBlackPointForBPCWithTable(0, nullptr, true).MaxDistance(oldTable), 1e-12);
    TKGlobalData::SetBool("UseOldBPC", false);
    // Both generations find a dark neutral black below L 50.
    for (const TKVector& xyz : {oldDirect, oldTable}) {
        EXPECT_LE(LOf(xyz), 50.0);
        EXPECT_GE(LOf(xyz), 0.0);
    }
    EXPECT_NEAR(LOf(oldDirect), LOf(builder.GetBlackPointForBPC(1, nullptr, true)), 1.0);
}

// A chart trafo of the caller is applied to the device black before the table.
TEST_F(BlackPointTest, ChartMovesTheDirectBlack) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    // A "chart" that halves every ink: the black becomes much lighter.
    TKMatrix half = TKMatrix::Identity(4, TKCMYKSpace);
    for (int i = 0; i < 4; ++i) half(i, i) = 0.5;
    auto chart = TKMakeRef<TKMatrixTrafo>(half);
    EXPECT_GT(LOf(builder.GetBlackPointForBPC(1, chart.Get(), true)),
              LOf(builder.GetBlackPointForBPC(1, nullptr, true)) + 10.0);
}

}  // namespace
