// Colour differences: the published CIEDE2000 test pairs, CIE94 and CMC against a peer
// engine, the method table, and the properties every method must have.
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "ColorTestSupport.h"
#include "support/TestSupport.h"

namespace {

struct Pair {
    double lab1[3], lab2[3], expected;
};

std::vector<Pair> ReadCIEDE2000Pairs() {
    std::ifstream in(TestDataPath("cie/ciede2000_pairs.csv"));
    std::vector<Pair> pairs;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#' || line[0] == 'L') continue;
        for (char& c : line)
            if (c == ',') c = ' ';
        std::istringstream fields(line);
        Pair p{};
        fields >> p.lab1[0] >> p.lab1[1] >> p.lab1[2] >> p.lab2[0] >> p.lab2[1] >> p.lab2[2] >> p.expected;
        if (fields) pairs.push_back(p);
    }
    return pairs;
}

using ::Lab;
TKVector Lab(const double v[3]) { return TKVector({v[0], v[1], v[2]}, int32_t(TKLabSpace)); }

TEST(ColorDifference, CIEDE2000PublishedPairsBothOrders) {
    // Sharma, Wu, Dalal 2005, Table 1: 34 pairs, values to four decimals.
    const std::vector<Pair> pairs = ReadCIEDE2000Pairs();
    ASSERT_EQ(pairs.size(), 34u);
    const TKColorDifference method(kTKDeltaE2000);
    for (const Pair& p : pairs) {
        EXPECT_NEAR(DeltaE2000(p.lab1, p.lab2), p.expected, 0.5e-4);
        EXPECT_NEAR(DeltaE2000(p.lab2, p.lab1), p.expected, 0.5e-4);
        EXPECT_NEAR(method.GetDifference(Lab(p.lab1), Lab(p.lab2)), p.expected, 0.5e-4);
    }
}

// CMC references from Little CMS 2.14 (cmsCMCdeltaE with l:c 1:1 and 2:1, first colour the
// reference). CIE94 references from a separate Python transcription of CIE 116-1995 with the
// geometric mean chroma the standard prescribes when neither colour is the reference (Little CMS
// 2.14 implements another variant and differs by up to 0.2 here).
struct PeerCase {
    double lab1[3], lab2[3], de94, cmc11, cmc21;
};
const PeerCase kPeerCases[] = {
    {{50, 2.6772, -79.7751}, {50, 0, -82.7485}, 1.3801295382, 1.7387361057, 1.7387361057},
    {{61.2, -34.5, 12.8}, {58.7, -30.1, 18.4}, 5.1948874185, 4.7256982573, 4.3711193835},
    {{12, 3, -4}, {14.5, 1, -2}, 3.5140844657, 5.7650026521, 3.9094510846},
    {{85, -5, 70}, {80, 2, 60}, 6.5973145082, 6.2028703185, 5.3677776157},
    {{40, 50, 20}, {42, 45, 30}, 6.4933788745, 7.5697079677, 7.3518837065},
};

TEST(ColorDifference, CIE94AndCMCWorkedExamples) {
    for (const PeerCase& c : kPeerCases) {
        EXPECT_NEAR(DeltaE94(c.lab1, c.lab2), c.de94, 1e-8);
        EXPECT_NEAR(DeltaE94(c.lab2, c.lab1), c.de94, 1e-8);
        EXPECT_NEAR(DeltaECMC(c.lab1, c.lab2, 1.0, 1.0), c.cmc11, 1e-8);
        EXPECT_NEAR(DeltaECMC(c.lab1, c.lab2, 2.0, 1.0), c.cmc21, 1e-8);
        EXPECT_NEAR(TKColorDifference(kTKDeltaCMC21).GetDifference(Lab(c.lab1), Lab(c.lab2)), c.cmc21, 1e-8);
        EXPECT_NEAR(TKColorDifference(kTKDeltaE94).GetDifference(Lab(c.lab1), Lab(c.lab2)), c.de94, 1e-8);
    }
}

TEST(ColorDifference, CIE76IsTheLabDistance) {
    const TKColorDifference method(kTKDeltaE76);
    EXPECT_NEAR(method.GetDifference(Lab(50, 0, 0), Lab(53, 4, 0)), 5.0, 1e-12);
    TKVector v;
    method.GetDifferenceVector(v, Lab(50, 0, 0), Lab(53, 4, 0));
    ASSERT_EQ(v.GetDim(), 3);
    EXPECT_EQ(v[0], -3.0);
    EXPECT_EQ(v[1], -4.0);
    EXPECT_EQ(uint32_t(v.GetType()), TKLabSpace);
}

