// Replacement rules on vectors and on 8-bit and 16-bit pixels around a baked link, their stages,
// their integer matching against the vector form, and the rule list in the data base.
#include <random>

#include "color/TKColorTrafo.h"
#include "color/TKColors.h"
#include "io/TKDataBase.h"
#include "link/TKLinkGenericTrafo.h"
#include "numeric/TKSampleConversions.h"
#include "separation/TKExceptionList.h"
#include "separation/TKReplaceColorTrafo.h"
#include "support/TestSupport.h"

namespace {

TKVector CMYK(double c, double m, double y, double k) { return TKVector({c, m, y, k}, int32_t(TKCMYKSpace)); }

// A CMYK-to-CMYK link that changes nothing: what comes out is what the rules did.
TKRefPtr<TKLinkGenericTrafo> IdentityLink() {
    TKRefPtr<TKLinkGenericTrafo> link = TKMakeRef<TKLinkGenericTrafo>();
    // The link keeps counts of the trafo it was made from.
    TKRefPtr<TKDefaultColorTrafo> copy = TKMakeRef<TKDefaultColorTrafo>(TKCMYKSpace, TKCMYKSpace);
    link->CalcFromTrafo(copy.Get(), 17, 0, nullptr);
    return link;
}

// Black text gets a rich black; the cyan ramp turns into a magenta ramp before the link.
TKRefPtr<TKReplaceColorTrafo> Rules(TKTrafo* link) {
    TKRefPtr<TKReplaceColorTrafo> replace(new TKReplaceColorTrafo(link, false), true);
    replace->AddPointRule(CMYK(0, 0, 0, 100), CMYK(40, 30, 30, 100), TKReplaceColorTrafo::kAfter, 1.0);
    replace->AddLineRule(CMYK(0, 0, 0, 0), CMYK(100, 0, 0, 0), CMYK(0, 0, 0, 0), CMYK(0, 100, 0, 0),
                         TKReplaceColorTrafo::kBefore, 1.0);
    replace->AddPointRule(CMYK(0, 100, 100, 0), CMYK(0, 100, 100, 10), TKReplaceColorTrafo::kInstead, 0.0);
    return replace;
}

template <class Sample>
TKVector ThroughPixels(const TKReplaceColorTrafo& replace, const TKVector& colour) {
    const TKVector lo = GetMinVector(TKCMYKSpace), hi = GetMaxVector(TKCMYKSpace);
    Sample in[4], out[4];
    const Sample* src[4] = {in, in + 1, in + 2, in + 3};
    Sample* dst[4] = {out, out + 1, out + 2, out + 3};
    const int32_t strides[4] = {4, 4, 4, 4};
    TKVector result(4, int32_t(TKCMYKSpace));
    for (int i = 0; i < 4; ++i) in[i] = sizeof(Sample) == 1 ? Sample(DoubleToByte(colour[i], lo[i], hi[i])) : Sample(DoubleToWord(colour[i], lo[i], hi[i]));
    if constexpr (sizeof(Sample) == 1)
        replace.TrafoPixels8(1, src, dst, strides, strides, nullptr);
    else
        replace.TrafoPixels16(1, src, dst, strides, strides, nullptr);
    for (int i = 0; i < 4; ++i)
        result[i] = sizeof(Sample) == 1 ? ByteToDouble(uint8_t(out[i]), lo[i], hi[i]) : WordToDouble(uint16_t(out[i]), lo[i], hi[i]);
    return result;
}

}  // namespace

TEST(ReplaceColor, StagesOnVectors) {
    TKRefPtr<TKLinkGenericTrafo> link = IdentityLink();
    TKRefPtr<TKReplaceColorTrafo> replace = Rules(link.Get());
    // The link works in 16 bits: colours the rules leave alone come back within 0.05 %.
    struct Case { TKVector in, expected; double tolerance; };
    for (const Case& c : {Case{CMYK(0, 0, 0, 100), CMYK(40, 30, 30, 100), 0}, Case{CMYK(0.8, 0, 0, 99.5), CMYK(40, 30, 30, 100), 0},
                          Case{CMYK(2, 0, 0, 100), CMYK(2, 0, 0, 100), 0.05}, Case{CMYK(40, 0, 0, 0), CMYK(0, 40, 0, 0), 0.05},
                          Case{CMYK(40, 0.5, 0, 0), CMYK(0, 40, 0, 0), 0.05}, Case{CMYK(40, 5, 0, 0), CMYK(40, 5, 0, 0), 0.05},
                          Case{CMYK(0, 100, 100, 0), CMYK(0, 100, 100, 10), 0}}) {
        const TKVector out = replace->Trafo(c.in);
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(out[i], c.expected[i], c.tolerance) << c.in.ToString();
    }
    replace->SetFlags(TKReplaceColorTrafo::kAfter);
    EXPECT_NEAR(replace->Trafo(CMYK(0, 100, 100, 0))[3], 0.0, 0.01);
    EXPECT_NEAR(replace->Trafo(CMYK(40, 0, 0, 0))[0], 40.0, 0.01);
}

