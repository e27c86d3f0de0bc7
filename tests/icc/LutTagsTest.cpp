// LUT tag bodies: "mft2" of a real CMYK profile against iccdump, built "mft1"/"mft2" tables,
// and a hand-built "mAB " whose every stage is swapped and read back.
#include <cstring>
#include <vector>

#include "icc/TKICCLutTags.h"
#include "icc/TKICCNumberTags.h"
#include "icc/TKICCProfile.h"
#include "io/TKBuffer.h"
#include "io/TKFileSpec.h"
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
void PutSig(Bytes& b, const char* s) { b.insert(b.end(), s, s + 4); }

Bytes Written(TKICCTag& tag) {
    TKBuffer out;
    tag.Write(out);
    uint32_t n = 0;
    const uint8_t* data = out.GetData(&n);
    return Bytes(data, data + n);
}

// An "mAB " body, 3 in and 3 out: B curves (para gamma 1, 2, 3), matrix, M curves (curv
// identities), a 2x2x2 CLUT of 16-bit entries counting up, A curves (curv of two points).
Bytes MABBody() {
    Bytes b = {3, 3, 0, 0};
    PutU32(b, 32);   // B curves
    PutU32(b, 80);   // matrix
    PutU32(b, 128);  // M curves
    PutU32(b, 164);  // CLUT
    PutU32(b, 232);  // A curves
    b.resize(24, 0);
    for (uint32_t g = 1; g <= 3; ++g) {  // 3 x 16 bytes
        PutSig(b, "para");
        PutU32(b, 0);
        PutU16(b, 0);
        PutU16(b, 0);
        PutU32(b, g << 16);
    }
    for (int i = 0; i < 12; ++i) PutU32(b, uint32_t(i) << 15);  // 0, 0.5, 1, ... 5.5
    for (int i = 0; i < 3; ++i) {  // 3 x 12 bytes
        PutSig(b, "curv");
        PutU32(b, 0);
        PutU32(b, 0);
    }
    for (int i = 0; i < 3; ++i) b.push_back(2);  // grid points, 16 bytes in all
    b.resize(b.size() + 13 + 4, 0);
    b[156 + 16] = 2;  // precision, at 164 - 8 + 16
    for (uint16_t i = 0; i < 24; ++i) PutU16(b, uint16_t(1000 * i));
    for (int i = 0; i < 3; ++i) {  // 3 x 16 bytes
        PutSig(b, "curv");
        PutU32(b, 0);
        PutU32(b, 2);
        PutU16(b, 0);
        PutU16(b, 0xFFFF);
    }
    return b;
}

TKRefPtr<TKICCTag> Tag(const char* type, const Bytes& body) {
    TKRefPtr<TKICCTag> tag = TKICCTag::Create(TKString(type).ToSignature(), TKICCSig("A2B0"));
    tag->SetData(body.data(), uint32_t(body.size()), kBigEndian);
    return tag;
}

}  // namespace

// Values of ArgyllCMS iccdump -v3 -t A2B0 (Debian "argyll"), printed as word / 65535 with ten
// decimals; compared as words / 65535 within 1e-9.
TEST(ICCLutTags, RealMft2AgreesWithIccdump) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath("icc/FOGRA39L-cmyk-v2.icc").c_str())), 2);
    auto* lut = TKCast<TKICCLutTag>(profile->GetTag(TKICCSig("A2B0")), "TKICCLutTag");
    ASSERT_NE(lut, nullptr);
    EXPECT_EQ(lut->GetInputChannels(), 4);
    EXPECT_EQ(lut->GetOutputChannels(), 3);
    EXPECT_EQ(lut->GetGridPoints(), 9);
    EXPECT_EQ(lut->GetInputEntries(), 1024);
    EXPECT_EQ(lut->GetOutputEntries(), 1024);
    EXPECT_EQ(lut->GetExpectedSize(), lut->GetDataSize());
    EXPECT_DOUBLE_EQ(lut->GetMatrix()(1, 1), 1.0);
    auto near = [](uint16_t word, double value) { EXPECT_NEAR(word / 65535.0, value, 1e-9); };
    near(lut->GetInputCurvePoint(0, 1), 0.0009002823);
    near(lut->GetInputCurvePoint(3, 19), 0.0207522698);
    near(lut->GetInputCurvePoint(3, 512), 0.5531853208);
    near(lut->GetOutputCurvePoint(0, 1023), 0.9961089494);
    near(lut->GetOutputCurvePoint(2, 512), 0.5004501411);
    uint16_t node[3];
    lut->GetGridPoint(1, node);  // 0 0 0 1
    near(node[0], 0.9312733654);
    near(node[2], 0.5000686656);
    lut->GetGridPoint(9, node);  // 0 0 1 0: the first channel varies slowest
    near(node[1], 0.4944838636);
    lut->GetGridPoint(6560, node);  // 8 8 8 8
    near(node[0], 0.1106889448);
    EXPECT_TKERROR(lut->GetGridPoint(6561, node), IndexError);
    EXPECT_STREQ(lut->GetSummary().CString(), "Input: 4, Output: 3, LUT: 9 points");
}

