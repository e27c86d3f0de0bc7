// The profile family of exports from a C++ host: profile objects and their trafos, concatenation
// by file with colour types, the channel options, the global options and profiles in memory,
// with every argument failure and whether it leaves an error record.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "color/TKColors.h"
#include "exported/TintaraICCProfile.h"
#include "foundation/TKHandle.h"
#include "icc/TKICCProfile.h"
#include "io/TKGlobalData.h"
#include "numeric/TKTrafo.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {

void MarkLastError() { TKError marker(MathErr, "marker"); }
bool LastErrorIsMarker() { return TKError::LastError().code() == MathErr; }

// A file spec that frees itself.
struct Spec {
    explicit Spec(const std::string& name) : spec(TKNewFileSpecRef()) {
        TKName2FileSpec(spec, TestDataPath("concat/" + name).c_str());
    }
    ~Spec() { TKFreeFileSpecRef(spec); }
    TKFileSpec* spec;
};

// A trafo reference that frees itself.
struct Ref {
    ~Ref() { TKFreeTKTrafoRef(ref); }
    TKTrafoRef ref = nullptr;
};

struct Profile {
    explicit Profile(const char* name = nullptr) : profile(TKNewICCProfileRef()) {
        if (name) {
            EXPECT_EQ(TKReadProfile(profile, Spec(name).spec), 0) << name;
        }
    }
    ~Profile() { TKFreeICCProfileRef(profile); }
    TKICCProfile* profile;
};

class ProfileExportsTest : public ::testing::Test {
protected:
    // The global data base and the shared converters live for the process: create them before
    // the first test counts live objects. Settings go to a scratch folder, never the user's.
    static void SetUpTestSuite() {
        static std::string folder = ::testing::TempDir() + "tintara-h13-prefs";
        setenv(TKGlobalData::kFolderVariable, folder.c_str(), 0);
        TKGlobalData::GetInt(kTKGlobalDensityMode);
        Profile warm("FOGRA39L.icc");
        Ref ref;
        TKGetICCProfileTrafo(&ref.ref, warm.profile, 1, 1);
        double in[4] = {0, 0, 0, 0}, out[4];
        TKDoTrafo(ref.ref, in, out);
    }
};

TEST_F(ProfileExportsTest, ProfileArgumentsAndBadFiles) {
    Profile p;
    Spec spec("FOGRA39L.icc");
    Ref ref;
    MarkLastError();
    EXPECT_EQ(TKReadProfile(nullptr, spec.spec), 3);
    EXPECT_FALSE(LastErrorIsMarker());
    EXPECT_EQ(TKReadProfile(p.profile, nullptr), 3);
    EXPECT_EQ(TKGetICCProfileTrafo(nullptr, p.profile, 1, 0), 3);
    EXPECT_EQ(TKGetICCProfileTrafo(&ref.ref, nullptr, 1, 0), 3);
    EXPECT_NE(TKReadProfile(p.profile, Spec("none.icc").spec), 0);
    // An empty profile (a "mntr" RGB header with no tags) has no colorants to build from.
    EXPECT_EQ(TKGetICCProfileTrafo(&ref.ref, p.profile, 1, 0), 32);
    EXPECT_EQ(ref.ref, nullptr);
    TKFreeICCProfileRef(nullptr);
}

TEST_F(ProfileExportsTest, PrinterWithoutTablesHasNoTrafo) {
    Profile p("FOGRA39L.icc");
    uint32_t length = 0;
    ASSERT_EQ(TKSaveProfileToMemory(p.profile, nullptr, 0, &length), 0);
    std::vector<uint8_t> block(length);
    ASSERT_EQ(TKSaveProfileToMemory(p.profile, block.data(), length, nullptr), 0);
    // Cut every A2B tag: the header stays CMYK "prtr", so no path is left.
    p.profile->RemoveTags(
        {TKICCSig("A2B0"), TKICCSig("A2B1"), TKICCSig("A2B2")}, true);
    Ref ref;
    EXPECT_EQ(TKGetICCProfileTrafo(&ref.ref, p.profile, 1, 1), 32);
    // Read back from memory, it is whole again.
    ASSERT_EQ(TKReadProfileFromMemory(p.profile, block.data(), length), 0);
    EXPECT_EQ(TKGetICCProfileTrafo(&ref.ref, p.profile, 1, 1), 0);
}