TEST(ReplaceColor, PixelsGiveTheVectorResults) {
    TKRefPtr<TKLinkGenericTrafo> link = IdentityLink();
    TKRefPtr<TKReplaceColorTrafo> replace = Rules(link.Get());
    std::vector<TKVector> colours = {CMYK(0, 0, 0, 100), CMYK(0, 0, 0, 99.5), CMYK(0, 100, 100, 0), CMYK(0, 0, 0, 0)};
    for (int i = 0; i <= 20; ++i) colours.push_back(CMYK(5.0 * i, 0, 0, 0));
    std::mt19937 random(75);
    std::uniform_real_distribution<double> ink(0.0, 100.0);
    for (int i = 0; i < 200; ++i) colours.push_back(CMYK(ink(random), ink(random) < 50 ? 0 : ink(random), 0, 0));
    for (const TKVector& c : colours) {
        const TKVector vector = replace->Trafo(c);
        const TKVector pixel8 = ThroughPixels<uint8_t>(*replace, c), pixel16 = ThroughPixels<uint16_t>(*replace, c);
        // The pixel paths round to their depth and match in integers: within a step of 8 bits.
        for (int i = 0; i < 4; ++i) {
            EXPECT_NEAR(pixel8[i], vector[i], 100.0 / 255.0 * 1.5) << c.ToString();
            EXPECT_NEAR(pixel16[i], vector[i], 100.0 / 255.0 * 1.5) << c.ToString();
        }
        // Routed through a pixel path, a vector gives exactly the pixel's result.
        replace->SetFlags(0xFF | TKReplaceColorTrafo::kVectorsAs8Bit);
        EXPECT_EQ(replace->Trafo(c), pixel8) << c.ToString();
        replace->SetFlags(0xFF | TKReplaceColorTrafo::kVectorsAs16Bit);
        EXPECT_EQ(replace->Trafo(c), pixel16) << c.ToString();
        replace->SetFlags(0xFF);
    }
    EXPECT_EQ(replace->CheckRule(CMYK(0, 0, 0, 100), CMYK(40, 30, 30, 100)), 0);
    EXPECT_EQ(replace->CheckRule(CMYK(0, 0, 0, 100), CMYK(40, 30, 30, 99)) & 1, 1);
}

