// Gamut classes on a toy device whose gamut is the Lab cylinder of chroma 40: round-trip
// differences, limits from the global settings, marking, mapping and compression.
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "color/TKGamutTrafos.h"
#include "io/TKGlobalData.h"
#include "ColorTestSupport.h"
#include "support/TestSupport.h"

namespace {

// Lab to a three-channel device that cannot hold chroma above 40: the chroma is clipped.
class ToyDevice : public TKTrafo {
public:
    int32_t GetSrcType() const override { return int32_t(TKLabSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TK3CLRSpace); }
    TKVector Trafo(const TKVector& lab) const override {
        const double c = std::hypot(lab[1], lab[2]);
        const double f = c > 40 ? 40 / c : 1.0;
        return TKVector({lab[0], lab[1] * f, lab[2] * f}, int32_t(TK3CLRSpace));
    }
};

class ToyBack : public TKTrafo {
public:
    int32_t GetSrcType() const override { return int32_t(TK3CLRSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKLabSpace); }
    TKVector Trafo(const TKVector& v) const override { return TKVector({v[0], v[1], v[2]}, int32_t(TKLabSpace)); }
};

// A grey display: RGB = 2.55 L on every channel.
class GreyDisplay : public TKTrafo {
public:
    TKVector Trafo(const TKVector& lab) const override {
        return TKVector({2.55 * lab[0], 2.55 * lab[0], 2.55 * lab[0]}, int32_t(TKRGBSpace));
    }
};

TKRefPtr<TKGamut> ToyGamut() { return TKMakeRef<TKGamut>(new ToyDevice, new ToyBack, true); }

}  // namespace

TEST(Gamut, RoundTripDifferenceAndLimit) {
    auto gamut = ToyGamut();
    EXPECT_EQ(gamut->GetMethod(), 2);  // "dE76" unless "OOGMethod" says otherwise
    EXPECT_DOUBLE_EQ(gamut->GetLimit(), 5.0);
    EXPECT_NEAR(gamut->Difference(Lab(50, 30, 0)), 0, 1e-12);
    EXPECT_NEAR(gamut->Difference(Lab(50, 0, -50)), 10, 1e-12);
    EXPECT_TRUE(gamut->IsInGamut(Lab(50, 44, 0)));
    EXPECT_FALSE(gamut->IsInGamut(Lab(50, 46, 0)));
    // Any CIE colour goes in: D50 white is L 100 on the grey axis.
    EXPECT_NEAR(gamut->Difference(TKVector({96.42, 100, 82.49}, int32_t(TKXYZSpace))), 0, 1e-9);
    // The boundary lies where the difference reaches the limit: chroma 45.
    EXPECT_NEAR(gamut->MaxChroma(Lab(60, 10, 10)), 45, 0.01);
    gamut->SetLimit(0.5);
    EXPECT_NEAR(gamut->MaxChroma(Lab(60, 10, 10)), 40.5, 0.01);
    EXPECT_TKERROR(TKGamut(nullptr, nullptr, true), ArgErr);
}

TEST(Gamut, SettingsFromTheGlobalDataBase) {
    TKGlobalData::SetString("OOGMethod", "dE2000");
    TKGlobalData::SetDouble("OOGLimit", 2.5);
    auto gamut = ToyGamut();
    EXPECT_EQ(gamut->GetMethod(), 8);
    EXPECT_DOUBLE_EQ(gamut->GetLimit(), 2.5);
    TKGlobalData::SetString("OOGMethod", "no such difference");
    EXPECT_EQ(ToyGamut()->GetMethod(), 2);
    TKGlobalData::SetString("OOGMethod", "dE76");
    TKGlobalData::SetDouble("OOGLimit", 5.0);
}