TEST_F(ProfileExportsTest, ProfilesInMemory) {
    Profile p("FOGRA29L.icc");
    uint32_t length = 0;
    EXPECT_EQ(TKSaveProfileToMemory(p.profile, nullptr, 0, nullptr), 0);
    ASSERT_EQ(TKSaveProfileToMemory(p.profile, nullptr, 0, &length), 0);
    EXPECT_GT(length, 128u);
    std::vector<uint8_t> small(16);
    EXPECT_EQ(TKSaveProfileToMemory(p.profile, small.data(), 16, nullptr), 6);
    EXPECT_EQ(TKSaveProfileToMemory(nullptr, small.data(), 16, &length), 3);
    EXPECT_EQ(TKReadProfileFromMemory(p.profile, nullptr, 10), 3);
    EXPECT_EQ(TKReadProfileFromMemory(nullptr, small.data(), 10), 3);
    // Sixteen bytes are no profile.
    EXPECT_NE(TKReadProfileFromMemory(p.profile, small.data(), 16), 0);
}

TEST_F(ProfileExportsTest, ConcatenationByFileWithTypes) {
    Spec srgb("sRGB.icc"), f39("FOGRA39L.icc");
    TKFileSpec* specs[] = {srgb.spec, f39.spec};
    const int32_t intents[] = {1, 1};
    Ref plain, typed, toLab;
    ASSERT_EQ(TKConcatICCProfiles(&plain.ref, 2, specs, intents), 0);
    EXPECT_EQ(TKGetTrafoSrcType(plain.ref), uint32_t(TKRGBSpace));
    EXPECT_EQ(TKGetTrafoDstType(plain.ref), uint32_t(TKCMYKSpace));
    ASSERT_EQ(TKConcatICCProfilesEx(&typed.ref, TKRGBSpace, TKCMYKSpace, 2, specs, nullptr), 0);
    double rgb[3] = {255, 255, 255}, a[4], b[4];
    ASSERT_EQ(TKDoTrafo(plain.ref, rgb, a), 0);
    ASSERT_EQ(TKDoTrafo(typed.ref, rgb, b), 0);
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(a[i], b[i], 1e-9);
    // A chain into Lab may be asked for XYZ: a conversion is added behind.
    TKFileSpec* one[] = {f39.spec};
    ASSERT_EQ(TKConcatICCProfilesEx(&toLab.ref, 0, TKXYZSpace, 1, one, nullptr), 0);
    EXPECT_EQ(TKGetTrafoDstType(toLab.ref), uint32_t(TKXYZSpace));
    double paper[4] = {0, 0, 0, 0}, xyz[3];
    ASSERT_EQ(TKDoTrafo(toLab.ref, paper, xyz), 0);
    EXPECT_NEAR(xyz[1], 100.0, 1.0);
}

