// The stage lists of LUT tags: which stages appear, in which order, bound to which colour type,
// the v4 perceptual black, the Lab encoding test of 4-LUTs, and values read through the chain.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

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

TKRefPtr<TKICCProfile> NewProfile(const char (&space)[5], const char (&pcs)[5], const char (&cls)[5],
                                  uint32_t version = 0x02400000) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->GetHeader().colorSpace = TKICCSig(space);
    profile->GetHeader().pcs = TKICCSig(pcs);
    profile->GetHeader().deviceClass = TKICCSig(cls);
    profile->GetHeader().version = version;
    return profile;
}

// An "mft2" whose input curves are x^gamma (identity for 1), identity output curves and grid
// nodes from `node(index, channel)`.
template <class Node>
TKRefPtr<TKICCLutTag> NewLut16(uint32_t signature, int in, int out, int grid, double gamma, Node node) {
    auto tag = TKMakeRef<TKICCLutTag>(TKICCSig("mft2"), signature);
    tag->SetupLut16(in, out, 256, 256, grid);
    for (int c = 0; c < in; ++c)
        for (int i = 0; i < 256; ++i) tag->SetInputCurvePoint(c, i, uint16_t(65535.0 * std::pow(i / 255.0, gamma) + 0.5));
    for (int c = 0; c < out; ++c)
        for (int i = 0; i < 256; ++i) tag->SetOutputCurvePoint(c, i, uint16_t(i * 257));
    int64_t nodes = 1;
    for (int c = 0; c < in; ++c) nodes *= grid;
    std::vector<uint16_t> values(static_cast<size_t>(out));
    for (int64_t n = 0; n < nodes; ++n) {
        for (int c = 0; c < out; ++c) values[size_t(c)] = node(n, c);
        tag->SetGridPoint(n, values.data());
    }
    return tag;
}

// The class names of a list's members in order.
std::vector<std::string> Stages(TKTrafoList& list) {
    std::vector<std::string> names;
    for (int32_t i = 0; i < list.GetCount(); ++i) names.push_back(list.GetTrafo(i)->ClassName());
    return names;
}

bool Has(TKTrafoList& list, const char* className) {
    for (const std::string& name : Stages(list))
        if (name == className) return true;
    return false;
}

// Big-endian bytes of an "mBA " 3 -> 1 body: three B curves of gamma 2, a 2 x 2 x 2 CLUT whose
// value is 1 - L (or L with `rising`), no matrix, no M curves, one A curve of gamma 0.5.
std::vector<uint8_t> MBABody(bool rising) {
    std::vector<uint8_t> b(124, 0);
    auto put32 = [&](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i) b[at + size_t(i)] = uint8_t(v >> (24 - 8 * i));
    };
    auto put16 = [&](size_t at, uint16_t v) {
        b[at] = uint8_t(v >> 8);
        b[at + 1] = uint8_t(v);
    };
    b[0] = 3;
    b[1] = 1;
    // Offsets from the tag's start, 8 bytes before the block.
    put32(4, 32);    // B curves
    put32(16, 80);   // CLUT
    put32(20, 116);  // A curves
    auto curve = [&](size_t at, uint16_t gamma88) {
        std::memcpy(&b[at], "curv", 4);
        put32(at + 8, 1);
        put16(at + 12, gamma88);
    };
    for (int i = 0; i < 3; ++i) curve(24 + 16 * size_t(i), 0x0200);
    const size_t clut = 72;
    for (int i = 0; i < 3; ++i) b[clut + size_t(i)] = 2;
    b[clut + 16] = 2;
    for (int n = 0; n < 8; ++n) {
        const bool lightEnd = (n & 4) != 0;  // L is channel 0, the slowest
        put16(clut + 20 + 2 * size_t(n), uint16_t((lightEnd != rising) ? 0 : 65535));
    }
    curve(108, 0x0080);
    return b;
}

