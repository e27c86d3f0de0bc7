// TKICCProfileBasic and TKICCProfile on profiles built in memory: reading levels, hostile tables,
// writing with shared data, sorting, offsets, text tag adaptation, header text and helpers.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "icc/TKICCDataTags.h"
#include "icc/TKICCNumberTags.h"
#include "icc/TKICCProfile.h"
#include "icc/TKICCSequenceIdentifierTag.h"
#include "icc/TKICCTextTags.h"
#include "icc/TKMD5.h"
#include "io/TKBuffer.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes ToBytes(TKBuffer& buffer) {
    uint32_t n = 0;
    const uint8_t* data = buffer.GetData(&n);
    return Bytes(data, data + n);
}

Bytes WriteProfile(TKICCProfileBasic& profile, int32_t flags = 0, bool sort = false, bool recalculate = true) {
    TKBuffer out;
    profile.Write(out, flags, sort, recalculate);
    return ToBytes(out);
}

TKRefPtr<TKICCProfile> ReadProfile(const Bytes& bytes, int32_t level = 2) {
    auto profile = TKMakeRef<TKICCProfile>();
    TKBuffer in(bytes.data(), uint32_t(bytes.size()));
    profile->Read(in, level);
    return profile;
}

uint32_t U32At(const Bytes& b, size_t at) {
    return uint32_t(b[at]) << 24 | uint32_t(b[at + 1]) << 16 | uint32_t(b[at + 2]) << 8 | b[at + 3];
}
void SetU32At(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + size_t(i)] = uint8_t(v >> (24 - 8 * i));
}

// A small matrix-shaper profile with a text description and a white point.
TKRefPtr<TKICCProfile> SmallProfile() {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->AddTextTag(TKICCSig("cprt"), "No rights reserved");
    profile->AddDescription("Small");
    profile->AddWhitePoint(TKVector({96.42, 100.0, 82.49}, TKXYZSpace));
    profile->AddCurveTag(TKICCSig("rTRC"), TKVector({2.2}));
    return profile;
}

// A profile of `count` XYZ tags whose table entries all point at one body.
Bytes ProfileWithSharedTags(uint32_t count) {
    Bytes b(128, 0);
    SetU32At(b, 36, TKICCSig("acsp"));
    b.resize(132 + 12 * size_t(count), 0);
    SetU32At(b, 128, count);
    uint32_t body = 132 + 12 * count;
    for (uint32_t i = 0; i < count; ++i) {
        SetU32At(b, 132 + 12 * i, 0x41000000u + i);  // distinct signatures
        SetU32At(b, 136 + 12 * i, body);
        SetU32At(b, 140 + 12 * i, 20);
    }
    Bytes xyz = {'X', 'Y', 'Z', ' ', 0, 0, 0, 0, 0, 0, 0xF6, 0xD6, 0, 1, 0, 0, 0, 0, 0xD3, 0x2D};
    b.insert(b.end(), xyz.begin(), xyz.end());
    SetU32At(b, 0, uint32_t(b.size()));
    return b;
}

}  // namespace

TEST(ICCProfileRead, HeaderOnlyFile) {
    Bytes header(128, 0);
    SetU32At(header, 36, TKICCSig("acsp"));
    SetU32At(header, 16, TKICCSig("CMYK"));
    auto profile = ReadProfile(header, 0);
    EXPECT_EQ(profile->GetHeader().colorSpace, TKICCSig("CMYK"));
    EXPECT_STREQ(profile->GetName().CString(), "TKStream\tPos:0");
    EXPECT_TKERROR(ReadProfile(header, 1), FormatErr);
}

TEST(ICCProfileRead, BadMagicAndShortHeader) {
    Bytes header(128, 0);
    try {
        ReadProfile(header, 0);
        ADD_FAILURE();
    } catch (const TKError& e) {
        EXPECT_EQ(e.code(), FormatErr);
        EXPECT_STREQ(e.message(), "TKStream");  // the stream's name
    }
    SetU32At(header, 36, TKICCSig("acsp"));
    header.resize(127);
    EXPECT_TKERROR(ReadProfile(header, 0), FormatErr);
}

TEST(ICCProfileRead, TagCountLimit) {
    auto profile = ReadProfile(ProfileWithSharedTags(1000));
    EXPECT_EQ(profile->GetTagCount(), 1000);
    Bytes tooMany = ProfileWithSharedTags(1001);
    EXPECT_TKERROR(ReadProfile(tooMany, 1), FormatErr);
}