TEST_F(ProfileExportsTest, ConcatenationFailuresLeaveNoReference) {
    Spec srgb("sRGB.icc"), f39("FOGRA39L.icc"), link("FOGRA39_to_FOGRA29_link.icc"), none("none.icc");
    TKFileSpec* specs[11];
    for (auto& s : specs) s = f39.spec;
    Ref ref;
    EXPECT_EQ(TKConcatICCProfilesEx(&ref.ref, 0, 0, 11, specs, nullptr), 6);
    EXPECT_EQ(TKConcatICCProfiles(&ref.ref, 2, nullptr, nullptr), 3);
    MarkLastError();
    EXPECT_EQ(TKConcatICCProfiles(nullptr, 1, specs, nullptr), 3);
    EXPECT_FALSE(LastErrorIsMarker());
    // CMYK out of the chain cannot be had as Lab.
    TKFileSpec* two[] = {srgb.spec, f39.spec};
    EXPECT_EQ(TKConcatICCProfilesEx(&ref.ref, 0, TKLabSpace, 2, two, nullptr), 10);
    TKFileSpec* mismatch[] = {link.spec, srgb.spec};
    EXPECT_EQ(TKConcatICCProfiles(&ref.ref, 2, mismatch, nullptr), 10);
    Spec named("x11-colors.icc");
    TKFileSpec* withNamed[] = {f39.spec, named.spec};
    EXPECT_EQ(TKConcatICCProfiles(&ref.ref, 2, withNamed, nullptr), 35);
    TKFileSpec* missing[] = {f39.spec, none.spec};
    EXPECT_NE(TKConcatICCProfiles(&ref.ref, 2, missing, nullptr), 0);
    EXPECT_EQ(ref.ref, nullptr);
}

TEST_F(ProfileExportsTest, ConcatenationOfProfileObjects) {
    Profile f39("FOGRA39L.icc"), f29("FOGRA29L.icc");
    TKICCProfile* chain[] = {f39.profile, f29.profile};
    Ref ref;
    ASSERT_EQ(TKConcatICCProfileList(&ref.ref, 2, chain, nullptr), 0);
    EXPECT_EQ(TKGetTrafoDstType(ref.ref), uint32_t(TKCMYKSpace));
    Ref none;
    EXPECT_EQ(TKConcatICCProfileList(&none.ref, 2, nullptr, nullptr), 3);
    EXPECT_EQ(TKConcatICCProfileList(nullptr, 2, chain, nullptr), 3);
}

TEST_F(ProfileExportsTest, ChannelInfoFromTheColorantTable) {
    Profile p("FOGRA39L.icc");
    char buffer[200];
    ASSERT_EQ(TKGetProfileOption(p.profile, "ChannelInfo0", buffer, sizeof buffer), 0);
    // FOGRA39's table names its first ink Cyan and gives a Lab colour.
    EXPECT_EQ(std::string(buffer).find("Cyan,Lab,"), 0u) << buffer;
    EXPECT_EQ(TKGetProfileOption(p.profile, "ChannelInfo3", nullptr, 0), 0);
    EXPECT_EQ(TKGetProfileOption(p.profile, "ChannelInfo4", buffer, sizeof buffer), 3);
    EXPECT_EQ(TKGetProfileOption(p.profile, "ChannelInfo0", buffer, 1), 6);
    std::strcpy(buffer, "keep");
    EXPECT_EQ(TKGetProfileOption(p.profile, "", buffer, 10), 0);
    EXPECT_STREQ(buffer, "keep");
    MarkLastError();
    EXPECT_EQ(TKGetProfileOption(p.profile, "channelinfo0", buffer, 10), 3);
    EXPECT_TRUE(LastErrorIsMarker());  // an unknown key leaves no record
    EXPECT_EQ(TKGetProfileOption(nullptr, "ChannelInfo0", buffer, 10), 3);
    EXPECT_FALSE(LastErrorIsMarker());
}