// Big-endian bytes of an "mAB " 3 -> 3 body of identity B and M curves around the matrix
// `m` (row-major 3 x 3, then the three offsets), no CLUT and no A curves.
std::vector<uint8_t> MABMatrixBody(const double (&m)[12]) {
    std::vector<uint8_t> b = {3, 3, 0, 0};
    auto put32 = [&](uint32_t v) {
        for (int i = 3; i >= 0; --i) b.push_back(uint8_t(v >> (8 * i)));
    };
    for (uint32_t offset : {32u, 68u, 116u, 0u, 0u}) put32(offset);  // B, matrix, M, CLUT, A
    auto identities = [&] {
        for (int i = 0; i < 3; ++i) {
            for (char c : {'c', 'u', 'r', 'v'}) b.push_back(uint8_t(c));
            put32(0);
            put32(0);
        }
    };
    identities();
    for (double v : m) put32(uint32_t(int32_t(std::lround(v * 65536.0))));  // s15Fixed16
    identities();
    return b;
}

class LutPipelineTest : public TKNoErrorTest {};
// Cases that raise errors on purpose.
class LutPipelineErrorTest : public ::testing::Test {};

TEST_F(LutPipelineTest, Lut16StagesInOrderWithBoundCurves) {
    auto profile = NewProfile("CMYK", "Lab ", "prtr");
    auto tag = NewLut16(TKICCSig("A2B0"), 4, 3, 2, 2.0, [](int64_t, int c) { return uint16_t(c == 0 ? 0xFF00 : 0x8000); });
    profile->AddTag(tag.Get(), false);
    TKICCTrafoBuilder builder(profile.Get());
    auto list = builder.GetLutTrafo(TKICCSig("A2B0"));
    EXPECT_EQ(Stages(*list), (std::vector<std::string>{"TKDefaultColorTrafo", "TKColor2NormTrafo", "TKICCLut16InputTrafo",
                                                       "TKICCLut16LutTrafo", "TKNorm2ColorTrafo"}));
    auto* curves = TKCast<TKICCLutLinTrafo>(list->GetTrafo(2), "TKICCLutLinTrafo");
    ASSERT_NE(curves, nullptr);
    EXPECT_EQ(curves->GetBoundType(), uint32_t(TKCMYKSpace));
    EXPECT_EQ(curves->GetInterpolationParameter().kind, 2);
    EXPECT_EQ(curves->GetInterpolationParameter().value, 2);
    // Every node holds L 100 in the legacy encoding (0xFF00), a = b = 0 (0x8000).
    TKVector lab = list->Trafo(TKVector({30.0, 20.0, 10.0, 5.0}, TKCMYKSpace));
    EXPECT_NEAR(lab[0], 100.0, 1e-9);
    EXPECT_NEAR(lab[1], 0.0, 1e-9);
    EXPECT_EQ(builder.GetLutGridPoints(TKICCSig("A2B0")), 2);
    EXPECT_EQ(builder.GetLutGridPoints(TKICCSig("A2B1")), 0);
}

// Which grid rule a table is read with (0 multilinear, 1 for XYZ input, 2 simplex): inks, device
// to device, and every table of a printer whose device side comes first.
TEST_F(LutPipelineTest, InterpolationRuleFollowsSpacesAndClass) {
    struct Case {
        const char space[5], pcs[5], cls[5], tag[5];
        int32_t mode;
    };
    const Case cases[] = {
        {"CMYK", "Lab ", "prtr", "A2B0", 2}, {"RGB ", "Lab ", "prtr", "A2B0", 2}, {"RGB ", "Lab ", "mntr", "A2B0", 0},
        {"RGB ", "Lab ", "prtr", "B2A0", 0}, {"RGB ", "XYZ ", "mntr", "B2A0", 1}, {"Lab ", "Lab ", "abst", "A2B0", 0},
        {"RGB ", "CMYK", "link", "A2B0", 2},
    };
    for (const Case& c : cases) {
        auto profile = NewProfile(c.space, c.pcs, c.cls);
        EXPECT_EQ(TKICCTrafoBuilder(profile.Get()).GetInterpolationMode(TKICCSig(c.tag)), c.mode)
            << c.space << " " << c.cls << " " << c.tag;
    }
}

