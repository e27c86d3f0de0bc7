// From profile to trafo: tag choice by intent, the A2B/B2A families, absolute and special
// intents, resampling by grid code, the refine bit, and failures for missing or unfit tags.
#include <string>

#include "color/TKCIEConverter.h"
#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {

constexpr uint32_t kLab = TKColorSig("Lab ");

TKRefPtr<TKICCProfile> LoadProfile(const std::string& name) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath(name).c_str())), 2);
    return profile;
}

TKVector ToLab(const TKVector& colour) { return ConvertColor(kLab, colour); }

double DE00(const TKVector& a, const TKVector& b) {
    TKVector la = ToLab(a), lb = ToLab(b);
    return DeltaE2000(la.Values(), lb.Values());
}

TKVector Cmyk(double c, double m, double y, double k) { return TKVector({c, m, y, k}, TKCMYKSpace); }

class ProfileTrafoTest : public TKNoErrorTest {};
class ProfileTrafoErrorTest : public ::testing::Test {};

TEST_F(ProfileTrafoTest, TagChoiceByIntent) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    EXPECT_EQ(builder.GetA2BTag(0), TKICCSig("A2B0"));
    EXPECT_EQ(builder.GetA2BTag(11), TKICCSig("A2B0"));
    EXPECT_EQ(builder.GetA2BTag(1), TKICCSig("A2B1"));
    EXPECT_EQ(builder.GetA2BTag(3), TKICCSig("A2B1"));
    EXPECT_EQ(builder.GetA2BTag(9), TKICCSig("A2B1"));
    EXPECT_EQ(builder.GetB2ATag(2), TKICCSig("B2A2"));
    // Intent 20 reads the header; without the tag the answer falls back to the perceptual one.
    profile->GetHeader().renderingIntent = 2;
    EXPECT_EQ(builder.GetA2BTag(20), TKICCSig("A2B2"));
    profile->RemoveTag(TKICCSig("A2B2"));
    EXPECT_EQ(builder.GetA2BTag(20), TKICCSig("A2B0"));
    EXPECT_EQ(builder.GetA2BTag(2), TKICCSig("A2B0"));

    auto rgb = LoadProfile("icc/sRGB-v2.icc");
    TKICCTrafoBuilder matrix(rgb.Get());
    EXPECT_EQ(matrix.GetA2BTag(1), TKICCSig("A2B0"));  // answered whether or not it exists
    EXPECT_NE(FindTrafo(matrix.GetA2B1Trafo(1).Get(), "TKRGBXYZMatrixTrafo"), nullptr);
    EXPECT_EQ(matrix.GetLutGridPoints(TKICCSig("A2B0")), 0);
}

// The header intent picks the same trafo as asking for that intent.
TEST_F(ProfileTrafoTest, HeaderIntentAndFallbacks) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    profile->GetHeader().renderingIntent = 2;
    const TKVector ink = Cmyk(20, 40, 60, 10);
    EXPECT_LT(builder.GetA2BTrafo(20)->Trafo(ink).MaxDistance(builder.GetA2BTrafo(2)->Trafo(ink)), 1e-12);
    // Without A2B1 the relative trafo is the A2B0 table.
    profile->RemoveTag(TKICCSig("A2B1"));
    EXPECT_LT(builder.GetA2B1Trafo(1)->Trafo(ink).MaxDistance(builder.GetA2B0Trafo(1)->Trafo(ink)), 1e-12);
}

// Only the low 16 bits of the header field are the intent: flags in the reserved high half
// must neither move the tag choice nor turn the request into a special intent. Read as a whole
// word, 0x00010002 would be neither 0, 11 nor 2 and fall to "A2B1"; 0xFFFF0001 would dispatch to
// the special path, whose media black and white scaling visibly moves a dark ink.
TEST_F(ProfileTrafoTest, HeaderIntentIgnoresTheReservedHighBits) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    profile->GetHeader().renderingIntent = 0x00010002u;
    EXPECT_EQ(profile->GetHeader().Intent(), 2);
    EXPECT_EQ(builder.GetA2BTag(20), TKICCSig("A2B2"));
    EXPECT_EQ(builder.GetB2ATag(20), TKICCSig("B2A2"));

    profile->GetHeader().renderingIntent = 0xFFFF0001u;
    EXPECT_EQ(builder.GetA2BTag(20), TKICCSig("A2B1"));
    const TKVector dark = Cmyk(90, 80, 80, 90);
    const TKVector relative = builder.GetA2BTrafo(1)->Trafo(dark);
    EXPECT_LT(builder.GetA2BTrafo(20)->Trafo(dark).MaxDistance(relative), 1e-12);
    // The guard that the comparison can fail: the special path gives a different colour here.
    EXPECT_GT(builder.GetA2BTrafo(9)->Trafo(dark).MaxDistance(relative), 1e-3);
    const TKVector lab({30.0, 10.0, -10.0}, kLab);
    EXPECT_LT(builder.GetB2ATrafo(20)->Trafo(lab).MaxDistance(builder.GetB2ATrafo(1)->Trafo(lab)), 1e-12);
}

