// Black point compensation on XYZ: the mapping by hand, against Little CMS, the neutral blacks
// and the smooth black variant.
#include <cmath>

#include "color/TKBlackCompensationTrafo.h"
#include "color/TKColors.h"
#include "color/TKIntents.h"
#include "ColorTestSupport.h"
#include "support/TestSupport.h"

namespace {

// A coloured source black on D50 and a coloured destination black on a darker paper.
TKRefPtr<TKBlackCompensationTrafo> HandCase(bool smooth) {
    auto bpc = TKMakeRef<TKBlackCompensationTrafo>(smooth);
    bpc->SetPoints(XYZ(2, 2.5, 1.5), kD50, XYZ(4, 4.2, 3.1), XYZ(95, 100, 80));
    return bpc;
}

}  // namespace

TEST(BlackCompensation, MappingComputedByHand) {
    auto bpc = HandCase(false);
    // b1 = D50 x 2.5 / 100 = (2.4105, 2.5, 2.06225); b2 = (95, 100, 80) x 4.2 / 100 = (3.99, 4.2, 3.36);
    // Y of (40, 42, 35): (42 - 2.5) / (100 - 2.5) x (100 - 4.2) + 4.2 = 43.01128205128205, and so
    // on per channel.
    ExpectXYZ(bpc->GetNeutralSourceBlack(), 2.4105, 2.5, 2.06225, 1e-12);
    ExpectXYZ(bpc->GetNeutralDestBlack(), 3.99, 4.2, 3.36, 1e-12);
    ExpectXYZ(bpc->Trafo(XYZ(40, 42, 35)), 40.38015626080344, 43.01128205128205, 34.746544569504934, 1e-9);
    ExpectXYZ(bpc->Trafo(XYZ(10, 9, 12)), 11.337346757508548, 10.586666666666666, 12.829731031888869, 1e-9);
}

TEST(BlackCompensation, BlackBecomesNeutralWhiteStays) {
    auto bpc = HandCase(false);
    // The source black keeps only its lightness: it lands on the neutral destination black.
    ExpectXYZ(bpc->Trafo(XYZ(2, 2.5, 1.5)), 3.99 + (2 - 2.4105) * (95 - 3.99) / (96.42 - 2.4105), 4.2,
              3.36 + (1.5 - 2.06225) * (80 - 3.36) / (82.49 - 2.06225), 1e-9);
    ExpectXYZ(bpc->Trafo(bpc->GetNeutralSourceBlack()), 3.99, 4.2, 3.36, 1e-9);
    ExpectXYZ(bpc->Trafo(kD50), 95, 100, 80, 1e-9);
}

TEST(BlackCompensation, AgreesWithLittleCMS) {
    // Little CMS 2.14, relative colorimetric with cmsFLAGS_BLACKPOINTCOMPENSATION, no optimization,
    // from its Lab v4 profile (black 0) to an sRGB-primaries matrix profile whose curves are
    // Y = 0.97 X + 0.03 (detected black point XYZ 0.028926 0.030000 0.024747); the device values
    // were read back to XYZ through the same profile without compensation. Scaled to Y = 100.
    auto bpc = TKMakeRef<TKBlackCompensationTrafo>(false);
    bpc->SetPoints(kZero, kD50, XYZ(2.8926, 3.0, 2.4747), kD50);
    const struct {
        double in[3], out[3];
    } lcms[] = {
        {{0, 0, 0}, {2.892600, 3.000000, 2.474700}},
        {{2.882044, 2.989052, 2.465669}, {5.688184, 5.899381, 4.866399}},
        {{19.698662, 18.418652, 24.695197}, {22.000303, 20.866094, 26.429041}},
        {{41.410940, 48.278104, 21.069818}, {43.061213, 49.829763, 22.912421}},
        {{96.42, 100, 82.49}, {96.420003, 100.000000, 82.489990}},
    };
    for (const auto& row : lcms)
        ExpectXYZ(bpc->Trafo(XYZ(row.in[0], row.in[1], row.in[2])), row.out[0], row.out[1], row.out[2], 1e-4);
}

TEST(BlackCompensation, SmoothBlackHitsTheRealBlacks) {
    auto smooth = HandCase(true);
    ExpectXYZ(smooth->Trafo(XYZ(2, 2.5, 1.5)), 4, 4.2, 3.1, 1e-9);
    ExpectXYZ(smooth->Trafo(kD50), 95, 100, 80, 1e-9);
    // Far from black both forms agree: the blends have faded out.
    auto plain = HandCase(false);
    const TKVector a = smooth->Trafo(XYZ(40, 42, 35)), b = plain->Trafo(XYZ(40, 42, 35));
    ExpectXYZ(a, b[0], b[1], b[2], 1e-9);
}

TEST(BlackCompensation, GreyRampStaysMonotone) {
    for (bool smooth : {false, true}) {
        auto bpc = HandCase(smooth);
        double last = -1;
        for (int i = 0; i <= 100; ++i) {
            const double y = i;
            const TKVector out = bpc->Trafo(XYZ(0.9642 * y, y, 0.8249 * y));
            EXPECT_GT(out[1], last) << "Y " << y << (smooth ? " smooth" : "");
            last = out[1];
        }
    }
}

TEST(BlackCompensation, IntentsNineAndTenAndDegeneratePoints) {
    for (int32_t code : {kTKBlackCompensationPerceptual, kTKBlackCompensation}) {
        auto stage = CreateXYZStage(code, false);
        stage->SetPoints(XYZ(2, 2.5, 1.5), kD50, XYZ(4, 4.2, 3.1), XYZ(95, 100, 80));
        ExpectXYZ(stage->Trafo(XYZ(40, 42, 35)), 40.38015626080344, 43.01128205128205, 34.746544569504934, 1e-9);
    }
    // A white of Y 0 gives neutral blacks of 0 rather than a division by zero.
    auto bpc = TKMakeRef<TKBlackCompensationTrafo>(false);
    bpc->SetPoints(XYZ(1, 1, 1), kZero, kZero, kD50);
    const TKVector out = bpc->Trafo(XYZ(5, 5, 5));
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(std::isfinite(out[i]));
}
