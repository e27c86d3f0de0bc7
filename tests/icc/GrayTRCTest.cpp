// Gray profiles that describe their gray only by a table: the tone curve is made from the table,
// so the way back to gray exists, and the curve is stored in the profile.
#include <cmath>
#include <string>

#include "color/TKCIEConverter.h"
#include "color/TKColor2NormTrafo.h"
#include "color/TKColors.h"
#include "icc/TKICCLutTags.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {

constexpr uint32_t kTRC = TKICCSig("kTRC");

TKRefPtr<TKICCProfile> LoadProfile(const std::string& name) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath(name).c_str())), 2);
    return profile;
}

constexpr double kGamma = 2.2;

// The profile with its "kTRC" replaced by an "A2B0" table of `grid` nodes of the curve
// device^2.2 (Y, or L* / 100 for a Lab connection space), in the table's 16-bit encoding; the
// table's input is the ICC gray device value (node 0 black), the inverse of the engine's ink.
TKRefPtr<TKICCProfile> TableOnlyCopy(const std::string& name, int32_t grid) {
    auto profile = LoadProfile(name);
    const uint32_t pcs = TKICCProfileBasic::TranslateOldSpace(profile->GetHeader().pcs);
    auto table = TKMakeRef<TKICCLutTag>(TKICCSig("mft2"), TKICCSig("A2B0"));
    table->SetupLut16(1, 3, 2, 2, grid);
    table->SetInputCurvePoint(0, 1, 65535);
    for (int32_t c = 0; c < 3; ++c) table->SetOutputCurvePoint(c, 1, 65535);
    const TKColor2NormTrafo norm(pcs);
    for (int32_t node = 0; node < grid; ++node) {
        const double y = std::pow(double(node) / (grid - 1), kGamma);
        const TKVector color = pcs == TKLabSpace ? TKVector({100.0 * y, 0.0, 0.0}, TKLabSpace)
                                                 : TKVector({96.42 * y, 100.0 * y, 82.49 * y}, TKXYZSpace);
        const TKVector encoded = norm.Trafo(color);
        uint16_t values[3];
        for (int32_t c = 0; c < 3; ++c) values[c] = uint16_t(std::lround(encoded[c] * 65535.0));
        table->SetGridPoint(node, values);
    }
    profile->RemoveTag(kTRC);
    profile->AddTag(table.Get(), false);
    return profile;
}

}  // namespace

using GrayTRC = TKNoErrorTest;

// Both connection spaces; the tolerance is what linear interpolation between 33 nodes costs on
// this curve (h^2/8 times the largest second derivative 2.64: 0.0003) plus 16-bit steps.
TEST_F(GrayTRC, TableOnlyProfileGetsTheCurveItsTableWasMadeFrom) {
    for (const char* name : {"icc/Gray-v2.icc", "icc/GrayLab-v2.icc"}) {
        SCOPED_TRACE(name);
        auto profile = TableOnlyCopy(name, 33);
        TKICCTrafoBuilder builder(profile.Get());
        ASSERT_EQ(profile->GetTag(kTRC), nullptr);

        const TKCurveLinearization made = builder.CreateGrayTRC();
        EXPECT_NE(profile->GetTag(kTRC), nullptr);
        double worst = 0.0;
        for (int32_t i = 0; i <= 200; ++i) worst = std::max(worst, std::fabs(made.Apply(i / 200.0) - std::pow(i / 200.0, kGamma)));
        EXPECT_LT(worst, 0.0005);

        // Without the made curve there would be no B2A at all: gray -> PCS -> gray comes back.
        TKRefPtr<TKTrafo> a2b = builder.GetA2BTrafo(1), b2a = builder.GetB2ATrafo(1);
        for (double ink : {0.0, 3.0, 25.0, 50.0, 80.0, 97.0, 100.0})
            EXPECT_NEAR(b2a->Trafo(a2b->Trafo(TKVector({ink}, TKGraySpace)))[0], ink, 0.2) << ink;
    }
}

// A table describes the gray as ICC does, with the device value 0 for black: no ink is the
// white and full ink the black, both ways (a table read the other way round gives a negative).
// Tolerance as above, in L* or Y units.
TEST_F(GrayTRC, TableReadsNoInkAsWhite) {
    for (const char* name : {"icc/Gray-v2.icc", "icc/GrayLab-v2.icc"}) {
        SCOPED_TRACE(name);
        auto profile = TableOnlyCopy(name, 33);
        const bool lab = TKICCProfileBasic::TranslateOldSpace(profile->GetHeader().pcs) == TKLabSpace;
        TKICCTrafoBuilder builder(profile.Get());
        TKRefPtr<TKTrafo> a2b = builder.GetLutTrafo(TKICCSig("A2B0"));
        for (double ink : {0.0, 10.0, 40.0, 70.0, 100.0}) {
            const TKVector pcs = a2b->Trafo(TKVector({ink}, TKGraySpace));
            EXPECT_NEAR(lab ? pcs[0] : pcs[1], 100.0 * std::pow(1.0 - ink / 100.0, kGamma), 0.05) << ink;
        }
        TKRefPtr<TKTrafo> back = builder.GetB2ATrafo(1);
        const TKVector light = ConvertColor(uint32_t(back->GetSrcType()), TKVector({90.0, 0.0, 0.0}, TKLabSpace));
        EXPECT_LT(back->Trafo(light)[0], 20.0);
    }
}

// A table that turns back (noise in a measured gray) is held level so the curve can be inverted.
TEST_F(GrayTRC, TableThatTurnsBackGivesAMonotonicCurve) {
    auto profile = TableOnlyCopy("icc/Gray-v2.icc", 5);
    auto* table = static_cast<TKICCLutTag*>(profile->GetTag(TKICCSig("A2B0")));
    uint16_t values[3];
    table->GetGridPoint(1, values);
    table->SetGridPoint(2, values);  // node 2 (50 % ink) as dark as 75 % ...
    table->GetGridPoint(3, values);
    table->SetGridPoint(1, values);  // ... and 75 % as light as 25 %
    const TKCurveLinearization curve = TKICCTrafoBuilder(profile.Get()).CreateGrayTRC();
    for (int32_t i = 1; i <= 100; ++i) EXPECT_GE(curve.Apply(i / 100.0), curve.Apply((i - 1) / 100.0));
}

TEST(GrayTRCRefusal, NothingToMakeItFromIsAMissingTag) {
    auto gray = LoadProfile("icc/Gray-v2.icc");
    gray->RemoveTag(kTRC);
    auto cmyk = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    for (TKICCProfile* profile : {gray.Get(), cmyk.Get()}) {
        TKICCTrafoBuilder builder(profile);
        EXPECT_TKERROR(builder.CreateGrayTRC(), MissingICCTag);
        EXPECT_EQ(profile->GetTag(kTRC), nullptr);
    }
}
