// Gamut compression stages: the perceptual cone-space curve, the luminance knees of the
// absolute, relative and minimum forms, and the lightness-only test form.
#include <cmath>

#include "color/TKCIETools.h"
#include "color/TKColors.h"
#include "color/TKCompressionTrafos.h"
#include "ColorTestSupport.h"
#include "support/TestSupport.h"

namespace {

TKVector Grey(double y) { return XYZ(0.9642 * y, y, 0.8249 * y); }

// Y of a grey ramp must rise strictly through a stage.
void ExpectMonotoneGreys(const TKTrafo& stage) {
    double last = -1;
    for (int i = 0; i <= 120; ++i) {
        const double y = stage.Trafo(Grey(i))[1];
        EXPECT_GT(y, last) << "at Y " << i;
        last = y;
    }
}

}  // namespace

TEST(PercCompression, ExponentFromTheKnees) {
    TKPercCompressionTrafo perc;
    EXPECT_DOUBLE_EQ(perc.GetExponent(), 1.0);
    // Destination black at 5 % of D50: its knee is 0.95 s, so g = ln 0.75 / ln(0.75 x 0.95) and
    // the source side keeps 1.
    perc.SetPoints(kZero, kD50, Grey(5), kD50);
    EXPECT_NEAR(perc.GetExponent(), 0.8486813514922374, 1e-12);
    EXPECT_NEAR(perc.Curve(1.0), 1.0, 1e-15);
    EXPECT_NEAR(perc.Curve(0.0), std::pow(0.3 / 1.3, 0.8486813514922374 - 1), 1e-12);
    // The same black on both sides needs no compression.
    perc.SetPoints(Grey(5), kD50, Grey(5), kD50);
    EXPECT_NEAR(perc.GetExponent(), 1.0, 1e-12);
}

TEST(PercCompression, GreysByHandAndWhiteFixed) {
    TKPercCompressionTrafo perc;
    perc.SetPoints(kZero, kD50, Grey(5), kD50);
    // A grey k x D50 has every cone channel and the total at level k: its gain is curve(k).
    const double p = 0.8486813514922374;
    const double gain = std::pow((0.2 + 0.3) / 1.3, p - 1);
    ExpectXYZ(perc.Trafo(Grey(20)), 0.9642 * 20 * gain, 20 * gain, 0.8249 * 20 * gain, 1e-9);
    ExpectXYZ(perc.Trafo(kD50), 96.42, 100, 82.49, 1e-9);
    ExpectMonotoneGreys(perc);
    // Shadows are lifted, highlights above white held back.
    EXPECT_GT(perc.Trafo(Grey(10))[1], 10);
    EXPECT_LT(perc.Trafo(Grey(120))[1], 120);
}

TEST(PercCompression, NegativeResultsAreLimited) {
    TKPercCompressionTrafo perc;
    const TKVector out = perc.Trafo(XYZ(-5, 10, 10));
    EXPECT_EQ(out[0], 0.0);
    EXPECT_NEAR(out[1], 10, 1e-9);
    TKPercCompressionTrafo smooth(true);
    smooth.SetPoints(kZero, kD50, Grey(5), kD50);
    // With neutral blacks the scaled blacks are the blacks themselves.
    EXPECT_NEAR(smooth.GetExponent(), 0.8486813514922374, 1e-12);
}

TEST(AbsCompression, KeepsTheInsideAndCompressesBothEnds) {
    TKAbsCompressionTrafo abs;
    const TKVector paper = XYZ(88, 90, 75), paperBlack = XYZ(2 * 88 / 90.0, 2, 2 * 75 / 90.0);
    abs.SetPoints(kZero, kD50, paperBlack, paper);
    // The source white comes down to the paper's luminance with its own chromaticity.
    ExpectXYZ(abs.Trafo(kD50), 96.42 * 0.9, 90, 82.49 * 0.9, 1e-9);
    // The source black is lifted to the paper black by light of the paper's colour.
    ExpectXYZ(abs.Trafo(kZero), paperBlack[0], 2, paperBlack[2], 1e-9);
    // Between the knees (2 + 0.2 x 88 = 19.6 and 90 - 17.6 = 72.4) nothing moves.
    ExpectXYZ(abs.Trafo(XYZ(30, 50, 20)), 30, 50, 20, 1e-12);
    ExpectMonotoneGreys(abs);
    // A source range inside the destination's is left alone at both ends.
    TKAbsCompressionTrafo inside;
    inside.SetPoints(Grey(3), Grey(90), Grey(1), kD50);
    ExpectXYZ(inside.Trafo(Grey(3)), 0.9642 * 3, 3, 0.8249 * 3, 1e-12);
    ExpectXYZ(inside.Trafo(Grey(90)), 0.9642 * 90, 90, 0.8249 * 90, 1e-12);
}

TEST(RelCompression, BradfordAgainstPublishedMatrix) {
    // Bradford D65 to D50 as published by B. Lindbloom (brucelindbloom.com, "Chromatic Adaptation"),
    // for D65 (0.95047, 1, 1.08883) and D50 (0.96422, 1, 0.82521); matrix given to 7 decimals.
    const double m[3][3] = {{1.0478112, 0.0228866, -0.0501270},
                            {0.0295424, 0.9904844, -0.0170491},
                            {-0.0092345, 0.0150436, 0.7521316}};
    TKRelCompressionTrafo rel;
    rel.SetPoints(kZero, XYZ(95.047, 100, 108.883), kZero, XYZ(96.422, 100, 82.521));
    for (const TKVector& in : {XYZ(95.047, 100, 108.883), XYZ(41.24, 21.26, 1.93), XYZ(18, 30, 60)}) {
        const TKVector out = rel.Trafo(in);
        for (int r = 0; r < 3; ++r)
            EXPECT_NEAR(out[r], m[r][0] * in[0] + m[r][1] * in[1] + m[r][2] * in[2], 2e-4) << "row " << r;
    }
}

