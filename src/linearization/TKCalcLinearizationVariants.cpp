// The stricter fit, the reference linearization and the ink-limited linearization.
#include "linearization/TKCalcLinearizationVariants.h"

#include <algorithm>
#include <cmath>

#include "color/TKColors.h"
#include "linearization/TKToneFit.h"

void TKCalcLinearizationCurves::FitChannel(int32_t channel, TKVector x, TKVector y,
                                           TKColorLinearization* linearization) {
    if (!linearization) return;
    const bool enough = x.GetDim() >= 3 && y.GetDim() == x.GetDim() && x.Max() > 0.0 && y.Max() > 0.0;
    if (GetDifferenceMethod() == kTKDeltaRaw && enough) {
        x.Divide(x.Max());
        y.Divide(y.Max());
        StoreChannel(channel, x, y, linearization);
    } else if (enough) {
        TKCalcColorLinearization::FitChannel(channel, x, y, linearization);
    } else {
        linearization->GetCurveRef(channel).SetIdentity();
    }
}

TKCalcRefColorLinearization::TKCalcRefColorLinearization(const TKMatrix& device, const TKMatrix& measured,
                                                         const TKMatrix& refDevice, const TKMatrix& refMeasured)
    : TKCalcColorLinearization(device, measured), fReference(refDevice, refMeasured) {
    if (fReference.GetDeviceType() != GetDeviceType())
        TKThrowMsg(DimMismatch, "the reference chart has another device type");
}

void TKCalcRefColorLinearization::FitChannel(int32_t channel, TKVector x, TKVector y,
                                             TKColorLinearization* linearization) {
    if (!linearization) return;
    fReference.SetDifferenceMethod(GetDifferenceMethod());
    fReference.SetSmoothing(GetSmoothing());
    TKVector rx, ry;
    const bool haveReference = fReference.MeasureChannel(channel, rx, ry);
    if (!haveReference || x.GetDim() < 3 || rx.GetDim() < 3) {
        linearization->GetCurveRef(channel).SetIdentity();
        return;
    }
    for (TKVector* v : {&x, &y, &rx, &ry}) NormalizeAndSmooth(*v);
    // Both tone functions rise with the position; the reference's is evaluated forward, this
    // process's backward.
    TKTonePoints reference, inverse;
    reference.x.assign(rx.Values(), rx.Values() + rx.GetDim());
    reference.y.assign(ry.Values(), ry.Values() + ry.GetDim());
    reference.PrepareForFit();
    inverse.x = TKMakeNonDecreasing(std::vector<double>(y.Values(), y.Values() + y.GetDim()));
    inverse.y.assign(x.Values(), x.Values() + x.GetDim());
    inverse.PrepareForFit();
    StoreFunction(channel, [&](double p) { return inverse.Eval(reference.Eval(p)); }, linearization);
}

TKCalcInkLimitColorLinearization::TKCalcInkLimitColorLinearization(const TKMatrix& device, const TKMatrix& measured,
                                                                   const TKVector& limits)
    : TKCalcColorLinearization(device, measured), fLimits(limits) {
    const uint32_t type = GetDeviceType();
    for (int32_t i = 0; i < std::min(limits.GetDim(), GetChannelCount(type)); ++i)
        if (!(limits[i] > 0.0) || !(limits[i] <= GetChannelMax(type, i)))
            TKThrowMsg(ArgErr, "an ink limit must lie above 0 and not above the channel's maximum");
}

void TKCalcInkLimitColorLinearization::FitChannel(int32_t channel, TKVector x, TKVector y,
                                                  TKColorLinearization* linearization) {
    if (!linearization) return;
    TKCalcColorLinearization::FitChannel(channel, x, y, linearization);
    TKCurveLinearization& curve = linearization->GetCurveRef(channel);
    const uint32_t type = GetDeviceType();
    const double end = channel < fLimits.GetDim() ? fLimits[channel] / GetChannelMax(type, channel)
                                                  : std::clamp(curve.Apply(0.95) + 0.1, 0.5, 1.0);
    const double t = curve.ApplyInverse(end);
    // A limit at the full value gives t = 1 up to rounding: the curve stays as it is.
    if (std::fabs(t - 1.0) < 1e-9) return;
    if (curve.GetLength() < 2) curve.Resample(kCurveSamples);
    const TKCurveLinearization old(curve);
    const int32_t n = curve.GetLength();
    TKVector stretched(n);
    for (int32_t i = 0; i < n; ++i) stretched[i] = old.Apply(t * double(i) / double(n - 1));
    curve.SetSamples(stretched);
}
