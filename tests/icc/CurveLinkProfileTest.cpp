// Calibration curves as an ICC device link: written, read back, and applied through the
// ordinary profile-to-trafo path, the link gives the curves within 16-bit steps.
#include <cmath>
#include <string>

#include "color/TKColors.h"
#include "icc/TKICCLinkProfileWriter.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {

// A different curve per channel, so that a swapped channel would show.
double Curve(int32_t channel, double v) { return std::pow(v, 1.25 + 0.25 * channel); }

// Gray too: its curves map ink to ink while the ICC table runs on device values with 0 for black.
TEST(CurveLinkProfile, WrittenCurvesComeBackThroughTheLink) {
    for (uint32_t type : {uint32_t(TKCMYKSpace), uint32_t(TKGraySpace)}) {
        const int32_t channels = GetChannelCount(type);
        std::vector<TKVector> curves(size_t(channels), TKVector(4096));
        for (int32_t c = 0; c < channels; ++c)
            for (int32_t i = 0; i < 4096; ++i) curves[size_t(c)][i] = Curve(c, i / 4095.0);
        const std::string path = testing::TempDir() + "/curve-link.icc";
        TKMakeCurveLinkProfile(type, curves, "test curves")->WriteFile(TKFileSpec(TKString(path.c_str())));

        auto profile = TKMakeRef<TKICCProfile>();
        profile->ReadFile(TKFileSpec(TKString(path.c_str())), 2);
        EXPECT_EQ(profile->GetHeader().deviceClass, TKICCSig("link"));
        TKRefPtr<TKTrafo> link = TKICCTrafoBuilder(profile.Get()).GetA2BTrafo(0);
        double worst = 0.0;
        for (double v : {0.0, 0.013, 0.2, 0.37, 0.5, 0.81, 0.999, 1.0}) {
            const TKVector out = link->Trafo(TKVector(channels, int32_t(type), 100 * v));
            for (int32_t c = 0; c < channels; ++c) worst = std::max(worst, std::fabs(out[c] / 100.0 - Curve(c, v)));
        }
        // Linear steps of 1/4095 on curves of slope up to 2, plus 16-bit rounding.
        EXPECT_LT(worst, 2e-4) << type;
        std::remove(path.c_str());
    }
}

TEST(CurveLinkProfile, RefusesWhatItCannotHold) {
    const std::vector<TKVector> one(1, TKVector({0.0, 0.5, 1.0}));
    EXPECT_TKERROR(TKMakeCurveLinkProfile(TKLabSpace, std::vector<TKVector>(3, TKVector({0.0, 1.0})), ""), ArgErr);
    EXPECT_TKERROR(TKMakeCurveLinkProfile(TKCMYKSpace, one, ""), ArgErr);  // one curve for four channels
    EXPECT_TKERROR(TKMakeCurveLinkProfile(TKGraySpace, {TKVector({0.0})}, ""), ArgErr);
    EXPECT_TKERROR(TKMakeCurveLinkProfile(TKGraySpace, {TKVector({0.0, std::nan(""), 1.0})}, ""), ArgErr);
    EXPECT_TKERROR(TKMakeCurveLinkProfile(TKCMYSpace, {one[0], one[0], TKVector({0.0, 1.0})}, ""), ArgErr);
    EXPECT_TKERROR(TKMakeCurveLinkProfile(TKGraySpace, {}, ""), ArgErr);
}

}  // namespace
