// Tag types: the factory, allowed types, byte order handling and each concrete body layout,
// checked on hand-built blocks whose bytes follow ICC.1.
#include <cstring>
#include <vector>

#include "icc/TKICCColorantTags.h"
#include "icc/TKICCDataTags.h"
#include "icc/TKICCNumberTags.h"
#include "icc/TKICCSequenceIdentifierTag.h"
#include "icc/TKICCTextTags.h"
#include "io/TKBuffer.h"
#include "support/TestSupport.h"

namespace {

using Bytes = std::vector<uint8_t>;

void PutU32(Bytes& b, uint32_t v) {
    for (int i = 3; i >= 0; --i) b.push_back(uint8_t(v >> (8 * i)));
}
void PutU16(Bytes& b, uint16_t v) {
    b.push_back(uint8_t(v >> 8));
    b.push_back(uint8_t(v));
}
void PutText(Bytes& b, const char* text, size_t width) {
    size_t n = std::strlen(text);
    for (size_t i = 0; i < width; ++i) b.push_back(i < n ? uint8_t(text[i]) : 0);
}

// A tag made by the factory from a big-endian body.
TKRefPtr<TKICCTag> MakeTag(const char* type, const char* signature, const Bytes& body) {
    TKRefPtr<TKICCTag> tag = TKICCTag::Create(TKString(type).ToSignature(), TKString(signature).ToSignature());
    tag->SetData(body.data(), uint32_t(body.size()), kBigEndian);
    return tag;
}

template <class T>
T* As(const TKRefPtr<TKICCTag>& tag, const char* name) {
    T* t = TKCast<T>(tag.Get(), name);
    EXPECT_NE(t, nullptr) << name;
    return t;
}

// What Write puts into a file for this tag: head, body in file order, padding.
Bytes Written(TKICCTag& tag) {
    TKBuffer out;
    tag.Write(out);
    uint32_t n = 0;
    const uint8_t* data = out.GetData(&n);
    return Bytes(data, data + n);
}

// A "desc" body with the given ASCII part and Unicode units (big-endian).
Bytes DescBody(const char* ascii, const std::vector<uint16_t>& unicode, size_t cut = 0) {
    Bytes b;
    uint32_t n = uint32_t(std::strlen(ascii)) + 1;
    PutU32(b, n);
    PutText(b, ascii, n);
    PutU32(b, 0);
    PutU32(b, uint32_t(unicode.size()));
    for (uint16_t u : unicode) PutU16(b, u);
    PutU16(b, 0);
    b.push_back(0);
    PutText(b, "", 67);
    if (cut) b.resize(cut);
    return b;
}

}  // namespace

TEST(ICCTagFactory, ClassesByTypeAndSignature) {
    struct {
        const char* type;
        const char* signature;
        const char* className;
        const char* typeAfter;
    } rows[] = {
        {"XYZ ", "wtpt", "TKICCXYZTag", "XYZ "},       {"sf32", "chad", "TKChromaticAdaptationTag", "sf32"},
        {"chad", "xxxx", "TKChromaticAdaptationTag", "sf32"}, {"clrt", "clrt", "TKColorantTableTag", "clrt"},
        {"csed", "desc", "TKCSEDTag", "text"},          {"curv", "rTRC", "TKICCCurveTag", "curv"},
        {"data", "ps2i", "TKDataTag", "data"},          {"desc", "desc", "TKICCDescriptionTag", "desc"},
        {"mAB ", "A2B0", "TKICC4LutTag", "mAB "},       {"mBA ", "B2A0", "TKICC4LutTag", "mBA "},
        {"mft1", "A2B0", "TKICCLutTag", "mft1"},        {"mft2", "A2B0", "TKICCLutTag", "mft2"},
        {"mluc", "cprt", "TKICCMLUCTag", "mluc"},       {"ncl2", "ncl2", "TKNamedColor2TypeTag", "ncl2"},
        {"para", "rTRC", "TKICCParametricCurveTag", "para"}, {"psid", "psid", "TKICCSequenceIdentifierTag", "psid"},
        {"text", "cprt", "TKICCTextTag", "text"},       {"vcgt", "vcgt", "TKICCGammaTag", "vcgt"},
        {"pseq", "pseq", "TKICCTag", "pseq"},           {"meta", "meta", "TKICCTag", "meta"},
    };
    for (const auto& row : rows) {
        TKRefPtr<TKICCTag> tag = TKICCTag::Create(TKString(row.type).ToSignature(), TKString(row.signature).ToSignature());
        EXPECT_STREQ(tag->ClassName(), row.className) << row.type;
        EXPECT_EQ(tag->GetType(), TKString(row.typeAfter).ToSignature()) << row.type;
    }
    // Any tag called "chad" is an adaptation matrix, whatever type it claims.
    EXPECT_STREQ(TKICCTag::Create(TKICCSig("XYZ "), TKICCSig("chad"))->ClassName(), "TKChromaticAdaptationTag");
}

