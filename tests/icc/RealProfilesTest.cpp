// Real profiles (tests/data/icc): byte-exact round trips, profile IDs, tag values against
// independent dumpers, and a checked-in text dump per profile.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "icc/TKICCColorantTags.h"
#include "icc/TKICCNumberTags.h"
#include "icc/TKICCProfile.h"
#include "icc/TKICCTextTags.h"
#include "io/TKBuffer.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {

using Bytes = std::vector<uint8_t>;

// v2 and v4; matrix/TRC RGB, gray with XYZ and Lab PCS, abstract, named colour, CMYK, links.
const char* const kProfiles[] = {
    "AdobeCompat-v2.icc", "Bluish-v4.icc",        "CineLogCurve-abstract-v2.icc",
    "CineonLog-v2.icc",   "Crayons-named-v4.icc", "FOGRA39-to-FOGRA29-link-v2.icc",
    "FOGRA39L-cmyk-v2.icc", "Gray-v2.icc",        "GrayLab-v2.icc",
    "LStar-RGB-v2.icc",   "Rec709-v4.icc",        "sRGB-to-FOGRA39-link-v2.icc",
    "sRGB-v2.icc",        "sRGB-v4.icc",
};

Bytes LoadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

std::string IccPath(const char* name) { return TestDataPath(std::string("icc/") + name); }

TKRefPtr<TKICCProfile> Load(const char* name) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(IccPath(name).c_str())), 2);
    return profile;
}

Bytes Write(TKICCProfileBasic& profile) {
    TKBuffer out;
    profile.Write(out, 0, false, false);
    uint32_t n = 0;
    const uint8_t* data = out.GetData(&n);
    return Bytes(data, data + n);
}

// Every tag's block in file order, with its place.
std::string TagFingerprint(TKICCProfileBasic& profile) {
    std::ostringstream s;
    for (int32_t i = 0; i < profile.GetTagCount(); ++i) {
        TKICCTag* tag = profile.GetTagAt(i);
        uint32_t n = 0;
        const uint8_t* data = tag->GetData(&n, kBigEndian);
        s << TKString::FromSignature(tag->GetSignature()).CString() << ' ' << tag->GetType() << ' '
          << tag->GetOffset() << ' ' << tag->GetSize() << ' ' << std::string(reinterpret_cast<const char*>(data), n)
          << '\n';
    }
    return s.str();
}

// The header, then for each tag its place and what it says about itself.
std::string TextDump(TKICCProfile& profile) {
    std::string text = profile.HeaderText().CString();
    for (int32_t i = 0; i < profile.GetTagCount(); ++i) {
        TKICCTag* tag = profile.GetTagAt(i);
        text += TKString::Format("Tag %s %s offset %u size %u%s\n", TKString::FromSignature(tag->GetSignature()).CString(),
                                 TKString::FromSignature(tag->GetType()).CString(), unsigned(tag->GetOffset()),
                                 unsigned(tag->GetSize()), tag->IsValid() ? "" : " invalid")
                    .CString();
        try {
            text += std::string("  ") + tag->GetSummary().CString() + "\n";
        } catch (const TKError& e) {
            text += TKString::Format("  error %d\n", int(e.code())).CString();
        }
    }
    return text;
}

}  // namespace