TEST(ReplaceColor, RefusesBadRulesAndPixelsWithoutATrafo) {
    TKReplaceColorTrafo replace;
    EXPECT_TKERROR(replace.AddPointRule(CMYK(0, 0, 0, 0), CMYK(0, 0, 0, 0), 3, 1.0), ArgErr);
    EXPECT_TKERROR(replace.AddPointRule(TKVector(), CMYK(0, 0, 0, 0), 1, 1.0), ArgErr);
    EXPECT_TKERROR(replace.AddPointRule(CMYK(0, 0, 0, 0), CMYK(0, 0, 0, 0), 1, -1.0), ArgErr);
    replace.AddLineRule(CMYK(0, 0, 0, 0), CMYK(0.5, 0, 0, 0), CMYK(0, 0, 0, 0), CMYK(9, 9, 9, 9), 1, 1.0);
    EXPECT_EQ(replace.GetRules(1).size(), 1u);
    EXPECT_EQ(replace.GetRules(1)[0].type, 1);
    EXPECT_FALSE(replace.CanTrafo8());
    uint8_t in[4] = {0, 0, 0, 0}, out[4];
    const uint8_t* src[4] = {in, in + 1, in + 2, in + 3};
    uint8_t* dst[4] = {out, out + 1, out + 2, out + 3};
    const int32_t strides[4] = {4, 4, 4, 4};
    EXPECT_TKERROR(replace.TrafoPixels8(1, src, dst, strides, strides, nullptr), UnexpectedErr);
    // Rules whose colours have other channel counts than the trafo's stay out of the way.
    TKRefPtr<TKLinkGenericTrafo> link = IdentityLink();
    TKReplaceColorTrafo around(link.Get(), false);
    const TKVector cmy({10, 10, 10}, int32_t(TKCMYSpace));
    around.AddPointRule(CMYK(0, 0, 0, 100), cmy, TKReplaceColorTrafo::kAfter, 100.0);
    around.AddPointRule(CMYK(0, 0, 0, 100), cmy, TKReplaceColorTrafo::kInstead, 100.0);
    around.AddPointRule(cmy, cmy, TKReplaceColorTrafo::kBefore, 100.0);
    EXPECT_EQ(around.Trafo(CMYK(0, 0, 0, 100)).GetDim(), 4);
    EXPECT_NEAR(ThroughPixels<uint8_t>(around, CMYK(0, 0, 0, 100))[3], 100.0, 1e-9);
    EXPECT_NEAR(ThroughPixels<uint16_t>(around, CMYK(0, 0, 0, 100))[3], 100.0, 0.01);
}

TEST(ExceptionList, RulesRoundTripThroughTheDataBase) {
    auto rule = [](int32_t type, int32_t mode, TKVector loSrc, TKVector hiSrc, TKVector loDst, TKVector hiDst,
                   double tolerance) {
        auto made = std::make_unique<TKExceptionRule>();
        made->type = type;
        made->mode = mode;
        made->loSrc = loSrc, made->hiSrc = hiSrc, made->loDst = loDst, made->hiDst = hiDst;
        made->tolerance = tolerance;
        return made;
    };
    TKExceptionList list;
    list.Add(rule(TKExceptionRule::kPoint, 4, CMYK(0, 0, 0, 100), {}, CMYK(40, 30, 30, 100), {}, 1.5));
    list.Add(rule(TKExceptionRule::kLine, 2, CMYK(0, 0, 0, 0), CMYK(100, 0, 0, 0), CMYK(0, 0, 0, 0), CMYK(0, 100, 0, 0), 0));
    list.Add(std::make_unique<TKExceptionRule>());  // type 0 is kept but makes no rule
    TKDataBase base;
    list.Save(base);
    TKDataBase read;
    read.FromText(base.ToText());
    TKExceptionList loaded;
    loaded.Load(read);
    ASSERT_EQ(loaded.Count(), 3);
    EXPECT_TRUE(loaded.IsChanged());
    EXPECT_EQ(loaded.At(0).loDst, CMYK(40, 30, 30, 100));
    EXPECT_EQ(loaded.At(0).tolerance, 1.5);
    EXPECT_TRUE(loaded.At(0).hiSrc.IsEmpty());
    EXPECT_EQ(loaded.At(1).hiDst, CMYK(0, 100, 0, 0));
    EXPECT_TKERROR(loaded.At(3), IndexError);
    TKRefPtr<TKLinkGenericTrafo> link = IdentityLink();
    TKRefPtr<TKReplaceColorTrafo> replace(loaded.MakeReplaceTrafo(link.Get(), false), true);
    EXPECT_EQ(replace->GetRules(4).size(), 1u);
    EXPECT_EQ(replace->GetRules(2).size(), 1u);
    EXPECT_NEAR(replace->Trafo(CMYK(30, 0, 0, 0))[1], 30.0, 0.05);
    // A record of an unknown type, or a numbered entry that is no record, is refused.
    TKDataBase bad;
    bad.FromText("Exceptions = \n{\n 0 = \n {\n  Type = 7\n }\n}\n");
    TKExceptionList unknown;
    unknown.Load(bad);
    EXPECT_TKERROR(unknown.MakeReplaceTrafo(link.Get(), false), ArgErr);
    TKDataBase flat;
    flat.FromText("Exceptions = \n{\n 0 = 1\n}\n");
    TKExceptionList none;
    EXPECT_TKERROR(none.Load(flat), ArgErr);
    EXPECT_EQ(none.Count(), 0);
}