TEST(ICCTagFactory, AllowedTypes) {
    EXPECT_FALSE(MakeTag("curv", "A2B0", {0, 0, 0, 0})->IsValid());
    EXPECT_TRUE(MakeTag("mAB ", "A2B0", {})->IsValid());
    EXPECT_FALSE(MakeTag("mAB ", "gamt", {})->IsValid());
    EXPECT_TRUE(MakeTag("para", "kTRC", {})->IsValid());
    EXPECT_FALSE(MakeTag("csed", "dmdd", {})->IsValid());  // the csed class says "text" until read
    EXPECT_TRUE(MakeTag("text", "targ", {0})->IsValid());
    EXPECT_TRUE(MakeTag("ncl2", "ncl2", {})->IsValid());
    EXPECT_FALSE(MakeTag("text", "ncl2", {0})->IsValid());
    EXPECT_TRUE(MakeTag("blob", "zzzz", {})->IsValid());  // unknown signature: any type but 0
    EXPECT_FALSE(TKICCTag::Create(0, TKICCSig("zzzz"))->IsValid());
    EXPECT_FALSE(TKICCTag::Create(TKICCSig("text"), 0)->IsValid());
    bool known = true;
    EXPECT_TRUE(TKICCTag::IsAllowedType(TKICCSig("clot"), TKICCSig("clrt"), &known));
    EXPECT_TRUE(known);
    TKICCTag::IsAllowedType(TKICCSig("meta"), TKICCSig("dict"), &known);
    EXPECT_FALSE(known);
}

TEST(ICCTagBase, UnknownTypeWrittenBackUnchanged) {
    Bytes body = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    TKRefPtr<TKICCTag> tag = MakeTag("dict", "meta", body);
    EXPECT_EQ(tag->GetSize(), 17u);
    EXPECT_EQ(tag->GetPaddedSize(), 20u);
    tag->GetData(nullptr, kLittleEndian);  // flips the order only: no known fields
    EXPECT_EQ(tag->GetByteOrder(), kLittleEndian);
    Bytes expected = {'d', 'i', 'c', 't', 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0};
    EXPECT_EQ(Written(*tag), expected);
    EXPECT_EQ(tag->GetByteOrder(), kBigEndian);
}

TEST(ICCTagBase, CloneCopiesBlockNotOffset) {
    TKRefPtr<TKICCTag> tag = MakeTag("XYZ ", "wtpt", {0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0});
    tag->SetOffset(300);
    tag->GetData(nullptr, kLittleEndian);
    TKRefPtr<TKICCTag> copy = tag->Clone();
    EXPECT_STREQ(copy->ClassName(), "TKICCXYZTag");
    EXPECT_EQ(copy->GetOffset(), 0u);
    EXPECT_EQ(copy->GetByteOrder(), kLittleEndian);
    EXPECT_EQ(Written(*copy), Written(*tag));
}

TEST(ICCTextTags, DescriptionPrefersCompleteUnicode) {
    TKRefPtr<TKICCTag> tag = MakeTag("desc", "desc", DescBody("ascii", {'U', 'n', 'i', 0}));
    EXPECT_STREQ(As<TKICCDescriptionTag>(tag, "TKICCDescriptionTag")->GetText().CString(), "Uni");
    // The Unicode count runs one byte past the block: the ASCII part, no error.
    Bytes body = DescBody("ascii", {'U', 'n', 'i', 0});
    size_t unicodeEnd = 4 + 6 + 8 + 8;
    body.resize(unicodeEnd - 1);
    tag = MakeTag("desc", "desc", body);
    EXPECT_STREQ(As<TKICCDescriptionTag>(tag, "TKICCDescriptionTag")->GetText().CString(), "ascii");
}