// Written back without recalculation, every profile gives its own bytes again, apart from the
// size field, the profile ID (zero in a stream) and bytes that stand behind the last tag.
TEST(ICCRealProfiles, RoundTripByteForByte) {
    int roundTripped = 0;
    for (const char* name : kProfiles) {
        SCOPED_TRACE(name);
        Bytes original = LoadFile(IccPath(name));
        ASSERT_GT(original.size(), 128u);
        auto profile = Load(name);
        for (int32_t i = 0; i < profile->GetTagCount(); ++i) {  // interpret every tag, swapping blocks
            TKICCTag* tag = profile->GetTagAt(i);
            try {
                tag->GetSummary();
            } catch (const TKError& e) {
                ADD_FAILURE() << TKString::FromSignature(tag->GetSignature()).CString() << " error " << e.code();
            }
        }
        Bytes written = Write(*profile);
        uint64_t end = 0;
        for (int32_t i = 0; i < profile->GetTagCount(); ++i)
            end = std::max<uint64_t>(end, uint64_t(profile->GetTagAt(i)->GetOffset()) + profile->GetTagAt(i)->GetSize());
        ASSERT_GE(written.size(), end);
        ASSERT_GE(original.size(), end);
        EXPECT_EQ(Bytes(written.begin() + 4, written.begin() + 84), Bytes(original.begin() + 4, original.begin() + 84));
        EXPECT_EQ(Bytes(written.begin() + 84, written.begin() + 100), Bytes(16, 0));
        EXPECT_TRUE(std::equal(written.begin() + 100, written.begin() + std::ptrdiff_t(end), original.begin() + 100));
        uint32_t size = uint32_t(written[0]) << 24 | uint32_t(written[1]) << 16 | uint32_t(written[2]) << 8 | written[3];
        EXPECT_EQ(size, written.size());

        auto again = TKMakeRef<TKICCProfile>();
        TKBuffer in(written.data(), uint32_t(written.size()));
        again->Read(in, 2);
        EXPECT_EQ(TagFingerprint(*again), TagFingerprint(*profile));
        ++roundTripped;
    }
    EXPECT_EQ(roundTripped, 14);
}

// The v4 profiles carry IDs made by their producer; recomputing them from the files must agree,
// and a file written back without recalculation gets the very same bytes and ID.
TEST(ICCRealProfiles, ProfileIDsOfVersion4Files) {
    for (const char* name : {"Bluish-v4.icc", "Crayons-named-v4.icc", "Rec709-v4.icc", "sRGB-v4.icc"}) {
        SCOPED_TRACE(name);
        Bytes original = LoadFile(IccPath(name));
        uint8_t id[16];
        TKICCProfileBasic::ComputeProfileID(TKFileSpec(TKString(IccPath(name).c_str())), id, nullptr);
        EXPECT_EQ(0, std::memcmp(id, original.data() + 84, 16));
        auto profile = Load(name);
        std::string path = ::testing::TempDir() + "TKRealProfileID.icc";
        profile->WriteFile(TKFileSpec(TKString(path.c_str())), 0, false, false);
        EXPECT_EQ(LoadFile(path), original);
        std::remove(path.c_str());
    }
}