TEST(ICCProfileRead, OldMultiChannelNames) {
    EXPECT_EQ(TKICCProfileBasic::TranslateOldSpace(TKICCSig("MCHA")), TKICCSig("BCLR"));
    EXPECT_EQ(TKICCProfileBasic::TranslateOldSpace(TKICCSig("MCH@")), TKICCSig("ACLR"));
    EXPECT_EQ(TKICCProfileBasic::TranslateOldSpace(TKICCSig("MCH1")), TKICCSig("1CLR"));
    EXPECT_EQ(TKICCProfileBasic::TranslateOldSpace(TKICCSig("MCHE")), TKICCSig("FCLR"));
    EXPECT_EQ(TKICCProfileBasic::TranslateOldSpace(TKICCSig("MCH:")), TKICCSig("MCH:"));
    EXPECT_EQ(TKICCProfileBasic::TranslateOldSpace(TKICCSig("MCHF")), TKICCSig("MCHF"));
    Bytes b = ProfileWithSharedTags(1);
    SetU32At(b, 16, TKICCSig("MCHA"));
    SetU32At(b, 20, TKICCSig("MCH6"));
    auto profile = ReadProfile(b, 0);
    EXPECT_EQ(profile->GetHeader().colorSpace, TKICCSig("BCLR"));
    EXPECT_EQ(profile->GetHeader().pcs, TKICCSig("6CLR"));
}

TEST(ICCProfileRead, HostileTables) {
    Bytes good = ProfileWithSharedTags(2);
    Bytes pastEnd = good;
    SetU32At(pastEnd, 136, uint32_t(good.size()) - 8);  // body runs past the end
    EXPECT_TKERROR(ReadProfile(pastEnd), FormatErr);
    Bytes hugeSize = good;
    SetU32At(hugeSize, 140, 0xFFFFFFF0u);
    EXPECT_TKERROR(ReadProfile(hugeSize), FormatErr);
    Bytes hugeOffset = good;
    SetU32At(hugeOffset, 136, 0xFFFFFFFCu);
    EXPECT_TKERROR(ReadProfile(hugeOffset, 1), FormatErr);
    Bytes shortTable = good;
    SetU32At(shortTable, 128, 900);  // 900 entries do not fit in the bytes that follow
    EXPECT_TKERROR(ReadProfile(shortTable, 1), FormatErr);
    Bytes truncated(good.begin(), good.end() - 4);
    EXPECT_TKERROR(ReadProfile(truncated), FormatErr);
    // A tag too small for its own type head is read as an empty tag of its type.
    Bytes tiny = good;
    SetU32At(tiny, 140, 3);
    auto profile = ReadProfile(tiny);
    EXPECT_EQ(profile->GetTagAt(0)->GetDataSize(), 0u);
    EXPECT_EQ(profile->GetTagAt(0)->GetSize(), 8u);
    EXPECT_EQ(profile->GetTagAt(0)->GetType(), TKICCSig("XYZ "));
}

TEST(ICCProfileRead, SharedOffsetsGiveOwnCopies) {
    auto profile = ReadProfile(ProfileWithSharedTags(2));
    TKICCTag* a = profile->GetTagAt(0);
    TKICCTag* b = profile->GetTagAt(1);
    EXPECT_NE(a, b);
    EXPECT_EQ(a->GetOffset(), b->GetOffset());
    TKCast<TKICCXYZTag>(a, "TKICCXYZTag")->SetXYZ(TKVector({0.5, 0.5, 0.5}));
    EXPECT_DOUBLE_EQ(TKCast<TKICCXYZTag>(b, "TKICCXYZTag")->GetXYZ()[0], 0xF6D6 / 65536.0);
}

TEST(ICCProfileWrite, SharedDataSurvivesWithoutRecalculation) {
    Bytes original = ProfileWithSharedTags(2);
    auto profile = ReadProfile(original);
    Bytes shared = WriteProfile(*profile, 0, false, false);
    EXPECT_EQ(shared, original);
    EXPECT_EQ(profile->GetTagAt(1)->GetOffset(), profile->GetTagAt(0)->GetOffset());
    Bytes separate = WriteProfile(*profile, 0, false, true);
    EXPECT_EQ(separate.size(), original.size() + 20);
    EXPECT_EQ(U32At(separate, 0), separate.size());
    EXPECT_NE(U32At(separate, 136), U32At(separate, 148));
}