TEST(ICCTextTags, DescriptionShortBlocks) {
    auto desc = [](const Bytes& body) {
        TKRefPtr<TKICCTag> tag = MakeTag("desc", "desc", body);
        return As<TKICCDescriptionTag>(tag, "TKICCDescriptionTag")->GetText();
    };
    EXPECT_STREQ(desc({}).CString(), "");
    EXPECT_TKERROR(desc({0, 0, 0, 1}), InvalidICCTag);
    EXPECT_TKERROR(desc({0, 0, 0, 9, 'a', 'b'}), InvalidICCTag);  // n + 4 beyond the block
    EXPECT_STREQ(desc({0, 0, 0, 2, 'a', 'b'}).CString(), "ab");  // no zero: n bytes
    EXPECT_STREQ(desc({0, 0, 0, 3, 0xE9, 't', 0}).CString(), "\xC3\xA9t");  // Latin-1 to UTF-8
}

TEST(ICCTextTags, DescriptionSetLayout) {
    auto tag = TKMakeRef<TKICCDescriptionTag>(TKICCSig("desc"));
    tag->SetText("Caf\xC3\xA9");  // "Café"
    // n = 5, m = 5 with the terminator: L + 2m + 91 bytes with the 8-byte surplus.
    EXPECT_EQ(tag->GetDataSize(), 4u + 10u + 91u);
    Bytes file = Written(*tag);
    const uint8_t* b = file.data() + 8;
    EXPECT_EQ(b[3], 5);
    EXPECT_EQ(0, std::memcmp(b + 4, "Caf\xE9", 5));
    EXPECT_EQ(b[4 + 5 + 7], 5);                 // m
    EXPECT_EQ(b[4 + 5 + 8 + 7], 0xE9);          // U+00E9 big-endian
    EXPECT_EQ(b[4 + 5 + 8 + 10 + 2], 5);        // Macintosh count
    EXPECT_STREQ(tag->GetText().CString(), "Caf\xC3\xA9");
}

TEST(ICCTextTags, MLUCChecks) {
    auto mluc = [](const Bytes& body) {
        TKRefPtr<TKICCTag> tag = MakeTag("mluc", "desc", body);
        return As<TKICCMLUCTag>(tag, "TKICCMLUCTag")->GetText();
    };
    Bytes good;
    PutU32(good, 1);
    PutU32(good, 12);
    PutText(good, "enUS", 4);
    PutU32(good, 4);
    PutU32(good, 28);
    PutU16(good, 'h');
    PutU16(good, 'i');
    EXPECT_STREQ(mluc(good).CString(), "hi");
    Bytes zeroCount = good;
    zeroCount[3] = 0;
    EXPECT_TKERROR(mluc(zeroCount), InvalidICCTag);
    Bytes pastEnd = good;
    pastEnd[15] = 6;
    EXPECT_TKERROR(mluc(pastEnd), InvalidICCTag);
    EXPECT_TKERROR(mluc(Bytes(19, 0)), InvalidICCTag);
    Bytes manyRecords = good;
    manyRecords[3] = 9;  // nine records cannot fit: the swap refuses
    EXPECT_TKERROR(mluc(manyRecords), InvalidICCTag);
}

TEST(ICCTextTags, TextAndSummaries) {
    auto tag = TKMakeRef<TKICCTextTag>(TKICCSig("cprt"));
    tag->SetText("Copyright \xC3\xA9\nsecond line\n");
    EXPECT_EQ(tag->GetDataSize(), 25u);  // 24 Latin-1 bytes and the terminator
    EXPECT_STREQ(tag->GetSummary().CString(), "Copyright \xC3\xA9 ...");
    tag->SetText(std::string(300, 'x').c_str());
    EXPECT_EQ(tag->GetSummary().Length(), 255 + 4);
    TKRefPtr<TKICCTag> csed = MakeTag("csed", "desc", {0, 0, 0, 0, 'a', 'b', 0});
    EXPECT_STREQ(As<TKCSEDTag>(csed, "TKCSEDTag")->GetText().CString(), "ab");
    EXPECT_TKERROR(csed->SetFromText("x"), UndefProc);
}