TEST_F(ProfileTrafoTest, AbsoluteIntentShowsThePaper) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    const TKVector paper = Cmyk(0, 0, 0, 0);
    TKVector relative = ToLab(builder.GetA2BTrafo(1)->Trafo(paper));
    TKVector absolute = ConvertColor(TKXYZSpace, builder.GetA2BTrafo(3)->Trafo(paper));
    EXPECT_NEAR(relative[0], 100.0, 0.05);
    // The media white of the profile, as stored in "wtpt".
    EXPECT_LT(absolute.MaxDistance(profile->GetWhitePoint(true)), 0.05);
    // B2A absolute takes the paper back to no ink.
    EXPECT_LT(builder.GetB2ATrafo(3)->Trafo(profile->GetWhitePoint(true)).MaxAbs(), 1.0);
    // Intent 19 takes the absolute path too.
    EXPECT_LT(ConvertColor(TKXYZSpace, builder.GetA2BTrafo(19)->Trafo(paper)).MaxDistance(absolute), 1e-9);
}

TEST_F(ProfileTrafoTest, SpecialIntents) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    const TKVector paper = Cmyk(0, 0, 0, 0);
    // Black compensation: the profile's black point goes to zero, white stays.
    const TKVector bpcBlack = builder.GetBlackPointForBPC(1, nullptr, true);
    TKRefPtr<TKTrafo> bpc = builder.GetA2BTrafo(10);
    TKRefPtr<TKTrafo> relative = builder.GetA2BTrafo(1);
    EXPECT_NEAR(ToLab(bpc->Trafo(paper))[0], 100.0, 0.05);
    TKVector darkest = builder.GetB2ATrafo(1)->Trafo(TKVector({0.0, 0.0, 0.0}, kLab));
    EXPECT_LT(ToLab(bpc->Trafo(darkest))[0], ToLab(relative->Trafo(darkest))[0] - 5.0);
    EXPECT_GT(ToLab(bpcBlack)[0], 5.0);
    // Absolute perceptual: the paper lands on the media white.
    TKVector paperWhite = ConvertColor(TKXYZSpace, builder.GetA2BTrafo(11)->Trafo(paper));
    EXPECT_LT(paperWhite.MaxDistance(profile->GetWhitePoint(true)), 0.1);
    // The mirror on the B2A side takes the media white back to paper.
    EXPECT_LT(builder.GetB2ATrafo(11)->Trafo(profile->GetWhitePoint(true)).MaxAbs(), 1.0);
    // Any other intent: absolute, then its stage from the media black and white to zero and
    // D50. The plain "XYZ Scaling" stage shows the points: paper to L 100, media black to 0.
    TKRefPtr<TKTrafo> scaling = builder.GetA2BTrafo(29);
    EXPECT_NEAR(ToLab(scaling->Trafo(paper))[0], 100.0, 0.05);
    TKVector mediaBlackInk = builder.GetB2ATrafo(0)->Trafo(TKVector(3, TKXYZSpace));
    EXPECT_LT(ToLab(scaling->Trafo(mediaBlackInk))[0], 1.0);
    EXPECT_NO_THROW(builder.GetB2ATrafo(14)->Trafo(TKVector({50.0, 0.0, 0.0}, kLab)));
}

// Grid code -3 keeps the table; any other code resamples, sampling CIE sides in Lab, and the
// tag's own grid wins where the wanted grid is finer than the table's canonical step.
TEST_F(ProfileTrafoTest, GridCodes) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    const int32_t own = builder.GetLutGridPoints(TKICCSig("A2B1"));
    ASSERT_GT(own, 1);
    int32_t grid = -1;
    TKRefPtr<TKTrafo> same = builder.GetA2BTrafo(1, -3, &grid);
    EXPECT_EQ(grid, 0);
    TKRefPtr<TKTrafo> coarse = builder.GetA2BTrafo(1, 5, &grid);
    EXPECT_EQ(grid, 5);
    EXPECT_NE(FindTrafo(coarse.Get(), "TKTrafoLutTrafo"), nullptr);
    EXPECT_EQ(FindTrafo(same.Get(), "TKTrafoLutTrafo"), nullptr);
    // At the nodes of a 5-grid (multiples of 25 %) the sampled table agrees closely.
    for (double v : {0.0, 25.0, 50.0, 100.0}) {
        const TKVector ink = Cmyk(v, 100.0 - v, v, 25.0);
        EXPECT_LT(DE00(coarse->Trafo(ink), same->Trafo(ink)), 0.3) << v;
    }
    // A wanted grid above the table's canonical step takes the table's grid.
    TKRefPtr<TKTrafo> fine = builder.GetA2BTrafo(1, 65, &grid);
    EXPECT_EQ(grid, own);
    EXPECT_EQ(TKICCCanonicalGrid(9), 9);
    EXPECT_EQ(TKICCCanonicalGrid(10), 17);
    EXPECT_EQ(TKICCCanonicalGrid(34), 65);
    EXPECT_EQ(TKICCCanonicalGrid(1), 2);
    EXPECT_EQ(TKICCCanonicalGrid(0), 0);

    // The matrix-shaper has no table: the grid code stands and RGB is sampled as it is.
    auto rgb = LoadProfile("icc/sRGB-v2.icc");
    TKICCTrafoBuilder matrix(rgb.Get());
    TKRefPtr<TKTrafo> sampled = matrix.GetB2ATrafo(1, 33, &grid);
    EXPECT_EQ(grid, 33);
    TKRefPtr<TKTrafo> exact = matrix.GetB2ATrafo(1);
    const TKVector lab({50.0, 20.0, -30.0}, kLab);
    EXPECT_LT(sampled->Trafo(lab).MaxDistance(exact->Trafo(lab)), 1.5);
}

