// Concatenation of profiles: the direction each profile is used in, second passes, null entries,
// links, intents from the header, the white bridge, and the chains that must be refused.
#include "icc/TKICCConcatenation.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "color/TKWhiteXYZTrafo.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {

TKRefPtr<TKICCProfile> Load(const char* name) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath(std::string("concat/") + name).c_str())), 2);
    return profile;
}

TKVector Apply(const TKTrafo& trafo, std::initializer_list<double> values, uint32_t type) {
    return trafo.Trafo(TKVector(values, int32_t(type)));
}

int32_t CountWhiteTrafos(const TKTrafoList& list) {
    int32_t n = 0;
    for (int32_t i = 0; i < list.GetCount(); ++i) n += list.GetTrafo(i)->Cast("TKWhiteXYZTrafo") ? 1 : 0;
    return n;
}

class ConcatenationTest : public ::testing::Test {
protected:
    TKRefPtr<TKICCProfile> fogra39 = Load("FOGRA39L.icc");
    TKRefPtr<TKICCProfile> fogra29 = Load("FOGRA29L.icc");
    TKRefPtr<TKICCProfile> srgb = Load("sRGB.icc");
    TKRefPtr<TKICCProfile> link = Load("FOGRA39_to_FOGRA29_link.icc");
    TKRefPtr<TKTrafoList> list = TKMakeRef<TKTrafoList>();
};

TEST_F(ConcatenationTest, LonePrinterGoesToTheConnectionSpace) {
    TKICCProfile* chain[] = {fogra39.Get()};
    TKConcatICCProfiles(list.Get(), 1, chain, nullptr, 0);
    EXPECT_EQ(uint32_t(list->GetSrcType()), TKCMYKSpace);
    EXPECT_EQ(uint32_t(list->GetDstType(0)), TKLabSpace);
    // Paper white: FOGRA39 relative colorimetric keeps it at L 100 (perceptual intent 0 as well).
    TKVector paper = Apply(*list, {0, 0, 0, 0}, TKCMYKSpace);
    EXPECT_NEAR(paper[0], 100.0, 0.5);
}

TEST_F(ConcatenationTest, LonePrinterWithLastModeGoesOutAgain) {
    TKICCProfile* chain[] = {fogra39.Get()};
    const int32_t intents[] = {1};
    TKConcatICCProfiles(list.Get(), 1, chain, intents, 1);
    EXPECT_EQ(uint32_t(list->GetDstType(0)), TKCMYKSpace);
    // A colour well inside the gamut survives the round trip through both tables.
    TKVector cmyk = Apply(*list, {40, 30, 20, 10}, TKCMYKSpace);
    auto a2b = TKMakeRef<TKTrafoList>();
    TKConcatICCProfiles(a2b.Get(), 1, chain, intents, 0);
    TKVector labIn = Apply(*a2b, {40, 30, 20, 10}, TKCMYKSpace);
    TKVector labOut = a2b->Trafo(cmyk);
    EXPECT_LT(std::hypot(labIn[0] - labOut[0], labIn[1] - labOut[1], labIn[2] - labOut[2]), 1.5);
}

TEST_F(ConcatenationTest, MonitorToPrinterKeepsWhiteAndBlack) {
    TKICCProfile* chain[] = {srgb.Get(), fogra39.Get()};
    const int32_t intents[] = {1, 1};
    TKConcatICCProfiles(list.Get(), 2, chain, intents, 0);
    EXPECT_EQ(uint32_t(list->GetSrcType()), TKRGBSpace);
    EXPECT_EQ(uint32_t(list->GetDstType(0)), TKCMYKSpace);
    TKVector white = Apply(*list, {255, 255, 255}, TKRGBSpace);
    for (int32_t c = 0; c < 4; ++c) EXPECT_LT(white[c], 1.0) << c;
    TKVector black = Apply(*list, {0, 0, 0}, TKRGBSpace);
    EXPECT_GT(black.Sum(), 250.0);  // a rich black, not a single ink
}

TEST_F(ConcatenationTest, NullEntriesAreSkippedBothWays) {
    TKICCProfile* withGap[] = {fogra39.Get(), nullptr, fogra29.Get()};
    TKICCProfile* plain[] = {fogra39.Get(), fogra29.Get()};
    auto other = TKMakeRef<TKTrafoList>();
    TKConcatICCProfiles(list.Get(), 3, withGap, nullptr, 0);
    TKConcatICCProfiles(other.Get(), 2, plain, nullptr, 0);
    ASSERT_EQ(list->GetCount(), other->GetCount());
    TKVector a = Apply(*list, {70, 10, 50, 5}, TKCMYKSpace);
    TKVector b = Apply(*other, {70, 10, 50, 5}, TKCMYKSpace);
    for (int32_t c = 0; c < 4; ++c) EXPECT_DOUBLE_EQ(a[c], b[c]);
}