TEST(ICCNumberTags, Curves) {
    auto curve = [](const Bytes& body) {
        TKRefPtr<TKICCTag> tag = MakeTag("curv", "kTRC", body);
        return As<TKICCCurveTag>(tag, "TKICCCurveTag")->GetCurve(0, 1);
    };
    EXPECT_EQ(curve({0, 0, 0, 0}).GetDim(), 0);
    EXPECT_DOUBLE_EQ(curve({0, 0, 0, 1, 0x80, 0x00})[0], -128.0);
    EXPECT_DOUBLE_EQ(curve({0, 0, 0, 1, 0x01, 0xCD})[0], 1.80078125);
    TKVector two = curve({0, 0, 0, 2, 0, 0, 0xFF, 0xFF});
    EXPECT_DOUBLE_EQ(two[1], 1.0);
    EXPECT_TKERROR(curve({}), MissingICCTagData);
    EXPECT_TKERROR(curve({0, 0, 0, 3, 0, 0, 0, 0}), InvalidICCTag);
    EXPECT_TKERROR(curve({0, 0}), InvalidICCTag);

    auto tag = TKMakeRef<TKICCCurveTag>(TKICCSig("rTRC"));
    tag->SetCurve(TKVector({0.0, 25.0, 100.0}), 0, 100);
    Bytes expected = {'c', 'u', 'r', 'v', 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0x40, 0x00, 0xFF, 0xFF, 0, 0};
    EXPECT_EQ(Written(*tag), expected);  // 25% is 16383.75, rounded to 0x4000
    tag->SetCurve(TKVector({2.2}));
    EXPECT_DOUBLE_EQ(tag->GetCurve()[0], 563.0 / 256);
}

TEST(ICCNumberTags, ParametricCurves) {
    Bytes body = {0, 3, 0, 0};
    for (int32_t v : {0x26666, 0xF2A7, 0x0D59, 0x13D0, 0x0A5B}) PutU32(body, uint32_t(v));  // sRGB's type 3
    TKRefPtr<TKICCTag> tag = MakeTag("para", "rTRC", body);
    auto* para = As<TKICCParametricCurveTag>(tag, "TKICCParametricCurveTag");
    int32_t type = -1;
    TKVector p = para->GetCurve(&type);
    EXPECT_EQ(type, 3);
    ASSERT_EQ(p.GetDim(), 5);
    EXPECT_NEAR(p[0], 2.4, 1.0 / 65536);
    EXPECT_NEAR(p[4], 0.04045, 1.0 / 65536);
    body.resize(20);
    EXPECT_TKERROR(MakeTag("para", "rTRC", body)->GetSummary(), InvalidICCTag);
    EXPECT_TKERROR(MakeTag("para", "rTRC", {0, 5, 0, 0, 0, 1, 0, 0})->GetSummary(), ArgErr);
    EXPECT_TKERROR(MakeTag("para", "rTRC", {})->GetSummary(), MissingICCTagData);
    auto made = TKMakeRef<TKICCParametricCurveTag>(TKICCSig("gTRC"));
    made->SetCurve(0, TKVector({1.8}));
    EXPECT_EQ(Written(*made), Bytes({'p', 'a', 'r', 'a', 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0xCC, 0xCD}));
}

TEST(ICCNumberTags, XYZAndAdaptation) {
    TKRefPtr<TKICCTag> empty = TKICCTag::Create(TKICCSig("XYZ "), TKICCSig("wtpt"));
    TKVector d50 = As<TKICCXYZTag>(empty, "TKICCXYZTag")->GetXYZ();
    EXPECT_DOUBLE_EQ(d50[0], 0.9642);
    EXPECT_EQ(d50.GetType(), int32_t(TKXYZSpace));
    EXPECT_TKERROR(MakeTag("XYZ ", "wtpt", Bytes(8, 0))->GetSummary(), InvalidICCTag);
    TKRefPtr<TKICCTag> lumi = MakeTag("XYZ ", "lumi", {0, 0x50, 0, 0, 0, 0x50, 0, 0, 0, 0x50, 0, 0});
    EXPECT_STREQ(lumi->GetSummary().CString(), "XYZ = 80.0000 80.0000 80.0000");
    TKRefPtr<TKICCTag> white = MakeTag("XYZ ", "wtpt", {0, 0, 0x80, 0, 0, 1, 0, 0, 0, 0, 0, 0});
    EXPECT_STREQ(white->GetSummary().CString(), "XYZ = 50.0000 100.0000 0.0000");
    auto* xyz = As<TKICCXYZTag>(white, "TKICCXYZTag");
    xyz->SetFromText("0.25 0.5 -0.125");
    // -0.125 is -8191.5 after adding 0.5, truncated towards zero: 0xFFFFE001, not E000.
    EXPECT_EQ(Written(*white), Bytes({'X', 'Y', 'Z', ' ', 0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0, 0x80, 0, 0xFF, 0xFF, 0xE0, 1}));
    // Lab 100, 0, 0 is the D50 white of the connection space, stored with Y = 1.
    xyz->SetXYZ(TKVector({100.0, 0.0, 0.0}, TKLabSpace));
    EXPECT_NEAR(xyz->GetXYZ()[0], 0.9642, 1e-4);
    EXPECT_NEAR(xyz->GetXYZ()[2], 0.8249, 1e-4);

    TKRefPtr<TKICCTag> chad = TKICCTag::Create(TKICCSig("sf32"), TKICCSig("chad"));
    auto* adapt = As<TKChromaticAdaptationTag>(chad, "TKChromaticAdaptationTag");
    EXPECT_DOUBLE_EQ(adapt->GetMatrix()(1, 1), 1.0);
    TKMatrix m(3, 3);
    m(0, 2) = -0.5;
    m(2, 0) = 1.5;
    adapt->SetMatrix(m);
    Bytes file = Written(*chad);
    EXPECT_EQ(file.size(), 44u);
    EXPECT_EQ(file[16], 0xFF);  // -0.5 at row 0, column 2
    EXPECT_DOUBLE_EQ(adapt->GetMatrix()(2, 0), 1.5);
    EXPECT_TKERROR(MakeTag("sf32", "chad", Bytes(32, 0))->GetSummary(), InvalidICCTag);
    EXPECT_TKERROR(adapt->SetMatrix(TKMatrix(2, 3)), DimMismatch);
}