// A real profile whose A2B0/A2B1/A2B2, B2A0/B2A1/B2A2 and targ/DevD/CIED entries each share one
// body (FOGRA39L as published, 246876 bytes). Kept offsets keep the sharing and the size; a
// recalculation gives each of the 16 tags a place of its own: 132 + 12 x 16 bytes of header and
// table plus the sum of the padded tag sizes, 715324 bytes. Either way the tags read back alike.
TEST(ICCProfileWrite, SharedBodiesOfARealProfile) {
    std::ifstream in(TestDataPath("icc/FOGRA39L-cmyk-v2.icc"), std::ios::binary);
    const Bytes original((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_EQ(original.size(), 246876u);
    auto profile = ReadProfile(original);
    ASSERT_EQ(profile->GetTagCount(), 16);
    auto offsetOf = [](TKICCProfileBasic& p, uint32_t sig) { return p.GetTag(sig, false)->GetOffset(); };
    auto bodyOf = [](TKICCProfileBasic& p, uint32_t sig) {
        uint32_t n = 0;
        const uint8_t* data = p.GetTag(sig, false)->GetData(&n, kBigEndian);
        return Bytes(data, data + n);
    };

    Bytes kept = WriteProfile(*profile, 0, false, false);
    EXPECT_EQ(kept.size(), original.size());
    auto keptBack = ReadProfile(kept);
    EXPECT_EQ(offsetOf(*keptBack, TKICCSig("A2B1")), offsetOf(*keptBack, TKICCSig("A2B0")));
    EXPECT_EQ(offsetOf(*keptBack, TKICCSig("A2B2")), offsetOf(*keptBack, TKICCSig("A2B0")));
    EXPECT_EQ(offsetOf(*keptBack, TKICCSig("DevD")), offsetOf(*keptBack, TKICCSig("targ")));
    EXPECT_NE(offsetOf(*keptBack, TKICCSig("B2A0")), offsetOf(*keptBack, TKICCSig("A2B0")));

    Bytes placed = WriteProfile(*profile, 0, false, true);
    EXPECT_EQ(placed.size(), 715324u);
    EXPECT_EQ(U32At(placed, 0), placed.size());
    auto placedBack = ReadProfile(placed);
    std::vector<uint32_t> offsets;
    for (int32_t i = 0; i < placedBack->GetTagCount(); ++i) {
        TKICCTag* tag = placedBack->GetTagAt(i);
        SCOPED_TRACE(TKString::FromSignature(tag->GetSignature()).CString());
        EXPECT_EQ(std::count(offsets.begin(), offsets.end(), tag->GetOffset()), 0);
        offsets.push_back(tag->GetOffset());
        EXPECT_EQ(bodyOf(*placedBack, tag->GetSignature()), bodyOf(*keptBack, tag->GetSignature()));
    }
    EXPECT_EQ(bodyOf(*placedBack, TKICCSig("A2B2")), bodyOf(*placedBack, TKICCSig("A2B0")));
}

TEST(ICCProfileWrite, SortedOrderAndOffsets) {
    auto profile = SmallProfile();
    profile->AddTextTag(TKICCSig("zzzz"), "private");
    Bytes bytes = WriteProfile(*profile, 0, true, true);
    std::vector<uint32_t> order;
    for (int32_t i = 0; i < profile->GetTagCount(); ++i) order.push_back(profile->GetTagAt(i)->GetSignature());
    EXPECT_EQ(order, (std::vector<uint32_t>{TKICCSig("desc"), TKICCSig("cprt"), TKICCSig("wtpt"), TKICCSig("rTRC"),
                                            TKICCSig("zzzz")}));
    // Each body starts where the one before it ended, padded, right behind the table.
    uint32_t expected = 132 + 12 * 5;
    for (uint32_t i = 0; i < 5; ++i) {
        EXPECT_EQ(U32At(bytes, 136 + 12 * i), expected);
        expected += (U32At(bytes, 140 + 12 * i) + 3) & ~3u;
    }
    EXPECT_EQ(expected, bytes.size());
    EXPECT_EQ(U32At(bytes, 0), bytes.size());
    auto back = ReadProfile(bytes);
    EXPECT_STREQ(back->GetDescription().CString(), "Small");
    EXPECT_STREQ(back->GetTagText(TKICCSig("cprt")).CString(), "No rights reserved");
    EXPECT_STREQ(back->GetTagText(TKICCSig("zzzz")).CString(), "private");
}

TEST(ICCProfileWrite, ChangedTextIsPlacedAnew) {
    Bytes bytes = WriteProfile(*SmallProfile());
    auto profile = ReadProfile(bytes);
    EXPECT_TRUE(profile->SetTagText(TKICCSig("cprt"), "A much longer copyright text than before"));
    auto back = ReadProfile(WriteProfile(*profile, 0, false, false));
    EXPECT_STREQ(back->GetTagText(TKICCSig("cprt")).CString(), "A much longer copyright text than before");
    EXPECT_STREQ(back->GetDescription().CString(), "Small");
    // The profile class adds a text tag where none was.
    EXPECT_TRUE(profile->SetTagText(TKICCSig("targ"), "FOGRA39"));
    EXPECT_STREQ(profile->GetTagText(TKICCSig("targ")).CString(), "FOGRA39");
    EXPECT_FALSE(profile->SetTagText(TKICCSig("wtpt"), "not a text tag"));
}

TEST(ICCProfileWrite, AdaptTextTags) {
    auto profile = SmallProfile();  // "desc" as mluc, "cprt" as text
    profile->GetHeader().version = 0x04200000;
    profile->AdaptTextTags(kICCWriteVersion2 | kICCWriteVersion4);  // 2 wins
    EXPECT_EQ(profile->GetHeader().version, 0x02400000u);
    EXPECT_EQ(profile->GetTag(TKICCSig("desc"))->GetType(), TKICCSig("desc"));
    EXPECT_EQ(profile->GetTag(TKICCSig("cprt"))->GetType(), TKICCSig("text"));
    EXPECT_STREQ(profile->GetDescription().CString(), "Small");
    EXPECT_EQ(profile->GetTagAt(1)->GetSignature(), TKICCSig("desc"));  // same place in the list
    auto back = ReadProfile(WriteProfile(*profile, kICCWriteVersion4));
    EXPECT_EQ(back->GetHeader().version, 0x04200000u);
    EXPECT_EQ(back->GetTag(TKICCSig("desc"))->GetType(), TKICCSig("mluc"));
    EXPECT_EQ(back->GetTag(TKICCSig("cprt"))->GetType(), TKICCSig("mluc"));
    EXPECT_STREQ(back->GetTagText(TKICCSig("cprt")).CString(), "No rights reserved");
}

TEST(ICCProfileWrite, ProfileIDOnlyInFiles) {
    auto profile = SmallProfile();
    profile->GetHeader().version = 0x04200000;
    uint8_t id[16];
    std::memset(id, 0x5A, 16);
    profile->SetProfileID(id);
    Bytes streamed = WriteProfile(*profile);
    EXPECT_EQ(Bytes(streamed.begin() + 84, streamed.begin() + 100), Bytes(16, 0));

    std::string path = ::testing::TempDir() + "TKProfileIDTest.icc";
    TKFileSpec spec(TKString(path.c_str()));
    profile->WriteFile(spec);
    std::ifstream in(path, std::ios::binary);
    Bytes file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_EQ(file.size(), streamed.size());
    // The ID is the MD5 of the file with flags, intent and the ID field zeroed.
    Bytes zeroed = file;
    std::fill(zeroed.begin() + 44, zeroed.begin() + 48, 0);
    std::fill(zeroed.begin() + 64, zeroed.begin() + 68, 0);
    std::fill(zeroed.begin() + 84, zeroed.begin() + 100, 0);
    TKMD5::Digest digest = TKMD5::Of(zeroed.data(), zeroed.size());
    EXPECT_EQ(Bytes(file.begin() + 84, file.begin() + 100), Bytes(digest.begin(), digest.end()));
    uint8_t whole[16];
    TKICCProfileBasic::ComputeProfileID(spec, nullptr, whole);
    TKMD5::Digest all = TKMD5::Of(file.data(), file.size());
    EXPECT_EQ(0, std::memcmp(whole, all.data(), 16));
    std::remove(path.c_str());
}

TEST(ICCProfileHeader, DumpAndParse) {
    auto profile = SmallProfile();
    TKICCHeader& h = profile->GetHeader();
    h.deviceClass = TKICCSig("prtr");
    h.colorSpace = TKICCSig("CMYK");
    h.pcs = TKICCSig("Lab ");
    h.flags = 0x00010002;
    h.manufacturer = 0xDEADBEEF;
    h.attributes[0] = 1;
    h.attributes[1] = 0x80000000;
    h.renderingIntent = 3;
    h.illuminant[0] = TKDoubleToS15Fixed16(0.9505);
    profile->SetDate("2024-02-29 23:59:58");
    TKString text = profile->HeaderText();
    EXPECT_GE(text.Find("Device Class:    \tprtr\n"), 0);
    EXPECT_GE(text.Find("Version:         \t02400000\n"), 0);
    EXPECT_GE(text.Find("Attributes:      \t00000001 80000000\n"), 0);
    EXPECT_GE(text.Find("Date:            \t2024-02-29 23:59:58\n"), 0);
    EXPECT_GE(text.Find("Profile ID:      \t00000000000000000000000000000000\n"), 0);
    TKICCProfileBasic copy;
    copy.ParseHeader(text);
    EXPECT_STREQ(copy.HeaderText().CString(), text.CString());
    // Malformed values leave the field as it was.
    copy.ParseHeader("RenderingIntent: \tx\nAttributes:      \t5\nCMM:\t\n");
    EXPECT_EQ(copy.GetHeader().renderingIntent, 3u);
    EXPECT_EQ(copy.GetHeader().attributes[0], 1u);
    EXPECT_EQ(copy.GetHeader().cmm, TKICCSig("MSFT"));
}

TEST(ICCProfileTags, ListOperations) {
    auto profile = SmallProfile();
    EXPECT_EQ(profile->GetTagCount(), 4);
    EXPECT_TKERROR(profile->GetTagAt(4), IndexError);
    profile->AddTag(nullptr, false);
    profile->AddTextTag(TKICCSig("cprt"), "replaced");  // replaces, appended last
    EXPECT_EQ(profile->GetTagCount(), 4);
    EXPECT_EQ(profile->GetTagAt(3)->GetSignature(), TKICCSig("cprt"));
    TKICCProfile copy(*profile);
    EXPECT_EQ(copy.GetTagAt(0), profile->GetTagAt(0));
    EXPECT_EQ(profile->GetTagAt(0)->RefCount(), 2);
    profile->RemoveTags({TKICCSig("desc"), TKICCSig("cprt")}, true);
    EXPECT_EQ(profile->GetTagCount(), 2);
    copy.RemoveTags({TKICCSig("desc")}, false);
    EXPECT_EQ(copy.GetTagCount(), 1);
    EXPECT_EQ(copy.GetTagAt(0)->GetSignature(), TKICCSig("desc"));
    // An A2B0 of a curve type counts, but reads as absent when validated.
    auto curve = TKMakeRef<TKICCCurveTag>(TKICCSig("A2B0"));
    copy.AddTag(curve.Get(), false);
    EXPECT_EQ(copy.GetTagCount(), 2);
    EXPECT_EQ(copy.GetTag(TKICCSig("A2B0"), true), nullptr);
    EXPECT_EQ(copy.GetTag(TKICCSig("A2B0"), false), curve.Get());
}

TEST(ICCProfileHelpers, WhiteBlackLuminanceColorants) {
    TKICCProfile profile;
    TKVector white = profile.GetWhitePoint();
    EXPECT_DOUBLE_EQ(white[2], 82.49);
    EXPECT_DOUBLE_EQ(profile.GetBlackPoint()[1], 0.0);
    EXPECT_DOUBLE_EQ(profile.GetLuminance()[1], 100.0);
    profile.AddWhitePoint(TKVector({95.05, 100.0, 108.9}, TKXYZSpace));
    EXPECT_NEAR(profile.GetWhitePoint()[0], 95.05, 1e-3);
    EXPECT_DOUBLE_EQ(profile.GetWhitePoint(true)[0], 96.42);  // a monitor asked for the raw white
    profile.GetHeader().deviceClass = TKICCSig("prtr");
    EXPECT_NEAR(profile.GetWhitePoint(true)[0], 95.05, 1e-3);
    auto lumi = TKMakeRef<TKICCXYZTag>(TKICCSig("lumi"));
    lumi->SetXYZ(TKVector({0.0, 80.0, 0.0}));
    profile.AddTag(lumi.Get(), false);
    TKVector l = profile.GetLuminance();  // only Y is usable: the white scaled to it
    EXPECT_NEAR(l[0], 95.05 * 0.8, 1e-3);
    EXPECT_NEAR(l[1], 80.0, 1e-3);
    TKVector r, g, b;
    EXPECT_TKERROR(profile.GetRGBColorants(r, g, b), MissingICCTag);
}

TEST(ICCProfileLink, SequenceTags) {
    TKICCProfileLink link;
    link.AddEmptySequence();
    EXPECT_STREQ(link.GetTag(TKICCSig("pseq"))->ClassName(), "TKICCSequenceDescTag");
    auto source = SmallProfile();
    uint8_t id[16] = {9, 8, 7};
    source->SetProfileID(id);
    TKICCProfileBasic nameless;
    nameless.SetName("nameless.icc");
    link.AddSequenceIdentifiers({source.Get(), &nameless});
    auto* psid = TKCast<TKICCSequenceIdentifierTag>(link.GetTag(TKICCSig("psid")), "TKICCSequenceIdentifierTag");
    ASSERT_NE(psid, nullptr);
    ASSERT_EQ(psid->GetCount(), 2);
    EXPECT_EQ(psid->GetID(0)[1], 8);
    EXPECT_STREQ(psid->GetDescription(0)->GetText().CString(), "Small");
    EXPECT_STREQ(psid->GetDescription(1)->GetText().CString(), "nameless.icc");
    auto back = ReadProfile(WriteProfile(link));
    auto* read = TKCast<TKICCSequenceIdentifierTag>(back->GetTag(TKICCSig("psid")), "TKICCSequenceIdentifierTag");
    ASSERT_NE(read, nullptr);
    EXPECT_STREQ(read->GetDescription(1)->GetText().CString(), "nameless.icc");
}

TEST(ICCProfileHelpers, FileDataTag) {
    std::string path = ::testing::TempDir() + "TKFileDataTag.bin";
    std::string content(3000, 'q');
    content[2999] = '!';
    std::ofstream(path, std::ios::binary) << content;
    TKICCProfile profile;
    profile.AddFileDataTag(TKICCSig("ps2i"), TKFileSpec(TKString(path.c_str())));
    auto* data = TKCast<TKDataTag>(profile.GetTag(TKICCSig("ps2i")), "TKDataTag");
    ASSERT_NE(data, nullptr);
    std::vector<uint8_t> bytes = data->GetBytes();
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), content);
    EXPECT_EQ(data->GetSize(), 8u + 4u + 3000u);
    std::remove(path.c_str());
}