TEST(ColorDifference, DIN99FormsAreEuclideanInTheirSpaces) {
    // Equal lightness steps near white: DIN99 compresses L logarithmically.
    const TKColorDifference din99(kTKDeltaEDIN99);
    const double dLight = din99.GetDifference(Lab(90, 0, 0), Lab(91, 0, 0));
    EXPECT_NEAR(dLight, 105.51 * (std::log(1 + 0.0158 * 91) - std::log(1 + 0.0158 * 90)), 1e-10);
    const TKColorDifference din99d(kTKDeltaEDIN99d);
    EXPECT_GT(din99d.GetDifference(Lab(50, 10, 10), Lab(50, 12, 10)), 0.0);
}

TEST(ColorDifference, MethodTable) {
    EXPECT_STREQ(TKColorDifference::GetMethodName(-1), "Undefined");
    EXPECT_STREQ(TKColorDifference::GetMethodName(35), "Unknown");
    EXPECT_EQ(TKColorDifference::GetMethodFromName("dE2000"), 8);
    EXPECT_EQ(TKColorDifference::GetMethodFromName("Delta-CMC 2:1"), 28);
    EXPECT_EQ(TKColorDifference::GetMethodFromName("dcmc11"), 27);
    EXPECT_EQ(TKColorDifference::GetMethodFromName("Auto"), 0);
    EXPECT_EQ(TKColorDifference::GetMethodFromName("Perceptual"), 21);
    EXPECT_EQ(TKColorDifference::GetMethodFromName("CIECAM02"), 6);
    EXPECT_EQ(TKColorDifference::GetMethodFromName("nonsense"), -1);
    EXPECT_EQ(TKColorDifference(kTKDeltaEDIN99d).GetWorkingType(), TKXYZSpace);
    EXPECT_EQ(TKColorDifference(kTKDeltaDensity).GetWorkingType(), TKDensSpace);
    EXPECT_EQ(TKColorDifference(kTKDeltaRaw).GetWorkingType(TKCMYKSpace), TKCMYKSpace);
    EXPECT_EQ(TKColorDifference(99).GetWorkingType(TKRGBSpace), TKRGBSpace);
}

// The weighted differences in Lcs, sqrt((wL dL)^2 + (wC dC)^2 + (wH dH)^2), worked by hand on a pure
// hue step (equal chroma 20, hue turned by 90 degrees: dH = 2 * 20 * sin 45 = 28.2843) and on a
// lightness-and-chroma step (dL 10, dC 20, dH 0).
TEST(ColorDifference, WeightedMethodsWeighEachPartByItsFactor) {
    const double hueStep = 2.0 * 20.0 * std::sqrt(0.5);  // sin 45 degrees
    const struct {
        int32_t method;
        double wL, wC, wH;
    } methods[] = {{kTKDeltaOOGv1, 1.0, 0.25, 2.0},
                   {kTKDeltaPerceptual, 1.0, 0.5, 1.0},
                   {kTKDeltaColorimetric, 1.0, 1.0, 1.5},
                   {kTKDeltaSaturation, 0.5, 1.0, 1.0}};
    auto lcs = [](double l, double c, double s) { return TKVector({l, c, s}, int32_t(TKLcsSpace)); };
    for (const auto& m : methods) {
        const TKColorDifference method(m.method);
        const std::string name = TKColorDifference::GetMethodName(m.method);
        EXPECT_NEAR(method.GetDifference(lcs(50, 20, 0), lcs(50, 0, 20)), m.wH * hueStep, 1e-9) << name;
        EXPECT_NEAR(method.GetDifference(lcs(50, 30, 0), lcs(40, 10, 0)),
                    std::sqrt(100.0 * m.wL * m.wL + 400.0 * m.wC * m.wC), 1e-9)
            << name;
    }
}