TEST(ICCColorantTags, ColorantTable) {
    auto tag = TKMakeRef<TKColorantTableTag>(TKICCSig("clrt"));
    EXPECT_EQ(tag->GetCount(), 0);
    tag->SetCount(2);
    tag->SetName(0, "Cyan");
    tag->SetName(1, "A name longer than thirty-two bytes is cut");
    tag->SetName(5, "ignored");
    tag->SetPCS(0, TKVector({50.0, -40.0, 127.99609375}, TKLabSpace));
    EXPECT_STREQ(tag->GetName(1).CString(), "A name longer than thirty-two by");
    EXPECT_EQ(tag->FindName("Cyan"), 0);
    EXPECT_EQ(tag->FindName("Magenta"), -1);
    EXPECT_TRUE(tag->GetPCS(7).IsEmpty());
    Bytes file = Written(*tag);
    ASSERT_EQ(file.size(), 8u + 4u + 76u);
    // L 50 on 0..0xFFFF is 0x8000; a -40 is (88 / 255.99609375) * 65535.
    EXPECT_EQ(file[12 + 32], 0x80);
    EXPECT_EQ(file[12 + 34] * 256 + file[12 + 35], 22528);
    EXPECT_EQ(file[12 + 36], 0xFF);
    EXPECT_EQ(file[12 + 37], 0xFF);
    TKVector lab = tag->GetPCS(0);
    EXPECT_NEAR(lab[0], 50.0, 0.001);
    EXPECT_NEAR(lab[1], -40.0, 0.004);
    EXPECT_STREQ(tag->GetSummary().CString(), "Cyan, A name longer than thirty-two by");
}