TEST_F(ConcatenationTest, LinkTakesDeviceValuesThroughItsA2B) {
    TKICCProfile* chain[] = {link.Get(), fogra29.Get()};
    TKConcatICCProfiles(list.Get(), 2, chain, nullptr, 0);
    EXPECT_EQ(uint32_t(list->GetSrcType()), TKCMYKSpace);
    // After the link the CMYK goes into FOGRA29 as a source: the chain ends in Lab.
    EXPECT_EQ(uint32_t(list->GetDstType(0)), TKLabSpace);
    // A printer in front of a link is not sent to Lab first: its device values go straight in.
    TKICCProfile* front[] = {fogra39.Get(), link.Get()};
    auto other = TKMakeRef<TKTrafoList>();
    TKConcatICCProfiles(other.Get(), 2, front, nullptr, 0);
    EXPECT_EQ(uint32_t(other->GetDstType(0)), TKCMYKSpace);
}

TEST_F(ConcatenationTest, HeaderIntentEntryTakesTheProfilesOwn) {
    // Both FOGRA profiles carry relative colorimetric (1) in their headers.
    TKICCProfile* chain[] = {fogra39.Get(), fogra29.Get()};
    const int32_t header[] = {20, 20};
    const int32_t own[] = {1, 1};
    const int32_t perceptual[] = {0, 0};
    auto byOwn = TKMakeRef<TKTrafoList>();
    auto byPerceptual = TKMakeRef<TKTrafoList>();
    TKConcatICCProfiles(list.Get(), 2, chain, header, 0);
    TKConcatICCProfiles(byOwn.Get(), 2, chain, own, 0);
    TKConcatICCProfiles(byPerceptual.Get(), 2, chain, perceptual, 0);
    TKVector a = Apply(*list, {100, 0, 0, 0}, TKCMYKSpace);
    TKVector b = Apply(*byOwn, {100, 0, 0, 0}, TKCMYKSpace);
    TKVector c = Apply(*byPerceptual, {100, 0, 0, 0}, TKCMYKSpace);
    for (int32_t i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(a[i], b[i]);
    // With the header set to perceptual the same entries follow it.
    fogra39->GetHeader().renderingIntent = 0;
    fogra29->GetHeader().renderingIntent = 0;
    auto byHeader = TKMakeRef<TKTrafoList>();
    TKConcatICCProfiles(byHeader.Get(), 2, chain, header, 0);
    TKVector d = Apply(*byHeader, {100, 0, 0, 0}, TKCMYKSpace);
    for (int32_t i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(c[i], d[i]);
}

TEST_F(ConcatenationTest, RelativeLightnessBridgesNeighbours) {
    TKICCProfile* chain[] = {srgb.Get(), fogra39.Get(), fogra29.Get()};
    const int32_t lightness[] = {19, 19, 19};
    const int32_t relative[] = {1, 1, 1};
    auto byRelative = TKMakeRef<TKTrafoList>();
    TKConcatICCProfiles(list.Get(), 3, chain, lightness, 0);
    TKConcatICCProfiles(byRelative.Get(), 3, chain, relative, 0);
    // The first slot opens no bridge; FOGRA39 -> FOGRA29 gets one.
    EXPECT_EQ(CountWhiteTrafos(*list), 1);
    EXPECT_EQ(CountWhiteTrafos(*byRelative), 0);
}

TEST_F(ConcatenationTest, BridgeOfOtherClassesScalesTheWhiteUnderTheDestinations) {
    // A link whose PCS side is a device type has no bridge; two printers with intent 1 neither.
    EXPECT_FALSE(TKConcatBridge(*fogra39, *fogra29, 1));
    EXPECT_FALSE(TKConcatBridge(*link, *fogra29, 19));
    auto bridge = TKConcatBridge(*fogra39, *fogra29, 19);
    ASSERT_TRUE(bridge);
    // The paper white of FOGRA39 lands on a colour FOGRA29 still renders: its Y is at most
    // the destination paper's (with table slack) and the chromaticity is kept.
    TKVector w39 = fogra39->GetWhitePoint(true);
    w39.SetType(TKXYZSpace);
    TKVector target = bridge->Trafo(w39);
    TKVector w29 = fogra29->GetWhitePoint(true);
    EXPECT_LE(target[1], w29[1] * 1.02);
    EXPECT_NEAR(target[0] / target[1], w39[0] / w39[1], 1e-6);
    EXPECT_NEAR(target[2] / target[1], w39[2] / w39[1], 1e-6);
}

TEST_F(ConcatenationTest, BridgeFromAMonitorSearchesTheDestinationsWhite) {
    // A monitor's white counts as D50; FOGRA29 paper is darker, so the target is D50 scaled
    // down to what the press renders, keeping D50's chromaticity.
    auto bridge = TKConcatBridge(*srgb, *fogra29, 19);
    ASSERT_TRUE(bridge);
    const TKVector d50({96.42, 100.0, 82.49}, int32_t(TKXYZSpace));
    TKVector target = bridge->Trafo(d50);
    const TKVector paper = fogra29->GetWhitePoint(true);
    EXPECT_LT(target[1], 100.0);
    EXPECT_NEAR(target[1], paper[1], 0.03 * paper[1]);
    EXPECT_NEAR(target[0] / target[1], 0.9642, 1e-6);
}

TEST_F(ConcatenationTest, BridgeFromOtherClassesScalesByTheWhites) {
    // As a colour-space profile FOGRA39 is not searched: its white is scaled by the smallest
    // ratio of the destination's white to it, so that no channel passes the destination's.
    fogra39->GetHeader().deviceClass = TKICCSig("spac");
    auto bridge = TKConcatBridge(*fogra39, *fogra29, 19);
    ASSERT_TRUE(bridge);
    TKVector w = fogra39->GetWhitePoint(true);
    w.SetType(TKXYZSpace);
    const TKVector d = fogra29->GetWhitePoint(true);
    const double scale = std::min({d[0] / w[0], d[1] / w[1], d[2] / w[2]});
    TKVector target = bridge->Trafo(w);
    for (int32_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(target[c], w[c] * scale, 1e-6) << c;
        EXPECT_LE(target[c], d[c] + 1e-9) << c;
    }
}

TEST_F(ConcatenationTest, MismatchedNamedAndTablelessChainsAreRefused) {
    // After the link the chain holds CMYK, and sRGB fits that on neither side.
    TKICCProfile* chain[] = {link.Get(), srgb.Get()};
    EXPECT_TKERROR(TKConcatICCProfiles(list.Get(), 2, chain, nullptr, 0), WrongDataType);
    TKICCProfile* one[] = {fogra39.Get()};
    EXPECT_TKERROR(TKConcatICCProfiles(nullptr, 1, one, nullptr, 0), ArgErr);
    EXPECT_TKERROR(TKConcatICCProfiles(list.Get(), 1, nullptr, nullptr, 0), ArgErr);
    EXPECT_TKERROR(AppendProfile(list.Get(), nullptr, 0, true), ArgErr);
    EXPECT_TRUE(AppendProfile(nullptr, nullptr, 0, true));
    TKConcatICCProfiles(nullptr, 0, one, nullptr, 0);  // nothing to do
    auto named = Load("x11-colors.icc");
    ASSERT_EQ(named->GetHeader().deviceClass, TKICCSig("nmcl"));
    TKICCProfile* withNamed[] = {fogra39.Get(), named.Get()};
    EXPECT_TKERROR(TKConcatICCProfiles(list.Get(), 2, withNamed, nullptr, 0), TrafoCreationErr);
    // A printer without any A2B table cannot start a chain.
    fogra39->RemoveTags({TKICCSig("A2B0"), TKICCSig("A2B1"), TKICCSig("A2B2")}, true);
    TKICCProfile* tableless[] = {fogra39.Get(), fogra29.Get()};
    EXPECT_TKERROR(TKConcatICCProfiles(list.Get(), 2, tableless, nullptr, 0), MissingICCTag);
}

TEST_F(ConcatenationTest, FilesBeyondTenOrMissingAreRefused) {
    TKFileSpec spec(TKString(TestDataPath("concat/FOGRA39L.icc").c_str()));
    TKFileSpec* specs[11];
    for (auto& s : specs) s = &spec;
    EXPECT_TKERROR(TKConcatICCProfilesByFile(list.Get(), 11, specs, nullptr, 0), BufferTooSmall);
    EXPECT_TKERROR(TKConcatICCProfilesByFile(list.Get(), 2, nullptr, nullptr, 0), ArgErr);
    TKFileSpec missing(TKString(TestDataPath("concat/none.icc").c_str()));
    TKFileSpec* bad[] = {&spec, &missing};
    EXPECT_THROW(TKConcatICCProfilesByFile(list.Get(), 2, bad, nullptr, 0), TKError);
    TKFileSpec* ten[10];
    for (auto& s : ten) s = &spec;
    auto tenList = TKMakeRef<TKTrafoList>();
    TKConcatICCProfilesByFile(tenList.Get(), 10, ten, nullptr, 0);
    // Each printer between two others is passed both ways; the last one goes out to CMYK.
    EXPECT_EQ(uint32_t(tenList->GetDstType(0)), TKCMYKSpace);
    EXPECT_GE(tenList->GetCount(), 18);  // A2B, eight times B2A and A2B, B2A
}

}  // namespace