// The refine bit is ignored on A2B.
TEST_F(ProfileTrafoTest, RefineBitIgnoredOnA2B) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    const TKVector ink = Cmyk(10, 20, 30, 40);
    EXPECT_LT(builder.GetA2BTrafo(0x41)->Trafo(ink).MaxDistance(builder.GetA2BTrafo(1)->Trafo(ink)), 1e-12);
}

// On B2A the bit refines the table against the forward table: targets made from inks come back
// within the search's error limit (0.1 dE76) where the table alone is off by several tenths.
TEST_F(ProfileTrafoTest, RefineBitOnB2ARefinesTheTable) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder builder(profile.Get());
    TKRefPtr<TKTrafo> a2b = builder.GetA2BTrafo(1), table = builder.GetB2ATrafo(1), refined = builder.GetB2ATrafo(0x41);
    ASSERT_NE(refined->Cast("TKInvColorTrafo"), nullptr);
    EXPECT_EQ(refined->GetSrcDim(), 3);
    EXPECT_EQ(refined->GetDstDim(3), 4);
    double tableSum = 0.0, refinedSum = 0.0;
    const TKVector inks[] = {Cmyk(10, 20, 30, 40), Cmyk(80, 5, 60, 0), Cmyk(40, 70, 0, 20), Cmyk(60, 50, 50, 10)};
    for (const TKVector& ink : inks) {
        const TKVector target = ToLab(a2b->Trafo(ink));
        const double refinedError = target.Distance(ToLab(a2b->Trafo(refined->Trafo(target))));
        EXPECT_LT(refinedError, 0.1 + 1e-9) << ink.ToText();
        refinedSum += refinedError;
        tableSum += target.Distance(ToLab(a2b->Trafo(table->Trafo(target))));
    }
    EXPECT_LT(refinedSum * 3.0, tableSum);
}

TEST_F(ProfileTrafoErrorTest, MissingTagsAndUnfitProfiles) {
    auto profile = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    for (const char* name : {"A2B0", "A2B1", "A2B2"}) profile->RemoveTag(TKICCSig(reinterpret_cast<const char(&)[5]>(*name)));
    TKICCTrafoBuilder builder(profile.Get());
    EXPECT_TKERROR(builder.GetA2BTrafo(0), MissingICCTag);
    EXPECT_TKERROR(builder.GetA2BTrafo(3), MissingICCTag);
    EXPECT_TKERROR(builder.GetLutTrafo(TKICCSig("A2B0")), MissingICCTag);
    // The B2A side is still there.
    EXPECT_NO_THROW(builder.GetB2ATrafo(1));

    auto rgb = LoadProfile("icc/sRGB-v2.icc");
    rgb->RemoveTag(TKICCSig("gTRC"));
    EXPECT_TKERROR(TKICCTrafoBuilder(rgb.Get()).GetA2BTrafo(1), MissingICCTag);
    auto gray = LoadProfile("icc/Gray-v2.icc");
    gray->RemoveTag(TKICCSig("kTRC"));
    EXPECT_TKERROR(TKICCTrafoBuilder(gray.Get()).GetB2ATrafo(0), MissingICCTag);
    EXPECT_TKERROR(TKICCTrafoBuilder(nullptr), PtrInvalid);
}

// A device link: A2B0 runs device to device, every intent serves it, black points are zero.
TEST_F(ProfileTrafoTest, DeviceLinkRunsDeviceToDevice) {
    auto link = LoadProfile("icc/sRGB-to-FOGRA39-link-v2.icc");
    TKICCTrafoBuilder builder(link.Get());
    TKRefPtr<TKTrafo> trafo = builder.GetA2BTrafo(1);
    EXPECT_EQ(trafo->GetSrcType(), int32_t(TKRGBSpace));
    TKVector ink = trafo->Trafo(TKVector({255.0, 255.0, 255.0}, TKRGBSpace));
    ASSERT_EQ(ink.GetDim(), 4);
    EXPECT_LT(ink.MaxAbs(), 1.0);
    EXPECT_LT(builder.GetA2BTrafo(3)->Trafo(TKVector({0.0, 128.0, 255.0}, TKRGBSpace)).MaxDistance(
                  builder.GetA2BTrafo(0)->Trafo(TKVector({0.0, 128.0, 255.0}, TKRGBSpace))),
              1e-12);
}

}  // namespace