TEST(ICCLutTags, BuiltTablesAndTheirChecks) {
    auto lut8 = TKMakeRef<TKICCLutTag>(TKICCSig("mft1"), TKICCSig("A2B0"));
    lut8->SetupLut8(3, 2, 2);
    EXPECT_EQ(lut8->GetDataSize(), 40u + 5 * 256 + 2 * 8);
    EXPECT_EQ(lut8->GetExpectedSize(), lut8->GetDataSize());
    uint16_t node[2] = {0xFFFF, 0x8080};
    lut8->SetGridPoint(7, node);
    uint16_t back[2];
    lut8->GetGridPoint(7, back);
    EXPECT_EQ(back[0], 0xFFFF);
    EXPECT_EQ(back[1], 0x8080);
    Bytes file = Written(*lut8);
    // The grid follows the three input tables; 0x8080 is stored as the byte 0x80.
    EXPECT_EQ(file[8 + 40 + 3 * 256 + 14], 0xFF);
    EXPECT_EQ(file[8 + 40 + 3 * 256 + 15], 0x80);
    EXPECT_EQ(file[8 + 5], 1);  // matrix (0, 0) = 1.0 as 0x00010000

    auto lut16 = TKMakeRef<TKICCLutTag>(TKICCSig("mft2"), TKICCSig("B2A0"));
    EXPECT_TKERROR(lut16->SetMatrix(TKMatrix::Identity(3)), PtrInvalid);
    lut16->SetupLut16(3, 4, 2, 3, 3);
    EXPECT_EQ(lut16->GetDataSize(), 44u + 2 * (3 * 2 + 4 * 3 + 4 * 27));
    lut16->SetOutputCurvePoint(3, 2, 0x1234);
    EXPECT_EQ(lut16->GetOutputCurvePoint(3, 2), 0x1234);
    EXPECT_TKERROR(lut16->SetMatrix(TKMatrix(3, 2)), DimMismatch);
    TKMatrix m = TKMatrix::Identity(3);
    m(0, 1) = 0.25;
    lut16->SetMatrix(m);
    Bytes out = Written(*lut16);
    EXPECT_EQ(out[8 + 8 + 2], 0x40);  // 0.25 as 0x00004000
    EXPECT_EQ(out[out.size() - 2], 0x12);  // the last output entry ends the table
    EXPECT_EQ(out[out.size() - 1], 0x34);
    EXPECT_EQ(lut16->GetOutputCurvePoint(3, 2), 0x1234);
    EXPECT_TKERROR(lut16->GetInputCurvePoint(3, 0), IndexError);
    EXPECT_TKERROR(lut16->GetOutputCurvePoint(4, 0), IndexError);
    EXPECT_TKERROR(lut16->SetupLut16(3, 3, 1, 2, 2), ArgErr);

    EXPECT_TKERROR(Tag("mft1", Bytes(43, 0))->GetData(nullptr, kLittleEndian), InvalidICCTag);
    EXPECT_TKERROR(Tag("mft2", Bytes(47, 0))->GetData(nullptr, kLittleEndian), InvalidICCTag);
    // A header announcing more table than the block holds is refused on access.
    Bytes shortTable(48, 0);
    shortTable[0] = 3;
    shortTable[1] = 3;
    shortTable[2] = 255;
    shortTable[41] = 2;
    shortTable[43] = 2;
    TKRefPtr<TKICCTag> truncated = Tag("mft2", shortTable);
    auto* t = TKCast<TKICCLutTag>(truncated.Get(), "TKICCLutTag");
    EXPECT_GT(t->GetExpectedSize(), t->GetDataSize());
    EXPECT_TKERROR(t->GetInputCurvePoint(0, 0), InvalidICCTag);
    EXPECT_EQ(Written(*truncated).size(), 56u);
}

TEST(ICCLutTags, DumpTextReadsBack) {
    auto lut = TKMakeRef<TKICCLutTag>(TKICCSig("mft2"), TKICCSig("A2B0"));
    lut->SetupLut16(2, 3, 4, 2, 3);
    for (int32_t n = 0; n < 9; ++n) {
        uint16_t node[3] = {uint16_t(n * 7000), uint16_t(65535 - n), uint16_t(n)};
        lut->SetGridPoint(n, node);
    }
    lut->SetInputCurvePoint(1, 3, 0xFFFF);
    lut->SetOutputCurvePoint(2, 1, 4242);
    TKMatrix m = TKMatrix::Identity(3);
    m(2, 0) = -0.5;
    lut->SetMatrix(m);
    TKBuffer dump;
    lut->Dump(dump);
    auto back = TKMakeRef<TKICCLutTag>(TKICCSig("mft2"), TKICCSig("A2B0"));
    back->SetFromText(dump.ToString());
    EXPECT_EQ(Written(*back), Written(*lut));
    EXPECT_TKERROR(back->SetFromText("Input channels: 2\n"), FormatErr);
}