// Every method: zero for equal colours, symmetric where it is meant to be, positive and
// growing as a colour moves away along a line.
TEST(ColorDifference, EveryMethodZeroSymmetricMonotonic) {
    const TKVector base = ConvertColor(TKXYZSpace, Lab(55, 20, -15));
    for (int32_t m = 0; m < kTKDifferenceMethodCount; ++m) {
        if (m == kTKDeltaRGB) continue;  // needs RGB colours, below
        const TKColorDifference method(m);
        EXPECT_NEAR(method.GetDifference(base, base), 0.0, 1e-9) << TKColorDifference::GetMethodName(m);
        double previous = 0.0;
        for (double step : {1.0, 2.0, 4.0, 8.0}) {
            const TKVector other = ConvertColor(TKXYZSpace, Lab(55 + step, 20 + step, -15 - 0.5 * step));
            const double d = method.GetDifference(base, other);
            EXPECT_GT(d, previous) << TKColorDifference::GetMethodName(m) << " step " << step;
            previous = d;
            if (m != kTKDeltaCMC11 && m != kTKDeltaCMC21) {  // CMC weighs by its reference colour
                EXPECT_NEAR(method.GetDifference(other, base), d, 1e-9 * (1 + d)) << TKColorDifference::GetMethodName(m);
            }
        }
    }
    const TKColorDifference rgb(kTKDeltaRGB);
    EXPECT_NEAR(rgb.GetDifference(TKVector({10.0, 20.0, 30.0}, int32_t(TKRGBSpace)),
                                  TKVector({13.0, 24.0, 30.0}, int32_t(TKRGBSpace))), 5.0, 1e-12);
}

TEST(ColorDifference, MetamerismOfAMetamericPair) {
    // Two different spectra with the same XYZ under D50: no difference there, a difference under A.
    const TKVector xyz = ConvertColor(TKXYZSpace, Lab(60, 10, 20));
    TKVector smooth = ConvertColor(TKReflSpace, xyz);
    TKCIEConverter converter;
    const TKVector samePlusRipple = [&] {
        // Add a ripple that is invisible to the D50 observer: subtract its own projection.
        TKVector ripple(kTKSpectralChannels, int32_t(TKReflSpace));
        for (int i = 0; i < kTKSpectralChannels; ++i) ripple[i] = 0.05 * std::sin(i * 0.9);
        const TKVector rippleXYZ = ConvertColor(TKXYZSpace, ripple);
        const TKVector correction = ConvertColor(TKReflSpace, rippleXYZ);
        TKVector result = smooth;
        for (int i = 0; i < kTKSpectralChannels; ++i) result[i] += ripple[i] - correction[i];
        return result;
    }();
    const TKVector xyz2 = ConvertColor(TKXYZSpace, samePlusRipple);
    for (int i = 0; i < 3; ++i) ASSERT_NEAR(xyz2[i], xyz[i], 1e-9);
    const TKColorDifference method(kTKDeltaMetamerism);
    EXPECT_NEAR(method.GetDifference(smooth, smooth), 0.0, 1e-12);
    EXPECT_GT(method.GetDifference(smooth, samePlusRipple), 0.01);
    EXPECT_NEAR(method.GetDifference(smooth, samePlusRipple), method.GetDifference(samePlusRipple, smooth), 1e-12);
}

TEST(ColorDifference, MatrixForms) {
    TKMatrix a(2, 3, int32_t(TKLabSpace)), b(2, 3, int32_t(TKLabSpace));
    a.SetRow(0, Lab(50, 0, 0));
    a.SetRow(1, Lab(60, 0, 0));
    b.SetRow(0, Lab(53, 4, 0));
    b.SetRow(1, Lab(60, 0, 0));
    const TKColorDifference method(kTKDeltaE76);
    TKVector d;
    method.GetDifferences(d, a, b);
    ASSERT_EQ(d.GetDim(), 2);
    EXPECT_NEAR(d[0], 5.0, 1e-12);
    EXPECT_EQ(d[1], 0.0);
    TKMatrix v;
    method.GetDifferenceVectors(v, a, b);
    EXPECT_EQ(v.GetHeight(), 2);
    EXPECT_EQ(v(0, 1), -4.0);
    EXPECT_TKERROR(method.GetDifferences(d, a, TKMatrix(1, 3, int32_t(TKLabSpace))), DimMismatch);
}

TEST(ColorDifference, BadInput) {
    // Raw differences follow the vector rules: different channel counts do not subtract.
    TKVector v;
    EXPECT_TKERROR(TKColorDifference(kTKDeltaRaw).GetDifferenceVector(v, TKVector({1.0, 2.0}), TKVector({1.0, 2.0, 3.0})),
                   DimMismatch);
    EXPECT_TKERROR(TKColorDifference(kTKDeltaE76).GetDifference(TKVector({1.0, 2.0, 3.0}, int32_t(TKRGBSpace)),
                                                                Lab(50, 0, 0)),
                   WrongDataType);
    EXPECT_TKERROR(TKColorDifference(77).GetDifference(Lab(50, 0, 0), Lab(50, 0, 0)), ArgErr);
}

}  // namespace
