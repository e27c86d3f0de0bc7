// A colour-difference method from the project's sample plug-in, used through the ordinary
// method table and by the gamut test, and gone again once its plug-in is unloaded.
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "color/TKGamutTrafos.h"
#include "io/TKGlobalData.h"
#include "io/TKModuleMgr.h"
#include "ColorTestSupport.h"
#include "support/TestSupport.h"

namespace {

// Lab to a device that holds chroma up to 40 and lightness up to 90, and back.
class ClippingDevice : public TKTrafo {
public:
    int32_t GetSrcType() const override { return int32_t(TKLabSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKLabSpace); }
    TKVector Trafo(const TKVector& lab) const override {
        const double c = std::hypot(lab[1], lab[2]);
        const double f = c > 40 ? 40 / c : 1.0;
        return TKVector({std::fmin(lab[0], 90.0), lab[1] * f, lab[2] * f}, int32_t(TKLabSpace));
    }
};

class PluginDifference : public ::testing::Test {
protected:
    void SetUp() override {
        TKColorDifference::ReserveBuiltInNames();
        manager.LoadPlugin(TKFileSpec(TKString(TINTARA_SAMPLE_PLUGIN)));
        code = TKColorDifference::GetMethodFromName("Delta-HyAB");
    }
    TKModuleMgr manager;
    int32_t code = -1;
};

TEST_F(PluginDifference, JoinsTheMethodTable) {
    ASSERT_GE(code, TKObjectMgr::kFirstModuleCode);
    EXPECT_EQ(TKColorDifference::GetMethodFromName("DHYAB"), code);
    EXPECT_STREQ(TKColorDifference::GetMethodName(code), "Delta-HyAB");
    EXPECT_STREQ(TKColorDifference::GetMethodShortName(code), "dHyAB");
    EXPECT_EQ(TKColorDifference(code).GetWorkingType(TKXYZSpace), TKLabSpace);
    // Built-in names still mean the built-in methods.
    EXPECT_EQ(TKColorDifference::GetMethodFromName("dE00"), kTKDeltaE2000);
}

TEST_F(PluginDifference, MeasuresLikeThePublishedFormula) {
    const TKColorDifference hyab(code);
    // |dL| + the a*b* distance: 10 + 5 for a 3-4-5 chroma step.
    EXPECT_DOUBLE_EQ(hyab.GetDifference(Lab(50, 0, 0), Lab(60, 3, 4)), 15.0);
    EXPECT_DOUBLE_EQ(hyab.GetDifference(Lab(60, 3, 4), Lab(50, 0, 0)), 15.0);
    EXPECT_DOUBLE_EQ(hyab.GetDifference(Lab(42, -20, 31), Lab(42, -20, 31)), 0.0);
    // Colours of other types are taken to Lab first: D50 white against Y 18.4187 is L* 100
    // against L* 50.000 (CIE 15 lightness), and neither has chroma.
    const double y = 18.4187;
    EXPECT_NEAR(hyab.GetDifference(TKVector({96.42, 100, 82.49}, int32_t(TKXYZSpace)),
                                   TKVector({0.9642 * y, y, 0.8249 * y}, int32_t(TKXYZSpace))),
                50.0, 1e-3);
    // Never below the Euclidean distance it splits into two legs.
    const TKVector a = Lab(35, 12, -40), b = Lab(70, -25, 10);
    EXPECT_GE(hyab.GetDifference(a, b), TKColorDifference(kTKDeltaE76).GetDifference(a, b));
    TKVector vector;
    hyab.GetDifferenceVector(vector, Lab(50, 0, 0), Lab(60, 3, 4));
    EXPECT_EQ(vector.GetType(), int32_t(TKLabSpace));
    EXPECT_DOUBLE_EQ(vector[0], -10.0);
}

TEST_F(PluginDifference, DecidesTheGamutTestWhenChosenBySetting) {
    TKGlobalData::SetString("OOGMethod", "Delta-HyAB");
    auto gamut = TKMakeRef<TKGamut>(new ClippingDevice, new TKTrafo, true);
    TKGlobalData::SetString("OOGMethod", "dE76");
    EXPECT_EQ(gamut->GetMethod(), code);
    gamut->SetLimit(12.0);
    // Clipped to L 90 and chroma 40: 5 + 10 by HyAB, against 11.18 by dE76.
    EXPECT_DOUBLE_EQ(gamut->Difference(Lab(95, 0, -50)), 15.0);
    EXPECT_FALSE(gamut->IsInGamut(Lab(95, 0, -50)));
    gamut->SetMethod(kTKDeltaE76);
    EXPECT_TRUE(gamut->IsInGamut(Lab(95, 0, -50)));
}

TEST_F(PluginDifference, LeavesWithItsPlugin) {
    manager.UnloadPlugins();
    EXPECT_EQ(TKColorDifference::GetMethodFromName("Delta-HyAB"), kTKDeltaUndefined);
    EXPECT_STREQ(TKColorDifference::GetMethodName(code), "Unknown");
    EXPECT_TKERROR(TKColorDifference(code).GetDifference(Lab(50, 0, 0), Lab(60, 0, 0)), ArgErr);
    // Loaded again, it is the same method under a new code.
    manager.LoadPlugin(TKFileSpec(TKString(TINTARA_SAMPLE_PLUGIN)));
    const int32_t again = TKColorDifference::GetMethodFromName("Delta-HyAB");
    EXPECT_GT(again, code);
    EXPECT_DOUBLE_EQ(TKColorDifference(again).GetDifference(Lab(50, 0, 0), Lab(60, 0, 0)), 10.0);
}

TEST_F(PluginDifference, CannotTakeABuiltInName) {
    EXPECT_TKERROR(manager.LoadPlugin(TKFileSpec(TKString(TINTARA_PLUGIN_FIXTURES "/BUILT_IN_NAME.so"))),
                   CreateObjectErr);
    EXPECT_EQ(TKColorDifference::GetMethodFromName("Delta-Faulty"), kTKDeltaUndefined);
}

}  // namespace
