// Tone curves of the CIE separations: the ink that prints a share of a solid, from a chart's
// single-ink wedges or from the colorant grid.
#include <cmath>

#include "charts/TKColorChart.h"
#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "separation/TKCIESeparation.h"
#include "support/TestSupport.h"

namespace {

constexpr uint32_t kLcs = TKColorSig("Lcs ");

// A CMY process whose inks print the share v^0.6 of their solid's way from the paper (strong
// dot gain), measured in the separation's own frame "Lcs ".
TKVector Print(const TKVector& ink) {
    const TKVector paper = ConvertColor(kLcs, TKVector({95.0, 0.0, -2.0}, int32_t(TKLabSpace)));
    const TKVector solids[3] = {ConvertColor(kLcs, TKVector({55.0, -37.0, -50.0}, int32_t(TKLabSpace))),
                                ConvertColor(kLcs, TKVector({48.0, 75.0, -4.0}, int32_t(TKLabSpace))),
                                ConvertColor(kLcs, TKVector({89.0, -5.0, 93.0}, int32_t(TKLabSpace)))};
    TKVector lcs = paper;
    for (int32_t c = 0; c < 3; ++c)
        for (int32_t i = 0; i < 3; ++i) lcs[i] += (solids[c][i] - paper[i]) * std::pow(ink[c] / 100.0, 0.6);
    return ConvertColor(TKLabSpace, lcs);
}

TEST(CIESeparationTone, ChartWedgesGiveTheInkOfAShare) {
    TKMatrix device(31, 3, int32_t(TKCMYSpace)), lab(31, 3, int32_t(TKLabSpace));
    for (int32_t c = 0, row = 1; c < 3; ++c)
        for (int32_t step = 1; step <= 10; ++step, ++row) device(row, c) = 10.0 * step;
    for (int32_t row = 0; row < 31; ++row) lab.SetRow(row, Print(device.GetRow(row)));
    TKCIESeparation2 separation(TKCMYSpace);
    EXPECT_DOUBLE_EQ(separation.InkForShare(1, 0.5), 50.0);  // straight before any chart
    separation.SetLinearization(TKColorChart(device, lab));
    // The exact ink of share s is 100 s^(1/0.6); between steps 10 % apart the straight pieces
    // stay within 2 % ink (the largest miss lies in the first step, 3.98 for 2.15 at s = 0.1).
    for (int32_t c = 0; c < 3; ++c)
        for (double share : {0.1, 0.3, 0.5, 0.8, 1.0})
            EXPECT_NEAR(separation.InkForShare(c, share), 100.0 * std::pow(share, 1 / 0.6), 2.0) << c << " " << share;

    TKMatrix rgb(31, 3, int32_t(TKRGBSpace));
    EXPECT_TKERROR(separation.SetLinearization(TKColorChart(rgb, lab)), WrongDataType);
    EXPECT_TKERROR(separation.InkForShare(3, 0.5), IndexError);
}

// FOGRA39's grid (5 steps per ink): with the curves, a single ink printed between the grid's
// steps comes back as about its own amount from the frame separation.
TEST(CIESeparationTone, InitTakesCurvesFromTheGrid) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath("icc/FOGRA39L-cmyk-v2.icc").c_str())), 2);
    TKCIESeparation3 separation(TKCMYKSpace);
    separation.Init(*TKICCTrafoBuilder(profile.Get()).GetA2BTrafo(1));

    TKRefPtr<TKTrafo> a2b = TKICCTrafoBuilder(profile.Get()).GetA2BTrafo(1);
    for (int32_t c = 0; c < 4; ++c) {
        EXPECT_NEAR(separation.InkForShare(c, 1.0), 100.0, 1e-9);
        for (double amount : {12.0, 37.0, 50.0, 81.0}) {
            TKVector ink(4, int32_t(TKCMYKSpace));
            ink[c] = amount;
            EXPECT_NEAR(separation.Trafo(ConvertColor(TKLabSpace, a2b->Trafo(ink)))[c], amount, 4.0) << c << " " << amount;
        }
    }
}

}  // namespace