TEST(RelCompression, BlackKneeInTheLowerHalf) {
    TKRelCompressionTrafo rel;
    rel.SetPoints(kZero, kD50, Grey(4), kD50);
    // Knee at 4 + 0.5 x 96 = 52: Y 0 goes to 4, Y 26 to 4 + 26 x 48 / 52 = 28, Y 60 stays.
    EXPECT_NEAR(rel.Trafo(kZero)[1], 4, 1e-9);
    EXPECT_NEAR(rel.Trafo(Grey(26))[1], 28, 1e-9);
    ExpectXYZ(rel.Trafo(XYZ(50, 60, 40)), 50, 60, 40, 1e-9);
    ExpectMonotoneGreys(rel);
}

TEST(MinCompression, OnlyTheChosenEnds) {
    const TKVector paper = XYZ(88, 90, 75), paperBlack = XYZ(2 * 88 / 90.0, 2, 2 * 75 / 90.0);
    TKMinCompressionTrafo blackOnly(false, true, false);
    blackOnly.SetPoints(kZero, kD50, paperBlack, paper);
    // Knee at 2 + 0.05 x 88 = 6.4: Y 5 goes to 2 + 5 x 4.4 / 6.4.
    EXPECT_NEAR(blackOnly.Trafo(Grey(5))[1], 2 + 5 * 4.4 / 6.4, 1e-9);
    ExpectXYZ(blackOnly.Trafo(kD50), 96.42, 100, 82.49, 1e-12);  // white is not its business
    TKMinCompressionTrafo whiteOnly(false, false, true);
    whiteOnly.SetPoints(kZero, kD50, paperBlack, paper);
    EXPECT_NEAR(whiteOnly.Trafo(kD50)[1], 90, 1e-9);
    ExpectXYZ(whiteOnly.Trafo(Grey(1)), 0.9642, 1, 0.8249, 1e-12);
    TKMinCompressionTrafo both(false, true, true);
    both.SetPoints(kZero, kD50, paperBlack, paper);
    EXPECT_NEAR(both.Trafo(kZero)[1], 2, 1e-9);
    EXPECT_NEAR(both.Trafo(kD50)[1], 90, 1e-9);
    // Everything between 6.4 and 85.6 keeps its absolute value.
    ExpectXYZ(both.Trafo(XYZ(20, 30, 40)), 20, 30, 40, 1e-12);
    ExpectMonotoneGreys(both);
}

TEST(TestCompression, LightnessLinearChromaKept) {
    TKTestCompressionTrafo test;
    test.SetPoints(kZero, kD50, Grey(2), Grey(90));
    const double ldb = YToL(2), ldw = YToL(90);
    double lab[3] = {50, 20, -10}, xyz[3], back[3];
    LabToXYZ(lab, kTKWhiteD50, xyz);
    const TKVector out = test.Trafo(XYZ(xyz[0], xyz[1], xyz[2]));
    const double o[3] = {out[0], out[1], out[2]};
    XYZToLab(o, kTKWhiteD50, back);
    EXPECT_NEAR(back[0], ldb + 50 * (ldw - ldb) / 100, 1e-9);
    EXPECT_NEAR(back[1], 20, 1e-9);
    EXPECT_NEAR(back[2], -10, 1e-9);
    EXPECT_NEAR(test.Trafo(kZero)[1], 2, 1e-9);
    ExpectMonotoneGreys(test);
}

TEST(CompressionStages, SmoothBlackKeepsResultsFinite) {
    const TKVector srcBlack = XYZ(1.5, 1.2, 0.7), dstBlack = XYZ(3.5, 3.8, 2.2), paper = XYZ(88, 90, 75);
    TKAbsCompressionTrafo abs(true);
    TKRelCompressionTrafo rel(true);
    TKMinCompressionTrafo min(true, true, true);
    TKTestCompressionTrafo test(true);
    TKPercCompressionTrafo perc(true);
    for (TKXYZTrafoBase* stage : std::initializer_list<TKXYZTrafoBase*>{&abs, &rel, &min, &test, &perc}) {
        stage->SetPoints(srcBlack, kD50, dstBlack, paper);
        for (const TKVector& in : {srcBlack, kZero, Grey(50), kD50, XYZ(70, 40, 10)}) {
            const TKVector out = stage->Trafo(in);
            for (int i = 0; i < 3; ++i) EXPECT_TRUE(std::isfinite(out[i])) << stage->ClassName();
        }
    }
    // Far from black the smooth form equals the plain one.
    TKAbsCompressionTrafo plain(false);
    plain.SetPoints(srcBlack, kD50, dstBlack, paper);
    const TKVector a = abs.Trafo(XYZ(30, 50, 20)), b = plain.Trafo(XYZ(30, 50, 20));
    ExpectXYZ(a, b[0], b[1], b[2], 0.05);
}