// An 8-bit table encodes Lab with L 100 at full scale (not at 0xFF00): a node of 255 reads L 100.
TEST_F(LutPipelineTest, Lut8ReadsLabInTheEightBitEncoding) {
    auto profile = NewProfile("CMYK", "Lab ", "prtr");
    auto tag = TKMakeRef<TKICCLutTag>(TKICCSig("mft1"), TKICCSig("A2B1"));
    tag->SetupLut8(4, 3, 2);
    for (int c = 0; c < 4; ++c)
        for (int i = 0; i < 256; ++i) tag->SetInputCurvePoint(c, i, uint16_t(i * 257));
    for (int c = 0; c < 3; ++c)
        for (int i = 0; i < 256; ++i) tag->SetOutputCurvePoint(c, i, uint16_t(i * 257));
    const uint16_t white[3] = {0xFFFF, 0x8080, 0x8080};
    for (int n = 0; n < 16; ++n) tag->SetGridPoint(n, white);
    profile->AddTag(tag.Get(), false);
    auto list = TKICCTrafoBuilder(profile.Get()).GetLutTrafo(TKICCSig("A2B1"));
    EXPECT_TRUE(Has(*list, "TKICCLut8LutTrafo"));
    TKVector lab = list->Trafo(TKVector({10.0, 20.0, 30.0, 40.0}, TKCMYKSpace));
    EXPECT_NEAR(lab[0], 100.0, 1e-9);
    EXPECT_NEAR(lab[1], 0.0, 1e-9);
    EXPECT_NEAR(lab[2], 0.0, 1e-9);
}

TEST_F(LutPipelineTest, LabToLabCurvesStayUnbound) {
    auto profile = NewProfile("Lab ", "Lab ", "abst");
    auto tag = NewLut16(TKICCSig("A2B0"), 3, 3, 2, 0.5, [](int64_t n, int c) { return uint16_t((n >> (2 - c)) & 1 ? 0xFFFF : 0); });
    profile->AddTag(tag.Get(), false);
    TKICCTrafoBuilder builder(profile.Get());
    auto list = builder.GetLutTrafo(TKICCSig("A2B0"));
    TKTrafo* found = FindTrafo(list.Get(), "TKICCLut16InputTrafo");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(static_cast<TKICCLutLinTrafo*>(found)->GetBoundType(), 0u);
}

TEST_F(LutPipelineTest, IdentityCurvesAddNoStage) {
    auto profile = NewProfile("RGB ", "Lab ", "mntr");
    auto tag = NewLut16(TKICCSig("A2B0"), 3, 3, 3, 1.0, [](int64_t, int) { return uint16_t(0x8000); });
    profile->AddTag(tag.Get(), false);
    auto list = TKICCTrafoBuilder(profile.Get()).GetLutTrafo(TKICCSig("A2B0"));
    EXPECT_FALSE(Has(*list, "TKICCLut16InputTrafo"));
    EXPECT_FALSE(Has(*list, "TKICCLut16OutputTrafo"));
    EXPECT_TRUE(Has(*list, "TKICCLut16LutTrafo"));
}

// XYZ input goes through the tag's matrix first; the grid is read with the simplex rule.
TEST_F(LutPipelineTest, XYZInputUsesTheMatrix) {
    auto profile = NewProfile("RGB ", "XYZ ", "mntr");
    auto tag = NewLut16(TKICCSig("B2A0"), 3, 3, 2, 1.0, [](int64_t n, int c) { return uint16_t((n >> (2 - c)) & 1 ? 0xFFFF : 0); });
    TKMatrix half = TKMatrix::Identity(3);
    half(0, 0) = 0.5;
    tag->SetMatrix(half);
    profile->AddTag(tag.Get(), false);
    TKICCTrafoBuilder builder(profile.Get());
    auto list = builder.GetLutTrafo(TKICCSig("B2A0"));
    EXPECT_TRUE(Has(*list, "TKICCLut16MatrixTrafo"));
    // X 100 is norm 100 / 199.997: halved by the matrix, then the identity grid, then 255 scale.
    TKVector rgb = list->Trafo(TKVector({100.0, 0.0, 0.0}, TKXYZSpace));
    EXPECT_NEAR(rgb[0], 255.0 * 0.5 * 100.0 / (100.0 * (1.0 + 32767.0 / 32768.0)), 1e-6);
}