TEST(ICCColorantTags, NamedColors) {
    auto tag = TKMakeRef<TKNamedColor2TypeTag>(TKICCSig("ncl2"));
    tag->SetSpaces(TKCMYKSpace, TKLabSpace);
    TKMatrix pcs(2, 3, TKLabSpace);
    pcs(0, 0) = 100.0;
    pcs(1, 0) = 50.0;
    pcs(1, 1) = 20.0;
    TKMatrix device(2, 4, TKCMYKSpace);
    device(1, 3) = 100.0;
    tag->SetColors({"Paper white", ""}, pcs, device);
    EXPECT_EQ(tag->GetCount(), 2);
    EXPECT_EQ(tag->GetDeviceChannels(), 4);
    EXPECT_STREQ(tag->GetColorName(0).CString(), "Paper_white");
    EXPECT_STREQ(tag->GetColorName(1).CString(), "Color1");
    Bytes file = Written(*tag);
    // L 100 stands as 0xFF00 in this legacy encoding.
    EXPECT_EQ(file[8 + 76 + 32], 0xFF);
    EXPECT_EQ(file[8 + 76 + 33], 0x00);
    EXPECT_NEAR(tag->GetPCS(1)[1], 20.0, 0.004);
    EXPECT_DOUBLE_EQ(tag->GetDevice(1)[3], 100.0);
    EXPECT_TKERROR(tag->GetPCS(2), IndexError);

    // A Lab device side fills the PCS values that the PCS matrix lacks.
    auto labDevice = TKMakeRef<TKNamedColor2TypeTag>(TKICCSig("ncl2"));
    labDevice->SetSpaces(TKLabSpace, TKLabSpace);
    TKMatrix labs(2, 3, TKLabSpace);
    labs(1, 0) = 50.0;
    labs(1, 2) = -30.0;
    labDevice->SetColors({}, TKMatrix(1, 3, TKLabSpace), labs);
    EXPECT_NEAR(labDevice->GetPCS(1)[0], 50.0, 0.002);
    EXPECT_NEAR(labDevice->GetPCS(1)[2], -30.0, 0.004);
    EXPECT_DOUBLE_EQ(labDevice->GetPCS(0)[0], 0.0);

    auto gray = TKMakeRef<TKNamedColor2TypeTag>(TKICCSig("ncl2"));
    gray->SetSpaces(TKCMYKSpace, TKGraySpace);
    EXPECT_TKERROR(gray->SetSpaces(TKCMYKSpace, TKLabSpace), ArgErr);
    // A block under 76 bytes holds no colours and stays untouched by swapping.
    TKRefPtr<TKICCTag> tiny = MakeTag("ncl2", "ncl2", Bytes(40, 7));
    EXPECT_EQ(As<TKNamedColor2TypeTag>(tiny, "TKNamedColor2TypeTag")->GetCount(), 0);
    EXPECT_EQ(Written(*tiny).size(), 48u);
}

TEST(ICCSequenceTags, IdentifiersRoundTrip) {
    auto tag = TKMakeRef<TKICCSequenceIdentifierTag>(TKICCSig("psid"));
    TKICCSequenceIdentifierTag::ProfileID id{};
    id[0] = 0xAB;
    id[15] = 0xCD;
    tag->AddEntry(id, "First");
    id[0] = 1;
    tag->AddEntry(id, "Second profile");
    Bytes file = Written(*tag);
    TKRefPtr<TKICCTag> back = MakeTag("psid", "psid", Bytes(file.begin() + 8, file.end()));
    auto* psid = As<TKICCSequenceIdentifierTag>(back, "TKICCSequenceIdentifierTag");
    ASSERT_EQ(psid->GetCount(), 2);
    EXPECT_EQ(psid->GetID(0)[0], 0xAB);
    EXPECT_EQ(psid->GetID(0)[15], 0xCD);
    EXPECT_STREQ(psid->GetDescription(1)->GetText().CString(), "Second profile");
    back->GetData(nullptr, kLittleEndian);
    EXPECT_EQ(Written(*back), file);
    TKBuffer dump;
    back->Dump(dump);
    EXPECT_GE(dump.ToString().Find("id: ab0000000000000000000000000000cd\ndescription: First\n"), 0);
}

TEST(ICCSequenceTags, MoreThanTenEntriesIsInvalidButKept) {
    Bytes body;
    PutU32(body, 11);
    for (int i = 0; i < 11; ++i) {
        PutU32(body, 8 + 4 + 88 + 24u * uint32_t(i));
        PutU32(body, 24);
    }
    for (int i = 0; i < 11; ++i) {
        PutText(body, "", 16);
        PutText(body, "mluc", 8);
    }
    TKRefPtr<TKICCTag> tag = MakeTag("psid", "psid", body);
    EXPECT_FALSE(tag->IsValid());
    EXPECT_TKERROR(As<TKICCSequenceIdentifierTag>(tag, "TKICCSequenceIdentifierTag")->GetCount(), InvalidICCTag);
    Bytes file = Written(*tag);
    EXPECT_EQ(Bytes(file.begin() + 8, file.end()), body);
}

TEST(ICCDataTags, DataAndSequence) {
    auto data = TKMakeRef<TKDataTag>(TKICCSig("ps2i"));
    data->SetBytes("abc", 3);
    EXPECT_EQ(Written(*data), Bytes({'d', 'a', 't', 'a', 0, 0, 0, 0, 0, 0, 0, 1, 'a', 'b', 'c', 0}));
    TKBuffer out;
    data->WriteDataTo(out);
    EXPECT_STREQ(out.ToString().CString(), "abc");
    TKICCSequenceDescTag pseq;
    EXPECT_EQ(pseq.GetCount(), 0u);
    EXPECT_EQ(Written(pseq), Bytes({'p', 's', 'e', 'q', 0, 0, 0, 0, 0, 0, 0, 0}));
}