TEST_F(ProfileExportsTest, ChannelInfoIsWritten) {
    Profile p("FOGRA39L.icc");
    char buffer[200];
    ASSERT_EQ(TKSetProfileOption(p.profile, "ChannelInfo1", "Rubine;Lab;50 70 -10"), 0);
    ASSERT_EQ(TKGetProfileOption(p.profile, "ChannelInfo1", buffer, sizeof buffer), 0);
    std::string text(buffer);
    EXPECT_EQ(text.find("Rubine,Lab,"), 0u) << text;
    double l = 0, a = 0, b = 0;
    ASSERT_EQ(std::sscanf(text.c_str() + 11, "%lf %lf %lf", &l, &a, &b), 3) << text;
    // The table keeps 16-bit PCS values: a few thousandths of a unit.
    EXPECT_NEAR(l, 50.0, 0.01);
    EXPECT_NEAR(a, 70.0, 0.01);
    EXPECT_NEAR(b, -10.0, 0.01);
    // A name alone keeps the colour; XYZ is converted to the table's Lab.
    ASSERT_EQ(TKSetProfileOption(p.profile, "ChannelInfo1", "Magenta"), 0);
    ASSERT_EQ(TKGetProfileOption(p.profile, "ChannelInfo1", buffer, sizeof buffer), 0);
    EXPECT_EQ(std::string(buffer).find("Magenta,Lab,50"), 0u) << buffer;
    ASSERT_EQ(TKSetProfileOption(p.profile, "ChannelInfo2", "Y,XYZ,96.42 100 82.49"), 0);
    ASSERT_EQ(TKGetProfileOption(p.profile, "ChannelInfo2", buffer, sizeof buffer), 0);
    EXPECT_EQ(std::string(buffer).find("Y,Lab,100"), 0u) << buffer;
    // Values that are no colour of the type are refused; the channel keeps its colour.
    EXPECT_EQ(TKSetProfileOption(p.profile, "ChannelInfo2", "Y,Foo,1 2 3"), 10);
    EXPECT_EQ(TKSetProfileOption(p.profile, "ChannelInfo2", "Y,Lab,1 2"), 6);
    ASSERT_EQ(TKGetProfileOption(p.profile, "ChannelInfo2", buffer, sizeof buffer), 0);
    EXPECT_EQ(std::string(buffer).find("Y,Lab,100"), 0u) << buffer;
    // Outside the table: ignored.
    EXPECT_EQ(TKSetProfileOption(p.profile, "ChannelInfo9", "X,Lab,1 2 3"), 0);
    EXPECT_EQ(TKSetProfileOption(p.profile, "Channel1", "X"), 3);
    EXPECT_EQ(TKSetProfileOption(nullptr, "ChannelInfo1", "X"), 3);
}

TEST_F(ProfileExportsTest, ChannelInfoWithoutTableAndOfLinks) {
    Profile rgb("sRGB.icc"), link("FOGRA39_to_FOGRA29_link.icc");
    char buffer[200];
    // No colorant table: the standard channel of the data space.
    ASSERT_EQ(TKGetProfileOption(rgb.profile, "ChannelInfo0", buffer, sizeof buffer), 0);
    const std::string red = std::string(GetChannelName(TKRGBSpace, 0, 1).CString()) + ",RGB,";
    EXPECT_EQ(std::string(buffer).find(red), 0u) << buffer;
    // A monitor has no destination channels.
    EXPECT_EQ(TKGetProfileOption(rgb.profile, "DstChannelInfo0", buffer, sizeof buffer), 3);
    // A link keeps its output inks in "clot".
    ASSERT_EQ(TKGetProfileOption(link.profile, "DstChannelInfo3", buffer, sizeof buffer), 0);
    EXPECT_NE(std::string(buffer).find(",Lab,"), std::string::npos) << buffer;
}