TEST(GamutTrafos, IntegrityAndMapping) {
    auto gamut = ToyGamut();
    TKCalcIntegrityTrafo integrity(gamut.Get(), false);
    EXPECT_EQ(integrity.GetDstDim(3), 1);
    const TKVector d = integrity.Trafo(Lab(50, 0, -50));
    ASSERT_EQ(d.GetDim(), 1);
    EXPECT_NEAR(d[0], 10, 1e-12);
    TKOOGMappingTrafo mapping(gamut.Get(), false);
    const TKVector clipped = mapping.Trafo(Lab(50, 0, -50));
    EXPECT_NEAR(clipped[2], -40, 1e-12);
    EXPECT_NEAR(mapping.Trafo(Lab(50, 0, -44))[2], -44, 1e-12);  // inside the limit: stays
}

TEST(GamutTrafos, MarkingColourFromSettings) {
    auto gamut = ToyGamut();
    auto display = TKMakeRef<GreyDisplay>();
    TKMarkOOGTrafo mark(gamut.Get(), display.Get(), false);
    const TKVector inGamut = mark.Trafo(Lab(40, 10, 10));
    EXPECT_EQ(inGamut.GetType(), int32_t(TKRGBSpace));
    EXPECT_NEAR(inGamut[0], 102, 1e-9);
    const TKVector marked = mark.Trafo(Lab(40, 80, 0));
    EXPECT_EQ(marked[0], 255);
    EXPECT_EQ(marked[1], 0);
    EXPECT_EQ(marked[2], 255);
    TKGlobalData::SetString("OOGColor", "0 255 0");
    TKMarkOOGTrafo green(gamut.Get(), display.Get(), false);
    EXPECT_EQ(green.Trafo(Lab(40, 80, 0))[1], 255);
    TKGlobalData::SetString("OOGColor", "nonsense");
    TKMarkOOGTrafo fallback(gamut.Get(), display.Get(), false);
    EXPECT_EQ(fallback.GetMarkingColor()[2], 255);
    TKGlobalData::SetString("OOGColor", "255 0 255");
}

TEST(GamutTrafos, ChromaCompressionTowardsTheBoundary) {
    auto gamut = ToyGamut();
    TKColorCompressionTrafo compress(gamut.Get(), false, 0.8);  // Cmax 45, knee at 36
    const TKVector inside = compress.Trafo(Lab(50, 20, 20));
    EXPECT_NEAR(inside[1], 20, 1e-12);
    double last = 0;
    for (double c = 30; c <= 200; c += 10) {
        const TKVector lch = ConvertColor(TKLChSpace, compress.Trafo(Lab(50, c * std::cos(1.0), c * std::sin(1.0))));
        EXPECT_NEAR(lch[0], 50, 1e-9);
        EXPECT_NEAR(lch[2], 1.0 * 180 / M_PI, 1e-9);  // hue kept
        EXPECT_LT(lch[1], 45.01);
        EXPECT_GT(lch[1], last);
        last = lch[1];
    }
    EXPECT_TKERROR(TKColorCompressionTrafo(gamut.Get(), false, 1.5), ArgErr);
}

TEST(GamutTrafos, SoftChannelLimits) {
    TKChannelCompressionTrafo soft(TKCMYKSpace, 0.05);
    const TKVector out = soft.Trafo(TKVector({50, 120, -20, 96}, int32_t(TKCMYKSpace)));
    EXPECT_EQ(out[0], 50);
    EXPECT_GT(out[1], 95);
    EXPECT_LT(out[1], 100);
    EXPECT_LT(out[2], 5);
    EXPECT_GT(out[2], 0);
    EXPECT_GT(out[3], 95);
    EXPECT_LT(out[3], 96);
    double last = -1;
    for (double v = -50; v <= 150; v += 1) {
        const double y = soft.Trafo(TKVector({v, 0, 0, 0}, int32_t(TKCMYKSpace)))[0];
        EXPECT_GT(y, last);
        last = y;
    }
    EXPECT_TKERROR(TKChannelCompressionTrafo(TKCMYKSpace, 0.7), ArgErr);
    EXPECT_TKERROR(soft.Trafo(TKVector({1, 2, 3})), DimMismatch);
}
