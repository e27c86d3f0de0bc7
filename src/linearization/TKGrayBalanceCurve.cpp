// The gray targets: tone tables, densities and the wanted neutral colours.
#include "linearization/TKGrayBalanceCurve.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "numeric/TKCurveLinearization.h"
#include "numeric/TKCurveLinearizationMath.h"

namespace {
constexpr double kMaxDensity = 6.0;
constexpr int32_t kToneSamples = 256;

// The G7 neutral tone: wanted tone (in) to the tone of the curve (out), percent.
constexpr double kG7In[] = {0,    1.96, 3.92, 5.88, 7.84, 10.2, 14.9, 20,   25.1, 30.2, 34.9, 40,    45.1,
                            49.8, 54.9, 60,   65.1, 69.8, 74.9, 80,   85.1, 89.8, 94.9, 98.04, 100};
constexpr double kG7Out[] = {0,     1.38,  2.77,  4.15,  5.61,  7.41,  11,    14.9,  18.8,  22.91, 26.78, 30.98, 35.48,
                             39.89, 44.71, 49.8,  54.9,  60.16, 66.07, 71.77, 78.06, 84.61, 92.2,  96.86, 100};

// Built once, under a lock, on first use; read under the same lock later.
std::mutex gG7Lock;

// Plain samples rather than a curve object: a process-wide object would outlive every owner.
std::vector<double> MakeG7Curve() {
    TKVector in(int32_t(std::size(kG7In))), out(int32_t(std::size(kG7Out)));
    for (int32_t i = 0; i < in.GetDim(); ++i) {
        in[i] = kG7In[i] * 0.01;
        out[i] = kG7Out[i] * 0.01;
    }
    TKCurveLinearization curve;
    curve.SetFromLinearFit(in, out, kToneSamples);
    const TKVector samples = curve.GetSamples();
    return std::vector<double>(samples.Values(), samples.Values() + samples.GetDim());
}

TKVector ToXYZ(const TKVector& colour) { return ConvertColor(TKXYZSpace, colour); }
}  // namespace

double TKGrayBalanceCurve::ToDensity(double luminance) const {
    return luminance > 0.0 ? std::min(-std::log10(luminance / 100.0), kMaxDensity) : kMaxDensity;
}

double TKGrayBalanceCurve::Evaluate(double value, double paperDensity, double solidDensity) const {
    return paperDensity + (solidDensity - paperDensity) * MakeTone(value) / 100.0;
}

double TKGrayBalanceCurveBase::ToneCurve(double fraction) const { return fraction; }

double TKGrayBalanceCurveBase::MakeTone(double value) const {
    return 100.0 * ToneCurve(std::clamp(value, 0.0, 100.0) * 0.01);
}

double TKGrayBalanceCurveBase::TargetLuminance(double value, const TKVector& paperXYZ, const TKVector& solidXYZ) const {
    const double density = Evaluate(value, ToDensity(paperXYZ[1]), ToDensity(solidXYZ[1]));
    return 100.0 * std::pow(10.0, -density);
}

TKVector TKGrayBalanceCurveBase::TargetColor(double value, const TKVector& paper, const TKVector& solid) const {
    const TKVector paperXYZ = ToXYZ(paper);
    const TKVector paperLab = ConvertColor(TKLabSpace, paperXYZ);
    const double y = TargetLuminance(value, paperXYZ, ToXYZ(solid));
    const TKVector lightness = ConvertColor(TKLabSpace, TKVector({y * 0.9642, y, y * 0.8249}, TKXYZSpace));
    const double fade = (100.0 - std::clamp(value, 0.0, 100.0)) / 100.0;
    return TKVector({lightness[0], paperLab[1] * fade, paperLab[2] * fade}, TKLabSpace);
}

double TKG7Curve::ToneCurve(double fraction) const {
    std::lock_guard<std::mutex> lock(gG7Lock);
    static const std::vector<double> samples = MakeG7Curve();
    return TKCurveTableLookup(samples.data(), int64_t(samples.size()), fraction);
}

TKVector TKTR015Curve::TargetColor(double value, const TKVector& paper, const TKVector& solid) const {
    const TKVector paperXYZ = ToXYZ(paper), solidXYZ = ToXYZ(solid);
    const double y = TargetLuminance(value, paperXYZ, solidXYZ);
    // The share of the luminance range still ahead: 1 at the paper, 0 at the solid.
    const double range = paperXYZ[1] - solidXYZ[1];
    const double share = range > 0.0 ? std::clamp((y - solidXYZ[1]) / range, 0.0, 1.0) : 0.0;
    TKVector target({0.0, y, 0.0}, TKXYZSpace);
    for (int32_t c : {0, 2}) {
        const double paperRatio = paperXYZ[1] > 0.0 ? paperXYZ[c] / paperXYZ[1] : 0.0;
        const double solidRatio = solidXYZ[1] > 0.0 ? solidXYZ[c] / solidXYZ[1] : paperRatio;
        target[c] = y * (share * paperRatio + (1.0 - share) * solidRatio);
    }
    return ConvertColor(TKLabSpace, target);
}

TKRefPtr<TKGrayBalanceCurve> TKNewGrayBalanceCurve(int32_t type) {
    switch (type) {
        case 0: return TKRefPtr<TKGrayBalanceCurve>(new TKG7Curve, true);
        case 1: return TKRefPtr<TKGrayBalanceCurve>(new TKTR015LegacyCurve, true);
        case 2: return TKRefPtr<TKGrayBalanceCurve>(new TKTR015Curve, true);
        default: return nullptr;
    }
}