TEST_F(LutPipelineTest, V4PerceptualBlackOnlyForPerceptualAndSaturation) {
    auto v4 = LoadProfile("icc-trafo/FOGRA39L-v4-mAB.icc");
    TKICCTrafoBuilder builder(v4.Get());
    for (const char* tag : {"A2B0", "A2B2"})
        EXPECT_TRUE(Has(*builder.GetLutTrafo(TKICCSig(reinterpret_cast<const char(&)[5]>(*tag))),
                        "TKICC4ToZeroPerceptualBlackPointTrafo"));
    EXPECT_FALSE(Has(*builder.GetLutTrafo(TKICCSig("A2B1")), "TKICC4ToZeroPerceptualBlackPointTrafo"));
    EXPECT_TRUE(Has(*builder.GetLutTrafo(TKICCSig("B2A0")), "TKZeroToICC4PerceptualBlackPointTrafo"));
    EXPECT_FALSE(Has(*builder.GetLutTrafo(TKICCSig("B2A1")), "TKZeroToICC4PerceptualBlackPointTrafo"));

    auto v2 = LoadProfile("icc/FOGRA39L-cmyk-v2.icc");
    TKICCTrafoBuilder old(v2.Get());
    for (uint32_t tag : {TKICCSig("A2B0"), TKICCSig("A2B1"), TKICCSig("A2B2")})
        EXPECT_FALSE(Has(*old.GetLutTrafo(tag), "TKICC4ToZeroPerceptualBlackPointTrafo"));
}

// The v4 table made by Little CMS reads Lab with L 100 at full scale: the test inserts the
// forward adaption in front; a Lab output is always followed by the backward one.
TEST_F(LutPipelineTest, LabEncodingTestOnARealV4Table) {
    auto v4 = LoadProfile("icc-trafo/FOGRA39L-v4-mAB.icc");
    TKICCTrafoBuilder builder(v4.Get());
    auto b2a = builder.GetLutTrafo(TKICCSig("B2A1"));
    auto* adapt = static_cast<TKAdaptICC4LabNorm*>(FindTrafo(b2a.Get(), "TKAdaptICC4LabNorm"));
    ASSERT_NE(adapt, nullptr);
    EXPECT_TRUE(adapt->IsForward());
    // Paper white gets next to no ink (FOGRA39L itself puts a trace of ink there).
    EXPECT_LT(b2a->Trafo(TKVector({100.0, 0.0, 0.0}, kLab)).MaxAbs(), 1.0);
    auto a2b = builder.GetLutTrafo(TKICCSig("A2B1"));
    auto* back = static_cast<TKAdaptICC4LabNorm*>(FindTrafo(a2b.Get(), "TKAdaptICC4LabNorm"));
    ASSERT_NE(back, nullptr);
    EXPECT_FALSE(back->IsForward());
}