TEST_F(ProfileExportsTest, GlobalOptions) {
    EXPECT_EQ(TKTintaraSetOption("DensityMode", "Status-T"), 0);
    EXPECT_EQ(TKGlobalData::GetInt(kTKGlobalDensityMode), 3);
    EXPECT_EQ(TKTintaraSetOption("DensityMode", "Status-Mx"), 0);
    EXPECT_EQ(TKGlobalData::GetInt(kTKGlobalDensityMode), 4);
    MarkLastError();
    EXPECT_EQ(TKTintaraSetOption("DensityMode", "status-t"), 3);
    EXPECT_EQ(TKTintaraSetOption("oogcolor", "0 0 0"), 3);
    EXPECT_TRUE(LastErrorIsMarker());
    EXPECT_EQ(TKGlobalData::GetInt(kTKGlobalDensityMode), 4);
    EXPECT_EQ(TKTintaraSetOption("OOGColor", "0 255 0"), 0);
    EXPECT_STREQ(TKGlobalData::GetString("OOGColor").CString(), "0 255 0");
    EXPECT_EQ(TKTintaraSetOption("OOGLimit", "3.5"), 0);
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("OOGLimit"), 3.5);
    EXPECT_EQ(TKTintaraSetOption("CustomRendering1ScaleLuminance", "0.8"), 0);
    EXPECT_EQ(TKGlobalData::GetInt("CustomIntent0/mode", -1), 1);
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("CustomIntent0/factor"), 0.8);
    EXPECT_EQ(TKTintaraSetOption("CustomRendering1MergeAbsoluteRelative", "0.25"), 0);
    EXPECT_EQ(TKGlobalData::GetInt("CustomIntent0/mode", -1), 0);
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("CustomIntent0/factor"), 0.25);
    // Malformed values are refused where they are set and leave the option as it was.
    const struct {
        const char* key;
        const char* value;
    } refused[] = {{"OOGColor", "0 255"}, {"OOGColor", "0 255 0 7"}, {"OOGColor", "0 256 0"}, {"OOGColor", "red"},
                   {"OOGLimit", "-1"}, {"OOGLimit", "nan"}, {"OOGLimit", "3.5x"}, {"OOGMethod", "dE3000"},
                   {"CustomRendering1MergeAbsoluteRelative", "1.5"}, {"CustomRendering1ScaleLuminance", "0"},
                   {"CustomRendering1ScaleLuminance", "inf"}, {"CustomRendering1ScaleLuminance", ""}};
    for (const auto& bad : refused) {
        SCOPED_TRACE(std::string(bad.key) + "=" + bad.value);
        EXPECT_EQ(TKTintaraSetOption(bad.key, bad.value), 3);
        EXPECT_NE(std::string(TKError::LastError().Describe()).find(bad.key), std::string::npos);
    }
    EXPECT_STREQ(TKGlobalData::GetString("OOGColor").CString(), "0 255 0");
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("OOGLimit"), 3.5);
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("CustomIntent0/factor"), 0.25);
    EXPECT_EQ(TKTintaraSetOption("OOGMethod", "dE00"), 0);
    EXPECT_EQ(TKTintaraSetOption("OOGColor", " 10 20,5 30 "), 0);
    EXPECT_STREQ(TKGetDensityModeName(5), "Maximum-Density");
    EXPECT_STREQ(TKGetDensityModeName(6), "Unknown");
    EXPECT_STREQ(TKGetDensityModeName(-1), "Unknown");
}

TEST_F(ProfileExportsTest, GetOptionTexts) {
    char buffer[100];
    ASSERT_EQ(TKTintaraGetOption("Version", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "1.9.120, build 24820");
    EXPECT_EQ(TKTintaraGetOption("Version", buffer, 20), 6);  // twenty characters need 21 bytes
    EXPECT_EQ(TKTintaraGetOption("Version", buffer, 21), 0);
    { TKError error(FormatErr, nullptr, nullptr, 0); }
    ASSERT_EQ(TKTintaraGetOption("Error", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "Error=19 (FormatErr)");
    ASSERT_EQ(TKTintaraGetOption("LastErrorString", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "Error=19 (FormatErr)");
    EXPECT_EQ(TKTintaraGetOption("Error", buffer, 1), 6);
    EXPECT_EQ(TKTintaraGetOption("Other", buffer, sizeof buffer), 9);
    EXPECT_EQ(TKTintaraGetOption("Other", buffer, 0), 6);  // the size test comes first
}

}  // namespace