TEST(ICCLutTags, FourStageLutSwapsEveryStage) {
    Bytes body = MABBody();
    ASSERT_EQ(body.size(), 272u);
    TKRefPtr<TKICCTag> tag = Tag("mAB ", body);
    auto* lut = TKCast<TKICC4LutTag>(tag.Get(), "TKICC4LutTag");
    ASSERT_NE(lut, nullptr);
    tag->GetData(nullptr, kLittleEndian);
    EXPECT_EQ(lut->GetStageOffset(TKICC4LutTag::kCLUT), 164u);
    EXPECT_EQ(lut->GetGridPoints(2), 2);
    EXPECT_EQ(lut->GetPrecision(), 2);
    EXPECT_EQ(lut->GetCLUTEntries(), 24u);
    EXPECT_EQ(lut->GetCLUTEntry(23), 23000);
    TKMatrix m = lut->GetMatrix();
    EXPECT_DOUBLE_EQ(m(0, 1), 0.5);
    EXPECT_DOUBLE_EQ(m(2, 2), 4.0);
    EXPECT_DOUBLE_EQ(m(1, 3), 5.0);  // offsets in the last column
    int32_t type = -1;
    TKRefPtr<TKICCTag> b1 = lut->GetCurve(TKICC4LutTag::kBCurves, 1);
    EXPECT_DOUBLE_EQ(TKCast<TKICCParametricCurveTag>(b1.Get(), "TKICCParametricCurveTag")->GetCurve(&type)[0], 2.0);
    TKRefPtr<TKICCTag> a2 = lut->GetCurve(TKICC4LutTag::kACurves, 2);
    EXPECT_DOUBLE_EQ(TKCast<TKICCCurveTag>(a2.Get(), "TKICCCurveTag")->GetCurve()[1], 1.0);
    EXPECT_TKERROR(lut->GetCurve(TKICC4LutTag::kACurves, 3), IndexError);
    // Swapped to host order and back, the body is what it was.
    Bytes file = Written(*tag);
    EXPECT_EQ(Bytes(file.begin() + 8, file.end()), body);
    TKBuffer dump;
    tag->Dump(dump);
    TKString text = dump.ToString();
    EXPECT_GE(text.Find("Input channels: 3\nOutput channels: 3\n 2 2 2\nPrecision: 2\nA curves:\nA curve 0\n"), 0);
    EXPECT_GE(text.Find("M curves:\nM curve 0\n"), 0);
    EXPECT_GE(text.Find("Matrix:\n0\t0.000000\n1\t0.500000\n"), 0);
    EXPECT_GE(text.Find("LUT:\n\t0\t1000\t2000\n"), 0);
}

TEST(ICCLutTags, FourStageLutWithoutStagesAndBroken) {
    Bytes body = MABBody();
    // An "mBA " with no M curves and no matrix: B curves, CLUT, A curves.
    Bytes noMiddle = body;
    std::memset(noMiddle.data() + 8, 0, 8);
    TKRefPtr<TKICCTag> mba = Tag("mBA ", noMiddle);
    TKBuffer dump;
    mba->Dump(dump);
    EXPECT_GE(dump.ToString().Find("M curves:\nNone\nMatrix:\nNone\nLUT:\n"), 0);
    EXPECT_EQ(TKCast<TKICC4LutTag>(mba.Get(), "TKICC4LutTag")->GetMatrix().IsEmpty(), true);
    // A CLUT that claims more entries than there are bytes, and curves reaching past the block,
    // fail before any byte is swapped.
    Bytes bigGrid = body;
    bigGrid[156] = 200;
    TKRefPtr<TKICCTag> broken = Tag("mAB ", bigGrid);
    EXPECT_TKERROR(broken->GetData(nullptr, kLittleEndian), InvalidICCTag);
    EXPECT_EQ(broken->GetByteOrder(), kBigEndian);
    Bytes file = Written(*broken);
    EXPECT_EQ(Bytes(file.begin() + 8, file.end()), bigGrid);
    Bytes curvePastEnd = body;
    curvePastEnd[body.size() - 5] = 200;  // the last curve's count
    EXPECT_TKERROR(Tag("mAB ", curvePastEnd)->GetData(nullptr, kLittleEndian), InvalidICCTag);
    Bytes badOffset = body;
    badOffset[7] = 4;  // B curves inside the header
    EXPECT_TKERROR(Tag("mAB ", badOffset)->GetData(nullptr, kLittleEndian), InvalidICCTag);
    EXPECT_TKERROR(Tag("mAB ", Bytes(20, 0))->GetData(nullptr, kLittleEndian), InvalidICCTag);
}