// The matrix of a v4 table works on the curves' 0..1 values, offsets in its last column:
// L' = L / 2 + 25 and a' = (a + b) / 2 follow from the Lab encoding (L 100 x, a and b 255 x - 128);
// within 0.01, the size of a 16-bit encoding step.
TEST_F(LutPipelineTest, MABMatrixStageAppliesTheAffineMap) {
    const double m[12] = {0.5, 0, 0, 0, 0.5, 0.5, 0, 0, 1, 0.25, 0, 0};
    auto profile = NewProfile("Lab ", "Lab ", "abst", 0x04200000);
    auto tag = TKMakeRef<TKICC4LutTag>(TKICCSig("mAB "), TKICCSig("A2B1"));
    std::vector<uint8_t> body = MABMatrixBody(m);
    tag->SetData(body.data(), uint32_t(body.size()), kBigEndian);
    profile->AddTag(tag.Get(), false);
    auto list = TKICCTrafoBuilder(profile.Get()).GetLutTrafo(TKICCSig("A2B1"));
    EXPECT_TRUE(Has(*list, "TKICC4LutMatrixTrafo"));
    for (const TKVector& lab : {TKVector({60.0, 20.0, -40.0}, kLab), TKVector({10.0, -50.0, 30.0}, kLab)}) {
        const TKVector out = list->Trafo(lab);
        EXPECT_NEAR(out[0], lab[0] / 2.0 + 25.0, 0.01);
        EXPECT_NEAR(out[1], (lab[1] + lab[2]) / 2.0, 0.01);
        EXPECT_NEAR(out[2], lab[2], 0.01);
    }
}

TEST_F(LutPipelineTest, MBAWithoutMatrixRunsBCurvesClutACurves) {
    for (bool rising : {false, true}) {
        auto profile = NewProfile("GRAY", "Lab ", "prtr", 0x04300000);
        auto tag = TKMakeRef<TKICC4LutTag>(TKICCSig("mBA "), TKICCSig("B2A1"));
        std::vector<uint8_t> body = MBABody(rising);
        tag->SetData(body.data(), uint32_t(body.size()), kBigEndian);
        profile->AddTag(tag.Get(), false);
        auto list = TKICCTrafoBuilder(profile.Get()).GetLutTrafo(TKICCSig("B2A1"));
        std::vector<std::string> stages = Stages(*list);
        // The table's gray is a device value with the white at 1: a table rising to 1 at the v4
        // white position wants the adaption, one falling away from it does not; the engine's
        // gray ink is the device value turned over.
        std::vector<std::string> expected = {"TKDefaultColorTrafo", "TKColor2NormTrafo"};
        if (rising) expected.push_back("TKAdaptICC4LabNorm");
        for (const char* s : {"TKICCLinTrafo", "TKICC4LutLutTrafo", "TKICCLinTrafo", "TKVectorLinearization",
                              "TKNorm2ColorTrafo"})
            expected.push_back(s);
        EXPECT_EQ(stages, expected) << "rising " << rising;
        // L 50 -> B curve 0.5^2 = 0.25 (with the adaption 0.25 of the rescaled norm), CLUT linear, A curve sqrt.
        TKVector gray = list->Trafo(TKVector({50.0, 0.0, 0.0}, kLab));
        const double norm = 0.5 * 65280.0 / 65535.0 * (rising ? TKAdaptICC4LabNorm::kForwardFactor : 1.0);
        const double clut = rising ? norm * norm : 1.0 - norm * norm;
        EXPECT_NEAR(gray[0], 100.0 * (1.0 - std::sqrt(clut)), 0.05) << "rising " << rising;
    }
}