// Values printed by ArgyllCMS iccdump 2.x (Debian package "argyll", iccdump -v3 -t <tag>) for the
// version 2 profiles; it prints 8 decimals, so the tolerance is 5e-9 (XYZ) and 1e-8 (curves).
TEST(ICCRealProfiles, Version2ValuesAgreeWithIccdump) {
    struct XYZRow {
        const char* profile;
        const char* tag;
        double x, y, z;
    } xyzRows[] = {
        {"AdobeCompat-v2.icc", "wtpt", 0.95045471, 1.00000000, 1.08905029},
        {"AdobeCompat-v2.icc", "rXYZ", 0.60974121, 0.31111145, 0.01947021},
        {"AdobeCompat-v2.icc", "gXYZ", 0.20527649, 0.62567139, 0.06086731},
        {"AdobeCompat-v2.icc", "bXYZ", 0.14918518, 0.06321716, 0.74456787},
        {"sRGB-v2.icc", "wtpt", 0.95014954, 1.00000000, 1.08825684},
        {"sRGB-v2.icc", "gXYZ", 0.38533020, 0.71704102, 0.09713745},
        {"LStar-RGB-v2.icc", "rXYZ", 0.65026855, 0.32028198, 0.00000000},
        {"LStar-RGB-v2.icc", "bXYZ", 0.13587952, 0.07766724, 0.75708008},
        {"CineonLog-v2.icc", "rXYZ", 0.43609619, 0.22250366, 0.01390076},
        {"FOGRA39L-cmyk-v2.icc", "wtpt", 0.84481812, 0.87625122, 0.74618530},
        {"FOGRA39L-cmyk-v2.icc", "bkpt", 0.00871277, 0.00891113, 0.00787354},
        {"Gray-v2.icc", "wtpt", 0.96420288, 1.00000000, 0.82490540},
    };
    for (const auto& row : xyzRows) {
        SCOPED_TRACE(std::string(row.profile) + " " + row.tag);
        auto profile = Load(row.profile);
        TKVector xyz = profile->GetXYZTag(TKString(row.tag).ToSignature(), 1.0);
        ASSERT_EQ(xyz.GetDim(), 3);
        EXPECT_NEAR(xyz[0], row.x, 5e-9);
        EXPECT_NEAR(xyz[1], row.y, 5e-9);
        EXPECT_NEAR(xyz[2], row.z, 5e-9);
    }

    struct TextRow {
        const char* profile;
        const char* tag;
        const char* text;
    } textRows[] = {
        {"AdobeCompat-v2.icc", "desc", "Compatible with Adobe RGB (1998)"},
        {"AdobeCompat-v2.icc", "cprt", "Public Domain. No Warranty, Use at own risk."},
        {"sRGB-v2.icc", "desc", "sRGB"},
        {"sRGB-v2.icc", "cprt", "no copyright, use freely"},
        {"Gray-v2.icc", "cprt", "Copyright (C) 2005-2008 Kai-Uwe Behrmann <www.behrmann.name>"},
        {"GrayLab-v2.icc", "desc", "Gray CIE*L"},
        {"CineonLog-v2.icc", "desc", "CineonLog M "},
        {"LStar-RGB-v2.icc", "desc", "Lstar-RGB.icc"},  // from the Unicode part, which is complete
        {"FOGRA39L-cmyk-v2.icc", "desc", "FOGRA39L test"},
        {"FOGRA39-to-FOGRA29-link-v2.icc", "desc", "FOGRA39_to_FOGRA29_link.icc"},
    };
    for (const auto& row : textRows) {
        SCOPED_TRACE(std::string(row.profile) + " " + row.tag);
        EXPECT_STREQ(Load(row.profile)->GetTagText(TKString(row.tag).ToSignature()).CString(), row.text);
    }

    struct CurveRow {
        const char* profile;
        const char* tag;
        int32_t count;
        int32_t index;
        double value;
    } curveRows[] = {
        {"AdobeCompat-v2.icc", "rTRC", 1, 0, 2.19921875},
        {"Gray-v2.icc", "kTRC", 1, 0, 1.0},
        {"GrayLab-v2.icc", "kTRC", 1, 0, 1.0},
        {"LStar-RGB-v2.icc", "rTRC", 256, 1, 0.00042725},
        {"LStar-RGB-v2.icc", "rTRC", 256, 100, 0.10785077},
        {"LStar-RGB-v2.icc", "rTRC", 256, 255, 1.0},
        {"CineonLog-v2.icc", "rTRC", 256, 2, 0.0},
        {"CineonLog-v2.icc", "rTRC", 256, 100, 0.10353246},
        {"sRGB-v2.icc", "rTRC", 1024, 1, 0.00007630},
        {"sRGB-v2.icc", "rTRC", 1024, 255, 0.05058366},
        {"sRGB-v2.icc", "rTRC", 1024, 512, 0.21449607},
        {"sRGB-v2.icc", "rTRC", 1024, 1000, 0.94961471},
    };
    for (const auto& row : curveRows) {
        SCOPED_TRACE(std::string(row.profile) + " " + row.tag);
        auto profile = Load(row.profile);
        auto* tag = TKCast<TKICCCurveTag>(profile->GetTag(TKString(row.tag).ToSignature()), "TKICCCurveTag");
        ASSERT_NE(tag, nullptr);
        TKVector curve = tag->GetCurve(0.0, 1.0);
        ASSERT_EQ(curve.GetDim(), row.count);
        EXPECT_NEAR(curve[row.index], row.value, 1e-8);
    }
}