namespace {

// A profile with a white point and an adaptation matrix, and the table offset of one of its tags.
Bytes ProfileWithChad() {
    auto profile = SmallProfile();
    auto chad = TKMakeRef<TKChromaticAdaptationTag>();
    chad->SetMatrix(TKMatrix::Identity(3));
    profile->AddTag(chad.Get(), false);
    return WriteProfile(*profile);
}

uint32_t TagOffset(const Bytes& b, uint32_t signature) {
    for (uint32_t i = 0; i < U32At(b, 128); ++i)
        if (U32At(b, 132 + 12 * i) == signature) return U32At(b, 132 + 12 * i + 4);
    ADD_FAILURE() << "no such tag";
    return 0;
}

}  // namespace

// No tag object may end up with a type its class cannot interpret.
TEST(ICCProfileRead, NamedColourTypeUnderAdaptationSignatureStaysAnAdaptationTag) {
    Bytes bytes = ProfileWithChad();
    SetU32At(bytes, TagOffset(bytes, TKICCSig("chad")), TKICCSig("ncl2"));
    auto profile = ReadProfile(bytes);
    TKICCTag* tag = profile->GetTag(TKICCSig("chad"), false);
    ASSERT_NE(tag, nullptr);
    EXPECT_NE(TKCast<TKChromaticAdaptationTag>(tag, "TKChromaticAdaptationTag"), nullptr);
    EXPECT_EQ(profile->GetTag(TKICCSig("chad")), nullptr);  // "ncl2" is no allowed type for "chad"
}

TEST(ICCProfileRead, BodyBehindABaseGetsTheClassOfItsOwnType) {
    // The table is read at offsets from the stream's start, the bodies behind the base: a prefix
    // puts a foreign type where the table looks, the real XYZ body stands behind the base.
    const Bytes profileBytes = ProfileWithChad();
    const size_t base = profileBytes.size();
    Bytes stream(base, 0);
    SetU32At(stream, TagOffset(profileBytes, TKICCSig("wtpt")), TKICCSig("ncl2"));
    stream.insert(stream.end(), profileBytes.begin(), profileBytes.end());
    auto profile = TKMakeRef<TKICCProfile>();
    TKBuffer in(stream.data(), uint32_t(stream.size()));
    in.Seek(int64_t(base), kSeekStart);
    profile->Read(in, 2);
    ASSERT_NE(TKCast<TKICCXYZTag>(profile->GetTag(TKICCSig("wtpt")), "TKICCXYZTag"), nullptr);
    EXPECT_NEAR(profile->GetWhitePoint()[2], 82.49, 0.01);
}
