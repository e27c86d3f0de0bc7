// The variants of the linearization calculator: a stricter fit, curves towards a reference
// process, and curves whose full value is pulled back to an ink limit or to where the process
// goes flat.
#pragma once

#include "linearization/TKCalcColorLinearization.h"

// Identity unless the wedge has three points and both maxima are above 0; the plain position
// measure (method 1) is normalized at once, without smoothing.
class TKCalcLinearizationCurves : public TKCalcColorLinearization {
public:
    using TKCalcColorLinearization::TKCalcColorLinearization;
    void FitChannel(int32_t channel, TKVector x, TKVector y, TKColorLinearization* linearization) override;
};

// Curves that make this process print what a reference process prints: channel by channel,
// the tone the reference reaches at a device value is looked up in this process's tone
// function, whose device value becomes the curve's output.
class TKCalcRefColorLinearization : public TKCalcColorLinearization {
public:
    // The reference chart is checked like the main one.
    TKCalcRefColorLinearization(const TKMatrix& device, const TKMatrix& measured, const TKMatrix& refDevice,
                                const TKMatrix& refMeasured);
    void FitChannel(int32_t channel, TKVector x, TKVector y, TKColorLinearization* linearization) override;

private:
    TKCalcColorLinearization fReference;
};

// After the plain fit, the curve's end value L is limited: to the channel's ink limit (over the
// channel's maximum) where `Limits` has the channel, else to clip(curve(0.95) + 0.1, 0.5, 1).
// The curve is then stretched so that the full input reaches L.
class TKCalcInkLimitColorLinearization : public TKCalcColorLinearization {
public:
    // ArgErr for a limit that is not above 0 or above its channel's maximum, or NaN.
    TKCalcInkLimitColorLinearization(const TKMatrix& device, const TKMatrix& measured, const TKVector& limits);
    void FitChannel(int32_t channel, TKVector x, TKVector y, TKColorLinearization* linearization) override;

private:
    TKVector fLimits;
};