// iccdump prints colorant Lab in the legacy encoding in which 0xFF00 is L 100; this system
// reads "clrt" L on 0..0xFFFF, so its L is iccdump's times 65280 / 65535. a and b agree directly.
TEST(ICCRealProfiles, ColorantTablesAgreeWithIccdump) {
    struct Row {
        const char* profile;
        const char* tag;
        int32_t index;
        const char* name;
        double l, a, b;
    } rows[] = {
        {"FOGRA39L-cmyk-v2.icc", "clrt", 0, "Cyan", 58.120404, -39.710938, -50.480469},
        {"FOGRA39L-cmyk-v2.icc", "clrt", 1, "Magenta", 50.925245, 77.410156, -1.785156},
        {"FOGRA39L-cmyk-v2.icc", "clrt", 2, "Yellow", 93.783701, -4.691406, 97.886719},
        {"FOGRA39L-cmyk-v2.icc", "clrt", 3, "Black", 17.428002, 0.007812, 0.609375},
        {"FOGRA39-to-FOGRA29-link-v2.icc", "clot", 0, "Cyan", 61.832108, -28.933594, -42.328125},
        {"FOGRA39-to-FOGRA29-link-v2.icc", "clot", 3, "Black", 33.625919, 1.910156, 3.171875},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.profile) + " " + row.name);
        auto profile = Load(row.profile);
        auto* tag = TKCast<TKColorantTableTag>(profile->GetTag(TKString(row.tag).ToSignature()), "TKColorantTableTag");
        ASSERT_NE(tag, nullptr);
        EXPECT_EQ(tag->GetCount(), 4);
        EXPECT_STREQ(tag->GetName(row.index).CString(), row.name);
        TKVector lab = tag->GetPCS(row.index);
        EXPECT_NEAR(lab[0], row.l * 65280.0 / 65535.0, 1e-5);
        EXPECT_NEAR(lab[1], row.a, 1e-5);
        EXPECT_NEAR(lab[2], row.b, 1e-5);
    }
}

// Values read by Little CMS 2 (Debian liblcms2-2 through python3-pil: ImageCms profile attributes
// profile_description, copyright, media_white_point, red/green/blue_colorant, chromatic_adaptation),
// printed as doubles: exact s15Fixed16 values.
TEST(ICCRealProfiles, Version4ValuesAgreeWithLittleCMS) {
    const char* free = "This profile is free of known copyright restrictions";
    struct Row {
        const char* profile;
        const char* desc;
        double white[3];
        double red[3];
        double chad[3];  // first row
    } rows[] = {
        {"sRGB-v4.icc", "sRGB", {0.964202880859375, 1.0, 0.8249053955078125},
         {0.43585205078125, 0.222381591796875, 0.013916015625},
         {1.048004150390625, 0.0229949951171875, -0.050140380859375}},
        {"Rec709-v4.icc", "Rec. 709", {0.964202880859375, 1.0, 0.8249053955078125},
         {0.43585205078125, 0.222381591796875, 0.013916015625},
         {1.048004150390625, 0.0229949951171875, -0.050140380859375}},
        {"Bluish-v4.icc", "Blue", {0.964202880859375, 1.0, 0.8249053955078125},
         {0.43603515625, 0.2224884033203125, 0.013916015625},
         {1.047882080078125, 0.022918701171875, -0.0502166748046875}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.profile);
        auto profile = Load(row.profile);
        EXPECT_STREQ(profile->GetDescription().CString(), row.desc);
        EXPECT_STREQ(profile->GetTagText(TKICCSig("cprt")).CString(), free);
        TKVector white = profile->GetWhitePoint();
        TKVector r, g, b;
        profile->GetRGBColorants(r, g, b);
        auto* chad = TKCast<TKChromaticAdaptationTag>(profile->GetTag(TKICCSig("chad")), "TKChromaticAdaptationTag");
        ASSERT_NE(chad, nullptr);
        TKMatrix m = chad->GetMatrix();
        for (int i = 0; i < 3; ++i) {
            EXPECT_DOUBLE_EQ(white[i], row.white[i] * 100);
            EXPECT_DOUBLE_EQ(r[i], row.red[i] * 100);
            EXPECT_DOUBLE_EQ(m(0, i), row.chad[i]);
        }
    }
    EXPECT_STREQ(Load("Crayons-named-v4.icc")->GetDescription().CString(), "Crayon Colors");
    // Green and blue of sRGB, and the last adaptation row, from the same source.
    auto srgb = Load("sRGB-v4.icc");
    TKVector r, g, b;
    srgb->GetRGBColorants(r, g, b);
    EXPECT_DOUBLE_EQ(g[1], 0.717041015625 * 100);
    EXPECT_DOUBLE_EQ(b[2], 0.713836669921875 * 100);
    auto* chad = TKCast<TKChromaticAdaptationTag>(srgb->GetTag(TKICCSig("chad")), "TKChromaticAdaptationTag");
    EXPECT_DOUBLE_EQ(chad->GetMatrix()(2, 2), 0.75225830078125);
}