TEST_F(LutPipelineErrorTest, StageClassesRefuseOtherTagsAndShortBlocks) {
    auto tag = NewLut16(TKICCSig("A2B0"), 3, 3, 2, 1.0, [](int64_t, int) { return uint16_t(0); });
    EXPECT_TKERROR(TKICCLut8InputTrafo(tag.Get(), 0), InvalidICCTag);
    EXPECT_TKERROR(TKICCLut8LutTrafo(tag.Get(), 2), InvalidICCTag);
    EXPECT_TKERROR(TKICCLut16InputTrafo(nullptr, 0), PtrInvalid);

    // A header that announces a 33-point grid over a block that holds none.
    uint32_t size = 0;
    const uint8_t* data = tag->GetData(&size, kBigEndian);
    std::vector<uint8_t> bytes(data, data + 60);
    bytes[2] = 33;
    auto profile = NewProfile("RGB ", "Lab ", "mntr");
    auto broken = TKMakeRef<TKICCLutTag>(TKICCSig("mft2"), TKICCSig("A2B0"));
    broken->SetData(bytes.data(), uint32_t(bytes.size()), kBigEndian);
    profile->AddTag(broken.Get(), false);
    EXPECT_TKERROR(TKICCTrafoBuilder(profile.Get()).GetLutTrafo(TKICCSig("A2B0")), InvalidICCTag);

    // A 4-LUT whose CLUT claims 255 points per channel in a block of 124 bytes.
    auto gray = NewProfile("GRAY", "Lab ", "prtr", 0x04300000);
    auto lut4 = TKMakeRef<TKICC4LutTag>(TKICCSig("mBA "), TKICCSig("B2A0"));
    std::vector<uint8_t> body = MBABody(true);
    for (int i = 0; i < 3; ++i) body[72 + size_t(i)] = 255;
    lut4->SetData(body.data(), uint32_t(body.size()), kBigEndian);
    gray->AddTag(lut4.Get(), false);
    EXPECT_TKERROR(TKICCTrafoBuilder(gray.Get()).GetB2ATrafo(0), InvalidICCTag);
    // 27 entries of two bytes: 54 bytes where 32 are left.
    for (int i = 0; i < 3; ++i) body[72 + size_t(i)] = 3;
    auto shortClut = TKMakeRef<TKICC4LutTag>(TKICCSig("mBA "), TKICCSig("B2A0"));
    shortClut->SetData(body.data(), uint32_t(body.size()), kBigEndian);
    auto gray3 = NewProfile("GRAY", "Lab ", "prtr", 0x04300000);
    gray3->AddTag(shortClut.Get(), false);
    EXPECT_TKERROR(TKICCTrafoBuilder(gray3.Get()).GetB2ATrafo(0), InvalidICCTag);

    // A table of the wrong channel count for the profile's colour space.
    auto cmyk = NewProfile("CMYK", "Lab ", "prtr");
    cmyk->AddTag(tag.Get(), false);
    EXPECT_TKERROR(TKICCTrafoBuilder(cmyk.Get()).GetLutTrafo(TKICCSig("A2B0")), DimMismatch);
    EXPECT_TKERROR(TKICCTrafoBuilder(cmyk.Get()).GetLutTrafo(TKICCSig("B2A0")), MissingICCTag);
}

// The perceptual reference black: L 3.137 goes to 0 and back, white stays.
TEST_F(LutPipelineTest, ReferenceBlackScalings) {
    TKVector black = TKICC4PerceptualBlackXYZ();
    // Y 0.3473 of 100 is the v4 reference black (ICC.1:2010, 6.3.4.3: X 0.3357, Y 0.3479, Z 0.2869 in 0..1 x 100,
    // rounded in the standard's table).
    EXPECT_NEAR(black[1], 0.3473, 0.0007);
    EXPECT_NEAR(TKICC4ToZeroPerceptualBlackPointTrafo().Trafo(black).MaxAbs(), 0.0, 1e-9);
    TKVector zero(3, TKXYZSpace);
    EXPECT_LT(TKZeroToICC4PerceptualBlackPointTrafo().Trafo(zero).MaxDistance(black), 1e-9);
    TKVector l = TKICC4ToZeroLScalingTrafo().Trafo(TKVector({kTKICC4PerceptualBlackL, 5.0, -5.0}, kLab));
    EXPECT_NEAR(l[0], 0.0, 1e-12);
    EXPECT_EQ(l[1], 5.0);
    EXPECT_NEAR(TKZeroToICC4LScalingTrafo().Trafo(TKVector({100.0, 0.0, 0.0}, kLab))[0], 100.0, 1e-12);
    EXPECT_NEAR(TKAdaptICC4LabNorm(false).Trafo(TKAdaptICC4LabNorm(true).Trafo(TKVector({0.5, 0.5, 0.5}, GetNormType(3))))[0],
                0.5 * TKAdaptICC4LabNorm::kForwardFactor * TKAdaptICC4LabNorm::kBackwardFactor, 1e-15);
}

}  // namespace