// The sRGB curve parameters published in IEC 61966-2-1: g 2.4, a 1/1.055, b 0.055/1.055,
// c 1/12.92, d 0.04045, stored to s15Fixed16 precision.
TEST(ICCRealProfiles, ParametricCurveOfSRGB) {
    auto profile = Load("sRGB-v4.icc");
    auto* para = TKCast<TKICCParametricCurveTag>(profile->GetTag(TKICCSig("gTRC")), "TKICCParametricCurveTag");
    ASSERT_NE(para, nullptr);
    int32_t type = -1;
    TKVector p = para->GetCurve(&type);
    EXPECT_EQ(type, 3);
    const double expected[5] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    ASSERT_EQ(p.GetDim(), 5);
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(p[i], expected[i], 1.0 / 65536);
}

// Named colours as Little CMS 2 reports them (cmsNamedColorInfo through ctypes on liblcms2.so.2):
// names and raw 16-bit PCS words. Lab here is the legacy encoding: L = w / 65280 * 100 and
// a, b = w / 256 - 128; the device side is the profile's Lab colour space in its 16-bit range.
TEST(ICCRealProfiles, NamedColorsAgreeWithLittleCMS) {
    struct Row {
        int32_t index;
        const char* name;
        uint16_t words[3];
    } rows[] = {{0, "White", {59637, 33109, 34962}},
                {1, "Apricot", {46530, 41218, 43287}},
                {2, "Carnation_Pink", {35389, 48087, 32153}},  // "Carnation Pink", blanks made "_"
                {23, "Green", {19661, 27671, 34158}}};
    auto profile = Load("Crayons-named-v4.icc");
    auto* ncl2 = TKCast<TKNamedColor2TypeTag>(profile->GetTag(TKICCSig("ncl2")), "TKNamedColor2TypeTag");
    ASSERT_NE(ncl2, nullptr);
    EXPECT_EQ(ncl2->GetCount(), 24);
    EXPECT_EQ(ncl2->GetDeviceChannels(), 3);
    EXPECT_EQ(ncl2->GetDeviceSpace(), TKICCSig("Lab "));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_STREQ(ncl2->GetColorName(row.index).CString(), row.name);
        TKVector lab = ncl2->GetPCS(row.index);
        EXPECT_NEAR(lab[0], row.words[0] / 65280.0 * 100, 1e-9);
        EXPECT_NEAR(lab[1], row.words[1] / 256.0 - 128, 1e-9);
        EXPECT_NEAR(lab[2], row.words[2] / 256.0 - 128, 1e-9);
        TKVector device = ncl2->GetDevice(row.index);
        EXPECT_NEAR(device[0], row.words[0] / 65535.0 * 100, 1e-9);
    }
}

// One text dump per profile under tests/data/icc/dumps; a failing comparison shows what changed.
// Run with TINTARA_UPDATE_DUMPS=1 to rewrite them after an intended change.
TEST(ICCRealProfiles, TextDumpsMatchCheckedInFiles) {
    bool update = std::getenv("TINTARA_UPDATE_DUMPS") != nullptr;
    for (const char* name : kProfiles) {
        SCOPED_TRACE(name);
        auto profile = Load(name);
        std::string dump = TextDump(*profile);
        std::string path = IccPath("dumps/") + name + ".txt";
        if (update) {
            std::ofstream(path, std::ios::binary) << dump;
            continue;
        }
        Bytes expected = LoadFile(path);
        EXPECT_EQ(dump, std::string(expected.begin(), expected.end()));
    }
}
